// The peers of peers.def.
#pragma once

#include "bench/vectors.h"

#include <string>
#include <vector>

namespace bench {

// In the order of the columns of the table.
enum class Kind { plain, scalar, mvec, sleef, sleef_fast };

struct Peer {
    std::string row; // "sExpI"
    Kind kind;
    std::string function; // "expf", "_ZGVbN4v_expf"; the expression of a plain loop
    double error;         // the largest one, in ulp, as peers.def has it; negative: unknown
    Maker make;
};

const std::vector<Peer>& all_peers();

std::string library_versions(); // "glibc 2.36, SLEEF 3.5.1"

} // namespace bench
