// Square root. Lanes start from the hardware's root and division in single precision, with the low bits cleared so that
// the products that follow lose nothing, and correct it by the residual.

#include "frame/kernel.h"
#include "tables/sqrt_seed.h"

using namespace nvo;

namespace {

template <class R> struct Sqrt;

// Special: zeros, denormals, negatives, infinities, NaNs, and from 0x1.ffep127 on.
template <> struct Sqrt<float> {
    using Real = float;
    static constexpr Frame frame = Frame::F2;

    template <int N> static Lanes<float, N> lanes(Lanes<float, N> x, LaneMask<float, N>& special) {
        special = upper_word_above(x, 0x7F800000, static_cast<std::int32_t>(0xFEFFF000));
        auto r = 1.0F / square_root(x);
        r = from_bits<float>(bits(r) & ~0x7FF); // 13 bits: r * r and 0.5 * r are exact
        auto g = x * r;
        auto h = 0.5F * r;
        const auto e = 0.5F - g * h;
        g = g + g * e;
        h = h + h * e;
        return g + (x - g * g) * h;
    }

    static std::int32_t rare(float x, float* y);
};

// Special: all but the positive normal numbers below 2^1022.
template <> struct Sqrt<double> {
    using Real = double;
    static constexpr Frame frame = Frame::F2;

    // (1 + u)^(-1/2) - 1 = p(e) for u = -e: close to the binomial series
    static constexpr double c1 = 0.49999999999997785;
    static constexpr double c2 = 0.37500000000001366;
    static constexpr double c3 = 0.31250016501874495;
    static constexpr double c4 = 0.27343754675366555;

    template <int N> static Lanes<double, N> lanes(Lanes<double, N> x, LaneMask<double, N>& special) {
        special = upper_word_above(x, 0x7FF00000, static_cast<std::int32_t>(0xFFBFFFFF));
        // m in [1, 4) as a float: 23 bits of the fraction, and the parity of the exponent. r0 is near 1 / sqrt(m).
        using Words = Lanes<std::uint64_t, N>;
        const auto w = reinterpret_cast<Words>(x);
        const Words odd = ~w & (std::uint64_t{1} << 52);
        const Words m = ((w & 0x001FFFFFE0000000) | (odd + 0x07F0000000000000)) >> 29;
        const auto r0 =
            on_low_floats(m, [](Lanes<float, 4> f) { return from_bits<float>(bits(1.0F / square_root(f)) & ~0x7FF); });
        // y0 is near 1 / sqrt(x): r0 times the power of two that was left out.
        const Words power = ((odd - (w & 0x7FF0000000000000)) + 0xBFD0000000000000) >> 1;
        const auto y0 = r0 * from_bits<double>(power);
        // e = 1 - x y0^2, with x in two parts whose products with y0^2 (26 bits) are exact.
        const auto xh = from_bits<double>(w & ~std::uint64_t{0x7FFFFFF});
        const auto xl = x - xh;
        const auto t = y0 * y0;
        const auto e = (1.0 - xh * t) - xl * t;
        const auto p = e * (c1 + e * (c2 + e * (c3 + e * c4)));
        return xh * y0 + (xl * y0 + (p * y0) * x);
    }

    static std::int32_t rare(double x, double* y);
};

// sqrt(x) of a positive number, to 0.51 ulp: three coupled iterations on 1 / sqrt(m) from a seed of 9 bits, the last
// step with the exact residual of g^2.
double sqrt_of_positive(double x) {
    constexpr double scale_up = 0x1p200; // makes any denormal normal
    constexpr double splitter = 0x1p27 + 1;
    int scaled = 0;
    if (x < 0x1p-1022) {
        x *= scale_up;
        scaled = 100;
    }
    const auto pattern = std::bit_cast<std::uint64_t>(x);
    const int exponent = static_cast<int>(pattern >> 52) - 1023;
    const unsigned odd = exponent & 1;
    const double significand = std::bit_cast<double>((pattern & 0xFFFFFFFFFFFFF) | 0x3FF0000000000000);
    const double m = significand * (odd != 0 ? 2.0 : 1.0);
    const double seed = tables::sqrt_seed[odd * 256 + (pattern >> 44 & 0xFF)];
    double g = seed * m;
    double h = 0.5 * seed;
    for (int i = 0; i < 3; ++i) {
        const double e = 0.5 - g * h;
        h = h + h * e;
        g = g + g * e;
    }
    const double big = g * splitter;
    const double gh = big - (big - g);
    const double gl = g - gh;
    const double root = g + ((m - gh * gh - 2 * gh * gl - gl * gl) * h);
    const auto power = static_cast<std::uint64_t>(1023 + (exponent >> 1) - scaled) << 52;
    return root * std::bit_cast<double>(power);
}

// The table of special cases of both types.
template <class R> std::int32_t sqrt_rare(R x, R* y) {
    if (x == 0) return *y = x * R(0), ARK_STATUS_OK; // ±0; also a denormal that the control register makes one
    if (x < 0) return *y = std::numeric_limits<R>::quiet_NaN(), ARK_STATUS_DOMAIN;
    if (!(x <= std::numeric_limits<R>::max())) return *y = x + x, ARK_STATUS_OK; // +infinity, NaN
    return *y = static_cast<R>(sqrt_of_positive(x)), ARK_STATUS_OK;
}

std::int32_t Sqrt<float>::rare(float x, float* y) { return sqrt_rare(x, y); }
std::int32_t Sqrt<double>::rare(double x, double* y) { return sqrt_rare(x, y); }

} // namespace

NVO_KERNEL_U(s, Sqrt, (Sqrt<float>), (Sqrt<float>))
NVO_KERNEL_U(d, Sqrt, (Sqrt<double>), (Sqrt<double>))
