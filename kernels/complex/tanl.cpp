// tan x in the extended format. Largest error found in a million arguments: 1.035 ulp at 0xa.9a1d523fbe4e9b2p+19.

#include "kernels/complex/reduction.h"
#include "tables/tangent_rows.h"

using namespace nvo::extended;
using namespace nvo::tables;

namespace {

// Below 2^-5: as many terms as the exponent asks for.
constexpr unsigned small_below = 0x3FFA;
constexpr long double t3 = 1 / 3.0L;
constexpr double t5 = 2 / 15.0, t7 = 17 / 315.0, t9 = 62 / 2835.0, t11 = 1382 / 155925.0, t13 = 21844 / 6081075.0;

NVO_INLINE long double small_tangent(long double x, const Words& w) {
    const unsigned e = w.exponent();
    if (e < 0x3FB3) return nearly(x, w);
    const long double z = x * x;
    if (e < 0x3FEB) return x + x * z * t3;
    if (e < 0x3FF2) return x + x * z * horner(z, t3, t5);
    if (e < 0x3FF4) return x + x * z * horner(z, t3, t5, t7);
    return x + x * z * polynomial(z, t3, t5, t7, t9, t11, t13);
}

// tan r for 2^-6 < |r| <= pi/8 and what is smaller, -1 / tan r if the octant is odd
// (tools/fit/extended_cores.sollya, 2^-75).
NVO_INLINE long double by_polynomial(const Reduced& r, bool cotangent) {
    const long double z = r.hi * r.hi, z2 = z * z;
    const long double low = polynomial(z, 0x1.5555555555555554p-2L, 0x1.111111111111152ap-3L, 0x1.ba1ba1ba1b989p-5L,
                                       0x1.664f4882c64f2p-6L, 0x1.226e355ca42b6p-7L, 0x1.d6d3d1a7a05aep-9L);
    const long double high = polynomial(z, 0x1.7da3477c47b42p-10L, 0x1.355b018673af8p-11L, 0x1.f519f0b3cc8b5p-13L,
                                        0x1.9b054fd23fef7p-14L, 0x1.27f6e7238c29fp-15L, 0x1.964a29266ec02p-16L);
    const long double p = low + z2 * z2 * z2 * high;
    const Sum t = fast_two_sum(r.hi, r.hi * z * p + (r.lo + r.lo * z));
    if (!cotangent) return t.hi;
    const long double reciprocal = 1 / t.hi;
    return reciprocal * t.lo * reciprocal - reciprocal;
}

// For pi/8 < r.hi: with a the nearest multiple of pi/64, T = tan a, G = cot a, r = a + b, t = tan b:
//     tan r = T + (T + G) t / (G - t)
//     cot r = G - (T + G) t / (T + t)
NVO_INLINE long double by_rows(const Reduced& r, bool cotangent) {
    constexpr double step_hi = 0x1.921fb54442p-5, step_lo = 0x1.a308d313198a3p-46; // pi/64
    const int row = static_cast<int>(static_cast<double>(r.hi) * 20.371833 - 7.5); // of a = (row + 8) pi/64, to nearest
    const auto i = static_cast<long double>(row + 8);
    const long double b = ((r.hi - i * step_hi) - i * step_lo) + r.lo;
    const long double z = b * b;
    const long double t = b + b * z *
                                  horner(z, 0x1.5555555555553dd6p-2L, 0x1.111111111ca1ap-3L, 0x1.ba1b9e304fa32p-5L,
                                         0x1.6685e3a6f08a2p-6L);
    if (cotangent) return -(_GG[row][0] + (_GG[row][1] - _TG[row] * t / (_TT[row][0] + t)));
    return _TT[row][0] + (_TT[row][1] + _TG[row] * t / (_GG[row][0] - t));
}

} // namespace

long double nvo_ark_kernel_tanl_scalar(long double x) {
    const Words w = words_of(x);
    if (w.exponent() < small_below) return small_tangent(x, w);
    if (w.exponent() == infinite) return invalid(x);
    Reduced r = reduce(__builtin_fabsl(x), w.exponent());
    constexpr long double eighth_pi = 0x1.921fb5p-2L;
    const bool below = r.hi < 0;
    const bool cotangent = r.octant & 2;
    if (__builtin_fabsl(r.hi) <= eighth_pi) return with_sign(by_polynomial(r, cotangent), w.negative());
    if (below) r = {-r.hi, -r.lo, r.octant};
    return with_sign(by_rows(r, cotangent), w.negative() != below);
}
