// Statistics tasks in tests: the entries of a precision under one name, a task that deletes itself, and a team.
#pragma once

#include "examples/team/team.h"

#include "nvo_ark/statistics.h"

#include <cstdint>
#include <stdexcept>

namespace nvo::tests {

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
    };
NVO_STATS(s, float)
NVO_STATS(d, double)
#undef NVO_STATS

// A task with integers of type I: StatsTask<double, std::int64_t> task(p, n, storage, x).set(OST_STAT_PARAM_MEAN, m)
template <class R, class I = std::int32_t> class StatsTask {
public:
    StatsTask(I p, I n, I storage, const R* x, const R* w = nullptr, const I* indices = nullptr)
        : p_(p), n_(n), storage_(storage) {
        if (Stats<R>::new_task(&task_, &p_, &n_, &storage_, x, w, indices, sizeof(I) == 8) != OST_STAT_OK)
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

} // namespace nvo::tests
