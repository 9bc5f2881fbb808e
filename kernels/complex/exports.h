// What the scalar cores export: their public header. A definition takes its visibility from here, so that a name is
// visible if and only if it is declared there.
#pragma once

#pragma GCC visibility push(default)
#include "nvo_ark/scalar.h"
#pragma GCC visibility pop
