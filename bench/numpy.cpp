#include "bench/numpy.h"

#include <cstdio>
#include <memory>
#include <sstream>

namespace bench {

namespace {

// Prints the version, then a line for each kind of numbers.
constexpr const char* generators_program = R"(
import sys, time
import numpy as np
n = int(sys.argv[1])
singles, doubles = np.empty(n, np.float32), np.empty(n)
def best(draw):
    times = []
    for _ in range(30):
        start = time.perf_counter_ns()
        draw()
        times.append((time.perf_counter_ns() - start) / n)
    return min(times)
print(np.__version__)
for kind in np.random.MT19937, np.random.Philox:
    g = np.random.Generator(kind(1))
    draws = {"words": lambda: g.integers(0, 2**32, n, np.uint32),
             "floats": lambda: g.random(out=singles, dtype=np.float32),
             "doubles": lambda: g.random(out=doubles)}
    for numbers, draw in draws.items():
        print(kind.__name__, numbers, best(draw), best(draw))
)";

std::string output_of(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    if (pipe) {
        for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get())) text += static_cast<char>(c);
    }
    return text;
}

} // namespace

NumpyTimes run_numpy(const std::string& program, const std::string& arguments) {
    NumpyTimes result;
    // The one on the path may be another one than the system's, to which the package belongs.
    for (const char* python : {"/usr/bin/python3", "python3"}) {
        std::istringstream lines(
            output_of(std::string(python) + " -c '" + program + "' " + arguments + " 2>/dev/null"));
        if (!std::getline(lines, result.version)) continue;
        for (std::string line; std::getline(lines, line);) {
            const std::size_t second = line.rfind(' '), first = line.rfind(' ', second - 1);
            result.times[line.substr(0, first)] = {std::stod(line.substr(first)), std::stod(line.substr(second))};
        }
        break;
    }
    return result;
}

NumpyTimes time_numpy(int count) { return run_numpy(generators_program, std::to_string(count)); }

} // namespace bench
