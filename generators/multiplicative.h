// What the multiplicative congruential generators x <- a x mod m share: skipping and leapfrog. A Ring is the arithmetic
// of one modulus:
//
//   T multiply(T, T) const
//   T power(T, std::uint64_t) const
#pragma once

#include <cstdint>

namespace nvo {

// count steps at once.
template <class Ring, class T> void skip_multiplicative(const Ring& ring, T& x, T a, std::uint64_t count) {
    x = ring.multiply(x, ring.power(a, count));
}

// Every `streams`-th number from number `index` on: the multiplier changes, and the stream goes on by single steps of
// its own.
template <class Ring, class T>
void leapfrog_multiplicative(const Ring& ring, T& x, T& a, std::uint32_t index, std::uint32_t streams) {
    skip_multiplicative(ring, x, a, index);
    a = ring.power(a, streams);
}

} // namespace nvo
