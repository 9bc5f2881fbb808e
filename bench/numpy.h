// NumPy's bit generators, timed in a Python process of their own: their code can't be called without an interpreter.
#pragma once

#include <array>
#include <map>
#include <string>

namespace bench {

struct NumpyTimes {
    std::string version; // empty if there is no NumPy
    // "MT19937 words", "Philox doubles": nanoseconds a number, the best of either half of the repetitions.
    std::map<std::string, std::array<double, 2>> times;
};

NumpyTimes time_numpy(int count); // by calls for that many numbers

} // namespace bench
