// The knots t[0], ..., t[nx] of the Subbotin spline: x[k-1] < t[k] < x[k] inside, and the ends of the partition.
// Constructor, evaluator and integrator take them from here, so that they agree on them to the last bit.
#pragma once

#include "fitting/views.h"

namespace nvo::fitting {

// What `ic` holds. With bits 2 and 3 of ic_type it is the first and the last inner knot, evenly spaced ones between
// them; otherwise all nx + 1 knots. Without it the inner knots are the middles of the cells.
enum class Subgrid { listed, even, middles };

template <Real R> Subgrid subgrid_of(const TaskRecord<R>& task) {
    if (!task.ic) return Subgrid::middles;
    return (task.ic_type & DF_IC_EVEN_SUBGRID) == DF_IC_EVEN_SUBGRID ? Subgrid::even : Subgrid::listed;
}

template <Real R, Grid grid, Subgrid subgrid> class Knots {
public:
    explicit Knots(const TaskRecord<R>& task) : x_(task), ic_(task.ic), nx_(task.nx) {}

    // Inner knot k, 1 <= k < nx. An even subgrid has two inner knots at least: nx >= 3.
    R inner(std::int64_t k) const {
        if constexpr (subgrid == Subgrid::listed) {
            return ic_[k];
        } else if constexpr (subgrid == Subgrid::even) {
            return ic_[0] + static_cast<R>(k - 1) * (ic_[1] - ic_[0]) / static_cast<R>(nx_ - 2);
        } else {
            return (x_.at(k - 1) + x_.at(k)) / 2;
        }
    }
    R at(std::int64_t k) const {
        if (k == 0) return x_.at(0);
        return k == nx_ ? x_.at(nx_ - 1) : inner(k);
    }

private:
    Breaks<R, grid> x_;
    const R* ic_;
    std::int64_t nx_;
};

} // namespace nvo::fitting
