// Moments and covariance in tests: data, a task with all arrays registered, and what the results should be, by sums in
// quadruple precision.
#pragma once

#include "platform/core_testing.h"
#include "tests/support/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <utility>
#include <vector>

namespace nvo::tests {

using Quad = __float128;

inline constexpr std::uint32_t data_methods[] = {OST_STAT_METHOD_FAST, OST_STAT_METHOD_ONE_PASS,
                                                 OST_STAT_METHOD_TWO_PASS};
inline constexpr std::int32_t matrix_storages[] = {OST_STAT_MATRIX_FULL, OST_STAT_MATRIX_LPACKED,
                                                   OST_STAT_MATRIX_UPACKED};
inline constexpr std::uint64_t all_moments =
    0x3FF & ~(OST_STAT_EST_KURTOSIS | OST_STAT_EST_SKEWNESS | OST_STAT_EST_VARIATION);
inline constexpr std::uint64_t all_ratios = OST_STAT_EST_KURTOSIS | OST_STAT_EST_SKEWNESS | OST_STAT_EST_VARIATION;
inline constexpr std::uint64_t all_sums = std::uint64_t{0x7F} << 25;
inline constexpr std::uint64_t all_matrices = OST_STAT_EST_COV | OST_STAT_EST_COR | OST_STAT_EST_CROSS_PRODUCT;
inline constexpr std::uint64_t all_basic = all_moments | all_ratios | all_sums | all_matrices;

// p variables, n observations, kept by observation; variable j has its own mean.
template <class R> struct Sample {
    std::int64_t p, n;
    std::vector<R> values;  // [i * p + j]
    std::vector<R> weights; // none, or n

    R x(std::int64_t i, std::int64_t j) const { return values[static_cast<std::size_t>(i * p + j)]; }
    R w(std::int64_t i) const { return weights.empty() ? R{1} : weights[static_cast<std::size_t>(i)]; }
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

template <class R>
Sample<R> make_sample(std::int64_t p, std::int64_t n, Weighting weighting, double offset = 2, unsigned seed = 1) {
    std::mt19937_64 random(seed);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> inside(0.25, 2);
    Sample<R> s{p, n, {}, {}};
    for (std::int64_t i = 0; i < n; ++i) {
        const double common = normal(random);
        for (std::int64_t j = 0; j < p; ++j)
            s.values.push_back(
                static_cast<R>(offset * (1 + j % 3) + normal(random) + 0.5 * common + 0.1 * common * common));
        if (weighting != Weighting::none) s.weights.push_back(static_cast<R>(inside(random)));
        if (weighting == Weighting::with_zeros && (i < 2 || i % 5 == 3)) s.weights.back() = 0;
    }
    return s;
}

// What the sums of a sample are, in quadruple precision, about given means or its own. Sizes are the same sums of
// absolute values.
template <class R> class Exact {
public:
    explicit Exact(const Sample<R>& s, const std::vector<R>& given_means = {}) : p_(static_cast<std::size_t>(s.p)) {
        for (std::int64_t i = 0; i < s.n; ++i) {
            weight += s.w(i);
            squares += static_cast<Quad>(s.w(i)) * s.w(i);
        }
        std::vector<Quad> centre;
        for (std::size_t j = 0; j < p_; ++j) {
            raw_.push_back(powers(s, j, 0));
            for (int k = 1; k <= 4; ++k) {
                raw_[j].sum[k] /= weight;
                raw_[j].size[k] /= weight;
            }
            centre.push_back(given_means.empty() ? raw_[j].sum[1] : Quad{given_means[j]});
            central_.push_back(powers(s, j, centre[j]));
        }
        // About given means, the products of the means are taken off as they are.
        for (std::size_t a = 0; a < p_; ++a)
            for (std::size_t b = 0; b < p_; ++b) {
                Quad sum = -weight * centre[a] * centre[b];
                for (std::int64_t i = 0; i < s.n; ++i)
                    sum += static_cast<Quad>(s.w(i)) * s.x(i, static_cast<std::int64_t>(a)) *
                           s.x(i, static_cast<std::int64_t>(b));
                cross_.push_back(sum);
            }
    }
    Quad weight = 0, squares = 0;

    Quad raw(int k, std::int64_t j) const { return raw_[static_cast<std::size_t>(j)].sum[k]; }
    Quad size_of_raw(int k, std::int64_t j) const { return raw_[static_cast<std::size_t>(j)].size[k]; }
    Quad central_sum(int k, std::int64_t j) const { return central_[static_cast<std::size_t>(j)].sum[k]; }
    Quad size_of_central_sum(int k, std::int64_t j) const { return central_[static_cast<std::size_t>(j)].size[k]; }
    Quad cross_product(std::int64_t a, std::int64_t b) const {
        return cross_[static_cast<std::size_t>(a) * p_ + static_cast<std::size_t>(b)];
    }
    Quad covariance_divisor() const { return weight - squares / weight; }

private:
    struct Powers {
        Quad sum[5] = {}, size[5] = {};
    };
    static Powers powers(const Sample<R>& s, std::size_t j, Quad centre) {
        Powers powers;
        for (std::int64_t i = 0; i < s.n; ++i) {
            Quad term = s.w(i);
            for (int k = 1; k <= 4; ++k) {
                term *= s.x(i, static_cast<std::int64_t>(j)) - centre;
                powers.sum[k] += term;
                powers.size[k] += term < 0 ? -term : term;
            }
        }
        return powers;
    }

    std::size_t p_;
    std::vector<Powers> raw_, central_;
    std::vector<Quad> cross_;
};

// An array of results: what isn't written stays at the mark. `shift` elements off a boundary of 64 bytes.
template <class R> class Results {
public:
    static constexpr R mark = R{-12345};
    Results(std::size_t size, std::size_t shift) : memory_(size + shift + 64 / sizeof(R), mark) {
        const auto address = reinterpret_cast<std::uintptr_t>(memory_.data());
        first_ = (64 - address % 64) % 64 / sizeof(R) + shift;
    }
    R* data() { return memory_.data() + first_; }
    R operator[](std::int64_t i) const { return memory_[first_ + static_cast<std::size_t>(i)]; }

private:
    std::vector<R> memory_;
    std::size_t first_;
};

// Codes of the arrays by order.
inline constexpr std::int32_t raw_codes[5] = {0, OST_STAT_PARAM_MEAN, OST_STAT_PARAM_RAW_MOMENT_2,
                                              OST_STAT_PARAM_RAW_MOMENT_3, OST_STAT_PARAM_RAW_MOMENT_4};
inline constexpr std::int32_t raw_sum_codes[5] = {0, OST_STAT_PARAM_SUM, OST_STAT_PARAM_RAW_SUM_2,
                                                  OST_STAT_PARAM_RAW_SUM_3, OST_STAT_PARAM_RAW_SUM_4};
inline constexpr std::int32_t central_codes[5] = {0, 0, OST_STAT_PARAM_CENTRAL_MOMENT_2,
                                                  OST_STAT_PARAM_CENTRAL_MOMENT_3, OST_STAT_PARAM_CENTRAL_MOMENT_4};
inline constexpr std::int32_t central_sum_codes[5] = {0, 0, OST_STAT_PARAM_CENTRAL_SUM_2, OST_STAT_PARAM_CENTRAL_SUM_3,
                                                      OST_STAT_PARAM_CENTRAL_SUM_4};
inline constexpr std::int32_t ratio_codes[3] = {OST_STAT_PARAM_KURTOSIS, OST_STAT_PARAM_SKEWNESS,
                                                OST_STAT_PARAM_VARIATION};
inline constexpr std::int32_t matrix_codes[3] = {OST_STAT_PARAM_COV, OST_STAT_PARAM_COR, OST_STAT_PARAM_CROSS_PRODUCT};

// A task over a sample, with arrays for the codes that are given.
template <class R, class I = std::int32_t> class BasicTask {
public:
    struct Options {
        bool rows = true;
        I storage = OST_STAT_MATRIX_FULL; // of matrices
        std::vector<I> indices = {};
        std::size_t shift = 0;
    };

    BasicTask(const Sample<R>& sample, Options options)
        : options_(std::move(options)), p_(sample.p), data_(sample.laid_out(options_.rows)), weights_(sample.weights),
          task_(static_cast<I>(sample.p), static_cast<I>(sample.n),
                options_.rows ? OST_STAT_STORAGE_ROWS : OST_STAT_STORAGE_COLS, data_.data(),
                weights_.empty() ? nullptr : weights_.data(),
                options_.indices.empty() ? nullptr : options_.indices.data()) {}

    BasicTask& add(std::int32_t code) {
        const bool matrix = std::find(std::begin(matrix_codes), std::end(matrix_codes), code) != std::end(matrix_codes);
        auto& array = arrays_[code];
        array = std::make_unique<Results<R>>(static_cast<std::size_t>(matrix ? p_ * p_ : p_), options_.shift);
        task_.set(code, array->data());
        if (code == OST_STAT_PARAM_COV) task_.set(OST_STAT_PARAM_COV_STORAGE, &options_.storage);
        if (code == OST_STAT_PARAM_COR) task_.set(OST_STAT_PARAM_COR_STORAGE, &options_.storage);
        if (code == OST_STAT_PARAM_CROSS_PRODUCT) task_.set(OST_STAT_PARAM_CROSS_PRODUCT_STORAGE, &options_.storage);
        return *this;
    }
    BasicTask& add_all() {
        for (int k = 1; k <= 4; ++k) add(raw_codes[k]).add(raw_sum_codes[k]);
        for (int k = 2; k <= 4; ++k) add(central_codes[k]).add(central_sum_codes[k]);
        for (const std::int32_t code : ratio_codes) add(code);
        for (const std::int32_t code : matrix_codes) add(code);
        return *this;
    }
    BasicTask& accumulate_weights() {
        task_.set(OST_STAT_PARAM_ACCUMULATED_WEIGHTS, weights_so_far_);
        return *this;
    }
    BasicTask& means(const std::vector<R>& mean) {
        std::copy(mean.begin(), mean.end(), arrays_[OST_STAT_PARAM_MEAN]->data());
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

    R at(std::int32_t code, std::int64_t j) const { return (*arrays_.at(code))[j]; }
    // Element (a, b) of a matrix, in its storage.
    R at(std::int32_t code, std::int64_t a, std::int64_t b) const {
        const std::int64_t low = std::min(a, b), high = std::max(a, b);
        if (options_.storage == OST_STAT_MATRIX_FULL) return at(code, a * p_ + b);
        const std::int64_t i = rank(low), j = rank(high), m = rank(p_);
        std::int64_t place = 0; // by counting rows, as the storage is defined
        if (options_.storage == OST_STAT_MATRIX_LPACKED) {
            for (std::int64_t row = 0; row < j; ++row) place += row + 1;
            return at(code, place + i);
        }
        for (std::int64_t row = 0; row < i; ++row) place += m - row;
        return at(code, place + (j - i));
    }
    bool selects(std::int64_t j) const {
        return options_.indices.empty() || options_.indices[static_cast<std::size_t>(j)] != 0;
    }
    std::int64_t selected() const { return rank(p_); }
    const R* weights_so_far() const { return weights_so_far_; }
    StatsTask<R, I>& task() { return task_; }
    const Results<R>& results(std::int32_t code) const { return *arrays_.at(code); }

private:
    std::int64_t rank(std::int64_t j) const { // among the selected variables
        std::int64_t count = 0;
        for (std::int64_t k = 0; k < j; ++k) count += selects(k);
        return count;
    }

    Options options_;
    std::int64_t p_;
    std::vector<R> data_, weights_;
    StatsTask<R, I> task_;
    std::map<std::int32_t, std::unique_ptr<Results<R>>> arrays_;
    R weights_so_far_[2] = {0, 0};
};

// The means of the two-pass form, rounded from the exact ones.
template <class R> std::vector<R> means_of(const Sample<R>& s) {
    std::vector<R> means;
    for (std::int64_t j = 0; j < s.p; ++j) {
        Quad sum = 0, weight = 0;
        for (std::int64_t i = 0; i < s.n; ++i) {
            sum += static_cast<Quad>(s.w(i)) * s.x(i, j);
            weight += s.w(i);
        }
        means.push_back(static_cast<R>(sum / weight));
    }
    return means;
}

template <class R> bool same_bits(R a, R b) { return std::memcmp(&a, &b, sizeof a) == 0; }

} // namespace nvo::tests
