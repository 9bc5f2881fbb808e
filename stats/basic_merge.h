// Sums of two pieces of the observations made one.
#pragma once

#include "stats/basic_kernels.h"

namespace nvo::stats {

// a += b, for some variables of p. A piece with a weight of 0 changes nothing. The matrices are merged if b has one.
// `delta` is work space, an element a variable.
template <Real R>
void merge(Pass pass, Orders orders, Range variables, std::int64_t p, Sums<R>& a, const Sums<R>& b, R* delta);

} // namespace nvo::stats
