// 128-bit counters of the counter-based generators, and the counts by which their streams skip.
#pragma once

#include <algorithm>
#include <cstdint>

namespace nvo {

using Counter = unsigned __int128;

inline std::uint64_t low_half(Counter c) { return static_cast<std::uint64_t>(c); }
inline std::uint64_t high_half(Counter c) { return static_cast<std::uint64_t>(c >> 64); }
inline Counter counter_of(std::uint64_t low, std::uint64_t high) { return Counter{high} << 64 | low; }

// A count of words to skip, of up to 192 bits: the first three of n 64-bit words, lowest first.
class SkipCount {
public:
    SkipCount(std::int32_t n, const std::uint64_t* words) { std::copy_n(words, std::clamp(n, 0, 3), words_); }

    bool is_at_most(std::uint32_t left) const { return words_[0] <= left && words_[1] == 0 && words_[2] == 0; }
    std::uint32_t lowest() const { return static_cast<std::uint32_t>(words_[0]); }

    // What remains to be skipped behind the `left` words of the block at hand, in blocks of four words: whole blocks,
    // modulo 2^128, and words beyond them.
    struct Blocks {
        Counter whole;
        std::uint32_t words;
    };
    Blocks blocks_behind(std::uint32_t left) const {
        const Counter low = counter_of(words_[0], words_[1]);
        const Counter rest = low - left;
        const std::uint64_t top = words_[2] - (low < left ? 1 : 0);
        return {rest >> 2 | Counter{top & 3} << 126, static_cast<std::uint32_t>(rest & 3)};
    }

private:
    std::uint64_t words_[3]{};
};

} // namespace nvo
