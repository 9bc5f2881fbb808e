// MCG59: multiplicative congruential generator.
//
//   x <- 13^13 x mod 2^59
//
// Period 2^57 from an odd seed. The state goes out before it steps: the seed is the first word. Numbers are x 2^-59,
// scaled.

#include "frame/lanes.h"
#include "generators/generator.h"
#include "generators/multiplicative.h"
#include "streams/modular.h"

using namespace nvo;

namespace {

constexpr std::uint64_t multiplier = 302875106592253; // 13^13

struct State {
    std::uint64_t x; // below 2^59
    std::uint64_t a; // changed by leapfrog
};
static_assert(offsetof(StreamOf<State>, state.x) == 16 && offsetof(StreamOf<State>, state.a) == 24);
static_assert(sizeof(StreamOf<State>) == 32);

struct Ring {
    static std::uint64_t multiply(std::uint64_t x, std::uint64_t y) { return x * y & mask_59; }
    static std::uint64_t power(std::uint64_t a, std::uint64_t e) { return __ostiPowMod2P59(a, e); }
};
constexpr Ring ring;

void seed(State& s, std::int32_t n, const std::uint32_t* params) {
    std::uint64_t x = n >= 1 ? params[0] : 0;
    if (n >= 2) x = (x | std::uint64_t{params[1]} << 32) & mask_59;
    s = {.x = x == 0 ? 1 : x, .a = multiplier};
}

// Outputs.

struct Words {
    std::uint64_t* r;

    void put(std::ptrdiff_t i, std::uint64_t x) const { r[i] = x; }
};

// In the arithmetic of R. x is rounded from 59 bits at once: one number after the other, since the processor has an
// instruction for that (measured: two numbers in lanes take a quarter longer).
template <class R> struct Numbers {
    R* r;
    R scale, shift;

    void put(std::ptrdiff_t i, std::uint64_t x) const {
        r[i] = static_cast<R>(static_cast<std::int64_t>(x)) * scale + shift;
    }
};

// Chains that each take `chains` steps at once: that hides the latency of the multiplication.
constexpr int chains = 8;

template <class Output> std::int32_t block(State& s, std::int32_t n, Output out) {
    std::ptrdiff_t i = 0;
    if (n >= 2 * chains) {
        std::uint64_t x[chains] = {s.x};
        for (int k = 1; k < chains; ++k) x[k] = ring.multiply(x[k - 1], s.a);
        const std::uint64_t factor = ring.power(s.a, chains);
        for (; i <= n - chains; i += chains) {
            unroll<chains>([&](auto k) {
                out.put(i + k, x[k]);
                x[k] = ring.multiply(x[k], factor);
            });
        }
        s.x = x[0];
    }
    for (; i < n; ++i) {
        out.put(i, s.x);
        s.x = ring.multiply(s.x, s.a);
    }
    return OST_OK;
}

} // namespace

bool nvo::is_sound_MCG59(const OstStream*) { return true; }

std::int32_t __ostBRngMCG59InitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    return init_multiplicative(ring, state_of<State>(stream), seed, method, n, params);
}

std::int32_t __ostiBRngMCG59(OstStream* stream, std::int32_t n, void* r) {
    return block(state_of<State>(stream), n, Words{static_cast<std::uint64_t*>(r)});
}
std::int32_t __ostsBRngMCG59(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    const auto scale = static_cast<float>((static_cast<double>(b) - static_cast<double>(a)) * 0x1p-59);
    return block(state_of<State>(stream), n, Numbers<float>{r, scale, a});
}
std::int32_t __ostdBRngMCG59(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return block(state_of<State>(stream), n, Numbers<double>{r, (b - a) * 0x1p-59, a});
}
