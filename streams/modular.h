// Residues of products: by division, or for a modulus just below a power of 2 by folding, in which the part above that
// power is added back below.
#pragma once

#include <cstdint>

namespace nvo {

// x y mod m. Most processors divide numbers of 32 bits much faster than those of 64.
constexpr std::uint32_t product_mod(std::uint32_t x, std::uint32_t y, std::uint32_t m) {
    const std::uint64_t p = std::uint64_t{x} * y;
    return static_cast<std::uint32_t>(p >> 32 == 0 ? static_cast<std::uint32_t>(p) % m : p % m);
}

// p mod 2^31 - 1 for p up to (2^31 - 1)^2, in 0 to 2^31 - 2.
inline constexpr std::uint32_t mersenne_31 = 0x7FFFFFFF;
constexpr std::uint32_t mod_mersenne_31(std::uint64_t p) {
    const std::uint64_t t = (p & mersenne_31) + (p >> 31); // below 2^32
    return static_cast<std::uint32_t>(t >= mersenne_31 ? t - mersenne_31 : t);
}

// The low 59 bits.
inline constexpr std::uint64_t mask_59 = (std::uint64_t{1} << 59) - 1;

// Moduli 2^32 - c, c < 2^15.
template <std::uint32_t c> inline constexpr std::uint32_t pseudo_mersenne = static_cast<std::uint32_t>(0 - c);

// One fold: t becomes (t mod 2^32) + c (t / 2^32), which is below 2^47 + 2^32 for any t.
template <std::uint32_t c> constexpr std::uint64_t folded(std::uint64_t t) { return (t & 0xFFFFFFFF) + (t >> 32) * c; }

// t mod 2^32 - c for t below 2^49: after the fold, t < 2^32 + 2^17 c < 2 (2^32 - c).
template <std::uint32_t c> constexpr std::uint32_t mod_of_folded(std::uint64_t t) {
    constexpr std::uint64_t m = pseudo_mersenne<c>;
    t = folded<c>(t);
    return static_cast<std::uint32_t>(t >= m ? t - m : t);
}
// t mod 2^32 - c for any t.
template <std::uint32_t c> constexpr std::uint32_t mod_pseudo_mersenne(std::uint64_t t) {
    return mod_of_folded<c>(folded<c>(t));
}

} // namespace nvo
