// Streams for tests of generators: records made through a generator's own entries, draws, and the laws that every
// generator obeys, checked against a model of it.
#pragma once

#include "nvo_ark/generators.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace nvo::tests {

// The registry's row of an id.
inline OstBrng properties(std::uint32_t id) {
    OstBrng row{};
    EXPECT_EQ(OST_OK, __ostGetBrngProperties(id, &row)) << id;
    return row;
}
inline OstBrng row_of(const OstStream* stream) { return properties(stream->brng); }

// A stream record of state_bytes bytes (that column of generators.def), head included. A copy goes on where its
// original stood, as long as it has no chunks.
template <std::size_t state_bytes> struct alignas(16) Record {
    static constexpr std::size_t length = state_bytes - sizeof(OstStream);

    OstStream head{};
    unsigned char bytes[length]{};

    OstStream* stream() { return &head; }
    // The state as the generator's own struct, by value.
    template <class S> S as() const {
        static_assert(sizeof(S) == length);
        S state;
        std::memcpy(&state, bytes, sizeof state);
        return state;
    }
    bool same_state(const Record& other) const { return std::memcmp(bytes, other.bytes, length) == 0; }
};

inline std::int32_t init(OstStream* stream, std::int32_t method, std::int32_t n, const void* params) {
    return row_of(stream).init_entry(method, stream, n, params);
}
inline std::int32_t skip(OstStream* stream, std::uint64_t count) { return init(stream, OST_METHOD_SKIP, 2, &count); }
inline std::int32_t leapfrog(OstStream* stream, std::int32_t k, std::int32_t c) {
    return init(stream, OST_METHOD_LEAPFROG, c, &k);
}

// A seeded record. What the seeding finds in the state area is rubbish, as in fresh memory.
template <std::size_t state_bytes>
Record<state_bytes> seeded(std::uint32_t id, const std::vector<std::uint32_t>& seed = {}) {
    Record<state_bytes> record;
    record.head = {id, 1, nullptr};
    std::memset(record.bytes, 0xCA, record.length);
    EXPECT_EQ(static_cast<std::int32_t>(state_bytes), properties(id).state_bytes);
    EXPECT_EQ(OST_OK, init(record.stream(), OST_METHOD_SEED, static_cast<std::int32_t>(seed.size()), seed.data()));
    return record;
}

// Draws n numbers with draw(n, r) and sees to it that r is written up to its end and not behind it.
template <class T, class Draw> std::vector<T> drawn(std::int32_t n, Draw draw) {
    constexpr int guard = 8;
    std::vector<T> r(std::max(n, 0) + guard);
    std::memset(static_cast<void*>(r.data()), 0xCA, r.size() * sizeof(T));
    const auto behind = std::vector<T>(r.end() - guard, r.end());
    EXPECT_EQ(OST_OK, draw(n, r.data()));
    EXPECT_EQ(0, std::memcmp(behind.data(), &r[r.size() - guard], guard * sizeof(T))) << "written behind r[n - 1]";
    r.resize(r.size() - guard);
    return r;
}
// Word is what the integer entry writes for one number.
template <class Word = std::uint32_t> std::vector<Word> draw_words(OstStream* stream, std::int32_t n) {
    return drawn<Word>(n, [&](std::int32_t m, Word* r) { return row_of(stream).i_entry(stream, m, r); });
}
inline std::vector<float> draw_floats(OstStream* stream, std::int32_t n, float a = 0, float b = 1) {
    return drawn<float>(n, [&](std::int32_t m, float* r) { return row_of(stream).s_entry(stream, m, r, a, b); });
}
inline std::vector<double> draw_doubles(OstStream* stream, std::int32_t n, double a = 0, double b = 1) {
    return drawn<double>(n, [&](std::int32_t m, double* r) { return row_of(stream).d_entry(stream, m, r, a, b); });
}

// The same bits; says where the first difference is.
template <class T> testing::AssertionResult same_bits(const std::vector<T>& expected, const std::vector<T>& actual) {
    if (expected.size() != actual.size())
        return testing::AssertionFailure() << actual.size() << " numbers instead of " << expected.size();
    for (std::size_t i = 0; i < expected.size(); ++i) {
        if (std::memcmp(&expected[i], &actual[i], sizeof(T)) == 0) continue;
        return testing::AssertionFailure()
               << "number " << i << " of " << expected.size() << " is " << testing::PrintToString(actual[i])
               << " instead of " << testing::PrintToString(expected[i]);
    }
    return testing::AssertionSuccess();
}

// Calls of random kind and length, against a model of the generator, in numbers and in the final state. A model is:
//
//   Word next();                                     the next word
//   float as_float(Word, float a, float b);          what the entries make of a word
//   double as_double(Word, double a, double b);
//
// The final state is that of the same count of single draws. longest bounds the calls; shortest is 1 for a generator
// whose calls with n below 1 are not empty.
template <std::size_t state_bytes, class Model>
void expect_model_in_any_split(const Record<state_bytes>& start, Model model, int longest = 1500, int shortest = -1) {
    using Word = decltype(model.next());
    constexpr float float_bounds[][2] = {{0, 1}, {-3, 5}, {1, 1.000001F}, {-1e30F, 1e-30F}};
    constexpr double double_bounds[][2] = {{0, 1}, {-3, 5}, {1, 1 + 0x1p-50}, {-1e300, 1e-300}};
    Record<state_bytes> blocks = start, singles = start;
    std::mt19937 random(12345);
    std::string history;
    for (int call = 0; call < 300 && !testing::Test::HasFailure(); ++call) {
        const int limits[] = {20, 70, longest};
        const int n = std::uniform_int_distribution<int>(shortest, limits[random() % 3])(random);
        const auto kind = random() % 3, bounds = random() % 4;
        history += " " + std::to_string(n) + "wfd"[kind];
        const std::string message = "calls:" + history;
        SCOPED_TRACE(message);
        std::vector<Word> words(std::max(n, 0));
        for (Word& word : words) word = model.next();
        if (kind == 0) {
            EXPECT_TRUE(same_bits(words, draw_words<Word>(blocks.stream(), n)));
        } else if (kind == 1) {
            const auto [a, b] = float_bounds[bounds];
            std::vector<float> expected;
            for (const Word& word : words) expected.push_back(model.as_float(word, a, b));
            EXPECT_TRUE(same_bits(expected, draw_floats(blocks.stream(), n, a, b)));
        } else {
            const auto [a, b] = double_bounds[bounds];
            std::vector<double> expected;
            for (const Word& word : words) expected.push_back(model.as_double(word, a, b));
            EXPECT_TRUE(same_bits(expected, draw_doubles(blocks.stream(), n, a, b)));
        }
        for (int i = 0; i < n; ++i) draw_words<Word>(singles.stream(), 1);
        EXPECT_TRUE(singles.same_state(blocks)) << "state differs from that after single draws";
    }
}

// Skipping k numbers is drawing them.
template <class Word, std::size_t state_bytes>
void expect_skips(const Record<state_bytes>& start, const std::vector<std::int32_t>& counts, int compared = 100) {
    for (const std::int32_t count : counts) {
        Record<state_bytes> skipped = start, walked = start;
        ASSERT_EQ(OST_OK, skip(skipped.stream(), static_cast<std::uint64_t>(count)));
        if (count > 0) draw_words<Word>(walked.stream(), count);
        EXPECT_TRUE(
            same_bits(draw_words<Word>(walked.stream(), compared), draw_words<Word>(skipped.stream(), compared)))
            << "after " << count;
    }
}

// Stream k of c gets the numbers k, k + c, k + 2 c, ...
template <class Word, std::size_t state_bytes>
void expect_leapfrog_deals(const Record<state_bytes>& start, std::int32_t c, int dealt = 100) {
    Record<state_bytes> whole = start;
    const auto all = draw_words<Word>(whole.stream(), c * dealt);
    for (std::int32_t k = 0; k < c; ++k) {
        Record<state_bytes> part = start;
        ASSERT_EQ(OST_OK, leapfrog(part.stream(), k, c));
        std::vector<Word> expected;
        for (int i = 0; i < dealt; ++i) expected.push_back(all[k + i * c]);
        EXPECT_TRUE(same_bits(expected, draw_words<Word>(part.stream(), dealt))) << "stream " << k << " of " << c;
    }
}

} // namespace nvo::tests
