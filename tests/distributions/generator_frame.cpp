#include "distributions/generator_frame.h"

#include <gtest/gtest.h>

namespace {

using namespace nvo;

std::uint16_t x87_control() {
    std::uint16_t control = 0;
    asm volatile("fnstcw %0" : "=m"(control));
    return control;
}
void set_x87_control(std::uint16_t control) { asm volatile("fldcw %0" : : "m"(control)); }

std::int32_t callers_own(ArkErrorRecord*) { return 0; }

TEST(GeneratorFrame, GivesTheThreadBackAsItWas) {
    const std::uint32_t mode = nvo_ark_kernel_GetMode(), sse = _mm_getcsr();
    const std::uint16_t x87 = x87_control();
    nvo_ark_kernel_SetMode(ARK_ERRMODE_IGNORE | ARK_DENORMALS_FLUSH | ARK_LA);
    nvo_ark_kernel_SetErrorCallBack(callers_own);
    const std::uint32_t outside = nvo_ark_kernel_GetMode();
    constexpr std::uint32_t upward_unmasked = 0x5D00; // divisions by zero and invalid operations trap
    constexpr std::uint16_t single_unmasked = 0x007A; // with the bit that is always set
    _mm_setcsr(upward_unmasked);
    set_x87_control(single_unmasked);
    {
        const GeneratorFrame frame(ln_callback<double>);
        EXPECT_EQ(upward_unmasked | 0x1F80, _mm_getcsr());
        EXPECT_EQ(single_unmasked | 0x3F, x87_control());
        EXPECT_EQ(ARK_ERRMODE_CALLBACK, nvo_ark_kernel_GetMode() & ARK_MODE_ERRORS);
        EXPECT_EQ(ln_callback<double>, nvo_ark_kernel_GetErrorCallBack());
        EXPECT_EQ(ARK_DENORMALS_FLUSH, nvo_ark_kernel_GetMode() & ARK_MODE_DENORMALS);
        {
            const VectorCall call;
            EXPECT_EQ(ARK_DENORMALS_KEEP, nvo_ark_kernel_GetMode() & ARK_MODE_DENORMALS);
        }
        EXPECT_EQ(ARK_DENORMALS_FLUSH, nvo_ark_kernel_GetMode() & ARK_MODE_DENORMALS);
        volatile double zero = 0;
        volatile double result = 1 / zero; // raises a flag that doesn't get out
        static_cast<void>(result);
    }
    EXPECT_EQ(upward_unmasked, _mm_getcsr());
    EXPECT_EQ(single_unmasked, x87_control());
    _mm_setcsr(sse);
    set_x87_control(x87);
    EXPECT_EQ(outside, nvo_ark_kernel_GetMode());
    EXPECT_EQ(callers_own, nvo_ark_kernel_GetErrorCallBack());
    nvo_ark_kernel_SetErrorCallBack(nullptr);
    nvo_ark_kernel_SetMode(mode | ARK_DENORMALS_KEEP);
}

TEST(GeneratorFrame, CallbacksAnswerForTheEndsOfADomain) {
    double y[3] = {0, 1, -1};
    float z[2] = {0, 1};
    {
        const GeneratorFrame frame(guarded_ln_callback<double>);
        const VectorCall call;
        nvo_ark_kernel_dLn_ttab[2](3, y, y);
    }
    EXPECT_EQ(-744.4400719213812, y[0]);
    EXPECT_EQ(0, y[1]);
    EXPECT_TRUE(y[2] != y[2]); // not a singularity: the function's own answer
    {
        const GeneratorFrame frame(ln_callback<float>);
        const VectorCall call;
        nvo_ark_kernel_sLn_ttab[0](2, z, z);
    }
    EXPECT_EQ(-103.2789306640625F, z[0]);
    EXPECT_EQ(0, z[1]);

    struct Case {
        std::int32_t status;
        double arg1, answer;
    };
    constexpr Case cases[] = {
        {ARK_STATUS_SINGULARITY, 0, -744.4400719213812}, {ARK_STATUS_SINGULARITY, -1, -5.8635847487551676},
        {ARK_STATUS_SINGULARITY, 1, 5.8635847487551676}, {ARK_STATUS_DOMAIN, 0, 5.8635847487551676},
        {ARK_STATUS_DOMAIN, -2, -5.8635847487551676},    {ARK_STATUS_OVERFLOW, 1, 7}};
    for (const Case& c : cases) {
        ArkErrorRecord record{};
        record.status = c.status;
        record.arg1 = c.arg1;
        record.res1 = record.res2 = 7;
        EXPECT_EQ(0, gaussian_callback<double>(&record));
        EXPECT_EQ(c.answer, record.res1) << c.status << ' ' << c.arg1;
        EXPECT_EQ(c.answer, record.res2);
    }
    ArkErrorRecord record{};
    record.status = ARK_STATUS_DOMAIN;
    gaussian_callback<float>(&record);
    EXPECT_EQ(3.8325068950653076, record.res1);
}

} // namespace
