// Prints tables/mt19937_poly.h: the characteristic polynomial of MT19937 by its terms. It is irreducible, and so the
// minimal polynomial of any bit of the outputs, which are sums of bits of the state.

#include "tools/support/exponents.h"

#include <cstdio>
#include <cstdlib>
#include <random>

int main() {
    constexpr std::ptrdiff_t degree = 19937;
    std::mt19937 generator;
    const auto p = nvo::tools::minimal_polynomial(2 * degree, [&](std::size_t) { return (generator() & 1) != 0; });
    if (p.degree() != degree) return EXIT_FAILURE;
    std::printf("// Made by ./run tables mt19937_poly; do not edit.\n"
                "// Exponents of the terms of the characteristic polynomial of MT19937, one step a word.\n"
                "// The definition of an exported table: included once, behind its declaration.\n"
                "#pragma once\n\n#include <cstdint>\n\n");
    nvo::tools::print_exponents("_ost_mt19937_poly", p);
}
