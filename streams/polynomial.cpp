// Polynomials over GF(2), bit i of an array of 32-bit words the coefficient of x^i.

#include "frame/lanes.h"
#include "streams/exports.h"
#include "support/scratch.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>

using namespace nvo;

namespace {

using Byte = std::uint8_t;
using SixteenBytes = Lanes<Byte, 16>;

// The 16 bits of piece on even places.
constexpr std::uint32_t spread(std::uint32_t piece) {
    std::uint32_t p = piece;
    p = (p | p << 8) & 0x00FF00FF;
    p = (p | p << 4) & 0x0F0F0F0F;
    p = (p | p << 2) & 0x33333333;
    p = (p | p << 1) & 0x55555555;
    return p;
}

// Residues modulo P, of degree k >= 1. The polynomial at hand stands in a bit array with room for a square; reducing it
// goes down from the top, 8 bits at a time. For each value of the upper and of the lower 4 bits there is a row, the
// multiple of P that has these 4 bits at their place and zeros at the other 4; adding two rows clears the 8 bits. So it
// doesn't count how dense P is, and where its second term is. A row is added at whole bytes, 16 at a time, wherever
// they lie.
class Residues {
public:
    explicit Residues(int k)
        : k_(k), row_bytes_((static_cast<std::size_t>(k) / 8 + 2 + 15) / 16 * 16),
          space_((rows * row_bytes_ + 2 * row_bytes_ + 16) / sizeof(std::uint32_t)) {}

    explicit operator bool() const { return static_cast<bool>(space_); }

    // Sets P by its terms, and the polynomial to x.
    void start(int terms, const std::uint32_t* exps) {
        std::memset(space_.get(), 0, rows * row_bytes_ + 2 * row_bytes_ + 16);
        for (int t = 0; t < terms; ++t) row(1)[exps[t] / 8] ^= static_cast<Byte>(1U << (exps[t] % 8));
        // The rows of single bits, each from the last: x times it has a bit of P's top term to clear, or not.
        for (int bit = 1; bit < 8; ++bit) {
            Byte* next = row_of_bit(bit);
            std::memcpy(next, row_of_bit(bit - 1), row_bytes_);
            times_x(next, row_bytes_);
            if (bit_of(next, k_)) add_row(next, row(1));
        }
        for (int part = 0; part < rows; part += 16) {
            for (int v = 3; v < 16; ++v) {
                if ((v & (v - 1)) == 0) continue; // a single bit
                std::memcpy(row(part + v), row(part + (v & (v - 1))), row_bytes_);
                add_row(row(part + v), row(part + (v & -v)));
            }
        }
        polynomial()[0] = 2;
        reduce(8);
    }

    void square() {
        poly_squared(polynomial(), k_ - 1, polynomial());
        reduce(k_);
    }

    void multiply_by_x() {
        times_x(bytes(), row_bytes_);
        reduce(8);
    }

    void copy_to(std::uint32_t* out, int w) const {
        const int own = (k_ + 31) / 32;
        std::memcpy(out, polynomial(), sizeof *out * static_cast<std::size_t>(std::min(w, own)));
        std::fill(out + std::min(w, own), out + w, 0U);
    }

private:
    static constexpr int rows = 2 * 16; // of the lower and of the upper 4 bits

    Byte* row(int i) const { return reinterpret_cast<Byte*>(space_.get()) + static_cast<std::size_t>(i) * row_bytes_; }
    Byte* row_of_bit(int bit) const { return row(bit / 4 * 16 + (1 << bit % 4)); }
    Byte* bytes() const { return row(rows); }
    std::uint32_t* polynomial() const { return reinterpret_cast<std::uint32_t*>(bytes()); }

    static bool bit_of(const Byte* p, int i) { return (p[i / 8] >> (i % 8) & 1) != 0; }

    static void times_x(Byte* p, std::size_t length) {
        for (std::size_t i = length - 1; i > 0; --i) p[i] = static_cast<Byte>(p[i] << 1 | p[i - 1] >> 7);
        p[0] = static_cast<Byte>(p[0] << 1);
    }

    void add_row(Byte* to, const Byte* from) const {
        for (std::size_t i = 0; i < row_bytes_; ++i) to[i] ^= from[i];
    }

    // Clears the bits from k on, `above` of them and up to a multiple of 8. What they have at most is the degree of a
    // square: they end before row_bytes_ + k / 8 bytes, and so does each row that is added.
    void reduce(int above) {
        for (int m = (above + 7) / 8 - 1; m >= 0; --m) {
            Byte* to = bytes() + m;
            const unsigned top = (to[k_ / 8] | to[k_ / 8 + 1] << 8) >> (k_ % 8) & 0xFFU;
            if (top == 0) continue;
            const Byte *lower = row(static_cast<int>(top & 15)), *upper = row(static_cast<int>(16 + (top >> 4)));
            for (std::size_t i = 0; i < row_bytes_; i += sizeof(SixteenBytes)) {
                store(to + i,
                      load<SixteenBytes>(to + i) ^ load<SixteenBytes>(lower + i) ^ load<SixteenBytes>(upper + i));
            }
        }
    }

    int k_;
    std::size_t row_bytes_; // the bits up to k + 7, in whole lanes
    Scratch<std::uint32_t> space_;
};

} // namespace

void poly_squared(const std::uint32_t* in, std::int32_t degree, std::uint32_t* out) {
    // From the top: a word that is still to be read lies below those that are written.
    for (std::ptrdiff_t i = (degree + 32) / 32 - 1; i >= 0; --i) {
        const std::uint32_t word = in[i];
        out[2 * i + 1] = spread(word >> 16);
        out[2 * i] = spread(word & 0xFFFF);
    }
}

std::int32_t __ostPolyRem(std::uint64_t e, std::int32_t k, std::int32_t terms, const std::uint32_t* exps,
                          std::int32_t w, std::uint32_t* out) {
    if (e < static_cast<std::uint64_t>(k)) {
        std::fill(out, out + w, 0U);
        out[e / 32] = 1U << (e % 32);
        return OST_OK;
    }
    Residues power(k);
    if (!power) return OST_ERR_NO_MEMORY;
    power.start(terms, exps);
    for (int bit = static_cast<int>(std::bit_width(e)) - 2; bit >= 0; --bit) {
        power.square();
        if ((e >> bit & 1) != 0) power.multiply_by_x();
    }
    power.copy_to(out, w);
    return OST_OK;
}
