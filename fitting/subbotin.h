// Construction of the quadratic spline with knots between the breakpoints.
#pragma once

#include "fitting/task.h"

#include <cstdint>

namespace nvo::fitting {

// Checks what this kind needs, in the order that the public header tells, and fills the coefficient blocks.
std::int32_t construct_subbotin(const TaskRecord<float>& task);
std::int32_t construct_subbotin(const TaskRecord<double>& task);

} // namespace nvo::fitting
