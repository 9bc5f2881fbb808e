// Prints a table of exponents, the definition of an exported array.
#pragma once

#include "tools/support/gf2.h"

#include <cstdio>

namespace nvo::tools {

inline void print_exponents(const char* name, const Gf2Poly& p) {
    const auto exponents = p.exponents();
    std::printf("// NOLINTNEXTLINE(misc-definitions-in-headers)\nconst std::uint32_t %s[%zu] = {", name,
                exponents.size());
    for (std::size_t i = 0; i < exponents.size(); ++i)
        std::printf("%s%zu,", i % 15 == 0 ? "\n    " : " ", exponents[i]);
    std::printf("\n};\n");
}

} // namespace nvo::tools
