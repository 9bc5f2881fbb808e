// Prints tables/log_table_256.h: short reciprocals of 256 heads, and their logarithms.

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

namespace {

Mp rounded_to_multiple(const Mp& x, const Mp& step) {
    Mp n(0.0);
    mpfr_rint(n.get(), (x / step).get(), MPFR_RNDN);
    return n * step;
}

// Of the numbers from 1 + j/256 to 1 + (j + 1)/256.
Mp reciprocal(int j) { return rounded_to_multiple(Mp(512) / Mp(513 + 2 * j), Mp(0x1p-11)); }

} // namespace

int main() {
    std::printf("// Made by ./run tables log_table_256; do not edit.\n"
                "// Entry j belongs to the numbers from 1 + j/256 to 1 + (j + 1)/256:\n"
                "//     rcp_table_256   rcp, the reciprocal of the middle one to 11 fraction bits\n"
                "//     log_table_256   -ln rcp as {lo, hi}, hi a multiple of 2^-29, lo the rest rounded\n"
                "#pragma once\n\nnamespace nvo::tables {\n\n"
                "inline constexpr float rcp_table_256[256] = {\n");
    for (int j = 0; j < 256; ++j) std::printf("    %a,\n", reciprocal(j).to_double());
    std::printf("};\n\ninline constexpr double log_table_256[256][2] = {\n");
    for (int j = 0; j < 256; ++j) {
        const Mp log = Mp(0.0) - Mp::apply(mpfr_log, reciprocal(j));
        const Mp hi = rounded_to_multiple(log, Mp(0x1p-29));
        std::printf("    {%a, %a},\n", (log - hi).to_double(), hi.to_double());
    }
    std::printf("};\n\n} // namespace nvo::tables\n");
}
