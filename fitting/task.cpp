// Creating, editing, querying and deleting a data fitting task.
#include "fitting/task.h"

#include "platform/core.h"
#include "support/scratch.h"

#include <cstring>
#include <limits>
#include <new>
#include <utility>

namespace nvo::fitting {

namespace {

constexpr std::int64_t least_breakpoints = 2;
constexpr std::uint8_t format_byte = 4;

constexpr bool is_grid_hint(std::uint64_t hint) { return hint <= DF_GRID_EVEN && hint != 3; }

// ---- pointer arrays ------------------------------------------------------------------------------------------------

// An array of `count` null pointers, or null without memory.
template <class P> P** new_pointer_array(std::int64_t count) {
    constexpr auto most = (std::numeric_limits<std::int64_t>::max() - pointer_array_head) / sizeof(P*);
    if (count < 0 || static_cast<std::uint64_t>(count) > most) return nullptr;
    void* block = nvo_serv_allocate(pointer_array_head + static_cast<std::size_t>(count) * sizeof(P*), block_alignment);
    if (!block) return nullptr;
    *static_cast<std::int64_t*>(block) = count;
    auto* array = reinterpret_cast<P**>(static_cast<std::byte*>(block) + pointer_array_head);
    std::fill_n(array, count, nullptr);
    return array;
}

void delete_pointer_array(void* array) {
    if (array) nvo_serv_deallocate(static_cast<std::byte*>(array) - pointer_array_head);
}

// Puts a new array in place of the old one: entry i is first + i * stride, or entry 0 alone is set.
template <class P>
std::int32_t renew_pointer_array(P**& array, std::int64_t count, P* first, std::int64_t stride, bool only_first) {
    delete_pointer_array(std::exchange(array, nullptr));
    std::int64_t elements = 0; // more than memory can hold would overflow the addresses below
    if (__builtin_mul_overflow(count, stride, &elements) || elements > std::numeric_limits<std::int64_t>::max() / 8)
        return DF_ST_NO_MEMORY;
    array = new_pointer_array<P>(count);
    if (!array) return DF_ST_NO_MEMORY;
    for (std::int64_t i = 0; i < (only_first ? 1 : count); ++i) array[i] = first + i * stride;
    return DF_ST_OK;
}

template <Real R> std::int32_t renew_values(TaskRecord<R>& task, const R* y) {
    if (task.ny < 1) return DF_ST_BAD_NY;
    return renew_pointer_array(task.y, task.by_columns() ? 1 : task.ny, y, task.nx, task.y_hint == DF_Y_SEPARATE);
}

template <Real R> std::int32_t renew_coefficients(TaskRecord<R>& task, R* coeff, std::uint64_t hint) {
    if (task.ny < 1) return DF_ST_BAD_NY;
    const std::int64_t cells = task.s_type == DF_TYPE_SUBBOTIN ? task.nx : task.nx - 1;
    std::int64_t stride = 0;
    if (__builtin_mul_overflow(cells, task.s_order, &stride)) return DF_ST_NO_MEMORY;
    return renew_pointer_array(task.coeff, task.ny, coeff, stride, (hint & DF_Y_SEPARATE) != 0);
}

// ---- the locator table ---------------------------------------------------------------------------------------------

// Of a breakpoint. A partition that doesn't ascend, or whose ends are equal, may put it anywhere: it is kept between
// the first bucket and the pair behind the last, and a NaN is taken for the first.
template <Real R> std::uint64_t bucket_of(R x, const TaskRecord<R>& task) {
    const R place = (x - task.x[0]) * task.bucket_scale;
    if (!(place > 0)) return 0;
    return place < static_cast<R>(task.bucket_count) ? static_cast<std::uint64_t>(place) : task.bucket_count;
}

template <Real R> std::int32_t renew_bucket_table(TaskRecord<R>& task) {
    constexpr std::uint64_t fewest = 16, most = 1024, unset = ~std::uint64_t{0};
    nvo_serv_deallocate(std::exchange(task.bucket_table, nullptr));
    task.bucket_count = 0;
    const auto nx = static_cast<std::uint64_t>(task.nx);
    const std::uint64_t count = std::clamp(nx / 16, fewest, most);
    Scratch<BucketRange> table(count + 2);
    if (!table) return DF_ST_NO_MEMORY;
    std::fill_n(table.get(), count + 2, BucketRange{unset, unset});
    task.bucket_count = count;
    task.bucket_scale = static_cast<R>(count) / (task.x[nx - 1] - task.x[0]);

    table[0].low = 0;
    for (std::uint64_t k = 1; k < nx; ++k) {
        const std::uint64_t b = bucket_of(task.x[k], task);
        if (b == 0) continue;
        if (table[b - 1].high == unset) table[b - 1].high = k;
        table[b + 1].low = k;
    }
    table[count - 1].high = nx - 1;
    for (std::uint64_t i = 1; i < count; ++i) {
        if (table[i].low == unset) table[i].low = table[i - 1].low;
        if (table[count - 1 - i].high == unset) table[count - 1 - i].high = table[count - i].high;
    }
    table[count] = table[count - 1];
    task.bucket_table = table.release();
    return DF_ST_OK;
}

// ---- creation ------------------------------------------------------------------------------------------------------

template <Real R>
std::int32_t check_creation(std::int64_t nx, const R* x, std::uint64_t x_hint, std::int64_t ny, const R* y,
                            std::uint64_t y_hint) {
    if (nx < least_breakpoints) return DF_ST_BAD_NX;
    if (!x) return DF_ST_BAD_X;
    if (!is_grid_hint(x_hint)) return DF_ST_BAD_X_HINT;
    if (ny <= 0 && y) return DF_ST_BAD_NY;
    if (ny != 0 && !y) return DF_ST_BAD_Y;
    if (!is_storage_hint(y_hint)) return DF_ST_BAD_Y_HINT;
    return DF_ST_OK;
}

template <Real R>
std::int32_t create(DFTask1D** task_out, std::int64_t nx, const R* x, std::uint64_t x_hint, std::int64_t ny, const R* y,
                    std::uint64_t y_hint, std::uint32_t cell_wide) {
    if (const auto status = check_creation(nx, x, x_hint, ny, y, y_hint); status != DF_ST_OK) return status;
    Scratch<TaskRecord<R>> block(1);
    if (!block) return DF_ST_NO_MEMORY;
    TaskRecord<R>& task = *new (block.get()) TaskRecord<R>{};
    *task_out = reinterpret_cast<DFTask1D*>(block.release());
    task.nx = nx;
    task.x = x;
    task.x_hint = x_hint;
    task.ny = ny;
    task.y_hint = y_hint;
    if (y) {
        if (const auto status = renew_values(task, y); status != DF_ST_OK) return status;
    }
    task.cell_wide = cell_wide;
    task.format_byte = format_byte;
    task.precision = sizeof(R) == sizeof(double);
    task.editable = 1;
    return x_hint == DF_GRID_EVEN ? DF_ST_OK : renew_bucket_table(task);
}

// ---- editing -------------------------------------------------------------------------------------------------------

template <Real R> std::int32_t edit_pointer(DFTask1D* handle, std::int64_t attribute, const R* pointer) {
    if (!handle) return DF_ST_NO_TASK;
    auto& task = record_of<R>(handle);
    if (task.editable != 1) return DF_ST_OK;
    switch (attribute) {
    case DF_ATTR_X:
        if (!pointer) return DF_ST_BAD_X;
        task.x = pointer;
        return DF_ST_OK;
    case DF_ATTR_Y: return pointer ? renew_values(task, pointer) : DF_ST_BAD_Y;
    case DF_ATTR_IC:
        if (!pointer) return DF_ST_BAD_IC;
        task.ic = pointer;
        return DF_ST_OK;
    case DF_ATTR_BC:
        if (!pointer) return DF_ST_BAD_BC;
        task.bc = pointer;
        return DF_ST_OK;
    case DF_ATTR_COEFF:
        return pointer ? renew_coefficients(task, const_cast<R*>(pointer), task.coeff_hint) : DF_ST_BAD_COEFF;
    default: return DF_ST_BAD_ATTRIBUTE;
    }
}

// Room for an entry: in an array that was made when there were fewer functions there may be none.
bool has_room(const void* array, std::int64_t index) { return index < pointer_array_length(array); }

template <Real R>
std::int32_t edit_entry(DFTask1D* handle, std::int64_t attribute, std::int64_t index, const R* pointer) {
    if (!handle) return DF_ST_NO_TASK;
    auto& task = record_of<R>(handle);
    if (task.editable != 1) return DF_ST_OK;
    const bool in_range = index >= 0 && index < task.ny;
    switch (attribute) {
    case DF_ATTR_Y:
        if (task.by_columns()) return DF_ST_BAD_Y_HINT;
        if (!in_range) return DF_ST_BAD_INDEX;
        if (!pointer || !task.y) return DF_ST_BAD_Y;
        if (!has_room(task.y, index)) return DF_ST_BAD_INDEX;
        task.y[index] = pointer;
        return DF_ST_OK;
    case DF_ATTR_COEFF:
        if (!in_range) return DF_ST_BAD_INDEX;
        if (!pointer || !task.coeff) return DF_ST_BAD_COEFF;
        if (!has_room(task.coeff, index)) return DF_ST_BAD_INDEX;
        task.coeff[index] = const_cast<R*>(pointer);
        return DF_ST_OK;
    default: return DF_ST_BAD_ATTRIBUTE;
    }
}

template <Real R>
std::int32_t edit_spline(DFTask1D* handle, std::int64_t s_order, std::int64_t s_type, std::uint64_t bc_type,
                         const R* bc, std::uint64_t ic_type, const R* ic, R* coeff, std::uint64_t coeff_hint) {
    if (!handle) return DF_ST_NO_TASK;
    auto& task = record_of<R>(handle);
    if (s_order < 0) return DF_ST_BAD_ORDER;
    if (s_type < 0) return DF_ST_BAD_TYPE;
    task.s_order = s_order;
    task.s_type = s_type;
    if (!bc && bc_type > DF_BC_FREE_END && bc_type != DF_BC_PERIODIC) return DF_ST_BAD_BC;
    task.bc_type = bc_type;
    task.bc = bc;
    if (ic_type != 0 && !ic) return DF_ST_BAD_IC;
    if (ic_type == 0 && ic) return DF_ST_BAD_IC_TYPE;
    task.ic_type = ic_type;
    task.ic = ic;
    if (coeff) {
        if (const auto status = renew_coefficients(task, coeff, coeff_hint); status != DF_ST_OK) return status;
    }
    task.coeff_hint = coeff_hint;
    return DF_ST_OK;
}

// ---- queries -------------------------------------------------------------------------------------------------------

template <Real R> std::int32_t query_pointer(DFTask1D* handle, std::int64_t attribute, const R** out) {
    if (!handle) return DF_ST_NO_TASK;
    if (!out) return DF_ST_NO_OUTPUT;
    const auto& task = record_of<R>(handle);
    if (task.editable != 1) return DF_ST_OK;
    switch (attribute) {
    case DF_ATTR_X: *out = task.x; return DF_ST_OK;
    case DF_ATTR_Y:
        if (!has_room(task.y, 0)) return DF_ST_BAD_Y;
        *out = task.y[0];
        return DF_ST_OK;
    case DF_ATTR_IC: *out = task.ic; return DF_ST_OK;
    case DF_ATTR_BC: *out = task.bc; return DF_ST_OK;
    case DF_ATTR_COEFF:
        if (!has_room(task.coeff, 0)) return DF_ST_BAD_COEFF;
        *out = task.coeff[0];
        return DF_ST_OK;
    default: return DF_ST_BAD_ATTRIBUTE;
    }
}

template <Real R>
std::int32_t query_entry(DFTask1D* handle, std::int64_t attribute, std::int64_t index, const R** out) {
    if (!handle) return DF_ST_NO_TASK;
    if (!out) return DF_ST_NO_OUTPUT;
    const auto& task = record_of<R>(handle);
    if (index < 0 || index >= task.ny) return DF_ST_BAD_INDEX;
    if (task.editable != 1) return DF_ST_OK;
    switch (attribute) {
    case DF_ATTR_Y:
        if (task.by_columns()) return DF_ST_BAD_Y_HINT;
        if (!task.y) return DF_ST_BAD_Y;
        if (!has_room(task.y, index)) return DF_ST_BAD_INDEX;
        *out = task.y[index];
        return DF_ST_OK;
    case DF_ATTR_COEFF:
        if (!task.coeff) return DF_ST_BAD_COEFF;
        if (!has_room(task.coeff, index)) return DF_ST_BAD_INDEX;
        *out = task.coeff[index];
        return DF_ST_OK;
    default: return DF_ST_BAD_ATTRIBUTE;
    }
}

// ---- integer attributes --------------------------------------------------------------------------------------------

std::int32_t rebuild_if_irregular(TaskRecord<double>& task) {
    if (task.x_hint != DF_GRID_IRREGULAR) return DF_ST_OK;
    auto* handle = reinterpret_cast<DFTask1D*>(&task);
    return task.precision ? renew_bucket_table(task) : renew_bucket_table(record_of<float>(handle));
}

} // namespace

} // namespace nvo::fitting

using namespace nvo::fitting;

// A table of cases. NOLINTNEXTLINE(readability-function-cognitive-complexity)
std::int32_t nvo_df_kernel_iEditVal(DFTask1D* handle, std::int64_t attribute, std::int64_t value) {
    if (!handle) return DF_ST_NO_TASK;
    auto& task = record_of<double>(handle); // only fields that both precisions have in common
    if (task.editable != 1) return DF_ST_OK;
    const auto bits = static_cast<std::uint64_t>(value);
    switch (attribute) {
    case DF_ATTR_NX:
        if (value < least_breakpoints) return DF_ST_BAD_NX;
        task.nx = value;
        return DF_ST_OK;
    case DF_ATTR_X_HINT:
        if (!is_grid_hint(bits)) return DF_ST_BAD_X_HINT;
        task.x_hint = bits;
        return rebuild_if_irregular(task);
    case DF_ATTR_NY:
        if (value < 1) return DF_ST_BAD_NY;
        task.ny = value;
        return DF_ST_OK;
    case DF_ATTR_Y_HINT:
        if (!is_storage_hint(bits)) return DF_ST_BAD_Y_HINT;
        task.y_hint = bits;
        return DF_ST_OK;
    case DF_ATTR_ORDER:
        if (value < 0) return DF_ST_BAD_ORDER;
        task.s_order = value;
        return DF_ST_OK;
    case DF_ATTR_TYPE:
        if (value < 0 || (value > DF_TYPE_AKIMA && value != DF_TYPE_HYMAN)) return DF_ST_BAD_TYPE;
        task.s_type = value;
        return DF_ST_OK;
    case DF_ATTR_IC_TYPE:
        if (bits > 2 && !(bits & DF_IC_LISTED_SUBGRID)) return DF_ST_BAD_IC_TYPE;
        task.ic_type = bits;
        return DF_ST_OK;
    case DF_ATTR_BC_TYPE:
        if (value < 0) return DF_ST_BAD_BC_TYPE;
        task.bc_type = bits;
        return DF_ST_OK;
    case DF_ATTR_COEFF_HINT:
        if (!is_storage_hint(bits)) return DF_ST_BAD_COEFF_HINT;
        task.coeff_hint = bits;
        return DF_ST_OK;
    case DF_ATTR_CHECK_FLAG:
        if (value != 0 && value != 1) return DF_ST_BAD_FLAG;
        task.check_flag = static_cast<std::int32_t>(value);
        return DF_ST_OK;
    default: return DF_ST_BAD_ATTRIBUTE;
    }
}

std::int32_t nvo_df_kernel_iQueryVal(DFTask1D* handle, std::int64_t attribute, void* out) {
    if (!handle) return DF_ST_NO_TASK;
    if (!out) return DF_ST_NO_OUTPUT;
    const auto& task = record_of<double>(handle);
    if (task.editable != 1) return DF_ST_OK;
    std::uint64_t value = 0;
    switch (attribute) {
    case DF_ATTR_NX: value = static_cast<std::uint64_t>(task.nx); break;
    case DF_ATTR_X_HINT: value = task.x_hint; break;
    case DF_ATTR_NY: value = static_cast<std::uint64_t>(task.ny); break;
    case DF_ATTR_Y_HINT: value = task.y_hint; break;
    case DF_ATTR_ORDER: value = static_cast<std::uint64_t>(task.s_order); break;
    case DF_ATTR_TYPE: value = static_cast<std::uint64_t>(task.s_type); break;
    case DF_ATTR_IC_TYPE: value = task.ic_type; break;
    case DF_ATTR_BC_TYPE: value = task.bc_type; break;
    case DF_ATTR_COEFF_HINT: value = task.coeff_hint; break;
    case DF_ATTR_CHECK_FLAG: value = static_cast<std::uint64_t>(task.check_flag); break;
    default: return DF_ST_BAD_ATTRIBUTE;
    }
    if (task.cell_wide) {
        std::memcpy(out, &value, sizeof value);
    } else {
        const auto low = static_cast<std::uint32_t>(value);
        std::memcpy(out, &low, sizeof low);
    }
    return DF_ST_OK;
}

std::int32_t nvo_df_kernel_DeleteTask(DFTask1D** handle) {
    if (!handle || !*handle) return DF_ST_NO_TASK;
    auto& task = record_of<double>(*handle);
    delete_pointer_array(task.y);
    delete_pointer_array(task.coeff);
    nvo_serv_deallocate(task.bucket_table);
    nvo_serv_deallocate(*handle);
    *handle = nullptr;
    return DF_ST_OK;
}

#define NVO_DF_TASK(t, real)                                                                                     \
    std::int32_t nvo_df_kernel_##t##NewTask1D(DFTask1D** task_out, std::int64_t nx, const real* x,               \
                                              std::uint64_t x_hint, std::int64_t ny, const real* y,              \
                                              std::uint64_t y_hint, std::uint32_t cell_wide) {                   \
        return create(task_out, nx, x, x_hint, ny, y, y_hint, cell_wide);                                        \
    }                                                                                                            \
    std::int32_t nvo_df_kernel_##t##EditPtr(DFTask1D* task, std::int64_t attribute, const real* pointer) {       \
        return edit_pointer(task, attribute, pointer);                                                           \
    }                                                                                                            \
    std::int32_t nvo_df_kernel_##t##EditIdxPtr(DFTask1D* task, std::int64_t attribute, std::int64_t index,       \
                                               const real* pointer) {                                            \
        return edit_entry(task, attribute, index, pointer);                                                      \
    }                                                                                                            \
    std::int32_t nvo_df_kernel_##t##EditPPSpline1D(DFTask1D* task, std::int64_t s_order, std::int64_t s_type,    \
                                                   std::uint64_t bc_type, const real* bc, std::uint64_t ic_type, \
                                                   const real* ic, real* coeff, std::uint64_t coeff_hint) {      \
        return edit_spline(task, s_order, s_type, bc_type, bc, ic_type, ic, coeff, coeff_hint);                  \
    }                                                                                                            \
    std::int32_t nvo_df_kernel_##t##QueryPtr(DFTask1D* task, std::int64_t attribute, const real** out) {         \
        return query_pointer(task, attribute, out);                                                              \
    }                                                                                                            \
    std::int32_t nvo_df_kernel_##t##QueryIdxPtr(DFTask1D* task, std::int64_t attribute, std::int64_t index,      \
                                                const real** out) {                                              \
        return query_entry(task, attribute, index, out);                                                         \
    }
NVO_DF_TASK(s, float)
NVO_DF_TASK(d, double)
