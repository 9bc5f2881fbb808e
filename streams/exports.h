// What streams, generators and distributions export: their public headers. A definition takes its visibility from here,
// so that a name is visible if and only if it is declared in one of them.
#pragma once

#pragma GCC visibility push(default)
#include "nvo_ark/distributions.h"
#include "nvo_ark/generators.h"
#include "nvo_ark/scalar.h"
#include "nvo_ark/streams.h"
#pragma GCC visibility pop
