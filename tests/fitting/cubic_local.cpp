// Akima's, Bessel's, Hyman's and Hermite's cubic splines.

#include "tests/fitting/cubic.h"

#include <atomic>

namespace {

using namespace nvo::tests;

template <class R> class LocalCubics : public testing::Test {
public:
    static std::vector<CubicKind<R>> kinds() {
        std::vector<CubicKind<R>> local;
        for (const auto& kind : cubic_kinds<R>())
            if (kind.is_local()) local.push_back(kind);
        return local;
    }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(LocalCubics, Precisions);

// ---- an independent model ------------------------------------------------------------------------------------------

// All of a function at once, number by number, in the precision and in the order of the told formulas: the bits must be
// the same.
template <class R> class Model {
public:
    Model(const CubicProblem<R>& p, std::int64_t i)
        : p_(p), even_(p.x().hint == DF_GRID_EVEN), n_(p.x().nx()), y_(p.y()[i]), inverse_(1 / p.x().width(0)) {
        for (std::int64_t j = 0; j < n_ - 1; ++j) {
            h_.push_back(p.x().width(j));
            d_.push_back(over(y_[j + 1] - y_[j], j));
        }
        for (std::int64_t k = 0; k < n_ - 2; ++k) w_.push_back(std::abs(d_[k + 1] - d_[k]));
        s_.resize(n_);
        for (std::int64_t j = 1; j < n_ - 1; ++j) s_[j] = inner(j);
        s_[0] = p.bc_type == DF_BC_PERIODIC  ? periodic_left()
                : p.bc_type & DF_BC_LEFT_1ST ? p.bc[0]
                                             : open_end(d_[0], d_[1], s_[1], knot_left(), second_left());
        s_[n_ - 1] = p.bc_type == DF_BC_PERIODIC ? periodic_right()
                     : p.bc_type & DF_BC_RIGHT_1ST
                         ? p.bc[1]
                         : open_end(d_[n_ - 2], d_[n_ - 3], s_[n_ - 2], knot_right(), second_right());
    }
    std::vector<R> cells() const {
        std::vector<R> all;
        for (std::int64_t j = 0; j < n_ - 1; ++j) {
            const R square = even_ ? inverse_ * inverse_ : h_[j] * h_[j];
            const R c3 = s_[j] + s_[j + 1] - 2 * d_[j];
            all.insert(all.end(),
                       {y_[j], s_[j], over(3 * d_[j] - s_[j + 1] - 2 * s_[j], j), even_ ? c3 * square : c3 / square});
        }
        return all;
    }

private:
    R over(R a, std::int64_t j) const { return even_ ? a * inverse_ : a / h_[j]; }
    R akima(R w1, R d0, R w0, R d1) const {
        const R sum = w1 + w0;
        return double(sum) < (sizeof(R) == 4 ? 1e-6 : 1e-10) ? (d0 + d1) / 2 : (w1 * d0 + w0 * d1) / sum;
    }
    R inner(std::int64_t i) const {
        if (p_.kind.type == DF_TYPE_HERMITE) return p_.ic[i - 1];
        if (p_.kind.type == DF_TYPE_AKIMA)
            return akima(w_[std::min(i, n_ - 3)], d_[i - 1], w_[std::max<std::int64_t>(i - 2, 0)], d_[i]);
        const R b = even_ ? (y_[i + 1] - y_[i - 1]) * R(0.5) * inverse_
                          : (h_[i] * d_[i - 1] + h_[i - 1] * d_[i]) / (p_.x().at[i + 1] - p_.x().at[i - 1]);
        if (p_.kind.type == DF_TYPE_BESSEL) return b;
        if (d_[i - 1] * d_[i] <= 0) return 0;
        return std::copysign(std::min(std::abs(b), 3 * std::min(std::abs(d_[i - 1]), std::abs(d_[i]))), b);
    }
    R knot_left() const {
        if (even_) return inverse_ * R(0.5) * (-5 * y_[0] + 4 * y_[1] + y_[2]) - 2 * s_[1];
        const R c = p_.x().at[2] - p_.x().at[0];
        return (((2 * c + h_[0]) * h_[1] * d_[0] + h_[0] * h_[0] * d_[1]) / c - c * s_[1]) / h_[1];
    }
    R knot_right() const {
        const std::int64_t n = n_;
        if (even_) return inverse_ * R(0.5) * (5 * y_[n - 1] - 4 * y_[n - 2] - y_[n - 3]) - 2 * s_[n - 2];
        const R c = p_.x().at[n - 1] - p_.x().at[n - 3];
        const R side = ((2 * c + h_[n - 2]) * h_[n - 3] * d_[n - 2] + h_[n - 2] * h_[n - 2] * d_[n - 3]) / c;
        return (side - c * s_[n - 2]) / h_[n - 3];
    }
    R second_left() const { return p_.bc_type & DF_BC_LEFT_2ND ? R(-0.25) * h_[0] * p_.bc[0] : 0; }
    R second_right() const { return p_.bc_type & DF_BC_RIGHT_2ND ? R(0.25) * h_[n_ - 2] * p_.bc[1] : 0; }
    R open_end(R d0, R d1, R s1, R knot, R second) const {
        if (p_.bc_type == DF_BC_NOT_A_KNOT) return knot;
        if (p_.bc_type == DF_BC_NOT_SET) return (3 * d0 - d1) / 2;
        return R(1.5) * d0 - R(0.5) * s1 + second;
    }
    R periodic_left() const {
        if (p_.kind.type == DF_TYPE_HERMITE) return p_.bc[0];
        if (p_.kind.type == DF_TYPE_AKIMA) return akima(std::abs(d_[n_ - 2] - d_[n_ - 3]), d_[0], w_[0], d_[n_ - 2]);
        if (even_) return inverse_ * R(0.5) * ((y_[1] + y_[n_ - 1]) - (y_[0] + y_[n_ - 2]));
        const R h = h_[n_ - 2], rise = y_[n_ - 1] - y_[n_ - 2];
        return (h * d_[0] + rise * h_[0] / h) / (h_[0] + h);
    }
    R periodic_right() const {
        const R h = h_[n_ - 2];
        if (p_.kind.type == DF_TYPE_AKIMA) return akima(w_[n_ - 3], d_[0], std::abs(d_[1] - d_[0]), d_[n_ - 2]);
        if (p_.kind.type == DF_TYPE_HERMITE || even_) return periodic_left();
        return ((y_[1] - y_[0]) * h / h_[0] + d_[n_ - 2] * h_[0]) / (h + h_[0]);
    }

    const CubicProblem<R>& p_;
    bool even_;
    std::int64_t n_;
    std::vector<R> y_;
    R inverse_;
    std::vector<R> h_, d_, w_, s_;
};

// Random data, and data in steps with flat stretches and turns: weights that vanish, slopes that are cut off.
TYPED_TEST(LocalCubics, AreTheirFormulas) {
    using R = TypeParam;
    std::mt19937 random(1);
    std::uniform_int_distribution<int> digit(0, 2);
    for (const auto& kind : this->kinds()) {
        for (const std::uint64_t bc_type : kind.conditions()) {
            for (const Shape shape : {Shape::even, Shape::random, Shape::graded}) {
                for (const std::int64_t nx : {0, 4, 5, 6, 7, 8, 9, 254, 255, 256, 257, 258, 259, 260, 261, 4103}) {
                    const std::int64_t points = std::max(nx, kind.least_nx);
                    auto y = random_functions<R>(5, points, random);
                    for (R& v : y[1]) v = R(digit(random));
                    for (R& v : y[3]) v = R(digit(random)) * R(sizeof(R) == 4 ? 1e-8 : 1e-12);
                    const CubicProblem<R> p(kind, partition<R>(shape, points, random), y, bc_type, {R(0.3), R(-7)},
                                            random_functions<R>(1, points, random)[0]);
                    ASSERT_EQ(DF_ST_OK, p.construct());
                    std::vector<R> expected;
                    for (std::int64_t i = 0; i < p.ny(); ++i) {
                        const auto cells = Model<R>(p, i).cells();
                        expected.insert(expected.end(), cells.begin(), cells.end());
                    }
                    ASSERT_EQ(expected, p.all_cells()) << kind.name << " " << bc_type << " " << points;
                }
            }
        }
    }
}

TYPED_TEST(LocalCubics, HymansIsMonotoneWhereItsDataAre) {
    using R = TypeParam;
    std::mt19937 random(3);
    const auto kind = cubic_kind<R>(DF_TYPE_HYMAN);
    for (const Shape shape : {Shape::even, Shape::random, Shape::graded}) {
        auto y = random_functions<R>(1, 1000, random);
        std::sort(y[0].begin() + 300, y[0].begin() + 700);
        for (const R scale : {R(1), R(1e-25)}) { // the products of such differences underflow in floats
            for (R& v : y[0]) v *= scale;
            const CubicProblem<R> p(kind, partition<R>(shape, 1000, random), y, DF_BC_FREE_END, {}, {});
            ASSERT_EQ(DF_ST_OK, p.construct());
            int rising = 0;
            for (std::int64_t j = 300; j < 699; ++j) {
                const Wide h = p.width(j), tolerance = 8 * epsilon<R> * slopes_of(p, 0, j);
                for (int k = 0; k <= 8; ++k) EXPECT_GE(double(cubic_at(p.cell(0, j), k * h / 8).slope + tolerance), 0);
                rising += p.cell(0, j)[1] > 0;
            }
            EXPECT_GT(rising, 390);
        }
    }
}

// ---- teams ---------------------------------------------------------------------------------------------------------

template <class R> class LocalCubicsOfThreads : public LocalCubics<R> {};
TYPED_TEST_SUITE(LocalCubicsOfThreads, Precisions);

// Both sides of the threshold, and the ends of blocks.
TYPED_TEST(LocalCubicsOfThreads, GiveTheSameBits) {
    using R = TypeParam;
    std::mt19937 random(4);
    for (const auto& kind : this->kinds()) {
        for (const auto& [nx, ny] : {std::pair{511, 1},
                                     {512, 1},
                                     {5, 103},
                                     {64, 9},
                                     {2050, 2},
                                     {2051, 1},
                                     {2052, 5},
                                     {2053, 1},
                                     {2054, 4},
                                     {4099, 1},
                                     {4102, 9},
                                     {10000, 3}}) {
            const CubicProblem<R> p(kind, partition<R>(Shape::random, nx, random), ny, 24, random);
            ASSERT_EQ(DF_ST_OK, p.construct());
            const auto expected = p.all_cells();
            for (const int threads : {1, 2, 3, 5}) {
                const Team team(threads);
                std::fill_n(const_cast<R*>(p.cell(0, 0)), expected.size(), R(7));
                ASSERT_EQ(DF_ST_OK, p.construct(Team::descriptor()));
                ASSERT_EQ(expected, p.all_cells()) << kind.name << " " << nx << " " << ny << " " << threads;
            }
        }
    }
}

// A descriptor that counts what it is asked for, and runs the bodies in reverse.
std::atomic<std::int64_t> asked, items, most_threads;
void run_backwards(std::int64_t count, std::int64_t threads, void* context, OstTeamBody* body) {
    items = count;
    most_threads = threads;
    for (std::int64_t item = count - 1; item >= 0; --item) body(item, item % threads, threads, context);
}
constexpr OstThreading counting = {run_backwards, nullptr, nullptr, nullptr, [] { return int((++asked, 6)); }};

TYPED_TEST(LocalCubicsOfThreads, WorkIsDividedAsTold) {
    using R = TypeParam;
    struct Case {
        std::int64_t nx, ny, akima, others; // work items
    };
    constexpr Case cases[] = {{511, 1, 0, 0},  {73, 7, 0, 0},   {512, 1, 1, 1},  {52, 10, 3, 3},  {2050, 4, 1, 1},
                              {2051, 5, 2, 2}, {2052, 1, 1, 2}, {2053, 1, 1, 2}, {2054, 9, 6, 6}, {4101, 1, 2, 3}};
    std::mt19937 random(5);
    for (const auto& kind : this->kinds()) {
        for (const Case& c : cases) {
            const CubicProblem<R> p(kind, partition<R>(Shape::random, c.nx, random), c.ny, 12, random);
            ASSERT_EQ(DF_ST_OK, p.construct());
            const auto expected = p.all_cells();
            asked = items = most_threads = 0;
            ASSERT_EQ(DF_ST_OK, p.construct(&counting));
            ASSERT_EQ(expected, p.all_cells());
            const std::int64_t wanted = kind.type == DF_TYPE_AKIMA ? c.akima : c.others;
            EXPECT_EQ(wanted > 0, asked > 0);
            EXPECT_EQ(wanted > 1 ? wanted : 0, items) << kind.name << " " << c.nx; // one item needs no team
            EXPECT_EQ(wanted > 1 ? std::min<std::int64_t>(wanted, 6) : 0, most_threads);
        }
    }
}

} // namespace
