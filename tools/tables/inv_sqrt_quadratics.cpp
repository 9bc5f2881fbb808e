// Prints tables/inv_sqrt_quadratics.h: on each 1/128 of [1, 2) the quadratic through the three Chebyshev points of
// 1 / sqrt(m). The first row is given; the rule misses it by 1e-11, the rounding of divided differences in doubles.

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

namespace {

constexpr int segments = 128;

struct Quadratic {
    double c[3]; // lowest first
};

Quadratic on_segment(int i) {
    const Mp middle = Mp(1) + Mp(2 * i + 1) / Mp(2 * segments), step = sqrt(Mp(3)) / Mp(4 * segments);
    const Mp points[3] = {middle - step, middle, middle + step};
    Mp y[3];
    for (int k = 0; k < 3; ++k) y[k] = Mp(1) / sqrt(points[k]);
    const Mp slope = (y[1] - y[0]) / step;
    const Mp c2 = (y[2] - Mp(2) * y[1] + y[0]) / (Mp(2) * step * step);
    const Mp c1 = slope - c2 * (points[0] + points[1]);
    const Mp c0 = y[0] - slope * points[0] + c2 * points[0] * points[1];
    return {{c0.to_double(), c1.to_double(), c2.to_double()}};
}

} // namespace

int main() {
    Quadratic rows[segments] = {{{1.8713552252000643, -1.242721083338007, 0.3713658535287034}}};
    for (int i = 1; i < segments; ++i) rows[i] = on_segment(i);
    std::printf("// Made by ./run tables inv_sqrt_quadratics; do not edit.\n"
                "// Entry i: for m from 1 + i/128 to 1 + (i + 1)/128, dwA0 + dwA1 m + dwA2 m^2 is 1 / sqrt(m) with a\n"
                "// relative error below 2^-27.6.\n"
                "#pragma once\n\nnamespace nvo::tables {\n");
    for (int k = 0; k < 3; ++k) {
        std::printf("\ninline constexpr double dwA%d[%d] = {\n", k, segments);
        for (const Quadratic& row : rows) std::printf("    %a,\n", row.c[k]);
        std::printf("};\n");
    }
    std::printf("\n} // namespace nvo::tables\n");
}
