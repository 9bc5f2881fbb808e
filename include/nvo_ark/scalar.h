/* Functions of one value: cores of the complex functions in the 80-bit extended format, and the real functions that
 * generators and statistics call. For C and C++. Nothing here keeps a state; any thread may call.
 */
#ifndef NVO_ARK_SCALAR_H
#define NVO_ARK_SCALAR_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Cores in the extended format ------------------------------------------------------------------------------
 *
 * Elementary functions of 80-bit numbers, which are what long double is. The x87 control word must say: round to
 * nearest, 64-bit significands, all exceptions masked, as 0x33F does and the 0x37F that programs start with.
 *
 * Errors are in ulp, the distance of neighbouring numbers at the exact result. All arguments are allowed, and results
 * are rounded to denormals with the same error. Nothing reports a status. The IEEE flags say what happened:
 *
 *   inexact     for all results but exact ones
 *   underflow   for denormal results and those that are too small for one
 *   overflow    for infinite results of finite arguments
 *   divide      at poles, where the result is infinite
 *   invalid     outside the domain, where the result is NaN, and for signalling NaN
 *
 * A NaN gives NaN. So do the bit patterns that the format doesn't have.
 */

/* e^x, 0.6 ulp. Overflows above 11356.5234, is 0 below -11399.4985. */
long double nvo_ark_kernel_expl_scalar(long double x);

/* ln x, 0.6 ulp. ln 1 is +0; pole at zeros, domain x >= 0. */
long double nvo_ark_kernel_logl_scalar(long double x);
/* ln(1 + x), 0.6 ulp. Zeros come back; pole at -1, domain x >= -1. */
long double nvo_ark_kernel_log1pl_scalar(long double x);

/* The square root, 0.5 ulp. -0 comes back; domain x >= 0. */
long double nvo_ark_kernel_sqrtl_scalar(long double x);

/* sin x and cos x, 0.8 ulp, and tan x, 1.2 ulp, up to the largest number. Infinities are outside the domain. Zeros come
 * back from sin and tan. sincosl gives the bits of the other two. */
long double nvo_ark_kernel_sinl_scalar(long double x);
long double nvo_ark_kernel_cosl_scalar(long double x);
long double nvo_ark_kernel_tanl_scalar(long double x);
void nvo_ark_kernel_sincosl_scalar(long double x, long double* s, long double* c);

/* sinh x and cosh x, 0.7 ulp, and tanh x, 1.8 ulp. The first two overflow for |x| above 11357.2165. Zeros come back
 * from sinh and tanh. sinhcoshl gives the bits of the other two. */
long double nvo_ark_kernel_sinhl_scalar(long double x);
long double nvo_ark_kernel_coshl_scalar(long double x);
long double nvo_ark_kernel_tanhl_scalar(long double x);
void nvo_ark_kernel_sinhcoshl_scalar(long double x, long double* sh, long double* ch);

/* Angles in radians, 1.2 ulp; atan 0.8 ulp. Domain [-1, 1] of asin and acos, with acos 1 = +0. atan2l is the angle of
 * the point (x, y) from -pi to pi, 1.6 ulp, with IEEE's values for zeros and infinities: a zero y with the sign of y
 * for x on the positive side, +0 included, and pi with the sign of y on the negative side, -0 included. */
long double nvo_ark_kernel_asinl_scalar(long double x);
long double nvo_ark_kernel_acosl_scalar(long double x);
long double nvo_ark_kernel_atanl_scalar(long double x);
long double nvo_ark_kernel_atan2l_scalar(long double y, long double x);

/* Inverse hyperbolic functions: asinh 1.1 ulp; acosh 1.6 ulp, domain x >= 1, acosh 1 = +0; atanh 1.2 ulp, domain [-1,
 * 1], poles at its ends. */
long double nvo_ark_kernel_asinhl_scalar(long double x);
long double nvo_ark_kernel_acoshl_scalar(long double x);
long double nvo_ark_kernel_atanhl_scalar(long double x);

/* |x|: the sign bit is cleared, and nothing else is looked at. No flag. */
long double nvo_ark_kernel_fabsl_scalar(long double x);
float nvo_ark_kernel__sabs_scalar(float x);
double nvo_ark_kernel__dabs_scalar(double x);

/* x = n pi/4 + out[0] + out[1]: returns the even number n modulo 8, 0, 2, 4 or 6. |out[0]| is at most pi/4 and an ulp.
 * From |x| = 2^29 on it takes digits of 4/pi, 31 bits each, of which count, from 0 to 5, are added beyond those that
 * decide n (other counts mean the nearest end): the absolute error is below 2^(-24 - 31 count), and with all five the
 * relative one is below 2^-69 for the hardest argument. Below 2^29 count has no meaning. Infinities and NaN give NaN
 * and 0. */
int32_t nvo_ark_kernel_reduce_pi04l(int32_t count, long double out[2], long double x);

/* Tables of the cores. Pairs are {hi, lo}, lo what hi lacks.
 *   expl          row j + 128 is 2^(j/256), j from -128 to 127
 *   rcp           row j is a reciprocal, to 11 fraction bits, of the numbers from 1 + j/256 to 1 + (j + 1)/256
 *   double_rcp    the same numbers as doubles
 *   logl, log     row j is minus the logarithm of that reciprocal, hi a multiple of 2^-42
 *   atanl         row 16 k + j is atan((1 + (2 j + 1)/32) 2^(k - 4)) */
extern const double nvo_ark_core_expl_table_256[256][2];
extern const float nvo_ark_core_rcp_table_256[256];
extern const double nvo_ark_core_double_rcp_table_256[256];
extern const double nvo_ark_core_logl_table_256[256][2];
extern const double nvo_ark_core_log_table_256[256][2];
extern const double nvo_ark_core_atanl_table_128[128][2];

/* ---- Real functions -------------------------------------------------------------------------------------------- */

/* Errors are in ulp, the distance of neighbouring doubles or floats at the exact result, rounding to nearest; the IEEE
 * flags are not part of the contract. */

/* The largest integer up to x, exact, by integer operations alone. -0, infinities and NaN come back as they are. */
double __ostdFloor(double x);

/* The natural logarithm. 2.5 ulp, but from 0.5 to 0.984375 an absolute error of 1.7e-16. ln 1 is +0, ln of +0 and -0
 * -infinity, of other negative numbers NaN; +infinity and NaN come back. */
double __ostdLn(double x);
/* That of x as a double, rounded: 0.51 ulp. */
float __ostsLn(float x);

/* The square root of +0 and of positive normal numbers, 2 ulp. Nothing else is caught: denormals, infinity and negative
 * numbers give numbers without meaning. */
double __ostdSqrt(double x);

/* ln |gamma(x)|, 0.6 ulp, also beside the zeros of the function. +infinity at zeros and negative integers, and above
 * 2.5599833278516383e305; infinities give +infinity. The x87 unit must round to 64 bits, as it does by default. */
double __ostdLGamma(double x);

#ifdef __cplusplus
}
#endif

#endif
