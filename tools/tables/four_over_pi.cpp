// Prints tables/four_over_pi.h: 4/pi to the end of the extended range.

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

namespace {

// The first digit holds the integer part and 30 bits.
void four_over_pi() {
    constexpr int digits = 535, bits = 31;
    std::printf(
        "// Entry k + 2: digit k of 4/pi, 31 bits each, the first one 1 and 30 bits of fraction, times 2^217: digits "
        "at\n"
        "// the end would fall below the range of the format otherwise. The two zeros stand for what is before them.\n"
        "inline constexpr long double four_over_pi[%d] = {\n    0,\n    0,\n",
        digits + 2);
    Mp rest(0.0, mpfr_prec_t{bits} * (digits + 4));
    mpfr_const_pi(rest.get(), MPFR_RNDN);
    mpfr_ui_div(rest.get(), 4, rest.get(), MPFR_RNDN);
    for (int k = 0; k < digits; ++k) {
        mpfr_mul_2si(rest.get(), rest.get(), k == 0 ? bits - 1 : bits, MPFR_RNDN);
        Mp digit(0.0);
        mpfr_floor(digit.get(), rest.get());
        mpfr_sub(rest.get(), rest.get(), digit.get(), MPFR_RNDN);
        std::printf("    0x%lxp%dL,\n", mpfr_get_ui(digit.get(), MPFR_RNDN), 217 + 1 - bits * (k + 1));
    }
    std::printf("};\n\n");
}

} // namespace

int main() {
    std::printf("// Made by ./run tables four_over_pi; do not edit.\n#pragma once\n\nnamespace nvo::tables {\n\n");
    four_over_pi();
    std::printf("} // namespace nvo::tables\n");
}
