// Quicksort and selection, one walk for arrays without gaps, with a stride, and in pairs.
//
// Median of three, partition from both ends, short ranges by insertion, the larger part on a stack: R. Sedgewick,
// Implementing quicksort programs, CACM 21 (1978), 847-857. Ranges of a run that has cost far more than runs do are
// sorted as heaps (D. Musser, Introspective sorting and selection algorithms, Software 27 (1997), 983-993), so that no
// data make it quadratic.
//
// All places that are read lie in the range, NaNs or not: see split(). Keys that don't compare end up anywhere.
#pragma once

#include "stats/total_order.h"

#include <bit>
#include <cstdint>
#include <utility>

namespace nvo::stats {

// ---- What is sorted: elements with keys -----------------------------------------------------------------------------

// Keys: the number itself, with the comparison of the language; or its place in total order.
struct ByValue {
    template <class T> static T key(T x) { return x; }
};
struct ByTotalOrder {
    template <class T> static OrderKey<T> key(T x) { return order_key(x); }
};

template <class T, class By = ByValue> struct Dense {
    using Element = T;
    T* x;
    T get(std::int64_t i) const { return x[i]; }
    void put(std::int64_t i, T e) const { x[i] = e; }
    static auto key(T e) { return By::key(e); }
};

template <class T> struct Strided {
    using Element = T;
    T* x;
    std::int64_t stride;
    T get(std::int64_t i) const { return x[i * stride]; }
    void put(std::int64_t i, T e) const { x[i * stride] = e; }
    static T key(T e) { return e; }
};

// x is sorted, and w goes along.
template <class T, class By = ByValue> struct Paired {
    struct Element {
        T x, w;
    };
    T *x, *w;
    Element get(std::int64_t i) const { return {x[i], w[i]}; }
    void put(std::int64_t i, Element e) const {
        x[i] = e.x;
        w[i] = e.w;
    }
    static auto key(Element e) { return By::key(e.x); }
};

// ---- Steps on the range from l to r, both included ------------------------------------------------------------------

template <class S> auto key_at(S s, std::int64_t i) { return S::key(s.get(i)); }

template <class S> void exchange(S s, std::int64_t i, std::int64_t j) {
    const auto e = s.get(i);
    s.put(i, s.get(j));
    s.put(j, e);
}

template <class S> void put_in_order(S s, std::int64_t i, std::int64_t j) {
    if (key_at(s, i) > key_at(s, j)) exchange(s, i, j);
}

template <class S> void insertion_sort(S s, std::int64_t l, std::int64_t r) {
    for (std::int64_t i = l + 1; i <= r; ++i) {
        const auto e = s.get(i);
        std::int64_t j = i;
        for (; j > l && key_at(s, j - 1) > S::key(e); --j) s.put(j, s.get(j - 1));
        s.put(j, e);
    }
}

template <class S> void heap_sort(S s, std::int64_t l, std::int64_t r) {
    const auto sift_down = [s, l](std::int64_t parent, std::int64_t count) {
        for (std::int64_t child; (child = 2 * parent + 1) < count; parent = child) {
            if (child + 1 < count && key_at(s, l + child) < key_at(s, l + child + 1)) ++child;
            if (!(key_at(s, l + parent) < key_at(s, l + child))) return;
            exchange(s, l + parent, l + child);
        }
    };
    const std::int64_t n = r - l + 1;
    for (std::int64_t parent = n / 2 - 1; parent >= 0; --parent) sift_down(parent, n);
    for (std::int64_t count = n - 1; count > 0; --count) {
        exchange(s, l, l + count);
        sift_down(0, count);
    }
}

// What a range of at least three elements comes apart into: l to pivot - 1, not above the pivot, and from `right` to r,
// not below it. What lies between the two parts is in its place.
struct Split {
    std::int64_t pivot, right;
};

// The walks need no test for the ends of the range, NaNs or not: i stops at r at the latest, since key_at(r) < pivot
// doesn't hold, j at l + 1, where the pivot itself stands, and neither is exchanged, as i > l + 1 and j < r before the
// first exchange. Of key_at(r): where the pivot is what the second step left at l + 1, that step saw to it. Where the
// third step fetched it from l, it is a number, not above what the first step left at r. If the second step then put
// something else there, that was above, and a number too.
template <class S> Split split(S s, std::int64_t l, std::int64_t r) {
    exchange(s, (l + r) >> 1, l + 1);
    put_in_order(s, l, r);
    put_in_order(s, l + 1, r);
    put_in_order(s, l, l + 1);
    const auto pivot = s.get(l + 1);
    std::int64_t i = l + 1, j = r;
    for (;;) {
        do ++i;
        while (key_at(s, i) < S::key(pivot));
        do --j;
        while (key_at(s, j) > S::key(pivot));
        if (j < i) break;
        exchange(s, i, j);
    }
    s.put(l + 1, s.get(j));
    s.put(j, pivot);
    return {j, i};
}

// ---- The family -----------------------------------------------------------------------------------------------------

// Ascending, not stable. Partitions walk over 1.2 n log2(n) elements on the mean.
template <class S> void quicksort(S s, std::int64_t n) {
    constexpr std::int64_t by_insertion = 7;
    if (n < 2) return;
    // The range that goes on is the smaller part, at most half as long, so that 64 are enough.
    std::pair<std::int64_t, std::int64_t> stack[64], range{0, n - 1};
    int waiting = 0;
    std::int64_t budget = 4 * n * std::bit_width(static_cast<std::uint64_t>(n));
    for (;;) {
        const auto [l, r] = range;
        if (r - l >= by_insertion && (budget -= r - l) >= 0) {
            const Split at = split(s, l, r);
            range = {l, at.pivot - 1};
            std::pair<std::int64_t, std::int64_t> larger{at.right, r};
            if (range.second - range.first > larger.second - larger.first) std::swap(range, larger);
            stack[waiting++] = larger;
            continue;
        }
        if (r - l >= by_insertion) {
            heap_sort(s, l, r);
        } else {
            insertion_sort(s, l, r);
        }
        if (waiting == 0) return;
        range = stack[--waiting];
    }
}

// Puts the element of rank k, of those from 0 to n - 1, in its place, none above it before and none below it behind.
template <class S> void quickselect(S s, std::int64_t n, std::int64_t k) {
    std::int64_t l = 0, r = n - 1, budget = 16 * n; // 3.4 n are walked over on the mean
    while (r - l >= 2) {
        if ((budget -= r - l) < 0) return heap_sort(s, l, r);
        const Split at = split(s, l, r);
        if (k < at.pivot) {
            r = at.pivot - 1;
        } else if (k >= at.right) {
            l = at.right;
        } else {
            return;
        }
    }
    if (l < r) put_in_order(s, l, r);
}

} // namespace nvo::stats
