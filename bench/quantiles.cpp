#include "bench/parts.h"

namespace bench {

void print_quantiles(const PartRequest&) {}

} // namespace bench
