#include "bench/parts.h"

namespace bench {

void print_fitting(const PartRequest&) {}

} // namespace bench
