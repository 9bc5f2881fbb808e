// Natural cubic splines: what their conditions don't say, and failures.
#include "tests/fitting/construction.h"

namespace {

using namespace nvo::tests;

template <class R> class NaturalCubic : public testing::Test {
public:
    const Kind<R> kind = kind_of<R>(4, DF_TYPE_NATURAL);
};
TYPED_TEST_SUITE(NaturalCubic, Precisions);

TYPED_TEST(NaturalCubic, ClosedFormsAreAsTold) {
    using R = TypeParam;
    const Partition<R> two{DF_GRID_FREE, {1, R(1.3)}, {1, R(1.3)}}, three{DF_GRID_FREE, {0, 2, 4}, {0, 2, 4}};
    const auto cells = [&](const Partition<R>& x, std::vector<R> y, std::uint64_t bc_type) {
        const Problem<R> p(this->kind, x, {std::move(y)}, bc_type);
        EXPECT_EQ(DF_ST_OK, p.construct());
        return p.all_cells();
    };
    EXPECT_EQ((std::vector<R>{R(0.7), (R(0.1) - R(0.7)) / (R(1.3) - R(1)), 0, 0}),
              cells(two, {R(0.7), R(0.1)}, DF_BC_FREE_END));
    const auto knot = cells(three, {2, 4, 12}, DF_BC_NOT_A_KNOT);
    EXPECT_EQ(0, knot[5]);
    EXPECT_EQ(knot[3], knot[7]);
    // Periodicity isn't asked for.
    EXPECT_EQ(0, cells(two, {1, 2}, DF_BC_PERIODIC)[1]);
    const auto triple = cells(three, {1, 2, 6}, DF_BC_PERIODIC);
    EXPECT_EQ(R(1.25), triple[1]);
    EXPECT_EQ(R(1.25), triple[5]);
}

// All functions are constructed, and their neighbours don't notice.
TYPED_TEST(NaturalCubic, TellsOfOpenFunctionsAtTheEnd) {
    using R = TypeParam;
    std::mt19937 random(3);
    const Problem<R> sound(this->kind, partition<R>(Shape::random, 20, random), 3, DF_BC_PERIODIC, random);
    ASSERT_EQ(DF_ST_OK, sound.construct());
    Functions<R> y = sound.y;
    y[1].back() = std::nextafter(y[1].back(), R(9));
    const Problem<R> open(this->kind, sound.x, y, DF_BC_PERIODIC);
    EXPECT_EQ(DF_ST_NOT_PERIODIC, open.construct());
    for (const std::int64_t i : {0, 2}) EXPECT_TRUE(std::equal(sound.cell(i, 0), sound.cell(i, 19), open.cell(i, 0)));
    EXPECT_NEAR(sound.cell(1, 5)[1], open.cell(1, 5)[1], 1e-3);
}

// Cells without width make pivots that vanish.
TYPED_TEST(NaturalCubic, FailedSolveWritesNothing) {
    using R = TypeParam;
    const Partition<R> flat{DF_GRID_FREE, {1, 1, 1, 1, 1, 1}, {1, 1, 1, 1, 1, 1}};
    const Problem<R> p(this->kind, flat, {{1, 2, 3, 4, 5, 6}}, DF_BC_NOT_A_KNOT);
    const long before = nvo_core_testing_live_blocks();
    EXPECT_EQ(DF_ST_SOLVE_FAILED, p.construct());
    EXPECT_TRUE(p.is_untouched());
    EXPECT_EQ(before, nvo_core_testing_live_blocks());
}

} // namespace
