// The mode word: its environment, its fields, one a thread.

#include "nvo_ark/vector_math.h"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>

namespace {

struct Probed {
    unsigned mode = 0;
    unsigned long long variable = 0;
};

// The mode word of a process that has the variable set to value, or not set for null.
Probed probe(const char* value) {
    if (value != nullptr) {
        setenv("NVO_ARK_MODE", value, 1);
    } else {
        unsetenv("NVO_ARK_MODE");
    }
    Probed probed;
    const std::unique_ptr<FILE, int (*)(FILE*)> out(popen("'" NVO_MODE_PROBE "'", "r"), pclose);
    EXPECT_EQ(2, std::fscanf(out.get(), "%x %llx", &probed.mode, &probed.variable)) << NVO_MODE_PROBE;
    unsetenv("NVO_ARK_MODE");
    return probed;
}

TEST(Mode, EnvironmentGivesTheWord) {
    const struct {
        const char* value;
        unsigned mode;
    } accepted[] = {
        {"ARK_LA", 0x1A01},
        {"ARK_HA", 0x1A02},
        {"ARK_EP", 0x1A03},
        {"ARK_LA,ARK_HA", 0x1A03}, // values are ORed
        {"ARK_DEFAULT_PRECISION", 0x1A02},
        {"ARK_FLOAT_CONSISTENT", 0x1A12},
        {"ARK_DOUBLE_CONSISTEN", 0x1A22},
        {"ARK_RESTORE", 0x1A32},
        {"ARK_ERRMODE_IGNORE", 0x102},
        {"ARK_ERRMODE_ERRNO", 0x202},
        {"ARK_EP,ARK_ERRMODE_STDERR", 0x403},
        {"ARK_ERRMODE_EXCEPT", 0x802},
        {"ARK_ERRMODE_CALLBACK", 0x1002},
        {"ARK_ERRMODE_NOERR", 0x2002},
        {"ARK_ERRMODE_DEFAULT,ARK_LA", 0x1A01},
        {"ARK_TRAP_INVALID,ARK_TRAP_DIVBYZERO,ARK_TRAP_OVERFLOW,ARK_TRAP_UNDERFLOW", 0xF001A02},
    };
    for (const auto& [value, mode] : accepted) EXPECT_EQ(mode, probe(value).mode) << value;
    EXPECT_EQ(0x403U, probe("ARK_EP,ARK_ERRMODE_STDERR").variable); // without defaults
}

TEST(Mode, MalformedEnvironmentCountsAsNotSet) {
    const char* const malformed[] = {
        nullptr,
        "",
        "ARK_",
        "ARK_HA,",
        "ARK_HA,ARK_",
        "ARK_HA,,ARK_LA",
        ",ARK_HA",
        " ARK_HA",
        "ARK_HA ",
        "ARK_HA, ARK_LA",
        "ARK_HA;ARK_LA",
        "ark_ha",
        "ARK_HAX",
        "ARK_DOUBLE_CONSISTENT",
        "HA",
        "A",
        "ARK_HA,A",
    };
    for (const char* value : malformed) {
        const Probed probed = probe(value);
        EXPECT_EQ(0x1A02U, probed.mode) << (value != nullptr ? value : "not set");
        EXPECT_EQ(~0ULL, probed.variable) << (value != nullptr ? value : "not set");
    }
}

TEST(Mode, LongEnvironmentEndsAtTheBuffer) {
    // 12, 7 and 18 characters a token, with its comma but for the last.
    const auto value = [](int restores, int has) {
        std::string text;
        for (int i = 0; i < restores; ++i) text += "ARK_RESTORE,";
        for (int i = 0; i < has; ++i) text += "ARK_HA,";
        return text + "ARK_ERRMODE_IGNORE";
    };
    ASSERT_EQ(254U, value(1, 32).size());
    ASSERT_EQ(255U, value(4, 27).size());
    ASSERT_EQ(256U, value(0, 34).size());
    EXPECT_EQ(0x132U, probe(value(1, 32).c_str()).mode);
    EXPECT_EQ(0x132U, probe(value(4, 27).c_str()).mode);
    EXPECT_EQ(0x1A02U, probe(value(0, 34).c_str()).mode);
    EXPECT_EQ(0x1A02U, probe((value(1, 32) + ",").c_str()).mode); // the comma is the buffer's last character
}

// On a thread of its own: a fresh word, whatever other tests did.
template <class F> void on_fresh_thread(F f) { std::thread(f).join(); }

TEST(Mode, SetModeReplacesFieldsThatAreNotZero) {
    on_fresh_thread([] {
        EXPECT_EQ(0x1A02U, nvo_ark_kernel_SetMode(0)); // the first use reads the environment
        EXPECT_EQ(0x1A02U, nvo_ark_kernel_SetMode(0x100));
        EXPECT_EQ(0x102U, nvo_ark_kernel_SetMode(0x10)); // no mask for the precision field
        EXPECT_EQ(0x102U, _arkSetMode(0x280001));
        EXPECT_EQ(0x280101U, nvo_ark_kernel_GetMode());
        nvo_ark_kernel_SetMode(0xF7F3FF3F);
        EXPECT_EQ(0x733FF0FU, _arkGetMode()); // only the masked bits, each field replaced whole
        nvo_ark_kernel_SetMode(0x1140000);
        EXPECT_EQ(0x117FF0FU, nvo_ark_kernel_GetMode());
    });
}

TEST(Mode, TableIndexIsTheAccuracyFieldLessOne) {
    on_fresh_thread([] {
        EXPECT_EQ(1, nvo_ark_kernel_GetTTableIndex());
        nvo_ark_kernel_SetMode(ARK_EP);
        EXPECT_EQ(2, nvo_ark_kernel_GetTTableIndex());
        EXPECT_EQ(0, nvo_ark_kernel_GetTTableIndexM(99, 0x1A01));
        EXPECT_EQ(2, nvo_ark_kernel_GetTTableIndex());
    });
    EXPECT_EQ(1, dll_cpu_version());
}

TEST(Threads, EachHasItsOwnWordStatusAndCallback) {
    nvo_ark_kernel_SetMode(ARK_LA);
    nvo_ark_kernel_SetErrStatus(3);
    const auto other = [](unsigned accuracy) {
        EXPECT_EQ(0x1A02U, nvo_ark_kernel_GetMode());
        EXPECT_EQ(0, nvo_ark_kernel_GetErrStatus());
        EXPECT_EQ(nullptr, nvo_ark_kernel_GetErrorCallBack());
        for (int i = 0; i < 1000; ++i) {
            nvo_ark_kernel_SetMode(accuracy);
            nvo_ark_kernel_SetErrStatus(i);
            EXPECT_EQ(accuracy, nvo_ark_kernel_GetMode() & 0xFU);
            EXPECT_EQ(i, nvo_ark_kernel_GetErrStatus());
        }
    };
    std::thread a(other, 1);
    std::thread b(other, 3);
    a.join();
    b.join();
    EXPECT_EQ(3, nvo_ark_kernel_ClearErrStatus());
    EXPECT_EQ(0x1A01U, nvo_ark_kernel_SetMode(ARK_HA) & 0xFFFFU);
}

} // namespace
