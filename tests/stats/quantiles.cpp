// Quantiles and order statistics against a model that sorts by totalOrder and interpolates.
#include "tests/stats/sorted_data.h"

#include <cmath>
#include <cstdint>

namespace {

using namespace nvo::tests;

constexpr std::uint64_t of_orders = OST_STAT_EST_QUANTILES, of_ranks = OST_STAT_EST_ORDER_STATS;

template <class R> R quantile_of(const std::vector<R>& sorted, R order) {
    const double h = double{order} * static_cast<double>(sorted.size() - 1);
    const auto j = static_cast<std::size_t>(h);
    const R part = static_cast<R>(h - static_cast<double>(j)), a = sorted[j];
    if (part == 0 || sorted[j + 1] == a) return a;
    return (sorted[j + 1] - a) * part + a;
}

// A case: data and what a call makes of them.
template <class R, class I = std::int32_t> struct Request {
    std::int64_t p, n;
    std::vector<R> x, orders;
    std::uint64_t estimates = of_orders;
    I storage = OST_STAT_STORAGE_COLS, sorted_storage = OST_STAT_STORAGE_ROWS;
    std::vector<I> selected = {};

    std::vector<R> quantiles = {}, sorted = {};

    std::int32_t operator()(const OstThreading* threading = nullptr) {
        StatsTask<R, I> task(p, n, storage, x.data(), {}, selected);
        const I count = static_cast<I>(orders.size());
        quantiles.assign(static_cast<std::size_t>(p) * orders.size() + 1, -99);
        sorted.assign(x.size(), -99);
        task.set(OST_STAT_PARAM_QUANTILE_ORDER_COUNT, &count).set(OST_STAT_PARAM_QUANTILE_ORDERS, orders.data());
        task.set(OST_STAT_PARAM_QUANTILES, quantiles.data()).set(OST_STAT_PARAM_ORDER_STATISTICS, sorted.data());
        task.set(OST_STAT_PARAM_ORDER_STATISTICS_STORAGE, &sorted_storage);
        return Stats<R>::quantiles(task.get(), estimates, OST_STAT_METHOD_FAST, threading);
    }

    void check() const {
        const bool rows = storage == OST_STAT_STORAGE_ROWS, sorted_rows = sorted_storage == OST_STAT_STORAGE_ROWS;
        const std::vector<R> untouched(static_cast<std::size_t>(n), -99);
        for (std::int64_t j = 0; j < p; ++j) {
            const bool selects = selected.empty() || selected[j] != 0;
            const std::vector<R> model = in_total_order(variable_of(x, j, p, n, rows));
            ASSERT_TRUE(same_bits(selects && (estimates & of_ranks) ? model : untouched,
                                  variable_of(sorted, j, p, n, sorted_rows)));
            for (std::size_t o = 0; o < orders.size(); ++o) {
                const R got = quantiles[j * orders.size() + o];
                const R want = selects && (estimates & of_orders) ? quantile_of(model, orders[o]) : R{-99};
                ASSERT_TRUE(same_bits(want, got)) << j << ' ' << orders[o] << ": " << got << ", not " << want;
            }
        }
        ASSERT_EQ(-99, quantiles.back());
    }
};

template <class R, class I>
void check_random_requests(const std::vector<std::int64_t>& counts, const OstThreading* threading) {
    unsigned seed = 0;
    for (const Kind kind : all_kinds)
        for (const std::int64_t n : counts)
            for (const std::uint64_t estimates : {of_orders, of_ranks, of_orders | of_ranks}) {
                std::mt19937 random(++seed);
                const auto storage = [&]() -> I { return random() % 2 ? rows : cols; };
                const std::int64_t p = 1 + random() % 6;
                std::vector<R> orders = {1, 0, R(0.5), R(0.25), R(0.95), R(0.05), R(0.5)};
                for (int i = 0; i < 10; ++i) orders.push_back(static_cast<R>(random() % 1000) / 999);
                orders.resize(1 + random() % orders.size());
                std::vector<I> selected(random() % 2 ? static_cast<std::size_t>(p) : 0);
                for (I& s : selected) s = static_cast<I>(random() % 3 * 5);
                const auto x = make_data<R>(kind, static_cast<std::size_t>(p * n), seed);
                Request<R, I> request{p, n, x, orders, estimates, storage(), storage(), selected};
                ASSERT_EQ(OST_STAT_OK, request(threading));
                request.check();
                if (testing::Test::HasFatalFailure()) return;
            }
}

template <class R> class Quantiles : public testing::Test {};
TYPED_TEST_SUITE(Quantiles, Reals);

TYPED_TEST(Quantiles, AreThoseOfSortedData) {
    check_random_requests<TypeParam, std::int64_t>({1, 2, 3, 32, 33, 100, 1001, 5000, 60000}, nullptr);
    check_random_requests<TypeParam, std::int32_t>({1001}, nullptr);
}

// Many orders at once, and numbers of all sizes: halving the span of the keys gets nowhere fast here.
TYPED_TEST(Quantiles, OfManyOrdersAndWideData) {
    using R = TypeParam;
    Request<R> request{1, 20000, {}, {}};
    std::mt19937 random(1);
    for (int i = 0; i < 20000; ++i) {
        request.x.push_back(std::ldexp(R{1}, -static_cast<int>(std::min(random() % 4096, random() % 120))));
        request.orders.push_back(static_cast<R>(random() % 20000) / 19999);
    }
    ASSERT_EQ(OST_STAT_OK, request());
    request.check();
}

TEST(QuantilesOfThreads, AreTheSameForEveryTeam) {
    for (int threads = 1; threads <= 4; ++threads) {
        const Team team(threads);
        check_random_requests<double, std::int32_t>({2000}, Team::descriptor());
    }
}

TEST(QuantilesOfData, InterpolateBetweenNeighbours) {
    const double inf = std::numeric_limits<double>::infinity();
    Request<double> request{1, 4, {4, 1, 10, 2}, {0, 0.25, 0.5, 1}};
    ASSERT_EQ(OST_STAT_OK, request());
    EXPECT_EQ((std::vector<double>{1, 1.75, 3, 10, -99}), request.quantiles);
    // No difference of infinities, and none times 0.
    request = {1, 5, {inf, -inf, 2, inf, -inf}, {0, 0.2, 0.5, 0.875, 1}};
    ASSERT_EQ(OST_STAT_OK, request());
    EXPECT_EQ((std::vector<double>{-inf, -inf, 2, inf, inf, -99}), request.quantiles);
}

// n - 1 has no float, and its neighbour is above it.
TEST(QuantilesOfData, RanksDontRoundInSinglePrecision) {
    constexpr std::int32_t n = (1 << 24) + 4;
    Request<float> request{1, n, std::vector<float>(n), {0.5F, 1}};
    std::fill(request.x.begin(), request.x.begin() + n / 2, -1);
    request.x.back() = 7;
    ASSERT_EQ(OST_STAT_OK, request());
    EXPECT_EQ((std::vector<float>{-0.5F, 7, -99}), request.quantiles);
}

TEST(QuantilesOfData, ChecksComeInOrder) {
    const double x[] = {3, 1, 2, 6, 5, 4}, orders[] = {0.5, -0.1}, above[] = {0.5, 1.1}, nan[] = {0.5, -NAN};
    const std::int32_t zero = 0, one = 1, two = 2, minus = -1, nobody[] = {0, 0}, all[] = {1, 1};
    std::vector<double> quantiles = {-99, -99, -99}, sorted(6, -99);
    EmptyTask task;
    const auto call = [&](std::uint32_t method = ~1U, std::uint64_t estimates = of_orders | of_ranks) {
        return _ostdSSQuantiles(task.get(), estimates, method, nullptr);
    };
    task.expect_data(call, x, &no_storage);
    task.expect(call, {{OST_STAT_ERR_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &cols},
                       {OST_STAT_ERR_QUANTILES, OST_STAT_PARAM_QUANTILES, quantiles.data()},
                       {OST_STAT_ERR_QUANTILE_ORDERS, OST_STAT_PARAM_QUANTILE_ORDERS, orders},
                       {OST_STAT_ERR_QUANTILE_COUNT, OST_STAT_PARAM_QUANTILE_ORDER_COUNT, &minus},
                       {OST_STAT_ERR_QUANTILE_COUNT, OST_STAT_PARAM_QUANTILE_ORDER_COUNT, &two},
                       {OST_STAT_ERR_QUANTILE_COUNT, OST_STAT_PARAM_QUANTILE_ORDERS, above},
                       {OST_STAT_ERR_QUANTILE_COUNT, OST_STAT_PARAM_QUANTILE_ORDERS, nan},
                       {OST_STAT_ERR_QUANTILE_COUNT, OST_STAT_PARAM_QUANTILE_ORDER_COUNT, &one},
                       {OST_STAT_ERR_ORDER_STATS, OST_STAT_PARAM_ORDER_STATISTICS, sorted.data()},
                       {OST_STAT_ERR_MATRIX_STORAGE, OST_STAT_PARAM_ORDER_STATISTICS_STORAGE, &no_storage},
                       {OST_STAT_ERR_STORAGE, OST_STAT_PARAM_ORDER_STATISTICS_STORAGE, &cols}});
    EXPECT_EQ(OST_STAT_ERR_METHOD, call());
    EXPECT_EQ(OST_STAT_ERR_TASK, _ostdSSQuantiles(nullptr, of_orders, 1, nullptr));
    // Without orders, there is nothing to do, nor without a variable.
    task.set(OST_STAT_PARAM_QUANTILE_ORDER_COUNT, &zero);
    EXPECT_EQ(OST_STAT_OK, call(1, of_orders));
    task.set(OST_STAT_PARAM_QUANTILE_ORDER_COUNT, &one);
    task.set(OST_STAT_PARAM_INDICES, nobody);
    EXPECT_EQ(OST_STAT_OK, call(1));
    EXPECT_EQ(std::vector<double>(3, -99), quantiles);
    EXPECT_EQ(std::vector<double>(6, -99), sorted);

    task.set(OST_STAT_PARAM_INDICES, all);
    EXPECT_EQ(3, fail_each_allocation([&] { return call(1, of_orders); }));
    EXPECT_EQ(2, fail_each_allocation([&] { return call(1); }));
    EXPECT_EQ((std::vector<double>{3, 4, -99}), quantiles);
    EXPECT_EQ((std::vector<double>{2, 1, 3, 4, 5, 6}), sorted);
}

} // namespace
