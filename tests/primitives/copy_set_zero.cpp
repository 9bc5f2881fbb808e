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

// Memory in front of a guard page.
class Target {
public:
    explicit Target(std::size_t room) : memory_(margin + room + alignments) {}

    // Whether function(to) puts these elements there, `gap` bytes short of the page, and nothing around them.
    template <class T> bool takes(const T* expected, std::size_t elements, std::size_t gap, auto function) {
        const std::size_t bytes = elements * sizeof(T);
        std::uint8_t *const end = memory_.data() + memory_.size(), *const to = end - gap - bytes;
        std::fill(to - margin, end, untouched);
        function(reinterpret_cast<T*>(to));
        const auto is_untouched = [](std::uint8_t byte) { return byte == untouched; };
        return std::memcmp(to, expected, bytes) == 0 && std::all_of(to - margin, to, is_untouched) &&
               std::all_of(to + bytes, end, is_untouched);
    }

private:
    static constexpr std::size_t margin = 64;
    static constexpr std::uint8_t untouched = 0xCA;

    GuardedArray<std::uint8_t> memory_;
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
    for (std::size_t n = 1; n <= most; ++n)
        for (std::size_t end = 0; end < alignments; ++end) {
            std::uint8_t* from = source.data() + source.size() - end - n;
            std::copy_n(data.data(), n, from);
            const auto copy = [=](auto* to) { nvo_dft_def_tyrsCopy_8u(from, to, static_cast<int>(n)); };
            for (std::size_t gap = 0; gap < alignments; ++gap)
                ASSERT_TRUE(target.takes(from, n, gap, copy)) << n << ' ' << end << ' ' << gap;
        }
}

// function(to, n), which writes these elements: lengths on both sides of what a gate may be, at every alignment, odd
// ones as well.
template <class T> void check_function(const std::vector<T>& elements, auto function) {
    Target target(elements.size() * sizeof(T));
    std::vector<std::size_t> lengths = {2000, 2047, 2048, 2063, 2064, 2065, 2079, 2080, 2100, 4096, 4160};
    for (std::size_t bytes = sizeof(T); bytes <= 150; ++bytes) lengths.push_back(bytes);
    for (const std::size_t bytes : lengths)
        for (std::size_t gap = 0; gap < alignments; ++gap) {
            const std::size_t n = bytes / sizeof(T);
            const auto write = [=](T* to) { EXPECT_EQ(NVO_DFT_OK, function(to, static_cast<int>(n))); };
            ASSERT_TRUE(target.takes(elements.data(), n, gap, write)) << n << ' ' << gap;
        }
    for (const int none : {0, -1, INT32_MIN}) {
        EXPECT_EQ(NVO_DFT_ERR_NULL, function(nullptr, none));
        const auto refuse = [=](T* to) { EXPECT_EQ(NVO_DFT_ERR_LENGTH, function(to, none)); };
        EXPECT_TRUE(target.takes(elements.data(), 0, 0, refuse));
    }
}

template <class T> void check_type(auto copy, auto set, auto zero) {
    constexpr std::size_t most = 4200 / sizeof(T);
    const Bytes bytes = random_bytes(4200);
    std::vector<T> data(most), zeros(most);
    std::memcpy(data.data(), bytes.data(), most * sizeof(T));
    const T value = sample<T>();
    check_function(data, [&](T* to, int n) { return copy(data.data(), to, n); });
    check_function(std::vector<T>(most, value), [&](T* to, int n) { return set(value, to, n); });
    check_function(zeros, zero);
    EXPECT_EQ(NVO_DFT_ERR_NULL, copy(nullptr, zeros.data(), 0));
}

TEST(CopySetZero, OfEveryType) {
#define CHECK_TYPE(type, element)                                                                                  \
    {                                                                                                              \
        SCOPED_TRACE(#type);                                                                                       \
        check_type<element>(nvo_dft_def_tyrsCopy_##type, nvo_dft_def_tyrsSet_##type, nvo_dft_def_tyrsZero_##type); \
    }
    NVO_DFT_TYPES(CHECK_TYPE)
}

// worker(to, n), which writes these elements.
template <class T> void check_worker(const std::vector<T>& elements, auto worker) {
    Target target(elements.size() * sizeof(T));
    for (const int n : {100, 9, 1, 0, -1}) {
        const auto write = [=](T* to) { EXPECT_EQ(to, worker(to, n)); };
        EXPECT_TRUE(target.takes(elements.data(), std::max(n, 0), 3, write)) << n;
    }
}

TEST(CopySetZero, WorkersGiveTheDestinationBack) {
    const Bytes data = random_bytes(100);
    check_worker(data, [&](auto* to, int n) { return nvo_dft_def_ownsCopy_8u(data.data(), to, n); });
    check_worker(Bytes(100), nvo_dft_def_ownsZero_8u);
#define CHECK_WORKER(type, element)                                                                            \
    {                                                                                                          \
        const element value = sample<element>();                                                               \
        const std::vector<element> values(100, value);                                                         \
        check_worker(values, [=](auto* to, int n) { return nvo_dft_def_ownsSet_##type(value, to, n); });       \
        check_worker(values, [&](auto* to, int n) { return nvo_dft_def_ownsSet_##type##_M7(&value, to, n); }); \
    }
    NVO_DFT_SET_WORKERS(CHECK_WORKER)
}

TEST(CopySetZero, LargeBlocks) {
    constexpr std::size_t n = 2 * MiB + 5;
    const Bytes data = random_bytes(n), sevens(n, 7), zeros(n);
    Target target(n);
    for (const std::size_t gap : {0, 5, 11}) {
        EXPECT_TRUE(target.takes(data.data(), n, gap, [&](auto* to) { nvo_dft_def_tyrsCopy_8u(data.data(), to, n); }));
        EXPECT_TRUE(target.takes(zeros.data(), n, gap, [](auto* to) { nvo_dft_def_tyrsZero_8u(to, n); }));
        EXPECT_TRUE(target.takes(sevens.data(), n, gap, [](auto* to) { nvo_dft_def_tyrsSet_8u(7, to, n); }));
    }
}

// ---- Workers -------------------------------------------------------------------------------------------------------

// Up to `gate` elements the cache isn't asked for; from `first` on they go past one of so many bytes.
void check_gates(bool (*is_streamed)(std::size_t), std::int64_t cache, std::size_t gate, std::size_t first) {
    const auto expect = [=](std::int64_t bytes, std::size_t elements, int questions, bool streamed) {
        OwnCache::bytes = bytes;
        EXPECT_EQ(questions, questions_of([=] { EXPECT_EQ(streamed, is_streamed(elements)); })) << elements;
    };
    expect(cache, gate, 0, false);
    expect(cache, gate + 1, 1, false);
    expect(cache, first - 1, 1, false);
    expect(cache, first, 1, true);
    expect(512 * KiB, gate, 0, false);
    expect(512 * KiB, gate + 1, 1, true);
    expect(unknown_cache, 100 * MiB, 1, false);
}

TEST(CacheGates, OfCopySetAndZero) {
    check_gates(is_copy_streamed<OwnCache>, 2 * MiB, 0x7FFFF, 0x100000);
    check_gates(is_fill_streamed<1, OwnCache>, 4 * MiB, 0x80000, 0x400000);
    check_gates(is_fill_streamed<2, OwnCache>, 4 * MiB, 0x80000, 0x200001);
    check_gates(is_fill_streamed<4, OwnCache>, 4 * MiB, 0x40000, 0x100001);
    check_gates(is_fill_streamed<8, OwnCache>, 4 * MiB, 0x20000, 0x80001);
    check_gates(is_fill_streamed<16, OwnCache>, 4 * MiB, 0x10000, 0x40001);
}

// What goes past the cache, or doesn't. The gates don't count the bytes in front of the first boundary.
template <class T> void check_large(const T* elements, std::size_t n, std::size_t gap, std::size_t gate, auto write) {
    static Target target(MiB + 2048);
    OwnCache::bytes = 512 * KiB;
    const auto function = [=](T* to) {
        const std::size_t step = -reinterpret_cast<std::uintptr_t>(to) % 16;
        EXPECT_EQ((n * sizeof(T) - step) / sizeof(T) > gate ? 1 : 0, questions_of([=] { write(to); }));
    };
    EXPECT_TRUE(target.takes(elements, n, gap, function)) << sizeof(T) << ' ' << n << ' ' << gap;
}

// Every kind of chunk, and none.
TEST(CacheGates, CopiesPastTheCacheAreRight) {
    GuardedArray<std::uint8_t> source(0xC0011 + 3);
    std::ranges::copy(random_bytes(source.size()), source.data());
    for (const std::size_t n : {0x7FFFF, 0x80000, 0x8000F, 0x80010, 0x80011, 0x80080, 0xBFFFF, 0xC0000, 0xC0011})
        for (const std::size_t gap : {0, 1, 8, 15})
            for (const std::size_t end : {0, 3}) {
                const std::uint8_t* from = source.data() + source.size() - end - n;
                check_large(from, n, gap, 0x7FFFF, [=](void* to) { copy<OwnCache>(from, to, n); });
            }
}

template <class T> void check_large_fills() {
    constexpr std::size_t gate = fill_gate<sizeof(T)>, most = gate + 70;
    const std::vector<T> values(most, sample<T>());
    for (const std::size_t n : {gate, gate + 1, gate + 2, gate + 15, gate + 17, most})
        for (const std::size_t gap : {0, 1, 2, 4, 8, 9})
            check_large(values.data(), n, gap, gate, [&](void* to) { fill<sizeof(T), OwnCache>(&values[0], to, n); });
}

TEST(CacheGates, FillsPastTheCacheAreRight) {
#define CHECK_LARGE(type, element) check_large_fills<element>();
    NVO_DFT_SET_WORKERS(CHECK_LARGE)
}

} // namespace
