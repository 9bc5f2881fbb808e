// The registry of generators: two tables of rows and the arithmetic of ids.
#pragma once

#include "streams/exports.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nvo {

inline constexpr int registry_rows = 512;

// An id, decoded. The row may not be there: see is_valid.
struct DecodedId {
    const OstBrng* table;
    std::int32_t index, offset;

    explicit DecodedId(std::uint32_t id) : table(__ostGetBrngBaseOffset(id, &index, &offset)) {}
    std::int32_t status() const { return __ostIsBrngValid(table, index, offset); }
    const OstBrng& row() const { return table[index]; }
};

// The row of a stream, whose id is trusted.
inline const OstBrng& row_of(const OstStream* stream) { return DecodedId(stream->brng).row(); }

// Bytes of a record, and of those behind its head. A registered row may ask for less than the head.
inline std::size_t record_bytes(const OstBrng& row) {
    return std::max(static_cast<std::size_t>(row.state_bytes), sizeof(OstStream));
}
inline std::size_t state_length(const OstBrng& row) { return record_bytes(row) - sizeof(OstStream); }
inline unsigned char* state_bytes_of(OstStream* stream) { return reinterpret_cast<unsigned char*>(stream + 1); }
inline const unsigned char* state_bytes_of(const OstStream* stream) {
    return reinterpret_cast<const unsigned char*>(stream + 1);
}

} // namespace nvo
