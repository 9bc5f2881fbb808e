// Cells by their definition, and calls of search in one line.
#pragma once

#include "tests/support/fitting.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace nvo::tests {

template <class R> constexpr R not_a_number = std::numeric_limits<R>::quiet_NaN();

// The breakpoints at or below t, and the last cell for the right end.
template <class R> std::int64_t counted_cell(const std::vector<R>& x, R t) {
    if (t == x.back()) return static_cast<std::int64_t>(x.size()) - 1;
    return std::upper_bound(x.begin(), x.end(), t) - x.begin();
}

template <class R> std::vector<std::int64_t> counted_cells(const std::vector<R>& x, const std::vector<R>& sites) {
    std::vector<std::int64_t> cells;
    for (const R t : sites) cells.push_back(counted_cell(x, t));
    return cells;
}

// The formula of even grids, with sites at and beyond the ends by definition.
template <class R> std::int64_t even_cell(const R* ends, std::int64_t nx, R t) {
    if (t < ends[0]) return 0;
    if (t >= ends[1]) return t == ends[1] ? nx - 1 : nx;
    const R per_step = 1 / ((ends[1] - ends[0]) / static_cast<R>(nx - 1));
    return std::min(static_cast<std::int64_t>((t - ends[0]) * per_step), nx - 2) + 1;
}

template <class R> std::vector<R> random_breaks(std::int64_t nx, std::uint32_t seed = 1) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<R> gap(R(0.01), R(1));
    std::vector<R> x{R(-3.25)};
    while (static_cast<std::int64_t>(x.size()) < nx) x.push_back(x.back() + gap(random));
    return x;
}

// Breakpoints a third of the step off an even grid, at most.
template <class R> std::vector<R> nearly_even_breaks(std::int64_t nx, std::uint32_t seed = 1) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<R> off(R(-1) / 3, R(1) / 3);
    std::vector<R> x;
    for (std::int64_t j = 0; j < nx; ++j) x.push_back((static_cast<R>(j) + off(random)) / 4);
    return x;
}

// Each breakpoint and its neighbours, a site in each cell, and some outside, in random order.
template <class R> std::vector<R> telling_sites(const std::vector<R>& x) {
    constexpr R infinity = std::numeric_limits<R>::infinity();
    std::vector<R> sites = {-infinity, infinity, x.front() - 1, x.back() + 1};
    for (std::size_t j = 0; j < x.size(); ++j) {
        sites.insert(sites.end(), {x[j], std::nextafter(x[j], infinity), std::nextafter(x[j], -infinity)});
        if (j > 0) sites.push_back((x[j - 1] + x[j]) / 2);
    }
    std::shuffle(sites.begin(), sites.end(), std::mt19937(3));
    return sites;
}

// What a call of search needs beside task and sites.
template <class R> struct SearchCall {
    std::int64_t sitehint = DF_SITE_FREE;
    const R* datahint = nullptr;
    typename Fit<R>::SearchCallback* callback = nullptr;
    void* params = nullptr;
    const OstThreading* threading = nullptr;
    std::int64_t nsite = -1; // as many as there are
};

struct Cells {
    std::int32_t status;
    std::vector<std::int64_t> cell;
};

// Cells that a call leaves alone come back as `untouched`.
constexpr std::int64_t untouched = -77;

template <class R>
Cells search(DFTask1D* task, bool wide, const std::vector<R>& sites, const SearchCall<R>& call = {}) {
    const std::int64_t nsite = call.nsite < 0 ? static_cast<std::int64_t>(sites.size()) : call.nsite;
    const auto run = [&](auto untouched_cell) {
        std::vector<decltype(untouched_cell)> cell(static_cast<std::size_t>(nsite) + 1, untouched_cell);
        const auto status = Fit<R>::search(task, 0, nsite, sites.data(), call.sitehint, call.datahint, cell.data(),
                                           call.callback, call.params, call.threading);
        EXPECT_EQ(cell.back(), untouched) << "behind the last cell";
        return Cells{status, {cell.begin(), cell.end() - 1}};
    };
    return wide ? run(std::int64_t{untouched}) : run(std::int32_t{untouched});
}

} // namespace nvo::tests
