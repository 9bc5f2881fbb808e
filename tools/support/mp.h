// Numbers of any precision: an owner of an MPFR number with the few operations that table programs and meters need.
// Results have the precision of the widest operand and round to nearest.
#pragma once

#include <algorithm>
#include <mpfr.h>
#include <utility>

namespace nvo::tools {

inline constexpr mpfr_prec_t mp_bits = 256;

class Mp {
public:
    Mp() : Mp(0.0) {}
    Mp(double x, mpfr_prec_t precision = mp_bits) { // NOLINT(google-explicit-constructor): a number is a number
        mpfr_init2(value_, precision);
        mpfr_set_d(value_, x, MPFR_RNDN);
    }
    Mp(const Mp& other) {
        mpfr_init2(value_, mpfr_get_prec(other.value_));
        mpfr_set(value_, other.value_, MPFR_RNDN);
    }
    Mp& operator=(const Mp& other) {
        if (this != &other) {
            mpfr_set_prec(value_, mpfr_get_prec(other.value_));
            mpfr_set(value_, other.value_, MPFR_RNDN);
        }
        return *this;
    }
    ~Mp() { mpfr_clear(value_); }

    mpfr_ptr get() { return value_; }
    mpfr_srcptr get() const { return value_; }
    double to_double() const { return mpfr_get_d(value_, MPFR_RNDN); }

    // f is one of MPFR's functions of one or two arguments, as in Mp::apply(mpfr_sqrt, x).
    template <class F> static Mp apply(F f, const Mp& x) {
        Mp y(0.0, mpfr_get_prec(x.value_));
        f(y.value_, x.value_, MPFR_RNDN);
        return y;
    }
    template <class F> static Mp apply(F f, const Mp& a, const Mp& b) {
        Mp y(0.0, std::max(mpfr_get_prec(a.value_), mpfr_get_prec(b.value_)));
        f(y.value_, a.value_, b.value_, MPFR_RNDN);
        return y;
    }

private:
    mpfr_t value_;
};

inline Mp operator+(const Mp& a, const Mp& b) { return Mp::apply(mpfr_add, a, b); }
inline Mp operator-(const Mp& a, const Mp& b) { return Mp::apply(mpfr_sub, a, b); }
inline Mp operator*(const Mp& a, const Mp& b) { return Mp::apply(mpfr_mul, a, b); }
inline Mp operator/(const Mp& a, const Mp& b) { return Mp::apply(mpfr_div, a, b); }
inline Mp sqrt(const Mp& x) { return Mp::apply(mpfr_sqrt, x); }

} // namespace nvo::tools
