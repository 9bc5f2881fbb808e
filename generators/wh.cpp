// WH: 273 sets of four multiplicative congruential generators, added up (Wichmann and Hill, Applied Statistics 31,
// 1982, 188-190; sets in the manner of Maclaren, Applied Statistics 38, 1989, 351-359).
//
//   x[i] <- a[i] x[i] mod m[i], i = 0 to 3
//   number: fractional part of x[0]/m[0] + ... + x[3]/m[3], scaled
//
// The moduli are primes between 2^23 and 2^24; the period of each set is about 2^93. The state goes out before it
// steps; as words, the four x[i] of a number.

#include "frame/lanes.h"
#include "generators/generator.h"
#include "generators/multiplicative.h"
#include "streams/modular.h"

// Behind the declarations.
#include "tables/wh.h"

#include <algorithm>
#include <array>

using namespace nvo;

namespace {

constexpr int components = 4;
using Four = std::array<std::uint32_t, components>;

struct State {
    Four x;
    Four a; // changed by leapfrog
};
static_assert(offsetof(StreamOf<State>, state.x) == 16 && offsetof(StreamOf<State>, state.a) == 32);
static_assert(sizeof(StreamOf<State>) == 48);

struct Ring {
    std::uint32_t m;

    std::uint32_t multiply(std::uint32_t x, std::uint32_t y) const { return product_mod(x, y, m); }
    std::uint32_t power(std::uint32_t a, std::uint64_t e) const { return __ostiPowMod(a, e, m); }
};

using Pair = Lanes<double, 2>;
using Pairs = std::array<Pair, components>; // of two numbers, component by component

// Outputs: put(i, x) for one number, put(i, pairs) for numbers i and i + 1.

struct Words {
    std::uint32_t* r;

    void put(std::ptrdiff_t i, const Four& x) const { std::copy(x.begin(), x.end(), r + components * i); }
    void put(std::ptrdiff_t i, const Pairs& x) const {
        const auto in_turn = [&x](int k) { // of components k and k + 1
            return _mm_unpacklo_epi32(_mm_cvttpd_epi32(x[k]), _mm_cvttpd_epi32(x[k + 1]));
        };
        const __m128i lower = in_turn(0), upper = in_turn(2);
        const auto to = reinterpret_cast<__m128i*>(r + components * i);
        _mm_storeu_si128(to, _mm_unpacklo_epi64(lower, upper));
        _mm_storeu_si128(to + 1, _mm_unpackhi_epi64(lower, upper));
    }
};

template <class R> struct Numbers {
    R* r;
    const double* w; // reciprocals of the moduli
    double scale, shift;

    template <class V> V number(V x0, V x1, V x2, V x3) const {
        const V t = (x3 * w[3] + x2 * w[2]) + (x1 * w[1] + x0 * w[0]); // below 4
        return (t - truncated(t)) * scale + shift;
    }
    static double truncated(double t) { return static_cast<std::int32_t>(t); }
    static Pair truncated(Pair t) { return _mm_cvtepi32_pd(_mm_cvttpd_epi32(t)); }

    void put(std::ptrdiff_t i, const Four& x) const { r[i] = static_cast<R>(number<double>(x[0], x[1], x[2], x[3])); }
    void put(std::ptrdiff_t i, const Pairs& x) const {
        const Pair y = number<Pair>(x[0], x[1], x[2], x[3]);
        for (int k = 0; k < 2; ++k) r[i + k] = static_cast<R>(y[k]);
    }
};

// factor x mod m, all below m < 2^24; w = 1/m, rounded. p = factor x < 2^48 is exact. p w differs from p/m by less than
// 2^24 2^-51, in any rounding direction, while p/m is at least 1/m > 2^-24 away from every integer unless it is 0, as m
// is prime. So the quotient is exact when truncated, and with it the remainder.
Pair multiply(Pair x, Pair factor, Pair m, Pair w) {
    const Pair p = x * factor;
    const Pair quotient = _mm_cvtepi32_pd(_mm_cvttpd_epi32(p * w));
    return p - quotient * m;
}

// Two registers of two numbers for each component; each turn takes them four steps on.
constexpr int registers = 2;
constexpr int lanes = 2 * registers;

bool below(const Four& x, const std::uint32_t* m) { return x[0] < m[0] && x[1] < m[1] && x[2] < m[2] && x[3] < m[3]; }

template <class Output> std::int32_t block(OstStream* stream, std::int32_t n, Output out) {
    auto& s = state_of<State>(stream);
    const auto& moduli = _ost_WH_M[parameter_set(stream)];
    const auto& reciprocals = _ostdWH_IM_Tab[parameter_set(stream)];
    const auto step = [&] {
        for (int k = 0; k < components; ++k) s.x[k] = Ring{moduli[k]}.multiply(s.x[k], s.a[k]);
    };
    std::ptrdiff_t i = 0;
    // Lanes can't take values above the modulus, which only a forged image can hold. Multipliers come out reduced.
    if (n >= 2 * lanes && below(s.x, moduli)) {
        Pairs x[registers], factor, m, w;
        for (int lane = 0; lane < lanes; ++lane, step()) {
            for (int k = 0; k < components; ++k) x[lane / 2][k][lane % 2] = s.x[k];
        }
        for (int k = 0; k < components; ++k) {
            factor[k] = splat<Pair>(Ring{moduli[k]}.power(s.a[k], lanes));
            m[k] = splat<Pair>(moduli[k]);
            w[k] = splat<Pair>(reciprocals[k]);
        }
        for (; i <= n - lanes; i += lanes) {
            unroll<registers>([&](auto j) {
                out.put(i + 2 * j, x[j]);
                unroll<components>([&](auto k) { x[j][k] = multiply(x[j][k], factor[k], m[k], w[k]); });
            });
        }
        for (int k = 0; k < components; ++k) s.x[k] = static_cast<std::uint32_t>(x[0][k][0]);
    }
    for (; i < n; ++i) {
        out.put(i, s.x);
        step();
    }
    return OST_OK;
}

template <class R> Numbers<R> numbers(const OstStream* stream, R* r, double a, double b) {
    return {r, _ostdWH_IM_Tab[parameter_set(stream)], b - a, a};
}

void seed(State& s, int set, std::int32_t n, const std::uint32_t* params) {
    for (int k = 0; k < components; ++k) {
        const std::uint32_t x = k < n ? params[k] % _ost_WH_M[set][k] : 0;
        s.x[k] = x == 0 ? 1 : x;
        s.a[k] = _ost_WH_A[set][k];
    }
}

// f(ring, x, a) for each component.
template <class F> std::int32_t for_components(State& s, int set, F f) {
    for (int k = 0; k < components; ++k) f(Ring{_ost_WH_M[set][k]}, s.x[k], s.a[k]);
    return OST_OK;
}

} // namespace

bool nvo::is_sound_WH(const OstStream*) { return true; }

std::int32_t __ostBRngWHInitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    State& s = state_of<State>(stream);
    const int set = parameter_set(stream);
    switch (method) {
    case OST_METHOD_SEED: seed(s, set, n, static_cast<const std::uint32_t*>(params)); return OST_OK;
    case OST_METHOD_LEAPFROG:
        return for_components(s, set, [=](Ring ring, std::uint32_t& x, std::uint32_t& a) {
            leapfrog_multiplicative(ring, x, a, *static_cast<const std::uint32_t*>(params), n);
        });
    case OST_METHOD_SKIP:
        return for_components(s, set, [=](Ring ring, std::uint32_t& x, std::uint32_t a) {
            skip_multiplicative(ring, x, a, *static_cast<const std::uint64_t*>(params));
        });
    case OST_METHOD_SKIP_LONG: return OST_ERR_NO_SKIP_EX;
    default: return OST_ERR_METHOD;
    }
}

std::int32_t __ostiBRngWH(OstStream* stream, std::int32_t n, void* r) {
    return block(stream, n, Words{static_cast<std::uint32_t*>(r)});
}
std::int32_t __ostsBRngWH(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return block(stream, n, numbers(stream, r, a, b));
}
std::int32_t __ostdBRngWH(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return block(stream, n, numbers(stream, r, a, b));
}
