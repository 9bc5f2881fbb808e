// Smallest and largest values. The arrays of results are running values: what they hold takes part.
//
// An element replaces the minimum if minimum > x, and the maximum if x > maximum, so that NaN never gets in, and of
// equal numbers the first stays. The processor's minimum of a register is just that. Walks in several registers at once
// lose the order of equal numbers only, which shows in the sign of zeros: a zero that comes out is looked up anew.
#include "frame/lanes.h"
#include "stats/variables.h"

#include <algorithm>
#include <cstdint>
#include <emmintrin.h>

namespace nvo::stats {

namespace {

template <Real R> using Register = Lanes<R, lane_width<R>>;

// The second operand stays unless the first one is below (above) it.
inline Register<float> smaller(Register<float> x, Register<float> m) { return _mm_min_ps(x, m); }
inline Register<float> larger(Register<float> x, Register<float> m) { return _mm_max_ps(x, m); }
inline Register<double> smaller(Register<double> x, Register<double> m) { return _mm_min_pd(x, m); }
inline Register<double> larger(Register<double> x, Register<double> m) { return _mm_max_pd(x, m); }

template <Real R> struct Extremes {
    R minimum, maximum;

    void take(R x) { take(x, x); }
    void take(R low, R high) {
        if (minimum > low) minimum = low;
        if (high > maximum) maximum = high;
    }
};

// The first zero: the start value or one of the n numbers.
template <Real R> R first_zero(R start, const R* x, std::int64_t n) {
    if (start == 0) return start;
    return *std::find(x, x + n, R{0});
}

template <Real R> Extremes<R> of_row(const R* x, std::int64_t n, Extremes<R> start) {
    constexpr int registers = 4, width = lane_width<R>;
    constexpr std::int64_t step = std::int64_t{registers} * width;
    Register<R> low[registers], high[registers];
    unroll<registers>([&](auto k) {
        low[k] = splat<Register<R>>(start.minimum);
        high[k] = splat<Register<R>>(start.maximum);
    });
    std::int64_t i = 0;
    for (; i + step <= n; i += step) {
        unroll<registers>([&](auto k) {
            const auto v = load<Register<R>>(x + i + k * width);
            low[k] = smaller(v, low[k]);
            high[k] = larger(v, high[k]);
        });
    }
    Extremes<R> result = start;
    unroll<registers * width>([&](auto k) { result.take(low[k / width][k % width], high[k / width][k % width]); });
    for (; i < n; ++i) result.take(x[i]);
    if (result.minimum == 0) result.minimum = first_zero(start.minimum, x, n);
    if (result.maximum == 0) result.maximum = first_zero(start.maximum, x, n);
    return result;
}

// A block of neighbouring variables over some observations, p elements apart.
template <Real R, int registers> void of_block(const R* x, std::int64_t n, std::int64_t p, R* minimum, R* maximum) {
    constexpr int width = lane_width<R>;
    Register<R> low[registers], high[registers];
    unroll<registers>([&](auto k) {
        low[k] = load<Register<R>>(minimum + k * width);
        high[k] = load<Register<R>>(maximum + k * width);
    });
    for (std::int64_t i = 0; i < n; ++i) {
        unroll<registers>([&](auto k) {
            const auto v = load<Register<R>>(x + i * p + k * width);
            low[k] = smaller(v, low[k]);
            high[k] = larger(v, high[k]);
        });
    }
    unroll<registers>([&](auto k) {
        store(minimum + k * width, low[k]);
        store(maximum + k * width, high[k]);
    });
}

// Where a task's results are. One that isn't wanted is counted and dropped.
template <Real R> struct Results {
    const TaskRecord<R>& task;
    bool minimum, maximum;

    Extremes<R> at(std::int64_t j) const {
        return {minimum ? task.minimum[j] : R{0}, maximum ? task.maximum[j] : R{0}};
    }
    void put(std::int64_t j, Extremes<R> e) const {
        if (minimum) task.minimum[j] = e.minimum;
        if (maximum) task.maximum[j] = e.maximum;
    }
};

template <Real R> std::int32_t of_rows(const TaskRecord<R>& task, std::int64_t p, std::int64_t n, Results<R> results) {
    const SelectedVariables variables(task, p);
    if (!variables) return OST_STAT_ERR_MEMORY;
    for (std::int64_t k = 0; k < variables.count(); ++k) {
        const std::int64_t j = variables[k];
        results.put(j, of_row(task.data + j * n, n, results.at(j)));
    }
    return OST_STAT_OK;
}

constexpr int registers_a_block = 4;
template <Real R> constexpr std::int64_t block = registers_a_block* lane_width<R>;

// Variables from j on over some observations: the widest block that fits, and the few beyond the last full register one
// by one. Returns how many it took.
template <Real R>
std::int64_t take_block(const TaskRecord<R>& task, std::int64_t p, std::int64_t j, const R* x, std::int64_t rows,
                        Results<R> results) {
    constexpr std::int64_t lanes = lane_width<R>;
    const std::int64_t width = p - j >= block<R> ? block<R> : p - j >= lanes ? lanes : 1;
    R minimum[block<R>], maximum[block<R>];
    for (std::int64_t k = 0; k < width; ++k) {
        const Extremes<R> e = results.at(j + k);
        minimum[k] = e.minimum;
        maximum[k] = e.maximum;
    }
    if (width == block<R>) {
        of_block<R, registers_a_block>(x, rows, p, minimum, maximum);
    } else if (width == lanes) {
        of_block<R, 1>(x, rows, p, minimum, maximum);
    } else {
        Extremes<R> e{minimum[0], maximum[0]};
        for (std::int64_t row = 0; row < rows; ++row) e.take(x[row * p]);
        minimum[0] = e.minimum;
        maximum[0] = e.maximum;
    }
    for (std::int64_t k = 0; k < width; ++k)
        if (task.selects(j + k)) results.put(j + k, {minimum[k], maximum[k]});
    return width;
}

// Observations go by in pieces that stay in the cache while all blocks of variables walk over them.
template <Real R> void of_columns(const TaskRecord<R>& task, std::int64_t p, std::int64_t n, Results<R> results) {
    constexpr std::int64_t elements_a_piece = 4096;
    const std::int64_t piece = std::max(elements_a_piece / p, std::int64_t{1});
    for (std::int64_t i = 0; i < n; i += piece) {
        const std::int64_t rows = std::min(piece, n - i);
        for (std::int64_t j = 0; j < p;) j += take_block(task, p, j, task.data + i * p + j, rows, results);
    }
}

template <Real R> std::int32_t minmax(OstSSTask* handle, std::uint64_t estimates, std::uint32_t method) {
    if (const auto status = check_data<R>(handle); status != OST_STAT_OK) return status;
    const TaskRecord<R>& task = record_of<R>(handle);
    const std::int64_t p = *task.integers(task.dimension), n = *task.integers(task.observations);
    const std::int64_t storage = *task.integers(task.data_storage);
    const Results<R> results{task, (estimates & OST_STAT_EST_MIN) != 0, (estimates & OST_STAT_EST_MAX) != 0};
    if (results.minimum && !task.minimum) return OST_STAT_ERR_MINIMUM;
    if (results.maximum && !task.maximum) return OST_STAT_ERR_MAXIMUM;
    if ((method & (OST_STAT_METHOD_FAST | OST_STAT_METHOD_ONE_PASS)) == 0) return OST_STAT_ERR_METHOD;

    if (p == 1 || is_rows(storage)) return of_rows(task, p, n, results);
    of_columns(task, p, n, results);
    return OST_STAT_OK;
}

} // namespace

} // namespace nvo::stats

std::int32_t _ostsSSMinmax(OstSSTask* task, std::uint64_t estimates, std::uint32_t method) {
    return nvo::stats::minmax<float>(task, estimates, method);
}
std::int32_t _ostdSSMinmax(OstSSTask* task, std::uint64_t estimates, std::uint32_t method) {
    return nvo::stats::minmax<double>(task, estimates, method);
}
