// Tasks of every model that has an integral, with random contents, and their integrals by another way: piece by piece,
// each by the exact antiderivative of its polynomial, in extended precision and without cells.
#pragma once

#include "tests/support/fitting.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <random>
#include <string>

namespace nvo::tests {

struct IntegralShape {
    std::int64_t order, type;
    std::uint64_t ic_type = 0, x_hint = DF_GRID_IRREGULAR, y_hint = DF_Y_BY_ROWS;
    std::int64_t nx = 50, ny = 1;

    bool is_step() const { return order == 0; }
    std::string text() const {
        return "order " + std::to_string(order) + " type " + std::to_string(type) + " ic_type " +
               std::to_string(ic_type) + " x_hint " + std::to_string(x_hint) + " y_hint " + std::to_string(y_hint) +
               " nx " + std::to_string(nx) + " ny " + std::to_string(ny);
    }
};

// One of each integrator, of the Subbotin kind one a subgrid.
inline std::vector<IntegralShape> integral_models() {
    return {{2, 0},
            {3, DF_TYPE_DEFAULT},
            {4, DF_TYPE_AKIMA},
            {3, DF_TYPE_SUBBOTIN},
            {3, DF_TYPE_SUBBOTIN, DF_IC_LISTED_SUBGRID},
            {3, DF_TYPE_SUBBOTIN, DF_IC_EVEN_SUBGRID},
            {7, 0},
            {0, DF_TYPE_STEP_LEFT},
            {0, DF_TYPE_STEP_RIGHT}};
}

// Those models on every grid, in every storage, for 1 and 3 functions.
inline std::vector<IntegralShape> integral_shapes() {
    std::vector<IntegralShape> shapes;
    for (IntegralShape shape : integral_models())
        for (const std::uint64_t x_hint : {DF_GRID_FREE, DF_GRID_IRREGULAR, DF_GRID_NEAR_EVEN, DF_GRID_EVEN})
            for (const std::int64_t nx : {2, 3, 4, 150})
                for (const std::int64_t ny : {1, 3}) {
                    if (shape.ic_type == DF_IC_EVEN_SUBGRID && nx < 3) continue;
                    shape.x_hint = x_hint;
                    shape.nx = nx;
                    shape.ny = ny;
                    shape.y_hint = ny == 3 ? DF_Y_BY_COLS : DF_Y_SEPARATE;
                    shapes.push_back(shape);
                }
    return shapes;
}

template <class R> class IntegralSubject {
public:
    // size: of the terms that the integral is a sum of, for error bounds.
    struct Integral {
        long double value = 0, size = 0;
    };

    explicit IntegralSubject(const IntegralShape& shape, std::uint32_t seed = 1) : shape_(shape), random_(seed) {
        const auto n = static_cast<std::size_t>(shape.nx);
        // Even knots need a partition that is nearly even.
        const R least = shape.ic_type == DF_IC_EVEN_SUBGRID ? R(0.11) : R(0.03), most = R(0.22) - least;
        R end = R(-1.25);
        for (std::size_t j = 0; j < n; ++j, end += least + uniform(0, 1) * (most - least)) breaks_.push_back(end);
        x_ = breaks_;
        if (shape.x_hint == DF_GRID_EVEN) {
            x_ = {breaks_.front(), breaks_.back()};
            const R step = (x_[1] - x_[0]) / static_cast<R>(shape.nx - 1);
            for (std::size_t j = 0; j < n; ++j) breaks_[j] = x_[0] + static_cast<R>(j) * step;
        }
        make_knots();
        const auto ny = static_cast<std::size_t>(shape.ny);
        const std::size_t cells = shape.type == DF_TYPE_SUBBOTIN ? n : n - 1;
        for (std::size_t i = 0; i < n * ny; ++i) y_.push_back(uniform(-1, 3));
        coeff_.resize(cells * ny * static_cast<std::size_t>(shape.order));
        for (R& c : coeff_) c = uniform(-2, 2);
        task_.emplace(shape.nx, x_.data(), shape.x_hint, shape.ny, y_.data(), shape.y_hint);
        if (shape.y_hint == DF_Y_SEPARATE)
            for (std::size_t f = 1; f < ny; ++f)
                Fit<R>::edit_index(task(), DF_ATTR_Y, static_cast<std::int64_t>(f), y_.data() + f * n);
        task_->spline(shape.order, shape.type, shape.is_step() ? nullptr : coeff_.data(), 0, nullptr, shape.ic_type,
                      shape.ic_type ? ic_.data() : nullptr);
    }

    DFTask1D* task() const { return task_->get(); }
    const std::vector<R>& breaks() const { return breaks_; }
    R right_end() const { return x_.back(); }
    // Where pieces meet.
    const std::vector<R>& cuts() const { return shape_.type == DF_TYPE_SUBBOTIN ? knots_ : breaks_; }
    R uniform(R low, R high) { return std::uniform_real_distribution<R>(low, high)(random_); }

    // Anything: in cells, on breakpoints and knots, near them, outside.
    R limit() {
        const R length = breaks_.back() - breaks_.front();
        const auto some = [&](const std::vector<R>& from) {
            return from[std::uniform_int_distribution<std::size_t>(0, from.size() - 1)(random_)];
        };
        switch (std::uniform_int_distribution(0, 7)(random_)) {
        case 0: return breaks_.front() - uniform(0, length);
        case 1: return x_.back() + uniform(0, length);
        case 2: return some(breaks_);
        case 3: return some(cuts());
        case 4: return std::nextafter(some(breaks_), uniform(-10, 10));
        default: return uniform(breaks_.front(), breaks_.back());
        }
    }

    // From a to b, of the model followed on beyond its ends.
    Integral integral(std::int64_t function, R a, R b) const {
        if (b < a) {
            const Integral other = integral(function, b, a);
            return {-other.value, other.size};
        }
        Integral sum;
        for (std::int64_t k = 0; k < pieces(); ++k) {
            const R from = k == 0 ? a : std::max(a, cut(k)), to = k == pieces() - 1 ? b : std::min(b, cut(k + 1));
            if (from < to) add_piece(function, k, from, to, sum);
        }
        return sum;
    }

private:
    void make_knots() {
        const std::size_t n = breaks_.size();
        for (std::size_t k = 1; k < n; ++k) {
            const R left = breaks_[k - 1], right = breaks_[k];
            knots_.push_back(shape_.ic_type == 0 ? (left + right) / 2
                                                 : left + uniform(R(0.2), R(0.8)) * (right - left));
        }
        ic_ = knots_;
        if (shape_.ic_type == DF_IC_EVEN_SUBGRID) {
            ic_ = {knots_.front(), knots_.back()};
            for (std::size_t k = 0; k < knots_.size(); ++k)
                knots_[k] = ic_[0] + static_cast<R>(k) * (ic_[1] - ic_[0]) / static_cast<R>(n - 2);
        }
        for (std::vector<R>* knots : {&ic_, &knots_}) {
            if (shape_.ic_type == DF_IC_EVEN_SUBGRID && knots == &ic_) continue;
            knots->insert(knots->begin(), breaks_.front());
            knots->push_back(breaks_.back());
        }
    }

    // Piece k lies between cut(k) and cut(k + 1); the first and the last go on.
    std::int64_t pieces() const {
        return shape_.is_step() || shape_.type == DF_TYPE_SUBBOTIN ? shape_.nx : shape_.nx - 1;
    }
    R cut(std::int64_t k) const {
        if (shape_.type == DF_TYPE_STEP_LEFT) --k;
        return cuts()[static_cast<std::size_t>(k)];
    }
    void add_piece(std::int64_t function, std::int64_t k, long double from, long double to, Integral& sum) const {
        const long double length = to - from;
        if (shape_.is_step()) {
            const std::int64_t at = shape_.y_hint == DF_Y_BY_COLS ? k * shape_.ny + function : function * shape_.nx + k;
            const long double y = y_[static_cast<std::size_t>(at)];
            sum.value += y * length;
            sum.size += std::fabs(y) * (length + rounding_of_breaks());
            return;
        }
        const std::int64_t cells = shape_.type == DF_TYPE_SUBBOTIN ? shape_.nx : shape_.nx - 1;
        const R* c = coeff_.data() + (function * cells + k) * shape_.order;
        const long double centre = breaks_[static_cast<std::size_t>(k)];
        const long double u = from - centre, w = to - centre;
        long double u_power = 1, w_power = 1;
        for (int power = 1; power <= shape_.order; ++power) {
            const long double coefficient = c[power - 1];
            sum.size += std::fabs(coefficient) * (std::fabs(u_power) + std::fabs(w_power)) * rounding_of_breaks();
            u_power *= u;
            w_power *= w;
            sum.value += coefficient * (w_power - u_power) / power;
            sum.size += std::fabs(coefficient) * (std::fabs(w_power) + std::fabs(u_power));
        }
    }
    // Breakpoints of an even grid are rounded, and widths are the step.
    long double rounding_of_breaks() const {
        return shape_.x_hint == DF_GRID_EVEN ? std::max(std::fabs(x_[0]), std::fabs(x_[1])) : 0;
    }

    IntegralShape shape_;
    std::mt19937_64 random_;
    std::vector<R> x_, breaks_, ic_, knots_, y_, coeff_;
    std::optional<FitTask<R>> task_;
};

// The arguments of an integration that tests leave out.
template <class R> struct IntegrateCall {
    using Callback = typename Fit<R>::IntegrateCallback;
    std::int64_t left_hint = DF_SITE_FREE, right_hint = DF_SITE_FREE;
    const R *left_data = nullptr, *right_data = nullptr;
    std::int64_t rhint = DF_Y_DEFAULT;
    Callback *le_cb = nullptr, *re_cb = nullptr, *i_cb = nullptr;
    void* params = nullptr; // of the three
    typename Fit<R>::SearchCallback* search_cb = nullptr;
    void* search_params = nullptr;
    const OstThreading* threading = nullptr;

    std::int32_t operator()(DFTask1D* task, std::int64_t nlim, const R* left, const R* right, R* r) const {
        return Fit<R>::integrate(task, 0, nlim, left, left_hint, right, right_hint, left_data, right_data, r, rhint,
                                 le_cb, params, re_cb, params, i_cb, params, search_cb, search_params, threading);
    }
};

} // namespace nvo::tests
