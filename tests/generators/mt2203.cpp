#include "tests/support/twister_model.h"

using namespace nvo::tests;

namespace {

struct State {
    std::uint32_t mt[69];
    std::int32_t index;
    std::uint32_t a, b, c, padding;
};

auto stream_of(std::uint32_t set, const std::vector<std::uint32_t>& key) {
    return seeded<312>(OST_BRNG_MT2203 + set, key);
}

// Floats differ from those of the twister: their bounds are subtracted in single precision.
struct Model : TwisterModel {
    Model(std::uint32_t set, const std::vector<std::uint32_t>& key)
        : TwisterModel{
              {69, 34, 0xFFFFFFE0, 12, _ost_mt2203_table[set][0], _ost_mt2203_table[set][1], _ost_mt2203_table[set][2]},
              {}} {
        const auto words = twister_seeded(69, key);
        x.assign(words.begin(), words.end());
    }
    float as_float(std::uint32_t word, float a, float b) const {
        const float width = b - a;
        return static_cast<float>(word * (double{width} * 0x1p-32) + double{a});
    }
};

TEST(Mt2203, UsesAllSeedWords) {
    for (const int n : {1, 2, 68, 69, 70, 500}) {
        const auto state = stream_of(5, random_key(n)).as<State>();
        EXPECT_EQ(twister_seeded(69, random_key(n)), std::vector(state.mt, state.mt + 69)) << n;
        EXPECT_EQ(69, state.index);
    }
    EXPECT_TRUE(stream_of(5, {}).same_state(stream_of(5, {1})));
}

TEST(Mt2203, HasItsSetsConstants) {
    const std::uint32_t given[][4] = {{0, 0xAF81055F, 0xDD7EEF80, 0xEFD78000},
                                      {1, 0x832604E1, 0x66AD7F80, 0xEBD58000},
                                      {6023, 0xE8761D4B, 0x72967680, 0xEFEB0000}};
    for (const auto& [set, a, b, c] : given) {
        const auto state = stream_of(set, {1}).as<State>();
        EXPECT_EQ((std::vector{a, b, c}), (std::vector{state.a, state.b, state.c})) << set;
        EXPECT_EQ(twister_seeded(69, {1}), std::vector(state.mt, state.mt + 69)) << set;
    }
}

TEST(Mt2203, IsTheSameInAnySplit) {
    for (const std::uint32_t set : {0U, 1U, 3000U, 6023U})
        expect_model_in_any_split(stream_of(set, {set, 2}), Model(set, {set, 2}), 600);
    expect_floats_between_unlike_bounds(stream_of(4, {5}), Model(4, {5}));
}

TEST(Mt2203, RefusesOtherMethods) {
    auto record = stream_of(9, {3});
    expect_other_methods_refused(record);
    EXPECT_EQ(OST_ERR_NO_SKIP, skip(record.stream(), 1));
    EXPECT_TRUE(record.same_state(stream_of(9, {3})));
}

TEST(Mt2203, CopiesItsStateWithoutItsConstants) {
    auto source = stream_of(7, {1, 2}), same_set = stream_of(7, {9}), other_set = stream_of(8, {9});
    draw_words(source.stream(), 30);
    ASSERT_EQ(OST_OK, __ostCopyStreamState(same_set.stream(), source.stream()));
    ASSERT_EQ(OST_OK, __ostCopyStreamState(other_set.stream(), source.stream()));
    EXPECT_EQ(source.as<State>().index, other_set.as<State>().index);
    EXPECT_EQ(_ost_mt2203_table[8][0], other_set.as<State>().a);
    EXPECT_TRUE(same_bits(draw_words(source.stream(), 200), draw_words(same_set.stream(), 200)));
}

TEST(Mt2203, WorksOnAnyIndexThatLoads) {
    auto record = stream_of(2, {11});
    auto state = record.as<State>();
    state.index = 0x7FFFFFFF;
    std::memcpy(record.bytes, &state, sizeof state);
    EXPECT_TRUE(loads(record));
    EXPECT_TRUE(same_bits(draw_words(stream_of(2, {11}).stream(), 300), draw_words(record.stream(), 300)));
    state.index = -1;
    std::memcpy(record.bytes, &state, sizeof state);
    EXPECT_FALSE(loads(record));
}

} // namespace
