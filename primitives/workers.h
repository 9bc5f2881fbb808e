// The memory traffic behind copy, set and zero: stores of 16 bytes, and past the cache for blocks that outgrow it.
//
// Blocks of 16 bytes lie on 16-byte boundaries of the destination. What is left at its ends is stored by blocks across
// the boundary, which write some bytes a second time with what they hold already.
//
// `Cache` answers how large the cache is: size() and share() of cache_size.h. It is asked on every call above the first
// gate, and on no other one; if it doesn't know, nothing is streamed.
#pragma once

#include "primitives/cache_size.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>

namespace nvo {

using Block = __m128i;
inline constexpr std::size_t block_bytes = sizeof(Block);

template <class T> T read(const std::byte* from) {
    T word;
    std::memcpy(&word, from, sizeof word);
    return word;
}
template <class T> void write(std::byte* to, T word) { std::memcpy(to, &word, sizeof word); }
// At boundaries; types of their own, so that they are inlined where they are passed on.
inline constexpr auto write_aligned = [](std::byte* to, Block b) { _mm_store_si128(reinterpret_cast<Block*>(to), b); };
inline constexpr auto write_streaming = [](std::byte* to, Block b) {
    _mm_stream_si128(reinterpret_cast<Block*>(to), b);
};

inline std::size_t bytes_to_boundary(const std::byte* p) { return -reinterpret_cast<std::uintptr_t>(p) % block_bytes; }

// The compiler would make calls of memcpy and memset out of loops of stores; not if it can't follow their pointer.
inline void hide(std::byte*& p) { asm("" : "+r"(p)); }

// ---- Copy ----------------------------------------------------------------------------------------------------------

inline constexpr std::size_t copy_gate = 0x80000; // bytes
inline constexpr std::size_t copy_chunk = 0x40000;

// Whether a copy with so many bytes left at a boundary of the destination goes past the cache: at half the cache, since
// the source takes the other half.
template <class Cache> bool is_copy_streamed(std::size_t bytes) {
    if (bytes < copy_gate) return false;
    const std::int64_t cache = Cache::share();
    return cache != unknown_cache && bytes >= static_cast<std::size_t>(cache) / 2;
}

// Up to two words, which may overlap.
template <class Word> void copy_ends(const std::byte* from, std::byte* to, std::size_t bytes) {
    const auto first = read<Word>(from), last = read<Word>(from + bytes - sizeof(Word));
    write(to, first);
    write(to + bytes - sizeof(Word), last);
}

// Below 64 bytes.
inline void copy_short(const std::byte* from, std::byte* to, std::size_t bytes) {
    if (bytes > 2 * block_bytes) {
        const auto second = read<Block>(from + block_bytes), third = read<Block>(from + bytes - 2 * block_bytes);
        copy_ends<Block>(from, to, bytes);
        write(to + block_bytes, second);
        write(to + bytes - 2 * block_bytes, third);
    } else if (bytes >= block_bytes) {
        copy_ends<Block>(from, to, bytes);
    } else if (bytes >= 8) {
        copy_ends<std::uint64_t>(from, to, bytes);
    } else if (bytes >= 4) {
        copy_ends<std::uint32_t>(from, to, bytes);
    } else if (bytes >= 2) {
        copy_ends<std::uint16_t>(from, to, bytes);
    } else if (bytes == 1) {
        *to = *from;
    }
}

// Four blocks an iteration, then one. Gives the bytes that are left. Loads across a boundary cost no more than others
// where the address happens to lie on one, so that there is one loop for both kinds of sources.
template <class Write> std::size_t copy_blocks(const std::byte*& from, std::byte*& to, std::size_t bytes, Write write) {
    for (; bytes >= 4 * block_bytes; bytes -= 4 * block_bytes) {
        const auto a = read<Block>(from), b = read<Block>(from + block_bytes);
        const auto c = read<Block>(from + 2 * block_bytes), d = read<Block>(from + 3 * block_bytes);
        write(to, a);
        write(to + block_bytes, b);
        write(to + 2 * block_bytes, c);
        write(to + 3 * block_bytes, d);
        from += 4 * block_bytes;
        to += 4 * block_bytes;
        hide(to);
    }
    for (; bytes >= block_bytes; bytes -= block_bytes) {
        write(to, read<Block>(from));
        from += block_bytes;
        to += block_bytes;
        hide(to);
    }
    return bytes;
}

// Brings the byte's line into the cache, and at this distance of others the next line too.
inline constexpr std::size_t touch_distance = 128;
inline void touch(const std::byte* p) { static_cast<void>(*static_cast<const volatile std::byte*>(p)); }

inline std::size_t copy_streaming(const std::byte*& from, std::byte*& to, std::size_t bytes) {
    for (; bytes >= copy_chunk; bytes -= copy_chunk) {
        for (std::size_t i = 0; i < copy_chunk; i += touch_distance) touch(from + i);
        copy_blocks(from, to, copy_chunk, write_streaming);
    }
    // Downwards, so that what is copied first was touched last.
    for (std::size_t i = bytes; i > 0; i -= i < touch_distance ? i : touch_distance) touch(from + i - 1);
    const std::size_t left = copy_blocks(from, to, bytes, write_streaming);
    _mm_sfence();
    return left;
}

// The arrays must not overlap.
template <class Cache> void copy(const void* src, void* dst, std::size_t bytes) {
    const auto* from = static_cast<const std::byte*>(src);
    auto* to = static_cast<std::byte*>(dst);
    if (bytes < 4 * block_bytes) return copy_short(from, to, bytes);
    const std::size_t step = bytes_to_boundary(to);
    write(to, read<Block>(from));
    from += step;
    to += step;
    bytes -= step;
    const std::size_t left =
        is_copy_streamed<Cache>(bytes) ? copy_streaming(from, to, bytes) : copy_blocks(from, to, bytes, write_aligned);
    if (left != 0) write(to + left - block_bytes, read<Block>(from + left - block_bytes));
}

// ---- Set and zero --------------------------------------------------------------------------------------------------

// Elements that don't ask for the cache: half a MiB of bytes, a MiB of all others.
template <std::size_t width> inline constexpr std::size_t fill_gate = (width == 1 ? 0x80000 : 0x100000) / width;

// Whether so many elements left at a boundary go past the cache: bytes from its size on, others above it.
template <std::size_t width, class Cache> bool is_fill_streamed(std::size_t elements) {
    if (elements <= fill_gate<width>) return false;
    const std::int64_t cache = Cache::size();
    if (cache == unknown_cache) return false;
    const std::size_t fitting = static_cast<std::size_t>(cache) / width;
    return width == 1 ? elements >= fitting : elements > fitting;
}

// Elements of one value in a block, from the first byte of one.
template <std::size_t width> Block spread(const void* value) {
    const auto* v = static_cast<const std::byte*>(value);
    if constexpr (width == 1) return _mm_set1_epi8(read<char>(v));
    if constexpr (width == 2) return _mm_set1_epi16(read<short>(v));
    if constexpr (width == 4) return _mm_set1_epi32(read<int>(v));
    if constexpr (width == 8) return _mm_set1_epi64x(read<long long>(v));
    if constexpr (width == 16) return read<Block>(v);
}

// The same pattern, `bytes` further on.
inline Block rotated(Block pattern, std::size_t bytes) {
    alignas(block_bytes) std::byte twice[2 * block_bytes];
    write_aligned(twice, pattern);
    write_aligned(twice + block_bytes, pattern);
    return read<Block>(twice + bytes);
}

template <class Word> void fill_ends(std::byte* to, Word pattern, std::size_t bytes) {
    write(to, pattern);
    write(to + bytes - sizeof(Word), pattern);
}

// Below 16 bytes, by the first ones of the pattern. The width of the elements divides `bytes` and each distance here.
inline void fill_short(std::byte* to, std::uint64_t pattern, std::size_t bytes) {
    if (bytes >= 8) {
        fill_ends(to, pattern, bytes);
    } else if (bytes >= 4) {
        fill_ends(to, static_cast<std::uint32_t>(pattern), bytes);
    } else if (bytes >= 2) {
        fill_ends(to, static_cast<std::uint16_t>(pattern), bytes);
    } else if (bytes == 1) {
        *to = static_cast<std::byte>(pattern);
    }
}

template <class Write> void fill_blocks(std::byte* to, Block pattern, std::size_t bytes, Write write) {
    for (; bytes >= 4 * block_bytes; bytes -= 4 * block_bytes) {
        for (std::size_t i = 0; i < 4; ++i) write(to + i * block_bytes, pattern);
        to += 4 * block_bytes;
        hide(to);
    }
    for (; bytes >= block_bytes; bytes -= block_bytes) {
        write(to, pattern);
        to += block_bytes;
        hide(to);
    }
}

// From so many bytes on one string instruction beats a loop of stores: the processor carries it out in whole lines, and
// doesn't read those first that aren't in the cache. Measured: half the time from 4 KiB to 1 MiB. It stores 8 bytes.
inline constexpr std::size_t string_gate = 2048;
inline void fill_plain(std::byte* to, Block pattern, std::size_t bytes) {
    const auto word = static_cast<std::uint64_t>(_mm_cvtsi128_si64(pattern));
    if (bytes >= string_gate && word == static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_srli_si128(pattern, 8)))) {
        std::size_t words = bytes / sizeof word;
        asm volatile("rep stosq" : "+D"(to), "+c"(words) : "a"(word) : "memory");
    } else {
        fill_blocks(to, pattern, bytes, write_aligned);
    }
}

// Elements of `width` bytes. The destination may lie anywhere: between the boundaries, the pattern is turned to where
// they fall, so that all stores but the first and the last are aligned.
template <std::size_t width, class Cache> void fill(const void* value, void* dst, std::size_t elements) {
    auto* to = static_cast<std::byte*>(dst);
    const std::size_t bytes = elements * width;
    const Block pattern = spread<width>(value);
    if (bytes < block_bytes) return fill_short(to, static_cast<std::uint64_t>(_mm_cvtsi128_si64(pattern)), bytes);
    const std::size_t step = bytes_to_boundary(to), left = bytes - step;
    const Block turned = step % width == 0 ? pattern : rotated(pattern, step);
    write(to, pattern);
    if (is_fill_streamed<width, Cache>(left / width)) {
        fill_blocks(to + step, turned, left, write_streaming);
        _mm_sfence();
    } else {
        fill_plain(to + step, turned, left);
    }
    write(to + bytes - block_bytes, pattern);
}

} // namespace nvo
