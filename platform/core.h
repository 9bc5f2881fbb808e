/* The core services: what the kernel library imports from libnvo_core.so.2. Plain C, also for C++.
 *
 * Every function may be called from any thread at any time. None throws, and none needs a start-up call.
 * Only nvo_serv_allocate and the products allocate memory. */
#ifndef NVO_PLATFORM_CORE_H
#define NVO_PLATFORM_CORE_H

#include <stddef.h>
#include <stdint.h>

#define NVO_CORE_API __attribute__((visibility("default")))

#ifdef __cplusplus
extern "C" {
#endif

/* Gives a block of `size` bytes whose address is a multiple of `alignment`, any power of two. The contents are
 * not set. A size of 0 gives a block of its own too. Returns null when the alignment is no power of two, the size
 * is above PTRDIFF_MAX - alignment, or memory has run out. */
NVO_CORE_API void* nvo_serv_allocate(size_t size, size_t alignment);

/* Takes back a block of nvo_serv_allocate. Null is fine and does nothing. */
NVO_CORE_API void nvo_serv_deallocate(void* block);

/* Copies `count` bytes into a destination of `dest_size` bytes, and returns 0. Refused are: a null pointer
 * (EINVAL), a size above SIZE_MAX / 2 or a count above dest_size (ERANGE), and source and destination bytes that
 * overlap (EINVAL). A refused call copies nothing and fills the whole destination with zeros, unless the
 * destination is null or dest_size above SIZE_MAX / 2. These are the rules of memcpy_s in Annex K of C11. */
NVO_CORE_API int nvo_serv_memcpy_s(void* dest, size_t dest_size, const void* src, size_t count);

/* Copies the value of an environment variable, with its NUL, into a buffer of `size` bytes.
 * Returns the length without the NUL if the variable is set and not empty; 0 if it is unset or empty; -1 if the
 * value with its NUL doesn't fit, or if an argument is null. A value that doesn't fit is never cut: its first part
 * might be valid and mean something else. Whenever the result is below 1, the buffer holds an empty string if
 * it has room for one. Not to be called while another thread changes the environment. */
NVO_CORE_API int nvo_serv_getenv(const char* name, char* buffer, int size);

/* A lock, open when all bits are zero: a static one needs no initialiser. It isn't recursive. */
typedef struct NvoServLock {
    uint32_t word;
} NvoServLock;

/* Takes the lock; sleeps while another thread holds it. */
NVO_CORE_API void nvo_serv_lock(NvoServLock* lock);

/* Gives the lock back. Only the thread that holds it may call this. */
NVO_CORE_API void nvo_serv_unlock(NvoServLock* lock);

/* Prints message `id` and a newline on standard error (stream_code 1; any other code prints nothing). `count`
 * arguments follow, of the types that the message wants:
 *     748          const char* function, int index
 *     749 to 754   const char* function
 *     755 to 766   int index, double value
 * Arguments beyond `count` are never read and show as "?", and an id without a text is printed as such, its
 * arguments unread. Each message is one write, so that messages of several threads don't mix within a line.
 * Doubles have 17 significant digits and read back to the same bits, whatever the locale, the rounding direction
 * or the denormal mode of the caller. errno and the floating-point environment stay as they were. */
NVO_CORE_API void nvo_serv_print(int stream_code, int id, int count, ...);

/* Tells whether the processor and the system can run the vector AES instructions (VAES): 1 or 0. */
NVO_CORE_API int nvo_serv_cpuisqrx(void);

/* The address of any function; cast it back to the function's own type before the call. */
typedef void (*NvoServFunction)(void);

/* Finds a function of the threaded layer by its exact name. Returns null for null and for an unknown name. */
NVO_CORE_API NvoServFunction nvo_serv_load_thread_fun(const char* name);

/* Products of matrices that start no thread of their own, for bodies that run on a team. Arguments and results are
 * those of the BLAS routine that the name ends in: matrices by columns, scalars by pointer. */
#define NVO_BLAS_PRODUCTS(t, real)                                                                                     \
    NVO_CORE_API void nvo_blas_x##t##gemm(const char* transa, const char* transb, const int* m, const int* n,          \
                                          const int* k, const real* alpha, const real* a, const int* lda,              \
                                          const real* b, const int* ldb, const real* beta, real* c, const int* ldc);   \
    NVO_CORE_API void nvo_blas_x##t##syrk(const char* uplo, const char* trans, const int* n, const int* k,             \
                                          const real* alpha, const real* a, const int* lda, const real* beta, real* c, \
                                          const int* ldc);                                                             \
    NVO_CORE_API void nvo_blas_x##t##syr(const char* uplo, const int* n, const real* alpha, const real* x,             \
                                         const int* incx, real* a, const int* lda);
NVO_BLAS_PRODUCTS(s, float)
NVO_BLAS_PRODUCTS(d, double)
#undef NVO_BLAS_PRODUCTS

#ifdef __cplusplus
}
#endif

#endif
