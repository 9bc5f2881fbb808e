// ln x and ln(1 + x) in the extended format. Largest errors found in a million arguments each:
//     logl    0.507 ulp at 0x8.40053661c837401p-3
//     log1pl  0.515 ulp at 0x8.cad9ff15b4a6bdfp+61

#include "kernels/complex/logarithm.h"

#include <limits>

using namespace nvo::extended;

namespace {

// -infinity at a pole, with the flag of a division by zero. The argument is 0.
NVO_INLINE long double pole(long double zero) { return -1 / __builtin_fabsl(zero); }

// Zero, denormals, negative numbers, infinity, NaN.
[[gnu::cold, gnu::noinline]] long double log_rare(long double x) {
    if (x == 0) return pole(x);
    if (!below(0, x)) return invalid(x);
    if (x > std::numeric_limits<long double>::max()) return x;
    const Sum y = log_step(words_of_result(x * 0x1p64L));
    return (y.hi - 64.0L * ln2_hi) + (y.lo - 64.0L * ln2_lo);
}

// At or below -1, infinity, NaN.
[[gnu::cold, gnu::noinline]] long double log1p_rare(long double x) {
    if (x == -1) return pole(x + 1);
    return below(0, x) ? x : invalid(x);
}

} // namespace

long double nvo_ark_kernel_logl_scalar(long double x) {
    const Words w = words_of(x);
    if (w.head - 1U >= infinite - 1U) return log_rare(x);
    if (is_near_one(w)) return log_near_one(x - 1);
    const Sum y = log_step(w);
    return y.hi + y.lo;
}

long double nvo_ark_kernel_log1pl_scalar(long double x) {
    const Words w = words_of(x);
    const unsigned e = w.exponent();
    if (e < 0x3FFA) {
        if (e < 0x3FB3) return nearly(x, w);
        if (e < 0x3FD8) return x - 0.5L * (x * x);
        return log_near_one(x);
    }
    if (e == infinite || (e >= bias && w.negative())) return log1p_rare(x);
    if (e >= bias + 32) {
        const Sum y = log_step(words_of_result(1 + x)); // what rounding has lost is below 2^-5 ulp of the result
        return y.hi + y.lo;
    }
    return log1p_step(x, None{});
}
