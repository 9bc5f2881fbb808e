// The quadratic spline of Subbotin: one parabola from knot t[i] to knot t[i+1], centred at breakpoint x[i],
//     y[i] + s[i] (u - x[i]) + A[i] (u - x[i])^2,
// which meets its neighbours in value and first derivative at the knots. Two neighbours give A[i] from s[i], s[i+1] and
// the values; that A[i] is the same from the left and from the right makes a tridiagonal system for the s.
#include "fitting/subbotin.h"

#include "fitting/adapters.h"
#include "fitting/boundary.h"
#include "fitting/construct.h"
#include "fitting/knots.h"
#include "support/scratch.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

namespace nvo::fitting {

namespace {

constexpr std::int64_t least_breakpoints = 3; // of the system, and of the step of an even subgrid

// ---- the knots -----------------------------------------------------------------------------------------------------

// The first and the last listed knot are the ends of the partition. On an even grid there is some room: its last
// breakpoint is what the caller gave or what comes out of the step, whichever the caller took.
template <Real R, Grid grid> bool ends_fit(const TaskRecord<R>& task) {
    const Breaks<R, grid> x(task);
    const R first = task.ic[0], last = task.ic[task.nx];
    if constexpr (grid == Grid::listed) {
        return first == x.at(0) && last == x.at(task.nx - 1);
    } else {
        constexpr R room = std::same_as<R, double> ? R(0x1p-40) : R(0x1p-12);
        return std::abs(first - x.at(0)) <= room &&
               std::min(std::abs(last - task.x[1]), std::abs(last - x.at(task.nx - 1))) <= room;
    }
}

// x[0] < t[1] < x[1] < t[2] < ... < t[nx-1] < x[nx-1]. Middles of cells aren't tested.
template <Real R, Grid grid, Subgrid subgrid> bool knots_fit(const TaskRecord<R>& task) {
    if constexpr (subgrid == Subgrid::middles) return true;
    const Breaks<R, grid> x(task);
    const Knots<R, grid, subgrid> t(task);
    if constexpr (subgrid == Subgrid::listed) {
        if (!ends_fit<R, grid>(task)) return false;
    } else if (!(x.at(0) < task.ic[0] && task.ic[1] < x.at(task.nx - 1))) {
        return false; // the last inner knot may be another number than ic[1], by its rounding
    }
    for (std::int64_t k = 1; k < task.nx; ++k)
        if (!(x.at(k - 1) < t.inner(k) && t.inner(k) < x.at(k))) return false;
    return true;
}

// ---- the system ----------------------------------------------------------------------------------------------------

void solve(std::int32_t n, float* dl, float* d, float* du, float* b, std::int32_t* info) {
    constexpr std::int32_t one = 1;
    sdtsvb_4dfl(&n, &one, dl, d, du, b, &n, info);
}
void solve(std::int32_t n, double* dl, double* d, double* du, double* b, std::int32_t* info) {
    constexpr std::int32_t one = 1;
    ddtsvb_4dfl(&n, &one, dl, d, du, b, &n, info);
}

// The system of one partition: row i is lower[i] s[i-1] + diagonal[i] s[i] + upper[i] s[i+1], about breakpoint i. An
// end with a given first derivative has no row. The diagonal exceeds the sum of its neighbours by more than 1, in the
// last row of a given second derivative by more than 0: there is always a solution on a partition that ascends.
template <Real R, Store store, Grid grid> class System {
public:
    static constexpr std::int64_t arrays = 8; // in the scratch, of nx + 1 elements each

    System(const TaskRecord<R>& task, Boundary boundary, R* scratch)
        : nx_(task.nx), x_(task), y_(task), bc_(task.bc), left_(left_end(boundary)), right_(right_end(boundary)),
          first_row_(left_ == End::first ? 1 : 0), last_row_(right_ == End::first ? nx_ - 2 : nx_ - 1), t_(scratch),
          lower_(t_ + nx_ + 1), diagonal_(lower_ + nx_ + 1), upper_(diagonal_ + nx_ + 1), dl_(upper_ + nx_ + 1),
          d_(dl_ + nx_ + 1), du_(d_ + nx_ + 1), s_(du_ + nx_ + 1) {}

    // Knots and matrix.
    template <Subgrid subgrid> void assemble(const Knots<R, grid, subgrid>& knots) {
        for (std::int64_t k = 0; k <= nx_; ++k) t_[k] = knots.at(k);
        for (std::int64_t i = 1; i < nx_ - 1; ++i) {
            const R w = x_.at(i + 1) - x_.at(i - 1);
            lower_[i] = (t_[i] - x_.at(i - 1)) * h(i) / ((x_.at(i) - t_[i]) * w);
            upper_[i] = h(i - 1) * (x_.at(i + 1) - t_[i + 1]) / (w * (t_[i + 1] - x_.at(i)));
            diagonal_[i] = 2 + lower_[i] + upper_[i];
        }
        const R p = (x_.at(1) - t_[1]) / h(0), q = (x_.at(nx_ - 1) - t_[nx_ - 1]) / h(nx_ - 2);
        diagonal_[0] = 2 - p; // these rows are of given second derivatives
        upper_[0] = p;
        lower_[nx_ - 1] = 1 - q;
        diagonal_[nx_ - 1] = 1 + q;
    }

    // The slopes of a function; false without a solver or a solution. The solver overwrites the matrix: for the last
    // function the matrix itself, before that a copy.
    bool solve_for(std::int64_t function, bool is_last) {
        for (std::int64_t i = 1; i < nx_ - 1; ++i) {
            const R w = x_.at(i + 1) - x_.at(i - 1);
            s_[i] = 2 * (rise(function, i - 1) * h(i) / ((x_.at(i) - t_[i]) * w) +
                         rise(function, i) * h(i - 1) / (w * (t_[i + 1] - x_.at(i))));
        }
        const std::int64_t last = nx_ - 1;
        if (left_ == End::first) {
            s_[0] = bc_[0];
            s_[1] -= lower_[1] * s_[0];
        } else {
            s_[0] = 2 * rise(function, 0) / h(0) - (t_[1] - x_.at(0)) * bc_[0];
        }
        if (right_ == End::first) {
            s_[last] = bc_[1];
            s_[last - 1] -= upper_[last - 1] * s_[last];
        } else {
            s_[last] = (x_.at(last) - t_[last]) * bc_[1] + 2 * rise(function, last - 1) / h(last - 1);
        }
        const std::int64_t rows = last_row_ - first_row_ + 1;
        R *dl = lower_ + first_row_ + 1, *d = diagonal_ + first_row_, *du = upper_ + first_row_;
        if (!is_last) {
            std::copy_n(std::exchange(dl, dl_), rows - 1, dl_);
            std::copy_n(std::exchange(d, d_), rows, d_);
            std::copy_n(std::exchange(du, du_), rows - 1, du_);
        }
        std::int32_t info = -1; // and stays so if the solver can't be fetched
        solve(static_cast<std::int32_t>(rows), dl, d, du, s_ + first_row_, &info);
        return info == 0;
    }

    // The cells of that function. The curvature of the last two goes on from the cell before.
    void write(std::int64_t function, R* c) const {
        R curvature = 0;
        for (std::int64_t i = 0; i < nx_; ++i, c += 3) {
            if (i < nx_ - 2) {
                const R d = rise(function, i);
                curvature = (s_[i + 1] - s_[i]) / (2 * h(i)) +
                            (2 * d - (s_[i] + s_[i + 1]) * h(i)) / (2 * h(i) * (t_[i + 1] - x_.at(i)));
            } else {
                const R d = rise(function, i - 1), e = x_.at(i) - t_[i];
                curvature += (d - R(0.5) * h(i - 1) * (s_[i - 1] + s_[i])) / ((e - h(i - 1)) * e);
            }
            c[0] = y_.at(function, i);
            c[1] = s_[i];
            c[2] = curvature;
        }
    }

private:
    // Of the breakpoints as they are, rounded, and not the step of an even grid: the slopes belong to these.
    R h(std::int64_t i) const { return x_.at(i + 1) - x_.at(i); }
    R rise(std::int64_t function, std::int64_t i) const { return y_.at(function, i + 1) - y_.at(function, i); }

    std::int64_t nx_;
    Breaks<R, grid> x_;
    Values<R, store> y_;
    const R* bc_;
    End left_, right_;
    std::int64_t first_row_, last_row_;
    R *t_, *lower_, *diagonal_, *upper_; // of the partition
    R *dl_, *d_, *du_;                   // a copy of the matrix
    R* s_;                               // of a function: right side, then solution
};

template <Real R, Store store, Grid grid, Subgrid subgrid>
std::int32_t construct(const TaskRecord<R>& task, Boundary boundary) {
    if (!knots_fit<R, grid, subgrid>(task)) return DF_ST_BAD_IC;
    if (const auto status = status_of_arrays(task); status != DF_ST_OK) return status;
    using Rows = System<R, store, grid>;
    const Scratch<R> scratch(Rows::arrays * static_cast<std::size_t>(task.nx + 1));
    if (!scratch) return DF_ST_NO_MEMORY;
    Rows system(task, boundary, scratch.get());
    system.assemble(Knots<R, grid, subgrid>(task));
    const std::int64_t functions = task.functions();
    for (std::int64_t i = 0; i < functions; ++i) {
        // A failure is the first function's: the matrix is one for all.
        if (!system.solve_for(i, i == functions - 1)) return DF_ST_SOLVE_FAILED;
        system.write(i, task.coeff[i]);
    }
    return DF_ST_OK;
}

template <Real R> std::int32_t check_and_construct(const TaskRecord<R>& task) {
    if (!(task.ic_type & DF_IC_LISTED_SUBGRID)) return DF_ST_BAD_IC_TYPE;
    const auto boundary = boundary_of(task.bc_type);
    if (!boundary || !wants_values(*boundary)) return DF_ST_BAD_BC_TYPE;
    if (!task.bc) return DF_ST_BAD_BC;
    if (task.nx < least_breakpoints) return DF_ST_BAD_NX;
    if (task.nx > std::numeric_limits<std::int32_t>::max()) return DF_ST_SOLVE_FAILED; // the solver counts in 32 bits
    return by_variant(task, [&]<Store store, Grid grid> {
        switch (subgrid_of(task)) {
        case Subgrid::listed: return construct<R, store, grid, Subgrid::listed>(task, *boundary);
        case Subgrid::even: return construct<R, store, grid, Subgrid::even>(task, *boundary);
        default: return construct<R, store, grid, Subgrid::middles>(task, *boundary);
        }
    });
}

} // namespace

std::int32_t construct_subbotin(const TaskRecord<float>& task) { return check_and_construct(task); }
std::int32_t construct_subbotin(const TaskRecord<double>& task) { return check_and_construct(task); }

} // namespace nvo::fitting
