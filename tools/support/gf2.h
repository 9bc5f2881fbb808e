// Polynomials over GF(2), for the programs that make and verify the twisters' tables.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace nvo::tools {

// Bits, lowest first: coefficients of a polynomial, or a sequence. Reads as zeros beyond its end, grows when written
// to.
class Gf2Poly {
public:
    Gf2Poly() = default;
    explicit Gf2Poly(const std::vector<std::size_t>& exponents) {
        for (const std::size_t e : exponents) flip(e);
    }

    bool operator[](std::size_t i) const { return (word(i / 64) >> (i % 64) & 1) != 0; }
    void flip(std::size_t i) {
        if (i / 64 >= words_.size()) words_.resize(i / 64 + 1);
        words_[i / 64] ^= std::uint64_t{1} << (i % 64);
    }

    // -1 for the polynomial 0.
    std::ptrdiff_t degree() const {
        for (std::size_t w = words_.size(); w-- > 0;) {
            if (words_[w] != 0) return static_cast<std::ptrdiff_t>(64 * w) + std::bit_width(words_[w]) - 1;
        }
        return -1;
    }
    std::vector<std::size_t> exponents() const {
        std::vector<std::size_t> found;
        for (std::size_t i = 0; i < 64 * words_.size(); ++i) {
            if ((*this)[i]) found.push_back(i);
        }
        return found;
    }
    bool operator==(const Gf2Poly& other) const {
        for (std::size_t w = 0; w < std::max(words_.size(), other.words_.size()); ++w) {
            if (word(w) != other.word(w)) return false;
        }
        return true;
    }

    // Adds x^shift p.
    void add(const Gf2Poly& p, std::size_t shift = 0) {
        const auto top = p.degree();
        if (top < 0) return;
        const std::size_t first = shift / 64, bits = shift % 64, count = static_cast<std::size_t>(top) / 64 + 1;
        if (words_.size() < first + count + 1) words_.resize(first + count + 1);
        for (std::size_t w = 0; w < count; ++w) {
            words_[first + w] ^= p.words_[w] << bits;
            if (bits != 0) words_[first + w + 1] ^= p.words_[w] >> (64 - bits);
        }
    }

    friend Gf2Poly operator*(const Gf2Poly& a, const Gf2Poly& b) {
        Gf2Poly product;
        for (const std::size_t e : a.exponents()) product.add(b, e);
        return product;
    }

    // Quotient and remainder by divisor, which isn't 0.
    std::pair<Gf2Poly, Gf2Poly> divided_by(const Gf2Poly& divisor) const {
        Gf2Poly quotient, rest = *this;
        const auto by = divisor.degree();
        for (auto top = rest.degree(); top >= by; top = rest.degree()) {
            quotient.flip(static_cast<std::size_t>(top - by));
            rest.add(divisor, static_cast<std::size_t>(top - by));
        }
        return {quotient, rest};
    }

    // sum of (*this)[i] s[start + i], i below 64 count
    bool dot(const Gf2Poly& s, std::size_t start, std::size_t count) const {
        const std::size_t first = start / 64, bits = start % 64;
        std::uint64_t sum = 0;
        for (std::size_t w = 0; w < count; ++w) {
            const std::uint64_t low = s.word(first + w) >> bits;
            sum ^= word(w) & (bits == 0 ? low : low | s.word(first + w + 1) << (64 - bits));
        }
        return std::popcount(sum) % 2 != 0;
    }

private:
    std::uint64_t word(std::size_t w) const { return w < words_.size() ? words_[w] : 0; }

    std::vector<std::uint64_t> words_;
};

inline Gf2Poly greatest_common_divisor(Gf2Poly a, Gf2Poly b) {
    while (b.degree() >= 0) a = std::exchange(b, a.divided_by(b).second);
    return a;
}
inline Gf2Poly least_common_multiple(const Gf2Poly& a, const Gf2Poly& b) {
    return a * b.divided_by(greatest_common_divisor(a, b)).first;
}

// The minimal polynomial of a sequence by Berlekamp and Massey: P of least degree d with sum of P[i] s[n + i] = 0 for
// all n, from the first 2 d or more terms. s(i) gives them in order.
template <class Sequence> Gf2Poly minimal_polynomial(std::size_t terms, Sequence s) {
    // The connection polynomial c: sum of c[i] s[n - i] = 0; the sequence is kept backwards for it.
    Gf2Poly backwards, c, before;
    c.flip(0);
    before.flip(0);
    std::size_t length = 0, gap = 1; // register's length; steps since `before` was c
    for (std::size_t n = 0; n < terms; ++n) {
        if (s(n)) backwards.flip(terms - 1 - n);
        if (!c.dot(backwards, terms - 1 - n, length / 64 + 1)) {
            ++gap;
            continue;
        }
        const Gf2Poly old = c;
        c.add(before, gap);
        if (2 * length <= n) {
            length = n + 1 - length;
            before = old;
            gap = 1;
        } else {
            ++gap;
        }
    }
    Gf2Poly reversed;
    for (std::size_t i = 0; i <= length; ++i) {
        if (c[i]) reversed.flip(length - i);
    }
    return reversed;
}

} // namespace nvo::tools
