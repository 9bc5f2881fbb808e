// The table of shared read-only blocks: 128 rows, the used ones first, counted by reference, under a spin lock. Whoever
// holds the lock looks through the rows and frees at most a block; nobody takes it twice.

#include "streams/shared_data.h"

#include "platform/core.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <utility>
#include <x86intrin.h>

using namespace nvo;

namespace {

constexpr std::uint32_t table_rows = 128;

} // namespace

extern "C" {
extern std::array<OstSharedData, table_rows> _GlobRODataTable;
extern std::uint32_t _GlobRODataTableCount;
extern std::atomic<std::uint32_t> _OST_GLOB_RO_DATA_TABLE_LOCKER_1; // 0 free, 1 held
void _ostGlobRODataTableLock();
void _ostGlobRODataTableUnLock();
}
constinit std::array<OstSharedData, table_rows> _GlobRODataTable{};
constinit std::uint32_t _GlobRODataTableCount = 0;
constinit std::atomic<std::uint32_t> _OST_GLOB_RO_DATA_TABLE_LOCKER_1{0};

void _ostGlobRODataTableLock() {
    std::uint32_t free = 0;
    while (!_OST_GLOB_RO_DATA_TABLE_LOCKER_1.compare_exchange_weak(free, 1, std::memory_order_acquire)) free = 0;
}
void _ostGlobRODataTableUnLock() { _OST_GLOB_RO_DATA_TABLE_LOCKER_1.store(0, std::memory_order_release); }

namespace {

class Lock {
public:
    Lock() { _ostGlobRODataTableLock(); }
    ~Lock() { _ostGlobRODataTableUnLock(); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
};

bool is_private(const std::uint64_t* table_id) { return table_id == nullptr || (table_id[0] == 0 && table_id[1] == 0); }

// These work under the lock.

OstSharedData* find(const std::uint64_t* table_id) {
    if (is_private(table_id)) return nullptr;
    for (std::uint32_t i = 0; i < _GlobRODataTableCount; ++i) {
        OstSharedData& row = _GlobRODataTable[i];
        if (row.id[0] == table_id[0] && row.id[1] == table_id[1]) return &row;
    }
    return nullptr;
}

OstSharedData* append(const std::uint64_t* table_id, void* data, std::int32_t size) {
    if (_GlobRODataTableCount == table_rows) return nullptr;
    OstSharedData& row = _GlobRODataTable[_GlobRODataTableCount++];
    row = {.id = {table_id[0], table_id[1]}, .references = 1, .data = data, .size = size};
    return &row;
}

} // namespace

// One look under one lock decides: the block is there, or there is room for it, or the chunk is private. The last row
// is left to __ostCreateGlobRODataTableEntry.
void nvo::share(OstChunk* chunk) {
    if (is_private(chunk->table_id)) return;
    void* unneeded = nullptr;
    {
        const Lock lock;
        OstSharedData* row = find(chunk->table_id);
        if (row != nullptr && (row->size < 0 || row->size == chunk->size)) {
            ++row->references;
            if (row->data != chunk->data) unneeded = std::exchange(chunk->data, row->data);
        } else if (row == nullptr && _GlobRODataTableCount < table_rows - 1) {
            append(chunk->table_id, chunk->data, chunk->size);
        } else {
            chunk->table_id[0] = chunk->table_id[1] = 0;
        }
    }
    nvo_serv_deallocate(unneeded);
}

bool nvo::drop_shared(const std::uint64_t* table_id) {
    void* unused = nullptr;
    bool found = false;
    {
        const Lock lock;
        if (OstSharedData* row = find(table_id)) {
            found = true;
            if (--row->references == 0) {
                unused = row->data;
                *row = _GlobRODataTable[--_GlobRODataTableCount];
            }
        }
    }
    nvo_serv_deallocate(unused);
    return found;
}

std::int32_t __ostFindGlobRODataTableEntry(OstSharedData** row_out, const std::uint64_t* table_id) {
    const Lock lock;
    OstSharedData* row = find(table_id);
    if (row == nullptr) return OST_ERR_TABLE_MISS;
    *row_out = row;
    return OST_OK;
}

std::int32_t __ostCreateGlobRODataTableEntry(OstSharedData** row_out, const std::uint64_t* table_id, void* data) {
    const Lock lock;
    OstSharedData* row = append(table_id, data, -1);
    if (row == nullptr) return OST_ERR_TABLE_FULL;
    *row_out = row;
    return OST_OK;
}

void __ostRegisterGlobRODataReference(OstChunk* chunk, const std::uint64_t* table_id) {
    const Lock lock;
    OstSharedData* row = find(table_id);
    if (row == nullptr) return;
    ++row->references;
    chunk->data = row->data;
}

void __ostUnregisterGlobRODataReference(const std::uint64_t* table_id) { drop_shared(table_id); }

// The time stamp counter makes the id, and the word, an address by custom, keeps ids of one moment apart.
std::int32_t __ostGenerateNewGlobalRODataTableEntryId(std::uint64_t* table_id_out, std::uint64_t word) {
    OstSharedData* row = nullptr;
    table_id_out[1] = word;
    do {
        table_id_out[0] = __rdtsc();
    } while (__ostFindGlobRODataTableEntry(&row, table_id_out) == OST_OK);
    return OST_OK;
}
