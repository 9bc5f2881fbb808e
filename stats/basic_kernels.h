// Kernels of moments and covariance: one thread's pass over a piece of the observations.
//
// There is one for each pass, layout, weights or none, level of orders, and, in the one-pass form, with or without the
// matrix of cross-products: 64 a precision. They are told apart by names like _vSSBasic1pRW_R12__C2__C: one-pass
// formulas, data in rows, weighted, raw orders 1 and 2, central order 2, and cross-products.
#pragma once

#include "stats/task.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nvo::stats {

enum class Pass { one, fast, two };

inline constexpr int highest_order = 4;

// Orders as bits: bit k is order k.
struct Orders {
    unsigned raw, central;
};
constexpr bool has_order(unsigned orders, int k) { return (orders >> k & 1) != 0; }

// The orders of a pass by level. The two-pass form reads raw order 1, the given means, and doesn't accumulate it.
inline constexpr int levels = 4;
constexpr Orders orders_of(Pass pass, int level) {
    constexpr Orders one[levels] = {{0b00010, 0}, {0b00010, 0b00100}, {0b00110, 0b00100}, {0b11110, 0b11100}};
    constexpr Orders fast[levels] = {{0b00010, 0}, {0b00110, 0}, {0b01110, 0}, {0b11110, 0}};
    constexpr Orders two[levels] = {{0, 0b00100}, {0, 0b01100}, {0, 0b11100}, {0b11100, 0b11100}};
    return pass == Pass::one ? one[level] : pass == Pass::fast ? fast[level] : two[level];
}

struct Range {
    std::int64_t first, end;
    std::int64_t size() const { return end - first; }
};

template <Real R> struct Observations {
    const R* x;
    const R* w; // null: all weights are 1
    std::int64_t p, n;
    bool rows;

    std::int64_t offset(std::int64_t i, std::int64_t j) const { return rows ? j * n + i : i * p + j; }
};

// Sums of the weights and of their squares.
template <Real R> struct Weights { R sum, squares; };

// What a thread accumulates. Arrays have an element a variable.
//
//   raw[k]       one-pass: the weighted mean of x^k so far; else: the sum of w x^k. Two-pass: raw[1] holds the means
//   central[k]   the sum of w (x - mean)^k
//   cross        element (a, b), a <= b, at b p + a: the sum of w (x_a - mean_a) (x_b - mean_b)
//   space        work space of kernels with cross-products: tile_elements(p)
template <Real R> struct Sums {
    Weights<R> weights;
    R* raw[highest_order + 1];
    R* central[highest_order + 1];
    R* cross;
    R* space;
};

// The observations of one-pass kernels go by tiles; with cross-products, a tile keeps its deviations and the same times
// a weight, in rows that end in room for the widest block of variables.
inline constexpr std::int64_t observations_a_tile = 128;
inline constexpr std::int64_t widest_block = 16;
constexpr std::int64_t tile_elements(std::int64_t p) { return 2 * observations_a_tile * (p + widest_block); }

template <Real R>
using BasicKernel = void(const Observations<R>& data, Range observations, Range variables, Sums<R>& sums);

// cross: with cross-products, of the one-pass kernels alone.
template <Real R> BasicKernel<R>* basic_kernel(Pass pass, bool columns, bool weighted, int level, bool cross);

} // namespace nvo::stats
