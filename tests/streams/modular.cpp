// Modular powers against 128-bit arithmetic, from the top bit down, where the library goes from the lowest bit up.

#include "nvo_ark/generators.h"
#include "platform/core_testing.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using Wide = unsigned __int128;
using Vector = std::array<std::uint32_t, 3>;
using Matrix = std::array<Vector, 3>;
using Exponent = std::vector<std::uint64_t>; // words, lowest first

constexpr std::uint32_t m1 = 4294967087, m2 = 4294944443;

Exponent random_exponent(std::mt19937_64& random, int words) {
    Exponent e(words);
    for (auto& word : e) word = random() >> (random() % 64);
    return e;
}

template <class T, class Square, class Times> T from_the_top(T x, const Exponent& e, Square square, Times times) {
    for (std::size_t i = e.size(); i-- > 0;) {
        for (int bit = 63; bit >= 0; --bit) {
            x = square(x);
            if (e[i] >> bit & 1) x = times(x);
        }
    }
    return x;
}

std::uint64_t power(std::uint64_t a, std::uint64_t e, std::uint64_t m) {
    return from_the_top(
        std::uint64_t{1}, {e}, [m](Wide x) -> std::uint64_t { return x * x % m; },
        [a, m](Wide x) -> std::uint64_t { return x * a % m; });
}

Matrix product(const Matrix& a, const Matrix& b, std::uint32_t m) {
    Matrix c;
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            Wide sum = 0;
            for (int k = 0; k < 3; ++k) sum += Wide{a[i][k]} * b[k][j];
            c[i][j] = static_cast<std::uint32_t>(sum % m);
        }
    }
    return c;
}

// A^e v for the companion matrix of a row.
Vector stepped(Vector v, const Vector& row, std::uint32_t m, const Exponent& e) {
    const Matrix step = {{{0, 1, 0}, {0, 0, 1}, {row[2], row[1], row[0]}}};
    const Matrix one = {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    const Matrix power = from_the_top(
        one, e, [m](const Matrix& x) { return product(x, x, m); },
        [&](const Matrix& x) { return product(x, step, m); });
    Vector result;
    for (int i = 0; i < 3; ++i) {
        Wide sum = 0;
        for (int k = 0; k < 3; ++k) sum += Wide{power[i][k]} * v[k];
        result[i] = static_cast<std::uint32_t>(sum % m);
    }
    return result;
}

constexpr Vector row1 = {0, 1403580, m1 - 810728};
constexpr Vector row2 = {527612, 0, m2 - 1370589};

TEST(ModularPowers, AreThoseOfWideArithmetic) {
    std::mt19937_64 random(1);
    const std::uint32_t edges[] = {0, 1, 2, 0x7FFFFFFE, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFE, 0xFFFFFFFF};
    for (int i = 0; i < 5000; ++i) {
        const auto edge_or = [&](std::uint64_t x) { return random() % 4 == 0 ? edges[random() % 8] : x; };
        const auto a = edge_or(random() >> random() % 64), e = edge_or(random() >> random() % 64);
        const auto small = static_cast<std::uint32_t>(a);
        const auto m =
            std::max<std::uint32_t>(2, static_cast<std::uint32_t>(edge_or(random() >> (32 + random() % 32))));
        EXPECT_EQ(power(small, e, m), __ostiPowMod(small, e, m)) << small << "^" << e << " mod " << m;
        EXPECT_EQ(power(small, e, 0x7FFFFFFF), __ostiPowMod2P31M1(small, e)) << small << "^" << e;
        EXPECT_EQ(power(a, e, std::uint64_t{1} << 59), __ostiPowMod2P59(a, e)) << a << "^" << e;
    }
}

TEST(ModularPowers, WithExponentZeroAreOne) {
    for (const std::uint32_t a : {0U, 1U, 7U, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        EXPECT_EQ(1U, __ostiPowMod(a, 0, 5));
        EXPECT_EQ(1U, __ostiPowMod2P31M1(a, 0));
        EXPECT_EQ(1U, __ostiPowMod2P59(a, 0));
    }
}

TEST(MatrixPowers, OfOneWordAreThoseOfWideArithmetic) {
    std::mt19937_64 random(2);
    for (int i = 0; i < 500; ++i) {
        const std::uint32_t moduli[] = {m1, m2, 0xFFFFFFFF, 2, static_cast<std::uint32_t>(random() | 1)};
        const std::uint32_t m = moduli[i % 5];
        const auto residues = [&] {
            Vector v;
            for (auto& x : v) x = random() % 5 == 0 ? m - 1 : static_cast<std::uint32_t>(random() % m);
            return v;
        };
        const Vector row = residues(), start = residues();
        const Exponent e = random_exponent(random, 1);
        Vector v = start, by_words = start;
        __ostiVect3PowMod(v.data(), row.data(), m, e[0]);
        EXPECT_EQ(stepped(start, row, m, e), v) << e[0] << ", m = " << m;
        EXPECT_EQ(OST_OK, __ostiVect3PowArrayMod(by_words.data(), row.data(), m, 1, e.data()));
        EXPECT_EQ(v, by_words);
    }
    Vector one_step = {1, 2, 3};
    __ostiVect3PowMod(one_step.data(), row1.data(), m1, 1);
    EXPECT_EQ((Vector{2, 3, 1403580 * 2 - 810728}), one_step);
}

TEST(MatrixPowers, OfManyWordsAreThoseOfWideArithmetic) {
    std::mt19937_64 random(3);
    for (int words = 1; words <= 13; ++words) {
        for (int i = 0; i < 10; ++i) {
            Exponent e = random_exponent(random, words);
            if (i < words) e[i] = 0;                                  // words of zeros between others
            if (i == 8) std::fill(e.begin() + words / 2, e.end(), 0); // and on top
            const Exponent given = e;
            Vector v = {m2 - 1, 5, m2 - 7};
            const Vector start = v;
            EXPECT_EQ(OST_OK, __ostiVect3PowArrayMod(v.data(), row2.data(), m2, words, e.data()));
            EXPECT_EQ(stepped(start, row2, m2, e), v) << words << " words";
            EXPECT_EQ(given, e);
        }
    }
}

TEST(MatrixPowers, FromTheTableAreThoseOfWideArithmetic) {
    std::mt19937_64 random(4);
    const auto& table = _ost_mrg32k3a_skipahead_table;
    for (int i = 0; i < 200; ++i) {
        const int words = i % 4; // up to 192 bits
        Exponent e = random_exponent(random, words);
        if (i >= 196) std::fill(e.begin(), e.end(), ~std::uint64_t{0});
        const Vector start = {m2 - 1 - (i & 1), static_cast<std::uint32_t>(random() % m2), m2 - 1};
        Vector v1 = start, v2 = start;
        __ostiVect3PowArrayMod_M1(v1.data(), words, e.data(), table[0][0]);
        __ostiVect3PowArrayMod_M2(v2.data(), words, e.data(), table[1][0]);
        EXPECT_EQ(stepped(start, row1, m1, e), v1);
        EXPECT_EQ(stepped(start, row2, m2, e), v2);
    }
}

TEST(MatrixPowers, WithExponentZeroLeaveTheVector) {
    const Exponent zeros(12, 0);
    const Vector start = {4, 0xFFFFFFFF, 6};
    for (int words = 0; words <= 12; ++words) {
        Vector v = start;
        EXPECT_EQ(OST_OK, __ostiVect3PowArrayMod(v.data(), row1.data(), m1, words, zeros.data()));
        __ostiVect3PowArrayMod_M1(v.data(), words, zeros.data(), _ost_mrg32k3a_skipahead_table[0][0]);
        EXPECT_EQ(start, v);
    }
    Vector v = start;
    __ostiVect3PowMod(v.data(), row1.data(), m1, 0);
    EXPECT_EQ(start, v);
}

TEST(MatrixPowers, NeedMemoryForElevenWords) {
    const Exponent e(11, 3);
    const long blocks = nvo_core_testing_live_blocks();
    for (const int words : {10, 11}) {
        Vector v = {1, 2, 3};
        nvo_core_testing_fail_allocation(1);
        const std::int32_t status = __ostiVect3PowArrayMod(v.data(), row1.data(), m1, words, e.data());
        nvo_core_testing_fail_allocation(0);
        EXPECT_EQ(words == 11 ? OST_ERR_NO_MEMORY : OST_OK, status);
        EXPECT_EQ(words == 11, (v == Vector{1, 2, 3}));
        EXPECT_EQ(OST_OK, __ostiVect3PowArrayMod(v.data(), row1.data(), m1, words, e.data()));
    }
    EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
}

// The last matrix of each table has no bit of a count; it is the square of the one before it.
TEST(MatrixPowers, TableEndsOnASquare) {
    const auto matrix = [](const std::uint32_t* words) {
        Matrix m;
        for (int i = 0; i < 9; ++i) m[i / 3][i % 3] = words[i];
        return m;
    };
    for (int component = 0; component < 2; ++component) {
        const auto& powers = _ost_mrg32k3a_skipahead_table[component];
        const Matrix before = matrix(powers[191]);
        EXPECT_EQ(product(before, before, component == 0 ? m1 : m2), matrix(powers[192]));
    }
}

} // namespace
