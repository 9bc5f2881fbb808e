// Moments and covariance on teams of threads.
#include "tests/stats/basic_accuracy.h"

namespace nvo::tests {
namespace {

template <class R> class BasicOfThreads : public testing::Test {};
TYPED_TEST_SUITE(BasicOfThreads, Reals);

// The merge is run: there is work for 8192 products or values a thread.
template <class R> void run_on_teams(const Sample<R>& s, std::uint32_t method, bool rows) {
    const Model<R> model(s, method);
    for (int threads = 1; threads <= 4; ++threads) {
        const Team team(threads);
        BasicTask<R> first(s, all_basic, {.rows = rows});
        first.accumulate_weights().means(means_of(s));
        ASSERT_EQ(OST_STAT_OK, first.run(all_basic, method, Team::descriptor()));
        SCOPED_TRACE(testing::Message() << "method " << method << (rows ? " rows" : " columns") << " threads "
                                        << threads << " p " << s.p);
        expect_all(first, model);
        EXPECT_NEAR(1, static_cast<double>(first.weights_so_far[0] / model.weight), 1e-4);
        for (int repetition = 0; repetition < 2; ++repetition) {
            BasicTask<R> again(s, all_basic, {.rows = rows});
            ASSERT_EQ(OST_STAT_OK, again.means(means_of(s)).run(all_basic, method, Team::descriptor()));
            EXPECT_EQ(first.results(), again.results());
        }
    }
}

// A first half without weight gives a piece that is left out, and before it one to which the others are added.
TYPED_TEST(BasicOfThreads, HaveTheSameResultsOnEveryRun) {
    using R = TypeParam;
    Sample<R> late = make_sample<R>(5, 2000, Weighting::positive);
    std::fill_n(late.weights.begin(), late.n / 2 + 1, R{0});
    for (const std::uint32_t method : data_methods)
        for (const bool rows : {true, false})
            for (const auto& s :
                 {make_sample<R>(5, 2000, Weighting::none), make_sample<R>(5, 2000, Weighting::with_zeros), late})
                run_on_teams(s, method, rows);
}

// More variables than observations in a block: cross-products are made at the end, or with weights all the same in each
// piece.
TYPED_TEST(BasicOfThreads, ManyVariablesShareOneProduct) {
    using R = TypeParam;
    for (const std::uint32_t method : {fast, two_pass})
        for (const bool rows : {true, false})
            for (const Weighting weighting : {Weighting::none, Weighting::positive})
                run_on_teams(make_sample<R>(70, 130, weighting), method, rows);
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
        BasicTask<double> task(make_sample<double>(c.p, c.n, Weighting::none), all_basic);
        Backwards::asked_for.clear();
        ASSERT_EQ(OST_STAT_OK, task.run(c.estimates, one_pass, &Backwards::descriptor));
        const std::vector<std::int64_t> want = c.threads == 0 ? std::vector<std::int64_t>{} : std::vector{c.threads};
        EXPECT_EQ(want, Backwards::asked_for) << c.p << " " << c.n;
    }
}

TEST(BasicTeamTest, ResultsDontDependOnWhoRunsABodyAndWhen) {
    const Sample<double> s = make_sample<double>(6, 7000, Weighting::positive);
    BasicTask<double> backwards(s, all_basic), in_parallel(s, all_basic);
    ASSERT_EQ(OST_STAT_OK, backwards.run(all_basic, fast, &Backwards::descriptor));
    const Team team(static_cast<int>(Backwards::asked_for.back()));
    ASSERT_EQ(OST_STAT_OK, in_parallel.run(all_basic, fast, Team::descriptor()));
    EXPECT_EQ(backwards.results(), in_parallel.results());
}

} // namespace
} // namespace nvo::tests
