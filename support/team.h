// The caller's threads, from the side of the library.
#pragma once

#include "nvo_ark/threading.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <type_traits>

namespace nvo {

class Team {
public:
    explicit Team(const OstThreading* threading) : threading_(threading) {}

    std::int64_t max_threads() const { return threading_ ? std::max(threading_->max_threads(), 1) : 1; }

    // body(item, thread) for each item below `count`. One thread is the caller's own, without a call of the descriptor.
    template <class Body> void run_for(std::int64_t count, std::int64_t threads, Body& body) const {
        if (!threading_ || threads <= 1) {
            for (std::int64_t item = 0; item < count; ++item) body(item, std::int64_t{0});
            return;
        }
        threading_->run_for(count, threads, &body,
                            [](std::int64_t item, std::int64_t thread, std::int64_t, void* context) -> std::int64_t {
                                (*static_cast<Body*>(context))(item, thread);
                                return 0;
                            });
    }

    // body(thread) for each thread below `threads`.
    template <class Body> void run_team(std::int64_t threads, Body& body) const {
        if (!threading_ || threads <= 1) {
            body(std::int64_t{0});
            return;
        }
        threading_->run_team(threads, &body,
                             [](std::int64_t thread, std::int64_t, std::int64_t, void* context) -> std::int64_t {
                                 (*static_cast<Body*>(context))(thread);
                                 return 0;
                             });
    }

private:
    const OstThreading* threading_;
};

// The status of a team: bodies report, the caller reads after the team has ended. Of several failures one is kept.
class TeamStatus {
public:
    void report(std::int32_t status) {
        if (status < 0) status_.store(status, std::memory_order_relaxed);
    }
    std::int32_t get() const { return status_.load(std::memory_order_relaxed); }

private:
    std::atomic<std::int32_t> status_{0};
};

} // namespace nvo
