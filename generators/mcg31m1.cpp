// MCG31M1: multiplicative congruential generator (L'Ecuyer, Mathematics of Computation 68, 1999, 249-260).
//
//   x <- 1132489760 x mod m, m = 2^31 - 1
//
// Period m - 1 = 2^31 - 2. The state goes out before it steps: the seed is the first word. Numbers are x / m, scaled.

#include "generators/generator.h"
#include "generators/multiplicative.h"
#include "generators/outputs.h"
#include "streams/modular.h"

#include <algorithm>

using namespace nvo;

namespace {

constexpr std::uint32_t multiplier = 1132489760;
constexpr double reciprocal = 0x1.00000002p-31; // 1 / m, rounded to nearest

struct State {
    std::uint32_t x; // 1 to m - 1
    std::uint32_t a; // changed by leapfrog
};
static_assert(offsetof(StreamOf<State>, state.x) == 16 && offsetof(StreamOf<State>, state.a) == 20);
static_assert(sizeof(StreamOf<State>) == 24);

struct Ring {
    static std::uint32_t multiply(std::uint32_t x, std::uint32_t y) { return mod_mersenne_31(std::uint64_t{x} * y); }
    static std::uint32_t power(std::uint32_t a, std::uint64_t e) { return __ostiPowMod2P31M1(a, e); }
};
constexpr Ring ring;

void seed(State& s, std::int32_t n, const std::uint32_t* params) {
    const std::uint32_t x = n >= 1 ? params[0] % mersenne_31 : 0;
    s = {.x = x == 0 ? 1 : x, .a = multiplier};
}

// factor x mod m in four lanes. Products are put together as their low 31 bits and the rest, each in lanes of 32 bits:
// the sum t of both is from 1 to 2 m - 1 and never m, as m is prime; where it is above m, its bit 31 is set, and
// t - m = (t mod 2^31) + 1.
FourWords multiply(FourWords x, __m128i factor) {
    const auto even = reinterpret_cast<__m128>(_mm_mul_epu32(reinterpret_cast<__m128i>(x), factor));
    const auto odd =
        reinterpret_cast<__m128>(_mm_mul_epu32(_mm_shuffle_epi32(reinterpret_cast<__m128i>(x), 0xF5), factor));
    const auto doubled = [](__m128 p) { return reinterpret_cast<__m128>(reinterpret_cast<__m128i>(p) * 2); };
    const auto low = reinterpret_cast<FourWords>(_mm_shuffle_ps(even, odd, 0x88)) & mersenne_31;
    const auto high = reinterpret_cast<FourWords>(_mm_shuffle_ps(doubled(even), doubled(odd), 0xDD));
    const auto t = low + high;
    const auto y = (t & mersenne_31) + (t >> 31);
    return reinterpret_cast<FourWords>(_mm_shuffle_epi32(reinterpret_cast<__m128i>(y), 0xD8)); // 0, 2, 1, 3 in order
}

// Four registers of four numbers; each turn takes them 16 steps on. That hides the latency of a multiplication.
constexpr int registers = 4;
constexpr int lanes = 4 * registers;

template <class Output> std::int32_t block(State& s, std::int32_t n, Output out) {
    n = std::max(n, 1); // one number at least
    std::ptrdiff_t i = 0;
    if (n >= 2 * lanes) {
        std::uint32_t start[lanes];
        for (std::uint32_t& x : start) {
            x = s.x;
            s.x = ring.multiply(s.x, s.a);
        }
        FourWords x[registers];
        unroll<registers>([&](auto k) { x[k] = load<FourWords>(start + 4 * k); });
        const __m128i factor = _mm_set1_epi32(static_cast<std::int32_t>(ring.power(s.a, lanes)));
        for (; i <= n - lanes; i += lanes) {
            unroll<registers>([&](auto k) {
                out.put(i + 4 * k, x[k]);
                x[k] = multiply(x[k], factor);
            });
        }
        s.x = x[0][0];
    }
    for (; i < n; ++i) {
        out.put(i, s.x);
        s.x = ring.multiply(s.x, s.a);
    }
    return OST_OK;
}

template <class R> ScaledOutput<R, double, As::signed_words> numbers(R* r, double a, double b) {
    return {r, (b - a) * reciprocal, a}; // words have 31 bits: the same with a sign as without
}

} // namespace

bool nvo::is_sound_MCG31M1(const OstStream*) { return true; }

std::int32_t __ostBRngMCG31M1InitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    return init_multiplicative(ring, state_of<State>(stream), seed, method, n, params);
}

std::int32_t __ostiBRngMCG31M1(OstStream* stream, std::int32_t n, void* r) {
    return block(state_of<State>(stream), n, WordOutput{static_cast<std::uint32_t*>(r)});
}
std::int32_t __ostsBRngMCG31M1(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return block(state_of<State>(stream), n, numbers(r, a, b));
}
std::int32_t __ostdBRngMCG31M1(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return block(state_of<State>(stream), n, numbers(r, a, b));
}
