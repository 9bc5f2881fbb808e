// The report of a bad element, as the kernels call it. The exported reporters are the same under their names.
#pragma once

#include "frame/exports.h"

#include <cstdint>

namespace nvo {

// Element index of each vector v is v[index * inc]. E is float, double, ArkComplex8, ArkComplex16, or uint16_t for
// binary16. Result vectors may be changed, as the thread's mode word and callback have it.
template <class E>
[[gnu::cold]] void report(std::int32_t status, std::int32_t index, const E* a1, std::int32_t inc1, const E* a2,
                          std::int32_t inc2, E* r1, std::int32_t incr1, E* r2, std::int32_t incr2, const char* name);

// Name under which a strided row reports: that of its unit-stride sister, but for the 24 rows below.
constexpr const char* strided_report_name(const char* unit_name) {
    constexpr const char* with_i[] = {
        "vsInvI",        "vsAcoshI", "vsCoshI",  "vsSinhI",  "vsExpm1I",     "vsLog1pI", "vsPow3o2I", "vsErfcInvI",
        "vsCdfNormInvI", "vdInvI",   "vdAcoshI", "vdAtanhI", "vdExpm1I",     "vdLog1pI", "vdPow3o2I", "vzExpI",
        "vsDivI",        "vdDivI",   "vcDivI",   "vcMulI",   "vcMulByConjI", "vzDivI",   "vzMulI",    "vzMulByConjI"};
    for (const char* name : with_i) {
        int i = 0;
        while (unit_name[i] != '\0' && unit_name[i] == name[i]) ++i;
        if (unit_name[i] == '\0' && name[i] == 'I' && name[i + 1] == '\0') return name;
    }
    return unit_name;
}

} // namespace nvo
