// Functions of one value, side by side with the C library's: one call after the other, none waiting for another's
// result.
#pragma once

#include <regex>

namespace bench {

struct ScalarRequest {
    std::regex pattern; // of functions; the goals follow if `all` of them are asked for
    bool all = false;
    bool goals = false; // the goals alone
    bool markdown = false;
};

void print_scalars(const ScalarRequest& request);

} // namespace bench
