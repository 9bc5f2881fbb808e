// The natural cubic spline: twice differentiable, by the tridiagonal system of its first derivatives (de Boor, A
// Practical Guide to Splines, 1978, chapter IV). All functions share one factorisation.
#include "fitting/cubic.h"

#include "fitting/adapters.h"
#include "support/scratch.h"

#include <limits>

namespace nvo::fitting {

namespace {

constexpr CubicKind natural = {.least_nx = 2, .least_nx_not_a_knot = 3};
constexpr std::int64_t least_nx_of_a_system = 4;

std::int32_t factorise(std::int32_t n, float* dl, float* d, float* du) {
    std::int32_t info = 1; // an adapter that can't fetch its solver leaves it as it is
    sdttrfb_4dfl(&n, dl, d, du, &info);
    return info;
}
std::int32_t factorise(std::int32_t n, double* dl, double* d, double* du) {
    std::int32_t info = 1;
    ddttrfb_4dfl(&n, dl, d, du, &info);
    return info;
}
std::int32_t solve(std::int32_t n, std::int32_t columns, const float* dl, const float* d, const float* du, float* b) {
    std::int32_t info = 1;
    sdttrsb_4dfl("N", &n, &columns, dl, d, du, b, &n, &info);
    return info;
}
std::int32_t solve(std::int32_t n, std::int32_t columns, const double* dl, const double* d, const double* du,
                   double* b) {
    std::int32_t info = 1;
    ddttrsb_4dfl("N", &n, &columns, dl, d, du, b, &n, &info);
    return info;
}

// own * s0 + inner * s1 = right side: the first or the last row, from its end inwards.
template <Real R> struct EndRow { R own, inner; };

// On an even grid every row is divided by the step.
template <Real R, Grid grid> EndRow<R> end_row(End condition, const EndView<R>& end) {
    switch (condition) {
    case End::first: return {1, 0};
    case End::not_a_knot:
        if (grid == Grid::even) return {1, 2};
        return {end.h1, end.both};
    default: return {2, 1}; // second derivatives
    }
}
template <Real R, Grid grid> R end_side(End condition, const EndView<R>& end, const R* bc) {
    switch (condition) {
    case End::first: return *bc;
    case End::second: return 3 * end.d0 - end.mirrored(R(0.5)) * end.h0 * *bc;
    case End::not_a_knot: return grid == Grid::even ? (5 * end.d0 + end.d1) / 2 : not_a_knot_side(end);
    default: return 3 * end.d0; // no second derivative
    }
}

template <Real R, Store store, Grid grid> class NaturalCubic {
public:
    explicit NaturalCubic(const TaskRecord<R>& task)
        : task_(task), boundary_(*boundary_of(task.bc_type)), n_(task.nx), functions_(task.functions()), x_(task) {}

    std::int32_t construct() {
        if (n_ < least_nx_of_a_system) {
            for (std::int64_t i = 0; i < functions_; ++i) construct_small(i);
            return DF_ST_OK;
        }
        constexpr std::int64_t most = std::numeric_limits<std::int32_t>::max() - 1; // the adapters' integers
        if (n_ > most || functions_ > most) return DF_ST_SOLVE_FAILED;
        const std::int64_t columns = functions_ + (periodic() ? 1 : 0);
        const Scratch<R> scratch(static_cast<std::size_t>(3 * n_ - 2 + columns * n_));
        if (!scratch) return DF_ST_NO_MEMORY;
        dl_ = scratch.get();
        d_ = dl_ + n_ - 1;
        du_ = d_ + n_;
        s_ = du_ + n_ - 1;

        const auto n = static_cast<std::int32_t>(n_);
        fill_matrix();
        if (factorise(n, dl_, d_, du_) != 0) return DF_ST_SOLVE_FAILED;
        fill_right_sides();
        if (solve(n, static_cast<std::int32_t>(columns), dl_, d_, du_, s_) != 0) return DF_ST_SOLVE_FAILED;
        if (periodic()) close_the_cycle();
        write();
        return periodic() && !are_periodic<R, store>(task_) ? DF_ST_NOT_PERIODIC : DF_ST_OK;
    }

private:
    bool periodic() const { return boundary_ == Boundary::periodic; }
    // Of a cell; on an even grid, where every row is divided by the step, 1.
    R relative_width(std::int64_t cell) const { return grid == Grid::even ? 1 : x_.width(cell); }
    R* column(std::int64_t i) const { return s_ + i * n_; }
    EndView<R> view(Side side, std::int64_t i) const { return view_from<ByStep, store, grid>(side, task_, i); }
    const R* condition_value(Side side) const {
        return wants_values(boundary_) ? task_.bc + (side == Side::right) : nullptr;
    }

    // Two or three breakpoints, in closed form.
    void construct_small(std::int64_t i) {
        const EndView<R> left = view(Side::left, i), right = view(Side::right, i);
        R s[3] = {};
        if (periodic()) {
            if (n_ == 3) std::fill_n(s, 3, (right.h0 * left.d0 + left.h0 * right.d0) / (left.h0 + right.h0));
        } else {
            const End a = left_end(boundary_), b = right_end(boundary_);
            const EndRow<R> first = end_row<R, grid>(a, left), last = end_row<R, grid>(b, right);
            const R first_side = end_side<R, grid>(a, left, condition_value(Side::left));
            const R last_side = end_side<R, grid>(b, right, condition_value(Side::right));
            if (n_ == 2) {
                const R determinant = first.own * last.own - first.inner * last.inner;
                s[0] = (last.own * first_side - first.inner * last_side) / determinant;
                s[1] = (first.own * last_side - last.inner * first_side) / determinant;
            } else {
                // The inner row, with s0 and s2 replaced by what the others say. Not-a-knot at both ends makes a
                // singular system: any slope in the middle does, and it is 0.
                if (boundary_ != Boundary::not_a_knot) {
                    const R h0 = relative_width(0), h1 = relative_width(1);
                    const R side = 3 * (h1 * left.d0 + h0 * right.d0);
                    s[1] = (side - h1 * (first_side / first.own) - h0 * (last_side / last.own)) /
                           (2 * (h0 + h1) - h1 * (first.inner / first.own) - h0 * (last.inner / last.own));
                }
                s[0] = (first_side - first.inner * s[1]) / first.own;
                s[2] = (last_side - last.inner * s[1]) / last.own;
            }
        }
        write_cells_of(i, s, 0, n_ - 1);
        if (n_ == 2 && boundary_ == Boundary::free_end) { // a straight line, without a trace of rounding
            R* cell = task_.coeff[i];
            cell[1] = left.d0;
            cell[2] = cell[3] = 0;
        }
    }

    // Row i has dl[i - 1], d[i], du[i]. The cyclic matrix differs from the tridiagonal one in two corners, and only by
    // a matrix of rank one once d[0] and d[n - 2] are changed as well: see close_the_cycle.
    void fill_matrix() {
        for (std::int64_t i = 1; i < n_ - 1; ++i) {
            const R before = relative_width(i - 1), after = relative_width(i);
            dl_[i - 1] = after;
            d_[i] = 2 * (before + after);
            du_[i] = before;
        }
        if (periodic()) {
            const R h0 = relative_width(0), before = relative_width(n_ - 3), last = relative_width(n_ - 2);
            d_[0] = 2 * last + h0;
            du_[0] = last;
            d_[n_ - 2] = 2 * last + before;
            dl_[n_ - 2] = du_[n_ - 2] = 0;
            d_[n_ - 1] = 1;
        } else {
            const EndRow<R> first = end_row<R, grid>(left_end(boundary_), view(Side::left, 0));
            const EndRow<R> last = end_row<R, grid>(right_end(boundary_), view(Side::right, 0));
            d_[0] = first.own;
            du_[0] = first.inner;
            d_[n_ - 1] = last.own;
            dl_[n_ - 2] = last.inner;
        }
    }

    void fill_right_sides() {
        for_each_tile(1, n_ - 1, functions_, [&](std::int64_t i, std::int64_t first, std::int64_t rows) {
            fill_inner_rows(i, first, rows, column(i) + first);
        });
        for (std::int64_t i = 0; i < functions_; ++i) fill_end_rows(i, column(i));
        if (!periodic()) return;
        R* const w = column(functions_);
        std::fill_n(w, n_, R(0));
        w[0] = relative_width(0);
        w[n_ - 2] = relative_width(n_ - 3);
    }
    void fill_inner_rows(std::int64_t i, std::int64_t first, std::int64_t rows, R* to) const {
        Tile<R> copy;
        const R* const y = values_from<store>(task_, i, first - 1, rows + 2, copy); // and y[1] is that of the first row
        const auto over = division<ByStep, R, grid>(task_, first - 1);
        if constexpr (grid == Grid::even) {
            for_each_pack<R>(0, rows, [=]<class V>(std::int64_t k) {
                nvo::store<V>(to + k, over.divide(3 * (load<V>(y + k + 2) - load<V>(y + k)), k));
            });
        } else {
            Tile<R> d;
            divide_differences(over, y, rows + 1, d);
            for_each_pack<R>(0, rows, [=, &d]<class V>(std::int64_t k) {
                const V h0 = over.template width<V>(k), h1 = over.template width<V>(k + 1);
                nvo::store<V>(to + k, 3 * (h1 * load<V>(d + k) + h0 * load<V>(d + k + 1)));
            });
        }
    }
    void fill_end_rows(std::int64_t i, R* b) const {
        const EndView<R> left = view(Side::left, i), right = view(Side::right, i);
        if (periodic()) {
            b[0] = grid == Grid::even ? 3 * (right.d0 + left.d0) : 3 * (right.d0 * left.h0 + left.d0 * right.h0);
            b[n_ - 1] = 0;
        } else {
            b[0] = end_side<R, grid>(left_end(boundary_), left, condition_value(Side::left));
            b[n_ - 1] = end_side<R, grid>(right_end(boundary_), right, condition_value(Side::right));
        }
    }

    // Sherman and Morrison: the cyclic matrix is the tridiagonal one plus w v', where v has ones at 0 and n - 2 and
    // picks two elements of a solution; the last column holds the solution z for w.
    void close_the_cycle() {
        const R* const z = column(functions_);
        const R t = 1 / (z[0] + 1 + z[n_ - 2]);
        for (std::int64_t i = 0; i < functions_; ++i) {
            R* const u = column(i);
            const R picked = u[0] + u[n_ - 2];
            for (std::int64_t k = 0; k < n_ - 1; ++k) u[k] = u[k] - z[k] * picked * t;
            u[n_ - 1] = u[0];
        }
    }

    void write() const {
        for_each_tile(0, n_ - 1, functions_, [&](std::int64_t i, std::int64_t first, std::int64_t cells) {
            write_cells_of(i, column(i) + first, first, cells);
        });
    }
    void write_cells_of(std::int64_t i, const R* s, std::int64_t first, std::int64_t cells) const {
        Tile<R> copy, d;
        const R* const y = values_from<store>(task_, i, first, cells + 1, copy);
        const auto over = division<ByStep, R, grid>(task_, first);
        divide_differences(over, y, cells, d);
        write_hermite_cells(over, y, d, s, cells, task_.coeff[i] + 4 * first);
    }

    const TaskRecord<R>& task_;
    Boundary boundary_;
    std::int64_t n_, functions_;
    Breaks<R, grid> x_;
    R *dl_ = nullptr, *d_ = nullptr, *du_ = nullptr; // the matrix, then its factors
    R* s_ = nullptr;                                 // columns of n: right sides, then first derivatives
};

template <Real R> std::int32_t construct_natural(DFTask1D* handle, std::int64_t method) {
    if (!handle) return DF_ST_NO_TASK;
    if (method != 0) return DF_ST_BAD_METHOD;
    const auto& task = record_of<R>(handle);
    if (const auto status = status_of_cubic(task, natural); status != DF_ST_OK) return status;
    return by_variant(task, [&]<Store store, Grid grid> { return NaturalCubic<R, store, grid>(task).construct(); });
}

} // namespace

} // namespace nvo::fitting

std::int32_t nvo_df_kernel_sDFNaturalCubicSpline1D(DFTask1D* task, std::int64_t, std::int64_t method,
                                                   const OstThreading*) {
    return nvo::fitting::construct_natural<float>(task, method);
}
std::int32_t nvo_df_kernel_dDFNaturalCubicSpline1D(DFTask1D* task, std::int64_t, std::int64_t method,
                                                   const OstThreading*) {
    return nvo::fitting::construct_natural<double>(task, method);
}
