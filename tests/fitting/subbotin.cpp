// The quadratic spline with knots between the breakpoints.
#include "tests/fitting/construction.h"

namespace {

using namespace nvo::tests;

template <class R> class Subbotin : public testing::Test {};
TYPED_TEST_SUITE(Subbotin, Precisions);

// All of them, the ends included.
template <class R> std::vector<R> knots(const Problem<R>& p) {
    if (p.kind.inner == Inner::listed) return p.ic;
    const std::int64_t nx = p.x.nx();
    std::vector<R> t = {p.x.at.front()};
    for (std::int64_t k = 1; k < nx; ++k)
        t.push_back(p.kind.inner == Inner::even ? p.ic[0] + R(k - 1) * (p.ic[1] - p.ic[0]) / R(nx - 2)
                                                : (p.x.at[k - 1] + p.x.at[k]) / 2);
    t.push_back(p.x.at.back());
    return t;
}

// Of one function: data and given first derivatives exactly; value and slope where cells meet and given second
// derivatives in units of what rounding does to a curvature. `change` is by what two neighbours' curvatures would
// differ if they were made of rounding errors alone. There is one such spline.
template <class R> class Joints {
public:
    Joints(const Problem<R>& problem, std::int64_t function)
        : p_(problem), x_(problem.x), y_(problem.y[function]), t_(knots(problem)), function_(function) {}

    void see(Worst& value, Worst& slope) const {
        ASSERT_EQ(y_[0], cell(0)[0]);
        for (std::int64_t k = 1; k < x_.nx(); ++k) {
            if (!is_looked_at(k, x_.nx())) continue;
            ASSERT_EQ(y_[k], cell(k)[0]);
            const Wide left = Wide(t_[k]) - x_.at[k - 1], right = Wide(x_.at[k]) - t_[k];
            const Taylor from_left = taylor(cell(k - 1), 3, left), from_right = taylor(cell(k), 3, -right);
            const Wide size = sizes(k), a = unit(k - 1) * left, b = unit(k) * right;
            value.see(from_left.value - from_right.value, a * left + b * right + epsilon<R> * size, x_.nx(), k);
            slope.see(from_left.slope - from_right.slope, a + b + epsilon<R> * size / (left + right), x_.nx(), k);
        }
    }
    void see_ends(Worst& curvature) const {
        const std::int64_t nx = x_.nx();
        const Wide units[] = {unit(0), unit(nx - 1) + unit(nx - 2) + unit(nx - 3)};
        const std::uint64_t first[] = {DF_BC_LEFT_1ST, DF_BC_RIGHT_1ST};
        for (int side = 0; side < 2; ++side) {
            const R* c = cell(side == 0 ? 0 : nx - 1);
            if (p_.bc_type & first[side]) {
                ASSERT_EQ(p_.bc[side], c[1]);
            } else {
                curvature.see(2 * Wide(c[2]) - p_.bc[side], units[side], nx, side);
            }
        }
    }

private:
    const R* cell(std::int64_t j) const { return p_.cell(function_, j); }
    // How far a rounding moves the curvature of a cell.
    Wide unit(std::int64_t j) const {
        return epsilon<R> * (size_of(cell(j)[2]) + (j > 0 ? change(j) : 0) + (j < x_.nx() - 1 ? change(j + 1) : 0));
    }
    Wide sizes(std::int64_t k) const { // of the terms that meet between breakpoints k - 1 and k
        return size_of(y_[k - 1]) + size_of(y_[k]) +
               (size_of(cell(k - 1)[1]) + size_of(cell(k)[1])) * Wide(x_.gap(k - 1));
    }
    Wide change(std::int64_t k) const { return sizes(k) / ((Wide(t_[k]) - x_.at[k - 1]) * (Wide(x_.at[k]) - t_[k])); }

    const Problem<R>& p_;
    const Partition<R>& x_;
    const std::vector<R>& y_;
    std::vector<R> t_;
    std::int64_t function_;
};

TYPED_TEST(Subbotin, MeetsDataAndConditionsAndIsSmooth) {
    using R = TypeParam;
    std::mt19937 random(1);
    Worst value, slope, ends;
    for (const auto& kind : kinds_that<R>([](const auto& kind) { return kind.is_subbotin(); })) {
        for (const Shape shape : shapes) {
            if (kind.inner == Inner::even && shape != Shape::even) continue; // needs a partition that is nearly even
            for (const std::int64_t nx : {3, 4, 5, 10, 1000, 1000000}) {
                for (const std::uint64_t bc_type : kind.conditions()) {
                    if (nx > 1000 && bc_type != 12) continue;
                    const Problem<R> p(kind, partition<R>(shape, nx, random), nx > 1000 ? 1 : 3, bc_type, random);
                    ASSERT_EQ(DF_ST_OK, p.construct()) << nx;
                    p.all_cells();
                    for (std::int64_t i = 0; i < p.ny(); ++i) {
                        const Joints<R> joints(p, i);
                        joints.see(value, slope);
                        joints.see_ends(ends);
                    }
                }
            }
        }
    }
    value.expect_below(6);
    slope.expect_below(4);
    ends.expect_below(2);
}

TYPED_TEST(Subbotin, KnotsAlternateWithBreakpointsStrictly) {
    using R = TypeParam;
    constexpr R nan = std::numeric_limits<R>::quiet_NaN();
    constexpr std::int64_t nx = 6;
    std::mt19937 random(4);
    const auto status = [&](const Partition<R>& x, Inner inner, std::vector<R> ic) {
        const Kind<R> kind{"", Fit<R>::quadratic, 3, DF_TYPE_SUBBOTIN, 3, inner};
        const Problem<R> problem(kind, x, random_functions<R>(1, nx, random), 12, {0, 0}, std::move(ic));
        const auto result = problem.construct();
        EXPECT_EQ(result != DF_ST_OK, problem.is_untouched());
        return result;
    };
    const Partition<R> listed = {DF_GRID_FREE, {0, 1, 2, 3, 4, 5}, {0, 1, 2, 3, 4, 5}};
    const Partition<R> even = {DF_GRID_EVEN, listed.at, {0, 5}};
    const std::vector<R> sound = {0, R(0.5), R(1.5), R(2.5), R(3.5), R(4.5), 5};
    for (const auto& x : {listed, even}) {
        EXPECT_EQ(DF_ST_OK, status(x, Inner::listed, sound));
        for (std::size_t k = 1; k < nx; ++k) {
            for (const R knot : {x.at[k - 1], x.at[k], x.at[k] + 1, x.at[k - 1] - 1, nan}) {
                auto knots = sound;
                knots[k] = knot;
                EXPECT_EQ(DF_ST_BAD_IC, status(x, Inner::listed, knots)) << k << " " << knot;
            }
        }
        EXPECT_EQ(DF_ST_OK, status(x, Inner::even, {R(0.5), R(4.5)}));
        EXPECT_EQ(DF_ST_OK, status(x, Inner::even, {R(0.9), R(4.1)}));
        const std::vector<R> bad[] = {{0, R(4.5)}, {R(0.5), 5}, {R(0.5), R(5.5)}, {R(0.5), R(3.5)},
                                      {1, R(4.5)}, {R(0.5), 4}, {R(4.5), R(0.5)}, {nan, R(4.5)}};
        for (const auto& ic : bad) EXPECT_EQ(DF_ST_BAD_IC, status(x, Inner::even, ic)) << ic[0] << " " << ic[1];
        for (const Inner inner : {Inner::listed, Inner::even}) EXPECT_EQ(DF_ST_OK, status(x, inner, {}));
    }
    // The ends: exactly those of a listed grid, with some room on an even one.
    constexpr R room = sizeof(R) == 8 ? R(0x1p-40) : R(0x1p-12);
    for (const std::size_t end : {0, 6}) {
        for (const R shift : {R(1e-15), room, -room, R(1.5) * room, R(-1.5) * room, nan}) {
            auto knots = sound;
            knots[end] += shift;
            if (knots[end] == sound[end]) continue; // less than a rounding
            EXPECT_EQ(DF_ST_BAD_IC, status(listed, Inner::listed, knots)) << shift;
            EXPECT_EQ(std::abs(shift) <= room ? DF_ST_OK : DF_ST_BAD_IC, status(even, Inner::listed, knots)) << shift;
        }
    }
}

// Far from zero the step of an even grid doesn't lead to its end exactly: both last breakpoints are accepted.
TYPED_TEST(Subbotin, EndsOfAnEvenGridAreTheGivenOrTheComputedOnes) {
    using R = TypeParam;
    const Kind<R> kind{"", Fit<R>::quadratic, 3, DF_TYPE_SUBBOTIN, 3, Inner::listed};
    std::mt19937 random(5);
    int differ = 0;
    for (int n = 0; n < 500; ++n) {
        const auto x = even_partition(R(1e6), R(1e6) * std::uniform_real_distribution<R>(2, 4)(random), 50);
        differ += x.at.back() != x.given[1];
        Problem<R> p(kind, x, 1, 12, random);
        for (const R last : {x.given[1], x.at.back()}) {
            p.ic.back() = last;
            ASSERT_EQ(DF_ST_OK, p.construct());
        }
    }
    EXPECT_GE(differ, 5);
}

} // namespace
