// Powers of numbers and of 3 by 3 matrices in modular arithmetic: how the congruential generators skip.

#include "streams/modular.h"
#include "streams/exports.h"
#include "support/scratch.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>

using namespace nvo;

namespace {

// base^e, one being base^0, for the exponent words[0] + 2^64 words[1] + ..., by squaring from the lowest bit on. The
// words are worked off on the way.
template <class T, class Multiply>
T power(const T& one, T base, std::uint64_t* words, std::ptrdiff_t n, Multiply multiply) {
    while (n > 0 && words[n - 1] == 0) --n;
    T result = one;
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        for (int bit = 0; bit < 64; ++bit) {
            if (words[i] & 1) result = multiply(result, base);
            words[i] >>= 1;
            if (i == n - 1 && words[i] == 0) break;
            base = multiply(base, base);
        }
    }
    return result;
}
template <class T, class Multiply> T power(const T& one, const T& base, std::uint64_t e, Multiply multiply) {
    return power(one, base, &e, 1, multiply);
}

using Matrix = std::array<std::uint32_t, 9>; // row by row
constexpr Matrix identity = {1, 0, 0, 0, 1, 0, 0, 0, 1};

// x <- A x is a step of the recurrence x[t + 3] = row[0] x[t + 2] + row[1] x[t + 1] + row[2] x[t].
Matrix companion(const std::uint32_t* row) { return {0, 1, 0, 0, 0, 1, row[2], row[1], row[0]}; }

// Arithmetic mod m for any m. Sums are formed in 64 bits, since m may be close to 2^32.
struct ByDivision {
    std::uint32_t m;

    std::uint32_t dot(const std::uint32_t* row, const std::uint32_t* column, std::ptrdiff_t step) const {
        std::uint64_t sum = 0;
        for (int k = 0; k < 3; ++k) {
            sum += product_mod(row[k], column[k * step], m);
            if (sum >= m) sum -= m;
        }
        return static_cast<std::uint32_t>(sum);
    }
    Matrix operator()(const Matrix& a, const Matrix& b) const {
        Matrix product;
        for (std::size_t i = 0; i < 3; ++i) {
            for (std::size_t j = 0; j < 3; ++j) product[3 * i + j] = dot(&a[3 * i], &b[j], 3);
        }
        return product;
    }
};

// v <- R v; dot(row, v) multiplies a row by v.
template <class Dot> void apply(const std::uint32_t* matrix, std::uint32_t* v, Dot dot) {
    const std::array<std::uint32_t, 3> old = {v[0], v[1], v[2]};
    for (std::ptrdiff_t i = 0; i < 3; ++i) v[i] = dot(matrix + 3 * i, old.data());
}

// v <- A^count v mod 2^32 - c from the table of A^(2^k): the powers commute, so v takes them as they come.
template <std::uint32_t c>
void apply_powers(std::uint32_t* v, std::int32_t n, const std::uint64_t* words, const std::uint32_t* table) {
    const auto dot = [](const std::uint32_t* row, const std::uint32_t* column) {
        std::uint64_t sum = 0; // of three folded products, below 2^49
        for (int k = 0; k < 3; ++k) sum += folded<c>(std::uint64_t{row[k]} * column[k]);
        return mod_of_folded<c>(sum);
    };
    for (std::ptrdiff_t i = 0; i < n; ++i) {
        for (std::uint64_t word = words[i]; word != 0; word &= word - 1) {
            apply(table + 9 * (64 * i + std::countr_zero(word)), v, dot);
        }
    }
}

void apply_matrix(const Matrix& matrix, std::uint32_t* v, ByDivision multiply) {
    apply(matrix.data(), v,
          [=](const std::uint32_t* row, const std::uint32_t* column) { return multiply.dot(row, column, 1); });
}

} // namespace

std::uint32_t __ostiPowMod(std::uint32_t a, std::uint64_t e, std::uint32_t m) {
    return power<std::uint32_t>(1, a, e, [m](std::uint32_t x, std::uint32_t y) { return product_mod(x, y, m); });
}

std::uint32_t __ostiPowMod2P31M1(std::uint32_t a, std::uint64_t e) {
    // Only a needs more than one fold, since it may be above the modulus.
    return power<std::uint32_t>(1, a % mersenne_31, e,
                                [](std::uint32_t x, std::uint32_t y) { return mod_mersenne_31(std::uint64_t{x} * y); });
}

std::uint64_t __ostiPowMod2P59(std::uint64_t a, std::uint64_t e) {
    return power<std::uint64_t>(1, a, e, [](std::uint64_t x, std::uint64_t y) { return x * y; }) & mask_59;
}

void __ostiVect3PowMod(std::uint32_t* v, const std::uint32_t* row, std::uint32_t m, std::uint64_t e) {
    if (e == 0) return; // v stays, even if it isn't below m
    const ByDivision multiply{m};
    apply_matrix(power(identity, companion(row), e, multiply), v, multiply);
}

void __ostiVect3PowArrayMod_M1(std::uint32_t* v, std::int32_t n, const std::uint64_t* words,
                               const std::uint32_t* table) {
    apply_powers<209>(v, n, words, table);
}

void __ostiVect3PowArrayMod_M2(std::uint32_t* v, std::int32_t n, const std::uint64_t* words,
                               const std::uint32_t* table) {
    apply_powers<22853>(v, n, words, table);
}

// The exponent is worked off in a copy: on the stack if it is short.
std::int32_t __ostiVect3PowArrayMod(std::uint32_t* v, const std::uint32_t* row, std::uint32_t m, std::int32_t n,
                                    const std::uint64_t* words) {
    if (n < 1) return OST_OK;
    constexpr int short_words = 10;
    std::array<std::uint64_t, short_words> short_copy;
    Scratch<std::uint64_t> long_copy;
    std::uint64_t* copy = short_copy.data();
    if (n > short_words) {
        long_copy = Scratch<std::uint64_t>(n);
        if (!long_copy) return OST_ERR_NO_MEMORY;
        copy = long_copy.get();
    }
    std::copy_n(words, n, copy);
    if (std::all_of(words, words + n, [](std::uint64_t word) { return word == 0; })) return OST_OK;
    const ByDivision multiply{m};
    apply_matrix(power(identity, companion(row), copy, n, multiply), v, multiply);
    return OST_OK;
}
