// Prints tables/cbrt.h: cube roots, their reciprocals and their squares at the middles of 32 equal parts of [1, 2).

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

namespace {

Mp head(int j) { return Mp(1 + (2 * j + 1) / 64.0); }

double rounded(float, const Mp& x) { return static_cast<double>(mpfr_get_flt(x.get(), MPFR_RNDN)); }
double rounded(double, const Mp& x) { return x.to_double(); }

template <class R> void print_reciprocals(const char* name, const char* type) {
    std::printf("inline constexpr %s %s[32] = {\n", type, name);
    for (int j = 0; j < 32; ++j) std::printf("    %a,\n", -rounded(R(), Mp(1) / head(j)));
    std::printf("};\n\n");
}

// (2^(i - shift) c)^(power / 3)
template <class R> void print_powers(const char* name, const char* type, int power) {
    const int shift = sizeof(R) == 4 ? 1 : 0;
    std::printf("inline constexpr %s %s[96][2] = {\n", type, name);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 32; ++j) {
            const Mp root = Mp::apply(mpfr_cbrt, head(j) * Mp(1 << i) / Mp(1 << shift));
            const Mp exact = power == 1 ? root : power == 2 ? root * root : Mp(1) / root;
            const double hi = rounded(R(), exact);
            std::printf("    {%a, %a},\n", hi, rounded(R(), exact - Mp(hi)));
        }
    }
    std::printf("};\n\n");
}

} // namespace

int main() {
    std::printf("// Made by ./run tables cbrt; do not edit.\n"
                "// c = 1 + (2 j + 1)/64 is the middle of part j of [1, 2). Entry j of the reciprocals is -1 / c. "
                "Entry 32 i + j\n"
                "// of the others is the cube root of v, its reciprocal or its square, as hi, rounded to the type, and "
                "lo, the\n"
                "// rest rounded to the type: v = 2^i c for doubles, 2^(i - 1) c for floats, as their exponent bias is "
                "3 k + 1.\n"
                "#pragma once\n\nnamespace nvo::tables {\n\n");
    print_reciprocals<float>("minus_reciprocal_32s", "float");
    print_reciprocals<double>("minus_reciprocal_32d", "double");
    print_powers<float>("cbrt_s", "float", 1);
    print_powers<double>("cbrt_d", "double", 1);
    print_powers<float>("inv_cbrt_s", "float", -1);
    print_powers<double>("inv_cbrt_d", "double", -1);
    print_powers<double>("cbrt_squared_d", "double", 2);
    std::printf("} // namespace nvo::tables\n");
}
