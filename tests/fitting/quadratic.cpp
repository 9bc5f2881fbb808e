// The standard quadratic spline, and the statuses of the entry of both kinds.

#include "tests/fitting/construction.h"

#include "fitting/task.h"

namespace {

using namespace nvo::tests;

template <class R> class Quadratic : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Quadratic, Precisions);

constexpr std::int64_t order = 3;

template <class R> std::int32_t construct(Problem<R>& problem, R middle) {
    problem.conditions(DF_BC_MIDPOINT, {middle});
    return Fit<R>::quadratic(problem.get(), 0, 0, nullptr);
}

// Values at both ends of a cell, the given one in the middle of the first, and equal slopes where cells meet, in units
// of an epsilon of the terms that they are made of.
TYPED_TEST(Quadratic, MeetsDataAndConditionAndIsSmooth) {
    using R = TypeParam;
    std::mt19937 random(1);
    Worst value, middle, slope;
    for (const Shape shape : {Shape::even, Shape::random, Shape::graded}) {
        for (const std::int64_t nx : {2, 3, 4, 5, 10, 1000, 1000000}) {
            Problem<R> problem(partition<R>(shape, nx, random), random_functions<R>(nx > 1000 ? 1 : 3, nx, random),
                               order, DF_TYPE_DEFAULT);
            ASSERT_EQ(DF_ST_OK, construct(problem, R(0.37)));
            problem.all_cells();
            for (std::int64_t i = 0; i < problem.ny(); ++i) {
                const auto& y = problem.y()[i];
                Wide slope_before = 0, unit_before = 0;
                for (std::int64_t j = 0; j < nx - 1; ++j) {
                    if (!is_looked_at(j, nx)) continue;
                    const R* cell = problem.cell(i, j);
                    const Wide h = problem.x().width(j), in_middle = taylor(cell, order, h / 2).value;
                    const Wide unit = epsilon<R> * (size_of(y[j]) + size_of(in_middle) + size_of(y[j + 1]));
                    ASSERT_EQ(y[j], cell[0]);
                    value.see(taylor(cell, order, h).value - y[j + 1], unit, nx, j);
                    if (j == 0) middle.see(in_middle - R(0.37), unit, nx, j);
                    if (j > 0 && is_looked_at(j - 1, nx))
                        slope.see(cell[1] - slope_before, unit_before + unit / h, nx, j);
                    slope_before = taylor(cell, order, h).slope;
                    unit_before = unit / h;
                }
            }
        }
    }
    value.expect_below(16);
    middle.expect_below(4);
    slope.expect_below(16);
}

// A parabola comes back. An error of a middle value goes on from cell to cell, in proportion to the width.
TYPED_TEST(Quadratic, ReproducesParabolas) {
    using R = TypeParam;
    std::mt19937 random(2);
    Worst error;
    const auto parabola = [](Wide t) { return Wide(0.3) + (Wide(-1.2) + Wide(0.7) * t) * t; };
    for (const Shape shape : {Shape::even, Shape::random, Shape::graded}) {
        for (const std::int64_t nx : {2, 3, 10, 1000}) {
            const auto x = partition<R>(shape, nx, random);
            Functions<R> y(1);
            Wide largest = 0;
            for (const R t : x.at) {
                y[0].push_back(static_cast<R>(parabola(t)));
                largest = std::max(largest, size_of(parabola(t)));
            }
            Problem<R> problem(x, y, order, DF_TYPE_DEFAULT);
            ASSERT_EQ(DF_ST_OK, construct(problem, static_cast<R>(parabola(Wide(x.at[0]) + x.width(0) / Wide(2)))));
            const Wide unit = epsilon<R> * largest;
            Wide bound = unit;
            for (std::int64_t j = 0; j < nx - 1; ++j) {
                const Wide h = x.width(j), ratio = j == 0 ? 0 : h / x.width(j - 1);
                bound = bound * ratio + unit * (1 + ratio);
                for (const Wide part : {0.25, 0.5, 0.75})
                    error.see(taylor(problem.cell(0, j), order, part * h).value - parabola(x.at[j] + part * h), bound,
                              nx, j);
            }
        }
    }
    error.expect_below(4);
}

TYPED_TEST(Quadratic, StorageChangesNothing) {
    using R = TypeParam;
    std::mt19937 random(3);
    for (const Shape shape : {Shape::even, Shape::random})
        for (const std::int64_t nx : {2, 3, 100})
            expect_same_in_every_storage(partition<R>(shape, nx, random), order, DF_TYPE_DEFAULT, random,
                                         [](Problem<R>& p) { ASSERT_EQ(DF_ST_OK, construct(p, R(0.5))); });
}

TYPED_TEST(Quadratic, StatusesComeInOrder) {
    using R = TypeParam;
    std::mt19937 random(4);
    Problem<R> problem(partition<R>(Shape::random, 10, random), random_functions<R>(2, 10, random), order,
                       DF_TYPE_DEFAULT);
    problem.conditions(DF_BC_MIDPOINT, {R(0.5)});
    auto& record = nvo::fitting::record_of<R>(problem.get());
    const auto sound = record;
    const auto status = [&] { return Fit<R>::quadratic(problem.get(), 77, 1, nullptr); }; // neither is read
    record.y_hint = 0x30;
    record.s_type = 2;
    record.bc_type = 2;
    record.bc = nullptr;
    record.nx = 1;
    record.y = nullptr;
    record.coeff = nullptr;
    EXPECT_EQ(DF_ST_BAD_Y_HINT, status());
    record.y_hint = DF_Y_BY_ROWS;
    EXPECT_EQ(DF_ST_BAD_METHOD, status());
    record.s_type = DF_TYPE_SUBBOTIN;
    record.ic_type = 2;
    EXPECT_EQ(DF_ST_BAD_IC_TYPE, status());
    record.ic_type = DF_IC_LISTED_SUBGRID;
    record.ic = record.x; // no knots
    for (const std::uint64_t bc_type : {0, 1, 2, 4, 20, 64, 128, 63}) {
        record.bc_type = bc_type;
        EXPECT_EQ(DF_ST_BAD_BC_TYPE, status()) << bc_type;
    }
    record.bc_type = DF_BC_LEFT_1ST | DF_BC_RIGHT_1ST;
    EXPECT_EQ(DF_ST_BAD_BC, status());
    record.bc = sound.bc;
    for (const std::int64_t nx : {1, 2}) {
        record.nx = nx;
        EXPECT_EQ(DF_ST_BAD_NX, status());
    }
    record.nx = std::int64_t{1} << 31; // the solver counts in 32 bits
    EXPECT_EQ(DF_ST_SOLVE_FAILED, status());
    record.nx = 9;
    EXPECT_EQ(DF_ST_BAD_IC, status());
    record.ic = nullptr;
    EXPECT_EQ(DF_ST_BAD_Y, status());

    record.s_type = DF_TYPE_DEFAULT;
    record.bc = nullptr;
    record.nx = 1;
    for (const std::uint64_t bc_type : {0, 1, 2, 12, 64, 129}) {
        record.bc_type = bc_type;
        EXPECT_EQ(DF_ST_BAD_BC_TYPE, status()) << bc_type;
    }
    record.bc_type = DF_BC_MIDPOINT;
    EXPECT_EQ(DF_ST_BAD_BC, status());
    record.bc = sound.bc;
    EXPECT_EQ(DF_ST_BAD_NX, status());
    record.nx = sound.nx;
    EXPECT_EQ(DF_ST_BAD_Y, status());
    record.y = sound.y;
    EXPECT_EQ(DF_ST_BAD_COEFF, status());
    record.coeff = sound.coeff;
    EXPECT_TRUE(problem.is_untouched());
    EXPECT_EQ(DF_ST_OK, status());
}

} // namespace
