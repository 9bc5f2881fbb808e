// What the vectors of a row are filled with.
#pragma once

#include "bench/rows.h"

#include <string>
#include <vector>

namespace bench {

inline constexpr int stride = 2; // of the strided rows

struct Variant {
    std::string name; // "", or "negative 1/8"
    Fill a, b;
};

// No special elements; then those of inputs.def.
std::vector<Variant> variants_of(const Row& row);

Vectors vectors_for(const Row& row, int n, const Variant& variant);
Vectors vectors_for(const Row& row, int n); // without special elements

} // namespace bench
