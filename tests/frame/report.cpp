// What a report does, through the exported reporters and through kernels.

#include "nvo_ark/vector_math.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cfenv>
#include <cmath>
#include <csignal>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

std::uint16_t x87_status() {
    std::uint16_t status;
    asm volatile("fnstsw %0" : "=m"(status));
    return status;
}
std::uint16_t x87_control() {
    std::uint16_t control;
    asm volatile("fnstcw %0" : "=m"(control));
    return control;
}

// What the callback of these tests saw last, how often it was called, and what it does.
ArkErrorRecord last_record;
int calls;
std::function<std::int32_t(ArkErrorRecord*)> reaction;

std::int32_t callback(ArkErrorRecord* record) {
    ++calls;
    last_record = *record;
    return reaction ? reaction(record) : 0;
}

class Report : public testing::Test {
protected:
    void SetUp() override {
        nvo_ark_kernel_SetMode(ARK_MODE_DEFAULT | ARK_DENORMALS_KEEP);
        nvo_ark_kernel_ClearErrStatus();
        errors(ARK_ERRMODE_DEFAULT);
        calls = 0;
        reaction = nullptr;
        errno = 0;
        asm volatile("fnclex");
    }
    void TearDown() override {
        nvo_ark_kernel_ClearErrorCallBack();
        nvo_ark_kernel_SetInterfInputVectorPointer(nullptr);
        nvo_ark_kernel_SetMode(ARK_MODE_DEFAULT);
    }
    static void errors(std::uint32_t field) { nvo_ark_kernel_SetMode(field); }

    // Roots of a vector whose third element is outside the domain.
    static std::vector<float> roots() {
        const float a[5] = {1, 4, -9, 16, 25};
        std::vector<float> y(5, 0.0F);
        _arksSqrt(5, a, y.data());
        return y;
    }
};

TEST_F(Report, NoErrorModeRecordsNothing) {
    nvo_ark_kernel_SetErrorCallBack(callback);
    errors(ARK_ERRMODE_NOERR);
    EXPECT_TRUE(std::isnan(roots()[2]));
    EXPECT_EQ(0, nvo_ark_kernel_GetErrStatus());
    EXPECT_EQ(0, calls);
    EXPECT_EQ(0, errno);
    EXPECT_EQ(0, x87_status() & 0x3F);
}

TEST_F(Report, IgnoreModeKeepsTheStatusOnly) {
    nvo_ark_kernel_SetErrorCallBack(callback);
    errors(ARK_ERRMODE_IGNORE);
    EXPECT_TRUE(std::isnan(roots()[2]));
    EXPECT_EQ(ARK_STATUS_DOMAIN, nvo_ark_kernel_GetErrStatus());
    EXPECT_EQ(0, calls);
    EXPECT_EQ(0, errno);
    EXPECT_EQ(0, x87_status() & 0x3F);
}

TEST_F(Report, IgnoreAndNoErrorActOnlyAlone) {
    errors(ARK_ERRMODE_IGNORE | ARK_ERRMODE_ERRNO);
    roots();
    EXPECT_EQ(EDOM, errno);
    nvo_ark_kernel_ClearErrStatus();
    errors(ARK_ERRMODE_NOERR | ARK_ERRMODE_IGNORE);
    roots();
    EXPECT_EQ(ARK_STATUS_DOMAIN, nvo_ark_kernel_GetErrStatus());
}

TEST_F(Report, DefaultModeSetsErrnoAndTheX87Flag) {
    const std::vector<float> y = roots();
    EXPECT_EQ(0x7FC00000U, std::bit_cast<std::uint32_t>(y[2]));
    EXPECT_EQ((std::vector<float>{1, 2, 4, 5}), (std::vector<float>{y[0], y[1], y[3], y[4]}));
    EXPECT_EQ(ARK_STATUS_DOMAIN, nvo_ark_kernel_GetErrStatus());
    EXPECT_EQ(EDOM, errno);
    EXPECT_EQ(0x01, x87_status() & 0x3F);
}

TEST_F(Report, RecordShowsTheElement) {
    const auto seen = [](const std::vector<float>& y) {
        EXPECT_EQ(1, calls);
        EXPECT_EQ(ARK_STATUS_DOMAIN, last_record.status);
        EXPECT_EQ(2, last_record.index);
        EXPECT_EQ(-9, last_record.arg1);
        EXPECT_EQ(-9, last_record.arg2);
        EXPECT_TRUE(std::isnan(last_record.res1));
        EXPECT_STREQ("vsSqrt", last_record.funcName);
        EXPECT_EQ(6, last_record.funcNameLen);
        EXPECT_TRUE(std::isnan(y[2]));
    };
    nvo_ark_kernel_SetErrorCallBack(callback);
    seen(roots());
}

TEST_F(Report, CallbackThatReturns0ReplacesTheResult) {
    nvo_ark_kernel_SetErrorCallBack(callback);
    reaction = [](ArkErrorRecord* record) {
        record->res1 = 7;
        return 0;
    };
    EXPECT_EQ((std::vector<float>{1, 2, 7, 4, 5}), roots());
    EXPECT_EQ(EDOM, errno); // the standard handler still ran
    errno = 0;
    errors(ARK_ERRMODE_CALLBACK); // alone: no standard handler
    EXPECT_EQ(7, roots()[2]);
    EXPECT_EQ(0, errno);
}

TEST_F(Report, CallbackThatReturnsAnotherValueEndsTheReport) {
    nvo_ark_kernel_SetErrorCallBack(callback);
    reaction = [](ArkErrorRecord* record) {
        record->res1 = 7;
        return 1;
    };
    EXPECT_TRUE(std::isnan(roots()[2]));
    EXPECT_EQ(0, errno);
    EXPECT_EQ(0, x87_status() & 0x3F);
    EXPECT_EQ(ARK_STATUS_DOMAIN, nvo_ark_kernel_GetErrStatus());
}

TEST_F(Report, LastStatusStays) {
    const double a[2] = {-1, 1}, b[2] = {0, 1};
    double y[2];
    _arkdSqrt(2, a, y);
    EXPECT_EQ(ARK_STATUS_DOMAIN, nvo_ark_kernel_GetErrStatus());
    _arkdDiv(2, a, b, y);
    EXPECT_EQ(ARK_STATUS_SINGULARITY, nvo_ark_kernel_GetErrStatus());
    _arkdSqrt(1, a + 1, y); // a clean call clears nothing
    EXPECT_EQ(ARK_STATUS_SINGULARITY, nvo_ark_kernel_SetErrStatus(5));
    EXPECT_EQ(5, nvo_ark_kernel_ClearErrStatus());
    EXPECT_EQ(0, nvo_ark_kernel_GetErrStatus());
}

TEST_F(Report, CallbackCallsKeepTheirBitOfTheModeWord) {
    errors(ARK_ERRMODE_ERRNO);
    EXPECT_EQ(nullptr, nvo_ark_kernel_SetErrorCallBack(callback));
    EXPECT_EQ(unsigned{ARK_ERRMODE_ERRNO | ARK_ERRMODE_CALLBACK}, nvo_ark_kernel_GetMode() & ARK_MODE_ERRORS);
    EXPECT_EQ(callback, nvo_ark_kernel_GetErrorCallBack());
    EXPECT_EQ(callback, nvo_ark_kernel_SetErrorCallBack(nullptr));
    EXPECT_EQ(unsigned{ARK_ERRMODE_ERRNO}, nvo_ark_kernel_GetMode() & ARK_MODE_ERRORS);
    // The only bit of the field stays, without effect.
    errors(ARK_ERRMODE_CALLBACK);
    _arkSetErrorCallBack(callback);
    EXPECT_EQ(callback, _arkClearErrorCallBack());
    EXPECT_EQ(unsigned{ARK_ERRMODE_CALLBACK}, nvo_ark_kernel_GetMode() & ARK_MODE_ERRORS);
    roots();
    EXPECT_EQ(0, calls);
    EXPECT_EQ(ARK_STATUS_DOMAIN, nvo_ark_kernel_GetErrStatus());
}

TEST_F(Report, StatusesHaveTheirErrnoAndFlag) {
    const struct {
        int status, error, flag;
    } answers[] = {{-2, EACCES, 0},   {-1, EINVAL, 0},   {0, 0, 0},      {1, EDOM, 0x01}, {2, ERANGE, 0x04},
                   {3, ERANGE, 0x08}, {4, ERANGE, 0x10}, {5, EFAULT, 0}, {-3, EFAULT, 0}};
    double v = 1;
    for (const auto& [status, error, flag] : answers) {
        errno = -1;
        asm volatile("fnclex");
        const bool has_values = status != -1 && status != -2;
        double* vector = has_values ? &v : nullptr;
        nvo_ark_kernel_dError(status, 0, vector, vector, vector, vector, "vdTest");
        EXPECT_EQ(error, errno) << status;
        EXPECT_EQ(flag, x87_status() & 0x3F) << status;
        EXPECT_EQ(status, nvo_ark_kernel_GetErrStatus());
    }
}

// The calls of each reporter on three-element vectors, with a record whose values must come from element 1 or stride.
template <class E> struct Reporters {
    void (*unit)(std::int32_t, std::int32_t, const E*, const E*, E*, E*, const char*);
    void (*strided)(std::int32_t, std::int32_t, const E*, std::int32_t, const E*, std::int32_t, E*, std::int32_t, E*,
                    std::int32_t, const char*);
};

template <class E>
void check_reporters(Reporters<E> reporters, const std::vector<E>& values, const std::vector<E>& replaced) {
    const auto same = [](const E& a, const E& b) { return std::memcmp(&a, &b, sizeof(E)) == 0; };
    std::vector<E> a1(7, values[0]), a2(7, values[0]), r1(7, values[0]), r2(7, values[0]);
    // Element 1 in the unit-stride call; elements 2, 3, 4, 6 in the strided one.
    a1[1] = a1[2] = values[1];
    a2[1] = a2[3] = values[2];
    r1[1] = r1[4] = values[3];
    r2[1] = r2[6] = values[4];
    const auto check_record = [&](int index) {
        EXPECT_EQ(index, last_record.index);
        EXPECT_EQ(1, last_record.arg1);
        EXPECT_EQ(2, last_record.arg2);
        EXPECT_EQ(3, last_record.res1);
        EXPECT_EQ(4, last_record.res2);
    };
    reaction = [](ArkErrorRecord* record) {
        std::swap(record->res1, record->res2);
        std::swap(record->res1Im, record->res2Im);
        return 0;
    };
    nvo_ark_kernel_SetErrorCallBack(callback);
    reporters.unit(ARK_STATUS_OVERFLOW, 1, a1.data(), a2.data(), r1.data(), r2.data(), "unit");
    check_record(1);
    EXPECT_TRUE(same(r1[1], values[4]) && same(r2[1], values[3]));
    EXPECT_TRUE(same(r1[0], values[0]) && same(r1[2], values[0]));

    reporters.strided(ARK_STATUS_OVERFLOW, -1, a1.data() + 4, 2, a2.data() + 4, 1, r1.data() + 4, 0, r2.data() + 3, -3,
                      "strided");
    check_record(-1);
    EXPECT_TRUE(same(r1[4], values[4]) && same(r2[6], values[3]));

    // A piece of a longer vector: the index counts from its start, the values are the piece's.
    nvo_ark_kernel_SetInterfInputVectorPointer(a1.data());
    reporters.unit(ARK_STATUS_OVERFLOW, 0, a1.data() + 2, a2.data() + 3, r1.data() + 4, r2.data() + 6, "piece");
    EXPECT_EQ(2, last_record.index);
    EXPECT_EQ(1, last_record.arg1);
    nvo_ark_kernel_SetInterfInputVectorPointer(nullptr);

    // One result vector: what the callback left in res1 is what stands.
    reaction = [](ArkErrorRecord* record) {
        record->res1 = 3;
        record->res1Im = 0.5;
        record->res2 = 4;
        return 0;
    };
    reporters.unit(ARK_STATUS_OVERFLOW, 0, a1.data(), a1.data(), r1.data(), r1.data(), "one");
    EXPECT_TRUE(same(r1[0], replaced[0]));
}

TEST_F(Report, ReportersOfAllElementTypes) {
    check_reporters<float>({nvo_ark_kernel_sError, nvo_ark_kernel_sErrorI}, {0, 1, 2, 3, 4}, {3});
    check_reporters<double>({nvo_ark_kernel_dError, nvo_ark_kernel_dErrorI}, {0, 1, 2, 3, 4}, {3});
    check_reporters<std::uint16_t>({nvo_ark_kernel_hError, nvo_ark_kernel_hErrorI}, {0, 0x3C00, 0x4000, 0x4200, 0x4400},
                                   {0x4200});
    check_reporters<ArkComplex8>({nvo_ark_kernel_cError, nvo_ark_kernel_cErrorI},
                                 {{0, 0}, {1, 5}, {2, 6}, {3, 7}, {4, 8}}, {{3, 0.5F}});
    EXPECT_EQ(0, last_record.arg1Im);
    check_reporters<ArkComplex16>({nvo_ark_kernel_zError, nvo_ark_kernel_zErrorI},
                                  {{0, 0}, {1, 5}, {2, 6}, {3, 7}, {4, 8}}, {{3, 0.5}});
}

TEST_F(Report, ComplexRecordsHaveImaginaryParts) {
    const ArkComplex16 a{1, 5}, b{2, 6};
    ArkComplex16 r{3, 7};
    nvo_ark_kernel_SetErrorCallBack(callback);
    nvo_ark_kernel_zError(3, 0, &a, &b, &r, &r, "vzMul");
    EXPECT_EQ(5, last_record.arg1Im);
    EXPECT_EQ(6, last_record.arg2Im);
    EXPECT_EQ(7, last_record.res1Im);
    EXPECT_EQ(7, last_record.res2Im);
}

TEST_F(Report, LongNamesAreCut) {
    nvo_ark_kernel_SetErrorCallBack(callback);
    const std::string name(100, 'x');
    for (std::size_t length : {0, 46, 47, 48, 100}) {
        nvo_ark_kernel_sError(-1, 0, nullptr, nullptr, nullptr, nullptr, name.substr(0, length).c_str());
        EXPECT_EQ(name.substr(0, std::min<std::size_t>(length, 47)), last_record.funcName);
        EXPECT_EQ(static_cast<int>(std::min<std::size_t>(length, 47)), last_record.funcNameLen);
    }
}

std::string printed(const std::function<void()>& f) {
    testing::internal::CaptureStderr();
    f();
    return testing::internal::GetCapturedStderr();
}

TEST_F(Report, StandardErrorModePrintsTheValuesThatThereAre) {
    errors(ARK_ERRMODE_STDERR);
    const auto lines = [](const std::string& text) { return std::count(text.begin(), text.end(), '\n'); };
    const double a1 = 0.5, a2 = 1.5, zero = 0;
    double r1 = 2.5, r2 = 3.5;
    const auto report = [&](int status, const double& second_argument, double& second_result) {
        return printed([&] { nvo_ark_kernel_dError(status, 0, &a1, &second_argument, &r1, &second_result, "vdName"); });
    };
    EXPECT_EQ(3, lines(report(1, a1, r1)));
    EXPECT_EQ(4, lines(report(1, a1, r2)));
    EXPECT_EQ(4, lines(report(1, a2, r1)));
    EXPECT_EQ(5, lines(report(1, a2, r2)));
    EXPECT_EQ(3, lines(report(1, zero, r1))); // a second argument of 0 doesn't show
    EXPECT_EQ(1, lines(report(-1, a2, r2)));
    EXPECT_EQ(1, lines(report(-2, a2, r2)));
    EXPECT_EQ("", report(0, a2, r2));

    const std::string text = report(99, a2, r2);
    for (const char* part : {"vdName", "0.5", "1.5", "2.5", "3.5", "unknown"}) {
        EXPECT_NE(std::string::npos, text.find(part)) << part << " in\n" << text;
    }
    EXPECT_NE(std::string::npos, printed([] { roots(); }).find("vsSqrt: argument outside the domain"));
    EXPECT_EQ(0, errno);
}

TEST_F(Report, TrapBitsMakeTheExceptionFire) {
    const struct {
        std::uint32_t trap;
        int status;
    } traps[] = {{ARK_TRAP_INVALID, 1}, {ARK_TRAP_DIVBYZERO, 2}, {ARK_TRAP_OVERFLOW, 3}, {ARK_TRAP_UNDERFLOW, 4}};
    for (const auto& [trap, status] : traps) {
        const auto report = [trap = trap](int reported) {
            std::signal(SIGFPE, SIG_DFL);
            errors(ARK_ERRMODE_EXCEPT);
            nvo_ark_kernel_SetMode(trap);
            const double a = 1;
            double r = 1;
            nvo_ark_kernel_dError(reported, 0, &a, &a, &r, &r, "vdTrap");
        };
        EXPECT_EXIT(report(status), testing::KilledBySignal(SIGFPE), "") << status;
        EXPECT_EXIT((report(status % 4 + 1), std::_Exit(0)), testing::ExitedWithCode(0), "") << status;
    }
}

TEST_F(Report, ExceptionLeavesTheX87UnitMasked) {
    const std::uint16_t before = x87_control();
    const std::uint16_t unmasked = before & ~0x20; // inexact, which no status raises
    asm volatile("fldcw %0" : : "m"(unmasked));
    const double a = 1;
    double r = 1;
    nvo_ark_kernel_dError(1, 0, &a, &a, &r, &r, "vdMask");
    EXPECT_EQ(before | 0x3F, x87_control());
    EXPECT_EQ(0x01, x87_status() & 0x3F);
    asm volatile("fnclex\n\tfldcw %0" : : "m"(before));
}

} // namespace
