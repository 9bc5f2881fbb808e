// Multiples of pi/4 as pairs.
#pragma once

#include "kernels/complex/extended.h"

namespace nvo::extended {

inline constexpr Sum _pi_00l = {0, 0};
inline constexpr Sum _pi_04l = {0xc90fdaa22168c235p-64L, -0xece675d1fc8f8cbbp-130L};
inline constexpr Sum _pi_02l = {2 * _pi_04l.hi, 2 * _pi_04l.lo};
inline constexpr Sum _pi_34l = {0x96cbe3f9990e91a8p-62L, -0xd8d66c2ebeb5d4c6p-127L};
inline constexpr Sum pi_l = {4 * _pi_04l.hi, 4 * _pi_04l.lo};

// The nearest number; inexact, but for 0.
NVO_INLINE long double rounded(const Sum& angle) { return opaque(angle.hi) + angle.lo; }

// angle - (hi + lo) for |hi| up to the angle.
NVO_INLINE long double less(const Sum& angle, long double hi, long double lo) {
    const Sum s = fast_two_sum(angle.hi, -hi);
    return s.hi + (s.lo + (angle.lo - lo));
}

} // namespace nvo::extended
