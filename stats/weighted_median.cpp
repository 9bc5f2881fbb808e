// The weighted quantile of one order for each variable: where the weights of the sorted values, added up, reach their
// share of all weights.
#include "stats/quicksort.h"
#include "stats/variables.h"

#include <cstddef>
#include <cstdint>
#include <numeric>

namespace nvo::stats {

namespace {

// Weights are added up in double for both precisions: a float would take no more ones after 2^24 of them. Eight at a
// time, and what is left one by one.
template <class Weight> double sum_of(Weight w, std::int64_t n) {
    double sum = 0;
    std::int64_t i = 0;
    for (; i + 8 <= n; i += 8) {
        double group = 0;
        for (std::int64_t k = i; k < i + 8; ++k) group += w(k);
        sum += group;
    }
    for (; i < n; ++i) sum += w(i);
    return sum;
}

// Of ascending values with weights whose sum is `all`.
template <Real R> R weighted_quantile(const R* x, const R* w, std::int64_t n, double all, double order) {
    const double share = all * order;
    double sum = 0;                 // of the weights up to k
    std::int64_t k = 0, below = -1; // the last one before k with a weight above 0
    for (; k < n; ++k) {
        sum += w[k];
        if (sum >= share) break;
        if (w[k] > 0) below = k;
    }
    // The walk adds in another order than the sum of all did, and may so end short of an order close to 1; and with
    // weights that are NaN or negative.
    if (k == n) return x[below < 0 ? n - 1 : below];

    if (sum == share) {
        if (n % 2 != 0 || k == n - 1) return x[k];
        std::int64_t next = k + 1;
        while (next < n - 1 && !(w[next] > 0)) ++next;
        return std::midpoint(x[k], x[next]);
    }
    // Without a weight above 0 before k, the sum before it is not above 0, the sum with it not above w[k], as rounding
    // is monotonic, and the difference not above 0: there always is one below. (Infinite weights don't come here.)
    const double before = sum - w[k];
    if (!(before > 0)) return x[k];
    if ((n % 2 != 0 && before == (all - w[k]) * order) || x[k] == x[below]) return x[k];
    return (x[k] - x[below]) * static_cast<R>(share - before) / w[k] + x[below];
}

template <Real R> std::int32_t weighted_median(OstSSTask* handle) {
    if (const auto status = check_data<R>(handle); status != OST_STAT_OK) return status;
    const TaskRecord<R>& task = record_of<R>(handle);
    const std::int64_t p = *task.integers(task.dimension), n = *task.integers(task.observations);
    const std::int64_t storage = *task.integers(task.data_storage);
    if (!task.quantiles) return OST_STAT_ERR_QUANTILES;
    if (!task.quantile_orders) return OST_STAT_ERR_QUANTILE_ORDERS;
    const R order = task.quantile_orders[0];
    if (!(order >= 0 && order <= 1)) return OST_STAT_ERR_QUANTILE_COUNT;

    const Scratch<R> scratch(2 * static_cast<std::size_t>(n));
    if (!scratch) return OST_STAT_ERR_MEMORY;
    R *const values = scratch.get(), *const weights = values + n;
    const auto weight = [&task](std::int64_t i) { return task.weights ? task.weights[i] : R{1}; };
    const double all = sum_of(weight, n);
    const Matrix<R> data(task.data, p, n, storage);
    for (std::int64_t j = 0; j < p; ++j) {
        if (!task.selects(j)) continue;
        const Variable<R> x = data[j];
        for (std::int64_t i = 0; i < n; ++i) {
            values[i] = x[i];
            weights[i] = weight(i);
        }
        quicksort(Paired<R, ByTotalOrder>{values, weights}, n);
        task.quantiles[j] = weighted_quantile(values, weights, n, all, order);
    }
    return OST_STAT_OK;
}

} // namespace

} // namespace nvo::stats

using namespace nvo::stats;

std::int32_t _ostsSSWMedian(OstSSTask* task, std::uint64_t, std::uint32_t) { return weighted_median<float>(task); }
std::int32_t _ostdSSWMedian(OstSSTask* task, std::uint64_t, std::uint32_t) { return weighted_median<double>(task); }
