// How errors are counted.
//
// The error of a result y is |y - exact| / ulp(exact). For a number format with p bits of significand, ulp(x) is the
// distance of neighbours at x: 2^(k - p + 1) for 2^k <= |x| < 2^(k + 1). Below the smallest normal number it stays at
// the distance of the denormals, 2^-149 or 2^-1074, zero included; above the largest finite number it stays at that of
// the last binade.
//
// Three rules make it hold everywhere:
//   kind       NaN answers NaN and a true infinity the same infinity; a zero has the sign of the exact result, whether
//              that is a zero or only too small. Else the error is infinite.
//   overflow   An infinity is right from the value on that rounds to it. Below, it counts as 2^128 or 2^1024.
//   ties       A result that isn't the nearest number has an error above 1/2, also if it is as near: ties go to even.
#pragma once

#include "tools/support/mp.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <type_traits>

namespace nvo::accuracy {

inline constexpr double wrong_kind = std::numeric_limits<double>::infinity();

// The format in which fast references are computed.
template <class T> using Wide = std::conditional_t<std::is_same_v<T, float>, double, long double>;

// The error of y, rounded up. exact should have at least twice the bits of T.
template <class T> double ulp_error(T y, const tools::Mp& exact);

// The nearest number of the format.
template <class T> T nearest(const tools::Mp& x) {
    if constexpr (std::is_same_v<T, float>) return mpfr_get_flt(x.get(), MPFR_RNDN);
    if constexpr (std::is_same_v<T, double>) return mpfr_get_d(x.get(), MPFR_RNDN);
    if constexpr (std::is_same_v<T, long double>) return mpfr_get_ld(x.get(), MPFR_RNDN);
}

// From half an ulp above the largest finite number on, all rounds to infinity.
template <class T> constexpr Wide<T> overflow_from() {
    using W = Wide<T>;
    constexpr auto epsilon = W(std::numeric_limits<T>::epsilon());
    constexpr W top_binade = W(std::numeric_limits<T>::max()) / (2 - epsilon);
    return top_binade * (2 - epsilon / 4);
}

// 1 / ulp(x), for values in the wider format. Plain enough for the compiler to make lanes of it.
template <class T> Wide<T> inverse_ulp(Wide<T> x) {
    using W = Wide<T>;
    const W inside =
        std::min(std::max(std::fabs(x), W(std::numeric_limits<T>::min())), W(std::numeric_limits<T>::max()));
    constexpr int p = std::numeric_limits<T>::digits;
    if constexpr (std::is_same_v<W, double>) {
        constexpr std::uint64_t exponent_field = 0x7FF0000000000000;
        const std::uint64_t k = std::bit_cast<std::uint64_t>(inside) & exponent_field;
        return std::bit_cast<double>((std::uint64_t{2 * 1023 + p - 1} << 52) - k);
    } else {
        struct {
            std::uint64_t significand;
            std::uint16_t exponent;
        } parts;
        static_assert(sizeof(long double) == 16 && std::numeric_limits<long double>::digits == 64);
        std::memcpy(&parts, &inside, 10);
        parts.exponent = static_cast<std::uint16_t>(2 * 16383 + p - 1 - parts.exponent);
        parts.significand = std::uint64_t{1} << 63;
        long double y = 0;
        std::memcpy(&y, &parts, 10);
        return y;
    }
}

} // namespace nvo::accuracy
