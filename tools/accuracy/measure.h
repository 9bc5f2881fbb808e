// The measurement: any number of functions that should all give the same, over samples or over all floats, with the
// errors counted as ulp.h says.
#pragma once

#include "tools/accuracy/bounds.h"
#include "tools/accuracy/reference.h"
#include "tools/accuracy/samples.h"

#include <cstdint>
#include <functional>
#include <vector>

namespace nvo::accuracy {

// A result held against the exact one. Values of a float or a double.
struct Case {
    double error = -1; // in ulp; negative: none yet
    double a = 0, b = 0;
    int result = 0; // 0: y, 1: z
    double got = 0, want = 0;
    std::uint64_t place = 0; // in the order of the samples
};

struct Tally {
    std::uint64_t samples = 0;
    std::uint64_t numbers = 0; // results to which a finite number is the answer, counted in mean
    double sum = 0;
    Case worst;

    double largest() const { return worst.error < 0 ? 0 : worst.error; }
    double mean() const { return numbers == 0 ? 0 : sum / static_cast<double>(numbers); }
    void add(const Tally& other);
};

template <class T> struct Subject {
    VectorFunction<T> function;
    std::vector<Interval> parts; // of the first argument, to be counted apart
    std::vector<Tally> tallies;  // the result: of everything else, then of the parts
};

template <class T> struct Task {
    std::vector<Reference> references;        // one for each result
    Direction direction = Direction::nearest; // in force when the functions are called
    Direction expected = Direction::nearest;  // that of the references
    // If set, is told every argument to which a finite number is the answer, with the largest error of the first
    // subject's results there, as well as the screening could tell.
    std::function<void(T a, double error)> watch;
};

template <class T> void measure(const Task<T>& task, const Samples<T>& samples, std::vector<Subject<T>>& subjects);

// All 2^32 floats, on all processors.
void measure_all_floats(const Task<float>& task, std::vector<Subject<float>>& subjects);

// One argument; one case for each result.
template <class T> std::vector<Case> try_out(const Task<T>& task, const VectorFunction<T>& function, T a, T b);

} // namespace nvo::accuracy
