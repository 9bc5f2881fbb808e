#include "bench/peers.h"

#include "bench/plain.h"
#include "frame/lanes.h"

#include <array>
#include <cmath>
#include <gnu/libc-version.h>
#include <sleef.h>

// glibc's vector functions. The compiler calls them from loops that it vectorises; there is no header for a direct
// call.
extern "C" {
#define NVO_MVEC_U(function)               \
    __m128 _ZGVbN4v_##function##f(__m128); \
    __m128d _ZGVbN2v_##function(__m128d);
#define NVO_MVEC_B(function)                        \
    __m128 _ZGVbN4vv_##function##f(__m128, __m128); \
    __m128d _ZGVbN2vv_##function(__m128d, __m128d);
#define NVO_MVEC_X NVO_MVEC_B
#define NVO_MVEC_S(function) /* the addresses of the results come in registers of two */ \
    void _ZGVbN4vvv_##function##f(__m128, __m128i, __m128i, __m128i, __m128i);           \
    void _ZGVbN2vvv_##function(__m128d, __m128i, __m128i);
#define MVEC(Op, cls, function, error) NVO_MVEC_##cls(function)
#include "bench/peers.def"
}

namespace bench {

namespace {

// A vector with its stride; where the stride is the constant 1, loads and stores are those of whole registers.
template <class T> struct View {
    T* data;
    std::ptrdiff_t stride;

    template <class E> [[gnu::always_inline]] E get(std::ptrdiff_t i) const {
        if constexpr (std::is_arithmetic_v<E>) {
            return data[i * stride];
        } else {
            if (stride == 1) return nvo::load<E>(data + i);
            E lanes;
            nvo::unroll<nvo::lane_count<E>>([&](auto lane) { lanes[lane()] = data[(i + lane) * stride]; });
            return lanes;
        }
    }
    template <class E> [[gnu::always_inline]] void put(std::ptrdiff_t i, E value) const {
        if constexpr (std::is_arithmetic_v<E>) {
            data[i * stride] = value;
        } else {
            if (stride == 1) return nvo::store<E>(data + i, value);
            nvo::unroll<nvo::lane_count<E>>([&](auto lane) { data[(i + lane) * stride] = value[lane()]; });
        }
    }
};

// f, which takes and gives values of E, over vectors of T: E is T itself or a register of them. Counts are multiples of
// the register's, as all that are timed.
template <class T, class E, auto f> struct Loop {
    using In = const T*;
    using Int = std::int32_t;

    static void U(Int n, In a, T* y) { one_result(n, {y, 1}, View<const T>{a, 1}); }
    static void UI(Int n, In a, Int inca, T* y, Int incy) { one_result(n, {y, incy}, View<const T>{a, inca}); }
    static void B(Int n, In a, In b, T* y) { one_result(n, {y, 1}, View<const T>{a, 1}, View<const T>{b, 1}); }
    static void BI(Int n, In a, Int inca, In b, Int incb, T* y, Int incy) {
        one_result(n, {y, incy}, View<const T>{a, inca}, View<const T>{b, incb});
    }
    static void X(Int n, In a, T b, T* y) { one_result(n, {y, 1}, View<const T>{a, 1}, Same{b}); }
    static void XI(Int n, In a, Int inca, T b, T* y, Int incy) {
        one_result(n, {y, incy}, View<const T>{a, inca}, Same{b});
    }
    static void S(Int n, In a, T* y, T* z) { two_results(n, {y, 1}, {z, 1}, {a, 1}); }
    static void SI(Int n, In a, Int inca, T* y, Int incy, T* z, Int incz) {
        two_results(n, {y, incy}, {z, incz}, {a, inca});
    }

private:
    struct Same {
        T value;
        template <class> E get(std::ptrdiff_t) const { return E{} + value; }
    };
    static constexpr std::ptrdiff_t step = sizeof(E) / sizeof(T);

    template <class... X> [[gnu::always_inline]] static void one_result(std::ptrdiff_t n, View<T> y, X... x) {
        for (std::ptrdiff_t i = 0; i < n; i += step) y.template put<E>(i, f(x.template get<E>(i)...));
    }
    [[gnu::always_inline]] static void two_results(std::ptrdiff_t n, View<T> y, View<T> z, View<const T> a) {
        for (std::ptrdiff_t i = 0; i < n; i += step) {
            const std::array<E, 2> both = f(a.template get<E>(i));
            y.template put<E>(i, both[0]);
            z.template put<E>(i, both[1]);
        }
    }
};

using Floats = nvo::Lanes<float, 4>;
using Doubles = nvo::Lanes<double, 2>;

// The forms in which libraries give two results, as an array.
template <class T> std::array<T, 2> both(void (*f)(T, T*, T*), T x) {
    std::array<T, 2> results;
    f(x, &results[0], &results[1]);
    return results;
}
template <class T> std::array<T, 2> both(T (*f)(T, T*), T x) {
    T second;
    const T first = f(x, &second);
    return {first, second};
}
std::array<Floats, 2> both(void (*f)(__m128, __m128i, __m128i, __m128i, __m128i), Floats x) {
    std::array<Floats, 2> results;
    const auto at = [&](int k, int lane) {
        const auto address = reinterpret_cast<std::uintptr_t>(&results[static_cast<std::size_t>(k)]) + 4 * lane;
        return _mm_set_epi64x(static_cast<long long>(address + 4), static_cast<long long>(address));
    };
    f(x, at(0, 0), at(0, 2), at(1, 0), at(1, 2));
    benchmark::ClobberMemory(); // written through addresses that the compiler can't see as such
    return results;
}
std::array<Doubles, 2> both(void (*f)(__m128d, __m128i, __m128i), Doubles x) {
    std::array<Doubles, 2> results;
    const auto at = [&](int k) {
        const auto address = reinterpret_cast<std::uintptr_t>(&results[static_cast<std::size_t>(k)]);
        return _mm_set_epi64x(static_cast<long long>(address + 8), static_cast<long long>(address));
    };
    f(x, at(0), at(1));
    benchmark::ClobberMemory();
    return results;
}
template <class Pair, class V> std::array<V, 2> both(const Pair (*f)(V), V x) {
    const Pair results = f(x);
    return {results.x, results.y};
}

// A function of one element or register, by the class of its arguments.
#define NVO_CALL_U(E, function) [](E x) { return function(x); }
#define NVO_CALL_B(E, function) [](E x, E y) { return function(x, y); }
#define NVO_CALL_X NVO_CALL_B
#define NVO_CALL_S(E, function) [](E x) { return both(function, x); }
// Its unit-stride and its strided row.
#define NVO_PEER(t, T, E, Op, cls, kind, function, error)                                      \
    Peer{#t #Op, kind, #function, error, maker(Loop<T, E, NVO_CALL_##cls(E, function)>::cls)}, \
        Peer{#t #Op "I", kind, #function, error, maker(Loop<T, E, NVO_CALL_##cls(E, function)>::cls##I)},
// Arguments by value in the names of glibc's vector functions.
#define NVO_MVEC_NAME_U(lanes, function) _ZGVbN##lanes##v_##function
#define NVO_MVEC_NAME_B(lanes, function) _ZGVbN##lanes##vv_##function
#define NVO_MVEC_NAME_X NVO_MVEC_NAME_B
#define NVO_MVEC_NAME_S(lanes, function) _ZGVbN##lanes##vvv_##function
#define NVO_PEER_NAMED(...) NVO_PEER(__VA_ARGS__)

constexpr double not_stated = -1;
constexpr Kind sleef_kind(double error) { return error > 2 ? Kind::sleef_fast : Kind::sleef; }

} // namespace

const std::vector<Peer>& all_peers() {
    static const std::vector<Peer> peers = {
#define NVO_PLAIN(row, expression) Peer{#row, Kind::plain, #expression, not_stated, maker(nvo_plain_##row)},
#define PLAIN(Op, cls, expression) \
    NVO_PLAIN(s##Op, expression)   \
    NVO_PLAIN(d##Op, expression)   \
    NVO_PLAIN(s##Op##I, expression) NVO_PLAIN(d##Op##I, expression)
#define PLAIN_STATEMENT(Op, statement) PLAIN(Op, S, statement)
#define SCALAR(Op, cls, function)                                             \
    NVO_PEER(s, float, float, Op, cls, Kind::scalar, function##f, not_stated) \
    NVO_PEER(d, double, double, Op, cls, Kind::scalar, function, not_stated)
#define MVEC(Op, cls, function, error)                                                                \
    NVO_PEER_NAMED(s, float, Floats, Op, cls, Kind::mvec, NVO_MVEC_NAME_##cls(4, function##f), error) \
    NVO_PEER_NAMED(d, double, Doubles, Op, cls, Kind::mvec, NVO_MVEC_NAME_##cls(2, function), error)
#define SLEEF(Op, cls, function, form, error)                                                       \
    NVO_PEER(s, float, Floats, Op, cls, sleef_kind(error), Sleef_##function##f4##form##sse2, error) \
    NVO_PEER(d, double, Doubles, Op, cls, sleef_kind(error), Sleef_##function##d2##form##sse2, error)
#include "bench/peers.def"
    };
    return peers;
}

std::string library_versions() {
    const auto part = [](int number) { return std::to_string(number); };
    return std::string("glibc ") + gnu_get_libc_version() + ", SLEEF " + part(SLEEF_VERSION_MAJOR) + "." +
           part(SLEEF_VERSION_MINOR) + "." + part(SLEEF_VERSION_PATCHLEVEL);
}

} // namespace bench
