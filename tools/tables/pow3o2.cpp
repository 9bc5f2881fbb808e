// Prints tables/pow3o2.h: c^(3/2) at the middles of 32 equal parts of [1, 2) and of [2, 4).

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

int main() {
    std::printf("// Made by ./run tables pow3o2; do not edit.\n"
                "// c = 1 + (2 j + 1)/64 is the middle of part j of [1, 2). Entry j of the reciprocals is 1 / c. Entry "
                "32 p + j of\n"
                "// the others is (2^p c)^(3/2) as hi, rounded to double, and lo, the rest rounded to double.\n"
                "#pragma once\n\nnamespace nvo::tables {\n\n");
    const auto head = [](int j) { return Mp(1 + (2 * j + 1) / 64.0); };
    std::printf("inline constexpr double reciprocal_32d[32] = {\n");
    for (int j = 0; j < 32; ++j) std::printf("    %a,\n", (Mp(1) / head(j)).to_double());
    std::printf("};\n\ninline constexpr double pow3o2_d[64][2] = {\n");
    for (int p = 0; p < 2; ++p) {
        for (int j = 0; j < 32; ++j) {
            const Mp c = Mp(1 << p) * head(j);
            const Mp exact = sqrt(c * c * c);
            const double hi = exact.to_double();
            std::printf("    {%a, %a},\n", hi, (exact - Mp(hi)).to_double());
        }
    }
    std::printf("};\n\n} // namespace nvo::tables\n");
}
