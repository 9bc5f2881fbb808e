// NumPy, timed in a Python process of its own: its code can't be called without an interpreter.
#pragma once

#include <array>
#include <map>
#include <string>

namespace bench {

struct NumpyTimes {
    std::string version; // empty if there is no NumPy
    // By what was timed: nanoseconds, the best of either half of the repetitions.
    std::map<std::string, std::array<double, 2>> times;
};

// Runs a program that prints NumPy's version, then lines of words and two times: "MT19937 words 1.52 1.53". It has no
// single quotes.
NumpyTimes run_numpy(const std::string& program, const std::string& arguments);

// The bit generators, by calls for that many numbers: "MT19937 words", "Philox doubles", a number.
NumpyTimes time_numpy(int count);

} // namespace bench
