// How a call for moments and covariance goes about the task's data, settled before anything is touched.
#pragma once

#include "stats/basic_products.h"
#include "stats/basic_request.h"
#include "stats/matrix.h"

#include <algorithm>
#include <limits>

namespace nvo::stats {

// A product of sizes; more than there is of anything where it overflows.
constexpr std::int64_t bounded_product(std::int64_t a, std::int64_t b) {
    std::int64_t result = 0;
    return __builtin_mul_overflow(a, b, &result) ? std::numeric_limits<std::int64_t>::max() : result;
}

// The arrays of a task by order; null if not registered.
template <Real R> struct ArraysByOrder {
    R* raw[highest_order + 1];
    R* raw_sum[highest_order + 1];
    R* central[highest_order + 1];
    R* central_sum[highest_order + 1];

    explicit ArraysByOrder(const TaskRecord<R>& t)
        : raw{nullptr, t.mean, t.raw_moment_2, t.raw_moment_3, t.raw_moment_4}, raw_sum{nullptr, t.sum, t.raw_sum_2,
                                                                                        t.raw_sum_3, t.raw_sum_4},
          central{nullptr, nullptr, t.central_moment_2, t.central_moment_3, t.central_moment_4},
          central_sum{nullptr, nullptr, t.central_sum_2, t.central_sum_3, t.central_sum_4} {}
};

// The matrix of a task that holds the cross-products, or what they can be had from: a later call goes on from there, so
// that every call with cross-products writes it.
template <Real R> struct Home {
    std::uint64_t estimate;
    R* elements;
    const void* storage;

    static Home of(const TaskRecord<R>& t) {
        if (t.cross_product && t.cross_product_storage)
            return {OST_STAT_EST_CROSS_PRODUCT, t.cross_product, t.cross_product_storage};
        if (t.cov && t.cov_storage) return {OST_STAT_EST_COV, t.cov, t.cov_storage};
        return {OST_STAT_EST_COR, t.cor, t.cor_storage};
    }
};

template <Real R> struct Plan {
    TaskRecord<R>& task;
    const BasicRequest& request;
    const SelectedVariables& variables;
    ArraysByOrder<R> arrays;
    Observations<R> data;
    Range hull{0, 0}; // from the first to the last selected variable

    Pass pass;
    int level;
    Orders orders;      // of the kernel
    std::int64_t block; // of observations, where cross-products go by blocks
    std::int64_t threads;

    bool cross;           // cross-products are wanted:
    bool by_blas;         // by products of matrices,
    bool at_the_end;      // by a single one, behind the passes
    Home<R> home;         // of the matrix, if it is wanted,
    bool in_home = false; // and whether it is worked on there

    Plan(TaskRecord<R>& t, const BasicRequest& a_request, const SelectedVariables& selected, std::int64_t max_threads)
        : task(t), request(a_request), variables(selected),
          arrays(t), data{t.data, t.weights, *t.integers(t.dimension), *t.integers(t.observations), true},
          pass(request.pass), level(request.kernel_level()), orders(orders_of(pass, level)),
          block(Products<R>::block_of(data.p, data.w != nullptr)),
          cross(request.needs(matrix_bits) && variables.count() > 0), by_blas(cross && pass != Pass::one),
          home(Home<R>::of(t)) {
        data.rows = data.p == 1 || is_rows(*t.integers(t.data_storage));
        if (variables.count() > 0) hull = {variables[0], variables[variables.count() - 1] + 1};
        const std::int64_t values = bounded_product(data.n, data.p);
        const std::int64_t work = cross ? bounded_product(values, data.p) : values;
        threads = std::max<std::int64_t>(std::min({max_threads, data.n >> 4, work >> 13}), 1);
        at_the_end =
            by_blas && !data.w && std::min(block, data.n / threads) < data.p && data.n <= largest_blas_dimension;
        if (cross) in_home = variables.count() == data.p && matrix(home.elements, home.storage).is_full();
    }

    // The last piece has what is left.
    Range piece(std::int64_t thread) const {
        const std::int64_t size = data.n / threads;
        return {thread * size, thread == threads - 1 ? data.n : (thread + 1) * size};
    }
    SymmetricMatrix<R> matrix(R* elements, const void* storage) const {
        return {elements, *task.integers(storage), variables, data.p};
    }
    Products<R> products() const { return {data, hull, block}; }
    SymmetricMatrix<R> full_matrix(R* elements) const { return {elements, OST_STAT_MATRIX_FULL, variables, data.p}; }

    // f(range) for runs of variables that a kernel walks over at once. In rows those that are left out are passed over;
    // in columns, whose observations lie together, and with cross-products only those at the ends are. At least one.
    template <class F> void for_each_run(F f) const {
        const std::int64_t count = variables.count();
        if (!data.rows || cross || count == hull.size()) return f(hull);
        for (std::int64_t first = 0, k = 1; k <= count; ++k) {
            if (k < count && variables[k] == variables[k - 1] + 1) continue;
            f(Range{variables[first], variables[k - 1] + 1});
            first = k;
        }
    }
};

} // namespace nvo::stats
