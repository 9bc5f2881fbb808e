#include "platform/core_testing.h"
#include "tests/support/streams.h"

#include <array>
#include <bit>

using namespace nvo::tests;

namespace {

constexpr std::int64_t m1 = 4294967087, m2 = 4294944443;
using Six = std::array<std::uint32_t, 6>;

struct Model {
    Six x; // x1, then x2, oldest first

    std::uint32_t next() {
        const std::int64_t new1 = (1403580LL * x[1] - 810728LL * x[0]) % m1;
        const std::int64_t new2 = (527612LL * x[5] - 1370589LL * x[3]) % m2;
        x = {x[1], x[2], static_cast<std::uint32_t>(new1 < 0 ? new1 + m1 : new1),
             x[4], x[5], static_cast<std::uint32_t>(new2 < 0 ? new2 + m2 : new2)};
        const std::int64_t z = std::int64_t{x[2]} - x[5];
        return static_cast<std::uint32_t>(z < 0 ? z + m1 : z);
    }
    double as_double(std::uint32_t word, double a, double b) const {
        return word * ((b - a) * std::bit_cast<double>(std::uint64_t{0x3DF000000D10000B})) + a;
    }
    float as_float(std::uint32_t word, float a, float b) const { return static_cast<float>(as_double(word, a, b)); }
};

auto stream_of(const std::vector<std::uint32_t>& seed) { return seeded<40>(OST_BRNG_MRG32K3A, seed); }
std::int32_t skip_long(OstStream* stream, const std::vector<std::uint64_t>& words) {
    return init(stream, OST_METHOD_SKIP_LONG, static_cast<std::int32_t>(words.size()), words.data());
}

TEST(Mrg32k3a, GivesPublishedNumbers) {
    auto ones = stream_of({});
    EXPECT_EQ((std::vector<std::uint32_t>{1458473, 2387489380, 61008550}), draw_words(ones.stream(), 3));
    // The author's program, seeded with 12345 throughout, prints these six digits; it divides by m1 + 1.
    auto stream = stream_of(std::vector<std::uint32_t>(6, 12345));
    const auto numbers = draw_doubles(stream.stream(), 5);
    const double published[] = {0.127011, 0.318528, 0.309186, 0.825847, 0.221630};
    for (int i = 0; i < 5; ++i) EXPECT_NEAR(published[i], numbers[i], 5.01e-7);
}

TEST(Mrg32k3a, CompletesAndReducesSeeds) {
    const auto state = [](const std::vector<std::uint32_t>& seed) { return stream_of(seed).as<Six>(); };
    EXPECT_EQ((Six{1, 1, 1, 1, 1, 1}), state({}));
    EXPECT_EQ((Six{9, 8, 1, 1, 1, 1}), state({9, 8}));
    EXPECT_EQ((Six{1, 2, 3, 4, 5, 6}), state({1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ((Six{1, 0, 0, 1, 1, 1}), state({0xFFFFFF2F, 0, 0}));
    EXPECT_EQ((Six{1, 0, 0, 1, 0, 0}), state({0, 0, 0, 0, 0xFFFFA6BB, 0}));
    EXPECT_EQ((Six{208, 0, 0xFFFFFF2E, 22852, 0, 0xFFFFA6BA}),
              state({0xFFFFFFFF, 0xFFFFFF2F, 0xFFFFFF2E, 0xFFFFFFFF, 0xFFFFA6BB, 0xFFFFA6BA}));
}

TEST(Mrg32k3a, IsTheSameInAnySplit) {
    const auto top1 = static_cast<std::uint32_t>(m1 - 1), top2 = static_cast<std::uint32_t>(m2 - 1);
    for (const Six& x : {Six{1, 1, 1, 1, 1, 1}, Six{top1, top1, top1, top2, top2, top2}, Six{top1, 0, 0, 0, top2, 0}})
        expect_model_in_any_split(stream_of({x.begin(), x.end()}), Model{x});
}

// Long enough for the rare sums just above the moduli, one in 2^17.
TEST(Mrg32k3a, IsReducedInAllLanes) {
    Model model{{5, 0xFFFFFF2E, 7, 11, 13, 0xFFFFA6BA}};
    auto stream = stream_of({model.x.begin(), model.x.end()});
    std::vector<std::uint32_t> expected(2000000);
    for (auto& word : expected) word = model.next();
    EXPECT_TRUE(same_bits(expected, draw_words(stream.stream(), static_cast<std::int32_t>(expected.size()))));
}

TEST(Mrg32k3a, GivesTheLowerBoundForZero) {
    auto record = stream_of({0, 0, 5, 0, 7, 0}); // both components step to 0
    auto again = record;
    EXPECT_EQ(0U, draw_words(record.stream(), 1)[0]);
    EXPECT_EQ(-0.25, draw_doubles(again.stream(), 1, -0.25, 3)[0]);
}

TEST(Mrg32k3a, Skips) {
    const auto start = stream_of({1, 2, 3, 4, 5, 6});
    expect_skips<std::uint32_t>(start, {0, 1, 2, 3, 15, 16, 17, 1000});
    for (const std::uint64_t count : {std::uint64_t{0}, std::uint64_t{77}, std::uint64_t{1} << 63, ~std::uint64_t{0}}) {
        auto one_word = start, same = start;
        EXPECT_EQ(OST_OK, skip(one_word.stream(), count));
        EXPECT_EQ(OST_OK, skip_long(same.stream(), {count}));
        EXPECT_TRUE(one_word.same_state(same)) << count;
    }
}

TEST(Mrg32k3a, SkipsByManyWords) {
    const auto start = stream_of({1, 2, 3, 4, 5, 6});
    constexpr std::uint64_t top = std::uint64_t{1} << 63;
    const auto skipped = [&](const std::vector<std::vector<std::uint64_t>>& counts) {
        auto record = start;
        for (const auto& words : counts) EXPECT_EQ(OST_OK, skip_long(record.stream(), words));
        return record;
    };
    const auto same = [&](const auto& a, const auto& b) { return skipped(a).same_state(skipped(b)); };
    using Counts = std::vector<std::vector<std::uint64_t>>;
    EXPECT_TRUE(same(Counts{{top}, {top}}, Counts{{0, 1}}));
    EXPECT_TRUE(same(Counts{{1, 2, 3}}, Counts{{1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0}}));
    EXPECT_TRUE(same(Counts{{5, 6, top}, {5, 6, top}}, Counts{{10, 12, 0, 1}})); // table against powers
    EXPECT_TRUE(same(Counts{{0, 0, 0, 0, 0, 0, 0, 0, 0, top}, {0, 0, 0, 0, 0, 0, 0, 0, 0, top}},
                     Counts{{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}})); // stack against block
    EXPECT_TRUE(skipped({}).same_state(skipped({{}, {0, 0}})));
}

// A long skip that finds no memory leaves the stream where it was, whichever component fails.
TEST(Mrg32k3a, StaysWhenMemoryIsShort) {
    const std::vector<std::uint64_t> words(11, 1);
    const auto start = stream_of({1, 2, 3, 4, 5, 6});
    const long blocks = nvo_core_testing_live_blocks();
    for (long n = 1;; ++n) {
        auto record = start;
        nvo_core_testing_fail_allocation(n);
        const std::int32_t status = skip_long(record.stream(), words);
        EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
        if (nvo_core_testing_fail_allocation(0) > 0) {
            EXPECT_EQ(OST_OK, status);
            EXPECT_EQ(3, n);
            break;
        }
        EXPECT_EQ(OST_ERR_NO_MEMORY, status);
        EXPECT_TRUE(start.same_state(record));
    }
}

TEST(Mrg32k3a, RefusesOtherMethods) {
    auto record = stream_of({3});
    const auto before = record;
    EXPECT_EQ(OST_ERR_NO_LEAPFROG, leapfrog(record.stream(), 0, 2));
    EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), 4, 0, nullptr));
    EXPECT_TRUE(before.same_state(record));
}

} // namespace
