// Construction in tests: partitions of several shapes, the kinds of splines with their boundary conditions, a task with
// its data in any storage, and how cells look at their ends, in higher precision.
#pragma once

#include "fitting/task.h"
#include "tests/support/fitting.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <utility>
#include <vector>

namespace nvo::tests {

using Wide = __float128;
inline Wide size_of(Wide a) { return a < 0 ? -a : a; }

template <class R> inline constexpr R epsilon = std::numeric_limits<R>::epsilon();

// ---- partitions ----------------------------------------------------------------------------------------------------

enum class Shape { even, random, graded };
inline constexpr Shape shapes[] = {Shape::even, Shape::random, Shape::graded};

// The breakpoints as the library sees them, and as the task gets them: on an even grid the two ends.
template <class R> struct Partition {
    std::uint64_t hint;
    std::vector<R> at, given;

    std::int64_t nx() const { return static_cast<std::int64_t>(at.size()); }
    R gap(std::int64_t j) const { return at[j + 1] - at[j]; }
    // As exact as the library sees it.
    Wide width(std::int64_t j) const {
        return hint == DF_GRID_EVEN ? Wide((given[1] - given[0]) / R(nx() - 1)) : Wide(at[j + 1]) - at[j];
    }
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

// ---- kinds ---------------------------------------------------------------------------------------------------------

template <class R> using Functions = std::vector<std::vector<R>>; // value j of function i: [i][j]

template <class R> Functions<R> random_functions(std::int64_t ny, std::int64_t nx, std::mt19937& random) {
    std::uniform_real_distribution<R> value(-1, 1);
    Functions<R> y(static_cast<std::size_t>(ny), std::vector<R>(static_cast<std::size_t>(nx)));
    for (auto& function : y)
        for (R& v : function) v = value(random);
    return y;
}

enum class Inner { listed, even, middles }; // knots of a Subbotin spline

template <class R> struct Kind {
    const char* name;
    std::int32_t (*construct)(DFTask1D*, std::int64_t, std::int64_t, const OstThreading*);
    std::int64_t order, type, least_nx;
    Inner inner = Inner::middles;

    bool is_cubic() const { return order == 4; }
    bool is_local() const { return is_cubic() && type != DF_TYPE_NATURAL && type != DF_TYPE_DEFAULT; }
    bool is_subbotin() const { return order == 3 && type == DF_TYPE_SUBBOTIN; }
    bool reads_ic() const { return is_cubic() && (type == DF_TYPE_DEFAULT || type == DF_TYPE_HERMITE); }
    std::int64_t least_nx_under(std::uint64_t bc_type) const {
        return least_nx + (is_cubic() && bc_type == DF_BC_NOT_A_KNOT && !is_local());
    }
    std::vector<std::uint64_t> conditions() const {
        if (order == 2) return {DF_BC_NOT_SET};
        if (is_subbotin()) return {12, 36, 24, 48};
        if (order == 3) return {DF_BC_MIDPOINT};
        std::vector<std::uint64_t> all = {DF_BC_NOT_A_KNOT, DF_BC_FREE_END, 12, 36, 24, 48, DF_BC_PERIODIC};
        if (type == DF_TYPE_AKIMA) all.push_back(DF_BC_NOT_SET);
        return all;
    }
    // Whether it is an error to leave them out.
    bool wants_values(std::uint64_t bc_type) const {
        return bc_type == DF_BC_PERIODIC ? reads_ic() : bc_type > DF_BC_FREE_END;
    }
    // What a task is told of the breakpoints inside or of knots; random numbers.
    std::vector<R> ic(const Partition<R>& x, std::mt19937& random) const {
        const std::int64_t nx = x.nx();
        if (reads_ic()) return random_functions<R>(1, nx - 2, random)[0];
        if (!is_subbotin() || inner == Inner::middles) return {};
        if (inner == Inner::even) return {x.at[0] + R(0.4) * x.gap(0), x.at[nx - 2] + R(0.45) * x.gap(nx - 2)};
        std::vector<R> knots = {x.at.front()};
        for (std::int64_t k = 0; k < nx - 1; ++k)
            knots.push_back(x.at[k] + R(std::uniform_real_distribution(0.1, 0.9)(random)) * x.gap(k));
        knots.push_back(x.at.back());
        return knots;
    }
    std::uint64_t ic_type() const {
        if (!is_subbotin()) return reads_ic();
        return inner == Inner::even ? DF_IC_EVEN_SUBGRID : DF_IC_LISTED_SUBGRID;
    }
};

template <class R> std::vector<Kind<R>> all_kinds() {
    return {{"linear", Fit<R>::linear, 2, 0, 2},
            {"quadratic", Fit<R>::quadratic, 3, DF_TYPE_DEFAULT, 2},
            {"Subbotin", Fit<R>::quadratic, 3, DF_TYPE_SUBBOTIN, 3, Inner::listed},
            {"Subbotin, even", Fit<R>::quadratic, 3, DF_TYPE_SUBBOTIN, 3, Inner::even},
            {"Subbotin, middles", Fit<R>::quadratic, 3, DF_TYPE_SUBBOTIN, 3, Inner::middles},
            {"natural", Fit<R>::natural, 4, DF_TYPE_NATURAL, 2},
            {"default", Fit<R>::default_cubic, 4, DF_TYPE_DEFAULT, 3},
            {"akima", Fit<R>::akima, 4, DF_TYPE_AKIMA, 5},
            {"bessel", Fit<R>::bessel, 4, DF_TYPE_BESSEL, 4},
            {"hyman", Fit<R>::hyman, 4, DF_TYPE_HYMAN, 4},
            {"hermite", Fit<R>::hermite, 4, DF_TYPE_HERMITE, 3}};
}
template <class R, class Test> std::vector<Kind<R>> kinds_that(Test test) {
    auto kinds = all_kinds<R>();
    std::erase_if(kinds, [&](const auto& kind) { return !test(kind); });
    return kinds;
}
template <class R> Kind<R> kind_of(std::int64_t order, std::int64_t type) {
    return kinds_that<R>([=](const auto& kind) { return kind.order == order && kind.type == type; })[0];
}

// ---- problems ------------------------------------------------------------------------------------------------------

inline constexpr std::uint64_t storages[] = {DF_Y_DEFAULT, DF_Y_BY_ROWS, DF_Y_BY_COLS, DF_Y_SEPARATE};

// A task with partition, functions and coefficient blocks. Separate arrays, of values or of coefficients, lie in
// descending order. Conditions that a kind doesn't read are not there: a null pointer.
template <class R> struct Problem {
    Kind<R> kind;
    Partition<R> x;
    Functions<R> y;
    std::uint64_t bc_type;
    std::vector<R> bc, ic;

    Problem(const Kind<R>& of, Partition<R> partition, Functions<R> functions, std::uint64_t condition,
            std::vector<R> ends = {}, std::vector<R> inside = {}, std::uint64_t y_hint = DF_Y_BY_ROWS,
            std::uint64_t coeff_hint = DF_Y_BY_ROWS)
        : kind(of), x(std::move(partition)), y(std::move(functions)), bc_type(condition), bc(std::move(ends)),
          ic(std::move(inside)), coeff_hint_(coeff_hint), values_(in_memory(y_hint)),
          coeff_(static_cast<std::size_t>(ny() * block() + 1), guard),
          task_(x.nx(), x.given.data(), x.hint, ny(), values_.data() + place(y_hint, 0, x.nx()), y_hint) {
        const R *bc_values = kind.wants_values(bc_type) ? bc.data() : nullptr,
                *ic_values = ic.empty() ? nullptr : ic.data();
        task_.spline(kind.order, kind.type, coeff_.data() + place(coeff_hint_, 0, block()), bc_values ? bc_type : 0,
                     bc_values, ic_values ? kind.ic_type() : 0, ic_values, coeff_hint_);
        record().bc_type = bc_type;
        record().ic_type = kind.ic_type();
        for (std::int64_t i = 1; i < ny(); ++i) {
            if (y_hint == DF_Y_SEPARATE) record().y[i] = values_.data() + place(y_hint, i, x.nx());
            if (coeff_hint == DF_Y_SEPARATE) record().coeff[i] = coeff_.data() + place(coeff_hint, i, block());
        }
    }
    // With random numbers for all that isn't given, and closed functions if they are periodic.
    Problem(const Kind<R>& of, const Partition<R>& partition, std::int64_t functions, std::uint64_t condition,
            std::mt19937& random)
        : Problem(of, partition, closed(random_functions<R>(functions, partition.nx(), random), condition), condition,
                  random_functions<R>(1, 2, random)[0], of.ic(partition, random)) {}

    nvo::fitting::TaskRecord<R>& record() const { return nvo::fitting::record_of<R>(task_.get()); }
    std::int32_t construct(const OstThreading* threading = nullptr, std::int64_t method = 0) const {
        return kind.construct(task_.get(), 77, method, threading);
    }
    std::int64_t ny() const { return static_cast<std::int64_t>(y.size()); }
    std::int64_t cells() const { return x.nx() - !kind.is_subbotin(); }
    const R* cell(std::int64_t i, std::int64_t j) const {
        return coeff_.data() + place(coeff_hint_, i, block()) + j * kind.order;
    }
    Wide slope(std::int64_t i, std::int64_t j) const { return (Wide(y[i][j + 1]) - y[i][j]) / x.width(j); }
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
    void wipe() { std::fill(coeff_.begin(), coeff_.end(), R(guard)); }

    static Functions<R> closed(Functions<R> y, std::uint64_t condition) {
        if (condition == DF_BC_PERIODIC)
            for (auto& function : y) function.back() = function.front();
        return y;
    }

private:
    static constexpr R guard = -12345;

    std::int64_t block() const { return cells() * kind.order; }
    std::int64_t place(std::uint64_t hint, std::int64_t i, std::int64_t length) const {
        return (hint == DF_Y_SEPARATE ? ny() - 1 - i : i) * length;
    }
    std::vector<R> in_memory(std::uint64_t hint) const {
        std::vector<R> memory(static_cast<std::size_t>(ny() * x.nx()));
        for (std::int64_t i = 0; i < ny(); ++i)
            for (std::int64_t j = 0; j < x.nx(); ++j)
                memory[hint == DF_Y_BY_COLS ? j * ny() + i : place(hint, i, x.nx()) + j] = y[i][j];
        return memory;
    }

    std::uint64_t coeff_hint_;
    std::vector<R> values_, coeff_;
    FitTask<R> task_;
};

// ---- cells ---------------------------------------------------------------------------------------------------------

// A cell at distance u from where it is centred.
struct Taylor {
    Wide value, slope, curvature;
};
template <class R> Taylor taylor(const R* c, std::int64_t order, Wide u) {
    const Wide c1 = c[1], c2 = order > 2 ? c[2] : 0, c3 = order > 3 ? c[3] : 0;
    return {c[0] + (c1 + (c2 + c3 * u) * u) * u, c1 + (2 * c2 + 3 * c3 * u) * u, 2 * c2 + 6 * c3 * u};
}

// What a cell's slopes are made from: the sum of its sizes, times an epsilon, is what its roundings may do to them.
template <class R> Wide slopes_of(const Problem<R>& problem, std::int64_t i, std::int64_t j) {
    const R* cell = problem.cell(i, j);
    const Wide h = problem.x.width(j);
    return size_of(cell[1]) + size_of(taylor(cell, problem.kind.order, h).slope) + size_of(problem.slope(i, j)) +
           size_of(cell[2] * h); // of order 3 and 4
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
