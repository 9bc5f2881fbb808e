#include "tools/accuracy/ulp.h"

namespace nvo::accuracy {

namespace {

// As in IEEE formats, for x = m 2^e with 1/2 <= m < 1 an ulp is 2^(e - p).
template <class T> mpfr_exp_t ulp_exponent(mpfr_srcptr x) {
    using Limits = std::numeric_limits<T>;
    const mpfr_exp_t e = mpfr_zero_p(x) != 0 ? Limits::min_exponent : mpfr_get_exp(x);
    return std::clamp<mpfr_exp_t>(e, Limits::min_exponent, Limits::max_exponent) - Limits::digits;
}

} // namespace

template <class T> double ulp_error(T y, const tools::Mp& exact) {
    const mpfr_srcptr x = exact.get();
    if (mpfr_nan_p(x) != 0 || std::isnan(y)) return mpfr_nan_p(x) != 0 && std::isnan(y) ? 0 : wrong_kind;
    const bool same_sign = std::signbit(y) == (mpfr_signbit(x) != 0);
    const bool needs_sign = y == 0 || std::isinf(y) || mpfr_inf_p(x) != 0;
    if (needs_sign && !same_sign) return wrong_kind;
    if (mpfr_inf_p(x) != 0) return std::isinf(y) ? 0 : wrong_kind;
    const T rounded = nearest<T>(exact);
    if (std::isinf(y) && std::isinf(rounded)) return 0;

    static thread_local tools::Mp distance(0.0, 192);
    if (std::isinf(y)) {
        mpfr_set_si_2exp(distance.get(), y > 0 ? 1 : -1, std::numeric_limits<T>::max_exponent, MPFR_RNDN);
    } else {
        mpfr_set_ld(distance.get(), y, MPFR_RNDN);
    }
    mpfr_sub(distance.get(), distance.get(), x, MPFR_RNDA);
    mpfr_abs(distance.get(), distance.get(), MPFR_RNDU);
    mpfr_mul_2si(distance.get(), distance.get(), -ulp_exponent<T>(x), MPFR_RNDU);
    const double error = mpfr_get_d(distance.get(), MPFR_RNDU);
    return y == rounded ? error : std::max(error, std::nextafter(0.5, 1.0));
}

template double ulp_error(float y, const tools::Mp& exact);
template double ulp_error(double y, const tools::Mp& exact);
template double ulp_error(long double y, const tools::Mp& exact);

} // namespace nvo::accuracy
