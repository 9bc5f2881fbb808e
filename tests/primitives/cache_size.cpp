// What is read from the registers of CPUID, for processors made up by hand.

#include "primitives/cache_size.h"

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <vector>

namespace {

using namespace nvo;

constexpr std::int64_t KiB = 1024, MiB = 1024 * KiB;
constexpr std::uint32_t none = 0x80000000; // a register without descriptors

TEST(CacheSize, OfOneDescriptorOfEachSize) {
    const std::map<std::uint32_t, std::int64_t> sizes = {
        {0xEC, 24 * MiB}, {0xEB, 18 * MiB}, {0x4D, 16 * MiB}, {0x4C, 12 * MiB}, {0x47, 8 * MiB},  {0x4A, 6 * MiB},
        {0x46, 4 * MiB},  {0x48, 3 * MiB},  {0x45, 2 * MiB},  {0x44, 1 * MiB},  {0x43, 512 * KiB}};
    for (const auto& [descriptor, size] : sizes)
        EXPECT_EQ(size, largest_listed_cache({1, none, descriptor, none})) << std::hex << descriptor;
}

TEST(CacheSize, TableHasEachDescriptorOnceAndFromTheLargestSizeDown) {
    std::map<int, int> seen;
    std::int64_t last = 24 * MiB;
    for (const CacheDescriptor& row : TableCacheSize) {
        EXPECT_EQ(1, ++seen[row.descriptor]) << int{row.descriptor};
        EXPECT_LE(row.bytes(), last) << int{row.descriptor};
        last = row.bytes();
    }
    EXPECT_EQ(43U, seen.size());
}

TEST(CacheSize, IsTheLargestOfAllBytesButTheLowestOfEax) {
    const std::pair<CpuidRegisters, std::int64_t> cases[] = {
        {{0x00000044, 0, 0, 0}, unknown_cache}, // AL must be 1
        {{0x44444402, 0x44, 0x44, 0x44}, unknown_cache},
        {{0x00004401, 0, 0, 0}, 1 * MiB},
        {{0x00440001, 0, 0, 0}, 1 * MiB},
        {{0x44000001, 0, 0, 0}, 1 * MiB},
        {{0x00440001, 0, 0, none | 0x00004D00}, 1 * MiB}, // not a register with bit 31
        {{none | 0x00440001, 0, 0, 0}, unknown_cache},
        {{0x665B5001, 0x43444547, 0x7B, 0x4E}, 8 * MiB},
        {{0x475B5001, 0x43444500, 0x7B, 0x4E}, 8 * MiB},
        {{0x665B5001, 0x00F0FF00, 0, 0}, unknown_cache},
        {{0, 0, 0, 0}, unknown_cache}};
    for (const auto& [leaf2, size] : cases) EXPECT_EQ(size, largest_listed_cache(leaf2)) << &leaf2 - &cases[0].first;
    for (std::uint32_t CpuidRegisters::*word : {&CpuidRegisters::ebx, &CpuidRegisters::ecx, &CpuidRegisters::edx})
        for (const int shift : {0, 8, 16, 24}) {
            CpuidRegisters leaf2{1, 0, 0, 0};
            leaf2.*word = 0x44U << shift;
            EXPECT_EQ(1 * MiB, largest_listed_cache(leaf2)) << shift;
        }
}

// Leaves as they are asked for.
struct Processor {
    std::map<std::uint32_t, CpuidRegisters> leaves = {
        {0, {4, 0x756E6547, 0x6C65746E, 0x49656E69}}, {2, {1, 0xEC, 0, 0}}, {4, {2U << 26 | 0x3FFFFFF, 0, 0, 0}}};
    std::vector<std::uint32_t> asked = {};

    CpuidRegisters operator()(std::uint32_t leaf) {
        asked.push_back(leaf);
        return leaves.at(leaf);
    }
    // Of the whole cache, or of a thread's share.
    void expect(bool share, std::int64_t bytes, const std::vector<std::uint32_t>& leaves_asked) {
        asked.clear();
        const CacheQuestion question(std::ref(*this));
        EXPECT_EQ(bytes, share ? question.share() : question.size());
        EXPECT_EQ(leaves_asked, asked);
    }
};

TEST(CacheSize, ShareIsThatOfTheThreadsOfLeafFour) {
    Processor processor;
    processor.expect(false, 24 * MiB, {0, 2});
    processor.expect(true, 8 * MiB, {0, 2, 4});
    processor.leaves[0].eax = 3;
    processor.expect(true, 24 * MiB, {0, 2});
    processor.leaves[0].eax = 1;
    processor.expect(false, unknown_cache, {0});
}

TEST(CacheSize, AnotherVendorIsAskedNothingMore) {
    for (std::uint32_t CpuidRegisters::*word : {&CpuidRegisters::ebx, &CpuidRegisters::ecx, &CpuidRegisters::edx}) {
        Processor processor;
        processor.leaves[0].*word ^= 0x20;
        processor.expect(true, unknown_cache, {0});
    }
}

} // namespace
