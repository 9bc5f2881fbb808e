// Moments and covariance against sums in long double, over methods, layouts, storages of matrices and weights.
#include "tests/stats/basic_accuracy.h"

namespace nvo::tests {
namespace {

template <class R> class BasicTest : public testing::Test {};
TYPED_TEST_SUITE(BasicTest, Reals);

template <class R, class I> void compare_with_model(const Sample<R>& sample, std::uint32_t method) {
    const Model<R> model(sample, method);
    for (const bool rows : {true, false})
        for (const std::int32_t storage : matrix_storages)
            for (const bool selecting : {false, true}) {
                typename BasicTask<R, I>::Options options{.rows = rows, .storage = static_cast<I>(storage)};
                for (I j = 0; selecting && j < sample.p; ++j) options.indices.push_back(j % 4 == 1 ? 0 : j + 1);
                BasicTask<R, I> task(sample, all_basic, options);
                SCOPED_TRACE(testing::Message()
                             << "p " << sample.p << " n " << sample.n << " method " << method
                             << (rows ? " rows" : " columns") << " storage " << storage << (selecting ? " some" : ""));
                ASSERT_EQ(OST_STAT_OK, task.means(means_of(sample)).run(all_basic, method));
                expect_all(task, model);
                if (testing::Test::HasFailure()) return;
            }
}

TYPED_TEST(BasicTest, ResultsAreTheExactOnesWithinTheBoundsOfTheMethod) {
    using R = TypeParam;
    for (const std::uint32_t method : data_methods)
        for (const Weighting weighting : weightings) {
            for (const std::int64_t p : {1, 2, 3, 5, 10, 19})
                compare_with_model<R, std::int32_t>(make_sample<R>(p, 12 + 3 * p, weighting), method);
            compare_with_model<R, std::int64_t>(make_sample<R>(7, 400, weighting, 100), method);
        }
}

// NIST's data sets NumAcc1 to NumAcc4: a value at the centre, and so many pairs on both sides of it; against the exact
// results of the doubles that they round to, whose deviations differ from the certified ones in the tenth digit. A
// one-pass deviation can have no more digits than the running mean leaves to it, epsilon times mean / deviation:
// NumAcc3 and NumAcc4 come out with 10.7 and 9.6 digits. The error of the Fast form is epsilon (mean / deviation)^2.
TEST(BasicNumAccTest, HasTheDigitsThatTheMethodAllows) {
    struct NumAcc {
        double centre, spread;
        int pairs;
    };
    for (const auto& [centre, spread, pairs] :
         {NumAcc{10000002, 1, 1}, {1.2, 0.1, 500}, {1000000.2, 0.1, 500}, {10000000.2, 0.1, 500}}) {
        Sample<double> s{1, 1 + 2 * pairs, {centre}, {}};
        for (int i = 0; i < 2 * pairs; ++i)
            s.values.push_back(std::nearbyint(10 * (i % 2 == 0 ? centre - spread : centre + spread)) / 10);
        const Model<double> model(s, one_pass);
        const long double centre_of_all = model.result(mean, 0).value, variance = model.result(central(2), 0).value;
        for (const std::uint32_t method : data_methods) {
            BasicTask<double> task(s, all_basic);
            ASSERT_EQ(OST_STAT_OK, task.means(means_of(s)).run(all_basic, method));
            EXPECT_NEAR(1, static_cast<double>(task.at(mean, 0) / centre_of_all), 1e-14);
            if (method == fast) continue;
            const double condition = centre / spread * std::numeric_limits<double>::epsilon();
            EXPECT_NEAR(1, static_cast<double>(std::sqrt(task.at(central(2), 0) / variance)),
                        method == two_pass ? 1e-14 : std::max(1e-14, condition));
        }
    }
}

// One-pass and Fast pass over observations without weight: those in front, and the Fast form all of them. So what they
// hold doesn't count. A weight that is NaN is one.
TYPED_TEST(BasicTest, ObservationsWithoutWeightMayHoldNan) {
    using R = TypeParam;
    constexpr R nan = std::numeric_limits<R>::quiet_NaN();
    const Sample<R> s = make_sample<R>(3, 50, Weighting::positive);
    for (const std::uint32_t method : {fast, one_pass})
        for (const bool rows : {true, false}) {
            Sample<R> padded = s;
            for (const int place : {0, 0, method == fast ? 20 : 0}) {
                ++padded.n;
                padded.weights.insert(padded.weights.begin() + place, R{0});
                padded.values.insert(padded.values.begin() + 3 * place, 3, nan);
            }
            BasicTask<R> want(s, all_moments, {.rows = rows}), got(padded, all_moments, {.rows = rows});
            ASSERT_EQ(OST_STAT_OK, want.run(all_moments, method));
            ASSERT_EQ(OST_STAT_OK, got.run(all_moments, method));
            EXPECT_EQ(want.results(), got.results());
            padded.weights[0] = nan;
            ASSERT_EQ(OST_STAT_OK, got.data(padded).run(all_moments, method));
            EXPECT_TRUE(std::isnan(got.at(mean, 0)));
        }
}

TYPED_TEST(BasicTest, NeitherOneObservationNorConstantOnesHaveAShape) {
    using R = TypeParam;
    const Sample<R> single = make_sample<R>(2, 1, Weighting::none), constant{2, 16, std::vector<R>(32, R{3}), {}};
    BasicTask<R> one(single, all_basic), same(constant, all_basic);
    ASSERT_EQ(OST_STAT_OK, one.run(all_basic, one_pass));
    EXPECT_EQ(single.x(0, 0), one.at(mean, 0));
    for (const std::uint64_t zero : {central_sum(2), central(4)}) EXPECT_EQ(0, one.at(zero, 1));
    for (const std::uint64_t undefined : {central(2), cov}) EXPECT_TRUE(std::isnan(one.at(undefined, 0)));

    ASSERT_EQ(OST_STAT_OK, same.run(all_moments | all_ratios | cov, fast));
    for (const std::uint64_t zero : {central(2), variation, cov}) EXPECT_EQ(0, same.at(zero, 0, 1));
    for (const std::uint64_t undefined : {skewness, kurtosis}) EXPECT_TRUE(std::isnan(same.at(undefined, 1)));
}

} // namespace
} // namespace nvo::tests
