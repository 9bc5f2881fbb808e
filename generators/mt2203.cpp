// MT2203: 6024 small twisters of 69 words, one recurrence with three constants that differ from set to set. The period
// of each is 2^2203 - 1. For streams that run side by side: the sets have different characteristic polynomials.

#include "generators/generator.h"
#include "generators/twister.h"

#include "tables/mt2203.h"

using namespace nvo;

namespace {

using Rule = Twister<69, 34, 0xFFFFFFE0, 12>;

struct State {
    std::uint32_t mt[Rule::words];
    std::int32_t index; // next word to output; 69: none is left
    std::uint32_t a, b, c;
    std::uint32_t padding;
};
static_assert(offsetof(State, index) == 276 && offsetof(State, a) == 280 && offsetof(State, c) == 288 &&
              sizeof(StreamOf<State>) == 312);

void seed(OstStream* stream, SeedWords key) {
    auto& s = state_of<State>(stream);
    seed_twister(s.mt, key);
    s.index = Rule::words;
    const std::uint32_t* set = _ost_mt2203_table[parameter_set(stream)];
    s.a = set[0];
    s.b = set[1];
    s.c = set[2];
}

template <class Out> std::int32_t draw(OstStream* stream, std::int32_t n, const Out& out) {
    auto& s = state_of<State>(stream);
    draw_twister(s, Rule{s.a, s.b, s.c}, n, out);
    return OST_OK;
}

} // namespace

bool nvo::is_sound_MT2203(const OstStream* stream) { return state_of<State>(stream).index >= 0; }

std::int32_t __ostBRngMT2203InitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    switch (method) {
    case OST_METHOD_SEED: seed(stream, {n, params}); return OST_OK;
    case OST_METHOD_LEAPFROG: return OST_ERR_NO_LEAPFROG;
    case OST_METHOD_SKIP: return OST_ERR_NO_SKIP;
    case OST_METHOD_SKIP_LONG: return OST_ERR_NO_SKIP_EX;
    default: return OST_ERR_METHOD;
    }
}

std::int32_t __ostiBRngMT2203(OstStream* stream, std::int32_t n, void* r) {
    return draw(stream, n, WordOutput{static_cast<std::uint32_t*>(r)});
}
// The bounds are subtracted in single precision, and all else is done in double.
std::int32_t __ostsBRngMT2203(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return draw(stream, n, ScaledOutput<float, double, As::unsigned_words>{r, (b - a) * 0x1p-32, a});
}
std::int32_t __ostdBRngMT2203(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return draw(stream, n, unsigned_output(r, a, b));
}
