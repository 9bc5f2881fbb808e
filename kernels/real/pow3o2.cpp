// Pow3o2: x^(3/2). Floats: x sqrt(x) in doubles. Doubles: x = 4^k 2^i m with m in [1, 2) and i = 0, 1; c is the middle
// of m's 1/32 of [1, 2), (2^i c)^(3/2) comes from a table, and (m / c)^(3/2) = 1 + p(t), t = (m - c) (1 / c).
//
// Largest errors found (./run accuracy Pow3o2):
//   sPow3o2  0.5000 ulp
//   dPow3o2  0.5671        0x1.2007b4a4fd9f5p+1    got 0x1.b0115690eac3cp+1   want 0x1.b0115690eac3bp+1

#include "tables/pow3o2.h"
#include "frame/kernel.h"
#include "kernels/real/denormal_result.h"
#include "kernels/real/series.h"

#include <cmath>

using namespace nvo;

namespace {

template <class R, Frame f> struct Pow3o2;

// The hardware's root stands for that of the routine of Sqrt: rounding to nearest, both give the same double for every
// float.
template <Frame f> struct Pow3o2<float, f> {
    using Real = float;
    static constexpr Frame frame = f;

    template <int N> static Lanes<float, N> formula(Lanes<float, N> x) {
        return in_doubles([](auto v) { return v * square_root(v); }, x);
    }
    // Special: negatives, -0, NaNs.
    template <int N> static Lanes<float, N> lanes(Lanes<float, N> x, LaneMask<float, N>& special) {
        special = bits(x) | bits(0x7F800000U - words(x));
        return formula<N>(x);
    }
    static std::int32_t rare(float x, float* y) {
        if (!(x == x)) return *y = x + x, ARK_STATUS_OK;
        if (x < 0) return *y = std::numeric_limits<float>::quiet_NaN(), ARK_STATUS_DOMAIN;
        if (x == 0) return *y = 0, ARK_STATUS_OK;
        return *y = in_all_lanes(formula<lane_width<float>>, x), ARK_STATUS_OK;
    }
};

template <Frame f> struct Pow3o2<double, f> {
    using Real = double;
    static constexpr Frame frame = f;

    // x^(3/2) = (hi + lo) 2^(3 half - 1536), half of the exponent field plus 1
    template <int N> struct Parts {
        Lanes<double, N> hi, lo;
        Lanes<std::uint64_t, N> half;
    };
    template <int N> static Parts<N> parts(Lanes<double, N> x) {
        // tools/fit/pow3o2.sollya
        constexpr double coefficients[] = {1.5,
                                           0.375,
                                           -0.06250000000000845,
                                           0.023437500000019977,
                                           -0.011718749825962741,
                                           0.006835937229531017,
                                           -0.004395630177111848,
                                           0.003022413452684821};
        const auto w = words(x);
        const auto m = from_bits<double>((w & 0x000FFFFFFFFFFFFF) | 0x3FF0000000000000);
        const auto c = from_bits<double>((w & 0x000F800000000000) | 0x3FF0400000000000);
        const auto field = ((w >> 52) & 0x7FF) + 1;
        const auto [hi, lo, reciprocal] = gather(tables::pow3o2, bits(((field & 1) << 5) | ((w >> 47) & 31)));
        const auto p = series((m - c) * reciprocal, coefficients);
        return {hi, lo + hi * p, field >> 1};
    }

    // Special: all but the positive normal numbers from where no result is denormal to the last upper word that still
    // has finite results: x^(3/2) overflows above 0x1.965fea53d6e3cp+682.
    template <int N> static Lanes<double, N> lanes(Lanes<double, N> x, LaneMask<double, N>& special) {
        constexpr std::uint32_t first = 0x15700000, last = 0x6A9965FE;
        special = upper_word_above(x, 0x80000000 - first, static_cast<std::int32_t>(last + (0x80000000 - first)));
        const auto a = parts<N>(x);
        return (a.hi + a.lo) * from_bits<double>((a.half + a.half + a.half - 513) << 52);
    }

    static std::int32_t rare(double x, double* y) {
        if (!(x == x)) return *y = x + x, ARK_STATUS_OK;
        if (x < 0) return *y = std::numeric_limits<double>::quiet_NaN(), ARK_STATUS_DOMAIN;
        if (x >= 0x1.965ffp682) return *y = x * x, ARK_STATUS_OK; // +infinity, overflow
        if (x < 0x1p-717) return *y = x * x, ARK_STATUS_OK;       // 0, underflow
        LaneMask<double, 2> special;
        if (x >= 0x1p-680) {
            *y = in_all_lanes([&](auto v) { return lanes<2>(v, special); }, x);
        } else {
            const auto a = parts<2>(splat<Lanes<double, 2>>(x));
            *y = scaled_once(a.hi[0], a.lo[0], 3 * static_cast<int>(a.half[0]) - 1536);
        }
        return ARK_STATUS_OK;
    }
};

} // namespace

NVO_KERNEL_U(s, Pow3o2, (OneByOne<Pow3o2<float, Frame::F3>>), (Pow3o2<float, Frame::F2>))
NVO_KERNEL_U(d, Pow3o2, (OneByOne<Pow3o2<double, Frame::F3>>), (Pow3o2<double, Frame::F2>))
