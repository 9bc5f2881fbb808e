// The walks: how a kernel goes through its vectors. A kernel is a struct with
//
//   using Real                     element type
//   static constexpr Frame frame   what it does to the control words
//
// and some of
//
//   lanes(x..., special)           the fast formula. Sets the sign bit of each lane of special that it can't handle
//   lanes(x...)                    the same for a formula that can handle all
//   inside(x...)                   of a scalar kernel: the lanes that its lanes(x...) is for. Tested before, so that no
//                                  flag is raised for the others but by element
//   shortcut(x, y, special)        results for some special lanes, which it takes out of the mask; tried before rare
//   rare(x..., &y...)              one element, for the lanes that are special; returns the status, or nothing
//   element(x..., &y...)           one element of a scalar kernel; returns the status, or nothing
//   choose(walk)                   calls walk with the formula that this call needs
//
//   static constexpr int block             elements in a turn of the main loop, if not 4; at most 8 with strides
//   static constexpr bool stride_loops     separate loops for input strides of 0, 1 and others, and output strides of 1
//                                          and others
//
// A lane kernel has lanes, and rare unless no lane is special. A routine kernel has rare alone. A scalar kernel has
// element, and goes one by one; with lanes as well, which must give the same bits and flags as element, it takes blocks
// without a special lane in them. OneByOne makes one of a lane kernel.
//
// Results. lanes returns the result lanes, or an array of two of them.
#pragma once

#include "frame/fp_frame.h"
#include "frame/lanes.h"
#include "frame/report.h"

#include <array>
#include <bit>
#include <concepts>
#include <tuple>

// A sanitizer's checks make a flattened function so large that it takes minutes to compile.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define NVO_FLATTEN
#else
#define NVO_FLATTEN [[gnu::flatten]]
#endif

namespace nvo {

// A lane kernel walked as a scalar one: each element is stored before the next one is computed or reported.
template <class K> struct OneByOne : K { static constexpr bool one_by_one = true; };

// A lane kernel of two arguments as one of the first, with the same second one for all elements.
template <class K> struct FixedSecond {
    using Real = typename K::Real;
    static constexpr Frame frame = K::frame;
    Real b;

    template <int N> auto lanes(Lanes<Real, N> a, LaneMask<Real, N>& special) const {
        return K::template lanes<N>(a, splat<Lanes<Real, N>>(b), special);
    }
    std::int32_t rare(Real a, Real* y) const { return K::rare(a, b, y); }
};

// A vector as it comes into a kernel.
template <class E> struct Vector {
    E* data;
    std::int32_t stride = 1;
};

// A vector as a loop sees it: with a stride of 1, any stride, or one value (stride 0; read once, before the loop).
template <class E> struct UnitVector {
    using Element = std::remove_const_t<E>;
    E* data;
    explicit UnitVector(Vector<E> v) : data(v.data) {}
    std::int32_t stride() const { return 1; }
    E& operator[](std::ptrdiff_t i) const { return data[i]; }
    template <class V> V lanes(std::ptrdiff_t i) const { return load<V>(data + i); }
    template <class V> void put(std::ptrdiff_t i, V v) const { store<V>(data + i, v); }
};

template <class E> struct StridedVector {
    using Element = std::remove_const_t<E>;
    E* data;
    std::ptrdiff_t step;
    explicit StridedVector(Vector<E> v) : data(v.data), step(v.stride) {}
    std::int32_t stride() const { return static_cast<std::int32_t>(step); }
    E& operator[](std::ptrdiff_t i) const { return data[i * step]; }
    template <class V> V lanes(std::ptrdiff_t i) const {
        return [&]<int... lane>(std::integer_sequence<int, lane...>) { return V{(*this)[i + lane]...}; }
        (std::make_integer_sequence<int, lane_count<V>>{});
    }
    template <class V> void put(std::ptrdiff_t i, V v) const {
        unroll<lane_count<V>>([&](auto lane) { (*this)[i + lane] = v[lane()]; });
    }
};

template <class E> struct OneValue {
    using Element = std::remove_const_t<E>;
    E* data;
    Element value;
    explicit OneValue(Vector<E> v) : data(v.data), value(*v.data) {}
    std::int32_t stride() const { return 0; }
    const E& operator[](std::ptrdiff_t) const { return value; }
    template <class V> V lanes(std::ptrdiff_t) const { return splat<V>(value); }
};

// The harmless value of a tail lane without an element: every formula is defined there.
inline constexpr double tail_filler = 0.75;

// The first `count` lanes from the source, 1 <= count < N. One initialiser a count: lanes set one after the other would
// go through memory.
template <class V, class Source> V tail_lanes(const Source& source, std::ptrdiff_t i, int count) {
    constexpr auto filler = static_cast<LaneType<V>>(tail_filler);
    const auto first = [&]<int... lane>(auto k, std::integer_sequence<int, lane...>) {
        return V{(lane < k ? source[i + lane] : filler)...};
    };
    V v = splat<V>(filler);
    unroll<lane_count<V>>([&](auto k) {
        if (k == count) v = first(k, std::make_integer_sequence<int, lane_count<V>>{});
    });
    return v;
}

template <class V, class Target> void put_tail(const Target& target, std::ptrdiff_t i, int count, V v) {
    unroll<lane_count<V>>([&](auto lane) {
        if (lane < count) target[i + lane] = v[lane()];
    });
}

template <class F> std::int32_t status_of(F f) {
    if constexpr (std::is_void_v<decltype(f())>) {
        f();
        return ARK_STATUS_OK;
    } else {
        return f();
    }
}

template <class Vectors> inline constexpr bool has_unit_strides = false;
template <class... E> inline constexpr bool has_unit_strides<std::tuple<UnitVector<E>...>> = true;

// A kernel at work on its vectors: Inputs and Outputs are tuples of the above.
template <class K, class Inputs, class Outputs> struct Walk {
    using Real = typename K::Real;
    static constexpr int inputs = std::tuple_size_v<Inputs>;
    static constexpr int outputs = std::tuple_size_v<Outputs>;
    static constexpr int width = lane_width<Real>;
    using Register = Lanes<Real, width>;
    using Mask = LaneMask<Real, width>;
    using Results = std::array<Register, outputs>;

    static constexpr bool has_rare = requires { &K::rare; };
    static constexpr bool has_element = requires { &K::element; };
    static constexpr bool is_scalar = has_element || requires { K::one_by_one; };
    static constexpr bool has_inside = requires { &K::template inside<width>; };
    static constexpr bool has_lanes = requires { &K::template lanes<width>; };
    static constexpr bool all_unit = has_unit_strides<Inputs> && has_unit_strides<Outputs>;
    static constexpr int block = [] {
        int elements = 4;
        if constexpr (requires { K::block; }) elements = K::block;
        return all_unit || elements < 8 ? elements : 8;
    }();

    K kernel;
    Inputs in;
    Outputs out;
    const char* name;

    // Flattened: all that a turn of a loop calls becomes part of the loop, but for the cold functions. The loop works
    // on a copy of its own, which no store into a vector can reach.
    NVO_FLATTEN void run(std::ptrdiff_t n) const { Walk(*this).loop(n); }

private:
    void loop(std::ptrdiff_t n) {
        std::ptrdiff_t i = 0;
        if constexpr (is_scalar) {
            if constexpr (has_lanes) {
                for (; i + block <= n; i += block) scalar_block(i);
            }
            for (; i < n; ++i) scalar(i);
        } else {
            for (; i + block <= n; i += block) {
                if constexpr (has_rare) {
                    lane_block<block / width>(i, std::integral_constant<int, block>{});
                } else { // one register after the other: loads and stores take turns
                    unroll<block / width>(
                        [&](auto r) { lane_block<1>(i + r * width, std::integral_constant<int, width>{}); });
                }
            }
            for (; i < n; i += width) lane_block<1>(i, static_cast<int>(n - i < width ? n - i : width));
        }
    }

    using InputIndices = std::make_integer_sequence<int, inputs>;
    using OutputIndices = std::make_integer_sequence<int, outputs>;

    // The fast formula on one register each.
    Results formula(const std::array<Register, inputs>& x, Mask& special) const {
        return [&]<int... k>(std::integer_sequence<int, k...>)->Results {
            if constexpr (requires { kernel.template lanes<width>(x[k]..., special); }) {
                return as_results(kernel.template lanes<width>(x[k]..., special));
            } else {
                return as_results(kernel.template lanes<width>(x[k]...));
            }
        }
        (InputIndices{});
    }
    static Results as_results(Register y) requires(outputs == 1) { return {y}; }
    static Results as_results(const Results& y) { return y; }

    // One element through a function of one element; its results stay in y.
    template <class F, class X, class Y> static std::int32_t call(F f, const X& x, Y& y) {
        return [&]<int... k, int... m>(std::integer_sequence<int, k...>, std::integer_sequence<int, m...>) {
            return status_of([&] { return f(x[k]..., &y[m]...); });
        }
        (InputIndices{}, OutputIndices{});
    }

    // A block of `registers` registers, of which the first `count` elements exist: an int, or a constant.
    template <int registers, class Count> void lane_block(std::ptrdiff_t i, Count count) {
        const bool whole = count == registers * width;
        std::array<Register, inputs> x[registers];
        Results y[registers];
        unroll<registers>([&](auto r) {
            unroll<inputs>([&](auto k) {
                const auto& source = std::get<k>(in);
                x[r][k] =
                    whole ? source.template lanes<Register>(i + r * width) : tail_lanes<Register>(source, i, count);
            });
        });
        unsigned special = 0;
        if constexpr (!has_lanes) {
            special = (1U << count) - 1;
        } else {
            Mask marks[registers] = {};
            const auto marked = [&] {
                unsigned lanes = 0;
                unroll<registers>([&](auto r) { lanes |= lane_bits(marks[r]) << (r * width); });
                return lanes & ((1U << count) - 1);
            };
            unroll<registers>([&](auto r) { y[r] = formula(x[r], marks[r]); });
            if constexpr (has_rare) special = marked();
            if constexpr (requires { kernel.template shortcut<width>(x[0][0], y[0][0], marks[0]); }) {
                if (special != 0) [[unlikely]] {
                    unroll<registers>([&](auto r) { kernel.template shortcut<width>(x[r][0], y[r][0], marks[r]); });
                    special = marked();
                }
            }
        }
        if constexpr (has_rare) {
            if (special != 0) [[unlikely]]
                redo<registers>(special, i, x, y);
        }
        unroll<registers>([&](auto r) {
            unroll<outputs>([&](auto m) {
                const auto& target = std::get<m>(out);
                if (whole) {
                    target.template put<Register>(i + r * width, y[r][m]);
                } else {
                    put_tail<Register>(target, i, count, y[r][m]);
                }
            });
        });
    }

    // Redoes the special lanes of a block, with its inputs and results in memory.
    template <int registers>
    void redo(unsigned special, std::ptrdiff_t i, const std::array<Register, inputs> (&x)[registers],
              Results (&y)[registers]) {
        Real arguments[registers * width][inputs];
        Real results[registers * width][outputs];
        unroll<registers * width>([&](auto lane) {
            unroll<inputs>([&](auto k) { arguments[lane][k] = x[lane / width][k][lane % width]; });
            if constexpr (has_lanes) {
                unroll<outputs>([&](auto m) { results[lane][m] = y[lane / width][m][lane % width]; });
            }
        });
        divert(Walk(*this), special, i, arguments, results);
        unroll<registers * width>(
            [&](auto lane) { unroll<outputs>([&](auto m) { y[lane / width][m][lane % width] = results[lane][m]; }); });
    }

    // The special lanes of the block that starts at element i, in ascending order. A reported lane is stored first,
    // and has the value that stands in the vector afterwards; no other lane has been stored yet. The walk comes by
    // value, so that the loop's own copy can stay in registers.
    [[gnu::cold, gnu::noinline]] static void divert(Walk walk, unsigned special, std::ptrdiff_t i,
                                                    const Real (*x)[inputs], Real (*y)[outputs]) {
        for (; special != 0; special &= special - 1) {
            const int lane = std::countr_zero(special);
            Real* result = y[lane];
            const std::int32_t status = call([&](auto... v) { return walk.kernel.rare(v...); }, x[lane], y[lane]);
            if (status == ARK_STATUS_OK) continue;
            unroll<outputs>([&](auto m) { std::get<m>(walk.out)[i + lane] = result[m]; });
            walk.report_element(status, i + lane);
            unroll<outputs>([&](auto m) { result[m] = std::get<m>(walk.out)[i + lane]; });
        }
    }

    void scalar(std::ptrdiff_t i) {
        Real x[inputs];
        Real y[outputs];
        unroll<inputs>([&](auto k) { x[k] = std::get<k>(in)[i]; });
        const auto one = [&](auto... v) {
            if constexpr (has_element) {
                return kernel.element(v...);
            } else {
                return kernel.rare(v...);
            }
        };
        const std::int32_t status = call(one, x, y);
        unroll<outputs>([&](auto m) { std::get<m>(out)[i] = y[m]; });
        if (status != ARK_STATUS_OK) [[unlikely]]
            report_later(*this, status, i);
    }

    void scalar_block(std::ptrdiff_t i) {
        constexpr int registers = block / width;
        std::array<Register, inputs> x[registers];
        Results y[registers];
        unsigned special = 0;
        unroll<registers>([&](auto r) {
            unroll<inputs>([&](auto k) { x[r][k] = std::get<k>(in).template lanes<Register>(i + r * width); });
            if constexpr (has_inside) {
                const auto inside = [&](auto... v) { return kernel.template inside<width>(v...); };
                special |= lane_bits(std::apply(inside, x[r])) ^ ((1U << width) - 1);
            }
        });
        if (!has_inside || special == 0) {
            unroll<registers>([&](auto r) {
                Mask mark = {};
                y[r] = formula(x[r], mark);
                special |= lane_bits(mark);
            });
        }
        if (special != 0) [[unlikely]] {
            for (int lane = 0; lane < block; ++lane) scalar(i + lane);
            return;
        }
        unroll<registers>([&](auto r) {
            unroll<outputs>([&](auto m) { std::get<m>(out).template put<Register>(i + r * width, y[r][m]); });
        });
    }

    [[gnu::cold, gnu::noinline]] static void report_later(Walk walk, std::int32_t status, std::ptrdiff_t i) {
        walk.report_element(status, i);
    }
    void report_element(std::int32_t status, std::ptrdiff_t i) const {
        const auto& a1 = std::get<0>(in);
        const auto& a2 = std::get<inputs - 1>(in);
        const auto& r1 = std::get<0>(out);
        const auto& r2 = std::get<outputs - 1>(out);
        report<Real>(status, static_cast<std::int32_t>(i), a1.data, a1.stride(), a2.data, a2.stride(), r1.data,
                     r1.stride(), r2.data, r2.stride(), name);
    }
};

// The form of a vector that its stride asks for, handed to f.
template <class E, class F> void with_stride(Vector<E> v, F f) {
    if constexpr (std::is_const_v<E>) {
        if (v.stride == 0) return f(OneValue<E>(v));
    }
    if (v.stride == 1) return f(UnitVector<E>(v));
    f(StridedVector<E>(v));
}

// f with the forms of all vectors that their strides ask for.
template <class F> void with_strides(F f) { f(); }
template <class F, class E, class... More> void with_strides(F f, Vector<E> v, More... more) {
    with_stride(v, [&](auto form) { with_strides([&](auto... forms) { f(form, forms...); }, more...); });
}

enum class Form { unit, strided };

// The arithmetic of a call, between the frame's entry and its exit: a function of its own that the compiler can neither
// inline nor look into. Inputs and outputs are arrays of Vector.
template <class K, Form form, std::size_t inputs, std::size_t outputs>
[[gnu::noipa]] void walk_inside_frame(const K& kernel, std::int32_t n,
                                      const std::array<Vector<const typename K::Real>, inputs>& in,
                                      const std::array<Vector<typename K::Real>, outputs>& out, const char* name) {
    using Real = typename K::Real;
    if (n <= 0) return;
    const auto walk_split = [&]<std::size_t... k, std::size_t... m>(
        const auto& formula, auto forms, std::index_sequence<k...>, std::index_sequence<m...>) {
        const auto ins = std::make_tuple(std::get<k>(forms)...);
        const auto outs = std::make_tuple(std::get<inputs + m>(forms)...);
        using Chosen = Walk<std::remove_cvref_t<decltype(formula)>, std::remove_const_t<decltype(ins)>,
                            std::remove_const_t<decltype(outs)>>;
        Chosen{formula, ins, outs, name}.run(n);
    };
    const auto walk = [&](const auto& formula) {
        using Formula = std::remove_cvref_t<decltype(formula)>;
        [&]<std::size_t... k, std::size_t... m>(std::index_sequence<k...> ks, std::index_sequence<m...> ms) {
            if constexpr (form == Form::unit) {
                walk_split(formula, std::make_tuple(UnitVector<const Real>(in[k])..., UnitVector<Real>(out[m])...), ks,
                           ms);
            } else if constexpr (requires { Formula::stride_loops; }) {
                with_strides([&](auto... forms) { walk_split(formula, std::make_tuple(forms...), ks, ms); }, in[k]...,
                             out[m]...);
            } else {
                walk_split(formula,
                           std::make_tuple(StridedVector<const Real>(in[k])..., StridedVector<Real>(out[m])...), ks,
                           ms);
            }
        }
        (std::make_index_sequence<inputs>{}, std::make_index_sequence<outputs>{});
    };
    if constexpr (requires { kernel.choose(walk); }) {
        kernel.choose(walk);
    } else {
        walk(kernel);
    }
}

// A whole kernel.
template <class K, Form form, std::size_t inputs, std::size_t outputs>
void run_kernel(const K& kernel, std::int32_t n, const Vector<const typename K::Real> (&in)[inputs],
                const Vector<typename K::Real> (&out)[outputs], const char* name) {
    const FpFrame<K::frame> frame;
    walk_inside_frame<K, form, inputs, outputs>(kernel, n, std::to_array(in), std::to_array(out), name);
}

} // namespace nvo
