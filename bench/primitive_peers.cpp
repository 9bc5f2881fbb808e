#include "bench/primitive_peers.h"

#include <algorithm>
#include <boost/sort/pdqsort/pdqsort.hpp>
#include <boost/sort/spreadsort/spreadsort.hpp>
#include <boost/version.hpp>

namespace bench {

template <class T> void sort_with(Sorter sorter, T* keys, std::size_t n) {
    switch (sorter) {
    case Sorter::standard: return std::sort(keys, keys + n);
    case Sorter::spread: return boost::sort::spreadsort::spreadsort(keys, keys + n);
    case Sorter::pdq: return boost::sort::pdqsort(keys, keys + n);
    }
}

template <class T> void fill_with(const T& value, T* target, std::size_t n) { std::fill_n(target, n, value); }

#define NVO_DEFINE(type, element) template void sort_with(Sorter, element*, std::size_t);
NVO_DFT_SORTED_TYPES(NVO_DEFINE)
#undef NVO_DEFINE
#define NVO_DEFINE(type, element) template void fill_with(const element&, element*, std::size_t);
NVO_DFT_SET_WORKERS(NVO_DEFINE)
#undef NVO_DEFINE

std::string sort_library_versions() {
    return "Boost " + std::to_string(BOOST_VERSION / 100000) + "." + std::to_string(BOOST_VERSION / 100 % 1000);
}

} // namespace bench
