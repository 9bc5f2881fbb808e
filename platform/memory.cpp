// Memory blocks, their test hooks, and the bounded copy.
#include "platform/core.h"
#include "platform/core_testing.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>

namespace {

// The counters of the test hooks. They order nothing and publish nothing, so relaxed access is enough. Without a
// failure on order, an allocation pays one load and one increment for them.
constinit std::atomic<long> calls_to_failure{0}; // 1: the next call fails; 0 and below: no failure on order
constinit std::atomic<long> live_blocks{0};

// Counts one call of nvo_serv_allocate and tells whether it is the one that has to fail. Of all calls that get into
// the subtraction at once, exactly one sees the 1; calls behind it drive the count below 0, which means the same as 0.
bool failure_is_due() {
    return calls_to_failure.load(std::memory_order_relaxed) > 0 &&
           calls_to_failure.fetch_sub(1, std::memory_order_relaxed) == 1;
}

constexpr std::size_t largest_copy = SIZE_MAX / 2;

// Large blocks come from the system page by page, as they are first touched, and in pages of 4 KiB that takes longer
// than most of what is done with a block. Systems that have huge pages by request give them to what lies in whole ones.
// It is advice: without them, the block is only slower.
constexpr std::size_t huge_page = std::size_t{1} << 21, least_of_huge_pages = 4 * huge_page;

void ask_for_huge_pages(char* block, std::size_t size) {
    const std::size_t before = -reinterpret_cast<std::uintptr_t>(block) % huge_page;
    madvise(block + before, (size - before) / huge_page * huge_page, MADV_HUGEPAGE);
}

// Distances modulo 2^64: whichever of the two doesn't wrap is the true one.
bool overlap(const void* a, const void* b, std::size_t count) {
    const auto first = reinterpret_cast<std::uintptr_t>(a), second = reinterpret_cast<std::uintptr_t>(b);
    return first - second < count || second - first < count;
}

int copy_error(const void* dest, std::size_t dest_size, const void* src, std::size_t count) {
    if (!dest || !src) return EINVAL;
    if (dest_size > largest_copy || count > dest_size) return ERANGE;
    if (overlap(dest, src, count)) return EINVAL;
    return 0;
}

} // namespace

void* nvo_serv_allocate(std::size_t size, std::size_t alignment) {
    if (failure_is_due()) return nullptr;
    if (!std::has_single_bit(alignment) || alignment > PTRDIFF_MAX || size > PTRDIFF_MAX - alignment) return nullptr;

    // posix_memalign wants at least a pointer's alignment. The size isn't rounded up to the alignment: a block ends
    // where its user thinks it does, and a memory checker sees the first byte behind it.
    void* block = nullptr;
    if (posix_memalign(&block, std::max(alignment, sizeof(void*)), std::max<std::size_t>(size, 1)) != 0) return nullptr;
    if (size >= least_of_huge_pages) ask_for_huge_pages(static_cast<char*>(block), size);
    live_blocks.fetch_add(1, std::memory_order_relaxed);
    return block;
}

void nvo_serv_deallocate(void* block) {
    if (!block) return;
    live_blocks.fetch_sub(1, std::memory_order_relaxed);
    std::free(block);
}

long nvo_core_testing_fail_allocation(long n) {
    return std::max(calls_to_failure.exchange(n, std::memory_order_relaxed), 0L);
}

long nvo_core_testing_live_blocks() { return live_blocks.load(std::memory_order_relaxed); }

int nvo_serv_memcpy_s(void* dest, std::size_t dest_size, const void* src, std::size_t count) {
    const int error = copy_error(dest, dest_size, src, count);
    if (error == 0)
        std::memcpy(dest, src, count);
    else if (dest && dest_size <= largest_copy)
        std::memset(dest, 0, dest_size);
    return error;
}
