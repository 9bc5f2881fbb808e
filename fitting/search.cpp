// Search as a call of its own: one cell for each site.
#include "fitting/search.h"

#include "support/scratch.h"
#include "support/team.h"

#include <algorithm>
#include <cstddef>

namespace nvo::fitting {

namespace {

constexpr std::int64_t sites_on_stack = 4096; // evenly spaced ones, formed before the search
constexpr std::int64_t callback_block = 128;

// What a call asks for, with its sites formed.
template <Real R> struct Request {
    const TaskRecord<R>& task;
    Search kind;
    SiteSearch<R> search;
    std::int64_t nsite;
    const R* site;
    void* cell;

    // Cells of sites first, ..., first + n - 1. A position of the sorted search is this range's own: cells don't depend
    // on how a call is split.
    std::int32_t run(std::int64_t first, std::int64_t n, std::int32_t* flags = nullptr) const {
        const std::size_t cell_bytes = task.cell_wide ? sizeof(std::int64_t) : sizeof(std::int32_t);
        auto* place = static_cast<std::byte*>(cell) + static_cast<std::size_t>(first) * cell_bytes;
        std::int64_t last = 0;
        return search.run(n, site + first, place, cell_form(task.cell_wide), last, flags);
    }
};

// Every thread gets an equal number of whole units of sites, and the calling thread what is left over.
template <Real R> void run_in_chunks(const Request<R>& request, std::int64_t unit, const Team& team) {
    const std::int64_t units = request.nsite / unit;
    const std::int64_t threads = std::min(team.max_threads(), units);
    std::int64_t done = 0;
    if (threads > 1) {
        const std::int64_t chunk = units / threads * unit;
        auto body = [&](std::int64_t item, std::int64_t) { request.run(item * chunk, chunk); };
        team.run_for(threads, threads, body);
        done = threads * chunk;
    }
    request.run(done, request.nsite - done);
}

// The callback runs on the calling thread, and once more after the last full block, if only for no sites.
template <Real R> std::int32_t run_with_callback(const Request<R>& request) {
    std::int32_t flags[callback_block];
    for (std::int64_t first = 0;; first += callback_block) {
        const std::int64_t n = std::min(request.nsite - first, callback_block);
        const std::int32_t status = request.run(first, n, flags);
        if (status < 0 || n < callback_block) return status;
    }
}

template <Real R> std::int32_t run(const Request<R>& request, const Team& team) {
    constexpr std::int64_t few_breakpoints = 100, block = 2048;
    switch (request.kind) {
    case Search::user_def:
    case Search::user_def_uni: return run_with_callback(request);
    case Search::hybrid:
        run_in_chunks(request, block, request.task.nx <= few_breakpoints ? Team(nullptr) : team);
        return DF_ST_OK;
    default: run_in_chunks(request, 1, team); return DF_ST_OK;
    }
}

// A formula of this call's own, with the reciprocal taken once. One site alone is the left end.
template <Real R> void expand(const R* ends, std::int64_t nsite, R* site) {
    site[0] = ends[0];
    if (nsite == 1) return;
    const R length = ends[1] - ends[0];
    const R reciprocal = 1 / static_cast<R>(nsite - 1);
    for (std::int64_t i = 0; i < nsite; ++i) site[i] = static_cast<R>(i) * length * reciprocal + ends[0];
}

template <Real R>
std::int32_t search(DFTask1D* handle, std::int64_t nsite, const R* site, std::int64_t sitehint, const R* datahint,
                    void* cell, SearchCallback<R>* search_cb, void* search_params, const OstThreading* threading) {
    if (!handle) return DF_ST_NO_TASK;
    const auto& task = record_of<R>(handle);
    const auto kind = select_search(task, sitehint, datahint, search_cb);
    if (!kind) return DF_ST_BAD_DATA_HINT;
    if (nsite <= 0) return DF_ST_OK;
    if (!cell) return DF_ST_NO_OUTPUT;
    Request<R> request{task, *kind, {task, *kind, datahint, search_cb, search_params}, nsite, site, cell};
    const Team team(threading);
    if (sitehint != DF_SITE_EVEN) return run(request, team);
    if (nsite <= sites_on_stack) {
        R sites[sites_on_stack];
        expand(site, nsite, sites);
        request.site = sites;
        return run(request, team);
    }
    const Scratch<R> sites(static_cast<std::size_t>(nsite));
    if (!sites) return DF_ST_NO_MEMORY;
    expand(site, nsite, sites.get());
    request.site = sites.get();
    return run(request, team);
}

} // namespace

} // namespace nvo::fitting

using namespace nvo::fitting;

#define NVO_DF_SEARCH(t, real)                                                                                     \
    std::int32_t nvo_df_kernel_##t##DFSearch1D(DFTask1D* task, std::int64_t, std::int64_t nsite, const real* site, \
                                               std::int64_t sitehint, const real* datahint, void* cell,            \
                                               nvo_df_##t##SearchCallback* search_cb, void* search_params,         \
                                               const OstThreading* threading) {                                    \
        return search(task, nsite, site, sitehint, datahint, cell, search_cb, search_params, threading);           \
    }
NVO_DF_SEARCH(s, float)
NVO_DF_SEARCH(d, double)
