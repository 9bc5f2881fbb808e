// e^x in the extended format. Largest error found in a million arguments: 0.510 ulp at -0xf.e7b1b63fa4a2b91p-10.

#include "kernels/complex/exponential.h"

#include <limits>

using namespace nvo::extended;

namespace {

// Magnitudes by sign: above the first e^x overflows, from the second on it rounds to 0. Results are _inf_zero.
constexpr Words _ranges[2] = {{0xB17217F7D1CF79AB, 0x400C}, {0xB21DFE7F09E2BAAA, 0x400C}};
constexpr long double _inf_zero[2] = {std::numeric_limits<long double>::infinity(), 0};

constexpr long double denormal_from = -11355.137111933023L;

// 2^-16445, the unit of the denormals, in two steps.
constexpr long double _SC2[2] = {0x1p-8222L, 0x1p-8223L};
constexpr long double SC2_BIAS = 0x1.8p63L; // x + SC2_BIAS is rounded to an integer

// For x below -16382 ln 2: counted in units of the denormals the result is rounded to an integer once, and what the
// product with the unit gives is exact.
[[gnu::cold, gnu::noinline]] long double denormal(long double x) {
    const Exponential y = exp_step(x);
    const long double units = power_of_two(y.scale + 16445);
    const Sum v = fast_two_sum(y.hi * units, y.lo * units);
    const long double nearest = (v.hi + SC2_BIAS) - SC2_BIAS;
    const long double rest = (v.hi - nearest) + v.lo;
    const long double result = (nearest + ((rest + SC2_BIAS) - SC2_BIAS)) * _SC2[0] * _SC2[1];
    if (result < std::numeric_limits<long double>::min()) raise_underflow();
    return result;
}

// Beyond the limits, infinite, NaN.
[[gnu::cold, gnu::noinline]] long double exp_rare(long double x, const Words& w) {
    if (w.exponent() == infinite) {
        if (w.significand != std::uint64_t{1} << 63) return x + x;
        return _inf_zero[w.negative()];
    }
    if (w.negative()) {
        raise_underflow();
    } else {
        overflow();
    }
    return _inf_zero[w.negative()];
}

bool is_beyond(const Words& w) {
    const Words& limit = _ranges[w.negative()];
    if (w.exponent() != limit.exponent()) return w.exponent() > limit.exponent();
    return w.significand > limit.significand;
}

} // namespace

long double nvo_ark_kernel_expl_scalar(long double x) {
    const Words w = words_of(x);
    const unsigned e = w.exponent();
    if (e < 0x3FF9) {
        if (e < 0x3FBB) return 1 + x;
        if (e < 0x3FE4) return 1 + (x + 0.5L * (x * x));
        constexpr double c3 = 1 / 6.0, c4 = 1 / 24.0, c5 = 1 / 120.0, c6 = 1 / 720.0, c7 = 1 / 5040.0, c8 = 1 / 40320.0;
        if (e < 0x3FEC) return 1 + (x + x * x * horner(x, 0.5L, c3));
        if (e < 0x3FF3) return 1 + (x + x * x * horner(x, 0.5L, c3, c4, c5));
        return 1 + (x + x * x * polynomial(x, 0.5L, c3, c4, c5, c6, c7, c8));
    }
    if (e >= 0x400C && is_beyond(w)) return exp_rare(x, w);
    if (x < denormal_from) return denormal(x);
    const Exponential y = exp_step(x);
    return scaled(y.hi + y.lo, y.scale);
}
