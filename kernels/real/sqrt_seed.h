// 1 / sqrt(x) and sqrt(x) from seeds. Lanes take the hardware's root and division in single precision as their seed.
// Routines, and Hypot, take it from a table and run three coupled iterations.
#pragma once

#include "frame/lanes.h"
#include "tables/sqrt_seed.h"

#include <bit>

namespace nvo {

// ---- In lanes of positive normal doubles ----------------------------------------------------------------------------

// y0, 13 bits of 1 / sqrt(x); x in two parts whose products with y0^2 are exact; e = 1 - x y0^2, exact but for its last
// rounding. 1 / sqrt(x) = y0 (1 + p(e)).
template <class V> struct InvSqrtSeed {
    V y0, xh, xl, e;

    // (1 - e)^(-1/2) - 1: close to the binomial series.
    V p() const {
        return e *
               (0.49999999999997785 + e * (0.37500000000001366 + e * (0.31250016501874495 + e * 0.27343754675366555)));
    }
};

template <int N> InvSqrtSeed<Lanes<double, N>> inv_sqrt_seed(Lanes<double, N> x) {
    // m in [1, 4) as a float: 23 bits of the fraction, and the parity of the exponent. r0 is near 1 / sqrt(m).
    using Words = Lanes<std::uint64_t, N>;
    const auto w = reinterpret_cast<Words>(x);
    const Words odd = ~w & (std::uint64_t{1} << 52);
    const Words m = ((w & 0x001FFFFFE0000000) | (odd + 0x07F0000000000000)) >> 29;
    const auto r0 =
        on_low_floats(m, [](Lanes<float, 4> f) { return from_bits<float>(bits(1.0F / square_root(f)) & ~0x7FF); });
    // The power of two that was left out.
    const Words power = ((odd - (w & 0x7FF0000000000000)) + 0xBFD0000000000000) >> 1;
    const auto y0 = r0 * from_bits<double>(power);
    const auto xh = from_bits<double>(w & ~std::uint64_t{0x7FFFFFF}); // 26 bits, as y0^2 has
    const auto xl = x - xh;
    const auto t = y0 * y0;
    return {y0, xh, xl, (1.0 - xh * t) - xl * t};
}

// ---- Three iterations -----------------------------------------------------------------------------------------------

// x = hi + lo, both short enough that products of such parts are exact. V: double, or lanes of it.
template <class V> struct Halves { V hi, lo; };
template <class V> Halves<V> halves(V x) {
    const V big = x * (0x1p27 + 1);
    const V hi = big - (big - x);
    return {hi, x - hi};
}

// g near sqrt(m) and h near 1 / (2 sqrt(m)), to a few units in the last place, from a seed near 1 / sqrt(m) that has 9
// bits.
template <class V> struct Root {
    V g, h;
    Halves<V> gs;

    Root(V m, V seed) : g(seed * m), h(0.5 * seed) {
        unroll<3>([&](auto) {
            const V e = 0.5 - g * h;
            h = h + h * e;
            g = g + g * e;
        });
        gs = halves(g);
    }
    // sqrt(hi + lo) - g, where hi is within a few units of m, and lo below one: the last step, from an exact residual.
    V rest(V hi, V lo) const { return ((hi - gs.hi * gs.hi - 2 * gs.hi * gs.lo - gs.lo * gs.lo) + lo) * h; }
};

// A positive number: m 4^power with m in [1, 4), and the seed of m.
struct RootArgument {
    double m, seed;
    int power;

    explicit RootArgument(double x) {
        constexpr double scale_up = 0x1p200; // makes any denormal normal
        int scaled = 0;
        if (x < 0x1p-1022) {
            x *= scale_up;
            scaled = 100;
        }
        const auto pattern = std::bit_cast<std::uint64_t>(x);
        const int exponent = static_cast<int>(pattern >> 52) - 1023;
        const unsigned odd = exponent & 1;
        const double significand = std::bit_cast<double>((pattern & 0xFFFFFFFFFFFFF) | 0x3FF0000000000000);
        m = significand * (odd != 0 ? 2.0 : 1.0);
        seed = tables::sqrt_seed[(odd << 8) + (pattern >> 44 & 0xFF)];
        power = (exponent >> 1) - scaled;
    }
};

inline double power_of_two(int exponent) {
    return std::bit_cast<double>(static_cast<std::uint64_t>(1023 + exponent) << 52);
}

// sqrt(x) of a positive number, to 0.51 ulp.
inline double sqrt_of_positive(double x) {
    const RootArgument a(x);
    const Root<double> root(a.m, a.seed);
    return (root.g + root.rest(a.m, 0)) * power_of_two(a.power);
}

// 1 / sqrt(x) of a positive number, to 0.51 ulp: a reciprocal step on the root.
inline double inv_sqrt_of_positive(double x) {
    const RootArgument a(x);
    const Root<double> root(a.m, a.seed);
    const double y = 2 * root.h;
    const auto ys = halves(y);
    const double e =
        1 - ys.hi * root.gs.hi - ys.hi * root.gs.lo - ys.lo * root.gs.hi - ys.lo * root.gs.lo - y * root.rest(a.m, 0);
    return (y + y * e) * power_of_two(-a.power);
}

} // namespace nvo
