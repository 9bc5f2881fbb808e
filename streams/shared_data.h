// The process-wide table of shared read-only blocks, as the chunks use it. All its functions take the table's lock.
#pragma once

#include "streams/exports.h"

#include <cstdint>

namespace nvo {

// Makes the chunk share the block of its table id: that of the table if there is one (the chunk's own is freed), else
// the chunk's own enters the table. With no room there the chunk becomes private.
void share(OstChunk* chunk);

// Drops one reference to a block. False if there is no such block.
bool drop_shared(const std::uint64_t* table_id);

} // namespace nvo
