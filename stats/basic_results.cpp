#include "stats/basic_results.h"

#include "nvo_ark/vector_math.h"
#include "stats/basic_formulas.h"
#include "support/vector_call.h"

namespace nvo::stats {

namespace {

void inverse_square_roots(std::int32_t n, float* x) { nvo_ark_kernel_sInvSqrt_ttab[0](n, x, x); }
void inverse_square_roots(std::int32_t n, double* x) { nvo_ark_kernel_dInvSqrt_ttab[0](n, x, x); }

// Raw moments and sums of variable j. mean[k] becomes the mean of x^k, for the central ones.
template <Real R>
void write_raw(const Plan<R>& plan, const Sums<R>& sums, std::int64_t j, R (&mean)[highest_order + 1]) {
    const unsigned orders = plan.orders.raw | 0b10; // the two-pass form has its means
    for (int k = 1; k <= highest_order; ++k) {
        if (!has_order(orders, k)) continue;
        R* const moment = plan.arrays.raw[k];
        R* const sum = plan.arrays.raw_sum[k];
        mean[k] = sums.raw[k][j];
        if (plan.pass == Pass::fast || (plan.pass == Pass::two && k > 1)) mean[k] /= sums.weights.sum;
        if (moment) moment[j] = mean[k];
        if (sum && (!moment || plan.request.needs(raw_sum_bit(k)))) sum[j] = mean[k] * sums.weights.sum;
    }
}

// Central ones of the orders given.
template <Real R>
void write_central(const Plan<R>& plan, const Sums<R>& sums, std::int64_t j, unsigned orders,
                   const R (&mean)[highest_order + 1]) {
    for (int k = 2; k <= highest_order; ++k) {
        if (!has_order(orders, k)) continue;
        R* const moment = plan.arrays.central[k];
        R* const sum = plan.arrays.central_sum[k];
        const R central_sum =
            plan.pass == Pass::fast ? central_sum_from_raw(k, mean, sums.weights.sum) : sums.central[k][j];
        if (sum) sum[j] = central_sum;
        if (moment && (!sum || plan.request.needs(central_bit(k))))
            moment[j] = central_moment_of(k, central_sum, sums.weights);
    }
}

} // namespace

template <Real R> void write_moments(const Plan<R>& plan, const Sums<R>& sums) {
    unsigned central = plan.orders.central;
    for (int k = 2; plan.pass == Pass::fast && k <= highest_order; ++k)
        if (plan.request.needs(central_bit(k) | central_sum_bit(k))) central |= 1U << k;

    for (std::int64_t i = 0; i < plan.variables.count(); ++i) {
        const std::int64_t j = plan.variables[i];
        R mean[highest_order + 1] = {};
        write_raw(plan, sums, j, mean);
        write_central(plan, sums, j, central, mean);
    }
}

template <Real R>
void write_ratios(const TaskRecord<R>& t, const SelectedVariables& variables, const BasicRequest& request) {
    for (std::int64_t k = 0; k < variables.count(); ++k) {
        const std::int64_t j = variables[k];
        if (request.needs(OST_STAT_EST_KURTOSIS)) {
            const R c2 = t.central_moment_2[j];
            t.kurtosis[j] = t.central_moment_4[j] / (c2 * c2) - 3;
        }
        if (request.needs(OST_STAT_EST_SKEWNESS)) {
            const R c2 = t.central_moment_2[j];
            t.skewness[j] = t.central_moment_3[j] / square_root_of(c2 * c2 * c2);
        }
        if (request.needs(OST_STAT_EST_VARIATION)) t.variation[j] = square_root_of(t.central_moment_2[j]) / t.mean[j];
    }
}

template <Real R>
void write_matrices(const TaskRecord<R>& t, const SelectedVariables& variables, std::uint64_t bits,
                    const SymmetricMatrix<R>& cross, Weights<R> weights, R* work) {
    const std::int64_t p = *t.integers(t.dimension);
    const R f = covariance_factor(weights);
    if ((bits & OST_STAT_EST_COR) != 0) {
        for (std::int64_t a = 0; a < cross.size(); ++a) work[a] = cross.get(a, a);
        const VectorCall around;
        inverse_square_roots(static_cast<std::int32_t>(cross.size()), work);
    }
    const auto write = [&](bool in_place, std::uint64_t bit, R* elements, const void* storage, auto value) {
        if ((bits & bit) == 0 || in_place != (elements == cross.elements())) return;
        const SymmetricMatrix<R> target(elements, *t.integers(storage), variables, p);
        for_each_pair(cross.size(), [&](std::int64_t a, std::int64_t b) { target.put(a, b, value(a, b)); });
    };
    for (const bool in_place : {false, true}) {
        write(in_place, OST_STAT_EST_CROSS_PRODUCT, t.cross_product, t.cross_product_storage,
              [&](std::int64_t a, std::int64_t b) { return cross.get(a, b); });
        write(in_place, OST_STAT_EST_COV, t.cov, t.cov_storage,
              [&](std::int64_t a, std::int64_t b) { return cross.get(a, b) * f; });
        write(in_place, OST_STAT_EST_COR, t.cor, t.cor_storage, [&](std::int64_t a, std::int64_t b) {
            return a == b ? cross.get(a, a) * f : cross.get(a, b) * work[a] * work[b];
        });
    }
}

#define NVO_RESULTS(R)                                                                                  \
    template void write_moments<R>(const Plan<R>&, const Sums<R>&);                                     \
    template void write_ratios<R>(const TaskRecord<R>&, const SelectedVariables&, const BasicRequest&); \
    template void write_matrices<R>(const TaskRecord<R>&, const SelectedVariables&, std::uint64_t,      \
                                    const SymmetricMatrix<R>&, Weights<R>, R*);
NVO_RESULTS(float)
NVO_RESULTS(double)

} // namespace nvo::stats
