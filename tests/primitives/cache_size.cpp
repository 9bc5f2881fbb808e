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

// Leaves as they are asked for.
class Processor {
public:
    Processor(std::uint32_t highest_leaf, CpuidRegisters leaf2, std::uint32_t leaf4_eax = 0)
        : leaves_{{0, {highest_leaf, 0x756E6547, 0x6C65746E, 0x49656E69}}, {2, leaf2}, {4, {leaf4_eax, 0, 0, 0}}} {}

    CpuidRegisters operator()(std::uint32_t leaf) {
        asked.push_back(leaf);
        return leaves_.at(leaf);
    }
    CpuidRegisters& leaf(std::uint32_t number) { return leaves_.at(number); }

    std::int64_t size() { return asked.clear(), CacheQuestion(std::ref(*this)).size(); }
    std::int64_t share() { return asked.clear(), CacheQuestion(std::ref(*this)).share(); }

    std::vector<std::uint32_t> asked;

private:
    std::map<std::uint32_t, CpuidRegisters> leaves_;
};

using Asked = std::vector<std::uint32_t>;

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

TEST(CacheSize, DescriptorsCountInEachByteButTheLowestOfEax) {
    for (const std::uint32_t shift : {0, 8, 16, 24}) {
        const std::uint32_t bytes = 0x44U << shift;
        EXPECT_EQ(shift == 0 ? unknown_cache : 1 * MiB,
                  largest_listed_cache({shift == 0 ? bytes : bytes | 1, 0, 0, 0}));
        EXPECT_EQ(1 * MiB, largest_listed_cache({1, bytes, 0, 0})) << shift;
        EXPECT_EQ(1 * MiB, largest_listed_cache({1, 0, bytes, 0})) << shift;
        EXPECT_EQ(1 * MiB, largest_listed_cache({1, 0, 0, bytes})) << shift;
    }
    EXPECT_EQ(1 * MiB, largest_listed_cache({0x00440001, 0, 0, none | 0x00004D00})) << "not a register with bit 31";
    EXPECT_EQ(unknown_cache, largest_listed_cache({none | 0x00440001, 0, 0, 0}));
}

TEST(CacheSize, LargestOfSeveralWins) {
    EXPECT_EQ(8 * MiB, largest_listed_cache({0x665B5001, 0x43444547, 0x7B, 0x4E}));
    EXPECT_EQ(8 * MiB, largest_listed_cache({0x475B5001, 0x43444500, 0x7B, 0x4E}));
}

TEST(CacheSize, UnknownWithoutDescriptors) {
    EXPECT_EQ(unknown_cache, largest_listed_cache({0x665B5001, 0x00F0FF00, 0, 0}));
    EXPECT_EQ(unknown_cache, largest_listed_cache({0x44444402, 0x44, 0x44, 0x44})) << "AL must be 1";
    EXPECT_EQ(unknown_cache, largest_listed_cache({0, 0, 0, 0}));
}

TEST(CacheSize, ShareIsThatOfTheThreadsOfLeafFour) {
    Processor processor(4, {1, 0xEC, 0, 0}, 2U << 26 | 0x3FFFFFF);
    EXPECT_EQ(24 * MiB, processor.size());
    EXPECT_EQ((Asked{0, 2}), processor.asked);
    EXPECT_EQ(8 * MiB, processor.share());
    EXPECT_EQ((Asked{0, 2, 4}), processor.asked);
    processor.leaf(0).eax = 3;
    EXPECT_EQ(24 * MiB, processor.share());
    EXPECT_EQ((Asked{0, 2}), processor.asked);
}

TEST(CacheSize, AnotherVendorIsAskedNothingMore) {
    for (std::uint32_t CpuidRegisters::*word : {&CpuidRegisters::ebx, &CpuidRegisters::ecx, &CpuidRegisters::edx}) {
        Processor processor(4, {1, 0xEC, 0, 0});
        processor.leaf(0).*word ^= 0x20;
        EXPECT_EQ(unknown_cache, processor.share());
        EXPECT_EQ((Asked{0}), processor.asked);
    }
    Processor old(1, {1, 0xEC, 0, 0});
    EXPECT_EQ(unknown_cache, old.size());
    EXPECT_EQ((Asked{0}), old.asked);
}

} // namespace
