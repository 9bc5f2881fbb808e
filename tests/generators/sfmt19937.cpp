#include "tests/support/twister_model.h"

#include <bit>

using namespace nvo::tests;

namespace {

struct State {
    std::uint32_t w[624];
    std::int32_t index;
    std::uint32_t tail[3];
    std::int32_t tail_pos, tail_end;
};

auto stream_of(const std::vector<std::uint32_t>& key) { return seeded<2536>(OST_BRNG_SFMT19937, key); }

// The recurrence on 128-bit integers, one block after the other.
struct Model {
    __extension__ using Block = unsigned __int128;

    std::deque<Block> blocks;
    int used = 4; // words of the last block

    explicit Model(const std::vector<std::uint32_t>& words) {
        for (std::size_t i = 0; i < words.size(); i += 4) blocks.push_back(in_words(&words[i]));
    }

    static Block in_words(const std::uint32_t* w) {
        return Block{w[3]} << 96 | Block{w[2]} << 64 | Block{w[1]} << 32 | Block{w[0]};
    }
    static std::uint32_t word_of(Block block, int i) { return static_cast<std::uint32_t>(block >> (32 * i)); }

    std::uint32_t next() {
        if (used == 4) {
            const std::uint32_t masks[] = {0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6};
            std::uint32_t words[4];
            for (int i = 0; i < 4; ++i)
                words[i] = (word_of(blocks[122], i) >> 11 & masks[i]) ^ word_of(blocks[155], i) << 18;
            blocks.push_back(blocks[0] ^ blocks[0] << 8 ^ blocks[154] >> 8 ^ in_words(words));
            blocks.pop_front();
            used = 0;
        }
        return word_of(blocks.back(), used++);
    }
    double as_double(std::uint32_t word, double a, double b) const {
        return static_cast<std::int32_t>(word) * ((b - a) * 0x1p-32) + (a + b) * 0.5;
    }
    float as_float(std::uint32_t word, float a, float b) const {
        const auto scale = static_cast<float>((double{b} - double{a}) * 0x1p-32);
        const auto centre = static_cast<float>((double{a} + double{b}) * 0.5);
        return static_cast<float>(static_cast<std::int32_t>(word)) * scale + centre;
    }
};

// The words that seeding makes, before the parity is looked at. They are a ring that turns under the formula.
std::vector<std::uint32_t> seeded_words(const std::vector<std::uint32_t>& key) {
    std::deque<std::uint32_t> w(624, 0x8B8B8B8B);
    std::uint32_t turns = 0;
    const auto turn = [&] {
        w.push_back(w.front());
        w.pop_front();
        ++turns;
    };
    const auto mix = [](std::uint32_t x) { return x ^ x >> 27; };
    const auto first = [&](std::uint32_t more) {
        const std::uint32_t r = mix(w[0] ^ w[306] ^ w[623]) * 1664525;
        w[306] += r;
        w[317] += r + more;
        w[0] = r + more;
        turn();
    };
    first(static_cast<std::uint32_t>(key.size()));
    for (std::size_t j = 0; j < std::max<std::size_t>(key.size(), 623); ++j)
        first(turns % 624 + (j < key.size() ? key[j] : 0));
    for (int j = 0; j < 624; ++j) {
        const std::uint32_t place = turns % 624, r = mix(w[0] + w[306] + w[623]) * 1566083941;
        w[306] ^= r;
        w[317] ^= r - place;
        w[0] = r - place;
        turn();
    }
    while (turns % 624 != 0) turn();
    return {w.begin(), w.end()};
}

bool has_right_parity(const std::vector<std::uint32_t>& w) {
    return (std::popcount(w[0] & 1U) + std::popcount(w[3] & 0x13C9E684U)) % 2 == 1;
}

Model model_of(const std::vector<std::uint32_t>& key) {
    auto words = seeded_words(key);
    if (!has_right_parity(words)) words[0] ^= 1U;
    return Model(words);
}

TEST(Sfmt19937, GivesPublishedNumbers) {
    auto stream = stream_of({0x1234, 0x5678, 0x9ABC, 0xDEF0}); // the authors' program, seeded by an array
    EXPECT_EQ((std::vector<std::uint32_t>{2920711183, 3885745737, 3501893680, 856470934, 1421864068}),
              draw_words(stream.stream(), 5));
}

TEST(Sfmt19937, UsesAllSeedWordsAndMendsParity) {
    int mended = 0;
    for (const int n : {1, 2, 3, 4, 5, 6, 7, 8, 622, 623, 624, 625, 2000}) {
        auto expected = seeded_words(random_key(n));
        if (!has_right_parity(expected)) {
            expected[0] ^= 1U;
            ++mended;
        }
        const auto state = stream_of(random_key(n)).as<State>();
        EXPECT_EQ(expected, std::vector(state.w, state.w + 624)) << n;
        EXPECT_EQ(624, state.index);
        EXPECT_EQ(state.tail_pos, state.tail_end);
    }
    EXPECT_LT(0, mended);
    EXPECT_LT(mended, 13);
    EXPECT_TRUE(stream_of({}).same_state(stream_of({1})));
}

TEST(Sfmt19937, IsTheSameInAnySplit) {
    expect_model_in_any_split(stream_of({5, 6, 7}), model_of({5, 6, 7}));
    expect_model_in_any_split(stream_of({8}), model_of({8}), 5000);
    expect_floats_between_unlike_bounds(stream_of({8}), model_of({8}));
}

TEST(Sfmt19937, KeepsTheRestOfABlock) {
    auto stream = stream_of({3});
    auto model = model_of({3});
    for (const int n : {1, 2, 3, 5, 7}) {
        for (const std::uint32_t word : draw_words(stream.stream(), n)) EXPECT_EQ(model.next(), word);
    }
    EXPECT_EQ(2, stream.as<State>().tail_end);
    EXPECT_EQ(20, stream.as<State>().index);

    auto skipped = stream_of({3});
    draw_words(skipped.stream(), 1);
    ASSERT_EQ(OST_OK, skip(skipped.stream(), 1));
    EXPECT_EQ(2, skipped.as<State>().tail_end - skipped.as<State>().tail_pos);
}

TEST(Sfmt19937, SkipsAsItDraws) {
    for (const int used : {0, 1, 2, 3, 4, 622, 624, 1001}) {
        auto start = stream_of({7});
        draw_words(start.stream(), used);
        expect_skips<std::uint32_t>(start, {0, 1, 2, 3, 4, 5, 6, 620, 621, 622, 623, 624, 625, 1250}, 700);
        expect_skips<std::uint32_t>(start, {19966, 19967, 19968, 19969, 79871, 79872, 79873, 1000000}, 700);
    }
    // Skips within the rest of a block that skips have moved into.
    auto start = stream_of({7});
    draw_words(start.stream(), 1);
    skip(start.stream(), 1);
    expect_skips<std::uint32_t>(start, {0, 1, 2, 3, 700}, 700);
}

TEST(Sfmt19937, SkipsAddUp) {
    auto start = stream_of({42, 43});
    expect_skips_add_up(start);
    draw_words(start.stream(), 101);
    expect_skips_add_up(start);
}

TEST(Sfmt19937, RefusesWhatItCannotDo) {
    for (const std::uint64_t count : {1000, 100000}) expect_skip_survives_refusals(stream_of({3}), count);
    expect_other_methods_refused(stream_of({3}));
}

TEST(Sfmt19937, LoadsNoIndexOutsideItsWords) {
    struct Case {
        int index, tail_pos, tail_end;
        bool sound;
    };
    const Case cases[] = {
        {0, 0, 0, true},  {624, 3, 3, true}, {620, 0, 3, true}, {-4, 0, 0, false}, {628, 0, 0, false},
        {2, 0, 0, false}, {4, -1, 2, false}, {4, 0, 4, false},  {4, 2, 1, false},  {4, 1 << 30, 1 << 30, false}};
    for (const Case& c : cases) {
        auto record = stream_of({1});
        auto state = record.as<State>();
        state.index = c.index;
        state.tail_pos = c.tail_pos;
        state.tail_end = c.tail_end;
        std::memcpy(record.bytes, &state, sizeof state);
        EXPECT_EQ(c.sound, loads(record)) << c.index << ' ' << c.tail_pos << ' ' << c.tail_end;
    }
}

} // namespace
