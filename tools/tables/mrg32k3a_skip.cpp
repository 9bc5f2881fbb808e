// Prints tables/mrg32k3a_skip.h: the matrices by which a stream of MRG32K3A skips 2^k numbers.

#include <array>
#include <cinttypes>
#include <cstdint>
#include <cstdio>

namespace {

using Matrix = std::array<std::array<std::uint64_t, 3>, 3>;

Matrix product(const Matrix& a, const Matrix& b, std::uint64_t m) {
    Matrix c{};
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            for (int k = 0; k < 3; ++k) c[i][j] = (c[i][j] + a[i][k] * b[k][j] % m) % m;
        }
    }
    return c;
}

// A^(2^k) for k = 0, ..., 192.
void print_squarings(Matrix a, std::uint64_t m) {
    std::printf("    {\n");
    for (int k = 0; k <= 192; ++k, a = product(a, a, m)) {
        std::printf("        {");
        for (int i = 0; i < 9; ++i) std::printf("%s0x%08" PRIX64, i == 0 ? "" : ", ", a[i / 3][i % 3]);
        std::printf("},\n");
    }
    std::printf("    },\n");
}

} // namespace

int main() {
    constexpr std::uint64_t m1 = 4294967087, m2 = 4294944443;
    std::printf(
        "// Made by ./run tables mrg32k3a_skip; do not edit.\n"
        "// A1^(2^k) mod m1 and A2^(2^k) mod m2 for k from 0 to 192, row by row: m1 = 2^32 - 209, A1 has the rows\n"
        "// (0, 1, 0), (0, 0, 1), (-810728, 1403580, 0); m2 = 2^32 - 22853, A2 ends on (-1370589, 0, 527612).\n"
        "// The definition of an exported table: included once, behind its declaration.\n"
        "#pragma once\n\n#include <cstdint>\n\n"
        "// NOLINTNEXTLINE(misc-definitions-in-headers)\n"
        "const std::uint32_t _ost_mrg32k3a_skipahead_table[2][193][9] = {\n");
    print_squarings({{{0, 1, 0}, {0, 0, 1}, {m1 - 810728, 1403580, 0}}}, m1);
    print_squarings({{{0, 1, 0}, {0, 0, 1}, {m2 - 1370589, 0, 527612}}}, m2);
    std::printf("};\n");
}
