// How the thread treats bad elements, for as long as an object lives.
#pragma once

#include "library.h"
#include "nvo_ark/vector_math.h"

#include <cstdint>
#include <string>

class ErrorMode {
public:
    // `mode` replaces the error field of the thread's mode word. It is set behind the callback, since setting a
    // callback changes the field, and so it is put back behind it.
    ErrorMode(const Library& library, std::uint32_t mode, ArkErrorCallBack* callback = nullptr)
        : set_mode(NVO_FIND(library, _arkSetMode)), set_callback(NVO_FIND(library, _arkSetErrorCallBack)),
          saved_mode(NVO_FIND(library, _arkGetMode)() & ARK_MODE_ERRORS), saved_callback(set_callback(callback)) {
        set_mode(mode);
    }
    ErrorMode(const ErrorMode&) = delete;
    ErrorMode& operator=(const ErrorMode&) = delete;
    ~ErrorMode() {
        set_callback(saved_callback);
        set_mode(saved_mode);
    }

private:
    decltype(_arkSetMode)* set_mode;
    decltype(_arkSetErrorCallBack)* set_callback;
    std::uint32_t saved_mode;
    ArkErrorCallBack* saved_callback;
};

// An error status as the tour writes it.
inline std::string status_text(int status) {
    static constexpr const char* names[] = {"0", "1 domain", "2 singularity", "3 overflow", "4 underflow"};
    return names[status];
}
