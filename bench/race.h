// Timing of several functions against each other in one run, their repetitions in random order.
#pragma once

#include "bench/vectors.h"

#include <string>
#include <vector>

namespace bench {

struct Contestant {
    std::string name;
    Body body;
};

// Each contestant runs `repetitions` times, for about `seconds` each time.
struct Effort {
    int repetitions;
    double seconds;
};
inline constexpr Effort careful{40, 2e-4}; // for verdicts

// Nanoseconds a call, over the repetitions. On a machine that others use as well, the best one is what repeats.
struct Timing {
    double best, median, upper_quartile;
};

void prepare_races(); // once, before the first one

std::vector<Timing> race(const std::vector<Contestant>& contestants, const Effort& effort);

} // namespace bench
