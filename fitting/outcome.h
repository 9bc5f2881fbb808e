// The status of a call that works in blocks and calls the caller's functions, on any number of threads what a serial
// run returns: the failure of the first block that fails, or else what the last callback of the last block returned.
#pragma once

#include "platform/core.h"

#include <atomic>
#include <cstdint>
#include <limits>

namespace nvo::fitting {

class Outcome {
public:
    // A block behind a failed one is never looked at. One in front of it is: it may fail as well.
    bool wanted(std::int64_t block) const { return block < failed_block_.load(std::memory_order_relaxed); }

    // A negative status is a failure; others are those of callbacks, to be reported if one was called.
    void report(std::int64_t block, std::int32_t status) {
        nvo_serv_lock(&lock_);
        if (status < 0 && wanted(block)) {
            failed_block_.store(block, std::memory_order_relaxed);
            failure_ = status;
        } else if (status >= 0 && block >= last_block_) {
            last_block_ = block;
            last_status_ = status;
        }
        nvo_serv_unlock(&lock_);
    }

    // After the team has ended.
    std::int32_t get() const { return failure_ < 0 ? failure_ : last_status_; }

private:
    NvoServLock lock_{};
    std::atomic<std::int64_t> failed_block_{std::numeric_limits<std::int64_t>::max()};
    std::int64_t last_block_ = -1;
    std::int32_t failure_ = 0, last_status_ = 0;
};

} // namespace nvo::fitting
