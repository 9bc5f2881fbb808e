// The exponential in the extended format, as a step that the cores share.
#pragma once

#include "kernels/complex/exports.h"
#include "kernels/complex/extended.h"

namespace nvo::extended {

// 2^scale (hi + lo)
struct Exponential {
    long double hi, lo;
    int scale;
};

// x = n ln 2 / 256 + r, |r| < 0.00136, and e^+-r - 1 = even +- odd. n times the head of ln 2 / 256 is exact, and so is
// its difference to x: for |x| < 2^14 r is off by less than 2^-73, and so is the sum of the terms.
struct ReducedExponent {
    int n;
    long double even, odd;
};
NVO_INLINE ReducedExponent reduce_exponent(long double x) {
    constexpr double ln2_256_hi = 0.0027076061742263846, ln2_256_lo = -1.6409824502660487e-13;
    constexpr long double shifter = 0x1.8p63L;
    const long double n = (x * 369.3299304675746 + shifter) - shifter;
    const long double r = (x - n * ln2_256_hi) - n * ln2_256_lo, square = r * r;
    return {static_cast<int>(static_cast<double>(n)),
            square * horner(square, 0.5L, 0.041666666666664499, 0.0013888892980155269),
            r + r * square * horner(square, 0.16666666666665733, 0.0083333358788653042)};
}

// 2^(n / 256) (1 + q): T = 2^(j/256) comes from the table, for the signed low 8 bits j of n. hi is T's nearest double.
NVO_INLINE Exponential power_step(int n, long double q) {
    const int row = n + 128;
    const double* power = nvo_ark_core_expl_table_256[row & 255];
    const long double hi = power[0], lo = power[1];
    return {hi, lo + (hi + lo) * q, row >> 8};
}

// The same with the scale in it, times 2^more. The products are those of doubles, exact for scales up to 900.
NVO_INLINE Sum scaled_power_step(int n, long double q, int more) {
    const int row = n + 128;
    const double* power = nvo_ark_core_expl_table_256[row & 255];
    const double scale = double_power_of_two((row >> 8) + more), hi = power[0] * scale, lo = power[1] * scale;
    return {hi, lo + (static_cast<long double>(hi) + lo) * q};
}

// e^x for |x| < 2^14; hi + lo is off by less than 2^-72.
NVO_INLINE Exponential exp_step(long double x) {
    const ReducedExponent y = reduce_exponent(x);
    return power_step(y.n, y.odd + y.even);
}

// v 2^scale for v near 1 and scale from -16382 to 16384, overflow included. The power of doubles, one word, is loaded
// at once where that of the wide format, two words, would wait for its stores.
NVO_INLINE long double scaled(long double v, int scale) {
    if (static_cast<unsigned>(scale + 1022) <= 2045) return v * double_power_of_two(scale);
    if (scale > 0) return 2 * v * power_of_two(scale - 1);
    return v * power_of_two(scale);
}

} // namespace nvo::extended
