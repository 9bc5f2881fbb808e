// Where the battery's words come from.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace nvo::battery {

struct Source {
    int bits; // uppermost bits of a word that are random; the others are 0
    std::function<void(std::span<std::uint32_t>)> fill;
};

// The generators that take part, by their names in generators.def, in the form below. SOBOL and NIEDERREITER don't,
// since their points are even by design, nor do the abstract ones, whose numbers are the caller's.
const std::vector<std::string>& generator_names();

// A stream of one of them, seeded with words made from `seed`: "NAME", "NAME/SET" for a parameter set that isn't 0,
// "NAME:WORDS" for another number of seed words than eight. Null if the processor lacks the generator's instruction.
// std::invalid_argument for other names.
std::unique_ptr<Source> stream_source(const std::string& name, std::uint64_t seed);

} // namespace nvo::battery
