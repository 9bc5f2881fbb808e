// Radix sorts by the lowest digit first: of keys in place, and of positions.
//
// A value is sorted by an unsigned key of its width. All digits are counted in one read of the keys, and each pass then
// puts every key where its digit's counter says, in the order in which it finds them: equal keys keep theirs. Digits of
// 11 bits take three passes for 32 bits, and the 2,048 places that a pass writes to at a time are few enough for the
// second levels of caches and of the page table's buffer.

#include "primitives/exports.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>
#include <type_traits>
#include <utility>

namespace {

enum class Order { ascending, descending };

template <std::size_t width> struct KeyOf;
template <> struct KeyOf<1> { using Type = std::uint8_t; };
template <> struct KeyOf<2> { using Type = std::uint16_t; };
template <> struct KeyOf<4> { using Type = std::uint32_t; };
template <> struct KeyOf<8> { using Type = std::uint64_t; };
template <class T> using Key = typename KeyOf<sizeof(T)>::Type;

template <class T> constexpr int top_bit = 8 * sizeof(T) - 1;
template <class T> constexpr Key<T> sign = static_cast<Key<T>>(Key<T>{1} << top_bit<T>);

// The key of a bit pattern, whose order as an unsigned number is the wanted one. Negative floating-point numbers, whose
// patterns rise with their magnitudes, are inverted. The descending key is the ascending one with all bits inverted.
template <class T, Order order> constexpr Key<T> key_of(Key<T> pattern) {
    Key<T> key = pattern;
    if constexpr (std::is_floating_point_v<T>) key ^= (Key<T>{0} - (pattern >> top_bit<T>)) | sign<T>;
    if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) key ^= sign<T>;
    return order == Order::ascending ? key : static_cast<Key<T>>(~key);
}
template <class T, Order order> constexpr Key<T> pattern_of(Key<T> key) {
    Key<T> pattern = order == Order::ascending ? key : static_cast<Key<T>>(~key);
    if constexpr (std::is_floating_point_v<T>) pattern ^= ~(Key<T>{0} - (pattern >> top_bit<T>)) | sign<T>;
    if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) pattern ^= sign<T>;
    return pattern;
}

// Arrays are bytes here: patterns of any type, keys and positions are read and written alike.
template <class Word> Word get(const std::byte* array, std::ptrdiff_t i) {
    Word word;
    std::memcpy(&word, array + i * static_cast<std::ptrdiff_t>(sizeof word), sizeof word);
    return word;
}
template <class Word> void put(std::byte* array, std::ptrdiff_t i, Word word) {
    std::memcpy(array + i * static_cast<std::ptrdiff_t>(sizeof word), &word, sizeof word);
}

// Widths of the digits in bits, from the low end.
template <std::size_t width> struct DigitsOf;
template <> struct DigitsOf<8> { static constexpr std::array bits = {11, 11, 10, 11, 11, 10}; };
template <> struct DigitsOf<4> { static constexpr std::array bits = {11, 11, 10}; };
template <> struct DigitsOf<2> { static constexpr std::array bits = {8, 8}; };
template <> struct DigitsOf<1> { static constexpr std::array bits = {8}; };

template <class T> constexpr int digits_of = DigitsOf<sizeof(T)>::bits.size();

// body<d>() for each digit d of a key, the lowest first.
template <class T, class Body> void for_each_digit(Body body) {
    [&]<int... d>(std::integer_sequence<int, d...>) { (body.template operator()<d>(), ...); }
    (std::make_integer_sequence<int, digits_of<T>>());
}

// A counter for each value of each digit.
template <class T> class Counters {
public:
    Counters() { nvo_dft_def_tyrsZero_32s(reinterpret_cast<std::int32_t*>(words_), total); }

    void count(Key<T> key) {
        for_each_digit<T>([&]<int d>() { ++words_[index<d>(key)]; });
    }
    std::uint32_t operator[](std::size_t i) const { return words_[i]; }

    // From counts to places: the number of keys with a smaller digit, less 1. Four counters at a time, since short
    // arrays spend most of their time here.
    void sum() {
        for (const Digit& digit : digits) {
            __m128i below = _mm_set1_epi32(-1);
            for (std::size_t i = digit.first; i < digit.first + digit.values; i += 4) {
                auto* four = reinterpret_cast<__m128i*>(words_ + i);
                const __m128i counts = _mm_load_si128(four);
                __m128i sums = _mm_add_epi32(counts, _mm_slli_si128(counts, 4));
                sums = _mm_add_epi32(sums, _mm_slli_si128(sums, 8));
                _mm_store_si128(four, _mm_add_epi32(below, _mm_sub_epi32(sums, counts)));
                below = _mm_add_epi32(below, _mm_shuffle_epi32(sums, 0xFF));
            }
        }
    }

    // Where the next key with this digit d goes.
    template <int d> std::uint32_t place(Key<T> key) { return ++words_[index<d>(key)]; }

private:
    struct Digit {
        int shift;
        std::size_t values, first; // first: of its counters
    };
    static constexpr auto digits = [] {
        std::array<Digit, digits_of<T>> all{};
        Digit next{0, 0, 0};
        for (std::size_t d = 0; d < all.size(); ++d) {
            const int bits = DigitsOf<sizeof(T)>::bits[d];
            next.values = std::size_t{1} << bits;
            all[d] = next;
            next.shift += bits;
            next.first += next.values;
        }
        return all;
    }();
    static constexpr auto total = digits.back().first + digits.back().values;

    template <int d> static constexpr std::size_t index(Key<T> key) {
        return digits[d].first + (static_cast<std::size_t>(key >> digits[d].shift) & (digits[d].values - 1));
    }

    alignas(16) std::uint32_t words_[total];
};

// place(item(i)) for i = 0, ..., n - 1, four an iteration: the items are read before one is written.
template <class Item, class Place> void walk(std::ptrdiff_t n, Item item, Place place) {
    std::ptrdiff_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const auto a = item(i), b = item(i + 1), c = item(i + 2), d = item(i + 3);
        place(a);
        place(b);
        place(c);
        place(d);
    }
    for (; i < n; ++i) place(item(i));
}

// ---- Keys in place -------------------------------------------------------------------------------------------------

// Turns patterns into keys where they stand, and counts their digits.
template <class T, Order order> void count_keys(Counters<T>& counters, std::byte* array, std::ptrdiff_t n) {
    if constexpr (sizeof(T) == 2) { // four as one word, since an integer's key is its pattern with some bits inverted
        constexpr std::uint64_t inverted = 0x0001000100010001U * key_of<T, order>(0);
        for (; n >= 4; n -= 4, array += sizeof(std::uint64_t)) {
            const std::uint64_t keys = get<std::uint64_t>(array, 0) ^ inverted;
            put(array, 0, keys);
            counters.count(static_cast<Key<T>>(keys));
            counters.count(static_cast<Key<T>>(keys >> 16));
            counters.count(static_cast<Key<T>>(keys >> 32));
            counters.count(static_cast<Key<T>>(keys >> 48));
        }
    }
    walk(
        n, [=](std::ptrdiff_t i) { return key_of<T, order>(get<Key<T>>(array, i)); },
        [&, next = std::ptrdiff_t{0}](Key<T> key) mutable {
            counters.count(key);
            put(array, next++, key);
        });
}

// The array holds keys while it is sorted, and the last pass turns them back. Three passes end in the buffer.
template <class T, Order order> void sort_keys(std::byte* array, std::byte* buffer, std::ptrdiff_t n) {
    Counters<T> counters;
    count_keys<T, order>(counters, array, n);
    counters.sum();
    for_each_digit<T>([&]<int d>() {
        constexpr bool is_last = d + 1 == digits_of<T>;
        const std::byte* from = d % 2 == 0 ? array : buffer;
        std::byte* to = d % 2 == 0 ? buffer : array;
        walk(
            n, [=](std::ptrdiff_t i) { return get<Key<T>>(from, i); },
            [&, to](Key<T> key) {
                put(to, counters.template place<d>(key), is_last ? pattern_of<T, order>(key) : key);
            });
    });
    if constexpr (digits_of<T> % 2 != 0) {
        static_assert(sizeof(T) == sizeof(std::int32_t));
        nvo_dft_def_tyrsCopy_32s(reinterpret_cast<const std::int32_t*>(buffer), reinterpret_cast<std::int32_t*>(array),
                                 static_cast<std::int32_t>(n));
    }
}

// Bytes are counted and written anew, in runs.
template <Order order> void sort_bytes(std::uint8_t* bytes, std::ptrdiff_t n) {
    using Byte = std::uint8_t;
    Counters<Byte> counters;
    walk(
        n, [=](std::ptrdiff_t i) { return key_of<Byte, order>(bytes[i]); }, [&](Byte key) { counters.count(key); });
    for (int key = 0; key < 256; ++key) {
        const auto run = static_cast<std::int32_t>(counters[key]);
        if (run == 0) continue;
        nvo_dft_def_tyrsSet_8u(pattern_of<Byte, order>(static_cast<Byte>(key)), bytes, run);
        bytes += run;
    }
}

template <class T, Order order> std::int32_t sort(T* src_dst, T* buffer, std::int32_t len) {
    if (src_dst == nullptr || buffer == nullptr) return NVO_DFT_ERR_NULL;
    if (len < 1) return NVO_DFT_ERR_LENGTH;
    if constexpr (sizeof(T) == 1) {
        sort_bytes<order>(src_dst, len);
    } else {
        sort_keys<T, order>(reinterpret_cast<std::byte*>(src_dst), reinterpret_cast<std::byte*>(buffer), len);
    }
    return NVO_DFT_OK;
}

// ---- Positions -----------------------------------------------------------------------------------------------------

// The passes alternate between the two lists so that the last one ends in `sorted`.
template <class T, Order order>
void sort_positions(const std::byte* keys, std::ptrdiff_t stride, std::byte* sorted, std::byte* other,
                    std::ptrdiff_t n) {
    struct Item {
        std::uint32_t position;
        Key<T> key;
    };
    const auto item = [=](std::uint32_t position) {
        return Item{position, key_of<T, order>(get<Key<T>>(keys + position * stride, 0))};
    };
    Counters<T> counters;
    walk(n, item, [&](const Item& i) { counters.count(i.key); });
    counters.sum();
    for_each_digit<T>([&]<int d>() {
        constexpr bool to_sorted = (digits_of<T> - d) % 2 != 0;
        const std::byte* from = to_sorted ? other : sorted;
        std::byte* to = to_sorted ? sorted : other;
        walk(
            n,
            [=](std::ptrdiff_t i) {
                return item(d == 0 ? static_cast<std::uint32_t>(i) : get<std::uint32_t>(from, i));
            },
            [&, to](const Item& i) { put(to, counters.template place<d>(i.key), i.position); });
    });
}

template <class T, Order order>
std::int32_t sort_index(const T* src, std::int32_t stride, std::uint32_t* dst_index, std::uint32_t* tmp_index,
                        std::int32_t len) {
    if (src == nullptr || dst_index == nullptr || tmp_index == nullptr) return NVO_DFT_ERR_NULL;
    if (len < 1 || stride < static_cast<std::int32_t>(sizeof(T))) return NVO_DFT_ERR_LENGTH;
    sort_positions<T, order>(reinterpret_cast<const std::byte*>(src), stride, reinterpret_cast<std::byte*>(dst_index),
                             reinterpret_cast<std::byte*>(tmp_index), len);
    return NVO_DFT_OK;
}

} // namespace

#define NVO_SORT(type, element)                                                                                     \
    std::int32_t nvo_dft_def_tyrsSortRadixAscend_##type##_I(element* src_dst, element* buffer, std::int32_t len) {  \
        return sort<element, Order::ascending>(src_dst, buffer, len);                                               \
    }                                                                                                               \
    std::int32_t nvo_dft_def_tyrsSortRadixDescend_##type##_I(element* src_dst, element* buffer, std::int32_t len) { \
        return sort<element, Order::descending>(src_dst, buffer, len);                                              \
    }
NVO_DFT_SORTED_TYPES(NVO_SORT)

#define NVO_SORT_INDEX(type, element)                                                                             \
    std::int32_t nvo_dft_def_tyrsSortRadixIndexAscend_##type(const element* src, std::int32_t stride,             \
                                                             std::uint32_t* dst_index, std::uint32_t* tmp_index,  \
                                                             std::int32_t len) {                                  \
        return sort_index<element, Order::ascending>(src, stride, dst_index, tmp_index, len);                     \
    }                                                                                                             \
    std::int32_t nvo_dft_def_tyrsSortRadixIndexDescend_##type(const element* src, std::int32_t stride,            \
                                                              std::uint32_t* dst_index, std::uint32_t* tmp_index, \
                                                              std::int32_t len) {                                 \
        return sort_index<element, Order::descending>(src, stride, dst_index, tmp_index, len);                    \
    }
NVO_DFT_INDEX_SORTED_TYPES(NVO_SORT_INDEX)
