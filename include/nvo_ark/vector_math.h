/* Vector math: elementwise functions on arrays of real and complex numbers, with the per-thread mode word, error status
 * and error callback that they answer to. For C and C++.
 *
 * A row is one operation in one element type and one form: sExp is e^x on floats, sExpI the same with strides. The
 * list of all rows is operations.def. For each row the library exports
 *
 *   _ark<row>, _ark<row>_HA          high accuracy                                      slot 1
 *   _ark<row>_21 (s, c), _50 (d, z)  low accuracy                                       slot 0
 *   _ark<row>_11 (s, c), _26 (d, z)  enhanced performance                               slot 2
 *   nvo_ark_kernel_<row>_ttab        the kernels in the three slots; a front end that honours the thread's mode word
 *                                    calls nvo_ark_kernel_<row>_ttab[nvo_ark_kernel_GetTTableIndex()]
 *   nvo_ark_kernel_<row>_ctab        three tags, data for a front end
 *
 * Only Sinpi, Cospi, Tanpi, Sind, Cosd and Tand have three kernels; every other row has its high accuracy kernel in
 * all three slots.
 *
 * Arguments. n is the number of elements; with n of 0 or less nothing is read or written. Element i of a vector v with
 * stride incv is v[i * incv]; strides count elements and may be zero or negative. Input and result may be the same
 * array with the same stride; any other overlap has no defined result. Nothing is allocated and nothing else is
 * checked: the vectors must be valid.
 *
 * Errors. The functions return nothing and always run to the end. An element outside the domain, at a pole, or with a
 * result too large or too small gets its IEEE result and is reported as the mode word of the thread says: see
 * ArkErrorRecord below.
 *
 * Floating-point environment. All exceptions are masked inside a call, and flags raised inside reach the caller, who
 * finds his control bits as they were. Results are those of round to nearest, whatever direction the caller has set,
 * but for the unit-stride rounding functions Rint and NearbyInt, which honour it, and Abs, Sqr, dSub, Inv, Div and
 * the other functions named with "caller's rounding" below. Denormals are flushed only where the mode word asks for it.
 *
 * Threads. All state is per thread. Any number of threads may call any function at once.
 */
#ifndef NVO_ARK_VECTOR_MATH_H
#define NVO_ARK_VECTOR_MATH_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Element types c and z. Passed by value they travel as C's float _Complex and double _Complex do. */
typedef struct ArkComplex8 {
    float re, im;
} ArkComplex8;

typedef struct ArkComplex16 {
    double re, im;
} ArkComplex16;

/* ---- Operations ----------------------------------------------------------------------------------------------- */

/* How to read the list. An entry has the operation with its arguments, its element types, what it computes, and the
 * cases that need saying, as "argument: result, status". A line with types of its own holds for those types only, and
 * so do the lines under it.
 *
 * Arguments   a, b, y, z are the elements of the vectors so named in the function types below. The result is y unless
 *             the entry says otherwise, and so are all arguments and results of the element type.
 * Numbers     inf is infinity. +-0 and +-inf are either sign; a result +-x has the sign of its argument. Elements of c
 *             and z are (re, im); a part is re or im. Limits stand in the digits of a float for s, of a double for d.
 * Status      domain, singularity, overflow and underflow are ARK_STATUS_DOMAIN and so on. Without such a word the
 *             status is 0 and nothing is reported. That goes for results too large or too small as well: where no
 *             status is told for them, they are the infinity, denormal or zero of IEEE arithmetic and no more.
 * NaN         A NaN gives a NaN, not reported, unless the entry says otherwise.
 * Zero        Where a function of s and d is odd and 0 at 0, the zero keeps its sign.
 * Forms       "Unit" is the form without strides, and the strided form when all its strides are 1. "Strided" is the
 *             strided form with any other stride. What is said without these words holds for both.
 * Rounding    An operation rounds to nearest and looks at the denormal field of the mode word: under
 *             ARK_DENORMALS_FLUSH a denormal counts as zero in its arithmetic, as argument and as result. The cases
 *             below are those of denormals kept. With "caller's rounding", the SSE rounding direction and denormal
 *             bits stay as the caller set them, and the field isn't looked at; x87 arithmetic inside rounds to nearest
 *             all the same. Where only the unit form has the caller's rounding, the two forms are different code and
 *             may differ in the last bits.
 * Complex     "Complex overflow" is short for: if a part of the result is infinite, and no part of the arguments is
 *             infinite, NaN or zero, the status is overflow. An infinity that comes out in another way, at a pole or
 *             from an argument with a zero part, isn't reported. Sqrt, Exp, Ln, Log10, the trigonometric and
 *             hyperbolic functions and their inverses treat infinities and NaNs as Annex G of the C standard lists
 *             them; on a branch cut the sign of a zero part tells the side.
 *
 * How exact the results are, function by function: docs/accuracy.md. */

/* Arithmetic and rounding
 *
 * The rounding functions, Ceil to NearbyInt, never report. +-0 and +-inf give themselves, and a zero result has the
 * sign of a. Unit: caller's rounding, which matters to Rint and NearbyInt only. A signalling NaN, unit: the s
 * functions, dRint and dNearbyInt make it quiet; dCeil, dFloor, dTrunc and dRound hand it back, as they do every value
 * from 2^52 up, bit for bit.
 *
 * Add(a, b)         s d c z  a + b.
 *                   s d      One IEEE addition; never reports.
 *                   c z      Part by part. A part of the result is infinite, none of the arguments: inf, overflow.
 * Sub(a, b)         s d c z  a - b, reported as Add is. dSub, unit: caller's rounding.
 * Mul(a, b)         s d c z  a * b.
 *                   s d      One IEEE multiplication; never reports.
 *                   c z      Intermediate products don't overflow. Unit: caller's rounding. Complex overflow.
 *                            An infinite factor gives an infinite product, even with a NaN as its other part. If the
 *                            other factor has only zeros and NaNs for parts, the product is NaN.
 * MulByConj(a, b)   c z      a times the conjugate of b. As Mul.
 * Div(a, b)         s d c z  a / b. Unit: caller's rounding.
 *                   s d      (a, +-0), a finite and not 0: +-inf, singularity;
 *                            (+-0, +-0): NaN, singularity (not domain);
 *                            (+-inf, +-0): +-inf. Nothing else is reported.
 *                   c z      Intermediate products don't overflow. Complex overflow.
 *                            Infinite / finite and not 0: an infinity; finite / infinite: signed zeros.
 *                            Finite and not 0 / zero: each part of a times an infinity with the sign of re b, so
 *                            (1, 0) / (0, 0) gives (inf, NaN). Zero / zero: both parts NaN.
 * Sqr(a)            s d      a * a, one IEEE multiplication. Never reports. Unit: caller's rounding.
 * Inv(a)            s d      1 / a, one IEEE division. Unit: caller's rounding. +-0: +-inf, singularity; +-inf: +-0.
 * Abs(a)            s d      |a|: the sign bit cleared, of a NaN too. Never reports. Unit: caller's rounding.
 * Abs(a)            c z      sqrt(re^2 + im^2); y is real. Never reports. Unit: caller's rounding. Squares don't
 *                            overflow. An infinite part: +inf, even beside a NaN; (+-0, +-0): +0.
 * Conj(a)           c z      (re, -im): the sign bit of im flipped, of a NaN too. Never reports. Caller's rounding.
 * Ceil(a)           s d      The least integer not below a. -1 < a < 0: -0.
 * Floor(a)          s d      The greatest integer not above a. 0 < a < 1: +0.
 * Trunc(a)          s d      a without its fraction.
 * Round(a)          s d      The nearest integer, halves away from zero: 2.5 gives 3, -0.49 gives -0.
 * Rint(a)           s d      a rounded to an integer. Unit: in the caller's rounding direction; strided: always to
 *                            nearest, ties to even.
 * NearbyInt(a)      s d      The same function as Rint, exception flags included.
 * Frac(a)           s d      a - Trunc(a), with the sign of a also on zero; +-inf: +-0. Never reports.
 * Modf(a)           s d      Two results: y = Trunc(a), z = a - y, both with the sign of a. Never reports. Unit:
 *                            caller's rounding. An integer, +-inf: z = +-0; NaN: both NaN.
 * LinearFrac(a, b)  s d      (scalea * a + shifta) / (scaleb * b + shiftb). Scales and shifts are values of the
 *                            element type, one each for the whole call. Never reports.
 *                            scaleb = 0: (scalea * a + shifta) * (1 / shiftb); b doesn't enter the result.
 *                            scalea = 0, scaleb not 0: shifta / (scaleb * b + shiftb); a doesn't enter the result.
 *                   s        For a quotient p / q: p times the reciprocal of q, r = 1 / q refined as
 *                            (r + r) - (q * r) * r. It is NaN for q zero or infinite, or so small that r is infinite.
 *                   d        A division: p / 0 gives +-inf or NaN. */

/* Powers and roots
 *
 * Sqrt(a)           s d c z  The square root of a.
 *                   s d      +-0: +-0; +inf: +inf; a < 0, -inf: NaN, domain.
 *                   c z      In the right half plane, with the sign of im a on im y: (-4, +0) gives (0, 2),
 *                            (-4, -0) gives (0, -2). Never reports. Unit: caller's rounding.
 * InvSqrt(a)        s d      1 / sqrt(a). +-0: +-inf, singularity; +inf: +0; a < 0, -inf: NaN, domain.
 * Cbrt(a)           s d      The cube root of a, of every sign. +-0, +-inf: a. Never reports.
 * InvCbrt(a)        s d      1 / cbrt(a). +-0: +-inf, singularity; +-inf: +-0.
 * Pow2o3(a)         s d      a^(2/3) = cbrt(a)^2, of every sign: -8 gives 4. Never reports. Unit: caller's rounding.
 * Pow3o2(a)         s d      a^(3/2). Unit: caller's rounding. +-0: 0; +inf: +inf; a < 0, -inf: NaN, domain. A
 *                            result too large is not reported.
 * Hypot(a, b)       s d      sqrt(a^2 + b^2). Never reports. Unit: caller's rounding. Squares don't overflow.
 *                            An infinite argument: +inf, even beside a NaN; (+-0, +-0): +0.
 * Pow(a, b)         s d c z  a^b.
 *                   s d      (1, b), (a, +-0): 1, NaNs included.
 *                            (+-0, b > 0): +-0 for odd b, else +0.
 *                            (+-0, b < 0), b = -inf included: +-inf for odd b, else +inf; domain, not singularity.
 *                            (-1, +-inf): 1.
 *                            (a < 0 finite, b finite and not an integer): NaN, domain.
 *                            (|a| > 1, +inf), (0 < |a| < 1, -inf): +inf; (|a| > 1, -inf), (|a| < 1, +inf): +0.
 *                            (+inf, b > 0): +inf; (+inf, b < 0): +0; (-inf, b): as +inf, negative for odd b.
 *                            Finite arguments, result too large: +-inf, overflow; too small: not reported.
 *                   c z      e^(b * ln a), and for zeros and infinities what these steps give. Caller's rounding.
 *                            Complex overflow, over the parts of both arguments.
 * Powr(a, b)        s d      a^b for a >= 0, as e^(b * ln a) at the edges.
 *                            (+-0, +-0), (+inf, +-0), (1, +-inf): NaN; (a, NaN) for a >= +0, 1 included: NaN.
 *                            (+-0, b > 0): +0; (+-0, b < 0): +inf, not reported; both with infinite b included.
 *                            (a > 0 finite, +-0): 1.
 *                            (a < 0, any b), infinities and b = NaN included: NaN, domain; (-0, NaN): NaN, domain.
 *                            (a > 1, +inf), (0 < a < 1, -inf), (+inf, b > 0): +inf.
 *                            (a > 1, -inf), (0 < a < 1, +inf), (+inf, b < 0): +0.
 *                            Finite arguments, result too large: +inf, overflow; too small: denormal or 0, underflow.
 * Powx(a, b)        s d c z  Pow(a, b) with one value b of the element type for the whole call. All cases as Pow. */

/* Exponentials and logarithms
 *
 * Exp(a)            s d c z  e^a.
 *                   s d      -inf: +0; +inf: +inf.
 *                   s        a > 88.72283: +inf, overflow; a < -103.97208: 0, underflow;
 *                            a < -87.33654: denormal, underflow.
 *                   d        a > 709.782712893384: +inf, overflow; a < -745.1332191019411: 0, underflow;
 *                            a < -708.3964185322641: denormal, underflow.
 *                   c z      (e^re cos im, e^re sin im); a zero im stays as it is. Complex overflow.
 *                   z        Unit: caller's rounding.
 * Exp2(a)           s d      2^a. -inf: +0; +inf: +inf.
 *                   s        a >= 128: +inf, overflow; a <= -150: 0, underflow; a < -126: denormal, underflow.
 *                   d        a >= 1024: +inf, overflow; a <= -1075: 0, underflow; a < -1022: denormal, underflow.
 * Exp10(a)          s d      10^a. -inf: +0; +inf: +inf.
 *                   s        a > 38.53184: +inf, overflow; a < -45.1545: 0, underflow;
 *                            a <= -37.929783: denormal, underflow.
 *                   d        a > 308.2547155599167: +inf, overflow; a < -323.60724533877976: 0, underflow;
 *                            a < -307.6526555685887: denormal, underflow.
 * Expm1(a)          s d      e^a - 1, to full precision near 0. -inf: -1; +inf: +inf. Unit: caller's rounding.
 *                   s        Unit: a >= 709.7827: +inf, overflow; from 88.72284 to there: +inf, not reported.
 *                            Strided: a > 88.72283: +inf, overflow.
 *                   d        a > 709.782712893384: +inf, overflow.
 * Ln(a)             s d c z  ln a.
 *                   s d      +inf: +inf; +-0: -inf, singularity; a < 0, -inf: NaN, domain.
 *                   c z      (ln |a|, Arg(a)), to full precision near |a| = 1. Never reports; zero: (-inf, Arg(a)).
 *                            Unit: caller's rounding.
 * Log2(a)           s d      log2 a. As Ln.
 * Log10(a)          s d c z  log10 a.
 *                   s d      As Ln.
 *                   c z      Ln(a) / ln 10, part by part. Caller's rounding. Never reports.
 * Log1p(a)          s d      ln(1 + a), to full precision near 0. Unit: caller's rounding. +inf: +inf;
 *                            -1: -inf, singularity; a < -1, -inf: NaN, domain.
 * Logb(a)           s d      The exponent of a, floor(log2 |a|), denormals normalised: 1e-40 gives -133.
 *                            +-inf: +inf; +-0: -inf, domain (not singularity). */

/* Trigonometric functions, in radians, half turns and degrees
 *
 * Arguments are reduced exactly, however large. Sinpi, Cospi, Tanpi, Sind, Cosd and Tand have three kernels.
 *
 * Sin(a)            s d c z  sin a.
 *                   s d      +-inf: NaN, domain.
 *                   c z      (sin re cosh im, cos re sinh im). Caller's rounding. Complex overflow.
 * Cos(a)            s d c z  cos a.
 *                   s d      +-inf: NaN, domain.
 *                   c z      (cos re cosh im, -sin re sinh im). Caller's rounding. Complex overflow.
 * Tan(a)            s d c z  tan a.
 *                   s d      +-inf: NaN, domain.
 *                   c z      tan a = -i tanh(i a). Caller's rounding. Never reports.
 * SinCos(a)         s d      Two results: y = sin a, z = cos a. +-inf: both NaN, domain.
 * Sinpi(a)          s d      sin(pi * a). An integer: 0 with the sign of a.
 *                   s        +-inf: NaN. Never reports.
 *                   d        +-inf: NaN, domain from the high accuracy kernel; the other two never report.
 * Cospi(a)          s d      cos(pi * a). An integer and a half: +0. +-inf: as Sinpi.
 * Tanpi(a)          s d      tan(pi * a). An even integer: 0 with the sign of a; an odd one: 0 with the other sign;
 *                            an integer and a half: an infinity, not reported. +-inf: NaN, domain.
 * SinCospi(a)       s d      Two results: y = sin(pi * a), z = cos(pi * a). +-inf: both NaN. Never reports.
 * Sind(a)           s d      sin(pi * a / 180), a in degrees. A multiple of 180: 0. +-inf: NaN, domain.
 * Cosd(a)           s d      cos(pi * a / 180). An odd multiple of 90: 0. +-inf: NaN, domain.
 * Tand(a)           s d      tan(pi * a / 180). An odd multiple of 90: an infinity, not reported. +-inf: NaN, domain.
 * CIS(a)            c z      (cos a, sin a); a is real. +-inf: both parts NaN. Never reports.
 *                   z        Unit: caller's rounding.
 * Arg(a)            c z      atan2(im, re), from -pi to pi; y is real. Zeros and infinities as Atan2(im, re). Never
 *                            reports. */

/* Inverse trigonometric functions
 *
 * Asin(a)           s d c z  arcsin a, for s and d from -pi/2 to pi/2.
 *                   s d      |a| > 1, +-inf: NaN, domain.
 *                   c z      Cuts: the real axis outside [-1, 1]. Caller's rounding. Never reports.
 * Acos(a)           s d c z  arccos a, for s and d from 0 to pi.
 *                   s d      1: +0; -1: pi; |a| > 1, +-inf: NaN, domain.
 *                   c z      Cuts as Asin: (2, +0) gives (0, -1.3169...). Caller's rounding. Never reports.
 * Atan(a)           s d c z  arctan a.
 *                   s d      +-inf: +-pi/2. Never reports.
 *                   c z      -i Atanh(i a). Cuts: the imaginary axis outside [-i, i]. Caller's rounding. Never
 *                            reports; the poles +-i give infinities.
 * Atan2(a, b)       s d      The angle of the point with abscissa b and ordinate a, from -pi to pi. Never reports.
 *                            (+-0, +0), (+-0, b > 0): +-0; (+-0, -0), (+-0, b < 0): +-pi;
 *                            (a not 0, +-0): pi/2 with the sign of a; (+-inf, +inf): +-pi/4; (+-inf, -inf): +-3pi/4.
 * Asinpi(a)         s d      arcsin(a) / pi. |a| > 1, +-inf: NaN, domain.
 * Acospi(a)         s d      arccos(a) / pi. 1: 0; -1: 1; |a| > 1, +-inf: NaN, domain.
 * Atanpi(a)         s d      arctan(a) / pi. +-inf: +-0.5. Never reports.
 * Atan2pi(a, b)     s d      Atan2(a, b) / pi. (+-0, +-0): as Atan2 / pi, domain. Nothing else is reported. */

/* Hyperbolic functions and their inverses
 *
 * Sinh(a)           s d c z  sinh a.
 *                   s d      +-inf: +-inf.
 *                   s        |a| >= 89.41599: +-inf, overflow.
 *                   d        |a| >= 710.475860073944: +-inf, overflow.
 *                   c z      (sinh re cos im, cosh re sin im). Caller's rounding. Complex overflow.
 * Cosh(a)           s d c z  cosh a.
 *                   s d      +-inf: +inf. Limits as Sinh: +inf, overflow.
 *                   c z      (cosh re cos im, sinh re sin im). Caller's rounding. Complex overflow.
 * Tanh(a)           s d c z  tanh a. Never reports.
 *                   s d      +-inf: +-1.
 *                   c z      Caller's rounding.
 * Asinh(a)          s d c z  arsinh a. Never reports.
 *                   s d      +-inf: +-inf. Unit: caller's rounding.
 *                   c z      Cuts: the imaginary axis outside [-i, i]. Caller's rounding.
 * Acosh(a)          s d c z  arcosh a.
 *                   s d      1: 0; +inf: +inf; a < 1, -inf: NaN, domain. Unit: caller's rounding.
 *                   c z      re y >= 0. Cut: the real axis below 1. Caller's rounding. Never reports.
 * Atanh(a)          s d c z  artanh a.
 *                   s d      +-1: +-inf, singularity; |a| > 1, +-inf: NaN, domain. dAtanh, unit: caller's rounding.
 *                   c z      Cuts: the real axis outside [-1, 1]. Caller's rounding. Never reports; the poles +-1
 *                            give +-inf. */

/* Special functions
 *
 * Erf(a)            s d      (2 / sqrt(pi)) times the integral of e^(-t^2) from 0 to a. +-inf: +-1. Never reports.
 * Erfc(a)           s d      1 - Erf(a), to full precision for large a. -inf: 2; +inf: 0.
 *                            A denormal result is not reported.
 *                   s        a >= 10.054195: 0, underflow.
 *                   d        a >= 27.226017111108366: 0, underflow.
 * Erfcx(a)          s d      e^(a^2) Erfc(a). +inf: 0; -inf: +inf. Never reports, not even the result too
 *                            large, +inf, of an a below about -9.38 (s) or -26.63 (d).
 * ErfInv(a)         s d      The inverse of Erf, for |a| <= 1. +-1: +-inf, singularity; |a| > 1, +-inf: NaN, domain.
 * ErfcInv(a)        s d      The inverse of Erfc, for 0 <= a <= 2. sErfcInv, unit: caller's rounding. 1: 0;
 *                            +-0: +inf, singularity; 2: -inf, singularity; a < 0, a > 2, +-inf: NaN, domain.
 * CdfNorm(a)        s d      The standard normal distribution, Erfc(-a / sqrt(2)) / 2. -inf: 0; +inf: 1.
 *                            A denormal result is not reported.
 *                   s        a < -14.170185: 0, underflow.
 *                   d        a < -38.485408335567335: 0, underflow.
 * CdfNormInv(a)     s d      The inverse of CdfNorm, for 0 <= a <= 1. sCdfNormInv, unit: caller's rounding. 0.5: 0;
 *                            +-0: -inf, singularity; 1: +inf, singularity; a < 0, a > 1, +-inf: NaN, domain.
 * LGamma(a)         s d      ln |Gamma(a)|. 1, 2: 0; +-inf: +inf; +-0, negative integers: +inf, singularity.
 *                   s        a >= 4.0850034e36: +inf, overflow; every a <= -2^23 is an integer.
 *                   d        a > 2.5599833278516383e305: +inf, overflow; every a <= -2^52 is an integer.
 * TGamma(a)         s d      Gamma(a). +inf: +inf; +-0: +-inf, singularity; negative integers, -inf: NaN, domain.
 *                   s        a >= 35.0401: +inf, overflow; 0 < |a| <= 2.938736e-39: +-inf, overflow;
 *                            a < -43, not an integer: +-0, underflow.
 *                   d        a >= 171.62437695630274: +inf, overflow;
 *                            0 < |a| <= 5.562684646268003e-309: +-inf, overflow;
 *                            a < -185, not an integer: +-0, not reported.
 * ExpInt1(a)        s d      E1(a), the integral of e^-t / t from a to infinity, for a >= 0. +inf: 0;
 *                            +-0: +inf, singularity; a < 0, -inf: NaN, domain.
 * I0(a)             s d      Modified Bessel function of the first kind, order 0. +-inf: +inf. A result too
 *                            large of a finite a, above |a| = 92 (s) or 714 (d) at the latest: +inf, overflow.
 * I1(a)             s d      The same of order 1. +-inf: +-inf. As I0: +-inf, overflow.
 * J0(a)             s d      Bessel function of the first kind, order 0. +-inf: 0. Never reports.
 * J1(a)             s d      The same of order 1. +-inf: +-0. Never reports.
 * Jn(a, b)          s d      The same of order b, one value of the element type for the whole call. It is cut to an
 *                            integer, 2.7 acts as 2, which must fit 32 bits. Jn(a, -b) = (-1)^b Jn(a, b) for an
 *                            integer b. +-inf: 0. Never reports: a result too small is 0.
 * Y0(a)             s d      Bessel function of the second kind, order 0, for a > 0. +-0: -inf; +inf: 0;
 *                            a < 0, -inf: NaN. Never reports, neither pole nor domain.
 * Y1(a)             s d      The same of order 1. As Y0.
 * Yn(a, b)          s d      The same of order b, one value for the whole call, as in Jn. +-0: -inf; +inf: +0, or -0
 *                            for a negative odd order; a < 0, -inf: NaN. Never reports: a result too large is
 *                            infinite. */

/* Remainders, neighbours, extremes
 *
 * Fmod(a, b)        s d      a - n * b with n = Trunc(a / b); exact, with the sign of a, zero included.
 *                            (a, +-0), (+-inf, b), b no NaN: NaN, singularity; (a finite, +-inf): a.
 * Remainder(a, b)   s d      a - n * b with n the integer nearest to a / b, ties to even; exact. A zero result has the
 *                            sign of a. (a, +-0), a infinite included: NaN, domain;
 *                            (+-inf, b not 0): NaN, not reported; (a finite, +-inf): a.
 * NextAfter(a, b)   s d      The neighbour of a on the way to b. a = b: b, not reported.
 *                            (+-0, b): the smallest denormal with the sign of b, underflow.
 *                            Another result that is denormal or zero: underflow; an infinite one: overflow.
 * CopySign(a, b)    s d      The magnitude of a with the sign of b, NaNs as any other pattern. Never reports.
 * Fdim(a, b)        s d      a - b for a > b, else +0. A result too large is inf. Never reports.
 * Fmax(a, b)        s d      The larger one; of two zeros b. One NaN: the other argument; two: NaN. Never reports.
 * Fmin(a, b)        s d      The smaller one; of two zeros b. NaNs as Fmax. Never reports.
 * MaxMag(a, b)      s d      The one of larger magnitude; of x and -x the positive. NaNs as Fmax. Never reports.
 * MinMag(a, b)      s d      The one of smaller magnitude; of x and -x the negative. NaNs as Fmax. Never reports. */

/* Gather and scatter: by stride, by mask, by index
 *
 * Elements move as bit patterns in ascending i, from 0 to n - 1. The floating-point environment isn't touched, nothing
 * is reported, and nothing checked: strides and indices must stay inside the vectors. The functions take n, strides,
 * masks and indices as int32_t; the kernels in the tables take them as int64_t, unless their flag is 1.
 *
 * PackI             s d c z  y[i] = a[i * inca].
 * PackM             s d c z  y gets those a[i] with mask[i] not 0, one behind the other. n is the length of a and mask.
 * PackV             s d c z  y[i] = a[index[i]].
 * UnpackI           s d c z  y[i * incy] = a[i].
 * UnpackM           s d c z  Those y[i] with mask[i] not 0 get the elements of a, one behind the other; the others keep
 *                            their content. n is the length of y and mask.
 * UnpackV           s d c z  y[index[i]] = a[i]. Of a repeated index the last element stays. */

/* Function types, by class of arguments, form and element type T with real type R: ark_fn_U_unit_s and so on. */
#define NVO_ARK_FUNCTION_TYPES(t, T, R)                                                                                \
    typedef void ark_fn_U_unit_##t(int32_t n, const T* a, T* y);                                                       \
    typedef void ark_fn_U_strided_##t(int32_t n, const T* a, int32_t inca, T* y, int32_t incy);                        \
    typedef void ark_fn_B_unit_##t(int32_t n, const T* a, const T* b, T* y);                                           \
    typedef void ark_fn_B_strided_##t(int32_t n, const T* a, int32_t inca, const T* b, int32_t incb, T* y,             \
                                      int32_t incy);                                                                   \
    typedef void ark_fn_X_unit_##t(int32_t n, const T* a, T b, T* y);                                                  \
    typedef void ark_fn_X_strided_##t(int32_t n, const T* a, int32_t inca, T b, T* y, int32_t incy);                   \
    typedef void ark_fn_S_unit_##t(int32_t n, const T* a, T* y, T* z);                                                 \
    typedef void ark_fn_S_strided_##t(int32_t n, const T* a, int32_t inca, T* y, int32_t incy, T* z, int32_t incz);    \
    typedef void ark_fn_L_unit_##t(int32_t n, const T* a, const T* b, T scalea, T shifta, T scaleb, T shiftb, T* y);   \
    typedef void ark_fn_L_strided_##t(int32_t n, const T* a, int32_t inca, const T* b, int32_t incb, T scalea,         \
                                      T shifta, T scaleb, T shiftb, T* y, int32_t incy);                               \
    typedef void ark_fn_A_unit_##t(int32_t n, const T* a, R* y);                                                       \
    typedef void ark_fn_A_strided_##t(int32_t n, const T* a, int32_t inca, R* y, int32_t incy);                        \
    typedef void ark_fn_C_unit_##t(int32_t n, const R* a, T* y);                                                       \
    typedef void ark_fn_C_strided_##t(int32_t n, const R* a, int32_t inca, T* y, int32_t incy);                        \
    /* Class P: the stubs take 32-bit strides, masks and indices and set the flag themselves. */                       \
    typedef void ark_fn_PackI_##t(int32_t n, const T* a, int32_t inca, T* y);                                          \
    typedef void ark_fn_PackM_##t(int32_t n, const T* a, const int32_t* mask, T* y);                                   \
    typedef void ark_fn_PackV_##t(int32_t n, const T* a, const int32_t* index, T* y);                                  \
    typedef void ark_fn_UnpackI_##t(int32_t n, const T* a, T* y, int32_t incy);                                        \
    typedef void ark_fn_UnpackM_##t(int32_t n, const T* a, T* y, const int32_t* mask);                                 \
    typedef void ark_fn_UnpackV_##t(int32_t n, const T* a, T* y, const int32_t* index);                                \
    /* Their kernels, for callers through the tables: flag 1 as above, any other flag 64-bit n, stride, mask, index */ \
    typedef void ark_kernel_PackI_##t(int64_t n, const T* a, int64_t inca, T* y, int32_t flag);                        \
    typedef void ark_kernel_PackM_##t(int64_t n, const T* a, const void* mask, T* y, int32_t flag);                    \
    typedef void ark_kernel_PackV_##t(int64_t n, const T* a, const void* index, T* y, int32_t flag);                   \
    typedef void ark_kernel_UnpackI_##t(int64_t n, const T* a, T* y, int64_t incy, int32_t flag);                      \
    typedef void ark_kernel_UnpackM_##t(int64_t n, const T* a, T* y, const void* mask, int32_t flag);                  \
    typedef void ark_kernel_UnpackV_##t(int64_t n, const T* a, T* y, const void* index, int32_t flag);

NVO_ARK_FUNCTION_TYPES(s, float, float)
NVO_ARK_FUNCTION_TYPES(d, double, double)
NVO_ARK_FUNCTION_TYPES(c, ArkComplex8, float)
NVO_ARK_FUNCTION_TYPES(z, ArkComplex16, double)
#undef NVO_ARK_FUNCTION_TYPES

/* Types of a row's stubs and of its kernels. */
#define NVO_ARK_STUB_TYPE(t, op, cls, form) NVO_ARK_STUB_TYPE_##cls(t, op, cls, form)
#define NVO_ARK_STUB_TYPE_U(t, op, cls, form) ark_fn_##cls##_##form##_##t
#define NVO_ARK_STUB_TYPE_B NVO_ARK_STUB_TYPE_U
#define NVO_ARK_STUB_TYPE_X NVO_ARK_STUB_TYPE_U
#define NVO_ARK_STUB_TYPE_S NVO_ARK_STUB_TYPE_U
#define NVO_ARK_STUB_TYPE_L NVO_ARK_STUB_TYPE_U
#define NVO_ARK_STUB_TYPE_A NVO_ARK_STUB_TYPE_U
#define NVO_ARK_STUB_TYPE_C NVO_ARK_STUB_TYPE_U
#define NVO_ARK_STUB_TYPE_P(t, op, cls, form) ark_fn_##op##_##t
#define NVO_ARK_KERNEL_TYPE(t, op, cls, form) NVO_ARK_KERNEL_TYPE_##cls(t, op, cls, form)
#define NVO_ARK_KERNEL_TYPE_U NVO_ARK_STUB_TYPE_U
#define NVO_ARK_KERNEL_TYPE_B NVO_ARK_STUB_TYPE_U
#define NVO_ARK_KERNEL_TYPE_X NVO_ARK_STUB_TYPE_U
#define NVO_ARK_KERNEL_TYPE_S NVO_ARK_STUB_TYPE_U
#define NVO_ARK_KERNEL_TYPE_L NVO_ARK_STUB_TYPE_U
#define NVO_ARK_KERNEL_TYPE_A NVO_ARK_STUB_TYPE_U
#define NVO_ARK_KERNEL_TYPE_C NVO_ARK_STUB_TYPE_U
#define NVO_ARK_KERNEL_TYPE_P(t, op, cls, form) ark_kernel_##op##_##t

/* The stubs: 1,920 functions. */
#define NVO_ARK_STUBS_s(type, row) extern type _ark##row, _ark##row##_HA, _ark##row##_21, _ark##row##_11;
#define NVO_ARK_STUBS_d(type, row) extern type _ark##row, _ark##row##_HA, _ark##row##_50, _ark##row##_26;
#define NVO_ARK_STUBS_c NVO_ARK_STUBS_s
#define NVO_ARK_STUBS_z NVO_ARK_STUBS_d
#define ROW(t, row, op, cls, form, kernels, tags) NVO_ARK_STUBS_##t(NVO_ARK_STUB_TYPE(t, op, cls, form), t##row)
#include "operations.def"
#undef NVO_ARK_STUBS_s
#undef NVO_ARK_STUBS_d
#undef NVO_ARK_STUBS_c
#undef NVO_ARK_STUBS_z

/* The kernel tables and the tag tables. They are constant: the kernel tables are writable memory only because that is
 * what a front end of another maker expects to find. Slots: 0 low accuracy, 1 high accuracy, 2 enhanced performance. */
#define ROW(t, row, op, cls, form, kernels, tags)                                     \
    extern NVO_ARK_KERNEL_TYPE(t, op, cls, form) * nvo_ark_kernel_##t##row##_ttab[3]; \
    extern const float nvo_ark_kernel_##t##row##_ctab[3];
#include "operations.def"

/* ---- Mode word ------------------------------------------------------------------------------------------------- */

/* Fields of the mode word. A thread's first use of it reads the environment variable NVO_ARK_MODE: one or more of the
 * tokens below, separated by single commas, as in "ARK_HA,ARK_ERRMODE_STDERR". Values are ORed. A malformed variable
 * counts as not set. A field that the variable leaves empty has its default. */
enum {
    ARK_MODE_ACCURACY = 0xF,        /* mask */
    ARK_LA = 0x1,                   /* low accuracy */
    ARK_HA = 0x2,                   /* high accuracy, the default */
    ARK_EP = 0x3,                   /* enhanced performance */
    ARK_MODE_PRECISION = 0xF0,      /* mask; carried, without effect here. Tokens ARK_DEFAULT_PRECISION (0), */
    ARK_FLOAT_CONSISTENT = 0x10,    /* ARK_FLOAT_CONSISTENT, */
    ARK_DOUBLE_CONSISTEN = 0x20,    /* ARK_DOUBLE_CONSISTEN (this spelling is the token), */
    ARK_RESTORE = 0x30,             /* ARK_RESTORE */
    ARK_MODE_ERRORS = 0xFF00,       /* mask */
    ARK_ERRMODE_IGNORE = 0x100,     /* alone: only the status is kept */
    ARK_ERRMODE_ERRNO = 0x200,      /* errno is set */
    ARK_ERRMODE_STDERR = 0x400,     /* a message is printed to standard error */
    ARK_ERRMODE_EXCEPT = 0x800,     /* the x87 exception flag is raised, and trapped if a trap bit is set */
    ARK_ERRMODE_CALLBACK = 0x1000,  /* the thread's callback is called */
    ARK_ERRMODE_NOERR = 0x2000,     /* alone: nothing is recorded at all */
    ARK_ERRMODE_DEFAULT = 0x1A00,   /* errno, exception and callback */
    ARK_MODE_DENORMALS = 0x3C0000,  /* mask; no token */
    ARK_DENORMALS_KEEP = 0x140000,  /* acts as 0, the default */
    ARK_DENORMALS_FLUSH = 0x280000, /* flush to zero and denormals are zero, where the function looks at the field */
    ARK_MODE_TRAPS = 0xF000000,     /* mask */
    ARK_TRAP_INVALID = 0x1000000,
    ARK_TRAP_DIVBYZERO = 0x2000000,
    ARK_TRAP_OVERFLOW = 0x4000000,
    ARK_TRAP_UNDERFLOW = 0x8000000,
    ARK_MODE_RESERVED = 0x30000, /* mask; carried, without effect here */
    ARK_MODE_DEFAULT = 0x1A02
};

/* The thread's mode word. Never 0. */
uint32_t nvo_ark_kernel_GetMode(void);
uint32_t _arkGetMode(void);

/* Replaces those fields of the thread's mode word that are not 0 in mode: accuracy, errors, denormals, traps, reserved.
 * The precision field is never changed, and no field becomes 0 again. Returns the word as it was before. */
uint32_t nvo_ark_kernel_SetMode(uint32_t mode);
uint32_t _arkSetMode(uint32_t mode);

/* Slot of a kernel table by the accuracy of the thread's mode word: 0 LA, 1 HA, 2 EP. The second function takes it from
 * the given word and touches no state; its first argument is not used. */
int32_t nvo_ark_kernel_GetTTableIndex(void);
int32_t nvo_ark_kernel_GetTTableIndexM(uint32_t unused, uint32_t mode);

/* Value of the environment variable, or all ones if it is not set, empty or malformed. */
uint64_t nvo_ark_kernel_ReadEnvVarMode(void);

/* Processor level of this kernel library: 1. */
int32_t dll_cpu_version(void);

/* ---- Errors ---------------------------------------------------------------------------------------------------- */

enum {
    ARK_STATUS_BAD_ACCESS = -2,   /* access to memory denied; only front ends report it */
    ARK_STATUS_BAD_ARGUMENT = -1, /* invalid argument of the call; only front ends report it */
    ARK_STATUS_OK = 0,
    ARK_STATUS_DOMAIN = 1,      /* argument outside the domain of the function */
    ARK_STATUS_SINGULARITY = 2, /* pole: a finite argument with an infinite result */
    ARK_STATUS_OVERFLOW = 3,    /* result too large */
    ARK_STATUS_UNDERFLOW = 4    /* result too small */
};

/* What a callback receives. It lives until the callback returns. Values are widened to doubles. */
typedef struct ArkErrorRecord {
    int32_t status;
    int32_t index;       /* of the element, counted from the thread's input vector pointer if that is set */
    double arg1;         /* element of the first argument vector, as it stands after the store of the result */
    double arg2;         /* element of the second one; functions of one argument give the first one twice */
    double res1;         /* element of the first result vector; a callback may change it */
    double res2;         /* element of the second one; functions of one result give the first one twice */
    char funcName[64];   /* "vsExp"; at most 47 characters, NUL-terminated */
    int32_t funcNameLen; /* number of characters of funcName */
    double arg1Im;       /* imaginary parts; set for complex functions only */
    double arg2Im;
    double res1Im;
    double res2Im;
} ArkErrorRecord;

/* Returns 0 to have res1 and res2 stored into the result vectors and the other reactions of the mode word to follow, or
 * another value to end the report at once with the result as the function computed it. It runs on the thread of the
 * call, inside it, with the function's floating-point settings in force. */
typedef int32_t ArkErrorCallBack(ArkErrorRecord* record);

/* Each function stands under two names. A status stays until it is cleared or the next report replaces it. */
int32_t nvo_ark_kernel_SetErrStatus(int32_t status); /* returns the old status */
int32_t _arkSetErrStatus(int32_t status);
int32_t nvo_ark_kernel_GetErrStatus(void);
int32_t _arkGetErrStatus(void);
int32_t nvo_ark_kernel_ClearErrStatus(void); /* returns the old status; it becomes 0 */
int32_t _arkClearErrStatus(void);

/* Setting a callback sets ARK_ERRMODE_CALLBACK in the mode word; clearing it, or setting a null one, clears the bit
 * where it isn't the only one of its field. They return the old callback. */
ArkErrorCallBack* nvo_ark_kernel_SetErrorCallBack(ArkErrorCallBack* callback);
ArkErrorCallBack* _arkSetErrorCallBack(ArkErrorCallBack* callback);
ArkErrorCallBack* nvo_ark_kernel_GetErrorCallBack(void);
ArkErrorCallBack* _arkGetErrorCallBack(void);
ArkErrorCallBack* nvo_ark_kernel_ClearErrorCallBack(void);
ArkErrorCallBack* _arkClearErrorCallBack(void);

/* For a caller that hands a long vector over in pieces: the start of the whole first argument vector, from which the
 * index of a record then counts. Null turns it off. Returns its argument. */
const void* nvo_ark_kernel_SetInterfInputVectorPointer(const void* start);
const void* _arkSetInterfInputVectorPointer(const void* start);

/* Reporters: what a kernel does with a bad element. A front end reports failures of the call itself through them, with
 * status -1 or -2 (then the vectors need not be valid). index is the element's; a1, a2 the argument vectors, r1, r2 the
 * result vectors (each twice where there is only one), whose elements are v[index * inc]; name is the function's. The
 * h pair serves vectors of IEEE binary16. */
#define NVO_ARK_REPORTERS(t, T)                                                                            \
    void nvo_ark_kernel_##t##Error(int32_t status, int32_t index, const T* a1, const T* a2, T* r1, T* r2,  \
                                   const char* name);                                                      \
    void nvo_ark_kernel_##t##ErrorI(int32_t status, int32_t index, const T* a1, int32_t inc1, const T* a2, \
                                    int32_t inc2, T* r1, int32_t incr1, T* r2, int32_t incr2, const char* name);

NVO_ARK_REPORTERS(h, uint16_t)
NVO_ARK_REPORTERS(s, float)
NVO_ARK_REPORTERS(d, double)
NVO_ARK_REPORTERS(c, ArkComplex8)
NVO_ARK_REPORTERS(z, ArkComplex16)
#undef NVO_ARK_REPORTERS

/* One value between IEEE binary16 and double. The first is exact; the second rounds once, in the current direction. A
 * signalling NaN becomes quiet. */
double __vlang_math_fp16to64(uint16_t half);
uint16_t __vlang_math_fp64to16(double x);

#ifdef __cplusplus
}
#endif

#endif
