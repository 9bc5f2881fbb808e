#include "stats/basic_carry.h"

#include "stats/basic_formulas.h"

namespace nvo::stats {

namespace {

template <Real R, class F> void for_each_variable(const Plan<R>& plan, F f) {
    for (std::int64_t i = 0; i < plan.variables.count(); ++i) f(plan.variables[i]);
}

template <Real R> void carry_raw(const Plan<R>& plan, Sums<R>& sums, int k) {
    const R* moment = plan.arrays.raw[k];
    const R* sum = plan.arrays.raw_sum[k];
    if (!moment && !sum) return;
    const R w = sums.weights.sum, per_weight = 1 / w;
    for_each_variable(plan, [&](std::int64_t j) {
        const R mean = moment ? moment[j] : sum[j] * per_weight;
        sums.raw[k][j] = plan.pass == Pass::one ? mean : mean * w;
    });
}

// Whether orders 1 to k are accumulated from where an earlier call has left them.
template <Real R> bool has_raw_to(const Plan<R>& plan, int k) {
    for (int i = 1; i <= k; ++i) {
        const bool registered = plan.arrays.raw[i] || plan.arrays.raw_sum[i];
        if (!has_order(plan.orders.raw, i) || !registered) return false;
    }
    return true;
}

template <Real R> void carry_central(const Plan<R>& plan, Sums<R>& sums, int k) {
    R* const start = sums.central[k];
    if (const R* sum = plan.arrays.central_sum[k]) {
        for_each_variable(plan, [&](std::int64_t j) { start[j] = sum[j]; });
    } else if (const R* moment = plan.arrays.central[k]) {
        for_each_variable(plan, [&](std::int64_t j) { start[j] = central_sum_of(k, moment[j], sums.weights); });
    } else if (plan.pass == Pass::one && has_raw_to(plan, k)) {
        // A lower order, which the update of a higher one needs, and which has no array of its own.
        for_each_variable(plan, [&](std::int64_t j) {
            R mean[highest_order + 1] = {};
            for (int i = 1; i <= k; ++i) mean[i] = sums.raw[i][j];
            start[j] = central_sum_from_raw(k, mean, sums.weights.sum);
        });
    }
}

template <Real R> void carry_cross(const Plan<R>& plan, Sums<R>& sums, R* work) {
    const SymmetricMatrix<R> source = plan.matrix(plan.home.elements, plan.home.storage);
    const SymmetricMatrix<R> start = plan.full_matrix(sums.cross);
    const bool unscaled = plan.home.estimate == OST_STAT_EST_CROSS_PRODUCT;
    const R factor = unscaled ? 1 : cross_product_factor(sums.weights);
    // A correlation matrix has the variances on its diagonal. Beside a variance of 0 it has 0 / 0.
    const bool correlations = plan.home.estimate == OST_STAT_EST_COR;
    for (std::int64_t a = 0; correlations && a < source.size(); ++a) work[a] = source.get(a, a);
    for_each_pair(source.size(), [&](std::int64_t a, std::int64_t b) {
        const R deviations = correlations && a != b ? square_root_of(work[a] * work[b]) : 1;
        start.put(a, b, carried(carried(source.get(a, b), deviations), factor));
    });
    if (!plan.by_blas) return;

    // These passes sum products as they are; those of the means go away at the end. The means that were taken off the
    // two-pass sums are not those of this call.
    const R* saved = plan.pass == Pass::two ? static_cast<const R*>(plan.task.saved_mean) : nullptr;
    plan.products().add_means(sums.weights.sum, saved ? saved : plan.task.mean, sums.cross);
}

} // namespace

template <Real R> void carry(const Plan<R>& plan, Sums<R>& sums, R* work) {
    if (plan.pass == Pass::two) std::copy_n(plan.task.mean, plan.data.p, sums.raw[1]);
    if (const R* weights = plan.task.accumulated_weights) sums.weights = {weights[0], weights[1]};
    if (!(sums.weights.sum > 0)) {
        if (plan.in_home) std::fill_n(sums.cross, plan.data.p * plan.data.p, R{0});
        return;
    }
    for (int k = 1; k <= highest_order; ++k)
        if (has_order(plan.orders.raw, k)) carry_raw(plan, sums, k);
    for (int k = 2; k <= highest_order; ++k)
        if (has_order(plan.orders.central, k)) carry_central(plan, sums, k);
    if (plan.cross) carry_cross(plan, sums, work);
}

template void carry<float>(const Plan<float>&, Sums<float>&, float*);
template void carry<double>(const Plan<double>&, Sums<double>&, double*);

} // namespace nvo::stats
