// Matrix products for bodies of a team: the BLAS of the system, which has to be one that starts no threads (Debian's
// libopenblas0-serial is one). A threaded one would still give the right numbers, but start a team inside each member
// of the caller's.
//
// OpenBLAS without threads hands out its work space without a lock as well (0.3.21 of Debian 12: of 80,000 calls of
// ssyrk on four threads, up to 849 came out wrong), so that calls of it take turns here. Other libraries need none.
#include "platform/blas.h"
#include "platform/core.h"

extern "C" [[gnu::weak]] int openblas_get_parallel(void); // 0: built without threads. Null in other libraries

namespace {

constinit NvoServLock product_lock{};

class Turn {
public:
    Turn() {
        if (taken_) nvo_serv_lock(&product_lock);
    }
    ~Turn() {
        if (taken_) nvo_serv_unlock(&product_lock);
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    const bool taken_ = openblas_get_parallel && openblas_get_parallel() == 0;
};

} // namespace

#define NVO_BLAS_PRODUCTS(t, real)                                                                               \
    void nvo_blas_x##t##gemm(const char* transa, const char* transb, const int* m, const int* n, const int* k,   \
                             const real* alpha, const real* a, const int* lda, const real* b, const int* ldb,    \
                             const real* beta, real* c, const int* ldc) {                                        \
        const Turn turn;                                                                                         \
        t##gemm_(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1);                            \
    }                                                                                                            \
    void nvo_blas_x##t##syrk(const char* uplo, const char* trans, const int* n, const int* k, const real* alpha, \
                             const real* a, const int* lda, const real* beta, real* c, const int* ldc) {         \
        const Turn turn;                                                                                         \
        t##syrk_(uplo, trans, n, k, alpha, a, lda, beta, c, ldc, 1, 1);                                          \
    }                                                                                                            \
    void nvo_blas_x##t##syr(const char* uplo, const int* n, const real* alpha, const real* x, const int* incx,   \
                            real* a, const int* lda) {                                                           \
        const Turn turn;                                                                                         \
        t##syr_(uplo, n, alpha, x, incx, a, lda, 1);                                                             \
    }
NVO_BLAS_PRODUCTS(s, float)
NVO_BLAS_PRODUCTS(d, double)
