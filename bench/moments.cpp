#include "bench/parts.h"

namespace bench {

void print_moments(const PartRequest&) {}

} // namespace bench
