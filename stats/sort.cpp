// The observations of each variable, sorted.
#include "stats/sorting.h"

#include <cstddef>
#include <cstdint>

namespace nvo::stats {

namespace {

constexpr int log2_scratch_a_thread = 30; // bytes, unless a single one needs more

template <Real R>
std::int32_t sort(OstSSTask* handle, std::uint64_t, std::uint32_t method, const OstThreading* threading) {
    if (const auto status = check_observations<R>(handle); status != OST_STAT_OK) return status;
    const TaskRecord<R>& task = record_of<R>(handle);
    const std::int64_t p = *task.integers(task.dimension), n = *task.integers(task.observations);
    const std::int64_t from = *task.integers(task.data_storage);
    if (!task.sort_output) return OST_STAT_ERR_SORT_OUTPUT;
    if (!task.sort_output_storage) return OST_STAT_ERR_MATRIX_STORAGE;
    const std::int64_t to = *task.integers(task.sort_output_storage);
    if (task.sort_output == task.data) {
        if (is_rows(from) != is_rows(to)) return OST_STAT_ERR_MATRIX_STORAGE;
        if (task.indices) return OST_STAT_ERR_SORT_INPLACE_INDICES;
    }
    if (!is_storage(from) || !is_storage(to)) return OST_STAT_ERR_STORAGE;
    if ((method & OST_STAT_METHOD_RADIX_SORT) == 0) return OST_STAT_ERR_METHOD;

    const SelectedVariables variables(task, p);
    if (!variables) return OST_STAT_ERR_MEMORY;
    if (variables.count() == 0) return OST_STAT_OK;
    const Team team(threading);
    const Matrix<R> data(task.data, p, n, from), sorted(task.sort_output, p, n, to);
    const std::int64_t rows = scratch_rows(sorted);
    const std::int64_t threads =
        threads_for<R>(team, variables.count(), rows, n, team.max_threads() << log2_scratch_a_thread);
    const Scratch<R> scratch = scratch_for<R>(threads, rows, n);
    if (!scratch) return OST_STAT_ERR_MEMORY;

    auto body = [&](std::int64_t item, std::int64_t thread) {
        const std::int64_t j = variables[item];
        sort_variable(data[j], sorted[j], n, scratch.get() + thread * rows * n);
    };
    team.run_for(variables.count(), threads, body);
    return OST_STAT_OK;
}

} // namespace

} // namespace nvo::stats

using namespace nvo::stats;

std::int32_t _ostsSSSort(OstSSTask* task, std::uint64_t estimates, std::uint32_t method,
                         const OstThreading* threading) {
    return sort<float>(task, estimates, method, threading);
}
std::int32_t _ostdSSSort(OstSSTask* task, std::uint64_t estimates, std::uint32_t method,
                         const OstThreading* threading) {
    return sort<double>(task, estimates, method, threading);
}
