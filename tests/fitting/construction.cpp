// What holds for all kinds of splines: they meet data and conditions, storage and grid change nothing, statuses come in
// order, memory and solvers may be missing. The standard quadratic spline and the default cubic one have no other
// tests.
#include "tests/fitting/construction.h"

#include "tests/fitting/fetches.h"

#include <cstring>

namespace {

using namespace nvo::tests;

template <class R> class Construction : public testing::Test {};
TYPED_TEST_SUITE(Construction, Precisions);

// One with values, of a kind that has such.
template <class R> std::uint64_t some_condition(const Kind<R>& kind) {
    return kind.is_cubic() ? 12 : kind.conditions()[0];
}

// How far a spline is from its data, from joining with the same slope, from second derivatives that are continuous or
// given, and from its conditions. One natural, one default and one standard quadratic spline meet all of them.
struct Misses {
    Worst value, slope, curvature, knot, end;

    template <class R> void see(const Problem<R>& p, std::int64_t i) {
        const std::int64_t nx = p.x.nx();
        for (std::int64_t j = 0; j < nx - 1; ++j) {
            if (!is_looked_at(j, nx)) continue;
            const R *cell = p.cell(i, j), *next = p.cell(i, j + 1), *y = &p.y[i][j];
            const Taylor right = taylor(cell, p.kind.order, p.x.width(j));
            const Wide h = p.x.width(j), slopes = epsilon<R> * slopes_of(p, i, j);
            const auto values = [&](std::int64_t k) {
                return epsilon<R> * (size_of(p.y[i][k]) + size_of(p.y[i][k + 1]) + slopes_of(p, i, k) * p.x.width(k));
            };
            ASSERT_EQ(y[0], cell[0]);
            value.see(right.value - y[1], values(j), nx, j);
            if (j == nx - 2) continue;
            const bool is_default = p.kind.is_cubic() && p.kind.type == DF_TYPE_DEFAULT;
            // Slopes of quadratic splines come from values, those of cubic ones are the coefficients.
            const Wide of_values = p.kind.is_cubic() ? Wide(0) : values(j) / h + values(j + 1) / p.x.width(j + 1);
            if (!is_default)
                slope.see(right.slope - next[1], slopes + epsilon<R> * size_of(next[1]) + of_values, nx, j);
            if (!is_default && p.kind.type != DF_TYPE_NATURAL) continue;
            const Wide h1 = p.x.width(j + 1), next_slopes = epsilon<R> * slopes_of(p, i, j + 1);
            curvature.see(right.curvature - 2 * Wide(next[2]), slopes / h + next_slopes / h1, nx, j);
            if (is_default) { // the second derivatives are given, and the first ones not continuous
                ASSERT_EQ(p.ic[j] / 2, next[2]);
            }
            if (p.bc_type == DF_BC_NOT_A_KNOT && (j == 0 || j == nx - 3))
                knot.see(Wide(cell[3]) - next[3], slopes / (h * h) + next_slopes / (h1 * h1), nx, j);
        }
        see_ends(p, i);
    }
    template <class R> void see_ends(const Problem<R>& p, std::int64_t i) {
        const std::int64_t nx = p.x.nx();
        if (p.bc_type == DF_BC_MIDPOINT) {
            const Wide unit = size_of(p.y[i][0]) + size_of(p.bc[0]) + size_of(p.y[i][1]);
            end.see(taylor(p.cell(i, 0), 3, p.x.width(0) / 2).value - p.bc[0], epsilon<R> * unit, nx, 0);
            return;
        }
        const Taylor ends[] = {taylor(p.cell(i, 0), 4, 0), taylor(p.cell(i, nx - 2), 4, p.x.width(nx - 2))};
        const std::uint64_t bits[2][2] = {{DF_BC_LEFT_1ST, DF_BC_LEFT_2ND}, {DF_BC_RIGHT_1ST, DF_BC_RIGHT_2ND}};
        Wide slopes[2], curvatures[2];
        for (int side = 0; side < 2; ++side) {
            const std::int64_t j = side == 0 ? 0 : nx - 2;
            slopes[side] = epsilon<R> * slopes_of(p, i, j);
            curvatures[side] = slopes[side] / p.x.width(j);
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
TYPED_TEST(Construction, PassThroughTheirDataAndJoinSmoothly) {
    using R = TypeParam;
    std::mt19937 random(1);
    Misses misses;
    for (const auto& kind : all_kinds<R>()) {
        if (kind.order == 2 || kind.is_subbotin()) continue; // whose tests are narrower, or between knots
        for (const std::uint64_t bc_type : kind.conditions()) {
            for (const Shape shape : shapes) {
                for (const std::int64_t more : {0, 1, 2, 3, 4, 5, 6, 7, 8, 254, 255, 256, 257, 2100, 999995}) {
                    if (more > 1000 && shape != Shape::graded) continue;
                    if (more > 3000 && bc_type != 24 && !(kind.type == DF_TYPE_NATURAL && bc_type == DF_BC_NOT_A_KNOT))
                        continue;
                    const std::int64_t nx = kind.least_nx_under(bc_type) + more;
                    const Problem<R> p(kind, partition<R>(shape, nx, random), more < 10 ? 2 : 1, bc_type, random);
                    ASSERT_EQ(DF_ST_OK, p.construct()) << kind.name << bc_type << nx;
                    p.all_cells();
                    for (std::int64_t i = 0; i < p.ny(); ++i) misses.see(p, i);
                }
            }
        }
    }
    misses.value.expect_below(2);
    misses.slope.expect_below(5);
    misses.curvature.expect_below(12);
    misses.knot.expect_below(2);
    misses.end.expect_below(6);
}

// The same blocks, bit for bit, out of every storage of values and of blocks; no functions are one.
TYPED_TEST(Construction, StorageChangesNothing) {
    using R = TypeParam;
    std::mt19937 random(2);
    for (const auto& kind : all_kinds<R>()) {
        for (const Shape shape : {Shape::even, Shape::random}) {
            if (kind.inner == Inner::even && shape != Shape::even) continue; // needs a partition that is nearly even
            for (const std::int64_t nx : {2, 3, 5, 6, 9, 257, 300, 600, 2100}) {
                for (const std::uint64_t bc_type : kind.conditions()) {
                    if (nx < kind.least_nx_under(bc_type) || (nx > 10 && bc_type != kind.conditions().back())) continue;
                    for (const std::int64_t ny : {1, 2, 3, 9}) {
                        Problem<R> plain(kind, partition<R>(shape, nx, random), ny, bc_type, random);
                        ASSERT_EQ(DF_ST_OK, plain.construct());
                        const auto expected = plain.all_cells();
                        for (const std::uint64_t y_hint : storages) {
                            for (const std::uint64_t coeff_hint : {DF_Y_DEFAULT, DF_Y_SEPARATE}) {
                                Problem<R> p(kind, plain.x, plain.y, bc_type, plain.bc, plain.ic, y_hint, coeff_hint);
                                if (ny == 1) p.record().ny = 0;
                                ASSERT_EQ(DF_ST_OK, p.construct());
                                ASSERT_EQ(expected, p.all_cells())
                                    << kind.name << " nx " << nx << " ny " << ny << " y_hint " << y_hint;
                            }
                        }
                    }
                }
            }
        }
    }
}

// Steps and values that make every operation exact but those that both kinds of grids have in common, which are all of
// a Subbotin spline.
TYPED_TEST(Construction, EvenGridIsAListedOne) {
    using R = TypeParam;
    std::mt19937 random(3);
    std::uniform_int_distribution<int> digit(-9, 9);
    for (const auto& kind : all_kinds<R>()) {
        for (const std::uint64_t bc_type : kind.conditions()) {
            for (const std::int64_t nx : {5, 6, 7, 8, 300}) {
                if (kind.order == 2 && nx != 5) continue; // a length that has an exact reciprocal
                Partition<R> even{DF_GRID_EVEN, {}, {R(-2), R(-2) + R(0.25) * R(nx - 1)}};
                for (std::int64_t j = 0; j < nx; ++j) even.at.push_back(R(-2) + R(0.25) * R(j));
                if (kind.is_subbotin()) even = partition<R>(Shape::even, nx, random);
                Functions<R> y(3, std::vector<R>(nx));
                for (auto& function : y)
                    for (R& v : function) v = R(digit(random));
                y = Problem<R>::closed(y, bc_type);
                const auto ic = kind.ic(even, random);
                const Problem<R> a(kind, even, y, bc_type, {3, -2}, ic),
                    b(kind, even.listed(), y, bc_type, {3, -2}, ic);
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
TYPED_TEST(Construction, CubicsReproducePolynomials) {
    using R = TypeParam;
    std::mt19937 random(4);
    Worst error;
    for (const auto& kind : kinds_that<R>([](const auto& kind) { return kind.is_cubic(); })) {
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
                    const Problem<R> p(kind, x, y, bc_type, bc, kind.reads_ic() ? ic : std::vector<R>{});
                    ASSERT_EQ(DF_ST_OK, p.construct());
                    std::vector<Wide> unit(nx);
                    for (std::int64_t j = 0; j < nx - 1; ++j) {
                        const Wide values = size_of(y[0][j]) + size_of(y[0][j + 1]);
                        const Wide rounding = epsilon<R> * (values / p.x.width(j) + slopes_of(p, 0, j));
                        for (const std::int64_t k : {j, j + 1}) unit[k] = std::max(unit[k], rounding);
                    }
                    for (std::int64_t j = 1; j < nx; ++j) unit[j] += unit[j - 1] / 2;
                    for (std::int64_t j = nx - 2; j >= 0; --j) unit[j] += unit[j + 1] / 2;
                    if (bc_type == DF_BC_NOT_A_KNOT) {
                        unit[0] += unit[1] * (1 + p.x.width(0) / p.x.width(1));
                        unit[nx - 1] += unit[nx - 2] * (1 + p.x.width(nx - 2) / p.x.width(nx - 3));
                    }
                    for (std::int64_t j = 0; j < nx - 1; ++j) error.see(p.cell(0, j)[1] - slope(at(j)), unit[j], nx, j);
                    error.see(taylor(p.cell(0, nx - 2), 4, p.x.width(nx - 2)).slope - slope(b), unit[nx - 1], nx, nx);
                }
            }
        }
    }
    error.expect_below(1);
}

// A parabola comes back. In the standard quadratic spline an error of a middle value goes on from cell to cell, in
// proportion to the width; in Subbotin's a rounding of the data is seen through the ratio of the cells.
TYPED_TEST(Construction, QuadraticsReproduceParabolas) {
    using R = TypeParam;
    std::mt19937 random(2);
    Worst error;
    const auto parabola = [](Wide t) { return Wide(0.3) + (Wide(-1.2) + Wide(0.7) * t) * t; };
    const auto slope = [](Wide t) { return Wide(-1.2) + Wide(1.4) * t; };
    for (const auto& kind : kinds_that<R>([](const auto& kind) { return kind.order == 3; })) {
        for (const Shape shape : shapes) {
            if (kind.inner == Inner::even && shape != Shape::even) continue;
            for (const std::int64_t nx : {3, 4, 10, 500}) {
                const auto x = partition<R>(shape, nx, random);
                Functions<R> y(1);
                Wide largest = 0, narrowest = x.gap(0), widest = x.gap(0);
                for (const R t : x.at) {
                    y[0].push_back(R(parabola(t)));
                    largest = std::max(largest, size_of(parabola(t)));
                }
                for (std::int64_t j = 0; j < nx - 1; ++j) {
                    narrowest = std::min(narrowest, Wide(x.gap(j)));
                    widest = std::max(widest, Wide(x.gap(j)));
                }
                const Wide unit = epsilon<R> * largest;
                for (const std::uint64_t bc_type : kind.conditions()) {
                    std::vector<R> bc = {R(parabola(x.at[0] + x.width(0) / 2))};
                    if (kind.is_subbotin())
                        bc = {bc_type & DF_BC_LEFT_1ST ? R(slope(x.at.front())) : R(1.4),
                              bc_type & DF_BC_RIGHT_1ST ? R(slope(x.at.back())) : R(1.4)};
                    const Problem<R> p(kind, x, y, bc_type, bc, kind.ic(x, random));
                    ASSERT_EQ(DF_ST_OK, p.construct());
                    Wide bound = unit;
                    for (std::int64_t j = 0; j < nx - 1; ++j) {
                        const Wide h = x.width(j), ratio = j == 0 ? 0 : h / x.width(j - 1);
                        bound = kind.is_subbotin() ? unit * widest / narrowest : bound * ratio + unit * (1 + ratio);
                        for (Wide part : {0.25, 0.5, 0.75}) {
                            if (kind.is_subbotin()) part /= 8; // no knot is nearer to a breakpoint
                            error.see(taylor(p.cell(0, j), 3, part * h).value - parabola(x.at[j] + part * h), bound, nx,
                                      j);
                        }
                    }
                }
            }
        }
    }
    error.expect_below(4);
}

// ---- statuses ------------------------------------------------------------------------------------------------------

// Everything is wrong at first; then one thing after the other, in the order of the checks, is put right.
TYPED_TEST(Construction, StatusesComeInOrder) {
    using R = TypeParam;
    std::mt19937 random(5);
    for (const auto& kind : all_kinds<R>()) {
        SCOPED_TRACE(kind.name);
        EXPECT_EQ(DF_ST_NO_TASK, kind.construct(nullptr, 0, 0, nullptr));
        const bool reads_method = kind.order == 2 || kind.type == DF_TYPE_NATURAL;
        std::vector<std::int32_t> order;
        if (kind.is_cubic()) {
            order = {DF_ST_BAD_NX, DF_ST_BAD_Y_HINT, DF_ST_BAD_BC_TYPE, DF_ST_BAD_BC};
            if (kind.reads_ic()) order.push_back(DF_ST_BAD_IC);
        } else if (kind.is_subbotin()) {
            order = {DF_ST_BAD_Y_HINT, DF_ST_BAD_IC_TYPE, DF_ST_BAD_BC_TYPE, DF_ST_BAD_BC, DF_ST_BAD_NX};
            if (kind.inner != Inner::middles) order.push_back(DF_ST_BAD_IC);
        } else if (kind.order == 3) {
            order = {DF_ST_BAD_Y_HINT, DF_ST_BAD_BC_TYPE, DF_ST_BAD_BC, DF_ST_BAD_NX};
        } else {
            order = {DF_ST_BAD_NX, DF_ST_BAD_Y_HINT};
        }
        order.insert(order.end(), {DF_ST_BAD_Y, DF_ST_BAD_COEFF});

        const Problem<R> p(kind, partition<R>(Shape::even, 10, random).listed(), 2, some_condition(kind), random);
        auto& record = p.record();
        const auto sound = record;
        const std::vector<R> no_knots(11);
        record.nx = kind.least_nx - 1;
        record.y_hint = 0x30;
        record.bc_type = 4;
        record.bc = nullptr;
        record.ic = kind.is_subbotin() && kind.inner != Inner::middles ? no_knots.data() : nullptr;
        record.ic_type = 2;
        record.y = nullptr;
        record.coeff = nullptr;
        EXPECT_EQ(reads_method ? DF_ST_BAD_METHOD : order[0], p.construct(nullptr, 1));
        for (const std::int32_t status : order) {
            EXPECT_EQ(status, p.construct());
            switch (status) {
            case DF_ST_BAD_NX: record.nx = sound.nx; break;
            case DF_ST_BAD_Y_HINT: record.y_hint = sound.y_hint; break;
            case DF_ST_BAD_BC_TYPE: record.bc_type = sound.bc_type; break;
            case DF_ST_BAD_BC: record.bc = sound.bc; break;
            case DF_ST_BAD_IC: record.ic = sound.ic; break;
            case DF_ST_BAD_IC_TYPE: record.ic_type = sound.ic_type; break;
            case DF_ST_BAD_Y: record.y = sound.y; break;
            default: record.coeff = sound.coeff;
            }
        }
        const R* const values = std::exchange(record.y[1], nullptr);
        EXPECT_EQ(DF_ST_BAD_Y, p.construct());
        record.y[1] = values;
        R* const block = std::exchange(record.coeff[1], nullptr);
        EXPECT_EQ(DF_ST_BAD_COEFF, p.construct());
        record.coeff[1] = block;
        EXPECT_TRUE(p.is_untouched());
        EXPECT_EQ(DF_ST_OK, p.construct(nullptr, reads_method ? 0 : 1));
    }
}

TYPED_TEST(Construction, TakesTheConditionsOfItsKind) {
    using R = TypeParam;
    std::mt19937 random(6);
    for (const auto& kind : all_kinds<R>()) {
        if (kind.order == 2) continue;
        SCOPED_TRACE(kind.name);
        const Problem<R> p(kind, partition<R>(Shape::even, 10, random), 2, some_condition(kind), random);
        auto& record = p.record();
        const auto sound = record;
        const auto taken = kind.conditions();
        record.bc = nullptr;
        record.ic = nullptr;
        record.y = nullptr;
        for (const std::uint64_t bc_type : {0, 1, 2, 3, 4, 8, 12, 20, 24, 36, 40, 48, 49, 63, 64, 65, 128, 129, 256}) {
            record.bc_type = bc_type;
            EXPECT_EQ(std::count(taken.begin(), taken.end(), bc_type) == 0 ? DF_ST_BAD_BC_TYPE
                      : kind.wants_values(bc_type)                         ? DF_ST_BAD_BC
                      : kind.reads_ic()                                    ? DF_ST_BAD_IC
                                                                           : DF_ST_BAD_Y,
                      p.construct())
                << bc_type;
        }
        if (kind.is_cubic()) {
            // What the type of the task says counts for periodic functions, and what the kind needs.
            record.bc_type = DF_BC_PERIODIC;
            for (const std::int64_t type : {DF_TYPE_DEFAULT, DF_TYPE_HERMITE, DF_TYPE_BESSEL}) {
                record.s_type = type;
                EXPECT_EQ(type != DF_TYPE_BESSEL || kind.reads_ic() ? DF_ST_BAD_BC : DF_ST_BAD_Y, p.construct());
            }
            record = sound;
            record.bc_type = DF_BC_PERIODIC; // the second function isn't
            if (kind.type != DF_TYPE_NATURAL) {
                EXPECT_EQ(DF_ST_NOT_PERIODIC, p.construct());
            }
            if (!kind.is_local()) {
                record.bc_type = DF_BC_NOT_A_KNOT;
                record.nx = kind.least_nx;
                EXPECT_EQ(DF_ST_BAD_NX, p.construct());
            }
        } else {
            record.s_type = 2;
            EXPECT_EQ(DF_ST_BAD_METHOD, p.construct());
        }
        record = sound;
        if (kind.is_subbotin() || kind.type == DF_TYPE_NATURAL) { // the solver counts in 32 bits
            record.nx = std::int64_t{1} << 31;
            EXPECT_EQ(DF_ST_SOLVE_FAILED, p.construct());
        }
        EXPECT_TRUE(p.is_untouched());
    }
}

// ---- what may be missing -------------------------------------------------------------------------------------------

TYPED_TEST(Construction, MissingMemoryLeavesEverythingAsItWas) {
    using R = TypeParam;
    std::mt19937 random(6);
    for (const auto& kind : all_kinds<R>()) {
        SCOPED_TRACE(kind.name);
        const Problem<R> p(kind, partition<R>(Shape::even, 300, random), 2, some_condition(kind), random);
        const long before = nvo_core_testing_live_blocks();
        expect_allocations(kind.is_cubic() || kind.is_subbotin(), [&] {
            const std::int32_t status = p.construct();
            EXPECT_EQ(status != DF_ST_OK, p.is_untouched());
            return status;
        });
        EXPECT_EQ(before, nvo_core_testing_live_blocks());
    }
}

TYPED_TEST(Construction, MissingSolverIsAFailedSolve) {
    using R = TypeParam;
    fetches::in_new_process([] {
        std::mt19937 random(7);
        const auto expect_failures = [&](auto fails) {
            for (const auto& kind : kinds_that<R>(fails)) {
                const Problem<R> p(kind, partition<R>(Shape::even, 9, random), 2, 12, random);
                EXPECT_EQ(DF_ST_SOLVE_FAILED, p.construct());
                EXPECT_TRUE(p.is_untouched());
            }
        };
        const auto is_natural = [](const auto& kind) { return kind.type == DF_TYPE_NATURAL && kind.is_cubic(); };
        fetches::answer = [](const char*) -> NvoServFunction { return nullptr; };
        expect_failures([=](const auto& kind) { return is_natural(kind) || kind.is_subbotin(); });
        // A matrix is factorised, and there is nothing to solve with.
        fetches::answer = [](const char* name) { return std::strstr(name, "ttrs") ? nullptr : fetches::find(name); };
        expect_failures(is_natural);
    });
}

} // namespace
