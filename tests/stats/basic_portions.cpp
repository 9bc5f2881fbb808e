// Data in portions, and moments from sums.
#include "tests/stats/basic_accuracy.h"

namespace nvo::tests {
namespace {

template <class R> class BasicPortionsTest : public testing::Test {};
TYPED_TEST_SUITE(BasicPortionsTest, Reals);

// What later calls go on from: the arrays that are there, by these methods.
struct Carried {
    std::uint64_t estimates, arrays;
    std::uint32_t methods = fast | one_pass | two_pass;
    double offset = 2;        // of the data from 0
    std::uint32_t bounds = 0; // as accurate as this method, not its own
    std::int64_t least = 1;   // observations of the first portion
};
constexpr Carried all_carried[] = {
    {all_basic, all_basic},
    {all_moments, all_moments, fast | one_pass},
    // About given means, a single observation has a sum, which its variance of 0 / 0 can't carry.
    {all_moments, all_moments, two_pass, 2, 0, 60},
    {all_central_sums, all_raw | all_central_sums, fast | one_pass},
    {all_central_sums, mean | all_central_sums, two_pass},
    // Whichever of the matrices is worked on in place.
    {cov, mean | cov},
    {cor, mean | cor},
    {cross_product, mean | cross_product},
    {cov | cor, mean | cov | cor},
    {cov | cross_product, mean | cov | cross_product},
    {cor | cross_product, mean | cor | cross_product},
    // The means of raw sums are made anew in each call.
    {all_raw_sums, all_raw_sums, fast | one_pass},
    // Lower orders without arrays: the raw moments, which have to be there, stand in.
    {central(4), all_raw | central(4), fast | one_pass, 0.5, fast},
    // With arrays for them, data may be far from 0, and their raw moments say little about them.
    {central(4), all_raw | central(2) | central(3) | central(4), one_pass, 100},
    {central(4), all_raw | central_sum(2) | central_sum(3) | central(4), one_pass, 100},
};

// Portions of one observation, which leaves 0 / 0, of none with a weight, and longer ones. The two-pass form is given
// the means of the whole, about which central sums add up; or for matrices those of what has been seen so far.
TYPED_TEST(BasicPortionsTest, GiveTheResultsOfTheWhole) {
    using R = TypeParam;
    for (const Carried& c : all_carried)
        for (const std::uint32_t method : data_methods)
            for (const Weighting weighting : weightings)
                for (const bool rows : {true, false})
                    for (const std::int32_t storage : matrix_storages) {
                        if ((c.methods & method) == 0) continue;
                        const Sample<R> s = make_sample<R>(5, 90, weighting, c.offset);
                        BasicTask<R> task(s, c.arrays, {.rows = rows, .storage = storage});
                        task.accumulate_weights();
                        SCOPED_TRACE(testing::Message() << "estimates 0x" << std::hex << c.estimates << " method "
                                                        << method << " rows " << rows << " storage " << storage);
                        std::int64_t first = 0;
                        for (const std::int64_t end : {1, 3, 4, 60, 70, 90}) {
                            if (end < c.least) continue;
                            task.data(s.part(first, end));
                            const bool so_far = (c.estimates & ~all_matrices) == 0;
                            if (method == two_pass) task.means(means_of(so_far ? s.part(0, end) : s));
                            ASSERT_EQ(OST_STAT_OK, task.run(c.estimates, method));
                            first = end;
                        }
                        expect_all(task, Model<R>(s, c.bounds != 0 ? c.bounds : method));
                        if (this->HasFailure()) return;
                    }
}

TYPED_TEST(BasicPortionsTest, MomentsComeFromSumsToo) {
    using R = TypeParam;
    for (const std::int32_t storage : matrix_storages)
        for (const std::uint32_t method : {0x200U, 0x400U, 0x600U})
            for (const Weighting weighting : {Weighting::none, Weighting::positive}) {
                const Sample<R> s = make_sample<R>(5, 60, weighting);
                BasicTask<R> task(s, all_basic, {.storage = storage, .indices = {1, 0, 1, 1, 0}});
                if (weighting != Weighting::none) task.accumulate_weights();
                ASSERT_EQ(OST_STAT_OK, task.run(all_sums | cross_product, one_pass));
                for (int k = 1; k <= 4; ++k) task.at(raw(k), 0) = 0; // the pass has written them as well
                ASSERT_EQ(OST_STAT_OK, task.run(all_moments | all_ratios | cov | cor, method));
                expect_all(task, Model<R>(s, one_pass));
            }
}

// Kurtosis and its like alone are made from moments as they stand.
TEST(BasicFromSumsTest, RatiosTakeTheMomentsThatAreThere) {
    BasicTask<double> task(make_sample<double>(1, 20, Weighting::none),
                           mean | central(2) | central(4) | kurtosis | variation);
    task.at(mean, 0) = 8;
    task.at(central(2), 0) = 4;
    task.at(central(4), 0) = 80;
    ASSERT_EQ(OST_STAT_OK, task.run(kurtosis | variation, from_sums));
    EXPECT_EQ(2, task.at(kurtosis, 0));
    EXPECT_EQ(0.25, task.at(variation, 0));
}

} // namespace
} // namespace nvo::tests
