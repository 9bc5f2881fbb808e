// Numbers next to multiples of pi/2, which are hard for trigonometric functions.
#pragma once

#include "tests/kernels_complex/extended.h"

namespace nvo::tests {

using tools::Mp;

inline constexpr mpfr_prec_t bits = 20000; // of pi: more than the largest exponent and two significands

inline const Mp& quarter_pi() {
    static const Mp value = [] {
        Mp pi(0.0, bits);
        mpfr_const_pi(pi.get(), MPFR_RNDN);
        return pi / Mp(4.0);
    }();
    return value;
}

// A number of the binade of 2^exponent whose distance to a multiple of pi/2 is next to nothing: its 64-bit integer
// significand is the denominator of a convergent of the last bit's worth in units of pi/2, a best approximation.
inline long double hardest(int exponent) {
    Mp alpha(0.0, bits), whole(0.0, bits);
    mpfr_set_ui_2exp(alpha.get(), 1, exponent - 63, MPFR_RNDN);
    alpha = alpha / (quarter_pi() * Mp(2.0));
    unsigned __int128 q = 1, before = 0;
    for (;;) {
        mpfr_floor(whole.get(), alpha.get());
        alpha = Mp(1.0) / (alpha - whole);
        mpfr_floor(whole.get(), alpha.get());
        if (mpfr_cmp_ui_2exp(whole.get(), 1, 63) >= 0) break;
        const unsigned __int128 next = q * mpfr_get_ui(whole.get(), MPFR_RNDN) + before;
        if (next >> 64 != 0) break;
        before = q;
        q = next;
    }
    return std::ldexp(static_cast<long double>(static_cast<std::uint64_t>(q)), exponent - 63);
}

} // namespace nvo::tests
