#include "stats/basic_products.h"

#include "platform/core.h"

#include <utility>

namespace nvo::stats {

namespace {

// The routines of a precision. All calls of BLAS go through the platform, which sees to it that they may come from
// several threads at once.
template <Real R> struct Blas;
#define NVO_BLAS(t, real)                                 \
    template <> struct Blas<real> {                       \
        static constexpr auto gemm = nvo_blas_x##t##gemm; \
        static constexpr auto syrk = nvo_blas_x##t##syrk; \
        static constexpr auto syr = nvo_blas_x##t##syr;   \
    };
NVO_BLAS(s, float)
NVO_BLAS(d, double)
#undef NVO_BLAS

constexpr char upper = 'U', transposed = 't', as_it_is = 'n';
constexpr int unit_stride = 1;

} // namespace

template <Real R> std::int64_t Products<R>::scratch_elements() const {
    const int copies = (data_.w ? 1 : 0) + (copied_ ? 1 : 0);
    return copies * data_.p * block_;
}

template <Real R> void Products<R>::add(Range observations, R* cross, R* scratch) const {
    const std::int64_t n = observations.size(), m = variables_.size();
    const int count = static_cast<int>(n), variables = static_cast<int>(m), p = static_cast<int>(data_.p);
    const char first = data_.rows ? transposed : as_it_is, second = data_.rows ? as_it_is : transposed;
    const R one = 1;
    const R* x = data_.x + data_.offset(observations.first, variables_.first);
    int stride = static_cast<int>(data_.rows ? data_.n : data_.p);
    if (copied_) {
        R* const copy = std::exchange(scratch, scratch + m * n);
        for (std::int64_t j = 0; j < m; ++j) std::copy_n(x + j * data_.n, n, copy + j * n);
        x = copy;
        stride = count;
    }
    if (!data_.w) {
        Blas<R>::syrk(&upper, &first, &variables, &count, &one, x, &stride, &one, first_element(cross), &p);
        return;
    }
    const R* const w = data_.w + observations.first;
    if (data_.rows) {
        for (std::int64_t j = 0; j < m; ++j)
            for (std::int64_t i = 0; i < n; ++i) scratch[j * n + i] = w[i] * x[j * stride + i];
    } else {
        for (std::int64_t i = 0; i < n; ++i)
            for (std::int64_t j = 0; j < m; ++j) scratch[i * m + j] = w[i] * x[i * stride + j];
    }
    const int scaled_stride = data_.rows ? count : variables;
    Blas<R>::gemm(&first, &second, &variables, &variables, &count, &one, scratch, &scaled_stride, x, &stride, &one,
                  first_element(cross), &p);
}

template <Real R> void Products<R>::add_all(R* cross) const {
    const int variables = static_cast<int>(variables_.size()), count = static_cast<int>(data_.n);
    const int p = static_cast<int>(data_.p), stride = data_.rows ? count : p;
    const R one = 1;
    Blas<R>::syrk(&upper, data_.rows ? &transposed : &as_it_is, &variables, &count, &one,
                  data_.x + data_.offset(0, variables_.first), &stride, &one, first_element(cross), &p);
}

template <Real R> void Products<R>::add_means(R factor, const R* mean, R* cross) const {
    const int variables = static_cast<int>(variables_.size()), p = static_cast<int>(data_.p);
    Blas<R>::syr(&upper, &variables, &factor, mean + variables_.first, &unit_stride, first_element(cross), &p);
}
template class Products<float>;
template class Products<double>;

} // namespace nvo::stats
