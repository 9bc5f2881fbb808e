// A threading descriptor on std::thread: a small team that sleeps between calls. Copy it, or use it as the pattern for
// one on your own pool.
//
//     Team team(4);
//     _ostdSSBasic(task, estimates, method, team.descriptor());
#pragma once

#include <nvo_ark/threading.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

// The functions of a descriptor have no argument that tells them whose they are, so one team at a time is current: the
// last one made. Calls from several threads at once take turns.
class Team {
public:
    // Of `threads` threads, the calling one included.
    explicit Team(int threads) : size_(std::max(threads, 1)) {
        for (int i = 1; i < size_; ++i) threads_.emplace_back([this, i] { work(i); });
        current = this;
    }
    ~Team() {
        {
            const std::lock_guard lock(mutex_);
            stop_ = true;
        }
        wake_.notify_all();
        for (std::thread& thread : threads_) thread.join();
        current = nullptr;
    }
    Team(const Team&) = delete;
    Team& operator=(const Team&) = delete;

    static const OstThreading* descriptor() {
        static constexpr OstThreading functions = {run_for, run_for_ordered, run_team, run_ordered, max_threads};
        return &functions;
    }

private:
    using Job = std::function<void(std::int64_t member)>;

    // ---- the descriptor --------------------------------------------------------------------------------------------

    static void run_for(std::int64_t count, std::int64_t threads, void* context, OstTeamBody* body) {
        // Runs of neighbouring items, whose data mostly lie side by side; short ones, so that no thread waits long for
        // another at the end.
        const std::int64_t members = std::min(threads, count), run = std::max<std::int64_t>(count / (members * 16), 1);
        std::atomic<std::int64_t> next = 0;
        current->run(members, [&](std::int64_t member) {
            for (std::int64_t first = next.fetch_add(run); first < count; first = next.fetch_add(run)) {
                for (std::int64_t item = first; item < std::min(first + run, count); ++item)
                    body(item, member, members, context);
            }
        });
    }
    static void run_for_ordered(std::int64_t count, std::int64_t threads, void* context, OstTeamBody* body) {
        std::atomic<std::int64_t> next = 0;
        const std::int64_t members = std::min(threads, count);
        Order order, *outer = std::exchange(current->order_, &order);
        current->run(members, [&](std::int64_t member) {
            for (std::int64_t item = next++; item < count; item = next++) {
                body(item, member, members, context);
                order.pass(item); // a body without a call of run_ordered holds up nobody
            }
        });
        current->order_ = outer;
    }
    static void run_team(std::int64_t threads, void* context, OstTeamBody* body) {
        current->run(threads, [&](std::int64_t member) { body(member, 0, threads, context); });
    }
    static void run_ordered(std::int64_t item, std::int64_t thread, std::int64_t team_size, void* context,
                            OstTeamBody* body) {
        current->order_->wait_for(item);
        body(item, thread, team_size, context);
        current->order_->pass(item);
    }
    static std::int32_t max_threads() { return current->size_; }

    // Whose turn it is.
    class Order {
    public:
        void wait_for(std::int64_t item) {
            std::unique_lock lock(mutex_);
            changed_.wait(lock, [&] { return turn_ >= item; });
        }
        void pass(std::int64_t item) {
            wait_for(item);
            const std::lock_guard lock(mutex_);
            turn_ = std::max(turn_, item + 1);
            changed_.notify_all();
        }

    private:
        std::mutex mutex_;
        std::condition_variable changed_;
        std::int64_t turn_ = 0;
    };

    // ---- the threads -----------------------------------------------------------------------------------------------

    // job(member) for each member, on as many threads as there are. From inside a body: one after the other, in its
    // thread.
    void run(std::int64_t members, const Job& job) {
        if (members <= 1 || size_ == 1 || inside) {
            for (std::int64_t member = 0; member < members; ++member) job(member);
            return;
        }
        const std::lock_guard turn(callers_);
        {
            const std::lock_guard lock(mutex_);
            job_ = &job;
            members_ = members;
            running_ = size_ - 1;
            ++call_;
        }
        wake_.notify_all();
        take_part(0);
        std::unique_lock lock(mutex_);
        ended_.wait(lock, [&] { return running_ == 0; });
    }

    void take_part(std::int64_t thread) {
        inside = true;
        for (std::int64_t member = thread; member < members_; member += size_) (*job_)(member);
        inside = false;
    }

    void work(std::int64_t thread) {
        for (std::uint64_t seen = 0;;) {
            {
                std::unique_lock lock(mutex_);
                wake_.wait(lock, [&] { return stop_ || call_ != seen; });
                if (stop_) return;
                seen = call_;
            }
            take_part(thread);
            const std::lock_guard lock(mutex_);
            if (--running_ == 0) ended_.notify_one();
        }
    }

    static inline Team* current = nullptr;
    static inline thread_local bool inside = false;

    const std::int32_t size_;
    std::vector<std::thread> threads_;
    std::mutex callers_, mutex_;
    std::condition_variable wake_, ended_;
    const Job* job_ = nullptr;
    std::int64_t members_ = 0;
    int running_ = 0;
    std::uint64_t call_ = 0;
    bool stop_ = false;
    Order* order_ = nullptr;
};
