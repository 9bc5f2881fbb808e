// Moments and covariance on teams of threads.
#include "tests/stats/basic_accuracy.h"

namespace nvo::tests {
namespace {

template <class R> class BasicOfThreads : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(BasicOfThreads, Reals);

// All arrays of a run, one behind the other.
template <class R> std::vector<R> everything(const BasicTask<R>& task, std::int64_t p) {
    std::vector<R> all;
    const auto take = [&](std::int32_t code, std::int64_t count) {
        for (std::int64_t i = 0; i < count; ++i) all.push_back(task.at(code, i));
    };
    for (int k = 1; k <= 4; ++k) {
        take(raw_codes[k], p);
        take(raw_sum_codes[k], p);
    }
    for (int k = 2; k <= 4; ++k) {
        take(central_codes[k], p);
        take(central_sum_codes[k], p);
    }
    for (const std::int32_t code : ratio_codes) take(code, p);
    for (const std::int32_t code : matrix_codes) take(code, p * p);
    return all;
}

// The merge is run: there is work for 8192 products or values a thread. A first half without weight gives a piece that
// is left out, and before it one to which the others are added.
template <class R> void run_on_teams(Sample<R> s, std::uint32_t method, bool rows, bool first_half_without_weight) {
    if (first_half_without_weight) std::fill_n(s.weights.begin(), s.n / 2 + 1, R{0});
    const Exact<R> exact = exact_results(s, method);
    const std::vector<R> means = means_of(s);
    for (int threads = 1; threads <= 4; ++threads) {
        const Team team(threads);
        std::vector<R> first_results;
        for (int repetition = 0; repetition < 3; ++repetition) {
            BasicTask<R> task(s, {.rows = rows});
            task.add_all().accumulate_weights().means(means);
            ASSERT_EQ(OST_STAT_OK, task.run(all_basic, method, Team::descriptor()));
            const std::vector<R> results = everything(task, s.p);
            if (repetition == 0) {
                first_results = results;
                SCOPED_TRACE(testing::Message() << "method " << method << (rows ? " rows" : " columns") << " threads "
                                                << threads << " p " << s.p);
                expect_all(task, exact, s, method);
                EXPECT_NEAR(static_cast<double>(exact.weight), task.weights_so_far()[0],
                            1e-4 * static_cast<double>(exact.weight));
            } else {
                EXPECT_EQ(0, std::memcmp(first_results.data(), results.data(), sizeof(R) * results.size()));
            }
        }
    }
}

TYPED_TEST(BasicOfThreads, HaveTheSameResultsOnEveryRun) {
    using R = TypeParam;
    for (const std::uint32_t method : data_methods)
        for (const bool rows : {true, false}) {
            run_on_teams(make_sample<R>(5, 2000, Weighting::none), method, rows, false);
            run_on_teams(make_sample<R>(5, 2000, Weighting::with_zeros), method, rows, false);
            run_on_teams(make_sample<R>(5, 2000, Weighting::positive), method, rows, true);
        }
}

// More variables than observations in a block: cross-products are made at the end, or with weights all the same in each
// piece.
TYPED_TEST(BasicOfThreads, ManyVariablesShareOneProduct) {
    using R = TypeParam;
    for (const std::uint32_t method : {OST_STAT_METHOD_FAST, OST_STAT_METHOD_TWO_PASS})
        for (const bool rows : {true, false}) {
            run_on_teams(make_sample<R>(70, 130, Weighting::none), method, rows, false);
            run_on_teams(make_sample<R>(70, 130, Weighting::positive), method, rows, false);
        }
}

// One whose bodies run one after the other, in any order.
struct Backwards {
    static inline std::vector<std::int64_t> asked_for;
    static void run_team(std::int64_t threads, void* context, OstTeamBody* body) {
        asked_for.push_back(threads);
        for (std::int64_t thread = threads - 1; thread >= 0; --thread) body(thread, 0, threads, context);
    }
    static void run_for(std::int64_t, std::int64_t, void*, OstTeamBody*) {}
    static void run_ordered(std::int64_t, std::int64_t, std::int64_t, void*, OstTeamBody*) {}
    static std::int32_t max_threads() { return 100; }
    static constexpr OstThreading descriptor = {run_for, run_for, run_team, run_ordered, max_threads};
};

// min(100, n >> 4, work >> 13), work being n p, or n p p with a matrix.
TEST(BasicTeamTest, HasAsManyThreadsAsThereIsWorkFor) {
    struct Case {
        std::int64_t p, n, threads; // 0: without a call of the descriptor
        std::uint64_t estimates;
    };
    for (const Case& c :
         {Case{4, 4095, 0, all_moments}, Case{4, 4096, 2, all_moments}, Case{1, 100000, 12, all_moments},
          Case{64, 47, 2, all_matrices}, Case{64, 31, 0, all_matrices}, Case{4, 4095, 7, all_matrices}}) {
        BasicTask<double> task(make_sample<double>(c.p, c.n, Weighting::none), {});
        task.add_all();
        Backwards::asked_for.clear();
        ASSERT_EQ(OST_STAT_OK, task.run(c.estimates, OST_STAT_METHOD_ONE_PASS, &Backwards::descriptor));
        const std::vector<std::int64_t> want = c.threads == 0 ? std::vector<std::int64_t>{} : std::vector{c.threads};
        EXPECT_EQ(want, Backwards::asked_for) << c.p << " " << c.n;
    }
}

TEST(BasicTeamTest, ResultsDontDependOnWhoRunsABodyAndWhen) {
    const Sample<double> s = make_sample<double>(6, 7000, Weighting::positive);
    BasicTask<double> backwards(s, {}), team_of_five(s, {});
    backwards.add_all();
    team_of_five.add_all();
    ASSERT_EQ(OST_STAT_OK, backwards.run(all_basic, OST_STAT_METHOD_FAST, &Backwards::descriptor));
    const Team team(static_cast<int>(Backwards::asked_for.back()));
    ASSERT_EQ(OST_STAT_OK, team_of_five.run(all_basic, OST_STAT_METHOD_FAST, Team::descriptor()));
    EXPECT_EQ(everything(backwards, 6), everything(team_of_five, 6));
}

} // namespace
} // namespace nvo::tests
