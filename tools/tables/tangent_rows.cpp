// Prints tables/tangent_rows.h: tangents and cotangents of multiples of pi/64.

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

namespace {

Mp quarter_pi() {
    Mp pi(0.0);
    mpfr_const_pi(pi.get(), MPFR_RNDN);
    return pi / Mp(4);
}

// x rounded to 64 bits.
Mp narrow(const Mp& x) {
    Mp y(0.0, 64);
    mpfr_set(y.get(), x.get(), MPFR_RNDN);
    return y;
}

void print(const Mp& x) { mpfr_printf("%RaL", x.get()); }

// x as {hi, lo}.
void pair(const Mp& x) {
    const Mp hi = narrow(x);
    std::printf("    {");
    print(hi);
    std::printf(", ");
    print(narrow(x - hi));
    std::printf("},\n");
}

// Rows 8 to 16: the arguments from pi/8 to pi/4.
void tangents() {
    constexpr const char* names[] = {"tan as {hi, lo}", "tan + cot", "cot as {hi, lo}"};
    for (int table = 0; table < 3; ++table) {
        constexpr const char* declarations[] = {"_TT[9][2]", "_TG[9]", "_GG[9][2]"};
        std::printf("// Entry i: %s of (i + 8) pi/64.\ninline constexpr long double %s = {\n", names[table],
                    declarations[table]);
        for (int i = 8; i <= 16; ++i) {
            const Mp tangent = i == 16 ? Mp(1.0) : Mp::apply(mpfr_tan, quarter_pi() * Mp(i) / Mp(16));
            const Mp cotangent = Mp(1.0) / tangent;
            if (table == 0) pair(tangent);
            if (table == 1) {
                std::printf("    ");
                print(narrow(tangent + cotangent));
                std::printf(",\n");
            }
            if (table == 2) pair(cotangent);
        }
        std::printf("};\n\n");
    }
}

} // namespace

int main() {
    std::printf("// Made by ./run tables tangent_rows; do not edit.\n#pragma once\n\nnamespace nvo::tables {\n\n");
    tangents();
    std::printf("} // namespace nvo::tables\n");
}
