// Chunks: the list of extra data blocks on a stream.

#include "platform/core.h"
#include "streams/shared_data.h"
#include "support/scratch.h"

#include <cstring>

using namespace nvo;

namespace {

// The one way in which a chunk ends.
void delete_chunk(OstChunk* chunk) {
    if (!drop_shared(chunk->table_id)) nvo_serv_deallocate(chunk->data);
    nvo_serv_deallocate(chunk);
}

} // namespace

std::int32_t __ostAddChunk(OstStream* stream, std::uint32_t id, const std::uint64_t* table_id, void* data,
                           std::int32_t size) {
    auto* chunk = static_cast<OstChunk*>(nvo_serv_allocate(sizeof(OstChunk), block_alignment));
    if (chunk == nullptr) return OST_ERR_NO_MEMORY;
    *chunk = {.id = id, .size = size, .data = data, .next = stream->chunks, .table_id = {}};
    if (table_id != nullptr) {
        std::memcpy(chunk->table_id, table_id, sizeof chunk->table_id);
        share(chunk);
    }
    stream->chunks = chunk;
    return OST_OK;
}

void* __ostSearchChunk(const OstStream* stream, std::uint32_t id) {
    for (const OstChunk* chunk = stream->chunks; chunk != nullptr; chunk = chunk->next) {
        if (chunk->id == id) return chunk->data;
    }
    return nullptr;
}

std::int32_t __ostGetNumChunks(const OstStream* stream) {
    std::int32_t count = 0;
    for (const OstChunk* chunk = stream->chunks; chunk != nullptr; chunk = chunk->next) ++count;
    return count;
}

void __ostDeleteChunks(OstStream* stream) {
    while (stream->chunks != nullptr) {
        OstChunk* chunk = stream->chunks;
        stream->chunks = chunk->next;
        delete_chunk(chunk);
    }
}

void __ostDeleteChunksById(OstStream* stream, std::uint32_t id) {
    for (OstChunk** link = &stream->chunks; *link != nullptr;) {
        OstChunk* chunk = *link;
        if (chunk->id == id) {
            *link = chunk->next;
            delete_chunk(chunk);
        } else {
            link = &chunk->next;
        }
    }
}

std::int32_t __ostCopyChunks(OstStream* destination, const OstStream* source) {
    for (const OstChunk* chunk = source->chunks; chunk != nullptr; chunk = chunk->next) {
        OstSharedData* row = nullptr;
        Scratch<unsigned char> copy;
        void* data = chunk->data;
        if (__ostFindGlobRODataTableEntry(&row, chunk->table_id) != OST_OK) {
            const auto size = static_cast<std::size_t>(chunk->size);
            copy = Scratch<unsigned char>(size);
            if (!copy) {
                __ostDeleteChunks(destination);
                return OST_ERR_NO_MEMORY;
            }
            if (size != 0) std::memcpy(copy.get(), chunk->data, size);
            data = copy.get();
        }
        const std::int32_t status = __ostAddChunk(destination, chunk->id, chunk->table_id, data, chunk->size);
        if (status != OST_OK) {
            __ostDeleteChunks(destination);
            return status;
        }
        copy.release(); // the chunk's now
    }
    return OST_OK;
}
