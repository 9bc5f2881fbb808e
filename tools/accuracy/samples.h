// The arguments that a row is measured on: the same ones in every run.
#pragma once

#include "tools/accuracy/bounds.h"

#include <array>
#include <vector>

namespace nvo::accuracy {

struct SamplePlan {
    int arguments = 1;
    bool second_is_constant = false; // in runs of run_length
    std::vector<Interval> intervals;
    std::vector<HardCase> hard;
    double density = 1; // 1: one to two million samples
};

template <class T> struct Samples {
    static constexpr int run_length = 4096;
    std::array<std::vector<T>, 2> values; // of the first and of the second argument, or none of the latter

    std::size_t size() const { return values[0].size(); }
};

template <class T> Samples<T> make_samples(const SamplePlan& plan);

} // namespace nvo::accuracy
