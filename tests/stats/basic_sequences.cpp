// The order of operations is part of the result: one thread's moments are those of the loops below, to the last bit, in
// either layout, among any neighbours, and whatever else is asked for.
#include "tests/stats/basic_fixture.h"

namespace nvo::tests {
namespace {

template <class R> class BasicSequenceTest : public testing::Test {};
TYPED_TEST_SUITE(BasicSequenceTest, Reals);

// Results of variable j by order, those whose sequence of operations is settled; in one pass with its cross-product
// with variable b, where the means are those before the observation.
template <class R> struct Loop {
    R raw[5] = {}, central_sum[5] = {}, cross = 0, weight = 0, squares = 0;
    int highest_central;

    Loop(std::uint32_t method, const Sample<R>& s, std::int64_t j, R given_mean, std::int64_t b = 0)
        : highest_central(method == fast       ? 1
                          : method == one_pass ? 2
                                               : 4) {
        R mean_b = 0;
        for (std::int64_t i = 0; i < s.n; ++i) {
            const R w = s.w(i), x = s.x(i, j), next = weight + w, r = 1 / next, kept = weight * r, c = kept * w,
                    d = x - (method == one_pass ? raw[1] : given_mean);
            if (w == 0 && (method == fast || (method == one_pass && weight == 0))) continue;
            R term = w, x_to_k = 1, d_to_k = 1;
            for (int k = 1; k <= 4; ++k) {
                term *= x;
                x_to_k *= x;
                d_to_k *= d;
                if (method == fast) raw[k] += term;
                if (method == two_pass) raw[k] += w * x_to_k;
                if (method == two_pass) central_sum[k] += w * d_to_k;
                if (method == one_pass) raw[k] = raw[k] * kept + x_to_k * w * r;
            }
            if (method == one_pass) central_sum[2] += d * d * c;
            cross += c * d * (s.x(i, b) - mean_b);
            mean_b = mean_b * kept + s.x(i, b) * w * r;
            squares += w * w;
            weight = next;
        }
        for (int k = 1; method != one_pass && k <= 4; ++k) raw[k] /= weight;
        if (method == two_pass) raw[1] = given_mean;
    }
};

template <class R> void compare_with_loops(const Sample<R>& s, std::uint32_t method) {
    const std::vector<R> means = means_of(s);
    for (const bool rows : {true, false}) {
        BasicTask<R> task(s, all_moments | all_sums, {.rows = rows});
        task.accumulate_weights().means(means);
        ASSERT_EQ(OST_STAT_OK, task.run(all_moments | all_sums, method));
        SCOPED_TRACE(testing::Message() << "p " << s.p << " n " << s.n << " method " << method
                                        << (rows ? " rows" : " columns"));
        for (std::int64_t j = 0; j < s.p; ++j) {
            const Loop<R> want(method, s, j, means[j]);
            const R w = want.weight, squares = want.squares;
            EXPECT_EQ(w, task.weights_so_far[0]);
            EXPECT_EQ(squares, task.weights_so_far[1]);
            for (int k = 1; k <= 4; ++k) {
                EXPECT_EQ(want.raw[k], task.at(raw(k), j)) << k << " " << j;
                EXPECT_EQ(want.raw[k] * w, task.at(raw_sum(k), j)) << k << " " << j;
            }
            for (int k = 2; k <= want.highest_central; ++k) {
                const R sum = want.central_sum[k];
                EXPECT_EQ(sum, task.at(central_sum(k), j)) << k << " " << j;
                EXPECT_EQ(k == 2 ? sum * w / (w * w - squares) : sum / w, task.at(central(k), j)) << k << " " << j;
            }
        }
        if (testing::Test::HasFailure()) return;
    }
}

TYPED_TEST(BasicSequenceTest, MomentsAreThoseOfTheLoops) {
    using R = TypeParam;
    for (const std::uint32_t method : data_methods)
        for (const Weighting weighting : weightings) {
            for (std::int64_t p = 1; p <= 23; ++p) compare_with_loops(make_sample<R>(p, 40, weighting), method);
            compare_with_loops(make_sample<R>(41, 300, weighting), method);  // several tiles
            compare_with_loops(make_sample<R>(150, 290, weighting), method); // of the fewest observations in columns
        }
}

TYPED_TEST(BasicSequenceTest, OnePassCrossProductsAreThoseOfTheLoop) {
    using R = TypeParam;
    for (const Weighting weighting : weightings)
        for (const std::int64_t p : {1, 2, 4, 7, 9, 18, 33}) {
            const Sample<R> s = make_sample<R>(p, 290, weighting);
            std::vector<R> means, want; // the lower triangle, packed
            for (std::int64_t b = 0; b < p; ++b)
                for (std::int64_t a = 0; a <= b; ++a) {
                    const Loop<R> loop(one_pass, s, a, 0, b);
                    want.push_back(loop.cross);
                    if (a == b) means.push_back(loop.raw[1]);
                }
            want.resize(static_cast<std::size_t>(p * p), BasicTask<R>::mark);
            for (const bool rows : {true, false})
                for (const std::uint64_t others : {std::uint64_t{0}, central_sum(2), raw(2), raw(4)}) {
                    BasicTask<R> task(s, all_basic, {.rows = rows, .storage = OST_STAT_MATRIX_LPACKED});
                    ASSERT_EQ(OST_STAT_OK, task.run(cross_product | others, one_pass));
                    EXPECT_EQ(means, task.results().at(mean));
                    EXPECT_EQ(want, task.results().at(cross_product)) << p << " " << rows << " " << others;
                }
        }
}

// An estimate alone, by the kernel that is just enough for it, beside all at once. And a variable that is left out
// isn't in the way of the others, whatever it holds.
TYPED_TEST(BasicSequenceTest, EstimatesDontDependOnWhatElseIsAskedFor) {
    using R = TypeParam;
    for (const std::uint32_t method : data_methods)
        for (const Weighting weighting : {Weighting::none, Weighting::positive})
            for (const bool rows : {true, false}) {
                Sample<R> s = make_sample<R>(21, 150, weighting);
                const std::vector<R> means = means_of(s);
                BasicTask<R> all(s, all_basic, {.rows = rows});
                ASSERT_EQ(OST_STAT_OK, all.means(means).run(all_basic, method));
                for (const Array& array : arrays) {
                    BasicTask<R> one(s, all_basic, {.rows = rows});
                    ASSERT_EQ(OST_STAT_OK, one.means(means).run(array.estimate, method));
                    EXPECT_EQ(all.results().at(array.estimate), one.results().at(array.estimate))
                        << "method " << method << " code " << array.code << " rows " << rows;
                }

                std::vector<std::int32_t> indices;
                for (std::int64_t j = 0; j < s.p; ++j) indices.push_back(j % 5 != 0 && j != 7);
                for (std::int64_t i = 0; i < s.n; ++i) s.values[i * s.p + 5] = std::numeric_limits<R>::quiet_NaN();
                BasicTask<R> some(s, all_moments, {.rows = rows, .indices = indices});
                ASSERT_EQ(OST_STAT_OK, some.means(means).run(all_moments, method));
                for (const auto& [estimate, elements] : some.results())
                    for (const std::int64_t j : some.selected())
                        EXPECT_EQ(all.at(estimate, j), some.at(estimate, j)) << "method " << method << " rows " << rows;
            }
}

} // namespace
} // namespace nvo::tests
