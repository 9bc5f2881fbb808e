// Data fitting tasks in tests: the entries of a precision under one name, a task that deletes itself, teams that are
// looked at, and allocations that fail.
#pragma once

#include "examples/team/team.h"
#include "tests/support/allocations.h"

#include "nvo_ark/fitting.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <stdexcept>
#include <vector>

namespace nvo::tests {

using Precisions = testing::Types<float, double>;

template <class R> struct Fit;
#define NVO_FIT(t, real)                                                                 \
    template <> struct Fit<real> {                                                       \
        using SearchCallback = nvo_df_##t##SearchCallback;                               \
        using InterpolateCallback = nvo_df_##t##InterpolateCallback;                     \
        using IntegrateCallback = nvo_df_##t##IntegrateCallback;                         \
        static constexpr auto new_task = nvo_df_kernel_##t##NewTask1D;                   \
        static constexpr auto edit = nvo_df_kernel_##t##EditPtr;                         \
        static constexpr auto edit_index = nvo_df_kernel_##t##EditIdxPtr;                \
        static constexpr auto edit_spline = nvo_df_kernel_##t##EditPPSpline1D;           \
        static constexpr auto query = nvo_df_kernel_##t##QueryPtr;                       \
        static constexpr auto query_index = nvo_df_kernel_##t##QueryIdxPtr;              \
        static constexpr auto linear = nvo_df_kernel_##t##DFLinearSpline1D;              \
        static constexpr auto quadratic = nvo_df_kernel_##t##DFQuadraticSpline1D;        \
        static constexpr auto natural = nvo_df_kernel_##t##DFNaturalCubicSpline1D;       \
        static constexpr auto default_cubic = nvo_df_kernel_##t##DFDefaultCubicSpline1D; \
        static constexpr auto akima = nvo_df_kernel_##t##DFAkimaCubicSpline1D;           \
        static constexpr auto bessel = nvo_df_kernel_##t##DFBesselCubicSpline1D;         \
        static constexpr auto hyman = nvo_df_kernel_##t##DFHymanCubicSpline1D;           \
        static constexpr auto hermite = nvo_df_kernel_##t##DFHermiteCubicSpline1D;       \
        static constexpr auto search = nvo_df_kernel_##t##DFSearch1D;                    \
        static constexpr auto interpolate = nvo_df_kernel_##t##DFInterpolate1D;          \
        static constexpr auto integrate = nvo_df_kernel_##t##DFIntegrate1D;              \
    };
NVO_FIT(s, float)
NVO_FIT(d, double)
#undef NVO_FIT

// FitTask<double> task(x, DF_GRID_IRREGULAR, ny, y, DF_Y_BY_ROWS). It refers to x and y: keep them.
template <class R> class FitTask {
public:
    FitTask(std::int64_t nx, const R* x, std::uint64_t x_hint, std::int64_t ny, const R* y,
            std::uint64_t y_hint = DF_Y_DEFAULT, std::uint32_t cell_wide = 0) {
        if (Fit<R>::new_task(&task_, nx, x, x_hint, ny, y, y_hint, cell_wide) != DF_ST_OK) {
            nvo_df_kernel_DeleteTask(&task_);
            throw std::runtime_error("a task can't be created");
        }
    }
    FitTask(const FitTask&) = delete;
    FitTask& operator=(const FitTask&) = delete;
    ~FitTask() { nvo_df_kernel_DeleteTask(&task_); }

    // Coefficient blocks of the task's own size are the caller's.
    FitTask& spline(std::int64_t order, std::int64_t type, R* coeff, std::uint64_t bc_type = 0, const R* bc = nullptr,
                    std::uint64_t ic_type = 0, const R* ic = nullptr, std::uint64_t coeff_hint = 0) {
        if (Fit<R>::edit_spline(task_, order, type, bc_type, bc, ic_type, ic, coeff, coeff_hint) != DF_ST_OK)
            throw std::runtime_error("a spline can't be described");
        return *this;
    }
    DFTask1D* get() const { return task_; }

private:
    DFTask1D* task_ = nullptr;
};

// A descriptor that notes what is asked of it, and runs the items backwards on the calling thread.
struct RecordedTeam {
    struct Run {
        std::int64_t items, threads;
        bool operator==(const Run&) const = default;
    };
    static inline std::vector<Run> runs;
    static inline std::int32_t threads = 3;

    static void run_for(std::int64_t items, std::int64_t team, void* context, OstTeamBody* body) {
        runs.push_back({items, team});
        for (std::int64_t i = items - 1; i >= 0; --i) body(i, i % team, team, context);
    }
    static constexpr OstThreading descriptor = {run_for, nullptr, nullptr, nullptr, [] { return threads; }};
};

// A call makes so many allocations, and each of them may fail.
template <class Call> void expect_allocations(long count, Call call) {
    EXPECT_EQ(count, fail_each_allocation(DF_ST_NO_MEMORY, call));
}

} // namespace nvo::tests
