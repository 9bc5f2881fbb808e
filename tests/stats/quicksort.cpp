// The quicksort family: order, pairs, ranks, and that neither NaNs nor data made against it lead it astray.
#include "stats/quicksort.h"
#include "tests/stats/sorted_data.h"
#include "tests/support/guarded.h"

#include <cmath>
#include <numeric>

namespace {

using namespace nvo::tests;

template <class R> class Quicksort : public testing::Test {};
TYPED_TEST_SUITE(Quicksort, Reals);

TYPED_TEST(Quicksort, SortsAllKindsOfData) {
    using R = TypeParam;
    constexpr std::int64_t stride = 3;
    for (const Kind kind : all_kinds) {
        if (kind == Kind::special) continue; // NaNs
        const std::int64_t longest = kind == Kind::random ? 1100000 : 3000;
        for (std::int64_t n = 0; n < longest; n += n < 3000 ? 1 + n / 8 : 1000000) {
            const std::vector<R> x = make_data<R>(kind, static_cast<std::size_t>(n));
            std::vector<R> sorted = x, plain = x, spread(3 * x.size(), R{-99}), pairs = x, w(x.size());
            std::sort(sorted.begin(), sorted.end());

            Stats<R>::quicksort(n, plain.data());
            ASSERT_EQ(sorted, plain);
            for (std::int64_t i = 0; i < n; ++i) spread[stride * i] = x[i];
            Stats<R>::quicksort_step(n, spread.data(), stride);
            for (std::int64_t i = 0; i < stride * n; ++i)
                ASSERT_EQ(i % stride == 0 ? sorted[i / stride] : R{-99}, spread[i]);
            std::iota(w.begin(), w.end(), R{0});
            Stats<R>::quicksort_pairs(n, pairs.data(), w.data());
            ASSERT_EQ(sorted, pairs);
            for (std::int64_t i = 0; i < n; ++i) ASSERT_TRUE(same_bits(pairs[i], x[static_cast<std::size_t>(w[i])]));
            std::sort(w.begin(), w.end());
            for (std::int64_t i = 0; i < n; ++i) ASSERT_EQ(static_cast<R>(i), w[i]);
            for (std::int64_t k = 0; k < n; k += 1 + n / 7) {
                std::vector<R> part = x;
                const R found = Stats<R>::quickselect(n, part.data(), k);
                ASSERT_EQ(sorted[k], found);
                for (std::int64_t i = 0; i < n; ++i) ASSERT_TRUE(i < k ? part[i] <= found : part[i] >= found);
            }
        }
    }
}

TYPED_TEST(Quicksort, RefusesARankThatIsNone) {
    TypeParam x[] = {2, 1};
    for (const std::int64_t k : {-1, 2}) EXPECT_TRUE(std::isnan(Stats<TypeParam>::quickselect(2, x, k)));
    EXPECT_EQ(2, x[0]);
}

// All arrangements of NaNs and two numbers in short ranges, and random ones in long ranges, with pages on both sides
// that can't be touched. No element may be lost.
TYPED_TEST(Quicksort, StaysInsideItsPagesWithNaNs) {
    using R = TypeParam;
    const GuardedArray<R> pages(2048);
    const auto check = [](R* x, const std::vector<R>& before) {
        const auto n = static_cast<std::int64_t>(before.size());
        const auto keeps_elements = [&](auto sort) {
            std::copy(before.begin(), before.end(), x);
            sort();
            ASSERT_TRUE(same_bits(in_total_order(before), in_total_order(std::vector<R>(x, x + n))));
        };
        keeps_elements([=] { Stats<R>::quicksort(n, x); });
        for (std::int64_t k = 0; k < n; k += 1 + n / 3) keeps_elements([=] { Stats<R>::quickselect(n, x, k); });
        keeps_elements([=] { nvo::stats::heap_sort(nvo::stats::Dense<R>{x}, 0, n - 1); });
    };
    constexpr R values[] = {0, 1, std::numeric_limits<R>::quiet_NaN()};
    for (const std::size_t n : {3, 8, 9})
        for (R* const x : {pages.data(), pages.data() + pages.size() - n})
            for (int code = 0; code < std::pow(3, n) && !this->HasFailure(); ++code) {
                std::vector<R> arrangement;
                for (int rest = code; arrangement.size() < n; rest /= 3) arrangement.push_back(values[rest % 3]);
                check(x, arrangement);
            }
    for (unsigned seed = 0; seed < 20; ++seed) check(pages.data(), make_data<R>(Kind::special, pages.size(), seed));
}

// Keys that are made up while they are compared, so that each pivot turns out to be among the smallest, or the largest:
// D. McIlroy, A killer adversary for quicksort, Software 29 (1999), 341-344.
struct Adversary {
    static constexpr int gas = std::numeric_limits<int>::max(); // not decided yet
    static inline std::vector<int> values;
    static inline int solid, candidate;
    static inline long comparisons;
    static inline bool reversed;

    int index;

    static void start(int n, bool largest) {
        reversed = largest;
        values.assign(static_cast<std::size_t>(n), gas);
        solid = candidate = 0;
        comparisons = 0;
    }
    static int& value(Adversary a) { return values[static_cast<std::size_t>(a.index)]; }
    friend bool operator<(Adversary a, Adversary b) {
        ++comparisons;
        if (value(a) == gas && value(b) == gas) value(a.index == candidate ? a : b) = solid++;
        if (value(a) == gas) candidate = a.index;
        if (value(b) == gas) candidate = b.index;
        return reversed ? value(a) > value(b) : value(a) < value(b);
    }
    friend bool operator>(Adversary a, Adversary b) { return b < a; }
};

TEST(QuicksortAgainstAnAdversary, TurnsNeitherQuadraticNorDeep) {
    constexpr int n = 100000;
    std::vector<Adversary> x(n);
    const nvo::stats::Dense<Adversary> keys{x.data()};
    for (const bool whole : {true, false})
        for (const bool largest : {true, false}) {
            for (int i = 0; i < n; ++i) x[i].index = i;
            Adversary::start(n, largest);
            whole ? nvo::stats::quicksort(keys, n) : nvo::stats::quickselect(keys, n, n / 2);
            EXPECT_LT(Adversary::comparisons, 10L * n * 17);
            EXPECT_TRUE(!whole || std::is_sorted(x.begin(), x.end()));
        }
}

} // namespace
