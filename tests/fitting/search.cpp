// Cells by every kind of search, against their definition.
#include "tests/fitting/search.h"

#include "fitting/search.h"
#include "platform/core_testing.h"
#include "tests/support/guarded.h"

#include <gtest/gtest.h>
#include <string>

namespace {

using namespace nvo::tests;
using nvo::fitting::CellForm;
using nvo::fitting::SearchKernel;

template <class R> class Search : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(Search, Reals);

template <class R> constexpr R not_a_number = std::numeric_limits<R>::quiet_NaN();
template <class R> std::vector<R> sorted(std::vector<R> sites) {
    std::sort(sites.begin(), sites.end());
    return sites;
}

template <class R> std::vector<std::int64_t> counted_cells(const std::vector<R>& x, const std::vector<R>& sites) {
    std::vector<std::int64_t> cells;
    for (const R t : sites) cells.push_back(counted_cell(x, t));
    return cells;
}

// Around the numbers of breakpoints where methods change.
const std::vector<std::int64_t> sizes = {2, 3, 4, 5, 9, 41, 42, 43, 100, 101, 102, 1000, 20000};

template <class R> void expect_cells(const std::vector<R>& x, std::uint64_t x_hint, bool sort, const R* datahint) {
    std::vector<R> sites = telling_sites(x);
    if (sort) sites = sorted(sites);
    const auto nx = static_cast<std::int64_t>(x.size());
    for (const bool wide : {false, true}) {
        const FitTask<R> task(nx, x.data(), x_hint, 0, nullptr, 0, wide);
        const Cells found =
            search(task.get(), wide, sites, {.sitehint = sort ? DF_SITE_SORTED : DF_SITE_FREE, .datahint = datahint});
        EXPECT_EQ(found.status, DF_ST_OK);
        const auto wanted = counted_cells(x, sites);
        for (std::size_t i = 0; i < sites.size(); ++i)
            ASSERT_EQ(found.cell[i], wanted[i]) << "nx " << nx << " x_hint " << x_hint << " site " << sites[i];
    }
}

TYPED_TEST(Search, CountsBreakpoints) {
    using R = TypeParam;
    for (const std::int64_t nx : sizes) {
        const R peak[] = {0, 1, 0, 0, static_cast<R>(nx) / 2};
        for (const auto& x : {random_breaks<R>(nx), nearly_even_breaks<R>(nx)}) {
            expect_cells<R>(x, DF_GRID_FREE, false, nullptr);
            expect_cells<R>(x, DF_GRID_IRREGULAR, false, peak);
            expect_cells<R>(x, DF_GRID_IRREGULAR, true, nullptr);
            expect_cells<R>(x, DF_GRID_NEAR_EVEN, false, nullptr); // also where the hint is wrong
        }
    }
}

// From many sites in a cell to many cells between sites, in stretches of either.
TYPED_TEST(Search, FollowsSortedSitesOfAnyDensity) {
    using R = TypeParam;
    std::mt19937 random(5);
    const auto x = random_breaks<R>(5000);
    const FitTask<R> task(5000, x.data(), DF_GRID_IRREGULAR, 0, nullptr, 0, 1);
    for (const double density : {0.01, 0.3, 1.0, 8.0, 300.0}) {
        std::vector<R> sites;
        std::exponential_distribution<double> gap(density);
        for (double t = -5; t < static_cast<double>(x.back()) + 2 && sites.size() < 20000; t += gap(random))
            sites.push_back(static_cast<R>(random() % 50 == 0 ? x[random() % x.size()] : static_cast<R>(t)));
        const auto hint = SearchCall<R>{.sitehint = DF_SITE_SORTED};
        EXPECT_EQ(search(task.get(), true, sorted(sites), hint).cell, counted_cells(x, sorted(sites))) << density;
        // A promise that isn't kept costs time only.
        EXPECT_EQ(search(task.get(), true, sites, hint).cell, counted_cells(x, sites)) << density;
    }
}

TYPED_TEST(Search, TakesEvenGridsByTheFormula) {
    using R = TypeParam;
    std::mt19937 random(7);
    // Beyond 2^24 and 2^31 breakpoints indexes need more than a float, or 32 bits.
    for (const std::int64_t nx :
         std::vector<std::int64_t>{2, 3, 11, 1000, (1 << 24) + 5, 0x7fffffff, (std::int64_t{1} << 40) + 1}) {
        for (const auto& [left, right] : {std::pair{R(0.1), R(0.7)}, {R(-1e6), R(3)}, {R(0), R(1)}}) {
            const R ends[] = {left, right};
            const R step = (right - left) / static_cast<R>(nx - 1);
            std::vector<R> sites = {left,
                                    right,
                                    left - 1,
                                    right + 1,
                                    std::nextafter(left, -R(1e9)),
                                    std::nextafter(left, right),
                                    std::nextafter(right, left),
                                    std::nextafter(right, R(1e9)),
                                    -std::numeric_limits<R>::infinity(),
                                    std::numeric_limits<R>::infinity()};
            std::uniform_real_distribution<R> inside(left, right);
            for (int i = 0; i < 200; ++i) sites.push_back(inside(random));
            for (std::int64_t j = 0; j < std::min<std::int64_t>(nx, 500); ++j)
                sites.push_back(left + static_cast<R>(j) * step);
            for (const std::int64_t sitehint : {DF_SITE_FREE, DF_SITE_SORTED}) {
                const FitTask<R> task(nx, ends, DF_GRID_EVEN, 0, nullptr, 0, 1);
                const Cells found = search(task.get(), true, sites, {.sitehint = sitehint});
                for (std::size_t i = 0; i < sites.size(); ++i)
                    ASSERT_EQ(found.cell[i], even_cell(ends, nx, sites[i])) << "nx " << nx << " site " << sites[i];
            }
        }
    }
}

// ---- the kernels ---------------------------------------------------------------------------------------------------

template <class R> struct Kernels { SearchKernel<R>*general, *narrow, *wide, *pack; };
#define NVO_SINGLE(Kind, kind)                                                                                    \
    {nvo_df_kernel_sDF##Kind##Search1D, nvo_df_kernel_sDF##Kind##Search1D32, nvo_df_kernel_sDF##Kind##Search1D64, \
     nvo_df_kernel_sDF##Kind##Search1D64Pack},
#define NVO_DOUBLE(Kind, kind)                                                                                    \
    {nvo_df_kernel_dDF##Kind##Search1D, nvo_df_kernel_dDF##Kind##Search1D32, nvo_df_kernel_dDF##Kind##Search1D64, \
     nvo_df_kernel_dDF##Kind##Search1D64Pack},
template <class R> const std::vector<Kernels<R>> kernels;
template <> const std::vector<Kernels<float>> kernels<float> = {NVO_DF_SEARCH_KINDS(NVO_SINGLE)};
template <> const std::vector<Kernels<double>> kernels<double> = {NVO_DF_SEARCH_KINDS(NVO_DOUBLE)};

template <class R>
std::int32_t find(const std::int64_t* n, const R* site, std::int64_t* cell, std::int32_t*, void* params, void*) {
    const auto& x = *static_cast<const std::vector<R>*>(params);
    for (std::int64_t i = 0; i < *n; ++i) cell[i] = counted_cell(x, site[i]);
    return 0;
}

// Estimates that are far outside, negative, one off and right.
template <class R>
std::int32_t estimate(const std::int64_t* n, const R* site, std::int64_t* cell, std::int32_t*, void* params, void*) {
    const auto& x = *static_cast<const std::vector<R>*>(params);
    const auto nx = static_cast<std::int64_t>(x.size());
    const std::int64_t bad[] = {
        -1, 0, nx, nx + 1, std::numeric_limits<std::int64_t>::min(), 1, std::numeric_limits<std::int64_t>::max()};
    for (std::int64_t i = 0; i < *n; ++i) {
        const std::int64_t good = counted_cell(x, site[i]);
        cell[i] = i % 3 == 0 ? good : i % 3 == 1 ? bad[i / 3 % 7] : good + i % 5 - 2;
    }
    return 0;
}

// In x = (0, 1, 2), which is an even grid as well.
TYPED_TEST(Search, AllKernelsAgreeInAllForms) {
    using R = TypeParam;
    std::vector<R> x = {0, 1, 2};
    const R ends[] = {0, 2};
    const std::vector<R> sites = {-1, 0, R(0.5), R(1.5), 2, 3, not_a_number<R>};
    const std::vector<std::int64_t> wanted = {0, 1, 1, 2, 2, 3, 3};
    for (std::size_t kind = 0; kind < kernels<R>.size(); ++kind) {
        const bool even = kind == 0 || kind == 6;
        const auto expect = [&](SearchKernel<R>* kernel, CellForm form, auto element) {
            for (const std::int64_t n : {0, 1, 4, 7}) {
                std::vector<decltype(element)> cell(8, untouched);
                std::vector<std::int32_t> flags(8, 5);
                std::int64_t last = 0;
                EXPECT_EQ(kernel(3, even ? ends : x.data(), n, sites.data(), &last, nullptr, 0, nullptr, cell.data(),
                                 form, find<R>, &x, nullptr, flags.data(), R(1)),
                          0);
                for (std::int64_t i = 0; i < 8; ++i) {
                    EXPECT_EQ(cell[i], i < n ? wanted[i] : untouched) << "kind " << kind << " site " << sites[i];
                }
            }
        };
        const Kernels<R>& k = kernels<R>[kind];
        expect(k.narrow, CellForm::narrow, std::int32_t{});
        expect(k.wide, CellForm::wide, std::int64_t{});
        expect(k.pack, CellForm::wide, std::int64_t{});
        expect(k.general, CellForm::narrow, std::int32_t{});
        for (const std::uint32_t form : {0U, 1U, 3U}) expect(k.general, CellForm{form}, std::int64_t{});
    }
}

TYPED_TEST(Search, PositionOfTheSortedKernelIsAHint) {
    using R = TypeParam;
    const auto x = random_breaks<R>(300);
    const auto sites = sorted(telling_sites(x));
    for (const std::int64_t start : {std::int64_t{0}, std::int64_t{150}, std::int64_t{299}, std::int64_t{300},
                                     std::int64_t{301}, std::int64_t{-5}, std::int64_t{1} << 62}) {
        std::vector<std::int64_t> cell(sites.size());
        std::int64_t last = start;
        // Carried on from block to block.
        for (std::size_t i = 0; i < sites.size(); i += 100) {
            const auto n = static_cast<std::int64_t>(std::min<std::size_t>(100, sites.size() - i));
            kernels<R>[2].wide(300, x.data(), n, sites.data() + i, &last, nullptr, 0, nullptr, cell.data() + i,
                               CellForm::wide, nullptr, nullptr, nullptr, nullptr, 0);
        }
        EXPECT_EQ(cell, counted_cells(x, sites)) << start;
    }
}

// ---- callbacks -----------------------------------------------------------------------------------------------------

// What a callback saw, and what it is to do.
template <class R> struct Script {
    std::vector<std::int64_t> counts = {};
    std::int64_t cell = 0; // for every site
    std::int32_t flag = 0;
    std::vector<std::int32_t> statuses = {}; // of call after call; 0 behind the last
    bool side_was_null = true;

    static std::int32_t play(const std::int64_t* n, const R*, std::int64_t* cell, std::int32_t* flag, void* params,
                             void* side) {
        auto& script = *static_cast<Script*>(params);
        const std::size_t call = script.counts.size();
        script.counts.push_back(*n);
        script.side_was_null &= side == nullptr;
        std::fill_n(cell, *n, script.cell);
        std::fill_n(flag, *n, script.flag);
        return call < script.statuses.size() ? script.statuses[call] : 0;
    }
};

TYPED_TEST(Search, RefinesEstimatesOfCallbacks) {
    using R = TypeParam;
    for (const std::int64_t nx : {2, 3, 50, 1000}) {
        auto x = random_breaks<R>(nx);
        const R ends[] = {x.front(), x.back()};
        const auto sites = telling_sites(x);
        const FitTask<R> listed(nx, x.data(), DF_GRID_NEAR_EVEN, 0, nullptr, 0, 1);
        const FitTask<R> even(nx, ends, DF_GRID_EVEN, 0, nullptr, 0, 1);
        const Cells refined = search(listed.get(), true, sites, {.callback = estimate<R>, .params = &x});
        const Cells computed = search(even.get(), true, sites, {.callback = estimate<R>, .params = &x});
        for (std::size_t i = 0; i < sites.size(); ++i) {
            const std::int64_t wanted = counted_cell(x, sites[i]);
            // On a breakpoint the cell that it ends may stand.
            const bool tie = std::find(x.begin(), x.end(), sites[i]) != x.end();
            ASSERT_TRUE(refined.cell[i] == wanted || (tie && refined.cell[i] == wanted - 1)) << sites[i];
            ASSERT_EQ(computed.cell[i], even_cell(ends, nx, sites[i])) << sites[i];
        }
    }
}

TYPED_TEST(Search, SiteOnABreakpointKeepsItsEstimate) {
    using R = TypeParam;
    const std::vector<R> x = {0, 1, 2, 3};
    const FitTask<R> task(4, x.data(), DF_GRID_IRREGULAR, 0, nullptr);
    const auto cell_of = [&](R t, std::int64_t guess) {
        Script<R> script{.cell = guess};
        return search(task.get(), false, std::vector<R>{t}, {.callback = Script<R>::play, .params = &script}).cell[0];
    };
    EXPECT_EQ(cell_of(1, 1), 1); // x[1] ends cell 1
    EXPECT_EQ(cell_of(1, 2), 2);
    EXPECT_EQ(cell_of(1, 0), 2); // walks
    EXPECT_EQ(cell_of(1, 3), 2);
    EXPECT_EQ(cell_of(0, 0), 0);
    EXPECT_EQ(cell_of(0, -9), 0);
    EXPECT_EQ(cell_of(0, 1), 1);
    EXPECT_EQ(cell_of(3, 3), 3);
    EXPECT_EQ(cell_of(3, 0), 3);
    EXPECT_EQ(cell_of(3, 99), 3);
}

TYPED_TEST(Search, CallbacksRunInBlocksOf128) {
    using R = TypeParam;
    using Counts = std::vector<std::int64_t>;
    const auto x = random_breaks<R>(10);
    const R ends[] = {0, 1};
    const FitTask<R> listed(10, x.data(), DF_GRID_IRREGULAR, 0, nullptr);
    const FitTask<R> even(10, ends, DF_GRID_EVEN, 0, nullptr);
    for (DFTask1D* task : {listed.get(), even.get()}) {
        const auto run = [&](std::int64_t nsite, Script<R> script) {
            const auto sites = std::vector<R>(static_cast<std::size_t>(nsite), R(0.5));
            const Cells found = search(task, false, sites, {.callback = Script<R>::play, .params = &script});
            EXPECT_TRUE(script.side_was_null);
            return std::pair{found, script.counts};
        };
        // The last block is asked for even if it is empty; no sites are no work.
        EXPECT_EQ(run(127, {}).second, (Counts{127}));
        EXPECT_EQ(run(128, {}).second, (Counts{128, 0}));
        EXPECT_EQ(run(257, {}).second, (Counts{128, 128, 1}));
        EXPECT_EQ(run(0, {}).second, (Counts{}));
        // 1000, and a flag, make a cell final.
        EXPECT_EQ(run(1, {.cell = -3, .statuses = {1000}}).first.cell, Counts{-3});
        EXPECT_EQ(run(1, {.cell = -3, .flag = 2}).first.cell, Counts{-3});
        EXPECT_NE(run(1, {.cell = -3}).first.cell, Counts{-3});
        // The status of the last call.
        EXPECT_EQ(run(200, {.statuses = {7, 1000}}).first.status, 0);
        EXPECT_EQ(run(200, {.statuses = {1000, 7}}).first.status, 7);
        EXPECT_EQ(run(128, {.statuses = {7, 8}}).first.status, 8);
        // A negative one stops the work, with earlier blocks stored.
        const auto [failed, counts] = run(300, {.cell = 2, .flag = 1, .statuses = {0, -5}});
        EXPECT_EQ(failed.status, -5);
        EXPECT_EQ(counts, (Counts{128, 128}));
        for (std::size_t i = 0; i < 300; ++i) EXPECT_EQ(failed.cell[i], i < 128 ? 2 : untouched);
    }
}

// What a callback leaves unwritten is a poor estimate.
TYPED_TEST(Search, CallbacksMayLeaveSitesToTheLibrary) {
    using R = TypeParam;
    const auto x = random_breaks<R>(100);
    const auto sites = telling_sites(x);
    const FitTask<R> task(100, x.data(), DF_GRID_IRREGULAR, 0, nullptr, 0, 1);
    const auto idle = [](const std::int64_t*, const R*, std::int64_t*, std::int32_t*, void*, void*) { return 0; };
    const Cells found = search(task.get(), true, sites, {.callback = idle});
    for (std::size_t i = 0; i < sites.size(); ++i)
        EXPECT_EQ(found.cell[i], sites[i] == x[0] ? 0 : counted_cell(x, sites[i])) << sites[i];
}

// ---- hints and statuses --------------------------------------------------------------------------------------------

TYPED_TEST(Search, ChecksInOrder) {
    using R = TypeParam;
    const auto x = random_breaks<R>(10);
    const R ends[] = {0, 1}, nan = not_a_number<R>;
    const FitTask<R> listed(10, x.data(), DF_GRID_FREE, 0, nullptr), even(10, ends, DF_GRID_EVEN, 0, nullptr);
    const FitTask<R> near(10, x.data(), DF_GRID_NEAR_EVEN, 0, nullptr);
    Script<R> script;
    const R half[] = {0, R(0.5), 0, 0, 5}, none[] = {0, 0, 0, 0, nan}, unknown[] = {0, nan, 0, 0, 5};
    const R first[] = {0, 1, 0, 0, 0}, last[] = {0, 1, 0, 0, 10};
    const R below[] = {0, 1, 0, 0, -1}, above[] = {0, 1, 0, 0, R(10.5)}, nowhere[] = {0, 1, 0, 0, nan};
    struct Case {
        DFTask1D* task;
        SearchCall<R> call;
        std::int32_t status;
        bool untouched_cells;
    } const cases[] = {
        {nullptr, {.datahint = half}, DF_ST_NO_TASK, true},
        {listed.get(), {.datahint = half}, DF_ST_BAD_DATA_HINT, true},
        {listed.get(), {.datahint = half, .nsite = 0}, DF_ST_BAD_DATA_HINT, true},
        {listed.get(), {.datahint = unknown}, DF_ST_BAD_DATA_HINT, true},
        {listed.get(), {.datahint = below}, DF_ST_BAD_DATA_HINT, true},
        {listed.get(), {.datahint = above}, DF_ST_BAD_DATA_HINT, true},
        {listed.get(), {.datahint = nowhere}, DF_ST_BAD_DATA_HINT, true},
        {listed.get(), {.datahint = none}, DF_ST_OK, false},
        {listed.get(), {.datahint = first}, DF_ST_OK, false},
        {listed.get(), {.datahint = last}, DF_ST_OK, false},
        // What comes first in the selection leaves the data hint unread.
        {listed.get(), {.sitehint = DF_SITE_SORTED, .datahint = half}, DF_ST_OK, false},
        {near.get(), {.datahint = half}, DF_ST_OK, false},
        {even.get(), {.datahint = half}, DF_ST_OK, false},
        {listed.get(), {.datahint = half, .callback = Script<R>::play, .params = &script}, DF_ST_OK, false},
        // Site hints that don't exist are none.
        {listed.get(), {.sitehint = DF_SITE_SORTED | DF_SITE_EVEN, .datahint = half}, DF_ST_BAD_DATA_HINT, true},
        {listed.get(), {.nsite = 0}, DF_ST_OK, true},
    };
    for (const Case& c : cases) {
        const Cells found = search(c.task, false, std::vector<R>{R(0.5), R(0.25)}, c.call);
        EXPECT_EQ(found.status, c.status) << &c - cases;
        for (const std::int64_t cell : found.cell) EXPECT_EQ(cell == untouched, c.untouched_cells) << &c - cases;
    }
    const R site = 0;
    EXPECT_EQ(Fit<R>::search(listed.get(), 0, 1, &site, 0, nullptr, nullptr, nullptr, nullptr, nullptr),
              DF_ST_NO_OUTPUT);
    EXPECT_EQ(Fit<R>::search(listed.get(), 0, -4, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr), DF_ST_OK);
}

TYPED_TEST(Search, FormsEvenSites) {
    using R = TypeParam;
    const auto x = random_breaks<R>(60);
    const FitTask<R> task(60, x.data(), DF_GRID_IRREGULAR, 0, nullptr, 0, 1);
    const std::vector<R> ends = {x[0] - 1, x[59] + R(0.5)};
    for (const std::int64_t nsite : {1, 2, 3, 1000, 4096, 4097}) {
        std::vector<R> sites;
        const R reciprocal = R(1) / static_cast<R>(std::max<std::int64_t>(nsite - 1, 1));
        for (std::int64_t i = 0; i < nsite; ++i) {
            const R product = static_cast<R>(i) * (ends[1] - ends[0]);
            sites.push_back(product * reciprocal + ends[0]);
        }
        const Cells found = search(task.get(), true, ends, {.sitehint = DF_SITE_EVEN, .nsite = nsite});
        EXPECT_EQ(found.status, DF_ST_OK);
        EXPECT_EQ(found.cell, counted_cells(x, sites)) << nsite;
    }
    // One site alone is the left end: the other one isn't there to be read.
    const GuardedArray<R> one(1);
    one[0] = x[3];
    std::int64_t cell = 0;
    Fit<R>::search(task.get(), 0, 1, one.data(), DF_SITE_EVEN, nullptr, &cell, nullptr, nullptr, nullptr);
    EXPECT_EQ(cell, 4);
}

// 4096 sites are formed in place; one more takes a block, which may be missing.
TYPED_TEST(Search, AllocatesForManyEvenSites) {
    using R = TypeParam;
    const auto x = random_breaks<R>(60);
    const FitTask<R> task(60, x.data(), DF_GRID_IRREGULAR, 0, nullptr);
    const std::vector<R> ends = {x[0], x[59]};
    for (const std::int64_t nsite : {4096, 4097}) {
        const long blocks = nvo_core_testing_live_blocks();
        nvo_core_testing_fail_allocation(1);
        const Cells found = search(task.get(), false, ends, {.sitehint = DF_SITE_EVEN, .nsite = nsite});
        EXPECT_EQ(nvo_core_testing_fail_allocation(0), nsite == 4096 ? 1 : 0);
        EXPECT_EQ(found.status, nsite == 4096 ? DF_ST_OK : DF_ST_NO_MEMORY);
        EXPECT_EQ(found.cell[0] == untouched, nsite == 4097);
        EXPECT_EQ(search(task.get(), false, ends, {.sitehint = DF_SITE_EVEN, .nsite = nsite}).status, DF_ST_OK);
        EXPECT_EQ(nvo_core_testing_live_blocks(), blocks);
    }
}

// ---- what has no meaning
// ---------------------------------------------------------------------------------------------

// Partitions that don't ascend, of whole pages between pages that can't be touched. Cells are anything from 0 to nx.
TYPED_TEST(Search, StaysInsideAnyPartition) {
    using R = TypeParam;
    constexpr R infinity = std::numeric_limits<R>::infinity();
    const auto nx = static_cast<std::int64_t>(4096 / sizeof(R));
    std::mt19937 random(11);
    const R odd[] = {0,
                     1,
                     -1,
                     infinity,
                     -infinity,
                     not_a_number<R>,
                     std::numeric_limits<R>::max(),
                     std::numeric_limits<R>::lowest(),
                     std::numeric_limits<R>::denorm_min()};
    const auto any = [&] { return random() % 3 == 0 ? odd[random() % std::size(odd)] : R(random() % 1000) - 500; };
    const GuardedArray<R> x(static_cast<std::size_t>(nx)), site(static_cast<std::size_t>(nx));
    std::vector<std::int32_t> cell(static_cast<std::size_t>(nx)), flags(static_cast<std::size_t>(nx));
    for (int round = 0; round < 100; ++round) {
        for (std::int64_t i = 0; i < nx; ++i) {
            x[static_cast<std::size_t>(i)] = round == 0 ? 1 : round == 1 ? R(-i) : any();
            site[static_cast<std::size_t>(i)] = any();
        }
        std::vector<R> estimates(x.data(), x.data() + nx);
        for (std::size_t kind = 0; kind < kernels<R>.size(); ++kind) {
            for (const R step : {R(0), R(1), -infinity, not_a_number<R>, std::numeric_limits<R>::denorm_min()}) {
                const bool even = kind == 0 || kind == 6;
                std::int64_t last = static_cast<std::int64_t>(random()) - 1000;
                kernels<R>[kind].narrow(nx, even ? x.data() + nx - 2 : x.data(), nx, site.data(), &last, nullptr, 0,
                                        nullptr, cell.data(), CellForm::narrow, estimate<R>, &estimates, nullptr,
                                        flags.data(), step);
                ASSERT_TRUE(std::all_of(cell.begin(), cell.end(), [&](auto c) { return c >= 0 && c <= nx; })) << kind;
            }
        }
    }
}

TYPED_TEST(Search, PutsNaNsBehindThePartition) {
    using R = TypeParam;
    const auto x = nearly_even_breaks<R>(200);
    const R ends[] = {x[0], x[199]};
    const std::vector<R> sites(20, not_a_number<R>);
    const FitTask<R> free(200, x.data(), DF_GRID_FREE, 0, nullptr), near(200, x.data(), DF_GRID_NEAR_EVEN, 0, nullptr);
    const FitTask<R> even(200, ends, DF_GRID_EVEN, 0, nullptr);
    for (DFTask1D* task : {free.get(), near.get(), even.get()})
        EXPECT_EQ(search(task, false, sites).cell, std::vector<std::int64_t>(20, 200));
}

} // namespace
