// Median and mean absolute deviation: the median of |x - median|, the mean of |x - mean|, variable by variable on the
// team. Medians and means are those of the library's own entries, on a task of one variable.
#include "stats/variables.h"

#include <cmath>
#include <cstdint>

namespace nvo::stats {

namespace {

constexpr auto quantiles_of(const TaskRecord<float>&) { return _ostsSSQuantiles; }
constexpr auto quantiles_of(const TaskRecord<double>&) { return _ostdSSQuantiles; }
constexpr auto moments_of(const TaskRecord<float>&) { return _ostsSSBasic; }
constexpr auto moments_of(const TaskRecord<double>&) { return _ostdSSBasic; }

// A task of n numbers in a row.
template <Real R> class OneVariable {
public:
    OneVariable(R* x, R* weights, std::int64_t n) : n_(n) {
        task_.index_width = 1;
        task_.dimension = &one_;
        task_.observations = &n_;
        task_.data_storage = &rows_;
        task_.data = x;
        task_.weights = weights;
        task_.quantile_order_count = &one_;
        task_.quantile_orders = &half_;
    }
    OneVariable(const OneVariable&) = delete;
    OneVariable& operator=(const OneVariable&) = delete;

    std::int32_t median(R* result, const OstThreading* threading) {
        task_.quantiles = result;
        return quantiles_of(task_)(handle_of(task_), OST_STAT_EST_QUANTILES, OST_STAT_METHOD_FAST, threading);
    }
    std::int32_t mean(R* result, const OstThreading* threading) {
        task_.mean = result;
        return moments_of(task_)(handle_of(task_), OST_STAT_EST_RAW1, OST_STAT_METHOD_FAST, threading);
    }

private:
    TaskRecord<R> task_{};
    std::int64_t one_ = 1, n_, rows_ = OST_STAT_STORAGE_ROWS;
    R half_ = R{0.5};
};

template <Real R> struct Request {
    const TaskRecord<R>& task;
    std::int64_t n;
    bool median, mean, mean_is_given;
    const OstThreading* threading;
};

// The deviations of x from a centre, as a task's numbers.
template <Real R> void put_deviations(R* deviations, Variable<R> x, std::int64_t n, R centre) {
    for (std::int64_t i = 0; i < n; ++i) deviations[i] = std::fabs(x[i] - centre);
}

// A row is looked at where it lies, a column in a copy.
template <Real R> R* numbers_of(Variable<R> x, std::int64_t n, R* scratch) {
    if (x.is_dense()) return x.first;
    for (std::int64_t i = 0; i < n; ++i) scratch[i] = x[i];
    return scratch;
}

template <Real R> std::int32_t median_deviation(const Request<R>& request, Variable<R> x, R* scratch, R* result) {
    R median = 0;
    OneVariable<R> numbers(numbers_of(x, request.n, scratch), nullptr, request.n);
    if (const auto status = numbers.median(&median, request.threading); status != OST_STAT_OK) return status;
    put_deviations(scratch, x, request.n, median);
    return OneVariable<R>(scratch, nullptr, request.n).median(result, request.threading);
}

template <Real R>
std::int32_t mean_deviation(const Request<R>& request, Variable<R> x, const R* given_mean, R* scratch, R* result) {
    R* const weights = request.task.weights;
    R mean = 0;
    if (given_mean) {
        mean = *given_mean;
    } else {
        OneVariable<R> numbers(numbers_of(x, request.n, scratch), weights, request.n);
        if (const auto status = numbers.mean(&mean, request.threading); status != OST_STAT_OK) return status;
    }
    put_deviations(scratch, x, request.n, mean);
    return OneVariable<R>(scratch, weights, request.n).mean(result, request.threading);
}

// A method that suits one of the estimates is no method for both, but what is missing for the mean form comes first.
template <Real R> std::int32_t check(const Request<R>& request, std::uint32_t method) {
    std::int32_t status = OST_STAT_OK;
    if (request.median) {
        if (!request.task.median_abs_deviation) return OST_STAT_ERR_MEDIAN_AD;
        if (!(method & OST_STAT_METHOD_FAST)) status = OST_STAT_ERR_METHOD;
    }
    if (request.mean) {
        if (!request.task.mean_abs_deviation) return OST_STAT_ERR_MEAN_AD;
        if (!(method & (OST_STAT_METHOD_FAST | OST_STAT_METHOD_TWO_PASS))) return OST_STAT_ERR_METHOD;
        if (request.mean_is_given && !request.task.mean) return OST_STAT_ERR_MEAN;
    }
    return status;
}

template <Real R>
std::int32_t absolute_deviations(OstSSTask* handle, std::uint64_t estimates, std::uint32_t method,
                                 const OstThreading* threading) {
    if (const auto status = check_data<R>(handle); status != OST_STAT_OK) return status;
    const TaskRecord<R>& task = record_of<R>(handle);
    const std::int64_t p = *task.integers(task.dimension), n = *task.integers(task.observations);
    const std::int64_t storage = *task.integers(task.data_storage);
    const Request<R> request{task,
                             n,
                             (estimates & OST_STAT_EST_MEDIAN_AD) != 0,
                             (estimates & OST_STAT_EST_MEAN_AD) != 0,
                             (method & OST_STAT_METHOD_TWO_PASS) != 0,
                             threading};
    if (const auto status = check(request, method); status != OST_STAT_OK) return status;

    const Team team(threading);
    const std::int64_t threads = std::min(team.max_threads(), p);
    const Scratch<R> scratch = scratch_for<R>(threads, 1, n);
    if (!scratch) return OST_STAT_ERR_MEMORY;
    const Matrix<R> data(task.data, p, n, storage);
    TeamStatus status;
    auto body = [&](std::int64_t j, std::int64_t thread) {
        if (!task.selects(j)) return;
        R* const own = scratch.get() + thread * n;
        if (request.median) status.report(median_deviation(request, data[j], own, task.median_abs_deviation + j));
        if (request.mean) {
            const R* const given_mean = request.mean_is_given ? task.mean + j : nullptr;
            status.report(mean_deviation(request, data[j], given_mean, own, task.mean_abs_deviation + j));
        }
    };
    team.run_for(p, threads, body);
    return status.get();
}

} // namespace

} // namespace nvo::stats

std::int32_t _ostsSSMAD(OstSSTask* task, std::uint64_t estimates, std::uint32_t method, const OstThreading* threading) {
    return nvo::stats::absolute_deviations<float>(task, estimates, method, threading);
}
std::int32_t _ostdSSMAD(OstSSTask* task, std::uint64_t estimates, std::uint32_t method, const OstThreading* threading) {
    return nvo::stats::absolute_deviations<double>(task, estimates, method, threading);
}
