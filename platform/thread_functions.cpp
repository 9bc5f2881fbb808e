// The functions of the threaded layer, fetched by name. The table is constant, so a look-up needs no lock.
#include "platform/core.h"

#include <cstring>
#include <initializer_list>

namespace {

struct ThreadFunction {
    const char* name;
    NvoServFunction address;
};

// One row a function.
constexpr std::initializer_list<ThreadFunction> thread_functions = {};

} // namespace

NvoServFunction nvo_serv_load_thread_fun(const char* name) {
    if (!name) return nullptr;
    for (const ThreadFunction& function : thread_functions)
        if (std::strcmp(function.name, name) == 0) return function.address;
    return nullptr;
}
