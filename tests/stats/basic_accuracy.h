// How near the exact results those of a task have to be.
#pragma once

#include "tests/stats/basic_fixture.h"

namespace nvo::tests {

// How far a method's results may be from the exact ones, after n observations: each addition is off by half an epsilon
// of its size.
//
//   Fast       the sums have the sizes of x^k, however small what is left of them is about the mean
//   one-pass   a deviation is off by as much as the running mean; Chan, Golub and LeVeque (1983), table 1
//   two-pass   moments have the sizes of the deviations, cross-products those of the products
template <class R> class Bounds {
public:
    Bounds(const Exact<R>& exact, std::uint32_t method, std::int64_t n)
        : exact_(exact), method_(method),
          relative_(2 * (n + 8) * static_cast<Quad>(std::numeric_limits<R>::epsilon())) {}

    Quad raw(int k, std::int64_t j) const {
        if (method_ == OST_STAT_METHOD_TWO_PASS && k == 1) return 0;
        return relative_ * exact_.size_of_raw(k, j);
    }
    Quad central_sum(int k, std::int64_t j) const {
        if (method_ == OST_STAT_METHOD_FAST) return 16 * relative_ * exact_.weight * exact_.size_of_raw(k, j);
        const Quad own = relative_ * exact_.size_of_central_sum(k, j);
        if (method_ == OST_STAT_METHOD_TWO_PASS) return own;
        return own + k * raw(1, j) * exact_.size_of_central_sum(k - 1, j);
    }
    Quad cross_product(std::int64_t a, std::int64_t b) const {
        const auto size = [&](std::int64_t j) {
            return std::sqrt(static_cast<double>(exact_.weight * exact_.raw(2, j)));
        };
        return 2 * relative_ * size(a) * size(b);
    }

private:
    const Exact<R>& exact_;
    std::uint32_t method_;
    Quad relative_;
};

// Element a of an array, or (a, b) of a matrix.
inline void expect_near(Quad want, Quad bound, double got, const char* what, int order, std::int64_t a,
                        std::int64_t b = -1) {
    const Quad error = got > want ? got - want : want - got;
    EXPECT_LE(static_cast<double>(error), static_cast<double>(bound))
        << what << " " << order << " at " << a << " " << b << ": got " << got << ", want " << static_cast<double>(want);
}

inline Quad magnitude_of(Quad x) { return x < 0 ? -x : x; }
inline Quad root_of(Quad x) {
    Quad y = std::sqrt(static_cast<double>(x));
    return y == 0 ? y : (y + x / y) / 2;
}

// Everything that a task with all arrays has, of one variable.
template <class R, class I>
void expect_moments(const BasicTask<R, I>& task, const Exact<R>& exact, const Bounds<R>& bounds, std::int64_t j) {
    constexpr Quad few = 8 * std::numeric_limits<R>::epsilon(); // roundings of the last steps
    const Quad w = exact.weight, w2 = exact.squares;
    for (int k = 1; k <= 4; ++k) {
        const Quad raw = exact.raw(k, j), bound = bounds.raw(k, j) + few * magnitude_of(raw);
        expect_near(raw, bound, task.at(raw_codes[k], j), "raw", k, j);
        expect_near(raw * w, bound * w * 2, task.at(raw_sum_codes[k], j), "sum", k, j);
    }
    Quad moment[5], bound[5];
    for (int k = 2; k <= 4; ++k) {
        const Quad sum = exact.central_sum(k, j), sum_bound = bounds.central_sum(k, j) + few * magnitude_of(sum);
        const Quad factor = k == 2 ? w / (w * w - w2) : 1 / w;
        moment[k] = sum * factor;
        bound[k] = sum_bound * factor + few * magnitude_of(moment[k]);
        expect_near(sum, sum_bound, task.at(central_sum_codes[k], j), "central sum", k, j);
        expect_near(moment[k], bound[k], task.at(central_codes[k], j), "central", k, j);
    }
    const Quad relative = bound[2] / moment[2];
    if (relative > 0.25) return; // nothing is left of the variance to divide by
    const Quad c2 = moment[2], deviation = root_of(c2), kurtosis = moment[4] / (c2 * c2),
               skewness = moment[3] / (c2 * deviation), variation = deviation / exact.raw(1, j);
    expect_near(kurtosis - 3, bound[4] / (c2 * c2) * 2 + kurtosis * (4 * relative + few),
                task.at(OST_STAT_PARAM_KURTOSIS, j), "kurtosis", 0, j);
    expect_near(skewness, bound[3] / (c2 * deviation) * 2 + magnitude_of(skewness) * (3 * relative + few),
                task.at(OST_STAT_PARAM_SKEWNESS, j), "skewness", 0, j);
    const Quad of_mean = bounds.raw(1, j) / magnitude_of(exact.raw(1, j));
    expect_near(variation, magnitude_of(variation) * (relative + 2 * of_mean + few),
                task.at(OST_STAT_PARAM_VARIATION, j), "variation", 0, j);
}

template <class R, class I>
void expect_matrices(const BasicTask<R, I>& task, const Exact<R>& exact, const Bounds<R>& bounds, std::int64_t a,
                     std::int64_t b) {
    constexpr Quad few = 8 * std::numeric_limits<R>::epsilon();
    const Quad product = exact.cross_product(a, b), bound = bounds.cross_product(a, b) + few * magnitude_of(product);
    const Quad f = 1 / exact.covariance_divisor();
    expect_near(product, bound, task.at(OST_STAT_PARAM_CROSS_PRODUCT, a, b), "cross-product", 0, a, b);
    expect_near(product * f, bound * f * 2, task.at(OST_STAT_PARAM_COV, a, b), "cov", 0, a, b);
    if (a == b) { // the variance
        expect_near(product * f, bound * f * 2, task.at(OST_STAT_PARAM_COR, a, a), "diagonal of cor", 0, a, a);
        return;
    }
    const Quad caa = exact.cross_product(a, a), cbb = exact.cross_product(b, b), scale = root_of(caa * cbb);
    const Quad relative = bounds.cross_product(a, a) / caa + bounds.cross_product(b, b) / cbb;
    if (relative > 0.25) return;
    expect_near(product / scale, bound / scale * 2 + magnitude_of(product / scale) * (relative + 2 * few),
                task.at(OST_STAT_PARAM_COR, a, b), "cor", 0, a, b);
}

template <class R, class I>
void expect_all(const BasicTask<R, I>& task, const Exact<R>& exact, const Sample<R>& sample, std::uint32_t method) {
    const Bounds<R> bounds(exact, method, sample.n);
    for (std::int64_t a = 0; a < sample.p; ++a) {
        if (!task.selects(a)) continue;
        expect_moments(task, exact, bounds, a);
        for (std::int64_t b = 0; b < sample.p; ++b)
            if (task.selects(b)) expect_matrices(task, exact, bounds, a, b);
    }
}
template <class R> Exact<R> exact_results(const Sample<R>& sample, std::uint32_t method) {
    return Exact<R>(sample, method == OST_STAT_METHOD_TWO_PASS ? means_of(sample) : std::vector<R>{});
}

} // namespace nvo::tests
