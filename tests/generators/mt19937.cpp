#include "tests/support/twister_model.h"

#include <sstream>

using namespace nvo::tests;

namespace {

struct State {
    std::uint32_t mt[624];
    std::int32_t index;
    std::uint32_t padding;
};

auto stream_of(const std::vector<std::uint32_t>& key) { return seeded<2520>(OST_BRNG_MT19937, key); }

// The standard library's twister, in the state of a stream.
struct Model {
    std::mt19937 generator;

    explicit Model(const Record<2520>& record) {
        const auto s = record.as<State>();
        std::stringstream text;
        for (const std::uint32_t word : s.mt) text << word << ' ';
        text << s.index;
        text >> generator;
    }
    std::uint32_t next() { return static_cast<std::uint32_t>(generator()); }
    double as_double(std::uint32_t word, double a, double b) const { return word * ((b - a) * 0x1p-32) + a; }
    float as_float(std::uint32_t word, float a, float b) const {
        return static_cast<float>(as_double(word, double{a}, double{b}));
    }
};

TEST(Mt19937, GivesPublishedNumbers) {
    auto stream = stream_of({0x123, 0x234, 0x345, 0x456}); // the authors' program, seeded by an array
    EXPECT_EQ((std::vector<std::uint32_t>{1067595299, 955945823, 477289528, 4107218783, 4228976476, 3344332714,
                                          3355579695, 227628506, 810200273, 2591290167}),
              draw_words(stream.stream(), 10));
}

TEST(Mt19937, UsesAllSeedWords) {
    for (const int n : {1, 2, 623, 624, 625, 2000}) {
        const auto state = stream_of(random_key(n)).as<State>();
        EXPECT_EQ(twister_seeded(624, random_key(n)), std::vector(state.mt, state.mt + 624)) << n;
        EXPECT_EQ(624, state.index);
    }
    auto none = stream_of({1});
    EXPECT_EQ(OST_OK, init(none.stream(), OST_METHOD_SEED, -3, nullptr));
    EXPECT_TRUE(none.same_state(stream_of({1})));
    EXPECT_TRUE(none.same_state(stream_of({})));
    // The one word 5489 is a key of its own, and not the seed that the published program starts from.
    EXPECT_NE(3499211612U, draw_words(stream_of({5489}).stream(), 1)[0]);
}

TEST(Mt19937, IsTheSameInAnySplit) {
    const auto start = stream_of({5, 6, 7});
    expect_model_in_any_split(start, Model(start));
    expect_model_in_any_split(start, Model(start), 5000);
    expect_floats_between_unlike_bounds(start, Model(start));
}

TEST(Mt19937, SkipsAsItDraws) {
    for (const int used : {0, 1, 623, 624, 1000}) {
        auto start = stream_of({7});
        draw_words(start.stream(), used);
        expect_skips<std::uint32_t>(start, {0, 1, 3, 623, 624, 625, 1247, 1248, 5000, 1 << 16}, 1500);
        expect_skips<std::uint32_t>(start, {(1 << 20) - 1, 1 << 20, (1 << 20) + 1, (1 << 20) + 624}, 1500);
        // Small skips leave the very state that drawing does.
        for (const int count : {0, 1, 624, 625, (1 << 20) - 1}) {
            auto skipped = start, drawn = start;
            skip(skipped.stream(), static_cast<std::uint64_t>(count));
            draw_words(drawn.stream(), count);
            EXPECT_TRUE(skipped.same_state(drawn)) << used << " and " << count;
        }
    }
}

TEST(Mt19937, SkipsAddUp) {
    auto start = stream_of({42, 43});
    expect_skips_add_up(start);
    draw_words(start.stream(), 100);
    expect_skips_add_up(start);
}

TEST(Mt19937, RefusesWhatItCannotDo) {
    expect_skip_survives_refusals(stream_of({3}), 1 << 20);
    expect_other_methods_refused(stream_of({3}));
}

// An index behind the words means that all are used, whatever it is; there are none before them.
TEST(Mt19937, WorksOnAnyIndexThatLoads) {
    auto record = stream_of({11});
    auto state = record.as<State>();
    for (const int index : {0, 623, 624, 625, 0x7FFFFFFF}) {
        state.index = index;
        std::memcpy(record.bytes, &state, sizeof state);
        EXPECT_TRUE(loads(record)) << index;
    }
    auto used = stream_of({11});
    for (const std::uint64_t count : {0, 1, 1000, 1 << 20}) {
        auto a = record, b = used;
        EXPECT_EQ(OST_OK, skip(a.stream(), count));
        EXPECT_EQ(OST_OK, skip(b.stream(), count));
        EXPECT_TRUE(same_bits(draw_words(b.stream(), 1000), draw_words(a.stream(), 1000))) << count;
    }
    state.index = -1;
    std::memcpy(record.bytes, &state, sizeof state);
    EXPECT_FALSE(loads(record));
}

} // namespace
