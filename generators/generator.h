// What the files of the generators share: how they reach their state, and the exported entries made from one block
// function.
#pragma once

#include "streams/exports.h"
#include "streams/soundness.h"

#include <cstddef>
#include <cstdint>

namespace nvo {

// A stream record with the state of a generator, S. Images hold the state as it lies in memory, padding included.
template <class S> struct StreamOf {
    OstStream head;
    S state;
};
template <class S> S& state_of(OstStream* stream) { return reinterpret_cast<StreamOf<S>*>(stream)->state; }
template <class S> const S& state_of(const OstStream* stream) {
    return reinterpret_cast<const StreamOf<S>*>(stream)->state;
}

// The parameter set that the stream's id names.
inline int parameter_set(const OstStream* stream) {
    std::int32_t index = 0, offset = 0;
    __ostGetBrngBaseOffset(stream->brng, &index, &offset);
    return offset;
}

} // namespace nvo
