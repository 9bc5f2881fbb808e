// The functions of the threaded layer, fetched by name. The table is constant, so a look-up needs no lock.
#include "platform/core.h"
#include "platform/tridiagonal.h"

#include <cstring>

namespace {

struct ThreadFunction {
    const char* name;
    NvoServFunction address;
};

// One row a function.
#define ROW(name) \
    { #name, (NvoServFunction)(name) }
const ThreadFunction thread_functions[] = {
    ROW(nvo_lapack_ps_sdttrfb), ROW(nvo_lapack_ps_ddttrfb), // factorise a tridiagonal matrix
    ROW(nvo_lapack_ps_sdtsvb),  ROW(nvo_lapack_ps_ddtsvb),  // factorise and solve
    ROW(nvo_lapack_sdttrsb),    ROW(nvo_lapack_ddttrsb),    // solve with the factors
};
#undef ROW

} // namespace

NvoServFunction nvo_serv_load_thread_fun(const char* name) {
    if (!name) return nullptr;
    for (const ThreadFunction& function : thread_functions)
        if (std::strcmp(function.name, name) == 0) return function.address;
    return nullptr;
}
