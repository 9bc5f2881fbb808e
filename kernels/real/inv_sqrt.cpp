// InvSqrt: 1 / sqrt(x). Lanes start from the hardware's root and division in single precision and correct the result by
// its residual; the routine is that of Sqrt with a reciprocal step. Special: all but the positive normal numbers.
//
// Largest errors found (./run accuracy InvSqrt):
//   sInvSqrt  0.7488 ulp   0x1.0b6c3ap+0           got 0x1.f4f22p-1           want 0x1.f4f222p-1
//   dInvSqrt  0.5292       0x1.02041532002f5p+0    got 0x1.fdfef20430b3cp-1   want 0x1.fdfef20430b3dp-1

#include "frame/kernel.h"
#include "kernels/real/sqrt_seed.h"

#include <cmath>
#include <limits>

using namespace nvo;

namespace {

template <class R> std::int32_t inv_sqrt_rare(R x, R* y) {
    constexpr R infinity = std::numeric_limits<R>::infinity();
    if (std::isnan(x)) return *y = x / x, ARK_STATUS_OK;
    if (x == infinity) return *y = 0, ARK_STATUS_OK;
    if (x == 0) return *y = 1 / x, ARK_STATUS_SINGULARITY; // ±0; also a denormal that the control register makes one
    if (x < 0) return *y = (x - x) / (x - x), ARK_STATUS_DOMAIN;
    return *y = static_cast<R>(inv_sqrt_of_positive(x)), ARK_STATUS_OK; // denormals
}

template <class R> struct InvSqrt;

template <> struct InvSqrt<float> {
    using Real = float;
    static constexpr Frame frame = Frame::F2;

    template <int N> static Lanes<float, N> lanes(Lanes<float, N> x, LaneMask<float, N>& special) {
        special = upper_word_above(x, 0x7F800000, static_cast<std::int32_t>(0xFEFFFFFF));
        x = without_special(x, special);
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
        const auto s = inv_sqrt_seed<N>(without_special(x, special));
        return s.y0 + s.y0 * s.p();
    }
    static std::int32_t rare(double x, double* y) { return inv_sqrt_rare(x, y); }
};

} // namespace

NVO_KERNEL_U(s, InvSqrt, (InvSqrt<float>), (InvSqrt<float>))
NVO_KERNEL_U(d, InvSqrt, (InvSqrt<double>), (InvSqrt<double>))
