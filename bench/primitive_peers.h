// What sorts and fills are raced against.
#pragma once

#include "nvo_ark/primitives.h"

#include <cstddef>
#include <string>

namespace bench {

enum class Sorter { standard, spread, pdq };
inline constexpr int sorters = 3;

template <class T> void sort_with(Sorter sorter, T* keys, std::size_t n);
template <class T> void fill_with(const T& value, T* target, std::size_t n);

#define NVO_DECLARE(type, element) extern template void sort_with(Sorter, element*, std::size_t);
NVO_DFT_SORTED_TYPES(NVO_DECLARE)
#undef NVO_DECLARE
#define NVO_DECLARE(type, element) extern template void fill_with(const element&, element*, std::size_t);
NVO_DFT_SET_WORKERS(NVO_DECLARE)
#undef NVO_DECLARE

std::string sort_library_versions(); // "Boost 1.74"

} // namespace bench
