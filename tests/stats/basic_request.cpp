// What moments and covariance need: arrays and their order, methods, data; and what a failed call leaves.
#include "tests/stats/basic_fixture.h"

namespace nvo::tests {
namespace {

struct Case {
    std::uint64_t estimates;
    std::uint32_t method;
    std::uint64_t arrays;
    std::int32_t status;
};
constexpr std::uint64_t raw_to_2 = mean | raw(2), raw_to_3 = raw_to_2 | raw(3);

const Case cases[] = {
    // methods
    {mean, 0, mean, -4029},
    {mean, fast | one_pass, mean, -4029},
    {mean, fast | two_pass, 0, -4029},
    {mean, 0x20, mean, -4029},
    {mean, fast | from_sums | 0x20, mean, 0},
    {0, fast, 0, 0},
    {0, two_pass, 0, -4006},
    {OST_STAT_EST_MIN | std::uint64_t{1} << 40, one_pass, 0, 0}, // bits of others
    // what each needs beside its own array, in the order of the checks
    {mean, one_pass, 0, -4006},
    {raw(2), one_pass, 0, -4007},
    {raw(2), one_pass, raw(2), 0},
    {raw(3), fast, 0, -4008},
    {raw(4), fast, 0, -4009},
    {central(2), one_pass, 0, -4006},
    {central(2), one_pass, mean, -4007},
    {central(2), one_pass, raw_to_2, -4010},
    {central(2), two_pass, raw_to_2 | central(2), 0},
    {central(3), one_pass, raw_to_2, -4008},
    {central(3), one_pass, raw_to_3, -4011},
    {central(3), fast, raw_to_3 | central(3), 0},
    {central(4), fast, raw_to_3, -4009},
    {central(4), fast, all_raw, -4012},
    {central(4), one_pass, all_raw | central(4), 0},
    {cov, one_pass, cov, -4006},
    {cov, fast, mean, -4018},
    {cor, two_pass, mean, -4019},
    {cor | cov, one_pass, mean | cor, -4018},
    {kurtosis, one_pass, raw_to_3 | central(2) | central(4), -4009},
    {kurtosis, fast, all_raw | central(4), -4010},
    {kurtosis, fast, all_raw | central(2), -4012},
    {kurtosis, fast, all_raw | central(2) | central(4), -4013},
    {kurtosis, one_pass, all_raw | central(2) | central(4) | kurtosis, 0},
    {skewness, two_pass, raw_to_2 | central(2) | central(3), -4008},
    {skewness, two_pass, raw_to_3 | central(2), -4011},
    {skewness, two_pass, raw_to_3 | central(2) | central(3), -4014},
    {skewness, two_pass, raw_to_3 | central(2) | central(3) | skewness, 0},
    {variation, fast, mean | central(2), -4007},
    {variation, fast, raw_to_2 | central(2), -4017},
    {variation, fast, raw_to_2 | central(2) | variation, 0},
    {raw_sum(1), fast, 0, -4074},
    {raw_sum(2), one_pass, 0, -4075},
    {raw_sum(2), two_pass, raw_sum(2), -4006},
    {raw_sum(3), one_pass, 0, -4076},
    {raw_sum(4), one_pass, 0, -4077},
    {central_sum(2), one_pass, central_sum(2), -4006},
    {central_sum(2), one_pass, mean, -4078},
    {central_sum(2), one_pass, mean | central_sum(2), 0},
    {central_sum(2), fast, mean | central_sum(2), -4007},
    {central_sum(3), fast, raw_to_2 | central_sum(3), -4008},
    {central_sum(4), fast, raw_to_3 | central_sum(4), -4009},
    {central_sum(3), one_pass, mean, -4079},
    {central_sum(4), one_pass, mean, -4080},
    {central_sum(4), one_pass, mean | central_sum(4), 0},
    {cross_product, fast, mean, -4081},
    {cross_product | raw_sum(1) | variation, one_pass, raw_to_2 | central(2), -4017},
    // from sums
    {mean, from_sums, mean, -4074},
    {mean, 0x400, mean | raw_sum(1), 0},
    {mean, from_sums, raw_sum(1), -4006},
    {central(2), from_sums, central(2), -4078},
    {central(3), from_sums, central(3), -4079},
    {central(4), from_sums, central(4), -4080},
    {cov, from_sums, cov, -4081},
    {cor, from_sums, cor | cross_product, 0},
    {kurtosis, from_sums, mean | central(2) | kurtosis, -4012},
    {kurtosis, from_sums, mean | central(2) | central(4) | kurtosis, 0},
    {skewness, from_sums, mean | central(2) | central(3), -4014},
    {variation, from_sums, mean | variation, -4010},
    {raw_sum(1), from_sums, raw_sum(1), -4029},
    {central_sum(2) | mean, from_sums, 0, -4029},
    {cross_product, from_sums, cross_product, -4029},
};

TEST(BasicRequestTest, NeedsArraysInOrder) {
    const Sample<double> s = make_sample<double>(3, 20, Weighting::none);
    for (const Case& c : cases) {
        BasicTask<double> task(s, c.arrays);
        const auto before = task.results();
        EXPECT_EQ(c.status, task.run(c.estimates, c.method)) << "case " << &c - cases;
        if (c.status != 0) {
            EXPECT_EQ(before, task.results()) << "case " << &c - cases;
        }
    }
}

TEST(BasicRequestTest, NeedsAStorageForEachMatrix) {
    for (const std::uint32_t method : {one_pass, from_sums}) {
        BasicTask<double> task(make_sample<double>(2, 20, Weighting::none), mean | cross_product);
        double matrix[4];
        task.task().set(OST_STAT_PARAM_COV, matrix);
        EXPECT_EQ(OST_STAT_ERR_MATRIX_STORAGE, task.run(cov, method));
    }
}

TEST(BasicRequestTest, NeedsDataOrWeights) {
    const std::int32_t two = 2, ten = 10, zero = 0, no_storage = 0x40000, columns = OST_STAT_STORAGE_COLS;
    const double x[20] = {}, sums[2] = {20, 30}, weights[10] = {};
    double means[2] = {}, weights_so_far[2] = {4, 4};
    std::int32_t p = 2;
    OstSSTask* task = nullptr;
    ASSERT_EQ(OST_STAT_OK, __ostdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0));
    p = 0;
    std::uint32_t method = fast;
    const auto run = [&] { return _ostdSSBasic(task, mean, method, nullptr); };
    expect_statuses(task, run,
                    {{OST_STAT_ERR_DIMENSION, OST_STAT_PARAM_DIMENSION, &two},
                     {OST_STAT_ERR_MEAN, OST_STAT_PARAM_MEAN, means}, // arrays come first
                     {OST_STAT_ERR_OBSERVATIONS, OST_STAT_PARAM_OBSERVATIONS, &zero},
                     {OST_STAT_ERR_OBSERVATIONS, OST_STAT_PARAM_OBSERVATIONS, &ten},
                     {OST_STAT_ERR_DATA, OST_STAT_PARAM_DATA, x},
                     {OST_STAT_ERR_MATRIX_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &no_storage},
                     {OST_STAT_ERR_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &columns},
                     {OST_STAT_OK, OST_STAT_PARAM_SUM, sums}});

    // From sums: weights that have been summed, or a count and no weights.
    method = from_sums;
    EXPECT_EQ(OST_STAT_OK, run());
    EXPECT_EQ(2, means[0]);
    expect_statuses(task, run,
                    {{OST_STAT_OK, OST_STAT_PARAM_OBSERVATIONS, &zero},
                     {OST_STAT_ERR_ACC_WEIGHTS, OST_STAT_PARAM_OBSERVATIONS, &ten},
                     {OST_STAT_OK, OST_STAT_PARAM_WEIGHTS, weights},
                     {OST_STAT_ERR_ACC_WEIGHTS, OST_STAT_PARAM_ACCUMULATED_WEIGHTS, weights_so_far}});
    EXPECT_EQ(OST_STAT_OK, run());
    EXPECT_EQ(5, means[0]);
    EXPECT_EQ(4, weights_so_far[0]);
    __ostSSDeleteTask(&task);
    EXPECT_EQ(OST_STAT_ERR_TASK, run());
}

// Arrays that nobody asked for, and that nothing is made from, stay as they are.
TEST(BasicRequestTest, WritesWhatIsAskedForAndWhatItIsMadeFrom) {
    BasicTask<double> task(make_sample<double>(2, 20, Weighting::none), all_basic);
    ASSERT_EQ(OST_STAT_OK, task.run(central(2), one_pass));
    for (const auto& [estimate, elements] : task.results()) {
        // The sum of order 2 is what a later call goes on from.
        const bool written = (estimate & (raw_to_2 | central(2) | central_sum(2))) != 0;
        EXPECT_EQ(written, elements[1] != task.mark) << estimate;
    }
}

// Only the means that the two-pass form keeps are allocated behind the results.
template <class R> void fail_allocations(const Sample<R>& s, std::uint32_t method, std::vector<std::int32_t> indices) {
    BasicTask<R> task(s, all_basic, {.storage = OST_STAT_MATRIX_LPACKED, .indices = std::move(indices)});
    task.accumulate_weights().means(means_of(s));
    const std::uint64_t estimates = method == from_sums ? cov | cor | mean : all_basic;
    const long allocations = fail_each_allocation([&] {
        const std::int32_t status = task.run(estimates, method, Team::descriptor());
        const bool written = task.at(raw(2), 0) != task.mark;
        EXPECT_TRUE(status == OST_STAT_OK || !written || method == two_pass);
        EXPECT_EQ(written, task.weights_so_far[0] != 0);
        return status;
    });
    EXPECT_GE(allocations, method == from_sums ? 2 : 4);
}

TEST(BasicMemoryOfThreads, EveryAllocationMayFail) {
    const Team team(3);
    for (const std::uint32_t method : {fast, one_pass, two_pass, from_sums})
        for (const Weighting weighting : {Weighting::none, Weighting::positive}) {
            fail_allocations(make_sample<double>(6, 900, weighting), method, {});
            fail_allocations(make_sample<float>(6, 900, weighting), method, {1, 0, 1, 1, 0, 0});
        }
}

} // namespace
} // namespace nvo::tests
