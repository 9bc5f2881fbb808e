// The square root in the extended format: the processor's, rounded once, with IEEE's special values and flags. A table
// of seeds and a polynomial would take longer and round more than once.

#include "kernels/complex/exports.h"
#include "kernels/complex/extended.h"

long double nvo_ark_kernel_sqrtl_scalar(long double x) { return nvo::extended::square_root(x); }
