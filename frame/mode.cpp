// The mode word: its environment variable, and the calls that read and change it.

#include "frame/mode.h"

#include "platform/core.h"

#include <cstring>
#include <initializer_list>

namespace nvo {

constinit thread_local ThreadState thread_state{};

namespace {

constexpr std::uint64_t not_set = ~std::uint64_t{0};

struct ModeToken {
    char text[20]; // without the prefix "ARK_"
    int length;
    std::uint32_t value;
};

// Searched in this order. The length of row 5 is part of the grammar: with its T the word is malformed.
constexpr ModeToken mapModeS_N[18] = {
    {"LA", 2, ARK_LA},
    {"HA", 2, ARK_HA},
    {"EP", 2, ARK_EP},
    {"DEFAULT_PRECISION", 17, 0},
    {"FLOAT_CONSISTENT", 16, ARK_FLOAT_CONSISTENT},
    {"DOUBLE_CONSISTEN", 16, ARK_DOUBLE_CONSISTEN},
    {"RESTORE", 7, ARK_RESTORE},
    {"ERRMODE_IGNORE", 14, ARK_ERRMODE_IGNORE},
    {"ERRMODE_ERRNO", 13, ARK_ERRMODE_ERRNO},
    {"ERRMODE_STDERR", 14, ARK_ERRMODE_STDERR},
    {"ERRMODE_EXCEPT", 14, ARK_ERRMODE_EXCEPT},
    {"ERRMODE_CALLBACK", 16, ARK_ERRMODE_CALLBACK},
    {"ERRMODE_NOERR", 13, ARK_ERRMODE_NOERR},
    {"ERRMODE_DEFAULT", 15, ARK_ERRMODE_DEFAULT},
    {"TRAP_INVALID", 12, ARK_TRAP_INVALID},
    {"TRAP_DIVBYZERO", 14, ARK_TRAP_DIVBYZERO},
    {"TRAP_OVERFLOW", 13, ARK_TRAP_OVERFLOW},
    {"TRAP_UNDERFLOW", 14, ARK_TRAP_UNDERFLOW},
};

constexpr int value_bytes = 256; // of the variable, its NUL included

// The row whose text stands at text[position], or null.
const ModeToken* token_at(const char* text, int position) {
    for (const ModeToken& token : mapModeS_N) {
        if (position + token.length > value_bytes - 1) continue;
        if (std::memcmp(text + position, token.text, static_cast<std::size_t>(token.length)) == 0) return &token;
    }
    return nullptr;
}

// Value of one or more "ARK_" tokens with single commas between them. text is filled with NULs up to 4 bytes behind
// value_bytes, so that the prefix can be compared at any position that the walk reaches.
std::uint64_t parse_mode(const char* text) {
    std::uint64_t mode = 0;
    int position = 0;
    for (;;) {
        if (std::memcmp(text + position, "ARK_", 4) != 0) return not_set;
        position += 4;
        const ModeToken* token = token_at(text, position);
        if (token == nullptr) return not_set;
        mode |= token->value;
        position += token->length;
        if (text[position] == '\0') return mode;
        if (text[position] != ',') return not_set;
        ++position;
    }
}

NvoServLock env_read_lock; // held for the call of nvo_serv_getenv only

} // namespace

std::uint32_t initialise_mode_word() {
    const std::uint64_t value = nvo_ark_kernel_ReadEnvVarMode();
    auto mode = static_cast<std::uint32_t>(value);
    if (value == not_set) mode = ARK_MODE_DEFAULT;
    if ((mode & ARK_MODE_ACCURACY) == 0) mode |= ARK_HA;
    if ((mode & ARK_MODE_ERRORS) == 0) mode |= ARK_ERRMODE_DEFAULT;
    thread_state.arkMode = mode;
    return mode;
}

} // namespace nvo

using nvo::mode_word;
using nvo::thread_state;

extern "C" {

std::uint64_t nvo_ark_kernel_ReadEnvVarMode() {
    char value[nvo::value_bytes + 4] = {};
    nvo_serv_lock(&nvo::env_read_lock);
    const int length = nvo_serv_getenv("NVO_ARK_MODE", value, nvo::value_bytes);
    nvo_serv_unlock(&nvo::env_read_lock);
    return length < 1 ? nvo::not_set : nvo::parse_mode(value);
}

std::uint32_t nvo_ark_kernel_GetMode() { return mode_word(); }
std::uint32_t _arkGetMode() { return mode_word(); }

std::uint32_t nvo_ark_kernel_SetMode(std::uint32_t mode) {
    const std::uint32_t old = mode_word();
    for (std::uint32_t field :
         {ARK_MODE_ACCURACY, ARK_MODE_ERRORS, ARK_MODE_DENORMALS, ARK_MODE_TRAPS, ARK_MODE_RESERVED}) {
        if ((mode & field) != 0) thread_state.arkMode = (thread_state.arkMode & ~std::uint64_t{field}) | (mode & field);
    }
    return old;
}
std::uint32_t _arkSetMode(std::uint32_t mode) { return nvo_ark_kernel_SetMode(mode); }

std::int32_t nvo_ark_kernel_GetTTableIndex() { return nvo_ark_kernel_GetTTableIndexM(0, mode_word()); }
std::int32_t nvo_ark_kernel_GetTTableIndexM(std::uint32_t, std::uint32_t mode) {
    return static_cast<std::int32_t>(mode & ARK_MODE_ACCURACY) - 1;
}

std::int32_t dll_cpu_version() { return 1; }
}
