// Inverse sine and cosine in the extended format. Largest errors found in half a million arguments each:
//     asinl  1.115 ulp at -0x8.c368535611773c6p-4
//     acosl  1.097 ulp at 0x9.8ed1ed7261fe772p-4

#include "kernels/complex/angles.h"
#include "kernels/complex/exports.h"

using namespace nvo::extended;

namespace {

// (asin t - t) / t for |t| <= 1/2, z = t^2 (tools/fit/extended_cores.sollya, 2^-75).
NVO_INLINE long double excess(long double z) {
    const long double z2 = z * z, z4 = z2 * z2;
    const long double low = polynomial(z, 0x1.555555555555555ap-3L, 0x1.33333333333320e8p-4L, 0x1.6db6db6db6f4f8dap-5L,
                                       0x1.f1c71c71b4dc3p-6L, 0x1.6e8ba2eca479fp-6L, 0x1.1c4ec45f0befp-6L,
                                       0x1.c999b54580cb9p-7L, 0x1.7a85935a3aaa2p-7L);
    const long double high = polynomial(z, 0x1.3ff86361bc1a5p-7L, 0x1.11eab257463ccp-7L, 0x1.ee8f78b4dbbep-8L,
                                        0x1.4fb6713e37f27p-8L, 0x1.7307f8e3c1819p-7L, -0x1.87968342248cbp-7L,
                                        0x1.50ad66a4237eap-5L, -0x1.729107592e991p-5L, 0x1.3b6ffeca64a1p-5L);
    return z * (low + z4 * z4 * high);
}

// The same below 2^-8, with as many terms as the exponent asks for.
constexpr unsigned small_below = 0x3FF7;
NVO_INLINE long double small_excess(long double z, unsigned e) {
    constexpr long double a3 = 1 / 6.0L;
    constexpr double a5 = 3 / 40.0, a7 = 5 / 112.0, a9 = 35 / 1152.0;
    if (e < 0x3FEC) return z * a3;
    if (e < 0x3FF2) return z * horner(z, a3, a5);
    return z * horner(z, a3, a5, a7, a9);
}

// acos m = 2 asin sqrt((1 - m) / 2) for 1/2 <= m < 1, where 1 - m is exact.
NVO_INLINE Sum near_one(long double m) {
    const long double z = 0.5L * (1 - m);
    const long double twice = 2 * square_root(z);
    return {twice, twice * excess(z)};
}

constexpr unsigned half = bias - 1; // exponent field of 1/2

} // namespace

long double nvo_ark_kernel_asinl_scalar(long double x) {
    const Words w = words_of(x);
    const unsigned e = w.exponent();
    if (e < half) {
        if (e >= small_below) return x + x * excess(x * x);
        if (e < 0x3FB3) return nearly(x, w);
        return x + x * small_excess(x * x, e);
    }
    const long double magnitude = __builtin_fabsl(x);
    if (!below(magnitude, 1)) return magnitude == 1 ? with_sign(rounded(_pi_02l), w.negative()) : invalid(x);
    const Sum angle = near_one(magnitude);
    return with_sign(less(_pi_02l, angle.hi, angle.lo), w.negative());
}

long double nvo_ark_kernel_acosl_scalar(long double x) {
    const Words w = words_of(x);
    const unsigned e = w.exponent();
    if (e < half) {
        if (e >= small_below) return less(_pi_02l, x, x * excess(x * x));
        if (e < 0x3FB3) return rounded(_pi_02l);
        return less(_pi_02l, x, x * small_excess(x * x, e));
    }
    const long double magnitude = __builtin_fabsl(x);
    if (!below(magnitude, 1)) {
        if (magnitude != 1) return invalid(x);
        return w.negative() ? rounded(pi_l) : 0;
    }
    const Sum angle = near_one(magnitude);
    return w.negative() ? less(pi_l, angle.hi, angle.lo) : angle.hi + angle.lo;
}
