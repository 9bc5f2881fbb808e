// Linear splines.

#include "tests/fitting/construction.h"

#include "fitting/task.h"

namespace {

using namespace nvo::tests;

template <class R> class Linear : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Linear, Precisions);

template <class R> std::int32_t construct(const Problem<R>& problem) {
    return Fit<R>::linear(problem.get(), 0, 0, nullptr);
}

// The data at the breakpoints exactly, and slopes within the roundings of their formula: three halves of an epsilon on
// listed grids, three on even ones.
TYPED_TEST(Linear, CellsAreValuesAndSlopes) {
    using R = TypeParam;
    std::mt19937 random(1);
    Worst listed, even;
    for (const Shape shape : {Shape::even, Shape::random, Shape::graded}) {
        for (const std::int64_t nx : {2, 3, 4, 5, 6, 7, 8, 9, 10, 257, 258, 259, 1000, 1000000}) {
            const auto x = partition<R>(shape, nx, random);
            const Problem<R> problem(x, random_functions<R>(nx > 1000 ? 1 : 3, nx, random), 2, 0);
            ASSERT_EQ(DF_ST_OK, construct(problem));
            problem.all_cells();
            for (std::int64_t i = 0; i < problem.ny(); ++i) {
                for (std::int64_t j = 0; j < nx - 1; ++j) {
                    if (!is_looked_at(j, nx)) continue;
                    const auto& y = problem.y()[i];
                    const R* cell = problem.cell(i, j);
                    ASSERT_EQ(y[j], cell[0]);
                    const Wide run =
                        shape == Shape::even ? (Wide(x.given[1]) - x.given[0]) / (nx - 1) : Wide(x.at[j + 1]) - x.at[j];
                    const Wide slope = (Wide(y[j + 1]) - y[j]) / run;
                    (shape == Shape::even ? even : listed).see(cell[1] - slope, size_of(slope) * epsilon<R>, nx, j);
                }
            }
        }
    }
    listed.expect_below(1.51);
    even.expect_below(3.01);
}

TYPED_TEST(Linear, StorageChangesNothing) {
    using R = TypeParam;
    std::mt19937 random(2);
    for (const Shape shape : {Shape::even, Shape::random})
        for (const std::int64_t nx : {2, 3, 6, 257, 600})
            expect_same_in_every_storage(partition<R>(shape, nx, random), 2, 0, random,
                                         [](Problem<R>& p) { ASSERT_EQ(DF_ST_OK, construct(p)); });
}

// A function of ny = 0: one.
TYPED_TEST(Linear, NoFunctionIsOne) {
    using R = TypeParam;
    std::mt19937 random(3);
    for (const std::uint64_t hint : {DF_Y_BY_ROWS, DF_Y_BY_COLS}) {
        const Problem<R> problem(partition<R>(Shape::random, 10, random), random_functions<R>(1, 10, random), 2, 0,
                                 hint);
        auto& record = nvo::fitting::record_of<R>(problem.get());
        record.ny = 0;
        EXPECT_EQ(DF_ST_OK, construct(problem));
        EXPECT_EQ(problem.y()[0][8], problem.cell(0, 8)[0]);
    }
}

// Coefficients over the data: as if cell after cell were read whole, then written.
TYPED_TEST(Linear, CoefficientsMayOverlapWithTheirData) {
    using R = TypeParam;
    constexpr std::int64_t nx = 40, cells = nx - 1, elements = 2 * cells;
    std::mt19937 random(4);
    const auto x = partition<R>(Shape::random, nx, random);
    const auto y = random_functions<R>(1, nx, random)[0];
    int intact = 0;
    for (const std::uint64_t hint : {DF_Y_BY_ROWS, DF_Y_BY_COLS}) {
        for (const bool over_x : {false, true}) {
            for (std::int64_t place = 0; place <= elements + 1; ++place) { // of the data, behind the first coefficient
                std::vector<R> memory(elements + nx + 2), other = over_x ? y : x.at;
                std::copy_n((over_x ? x.at : y).data(), nx, memory.data() + place);
                std::vector<R> model = memory;
                for (std::int64_t j = 0; j < cells; ++j) {
                    const R *moved = model.data() + place, *xs = over_x ? moved : other.data(),
                            *ys = over_x ? other.data() : moved;
                    const R value = ys[j], slope = (ys[j + 1] - ys[j]) / (xs[j + 1] - xs[j]);
                    model[2 * j] = value;
                    model[2 * j + 1] = slope;
                }
                const R *xs = over_x ? memory.data() + place : other.data(),
                        *ys = over_x ? other.data() : memory.data() + place;
                FitTask<R> task(nx, xs, DF_GRID_FREE, 1, ys, hint);
                task.spline(2, 0, memory.data());
                ASSERT_EQ(DF_ST_OK, Fit<R>::linear(task.get(), 0, 0, nullptr));
                for (std::size_t k = 0; k < memory.size(); ++k) // quotients of overwritten data may be NaN
                    ASSERT_TRUE(model[k] == memory[k] || (std::isnan(model[k]) && std::isnan(memory[k]))) << place;
                intact += memory[0] == y[0] && memory[elements - 2] == y[cells - 1];
            }
        }
    }
    EXPECT_GE(intact, 4 * (nx - 1)) << "data in the second half come through";
}

TYPED_TEST(Linear, StatusesComeInOrder) {
    using R = TypeParam;
    std::mt19937 random(5);
    const Problem<R> problem(partition<R>(Shape::random, 10, random), random_functions<R>(2, 10, random), 2, 0);
    auto& record = nvo::fitting::record_of<R>(problem.get());
    const auto sound = record;
    const auto status = [&](std::int64_t method) { return Fit<R>::linear(problem.get(), 77, method, nullptr); };
    record.nx = 1;
    record.y_hint = 0x30;
    record.y = nullptr;
    record.coeff = nullptr;
    EXPECT_EQ(DF_ST_BAD_METHOD, status(1));
    EXPECT_EQ(DF_ST_BAD_NX, status(0));
    record.nx = sound.nx;
    EXPECT_EQ(DF_ST_BAD_Y_HINT, status(0));
    record.y_hint = sound.y_hint;
    EXPECT_EQ(DF_ST_BAD_Y, status(0));
    record.y = sound.y;
    EXPECT_EQ(DF_ST_BAD_COEFF, status(0));
    record.coeff = sound.coeff;
    R* const block = record.coeff[1];
    record.coeff[1] = nullptr;
    EXPECT_EQ(DF_ST_BAD_COEFF, status(0));
    record.coeff[1] = block;
    EXPECT_TRUE(problem.is_untouched());
    EXPECT_EQ(DF_ST_OK, status(0));
}

} // namespace
