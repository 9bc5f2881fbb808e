// What holds for all cubic kinds.

#include "tests/fitting/cubic.h"

#include "fitting/task.h"
#include "platform/core_testing.h"

namespace {

using namespace nvo::tests;

template <class R> class Cubics : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Cubics, Precisions);

constexpr Shape shapes[] = {Shape::even, Shape::random, Shape::graded};

// How far a spline is from its data, from joining with the same slope, and from its conditions at the ends.
struct Misses {
    Worst value, slope, end;

    template <class R> void see(const CubicProblem<R>& p, std::int64_t i) {
        const std::int64_t nx = p.x().nx();
        for (std::int64_t j = 0; j < nx - 1; ++j) {
            if (!is_looked_at(j, nx)) continue;
            const R *cell = p.cell(i, j), *next = p.cell(i, j + 1), *y = &p.y()[i][j];
            const Cubic right = cubic_at(cell, p.width(j));
            const Wide slopes = epsilon<R> * slopes_of(p, i, j);
            ASSERT_EQ(y[0], cell[0]);
            value.see(right.value - y[1], epsilon<R> * (size_of(y[0]) + size_of(y[1])) + slopes * p.width(j), nx, j);
            if (p.kind.type == DF_TYPE_DEFAULT || j == nx - 2) continue; // given second derivatives promise no C1
            slope.see(right.slope - next[1], slopes + epsilon<R> * size_of(next[1]), nx, j);
        }
        see_ends(p, i);
    }
    template <class R> void see_ends(const CubicProblem<R>& p, std::int64_t i) {
        const std::int64_t nx = p.x().nx();
        const Cubic ends[] = {cubic_at(p.cell(i, 0), 0), cubic_at(p.cell(i, nx - 2), p.width(nx - 2))};
        const std::uint64_t bits[2][2] = {{DF_BC_LEFT_1ST, DF_BC_LEFT_2ND}, {DF_BC_RIGHT_1ST, DF_BC_RIGHT_2ND}};
        Wide slopes[2], curvatures[2];
        for (int side = 0; side < 2; ++side) {
            const std::int64_t j = side == 0 ? 0 : nx - 2;
            slopes[side] = epsilon<R> * slopes_of(p, i, j);
            curvatures[side] = slopes[side] / p.width(j);
            if (p.bc_type & bits[side][0]) end.see(ends[side].slope - p.bc[side], slopes[side], nx, j);
            if (p.bc_type & bits[side][1]) end.see(ends[side].curvature - p.bc[side], curvatures[side], nx, j);
            if (p.bc_type == DF_BC_FREE_END) end.see(ends[side].curvature, curvatures[side], nx, j);
        }
        if (p.bc_type != DF_BC_PERIODIC) return;
        if (p.kind.type != DF_TYPE_DEFAULT) end.see(ends[1].slope - ends[0].slope, slopes[0] + slopes[1], nx, 0);
        if (!p.kind.is_local()) end.see(ends[1].curvature - ends[0].curvature, curvatures[0] + curvatures[1], nx, 0);
    }
};

// In multiples of the rounding errors of the numbers that meet in a cell, whatever its neighbours are like.
TYPED_TEST(Cubics, PassThroughTheirDataAndJoinSmoothly) {
    using R = TypeParam;
    std::mt19937 random(1);
    Misses misses;
    for (const auto& kind : cubic_kinds<R>()) {
        for (const std::uint64_t bc_type : kind.conditions()) {
            for (const Shape shape : shapes) {
                for (const std::int64_t more : {0, 1, 2, 3, 4, 5, 6, 7, 8, 254, 255, 256, 257, 2100, 999995}) {
                    if (more > 1000 && shape != Shape::graded) continue;
                    if (more > 3000 && bc_type != 24) continue;
                    const std::int64_t nx = kind.least_nx_under(bc_type) + more;
                    const CubicProblem<R> p(kind, partition<R>(shape, nx, random), more < 10 ? 2 : 1, bc_type, random);
                    ASSERT_EQ(DF_ST_OK, p.construct()) << kind.name << bc_type << nx;
                    p.all_cells();
                    for (std::int64_t i = 0; i < p.ny(); ++i) misses.see(p, i);
                }
            }
        }
    }
    misses.value.expect_below(2);
    misses.slope.expect_below(5);
    misses.end.expect_below(6);
}

TYPED_TEST(Cubics, StorageChangesNothing) {
    using R = TypeParam;
    std::mt19937 random(2);
    for (const auto& kind : cubic_kinds<R>()) {
        for (const Shape shape : {Shape::even, Shape::random}) {
            for (const std::int64_t nx : {5, 6, 9, 300, 2100}) {
                const std::vector<R> bc = {R(0.5), R(-0.25)}, ic = random_functions<R>(1, nx - 2, random)[0];
                expect_same_in_every_storage(partition<R>(shape, nx, random), 4, kind.type, random,
                                             [&](Problem<R>& problem) {
                                                 problem.conditions(36, bc, 1, kind.reads_ic() ? ic : std::vector<R>{});
                                                 ASSERT_EQ(DF_ST_OK, kind.construct(problem.get(), 0, 0, nullptr));
                                             });
            }
        }
    }
}

// Steps and values that make every operation exact but those that both kinds of grids have in common.
TYPED_TEST(Cubics, EvenGridIsAListedOne) {
    using R = TypeParam;
    std::mt19937 random(3);
    std::uniform_int_distribution<int> digit(-9, 9);
    for (const auto& kind : cubic_kinds<R>()) {
        for (const std::uint64_t bc_type : kind.conditions()) {
            for (const std::int64_t nx : {5, 6, 7, 8, 300}) {
                Partition<R> even{DF_GRID_EVEN, {}, {R(-2), R(-2) + R(0.25) * R(nx - 1)}};
                for (std::int64_t j = 0; j < nx; ++j) even.at.push_back(R(-2) + R(0.25) * R(j));
                Functions<R> y(3, std::vector<R>(nx));
                for (auto& function : y)
                    for (R& v : function) v = R(digit(random));
                const std::vector<R> bc = {3, -2}, ic = random_functions<R>(1, nx - 2, random)[0];
                const CubicProblem<R> a(kind, even, y, bc_type, bc, ic), b(kind, even.listed(), y, bc_type, bc, ic);
                ASSERT_EQ(DF_ST_OK, a.construct());
                ASSERT_EQ(DF_ST_OK, b.construct());
                ASSERT_EQ(a.all_cells(), b.all_cells()) << kind.name << " " << bc_type << " " << nx;
            }
        }
    }
}

// Polynomials of their degree, where all conditions are theirs. A slope may be off by what the roundings of the values
// do to the divided differences; in natural splines that decays by half from breakpoint to breakpoint, and not-a-knot
// extrapolates it over the first and the last cell.
TYPED_TEST(Cubics, ReproducePolynomials) {
    using R = TypeParam;
    std::mt19937 random(4);
    Worst error;
    for (const auto& kind : cubic_kinds<R>()) {
        const bool line = kind.type == DF_TYPE_AKIMA || kind.type == DF_TYPE_HYMAN;
        const Wide c2 = line ? 0 : Wide(0.5), c3 = line || kind.type == DF_TYPE_BESSEL ? 0 : Wide(-0.25);
        const auto value = [=](Wide t) { return 1 + (-2 + (c2 + c3 * t) * t) * t; };
        const auto slope = [=](Wide t) { return -2 + (2 * c2 + 3 * c3 * t) * t; };
        const auto curvature = [=](Wide t) { return 2 * c2 + 6 * c3 * t; };
        for (const std::uint64_t bc_type : {1, 12, 24, 36, 48}) {
            for (const Shape shape : shapes) {
                for (const std::int64_t nx : {5, 6, 9, 100, 3000}) {
                    const auto x = partition<R>(shape, nx, random);
                    const auto at = [&](std::int64_t j) {
                        return shape == Shape::even ? x.at[0] + j * Wide(x.width(0)) : Wide(x.at[j]);
                    };
                    Functions<R> y(1);
                    std::vector<R> ic;
                    for (std::int64_t j = 0; j < nx; ++j) y[0].push_back(R(value(at(j))));
                    for (std::int64_t j = 1; j < nx - 1; ++j)
                        ic.push_back(R(kind.type == DF_TYPE_HERMITE ? slope(at(j)) : curvature(at(j))));
                    const Wide a = at(0), b = at(nx - 1);
                    const std::vector<R> bc = {R(bc_type & DF_BC_LEFT_1ST ? slope(a) : curvature(a)),
                                               R(bc_type & DF_BC_RIGHT_1ST ? slope(b) : curvature(b))};
                    const CubicProblem<R> p(kind, x, y, bc_type, bc, ic);
                    ASSERT_EQ(DF_ST_OK, p.construct());
                    std::vector<Wide> unit(nx);
                    for (std::int64_t j = 0; j < nx - 1; ++j) {
                        const Wide values = size_of(y[0][j]) + size_of(y[0][j + 1]);
                        const Wide rounding = epsilon<R> * (values / p.width(j) + slopes_of(p, 0, j));
                        for (const std::int64_t k : {j, j + 1}) unit[k] = std::max(unit[k], rounding);
                    }
                    for (std::int64_t j = 1; j < nx; ++j) unit[j] += unit[j - 1] / 2;
                    for (std::int64_t j = nx - 2; j >= 0; --j) unit[j] += unit[j + 1] / 2;
                    if (bc_type == DF_BC_NOT_A_KNOT) {
                        unit[0] += unit[1] * (1 + p.width(0) / p.width(1));
                        unit[nx - 1] += unit[nx - 2] * (1 + p.width(nx - 2) / p.width(nx - 3));
                    }
                    for (std::int64_t j = 0; j < nx - 1; ++j) error.see(p.cell(0, j)[1] - slope(at(j)), unit[j], nx, j);
                    error.see(cubic_at(p.cell(0, nx - 2), p.width(nx - 2)).slope - slope(b), unit[nx - 1], nx, nx);
                }
            }
        }
    }
    error.expect_below(1);
}

// ---- statuses ------------------------------------------------------------------------------------------------------

// Everything is wrong at first; then one thing after the other is put right.
TYPED_TEST(Cubics, StatusesComeInOrder) {
    using R = TypeParam;
    std::mt19937 random(5);
    for (const auto& kind : cubic_kinds<R>()) {
        const CubicProblem<R> p(kind, partition<R>(Shape::random, 10, random), 2, 12, random);
        auto& record = nvo::fitting::record_of<R>(p.get());
        const auto sound = record;
        const auto expect = [&](std::int32_t status, std::int64_t method = 0) {
            EXPECT_EQ(status, kind.construct(p.get(), 77, method, nullptr)) << kind.name;
        };
        EXPECT_EQ(DF_ST_NO_TASK, kind.construct(nullptr, 0, 0, nullptr));
        record.nx = kind.least_nx - 1;
        record.y_hint = 0x30;
        record.bc_type = 4;
        record.bc = record.ic = nullptr;
        record.y = nullptr;
        record.coeff = nullptr;
        expect(kind.type == DF_TYPE_NATURAL ? DF_ST_BAD_METHOD : DF_ST_BAD_NX, 1);
        expect(DF_ST_BAD_NX);
        if (!kind.is_local()) {
            record.nx = kind.least_nx;
            record.bc_type = DF_BC_NOT_A_KNOT;
            expect(DF_ST_BAD_NX);
        }
        record.nx = sound.nx;
        expect(DF_ST_BAD_Y_HINT);
        record.y_hint = sound.y_hint;
        for (const std::uint64_t bad : {0, 3, 4, 8, 20, 40, 49, 65, 128, 256}) {
            record.bc_type = bad;
            if (bad != 0 || kind.type != DF_TYPE_AKIMA) expect(DF_ST_BAD_BC_TYPE);
        }
        for (const std::uint64_t bc_type : kind.conditions()) {
            record.bc_type = bc_type;
            expect(kind.wants_values(bc_type) ? DF_ST_BAD_BC : kind.reads_ic() ? DF_ST_BAD_IC : DF_ST_BAD_Y);
        }
        // What the type of the task says counts for periodic functions, and what the kind needs.
        record.bc_type = DF_BC_PERIODIC;
        for (const std::int64_t type : {DF_TYPE_DEFAULT, DF_TYPE_HERMITE}) {
            record.s_type = type;
            expect(DF_ST_BAD_BC);
        }
        record.s_type = DF_TYPE_BESSEL;
        expect(kind.reads_ic() ? DF_ST_BAD_BC : DF_ST_BAD_Y);
        record.s_type = sound.s_type;
        record.bc = sound.bc;
        expect(kind.reads_ic() ? DF_ST_BAD_IC : DF_ST_BAD_Y);
        record.ic = sound.ic;
        expect(DF_ST_BAD_Y);
        record.y = sound.y;
        expect(DF_ST_BAD_COEFF);
        record.coeff = sound.coeff;
        const R* const values = std::exchange(record.y[1], nullptr);
        expect(DF_ST_BAD_Y);
        record.y[1] = values;
        if (kind.type != DF_TYPE_NATURAL) {
            expect(DF_ST_NOT_PERIODIC); // the second function
            EXPECT_TRUE(p.is_untouched());
        }
        record.bc_type = 12;
        expect(DF_ST_OK, kind.type == DF_TYPE_NATURAL ? 0 : 1);
    }
}

TYPED_TEST(Cubics, EveryAllocationMayFail) {
    using R = TypeParam;
    std::mt19937 random(6);
    for (const auto& kind : cubic_kinds<R>()) {
        for (const std::int64_t nx : {10, 300}) {
            const CubicProblem<R> p(kind, partition<R>(Shape::random, nx, random), 2, 12, random);
            const long before = nvo_core_testing_live_blocks();
            for (long n = 1;; ++n) {
                nvo_core_testing_fail_allocation(n);
                const std::int32_t status = p.construct();
                if (nvo_core_testing_fail_allocation(0) > 0) {
                    EXPECT_GT(n, 1) << kind.name;
                    break;
                }
                EXPECT_EQ(DF_ST_NO_MEMORY, status) << kind.name;
                EXPECT_TRUE(p.is_untouched());
                EXPECT_EQ(before, nvo_core_testing_live_blocks());
            }
            EXPECT_EQ(before, nvo_core_testing_live_blocks());
        }
    }
}

} // namespace
