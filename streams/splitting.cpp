// Leapfrog and skip-ahead: the way to the generator's own.

#include "streams/registry.h"

using namespace nvo;

std::int32_t __ostLeapfrogStream(OstStream* stream, std::int32_t k, std::int32_t c) {
    if (c < 0) return OST_ERR_LEAPFROG_COUNT;
    return row_of(stream).init_entry(OST_METHOD_LEAPFROG, stream, c, &k);
}

std::int32_t __ostSkipAheadStream(OstStream* stream, std::uint64_t count) {
    constexpr std::int32_t words = 2; // of 32 bits
    return row_of(stream).init_entry(OST_METHOD_SKIP, stream, words, &count);
}

std::int32_t __ostSkipAheadStreamEx(OstStream* stream, std::int32_t n, const std::uint64_t* words) {
    return row_of(stream).init_entry(OST_METHOD_SKIP_LONG, stream, n, words);
}
