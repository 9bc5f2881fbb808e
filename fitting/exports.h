// What data fitting exports: its public header. A definition takes its visibility from here.
#pragma once

#pragma GCC visibility push(default)
#include "nvo_ark/fitting.h"
#pragma GCC visibility pop
