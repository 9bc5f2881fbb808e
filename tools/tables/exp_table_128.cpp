// Prints tables/exp_table_128.h: 2^(j/128) around 1, with short leading parts.

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

int main() {
    std::printf(
        "// Made by ./run tables exp_table_128; do not edit.\n"
        "// Entry j + 64, j from -64 to 63: 2^(j/128) as {lo, hi}, hi cut off after 32 bits, lo the rest rounded.\n"
        "#pragma once\n\nnamespace nvo::tables {\n\n"
        "inline constexpr double exp_table_128[128][2] = {\n");
    for (int j = -64; j < 64; ++j) {
        Mp power(0.0);
        mpfr_exp2(power.get(), (Mp(j) / Mp(128)).get(), MPFR_RNDN);
        Mp hi(0.0, 32);
        mpfr_set(hi.get(), power.get(), MPFR_RNDZ);
        std::printf("    {%a, %a},\n", (power - hi).to_double(), hi.to_double());
    }
    std::printf("};\n\n} // namespace nvo::tables\n");
}
