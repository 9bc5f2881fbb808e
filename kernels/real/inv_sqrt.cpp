// InvSqrt: 1 / sqrt(x). Lanes start from the hardware's root and division in single precision and correct the result by
// its residual; the routine is that of Sqrt with a reciprocal step.

#include "frame/kernel.h"
#include "kernels/real/sqrt_seed.h"

using namespace nvo;

namespace {

// Special: all but the positive normal numbers.
template <class R> std::int32_t inv_sqrt_rare(R x, R* y) {
    if (x == 0) return *y = 1 / x, ARK_STATUS_SINGULARITY; // ±0; also a denormal that the control register makes one
    if (x == -std::numeric_limits<R>::infinity()) return *y = x / x, ARK_STATUS_DOMAIN;
    if (x == std::numeric_limits<R>::infinity()) return *y = 0, ARK_STATUS_OK;
    if (!(x == x)) return *y = x / x, ARK_STATUS_OK; // NaN
    if (x < 0) return *y = std::numeric_limits<R>::quiet_NaN(), ARK_STATUS_DOMAIN;
    return *y = static_cast<R>(inv_sqrt_of_positive(x)), ARK_STATUS_OK;
}

template <class R> struct InvSqrt;

template <> struct InvSqrt<float> {
    using Real = float;
    static constexpr Frame frame = Frame::F2;

    template <int N> static Lanes<float, N> lanes(Lanes<float, N> x, LaneMask<float, N>& special) {
        special = upper_word_above(x, 0x7F800000, static_cast<std::int32_t>(0xFEFFFFFF));
        auto r = 1.0F / square_root(x);
        r = from_bits<float>(bits(r) & ~0x7FFF); // 9 bits: r * r is exact
        const auto e = r * r * x - 1.0F;
        return r + r * e * (-0.5F + e * (0.375F - 0.3125F * e));
    }
    static std::int32_t rare(float x, float* y) { return inv_sqrt_rare(x, y); }
};

template <> struct InvSqrt<double> {
    using Real = double;
    static constexpr Frame frame = Frame::F2;

    template <int N> static Lanes<double, N> lanes(Lanes<double, N> x, LaneMask<double, N>& special) {
        special = upper_word_above(x, 0x7FF00000, static_cast<std::int32_t>(0xFFDFFFFF));
        const auto s = inv_sqrt_seed<N>(x);
        return s.y0 + s.y0 * s.p();
    }
    static std::int32_t rare(double x, double* y) { return inv_sqrt_rare(x, y); }
};

} // namespace

NVO_KERNEL_U(s, InvSqrt, (InvSqrt<float>), (InvSqrt<float>))
NVO_KERNEL_U(d, InvSqrt, (InvSqrt<double>), (InvSqrt<double>))
