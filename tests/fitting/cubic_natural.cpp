// Natural cubic splines: against a dense solve, what their conditions don't say, and failures.
#include "tests/fitting/construction.h"

namespace {

using namespace nvo::tests;

template <class R> class NaturalCubic : public testing::Test {
public:
    const Kind<R> kind = kind_of<R>(4, DF_TYPE_NATURAL);
};
TYPED_TEST_SUITE(NaturalCubic, Precisions);

// ---- an independent model ------------------------------------------------------------------------------------------

// Gaussian elimination with row interchanges; the last column is the right side.
std::vector<Wide> solved(std::vector<std::vector<Wide>> a) {
    const std::size_t n = a.size();
    for (std::size_t k = 0; k < n; ++k) {
        const auto largest = std::max_element(a.begin() + static_cast<std::ptrdiff_t>(k), a.end(),
                                              [k](auto& p, auto& q) { return size_of(p[k]) < size_of(q[k]); });
        std::swap(*largest, a[k]);
        for (std::size_t row = 0; row < n; ++row) {
            if (row == k) continue;
            const Wide multiple = a[row][k] / a[k][k];
            for (std::size_t column = k; column <= n; ++column) a[row][column] -= multiple * a[k][column];
        }
    }
    std::vector<Wide> x;
    for (std::size_t k = 0; k < n; ++k) x.push_back(a[k][n] / a[k][k]);
    return x;
}

// The four coefficients of all cells from what a spline must satisfy, without a thought about its structure.
template <class R> class Conditions {
public:
    Conditions(const Problem<R>& p, std::int64_t i) : cells_(p.x.nx() - 1) {
        for (std::int64_t j = 0; j < cells_; ++j) {
            add({{j, 0, 0, 1}}, p.y[i][j]);
            add({{j, p.x.width(j), 0, 1}}, p.y[i][j + 1]);
            if (j == 0) continue;
            for (const int order : {1, 2}) add({{j - 1, p.x.width(j - 1), order, 1}, {j, 0, order, -1}}, 0);
        }
        const Wide last = p.x.width(cells_ - 1);
        if (p.bc_type == DF_BC_NOT_A_KNOT) {
            for (const std::int64_t j : {std::int64_t{0}, cells_ - 2}) add({{j, 0, 3, 1}, {j + 1, 0, 3, -1}}, 0);
        } else if (p.bc_type == DF_BC_PERIODIC) {
            for (const int order : {1, 2}) add({{0, 0, order, 1}, {cells_ - 1, last, order, -1}}, 0);
        } else {
            const bool free = p.bc_type == DF_BC_FREE_END;
            add({{0, 0, p.bc_type & DF_BC_LEFT_1ST ? 1 : 2, 1}}, free ? 0 : p.bc[0]);
            add({{cells_ - 1, last, p.bc_type & DF_BC_RIGHT_1ST ? 1 : 2, 1}}, free ? 0 : p.bc[1]);
        }
    }
    std::vector<Wide> coefficients() const { return solved(rows_); }

private:
    struct Term {
        std::int64_t cell;
        Wide u;
        int order; // of the derivative
        Wide factor;
    };
    void add(std::initializer_list<Term> terms, Wide side) {
        std::vector<Wide> row(4 * cells_ + 1);
        for (const Term& term : terms) {
            for (int k = term.order; k < 4; ++k) {
                Wide power = term.factor;
                for (int m = 0; m < k; ++m) power *= m < term.order ? Wide(k - m) : term.u;
                row[4 * term.cell + k] += power;
            }
        }
        row.back() = side;
        rows_.push_back(row);
    }
    std::int64_t cells_;
    std::vector<std::vector<Wide>> rows_;
};

// In multiples of an epsilon of the largest slope; with neighbours up to four times as wide as each other. Other random
// numbers bring errors of up to 11.
TYPED_TEST(NaturalCubic, IsWhatItsConditionsSay) {
    using R = TypeParam;
    std::mt19937 random(1);
    Worst error;
    for (const std::uint64_t bc_type : this->kind.conditions()) {
        for (const Shape shape : {Shape::even, Shape::random}) {
            for (std::int64_t nx = 2; nx < 14; ++nx) {
                if (bc_type == DF_BC_NOT_A_KNOT && nx <= 3) continue; // refused; not determined
                const Problem<R> p(this->kind, partition<R>(shape, nx, random), 5, bc_type, random);
                ASSERT_EQ(DF_ST_OK, p.construct());
                for (std::int64_t i = 0; i < p.ny(); ++i) {
                    const auto expected = Conditions<R>(p, i).coefficients();
                    Wide largest = 0;
                    for (std::int64_t j = 0; j < nx - 1; ++j) largest = std::max(largest, slopes_of(p, i, j));
                    for (std::int64_t k = 0; k < 4 * (nx - 1); ++k) {
                        const Wide h = p.x.width(k / 4);
                        const Wide unit[] = {h, 1, 1 / h, 1 / (h * h)};
                        error.see(p.cell(i, 0)[k] - expected[k], epsilon<R> * largest * unit[k % 4], nx, k);
                    }
                }
            }
        }
    }
    error.expect_below(16);
}

// ---- few breakpoints, failures -------------------------------------------------------------------------------------

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
