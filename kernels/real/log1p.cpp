// Log1p: ln(1 + x), with s = 1 + x as a number and c, what is lost in it.
//
// Unit stride works in doubles for both types. Near 0 it is a series in x. Elsewhere, with s = 2^e m, m in [1, 2), rcp
// a short number near 1/m from a table, and f = m rcp - 1 + 2^-e c rcp:
//
//   ln(1 + x) = e ln 2 - ln rcp + ln(1 + f),  |f| < 2^-8.7
//
// In strided form the formula of log_lanes.h runs on s without its low bits, and c joins it as a part of u. Where x is
// about ulp(1), c is as large as the result, and its sum with p costs a quarter of an ulp.
//
// Largest errors in ulp, and where; s over all floats, d over samples (./run accuracy, --exhaustive for s):
//
//   sLog1p   0.500   the tie at 0x1p-24
//   sLog1pI  0.750   0x1.000002p-24: got 0x1p-24, want 0x1.000002p-24
//   dLog1p   0.513   0x1.09b58e73c92fcp+53: got 0x1.263134584eb29p+5, want 0x1.263134584eb2ap+5
//   dLog1pI  0.750   -0x1.6a0d715ee130dp-54: got -0x1.6a0d715ee130ep-54, want -0x1.6a0d715ee130dp-54

#include "frame/kernel.h"
#include "kernels/real/log_lanes.h"
#include "kernels/real/log_routine.h"
#include "tables/log_table_256.h"

#include <bit>
#include <cmath>
#include <limits>

using namespace nvo;

namespace {

template <class R> constexpr R infinity = std::numeric_limits<R>::infinity();
template <class R> constexpr R quiet_nan = std::numeric_limits<R>::quiet_NaN();

// ---- Unit stride ---------------------------------------------------------------------------------------------------

constexpr double tiny_below = 0x1p-57;                       // upper word up to 0x3C5FFFFF: x itself
constexpr double cubic_below = 0x1p-13;                      // up to 0x3F1FFFFF
constexpr double short_series_below = 0x1p-6;                // up to 0x3F8FFFFF
constexpr double series_below = with_upper_word(0x3FB24000); // about 0.0713
constexpr double alone_from = 0x1p55;                        // from upper word 0x43600000 on 1 + x is x

// ln(s + c), |c| at most about ulp(s). For floats there is no c: 1 + x is exact in doubles up to 2^52, and what it
// loses beyond can't be seen.
template <class R, class V> V log_of_sum(V s, [[maybe_unused]] V c) {
    constexpr std::int64_t fraction_bits = 0x000FFFFFFFFFFFFF;
    const V m = from_bits<double>((bits(s) & fraction_bits) | std::bit_cast<std::int64_t>(1.0));
    const V e = exponent_field(s) - 1023.0;
    const auto upper_bits = reinterpret_cast<Lanes<std::uint64_t, lane_count<V>>>(s) >> 44;
    const auto head = reinterpret_cast<LaneMask<double, lane_count<V>>>(upper_bits & 0xFF); // of m
    const V rcp = gather(tables::rcp_table_256, head);
    const auto [lo, hi] = gather(tables::log_table_256, head); // the table's pairs are {lo, hi}

    // d1 + d2 = m rcp - 1 + 2^-e c rcp. m's two parts have exact products with rcp; d1 and e ln 2 + hi are multiples of
    // 2^-42, and so is their sum.
    V d1, d2;
    if constexpr (sizeof(R) == 4) {
        d1 = m * rcp - 1.0;
        d2 = V{};
    } else {
        constexpr std::int64_t exponent_bits = 0x7FF0000000000000;
        const V scale = from_bits<double>(0x7FE0000000000000 - (bits(s) & exponent_bits)); // 2^-e
        const V mh = from_bits<double>(bits(m) & ~std::int64_t{0xFFFFFFFF});
        d1 = mh * rcp - 1.0;
        d2 = (m - mh) * rcp + (c * scale) * rcp;
    }
    const V f = d1 + d2;
    const V p =
        (f * f) * (-0.5 + f * (0.33333333333145093 +
                               f * (-0.2499999999965227 + f * (0.20000103714740713 + f * -0.1666678766814359))));
    return ((e * 0.6931471803691238 + hi) + d1) + (d2 + ((e * 1.9082149292705877e-10 + lo) + p));
}

// ln(1 + x). What x - (s - 1) loses from 2^53 on can't be seen.
template <class R, class V> V log_of_one_plus(V x) {
    const V s = 1.0 + x;
    return log_of_sum<R>(s, x - (s - 1.0));
}

// |x| < 0.0713. x - x^2/2 in two parts, of which the first is exact.
template <class V> V series(V x) {
    const V split = x * 4294967297.0; // 2^32 + 1
    const V xh = split - (split - x); // 21 bits
    const V xl = x - xh;
    const V head = xh - 0.5 * (xh * xh);
    const V tail = xl - 0.5 * (xl * (x + xh));
    const V s = x * x;
    const V cube = x * s;
    const V even = -0.24999999999999994 +
                   s * (-0.16666666666678467 +
                        s * (-0.12499999989956875 +
                             s * (-0.10000004430123538 + s * (-0.08332278945901993 + s * -0.0727130358576491))));
    const V odd =
        0.20000000000004395 +
        s * (0.14285714280527598 + s * (0.11111114024232197 + s * (0.09090069730882687 + s * 0.07812039099574136)));
    const V third = cube * 0.33333325386047363;
    return head + (tail + (third + (cube * 7.947285968655109e-08 + (s * s) * (even + x * odd))));
}

// |x| < 2^-6: x^2/2 is so much less than x that its rounding hardly shows
template <class V> V short_series(V x) {
    const V s = x * x;
    const V even =
        -0.2499999999999999 + s * (-0.16666666666863844 + s * (-0.12499998353772789 + s * -0.10006105984234723));
    const V odd = 0.3333333333333333 + s * (0.20000000000103405 + s * (0.14285713099855774 + s * 0.11116661653512257));
    return x + (((x * s) * odd + (s * s) * even) - 0.5 * s);
}

// |x| < 2^-13
template <class V> V cubic(V x) {
    return x + (x * x) * (-0.5 + x * (0.3333333333333333 + x * (-0.2500000031044086 + x * 0.20000000372548288)));
}

template <class R> struct Log1p {
    using Real = R;
    static constexpr Frame frame = Frame::F3;

    template <int N> static auto inside(Lanes<R, N> x) {
        return between(x, R(tiny_below), R(alone_from)) | between(x, R(-tiny_below), R(-1));
    }

    // tiny_below <= |x|, -1 < x < alone_from
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x) {
        const auto size = magnitude(x);
        const auto small = size < R(series_below);
        const unsigned series_lanes = lane_bits(small);
        auto y = x;
        if (sizeof(R) == 8 || series_lanes != (1U << N) - 1) [[likely]]
            y = in_doubles([](auto v) { return log_of_one_plus<R>(v); }, x);
        if (series_lanes != 0) {
            const auto smaller = size < R(short_series_below);
            const auto smallest = size < R(cubic_below);
            const unsigned short_lanes = lane_bits(smaller);
            const unsigned cubic_lanes = lane_bits(smallest);
            if (series_lanes != short_lanes) y = small ? in_doubles([](auto v) { return series(v); }, x) : y;
            if (short_lanes != cubic_lanes) y = smaller ? in_doubles([](auto v) { return short_series(v); }, x) : y;
            if (cubic_lanes != 0) y = smallest ? in_doubles([](auto v) { return cubic(v); }, x) : y;
        }
        return y;
    }

    [[gnu::noinline]] static std::int32_t element(R a, R* y) {
        const double x = a;
        const std::uint32_t word = upper_word(x);
        const std::uint32_t size = word & 0x7FFFFFFF;
        if (size >= upper_word(infinity<double>)) {
            if (x == -infinity<double>) return *y = quiet_nan<R>, ARK_STATUS_DOMAIN;
            return *y = a, ARK_STATUS_OK; // +infinity, NaN
        }
        if (word >= upper_word(-1.0)) {
            if (x == -1) return *y = -infinity<R>, ARK_STATUS_SINGULARITY;
            return *y = quiet_nan<R>, ARK_STATUS_DOMAIN;
        }
        if (size < upper_word(tiny_below)) return *y = a, ARK_STATUS_OK;
        if (size < upper_word(alone_from))
            return *y = in_all_lanes([](auto v) { return lanes<lane_width<R>>(v); }, a), ARK_STATUS_OK;
        return *y = R(in_all_lanes([](auto v) { return log_of_sum<R>(v, decltype(v){}); }, x)), ARK_STATUS_OK;
    }
};

// ---- Strided -------------------------------------------------------------------------------------------------------

// What log_lanes.h asks for, and
//
//   low_bits     of s, cut off: m r is exact without a split, and 1 + x lies no further from the rest than 2^-15 or
//   2^-42 whole_below  |x| below this leaves s whole reciprocal   minus the exponent bits of s: the pattern of P 2^-e
//   end          x from here on, and all that isn't above -1, is special
template <class R> struct Log1pLanes;

template <> struct Log1pLanes<float> {
    static constexpr float c = 1;
    static constexpr float least = 0x1p-8F;
    static constexpr float hi = 0.693145751953125F;
    static constexpr float lo = 1.428606765330187e-06F;
    static constexpr auto& table = tables::ln_lanes_s;
    static constexpr int low_bits = 8;
    static constexpr float whole_below = 0x1p-12F;
    static constexpr std::int32_t reciprocal = 0x7B000000;
    static constexpr float end = std::bit_cast<float>(0x7A800001);
    // Relative error 2^-36.8 (tools/fit/log1p.sollya).
    template <class V> static V p(V u) { return (u * u) * (-0.5F + u * (0x1.555602p-2F + u * -0x1.000084p-2F)); }
};

template <> struct Log1pLanes<double> : LnDouble {
    static constexpr int low_bits = 10;
    static constexpr double whole_below = 0x1p-31;
    static constexpr std::int64_t reciprocal = 0x7F40000000000000;
    static constexpr double end = 0x1p1013; // 0x7F40000000000000
};

static_assert(log_table_meets_at_one<Log1pLanes<float>>());

template <class R> struct Log1pStrided {
    using Real = R;
    using Row = Log1pLanes<R>;
    static constexpr Frame frame = Frame::F2;

    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        using V = Lanes<R, N>;
        constexpr Word<R> exponent_bits = std::bit_cast<Word<R>>(infinity<R>);
        special = not_between(x, R(0), Row::end) & not_between(x, R(-0.0), R(-1));

        const V one = splat<V>(1);
        const V hi = larger(x, one);
        const V lo = smaller(x, one);
        const V s = hi + lo;
        const auto low = magnitude(x) < Row::whole_below ? LaneMask<R, N>{} : (Word<R>(1) << Row::low_bits) - 1;
        const V head = from_bits<R>(bits(s) & ~low);
        const V c = (hi - head) + lo;

        const auto argument = log_argument<Row>(head);
        const V scale = argument.r * from_bits<R>(Row::reciprocal - (bits(s) & exponent_bits));
        const V correction = c * scale;
        const V y = log_sum<Row>(exponent_field(s), argument, correction + Row::p(argument.u + correction));
        return from_bits<R>(bits(y) | (bits(x) & sign_bit<R>)); // -0 too
    }

    static std::int32_t rare(R x, R* y) {
        if (std::isnan(x) || x == infinity<R>) return *y = x * x, ARK_STATUS_OK;
        if (x == -1) return *y = -infinity<R>, ARK_STATUS_SINGULARITY;
        if (x < -1) return *y = quiet_nan<R>, ARK_STATUS_DOMAIN;
        return *y = R(log_of_positive<LnBase>(x)), ARK_STATUS_OK; // so large that 1 + x is x
    }
};

} // namespace

NVO_KERNEL_U(s, Log1p, (Log1p<float>), (Log1pStrided<float>))
NVO_KERNEL_U(d, Log1p, (Log1p<double>), (Log1pStrided<double>))
