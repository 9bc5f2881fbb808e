// Expm1: e^x - 1 = 2^(n/N) e^r - 1, x = n ln(2) / N + r.
//
// Unit stride works in doubles for both types, with N = 128, n = 128 k + j, j from -64 to 63, and 2^(j/128) = hi + lo
// from a table whose hi have 32 bits. v is 1 + r to 20 fraction bits, so that v hi is exact:
//
//   2^k head = 2^k v hi                          a double
//   2^k tail = 2^k ((v + p) lo + p hi)           p = e^r - v, at most 2^-18
//
// The 1 comes off the head, and the rounding error of that goes to the tail: where 2^k is 1/8 or less, two roundings
// would add up to 1 ulp. In strided form N is 64 for floats and 128 for doubles; the terms that could lose something
// are added with their error: the head 2^(n/N) - 1, then r, then the rest.
//
// Largest errors in ulp, and where; s over all floats, d over samples (./run accuracy, --exhaustive for s):
//
//   sExpm1   0.500   the tie at -0x1p-24
//   sExpm1I  0.532   -0x1.6383a4p-8
//   dExpm1   0.516   0x1.4602e1b62b11bp+5: got 0x1.bb3640d1dbdb7p+58, want 0x1.bb3640d1dbdb6p+58
//   dExpm1I  0.608   0x1.f34e02647d23p-11: got 0x1.f38ae4ea60aa8p-11, want 0x1.f38ae4ea60aa9p-11

#include "frame/kernel.h"
#include "kernels/real/exp_routine.h"
#include "tables/exp2_fraction.h"
#include "tables/exp_table_128.h"

#include <bit>
#include <cmath>
#include <limits>
#include <type_traits>

using namespace nvo;

namespace {

template <class R> constexpr R infinity = std::numeric_limits<R>::infinity();
template <class R> constexpr R shifter = R(1.5) / std::numeric_limits<R>::epsilon(); // 1.5 * 2^23, 1.5 * 2^52

// ---- Unit stride ---------------------------------------------------------------------------------------------------

constexpr double tiny_below = 0x1p-57;                           // upper word up to 0x3C5FFFFF: x itself
constexpr double series_below = 0x1p-8;                          // up to 0x3F6FFFFF
constexpr double one_in_tail_from = with_upper_word(0x4042388E); // about 36.44; for x < 0 it makes no difference
constexpr double without_one_from = with_upper_word(0x404419ED); // about 40.20
// From about 86.64 on, of either sign, 2^k takes two factors and the 1 can't be seen. One factor will do for doubles up
// to k = 1023.
template <class R> constexpr double huge_from = with_upper_word(sizeof(R) == 4 ? 0x4055A92D : 0x40862B00);

// e^r - 1 - r for small |r|.
template <class V> V exp_rest(V r) {
    const V s = r * r;
    return 0.5 * s + s * ((0.001388889298015527 * s + 0.0416666666666645) * s +
                          (0.008333335878865304 * s + 0.16666666666665733) * r);
}

// e^x = 2^k (head + tail); the exponent field of 2^k is that of exponent, plus 1023.
template <class V> struct SplitExp {
    V head, tail;
    LaneMask<double, lane_count<V>> exponent;
};
template <class V> SplitExp<V> split_exp(V x) {
    const V t = x * 184.6649652337873 + shifter<double>;
    const V n = t - shifter<double>;
    // r + rest is x - n ln(2) / 128; the first product has 50 bits at most.
    const V a = x - n * 0.005415208637714386;
    const V b = n * 3.710410186743494e-09;
    const V r = a - b;
    const V rest = (a - r) - b;
    const V v = (r + 4294967297.0) - 4294967296.0; // 2^32
    const V p = exp_rest(r) + ((r - (v - 1.0)) + rest);
    const auto from_lowest = bits(t) + 64;                                  // j + 64 in the low 7 bits, k above
    const auto [lo, hi] = gather(tables::exp_table_128, from_lowest & 127); // the table's pairs are {lo, hi}
    return {v * hi, (v + p) * lo + p * hi, (from_lowest & ~std::int64_t{127}) << 45};
}

// e^x - 1 in general; the 1 goes to the tail, or nowhere, where the head is large.
template <class V> V exp_minus_one(V x) {
    const SplitExp<V> e = split_exp(x);
    const V power = from_bits<double>(e.exponent + std::bit_cast<std::int64_t>(1.0));
    const V head = e.head * power;
    const V tail = e.tail * power;
    const V one = splat<V>(1.0);
    const V from_head = x < one_in_tail_from ? one : V{};
    const V from_tail = (x < without_one_from ? one : V{}) - from_head;
    const V sum = head - from_head;
    const V error = head - (sum + from_head);
    return sum + ((tail - from_tail) + error);
}

// |x| from huge_from<R>, infinities and NaN.
template <class R> std::int32_t huge(double x, R* y) {
    constexpr double range = 709.782712893384; // the other end, -38.816242111356935, is passed
    constexpr double sc2 = 0x1p512;            // 2^k in two factors: k may be 1024
    constexpr std::int64_t sc2_bias = 511;
    constexpr bool is_double = sizeof(R) == 8;
    if ((std::bit_cast<std::uint64_t>(x) << 1) > (std::bit_cast<std::uint64_t>(infinity<double>) << 1)) // NaN
        return *y = R(x), ARK_STATUS_OK;
    if (x == infinity<double>) return *y = R(x), ARK_STATUS_OK;
    if (x == -infinity<double>) return *y = -1, ARK_STATUS_OK;
    if (x < 0) return *y = is_double ? R(-1.0 + 0x1p-100) : R(-1), ARK_STATUS_OK; // inexact
    if (x > range) return *y = infinity<R>, ARK_STATUS_OVERFLOW;
    const auto scaled = [](auto v) {
        const auto e = split_exp(v);
        return (e.head + e.tail) * from_bits<double>(e.exponent + (sc2_bias << 52)) * sc2;
    };
    return *y = R(in_all_lanes(scaled, x)), ARK_STATUS_OK; // as a float it may become infinite here
}

template <class R> struct Expm1 {
    using Real = R;
    static constexpr Frame frame = Frame::F3;

    template <int N> static auto inside(Lanes<R, N> x) { return between(magnitude(x), R(tiny_below), R(huge_from<R>)); }

    // tiny_below <= |x| < huge_from<R>
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x) {
        using V = Lanes<R, N>;
        const auto small = magnitude(x) < R(series_below);
        // From -90 down the result is -1, and inexact, all the same. Only doubles get there.
        const V z = sizeof(R) == 4 ? x : larger(x, splat<V>(-90));
        V y = in_doubles([](auto v) { return exp_minus_one(v); }, z);
        if (lane_bits(small) != 0) y = small ? in_doubles([](auto v) { return v + exp_rest(v); }, x) : y;
        return y;
    }

    static std::int32_t element(R a, R* y) {
        const double x = a;
        const std::uint32_t word = upper_word(x) & 0x7FFFFFFF;
        if (word >= upper_word(huge_from<R>)) return huge(x, y);
        if (word < upper_word(tiny_below)) return *y = a, ARK_STATUS_OK;
        return *y = in_all_lanes([](auto v) { return lanes<lane_width<R>>(v); }, a), ARK_STATUS_OK;
    }
};

// ---- Strided -------------------------------------------------------------------------------------------------------

// t = x multiplier + shifter, with n in its low bits; r = (x - n c1) - n c2; n c1 is exact.
//   rest   e^r - 1 - r
//   table  2^(j/N)
template <class R> struct Expm1Lanes;

template <> struct Expm1Lanes<float> {
    static constexpr float multiplier = 92.33248138427734F;
    static constexpr float c1 = 0.010833740234375F;
    static constexpr float c2 = -3.3155381515825866e-06F;
    static constexpr auto& table = tables::exp2_fraction_64s;
    static constexpr std::int32_t special_above = 0x42AD496B; // |x| above about 86.64, NaN: the upper word
    template <class V> static V rest(V r) { return (r * r) * (0.5000008940696716F + r * 0.16666696965694427F); }
};

template <> struct Expm1Lanes<double> {
    static constexpr double multiplier = 184.6649652337873;
    static constexpr double c1 = 0.005415212347998022;
    static constexpr double c2 = 1.2655086083325438e-13;
    static constexpr auto& table = tables::exp2_fraction_128d;
    static constexpr std::int32_t special_above = 0x40861DA0; // about 707.7
    template <class V> static V rest(V r) {
        const V s = r * r;
        return s *
               ((0.4999999999999767 + r * 0.166666666666658) + s * (0.04166667939432669 + r * 0.008333335878830547));
    }
};

template <class R> struct Expm1Strided {
    using Real = R;
    using Row = Expm1Lanes<R>;
    static constexpr Frame frame = Frame::F2;

    template <int N> static Lanes<R, N> lanes(Lanes<R, N> a, LaneMask<R, N>& special) {
        using V = Lanes<R, N>;
        constexpr int entries = std::extent_v<std::remove_reference_t<decltype(Row::table)>>;
        constexpr int log2_entries = std::countr_zero(static_cast<unsigned>(entries));
        constexpr int fraction = std::numeric_limits<R>::digits - 1;
        special = upper_word_above(magnitude(a), 0, Row::special_above);

        // From -40 down the result is -1, and nothing needs to underflow.
        const V x = larger(a, splat<V>(-40));
        const V t = x * Row::multiplier + shifter<R>;
        const V n = t - shifter<R>;
        const V nearly = x - n * Row::c1;
        const V correction = n * Row::c2;
        const V r = nearly - correction;
        const V r_error = (nearly - r) - correction;

        // 2^k hi - 1, with its error
        using Unsigned = std::make_unsigned_t<Word<R>>; // special lanes may wrap
        const auto k = (words(t) & ~Unsigned(entries - 1)) << (fraction - log2_entries);
        const V power = from_bits<R>(k + std::bit_cast<Unsigned>(R(1)));
        const auto entry = gather(Row::table, bits(t) & (entries - 1));
        const V hi = entry.hi * power;
        const V lo = entry.lo * power;
        const V head = hi - R(1);
        const V taken = head - hi;
        const V head_error = (hi - (head - taken)) - (R(1) + taken);

        // (head + 1) (1 + r) - 1 = (head + r) + head r. |head| > |r|, or head = 0.
        const V sum = head + r;
        const V sum_error = (head - sum) + r;
        const V rest = (head + lo) * r + (hi * (Row::rest(r) + r_error) + lo);
        const V y = sum + ((sum_error + head_error) + rest);
        return from_bits<R>(bits(y) | (bits(a) & sign_bit<R>)); // -0 too
    }

    static std::int32_t rare(R x, R* y) {
        if (x < 0) return *y = -1, ARK_STATUS_OK;
        return exp_of_any<ExpRoutine<R>>(x, y);
    }
};

} // namespace

NVO_KERNEL_U(s, Expm1, (Expm1<float>), (Expm1Strided<float>))
NVO_KERNEL_U(d, Expm1, (Expm1<double>), (Expm1Strided<double>))
