// What MT19937 and MT2203 share. A twister is a sequence of words
//
//   x[i + N] = x[i + M] ^ twist(upper bits of x[i], lower bits of x[i + 1]),   twist(y) = (y >> 1) ^ (y odd ? a : 0)
//
// whose outputs are its words from x[N] on, each tempered by shifts and masks. The state is N words in a row, and how
// many of them have been output. Makoto Matsumoto, Takuji Nishimura: Mersenne twister, ACM TOMACS 8 (1998), 3-30.
#pragma once

#include "generators/outputs.h"
#include "generators/seed_words.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>

namespace nvo {

// N, M, the mask of the upper bits, and the first shift of the tempering, with the constants of a set.
template <int n, int m, std::uint32_t upper, int first_shift> struct Twister {
    static constexpr int words = n;
    static constexpr int round = std::lcm(n, 4); // words after which the four lanes meet the end of the state again

    std::uint32_t a, b, c;

    // Of one word, or of four in lanes.
    template <class W> W next(W x, W second, W middle) const {
        const W y = (x & upper) | (second & ~upper);
        return middle ^ (y >> 1) ^ (-(y & 1U) & a);
    }
    template <class W> W temper(W y) const {
        y ^= y >> first_shift;
        y ^= (y << 7) & b;
        y ^= (y << 15) & c;
        y ^= y >> 18;
        return y;
    }

    // Extends a row of n words by four at a time, and gives each four to take(i, four), i = 0, 4, ..., below count. The
    // row needs room for count words more, up to a multiple of 4.
    template <class Take> void extend(std::uint32_t* x, int count, Take take) const {
        static_assert(m + 4 <= n); // no four needs one of its own
        for (int i = 0; i < count; i += 4) {
            const auto four = next(load<FourWords>(x + i), load<FourWords>(x + i + 1), load<FourWords>(x + i + m));
            store(x + n + i, four);
            take(i, four);
        }
    }

    // The next n words in place of mt.
    void regenerate(std::uint32_t* mt) const {
        std::uint32_t x[2 * n + 3];
        std::memcpy(x, mt, n * sizeof *mt);
        extend(x, n, [](int, FourWords) {});
        std::memcpy(mt, x + n, n * sizeof *mt);
    }
};

// State has the words, mt, and the number of those that have been output, index. Any index above their number means
// that all have.
template <class State, class Rule, class Out>
void draw_twister(State& s, const Rule& rule, std::int32_t count, const Out& out) {
    constexpr int n = Rule::words;
    std::ptrdiff_t i = 0;
    while (i < count) {
        if (s.index >= n) {
            for (; count - i >= Rule::round; i += Rule::round) {
                std::uint32_t x[n + Rule::round];
                std::memcpy(x, s.mt, sizeof s.mt);
                rule.extend(x, Rule::round, [&](int j, FourWords four) { out.put(i + j, rule.temper(four)); });
                std::memcpy(s.mt, x + Rule::round, sizeof s.mt);
            }
            s.index = n;
            if (i == count) return;
            rule.regenerate(s.mt);
            s.index = 0;
        }
        const std::ptrdiff_t end = i + std::min<std::ptrdiff_t>(count - i, n - s.index);
        const std::uint32_t* word = s.mt + s.index;
        s.index += static_cast<std::int32_t>(end - i);
        for (; end - i >= 4; i += 4, word += 4) out.put(i, rule.temper(load<FourWords>(word)));
        for (; i < end; ++i, ++word) out.put(i, rule.temper(*word));
    }
}

// The state after `count` outputs, as drawing leaves it.
template <class State, class Rule> void pass_twister(State& s, const Rule& rule, std::uint64_t count) {
    constexpr int n = Rule::words;
    auto left = static_cast<std::uint64_t>(n - std::min(s.index, n));
    for (; count > left; left = n) {
        count -= left;
        rule.regenerate(s.mt);
    }
    s.index = n - static_cast<std::int32_t>(left - count);
}

// Seeding by an array of the twister's authors, of 2002: all words of the key count.
template <int n> void seed_twister(std::uint32_t (&mt)[n], SeedWords key) {
    mt[0] = 19650218;
    for (int i = 1; i < n; ++i) mt[i] = 1812433253 * (mt[i - 1] ^ (mt[i - 1] >> 30)) + static_cast<std::uint32_t>(i);
    int i = 1;
    const auto mixed = [&](std::uint32_t factor) { return mt[i] ^ ((mt[i - 1] ^ (mt[i - 1] >> 30)) * factor); };
    const auto step = [&] {
        if (++i < n) return;
        mt[0] = mt[n - 1];
        i = 1;
    };
    std::int32_t j = 0;
    for (std::int32_t k = std::max(n, key.count); k > 0; --k) {
        mt[i] = mixed(1664525) + key.words[j] + static_cast<std::uint32_t>(j);
        step();
        if (++j == key.count) j = 0;
    }
    for (int k = n - 1; k > 0; --k) {
        mt[i] = mixed(1566083941) - static_cast<std::uint32_t>(i);
        step();
    }
    mt[0] = 0x80000000;
}

} // namespace nvo
