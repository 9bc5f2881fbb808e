// Ceil, Floor, Trunc, Round, Rint, NearbyInt, Frac and Modf.
//
// The unit-stride rows but Frac and dModf are scalar and work on the bits (sCeil and sFloor on sums), so that they give
// the same in every rounding direction and raise no inexact flag where the method needs none. The strided rows run to
// nearest, in lanes: adding and subtracting C = 2^(fraction bits) rounds a magnitude below C to an integer.

#include "frame/kernel.h"

#include <cmath>

using namespace nvo;

namespace {

template <class R> inline constexpr int fraction_bits = sizeof(R) == 4 ? 23 : 52;
template <class R> inline constexpr R no_fraction_from = sizeof(R) == 4 ? R(0x1p23) : R(0x1p52); // C

// ---- Scalar rows, on the bits -----------------------------------------------------------------------------------

// A finite or infinite number or NaN, taken apart.
template <class R> struct Parts {
    using Bits = std::make_unsigned_t<Word<R>>;
    static constexpr int width = fraction_bits<R>;
    static constexpr Bits sign_mask = Bits(sign_bit<R>);
    static constexpr Bits one = Bits(sizeof(R) == 4 ? 0x7F : 0x3FF) << width;

    Bits sign, magnitude;
    int exponent; // unbiased

    explicit Parts(R x) {
        const auto all = std::bit_cast<Bits>(x);
        sign = all & sign_mask;
        magnitude = all & ~sign_mask;
        exponent = static_cast<int>(magnitude >> width) - static_cast<int>(one >> width);
    }
    bool is_zero() const { return magnitude == 0; }
    bool below_one() const { return exponent < 0; }
    bool has_no_fraction_bits() const { return exponent >= width; } // also infinities and NaNs

    // For 1 <= |x| < 2^width: the bit of value 1 in the pattern, and the bits below it. Where the bit is the hidden one
    // of the significand, it falls on the lowest bit of the exponent field, which is set, as the hidden bit is.
    Bits unit() const { return Bits(1) << (width - exponent); }
    Bits fraction() const { return magnitude & (unit() - 1); }
    Bits truncated() const { return magnitude & ~(unit() - 1); }

    R with_sign(Bits pattern) const { return std::bit_cast<R>(pattern | sign); }
    // The next integer away from zero: a carry runs on into the exponent.
    R away() const { return with_sign(truncated() + unit()); }
    R toward_zero() const { return with_sign(truncated()); }
};

// The result where there is no fraction: floats quiet a NaN, doubles hand all back as they stand.
template <class R> R without_fraction(R x) {
    if constexpr (sizeof(R) == 4) {
        return std::isfinite(x) ? x : x + x;
    } else {
        return x;
    }
}

template <class R, Frame f> struct ScalarRow {
    using Real = R;
    static constexpr Frame frame = f;
};

enum class Toward { up, down };

// Ceil and Floor.
template <class R, Toward toward> struct Directed;

template <Toward toward> struct Directed<float, toward> : ScalarRow<float, Frame::F1> {
    static void element(float x, float* y) { *y = rounded(x); }

private:
    static constexpr float step = toward == Toward::up ? 1.0F : -1.0F;

    static float rounded(float x) {
        const Parts<float> p(x);
        if (p.exponent > 22) return without_fraction(x);
        if (p.exponent == 22) return (p.magnitude & 1) != 0 ? x + 0.5F * step : x;
        if (p.exponent >= 0) {
            // 1.5 * 2^23 pushes the fraction out; the comparison repairs whatever direction that was rounded in.
            constexpr float shifter = 12582912.0F;
            const float r = (x + shifter) - shifter;
            return (toward == Toward::up ? r < x : r > x) ? r + step : r;
        }
        if (p.is_zero()) return x;
        if constexpr (toward == Toward::up) return p.sign != 0 ? -0.0F : 1.0F;
        return p.sign != 0 ? -1.0F : 0.0F;
    }
};

template <Toward toward> struct Directed<double, toward> : ScalarRow<double, Frame::F4> {
    static void element(double x, double* y) { *y = rounded(x); }

private:
    static double rounded(double x) {
        const Parts<double> p(x);
        const bool moves_away = (p.sign != 0) == (toward == Toward::down);
        if (p.below_one()) {
            if (p.is_zero()) return x;
            return p.with_sign(moves_away ? p.one : 0);
        }
        if (p.has_no_fraction_bits()) return x;
        return moves_away && p.fraction() != 0 ? p.away() : p.toward_zero();
    }
};

template <class R> inline constexpr Frame scalar_frame = sizeof(R) == 4 ? Frame::F1 : Frame::F4;

template <class R> struct Trunc : ScalarRow<R, scalar_frame<R>> {
    static R rounded(R x) {
        const Parts<R> p(x);
        if (p.below_one()) return p.with_sign(0);
        return p.has_no_fraction_bits() ? without_fraction(x) : p.toward_zero();
    }
    static void element(R x, R* y) { *y = rounded(x); }
};

// Halves away from zero.
template <class R> struct Round : ScalarRow<R, scalar_frame<R>> {
    static void element(R x, R* y) { *y = rounded(x); }

private:
    static R rounded(R x) {
        const Parts<R> p(x);
        if (p.below_one()) return p.with_sign(p.exponent == -1 ? p.one : 0);
        if (p.has_no_fraction_bits()) return without_fraction(x);
        return p.fraction() >= p.unit() / 2 ? p.away() : p.toward_zero();
    }
};

// The encoding of the SSE control register.
enum class Direction { nearest, down, up, to_zero };

// The rounding direction in force, from three sums that it tells apart: their total is 0 for nearest, 1 toward zero,
// 2 up, -1 down.
Direction rounding_direction() {
    volatile double shifter = 0x1p52; // not to be folded
    const double u = (1.25 + shifter) - shifter;
    const double v = (-0.5 - shifter) + shifter;
    const double w = (-0.75 - shifter) + shifter;
    return static_cast<Direction>(-static_cast<int>((u + v) + w) & 3);
}

template <class R, Direction direction> struct RintIn {
    using Real = R;
    static void element(R x, R* y) { *y = rounded(x); }

private:
    static R rounded(R x) {
        const Parts<R> p(x);
        if (p.has_no_fraction_bits()) return std::isfinite(x) ? x : x + x;
        if (p.is_zero()) return x;
        if (p.below_one()) return p.with_sign(away_below_one(p) ? p.one : 0);
        return away_from_zero(p) ? p.away() : p.toward_zero();
    }
    static bool away_below_one(const Parts<R>& p) {
        constexpr auto half = Parts<R>::one - (typename Parts<R>::Bits(1) << Parts<R>::width);
        if constexpr (direction == Direction::nearest) return p.magnitude > half;
        return directed_away(p);
    }
    static bool away_from_zero(const Parts<R>& p) {
        if (p.fraction() == 0) return false;
        if constexpr (direction == Direction::nearest) {
            const auto half = p.unit() / 2;
            const bool odd = (p.magnitude & p.unit()) != 0;
            return p.fraction() > half || (p.fraction() == half && odd);
        }
        return directed_away(p);
    }
    static bool directed_away(const Parts<R>& p) {
        return direction == Direction::up ? p.sign == 0 : direction == Direction::down && p.sign != 0;
    }
};

// Rint and NearbyInt: to an integer in the caller's rounding direction.
template <class R> struct Rint : ScalarRow<R, Frame::F1> {
    template <class Walk> static void choose(Walk walk) {
        switch (rounding_direction()) {
        case Direction::nearest: return walk(RintIn<R, Direction::nearest>{});
        case Direction::down: return walk(RintIn<R, Direction::down>{});
        case Direction::up: return walk(RintIn<R, Direction::up>{});
        case Direction::to_zero: return walk(RintIn<R, Direction::to_zero>{});
        }
    }
};

// ---- Lane rows --------------------------------------------------------------------------------------------------

template <class V> V one_where(LaneMask<LaneType<V>, lane_count<V>> mask) {
    return from_bits<LaneType<V>>(mask & bits(splat<V>(1)));
}

// |x| rounded to an integer in the direction in force, for |x| up to C.
template <class V> V shifted(V magnitude) {
    constexpr auto c = no_fraction_from<LaneType<V>>;
    return (magnitude + c) - c;
}

// |x| without its fraction, right in every direction: where the sum went up, 1 too much. From C on, |x| itself. The
// sign of a zero is lost.
template <class V> V truncated(V magnitude) {
    const V t = shifted(magnitude);
    const V repaired = t - one_where<V>(t > magnitude);
    return magnitude >= no_fraction_from<LaneType<V>> ? magnitude : repaired;
}

template <class R> struct StridedRow {
    using Real = R;
    static constexpr Frame frame = Frame::F2;
    static constexpr int block = 32 / sizeof(R);
    static constexpr bool stride_loops = true;

    // The sign of x given back (a zero may have lost it), and x itself where it has no fraction.
    template <class V> static V finish(V y, V x) { return magnitude(x) > no_fraction_from<R> ? x : with_sign(y, x); }
};

template <class R, Toward toward> struct DirectedStrided : StridedRow<R> {
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x) {
        using V = Lanes<R, N>;
        const V v = with_sign(shifted(magnitude(x)), x);
        if constexpr (toward == Toward::up) return StridedRow<R>::finish(v + one_where<V>(v < x), x);
        return StridedRow<R>::finish(v - one_where<V>(v > x), x);
    }
};

template <class R> struct TruncStrided : StridedRow<R> {
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x) {
        return StridedRow<R>::finish(truncated(magnitude(x)), x);
    }
};

template <class R> struct RoundStrided : StridedRow<R> {
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x) {
        const Lanes<R, N> a = magnitude(x);
        const Lanes<R, N> t = truncated(a);
        return StridedRow<R>::finish(t + one_where<Lanes<R, N>>(a - t >= R(0.5)), x);
    }
};

template <class R> struct RintStrided : StridedRow<R> {
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x) { return StridedRow<R>::finish(shifted(magnitude(x)), x); }
};

// Infinities and NaNs.
template <class V> auto not_finite(V x) {
    constexpr std::int32_t largest = sizeof(LaneType<V>) == 4 ? 0x7F7FFFFF : 0x7FEFFFFF;
    return upper_word_above(magnitude(x), 0, largest);
}

// x minus Trunc(x), with the sign of x.
template <class R> struct Frac {
    using Real = R;
    static constexpr Frame frame = Frame::F2;
    static constexpr int block = 32 / sizeof(R);
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        special = not_finite(x);
        const Lanes<R, N> a = magnitude(x);
        return with_sign(magnitude(a - truncated(a)), x);
    }
    static void rare(R x, R* y) { *y = std::isnan(x) ? x + x : std::copysign(R(0), x); }
};

// Trunc(x), and x minus it. Right in every direction: dModf keeps the caller's.
template <class R, Frame f> struct Modf {
    using Real = R;
    static constexpr Frame frame = f;
    template <int N> static std::array<Lanes<R, N>, 2> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        special = not_finite(x);
        const Lanes<R, N> a = magnitude(x);
        const Lanes<R, N> t = magnitude(truncated(a));
        return {with_sign(t, x), with_sign(magnitude(a - t), x)};
    }
    static void rare(R x, R* y, R* z) {
        *y = x + x;
        *z = std::isnan(x) ? x + x : std::copysign(R(0), x);
    }
};

struct ModfScalar : ScalarRow<float, Frame::F1> {
    static void element(float x, float* y, float* z) {
        *y = Trunc<float>::rounded(x);
        *z = std::isinf(x) || *y == x ? std::copysign(0.0F, x) : x - *y;
    }
};

} // namespace

#define NVO_ROUNDING(Op, Float, Double, Strided) \
    NVO_KERNEL_U(s, Op, Float, (Strided<float>)) \
    NVO_KERNEL_U(d, Op, Double, (Strided<double>))

template <class R> using CeilStrided = DirectedStrided<R, Toward::up>;
template <class R> using FloorStrided = DirectedStrided<R, Toward::down>;

NVO_ROUNDING(Ceil, (Directed<float, Toward::up>), (Directed<double, Toward::up>), CeilStrided)
NVO_ROUNDING(Floor, (Directed<float, Toward::down>), (Directed<double, Toward::down>), FloorStrided)
NVO_ROUNDING(Trunc, (Trunc<float>), (Trunc<double>), TruncStrided)
NVO_ROUNDING(Round, (Round<float>), (Round<double>), RoundStrided)
NVO_ROUNDING(Rint, (Rint<float>), (Rint<double>), RintStrided)
NVO_ROUNDING(NearbyInt, (Rint<float>), (Rint<double>), RintStrided)
NVO_ROUNDING(Frac, (Frac<float>), (Frac<double>), Frac)
NVO_KERNEL_S(s, Modf, (ModfScalar), (Modf<float, Frame::F2>))
NVO_KERNEL_S(d, Modf, (Modf<double, Frame::F4>), (Modf<double, Frame::F2>))
