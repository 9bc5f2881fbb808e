// The variables of a task: where their observations are, which ones take part, and what has to be there to look at
// them.
#pragma once

#include "stats/task.h"
#include "support/scratch.h"
#include "support/team.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace nvo::stats {

// The observations of one variable, `stride` elements apart.
template <Real R> struct Variable {
    R* first;
    std::int64_t stride;

    R& operator[](std::int64_t i) const { return first[i * stride]; }
    bool is_dense() const { return stride == 1; }
};

// A matrix of p variables with n observations of each. With one variable, rows and columns are the same: rows.
template <Real R> class Matrix {
public:
    Matrix(R* x, std::int64_t p, std::int64_t n, std::int64_t storage)
        : x_(x), p_(p), n_(n), in_rows_(p == 1 || is_rows(storage)) {}

    bool in_rows() const { return in_rows_; }
    Variable<R> operator[](std::int64_t j) const {
        if (in_rows_) return {x_ + j * n_, 1};
        return {x_ + j, p_};
    }

private:
    R* x_;
    std::int64_t p_, n_;
    bool in_rows_;
};

// The variables that take part, ascending.
class SelectedVariables {
public:
    template <Real R>
    SelectedVariables(const TaskRecord<R>& task, std::int64_t p) : list_(static_cast<std::size_t>(p)) {
        if (!list_) return;
        for (std::int64_t j = 0; j < p; ++j)
            if (task.selects(j)) list_[static_cast<std::size_t>(count_++)] = j;
    }

    explicit operator bool() const { return static_cast<bool>(list_); } // there was memory for the list
    std::int64_t count() const { return count_; }
    std::int64_t operator[](std::int64_t i) const { return list_[static_cast<std::size_t>(i)]; }

private:
    Scratch<std::int64_t> list_;
    std::int64_t count_ = 0;
};

// Whether there are observations, in the order of the checks.
template <Real R> std::int32_t check_observations(OstSSTask* handle) {
    if (!handle) return OST_STAT_ERR_TASK;
    const TaskRecord<R>& task = record_of<R>(handle);
    if (!task.dimension || *task.integers(task.dimension) < 1) return OST_STAT_ERR_DIMENSION;
    if (!task.observations || *task.integers(task.observations) < 1) return OST_STAT_ERR_OBSERVATIONS;
    if (!task.data) return OST_STAT_ERR_DATA;
    if (!task.data_storage) return OST_STAT_ERR_MATRIX_STORAGE;
    return OST_STAT_OK;
}
// And that the storage code is one.
template <Real R> std::int32_t check_data(OstSSTask* handle) {
    if (const auto status = check_observations<R>(handle); status != OST_STAT_OK) return status;
    const TaskRecord<R>& task = record_of<R>(handle);
    return is_storage(*task.integers(task.data_storage)) ? OST_STAT_OK : OST_STAT_ERR_STORAGE;
}

// How many threads work on the items of a run, where each needs `rows` of n numbers as scratch, and all together may
// have `limit` bytes; a single one may have more.
template <Real R>
std::int64_t threads_for(const Team& team, std::int64_t items, std::int64_t rows, std::int64_t n, std::int64_t limit) {
    const std::int64_t room = limit / (rows * static_cast<std::int64_t>(sizeof(R))) / n;
    return std::min({team.max_threads(), items, std::max(room, std::int64_t{1})});
}
// And their scratch. Unsigned, so that a count that no memory holds is refused and doesn't overflow.
template <class T> Scratch<T> scratch_for(std::int64_t threads, std::int64_t rows, std::int64_t n) {
    return Scratch<T>(static_cast<std::size_t>(threads) * static_cast<std::size_t>(rows) * static_cast<std::size_t>(n));
}

} // namespace nvo::stats
