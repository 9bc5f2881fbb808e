// The registry: what a generator's id means.

#include "streams/registry.h"

#include <array>

using namespace nvo;

namespace {

constexpr std::uint32_t first_packed_id = 0x100000;
constexpr int offset_bits = 20;
constexpr std::int32_t last_legacy_row = 280;
constexpr std::int32_t first_legacy_wh = 4;
constexpr std::int32_t last_legacy_wh = 276;

using Rows = std::array<OstBrng, registry_rows>;

constexpr std::array<OstBrng, OST_BUILT_IN_ROWS> built_in = {{
#define GENERATOR(NAME, Entry, state_bytes, seed_words, has_zero, word_bytes, bits, sets)                    \
    {state_bytes,       seed_words,        has_zero,         word_bytes, bits, __ostBRng##Entry##InitStream, \
     __ostsBRng##Entry, __ostdBRng##Entry, __ostiBRng##Entry},
#include "nvo_ark/generators.def"
}};

constexpr Rows legacy_rows() {
    Rows rows{};
    for (int row = OST_ROW_MCG31M1; row <= OST_ROW_MCG59; ++row) rows[row] = built_in[row];
    for (int row = first_legacy_wh; row <= last_legacy_wh; ++row) rows[row] = built_in[OST_ROW_WH];
    rows[last_legacy_wh + 1] = built_in[OST_ROW_SOBOL];
    rows[last_legacy_wh + 2] = built_in[OST_ROW_NIEDERREITER];
    return rows;
}
constexpr Rows current_rows() {
    Rows rows{};
    for (int row = 0; row < OST_BUILT_IN_ROWS; ++row) rows[row] = built_in[row];
    return rows;
}

constexpr std::array<std::int32_t, registry_rows> parameter_sets() {
    std::array<std::int32_t, registry_rows> sets{};
    int row = 0;
#define GENERATOR(NAME, Entry, state_bytes, seed_words, has_zero, word_bytes, bits, sets_) sets[row++] = sets_;
#include "nvo_ark/generators.def"
    return sets;
}

} // namespace

// The older table, by legacy ids; the current one, which registrations extend; its count of rows and of the parameter
// sets of each row.
extern "C" {
extern const Rows __RegBrngs;
extern Rows __RegBrngsNew;
extern std::int32_t NRegBrngsNew;
extern std::array<std::int32_t, registry_rows> NumOffsets;
}
constinit const Rows __RegBrngs = legacy_rows();
constinit Rows __RegBrngsNew = current_rows();
constinit std::int32_t NRegBrngsNew = OST_BUILT_IN_ROWS;
constinit std::array<std::int32_t, registry_rows> NumOffsets = parameter_sets();

const OstBrng* __ostGetBrngBaseOffset(std::uint32_t id, std::int32_t* index_out, std::int32_t* offset_out) {
    const auto signed_id = static_cast<std::int32_t>(id);
    if (signed_id >= static_cast<std::int32_t>(first_packed_id)) {
        *index_out = static_cast<std::int32_t>(id >> offset_bits) - 1;
        *offset_out = static_cast<std::int32_t>(id & ((1U << offset_bits) - 1));
        return __RegBrngsNew.data();
    }
    const bool is_wh = signed_id >= first_legacy_wh && signed_id <= last_legacy_wh;
    *index_out = is_wh ? first_legacy_wh : signed_id;
    *offset_out = is_wh ? signed_id - first_legacy_wh : 0;
    return __RegBrngs.data();
}

// A negative legacy id has no row at all.
std::int32_t __ostIsBrngValid(const OstBrng* table, std::int32_t index, std::int32_t offset) {
    if (index < 0) return OST_ERR_BAD_BRNG;
    const bool valid =
        table == __RegBrngs.data() ? index <= last_legacy_row : index < NRegBrngsNew && offset < NumOffsets[index];
    return valid ? OST_OK : OST_ERR_BAD_BRNG;
}

std::int32_t __ostGetBrngProperties(std::uint32_t id, OstBrng* properties_out) {
    const DecodedId decoded(id);
    if (decoded.status() != OST_OK) return OST_ERR_BAD_BRNG;
    *properties_out = decoded.row();
    return OST_OK;
}

std::int32_t __ostGetNumRegBrngs() { return NRegBrngsNew; }

std::int32_t __ostRegisterBrng(const OstBrng* properties) {
    const OstBrng& p = *properties;
    if (p.state_bytes < 0) return OST_ERR_REG_STATE_SIZE;
    if (p.word_bytes != 4 && p.word_bytes != 8 && p.word_bytes != 16) return OST_ERR_REG_WORD_SIZE;
    if (p.seed_words < 1) return OST_ERR_REG_SEEDS;
    if (p.bits < 1) return OST_ERR_REG_BITS;
    if (p.init_entry == nullptr || p.s_entry == nullptr || p.d_entry == nullptr || p.i_entry == nullptr)
        return OST_ERR_NULL_POINTER;
    if (NRegBrngsNew == registry_rows) return OST_ERR_BAD_BRNG; // no row is left
    __RegBrngsNew[NRegBrngsNew] = p;
    NumOffsets[NRegBrngsNew] = 1;
    ++NRegBrngsNew;
    return NRegBrngsNew << offset_bits;
}
