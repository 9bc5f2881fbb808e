// Magnitudes: the sign bit goes, and nothing else is looked at.

#include "kernels/complex/exports.h"

long double nvo_ark_kernel_fabsl_scalar(long double x) { return __builtin_fabsl(x); }
float nvo_ark_kernel__sabs_scalar(float x) { return __builtin_fabsf(x); }
double nvo_ark_kernel__dabs_scalar(double x) { return __builtin_fabs(x); }
