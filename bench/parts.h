// What ./run bench measures beside rows, streams and scalars, part by part.
#pragma once

#include <regex>

namespace bench {

struct PartRequest {
    std::regex pattern; // of names; the goals follow if `all` of them are asked for
    bool all = false;
    bool goals = false; // the goals alone
    bool peers = false; // the list of peers alone
    bool markdown = false;
};

// Numbers of every generator of random streams that has peers, and long skips.
void print_streams(const PartRequest& request);
// Functions of one value, side by side with the C library's: one call after the other, none waiting for another's
// result.
void print_scalars(const PartRequest& request);

void print_primitives(const PartRequest& request); // radix sorts, copy, set, zero
void print_moments(const PartRequest& request);    // moments, covariance, minimum and maximum
void print_quantiles(const PartRequest& request);  // quantiles, sorting, streaming quantiles
void print_fitting(const PartRequest& request);    // splines: construction, search, interpolation, integration

} // namespace bench
