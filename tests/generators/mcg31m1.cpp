#include "tests/support/streams.h"

#include <bit>

using namespace nvo::tests;

namespace {

constexpr std::uint64_t m = 2147483647;

struct State {
    std::uint32_t x, a;
};

struct Model {
    std::uint32_t x, a = 1132489760;

    std::uint32_t next() {
        const std::uint32_t word = x;
        x = static_cast<std::uint32_t>(std::uint64_t{a} * x % m);
        return word;
    }
    double as_double(std::uint32_t word, double a, double b) const {
        return word * ((b - a) * std::bit_cast<double>(std::uint64_t{0x3E00000000200000})) + a;
    }
    float as_float(std::uint32_t word, float a, float b) const { return static_cast<float>(as_double(word, a, b)); }
};

auto stream_of(const std::vector<std::uint32_t>& seed) { return seeded<24>(OST_BRNG_MCG31M1, seed); }

TEST(Mcg31m1, GivesItsSeedAndThenSteps) {
    auto record = stream_of({1});
    EXPECT_EQ((std::vector<std::uint32_t>{1, 1132489760, 826537482}), draw_words(record.stream(), 3));
}

TEST(Mcg31m1, ReducesSeeds) {
    const auto state = [](const std::vector<std::uint32_t>& seed) { return stream_of(seed).as<State>(); };
    for (const auto& seed : std::vector<std::vector<std::uint32_t>>{{}, {0}, {0x7FFFFFFF}, {0xFFFFFFFE}, {1, 99}})
        EXPECT_EQ(1U, state(seed).x);
    EXPECT_EQ(0x7FFFFFFEU, state({0x7FFFFFFE}).x);
    EXPECT_EQ(1U, state({0xFFFFFFFF}).x);
    EXPECT_EQ(5U, state({0x80000004}).x);
    EXPECT_EQ(1132489760U, state({5}).a);
}

TEST(Mcg31m1, IsTheSameInAnySplit) {
    for (const std::uint32_t x : {1U, 777U, 0x7FFFFFFEU}) expect_model_in_any_split(stream_of({x}), Model{x}, 1500, 1);
}

TEST(Mcg31m1, GivesOneNumberAtLeast) {
    for (const int n : {0, -5}) {
        auto record = stream_of({42});
        std::uint32_t word = 0;
        EXPECT_EQ(OST_OK, __ostiBRngMCG31M1(record.stream(), n, &word));
        EXPECT_EQ(42U, word);
        auto one = stream_of({42});
        draw_words(one.stream(), 1);
        EXPECT_TRUE(one.same_state(record));
    }
}

TEST(Mcg31m1, SkipsAndLeapfrogs) {
    const auto start = stream_of({12345});
    expect_skips<std::uint32_t>(start, {0, 1, 2, 31, 32, 1000});
    for (const int c : {1, 2, 3, 17}) expect_leapfrog_deals<std::uint32_t>(start, c);

    auto period = start;
    EXPECT_EQ(OST_OK, skip(period.stream(), m - 1));
    EXPECT_TRUE(start.same_state(period));

    auto composed = start, direct = start; // 5 of 6 as 2 of 3 of 1 of 2
    leapfrog(composed.stream(), 1, 2);
    leapfrog(composed.stream(), 2, 3);
    leapfrog(direct.stream(), 5, 6);
    EXPECT_TRUE(direct.same_state(composed));
    expect_model_in_any_split(direct, Model{direct.as<State>().x, direct.as<State>().a}, 200, 1);

    auto stuck = start;
    leapfrog(stuck.stream(), 0, 0);
    EXPECT_EQ(std::vector<std::uint32_t>(50, 12345), draw_words(stuck.stream(), 50));
}

TEST(Mcg31m1, RefusesOtherMethods) {
    auto record = stream_of({3});
    const auto before = record;
    const std::uint64_t count = 1;
    EXPECT_EQ(OST_ERR_NO_SKIP_EX, init(record.stream(), OST_METHOD_SKIP_LONG, 1, &count));
    EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), 4, 1, &count));
    EXPECT_TRUE(before.same_state(record));
}

} // namespace
