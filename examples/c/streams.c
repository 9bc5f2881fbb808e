/* Streams: two generators, a stream split into parts, a stream that is saved and goes on. */
#include "nvo_ark/streams.h"
#include "nvo_ark/distributions.h"
#include "nvo_ark/generators.h"
#include <stdio.h>
#include <stdlib.h>

static OstStream* new_stream(uint32_t id, uint32_t seed) {
    OstStream* stream;
    const int32_t status = __ostNewStreamEx(&stream, id, 1, &seed);
    if (status == OST_OK) return stream;
    fprintf(stderr, "no stream of generator 0x%X: status %d\n", (unsigned)id, (int)status);
    exit(1);
}

static void print(const char* name, OstStream* stream) {
    double r[4];
    _ostdRngUniform(0, stream, 4, r, 0.0, 1.0);
    printf("%-28s %.6f %.6f %.6f %.6f\n", name, r[0], r[1], r[2], r[3]);
}

int main(void) {
    OstStream* twister = new_stream(OST_BRNG_MT19937, 42);
    print("MT19937", twister);

    /* A copy goes on where its original stands; skipping ahead makes it another part of the same sequence. */
    OstStream* part;
    if (__ostCopyStream(&part, twister) != OST_OK) return 1;
    __ostSkipAheadStream(part, 1000000);
    print("a million numbers later", part);

    /* Set 5 of a family of 6024 generators. */
    OstStream* worker = new_stream(OST_BRNG_MT2203 + 5, 42);
    print("MT2203, set 5", worker);

    /* An image in memory. */
    void* image = malloc((size_t)__ostGetStreamSize(twister));
    if (image == NULL || __ostSaveStreamM(twister, image) != OST_OK) return 1;
    print("MT19937 goes on", twister);
    OstStream* loaded;
    if (__ostLoadStreamM(&loaded, image) != OST_OK) return 1;
    print("and so does its image", loaded);

    free(image);
    __ostDeleteStream(&loaded);
    __ostDeleteStream(&worker);
    __ostDeleteStream(&part);
    __ostDeleteStream(&twister);
    return 0;
}
