// Cells by every kind of search, against their definition.
#include "tests/fitting/search.h"

#include "fitting/search.h"
#include "tests/support/guarded.h"

namespace {

using namespace nvo::tests;
using nvo::fitting::CellForm;
using nvo::fitting::SearchKernel;

template <class R> class Search : public testing::Test {};
TYPED_TEST_SUITE(Search, Precisions);

template <class R> std::vector<R> sorted(std::vector<R> sites) {
    std::sort(sites.begin(), sites.end());
    return sites;
}

// Around the numbers of breakpoints where methods change.
TYPED_TEST(Search, CountsBreakpoints) {
    using R = TypeParam;
    for (const std::int64_t nx : {2, 3, 4, 5, 9, 41, 42, 43, 100, 101, 102, 1000, 20000}) {
        const R peak[] = {0, 1, 0, 0, static_cast<R>(nx) / 2};
        for (const auto& x : {random_breaks<R>(nx), nearly_even_breaks<R>(nx)}) {
            const std::vector<R> sites = telling_sites(x);
            const auto expect = [&](std::uint64_t x_hint, const std::vector<R>& sites, const SearchCall<R>& call) {
                for (const bool wide : {false, true}) {
                    const FitTask<R> task(nx, x.data(), x_hint, 0, nullptr, 0, wide);
                    const Cells found = search(task.get(), wide, sites, call);
                    EXPECT_EQ(found.status, DF_ST_OK);
                    ASSERT_EQ(found.cell, counted_cells(x, sites)) << "nx " << nx << " x_hint " << x_hint;
                }
            };
            expect(DF_GRID_FREE, sites, {});
            expect(DF_GRID_IRREGULAR, sites, {.datahint = peak});
            expect(DF_GRID_IRREGULAR, sorted(sites), {.sitehint = DF_SITE_SORTED});
            expect(DF_GRID_NEAR_EVEN, sites, {}); // also where the hint is wrong
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
        // A promise that isn't kept costs time only.
        for (const auto& some : {sorted(sites), sites})
            EXPECT_EQ(search(task.get(), true, some, {.sitehint = DF_SITE_SORTED}).cell, counted_cells(x, some));
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
            std::vector<R> sites = telling_sites(std::vector<R>{left, right});
            std::uniform_real_distribution<R> inside(left, right);
            for (int i = 0; i < 200; ++i) sites.push_back(inside(random));
            for (std::int64_t j = 0; j < std::min<std::int64_t>(nx, 500); ++j)
                sites.push_back(left + static_cast<R>(j) * step);
            const FitTask<R> task(nx, ends, DF_GRID_EVEN, 0, nullptr, 0, 1);
            for (const std::int64_t sitehint : {DF_SITE_FREE, DF_SITE_SORTED}) {
                const Cells found = search(task.get(), true, sites, {.sitehint = sitehint});
                for (std::size_t i = 0; i < sites.size(); ++i)
                    ASSERT_EQ(found.cell[i], even_cell(ends, nx, sites[i])) << "nx " << nx << " site " << sites[i];
            }
        }
    }
}

// ---- the kernels ---------------------------------------------------------------------------------------------------

template <class R> struct Kernels { SearchKernel<R>*general, *narrow, *wide, *pack; };
#define NVO_KERNELS(t, Kind)                                                         \
    {nvo_df_kernel_##t##DF##Kind##Search1D, nvo_df_kernel_##t##DF##Kind##Search1D32, \
     nvo_df_kernel_##t##DF##Kind##Search1D64, nvo_df_kernel_##t##DF##Kind##Search1D64Pack},
#define NVO_SINGLE(Kind, kind) NVO_KERNELS(s, Kind)
#define NVO_DOUBLE(Kind, kind) NVO_KERNELS(d, Kind)
template <class R> const std::vector<Kernels<R>> kernels;
template <> const std::vector<Kernels<float>> kernels<float> = {NVO_DF_SEARCH_KINDS(NVO_SINGLE)};
template <> const std::vector<Kernels<double>> kernels<double> = {NVO_DF_SEARCH_KINDS(NVO_DOUBLE)};

// Callbacks, whose params are the breakpoints. The right cells:
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
    const std::int64_t bad[] = {-1, 0, nx, nx + 1, INT64_MIN, 1, INT64_MAX};
    for (std::int64_t i = 0; i < *n; ++i) {
        const std::int64_t good = counted_cell(x, site[i]);
        cell[i] = i % 3 == 0 ? good : i % 3 == 1 ? bad[i / 3 % 7] : good + i % 5 - 2;
    }
    return 0;
}
// What is left unwritten is a poor estimate.
template <class R> std::int32_t idle(const std::int64_t*, const R*, std::int64_t*, std::int32_t*, void*, void*) {
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
                for (std::int64_t i = 0; i < 8; ++i)
                    EXPECT_EQ(cell[i], i < n ? wanted[i] : untouched) << "kind " << kind << " site " << sites[i];
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
    for (const std::int64_t start : std::vector<std::int64_t>{0, 150, 299, 300, 301, -5, std::int64_t{1} << 62}) {
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

// A site on the breakpoint that ends the cell of its estimate stays there.
TYPED_TEST(Search, RefinesEstimatesOfCallbacks) {
    using R = TypeParam;
    for (const std::int64_t nx : {2, 3, 50, 1000}) {
        auto x = random_breaks<R>(nx);
        const R ends[] = {x.front(), x.back()};
        const auto sites = telling_sites(x);
        const auto n = static_cast<std::int64_t>(sites.size());
        const FitTask<R> listed(nx, x.data(), DF_GRID_NEAR_EVEN, 0, nullptr, 0, 1);
        const FitTask<R> even(nx, ends, DF_GRID_EVEN, 0, nullptr, 0, 1);
        for (auto* callback : {estimate<R>, idle<R>}) {
            const Cells refined = search(listed.get(), true, sites, {.callback = callback, .params = &x});
            const Cells computed = search(even.get(), true, sites, {.callback = callback, .params = &x});
            std::vector<std::int64_t> estimates(sites.size());
            for (std::int64_t first = 0; first < n; first += 128) {
                const std::int64_t count = std::min<std::int64_t>(n - first, 128);
                callback(&count, sites.data() + first, estimates.data() + first, nullptr, &x, nullptr);
            }
            for (std::size_t i = 0; i < sites.size(); ++i) {
                const auto guess = static_cast<std::size_t>(std::clamp<std::int64_t>(estimates[i], 0, nx));
                const bool stays = guess < x.size() && sites[i] == x[guess];
                ASSERT_EQ(refined.cell[i], counted_cell(x, sites[i]) - (stays && guess + 1 < x.size())) << sites[i];
                ASSERT_EQ(computed.cell[i], even_cell(ends, nx, sites[i])) << sites[i];
            }
        }
    }
}

// What a callback saw, and what it is to do.
template <class R> struct Script {
    std::vector<std::int64_t> counts = {};
    std::int64_t cell = 0; // for every site
    std::int32_t flag = 0;
    std::vector<std::int32_t> statuses = {}; // of call after call; 0 behind the last

    static std::int32_t play(const std::int64_t* n, const R*, std::int64_t* cell, std::int32_t* flag, void* params,
                             void* side) {
        auto& script = *static_cast<Script*>(params);
        EXPECT_EQ(side, nullptr);
        const std::size_t call = script.counts.size();
        script.counts.push_back(*n);
        std::fill_n(cell, *n, script.cell);
        std::fill_n(flag, *n, script.flag);
        return call < script.statuses.size() ? script.statuses[call] : 0;
    }
};

TYPED_TEST(Search, CallbacksRunInBlocksOf128) {
    using R = TypeParam;
    using Counts = std::vector<std::int64_t>;
    const auto x = random_breaks<R>(10);
    const R ends[] = {0, 1};
    const FitTask<R> listed(10, x.data(), DF_GRID_IRREGULAR, 0, nullptr);
    const FitTask<R> even(10, ends, DF_GRID_EVEN, 0, nullptr);
    for (DFTask1D* task : {listed.get(), even.get()}) {
        const auto run = [&](std::size_t nsite, Script<R> script) {
            const Cells found =
                search(task, false, std::vector<R>(nsite, R(0.5)), {.callback = Script<R>::play, .params = &script});
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
    } const cases[] = {
        {nullptr, {.datahint = half}, DF_ST_NO_TASK},
        {listed.get(), {.datahint = half}, DF_ST_BAD_DATA_HINT},
        {listed.get(), {.datahint = half, .nsite = 0}, DF_ST_BAD_DATA_HINT},
        {listed.get(), {.datahint = unknown}, DF_ST_BAD_DATA_HINT},
        {listed.get(), {.datahint = below}, DF_ST_BAD_DATA_HINT},
        {listed.get(), {.datahint = above}, DF_ST_BAD_DATA_HINT},
        {listed.get(), {.datahint = nowhere}, DF_ST_BAD_DATA_HINT},
        {listed.get(), {.datahint = none}, DF_ST_OK},
        {listed.get(), {.datahint = first}, DF_ST_OK},
        {listed.get(), {.datahint = last}, DF_ST_OK},
        // What comes first in the selection leaves the data hint unread.
        {listed.get(), {.sitehint = DF_SITE_SORTED, .datahint = half}, DF_ST_OK},
        {near.get(), {.datahint = half}, DF_ST_OK},
        {even.get(), {.datahint = half}, DF_ST_OK},
        {listed.get(), {.datahint = half, .callback = Script<R>::play, .params = &script}, DF_ST_OK},
        // Site hints that don't exist are none.
        {listed.get(), {.sitehint = DF_SITE_SORTED | DF_SITE_EVEN, .datahint = half}, DF_ST_BAD_DATA_HINT},
        {listed.get(), {.nsite = 0}, DF_ST_OK},
    };
    for (const Case& c : cases) {
        const Cells found = search(c.task, false, std::vector<R>{R(0.5), R(0.25)}, c.call);
        EXPECT_EQ(found.status, c.status) << &c - cases;
        for (const std::int64_t cell : found.cell) EXPECT_EQ(cell == untouched, c.status != DF_ST_OK) << &c - cases;
    }
    const R site = 0;
    EXPECT_EQ(Fit<R>::search(listed.get(), 0, 1, &site, 0, nullptr, nullptr, nullptr, nullptr, nullptr),
              DF_ST_NO_OUTPUT);
    EXPECT_EQ(Fit<R>::search(listed.get(), 0, -4, nullptr, 0, nullptr, nullptr, nullptr, nullptr, nullptr), DF_ST_OK);
}

// 4096 sites are formed in place; one more takes a block, which may be missing.
TYPED_TEST(Search, FormsEvenSites) {
    using R = TypeParam;
    const auto x = random_breaks<R>(60);
    const FitTask<R> task(60, x.data(), DF_GRID_IRREGULAR, 0, nullptr, 0, 1);
    const std::vector<R> ends = {x[0] - 1, x[59] + R(0.5)};
    for (const std::int64_t nsite : {1, 2, 3, 1000, 4096, 4097}) {
        std::vector<R> sites;
        const R reciprocal = R(1) / static_cast<R>(std::max<std::int64_t>(nsite - 1, 1));
        for (std::int64_t i = 0; i < nsite; ++i)
            sites.push_back(static_cast<R>(i) * (ends[1] - ends[0]) * reciprocal + ends[0]);
        expect_allocations(nsite > 4096, [&] {
            const Cells found = search(task.get(), true, ends, {.sitehint = DF_SITE_EVEN, .nsite = nsite});
            const std::vector<std::int64_t> none(sites.size(), untouched);
            EXPECT_EQ(found.cell, found.status == DF_ST_OK ? counted_cells(x, sites) : none) << nsite;
            return found.status;
        });
    }
    // One site alone is the left end: the other one isn't there to be read.
    const GuardedArray<R> one(1);
    one[0] = x[3];
    std::int64_t cell = 0;
    Fit<R>::search(task.get(), 0, 1, one.data(), DF_SITE_EVEN, nullptr, &cell, nullptr, nullptr, nullptr);
    EXPECT_EQ(cell, 4);
}

// ---- what has no meaning -------------------------------------------------------------------------------------------

// Partitions that don't ascend, of whole pages between pages that can't be touched. Cells are anything from 0 to nx.
TYPED_TEST(Search, StaysInsideAnyPartition) {
    using R = TypeParam;
    using Limits = std::numeric_limits<R>;
    constexpr std::size_t nx = 4096 / sizeof(R);
    std::mt19937 random(11);
    const R odd[] = {0,
                     1,
                     -1,
                     Limits::infinity(),
                     -Limits::infinity(),
                     not_a_number<R>,
                     Limits::max(),
                     Limits::lowest(),
                     Limits::denorm_min()};
    const auto any = [&] { return random() % 3 == 0 ? odd[random() % std::size(odd)] : R(random() % 1000) - 500; };
    const GuardedArray<R> x(nx), site(nx);
    std::vector<std::int32_t> cell(nx), flags(nx);
    for (int round = 0; round < 100; ++round) {
        for (std::size_t i = 0; i < nx; ++i) {
            x[i] = round == 0 ? 1 : round == 1 ? -static_cast<R>(i) : any();
            site[i] = any();
        }
        std::vector<R> breaks(x.data(), x.data() + nx);
        for (std::size_t kind = 0; kind < kernels<R>.size(); ++kind) {
            for (const R step : {R(0), R(1), -Limits::infinity(), not_a_number<R>, Limits::denorm_min()}) {
                const bool even = kind == 0 || kind == 6;
                std::int64_t last = static_cast<std::int64_t>(random()) - 1000;
                kernels<R>[kind].narrow(nx, even ? x.data() + nx - 2 : x.data(), nx, site.data(), &last, nullptr, 0,
                                        nullptr, cell.data(), CellForm::narrow, estimate<R>, &breaks, nullptr,
                                        flags.data(), step);
                const auto [least, most] = std::minmax_element(cell.begin(), cell.end());
                ASSERT_TRUE(*least >= 0 && *most <= static_cast<std::int64_t>(nx)) << kind;
            }
        }
    }
}

TYPED_TEST(Search, PutsNaNsBehindThePartition) {
    using R = TypeParam;
    const auto x = nearly_even_breaks<R>(200);
    const R ends[] = {x[0], x[199]};
    for (const std::uint64_t x_hint : {DF_GRID_FREE, DF_GRID_NEAR_EVEN, DF_GRID_EVEN}) {
        const FitTask<R> task(200, x_hint == DF_GRID_EVEN ? ends : x.data(), x_hint, 0, nullptr);
        EXPECT_EQ(search(task.get(), false, std::vector<R>(20, not_a_number<R>)).cell,
                  std::vector<std::int64_t>(20, 200));
    }
}

// ---- teams ---------------------------------------------------------------------------------------------------------

// Chunks end inside the groups that are searched side by side, and sites may be fewer than threads. The kind that knows
// nothing works in blocks of 2048, from 101 breakpoints on.
TEST(SearchOfThreads, GivesTheCellsOfOneThread) {
    std::mt19937 random(1);
    for (const std::int64_t nx : {3, 100, 101, 3000}) {
        const auto x = nearly_even_breaks<double>(nx);
        const double ends[] = {x.front(), x.back()};
        std::uniform_real_distribution<double> any(x.front() - 1, x.back() + 1);
        std::vector<double> sites(20001);
        for (double& t : sites) t = random() % 10 == 0 ? x[random() % x.size()] : any(random);
        std::vector<double> sorted = sites;
        std::sort(sorted.begin(), sorted.end());
        const double peak[] = {0, 1, 0, 0, 1};
        const std::vector<double> between = {x.front() - 1, x.back()};
        const FitTask<double> free(nx, x.data(), DF_GRID_FREE, 0, nullptr), even(nx, ends, DF_GRID_EVEN, 0, nullptr);
        const FitTask<double> near(nx, x.data(), DF_GRID_NEAR_EVEN, 0, nullptr);
        struct Case {
            DFTask1D* task;
            const std::vector<double>& sites;
            SearchCall<double> call;
        } const cases[] = {{free.get(), sites, {}},
                           {free.get(), sites, {.datahint = peak}},
                           {free.get(), sorted, {.sitehint = DF_SITE_SORTED}},
                           {free.get(), sites, {.sitehint = DF_SITE_SORTED}}, // not as promised
                           {free.get(), between, {.sitehint = DF_SITE_EVEN}},
                           {near.get(), sites, {}},
                           {even.get(), sites, {}}};
        for (const Case& c : cases) {
            for (const std::int64_t count : {1, 2, 3, 7, 100, 2047, 2048, 2049, 4095, 4096, 4097, 6145, 20001}) {
                SearchCall<double> call = c.call;
                call.nsite = count;
                const Cells serial = search(c.task, true, c.sites, call);
                for (const int threads : {2, 3, 5}) {
                    const Team team(threads);
                    call.threading = team.descriptor();
                    ASSERT_EQ(search(c.task, true, c.sites, call).cell, serial.cell)
                        << "case " << &c - cases << " nx " << nx << " sites " << count << " threads " << threads;
                }
            }
        }
    }
}

} // namespace
