// What quantiles and sorts are raced against, for one variable at a time.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

// All of them rearrange x.
template <class R> struct QuantilePeers {
    using Reals = std::vector<R>;

    // std::nth_element, and std::min_element behind it for the neighbour.
    static R standard_median(Reals& x);
    // std::nth_element for each order, of ascending ones, behind the place of the last one. No neighbours, no
    // interpolation.
    static void standard_quantiles(Reals& x, const Reals& orders, R* quantiles);
    static void standard_sort(Reals& x);

    // GSL has no quantiles but from sorted data.
    static R gsl_median(Reals& x);
    static void gsl_quantiles(Reals& x, const Reals& orders, R* quantiles);
    static void gsl_sort(Reals& x);
};
extern template struct QuantilePeers<float>;
extern template struct QuantilePeers<double>;

std::string quantile_library_versions(); // "GSL 2.7.1"

} // namespace bench
