// Construction in tests: partitions of several shapes, a task with its data in any storage, and what a spline does at
// its joints, in higher precision.
#pragma once

#include "tests/support/fitting.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace nvo::tests {

using Wide = __float128;
inline Wide size_of(Wide a) { return a < 0 ? -a : a; }

template <class R> inline constexpr R epsilon = std::numeric_limits<R>::epsilon();

// ---- partitions ----------------------------------------------------------------------------------------------------

enum class Shape { even, random, graded };

// The breakpoints as the library sees them, and as the task gets them: on an even grid the two ends.
template <class R> struct Partition {
    std::uint64_t hint;
    std::vector<R> at, given;

    std::int64_t nx() const { return static_cast<std::int64_t>(at.size()); }
    R width(std::int64_t j) const { return hint == DF_GRID_EVEN ? (given[1] - given[0]) / R(nx() - 1) : gap(j); }
    R gap(std::int64_t j) const { return at[j + 1] - at[j]; }
    // The same breakpoints, listed.
    Partition listed() const { return {DF_GRID_IRREGULAR, at, at}; }
};

template <class R> Partition<R> even_partition(R first, R last, std::int64_t nx) {
    Partition<R> x{DF_GRID_EVEN, {}, {first, last}};
    const R step = (last - first) / R(nx - 1);
    for (std::int64_t j = 0; j < nx; ++j) x.at.push_back(first + R(j) * step);
    return x;
}

// From about -1 on: cells as wide as each other, up to 4 times or up to 10^6 times as wide as their neighbours.
template <class R> Partition<R> partition(Shape shape, std::int64_t nx, std::mt19937& random) {
    if (shape == Shape::even) return even_partition(R(-1.1), R(2.3), nx);
    Partition<R> x{DF_GRID_FREE, {}, {}};
    const double spread = shape == Shape::random ? 2 : 1000;
    R end = -1;
    for (std::int64_t j = 0; j < nx; ++j) {
        x.at.push_back(end);
        const R width = R(std::pow(spread, std::uniform_real_distribution(-1.0, 1.0)(random)) / spread);
        end += std::max(width, 64 * epsilon<R> * std::abs(end)); // room for a knot
    }
    x.given = x.at;
    return x;
}

// ---- functions and tasks -------------------------------------------------------------------------------------------

template <class R> using Functions = std::vector<std::vector<R>>; // value j of function i: [i][j]

template <class R> Functions<R> random_functions(std::int64_t ny, std::int64_t nx, std::mt19937& random) {
    std::uniform_real_distribution<R> value(-1, 1);
    Functions<R> y(static_cast<std::size_t>(ny), std::vector<R>(static_cast<std::size_t>(nx)));
    for (auto& function : y)
        for (R& v : function) v = value(random);
    return y;
}

inline constexpr std::uint64_t storages[] = {DF_Y_DEFAULT, DF_Y_BY_ROWS, DF_Y_BY_COLS, DF_Y_SEPARATE};

// A task with partition, functions and coefficient blocks. Separate arrays, of values or of coefficients, lie in
// descending order.
template <class R> class Problem {
public:
    Problem(Partition<R> x, Functions<R> y, std::int64_t order, std::int64_t type, std::uint64_t y_hint = DF_Y_BY_ROWS,
            std::uint64_t coeff_hint = DF_Y_BY_ROWS)
        : x_(std::move(x)), y_(std::move(y)), order_(order), type_(type), coeff_hint_(coeff_hint),
          values_(in_memory(y_hint)),
          task_(x_.nx(), x_.given.data(), x_.hint, ny(), values_.data() + place(y_hint, 0, x_.nx()), y_hint) {
        for (std::int64_t i = 1; y_hint == DF_Y_SEPARATE && i < ny(); ++i)
            Fit<R>::edit_index(get(), DF_ATTR_Y, i, values_.data() + place(y_hint, i, x_.nx()));
        coeff_.assign(static_cast<std::size_t>(ny() * block() + 1), guard);
        conditions(DF_BC_NOT_SET, {}, 0, {});
    }

    // Empty conditions stand for a null pointer.
    Problem& conditions(std::uint64_t bc_type, std::vector<R> bc, std::uint64_t ic_type = 0, std::vector<R> ic = {}) {
        bc_ = std::move(bc);
        ic_ = std::move(ic);
        const R *bc_values = bc_.empty() ? nullptr : bc_.data(), *ic_values = ic_.empty() ? nullptr : ic_.data();
        task_.spline(order_, type_, coeff_.data() + place(coeff_hint_, 0, block()), bc_values ? bc_type : 0, bc_values,
                     ic_values ? ic_type : 0, ic_values, coeff_hint_);
        nvo_df_kernel_iEditVal(get(), DF_ATTR_BC_TYPE, static_cast<std::int64_t>(bc_type));
        nvo_df_kernel_iEditVal(get(), DF_ATTR_IC_TYPE, static_cast<std::int64_t>(ic_type));
        for (std::int64_t i = 1; coeff_hint_ == DF_Y_SEPARATE && i < ny(); ++i)
            Fit<R>::edit_index(get(), DF_ATTR_COEFF, i, coeff_.data() + place(coeff_hint_, i, block()));
        return *this;
    }

    DFTask1D* get() const { return task_.get(); }
    const Partition<R>& x() const { return x_; }
    const Functions<R>& y() const { return y_; }
    std::int64_t ny() const { return static_cast<std::int64_t>(y_.size()); }
    std::int64_t cells() const { return type_ == DF_TYPE_SUBBOTIN ? x_.nx() : x_.nx() - 1; }
    const R* cell(std::int64_t i, std::int64_t j) const {
        return coeff_.data() + place(coeff_hint_, i, block()) + j * order_;
    }
    // Every function's cells, whatever the storage; nothing may be written behind them.
    std::vector<R> all_cells() const {
        EXPECT_EQ(guard, coeff_.back());
        std::vector<R> all;
        for (std::int64_t i = 0; i < ny(); ++i) all.insert(all.end(), cell(i, 0), cell(i, 0) + block());
        return all;
    }
    bool is_untouched() const {
        return std::all_of(coeff_.begin(), coeff_.end(), [](R c) { return c == guard; });
    }

private:
    static constexpr R guard = -12345;

    std::int64_t block() const { return cells() * order_; }
    std::int64_t place(std::uint64_t hint, std::int64_t i, std::int64_t length) const {
        return (hint == DF_Y_SEPARATE ? ny() - 1 - i : i) * length;
    }
    std::vector<R> in_memory(std::uint64_t hint) const {
        const std::int64_t nx = x_.nx();
        std::vector<R> memory(static_cast<std::size_t>(ny() * nx));
        for (std::int64_t i = 0; i < ny(); ++i)
            for (std::int64_t j = 0; j < nx; ++j)
                memory[hint == DF_Y_BY_COLS ? j * ny() + i : place(hint, i, nx) + j] = y_[i][j];
        return memory;
    }

    Partition<R> x_;
    Functions<R> y_;
    std::int64_t order_, type_;
    std::uint64_t coeff_hint_;
    std::vector<R> values_, coeff_, bc_, ic_;
    FitTask<R> task_;
};

// The same blocks, bit for bit, come out of every storage of values and of blocks. construct(problem) sets conditions
// and calls the export.
template <class R, class Construct>
void expect_same_in_every_storage(const Partition<R>& x, std::int64_t order, std::int64_t type, std::mt19937& random,
                                  Construct construct) {
    for (std::int64_t ny : {1, 2, 3, 9}) {
        const auto y = random_functions<R>(ny, x.nx(), random);
        Problem<R> plain(x, y, order, type);
        construct(plain);
        const auto expected = plain.all_cells();
        for (const std::uint64_t y_hint : storages) {
            for (const std::uint64_t coeff_hint : {DF_Y_DEFAULT, DF_Y_SEPARATE}) {
                Problem<R> problem(x, y, order, type, y_hint, coeff_hint);
                construct(problem);
                EXPECT_EQ(expected, problem.all_cells()) << "nx " << x.nx() << " ny " << ny << " y_hint " << y_hint;
            }
        }
    }
}

// ---- polynomials ---------------------------------------------------------------------------------------------------

struct Taylor {
    Wide value, slope;
};

// Of a cell with `order` coefficients, at distance u from where it is centred.
template <class R> Taylor taylor(const R* cell, int order, Wide u) {
    const Wide c0 = cell[0], c1 = cell[1], c2 = order > 2 ? cell[2] : 0;
    return {c0 + (c1 + c2 * u) * u, c1 + 2 * c2 * u};
}

// Of a million cells pairs of neighbours are looked at, and the ends.
inline bool is_looked_at(std::int64_t cell, std::int64_t nx) { return nx <= 1000 || cell % 20 < 2 || cell > nx - 5; }

// Errors in units of what rounding may do; the largest is kept, with the place where it was seen.
class Worst {
public:
    void see(Wide error, Wide unit, std::int64_t nx, std::int64_t place) {
        const double ratio = error == 0 ? 0 : static_cast<double>(size_of(error) / unit);
        if (ratio <= largest_) return; // a NaN is kept
        largest_ = ratio;
        nx_ = nx;
        place_ = place;
    }
    void expect_below(double multiple) const { EXPECT_LE(largest_, multiple) << "nx " << nx_ << ", at " << place_; }

private:
    double largest_ = 0;
    std::int64_t nx_ = 0, place_ = 0;
};

} // namespace nvo::tests
