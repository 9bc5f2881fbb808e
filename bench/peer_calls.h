// How to call the functions of peers.def, for benches and meter: each as a function of registers (or numbers) that
// returns its result, or an array of two.
#pragma once

#include "frame/lanes.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <sleef.h>

// glibc's vector functions. The compiler calls them from loops that it vectorises; there is no header for a direct
// call.
extern "C" {
#define NVO_MVEC_U(function)               \
    __m128 _ZGVbN4v_##function##f(__m128); \
    __m128d _ZGVbN2v_##function(__m128d);
#define NVO_MVEC_B(function)                        \
    __m128 _ZGVbN4vv_##function##f(__m128, __m128); \
    __m128d _ZGVbN2vv_##function(__m128d, __m128d);
#define NVO_MVEC_X NVO_MVEC_B
#define NVO_MVEC_S(function) /* the addresses of the results come in registers of two */ \
    void _ZGVbN4vvv_##function##f(__m128, __m128i, __m128i, __m128i, __m128i);           \
    void _ZGVbN2vvv_##function(__m128d, __m128i, __m128i);
#define MVEC(Op, cls, function) NVO_MVEC_##cls(function)
#include "bench/peers.def"
}

namespace bench {

using Floats = nvo::Lanes<float, 4>;
using Doubles = nvo::Lanes<double, 2>;

// Results come through addresses that the compiler can't see as such.
inline void written_behind_the_back() { asm volatile("" ::: "memory"); }

// The forms in which libraries give two results, as an array.
template <class T> std::array<T, 2> both(void (*f)(T, T*, T*), T x) {
    std::array<T, 2> results;
    f(x, &results[0], &results[1]);
    return results;
}
template <class T> std::array<T, 2> both(T (*f)(T, T*), T x) {
    T second;
    const T first = f(x, &second);
    return {first, second};
}
inline std::array<Floats, 2> both(void (*f)(__m128, __m128i, __m128i, __m128i, __m128i), Floats x) {
    std::array<Floats, 2> results;
    const auto at = [&](int k, int lane) {
        const auto address = reinterpret_cast<std::uintptr_t>(&results[static_cast<std::size_t>(k)]) + 4 * lane;
        return _mm_set_epi64x(static_cast<long long>(address + 4), static_cast<long long>(address));
    };
    f(x, at(0, 0), at(0, 2), at(1, 0), at(1, 2));
    written_behind_the_back();
    return results;
}
inline std::array<Doubles, 2> both(void (*f)(__m128d, __m128i, __m128i), Doubles x) {
    std::array<Doubles, 2> results;
    const auto at = [&](int k) {
        const auto address = reinterpret_cast<std::uintptr_t>(&results[static_cast<std::size_t>(k)]);
        return _mm_set_epi64x(static_cast<long long>(address + 8), static_cast<long long>(address));
    };
    f(x, at(0), at(1));
    written_behind_the_back();
    return results;
}
template <class Pair, class V> std::array<V, 2> both(const Pair (*f)(V), V x) {
    const Pair results = f(x);
    return {results.x, results.y};
}

// A function of one element or register, by the class of its arguments.
#define NVO_CALL_U(E, function) [](E x) { return function(x); }
#define NVO_CALL_B(E, function) [](E x, E y) { return function(x, y); }
#define NVO_CALL_X NVO_CALL_B
#define NVO_CALL_S(E, function) [](E x) { return both(function, x); }
// Arguments by value in the names of glibc's vector functions.
#define NVO_MVEC_NAME_U(lanes, function) _ZGVbN##lanes##v_##function
#define NVO_MVEC_NAME_B(lanes, function) _ZGVbN##lanes##vv_##function
#define NVO_MVEC_NAME_X NVO_MVEC_NAME_B
#define NVO_MVEC_NAME_S(lanes, function) _ZGVbN##lanes##vvv_##function

} // namespace bench
