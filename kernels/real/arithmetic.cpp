// Add, Sub, Mul, Sqr, Abs, Inv and Div: single IEEE operations.

#include "frame/kernel.h"

#include <cmath>

using namespace nvo;

namespace {

// What the operations without special lanes share.
template <class R, Frame f> struct Light {
    using Real = R;
    static constexpr Frame frame = f;
    static constexpr int block = 64 / sizeof(R); // the frame hides behind a loop with few turns
    static constexpr bool stride_loops = true;
};

template <class R, Frame f> struct Add : Light<R, f> {
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> a, Lanes<R, N> b) { return a + b; }
};

template <class R, Frame f> struct Sub : Light<R, f> {
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> a, Lanes<R, N> b) { return a - b; }
};

template <class R, Frame f> struct Mul : Light<R, f> {
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> a, Lanes<R, N> b) { return a * b; }
};

template <class R, Frame f> struct Sqr : Light<R, f> {
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> a) { return a * a; }
};

// The sign bit cleared, of NaNs too.
template <class R, Frame f> struct Abs : Light<R, f> {
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> a) { return magnitude(a); }
};

// 1 / a, with a pole at ±0.
template <class R, Frame f> struct Inv {
    using Real = R;
    static constexpr Frame frame = f;
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> a, LaneMask<R, N>& special) {
        special = a == R(0);
        return R(1) / a;
    }
    static std::int32_t rare(R a, R* y) {
        *y = R(1) / a;
        return a == R(0) ? ARK_STATUS_SINGULARITY : ARK_STATUS_OK;
    }
};

// a / b, with a pole where a finite a meets ±0, 0 / 0 included.
template <class R, Frame f> struct Div {
    using Real = R;
    static constexpr Frame frame = f;
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> a, Lanes<R, N> b, LaneMask<R, N>& special) {
        special = b == R(0);
        return a / b;
    }
    static std::int32_t rare(R a, R b, R* y) {
        *y = a / b;
        return b == R(0) && std::isfinite(a) ? ARK_STATUS_SINGULARITY : ARK_STATUS_OK;
    }
};

} // namespace

NVO_KERNEL_B(s, Add, (Add<float, Frame::F2>), (Add<float, Frame::F2>))
NVO_KERNEL_B(d, Add, (Add<double, Frame::F2>), (Add<double, Frame::F2>))
NVO_KERNEL_B(s, Sub, (Sub<float, Frame::F2>), (Sub<float, Frame::F2>))
NVO_KERNEL_B(d, Sub, (Sub<double, Frame::F1>), (Sub<double, Frame::F2>))
NVO_KERNEL_B(s, Mul, (Mul<float, Frame::F2>), (Mul<float, Frame::F2>))
NVO_KERNEL_B(d, Mul, (Mul<double, Frame::F2>), (Mul<double, Frame::F2>))
NVO_KERNEL_U(s, Sqr, (Sqr<float, Frame::F1>), (Sqr<float, Frame::F2>))
NVO_KERNEL_U(d, Sqr, (Sqr<double, Frame::F1>), (Sqr<double, Frame::F2>))
NVO_KERNEL_U(s, Abs, (Abs<float, Frame::F1>), (Abs<float, Frame::F2>))
NVO_KERNEL_U(d, Abs, (Abs<double, Frame::F1>), (Abs<double, Frame::F2>))
NVO_KERNEL_U(s, Inv, (OneByOne<Inv<float, Frame::F3>>), (Inv<float, Frame::F2>))
NVO_KERNEL_U(d, Inv, (OneByOne<Inv<double, Frame::F3>>), (Inv<double, Frame::F2>))
NVO_KERNEL_B(s, Div, (OneByOne<Div<float, Frame::F3>>), (Div<float, Frame::F2>))
NVO_KERNEL_B(d, Div, (OneByOne<Div<double, Frame::F3>>), (Div<double, Frame::F2>))
