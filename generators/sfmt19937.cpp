// SFMT19937: the SIMD-oriented fast Mersenne twister of 156 blocks of 128 bits. Numbers are the words of the blocks, as
// they are. The period is a multiple of 2^19937 - 1. Mutsuo Saito, Makoto Matsumoto: SIMD-oriented fast Mersenne
// twister, MCQMC 2006, 607-622; the recurrence is recur() below.

#include "generators/generator.h"
#include "generators/outputs.h"
#include "generators/seed_words.h"
#include "generators/twister_skip.h"
#include "tables/sfmt19937_poly.h"

#include <algorithm>
#include <bit>
#include <iterator>

using namespace nvo;

namespace {

constexpr int state_words = 624;
constexpr int blocks = state_words / 4;
constexpr int middle = 122;

struct State {
    std::uint32_t w[state_words]; // blocks, lowest word first
    std::int32_t index;           // word from which the next block is output, a multiple of 4; 624: none is left
    std::uint32_t tail[3];        // words left of a block that was output in part
    std::int32_t tail_pos, tail_end;
};
static_assert(offsetof(State, index) == 2496 && offsetof(State, tail) == 2500 && offsetof(State, tail_pos) == 2512 &&
              sizeof(StreamOf<State>) == 2536);

// ---- Recurrence ---------------------------------------------------------------------------------------------------

// B[i] from B[i - 156], B[i - 34], B[i - 2], B[i - 1].
FourWords recur(FourWords a, FourWords b, FourWords c, FourWords d) {
    constexpr FourWords mask = {0xDFFFFFEF, 0xDDFECB7F, 0xBFFAFFFF, 0xBFFFFFF6};
    const auto up = reinterpret_cast<FourWords>(_mm_slli_si128(reinterpret_cast<__m128i>(a), 1));
    const auto down = reinterpret_cast<FourWords>(_mm_srli_si128(reinterpret_cast<__m128i>(c), 1));
    FourWords rest = a ^ up ^ ((b >> 11) & mask) ^ down;
    asm("" : "+x"(rest)); // as one term: a block waits for no more than a shift and a sum of the last
    return rest ^ (d << 18);
}

FourWords block_at(const std::uint32_t* w, int i) { return load<FourWords>(w + static_cast<std::ptrdiff_t>(4) * i); }

// The next blocks in place of all, each given to take(i, block), i its first word.
template <class Take> void regenerate(std::uint32_t* w, Take take) {
    FourWords last_but_one = block_at(w, blocks - 2), last = block_at(w, blocks - 1);
    const auto step = [&](int i, int from_middle) {
        const auto block = recur(block_at(w, i), block_at(w, from_middle), last_but_one, last);
        store(w + static_cast<std::ptrdiff_t>(4) * i, block);
        take(4 * i, block);
        last_but_one = last;
        last = block;
    };
    for (int i = 0; i < blocks - middle; ++i) step(i, i + middle);
    for (int i = blocks - middle; i < blocks; ++i) step(i, i + middle - blocks);
}

// ---- Seeding ------------------------------------------------------------------------------------------------------

// The published seeding by an array.
void seed(State& s, SeedWords key) {
    constexpr int mid = 306, lag = 11;
    std::fill(s.w, s.w + state_words, 0x8B8B8B8BU);
    const auto at = [&s](std::int32_t i) -> std::uint32_t& { return s.w[i % state_words]; };
    const auto mix = [](std::uint32_t x, std::uint32_t factor) { return (x ^ (x >> 27)) * factor; };

    const auto add = [&](int i, std::uint32_t more) {
        std::uint32_t r = mix(at(i) ^ at(i + mid) ^ at(i + state_words - 1), 1664525);
        at(i + mid) += r;
        r += static_cast<std::uint32_t>(i) + more;
        at(i + mid + lag) += r;
        at(i) = r;
    };
    add(0, static_cast<std::uint32_t>(key.count));
    int i = 1;
    for (std::int32_t j = 0; j < std::max(key.count, state_words - 1); ++j) {
        add(i, j < key.count ? key.words[j] : 0);
        i = (i + 1) % state_words;
    }
    for (int j = 0; j < state_words; ++j) {
        std::uint32_t r = mix(at(i) + at(i + mid) + at(i + state_words - 1), 1566083941);
        at(i + mid) ^= r;
        r -= static_cast<std::uint32_t>(i);
        at(i + mid + lag) ^= r;
        at(i) = r;
        i = (i + 1) % state_words;
    }
    // The state must have a part in the cycle of length 2^19937 - 1, which is a matter of one parity.
    if (__builtin_parity((s.w[0] & 1U) ^ (s.w[3] & 0x13C9E684U)) == 0) s.w[0] ^= 1U;

    s.index = state_words;
    std::fill(s.tail, std::end(s.tail), 0U);
    s.tail_pos = s.tail_end = 0;
}

// ---- Drawing ------------------------------------------------------------------------------------------------------

// Makes the last `left` words of a block, fewer than 4, those left of it. All of the tail is set, so that a stream's
// bytes tell nothing but its place in the sequence.
void set_tail(State& s, const std::uint32_t* block_end, int left) {
    for (int i = 0; i < 3; ++i) s.tail[i] = i < left ? block_end[i - left] : 0;
    s.tail_pos = 0;
    s.tail_end = left;
}

template <class Out> std::int32_t draw(OstStream* stream, std::int32_t n, const Out& out) {
    if (n < 1) return OST_OK;
    auto& s = state_of<State>(stream);
    std::ptrdiff_t i = 0;
    if (s.tail_pos < s.tail_end) {
        int pos = s.tail_pos;
        while (pos < s.tail_end && i < n) out.put(i++, s.tail[pos++]);
        set_tail(s, s.tail + s.tail_end, s.tail_end - pos);
    }
    int index = s.index;
    while (i < n) {
        if (index == state_words) {
            for (; n - i >= state_words; i += state_words)
                regenerate(s.w, [&](int j, FourWords block) { out.put(i + j, block); });
            if (i == n) break;
            regenerate(s.w, [](int, FourWords) {});
            index = 0;
        }
        for (; n - i >= 4 && index < state_words; i += 4, index += 4) out.put(i, load<FourWords>(s.w + index));
        if (i == n || index == state_words) continue;
        // A block in part.
        index += 4;
        const auto left = static_cast<int>(i + 4 - n);
        for (int j = index - 4; i < n; ++i, ++j) out.put(i, s.w[j]);
        set_tail(s, s.w + index, left);
    }
    s.index = index;
    return OST_OK;
}

// ---- Skip-ahead ---------------------------------------------------------------------------------------------------
// A step is a block.

using Ring = RingOperations<State, &State::w>;

void update_state(OstStream* stream) {
    auto& s = state_of<State>(stream);
    const int i = s.index / 4 % blocks;
    const auto ago = [&](int back) { return block_at(s.w, (i + blocks - back) % blocks); };
    store(s.w + static_cast<std::ptrdiff_t>(4) * i, recur(ago(0), ago(blocks - middle), ago(2), ago(1)));
    s.index = 4 * (i + 1);
}

void put_state_back(OstStream* stream, const OstStream* from, std::int32_t adjust) {
    Ring::put_back(stream, from);
    auto& s = state_of<State>(stream);
    if (adjust != 0) set_tail(s, s.w + state_words, 4 - adjust);
}

// What is left of the tail and of the blocks at hand is skipped by the indices. A skip that goes further ends adjust
// words into its last block, or at that block's end if adjust is 0.
std::int32_t process_index(OstStream* stream, std::uint64_t* count, std::int32_t* adjust) {
    auto& s = state_of<State>(stream);
    *adjust = 0;
    const auto in_tail = static_cast<std::uint64_t>(s.tail_end - s.tail_pos);
    if (*count <= in_tail) {
        s.tail_pos += static_cast<std::int32_t>(*count);
        return 0;
    }
    *count -= in_tail;
    set_tail(s, s.tail, 0);
    const auto left = static_cast<std::uint64_t>(state_words - s.index);
    if (*count > left) {
        const std::uint64_t beyond = *count - left;
        s.index = state_words;
        *adjust = static_cast<std::int32_t>(beyond % 4);
        *count = beyond / 4 + (*adjust != 0 ? 1 : 0);
        return 1;
    }
    const int to = s.index + static_cast<int>(*count);
    s.index = (to + 3) / 4 * 4;
    set_tail(s, s.w + s.index, s.index - to);
    return 0;
}

// Up to 19967 words the power of x is a single one, which Horner's rule takes by steps alone. A count of 2^63 and more
// goes the same way, if slower: it is compared as signed.
std::int32_t skip(OstStream* stream, std::uint64_t count) {
    constexpr std::int64_t last_by_steps = 19967;
    const auto driver = static_cast<std::int64_t>(count) > last_by_steps ? __ost_SkipAheadSWin : __ost_SkipAheadHorner;
    return driver(stream, Ring::zero, Ring::add, Ring::copy, update_state, put_state_back, process_index, count,
                  state_words, 19968, sizeof(StreamOf<State>), std::size(_ost_sfmt19937_poly), _ost_sfmt19937_poly);
}

} // namespace

bool nvo::is_sound_SFMT19937(const OstStream* stream) {
    const auto& s = state_of<State>(stream);
    return s.index >= 0 && s.index <= state_words && s.index % 4 == 0 && s.tail_pos >= 0 && s.tail_pos <= s.tail_end &&
           s.tail_end <= 3;
}

std::int32_t __ostBRngSFMT19937InitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    switch (method) {
    case OST_METHOD_SEED: seed(state_of<State>(stream), {n, params}); return OST_OK;
    case OST_METHOD_LEAPFROG: return OST_ERR_NO_LEAPFROG;
    case OST_METHOD_SKIP: return skip(stream, *static_cast<const std::uint64_t*>(params));
    case OST_METHOD_SKIP_LONG: return OST_ERR_NO_SKIP_EX;
    default: return OST_ERR_METHOD;
    }
}

std::int32_t __ostiBRngSFMT19937(OstStream* stream, std::int32_t n, void* r) {
    return draw(stream, n, WordOutput{static_cast<std::uint32_t*>(r)});
}
// Scale and centre are worked out in double precision and rounded once; the rest is single precision.
std::int32_t __ostsBRngSFMT19937(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    const auto exact = signed_output<double, double>(nullptr, a, b);
    return draw(stream, n,
                ScaledOutput<float, float, As::signed_words>{r, static_cast<float>(exact.scale),
                                                             static_cast<float>(exact.shift)});
}
std::int32_t __ostdBRngSFMT19937(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return draw(stream, n, signed_output(r, a, b));
}
