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
template <class T> void check_type(auto copy, auto set, auto zero) {
    constexpr std::size_t most = 4200;
    const Bytes data = random_bytes(most), zeros(most);
    const T value = sample<T>();
    const std::vector<T> values(most / sizeof value, value);
    const auto* from = reinterpret_cast<const T*>(data.data());
    Target target(most);
    const auto copy_data = [=](T* to, int n) { return copy(from, to, n); };
    const auto set_value = [=](T* to, int n) { return set(value, to, n); };
    const auto check = [&](auto function, const void* expected, std::size_t n) {
        for (std::size_t gap = 0; gap < alignments; ++gap) {
            T* to = target.place<T>(n, gap);
            ASSERT_EQ(NVO_DFT_OK, function(to, static_cast<int>(n)));
            ASSERT_TRUE(target.holds(expected)) << n << ' ' << gap;
        }
        T* to = target.place<T>(4, 0);
        const Bytes before(reinterpret_cast<std::uint8_t*>(to), reinterpret_cast<std::uint8_t*>(to + 4));
        for (const int none : {0, -1, INT32_MIN}) {
            EXPECT_EQ(NVO_DFT_ERR_NULL, function(nullptr, none));
            EXPECT_EQ(NVO_DFT_ERR_LENGTH, function(to, none));
        }
        EXPECT_TRUE(target.holds(before.data()));
    };
    std::vector<std::size_t> lengths = {2000, 2047, 2048, 2063, 2064, 2065, 2079, 2080, 2100, 4096, 4160};
    for (std::size_t bytes = sizeof(T); bytes <= 150; ++bytes) lengths.push_back(bytes);
    for (const std::size_t bytes : lengths) {
        check(copy_data, data.data(), bytes / sizeof(T));
        check(set_value, values.data(), bytes / sizeof(T));
        check(zero, zeros.data(), bytes / sizeof(T));
        if (testing::Test::HasFailure()) return;
    }
    EXPECT_EQ(NVO_DFT_ERR_NULL, copy(nullptr, target.place<T>(4, 0), 0));
}

TEST(CopySetZero, OfEveryType) {
#define CHECK_TYPE(type, element)                                                                                  \
    {                                                                                                              \
        SCOPED_TRACE(#type);                                                                                       \
        check_type<element>(nvo_dft_def_tyrsCopy_##type, nvo_dft_def_tyrsSet_##type, nvo_dft_def_tyrsZero_##type); \
    }
    NVO_DFT_TYPES(CHECK_TYPE)
}

// worker(to, n) of a type, which fills with these bytes.
template <class T> void check_worker(auto worker, const void* expected) {
    Target target(100 * sizeof(T));
    for (const int n : {100, 9, 1, 0, -1}) {
        T* to = target.place<T>(std::max(n, 0), 3);
        EXPECT_EQ(to, worker(to, n));
        EXPECT_TRUE(target.holds(expected)) << n;
    }
}

TEST(CopySetZero, WorkersGiveTheDestinationBack) {
    const Bytes data = random_bytes(100), zeros(100);
    check_worker<std::uint8_t>([&](auto* to, int n) { return nvo_dft_def_ownsCopy_8u(data.data(), to, n); },
                               data.data());
    check_worker<std::uint8_t>(nvo_dft_def_ownsZero_8u, zeros.data());
#define CHECK_WORKER(type, element)                                                                             \
    {                                                                                                           \
        const std::vector<element> values(100, sample<element>());                                              \
        const auto by_value = [&](element* to, int n) { return nvo_dft_def_ownsSet_##type(values[0], to, n); }; \
        const auto by_address = [&](element* to, int n) {                                                       \
            return nvo_dft_def_ownsSet_##type##_M7(&values[0], to, n);                                          \
        };                                                                                                      \
        check_worker<element>(by_value, values.data());                                                         \
        check_worker<element>(by_address, values.data());                                                       \
    }
    NVO_DFT_SET_WORKERS(CHECK_WORKER)
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
