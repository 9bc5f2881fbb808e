// Power series without a constant term.
#pragma once

#include "frame/lanes.h"

namespace nvo {

// c[0] x + c[1] x^2 + ... Beyond the first, the terms of odd and of even degree are summed on their own, so that half
// as many operations wait for one another. The first joins last, where it loses only one rounding.
template <class V, std::size_t terms> V series(V x, const LaneType<V> (&c)[terms]) {
    const V square = x * x;
    const auto every_second =
        [&](auto last) { // c[last] + c[last - 2] x^-2 + ... down to c[1] or c[2], times a power of x
            V sum = splat<V>(c[last]);
            unroll<(last - 1) / 2>([&](auto i) { sum = c[last - 2 - 2 * i] + square * sum; });
            return sum;
        };
    const V p = every_second(std::integral_constant<int, terms - 1>{});
    const V q = every_second(std::integral_constant<int, terms - 2>{});
    const V rest = terms % 2 == 0 ? x * p + square * q : x * q + square * p;
    return x * (c[0] + rest);
}

} // namespace nvo
