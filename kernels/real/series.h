// Power series without a constant term.
#pragma once

#include "frame/lanes.h"

namespace nvo {

// c[0] x + c[1] x^2 + ... The terms of odd and of even degree are summed on their own, so that half as many operations
// wait for one another.
template <class V, std::size_t terms> V series(V x, const LaneType<V> (&c)[terms]) {
    const V square = x * x;
    const auto every_second = [&](auto last) { // ... + c[last - 2] x^-2 + c[last], times a power of x
        V sum = splat<V>(c[last]);
        unroll<last / 2>([&](auto i) { sum = c[last - 2 - 2 * i] + square * sum; });
        return sum;
    };
    const V p = every_second(std::integral_constant<int, terms - 1>{});
    const V q = every_second(std::integral_constant<int, terms - 2>{});
    return terms % 2 == 0 ? x * (q + x * p) : x * (p + x * q);
}

} // namespace nvo
