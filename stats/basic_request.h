// What a call for moments and covariance asks for: its method, the arrays that it needs, and whether all is there.
#pragma once

#include "stats/basic_kernels.h"

#include <cstdint>

namespace nvo::stats {

// Bits of the estimates, by order.
constexpr std::uint64_t raw_bit(int k) { return OST_STAT_EST_RAW1 << (k - 1); }
constexpr std::uint64_t raw_sum_bit(int k) { return OST_STAT_EST_SUM1 << (k - 1); }
constexpr std::uint64_t central_bit(int k) { return OST_STAT_EST_CENTRAL2 << (k - 2); }
constexpr std::uint64_t central_sum_bit(int k) { return OST_STAT_EST_CSUM2 << (k - 2); }
inline constexpr std::uint64_t matrix_bits = OST_STAT_EST_COV | OST_STAT_EST_COR | OST_STAT_EST_CROSS_PRODUCT;

struct BasicRequest {
    // The arrays that are needed, by the bits of their estimates: those of the estimates, and what these are made from.
    std::uint64_t needed = 0;
    std::uint64_t asked = 0; // the estimates themselves
    bool from_sums = false;
    Pass pass = Pass::one; // unless from sums

    bool asks(std::uint64_t bits) const { return (asked & bits) != 0; }
    bool needs(std::uint64_t bits) const { return (needed & bits) != 0; }
    // The highest order of which moment or sum is needed.
    int highest_raw() const;
    int highest_central() const;
    int kernel_level() const;
};

// Reads a request and checks it, in the order that the header tells.
template <Real R>
std::int32_t read_request(OstSSTask* handle, std::uint64_t estimates, std::uint32_t method, BasicRequest& request);

} // namespace nvo::stats
