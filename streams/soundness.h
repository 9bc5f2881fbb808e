// What the loader asks of a generator: whether a loaded stream is one that its entries can work on, with indices in
// range and chunks as long as they must be. Any other state gives numbers, if perhaps no good ones. Defined beside each
// built-in generator.
#pragma once

#include "streams/exports.h"

namespace nvo {

#define GENERATOR(NAME, Entry, state_bytes, seed_words, has_zero, word_bytes, bits, sets) \
    bool is_sound_##NAME(const OstStream* stream);
#include "nvo_ark/generators.def"

} // namespace nvo
