#include "platform/core.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

TEST(Processor, AgreesWithTheKernelAboutVectorAes) {
    std::ifstream file("/proc/cpuinfo");
    const std::string info{std::istreambuf_iterator<char>(file), {}};
    ASSERT_NE(info.find(" sse2 "), info.npos);
    EXPECT_EQ(nvo_serv_cpuisqrx(), info.find(" vaes ") != info.npos ? 1 : 0);
}

TEST(ThreadFunctions, UnknownNamesGiveNull) {
    for (const char* name : {"", "nvo_blas", "no such function", static_cast<const char*>(nullptr)})
        EXPECT_EQ(nvo_serv_load_thread_fun(name), nullptr);
}
