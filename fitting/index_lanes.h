// Four 32-bit indexes in lanes, beside the lanes of real numbers that they belong to: one register of floats, two of
// doubles.
#pragma once

#include "fitting/task.h"
#include "frame/lanes.h"

#include <cstdint>

namespace nvo::fitting {

using Indexes = Lanes<std::int32_t, 4>;

template <Real R> inline constexpr int registers_of_four = 4 / lane_width<R>;
template <Real R> using Four = Lanes<R, lane_width<R>>[registers_of_four<R>];
template <Real R> using FourMasks = LaneMask<R, lane_width<R>>[registers_of_four<R>];

// Towards zero; what is beyond 32 bits gives the least integer.
inline Indexes truncated(const Four<float>& v) { return reinterpret_cast<Indexes>(_mm_cvttps_epi32(v[0])); }
inline Indexes truncated(const Four<double>& v) {
    return reinterpret_cast<Indexes>(_mm_unpacklo_epi64(_mm_cvttpd_epi32(v[0]), _mm_cvttpd_epi32(v[1])));
}

inline void to_real(Indexes i, Four<float>& v) { v[0] = _mm_cvtepi32_ps(reinterpret_cast<__m128i>(i)); }
inline void to_real(Indexes i, Four<double>& v) {
    v[0] = _mm_cvtepi32_pd(reinterpret_cast<__m128i>(i));
    v[1] = _mm_cvtepi32_pd(_mm_shuffle_epi32(reinterpret_cast<__m128i>(i), 0xEE));
}

// a <= b and a < b: the compiler takes some comparisons of doubles apart.
inline auto not_above(Lanes<float, 4> a, Lanes<float, 4> b) { return bits<Lanes<float, 4>>(_mm_cmple_ps(a, b)); }
inline auto not_above(Lanes<double, 2> a, Lanes<double, 2> b) { return bits<Lanes<double, 2>>(_mm_cmple_pd(a, b)); }
inline auto below(Lanes<float, 4> a, Lanes<float, 4> b) { return bits<Lanes<float, 4>>(_mm_cmplt_ps(a, b)); }
inline auto below(Lanes<double, 2> a, Lanes<double, 2> b) { return bits<Lanes<double, 2>>(_mm_cmplt_pd(a, b)); }

inline Indexes narrowed(const FourMasks<float>& mask) { return mask[0]; }
inline Indexes narrowed(const FourMasks<double>& mask) {
    return reinterpret_cast<Indexes>(
        _mm_shuffle_ps(reinterpret_cast<__m128>(mask[0]), reinterpret_cast<__m128>(mask[1]), 0x88));
}

inline void store_indexes(std::int32_t* p, Indexes i) { store(p, i); }
inline void store_indexes(std::int64_t* p, Indexes i) {
    const Indexes sign = i < 0;
    store(p, reinterpret_cast<Lanes<std::int64_t, 2>>(__builtin_shufflevector(i, sign, 0, 4, 1, 5)));
    store(p + 2, reinterpret_cast<Lanes<std::int64_t, 2>>(__builtin_shufflevector(i, sign, 2, 6, 3, 7)));
}

} // namespace nvo::fitting
