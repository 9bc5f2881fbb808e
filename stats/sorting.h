// Sorting a variable into its place in an output, in total order (stats/total_order.h) wherever it lies.
#pragma once

#include "stats/quicksort.h"
#include "stats/variables.h"

#include "nvo_ark/primitives.h"

#include <cstdint>
#include <limits>

namespace nvo::stats {

// Statuses of the radix sort aren't looked at: it refuses nothing but null pointers and lengths below 1.
inline void radix_sort(float* x, float* buffer, std::int32_t n) { nvo_dft_def_tyrsSortRadixAscend_32f_I(x, buffer, n); }
inline void radix_sort(double* x, double* buffer, std::int32_t n) {
    nvo_dft_def_tyrsSortRadixAscend_64f_I(x, buffer, n);
}

// The radix sort counts in 32 bits, and below some hundred elements its counters cost more than they. Quicksort takes
// the rest; in total order there is but one result.
template <Real R> void sort_numbers(R* x, R* buffer, std::int64_t n) {
    constexpr std::int64_t fewest = 100, most = std::numeric_limits<std::int32_t>::max();
    if (n >= fewest && n <= most) {
        radix_sort(x, buffer, static_cast<std::int32_t>(n));
    } else {
        quicksort(Dense<R, ByTotalOrder>{x}, n);
    }
}

// Rows of n numbers that sort_variable needs as scratch. A column is sorted there, and not in its place, where each
// step of a sort would touch another cache line: that takes four times as long.
template <Real R> std::int64_t scratch_rows(const Matrix<R>& target) { return target.in_rows() ? 1 : 2; }

// The n numbers of `source`, sorted, into `target`, which may be the same variable.
template <Real R> void sort_variable(Variable<R> source, Variable<R> target, std::int64_t n, R* scratch) {
    R* const sorted = target.is_dense() ? target.first : scratch;
    R* const buffer = target.is_dense() ? scratch : scratch + n;
    if (sorted != source.first)
        for (std::int64_t i = 0; i < n; ++i) sorted[i] = source[i];
    sort_numbers(sorted, buffer, n);
    if (sorted != target.first)
        for (std::int64_t i = 0; i < n; ++i) target[i] = sorted[i];
}

} // namespace nvo::stats
