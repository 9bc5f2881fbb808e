// What the twisters' operations on working records share; the drivers that use them are declared in
// nvo_ark/generators.h.
#pragma once

#include "generators/generator.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace nvo {

// Words of two rings of n, each counted from its own start, which may be n for 0: to += from over GF(2).
void add_rings(std::uint32_t* to, int to_start, const std::uint32_t* from, int from_start, int n);

// The operations on a state whose words, an array, are a ring: index is the place of the oldest one.
template <class State, auto words> struct RingOperations {
    static constexpr int n = std::extent_v<std::remove_reference_t<decltype(std::declval<State>().*words)>>;

    static void zero(OstStream* stream) {
        auto& s = state_of<State>(stream);
        std::fill(s.*words, s.*words + n, 0U);
        s.index = 0;
    }
    static void add(OstStream* to, const OstStream* from) {
        auto& d = state_of<State>(to);
        const auto& s = state_of<State>(from);
        add_rings(d.*words, d.index, s.*words, s.index, n);
    }
    static void copy(OstStream* to, const OstStream* from) {
        auto& d = state_of<State>(to);
        const auto& s = state_of<State>(from);
        std::copy(s.*words, s.*words + n, d.*words);
        d.index = s.index;
    }
    // Makes a ring the state of a stream that has output all of its words.
    static void put_back(OstStream* stream, const OstStream* from) {
        auto& d = state_of<State>(stream);
        const auto& s = state_of<State>(from);
        std::rotate_copy(s.*words, s.*words + s.index % n, s.*words + n, d.*words);
        d.index = n;
    }
};

} // namespace nvo
