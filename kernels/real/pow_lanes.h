// x^y for positive x, by a logarithm and an exponential: the lane formulas, which the routines share.
#pragma once

#include "frame/lanes.h"
#include "kernels/real/denormal_result.h"
#include "kernels/real/log_lanes.h"
#include "tables/exp2_fraction.h"
#include "tables/pow.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>

namespace nvo {

// PowLanes<R> has
//
//   lanes(x, y, special)   special: x is not positive and normal, or y not finite, or the result might not be normal
//   power(x, y)            x^y of any finite x > 0 and finite y, rounded once, also to a denormal, zero or infinity.
//                          Where lanes have a result, it is the same.
template <class R> struct PowLanes;

// Single precision, in doubles: with so many bits to spare, short polynomials and plain products do.
//
//   ln x = k ln 2 + T(r) + ln(1 + u)       x = 2^e (1024 m), r the integer next to 1 / m, u = m r - 1
//   x^y = 2^(n/2048) 2^(f/2048)            y ln x = (n + f) ln 2 / 2048, n an integer, f from 0 to 1
//
// 1 / m is taken in floats: next to a tie, either integer will do. Up to sqrt(2), where r is above 724, k = e and
// T(r) = -ln(r / 1024); from there k = e + 1 and T(r) = -ln(r / 512), so that no two parts cancel just below x = 1.
// u is exact and at most 2^-10. ln(1 + u) is off by u^5 / 5, or 2^-42 of itself. It needs its fourth power: without
// it, the 2^-32 that are left near x = 1 become up to 0.3 ulp in a large power.
// 2^(f/2048) is taken on the chord from f = 0 to f = 1, too high by (ln 2 / 2048)^2 / 8 = 2^-26.06 of itself at most.
// That is 0.24 ulp of a float near 2, and 0.12 near 1; half an ulp comes from the rounding to a float.
template <> struct PowLanes<float> {
    // bias is that of x's exponent.
    template <int N> static WideLanes ln(Lanes<float, N> x, std::int32_t bias) {
        constexpr float least = 0x1p-10F;
        constexpr float shifter = 0x1.8p23F;
        const auto m = from_bits<float>((bits(x) & 0x007FFFFF) | std::bit_cast<std::int32_t>(least));
        const auto t = 1.0F / m + shifter;
        const auto above = bits(t) > std::bit_cast<std::int32_t>(shifter + 724);
        const auto k = (bits(x) >> 23) - (bias - 1) + above; // above: -1
        const auto table = gather(tables::pow_ln_s, bits(t) - std::bit_cast<std::int32_t>(shifter + 512));
        return on_both_halves(
            [](auto m, auto r, auto k, auto head) {
                const auto u = m * r - 1.0;
                const auto p = u * u * ((0.33333333333308374 - 0.25 * u) * u - 0.49999999999988803);
                return head + u + p + k * 0.6931471805599453;
            },
            widened(m), widened(t - shifter), widened(k), table);
    }

    template <class V> static V exp(V w) {
        constexpr double shifter = 0x1.8p52;
        const V v = w * 2954.639443740597; // 2048 / ln 2
        const V t = (v - 0.5) + shifter;
        const V f = v - (t - shifter);
        const V g = f * 0.00033850805268231294; // 2^(1/2048) - 1
        const V head = gather(tables::pow_exp2_s, bits(t) & 2047);
        constexpr std::uint64_t exponent_bits = 0xFFF0000000000000;
        return from_bits<double>(words(head + head * g) + ((words(t) << 41) & exponent_bits));
    }

    template <int N> static Lanes<float, N> lanes(Lanes<float, N> x, Lanes<float, N> y, LaneMask<float, N>& special) {
        constexpr std::int32_t limit = 0x4055D588; // of |y ln x|, by its upper word: below 126 ln 2
        const auto w = on_both_halves([](auto y, auto log) { return y * log; }, widened(y), ln<N>(x, 127));
        special = not_positive_normal(x) | ((upper_words(w) & 0x7FFFFFFF) > limit);
        return narrowed(on_both_halves([](auto v) { return exp(v); }, w));
    }

    // The result is a normal double before it becomes a float.
    static float power(float x, float y) {
        constexpr double most = 200; // e^200 and e^-200 are out of range, and far from the ends of the doubles
        std::int32_t bias = 127;
        if (x < std::numeric_limits<float>::min()) {
            x *= 0x1p24F;
            bias += 24;
        }
        const double w = y * ln<4>(splat<Lanes<float, 4>>(x), bias).lower[0];
        return static_cast<float>(in_all_lanes([](auto v) { return exp(v); }, std::clamp(w, -most, most)));
    }
};

// Double precision. The logarithm is a pair, and so is its product with y.
//
//   log2 x = e + log2(c / rcp) + log2(1 + z / c)   x = 2^e m, rcp near c / m from a table, z = m rcp - c
//   x^y = 2^(n/128) 2^f                            y log2 x = n/128 + f, n an integer, |f| < 2^-8
//
// c is near log2 e, so that z is the leading term of the last logarithm; |z| < 2^-10.4. Next to x = 1 on both sides,
// e + log2(c / rcp) is 0. y multiplies errors of the logarithm by up to 2^10 over the size of the logarithm, which is
// 2^-11 where a first term other than z comes in. So there they must be below 2^-75, far below the bits of z^2: what
// stands first in the sum is exact, z to all its bits and z^2 to a multiple of 2^-50, and what is rounded is below
// 2^-29.
template <> struct PowLanes<double> {
    static constexpr double c = 1.442694902420044;          // 23 bits
    static constexpr double excess = 9.597935033233511e-08; // log2 e / c - 1

    // log2(1 + z / c) = z + excess z + c2 z^2 + c3 z^3 + ...: the series; what is left out is below 2^-68 of it.
    static constexpr double c2_head = -0x1.64p-2;            // c2 = -0.3465736568077919 as a multiple of 2^-8
    static constexpr double c2_rest = 0.0010825931922080778; // and what that leaves, beyond the bits of c2 itself
    static constexpr double c3 = 0.16015105075297303;
    static constexpr double c4 = -0.08325619496072671;
    static constexpr double c5 = 0.04616704187202374;
    static constexpr double c6 = -0.026667131649815552;

    // The upper 26 bits of the significand, whose products with each other are exact.
    template <class V> static V head(V x) {
        constexpr auto head_bits = static_cast<std::int64_t>(0xFFFFFFFFF8000000);
        return from_bits<double>(bits(x) & head_bits);
    }

    // log2 x as a head and the rest. bias is that of x's exponent.
    template <class V> static LanePair<V> log2(V x, double bias) {
        constexpr std::uint64_t fraction_bits = 0x000FFFFFFFFFFFFF;
        const auto fraction = words(x) & fraction_bits;
        const V m = from_bits<double>(fraction | std::bit_cast<std::uint64_t>(1.0));
        const auto row = bits(((fraction >> 41) + 1) >> 1); // of m to 10 fraction bits, rounded
        const V rcp = gather(tables::pow_reciprocal_d, row);
        const auto table = gather(tables::pow_log2_d, row);
        // z = z1 + z2; both are exact, since rcp has 24 bits. z1 is a multiple of 2^-49.
        const V mh = head(m);
        const V z1 = mh * rcp - c;
        const V z2 = (m - mh) * rcp;
        const V z = z1 + z2;
        // z = zh + zl, zh a multiple of 2^-21 and its square exact. u = z1 + square is, too.
        constexpr double shifter = 0x1.8p31;
        const V zh = (z1 + shifter) - shifter;
        const V zl = (z1 - zh) + z2;
        const V square = c2_head * zh * zh;
        const V u = z1 + square;
        const V zz = z * z;
        const V p = (c3 * z + c2_rest) + zz * ((c5 * z + c4) + c6 * zz);
        const V rest = (table.lo + excess * z) + ((c2_head * zl) * (z + zh) + zz * p);
        // a and (a - hi) + u are exact.
        const V a = (exponent_field(x) - bias) + table.hi;
        const V hi = head(a + (u + z2));
        return {hi, (((a - hi) + u) + z2) + rest};
    }

    template <class V> static LanePair<V> times(LanePair<V> log, V y) {
        const V yh = head(y);
        return {yh * log.hi, (y - yh) * log.hi + y * log.lo};
    }

    // 2^w = 2^k (hi + lo). The low bits of t hold 128 k and the row of the table; hi is from 1 to 2.
    template <class V> struct Power { V t, hi, lo; };
    template <class V> static Power<V> exp2(LanePair<V> w) {
        constexpr double shifter = 52776558133248.0; // 1.5 * 2^45
        const V t = w.hi + shifter;
        const V f = (w.hi - (t - shifter)) + w.lo;
        const V p = f * (0.6931471805599453 +
                         f * (0.2402265069591007 +
                              f * (0.055504108664821576 + f * (0.009618129107628477 + f * 0.0013333558146428443))));
        const auto table = gather(tables::exp2_fraction_128d, bits(t) & 127);
        return {t, table.hi, table.hi * p + table.lo};
    }

    template <int N>
    static Lanes<double, N> lanes(Lanes<double, N> x, Lanes<double, N> y, LaneMask<double, N>& special) {
        constexpr std::int32_t limit = 0x408FEFFE; // of |y log2 x|, by its upper word: below 1022
        const auto w = times(log2(x, 1023), y);
        special = not_positive_normal(x) | upper_word_above(magnitude(w.hi), 0, limit);
        const auto power = exp2(w);
        constexpr std::uint64_t exponent_bits = 0xFFF0000000000000;
        return from_bits<double>(words(power.hi + power.lo) + ((words(power.t) << 45) & exponent_bits));
    }

    static double power(double x, double y) {
        using V = Lanes<double, 2>;
        double bias = 1023;
        if (x < std::numeric_limits<double>::min()) {
            x *= 0x1p54;
            bias += 54;
        }
        const auto w = times(log2(splat<V>(x), bias), splat<V>(y));
        if (w.hi[0] > 1024.5) return 0x1p1023 * 0x1p1023;
        if (w.hi[0] < -1076) return 0x1p-1022 * 0x1p-1022;
        const auto result = exp2(w);
        const int k = static_cast<std::int32_t>(bits(result.t)[0]) >> 7;
        if (k < -1000) return scaled_once(result.hi[0], result.lo[0], k);
        return (result.hi[0] + result.lo[0]) * power_of_two(k / 2) * power_of_two(k - k / 2); // k may be 1024
    }

private:
    static double power_of_two(int k) { return std::bit_cast<double>(static_cast<std::int64_t>(k + 1023) << 52); }
};

} // namespace nvo
