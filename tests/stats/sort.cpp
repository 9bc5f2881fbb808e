// Sorting a task's data: every way from rows and columns to rows and columns, and in place.
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
    const std::vector<I> selected = some ? std::vector<I>{1, 0, -1, 7, 0} : std::vector<I>{};
    StatsTask<R, I> task(p, n, from, data.data(), {}, selected);
    task.set(OST_STAT_PARAM_SORT_OUTPUT, out.data()).set(OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &to);
    ASSERT_EQ(OST_STAT_OK, Stats<R>::sort(task.get(), 0, OST_STAT_METHOD_RADIX_SORT, threading));
    for (std::int64_t j = 0; j < p; ++j) {
        const bool taken = !some || selected[j] != 0;
        const std::vector<R> before = variable_of(x, j, p, n, from == rows);
        ASSERT_TRUE(same_bits(taken ? in_total_order(before) : std::vector<R>(before.size(), -99),
                              variable_of(out, j, p, n, to == rows)));
    }
}
template <class R, class I> void check_all_ways(const OstThreading* threading) {
    for (const I from : {rows, cols})
        for (const std::int64_t n : {1, 2, 9, 99, 1000}) // by quicksort, and by radix sort
            for (const std::int64_t p : {1, 5}) {
                check<R, I>(p, n, from, from, true, false, threading);
                for (const I to : {rows, cols})
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
    std::vector<double> x = {3, 1, 2, 6, 5, 4}, out(6, -99);
    const std::int32_t selected[] = {1, 1};
    EmptyTask task;
    task.set(OST_STAT_PARAM_INDICES, selected);
    const auto call = [&](std::uint32_t method = ~std::uint32_t{OST_STAT_METHOD_RADIX_SORT}) {
        return _ostdSSSort(task.get(), 0, method, nullptr);
    };
    task.expect_data(call, x.data(), &no_storage);
    task.expect(call, {{OST_STAT_ERR_SORT_OUTPUT, OST_STAT_PARAM_SORT_OUTPUT, x.data()},
                       {OST_STAT_ERR_MATRIX_STORAGE, OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &rows},
                       {OST_STAT_ERR_MATRIX_STORAGE, OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &cols},
                       {OST_STAT_ERR_SORT_INPLACE_INDICES, OST_STAT_PARAM_SORT_OUTPUT, out.data()},
                       {OST_STAT_ERR_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &rows},
                       {OST_STAT_ERR_METHOD, OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &no_storage},
                       {OST_STAT_ERR_STORAGE, OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &cols}});
    EXPECT_EQ(3, x[0]);
    EXPECT_EQ(std::vector<double>(6, -99), out);
    EXPECT_EQ(2, fail_each_allocation([&] { return call(OST_STAT_METHOD_RADIX_SORT); }));
    EXPECT_EQ((std::vector<double>{1, 4, 2, 5, 3, 6}), out);
    EXPECT_EQ(OST_STAT_ERR_TASK, _ostdSSSort(nullptr, 0, 0, nullptr));
}

} // namespace
