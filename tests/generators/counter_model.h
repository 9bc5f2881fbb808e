// Models of the counter-based generators: word number P of a stream is word P mod 4 of the block of counter P / 4. P is
// a big number in 32-bit limbs.
#pragma once

#include "tests/support/streams.h"

#include <array>

namespace nvo::tests {

using FourLimbs = std::array<std::uint32_t, 4>;

// 256 bits, lowest limb first. Counters wrap at 2^128, that is places at 2^130.
class Place {
public:
    // The first word of the block of a counter.
    explicit Place(const FourLimbs& counter) {
        for (int i = 0; i < 128; ++i) set_bit(i + 2, counter[i / 32] >> (i % 32) & 1);
    }

    void move_on(const std::vector<std::uint64_t>& count) {
        std::uint64_t carry = 0;
        for (std::size_t i = 0; i < limbs_.size(); ++i) {
            const std::uint64_t limb = i / 2 < count.size() ? count[i / 2] >> (i % 2 * 32) & 0xFFFFFFFF : 0;
            carry += std::uint64_t{limbs_[i]} + limb;
            limbs_[i] = static_cast<std::uint32_t>(carry);
            carry >>= 32;
        }
    }

    FourLimbs counter() const {
        FourLimbs result{};
        for (int i = 0; i < 128; ++i) result[i / 32] |= (limbs_[(i + 2) / 32] >> ((i + 2) % 32) & 1) << (i % 32);
        return result;
    }
    unsigned word() const { return limbs_[0] & 3; }

private:
    void set_bit(int i, std::uint32_t bit) { limbs_[i / 32] |= bit << (i % 32); }

    std::array<std::uint32_t, 8> limbs_{};
};

// Cipher: FourLimbs block(FourLimbs counter).
template <class Cipher> struct CounterModel {
    Cipher cipher;
    Place place;

    std::uint32_t next() {
        const std::uint32_t word = cipher.block(place.counter())[place.word()];
        place.move_on({1});
        return word;
    }
    std::vector<std::uint32_t> next(int n) {
        std::vector<std::uint32_t> words(n);
        for (auto& word : words) word = next();
        return words;
    }
    static float as_float(std::uint32_t word, float a, float b) {
        return static_cast<float>(static_cast<std::int32_t>(word)) * ((b - a) * 0x1p-32F) + (a + b) * 0.5F;
    }
    static double as_double(std::uint32_t word, double a, double b) {
        return static_cast<std::int32_t>(word) * ((b - a) * 0x1p-32) + (a + b) * 0.5;
    }
};

inline std::int32_t skip_long(OstStream* stream, const std::vector<std::uint64_t>& count) {
    return init(stream, OST_METHOD_SKIP_LONG, static_cast<std::int32_t>(count.size()), count.data());
}

// Counts on both sides of everything: the words at hand, whole blocks, carries, more words than are looked at.
inline std::vector<std::vector<std::uint64_t>> skip_counts() {
    constexpr std::uint64_t max = ~std::uint64_t{0};
    std::vector<std::vector<std::uint64_t>> counts = {
        {},
        {max},
        {max - 1},
        {max - 2},
        {max - 3},
        {0, 1},
        {1, 1},
        {max, max},
        {max - 4, max},
        {0, 0, 1},
        {3, 0, 2},
        {0, 0, 3},
        {2, 0, max},
        {max, max, max},
        {5, 0, 0, 77},
        {max, 0, 0},
        {0x8000000000000000},
        {6, 0x8000000000000000},
        {1, max, 1},
        {2, 0, 0},
    };
    for (std::uint64_t count = 0; count < 40; ++count) counts.push_back({count});
    return counts;
}

// Skips from every place in a block, short and long, lead where the model goes.
template <std::size_t state_bytes, class Model>
void expect_skips_of_counter(const Record<state_bytes>& start, const Model& model) {
    for (const auto& count : skip_counts()) {
        for (int before = 0; before < 9; ++before) {
            SCOPED_TRACE(testing::PrintToString(count) + " after " + std::to_string(before));
            Model expected = model;
            expected.next(before);
            expected.place.move_on({count.begin(), count.begin() + std::min<std::ptrdiff_t>(3, std::ssize(count))});
            const auto words = expected.next(11);
            Record<state_bytes> record = start;
            draw_words(record.stream(), before);
            Record<state_bytes> other = record;
            ASSERT_EQ(OST_OK, skip_long(record.stream(), count));
            ASSERT_TRUE(same_bits(words, draw_words(record.stream(), 11)));
            if (count.size() != 1) continue;
            ASSERT_EQ(OST_OK, skip(other.stream(), count[0]));
            ASSERT_TRUE(same_bits(words, draw_words(other.stream(), 11)));
        }
    }
}

} // namespace nvo::tests
