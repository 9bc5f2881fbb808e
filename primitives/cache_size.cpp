#include "primitives/cache_size.h"

#include <cpuid.h>

namespace nvo {

namespace {

CpuidRegisters cpuid(std::uint32_t leaf) {
    CpuidRegisters r;
    __cpuid_count(leaf, 0, r.eax, r.ebx, r.ecx, r.edx);
    return r;
}

} // namespace

std::int64_t ProcessorCache::size() { return CacheQuestion(cpuid).size(); }
std::int64_t ProcessorCache::share() { return CacheQuestion(cpuid).share(); }

} // namespace nvo
