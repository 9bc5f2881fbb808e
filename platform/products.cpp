// Matrix products for bodies of a team: the BLAS of the system, which has to be a serial build of it (Debian's
// libopenblas0-serial is one). A threaded one would still give the right numbers, but start a team inside each member
// of the caller's.
#include "platform/blas.h"
#include "platform/core.h"

#define NVO_BLAS_PRODUCTS(t, real)                                                                               \
    void nvo_blas_x##t##gemm(const char* transa, const char* transb, const int* m, const int* n, const int* k,   \
                             const real* alpha, const real* a, const int* lda, const real* b, const int* ldb,    \
                             const real* beta, real* c, const int* ldc) {                                        \
        t##gemm_(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1);                            \
    }                                                                                                            \
    void nvo_blas_x##t##syrk(const char* uplo, const char* trans, const int* n, const int* k, const real* alpha, \
                             const real* a, const int* lda, const real* beta, real* c, const int* ldc) {         \
        t##syrk_(uplo, trans, n, k, alpha, a, lda, beta, c, ldc, 1, 1);                                          \
    }                                                                                                            \
    void nvo_blas_x##t##syr(const char* uplo, const int* n, const real* alpha, const real* x, const int* incx,   \
                            real* a, const int* lda) {                                                           \
        t##syr_(uplo, n, alpha, x, incx, a, lda, 1);                                                             \
    }
NVO_BLAS_PRODUCTS(s, float)
NVO_BLAS_PRODUCTS(d, double)
