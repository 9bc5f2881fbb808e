// The two drivers of skip-ahead on a small generator: a ring of 40 bits, x[i + 40] = x[i] ^ x[i + 3].

#include "platform/core_testing.h"
#include "tests/support/streams.h"

using namespace nvo::tests;

namespace {

constexpr int ring = 40;
constexpr std::uint32_t polynomial[] = {0, 3, ring};

struct Toy {
    OstStream head;
    std::int32_t index;
    std::int32_t adjust;
    std::uint8_t x[ring];
};
Toy& toy(OstStream* s) { return *reinterpret_cast<Toy*>(s); }
const Toy& toy(const OstStream* s) { return *reinterpret_cast<const Toy*>(s); }

void zero(OstStream* s) {
    std::fill(toy(s).x, toy(s).x + ring, 0);
    toy(s).index = 0;
}
void add(OstStream* d, const OstStream* s) {
    for (int t = 0; t < ring; ++t) toy(d).x[(toy(d).index + t) % ring] ^= toy(s).x[(toy(s).index + t) % ring];
}
void copy(OstStream* d, const OstStream* s) {
    std::copy(toy(s).x, toy(s).x + ring, toy(d).x);
    toy(d).index = toy(s).index;
}
void update(OstStream* s) {
    const int j = toy(s).index;
    toy(s).x[j] ^= toy(s).x[(j + 3) % ring];
    toy(s).index = (j + 1) % ring;
}
void put_back(OstStream* stream, const OstStream* s, std::int32_t adjust) {
    zero(stream);
    add(stream, s);
    toy(stream).adjust = adjust;
}
// Three steps are done in another way.
std::int32_t process(OstStream* stream, std::uint64_t* count, std::int32_t* adjust) {
    *adjust = 17;
    for (int t = 0; t < 3 && *count > 0; ++t, --*count) update(stream);
    return *count > 0 ? 1 : 0;
}

std::int32_t never(OstStream*, std::uint64_t*, std::int32_t*) {
    ADD_FAILURE() << "there is nothing to process";
    return 1;
}

using Driver = decltype(&__ost_SkipAheadSWin);
constexpr Driver drivers[] = {__ost_SkipAheadSWin, __ost_SkipAheadHorner};

std::int32_t run(Driver driver, Toy& state, std::uint64_t count, OstProcessIndex* processed = process) {
    return driver(&state.head, zero, add, copy, update, put_back, processed, count, (ring + 31) / 32, ring, sizeof(Toy),
                  std::size(polynomial), polynomial);
}

Toy start() {
    Toy s{};
    std::mt19937 random;
    for (auto& bit : s.x) bit = random() % 2;
    s.index = 11;
    return s;
}

std::vector<std::uint8_t> bits(Toy s) {
    std::rotate(s.x, s.x + s.index, s.x + ring);
    return {s.x, s.x + ring};
}

TEST(TwisterSkip, IsManySteps) {
    for (const Driver driver : drivers) {
        Toy stepped = start();
        for (std::uint64_t count = 0; count < 2000; ++count) {
            Toy skipped = start();
            ASSERT_EQ(OST_OK, run(driver, skipped, count));
            EXPECT_EQ(bits(stepped), bits(skipped)) << count;
            EXPECT_EQ(count > 3 ? 17 : 0, skipped.adjust);
            update(&stepped.head);
        }
    }
}

TEST(TwisterSkip, AddsUpOnBothWays) {
    for (const std::uint64_t count : {std::uint64_t{1} << 20, std::uint64_t{1} << 63, UINT64_MAX}) {
        Toy window = start(), horner = start(), twice = start();
        run(__ost_SkipAheadSWin, window, count);
        run(__ost_SkipAheadHorner, horner, count);
        run(__ost_SkipAheadHorner, twice, count / 3);
        run(__ost_SkipAheadSWin, twice, count - count / 3);
        EXPECT_EQ(bits(window), bits(horner)) << count;
        EXPECT_EQ(bits(window), bits(twice)) << count;
    }
}

TEST(TwisterSkip, DoesNothingForZero) {
    for (const Driver driver : drivers) {
        Toy s = start();
        EXPECT_EQ(OST_OK, run(driver, s, 0, never));
        EXPECT_EQ(bits(start()), bits(s));
    }
}

TEST(TwisterSkip, SaysWhenMemoryIsRefused) {
    const long before = nvo_core_testing_live_blocks();
    for (const Driver driver : drivers) {
        bool all_served = false;
        for (long n = 1; !all_served; ++n) {
            Toy s = start();
            nvo_core_testing_fail_allocation(n);
            const std::int32_t status = run(driver, s, 1000);
            all_served = nvo_core_testing_fail_allocation(0) > 0;
            EXPECT_EQ(all_served ? OST_OK : OST_ERR_NO_MEMORY, status) << n;
            EXPECT_EQ(before, nvo_core_testing_live_blocks()) << n;
        }
    }
}

} // namespace
