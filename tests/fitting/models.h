// Tasks of every model with random contents, in arrays that end at pages that can't be touched, and what their values
// and integrals are.
#pragma once

#include "tests/fitting/search.h"
#include "tests/support/guarded.h"

#include <optional>
#include <string>
#include <tuple>

namespace nvo::tests {

struct ModelShape {
    std::int64_t order, type;
    std::uint64_t ic_type = 0, x_hint = DF_GRID_IRREGULAR, y_hint = DF_Y_BY_ROWS;
    std::int64_t nx = 50, ny = 1;
    bool wide = false;

    bool is_step() const { return order == 0; }
    bool is_subbotin() const { return order == 3 && type == DF_TYPE_SUBBOTIN; }
    std::string text() const {
        return "order, type, ic_type, x_hint, y_hint, nx, ny, wide: " +
               testing::PrintToString(std::tuple(order, type, ic_type, x_hint, y_hint, nx, ny, wide));
    }
};

inline const std::vector<ModelShape> models = [] {
    std::vector<ModelShape> all = {{2, 0}, {2, 77}, {3, DF_TYPE_DEFAULT}};
    for (const std::int64_t type :
         {DF_TYPE_DEFAULT, DF_TYPE_NATURAL, DF_TYPE_HERMITE, DF_TYPE_BESSEL, DF_TYPE_AKIMA, DF_TYPE_HYMAN})
        all.push_back({4, type});
    all.insert(all.end(), {{3, DF_TYPE_SUBBOTIN},
                           {3, DF_TYPE_SUBBOTIN, DF_IC_LISTED_SUBGRID},
                           {3, DF_TYPE_SUBBOTIN, DF_IC_EVEN_SUBGRID}});
    for (const std::int64_t order : {5, 10, 11}) all.push_back({order, 0});
    for (const std::int64_t type : {DF_TYPE_STEP_LEFT, DF_TYPE_STEP_RIGHT}) all.push_back({0, type});
    return all;
}();

template <class R> class ModelTask {
public:
    // size: of the terms that the value is a sum of, for error bounds.
    struct Exact {
        long double value = 0, size = 0;
    };

    explicit ModelTask(const ModelShape& shape, std::uint32_t seed = 1)
        : shape_(shape), random_(seed), x_(shape.x_hint == DF_GRID_EVEN ? 2 : index(shape.nx)),
          coeff_(index(cells() * shape.order * shape.ny)), y_(index(shape.nx * shape.ny)),
          ic_(shape.ic_type == DF_IC_EVEN_SUBGRID ? 2 : index(shape.nx + 1)) {
        // Even knots need a partition that is even.
        const R least = shape.ic_type == DF_IC_EVEN_SUBGRID ? R(0.11) : R(0.03), most = R(0.22) - least;
        R end = R(-1.25);
        for (std::int64_t j = 0; j < shape.nx; ++j, end += least + uniform(0, 1) * (most - least))
            breaks_.push_back(end);
        std::copy_n(breaks_.begin(), x_.size(), x_.data());
        if (shape.x_hint == DF_GRID_EVEN) {
            x_[1] = breaks_.back();
            const R step = (x_[1] - x_[0]) / static_cast<R>(shape.nx - 1);
            for (std::size_t j = 0; j < breaks_.size(); ++j) breaks_[j] = x_[0] + static_cast<R>(j) * step;
        }
        make_knots();
        for (std::size_t i = 0; i < coeff_.size(); ++i) coeff_[i] = uniform(-2, 2);
        for (std::size_t i = 0; i < y_.size(); ++i) y_[i] = uniform(-1, 3);
        task_.emplace(shape.nx, x_.data(), shape.x_hint, shape.ny, y_.data(), shape.y_hint, shape.wide);
        for (std::int64_t f = 1; shape.y_hint == DF_Y_SEPARATE && f < shape.ny; ++f)
            Fit<R>::edit_index(task(), DF_ATTR_Y, f, y_.data() + f * shape.nx);
        task_->spline(shape.order, shape.type, shape.is_step() ? nullptr : coeff_.data(), 0, nullptr, shape.ic_type,
                      shape.ic_type ? ic_.data() : nullptr);
    }

    DFTask1D* task() const { return task_->get(); }
    const ModelShape& shape() const { return shape_; }
    const std::vector<R>& breaks() const { return breaks_; }
    // Where pieces meet.
    const std::vector<R>& cuts() const { return shape_.is_subbotin() ? knots_ : breaks_; }
    R left_end() const { return x_[0]; }
    R right_end() const { return x_[x_.size() - 1]; }
    std::mt19937& random() { return random_; }
    R uniform(R low, R high) { return std::uniform_real_distribution<R>(low, high)(random_); }

    // Anything: in cells, on breakpoints and knots, near them, outside.
    R site() {
        const std::vector<R>& some = random_() % 2 ? cuts() : breaks_;
        const R mark = some[random_() % some.size()], length = right_end() - left_end();
        switch (random_() % 8) {
        case 0: return left_end() - uniform(0, length);
        case 1: return right_end() + uniform(0, length);
        case 2: return right_end();
        case 3: return mark;
        case 4: return std::nextafter(mark, uniform(-100, 100));
        default: return uniform(left_end(), right_end());
        }
    }
    std::vector<R> sites(std::int64_t n) {
        std::vector<R> all(index(n));
        for (R& t : all) t = site();
        return all;
    }

    std::int64_t cell(R site) const {
        if (shape_.x_hint == DF_GRID_EVEN) return even_cell(x_.data(), shape_.nx, site);
        return counted_cell(breaks_, site);
    }

    // Derivative d of function f, of polynomials by Horner's scheme: the library's bits.
    R value(std::int64_t f, R site, std::int64_t cell, std::int64_t d) const {
        if (shape_.is_step()) return d > 0 ? 0 : y(f, value_index(site, cell));
        const std::int64_t k = piece(site, cell);
        const R t = site - breaks_[index(k)];
        std::vector<R> w(coefficients(f, k), coefficients(f, k) + shape_.order);
        for (; d > 0 && !w.empty(); --d) {
            for (std::size_t i = 1; i < w.size(); ++i) w[i - 1] = static_cast<R>(i) * w[i];
            w.pop_back();
        }
        R sum = w.empty() ? R(0) : w.back();
        for (std::size_t i = w.size(); i-- > 1;) sum = sum * t + w[i - 1];
        return sum;
    }
    // The same of polynomials, by the sum of powers.
    Exact exact(std::int64_t f, R site, std::int64_t cell, std::int64_t d) const {
        const std::int64_t piece_of_site = piece(site, cell);
        const long double t = static_cast<long double>(site) - breaks_[index(piece_of_site)];
        Exact sum;
        for (std::int64_t k = d; k < shape_.order; ++k) {
            long double term = coefficients(f, piece_of_site)[k];
            for (std::int64_t i = 0; i < k; ++i) term *= i < d ? static_cast<long double>(k - i) : t;
            sum.value += term;
            sum.size += std::abs(term);
        }
        return sum;
    }

    // From a to b, of the model followed on beyond its ends: piece by piece and without cells, by the antiderivatives.
    Exact integral(std::int64_t function, R a, R b) const {
        Exact sum{0, 3 * rounding_of_breaks()}; // a limit on a breakpoint may be found on its other side
        const R low = std::min(a, b), high = std::max(a, b);
        const std::int64_t pieces = shape_.is_step() ? shape_.nx : cells();
        const auto cut = [&](std::int64_t k) { return cuts()[index(k - (shape_.type == DF_TYPE_STEP_LEFT))]; };
        for (std::int64_t k = 0; k < pieces; ++k) {
            const R from = k == 0 ? low : std::max(low, cut(k)),
                    to = k == pieces - 1 ? high : std::min(high, cut(k + 1));
            if (from < to) add_piece(function, k, from, to, sum);
        }
        return {b < a ? -sum.value : sum.value, sum.size};
    }

private:
    static std::size_t index(std::int64_t n) { return static_cast<std::size_t>(n); }
    std::int64_t cells() const { return shape_.is_subbotin() ? shape_.nx : shape_.nx - 1; }
    const R* coefficients(std::int64_t f, std::int64_t k) const {
        return coeff_.data() + (f * cells() + k) * shape_.order;
    }
    R y(std::int64_t f, std::int64_t j) const {
        return y_[index(shape_.y_hint == DF_Y_BY_COLS ? j * shape_.ny + f : f * shape_.nx + j)];
    }

    void make_knots() {
        const std::int64_t nx = shape_.nx;
        knots_ = {breaks_.front()};
        for (std::int64_t k = 1; k < nx; ++k) {
            const R left = breaks_[index(k - 1)], right = breaks_[index(k)];
            knots_.push_back(shape_.ic_type ? left + uniform(R(0.2), R(0.8)) * (right - left) : (left + right) / 2);
        }
        knots_.push_back(breaks_.back());
        std::copy_n(knots_.begin(), ic_.size(), ic_.data());
        if (shape_.ic_type != DF_IC_EVEN_SUBGRID) return;
        ic_[0] = knots_[1];
        ic_[1] = knots_[index(nx - 1)];
        for (std::int64_t k = 1; k < nx; ++k)
            knots_[index(k)] = ic_[0] + static_cast<R>(k - 1) * (ic_[1] - ic_[0]) / static_cast<R>(nx - 2);
    }

    std::int64_t piece(R site, std::int64_t cell) const {
        const std::int64_t j = std::clamp<std::int64_t>(cell, 1, shape_.nx - 1) - 1;
        return j + (shape_.is_subbotin() && site >= knots_[index(j + 1)]);
    }
    std::int64_t value_index(R site, std::int64_t cell) const {
        const std::int64_t c = std::clamp<std::int64_t>(cell, 0, shape_.nx), m = std::max<std::int64_t>(c - 1, 0);
        if (shape_.type == DF_TYPE_STEP_RIGHT)
            return site == right_end() ? std::clamp<std::int64_t>(c, 1, shape_.nx - 1) : m;
        return c > 0 && m < shape_.nx - 1 && breaks_[index(m)] != site ? m + 1 : m;
    }
    // Breakpoints of an even grid are rounded, and widths are the step.
    long double rounding_of_breaks() const {
        return shape_.x_hint == DF_GRID_EVEN ? std::max(std::abs(left_end()), std::abs(right_end())) : 0;
    }
    void add_piece(std::int64_t f, std::int64_t k, long double from, long double to, Exact& sum) const {
        const long double rounding = rounding_of_breaks();
        if (shape_.is_step()) {
            sum.value += y(f, k) * (to - from);
            sum.size += std::abs(y(f, k)) * (to - from + rounding);
            return;
        }
        const R* c = coefficients(f, k);
        const long double u = from - breaks_[index(k)], w = to - breaks_[index(k)];
        long double u_power = 1, w_power = 1;
        for (int power = 1; power <= shape_.order; ++power) {
            const long double size = std::abs(c[power - 1]);
            sum.size += size * (std::abs(u_power) + std::abs(w_power)) * rounding;
            u_power *= u;
            w_power *= w;
            sum.value += c[power - 1] * (w_power - u_power) / power;
            sum.size += size * (std::abs(w_power) + std::abs(u_power));
        }
    }

    ModelShape shape_;
    std::mt19937 random_;
    GuardedArray<R> x_, coeff_, y_, ic_;
    std::vector<R> breaks_, knots_;
    std::optional<FitTask<R>> task_;
};

} // namespace nvo::tests
