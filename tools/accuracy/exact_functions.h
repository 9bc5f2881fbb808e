// What MPFR lacks, in the form of its own functions.
#pragma once

#include <mpfr.h>

namespace nvo::accuracy {

inline int inverse(mpfr_ptr y, mpfr_srcptr a, mpfr_rnd_t direction) { return mpfr_ui_div(y, 1, a, direction); }

// The sign of -0 is kept in the pole.
inline int inverse_sqrt(mpfr_ptr y, mpfr_srcptr a, mpfr_rnd_t direction) {
    return mpfr_zero_p(a) ? inverse(y, a, direction) : mpfr_rec_sqrt(y, a, direction);
}

// Powers of thirds: two roundings to the precision of y.
inline int inverse_cbrt(mpfr_ptr y, mpfr_srcptr a, mpfr_rnd_t direction) {
    mpfr_cbrt(y, a, direction);
    return mpfr_ui_div(y, 1, y, direction);
}
inline int pow2o3(mpfr_ptr y, mpfr_srcptr a, mpfr_rnd_t direction) {
    mpfr_cbrt(y, a, direction);
    return mpfr_sqr(y, y, direction);
}

// a^3 is exact; -0 gives +0.
inline int pow3o2(mpfr_ptr y, mpfr_srcptr a, mpfr_rnd_t direction) {
    mpfr_t cube;
    mpfr_init2(cube, 3 * mpfr_get_prec(a));
    mpfr_pow_ui(cube, a, 3, MPFR_RNDN);
    if (mpfr_zero_p(cube)) mpfr_setsign(cube, cube, 0, MPFR_RNDN);
    const int inexact = mpfr_sqrt(y, cube, direction);
    mpfr_clear(cube);
    return inexact;
}

// The power as e^(b ln a): not for negative a, nor where b ln a is NaN.
inline int powr(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t direction) {
    const bool is_nan = mpfr_nan_p(a) || mpfr_nan_p(b) || mpfr_sgn(a) < 0 ||
                        (mpfr_zero_p(b) && (mpfr_zero_p(a) || mpfr_inf_p(a))) ||
                        (mpfr_inf_p(b) && mpfr_cmp_ui(a, 1) == 0);
    if (is_nan) return mpfr_set_nan(y), 0;
    if (!mpfr_zero_p(a)) return mpfr_pow(y, a, b, direction);
    mpfr_sgn(b) > 0 ? mpfr_set_zero(y, 1) : mpfr_set_inf(y, 1);
    return 0;
}

// Of a number as 2^e times a significand from 1 up to 2.
inline int exponent_of(mpfr_ptr y, mpfr_srcptr a, mpfr_rnd_t direction) {
    if (mpfr_zero_p(a)) {
        mpfr_set_inf(y, -1);
        return 0;
    }
    if (!mpfr_number_p(a)) return mpfr_abs(y, a, direction);
    return mpfr_set_si(y, mpfr_get_exp(a) - 1, direction);
}

} // namespace nvo::accuracy
