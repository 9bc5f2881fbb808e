// Prints tables/extended_cores.h: the exported tables of the cores in the extended format.

#include "tools/support/mp.h"

#include <cstdio>

using nvo::tools::Mp;

namespace {

constexpr int count = 256;

void begin(const char* comment, const char* declaration) {
    std::printf("\n%s// NOLINTNEXTLINE(misc-definitions-in-headers)\nconst %s = {\n", comment, declaration);
}
void end() { std::printf("};\n"); }

Mp rounded_to_multiple(const Mp& x, const Mp& step) {
    Mp n(0.0);
    mpfr_rint(n.get(), (x / step).get(), MPFR_RNDN);
    return n * step;
}

Mp exp2_of(double x) { return Mp::apply(mpfr_exp2, Mp(x)); }

void pair(const Mp& x, const Mp& hi) { std::printf("    {%a, %a},\n", hi.to_double(), (x - hi).to_double()); }

void exponentials() {
    begin("// Entry j + 128, j from -128 to 127: 2^(j/256) as {hi, lo}, hi the nearest double.\n",
          "double nvo_ark_core_expl_table_256[256][2]");
    for (int j = -128; j < 128; ++j) {
        const Mp power = exp2_of(j / 256.0);
        pair(power, Mp(power.to_double()));
    }
    end();
}

// Of the numbers from 1 + j/256 to 1 + (j + 1)/256.
Mp reciprocal(int j) { return rounded_to_multiple(Mp(512) / Mp(513 + 2 * j), Mp(0x1p-11)); }

void reciprocals(const char* comment, const char* declaration) {
    begin(comment, declaration);
    for (int j = 0; j < count; ++j) std::printf("    %a,\n", reciprocal(j).to_double());
    end();
}

void logarithms(const char* comment, const char* declaration) {
    begin(comment, declaration);
    for (int j = 0; j < count; ++j) {
        const Mp log = Mp(0.0) - Mp::apply(mpfr_log, reciprocal(j));
        pair(log, rounded_to_multiple(log, Mp(0x1p-42)));
    }
    end();
}

void arc_tangents() {
    begin("// Entry 16 k + j: atan of the middle of (1 + j/16) 2^(k - 4) to (1 + (j + 1)/16) 2^(k - 4), as {hi, lo}, "
          "hi the\n"
          "// nearest double.\n",
          "double nvo_ark_core_atanl_table_128[128][2]");
    for (int i = 0; i < 128; ++i) {
        const int k = i / 16 - 4;
        const Mp angle = Mp::apply(mpfr_atan, Mp(33 + 2 * (i % 16)) / Mp(32) * exp2_of(k));
        pair(angle, Mp(angle.to_double()));
    }
    end();
}

} // namespace

int main() {
    std::printf("// Made by ./run tables extended_cores; do not edit.\n"
                "// Definitions of exported tables: included once, behind their declarations.\n#pragma once\n");
    exponentials();
    reciprocals("// Entry j: the reciprocal of the middle of 1 + j/256 to 1 + (j + 1)/256, to 11 fraction bits.\n",
                "float nvo_ark_core_rcp_table_256[256]");
    reciprocals("// The same as doubles.\n", "double nvo_ark_core_double_rcp_table_256[256]");
    logarithms("// Entry j: minus the logarithm of that reciprocal, as {hi, lo}, hi a multiple of 2^-42: a sum with a "
               "multiple of a\n"
               "// short ln 2 is exact, in doubles as in the extended format.\n",
               "double nvo_ark_core_logl_table_256[256][2]");
    logarithms("// The same, for the functions of doubles.\n", "double nvo_ark_core_log_table_256[256][2]");
    arc_tangents();
}
