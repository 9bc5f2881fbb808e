// Values and derivatives of every model, and the statuses and callbacks of interpolation.
#include "tests/fitting/interpolate.h"

namespace {

using namespace nvo::tests;

template <class R> class Interpolate : public testing::Test {};
TYPED_TEST_SUITE(Interpolate, Precisions);

template <class T> const T& pick(const std::vector<T>& from, std::mt19937& random) {
    return from[random() % from.size()];
}

// One of everything that a call can be.
ModelShape random_shape(std::mt19937& random) {
    ModelShape shape = pick(models, random);
    shape.x_hint = pick<std::uint64_t>({DF_GRID_FREE, DF_GRID_IRREGULAR, DF_GRID_NEAR_EVEN, DF_GRID_EVEN}, random);
    shape.nx = pick<std::int64_t>({2, 3, 5, 40, 300}, random);
    shape.ny = pick<std::int64_t>({1, 2, 5}, random);
    shape.y_hint = pick<std::uint64_t>({DF_Y_DEFAULT, DF_Y_BY_ROWS, DF_Y_BY_COLS, DF_Y_SEPARATE}, random);
    shape.wide = random() % 2;
    if (shape.ic_type == DF_IC_EVEN_SUBGRID) shape.nx = std::max<std::int64_t>(shape.nx, 3);
    return shape;
}

template <class R> ValueCall<R> random_call(std::mt19937& random) {
    static const std::vector<std::vector<int>> orders = {{1},
                                                         {1, 1},
                                                         {0, 1},
                                                         {0, 0, 1},
                                                         {1, 0, 1},
                                                         {1, 1, 1},
                                                         {1, 1, 1, 1},
                                                         {0, 0, 0, 1},
                                                         {1, 0, 0, 1, 0},
                                                         {0},
                                                         {},
                                                         {1, 1, 1, 1, 1},
                                                         {0, 0, 0, 0, 0, 1, 1}};
    return {.type = pick<std::int64_t>({0, 1, 2, 3, 4, 6, 8}, random),
            .sitehint = pick<std::int64_t>({DF_SITE_FREE, DF_SITE_SORTED, DF_SITE_EVEN}, random),
            .rhint = pick<std::int64_t>({0, 16, 128, 32, 256, 512}, random),
            .orders = pick(orders, random)};
}

// The sites that a call evaluates at; `given` becomes what it is told of them.
template <class R>
std::vector<R> prepare_sites(ModelTask<R>& task, std::int64_t sitehint, std::size_t n, std::vector<R>& given) {
    given.resize(sitehint == DF_SITE_EVEN ? 2 : n);
    const bool runs = task.random()() % 2; // sites that share cells
    for (std::size_t i = 0; i < given.size(); ++i) given[i] = runs && i % 50 != 0 ? given[i - 1] : task.site();
    if (sitehint == DF_SITE_SORTED) std::sort(given.begin(), given.end());
    if (sitehint != DF_SITE_EVEN) return given;
    std::vector<R> all(n, given[0]);
    for (std::size_t i = 1; i < n; ++i)
        all[i] = given[0] + static_cast<R>(i) * (given[1] - given[0]) / static_cast<R>(n - 1);
    return all;
}

// Every result has the bits of the formula, which keeps its error bound, or is the callback's whose site it is.
TYPED_TEST(Interpolate, FollowsTheFormulasAndCallbacks) {
    using R = TypeParam;
    std::mt19937 random(1);
    for (std::uint32_t round = 0; round < 2000; ++round) {
        ModelTask<R> task(random_shape(random), round);
        const ModelShape& shape = task.shape();
        ValueCall<R> call = random_call<R>(random);
        const auto n = pick<std::size_t>({1, 2, 3, 15, 16, 17, 50, 255, 256, 257, 600}, random);
        call.nsite = static_cast<std::int64_t>(n);
        std::vector<R> given;
        const auto sites = prepare_sites(task, call.sitehint, n, given);

        ValueCallback<R>* const callbacks[] = {&call.left, &call.right, &call.inner};
        const std::uint32_t subset = round % 2 ? 0 : random() % 8;
        ValueRecorder<R> got[3], wanted[3];
        for (int part = 0; part < 3; ++part) {
            got[part].functions = shape.ny;
            got[part].results = call.results();
            if (subset >> part & 1) *callbacks[part] = got[part].callback();
        }
        const auto part_of = [&](R site) { return site < task.left_end() ? 0 : site > task.right_end() ? 1 : 2; };

        // Given cells may be any: those of other sites continue their polynomials, those outside count as the nearest.
        const bool any_cells = call.type == 4 && subset == 0 && round % 3 == 0;
        std::vector<std::int64_t> cells;
        for (const R site : sites) {
            cells.push_back(task.cell(any_cells ? task.site() : site));
            wanted[part_of(site)].sites.push_back(site);
            wanted[part_of(site)].cells.push_back(cells.back());
        }
        if (any_cells && n > 2) {
            cells[n - 1] = shape.nx + 1;
            cells[n - 2] = -1;
            cells[n - 3] = std::numeric_limits<std::int32_t>::min();
        }
        if (call.type == 4) call.cells = cells;
        const ValueResults<R> results = interpolate(task, given, call);
        ASSERT_EQ(results.status, DF_ST_OK) << shape.text();
        const bool known = call.type == 4 || (call.type & 2);
        ASSERT_EQ(results.cells, known ? cells : std::vector<std::int64_t>(n, untouched)) << shape.text();
        expect_results(shape, call, results, [&](std::int64_t f, std::size_t s, std::int64_t d, std::int64_t k) {
            if (subset >> part_of(sites[s]) & 1) return ValueRecorder<R>::value(f, k, sites[s]);
            const R value = task.value(f, sites[s], cells[s], d);
            if (!shape.is_step()) {
                const auto exact = task.exact(f, sites[s], cells[s], d);
                const long double bound = 3 * static_cast<R>(shape.order) * std::numeric_limits<R>::epsilon();
                EXPECT_LE(std::abs(value - exact.value), bound * exact.size) << shape.text() << " order " << d;
            }
            return value;
        });
        for (int part = 0; part < 3; ++part) {
            if (!(subset >> part & 1)) continue;
            ASSERT_EQ(got[part].sites, wanted[part].sites);
            ASSERT_EQ(got[part].cells, wanted[part].cells);
        }
        if (testing::Test::HasFailure()) return;
    }
}

// ---- steps and look-up ---------------------------------------------------------------------------------------------

// On x = (0, 1, 2, 3), y = (10, 11, 12, 13).
template <class R> struct Table {
    std::vector<R> x, y = {10, 11, 12, 13};
    FitTask<R> task;

    Table(std::int64_t type, std::uint64_t x_hint)
        : x(x_hint == DF_GRID_EVEN ? std::vector<R>{0, 3} : std::vector<R>{0, 1, 2, 3}),
          task(4, x.data(), x_hint, 1, y.data()) {
        task.spline(0, type, nullptr);
    }
    ValueResults<R> at(const std::vector<R>& sites, std::vector<int> orders = {1}) const {
        return interpolate<R>(task.get(), false, 1, sites, {.orders = std::move(orders)});
    }
};

TYPED_TEST(Interpolate, StepsGoUpAtBreakpoints) {
    using R = TypeParam;
    const auto above = [](R x) { return std::nextafter(x, R(100)); };
    const auto below = [](R x) { return std::nextafter(x, R(-100)); };
    const std::vector<R> sites = {-5, below(0), 0, above(0), R(0.5), below(1), 1, above(1), below(3), 3, above(3), 50};
    for (const std::uint64_t x_hint : {DF_GRID_IRREGULAR, DF_GRID_EVEN}) {
        EXPECT_EQ(Table<R>(DF_TYPE_STEP_RIGHT, x_hint).at(sites).r,
                  (std::vector<R>{10, 10, 10, 10, 10, 10, 11, 11, 12, 13, 13, 13}));
        EXPECT_EQ(Table<R>(DF_TYPE_STEP_LEFT, x_hint).at(sites).r,
                  (std::vector<R>{10, 10, 10, 11, 11, 11, 11, 12, 13, 13, 13, 13}));
    }
}

TYPED_TEST(Interpolate, LooksUpBreakpointsOnly) {
    using R = TypeParam;
    const R tolerance = sizeof(R) == 8 ? R(0x1p-40) : R(0x1p-12), nan = std::numeric_limits<R>::quiet_NaN();
    const Table<R> listed(DF_TYPE_LOOK_UP, DF_GRID_NEAR_EVEN), even(DF_TYPE_LOOK_UP, DF_GRID_EVEN);
    const auto expect_misses = [](const Table<R>& table, const std::vector<R>& misses) {
        for (const R miss : misses) {
            const auto results = table.at({1, miss});
            EXPECT_EQ(results.status, DF_ST_LOOKUP_MISS) << miss;
            EXPECT_EQ(results.r, (std::vector<R>{untouched_result<R>, untouched_result<R>})) << "half a block";
        }
    };
    for (const Table<R>* table : {&listed, &even}) {
        EXPECT_EQ(table->at({3, 0, 2, 1, 3}).r, (std::vector<R>{13, 10, 12, 11, 13}));
        expect_misses(*table, {R(0.5), R(-1), R(3.5), nan});
        EXPECT_EQ(table->at({1}, {1, 1}).status, DF_ST_LOOKUP_ORDERS);
        EXPECT_EQ(table->at({1}, {}).status, DF_ST_LOOKUP_ORDERS);
        EXPECT_EQ(table->at({1}, {0, 1}).status, DF_ST_LOOKUP_NO_VALUE);
        EXPECT_EQ(table->at({R(0.5)}, {0, 1}).status, DF_ST_LOOKUP_MISS);
    }
    // Computed breakpoints have a tolerance, which their right neighbours' cells hold to the last bit; listed ones
    // don't. Cell 0 is a miss, and there is no x[4].
    expect_misses(listed, {std::nextafter(R(1), R(2))});
    expect_misses(even, {1 - tolerance, 2 + 2 * tolerance, -tolerance / 2, 4 - tolerance / 2});
    EXPECT_EQ(even.at({1 + tolerance, 2 - tolerance / 2, 3 - tolerance / 2, 3 + tolerance / 2}).r,
              (std::vector<R>{11, 12, 13, 13}));
}

// ---- statuses ------------------------------------------------------------------------------------------------------

template <class R> std::int32_t no_results(const std::int64_t*, const std::int64_t*, const R*, R*, void*, void*) {
    return 0;
}

TYPED_TEST(Interpolate, ChecksInOrder) {
    using R = TypeParam;
    const std::vector<R> x = {0, 1, 2}, y = {1, 2, 3};
    std::vector<R> coeff(3 * 20);
    const R bad_hint[] = {0, R(0.5), 0, 0, 0};
    const ValueCallback<R> cb = {no_results<R>, nullptr};
    struct Case {
        std::int64_t order, type;
        bool coefficients, values;
        ValueCall<R> call;
        std::int32_t status;
    } const cases[] = {
        // Models.
        {1, 0, true, true, {.rhint = 1, .datahint = bad_hint}, DF_ST_BAD_TYPE},
        {3, 2, true, true, {.rhint = 1, .datahint = bad_hint}, DF_ST_BAD_TYPE},
        {4, 1, true, true, {}, DF_ST_BAD_TYPE},
        {4, 6, true, true, {}, DF_ST_BAD_TYPE},
        {4, 10, true, true, {}, DF_ST_BAD_TYPE},
        {0, 0, true, true, {}, DF_ST_BAD_TYPE},
        {0, 9, true, true, {.left = cb, .inner = cb}, DF_ST_BAD_TYPE},
        {0, 9, false, false, {.left = cb, .right = cb, .inner = cb}, DF_ST_OK},
        // Hints; given cells need no search and leave its hints unread.
        {4, 0, false, true, {.rhint = 1, .datahint = bad_hint}, DF_ST_BAD_DATA_HINT},
        {4, 0, true, true, {.type = 4, .datahint = bad_hint, .cells = {1}}, DF_ST_OK},
        {4, 0, false, true, {.rhint = 1}, DF_ST_BAD_RESULT_HINT},
        {4, 0, true, true, {.rhint = 17}, DF_ST_BAD_RESULT_HINT},
        {4, 0, true, true, {.rhint = -16, .nsite = 0}, DF_ST_BAD_RESULT_HINT},
        // Data.
        {4, 0, false, true, {}, DF_ST_BAD_COEFF},
        {6, 0, false, true, {.nsite = 0}, DF_ST_BAD_COEFF},
        {4, 0, false, true, {.left = cb, .right = cb}, DF_ST_BAD_COEFF},
        {4, 0, false, true, {.left = cb, .right = cb, .inner = cb}, DF_ST_OK},
        {0, DF_TYPE_STEP_LEFT, true, false, {}, DF_ST_BAD_Y},
        {0, DF_TYPE_LOOK_UP, true, false, {}, DF_ST_BAD_Y},
        {0, DF_TYPE_STEP_RIGHT, false, true, {}, DF_ST_OK},
        {2, 0, true, false, {}, DF_ST_OK},
        {2, 0, true, true, {.nsite = 0}, DF_ST_OK},
    };
    for (const Case& c : cases) {
        const FitTask<R> task(3, x.data(), DF_GRID_IRREGULAR, c.values ? 1 : 0, c.values ? y.data() : nullptr);
        if (!c.values) nvo_df_kernel_iEditVal(task.get(), DF_ATTR_NY, 1);
        ASSERT_EQ(Fit<R>::edit_spline(task.get(), c.order, c.type, 0, nullptr, 0, nullptr,
                                      c.coefficients ? coeff.data() : nullptr, 0),
                  DF_ST_OK);
        const auto results = interpolate<R>(task.get(), false, 1, {R(0.5)}, c.call);
        EXPECT_EQ(results.status, c.status) << &c - cases;
        if (c.status == DF_ST_OK) continue;
        for (const R r : results.r) EXPECT_EQ(r, untouched_result<R>) << &c - cases;
    }
}

TYPED_TEST(Interpolate, RefusesMissingArrays) {
    using R = TypeParam;
    const ModelTask<R> task({4, 0});
    const R site = 0;
    R r = untouched_result<R>;
    const std::int32_t one[] = {1};
    const auto run = [&](DFTask1D* handle, std::int64_t type, std::int64_t nsite, const std::int32_t* orders,
                         std::int64_t ndorder, R* to) {
        return Fit<R>::interpolate(handle, type, 0, nsite, &site, 0, ndorder, orders, nullptr, to, 0, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    };
    EXPECT_EQ(run(nullptr, 1, 1, one, 1, &r), DF_ST_NO_TASK);
    EXPECT_EQ(run(task.task(), 1, 1, one, 1, nullptr), DF_ST_NO_OUTPUT);
    EXPECT_EQ(run(task.task(), 2, 1, one, 1, &r), DF_ST_NO_OUTPUT);
    EXPECT_EQ(run(task.task(), 4, 1, one, 1, &r), DF_ST_NO_OUTPUT);
    EXPECT_EQ(run(task.task(), 1, 1, one, 0, nullptr), DF_ST_OK);
    EXPECT_EQ(run(task.task(), 2, -1, one, 1, nullptr), DF_ST_OK);
    EXPECT_EQ(run(task.task(), 1, INT64_MAX / 2, one, 1, &r), DF_ST_NO_MEMORY) << "more than numbers can count";
    EXPECT_EQ(run(task.task(), 1, 1, nullptr, 5, &r), DF_ST_OK) << "no list of orders asks for nothing";
    EXPECT_EQ(r, untouched_result<R>);
}

// Partitions that don't ascend give numbers without meaning, and nothing is touched that doesn't belong to the call.
TYPED_TEST(Interpolate, StaysInsideItsArrays) {
    using R = TypeParam;
    using Limits = std::numeric_limits<R>;
    const std::vector<R> odd = {0, 1, -1, Limits::infinity(), -Limits::infinity(), Limits::quiet_NaN(), Limits::max()};
    std::mt19937 random(2);
    for (std::uint32_t round = 0; round < 200; ++round) {
        ModelTask<R> task(random_shape(random), round);
        const GuardedArray<R> x(static_cast<std::size_t>(task.shape().x_hint == DF_GRID_EVEN ? 2 : task.shape().nx));
        for (std::size_t j = 0; j < x.size(); ++j) x[j] = pick(odd, random);
        Fit<R>::edit(task.task(), DF_ATTR_X, x.data());
        std::vector<R> sites(300);
        for (R& site : sites) site = random() % 2 ? pick(odd, random) : task.site();
        ValueCall<R> call = random_call<R>(random);
        call.type = 2;
        call.nsite = 300;
        const auto results = interpolate(task, sites, call);
        EXPECT_EQ(results.status, DF_ST_OK);
        for (const std::int64_t cell : results.cells) ASSERT_TRUE(cell >= 0 && cell <= task.shape().nx);
    }
}

// ---- callbacks -----------------------------------------------------------------------------------------------------

// Any order and type that names no model is one of callbacks. A task of no functions has one.
TYPED_TEST(Interpolate, CallbacksMayBeTheWholeModel) {
    using R = TypeParam;
    const std::vector<R> x = {0, 1, 2};
    FitTask<R> task(3, x.data(), DF_GRID_IRREGULAR, 0, nullptr);
    task.spline(0, 99, nullptr);
    ValueRecorder<R> left{1, 2}, right{1, 2}, inner{1, 2};
    const ValueCall<R> call{
        .orders = {1, 0, 1}, .left = left.callback(), .right = right.callback(), .inner = inner.callback()};
    const R nan = std::numeric_limits<R>::quiet_NaN();
    const auto results = interpolate<R>(task.get(), false, 1, {R(-0.5), 0, R(0.5), 2, 5, nan}, call);
    EXPECT_EQ(results.status, DF_ST_OK);
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(results.r[2 * i] + 100, results.r[2 * i + 1]);
    EXPECT_EQ(left.cells, std::vector<std::int64_t>{0});
    EXPECT_EQ(inner.cells, (std::vector<std::int64_t>{1, 1, 2, 3})); // a NaN lies nowhere, and isn't outside
    EXPECT_EQ(right.cells, std::vector<std::int64_t>{3});
}

template <class R> struct Searcher {
    std::vector<R> x = {};
    std::vector<std::int32_t> statuses = {};
    std::int64_t offset = 0; // from the right cell
    std::int32_t flag = 0;
    std::vector<std::int64_t> counts = {};

    static std::int32_t search(const std::int64_t* n, const R* site, std::int64_t* cell, std::int32_t* flag,
                               void* params, void* side) {
        auto& self = *static_cast<Searcher*>(params);
        EXPECT_EQ(side, nullptr);
        for (std::int64_t i = 0; i < *n; ++i) cell[i] = counted_cell(self.x, site[i]) + self.offset;
        std::fill_n(flag, *n, self.flag);
        const std::size_t call = self.counts.size();
        self.counts.push_back(*n);
        return call < self.statuses.size() ? self.statuses[call] : 0;
    }
};

TYPED_TEST(Interpolate, SearchCallbacksRunBlockByBlock) {
    using R = TypeParam;
    ModelTask<R> task({4, DF_TYPE_AKIMA});
    std::vector<R> sites(600);
    for (R& site : sites) site = task.uniform(task.left_end(), task.right_end());
    sites[300] = task.right_end() + 1;
    const auto plain = interpolate<R>(task, sites, {.type = 2});
    const auto run = [&](Searcher<R> searcher, ValueCall<R> call) {
        searcher.x = task.breaks();
        call.search_cb = Searcher<R>::search;
        call.search_params = &searcher;
        return std::pair{interpolate<R>(task, sites, call), searcher.counts};
    };
    const auto [results, counts] = run({.statuses = {1, 2, 3}, .offset = 3}, {.type = 2});
    EXPECT_EQ(results.status, 3);
    EXPECT_EQ(results.r, plain.r);
    EXPECT_EQ(results.cells, plain.cells);
    EXPECT_EQ(counts, (std::vector<std::int64_t>{256, 256, 88}));
    // With callbacks for sites outside, it searches the others only; its last status counts.
    ValueRecorder<R> outside{.statuses = {7}};
    const auto [split, split_counts] = run({}, {.right = outside.callback()});
    EXPECT_EQ(split_counts, (std::vector<std::int64_t>{256, 255, 88}));
    EXPECT_EQ(split.status, 0);
    EXPECT_EQ(run({.statuses = {0, 0, 4}}, {.right = outside.callback()}).first.status, 4);
    // Cells that are said to be final, and are anywhere, are evaluated as the nearest that exist.
    const auto far = run({.offset = 1'000'000, .flag = 1}, {.type = 2}).first;
    EXPECT_EQ(far.status, DF_ST_OK);
    EXPECT_EQ(far.cells[7], plain.cells[7] + 1'000'000);
    EXPECT_EQ(far.r[7], task.value(0, sites[7], task.shape().nx, 0));
    // Statuses.
    EXPECT_EQ(run({.statuses = {0, 0, 4}}, {}).first.status, 4);
    EXPECT_EQ(run({.statuses = {0, 4, 1000}}, {}).first.status, 0);
    const auto failed = run({.statuses = {0, -4}}, {}).first;
    EXPECT_EQ(failed.status, -4);
    EXPECT_EQ(failed.r[255], plain.r[255]);
    EXPECT_EQ(failed.r[256], untouched_result<R>);
    // Not asked where the cells are given.
    EXPECT_TRUE(run({}, {.type = 4, .cells = plain.cells}).second.empty());
}

} // namespace
