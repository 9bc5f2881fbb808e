#include "tests/support/streams.h"

#include <array>
#include <cfenv>
#include <cmath>
#include <tuple>
#include <utility>

using namespace nvo::tests;

namespace {

using Four = std::array<std::uint32_t, 4>;

struct State {
    Four x, a;
};

struct Model {
    int set;
    State state;

    Four next() {
        const Four word = state.x;
        for (int i = 0; i < 4; ++i)
            state.x[i] = static_cast<std::uint32_t>(std::uint64_t{state.a[i]} * state.x[i] % _ost_WH_M[set][i]);
        return word;
    }
    double as_double(const Four& x, double a, double b) const {
        double part[4];
        for (int i = 0; i < 4; ++i) part[i] = x[i] * (1.0 / _ost_WH_M[set][i]);
        const double t = (part[3] + part[2]) + (part[1] + part[0]);
        return (t - std::trunc(t)) * (b - a) + a;
    }
    float as_float(const Four& x, float a, float b) const { return static_cast<float>(as_double(x, a, b)); }
};

auto stream_of(int set, const std::vector<std::uint32_t>& seed) {
    return seeded<48>(OST_BRNG_WH + static_cast<std::uint32_t>(set), seed);
}
Model model_of(int set, const Record<48>& record) { return {set, record.as<State>()}; }

std::uint32_t power(std::uint64_t a, std::uint32_t e, std::uint32_t m) {
    std::uint64_t result = 1;
    for (std::uint32_t i = 0; i < e % (m - 1); ++i) result = result * a % m;
    return static_cast<std::uint32_t>(result);
}

TEST(Wh, TakesItsSetFromEitherIdAndReducesSeeds) {
    const State state = stream_of(100, {16726343 + 5, 16726337, 0, 7, 8, 9, 10, 11, 12}).as<State>();
    EXPECT_EQ((Four{5, 1, 1, 7}), state.x);
    EXPECT_EQ((Four{127, 126, 120, 125}), state.a);
    EXPECT_EQ((Four{6, 1, 1, 1}), stream_of(272, {6}).as<State>().x);
    EXPECT_EQ((Four{126, 127, 125, 124}), stream_of(272, {}).as<State>().a);

    auto legacy = seeded<48>(4 + 272, {1, 2, 3, 4});
    auto packed = stream_of(272, {1, 2, 3, 4});
    EXPECT_TRUE(legacy.same_state(packed));
    EXPECT_TRUE(same_bits(draw_words<Four>(legacy.stream(), 33), draw_words<Four>(packed.stream(), 33)));
    EXPECT_TRUE(legacy.same_state(packed));
}

TEST(Wh, IsTheSameInAnySplit) {
    for (const int set : {0, 1, 116, 272}) {
        const auto start = stream_of(set, {1, 16000000, 77, 16718908});
        expect_model_in_any_split(start, model_of(set, start));
    }
}

TEST(Wh, SkipsAndLeapfrogs) {
    const auto start = stream_of(3, {1, 2, 3, 4});
    expect_skips<Four>(start, {0, 1, 2, 7, 8, 1000});
    for (const int c : {1, 2, 3, 17}) expect_leapfrog_deals<Four>(start, c);

    auto period = start; // of the first component
    EXPECT_EQ(OST_OK, skip(period.stream(), (std::uint64_t{_ost_WH_M[3][0]} - 1) << 20));
    EXPECT_EQ(start.as<State>().x[0], period.as<State>().x[0]);
    EXPECT_NE(start.as<State>().x[1], period.as<State>().x[1]);

    auto composed = start, direct = start; // 5 of 6 as 2 of 3 of 1 of 2
    leapfrog(composed.stream(), 1, 2);
    leapfrog(composed.stream(), 2, 3);
    leapfrog(direct.stream(), 5, 6);
    EXPECT_TRUE(direct.same_state(composed));
    expect_model_in_any_split(direct, model_of(3, direct), 200);
}

// Quotients in floating point are exact: for every set, with short and with long multipliers, where the remainder is
// as near to 0 and to the modulus as can be, in every rounding direction.
TEST(Wh, IsReducedExactlyInAllLanes) {
    for (int set = 0; set < 273; ++set) {
        for (const int c : {1, 1000}) {
            // Lanes take four steps at once: from inverses of the fourth power they come to 1 and to m - 1.
            const auto dealt = [&](const std::vector<std::uint32_t>& seed) {
                auto record = stream_of(set, seed);
                leapfrog(record.stream(), 0, c);
                return record;
            };
            const Four a = dealt({}).as<State>().a;
            std::vector<std::uint32_t> seed;
            for (int i = 0; i < 4; ++i) {
                const std::uint32_t m = _ost_WH_M[set][i];
                const std::uint64_t inverse = [&] { // by the extended Euclidean algorithm
                    std::int64_t r0 = m, r1 = a[i], t0 = 0, t1 = 1;
                    while (r1 != 0) {
                        const std::int64_t q = r0 / r1;
                        std::tie(r0, r1) = std::pair(r1, r0 - q * r1);
                        std::tie(t0, t1) = std::pair(t1, t0 - q * t1);
                    }
                    return static_cast<std::uint64_t>(t0 < 0 ? t0 + m : t0);
                }();
                const std::uint64_t fourth = power(inverse, 4, m);
                seed.push_back(static_cast<std::uint32_t>(i % 2 == 0 ? fourth : m - fourth));
            }
            const auto start = dealt(seed);
            Model model = model_of(set, start);
            std::vector<Four> expected(300);
            for (Four& word : expected) word = model.next();
            ASSERT_EQ(1U, expected[4][0]);
            ASSERT_EQ(_ost_WH_M[set][1] - 1, expected[4][1]);
            for (const int direction : {FE_TONEAREST, FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
                auto record = start;
                std::fesetround(direction);
                const auto words = draw_words<Four>(record.stream(), static_cast<std::int32_t>(expected.size()));
                std::fesetround(FE_TONEAREST);
                EXPECT_TRUE(same_bits(expected, words)) << "set " << set;
            }
        }
    }
}

// Residues that aren't reduced, which no seeding makes, but an image may hold.
TEST(Wh, WorksOnAnyState) {
    for (const State& forged : {State{{0xFFFFFFFF, 5, 16770647, 5}, {3, 3, 3, 3}},
                                State{{16770000, 1, 2, 3}, {0xFFFFFFFF, 0xFFFFFFFE, 3, 0x80000000}}}) {
        auto record = stream_of(0, {});
        std::memcpy(record.bytes, &forged, sizeof forged);
        Model model = {0, forged};
        std::vector<Four> expected(100);
        for (Four& word : expected) word = model.next();
        EXPECT_TRUE(same_bits(expected, draw_words<Four>(record.stream(), 100)));
    }
}

TEST(Wh, RefusesOtherMethods) {
    auto record = stream_of(9, {3});
    const auto before = record;
    const std::uint64_t count = 1;
    EXPECT_EQ(OST_ERR_NO_SKIP_EX, init(record.stream(), OST_METHOD_SKIP_LONG, 1, &count));
    EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), 4, 1, &count));
    EXPECT_TRUE(before.same_state(record));
}

} // namespace
