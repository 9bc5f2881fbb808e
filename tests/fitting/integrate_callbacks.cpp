// The parts of an interval that callbacks integrate, and limits that a callback places.
#include "tests/fitting/integrate.h"

#include <gtest/gtest.h>

namespace nvo::tests {
namespace {

template <class R> class IntegrateCallbacks : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(IntegrateCallbacks, Reals);

enum Part { left, right, inner };

template <class R> struct PartCall {
    Part part;
    std::int64_t lo_cell;
    R lo;
    std::int64_t hi_cell;
    R hi;
    bool operator==(const PartCall&) const = default;
};

// What the three callbacks see and give: (f + 2 + part) * (hi - lo) for function f.
template <class R> struct Recorder {
    std::int64_t functions;
    std::vector<PartCall<R>> calls{};

    template <Part part>
    static std::int32_t record(const std::int64_t* n, const std::int64_t* lcell, const R* llim,
                               const std::int64_t* rcell, const R* rlim, R* r, void* params, void* reserved) {
        EXPECT_EQ(*n, 1);
        EXPECT_EQ(reserved, nullptr);
        EXPECT_LE(*llim, *rlim);
        auto& self = *static_cast<Recorder*>(params);
        self.calls.push_back({part, *lcell, *llim, *rcell, *rlim});
        for (std::int64_t f = 0; f < self.functions; ++f) r[f] = static_cast<R>(f + 2 + part) * (*rlim - *llim);
        return 0;
    }
};

template <class R> IntegrateCall<R> recorded(Recorder<R>& recorder, unsigned subset = 7) {
    IntegrateCall<R> integrate;
    integrate.le_cb = subset & 1 ? Recorder<R>::template record<left> : nullptr;
    integrate.re_cb = subset & 2 ? Recorder<R>::template record<right> : nullptr;
    integrate.i_cb = subset & 4 ? Recorder<R>::template record<inner> : nullptr;
    integrate.params = &recorder;
    return integrate;
}

// A callback's part counts as it says, the others by the model.
TYPED_TEST(IntegrateCallbacks, EverySubset) {
    using R = TypeParam;
    using Integral = typename IntegralSubject<R>::Integral;
    std::uint32_t seed = 0;
    for (const IntegralShape& shape : integral_shapes()) {
        SCOPED_TRACE(shape.text());
        IntegralSubject<R> subject(shape, ++seed);
        constexpr std::int64_t n = 64;
        std::vector<R> a(n), b(n), r(n * shape.ny);
        for (std::int64_t i = 0; i < n; ++i) {
            a[i] = subject.limit();
            b[i] = i % 16 == 0 ? a[i] : subject.limit();
        }
        for (unsigned subset = 1; subset < 8; ++subset) {
            Recorder<R> recorder{shape.ny};
            IntegrateCall<R> integrate = recorded(recorder, subset);
            integrate.rhint = subset % 2 ? DF_Y_BY_COLS : DF_Y_SEPARATE;
            ASSERT_EQ(integrate(subject.task(), n, a.data(), b.data(), r.data()), DF_ST_OK);
            for (std::int64_t i = 0; i < n; ++i)
                for (std::int64_t f = 0; f < shape.ny; ++f) {
                    const R lo = std::min(a[i], b[i]), hi = std::max(a[i], b[i]);
                    const R first = subject.breaks().front(), last = subject.right_end();
                    Integral expected;
                    const auto add = [&](Part part, R from, R to) {
                        if (!(from < to)) return;
                        Integral term = subject.integral(f, from, to);
                        term.size += (10 + f) * (std::fabs(from) + std::fabs(to)); // products round sums of limits
                        if (subset >> part & 1) term.value = (f + 2 + part) * (static_cast<long double>(to) - from);
                        expected.value += term.value;
                        expected.size += term.size;
                    };
                    add(left, lo, std::min(hi, first));
                    add(right, std::max(lo, last), hi);
                    add(inner, std::max(lo, first), std::min(hi, last));
                    if (b[i] < a[i]) expected.value = -expected.value;
                    const R got = r[subset % 2 ? i * shape.ny + f : f * n + i];
                    ASSERT_NEAR(got, expected.value, 4 * std::numeric_limits<R>::epsilon() * expected.size)
                        << "subset " << subset << ", " << a[i] << " to " << b[i];
                    if (a[i] == b[i]) {
                        ASSERT_EQ(got, 0);
                    }
                }
        }
    }
}

// An interpolant of which the library knows nothing but the partition: order 0, with all three callbacks.
TYPED_TEST(IntegrateCallbacks, CallsInOrder) {
    using R = TypeParam;
    const R x[] = {0, 1, 2};
    FitTask<R> task(3, x, DF_GRID_FREE, 2, std::vector<R>(6).data());
    task.spline(0, DF_TYPE_DEFAULT, nullptr);
    const R a[] = {-1, 4, -3, 5, R(0.5), 2, 1}, b[] = {3, R(1.5), -2, 2, R(0.5), 0, R(-0.5)};
    R r[14];
    Recorder<R> recorder{2};
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
    const R integrals[] = {2 + 3 + 8, 3 + 4 + 10, -6 - 2, -8 - R(2.5), 2,   3,      -9,
                           -12,       0,          0,      -8,          -10, -1 - 4, R(-1.5) - 5};
    for (int i = 0; i < 14; ++i) EXPECT_EQ(r[i], integrals[i]) << i;
}

// ---- search callbacks ----------------------------------------------------------------------------------------------

template <class R> struct Placer {
    std::vector<std::pair<std::int64_t, std::int32_t>> calls{}; // count, side
    std::int64_t cell = 1;
    std::int32_t flag = 0, status = 0, status_of_right = 0;

    static std::int32_t place(const std::int64_t* n, const R*, std::int64_t* cell, std::int32_t* flag, void* params,
                              void* side) {
        auto& self = *static_cast<Placer*>(params);
        const auto which = *static_cast<const std::int32_t*>(side);
        if (*n > 0) self.calls.emplace_back(*n, which);
        std::fill_n(cell, *n, self.cell);
        std::fill_n(flag, *n, self.flag);
        return which == 1 ? self.status_of_right : self.status;
    }
};

TYPED_TEST(IntegrateCallbacks, SearchCallback) {
    using R = TypeParam;
    for (const std::uint64_t x_hint : {DF_GRID_IRREGULAR, DF_GRID_EVEN}) {
        IntegralSubject<R> subject({4, DF_TYPE_HERMITE, 0, x_hint});
        constexpr std::int64_t n = 200;
        std::vector<R> a(n), b(n), r(n), other(n);
        for (std::int64_t i = 0; i < n; ++i) a[i] = subject.limit(), b[i] = subject.limit();
        ASSERT_EQ(IntegrateCall<R>()(subject.task(), n, a.data(), b.data(), r.data()), DF_ST_OK);
        Placer<R> placer;
        IntegrateCall<R> integrate;
        integrate.search_cb = Placer<R>::place;
        integrate.search_params = &placer;
        placer.status_of_right = 3;
        ASSERT_EQ(integrate(subject.task(), n, a.data(), b.data(), other.data()), 3);
        const std::vector<std::pair<std::int64_t, std::int32_t>> expected{{128, 0}, {128, 1}, {72, 0}, {72, 1}};
        EXPECT_EQ(placer.calls, expected);
        for (std::int64_t i = 0; i < n; ++i) // an estimate may leave a breakpoint in the cell on its left
            EXPECT_NEAR(other[i], r[i], 4 * std::numeric_limits<R>::epsilon() * subject.integral(0, a[i], b[i]).size);

        // Cells that a callback calls final may be anything.
        placer.status = placer.status_of_right = 1000;
        for (const std::int64_t cell : {INT64_MIN, std::int64_t{-1}, std::int64_t{51}, INT64_MAX}) {
            placer.cell = cell;
            EXPECT_EQ(integrate(subject.task(), n, a.data(), b.data(), other.data()), DF_ST_OK);
        }
        placer.status_of_right = -9;
        std::fill(other.begin(), other.end(), R(42));
        EXPECT_EQ(integrate(subject.task(), n, a.data(), b.data(), other.data()), -9);
        EXPECT_EQ(other, std::vector<R>(n, 42));
    }
}

} // namespace
} // namespace nvo::tests
