// PHILOX4X32X10: a counter of 128 bits through ten rounds of multiplications, under a key of 64 bits. Period 2^130
// words.
//
// One round on four words x, with the keys a and b:
//
//   x <- (hi(m1 x2) ^ x1 ^ a, lo(m1 x2), hi(m0 x0) ^ x3 ^ b, lo(m0 x0))
//
// and from round to round a grows by w0, b by w1. J. K. Salmon, M. A. Moraes, R. O. Dror, D. E. Shaw, Parallel random
// numbers: as easy as 1, 2, 3, SC'11; Philox-4x32-10.
//
// Seed words: two of the key, four of the counter, lowest first; missing ones are 0.

#include "generators/counter.h"
#include "generators/generator.h"
#include "generators/outputs.h"

#include <algorithm>
#include <cstring>
#include <limits>

using namespace nvo;

namespace {

struct State {
    std::uint32_t key[2];
    std::uint32_t counter[4]; // of the next block, lowest word first
    std::uint32_t left;       // the last `left` words of `block` are still to be output: 0 to 3
    std::uint32_t block[4];   // the last one made
    std::uint32_t spare;
};
static_assert(offsetof(StreamOf<State>, state.counter) == 24 && offsetof(StreamOf<State>, state.left) == 40 &&
              offsetof(StreamOf<State>, state.block) == 44 && sizeof(StreamOf<State>) == 64);

constexpr int rounds = 10;
constexpr std::uint32_t m0 = 0xD2511F53, m1 = 0xCD9E8D57;
constexpr std::uint32_t w0 = 0x9E3779B9, w1 = 0xBB67AE85; // fractions of the golden ratio and of the square root of 3

Counter counter_of(const State& s) {
    return nvo::counter_of(std::uint64_t{s.counter[1]} << 32 | s.counter[0],
                           std::uint64_t{s.counter[3]} << 32 | s.counter[2]);
}
void set_counter(State& s, Counter c) {
    for (int i = 0; i < 4; ++i) s.counter[i] = static_cast<std::uint32_t>(c >> (32 * i));
}

// Two blocks side by side. A lane of 64 bits holds a word in its lower half and anything in its upper half, which is
// all that the multiplication of 32-bit words asks for: nothing is ever moved or masked between the rounds.
using Pair = Lanes<std::uint64_t, 2>;

Pair product(Pair x, Pair multiplier) {
    return reinterpret_cast<Pair>(_mm_mul_epu32(reinterpret_cast<__m128i>(x), reinterpret_cast<__m128i>(multiplier)));
}

class Cipher {
public:
    explicit Cipher(const State& s) {
        for (std::uint32_t i = 0; i < rounds; ++i) {
            keys_[i][0] = splat<Pair>(s.key[0] + i * w0);
            keys_[i][1] = splat<Pair>(s.key[1] + i * w1);
        }
    }

    // 2 * pairs blocks, from one whose counter has these halves on; low + 2 * pairs - 1 must not overflow.
    template <int pairs> void blocks(std::uint64_t low, std::uint64_t high, FourWords* out) const {
        Pair x[pairs][4];
        unroll<pairs>([&](auto p) {
            x[p][0] = splat<Pair>(low) + Pair{2 * p, 2 * p + 1};
            x[p][1] = x[p][0] >> 32;
            x[p][2] = splat<Pair>(high);
            x[p][3] = x[p][2] >> 32;
        });
        const Pair by0 = splat<Pair>(m0), by1 = splat<Pair>(m1);
        for (const auto& key : keys_) {
            unroll<pairs>([&](auto p) {
                const Pair p0 = product(x[p][0], by0), p1 = product(x[p][2], by1);
                x[p][0] = (p1 >> 32) ^ x[p][1] ^ key[0];
                x[p][1] = p1;
                x[p][2] = (p0 >> 32) ^ x[p][3] ^ key[1];
                x[p][3] = p0;
            });
        }
        unroll<pairs>([&](auto p) {
            const auto lane = [&x](int i) { return reinterpret_cast<__m128i>(x[decltype(p)::value][i]); };
            const __m128i first01 = _mm_unpacklo_epi32(lane(0), lane(1)),
                          first23 = _mm_unpacklo_epi32(lane(2), lane(3));
            const __m128i second01 = _mm_unpackhi_epi32(lane(0), lane(1)),
                          second23 = _mm_unpackhi_epi32(lane(2), lane(3));
            out[2 * p] = reinterpret_cast<FourWords>(_mm_unpacklo_epi64(first01, first23));
            out[2 * p + 1] = reinterpret_cast<FourWords>(_mm_unpacklo_epi64(second01, second23));
        });
    }

    FourWords block(Counter c) const {
        // The second block of the pair isn't used, and its counter may be any.
        FourWords both[2];
        blocks<1>(low_half(c), high_half(c), both);
        return both[0];
    }

private:
    Pair keys_[rounds][2];
};

template <class Out> std::int32_t block(OstStream* stream, std::int32_t n, Out out) {
    auto& s = state_of<State>(stream);
    if (n < 1) return OST_OK;
    std::ptrdiff_t i = 0;
    for (; s.left > 0 && i < n; --s.left) out.put(i++, s.block[4 - s.left]);
    if (i == n) return OST_OK;

    const Cipher cipher(s);
    Counter c = counter_of(s);
    FourWords last{};
    constexpr int pairs = 3, together = 2 * pairs;
    constexpr std::ptrdiff_t words_together = std::ptrdiff_t{4} * together;
    while (n - i >= words_together && low_half(c) <= std::numeric_limits<std::uint64_t>::max() - (together - 1)) {
        FourWords made[together];
        cipher.blocks<pairs>(low_half(c), high_half(c), made);
        for (std::ptrdiff_t k = 0; k < together; ++k) out.put(i + 4 * k, made[k]);
        last = made[together - 1];
        i += words_together;
        c += together;
    }
    for (; n - i >= 4; i += 4) {
        last = cipher.block(c++);
        out.put(i, last);
    }
    if (i < n) last = cipher.block(c++);
    store(s.block, last);
    set_counter(s, c);
    s.left = i < n ? 4 : 0;
    for (; i < n; --s.left) out.put(i++, s.block[4 - s.left]);
    return OST_OK;
}

// A skip that ends between two blocks makes the block before, as drawing does, if it is short, and none if it is long.
// Nothing more of that block is output.
std::int32_t skip(OstStream* stream, const SkipCount& count, bool is_long) {
    auto& s = state_of<State>(stream);
    if (count.is_at_most(s.left)) {
        s.left -= count.lowest();
        return OST_OK;
    }
    const auto [whole, words] = count.blocks_behind(s.left);
    s.left = (4 - words) & 3;
    Counter c = counter_of(s) + whole;
    if (words != 0) ++c;
    set_counter(s, c);
    if (words != 0 || !is_long) store(s.block, Cipher(s).block(c - 1));
    return OST_OK;
}

std::int32_t seed(OstStream* stream, std::int32_t n, const std::uint32_t* params) {
    std::uint32_t words[6]{};
    std::copy_n(params, std::clamp(n, 0, 6), words);
    auto& s = state_of<State>(stream);
    s = {};
    std::copy_n(words, 2, s.key);
    std::copy_n(words + 2, 4, s.counter);
    return OST_OK;
}

} // namespace

bool nvo::is_sound_PHILOX4X32X10(const OstStream* stream) { return state_of<State>(stream).left < 4; }

std::int32_t __ostBRngPHILOX4X32X10InitStream(std::int32_t method, OstStream* stream, std::int32_t n,
                                              const void* params) {
    switch (method) {
    case OST_METHOD_SEED: return seed(stream, n, static_cast<const std::uint32_t*>(params));
    case OST_METHOD_LEAPFROG: return OST_ERR_NO_LEAPFROG;
    case OST_METHOD_SKIP: return skip(stream, SkipCount(1, static_cast<const std::uint64_t*>(params)), false);
    case OST_METHOD_SKIP_LONG: return skip(stream, SkipCount(n, static_cast<const std::uint64_t*>(params)), true);
    default: return OST_ERR_METHOD;
    }
}

std::int32_t __ostiBRngPHILOX4X32X10(OstStream* stream, std::int32_t n, void* r) {
    return block(stream, n, WordOutput{static_cast<std::uint32_t*>(r)});
}
std::int32_t __ostsBRngPHILOX4X32X10(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return block(stream, n, signed_output(r, a, b));
}
std::int32_t __ostdBRngPHILOX4X32X10(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return block(stream, n, signed_output(r, a, b));
}
