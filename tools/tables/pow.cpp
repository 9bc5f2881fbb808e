// Prints tables/pow.h: logarithms and powers of 2 for Pow, Powr and Powx.

#include "tools/support/mp.h"

#include <cmath>
#include <cstdio>

using nvo::tools::Mp;

namespace {

template <class F> void print(const char* type, const char* name, int entries, const char* shape, F entry) {
    std::printf("inline constexpr %s %s[%d]%s = {\n", type, name, entries, shape);
    for (int j = 0; j < entries; ++j) entry(j);
    std::printf("};\n\n");
}

// s: r from 512 to 1024.
void print_logs_s() {
    print("double", "pow_ln_s", 513, "", [](int j) {
        const int r = 512 + j;
        const Mp log = Mp::apply(mpfr_log, Mp(r) / Mp(r > 724 ? 1024 : 512));
        std::printf("    %a,\n", 0.0 - log.to_double());
    });
}

void print_powers_s() {
    print("double", "pow_exp2_s", 2048, "",
          [](int j) { std::printf("    %a,\n", Mp::apply(mpfr_exp2, Mp(j) / Mp(2048)).to_double()); });
}

// d: rows of m = 1 + j/rows.
constexpr int rows_d = 1024;
constexpr double log2_e_head = 0x1.715474p+0;

float reciprocal_d(int j) { return mpfr_get_flt((Mp(log2_e_head) / (Mp(1) + Mp(j) / Mp(rows_d))).get(), MPFR_RNDN); }

void print_logs_d() {
    print("float", "pow_reciprocal_d", rows_d + 1, "", [](int j) { std::printf("    %a,\n", reciprocal_d(j)); });
    print("double", "pow_log2_d", rows_d + 1, "[2]", [](int j) {
        const Mp log = Mp::apply(mpfr_log2, Mp(log2_e_head) / Mp(reciprocal_d(j)));
        const double hi = std::nearbyint(std::ldexp(log.to_double(), 42)) * 0x1p-42;
        std::printf("    {%a, %a},\n", hi, (log - Mp(hi)).to_double());
    });
}

} // namespace

int main() {
    std::printf("// Made by ./run tables pow; do not edit.\n"
                "// pow_ln_s, entry r - 512, r from 512 to 1024: -ln(r / 512) up to r = 724, -ln(r / 1024) above.\n"
                "// pow_exp2_s, entry j: 2^(j/2048).\n"
                "// pow_reciprocal_d, entry j from 0 to 1024: rcp = c / (1 + j/1024) as a float, c = 0x1.715474p0.\n"
                "// pow_log2_d, entry j: log2(c / rcp) as hi, a multiple of 2^-42, and lo, the rest.\n"
                "#pragma once\n\nnamespace nvo::tables {\n\n");
    print_logs_s();
    print_powers_s();
    print_logs_d();
    std::printf("} // namespace nvo::tables\n");
}
