// How large the processor's cache is, by CPUID leaf 2, which lists caches and other things by descriptors of one byte
// (Intel 64 and IA-32 Architectures Software Developer's Manual, volume 2A, CPUID).
#pragma once

#include <cstdint>
#include <initializer_list>

namespace nvo {

// What CPUID leaves behind.
struct CpuidRegisters {
    std::uint32_t eax, ebx, ecx, edx;
};

struct CacheDescriptor {
    std::uint8_t descriptor, size; // the size in bytes is (size >> 4) << ((size & 15) + 18)

    constexpr std::int64_t bytes() const { return std::int64_t{size >> 4} << ((size & 15) + 18); }
};

// Level 2 and 3 caches, the largest first.
inline constexpr CacheDescriptor TableCacheSize[] = {
    // 24, 18 and 16 MiB
    {0xEC, 0x35},
    {0xEB, 0x93},
    {0x4D, 0x16},
    // 12 MiB
    {0xEA, 0x34},
    {0x4C, 0x34},
    // 8 MiB
    {0xE4, 0x15},
    {0xDE, 0x15},
    {0x4B, 0x15},
    {0x47, 0x15},
    // 6 MiB
    {0x4E, 0x33},
    {0x4A, 0x33},
    // 4 MiB
    {0xE3, 0x14},
    {0xDD, 0x14},
    {0xD8, 0x14},
    {0x49, 0x14},
    {0x29, 0x14},
    {0x46, 0x14},
    // 3 MiB
    {0x48, 0x32},
    // 2 MiB
    {0xE2, 0x13},
    {0xDC, 0x13},
    {0xD7, 0x13},
    {0xD2, 0x13},
    {0x25, 0x13},
    {0x7D, 0x13},
    {0x85, 0x13},
    {0x45, 0x13},
    // 1 MiB
    {0xD6, 0x12},
    {0xD1, 0x12},
    {0x23, 0x12},
    {0x87, 0x12},
    {0x7C, 0x12},
    {0x78, 0x12},
    {0x84, 0x12},
    {0x44, 0x12},
    // 512 KiB
    {0xD0, 0x11},
    {0x22, 0x11},
    {0x7B, 0x11},
    {0x80, 0x11},
    {0x86, 0x11},
    {0x3E, 0x11},
    {0x7F, 0x11},
    {0x83, 0x11},
    {0x43, 0x11},
};

inline constexpr std::int64_t unknown_cache = 0;

// The largest cache that the registers of leaf 2 list. Their low byte of EAX is no descriptor but must be 1, and a
// register with bit 31 set holds none.
constexpr std::int64_t largest_listed_cache(const CpuidRegisters& leaf2) {
    if ((leaf2.eax & 0xFF) != 1) return unknown_cache;
    const auto lists = [&](std::uint8_t descriptor) {
        for (std::uint32_t bytes : {leaf2.eax & ~0xFFU, leaf2.ebx, leaf2.ecx, leaf2.edx}) {
            if (bytes >> 31 != 0) continue;
            for (; bytes != 0; bytes >>= 8)
                if ((bytes & 0xFF) == descriptor) return true;
        }
        return false;
    };
    for (const CacheDescriptor& row : TableCacheSize)
        if (lists(row.descriptor)) return row.bytes();
    return unknown_cache;
}

// The two questions, for a processor that answers cpuid(leaf), of sub-leaf 0. It is asked no leaf that it may not have.
template <class Cpuid> class CacheQuestion {
public:
    explicit constexpr CacheQuestion(Cpuid cpuid) : cpuid_(cpuid), leaf0_(cpuid(0)) {}

    // The largest cache, in bytes.
    constexpr std::int64_t size() const {
        return is_known_vendor() && leaf0_.eax >= 2 ? largest_listed_cache(cpuid_(2)) : unknown_cache;
    }
    // What of it is one thread's, if all threads that may share it do.
    constexpr std::int64_t share() const {
        const std::int64_t whole = size();
        if (whole == unknown_cache || leaf0_.eax < 4) return whole;
        return whole / ((cpuid_(4).eax >> 26) + 1);
    }

private:
    // "GenuineIntel": the descriptors are this maker's.
    constexpr bool is_known_vendor() const {
        return leaf0_.ebx == 0x756E6547 && leaf0_.edx == 0x49656E69 && leaf0_.ecx == 0x6C65746E;
    }

    Cpuid cpuid_;
    CpuidRegisters leaf0_;
};

// The same of this processor. CPUID takes about 0.1 us, but some us in a virtual machine, which it leaves.
struct ProcessorCache {
    static std::int64_t size();
    static std::int64_t share();
};

} // namespace nvo
