#include "tests/generators/counter_model.h"

using namespace nvo::tests;

namespace {

using ArsRecord = Record<72>;
struct State {
    std::uint32_t key[4];
    std::uint64_t counter[2];
    std::uint32_t left, block[4], spare;
};

// Rounds of AES from their definition, a byte at a time; the state by columns, as it lies in memory.
using Bytes = std::array<std::uint8_t, 16>;

std::uint8_t times(std::uint8_t a, std::uint8_t b) { // in GF(2^8) modulo x^8 + x^4 + x^3 + x + 1
    int product = 0;
    for (int i = 0; i < 8; ++i) product ^= (b >> i & 1) != 0 ? a << i : 0;
    for (int i = 15; i >= 8; --i) product ^= (product >> i & 1) != 0 ? 0x11B << (i - 8) : 0;
    return static_cast<std::uint8_t>(product);
}
std::uint8_t substitute(std::uint8_t a) {
    std::uint8_t inverse = 0;
    for (int b = 1; b < 256; ++b) {
        if (times(a, static_cast<std::uint8_t>(b)) == 1) inverse = static_cast<std::uint8_t>(b);
    }
    int result = 0;
    for (int i = 0; i < 8; ++i) {
        const auto bit = [inverse](int j) { return inverse >> (j % 8) & 1; };
        result |= (bit(i) ^ bit(i + 4) ^ bit(i + 5) ^ bit(i + 6) ^ bit(i + 7) ^ (0x63 >> i & 1)) << i;
    }
    return static_cast<std::uint8_t>(result);
}
std::array<std::uint8_t, 256> substitution_table() {
    std::array<std::uint8_t, 256> table{};
    for (int a = 0; a < 256; ++a) table[a] = substitute(static_cast<std::uint8_t>(a));
    return table;
}

Bytes aes_round(const Bytes& s, const Bytes& key, bool is_last) {
    static const auto box = substitution_table();
    Bytes shifted{}, mixed{};
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < 4; ++row) shifted[4 * column + row] = box[s[4 * ((column + row) % 4) + row]];
    }
    for (int column = 0; column < 4; ++column) {
        const std::uint8_t* c = &shifted[4 * column];
        for (int row = 0; row < 4; ++row) {
            const int m = times(c[row], 2) ^ times(c[(row + 1) % 4], 3) ^ c[(row + 2) % 4] ^ c[(row + 3) % 4];
            mixed[4 * column + row] = static_cast<std::uint8_t>((is_last ? c[row] : m) ^ key[4 * column + row]);
        }
    }
    return mixed;
}

struct Ars {
    std::uint64_t key[2];

    FourLimbs block(const FourLimbs& counter) const {
        const auto round_key = [this](std::uint64_t r) {
            const std::uint64_t k[2] = {key[0] + r * 0x9E3779B97F4A7C15, key[1] + r * 0xBB67AE8584CAA73B};
            Bytes bytes;
            std::memcpy(bytes.data(), k, 16);
            return bytes;
        };
        Bytes s;
        std::memcpy(s.data(), counter.data(), 16);
        for (int i = 0; i < 16; ++i) s[i] ^= round_key(0)[i];
        for (int r = 1; r <= 5; ++r) s = aes_round(s, round_key(r), r == 5);
        FourLimbs words;
        std::memcpy(words.data(), s.data(), 16);
        return words;
    }
};
using Model = CounterModel<Ars>;

ArsRecord ars(const std::vector<std::uint32_t>& seed) { return seeded<72>(OST_BRNG_ARS5, seed); }

struct Start {
    std::vector<std::uint32_t> seed;
    ArsRecord record() const { return ars(seed); }
    Model model() const {
        Ars cipher{};
        std::memcpy(cipher.key, seed.data(), 16);
        return {cipher, Place({seed[4], seed[5], seed[6], seed[7]})};
    }
};
const Start starts[] = {
    {{0, 0, 0, 0, 0, 0, 0, 0}},
    {{1, 2, 3, 4, 0xFFFFFFF8, 5, 6, 7}},
    {{0xFFFFFFFF, 0xFFFFFFFF, 0, 0, 0xFFFFFFF0, 0xFFFFFFFF, 6, 7}},
    {{0x01234567, 0x89ABCDEF, 0x02468ACE, 0x13579BDF, 0xFFFFFF01, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}},
};

// The example of FIPS 197, appendix B, round 1.
TEST(Ars5, ModelsRoundOfAes) {
    const Bytes start = {0x19, 0x3D, 0xE3, 0xBE, 0xA0, 0xF4, 0xE2, 0x2B,
                         0x9A, 0xC6, 0x8D, 0x2A, 0xE9, 0xF8, 0x48, 0x08};
    const Bytes key = {0xA0, 0xFA, 0xFE, 0x17, 0x88, 0x54, 0x2C, 0xB1, 0x23, 0xA3, 0x39, 0x39, 0x2A, 0x6C, 0x76, 0x05};
    const Bytes end = {0xA4, 0x9C, 0x7F, 0xF2, 0x68, 0x9F, 0x35, 0x2B, 0x6B, 0x5B, 0xEA, 0x43, 0x02, 0x6A, 0x50, 0x49};
    EXPECT_EQ(end, aes_round(start, key, false));
}

TEST(Ars5, TakesUpToEightSeedWords) {
    const std::vector<std::uint32_t> words = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    for (std::size_t n = 0; n <= 9; ++n) {
        std::vector<std::uint32_t> eight = words;
        eight.resize(n);
        eight.resize(8);
        const ArsRecord record = ars({words.begin(), words.begin() + static_cast<std::ptrdiff_t>(n)});
        EXPECT_TRUE(record.same_state(ars(eight))) << n;
        EXPECT_EQ(0U, record.as<State>().left);
    }
}

// Whether a block waits whole or its place is merely known depends on the split; the rule for it is part of the state.
TEST(Ars5, GivesTheModelsNumbersInAnySplit) {
    for (const Start& start : starts) {
        ArsRecord record = start.record();
        Model model = start.model();
        std::uint64_t made = 0;
        int left = 0;
        std::mt19937 random(1);
        for (int call = 0; call < 200 && !HasFailure(); ++call) {
            const int longest[] = {9, 70, 400};
            const int n = std::uniform_int_distribution<int>(-1, longest[random() % 3])(random);
            const auto words = model.next(std::max(n, 0));
            const float a = -3, b = 5;
            switch (random() % 3) {
            case 0: EXPECT_TRUE(same_bits(words, draw_words(record.stream(), n))); break;
            case 1: {
                std::vector<float> expected;
                for (const auto word : words) expected.push_back(Model::as_float(word, a, b));
                EXPECT_TRUE(same_bits(expected, draw_floats(record.stream(), n, a, b)));
                break;
            }
            default: {
                std::vector<double> expected;
                for (const auto word : words) expected.push_back(Model::as_double(word, a, b));
                EXPECT_TRUE(same_bits(expected, draw_doubles(record.stream(), n, a, b)));
            }
            }
            if (n > left) {
                made += static_cast<std::uint64_t>((n - left) / 4 + 1);
                left = 4 - (n - left) % 4;
            } else {
                left -= std::max(n, 0);
            }
            const auto s = record.as<State>();
            EXPECT_EQ(left, static_cast<int>(s.left));
            EXPECT_EQ(start.record().as<State>().counter[0] + made, s.counter[0]);
        }
    }
}

TEST(Ars5, MakesOneBlockAhead) {
    ArsRecord record = ars({});
    draw_words(record.stream(), 4);
    EXPECT_EQ(4U, record.as<State>().left);
    EXPECT_EQ(2U, record.as<State>().counter[0]);
    EXPECT_EQ(OST_OK, skip(record.stream(), 4));
    EXPECT_EQ(0U, record.as<State>().left);
    EXPECT_EQ(2U, record.as<State>().counter[0]);
}

TEST(Ars5, SkipsAnyCount) {
    for (const Start& start : starts) expect_skips_of_counter(start.record(), start.model());
}

TEST(Ars5, RefusesOtherMethods) {
    ArsRecord record = ars({1});
    EXPECT_EQ(OST_ERR_NO_LEAPFROG, leapfrog(record.stream(), 0, 2));
    for (const int method : {4, -1}) EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), method, 1, nullptr));
    EXPECT_TRUE(record.same_state(ars({1})));
}

} // namespace
