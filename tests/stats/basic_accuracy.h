// What the results of a task should be, by sums in long double, and how near them they have to come.
#pragma once

#include "tests/stats/basic_fixture.h"

namespace nvo::tests {

// A number, and how far from it a result may be: to first order, and at any distance if nothing is left to divide by.
struct Near {
    long double value, error = 0;
};
inline constexpr long double anywhere = std::numeric_limits<long double>::infinity();

inline Near operator*(Near a, Near b) {
    return {a.value * b.value, std::fabs(a.value) * b.error + std::fabs(b.value) * a.error};
}
inline Near operator/(Near a, Near b) {
    if (4 * b.error > std::fabs(b.value)) return {0, anywhere};
    const long double quotient = a.value / b.value;
    return {quotient, (a.error + std::fabs(quotient) * b.error) / std::fabs(b.value)};
}
inline Near root(Near a) {
    const long double root = std::sqrt(a.value);
    return {root, 4 * a.error > a.value ? anywhere : a.error / (2 * root)};
}

// How far a method's results may be from the exact ones, after n observations: each addition is off by half an epsilon
// of its size.
//
//   Fast       the sums have the sizes of x^k, however small what is left of them is about the mean
//   one-pass   a deviation is off by as much as the running mean; Chan, Golub and LeVeque (1983), table 1
//   two-pass   moments have the sizes of the deviations, cross-products those of the products
//
// Sizes are the same sums of absolute values. The two-pass form takes the means that it is given.
template <class R> class Model {
public:
    static constexpr long double few = 8 * std::numeric_limits<R>::epsilon(); // roundings of the last steps

    Model(Sample<R> sample, std::uint32_t method)
        : s_(std::move(sample)), method_(method), relative_((s_.n + 8) * few / 8) {
        for (std::int64_t i = 0; i < s_.n; ++i) {
            weight += s_.w(i);
            squares_ += static_cast<long double>(s_.w(i)) * s_.w(i);
        }
        const std::vector<R> means = means_of(s_);
        for (std::int64_t j = 0; j < s_.p; ++j) {
            raw_.push_back(powers(j, 0));
            const long double mean = raw_.back().sum[1] / weight;
            centre_.push_back(method == two_pass ? means[j] : mean);
            central_.push_back(powers(j, centre_.back()));
        }
    }

    // Of variable a, or of a and b in a matrix.
    Near result(std::uint64_t estimate, std::int64_t a, std::int64_t b = 0) const {
        for (int k = 1; k <= 4; ++k) {
            if (estimate == raw(k)) return raw_of(k, a);
            if (estimate == raw_sum(k)) return raw_of(k, a) * Near{weight};
            if (k == 1) continue;
            if (estimate == central(k)) return central_of(k, a);
            if (estimate == central_sum(k)) return central_sum_of(k, a);
        }
        const Near variance = central_of(2, a);
        switch (estimate) {
        case kurtosis: {
            const Near ratio = central_of(4, a) / (variance * variance);
            return {ratio.value - 3, ratio.error + few * ratio.value};
        }
        case skewness: return central_of(3, a) / (variance * root(variance));
        case variation: return root(variance) / raw_of(1, a);
        case cross_product: return product_of(a, b);
        case cor:
            if (a != b) return product_of(a, b) / root(product_of(a, a) * product_of(b, b));
            [[fallthrough]]; // the variance
        default: return product_of(a, b) / Near{weight - squares_ / weight};
        }
    }

    long double weight = 0;

private:
    struct Powers {
        long double sum[5] = {}, size[5] = {};
    };
    Powers powers(std::int64_t j, long double centre) const {
        Powers powers;
        for (std::int64_t i = 0; i < s_.n; ++i) {
            long double term = s_.w(i);
            for (int k = 1; k <= 4; ++k) {
                term *= s_.x(i, j) - centre;
                powers.sum[k] += term;
                powers.size[k] += std::fabs(term);
            }
        }
        return powers;
    }

    Near raw_of(int k, std::int64_t j) const {
        const auto& [sum, size] = raw_[j];
        return {sum[k] / weight, method_ == two_pass && k == 1 ? 0 : relative_ * size[k] / weight};
    }
    Near central_sum_of(int k, std::int64_t j) const {
        const auto& [sum, size] = central_[j];
        if (method_ == fast) return {sum[k], 16 * relative_ * raw_[j].size[k]};
        const long double of_mean = method_ == one_pass ? k * raw_of(1, j).error * size[k - 1] : 0;
        return {sum[k], relative_ * size[k] + of_mean};
    }
    Near central_of(int k, std::int64_t j) const {
        return central_sum_of(k, j) / Near{k == 2 ? weight - squares_ / weight : weight};
    }
    // About given means, the products of the means are taken off as they are.
    Near product_of(std::int64_t a, std::int64_t b) const {
        long double sum = -weight * centre_[a] * centre_[b];
        for (std::int64_t i = 0; i < s_.n; ++i) sum += static_cast<long double>(s_.w(i)) * s_.x(i, a) * s_.x(i, b);
        return {sum, 2 * relative_ * std::sqrt(raw_[a].sum[2] * raw_[b].sum[2])};
    }

    Sample<R> s_;
    std::uint32_t method_;
    long double relative_, squares_ = 0;
    std::vector<Powers> raw_, central_;
    std::vector<long double> centre_;
};

// All arrays that the task has. Only the means may have been given.
template <class R, class I> void expect_all(const BasicTask<R, I>& task, const Model<R>& model) {
    for (const auto& [estimate, elements] : task.results()) {
        std::vector<bool> is_result(elements.size(), estimate == mean);
        for (const std::int64_t a : task.selected())
            for (const std::int64_t b : task.selected()) {
                if (!task.is_matrix(estimate) && a != b) continue;
                const std::size_t place = task.place(estimate, a, b);
                is_result[place] = true;
                const auto [want, error] = model.result(estimate, a, b);
                const long double bound = 2 * error + model.few * std::fabs(want);
                if (bound == anywhere) continue;
                EXPECT_LE(std::fabs(elements[place] - want), bound)
                    << "estimate " << estimate << " at " << a << " " << b << ": got " << elements[place];
            }
        for (std::size_t i = 0; i < elements.size(); ++i) {
            if (!is_result[i]) {
                EXPECT_EQ(task.mark, elements[i]) << "estimate " << estimate << " at " << i;
            }
        }
    }
}

} // namespace nvo::tests
