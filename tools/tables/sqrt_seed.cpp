// Prints tables/sqrt_seed.h. Entry 256 p + j, p 0 or 1: 1 / sqrt(m) at the left end m = (1 + j/256) 2^p of an interval,
// rounded to a multiple of 2^-9.

#include "tools/support/mp.h"

#include <cmath>
#include <cstdio>

using nvo::tools::Mp;

int main() {
    std::printf("// Made by ./run tables sqrt_seed; do not edit.\n"
                "// Entry 256 p + j: 1 / sqrt(m) at m = (1 + j/256) 2^p, rounded to a multiple of 2^-9. Relative to\n"
                "// 1 / sqrt of any m up to the next entry's, the error is below 0.0033.\n"
                "#pragma once\n\nnamespace nvo::tables {\n\ninline constexpr double sqrt_seed[512] = {\n");
    for (int p = 0; p < 2; ++p) {
        for (int j = 0; j < 256; ++j) {
            const Mp m = Mp(1 + j / 256.0) * Mp(1 << p);
            const Mp scaled = Mp(512) / sqrt(m);
            std::printf("    %a,\n", std::nearbyint(scaled.to_double()) / 512);
        }
    }
    std::printf("};\n\n} // namespace nvo::tables\n");
}
