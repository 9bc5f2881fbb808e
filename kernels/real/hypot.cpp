// Hypot: sqrt(a^2 + b^2). Floats: in doubles, where no square overflows. Doubles: with p the larger of |a| and |b|,
// both are scaled by the power of two that brings p into [1, 2); the squares are summed as hi and lo, and the root
// comes from a seed of 9 bits and three iterations. The scaling is done on the bits, so that no special argument raises
// a flag in lanes.
//
// Largest errors found (./run accuracy Hypot): 0.5000 ulp in both types. Results that may be denormal are rounded once.

#include "frame/kernel.h"
#include "kernels/real/denormal_result.h"
#include "kernels/real/sqrt_seed.h"

#include <cmath>

using namespace nvo;

namespace {

template <class R, Frame f> struct Hypot;

// Infinities win over NaNs. All other arguments are left to the formula.
template <class R, class Formula> void hypot_rare(R a, R b, R* y, Formula formula) {
    if (std::isinf(a)) {
        *y = a * a;
    } else if (std::isinf(b)) {
        *y = b * b;
    } else if (std::isnan(a)) {
        *y = std::isnan(b) ? a * b : a * a;
    } else if (std::isnan(b)) {
        *y = b * b;
    } else {
        *y = formula(a, b);
    }
}

// The hardware's root stands for that of the routine of Sqrt: rounding to nearest, no argument is known for which they
// differ.
template <Frame f> struct Hypot<float, f> {
    using Real = float;
    static constexpr Frame frame = f;

    template <int N> static Lanes<float, N> formula(Lanes<float, N> a, Lanes<float, N> b) {
        return in_doubles([](auto x, auto y) { return square_root(x * x + y * y); }, a, b);
    }
    // Special: infinities, NaNs.
    template <int N> static Lanes<float, N> lanes(Lanes<float, N> a, Lanes<float, N> b, LaneMask<float, N>& special) {
        special = upper_word_above(magnitude(a), 0, 0x7F7FFFFF) | upper_word_above(magnitude(b), 0, 0x7F7FFFFF);
        return formula<N>(a, b);
    }
    static void rare(float a, float b, float* y) {
        hypot_rare(a, b, y, [](float x, float z) { return in_all_lanes(formula<lane_width<float>>, x, z); });
    }
};

template <Frame f> struct Hypot<double, f> {
    using Real = double;
    static constexpr Frame frame = f;

    template <int N> using V = Lanes<double, N>;
    template <int N> using Bits = LaneMask<double, N>;

    // The magnitudes of a and b as bit patterns, p the larger.
    template <int N> struct Sorted {
        Bits<N> p, q;
        Sorted(V<N> a, V<N> b) {
            const auto x = bits(magnitude(a));
            const auto z = bits(magnitude(b));
            const auto smaller = reinterpret_cast<Bits<N>>(upper_words(spread_upper_words(x - z)) >> 31);
            const auto change = (x ^ z) & smaller;
            p = x ^ change;
            q = z ^ change;
        }
    };

    // sqrt(a^2 + b^2) = (g + rest) power, for p from 2^-959 on: every q that counts is then a normal number.
    static constexpr std::uint32_t smallest = (1023 - 959) << 20;
    template <int N> struct Parts { V<N> g, rest, power; };
    template <int N> static Parts<N> parts(Sorted<N> a) {
        constexpr std::int64_t one = 0x3FF0000000000000;
        const auto power = a.p & 0x7FF0000000000000;
        const auto p = from_bits<double>((a.p - power) + one);
        // Below 2^-60 p, q doesn't count, and its scaled bits may have wrapped round.
        const auto scaled = (a.q - power) + one;
        const auto counts = spread_upper_words(upper_word_above(from_bits<double>(scaled), 0, (1023 - 60) << 20));
        const auto q = from_bits<double>(scaled & counts);

        const auto ps = halves(p);
        const auto qs = halves(q);
        const auto p2 = ps.hi * ps.hi;
        const auto q2 = qs.hi * qs.hi;
        const auto squares = p2 + q2;
        const auto tail = (q2 - (squares - p2)) + (q * qs.lo + ps.lo * (p + ps.hi) + qs.hi * qs.lo);
        const auto sum = squares + tail;
        const auto lo = tail - (sum - squares);

        // The iterations needn't wait for the exact sum. The seed of 4^-k m, which is from 1 to 4, times 2^-k.
        const auto m = p * p + q * q; // from 1 to 8
        const auto w = words(m);
        const auto seed = gather(tables::sqrt_seed, bits(((w >> 44) & 0x1FF) ^ 0x100));
        const auto k = ((w + (std::uint64_t{1} << 52)) >> 53) - 512;
        const Root<V<N>> root(m, from_bits<double>(words(seed) - (k << 52)));
        return {root.g, root.rest(sum, lo), from_bits<double>(power)};
    }

    // Special: p below the smallest, infinities, NaNs.
    template <int N> static V<N> lanes(V<N> a, V<N> b, Bits<N>& special) {
        const Sorted<N> sorted(a, b);
        constexpr std::uint32_t plus = 0x80000000 - smallest;
        special = upper_word_above(from_bits<double>(sorted.p), plus, static_cast<std::int32_t>(0x7FEFFFFF + plus));
        const auto r = parts<N>(sorted);
        return (r.g + r.rest) * r.power;
    }

    static void rare(double a, double b, double* y) { hypot_rare(a, b, y, finite); }

    static double finite(double a, double b) {
        constexpr int width = lane_width<double>;
        Bits<width> special;
        const double r = in_all_lanes([&](auto v, auto w) { return lanes<width>(v, w, special); }, a, b);
        if (lane_bits(special) == 0) return r;
        if (a == 0 && b == 0) return 0;
        const auto scaled = [](double x) { return splat<V<width>>(x * 0x1p128); };
        const auto s = parts<width>(Sorted<width>(scaled(a), scaled(b)));
        return scaled_once(s.g[0], s.rest[0], std::ilogb(s.power[0]) - 128);
    }
};

} // namespace

NVO_KERNEL_B(s, Hypot, (OneByOne<Hypot<float, Frame::F3>>), (Hypot<float, Frame::F2>))
NVO_KERNEL_B(d, Hypot, (OneByOne<Hypot<double, Frame::F3>>), (Hypot<double, Frame::F2>))
