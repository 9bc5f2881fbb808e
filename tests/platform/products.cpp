// The products against sums of products in the widest type.
#include "platform/core.h"

#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <thread>
#include <vector>

namespace {

template <class R> struct Products;
#define NVO_PRODUCTS(t, real)                             \
    template <> struct Products<real> {                   \
        static constexpr auto gemm = nvo_blas_x##t##gemm; \
        static constexpr auto syrk = nvo_blas_x##t##syrk; \
        static constexpr auto syr = nvo_blas_x##t##syr;   \
    };
NVO_PRODUCTS(s, float)
NVO_PRODUCTS(d, double)

template <class R> class ProductsTest : public testing::Test {
protected:
    static constexpr int n = 7, k = 300;

    std::vector<R> random(int count) {
        std::vector<R> x(static_cast<std::size_t>(count));
        for (R& value : x) value = static_cast<R>(uniform_(generator_));
        return x;
    }
    // A sum of k products of numbers below 1 may be off by k units in the last place of k.
    static void expect_sum(long double exact, R found) {
        EXPECT_NEAR(static_cast<double>(exact), found, double{k} * k * std::numeric_limits<R>::epsilon());
    }

private:
    std::mt19937_64 generator_{1};
    std::uniform_real_distribution<double> uniform_{-1, 1};
};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(ProductsTest, Reals);

TYPED_TEST(ProductsTest, OfTwoMatrices) {
    using R = TypeParam;
    const int n = this->n, k = this->k;
    const auto a = this->random(n * k), b = this->random(n * k);
    auto c = this->random(n * n);
    const auto before = c;
    const R alpha = 2, beta = 1;
    Products<R>::gemm("n", "T", &n, &n, &k, &alpha, a.data(), &n, b.data(), &n, &beta, c.data(), &n); // c + 2 a b'
    for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
            long double sum = before[j * n + i];
            for (int l = 0; l < k; ++l) sum += 2.0L * a[l * n + i] * b[l * n + j];
            this->expect_sum(sum, c[j * n + i]);
        }
    }
}

TYPED_TEST(ProductsTest, OfAMatrixWithItselfFillUpperTriangle) {
    using R = TypeParam;
    const int n = this->n, k = this->k;
    const auto rows = this->random(n * k); // of k numbers: transposed
    auto c = this->random(n * n);
    const auto before = c;
    const R alpha = 1, beta = 1;
    Products<R>::syrk("U", "t", &n, &k, &alpha, rows.data(), &k, &beta, c.data(), &n);
    for (int j = 0; j < n; ++j) {
        for (int i = 0; i < n; ++i) {
            long double sum = before[j * n + i];
            for (int l = 0; i <= j && l < k; ++l) sum += 1.0L * rows[i * k + l] * rows[j * k + l];
            this->expect_sum(sum, c[j * n + i]);
        }
    }
    const auto x = this->random(n);
    const auto second = c;
    const R minus = -1;
    const int one = 1;
    Products<R>::syr("U", &n, &minus, x.data(), &one, c.data(), &n);
    for (int j = 0; j < n; ++j)
        for (int i = 0; i < n; ++i)
            this->expect_sum(i <= j ? second[j * n + i] - 1.0L * x[i] * x[j] : second[j * n + i], c[j * n + i]);
}

// A library that hands its work space to two threads at once gives wrong numbers, now and then.
TYPED_TEST(ProductsTest, AreTheSameOnSeveralThreads) {
    using R = TypeParam;
    const int n = 20, k = 800;
    const R one = 1, zero = 0;
    const auto x = this->random(n * k);
    const auto product = [&] {
        std::vector<R> c(n * n);
        Products<R>::syrk("U", "n", &n, &k, &one, x.data(), &n, &zero, c.data(), &n);
        return c;
    };
    const auto expected = product();
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < 4000; ++i) wrong += product() != expected;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(0, wrong);
}

} // namespace
