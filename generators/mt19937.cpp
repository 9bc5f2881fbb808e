// MT19937: the Mersenne twister of 624 words, x[i + 624] = x[i + 397] ^ twist(x[i], x[i + 1]) (twister.h). The period
// is 2^19937 - 1. Of the word that the recurrence takes next but for its top bit nothing is used: the state has 623 *
// 32 + 1 bits.

#include "generators/generator.h"
#include "generators/twister.h"
#include "generators/twister_skip.h"
#include "tables/mt19937_poly.h"

#include <algorithm>
#include <iterator>

using namespace nvo;

namespace {

using Rule = Twister<624, 397, 0x80000000, 11>;
constexpr Rule rule{0x9908B0DF, 0x9D2C5680, 0xEFC60000};
constexpr int state_words = Rule::words;

struct State {
    std::uint32_t mt[state_words];
    std::int32_t index; // next word to output; 624: none is left
    std::uint32_t padding;
};
static_assert(offsetof(State, index) == 2496 && sizeof(StreamOf<State>) == 2520);

void seed(State& s, SeedWords key) {
    seed_twister(s.mt, key);
    s.index = state_words;
}

// ---- Skip-ahead ---------------------------------------------------------------------------------------------------

using Ring = RingOperations<State, &State::mt>;

void update_state(OstStream* stream) {
    auto& s = state_of<State>(stream);
    const int j = s.index % state_words;
    s.mt[j] = rule.next(s.mt[j], s.mt[(j + 1) % state_words], s.mt[(j + 397) % state_words]);
    s.index = (j + 1) % state_words;
}

void put_state_back(OstStream* stream, const OstStream* from, std::int32_t) { Ring::put_back(stream, from); }

// What is left of the words at hand is skipped by the index.
std::int32_t process_index(OstStream* stream, std::uint64_t* count, std::int32_t* adjust) {
    auto& s = state_of<State>(stream);
    *adjust = 0;
    const int index = std::min(s.index, state_words);
    const auto left = static_cast<std::uint64_t>(state_words - index);
    if (*count <= left) {
        s.index = index + static_cast<std::int32_t>(*count);
        return 0;
    }
    *count -= left;
    s.index = state_words;
    return 1;
}

std::int32_t skip(OstStream* stream, std::uint64_t count) {
    constexpr std::uint64_t by_polynomial_from = 1 << 20;
    if (count < by_polynomial_from) {
        pass_twister(state_of<State>(stream), rule, count);
        return OST_OK;
    }
    return __ost_SkipAheadSWin(stream, Ring::zero, Ring::add, Ring::copy, update_state, put_state_back, process_index,
                               count, state_words, 19937, sizeof(StreamOf<State>), std::size(_ost_mt19937_poly),
                               _ost_mt19937_poly);
}

template <class Out> std::int32_t draw(OstStream* stream, std::int32_t n, const Out& out) {
    draw_twister(state_of<State>(stream), rule, n, out);
    return OST_OK;
}

} // namespace

bool nvo::is_sound_MT19937(const OstStream* stream) { return state_of<State>(stream).index >= 0; }

std::int32_t __ostBRngMT19937InitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    switch (method) {
    case OST_METHOD_SEED: seed(state_of<State>(stream), {n, params}); return OST_OK;
    case OST_METHOD_LEAPFROG: return OST_ERR_NO_LEAPFROG;
    case OST_METHOD_SKIP: return skip(stream, *static_cast<const std::uint64_t*>(params));
    case OST_METHOD_SKIP_LONG: return OST_ERR_NO_SKIP_EX;
    default: return OST_ERR_METHOD;
    }
}

std::int32_t __ostiBRngMT19937(OstStream* stream, std::int32_t n, void* r) {
    return draw(stream, n, WordOutput{static_cast<std::uint32_t*>(r)});
}
std::int32_t __ostsBRngMT19937(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return draw(stream, n, unsigned_output<float, double>(r, a, b));
}
std::int32_t __ostdBRngMT19937(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return draw(stream, n, unsigned_output(r, a, b));
}
