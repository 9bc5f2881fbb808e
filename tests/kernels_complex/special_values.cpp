// Special values of the cores, bit by bit, with the IEEE flags that they raise.

#include "nvo_ark/scalar.h"
#include "tests/kernels_complex/extended.h"

#include <cfenv>
#include <gtest/gtest.h>
#include <iterator>
#include <vector>

namespace {

using namespace nvo::tests;

constexpr long double inf = Extended::infinity(), nan = Extended::quiet_NaN(), least = Extended::denorm_min(),
                      smallest = Extended::min(), largest = Extended::max();
constexpr long double pi = 3.14159265358979323846264338327950288L;
constexpr int none = 0, inexact = FE_INEXACT, tiny = FE_UNDERFLOW | FE_INEXACT, huge = FE_OVERFLOW | FE_INEXACT,
              invalid = FE_INVALID, pole = FE_DIVBYZERO;

using Function = long double(long double);
struct Special {
    const char* name;
    Function* function;
    long double x, y;
    int flags;
};

#define CORE(name) #name, nvo_ark_kernel_##name##_scalar
const Special specials[] = {
    {CORE(expl), 0, 1, none},
    {CORE(expl), -0.0L, 1, none},
    {CORE(expl), 1, 2.71828182845904523536028747135266250L, inexact},
    {CORE(expl), least, 1, inexact},
    {CORE(expl), 11357, inf, huge},
    {CORE(expl), largest, inf, huge},
    {CORE(expl), -12000, 0, tiny},
    {CORE(expl), -11399.4985314888605581L, least, tiny},
    {CORE(expl), inf, inf, none},
    {CORE(expl), -inf, 0, none},
    {CORE(logl), 1, 0, none},
    {CORE(logl), 0, -inf, pole},
    {CORE(logl), -0.0L, -inf, pole},
    {CORE(logl), -1, nan, invalid},
    {CORE(logl), -inf, nan, invalid},
    {CORE(logl), inf, inf, none},
    {CORE(log1pl), 0, 0, none},
    {CORE(log1pl), -0.0L, -0.0L, none},
    {CORE(log1pl), least, least, tiny},
    {CORE(log1pl), -smallest, -smallest, inexact},
    {CORE(log1pl), -1, -inf, pole},
    {CORE(log1pl), -2, nan, invalid},
    {CORE(log1pl), -inf, nan, invalid},
    {CORE(log1pl), inf, inf, none},
    {CORE(sqrtl), 4, 2, none},
    {CORE(sqrtl), -0.0L, -0.0L, none},
    {CORE(sqrtl), -1, nan, invalid},
    {CORE(sqrtl), inf, inf, none},
    {CORE(sinl), 0, 0, none},
    {CORE(sinl), -0.0L, -0.0L, none},
    {CORE(sinl), least, least, tiny},
    {CORE(sinl), -smallest, -smallest, inexact},
    {CORE(sinl), inf, nan, invalid},
    {CORE(cosl), 0, 1, none},
    {CORE(cosl), -least, 1, inexact},
    {CORE(cosl), -inf, nan, invalid},
    {CORE(tanl), -0.0L, -0.0L, none},
    {CORE(tanl), -least, -least, tiny},
    {CORE(tanl), inf, nan, invalid},
    {CORE(sinhl), -0.0L, -0.0L, none},
    {CORE(sinhl), least, least, tiny},
    {CORE(sinhl), -inf, -inf, none},
    {CORE(sinhl), -11358, -inf, huge},
    {CORE(coshl), 0, 1, none},
    {CORE(coshl), least, 1, inexact},
    {CORE(coshl), -inf, inf, none},
    {CORE(coshl), -largest, inf, huge},
    {CORE(tanhl), -0.0L, -0.0L, none},
    {CORE(tanhl), -least, -least, tiny},
    {CORE(tanhl), inf, 1, none},
    {CORE(tanhl), -largest, -1, inexact},
    {CORE(asinl), -0.0L, -0.0L, none},
    {CORE(asinl), least, least, tiny},
    {CORE(asinl), 1, pi / 2, inexact},
    {CORE(asinl), -1, -pi / 2, inexact},
    {CORE(asinl), 1 + 0x1p-63L, nan, invalid},
    {CORE(asinl), -inf, nan, invalid},
    {CORE(acosl), 1, 0, none},
    {CORE(acosl), 0, pi / 2, inexact},
    {CORE(acosl), least, pi / 2, inexact},
    {CORE(acosl), -1, pi, inexact},
    {CORE(acosl), -1 - 0x1p-63L, nan, invalid},
    {CORE(acosl), inf, nan, invalid},
    {CORE(atanl), -0.0L, -0.0L, none},
    {CORE(atanl), least, least, tiny},
    {CORE(atanl), inf, pi / 2, inexact},
    {CORE(atanl), -largest, -pi / 2, inexact},
    {CORE(asinhl), -0.0L, -0.0L, none},
    {CORE(asinhl), -least, -least, tiny},
    {CORE(asinhl), -inf, -inf, none},
    {CORE(acoshl), 1, 0, none},
    {CORE(acoshl), 1 - 0x1p-64L, nan, invalid},
    {CORE(acoshl), -inf, nan, invalid},
    {CORE(acoshl), inf, inf, none},
    {CORE(atanhl), -0.0L, -0.0L, none},
    {CORE(atanhl), least, least, tiny},
    {CORE(atanhl), 1, inf, pole},
    {CORE(atanhl), -1, -inf, pole},
    {CORE(atanhl), -1 - 0x1p-63L, nan, invalid},
    {CORE(atanhl), inf, nan, invalid},
    {CORE(fabsl), -0.0L, 0, none},
    {CORE(fabsl), -inf, inf, none},
};

// Overflow and underflow come with inexact, and denormal operands aren't IEEE's business.
int raised() { return std::fetestexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW | FE_INEXACT); }

void expect(long double y, long double wanted, int flags, int seen, const std::string& call) {
    EXPECT_TRUE(std::isnan(wanted) ? std::isnan(y) : same_bits(y, wanted)) << call << " = " << text(y);
    EXPECT_EQ(seen, flags) << call;
}

TEST(SpecialValues, OfOneArgument) {
    for (const Special& s : specials) {
        std::feclearexcept(FE_ALL_EXCEPT);
        const long double y = s.function(s.x);
        expect(y, s.y, s.flags, raised(), std::string(s.name) + "(" + text(s.x) + ")");
    }
}

// Each function once: a quiet NaN goes through, a signalling one comes out quiet with the flag, and the encodings that
// the format doesn't have come out as NaN.
TEST(SpecialValues, NaN) {
    const long double signalling = from_bits(0x7FFF, 0xA000000000000000),
                      unnormal = from_bits(0x3FFE, 0x4000000000000000),
                      unnormal_large = from_bits(0x5000, 0x7000000000000000);
    Function* last = nvo_ark_kernel_fabsl_scalar; // which looks at the sign only
    for (const Special& s : specials) {
        if (s.function == last || s.function == nvo_ark_kernel_fabsl_scalar) continue;
        last = s.function;
        std::feclearexcept(FE_ALL_EXCEPT);
        EXPECT_TRUE(std::isnan(s.function(nan)) && std::isnan(s.function(-nan))) << s.name;
        EXPECT_EQ(raised(), none) << s.name;
        for (const long double x : {signalling, unnormal, unnormal_large}) {
            std::feclearexcept(FE_ALL_EXCEPT);
            EXPECT_TRUE(std::isnan(s.function(x))) << s.name;
            EXPECT_TRUE(raised() & FE_INVALID) << s.name;
        }
    }
}

TEST(SpecialValues, Atan2) {
    struct Row {
        long double y, x, angle;
        int flags;
    };
    const Row rows[] = {
        {0, 1, 0, none},
        {0, 0, 0, none},
        {0, -0.0L, pi, inexact},
        {0, -1, pi, inexact},
        {0, inf, 0, none},
        {0, -inf, pi, inexact},
        {1, 0, pi / 2, inexact},
        {1, -0.0L, pi / 2, inexact},
        {1, inf, 0, none},
        {1, -inf, pi, inexact},
        {inf, inf, pi / 4, inexact},
        {inf, -inf, 3 * (pi / 4), inexact},
        {inf, 1, pi / 2, inexact},
        {inf, -0.0L, pi / 2, inexact},
        {least, largest, 0, tiny},
        {least, 1, least, tiny},
        {largest, least, pi / 2, inexact},
        {largest, -1, pi / 2, inexact},
        {least, -1, pi, inexact},
        {smallest, 1, smallest, inexact},
        {least, least, pi / 4, inexact},
        {largest, -largest, 3 * (pi / 4), inexact},
        {nan, 0, nan, none},
        {inf, nan, nan, none},
    };
    for (const Row& row : rows)
        for (const long double sign : {1.0L, -1.0L}) {
            std::feclearexcept(FE_ALL_EXCEPT);
            const long double angle = nvo_ark_kernel_atan2l_scalar(sign * row.y, row.x);
            expect(angle, sign * row.angle, row.flags, raised(),
                   "atan2l(" + text(sign * row.y) + ", " + text(row.x) + ")");
        }
}

TEST(SpecialValues, MagnitudesOfDoublesAndFloats) {
    std::feclearexcept(FE_ALL_EXCEPT);
    EXPECT_EQ(nvo_ark_kernel__sabs_scalar(-1.5F), 1.5F);
    EXPECT_EQ(nvo_ark_kernel__dabs_scalar(-1.5), 1.5);
    EXPECT_FALSE(std::signbit(nvo_ark_kernel__sabs_scalar(-0.0F)));
    EXPECT_FALSE(std::signbit(nvo_ark_kernel__dabs_scalar(-std::numeric_limits<double>::quiet_NaN())));
    EXPECT_EQ(raised(), none);
}

// sincosl and sinhcoshl give what the single functions give, specials included, and odd functions are odd.
TEST(Symmetry, OfPairsAndSigns) {
    std::vector<long double> points = {0, -0.0L, least, smallest, inf, -inf, nan, 11357, -11400, largest};
    Samples samples(0x1p-80L, 0x1p80L, true);
    for (int i = 0; i < 3000; ++i) points.push_back(samples.next());
    const auto same = [](long double a, long double b) { return same_bits(a, b) || (std::isnan(a) && std::isnan(b)); };
    Function* odd[] = {nvo_ark_kernel_sinl_scalar,   nvo_ark_kernel_tanl_scalar,  nvo_ark_kernel_sinhl_scalar,
                       nvo_ark_kernel_tanhl_scalar,  nvo_ark_kernel_asinl_scalar, nvo_ark_kernel_atanl_scalar,
                       nvo_ark_kernel_asinhl_scalar, nvo_ark_kernel_atanhl_scalar};
    for (const long double x : points) {
        long double s, c, sh, ch;
        nvo_ark_kernel_sincosl_scalar(x, &s, &c);
        nvo_ark_kernel_sinhcoshl_scalar(x, &sh, &ch);
        EXPECT_TRUE(same(s, nvo_ark_kernel_sinl_scalar(x)) && same(c, nvo_ark_kernel_cosl_scalar(x))) << text(x);
        EXPECT_TRUE(same(sh, nvo_ark_kernel_sinhl_scalar(x)) && same(ch, nvo_ark_kernel_coshl_scalar(x))) << text(x);
        EXPECT_TRUE(same(c, nvo_ark_kernel_cosl_scalar(-x)) && same(ch, nvo_ark_kernel_coshl_scalar(-x))) << text(x);
        for (std::size_t i = 0; i < std::size(odd); ++i)
            EXPECT_TRUE(same(odd[i](-x), -odd[i](x))) << i << ": " << text(x);
    }
}

} // namespace
