// What the floating-point frames do: seen from inside, by a callback and by results that depend on the control words.

#include "tests/support/rows.h"

#include <bit>
#include <cfenv>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <xmmintrin.h>

namespace {

using namespace nvo::tests;

const Row& row_of(const std::string& name) {
    for (const Row& row : all_rows()) {
        if (row.name == name) return row;
    }
    throw std::logic_error(name + " is no row");
}

// One element through a row of any real type, under an SSE control register. Strides that don't hand over.
double one(const std::string& name, double a, double b, std::uint32_t sse = 0x1F80) {
    const std::uint32_t before = _mm_getcsr();
    const auto in = [&]<class T>(T x, T w) -> double {
        T y = 0, z = 0;
        Arguments<T> v{.a = &x, .b = &w, .y = &y, .z = &z};
        v.inca = v.incb = v.incy = v.incz = 3;
        _mm_setcsr(sse);
        call(row_of(name), 1, v);
        _mm_setcsr(before);
        return y;
    };
    return name[0] == 's' ? in(static_cast<float>(a), static_cast<float>(b)) : in(a, b);
}

constexpr std::uint32_t upward = 0x5F80; // all exceptions masked
constexpr std::uint32_t downward = 0x3F80;
constexpr std::uint32_t denormals_are_zero = 0x1FC0;

class Frames : public testing::Test {
protected:
    void SetUp() override { nvo_ark_kernel_SetMode(ARK_ERRMODE_IGNORE | ARK_DENORMALS_KEEP); }
    void TearDown() override { nvo_ark_kernel_SetMode(ARK_ERRMODE_DEFAULT | ARK_DENORMALS_KEEP); }
};

struct Sensitive {
    const char* row;
    double a, b;
    bool follows_the_caller;
};

TEST_F(Frames, CallersRoundingCountsInTheirClassesOnly) {
    const Sensitive rows[] = {
        {"sAdd", 1, 0x1p-40, false},  {"dAdd", 1, 0x1p-80, false},
        {"sAddI", 1, 0x1p-40, false}, {"sSub", 1, -0x1p-40, false},
        {"dSub", 1, -0x1p-80, true},  {"dSubI", 1, -0x1p-80, false},
        {"sMul", 1.1, 1.1, false},    {"dMul", 1.1, 1.1, false},
        {"sSqr", 1.1, 0, true},       {"dSqr", 0x1.0000001p0, 0, true},
        {"sSqrI", 1.1, 0, false},     {"dSqrI", 0x1.0000001p0, 0, false},
        {"sInv", 3, 0, true},         {"dInv", 3, 0, true},
        {"sInvI", 3, 0, false},       {"dInvI", 3, 0, false},
        {"sDiv", 1, 7, true},         {"dDiv", 1, 3, true},
        {"dDivI", 1, 3, false},       {"sSqrt", 2, 0, false},
        {"dSqrt", 2, 0, false},       {"sRint", 0.25, 0, true},
        {"dRint", 0.25, 0, true},     {"sNearbyInt", 0.25, 0, true},
        {"sRintI", 0.25, 0, false},   {"dNearbyIntI", 0.25, 0, false},
        {"sCeil", -1.5, 0, false},    {"sFloor", 1.5, 0, false},
        {"dCeil", -1.5, 0, false},    {"dRound", 2.25, 0, false},
        {"sTrunc", 2.75, 0, false},   {"dModf", 2.75, 0, false},
        {"sFrac", 2.75, 0, false},
    };
    for (const auto& [row, a, b, follows] : rows) {
        const double nearest = one(row, a, b);
        EXPECT_EQ(follows, one(row, a, b, upward) != nearest || one(row, a, b, downward) != nearest) << row;
    }
}

TEST_F(Frames, HandOverReachesTheRowThatHonoursTheDirection) {
    const float x = 0.25F;
    float y = -1;
    const std::uint32_t before = _mm_getcsr();
    _mm_setcsr(upward);
    _arksRintI(1, &x, 1, &y, 1);
    const float handed_over = y;
    _arksRintI(1, &x, 2, &y, 1);
    _mm_setcsr(before);
    EXPECT_EQ(1.0F, handed_over);
    EXPECT_EQ(0.0F, y);
}

TEST_F(Frames, DenormalFieldActsInItsClassesOnly) {
    const double tiny_float = 0x1p-140, tiny = 0x1p-1060;
    const struct {
        const char* row;
        double a, b;
        bool flushes;
    } rows[] = {
        {"sAdd", tiny_float, tiny_float, true},
        {"dAdd", tiny, tiny, true},
        {"sSub", 3 * tiny_float, tiny_float, true},
        {"dSub", 3 * tiny, tiny, false},
        {"dSubI", 3 * tiny, tiny, true},
        {"sMul", 0x1p-70, 0x1p-70, true},
        {"sSqr", 0x1p-70, 0, false},
        {"dSqr", 0x1p-530, 0, false},
        {"dSqrI", 0x1p-530, 0, true},
        {"sInv", 0x1.8p127, 0, false},
        {"sInvI", 0x1.8p127, 0, true},
        {"dDiv", tiny, 2, false},
        {"dDivI", tiny, 2, true},
        {"sSqrt", tiny_float, 0, true},
        {"dSqrt", tiny, 0, true},
        {"sCeil", tiny_float, 0, false},
        {"sCeilI", tiny_float, 0, true},
        {"sAbs", tiny_float, 0, false},
        {"sFrac", tiny_float, 0, true},
    };
    for (const auto& [row, a, b, flushes] : rows) {
        nvo_ark_kernel_SetMode(ARK_DENORMALS_KEEP);
        EXPECT_NE(0, one(row, a, b)) << row;
        // The caller's own bits count where the field doesn't, and are replaced where it does.
        if (flushes) {
            EXPECT_NE(0, one(row, a, b, denormals_are_zero | 0x8000)) << row;
        }
        nvo_ark_kernel_SetMode(ARK_DENORMALS_FLUSH);
        EXPECT_EQ(flushes, one(row, a, b) == 0) << row;
        // Any other value of the field keeps denormals.
        nvo_ark_kernel_SetMode(0x80000);
        EXPECT_NE(0, one(row, a, b)) << row;
    }
}

// The scalar rounding rows look at bits: the caller's denormals-are-zero doesn't reach them.
TEST_F(Frames, RoundingOfDenormalsDoesNotDependOnTheCallersDenormalBits) {
    for (const char* row : {"sCeil", "dCeil"}) EXPECT_EQ(1, one(row, 0x1p-140, 0, denormals_are_zero)) << row;
    for (const char* row : {"sFloor", "dFloor"}) EXPECT_EQ(-1, one(row, -0x1p-140, 0, denormals_are_zero)) << row;
    EXPECT_EQ(1, one("dRint", 0x1p-1060, 0, upward | 0x40));
}

// What a callback finds in the control words.
struct ControlWords {
    std::uint32_t sse;
    std::uint16_t x87;
};
ControlWords inside;

std::int32_t look(ArkErrorRecord*) {
    inside.sse = _mm_getcsr() & 0xFFC0;
    asm volatile("fnstcw %0" : "=m"(inside.x87));
    inside.x87 &= 0x0F3F;
    return 1;
}

ControlWords seen_inside(const char* row, double a, std::uint32_t sse, std::uint16_t x87) {
    inside = {};
    nvo_ark_kernel_SetErrorCallBack(look);
    const std::uint16_t before = [] {
        std::uint16_t word;
        asm volatile("fnstcw %0" : "=m"(word));
        return word;
    }();
    asm volatile("fldcw %0" : : "m"(x87));
    one(row, a, 0, sse);
    asm volatile("fnclex\n\tfldcw %0" : : "m"(before));
    nvo_ark_kernel_ClearErrorCallBack();
    return inside;
}

TEST_F(Frames, CallbackRunsInsideTheFrame) {
    const auto is = [](ControlWords words, std::uint32_t sse, std::uint16_t x87, const char* row) {
        EXPECT_EQ(sse, words.sse) << row;
        EXPECT_EQ(x87, words.x87) << row;
    };
    // Sqrt replaces all but the x87 unit's precision and rounding.
    is(seen_inside("sSqrt", -1, 0x6000, 0x0640), 0x1F80, 0x063F, "sSqrt");
    is(seen_inside("dSqrtI", -1, 0xE040, 0x0F40), 0x1F80, 0x0F3F, "dSqrtI");
    is(seen_inside("sInvI", 0, 0x6000, 0x037F), 0x1F80, 0x033F, "sInvI");
    // Inv and Div keep the caller's rounding and denormal bits, and force the x87 unit to 53 bits.
    is(seen_inside("sInv", 0, 0x6000, 0x0F40), 0x7F80, 0x023F, "sInv");
    is(seen_inside("dDiv", 1, 0xA040, 0x037F), 0xBFC0, 0x023F, "dDiv");
    nvo_ark_kernel_SetMode(ARK_DENORMALS_FLUSH);
    is(seen_inside("sSqrt", -1, 0x1F80, 0x037F), 0x9FC0, 0x033F, "sSqrt");
    is(seen_inside("sInv", 0, 0x1F80, 0x037F), 0x1F80, 0x023F, "sInv");
}

TEST_F(Frames, CallbackThatChangesTheModeHasNoEffectOnTheRunningCall) {
    nvo_ark_kernel_SetErrorCallBack([](ArkErrorRecord*) -> std::int32_t {
        nvo_ark_kernel_SetMode(ARK_DENORMALS_FLUSH);
        return 0;
    });
    const double a[5] = {-1, 1, 1, 1, 0x1p-1060};
    double y[5];
    _arkdSqrt(5, a, y);
    EXPECT_EQ(0x1p-530, y[4]);
    _arkdSqrt(5, a, y);
    EXPECT_EQ(0, y[4]);
    nvo_ark_kernel_ClearErrorCallBack();
}

TEST_F(Frames, FlagsRaisedInsideReachTheCaller) {
    const std::uint32_t before = _mm_getcsr();
    for (std::uint32_t sse : {0x1F80U, 0x0000U, 0x7F80U}) { // with and without a change of the register
        const double three = 3;
        double y;
        _mm_setcsr(sse);
        _arkdInv(1, &three, &y);
        const std::uint32_t after_inv = _mm_getcsr() & 0x3F;
        _mm_setcsr(sse);
        _arkdMul(1, &three, &three, &y);
        const std::uint32_t after_mul = _mm_getcsr() & 0x3F;
        _mm_setcsr(before);
        EXPECT_EQ(0x20U, after_inv) << "inexact";
        EXPECT_EQ(0U, after_mul);
    }
}

} // namespace
