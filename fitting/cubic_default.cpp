// The cubic spline whose second derivatives M at the inner breakpoints are given, the same for all functions. It is
// continuous, and its first derivative is where the given values belong to such a spline.
#include "fitting/cubic.h"

#include "support/scratch.h"

namespace nvo::fitting {

namespace {

// Not-a-knot takes the third derivative of an end's cell from the next cell. With three breakpoints each of the two
// cells would take it from the other, so that nothing determines it.
constexpr CubicKind default_kind = {
    .least_nx = 3, .least_nx_not_a_knot = 4, .reads_ic = true, .reads_bc_if_periodic = true};

template <Real R> struct DefaultScratch {
    Tile<R> loss, c2, c3; // d - c1, and coefficients: the same for all functions
    Tile<R> copy, d;      // values, divided differences
};

template <Real R, Store store, Grid grid> class DefaultCubic {
public:
    DefaultCubic(const TaskRecord<R>& task, DefaultScratch<R>& scratch)
        : task_(task), boundary_(*boundary_of(task.bc_type)), cells_(task.nx - 1), x_(task), y_(task),
          scratch_(scratch) {}

    void construct() const {
        for (std::int64_t first = 1; first < cells_ - 1; first += tile_cells)
            write_inner_cells(first, std::min(tile_cells, cells_ - 1 - first));
        for (std::int64_t i = 0; i < task_.functions(); ++i) {
            write_first_cell(i);
            write_last_cell(i);
        }
    }

private:
    R second(std::int64_t j) const { return task_.ic[j - 1]; } // M[j], 0 < j < nx - 1
    static constexpr R sixth = R(1) / 6;

    void write_inner_cells(std::int64_t first, std::int64_t cells) const {
        DefaultScratch<R>& shared = scratch_;
        for (std::int64_t k = 0; k < cells; ++k) {
            const R m0 = second(first + k), m1 = second(first + k + 1), h = x_.width(first + k);
            shared.loss[k] = h * (m0 / 3 + m1 / 6);
            shared.c2[k] = m0 / 2;
            shared.c3[k] = (m1 - m0) / (6 * h);
        }
        for (std::int64_t i = 0; i < task_.functions(); ++i) {
            const R* const y = values_from<store>(task_, i, first, cells + 1, shared.copy);
            R* const to = task_.coeff[i] + 4 * first;
            divide_differences(division<ByStep, R, grid>(task_, first), y, cells, shared.d);
            for_each_pack<R>(0, cells, [&shared, y, to]<class V>(std::int64_t k) {
                store_cells(to + 4 * k, Cells<V>{load<V>(y + k), load<V>(shared.d + k) - load<V>(shared.loss + k),
                                                 load<V>(shared.c2 + k), load<V>(shared.c3 + k)});
            });
        }
    }

    // A cell whose c3 is that of an inner cell beside it.
    R inner_c3(std::int64_t j) const { return (second(j + 1) - second(j)) / (6 * x_.width(j)); }

    void write_first_cell(std::int64_t i) const {
        const R h = x_.width(0), d = (y_.at(i, 1) - y_.at(i, 0)) / h, m = second(1), next_c2 = m / 2;
        R c1 = 0, c2 = 0, c3 = 0;
        const auto c1_by_the_others = [&] { return d - (c3 * h + c2) * h; };
        switch (left_end(boundary_)) {
        case End::not_a_knot:
            c3 = inner_c3(1);
            c2 = next_c2 - 3 * h * c3;
            c1 = c1_by_the_others();
            break;
        case End::first:
            c1 = task_.bc[0];
            c3 = ((c1 - d) * R(0.5) / h + m * R(0.25)) / h;
            c2 = next_c2 - 3 * h * c3;
            break;
        case End::second:
            c2 = task_.bc[0] / 2;
            c3 = (next_c2 - c2) / (3 * h);
            c1 = c1_by_the_others();
            break;
        case End::periodic:
            c1 = d - (2 * task_.bc[0] + m) * h * sixth;
            c2 = task_.bc[0] / 2;
            c3 = (m - task_.bc[0]) * sixth / h;
            break;
        default: // free
            c3 = m * sixth / h;
            c1 = d - c3 * (h * h);
        }
        write(i, 0, c1, c2, c3);
    }
    void write_last_cell(std::int64_t i) const {
        const std::int64_t j = cells_ - 1;
        const R h = x_.width(j), d = (y_.at(i, j + 1) - y_.at(i, j)) / h, m = second(j), c2 = m / 2;
        R c3 = 0;
        switch (right_end(boundary_)) {
        case End::not_a_knot: c3 = inner_c3(j - 1); break;
        case End::first: c3 = ((task_.bc[1] - d) / h - c2) * R(0.5) / h; break;
        case End::second: c3 = (task_.bc[1] - m) * sixth / h; break;
        case End::periodic:
            write(i, j, d - (2 * m + task_.bc[0]) * h * sixth, c2, (task_.bc[0] - m) * sixth / h);
            return;
        default: c3 = -m * sixth / h; // free
        }
        write(i, j, d - (c3 * h + c2) * h, c2, c3);
    }
    void write(std::int64_t i, std::int64_t cell, R c1, R c2, R c3) const {
        R* const c = task_.coeff[i] + 4 * cell;
        c[0] = y_.at(i, cell);
        c[1] = c1;
        c[2] = c2;
        c[3] = c3;
    }

    const TaskRecord<R>& task_;
    Boundary boundary_;
    std::int64_t cells_;
    Breaks<R, grid> x_;
    Values<R, store> y_;
    DefaultScratch<R>& scratch_;
};

template <Real R, Store store, Grid grid> std::int32_t construct(const TaskRecord<R>& task) {
    if (*boundary_of(task.bc_type) == Boundary::periodic && !are_periodic<R, store>(task)) return DF_ST_NOT_PERIODIC;
    const Scratch<DefaultScratch<R>> scratch(1);
    if (!scratch) return DF_ST_NO_MEMORY;
    DefaultCubic<R, store, grid>(task, scratch[0]).construct();
    return DF_ST_OK;
}

template <Real R> std::int32_t construct_default(DFTask1D* handle) {
    if (!handle) return DF_ST_NO_TASK;
    const auto& task = record_of<R>(handle);
    if (const auto status = status_of_cubic(task, default_kind); status != DF_ST_OK) return status;
    return by_variant(task, [&]<Store store, Grid grid> { return construct<R, store, grid>(task); });
}

} // namespace

} // namespace nvo::fitting

std::int32_t nvo_df_kernel_sDFDefaultCubicSpline1D(DFTask1D* task, std::int64_t, std::int64_t, const OstThreading*) {
    return nvo::fitting::construct_default<float>(task);
}
std::int32_t nvo_df_kernel_dDFDefaultCubicSpline1D(DFTask1D* task, std::int64_t, std::int64_t, const OstThreading*) {
    return nvo::fitting::construct_default<double>(task);
}
