// Statistics tasks in tests: the entries of a precision under one name, a task that deletes itself, a team, and the
// checks of statuses that all entries share.
#pragma once

#include "examples/team/team.h"
#include "tests/support/allocations.h"

#include "nvo_ark/statistics.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

namespace nvo::tests {

using Reals = testing::Types<float, double>;

template <class R> struct Stats;
#define NVO_STATS(t, real)                                                   \
    template <> struct Stats<real> {                                         \
        static constexpr auto new_task = __ost##t##SSNewTask;                \
        static constexpr auto edit = __ost##t##SSEditTask;                   \
        static constexpr auto basic = _ost##t##SSBasic;                      \
        static constexpr auto minmax = _ost##t##SSMinmax;                    \
        static constexpr auto mad = _ost##t##SSMAD;                          \
        static constexpr auto quantiles = _ost##t##SSQuantiles;              \
        static constexpr auto sort = _ost##t##SSSort;                        \
        static constexpr auto weighted_median = _ost##t##SSWMedian;          \
        static constexpr auto stream_quantiles = _ost##t##SSStreamQuantiles; \
        static constexpr auto quicksort = __ost##t##QSort;                   \
        static constexpr auto quicksort_step = __ost##t##QSortStep;          \
        static constexpr auto quickselect = __ost##t##QSortSelect;           \
        static constexpr auto quicksort_pairs = _v##t##SSQuickMapSort;       \
    };
NVO_STATS(s, float)
NVO_STATS(d, double)
#undef NVO_STATS

// A task with integers of type I: StatsTask<double, std::int64_t> task(p, n, storage, x).set(OST_STAT_PARAM_MEAN, m)
template <class R, class I = std::int32_t> class StatsTask {
public:
    StatsTask(std::int64_t p, std::int64_t n, I storage, const R* x, const std::vector<R>& w = {},
              const std::vector<I>& indices = {})
        : p_(static_cast<I>(p)), n_(static_cast<I>(n)), storage_(storage) {
        if (Stats<R>::new_task(&task_, &p_, &n_, &storage_, x, w.empty() ? nullptr : w.data(),
                               indices.empty() ? nullptr : indices.data(), sizeof(I) == 8) != OST_STAT_OK)
            throw std::runtime_error("a task can't be created");
    }
    StatsTask(const StatsTask&) = delete;
    StatsTask& operator=(const StatsTask&) = delete;
    ~StatsTask() { __ostSSDeleteTask(&task_); }

    StatsTask& set(std::int32_t code, const R* value) { return check(Stats<R>::edit(task_, code, value)); }
    StatsTask& set(std::int32_t code, const I* value) { return check(__ostiSSEditTask(task_, code, value)); }
    // The next portion.
    StatsTask& data(I n, const R* x) {
        n_ = n;
        return set(OST_STAT_PARAM_DATA, x);
    }
    OstSSTask* get() const { return task_; }

private:
    StatsTask& check(std::int32_t status) {
        if (status != OST_STAT_OK) throw std::runtime_error("a field can't be registered");
        return *this;
    }

    OstSSTask* task_ = nullptr;
    I p_, n_, storage_;
};

// A task that has nothing but a wrong dimension. A call on it has a status that stands for a field, until that field is
// registered, and then the next one.
class EmptyTask {
public:
    struct Mend {
        std::int32_t status, code;
        const void* value;
    };

    EmptyTask() {
        __ostdSSNewTask(&task_, &p_, nullptr, nullptr, nullptr, nullptr, nullptr, 0);
        p_ = 0;
    }
    EmptyTask(const EmptyTask&) = delete;
    EmptyTask& operator=(const EmptyTask&) = delete;
    ~EmptyTask() { __ostSSDeleteTask(&task_); }

    template <class Call> void expect(Call call, const std::vector<Mend>& mends) {
        for (const auto& [status, code, value] : mends) {
            EXPECT_EQ(status, call()) << code;
            set(code, value);
        }
    }
    // What calls on two variables with three observations look for first.
    template <class Call> void expect_data(Call call, const double* x, const std::int32_t* storage) {
        static constexpr std::int32_t zero = 0, two = 2, three = 3;
        expect(call, {{OST_STAT_ERR_DIMENSION, OST_STAT_PARAM_DIMENSION, &two},
                      {OST_STAT_ERR_OBSERVATIONS, OST_STAT_PARAM_OBSERVATIONS, &zero},
                      {OST_STAT_ERR_OBSERVATIONS, OST_STAT_PARAM_OBSERVATIONS, &three},
                      {OST_STAT_ERR_DATA, OST_STAT_PARAM_DATA, x},
                      {OST_STAT_ERR_MATRIX_STORAGE, OST_STAT_PARAM_DATA_STORAGE, storage}});
    }
    void set(std::int32_t code, const void* value) {
        if (__ostiSSEditTask(task_, code, value) == OST_STAT_ERR_CODE)
            __ostdSSEditTask(task_, code, static_cast<const double*>(value));
    }
    OstSSTask* get() const { return task_; }

private:
    std::int32_t p_ = 1;
    OstSSTask* task_ = nullptr;
};
inline constexpr std::int32_t no_storage = 0x8000, rows = OST_STAT_STORAGE_ROWS, cols = OST_STAT_STORAGE_COLS;

template <class Call> long fail_each_allocation(Call call) { return fail_each_allocation(OST_STAT_ERR_MEMORY, call); }

template <class R> bool same_bits(const std::vector<R>& a, const std::vector<R>& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), sizeof(R) * a.size()) == 0;
}

} // namespace nvo::tests
