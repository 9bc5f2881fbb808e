// Sorting a task's data: every way from rows and columns to rows and columns, and in place.
#include "stats/quicksort.h"
#include "tests/stats/sorted_data.h"

#include <cstdint>

namespace {

using namespace nvo::tests;

// A matrix with NaNs, from one storage to another, or in place.
template <class R, class I>
void check(std::int64_t p, std::int64_t n, I from, I to, bool in_place, bool some, const OstThreading* threading) {
    const std::vector<R> x = make_data<R>(Kind::special, static_cast<std::size_t>(p * n));
    std::vector<R> data = x, apart(x.size(), -99);
    std::vector<R>& out = in_place ? data : apart;
    const std::vector<I> selected = {1, 0, -1, 7, 0};
    StatsTask<R, I> task(static_cast<I>(p), static_cast<I>(n), from, data.data(), nullptr,
                         some ? selected.data() : nullptr);
    task.set(OST_STAT_PARAM_SORT_OUTPUT, out.data()).set(OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &to);
    ASSERT_EQ(OST_STAT_OK, Stats<R>::sort(task.get(), 0, OST_STAT_METHOD_RADIX_SORT, threading));
    for (std::int64_t j = 0; j < p; ++j) {
        const bool taken = !some || selected[static_cast<std::size_t>(j)] != 0;
        const std::vector<R> before = variable_of(x, j, p, n, from == OST_STAT_STORAGE_ROWS);
        ASSERT_TRUE(same_bits(taken ? in_total_order(before) : std::vector<R>(before.size(), -99),
                              variable_of(out, j, p, n, to == OST_STAT_STORAGE_ROWS)));
    }
}
template <class R, class I> void check_all_ways(const OstThreading* threading) {
    constexpr I storages[] = {OST_STAT_STORAGE_ROWS, OST_STAT_STORAGE_COLS};
    for (const I from : storages)
        for (const std::int64_t n : {1, 2, 9, 1000})
            for (const std::int64_t p : {1, 5}) {
                check<R, I>(p, n, from, from, true, false, threading);
                for (const I to : storages)
                    for (const bool some : {false, true}) check<R, I>(p, n, from, to, false, some, threading);
            }
}

TEST(SortOfThreads, GoesAllWays) {
    check_all_ways<float, std::int64_t>(nullptr);
    for (int threads = 1; threads <= 4; ++threads) {
        const Team team(threads);
        check_all_ways<float, std::int32_t>(Team::descriptor());
        check_all_ways<double, std::int64_t>(Team::descriptor());
    }
}

TEST(Sort, ChecksComeInOrder) {
    double x[] = {3, 1, 2, 6, 5, 4}, out[6] = {-99};
    const std::int32_t selected[] = {1, 1}, none = 1, rows = OST_STAT_STORAGE_ROWS, cols = OST_STAT_STORAGE_COLS;
    const std::int32_t p = 2, n = 3;
    OstSSTask* task = nullptr;
    ASSERT_EQ(OST_STAT_OK, __ostdSSNewTask(&task, &p, &n, nullptr, nullptr, nullptr, selected, 0));
    const auto call = [&](std::uint32_t method = ~std::uint32_t{OST_STAT_METHOD_RADIX_SORT}) {
        return _ostdSSSort(task, 0, method, nullptr);
    };
    expect_statuses(task, call,
                    {{OST_STAT_ERR_DATA, OST_STAT_PARAM_DATA, x},
                     {OST_STAT_ERR_MATRIX_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &none},
                     {OST_STAT_ERR_SORT_OUTPUT, OST_STAT_PARAM_SORT_OUTPUT, x},
                     {OST_STAT_ERR_MATRIX_STORAGE, OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &rows},
                     {OST_STAT_ERR_MATRIX_STORAGE, OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &cols},
                     {OST_STAT_ERR_SORT_INPLACE_INDICES, OST_STAT_PARAM_SORT_OUTPUT, out},
                     {OST_STAT_ERR_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &rows}});
    EXPECT_EQ(OST_STAT_ERR_METHOD, call());
    __ostiSSEditTask(task, OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &none);
    EXPECT_EQ(OST_STAT_ERR_STORAGE, call());
    EXPECT_EQ(3, x[0]);
    EXPECT_EQ(-99, out[0]);

    __ostiSSEditTask(task, OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &cols);
    EXPECT_EQ(2, fail_each_allocation([&] { return call(OST_STAT_METHOD_RADIX_SORT); }));
    EXPECT_EQ((std::vector<double>{1, 4, 2, 5, 3, 6}), std::vector<double>(out, out + 6));
    __ostSSDeleteTask(&task);
    EXPECT_EQ(OST_STAT_ERR_TASK, call());
}

// What the radix sort can't count is left to quicksort, in the same order.
TEST(Sort, QuicksortKnowsTheTotalOrder) {
    std::vector<double> x = make_data<double>(Kind::special, 5000);
    const std::vector<double> sorted = in_total_order(x);
    nvo::stats::quicksort(nvo::stats::Dense<double, nvo::stats::ByTotalOrder>{x.data()}, 5000);
    EXPECT_TRUE(same_bits(sorted, x));
}

} // namespace
