// Quantiles and order statistics of whole data: by sorting where the sorted data are asked for, else by selection.
//
// The quantile of order o of sorted x[0], ..., x[n - 1] is (x[k] - x[j]) (h - j) + x[j], with h = o (n - 1), j =
// trunc(h) and k = min(j + 1, n - 1): definition 7 of R. Hyndman, Y. Fan, Sample quantiles in statistical packages, The
// American Statistician 50 (1996), 361-365. Where it needs no interpolation, at h = j or between two equal numbers, it
// is x[j] itself, infinite or not.
#include "stats/select_ranks.h"
#include "stats/sorting.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nvo::stats {

namespace {

// Scratch of all threads together, unless a single one needs more.
constexpr std::int64_t scratch_limit = std::int64_t{1} << 30;

template <Real R> struct Orders {
    const R* first;
    std::int64_t count;
};

// Where the quantile of an order lies among n sorted numbers. In double for both precisions: a rank may need more than
// the 24 bits of a float, whose rounding would lead past the end.
struct Place {
    std::int64_t j, k;
    double fraction;

    Place(double order, std::int64_t n) {
        const double h = order * static_cast<double>(n - 1);
        j = static_cast<std::int64_t>(h);
        k = std::min(j + 1, n - 1);
        fraction = h - static_cast<double>(j);
    }
    template <Real R> R between(R xj, R xk) const {
        if (fraction == 0 || xj == xk) return xj;
        return (xk - xj) * static_cast<R>(fraction) + xj;
    }
};

template <Real R> std::int32_t check_orders(const TaskRecord<R>& task) {
    if (!task.quantiles) return OST_STAT_ERR_QUANTILES;
    if (!task.quantile_orders) return OST_STAT_ERR_QUANTILE_ORDERS;
    if (!task.quantile_order_count) return OST_STAT_ERR_QUANTILE_COUNT;
    const std::int64_t count = *task.integers(task.quantile_order_count);
    const auto is_order = [](R order) { return order >= 0 && order <= 1; };
    const bool all = count >= 0 && std::all_of(task.quantile_orders, task.quantile_orders + count, is_order);
    return all ? OST_STAT_OK : OST_STAT_ERR_QUANTILE_COUNT;
}

template <Real R> std::int32_t check_order_statistics(const TaskRecord<R>& task) {
    if (!task.order_statistics) return OST_STAT_ERR_ORDER_STATS;
    if (!task.order_statistics_storage) return OST_STAT_ERR_MATRIX_STORAGE;
    return is_storage(*task.integers(task.order_statistics_storage)) ? OST_STAT_OK : OST_STAT_ERR_STORAGE;
}

// Order statistics, and quantiles from them if there are orders.
template <Real R>
std::int32_t by_sorting(const TaskRecord<R>& task, const Matrix<R>& data, const Matrix<R>& sorted, std::int64_t n,
                        const SelectedVariables& variables, Orders<R> orders, const Team& team) {
    const std::int64_t rows = scratch_rows(sorted);
    const std::int64_t threads = threads_for<R>(team, variables.count(), rows, n, scratch_limit);
    const Scratch<R> scratch = scratch_for<R>(threads, rows, n);
    if (!scratch) return OST_STAT_ERR_MEMORY;

    auto body = [&](std::int64_t item, std::int64_t thread) {
        const std::int64_t j = variables[item];
        const Variable<R> x = sorted[j];
        sort_variable(data[j], x, n, scratch.get() + thread * rows * n);
        for (std::int64_t i = 0; i < orders.count; ++i) {
            const Place place(orders.first[i], n);
            task.quantiles[j * orders.count + i] = place.between(x[place.j], x[place.k]);
        }
    };
    team.run_for(variables.count(), threads, body);
    return OST_STAT_OK;
}

// Keys instead of numbers, for a selection without branches, in the order that sorted data have.
template <Real R>
std::int32_t by_selection(const TaskRecord<R>& task, const Matrix<R>& data, std::int64_t n,
                          const SelectedVariables& variables, Orders<R> orders, const Team& team) {
    const std::int64_t threads = threads_for<R>(team, variables.count(), 1, n, scratch_limit);
    const Scratch<OrderKey<R>> scratch = scratch_for<OrderKey<R>>(threads, 1, n);
    const Scratch<std::int64_t> ranks(2 * static_cast<std::size_t>(orders.count));
    if (!scratch || !ranks) return OST_STAT_ERR_MEMORY;
    std::int64_t* end = ranks.get();
    for (std::int64_t i = 0; i < orders.count; ++i) {
        const Place place(orders.first[i], n);
        *end++ = place.j;
        *end++ = place.k;
    }
    quicksort(Dense<std::int64_t>{ranks.get()}, end - ranks.get());

    auto body = [&](std::int64_t item, std::int64_t thread) {
        const std::int64_t j = variables[item];
        const Variable<R> x = data[j];
        OrderKey<R>* const keys = scratch.get() + thread * n;
        for (std::int64_t i = 0; i < n; ++i) keys[i] = order_key(x[i]);
        RankSelector<OrderKey<R>>::run(keys, n, ranks.get(), end);
        for (std::int64_t i = 0; i < orders.count; ++i) {
            const Place place(orders.first[i], n);
            task.quantiles[j * orders.count + i] =
                place.between(value_of_key<R>(keys[place.j]), value_of_key<R>(keys[place.k]));
        }
    };
    team.run_for(variables.count(), threads, body);
    return OST_STAT_OK;
}

template <Real R>
std::int32_t quantiles(OstSSTask* handle, std::uint64_t estimates, std::uint32_t method,
                       const OstThreading* threading) {
    if (const auto status = check_data<R>(handle); status != OST_STAT_OK) return status;
    const TaskRecord<R>& task = record_of<R>(handle);
    const std::int64_t p = *task.integers(task.dimension), n = *task.integers(task.observations);
    const std::int64_t storage = *task.integers(task.data_storage);
    const bool has_orders = (estimates & OST_STAT_EST_QUANTILES) != 0;
    const bool has_statistics = (estimates & OST_STAT_EST_ORDER_STATS) != 0;
    if (const auto status = has_orders ? check_orders(task) : OST_STAT_OK; status != OST_STAT_OK) return status;
    if (const auto status = has_statistics ? check_order_statistics(task) : OST_STAT_OK; status != OST_STAT_OK)
        return status;
    if ((method & OST_STAT_METHOD_FAST) == 0) return OST_STAT_ERR_METHOD;

    const SelectedVariables variables(task, p);
    if (!variables) return OST_STAT_ERR_MEMORY;
    const Team team(threading);
    const Matrix<R> data(task.data, p, n, storage);
    const Orders<R> orders{task.quantile_orders, has_orders ? *task.integers(task.quantile_order_count) : 0};
    if (variables.count() == 0) return OST_STAT_OK;
    if (has_statistics) {
        const Matrix<R> sorted(task.order_statistics, p, n, *task.integers(task.order_statistics_storage));
        return by_sorting(task, data, sorted, n, variables, orders, team);
    }
    return orders.count == 0 ? OST_STAT_OK : by_selection(task, data, n, variables, orders, team);
}

} // namespace

} // namespace nvo::stats

using namespace nvo::stats;

std::int32_t _ostsSSQuantiles(OstSSTask* task, std::uint64_t estimates, std::uint32_t method,
                              const OstThreading* threading) {
    return quantiles<float>(task, estimates, method, threading);
}
std::int32_t _ostdSSQuantiles(OstSSTask* task, std::uint64_t estimates, std::uint32_t method,
                              const OstThreading* threading) {
    return quantiles<double>(task, estimates, method, threading);
}
