// The record behind DFTask1D, and how computations look at it.
#pragma once

#include "fitting/exports.h"

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>

namespace nvo::fitting {

template <class R>
concept Real = std::same_as<R, float> || std::same_as<R, double>;

struct BucketRange {
    std::uint64_t low, high; // last breakpoint at or before the bucket, first one after it
};

template <Real R> struct TaskRecord {
    std::uint32_t cell_wide; // 0: cells have 32 bits; else 64
    std::uint8_t format_byte;
    std::int32_t precision; // 0 single, 1 double
    std::int32_t editable;  // 1; edits and queries of anything else do nothing
    std::int64_t nx;
    const R* x;
    std::uint64_t x_hint;
    std::int64_t ny;
    const R** y; // a pointer array, see below; owned
    std::uint64_t y_hint;
    std::int64_t s_order, s_type;
    std::uint64_t ic_type;
    const R* ic;
    std::uint64_t bc_type;
    const R* bc;
    R** coeff; // a pointer array; owned
    std::uint64_t coeff_hint;
    std::int32_t check_flag;
    std::uint64_t bucket_count;
    BucketRange* bucket_table; // owned
    R bucket_scale;            // buckets per unit of x

    // Functions to construct and to evaluate.
    std::int64_t functions() const { return std::max<std::int64_t>(ny, 1); }
    bool by_columns() const { return y_hint == DF_Y_BY_COLS; }
    bool even_grid() const { return (x_hint & DF_GRID_EVEN) != 0; }
};

// Kernel sets outside this library share the record.
template <class Task>
constexpr bool has_the_layout = offsetof(Task, cell_wide) == 0 && offsetof(Task, format_byte) == 4 &&
                                offsetof(Task, precision) == 8 && offsetof(Task, editable) == 12 &&
                                offsetof(Task, nx) == 16 && offsetof(Task, x) == 24 && offsetof(Task, x_hint) == 32 &&
                                offsetof(Task, ny) == 40 && offsetof(Task, y) == 48 && offsetof(Task, y_hint) == 56 &&
                                offsetof(Task, s_order) == 64 && offsetof(Task, s_type) == 72 &&
                                offsetof(Task, ic_type) == 80 && offsetof(Task, ic) == 88 &&
                                offsetof(Task, bc_type) == 96 && offsetof(Task, bc) == 104 &&
                                offsetof(Task, coeff) == 112 && offsetof(Task, coeff_hint) == 120 &&
                                offsetof(Task, check_flag) == 128 && offsetof(Task, bucket_count) == 136 &&
                                offsetof(Task, bucket_table) == 144 && offsetof(Task, bucket_scale) == 152 &&
                                sizeof(Task) == 160;
static_assert(has_the_layout<TaskRecord<float>> && has_the_layout<TaskRecord<double>>);

template <Real R> TaskRecord<R>& record_of(DFTask1D* task) { return *reinterpret_cast<TaskRecord<R>*>(task); }

// 0, 0x10, 0x20 and 0x80 are the hints of function values, coefficients and integrals.
constexpr bool is_storage_hint(std::uint64_t hint) {
    const std::uint64_t code = std::rotr(hint, 4);
    return code == 0 || code == 1 || code == 2 || code == 8;
}

// ---- Pointer arrays ------------------------------------------------------------------------------------------------

// The arrays behind `y` and `coeff` keep their length in front of the first entry: ny may be edited later, and no index
// must lead outside.
inline constexpr std::size_t pointer_array_head = 128;

inline std::int64_t pointer_array_length(const void* array) {
    return array ? *reinterpret_cast<const std::int64_t*>(static_cast<const std::byte*>(array) - pointer_array_head)
                 : 0;
}

template <class P> bool all_there(P* const* array, std::int64_t count) {
    return pointer_array_length(array) >= count && std::all_of(array, array + count, [](P* p) { return p != nullptr; });
}

// ---- What computations need ----------------------------------------------------------------------------------------

// Every computation checks these behind the checks of its own: a task may lack what was never registered.
template <Real R> std::int32_t status_of_values(const TaskRecord<R>& task) {
    return all_there(task.y, task.by_columns() ? 1 : task.functions()) ? DF_ST_OK : DF_ST_BAD_Y;
}
template <Real R> std::int32_t status_of_coefficients(const TaskRecord<R>& task) {
    return all_there(task.coeff, task.functions()) ? DF_ST_OK : DF_ST_BAD_COEFF;
}

} // namespace nvo::fitting
