// Pow, Powr, Powx.

#include "tests/support/special_cases.h"

#include <bit>
#include <random>
#include <vector>

namespace {

using namespace nvo::tests;

struct Power {
    double x, y, result;
    int status;
};

void check_powers(const char* op, const std::string& types, const std::vector<Power>& powers) {
    std::vector<Case> cases;
    for (const Power& p : powers) cases.push_back({op, p.x, p.y, p.result, 0, p.status});
    check_cases(types, cases);
}

constexpr int domain = ARK_STATUS_DOMAIN, overflow = ARK_STATUS_OVERFLOW, underflow = ARK_STATUS_UNDERFLOW;

// Of Pow and Powx.
const std::vector<Power> pow_powers = {
    {1, quiet_nan, 1, 0},
    {1, inf, 1, 0},
    {quiet_nan, 0, 1, 0},
    {quiet_nan, -0.0, 1, 0},
    {-inf, 0, 1, 0},
    {0, -0.0, 1, 0},
    {-2, 0, 1, 0},
    {quiet_nan, 1, quiet_nan, 0},
    {0, quiet_nan, quiet_nan, 0},
    {-1, quiet_nan, quiet_nan, 0},
    {-inf, quiet_nan, quiet_nan, 0},
    {0, -1, inf, domain},
    {-0.0, -1, -inf, domain},
    {-0.0, -2, inf, domain},
    {-0.0, -0.5, inf, domain},
    {-0.0, -inf, inf, domain},
    {0, -inf, inf, domain},
    {-0.0, -0x1.fffffep+23, -inf, domain}, // the largest odd float
    {0, 3, 0.0, 0},
    {-0.0, 3, -0.0, 0},
    {-0.0, 2, 0.0, 0},
    {-0.0, 0.5, 0.0, 0},
    {-0.0, inf, 0.0, 0},
    {-1, inf, 1, 0},
    {-1, -inf, 1, 0},
    {-1, 3, -1, 0},
    {-1, -4, 1, 0},
    {-1, 0x1.fffffep+23, -1, 0},
    {-1, 0x1p62, 1, 0},
    {-1, 0.5, quiet_nan, domain},
    {-8, 1.0 / 3, quiet_nan, domain},
    {-1e30, -0x1.fffffep+22, quiet_nan, domain}, // the largest half
    {0.5, inf, 0.0, 0},
    {0.5, -inf, inf, 0},
    {-0.5, inf, 0.0, 0},
    {-0.5, -inf, inf, 0},
    {2, inf, inf, 0},
    {-2, -inf, 0.0, 0},
    {inf, inf, inf, 0},
    {inf, -inf, 0.0, 0},
    {-inf, inf, inf, 0},
    {inf, 0.25, inf, 0},
    {inf, -0.25, 0.0, 0},
    {-inf, 3, -inf, 0},
    {-inf, 2, inf, 0},
    {-inf, 0.5, inf, 0},
    {-inf, -3, -0.0, 0},
    {-inf, -2.5, 0.0, 0},
    {-2, 5, -32, 0},
    {-2, -4, 0.0625, 0},
    {9, 0.5, 3, 0},
    {0.75, 1, 0.75, 0},
};

const std::vector<Power> powr_powers = {
    {quiet_nan, 0, quiet_nan, 0},
    {quiet_nan, 1, quiet_nan, 0},
    {inf, 0, quiet_nan, 0},
    {inf, -0.0, quiet_nan, 0},
    {0, 0, quiet_nan, 0},
    {-0.0, -0.0, quiet_nan, 0},
    {0, 2, 0.0, 0},
    {-0.0, 3, 0.0, 0},
    {-0.0, inf, 0.0, 0},
    {0, -1, inf, 0},
    {-0.0, -1, inf, 0},
    {-0.0, -inf, inf, 0},
    {1, inf, quiet_nan, 0},
    {1, -inf, quiet_nan, 0},
    {1, quiet_nan, quiet_nan, 0},
    {1, -7, 1, 0},
    {3, 0, 1, 0},
    {0.3, -0.0, 1, 0},
    {0, quiet_nan, quiet_nan, 0},
    {2, quiet_nan, quiet_nan, 0},
    {inf, quiet_nan, quiet_nan, 0},
    {-0.0, quiet_nan, quiet_nan, domain},
    {-1, quiet_nan, quiet_nan, domain},
    {-1, 2, quiet_nan, domain},
    {-1, 0, quiet_nan, domain},
    {-inf, inf, quiet_nan, domain},
    {2, inf, inf, 0},
    {2, -inf, 0.0, 0},
    {inf, inf, inf, 0},
    {inf, -inf, 0.0, 0},
    {inf, 0.5, inf, 0},
    {inf, -0.5, 0.0, 0},
    {0.5, inf, 0.0, 0},
    {0.5, -inf, inf, 0},
    {2, 10, 1024, 0},
};

TEST_F(SpecialValues, Powers) {
    check_powers("Pow", "sd", pow_powers);
    check_powers("Powx", "sd", pow_powers);
    check_powers("Powr", "sd", powr_powers);
}

// Overflow and underflow, at the last argument before and the first one behind each limit.
TEST_F(SpecialValues, PowersAtTheLimits) {
    constexpr double max = std::numeric_limits<float>::max();
    constexpr double max_double = std::numeric_limits<double>::max();
    const std::vector<Power> floats = {
        {2, 128, inf, overflow},
        {-2, 129, -inf, overflow},
        {-2, 128, inf, overflow},
        {2, 127, 0x1p127, 0},
        {2, 0x1.fffffep+6, 0x1.ffff4ep127, 0},
        {max, 1, max, 0},
        {max, 0x1.000002p0, inf, overflow},
        {-max, 3, -inf, overflow},
        {0x1p-149, -1, inf, overflow},
        {0x1.000002p0, max, inf, overflow},
        {2, -126, 0x1p-126, 0},
    };
    const std::vector<Power> small_floats = {
        {2, -127, 0x1p-127, underflow},   {2, -149, 0x1p-149, underflow},     {2, -150, 0, underflow},
        {2, -149.5, 0x1p-149, underflow}, {0x1p-149, 1, 0x1p-149, underflow}, {0x1.fffffep-1, max, 0, underflow},
    };
    const std::vector<Power> doubles = {
        {2, 1024, inf, overflow},
        {-2, 1025, -inf, overflow},
        {2, 0x1.fffffffffffffp+9, 0x1.ffffffffffd3ap1023, 0},
        {max_double, 1, max_double, 0},
        {max_double, 0x1.0000000000001p0, inf, overflow},
        {0x1p-1074, -1, inf, overflow},
        {0x1.0000000000001p0, max_double, inf, overflow},
        {2, -1022, 0x1p-1022, 0},
        {-1, 0x1.fffffffffffffp52, -1, 0}, // the largest odd double
    };
    const std::vector<Power> small_doubles = {
        {2, -1023, 0x1p-1023, underflow},
        {2, -1074, 0x1p-1074, underflow},
        {2, -1075, 0, underflow},
        {2, -1074.5, 0x1p-1074, underflow},
        {0x1p-1074, 1, 0x1p-1074, underflow},
        {0x1.fffffffffffffp-1, max_double, 0, underflow},
    };
    const auto check = [](const std::string& types, const std::vector<Power>& large, const std::vector<Power>& small) {
        std::vector<Power> without_sign;
        for (const Power& p : large)
            if (p.x > 0) without_sign.push_back(p);
        check_powers("Powr", types, without_sign);
        check_powers("Powr", types, small);
        std::vector<Power> unreported = small; // Pow has no underflow
        for (Power& p : unreported) p.status = 0;
        for (const char* op : {"Pow", "Powx"}) {
            check_powers(op, types, large);
            check_powers(op, types, unreported);
        }
    };
    check("s", floats, small_floats);
    check("d", doubles, small_doubles);
}

template <class T> void expect_first_powers(const std::string& row) {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    std::mt19937_64 random(1);
    for (int i = 0; i < 20000; ++i) {
        const T x = std::abs(std::bit_cast<T>(static_cast<Bits>(random())));
        if (!(x > 0)) continue;
        const T found = one<T>(row, x, 1).y;
        EXPECT_TRUE(same(x, found)) << row << " of " << x;
    }
}

// An error below 1/2 ulp before the last rounding leaves x^1 exact, of every size, in lanes and routines alike.
TEST_F(SpecialValues, FirstPowersAreExact) {
    for (const char* op : {"Pow", "Powr", "Powx"}) {
        expect_first_powers<float>(std::string("s") + op);
        expect_first_powers<double>(std::string("d") + op);
    }
}

// With denormals flushed, a denormal base is a zero, and a result that would be denormal is one.
TEST_F(SpecialValues, PowersWithDenormalsFlushed) {
    nvo_ark_kernel_SetMode(ARK_ERRMODE_IGNORE | ARK_DENORMALS_FLUSH);
    check_powers("Pow", "s",
                 {{-0x1p-149, -1, -inf, domain}, {0x1p-130, 0.5, 0, 0}, {2, -130, 0, 0}, {2, -126, 0x1p-126, 0}});
    check_powers("Pow", "d", {{-0x1p-1074, -1, -inf, domain}, {0x1p-1030, 0.5, 0, 0}, {2, -1030, 0, 0}, {3, 2, 9, 0}});
    check_powers("Powr", "sd", {{2, -1060, 0, underflow}});
}

ArkErrorRecord reported;
std::int32_t keep_record(ArkErrorRecord* record) { return reported = *record, 0; }

// The exponent of Powx is no vector: its reports show the base twice.
TEST_F(SpecialValues, ReportsOfPowersShowTheirVectors) {
    const auto report_of = [](const std::string& row) {
        const double x = -0.0, y = -3;
        double result = 0;
        nvo_ark_kernel_SetErrorCallBack(keep_record);
        call(row_of(row), 1, Arguments<double>{.a = &x, .b = &y, .y = &result, .inca = 2, .incb = 2, .incy = 2});
        nvo_ark_kernel_ClearErrorCallBack();
        EXPECT_EQ(-inf, result);
        EXPECT_EQ(-inf, reported.res2);
        return reported;
    };
    for (const char* form : {"", "I"}) {
        const ArkErrorRecord pow = report_of(std::string("dPow") + form);
        EXPECT_STREQ("vdPow", pow.funcName);
        EXPECT_EQ(-3, pow.arg2);
        const ArkErrorRecord powx = report_of(std::string("dPowx") + form);
        EXPECT_STREQ("vdPowx", powx.funcName);
        EXPECT_TRUE(same(-0.0, powx.arg2));
    }
}

} // namespace
