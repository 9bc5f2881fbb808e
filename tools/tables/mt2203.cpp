// Prints tables/mt2203.h from mt2203.csv: twist constant a and tempering masks b and c of the parameter sets of MT2203,
// one line a set, in hexadecimal.
//
// Sets 0, 1 and 6023 are prescribed. The others were searched for, to be like them:
//
// a: its top bit is set, and its lower 16 bits are an odd number that names the set, 1, 3, 5, ... from set 2 on without
// those of the prescribed sets. The 15 bits between were tried in random order until the characteristic polynomial was
// irreducible, 391 of them a set on average. It then is the only set's with that polynomial, and the period is
// 2^2203 - 1, a prime.
//
// b, c: the masks decide how evenly v leading bits of successive outputs are spread. In k(v) dimensions they are spread
// evenly, at best in floor(2203 / v), and what is missing, summed over v = 1 to 32, is the defect. A search from the
// top bit down adds for each v the mask bits on which output bit v depends, finds k(v) by reduction of a lattice over
// the polynomials, and goes on with the best 8 masks; with 32 where the defect stayed above 730, and with 64 for the
// 149 worst sets. The prescribed sets have defects of 699, 700 and 713. Over all sets it is 695 at least, 711 in the
// median, 729 on average, at most 772 for 90 in 100 sets, and 991 at worst.
//
// verify_mt2203 checks what is said here of a, of the period and of the bits that masks can have.

#include "tools/support/mt2203_sets.h"

#include <cstdio>

int main() {
    std::printf("// Made by ./run tables mt2203, from tools/tables/mt2203.csv; do not edit.\n"
                "// Parameter sets of MT2203: the twist constant a and the tempering masks b and c.\n"
                "// The definition of an exported table: included once, behind its declaration.\n"
                "#pragma once\n\n#include <cstdint>\n\n"
                "// NOLINTNEXTLINE(misc-definitions-in-headers)\n"
                "const std::uint32_t _ost_mt2203_table[6024][3] = {\n");
    for (const auto& set : nvo::tools::mt2203_sets())
        std::printf("    {0x%08X, 0x%08X, 0x%08X},\n", set.a, set.b, set.c);
    std::printf("};\n");
}
