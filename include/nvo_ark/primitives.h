/* Bulk operations on typed arrays: copy, set, zero, radix sort. For C and C++.
 *
 * Nothing here allocates memory, keeps a state or looks at floating-point values as numbers: any thread may call, and
 * NaNs, signs of zeros and denormals go through bit for bit. Arrays need no alignment.
 *
 * Members return a status, and have written nothing if it isn't NVO_DFT_OK. Null pointers are looked for first.
 */
#ifndef NVO_ARK_PRIMITIVES_H
#define NVO_ARK_PRIMITIVES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    NVO_DFT_OK = 0,
    NVO_DFT_ERR_LENGTH = -6, /* a length below 1, or a stride below the width of an element */
    NVO_DFT_ERR_NULL = -8    /* a null pointer */
};

/* Complex pairs. Passed by value, those of floating-point numbers travel as C's float _Complex and double _Complex. */
typedef struct NvoDft16sc {
    int16_t re, im;
} NvoDft16sc;
typedef struct NvoDft32sc {
    int32_t re, im;
} NvoDft32sc;
typedef struct NvoDft64sc {
    int64_t re, im;
} NvoDft64sc;
typedef struct NvoDft32fc {
    float re, im;
} NvoDft32fc;
typedef struct NvoDft64fc {
    double re, im;
} NvoDft64fc;

/* The lists of types, for whoever has to name all members: X(suffix of the names, type of an element). */
#define NVO_DFT_TYPES(X) \
    X(8u, uint8_t)       \
    X(16s, int16_t)      \
    X(16sc, NvoDft16sc)  \
    X(32f, float)        \
    X(32fc, NvoDft32fc)  \
    X(32s, int32_t)      \
    X(32sc, NvoDft32sc)  \
    X(64f, double)       \
    X(64fc, NvoDft64fc)  \
    X(64s, int64_t)      \
    X(64sc, NvoDft64sc)

/* One a width of elements: 1, 2, 4, 8 and 16 bytes. */
#define NVO_DFT_SET_WORKERS(X) \
    X(8u, uint8_t)             \
    X(16u, uint16_t)           \
    X(32s, int32_t)            \
    X(64s, int64_t)            \
    X(64sc, NvoDft64sc)

#define NVO_DFT_INDEX_SORTED_TYPES(X) \
    X(32f, float)                     \
    X(32s, int32_t)                   \
    X(32u, uint32_t)                  \
    X(16s, int16_t)                   \
    X(16u, uint16_t)                  \
    X(8u, uint8_t)

#define NVO_DFT_SORTED_TYPES(X) NVO_DFT_INDEX_SORTED_TYPES(X) X(64f, double)

/* ---- Copy, set, zero ------------------------------------------------------------------------------------------- */

/* Copies `len` elements between arrays that don't overlap; gives all `len` elements one value; makes all their bits 0.
 * Any positive `len` is fine, also of wide elements: bytes are counted in 64 bits. Blocks that outgrow the processor's
 * cache go past it, where the processor tells how large that is; the stores are then complete, for other threads too,
 * when the call returns. */
#define NVO_DFT_DECLARE(type, element)                                                  \
    int32_t nvo_dft_def_tyrsCopy_##type(const element* src, element* dst, int32_t len); \
    int32_t nvo_dft_def_tyrsSet_##type(element value, element* dst, int32_t len);       \
    int32_t nvo_dft_def_tyrsZero_##type(element* dst, int32_t len);
NVO_DFT_TYPES(NVO_DFT_DECLARE)
#undef NVO_DFT_DECLARE

/* The workers behind them: nothing is checked, a `len` below 1 does nothing, and `dst` comes back. The lengths of the
 * first two are bytes, those of the others elements. */
uint8_t* nvo_dft_def_ownsCopy_8u(const uint8_t* src, uint8_t* dst, int32_t len);
uint8_t* nvo_dft_def_ownsZero_8u(uint8_t* dst, int32_t len);
#define NVO_DFT_DECLARE(type, element)                                                         \
    element* nvo_dft_def_ownsSet_##type##_M7(const element* value, element* dst, int32_t len); \
    element* nvo_dft_def_ownsSet_##type(element value, element* dst, int32_t len);
NVO_DFT_SET_WORKERS(NVO_DFT_DECLARE)
#undef NVO_DFT_DECLARE

/* ---- Radix sorts ----------------------------------------------------------------------------------------------- */

/* Floating-point values are put into the total order of IEEE 754: NaNs with the sign bit set, -infinity, ..., -0, +0,
 * ..., infinity, NaNs with the sign bit clear, and NaNs among each other by their payloads. The arrays of a call don't
 * overlap. The work depends on `len` alone, not on the values. The stack holds 41 KiB of counters at the most. Method:
 * passes by digits of 8 to 11 bits from the lowest on, each stable (D. E. Knuth, The Art of Computer Programming 3,
 * 5.2.5). */

/* Sorts src_dst[0], ..., src_dst[len - 1]. `buffer` has room for as many elements and is left with rubbish. */
#define NVO_DFT_DECLARE(type, element)                                                                  \
    int32_t nvo_dft_def_tyrsSortRadixAscend_##type##_I(element* src_dst, element* buffer, int32_t len); \
    int32_t nvo_dft_def_tyrsSortRadixDescend_##type##_I(element* src_dst, element* buffer, int32_t len);
NVO_DFT_SORTED_TYPES(NVO_DFT_DECLARE)
#undef NVO_DFT_DECLARE

/* Sorts positions: key i is the element at `src` + i * `stride` bytes, and dst_index[j] becomes the i of the key that
 * comes j-th. Equal keys keep their order, in descending order too. The keys stay as they are. `tmp_index` has room for
 * `len` positions and is left with rubbish. */
#define NVO_DFT_DECLARE(type, element)                                                                            \
    int32_t nvo_dft_def_tyrsSortRadixIndexAscend_##type(const element* src, int32_t stride, uint32_t* dst_index,  \
                                                        uint32_t* tmp_index, int32_t len);                        \
    int32_t nvo_dft_def_tyrsSortRadixIndexDescend_##type(const element* src, int32_t stride, uint32_t* dst_index, \
                                                         uint32_t* tmp_index, int32_t len);
NVO_DFT_INDEX_SORTED_TYPES(NVO_DFT_DECLARE)
#undef NVO_DFT_DECLARE

#ifdef __cplusplus
}
#endif

#endif
