// Around a call of vector math from inside the library: denormals are left alone, and the caller's mode is put back.
#pragma once

#include "nvo_ark/vector_math.h"

#include <cstdint>

namespace nvo {

class VectorCall {
public:
    VectorCall() : mode_saved_(nvo_ark_kernel_SetMode(ARK_DENORMALS_KEEP)) {}
    ~VectorCall() { nvo_ark_kernel_SetMode(mode_saved_); }
    VectorCall(const VectorCall&) = delete;
    VectorCall& operator=(const VectorCall&) = delete;

private:
    std::uint32_t mode_saved_;
};

} // namespace nvo
