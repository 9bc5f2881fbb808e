// What the vector math layer exports: the public header and the 528 kernels, made from the list of operations. A
// definition takes its visibility from here, so that a name is visible if and only if it is declared here.
#pragma once

#pragma GCC visibility push(default)

#include "nvo_ark/vector_math.h"

extern "C" {
#define NVO_KERNELS_one(type, row) extern type nvo_ark_kernel_##row##_E2HAynn;
#define NVO_KERNELS_three(type, row) \
    extern type nvo_ark_kernel_##row##_E2LAynn, nvo_ark_kernel_##row##_E2HAynn, nvo_ark_kernel_##row##_E2EPnnn;
#define ROW(t, row, op, cls, form, kernels, tags) NVO_KERNELS_##kernels(NVO_ARK_KERNEL_TYPE(t, op, cls, form), t##row)
#include "frame/operations.def"
#undef NVO_KERNELS_one
#undef NVO_KERNELS_three
}

#pragma GCC visibility pop
