/* Test hooks of the core service library: failing allocations and a count of live blocks. For tests only; the
 * kernel library doesn't use them. A test of every failure path looks like this:
 *
 *     for (long n = 1;; ++n) {
 *         nvo_core_testing_fail_allocation(n);
 *         int status = call_under_test();
 *         if (nvo_core_testing_fail_allocation(0) > 0) break;      // fewer than n allocations: all were tried
 *         EXPECT_EQ(status, out_of_memory);
 *         EXPECT_EQ(nvo_core_testing_live_blocks(), blocks_before);
 *     }
 *
 * Both functions may be called from any thread. */
#ifndef NVO_PLATFORM_CORE_TESTING_H
#define NVO_PLATFORM_CORE_TESTING_H

#include "platform/core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Makes the n-th call of nvo_serv_allocate from now on fail, counted over all threads; the calls before and behind
 * it are served. This replaces an earlier order that hasn't struck yet; n below 1 only cancels it. Returns how many
 * calls the earlier order was still away from its failure: 0 if it has struck or there was none. */
NVO_CORE_API long nvo_core_testing_fail_allocation(long n);

/* The number of blocks that nvo_serv_allocate has given and nvo_serv_deallocate hasn't taken back. */
NVO_CORE_API long nvo_core_testing_live_blocks(void);

#ifdef __cplusplus
}
#endif

#endif
