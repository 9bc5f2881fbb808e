// Results that may be denormal, rounded once.
#pragma once

#include <bit>
#include <cstdint>

namespace nvo {

// (hi + lo) 2^k, where hi + lo is from 1 to 2^52, |lo| below 1 and k from -1126 to -900.
//
// For a denormal result, hi is first rounded to a multiple of what becomes 2^-1074, and scales exactly. All that was
// left out is rounded when the rest is scaled.
inline double scaled_once(double hi, double lo, int k) {
    const auto power_of_two = [](int exponent) {
        return std::bit_cast<double>(static_cast<std::uint64_t>(1023 + exponent) << 52);
    };
    const double first = power_of_two(k + 800), second = power_of_two(-800);
    const double normal = (hi + lo) * first * second;
    if (normal >= 0x1p-1022) return normal;
    const double shifter = power_of_two(52 - 1074 - k);
    const double head = (hi + shifter) - shifter;
    const double rest = (hi - head) + lo;
    return head * first * second + rest * first * second;
}

} // namespace nvo
