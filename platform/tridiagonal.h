/* Tridiagonal systems without row interchanges, for matrices with a dominant diagonal: functions of the threaded layer,
 * which nvo_serv_load_thread_fun finds by name.
 *
 * A matrix of order n is held in dl[n - 1], d[n] and du[n - 1], the diagonals from below to above. A factorisation
 * overwrites them with factors that only the solver below understands. b holds nrhs right sides of n elements, one
 * each ldb elements, and is overwritten with the solutions. All integers are 64 bits wide and passed by address.
 *
 * info is 0 on success, k if the pivot of row k (counted from 1) vanished, -k if argument k has no meaning. On failure
 * the arrays hold nothing of use, those of a bad argument but what they held. All are reentrant. */
#ifndef NVO_PLATFORM_TRIDIAGONAL_H
#define NVO_PLATFORM_TRIDIAGONAL_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ps_?dttrfb factorises, dttrsb solves with the factors: the system itself (trans "N") or the transposed one ("T",
 * "C"), ps_?dtsvb does both. */
#define NVO_TRIDIAGONAL_SOLVERS(t, real)                                                                       \
    void nvo_lapack_ps_##t##dttrfb(const int64_t* n, real* dl, real* d, real* du, int64_t* info);              \
    void nvo_lapack_##t##dttrsb(const char* trans, const int64_t* n, const int64_t* nrhs, const real* dl,      \
                                const real* d, const real* du, real* b, const int64_t* ldb, int64_t* info,     \
                                size_t trans_length);                                                          \
    void nvo_lapack_ps_##t##dtsvb(const int64_t* n, const int64_t* nrhs, real* dl, real* d, real* du, real* b, \
                                  const int64_t* ldb, int64_t* info);
NVO_TRIDIAGONAL_SOLVERS(s, float)
NVO_TRIDIAGONAL_SOLVERS(d, double)
#undef NVO_TRIDIAGONAL_SOLVERS

#ifdef __cplusplus
}
#endif

#endif
