// What moments and covariance need: arrays and their order, methods, data; and what a failed call leaves.
#include "tests/stats/basic_fixture.h"

namespace nvo::tests {
namespace {

// What an estimate needs beside its own array, by method; the two-pass form always needs the means as well.
struct Need {
    std::uint64_t estimates, of_data, of_fast, of_sums;
};
constexpr std::uint64_t refused = std::uint64_t{1} << 63;
constexpr std::uint64_t raw_to(int k) { return raw(k + 1) - raw(1); }
constexpr Need needs[] = {
    {0, 0, 0, 0},
    {OST_STAT_EST_MIN | std::uint64_t{1} << 40, 0, 0, 0}, // bits of others
    {raw(1), 0, 0, raw_sum(1)},
    {raw(2), 0, 0, raw_sum(2)},
    {raw(3), 0, 0, raw_sum(3)},
    {raw(4), 0, 0, raw_sum(4)},
    {central(2), raw_to(2), 0, central_sum(2)},
    {central(3), raw_to(3), 0, central_sum(3)},
    {central(4), raw_to(4), 0, central_sum(4)},
    {cov, mean, 0, cross_product},
    {cor, mean, 0, cross_product},
    {kurtosis, raw_to(4) | central(2) | central(4), 0, mean | central(2) | central(4)},
    {skewness, raw_to(3) | central(2) | central(3), 0, mean | central(2) | central(3)},
    {variation, raw_to(2) | central(2), 0, mean | central(2)},
    {raw_sum(1), 0, 0, refused},
    {raw_sum(2), 0, 0, refused},
    {raw_sum(3), 0, 0, refused},
    {raw_sum(4), 0, 0, refused},
    {central_sum(2), mean, raw_to(2), refused},
    {central_sum(3), mean, raw_to(3), refused},
    {central_sum(4), mean, raw_to(4), refused},
    {cross_product, mean, 0, refused},
    {cor | cov, mean, 0, cross_product},
    {cross_product | raw_sum(1) | variation, raw_to(2) | central(2), 0, refused},
};

// Arrays are looked for in the order of their table; each has the status of its field.
TEST(BasicRequestTest, NeedsArraysInOrder) {
    const Sample<double> s = make_sample<double>(3, 20, Weighting::none);
    for (const auto& [estimates, of_data, of_fast, of_sums] : needs)
        for (const std::uint32_t method : {fast, one_pass, two_pass, from_sums}) {
            const std::uint64_t others = method == from_sums ? of_sums
                                         : method == fast    ? of_data | of_fast
                                                             : of_data | (method == two_pass ? mean : 0);
            std::uint64_t there = 0;
            for (const Array& array : arrays) {
                if (others == refused || ((estimates | others) & array.estimate) == 0) continue;
                BasicTask<double> task(s, there);
                const auto before = task.results();
                EXPECT_EQ(__ostdSSEditTask(task.task().get(), array.code, nullptr), task.run(estimates, method))
                    << "estimates " << estimates << " method " << method << " with " << there;
                EXPECT_EQ(before, task.results());
                there |= array.estimate;
            }
            BasicTask<double> task(s, there);
            EXPECT_EQ(others == refused ? OST_STAT_ERR_METHOD : OST_STAT_OK, task.run(estimates, method))
                << "estimates " << estimates << " method " << method << " with " << there;
        }
}

TEST(BasicRequestTest, NeedsOneMethod) {
    BasicTask<double> task(make_sample<double>(3, 20, Weighting::none), mean | raw_sum(1));
    for (const std::uint32_t method : {0U, 0x20U, fast | one_pass, fast | two_pass, one_pass | two_pass})
        EXPECT_EQ(OST_STAT_ERR_METHOD, task.run(mean, method)) << method;
    for (const std::uint32_t method : {fast | from_sums | 0x20U, 0x400U})
        EXPECT_EQ(OST_STAT_OK, task.run(mean, method)) << method;
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
    const std::int32_t one = 1, four = 4, zero = 0;
    const double x[4] = {}, sums[1] = {20}, weights[4] = {};
    double means[1] = {}, weights_so_far[2] = {5, 5};
    EmptyTask task;
    std::uint32_t method = fast;
    const auto run = [&] { return _ostdSSBasic(task.get(), mean, method, nullptr); };
    task.expect(run, {{OST_STAT_ERR_DIMENSION, OST_STAT_PARAM_DIMENSION, &one},
                      {OST_STAT_ERR_MEAN, OST_STAT_PARAM_MEAN, means}, // arrays come first
                      {OST_STAT_ERR_OBSERVATIONS, OST_STAT_PARAM_OBSERVATIONS, &zero},
                      {OST_STAT_ERR_OBSERVATIONS, OST_STAT_PARAM_OBSERVATIONS, &four},
                      {OST_STAT_ERR_DATA, OST_STAT_PARAM_DATA, x},
                      {OST_STAT_ERR_MATRIX_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &no_storage},
                      {OST_STAT_ERR_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &cols},
                      {OST_STAT_OK, OST_STAT_PARAM_SUM, sums}});

    // From sums: weights that have been summed, or a count and no weights.
    method = from_sums;
    task.expect(run, {{OST_STAT_OK, OST_STAT_PARAM_OBSERVATIONS, &zero}});
    EXPECT_EQ(5, means[0]);
    task.expect(run, {{OST_STAT_ERR_ACC_WEIGHTS, OST_STAT_PARAM_OBSERVATIONS, &four},
                      {OST_STAT_OK, OST_STAT_PARAM_WEIGHTS, weights},
                      {OST_STAT_ERR_ACC_WEIGHTS, OST_STAT_PARAM_ACCUMULATED_WEIGHTS, weights_so_far}});
    EXPECT_EQ(OST_STAT_OK, run());
    EXPECT_EQ(4, means[0]);
    EXPECT_EQ(5, weights_so_far[0]);
    EXPECT_EQ(OST_STAT_ERR_TASK, _ostdSSBasic(nullptr, mean, method, nullptr));
}

// Arrays that nobody asked for, and that nothing is made from, stay as they are.
TEST(BasicRequestTest, WritesWhatIsAskedForAndWhatItIsMadeFrom) {
    BasicTask<double> task(make_sample<double>(2, 20, Weighting::none), all_basic);
    ASSERT_EQ(OST_STAT_OK, task.run(central(2), one_pass));
    for (const auto& [estimate, elements] : task.results()) {
        // The sum of order 2 is what a later call goes on from.
        const bool written = (estimate & (raw_to(2) | central(2) | central_sum(2))) != 0;
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
