// Prints tables/sfmt19937_poly.h: the characteristic polynomial of SFMT19937's recurrence of blocks by its terms. It
// has the degree of the state, 19968, and a factor of degree 19937. A single bit of the blocks may obey a divisor of
// it, so that the least common multiple of the minimal polynomials of several bits is taken until the degree is
// reached.

#include "tools/support/exponents.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

__extension__ using Block = unsigned __int128; // not part of ISO C++

constexpr Block in_words(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2, std::uint32_t w3) {
    return Block{w3} << 96 | Block{w2} << 64 | Block{w1} << 32 | w0;
}
// Shifts of the 32-bit words of a block on their own: what would come from a neighbour is masked out.
constexpr Block all(std::uint32_t mask) { return in_words(mask, mask, mask, mask); }

// Blocks of the recurrence from a random state on.
std::vector<Block> sequence(std::size_t count) {
    constexpr std::size_t n = 156, middle = 122;
    std::mt19937 random;
    std::vector<Block> b(n + count);
    for (std::size_t i = 0; i < n; ++i) {
        std::array<std::uint32_t, 4> words{};
        for (auto& word : words) word = static_cast<std::uint32_t>(random());
        b[i] = in_words(words[0], words[1], words[2], words[3]);
    }
    constexpr Block mask = in_words(0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6);
    for (std::size_t i = n; i < b.size(); ++i) {
        const Block a = b[i - n];
        b[i] = a ^ a << 8 ^ ((b[i - n + middle] >> 11) & all(0xFFFFFFFF >> 11) & mask) ^ b[i - 2] >> 8 ^
               ((b[i - 1] << 18) & all(0xFFFFFFFF << 18));
    }
    return b;
}

} // namespace

int main() {
    constexpr std::ptrdiff_t degree = 19968;
    const auto blocks = sequence(2 * degree);
    nvo::tools::Gf2Poly p({0});
    for (int bit = 0; bit < 128 && p.degree() < degree; bit += 32) {
        const auto of_bit =
            nvo::tools::minimal_polynomial(2 * degree, [&](std::size_t i) { return (blocks[i] >> bit & 1) != 0; });
        p = nvo::tools::least_common_multiple(p, of_bit);
    }
    if (p.degree() != degree) return EXIT_FAILURE;
    std::printf("// Made by ./run tables sfmt19937_poly; do not edit.\n"
                "// Exponents of the terms of the characteristic polynomial of SFMT19937, one step a block.\n"
                "// The definition of an exported table: included once, behind its declaration.\n"
                "#pragma once\n\n#include <cstdint>\n\n");
    nvo::tools::print_exponents("_ost_sfmt19937_poly", p);
}
