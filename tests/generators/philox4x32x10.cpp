#include "tests/generators/counter_model.h"

using namespace nvo::tests;

namespace {

using PhiloxRecord = Record<64>;
struct State {
    std::uint32_t key[2], counter[4], left, block[4], spare;
};

struct Philox {
    std::uint32_t key[2];

    FourLimbs block(FourLimbs x) const {
        std::uint64_t k0 = key[0], k1 = key[1];
        for (int round = 0; round < 10; ++round) {
            const std::uint64_t p0 = 0xD2511F53ULL * x[0], p1 = 0xCD9E8D57ULL * x[2];
            x = {static_cast<std::uint32_t>(p1 >> 32 ^ x[1] ^ k0), static_cast<std::uint32_t>(p1),
                 static_cast<std::uint32_t>(p0 >> 32 ^ x[3] ^ k1), static_cast<std::uint32_t>(p0)};
            k0 = (k0 + 0x9E3779B9) & 0xFFFFFFFF;
            k1 = (k1 + 0xBB67AE85) & 0xFFFFFFFF;
        }
        return x;
    }
};
using Model = CounterModel<Philox>;

PhiloxRecord philox(const std::vector<std::uint32_t>& seed) { return seeded<64>(OST_BRNG_PHILOX4X32X10, seed); }

struct Start {
    std::vector<std::uint32_t> seed;
    PhiloxRecord record() const { return philox(seed); }
    Model model() const { return {{{seed[0], seed[1]}}, Place({seed[2], seed[3], seed[4], seed[5]})}; }
};
const Start starts[] = {
    {{0, 0, 0, 0, 0, 0}},
    {{7, 8, 0xFFFFFFFE, 9, 10, 11}},
    {{7, 8, 0xFFFFFF00, 0xFFFFFFFF, 3, 4}},
    {{0xFFFFFFFF, 0x80000000, 0xFFFFFFF1, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF}},
};

// The known answers that the authors publish with Random123 (kat_vectors, philox4x32 10): key, counter, block.
TEST(Philox4x32x10, GivesThePublishedBlocks) {
    struct Case {
        std::vector<std::uint32_t> seed, block;
    };
    const Case cases[] = {
        {{0, 0, 0, 0, 0, 0}, {0x6627E8D5, 0xE169C58D, 0xBC57AC4C, 0x9B00DBD8}},
        {{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF},
         {0x408F276D, 0x41C83B0E, 0xA20BC7C6, 0x6D5451FD}},
        {{0xA4093822, 0x299F31D0, 0x243F6A88, 0x85A308D3, 0x13198A2E, 0x03707344},
         {0xD16CFE09, 0x94FDCCEB, 0x5001E420, 0x24126EA1}},
    };
    for (const Case& c : cases) {
        PhiloxRecord record = philox(c.seed);
        EXPECT_TRUE(same_bits(c.block, draw_words(record.stream(), 4)));
        EXPECT_EQ(c.block, Start{c.seed}.model().next(4)) << "the model";
    }
}

TEST(Philox4x32x10, TakesUpToSixSeedWords) {
    for (std::size_t n = 0; n <= 8; ++n) {
        const std::vector<std::uint32_t> words = {1, 2, 3, 4, 5, 6, 7, 8};
        std::vector<std::uint32_t> six = words;
        six.resize(n);
        six.resize(6);
        const PhiloxRecord record = philox({words.begin(), words.begin() + static_cast<std::ptrdiff_t>(n)});
        EXPECT_TRUE(record.same_state(philox(six))) << n;
        EXPECT_EQ(0U, record.as<State>().left);
    }
    PhiloxRecord negative = philox({});
    EXPECT_EQ(OST_OK, init(negative.stream(), OST_METHOD_SEED, -1, nullptr));
    EXPECT_TRUE(negative.same_state(philox({})));
}

TEST(Philox4x32x10, GivesTheModelsNumbersInAnySplit) {
    for (const Start& start : starts) expect_model_in_any_split(start.record(), start.model());
}

TEST(Philox4x32x10, KeepsTheLastBlock) {
    PhiloxRecord record = philox({});
    const auto expect = [&](std::uint32_t counter, std::uint32_t left) {
        const auto s = record.as<State>();
        EXPECT_EQ(counter, s.counter[0]);
        EXPECT_EQ(left, s.left);
    };
    draw_words(record.stream(), 4);
    expect(1, 0);
    draw_words(record.stream(), 1);
    expect(2, 3);
    draw_words(record.stream(), 3);
    expect(2, 0);
    draw_words(record.stream(), 66);
    expect(19, 2);
}

TEST(Philox4x32x10, SkipsAnyCount) {
    for (const Start& start : starts) expect_skips_of_counter(start.record(), start.model());
}

TEST(Philox4x32x10, SkippingLeavesTheStateOfDrawing) {
    for (int before = 0; before < 5; ++before) {
        for (int count = 0; count < 12; ++count) {
            PhiloxRecord drawn = starts[1].record();
            draw_words(drawn.stream(), before);
            PhiloxRecord skipped = drawn;
            draw_words(drawn.stream(), count);
            EXPECT_EQ(OST_OK, skip(skipped.stream(), static_cast<std::uint64_t>(count)));
            EXPECT_TRUE(drawn.same_state(skipped)) << before << " " << count;
        }
    }
}

TEST(Philox4x32x10, RefusesOtherMethods) {
    PhiloxRecord record = philox({1});
    EXPECT_EQ(OST_ERR_NO_LEAPFROG, leapfrog(record.stream(), 0, 2));
    for (const int method : {4, -1}) EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), method, 1, nullptr));
    EXPECT_TRUE(record.same_state(philox({1})));
}

} // namespace
