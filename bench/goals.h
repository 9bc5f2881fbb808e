// What the library sets itself for speed, measured and judged. No test depends on it.
#pragma once

namespace bench {

void print_goals(bool markdown);

} // namespace bench
