#include "tests/support/streams.h"

#include <cstddef>
#include <deque>
#include <numeric>

using namespace nvo::tests;

namespace {

struct State {
    std::uint32_t x[250];
    std::int32_t p, q;
};

struct Model {
    std::deque<std::uint32_t> last; // 250 words, oldest first

    std::uint32_t next() {
        last.push_back(last[0] ^ last[103]);
        last.pop_front();
        return last.back();
    }
    double as_double(std::uint32_t word, double a, double b) const { return word * ((b - a) * 0x1p-32) + a; }
    float as_float(std::uint32_t word, float a, float b) const { return static_cast<float>(as_double(word, a, b)); }
};

auto stream_of(const std::vector<std::uint32_t>& seed) { return seeded<1024>(OST_BRNG_R250, seed); }
Model model_of(const Record<1024>& seeded) {
    const State state = seeded.as<State>();
    return {{std::begin(state.x), std::end(state.x)}};
}

std::vector<std::uint32_t> words(int n) {
    std::vector<std::uint32_t> seed(n);
    std::iota(seed.begin(), seed.end(), 0xFFFFFF00U);
    return seed;
}

TEST(R250, TakesAWholeRingAsItIs) {
    const State state = stream_of(words(251)).as<State>();
    for (int i = 0; i < 250; ++i) EXPECT_EQ(0xFFFFFF00U + i, state.x[i]);
    EXPECT_EQ(0, state.p);
    EXPECT_EQ(103, state.q);

    auto zeros = stream_of(std::vector<std::uint32_t>(250, 0));
    EXPECT_EQ(std::vector<std::uint32_t>(300, 0), draw_words(zeros.stream(), 300));
    auto ring = stream_of(words(250));
    EXPECT_EQ(0xFFFFFF00U ^ (0xFFFFFF00U + 103), draw_words(ring.stream(), 1)[0]);
}

TEST(R250, FillsItsRingFromOneWord) {
    const auto check = [](const std::vector<std::uint32_t>& seed, std::uint32_t v) {
        const State state = stream_of(seed).as<State>();
        for (int i = 0; i < 250; ++i) {
            v *= 69069;
            if (i % 7 == 3 && i <= 220) {
                const int j = (i - 3) / 7; // leading zeros, then a 1, then what was there
                EXPECT_EQ(j, __builtin_clz(state.x[i])) << i;
                EXPECT_EQ(0U, (state.x[i] ^ v) & (0x7FFFFFFFU >> j)) << i;
            } else {
                EXPECT_EQ(v, state.x[i]) << i;
            }
        }
        EXPECT_EQ(1U, state.x[220]);
    };
    check({}, 1);
    check({0, 5}, 1);
    check({12345}, 12345);
    check(words(249), 0xFFFFFF00U);
}

TEST(R250, IsTheSameInAnySplit) {
    for (const auto& seed : {words(1), words(250)}) {
        const auto start = stream_of(seed);
        expect_model_in_any_split(start, model_of(start));
    }
}

// An image whose indices lie outside the ring, or not 103 apart, is refused.
TEST(R250, ChecksTheIndicesOfAnImage) {
    struct Case {
        std::int32_t p, q, status;
    };
    const Case cases[] = {
        {0, 103, 0},       {146, 249, 0},         {147, 0, 0},           {249, 102, 0},
        {250, 103, -1200}, {-1, 102, -1200},      {0, 104, -1200},       {147, 250, -1200},
        {0, -147, -1200},  {INT32_MIN, 0, -1200}, {INT32_MAX, 0, -1200},
    };
    auto record = stream_of(words(250));
    std::vector<unsigned char> image(__ostGetStreamSize(record.stream()));
    for (const Case& c : cases) {
        EXPECT_EQ(OST_OK, __ostSaveStreamM(record.stream(), image.data()));
        std::memcpy(&image[20 + offsetof(State, p)], &c.p, 4);
        std::memcpy(&image[20 + offsetof(State, q)], &c.q, 4);
        OstStream* loaded = nullptr;
        EXPECT_EQ(c.status, __ostLoadStreamM(&loaded, image.data())) << c.p << " " << c.q;
        EXPECT_EQ(c.status == OST_OK, loaded != nullptr);
        if (loaded != nullptr) {
            draw_words(loaded, 600);
            __ostDeleteStream(&loaded);
        }
    }
}

TEST(R250, RefusesOtherMethods) {
    auto record = stream_of({3});
    const auto before = record;
    const std::uint64_t count = 1;
    EXPECT_EQ(OST_ERR_NO_LEAPFROG, leapfrog(record.stream(), 0, 2));
    EXPECT_EQ(OST_ERR_NO_SKIP, skip(record.stream(), count));
    EXPECT_EQ(OST_ERR_NO_SKIP_EX, init(record.stream(), OST_METHOD_SKIP_LONG, 1, &count));
    EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), 4, 1, &count));
    EXPECT_TRUE(before.same_state(record));
}

} // namespace
