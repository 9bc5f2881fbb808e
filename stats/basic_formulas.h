// Moments from sums and sums from moments, for one variable.
#pragma once

#include "frame/lanes.h"
#include "stats/basic_kernels.h"

namespace nvo::stats {

template <Real R> R square_root_of(R x) {
    return in_all_lanes([](auto v) { return square_root(v); }, x);
}

// A central moment from the central sum.
template <Real R> R central_moment_of(int k, R sum, Weights<R> w) {
    return k == 2 ? sum * w.sum / (w.sum * w.sum - w.squares) : sum / w.sum;
}

// And back. After a single observation the variance is 0 / 0 and its factor 0: the sum begins anew.
template <Real R> R carried(R value, R factor) { return factor == 0 ? 0 : value * factor; }
template <Real R> R central_sum_of(int k, R moment, Weights<R> w) {
    return carried(moment, k == 2 ? (w.sum * w.sum - w.squares) / w.sum : w.sum);
}

// Between elements of a covariance matrix and of one of cross-products.
template <Real R> R covariance_factor(Weights<R> w) { return w.sum > 0 ? 1 / (w.sum - w.squares / w.sum) : R{1}; }
template <Real R> R cross_product_factor(Weights<R> w) { return w.sum - w.squares / w.sum; }

// A central sum from the means of powers, mean[k] that of x^k. Its error is that of the largest term.
template <Real R> R central_sum_from_raw(int k, const R (&mean)[highest_order + 1], R w) {
    const R m = mean[1], r2 = mean[2], r3 = mean[3], r4 = mean[4];
    if (k == 2) return (r2 - m * m) * w;
    if (k == 3) return (2 * (m * m * m) - 3 * m * r2 + r3) * w;
    return (r4 - 4 * r3 * m + 6 * r2 * (m * m) - 3 * (m * m * m * m)) * w;
}

} // namespace nvo::stats
