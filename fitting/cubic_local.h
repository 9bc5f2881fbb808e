// The local cubic kinds' first derivatives: at an inner breakpoint from the divided differences beside it, and at the
// ends.
//   Akima   H. Akima, A new method of interpolation and smooth curve fitting based on local procedures, Journal of the
//           ACM 17 (1970), 589-602
//   Bessel  the parabola through three points; de Boor, A Practical Guide to Splines, 1978, chapter IV
//   Hyman   J. M. Hyman, Accurate monotonicity preserving cubic interpolation, SIAM Journal on Scientific and
//           Statistical Computing 4 (1983), 645-654
#pragma once

#include "fitting/cubic.h"

#include <cmath>

namespace nvo::fitting {

enum class LocalKind { akima, bessel, hyman, hermite };

// Sums of Akima's weights below this limit are not divided by. It is absolute: data whose divided differences vary by
// less take their means. For floats it is 1e-6 as a double, to which they are compared; the floats below that are those
// below the next float.
template <Real R> inline constexpr R weight_limit = R(1e-10);
template <> inline constexpr float weight_limit<float> = 0x1.0c6f7cp-20F;
static_assert(weight_limit<float> > 1e-6 && float(1e-6) < 1e-6);

template <class V> V where(LaneMask<LaneType<V>, lane_count<V>> mask, V a, V b) {
    return from_bits<LaneType<V>>((bits(a) & mask) | (bits(b) & ~mask));
}

using nvo::smaller;
inline One<float> smaller(One<float> a, One<float> b) { return a[0] < b[0] ? a : b; }
inline One<double> smaller(One<double> a, One<double> b) { return a[0] < b[0] ? a : b; }

// d: divided differences before and behind the breakpoint; w: by how much each differs from the next one outwards.
template <class V> V akima(V d_before, V d_behind, V w_before, V w_behind) {
    const V sum = w_behind + w_before;
    const auto vanishing = sum < splat<V>(weight_limit<LaneType<V>>);
    const V divisor = where(vanishing, splat<V>(1), sum); // no 0/0, which would raise a flag
    return where(vanishing, (d_before + d_behind) / 2, (w_behind * d_before + w_before * d_behind) / divisor);
}

// span: the two widths together.
template <class V> V bessel(V h_before, V h_behind, V d_before, V d_behind, V span) {
    return (h_behind * d_before + h_before * d_behind) / span;
}

// Bessel's slope b, kept monotone. The sign of the product of the differences is told from theirs, since the product
// may underflow. NaN goes through.
template <class V> V hyman(V b, V d_before, V d_behind) {
    const auto turns = ((d_before <= 0) & (d_behind >= 0)) | ((d_before >= 0) & (d_behind <= 0));
    const V limit = 3 * smaller(magnitude(d_before), magnitude(d_behind));
    return where(turns, splat<V>(0), with_sign(smaller(limit, magnitude(b)), b));
}

// The derivative at an end. s1: the one at the next breakpoint; far: the other end.
template <Real R, LocalKind kind, Grid grid>
R end_slope(End condition, const EndView<R>& end, const EndView<R>& far, R s1, const R* bc) {
    const bool left = end.side == Side::left;
    switch (condition) {
    case End::not_a_knot:
        if constexpr (grid == Grid::even) {
            const R sum = end.mirrored(-5) * end.y0 + end.mirrored(4) * end.y1 + end.mirrored(1) * end.y2;
            return ByInverse<R>(end.h0).inverse * R(0.5) * sum - 2 * s1;
        } else {
            return (not_a_knot_side(end) - end.both * s1) / end.h1;
        }
    case End::free_end: return R(1.5) * end.d0 - R(0.5) * s1;
    case End::first: return bc[left ? 0 : 1];
    case End::second: return R(1.5) * end.d0 - R(0.5) * s1 - end.mirrored(R(0.25)) * end.h0 * bc[left ? 0 : 1];
    case End::not_set: return (3 * end.d0 - end.d1) / 2;
    case End::periodic: break;
    }
    if constexpr (kind == LocalKind::hermite) {
        return bc[0];
    } else if constexpr (kind == LocalKind::akima) {
        const R w = std::abs(end.d1 - end.d0), far_w = std::abs(far.d0 - far.d1);
        return akima(One<R>{far.d0}, One<R>{end.d0}, One<R>{far_w}, One<R>{w})[0];
    } else if constexpr (grid == Grid::even) {
        const EndView<R>&first = left ? end : far, &last = left ? far : end;
        return ByInverse<R>(end.h0).inverse * R(0.5) * ((first.y1 + last.y0) - (first.y0 + last.y1));
    } else {
        return (far.h0 * end.d0 + far.rise * end.h0 / far.h0) / (end.h0 + far.h0);
    }
}

} // namespace nvo::fitting
