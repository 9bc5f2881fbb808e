// Summary of a stream of numbers in a memory that grows with the logarithm of their count.
//
// Q. Zhang, W. Wang, A fast algorithm for approximate quantiles in high speed data streams, SSDBM 2007. Stage s takes
// about 2^(s+1)/e observations, in blocks of b. A full block is sorted, and of its elements every second one and the
// last are kept: a summary of level 1. Two summaries of a level are merged and thinned out in the same way to one of
// the next, so that levels are occupied as the bits of the number of blocks are set.
//
// Each element carries the least and the greatest rank that it can have among the observations that its summary stands
// for. Thinning out leaves the ranks of the others as they were. Claim for level h, n = b 2^(h-1) observations:
//   (1) rmin goes up by 2^h at most, from 0 in front of the first element to n at the last, whose ranks are both n;
//   (2) rmax - rmin <= d(h) = (h - 2) 2^(h-1) + 1.
// True for the block: sorted, every second. Merging A and B of level h, neighbours in the result have neighbours in A
// or in B, so rmin still goes up by 2^h at most, and by twice that when every second stays. The element behind A[i] in
// B has a rank there up to 2^h + d(h) above that of the one in front, so rmax - rmin becomes up to
// 2 d(h) + 2^h - 1 = d(h + 1). Hence neighbours u, v of one summary have rmax(v) - rmin(u) <= 1 + h 2^(h-1) =
// 1 + n h/b, and what lies above 1 adds up when summaries of any kinds are merged.
//
// A rank between those of u and v is missed by half of that by the nearer one: by at most (1 + sum of n h/b)/2, and by
// whole ranks. Stage 0 has two blocks or three and h up to 2, and b >= 1/e: error e N. In later stages h <= log2(N/b) +
// 1, about e b, so that their share of the error is about e N/2. The first and the last element of all stay.
#pragma once

#include "nvo_ark/scalar.h"
#include "stats/sorting.h"
#include "stats/task.h"
#include "support/scratch.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace nvo::stats {

// ---- Elements with their ranks --------------------------------------------------------------------------------------

template <Real R> struct Elements {
    R* values;
    std::int64_t *rmin, *rmax;

    Elements operator+(std::int64_t i) const { return {values + i, rmin + i, rmax + i}; }
    void put(std::int64_t i, const Elements& from, std::int64_t k) const {
        values[i] = from.values[k];
        rmin[i] = from.rmin[k];
        rmax[i] = from.rmax[k];
    }
};

// Ascending in total order, as all elements here are, NaNs included. Ranks from 1 on. The buffer is of the same length.
template <Real R> void sort_block(Elements<R> block, std::int64_t n, R* buffer) {
    sort_numbers(block.values, buffer, n);
    for (std::int64_t i = 0; i < n; ++i) block.rmin[i] = block.rmax[i] = i + 1;
}

// Keeps elements 0, 2, 4, ... and the last, so that what comes behind it in a merge gets its right ranks. Returns their
// number, n/2 + 1.
template <Real R> std::int64_t compress(Elements<R> from, std::int64_t n, Elements<R> to) {
    const std::int64_t kept = n / 2 + 1;
    for (std::int64_t i = 0; i < kept - 1; ++i) to.put(i, from, 2 * i);
    to.put(kept - 1, from, n - 1);
    return kept;
}

// In front of an element of one side stand as many of the other as the rank of the last one taken there tells, and at
// most one less than the rank of the next one.
template <Real R> void merge(Elements<R> a, std::int64_t a_count, Elements<R> b, std::int64_t b_count, Elements<R> to) {
    std::int64_t i = 0, j = 0, a_below = 0, b_below = 0;
    while (i < a_count && j < b_count) {
        const OrderKey<R> x = order_key(a.values[i]), y = order_key(b.values[j]);
        const std::int64_t from_a = y > x; // no branch: it would be taken at random
        to.values[i + j] = value_of_key<R>(std::min(x, y));
        to.rmax[i + j] = a.rmax[i] + b.rmax[j] - 1;
        a_below += (a.rmin[i] - a_below) & -from_a;
        b_below += (b.rmin[j] - b_below) & (from_a - 1);
        to.rmin[i + j] = a_below + b_below;
        i += from_a;
        j += 1 - from_a;
    }
    // The side that has ended ends with its greatest observation: all of it is in front of the rest.
    const auto append = [&](Elements<R> rest, std::int64_t first, std::int64_t count, std::int64_t below) {
        for (std::int64_t k = first; k < count; ++k) {
            to.values[i + j + (k - first)] = rest.values[k];
            to.rmin[i + j + (k - first)] = rest.rmin[k] + below;
            to.rmax[i + j + (k - first)] = rest.rmax[k] + below;
        }
    };
    if (i < a_count)
        append(a, i, a_count, b_below);
    else
        append(b, j, b_count, a_below);
}

// ---- Stages ---------------------------------------------------------------------------------------------------------

template <Real R> struct Stage {
    std::int64_t seen;      // observations taken in
    std::int64_t block;     // b
    std::int64_t levels;    // L
    std::int64_t level_one; // 0, not used
    std::int64_t fill;      // elements in the block that is being filled, row 0
    std::int64_t* occupied; // [L + 1], 1 if a level has a summary
    R* values;              // row 0, then a row of each level from 1 to L; the ranks as well
    std::int64_t *rmin, *rmax;
    std::int64_t capacity; // N(s): observations that it takes

    std::int64_t room() const { return capacity - seen; }
    // Both ends are always kept, so a summary of level l has b/2 + l elements, and two of level L - 1 meet in row 0.
    std::int64_t row() const { return block + 2 * (levels - 1); }
    std::int64_t row_of_level() const { return block / 2 + levels; }
    std::int64_t elements() const { return row() + levels * row_of_level(); }
    std::int64_t size_of_level(std::int64_t l) const { return block / 2 + l; }
    Elements<R> level(std::int64_t l) const {
        return Elements<R>{values, rmin, rmax} + (l == 0 ? 0 : row() + (l - 1) * row_of_level());
    }
};

// Stage s, empty, in a block of memory that starts at `occupied`. False if there is none.
template <Real R> bool make_stage(std::int64_t s, double epsilon, Stage<R>& stage) {
    constexpr std::int64_t last_stage = 62; // of 2^63 observations and more
    constexpr double most_elements = 0x1p56;
    if (s > last_stage) return false;
    const auto power = static_cast<double>(std::uint64_t{1} << (s + 1)); // in double, where nothing overflows
    const double observations = __ostdFloor((2 * power - 1) / epsilon) - __ostdFloor((power - 1) / epsilon);
    const double lg = __ostdLn(observations * epsilon) * 1.4426950408889634; // of base 2
    // Below 1/e the first summary would be too coarse for its number of observations.
    const double block = std::max(__ostdFloor(lg / epsilon), -__ostdFloor(-1 / epsilon));
    const double levels = __ostdFloor(lg + 2); // N/b <= 2^lg: the highest level is L - 1
    if (!((levels + 1) * (block + 2 * levels) <= most_elements)) return false; // NaN too

    stage = {};
    stage.block = static_cast<std::int64_t>(block);
    stage.levels = static_cast<std::int64_t>(levels);
    stage.capacity = observations < 0x1p63 ? static_cast<std::int64_t>(observations)
                                           : std::numeric_limits<std::int64_t>::max(); // never used up
    const std::int64_t flags = stage.levels + 1, elements = stage.elements();
    const auto bytes = static_cast<std::size_t>(flags + 2 * elements) * sizeof(std::int64_t) +
                       static_cast<std::size_t>(elements) * sizeof(R);
    stage.occupied = static_cast<std::int64_t*>(nvo_serv_allocate(bytes, block_alignment));
    if (!stage.occupied) return false;
    stage.rmin = stage.occupied + flags;
    stage.rmax = stage.rmin + elements;
    stage.values = reinterpret_cast<R*>(stage.rmax + elements);
    std::fill_n(stage.occupied, flags, 0);
    return true;
}

// Two sequences of elements that a thread works with, and the ends of `runs` runs in them.
template <Real R> struct Workspace {
    Elements<R> first, second;
    std::int64_t* ends;
};

// Row 0 is full: it carries over into the levels.
template <Real R> void close_block(Stage<R>& stage, const Workspace<R>& work) {
    const Elements<R> row = stage.level(0);
    std::int64_t size = stage.block, level = 1;
    sort_block(row, size, work.first.values);
    for (; stage.occupied[level]; ++level) {
        const std::int64_t kept = compress(row, size, work.first);
        size = kept + stage.size_of_level(level);
        merge(work.first, kept, stage.level(level), stage.size_of_level(level), row);
        stage.occupied[level] = 0;
    }
    compress(row, size, stage.level(level));
    stage.occupied[level] = 1;
    stage.fill = 0;
}

// Takes in `count` values, no more than the stage has room for. The workspace has a row if that closes a block.
template <Real R>
void _vSSSQuantilesProcessBlock(const R* values, std::int64_t count, Stage<R>& stage, std::int64_t stride,
                                const Workspace<R>& work) {
    stage.seen += count;
    while (count > 0) {
        const std::int64_t taken = std::min(count, stage.block - stage.fill);
        R* const to = stage.values + stage.fill;
        for (std::int64_t i = 0; i < taken; ++i) to[i] = values[i * stride];
        values += taken * stride;
        count -= taken;
        stage.fill += taken;
        if (stage.fill == stage.block) close_block(stage, work);
    }
}

} // namespace nvo::stats
