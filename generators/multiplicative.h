// What the multiplicative congruential generators x <- a x mod m share: skipping and leapfrog. A Ring is the arithmetic
// of one modulus:
//
//   T multiply(T, T) const
//   T power(T, std::uint64_t) const
#pragma once

#include "streams/exports.h"

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

// The initialisation entry of a generator with one x and one a.
template <class Ring, class State, class Seed>
std::int32_t init_multiplicative(const Ring& ring, State& s, Seed seed, std::int32_t method, std::int32_t n,
                                 const void* params) {
    switch (method) {
    case OST_METHOD_SEED: seed(s, n, static_cast<const std::uint32_t*>(params)); return OST_OK;
    case OST_METHOD_LEAPFROG:
        leapfrog_multiplicative(ring, s.x, s.a, *static_cast<const std::uint32_t*>(params), n);
        return OST_OK;
    case OST_METHOD_SKIP:
        skip_multiplicative(ring, s.x, s.a, *static_cast<const std::uint64_t*>(params));
        return OST_OK;
    case OST_METHOD_SKIP_LONG: return OST_ERR_NO_SKIP_EX;
    default: return OST_ERR_METHOD;
    }
}

} // namespace nvo
