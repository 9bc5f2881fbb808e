// Instructions that the processor has beyond the baseline, by CPUID.

#include "generators/generator.h"
#include "platform/core.h"

#include <atomic>
#include <cpuid.h>

namespace {

// ECX of leaf 1, asked for once: under a hypervisor CPUID takes longer than many a call that wants to know. Bit 31,
// which tells of a hypervisor, marks the answer as there.
constinit std::atomic<std::uint32_t> processor_features{0};

std::uint32_t features() {
    constexpr std::uint32_t known = 0x80000000;
    std::uint32_t answer = processor_features.load(std::memory_order_relaxed);
    if (answer == 0) {
        unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
        __get_cpuid(1, &eax, &ebx, &ecx, &edx);
        answer = ecx | known;
        processor_features.store(answer, std::memory_order_relaxed);
    }
    return answer;
}

} // namespace

std::int32_t __ostCPUisRDRAND() { return (features() & bit_RDRND) != 0 ? 1 : 0; }
std::int32_t __ostCPUisAES() { return (features() & bit_AES) != 0 ? 1 : 0; }
std::int32_t __ostCPUisVAES() { return nvo_serv_cpuisqrx(); }
