// Cross-products of the Fast and the two-pass form, by products of matrices: sums of w x_a x_b over blocks of
// observations, from which the products of the means are taken off at the end.
//
// The matrix is that of Sums: the upper triangle by columns, p elements a column. BLAS counts in 32 bits: p must fit,
// and rows of more observations than that are copied block by block.
#pragma once

#include "stats/basic_kernels.h"

#include <limits>

namespace nvo::stats {

inline constexpr std::int64_t largest_blas_dimension = std::numeric_limits<int>::max();

template <Real R> class Products {
public:
    Products(const Observations<R>& data, Range variables, std::int64_t block)
        : data_(data), variables_(variables), block_(block), copied_(data.rows && data.n > largest_blas_dimension) {}

    // How many observations the cache holds, with their scaled copies.
    static std::int64_t block_of(std::int64_t p, bool weighted) {
        constexpr std::int64_t cache_bytes = 0x40000, fewest = 64;
        const std::int64_t copies = weighted ? 2 : 1;
        return p > cache_bytes / 8 ? fewest : std::max(fewest, cache_bytes / (p * 8 * copies));
    }

    // Elements of work space for one thread.
    std::int64_t scratch_elements() const;
    // cross += the products of at most `block` observations.
    void add(Range observations, R* cross, R* scratch) const;
    // The same of all observations, without weights, whose number fits.
    void add_all(R* cross) const;

    // cross += factor mean mean'.
    void add_means(R factor, const R* mean, R* cross) const;

private:
    R* first_element(R* cross) const { return cross + variables_.first * (data_.p + 1); }

    Observations<R> data_;
    Range variables_;
    std::int64_t block_;
    bool copied_;
};

extern template class Products<float>;
extern template class Products<double>;

} // namespace nvo::stats
