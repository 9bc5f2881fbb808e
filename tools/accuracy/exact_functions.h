// What MPFR lacks, in the form of its own functions.
#pragma once

#include <mpfr.h>

namespace nvo::accuracy {

inline int inverse(mpfr_ptr y, mpfr_srcptr a, mpfr_rnd_t direction) { return mpfr_ui_div(y, 1, a, direction); }

} // namespace nvo::accuracy
