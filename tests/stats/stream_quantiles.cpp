// Streaming quantiles: the bound on the error of ranks for data in any order, results that don't depend on how the data
// are cut into calls, statuses, and what is left after a failure.
#include "tests/stats/sorted_data.h"

#include <cmath>
#include <cstdint>
#include <malloc.h>

namespace {

using namespace nvo::tests;

constexpr std::uint32_t and_report = OST_STAT_METHOD_STREAM, add_only = OST_STAT_METHOD_STREAM_ADD_ONLY;

// A task with its fields.
template <class R, class I = std::int32_t> struct Stream {
    R epsilon;
    std::vector<R> orders, quantiles;
    I order_count, one = 1;
    StatsTask<R, I> task;

    // Orders k/count.
    Stream(double epsilon, int count, I p = 1, I storage = rows, const std::vector<I>& indices = {})
        : epsilon(static_cast<R>(epsilon)), task(p, 1, storage, &this->epsilon, {}, indices) {
        set_orders(count, p);
        task.set(OST_STAT_PARAM_STREAM_PARAM_COUNT, &one).set(OST_STAT_PARAM_STREAM_PARAMS, &this->epsilon);
    }
    void set_orders(int count, I p = 1) {
        orders.clear();
        for (int k = 0; k <= count; ++k) orders.push_back(static_cast<R>(k) / static_cast<R>(count));
        quantiles.assign(static_cast<std::size_t>(p) * orders.size(), R(-99));
        order_count = static_cast<I>(orders.size());
        task.set(OST_STAT_PARAM_STREAM_ORDERS, orders.data()).set(OST_STAT_PARAM_STREAM_ORDER_COUNT, &order_count);
        task.set(OST_STAT_PARAM_STREAM_QUANTILES, quantiles.data());
    }
    std::int32_t call(const R* x, std::int64_t n, std::uint32_t method, const OstThreading* threading = nullptr) {
        task.data(static_cast<I>(n), x ? x : &epsilon);
        return Stats<R>::stream_quantiles(task.get(), 0, method, threading);
    }
    void add(const R* x, std::int64_t n) { EXPECT_EQ(OST_STAT_OK, call(x, n, add_only)); }
    const std::vector<R>& report() {
        EXPECT_EQ(OST_STAT_OK, call(nullptr, 0, and_report));
        return quantiles;
    }
};

template <class R> class StreamQuantiles : public testing::Test {};
TYPED_TEST_SUITE(StreamQuantiles, Reals);

// ---- The bound ------------------------------------------------------------------------------------------------------

// Of the ranks that a value has in the sorted data, one is off o N, rounded up or down, by e N at most. The ends are
// exact.
template <class R> void expect_bound(Stream<R>& stream, const std::vector<R>& sorted) {
    const auto& q = stream.report();
    const auto n = static_cast<double>(sorted.size());
    for (std::size_t k = 0; k < q.size(); ++k) {
        const auto [first, last] =
            std::equal_range(sorted.begin(), sorted.end(), q[k], [](R a, R b) { return std::strong_order(a, b) < 0; });
        ASSERT_NE(first, last) << "no value of the data";
        const double target = std::max(static_cast<double>(stream.orders[k]) * n, 1.0);
        const auto least = static_cast<double>(first - sorted.begin() + 1);
        const auto greatest = static_cast<double>(last - sorted.begin());
        const double error = std::max({0.0, least - std::ceil(target), std::floor(target) - greatest});
        ASSERT_LE(error, stream.epsilon * n * (1 + 1e-7))
            << "e = " << stream.epsilon << ", N = " << n << ", order " << stream.orders[k];
    }
    ASSERT_TRUE(same_bits(sorted.front(), q.front()));
    ASSERT_TRUE(same_bits(sorted.back(), q.back()));
}

// All N, reported after each observation. The first stages have the least room below the bound.
TYPED_TEST(StreamQuantiles, BoundHoldsFromTheFirstObservationOn) {
    for (const double epsilon : {1.0, 0.9, 0.75, 0.6, 0.5, 0.4, 0.3, 0.2, 0.15, 0.1, 0.07, 0.03})
        for (const Kind kind : all_kinds) {
            const std::vector<TypeParam> x = make_data<TypeParam>(kind, 260);
            Stream<TypeParam> stream(epsilon, 1);
            for (std::size_t n = 1; n <= x.size() && !this->HasFailure(); ++n) {
                stream.add(&x[n - 1], 1);
                stream.set_orders(static_cast<int>(n));
                expect_bound(stream, in_total_order(std::vector(x.begin(), x.begin() + static_cast<long>(n))));
            }
        }
}

// In portions of 1, 4, 13, ... observations.
TYPED_TEST(StreamQuantiles, BoundHoldsForLongData) {
    for (const double epsilon : {0.3, 0.05, 0.01, 2e-3, 1e-3, 1e-4})
        for (const Kind kind : all_kinds) {
            const bool longest = epsilon == 2e-3 && kind == Kind::random;
            const std::vector<TypeParam> x = make_data<TypeParam>(kind, longest          ? 10'000'000
                                                                        : epsilon > 0.01 ? 100'000
                                                                                         : 300'000);
            Stream<TypeParam> stream(epsilon, 333);
            for (std::size_t done = 0, portion = 1; done < x.size(); done += portion, portion = portion * 3 + 1) {
                portion = std::min(portion, x.size() - done);
                stream.add(&x[done], static_cast<std::int64_t>(portion));
            }
            expect_bound(stream, in_total_order(x));
            if (this->HasFailure()) return;
        }
}

// Stages keep the sizes that they were made with.
TYPED_TEST(StreamQuantiles, BoundHoldsWhenEpsilonChanges) {
    const std::vector<TypeParam> x = make_data<TypeParam>(Kind::random, 200'000);
    Stream<TypeParam> stream(0.1, 50);
    for (int i = 0; i < 4; ++i) {
        stream.epsilon = static_cast<TypeParam>(i % 2 ? 0.2 : 0.01 / (i + 1));
        stream.add(&x[50'000 * i], 50'000);
    }
    expect_bound(stream, in_total_order(x));
}

// Up to the first full block every rank is known: the largest one up to o N.
TYPED_TEST(StreamQuantiles, AreExactAtFirst) {
    const std::vector<TypeParam> x = make_data<TypeParam>(Kind::random, 500), sorted = in_total_order(x);
    Stream<TypeParam> stream(1e-3, 64);
    stream.add(x.data(), 500);
    std::vector<TypeParam> expected;
    for (const TypeParam o : stream.orders)
        expected.push_back(sorted[static_cast<std::size_t>(std::max(std::floor(500.0 * o), 1.0)) - 1]);
    EXPECT_EQ(expected, stream.report());
}

// ---- Splits, layouts, selections ------------------------------------------------------------------------------------

constexpr int variables = 5, observations = 20'000;

// Quantiles of variables of several kinds: added as a whole, or in random portions below `bound`, empty ones as well,
// and seen now and then.
template <class R, class I = std::int32_t>
std::vector<R> quantiles_of(I storage = rows, unsigned bound = 0, const OstThreading* threading = nullptr,
                            const std::vector<I>& indices = {}) {
    Stream<R, I> stream(0.01, 20, variables, storage, indices);
    std::mt19937 random(bound);
    std::vector<R> x[variables], portion;
    for (int j = 0; j < variables; ++j) x[j] = make_data<R>(all_kinds[j], observations);
    for (int done = 0, n = 0; done < observations; done += n) {
        n = bound == 0 ? observations : std::min(static_cast<int>(random() % bound), observations - done);
        portion.resize(static_cast<std::size_t>(n * variables));
        for (int j = 0; j < variables; ++j)
            for (int i = 0; i < n; ++i) portion[storage == rows ? j * n + i : i * variables + j] = x[j][done + i];
        EXPECT_EQ(OST_STAT_OK, stream.call(portion.data(), n, random() % 100 == 0 ? and_report : add_only, threading));
    }
    return stream.report();
}

TYPED_TEST(StreamQuantiles, DoNotDependOnPortionsLayoutAndWidth) {
    using R = TypeParam;
    const std::vector<R> whole = quantiles_of<R>();
    for (const unsigned bound : {3, 700, 9000})
        for (const auto storage : {rows, cols}) {
            EXPECT_TRUE(same_bits(whole, quantiles_of<R, std::int32_t>(storage, bound))) << bound;
            EXPECT_TRUE(same_bits(whole, quantiles_of<R, std::int64_t>(storage, bound))) << bound;
        }
}

TYPED_TEST(StreamQuantiles, OfSelectedVariablesComeOneBehindTheOther) {
    const std::vector<TypeParam> whole = quantiles_of<TypeParam>();
    std::vector<TypeParam> expected;
    for (const int j : {1, 3, 4}) expected.insert(expected.end(), &whole[21 * j], &whole[21 * j] + 21);
    expected.resize(whole.size(), -99); // rows that nobody writes
    EXPECT_TRUE(same_bits(expected, quantiles_of<TypeParam, std::int64_t>(cols, 999, nullptr, {0, 7, 0, -1, 1})));
}

TEST(StreamQuantilesOfThreads, AreTheSame) {
    const std::vector<double> whole = quantiles_of<double>();
    for (const int size : {1, 2, 3, 8}) {
        const Team team(size);
        for (const unsigned bound : {300, 5000, observations})
            for (const auto storage : {rows, cols})
                EXPECT_TRUE(same_bits(whole, quantiles_of<double>(storage, bound, Team::descriptor())));
    }
}

// ---- Statuses -------------------------------------------------------------------------------------------------------

TEST(StreamQuantilesStatuses, ComeInOrder) {
    const double nan = std::nan(""), zero = 0, two_and_a_half = 2.5, epsilon = 0.25;
    const double x[] = {1, 2, 3, 4, 5, 6}, orders[] = {0.5, 1}, high[] = {0.5, 1.5}, low[] = {-0.5, 1},
                 odd[] = {0, nan};
    const std::int32_t one = 1, two = 2, three = 3, minus = -1, none[] = {0, 0}, second[] = {0, 1}, both[] = {1, 1};
    std::vector<double> quantiles(4, -99);
    const long blocks = nvo_core_testing_live_blocks() + 1;
    EmptyTask task;
    task.set(OST_STAT_PARAM_INDICES, none);
    std::uint32_t method = 1;
    const auto call = [&] { return _ostdSSStreamQuantiles(task.get(), 0, method, nullptr); };

    task.expect(call, {{OST_STAT_ERR_DIMENSION, OST_STAT_PARAM_DIMENSION, &two},
                       {OST_STAT_ERR_OBSERVATIONS, OST_STAT_PARAM_OBSERVATIONS, &minus},
                       {OST_STAT_ERR_OBSERVATIONS, OST_STAT_PARAM_OBSERVATIONS, &three},
                       {OST_STAT_ERR_DATA, OST_STAT_PARAM_DATA, x},
                       {OST_STAT_ERR_MATRIX_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &no_storage},
                       {OST_STAT_ERR_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &rows},
                       {OST_STAT_ERR_STREAM_QUANTILES, OST_STAT_PARAM_STREAM_QUANTILES, quantiles.data()},
                       {OST_STAT_ERR_STREAM_ORDERS, OST_STAT_PARAM_STREAM_ORDERS, high},
                       {OST_STAT_ERR_STREAM_ORDER_COUNT, OST_STAT_PARAM_STREAM_ORDER_COUNT, &minus},
                       {OST_STAT_ERR_STREAM_ORDER_COUNT, OST_STAT_PARAM_STREAM_ORDER_COUNT, &two},
                       {OST_STAT_ERR_STREAM_PARAMS, OST_STAT_PARAM_STREAM_PARAM_COUNT, &two},
                       {OST_STAT_ERR_STREAM_PARAM_COUNT, OST_STAT_PARAM_STREAM_PARAM_COUNT, &one},
                       {OST_STAT_ERR_STREAM_ORDER_COUNT, OST_STAT_PARAM_STREAM_ORDERS, low},
                       {OST_STAT_ERR_STREAM_ORDER_COUNT, OST_STAT_PARAM_STREAM_ORDERS, odd},
                       {OST_STAT_ERR_STREAM_ORDER_COUNT, OST_STAT_PARAM_STREAM_ORDERS, orders},
                       {OST_STAT_ERR_STREAM_EPSILON, OST_STAT_PARAM_STREAM_PARAMS, &zero}});
    EXPECT_EQ(OST_STAT_ERR_METHOD, call());
    method = and_report;
    task.expect(call, {{OST_STAT_ERR_STREAM_EPSILON_RANGE, OST_STAT_PARAM_STREAM_PARAMS, &two_and_a_half},
                       {OST_STAT_ERR_STREAM_EPSILON_RANGE, OST_STAT_PARAM_STREAM_PARAMS, &nan},
                       {OST_STAT_ERR_STREAM_EPSILON_RANGE, OST_STAT_PARAM_STREAM_PARAMS, &epsilon},
                       {OST_STAT_ERR_INDICES, OST_STAT_PARAM_INDICES, second}});
    EXPECT_EQ(std::vector<double>(4, -99), quantiles);
    EXPECT_EQ(blocks, nvo_core_testing_live_blocks());

    // The second variable takes part from now on, and no other.
    task.expect(call, {{OST_STAT_OK, OST_STAT_PARAM_INDICES, both},
                       {OST_STAT_ERR_INDICES, OST_STAT_PARAM_DIMENSION, &one},
                       {OST_STAT_ERR_DIMENSION, OST_STAT_PARAM_DIMENSION, &two}});
    EXPECT_EQ((std::vector<double>{4, 6, -99, -99}), quantiles);
    EXPECT_EQ(OST_STAT_ERR_TASK, _ostdSSStreamQuantiles(nullptr, 0, method, nullptr));
}

TYPED_TEST(StreamQuantiles, OfNothingAreNotWritten) {
    Stream<TypeParam> stream(0.1, 1);
    const std::vector<TypeParam> nothing(2, -99), three(2, 3);
    EXPECT_EQ(nothing, stream.report());
    stream.add(three.data(), 1);
    EXPECT_EQ(three, stream.report());
    EXPECT_EQ(OST_STAT_OK, __ostSQuantilesFreeBuffers(stream.task.get())); // starts over
    stream.quantiles = nothing;
    EXPECT_EQ(nothing, stream.report());
    EXPECT_EQ(OST_STAT_ERR_TASK, __ostSQuantilesFreeBuffers(nullptr));
}

// ---- Memory ---------------------------------------------------------------------------------------------------------

TYPED_TEST(StreamQuantiles, ImpossibleSizesAreOutOfMemory) {
    using R = TypeParam;
    const std::vector<R> x(100, R(1));
    Stream<R> stream(0.5, 1);
    for (const double epsilon : {1e-18, 1e-30, 1e-38, 1e-44, 1e-300, 5e-324}) {
        stream.epsilon = std::max(static_cast<R>(epsilon), std::numeric_limits<R>::denorm_min());
        EXPECT_EQ(OST_STAT_ERR_MEMORY, stream.call(x.data(), 100, and_report)) << epsilon;
    }
    stream.epsilon = R(0.5);
    EXPECT_EQ(OST_STAT_OK, stream.call(x.data(), 100, and_report));

    const std::int64_t p = std::int64_t{1} << 62;
    Stream<R, std::int64_t> wide(0.5, 1);
    wide.task.set(OST_STAT_PARAM_DIMENSION, &p);
    EXPECT_EQ(OST_STAT_ERR_MEMORY, wide.call(x.data(), 1, add_only));
}

// Every allocation of a call fails in turn, the first call of a task or a later one. Such a call takes in nothing: what
// was there can be reported, and the same call again ends as if nothing had been.
template <class R> void fail_every_allocation(const OstThreading* threading) {
    constexpr int p = 3;
    const std::vector<R> x = make_data<R>(Kind::random, std::size_t{p} * observations);
    const long blocks = nvo_core_testing_live_blocks();
    for (const int begun : {0, 900}) { // the rest goes through several stages
        long failures = 0;
        for (bool failed = true; failed; failures += failed) {
            {
                Stream<R> whole(0.05, 10, p, cols), stream(0.05, 10, p, cols);
                const auto call = [&](Stream<R>& s, const OstThreading* team) {
                    return s.call(x.data() + p * begun, observations - begun, and_report, team);
                };
                whole.add(x.data(), begun);
                if (begun > 0) stream.add(x.data(), begun);
                const std::vector<R> before = whole.report();
                EXPECT_EQ(OST_STAT_OK, call(whole, nullptr));

                nvo_core_testing_fail_allocation(failures + 1);
                const std::int32_t status = call(stream, threading);
                failed = nvo_core_testing_fail_allocation(0) == 0;
                EXPECT_EQ(failed ? OST_STAT_ERR_MEMORY : OST_STAT_OK, status);
                if (failed) {
                    EXPECT_EQ(std::vector<R>(before.size(), -99), stream.quantiles);
                    EXPECT_TRUE(same_bits(before, stream.report()));
                    EXPECT_EQ(OST_STAT_OK, call(stream, threading));
                }
                EXPECT_TRUE(same_bits(whole.quantiles, stream.quantiles));
            }
            ASSERT_EQ(blocks, nvo_core_testing_live_blocks());
        }
        EXPECT_GT(failures, 3 * 4 * 2); // an array and a block for each stage of each variable
    }
}
TYPED_TEST(StreamQuantiles, FailedCallsTakeInNothing) { fail_every_allocation<TypeParam>(nullptr); }
TEST(StreamQuantilesOfThreads, FailedCallsTakeInNothing) {
    const Team team(3);
    fail_every_allocation<float>(Team::descriptor());
}

// Three words an element, a row of b elements a stage and L rows of half as many; one block a stage, one for their
// array, one for the task's state. Nothing else stays behind a call. (Allocators of sanitizers show no bytes.)
TEST(StreamQuantilesMemory, GrowsWithTheLogarithmOfTheData) {
    const auto bytes_in_use = [] { return static_cast<double>(mallinfo2().uordblks + mallinfo2().hblkhd); };
    constexpr double epsilon = 1e-3;
    const std::vector<double> x = make_data<double>(Kind::random, 100'000);
    Stream<double> stream(epsilon, 1);
    const double bytes = bytes_in_use();
    const long blocks = nvo_core_testing_live_blocks();
    double expected = 0;
    for (int s = 0; s < 9; ++s) {
        const double lg = s + 1;
        const int n = 2000 << s; // of this stage
        expected += 3 * 8 * (lg / epsilon) * (1 + (lg + 2) / 2);
        for (int done = 0; done < n; done += 100'000) stream.add(x.data(), std::min(n - done, 100'000));
        stream.report();
        EXPECT_EQ(blocks + 2 + (s + 1), nvo_core_testing_live_blocks());
        EXPECT_LT(bytes_in_use() - bytes, 1.03 * expected + 1000 * (s + 1));
    }
}

} // namespace
