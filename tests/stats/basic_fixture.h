// Moments and covariance in tests: data, and tasks with arrays for any estimates.
#pragma once

#include "tests/support/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <random>
#include <utility>
#include <vector>

namespace nvo::tests {

inline constexpr std::uint32_t fast = OST_STAT_METHOD_FAST, one_pass = OST_STAT_METHOD_ONE_PASS,
                               two_pass = OST_STAT_METHOD_TWO_PASS, from_sums = OST_STAT_METHOD_FROM_SUMS;
inline constexpr std::uint32_t data_methods[] = {fast, one_pass, two_pass};
inline constexpr std::int32_t matrix_storages[] = {OST_STAT_MATRIX_FULL, OST_STAT_MATRIX_LPACKED,
                                                   OST_STAT_MATRIX_UPACKED};

// Estimates, those of moments and sums by their order. They stand for their arrays, too.
constexpr std::uint64_t raw(int k) { return OST_STAT_EST_RAW1 << (k - 1); }
constexpr std::uint64_t raw_sum(int k) { return OST_STAT_EST_SUM1 << (k - 1); }
constexpr std::uint64_t central(int k) { return OST_STAT_EST_CENTRAL2 << (k - 2); }
constexpr std::uint64_t central_sum(int k) { return OST_STAT_EST_CSUM2 << (k - 2); }
inline constexpr std::uint64_t mean = raw(1), kurtosis = OST_STAT_EST_KURTOSIS, skewness = OST_STAT_EST_SKEWNESS,
                               variation = OST_STAT_EST_VARIATION, cov = OST_STAT_EST_COV, cor = OST_STAT_EST_COR,
                               cross_product = OST_STAT_EST_CROSS_PRODUCT;
inline constexpr std::uint64_t all_raw = raw(1) | raw(2) | raw(3) | raw(4),
                               all_moments = all_raw | central(2) | central(3) | central(4),
                               all_ratios = kurtosis | skewness | variation,
                               all_raw_sums = raw_sum(1) | raw_sum(2) | raw_sum(3) | raw_sum(4),
                               all_central_sums = central_sum(2) | central_sum(3) | central_sum(4),
                               all_sums = all_raw_sums | all_central_sums, all_matrices = cov | cor | cross_product,
                               all_basic = all_moments | all_ratios | all_sums | all_matrices;

// In the order in which they are looked for.
struct Array {
    std::uint64_t estimate;
    std::int32_t code, storage_code = 0;
};
inline constexpr Array arrays[] = {
    {mean, OST_STAT_PARAM_MEAN},
    {raw(2), OST_STAT_PARAM_RAW_MOMENT_2},
    {raw(3), OST_STAT_PARAM_RAW_MOMENT_3},
    {raw(4), OST_STAT_PARAM_RAW_MOMENT_4},
    {central(2), OST_STAT_PARAM_CENTRAL_MOMENT_2},
    {central(3), OST_STAT_PARAM_CENTRAL_MOMENT_3},
    {central(4), OST_STAT_PARAM_CENTRAL_MOMENT_4},
    {cov, OST_STAT_PARAM_COV, OST_STAT_PARAM_COV_STORAGE},
    {cor, OST_STAT_PARAM_COR, OST_STAT_PARAM_COR_STORAGE},
    {kurtosis, OST_STAT_PARAM_KURTOSIS},
    {skewness, OST_STAT_PARAM_SKEWNESS},
    {variation, OST_STAT_PARAM_VARIATION},
    {raw_sum(1), OST_STAT_PARAM_SUM},
    {raw_sum(2), OST_STAT_PARAM_RAW_SUM_2},
    {raw_sum(3), OST_STAT_PARAM_RAW_SUM_3},
    {raw_sum(4), OST_STAT_PARAM_RAW_SUM_4},
    {central_sum(2), OST_STAT_PARAM_CENTRAL_SUM_2},
    {central_sum(3), OST_STAT_PARAM_CENTRAL_SUM_3},
    {central_sum(4), OST_STAT_PARAM_CENTRAL_SUM_4},
    {cross_product, OST_STAT_PARAM_CROSS_PRODUCT, OST_STAT_PARAM_CROSS_PRODUCT_STORAGE},
};

// p variables, n observations, kept by observation; variable j has its own mean.
template <class R> struct Sample {
    std::int64_t p, n;
    std::vector<R> values;  // [i * p + j]
    std::vector<R> weights; // none, or n

    R x(std::int64_t i, std::int64_t j) const { return values[i * p + j]; }
    R w(std::int64_t i) const { return weights.empty() ? R{1} : weights[i]; }
    std::vector<R> laid_out(bool rows) const {
        if (!rows) return values;
        std::vector<R> data;
        for (std::int64_t j = 0; j < p; ++j)
            for (std::int64_t i = 0; i < n; ++i) data.push_back(x(i, j));
        return data;
    }
    Sample part(std::int64_t first, std::int64_t end) const {
        Sample s{p, end - first, {values.begin() + first * p, values.begin() + end * p}, {}};
        if (!weights.empty()) s.weights.assign(weights.begin() + first, weights.begin() + end);
        return s;
    }
};

enum class Weighting { none, positive, with_zeros };
inline constexpr Weighting weightings[] = {Weighting::none, Weighting::positive, Weighting::with_zeros};

template <class R> Sample<R> make_sample(std::int64_t p, std::int64_t n, Weighting weighting, double offset = 2) {
    std::mt19937_64 random(1);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> inside(0.25, 2);
    Sample<R> s{p, n, {}, {}};
    for (std::int64_t i = 0; i < n; ++i) {
        const double common = normal(random);
        for (std::int64_t j = 0; j < p; ++j)
            s.values.push_back(
                static_cast<R>(offset * (1 + j % 3) + normal(random) + 0.5 * common + 0.1 * common * common));
        if (weighting != Weighting::none) s.weights.push_back(static_cast<R>(inside(random)));
        if (weighting == Weighting::with_zeros && (i < 2 || i % 5 == 3 || i / 10 == 6)) s.weights.back() = 0;
    }
    return s;
}

// The means of the two-pass form, rounded from the exact ones.
template <class R> std::vector<R> means_of(const Sample<R>& s) {
    std::vector<R> means;
    for (std::int64_t j = 0; j < s.p; ++j) {
        long double sum = 0, weight = 0;
        for (std::int64_t i = 0; i < s.n; ++i) {
            sum += static_cast<long double>(s.w(i)) * s.x(i, j);
            weight += s.w(i);
        }
        means.push_back(static_cast<R>(sum / weight));
    }
    return means;
}

// A task over a sample, with arrays for these estimates. What isn't written in them stays at the mark.
template <class R, class I = std::int32_t> class BasicTask {
public:
    struct Options {
        bool rows = true;
        I storage = OST_STAT_MATRIX_FULL; // of matrices
        std::vector<I> indices = {};
    };
    static constexpr R mark = R{-12345};

    BasicTask(const Sample<R>& sample, std::uint64_t estimates, Options options = {})
        : options_(std::move(options)), p_(sample.p), data_(sample.laid_out(options_.rows)), weights_(sample.weights),
          task_(sample.p, sample.n, options_.rows ? rows : cols, data_.data(), weights_, options_.indices) {
        for (std::int64_t j = 0; j < p_; ++j)
            if (options_.indices.empty() || options_.indices[j] != 0) selected_.push_back(j);
        for (const auto& [estimate, code, storage_code] : arrays) {
            if ((estimates & estimate) == 0) continue;
            auto& elements = results_[estimate];
            elements.assign(static_cast<std::size_t>(is_matrix(estimate) ? p_ * p_ : p_), mark);
            task_.set(code, elements.data());
            if (storage_code != 0) task_.set(storage_code, &options_.storage);
        }
    }
    BasicTask& accumulate_weights() {
        task_.set(OST_STAT_PARAM_ACCUMULATED_WEIGHTS, weights_so_far);
        return *this;
    }
    BasicTask& means(const std::vector<R>& means) {
        std::copy(means.begin(), means.end(), results_.at(mean).begin());
        return *this;
    }
    // The next portion.
    BasicTask& data(const Sample<R>& sample) {
        data_ = sample.laid_out(options_.rows);
        weights_ = sample.weights;
        task_.data(static_cast<I>(sample.n), data_.data());
        if (!weights_.empty()) task_.set(OST_STAT_PARAM_WEIGHTS, weights_.data());
        return *this;
    }

    std::int32_t run(std::uint64_t estimates, std::uint32_t method, const OstThreading* threading = nullptr) {
        return Stats<R>::basic(task_.get(), estimates, method, threading);
    }

    static bool is_matrix(std::uint64_t estimate) { return (estimate & all_matrices) != 0; }
    const std::map<std::uint64_t, std::vector<R>>& results() const { return results_; }
    const std::vector<std::int64_t>& selected() const { return selected_; } // variables
    // Where an array has its element of variable a; or a matrix, in its storage, that of a and b.
    std::size_t place(std::uint64_t estimate, std::int64_t a, std::int64_t b) const {
        if (!is_matrix(estimate)) return static_cast<std::size_t>(a);
        if (options_.storage == OST_STAT_MATRIX_FULL) return static_cast<std::size_t>(a * p_ + b);
        const std::size_t low = rank(std::min(a, b)), high = rank(std::max(a, b));
        const bool lower = options_.storage == OST_STAT_MATRIX_LPACKED;
        std::size_t place = 0; // by counting rows, as the storage is defined
        for (std::size_t row = 0; row < (lower ? high : low); ++row) place += lower ? row + 1 : selected_.size() - row;
        return place + (lower ? low : high - low);
    }
    R& at(std::uint64_t estimate, std::int64_t a, std::int64_t b = 0) {
        return results_.at(estimate)[place(estimate, a, b)];
    }

    StatsTask<R, I>& task() { return task_; }

    R weights_so_far[2] = {0, 0};

private:
    std::size_t rank(std::int64_t j) const { // among the selected variables
        return static_cast<std::size_t>(std::find(selected_.begin(), selected_.end(), j) - selected_.begin());
    }

    Options options_;
    std::int64_t p_;
    std::vector<R> data_, weights_;
    StatsTask<R, I> task_;
    std::map<std::uint64_t, std::vector<R>> results_;
    std::vector<std::int64_t> selected_;
};

} // namespace nvo::tests
