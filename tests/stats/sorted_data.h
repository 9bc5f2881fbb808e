// Data for sorts and quantiles, their order by a model of its own, and checks that all these entries share.
#pragma once

#include "tests/support/statistics.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

namespace nvo::tests {

enum class Kind { random, ascending, descending, constant, organ_pipe, few, zeros, special, saw };
inline constexpr Kind all_kinds[] = {Kind::random,     Kind::ascending, Kind::descending, Kind::constant, Kind::saw,
                                     Kind::organ_pipe, Kind::few,       Kind::zeros,      Kind::special};

template <class R> std::vector<R> make_data(Kind kind, std::size_t n, unsigned seed = 1) {
    using Limits = std::numeric_limits<R>;
    static constexpr R odd_ones[] = {Limits::quiet_NaN(),
                                     -Limits::quiet_NaN(),
                                     Limits::infinity(),
                                     -Limits::infinity(),
                                     Limits::max(),
                                     -Limits::max(),
                                     Limits::denorm_min(),
                                     R{0},
                                     -R{0},
                                     R{1}};
    std::mt19937 random(seed);
    std::normal_distribution<R> normal;
    std::vector<R> x(n);
    for (std::size_t i = 0; i < n; ++i) {
        switch (kind) {
        case Kind::random: x[i] = normal(random); break;
        case Kind::ascending: x[i] = static_cast<R>(i) / 3; break;
        case Kind::descending: x[i] = static_cast<R>(n - i) / 3; break;
        case Kind::constant: x[i] = R{-7.5}; break;
        case Kind::organ_pipe: x[i] = static_cast<R>(std::min(i, n - i)); break;
        case Kind::few: x[i] = static_cast<R>(random() % 5); break;
        case Kind::zeros: x[i] = random() % 2 ? R{0} : -R{0}; break;
        case Kind::saw: x[i] = static_cast<R>(i % 17 * n + i); break;
        case Kind::special: x[i] = odd_ones[random() % 10]; break;
        }
    }
    return x;
}

// By IEEE 754's totalOrder.
template <class R> std::vector<R> in_total_order(std::vector<R> x) {
    std::sort(x.begin(), x.end(), [](R a, R b) { return std::strong_order(a, b) < 0; });
    return x;
}

template <class R> bool same_bits(R a, R b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Variable j of p in a matrix of n observations.
template <class R>
std::vector<R> variable_of(const std::vector<R>& x, std::int64_t j, std::int64_t p, std::int64_t n, bool rows) {
    std::vector<R> variable;
    for (std::int64_t i = 0; i < n; ++i) variable.push_back(x[static_cast<std::size_t>(rows ? j * n + i : i * p + j)]);
    return variable;
}

} // namespace nvo::tests
