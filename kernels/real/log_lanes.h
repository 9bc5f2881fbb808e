// The logarithm lane formula with a table, in any base b. A row gives
//
//   c        a short number near log_b e
//   least    P, a power of two
//   hi, lo   log_b 2; k hi is exact for every exponent field k, and so is k lo
//   table    by r from c / 2P to c / P:  log_b(c / r) - (bias + log2 P) log_b 2, as hi and lo (tables/log.h)
//   p(u)     log_b(1 + u / c) - u
//
// and x, positive and normal, has its logarithm as follows.
//
//   x = 2^e m / P   m from P up to 2P, by setting the exponent; e = k - bias, k the exponent field
//   r               the integer next to c / m
//   u = m r - c     exact: a multiple of m's ulp, and no larger than m/2 but for the rounding of c / m
//   log_b x = k log_b 2 + table(r) + log_b(1 + u / c)
//
// where c near log_b e makes u the leading term, and p small. A = k hi + table.hi is exact by the table's making, and
// A + u keeps its rounding error, as |u| < |A| or A = 0. Just above and below x = 1, A and k lo + table.lo are both 0,
// and u is log_b e (x - 1) but for p: nothing cancels.
#pragma once

#include "frame/lanes.h"
#include "tables/log.h"

#include <bit>
#include <limits>
#include <type_traits>

namespace nvo {

// Special for a logarithm: all but the positive normal numbers.
template <class V> auto not_positive_normal(V x) {
    using Limits = std::numeric_limits<LaneType<V>>;
    return not_between(x, Limits::min(), Limits::infinity());
}

// The exponent field of a positive number, bias included, as a number.
template <class V> V exponent_field(V x) {
    if constexpr (sizeof(LaneType<V>) == 4) {
        return __builtin_convertvector(bits(x) >> 23, V);
    } else {
        return from_bits<double>((words(x) >> 52) | std::bit_cast<std::uint64_t>(0x1p52)) - 0x1p52;
    }
}

// x as the formula sees it: u = m r - c, and the row of r in the table.
template <class V> struct LogArgument {
    V r, u;
    LaneMask<LaneType<V>, lane_count<V>> row;
};

template <class Row, class V> LogArgument<V> log_argument(V x) {
    using R = LaneType<V>;
    using Bits = Word<R>;
    constexpr int fraction = std::numeric_limits<R>::digits - 1;
    constexpr Bits fraction_bits = (Bits(1) << fraction) - 1;
    constexpr Bits head_bits = -(Bits(1) << (sizeof(R) == 4 ? 12 : 26)); // of m: its product with r is exact
    constexpr R shifter = R(1.5) / std::numeric_limits<R>::epsilon();    // 1.5 * 2^fraction
    constexpr R first = Row::c / (2 * Row::least);

    const V m = from_bits<R>((bits(x) & fraction_bits) | std::bit_cast<Bits>(Row::least));
    const V t = Row::c / m + shifter;
    const V r = t - shifter;
    const V mh = from_bits<R>(bits(m) & head_bits);
    const V ml = m - mh;
    const V u = (mh * r - Row::c) + ml * r;
    return {r, u, bits(t) - std::bit_cast<Bits>(shifter + first)};
}

// k log_b 2 + table(row) + u + p.
template <class Row, class V> V log_sum(V k, LogArgument<V> x, V p) {
    const auto entry = gather(Row::table, x.row);
    const V a = k * Row::hi + entry.hi;
    V lo = entry.lo;
    if constexpr (Row::lo != 0) lo = k * Row::lo + lo;
    const V sum = a + x.u;
    return sum + ((a - sum) + x.u + lo + p);
}

template <class Row, class V> V log_by_table(V x) {
    const auto argument = log_argument<Row>(x);
    return log_sum<Row>(exponent_field(x), argument, Row::p(argument.u));
}

// The ends of a table, where x nears 1 from below and above: minus the sums that k makes.
template <class Row> constexpr bool log_table_meets_at_one() {
    using R = std::remove_cv_t<decltype(Row::c)>;
    constexpr R bias = std::numeric_limits<R>::max_exponent - 1;
    constexpr int last = static_cast<int>(Row::c / (2 * Row::least));
    const auto& [below, above] = std::pair(Row::table[0], Row::table[last]);
    return std::extent_v<std::remove_reference_t<decltype(Row::table)>> == last + 1 &&
           below[0] == -(bias - 1) * Row::hi && below[1] == -(bias - 1) * Row::lo && above[0] == -bias * Row::hi &&
           above[1] == -bias * Row::lo;
}

// Base e, in doubles.
struct LnDouble {
    static constexpr double c = 1;
    static constexpr double least = 0x1p-10;
    static constexpr double hi = 0.6931471805582987;
    static constexpr double lo = 1.6465949582866463e-12;
    static constexpr auto& table = tables::ln_lanes_d;
    template <class V> static V p(V u) {
        const V square = u * u;
        return square *
               (0.33333333333308374 * u - 0.49999999999988803 + square * (0.2000003665949424 * u - 0.2500003054940248));
    }
};

} // namespace nvo
