// sin x and cos x in the extended format, alone and together. Largest errors found in a million arguments each:
//     sinl  0.769 ulp at 0xa.81d69b69d89c6fep+42
//     cosl  0.763 ulp at 0xc.baba1a0f6e31924p-4

#include "kernels/complex/reduction.h"

using namespace nvo::extended;

namespace {

// What the two polynomials share: r = hi + lo, |r| <= pi/4.
struct Argument {
    long double hi, lo;
    long double square = hi * hi;

    // r + r^3 (-1/6 + ...) (tools/fit/extended_cores.sollya, 2^-74).
    long double sine() const {
        const long double p = polynomial(square, -0x1.5555555555555556p-3L, 0x1.111111111111126p-7L,
                                         -0x1.a01a01a01a056p-13L, 0x1.71de3a5571b8cp-19L, -0x1.ae6456874c859p-26L,
                                         0x1.612467a06a1fep-33L, -0x1.ae83c8a45ee9fp-41L, 0x1.9522ce742a088p-49L);
        return hi + (hi * square * p + lo * (1 - 0.5L * square));
    }

    // 1 - r^2/2 with an exact head, then r^4 (1/24 - ...) (the same script, 2^-80).
    long double cosine() const {
        const long double head = head_of(hi);
        const long double p = polynomial(square, 0x1.5555555555555556p-5L, -0x1.6c16c16c16c16e1cp-10L,
                                         0x1.a01a01a01a067p-16L, -0x1.27e4fb778fe02p-22L, 0x1.1eed8f07b5c88p-29L,
                                         -0x1.93975719ad274p-37L, 0x1.ae88d19385b6ep-45L, -0x1.6a179d4341b47p-53L);
        return (1 - 0.5L * (head * head)) + (square * square * p - (0.5L * ((hi - head) * (hi + head)) + hi * lo));
    }
};

// Below 2^-6: as many terms as the exponent asks for.
constexpr unsigned small_below = 0x3FF9;
constexpr long double s3 = -1 / 6.0L;
constexpr double s5 = 1 / 120.0, s7 = -1 / 5040.0, s9 = 1 / 362880.0;
constexpr double c4 = 1 / 24.0, c6 = -1 / 720.0, c8 = 1 / 40320.0;

NVO_INLINE long double small_sine(long double x, const Words& w) {
    const unsigned e = w.exponent();
    if (e < 0x3FB3) return nearly(x, w);
    const long double z = x * x;
    if (e < 0x3FEB) return x + x * z * s3;
    if (e < 0x3FF3) return x + x * z * horner(z, s3, s5);
    return x + x * z * horner(z, s3, s5, s7, s9);
}

NVO_INLINE long double small_cosine(long double x, const Words& w) {
    const unsigned e = w.exponent();
    if (e < 0x3FB3) return nearly_one(w);
    const long double z = x * x;
    if (e < 0x3FEB) return 1 - 0.5L * z;
    if (e < 0x3FF3) return 1 - z * horner(z, 0.5L, -c4);
    return 1 - z * horner(z, 0.5L, -c4, -c6, -c8);
}

} // namespace

long double nvo_ark_kernel_sinl_scalar(long double x) {
    const Words w = words_of(x);
    if (w.exponent() < small_below) return small_sine(x, w);
    if (w.exponent() == infinite) return invalid(x);
    const Reduced r = reduce(__builtin_fabsl(x), w.exponent());
    const Argument a{r.hi, r.lo};
    return with_sign(r.octant & 2 ? a.cosine() : a.sine(), w.negative() != (r.octant >> 2 & 1));
}

long double nvo_ark_kernel_cosl_scalar(long double x) {
    const Words w = words_of(x);
    if (w.exponent() < small_below) return small_cosine(x, w);
    if (w.exponent() == infinite) return invalid(x);
    const Reduced r = reduce(__builtin_fabsl(x), w.exponent());
    const Argument a{r.hi, r.lo};
    return with_sign(r.octant & 2 ? a.sine() : a.cosine(), (r.octant + 2) >> 2 & 1);
}

void nvo_ark_kernel_sincosl_scalar(long double x, long double* s, long double* c) {
    const Words w = words_of(x);
    if (w.exponent() < small_below) {
        *s = small_sine(x, w);
        *c = small_cosine(x, w);
        return;
    }
    if (w.exponent() == infinite) {
        *s = *c = invalid(x);
        return;
    }
    const Reduced r = reduce(__builtin_fabsl(x), w.exponent());
    const Argument a{r.hi, r.lo};
    const long double sine = a.sine(), cosine = a.cosine();
    *s = with_sign(r.octant & 2 ? cosine : sine, w.negative() != (r.octant >> 2 & 1));
    *c = with_sign(r.octant & 2 ? sine : cosine, (r.octant + 2) >> 2 & 1);
}
