// Random streams: numbers of every generator that has peers, and long skips, side by side with theirs.
#pragma once

#include <regex>

namespace bench {

struct StreamRequest {
    std::regex pattern; // of generators; the goals follow if `all` of them are asked for
    bool all = false;
    bool goals = false; // the goals alone
    bool peers = false; // the list of peers alone
    bool markdown = false;
};

void print_streams(const StreamRequest& request);

} // namespace bench
