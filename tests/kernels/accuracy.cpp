// Every written kernel meets its bound, on a part of the meter's samples; the exact ones do in all rounding directions.
// ./run accuracy has the rest of the samples, and all floats.

#include "tools/accuracy/survey.h"

#include <cfenv>
#include <gtest/gtest.h>

using namespace nvo::accuracy;

namespace nvo::accuracy {
void PrintTo(const Kernel& kernel, std::ostream* out) { *out << kernel.name; }
} // namespace nvo::accuracy

namespace {

std::string advice(const Finding& f) {
    return std::string("rounding to ") + name_of(f.direction) + ", got " + hex(f.tally.worst.got) + ", want " +
           hex(f.tally.worst.want) + "\n  ./run accuracy " + f.kernel->name + " " + arguments_of(f);
}

TEST(Accuracy, EveryWrittenRowHasReferenceAndBound) { EXPECT_EQ(std::vector<std::string>{}, gaps(written_kernels())); }

class AccuracyOf : public testing::TestWithParam<Kernel> {};

TEST_P(AccuracyOf, MeetsItsBounds) {
    SurveyOptions options;
    options.density = 1.0 / 16;
    int findings = 0;
    survey({GetParam()}, options, [&](const std::vector<Finding>& found) {
        for (const Finding& f : found) {
            ++findings;
            EXPECT_GT(f.tally.samples, 1000U) << f.part;
            EXPECT_LE(f.tally.largest(), f.bound) << advice(f);
        }
    });
    EXPECT_GE(findings, 1);
}

INSTANTIATE_TEST_SUITE_P(Rows, AccuracyOf, testing::ValuesIn(written_kernels()),
                         [](const auto& info) { return info.param.name; });

// ---- The meter itself: what it would have to notice ----------------------------------------------------------------

template <class T> const Kernel& kernel(const char* operation) {
    for (const Kernel& k : written_kernels())
        if (k.row.op == std::string(operation) && k.row.type == (sizeof(T) == 4 ? 's' : 'd') && !k.row.strided)
            return k;
    throw std::logic_error(operation);
}

// The worst case of a function in place of a row's kernel.
template <class T, class F> Case worst_of(const char* operation, F f) {
    const Kernel& row = kernel<T>(operation);
    std::vector<Subject<T>> subject(1);
    subject[0].function = [&](std::int32_t n, const Arguments<T>& in, const Results<T>& out) {
        for (std::int32_t i = 0; i < n; ++i) out[0][i] = f(in[0][i], row.arguments() == 2 ? in[1][i] : T(0));
    };
    measure(task_of<T>(row, Direction::nearest), make_samples<T>(plan_of(row, 1.0 / 16)), subject);
    return subject[0].tallies[0].worst;
}

template <class T> class Meter : public testing::Test {};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(Meter, Types);

TYPED_TEST(Meter, CountsInUlpOfTheExactResult) {
    using T = TypeParam;
    using Limits = std::numeric_limits<T>;
    const T ulp = Limits::epsilon(), tiny = Limits::denorm_min(), nan = Limits::quiet_NaN();
    const T inf = Limits::infinity(), largest = Limits::max();
    const struct {
        T exact, result;
        double error;
    } cases[] = {
        {1, 1 + ulp, 1},
        {1, 1 - 3 * ulp / 2, 1.5},                // the ulp of 1, though the result is below it
        {1, 1 - ulp / 2, std::nextafter(0.5, 1)}, // not the nearest
        {2 - ulp, 2, 1},
        {4 * tiny, tiny, 3},
        {0, tiny, 1},
        {largest, inf, 1}, // infinity counts as the next power of two
        {0, -T(0), wrong_kind},
        {1, nan, wrong_kind},
        {nan, 1, wrong_kind},
        {inf, largest, wrong_kind},
        {nan, Limits::signaling_NaN(), 0},
    };
    const Task<T> abs = task_of<T>(kernel<T>("Abs"), Direction::nearest);
    for (const auto& c : cases) {
        const VectorFunction<T> gives = [&](std::int32_t, const Arguments<T>&, const Results<T>& out) {
            out[0][0] = c.result;
        };
        EXPECT_EQ(c.error, try_out<T>(abs, gives, c.exact, 0)[0].error) << c.result << " in place of " << c.exact;
    }
}

TYPED_TEST(Meter, SeesOneFaultyKindOfArgument) {
    using T = TypeParam;
    using Limits = std::numeric_limits<T>;
    const auto flushed = [](T y) { return std::fabs(y) < Limits::min() ? y * 0 : y; };
    const auto saturated = [](T y) { return std::isinf(y) ? std::copysign(Limits::max(), y) : y; };
    const auto near_one = [](T a, T b) {
        const T y = std::pow(a, b);
        return std::fabs(a - 1) < T(0x1p-10) && y > 0x1p20 ? y * (1 + 8 * Limits::epsilon()) : y;
    };
    const struct {
        const char* operation;
        std::function<T(T, T)> faulty;
        double above;
    } cases[] = {
        {"Sqrt", [](T a, T) { return a == 0 ? T(0) : std::sqrt(a); }, 1e300}, // the sign of -0
        {"Sqrt", [](T a, T) { return a < 0 ? T(0) : std::sqrt(a); }, 1e300},
        {"Inv", [&](T a, T) { return flushed(1 / a); }, 1000},
        {"Mul", [&](T a, T b) { return flushed(a * b); }, 1000},
        {"Inv", [&](T a, T) { return saturated(1 / a); }, 1000},
        {"Div", [](T a, T b) { return a * (1 / b); }, 1},
        {"Pow", near_one, 4}, // with exponents large enough
        {"Powx", near_one, 4},
    };
    for (const auto& c : cases) EXPECT_GT(worst_of<T>(c.operation, c.faulty).error, c.above) << &c - cases;
    EXPECT_LE(worst_of<T>("Sqrt", [](T a, T) { return std::sqrt(a); }).error, 0.5);
}

// A tie that goes the wrong way is as near as the right one.
TYPED_TEST(Meter, SeesTiesThatDontGoToEven) {
    using T = TypeParam;
    EXPECT_LE(worst_of<T>("Add", [](T a, T b) { return a + b; }).error, 0.5);
    const auto tie_away = [](T a, T b) {
        const T y = a + b;
        const Wide<T> rest = (Wide<T>(a) + b) - y;
        const T other =
            std::nextafter(y, rest > 0 ? std::numeric_limits<T>::infinity() : -std::numeric_limits<T>::infinity());
        return std::isfinite(other) && rest != 0 && other - (Wide<T>(a) + b) == rest ? other : y;
    };
    EXPECT_GT(worst_of<T>("Add", tie_away).error, 0.5);
}

} // namespace
