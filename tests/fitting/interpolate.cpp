// Values and derivatives of every model, and the statuses of interpolation.
#include "tests/fitting/interpolate.h"

#include <gtest/gtest.h>

namespace {

using namespace nvo::tests;

template <class R> class Interpolate : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(Interpolate, Reals);

template <class T> const T& pick(const std::vector<T>& from, std::mt19937& random) {
    return from[random() % from.size()];
}

// One of everything that a call can be.
template <class R> ValueShape random_shape(std::mt19937& random) {
    ValueShape shape = pick(value_models(), random);
    shape.x_hint = pick<std::uint64_t>({DF_GRID_FREE, DF_GRID_IRREGULAR, DF_GRID_NEAR_EVEN, DF_GRID_EVEN}, random);
    shape.nx = pick<std::int64_t>({2, 3, 5, 40, 300}, random);
    shape.ny = pick<std::int64_t>({1, 2, 5}, random);
    shape.y_hint = pick<std::uint64_t>({DF_Y_DEFAULT, DF_Y_BY_ROWS, DF_Y_BY_COLS, DF_Y_SEPARATE}, random);
    shape.wide = random() % 2;
    if (shape.ic_type == DF_IC_EVEN_SUBGRID) shape.nx = std::max<std::int64_t>(shape.nx, 3);
    return shape;
}

template <class R> ValueCall<R> random_call(std::mt19937& random) {
    ValueCall<R> call;
    call.type = pick<std::int64_t>({0, 1, 2, 3, 4, 6, 8}, random);
    call.rhint = pick<std::int64_t>({0, 16, 128, 32, 256, 512}, random);
    call.sitehint = pick<std::int64_t>({DF_SITE_FREE, DF_SITE_SORTED, DF_SITE_EVEN}, random);
    call.orders = pick<std::vector<int>>({{1},
                                          {1, 1},
                                          {0, 1},
                                          {0, 0, 1},
                                          {1, 0, 1},
                                          {1, 1, 1},
                                          {1, 1, 1, 1},
                                          {0, 0, 0, 1},
                                          {1, 0, 0, 1, 0},
                                          {1, 1, 1, 1, 1},
                                          {0, 0, 0, 0, 0, 1, 1},
                                          {0},
                                          {}},
                                         random);
    return call;
}

// The sites that a call evaluates at; `sites` becomes what it is given.
template <class R>
std::vector<R> prepare_sites(ValueSubject<R>& subject, std::int64_t sitehint, std::size_t n, std::vector<R>& sites) {
    sites.resize(sitehint == DF_SITE_EVEN ? 2 : n);
    const bool runs = subject.random()() % 2; // sites that share cells
    for (std::size_t i = 0; i < sites.size(); ++i) sites[i] = runs && i % 50 != 0 ? sites[i - 1] : subject.site();
    if (sitehint == DF_SITE_SORTED) std::sort(sites.begin(), sites.end());
    if (sitehint != DF_SITE_EVEN) return sites;
    std::vector<R> all(n, sites[0]);
    for (std::size_t i = 1; i < n; ++i) {
        const R product = static_cast<R>(i) * (sites[1] - sites[0]);
        all[i] = sites[0] + product / static_cast<R>(n - 1);
    }
    return all;
}

template <class R> bool same_bits(R a, R b) { return a == b && std::signbit(a) == std::signbit(b); }

// Every result has the bits of the formula, which keeps its error bound.
template <class R>
void expect_results(const ValueSubject<R>& subject, const std::vector<R>& sites, const ValueCall<R>& call,
                    const ValueResults<R>& results) {
    const ValueShape& shape = subject.shape();
    const auto nsite = static_cast<std::int64_t>(sites.size());
    for (std::int64_t s = 0; s < nsite; ++s) {
        const auto i = static_cast<std::size_t>(s);
        const std::int64_t cell = call.type == 4 ? call.cells[i] : subject.cell(sites[i]);
        const bool delivered = call.type != 4 && (call.type & 2);
        ASSERT_EQ(results.cells[i], delivered ? cell : call.type == 4 ? call.cells[i] : untouched) << sites[i];
        for (std::int64_t f = 0; f < shape.ny; ++f) {
            std::int64_t k = 0;
            for (std::size_t order = 0; order < call.orders.size(); ++order) {
                if (!call.orders[order]) continue;
                const auto d = static_cast<std::int64_t>(order);
                const R got = results.r[place(call.rhint, shape.ny, nsite, call.results(), f, s, k++)];
                ASSERT_TRUE(same_bits(got, subject.value(f, sites[i], cell, d)))
                    << shape.text() << " site " << sites[i] << " cell " << cell << " function " << f << " order " << d;
                if (!shape.has_coefficients()) continue;
                const auto exact = subject.exact(f, sites[i], cell, d);
                const auto bound = static_cast<long double>(3 * shape.order) * std::numeric_limits<R>::epsilon();
                ASSERT_LE(std::abs(got - exact.value), bound * exact.size) << shape.text() << " order " << d;
            }
        }
    }
}

TYPED_TEST(Interpolate, FollowsTheFormulas) {
    using R = TypeParam;
    std::mt19937 random(1);
    const std::vector<std::size_t> counts = {1, 2, 3, 15, 16, 17, 50, 255, 256, 257, 600};
    for (std::uint32_t round = 0; round < 1500; ++round) {
        ValueSubject<R> subject(random_shape<R>(random), round);
        ValueCall<R> call = random_call<R>(random);
        const std::size_t n = pick(counts, random);
        call.nsite = static_cast<std::int64_t>(n);
        std::vector<R> given;
        const auto sites = prepare_sites(subject, call.sitehint, n, given);
        if (call.type == 4) {
            // Any cells: those of other sites continue their polynomials, those outside count as the nearest.
            for (const R site : sites) call.cells.push_back(subject.cell(round % 3 ? site : subject.site()));
            if (round % 3 == 0 && n > 2) {
                call.cells[n - 1] = subject.shape().nx + 1;
                call.cells[n - 2] = -1;
                call.cells[n - 3] = std::numeric_limits<std::int32_t>::min();
            }
        }
        const ValueResults<R> results = interpolate(subject, given, call);
        ASSERT_EQ(results.status, DF_ST_OK) << subject.shape().text();
        expect_results(subject, sites, call, results);
        if (testing::Test::HasFatalFailure()) return;
    }
}

// ---- steps and look-up
// -------------------------------------------------------------------------------------------------

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
        EXPECT_EQ(Table<R>(DF_TYPE_STEP_LEFT, x_hint).at({2}, {1, 1, 0, 1}).r, (std::vector<R>{12, 0, 0}));
    }
}

TYPED_TEST(Interpolate, LooksUpBreakpointsOnly) {
    using R = TypeParam;
    const R tolerance = sizeof(R) == 8 ? R(0x1p-40) : R(0x1p-12);
    const Table<R> listed(DF_TYPE_LOOK_UP, DF_GRID_NEAR_EVEN), even(DF_TYPE_LOOK_UP, DF_GRID_EVEN);
    for (const Table<R>* table : {&listed, &even}) {
        EXPECT_EQ(table->at({3, 0, 2, 1, 3}).r, (std::vector<R>{13, 10, 12, 11, 13}));
        for (const R miss : {R(0.5), R(-1), R(3.5), std::numeric_limits<R>::quiet_NaN()}) {
            const auto results = table->at({1, miss});
            EXPECT_EQ(results.status, DF_ST_LOOKUP_MISS) << miss;
            EXPECT_EQ(results.r, (std::vector<R>{untouched_result<R>, untouched_result<R>})) << "half a block";
        }
        EXPECT_EQ(table->at({1}, {1, 1}).status, DF_ST_LOOKUP_ORDERS);
        EXPECT_EQ(table->at({1}, {}).status, DF_ST_LOOKUP_ORDERS);
        EXPECT_EQ(table->at({1}, {0, 1}).status, DF_ST_LOOKUP_NO_VALUE);
        EXPECT_EQ(table->at({R(0.5)}, {0, 1}).status, DF_ST_LOOKUP_MISS);
    }
    // Computed breakpoints have a tolerance, which their right neighbours' cells hold to the last bit; listed ones
    // don't.
    EXPECT_EQ(listed.at({std::nextafter(R(1), R(2))}).status, DF_ST_LOOKUP_MISS);
    EXPECT_EQ(even.at({1 + tolerance, 2 - tolerance / 2, 3 - tolerance / 2}).r, (std::vector<R>{11, 12, 13}));
    EXPECT_EQ(even.at({1 - tolerance}).status, DF_ST_LOOKUP_MISS);
    EXPECT_EQ(even.at({2 + 2 * tolerance}).status, DF_ST_LOOKUP_MISS);
    EXPECT_EQ(even.at({-tolerance / 2}).status, DF_ST_LOOKUP_MISS); // cell 0 is a miss
    EXPECT_EQ(even.at({3 + tolerance / 2}).r, (std::vector<R>{13}));
    EXPECT_EQ(even.at({4 - tolerance / 2}).status, DF_ST_LOOKUP_MISS); // there is no x[4]
}

// ---- statuses
// ------------------------------------------------------------------------------------------------------------

template <class R> std::int32_t no_results(const std::int64_t*, const std::int64_t*, const R*, R*, void*, void*) {
    return 0;
}

TYPED_TEST(Interpolate, ChecksInOrder) {
    using R = TypeParam;
    const std::vector<R> x = {0, 1, 2};
    const std::vector<R> y = {1, 2, 3};
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
    const ValueSubject<R> subject({4, 0});
    const R site = 0;
    R r = untouched_result<R>;
    const std::int32_t orders[] = {1};
    const auto run = [&](DFTask1D* task, std::int64_t type, std::int64_t nsite, std::int64_t ndorder, R* to) {
        return Fit<R>::interpolate(task, type, 0, nsite, &site, 0, ndorder, orders, nullptr, to, 0, nullptr, nullptr,
                                   nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    };
    EXPECT_EQ(run(nullptr, 1, 1, 1, &r), DF_ST_NO_TASK);
    EXPECT_EQ(run(subject.task(), 1, 1, 1, nullptr), DF_ST_NO_OUTPUT);
    EXPECT_EQ(run(subject.task(), 2, 1, 1, &r), DF_ST_NO_OUTPUT);
    EXPECT_EQ(run(subject.task(), 4, 1, 1, &r), DF_ST_NO_OUTPUT);
    EXPECT_EQ(run(subject.task(), 1, 1, 0, nullptr), DF_ST_OK);
    EXPECT_EQ(run(subject.task(), 2, -1, 1, nullptr), DF_ST_OK);
    // More results than numbers can count.
    EXPECT_EQ(run(subject.task(), 1, std::numeric_limits<std::int64_t>::max() / 2, 1, &r), DF_ST_NO_MEMORY);
    EXPECT_EQ(r, untouched_result<R>);
    // A missing list of orders asks for nothing.
    EXPECT_EQ(Fit<R>::interpolate(subject.task(), 1, 0, 1, &site, 0, 5, nullptr, nullptr, &r, 0, nullptr, nullptr,
                                  nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              DF_ST_OK);
    EXPECT_EQ(r, untouched_result<R>);
}

// Cells are those of a partition that ascends; any other one gives numbers without meaning, and nothing is touched that
// doesn't belong to the call.
TYPED_TEST(Interpolate, StaysInsideItsArrays) {
    using R = TypeParam;
    const R odd[] = {0,
                     1,
                     -1,
                     std::numeric_limits<R>::infinity(),
                     -std::numeric_limits<R>::infinity(),
                     std::numeric_limits<R>::quiet_NaN(),
                     std::numeric_limits<R>::max()};
    std::mt19937 random(2);
    for (std::uint32_t round = 0; round < 200; ++round) {
        ValueSubject<R> subject(random_shape<R>(random), round);
        const GuardedArray<R> x(
            static_cast<std::size_t>(subject.shape().x_hint == DF_GRID_EVEN ? 2 : subject.shape().nx));
        for (std::size_t j = 0; j < x.size(); ++j) x[j] = odd[random() % std::size(odd)];
        Fit<R>::edit(subject.task(), DF_ATTR_X, x.data());
        std::vector<R> sites(300);
        for (R& site : sites) site = random() % 2 ? odd[random() % std::size(odd)] : subject.site();
        ValueCall<R> call = random_call<R>(random);
        call.type = 2;
        call.nsite = 300;
        const auto results = interpolate(subject, sites, call);
        EXPECT_EQ(results.status, DF_ST_OK);
        for (const std::int64_t cell : results.cells) ASSERT_TRUE(cell >= 0 && cell <= subject.shape().nx);
    }
}

} // namespace
