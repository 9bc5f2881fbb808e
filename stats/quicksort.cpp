// The quicksort family by its exported names.
#include "stats/quicksort.h"

#include "stats/exports.h"

#include <limits>

using namespace nvo::stats;

#define NVO_QUICKSORTS(t, real)                                                                                        \
    void __ost##t##QSort(std::int64_t n, real* x) { quicksort(Dense<real>{x}, n); }                                    \
    void __ost##t##QSortStep(std::int64_t n, real* x, std::int64_t stride) { quicksort(Strided<real>{x, stride}, n); } \
    real __ost##t##QSortSelect(std::int64_t n, real* x, std::int64_t k) {                                              \
        if (k < 0 || k >= n) return std::numeric_limits<real>::quiet_NaN();                                            \
        quickselect(Dense<real>{x}, n, k);                                                                             \
        return x[k];                                                                                                   \
    }                                                                                                                  \
    void _v##t##SSQuickMapSort(std::int64_t n, real* x, real* w) { quicksort(Paired<real>{x, w}, n); }

NVO_QUICKSORTS(s, float)
NVO_QUICKSORTS(d, double)
