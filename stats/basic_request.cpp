#include "stats/basic_request.h"

#include "stats/basic_products.h"
#include "stats/variables.h"

#include <algorithm>

namespace nvo::stats {

namespace {

constexpr std::uint64_t mean = OST_STAT_EST_RAW1;
constexpr std::uint64_t raw_to_2 = mean | OST_STAT_EST_RAW2, raw_to_3 = raw_to_2 | OST_STAT_EST_RAW3,
                        raw_to_4 = raw_to_3 | OST_STAT_EST_RAW4;
constexpr std::uint64_t central_2 = OST_STAT_EST_CENTRAL2, central_3 = OST_STAT_EST_CENTRAL3,
                        central_4 = OST_STAT_EST_CENTRAL4, cross_product = OST_STAT_EST_CROSS_PRODUCT;
constexpr std::uint64_t refused = ~std::uint64_t{0};

// What an estimate needs beside its own array, by method.
struct Need {
    std::uint64_t estimate, of_passes, of_fast, of_sums;
};
constexpr Need needs[] = {
    {OST_STAT_EST_RAW1, 0, 0, OST_STAT_EST_SUM1},
    {OST_STAT_EST_RAW2, 0, 0, OST_STAT_EST_SUM2},
    {OST_STAT_EST_RAW3, 0, 0, OST_STAT_EST_SUM3},
    {OST_STAT_EST_RAW4, 0, 0, OST_STAT_EST_SUM4},
    {OST_STAT_EST_CENTRAL2, raw_to_2, raw_to_2, OST_STAT_EST_CSUM2},
    {OST_STAT_EST_CENTRAL3, raw_to_3, raw_to_3, OST_STAT_EST_CSUM3},
    {OST_STAT_EST_CENTRAL4, raw_to_4, raw_to_4, OST_STAT_EST_CSUM4},
    {OST_STAT_EST_COV, mean, mean, cross_product},
    {OST_STAT_EST_COR, mean, mean, cross_product},
    {OST_STAT_EST_KURTOSIS, raw_to_4 | central_2 | central_4, raw_to_4 | central_2 | central_4,
     mean | central_2 | central_4},
    {OST_STAT_EST_SKEWNESS, raw_to_3 | central_2 | central_3, raw_to_3 | central_2 | central_3,
     mean | central_2 | central_3},
    {OST_STAT_EST_VARIATION, raw_to_2 | central_2, raw_to_2 | central_2, mean | central_2},
    {OST_STAT_EST_SUM1 | OST_STAT_EST_SUM2 | OST_STAT_EST_SUM3 | OST_STAT_EST_SUM4, 0, 0, refused},
    {OST_STAT_EST_CSUM2, mean, raw_to_2, refused},
    {OST_STAT_EST_CSUM3, mean, raw_to_3, refused},
    {OST_STAT_EST_CSUM4, mean, raw_to_4, refused},
    {cross_product, mean, mean, refused},
};

// The arrays, in the order of their checks. A matrix has a storage code.
template <Real R> struct Array {
    std::uint64_t estimate;
    R* TaskRecord<R>::*elements;
    std::int32_t status;
    const void* TaskRecord<R>::*storage = nullptr;
};
template <Real R>
constexpr Array<R> arrays[] = {
    {OST_STAT_EST_RAW1, &TaskRecord<R>::mean, OST_STAT_ERR_MEAN},
    {OST_STAT_EST_RAW2, &TaskRecord<R>::raw_moment_2, OST_STAT_ERR_RAW_MOMENT_2},
    {OST_STAT_EST_RAW3, &TaskRecord<R>::raw_moment_3, OST_STAT_ERR_RAW_MOMENT_3},
    {OST_STAT_EST_RAW4, &TaskRecord<R>::raw_moment_4, OST_STAT_ERR_RAW_MOMENT_4},
    {OST_STAT_EST_CENTRAL2, &TaskRecord<R>::central_moment_2, OST_STAT_ERR_CENTRAL_MOMENT_2},
    {OST_STAT_EST_CENTRAL3, &TaskRecord<R>::central_moment_3, OST_STAT_ERR_CENTRAL_MOMENT_3},
    {OST_STAT_EST_CENTRAL4, &TaskRecord<R>::central_moment_4, OST_STAT_ERR_CENTRAL_MOMENT_4},
    {OST_STAT_EST_COV, &TaskRecord<R>::cov, OST_STAT_ERR_COV, &TaskRecord<R>::cov_storage},
    {OST_STAT_EST_COR, &TaskRecord<R>::cor, OST_STAT_ERR_COR, &TaskRecord<R>::cor_storage},
    {OST_STAT_EST_KURTOSIS, &TaskRecord<R>::kurtosis, OST_STAT_ERR_KURTOSIS},
    {OST_STAT_EST_SKEWNESS, &TaskRecord<R>::skewness, OST_STAT_ERR_SKEWNESS},
    {OST_STAT_EST_VARIATION, &TaskRecord<R>::variation, OST_STAT_ERR_VARIATION},
    {OST_STAT_EST_SUM1, &TaskRecord<R>::sum, OST_STAT_ERR_SUMS},
    {OST_STAT_EST_SUM2, &TaskRecord<R>::raw_sum_2, OST_STAT_ERR_SUMS - 1},
    {OST_STAT_EST_SUM3, &TaskRecord<R>::raw_sum_3, OST_STAT_ERR_SUMS - 2},
    {OST_STAT_EST_SUM4, &TaskRecord<R>::raw_sum_4, OST_STAT_ERR_SUMS - 3},
    {OST_STAT_EST_CSUM2, &TaskRecord<R>::central_sum_2, OST_STAT_ERR_SUMS - 4},
    {OST_STAT_EST_CSUM3, &TaskRecord<R>::central_sum_3, OST_STAT_ERR_SUMS - 5},
    {OST_STAT_EST_CSUM4, &TaskRecord<R>::central_sum_4, OST_STAT_ERR_SUMS - 6},
    {cross_product, &TaskRecord<R>::cross_product, OST_STAT_ERR_SUMS - 7, &TaskRecord<R>::cross_product_storage},
};

std::int32_t read_method(std::uint32_t method, BasicRequest& request) {
    switch (method & (OST_STAT_METHOD_FAST | OST_STAT_METHOD_ONE_PASS | OST_STAT_METHOD_TWO_PASS)) {
    case OST_STAT_METHOD_FAST: request.pass = Pass::fast; return OST_STAT_OK;
    case OST_STAT_METHOD_ONE_PASS: request.pass = Pass::one; return OST_STAT_OK;
    case OST_STAT_METHOD_TWO_PASS: request.pass = Pass::two; return OST_STAT_OK;
    case 0: break;
    default: return OST_STAT_ERR_METHOD;
    }
    constexpr std::uint32_t another_from_sums = 0x400;
    request.from_sums = (method & (OST_STAT_METHOD_FROM_SUMS | another_from_sums)) != 0;
    return request.from_sums ? OST_STAT_OK : OST_STAT_ERR_METHOD;
}

std::int32_t read_needs(std::uint64_t estimates, BasicRequest& request) {
    // The means of the two-pass form are given, whatever is asked for.
    if (!request.from_sums && request.pass == Pass::two) request.needed = mean;
    for (const Need& need : needs) {
        if ((estimates & need.estimate) == 0) continue;
        const std::uint64_t others = request.from_sums            ? need.of_sums
                                     : request.pass == Pass::fast ? need.of_fast
                                                                  : need.of_passes;
        if (others == refused) return OST_STAT_ERR_METHOD;
        request.needed |= (estimates & need.estimate) | others;
    }
    return OST_STAT_OK;
}

template <Real R> std::int32_t check_arrays(const TaskRecord<R>& task, const BasicRequest& request) {
    for (const Array<R>& array : arrays<R>) {
        if (!request.needs(array.estimate)) continue;
        if (!(task.*array.elements)) return array.status;
        if (array.storage && !(task.*array.storage)) return OST_STAT_ERR_MATRIX_STORAGE;
    }
    return OST_STAT_OK;
}

// From sums, the sum of weights is the number of observations where it isn't carried.
template <Real R> std::int32_t check_weights(const TaskRecord<R>& task) {
    if (task.accumulated_weights) return OST_STAT_OK;
    const bool counted = task.observations && *task.integers(task.observations) >= 1;
    return counted && !task.weights ? OST_STAT_OK : OST_STAT_ERR_ACC_WEIGHTS;
}

constexpr int highest(std::uint64_t needed, std::uint64_t (*moment)(int), std::uint64_t (*sum)(int), int lowest) {
    for (int k = highest_order; k >= lowest; --k)
        if ((needed & (moment(k) | sum(k))) != 0) return k;
    return 0;
}

} // namespace

int BasicRequest::highest_raw() const { return highest(needed, raw_bit, raw_sum_bit, 1); }
int BasicRequest::highest_central() const { return highest(needed, central_bit, central_sum_bit, 2); }

int BasicRequest::kernel_level() const {
    const int raw = highest_raw(), central = highest_central();
    switch (pass) {
    case Pass::one: return raw >= 3 || central >= 3 ? 3 : raw == 2 ? 2 : central == 2 ? 1 : 0;
    case Pass::fast: return std::max(raw, 1) - 1;
    case Pass::two: return raw >= 2 ? 3 : std::max(central, 2) - 2;
    }
    return 0;
}

template <Real R>
std::int32_t read_request(OstSSTask* handle, std::uint64_t estimates, std::uint32_t method, BasicRequest& request) {
    if (!handle) return OST_STAT_ERR_TASK;
    const TaskRecord<R>& task = record_of<R>(handle);
    if (!task.dimension || *task.integers(task.dimension) < 1) return OST_STAT_ERR_DIMENSION;
    if (const auto status = read_method(method, request); status != OST_STAT_OK) return status;
    request.asked = estimates;
    if (const auto status = read_needs(estimates, request); status != OST_STAT_OK) return status;
    if (const auto status = check_arrays(task, request); status != OST_STAT_OK) return status;
    // No memory holds a matrix beyond that, and BLAS couldn't count its columns.
    const bool countable = *task.integers(task.dimension) <= largest_blas_dimension;
    if (request.needs(matrix_bits) && !countable) return OST_STAT_ERR_DIMENSION;
    return request.from_sums ? check_weights(task) : check_data<R>(handle);
}
template std::int32_t read_request<float>(OstSSTask*, std::uint64_t, std::uint32_t, BasicRequest&);
template std::int32_t read_request<double>(OstSSTask*, std::uint64_t, std::uint32_t, BasicRequest&);

} // namespace nvo::stats
