// What moments and covariance need: arrays and their order, methods, data; and what a failed call leaves.
#include "tests/stats/basic_fixture.h"

namespace nvo::tests {
namespace {

constexpr std::uint32_t fast = OST_STAT_METHOD_FAST, one_pass = OST_STAT_METHOD_ONE_PASS,
                        two_pass = OST_STAT_METHOD_TWO_PASS, from_sums = OST_STAT_METHOD_FROM_SUMS;
constexpr std::uint64_t raw1 = OST_STAT_EST_RAW1, central2 = OST_STAT_EST_CENTRAL2, central3 = OST_STAT_EST_CENTRAL3,
                        central4 = OST_STAT_EST_CENTRAL4, kurtosis = OST_STAT_EST_KURTOSIS,
                        skewness = OST_STAT_EST_SKEWNESS, variation = OST_STAT_EST_VARIATION, cov = OST_STAT_EST_COV,
                        cor = OST_STAT_EST_COR, cross_product = OST_STAT_EST_CROSS_PRODUCT, sum1 = OST_STAT_EST_SUM1,
                        sum2 = OST_STAT_EST_SUM2, csum2 = OST_STAT_EST_CSUM2, csum3 = OST_STAT_EST_CSUM3,
                        csum4 = OST_STAT_EST_CSUM4;

struct Case {
    std::uint64_t estimates;
    std::uint32_t method;
    std::vector<std::int32_t> arrays; // codes
    std::int32_t status;
};

enum { // codes, by short names
    mean = OST_STAT_PARAM_MEAN,
    r2 = OST_STAT_PARAM_RAW_MOMENT_2,
    r3 = OST_STAT_PARAM_RAW_MOMENT_3,
    r4 = OST_STAT_PARAM_RAW_MOMENT_4,
    c2 = OST_STAT_PARAM_CENTRAL_MOMENT_2,
    c3 = OST_STAT_PARAM_CENTRAL_MOMENT_3,
    c4 = OST_STAT_PARAM_CENTRAL_MOMENT_4,
    s1 = OST_STAT_PARAM_SUM,
    s2 = OST_STAT_PARAM_RAW_SUM_2,
    cs2 = OST_STAT_PARAM_CENTRAL_SUM_2,
    cs3 = OST_STAT_PARAM_CENTRAL_SUM_3,
    cs4 = OST_STAT_PARAM_CENTRAL_SUM_4,
    kurt = OST_STAT_PARAM_KURTOSIS,
    skew = OST_STAT_PARAM_SKEWNESS,
    vari = OST_STAT_PARAM_VARIATION,
    covm = OST_STAT_PARAM_COV,
    corm = OST_STAT_PARAM_COR,
    cp = OST_STAT_PARAM_CROSS_PRODUCT
};

const Case cases[] = {
    // methods
    {raw1, 0, {mean}, -4029},
    {raw1, fast | one_pass, {mean}, -4029},
    {raw1, fast | two_pass, {}, -4029},
    {raw1, 0x20, {mean}, -4029},
    {raw1, fast | from_sums | 0x20, {mean}, 0},
    {0, fast, {}, 0},
    {0, two_pass, {}, -4006},
    {std::uint64_t{1} << 10 | std::uint64_t{1} << 40, one_pass, {}, 0}, // bits of others
    // what each needs beside its own array, in the order of the checks
    {raw1, one_pass, {}, -4006},
    {raw1 << 1, one_pass, {}, -4007},
    {raw1 << 1, one_pass, {r2}, 0},
    {raw1 << 2, fast, {}, -4008},
    {raw1 << 3, fast, {}, -4009},
    {central2, one_pass, {}, -4006},
    {central2, one_pass, {mean}, -4007},
    {central2, one_pass, {mean, r2}, -4010},
    {central2, two_pass, {mean, r2, c2}, 0},
    {central3, one_pass, {mean, r2}, -4008},
    {central3, one_pass, {mean, r2, r3}, -4011},
    {central3, fast, {mean, r2, r3, c3}, 0},
    {central4, fast, {mean, r2, r3}, -4009},
    {central4, fast, {mean, r2, r3, r4}, -4012},
    {central4, one_pass, {mean, r2, r3, r4, c4}, 0},
    {cov, one_pass, {covm}, -4006},
    {cov, fast, {mean}, -4018},
    {cor, two_pass, {mean}, -4019},
    {cor | cov, one_pass, {mean, corm}, -4018},
    {kurtosis, one_pass, {mean, r2, r3, c2, c4}, -4009},
    {kurtosis, fast, {mean, r2, r3, r4, c4}, -4010},
    {kurtosis, fast, {mean, r2, r3, r4, c2}, -4012},
    {kurtosis, fast, {mean, r2, r3, r4, c2, c4}, -4013},
    {kurtosis, one_pass, {mean, r2, r3, r4, c2, c4, kurt}, 0},
    {skewness, two_pass, {mean, r2, c2, c3}, -4008},
    {skewness, two_pass, {mean, r2, r3, c2}, -4011},
    {skewness, two_pass, {mean, r2, r3, c2, c3}, -4014},
    {skewness, two_pass, {mean, r2, r3, c2, c3, skew}, 0},
    {variation, fast, {mean, c2}, -4007},
    {variation, fast, {mean, r2, c2}, -4017},
    {variation, fast, {mean, r2, c2, vari}, 0},
    {sum1, fast, {}, -4074},
    {sum2, one_pass, {}, -4075},
    {sum2, two_pass, {s2}, -4006},
    {OST_STAT_EST_SUM3, one_pass, {}, -4076},
    {OST_STAT_EST_SUM4, one_pass, {}, -4077},
    {csum2, one_pass, {cs2}, -4006},
    {csum2, one_pass, {mean}, -4078},
    {csum2, one_pass, {mean, cs2}, 0},
    {csum2, fast, {mean, cs2}, -4007},
    {csum3, fast, {mean, r2, cs3}, -4008},
    {csum4, fast, {mean, r2, r3, cs4}, -4009},
    {csum3, one_pass, {mean}, -4079},
    {csum4, one_pass, {mean}, -4080},
    {csum4, one_pass, {mean, cs4}, 0},
    {cross_product, fast, {mean}, -4081},
    {cross_product | sum1 | variation, one_pass, {mean, r2, c2}, -4017},
    // from sums
    {raw1, from_sums, {mean}, -4074},
    {raw1, 0x400, {mean, s1}, 0},
    {raw1, from_sums, {s1}, -4006},
    {central2, from_sums, {c2}, -4078},
    {central3, from_sums, {c3}, -4079},
    {central4, from_sums, {c4}, -4080},
    {cov, from_sums, {covm}, -4081},
    {cor, from_sums, {corm, cp}, 0},
    {kurtosis, from_sums, {mean, c2, kurt}, -4012},
    {kurtosis, from_sums, {mean, c2, c4, kurt}, 0},
    {skewness, from_sums, {mean, c2, c3}, -4014},
    {variation, from_sums, {mean, vari}, -4010},
    {sum1, from_sums, {s1}, -4029},
    {csum2 | raw1, from_sums, {}, -4029},
    {cross_product, from_sums, {cp}, -4029},
};

TEST(BasicRequestTest, NeedsArraysInOrder) {
    const Sample<double> s = make_sample<double>(3, 20, Weighting::none);
    for (const Case& c : cases) {
        BasicTask<double> task(s, {});
        for (const std::int32_t code : c.arrays) task.add(code);
        EXPECT_EQ(c.status, task.run(c.estimates, c.method))
            << "estimates " << c.estimates << " method " << c.method << " case " << &c - cases;
        for (const std::int32_t code : c.arrays)
            for (std::int64_t j = 0; c.status != 0 && j < 3; ++j) EXPECT_EQ(-12345, task.at(code, j));
    }
}

TEST(BasicRequestTest, NeedsAStorageForEachMatrix) {
    for (const std::uint32_t method : {one_pass, from_sums}) {
        const Sample<double> s = make_sample<double>(2, 20, Weighting::none);
        BasicTask<double> task(s, {});
        double matrix[4];
        task.add(mean).add(cp).task().set(covm, matrix);
        EXPECT_EQ(-4044, task.run(cov, method));
    }
}

template <class I> void check_data() {
    I p = 2, n = 10, storage = OST_STAT_STORAGE_ROWS;
    double x[20] = {}, result[2] = {};
    OstSSTask* task = nullptr;
    ASSERT_EQ(0, __ostdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, sizeof(I) == 8));
    const auto run = [&](std::uint32_t method = fast) { return _ostdSSBasic(task, raw1, method, nullptr); };
    EXPECT_EQ(-4006, run()); // arrays come first
    __ostdSSEditTask(task, mean, result);
    EXPECT_EQ(-4002, run());
    n = 0;
    __ostiSSEditTask(task, OST_STAT_PARAM_OBSERVATIONS, &n);
    EXPECT_EQ(-4002, run());
    n = 10;
    EXPECT_EQ(-4032, run());
    __ostdSSEditTask(task, OST_STAT_PARAM_DATA, x);
    EXPECT_EQ(-4044, run());
    __ostiSSEditTask(task, OST_STAT_PARAM_DATA_STORAGE, &storage);
    storage = 0x40000;
    EXPECT_EQ(-4003, run());
    storage = OST_STAT_STORAGE_COLS;
    EXPECT_EQ(0, run());
    p = 0;
    EXPECT_EQ(-4001, run());
    p = 2;

    // From sums: weights that have been summed, or a count and no weights.
    double sum[2] = {20, 30}, weights[10] = {}, accumulated[2] = {4, 4};
    __ostdSSEditTask(task, OST_STAT_PARAM_SUM, sum);
    EXPECT_EQ(0, run(from_sums));
    EXPECT_EQ(2, result[0]);
    n = 0;
    EXPECT_EQ(-4020, run(from_sums));
    n = 10;
    __ostdSSEditTask(task, OST_STAT_PARAM_WEIGHTS, weights);
    EXPECT_EQ(-4020, run(from_sums));
    __ostdSSEditTask(task, OST_STAT_PARAM_ACCUMULATED_WEIGHTS, accumulated);
    EXPECT_EQ(0, run(from_sums));
    EXPECT_EQ(5, result[0]);
    EXPECT_EQ(4, accumulated[0]);
    __ostSSDeleteTask(&task);
    EXPECT_EQ(-4031, run());
}
TEST(BasicRequestTest, NeedsDataOrWeights) {
    check_data<std::int32_t>();
    check_data<std::int64_t>();
}

// Arrays that nobody asked for, and that nothing is made from, stay as they are.
TEST(BasicRequestTest, WritesWhatIsAskedForAndWhatItIsMadeFrom) {
    const Sample<double> s = make_sample<double>(2, 20, Weighting::none);
    BasicTask<double> task(s, {});
    task.add_all();
    ASSERT_EQ(0, task.run(central2, one_pass));
    for (const std::int32_t written : {mean, r2, c2}) EXPECT_NE(-12345, task.at(written, 1));
    for (const std::int32_t code : {r3, r4, c3, c4, s1, s2, cs3, kurt, skew, vari, covm, corm, cp})
        EXPECT_EQ(-12345, task.at(code, 1)) << code;
}

// ---- Memory ---------------------------------------------------------------------------------------------------------

template <class R>
void fail_each_allocation(const Sample<R>& s, std::uint32_t method, const std::vector<std::int32_t>& indices,
                          const OstThreading* threading) {
    long allocations = 0;
    for (;; ++allocations) {
        BasicTask<R> task(s, {.storage = OST_STAT_MATRIX_LPACKED, .indices = indices});
        task.add_all().accumulate_weights().means(means_of(s));
        const long blocks = nvo_core_testing_live_blocks();
        nvo_core_testing_fail_allocation(allocations + 1);
        const std::int32_t status = task.run(method == from_sums ? cov | cor | raw1 : all_basic, method, threading);
        if (nvo_core_testing_fail_allocation(0) > 0) {
            EXPECT_EQ(OST_STAT_OK, status);
            break;
        }
        EXPECT_EQ(OST_STAT_ERR_MEMORY, status) << allocations;
        EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
        // Only the means that the two-pass form keeps are allocated behind the results.
        const bool written = task.at(r2, 0) != Results<R>::mark;
        EXPECT_TRUE(!written || method == two_pass);
        EXPECT_EQ(written, task.weights_so_far()[0] != 0);
        // And the call may be made again.
        EXPECT_EQ(OST_STAT_OK, task.run(method == from_sums ? cov | cor | raw1 : all_basic, method, threading));
    }
    EXPECT_GE(allocations, method == from_sums ? 2 : 4);
}

TEST(BasicMemoryOfThreads, EveryAllocationMayFail) {
    const Team team(3);
    for (const std::uint32_t method : {fast, one_pass, two_pass, from_sums})
        for (const Weighting weighting : {Weighting::none, Weighting::positive}) {
            fail_each_allocation(make_sample<double>(6, 900, weighting), method, {}, Team::descriptor());
            fail_each_allocation(make_sample<float>(6, 900, weighting), method, {1, 0, 1, 1, 0, 0}, Team::descriptor());
        }
}

} // namespace
} // namespace nvo::tests
