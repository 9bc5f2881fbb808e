#include "tools/accuracy/peers.h"

#include "bench/peer_calls.h"

#include <gnu/libc-version.h>

namespace nvo::accuracy {

namespace {

using bench::both, bench::Floats, bench::Doubles;

enum Column : std::size_t { c_library, c_library_vector, sleef, sleef_fast, columns };

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

template <class T> struct Line {
    std::string operation;
    Peer<T> peer;
};

constexpr Column sleef_column(double documented_error) { return documented_error > 2 ? sleef_fast : sleef; }

#define NVO_LINE(T, E, Op, cls, column, function) \
    {#Op, {column, over_vectors<T, E>(NVO_CALL_##cls(E, function), is_swapped(#Op))}},
#define NVO_LINE_NAMED(...) NVO_LINE(__VA_ARGS__)

const std::vector<Line<float>>& float_lines() {
    static const std::vector<Line<float>> lines = {
#define SCALAR(Op, cls, function) NVO_LINE(float, float, Op, cls, c_library, function##f)
#define MVEC(Op, cls, function) \
    NVO_LINE_NAMED(float, Floats, Op, cls, c_library_vector, NVO_MVEC_NAME_##cls(4, function##f))
#define SLEEF(Op, cls, function, form, error) \
    NVO_LINE(float, Floats, Op, cls, sleef_column(error), Sleef_##function##f4##form##sse2)
#include "bench/peers.def"
    };
    return lines;
}

const std::vector<Line<double>>& double_lines() {
    static const std::vector<Line<double>> lines = {
#define SCALAR(Op, cls, function) NVO_LINE(double, double, Op, cls, c_library, function)
#define MVEC(Op, cls, function) \
    NVO_LINE_NAMED(double, Doubles, Op, cls, c_library_vector, NVO_MVEC_NAME_##cls(2, function))
#define SLEEF(Op, cls, function, form, error) \
    NVO_LINE(double, Doubles, Op, cls, sleef_column(error), Sleef_##function##d2##form##sse2)
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
    const std::string c_library_version = std::string("glibc ") + gnu_get_libc_version();
    return {c_library_version, c_library_version + " vector", sleef_version, sleef_version + " u35"};
}

PeerSource peer_source() {
    return {columns, [](const std::string& operation) { return of_operation(float_lines(), operation); },
            [](const std::string& operation) { return of_operation(double_lines(), operation); }};
}

} // namespace nvo::accuracy
