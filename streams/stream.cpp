// Streams: create, copy, delete.

#include "platform/core.h"
#include "streams/registry.h"
#include "support/scratch.h"

#include <algorithm>
#include <cstring>

using namespace nvo;

namespace {

bool is_abstract(std::uint32_t id) {
    return id == OST_BRNG_IABSTRACT || id == OST_BRNG_DABSTRACT || id == OST_BRNG_SABSTRACT;
}

} // namespace

// Two rows of the older table pass for valid and are empty: they make no stream.
std::int32_t __ostAllocateStream(OstStream** stream_out, const OstBrng* table, std::uint32_t id, std::int32_t index,
                                 std::int32_t offset) {
    const std::int32_t status = __ostIsBrngValid(table, index, offset);
    if (status != OST_OK) return status;
    const OstBrng& row = table[index];
    if (row.init_entry == nullptr) return OST_ERR_BAD_BRNG;
    auto* stream = static_cast<OstStream*>(nvo_serv_allocate(record_bytes(row), block_alignment));
    *stream_out = stream;
    if (stream == nullptr) return OST_ERR_NO_MEMORY;
    *stream = {.brng = id, .live_flag = 1, .chunks = nullptr};
    // Images hold every byte of the state, padding too.
    std::memset(state_bytes_of(stream), 0, state_length(row));
    return OST_OK;
}

std::int32_t __ostNewStreamEx(OstStream** stream_out, std::uint32_t id, std::int32_t n, const std::uint32_t* params) {
    if (is_abstract(id)) return OST_ERR_BAD_BRNG;
    const DecodedId decoded(id);
    const std::int32_t status = __ostAllocateStream(stream_out, decoded.table, id, decoded.index, decoded.offset);
    if (status != OST_OK) return status;
    return decoded.row().init_entry(OST_METHOD_SEED, *stream_out, n, params);
}

std::int32_t __ostCopyStream(OstStream** new_stream_out, const OstStream* source) {
    const DecodedId decoded(source->brng);
    const std::int32_t status =
        __ostAllocateStream(new_stream_out, decoded.table, source->brng, decoded.index, decoded.offset);
    if (status != OST_OK) return status;
    OstStream* copy = *new_stream_out;
    const std::size_t bytes = record_bytes(decoded.row());
    nvo_serv_memcpy_s(copy, bytes, source, bytes);
    copy->chunks = nullptr;
    return __ostCopyChunks(copy, source);
}

std::int32_t __ostCopyStreamState(OstStream* destination, const OstStream* source) {
    if (destination == source) return OST_OK;
    const OstBrng& row = row_of(source);
    const auto proper = static_cast<std::size_t>(row.seed_words) * static_cast<std::size_t>(row.word_bytes);
    std::memcpy(state_bytes_of(destination), state_bytes_of(source), std::min(proper, state_length(row)));
    __ostDeleteChunks(destination);
    return __ostCopyChunks(destination, source);
}

std::int32_t __ostDeleteStream(OstStream** stream_inout) {
    __ostDeleteChunks(*stream_inout);
    nvo_serv_deallocate(*stream_inout);
    *stream_inout = nullptr;
    return OST_OK;
}

std::uint32_t __ostGetStreamStateBrng(const OstStream* stream) { return stream->brng; }
