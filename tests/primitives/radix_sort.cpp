// Radix sorts against a stable sort by comparison.

#include "nvo_ark/primitives.h"
#include "tests/support/guarded.h"

#include <algorithm>
#include <compare>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <random>
#include <sys/mman.h>
#include <vector>

namespace {

using nvo::tests::GuardedArray;

// Bit patterns that stand for what is special about a type, its ends and zeros among them. Random ones have many NaNs,
// and of infinities none.
template <class T> std::vector<T> special_values() {
    using Limits = std::numeric_limits<T>;
    std::vector<T> values = {T(0), T(1), static_cast<T>(-1), Limits::min(), Limits::max(), Limits::lowest()};
    if constexpr (std::is_floating_point_v<T>) {
        const T nan = std::numeric_limits<T>::quiet_NaN();
        for (const T x : {T(0), Limits::denorm_min(), Limits::min(), Limits::infinity(), nan}) {
            values.push_back(x);
            values.push_back(-x);
        }
        for (const unsigned char payload : {1, 2, 255}) { // signalling ones and quiet ones, of both signs
            for (T x : {Limits::infinity(), -Limits::infinity(), nan, -nan}) {
                std::memcpy(&x, &payload, 1);
                values.push_back(x);
            }
        }
    }
    return values;
}

// n keys: of any bits, or of `distinct` kinds alone, special ones among them.
template <class T> std::vector<T> random_keys(std::size_t n, std::size_t distinct) {
    std::mt19937_64 words(n + distinct);
    std::vector<T> kinds = special_values<T>();
    while (kinds.size() < distinct) {
        const std::uint64_t word = words();
        T& kind = kinds.emplace_back();
        std::memcpy(&kind, &word, sizeof kind);
    }
    std::shuffle(kinds.begin(), kinds.end(), words);
    std::vector<T> keys(n);
    for (T& key : keys) key = kinds[words() % distinct];
    return keys;
}

// Positions in the order of the keys: IEEE 754's total order, which for integers is that of their values.
template <class T> std::vector<std::uint32_t> sorted_positions(const std::vector<T>& keys, bool ascending) {
    std::vector<std::uint32_t> positions(keys.size());
    std::iota(positions.begin(), positions.end(), 0);
    std::stable_sort(positions.begin(), positions.end(), [&](std::uint32_t i, std::uint32_t j) {
        const std::strong_ordering order = std::strong_order(keys[i], keys[j]);
        return ascending ? order < 0 : order > 0;
    });
    return positions;
}

template <class T> using Sort = std::int32_t (*)(T*, T*, std::int32_t);
template <class T>
using IndexSort = std::int32_t (*)(const T*, std::int32_t, std::uint32_t*, std::uint32_t*, std::int32_t);

template <class T> void check_keys(Sort<T> sort, const std::vector<T>& keys, bool ascending) {
    const std::size_t n = keys.size();
    GuardedArray<T> array(n), buffer(n);
    std::copy(keys.begin(), keys.end(), array.data());
    ASSERT_EQ(NVO_DFT_OK, sort(array.data(), buffer.data(), static_cast<int>(n)));
    const std::vector<std::uint32_t> positions = sorted_positions(keys, ascending);
    for (std::size_t i = 0; i < n; ++i)
        ASSERT_EQ(0, std::memcmp(&keys[positions[i]], &array[i], sizeof(T))) << i << " of " << n;
}

template <class T> void check_index(IndexSort<T> sort, const std::vector<T>& keys, bool ascending) {
    const std::vector<std::uint32_t> positions = sorted_positions(keys, ascending);
    for (const std::size_t stride : {sizeof(T), sizeof(T) + 1, 3 * sizeof(T)}) {
        const std::size_t n = keys.size(), bytes = (n - 1) * stride + sizeof(T);
        GuardedArray<unsigned char> records(bytes);
        GuardedArray<std::uint32_t> index(n), other(n);
        std::fill_n(records.data(), bytes, 0xCA);
        for (std::size_t i = 0; i < n; ++i) std::memcpy(&records[i * stride], &keys[i], sizeof(T));
        const std::vector<unsigned char> before(records.data(), records.data() + bytes);
        ASSERT_EQ(NVO_DFT_OK, sort(reinterpret_cast<const T*>(records.data()), static_cast<int>(stride), index.data(),
                                   other.data(), static_cast<int>(n)));
        ASSERT_TRUE(std::equal(positions.begin(), positions.end(), index.data())) << n << ", stride " << stride;
        ASSERT_TRUE(std::equal(before.begin(), before.end(), records.data())) << n << ", stride " << stride;
    }
}

// check(sort, keys, whether ascending) of two sorts and many arrays.
template <class T, class Sort> void check_many_arrays(auto check, Sort ascending, Sort descending) {
    std::vector<std::size_t> lengths(70);
    std::iota(lengths.begin(), lengths.end(), 1);
    lengths.insert(lengths.end(), {127, 255, 256, 257, 1000, 1023, 2047, 2049, 4999, 5000});
    for (const std::size_t n : lengths)
        for (const std::size_t distinct : {std::size_t{1}, std::size_t{20}, n + 20}) {
            const std::vector<T> keys = random_keys<T>(n, distinct);
            check(ascending, keys, true);
            check(descending, keys, false);
        }
}

TEST(RadixSort, OfKeysIsAStableSort) {
#define CHECK_KEYS(type, element)                                                               \
    check_many_arrays<element>(check_keys<element>, nvo_dft_def_tyrsSortRadixAscend_##type##_I, \
                               nvo_dft_def_tyrsSortRadixDescend_##type##_I);
    NVO_DFT_SORTED_TYPES(CHECK_KEYS)
}

TEST(RadixSort, OfPositionsIsAStableSort) {
#define CHECK_INDEX(type, element)                                                                \
    check_many_arrays<element>(check_index<element>, nvo_dft_def_tyrsSortRadixIndexAscend_##type, \
                               nvo_dft_def_tyrsSortRadixIndexDescend_##type);
    NVO_DFT_INDEX_SORTED_TYPES(CHECK_INDEX)
}

TEST(RadixSort, OfAMillion) {
    const auto floats = random_keys<float>(1000000, 700000);
    check_keys<float>(nvo_dft_def_tyrsSortRadixAscend_32f_I, floats, true);
    check_index<float>(nvo_dft_def_tyrsSortRadixIndexDescend_32f, floats, false);
    check_keys<double>(nvo_dft_def_tyrsSortRadixDescend_64f_I, random_keys<double>(1000000, 700000), false);
    check_keys<std::int16_t>(nvo_dft_def_tyrsSortRadixAscend_16s_I, random_keys<std::int16_t>(1000000, 50000), true);
}

TEST(RadixSort, TakesStridesWhoseSumNeedsMoreThan32Bits) {
    constexpr std::int32_t stride = INT32_MAX;
    constexpr std::size_t n = 4, bytes = (n - 1) * std::size_t{stride} + 1;
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    ASSERT_NE(MAP_FAILED, memory);
    auto* keys = static_cast<std::uint8_t*>(memory);
    for (std::size_t i = 0; i < n; ++i) keys[i * stride] = static_cast<std::uint8_t>(1 + (i ^ 1));
    std::uint32_t index[n], other[n];
    EXPECT_EQ(NVO_DFT_OK, nvo_dft_def_tyrsSortRadixIndexAscend_8u(keys, stride, index, other, n));
    EXPECT_EQ((std::vector<std::uint32_t>{1, 0, 3, 2}), std::vector<std::uint32_t>(index, index + n));
    munmap(memory, bytes);
}

template <class T> void check_refusals(Sort<T> sort) {
    T keys[] = {2, 1}, buffer[2] = {};
    EXPECT_EQ(NVO_DFT_ERR_NULL, sort(nullptr, buffer, 0));
    EXPECT_EQ(NVO_DFT_ERR_NULL, sort(keys, nullptr, 0));
    for (const int n : {0, -1}) EXPECT_EQ(NVO_DFT_ERR_LENGTH, sort(keys, buffer, n));
    EXPECT_TRUE(keys[0] == 2 && keys[1] == 1);
}
template <class T> void check_refusals(IndexSort<T> sort) {
    const T keys[] = {2, 1};
    constexpr int width = sizeof(T);
    std::uint32_t index[] = {7, 7}, other[2] = {};
    EXPECT_EQ(NVO_DFT_ERR_NULL, sort(nullptr, width, index, other, 0));
    EXPECT_EQ(NVO_DFT_ERR_NULL, sort(keys, width, nullptr, other, 0));
    EXPECT_EQ(NVO_DFT_ERR_NULL, sort(keys, 0, index, nullptr, 2));
    for (const int n : {0, -1}) EXPECT_EQ(NVO_DFT_ERR_LENGTH, sort(keys, width, index, other, n));
    for (const int stride : {width - 1, -width}) EXPECT_EQ(NVO_DFT_ERR_LENGTH, sort(keys, stride, index, other, 2));
    EXPECT_TRUE(index[0] == 7 && index[1] == 7);
}

TEST(RadixSort, RefusesNullPointersFirstAndThenLengthsAndStrides) {
#define REFUSES_KEYS(type, element)                                      \
    check_refusals<element>(nvo_dft_def_tyrsSortRadixAscend_##type##_I); \
    check_refusals<element>(nvo_dft_def_tyrsSortRadixDescend_##type##_I);
    NVO_DFT_SORTED_TYPES(REFUSES_KEYS)
#define REFUSES_INDEX(type, element)                                      \
    check_refusals<element>(nvo_dft_def_tyrsSortRadixIndexAscend_##type); \
    check_refusals<element>(nvo_dft_def_tyrsSortRadixIndexDescend_##type);
    NVO_DFT_INDEX_SORTED_TYPES(REFUSES_INDEX)
}

} // namespace
