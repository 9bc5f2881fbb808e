// A twister as its recurrence says it: one word after the other, from a queue. Also the laws that hold for streams of
// all twisters.
#pragma once

#include "platform/core_testing.h"
#include "tests/support/streams.h"

#include <deque>

namespace nvo::tests {

struct TwisterRule {
    int words, middle;
    std::uint32_t upper; // the bits of the first word
    int first_shift;
    std::uint32_t a, b, c;
};

struct TwisterModel {
    TwisterRule rule;
    std::deque<std::uint32_t> x; // the words last made

    std::uint32_t next() {
        std::uint32_t y = (x[0] & rule.upper) | (x[1] & ~rule.upper);
        y = x[rule.middle] ^ y / 2 ^ y % 2 * rule.a;
        x.push_back(y);
        x.pop_front();
        y = y ^ y >> rule.first_shift;
        y = y ^ (y << 7 & rule.b);
        y = y ^ (y << 15 & rule.c);
        return y ^ y >> 18;
    }
    double as_double(std::uint32_t word, double a, double b) const { return word * ((b - a) * 0x1p-32) + a; }
    float as_float(std::uint32_t word, float a, float b) const {
        return static_cast<float>(as_double(word, double{a}, double{b}));
    }
};

// The words that seeding makes. Places from 1 on are gone through in a ring, each word made from the one before it.
inline std::vector<std::uint32_t> twister_seeded(int words, const std::vector<std::uint32_t>& key) {
    const auto mix = [](std::uint32_t x) { return x ^ x >> 30; };
    std::vector<std::uint32_t> x = {19650218};
    while (static_cast<int>(x.size()) < words)
        x.push_back(1812433253 * mix(x.back()) + static_cast<std::uint32_t>(x.size()));
    const std::size_t ring = x.size() - 1, first_turns = std::max(x.size(), key.size());
    std::uint32_t last = x[0];
    for (std::size_t t = 0; t < first_turns + ring; ++t) {
        std::uint32_t& word = x[1 + t % ring];
        if (t < first_turns) {
            word = (word ^ mix(last) * 1664525) + key[t % key.size()] + static_cast<std::uint32_t>(t % key.size());
        } else {
            word = (word ^ mix(last) * 1566083941) - static_cast<std::uint32_t>(1 + t % ring);
        }
        last = word;
    }
    x[0] = 0x80000000;
    return x;
}

// Random seed words, as many as that.
inline std::vector<std::uint32_t> random_key(int n) {
    std::mt19937 random(static_cast<std::uint32_t>(n));
    std::vector<std::uint32_t> key(n);
    for (auto& word : key) word = static_cast<std::uint32_t>(random());
    return key;
}

// Bounds whose difference isn't a float: what is rounded to single precision, and when, shows in the numbers.
template <std::size_t state_bytes, class Model>
void expect_floats_between_unlike_bounds(Record<state_bytes> start, Model model) {
    const float a = -1, b = 0.33333334F;
    std::vector<float> expected(10000);
    for (float& x : expected) x = model.as_float(model.next(), a, b);
    EXPECT_TRUE(same_bits(expected, draw_floats(start.stream(), static_cast<std::int32_t>(expected.size()), a, b)));
}

// Skips that are sums of skips, on both sides of where the method changes and up to 2^64 - 1.
template <std::size_t state_bytes> void expect_skips_add_up(const Record<state_bytes>& start) {
    const std::uint64_t pairs[][2] = {{1, 1 << 20},
                                      {(1 << 20) - 1, 1},
                                      {123457, 7654321},
                                      {19967, 19968},
                                      {(std::uint64_t{1} << 40) + 3, 12345},
                                      {(std::uint64_t{1} << 62) + 1, (std::uint64_t{1} << 62) - 2},
                                      {0x7FFFFFFFFFFFFFFF, 1},
                                      {0xFEDCBA9876543210, 0x0123456789ABCDEF}};
    for (const auto& [a, b] : pairs) {
        Record<state_bytes> once = start, twice = start;
        ASSERT_EQ(OST_OK, skip(once.stream(), a + b));
        ASSERT_EQ(OST_OK, skip(twice.stream(), a));
        ASSERT_EQ(OST_OK, skip(twice.stream(), b));
        EXPECT_TRUE(same_bits(draw_words(once.stream(), 1500), draw_words(twice.stream(), 1500))) << a << " + " << b;
    }
}

// A skip of count says so when memory is refused, whichever allocation that is, and keeps none.
template <std::size_t state_bytes>
void expect_skip_survives_refusals(const Record<state_bytes>& start, std::uint64_t count) {
    const long before = nvo_core_testing_live_blocks();
    for (long n = 1;; ++n) {
        Record<state_bytes> record = start;
        nvo_core_testing_fail_allocation(n);
        const std::int32_t status = skip(record.stream(), count);
        const bool all_served = nvo_core_testing_fail_allocation(0) > 0;
        EXPECT_EQ(before, nvo_core_testing_live_blocks()) << n;
        EXPECT_EQ(all_served ? OST_OK : OST_ERR_NO_MEMORY, status) << n;
        if (all_served) {
            EXPECT_LT(1, n);
            return;
        }
    }
}

// Neither of them has leapfrog or long skips.
template <std::size_t state_bytes> void expect_other_methods_refused(Record<state_bytes> record) {
    const Record<state_bytes> before = record;
    const std::uint64_t count = 1;
    EXPECT_EQ(OST_ERR_NO_LEAPFROG, leapfrog(record.stream(), 0, 2));
    EXPECT_EQ(OST_ERR_NO_SKIP_EX, init(record.stream(), OST_METHOD_SKIP_LONG, 1, &count));
    EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), 4, 1, &count));
    EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), -1, 1, &count));
    EXPECT_TRUE(before.same_state(record));
}

// Whether a stream with this state can be loaded from an image.
template <std::size_t state_bytes> bool loads(Record<state_bytes> record) {
    std::vector<unsigned char> image(__ostGetStreamSize(record.stream()));
    EXPECT_EQ(OST_OK, __ostSaveStreamM(record.stream(), image.data()));
    OstStream* loaded = nullptr;
    const std::int32_t status = __ostLoadStreamM(&loaded, image.data());
    EXPECT_EQ(status == OST_OK, loaded != nullptr);
    if (loaded != nullptr) __ostDeleteStream(&loaded);
    return status == OST_OK;
}

} // namespace nvo::tests
