#include "bench/quantile_peers.h"

#include <algorithm>
#include <gsl/gsl_sort.h>
#include <gsl/gsl_statistics.h>
#include <gsl/gsl_version.h>

namespace bench {

namespace {

template <class R> struct Gsl;
template <> struct Gsl<float> {
    static constexpr auto median = gsl_stats_float_median;
    static constexpr auto quantile = gsl_stats_float_quantile_from_sorted_data;
    static constexpr auto sort = gsl_sort_float;
};
template <> struct Gsl<double> {
    static constexpr auto median = gsl_stats_median;
    static constexpr auto quantile = gsl_stats_quantile_from_sorted_data;
    static constexpr auto sort = ::gsl_sort;
};

} // namespace

template <class R> R QuantilePeers<R>::standard_median(Reals& x) {
    const auto middle = x.begin() + static_cast<std::ptrdiff_t>((x.size() - 1) / 2);
    std::nth_element(x.begin(), middle, x.end());
    return x.size() % 2 != 0 ? *middle : (*middle + *std::min_element(middle + 1, x.end())) / 2;
}

template <class R> void QuantilePeers<R>::standard_quantiles(Reals& x, const Reals& orders, R* quantiles) {
    auto from = x.begin();
    for (const R order : orders) {
        const auto place = x.begin() + static_cast<std::ptrdiff_t>(order * static_cast<R>(x.size() - 1));
        std::nth_element(from, place, x.end());
        *quantiles++ = *place;
        from = place + 1;
    }
}

template <class R> void QuantilePeers<R>::standard_sort(Reals& x) { std::sort(x.begin(), x.end()); }

template <class R> R QuantilePeers<R>::gsl_median(Reals& x) {
    return static_cast<R>(Gsl<R>::median(x.data(), 1, x.size()));
}

template <class R> void QuantilePeers<R>::gsl_quantiles(Reals& x, const Reals& orders, R* quantiles) {
    gsl_sort(x);
    for (const R order : orders) *quantiles++ = static_cast<R>(Gsl<R>::quantile(x.data(), 1, x.size(), order));
}

template <class R> void QuantilePeers<R>::gsl_sort(Reals& x) { Gsl<R>::sort(x.data(), 1, x.size()); }

template struct QuantilePeers<float>;
template struct QuantilePeers<double>;

std::string quantile_library_versions() { return std::string("GSL ") + GSL_VERSION; }

} // namespace bench
