// The functions of other libraries that compute the same: the lines SCALAR, MVEC and SLEEF of bench/peers.def.
#pragma once

#include "tools/accuracy/survey.h"

#include <string>
#include <vector>

namespace nvo::accuracy {

// The columns: the C library, its vector functions, SLEEF at 1 ulp and better, SLEEF at 3.5 ulp.
std::vector<std::string> peer_columns();

PeerSource peer_source();

} // namespace nvo::accuracy
