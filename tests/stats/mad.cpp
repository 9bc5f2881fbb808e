// Absolute deviations against a model that sorts, and sums in the widest type.
#include "tests/stats/sorted_data.h"

#include <cmath>

namespace nvo::tests {
namespace {

template <class R> class DeviationsTest : public testing::Test {};
TYPED_TEST_SUITE(DeviationsTest, Reals);

template <class R> R median_of(std::vector<R> x) {
    x = in_total_order(x);
    const std::size_t half = x.size() / 2;
    return x.size() % 2 == 1 ? x[half] : (x[half] - x[half - 1]) * R{0.5} + x[half - 1];
}
template <class R> std::vector<R> deviations_from(R centre, std::vector<R> x) {
    for (R& value : x) value = std::fabs(value - centre);
    return x;
}
template <class R> long double mean_of(const std::vector<long double>& x, const std::vector<R>& w) {
    long double sum = 0, weight = 0;
    for (std::size_t i = 0; i < x.size(); ++i) {
        sum += (w.empty() ? 1 : w[i]) * x[i];
        weight += w.empty() ? 1 : w[i];
    }
    return sum / weight;
}

constexpr std::int64_t p = 5, n = 1003;
constexpr std::uint64_t both = OST_STAT_EST_MEDIAN_AD | OST_STAT_EST_MEAN_AD;

template <class R> void compare_with_model(bool in_rows, bool weighted, bool mean_is_given, int threads) {
    SCOPED_TRACE(testing::Message() << in_rows << weighted << mean_is_given << ' ' << threads);
    const auto x = make_data<R>(Kind::random, p * n), w = weighted ? make_data<R>(Kind::few, n) : std::vector<R>{};
    const std::vector<std::int64_t> indices = {1, 1, 0, 1, 1};
    std::vector<R> median(p, -1), mean_deviation(p, -1);
    const std::vector<R> means = {R(0), R(0.1), R(0.2), R(0.3), R(0.4)}; // some centre
    StatsTask<R, std::int64_t> task(p, n, in_rows ? rows : cols, x.data(), w, indices);
    task.set(OST_STAT_PARAM_MEDIAN_ABS_DEVIATION, median.data())
        .set(OST_STAT_PARAM_MEAN_ABS_DEVIATION, mean_deviation.data());
    if (mean_is_given) task.set(OST_STAT_PARAM_MEAN, means.data());
    const Team team(threads);
    const std::uint32_t method = OST_STAT_METHOD_FAST | (mean_is_given ? OST_STAT_METHOD_TWO_PASS : 0);
    ASSERT_EQ(OST_STAT_OK, Stats<R>::mad(task.get(), both, method, team.descriptor()));

    for (std::int64_t j = 0; j < p; ++j) {
        const auto variable = variable_of(x, j, p, n, in_rows);
        const bool taken = indices[j] != 0;
        EXPECT_EQ(taken ? median_of(deviations_from(median_of(variable), variable)) : R{-1}, median[j]);
        const std::vector<long double> wide(variable.begin(), variable.end());
        const long double centre = mean_is_given ? means[j] : mean_of(wide, w);
        const long double exact = taken ? mean_of(deviations_from(centre, wide), w) : -1;
        EXPECT_NEAR(static_cast<double>(exact / mean_deviation[j]), 1, 30 * std::numeric_limits<R>::epsilon());
    }
}

TYPED_TEST(DeviationsTest, AreThoseOfTheModel) {
    for (const bool in_rows : {true, false})
        for (const bool weighted : {true, false})
            for (const bool mean_is_given : {true, false})
                compare_with_model<TypeParam>(in_rows, weighted, mean_is_given, 1);
}

// Inner entries call the descriptor from inside bodies.
TEST(DeviationsOfThreads, AreThoseOfTheModel) {
    for (const int threads : {2, 4}) {
        compare_with_model<double>(true, true, false, threads);
        compare_with_model<float>(false, false, false, threads);
    }
}

TEST(Deviations, ChecksComeInOrder) {
    const double x[6] = {3, 1, 2, 6, 5, 4};
    double median[2], mean_deviation[2], mean[2] = {};
    EmptyTask task;
    std::uint32_t method = OST_STAT_METHOD_TWO_PASS;
    std::uint64_t estimates = OST_STAT_EST_MEDIAN_AD;
    const auto call = [&] { return _ostdSSMAD(task.get(), estimates, method, nullptr); };
    task.expect_data(call, x, &no_storage);
    task.expect(call, {{OST_STAT_ERR_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &rows},
                       {OST_STAT_ERR_MEDIAN_AD, OST_STAT_PARAM_MEDIAN_ABS_DEVIATION, median}});
    EXPECT_EQ(OST_STAT_ERR_METHOD, call());
    estimates = both; // the median's method is wrong, and what the mean lacks comes first
    task.expect(call, {{OST_STAT_ERR_MEAN_AD, OST_STAT_PARAM_MEAN_ABS_DEVIATION, mean_deviation},
                       {OST_STAT_ERR_MEAN, OST_STAT_PARAM_MEAN, mean}});
    EXPECT_EQ(OST_STAT_ERR_METHOD, call());
    estimates = OST_STAT_EST_MEAN_AD;
    EXPECT_EQ(OST_STAT_OK, call());
    method = OST_STAT_METHOD_ONE_PASS;
    EXPECT_EQ(OST_STAT_ERR_METHOD, call());
    EXPECT_EQ(OST_STAT_ERR_TASK, _ostdSSMAD(nullptr, estimates, method, nullptr));
}

// Those of the inner calls come back from the bodies.
TEST(DeviationsOfThreads, MemoryErrorsComeBack) {
    const std::vector<double> x = make_data<double>(Kind::random, 3 * 50);
    double median[3], mean_deviation[3];
    StatsTask<double> task(3, 50, OST_STAT_STORAGE_COLS, x.data());
    task.set(OST_STAT_PARAM_MEDIAN_ABS_DEVIATION, median).set(OST_STAT_PARAM_MEAN_ABS_DEVIATION, mean_deviation);
    const Team team(2);
    EXPECT_LT(10, fail_each_allocation(
                      [&] { return _ostdSSMAD(task.get(), both, OST_STAT_METHOD_FAST, team.descriptor()); }));
}

} // namespace
} // namespace nvo::tests
