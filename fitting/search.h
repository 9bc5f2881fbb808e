// Cell search: the kinds of search, how a call selects one, and the kernels that searches, values and integrals place
// their sites with.
//
// The cell of a site t is the number of breakpoints at or below t, and nx - 1 on the last breakpoint itself: 0 left of
// the partition, j for x[j-1] <= t < x[j], nx right of it. A NaN, which has no cell, gets nx in every kind.
#pragma once

#include "fitting/task.h"
#include "fitting/views.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <type_traits>

namespace nvo::fitting {

template <Real R>
using SearchCallback = std::conditional_t<std::same_as<R, float>, nvo_df_sSearchCallback, nvo_df_dSearchCallback>;

// In the order of the dispatch tables. `none`: the caller has the cells.
enum class Search { uniform, quasi_uniform, sorted, peak, hybrid, user_def, user_def_uni, none };
inline constexpr int search_kinds = 7;

// ---- kernels -------------------------------------------------------------------------------------------------------

// Form word of the general kernels: the type of the cells. With bit 1 clear it is 64 bits.
enum class CellForm : std::uint32_t { wide_by_nx = 0, narrow = 2, wide = 3 };

constexpr CellForm cell_form(std::uint32_t cell_wide) { return cell_wide ? CellForm::wide_by_nx : CellForm::narrow; }

// Writes the cells of nsite sites. x lists the breakpoints, or holds the two ends in the two kinds of even grids.
//
// last       the sorted kernel's position, in and out: the cell of the site before, or 0. Any value gives right cells,
//            a good one gives them fast.
// datahint, bucket_count, bucket_table    not read
// cell       nsite elements of 32 or 64 bits: by the kernel's name, in the general kernels by `form`
// search_cb, search_params, side          for the callback kinds; the others don't read them
// flags      scratch of the callback kinds, nsite words
// step       of the grid, in the kinds that estimate a cell from it: search_step()
//
// Returns 0, or what the callback returned last, 1000 turned into 0. A negative status ends the work at once.
template <Real R>
using SearchKernel = std::int32_t(std::int64_t nx, const R* x, std::int64_t nsite, const R* site, std::int64_t* last,
                                  const R* datahint, std::uint64_t bucket_count, const BucketRange* bucket_table,
                                  void* cell, CellForm form, SearchCallback<R>* search_cb, void* search_params,
                                  void* side, std::int32_t* flags, R step);

// The kinds in the order of `Search`, with their enumerators.
#define NVO_DF_SEARCH_KINDS(KIND)     \
    KIND(Uniform, uniform)            \
    KIND(QuasiUniform, quasi_uniform) \
    KIND(Sorted, sorted)              \
    KIND(Peak, peak)                  \
    KIND(Hybrid, hybrid)              \
    KIND(UserDef, user_def)           \
    KIND(UniUserDef, user_def_uni)

} // namespace nvo::fitting

// The general kernels nvo_df_kernel_[sd]DF<Kind>Search1D, and those of one type of cell: ...32, ...64, and ...64Pack
// for nx that fits 32 bits.
#pragma GCC visibility push(default)
extern "C" {
#define NVO_DF_KIND(Kind, kind)                                                \
    nvo::fitting::SearchKernel<float> nvo_df_kernel_sDF##Kind##Search1D;       \
    nvo::fitting::SearchKernel<float> nvo_df_kernel_sDF##Kind##Search1D32;     \
    nvo::fitting::SearchKernel<float> nvo_df_kernel_sDF##Kind##Search1D64;     \
    nvo::fitting::SearchKernel<float> nvo_df_kernel_sDF##Kind##Search1D64Pack; \
    nvo::fitting::SearchKernel<double> nvo_df_kernel_dDF##Kind##Search1D;      \
    nvo::fitting::SearchKernel<double> nvo_df_kernel_dDF##Kind##Search1D32;    \
    nvo::fitting::SearchKernel<double> nvo_df_kernel_dDF##Kind##Search1D64;    \
    nvo::fitting::SearchKernel<double> nvo_df_kernel_dDF##Kind##Search1D64Pack;
NVO_DF_SEARCH_KINDS(NVO_DF_KIND)
#undef NVO_DF_KIND
}
#pragma GCC visibility pop

namespace nvo::fitting {

// The dispatch tables: general kernels, and those of narrow (32) and wide (64) cells. Search::none has a null.
template <Real R> using SearchTable = std::array<SearchKernel<R>*, search_kinds + 1>;
template <Real R> inline constexpr SearchTable<R> general_searches{};
template <Real R> inline constexpr SearchTable<R> narrow_searches{};
template <Real R> inline constexpr SearchTable<R> wide_searches{};

#define NVO_DF_SINGLE(Kind, kind) nvo_df_kernel_sDF##Kind##Search1D,
#define NVO_DF_SINGLE_32(Kind, kind) nvo_df_kernel_sDF##Kind##Search1D32,
#define NVO_DF_SINGLE_64(Kind, kind) nvo_df_kernel_sDF##Kind##Search1D64,
#define NVO_DF_DOUBLE(Kind, kind) nvo_df_kernel_dDF##Kind##Search1D,
#define NVO_DF_DOUBLE_32(Kind, kind) nvo_df_kernel_dDF##Kind##Search1D32,
#define NVO_DF_DOUBLE_64(Kind, kind) nvo_df_kernel_dDF##Kind##Search1D64,
template <> inline constexpr SearchTable<float> general_searches<float>{NVO_DF_SEARCH_KINDS(NVO_DF_SINGLE)};
template <> inline constexpr SearchTable<float> narrow_searches<float>{NVO_DF_SEARCH_KINDS(NVO_DF_SINGLE_32)};
template <> inline constexpr SearchTable<float> wide_searches<float>{NVO_DF_SEARCH_KINDS(NVO_DF_SINGLE_64)};
template <> inline constexpr SearchTable<double> general_searches<double>{NVO_DF_SEARCH_KINDS(NVO_DF_DOUBLE)};
template <> inline constexpr SearchTable<double> narrow_searches<double>{NVO_DF_SEARCH_KINDS(NVO_DF_DOUBLE_32)};
template <> inline constexpr SearchTable<double> wide_searches<double>{NVO_DF_SEARCH_KINDS(NVO_DF_DOUBLE_64)};
#undef NVO_DF_SINGLE
#undef NVO_DF_SINGLE_32
#undef NVO_DF_SINGLE_64
#undef NVO_DF_DOUBLE
#undef NVO_DF_DOUBLE_32
#undef NVO_DF_DOUBLE_64

// ---- a call's search -----------------------------------------------------------------------------------------------

// Null if the data hint isn't accepted: DF_ST_BAD_DATA_HINT.
template <Real R>
std::optional<Search> select_search(const TaskRecord<R>& task, std::int64_t sitehint, const R* datahint,
                                    SearchCallback<R>* search_cb) {
    if (search_cb) return task.even_grid() ? Search::user_def_uni : Search::user_def;
    if (task.x_hint == DF_GRID_NEAR_EVEN) return Search::quasi_uniform;
    if (task.even_grid()) return Search::uniform;
    if (sitehint == DF_SITE_SORTED) return Search::sorted;
    if (!datahint || datahint[1] == 0) return Search::hybrid;
    const bool peak = datahint[1] == 1 && datahint[4] >= 0 && datahint[4] <= static_cast<R>(task.nx);
    return peak ? std::optional(Search::peak) : std::nullopt;
}

// x[nx-1], as it was given.
template <Real R> R right_end(const TaskRecord<R>& task) { return task.x[task.even_grid() ? 1 : task.nx - 1]; }

// The mean step of a listed partition, the step of an even one.
template <Real R> R search_step(const TaskRecord<R>& task) {
    return (right_end(task) - task.x[0]) / static_cast<R>(task.nx - 1);
}

// A call's search, to run on one block of its sites after the other:
//
//     const SiteSearch<R> search(task, kind, datahint, search_cb, search_params);
//     std::int64_t last = 0;
//     status = search.run(n, site, cell, CellForm::wide, last, flags);
template <Real R> class SiteSearch {
public:
    // search_cb must be there in the callback kinds.
    SiteSearch(const TaskRecord<R>& task, Search kind, const R* datahint, SearchCallback<R>* search_cb,
               void* search_params)
        : task_(task), kernel_(general_searches<R>[static_cast<std::size_t>(kind)]), datahint_(datahint),
          search_cb_(search_cb), search_params_(search_params), step_(search_step(task)) {}

    // flags has n words in the callback kinds, and isn't read in the others.
    std::int32_t run(std::int64_t n, const R* site, void* cell, CellForm form, std::int64_t& last, std::int32_t* flags,
                     std::int32_t* side = nullptr) const {
        return kernel_(task_.nx, task_.x, n, site, &last, datahint_, task_.bucket_count, task_.bucket_table, cell, form,
                       search_cb_, search_params_, side, flags, step_);
    }

private:
    const TaskRecord<R>& task_;
    SearchKernel<R>* kernel_;
    const R* datahint_;
    SearchCallback<R>* search_cb_;
    void* search_params_;
    R step_;
};

// ---- evenly spaced sites -------------------------------------------------------------------------------------------

// Sites first, ..., first + n - 1 of the nsite evenly spaced ones between two ends, as values and integrals form them
// block by block. One site alone is the left end.
template <Real R> void spread_sites(const R* ends, std::int64_t nsite, std::int64_t first, std::int64_t n, R* site) {
    if (nsite == 1) {
        std::fill_n(site, n, ends[0]);
        return;
    }
    const R length = ends[1] - ends[0];
    const auto intervals = static_cast<R>(nsite - 1);
    for (std::int64_t i = 0; i < n; ++i) site[i] = ends[0] + static_cast<R>(first + i) * length / intervals;
}

} // namespace nvo::fitting
