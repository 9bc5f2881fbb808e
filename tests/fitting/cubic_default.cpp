// Cubic splines with given second derivatives.

#include "tests/fitting/cubic.h"

namespace {

using namespace nvo::tests;

template <class R> class DefaultCubic : public testing::Test {
public:
    const CubicKind<R> kind = cubic_kind<R>(DF_TYPE_DEFAULT);
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(DefaultCubic, Precisions);

// M[j] from both sides, at the breakpoints inside; not-a-knot: the same third derivative as in the next cell. What is
// said of first derivatives and values at the ends, all kinds have in common.
TYPED_TEST(DefaultCubic, HasTheGivenSecondDerivatives) {
    using R = TypeParam;
    std::mt19937 random(1);
    Worst inside, first;
    for (const std::uint64_t bc_type : this->kind.conditions()) {
        for (const Shape shape : {Shape::even, Shape::random, Shape::graded}) {
            for (const std::int64_t nx : {3, 4, 5, 6, 7, 258, 259, 260, 3000}) {
                if (nx < this->kind.least_nx_under(bc_type)) continue;
                const CubicProblem<R> p(this->kind, partition<R>(shape, nx, random), 2, bc_type, random);
                ASSERT_EQ(DF_ST_OK, p.construct());
                for (std::int64_t i = 0; i < p.ny(); ++i) {
                    for (std::int64_t j = 1; j < nx - 1; ++j) {
                        EXPECT_EQ(p.ic[j - 1] / 2, p.cell(i, j)[2]);
                        const Wide h = p.width(j - 1), m = p.ic[j - 1];
                        const Cubic before = cubic_at(p.cell(i, j - 1), h);
                        const Wide unit = epsilon<R> * (size_of(m) + size_of(p.cell(i, j - 1)[2]));
                        const bool from_slopes = j == 1 && bc_type & DF_BC_LEFT_1ST;
                        (from_slopes ? first : inside)
                            .see(before.curvature - m,
                                 unit + (from_slopes ? epsilon<R> * slopes_of(p, i, 0) / h : Wide(0)), nx, j);
                    }
                    if (bc_type != DF_BC_NOT_A_KNOT) continue;
                    EXPECT_EQ(p.cell(i, 1)[3], p.cell(i, 0)[3]);
                    EXPECT_EQ(p.cell(i, nx - 3)[3], p.cell(i, nx - 2)[3]);
                }
            }
        }
    }
    inside.expect_below(4);
    first.expect_below(2);
}

} // namespace
