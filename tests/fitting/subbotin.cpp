// The quadratic spline with knots between the breakpoints.

#include "tests/fitting/construction.h"

#include "fitting/task.h"
#include "platform/core_testing.h"
#include "tests/fitting/fetches.h"

namespace {

using namespace nvo::tests;

template <class R> class Subbotin : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Subbotin, Precisions);

constexpr std::int64_t order = 3;
constexpr std::uint64_t boundaries[] = {DF_BC_LEFT_1ST | DF_BC_RIGHT_1ST, DF_BC_LEFT_1ST | DF_BC_RIGHT_2ND,
                                        DF_BC_LEFT_2ND | DF_BC_RIGHT_1ST, DF_BC_LEFT_2ND | DF_BC_RIGHT_2ND};

enum class Inner { listed, even, middles };

// What a task is told of its knots, and the knots.
template <class R> struct Knots {
    std::uint64_t ic_type;
    std::vector<R> ic, at;
};

template <class R> Knots<R> knots(const Partition<R>& x, Inner inner, std::mt19937& random) {
    const std::int64_t nx = x.nx();
    Knots<R> t{DF_IC_LISTED_SUBGRID, {}, {x.at.front()}};
    const auto within = [&](std::int64_t k, double part) { return x.at[k - 1] + R(part) * x.gap(k - 1); };
    if (inner == Inner::even) t.ic = {within(1, 0.4), within(nx - 1, 0.45)};
    for (std::int64_t k = 1; k < nx; ++k) {
        switch (inner) {
        case Inner::listed: t.at.push_back(within(k, std::uniform_real_distribution(0.1, 0.9)(random))); break;
        case Inner::even: t.at.push_back(t.ic[0] + R(k - 1) * (t.ic[1] - t.ic[0]) / R(nx - 2)); break;
        case Inner::middles: t.at.push_back((x.at[k - 1] + x.at[k]) / 2); break;
        }
    }
    t.at.push_back(x.at.back());
    if (inner == Inner::listed) t.ic = t.at;
    if (inner == Inner::even) t.ic_type = DF_IC_EVEN_SUBGRID;
    return t;
}

template <class R>
std::int32_t construct(Problem<R>& problem, const Knots<R>& t, std::uint64_t bc_type,
                       std::vector<R> bc = {R(0.3), R(-2)}) {
    problem.conditions(bc_type, std::move(bc), t.ic_type, t.ic);
    return Fit<R>::quadratic(problem.get(), 0, 0, nullptr);
}

// Of one function: data and given first derivatives exactly; value and slope where cells meet and given second
// derivatives in units of what rounding does to a curvature. `change` is by what two neighbours' curvatures would
// differ if they were made of rounding errors alone.
template <class R> class Joints {
public:
    Joints(const Problem<R>& problem, const Knots<R>& t, std::int64_t function)
        : x_(problem.x()), y_(problem.y()[function]), t_(t.at), problem_(problem), function_(function) {}

    void see(Worst& value, Worst& slope) const {
        ASSERT_EQ(y_[0], cell(0)[0]);
        for (std::int64_t k = 1; k < x_.nx(); ++k) {
            if (!is_looked_at(k, x_.nx())) continue;
            ASSERT_EQ(y_[k], cell(k)[0]);
            const Wide left = Wide(t_[k]) - x_.at[k - 1], right = Wide(x_.at[k]) - t_[k];
            const Taylor from_left = taylor(cell(k - 1), order, left), from_right = taylor(cell(k), order, -right);
            const Wide size = sizes(k), a = unit(k - 1) * left, b = unit(k) * right;
            value.see(from_left.value - from_right.value, a * left + b * right + epsilon<R> * size, x_.nx(), k);
            slope.see(from_left.slope - from_right.slope, a + b + epsilon<R> * size / (left + right), x_.nx(), k);
        }
    }
    // How far a rounding moves the curvature of a cell.
    Wide unit(std::int64_t j) const {
        Wide sum = size_of(cell(j)[2]);
        if (j > 0) sum += change(j);
        if (j < x_.nx() - 1) sum += change(j + 1);
        return epsilon<R> * sum;
    }

private:
    const R* cell(std::int64_t j) const { return problem_.cell(function_, j); }
    Wide sizes(std::int64_t k) const { // of the terms that meet between breakpoints k - 1 and k
        return size_of(y_[k - 1]) + size_of(y_[k]) +
               (size_of(cell(k - 1)[1]) + size_of(cell(k)[1])) * Wide(x_.gap(k - 1));
    }
    Wide change(std::int64_t k) const { return sizes(k) / ((Wide(t_[k]) - x_.at[k - 1]) * (Wide(x_.at[k]) - t_[k])); }

    const Partition<R>& x_;
    const std::vector<R>& y_;
    const std::vector<R>& t_;
    const Problem<R>& problem_;
    std::int64_t function_;
};

TYPED_TEST(Subbotin, MeetsDataAndConditionsAndIsSmooth) {
    using R = TypeParam;
    std::mt19937 random(1);
    Worst value, slope, left_end, right_end;
    const std::vector<R> bc = {R(0.3), R(-2)};
    for (const Shape shape : {Shape::even, Shape::random, Shape::graded}) {
        for (const Inner inner : {Inner::listed, Inner::even, Inner::middles}) {
            if (inner == Inner::even && shape != Shape::even) continue; // needs a partition that is nearly even
            for (const std::int64_t nx : {3, 4, 5, 10, 1000, 1000000}) {
                const auto x = partition<R>(shape, nx, random);
                const auto t = knots(x, inner, random);
                Problem<R> problem(x, random_functions<R>(nx > 1000 ? 1 : 3, nx, random), order, DF_TYPE_SUBBOTIN);
                for (const std::uint64_t bc_type : boundaries) {
                    if (nx > 1000 && bc_type != boundaries[nx % 4]) continue;
                    ASSERT_EQ(DF_ST_OK, construct(problem, t, bc_type, bc)) << nx;
                    problem.all_cells();
                    for (std::int64_t i = 0; i < problem.ny(); ++i) {
                        const Joints<R> joints(problem, t, i);
                        joints.see(value, slope);
                        const R *first = problem.cell(i, 0), *last = problem.cell(i, nx - 1);
                        if (bc_type & DF_BC_LEFT_1ST) {
                            ASSERT_EQ(bc[0], first[1]);
                        } else {
                            left_end.see(2 * Wide(first[2]) - bc[0], joints.unit(0), nx, 0);
                        }
                        if (bc_type & DF_BC_RIGHT_1ST) {
                            ASSERT_EQ(bc[1], last[1]);
                        } else {
                            right_end.see(2 * Wide(last[2]) - bc[1],
                                          joints.unit(nx - 1) + joints.unit(nx - 2) + joints.unit(nx - 3), nx, nx - 1);
                        }
                    }
                }
            }
        }
    }
    value.expect_below(6);
    slope.expect_below(4);
    left_end.expect_below(2);
    right_end.expect_below(2);
}

// Every condition and subgrid gives a parabola back, within a rounding of the data seen through the ratio of the cells.
TYPED_TEST(Subbotin, ReproducesParabolas) {
    using R = TypeParam;
    std::mt19937 random(2);
    Worst error;
    const auto parabola = [](Wide t) { return Wide(0.3) + (Wide(-1.2) + Wide(0.7) * t) * t; };
    const auto slope = [](Wide t) { return Wide(-1.2) + Wide(1.4) * t; };
    for (const Shape shape : {Shape::even, Shape::random, Shape::graded}) {
        for (const Inner inner : {Inner::listed, Inner::even, Inner::middles}) {
            if (inner == Inner::even && shape != Shape::even) continue;
            for (const std::int64_t nx : {3, 4, 10, 500}) {
                const auto x = partition<R>(shape, nx, random);
                const auto t = knots(x, inner, random);
                Functions<R> y(1);
                Wide largest = 0, narrowest = x.gap(0), widest = x.gap(0);
                for (std::int64_t j = 0; j < nx; ++j) {
                    y[0].push_back(static_cast<R>(parabola(x.at[j])));
                    largest = std::max(largest, size_of(parabola(x.at[j])));
                    if (j == nx - 1) break;
                    narrowest = std::min(narrowest, Wide(x.gap(j)));
                    widest = std::max(widest, Wide(x.gap(j)));
                }
                Problem<R> problem(x, y, order, DF_TYPE_SUBBOTIN);
                for (const std::uint64_t bc_type : boundaries) {
                    const std::vector<R> bc = {bc_type & DF_BC_LEFT_1ST ? R(slope(x.at.front())) : R(1.4),
                                               bc_type & DF_BC_RIGHT_1ST ? R(slope(x.at.back())) : R(1.4)};
                    ASSERT_EQ(DF_ST_OK, construct(problem, t, bc_type, bc));
                    for (std::int64_t j = 0; j < nx; ++j) {
                        for (const Wide part : {0.0, 0.25, 0.75, 1.0}) {
                            const Wide u =
                                (t.at[j] - Wide(x.at[j])) * part + (t.at[j + 1] - Wide(x.at[j])) * (1 - part);
                            error.see(taylor(problem.cell(0, j), order, u).value - parabola(x.at[j] + u),
                                      epsilon<R> * largest * widest / narrowest, nx, j);
                        }
                    }
                }
            }
        }
    }
    error.expect_below(4);
}

TYPED_TEST(Subbotin, StorageAndListingOfAnEvenGridChangeNothing) {
    using R = TypeParam;
    std::mt19937 random(3);
    for (const std::int64_t nx : {3, 4, 50}) {
        for (const Inner inner : {Inner::listed, Inner::even, Inner::middles}) {
            const auto x = partition<R>(Shape::even, nx, random);
            const auto t = knots(x, inner, random);
            for (const std::uint64_t bc_type : boundaries) {
                expect_same_in_every_storage(x, order, DF_TYPE_SUBBOTIN, random,
                                             [&](Problem<R>& p) { ASSERT_EQ(DF_ST_OK, construct(p, t, bc_type)); });
                Problem<R> even(x, random_functions<R>(3, nx, random), order, DF_TYPE_SUBBOTIN);
                Problem<R> listed(x.listed(), even.y(), order, DF_TYPE_SUBBOTIN);
                ASSERT_EQ(DF_ST_OK, construct(even, t, bc_type));
                ASSERT_EQ(DF_ST_OK, construct(listed, t, bc_type));
                EXPECT_EQ(even.all_cells(), listed.all_cells());
            }
        }
    }
}

TYPED_TEST(Subbotin, KnotsAlternateWithBreakpointsStrictly) {
    using R = TypeParam;
    constexpr R nan = std::numeric_limits<R>::quiet_NaN();
    constexpr std::int64_t nx = 6;
    std::mt19937 random(4);
    const auto status = [&](const Partition<R>& x, std::uint64_t ic_type, std::vector<R> ic) {
        Problem<R> problem(x, random_functions<R>(1, nx, random), order, DF_TYPE_SUBBOTIN);
        problem.conditions(DF_BC_LEFT_1ST | DF_BC_RIGHT_1ST, {0, 0}, ic_type, std::move(ic));
        const auto result = Fit<R>::quadratic(problem.get(), 0, 0, nullptr);
        EXPECT_EQ(result != DF_ST_OK, problem.is_untouched());
        return result;
    };
    const Partition<R> listed = {DF_GRID_FREE, {0, 1, 2, 3, 4, 5}, {0, 1, 2, 3, 4, 5}};
    const Partition<R> even = {DF_GRID_EVEN, listed.at, {0, 5}};
    const std::vector<R> sound = {0, R(0.5), R(1.5), R(2.5), R(3.5), R(4.5), 5};
    for (const auto& x : {listed, even}) {
        EXPECT_EQ(DF_ST_OK, status(x, DF_IC_LISTED_SUBGRID, sound));
        for (std::size_t k = 1; k < nx; ++k) {
            for (const R knot : {x.at[k - 1], x.at[k], x.at[k] + 1, x.at[k - 1] - 1, nan}) {
                auto knots = sound;
                knots[k] = knot;
                EXPECT_EQ(DF_ST_BAD_IC, status(x, DF_IC_LISTED_SUBGRID, knots)) << k << " " << knot;
            }
        }
        EXPECT_EQ(DF_ST_OK, status(x, DF_IC_EVEN_SUBGRID, {R(0.5), R(4.5)}));
        EXPECT_EQ(DF_ST_OK, status(x, DF_IC_EVEN_SUBGRID, {R(0.9), R(4.1)}));
        const std::vector<R> bad[] = {{0, R(4.5)}, {R(0.5), 5}, {R(0.5), R(5.5)}, {R(0.5), R(3.5)},
                                      {1, R(4.5)}, {R(0.5), 4}, {R(4.5), R(0.5)}, {nan, R(4.5)}};
        for (const auto& ic : bad) EXPECT_EQ(DF_ST_BAD_IC, status(x, DF_IC_EVEN_SUBGRID, ic)) << ic[0] << " " << ic[1];
        EXPECT_EQ(DF_ST_OK, status(x, DF_IC_LISTED_SUBGRID, {}));
        EXPECT_EQ(DF_ST_OK, status(x, DF_IC_EVEN_SUBGRID, {}));
    }
    // The ends: exactly those of a listed grid, with some room on an even one.
    constexpr R room = sizeof(R) == 8 ? R(0x1p-40) : R(0x1p-12);
    for (const std::size_t end : {0, 6}) {
        for (const R shift : {R(1e-15), room, -room, R(1.5) * room, R(-1.5) * room, nan}) {
            auto knots = sound;
            knots[end] += shift;
            if (knots[end] == sound[end]) continue; // less than a rounding
            EXPECT_EQ(DF_ST_BAD_IC, status(listed, DF_IC_LISTED_SUBGRID, knots)) << shift;
            EXPECT_EQ(std::abs(shift) <= room ? DF_ST_OK : DF_ST_BAD_IC, status(even, DF_IC_LISTED_SUBGRID, knots))
                << shift;
        }
    }
}

// Far from zero the step of an even grid doesn't lead to its end exactly: both last breakpoints are accepted.
TYPED_TEST(Subbotin, EndsOfAnEvenGridAreTheGivenOrTheComputedOnes) {
    using R = TypeParam;
    constexpr std::int64_t nx = 50;
    std::mt19937 random(5);
    int differ = 0;
    for (int n = 0; n < 500; ++n) {
        const auto x = even_partition(R(1e6), R(1e6) * std::uniform_real_distribution<R>(2, 4)(random), nx);
        differ += x.at.back() != x.given[1];
        for (const R last : {x.given[1], x.at.back()}) {
            auto t = knots(x, Inner::listed, random);
            t.ic.back() = last;
            Problem<R> problem(x, random_functions<R>(1, nx, random), order, DF_TYPE_SUBBOTIN);
            ASSERT_EQ(DF_ST_OK, construct(problem, t, boundaries[0]));
        }
    }
    EXPECT_GE(differ, 5);
}

TYPED_TEST(Subbotin, MissingMemoryAndSolverLeaveEverythingAsItWas) {
    using R = TypeParam;
    std::mt19937 random(6);
    const auto x = partition<R>(Shape::random, 10, random);
    const auto t = knots(x, Inner::listed, random);
    Problem<R> problem(x, random_functions<R>(3, 10, random), order, DF_TYPE_SUBBOTIN);
    problem.conditions(boundaries[3], {0, 0}, t.ic_type, t.ic);
    const long blocks = nvo_core_testing_live_blocks();
    nvo_core_testing_fail_allocation(1);
    EXPECT_EQ(DF_ST_NO_MEMORY, Fit<R>::quadratic(problem.get(), 0, 0, nullptr));
    EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
    EXPECT_TRUE(problem.is_untouched());
    fetches::in_new_process([&] {
        fetches::refuse();
        EXPECT_EQ(DF_ST_SOLVE_FAILED, Fit<R>::quadratic(problem.get(), 0, 0, nullptr));
        EXPECT_TRUE(problem.is_untouched());
    });
    nvo_core_testing_fail_allocation(2);
    EXPECT_EQ(DF_ST_OK, Fit<R>::quadratic(problem.get(), 0, 0, nullptr));
    EXPECT_EQ(1, nvo_core_testing_fail_allocation(0)) << "one block is all";
    EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
}

} // namespace
