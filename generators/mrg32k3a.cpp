// MRG32K3A: combined multiple recursive generator (L'Ecuyer, Operations Research 47, 1999, 159-164).
//
//   x1[t + 3] = ( 1403580 x1[t + 1] -  810728 x1[t]) mod m1, m1 = 2^32 - 209
//   x2[t + 3] = (  527612 x2[t + 2] - 1370589 x2[t]) mod m2, m2 = 2^32 - 22853
//   z = (x1 - x2) mod m1
//
// Period (m1^3 - 1)(m2^3 - 1)/2, about 2^191. The state steps before it goes out. Numbers are z / m1, scaled; z = 0
// gives the lower bound.

#include "generators/generator.h"
#include "generators/outputs.h"
#include "streams/modular.h"

// Behind the declarations.
#include "tables/mrg32k3a_skip.h"

#include <algorithm>
#include <array>

using namespace nvo;

namespace {

constexpr double reciprocal = 0x1.000000d10000bp-32; // 1 / m1, rounded to nearest

struct State {
    std::uint32_t x1[3], x2[3]; // oldest first
};
static_assert(offsetof(StreamOf<State>, state.x1) == 16 && offsetof(StreamOf<State>, state.x2) == 28);
static_assert(sizeof(StreamOf<State>) == 40);

// A linear relation x[t + distance] = (c[0] x[t] + c[1] x[t + 1] + c[2] x[t + 2]) mod m, m = 2^32 - fold. Products of
// negative coefficients are taken off a multiple of m that keeps the sum positive; it is below m sum |c[i]| < 2^64.
template <std::uint32_t fold_, std::int64_t c0, std::int64_t c1, std::int64_t c2> struct Relation {
    static constexpr std::uint32_t fold = fold_;
    static constexpr std::uint32_t m = pseudo_mersenne<fold>;
    static constexpr std::int64_t c[3] = {c0, c1, c2};
    static constexpr std::uint64_t offset = (c0 < 0 ? -c0 : 0) * std::uint64_t{m} +
                                            (c1 < 0 ? -c1 : 0) * std::uint64_t{m} +
                                            (c2 < 0 ? -c2 : 0) * std::uint64_t{m};
    static_assert((c0 < 0 ? -c0 : c0) + (c1 < 0 ? -c1 : c1) + (c2 < 0 ? -c2 : c2) < std::int64_t{1} << 32);
};

// One step ahead, and 16.
using Step1 = Relation<209, -810728, 1403580, 0>;
using Step2 = Relation<22853, -1370589, 0, 527612>;
using Leap1 = Relation<209, 736416029, -1333150987, 342112271>;
using Leap2 = Relation<22853, 818368950, -504169876, -752600334>;

template <class Rel> std::uint32_t step(std::uint32_t (&x)[3]) {
    const std::uint64_t sum = Rel::offset + static_cast<std::uint64_t>(Rel::c[0]) * x[0] +
                              static_cast<std::uint64_t>(Rel::c[1]) * x[1] +
                              static_cast<std::uint64_t>(Rel::c[2]) * x[2]; // mod 2^64, and below it
    x[0] = x[1];
    x[1] = x[2];
    return x[2] = mod_pseudo_mersenne<Rel::fold>(sum);
}

std::uint32_t combined(std::uint32_t x1, std::uint32_t x2) { return x1 - x2 + (x1 < x2 ? Step1::m : 0); }
FourWords combined(FourWords x1, FourWords x2) { return x1 - x2 + (reinterpret_cast<FourWords>(x1 < x2) & Step1::m); }

using TwoSums = Lanes<std::uint64_t, 2>;

inline __m128i odd_words(__m128i x) { return _mm_shuffle_epi32(x, 0xF5); } // 1 and 3 in the lower halves of 64 bits
inline TwoSums products(__m128i x, std::int64_t factor) {
    return reinterpret_cast<TwoSums>(_mm_mul_epu32(x, _mm_set1_epi64x(factor)));
}

template <class Rel> TwoSums sums(__m128i u, __m128i v, __m128i w) {
    const auto plus = [](TwoSums sum, __m128i x, std::int64_t c) {
        return c < 0 ? sum - products(x, -c) : sum + products(x, c);
    };
    return plus(plus(plus(TwoSums{Rel::offset, Rel::offset}, u, Rel::c[0]), v, Rel::c[1]), w, Rel::c[2]);
}

// Sums mod m. Folded once they have at most `fold` in their upper words, as (fold + 1)(2^32 - 1) bounds them. A second
// fold gives y = lower word + fold upper word < 2^32 + 2^30. y >= m where y + fold has a carry out of 32 bits: there
// y - m is what is left. The carry shows in the signs: fold (upper word + 1) < 2^30 has taken a lower word with bit 31
// to a sum without.
template <class Rel> FourWords reduced(TwoSums even, TwoSums odd) {
    const auto once = [](TwoSums t) {
        return reinterpret_cast<__m128>((t & 0xFFFFFFFF) + products(reinterpret_cast<__m128i>(t >> 32), Rel::fold));
    };
    using Words = Lanes<std::int32_t, 4>;
    constexpr auto fold = static_cast<std::int32_t>(Rel::fold);
    const __m128 folded_even = once(even), folded_odd = once(odd);
    const auto lower = reinterpret_cast<FourWords>(_mm_shuffle_ps(folded_even, folded_odd, 0x88));
    const auto upper = reinterpret_cast<FourWords>(_mm_shuffle_ps(folded_even, folded_odd, 0xDD));
    const FourWords sum = lower + (times_small(upper, fold) + Rel::fold);
    const auto carry = reinterpret_cast<Words>(lower & ~sum) >> 31;
    const auto y = reinterpret_cast<__m128i>(sum - reinterpret_cast<FourWords>(~carry & fold));
    return reinterpret_cast<FourWords>(_mm_shuffle_epi32(y, 0xD8)); // 0, 2, 1, 3 in order
}

// x[t + 16 .. t + 19] from first = x[t .. t + 3] and next = x[t + 4 .. t + 7].
template <class Rel> FourWords leap(FourWords first, FourWords next) {
    const auto x0 = reinterpret_cast<__m128i>(first);
    const auto x1 = odd_words(x0);
    const auto x2 = reinterpret_cast<__m128i>(
        _mm_shuffle_ps(reinterpret_cast<__m128>(first), reinterpret_cast<__m128>(next), 0x4E));
    const auto x3 = odd_words(x2);
    return reduced<Rel>(sums<Rel>(x0, x1, x2), sums<Rel>(x1, x2, x3));
}

// The last 16 values of a component, oldest first.
constexpr int registers = 4;
constexpr int lanes = 4 * registers;
using Window = std::array<FourWords, registers>;

Window window(const std::uint32_t* x) {
    Window loaded;
    for (int k = 0; k < registers; ++k) loaded[k] = load<FourWords>(x + std::ptrdiff_t{4} * k);
    return loaded;
}

void keep_last(std::uint32_t (&x)[3], const Window& values) {
    for (int i = 0; i < 3; ++i) x[i] = values[registers - 1][1 + i];
}

template <class Output> std::int32_t block(State& s, std::int32_t n, Output out) {
    std::ptrdiff_t i = 0;
    if (n >= 2 * lanes) {
        std::uint32_t start1[lanes], start2[lanes];
        for (; i < lanes; ++i) {
            start1[i] = step<Step1>(s.x1);
            start2[i] = step<Step2>(s.x2);
            out.put(i, combined(start1[i], start2[i]));
        }
        Window x1 = window(start1), x2 = window(start2);
        for (; i <= n - lanes; i += lanes) {
            unroll<registers>([&](auto k) {
                constexpr int next = (k + 1) % registers; // for the last register, the first one's new values
                x1[k] = leap<Leap1>(x1[k], x1[next]);
                x2[k] = leap<Leap2>(x2[k], x2[next]);
                out.put(i + 4 * k, combined(x1[k], x2[k]));
            });
        }
        keep_last(s.x1, x1);
        keep_last(s.x2, x2);
    }
    for (; i < n; ++i) {
        const std::uint32_t x1 = step<Step1>(s.x1), x2 = step<Step2>(s.x2);
        out.put(i, combined(x1, x2));
    }
    return OST_OK;
}

template <class R> ScaledOutput<R, double, As::unsigned_words> numbers(R* r, double a, double b) {
    return {r, (b - a) * reciprocal, a};
}

void seed(State& s, std::int32_t n, const std::uint32_t* params) {
    const auto fill = [=](std::uint32_t(&x)[3], int first, std::uint32_t m) {
        for (int i = 0; i < 3; ++i) {
            x[i] = first + i < n ? params[first + i] : 1;
            if (x[i] >= m) x[i] -= m;
        }
        if ((x[0] | x[1] | x[2]) == 0) x[0] = 1;
    };
    fill(s.x1, 0, Step1::m);
    fill(s.x2, 3, Step2::m);
}

// Coefficients as the matrix powers take them: of the newest value first, none negative.
constexpr std::uint32_t row1[3] = {0, 1403580, Step1::m - 810728};
constexpr std::uint32_t row2[3] = {527612, 0, Step2::m - 1370589};

// A count below 2^192 goes through the table of the matrices' powers.
std::int32_t skip_long(State& s, std::int32_t n, const std::uint64_t* words) {
    constexpr std::int32_t table_words = 3;
    if (n <= table_words || std::all_of(words + table_words, words + n, [](std::uint64_t word) { return word == 0; })) {
        n = std::min(n, table_words);
        __ostiVect3PowArrayMod_M1(s.x1, n, words, _ost_mrg32k3a_skipahead_table[0][0]);
        __ostiVect3PowArrayMod_M2(s.x2, n, words, _ost_mrg32k3a_skipahead_table[1][0]);
        return OST_OK;
    }
    State skipped = s; // a failure leaves the stream where it was
    std::int32_t status = __ostiVect3PowArrayMod(skipped.x1, row1, Step1::m, n, words);
    if (status == OST_OK) status = __ostiVect3PowArrayMod(skipped.x2, row2, Step2::m, n, words);
    if (status == OST_OK) s = skipped;
    return status;
}

} // namespace

bool nvo::is_sound_MRG32K3A(const OstStream*) { return true; }

std::int32_t __ostBRngMRG32K3AInitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    State& s = state_of<State>(stream);
    switch (method) {
    case OST_METHOD_SEED: seed(s, n, static_cast<const std::uint32_t*>(params)); return OST_OK;
    case OST_METHOD_LEAPFROG: return OST_ERR_NO_LEAPFROG;
    case OST_METHOD_SKIP: {
        const std::uint64_t count = *static_cast<const std::uint64_t*>(params);
        __ostiVect3PowMod(s.x1, row1, Step1::m, count);
        __ostiVect3PowMod(s.x2, row2, Step2::m, count);
        return OST_OK;
    }
    case OST_METHOD_SKIP_LONG: return skip_long(s, n, static_cast<const std::uint64_t*>(params));
    default: return OST_ERR_METHOD;
    }
}

std::int32_t __ostiBRngMRG32K3A(OstStream* stream, std::int32_t n, void* r) {
    return block(state_of<State>(stream), n, WordOutput{static_cast<std::uint32_t*>(r)});
}
std::int32_t __ostsBRngMRG32K3A(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return block(state_of<State>(stream), n, numbers(r, a, b));
}
std::int32_t __ostdBRngMRG32K3A(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return block(state_of<State>(stream), n, numbers(r, a, b));
}
