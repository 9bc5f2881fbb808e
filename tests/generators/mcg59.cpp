#include "tests/support/streams.h"

using namespace nvo::tests;

namespace {

using Word = std::uint64_t;
constexpr Word m = Word{1} << 59;

struct State {
    Word x, a;
};

struct Model {
    Word x, a = 302875106592253;

    Word next() {
        const Word word = x;
        x = static_cast<Word>(static_cast<unsigned __int128>(a) * x % m);
        return word;
    }
    double as_double(Word word, double a, double b) const {
        return static_cast<double>(word) * ((b - a) * 0x1p-59) + a;
    }
    float as_float(Word word, float a, float b) const {
        return static_cast<float>(word) * static_cast<float>((static_cast<double>(b) - a) * 0x1p-59) + a;
    }
};

auto stream_of(const std::vector<std::uint32_t>& seed) { return seeded<32>(OST_BRNG_MCG59, seed); }

TEST(Mcg59, GivesItsSeedAndThenSteps) {
    auto record = stream_of({1});
    EXPECT_EQ((std::vector<Word>{1, 302875106592253, 458357793578900489}), draw_words<Word>(record.stream(), 3));
}

TEST(Mcg59, MasksSeeds) {
    const auto state = [](const std::vector<std::uint32_t>& seed) { return stream_of(seed).as<State>(); };
    for (const auto& seed : std::vector<std::vector<std::uint32_t>>{{}, {0}, {0, 0}, {0, 0x08000000}, {1, 0xF8000000}})
        EXPECT_EQ(1U, state(seed).x);
    EXPECT_EQ(0xFFFFFFFFU, state({0xFFFFFFFF}).x);
    EXPECT_EQ(m - 1, state({0xFFFFFFFF, 0xFFFFFFFF, 7}).x);
    EXPECT_EQ(302875106592253U, state({5}).a);
}

TEST(Mcg59, IsTheSameInAnySplit) {
    for (const Word x : {Word{1}, Word{0x123456789ABCDEF}, m - 1}) {
        const std::vector<std::uint32_t> seed = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(x >> 32)};
        expect_model_in_any_split(stream_of(seed), Model{x});
    }
}

TEST(Mcg59, SkipsAndLeapfrogs) {
    const auto start = stream_of({12345, 678});
    expect_skips<Word>(start, {0, 1, 2, 31, 32, 1000});
    for (const int c : {1, 2, 3, 17}) expect_leapfrog_deals<Word>(start, c);

    auto period = start;
    EXPECT_EQ(OST_OK, skip(period.stream(), Word{1} << 57));
    EXPECT_TRUE(start.same_state(period));
    auto half = start;
    EXPECT_EQ(OST_OK, skip(half.stream(), Word{1} << 56));
    EXPECT_FALSE(start.same_state(half));

    auto composed = start, direct = start; // 5 of 6 as 2 of 3 of 1 of 2
    leapfrog(composed.stream(), 1, 2);
    leapfrog(composed.stream(), 2, 3);
    leapfrog(direct.stream(), 5, 6);
    EXPECT_TRUE(direct.same_state(composed));
    expect_model_in_any_split(direct, Model{direct.as<State>().x, direct.as<State>().a}, 200);
}

TEST(Mcg59, RefusesOtherMethods) {
    auto record = stream_of({3});
    const auto before = record;
    const std::uint64_t count = 1;
    EXPECT_EQ(OST_ERR_NO_SKIP_EX, init(record.stream(), OST_METHOD_SKIP_LONG, 1, &count));
    EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), 4, 1, &count));
    EXPECT_TRUE(before.same_state(record));
}

} // namespace
