// What the primitives export: their public header. A definition takes its visibility from here.
#pragma once

#pragma GCC visibility push(default)
#include "nvo_ark/primitives.h"
#pragma GCC visibility pop
