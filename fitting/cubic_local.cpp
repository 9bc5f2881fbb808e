// Akima's, Bessel's, Hyman's and Hermite's cubic splines: once differentiable, each cell made from a few values beside
// it. Work items are groups of functions on blocks of cells; they write disjoint cells and read nothing that another
// one writes, so that any team gives the same bits.
#include "fitting/cubic_local.h"

#include "support/scratch.h"
#include "support/team.h"

namespace nvo::fitting {

namespace {

constexpr std::int64_t functions_per_item = 4;
constexpr std::int64_t largest_serial = 511; // functions times breakpoints

constexpr CubicKind description_of(LocalKind kind) {
    switch (kind) {
    case LocalKind::akima: return {.least_nx = 5, .takes_not_set = true};
    case LocalKind::hermite: return {.least_nx = 3, .reads_ic = true, .reads_bc_if_periodic = true};
    default: return {.least_nx = 4};
    }
}

// Blocks of inner cells. The cells at the ends, of which Akima's formula counts two a side and the others one, go with
// the first and the last block.
struct Blocks {
    std::int64_t cells, at_an_end, count;

    Blocks(LocalKind kind, std::int64_t nx)
        : cells(nx - 1), at_an_end(kind == LocalKind::akima ? 2 : 1),
          count(std::max<std::int64_t>((cells - 2 * at_an_end + cells_per_block - 1) / cells_per_block, 1)) {}
    std::int64_t begin(std::int64_t block) const { return block == 0 ? 0 : at_an_end + block * cells_per_block; }
    std::int64_t end(std::int64_t block) const { return block == count - 1 ? cells : begin(block + 1); }
};

// A thread's own, aligned to cache lines.
template <Real R> struct alignas(block_alignment) LocalScratch {
    Tile<R> copy, d, s; // values, divided differences, first derivatives
};

template <Real R, LocalKind kind, Store store, Grid grid> class LocalCubic {
public:
    explicit LocalCubic(const TaskRecord<R>& task) : task_(task), boundary_(*boundary_of(task.bc_type)), nx_(task.nx) {}

    // The cells from `begin` up to `end` of functions.
    void construct(std::int64_t begin, std::int64_t end, std::int64_t first_function, std::int64_t functions,
                   LocalScratch<R>& scratch) const {
        for (std::int64_t i = first_function; i < first_function + functions; ++i) {
            for (std::int64_t first = begin; first < end; first += tile_cells)
                construct(Part(first, std::min(first + tile_cells, end), nx_ - 1), i, scratch);
        }
    }

private:
    // Cells from `first` up to `last`, and from `low` up to `high` what their derivatives depend on.
    struct Part {
        std::int64_t first, last, low, high;
        Part(std::int64_t begin, std::int64_t end, std::int64_t cells)
            : first(begin), last(end), low(std::max<std::int64_t>(begin - reach, 0)),
              high(std::min(end + reach, cells)) {}
    };
    auto over(std::int64_t first) const { return division<ByInverse, R, grid>(task_, first); }

    void construct(const Part& part, std::int64_t i, LocalScratch<R>& scratch) const {
        const std::int64_t cells = part.high - part.low, skip = part.first - part.low;
        const R* const y = values_from<store>(task_, i, part.low, cells + 1, scratch.copy);
        R *const d = scratch.d, *const s = scratch.s;
        divide_differences(over(part.low), y, cells, d);
        find_inner_slopes(part, y, d, s);
        if (part.first == 0) s[0] = slope_at(Side::left, i, s[1]);
        if (part.last == nx_ - 1) s[cells] = slope_at(Side::right, i, s[cells - 1]);
        write_hermite_cells(over(part.first), y + skip, d + skip, s + skip, part.last - part.first,
                            task_.coeff[i] + 4 * part.first);
    }

    // At the breakpoints of the part, but for the ends of the partition. Arrays start at `low`.
    void find_inner_slopes(const Part& part, const R* y, const R* d, R* s) const {
        const std::int64_t begin = std::max<std::int64_t>(part.first, 1) - part.low;
        const std::int64_t end = std::min(part.last + 1, nx_ - 1) - part.low;
        if constexpr (kind == LocalKind::hermite) {
            std::copy(task_.ic + (part.low + begin - 1), task_.ic + (part.low + end - 1), s + begin);
        } else if constexpr (kind == LocalKind::akima) {
            // w[k] = |d[k+1] - d[k]|. The first and the last breakpoint lack one: the next one stands in.
            const bool has_first = begin + part.low == 1, has_last = end + part.low == nx_ - 1;
            const auto akima_at = [=]<class V>(std::int64_t k, std::int64_t w_before, std::int64_t w_behind) {
                const auto w = [d](std::int64_t j) { return magnitude(load<V>(d + j + 1) - load<V>(d + j)); };
                nvo::store<V>(s + k, akima(load<V>(d + k - 1), load<V>(d + k), w(w_before), w(w_behind)));
            };
            if (has_first) akima_at.template operator()<One<R>>(begin, begin - 1, begin);
            for_each_pack<R>(begin + has_first, end - has_last,
                             [=]<class V>(std::int64_t k) { akima_at.template operator()<V>(k, k - 2, k); });
            if (has_last) akima_at.template operator()<One<R>>(end - 1, end - 3, end - 2);
        } else {
            for_each_pack<R>(begin, end, [=, over = over(part.low)]<class V>(std::int64_t k) {
                const V before = load<V>(d + k - 1), behind = load<V>(d + k);
                V b;
                if constexpr (grid == Grid::even) {
                    b = over.divide((load<V>(y + k + 1) - load<V>(y + k - 1)) * R(0.5), k);
                } else {
                    const V span = load<V>(over.x + k + 1) - load<V>(over.x + k - 1);
                    b = bessel(over.template width<V>(k - 1), over.template width<V>(k), before, behind, span);
                }
                nvo::store<V>(s + k, kind == LocalKind::hyman ? hyman(b, before, behind) : b);
            });
        }
    }

    R slope_at(Side side, std::int64_t i, R next) const {
        const EndView<R> left = view_from<ByInverse, store, grid>(Side::left, task_, i);
        const EndView<R> right = view_from<ByInverse, store, grid>(Side::right, task_, i);
        const bool at_left = side == Side::left;
        return end_slope<R, kind, grid>(at_left ? left_end(boundary_) : right_end(boundary_), at_left ? left : right,
                                        at_left ? right : left, next, task_.bc);
    }

    const TaskRecord<R>& task_;
    Boundary boundary_;
    std::int64_t nx_;
};

bool is_small(std::int64_t functions, std::int64_t nx) {
    std::int64_t values = 0;
    return !__builtin_mul_overflow(functions, nx, &values) && values <= largest_serial;
}

template <Real R, LocalKind kind, Store store, Grid grid>
std::int32_t construct(const TaskRecord<R>& task, const Team& team) {
    const std::int64_t functions = task.functions();
    if (*boundary_of(task.bc_type) == Boundary::periodic && !are_periodic<R, store>(task)) return DF_ST_NOT_PERIODIC;

    const Blocks blocks(kind, task.nx);
    const std::int64_t groups = (functions - 1) / functions_per_item + 1, items = groups * blocks.count;
    const std::int64_t threads = is_small(functions, task.nx) ? 1 : std::min(team.max_threads(), items);
    const Scratch<LocalScratch<R>> scratch(static_cast<std::size_t>(threads));
    if (!scratch) return DF_ST_NO_MEMORY;

    const LocalCubic<R, kind, store, grid> spline(task);
    auto body = [&](std::int64_t item, std::int64_t thread) {
        const std::int64_t first = item / blocks.count * functions_per_item, block = item % blocks.count;
        spline.construct(blocks.begin(block), blocks.end(block), first, std::min(functions_per_item, functions - first),
                         scratch[static_cast<std::size_t>(thread)]);
    };
    team.run_for(items, threads, body);
    return DF_ST_OK;
}

template <Real R, LocalKind kind> std::int32_t construct_local(DFTask1D* handle, const OstThreading* threading) {
    if (!handle) return DF_ST_NO_TASK;
    const auto& task = record_of<R>(handle);
    if (const auto status = status_of_cubic(task, description_of(kind)); status != DF_ST_OK) return status;
    return by_variant(task,
                      [&]<Store store, Grid grid> { return construct<R, kind, store, grid>(task, Team(threading)); });
}

} // namespace

} // namespace nvo::fitting

#define NVO_DF_LOCAL(t, real, Kind, kind)                                                               \
    std::int32_t nvo_df_kernel_##t##DF##Kind##CubicSpline1D(DFTask1D* task, std::int64_t, std::int64_t, \
                                                            const OstThreading* threading) {            \
        return nvo::fitting::construct_local<real, nvo::fitting::LocalKind::kind>(task, threading);     \
    }
NVO_DF_LOCAL(s, float, Akima, akima)
NVO_DF_LOCAL(d, double, Akima, akima)
NVO_DF_LOCAL(s, float, Bessel, bessel)
NVO_DF_LOCAL(d, double, Bessel, bessel)
NVO_DF_LOCAL(s, float, Hyman, hyman)
NVO_DF_LOCAL(d, double, Hyman, hyman)
NVO_DF_LOCAL(s, float, Hermite, hermite)
NVO_DF_LOCAL(d, double, Hermite, hermite)
