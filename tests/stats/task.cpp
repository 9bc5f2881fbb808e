// The task: creation, every code of the edit entries, the grouped editors, deletion.
#include "stats/task.h"

#include "platform/core_testing.h"
#include "tests/support/statistics.h"

#include <cstring>
#include <gtest/gtest.h>
#include <iterator>
#include <tuple>

namespace nvo::tests {
namespace {

using Record = stats::TaskRecord<double>;

constexpr std::int32_t one = 1, zero = 0, rows = OST_STAT_STORAGE_ROWS, both = 0x30000;

TEST(StatisticsTask, CreationChecksInOrder) {
    const double x[1] = {};
    OstSSTask* task = nullptr;
    const auto create = [&](const void* p, const void* n, const void* storage) {
        return __ostdSSNewTask(&task, p, n, storage, x, nullptr, nullptr, 0);
    };
    EXPECT_EQ(OST_STAT_ERR_DIMENSION, create(nullptr, nullptr, nullptr));
    EXPECT_EQ(OST_STAT_ERR_DIMENSION, create(&zero, nullptr, nullptr));
    EXPECT_EQ(OST_STAT_ERR_MATRIX_STORAGE, create(&one, nullptr, nullptr));
    EXPECT_EQ(OST_STAT_ERR_STORAGE, create(&one, nullptr, &both));
    EXPECT_EQ(OST_STAT_ERR_OBSERVATIONS, create(&one, nullptr, &rows));
    EXPECT_EQ(OST_STAT_ERR_OBSERVATIONS, create(&one, &zero, &rows));
    const long live = nvo_core_testing_live_blocks();
    nvo_core_testing_fail_allocation(1);
    EXPECT_EQ(OST_STAT_ERR_MEMORY, create(&one, &one, &rows));
    EXPECT_EQ(nullptr, task);

    // Integers are as wide as the task says: 2^32 observations.
    const std::int64_t wide = 1, many = std::int64_t{1} << 32, wide_rows = rows;
    EXPECT_EQ(OST_STAT_OK, __ostdSSNewTask(&task, &wide, &many, &wide_rows, x, nullptr, nullptr, 1));
    EXPECT_EQ(OST_STAT_OK, __ostSSDeleteTask(&task));
    EXPECT_EQ(OST_STAT_ERR_TASK, __ostSSDeleteTask(&task));
    EXPECT_EQ(OST_STAT_ERR_TASK, __ostSSDeleteTask(nullptr));
    EXPECT_EQ(live, nvo_core_testing_live_blocks());
}

// Without data, neither count nor storage is looked at.
class EditedTask : public testing::Test {
protected:
    EditedTask() { __ostdSSNewTask(&task, &one, &zero, &both, nullptr, nullptr, nullptr, 0); }
    ~EditedTask() override { __ostSSDeleteTask(&task); }
    const Record& record() const { return *reinterpret_cast<const Record*>(task); }

    OstSSTask* task = nullptr;
};

struct Field {
    std::int32_t code;
    bool is_real;
    const void* Record::*integers;
    double* Record::*reals;
    std::int32_t status;

    const void* in(const Record& record) const { return is_real ? record.*reals : record.*integers; }
};
#define FIELD_OWN(type, name)
#define FIELD_INTEGER(name, NAME, code, status) {code, false, &Record::name, nullptr, status},
#define FIELD_REAL(name, NAME, code, status) {code, true, nullptr, &Record::name, status},
const Field fields[] = {
#include "nvo_ark/statistics_fields.def"
};

TEST_F(EditedTask, TakesEachCodeInTheEntryOfItsType) {
    EXPECT_EQ(79U, std::size(fields));
    double value;
    for (const Field& field : fields) {
        SCOPED_TRACE(field.code);
        const auto edit = [&](const void* pointer) {
            return field.is_real ? __ostdSSEditTask(task, field.code, static_cast<const double*>(pointer))
                                 : __ostiSSEditTask(task, field.code, pointer);
        };
        const auto edit_by_the_other = [&] {
            return field.is_real ? __ostiSSEditTask(task, field.code, &value)
                                 : __ostdSSEditTask(task, field.code, &value);
        };
        Record before = record();
        EXPECT_EQ(OST_STAT_ERR_CODE, edit_by_the_other());
        EXPECT_EQ(field.status, edit(nullptr));
        EXPECT_EQ(0, std::memcmp(&before, task, sizeof before));
        EXPECT_EQ(OST_STAT_OK, edit(&value));
        EXPECT_EQ(&value, field.in(record()));
        // This field alone has changed.
        field.is_real ? before.*field.reals = &value : before.*field.integers = &value;
        EXPECT_EQ(0, std::memcmp(&before, task, sizeof before));
    }
    EXPECT_EQ(OST_STAT_ERR_TASK, __ostdSSEditTask(nullptr, 3, &value));
    for (const std::int32_t code : {-1, 0, 80, 1000}) {
        EXPECT_EQ(OST_STAT_ERR_CODE, __ostdSSEditTask(task, code, &value));
        EXPECT_EQ(OST_STAT_ERR_CODE, __ostiSSEditTask(task, code, &value));
    }
}

// An editor gets one pointer at a time, the others null: each argument must land in its field, and move no other.
template <class... Argument, class... Name>
void expect_arguments(OstSSTask* task, std::int32_t (*edit)(OstSSTask*, Argument...), Name... name) {
    static_assert(sizeof...(Argument) == sizeof...(Name));
    static double values[sizeof...(Name)];
    const auto names = std::make_tuple(name...);
    [&]<std::size_t... i>(std::index_sequence<i...>) {
        const auto one_at_a_time = [&]<std::size_t k>(std::integral_constant<std::size_t, k>) {
            Record expected = *reinterpret_cast<Record*>(task);
            expected.*std::get<k>(names) = values + k;
            EXPECT_EQ(OST_STAT_OK,
                      edit(task, (i == k ? static_cast<Argument>(values + k) : static_cast<Argument>(nullptr))...));
            EXPECT_EQ(0, std::memcmp(&expected, task, sizeof expected)) << k;
        };
        (one_at_a_time(std::integral_constant<std::size_t, i>{}), ...);
        EXPECT_EQ(OST_STAT_ERR_TASK, edit(nullptr, static_cast<Argument>(i ? nullptr : nullptr)...));
    }
    (std::index_sequence_for<Name...>{});
}

TEST_F(EditedTask, TakesGroups) {
    using T = Record;
    expect_arguments(task, __ostdSSEditMoments, &T::mean, &T::raw_moment_2, &T::raw_moment_3, &T::raw_moment_4,
                     &T::central_moment_2, &T::central_moment_3, &T::central_moment_4);
    expect_arguments(task, __ostdSSEditSums, &T::sum, &T::raw_sum_2, &T::raw_sum_3, &T::raw_sum_4, &T::central_sum_2,
                     &T::central_sum_3, &T::central_sum_4);
    expect_arguments(task, __ostdSSEditCovCor, &T::mean, &T::cov, &T::cov_storage, &T::cor, &T::cor_storage);
    expect_arguments(task, __ostdSSEditCP, &T::mean, &T::sum, &T::cross_product, &T::cross_product_storage);
    expect_arguments(task, __ostdSSEditPartialCovCor, &T::partial_indices, &T::cov, &T::cov_storage, &T::cor,
                     &T::cor_storage, &T::partial_cov, &T::partial_cov_storage, &T::partial_cor,
                     &T::partial_cor_storage);
    expect_arguments(task, __ostdSSEditQuantiles, &T::quantile_order_count, &T::quantile_orders, &T::quantiles,
                     &T::order_statistics, &T::order_statistics_storage);
    expect_arguments(task, __ostdSSEditStreamQuantiles, &T::stream_order_count, &T::stream_orders, &T::stream_quantiles,
                     &T::stream_param_count, &T::stream_params);
    expect_arguments(task, __ostdSSEditPooledCovariance, &T::group_indices, &T::pooled_mean, &T::pooled_cov,
                     &T::group_output_mask, &T::group_means, &T::group_cov);
    expect_arguments(task, __ostdSSEditRCov, &T::robust_cov_storage, &T::robust_param_count, &T::robust_params,
                     &T::robust_cov, &T::robust_mean);
    expect_arguments(task, __ostdSSEditOutDetect, &T::outlier_param_count, &T::outlier_params, &T::outlier_weights);
    expect_arguments(task, __ostdSSEditMissingVals, &T::mi_param_count, &T::mi_params, &T::mi_init_count,
                     &T::mi_init_estimates, &T::mi_prior_count, &T::mi_prior, &T::mi_simulated_count, &T::mi_simulated,
                     &T::mi_estimates_count, &T::mi_estimates);
    expect_arguments(task, __ostdSSEditMtxParametrz, &T::cor, &T::cor_storage, &T::param_matrix,
                     &T::param_matrix_storage);
}

// What a computation has left with the task goes with it.
TEST(StatisticsTask, DeletionFreesWhatItOwns) {
    const long live = nvo_core_testing_live_blocks();
    OstSSTask* task = nullptr;
    ASSERT_EQ(OST_STAT_OK, __ostsSSNewTask(&task, &one, nullptr, nullptr, nullptr, nullptr, nullptr, 0));
    auto& record = *reinterpret_cast<stats::TaskRecord<float>*>(task);
    EXPECT_EQ(0, record.precision);
    EXPECT_EQ(2, record.task_kind);
    record.saved_mean = nvo_serv_allocate(4, 128);
    static int calls;
    calls = 0;
    record.cleanup = [](OstSSTask*) { return ++calls; };
    record.cleanup_count = 1;
    EXPECT_EQ(OST_STAT_OK, __ostSSDeleteTask(&task));
    EXPECT_EQ(1, calls);
    EXPECT_EQ(nullptr, task);
    EXPECT_EQ(live, nvo_core_testing_live_blocks());
}

} // namespace
} // namespace nvo::tests
