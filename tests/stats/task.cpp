// The task: creation, every code of the edit entries, the grouped editors, deletion.
#include "stats/task.h"

#include "tests/support/statistics.h"

#include <iterator>
#include <tuple>

namespace nvo::tests {
namespace {

using Record = stats::TaskRecord<double>;

constexpr std::int32_t one = 1, zero = 0, both = 0x30000;

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

    OstSSTask* task = nullptr;
};

struct Field {
    std::int32_t code;
    bool is_real;
    std::size_t offset;
    std::int32_t status;
};
#define FIELD_OWN(type, name)
#define FIELD_INTEGER(name, NAME, code, status) {code, false, offsetof(Record, name), status},
#define FIELD_REAL(name, NAME, code, status) {code, true, offsetof(Record, name), status},
const Field fields[] = {
#include "nvo_ark/statistics_fields.def"
};

TEST_F(EditedTask, TakesEachCodeInTheEntryOfItsType) {
    EXPECT_EQ(79U, std::size(fields));
    static const double value = 0;
    const auto edit = [this](bool real, std::int32_t code, const double* pointer) {
        return real ? __ostdSSEditTask(task, code, pointer) : __ostiSSEditTask(task, code, pointer);
    };
    for (const auto& [code, is_real, offset, status] : fields) {
        unsigned char expected[sizeof(Record)]; // what has changed, this field alone
        std::memcpy(expected, task, sizeof expected);
        EXPECT_EQ(OST_STAT_ERR_CODE, edit(!is_real, code, &value)) << code;
        EXPECT_EQ(status, edit(is_real, code, nullptr)) << code;
        EXPECT_EQ(0, std::memcmp(expected, task, sizeof expected)) << code;
        EXPECT_EQ(OST_STAT_OK, edit(is_real, code, &value)) << code;
        const double* const pointer = &value;
        std::memcpy(expected + offset, &pointer, sizeof pointer);
        EXPECT_EQ(0, std::memcmp(expected, task, sizeof expected)) << code;
    }
    EXPECT_EQ(OST_STAT_ERR_TASK, __ostdSSEditTask(nullptr, 3, &value));
    for (const std::int32_t code : {-1, 0, 80, 1000})
        for (const bool real : {false, true}) EXPECT_EQ(OST_STAT_ERR_CODE, edit(real, code, &value));
}

// An editor gets one pointer at a time, the others null: each argument must land in its field, and move no other.
template <class... Argument, class... Name>
void expect_arguments(OstSSTask* task, std::int32_t (*edit)(OstSSTask*, Argument...), Name... name) {
    static double values[sizeof...(Name)];
    for (std::size_t k = 0; k < sizeof...(Name); ++k) {
        Record expected = *reinterpret_cast<Record*>(task);
        std::size_t i = 0, a = 0;
        ((i++ == k ? void(expected.*name = values + k) : void()), ...);
        EXPECT_EQ(OST_STAT_OK, std::apply(edit, std::tuple<OstSSTask*, Argument...>{
                                                    task, static_cast<Argument>(a++ == k ? values + k : nullptr)...}));
        EXPECT_EQ(0, std::memcmp(&expected, task, sizeof expected)) << k;
    }
    EXPECT_EQ(OST_STAT_ERR_TASK, edit(nullptr, Argument{}...));
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
    auto& record = *reinterpret_cast<Record*>(task);
    EXPECT_EQ(0, record.precision);
    EXPECT_EQ(2, record.task_kind);
    record.saved_mean = nvo_serv_allocate(4, 128);
    static int calls = 0;
    record.cleanup = [](OstSSTask*) { return ++calls; };
    record.cleanup_count = 1;
    EXPECT_EQ(OST_STAT_OK, __ostSSDeleteTask(&task));
    EXPECT_EQ(1, calls);
    EXPECT_EQ(nullptr, task);
    EXPECT_EQ(live, nvo_core_testing_live_blocks());
}

} // namespace
} // namespace nvo::tests
