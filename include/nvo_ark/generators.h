/* Basic generators: the entries behind the registry, abstract streams, tables. For C and C++. Users of streams need
 * streams.h and distributions.h only; here stands what the generators are.
 *
 *   row  NAME            what                                                                     seed words
 *   0    MCG31M1         x <- 1132489760 x mod 2^31 - 1                                           1
 *   1    R250            generalised feedback shift register, x[t] = x[t - 250] ^ x[t - 147]      1, or 250
 *   2    MRG32K3A        combined multiple recursive generator of two components of order 3       6
 *   3    MCG59           x <- 13^13 x mod 2^59                                                    1 or 2
 *   4    WH              273 sets: Wichmann and Hill's sum of four congruential generators        4
 *   5    SOBOL           quasi-random points of 1 to 40 dimensions, or more with own numbers      dimension
 *   6    NIEDERREITER    quasi-random points of 1 to 318 dimensions, or more with own numbers     dimension
 *   7    MT19937         Mersenne twister                                                         any number
 *   8    MT2203          6024 sets: small Mersenne twisters of period 2^2203 - 1                  any number
 *   9    IABSTRACT       words from a ring buffer of the caller                                   constructor
 *   10   DABSTRACT       doubles from one                                                         constructor
 *   11   SABSTRACT       floats from one                                                          constructor
 *   12   SFMT19937       SIMD-oriented fast Mersenne twister                                      any number
 *   13   NONDETERM       hardware random numbers; OST_ERR_NO_RDRAND, OST_ERR_RDRAND_RETRIES       -, retries
 *   14   ARS5            counter through five rounds of AES; OST_ERR_NO_AES                       4 key, 4 counter
 *   15   PHILOX4X32X10   counter through ten rounds of multiplications                            2 key, 4 counter
 */
#ifndef NVO_ARK_GENERATORS_H
#define NVO_ARK_GENERATORS_H

#include "streams.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Rows of the registry, and ids of parameter set 0: OST_ROW_MT2203, OST_BRNG_MT2203. */
enum {
#define GENERATOR(NAME, Entry, state_bytes, seed_words, has_zero, word_bytes, bits, sets) OST_ROW_##NAME,
#include "generators.def"
    OST_BUILT_IN_ROWS
};
enum {
#define GENERATOR(NAME, Entry, state_bytes, seed_words, has_zero, word_bytes, bits, sets) \
    OST_BRNG_##NAME = (OST_ROW_##NAME + 1) << 20,
#include "generators.def"
};

/* __ostBRng<Entry>InitStream, and the block entries __osts, __ostd, __ostiBRng<Entry>. Every sequence is the same for
 * any split into calls. n below 1 gives nothing, but at least one number in MCG31M1. */
#define GENERATOR(NAME, Entry, state_bytes, seed_words, has_zero, word_bytes, bits, sets) \
    OstInitEntry __ostBRng##Entry##InitStream;                                            \
    OstFloatEntry __ostsBRng##Entry;                                                      \
    OstDoubleEntry __ostdBRng##Entry;                                                     \
    OstWordEntry __ostiBRng##Entry;
#include "generators.def"

/* ---- Abstract streams ------------------------------------------------------------------------------------------- */

/* Refills the caller's ring of *size elements: writes at least *min, and at most *max, of them from index *index on,
 * with wrap, and returns their number. Fewer than *min are accepted; it is called again then. It may look at the
 * stream, but must not draw from it. */
typedef int32_t OstRefill(OstStream* stream, int32_t* size, void* buffer, int32_t* min, int32_t* max, int32_t* index);

/* An abstract stream over a ring of size > 0 elements, empty at first: 32-bit words, or numbers of [A, B), A < B. The
 * ring stays the caller's and must outlive the stream. OST_ERR_ARGUMENT, OST_ERR_NO_MEMORY. Drawing gives
 * OST_ERR_ABSTRACT_COUNT when the refill returns less than 0 or more than *max, OST_ERR_ABSTRACT_EMPTY when it returns
 * 0, OST_ERR_ABSTRACT_TYPE when numbers of another type are asked for. */
int32_t __ostiNewAbstractStream(OstStream** stream_out, int32_t size, uint32_t* buffer, OstRefill* refill);
int32_t __ostdNewAbstractStream(OstStream** stream_out, int32_t size, double* buffer, OstRefill* refill, double A,
                                double B);
int32_t __ostsNewAbstractStream(OstStream** stream_out, int32_t size, float* buffer, OstRefill* refill, float A,
                                float B);

/* ---- Processor -------------------------------------------------------------------------------------------------- */

int32_t __ostCPUisRDRAND(void); /* 1 or 0 */
int32_t __ostCPUisAES(void);
int32_t __ostCPUisVAES(void);

/* ---- Skip-ahead of the twisters --------------------------------------------------------------------------------- */

/* What the drivers below do to state records, which are laid out as the stream's. In a record the words are a ring from
 * its index on, the oldest first. */
typedef void OstZeroState(OstStream* s);                                            /* words and index to 0 */
typedef void OstAddState(OstStream* d, const OstStream* s);                         /* adds over GF(2), ring to ring */
typedef void OstCopyState(OstStream* d, const OstStream* s);                        /* copies words and index */
typedef void OstUpdateState(OstStream* s);                                          /* one step of the recurrence */
typedef void OstReturnState(OstStream* stream, const OstStream* s, int32_t adjust); /* writes the result s back */
/* Moves the stream as far as its index alone can. Returns 1, with the steps that are left to do in *count and what
 * OstReturnState wants in *adjust, or 0 if that was all. */
typedef int32_t OstProcessIndex(OstStream* stream, uint64_t* count, int32_t* adjust);

/* Move a stream of state_bytes bytes on by count: the state becomes x^count mod P of it, where x is one step and P, of
 * degree k <= 32 N, has the given terms. N is the number of 32-bit words that a polynomial takes. The first takes 8
 * bits of x^count mod P at a time, with 130 working records; the second takes one at a time. OST_ERR_NO_MEMORY: then
 * the stream may have been moved by a part of the way. */
int32_t __ost_SkipAheadSWin(OstStream* stream, OstZeroState* _ZeroState, OstAddState* _AddState,
                            OstCopyState* _CopyState1, OstUpdateState* _UpdateS, OstReturnState* _CopyState2,
                            OstProcessIndex* _ProcessIdx, uint64_t count, int32_t N, int32_t k, int32_t state_bytes,
                            int32_t terms, const uint32_t* poly);
int32_t __ost_SkipAheadHorner(OstStream* stream, OstZeroState* _ZeroState, OstAddState* _AddState,
                              OstCopyState* _CopyState1, OstUpdateState* _UpdateS, OstReturnState* _CopyState2,
                              OstProcessIndex* _ProcessIdx, uint64_t count, int32_t N, int32_t k, int32_t state_bytes,
                              int32_t terms, const uint32_t* poly);

/* ---- Tables ----------------------------------------------------------------------------------------------------- */

extern const uint8_t _ost_WH_A[273][4];                         /* multipliers of the sets of WH */
extern const uint32_t _ost_WH_M[273][4];                        /* their moduli */
extern const double _ostdWH_IM_Tab[273][4];                     /* 1 / modulus */
extern const uint32_t _ost_mrg32k3a_skipahead_table[2][193][9]; /* A1^(2^k) mod m1, A2^(2^k) mod m2, row by row */
extern const uint32_t _ost_mt2203_table[6024][3];               /* a, b, c of the sets of MT2203 */
extern const uint32_t _ost_mt19937_poly[135]; /* exponents of the characteristic polynomials, rising */
extern const uint32_t _ost_sfmt19937_poly[6711];
/* Polynomials over GF(2) in bit form, constant term in bit 0, with their degrees; and the initial values of SOBOL,
 * whose dimensions count from the second one. */
extern const uint32_t uSobolIrredPoly[39];
extern const int32_t iSobolIrredPolyDeg[39];
extern const uint32_t uSobolMInit[39][8];
extern const uint32_t uNiederrIrredPoly[318];
extern const int32_t iNiederrIrredPolyDeg[318];

#ifdef __cplusplus
}
#endif

#endif
