// Stands between the library and the function that finds solvers by name: tests count the fetches of a solver, refuse
// them, or answer with a solver of their own. An adapter keeps what it was given first, so that tests that change the
// answer run in a process of their own.
#pragma once

#include "platform/core.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace nvo::tests::fetches {

int count();
void refuse();
void answer_with(NvoServFunction solver);
std::string last_name();
// The function that is stood for.
NvoServFunction find(const char* name);

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
