// The logarithm of any positive number, in doubles: for the elements that lanes can't take.
//
// With x = 2^e m, m in [1, 2), and rcp a short number near c / m:
//
//   log_b x = e log_b 2 + log_b(c / rcp) + log_b(1 + f / c),  f = m rcp - c,  |f / c| < 2^-7 + 2^-11
//
// A base gives hi, lo (log_b 2), c (near log_b e), p(f) = log_b(1 + f / c) - f, and the table of {rcp, hi, lo} by the
// first 6 fraction bits of m, rounded (tables/log.h); and near_one, if p(x - 1) is good enough by itself that far
// from 1.
#pragma once

#include "tables/log.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>

namespace nvo {

template <class Base> double log_of_positive(double x) {
    if constexpr (requires { Base::near_one; }) {
        const double f = x - 1;
        if (std::abs(f) <= Base::near_one) return f + Base::p(f);
    }
    int scaled = 0;
    if (x < std::numeric_limits<double>::min()) {
        x *= 0x1p60;
        scaled = 60;
    }
    const auto pattern = std::bit_cast<std::uint64_t>(x);
    const double e = static_cast<int>(pattern >> 52) - 1023 - scaled;
    const double m = std::bit_cast<double>((pattern & 0xFFFFFFFFFFFFF) | 0x3FF0000000000000);
    const auto& [rcp, hi, lo] = Base::table[std::bit_cast<std::uint64_t>(m + 70368744177665.0) & 127]; // 2^46 + 1
    // m in two parts whose products with rcp are exact. d1 and e hi + hi are multiples of 2^-42, and so is their sum.
    const double mh = (2097152.0 + m) - 2097152.0; // 2^21
    const double d1 = mh * rcp - Base::c;
    const double d2 = (m - mh) * rcp;
    return d2 + (e * Base::lo + lo) + Base::p(d1 + d2) + (d1 + (e * Base::hi + hi));
}

struct LnBase {
    static constexpr double c = 1;
    static constexpr double hi = 0.6931471805598903;
    static constexpr double lo = 5.497923018708371e-14;
    static constexpr double near_one = 0.009765625;
    static constexpr auto& table = tables::ln_routine;
    static double p(double f) {
        return f * f *
               (-0.5 +
                f * (0.33333333333334386 +
                     f * (-0.25000000000003386 +
                          f * (0.19999999911565072 +
                               f * (-0.1666666651884978 + f * (0.1428756883852146 + f * -0.1250214602960357))))));
    }
};

} // namespace nvo
