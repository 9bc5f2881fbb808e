#include "bench/peers.h"

#include "bench/peer_calls.h"
#include "bench/plain.h"

#include <gnu/libc-version.h>

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

// Its unit-stride and its strided row.
#define NVO_PEER(t, T, E, Op, cls, kind, function, error)                                      \
    Peer{#t #Op, kind, #function, error, maker(Loop<T, E, NVO_CALL_##cls(E, function)>::cls)}, \
        Peer{#t #Op "I", kind, #function, error, maker(Loop<T, E, NVO_CALL_##cls(E, function)>::cls##I)},
#define NVO_PEER_NAMED(...) NVO_PEER(__VA_ARGS__)

constexpr double unknown = -1;

struct Measured {
    std::string_view operation;
    double scalar[2], vector[2]; // float, double
};
constexpr Measured measured[] = {
#define MEASURED(Op, s, d, s_vector, d_vector) {#Op, {s, d}, {s_vector, d_vector}},
#include "bench/peers.def"
};
constexpr double measured_error(std::string_view operation, char type, bool vector) {
    for (const Measured& m : measured) {
        if (m.operation == operation) return (vector ? m.vector : m.scalar)[type == 'd'];
    }
    return unknown;
}

constexpr Kind sleef_kind(double error) { return error > 2 ? Kind::sleef_fast : Kind::sleef; }

} // namespace

const std::vector<Peer>& all_peers() {
    static const std::vector<Peer> peers = {
#define NVO_PLAIN(row, expression) Peer{#row, Kind::plain, #expression, unknown, maker(nvo_plain_##row)},
#define PLAIN(Op, cls, expression) \
    NVO_PLAIN(s##Op, expression)   \
    NVO_PLAIN(d##Op, expression)   \
    NVO_PLAIN(s##Op##I, expression) NVO_PLAIN(d##Op##I, expression)
#define PLAIN_STATEMENT(Op, statement) PLAIN(Op, S, statement)
#define SCALAR(Op, cls, function)                                                                  \
    NVO_PEER(s, float, float, Op, cls, Kind::scalar, function##f, measured_error(#Op, 's', false)) \
    NVO_PEER(d, double, double, Op, cls, Kind::scalar, function, measured_error(#Op, 'd', false))
#define MVEC(Op, cls, function)                                                                \
    NVO_PEER_NAMED(s, float, Floats, Op, cls, Kind::mvec, NVO_MVEC_NAME_##cls(4, function##f), \
                   measured_error(#Op, 's', true))                                             \
    NVO_PEER_NAMED(d, double, Doubles, Op, cls, Kind::mvec, NVO_MVEC_NAME_##cls(2, function),  \
                   measured_error(#Op, 'd', true))
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
