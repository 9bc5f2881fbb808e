// Linear splines: cell j holds y[j] and the slope from there to y[j+1].
#include "fitting/construct.h"
#include "frame/lanes.h"

#include <algorithm>
#include <cstdint>
#include <emmintrin.h>
#include <functional>
#include <utility>

namespace nvo::fitting {

namespace {

// The values of one function, as `Values` gives them, and in lanes.
template <Real R, Store store> class Series {
public:
    Series(const TaskRecord<R>& task, std::int64_t i)
        : y_(store == Store::rows ? task.y[i] : task.y[0] + i), ny_(task.functions()) {}

    R at(std::int64_t j) const { return store == Store::rows ? y_[j] : y_[j * ny_]; }
    // Values j, j + 1, ...
    template <class V> V lanes(std::int64_t j) const {
        if constexpr (store == Store::rows) {
            return load<V>(y_ + j);
        } else {
            const auto gather = [ this, j ]<int... k>(std::integer_sequence<int, k...>) { return V{at(j + k)...}; };
            return gather(std::make_integer_sequence<int, lane_count<V>>{});
        }
    }

private:
    const R* y_;
    std::int64_t ny_;
};

// Slopes of neighbouring cells, the first of which is j, by how much the values rise in them.
template <Real R, Grid grid> class Slopes;

template <Real R> class Slopes<R, Grid::listed> {
public:
    explicit Slopes(const TaskRecord<R>& task) : x_(task.x) {}
    template <class V> V of(std::int64_t j, V rise) const { return rise / (load<V>(x_ + j + 1) - load<V>(x_ + j)); }

private:
    const R* x_;
};

template <Real R> class Slopes<R, Grid::even> {
public:
    explicit Slopes(const TaskRecord<R>& task)
        : cells_(static_cast<R>(task.nx - 1)), per_length_(1 / (task.x[1] - task.x[0])) {}
    template <class V> V of(std::int64_t, V rise) const { return (rise * cells_) * per_length_; }

private:
    R cells_, per_length_;
};

// a[0], b[0], a[1], b[1], ...
void store_pairs(float* c, Lanes<float, 4> a, Lanes<float, 4> b) {
    _mm_storeu_ps(c, _mm_unpacklo_ps(a, b));
    _mm_storeu_ps(c + 4, _mm_unpackhi_ps(a, b));
}
void store_pairs(double* c, Lanes<double, 2> a, Lanes<double, 2> b) {
    _mm_storeu_pd(c, _mm_unpacklo_pd(a, b));
    _mm_storeu_pd(c + 2, _mm_unpackhi_pd(a, b));
}

template <Real R> bool overlap(const R* a, std::int64_t a_count, const R* b, std::int64_t b_count) {
    const std::less<const R*> before;
    return before(a, b + b_count) && before(b, a + a_count);
}

// Whether no coefficient block of the task overlaps with data that it comes from.
template <Real R, Store store, Grid grid> bool apart(const TaskRecord<R>& task) {
    const std::int64_t elements = 2 * (task.nx - 1),
                       values = store == Store::cols ? task.nx * task.functions() : task.nx;
    for (std::int64_t i = 0; i < task.functions(); ++i) {
        if (overlap<R>(task.coeff[i], elements, task.y[store == Store::cols ? 0 : i], values)) return false;
        if (grid == Grid::listed && overlap<R>(task.coeff[i], elements, task.x, task.nx)) return false;
    }
    return true;
}

// Cells first, ..., last - 1 of one function. The views come by value: a store through a vector type may change
// anything that has an address.
template <bool in_lanes, Real R, Store store, Grid grid>
void write_cells(Series<R, store> y, Slopes<R, grid> slopes, std::int64_t first, std::int64_t last, R* coeff) {
    std::int64_t j = first;
    if constexpr (in_lanes) {
        using V = Lanes<R, lane_width<R>>;
        for (; j + lane_count<V> <= last; j += lane_count<V>) {
            const V left = y.template lanes<V>(j);
            store_pairs(coeff + 2 * j, left, slopes.of(j, y.template lanes<V>(j + 1) - left));
        }
    }
    for (; j < last; ++j) {
        const Lanes<R, 1> left = {y.at(j)}, slope = slopes.of(j, Lanes<R, 1>{y.at(j + 1)} - left);
        coeff[2 * j] = left[0];
        coeff[2 * j + 1] = slope[0];
    }
}

// Coefficients may be written over the data that they come from, as far as later cells don't need them: then a cell is
// read whole, written, and only then the next one is read. Otherwise values by columns are taken in tiles that stay in
// the cache while one function after the other reads them.
template <Real R, Store store, Grid grid> std::int32_t construct(const TaskRecord<R>& task) {
    constexpr std::int64_t tile = 256;
    const Slopes<R, grid> slopes(task);
    const std::int64_t cells = task.nx - 1;
    const bool in_lanes = apart<R, store, grid>(task);
    const std::int64_t step = in_lanes && store == Store::cols ? tile : cells;
    for (std::int64_t first = 0; first < cells; first += step) {
        const std::int64_t last = std::min(first + step, cells);
        for (std::int64_t i = 0; i < task.functions(); ++i) {
            const Series<R, store> y(task, i);
            if (in_lanes) {
                write_cells<true>(y, slopes, first, last, task.coeff[i]);
            } else {
                write_cells<false>(y, slopes, first, last, task.coeff[i]);
            }
        }
    }
    return DF_ST_OK;
}

template <Real R> std::int32_t linear(DFTask1D* handle, std::int64_t method) {
    if (!handle) return DF_ST_NO_TASK;
    const auto& task = record_of<R>(handle);
    if (method != 0) return DF_ST_BAD_METHOD;
    if (task.nx < 2) return DF_ST_BAD_NX;
    if (const auto status = status_of_y_hint(task); status != DF_ST_OK) return status;
    if (const auto status = status_of_arrays(task); status != DF_ST_OK) return status;
    return by_variant(task, [&]<Store store, Grid grid> { return construct<R, store, grid>(task); });
}

} // namespace

} // namespace nvo::fitting

std::int32_t nvo_df_kernel_sDFLinearSpline1D(DFTask1D* task, std::int64_t, std::int64_t method, const OstThreading*) {
    return nvo::fitting::linear<float>(task, method);
}
std::int32_t nvo_df_kernel_dDFLinearSpline1D(DFTask1D* task, std::int64_t, std::int64_t method, const OstThreading*) {
    return nvo::fitting::linear<double>(task, method);
}
