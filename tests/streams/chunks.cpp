// Chunks and the table of shared blocks.

#include "platform/core_testing.h"
#include "tests/support/toy_generator.h"

#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace {

using namespace nvo::tests;

class Chunks : public testing::Test {
protected:
    void SetUp() override { before_ = nvo_core_testing_live_blocks(); }
    void TearDown() override { EXPECT_EQ(before_, nvo_core_testing_live_blocks()); }

private:
    long before_ = 0;
};
using ChunksOfThreads = Chunks;

struct Id {
    std::uint64_t words[2];
    Id() { __ostGenerateNewGlobalRODataTableEntryId(words, 1); }
};

void* block() { return nvo_serv_allocate(8, 128); }

OstSharedData* row_of(const Id& id) {
    OstSharedData* row = nullptr;
    return __ostFindGlobRODataTableEntry(&row, id.words) == OST_OK ? row : nullptr;
}

TEST_F(Chunks, AreFoundAndDeletedById) {
    OstStream stream{};
    EXPECT_EQ(nullptr, __ostSearchChunk(&stream, 3));
    void* blocks[6];
    for (std::uint32_t i = 0; i < 6; ++i) {
        blocks[i] = block();
        ASSERT_EQ(OST_OK, __ostAddChunk(&stream, i % 3, nullptr, blocks[i], 8)); // 2 1 0 2 1 0 from the head
    }
    EXPECT_EQ(6, __ostGetNumChunks(&stream));
    EXPECT_EQ(blocks[4], __ostSearchChunk(&stream, 1));
    __ostDeleteChunksById(&stream, 7);
    EXPECT_EQ(6, __ostGetNumChunks(&stream));
    __ostDeleteChunksById(&stream, 2);
    std::vector<std::uint32_t> ids;
    for (const OstChunk* chunk = stream.chunks; chunk != nullptr; chunk = chunk->next) ids.push_back(chunk->id);
    EXPECT_EQ((std::vector<std::uint32_t>{1, 0, 1, 0}), ids);
    ASSERT_EQ(OST_OK, __ostAddChunk(&stream, 9, nullptr, nullptr, 0));
    __ostDeleteChunks(&stream);
    EXPECT_EQ(nullptr, stream.chunks);
}

TEST_F(Chunks, ShareABlockByItsTableId) {
    OstStream a{}, b{};
    const Id id;
    void* first = block();
    ASSERT_EQ(OST_OK, __ostAddChunk(&a, 9, id.words, first, 8));
    ASSERT_NE(nullptr, row_of(id));
    EXPECT_EQ(1U, row_of(id)->references);
    ASSERT_EQ(OST_OK, __ostAddChunk(&b, 9, id.words, block(), 8)); // freed, since the other one is there
    EXPECT_EQ(first, __ostSearchChunk(&b, 9));
    EXPECT_EQ(2U, row_of(id)->references);
    OstStream forged{};
    ASSERT_EQ(OST_OK, __ostAddChunk(&forged, 9, id.words, nvo_serv_allocate(16, 128), 16)); // no such block
    EXPECT_NE(first, __ostSearchChunk(&forged, 9));
    EXPECT_EQ(2U, row_of(id)->references);
    __ostDeleteChunks(&forged);
    OstStream c{};
    ASSERT_EQ(OST_OK, __ostCopyChunks(&c, &b));
    EXPECT_EQ(first, __ostSearchChunk(&c, 9));
    EXPECT_EQ(3U, row_of(id)->references);
    OstChunk like{};
    __ostRegisterGlobRODataReference(&like, id.words);
    EXPECT_EQ(first, like.data);
    __ostUnregisterGlobRODataReference(id.words);
    __ostDeleteChunks(&a);
    __ostDeleteChunks(&c);
    EXPECT_EQ(1U, row_of(id)->references);
    __ostDeleteChunks(&b);
    EXPECT_EQ(nullptr, row_of(id));
}

TEST_F(Chunks, RowsMoveUpWhereOneGoes) {
    OstStream streams[3]{};
    const Id ids[3];
    void* blocks[3];
    for (int i = 0; i < 3; ++i) {
        blocks[i] = block();
        ASSERT_EQ(OST_OK, __ostAddChunk(&streams[i], 9, ids[i].words, blocks[i], 8));
    }
    __ostDeleteChunks(&streams[0]);
    EXPECT_EQ(nullptr, row_of(ids[0]));
    for (int i = 1; i < 3; ++i) {
        ASSERT_NE(nullptr, row_of(ids[i]));
        EXPECT_EQ(blocks[i], row_of(ids[i])->data);
        __ostDeleteChunks(&streams[i]);
    }
}

TEST_F(Chunks, ArePrivateWhereTheTableIsFull) {
    std::vector<OstStream> streams(130);
    std::vector<Id> ids(130);
    for (std::size_t i = 0; i < 127; ++i) ASSERT_EQ(OST_OK, __ostAddChunk(&streams[i], 9, ids[i].words, block(), 8));
    ASSERT_EQ(OST_OK, __ostAddChunk(&streams[127], 9, ids[127].words, block(), 8)); // the last row isn't for chunks
    EXPECT_EQ(nullptr, row_of(ids[127]));
    EXPECT_EQ(0U, streams[127].chunks->table_id[0] | streams[127].chunks->table_id[1]);
    OstSharedData* row = nullptr;
    EXPECT_EQ(OST_OK, __ostCreateGlobRODataTableEntry(&row, ids[128].words, block()));
    EXPECT_EQ(row, row_of(ids[128]));
    EXPECT_EQ(OST_ERR_TABLE_FULL, __ostCreateGlobRODataTableEntry(&row, ids[129].words, nullptr));
    OstStream copy{};
    EXPECT_EQ(OST_OK, __ostCopyChunks(&copy, &streams[127]));
    EXPECT_NE(copy.chunks->data, streams[127].chunks->data);
    __ostDeleteChunks(&copy);
    __ostUnregisterGlobRODataReference(ids[128].words);
    for (OstStream& stream : streams) __ostDeleteChunks(&stream);
    constexpr std::uint64_t none[2] = {};
    EXPECT_EQ(OST_ERR_TABLE_MISS, __ostFindGlobRODataTableEntry(&row, none));
    EXPECT_EQ(OST_ERR_TABLE_MISS, __ostFindGlobRODataTableEntry(&row, nullptr));
}

// Threads copy and delete streams that share blocks, and make and drop blocks of their own meanwhile.
TEST_F(ChunksOfThreads, CountTheirReferences) {
    OstStream source{};
    source.brng = toy_id();
    const Id shared[2];
    for (std::uint32_t i = 0; i < 2; ++i) ASSERT_EQ(OST_OK, __ostAddChunk(&source, i, shared[i].words, block(), 8));
    std::vector<std::thread> threads;
    for (std::uint64_t t = 0; t < 8; ++t) {
        threads.emplace_back([&source, t] {
            for (int round = 0; round < 2000; ++round) {
                OstStream *stream = nullptr, *copy = nullptr;
                const auto seed = static_cast<std::uint32_t>(round);
                ASSERT_EQ(OST_OK, __ostNewStreamEx(&stream, toy_id(), 1, &seed));
                std::uint64_t own[2];
                __ostGenerateNewGlobalRODataTableEntryId(own, t + 2);
                ASSERT_EQ(OST_OK, __ostAddChunk(stream, 9, own, block(), 8));
                ASSERT_EQ(OST_OK, __ostCopyChunks(stream, &source));
                ASSERT_EQ(OST_OK, __ostCopyStream(&copy, stream));
                ASSERT_EQ(__ostSearchChunk(&source, 1), __ostSearchChunk(copy, 1));
                __ostDeleteStream(round % 2 == 0 ? &stream : &copy);
                __ostDeleteStream(round % 2 == 0 ? &copy : &stream);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (const Id& id : shared) EXPECT_EQ(1U, row_of(id)->references);
    __ostDeleteChunks(&source);
}

} // namespace
