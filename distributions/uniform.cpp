// Uniform numbers, integers and bits: what stands closest to the basic generators. All other laws draw through these.

#include "streams/exports.h"

#include <algorithm>
#include <cstdint>

namespace {

// The registry row of a stream, found anew in each call.
struct StreamRow {
    const OstBrng* table;
    std::int32_t index, set;

    explicit StreamRow(const OstStream* stream) : table(__ostGetBrngBaseOffset(stream->brng, &index, &set)) {}
    const OstBrng& row() const { return table[index]; }
};

// Rounding may leave [a, b]. NaN stays.
template <class R> void clamp(std::int32_t n, R* r, R a, R b) {
    for (std::int32_t i = 0; i < n; ++i) {
        const R at_least = a > r[i] ? a : r[i];
        const R x = b < at_least ? b : at_least;
        if (x != r[i]) r[i] = x;
    }
}

template <class R, class Entry>
std::int32_t uniform(Entry* entry, std::uint32_t method, OstStream* stream, std::int32_t n, R* r, R a, R b) {
    const std::int32_t status = entry(stream, n, r, a, b);
    if (status >= 0 && (method & OST_METHOD_ACCURATE) != 0) clamp(n, r, a, b);
    return status;
}

} // namespace

std::int32_t _ostsRngUniform(std::uint32_t method, OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return uniform(StreamRow(stream).row().s_entry, method, stream, n, r, a, b);
}

std::int32_t _ostdRngUniform(std::uint32_t method, OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return uniform(StreamRow(stream).row().d_entry, method, stream, n, r, a, b);
}

// The floors of doubles from [a, b), by truncation.
std::int32_t _ostiRngUniform(std::uint32_t, OstStream* stream, std::int32_t n, std::int32_t* r, std::int32_t a,
                             std::int32_t b) {
    constexpr std::int32_t block = 1024;
    double buffer[block];
    std::int32_t status = OST_OK;
    for (std::int32_t rest = n; rest > 0;) {
        const std::int32_t count = std::min(block, rest);
        status = _ostdRngUniform(0, stream, count, buffer, a, b);
        if (status < 0) return status;
        for (std::int32_t i = 0; i < count; ++i) {
            double x = buffer[i];
            if (static_cast<double>(static_cast<std::int32_t>(x)) > x) x -= 1.0;
            *r++ = static_cast<std::int32_t>(x);
        }
        rest -= count;
    }
    return status;
}

std::int32_t _ostiRngUniformBits(std::uint32_t, OstStream* stream, std::int32_t n, void* r) {
    return StreamRow(stream).row().i_entry(stream, n, r);
}
