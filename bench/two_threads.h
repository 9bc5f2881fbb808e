// Two threads beside one, by the clock on the wall, in turns: the time of a thread says nothing here. It wants two idle
// processors.
#pragma once

#include "bench/verdicts.h"
#include "examples/team/team.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <string>

namespace bench {

struct TwoThreads {
    double one, one_again, two; // nanoseconds, the best ones

    double best_of_one() const { return std::min(one, one_again); }
    double ratio() const { return two / best_of_one(); }

    // Times are told for each of so many units.
    void judge(Verdicts& verdicts, const std::string& row, double units = 1) const {
        constexpr double limit = 1 / 1.7;
        verdicts.judge("two threads, of the time of one", row, two / units, best_of_one() / units, ratio(), limit,
                       std::abs(one - one_again) / best_of_one(), "");
    }
};

// run(threading): once, on the threads of a descriptor, which is null for one thread.
template <class Run> TwoThreads time_two_threads(const Run& run) {
    const auto time = [&](const OstThreading* threading) {
        const auto start = std::chrono::steady_clock::now();
        run(threading);
        return std::chrono::duration<double, std::nano>(std::chrono::steady_clock::now() - start).count();
    };
    constexpr int repetitions = 15;
    const Team team(2);
    TwoThreads best{INFINITY, INFINITY, INFINITY};
    for (int i = 0; i < repetitions; ++i) {
        best.one = std::min(best.one, time(nullptr));
        best.two = std::min(best.two, time(Team::descriptor()));
        best.one_again = std::min(best.one_again, time(nullptr));
    }
    return best;
}

} // namespace bench
