// The 80-bit extended format, and what the cores on it share: words, flags, polynomials, sums with an exact rest. All
// rely on the x87 control word that a caller must have in force: round to nearest, 64-bit significands.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

#define NVO_INLINE [[gnu::always_inline]] inline

namespace nvo::extended {

inline constexpr long double _large_value_80 = 0x1p16383L, _small_value_80 = 0x1p-16381L;

inline constexpr unsigned bias = 0x3FFF, infinite = 0x7FFF; // of exponent fields

// Sign and exponent field, and the significand with its integer bit.
struct Words {
    std::uint64_t significand;
    std::uint16_t head;

    unsigned exponent() const { return head & 0x7FFFU; }
    bool negative() const { return head >> 15; }
    // The exponent field and the top 16 bits of the significand: compares as magnitudes do.
    std::uint32_t top() const { return exponent() << 16 | static_cast<std::uint32_t>(significand >> 48); }
};

// Of an argument, which is in memory. The processor knows no numbers without the integer bit but denormals: their
// exponent is shown as that of infinity and NaN, and arithmetic makes a NaN of them.
NVO_INLINE Words words_of(const long double& x) {
    Words w{};
    std::memcpy(&w, &x, 10);
    if (!(w.significand >> 63) && w.exponent() != 0) w.head |= infinite;
    return w;
}

// Of a number just computed. The compiler would load the head together with bytes behind it, and the processor doesn't
// forward a store to a wider load: it would wait until the number has reached the cache.
NVO_INLINE Words words_of_result(long double x) {
    Words w;
    asm("fstpt %0" : "=m"(w) : "t"(x) : "st");
    return w;
}

NVO_INLINE long double from_words(const Words& w) {
    static_assert(sizeof(Words) == sizeof(long double));
    long double x;
    std::memcpy(&x, &w, sizeof x);
    return x;
}

// 2^n for the normal range, of the format or of doubles. The second is quicker where it does.
NVO_INLINE long double power_of_two(int n) {
    return from_words({std::uint64_t{1} << 63, static_cast<std::uint16_t>(n + static_cast<int>(bias))});
}
NVO_INLINE double double_power_of_two(int n) {
    return std::bit_cast<double>(static_cast<std::uint64_t>(n + 1023) << 52);
}

// The compiler neither knows the value nor drops what made it: for operations that are there for their flags.
NVO_INLINE long double opaque(long double x) {
    asm volatile("" : "+t"(x));
    return x;
}
NVO_INLINE void raise_inexact() { opaque(opaque(1.0L) + _small_value_80); }
NVO_INLINE void raise_underflow() { opaque(opaque(_small_value_80) * _small_value_80); }
NVO_INLINE long double overflow() {
    return opaque(opaque(_large_value_80) * _large_value_80);
} // +infinity, with its flags
NVO_INLINE long double invalid(long double x) { return (x - x) / (x - x); } // NaN; a NaN stays itself

// x as a result that the function differs from by less than half an ulp: inexact, with underflow for denormals. Zero is
// exact.
NVO_INLINE long double nearly(long double x, const Words& w) {
    if (w.significand == 0) return x;
    if (w.significand >> 63) {
        raise_inexact();
    } else {
        raise_underflow();
    }
    return x;
}

// 1 as the value of a function that is 1 at 0 and next to it.
NVO_INLINE long double nearly_one(const Words& w) {
    if (w.significand != 0) raise_inexact();
    return 1;
}

// c0 + c1 x + c2 x^2 + ..., by Horner's scheme.
NVO_INLINE long double horner(long double, long double c) { return c; }
template <class... Rest> NVO_INLINE long double horner(long double x, long double c, Rest... rest) {
    return c + x * horner(x, rest...);
}

// The same by two chains, of the even and of the odd terms: half as long to wait for.
NVO_INLINE long double every_other(long double) { return 0; }
NVO_INLINE long double every_other(long double, long double c) { return c; }
NVO_INLINE long double every_other(long double, long double c, long double) { return c; }
template <class... Rest> NVO_INLINE long double every_other(long double w, long double c, long double, Rest... rest) {
    return c + w * every_other(w, rest...);
}
template <class... Rest> NVO_INLINE long double polynomial(long double x, long double c, Rest... rest) {
    const long double w = x * x;
    return every_other(w, c, rest...) + x * every_other(w, rest...);
}

// a < b, where a NaN isn't worth a flag.
NVO_INLINE bool below(long double a, long double b) { return __builtin_isless(a, b); }

// hi + lo, where lo is far below hi or what rounding to hi has lost.
struct Sum {
    long double hi, lo;
};

// a + b exactly.
NVO_INLINE Sum two_sum(long double a, long double b) {
    const long double hi = a + b, part = hi - a;
    return {hi, (a - (hi - part)) + (b - part)};
}

// The same where |a| >= |b| or a = 0.
NVO_INLINE Sum fast_two_sum(long double a, long double b) {
    const long double hi = a + b;
    return {hi, b - (hi - a)};
}

// x cut to a multiple of 2^-19, to nearest: for |x| < 1 its square is exact.
NVO_INLINE long double head_of(long double x) {
    constexpr long double shifter = 21990238437376.0L; // a multiple of 2^-19 between 2^44 and 2^45
    return (x + shifter) - shifter;
}

// The processor's, rounded once.
NVO_INLINE long double square_root(long double x) {
    asm("fsqrt" : "+t"(x));
    return x;
}

NVO_INLINE long double with_sign(long double magnitude, bool negative) { return negative ? -magnitude : magnitude; }

} // namespace nvo::extended
