// Floor, logarithm and square root of one value, for the inner loops of generators and statistics.
//
// Largest errors in ulp, and where (./run accuracy __ostdLn __ostsLn __ostdSqrt):
//
//   __ostdLn     2.143   0x1.f127da3772dc4p-6: got -0x1.bf6150b186725p+1, want -0x1.bf6150b186727p+1
//   __ostsLn     0.500   0x1.0682c4p+9: got 0x1.90dc3p+2, want 0x1.90dc3p+2
//   __ostdSqrt   1.952   0x1.ee0e0491e191fp+461: got 0x1.f6f285740fd86p+230, want 0x1.f6f285740fd84p+230
//
// From 0.5 to 0.984375 the leading terms of __ostdLn cancel, -ln 2 against the row of the table: there the error is
// 1.33e-16, an absolute one, at 0x1.0a1b495318e2bp-1.

#include "streams/exports.h"

#include "tables/inv_sqrt_quadratics.h"
#include "tables/log_table_256.h"

#include <bit>
#include <cstdint>
#include <limits>

using namespace nvo;

namespace {

constexpr std::uint64_t fraction_field = 0x000FFFFFFFFFFFFF, exponent_field = 0x7FF0000000000000;
constexpr std::uint64_t one = 0x3FF0000000000000, sign = 0x8000000000000000;

std::uint64_t bits(double x) { return std::bit_cast<std::uint64_t>(x); }
double from_bits(std::uint64_t w) { return std::bit_cast<double>(w); }
double upper_word(double x) { return from_bits(bits(x) & 0xFFFFFFFF00000000); }

// ---- Logarithm ------------------------------------------------------------------------------------------------------

// Of m 2^(exponent - adjustment), m from 1 to 2. mh r is exact: 21 bits by 12.
[[gnu::always_inline]] inline double ln_of_normal(double x, int adjustment) {
    const std::uint64_t w = bits(x);
    const double e = static_cast<double>(static_cast<int>(w >> 52) - (1023 + adjustment));
    const double m = from_bits((w & fraction_field) | one), mh = upper_word(m), ml = m - mh;
    const auto i = w >> 44 & 0xFF;
    const double r = tables::rcp_table_256[i];
    const auto [a, b] = tables::log_table_256[i]; // correction, main value

    const double u = mh * r - 1 + ml * r, v = u * u;
    const double p0 = (-0.1666678766814359 * v - 0.2499999999965227) * v - 0.5;
    const double p1 = 0.20000103714740713 * v + 0.33333333333145093;
    // u + a comes first: one by one, added to e ln 2, they round twice at its size, and the largest error is 3.008 ulp,
    // at 0x1.d56080b355ea1p-12, instead of 2.143.
    return ((e * 0.6931471805599453 + (u + a)) + b) + v * (p0 + p1 * u);
}

constexpr std::uint32_t near_1_from = 0x3FEF8000, near_1_end = 0x3FF04000;        // upper words: 0.984375, 1.015625
constexpr std::uint32_t next_to_1_from = 0x3FF00000, next_to_1_last = 0x3FF0017F; // 1 to 1 + 0.00037

[[gnu::noinline]] double ln_near_1(double x) {
    const auto h = static_cast<std::uint32_t>(bits(x) >> 32);
    const double t = x - 1, s = t * t;
    if (h >= next_to_1_from && h <= next_to_1_last) {
        if (t == 0) return 0;
        return t + ((s * -0.2500000031044086 - 0.5) * t + (0.20000000372548288 * s + 0.3333333333333333) * s) * t;
    }
    // -t^2/2 from parts: (t + g)(t - g) + g^2, where g^2 is exact.
    const double g = upper_word(t);
    const double p =
        t * (((0.11116661653512257 * s + 0.14285713099855774) * s + 0.20000000000103405) * s + 0.3333333333333333);
    const double q =
        s * (((-0.10006105984234723 * s - 0.12499998353772789) * s - 0.16666666666863844) * s - 0.2499999999999999);
    return ((t + g) * (t - g) + g * g) * -0.5 + t + (p + q) * s;
}

// NaN, +infinity, negative numbers, zeros and denormals.
[[gnu::noinline]] double ln_of_special(double x) {
    if (x != x || x == std::numeric_limits<double>::infinity()) return x;
    if (x == 0) return -std::numeric_limits<double>::infinity();
    if (x < 0) return std::numeric_limits<double>::quiet_NaN();
    return ln_of_normal(x * 0x1p55, 55);
}

inline double ln(double x) {
    const auto h = static_cast<std::uint32_t>(bits(x) >> 32);
    constexpr std::uint32_t first_normal = 0x00100000, end_normal = 0x7FF00000;
    if (h - near_1_from < near_1_end - near_1_from) [[unlikely]]
        return ln_near_1(x);
    if (h - first_normal >= end_normal - first_normal) [[unlikely]]
        return ln_of_special(x);
    return ln_of_normal(x, 0);
}

// ---- Square root ----------------------------------------------------------------------------------------------------

constexpr double dbSqrt[2] = {1.4142135623730951, 1.0}; // by the lowest bit of the exponent field

} // namespace

double __ostdFloor(double x) {
    const std::uint64_t w = bits(x), magnitude = w & ~sign;
    if (magnitude < one) return w > sign ? -1.0 : from_bits(w & sign);
    const auto exponent = (magnitude >> 52) - 1023;
    if (exponent >= 52) return x;
    const std::uint64_t below_point = fraction_field >> exponent;
    // A negative number goes up in magnitude to the next integer; a carry out of the fraction raises the exponent.
    return from_bits((w + (w > sign ? below_point : 0)) & ~below_point);
}

double __ostdLn(double x) { return ln(x); }

float __ostsLn(float x) { return static_cast<float>(ln(x)); }

// x / sqrt(x): z is near 1 / sqrt(x) to 2^-27.6, and a Newton step squares that.
double __ostdSqrt(double x) {
    const std::uint64_t w = bits(x);
    const auto i = w >> 45 & 0x7F;
    const double m = from_bits((w & fraction_field) | one);
    const double y = (tables::dwA2[i] * m + tables::dwA1[i]) * m + tables::dwA0[i];
    const double power = from_bits(0x5FE0000000000000 - (w >> 1 & exponent_field)); // 2^(511 - field / 2)
    const double z = y * dbSqrt[w >> 52 & 1] * power;
    return x * z * (-0.5 * (x * z) * z + 1.5);
}
