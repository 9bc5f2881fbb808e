// The life of a stream, with a generator that is registered here.

#include "platform/core_testing.h"
#include "tests/support/toy_generator.h"

#include "nvo_ark/distributions.h"
#include "nvo_ark/generators.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using namespace nvo::tests;

std::vector<std::uint32_t> words(OstStream* stream, int n) {
    std::vector<std::uint32_t> r(n);
    EXPECT_EQ(OST_OK, _ostiRngUniformBits(0, stream, n, r.data()));
    return r;
}

OstStream* toy(std::uint32_t seed) {
    OstStream* stream = nullptr;
    EXPECT_EQ(OST_OK, __ostNewStreamEx(&stream, toy_id(), 1, &seed));
    return stream;
}

void* block_of(const char* text) {
    void* data = nvo_serv_allocate(16, 128);
    std::snprintf(static_cast<char*>(data), 16, "%s", text);
    return data;
}

TEST(Stream, IsCreatedCopiedAndDeleted) {
    const long before = nvo_core_testing_live_blocks();
    OstStream* a = toy(5);
    EXPECT_EQ(toy_id(), a->brng);
    EXPECT_EQ(toy_id(), __ostGetStreamStateBrng(a));
    EXPECT_EQ(1, a->live_flag);
    EXPECT_EQ(nullptr, a->chunks);
    EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(a) % 128);
    ASSERT_EQ(OST_OK, __ostAddChunk(a, 1, nullptr, block_of("one"), 16));
    ASSERT_EQ(OST_OK, __ostAddChunk(a, 2, nullptr, block_of("two"), 16));
    EXPECT_EQ((std::vector<std::uint32_t>{5, 6, 7}), words(a, 3));

    OstStream* b = nullptr;
    ASSERT_EQ(OST_OK, __ostCopyStream(&b, a));
    EXPECT_EQ(2, __ostGetNumChunks(b));
    EXPECT_STREQ("two", static_cast<char*>(__ostSearchChunk(b, 2)));
    EXPECT_NE(__ostSearchChunk(a, 2), __ostSearchChunk(b, 2));
    EXPECT_EQ((std::vector<std::uint32_t>{8, 9}), words(a, 2));
    EXPECT_EQ((std::vector<std::uint32_t>{8, 9}), words(b, 2));

    EXPECT_EQ(OST_OK, __ostDeleteStream(&a));
    EXPECT_EQ(nullptr, a);
    EXPECT_EQ(OST_OK, __ostDeleteStream(&b));
    EXPECT_EQ(before, nvo_core_testing_live_blocks());
}

TEST(Stream, StateIsCopiedInItsProperPartAlone) {
    OstStream* a = toy(100);
    OstStream* b = toy(7);
    ASSERT_EQ(OST_OK, __ostLeapfrogStream(a, 1, 10));
    ASSERT_EQ(OST_OK, __ostAddChunk(a, 1, nullptr, block_of("one"), 16));
    ASSERT_EQ(OST_OK, __ostAddChunk(b, 2, nullptr, block_of("two"), 16));
    EXPECT_EQ(OST_OK, __ostCopyStreamState(a, a));
    EXPECT_EQ(1, __ostGetNumChunks(a));
    ASSERT_EQ(OST_OK, __ostCopyStreamState(b, a));
    EXPECT_EQ((std::vector<std::uint32_t>{101, 102}), words(b, 2)); // its own step
    EXPECT_EQ(nullptr, __ostSearchChunk(b, 2));
    EXPECT_STREQ("one", static_cast<char*>(__ostSearchChunk(b, 1)));
    __ostDeleteStream(&a);
    __ostDeleteStream(&b);
}

TEST(Stream, SplittingGoesToTheGenerator) {
    OstStream* stream = toy(0);
    EXPECT_EQ(OST_ERR_LEAPFROG_COUNT, __ostLeapfrogStream(stream, 0, -1));
    EXPECT_EQ(OST_OK, __ostLeapfrogStream(stream, 2, 3));
    EXPECT_EQ(OST_OK, __ostSkipAheadStream(stream, 10));
    const std::uint64_t count[] = {100, 0};
    EXPECT_EQ(OST_OK, __ostSkipAheadStreamEx(stream, 2, count));
    EXPECT_EQ((std::vector<std::uint32_t>{332, 335}), words(stream, 2));
    __ostDeleteStream(&stream);
}

TEST(Stream, BadIdsMakeNone) {
    const long before = nvo_core_testing_live_blocks();
    for (const std::uint32_t id : {0xA00000U, 0xB00000U, 0xC00000U, 279U, 280U, 281U, 0xFFFFFU, 0xFFFFFFFFU,
                                   0x500000U + 273, 0x900000U + 6024, 0x20000000U}) {
        OstStream* stream = nullptr;
        EXPECT_EQ(OST_ERR_BAD_BRNG, __ostNewStreamEx(&stream, id, 0, nullptr)) << id;
        EXPECT_EQ(nullptr, stream) << id;
    }
    EXPECT_EQ(before, nvo_core_testing_live_blocks());
}

TEST(Stream, StaysAfterAFailedSeeding) {
    const std::uint32_t seed[2] = {};
    OstStream* stream = nullptr;
    EXPECT_EQ(OST_ERR_ARGUMENT, __ostNewStreamEx(&stream, toy_id(), 2, seed));
    ASSERT_NE(nullptr, stream);
    __ostDeleteStream(&stream);
}

TEST(Stream, EveryAllocationMayFail) {
    OstStream* source = toy(1);
    ASSERT_EQ(OST_OK, __ostAddChunk(source, 1, nullptr, block_of("one"), 16));
    ASSERT_EQ(OST_OK, __ostAddChunk(source, 2, nullptr, block_of("two"), 16));
    const long before = nvo_core_testing_live_blocks();
    int tried = 0;
    for (;; ++tried) {
        nvo_core_testing_fail_allocation(tried + 1);
        OstStream* copy = nullptr;
        const std::int32_t status = __ostCopyStream(&copy, source);
        const bool all_served = nvo_core_testing_fail_allocation(0) > 0;
        EXPECT_EQ(all_served ? OST_OK : OST_ERR_NO_MEMORY, status);
        EXPECT_EQ(tried == 0, copy == nullptr);
        if (copy != nullptr) {
            EXPECT_EQ(all_served ? 2 : 0, __ostGetNumChunks(copy));
            __ostDeleteStream(&copy);
        }
        EXPECT_EQ(before, nvo_core_testing_live_blocks());
        if (all_served) break;
    }
    EXPECT_EQ(5, tried); // the record, and record and data of each chunk
    __ostDeleteStream(&source);
}

} // namespace
