#include "platform/core.h"

#include <chrono>
#include <ctime>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

// Short turns meet in the compare-and-swap, long ones in the sleep; a lost wake-up would leave a thread asleep for
// good. The counter is plain, so that the thread sanitizer sees a hole too.
TEST(Locks, KeepThreadsApartAndWakeThemAll) {
    static NvoServLock lock;
    constexpr int threads_count = 8, turns = 2000;
    int count = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < threads_count; ++i)
        threads.emplace_back([&] {
            for (int turn = 0; turn < turns; ++turn) {
                nvo_serv_lock(&lock);
                ++count;
                if (turn % 200 == 0) std::this_thread::sleep_for(100us);
                nvo_serv_unlock(&lock);
            }
        });
    for (auto& thread : threads) thread.join();
    EXPECT_EQ(count, threads_count * turns);
    EXPECT_EQ(lock.word, 0u);
}

TEST(Locks, WaiterSleeps) {
    static NvoServLock lock;
    nvo_serv_lock(&lock);
    timespec cpu_time{};
    std::thread waiter([&] {
        nvo_serv_lock(&lock);
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &cpu_time);
        nvo_serv_unlock(&lock);
    });
    std::this_thread::sleep_for(100ms);
    nvo_serv_unlock(&lock);
    waiter.join();
    EXPECT_LT(std::chrono::seconds(cpu_time.tv_sec) + std::chrono::nanoseconds(cpu_time.tv_nsec), 30ms);
}
