// The table of goals: figures that were measured, held to their limits.
#pragma once

#include "bench/table.h"
#include "bench/vectors.h"

#include <string>

namespace bench {

class Verdicts {
public:
    explicit Verdicts(bool markdown);

    // noise: how far apart two measurements of the same thing came out. other: 0 for none.
    void judge(const std::string& goal, const std::string& row, double ours, double other, double figure, double limit,
               double noise, const char* unit);
    // Ours as a ratio of the other one.
    void judge_ratio(const std::string& goal, const std::string& row, const Body& ours, const Body& other,
                     double limit);
    std::string summary() const; // "7 of 8 pass."

private:
    Table table_;
    int judged_ = 0, passed_ = 0;
};

} // namespace bench
