// The seed words of a generator that takes any number of them.
#pragma once

#include <cstdint>

namespace nvo {

struct SeedWords {
    const std::uint32_t* words;
    std::int32_t count; // at least 1

    // What the initialisation entry was given; the one word 1 if that is nothing.
    SeedWords(std::int32_t n, const void* params)
        : words(n < 1 ? &one : static_cast<const std::uint32_t*>(params)), count(n < 1 ? 1 : n) {}

private:
    static constexpr std::uint32_t one = 1;
};

} // namespace nvo
