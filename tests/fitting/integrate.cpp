// Values of integrals: every model, grid, storage and layout against another way to compute them; the statuses.
#include "tests/fitting/integrate.h"

#include "fitting/integrators.h"
#include "platform/core_testing.h"
#include "tests/support/guarded.h"

#include <gtest/gtest.h>

namespace nvo::tests {
namespace {

template <class R> class Integrate : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(Integrate, Reals);

// In units of the terms' size; the largest that is seen is 2.0.
constexpr long double most_roundings = 3;

template <class R> struct Pairs {
    std::vector<R> left, right;

    Pairs(IntegralSubject<R>& subject, std::int64_t count) {
        for (std::int64_t i = 0; i < count; ++i) {
            left.push_back(subject.limit());
            right.push_back(i % 16 == 0 ? left.back() : subject.limit());
        }
    }
    std::int64_t count() const { return static_cast<std::int64_t>(left.size()); }
};

TYPED_TEST(Integrate, AgreesWithExactAntiderivatives) {
    using R = TypeParam;
    constexpr std::int64_t layouts[] = {DF_Y_DEFAULT, DF_Y_BY_ROWS, DF_Y_BY_COLS, DF_Y_SEPARATE};
    std::uint32_t seed = 0;
    for (const IntegralShape& shape : integral_shapes()) {
        SCOPED_TRACE(shape.text());
        IntegralSubject<R> subject(shape, ++seed);
        const Pairs<R> pairs(subject, 300);
        const std::int64_t n = pairs.count();
        IntegrateCall<R> integrate;
        integrate.rhint = layouts[seed / 2 % 4];
        std::vector<R> r(static_cast<std::size_t>(n * shape.ny), R(NAN));
        ASSERT_EQ(integrate(subject.task(), n, pairs.left.data(), pairs.right.data(), r.data()), DF_ST_OK);
        const bool by_pair = integrate.rhint == DF_Y_DEFAULT || integrate.rhint == DF_Y_BY_COLS;
        for (std::int64_t i = 0; i < n; ++i)
            for (std::int64_t f = 0; f < shape.ny; ++f) {
                const R a = pairs.left[i], b = pairs.right[i], got = r[by_pair ? i * shape.ny + f : f * n + i];
                if (a == b) {
                    ASSERT_EQ(got, 0);
                }
                const auto expected = subject.integral(f, a, b);
                ASSERT_NEAR(got, expected.value, most_roundings * std::numeric_limits<R>::epsilon() * expected.size)
                    << a << " to " << b;
            }
    }
}

TYPED_TEST(Integrate, LimitsThatAreNoNumbers) {
    using R = TypeParam;
    constexpr R infinity = std::numeric_limits<R>::infinity();
    const R left[] = {R(NAN), 1, R(NAN), infinity, -infinity}, right[] = {1, R(NAN), R(NAN), infinity, -infinity};
    for (const IntegralShape& shape : integral_models()) {
        const IntegralSubject<R> subject(shape);
        R r[5];
        ASSERT_EQ(IntegrateCall<R>()(subject.task(), 5, left, right, r), DF_ST_OK);
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(std::isnan(r[i])) << shape.text() << ' ' << i;
        for (int i = 3; i < 5; ++i) EXPECT_EQ(r[i], 0) << shape.text() << ' ' << i;
    }
}

// With limits in order the hints change nothing; reversed pairs are negated to the bit.
TYPED_TEST(Integrate, HintsAndSigns) {
    using R = TypeParam;
    IntegralSubject<R> subject({4, DF_TYPE_AKIMA, 0, DF_GRID_IRREGULAR, DF_Y_BY_ROWS, 150});
    constexpr std::int64_t n = 1000;
    const R ends[] = {R(-1.5), R(30)}, moved_ends[] = {R(-1), R(20)};
    std::vector<R> left(n), right(n), r(n), other(n);
    for (std::int64_t i = 0; i < n; ++i) {
        left[i] = ends[0] + static_cast<R>(i) * (ends[1] - ends[0]) / static_cast<R>(n - 1);
        right[i] = moved_ends[0] + static_cast<R>(i) * (moved_ends[1] - moved_ends[0]) / static_cast<R>(n - 1);
    }
    IntegrateCall<R> integrate;
    ASSERT_EQ(integrate(subject.task(), n, left.data(), right.data(), r.data()), DF_ST_OK);
    const R plain_hint[] = {0, 0, 0, 0, 0}, peak[] = {0, 1, 0, 0, 70};
    for (const std::int64_t left_hint : {DF_SITE_FREE, DF_SITE_EVEN, DF_SITE_SORTED})
        for (const std::int64_t right_hint : {DF_SITE_FREE, DF_SITE_EVEN, DF_SITE_SORTED}) {
            integrate.left_hint = left_hint;
            integrate.right_hint = right_hint;
            integrate.left_data = plain_hint;
            integrate.right_data = peak;
            const R* a = left_hint == DF_SITE_EVEN ? ends : left.data();
            const R* b = right_hint == DF_SITE_EVEN ? moved_ends : right.data();
            ASSERT_EQ(integrate(subject.task(), n, a, b, other.data()), DF_ST_OK);
            EXPECT_EQ(r, other) << left_hint << ' ' << right_hint;
        }
    ASSERT_EQ(IntegrateCall<R>()(subject.task(), n, right.data(), left.data(), other.data()), DF_ST_OK);
    for (R& integral : other) integral = -integral;
    EXPECT_EQ(r, other);
    integrate.left_hint = integrate.right_hint = DF_SITE_EVEN; // of one pair the first ends count
    ASSERT_EQ(integrate(subject.task(), 1, ends, moved_ends, other.data()), DF_ST_OK);
    EXPECT_EQ(other[0], r[0]);
}

// Pieces join: over all cells of a long partition the error stays that of a few roundings, as it wouldn't in a plain
// sum of single precision.
TYPED_TEST(Integrate, LongSumsKeepTheirDigits) {
    using R = TypeParam;
    constexpr std::int64_t nx = 1'000'000;
    const R ends[] = {0, 1};
    const std::vector<R> y(nx, R(0.7));
    FitTask<R> task(nx, ends, DF_GRID_EVEN, 1, y.data());
    for (const std::int64_t type : {DF_TYPE_STEP_LEFT, DF_TYPE_STEP_RIGHT}) {
        task.spline(0, type, nullptr);
        R r[2];
        const R left[] = {0, 0}, right[] = {1, R(0.3)};
        ASSERT_EQ(IntegrateCall<R>()(task.get(), 2, left, right, r), DF_ST_OK);
        EXPECT_NEAR(r[0], y[0], 8 * std::numeric_limits<R>::epsilon());
        EXPECT_NEAR(r[1], R(0.3) * y[0], 8 * std::numeric_limits<R>::epsilon());
    }
}

// What interpolation evaluates, by a rule of four points, which is exact for polynomials up to degree 7.
TYPED_TEST(Integrate, IsTheIntegralOfWhatInterpolationEvaluates) {
    using R = TypeParam;
    constexpr long double node[] = {0.3399810435848562648L, 0.8611363115940525752L};
    constexpr long double weight[] = {0.6521451548625461426L, 0.3478548451374538574L};
    for (IntegralShape shape : integral_shapes()) {
        if (shape.nx != 150) continue;
        SCOPED_TRACE(shape.text());
        IntegralSubject<R> subject(shape);
        const std::vector<R>& cuts = subject.cuts();
        for (std::size_t k = 0; k + 1 < cuts.size(); ++k) {
            R ends[] = {subject.uniform(cuts[k], cuts[k + 1]), subject.uniform(cuts[k], cuts[k + 1])};
            std::sort(ends, ends + 2);
            const R middle = (ends[0] + ends[1]) / 2, half = (ends[1] - ends[0]) / 2;
            R site[4], value[3 * 4], r[3]; // of up to three functions
            for (int p = 0; p < 4; ++p) site[p] = middle + (p % 2 ? -1 : 1) * static_cast<R>(node[p / 2]) * half;
            const std::int32_t order = 1;
            ASSERT_EQ(Fit<R>::interpolate(subject.task(), 1, 0, 4, site, 0, 1, &order, nullptr, value, 16, nullptr,
                                          nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                          nullptr),
                      0);
            ASSERT_EQ(IntegrateCall<R>()(subject.task(), 1, ends, ends + 1, r), DF_ST_OK);
            long double sum = 0;
            for (int p = 0; p < 4; ++p) sum += weight[p / 2] * value[p] * half;
            const auto size = subject.integral(0, ends[0], ends[1]).size + 10 * std::fabs(half);
            ASSERT_NEAR(r[0], sum, 4 * std::numeric_limits<R>::epsilon() * size) << "piece " << k;
        }
    }
}

// Whatever the cells of the limits are, in whatever order, and wherever the arrays end.
template <class R, class Integrator> void run_in_all_cells(Integrator* integrator, const IntegralShape& shape) {
    const std::size_t n = shape.nx, values = n * static_cast<std::size_t>(std::max<std::int64_t>(shape.order, 1));
    const std::size_t cells = shape.type == DF_TYPE_SUBBOTIN || shape.is_step() ? values : values - shape.order;
    const bool even = shape.x_hint == DF_GRID_EVEN;
    const GuardedArray<R> x(even ? 2 : n), y(n), coeff(cells), ic(shape.ic_type == DF_IC_EVEN_SUBGRID ? 2 : n + 1);
    for (std::size_t j = 0; j < x.size(); ++j) x[j] = static_cast<R>(j);
    for (std::size_t j = 0; j < ic.size(); ++j) ic[j] = static_cast<R>(j) - R(0.5);
    std::fill_n(y.data(), n, R(1));
    std::fill_n(coeff.data(), cells, R(1));
    FitTask<R> task(shape.nx, x.data(), shape.x_hint, 1, y.data(), shape.y_hint);
    task.spline(shape.order, shape.type, shape.is_step() ? nullptr : coeff.data(), 0, nullptr, shape.ic_type,
                shape.ic_type ? ic.data() : nullptr);
    const R limits[] = {-1, 0, R(0.5), 1, 2, 9, R(INFINITY), R(NAN)};
    for (std::int64_t a = 0; a <= shape.nx; ++a)
        for (std::int64_t b = 0; b <= shape.nx; ++b)
            for (const R left : limits)
                for (const R right : limits) {
                    R r = 0;
                    const fitting::LimitPairs<R> pair{1, &left, &a, &right, &b};
                    integrator(task.get(), 0, &pair, &r);
                }
}

TYPED_TEST(Integrate, NoCellLeadsOutside) {
    using R = TypeParam;
    constexpr bool wide = sizeof(R) == sizeof(double);
#define NVO_DF_NAME(t, real, Kind) nvo_df_kernel_##t##_Integrate##Kind##Spline,
    fitting::Integrator<float>* const singles[] = {NVO_DF_INTEGRATORS(NVO_DF_NAME, s, float)};
    fitting::Integrator<double>* const doubles[] = {NVO_DF_INTEGRATORS(NVO_DF_NAME, d, double)};
#undef NVO_DF_NAME
    const int integrator_of[] = {0, 1, 2, 3, 3, 3, 4, 5, 6};
    for (std::size_t m = 0; m < 9; ++m)
        for (const std::uint64_t x_hint : {DF_GRID_IRREGULAR, DF_GRID_EVEN})
            for (const std::uint64_t y_hint : {DF_Y_BY_ROWS, DF_Y_BY_COLS})
                for (const std::int64_t nx : {2, 5}) {
                    IntegralShape shape = integral_models()[m];
                    shape.x_hint = x_hint;
                    shape.y_hint = y_hint;
                    shape.nx = nx;
                    if constexpr (wide)
                        run_in_all_cells<R>(doubles[integrator_of[m]], shape);
                    else
                        run_in_all_cells<R>(singles[integrator_of[m]], shape);
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
        {3, 2, true, true, false, false, 0, 1, DF_ST_BAD_TYPE},
        {4, 1, true, true, false, false, 0, 1, DF_ST_BAD_TYPE},
        {4, 6, true, true, false, false, 0, 1, DF_ST_BAD_TYPE},
        {4, 10, true, true, false, false, 0, 1, DF_ST_BAD_TYPE},
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
        {4, 9, true, true, false, false, 0, -5, DF_ST_OK},
    };
    for (const Case& c : cases) {
        DFTask1D* task = nullptr;
        ASSERT_EQ(Fit<R>::new_task(&task, 3, x, 0, c.with_y, c.with_y ? y : nullptr, 0, 0), DF_ST_OK);
        ASSERT_EQ(Fit<R>::edit_spline(task, c.order, c.type, 0, nullptr, 0, nullptr, c.with_coeff ? coeff : nullptr, 0),
                  DF_ST_OK);
        IntegrateCall<R> integrate;
        integrate.left_data = c.bad_left ? bad_hint : nullptr;
        integrate.right_data = c.bad_right ? bad_hint : nullptr;
        integrate.rhint = c.rhint;
        EXPECT_EQ(integrate(task, c.nlim, limit, limit, &r), c.status) << "case " << &c - cases;
        EXPECT_EQ(r, 42) << "case " << &c - cases;
        nvo_df_kernel_DeleteTask(&task);
    }
    EXPECT_EQ(IntegrateCall<R>()(nullptr, 1, limit, limit, &r), DF_ST_NO_TASK);
    FitTask<R> task(3, x, 0, 1, y);
    task.spline(2, 0, coeff);
    EXPECT_EQ(IntegrateCall<R>()(task.get(), 1, limit, limit, nullptr), DF_ST_NO_OUTPUT);
    FitTask<R> no_functions(3, x, 0, 0, nullptr);
    no_functions.spline(4, 0, nullptr);
    EXPECT_EQ(IntegrateCall<R>()(no_functions.get(), 1, limit, limit, &r), DF_ST_OK);
    EXPECT_EQ(r, 42);
}

// 17 functions are more than the stack stages, with callbacks and without.
TYPED_TEST(Integrate, FailedAllocations) {
    using R = TypeParam;
    constexpr std::int64_t count = 300, ny = 17;
    IntegralSubject<R> subject({4, DF_TYPE_BESSEL, 0, DF_GRID_IRREGULAR, DF_Y_BY_ROWS, 20, ny});
    const Pairs<R> pairs(subject, count);
    for (const bool with_callback : {false, true}) {
        IntegrateCall<R> integrate;
        if (with_callback)
            integrate.le_cb = [](auto, auto, auto, auto, auto, R* r, void*, void*) {
                std::fill_n(r, ny, R(0));
                return 0;
            };
        std::vector<R> r(count * ny, R(42));
        const auto untouched = r;
        const long blocks_before = nvo_core_testing_live_blocks();
        for (long n = 1;; ++n) {
            nvo_core_testing_fail_allocation(n);
            const auto status = integrate(subject.task(), count, pairs.left.data(), pairs.right.data(), r.data());
            EXPECT_EQ(nvo_core_testing_live_blocks(), blocks_before);
            if (nvo_core_testing_fail_allocation(0) > 0) {
                EXPECT_EQ(status, DF_ST_OK);
                EXPECT_GT(n, 1) << "nothing was allocated";
                break;
            }
            EXPECT_EQ(status, DF_ST_NO_MEMORY);
            EXPECT_EQ(r, untouched);
        }
    }
}

} // namespace
} // namespace nvo::tests
