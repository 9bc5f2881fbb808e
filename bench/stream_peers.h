// What the random streams are raced against: the same generators, or ones like them, in plain loops and in packaged
// libraries.
#pragma once

#include "bench/vectors.h"

#include <array>
#include <string>
#include <vector>

namespace bench {

inline constexpr int numbers_a_call = 100000;

enum class Numbers { words, floats, doubles };
inline constexpr const char* numbers_names[] = {"words", "floats", "doubles"};

// In the order of the columns of the table.
enum class Library { plain, standard, boost, gsl, random123, dsfmt, numpy };
inline constexpr int libraries = 7;

struct StreamPeer {
    std::string generator; // "MT19937", as in generators.def
    Numbers numbers;
    Library library;
    std::string what;               // "std::mt19937"
    bool alike;                     // not the same generator, but one that serves the same purpose
    Body body;                      // makes numbers_a_call numbers; none if it was timed in another process:
    std::array<double, 2> measured; // nanoseconds a call, the best of either half of its repetitions
};

// Some write to `target`, which has room for numbers_a_call doubles. Built at once: NumPy is timed here.
std::vector<StreamPeer> make_stream_peers(void* target);

// Skips a stream of MT19937 by `count`, in Boost.
Body boost_discard(std::uint64_t count);

std::string stream_library_versions(); // "Boost 1.74, GSL 2.7.1, ..."

} // namespace bench
