// Creating, editing and deleting a task. All of editing is one table: a field, its type, its place and the status of a
// null value.
#include "stats/task.h"

#include "platform/core.h"
#include "support/scratch.h"

#include <cstring>
#include <initializer_list>
#include <utility>

namespace nvo::stats {

namespace {

constexpr std::int32_t task_kind = 2;

enum class Type { none, integer, real };

struct Field {
    Type type;
    std::size_t offset;
    std::int32_t status_of_null;
};

// By code.
constexpr auto fields = [] {
    struct Fields {
        Field at[OST_STAT_PARAM_END];
    } table{};
#define FIELD_OWN(type, name)
#define FIELD_INTEGER(name, NAME, code, status) \
    table.at[code] = {Type::integer, offsetof(TaskRecord<double>, name), status};
#define FIELD_REAL(name, NAME, code, status) table.at[code] = {Type::real, offsetof(TaskRecord<double>, name), status};
#include "nvo_ark/statistics_fields.def"
    return table;
}();

void store(OstSSTask* task, std::size_t offset, const void* value) {
    std::memcpy(reinterpret_cast<std::byte*>(task) + offset, &value, sizeof value);
}

std::int32_t edit(OstSSTask* task, Type type, std::int32_t code, const void* value) {
    if (!task) return OST_STAT_ERR_TASK;
    if (code < 0 || code >= OST_STAT_PARAM_END) return OST_STAT_ERR_CODE;
    const Field& field = fields.at[code];
    if (field.type != type) return OST_STAT_ERR_CODE;
    if (!value) return field.status_of_null;
    store(task, field.offset, value);
    return OST_STAT_OK;
}

std::int32_t edit_group(OstSSTask* task, std::initializer_list<std::pair<std::size_t, const void*>> group) {
    if (!task) return OST_STAT_ERR_TASK;
    for (const auto& [offset, value] : group)
        if (value) store(task, offset, value);
    return OST_STAT_OK;
}

// The status of x and what belongs to it.
std::int32_t check_data(Integers n, Integers x_storage) {
    if (!x_storage) return OST_STAT_ERR_MATRIX_STORAGE;
    if (*x_storage != OST_STAT_STORAGE_ROWS && *x_storage != OST_STAT_STORAGE_COLS) return OST_STAT_ERR_STORAGE;
    if (!n || *n < 1) return OST_STAT_ERR_OBSERVATIONS;
    return OST_STAT_OK;
}

template <Real R>
std::int32_t create(OstSSTask** task, const void* p, const void* n, const void* x_storage, const R* x, const R* w,
                    const void* indices, std::int32_t index_width) {
    const bool wide = index_width != 0;
    if (const Integers dimension(p, wide); !dimension || *dimension < 1) return OST_STAT_ERR_DIMENSION;
    if (x) {
        if (const auto status = check_data({n, wide}, {x_storage, wide}); status != OST_STAT_OK) return status;
    }
    auto* record = static_cast<TaskRecord<R>*>(nvo_serv_allocate(sizeof(TaskRecord<R>), block_alignment));
    if (!record) return OST_STAT_ERR_MEMORY;
    *record = {};
    record->index_width = index_width;
    record->task_kind = task_kind;
    record->precision = sizeof(R) == sizeof(double);
    record->dimension = p;
    record->observations = n;
    record->data = const_cast<R*>(x); // read only, unless it is also registered as an output
    record->data_storage = x_storage;
    record->weights = const_cast<R*>(w);
    record->indices = indices;
    *task = handle_of(*record);
    return OST_STAT_OK;
}

} // namespace

} // namespace nvo::stats

using namespace nvo::stats;

std::int32_t __ostsSSNewTask(OstSSTask** task, const void* p, const void* n, const void* x_storage, const float* x,
                             const float* w, const void* indices, std::int32_t index_width) {
    return create(task, p, n, x_storage, x, w, indices, index_width);
}
std::int32_t __ostdSSNewTask(OstSSTask** task, const void* p, const void* n, const void* x_storage, const double* x,
                             const double* w, const void* indices, std::int32_t index_width) {
    return create(task, p, n, x_storage, x, w, indices, index_width);
}

std::int32_t __ostSSDeleteTask(OstSSTask** task_address) {
    if (!task_address || !*task_address) return OST_STAT_ERR_TASK;
    auto& record = record_of<double>(*task_address);
    nvo_serv_deallocate(std::exchange(record.saved_mean, nullptr));
    for (; record.cleanup_count > 0; --record.cleanup_count) record.cleanup(*task_address);
    nvo_serv_deallocate(*task_address);
    *task_address = nullptr;
    return OST_STAT_OK;
}

std::int32_t __ostiSSEditTask(OstSSTask* task, std::int32_t code, const void* value) {
    return edit(task, Type::integer, code, value);
}
std::int32_t __ostsSSEditTask(OstSSTask* task, std::int32_t code, const float* value) {
    return edit(task, Type::real, code, value);
}
std::int32_t __ostdSSEditTask(OstSSTask* task, std::int32_t code, const double* value) {
    return edit(task, Type::real, code, value);
}

// A grouped editor: its arguments are called as their fields.
#define NVO_ARGUMENT(field) \
    { offsetof(TaskRecord<double>, field), field }
#define NVO_GROUPED_EDITORS(t, real)                                                                                   \
    std::int32_t __ost##t##SSEditMoments(OstSSTask* task, real* mean, real* raw_moment_2, real* raw_moment_3,          \
                                         real* raw_moment_4, real* central_moment_2, real* central_moment_3,           \
                                         real* central_moment_4) {                                                     \
        return edit_group(task, {NVO_ARGUMENT(mean), NVO_ARGUMENT(raw_moment_2), NVO_ARGUMENT(raw_moment_3),           \
                                 NVO_ARGUMENT(raw_moment_4), NVO_ARGUMENT(central_moment_2),                           \
                                 NVO_ARGUMENT(central_moment_3), NVO_ARGUMENT(central_moment_4)});                     \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditSums(OstSSTask* task, real* sum, real* raw_sum_2, real* raw_sum_3, real* raw_sum_4,   \
                                      real* central_sum_2, real* central_sum_3, real* central_sum_4) {                 \
        return edit_group(task, {NVO_ARGUMENT(sum), NVO_ARGUMENT(raw_sum_2), NVO_ARGUMENT(raw_sum_3),                  \
                                 NVO_ARGUMENT(raw_sum_4), NVO_ARGUMENT(central_sum_2), NVO_ARGUMENT(central_sum_3),    \
                                 NVO_ARGUMENT(central_sum_4)});                                                        \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditCovCor(OstSSTask* task, real* mean, real* cov, const void* cov_storage, real* cor,    \
                                        const void* cor_storage) {                                                     \
        return edit_group(task, {NVO_ARGUMENT(mean), NVO_ARGUMENT(cov), NVO_ARGUMENT(cov_storage), NVO_ARGUMENT(cor),  \
                                 NVO_ARGUMENT(cor_storage)});                                                          \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditCP(OstSSTask* task, real* mean, real* sum, real* cross_product,                       \
                                    const void* cross_product_storage) {                                               \
        return edit_group(task, {NVO_ARGUMENT(mean), NVO_ARGUMENT(sum), NVO_ARGUMENT(cross_product),                   \
                                 NVO_ARGUMENT(cross_product_storage)});                                                \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditPartialCovCor(OstSSTask* task, const void* partial_indices, real* cov,                \
                                               const void* cov_storage, real* cor, const void* cor_storage,            \
                                               real* partial_cov, const void* partial_cov_storage, real* partial_cor,  \
                                               const void* partial_cor_storage) {                                      \
        return edit_group(task, {NVO_ARGUMENT(partial_indices), NVO_ARGUMENT(cov), NVO_ARGUMENT(cov_storage),          \
                                 NVO_ARGUMENT(cor), NVO_ARGUMENT(cor_storage), NVO_ARGUMENT(partial_cov),              \
                                 NVO_ARGUMENT(partial_cov_storage), NVO_ARGUMENT(partial_cor),                         \
                                 NVO_ARGUMENT(partial_cor_storage)});                                                  \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditQuantiles(OstSSTask* task, const void* quantile_order_count,                          \
                                           const real* quantile_orders, real* quantiles, real* order_statistics,       \
                                           const void* order_statistics_storage) {                                     \
        return edit_group(task,                                                                                        \
                          {NVO_ARGUMENT(quantile_order_count), NVO_ARGUMENT(quantile_orders), NVO_ARGUMENT(quantiles), \
                           NVO_ARGUMENT(order_statistics), NVO_ARGUMENT(order_statistics_storage)});                   \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditStreamQuantiles(OstSSTask* task, const void* stream_order_count,                      \
                                                 const real* stream_orders, real* stream_quantiles,                    \
                                                 const void* stream_param_count, const real* stream_params) {          \
        return edit_group(task, {NVO_ARGUMENT(stream_order_count), NVO_ARGUMENT(stream_orders),                        \
                                 NVO_ARGUMENT(stream_quantiles), NVO_ARGUMENT(stream_param_count),                     \
                                 NVO_ARGUMENT(stream_params)});                                                        \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditPooledCovariance(OstSSTask* task, const void* group_indices, real* pooled_mean,       \
                                                  real* pooled_cov, const void* group_output_mask, real* group_means,  \
                                                  real* group_cov) {                                                   \
        return edit_group(task,                                                                                        \
                          {NVO_ARGUMENT(group_indices), NVO_ARGUMENT(pooled_mean), NVO_ARGUMENT(pooled_cov),           \
                           NVO_ARGUMENT(group_output_mask), NVO_ARGUMENT(group_means), NVO_ARGUMENT(group_cov)});      \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditRCov(OstSSTask* task, const void* robust_cov_storage, const void* robust_param_count, \
                                      const real* robust_params, real* robust_cov, real* robust_mean) {                \
        return edit_group(task, {NVO_ARGUMENT(robust_cov_storage), NVO_ARGUMENT(robust_param_count),                   \
                                 NVO_ARGUMENT(robust_params), NVO_ARGUMENT(robust_cov), NVO_ARGUMENT(robust_mean)});   \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditOutDetect(OstSSTask* task, const void* outlier_param_count,                           \
                                           const real* outlier_params, real* outlier_weights) {                        \
        return edit_group(                                                                                             \
            task, {NVO_ARGUMENT(outlier_param_count), NVO_ARGUMENT(outlier_params), NVO_ARGUMENT(outlier_weights)});   \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditMissingVals(                                                                          \
        OstSSTask* task, const void* mi_param_count, const real* mi_params, const void* mi_init_count,                 \
        const real* mi_init_estimates, const void* mi_prior_count, const real* mi_prior,                               \
        const void* mi_simulated_count, real* mi_simulated, const void* mi_estimates_count, real* mi_estimates) {      \
        return edit_group(task, {NVO_ARGUMENT(mi_param_count), NVO_ARGUMENT(mi_params), NVO_ARGUMENT(mi_init_count),   \
                                 NVO_ARGUMENT(mi_init_estimates), NVO_ARGUMENT(mi_prior_count),                        \
                                 NVO_ARGUMENT(mi_prior), NVO_ARGUMENT(mi_simulated_count), NVO_ARGUMENT(mi_simulated), \
                                 NVO_ARGUMENT(mi_estimates_count), NVO_ARGUMENT(mi_estimates)});                       \
    }                                                                                                                  \
    std::int32_t __ost##t##SSEditMtxParametrz(OstSSTask* task, const real* cor, const void* cor_storage,               \
                                              real* param_matrix, const void* param_matrix_storage) {                  \
        return edit_group(task, {NVO_ARGUMENT(cor), NVO_ARGUMENT(cor_storage), NVO_ARGUMENT(param_matrix),             \
                                 NVO_ARGUMENT(param_matrix_storage)});                                                 \
    }

NVO_GROUPED_EDITORS(s, float)
NVO_GROUPED_EDITORS(d, double)
