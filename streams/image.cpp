// Images of streams in files and memory: header, state, chunks. All fields are little-endian, as the processor is.
//
// The magic word also tells the form of the header and of the chunk records, by its lowest byte:
//
//   byte   header     chunk records
//   0      16 bytes   id, length, data
//   1      16 bytes   id, table id, length, data
//   2      20 bytes   id, table id, length, data: the one that is written
//
// and of a still older form, with the magic word's bytes in the other order, streams without chunks can be read.
//
// An image is data from outside: no length is believed before its bytes are there, and the state is looked at by the
// generator before anybody can draw from it.

#include "platform/core.h"
#include "streams/registry.h"
#include "streams/soundness.h"
#include "support/scratch.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

using namespace nvo;

namespace {

struct Header {
    std::uint32_t magic;
    std::uint16_t header_size;
    std::uint16_t reserved_1;
    std::uint32_t state_length;
    std::uint16_t chunk_count;
    std::uint16_t reserved_2;
    std::uint32_t brng;
};
static_assert(sizeof(Header) == 20);

struct OldHeader {
    std::uint32_t magic;
    std::uint16_t ignored_1;
    std::uint16_t state_length;
    std::uint16_t chunk_count;
    std::uint16_t ignored_2;
    std::uint32_t brng;
};
static_assert(sizeof(OldHeader) == 16);

constexpr std::uint32_t magic_word = 0x474E5202;
constexpr std::size_t table_id_bytes = sizeof(OstChunk::table_id);
constexpr std::size_t chunk_head_bytes = 4 + table_id_bytes + 4;

std::uint32_t lowest_byte(std::uint32_t magic) { return magic & 0xFF; }

// ---- Writing --------------------------------------------------------------------------------------------------------

Header header_of(const OstStream* stream) {
    return {.magic = magic_word,
            .header_size = sizeof(Header),
            .reserved_1 = 0,
            .state_length = static_cast<std::uint32_t>(state_length(row_of(stream))),
            .chunk_count = static_cast<std::uint16_t>(__ostGetNumChunks(stream)),
            .reserved_2 = 0,
            .brng = stream->brng};
}

// Hands the image, piece by piece, to put(data, bytes), until that returns false.
template <class Put> bool write_image(const OstStream* stream, const Header& header, Put put) {
    if (!put(&header, sizeof header) || !put(state_bytes_of(stream), header.state_length)) return false;
    for (const OstChunk* chunk = stream->chunks; chunk != nullptr; chunk = chunk->next) {
        const auto length = static_cast<std::uint32_t>(chunk->size);
        if (!put(&chunk->id, sizeof chunk->id) || !put(chunk->table_id, table_id_bytes) ||
            !put(&length, sizeof length) || !put(chunk->data, length))
            return false;
    }
    return true;
}

// ---- Reading --------------------------------------------------------------------------------------------------------

enum Kind : std::int32_t { from_file, from_memory };

// The form of fread.
using Reader = std::int32_t(void* destination, std::size_t size, std::size_t count, void* source);

struct Cursor {
    const unsigned char* base;
    std::uint32_t position;
};

} // namespace

extern "C" {
Reader __ostLoadFromFile, __ostLoadFromMemory;
void __ostValidateHeader(std::int32_t* status_inout, const Header* header, std::int32_t format_status,
                         std::int32_t version_status);
void __ostReadChunks(std::int32_t* status_inout, void* source, const Header* header, OstStream* stream,
                     std::int32_t kind);
}

std::int32_t __ostLoadFromFile(void* destination, std::size_t size, std::size_t count, void* source) {
    const std::size_t read = std::fread(destination, size, count, static_cast<std::FILE*>(source));
    return read == count ? OST_OK : OST_ERR_FILE_READ;
}

std::int32_t __ostLoadFromMemory(void* destination, std::size_t size, std::size_t count, void* source) {
    Cursor& cursor = *static_cast<Cursor*>(source);
    std::memcpy(destination, cursor.base + cursor.position, size * count);
    cursor.position += static_cast<std::uint32_t>(size * count);
    return OST_OK;
}

namespace {

constexpr Reader* LoadDispatch[] = {__ostLoadFromFile, __ostLoadFromMemory}; // by Kind

template <class T> std::int32_t read_field(T& field, Kind kind, void* source) {
    return LoadDispatch[kind](&field, sizeof field, 1, source);
}

// The header in its current form, whatever the form in the image.
std::int32_t read_header(Header& header, Kind kind, void* source) {
    std::uint32_t magic = 0;
    if (const std::int32_t status = read_field(magic, kind, source)) return status;
    Reader* const read = LoadDispatch[kind];
    if (lowest_byte(magic) == 2) {
        header.magic = magic;
        return read(&header.header_size, sizeof header - sizeof magic, 1, source);
    }
    OldHeader old{};
    if (const std::int32_t status = read(&old.ignored_1, sizeof old - sizeof magic, 1, source)) return status;
    header = {.magic = magic,
              .header_size = sizeof(Header),
              .reserved_1 = 0,
              .state_length = old.state_length,
              .chunk_count = old.chunk_count,
              .reserved_2 = 0,
              .brng = old.brng};
    return OST_OK;
}

// Reads a block whose length is a claim of the image: it grows with the bytes that are really there.
std::int32_t read_block(Scratch<unsigned char>& block, std::size_t length, Kind kind, void* source) {
    constexpr std::size_t believed = std::size_t{1} << 20;
    std::size_t have = 0;
    std::size_t room = std::min(length, believed);
    block = Scratch<unsigned char>(room);
    for (;;) {
        if (!block) return OST_ERR_NO_MEMORY;
        if (const std::int32_t status = LoadDispatch[kind](block.get() + have, 1, room - have, source)) return status;
        if (room == length) return OST_OK;
        have = room;
        room = std::min(length, 2 * room);
        Scratch<unsigned char> larger(room);
        if (larger) std::memcpy(larger.get(), block.get(), have);
        block = std::move(larger);
    }
}

std::int32_t read_chunk(OstStream* stream, std::uint32_t form, Kind kind, void* source) {
    std::uint32_t id = 0;
    if (const std::int32_t status = read_field(id, kind, source)) return status;
    std::uint64_t table_id[2] = {};
    if (form > 2) return OST_ERR_FILE_READ;
    if (form != 0) {
        if (const std::int32_t status = read_field(table_id, kind, source)) return status;
    }
    std::uint32_t length = 0;
    if (const std::int32_t status = read_field(length, kind, source)) return status;
    if (length > std::numeric_limits<decltype(OstChunk::size)>::max()) return OST_ERR_FILE_READ;
    Scratch<unsigned char> data;
    if (const std::int32_t status = read_block(data, length, kind, source)) return status;
    const auto size = static_cast<std::int32_t>(length);
    if (const std::int32_t status = __ostAddChunk(stream, id, table_id, data.get(), size)) return status;
    data.release(); // the chunk's now
    return OST_OK;
}

// Rows of generators registered later have no judge.
bool is_sound(const OstStream* stream, const DecodedId& decoded) {
    using Judge = bool(const OstStream*);
    constexpr Judge* judges[] = {
#define GENERATOR(NAME, Entry, state_bytes, seed_words, has_zero, word_bytes, bits, sets) is_sound_##NAME,
#include "nvo_ark/generators.def"
    };
    const OstInitEntry* entry = decoded.row().init_entry;
    const OstBrng* table = DecodedId(OST_BRNG_MCG31M1).table;
    for (int row = 0; row < OST_BUILT_IN_ROWS; ++row) {
        if (table[row].init_entry == entry) return judges[row](stream);
    }
    return true;
}

// The state and the chunks of a new stream.
std::int32_t read_stream(OstStream* stream, const Header& header, const DecodedId& decoded, std::int32_t format_status,
                         Kind kind, void* source) {
    std::int32_t status = LoadDispatch[kind](state_bytes_of(stream), 1, header.state_length, source);
    if (status != OST_OK) return status;
    if (header.brng == OST_BRNG_NONDETERM && __ostCPUisRDRAND() == 0) return OST_ERR_NO_RDRAND;
    if (header.brng == OST_BRNG_ARS5 && __ostCPUisAES() == 0) return OST_ERR_NO_AES;
    __ostReadChunks(&status, source, &header, stream, kind);
    if (status == OST_OK && !is_sound(stream, decoded)) status = format_status;
    return status;
}

std::int32_t load(OstStream** stream_out, Kind kind, void* source, std::int32_t format_status,
                  std::int32_t version_status) {
    Header header{};
    std::int32_t status = read_header(header, kind, source);
    __ostValidateHeader(&status, &header, format_status, version_status);
    if (status != OST_OK) return status;
    const DecodedId decoded(header.brng);
    status = __ostAllocateStream(stream_out, decoded.table, header.brng, decoded.index, decoded.offset);
    if (status != OST_OK) return status;
    status = read_stream(*stream_out, header, decoded, format_status, kind, source);
    if (status != OST_OK) __ostDeleteStream(stream_out);
    return status;
}

// A path as its caller gives it: with a length, or NUL-terminated if that is negative.
class Path {
public:
    Path(const char* path, std::int32_t length) : name_(path) {
        if (length < 0) return;
        const auto characters = static_cast<std::size_t>(length);
        copy_ = Scratch<char>(characters + 1);
        name_ = copy_.get();
        if (!copy_) return;
        if (length > 0) std::memcpy(copy_.get(), path, characters);
        copy_[characters] = '\0';
    }
    const char* c_str() const { return name_; } // null if there was no memory

private:
    Scratch<char> copy_;
    const char* name_;
};

} // namespace

void __ostValidateHeader(std::int32_t* status_inout, const Header* header, std::int32_t format_status,
                         std::int32_t version_status) {
    if (*status_inout < 0) return;
    *status_inout = [&]() -> std::int32_t {
        constexpr std::uint32_t name = 0x474E52;
        constexpr std::uint32_t last_old_magic = 0x2FFFFFF;
        const std::uint32_t magic = header->magic;
        if (magic >> 8 != name && (magic & 0xFFFFFF) != name) return format_status;
        if (lowest_byte(magic) > 2 && magic > last_old_magic) return version_status;
        const DecodedId decoded(header->brng);
        if (decoded.status() != OST_OK) return format_status;
        if (header->state_length != state_length(decoded.row())) return format_status;
        return header->header_size < sizeof(Header) ? format_status : OST_OK;
    }();
}

void __ostReadChunks(std::int32_t* status_inout, void* source, const Header* header, OstStream* stream,
                     std::int32_t kind) {
    for (unsigned i = 0; *status_inout >= 0 && i < header->chunk_count; ++i) {
        *status_inout = read_chunk(stream, lowest_byte(header->magic), static_cast<Kind>(kind), source);
    }
}

std::int32_t __ostGetStreamSize(const OstStream* stream) {
    std::size_t bytes = 0;
    write_image(stream, header_of(stream), [&bytes](const void*, std::size_t piece) {
        bytes += piece;
        return true;
    });
    return static_cast<std::int32_t>(bytes);
}

std::int32_t __ostSaveStreamF(const OstStream* stream, const char* path, std::int32_t path_length) {
    const Path name(path, path_length);
    if (name.c_str() == nullptr) return OST_ERR_NO_MEMORY;
    std::FILE* file = std::fopen(name.c_str(), "wb");
    if (file == nullptr) return OST_ERR_FILE_OPEN;
    const bool written = write_image(stream, header_of(stream), [file](const void* data, std::size_t bytes) {
        return std::fwrite(data, 1, bytes, file) == bytes;
    });
    if (std::fclose(file) != 0) return OST_ERR_FILE_CLOSE;
    return written ? OST_OK : OST_ERR_FILE_WRITE;
}

std::int32_t __ostLoadStreamF(OstStream** stream_out, const char* path, std::int32_t path_length) {
    *stream_out = nullptr;
    const Path name(path, path_length);
    if (name.c_str() == nullptr) return OST_ERR_NO_MEMORY;
    std::FILE* file = std::fopen(name.c_str(), "rb");
    if (file == nullptr) return OST_ERR_FILE_OPEN;
    std::int32_t status = load(stream_out, from_file, file, OST_ERR_FILE_FORMAT, OST_ERR_FILE_VERSION);
    if (std::fclose(file) != 0) {
        status = OST_ERR_FILE_CLOSE;
        if (*stream_out != nullptr) __ostDeleteStream(stream_out);
    }
    return status;
}

// The reserved fields of the caller's block stay as they are.
std::int32_t __ostSaveStreamM(const OstStream* stream, void* memory) {
    Header header = header_of(stream);
    auto* next = static_cast<unsigned char*>(memory);
    std::memcpy(&header.reserved_1, next + offsetof(Header, reserved_1), sizeof header.reserved_1);
    std::memcpy(&header.reserved_2, next + offsetof(Header, reserved_2), sizeof header.reserved_2);
    write_image(stream, header, [&next](const void* data, std::size_t bytes) {
        if (bytes != 0) std::memcpy(next, data, bytes);
        next += bytes;
        return true;
    });
    return OST_OK;
}

std::int32_t __ostLoadStreamM(OstStream** stream_out, const void* memory) {
    *stream_out = nullptr;
    Cursor cursor{static_cast<const unsigned char*>(memory), 0};
    return load(stream_out, from_memory, &cursor, OST_ERR_MEMORY_FORMAT, OST_ERR_MEMORY_FORMAT);
}
