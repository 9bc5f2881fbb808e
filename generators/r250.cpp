// R250: generalised feedback shift register (Kirkpatrick and Stoll, Journal of Computational Physics 40, 1981,
// 517-526).
//
//   x[t] = x[t - 250] ^ x[t - 147]
//
// Each bit has period 2^250 - 1, unless its 250 seed bits are all 0. The state is the ring of the last 250 words; the
// new word goes out. Numbers are x 2^-32, scaled.

#include "generators/generator.h"
#include "generators/outputs.h"

#include <algorithm>

using namespace nvo;

namespace {

constexpr std::int32_t order = 250;
constexpr std::int32_t lag = 103; // of x[t - 147] behind x[t - 250]

struct State {
    std::uint32_t x[order];
    std::int32_t p; // index of x[t - 250], which x[t] replaces
    std::int32_t q; // index of x[t - 147]
};
static_assert(offsetof(StreamOf<State>, state.x) == 16 && offsetof(StreamOf<State>, state.p) == 1016);
static_assert(offsetof(StreamOf<State>, state.q) == 1020 && sizeof(StreamOf<State>) == 1024);

// Fewer seed words than the ring has give one starting value; the words of a small generator follow it. 32 of them then
// get a triangle of leading bits, so that they are independent over GF(2) and no bit of the register is stuck at 0.
void seed(State& s, std::int32_t n, const std::uint32_t* params) {
    s.p = 0;
    s.q = lag;
    if (n >= order) {
        std::copy_n(params, order, s.x);
        return;
    }
    std::uint32_t v = n >= 1 && params[0] != 0 ? params[0] : 1;
    for (std::uint32_t& x : s.x) x = v *= 69069;
    for (int j = 0; j < 32; ++j) {
        std::uint32_t& x = s.x[3 + 7 * j];
        const std::uint32_t leading = 0x80000000U >> j;
        x = (x & (leading - 1)) | leading;
    }
}

// The ring without wraps: up to where one of the indices reaches its end. Neither then meets words of the same stretch,
// as q is 103 ahead of p or 147 behind it.
template <class Output> std::int32_t block(State& s, std::int32_t n, Output out) {
    constexpr int width = 4;
    for (std::ptrdiff_t i = 0; i < n;) {
        const std::ptrdiff_t length = std::min<std::ptrdiff_t>(n - i, order - std::max(s.p, s.q));
        std::uint32_t* const x = s.x + s.p;
        const std::uint32_t* const y = s.x + s.q;
        std::ptrdiff_t j = 0;
        for (; j <= length - width; j += width) {
            const FourWords words = load<FourWords>(x + j) ^ load<FourWords>(y + j);
            store(x + j, words);
            out.put(i + j, words);
        }
        for (; j < length; ++j) out.put(i + j, x[j] ^= y[j]);
        i += length;
        const auto moved = [length](std::int32_t index) {
            index += static_cast<std::int32_t>(length);
            return index == order ? 0 : index;
        };
        s.p = moved(s.p);
        s.q = moved(s.q);
    }
    return OST_OK;
}

} // namespace

bool nvo::is_sound_R250(const OstStream* stream) {
    const auto& s = state_of<State>(stream);
    return s.p >= 0 && s.p < order && s.q == (s.p + lag) % order;
}

std::int32_t __ostBRngR250InitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    switch (method) {
    case OST_METHOD_SEED: seed(state_of<State>(stream), n, static_cast<const std::uint32_t*>(params)); return OST_OK;
    case OST_METHOD_LEAPFROG: return OST_ERR_NO_LEAPFROG;
    case OST_METHOD_SKIP: return OST_ERR_NO_SKIP;
    case OST_METHOD_SKIP_LONG: return OST_ERR_NO_SKIP_EX;
    default: return OST_ERR_METHOD;
    }
}

std::int32_t __ostiBRngR250(OstStream* stream, std::int32_t n, void* r) {
    return block(state_of<State>(stream), n, WordOutput{static_cast<std::uint32_t*>(r)});
}
std::int32_t __ostsBRngR250(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return block(state_of<State>(stream), n, unsigned_output<float, double>(r, a, b));
}
std::int32_t __ostdBRngR250(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return block(state_of<State>(stream), n, unsigned_output<double, double>(r, a, b));
}
