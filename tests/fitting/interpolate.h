// Tasks of every model with random contents, what their values are by the formulas, in the precision of the task and in
// extended precision, and calls of interpolation in one line.
#pragma once

#include "tests/fitting/search.h"
#include "tests/support/guarded.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace nvo::tests {

struct ValueShape {
    std::int64_t order, type;
    std::uint64_t ic_type = 0, x_hint = DF_GRID_IRREGULAR, y_hint = DF_Y_BY_ROWS;
    std::int64_t nx = 50, ny = 1;
    bool wide = false;

    bool has_coefficients() const { return order > 0; }
    bool is_subbotin() const { return order == 3 && type == DF_TYPE_SUBBOTIN; }
    std::string text() const {
        return "order " + std::to_string(order) + " type " + std::to_string(type) + " ic_type " +
               std::to_string(ic_type) + " x_hint " + std::to_string(x_hint) + " y_hint " + std::to_string(y_hint) +
               " nx " + std::to_string(nx) + " ny " + std::to_string(ny) + (wide ? " wide" : " narrow");
    }
};

inline const std::vector<ValueShape>& value_models() {
    static const std::vector<ValueShape> models = {{2, 0},
                                                   {2, 77},
                                                   {3, DF_TYPE_DEFAULT},
                                                   {4, DF_TYPE_DEFAULT},
                                                   {4, DF_TYPE_NATURAL},
                                                   {4, DF_TYPE_HERMITE},
                                                   {4, DF_TYPE_BESSEL},
                                                   {4, DF_TYPE_AKIMA},
                                                   {4, DF_TYPE_HYMAN},
                                                   {3, DF_TYPE_SUBBOTIN},
                                                   {3, DF_TYPE_SUBBOTIN, DF_IC_LISTED_SUBGRID},
                                                   {3, DF_TYPE_SUBBOTIN, DF_IC_EVEN_SUBGRID},
                                                   {5, 0},
                                                   {10, 0},
                                                   {11, 0},
                                                   {0, DF_TYPE_STEP_LEFT},
                                                   {0, DF_TYPE_STEP_RIGHT}};
    return models;
}

template <class R> class ValueSubject {
public:
    explicit ValueSubject(const ValueShape& shape, std::uint32_t seed = 1)
        : shape_(shape), random_(seed), x_(shape.x_hint == DF_GRID_EVEN ? 2 : size(shape.nx)),
          coeff_(block() * size(shape.ny)) {
        breaks_ = nearly_even_breaks<R>(shape.nx, seed);
        std::copy_n(breaks_.begin(), x_.size(), x_.data());
        if (shape.x_hint == DF_GRID_EVEN) {
            x_[1] = breaks_.back();
            const R step = (x_[1] - x_[0]) / static_cast<R>(shape.nx - 1);
            for (std::size_t j = 0; j < breaks_.size(); ++j) breaks_[j] = x_[0] + static_cast<R>(j) * step;
        }
        make_knots();
        for (std::size_t i = 0; i < coeff_.size(); ++i) coeff_[i] = uniform(-2, 2);
        for (std::int64_t i = 0; i < shape.nx * shape.ny; ++i) y_.push_back(uniform(-1, 3));
        task_.emplace(shape.nx, x_.data(), shape.x_hint, shape.ny, y_.data(), shape.y_hint, shape.wide);
        if (shape.y_hint == DF_Y_SEPARATE)
            for (std::int64_t f = 1; f < shape.ny; ++f)
                Fit<R>::edit_index(task(), DF_ATTR_Y, f, y_.data() + f * shape.nx);
        task_->spline(shape.order, shape.type, coeff_.size() > 0 ? coeff_.data() : nullptr, 0, nullptr, shape.ic_type,
                      shape.ic_type ? ic_.data() : nullptr);
    }

    DFTask1D* task() const { return task_->get(); }
    const ValueShape& shape() const { return shape_; }
    const std::vector<R>& breaks() const { return breaks_; }
    R left_end() const { return x_[0]; }
    R right_end() const { return x_[x_.size() - 1]; }
    std::mt19937& random() { return random_; }
    R uniform(R low, R high) { return std::uniform_real_distribution<R>(low, high)(random_); }

    // Anything: in cells, on breakpoints and knots, near them, outside.
    R site() {
        const std::vector<R>& some = shape_.is_subbotin() && random_() % 2 ? knots_ : breaks_;
        const R mark = some[random_() % some.size()];
        switch (random_() % 8) {
        case 0: return left_end() - uniform(0, 2);
        case 1: return right_end() + uniform(0, 2);
        case 2: return right_end();
        case 3: return mark;
        case 4: return std::nextafter(mark, uniform(-100, 100));
        default: return uniform(left_end(), right_end());
        }
    }

    std::int64_t cell(R site) const {
        if (shape_.x_hint == DF_GRID_EVEN) return even_cell(x_.data(), shape_.nx, site);
        return counted_cell(breaks_, site);
    }

    // Derivative d of function f, by the formulas as they stand.
    R value(std::int64_t f, R site, std::int64_t cell, std::int64_t d) const {
        if (!shape_.has_coefficients()) return d > 0 ? 0 : y(f, value_index(site, cell));
        const std::int64_t j = polynomial(site, cell);
        const R* c = coefficients(f, j);
        const R t = site - breaks_[size(j)];
        if (d >= shape_.order) return 0;
        switch (shape_.order * 10 + d) {
        case 20: return c[1] * t + c[0];
        case 21: return c[1];
        case 30: return (c[2] * t + c[1]) * t + c[0];
        case 31: return 2 * c[2] * t + c[1];
        case 32: return 2 * c[2];
        case 40: return ((c[3] * t + c[2]) * t + c[1]) * t + c[0];
        case 41: return (3 * c[3] * t + 2 * c[2]) * t + c[1];
        case 42: return 6 * c[3] * t + 2 * c[2];
        case 43: return 6 * c[3];
        default: break;
        }
        std::vector<R> w(c, c + shape_.order);
        for (std::int64_t k = 0; k < d; ++k) {
            for (std::size_t i = 1; i < w.size(); ++i) w[i - 1] = static_cast<R>(i) * w[i];
            w.pop_back();
        }
        R sum = w.back();
        for (std::size_t i = w.size() - 1; i-- > 0;) sum = sum * t + w[i];
        return sum;
    }

    // The same by the sum of powers, and the sum of the terms' magnitudes. Polynomials only.
    struct Exact {
        long double value = 0, size = 0;
    };
    Exact exact(std::int64_t f, R site, std::int64_t cell, std::int64_t d) const {
        const std::int64_t j = polynomial(site, cell);
        const long double t = static_cast<long double>(site) - breaks_[size(j)];
        Exact sum;
        for (std::int64_t k = d; k < shape_.order; ++k) {
            long double term = coefficients(f, j)[k];
            for (std::int64_t i = 0; i < d; ++i) term *= static_cast<long double>(k - i);
            for (std::int64_t i = d; i < k; ++i) term *= t;
            sum.value += term;
            sum.size += std::abs(term);
        }
        return sum;
    }

    R y(std::int64_t f, std::int64_t j) const {
        return shape_.y_hint == DF_Y_BY_COLS ? y_[size(j * shape_.ny + f)] : y_[size(f * shape_.nx + j)];
    }

private:
    static std::size_t size(std::int64_t n) { return static_cast<std::size_t>(n); }
    std::size_t block() const {
        return size((shape_.type == DF_TYPE_SUBBOTIN ? shape_.nx : shape_.nx - 1) * shape_.order);
    }
    const R* coefficients(std::int64_t f, std::int64_t j) const {
        return coeff_.data() + block() * size(f) + size(j * shape_.order);
    }

    void make_knots() {
        const std::int64_t nx = shape_.nx;
        knots_ = {breaks_.front()};
        for (std::int64_t k = 1; k < nx; ++k) knots_.push_back((breaks_[size(k - 1)] + breaks_[size(k)]) / 2);
        knots_.push_back(breaks_.back());
        if (shape_.ic_type == DF_IC_LISTED_SUBGRID) {
            for (std::int64_t k = 1; k < nx; ++k) knots_[size(k)] += uniform(R(-0.02), R(0.02));
            ic_ = knots_;
        } else if (shape_.ic_type == DF_IC_EVEN_SUBGRID) {
            ic_ = {knots_[1], knots_[size(nx - 1)]};
            for (std::int64_t k = 1; k < nx; ++k)
                knots_[size(k)] = ic_[0] + static_cast<R>(k - 1) * (ic_[1] - ic_[0]) / static_cast<R>(nx - 2);
        }
    }

    std::int64_t polynomial(R site, std::int64_t cell) const {
        const std::int64_t j = std::clamp<std::int64_t>(cell, 1, shape_.nx - 1) - 1;
        return shape_.is_subbotin() && site >= knots_[size(j + 1)] ? j + 1 : j;
    }
    std::int64_t value_index(R site, std::int64_t cell) const {
        const std::int64_t c = std::clamp<std::int64_t>(cell, 0, shape_.nx), m = std::max<std::int64_t>(c - 1, 0);
        if (shape_.type == DF_TYPE_STEP_RIGHT)
            return site == right_end() ? std::clamp<std::int64_t>(c, 1, shape_.nx - 1) : m;
        return c > 0 && m < shape_.nx - 1 && breaks_[size(m)] != site ? m + 1 : m;
    }

    ValueShape shape_;
    std::mt19937 random_;
    GuardedArray<R> x_, coeff_;
    std::vector<R> breaks_, knots_, ic_, y_;
    std::optional<FitTask<R>> task_;
};

// ---- calls
// -------------------------------------------------------------------------------------------------------------

template <class R> struct ValueCallback {
    typename Fit<R>::InterpolateCallback* function = nullptr;
    void* params = nullptr;
};

template <class R> struct ValueCall {
    std::int64_t type = 1, sitehint = DF_SITE_FREE, rhint = 16;
    std::vector<int> orders = {1};
    const R* datahint = nullptr;
    ValueCallback<R> left = {}, right = {}, inner = {};
    typename Fit<R>::SearchCallback* search_cb = nullptr;
    void* search_params = nullptr;
    const OstThreading* threading = nullptr;
    std::vector<std::int64_t> cells = {}; // given ones
    std::int64_t nsite = -1;              // as many as there are

    std::int64_t results() const { return std::count(orders.begin(), orders.end(), 1); }
};

template <class R> struct ValueResults {
    std::int32_t status;
    std::vector<R> r; // as the call laid them out
    std::vector<std::int64_t> cells;
};

template <class R> constexpr R untouched_result = R(-12345.5);

// Site and result arrays end at pages that can't be touched.
template <class R>
ValueResults<R> interpolate(DFTask1D* task, bool wide, std::int64_t ny, const std::vector<R>& sites,
                            const ValueCall<R>& call) {
    const std::int64_t nsite = call.nsite < 0 ? static_cast<std::int64_t>(sites.size()) : call.nsite;
    const GuardedArray<R> site(sites.size()), r(static_cast<std::size_t>(nsite * call.results() * ny));
    std::copy(sites.begin(), sites.end(), site.data());
    std::fill_n(r.data(), r.size(), untouched_result<R>);
    const auto run = [&](auto integer) {
        using Integer = decltype(integer);
        const std::vector<Integer> orders(call.orders.begin(), call.orders.end());
        const GuardedArray<Integer> cell(static_cast<std::size_t>(nsite));
        std::fill_n(cell.data(), cell.size(), static_cast<Integer>(untouched));
        for (std::size_t i = 0; i < call.cells.size(); ++i) cell[i] = static_cast<Integer>(call.cells[i]);
        const auto status = Fit<R>::interpolate(task, call.type, 0, nsite, site.data(), call.sitehint,
                                                static_cast<std::int64_t>(orders.size()), orders.data(), call.datahint,
                                                r.data(), call.rhint, cell.data(), call.left.function, call.left.params,
                                                call.right.function, call.right.params, call.inner.function,
                                                call.inner.params, call.search_cb, call.search_params, call.threading);
        return ValueResults<R>{status, {r.data(), r.data() + r.size()}, {cell.data(), cell.data() + cell.size()}};
    };
    return wide ? run(std::int64_t{}) : run(std::int32_t{});
}
template <class R>
ValueResults<R> interpolate(const ValueSubject<R>& subject, const std::vector<R>& sites, const ValueCall<R>& call) {
    return interpolate(subject.task(), subject.shape().wide, subject.shape().ny, sites, call);
}

// Where the layout has result d of site s of function f.
inline std::size_t place(std::int64_t rhint, std::int64_t functions, std::int64_t sites, std::int64_t results,
                         std::int64_t f, std::int64_t s, std::int64_t d) {
    switch (rhint) {
    case 32: return static_cast<std::size_t>((f * results + d) * sites + s);
    case 256: return static_cast<std::size_t>((s * functions + f) * results + d);
    case 512: return static_cast<std::size_t>((s * results + d) * functions + f);
    default: return static_cast<std::size_t>((f * sites + s) * results + d);
    }
}

} // namespace nvo::tests
