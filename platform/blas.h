/* The routines of BLAS that are called, by their Fortran interface: matrices by columns, scalars by pointer, 32-bit
 * integers, and behind the arguments the lengths of the strings, as Fortran compilers pass them. */
#ifndef NVO_PLATFORM_BLAS_H
#define NVO_PLATFORM_BLAS_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

#define NVO_BLAS_ROUTINES(t, real)                                                                                     \
    void t##gemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k, const real* alpha, \
                  const real* a, const int* lda, const real* b, const int* ldb, const real* beta, real* c,             \
                  const int* ldc, size_t transa_length, size_t transb_length);                                         \
    void t##syrk_(const char* uplo, const char* trans, const int* n, const int* k, const real* alpha, const real* a,   \
                  const int* lda, const real* beta, real* c, const int* ldc, size_t uplo_length, size_t trans_length); \
    void t##syr_(const char* uplo, const int* n, const real* alpha, const real* x, const int* incx, real* a,           \
                 const int* lda, size_t uplo_length);
NVO_BLAS_ROUTINES(s, float)
NVO_BLAS_ROUTINES(d, double)
#undef NVO_BLAS_ROUTINES

#ifdef __cplusplus
}
#endif

#endif
