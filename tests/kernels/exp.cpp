// Exp, Exp2, Exp10.

#include "tests/support/special_cases.h"

namespace {

using namespace nvo::tests;

const Case both[] = {
    {"Exp", 0, 0, 1, 0, 0},
    {"Exp", -0.0, 0, 1, 0, 0},
    {"Exp", -inf, 0, 0.0, 0, 0},
    {"Exp", inf, 0, inf, 0, 0},
    {"Exp", quiet_nan, 0, quiet_nan, 0, 0},
    {"Exp2", -inf, 0, 0.0, 0, 0},
    {"Exp2", inf, 0, inf, 0, 0},
    {"Exp2", quiet_nan, 0, quiet_nan, 0, 0},
    {"Exp2", 10, 0, 1024, 0, 0},
    {"Exp2", -126, 0, 0x1p-126, 0, 0},
    {"Exp10", -inf, 0, 0.0, 0, 0},
    {"Exp10", inf, 0, inf, 0, 0},
    {"Exp10", quiet_nan, 0, quiet_nan, 0, 0},
    {"Exp10", 3, 0, 1000, 0, 0},
};

const Case floats[] = {
    {"Exp", 0x1.62e42ep6, 0, 0x1.ffff08p127, 0, 0}, // the last that doesn't overflow
    {"Exp", 0x1.62e43p6, 0, inf, 0, ARK_STATUS_OVERFLOW}, {"Exp", 88.73, 0, inf, 0, ARK_STATUS_OVERFLOW},
    {"Exp", -103.98, 0, 0.0, 0, ARK_STATUS_UNDERFLOW},    {"Exp", -100, 0, 0x1.bp-145, 0, ARK_STATUS_UNDERFLOW},
    {"Exp2", 128, 0, inf, 0, ARK_STATUS_OVERFLOW},        {"Exp2", -149.5, 0, 0x1p-149, 0, ARK_STATUS_UNDERFLOW},
    {"Exp2", -150, 0, 0.0, 0, ARK_STATUS_UNDERFLOW},      {"Exp2", -127, 0, 0x1p-127, 0, ARK_STATUS_UNDERFLOW},
    {"Exp10", 0x1.344134p5, 0, 0x1.ffff66p127, 0, 0},     {"Exp10", 0x1.344136p5, 0, inf, 0, ARK_STATUS_OVERFLOW},
    {"Exp10", -46, 0, 0.0, 0, ARK_STATUS_UNDERFLOW},      {"Exp10", -45, 0, 0x1p-149, 0, ARK_STATUS_UNDERFLOW},
};

const Case doubles[] = {
    {"Exp", 709.79, 0, inf, 0, ARK_STATUS_OVERFLOW},
    {"Exp", -745.14, 0, 0.0, 0, ARK_STATUS_UNDERFLOW},
    {"Exp", -745.13, 0, 0x1p-1074, 0, ARK_STATUS_UNDERFLOW},
    {"Exp2", 1024, 0, inf, 0, ARK_STATUS_OVERFLOW},
    {"Exp2", 1023, 0, 0x1p1023, 0, 0},
    {"Exp2", -1022, 0, 0x1p-1022, 0, 0},
    {"Exp2", -1074, 0, 0x1p-1074, 0, ARK_STATUS_UNDERFLOW},
    {"Exp2", -1075, 0, 0.0, 0, ARK_STATUS_UNDERFLOW},
    {"Exp10", 308.3, 0, inf, 0, ARK_STATUS_OVERFLOW},
    {"Exp10", -323.7, 0, 0.0, 0, ARK_STATUS_UNDERFLOW},
    {"Exp10", -323.6, 0, 0x1p-1074, 0, ARK_STATUS_UNDERFLOW},
};

TEST_F(SpecialValues, Exponentials) {
    check_cases("sd", both);
    check_cases("s", floats);
    check_cases("d", doubles);
}

// With no errors wanted at all, the lanes settle overflow and underflow themselves, to the same results.
TEST_F(SpecialValues, ExpWithoutErrorsHasTheSameResults) {
    const float a[8] = {100,  -200, static_cast<float>(quiet_nan), 1, static_cast<float>(inf), -static_cast<float>(inf),
                        -100, 88};
    float with[8], without[8];
    _arksExp(8, a, with);
    EXPECT_EQ(ARK_STATUS_UNDERFLOW, nvo_ark_kernel_ClearErrStatus());
    nvo_ark_kernel_SetMode(ARK_ERRMODE_NOERR);
    _arksExp(8, a, without);
    EXPECT_EQ(0, nvo_ark_kernel_GetErrStatus());
    for (int i = 0; i < 8; ++i) EXPECT_TRUE(same(with[i], without[i])) << a[i];
}

} // namespace
