// Stands between the library and the function that finds solvers by name: tests see the fetches of solvers, refuse
// them, or answer with solvers of their own. An adapter keeps what it was given first, so that tests that change the
// answer run in a process of their own.
#pragma once

#include "platform/core.h"

#include <cstdlib>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <mutex>
#include <string>
#include <vector>

namespace nvo::tests::fetches {

// The function that is stood for.
inline NvoServFunction find(const char* name) {
    using Find = NvoServFunction(const char*);
    return reinterpret_cast<Find*>(dlsym(RTLD_NEXT, "nvo_serv_load_thread_fun"))(name);
}

inline std::mutex mutex;
inline std::vector<std::string> names; // that were asked for
inline NvoServFunction (*answer)(const char* name) = find;

// Runs the test once more in a new process up to here, and body() there; a failure of it is one of this test.
template <class Body> void in_new_process(Body body) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            body();
            std::exit(testing::Test::HasFailure() ? 1 : 0);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace nvo::tests::fetches
