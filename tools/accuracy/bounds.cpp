#include "tools/accuracy/bounds.h"

namespace nvo::accuracy {

namespace {

struct BoundLine {
    std::string row;
    double ulp;
    std::string name; // empty: the row's general bound
    Interval interval;
};

BoundLine bound_line(const char* row, double ulp, const char* name = "", double lo = 0, double hi = 0) {
    return {row, ulp, name, {lo, hi}};
}

struct IntervalLine {
    std::string row;
    Interval interval;
};

const std::vector<BoundLine>& bound_lines() {
    static const std::vector<BoundLine> lines = {
#define INTERVAL(...)
#define BOUND(row, ...) bound_line(#row, __VA_ARGS__),
#include "accuracy_lines.h"
#undef BOUND
#undef INTERVAL
    };
    return lines;
}

const std::vector<IntervalLine>& interval_lines() {
    static const std::vector<IntervalLine> lines = {
#define BOUND(...)
#define INTERVAL(row, lo, hi) {#row, {lo, hi}},
#include "accuracy_lines.h"
#undef BOUND
#undef INTERVAL
    };
    return lines;
}

struct HardLine {
    std::string row;
    HardCase values;
};

const std::vector<HardLine>& hard_lines() {
    static const std::vector<HardLine> lines = {
#define HARD(row, ...) {#row, {__VA_ARGS__}},
#include "tools/accuracy/hard_cases.def"
#undef HARD
    };
    return lines;
}

} // namespace

Bounds bounds_of(const std::string& kernel, const std::string& unit_kernel) {
    for (const std::string& row : {kernel, unit_kernel}) {
        Bounds bounds;
        for (const BoundLine& line : bound_lines()) {
            if (line.row != row) continue;
            if (!line.name.empty()) {
                bounds.named.push_back({line.name, line.interval, line.ulp});
            } else {
                bounds.known = true;
                bounds.ulp = line.ulp;
            }
        }
        if (bounds.known) return bounds;
    }
    return {};
}

std::vector<Interval> intervals_of(const std::string& unit_kernel) {
    std::vector<Interval> intervals;
    for (const IntervalLine& line : interval_lines())
        if (line.row == unit_kernel) intervals.push_back(line.interval);
    return intervals;
}

std::vector<HardCase> hard_cases_of(const std::string& unit_kernel) {
    std::vector<HardCase> cases;
    for (const HardLine& line : hard_lines())
        if (line.row == unit_kernel) cases.push_back(line.values);
    return cases;
}

} // namespace nvo::accuracy
