// What data fitting is raced against: loops that a user would write, and splines of packaged libraries. Doubles.
#pragma once

#include "bench/vectors.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

inline constexpr std::int64_t fitting_sites = 1000000;
inline constexpr std::int64_t fitting_functions = 8;

// A partition with functions, a spline through the first of them, and where to evaluate it.
struct Curves {
    std::int64_t nx;
    bool even;
    std::vector<double> x, y;  // breakpoints, one after the other also on an even grid; function after function
    std::vector<double> cells; // of the natural spline through the first function
    bool sorted;
    std::vector<double> sites, upper; // inside the partition; limits a few cells above them
};

enum class FittingJob { linear, natural, akima, search, value, integral };
struct FittingCase {
    FittingJob job;
    std::int64_t functions = 1; // to construct
};

enum class FittingLibrary { plain, gsl, boost, scipy };
inline constexpr int fitting_libraries = 4;

struct FittingPeer {
    FittingLibrary library;
    std::string what;               // "gsl_spline_init"
    Body body;                      // does all of the job; none if it was timed in another process:
    std::array<double, 2> measured; // nanoseconds for the job, the best of either half of its repetitions
};

// They refer to the curves. SciPy is timed here.
std::vector<FittingPeer> make_fitting_peers(const FittingCase& task, const Curves& curves);

std::string fitting_library_versions(); // "Boost 1.74, GSL 2.7.1, ..."

} // namespace bench
