// Ids, rows and registrations.

#include "tests/support/toy_generator.h"

#include "nvo_ark/generators.h"

#include <gtest/gtest.h>

namespace {

using namespace nvo::tests;

TEST(Registry, DecodesIds) {
    struct Case {
        std::uint32_t id;
        bool packed;
        std::int32_t index, offset, status;
    };
    constexpr Case cases[] = {
        {0, false, 0, 0, 0},
        {3, false, 3, 0, 0},
        {4, false, 4, 0, 0},
        {20, false, 4, 16, 0},
        {276, false, 4, 272, 0},
        {277, false, 277, 0, 0},
        {280, false, 280, 0, 0},
        {281, false, 281, 0, OST_ERR_BAD_BRNG},
        {0xFFFFF, false, 0xFFFFF, 0, OST_ERR_BAD_BRNG},
        {0x80000000, false, INT32_MIN, 0, OST_ERR_BAD_BRNG},
        {0xFFFFFFFF, false, -1, 0, OST_ERR_BAD_BRNG},
        {OST_BRNG_MCG31M1, true, 0, 0, 0},
        {OST_BRNG_MCG31M1 + 1, true, 0, 1, OST_ERR_BAD_BRNG},
        {OST_BRNG_WH + 272, true, 4, 272, 0},
        {OST_BRNG_WH + 273, true, 4, 273, OST_ERR_BAD_BRNG},
        {OST_BRNG_MT2203 + 6023, true, 8, 6023, 0},
        {OST_BRNG_MT2203 + 6024, true, 8, 6024, OST_ERR_BAD_BRNG},
        {OST_BRNG_PHILOX4X32X10, true, 15, 0, 0},
        {0x7FFFFFFF, true, 2046, 0xFFFFF, OST_ERR_BAD_BRNG},
    };
    std::int32_t index = 0, offset = 0;
    const OstBrng* current = __ostGetBrngBaseOffset(OST_BRNG_MCG31M1, &index, &offset);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.id);
        const OstBrng* table = __ostGetBrngBaseOffset(c.id, &index, &offset);
        EXPECT_EQ(c.packed, table == current);
        EXPECT_EQ(c.index, index);
        EXPECT_EQ(c.offset, offset);
        EXPECT_EQ(c.status, __ostIsBrngValid(table, index, offset));
        OstBrng row{};
        EXPECT_EQ(c.status, __ostGetBrngProperties(c.id, &row));
    }
}

TEST(Registry, GivesTheFirstRegistrationRow16) {
    // Whichever test of a process comes first.
    EXPECT_EQ(0x1100000U, toy_id());
    EXPECT_EQ(17, __ostGetNumRegBrngs());
}

TEST(Registry, BothTablesHaveTheSameRow) {
    constexpr std::uint32_t twins[][2] = {
        {0, OST_BRNG_MCG31M1}, {1, OST_BRNG_R250}, {2, OST_BRNG_MRG32K3A}, {3, OST_BRNG_MCG59},
        {4, OST_BRNG_WH},      {276, OST_BRNG_WH}, {277, OST_BRNG_SOBOL},  {278, OST_BRNG_NIEDERREITER}};
    for (const auto& [legacy, packed] : twins) {
        OstBrng a{}, b{};
        ASSERT_EQ(OST_OK, __ostGetBrngProperties(legacy, &a));
        ASSERT_EQ(OST_OK, __ostGetBrngProperties(packed, &b));
        EXPECT_EQ(a.state_bytes, b.state_bytes) << legacy;
        EXPECT_EQ(a.init_entry, b.init_entry) << legacy;
        EXPECT_EQ(a.i_entry, b.i_entry) << legacy;
    }
}

TEST(Registry, RefusesWhatIsNoGenerator) {
    const auto registered = [](auto change) {
        OstBrng p = toy_properties;
        change(p);
        return __ostRegisterBrng(&p);
    };
    const std::int32_t rows = __ostGetNumRegBrngs();
    EXPECT_EQ(OST_ERR_REG_STATE_SIZE, registered([](OstBrng& p) { p.state_bytes = -1, p.word_bytes = 12; }));
    EXPECT_EQ(OST_ERR_REG_WORD_SIZE, registered([](OstBrng& p) { p.word_bytes = 12, p.seed_words = 0; }));
    EXPECT_EQ(OST_ERR_REG_SEEDS, registered([](OstBrng& p) { p.seed_words = 0, p.bits = 0; }));
    EXPECT_EQ(OST_ERR_REG_BITS, registered([](OstBrng& p) { p.bits = 0, p.s_entry = nullptr; }));
    EXPECT_EQ(OST_ERR_NULL_POINTER, registered([](OstBrng& p) { p.init_entry = nullptr; }));
    EXPECT_EQ(OST_ERR_NULL_POINTER, registered([](OstBrng& p) { p.s_entry = nullptr; }));
    EXPECT_EQ(OST_ERR_NULL_POINTER, registered([](OstBrng& p) { p.d_entry = nullptr; }));
    EXPECT_EQ(OST_ERR_NULL_POINTER, registered([](OstBrng& p) { p.i_entry = nullptr; }));
    EXPECT_EQ(rows, __ostGetNumRegBrngs());
}

// In a process of its own, since rows stay.
TEST(Registry, TakesGeneratorsUpToItsLastRow) {
    const auto fill = [] {
        bool good = true;
        for (std::int32_t row = __ostGetNumRegBrngs(); row < 512; ++row)
            good &= __ostRegisterBrng(&toy_properties) == (row + 1) << 20;
        good &= __ostRegisterBrng(&toy_properties) == OST_ERR_BAD_BRNG && __ostGetNumRegBrngs() == 512;
        OstStream* stream = nullptr;
        good &= __ostNewStreamEx(&stream, 512U << 20, 0, nullptr) == OST_OK && __ostDeleteStream(&stream) == OST_OK;
        good &= __ostNewStreamEx(&stream, 513U << 20, 0, nullptr) == OST_ERR_BAD_BRNG;
        std::exit(good ? 0 : 1);
    };
    EXPECT_EXIT(fill(), testing::ExitedWithCode(0), "");
}

} // namespace
