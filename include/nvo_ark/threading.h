/* The threading descriptor: how statistics and data fitting run on the caller's threads. For C and C++.
 *
 * The library starts no thread. An entry that can work in parallel takes a descriptor, asks it how many threads there
 * are, decides by the size of its work how many to use, and hands bodies to it. A null descriptor means the calling
 * thread alone. examples/team/team.h has one on std::thread to copy.
 */
#ifndef NVO_ARK_THREADING_H
#define NVO_ARK_THREADING_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A piece of work: (item, thread, team_size, context) under run_for and run_for_ordered, and (thread, unused,
 * team_size, context) under run_team. Its result isn't read. Bodies never wait for each other, so that a descriptor
 * may run all of them one after the other. They may call the descriptor themselves (the deviations do, whose inner
 * means are computed by the library's own entry); a simple descriptor then runs the inner bodies in that thread. */
typedef int64_t OstTeamBody(int64_t item, int64_t thread, int64_t team_size, void* context);

typedef struct OstThreading {
    /* Runs the body once for each item 0, ..., count - 1 on up to `threads` threads and returns when all have run.
     * `thread` is the index of the thread that runs the item, below `threads`; no two bodies that run at the same time
     * have the same. */
    void (*run_for)(int64_t count, int64_t threads, void* context, OstTeamBody* body);
    /* The same, and the bodies may call run_ordered. */
    void (*run_for_ordered)(int64_t count, int64_t threads, void* context, OstTeamBody* body);
    /* Runs the body once for each thread 0, ..., threads - 1, with team_size = threads, and returns when all are done.
     */
    void (*run_team)(int64_t threads, void* context, OstTeamBody* body);
    /* Within a body of run_for_ordered: runs another body with these arguments, in the order of the items, one at a
     * time. */
    void (*run_ordered)(int64_t item, int64_t thread, int64_t team_size, void* context, OstTeamBody* body);
    /* How many threads may be used; below 1 counts as 1. */
    int32_t (*max_threads)(void);
} OstThreading;

#ifdef __cplusplus
}
#endif

#endif
