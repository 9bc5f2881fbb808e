// Cbrt, InvCbrt, Pow2o3: x = 8^q 2^i m with m in [1, 2) and i = 0, 1, 2 as the exponent field is divided by 3, and c
// the middle of m's 1/32 of [1, 2). The power of 2^i c comes from a table, that of m / c from a series:
//   Cbrt, InvCbrt   (m / c)^(±1/3) = (1 + d)^(±1/3), d = (m - c) (1 / c)
//   Pow2o3          (m / c)^(2/3) = (1 - t)^(-2/3), t = (m - c) / m
// The 1/3 of the exponent is a multiplication, and all else of the reduction are bits, so that no special argument
// raises a flag in lanes.

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

// What denormals are scaled by, and its cube root.
template <class R> inline constexpr R denormal_scale = sizeof(R) == 4 ? R(0x1p24) : R(0x1p54);
template <class R> inline constexpr R denormal_scale_root = sizeof(R) == 4 ? R(0x1p8) : R(0x1p18);

// ---- Cbrt, InvCbrt --------------------------------------------------------------------------------------------------

template <class R> struct CbrtRow;
template <> struct CbrtRow<float> {
    static constexpr int power = 1;
    static constexpr auto& table = tables::cbrt_s;
    template <class V> static V p(V d) {
        return d * (0.3333333432674408F +
                    d * (-0.1111111119389534F + d * (0.06172839552164078F + d * -0.041152264922857285F)));
    }
};
template <> struct CbrtRow<double> {
    static constexpr int power = 1;
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
    static constexpr auto& table = tables::inv_cbrt_s;
    template <class V> static V p(V d) {
        return d * (-0.3333333432674408F +
                    d * (0.2222222238779068F + d * (-0.17283950746059418F + d * 0.14403292536735535F)));
    }
};
template <> struct InvCbrtRow<double> {
    static constexpr int power = -1;
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

template <class R> struct Cbrt {
    using Real = R;
    static constexpr Frame frame = Frame::F2;

    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        special = Reduced<R, N>::special(x);
        return cube_root<R, CbrtRow<R>, N>(x);
    }
    static void rare(R x, R* y) {
        if (x == 0 || !std::isfinite(x)) { // also a denormal that the control register makes ±0
            *y = x + x;
        } else {
            const R scaled = x * denormal_scale<R>;
            *y = in_all_lanes(cube_root<R, CbrtRow<R>, lane_width<R>>, scaled) / denormal_scale_root<R>;
        }
    }
};

template <class R> struct InvCbrt {
    using Real = R;
    static constexpr Frame frame = Frame::F2;

    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        special = Reduced<R, N>::special(x);
        return cube_root<R, InvCbrtRow<R>, N>(x);
    }
    static std::int32_t rare(R x, R* y) {
        if (x == 0) return *y = 1 / x, ARK_STATUS_SINGULARITY;
        if (!std::isfinite(x)) return *y = 1 / x, ARK_STATUS_OK; // ±0, NaN
        const R scaled = x * denormal_scale<R>;
        *y = in_all_lanes(cube_root<R, InvCbrtRow<R>, lane_width<R>>, scaled) * denormal_scale_root<R>;
        return ARK_STATUS_OK;
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
        return in_doubles(square_of_cube_root < sizeof(R) == 4 ? 5 : 12, lane_width < double >>, x);
    }
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        special = Reduced<R, N>::special(x);
        return formula<N>(x);
    }
    static void rare(R x, R* y) {
        constexpr int width = lane_width<R>;
        if (x == 0 || !std::isfinite(x)) {
            *y = x * x;
        } else if (sizeof(R) == 8 && std::abs(x) < std::numeric_limits<R>::min()) {
            const R scaled = x * denormal_scale<R>;
            *y = in_all_lanes(formula<width>, scaled) / (denormal_scale_root<R> * denormal_scale_root<R>);
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
