// Prints tables/wh.h from wh.csv: multipliers and moduli of the parameter sets of WH, one line a0,a1,a2,a3,m0,m1,m2,m3
// a set.
//
// Prescribed are the sets 0, 1, 2, 100 and 272, the ranges (multipliers from 112 to 127, moduli from 16718909 to
// 16776971) and that all moduli are different primes. The other sets continue what the prescribed ones have in common:
// each multiplier is a primitive root of its modulus; in a set, moduli fall, multipliers differ and the four numbers
// (m - 1)/2 are pairwise coprime, so that the period, the product of all m - 1 divided by 8, is as long as can be,
// about 2^93. From its first modulus on, a set takes the next lower prime whose (m - 1)/2 is coprime to those taken,
// and with it the largest primitive root up to 127 that the set doesn't use yet. First moduli: the primes of the range
// are numbered downwards, those of the prescribed sets set aside; each start is looked for from the place on that lies
// on a straight line between the prescribed sets (the range is gone through three times over), and downwards until the
// set uses only primes that are free, spans at most 41 places, and has a normalised spectral figure of the equivalent
// single generator of at least 0.45 in each of 2 to 8 dimensions. Two sets start where they must for both ends of the
// range to occur, with figures of 0.376 and 0.423; those of the prescribed sets are 0.372 to 0.578.
//
// verify_wh checks what is said here of primes, roots and periods.

#include "tools/support/wh_sets.h"

#include <array>
#include <cstdio>

namespace {

using nvo::tools::WhSet;

// {entry(set, 0), ..., entry(set, 3)} for every set.
template <class Print> void print_rows(const char* type, const char* name, Print print) {
    std::printf("// NOLINTNEXTLINE(misc-definitions-in-headers)\nconst %s %s[273][4] = {\n", type, name);
    for (const WhSet& set : nvo::tools::wh_sets()) {
        std::printf("    {");
        for (int i = 0; i < 4; ++i) {
            std::printf(i == 0 ? "" : ", ");
            print(set, i);
        }
        std::printf("},\n");
    }
    std::printf("};\n");
}

} // namespace

int main() {
    std::printf("// Made by ./run tables wh, from tools/tables/wh.csv; do not edit.\n"
                "// Parameter sets of WH: multipliers, moduli, and the reciprocals of the moduli, rounded to nearest.\n"
                "// Definitions of exported tables: included once, behind their declarations.\n"
                "#pragma once\n\n#include <cstdint>\n\n");
    print_rows("std::uint8_t", "_ost_WH_A", [](const WhSet& set, int i) { std::printf("%u", set.a[i]); });
    std::printf("\n");
    print_rows("std::uint32_t", "_ost_WH_M", [](const WhSet& set, int i) { std::printf("%u", set.m[i]); });
    std::printf("\n");
    print_rows("double", "_ostdWH_IM_Tab", [](const WhSet& set, int i) { std::printf("%a", 1.0 / set.m[i]); });
}
