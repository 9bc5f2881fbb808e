#include "primitives/exports.h"
#include "primitives/workers.h"

using namespace nvo;

namespace {

void clear(void* dst, std::size_t bytes) {
    const std::uint8_t nothing = 0;
    fill<1, ProcessorCache>(&nothing, dst, bytes);
}

template <class T> std::int32_t zero_array(T* dst, std::int32_t len) {
    if (dst == nullptr) return NVO_DFT_ERR_NULL;
    if (len < 1) return NVO_DFT_ERR_LENGTH;
    clear(dst, static_cast<std::size_t>(len) * sizeof(T));
    return NVO_DFT_OK;
}

} // namespace

#define NVO_ZERO(type, element) \
    std::int32_t nvo_dft_def_tyrsZero_##type(element* dst, std::int32_t len) { return zero_array(dst, len); }
NVO_DFT_TYPES(NVO_ZERO)

std::uint8_t* nvo_dft_def_ownsZero_8u(std::uint8_t* dst, std::int32_t len) {
    if (len > 0) clear(dst, static_cast<std::size_t>(len));
    return dst;
}
