// The exponentials of any number, in doubles: for the elements that lanes can't take. b^x = 2^(n/64) b^r, with
// x = n log_b(2) / 64 + r. A base gives multiplier (64 log2 b) and remainder(x, n), if it isn't 2, and p(r) = b^r - 1.
#pragma once

#include "frame/kernel.h"
#include "tables/exp2_fraction.h"

#include <bit>
#include <cmath>
#include <limits>

namespace nvo {

// b^x = 2^k (hi + hi q), |q| small.
struct UnscaledExp {
    double hi, q;
    int k;
};
template <class Base> UnscaledExp unscaled_exp(double x) {
    double t, r;
    if constexpr (requires { Base::multiplier; }) {
        constexpr double shifter = 6755399441055744.0; // 1.5 * 2^52
        t = x * Base::multiplier + shifter;
        r = Base::remainder(x, t - shifter);
    } else {
        constexpr double shifter = 105553116266496.0; // 1.5 * 2^(52 - 6)
        t = x + shifter;
        r = x - (t - shifter);
    }
    const auto low = static_cast<std::int32_t>(std::bit_cast<std::uint64_t>(t));
    const double* entry = tables::exp2_fraction_64d_relative[low & 63];
    return {entry[0], Base::p(r) + entry[1], low >> 6};
}

inline double power_of_two(int field) { return std::bit_cast<double>(static_cast<std::uint64_t>(field & 0x7FF) << 52); }

inline double scaled_normal(const UnscaledExp& u) {
    const double y = u.hi + u.q * u.hi;
    if (((u.k + 1023) & 0x7FF) >= 0x7FF) { // 2^1024 in two halves
        const double half = y * 0x1p1023;
        return half + half;
    }
    return y * power_of_two(u.k + 1023);
}

// A result that may be denormal, rounded once: the head is short enough to scale without rounding.
inline double scaled_denormal(const UnscaledExp& unscaled) {
    const int field = (unscaled.k + 1083) & 0x7FF;
    const double s = power_of_two(field);
    const double u = unscaled.hi * s;
    const double v = unscaled.q * unscaled.hi * s;
    const double w = u + v;
    if (field <= 50) return w * 0x1p-60;
    const double big = w * 6442450944.0; // 1.5 * 2^32
    const double head = (w + big) - big;
    return head * 0x1p-60 + 0x1p-60 * (v + (u - w) + (w - head));
}

// The table of special cases of a row: its base, its thresholds, and whether it rounds denormal results only once.
template <class Row, class R> std::int32_t exp_of_any(R x, R* y) {
    constexpr R infinity = std::numeric_limits<R>::infinity();
    if (x == -infinity) return *y = 0, ARK_STATUS_OK;
    if (!(x < infinity)) return *y = x * x, ARK_STATUS_OK; // +infinity, NaN
    if (Row::is_tiny(x)) return *y = 1 + x, ARK_STATUS_OK;
    if (Row::overflows(x)) return *y = infinity, ARK_STATUS_OVERFLOW;
    if (Row::vanishes(x)) return *y = 0, ARK_STATUS_UNDERFLOW;
    const UnscaledExp u = unscaled_exp<typename Row::Base>(x);
    if (!Row::may_be_denormal(x)) return *y = static_cast<R>(scaled_normal(u)), ARK_STATUS_OK;
    *y = static_cast<R>(Row::rounds_denormals_once ? scaled_denormal(u) : scaled_normal(u));
    return ARK_STATUS_UNDERFLOW;
}

struct BaseE {
    static constexpr double multiplier = 92.33248261689366;
    static double remainder(double x, double n) { return (x + n * -0.010830424696223417) + n * -2.572804622327669e-14; }
    static double p(double r) {
        const double c =
            (((0.0013888870459233254 * r + 0.008333341995140497) * r + 0.04166666666677052) * r + 0.1666666666665788) *
                r +
            0.5;
        return c * (r * r) + r;
    }
};

// e^x: the routine of Exp, and of Expm1 where the 1 can't be seen.
template <class R> struct ExpRoutine {
    using Base = BaseE;
    static constexpr bool is_float = sizeof(R) == 4;
    static constexpr bool rounds_denormals_once = true;
    static constexpr R overflow_above = is_float ? R(0x1.62e42ep6) : R(709.782712893384); // 0x42B17217
    static constexpr R zero_below = is_float ? R(-0x1.9fe368p6) : R(-745.1332191019411);  // 0xC2CFF1B4
    static constexpr R denormal_below = is_float ? R(-87.33654F) : R(-708.3964185322641);
    static bool overflows(R x) { return x > overflow_above; }
    static bool vanishes(R x) { return x < zero_below; }
    static bool may_be_denormal(R x) { return x < denormal_below; }
    static bool is_tiny(R x) {
        if constexpr (is_float) return (std::bit_cast<std::uint32_t>(x) & 0x7FFFFFFF) < 0x25000001;
        return std::abs(x) < 0x1p-52;
    }
};

} // namespace nvo
