// Symmetric matrices in the storage that a task's codes name.
#pragma once

#include "stats/variables.h"

#include <cstdint>

namespace nvo::stats {

// Rows and columns are those of the selected variables: a packed matrix holds no others, a full one has room for all
// and keeps what the others have. Elements are addressed by a <= b, places in the list of selected variables.
template <Real R> class SymmetricMatrix {
public:
    SymmetricMatrix(R* elements, std::int64_t storage, const SelectedVariables& variables, std::int64_t p)
        : elements_(elements), variables_(variables), p_(p), upper_((storage & OST_STAT_MATRIX_UPACKED) != 0),
          lower_(!upper_ && (storage & OST_STAT_MATRIX_LPACKED) != 0) {}

    std::int64_t size() const { return variables_.count(); }
    bool is_full() const { return !upper_ && !lower_; }
    R* elements() const { return elements_; }

    R get(std::int64_t a, std::int64_t b) const { return elements_[place(a, b)]; }
    void put(std::int64_t a, std::int64_t b, R value) const {
        elements_[place(a, b)] = value;
        if (is_full()) elements_[variables_[a] * p_ + variables_[b]] = value;
    }

private:
    std::int64_t place(std::int64_t a, std::int64_t b) const {
        if (upper_) return a * size() - a * (a - 1) / 2 + (b - a);
        if (lower_) return b * (b + 1) / 2 + a;
        return variables_[b] * p_ + variables_[a];
    }

    R* elements_;
    const SelectedVariables& variables_;
    std::int64_t p_;
    bool upper_, lower_;
};

// f(a, b) for each element on the diagonal and on one side of it.
template <class F> void for_each_pair(std::int64_t size, F f) {
    for (std::int64_t b = 0; b < size; ++b)
        for (std::int64_t a = 0; a <= b; ++a) f(a, b);
}

} // namespace nvo::stats
