// Views of a task's partition and function values: templates of kernels see y.at(i, j) and x.at(j), whatever the
// storage.
#pragma once

#include "fitting/task.h"

namespace nvo::fitting {

enum class Store { cols, rows }; // in the order of the dispatch tables
enum class Grid { listed, even };

// Value j of function i.
template <Real R, Store store> class Values {
public:
    explicit Values(const TaskRecord<R>& task) : y_(task.y), ny_(task.functions()) {}

    R at(std::int64_t i, std::int64_t j) const {
        if constexpr (store == Store::rows) {
            return y_[i][j];
        } else {
            return y_[0][j * ny_ + i];
        }
    }

private:
    const R* const* y_;
    std::int64_t ny_;
};

// Breakpoint j, and the width of the cell on its right.
template <Real R, Grid grid> class Breaks;

template <Real R> class Breaks<R, Grid::listed> {
public:
    explicit Breaks(const TaskRecord<R>& task) : x_(task.x) {}
    R at(std::int64_t j) const { return x_[j]; }
    R width(std::int64_t j) const { return x_[j + 1] - x_[j]; }

private:
    const R* x_;
};

template <Real R> class Breaks<R, Grid::even> {
public:
    explicit Breaks(const TaskRecord<R>& task)
        : first_(task.x[0]), step_((task.x[1] - task.x[0]) / static_cast<R>(task.nx - 1)) {}
    R at(std::int64_t j) const { return first_ + static_cast<R>(j) * step_; }
    R width(std::int64_t) const { return step_; }
    R step() const { return step_; }

private:
    R first_, step_;
};

template <Real R> constexpr Store store_of(const TaskRecord<R>& task) {
    return task.by_columns() ? Store::cols : Store::rows;
}
template <Real R> constexpr Grid grid_of(const TaskRecord<R>& task) {
    return task.even_grid() ? Grid::even : Grid::listed;
}

} // namespace nvo::fitting
