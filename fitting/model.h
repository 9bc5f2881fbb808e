// What a task's order and type say of its model.
#pragma once

#include "fitting/task.h"

#include <optional>

namespace nvo::fitting {

// In the order of the evaluators' dispatch tables.
enum class Model { linear, quadratic, cubic, subbotin, arbitrary, step_left, step_right, look_up };
inline constexpr int models = 8;

// None where order and type don't go together. Order 0 with another type than those of values alone has no
// coefficients: callbacks have to do all then.
template <Real R> std::optional<Model> model_of(const TaskRecord<R>& task, bool all_callbacks) {
    switch (task.s_order) {
    case 0:
        if (task.s_type == DF_TYPE_LOOK_UP) return Model::look_up;
        if (task.s_type == DF_TYPE_STEP_RIGHT) return Model::step_right;
        if (task.s_type == DF_TYPE_STEP_LEFT) return Model::step_left;
        return all_callbacks ? std::optional(Model::arbitrary) : std::nullopt;
    case 2: return Model::linear;
    case 3:
        if (task.s_type == DF_TYPE_SUBBOTIN) return Model::subbotin;
        return task.s_type == DF_TYPE_DEFAULT ? std::optional(Model::quadratic) : std::nullopt;
    case 4:
        switch (task.s_type) {
        case DF_TYPE_DEFAULT:
        case DF_TYPE_NATURAL:
        case DF_TYPE_HERMITE:
        case DF_TYPE_BESSEL:
        case DF_TYPE_AKIMA:
        case DF_TYPE_HYMAN: return Model::cubic;
        default: return std::nullopt;
        }
    default: return task.s_order > 4 ? std::optional(Model::arbitrary) : std::nullopt;
    }
}

} // namespace nvo::fitting
