// Reduction by pi/4 over the whole extended range.

#include "kernels/complex/reduction.h"
#include "tables/four_over_pi.h"

#include <algorithm>

using namespace nvo::extended;
using nvo::tables::four_over_pi;

namespace {

// x = hi + lo with 32 bits each.
NVO_INLINE Sum halves(long double x) {
    const long double scaled = x * 0x1.00000001p32L;
    const long double hi = scaled - (scaled - x);
    return {hi, x - hi};
}

// What a multiple of 8 leaves of x, at most 8 in magnitude. |x| < 2^67.
NVO_INLINE long double modulo_8(long double x) {
    constexpr long double shifter = 0x1.8p66L; // its ulp is 8
    return x - ((x + shifter) - shifter);
}

// a + b, as exactly as a pair holds it.
NVO_INLINE Sum add(const Sum& a, const Sum& b) {
    const Sum s = two_sum(a.hi, b.hi);
    return fast_two_sum(s.hi, s.lo + (a.lo + b.lo));
}

// a pi/4
NVO_INLINE Sum times_quarter_pi(const Sum& a) {
    constexpr long double quarter_pi = 0xc90fdaa22168c235p-64L, quarter_pi_low = -0xece675d1fc8f8cbbp-130L;
    constexpr long double c_hi = 0xc90fdaa2p-32L, c_lo = 0x2168c235p-64L; // quarter_pi in halves
    const Sum h = halves(a.hi);
    const long double product = a.hi * quarter_pi;
    const long double rest = ((h.hi * c_hi - product) + h.hi * c_lo + h.lo * c_hi) + h.lo * c_lo;
    return fast_two_sum(product, rest + (a.hi * quarter_pi_low + a.lo * quarter_pi));
}

} // namespace

// With x = 2^E m = hi + lo, 32 bits each, and d_k the digits of 4/pi of 31 bits, the last of weight 2^(-30 - 31 k): let
// k = (E - 34) / 31. Products of hi with digits before k and of lo with digits before k - 1 are multiples of 8. The
// others, added in pairs
//     t_j = lo d_(k + j - 1) + hi d_(k + j),  both exact, a multiple of 2^(-28 - 31 j) below 2^(67 - 31 j),
// give the octant after t_2, to 2^-26, and then the fraction. Without t_8 and what follows it is off by less than
// 2^-180; the number of the format that is nearest to a multiple of pi/2, by continued fractions, is 2^-76 from it. A
// partial sum that cancels is a multiple of the last bit in it, so the pair holds it exactly until digits are added
// that it doesn't need.
int32_t nvo_ark_kernel_reduce_pi04l(int32_t count, long double out[2], long double x) {
    const Words w = words_of(x);
    const long double magnitude = __builtin_fabsl(x);
    Reduced r{};
    if (w.exponent() == infinite) {
        r.hi = r.lo = invalid(x);
    } else if (w.exponent() < digits_from) {
        r = reduce_by_parts(magnitude, w.exponent());
    } else {
        // x is scaled down as the digits are scaled up. The table begins with d_-2 = d_-1 = 0.
        const int k = ((static_cast<int>(w.exponent()) - 16417) * 16913) >> 19;
        const long double* digits = four_over_pi + (k + 1);
        const Sum part = halves(magnitude * 4.7477838728798994e-66);
        const auto term = [&](int j) { return two_sum(part.hi * digits[j + 1], part.lo * digits[j]); };
        const long double head = (modulo_8(part.lo * digits[0]) + modulo_8(part.hi * digits[1])) +
                                 (modulo_8(part.lo * digits[1]) + modulo_8(part.hi * digits[2]));
        Sum sum = add({head, 0}, term(2));

        constexpr long double shifter = 0x1.8p64L; // its ulp is 2
        const long double n = (sum.hi + shifter) - shifter;
        sum.hi -= n;
        for (int j = 3; j < 3 + std::clamp(count, 0, all_low_digits); ++j) sum = add(sum, term(j));
        const Sum angle = times_quarter_pi(sum);
        r = {angle.hi, angle.lo, static_cast<unsigned>(static_cast<int>(n))};
    }
    out[0] = with_sign(r.hi, w.negative());
    out[1] = with_sign(r.lo, w.negative());
    return static_cast<int32_t>((w.negative() ? 0 - r.octant : r.octant) & 7);
}
