// The integrators: integrals of each model between pairs of limits whose cells are known.
#pragma once

#include "fitting/task.h"

#include <cstdint>

namespace nvo::fitting {

// The user's integrals of the parts of an interval: left of the partition, right of it, inside it. Any may be null.
template <Real R> struct PartCallbacks {
    struct Part {
        std::int32_t (*function)(const std::int64_t* n, const std::int64_t* lcell, const R* llim,
                                 const std::int64_t* rcell, const R* rlim, R* r, void* params, void* reserved);
        void* params;
    };
    Part left, right, inner;

    bool any() const { return left.function || right.function || inner.function; }
    bool all() const { return left.function && right.function && inner.function; }
};

// What the last callback returned. A negative status ends the work.
struct LastStatus {
    std::int32_t status = 0;
    bool called = false;
};

// Limits of n pairs, each with its cell, 0 to nx. Pair i goes from left[i] to right[i], in either direction.
template <Real R> struct LimitPairs {
    std::int64_t n;
    const R* left;
    const std::int64_t* left_cell;
    const R* right;
    const std::int64_t* right_cell;

    // Pairs first, ..., end - 1.
    LimitPairs part(std::int64_t first, std::int64_t end) const {
        return {end - first, left + first, left_cell + first, right + first, right_cell + first};
    }
};

// r[i] gets the integral of one function over pair i.
template <Real R> using Integrator = void(DFTask1D* task, std::int64_t function, const LimitPairs<R>* pairs, R* r);

// Row i, the ny elements from rows[i * ny], gets the integrals of all functions over pair i. In row n callbacks leave
// their results.
template <Real R>
using CallbackIntegrator = void(DFTask1D* task, const PartCallbacks<R>* callbacks, const LimitPairs<R>* pairs, R* rows,
                                LastStatus* last);

// The integrators' names, in the order of the dispatch tables: linear, quadratic, cubic, Subbotin, arbitrary, and the
// steps continuous from the left and from the right.
enum class IntegralModel { Linear, Quad, Cub, Subb, Arb, PwL, PwR };
#define NVO_DF_INTEGRATORS(KIND, t, real) \
    KIND(t, real, Linear)                 \
    KIND(t, real, Quad)                   \
    KIND(t, real, Cub)                    \
    KIND(t, real, Subb)                   \
    KIND(t, real, Arb)                    \
    KIND(t, real, PwL)                    \
    KIND(t, real, PwR)
inline constexpr int integral_models = 7;

} // namespace nvo::fitting

#pragma GCC visibility push(default)
extern "C" {
#define NVO_DF_DECLARE(t, real, Kind)                                           \
    nvo::fitting::Integrator<real> nvo_df_kernel_##t##_Integrate##Kind##Spline; \
    nvo::fitting::CallbackIntegrator<real> nvo_df_kernel_##t##_Integrate##Kind##SplineCB;
NVO_DF_INTEGRATORS(NVO_DF_DECLARE, s, float)
NVO_DF_INTEGRATORS(NVO_DF_DECLARE, d, double)
#undef NVO_DF_DECLARE
}
#pragma GCC visibility pop
