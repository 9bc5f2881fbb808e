// Inverse tangent in the extended format, of a number and of a point. Largest errors found in a million arguments each:
//     atanl   0.732 ulp at 0x8p+61, where pi/2 becomes the result
//     atan2l  1.444 ulp at y = 0xd.e083a6bfbeff8e8p-5, x = 0xd.c3de2e78e682f76p-3

#include "kernels/complex/angles.h"
#include "kernels/complex/exports.h"

using namespace nvo::extended;

namespace {

// Exponent fields: below the first and from the second on the table isn't needed, 2^-4 and 2^4.
constexpr unsigned table_from = bias - 4, table_to = bias + 4;

// (atan t - t) / t for |t| <= 1/16, z = t^2: as many terms as the size of t asks for. The longest is that of
// tools/fit/extended_cores.sollya, 2^-80.
NVO_INLINE long double excess(long double z) {
    return z * polynomial(z, -0x1.5555555555555556p-2L, 0x1.999999999999b416p-3L, -0x1.24924924930a8p-3L,
                          0x1.c71c71cc96097p-4L, -0x1.745d223180c8ap-4L, 0x1.3b1fe4a4923dfp-4L, -0x1.1839079fc4e5dp-4L,
                          0x1.5394d0537e9eep-3L);
}
NVO_INLINE long double excess_64(long double z) { // |t| <= 1/64
    return z * polynomial(z, -0.33333333333333331, 0.19999999999995635, -0.14285714159394206, 0.11109377332754727);
}
NVO_INLINE long double excess_1024(long double z) { // |t| <= 2^-10
    return z * (-0.33333333332969534 + 0.19999998403447114 * z);
}

// atan q for q >= 2^-76 and its exponent field. In the table's range c is the middle of a sixteenth of q's binade, and
//     atan q = atan c + atan t,  t = (q - c) / (1 + q c),  |t| < 1/64
// beyond it atan q = pi/2 - atan(1 / q).
NVO_INLINE Sum atan_step(long double q, const Words& w) {
    const unsigned e = w.exponent();
    if (e < table_from) {
        const long double z = q * q;
        if (e < 0x3FEC) return {q, q * z * (-1 / 3.0L)};
        return {q, q * excess(z)};
    }
    if (e < table_to) {
        const auto i = static_cast<unsigned>(w.significand >> 59) & 15;
        const double* row = nvo_ark_core_atanl_table_128[(e - table_from) * 16 + i];
        const long double c =
            std::bit_cast<double>(std::uint64_t{e - bias + 1023} << 52 | std::uint64_t{2 * i + 1} << 47);
        const long double t = (q - c) / (1 + q * c);
        return {row[0], t + (row[1] + t * excess_64(t * t))};
    }
    const long double t = 1 / q;
    const long double atan_t = e < bias + 10 ? t + t * excess(t * t) : t + t * excess_1024(t * t);
    return {_pi_02l.hi, _pi_02l.lo - atan_t};
}

// Zeros, infinities and NaN among the arguments.
[[gnu::cold, gnu::noinline]] long double atan2_rare(long double y, long double x) {
    if (x != x || y != y) return x + y;
    const Words wx = words_of(x), wy = words_of(y);
    const bool x_is_infinite = wx.exponent() == infinite, y_is_infinite = wy.exponent() == infinite;
    Sum angle = _pi_02l; // of a zero x or an infinite y
    if (y_is_infinite && x_is_infinite) {
        angle = wx.negative() ? _pi_34l : _pi_04l;
    } else if (y == 0 || x_is_infinite) {
        angle = wx.negative() ? pi_l : _pi_00l;
    }
    return with_sign(rounded(angle), wy.negative());
}

bool is_rare(const Words& w) { return w.exponent() == infinite || w.significand == 0; }

} // namespace

long double nvo_ark_kernel_atanl_scalar(long double x) {
    const Words w = words_of(x);
    const unsigned e = w.exponent();
    if (e < 0x3FB3) return nearly(x, w);
    if (e >= 0x403F) {
        if (x != x) return x + x;
        return with_sign(rounded(_pi_02l), w.negative());
    }
    const Sum y = atan_step(__builtin_fabsl(x), w);
    return with_sign(y.hi + y.lo, w.negative());
}

long double nvo_ark_kernel_atan2l_scalar(long double y, long double x) {
    const Words wx = words_of(x), wy = words_of(y);
    if (is_rare(wx) || is_rare(wy)) return atan2_rare(y, x);

    // A quotient of less than 2^-70 or more than 2^70 isn't formed but where it is the result: the division doesn't
    // overflow, and underflows only with the result.
    constexpr int far = 70;
    const int distance = static_cast<int>(wy.exponent()) - static_cast<int>(wx.exponent());
    if (distance > far) return with_sign(rounded(_pi_02l), wy.negative());
    if (distance < -far) {
        if (wx.negative()) return with_sign(rounded(pi_l), wy.negative());
        const long double q = y / x;
        return nearly(q, words_of_result(q));
    }
    const long double q = __builtin_fabsl(y) / __builtin_fabsl(x);
    const Sum angle = atan_step(q, words_of_result(q));
    const long double magnitude = wx.negative() ? less(pi_l, angle.hi, angle.lo) : angle.hi + angle.lo;
    return with_sign(magnitude, wy.negative());
}
