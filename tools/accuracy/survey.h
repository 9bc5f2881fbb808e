// The survey: written kernels, grouped by what they compute, each group measured in one go with its peers.
#pragma once

#include "tools/accuracy/measure.h"

#include <optional>
#include <string>
#include <vector>

namespace nvo::accuracy {

// Other libraries' functions, in columns.
template <class T> struct Peer {
    std::size_t column;
    VectorFunction<T> function;
};
struct PeerSource {
    std::size_t columns = 0;
    std::vector<Peer<float>> (*floats)(const std::string& operation) = nullptr;
    std::vector<Peer<double>> (*doubles)(const std::string& operation) = nullptr;
};

struct SurveyOptions {
    bool all_floats = false; // for the rows of one float argument; the others get samples all the same
    double density = 1;      // of samples
    PeerSource peers;
};

// One line of the result: a kernel, on all arguments or on those of a named bound.
struct Finding {
    const Kernel* kernel;
    std::string part; // name of the bound, or empty
    double bound;
    Direction direction;
    bool all_floats;
    Tally tally;
    std::vector<std::optional<Tally>> peers; // by column

    bool passed() const { return tally.largest() <= bound; }
};

// In hexadecimal, to be read back without loss.
std::string hex(double x);

// The arguments of the worst case, as they stand behind a row's name on the command line.
std::string arguments_of(const Finding& finding);

// Kernels that can't be measured, and why: a reference or a bound is missing, or a way to call them.
std::vector<std::string> gaps(const std::vector<Kernel>& kernels);

// Measures those that can be, and hands over the findings as they come, those of one group in one call. Kernels that
// promise exact results are run in all four rounding directions, over samples; the findings of the directions other
// than to nearest come without peers.
void survey(const std::vector<Kernel>& kernels, const SurveyOptions& options,
            const std::function<void(const std::vector<Finding>&)>& found);

// What kernels of the type T of an operation are held against, and the samples for them.
template <class T> Task<T> task_of(const Kernel& kernel, Direction direction);
SamplePlan plan_of(const Kernel& kernel, double density);

inline constexpr Direction directions[] = {Direction::nearest, Direction::down, Direction::up, Direction::to_zero};
const char* name_of(Direction direction);

} // namespace nvo::accuracy
