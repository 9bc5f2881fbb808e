// What a kernel file includes, and the macros that export its rows: each defines the unit-stride and the strided kernel
// of one operation in one type from two structs (see walk.h), which may be the same.
#pragma once

#include "frame/walk.h"

#define NVO_TYPE_s float
#define NVO_TYPE_d double

// A struct is given in parentheses, so that its template arguments may have commas.
#define NVO_TYPE_IN(...) __VA_ARGS__

#ifndef NVO_BARE_FORMULAS

#define NVO_KERNEL_NAME(row) nvo_ark_kernel_##row##_E2HAynn

// A strided kernel with strides of 1 hands over to the unit-stride row, through the slot of its own accuracy.
#define NVO_HAND_OVER(unit_strides, row, ...) \
    if (unit_strides) return nvo_ark_kernel_##row##_ttab[1](__VA_ARGS__);

// y = f(a)
#define NVO_KERNEL_U(t, Op, Unit, Strided)                                                               \
    extern "C" void NVO_KERNEL_NAME(t##Op)(std::int32_t n, const NVO_TYPE_##t* a, NVO_TYPE_##t* y) {     \
        nvo::run_kernel<NVO_TYPE_IN Unit, nvo::Form::unit>({}, n, {{a}}, {{y}}, "v" #t #Op);             \
    }                                                                                                    \
    extern "C" void NVO_KERNEL_NAME(t##Op##I)(std::int32_t n, const NVO_TYPE_##t* a, std::int32_t inca,  \
                                              NVO_TYPE_##t* y, std::int32_t incy) {                      \
        NVO_HAND_OVER(inca == 1 && incy == 1, t##Op, n, a, y)                                            \
        constexpr const char* name = nvo::strided_report_name("v" #t #Op);                               \
        nvo::run_kernel<NVO_TYPE_IN Strided, nvo::Form::strided>({}, n, {{a, inca}}, {{y, incy}}, name); \
    }

// y = f(a, b)
#define NVO_KERNEL_B(t, Op, Unit, Strided)                                                                          \
    extern "C" void NVO_KERNEL_NAME(t##Op)(std::int32_t n, const NVO_TYPE_##t* a, const NVO_TYPE_##t* b,            \
                                           NVO_TYPE_##t* y) {                                                       \
        nvo::run_kernel<NVO_TYPE_IN Unit, nvo::Form::unit>({}, n, {{a}, {b}}, {{y}}, "v" #t #Op);                   \
    }                                                                                                               \
    extern "C" void NVO_KERNEL_NAME(t##Op##I)(std::int32_t n, const NVO_TYPE_##t* a, std::int32_t inca,             \
                                              const NVO_TYPE_##t* b, std::int32_t incb, NVO_TYPE_##t* y,            \
                                              std::int32_t incy) {                                                  \
        NVO_HAND_OVER(inca == 1 && incb == 1 && incy == 1, t##Op, n, a, b, y)                                       \
        constexpr const char* name = nvo::strided_report_name("v" #t #Op);                                          \
        nvo::run_kernel<NVO_TYPE_IN Strided, nvo::Form::strided>({}, n, {{a, inca}, {b, incb}}, {{y, incy}}, name); \
    }

// y = f(a, b), with one value b
#define NVO_KERNEL_X(t, Op, Unit, Strided)                                                                           \
    extern "C" void NVO_KERNEL_NAME(t##Op)(std::int32_t n, const NVO_TYPE_##t* a, NVO_TYPE_##t b, NVO_TYPE_##t* y) { \
        using K = nvo::FixedSecond<NVO_TYPE_IN Unit>;                                                                \
        nvo::run_kernel<K, nvo::Form::unit>({b}, n, {{a}}, {{y}}, "v" #t #Op);                                       \
    }                                                                                                                \
    extern "C" void NVO_KERNEL_NAME(t##Op##I)(std::int32_t n, const NVO_TYPE_##t* a, std::int32_t inca,              \
                                              NVO_TYPE_##t b, NVO_TYPE_##t* y, std::int32_t incy) {                  \
        NVO_HAND_OVER(inca == 1 && incy == 1, t##Op, n, a, b, y)                                                     \
        using K = nvo::FixedSecond<NVO_TYPE_IN Strided>;                                                             \
        constexpr const char* name = nvo::strided_report_name("v" #t #Op);                                           \
        nvo::run_kernel<K, nvo::Form::strided>({b}, n, {{a, inca}}, {{y, incy}}, name);                              \
    }

// (y, z) = f(a)
#define NVO_KERNEL_S(t, Op, Unit, Strided)                                                                            \
    extern "C" void NVO_KERNEL_NAME(t##Op)(std::int32_t n, const NVO_TYPE_##t* a, NVO_TYPE_##t* y, NVO_TYPE_##t* z) { \
        nvo::run_kernel<NVO_TYPE_IN Unit, nvo::Form::unit>({}, n, {{a}}, {{y}, {z}}, "v" #t #Op);                     \
    }                                                                                                                 \
    extern "C" void NVO_KERNEL_NAME(t##Op##I)(std::int32_t n, const NVO_TYPE_##t* a, std::int32_t inca,               \
                                              NVO_TYPE_##t* y, std::int32_t incy, NVO_TYPE_##t* z,                    \
                                              std::int32_t incz) {                                                    \
        NVO_HAND_OVER(inca == 1 && incy == 1 && incz == 1, t##Op, n, a, y, z)                                         \
        constexpr const char* name = nvo::strided_report_name("v" #t #Op);                                            \
        nvo::run_kernel<NVO_TYPE_IN Strided, nvo::Form::strided>({}, n, {{a, inca}}, {{y, incy}, {z, incz}}, name);   \
    }

#else // NVO_BARE_FORMULAS: for the benches, the lane formulas alone, in loops without frame, mask and tail

#include "bench/bare.h"

#endif
