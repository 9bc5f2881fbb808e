// Verifies parameter sets of MT2203, each from its line alone:
//
//   the minimal polynomial of the recurrence, by Berlekamp and Massey on its words, is the closed form below and has
//     degree 2203, so that it is the characteristic polynomial;
//   it is irreducible: t^(2^2203) = t modulo P, which says that P has no square factor and, since 2203 is prime, only
//     factors of degree 1 and 2203; and neither 0 nor 1 is a root. 2^2203 - 1 being prime, that is also the period;
//   a has its top bit and an odd lower half, and these bits alone tell it from all other sets; b and c have no bits
//     that a shift by 7 or 15 never reaches.
//
// Takes the number of sets, chosen at random; 40 if it isn't given, 6024 for all. Fails with a line for each thing that
// doesn't hold.

#include "tools/support/gf2.h"
#include "tools/support/mt2203_sets.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <numeric>
#include <random>
#include <set>
#include <vector>

using nvo::tools::Gf2Poly;
using nvo::tools::Mt2203Set;

namespace {

constexpr std::size_t words = 69, middle = 34, degree = 2203;
constexpr std::uint32_t lower = 0x1F; // the bits that come from the second word

// The lowest bit of the words, as they come out of the recurrence.
class Recurrence {
public:
    explicit Recurrence(std::uint32_t a) : a_(a), x_(words) {
        std::mt19937 random;
        for (auto& word : x_) word = static_cast<std::uint32_t>(random());
    }
    bool next() {
        const std::size_t i = x_.size() - words;
        const std::uint32_t y = (x_[i] & ~lower) | (x_[i + 1] & lower);
        x_.push_back(x_[i + middle] ^ y >> 1 ^ (y % 2 != 0 ? a_ : 0));
        return x_.back() % 2 != 0;
    }

private:
    std::uint32_t a_;
    std::vector<std::uint32_t> x_;
};

Gf2Poly power(const Gf2Poly& p, int e) {
    Gf2Poly result({0});
    for (; e > 0; --e) result = result * p;
    return result;
}

// With A = t^69 + t^34 and B = t^68 + t^33, a_j bit j of a:
//   P(t) = A^27 B^5 + sum over j < 5 of a_j A^27 B^(4 - j) + sum over j >= 5 of a_j A^(31 - j)
Gf2Poly closed_form(std::uint32_t a) {
    static const auto terms = [] { // of each bit of a, and of none
        const Gf2Poly large({69, 34}), small({68, 33});
        std::array<Gf2Poly, 33> t;
        for (int j = 0; j < 5; ++j) t[j] = power(large, 27) * power(small, 4 - j);
        for (int j = 5; j < 32; ++j) t[j] = power(large, 31 - j);
        t[32] = power(large, 27) * power(small, 5);
        return t;
    }();
    Gf2Poly p = terms[32];
    for (int j = 0; j < 32; ++j) {
        if (a >> j & 1) p.add(terms[j]);
    }
    return p;
}

// Squaring modulo P. It is linear: the square of a sum of powers is the sum of their squares.
class Squaring {
public:
    explicit Squaring(const Gf2Poly& p) : squares_(degree) {
        Row modulus{};
        for (const std::size_t e : p.exponents()) modulus[e / 64] |= std::uint64_t{1} << (e % 64);
        Row power = {1};
        for (std::size_t i = 0; i < 2 * degree; ++i) { // power is t^i
            if (i % 2 == 0) squares_[i / 2] = power;
            for (std::size_t w = power.size() - 1; w > 0; --w) power[w] = power[w] << 1 | power[w - 1] >> 63;
            power[0] <<= 1;
            if (power[degree / 64] >> (degree % 64) & 1) add(power, modulus);
        }
    }

    // Whether t^(2^times) = t.
    bool t_comes_back(std::size_t times) const {
        const Row t = {2};
        Row x = t;
        for (; times > 0; --times) {
            Row square{};
            for (std::size_t w = 0; w < x.size(); ++w) {
                for (std::uint64_t left = x[w]; left != 0; left &= left - 1)
                    add(square, squares_[64 * w + static_cast<std::size_t>(std::countr_zero(left))]);
            }
            x = square;
        }
        return x == t;
    }

private:
    using Row = std::array<std::uint64_t, degree / 64 + 2>; // an even number: the compiler takes two words at a time

    static void add(Row& to, const Row& row) {
        for (std::size_t w = 0; w < row.size(); ++w) to[w] ^= row[w];
    }

    std::vector<Row> squares_; // of t^0, t^1, ...
};

int failures = 0;

void require(bool holds, std::size_t set, const char* what) {
    if (holds) return;
    std::printf("set %zu: %s\n", set, what);
    ++failures;
}

void verify_set(std::size_t k, const Mt2203Set& set) {
    Recurrence bits(set.a);
    const Gf2Poly p = nvo::tools::minimal_polynomial(2 * degree, [&](std::size_t) { return bits.next(); });
    require(p == closed_form(set.a), k, "the characteristic polynomial is not the closed form");
    require(p.degree() == degree, k, "the characteristic polynomial has another degree");
    require(p[0], k, "0 is a root");
    require(p.exponents().size() % 2 == 1, k, "1 is a root");
    require(Squaring(p).t_comes_back(degree), k, "t^(2^2203) is not t");
}

// The sets that are prescribed.
struct Prescribed {
    std::size_t place;
    Mt2203Set set;
};
constexpr Prescribed prescribed[] = {
    {0, {0xAF81055F, 0xDD7EEF80, 0xEFD78000}},
    {1, {0x832604E1, 0x66AD7F80, 0xEBD58000}},
    {6023, {0xE8761D4B, 0x72967680, 0xEFEB0000}},
};

} // namespace

int main(int argc, char** argv) {
    const auto sets = nvo::tools::mt2203_sets();
    const std::size_t count = std::min<std::size_t>(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 40, sets.size());
    std::vector<std::size_t> order(sets.size());
    std::iota(order.begin(), order.end(), 0);
    std::shuffle(order.begin(), order.end(), std::mt19937(1));
    for (std::size_t i = 0; i < count; ++i) verify_set(order[i], sets[order[i]]);

    std::set<std::uint32_t> names;
    for (std::size_t k = 0; k < sets.size(); ++k) {
        const auto& [a, b, c] = sets[k];
        require(a >> 31 == 1 && a % 2 == 1, k, "a is not of its form");
        require(names.insert(a & 0xFFFF).second, k, "the lower half of a is that of another set");
        require(b % (1U << 7) == 0, k, "b has bits that are of no use");
        require(c % (1U << 15) == 0, k, "c has bits that are of no use");
    }
    for (const auto& [place, set] : prescribed) {
        const auto& [a, b, c] = sets[place];
        require(a == set.a && b == set.b && c == set.c, place, "not as prescribed");
    }
    std::printf("%zu of %zu sets at random, forms of all, %d failures\n", count, sets.size(), failures);
    return failures == 0 ? 0 : 1;
}
