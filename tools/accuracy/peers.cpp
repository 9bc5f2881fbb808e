#include "tools/accuracy/peers.h"

#include "frame/lanes.h"

#include <cmath>
#include <gnu/libc-version.h>
#include <sleef.h>

namespace nvo::accuracy {

namespace {

using Floats = Lanes<float, 4>;
using Doubles = Lanes<double, 2>;

enum Column : std::size_t { c_library, sleef, sleef_fast, columns };

// V is a register, or a number for the C library's functions.
template <class V> constexpr std::int32_t width = lane_count<V>;
template <> constexpr std::int32_t width<float> = 1;
template <> constexpr std::int32_t width<double> = 1;

template <class T, class V> V load(const T* from, std::int32_t count) {
    V v{};
    std::memcpy(&v, from, sizeof(T) * static_cast<std::size_t>(std::min(width<V>, count)));
    return v;
}
template <class T, class V> void store(T* to, std::int32_t count, const V& v) {
    std::memcpy(to, &v, sizeof(T) * static_cast<std::size_t>(std::min(width<V>, count)));
}

// All give the fraction of Modf first; ours is the second result.
bool is_swapped(const std::string& operation) { return operation == "Modf"; }

// f, which takes and gives values of V, over vectors of T. A function of two results gives them in an array.
template <class T, class V, class F> VectorFunction<T> over_vectors(F f, bool swapped) {
    return [f, swapped](std::int32_t n, const Arguments<T>& in, const Results<T>& out) {
        for (std::int32_t i = 0; i < n; i += width<V>) {
            const V a = load<T, V>(in[0] + i, n - i);
            if constexpr (std::is_invocable_v<F, V, V>) {
                store(out[0] + i, n - i, f(a, load<T, V>(in[1] + i, n - i)));
            } else if constexpr (std::is_same_v<std::invoke_result_t<F, V>, std::array<V, 2>>) {
                const std::array<V, 2> results = f(a);
                store(out[swapped ? 1 : 0] + i, n - i, results[0]);
                store(out[swapped ? 0 : 1] + i, n - i, results[1]);
            } else {
                store(out[0] + i, n - i, f(a));
            }
        }
    };
}

// The ways in which libraries give two results.
template <class V> std::array<V, 2> both(void (*f)(V, V*, V*), V a) {
    std::array<V, 2> results;
    f(a, results.data(), results.data() + 1);
    return results;
}
template <class V> std::array<V, 2> both(V (*f)(V, V*), V a) {
    V second;
    const V first = f(a, &second);
    return {first, second};
}
template <class V, class Pair> std::array<V, 2> both(Pair (*f)(V), V a) {
    const Pair pair = f(a);
    return {pair.x, pair.y};
}

template <class T> struct Line {
    std::string operation;
    Peer<T> peer;
};

#define NVO_CALL_U(V, f) [](V a) { return f(a); }
#define NVO_CALL_B(V, f) [](V a, V b) { return f(a, b); }
#define NVO_CALL_X NVO_CALL_B
#define NVO_CALL_S(V, f) [](V a) { return both<V>(f, a); }

constexpr Column sleef_column(double documented_error) { return documented_error > 2 ? sleef_fast : sleef; }

const std::vector<Line<float>>& float_lines() {
    static const std::vector<Line<float>> lines = {
#define SCALAR(Op, cls, function) \
    {#Op, {c_library, over_vectors<float, float>(NVO_CALL_##cls(float, function##f), is_swapped(#Op))}},
#define SLEEF(Op, cls, function, form, error) \
    {#Op,                                     \
     {sleef_column(error),                    \
      over_vectors<float, Floats>(NVO_CALL_##cls(Floats, Sleef_##function##f4##form##sse2), is_swapped(#Op))}},
#include "bench/peers.def"
    };
    return lines;
}

const std::vector<Line<double>>& double_lines() {
    static const std::vector<Line<double>> lines = {
#define SCALAR(Op, cls, function) \
    {#Op, {c_library, over_vectors<double, double>(NVO_CALL_##cls(double, function), is_swapped(#Op))}},
#define SLEEF(Op, cls, function, form, error) \
    {#Op,                                     \
     {sleef_column(error),                    \
      over_vectors<double, Doubles>(NVO_CALL_##cls(Doubles, Sleef_##function##d2##form##sse2), is_swapped(#Op))}},
#include "bench/peers.def"
    };
    return lines;
}

template <class T> std::vector<Peer<T>> of_operation(const std::vector<Line<T>>& lines, const std::string& operation) {
    std::vector<Peer<T>> peers;
    for (const Line<T>& line : lines)
        if (line.operation == operation) peers.push_back(line.peer);
    return peers;
}

} // namespace

std::vector<std::string> peer_columns() {
    const std::string sleef_version = "SLEEF " + std::to_string(SLEEF_VERSION_MAJOR) + "." +
                                      std::to_string(SLEEF_VERSION_MINOR) + "." +
                                      std::to_string(SLEEF_VERSION_PATCHLEVEL);
    return {std::string("glibc ") + gnu_get_libc_version(), sleef_version, sleef_version + " u35"};
}

PeerSource peer_source() {
    return {columns, [](const std::string& operation) { return of_operation(float_lines(), operation); },
            [](const std::string& operation) { return of_operation(double_lines(), operation); }};
}

} // namespace nvo::accuracy
