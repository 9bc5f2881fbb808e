// Logarithms in the extended format, as steps that the cores share.
#pragma once

#include "kernels/complex/exports.h"
#include "kernels/complex/extended.h"

namespace nvo::extended {

// ln 2, the head a multiple of 2^-42.
inline constexpr double ln2_hi = 0.6931471806019545, ln2_lo = -4.2009150726810846e-11;

// A low part that isn't there.
struct None {};
NVO_INLINE long double operator+(long double x, None) { return x; }
NVO_INLINE None operator*(None, double) { return {}; }

// ln(x + low) for a finite normal x > 0 and |low| up to an ulp of it, not near 1. With x = 2^e m, rc a short reciprocal
// of m from the table and r = m rc - 1, |r| < 2^-8:
//     ln x = (e ln 2 - ln rc + r) + (r^2 (-1/2 + r/3 - ...))
// m is split after 32 bits, so its products with rc are exact; the head of ln 2, that of -ln rc and that of r are
// multiples of 2^-42, so hi is exact. lo is off by less than 2^-80. A low part needs |e| < 1023.
template <class Low = None> NVO_INLINE Sum log_step(const Words& x, Low low = {}) {
    const int e = static_cast<int>(x.exponent()) - static_cast<int>(bias);
    const auto i = static_cast<unsigned>(x.significand >> 55) & 0xFF;
    const std::uint64_t head = x.significand >> 32 & 0x7FFFFFFF;
    const long double m_hi = std::bit_cast<double>(std::uint64_t{0x3FF} << 52 | head << 21);
    const long double m_lo = static_cast<std::int64_t>(x.significand & 0xFFFFFFFF) * 0x1p-63L;
    const long double rc = nvo_ark_core_rcp_table_256[i];
    const double* row = nvo_ark_core_logl_table_256[i];

    const long double r_hi = m_hi * rc - 1;
    const long double r_lo = (m_lo + low * double_power_of_two(-e)) * rc;
    const long double r = r_hi + r_lo;
    const long double p = polynomial(r, -0.5L, 0.33333333333333331, -0.24999999999633973, 0.19999999999446894,
                                     -0.16666787667321958, 0.14285848730630113);
    return {static_cast<long double>(e) * ln2_hi + row[0] + r_hi,
            r_lo + (static_cast<long double>(e) * ln2_lo + row[1] + r * r * p)};
}

// ln(1 + r + low) for 2^-76 <= |r| < 2^-5 or r = 0, and |low| up to an ulp of r.
template <class Low = None> NVO_INLINE long double log_near_one(long double r, Low low = {}) {
    const long double square = r * r;
    if (__builtin_fabsl(r) < 0x1p-14L)
        return r + (square * horner(r, -0.5L, 0.33333333333333587, -0.24999999998545225, 0.19999237092986186) + low);
    // r - r^2/2 with an exact head, then the 11 further terms (tools/fit/extended_cores.sollya, 2^-76).
    const long double r_hi = head_of(r), r_lo = r - r_hi;
    const long double p =
        polynomial(r, 0x1.5555555555555542p-2L, -0x1.00000000000000b6p-2L, 0x1.9999999999a0ap-3L,
                   -0x1.555555555510dp-3L, 0x1.249249242086cp-3L, -0x1.000000046c9d9p-3L, 0x1.c71c784e99d27p-4L,
                   -0x1.999957d09e087p-4L, 0x1.7446bddec4e2dp-4L, -0x1.56377e5f317b1p-4L, 0x1.5851d79cee22ap-4L);
    return (r_hi - 0.5L * (r_hi * r_hi)) + (r_lo + (square * r * p - 0.5L * (r_lo * (r_hi + r)) + low));
}

// Whether log_near_one takes it: 1 - 2^-5 < x < 1 + 2^-5.
NVO_INLINE bool is_near_one(const Words& x) { return x.top() - 0x3FFEF800 < 0x3FFF8400U - 0x3FFEF800U; }

// ln(1 + u + low) for u >= -1/2 that is 0 or above 2^-76 in magnitude, and |low| up to an ulp of u.
template <class Low> NVO_INLINE long double log1p_step(long double u, Low low) {
    if (__builtin_fabsl(u) < 0x1p-5L) return log_near_one(u, low);
    const Sum s = two_sum(1, u);
    const Sum y = log_step(words_of_result(s.hi), s.lo + low);
    return y.hi + y.lo;
}

} // namespace nvo::extended
