// Linear splines.
#include "tests/fitting/construction.h"

namespace {

using namespace nvo::tests;

template <class R> class Linear : public testing::Test {};
TYPED_TEST_SUITE(Linear, Precisions);

// The data at the breakpoints exactly, and slopes within the roundings of their formula: three halves of an epsilon on
// listed grids, three on even ones.
TYPED_TEST(Linear, CellsAreValuesAndSlopes) {
    using R = TypeParam;
    const Kind<R> kind = kind_of<R>(2, 0);
    std::mt19937 random(1);
    Worst listed, even;
    for (const Shape shape : shapes) {
        for (const std::int64_t nx : {2, 3, 4, 5, 6, 7, 8, 9, 10, 257, 258, 259, 1000, 1000000}) {
            const Problem<R> p(kind, partition<R>(shape, nx, random), nx > 1000 ? 1 : 3, DF_BC_NOT_SET, random);
            ASSERT_EQ(DF_ST_OK, p.construct());
            p.all_cells();
            for (std::int64_t i = 0; i < p.ny(); ++i) {
                for (std::int64_t j = 0; j < nx - 1; ++j) {
                    if (!is_looked_at(j, nx)) continue;
                    ASSERT_EQ(p.y[i][j], p.cell(i, j)[0]);
                    const bool is_even = shape == Shape::even;
                    const Wide run = is_even ? (Wide(p.x.given[1]) - p.x.given[0]) / (nx - 1) : p.x.width(j);
                    const Wide slope = (Wide(p.y[i][j + 1]) - p.y[i][j]) / run;
                    (is_even ? even : listed).see(p.cell(i, j)[1] - slope, size_of(slope) * epsilon<R>, nx, j);
                }
            }
        }
    }
    listed.expect_below(1.51);
    even.expect_below(3.01);
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
            const std::vector<R>&moved = over_x ? x.at : y, &other = over_x ? y : x.at;
            for (std::int64_t place = 0; place <= elements + 1; ++place) { // of the data, behind the first coefficient
                std::vector<R> memory(elements + nx + 2);
                std::copy_n(moved.data(), nx, memory.data() + place);
                std::vector<R> model = memory;
                for (std::int64_t j = 0; j < cells; ++j) {
                    const R *at = model.data() + place + j, *xs = over_x ? at : &other[j],
                            *ys = over_x ? &other[j] : at;
                    const R value = ys[0], slope = (ys[1] - ys[0]) / (xs[1] - xs[0]);
                    model[2 * j] = value;
                    model[2 * j + 1] = slope;
                }
                const R *at = memory.data() + place, *xs = over_x ? at : other.data(), *ys = over_x ? other.data() : at;
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

} // namespace
