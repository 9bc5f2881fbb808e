// Lanes: N elements in one register. Arithmetic and comparison are the language's own, element by element; here stands
// what it lacks. A formula is a template over N, and nothing in it depends on N.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>
#include <limits>
#include <type_traits>
#include <utility>

namespace nvo {

template <class T, int N> struct LanesOf {
    typedef T type
        __attribute__((vector_size(sizeof(T) * N))); // NOLINT(modernize-use-using): no alias of a dependent size
};
template <class T, int N> using Lanes = typename LanesOf<T, N>::type;

// The integer as wide as R: the type of bit patterns, and of masks, whose lanes are all ones or all zeros.
template <class R> using Word = std::conditional_t<sizeof(R) == 4, std::int32_t, std::int64_t>;
template <class R, int N> using LaneMask = Lanes<Word<R>, N>;

// Lanes of one register at the SSE2 baseline.
template <class R> inline constexpr int lane_width = 16 / static_cast<int>(sizeof(R));

template <class V> using LaneType = std::remove_cvref_t<decltype(std::declval<V&>()[0])>;
template <class V> inline constexpr int lane_count = static_cast<int>(sizeof(V) / sizeof(LaneType<V>));

template <class V> V load(const LaneType<V>* p) {
    V v;
    std::memcpy(&v, p, sizeof v);
    return v;
}
template <class V> void store(LaneType<V>* p, V v) { std::memcpy(p, &v, sizeof v); }

// The bits of x in every lane: -0 and signalling NaNs too.
template <class V> V splat(LaneType<V> x) {
    return [x]<int... lane>(std::integer_sequence<int, lane...>) { return V{(static_cast<void>(lane), x)...}; }
    (std::make_integer_sequence<int, lane_count<V>>{});
}

// Bit patterns.
template <class V> auto bits(V x) { return reinterpret_cast<LaneMask<LaneType<V>, lane_count<V>>>(x); }
// As unsigned words, whose shifts are logical: SSE2 has no arithmetic one for 64 bits.
template <class V> auto words(V x) {
    return reinterpret_cast<Lanes<std::make_unsigned_t<Word<LaneType<V>>>, lane_count<V>>>(x);
}
template <class R, class W> auto from_bits(W w) { return reinterpret_cast<Lanes<R, lane_count<W>>>(w); }

template <class R> inline constexpr Word<R> sign_bit = std::numeric_limits<Word<R>>::min();
template <class R> inline constexpr Word<R> magnitude_bits = std::numeric_limits<Word<R>>::max();

template <class V> V magnitude(V x) { return from_bits<LaneType<V>>(bits(x) & magnitude_bits<LaneType<V>>); }
// |x| with the sign of s; x must not be negative.
template <class V> V with_sign(V x, V s) { return from_bits<LaneType<V>>(bits(x) | (bits(s) & sign_bit<LaneType<V>>)); }

// The upper 32-bit word of each lane stands in for the lane, since SSE2 can't compare 64-bit integers: the patterns of
// two doubles compare as their upper words do, but for ties. For floats it is the whole word.
template <class V> auto upper_words(V x) { return reinterpret_cast<Lanes<std::int32_t, sizeof(V) / 4>>(x); }

// The same of one number; and the double with this upper word, and zeros below.
template <class R> constexpr std::uint32_t upper_word(R x) {
    return static_cast<std::uint32_t>(std::bit_cast<std::make_unsigned_t<Word<R>>>(x) >> (8 * sizeof x - 32));
}
constexpr double with_upper_word(std::uint32_t word) { return std::bit_cast<double>(std::uint64_t{word} << 32); }

// Lanes whose upper word, plus a constant, is above a limit, signed. Only the sign bits of the result count. g++ 12
// makes three instructions of a comparison with a constant where it makes one of a comparison with a variable.
template <class V> auto upper_word_above(V x, std::uint32_t plus, std::int32_t limit) {
    const auto sum = reinterpret_cast<Lanes<std::uint32_t, sizeof(V) / 4>>(x) + plus;
    auto limits = splat<Lanes<std::int32_t, sizeof(V) / 4>>(limit);
    asm("" : "+x"(limits)); // now a variable
    const auto above = reinterpret_cast<Lanes<std::int32_t, sizeof(V) / 4>>(sum) > limits;
    return reinterpret_cast<LaneMask<LaneType<V>, lane_count<V>>>(above);
}

// Lanes whose bits are from those of first up to those of end, as unsigned integers, by the upper word: for numbers of
// one sign, from first up to end in magnitude. NaNs are not, and no flag is raised. The lower words of first and end
// are zero. Only the sign bits of the result count.
template <class V> auto between(V x, LaneType<V> first, LaneType<V> end) {
    const std::uint32_t plus = 0x80000000U - upper_word(end); // the last pattern goes to the largest signed integer
    return upper_word_above(x, plus, static_cast<std::int32_t>(upper_word(first) + plus - 1));
}
// The others.
template <class V> auto not_between(V x, LaneType<V> first, LaneType<V> end) {
    const std::uint32_t plus = 0x80000000U - upper_word(end);
    const auto sum = reinterpret_cast<Lanes<std::uint32_t, sizeof(V) / 4>>(x) + plus;
    const auto below =
        reinterpret_cast<Lanes<std::int32_t, sizeof(V) / 4>>(sum) < static_cast<std::int32_t>(upper_word(first) + plus);
    return reinterpret_cast<LaneMask<LaneType<V>, lane_count<V>>>(below);
}

// The upper 32-bit word of each lane in all of the lane: makes whole lanes of a mask that holds for upper words.
inline Lanes<std::int32_t, 4> spread_upper_words(Lanes<std::int32_t, 4> lanes) { return lanes; }
inline Lanes<std::int64_t, 2> spread_upper_words(Lanes<std::int64_t, 2> lanes) {
    return reinterpret_cast<Lanes<std::int64_t, 2>>(_mm_shuffle_epi32(reinterpret_cast<__m128i>(lanes), 0xF5));
}

// x with 1 in the special lanes, so that a formula raises no flag for them and doesn't meet the hardware's slow way
// with denormals. special is a mask by upper words.
template <class V, class M> V without_special(V x, M special) {
    const M mask = spread_upper_words(special);
    return from_bits<LaneType<V>>((bits(x) & ~mask) | (bits(splat<V>(1)) & mask));
}

// Bit i is the sign bit of lane i.
template <class M> unsigned lane_bits(M mask) {
    if constexpr (sizeof(LaneType<M>) == 4) {
        return static_cast<unsigned>(_mm_movemask_ps(reinterpret_cast<__m128>(mask)));
    } else {
        return static_cast<unsigned>(_mm_movemask_pd(reinterpret_cast<__m128d>(mask)));
    }
}

inline Lanes<float, 4> square_root(Lanes<float, 4> x) { return _mm_sqrt_ps(x); }
inline Lanes<double, 2> square_root(Lanes<double, 2> x) { return _mm_sqrt_pd(x); }

// a where a > b, else b; a where a < b, else b.
inline Lanes<float, 4> larger(Lanes<float, 4> a, Lanes<float, 4> b) { return _mm_max_ps(a, b); }
inline Lanes<double, 2> larger(Lanes<double, 2> a, Lanes<double, 2> b) { return _mm_max_pd(a, b); }
inline Lanes<float, 4> smaller(Lanes<float, 4> a, Lanes<float, 4> b) { return _mm_min_ps(a, b); }
inline Lanes<double, 2> smaller(Lanes<double, 2> a, Lanes<double, 2> b) { return _mm_min_pd(a, b); }

// A gather from a table of pairs, by the lanes of an index: hi and lo. Index lanes must be in the table. The upper half
// of a register is fetched by a shuffle of its own, not by a move that merges into a register: that would make each
// turn of a loop wait for the last.
template <class V> struct LanePair { V hi, lo; };
inline LanePair<Lanes<float, 4>> gather(const float (*table)[2], Lanes<std::int32_t, 4> index) {
    const auto low = _mm_cvtsi128_si64(reinterpret_cast<__m128i>(index));
    const auto high = _mm_cvtsi128_si64(_mm_shuffle_epi32(reinterpret_cast<__m128i>(index), 0xEE));
    const auto pair = [table](std::int64_t j) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(table[j])); };
    const auto both = [&](std::int64_t two) {
        return reinterpret_cast<__m128>(
            _mm_unpacklo_epi64(pair(static_cast<std::uint32_t>(two)), pair(static_cast<std::uint64_t>(two) >> 32)));
    };
    const __m128 first = both(low);
    const __m128 second = both(high);
    return {_mm_shuffle_ps(first, second, 0x88), _mm_shuffle_ps(first, second, 0xDD)};
}
inline LanePair<Lanes<double, 2>> gather(const double (*table)[2], Lanes<std::int64_t, 2> index) {
    const auto low = _mm_cvtsi128_si64(reinterpret_cast<__m128i>(index));
    const auto high = _mm_cvtsi128_si64(_mm_shuffle_epi32(reinterpret_cast<__m128i>(index), 0xEE));
    const __m128d first = _mm_loadu_pd(table[low]);
    const __m128d second = _mm_loadu_pd(table[high]);
    return {_mm_unpacklo_pd(first, second), _mm_unpackhi_pd(first, second)};
}

// A gather of single numbers.
inline Lanes<double, 2> gather(const double* table, Lanes<std::int64_t, 2> index) {
    const auto low = _mm_cvtsi128_si64(reinterpret_cast<__m128i>(index));
    const auto high = _mm_cvtsi128_si64(_mm_shuffle_epi32(reinterpret_cast<__m128i>(index), 0xEE));
    return _mm_loadh_pd(_mm_load_sd(table + low), table + high);
}
// The same, of floats for lanes of doubles.
inline Lanes<double, 2> gather(const float* table, Lanes<std::int64_t, 2> index) {
    const auto low = _mm_cvtsi128_si64(reinterpret_cast<__m128i>(index));
    const auto high = _mm_cvtsi128_si64(_mm_shuffle_epi32(reinterpret_cast<__m128i>(index), 0xEE));
    return _mm_cvtps_pd(_mm_unpacklo_ps(_mm_load_ss(table + low), _mm_load_ss(table + high)));
}

// A gather from a table of rows of three, which are padded to four and aligned to 16 bytes.
template <class V> struct LaneTriple { V first, second, third; };
inline LaneTriple<Lanes<float, 4>> gather(const float (*table)[4], Lanes<std::int32_t, 4> index) {
    const auto low = static_cast<std::uint64_t>(_mm_cvtsi128_si64(reinterpret_cast<__m128i>(index)));
    const auto high =
        static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_shuffle_epi32(reinterpret_cast<__m128i>(index), 0xEE)));
    const auto row = [table](std::uint64_t j) { return _mm_load_ps(table[static_cast<std::uint32_t>(j)]); };
    const __m128 a = row(low), b = row(low >> 32), c = row(high), d = row(high >> 32);
    const __m128 ab = _mm_unpacklo_ps(a, b), cd = _mm_unpacklo_ps(c, d);
    return {_mm_movelh_ps(ab, cd), _mm_movehl_ps(cd, ab), _mm_movelh_ps(_mm_unpackhi_ps(a, b), _mm_unpackhi_ps(c, d))};
}
inline LaneTriple<Lanes<double, 2>> gather(const double (*table)[4], Lanes<std::int64_t, 2> index) {
    const auto low = _mm_cvtsi128_si64(reinterpret_cast<__m128i>(index));
    const auto high = _mm_cvtsi128_si64(_mm_shuffle_epi32(reinterpret_cast<__m128i>(index), 0xEE));
    const __m128d a = _mm_load_pd(table[low]), b = _mm_load_pd(table[high]);
    return {_mm_unpacklo_pd(a, b), _mm_unpackhi_pd(a, b), _mm_loadh_pd(_mm_load_sd(table[low] + 2), table[high] + 2)};
}

// Integer lanes times a constant; both are from 0 to 0x7FFF.
template <class W> W times_small(W lanes, std::int16_t factor) {
    return reinterpret_cast<W>(_mm_madd_epi16(reinterpret_cast<__m128i>(lanes), _mm_set1_epi16(factor)));
}

// f on floats given as bit patterns in the low words of 64-bit lanes, widened. The unused half of the register repeats
// the used one, so that it raises no flag of its own.
template <class F> Lanes<double, 2> on_low_floats(Lanes<std::uint64_t, 2> words, F f) {
    const __m128 narrow = _mm_shuffle_ps(reinterpret_cast<__m128>(words), reinterpret_cast<__m128>(words), 0x88);
    return _mm_cvtps_pd(f(narrow));
}

// Lanes of floats as doubles, in two registers.
struct WideLanes {
    Lanes<double, 2> lower, upper;
};
inline WideLanes widened(Lanes<float, 4> x) { return {_mm_cvtps_pd(x), _mm_cvtps_pd(_mm_shuffle_ps(x, x, 0xEE))}; }
inline WideLanes widened(Lanes<std::int32_t, 4> x) {
    const auto i = reinterpret_cast<__m128i>(x);
    return {_mm_cvtepi32_pd(i), _mm_cvtepi32_pd(_mm_shuffle_epi32(i, 0xEE))};
}
inline Lanes<float, 4> narrowed(WideLanes x) { return _mm_movelh_ps(_mm_cvtpd_ps(x.lower), _mm_cvtpd_ps(x.upper)); }
inline Lanes<std::int32_t, 4> upper_words(WideLanes x) {
    const auto words = [](__m128d v) { return _mm_castpd_ps(v); };
    return reinterpret_cast<Lanes<std::int32_t, 4>>(_mm_shuffle_ps(words(x.lower), words(x.upper), 0xDD));
}

template <class F, class... Wide> WideLanes on_both_halves(F f, Wide... x) { return {f(x.lower...), f(x.upper...)}; }

// f in doubles on lanes of floats, rounded to floats; on lanes of doubles as they are.
template <class F, class... V> auto in_doubles(F f, V... x) {
    if constexpr ((std::is_same_v<V, Lanes<double, 2>> && ...)) {
        return f(x...);
    } else {
        return narrowed(on_both_halves(f, widened(x)...));
    }
}

// A gather of doubles for lanes of floats.
inline WideLanes gather(const double* table, Lanes<std::int32_t, 4> index) {
    const auto low = static_cast<std::uint64_t>(_mm_cvtsi128_si64(reinterpret_cast<__m128i>(index)));
    const auto high =
        static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_shuffle_epi32(reinterpret_cast<__m128i>(index), 0xEE)));
    const auto both = [table](std::uint64_t two) -> Lanes<double, 2> {
        return _mm_loadh_pd(_mm_load_sd(table + static_cast<std::uint32_t>(two)), table + (two >> 32));
    };
    return {both(low), both(high)};
}

// A formula for lanes on one number each.
template <class F, class... R> auto in_all_lanes(F f, R... x) { return f(splat<Lanes<R, lane_width<R>>>(x)...)[0]; }

// f(0), ..., f(n - 1) with constant arguments.
template <int n, class F> void unroll(F f) {
    [&]<int... i>(std::integer_sequence<int, i...>) { (f(std::integral_constant<int, i>{}), ...); }
    (std::make_integer_sequence<int, n>{});
}

} // namespace nvo
