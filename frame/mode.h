// The thread's state and its mode word.
#pragma once

#include "frame/exports.h"

#include <cstdint>

namespace nvo {

// All that the vector layer keeps for a thread; zero when the thread starts.
struct ThreadState {
    const void* arkInterfInputVecorPointer; // start of the caller's whole input vector, or null
    std::int32_t arkErrStatus;              // last status
    ArkErrorCallBack* arkErrorCallBack;     // the thread's callback, or null
    std::uint64_t arkMode;                  // mode word in the low 32 bits; 0: not yet initialised
};

extern constinit thread_local ThreadState thread_state;

// First need of the mode word on a thread: the environment, or the default.
[[gnu::cold]] std::uint32_t initialise_mode_word();

inline std::uint32_t mode_word() {
    const auto mode = static_cast<std::uint32_t>(thread_state.arkMode);
    return mode != 0 ? mode : initialise_mode_word();
}

} // namespace nvo
