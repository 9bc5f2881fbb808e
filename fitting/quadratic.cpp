// Quadratic splines: the entry of both kinds, and the standard kind. That one is a parabola in each cell, with a
// continuous first derivative; its value v in the middle of a cell follows from the one in the cell before.
#include "fitting/construct.h"
#include "fitting/subbotin.h"

#include <cstdint>

namespace nvo::fitting {

namespace {

// What differs on listed and even grids: the middle of the next cell, and the coefficients of a cell.
template <Real R, Grid grid> class StandardCells;

template <Real R> class StandardCells<R, Grid::listed> {
public:
    explicit StandardCells(const TaskRecord<R>& task) : x_(task) {}

    // The middle of cell j, from the cell before.
    R middle(std::int64_t j, R before, R left, R right, R last_middle) const {
        const R h = x_.width(j), last_h = x_.width(j - 1);
        return (h / 4) * ((3 * left + before) / last_h + (3 * left + right) / h) - last_middle * h / last_h;
    }
    void put(R* c, std::int64_t j, R left, R right, R middle) const {
        const R h = x_.width(j), q = (h / 2) * (h / 2);
        const R c2 = (left - 2 * middle + right) * R(0.5) / q;
        c[0] = left;
        c[1] = 2 * (middle - (q * c2 + left)) / h;
        c[2] = c2;
    }

private:
    Breaks<R, Grid::listed> x_;
};

template <Real R> class StandardCells<R, Grid::even> {
public:
    explicit StandardCells(const TaskRecord<R>& task) {
        const R h = Breaks<R, Grid::even>(task).step();
        q_ = (h / 2) * (h / 2);
        per_q_ = 1 / q_;
        per_h_ = 1 / h;
    }
    R middle(std::int64_t, R before, R left, R right, R last_middle) const {
        return (right + before) * R(0.25) + (R(1.5) * left - last_middle);
    }
    void put(R* c, std::int64_t, R left, R right, R middle) const {
        const R c2 = (left - 2 * middle + right) * R(0.5) * per_q_;
        c[0] = left;
        c[1] = 2 * (middle - (q_ * c2 + left)) * per_h_;
        c[2] = c2;
    }

private:
    R q_, per_q_, per_h_;
};

// A cell is written as soon as its middle is known, so that there is no array of the middles.
template <Real R, Store store, Grid grid> std::int32_t construct(const TaskRecord<R>& task) {
    const Values<R, store> y(task);
    const StandardCells<R, grid> cells(task);
    for (std::int64_t i = 0; i < task.functions(); ++i) {
        R* c = task.coeff[i];
        R before = 0, left = y.at(i, 0), middle = task.bc[0];
        for (std::int64_t j = 0; j < task.nx - 1; ++j, c += 3) {
            const R right = y.at(i, j + 1);
            if (j > 0) middle = cells.middle(j, before, left, right, middle);
            cells.put(c, j, left, right, middle);
            before = left;
            left = right;
        }
    }
    return DF_ST_OK;
}

template <Real R> std::int32_t construct_standard(const TaskRecord<R>& task) {
    if (task.bc_type != DF_BC_MIDPOINT) return DF_ST_BAD_BC_TYPE;
    if (!task.bc) return DF_ST_BAD_BC;
    if (task.nx < 2) return DF_ST_BAD_NX;
    if (const auto status = status_of_arrays(task); status != DF_ST_OK) return status;
    return by_variant(task, [&]<Store store, Grid grid> { return construct<R, store, grid>(task); });
}

template <Real R> std::int32_t quadratic(DFTask1D* handle) {
    if (!handle) return DF_ST_NO_TASK;
    const auto& task = record_of<R>(handle);
    if (const auto status = status_of_y_hint(task); status != DF_ST_OK) return status;
    switch (task.s_type) {
    case DF_TYPE_DEFAULT: return construct_standard(task);
    case DF_TYPE_SUBBOTIN: return construct_subbotin(task);
    default: return DF_ST_BAD_METHOD;
    }
}

} // namespace

} // namespace nvo::fitting

std::int32_t nvo_df_kernel_sDFQuadraticSpline1D(DFTask1D* task, std::int64_t, std::int64_t, const OstThreading*) {
    return nvo::fitting::quadratic<float>(task);
}
std::int32_t nvo_df_kernel_dDFQuadraticSpline1D(DFTask1D* task, std::int64_t, std::int64_t, const OstThreading*) {
    return nvo::fitting::quadratic<double>(task);
}
