// Words of 32 and 64 random bits, by generator.

#include "streams/exports.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <limits>

namespace {

// Row of the stream's generator in the tables below. Streams without one there are those of generators registered
// later, and those with the older ids of SOBOL and NIEDERREITER, which have no such bits anyway.
std::int32_t row_of(const OstStream* stream) {
    std::int32_t index = 0, set = 0;
    __ostGetBrngBaseOffset(stream->brng, &index, &set);
    return index;
}

// ---- 32 bits --------------------------------------------------------------------------------------------------------

std::int32_t no_bits() { return OST_ERR_NO_BITS; }

// The upper 32 of MCG59's 59 bits.
std::int32_t _viRngUniformBits32MCG59(std::uint32_t method, OstStream* stream, std::int32_t n, std::uint32_t* r) {
    constexpr std::int32_t block = 2048;
    std::uint64_t buffer[block];
    for (;; n -= block, r += block) {
        const std::int32_t count = std::min(block, n);
        const std::int32_t status = _ostiRngUniformBits(method, stream, count, buffer);
        if (status < 0) return status;
        for (std::int32_t i = 0; i < count; ++i) r[i] = static_cast<std::uint32_t>(buffer[i] >> 27);
        if (n < block) return status; // the remainder is drawn even if it is empty
    }
}

// ---- 64 bits: two words of 32, the first one below
// -------------------------------------------------------------------

template <class Draw>
std::int32_t in_halves(std::uint32_t method, OstStream* stream, std::int32_t n, std::uint64_t* r, Draw draw) {
    constexpr std::int32_t largest = std::numeric_limits<std::int32_t>::max() / 2; // twice as many can be counted
    for (; n > largest; n -= largest, r += largest) {
        const std::int32_t status = draw(method, stream, 2 * largest, reinterpret_cast<std::uint32_t*>(r));
        if (status < 0) return status;
    }
    return draw(method, stream, 2 * std::max(n, -largest), reinterpret_cast<std::uint32_t*>(r));
}

std::int32_t _viRngUniformBits64MCG59(std::uint32_t method, OstStream* stream, std::int32_t n, std::uint64_t* r) {
    return in_halves(method, stream, n, r, _viRngUniformBits32MCG59);
}

// ---- By row of the registry -----------------------------------------------------------------------------------------

#define NVO_NO_BITS(NAME)                                                                             \
    std::int32_t _viRngUniformBits32##NAME(std::uint32_t, OstStream*, std::int32_t, std::uint32_t*) { \
        return no_bits();                                                                             \
    }                                                                                                 \
    std::int32_t _viRngUniformBits64##NAME(std::uint32_t, OstStream*, std::int32_t, std::uint64_t*) { \
        return no_bits();                                                                             \
    }
#define NVO_WORDS(NAME)                                                                             \
    std::int32_t _viRngUniformBits32##NAME(std::uint32_t method, OstStream* stream, std::int32_t n, \
                                           std::uint32_t* r) {                                      \
        return _ostiRngUniformBits(method, stream, n, r);                                           \
    }                                                                                               \
    std::int32_t _viRngUniformBits64##NAME(std::uint32_t method, OstStream* stream, std::int32_t n, \
                                           std::uint64_t* r) {                                      \
        return in_halves(method, stream, n, r, _viRngUniformBits32##NAME);                          \
    }
NVO_NO_BITS(MCG31)
NVO_NO_BITS(R250)
NVO_NO_BITS(MRG32K3A)
NVO_NO_BITS(WH)
NVO_NO_BITS(SOBOL)
NVO_NO_BITS(NIEDERREITER)
NVO_WORDS(MT19937)
NVO_WORDS(MT2203)
NVO_NO_BITS(IABSTRACT)
NVO_NO_BITS(DABSTRACT)
NVO_NO_BITS(SABSTRACT)
NVO_WORDS(SFMT19937)
NVO_WORDS(NONDETERM)
NVO_WORDS(ARS5)
NVO_WORDS(PHILOX4X32X10)

#define NVO_DISPATCH(width)                                                                                           \
    {                                                                                                                 \
        _viRngUniformBits##width##MCG31, _viRngUniformBits##width##R250, _viRngUniformBits##width##MRG32K3A,          \
            _viRngUniformBits##width##MCG59, _viRngUniformBits##width##WH, _viRngUniformBits##width##SOBOL,           \
            _viRngUniformBits##width##NIEDERREITER, _viRngUniformBits##width##MT19937,                                \
            _viRngUniformBits##width##MT2203, _viRngUniformBits##width##IABSTRACT,                                    \
            _viRngUniformBits##width##DABSTRACT, _viRngUniformBits##width##SABSTRACT,                                 \
            _viRngUniformBits##width##SFMT19937, _viRngUniformBits##width##NONDETERM, _viRngUniformBits##width##ARS5, \
            _viRngUniformBits##width##PHILOX4X32X10                                                                   \
    }
using Bits32 = std::int32_t(std::uint32_t, OstStream*, std::int32_t, std::uint32_t*);
using Bits64 = std::int32_t(std::uint32_t, OstStream*, std::int32_t, std::uint64_t*);
constexpr Bits32* Dispatch32[] = NVO_DISPATCH(32);
constexpr Bits64* Dispatch64[] = NVO_DISPATCH(64);
static_assert(std::size(Dispatch32) == OST_BUILT_IN_ROWS && std::size(Dispatch64) == OST_BUILT_IN_ROWS);

} // namespace

std::int32_t _ostiRngUniformBits32(std::uint32_t method, OstStream* stream, std::int32_t n, std::uint32_t* r) {
    const std::int32_t row = row_of(stream);
    return row < OST_BUILT_IN_ROWS ? Dispatch32[row](method, stream, n, r) : OST_ERR_NO_BITS;
}

std::int32_t _ostiRngUniformBits64(std::uint32_t method, OstStream* stream, std::int32_t n, std::uint64_t* r) {
    const std::int32_t row = row_of(stream);
    return row < OST_BUILT_IN_ROWS ? Dispatch64[row](method, stream, n, r) : OST_ERR_NO_BITS;
}
