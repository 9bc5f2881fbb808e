// The order of sorted data and of quantiles: that of the radix sort, on all bit patterns. Negative NaNs come first,
// then numbers from -infinity up, -0 before +0, and positive NaNs come last. Numbers that are the same in this order
// have the same bits, so that a rank has one value, whatever way leads to it.
#pragma once

#include <bit>
#include <cstdint>
#include <type_traits>

namespace nvo::stats {

// An integer as wide as R, which compares as R does in total order.
template <class R> using OrderKey = std::conditional_t<sizeof(R) == 4, std::int32_t, std::int64_t>;

// Negative numbers have all bits inverted but the sign. To do so twice is to do nothing.
template <class Key> constexpr Key with_magnitude_in_order(Key pattern) {
    using Word = std::make_unsigned_t<Key>;
    return pattern ^ static_cast<Key>(static_cast<Word>(pattern >> (8 * sizeof(Key) - 1)) >> 1);
}
template <class R> constexpr OrderKey<R> order_key(R x) {
    return with_magnitude_in_order(std::bit_cast<OrderKey<R>>(x));
}
template <class R> constexpr R value_of_key(OrderKey<R> key) { return std::bit_cast<R>(with_magnitude_in_order(key)); }

} // namespace nvo::stats
