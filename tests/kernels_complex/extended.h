// Numbers in the extended format for tests: bit patterns, neighbours, samples, errors in ulp.
#pragma once

#include "tools/support/mp.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>
#include <string>

namespace nvo::tests {

using Extended = std::numeric_limits<long double>;

// Sign and exponent field, significand with its integer bit.
inline long double from_bits(std::uint16_t head, std::uint64_t significand) {
    long double x = 0;
    std::memcpy(&x, &significand, 8);
    std::memcpy(reinterpret_cast<char*>(&x) + 8, &head, 2);
    return x;
}
inline bool same_bits(long double a, long double b) { return std::memcmp(&a, &b, 10) == 0; }

inline std::string text(long double x) {
    char buffer[64];
    std::snprintf(buffer, sizeof buffer, "%La", x);
    return buffer;
}

// The k-th neighbour, up or down in magnitude.
inline long double neighbour(long double x, int k) {
    for (; k > 0; --k) x = std::nextafter(x, x < 0 ? -Extended::infinity() : Extended::infinity());
    for (; k < 0; ++k) x = std::nextafter(x, 0.0L);
    return x;
}

inline tools::Mp exactly(long double x) {
    tools::Mp y(0.0, 64);
    mpfr_set_ld(y.get(), x, MPFR_RNDN);
    return y;
}

// |y - exact| in units of the last of 64 bits of exact, of the denormals at the least. Infinite if only one is finite:
// exact counts as infinite from half an ulp above the largest number on.
inline double ulp_error(long double y, const tools::Mp& exact) {
    if (std::isnan(y) || mpfr_nan_p(exact.get())) return std::isnan(y) && mpfr_nan_p(exact.get()) ? 0 : INFINITY;
    const bool infinite = !std::isfinite(mpfr_get_ld(exact.get(), MPFR_RNDN));
    if (infinite || std::isinf(y)) return infinite && y == mpfr_get_ld(exact.get(), MPFR_RNDN) ? 0 : INFINITY;
    const long exponent = mpfr_zero_p(exact.get()) ? Extended::min_exponent : mpfr_get_exp(exact.get());
    tools::Mp difference = exactly(y) - exact;
    mpfr_mul_2si(difference.get(), difference.get(), 64 - std::max<long>(exponent, Extended::min_exponent), MPFR_RNDN);
    return std::fabs(difference.to_double());
}

// Random numbers with magnitudes from low to high: all exponents alike, within one all numbers alike.
class Samples {
public:
    Samples(long double low, long double high, bool both_signs) : low_(low), high_(high), both_signs_(both_signs) {}

    long double next() {
        const int first = std::ilogb(low_), last = std::ilogb(high_);
        for (;;) {
            const int e = std::uniform_int_distribution<int>(first, last)(random_);
            const std::uint64_t significand = random_() | std::uint64_t{1} << 63;
            const long double x = std::scalbn(static_cast<long double>(significand), e - 63);
            if (x >= low_ && x <= high_) return both_signs_ && random_() & 1 ? -x : x;
        }
    }

private:
    long double low_, high_;
    bool both_signs_;
    std::mt19937_64 random_{20};
};

} // namespace nvo::tests
