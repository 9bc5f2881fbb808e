// The cores against MPFR: dense samples in every band, and the numbers next to the ends of bands, to rows of tables, to
// zeros and to the limits of the range.

#include "nvo_ark/scalar.h"
#include "tests/kernels_complex/quarter_turns.h"

#include <cfenv>
#include <gtest/gtest.h>
#include <ostream>
#include <vector>

namespace {

using namespace nvo::tests;
using nvo::tools::Mp;

struct Range {
    long double low, high;
    bool both_signs;
    int samples;
};

struct Core {
    const char* name;
    long double (*function)(long double);
    int (*exact)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
    double bound; // in ulp
    std::vector<Range> ranges;
    std::vector<long double> points; // tried with their neighbours
};

long double sine_of_both(long double x) {
    long double s, c;
    nvo_ark_kernel_sincosl_scalar(x, &s, &c);
    return s;
}
long double cosine_of_both(long double x) {
    long double s, c;
    nvo_ark_kernel_sincosl_scalar(x, &s, &c);
    return c;
}
long double sinh_of_both(long double x) {
    long double s, c;
    nvo_ark_kernel_sinhcoshl_scalar(x, &s, &c);
    return s;
}
long double cosh_of_both(long double x) {
    long double s, c;
    nvo_ark_kernel_sinhcoshl_scalar(x, &s, &c);
    return c;
}

// Powers of two from 2^first to 2^last, with what is added to them.
std::vector<long double> powers(int first, int last, std::vector<long double> more = {}) {
    for (int e = first; e <= last; ++e) more.insert(more.end(), {std::ldexp(1.0L, e), -std::ldexp(1.0L, e)});
    return more;
}

// Next to n pi/4 for n up to 64, and the hardest numbers up to the end of the range: zeros, poles, middles.
std::vector<long double> quarter_turns() {
    std::vector<long double> points = powers(-80, 40, {Extended::max(), -Extended::max(), 1e300L, 1e4000L});
    for (int i = 1; i <= 64; ++i) points.push_back(mpfr_get_ld((Mp(i) * quarter_pi()).get(), MPFR_RNDN));
    for (int e = 0; e < 16384; e += e < 70 ? 1 : 61) points.push_back(hardest(e));
    return points;
}

// Ends and middles of the intervals of the table of inverse tangents.
std::vector<long double> sixteenths() {
    std::vector<long double> points = powers(-80, 70);
    for (int e = -5; e <= 5; ++e)
        for (int i = 0; i < 32; ++i) points.push_back(std::ldexp(1 + i / 32.0L, e));
    return points;
}

std::vector<long double> interval_ends_of_logarithm() {
    std::vector<long double> points;
    for (int e : {-16382, -100, -1, 0, 1, 100, 16383})
        for (int i = 0; i < 256; ++i) points.push_back(std::ldexp(1 + i / 256.0L, e));
    points.insert(points.end(), {Extended::denorm_min(), Extended::min(), Extended::max(), 1 + 0x1p-14L, 1 - 0x1p-14L,
                                 1 + 0x1p-5L, 1 - 0x1p-5L, 2.718281828459045235360287L});
    return points;
}

constexpr int n = 6000;
constexpr long double least = Extended::denorm_min(), largest = Extended::max();

const Core cores[] = {
    {"expl",
     nvo_ark_kernel_expl_scalar,
     mpfr_exp,
     1.0,
     {{0x1p-70L, 0x1p-6L, true, n}, {0x1p-6L, 11356, true, 4 * n}, {11355, 11399.4L, true, n}},
     powers(-80, 13, {11356.5L, 11356.523406294143949L, -11355.137111933024L, -11399.4985314888605581L})},
    {"logl",
     nvo_ark_kernel_logl_scalar,
     mpfr_log,
     1.0,
     {{least, largest, false, n}, {0.5L, 2, false, 4 * n}, {0.96L, 0.999999L, false, n}, {1, 1.04L, false, 2 * n}},
     interval_ends_of_logarithm()},
    {"log1pl",
     nvo_ark_kernel_log1pl_scalar,
     mpfr_log1p,
     1.0,
     {{least, largest, false, n}, {0x1p-80L, 1 - 0x1p-64L, true, 3 * n}, {1, 0x1p70L, false, n}},
     powers(-80, -1, {-1 + 0x1p-64L, 0x1p32L, largest})},
    {"sqrtl", nvo_ark_kernel_sqrtl_scalar, mpfr_sqrt, 0.51, {{least, largest, false, n}}, powers(0, 1, {least})},
    {"sinl",
     nvo_ark_kernel_sinl_scalar,
     mpfr_sin,
     2.0,
     {{0x1p-80L, 0x1p-6L, true, n}, {0x1p-6L, 0x1p29L, true, 4 * n}, {0x1p29L, largest, true, n}},
     quarter_turns()},
    {"cosl",
     nvo_ark_kernel_cosl_scalar,
     mpfr_cos,
     2.0,
     {{0x1p-80L, 0x1p-6L, true, n}, {0x1p-6L, 0x1p29L, true, 4 * n}, {0x1p29L, largest, true, n}},
     quarter_turns()},
    {"sincosl.s", sine_of_both, mpfr_sin, 2.0, {{0x1p-80L, 0x1p80L, true, n}}, quarter_turns()},
    {"sincosl.c", cosine_of_both, mpfr_cos, 2.0, {{0x1p-80L, 0x1p80L, true, n}}, quarter_turns()},
    {"tanl",
     nvo_ark_kernel_tanl_scalar,
     mpfr_tan,
     2.0,
     {{0x1p-80L, 0x1p-5L, true, n}, {0x1p-5L, 0x1p29L, true, 4 * n}, {0x1p29L, largest, true, n}},
     quarter_turns()},
    {"sinhl",
     nvo_ark_kernel_sinhl_scalar,
     mpfr_sinh,
     2.0,
     {{0x1p-80L, 0x1p-2L, true, n}, {0x1p-2L, 11358, true, 3 * n}},
     powers(-80, 13, {11356.5L, 11356.523406294143949L, 24, 11357.2165534747038L})},
    {"coshl",
     nvo_ark_kernel_coshl_scalar,
     mpfr_cosh,
     2.0,
     {{0x1p-80L, 0x1p-2L, true, n}, {0x1p-2L, 11358, true, 3 * n}},
     powers(-80, 13, {11356.5L, 11356.523406294143949L, 24, 11357.2165534747038L})},
    {"sinhcoshl.sh", sinh_of_both, mpfr_sinh, 2.0, {{0x1p-80L, 11358, true, n}}, powers(-80, 13, {24, 11357.2165L})},
    {"sinhcoshl.ch", cosh_of_both, mpfr_cosh, 2.0, {{0x1p-80L, 11358, true, n}}, powers(-80, 13, {24, 11357.2165L})},
    {"tanhl",
     nvo_ark_kernel_tanhl_scalar,
     mpfr_tanh,
     2.0,
     {{0x1p-80L, 0x1p-2L, true, n}, {0x1p-2L, 1, true, 2 * n}, {1, 26, true, n}},
     powers(-80, 13, {22.8L, 24.003L})},
    {"asinl",
     nvo_ark_kernel_asinl_scalar,
     mpfr_asin,
     2.0,
     {{0x1p-80L, 0.5L, true, n}, {0.5L, 1, true, 2 * n}},
     powers(-80, -1, {1 - 0x1p-64L, 0.75L})},
    {"acosl",
     nvo_ark_kernel_acosl_scalar,
     mpfr_acos,
     2.0,
     {{0x1p-80L, 0.5L, true, n}, {0.5L, 1, true, 2 * n}},
     powers(-80, -1, {1 - 0x1p-64L, -1 + 0x1p-64L, 0.75L})},
    {"atanl",
     nvo_ark_kernel_atanl_scalar,
     mpfr_atan,
     1.0,
     {{0x1p-80L, 0x1p-4L, true, n},
      {0x1p-4L, 16, true, 4 * n},
      {16, 0x1p70L, true, n},
      {0x1p70L, largest, true, n / 6}},
     sixteenths()},
    {"asinhl",
     nvo_ark_kernel_asinhl_scalar,
     mpfr_asinh,
     2.0,
     {{0x1p-80L, 0x1p-8L, true, n}, {0x1p-8L, 4, true, 2 * n}, {4, 0x1p40L, true, n}, {4, largest, true, n / 6}},
     powers(-80, 70, {largest, -largest})},
    {"acoshl",
     nvo_ark_kernel_acoshl_scalar,
     mpfr_acosh,
     2.0,
     {{1, 1.001L, false, n}, {1, 2, false, 2 * n}, {2, 0x1p40L, false, n}, {4, largest, false, n / 6}},
     {1 + 0x1p-63L, 1 + 0x1p-40L, 2, 0x1p32L, 0x1p33L, largest}},
    {"atanhl",
     nvo_ark_kernel_atanhl_scalar,
     mpfr_atanh,
     2.0,
     {{0x1p-80L, 0x1p-8L, true, n}, {0x1p-8L, 1, true, 3 * n}},
     powers(-80, -1, {1 - 0x1p-64L, -1 + 0x1p-64L})},
};

void PrintTo(const Core& core, std::ostream* stream) { *stream << core.name; }

class Accuracy : public testing::TestWithParam<Core> {};

// The worst argument so far.
struct Worst {
    double error = 0;
    long double at = 0, result = 0;
    double sum = 0;
    long count = 0;
};

// A result that is exactly infinite comes from a pole; others come from overflow.
int due_flags(long double x, long double y, const Mp& exact) {
    if (std::isnan(y)) return FE_INVALID;
    if (std::isinf(x)) return 0;
    if (std::isinf(y)) return mpfr_inf_p(exact.get()) ? FE_DIVBYZERO : FE_OVERFLOW;
    return std::fabs(y) < Extended::min() && !mpfr_zero_p(exact.get()) ? FE_UNDERFLOW : 0;
}

void try_one(const Core& core, long double x, Worst& worst) {
    Mp exact(0.0, 128);
    core.exact(exact.get(), exactly(x).get(), MPFR_RNDN);
    std::feclearexcept(FE_ALL_EXCEPT);
    const long double y = core.function(x);
    const int flags = std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW);
    const double error = ulp_error(y, exact);
    EXPECT_TRUE(flags == due_flags(x, y, exact)) << core.name << "(" << text(x) << ") raises " << flags;
    worst.sum += error;
    ++worst.count;
    if (error > worst.error) {
        worst.error = error;
        worst.at = x;
        worst.result = y;
    }
}

TEST_P(Accuracy, KeepsItsBound) {
    const Core& core = GetParam();
    Worst worst;
    for (const Range& range : core.ranges) {
        Samples samples(range.low, range.high, range.both_signs);
        for (int i = 0; i < range.samples; ++i) try_one(core, samples.next(), worst);
    }
    for (const long double point : core.points)
        for (int k = -3; k <= 3; ++k) try_one(core, neighbour(point, k), worst);
    std::printf("%-13s %.4f ulp, mean %.4f: %s gives %s\n", core.name, worst.error,
                worst.sum / static_cast<double>(worst.count), text(worst.at).c_str(), text(worst.result).c_str());
    EXPECT_LE(worst.error, core.bound) << core.name << "(" << text(worst.at) << ") = " << text(worst.result);
}

INSTANTIATE_TEST_SUITE_P(Cores, Accuracy, testing::ValuesIn(cores), [](const auto& info) {
    std::string name = info.param.name;
    for (char& c : name)
        if (c == '.') c = '_';
    return name;
});

// Points of every size and direction, quotients at the ends of the table's range, and far beyond 2^70.
TEST(AccuracyOfTwo, Atan2) {
    double worst = 0;
    std::string at;
    Samples plain(0x1p-8L, 0x1p8L, true), wide(Extended::denorm_min(), Extended::max(), true);
    const auto check = [&](long double y, long double x) {
        Mp exact(0.0, 128);
        mpfr_atan2(exact.get(), exactly(y).get(), exactly(x).get(), MPFR_RNDN);
        const long double result = nvo_ark_kernel_atan2l_scalar(y, x);
        const double error = ulp_error(result, exact);
        ASSERT_LE(error, 2.0) << "atan2l(" << text(y) << ", " << text(x) << ") = " << text(result);
        if (error > worst) {
            worst = error;
            at = text(y) + ", " + text(x);
        }
    };
    for (int i = 0; i < 4 * n; ++i) check(plain.next(), plain.next());
    for (int i = 0; i < n; ++i) {
        const long double x = wide.next(), factor = std::ldexp(plain.next(), i % 200 - 100);
        if (std::isfinite(x * factor)) check(x * factor, x);
        check(wide.next(), x);
    }
    std::printf("%-13s %.4f ulp: %s\n", "atan2l", worst, at.c_str());
}

} // namespace
