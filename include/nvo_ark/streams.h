/* Random streams: create, copy, register, save and load, split. For C and C++.
 *
 * A stream is one record: a head, and behind it the state of its generator. Numbers are drawn from it through the
 * functions of distributions.h.
 *
 * Functions return a status of status.h unless said otherwise. Pointers are trusted: only what is said to be checked
 * is. A stream has no lock: one call at a time may use it. Different streams may be used, created, loaded and deleted
 * from any threads at once. Nothing may run beside a registration that uses ids of generators registered later.
 */
#ifndef NVO_ARK_STREAMS_H
#define NVO_ARK_STREAMS_H

#include <stdint.h>

#include "status.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Records --------------------------------------------------------------------------------------------------- */

/* A block of extra data on a stream: cached setups of distributions, direction numbers of quasi-random generators. A
 * stream has at most one of an id. Blocks with a table id are shared between streams through a table of the process. */
typedef struct OstChunk {
    uint32_t id;
    int32_t size; /* bytes of data */
    void* data;
    struct OstChunk* next;
    uint64_t table_id[2]; /* both 0 for a private block */
} OstChunk;

/* Head of a stream record. */
typedef struct OstStream {
    uint32_t brng;     /* the id that the stream was created with */
    int32_t live_flag; /* 1 */
    OstChunk* chunks;  /* head of the list; null for none */
} OstStream;

/* Method codes of an initialisation entry, with the meaning of its n and params. */
enum {
    OST_METHOD_SEED = 0,     /* n 32-bit seed words */
    OST_METHOD_LEAPFROG = 1, /* n streams; params points to the 32-bit index of this one */
    OST_METHOD_SKIP = 2,     /* params points to a 64-bit unsigned count */
    OST_METHOD_SKIP_LONG = 3 /* the count in n 64-bit unsigned words, lowest first */
};

typedef int32_t OstInitEntry(int32_t method, OstStream* stream, int32_t n, const void* params);
/* Block entries fill r[0], ..., r[n - 1]: with numbers from [a, b), or with words of word_bytes bytes. */
typedef int32_t OstFloatEntry(OstStream* stream, int32_t n, float* r, float a, float b);
typedef int32_t OstDoubleEntry(OstStream* stream, int32_t n, double* r, double a, double b);
typedef int32_t OstWordEntry(OstStream* stream, int32_t n, void* r);

/* Properties of a generator: a row of the registry. */
typedef struct OstBrng {
    int32_t state_bytes; /* size of the stream record, with its head */
    int32_t seed_words;  /* words of word_bytes bytes that __ostCopyStreamState copies */
    int32_t has_zero;    /* 1 if it can give exactly 0 */
    int32_t word_bytes;  /* of a word of the integer entry: 4, 8 or 16 */
    int32_t bits;        /* significant bits of a word */
    OstInitEntry* init_entry;
    OstFloatEntry* s_entry;
    OstDoubleEntry* d_entry;
    OstWordEntry* i_entry;
} OstBrng;

/* ---- Streams --------------------------------------------------------------------------------------------------- */

/* An id names a generator and one of its parameter sets: (row + 1) << 20 | set for row and set from 0 (generators.h),
 * or in the older form, below 0x100000: 0 MCG31M1, 1 R250, 2 MRG32K3A, 3 MCG59, 4 to 276 the sets of WH, 277 SOBOL, 278
 * NIEDERREITER. */

/* Creates a stream and seeds it with n words. OST_ERR_BAD_BRNG for an invalid id and for abstract generators, which
 * have constructors of their own; OST_ERR_NO_MEMORY; in both cases no stream is created, and *stream_out is null after
 * the second. Otherwise the status of the generator's seeding; if that fails, the stream exists and must be deleted. */
int32_t __ostNewStreamEx(OstStream** stream_out, uint32_t id, int32_t n, const uint32_t* params);

/* Creates a record without seeding it, for an id that the caller has decoded. */
int32_t __ostAllocateStream(OstStream** stream_out, const OstBrng* table, uint32_t id, int32_t index, int32_t offset);

/* Creates an independent stream with the same id, state and chunks. If copying the chunks fails, the new stream exists,
 * without chunks. */
int32_t __ostCopyStream(OstStream** new_stream_out, const OstStream* source);

/* Gives destination the state and the chunks of source, a stream of the same generator, set and (quasi-random)
 * dimension. The first seed_words * word_bytes bytes of the state are copied, not more than it has. That is all that
 * matters, but for the multiplier of MCG31M1 and MCG59, which leapfrog changes; the words of a partly used block in
 * SFMT19937, ARS5 and PHILOX4X32X10, which stay those of destination: copy at a block boundary; and abstract streams,
 * of which nothing is copied. */
int32_t __ostCopyStreamState(OstStream* destination, const OstStream* source);

/* Frees the stream with its chunks and makes the caller's pointer null. OST_OK. */
int32_t __ostDeleteStream(OstStream** stream_inout);

uint32_t __ostGetStreamStateBrng(const OstStream* stream); /* the stream's id */

/* ---- Registry -------------------------------------------------------------------------------------------------- */

/* Adds a generator and returns its id, above 0, or a status: OST_ERR_REG_..., OST_ERR_NULL_POINTER for a missing entry,
 * OST_ERR_BAD_BRNG when all 512 rows are used. */
int32_t __ostRegisterBrng(const OstBrng* properties);

int32_t __ostGetBrngProperties(uint32_t id, OstBrng* properties_out); /* OST_ERR_BAD_BRNG */
int32_t __ostGetNumRegBrngs(void);                                    /* number of rows, 16 at first */

/* Decodes an id, which need not be valid: the row is table[*index_out], the parameter set *offset_out. */
const OstBrng* __ostGetBrngBaseOffset(uint32_t id, int32_t* index_out, int32_t* offset_out);
int32_t __ostIsBrngValid(const OstBrng* table, int32_t index, int32_t offset); /* OST_ERR_BAD_BRNG */

/* ---- Splitting ------------------------------------------------------------------------------------------------- */

/* Makes the stream give every c-th number of its sequence, from number k on. SOBOL and NIEDERREITER take c = 0x7FFFFFFF
 * alone, which selects dimension k. OST_ERR_LEAPFROG_COUNT for a negative c, OST_ERR_NO_LEAPFROG. */
int32_t __ostLeapfrogStream(OstStream* stream, int32_t k, int32_t c);

/* Moves the stream on by count numbers. OST_ERR_NO_SKIP. */
int32_t __ostSkipAheadStream(OstStream* stream, uint64_t count);

/* The same, with the count in n words, lowest first. OST_ERR_NO_SKIP_EX. */
int32_t __ostSkipAheadStreamEx(OstStream* stream, int32_t n, const uint64_t* words);

/* ---- Images ---------------------------------------------------------------------------------------------------- */

/* A stream as bytes, in a file or in memory: a header of 20 bytes, the state, the chunks, all little-endian. Images of
 * abstract streams hold pointers and mean nothing in another process; those of registered generators need the same
 * order of registrations. */

int32_t __ostGetStreamSize(const OstStream* stream); /* bytes of its image */

/* path has path_length characters, or is NUL-terminated if path_length is negative. A save that fails leaves its file
 * behind. A load that fails makes *stream_out null. */
int32_t __ostSaveStreamF(const OstStream* stream, const char* path, int32_t path_length);
int32_t __ostLoadStreamF(OstStream** stream_out, const char* path, int32_t path_length);

/* memory has __ostGetStreamSize(stream) bytes, and a whole image when it is loaded. OST_ERR_MEMORY_FORMAT. */
int32_t __ostSaveStreamM(const OstStream* stream, void* memory);
int32_t __ostLoadStreamM(OstStream** stream_out, const void* memory);

/* ---- Chunks ---------------------------------------------------------------------------------------------------- */

/* Puts a block of nvo_serv_allocate on the stream, which takes it over. table_id may be null. If its id is in the table
 * of shared blocks, the block there is used and this one freed, unless their sizes differ: then the chunk is private.
 * OST_ERR_NO_MEMORY: then the block is still the caller's. */
int32_t __ostAddChunk(OstStream* stream, uint32_t id, const uint64_t* table_id, void* data, int32_t size);

void* __ostSearchChunk(const OstStream* stream, uint32_t id); /* its data, or null */
int32_t __ostGetNumChunks(const OstStream* stream);
void __ostDeleteChunks(OstStream* stream);
void __ostDeleteChunksById(OstStream* stream, uint32_t id);

/* Adds the chunks of source to destination, in reverse order. On failure destination has no chunks left. */
int32_t __ostCopyChunks(OstStream* destination, const OstStream* source);

/* A row of the table of shared blocks. At most 128 are used at a time. */
typedef struct OstSharedData {
    uint64_t id[2];
    uint32_t references; /* chunks that use the block */
    void* data;
    int32_t size; /* bytes of it; -1 if the row was not made for a chunk */
} OstSharedData;

int32_t __ostFindGlobRODataTableEntry(OstSharedData** row_out, const uint64_t* table_id); /* OST_ERR_TABLE_MISS */
/* Appends a row with one reference. OST_ERR_TABLE_FULL. */
int32_t __ostCreateGlobRODataTableEntry(OstSharedData** row_out, const uint64_t* table_id, void* data);
/* Adds a reference to a row, if it is there, and gives the chunk the row's block. */
void __ostRegisterGlobRODataReference(OstChunk* chunk, const uint64_t* table_id);
/* Takes a reference away, and with the last one the row and its block. */
void __ostUnregisterGlobRODataReference(const uint64_t* table_id);
/* Makes an id that is not in the table; word becomes its second word. OST_OK. */
int32_t __ostGenerateNewGlobalRODataTableEntryId(uint64_t* table_id_out, uint64_t word);

/* ---- Modular and polynomial arithmetic -------------------------------------------------------------------------- */

uint32_t __ostiPowMod(uint32_t a, uint64_t e, uint32_t m); /* a^e mod m, m > 0 */
uint32_t __ostiPowMod2P31M1(uint32_t a, uint64_t e);       /* a^e mod 2^31 - 1, a < 2^31 */
uint64_t __ostiPowMod2P59(uint64_t a, uint64_t e);         /* a^e mod 2^59 */

/* v becomes A^e v mod m, where A has the rows (0, 1, 0), (0, 0, 1), (row[2], row[1], row[0]); all numbers below m. */
void __ostiVect3PowMod(uint32_t* v, const uint32_t* row, uint32_t m, uint64_t e);
/* The same for an exponent of n 64-bit words, lowest first. OST_ERR_NO_MEMORY, for 11 words and more. */
int32_t __ostiVect3PowArrayMod(uint32_t* v, const uint32_t* row, uint32_t m, int32_t n, const uint64_t* words);
/* The same for m of 2^32 - 209 and 2^32 - 22853, from a table of 193 matrices A^(2^k) of 9 words, row by row. The
 * exponent is below 2^192. */
void __ostiVect3PowArrayMod_M1(uint32_t* v, int32_t n, const uint64_t* words, const uint32_t* table);
void __ostiVect3PowArrayMod_M2(uint32_t* v, int32_t n, const uint64_t* words, const uint32_t* table);

/* out, w words of 32 bits, becomes x^e mod P over GF(2), bit i the coefficient of x^i. P has degree k and the terms
 * x^exps[0], x^exps[1], ...; a term given twice cancels. OST_ERR_NO_MEMORY. */
int32_t __ostPolyRem(uint64_t e, int32_t k, int32_t terms, const uint32_t* exps, int32_t w, uint32_t* out);
/* out becomes the square of a polynomial of the given degree. in has (degree + 32) / 32 words, out twice as many; they
 * may be the same array. */
void poly_squared(const uint32_t* in, int32_t degree, uint32_t* out);

#ifdef __cplusplus
}
#endif

#endif
