// From sums to the task's arrays.
#pragma once

#include "stats/basic_plan.h"

namespace nvo::stats {

// Sums and moments that a plan accumulates: those that the request needs, and of each order the array from which a
// later call goes on.
template <Real R> void write_moments(const Plan<R>& plan, const Sums<R>& sums);

// Kurtosis, skewness and variation, those that are asked for, from moments in the task's arrays.
template <Real R>
void write_ratios(const TaskRecord<R>& t, const SelectedVariables& variables, const BasicRequest& request);

// cov, cor and cross_product, those of the bits, from a matrix of cross-products. That may lie in one of them, which is
// written last then. `work` has room for an element a variable.
template <Real R>
void write_matrices(const TaskRecord<R>& t, const SelectedVariables& variables, std::uint64_t bits,
                    const SymmetricMatrix<R>& cross, Weights<R> weights, R* work);

} // namespace nvo::stats
