// ln |gamma(x)|, in the extended format throughout: all differences of logarithms have 11 bits to spare, and only the
// zeros of the function between -15 and -2 need approximations of their own.
//
// Largest error in ulp (./run accuracy __ostdLGamma):
//
//   0.548   -0x1.6229f1d87ffcdp+1: got 0x1.4bae13aa958b9p-5, want 0x1.4bae13aa958b8p-5

#include "streams/exports.h"

#include "nvo_ark/vector_math.h"
#include "tables/lgamma.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>

using namespace nvo;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double last_finite = std::bit_cast<double>(std::uint64_t{0x7F5754D9278B51A7}); // that has a finite result
constexpr long double half_ln_2pi = 0.918938533204672741780329736405617639861L;

long double ln(long double x) { return nvo_ark_kernel_logl_scalar(x); }

// Even and odd terms interleaved, each a polynomial in t^2.
template <std::size_t n> long double polynomial(const long double (&c)[n], long double t) {
    const long double s = t * t;
    constexpr std::size_t last_even = (n - 1) / 2 * 2, last_odd = n / 2 * 2 - 1;
    long double even = c[last_even], odd = c[last_odd];
    for (std::size_t k = last_even; k > 0; k -= 2) even = even * s + c[k - 2];
    for (std::size_t k = last_odd; k > 1; k -= 2) odd = odd * s + c[k - 2];
    return even + odd * t;
}

long double product(const tables::LGammaProduct& p, long double t) {
    long double y = p.scale;
    for (const auto& [a, b] : p.quadratics) y *= t * t + a * t + b;
    return y;
}

// (x - 1/2) ln x - x + ln(2 pi)/2 + 1/(12 x) - 1/(360 x^3). What is left out is below 2^-50, or 2^-60 of
// the result, from 256 on.
long double stirling(long double x) {
    constexpr long double twelfth = 1.0L / 12;
    return (x - 0.5L) * ln(x) + (half_ln_2pi - x) + (twelfth - 1 / (360 * x * x)) / x;
}

// By intervals of lgamma_4_to_256.
constexpr double interval_start[6] = {4, 8, 16, 32, 64, 128};
constexpr double inverse_start[6] = {0x1p-2, 0x1p-3, 0x1p-4, 0x1p-5, 0x1p-6, 0x1p-7};

// From 0.875 on.
long double lgamma_pos(long double x) {
    if (x < 1.25L) return (x - 1) * polynomial(tables::lgamma_1, x - 1);
    if (x < 1.75L) {
        const long double t = x - tables::lgamma_minimum_at;
        return tables::lgamma_minimum + t * t * polynomial(tables::lgamma_middle, t);
    }
    if (x < 2.25L) return (x - 2) * polynomial(tables::lgamma_2, x - 2);
    if (x < 4) return (x - 2) * product(tables::lgamma_2_to_4, x);
    if (x >= 256) return stirling(x);
    const int e = std::bit_width(static_cast<unsigned>(x)) - 3;
    return product(tables::lgamma_4_to_256[e], (x - interval_start[e]) * inverse_start[e]);
}

// gamma(x) = gamma(x + k) / (x (x + 1) ... (x + k - 1)), up to an x + k from 1 on.
long double by_shifts(long double x) {
    long double p = 1;
    while (x < 1) {
        p *= x;
        x += 1;
    }
    return lgamma_pos(x) - ln(p < 0 ? -p : p);
}

// -15 < x <= -2, no integer. Every unit interval has a zero beside each of its ends; near one of them the difference of
// by_shifts would have no relative accuracy.
long double near_zeros(double x) {
    const auto k = static_cast<std::size_t>(-3 - static_cast<int>(__ostdFloor(x)));
    const auto inside = [x](const double(&interval)[3]) { return interval[0] < x && x < interval[2]; };
    if (inside(tables::LRIB[k])) return polynomial(tables::LRP[k], x - tables::LRIB[k][1]);
    if (inside(tables::RRIB[k])) return polynomial(tables::RRP[k], x - tables::RRIB[k][1]);
    return by_shifts(x);
}

// x <= -17, no integer: gamma(x) gamma(-x) = -pi / (x sin(pi x)). With g the distance of x to the nearest integer,
// |sin(pi x)| is pi g (1 - g^2) times a function that is smooth far beyond g = 1/2.
long double by_reflection(double x) {
    const double f = x - __ostdFloor(x); // exact, and so is 1 - f above 1/2
    const long double g = f <= 0.5 ? f : 1 - f, s = g * g;
    return -ln(-x * g * (1 - s)) - s * polynomial(tables::log_of_sine, s) - lgamma_pos(-x);
}

bool is_integer(double x) {
    double nearest;
    nvo_ark_kernel_dNearbyInt_ttab[2](1, &x, &nearest);
    return nearest == x;
}

long double lgamma_neg(double x) {
    if (x > -2) return by_shifts(x);
    if (x > -15) return near_zeros(x);
    if (x > -17) return by_shifts(x);
    return by_reflection(x);
}

} // namespace

double __ostdLGamma(double x) {
    if (!(x - x == 0)) return x * x; // NaN, infinities
    if (x == 0) return infinity;
    if (x < 0) return is_integer(x) ? infinity : static_cast<double>(lgamma_neg(x));
    if (x == 1) return 0;
    if (x > last_finite) return infinity;
    return static_cast<double>(x < 0.875 ? lgamma_pos(x + 1.0L) - ln(x) : lgamma_pos(x));
}
