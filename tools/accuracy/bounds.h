// What is promised of each row, and where to look hardest. Bounds and intervals stand beside the kernels, in a file a
// family: kernels/*/*.accuracy.def. A line there is one of
//
//   BOUND(row, ulp)                 largest error; 0: exact, 0.5: the nearest number
//   BOUND(row, ulp, name, lo, hi)   another one for first arguments from lo to hi, which has a name
//   INTERVAL(row, lo, hi)           arguments that get samples of their own; the benches time the first one
//
// A strided row without bounds of its own has those of the unit-stride row. Intervals are named for the latter.
#pragma once

#include <string>
#include <vector>

namespace nvo::accuracy {

struct Interval {
    double lo, hi;
    bool contains(double x) const { return lo <= x && x <= hi; }
};

struct NamedBound {
    std::string name;
    Interval interval;
    double ulp;
};

struct Bounds {
    bool known = false; // a row without a BOUND line
    double ulp = 0;
    std::vector<NamedBound> named; // elsewhere, ulp holds
};

Bounds bounds_of(const std::string& kernel, const std::string& unit_kernel);

std::vector<Interval> intervals_of(const std::string& unit_kernel);

// Arguments known to be hard: hard_cases.def.
struct HardCase {
    double a = 0, b = 0;
};
std::vector<HardCase> hard_cases_of(const std::string& unit_kernel);

} // namespace nvo::accuracy
