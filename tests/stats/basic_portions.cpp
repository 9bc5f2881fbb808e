// Data in portions, and moments from sums.
#include "tests/stats/basic_accuracy.h"

namespace nvo::tests {
namespace {

template <class R> class BasicPortionsTest : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(BasicPortionsTest, Reals);

// What the two-pass form is given: the means of the whole, about which central sums add up, or those of what has been
// seen so far, with which matrices are right after each portion.
enum class Means { of_the_whole, so_far };

// The whole sample in portions that end at the given places, with the same estimates each time.
template <class R>
void run_in_portions(BasicTask<R>& task, const Sample<R>& s, const std::vector<std::int64_t>& ends,
                     std::uint64_t estimates, std::uint32_t method, Means means = Means::of_the_whole) {
    std::int64_t first = 0;
    for (const std::int64_t end : ends) {
        task.data(s.part(first, end));
        if (method == OST_STAT_METHOD_TWO_PASS) task.means(means_of(means == Means::so_far ? s.part(0, end) : s));
        ASSERT_EQ(OST_STAT_OK, task.run(estimates, method));
        first = end;
    }
    EXPECT_EQ(s.n, first);
}

TYPED_TEST(BasicPortionsTest, GiveTheResultsOfTheWhole) {
    using R = TypeParam;
    for (const std::uint32_t method : data_methods)
        for (const Weighting weighting : weightings)
            for (const bool rows : {true, false})
                for (const std::int32_t storage : matrix_storages) {
                    const Sample<R> s = make_sample<R>(5, 90, weighting);
                    BasicTask<R> task(s, {.rows = rows, .storage = storage});
                    task.add_all().accumulate_weights();
                    SCOPED_TRACE(testing::Message()
                                 << "method " << method << " rows " << rows << " storage " << storage);
                    run_in_portions(task, s, {3, 4, 60, 90}, all_basic, method);
                    expect_all(task, exact_results(s, method), s, method);
                }
}

// Whichever arrays are there, they hold what a later call needs.
TYPED_TEST(BasicPortionsTest, GoOnFromMomentsOrFromSums) {
    using R = TypeParam;
    for (const std::uint32_t method : data_methods) {
        const Sample<R> s = make_sample<R>(3, 80, Weighting::positive);
        const Exact<R> exact = exact_results(s, method);
        const Bounds<R> bounds(exact, method, s.n);
        BasicTask<R> moments(s, {}), sums(s, {});
        moments.accumulate_weights();
        sums.accumulate_weights().add(OST_STAT_PARAM_MEAN);
        for (int k = 1; k <= 4; ++k) moments.add(raw_codes[k]);
        for (int k = 2; k <= 4; ++k) {
            moments.add(central_codes[k]);
            sums.add(raw_codes[k]).add(central_sum_codes[k]);
        }
        run_in_portions(moments, s, {20, 50, 80}, all_moments, method);
        run_in_portions(sums, s, {20, 50, 80}, all_sums & ~(std::uint64_t{0xF} << 25), method);
        for (std::int64_t j = 0; j < s.p; ++j)
            for (int k = 2; k <= 4; ++k) {
                const Quad sum = exact.central_sum(k, j), bound = bounds.central_sum(k, j);
                const Quad factor =
                    k == 2 ? exact.weight / (exact.weight * exact.weight - exact.squares) : 1 / exact.weight;
                expect_near(sum, bound, sums.at(central_sum_codes[k], j), "central sum", k, j);
                expect_near(sum * factor, bound * factor * 2, moments.at(central_codes[k], j), "central", k, j);
                expect_near(exact.raw(k, j), bounds.raw(k, j), moments.at(raw_codes[k], j), "raw", k, j);
            }
    }
}

// Raw sums alone: their means are made anew in each call.
TYPED_TEST(BasicPortionsTest, GoOnFromRawSums) {
    using R = TypeParam;
    for (const std::uint32_t method : {OST_STAT_METHOD_FAST, OST_STAT_METHOD_ONE_PASS}) {
        const Sample<R> s = make_sample<R>(3, 80, Weighting::positive);
        const Exact<R> exact(s);
        const Bounds<R> bounds(exact, method, s.n);
        BasicTask<R> task(s, {});
        task.accumulate_weights();
        for (int k = 1; k <= 4; ++k) task.add(raw_sum_codes[k]);
        run_in_portions(task, s, {1, 30, 80}, std::uint64_t{0xF} << 25, method);
        for (std::int64_t j = 0; j < s.p; ++j)
            for (int k = 1; k <= 4; ++k)
                expect_near(exact.raw(k, j) * exact.weight, bounds.raw(k, j) * exact.weight,
                            task.at(raw_sum_codes[k], j), "raw sum", k, j);
    }
}

// Higher orders whose lower ones have no arrays: the raw moments, which have to be there, stand in.
TYPED_TEST(BasicPortionsTest, CarryLowerOrdersThroughRawMoments) {
    using R = TypeParam;
    for (const std::uint32_t method : {OST_STAT_METHOD_FAST, OST_STAT_METHOD_ONE_PASS}) {
        const Sample<R> s = make_sample<R>(3, 80, Weighting::none, 0.5);
        const Exact<R> exact(s);
        const Bounds<R> bounds(exact, OST_STAT_METHOD_FAST, s.n);
        BasicTask<R> task(s, {});
        task.accumulate_weights().add(OST_STAT_PARAM_CENTRAL_MOMENT_4);
        for (int k = 1; k <= 4; ++k) task.add(raw_codes[k]);
        run_in_portions(task, s, {20, 50, 80}, OST_STAT_EST_CENTRAL4, method);
        for (std::int64_t j = 0; j < s.p; ++j)
            expect_near(exact.central_sum(4, j) / exact.weight, bounds.central_sum(4, j) / exact.weight,
                        task.at(OST_STAT_PARAM_CENTRAL_MOMENT_4, j), "central", 4, j);
    }
}

// With arrays for the lower orders, asked for or not, the results are those of one call: data far from 0, whose raw
// moments say little about them.
TYPED_TEST(BasicPortionsTest, CarryLowerOrdersInTheirOwnArrays) {
    using R = TypeParam;
    const Sample<R> s = make_sample<R>(3, 80, Weighting::positive, 100);
    const Exact<R> exact(s);
    const Bounds<R> bounds(exact, OST_STAT_METHOD_ONE_PASS, s.n);
    for (const auto& codes : {central_codes, central_sum_codes}) {
        BasicTask<R> task(s, {});
        task.accumulate_weights().add(OST_STAT_PARAM_CENTRAL_MOMENT_4).add(codes[2]).add(codes[3]);
        for (int k = 1; k <= 4; ++k) task.add(raw_codes[k]);
        run_in_portions(task, s, {20, 50, 80}, OST_STAT_EST_CENTRAL4, OST_STAT_METHOD_ONE_PASS);
        for (std::int64_t j = 0; j < s.p; ++j)
            expect_near(exact.central_sum(4, j) / exact.weight, bounds.central_sum(4, j) / exact.weight,
                        task.at(OST_STAT_PARAM_CENTRAL_MOMENT_4, j), "central", 4, j);
    }
}

// Each of the matrices is enough to go on from, in each storage; a first portion of one observation leaves 0 / 0.
TYPED_TEST(BasicPortionsTest, GoOnFromAnyMatrix) {
    using R = TypeParam;
    struct Matrix {
        std::uint64_t estimate;
        std::int32_t code;
    };
    constexpr Matrix matrices[] = {{OST_STAT_EST_COV, OST_STAT_PARAM_COV},
                                   {OST_STAT_EST_COR, OST_STAT_PARAM_COR},
                                   {OST_STAT_EST_CROSS_PRODUCT, OST_STAT_PARAM_CROSS_PRODUCT}};
    for (const std::uint32_t method : data_methods)
        for (const Matrix& matrix : matrices)
            for (const std::int32_t storage : matrix_storages)
                for (const std::int64_t first : {1, 30}) {
                    const Sample<R> s = make_sample<R>(4, 80, Weighting::positive);
                    BasicTask<R> parts(s, {.rows = false, .storage = storage}), whole(s, {.storage = storage});
                    parts.accumulate_weights().add(OST_STAT_PARAM_MEAN).add(matrix.code);
                    whole.add(OST_STAT_PARAM_MEAN).add(matrix.code).means(means_of(s));
                    run_in_portions(parts, s, {first, 50, 80}, matrix.estimate, method, Means::so_far);
                    ASSERT_EQ(OST_STAT_OK, whole.run(matrix.estimate, method));
                    for (std::int64_t a = 0; a < s.p; ++a)
                        for (std::int64_t b = a; b < s.p; ++b) {
                            const R want = whole.at(matrix.code, a, b);
                            constexpr R relative = 3000 * std::numeric_limits<R>::epsilon();
                            EXPECT_NEAR(want, parts.at(matrix.code, a, b), relative * (1 + std::fabs(want)))
                                << "method " << method << " code " << matrix.code << " storage " << storage << " first "
                                << first << ": " << a << " " << b;
                        }
                }
}

// ---- From sums ------------------------------------------------------------------------------------------------------

TYPED_TEST(BasicPortionsTest, MomentsComeFromSumsToo) {
    using R = TypeParam;
    for (const std::int32_t storage : matrix_storages)
        for (const std::uint32_t method : {0x200U, 0x400U, 0x600U})
            for (const bool weighted : {false, true}) {
                const Sample<R> s = make_sample<R>(5, 60, weighted ? Weighting::positive : Weighting::none);
                const std::vector<std::int32_t> indices = {1, 0, 1, 1, 0};
                BasicTask<R> task(s, {.storage = storage, .indices = indices}),
                    data(s, {.storage = storage, .indices = indices});
                task.add_all();
                data.add_all();
                if (weighted) task.accumulate_weights();
                ASSERT_EQ(OST_STAT_OK, data.run(all_basic, OST_STAT_METHOD_ONE_PASS));
                ASSERT_EQ(OST_STAT_OK, task.run(all_sums | OST_STAT_EST_CROSS_PRODUCT, OST_STAT_METHOD_ONE_PASS));
                const std::uint64_t estimates = all_moments | all_ratios | OST_STAT_EST_COV | OST_STAT_EST_COR;
                ASSERT_EQ(OST_STAT_OK, task.run(estimates, method));
                constexpr R few = 8 * std::numeric_limits<R>::epsilon();
                for (std::int64_t a = 0; a < s.p; ++a) {
                    if (!task.selects(a)) {
                        for (const std::int32_t code : ratio_codes) EXPECT_EQ(Results<R>::mark, task.at(code, a));
                        continue;
                    }
                    for (int k = 1; k <= 4; ++k) {
                        const R want = data.at(raw_codes[k], a);
                        EXPECT_NEAR(want, task.at(raw_codes[k], a), few * std::fabs(want));
                        const std::int32_t code = central_codes[std::max(k, 2)];
                        EXPECT_EQ(data.at(code, a), task.at(code, a));
                    }
                    EXPECT_EQ(data.at(OST_STAT_PARAM_KURTOSIS, a), task.at(OST_STAT_PARAM_KURTOSIS, a));
                    EXPECT_EQ(data.at(OST_STAT_PARAM_SKEWNESS, a), task.at(OST_STAT_PARAM_SKEWNESS, a));
                    for (std::int64_t b = 0; b < s.p; ++b) {
                        if (!task.selects(b)) continue;
                        EXPECT_EQ(data.at(OST_STAT_PARAM_COV, a, b), task.at(OST_STAT_PARAM_COV, a, b));
                        EXPECT_EQ(data.at(OST_STAT_PARAM_COR, a, b), task.at(OST_STAT_PARAM_COR, a, b));
                    }
                }
            }
}

// Kurtosis and its like alone are made from moments as they stand.
TEST(BasicFromSumsTest, RatiosTakeTheMomentsThatAreThere) {
    const Sample<double> s = make_sample<double>(1, 20, Weighting::none);
    BasicTask<double> task(s, {});
    task.add(OST_STAT_PARAM_MEAN).add(OST_STAT_PARAM_CENTRAL_MOMENT_2).add(OST_STAT_PARAM_CENTRAL_MOMENT_4);
    task.add(OST_STAT_PARAM_KURTOSIS).add(OST_STAT_PARAM_VARIATION);
    const_cast<Results<double>&>(task.results(OST_STAT_PARAM_CENTRAL_MOMENT_2)).data()[0] = 4;
    const_cast<Results<double>&>(task.results(OST_STAT_PARAM_CENTRAL_MOMENT_4)).data()[0] = 80;
    task.means({8});
    ASSERT_EQ(OST_STAT_OK, task.run(OST_STAT_EST_KURTOSIS | OST_STAT_EST_VARIATION, OST_STAT_METHOD_FROM_SUMS));
    EXPECT_EQ(2, task.at(OST_STAT_PARAM_KURTOSIS, 0));
    EXPECT_EQ(0.25, task.at(OST_STAT_PARAM_VARIATION, 0));
}

} // namespace
} // namespace nvo::tests
