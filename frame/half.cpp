// Conversions between IEEE binary16 and double, for the SSE2 baseline, which has none. In binary16 a sign, 5 bits of
// exponent (bias 15) and 10 of fraction.

#include "frame/exports.h"

#include <bit>
#include <cfloat>
#include <cmath>
#include <cstdint>

namespace {

constexpr double max_half = 65504.0;

// The bits of |h|, for |h| a binary16 value.
std::uint16_t exact_half(double h) {
    if (h < 0x1p-14) return static_cast<std::uint16_t>(h * 0x1p24); // a multiple of 2^-24: the pattern is the multiple
    const auto bits = std::bit_cast<std::uint64_t>(h);
    return static_cast<std::uint16_t>((bits >> 42) - ((1023 - 15) << 10));
}

} // namespace

extern "C" {

double __vlang_math_fp16to64(std::uint16_t half) {
    const double sign = (half & 0x8000) != 0 ? -1.0 : 1.0;
    const int exponent = half >> 10 & 0x1F;
    const int fraction = half & 0x3FF;
    if (exponent == 0) return sign * (fraction * 0x1p-24);
    // Infinities and NaNs keep their fraction; the sum makes a signalling NaN quiet and raises the flag for it.
    const int field = exponent == 0x1F ? 0x7FF : exponent + (1023 - 15);
    const auto bits = std::uint64_t(half & 0x8000U) << 48 | std::uint64_t(field) << 52 | std::uint64_t(fraction) << 42;
    return std::bit_cast<double>(bits) + 0.0;
}

std::uint16_t __vlang_math_fp64to16(double x) {
    const auto bits = std::bit_cast<std::uint64_t>(x);
    const auto sign = static_cast<std::uint16_t>(bits >> 48 & 0x8000);
    const double magnitude = std::fabs(x);
    if (std::isnan(x)) return static_cast<std::uint16_t>(sign | 0x7E00 | (bits >> 42 & 0x3FF));
    if (std::isinf(x)) return sign | 0x7C00;

    if (magnitude <= max_half + 16) {
        // Rounding at the last bit of a half: the shifter has its own last bit there, so that the sum is rounded there,
        // once. It has the sign of x, so that the current direction means the same for the sum.
        const int exponent = magnitude < 0x1p-14 ? -14 : std::ilogb(x);
        const double shifter = std::copysign(std::bit_cast<double>(std::uint64_t(1023 + exponent + 42) << 52), x);
        const double rounded = std::fabs((x + shifter) - shifter);
        if (rounded <= max_half) return sign | exact_half(rounded);
    }
    // Overflow: infinity or the largest half, as the rounding direction has it. A float's overflow tells, and raises
    // the flags.
    volatile float largest = std::copysign(FLT_MAX, static_cast<float>(sign != 0 ? -1 : 1));
    const float overflowed = largest * 2.0F;
    return sign | (std::isinf(overflowed) ? 0x7C00 : 0x7BFF);
}
}
