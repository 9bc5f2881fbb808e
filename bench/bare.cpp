// What the bare formulas need of the frame that stays in the library: formulas may look at the mode word before a loop.

#include "frame/mode.h"

namespace nvo {

constinit thread_local ThreadState thread_state{};

std::uint32_t initialise_mode_word() { return ARK_MODE_DEFAULT; }

} // namespace nvo
