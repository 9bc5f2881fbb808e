// Prints tables/pow3o2.h: c^(3/2) at the middles of 32 equal parts of [1, 2) and of [2, 4).

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

int main() {
    std::printf("// Made by ./run tables pow3o2; do not edit.\n"
                "// c = 1 + (2 j + 1)/64 is the middle of part j of [1, 2). Row 32 p + j: (2^p c)^(3/2) as hi, rounded "
                "to double,\n"
                "// and lo, the rest rounded to double; then 1 / c, and padding.\n"
                "#pragma once\n\nnamespace nvo::tables {\n\nalignas(16) inline constexpr double pow3o2[64][4] = {\n");
    for (int p = 0; p < 2; ++p) {
        for (int j = 0; j < 32; ++j) {
            const Mp head(1 + (2 * j + 1) / 64.0);
            const Mp c = Mp(1 << p) * head;
            const Mp exact = sqrt(c * c * c);
            const double hi = exact.to_double();
            std::printf("    {%a, %a, %a, 0},\n", hi, (exact - Mp(hi)).to_double(), (Mp(1) / head).to_double());
        }
    }
    std::printf("};\n\n} // namespace nvo::tables\n");
}
