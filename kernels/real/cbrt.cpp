// Cbrt, InvCbrt, Pow2o3: x = 8^q 2^i m with m in [1, 2) and i = 0, 1, 2 as the exponent field is divided by 3, and c
// the middle of m's 1/32 of [1, 2). The power of 2^i c comes from a table, that of m / c from a series:
//   Cbrt, InvCbrt   (m / c)^(±1/3) = (1 + d)^(±1/3), d = (m - c) (1 / c)
//   Pow2o3          (m / c)^(2/3) = (1 - t)^(-2/3), t = (m - c) / m; floats in doubles
// The 1/3 of the exponent is a multiplication, and all else of the reduction are bits, so that no special argument
// raises a flag in lanes.
//
// Largest errors found (./run accuracy Cbrt InvCbrt Pow2o3):
//   sCbrt     0.5114 ulp   0x1.178076p+2           got 0x1.a272bp+0           want 0x1.a272b2p+0
//   dCbrt     0.5174       0x1.00076f2774188p+2    got 0x1.9663d94ff782ep+0   want 0x1.9663d94ff782dp+0
//   sInvCbrt  0.5156       0x1.002e2ap+0           got 0x1.ffe13cp-1          want 0x1.ffe13ep-1
//   dInvCbrt  0.5173       0x1.0ff01e4cb755fp+0    got 0x1.f5cb9ee08d232p-1   want 0x1.f5cb9ee08d231p-1
//   sPow2o3   0.5001       0x1.07f552p+1           got 0x1.9ec0ecp+0          want 0x1.9ec0eep+0
//   dPow2o3   0.5355       0x1.000c3e791338fp+1    got 0x1.966cdf55ac00ap+0   want 0x1.966cdf55ac009p+0

#include "tables/cbrt.h"
#include "frame/kernel.h"
#include "kernels/real/series.h"

#include <algorithm>
#include <cmath>

using namespace nvo;

namespace {

// e third >> shift is e / 3, rounded down, for all exponent fields e.
template <class R> struct Format;
template <> struct Format<float> {
    static constexpr int significand = 23, bias = 127;
    static constexpr std::int16_t third = 0x556;
    static constexpr int shift = 12;
};
template <> struct Format<double> {
    static constexpr int significand = 52, bias = 1023;
    static constexpr std::int16_t third = 0x1556;
    static constexpr int shift = 14;
};

// m and c, both taken as negative, of |x|; the exponent field divided by 3; the row of a table, 32 i + the number of c.
template <class R, int N> struct Reduced {
    using V = Lanes<R, N>;
    using Unsigned = std::make_unsigned_t<Word<R>>;
    using Words = Lanes<Unsigned, N>;
    V m, c;
    Words third;
    LaneMask<R, N> row;

    explicit Reduced(V x) {
        constexpr int significand = Format<R>::significand;
        constexpr Unsigned fraction = (Unsigned(1) << significand) - 1;
        constexpr Unsigned head = Unsigned(31) << (significand - 5);
        constexpr Unsigned half = Unsigned(1) << (significand - 6);
        constexpr Unsigned minus_one = Unsigned(sign_bit<R>) | (Unsigned(Format<R>::bias) << significand);
        const Words w = words(x);
        m = from_bits<R>((w & fraction) | minus_one);
        c = from_bits<R>((w & head) | (minus_one | half));
        const Words e = (w & Unsigned(magnitude_bits<R>)) >> significand;
        third = times_small(e, Format<R>::third) >> Format<R>::shift;
        const Words i = e - third - third - third;
        row = reinterpret_cast<LaneMask<R, N>>((i << 5) + ((w >> (significand - 5)) & 31));
    }
    // 8^(q power / 3)
    template <int power> V scale() const {
        constexpr Unsigned start = Format<R>::bias - power * (Format<R>::bias / 3);
        Words field;
        if constexpr (power == -1) field = start - third;
        if constexpr (power == 1) field = start + third;
        if constexpr (power == 2) field = start + third + third;
        return from_bits<R>(field << Format<R>::significand);
    }

    // Special: zeros, denormals, infinities, NaNs.
    static auto special(V x) {
        constexpr std::uint32_t smallest = sizeof(R) == 4 ? 0x00800000 : 0x00100000;
        constexpr std::uint32_t infinity = sizeof(R) == 4 ? 0x7F800000 : 0x7FF00000;
        return upper_word_above(magnitude(x), 0x80000000 - smallest,
                                static_cast<std::int32_t>(infinity - 1 + 0x80000000 - smallest));
    }
};

// What denormals are scaled by. Its cube root, or the reciprocal, takes it back: unscale.
template <class R> inline constexpr R denormal_scale = sizeof(R) == 4 ? R(0x1p24) : R(0x1p54);

// ---- Cbrt, InvCbrt --------------------------------------------------------------------------------------------------

template <class R> struct CbrtRow;
template <> struct CbrtRow<float> {
    static constexpr int power = 1;
    static constexpr float unscale = 0x1p-8;
    static constexpr auto& table = tables::cbrt_s;
    template <class V> static V p(V d) {
        return d * (0.3333333432674408F +
                    d * (-0.1111111119389534F + d * (0.06172839552164078F + d * -0.041152264922857285F)));
    }
};
template <> struct CbrtRow<double> {
    static constexpr int power = 1;
    static constexpr double unscale = 0x1p-18;
    static constexpr auto& table = tables::cbrt_d;
    template <class V> static V p(V d) {
        constexpr double c[] = {0.3333333333333333,  -0.1111111111111111,   0.06172839506172839,  -0.0411522633744856,
                                0.03017832647462277, -0.023472031702484377, 0.019001168521058782, -0.01583430710088232};
        return series(d, c);
    }
};

template <class R> struct InvCbrtRow;
template <> struct InvCbrtRow<float> {
    static constexpr int power = -1;
    static constexpr float unscale = 0x1p+8;
    static constexpr auto& table = tables::inv_cbrt_s;
    template <class V> static V p(V d) {
        return d * (-0.3333333432674408F +
                    d * (0.2222222238779068F + d * (-0.17283950746059418F + d * 0.14403292536735535F)));
    }
};
template <> struct InvCbrtRow<double> {
    static constexpr int power = -1;
    static constexpr double unscale = 0x1p+18;
    static constexpr auto& table = tables::inv_cbrt_d;
    template <class V> static V p(V d) {
        constexpr double c[] = {-0.3333333333333333, 0.2222222222222222,  -0.17283950617283947, 0.14403292181124233,
                                -0.1248285322371294, 0.11095868731815177, -0.10039118855487097, 0.0920689676517955,
                                -0.08525784378385946}; // the last: tools/fit/inv_cbrt.sollya
        return series(d, c);
    }
};

// A row of the tables: hi, lo and the reciprocal.
template <class R, class Row, int N> Lanes<R, N> cube_root(Lanes<R, N> x) {
    const Reduced<R, N> a(x);
    const auto [hi, lo, reciprocal] = gather(Row::table, a.row);
    const auto p = Row::p((a.m - a.c) * reciprocal);
    const auto s = with_sign(a.template scale<Row::power>(), x);
    return hi * s + (lo * s + hi * s * p);
}

template <class R, class Row> struct CubeRoot {
    using Real = R;
    static constexpr Frame frame = Frame::F2;

    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        special = Reduced<R, N>::special(x);
        return cube_root<R, Row, N>(x);
    }
    // Denormals, scaled: but where the control register makes zeros of them.
    template <int N> static void shortcut(Lanes<R, N> x, Lanes<R, N>& y, LaneMask<R, N>& special) {
        const auto scaled = from_bits<R>(bits(x) & spread_upper_words(special)) * denormal_scale<R>;
        const auto denormal = ~spread_upper_words(Reduced<R, N>::special(scaled));
        y = denormal ? cube_root<R, Row, N>(scaled) * Row::unscale : y;
        special &= ~denormal;
    }
};

template <class R> struct Cbrt : CubeRoot<R, CbrtRow<R>> {
    static void rare(R x, R* y) { *y = x + x; } // ±0, ±infinity, NaN
};

template <class R> struct InvCbrt : CubeRoot<R, InvCbrtRow<R>> {
    static std::int32_t rare(R x, R* y) {
        *y = 1 / x; // ±infinity, ±0, NaN
        return x == 0 ? ARK_STATUS_SINGULARITY : ARK_STATUS_OK;
    }
};

// ---- Pow2o3 ---------------------------------------------------------------------------------------------------------

// x^(2/3) of doubles. For floats, 5 terms of the series are enough.
template <int terms, int N> Lanes<double, N> square_of_cube_root(Lanes<double, N> x) {
    constexpr double all[] = {0.6666666666666666,  0.5555555555555556,  0.49382716049382713, 0.45267489711934156,
                              0.4224965706447188,  0.39902453894223444, 0.3800233704211756,  0.3641890633202933,
                              0.35070057949361577, 0.3390105601771619,  0.3287375128990661,  0.3196059153185365};
    const Reduced<double, N> a(x);
    double c[terms];
    std::copy_n(all, terms, c);
    const auto p = series((a.m - a.c) / a.m, c);
    const auto [hi, lo] = gather(tables::cbrt_squared_d, a.row);
    const auto s = a.template scale<2>();
    return hi * s + (lo * s + hi * s * p);
}

template <class R, Frame f> struct Pow2o3 {
    using Real = R;
    static constexpr Frame frame = f;

    template <int N> static Lanes<R, N> formula(Lanes<R, N> x) {
        constexpr int terms = sizeof(R) == 4 ? 5 : 12;
        return in_doubles(square_of_cube_root<terms, lane_width<double>>, x);
    }
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        special = Reduced<R, N>::special(x);
        // What comes out for a zero or an infinity may be out of the range of floats.
        return formula<N>(sizeof(R) == 4 ? without_special(x, special) : x);
    }
    static void rare(R x, R* y) {
        constexpr int width = lane_width<R>;
        if (x == 0 || !std::isfinite(x)) {
            *y = x * x;
        } else if (sizeof(R) == 8 && std::abs(x) < std::numeric_limits<R>::min()) {
            const R scaled = x * denormal_scale<R>;
            *y = in_all_lanes(formula<width>, scaled) * R(0x1p-36);
        } else {
            *y = in_all_lanes(formula<width>, x);
        }
    }
};

} // namespace

NVO_KERNEL_U(s, Cbrt, (Cbrt<float>), (Cbrt<float>))
NVO_KERNEL_U(d, Cbrt, (Cbrt<double>), (Cbrt<double>))
NVO_KERNEL_U(s, InvCbrt, (InvCbrt<float>), (InvCbrt<float>))
NVO_KERNEL_U(d, InvCbrt, (InvCbrt<double>), (InvCbrt<double>))
NVO_KERNEL_U(s, Pow2o3, (OneByOne<Pow2o3<float, Frame::F3>>), (Pow2o3<float, Frame::F2>))
NVO_KERNEL_U(d, Pow2o3, (OneByOne<Pow2o3<double, Frame::F3>>), (Pow2o3<double, Frame::F2>))
