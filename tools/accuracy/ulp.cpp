#include "tools/accuracy/ulp.h"

namespace nvo::accuracy {

namespace {

// As in IEEE formats, for x = m 2^e with 1/2 <= m < 1 an ulp is 2^(e - p).
template <class T> mpfr_exp_t ulp_exponent(mpfr_srcptr x) {
    using Limits = std::numeric_limits<T>;
    const mpfr_exp_t e = mpfr_zero_p(x) != 0 ? Limits::min_exponent : mpfr_get_exp(x);
    return std::clamp<mpfr_exp_t>(e, Limits::min_exponent, Limits::max_exponent) - Limits::digits;
}

// NaN for NaN, an infinity for the same infinity, and signs where there is nothing else to tell zeros and infinities
// by.
template <class T> bool kinds_agree(T y, mpfr_srcptr x) {
    if (mpfr_nan_p(x) != 0 || std::isnan(y)) return mpfr_nan_p(x) != 0 && std::isnan(y);
    if (mpfr_inf_p(x) != 0 && !std::isinf(y)) return false;
    const bool same_sign = std::signbit(y) == (mpfr_signbit(x) != 0);
    return same_sign || (y != 0 && !std::isinf(y));
}

// |y - x| in ulp, rounded up.
template <class T> double distance(T y, mpfr_srcptr x) {
    static thread_local tools::Mp d(0.0, 192);
    if (std::isinf(y)) {
        mpfr_set_si_2exp(d.get(), y > 0 ? 1 : -1, std::numeric_limits<T>::max_exponent, MPFR_RNDN);
    } else {
        mpfr_set_ld(d.get(), y, MPFR_RNDN);
    }
    mpfr_sub(d.get(), d.get(), x, MPFR_RNDA);
    mpfr_abs(d.get(), d.get(), MPFR_RNDU);
    mpfr_mul_2si(d.get(), d.get(), -ulp_exponent<T>(x), MPFR_RNDU);
    return mpfr_get_d(d.get(), MPFR_RNDU);
}

} // namespace

template <class T> double ulp_error(T y, const tools::Mp& exact) {
    const mpfr_srcptr x = exact.get();
    if (!kinds_agree(y, x)) return wrong_kind;
    const T rounded = nearest<T>(exact);
    if (std::isnan(y) || (std::isinf(y) && std::isinf(rounded))) return 0;
    const double error = distance(y, x);
    return y == rounded ? error : std::max(error, std::nextafter(0.5, 1.0));
}

template double ulp_error(float y, const tools::Mp& exact);
template double ulp_error(double y, const tools::Mp& exact);
template double ulp_error(long double y, const tools::Mp& exact);

} // namespace nvo::accuracy
