// Arguments of the trigonometric cores, reduced by multiples of pi/4.
#pragma once

#include "kernels/complex/exports.h"
#include "kernels/complex/extended.h"

namespace nvo::extended {

// x = octant pi/4 + hi + lo, |hi| up to pi/4 and an ulp, octant even, counted modulo 8 or not.
struct Reduced {
    long double hi, lo;
    unsigned octant;
};

inline constexpr int all_low_digits = 5;        // of 4/pi, in nvo_ark_kernel_reduce_pi04l
inline constexpr unsigned digits_from = 0x401C; // exponent field of 2^29: from here on digits of 4/pi are needed

// For 0 <= x < 2^29 with the exponent field e. Up to 2^16 pi/4 has three parts of 45, 46 and 53 bits, beyond five of 27
// to 53 bits. The even n has 17 or 30 bits, so all of its products but the last are exact; so is the first difference,
// a multiple of 2^-64 below 1. No x comes closer to a multiple of pi/2 than 2^-70, and what is left out is below
// 2^-132.
NVO_INLINE Reduced reduce_by_parts(long double x, unsigned e) {
    if (x <= 0.785) return {x, 0, 0};
    constexpr long double shifter = 0x1.8p64L; // its ulp is 2
    const long double n = (x * 1.2732395447351628 + shifter) - shifter;
    const auto octant = static_cast<unsigned>(static_cast<std::int64_t>(static_cast<double>(n)));
    if (e < 0x400F) {
        constexpr double parts[] = {0.7853981633974456, 2.6951514290790658e-15, -6.2684951034662496e-30};
        const Sum r = two_sum(x - n * parts[0], -(n * parts[1]));
        return {r.hi, r.lo - n * parts[2], octant};
    }
    constexpr double parts[] = {0.7853981633670628, 3.038550253151983e-11, 1.0111331243555832e-21,
                                4.2392138301741147e-32, 1.0335160549131994e-43};
    const Sum head = two_sum(x - n * parts[0], -(n * parts[1]));
    const Sum r = two_sum(head.hi, -(n * parts[2]));
    return {r.hi, ((head.lo + r.lo) - n * parts[3]) - n * parts[4], octant};
}

// For finite x >= 0 with the exponent field e. Two low digits of 4/pi leave an error below 2^-86, which is enough
// unless the result is small.
NVO_INLINE Reduced reduce(long double x, unsigned e) {
    if (e < digits_from) return reduce_by_parts(x, e);
    long double r[2];
    auto octant = nvo_ark_kernel_reduce_pi04l(2, r, x);
    if (__builtin_fabsl(r[0]) < 0x1p-10L) octant = nvo_ark_kernel_reduce_pi04l(all_low_digits, r, x);
    return {r[0], r[1], static_cast<unsigned>(octant)};
}

} // namespace nvo::extended
