// Weighted medians against a model in integers.
#include "tests/stats/sorted_data.h"

#include <cstdint>
#include <numeric>

namespace {

using namespace nvo::tests;

// The values are 0, 1, 2, ... in this order; weights w/1, the order q/64. Where weights are powers of two, all is
// exact.
double quantile_of_ranks(const std::vector<int>& w, int q) {
    const std::size_t n = w.size();
    const int all = std::accumulate(w.begin(), w.end(), 0), share = all * q; // share and the sums below are in 64ths
    std::size_t k = 0;
    int sum = 0;
    while ((sum += 64 * w[k]) < share) ++k;
    const int before = sum - 64 * w[k];
    if (sum == share && n % 2 == 0 && k < n - 1) {
        std::size_t next = k + 1;
        while (next < n - 1 && w[next] == 0) ++next;
        return static_cast<double>(k + next) / 2;
    }
    const auto place = static_cast<double>(k);
    if (sum == share || before == 0 || (n % 2 != 0 && before == (all - w[k]) * q)) return place;
    std::size_t below = k - 1;
    while (w[below] == 0) --below;
    const auto gap = static_cast<double>(k - below);
    return place - gap + gap * ((share - before) / 64.0) / w[k];
}

template <class R, class I> void check_random_cases() {
    std::mt19937 random(1);
    for (int run = 0; run < 20000; ++run) {
        const std::size_t n = 1 + random() % 9, p = 1 + random() % 3;
        const bool in_rows = random() % 2 != 0, weighted = random() % 8 != 0;
        std::vector<int> ranks(n), w(n);
        std::iota(ranks.begin(), ranks.end(), 0);
        std::vector<R> x(p * n), weights(n), out(p + 1, -99);
        const std::size_t left_out = random() % 4;
        std::vector<I> selected(p, 3);
        if (left_out < p) selected[left_out] = 0;
        constexpr int kinds[] = {0, 0, 1, 1, 1, 2, 4, 16};
        for (std::size_t i = 0; i < n; ++i) weights[i] = static_cast<R>(w[i] = weighted ? kinds[random() % 8] : 1);
        if (!weighted) weights.clear();
        std::vector<double> want(p + 1, -99);
        const int q = random() % 3 == 0 ? 32 : static_cast<int>(random() % 65);
        for (std::size_t j = 0; j < p; ++j) {
            std::shuffle(ranks.begin(), ranks.end(), random);
            std::vector<int> by_rank(n);
            for (std::size_t i = 0; i < n; ++i) {
                x[in_rows ? j * n + i : i * p + j] = static_cast<R>(ranks[i]);
                by_rank[static_cast<std::size_t>(ranks[i])] = w[i];
            }
            if (selected[j] != 0) want[j] = quantile_of_ranks(by_rank, q);
        }
        const R order = static_cast<R>(q) / 64;
        StatsTask<R, I> task(p, n, in_rows ? rows : cols, x.data(), weights, selected);
        task.set(OST_STAT_PARAM_QUANTILES, out.data()).set(OST_STAT_PARAM_QUANTILE_ORDERS, &order);
        ASSERT_EQ(OST_STAT_OK, Stats<R>::weighted_median(task.get(), 0, 0));
        ASSERT_EQ(want, std::vector<double>(out.begin(), out.end())) << testing::PrintToString(w) << ' ' << q;
    }
}

TEST(WeightedMedian, IsThatOfAModelInIntegers) {
    check_random_cases<float, std::int32_t>();
    check_random_cases<double, std::int64_t>();
}

template <class R> R median(const std::vector<R>& x, const std::vector<R>& w, R order) {
    R result = -99;
    StatsTask<R> task(1, static_cast<std::int64_t>(x.size()), rows, x.data(), w);
    task.set(OST_STAT_PARAM_QUANTILES, &result).set(OST_STAT_PARAM_QUANTILE_ORDERS, &order);
    EXPECT_EQ(OST_STAT_OK, Stats<R>::weighted_median(task.get(), 0, 0));
    return result;
}

// The sum of all weights rounds otherwise than the walk's: an order of 1 may never be reached, or passed by.
TEST(WeightedMedian, WeightsThatRoundEndAtTheLargest) {
    std::mt19937 random(1);
    for (int run = 0; run < 200; ++run) {
        std::vector<double> x = make_data<double>(Kind::random, 100, random()), w(100);
        for (double& weight : w) weight = std::ldexp(static_cast<double>(random()), -30);
        EXPECT_NEAR(*std::max_element(x.begin(), x.end()), median(x, w, 1.0), 1e-12);
    }
    const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
    EXPECT_EQ(8, median<double>({9, 7, 8}, {0, nan, 1}, 0.5));
    EXPECT_EQ(9, median<double>({9, 7, 8}, {-1, -1, -1}, 0.1));
    EXPECT_EQ(8, median<double>({9, 7, 8}, {1, 1, inf}, 0.5));
    EXPECT_EQ(inf, median<double>({inf, inf, inf}, {1, 1, 3}, 0.5));
    EXPECT_EQ(-inf, median<double>({-inf, -inf, -inf, 0}, {1, 2, 1, 1}, 0.5));
    EXPECT_EQ(8, median<double>({nan, 7, 9, -nan, 8}, {1, 1, 1, 1, 1}, 0.5));
    EXPECT_EQ(1.75e308, median<double>({1.7e308, 1.79e308, 0, 1.71e308}, {1, 1, 1, 1}, 0.75));
}

// A float takes no more ones after 2^24.
TEST(WeightedMedian, AddsUpFloatsInDouble) {
    std::vector<float> x(101), w(101, 1);
    std::iota(x.begin(), x.end(), 0.0F);
    w[0] = 1 << 24;
    EXPECT_NEAR(36, median(x, w, 1 - 0x1p-18F), 1e-3); // of 2^24 + 100: 2^24 + 36, almost
}

TEST(WeightedMedian, ChecksComeInOrder) {
    const double x[] = {3, 1, 2, 6, 5, 4}, order = 0.5, above = 1.5;
    std::vector<double> medians(2, -99);
    EmptyTask task;
    const auto call = [&] { return _ostdSSWMedian(task.get(), 0, 0); };
    task.expect_data(call, x, &no_storage);
    task.expect(call, {{OST_STAT_ERR_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &rows},
                       {OST_STAT_ERR_QUANTILES, OST_STAT_PARAM_QUANTILES, medians.data()},
                       {OST_STAT_ERR_QUANTILE_ORDERS, OST_STAT_PARAM_QUANTILE_ORDERS, &above},
                       {OST_STAT_ERR_QUANTILE_COUNT, OST_STAT_PARAM_QUANTILE_ORDERS, &order}});
    EXPECT_EQ(std::vector<double>(2, -99), medians);
    EXPECT_EQ(1, fail_each_allocation(call));
    EXPECT_EQ((std::vector<double>{2, 5}), medians);
    EXPECT_EQ(OST_STAT_ERR_TASK, _ostdSSWMedian(nullptr, 0, 0));
}

} // namespace
