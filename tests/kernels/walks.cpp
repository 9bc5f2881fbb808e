// What all written rows share, tested once over the list: the same value has the same bits at every place, a call
// touches its elements and nothing else, and the control words come back.

#include "tests/support/guarded.h"
#include "tests/support/rows.h"

#include <array>
#include <bit>
#include <cfenv>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <xmmintrin.h>

namespace {

using namespace nvo::tests;

// Ordinary values, and those that leave the fast path of some row.
template <class T> std::vector<T> interesting_values() {
    using Limits = std::numeric_limits<T>;
    return {T(0.75),
            T(1.5),
            T(-2.25),
            T(3),
            T(0),
            T(-0.0),
            T(-7.5),
            T(1e-3),
            T(100.125),
            T(12345.678),
            Limits::max(),
            -Limits::max(),
            Limits::min(),
            Limits::denorm_min(),
            -Limits::denorm_min(),
            Limits::infinity(),
            -Limits::infinity(),
            Limits::quiet_NaN(),
            T(0.25),
            T(1e9),
            T(-1e9),
            T(0.5),
            T(-0.5),
            T(2)};
}

template <class T> auto pattern(T x) {
    return std::bit_cast<std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>(x);
}
template <class T> std::string hex(T x) {
    char text[64];
    std::snprintf(text, sizeof text, "%a", static_cast<double>(x));
    return text;
}

class EveryRow : public testing::TestWithParam<Row> {
protected:
    void SetUp() override { nvo_ark_kernel_SetMode(ARK_ERRMODE_IGNORE); }
    void TearDown() override { nvo_ark_kernel_SetMode(ARK_ERRMODE_DEFAULT); }

    // Runs a test in the row's type.
    template <class F> static void in_its_type(F f) {
        if (GetParam().type == 's') {
            f.template operator()<float>();
        } else {
            f.template operator()<double>();
        }
    }
};

// One element of the row alone: y, z. In the strided form with strides that don't hand over.
template <class T> std::array<T, 2> alone(const Row& row, T a, T b) {
    std::array<T, 2> result{};
    Arguments<T> v{.a = &a, .b = &b, .y = &result[0], .z = &result[1]};
    v.inca = v.incb = v.incy = v.incz = 2;
    call(row, 1, v);
    return result;
}

TEST_P(EveryRow, SameBitsAtEveryPlace) {
    in_its_type([]<class T> {
        const Row& row = GetParam();
        const std::vector<T> values = interesting_values<T>();
        std::mt19937 random(1);
        for (int n = 1; n <= 33; ++n) {
            for (int repeat = 0; repeat < 8; ++repeat) {
                std::vector<T> a(n), b(n), y(n), z(n);
                for (int i = 0; i < n; ++i) {
                    a[i] = values[random() % values.size()];
                    // Elements of the first kind come alone and in runs, so that whole blocks are ordinary too.
                    if (repeat % 2 == 0 && i % 8 != 3) a[i] = T(0.5) + T(i) / 8;
                    b[i] = values[random() % values.size()];
                }
                Arguments<T> v{.a = a.data(), .b = b.data(), .y = y.data(), .z = z.data()};
                std::vector<T> spread(2 * n);
                if (row.strided) { // a stride other than 1, so that the row doesn't hand over
                    for (int i = 0; i < n; ++i) spread[2 * i] = a[i];
                    v.a = spread.data();
                    v.inca = 2;
                }
                call(row, n, v);
                for (int i = 0; i < n; ++i) {
                    const auto expected = alone(row, a[i], row.cls == ArgClass::X ? b[0] : b[i]);
                    ASSERT_EQ(pattern(expected[0]), pattern(y[i]))
                        << hex(a[i]) << ", " << hex(b[i]) << " at " << i << " of " << n;
                    if (row.two_outputs()) {
                        ASSERT_EQ(pattern(expected[1]), pattern(z[i])) << hex(a[i]);
                    }
                }
            }
        }
    });
}

TEST_P(EveryRow, StaysInsideItsPages) {
    in_its_type([]<class T> {
        const Row& row = GetParam();
        for (int n = 1; n <= 19; ++n) {
            for (int stride : {1, 3}) {
                if (!row.strided && stride != 1) continue;
                const auto extent = static_cast<std::size_t>((n - 1) * stride + 1);
                GuardedArray<T> a(extent), b(extent), y(extent), z(extent);
                for (std::size_t i = 0; i < extent; ++i) a[i] = b[i] = i % 5 == 4 ? T(0) : T(i + 1);
                Arguments<T> v{.a = a.data(), .b = b.data(), .y = y.data(), .z = z.data()};
                v.inca = v.incb = v.incy = v.incz = stride;
                call(row, n, v);
                // Backwards, from the last element down to the first.
                if (!row.strided) continue;
                v.a += extent - 1;
                v.y += extent - 1;
                v.z += extent - 1;
                v.inca = v.incy = v.incz = -stride;
                call(row, n, v);
            }
        }
    });
}

TEST_P(EveryRow, WritesItsElementsAndNoOther) {
    in_its_type([]<class T> {
        const Row& row = GetParam();
        const T untouched = T(-12345);
        const std::vector<T> a(100, T(1.75)), b(100, T(2.5));
        const auto expected = alone(row, a[0], b[0]);
        for (int n : {-7, 0, 1, 2, 3, 5, 8, 13}) {
            for (int incy : {1, 2, -2, 0}) {
                if (!row.strided && incy != 1) continue;
                std::vector<T> y(100, untouched), z(100, untouched);
                Arguments<T> v{.a = a.data() + 50, .b = b.data() + 50, .y = y.data() + 50, .z = z.data() + 50};
                v.inca = 2;
                v.incb = -1;
                v.incy = v.incz = incy;
                call(row, n, v);
                std::vector<T> y_expected(100, untouched), z_expected(100, untouched);
                for (int i = 0; i < n; ++i) {
                    y_expected[50 + i * incy] = expected[0];
                    if (row.two_outputs()) z_expected[50 + i * incy] = expected[1];
                }
                EXPECT_EQ(y_expected, y) << "n " << n << ", stride " << incy;
                EXPECT_EQ(z_expected, z) << "n " << n << ", stride " << incy;
            }
        }
    });
}

TEST_P(EveryRow, TakesEveryPairOfStrides) {
    if (!GetParam().strided) return;
    in_its_type([]<class T> {
        const Row& row = GetParam();
        constexpr int n = 21;
        std::vector<T> a(200), b(200);
        for (int i = 0; i < 200; ++i) {
            a[i] = T(i % 17) - T(4.25);
            b[i] = T(i % 5);
        }
        for (int inca : {0, 1, 2, -1, -3}) {
            for (int incb : {0, 1, 2, -1}) {
                if (incb != 1 && !row.two_inputs()) continue;
                for (int incy : {1, 2, -3}) {
                    std::vector<T> y(200), z(200);
                    Arguments<T> v{.a = &a[100], .b = &b[100], .y = &y[100], .z = &z[100]};
                    v.inca = inca;
                    v.incb = incb;
                    v.incy = incy;
                    v.incz = 2;
                    call(row, n, v);
                    for (int i = 0; i < n; ++i) {
                        const auto expected = alone(row, a[100 + i * inca], b[row.two_inputs() ? 100 + i * incb : 100]);
                        ASSERT_EQ(pattern(expected[0]), pattern(y[100 + i * incy]))
                            << inca << " " << incb << " " << incy << " at " << i;
                        if (row.two_outputs()) {
                            ASSERT_EQ(pattern(expected[1]), pattern(z[100 + i * 2]));
                        }
                    }
                }
            }
        }
    });
}

TEST_P(EveryRow, WorksInPlace) {
    in_its_type([]<class T> {
        const Row& row = GetParam();
        const std::vector<T> values = interesting_values<T>();
        const auto n = static_cast<std::int32_t>(values.size());
        std::vector<T> y(n), z(n), a = values, b = values;
        const auto run = [&](const T* first, const T* second, T* result) {
            call(row, n, Arguments<T>{.a = first, .b = second, .y = result, .z = z.data()});
        };
        run(values.data(), values.data(), y.data());
        run(a.data(), values.data(), a.data());
        run(values.data(), b.data(), b.data());
        for (int i = 0; i < n; ++i) {
            EXPECT_EQ(pattern(y[i]), pattern(a[i])) << hex(values[i]);
            if (row.two_inputs()) {
                EXPECT_EQ(pattern(y[i]), pattern(b[i])) << hex(values[i]);
            }
        }
    });
}

std::uint16_t x87_control() {
    std::uint16_t control;
    asm volatile("fnstcw %0" : "=m"(control));
    return control;
}

TEST_P(EveryRow, GivesTheControlWordsBackAndKeepsTheFlags) {
    in_its_type([]<class T> {
        const Row& row = GetParam();
        const std::uint16_t x87_before = x87_control();
        const std::uint32_t sse_before = _mm_getcsr();
        const std::vector<T> values = interesting_values<T>();
        std::vector<T> y(values.size()), z(values.size());
        for (std::uint32_t mode : {ARK_DENORMALS_KEEP, ARK_DENORMALS_FLUSH}) {
            nvo_ark_kernel_SetMode(mode);
            // Exceptions unmasked, every rounding direction, flags standing.
            for (std::uint32_t sse : {0x0001U, 0x2020U, 0x4004U, 0x6038U, 0x8040U, 0x1F80U}) {
                for (std::uint16_t x87 : {0x037F, 0x0F40, 0x0000, 0x027F}) {
                    asm volatile("fldcw %0" : : "m"(x87));
                    _mm_setcsr(sse);
                    call(row, static_cast<std::int32_t>(values.size()),
                         Arguments<T>{.a = values.data(), .b = values.data(), .y = y.data(), .z = z.data()});
                    const std::uint32_t sse_after = _mm_getcsr();
                    const std::uint16_t x87_after = x87_control();
                    asm volatile("fnclex\n\tfldcw %0" : : "m"(x87_before));
                    _mm_setcsr(sse_before);
                    EXPECT_EQ(sse & 0xFFC0, sse_after & 0xFFC0) << std::hex << sse;
                    EXPECT_EQ(sse & 0x3F, sse & sse_after & 0x3F) << "a flag is lost";
                    EXPECT_EQ(x87 & 0x0F3F, x87_after & 0x0F3F) << std::hex << x87;
                }
            }
        }
        nvo_ark_kernel_SetMode(ARK_DENORMALS_KEEP);
    });
}

std::vector<Row> real_written_rows() {
    std::vector<Row> rows;
    for (const Row& row : written_rows(NVO_LIBRARY_FILE)) {
        if (row.type == 's' || row.type == 'd') rows.push_back(row);
    }
    return rows;
}

INSTANTIATE_TEST_SUITE_P(List, EveryRow, testing::ValuesIn(real_written_rows()),
                         [](const auto& info) { return std::string(info.param.name); });

} // namespace
