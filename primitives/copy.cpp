#include "primitives/exports.h"
#include "primitives/workers.h"

using namespace nvo;

namespace {

template <class T> std::int32_t copy_array(const T* src, T* dst, std::int32_t len) {
    if (src == nullptr || dst == nullptr) return NVO_DFT_ERR_NULL;
    if (len < 1) return NVO_DFT_ERR_LENGTH;
    copy<ProcessorCache>(src, dst, static_cast<std::size_t>(len) * sizeof(T));
    return NVO_DFT_OK;
}

} // namespace

#define NVO_COPY(type, element)                                                                    \
    std::int32_t nvo_dft_def_tyrsCopy_##type(const element* src, element* dst, std::int32_t len) { \
        return copy_array(src, dst, len);                                                          \
    }
NVO_DFT_TYPES(NVO_COPY)

std::uint8_t* nvo_dft_def_ownsCopy_8u(const std::uint8_t* src, std::uint8_t* dst, std::int32_t len) {
    if (len > 0) copy<ProcessorCache>(src, dst, static_cast<std::size_t>(len));
    return dst;
}
