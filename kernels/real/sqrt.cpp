// Square root. Lanes start from the hardware's root and division in single precision, with the low bits cleared so that
// the products that follow lose nothing, and correct it by the residual.

#include "frame/kernel.h"
#include "kernels/real/sqrt_seed.h"

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

    template <int N> static Lanes<double, N> lanes(Lanes<double, N> x, LaneMask<double, N>& special) {
        special = upper_word_above(x, 0x7FF00000, static_cast<std::int32_t>(0xFFBFFFFF));
        const auto s = inv_sqrt_seed<N>(x);
        return s.xh * s.y0 + (s.xl * s.y0 + (s.p() * s.y0) * x);
    }

    static std::int32_t rare(double x, double* y);
};

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
