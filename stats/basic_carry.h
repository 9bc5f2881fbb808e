// Where a call begins: at 0, or at what earlier calls have left in the task's arrays.
#pragma once

#include "stats/basic_plan.h"

namespace nvo::stats {

// Sets the weights and the other sums, which are 0, to their start. `work` has room for an element a variable.
template <Real R> void carry(const Plan<R>& plan, Sums<R>& sums, R* work);

} // namespace nvo::stats
