// Minimum and maximum against the loop that defines them, to the sign of a zero.
#include "tests/stats/sorted_data.h"
#include "tests/support/guarded.h"

namespace nvo::tests {
namespace {

template <class R> class MinmaxTest : public testing::Test {};
TYPED_TEST_SUITE(MinmaxTest, Reals);

template <class R, class I>
void compare_with_the_loop(I p, I n, bool in_rows, const std::vector<I>& indices, const std::vector<R>& values) {
    const GuardedArray<R> x(values.size()), low(static_cast<std::size_t>(p)), high(static_cast<std::size_t>(p));
    std::copy(values.begin(), values.end(), x.data());
    std::vector<R> expected_low, expected_high;
    for (I j = 0; j < p; ++j) { // start values take part; here and there none can be replaced
        R a = j % 5 == 4 ? std::numeric_limits<R>::quiet_NaN() : j % 5 == 3 ? R{0} : std::numeric_limits<R>::infinity();
        R b = j % 5 == 4 ? R{1000} : -a;
        low[j] = a;
        high[j] = b;
        for (const R value : variable_of(values, j, p, n, in_rows)) {
            if (!indices.empty() && indices[j] == 0) break;
            if (a > value) a = value;
            if (value > b) b = value;
        }
        expected_low.push_back(a);
        expected_high.push_back(b);
    }
    StatsTask<R, I> task(p, n, in_rows ? rows : cols, x.data(), {}, indices);
    task.set(OST_STAT_PARAM_MINIMUM, low.data()).set(OST_STAT_PARAM_MAXIMUM, high.data());
    ASSERT_EQ(OST_STAT_OK, Stats<R>::minmax(task.get(), OST_STAT_EST_MIN | OST_STAT_EST_MAX, OST_STAT_METHOD_FAST));
    EXPECT_TRUE(same_bits(expected_low, std::vector<R>(low.data(), low.data() + p))) << p << " " << n << " " << in_rows;
    EXPECT_TRUE(same_bits(expected_high, std::vector<R>(high.data(), high.data() + p)))
        << p << " " << n << " " << in_rows;
}

// Zeros of both signs among numbers of one sign are an extreme, too.
TYPED_TEST(MinmaxTest, AreThoseOfTheLoop) {
    using R = TypeParam;
    const auto with_zeros = [](R other) {
        std::vector<R> x = make_data<R>(Kind::zeros, 70000);
        std::mt19937 random(2); // not the words that the signs come from
        for (R& value : x) value = random() % 4 == 0 ? value : other;
        return x;
    };
    for (const auto& all :
         {make_data<R>(Kind::random, 70000), make_data<R>(Kind::special, 70000), with_zeros(1), with_zeros(-1)})
        for (const bool rows : {true, false}) {
            const auto some = [&](std::int32_t count) { return std::vector<R>(all.begin(), all.begin() + count); };
            for (const std::int32_t p : {1, 2, 3, 5, 8, 21, 70})
                for (const std::int32_t n : {1, 2, 15, 16, 17, 100}) {
                    compare_with_the_loop<R, std::int32_t>(p, n, rows, {}, some(p * n));
                    std::vector<std::int64_t> indices;
                    for (std::int64_t j = 0; j < p; ++j) indices.push_back(j % 3);
                    compare_with_the_loop<R, std::int64_t>(p, n, rows, indices, some(p * n));
                }
            compare_with_the_loop<R, std::int32_t>(70, 1000, rows, {}, all); // several pieces
        }
}

TEST(Minmax, ChecksComeInOrder) {
    const double x[6] = {2, -1, 5, 3, 4, 1};
    std::vector<double> low = {10, 0}, high = {-10, -10};
    EmptyTask task;
    std::uint32_t method = OST_STAT_METHOD_TWO_PASS;
    std::uint64_t estimates = OST_STAT_EST_MIN | OST_STAT_EST_MAX;
    const auto call = [&] { return _ostdSSMinmax(task.get(), estimates, method); };
    task.expect_data(call, x, &no_storage);
    task.expect(call, {{OST_STAT_ERR_STORAGE, OST_STAT_PARAM_DATA_STORAGE, &rows},
                       {OST_STAT_ERR_MINIMUM, OST_STAT_PARAM_MINIMUM, low.data()},
                       {OST_STAT_ERR_MAXIMUM, OST_STAT_PARAM_MAXIMUM, high.data()}});
    EXPECT_EQ(OST_STAT_ERR_METHOD, call());
    EXPECT_EQ(OST_STAT_ERR_TASK, _ostdSSMinmax(nullptr, 0, 1));
    // One of the two alone leaves the other as it is.
    method = OST_STAT_METHOD_ONE_PASS;
    estimates = OST_STAT_EST_MIN;
    EXPECT_EQ(1, fail_each_allocation(call)); // the list of variables
    EXPECT_EQ((std::vector<double>{-1, 0}), low);
    EXPECT_EQ((std::vector<double>{-10, -10}), high);
    low = {10, 10};
    estimates = OST_STAT_EST_MAX;
    task.set(OST_STAT_PARAM_DATA_STORAGE, &cols); // other variables: 2, 5, 4 and -1, 3, 1
    EXPECT_EQ(OST_STAT_OK, call());
    EXPECT_EQ((std::vector<double>{5, 3}), high);
    EXPECT_EQ((std::vector<double>{10, 10}), low);
}

} // namespace
} // namespace nvo::tests
