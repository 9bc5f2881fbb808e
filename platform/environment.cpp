// Reading of environment variables.
#include "platform/core.h"

#include <cstdlib>
#include <cstring>

int nvo_serv_getenv(const char* name, char* buffer, int size) {
    if (buffer && size > 0) buffer[0] = '\0';
    if (!name || !buffer) return -1;

    const char* value = std::getenv(name);
    if (!value || value[0] == '\0') return 0;

    const std::size_t length = std::strlen(value);
    if (size < 1 || length >= static_cast<std::size_t>(size)) return -1;
    std::memcpy(buffer, value, length + 1);
    return static_cast<int>(length);
}
