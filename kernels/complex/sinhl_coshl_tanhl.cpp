// Hyperbolic functions in the extended format. Largest errors found in a million arguments each:
//     sinhl  0.565 ulp at 0xa.51ef572f8aec582p-3
//     coshl  0.626 ulp at 0xa.d9a0dbe7839ce6fp-4
//     tanhl  1.605 ulp at -0x8.b6f76856c7788c4p-4

#include "kernels/complex/exponential.h"

using namespace nvo::extended;

namespace {

// From 2^-2 on the functions are made of e^x and e^-x.
constexpr unsigned small_below = 0x3FFD;
constexpr long double e_minus_counts_below = 24; // beyond, e^-2x is below 2^-68

constexpr Words overflow_above = {0xB174DDC031AEC0E9, 0x400C}; // 16385 ln 2
bool is_beyond(const Words& w) {
    return w.exponent() > overflow_above.exponent() ||
           (w.exponent() == overflow_above.exponent() && w.significand > overflow_above.significand);
}

// Polynomials (tools/fit/extended_cores.sollya): 2^-76, 2^-85, 2^-77.
NVO_INLINE long double small_sinh(long double x, const Words& w) {
    const unsigned e = w.exponent();
    if (e < 0x3FB3) return nearly(x, w);
    const long double z = x * x;
    if (e < 0x3FEC) return x + x * z * (1 / 6.0L);
    return x + x * z *
                   polynomial(z, 0x1.5555555555555556p-3L, 0x1.11111111111109f2p-7L, 0x1.a01a01a01a685p-13L,
                              0x1.71de3a53065a6p-19L, 0x1.ae645fce98759p-26L, 0x1.6141729d0fac5p-33L);
}

NVO_INLINE long double small_cosh(long double x, const Words& w) {
    const unsigned e = w.exponent();
    if (e < 0x3FB3) return nearly_one(w);
    const long double z = x * x;
    if (e < 0x3FEC) return 1 + 0.5L * z;
    return 1 + z * polynomial(z, 0.5L, 0x1.5555555555555556p-5L, 0x1.6c16c16c16c16p-10L, 0x1.a01a01a01aa0fp-16L,
                              0x1.27e4fb73d103p-22L, 0x1.1eeda217f5ebep-29L, 0x1.93748d56378eap-37L);
}

NVO_INLINE long double small_tanh(long double x, const Words& w) {
    const unsigned e = w.exponent();
    if (e < 0x3FB3) return nearly(x, w);
    const long double z = x * x;
    if (e < 0x3FEC) return x + x * z * (-1 / 3.0L);
    return x + x * z *
                   polynomial(z, -0x1.5555555555555556p-2L, 0x1.1111111111111424p-3L, -0x1.ba1ba1ba1bac6e6ep-5L,
                              0x1.664f4882cac02p-6L, -0x1.226e35639e487p-7L, 0x1.d6d3d465cea7bp-9L,
                              -0x1.7da429e17e81fp-10L, 0x1.357427eb43345p-11L, -0x1.fa6efb6ed1716p-13L,
                              0x1.d52fb199f084ap-14L, -0x1.488085f3221f9p-14L);
}

// e^x / 2 and e^-x / 2, each as a pair, for 0 <= x < 24.
struct Halves {
    Sum up, down;
};
NVO_INLINE Halves halves(long double x) {
    const ReducedExponent y = reduce_exponent(x);
    return {scaled_power_step(y.n, y.even + y.odd, -1), scaled_power_step(-y.n, y.even - y.odd, -1)};
}

// Below 1 the difference of the heads is exact: they are doubles of nearly the same size. Above, what rounding the
// lower terms costs goes down with e^-2x.
NVO_INLINE long double difference(const Halves& y, unsigned e) {
    if (e < bias) return (y.up.hi - y.down.hi) + (y.up.lo - y.down.lo);
    return y.up.hi - (y.down.hi - (y.up.lo - y.down.lo));
}
NVO_INLINE long double sum(const Halves& y) { return y.up.hi + (y.down.hi + (y.up.lo + y.down.lo)); }

// sinh x and cosh x where e^-x doesn't count.
NVO_INLINE long double large(long double x, const Words& w) {
    if (w.exponent() >= 0x400C && is_beyond(w)) return w.exponent() == infinite ? x + x : overflow();
    const Exponential y = exp_step(x);
    return scaled(y.hi + y.lo, y.scale - 1);
}

} // namespace

long double nvo_ark_kernel_sinhl_scalar(long double x) {
    const Words w = words_of(x);
    if (w.exponent() < small_below) return small_sinh(x, w);
    const long double m = __builtin_fabsl(x);
    return with_sign(below(m, e_minus_counts_below) ? difference(halves(m), w.exponent()) : large(m, w), w.negative());
}

long double nvo_ark_kernel_coshl_scalar(long double x) {
    const Words w = words_of(x);
    if (w.exponent() < small_below) return small_cosh(x, w);
    const long double m = __builtin_fabsl(x);
    return below(m, e_minus_counts_below) ? sum(halves(m)) : large(m, w);
}

void nvo_ark_kernel_sinhcoshl_scalar(long double x, long double* sh, long double* ch) {
    const Words w = words_of(x);
    if (w.exponent() < small_below) {
        *sh = small_sinh(x, w);
        *ch = small_cosh(x, w);
        return;
    }
    const long double m = __builtin_fabsl(x);
    if (below(m, e_minus_counts_below)) {
        const Halves y = halves(m);
        *sh = with_sign(difference(y, w.exponent()), w.negative());
        *ch = sum(y);
    } else {
        const long double y = large(m, w);
        *sh = with_sign(y, w.negative());
        *ch = y;
    }
}

// With q = e^-2|x|: from 1 on 1 - 2 q / (1 + q), whose errors shrink with q; below (1 - q) / (1 + q), with an exact
// head of the difference.
long double nvo_ark_kernel_tanhl_scalar(long double x) {
    const Words w = words_of(x);
    const unsigned e = w.exponent();
    if (e < small_below) return small_tanh(x, w);
    if (e > 0x4003 || (e == 0x4003 && w.significand >= 0xC001966500000000)) { // 24.003
        if (e == infinite && w.significand != std::uint64_t{1} << 63) return x + x;
        const long double one = e == infinite ? 1 : 1 - opaque(_small_value_80);
        return with_sign(one, w.negative());
    }
    const ReducedExponent r = reduce_exponent(-2 * __builtin_fabsl(x));
    const Sum q = scaled_power_step(r.n, r.even + r.odd, 0);
    const long double sum = (1 + q.hi) + q.lo; // its head is exact, too
    const long double y = e < bias ? ((1 - q.hi) - q.lo) / sum : 1 - 2 * (q.hi + q.lo) / sum;
    return with_sign(y, w.negative());
}
