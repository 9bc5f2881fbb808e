// The kernels of cell search.
//
// On a partition that ascends, the kinds that read breakpoints all find the same cells; they differ in where they look
// first. Sites go in groups, whose bisections run side by side: a step is a load, a comparison and a conditional move,
// without a branch, so that the steps of different sites overlap, where one bisection alone waits for its last step or
// for a mispredicted branch. How many steps there are depends on the number of breakpoints alone: whatever a partition
// or a site holds, nothing leads outside. A NaN compares false and ends as every site that isn't at or below the right
// end: in cell nx.
#include "fitting/index_lanes.h"
#include "fitting/search.h"

#include <algorithm>
#include <limits>

namespace nvo::fitting {

namespace {

template <Real R> struct SearchCall {
    std::int64_t nx;
    const R* x;
    std::int64_t nsite;
    const R* site;
    std::int64_t* last;
    SearchCallback<R>* search_cb;
    void *search_params, *side;
    std::int32_t* flags;
    R step;
};

// ---- groups --------------------------------------------------------------------------------------------------------

// Bisections side by side: as many as registers hold; more where each waits for memory (measured).
constexpr int group = 8, large_group = 16;
constexpr std::int64_t large_partition = 1 << 14;

// body(t, cell) for group after group of sites. Where the last group lacks sites, it is filled with its last one.
template <int group, Real R, class Cell, class Body>
void in_groups(const SearchCall<R>& call, Cell* cell, const Body& body) {
    std::int64_t i = 0;
    for (; i + group <= call.nsite; i += group) body(call.site + i, cell + i);
    const std::int64_t rest = call.nsite - i;
    if (rest <= 0) return;
    R t[group];
    Cell found[group];
    std::fill(std::copy_n(call.site + i, rest, t), t + group, call.site[call.nsite - 1]);
    body(t, found);
    std::copy_n(found, rest, cell + i);
}

// ---- bisection -----------------------------------------------------------------------------------------------------

// The cell of a site that has `count` of the first nx - 1 breakpoints at or below it. The last breakpoint only closes
// the last cell.
template <Real R> std::int64_t cell_of_count(std::int64_t count, R t, const SearchCall<R>& call) {
    return t <= call.x[call.nx - 1] ? count : call.nx;
}

// The cells of a group whose sites have at least `low` and at most low + n of the first nx - 1 breakpoints at or below
// them; n >= 1.
template <int group, Real R, class Cell>
[[gnu::noinline]] void bisect(const SearchCall<R>& call, std::int64_t low, std::int64_t n, const R* t, Cell* cell) {
    const R* base[group];
    std::fill_n(base, group, call.x + low);
    while (n > 1) { // of the n breakpoints from `base` on one is the last at or below t, or none is
        const std::int64_t half = n / 2;
#pragma GCC unroll 16
        for (int s = 0; s < group; ++s) base[s] = t[s] >= base[s][half] ? base[s] + half : base[s];
        n -= half;
    }
#pragma GCC unroll 16
    for (int s = 0; s < group; ++s) {
        const std::int64_t count = (base[s] - call.x) + (t[s] >= *base[s]);
        cell[s] = static_cast<Cell>(cell_of_count(count, t[s], call));
    }
}

// Peaks and partitions of which nothing is known.
template <Real R, class Cell> void find_bisecting(const SearchCall<R>& call, Cell* cell) {
    const std::int64_t n = call.nx - 1;
    if (n < large_partition) {
        in_groups<group>(call, cell, [&](const R* t, Cell* found) { bisect<group>(call, 0, n, t, found); });
    } else {
        in_groups<large_group>(call, cell, [&](const R* t, Cell* found) { bisect<large_group>(call, 0, n, t, found); });
    }
}

// ---- sorted sites --------------------------------------------------------------------------------------------------

constexpr int sorted_group = 16;

// The least and the greatest site of a group, lane by lane. A NaN is seen in the last places only.
template <Real R> struct Extent {
    using V = Lanes<R, lane_width<R>>;
    V least, most;

    [[gnu::always_inline]] explicit Extent(const R* t) : least(load<V>(t)), most(least) {
#pragma GCC unroll 8
        for (int i = lane_width<R>; i < sorted_group; i += lane_width<R>) {
            const V site = load<V>(t + i);
            least = smaller(least, site);
            most = larger(most, site);
        }
    }
    [[gnu::always_inline]] bool within(V lower, V upper) const {
        return lane_bits(not_above(lower, least) & below(most, upper)) == (1U << lane_width<R>)-1;
    }
};

// Four sites in lanes.
template <Real R> struct FourSites {
    using V = Lanes<R, lane_width<R>>;
    Four<R> site;

    [[gnu::always_inline]] explicit FourSites(const R* t) {
        for (int i = 0; i < registers_of_four<R>; ++i) site[i] = load<V>(t + i * lane_width<R>);
    }
    // Their cells, if each has `low` to low + n breakpoints at or below it, x[low + n - 1] among the inner ones.
    template <int n> [[gnu::always_inline]] Indexes cells(const R* x, std::int64_t low) const {
        FourMasks<R> count{};
#pragma GCC unroll 8
        for (int k = 0; k < n; ++k)
            for (int i = 0; i < registers_of_four<R>; ++i) count[i] += site[i] >= x[low + k];
        return static_cast<std::int32_t>(low) - narrowed(count);
    }
    [[gnu::always_inline]] bool within(V lower, V upper) const {
        auto inside = ~LaneMask<R, lane_width<R>>{};
        for (const V t : site) inside &= not_above(lower, t) & below(t, upper);
        return lane_bits(inside) == (1U << lane_width<R>)-1;
    }
};

// A group of sites goes on from the cell of the site before it. It lies in that cell as a whole; or in the few next
// ones; or it gets on by a few cells with every four sites; or it lies in a longer stretch of breakpoints, whose length
// is found in powers of 4. Where it does none of this, since the sites don't ascend, it is bisected from the start: the
// hint makes a search fast, it makes no cell wrong. NaNs get some cell here.
template <Real R, class Cell> class SortedSearch {
public:
    explicit SortedSearch(const SearchCall<R>& call) : call_(call), inner_(call.nx - 1) {
        enter(std::clamp<std::int64_t>(*call.last, 0, inner_), 0);
    }

    void find(Cell* cell) {
        in_groups<sorted_group>(
            call_, cell, [this](const R* t, Cell* found) __attribute__((always_inline)) {
                const Extent<R> extent(t);
                if (extent.within(lower_, upper_)) {
                    std::fill_n(found, sorted_group, static_cast<Cell>(last_));
                } else {
                    move(t, extent, found);
                }
            });
        *call_.last = last_;
    }

private:
    using V = Lanes<R, lane_width<R>>;
    static constexpr std::int64_t stretch = 32;

    [[gnu::noinline]] void move(const R* t, Extent<R> extent, Cell* found) {
        const R* x = call_.x;
        const std::int64_t low = std::max<std::int64_t>(std::min(last_, inner_) - 1, 0);
        const auto ends_before = [&](std::int64_t j) { return extent.within(lower_, splat<V>(x[j])); };
        const bool narrow = inner_ <= std::numeric_limits<std::int32_t>::max();
        const auto count = [&]<int n>(std::integral_constant<int, n>) {
#pragma GCC unroll 4
            for (int s = 0; s < sorted_group; s += 4)
                store_indexes(found + s, FourSites<R>(t + s).template cells<n>(x, last_));
        };
        if (narrow && last_ + 3 <= inner_ && ends_before(last_ + 3)) {
            count(std::integral_constant<int, 3>{});
        } else if (narrow && last_ + 8 <= inner_ && ends_before(last_ + 8)) {
            count(std::integral_constant<int, 8>{});
        } else if (narrow && last_ + stretch <= inner_ && extent.within(lower_, splat<V>(x[last_ + stretch]))) {
            step_on(t, found);
        } else if (extent.within(lower_, splat<V>(std::numeric_limits<R>::infinity()))) {
            std::int64_t n = 4;
            while (n < inner_ - low && !ends_before(low + n)) n *= 4;
            bisect_group(low, std::min(n, inner_ - low), t, found);
        } else {
            bisect_group(0, inner_, t, found);
        }
        enter(found[sorted_group - 1], t[sorted_group - 1]);
    }

    // Within `stretch` breakpoints from the cell before.
    void step_on(const R* t, Cell* found) const {
        const R* x = call_.x;
        std::int64_t low = last_;
        V lower = lower_;
        for (int s = 0; s < sorted_group; s += 4) {
            const FourSites<R> sites(t + s);
            if (low + 8 <= inner_ && sites.within(lower, splat<V>(x[low + 8]))) {
                store_indexes(found + s, sites.template cells<8>(x, low));
            } else {
                bisect<4>(call_, last_, stretch, t + s, found + s);
            }
            low = found[s + 3];
            if (low > 0) lower = splat<V>(x[low - 1]);
        }
    }

    void bisect_group(std::int64_t low, std::int64_t n, const R* t, Cell* found) const {
        for (int s = 0; s < sorted_group; s += group) bisect<group>(call_, low, n, t + s, found + s);
    }

    // What is from `site` on is right of the partition if `site` is.
    void enter(std::int64_t cell, R site) {
        constexpr R infinity = std::numeric_limits<R>::infinity();
        last_ = cell;
        lower_ = splat<V>(cell == 0 ? -infinity : cell > inner_ ? site : call_.x[cell - 1]);
        upper_ = splat<V>(cell > inner_ ? infinity : call_.x[cell]);
    }

    const SearchCall<R>& call_;
    std::int64_t inner_; // all breakpoints but the last
    std::int64_t last_;  // the cell of the site before, and its ends
    V lower_, upper_;
};

// ---- even grids ----------------------------------------------------------------------------------------------------

// An even grid, or the one that a nearly even partition is compared with.
template <Real R> struct EvenGrid {
    std::int64_t nx;
    R left, right, per_step;

    EvenGrid(const SearchCall<R>& call, R right_end)
        : nx(call.nx), left(call.x[0]), right(right_end), per_step(1 / call.step) {}

    // trunc((t - x[0]) * (1 / step)), with NaN, and what is beyond the last cell, taken for the last cell. Never
    // negative where t isn't left of the partition.
    std::int64_t interval(R t) const {
        const R place = (t - left) * per_step;
        const std::int64_t last = nx - 2;
        return place < static_cast<R>(last) ? static_cast<std::int64_t>(place) : last;
    }

    // Sites outside and on the right end don't depend on the rounding of the formula.
    std::int64_t cell(R t) const {
        if (t < left) return 0;
        if (t < right) return interval(t) + 1;
        return t == right ? nx - 1 : nx;
    }

    // Where interval() is below this, t is left of the right end, and the interval is one of the partition.
    R bound() const { return std::min((right - left) * per_step, static_cast<R>(nx - 1)); }

    // Indexes up to nx are exact as an R, and as a 32-bit integer.
    bool fits_lanes() const {
        constexpr std::int64_t exact = std::int64_t{1} << std::numeric_limits<R>::digits;
        return nx <= std::min<std::int64_t>(exact, std::numeric_limits<std::int32_t>::max());
    }
};

// The cells of a group in lanes, if all its sites are in the partition, and far enough from its right end for that to
// be seen from the formula; otherwise false. The formula ascends with t: its value at the right end and beyond is not
// below `bound`. A NaN becomes the least integer.
template <Real R, class Cell> bool find_inside(const EvenGrid<R>& grid, R bound, const R* t, Cell* cell) {
    constexpr int width = lane_width<R>;
    using V = Lanes<R, width>;
    V least{}, most{};
    Indexes interval[group / 4], signs{};
#pragma GCC unroll 2
    for (int s = 0; s < group; s += 4) {
        Four<R> place;
#pragma GCC unroll 2
        for (int i = 0; i < registers_of_four<R>; ++i) {
            place[i] = (load<V>(t + s + i * width) - grid.left) * grid.per_step;
            least = smaller(least, place[i]);
            most = larger(most, place[i]);
        }
        interval[s / 4] = truncated(place);
        signs |= interval[s / 4];
    }
    const auto outside = bits(least) | ~below(most, splat<V>(bound));
    if (lane_bits(outside) != 0 || lane_bits(signs) != 0) return false;
#pragma GCC unroll 2
    for (int s = 0; s < group; s += 4) store_indexes(cell + s, interval[s / 4] + 1);
    return true;
}

template <Real R, class Cell> void find_uniform(const SearchCall<R>& call, Cell* cell) {
    const EvenGrid<R> grid(call, call.x[1]);
    const bool lanes = grid.fits_lanes();
    const R bound = grid.bound();
    in_groups<group>(
        call, cell, [&](const R* t, Cell* found) __attribute__((always_inline)) {
            if (lanes && find_inside(grid, bound, t, found)) return;
            for (int s = 0; s < group; ++s) found[s] = static_cast<Cell>(grid.cell(t[s]));
        });
}

// ---- near a guess --------------------------------------------------------------------------------------------------

// How many of x[0..n) are at or below t.
template <Real R> std::int64_t count_below(const R* x, std::int64_t n, R t) {
    return std::partition_point(x, x + n, [t](R breakpoint) { return t >= breakpoint; }) - x;
}

// The cell of t near a guess from 0 to nx: steps of 1, 2, 4, ... away from it, which end at the ends of the partition,
// and a bisection of the last step. A walk finds the same cell in time that a bad guess makes long.
template <Real R> std::int64_t cell_near(const SearchCall<R>& call, R t, std::int64_t guess) {
    const R* x = call.x;
    const std::int64_t inner = call.nx - 1;
    std::int64_t low = std::min(guess, inner), high = low; // the count is between them
    if (low < inner && t >= x[low]) {
        for (std::int64_t step = 1; high < inner; step *= 2) {
            high = std::min(low + step, inner);
            if (high == inner || !(t >= x[high])) break;
            low = high;
        }
    } else {
        for (std::int64_t step = 1; low > 0; step *= 2) {
            low = std::max<std::int64_t>(high - step, 0);
            if (t >= x[low]) break;
            high = low;
        }
    }
    return cell_of_count(low + count_below(x + low, high - low, t), t, call);
}

// The cell by the mean step, or a neighbour of it, wherever the partition is as even as the hint says.
template <Real R, class Cell> void find_quasi_uniform(const SearchCall<R>& call, Cell* cell) {
    const R* x = call.x;
    const EvenGrid<R> grid(call, x[call.nx - 1]);
    for (std::int64_t i = 0; i < call.nsite; ++i) {
        const R t = call.site[i];
        std::int64_t c = grid.cell(t);
        if (c > 0 && c < call.nx) {
            c += (t >= x[c]) - (t < x[c - 1]);
            if (!(c > 0 && c < call.nx && t >= x[c - 1] && t < x[c])) c = cell_near(call, t, c);
        }
        cell[i] = static_cast<Cell>(c);
    }
}

// ---- the caller's estimates ----------------------------------------------------------------------------------------

// A site on the breakpoint that ends the estimated cell stays in that cell.
template <Real R> std::int64_t refined(const SearchCall<R>& call, R t, std::int64_t estimate) {
    const std::int64_t guess = std::clamp<std::int64_t>(estimate, 0, call.nx);
    if (guess < call.nx && t <= call.x[guess] && (guess == 0 || call.x[guess - 1] <= t)) return guess;
    return cell_near(call, t, guess);
}

// What the callback leaves unwritten is an estimate of 0.
template <Real R, class Cell, class Refine>
std::int32_t ask(const SearchCall<R>& call, Cell* cell, const Refine& refine) {
    constexpr std::int64_t most = 256;
    constexpr std::int32_t all_final = 1000;
    std::int64_t estimates[most];
    std::int32_t status = 0;
    std::int64_t first = 0;
    do { // once for no sites
        const std::int64_t n = std::min(call.nsite - first, most);
        const R* site = call.site + first;
        std::int32_t* flags = call.flags + first;
        std::fill_n(estimates, n, 0);
        std::fill_n(flags, n, 0);
        status = call.search_cb(&n, site, estimates, flags, call.search_params, call.side);
        if (status < 0) return status;
        for (std::int64_t i = 0; i < n; ++i) {
            const bool is_final = status == all_final || flags[i] != 0;
            cell[first + i] = static_cast<Cell>(is_final ? estimates[i] : refine(site[i], estimates[i]));
        }
        first += n;
    } while (first < call.nsite);
    return status == all_final ? 0 : status;
}

// ---- the exports ---------------------------------------------------------------------------------------------------

template <Search kind, Real R, class Cell> std::int32_t find(const SearchCall<R>& call, Cell* cell) {
    if constexpr (kind == Search::user_def) {
        return ask(call, cell, [&](R t, std::int64_t estimate) { return refined(call, t, estimate); });
    } else if constexpr (kind == Search::user_def_uni) {
        const EvenGrid<R> grid(call, call.x[1]);
        return ask(call, cell, [&](R t, std::int64_t) { return grid.cell(t); });
    } else {
        if constexpr (kind == Search::uniform) find_uniform(call, cell);
        if constexpr (kind == Search::quasi_uniform) find_quasi_uniform(call, cell);
        if constexpr (kind == Search::sorted) SortedSearch<R, Cell>(call).find(cell);
        if constexpr (kind == Search::peak || kind == Search::hybrid) find_bisecting(call, cell);
        return 0;
    }
}

template <Search kind, Real R> std::int32_t find_in_form(const SearchCall<R>& call, void* cell, CellForm form) {
    return (static_cast<std::uint32_t>(form) & 3) == static_cast<std::uint32_t>(CellForm::narrow)
               ? find<kind>(call, static_cast<std::int32_t*>(cell))
               : find<kind>(call, static_cast<std::int64_t*>(cell));
}

} // namespace

} // namespace nvo::fitting

using namespace nvo::fitting;

// What the name fixes, and what the form word of a general kernel says.
#define NVO_DF_KERNEL(name, real, kind, cell_form)                                                                \
    std::int32_t name(std::int64_t nx, const real* x, std::int64_t nsite, const real* site, std::int64_t* last,   \
                      const real*, std::uint64_t, const BucketRange*, void* cell, [[maybe_unused]] CellForm form, \
                      SearchCallback<real>* search_cb, void* search_params, void* side, std::int32_t* flags,      \
                      real step) {                                                                                \
        const SearchCall<real> call{nx, x, nsite, site, last, search_cb, search_params, side, flags, step};       \
        return find_in_form<Search::kind>(call, cell, cell_form);                                                 \
    }
#define NVO_DF_KERNELS(t, real, Kind, kind)                                              \
    NVO_DF_KERNEL(nvo_df_kernel_##t##DF##Kind##Search1D, real, kind, form)               \
    NVO_DF_KERNEL(nvo_df_kernel_##t##DF##Kind##Search1D32, real, kind, CellForm::narrow) \
    NVO_DF_KERNEL(nvo_df_kernel_##t##DF##Kind##Search1D64, real, kind, CellForm::wide)   \
    NVO_DF_KERNEL(nvo_df_kernel_##t##DF##Kind##Search1D64Pack, real, kind, CellForm::wide)
#define NVO_DF_KIND(Kind, kind)          \
    NVO_DF_KERNELS(s, float, Kind, kind) \
    NVO_DF_KERNELS(d, double, Kind, kind)
NVO_DF_SEARCH_KINDS(NVO_DF_KIND) // NOLINT(readability-non-const-parameter): one signature for all kinds
