// What tests of the cubic kinds share: the kinds with their boundary conditions, a problem of a kind, and how a cell
// looks at its ends.
#pragma once

#include "tests/fitting/construction.h"

namespace nvo::tests {

template <class R> struct CubicKind {
    const char* name;
    std::int32_t (*construct)(DFTask1D*, std::int64_t, std::int64_t, const OstThreading*);
    std::int64_t type, least_nx;

    bool is_local() const { return type != DF_TYPE_NATURAL && type != DF_TYPE_DEFAULT; }
    bool reads_ic() const { return type == DF_TYPE_DEFAULT || type == DF_TYPE_HERMITE; }
    std::int64_t least_nx_under(std::uint64_t bc_type) const {
        return least_nx + (bc_type == DF_BC_NOT_A_KNOT && !is_local());
    }
    std::vector<std::uint64_t> conditions() const {
        std::vector<std::uint64_t> all = {DF_BC_NOT_A_KNOT, DF_BC_FREE_END, 12, 36, 24, 48, DF_BC_PERIODIC};
        if (type == DF_TYPE_AKIMA) all.push_back(DF_BC_NOT_SET);
        return all;
    }
    // Whether it is an error to leave them out.
    bool wants_values(std::uint64_t bc_type) const {
        return (bc_type > DF_BC_FREE_END && bc_type != DF_BC_PERIODIC) || (bc_type == DF_BC_PERIODIC && reads_ic());
    }
};
template <class R> std::array<CubicKind<R>, 6> cubic_kinds() {
    return {{{"natural", Fit<R>::natural, DF_TYPE_NATURAL, 2},
             {"default", Fit<R>::default_cubic, DF_TYPE_DEFAULT, 3},
             {"akima", Fit<R>::akima, DF_TYPE_AKIMA, 5},
             {"bessel", Fit<R>::bessel, DF_TYPE_BESSEL, 4},
             {"hyman", Fit<R>::hyman, DF_TYPE_HYMAN, 4},
             {"hermite", Fit<R>::hermite, DF_TYPE_HERMITE, 3}}};
}
template <class R> CubicKind<R> cubic_kind(std::int64_t type) {
    const auto all = cubic_kinds<R>();
    return *std::find_if(all.begin(), all.end(), [=](const auto& kind) { return kind.type == type; });
}

// Conditions that a kind doesn't read are not there: a null pointer.
template <class R> struct CubicProblem : Problem<R> {
    CubicKind<R> kind;
    std::uint64_t bc_type;
    std::vector<R> bc, ic; // for the two ends; for the breakpoints inside

    CubicProblem(const CubicKind<R>& of, const Partition<R>& x, const Functions<R>& y, std::uint64_t condition,
                 std::vector<R> ends, std::vector<R> inside, std::uint64_t y_hint = DF_Y_BY_ROWS,
                 std::uint64_t coeff_hint = DF_Y_BY_ROWS)
        : Problem<R>(x, condition == DF_BC_PERIODIC ? closed(y) : y, 4, of.type, y_hint, coeff_hint), kind(of),
          bc_type(condition), bc(std::move(ends)), ic(std::move(inside)) {
        this->conditions(bc_type, kind.wants_values(bc_type) ? bc : std::vector<R>{}, 1,
                         kind.reads_ic() ? ic : std::vector<R>{});
    }
    // With random numbers for all that isn't given.
    CubicProblem(const CubicKind<R>& of, const Partition<R>& x, std::int64_t ny, std::uint64_t condition,
                 std::mt19937& random)
        : CubicProblem(of, x, random_functions<R>(ny, x.nx(), random), condition, random_functions<R>(1, 2, random)[0],
                       random_functions<R>(1, x.nx() - 2, random)[0]) {}

    std::int32_t construct(const OstThreading* threading = nullptr) const {
        return kind.construct(this->get(), 0, 0, threading);
    }
    // As exact as the library sees it.
    Wide width(std::int64_t j) const {
        return this->x().hint == DF_GRID_EVEN ? Wide(this->x().width(j)) : Wide(this->x().at[j + 1]) - this->x().at[j];
    }
    Wide slope(std::int64_t i, std::int64_t j) const {
        return (Wide(this->y()[i][j + 1]) - this->y()[i][j]) / width(j);
    }

private:
    static Functions<R> closed(Functions<R> y) {
        for (auto& function : y) function.back() = function.front();
        return y;
    }
};

// A cell at distance u from its left end.
struct Cubic {
    Wide value, slope, curvature, third;
};
template <class R> Cubic cubic_at(const R* c, Wide u) {
    return {c[0] + (c[1] + (c[2] + c[3] * u) * u) * u, c[1] + (2 * Wide(c[2]) + 3 * c[3] * u) * u,
            2 * Wide(c[2]) + 6 * c[3] * u, 6 * Wide(c[3])};
}

// What a cell's slopes are made from: the sum of its sizes, times an epsilon, is what its roundings may do to them.
template <class R> Wide slopes_of(const CubicProblem<R>& problem, std::int64_t i, std::int64_t j) {
    const R* cell = problem.cell(i, j);
    const Wide h = problem.width(j);
    return size_of(cell[1]) + size_of(cubic_at(cell, h).slope) + size_of(problem.slope(i, j)) + size_of(cell[2] * h);
}

} // namespace nvo::tests
