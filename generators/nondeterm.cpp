// NONDETERM: what the processor's random number instruction gives. No two streams are the same, and none can be
// repeated.
//
// Seed words: the second is the number of attempts allowed for a draw, 10 if it is 0 or missing.

#include "generators/generator.h"

#include <immintrin.h>

using namespace nvo;

#define NVO_WITH_RDRAND [[gnu::target("rdrnd")]]

namespace {

struct State {
    std::uint32_t reserved;
    std::uint32_t retries; // attempts allowed for a draw
};
static_assert(sizeof(StreamOf<State>) == 24);

constexpr std::uint32_t usual_retries = 10;

// The instruction fails when others have drained the source; within `retries` attempts it hardly ever does.
NVO_WITH_RDRAND bool draw(std::uint64_t* u, std::uint32_t retries) {
    unsigned long long drawn = 0;
    for (std::uint32_t attempt = 0; attempt < retries; ++attempt) {
        if (_rdrand64_step(&drawn) == 1) {
            *u = drawn;
            return true;
        }
    }
    return false;
}
NVO_WITH_RDRAND bool draw(std::uint32_t* u, std::uint32_t retries) {
    for (std::uint32_t attempt = 0; attempt < retries; ++attempt) {
        if (_rdrand32_step(u) == 1) return true;
    }
    return false;
}

// put(i, u) for the numbers of draws of 64 bits, each of `halves` outputs, and of one of 32 bits for an odd last
// output.
template <int halves, class Put> std::int32_t block(OstStream* stream, std::int32_t n, Put put) {
    if (__ostCPUisRDRAND() == 0) return OST_ERR_NO_RDRAND;
    if (n < 1) return OST_OK;
    const std::uint32_t retries = state_of<State>(stream).retries;
    std::int32_t i = 0;
    for (; n - i >= halves; i += halves) {
        std::uint64_t u = 0;
        if (!draw(&u, retries)) return OST_ERR_RDRAND_RETRIES;
        if constexpr (halves == 2) {
            put(i, static_cast<std::uint32_t>(u));
            put(i + 1, static_cast<std::uint32_t>(u >> 32));
        } else {
            put(i, u);
        }
    }
    if (i < n) {
        std::uint32_t u = 0;
        if (!draw(&u, retries)) return OST_ERR_RDRAND_RETRIES;
        put(i, u);
    }
    return OST_OK;
}

std::int32_t seed(OstStream* stream, std::int32_t n, const std::uint32_t* params) {
    state_of<State>(stream) = {.reserved = 0, .retries = n >= 2 && params[1] != 0 ? params[1] : usual_retries};
    return OST_OK;
}

} // namespace

// Any number of attempts will do.
bool nvo::is_sound_NONDETERM(const OstStream*) { return true; }

std::int32_t __ostBRngTRNGInitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    switch (method) {
    case OST_METHOD_SEED: return seed(stream, n, static_cast<const std::uint32_t*>(params));
    case OST_METHOD_LEAPFROG: return OST_ERR_NO_LEAPFROG;
    case OST_METHOD_SKIP: return OST_ERR_NO_SKIP;
    case OST_METHOD_SKIP_LONG: return OST_ERR_NO_SKIP_EX;
    default: return OST_ERR_METHOD;
    }
}

std::int32_t __ostiBRngTRNG(OstStream* stream, std::int32_t n, void* r) {
    return block<2>(stream, n, [words = static_cast<std::uint32_t*>(r)](int i, std::uint32_t u) { words[i] = u; });
}
std::int32_t __ostsBRngTRNG(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    const float scale = (b - a) * 0x1p-32F;
    return block<2>(stream, n, [=](int i, std::uint32_t u) { r[i] = static_cast<float>(u) * scale + a; });
}
std::int32_t __ostdBRngTRNG(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    const double scale = (b - a) * 0x1p-64;
    return block<1>(stream, n, [=](int i, std::uint64_t u) { r[i] = static_cast<double>(u) * scale + a; });
}
