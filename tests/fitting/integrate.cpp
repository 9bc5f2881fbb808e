// Values of integrals: every model, grid, storage and layout against another way to compute them; statuses and
// callbacks.
#include "tests/fitting/integrate.h"

namespace nvo::tests {
namespace {

template <class R> class Integrate : public testing::Test {};
TYPED_TEST_SUITE(Integrate, Precisions);

// Without callbacks, and with every set of them: a callback's part counts as it says, the others by the model.
TYPED_TEST(Integrate, AgreesWithExactAntiderivativesAndCallbacks) {
    using R = TypeParam;
    constexpr std::int64_t layouts[] = {DF_Y_DEFAULT, DF_Y_BY_ROWS, DF_Y_BY_COLS, DF_Y_SEPARATE};
    std::uint32_t seed = 0;
    for (const ModelShape& shape : integral_shapes()) {
        ModelTask<R> task(shape, ++seed);
        for (unsigned subset = 0; subset < 8; ++subset) {
            const std::int64_t n = subset == 0 ? 300 : 40;
            const Pairs<R> pairs(task, n);
            PartRecorder<R> recorder{shape.ny};
            IntegrateCall<R> integrate = recorded(recorder, subset);
            integrate.rhint = layouts[(seed / 2 + subset) % 4];
            std::vector<R> r(static_cast<std::size_t>(n * shape.ny), R(NAN));
            ASSERT_EQ(integrate(task, pairs, r), DF_ST_OK);
            expect_integrals(shape, pairs, integrate.rhint, r, [&](std::int64_t f, std::int64_t i) {
                if (subset == 0) return task.integral(f, pairs.left[i], pairs.right[i]);
                const auto [lo, hi] = std::minmax({pairs.left[i], pairs.right[i]});
                const R first = task.left_end(), last = task.right_end();
                typename ModelTask<R>::Exact expected;
                const auto add = [&](Part part, R from, R to) {
                    if (!(from < to)) return;
                    auto term = task.integral(f, from, to);
                    term.size += (10 + f) * (std::abs(from) + std::abs(to)); // products round sums of limits
                    if (subset >> part & 1) term.value = (f + 2 + part) * (static_cast<long double>(to) - from);
                    expected.value += term.value;
                    expected.size += term.size;
                };
                add(left, lo, std::min(hi, first));
                add(right, std::max(lo, last), hi);
                add(inner, std::max(lo, first), std::min(hi, last));
                if (pairs.right[i] < pairs.left[i]) expected.value = -expected.value;
                return expected;
            });
            if (testing::Test::HasFatalFailure()) return;
        }
    }
}

TYPED_TEST(Integrate, LimitsThatAreNoNumbers) {
    using R = TypeParam;
    constexpr R infinity = std::numeric_limits<R>::infinity();
    const R left[] = {R(NAN), 1, R(NAN), infinity, -infinity}, right[] = {1, R(NAN), R(NAN), infinity, -infinity};
    for (const ModelShape& shape : models) {
        const ModelTask<R> task(shape);
        R r[5];
        ASSERT_EQ(IntegrateCall<R>()(task.task(), 5, left, right, r), DF_ST_OK);
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(std::isnan(r[i])) << shape.text() << ' ' << i;
        for (int i = 3; i < 5; ++i) EXPECT_EQ(r[i], 0) << shape.text() << ' ' << i;
    }
}

// With limits in order the hints change nothing; reversed pairs are negated to the bit.
TYPED_TEST(Integrate, HintsAndSigns) {
    using R = TypeParam;
    const ModelTask<R> task({.order = 4, .type = DF_TYPE_AKIMA, .nx = 150});
    constexpr std::int64_t n = 1000;
    const R ends[2][2] = {{R(-1.5), R(30)}, {R(-1), R(20)}}, plain_hint[] = {0, 0, 0, 0, 0}, peak[] = {0, 1, 0, 0, 70};
    std::vector<R> limits[2], r(n), other(n);
    for (int side = 0; side < 2; ++side)
        for (std::int64_t i = 0; i < n; ++i)
            limits[side].push_back(ends[side][0] +
                                   static_cast<R>(i) * (ends[side][1] - ends[side][0]) / static_cast<R>(n - 1));
    IntegrateCall<R> integrate;
    ASSERT_EQ(integrate(task.task(), n, limits[0].data(), limits[1].data(), r.data()), DF_ST_OK);
    ASSERT_EQ(integrate(task.task(), n, limits[1].data(), limits[0].data(), other.data()), DF_ST_OK);
    for (R& integral : other) integral = -integral;
    EXPECT_EQ(r, other);
    integrate.left_data = plain_hint;
    integrate.right_data = peak;
    for (const std::int64_t left_hint : {DF_SITE_FREE, DF_SITE_SORTED, DF_SITE_EVEN})
        for (const std::int64_t right_hint : {DF_SITE_FREE, DF_SITE_SORTED, DF_SITE_EVEN}) {
            integrate.left_hint = left_hint;
            integrate.right_hint = right_hint;
            const R* a = left_hint == DF_SITE_EVEN ? ends[0] : limits[0].data();
            const R* b = right_hint == DF_SITE_EVEN ? ends[1] : limits[1].data();
            ASSERT_EQ(integrate(task.task(), n, a, b, other.data()), DF_ST_OK);
            EXPECT_EQ(r, other) << left_hint << ' ' << right_hint;
        }
    ASSERT_EQ(integrate(task.task(), 1, ends[0], ends[1], other.data()), DF_ST_OK); // of one pair the first ends count
    EXPECT_EQ(other[0], r[0]);
}

// Pieces join: over all cells of a long partition the error stays that of a few roundings, as it wouldn't in a plain
// sum of single precision.
TYPED_TEST(Integrate, LongSumsKeepTheirDigits) {
    using R = TypeParam;
    constexpr std::int64_t nx = 1'000'000;
    const R ends[] = {0, 1}, left[] = {0, 0}, right[] = {1, R(0.3)};
    const std::vector<R> y(nx, R(0.7));
    FitTask<R> task(nx, ends, DF_GRID_EVEN, 1, y.data());
    for (const std::int64_t type : {DF_TYPE_STEP_LEFT, DF_TYPE_STEP_RIGHT}) {
        task.spline(0, type, nullptr);
        R r[2];
        ASSERT_EQ(IntegrateCall<R>()(task.get(), 2, left, right, r), DF_ST_OK);
        for (int i = 0; i < 2; ++i) EXPECT_NEAR(r[i], right[i] * y[0], 8 * std::numeric_limits<R>::epsilon());
    }
}

// Each case spoils one thing more than the one below it: the first check decides.
TYPED_TEST(Integrate, StatusesInOrder) {
    using R = TypeParam;
    const R x[] = {0, 1, 2}, y[] = {1, 2, 3}, bad_hint[] = {0, R(0.5), 0, 0, 0}, limit[] = {0};
    R coeff[2 * 7] = {}, r = 42;
    struct Case {
        std::int64_t order, type;
        bool with_y, with_coeff, bad_left, bad_right;
        std::int64_t rhint, nlim;
        std::int32_t status;
    };
    constexpr Case cases[] = {
        {1, 0, true, true, true, true, 1, 1, DF_ST_BAD_TYPE},
        {0, DF_TYPE_LOOK_UP, true, true, false, false, 0, 0, DF_ST_BAD_TYPE},
        {0, 0, true, true, false, false, 0, 1, DF_ST_BAD_TYPE}, // callbacks are missing
        {0, DF_TYPE_STEP_LEFT, false, false, true, false, 1, 1, DF_ST_BAD_DATA_HINT},
        {0, DF_TYPE_STEP_LEFT, false, false, false, true, 1, 1, DF_ST_BAD_DATA_HINT},
        {0, DF_TYPE_STEP_LEFT, false, false, false, false, 1, 1, DF_ST_BAD_INT_RESULT_HINT},
        {0, DF_TYPE_STEP_LEFT, false, false, false, false, 256, 1, DF_ST_BAD_INT_RESULT_HINT},
        {0, DF_TYPE_STEP_LEFT, false, false, false, false, 0x30, 1, DF_ST_BAD_INT_RESULT_HINT},
        {0, DF_TYPE_STEP_LEFT, false, false, false, false, 0, 0, DF_ST_BAD_Y},
        {0, DF_TYPE_STEP_RIGHT, false, false, false, false, 0x80, 1, DF_ST_BAD_Y},
        {4, 9, true, false, false, false, 0, 1, DF_ST_BAD_COEFF},
        {4, 0, false, false, false, false, 0, 1, DF_ST_OK}, // no functions
        {4, 9, true, true, false, false, 0, -5, DF_ST_OK},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        const FitTask<R> task(3, x, 0, c.with_y, c.with_y ? y : nullptr);
        ASSERT_EQ(
            Fit<R>::edit_spline(task.get(), c.order, c.type, 0, nullptr, 0, nullptr, c.with_coeff ? coeff : nullptr, 0),
            DF_ST_OK);
        IntegrateCall<R> integrate;
        integrate.left_data = c.bad_left ? bad_hint : nullptr;
        integrate.right_data = c.bad_right ? bad_hint : nullptr;
        integrate.rhint = c.rhint;
        EXPECT_EQ(integrate(task.get(), c.nlim, limit, limit, &r), c.status);
        EXPECT_EQ(r, 42);
    }
    EXPECT_EQ(IntegrateCall<R>()(nullptr, 1, limit, limit, &r), DF_ST_NO_TASK);
    const ModelTask<R> task({2, 0});
    EXPECT_EQ(IntegrateCall<R>()(task.task(), 1, limit, limit, nullptr), DF_ST_NO_OUTPUT);
}

// 17 functions are more than the stack stages, with callbacks and without.
TYPED_TEST(Integrate, AnyBlockMayBeMissing) {
    using R = TypeParam;
    constexpr std::int64_t ny = 17;
    ModelTask<R> task({.order = 4, .type = DF_TYPE_BESSEL, .nx = 20, .ny = ny});
    const Pairs<R> pairs(task, 300);
    IntegrateCall<R> integrate;
    for (typename IntegrateCall<R>::Callback* callback :
         {static_cast<typename IntegrateCall<R>::Callback*>(nullptr),
          +[](const std::int64_t*, const std::int64_t*, const R*, const std::int64_t*, const R*, R*r, void*, void*) {
              std::fill_n(r, ny, R(0));
              return std::int32_t{0};
          }}) {
        integrate.le_cb = callback;
        expect_allocations(1, [&] {
            std::vector<R> r(300 * ny, R(42));
            const auto status = integrate(task, pairs, r);
            if (status != DF_ST_OK) {
                EXPECT_EQ(r, std::vector<R>(300 * ny, R(42)));
            }
            return status;
        });
    }
}

// ---- callbacks -----------------------------------------------------------------------------------------------------

// An interpolant of which the library knows nothing but the partition: order 0, with all three callbacks.
TYPED_TEST(Integrate, CallbacksAreCalledInOrder) {
    using R = TypeParam;
    const R x[] = {0, 1, 2};
    FitTask<R> task(3, x, DF_GRID_FREE, 2, std::vector<R>(6).data());
    task.spline(0, DF_TYPE_DEFAULT, nullptr);
    const R a[] = {-1, 4, -3, 5, R(0.5), 2, 1}, b[] = {3, R(1.5), -2, 2, R(0.5), 0, R(-0.5)};
    R r[14];
    PartRecorder<R> recorder{2};
    for (unsigned subset = 0; subset < 7; ++subset)
        EXPECT_EQ(recorded(recorder, subset)(task.get(), 7, a, b, r), DF_ST_BAD_TYPE) << subset;
    ASSERT_EQ(recorded(recorder)(task.get(), 7, a, b, r), DF_ST_OK);
    const std::vector<PartCall<R>> expected = {
        {left, 0, -1, 0, 0},  {right, 3, 2, 3, 3},
        {inner, 0, 0, 3, 2},                            // all three of a pair that spans everything
        {right, 3, 2, 3, 4},  {inner, 2, R(1.5), 3, 2}, // reversed
        {left, 0, -3, 0, -2},                           // outside as a whole
        {right, 3, 2, 3, 5},  {inner, 2, 2, 3, 2},      // the right end itself is inside
        {inner, 1, 0, 2, 2},  {left, 0, R(-0.5), 0, 0},
        {inner, 0, 0, 2, 1}};
    EXPECT_EQ(recorder.calls, expected);
}

// ---- search callbacks ----------------------------------------------------------------------------------------------

template <class R> struct Placer {
    std::vector<std::pair<std::int64_t, std::int32_t>> calls{}; // count, side
    std::int64_t cell = 1;
    std::int32_t status[2] = {0, 3}; // of left limits and of right ones

    static std::int32_t place(const std::int64_t* n, const R*, std::int64_t* cell, std::int32_t*, void* params,
                              void* side) {
        auto& self = *static_cast<Placer*>(params);
        const auto which = *static_cast<const std::int32_t*>(side);
        if (*n > 0) self.calls.emplace_back(*n, which);
        std::fill_n(cell, *n, self.cell);
        return self.status[which];
    }
};

TYPED_TEST(Integrate, SearchCallbacksPlaceLimits) {
    using R = TypeParam;
    for (const ModelShape& shape : {ModelShape{4, DF_TYPE_HERMITE}, {4, DF_TYPE_HERMITE, 0, DF_GRID_EVEN}}) {
        ModelTask<R> task(shape);
        const Pairs<R> pairs(task, 200);
        std::vector<R> r(200);
        Placer<R> placer;
        IntegrateCall<R> integrate;
        integrate.search_cb = Placer<R>::place;
        integrate.search_params = &placer;
        ASSERT_EQ(integrate(task, pairs, r), 3);
        const std::vector<std::pair<std::int64_t, std::int32_t>> expected{{128, 0}, {128, 1}, {72, 0}, {72, 1}};
        EXPECT_EQ(placer.calls, expected);
        // An estimate may leave a breakpoint in the cell on its left.
        expect_integrals(shape, pairs, 0, r, [&](std::int64_t f, std::int64_t i) {
            return task.integral(f, pairs.left[i], pairs.right[i]);
        });

        placer.status[1] = -9;
        std::fill(r.begin(), r.end(), R(42));
        EXPECT_EQ(integrate(task, pairs, r), -9);
        EXPECT_EQ(r, std::vector<R>(200, 42));
    }
}

// Cells that a callback calls final may be anything, and limits too.
TYPED_TEST(Integrate, NoCellLeadsOutside) {
    using R = TypeParam;
    for (const ModelShape& shape : integral_shapes()) {
        if (shape.nx > 4) continue;
        ModelTask<R> task(shape);
        Pairs<R> pairs(task, 1000);
        for (std::size_t i = 0; i < 1000; i += 3) pairs.right[i] = i % 2 ? R(NAN) : R(INFINITY);
        std::vector<R> r(1000 * shape.ny);
        IntegrateCall<R> integrate;
        integrate.search_params = &task;
        integrate.search_cb = [](const std::int64_t* n, const R*, std::int64_t* cell, std::int32_t*, void* task,
                                 void*) {
            auto& random = static_cast<ModelTask<R>*>(task)->random();
            for (std::int64_t i = 0; i < *n; ++i)
                cell[i] = random() % 9 ? std::int64_t(random() % 7) - 1 : random() % 2 ? INT64_MIN : INT64_MAX;
            return std::int32_t{1000};
        };
        EXPECT_EQ(integrate(task, pairs, r), DF_ST_OK) << shape.text();
    }
}

} // namespace
} // namespace nvo::tests
