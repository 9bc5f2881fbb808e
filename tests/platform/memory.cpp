#include "platform/core_testing.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

TEST(Memory, BlocksAreAlignedWritableAndCounted) {
    const long before = nvo_core_testing_live_blocks();
    std::vector<void*> blocks;
    for (std::size_t alignment = 1; alignment <= (1u << 20); alignment *= 2)
        for (std::size_t size : {0, 1, 127, 5000}) {
            void* block = nvo_serv_allocate(size, alignment);
            ASSERT_NE(block, nullptr) << size << ' ' << alignment;
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignment, 0u) << size << ' ' << alignment;
            std::memset(block, 0xca, size);
            blocks.push_back(block);
        }
    EXPECT_EQ(nvo_core_testing_live_blocks(), before + static_cast<long>(blocks.size()));
    for (void* block : blocks) nvo_serv_deallocate(block);
    nvo_serv_deallocate(nullptr);
    EXPECT_EQ(nvo_core_testing_live_blocks(), before);
}

TEST(Memory, ImpossibleRequestsGiveNull) {
    for (std::size_t alignment : {std::size_t{0}, std::size_t{3}, std::size_t{96}, SIZE_MAX, SIZE_MAX / 2 + 1})
        EXPECT_EQ(nvo_serv_allocate(64, alignment), nullptr) << alignment;
    for (std::size_t size : {SIZE_MAX, SIZE_MAX - 63, SIZE_MAX - 127, std::size_t{PTRDIFF_MAX}})
        for (std::size_t alignment : {1, 128}) EXPECT_EQ(nvo_serv_allocate(size, alignment), nullptr) << size;
}

TEST(Memory, ExactlyTheNthAllocationFails) {
    constexpr long calls = 5;
    const long before = nvo_core_testing_live_blocks();
    for (long n = -1; n <= calls + 2; ++n) {
        nvo_core_testing_fail_allocation(n);
        for (long call = 1; call <= calls; ++call) {
            void* block = nvo_serv_allocate(8, 128);
            EXPECT_EQ(block == nullptr, call == n) << call << ' ' << n;
            nvo_serv_deallocate(block);
        }
        EXPECT_EQ(nvo_core_testing_fail_allocation(0), std::max(n - calls, 0L)) << n;
        EXPECT_EQ(nvo_core_testing_live_blocks(), before);
    }
}

TEST(Memory, HooksCountOverAllThreads) {
    const long before = nvo_core_testing_live_blocks();
    std::atomic<int> failures{0};
    nvo_core_testing_fail_allocation(1500);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int call = 0; call < 1000; ++call) {
                void* block = nvo_serv_allocate(64, 64);
                failures += block == nullptr;
                nvo_serv_deallocate(block);
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(failures, 1);
    EXPECT_EQ(nvo_core_testing_live_blocks(), before);
}

TEST(BoundedCopy, CopiesOrZeroesTheDestinationAndNoMore) {
    char source[] = "abcdefgh";
    const struct {
        const void* source;
        std::size_t count;
        int error;
        const char* after;
    } rows[] = {{source, 4, 0, "abcd####"},
                {source, 0, 0, "########"},
                {nullptr, 2, EINVAL, "\0\0\0\0####"},
                {source, 5, ERANGE, "\0\0\0\0####"},
                {source, SIZE_MAX, ERANGE, "\0\0\0\0####"}};
    for (const auto& row : rows) {
        char dest[] = "########";
        EXPECT_EQ(nvo_serv_memcpy_s(dest, 4, row.source, row.count), row.error);
        EXPECT_EQ(std::memcmp(dest, row.after, 8), 0) << row.count;
    }
    EXPECT_EQ(nvo_serv_memcpy_s(nullptr, 4, source, 2), EINVAL);
    EXPECT_EQ(nvo_serv_memcpy_s(source, SIZE_MAX / 2 + 1, "x", 1), ERANGE); // no size to zero by
    EXPECT_STREQ(source, "abcdefgh");
}

TEST(BoundedCopy, SideBySideIsNoOverlap) {
    for (int shift = -5; shift <= 5; ++shift) {
        char text[] = "0123456789abcd";
        const bool apart = shift <= -4 || shift >= 4;
        EXPECT_EQ(nvo_serv_memcpy_s(text + 5, 4, text + 5 + shift, 4), apart ? 0 : EINVAL) << shift;
        EXPECT_EQ(text[5], apart ? "0123456789abcd"[5 + shift] : '\0') << shift;
    }
}
