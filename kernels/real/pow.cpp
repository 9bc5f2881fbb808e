// Pow, Powr, Powx: x^y. The formulas are in pow_lanes.h; here is what is special.
//
// Largest errors found, in 2 million samples of the meter and a search near the limits of the range:
//   s  0.7399 ulp   ./run accuracy sPow 0x1.0220c8p+0 0x1.f62d2p+7: got 0x1.ff90e4p+2, want 0x1.ff90e2p+2
//   d  0.5298 ulp   ./run accuracy dPow 0x1.001f7d1b0e249p+0 0x1.6806d4d2c0de5p+20:
//                   got 0x1.f6a3b35b9b412p+1021, want 0x1.f6a3b35b9b413p+1021
// The routines share the formulas. So a result doesn't depend on who computed it, and a denormal is as good as any
// other.

#include "frame/kernel.h"
#include "kernels/real/pow_lanes.h"

#include <cmath>
#include <limits>

using namespace nvo;

namespace {

enum class Parity { none, odd, even }; // none: not an integer

// From 2^24, 2^53 on all numbers are even, and so is infinity.
template <class R> Parity parity_of(R y) {
    const R size = std::abs(y);
    if (size >= 2 / std::numeric_limits<R>::epsilon()) return Parity::even;
    const auto integer = static_cast<std::int64_t>(size);
    if (static_cast<R>(integer) != size) return Parity::none;
    return (integer & 1) != 0 ? Parity::odd : Parity::even;
}

// |x|^y for x or y infinite and |x| not 1.
template <class R> R infinite_power(R x, R y) {
    return (std::abs(x) > 1) == (y > 0) ? std::numeric_limits<R>::infinity() : R(0);
}

template <class R> struct Pow : PowLanes<R> {
    using Real = R;
    static constexpr Frame frame = Frame::F2;

    // The first row that fits counts.
    static std::int32_t rare(R x, R y, R* result) {
        if (x == 1 || y == 0) return *result = 1, ARK_STATUS_OK;
        if (std::isnan(x) || std::isnan(y)) return *result = x + y, ARK_STATUS_OK;
        const Parity parity = parity_of(y);
        const R sign = std::signbit(x) && parity == Parity::odd ? R(-1) : R(1);
        if (x == 0 && y < 0) return *result = sign / (x * x), ARK_STATUS_DOMAIN;
        if (x == 0) return *result = sign * (x * x), ARK_STATUS_OK;
        if (x == -1 && parity != Parity::none) return *result = sign, ARK_STATUS_OK;
        if (x < 0 && std::isfinite(x) && parity == Parity::none)
            return *result = std::numeric_limits<R>::quiet_NaN(), ARK_STATUS_DOMAIN;
        if (std::isinf(x) || std::isinf(y)) return *result = sign * infinite_power(x, y), ARK_STATUS_OK;
        *result = sign * PowLanes<R>::power(std::abs(x), y);
        return std::isinf(*result) ? ARK_STATUS_OVERFLOW : ARK_STATUS_OK;
    }
};

template <class R> struct Powr : PowLanes<R> {
    using Real = R;
    static constexpr Frame frame = Frame::F2;

    // The first row that fits counts.
    static std::int32_t rare(R x, R y, R* result) {
        constexpr R infinity = std::numeric_limits<R>::infinity();
        constexpr R nan = std::numeric_limits<R>::quiet_NaN();
        if (std::isnan(x)) return *result = x + y, ARK_STATUS_OK;
        if (x < 0) return *result = nan, ARK_STATUS_DOMAIN;
        if (std::isnan(y)) return *result = x + y, std::signbit(x) ? ARK_STATUS_DOMAIN : ARK_STATUS_OK;
        if (y == 0) return *result = x == 0 || x == infinity ? nan : R(1), ARK_STATUS_OK;
        if (x == 0) return *result = y > 0 ? R(0) : infinity, ARK_STATUS_OK;
        if (x == 1) return *result = std::isinf(y) ? nan : R(1), ARK_STATUS_OK;
        if (std::isinf(x) || std::isinf(y)) return *result = infinite_power(x, y), ARK_STATUS_OK;
        *result = PowLanes<R>::power(x, y);
        if (*result == infinity) return ARK_STATUS_OVERFLOW;
        return *result < std::numeric_limits<R>::min() ? ARK_STATUS_UNDERFLOW : ARK_STATUS_OK;
    }
};

} // namespace

NVO_KERNEL_B(s, Pow, (Pow<float>), (Pow<float>))
NVO_KERNEL_B(d, Pow, (Pow<double>), (Pow<double>))
NVO_KERNEL_B(s, Powr, (Powr<float>), (Powr<float>))
NVO_KERNEL_B(d, Powr, (Powr<double>), (Powr<double>))
NVO_KERNEL_X(s, Powx, (Pow<float>), (Pow<float>))
NVO_KERNEL_X(d, Powx, (Pow<double>), (Pow<double>))
