// Processor levels, by CPUID. The compiler's own test isn't used: it would bring a start-up function along.
#include "platform/core.h"

#include <cpuid.h>

namespace {

// The system saves the SSE and AVX registers with a thread: bits 1 and 2 of XCR0. Needs bit_OSXSAVE.
bool system_keeps_avx_registers() {
    unsigned low, high;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return (low & 6) == 6;
}

} // namespace

int nvo_serv_cpuisqrx() {
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d) || !(c & bit_OSXSAVE) || !system_keeps_avx_registers()) return 0;
    return __get_cpuid_count(7, 0, &a, &b, &c, &d) && (c & bit_VAES) ? 1 : 0;
}
