// Prints tables/cbrt.h: cube roots, their reciprocals and their squares at the middles of 32 equal parts of [1, 2).

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

namespace {

Mp head(int j) { return Mp(1 + (2 * j + 1) / 64.0); }

template <class R> constexpr double third = static_cast<R>(1.0L / 3);

double rounded(float, const Mp& x) { return static_cast<double>(mpfr_get_flt(x.get(), MPFR_RNDN)); }
double rounded(double, const Mp& x) { return x.to_double(); }

template <class R> void print_row(const Mp& exact) {
    const double hi = rounded(R(), exact);
    std::printf("    {%a, %a", hi, rounded(R(), exact - Mp(hi)));
}

// (2^(i - shift) c)^(power / 3)
template <class R> void print_powers(const char* name, const char* type, int power) {
    const int shift = sizeof(R) == 4 ? 1 : 0;
    const bool with_reciprocal = power != 2;
    std::printf("%sinline constexpr %s %s[96][%d] = {\n", with_reciprocal ? "alignas(16) " : "", type, name,
                with_reciprocal ? 4 : 2);
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 32; ++j) {
            const Mp root = Mp::apply(mpfr_cbrt, head(j) * Mp(1 << i) / Mp(1 << shift));
            print_row<R>(power == 1 ? root : power == 2 ? root * root : Mp(1) / root);
            if (with_reciprocal) std::printf(", %a, 0", -rounded(R(), Mp(1) / (Mp(3) * Mp(third<R>) * head(j))));
            std::printf("},\n");
        }
    }
    std::printf("};\n\n");
}

} // namespace

int main() {
    std::printf(
        "// Made by ./run tables cbrt; do not edit.\n"
        "// c = 1 + (2 j + 1)/64 is the middle of part j of [1, 2). Row 32 i + j: the cube root of v, its reciprocal\n"
        "// or its square, as hi, rounded to the type, and lo, the rest rounded to the type; v = 2^i c for doubles,\n"
        "// 2^(i - 1) c for floats, whose exponent bias is 3 k + 1. Then -1 / (3 t c), t the 1/3 of the type: that is\n"
        "// -1 / c, but makes up for the rounding of the first coefficient of a series. Then padding.\n"
        "#pragma once\n\nnamespace nvo::tables {\n\n");
    print_powers<float>("cbrt_s", "float", 1);
    print_powers<double>("cbrt_d", "double", 1);
    print_powers<float>("inv_cbrt_s", "float", -1);
    print_powers<double>("inv_cbrt_d", "double", -1);
    print_powers<double>("cbrt_squared_d", "double", 2);
    std::printf("} // namespace nvo::tables\n");
}
