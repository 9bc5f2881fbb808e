// Prints tables/niederreiter.h: the first 318 irreducible polynomials over GF(2).

#include <bit>
#include <cstdint>
#include <cstdio>
#include <vector>

namespace {

int degree(std::uint32_t p) { return std::bit_width(p) - 1; }

std::uint32_t remainder(std::uint32_t p, std::uint32_t divisor) {
    while (degree(p) >= degree(divisor)) p ^= divisor << (degree(p) - degree(divisor));
    return p;
}

// Not divisible by an irreducible polynomial of up to half its degree. `smaller` has all of those.
bool is_irreducible(std::uint32_t p, const std::vector<std::uint32_t>& smaller) {
    for (const std::uint32_t divisor : smaller) {
        if (2 * degree(divisor) > degree(p)) break;
        if (remainder(p, divisor) == 0) return false;
    }
    return true;
}

template <class F> void print(const char* type, const char* name, const std::vector<std::uint32_t>& polynomials, F f) {
    std::printf("// NOLINTNEXTLINE(misc-definitions-in-headers)\nconst %s %s[%zu] = {\n", type, name,
                polynomials.size());
    for (std::size_t i = 0; i < polynomials.size(); ++i) {
        const bool ends_line = i % 16 == 15 || i + 1 == polynomials.size();
        std::printf("%s%d,%s", i % 16 == 0 ? "    " : "", static_cast<int>(f(polynomials[i])), ends_line ? "\n" : " ");
    }
    std::printf("};\n");
}

} // namespace

int main() {
    std::vector<std::uint32_t> polynomials;
    for (std::uint32_t p = 2; polynomials.size() < 318; ++p) {
        if (is_irreducible(p, polynomials)) polynomials.push_back(p);
    }
    std::printf(
        "// Made by ./run tables niederreiter; do not edit.\n"
        "// The first 318 irreducible polynomials over GF(2) in ascending order, in bit form, constant term in bit\n"
        "// 0; and their degrees.\n"
        "// Definitions of exported tables: included once, behind their declarations.\n"
        "#pragma once\n\n#include <cstdint>\n\n");
    print("std::uint32_t", "uNiederrIrredPoly", polynomials, [](std::uint32_t p) { return p; });
    std::printf("\n");
    print("std::int32_t", "iNiederrIrredPolyDeg", polynomials, degree);
}
