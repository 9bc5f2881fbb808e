// What the exports of construction share: the checks of what every kind needs, and the choice of a kernel's variant.
#pragma once

#include "fitting/views.h"

#include <cstdint>

namespace nvo::fitting {

template <Real R> std::int32_t status_of_y_hint(const TaskRecord<R>& task) {
    return is_storage_hint(task.y_hint) ? DF_ST_OK : DF_ST_BAD_Y_HINT;
}

// What a task may lack; the last check of every export, behind those that its own kind makes.
template <Real R> std::int32_t status_of_arrays(const TaskRecord<R>& task) {
    const std::int32_t status = status_of_values(task);
    return status != DF_ST_OK ? status : status_of_coefficients(task);
}

// The variant of a kernel that fits a task's storage and grid: kernel.operator()<store, grid>(). One function alone
// lies by rows either way.
//
//     return by_variant(task, [&]<Store store, Grid grid> { return construct<R, store, grid>(task); });
template <Real R, class Kernel> auto by_variant(const TaskRecord<R>& task, Kernel&& kernel) {
    const auto with_store = [&]<Store store> {
        return task.even_grid() ? kernel.template operator()<store, Grid::even>()
                                : kernel.template operator()<store, Grid::listed>();
    };
    return task.by_columns() && task.functions() > 1 ? with_store.template operator()<Store::cols>()
                                                     : with_store.template operator()<Store::rows>();
}

} // namespace nvo::fitting
