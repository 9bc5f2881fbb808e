// ARS5: a counter of 128 bits through five rounds of AES, under a key of 128 bits. Period 2^130 words.
//
// The block of counter c under key k: c ^ k, four rounds of AES with the keys k_1 to k_4, and a last one with k_5. The
// keys aren't AES's own: k_r is k_(r-1) with a constant added to each half. J. K. Salmon, M. A. Moraes, R. O. Dror, D.
// E. Shaw, Parallel random numbers: as easy as 1, 2, 3, SC'11.
//
// Seed words: four of the key, four of the counter, lowest first; missing ones are 0.
//
// When a call needs more than the words at hand, it always makes one block ahead, so that the state between calls
// depends on how they were split: the same place is a new block with all four words left, or the old one with none. The
// numbers don't depend on it.

#include "generators/counter.h"
#include "generators/generator.h"
#include "generators/outputs.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>
#include <wmmintrin.h>

using namespace nvo;

#define NVO_WITH_AES [[gnu::target("aes")]]

namespace {

struct State {
    std::uint32_t key[4];
    std::uint64_t counter[2]; // of the next block, lowest word first
    std::uint32_t left;       // the last `left` words of `block` are still to be output: 0 to 4
    std::uint32_t block[4];   // the last one made
    std::uint32_t spare;
};
static_assert(offsetof(StreamOf<State>, state.counter) == 32 && offsetof(StreamOf<State>, state.left) == 48 &&
              offsetof(StreamOf<State>, state.block) == 52 && sizeof(StreamOf<State>) == 72);

constexpr int rounds = 5;
// Fractions of the golden ratio and of the square root of 3.
constexpr std::uint64_t step_low = 0x9E3779B97F4A7C15, step_high = 0xBB67AE8584CAA73B;

class Cipher {
public:
    explicit Cipher(const State& s) {
        auto key = reinterpret_cast<Half>(load<FourWords>(s.key));
        for (Half& k : keys_) {
            k = key;
            key += Half{step_low, step_high};
        }
    }

    // `count` blocks, from one whose counter has these halves on; low + count - 1 must not overflow. The rounds run
    // side by side: each waits for the one before, and the processor takes up new ones meanwhile.
    template <int count> NVO_WITH_AES void blocks(std::uint64_t low, std::uint64_t high, FourWords* out) const {
        blocks(Half{low, high}, out, std::make_integer_sequence<int, count>());
    }

private:
    using Half = Lanes<std::uint64_t, 2>;

    template <int... i> NVO_WITH_AES void blocks(Half counter, FourWords* out, std::integer_sequence<int, i...>) const {
        __m128i s[] = {reinterpret_cast<__m128i>((counter + Half{i, 0}) ^ keys_[0])...};
        for (int r = 1; r < rounds; ++r) ((s[i] = _mm_aesenc_si128(s[i], reinterpret_cast<__m128i>(keys_[r]))), ...);
        const auto last = reinterpret_cast<__m128i>(keys_[rounds]);
        ((out[i] = reinterpret_cast<FourWords>(_mm_aesenclast_si128(s[i], last))), ...);
    }

    Half keys_[rounds + 1];
};

Counter counter_of(const State& s) { return nvo::counter_of(s.counter[0], s.counter[1]); }

// One block ahead: at the counter, which then stands on the next. `left` words of it are still to be output.
NVO_WITH_AES void make_block(State& s, const Cipher& cipher, Counter c, std::uint32_t left) {
    FourWords made;
    cipher.blocks<1>(low_half(c), high_half(c), &made);
    store(s.block, made);
    ++c;
    s.counter[0] = low_half(c);
    s.counter[1] = high_half(c);
    s.left = left;
}

// Words of the block at hand, up to number n of the output.
template <class Out> std::ptrdiff_t put_left(State& s, std::ptrdiff_t i, std::ptrdiff_t n, Out out) {
    for (; s.left > 0 && i < n; --s.left) out.put(i++, s.block[4 - s.left]);
    return i;
}

template <class Out> NVO_WITH_AES std::int32_t block_with_aes(State& s, std::ptrdiff_t n, Out out) {
    std::ptrdiff_t i = put_left(s, 0, n, out);
    if (i == n) return OST_OK;

    const Cipher cipher(s);
    Counter c = counter_of(s);
    constexpr int together = 8;
    constexpr std::ptrdiff_t words_together = std::ptrdiff_t{4} * together;
    while (n - i >= words_together && low_half(c) <= std::numeric_limits<std::uint64_t>::max() - (together - 1)) {
        FourWords made[together];
        cipher.blocks<together>(low_half(c), high_half(c), made);
        for (std::ptrdiff_t k = 0; k < together; ++k) out.put(i + 4 * k, made[k]);
        i += words_together;
        c += together;
    }
    for (; n - i >= 4; i += 4) {
        FourWords made;
        cipher.blocks<1>(low_half(c), high_half(c), &made);
        out.put(i, made);
        ++c;
    }
    make_block(s, cipher, c, 4);
    put_left(s, i, n, out);
    return OST_OK;
}

template <class Out> std::int32_t block(OstStream* stream, std::int32_t n, Out out) {
    if (__ostCPUisAES() == 0) return OST_ERR_NO_AES;
    return n < 1 ? OST_OK : block_with_aes(state_of<State>(stream), n, out);
}

std::int32_t skip(OstStream* stream, const SkipCount& count) {
    if (__ostCPUisAES() == 0) return OST_ERR_NO_AES;
    auto& s = state_of<State>(stream);
    if (count.is_at_most(s.left)) {
        s.left -= count.lowest();
        return OST_OK;
    }
    const auto [whole, words] = count.blocks_behind(s.left);
    make_block(s, Cipher(s), counter_of(s) + whole, 4 - words);
    return OST_OK;
}

std::int32_t seed(OstStream* stream, std::int32_t n, const std::uint32_t* params) {
    std::uint32_t words[8]{};
    std::copy_n(params, std::clamp(n, 0, 8), words);
    auto& s = state_of<State>(stream);
    s = {};
    std::copy_n(words, 4, s.key);
    std::memcpy(s.counter, words + 4, sizeof s.counter);
    return OST_OK;
}

} // namespace

bool nvo::is_sound_ARS5(const OstStream* stream) { return state_of<State>(stream).left <= 4; }

std::int32_t __ostBRngARS5InitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    switch (method) {
    case OST_METHOD_SEED: return seed(stream, n, static_cast<const std::uint32_t*>(params));
    case OST_METHOD_LEAPFROG: return OST_ERR_NO_LEAPFROG;
    case OST_METHOD_SKIP: return skip(stream, SkipCount(1, static_cast<const std::uint64_t*>(params)));
    case OST_METHOD_SKIP_LONG: return skip(stream, SkipCount(n, static_cast<const std::uint64_t*>(params)));
    default: return OST_ERR_METHOD;
    }
}

std::int32_t __ostiBRngARS5(OstStream* stream, std::int32_t n, void* r) {
    return block(stream, n, WordOutput{static_cast<std::uint32_t*>(r)});
}
std::int32_t __ostsBRngARS5(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return block(stream, n, signed_output(r, a, b));
}
std::int32_t __ostdBRngARS5(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return block(stream, n, signed_output(r, a, b));
}
