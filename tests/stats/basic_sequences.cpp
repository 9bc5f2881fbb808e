// The order of operations is part of the result: one thread's moments are those of the loops below, to the last bit, in
// either layout, at any place in memory, among any neighbours, and whatever else is asked for.
#include "tests/stats/basic_fixture.h"

namespace nvo::tests {
namespace {

template <class R> class BasicSequenceTest : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(BasicSequenceTest, Reals);

// Results of one variable, by order.
template <class R> struct Loop {
    R raw[5] = {}, central_sum[5] = {}, weight = 0, squares = 0;
};

template <class R> Loop<R> fast_loop(const Sample<R>& s, std::int64_t j) {
    Loop<R> r;
    for (std::int64_t i = 0; i < s.n; ++i) {
        if (s.w(i) == 0) continue;
        R term = s.w(i);
        for (int k = 1; k <= 4; ++k) r.raw[k] += term *= s.x(i, j);
        r.weight += s.w(i);
        r.squares += s.w(i) * s.w(i);
    }
    for (int k = 1; k <= 4; ++k) r.raw[k] /= r.weight;
    const R m = r.raw[1], r2 = r.raw[2], r3 = r.raw[3], r4 = r.raw[4];
    r.central_sum[2] = (r2 - m * m) * r.weight;
    r.central_sum[3] = (2 * (m * m * m) - 3 * m * r2 + r3) * r.weight;
    r.central_sum[4] = (r4 - 4 * r3 * m + 6 * r2 * (m * m) - 3 * (m * m * m * m)) * r.weight;
    return r;
}

// Orders 3 and 4 of the central sums are left out: their formula is free.
template <class R> Loop<R> one_pass_loop(const Sample<R>& s, std::int64_t j) {
    Loop<R> result;
    R w_sum = 0;
    std::int64_t i = 0;
    while (i < s.n && s.w(i) == 0) ++i;
    for (; i < s.n; ++i) {
        const R w = s.w(i), x = s.x(i, j), next = w_sum + w, r = 1 / next, a = w_sum * r, c = a * w,
                d = x - result.raw[1];
        result.central_sum[2] += d * d * c;
        R power = 1;
        for (int k = 1; k <= 4; ++k) {
            power *= x;
            result.raw[k] = result.raw[k] * a + power * w * r;
        }
        result.squares += w * w;
        w_sum = next;
    }
    result.weight = w_sum;
    return result;
}

template <class R> Loop<R> two_pass_loop(const Sample<R>& s, std::int64_t j, R mean) {
    Loop<R> r;
    r.raw[1] = mean;
    for (std::int64_t i = 0; i < s.n; ++i) {
        const R w = s.w(i), x = s.x(i, j), d = x - mean, d2 = d * d, x2 = x * x;
        r.central_sum[2] += w * d2;
        r.central_sum[3] += w * (d2 * d);
        r.central_sum[4] += w * (d2 * d * d);
        r.raw[2] += w * x2;
        r.raw[3] += w * (x2 * x);
        r.raw[4] += w * (x2 * x * x);
        r.weight += w;
        r.squares += w * w;
    }
    for (int k = 2; k <= 4; ++k) r.raw[k] /= r.weight;
    return r;
}

template <class R> Loop<R> loop_of(std::uint32_t method, const Sample<R>& s, std::int64_t j, R mean) {
    if (method == OST_STAT_METHOD_FAST) return fast_loop(s, j);
    return method == OST_STAT_METHOD_ONE_PASS ? one_pass_loop(s, j) : two_pass_loop(s, j, mean);
}

template <class R> void compare_with_loops(const Sample<R>& s, std::uint32_t method) {
    const std::vector<R> means = means_of(s);
    for (const bool rows : {true, false})
        for (const std::size_t shift : {0, 1, 3}) {
            BasicTask<R> task(s, {.rows = rows, .shift = shift});
            task.add_all().accumulate_weights().means(means);
            ASSERT_EQ(OST_STAT_OK, task.run(all_moments | all_sums, method));
            SCOPED_TRACE(testing::Message() << "p " << s.p << " n " << s.n << " method " << method
                                            << (rows ? " rows" : " columns") << " shift " << shift);
            for (std::int64_t j = 0; j < s.p; ++j) {
                const Loop<R> want = loop_of(method, s, j, means[static_cast<std::size_t>(j)]);
                const R w = want.weight;
                EXPECT_EQ(w, task.weights_so_far()[0]);
                EXPECT_EQ(want.squares, task.weights_so_far()[1]);
                for (int k = 1; k <= 4; ++k) {
                    EXPECT_EQ(want.raw[k], task.at(raw_codes[k], j)) << k << " " << j;
                    EXPECT_EQ(want.raw[k] * w, task.at(raw_sum_codes[k], j)) << k << " " << j;
                }
                for (int k = 2; k <= (method == OST_STAT_METHOD_ONE_PASS ? 2 : 4); ++k) {
                    const R sum = want.central_sum[k];
                    EXPECT_EQ(sum, task.at(central_sum_codes[k], j)) << k << " " << j;
                    EXPECT_EQ(k == 2 ? sum * w / (w * w - want.squares) : sum / w, task.at(central_codes[k], j));
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

// One-pass cross-products: C(a, b) += (c d_a) d_b with the means before the observation.
TYPED_TEST(BasicSequenceTest, OnePassCrossProductsAreThoseOfTheLoop) {
    using R = TypeParam;
    for (const Weighting weighting : weightings)
        for (const std::int64_t p : {1, 2, 4, 7, 9, 18, 33}) {
            const Sample<R> s = make_sample<R>(p, 290, weighting);
            std::vector<R> mean(static_cast<std::size_t>(p)), d = mean, want(static_cast<std::size_t>(p * p));
            R w_sum = 0;
            for (std::int64_t i = 0; i < s.n; ++i) {
                const R w = s.w(i);
                if (w_sum == 0 && w == 0) continue;
                const R r = 1 / (w_sum + w), a = w_sum * r, c = a * w;
                for (std::size_t j = 0; j < d.size(); ++j) d[j] = s.x(i, static_cast<std::int64_t>(j)) - mean[j];
                for (std::size_t j = 0; j < d.size(); ++j)
                    for (std::size_t b = j; b < d.size(); ++b) want[j * d.size() + b] += c * d[j] * d[b];
                for (std::size_t j = 0; j < d.size(); ++j)
                    mean[j] = mean[j] * a + s.x(i, static_cast<std::int64_t>(j)) * w * r;
                w_sum += w;
            }
            for (const bool rows : {true, false})
                for (const std::uint64_t others :
                     {std::uint64_t{0}, OST_STAT_EST_CSUM2, OST_STAT_EST_RAW2, OST_STAT_EST_RAW4}) {
                    BasicTask<R> task(s, {.rows = rows});
                    task.add_all();
                    ASSERT_EQ(OST_STAT_OK, task.run(OST_STAT_EST_CROSS_PRODUCT | others, OST_STAT_METHOD_ONE_PASS));
                    for (std::int64_t a = 0; a < p; ++a) {
                        EXPECT_EQ(mean[static_cast<std::size_t>(a)], task.at(OST_STAT_PARAM_MEAN, a));
                        for (std::int64_t b = a; b < p; ++b)
                            EXPECT_EQ(want[static_cast<std::size_t>(a * p + b)],
                                      task.at(OST_STAT_PARAM_CROSS_PRODUCT, a, b))
                                << p << " " << rows << " " << others << ": " << a << " " << b;
                    }
                }
        }
}

// An estimate alone, by the kernel that is just enough for it, beside all at once.
TYPED_TEST(BasicSequenceTest, EstimatesDontDependOnWhatElseIsAskedFor) {
    using R = TypeParam;
    struct Estimate {
        std::uint64_t bit;
        std::int32_t code;
    };
    std::vector<Estimate> estimates;
    for (int k = 1; k <= 4; ++k) {
        estimates.push_back({OST_STAT_EST_RAW1 << (k - 1), raw_codes[k]});
        estimates.push_back({OST_STAT_EST_SUM1 << (k - 1), raw_sum_codes[k]});
        if (k == 1) continue;
        estimates.push_back({OST_STAT_EST_CENTRAL2 << (k - 2), central_codes[k]});
        estimates.push_back({OST_STAT_EST_CSUM2 << (k - 2), central_sum_codes[k]});
    }
    for (int k = 0; k < 3; ++k) {
        estimates.push_back({OST_STAT_EST_KURTOSIS << k, ratio_codes[k]});
        estimates.push_back({k == 2 ? OST_STAT_EST_CROSS_PRODUCT : OST_STAT_EST_COV << k, matrix_codes[k]});
    }
    for (const std::uint32_t method : data_methods)
        for (const Weighting weighting : {Weighting::none, Weighting::positive})
            for (const bool rows : {true, false}) {
                const Sample<R> s = make_sample<R>(11, 150, weighting);
                BasicTask<R> all(s, {.rows = rows});
                all.add_all().means(means_of(s));
                ASSERT_EQ(OST_STAT_OK, all.run(all_basic, method));
                for (const Estimate& estimate : estimates) {
                    BasicTask<R> one(s, {.rows = rows});
                    one.add_all().means(means_of(s));
                    ASSERT_EQ(OST_STAT_OK, one.run(estimate.bit, method));
                    for (std::int64_t j = 0; j < s.p; ++j)
                        EXPECT_EQ(all.at(estimate.code, j), one.at(estimate.code, j))
                            << "method " << method << " code " << estimate.code << " rows " << rows;
                }
            }
}

// A variable that is left out isn't in the way of the others, whatever it holds.
TYPED_TEST(BasicSequenceTest, SelectedVariablesHaveTheSameBits) {
    using R = TypeParam;
    for (const std::uint32_t method : data_methods)
        for (const bool rows : {true, false}) {
            Sample<R> s = make_sample<R>(21, 60, Weighting::positive);
            BasicTask<R> all(s, {.rows = rows});
            all.add_all().means(means_of(s));
            std::vector<R> means = means_of(s);
            std::vector<std::int32_t> indices;
            for (std::int64_t j = 0; j < s.p; ++j) indices.push_back(j % 5 != 0 && j != 7);
            ASSERT_EQ(OST_STAT_OK, all.run(all_moments, method));
            for (std::int64_t i = 0; i < s.n; ++i)
                s.values[static_cast<std::size_t>(i * s.p + 5)] = std::numeric_limits<R>::quiet_NaN();
            BasicTask<R> some(s, {.rows = rows, .indices = indices});
            some.add_all().means(means);
            ASSERT_EQ(OST_STAT_OK, some.run(all_moments, method));
            for (std::int64_t j = 0; j < s.p; ++j)
                for (int k = 1; some.selects(j) && k <= 4; ++k) {
                    EXPECT_EQ(all.at(raw_codes[k], j), some.at(raw_codes[k], j));
                    const std::int32_t code = central_codes[std::max(k, 2)];
                    EXPECT_EQ(all.at(code, j), some.at(code, j));
                }
        }
}

} // namespace
} // namespace nvo::tests
