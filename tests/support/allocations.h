// Allocations that fail.
#pragma once

#include "platform/core_testing.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace nvo::tests {

// Fails each allocation of a call in turn, until it needs no more of them, and gives their number. A call with a
// failure has the status `no_memory` and keeps no block; without one its status is 0.
template <class Call> long fail_each_allocation(std::int32_t no_memory, Call call) {
    for (long n = 0;; ++n) {
        const long blocks = nvo_core_testing_live_blocks();
        nvo_core_testing_fail_allocation(n + 1);
        const std::int32_t status = call();
        const bool failed = nvo_core_testing_fail_allocation(0) == 0;
        EXPECT_EQ(failed ? no_memory : 0, status) << n;
        if (!failed) return n;
        EXPECT_GE(blocks, nvo_core_testing_live_blocks()) << n;
    }
}

} // namespace nvo::tests
