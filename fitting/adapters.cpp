#include "fitting/adapters.h"

#include "platform/core.h"
#include "platform/tridiagonal.h"

#include <atomic>

namespace {

// Two threads that fetch at once store the same address, and what it points to was there before: relaxed order is
// enough.
template <class Solver> Solver* fetch(std::atomic<Solver*>& address, const char* name) {
    Solver* solver = address.load(std::memory_order_relaxed);
    if (!solver) {
        solver = reinterpret_cast<Solver*>(nvo_serv_load_thread_fun(name));
        if (solver) address.store(solver, std::memory_order_relaxed);
    }
    return solver;
}

} // namespace

#define NVO_TRIDIAGONAL_ADAPTERS(t, real)                                                                      \
    void t##dttrfb_4dfl(const std::int32_t* n, real* dl, real* d, real* du, std::int32_t* info) {              \
        static constinit std::atomic<decltype(nvo_lapack_ps_##t##dttrfb)*> FunctionAddress{nullptr};           \
        auto* solver = fetch(FunctionAddress, "nvo_lapack_ps_" #t "dttrfb");                                   \
        if (!solver) return;                                                                                   \
        const std::int64_t wide_n = *n;                                                                        \
        std::int64_t wide_info = 0;                                                                            \
        solver(&wide_n, dl, d, du, &wide_info);                                                                \
        *info = static_cast<std::int32_t>(wide_info);                                                          \
    }                                                                                                          \
    void t##dtsvb_4dfl(const std::int32_t* n, const std::int32_t* nrhs, real* dl, real* d, real* du, real* b,  \
                       const std::int32_t* ldb, std::int32_t* info) {                                          \
        static constinit std::atomic<decltype(nvo_lapack_ps_##t##dtsvb)*> FunctionAddress{nullptr};            \
        auto* solver = fetch(FunctionAddress, "nvo_lapack_ps_" #t "dtsvb");                                    \
        if (!solver) return;                                                                                   \
        const std::int64_t wide_n = *n, wide_nrhs = *nrhs, wide_ldb = *ldb;                                    \
        std::int64_t wide_info = 0;                                                                            \
        solver(&wide_n, &wide_nrhs, dl, d, du, b, &wide_ldb, &wide_info);                                      \
        *info = static_cast<std::int32_t>(wide_info);                                                          \
    }                                                                                                          \
    void t##dttrsb_4dfl(const char* trans, const std::int32_t* n, const std::int32_t* nrhs, const real* dl,    \
                        const real* d, const real* du, real* b, const std::int32_t* ldb, std::int32_t* info) { \
        static constinit std::atomic<decltype(nvo_lapack_##t##dttrsb)*> FunctionAddress{nullptr};              \
        auto* solver = fetch(FunctionAddress, "nvo_lapack_" #t "dttrsb");                                      \
        if (!solver) return;                                                                                   \
        const std::int64_t wide_n = *n, wide_nrhs = *nrhs, wide_ldb = *ldb;                                    \
        std::int64_t wide_info = 0;                                                                            \
        solver(trans, &wide_n, &wide_nrhs, dl, d, du, b, &wide_ldb, &wide_info, 1);                            \
        *info = static_cast<std::int32_t>(wide_info);                                                          \
    }
NVO_TRIDIAGONAL_ADAPTERS(s, float)
NVO_TRIDIAGONAL_ADAPTERS(d, double)
