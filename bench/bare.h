// The lane formulas alone: the measure of what frame, walk, mask and tail cost. frame/kernel.h includes this file in
// place of its own macros where NVO_BARE_FORMULAS is defined; the kernel files then define, for each row,
//
//   nvo_bare_<row>    a function with the arguments of the unit-stride row, or null where the row has no lanes
//
// which is a loop over blocks as long as the kernel's own, for an n that is a multiple of them.
#pragma once

#include "frame/walk.h"

namespace nvo {

// As long as the kernel's own block.
template <class K>
inline constexpr int bare_block =
    Walk<K, std::tuple<UnitVector<const typename K::Real>>, std::tuple<UnitVector<typename K::Real>>>::block;

template <class K> using BareRegister = Lanes<typename K::Real, lane_width<typename K::Real>>;

// The formula on one register of each input, its special lanes forgotten.
template <class K, class... X> auto bare_formula(const K& kernel, X... x) {
    constexpr int width = lane_width<typename K::Real>;
    LaneMask<typename K::Real, width> special{};
    if constexpr (requires { kernel.template lanes<width>(x..., special); }) {
        return kernel.template lanes<width>(x..., special);
    } else {
        return kernel.template lanes<width>(x...);
    }
}

template <class R, class V> void put_bare(V v, std::ptrdiff_t i, R* y) { store<V>(y + i, v); }
template <class R, class V> void put_bare(const std::array<V, 2>& v, std::ptrdiff_t i, R* y, R* z) {
    store<V>(y + i, v[0]);
    store<V>(z + i, v[1]);
}

// in(f) calls f with the input vectors, out(f) with the result vectors.
template <class K, class In, class Out>
[[gnu::always_inline]] inline void bare_loop(std::ptrdiff_t n, In in, Out out, const K kernel = {}) {
    using V = BareRegister<K>;
    constexpr int registers = bare_block<K> / lane_count<V>;
    for (std::ptrdiff_t i = 0; i < n; i += bare_block<K>) {
        using Result = decltype(in([&](auto... a) { return bare_formula(kernel, load<V>(a)...); }));
        Result y[registers];
        unroll<registers>([&](auto r) {
            y[r] = in([&](auto... a) { return bare_formula(kernel, load<V>(a + i + r * lane_count<V>)...); });
        });
        unroll<registers>([&](auto r) { out([&](auto... v) { put_bare(y[r], i + r * lane_count<V>, v...); }); });
    }
}

template <class K> struct Bare {
    using R = typename K::Real;

    [[gnu::noipa, gnu::flatten]] static void U(std::int32_t n, const R* a, R* y) {
        bare_loop<K>(
            n, [=](auto f) { return f(a); }, [=](auto f) { f(y); });
    }
    [[gnu::noipa, gnu::flatten]] static void B(std::int32_t n, const R* a, const R* b, R* y) {
        bare_loop<K>(
            n, [=](auto f) { return f(a, b); }, [=](auto f) { f(y); });
    }
    [[gnu::noipa, gnu::flatten]] static void X(std::int32_t n, const R* a, R b, R* y) {
        bare_loop<FixedSecond<K>>(
            n, [=](auto f) { return f(a); }, [=](auto f) { f(y); }, {b});
    }
    [[gnu::noipa, gnu::flatten]] static void S(std::int32_t n, const R* a, R* y, R* z) {
        bare_loop<K>(
            n, [=](auto f) { return f(a); }, [=](auto f) { f(y, z); });
    }
};

template <class K> inline constexpr bool has_bare_formula = requires {
    &K::template lanes<lane_width<typename K::Real>>;
};

} // namespace nvo

#define NVO_BARE(t, Op, cls, K)                                                                   \
    extern "C" ark_fn_##cls##_unit_##t* const nvo_bare_##t##Op;                                   \
    ark_fn_##cls##_unit_##t* const nvo_bare_##t##Op = [] {                                        \
        ark_fn_##cls##_unit_##t* loop = nullptr;                                                  \
        if constexpr (nvo::has_bare_formula<NVO_TYPE_IN K>) loop = nvo::Bare<NVO_TYPE_IN K>::cls; \
        return loop;                                                                              \
    }();
#define NVO_KERNEL_U(t, Op, Unit, Strided) NVO_BARE(t, Op, U, Unit)
#define NVO_KERNEL_B(t, Op, Unit, Strided) NVO_BARE(t, Op, B, Unit)
#define NVO_KERNEL_X(t, Op, Unit, Strided) NVO_BARE(t, Op, X, Unit)
#define NVO_KERNEL_S(t, Op, Unit, Strided) NVO_BARE(t, Op, S, Unit)
