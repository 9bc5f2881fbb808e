// Prints tables/exp2_fraction.h: 2^(j/N) in the forms that the exponentials want.

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

namespace {

Mp power(int j, int n) {
    Mp y(0.0);
    mpfr_exp2(y.get(), (Mp(j) / Mp(n)).get(), MPFR_RNDN);
    return y;
}

// hi in the type itself and lo, the rest, in it as well; relative: lo as a part of hi.
template <class R> void print(const char* name, const char* type, int n, bool relative) {
    std::printf("inline constexpr %s %s[%d][2] = {\n", type, name, n);
    for (int j = 0; j < n; ++j) {
        const Mp exact = power(j, n);
        const R hi =
            sizeof(R) == 4 ? static_cast<R>(mpfr_get_flt(exact.get(), MPFR_RNDN)) : static_cast<R>(exact.to_double());
        const Mp rest = exact - Mp(hi);
        const Mp stored = relative ? rest / Mp(hi) : rest;
        const R lo =
            sizeof(R) == 4 ? static_cast<R>(mpfr_get_flt(stored.get(), MPFR_RNDN)) : static_cast<R>(stored.to_double());
        std::printf("    {%a, %a},\n", static_cast<double>(hi), static_cast<double>(lo));
    }
    std::printf("};\n\n");
}

} // namespace

int main() {
    std::printf(
        "// Made by ./run tables exp2_fraction; do not edit.\n"
        "// Entry j of a table of N: 2^(j/N) as hi, rounded to the type, and lo, the rest rounded to the type. In the\n"
        "// relative table lo is the rest divided by hi.\n"
        "#pragma once\n\nnamespace nvo::tables {\n\n");
    print<float>("exp2_fraction_64s", "float", 64, false);
    print<float>("exp2_fraction_128s", "float", 128, false);
    print<double>("exp2_fraction_64d", "double", 64, false);
    print<double>("exp2_fraction_128d", "double", 128, false);
    print<double>("exp2_fraction_64d_relative", "double", 64, true);
    std::printf("} // namespace nvo::tables\n");
}
