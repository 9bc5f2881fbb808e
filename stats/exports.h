// What the statistics export: their public header. A definition takes its visibility from here.
#pragma once

#pragma GCC visibility push(default)
#include "nvo_ark/statistics.h"
#pragma GCC visibility pop
