// Inverse hyperbolic functions in the extended format. Largest errors found in half a million arguments each:
//     asinhl  0.944 ulp at 0x9.26d90352b4b6751p-3
//     acoshl  1.467 ulp at 0x8.3fdbd8173abe9dap-3
//     atanhl  1.064 ulp at -0xe.1e87fe381e187f5p-5

#include "kernels/complex/logarithm.h"

#include <limits>

using namespace nvo::extended;

namespace {

constexpr unsigned small_below = 0x3FF7; // 2^-8: series, with as many terms as the exponent asks for
constexpr unsigned large_from = 0x4020;  // 2^33: x + sqrt(x^2 +- 1) is 2 x

NVO_INLINE long double small_asinh(long double x, const Words& w) {
    constexpr long double a3 = -1 / 6.0L;
    constexpr double a5 = 3 / 40.0, a7 = -5 / 112.0, a9 = 35 / 1152.0;
    const unsigned e = w.exponent();
    if (e < 0x3FB3) return nearly(x, w);
    const long double z = x * x;
    if (e < 0x3FEC) return x + x * z * a3;
    if (e < 0x3FF2) return x + x * z * horner(z, a3, a5);
    return x + x * z * horner(z, a3, a5, a7, a9);
}

NVO_INLINE long double small_atanh(long double x, const Words& w) {
    constexpr long double a3 = 1 / 3.0L;
    constexpr double a5 = 1 / 5.0, a7 = 1 / 7.0, a9 = 1 / 9.0;
    const unsigned e = w.exponent();
    if (e < 0x3FB3) return nearly(x, w);
    const long double z = x * x;
    if (e < 0x3FEC) return x + x * z * a3;
    if (e < 0x3FF2) return x + x * z * horner(z, a3, a5);
    return x + x * z * horner(z, a3, a5, a7, a9);
}

// ln 2x
NVO_INLINE long double log_of_twice(Words w) {
    ++w.head;
    const Sum y = log_step(w);
    return y.hi + y.lo;
}

// ln(a + b), the sum not near 1.
NVO_INLINE long double log_of_sum(long double a, long double b) {
    const Sum s = two_sum(a, b);
    const Sum y = log_step(words_of_result(s.hi), s.lo);
    return y.hi + y.lo;
}

// ln(1 + a + b)
NVO_INLINE long double log1p_of_sum(long double a, long double b) {
    const Sum u = two_sum(a, b);
    return log1p_step(u.hi, u.lo);
}

} // namespace

// ln(x + sqrt(x^2 + 1)); below 2 as ln(1 + x + x^2 / (1 + sqrt(x^2 + 1))).
long double nvo_ark_kernel_asinhl_scalar(long double x) {
    Words w = words_of(x);
    const unsigned e = w.exponent();
    const bool negative = w.negative();
    if (e < small_below) return small_asinh(x, w);
    if (e == infinite) return x + x;
    w.head = static_cast<std::uint16_t>(e);
    if (e >= large_from) return with_sign(log_of_twice(w), negative);
    const long double magnitude = __builtin_fabsl(x), square = x * x;
    const long double root = square_root(square + 1);
    if (e > bias) return with_sign(log_of_sum(magnitude, root), negative);
    return with_sign(log1p_of_sum(magnitude, square / (1 + root)), negative);
}

// ln(x + sqrt(x^2 - 1)); below 2, with x = 1 + t, as ln(1 + t + sqrt(2 t + t^2)).
long double nvo_ark_kernel_acoshl_scalar(long double x) {
    const Words w = words_of(x);
    if (!below(1, x)) return x == 1 ? 0 : invalid(x);
    if (w.exponent() == infinite) return x;
    if (w.exponent() >= large_from) return log_of_twice(w);
    if (w.exponent() > bias) return log_of_sum(x, square_root(x * x - 1));
    const long double t = x - 1;
    return log1p_of_sum(square_root(2 * t + t * t), t);
}

// ln((1 + x) / (1 - x)) / 2: the quotient is 1 + 2 x / (1 - x), and 2 x / (1 - x) is 2 x + 2 x^2 / (1 - x).
long double nvo_ark_kernel_atanhl_scalar(long double x) {
    const Words w = words_of(x);
    if (w.exponent() < small_below) return small_atanh(x, w);
    const long double magnitude = __builtin_fabsl(x);
    if (!below(magnitude, 1)) return magnitude == 1 ? x / (1 - magnitude) : invalid(x);
    const long double twice = 2 * magnitude, rest = 1 - magnitude;
    const long double logarithm =
        w.exponent() < bias - 1 ? log1p_of_sum(twice, twice * magnitude / rest) : log1p_step(twice / rest, None{});
    return with_sign(0.5L * logarithm, w.negative());
}
