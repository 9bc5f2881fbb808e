// Logb: the exponent, as a number.

#include "frame/kernel.h"
#include "kernels/real/log_lanes.h"

#include <cmath>
#include <limits>

using namespace nvo;

namespace {

template <class R> struct Logb {
    using Real = R;
    using Limits = std::numeric_limits<R>;
    static constexpr Frame frame = Frame::F2;
    static constexpr int block = 64 / sizeof(R); // next to no work a lane
    static constexpr int bias = Limits::max_exponent - 1;

    // Special: all but the normal numbers.
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        const auto size = magnitude(x);
        special = not_between(size, Limits::min(), Limits::infinity());
        return exponent_field(size) - R(bias);
    }

    static std::int32_t rare(R x, R* y) {
        constexpr int up = sizeof(R) == 4 ? 25 : 55; // makes any denormal normal
        if (x == 0)
            return *y = R(-1) / std::abs(x), ARK_STATUS_DOMAIN; // also a denormal that the control register makes 0
        if (!std::isfinite(x)) return *y = std::abs(x * R(1)), ARK_STATUS_OK; // ±infinity, NaN
        const auto scaled = std::bit_cast<Word<R>>(std::abs(x) * R(std::uint64_t{1} << up));
        return *y = R((scaled >> (Limits::digits - 1)) - (bias + up)), ARK_STATUS_OK; // a denormal
    }
};

} // namespace

NVO_KERNEL_U(s, Logb, (Logb<float>), (Logb<float>))
NVO_KERNEL_U(d, Logb, (Logb<double>), (Logb<double>))
