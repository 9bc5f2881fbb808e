// The plain loops, as a user would write them. Each stands in a function of its own that no caller looks into.

#include "bench/plain.h"

#include <cmath>
#include <cstddef>

#define NVO_PLAIN_LOOP(...)                  \
    for (std::ptrdiff_t i = 0; i < n; ++i) { \
        __VA_ARGS__;                         \
    }

#define NVO_PLAIN_U(t, T, Op, expression)                                                                          \
    extern "C" [[gnu::noipa]] void nvo_plain_##t##Op(int32_t n, const T* x, T* y) {                                \
        NVO_PLAIN_LOOP(const T a = x[i]; y[i] = expression)                                                        \
    }                                                                                                              \
    extern "C" [[gnu::noipa]] void nvo_plain_##t##Op##I(int32_t n, const T* x, int32_t incx, T* y, int32_t incy) { \
        NVO_PLAIN_LOOP(const T a = x[i * incx]; y[i * incy] = expression)                                          \
    }
#define NVO_PLAIN_B(t, T, Op, expression)                                                                              \
    extern "C" [[gnu::noipa]] void nvo_plain_##t##Op(int32_t n, const T* u, const T* v, T* y) {                        \
        NVO_PLAIN_LOOP(const T a = u[i]; const T b = v[i]; y[i] = expression)                                          \
    }                                                                                                                  \
    extern "C" [[gnu::noipa]] void nvo_plain_##t##Op##I(int32_t n, const T* u, int32_t incu, const T* v, int32_t incv, \
                                                        T* y, int32_t incy) {                                          \
        NVO_PLAIN_LOOP(const T a = u[i * incu]; const T b = v[i * incv]; y[i * incy] = expression)                     \
    }
#define NVO_PLAIN_S(t, T, Op, statement)                                                                             \
    extern "C" [[gnu::noipa]] void nvo_plain_##t##Op(int32_t n, const T* x, T* first, T* second) {                   \
        NVO_PLAIN_LOOP(const T a = x[i]; T y; T z; statement; first[i] = y; second[i] = z)                           \
    }                                                                                                                \
    extern "C" [[gnu::noipa]] void nvo_plain_##t##Op##I(int32_t n, const T* x, int32_t incx, T* first, int32_t incy, \
                                                        T* second, int32_t incz) {                                   \
        NVO_PLAIN_LOOP(const T a = x[i * incx]; T y; T z; statement; first[i * incy] = y; second[i * incz] = z)      \
    }

#define PLAIN(Op, cls, expression) NVO_PLAIN_##cls(s, float, Op, expression) NVO_PLAIN_##cls(d, double, Op, expression)
#define PLAIN_STATEMENT(Op, statement) PLAIN(Op, S, statement)
#include "bench/peers.def"
