// What the cubic kinds share: their checks, the slice of a function that they work on at a time, the view from either
// end of the partition, and how cells are written.
#pragma once

#include "fitting/boundary.h"
#include "fitting/construct.h"
#include "frame/lanes.h"

#include <algorithm>

namespace nvo::fitting {

// ---- checks --------------------------------------------------------------------------------------------------------

// What a kind asks of a task.
struct CubicKind {
    std::int64_t least_nx;
    std::int64_t least_nx_not_a_knot = 0; // what that condition asks for beyond
    bool takes_not_set = false;
    bool reads_ic = false;
    bool reads_bc_if_periodic = false;
};

template <Real R> std::int32_t status_of_cubic(const TaskRecord<R>& task, const CubicKind& kind) {
    if (task.nx < kind.least_nx) return DF_ST_BAD_NX;
    if (task.bc_type == DF_BC_NOT_A_KNOT && task.nx < kind.least_nx_not_a_knot) return DF_ST_BAD_NX;
    if (const auto status = status_of_y_hint(task); status != DF_ST_OK) return status;
    const auto boundary = boundary_of(task.bc_type);
    if (!boundary || (*boundary == Boundary::not_set && !kind.takes_not_set)) return DF_ST_BAD_BC_TYPE;
    if (!task.bc) {
        // The type of the task counts here, whatever kind is asked for; and a kind never goes without what it reads.
        const bool type_wants_it = task.s_type == DF_TYPE_DEFAULT || task.s_type == DF_TYPE_HERMITE;
        if (wants_values(*boundary)) return DF_ST_BAD_BC;
        if (*boundary == Boundary::periodic && (type_wants_it || kind.reads_bc_if_periodic)) return DF_ST_BAD_BC;
    }
    if (kind.reads_ic && !task.ic) return DF_ST_BAD_IC;
    return status_of_arrays(task);
}

// Whether the first and the last value of each function are the same.
template <Real R, Store store> bool are_periodic(const TaskRecord<R>& task) {
    const Values<R, store> y(task);
    for (std::int64_t i = 0; i < task.functions(); ++i)
        if (!(y.at(i, 0) == y.at(i, task.nx - 1))) return false;
    return true;
}

// ---- a slice of a function -----------------------------------------------------------------------------------------

template <Real R> using Pack = Lanes<R, lane_width<R>>;
template <Real R> using One = Lanes<R, 1>;

// f<V>(k) for packs of lanes from `begin` on, and for single ones where no pack fits before `end`.
template <Real R, class F> void for_each_pack(std::int64_t begin, std::int64_t end, F f) {
    std::int64_t k = begin;
    for (; k + lane_width<R> <= end; k += lane_width<R>) f.template operator()<Pack<R>>(k);
    for (; k < end; ++k) f.template operator()<One<R>>(k);
}

// Division by the widths of cells, which start at breakpoint x.
template <Real R> struct ByWidths {
    const R* x;

    template <class V> V width(std::int64_t k) const { return load<V>(x + k + 1) - load<V>(x + k); }
    template <class V> V divide(V a, std::int64_t k) const { return a / width<V>(k); }
    template <class V> V divide_twice(V a, std::int64_t k) const { return a / (width<V>(k) * width<V>(k)); }
};
// The same on an even grid.
template <Real R> struct ByStep {
    R step, square;

    explicit ByStep(R h) : step(h), square(h * h) {}
    template <class V> V divide(V a, std::int64_t) const { return a / step; }
    template <class V> V divide_twice(V a, std::int64_t) const { return a / square; }
};
// And as the local kinds do it there.
template <Real R> struct ByInverse {
    R inverse, square;

    explicit ByInverse(R h) : inverse(1 / h), square(inverse * inverse) {}
    template <class V> V divide(V a, std::int64_t) const { return a * inverse; }
    template <class V> V divide_twice(V a, std::int64_t) const { return a * square; }
};

// For cells from `first` on.
template <template <Real> class OnEvenGrid, Real R, Grid grid>
auto division(const TaskRecord<R>& task, [[maybe_unused]] std::int64_t first) {
    if constexpr (grid == Grid::listed) {
        return ByWidths<R>{task.x + first};
    } else {
        return OnEvenGrid<R>(Breaks<R, grid>(task).step());
    }
}

// So much of a function is worked on at a time that it stays in the first cache while several passes go over it.
inline constexpr std::int64_t tile_cells = 256;
inline constexpr std::int64_t reach = 2; // cells beside a tile that formulas look at
template <Real R> using Tile = R[tile_cells + 2 * reach + 1];

// f(i, first, count) for all functions i and all of [begin, end), tile by tile. One function goes on for a while, since
// memory likes long runs; but not to the end, since values by columns share their cache lines with those of others.
inline constexpr std::int64_t cells_per_block = 2048;
template <class F> void for_each_tile(std::int64_t begin, std::int64_t end, std::int64_t functions, F f) {
    for (std::int64_t block = begin; block < end; block += cells_per_block) {
        const std::int64_t block_end = std::min(block + cells_per_block, end);
        for (std::int64_t i = 0; i < functions; ++i) {
            for (std::int64_t first = block; first < block_end; first += tile_cells)
                f(i, first, std::min(tile_cells, block_end - first));
        }
    }
}

// Values of function i from `first` on, one after the other: the caller's own, or copied from their columns.
template <Store store, Real R>
const R* values_from(const TaskRecord<R>& task, std::int64_t i, std::int64_t first, [[maybe_unused]] std::int64_t count,
                     [[maybe_unused]] Tile<R>& copy) {
    if constexpr (store == Store::rows) {
        return task.y[i] + first;
    } else {
        const Values<R, store> y(task);
        for (std::int64_t k = 0; k < count; ++k) copy[k] = y.at(i, first + k);
        return copy;
    }
}

template <Real R, class Over> void divide_differences(const Over& over, const R* y, std::int64_t cells, R* d) {
    for_each_pack<R>(0, cells, [=]<class V>(std::int64_t k) {
        store<V>(d + k, over.divide(load<V>(y + k + 1) - load<V>(y + k), k));
    });
}

// ---- cells ---------------------------------------------------------------------------------------------------------

// Coefficients of neighbouring cells, by powers.
template <class V> struct Cells { V c0, c1, c2, c3; };

inline void store_cells(double* to, const Cells<Pack<double>>& cells) {
    using V = Pack<double>;
    store<V>(to, _mm_unpacklo_pd(cells.c0, cells.c1));
    store<V>(to + 2, _mm_unpacklo_pd(cells.c2, cells.c3));
    store<V>(to + 4, _mm_unpackhi_pd(cells.c0, cells.c1));
    store<V>(to + 6, _mm_unpackhi_pd(cells.c2, cells.c3));
}
inline void store_cells(float* to, const Cells<Pack<float>>& cells) {
    using V = Pack<float>;
    const V lower01 = _mm_unpacklo_ps(cells.c0, cells.c1), lower23 = _mm_unpacklo_ps(cells.c2, cells.c3);
    const V upper01 = _mm_unpackhi_ps(cells.c0, cells.c1), upper23 = _mm_unpackhi_ps(cells.c2, cells.c3);
    store<V>(to, _mm_movelh_ps(lower01, lower23));
    store<V>(to + 4, _mm_movehl_ps(lower23, lower01));
    store<V>(to + 8, _mm_movelh_ps(upper01, upper23));
    store<V>(to + 12, _mm_movehl_ps(upper23, upper01));
}
template <Real R> void store_cells(R* to, const Cells<One<R>>& cell) {
    to[0] = cell.c0[0];
    to[1] = cell.c1[0];
    to[2] = cell.c2[0];
    to[3] = cell.c3[0];
}

// Cells with the first derivatives s at their ends.
template <Real R, class Over>
void write_hermite_cells(const Over& over, const R* y, const R* d, const R* s, std::int64_t cells, R* to) {
    for_each_pack<R>(0, cells, [=]<class V>(std::int64_t k) {
        const auto slope = load<V>(d + k), left = load<V>(s + k), right = load<V>(s + k + 1);
        store_cells(to + 4 * k, Cells<V>{load<V>(y + k), left, over.divide(3 * slope - right - 2 * left, k),
                                         over.divide_twice(left + right - 2 * slope, k)});
    });
}

// ---- the ends ------------------------------------------------------------------------------------------------------

enum class Side { left, right };

// A function as it looks from an end of the partition, inwards. With one cell in all, the second one is the first.
template <Real R> struct EndView {
    Side side;
    R y0, y1, y2; // values
    R h0, h1;     // widths of the first two cells
    R both;       // width of the two together
    R rise;       // y[j+1] - y[j] in the first cell
    R d0, d1;     // divided differences

    // a on the left, -a on the right: where the mirror turns a sign.
    R mirrored(R a) const { return side == Side::left ? a : -a; }
};

template <template <Real> class OnEvenGrid, Store store, Grid grid, Real R>
EndView<R> view_from(Side side, const TaskRecord<R>& task, std::int64_t i) {
    const Values<R, store> y(task);
    const Breaks<R, grid> x(task);
    const bool left = side == Side::left;
    const std::int64_t first = left ? 0 : task.nx - 2; // cells
    const std::int64_t second = left ? std::min<std::int64_t>(1, task.nx - 2) : std::max<std::int64_t>(task.nx - 3, 0);
    const std::int64_t p0 = left ? first : first + 1, p1 = left ? first + 1 : first, p2 = left ? second + 1 : second;
    const auto rise = [&](std::int64_t cell) { return y.at(i, cell + 1) - y.at(i, cell); };
    const auto divided = [&](std::int64_t cell) {
        return division<OnEvenGrid, R, grid>(task, cell).divide(One<R>{rise(cell)}, 0)[0];
    };
    return {.side = side,
            .y0 = y.at(i, p0),
            .y1 = y.at(i, p1),
            .y2 = y.at(i, p2),
            .h0 = x.width(first),
            .h1 = x.width(second),
            .both = left ? x.at(p2) - x.at(p0) : x.at(p0) - x.at(p2),
            .rise = rise(first),
            .d0 = divided(first),
            .d1 = divided(second)};
}

// The right side of the row h1 s0 + (h0 + h1) s1 = ..., which makes the third derivative continuous at the first inner
// breakpoint if the second one is (de Boor, A Practical Guide to Splines, 1978, chapter IV).
template <Real R> R not_a_knot_side(const EndView<R>& end) {
    return ((2 * end.both + end.h0) * end.h1 * end.d0 + end.h0 * end.h0 * end.d1) / end.both;
}

} // namespace nvo::fitting
