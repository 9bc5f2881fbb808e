/* Distributions: random numbers of a law, drawn from a stream. For C and C++.
 *
 * All functions have the form _ost<t>Rng<Law>(method, stream, n, r, parameters): n results of type t (s float, d
 * double, i integer) go to r, and a status of status.h comes back. A status of the stream's generator ends the call;
 * what is in r then has no meaning. Pointers are trusted.
 *
 * Laws that need vector math call it in a mode of their own and put the thread's mode word and callback back, but for
 * one field: a denormal field of 0 becomes ARK_DENORMALS_KEEP, which acts the same (vector_math.h). */
#ifndef NVO_ARK_DISTRIBUTIONS_H
#define NVO_ARK_DISTRIBUTIONS_H

#include "streams.h"

#ifdef __cplusplus
extern "C" {
#endif

/* In the method word: keep results within the bounds of the law even where rounding would leave them. */
#define OST_METHOD_ACCURATE 0x40000000u

/* Uniform numbers from [a, b). Rounding may give b itself; OST_METHOD_ACCURATE holds results to [a, b]. */
int32_t _ostsRngUniform(uint32_t method, OstStream* stream, int32_t n, float* r, float a, float b);
int32_t _ostdRngUniform(uint32_t method, OstStream* stream, int32_t n, double* r, double a, double b);

/* Uniform integers from a up to, but for roundings, b - 1. n below 1 draws nothing. method is not used, here and below.
 */
int32_t _ostiRngUniform(uint32_t method, OstStream* stream, int32_t n, int32_t* r, int32_t a, int32_t b);

/* The generator's own words: n of word_bytes bytes each (OstBrng). */
int32_t _ostiRngUniformBits(uint32_t method, OstStream* stream, int32_t n, void* r);

/* Words in which every bit is random. OST_ERR_NO_BITS for generators that have none: those but MCG59, MT19937, MT2203,
 * SFMT19937, NONDETERM, ARS5 and PHILOX4X32X10. A word of 64 bits is made of two of 32, the first one below. */
int32_t _ostiRngUniformBits32(uint32_t method, OstStream* stream, int32_t n, uint32_t* r);
int32_t _ostiRngUniformBits64(uint32_t method, OstStream* stream, int32_t n, uint64_t* r);

#ifdef __cplusplus
}
#endif

#endif
