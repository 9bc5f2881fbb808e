// Polynomials over GF(2) against those of the table programs, which divide by long division.

#include "nvo_ark/generators.h"
#include "platform/core_testing.h"
#include "tools/support/gf2.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using nvo::tools::Gf2Poly;
using Words = std::vector<std::uint32_t>;

Gf2Poly polynomial(const Words& words) {
    Gf2Poly p;
    for (std::size_t i = 0; i < 32 * words.size(); ++i) {
        if (words[i / 32] >> (i % 32) & 1) p.flip(i);
    }
    return p;
}

// x^e mod P, from the lowest bit of e up.
Gf2Poly power(std::uint64_t e, const Gf2Poly& p) {
    Gf2Poly result({0}), x({1});
    for (; e != 0; e >>= 1, x = (x * x).divided_by(p).second) {
        if (e & 1) result = (result * x).divided_by(p).second;
    }
    return result;
}

struct Modulus {
    std::int32_t degree;
    Words terms;

    Gf2Poly polynomial() const { return Gf2Poly({terms.begin(), terms.end()}); }
    Words remainder(std::uint64_t e, std::int32_t words) const {
        Words out(words + 1, 0xCACACACA);
        EXPECT_EQ(OST_OK,
                  __ostPolyRem(e, degree, static_cast<std::int32_t>(terms.size()), terms.data(), words, out.data()));
        EXPECT_EQ(0xCACACACA, out.back()) << "written behind the end";
        out.pop_back();
        return out;
    }
    void expect_power(std::uint64_t e, std::int32_t words) const {
        EXPECT_TRUE(power(e, polynomial()) == ::polynomial(remainder(e, words))) << degree << " " << e;
    }
};

// density terms in 8, and the highest.
Modulus random_modulus(std::mt19937& random, std::int32_t degree, unsigned density) {
    Modulus m{degree, {}};
    for (std::int32_t i = 0; i < degree; ++i) {
        if (random() % 8 < density) m.terms.push_back(i);
    }
    m.terms.push_back(degree);
    std::shuffle(m.terms.begin(), m.terms.end(), random);
    return m;
}

TEST(Polynomial, HasPowersModuloAnother) {
    std::mt19937 random(1);
    for (std::int32_t degree = 1; degree < 140; ++degree) {
        for (const unsigned density : {0U, 1U, 4U, 8U}) {
            const Modulus m = random_modulus(random, degree, density);
            const std::int32_t words = degree / 32 + 1;
            const auto d = static_cast<std::uint64_t>(degree);
            for (const std::uint64_t e : {std::uint64_t{0}, d - 1, d, d + 1, 2 * d - 1, 2 * d, 5 * d + 3})
                m.expect_power(e, words + static_cast<std::int32_t>(e % 3));
            m.expect_power(random(), words);
            m.expect_power(std::uint64_t{random()} << 32 | random(), words);
        }
    }
    // x^k is P without its highest term.
    const Modulus m{13, {0, 1, 3, 4, 13}};
    EXPECT_EQ(Words{0x1B}, m.remainder(13, 1));
}

TEST(Polynomial, HasPowersModuloThoseOfTheTwisters) {
    const Modulus twisters[] = {{19937, {std::begin(_ost_mt19937_poly), std::end(_ost_mt19937_poly)}},
                                {19968, {std::begin(_ost_sfmt19937_poly), std::end(_ost_sfmt19937_poly)}}};
    for (const Modulus& m : twisters) {
        for (const std::uint64_t e : {19967UL, 20000UL, 1234567UL, 0xFEDCBA9876543210UL}) m.expect_power(e, 624);
    }
}

TEST(Polynomial, CancelsTermsGivenTwice) {
    const Modulus once{40, {0, 3, 40}}, thrice{40, {7, 0, 3, 40, 7, 3, 3}};
    EXPECT_EQ(once.remainder(12345, 2), thrice.remainder(12345, 2));
}

TEST(Polynomial, SaysWhenMemoryIsRefused) {
    const long before = nvo_core_testing_live_blocks();
    const std::uint32_t terms[] = {0, 3, 40};
    Words out(2);
    nvo_core_testing_fail_allocation(1);
    EXPECT_EQ(OST_ERR_NO_MEMORY, __ostPolyRem(1000, 40, 3, terms, 2, out.data()));
    EXPECT_EQ(0, nvo_core_testing_fail_allocation(0));
    EXPECT_EQ(before, nvo_core_testing_live_blocks());
}

TEST(Polynomial, IsSquaredInPlaceAndElsewhere) {
    std::mt19937 random(2);
    for (const int degree : {0, 1, 15, 16, 31, 32, 63, 64, 1000}) {
        Words in((degree + 32) / 32), out(2 * in.size());
        for (auto& word : in) word = static_cast<std::uint32_t>(random());
        const auto p = polynomial(in);
        poly_squared(in.data(), degree, out.data());
        EXPECT_TRUE(p * p == polynomial(out)) << degree;
        in.resize(out.size());
        poly_squared(in.data(), degree, in.data());
        EXPECT_EQ(out, in) << degree;
    }
}

} // namespace
