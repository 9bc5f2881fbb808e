// The exported tables of the cores in the extended format.

#include "kernels/complex/exports.h"

#include "tables/extended_cores.h"
