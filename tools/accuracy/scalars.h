// The meter for functions of one value: scalars.def.
#pragma once

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

namespace nvo::accuracy {

// Arguments and results of all formats are held in the widest one.
using Extended = long double;

// The two results of a function that has two.
using TwoResults = void(Extended, Extended*, Extended*);
inline Extended first(TwoResults* f, Extended a) {
    Extended y, z;
    f(a, &y, &z);
    return y;
}
inline Extended second(TwoResults* f, Extended a) {
    Extended y, z;
    f(a, &y, &z);
    return z;
}
// The C library's counterpart of sinhcoshl.
inline void sinhl_and_coshl(Extended a, Extended* sinh, Extended* cosh) {
    *sinh = ::sinhl(a);
    *cosh = ::coshl(a);
}

// One line of the result: a function, on all arguments or on those of a named part.
struct ScalarFinding {
    struct Case {
        double error = -1; // negative: none yet
        Extended a = 0, b = 0, got = 0, want = 0;
    };

    std::string name, part;
    bool absolute = false; // errors and bound, which are in ulp otherwise
    int arguments = 1;
    double bound = 0;
    std::size_t samples = 0, numbers = 0; // numbers: those of mean
    double sum = 0;
    Case worst;
    double peer = 0; // the C library's largest error

    double largest() const { return worst.error < 0 ? 0 : worst.error; }
    double mean() const { return numbers == 0 ? 0 : sum / static_cast<double>(numbers); }
    bool passed() const { return largest() <= bound; }
};

// The names that a word on the command line stands for; all of them for an empty word.
std::vector<std::string> scalars_called(const std::string& word);

int arguments_of_scalar(const std::string& name);

// The function's findings, over samples.
std::vector<ScalarFinding> survey_scalar(const std::string& name);

// At one argument, or pair: ours, then the peer.
std::vector<ScalarFinding::Case> try_scalar(const std::string& name, Extended a, Extended b);

// In hexadecimal, to be read back without loss.
std::string hex_extended(Extended x);

} // namespace nvo::accuracy
