// Akima's, Bessel's, Hyman's and Hermite's cubic splines.
#include "tests/fitting/construction.h"

namespace {

using namespace nvo::tests;

template <class R> class LocalCubics : public testing::Test {
public:
    const std::vector<Kind<R>> kinds = kinds_that<R>([](const auto& kind) { return kind.is_local(); });
};
TYPED_TEST_SUITE(LocalCubics, Precisions);

// ---- an independent model ------------------------------------------------------------------------------------------

// All of a function at once, number by number, in the precision and in the order of the told formulas: the bits must be
// the same. The right end is the left one seen in a mirror.
template <class R> class Model {
public:
    Model(const Problem<R>& p, std::int64_t i)
        : p_(p), even_(p.x.hint == DF_GRID_EVEN), n_(p.x.nx()), y_(p.y[i]), inverse_(1 / R(p.x.width(0))), s_(n_) {
        for (std::int64_t j = 0; j < n_ - 1; ++j) {
            h_.push_back(even_ ? R(p.x.width(0)) : p.x.gap(j));
            d_.push_back(over(y_[j + 1] - y_[j], j));
        }
        for (std::int64_t j = 1; j < n_ - 1; ++j) s_[j] = inner(j);
        s_[0] = end(false, DF_BC_LEFT_1ST, DF_BC_LEFT_2ND);
        s_[n_ - 1] = end(true, DF_BC_RIGHT_1ST, DF_BC_RIGHT_2ND);
    }
    void append_cells(std::vector<R>& all) const {
        for (std::int64_t j = 0; j < n_ - 1; ++j) {
            const R square = even_ ? inverse_ * inverse_ : h_[j] * h_[j], c3 = s_[j] + s_[j + 1] - 2 * d_[j];
            all.insert(all.end(),
                       {y_[j], s_[j], over(3 * d_[j] - s_[j + 1] - 2 * s_[j], j), even_ ? c3 * square : c3 / square});
        }
    }

private:
    R over(R a, std::int64_t j) const { return even_ ? a * inverse_ : a / h_[j]; }
    R w(std::int64_t k) const { return std::abs(d_[k + 1] - d_[k]); }
    R akima(R w1, R d0, R w0, R d1) const {
        const R sum = w1 + w0;
        return double(sum) < (sizeof(R) == 4 ? 1e-6 : 1e-10) ? (d0 + d1) / 2 : (w1 * d0 + w0 * d1) / sum;
    }
    R inner(std::int64_t i) const {
        if (p_.kind.type == DF_TYPE_HERMITE) return p_.ic[i - 1];
        if (p_.kind.type == DF_TYPE_AKIMA)
            return akima(w(std::min(i, n_ - 3)), d_[i - 1], w(std::max<std::int64_t>(i - 2, 0)), d_[i]);
        const R b = even_ ? (y_[i + 1] - y_[i - 1]) * R(0.5) * inverse_
                          : (h_[i] * d_[i - 1] + h_[i - 1] * d_[i]) / (p_.x.at[i + 1] - p_.x.at[i - 1]);
        if (p_.kind.type == DF_TYPE_BESSEL) return b;
        if (!(d_[i - 1] > 0 && d_[i] > 0) && !(d_[i - 1] < 0 && d_[i] < 0)) return 0; // the product may underflow
        return std::copysign(std::min(std::abs(b), 3 * std::min(std::abs(d_[i - 1]), std::abs(d_[i]))), b);
    }
    R end(bool right, std::uint64_t first, std::uint64_t second) const {
        const auto y = [=, this](std::int64_t k) { return y_[right ? n_ - 1 - k : k]; };
        const auto h = [=, this](std::int64_t k) { return h_[right ? n_ - 2 - k : k]; };
        const auto d = [=, this](std::int64_t k) { return d_[right ? n_ - 2 - k : k]; };
        const R s1 = s_[right ? n_ - 2 : 1], turn = right ? -1 : 1;
        if (p_.bc_type == DF_BC_PERIODIC) {
            const R far_h = h(n_ - 2), far_d = d(n_ - 2), far_rise = turn * (y(n_ - 1) - y(n_ - 2));
            if (p_.kind.type == DF_TYPE_HERMITE) return p_.bc[0];
            if (p_.kind.type == DF_TYPE_AKIMA)
                return akima(std::abs(far_d - d(n_ - 3)), d(0), std::abs(d(1) - d(0)), far_d);
            if (even_) return inverse_ * R(0.5) * ((y_[1] + y_[n_ - 1]) - (y_[0] + y_[n_ - 2]));
            return (far_h * d(0) + far_rise * h(0) / far_h) / (h(0) + far_h);
        }
        if (p_.bc_type & first) return p_.bc[right];
        if (p_.bc_type == DF_BC_NOT_A_KNOT) {
            if (even_) return inverse_ * R(0.5) * (turn * (-5 * y(0) + 4 * y(1) + y(2))) - 2 * s1;
            const R c = right ? p_.x.at[n_ - 1] - p_.x.at[n_ - 3] : p_.x.at[2] - p_.x.at[0];
            return (((2 * c + h(0)) * h(1) * d(0) + h(0) * h(0) * d(1)) / c - c * s1) / h(1);
        }
        if (p_.bc_type == DF_BC_NOT_SET) return (3 * d(0) - d(1)) / 2;
        return R(1.5) * d(0) - R(0.5) * s1 - (p_.bc_type & second ? turn * R(0.25) * h(0) * p_.bc[right] : 0);
    }

    const Problem<R>& p_;
    bool even_;
    std::int64_t n_;
    const std::vector<R>& y_;
    R inverse_;
    std::vector<R> s_, h_, d_;
};

// Random data, and data in steps with flat stretches and turns: weights that vanish, slopes that are cut off.
TYPED_TEST(LocalCubics, AreTheirFormulas) {
    using R = TypeParam;
    std::mt19937 random(1);
    std::uniform_int_distribution<int> digit(0, 2);
    for (const auto& kind : this->kinds) {
        for (const std::uint64_t bc_type : kind.conditions()) {
            for (const Shape shape : shapes) {
                for (const std::int64_t nx : {0, 4, 5, 6, 7, 8, 9, 254, 255, 256, 257, 258, 259, 260, 261, 4103}) {
                    const auto x = partition<R>(shape, std::max(nx, kind.least_nx), random);
                    auto y = random_functions<R>(5, x.nx(), random);
                    for (R& v : y[1]) v = R(digit(random));
                    for (R& v : y[2]) v *= R(1e-25); // products of differences underflow in floats
                    for (R& v : y[3]) v = R(digit(random)) * R(sizeof(R) == 4 ? 1e-8 : 1e-12);
                    const Problem<R> p(kind, x, Problem<R>::closed(y, bc_type), bc_type, {R(0.3), R(-7)},
                                       kind.ic(x, random));
                    ASSERT_EQ(DF_ST_OK, p.construct());
                    std::vector<R> expected;
                    for (std::int64_t i = 0; i < p.ny(); ++i) Model<R>(p, i).append_cells(expected);
                    ASSERT_EQ(expected, p.all_cells()) << kind.name << " " << bc_type << " " << x.nx();
                }
            }
        }
    }
}

// ---- teams ---------------------------------------------------------------------------------------------------------

template <class R> class LocalCubicsOfThreads : public LocalCubics<R> {};
TYPED_TEST_SUITE(LocalCubicsOfThreads, Precisions);

// Both sides of the threshold, and the ends of blocks: the same bits, and the work is divided as told.
TYPED_TEST(LocalCubicsOfThreads, GiveTheSameBits) {
    using R = TypeParam;
    struct Case {
        std::int64_t nx, ny, akima, others; // work items
    };
    constexpr Case cases[] = {{511, 1, 0, 0},  {73, 7, 0, 0},   {5, 103, 26, 26}, {64, 8, 2, 2},
                              {52, 10, 3, 3},  {2050, 4, 1, 1}, {2051, 5, 2, 2},  {2052, 1, 1, 2},
                              {2053, 1, 1, 2}, {2054, 9, 6, 6}, {4101, 1, 2, 3},  {10000, 3, 5, 5}};
    std::mt19937 random(5);
    for (const auto& kind : this->kinds) {
        for (const Case& c : cases) {
            SCOPED_TRACE(kind.name + std::string(" ") + std::to_string(c.nx));
            Problem<R> p(kind, partition<R>(Shape::random, c.nx, random), c.ny, 24, random);
            ASSERT_EQ(DF_ST_OK, p.construct());
            const auto expected = p.all_cells();
            for (const int threads : {1, 2, 3, 5}) {
                const Team team(threads);
                p.wipe();
                ASSERT_EQ(DF_ST_OK, p.construct(Team::descriptor()));
                ASSERT_EQ(expected, p.all_cells()) << threads;
            }
            RecordedTeam::runs.clear();
            p.wipe();
            ASSERT_EQ(DF_ST_OK, p.construct(&RecordedTeam::descriptor));
            ASSERT_EQ(expected, p.all_cells());
            const std::int64_t items = kind.type == DF_TYPE_AKIMA ? c.akima : c.others;
            std::vector<RecordedTeam::Run> runs;
            if (items > 1) runs = {{items, std::min<std::int64_t>(items, 3)}}; // one item needs no team
            EXPECT_EQ(RecordedTeam::runs, runs);
        }
    }
}

} // namespace
