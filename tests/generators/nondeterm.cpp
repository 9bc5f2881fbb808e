#include "tests/support/streams.h"

#include <cmath>

using namespace nvo::tests;

namespace {

using HardwareRecord = Record<24>;
struct State {
    std::uint32_t reserved, retries;
};

HardwareRecord hardware(const std::vector<std::uint32_t>& seed = {}) { return seeded<24>(OST_BRNG_NONDETERM, seed); }

TEST(Nondeterm, TakesTheRetriesFromTheSecondWord) {
    EXPECT_EQ(10U, hardware().as<State>().retries);
    EXPECT_EQ(10U, hardware({7}).as<State>().retries);
    EXPECT_EQ(10U, hardware({0, 0}).as<State>().retries);
    EXPECT_EQ(3U, hardware({0, 3, 5}).as<State>().retries);
    EXPECT_EQ(0U, hardware({9, 3}).as<State>().reserved);
}

// Each bit of the words at odd and at even places is 1 about half the time; 12 sigma.
TEST(Nondeterm, GivesAllBits) {
    HardwareRecord record = hardware();
    for (const int n : {4000, 4001}) {
        const auto words = draw_words(record.stream(), n);
        for (int bit = 0; bit < 64; ++bit) {
            int ones = 0;
            for (int i = bit / 32; i < 4000; i += 2) ones += static_cast<int>(words[i] >> (bit % 32) & 1);
            EXPECT_NEAR(1000, ones, 270) << bit;
        }
    }
}

TEST(Nondeterm, FillsTheLastOddNumber) {
    HardwareRecord record = hardware();
    std::uint32_t seen = 0;
    for (int i = 0; i < 100; ++i) seen |= draw_words(record.stream(), 3)[2];
    EXPECT_EQ(0xFFFFFFFF, seen);
}

template <class T> void expect_uniform(const std::vector<T>& numbers, T a, T b) {
    double sum = 0;
    for (const T x : numbers) {
        ASSERT_TRUE(x >= a && x <= b) << x;
        sum += (x - a) / (b - a);
    }
    EXPECT_NEAR(0.5, sum / static_cast<double>(numbers.size()),
                12 / std::sqrt(12.0 * static_cast<double>(numbers.size())));
}

TEST(Nondeterm, GivesNumbersOfTheInterval) {
    HardwareRecord record = hardware();
    for (const int n : {1999, 2000}) {
        expect_uniform(draw_floats(record.stream(), n, -3, 5), -3.0F, 5.0F);
        expect_uniform(draw_doubles(record.stream(), n, -3, 5), -3.0, 5.0);
    }
    // More than 32 bits go into a double.
    int low_bits = 0;
    for (const double x : draw_doubles(record.stream(), 100)) low_bits += x * 0x1p32 != std::floor(x * 0x1p32) ? 1 : 0;
    EXPECT_GT(low_bits, 90);
}

TEST(Nondeterm, GivesUpAfterTheRetries) {
    HardwareRecord record = hardware();
    std::memset(record.bytes, 0, record.length);
    const OstBrng row = properties(OST_BRNG_NONDETERM);
    for (const int n : {1, 2, 5}) {
        double d[5] = {7, 7, 7, 7, 7};
        float s[5] = {7, 7, 7, 7, 7};
        std::uint32_t i[5] = {7, 7, 7, 7, 7};
        EXPECT_EQ(OST_ERR_RDRAND_RETRIES, row.d_entry(record.stream(), n, d, 0, 1));
        EXPECT_EQ(OST_ERR_RDRAND_RETRIES, row.s_entry(record.stream(), n, s, 0, 1));
        EXPECT_EQ(OST_ERR_RDRAND_RETRIES, row.i_entry(record.stream(), n, i));
        for (int k = 0; k < 5; ++k) EXPECT_TRUE(d[k] == 7 && s[k] == 7 && i[k] == 7);
    }
    for (const int n : {0, -1, INT32_MIN}) EXPECT_EQ(OST_OK, row.i_entry(record.stream(), n, nullptr));
}

TEST(Nondeterm, CannotBeSplit) {
    HardwareRecord record = hardware();
    EXPECT_EQ(OST_ERR_NO_LEAPFROG, leapfrog(record.stream(), 0, 2));
    EXPECT_EQ(OST_ERR_NO_SKIP, skip(record.stream(), 1));
    const std::uint64_t one = 1;
    EXPECT_EQ(OST_ERR_NO_SKIP_EX, init(record.stream(), OST_METHOD_SKIP_LONG, 1, &one));
    for (const int method : {4, -1}) EXPECT_EQ(OST_ERR_METHOD, init(record.stream(), method, 1, nullptr));
}

} // namespace
