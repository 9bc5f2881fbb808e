// Copy, set and zero: the exported ones, and the workers once more with caches of our own, for the ways that this
// processor doesn't take.

#include "nvo_ark/primitives.h"
#include "primitives/workers.h"
#include "tests/support/guarded.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <random>
#include <vector>

namespace {

using namespace nvo;
using nvo::tests::GuardedArray;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t KiB = 1024, MiB = 1024 * KiB;
constexpr std::size_t alignments = 16; // gaps below it give a destination every one

Bytes random_bytes(std::size_t n) {
    std::mt19937 words(n);
    Bytes bytes(n);
    for (std::uint8_t& byte : bytes) byte = static_cast<std::uint8_t>(words());
    return bytes;
}

// Where a function may write: up to a guard page, or `gap` bytes short of it. What lies around is seen to stay.
class Target {
public:
    explicit Target(std::size_t room) : memory_(margin + room + alignments) {}

    std::uint8_t* place(std::size_t bytes, std::size_t gap) {
        std::fill(memory_.data() + memory_.size() - gap - bytes - margin, memory_.data() + memory_.size(), untouched);
        bytes_ = bytes;
        return at_ = memory_.data() + memory_.size() - gap - bytes;
    }
    template <class T> T* place(std::size_t elements, std::size_t gap) {
        return reinterpret_cast<T*>(place(elements * sizeof(T), gap));
    }
    // Whether the bytes there are these, and the others as they were.
    bool holds(const void* expected) const {
        const auto is_untouched = [](std::uint8_t byte) { return byte == untouched; };
        return std::memcmp(at_, expected, bytes_) == 0 && std::all_of(at_ - margin, at_, is_untouched) &&
               std::all_of(at_ + bytes_, memory_.data() + memory_.size(), is_untouched);
    }

private:
    static constexpr std::size_t margin = 64;
    static constexpr std::uint8_t untouched = 0xCA;

    GuardedArray<std::uint8_t> memory_;
    std::uint8_t* at_ = nullptr;
    std::size_t bytes_ = 0;
};

// A cache of this many bytes, and how often it was asked for.
struct OwnCache {
    static inline std::int64_t bytes = unknown_cache;
    static inline int questions = 0;

    static std::int64_t size() { return ++questions, bytes; }
    static std::int64_t share() { return ++questions, bytes; }
};
int questions_of(auto body) {
    OwnCache::questions = 0;
    body();
    return OwnCache::questions;
}

// An element that has no two bytes alike.
template <class T> T sample() {
    T value;
    std::uint8_t bytes[sizeof value];
    for (std::size_t i = 0; i < sizeof value; ++i) bytes[i] = static_cast<std::uint8_t>(0xF1 - 7 * i);
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

// ---- Exported ------------------------------------------------------------------------------------------------------

TEST(Copy, CopiesAllLengthsAndAlignmentsAndNoMore) {
    constexpr std::size_t most = 200;
    const Bytes data = random_bytes(most);
    GuardedArray<std::uint8_t> source(most + alignments);
    Target target(most);
    for (std::size_t n = 1; n <= most; ++n) {
        for (std::size_t end = 0; end < alignments; ++end) {
            std::uint8_t* from = source.data() + source.size() - end - n;
            std::copy_n(data.data(), n, from);
            for (std::size_t gap = 0; gap < alignments; ++gap) {
                std::uint8_t* to = target.place(n, gap);
                ASSERT_EQ(NVO_DFT_OK, nvo_dft_def_tyrsCopy_8u(from, to, static_cast<int>(n)));
                ASSERT_TRUE(target.holds(data.data())) << n << ' ' << end << ' ' << gap;
            }
        }
    }
}

// Of one type: lengths on both sides of what a gate may be, at every alignment, odd ones as well.
template <class T, class Copy, class Set, class Zero> void check_type(Copy copy, Set set, Zero zero) {
    constexpr std::size_t most = 4200;
    const Bytes data = random_bytes(most), zeros(most);
    const T value = sample<T>();
    const std::vector<T> values(most / sizeof value, value);
    Target target(most);
    std::vector<std::size_t> lengths = {2000, 2047, 2048, 2063, 2064, 2065, 2079, 2080, 2100, 4096, 4160};
    for (std::size_t bytes = 1; bytes <= 150; ++bytes) lengths.push_back(bytes);
    for (const std::size_t bytes : lengths) {
        const std::size_t n = bytes / sizeof(T);
        if (n == 0) continue;
        for (std::size_t gap = 0; gap < alignments; ++gap) {
            T* to = target.place<T>(n, gap);
            ASSERT_EQ(NVO_DFT_OK, copy(reinterpret_cast<const T*>(data.data()), to, static_cast<int>(n)));
            ASSERT_TRUE(target.holds(data.data())) << n << ' ' << gap;
            to = target.place<T>(n, gap);
            ASSERT_EQ(NVO_DFT_OK, set(value, to, static_cast<int>(n)));
            ASSERT_TRUE(target.holds(values.data())) << n << ' ' << gap;
            to = target.place<T>(n, gap);
            ASSERT_EQ(NVO_DFT_OK, zero(to, static_cast<int>(n)));
            ASSERT_TRUE(target.holds(zeros.data())) << n << ' ' << gap;
        }
    }

    T* to = target.place<T>(4, 0);
    const auto* from = reinterpret_cast<const T*>(data.data());
    const Bytes before(reinterpret_cast<std::uint8_t*>(to), reinterpret_cast<std::uint8_t*>(to + 4));
    for (const int none : {0, -1, INT32_MIN}) {
        EXPECT_EQ(NVO_DFT_ERR_NULL, copy(nullptr, to, none));
        EXPECT_EQ(NVO_DFT_ERR_NULL, copy(from, nullptr, none));
        EXPECT_EQ(NVO_DFT_ERR_NULL, set(value, nullptr, none));
        EXPECT_EQ(NVO_DFT_ERR_NULL, zero(nullptr, none));
        EXPECT_EQ(NVO_DFT_ERR_LENGTH, copy(from, to, none));
        EXPECT_EQ(NVO_DFT_ERR_LENGTH, set(value, to, none));
        EXPECT_EQ(NVO_DFT_ERR_LENGTH, zero(to, none));
    }
    EXPECT_TRUE(target.holds(before.data()));
}

TEST(CopySetZero, OfEveryType) {
#define CHECK_TYPE(type, element)                                                                                  \
    {                                                                                                              \
        SCOPED_TRACE(#type);                                                                                       \
        check_type<element>(nvo_dft_def_tyrsCopy_##type, nvo_dft_def_tyrsSet_##type, nvo_dft_def_tyrsZero_##type); \
    }
    NVO_DFT_TYPES(CHECK_TYPE)
}

template <class T> void check_set_worker(T* (*set)(T, T*, int), T* (*by_address)(const T*, T*, int)) {
    const T value = sample<T>();
    const std::vector<T> values(100, value);
    Target target(100 * sizeof(T));
    for (const int n : {100, 9, 1, 0, -1}) {
        T* to = target.place<T>(std::max(n, 0), 3);
        EXPECT_EQ(to, set(value, to, n));
        EXPECT_TRUE(target.holds(values.data())) << n;
        to = target.place<T>(std::max(n, 0), 3);
        EXPECT_EQ(to, by_address(&value, to, n));
        EXPECT_TRUE(target.holds(values.data())) << n;
    }
}

TEST(CopySetZero, WorkersGiveTheDestinationBack) {
#define CHECK_WORKER(type, element) \
    check_set_worker<element>(nvo_dft_def_ownsSet_##type, nvo_dft_def_ownsSet_##type##_M7);
    NVO_DFT_SET_WORKERS(CHECK_WORKER)
    const Bytes data = random_bytes(100), zeros(100);
    Target target(100);
    for (const int n : {100, 9, 1, 0, -1}) {
        std::uint8_t* to = target.place(std::max(n, 0), 3);
        EXPECT_EQ(to, nvo_dft_def_ownsCopy_8u(data.data(), to, n));
        EXPECT_TRUE(target.holds(data.data())) << n;
        EXPECT_EQ(to, nvo_dft_def_ownsZero_8u(to, n));
        EXPECT_TRUE(target.holds(zeros.data())) << n;
    }
}

TEST(CopySetZero, LargeBlocks) {
    constexpr std::size_t n = 2 * MiB + 5;
    const Bytes data = random_bytes(n), sevens(n, 7), zeros(n);
    Target target(n);
    for (const std::size_t gap : {0, 5, 11}) {
        nvo_dft_def_tyrsCopy_8u(data.data(), target.place(n, gap), n);
        EXPECT_TRUE(target.holds(data.data()));
        nvo_dft_def_tyrsZero_8u(target.place(n, gap), n);
        EXPECT_TRUE(target.holds(zeros.data()));
        nvo_dft_def_tyrsSet_8u(7, target.place(n, gap), n);
        EXPECT_TRUE(target.holds(sevens.data()));
    }
}

// ---- Workers -------------------------------------------------------------------------------------------------------

TEST(CacheGates, OfCopy) {
    OwnCache::bytes = 2 * MiB;
    EXPECT_EQ(0, questions_of([] { EXPECT_FALSE(is_copy_streamed<OwnCache>(0x7FFFF)); }));
    EXPECT_EQ(1, questions_of([] { EXPECT_FALSE(is_copy_streamed<OwnCache>(0x80000)); }));
    EXPECT_FALSE(is_copy_streamed<OwnCache>(1 * MiB - 1));
    EXPECT_TRUE(is_copy_streamed<OwnCache>(1 * MiB));
    OwnCache::bytes = 512 * KiB;
    EXPECT_FALSE(is_copy_streamed<OwnCache>(0x7FFFF));
    EXPECT_TRUE(is_copy_streamed<OwnCache>(0x80000));
    OwnCache::bytes = unknown_cache;
    EXPECT_FALSE(is_copy_streamed<OwnCache>(100 * MiB));
}

// `first`: how many elements go past a cache of 4 MiB.
template <std::size_t width> void check_fill_gates(std::size_t gate, std::size_t first) {
    OwnCache::bytes = 4 * MiB;
    EXPECT_EQ(0, questions_of([=] { EXPECT_FALSE((is_fill_streamed<width, OwnCache>(gate))); }));
    EXPECT_EQ(1, questions_of([=] { EXPECT_FALSE((is_fill_streamed<width, OwnCache>(gate + 1))); }));
    EXPECT_FALSE((is_fill_streamed<width, OwnCache>(first - 1))) << width;
    EXPECT_TRUE((is_fill_streamed<width, OwnCache>(first))) << width;
    OwnCache::bytes = 512 * KiB;
    EXPECT_FALSE((is_fill_streamed<width, OwnCache>(gate))) << width;
    EXPECT_TRUE((is_fill_streamed<width, OwnCache>(gate + 1))) << width;
    OwnCache::bytes = unknown_cache;
    EXPECT_FALSE((is_fill_streamed<width, OwnCache>(100 * MiB))) << width;
}

TEST(CacheGates, OfSetAndZero) {
    check_fill_gates<1>(0x80000, 0x400000);
    check_fill_gates<2>(0x80000, 0x200001);
    check_fill_gates<4>(0x40000, 0x100001);
    check_fill_gates<8>(0x20000, 0x80001);
    check_fill_gates<16>(0x10000, 0x40001);
}

// Bytes in front of the first boundary, which the gates don't count.
std::size_t step_of(const std::uint8_t* to) { return -reinterpret_cast<std::uintptr_t>(to) % 16; }

// Every kind of chunk, and none.
TEST(CacheGates, CopiesPastTheCacheAreRight) {
    OwnCache::bytes = 512 * KiB;
    constexpr std::size_t most = 0xC0011;
    GuardedArray<std::uint8_t> source(most + 3);
    std::ranges::copy(random_bytes(source.size()), source.data());
    Target target(most);
    for (const std::size_t n : {0x7FFFF, 0x80000, 0x8000F, 0x80010, 0x80011, 0x80080, 0xBFFFF, 0xC0000, 0xC0011}) {
        for (const std::size_t gap : {0, 1, 8, 15}) {
            for (const std::size_t end : {0, 3}) {
                const std::uint8_t* from = source.data() + source.size() - end - n;
                std::uint8_t* to = target.place(n, gap);
                const int asked = questions_of([&] { copy<OwnCache>(from, to, n); });
                EXPECT_EQ(n - step_of(to) >= 0x80000 ? 1 : 0, asked);
                ASSERT_TRUE(target.holds(from)) << n << ' ' << gap << ' ' << end;
            }
        }
    }
}

template <class T> void check_large_fills() {
    OwnCache::bytes = 512 * KiB;
    constexpr std::size_t width = sizeof(T), gate = fill_gate<width>, most = gate + 70;
    const T value = sample<T>();
    const std::vector<T> values(most, value);
    Target target(most * width);
    for (const std::size_t n : {gate, gate + 1, gate + 2, gate + 15, gate + 17, most}) {
        for (const std::size_t gap : {0, 1, 2, 4, 8, 9}) {
            std::uint8_t* to = target.place(n * width, gap);
            const int asked = questions_of([&] { fill<width, OwnCache>(&value, to, n); });
            EXPECT_EQ((n * width - step_of(to)) / width > gate ? 1 : 0, asked);
            ASSERT_TRUE(target.holds(values.data())) << width << ' ' << n << ' ' << gap;
        }
    }
}

TEST(CacheGates, FillsPastTheCacheAreRight) {
#define CHECK_LARGE(type, element) check_large_fills<element>();
    NVO_DFT_SET_WORKERS(CHECK_LARGE)
}

} // namespace
