// Outputs: what a block entry makes of a generator's 32-bit words. A generator's block function is a template over one
// of these, and calls
//
//   out.put(i, word)    for one word
//   out.put(i, words)   for four, in lanes: the same bits as one by one
//
// in any order of i.
#pragma once

#include "frame/lanes.h"

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace nvo {

using FourWords = Lanes<std::uint32_t, 4>;

// The words themselves.
struct WordOutput {
    std::uint32_t* r;

    void put(std::ptrdiff_t i, std::uint32_t word) const { r[i] = word; }
    void put(std::ptrdiff_t i, FourWords words) const { store(r + i, words); }
};

// Words as numbers, in lanes: exact in doubles, rounded once in floats.
inline WideLanes unsigned_to_doubles(FourWords words) {
    // A word in the low half of the significand of 2^52.
    const auto w = reinterpret_cast<__m128i>(words);
    const __m128i exponent = _mm_set1_epi32(0x43300000);
    const auto number = [](__m128i bits) { return reinterpret_cast<__m128d>(bits) - 0x1p52; };
    return {number(_mm_unpacklo_epi32(w, exponent)), number(_mm_unpackhi_epi32(w, exponent))};
}
inline Lanes<float, 4> unsigned_to_floats(FourWords words) {
    // Both halves are exact, so that their sum is rounded once.
    const auto high = _mm_cvtepi32_ps(reinterpret_cast<__m128i>(words >> 16));
    const auto low = _mm_cvtepi32_ps(reinterpret_cast<__m128i>(words & 0xFFFF));
    return high * 0x1p16F + low;
}
inline WideLanes signed_to_doubles(FourWords words) { return widened(reinterpret_cast<Lanes<std::int32_t, 4>>(words)); }
inline Lanes<float, 4> signed_to_floats(FourWords words) { return _mm_cvtepi32_ps(reinterpret_cast<__m128i>(words)); }

enum class As { unsigned_words, signed_words };

// word * scale + shift, in the arithmetic of C, rounded to R.
template <class R, class C, As as> struct ScaledOutput {
    R* r;
    C scale, shift;

    void put(std::ptrdiff_t i, std::uint32_t word) const {
        const auto number = [word] {
            if constexpr (as == As::signed_words) {
                return static_cast<C>(static_cast<std::int32_t>(word));
            } else {
                return static_cast<C>(word);
            }
        }();
        r[i] = static_cast<R>(number * scale + shift);
    }

    void put(std::ptrdiff_t i, FourWords words) const {
        if constexpr (std::is_same_v<C, float>) {
            const auto x = as == As::signed_words ? signed_to_floats(words) : unsigned_to_floats(words);
            store(r + i, Lanes<float, 4>(x * scale + shift));
        } else {
            const auto x = as == As::signed_words ? signed_to_doubles(words) : unsigned_to_doubles(words);
            const auto y = on_both_halves([this](Lanes<double, 2> v) { return v * scale + shift; }, x);
            if constexpr (std::is_same_v<R, float>) {
                store(r + i, narrowed(y));
            } else {
                store(r + i, y.lower);
                store(r + i + 2, y.upper);
            }
        }
    }
};

// Uniform on [a, b) from all 32 bits: w ((b - a) 2^-32) + a. A is the type in which a and b stand when they are
// subtracted.
template <class R, class C> ScaledOutput<R, C, As::unsigned_words> unsigned_output(R* r, C a, C b) {
    return {r, (b - a) * C(0x1p-32), a};
}
// From words with a sign: w ((b - a) 2^-32) + (a + b) / 2.
template <class R, class C> ScaledOutput<R, C, As::signed_words> signed_output(R* r, C a, C b) {
    return {r, (b - a) * C(0x1p-32), (a + b) * C(0.5)};
}

} // namespace nvo
