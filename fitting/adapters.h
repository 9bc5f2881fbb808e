// Tridiagonal solvers of the threaded layer, with 32-bit integers: fetched by name on first use.
#pragma once

#include <cstdint>

// A matrix of order n is dl[n - 1], d[n] and du[n - 1]; b holds nrhs columns of ldb elements. `info` is 0 on success,
// and left as it was if the solver can't be fetched.
#pragma GCC visibility push(default)
extern "C" {
#define NVO_TRIDIAGONAL_ADAPTERS(t, real)                                                                     \
    void t##dttrfb_4dfl(const std::int32_t* n, real* dl, real* d, real* du, std::int32_t* info);              \
    void t##dtsvb_4dfl(const std::int32_t* n, const std::int32_t* nrhs, real* dl, real* d, real* du, real* b, \
                       const std::int32_t* ldb, std::int32_t* info);                                          \
    void t##dttrsb_4dfl(const char* trans, const std::int32_t* n, const std::int32_t* nrhs, const real* dl,   \
                        const real* d, const real* du, real* b, const std::int32_t* ldb, std::int32_t* info);
NVO_TRIDIAGONAL_ADAPTERS(s, float)
NVO_TRIDIAGONAL_ADAPTERS(d, double)
#undef NVO_TRIDIAGONAL_ADAPTERS
}
#pragma GCC visibility pop
