// Uniform numbers, integers and bits.

#include "nvo_ark/distributions.h"
#include "nvo_ark/generators.h"
#include "tests/support/toy_generator.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace {

using namespace nvo::tests;

struct Stream {
    OstStream* stream = nullptr;
    explicit Stream(std::uint32_t id, std::uint32_t seed = 1) {
        EXPECT_EQ(OST_OK, __ostNewStreamEx(&stream, id, 1, &seed));
    }
    ~Stream() { __ostDeleteStream(&stream); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    operator OstStream*() const { return stream; }
};

// A ring of given numbers of [0, 1), each refill the next ones; how many were asked for at least is kept.
struct Source {
    std::vector<double> numbers;
    std::vector<std::int32_t> least;
    std::size_t next = 0;
} source;
std::int32_t refill(OstStream*, std::int32_t* size, void* buffer, std::int32_t* min, std::int32_t* max,
                    std::int32_t* index) {
    source.least.push_back(*min);
    std::int32_t count = 0;
    for (; count < *max && source.next < source.numbers.size(); ++count) {
        static_cast<double*>(buffer)[(*index + count) % *size] = source.numbers[source.next++];
    }
    return count;
}
struct GivenNumbers {
    double ring[4096];
    OstStream* stream = nullptr;
    explicit GivenNumbers(std::vector<double> numbers) {
        source = {std::move(numbers), {}, 0};
        EXPECT_EQ(OST_OK, __ostdNewAbstractStream(&stream, 4096, ring, refill, 0, 1));
    }
    ~GivenNumbers() { __ostDeleteStream(&stream); }
    GivenNumbers(const GivenNumbers&) = delete;
    GivenNumbers& operator=(const GivenNumbers&) = delete;
};

TEST(Uniform, AccurateStaysInItsBounds) {
    const auto draws = [](auto draw, std::uint32_t method) {
        const Stream toy(toy_id(), 0); // counts, whatever the bounds
        return draw(method, toy);
    };
    const auto floats = [](std::uint32_t method, OstStream* stream) {
        std::vector<float> r(8);
        EXPECT_EQ(OST_OK, _ostsRngUniform(method, stream, 8, r.data(), 2, 5));
        return r;
    };
    const auto doubles = [](std::uint32_t method, OstStream* stream) {
        std::vector<double> r(8);
        EXPECT_EQ(OST_OK, _ostdRngUniform(method, stream, 8, r.data(), 2, 5));
        return r;
    };
    EXPECT_EQ((std::vector<float>{0, 1, 2, 3, 4, 5, 6, 7}), draws(floats, 0));
    EXPECT_EQ((std::vector<float>{2, 2, 2, 3, 4, 5, 5, 5}), draws(floats, OST_METHOD_ACCURATE));
    EXPECT_EQ((std::vector<double>{0, 1, 2, 3, 4, 5, 6, 7}), draws(doubles, 0));
    EXPECT_EQ((std::vector<double>{2, 2, 2, 3, 4, 5, 5, 5}), draws(doubles, OST_METHOD_ACCURATE));

    GivenNumbers given({std::numeric_limits<double>::quiet_NaN(), 0.5});
    double r[2];
    ASSERT_EQ(OST_OK, _ostdRngUniform(OST_METHOD_ACCURATE, given.stream, 2, r, 0, 1));
    EXPECT_TRUE(std::isnan(r[0]));
    EXPECT_EQ(0.5, r[1]);
}

TEST(Uniform, IntegersAreFloorsInBlocks) {
    GivenNumbers given({0, 0.124, 0.125, 0.25, 0.375, 0.4, 0.5, 0.625, 0.999, 1 - 0x1p-53});
    std::vector<std::int32_t> r(10);
    ASSERT_EQ(OST_OK, _ostiRngUniform(0, given.stream, 10, r.data(), -4, 4));
    EXPECT_EQ((std::vector<std::int32_t>{-4, -4, -3, -2, -1, -1, 0, 1, 3, 3}), r);

    source = {std::vector<double>(1025, 0.5), {}, 0};
    r.resize(1025);
    ASSERT_EQ(OST_OK, _ostiRngUniform(0, given.stream, 1025, r.data(), 0, 10));
    EXPECT_EQ(1024, source.least.front());
    EXPECT_EQ(std::vector<std::int32_t>(1025, 5), r);
    EXPECT_EQ(OST_ERR_ABSTRACT_EMPTY, _ostiRngUniform(0, given.stream, 1, r.data(), 0, 10));
    EXPECT_EQ(OST_OK, _ostiRngUniform(0, given.stream, 0, r.data(), 0, 10)); // nothing is drawn

    const Stream stream(OST_BRNG_MT19937);
    r.resize(100000);
    constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min(),
                           most = std::numeric_limits<std::int32_t>::max();
    ASSERT_EQ(OST_OK, _ostiRngUniform(0, stream, 100000, r.data(), least, most));
    double sum = 0;
    for (const std::int32_t x : r) sum += x;
    EXPECT_NEAR(0, sum / 100000 / most, 5 * std::sqrt(1 / 3.0 / 100000));
}

TEST(UniformBits, AreGivenByGeneratorsThatHaveThem) {
    constexpr std::uint32_t with[] = {OST_BRNG_MCG59,     OST_BRNG_MT19937, OST_BRNG_MT2203 + 77,
                                      OST_BRNG_SFMT19937, OST_BRNG_ARS5,    OST_BRNG_PHILOX4X32X10};
    constexpr int n = 5000; // more than MCG59's blocks
    for (const std::uint32_t id : with) {
        SCOPED_TRACE(id);
        const Stream words(id), of_32(id), of_64(id);
        std::vector<std::uint32_t> expected(2 * n), a(2 * n);
        std::vector<std::uint64_t> wide(2 * n), b(n);
        if (id == OST_BRNG_MCG59) {
            ASSERT_EQ(OST_OK, _ostiRngUniformBits(0, words, 2 * n, wide.data()));
            for (int i = 0; i < 2 * n; ++i) expected[i] = static_cast<std::uint32_t>(wide[i] >> 27);
        } else {
            ASSERT_EQ(OST_OK, _ostiRngUniformBits(0, words, 2 * n, expected.data()));
        }
        ASSERT_EQ(OST_OK, _ostiRngUniformBits32(0, of_32, 2 * n, a.data()));
        ASSERT_EQ(OST_OK, _ostiRngUniformBits64(0, of_64, n, b.data()));
        EXPECT_EQ(expected, a);
        for (int i = 0; i < n; ++i) ASSERT_EQ(expected[2 * i] | std::uint64_t{expected[2 * i + 1]} << 32, b[i]) << i;
        EXPECT_EQ(OST_OK, _ostiRngUniformBits32(0, of_32, 0, a.data()));
        EXPECT_EQ(OST_OK, _ostiRngUniformBits64(0, of_64, -3, b.data()));
    }
}

TEST(UniformBits, AreRefusedByTheOthers) {
    // Registered generators and the older ids of the quasi-random ones have no row in the tables.
    const std::uint32_t without[] = {OST_BRNG_MCG31M1,
                                     OST_BRNG_R250,
                                     OST_BRNG_MRG32K3A,
                                     OST_BRNG_WH,
                                     OST_BRNG_SOBOL,
                                     OST_BRNG_NIEDERREITER,
                                     277,
                                     278,
                                     4,
                                     276,
                                     toy_id()};
    for (const std::uint32_t id : without) {
        const Stream stream(id);
        std::uint64_t r[8] = {};
        EXPECT_EQ(OST_ERR_NO_BITS, _ostiRngUniformBits32(0, stream, 2, reinterpret_cast<std::uint32_t*>(r))) << id;
        EXPECT_EQ(OST_ERR_NO_BITS, _ostiRngUniformBits64(0, stream, 2, r)) << id;
        EXPECT_EQ(0U, r[0]);
        EXPECT_EQ(OST_OK, _ostiRngUniformBits(0, stream, 2, r)) << id;
    }
    GivenNumbers given({0.5});
    std::uint32_t word = 0;
    EXPECT_EQ(OST_ERR_NO_BITS, _ostiRngUniformBits32(0, given.stream, 1, &word));
    EXPECT_EQ(OST_ERR_ABSTRACT_TYPE, _ostiRngUniformBits(0, given.stream, 1, &word));
}

} // namespace
