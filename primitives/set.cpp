#include "primitives/exports.h"
#include "primitives/workers.h"

using namespace nvo;

namespace {

template <class T> T* set_elements(const T* value, T* dst, std::int32_t len) {
    if (len > 0) fill<sizeof(T), ProcessorCache>(value, dst, static_cast<std::size_t>(len));
    return dst;
}

template <class T> std::int32_t set_array(const T& value, T* dst, std::int32_t len) {
    if (dst == nullptr) return NVO_DFT_ERR_NULL;
    if (len < 1) return NVO_DFT_ERR_LENGTH;
    set_elements(&value, dst, len);
    return NVO_DFT_OK;
}

} // namespace

#define NVO_SET(type, element)                                                               \
    std::int32_t nvo_dft_def_tyrsSet_##type(element value, element* dst, std::int32_t len) { \
        return set_array(value, dst, len);                                                   \
    }
NVO_DFT_TYPES(NVO_SET)

#define NVO_SET_WORKER(type, element)                                                                \
    element* nvo_dft_def_ownsSet_##type##_M7(const element* value, element* dst, std::int32_t len) { \
        return set_elements(value, dst, len);                                                        \
    }                                                                                                \
    element* nvo_dft_def_ownsSet_##type(element value, element* dst, std::int32_t len) {             \
        return set_elements(&value, dst, len);                                                       \
    }
NVO_DFT_SET_WORKERS(NVO_SET_WORKER)
