#include "platform/core.h"

#include <cstdlib>
#include <gtest/gtest.h>

TEST(Environment, CopiesWholeValuesOnly) {
    constexpr char name[] = "NVO_PLATFORM_TEST";
    const struct {
        const char* value;
        int size, result;
        const char* copied;
    } rows[] = {
        {"ARK_HA", 8, 6, "ARK_HA"},   {"ARK_HA", 7, 6, "ARK_HA"},    {"ARK_HA", 6, -1, ""}, {"ARK_HA", 1, -1, ""},
        {"ARK_HA", 0, -1, "#######"}, {"ARK_HA", -5, -1, "#######"}, {"", 8, 0, ""},        {nullptr, 8, 0, ""}};
    for (const auto& row : rows) {
        row.value ? setenv(name, row.value, 1) : unsetenv(name);
        char buffer[] = "#######";
        EXPECT_EQ(nvo_serv_getenv(name, buffer, row.size), row.result) << row.size;
        EXPECT_STREQ(buffer, row.copied) << row.size;
        if (row.result < 1) {
            EXPECT_STREQ(buffer + 1, "######") << row.size;
        }
    }
    char buffer[8];
    EXPECT_EQ(nvo_serv_getenv(nullptr, buffer, 8), -1);
    EXPECT_EQ(nvo_serv_getenv("PATH", nullptr, 8), -1);
}
