// The evaluators: values and derivatives of a model at the sites of one block, whose cells are known.
//
// An evaluator first finds, once for all functions, which polynomial each site belongs to and how far the site is from
// the polynomial's centre. Then it goes through the sites of one function after the other, in lanes: through runs of
// sites that share a polynomial with its coefficients in registers, through the others with theirs gathered.
#include "fitting/evaluate.h"

#include "fitting/index_lanes.h"
#include "fitting/knots.h"
#include "fitting/search.h"
#include "fitting/views.h"
#include "support/scratch.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

namespace nvo::fitting {

namespace {

constexpr int group = 16;
static_assert(evaluation_block % group == 0);

// Sites first to end - 1 of a block.
template <Real R, class Cell> struct Run {
    std::int64_t first, end;
    bool shared; // one polynomial, whole groups of sites
    Cell index;
    R centre;
};

// Indexes are of the type of the cells.
template <Real R, class Cell> struct Places {
    // Of sites that share nothing, filled up to whole groups.
    Cell index[evaluation_block]; // of the polynomial, or of the function value
    R t[evaluation_block];        // the site, from the polynomial's centre

    Run<R, Cell> runs[evaluation_block / group];
    int run_count = 0;

    const Run<R, Cell>* begin() const { return runs; }
    const Run<R, Cell>* end() const { return runs + run_count; }
};

// at(index[lane]) in each lane.
template <class V, class Cell, class At> V gather(const Cell* index, const At& at) {
    return [&]<int... lane>(std::integer_sequence<int, lane...>) { return V{at(index[lane])...}; }
    (std::make_integer_sequence<int, lane_count<V>>{});
}

// ---- where the sites are -------------------------------------------------------------------------------------------

// The polynomial of a cell: those outside the partition continue the first and the last one.
template <class Cell> Cell polynomial_of(Cell cell, std::int64_t nx) {
    return static_cast<Cell>(std::clamp<std::int64_t>(cell, 1, nx - 1) - 1);
}

// Of a group.
inline void polynomials_of(const std::int64_t* cell, std::int64_t nx, std::int64_t* index) {
    for (int i = 0; i < group; ++i) index[i] = polynomial_of(cell[i], nx);
}
inline void polynomials_of(const std::int32_t* cell, std::int64_t nx, std::int32_t* index) {
    const std::int64_t last = std::min<std::int64_t>(nx - 2, std::numeric_limits<std::int32_t>::max() - 1);
    const auto lasts = splat<Indexes>(static_cast<std::int32_t>(last));
    Indexes outside{}; // sites outside the partition: sign bits
#pragma GCC unroll 4
    for (int i = 0; i < group; i += 4) {
        const auto j = reinterpret_cast<Indexes>(words(load<Indexes>(cell + i)) - 1U);
        outside |= j | (j > lasts);
        store(index + i, j);
    }
    if (lane_bits(outside) == 0) return;
    for (int i = 0; i < group; ++i) index[i] = polynomial_of(cell[i], nx);
}

// A group's cells.
template <class Cell> bool all_are(Cell value, const Cell* cell) {
    if (cell[group - 1] != value) return false;
    using V = Lanes<Cell, lane_width<Cell>>;
    const auto values = reinterpret_cast<Indexes>(splat<V>(value)); // halves of wide cells are as equal as they are
    Indexes equal = ~Indexes{};
#pragma GCC unroll 8
    for (int i = 0; i < group; i += lane_width<Cell>) equal &= values == reinterpret_cast<Indexes>(load<V>(cell + i));
    return lane_bits(equal) == 15;
}

// Polynomial j is that of the cell from x[j] to x[j+1], centred at x[j].
template <Real R, Grid grid> class Polynomials {
public:
    explicit Polynomials(const TaskRecord<R>& task) : x_(task), left_(task.x[0]), nx_(task.nx) {}

    R centre(std::int64_t index) const { return x_.at(index); }

    static constexpr bool one_per_cell = true;

    // A group's polynomials.
    template <class Cell> void locate(const R* site, const Cell* cell, Cell* index, R* t) const {
        polynomials_of(cell, nx_, index);
#pragma GCC unroll 4
        for (int i = 0; i < group; i += 4) {
            Four<R> centre;
            centres(index + i, centre);
#pragma GCC unroll 2
            for (int k = 0; k < registers_of_four<R>; ++k) {
                const int at = i + k * lane_width<R>;
                store(t + at, load<Lanes<R, lane_width<R>>>(site + at) - centre[k]);
            }
        }
    }

private:
    template <class Cell> void centres(const Cell* index, Four<R>& centre) const {
        if constexpr (grid == Grid::even && std::is_same_v<Cell, std::int32_t>) {
            to_real(load<Indexes>(index), centre);
            for (auto& c : centre) c = left_ + c * x_.step(); // as x_.at() has it
        } else {
            for (int k = 0; k < registers_of_four<R>; ++k)
                centre[k] =
                    gather<Lanes<R, lane_width<R>>>(index + k * lane_width<R>, [this](Cell j) { return x_.at(j); });
        }
    }

    Breaks<R, grid> x_;
    R left_;
    std::int64_t nx_;
};

// The pieces of a Subbotin spline meet at its knots: piece k is centred at x[k], and t[k+1] ends it.
template <Real R, Grid grid, Subgrid subgrid> class SubbotinPieces {
public:
    explicit SubbotinPieces(const TaskRecord<R>& task) : x_(task), knots_(task), nx_(task.nx) {}

    R centre(std::int64_t index) const { return x_.at(index); }

    static constexpr bool one_per_cell = false;

    template <class Cell> void locate(const R* site, const Cell* cell, Cell* index, R* t) const {
        for (int i = 0; i < group; ++i) {
            const Cell j = polynomial_of(cell[i], nx_);
            index[i] = j + (site[i] >= knots_.inner(j + 1));
            t[i] = site[i] - x_.at(index[i]);
        }
    }

private:
    Breaks<R, grid> x_;
    Knots<R, grid, subgrid> knots_;
    std::int64_t nx_;
};

template <Real R, class Cell, class Pieces>
void locate(const Evaluation<R>& call, const Pieces pieces, Places<R, Cell>& places) {
    const auto* cell = static_cast<const Cell*>(call.cell);
    const auto share = [cell](std::int64_t i, Cell value) { return Pieces::one_per_cell && all_are(value, cell + i); };
    std::int64_t i = 0;
    while (i + group <= call.n) {
        Run<R, Cell> run{i, i, share(i, cell[i]), 0, 0};
        if (run.shared) {
            run.index = polynomial_of(cell[i], call.task.nx);
            run.centre = pieces.centre(run.index);
            do i += group;
            while (i + group <= call.n && share(i, cell[run.first]));
        } else {
            do {
                pieces.locate(call.site + i, cell + i, places.index + i, places.t + i);
                i += group;
            } while (i + group <= call.n && !share(i, cell[i]));
        }
        run.end = i;
        places.runs[places.run_count++] = run;
    }
    const std::int64_t rest = call.n - i;
    if (rest == 0) return;
    R site[group];
    Cell cells[group];
    std::fill(std::copy_n(call.site + i, rest, site), site + group, call.site[call.n - 1]);
    std::fill(std::copy_n(cell + i, rest, cells), cells + group, cell[call.n - 1]);
    pieces.locate(site, cells, places.index + i, places.t + i);
    places.runs[places.run_count++] = {i, call.n, false, 0, 0};
}

template <Grid grid, Real R, class Cell> void locate_subbotin(const Evaluation<R>& call, Places<R, Cell>& places) {
    switch (subgrid_of(call.task)) {
    case Subgrid::listed: return locate(call, SubbotinPieces<R, grid, Subgrid::listed>(call.task), places);
    case Subgrid::even: return locate(call, SubbotinPieces<R, grid, Subgrid::even>(call.task), places);
    case Subgrid::middles: return locate(call, SubbotinPieces<R, grid, Subgrid::middles>(call.task), places);
    }
}

// ---- values and derivatives ----------------------------------------------------------------------------------------

// Derivative d of a polynomial of 2, 3 or 4 coefficients.
template <int d, class V> V derivative(const V (&c)[2], V t) {
    if constexpr (d == 0) return c[1] * t + c[0];
    if constexpr (d == 1) return c[1];
}
template <int d, class V> V derivative(const V (&c)[3], V t) {
    if constexpr (d == 0) return (c[2] * t + c[1]) * t + c[0];
    if constexpr (d == 1) return 2 * c[2] * t + c[1];
    if constexpr (d == 2) return 2 * c[2];
}
template <int d, class V> V derivative(const V (&c)[4], V t) {
    if constexpr (d == 0) return ((c[3] * t + c[2]) * t + c[1]) * t + c[0];
    if constexpr (d == 1) return (3 * c[3] * t + 2 * c[2]) * t + c[1];
    if constexpr (d == 2) return 6 * c[3] * t + 2 * c[2];
    if constexpr (d == 3) return 6 * c[3];
}

// The coefficients of the polynomials of a register of sites, which lie from cell[lane] on.
template <std::size_t order> void gather(const double* const (&cell)[2], Lanes<double, 2> (&c)[order]) {
    using V = Lanes<double, 2>;
#pragma GCC unroll 2
    for (std::size_t k = 0; k + 2 <= order; k += 2) {
        const V a = load<V>(cell[0] + k), b = load<V>(cell[1] + k);
        c[k] = __builtin_shufflevector(a, b, 0, 2);
        c[k + 1] = __builtin_shufflevector(a, b, 1, 3);
    }
    if constexpr (order % 2 == 1) c[order - 1] = V{cell[0][order - 1], cell[1][order - 1]};
}
template <std::size_t order> void gather(const float* const (&cell)[4], Lanes<float, 4> (&c)[order]) {
    using V = Lanes<float, 4>;
    if constexpr (order == 4) {
        const V a[4] = {load<V>(cell[0]), load<V>(cell[1]), load<V>(cell[2]), load<V>(cell[3])};
        const V low[2] = {__builtin_shufflevector(a[0], a[1], 0, 4, 1, 5),
                          __builtin_shufflevector(a[2], a[3], 0, 4, 1, 5)};
        const V high[2] = {__builtin_shufflevector(a[0], a[1], 2, 6, 3, 7),
                           __builtin_shufflevector(a[2], a[3], 2, 6, 3, 7)};
        c[0] = __builtin_shufflevector(low[0], low[1], 0, 1, 4, 5);
        c[1] = __builtin_shufflevector(low[0], low[1], 2, 3, 6, 7);
        c[2] = __builtin_shufflevector(high[0], high[1], 0, 1, 4, 5);
        c[3] = __builtin_shufflevector(high[0], high[1], 2, 3, 6, 7);
    } else {
#pragma GCC unroll 3
        for (std::size_t k = 0; k < order; ++k) c[k] = V{cell[0][k], cell[1][k], cell[2][k], cell[3][k]};
    }
}

// Where the results of one function go: the orders below 3 that `asked` has, and order 3 if `third`. Those of a site
// are `stride` apart from the next one's; `single`: it has one result, and stride is 1.
template <unsigned asked, bool single, Real R> struct Results {
    R* r;
    std::int64_t stride;
    bool third;

    // Of the `lanes` sites from i on, whose distances from their polynomials' centres are t.
    template <class V, std::size_t order>
    [[gnu::always_inline]] void put(const V (&c)[order], V t, std::int64_t i, int lanes) const {
        R* to = r + i * (single ? 1 : stride);
        const auto put_order = [&](V result) __attribute__((always_inline)) {
            if (single && lanes == lane_count<V>) return store(to, result);
            for (int lane = 0; lane < lanes; ++lane) to[lane * stride] = result[lane];
            ++to;
        };
        if constexpr (asked & 1) put_order(derivative<0>(c, t));
        if constexpr (asked & 2) put_order(derivative<1>(c, t));
        if constexpr (asked & 4) put_order(derivative<2>(c, t));
        if constexpr (order == 4 && !single) {
            if (third) put_order(derivative<3>(c, t));
        }
    }
};

// How many sites are in flight: alone, results leave registers as they are.
template <bool single, Real R> inline constexpr int sites_at_once = single ? 4 * lane_width<R> : lane_width<R>;

template <int order, bool single, Real R, class Cell, class Results>
void evaluate_shared(const R* site, const Run<R, Cell>& run, const R* coeff, const Results& results) {
    constexpr int width = lane_width<R>, at_once = sites_at_once<single, R>;
    static_assert(group % at_once == 0);
    using V = Lanes<R, width>;
    V c[order];
    const R* cell = coeff + static_cast<std::int64_t>(run.index) * order;
#pragma GCC unroll 4
    for (int k = 0; k < order; ++k) c[k] = splat<V>(cell[k]);
    const V centre = splat<V>(run.centre);
    for (std::int64_t i = run.first; i < run.end; i += at_once) {
#pragma GCC unroll 4
        for (int s = 0; s < at_once; s += width) results.put(c, load<V>(site + i + s) - centre, i + s, width);
    }
}

template <int order, bool single, Real R, class Cell, class Results>
void evaluate_scattered(const Places<R, Cell>& places, const Run<R, Cell>& run, const R* coeff,
                        const Results& results) {
    constexpr int width = lane_width<R>, at_once = sites_at_once<single, R>;
    using V = Lanes<R, width>;
    const auto evaluate = [ =, &places, &results ](std::int64_t i, int lanes) __attribute__((always_inline)) {
        V c[order];
        const R* cell[width];
#pragma GCC unroll 4
        for (int lane = 0; lane < width; ++lane)
            cell[lane] = coeff + static_cast<std::int64_t>(places.index[i + lane]) * order;
        gather(cell, c);
        results.put(c, load<V>(places.t + i), i, lanes);
    };
    std::int64_t i = run.first;
    for (; i + at_once <= run.end; i += at_once) {
#pragma GCC unroll 4
        for (int s = 0; s < at_once; s += width) evaluate(i + s, width);
    }
    for (; i < run.end; i += width) evaluate(i, static_cast<int>(std::min<std::int64_t>(run.end - i, width)));
}

template <int order, unsigned asked, bool single, Real R, class Cell>
void evaluate_function(const R* site, const Places<R, Cell>& places, const R* coeff, bool third, std::int64_t stride,
                       R* r) {
    const Results<asked, single, R> results{r, stride, third};
    for (const Run<R, Cell>& run : places) {
        if (run.shared)
            evaluate_shared<order, single>(site, run, coeff, results);
        else
            evaluate_scattered<order, single>(places, run, coeff, results);
    }
}

// Orders above the degree are 0.
template <int order, Real R, class Cell>
void evaluate_polynomials(const Evaluation<R>& call, const Places<R, Cell>& places) {
    constexpr unsigned masks = order == 2 ? 4 : 8;
    const unsigned asked = call.orders.low() & (masks - 1);
    const bool third = order == 4 && (call.orders.low() & 8) != 0;
    const std::int64_t count = call.orders.count(), stored = call.orders.below(order);
    static constexpr auto evaluators = []<unsigned... mask>(std::integer_sequence<unsigned, mask...>) {
        return std::array{&evaluate_function<order, mask, false, R, Cell>...};
    }
    (std::make_integer_sequence<unsigned, masks>());
    auto* evaluator = count == 1 && asked == 1 ? &evaluate_function<order, 1, true, R, Cell> : evaluators[asked];
    for (std::int64_t f = 0; f < call.task.functions(); ++f) {
        R* r = call.r + f * call.function_stride;
        if (stored > 0) evaluator(call.site, places, call.task.coeff[f], third, count, r);
        if (stored == count) continue;
        for (std::int64_t i = 0; i < call.n; ++i) std::fill(r + i * count + stored, r + (i + 1) * count, R{0});
    }
}

// ---- any order -----------------------------------------------------------------------------------------------------

// Highest coefficient first; no coefficients are 0.
template <Real R> R horner(const R* c, std::int64_t count, R t) {
    if (count < 1) return 0;
    R sum = c[count - 1];
    for (std::int64_t k = count - 2; k >= 0; --k) sum = sum * t + c[k];
    return sum;
}

// The results of one site. `work` has room for the coefficients.
template <Real R> void evaluate_site(const R* c, std::int64_t count, R t, const Orders& orders, R* work, R* r) {
    if (orders.end() <= 1) {
        if (orders.count() > 0) *r = horner(c, count, t);
        return;
    }
    std::copy_n(c, count, work);
    for (std::int64_t d = 0; d < orders.end(); ++d) {
        if (orders[d]) *r++ = horner(work, count, t);
        for (std::int64_t k = 1; k < count; ++k) work[k - 1] = static_cast<R>(k) * work[k];
        count = std::max<std::int64_t>(count - 1, 0);
    }
}

template <Real R, class Cell>
std::int32_t evaluate_arbitrary(const Evaluation<R>& call, const Places<R, Cell>& places) {
    constexpr std::int64_t order_on_stack = 10;
    const std::int64_t order = call.task.s_order;
    R on_stack[order_on_stack];
    Scratch<R> allocated;
    if (order > order_on_stack && call.orders.end() > 1) {
        allocated = Scratch<R>(static_cast<std::size_t>(order));
        if (!allocated) return DF_ST_NO_MEMORY;
    }
    R* work = allocated ? allocated.get() : on_stack;
    for (std::int64_t f = 0; f < call.task.functions(); ++f) {
        R* r = call.r + f * call.function_stride;
        for (const Run<R, Cell>& run : places) {
            for (std::int64_t i = run.first; i < run.end; ++i) {
                const std::int64_t index = run.shared ? run.index : places.index[i];
                const R t = run.shared ? call.site[i] - run.centre : places.t[i];
                evaluate_site(call.task.coeff[f] + index * order, order, t, call.orders, work,
                              r + i * call.orders.count());
            }
        }
    }
    return DF_ST_OK;
}

// ---- values alone --------------------------------------------------------------------------------------------------

// Each site has the value index[i], a NaN itself; orders above 0 are 0.
template <Store store, Real R, class Cell> void copy_values(const Evaluation<R>& call, const Places<R, Cell>& places) {
    const Values<R, store> y(call.task);
    const std::int64_t count = call.orders.count();
    for (std::int64_t f = 0; f < call.task.functions(); ++f) {
        R* r = call.r + f * call.function_stride;
        for (std::int64_t i = 0; i < call.n; ++i, r += count) {
            std::fill_n(r, count, R{0});
            const R site = call.site[i];
            if (call.orders.low() & 1) *r = site == site ? y.at(f, places.index[i]) : site;
        }
    }
}
template <Real R, class Cell> void copy_values(const Evaluation<R>& call, const Places<R, Cell>& places) {
    store_of(call.task) == Store::cols ? copy_values<Store::cols>(call, places)
                                       : copy_values<Store::rows>(call, places);
}

// The values of the sites of a block: places.index from the rule of a model, value_at(site, cell), which is negative
// for a site without one. False if there is such a site.
template <Real R, class Cell, class Rule>
bool locate_values(const Evaluation<R>& call, Places<R, Cell>& places, const Rule& value_at) {
    const auto* cell = static_cast<const Cell*>(call.cell);
    for (std::int64_t i = 0; i < call.n; ++i) {
        const std::int64_t value = value_at(call.site[i], std::clamp<std::int64_t>(cell[i], 0, call.task.nx));
        if (value < 0) return false;
        places.index[i] = static_cast<Cell>(value);
    }
    return true;
}

// y[j] on [x[j], x[j+1]), and the last value on the right end.
template <Grid, Real R, class Cell>
std::int32_t evaluate_step_right(const Evaluation<R>& call, Places<R, Cell>& places) {
    const R right = right_end(call.task);
    const std::int64_t nx = call.task.nx;
    locate_values(call, places, [=](R site, std::int64_t cell) {
        return site == right ? polynomial_of(cell, nx) + 1 : std::max<std::int64_t>(cell - 1, 0);
    });
    copy_values(call, places);
    return DF_ST_OK;
}

// y[j+1] on (x[j], x[j+1]].
template <Grid grid, Real R, class Cell>
std::int32_t evaluate_step_left(const Evaluation<R>& call, Places<R, Cell>& places) {
    const Breaks<R, grid> x(call.task);
    const std::int64_t nx = call.task.nx;
    locate_values(call, places, [=](R site, std::int64_t cell) {
        const std::int64_t m = std::max<std::int64_t>(cell - 1, 0);
        return m + (cell > 0 && m < nx - 1 && x.at(m) != site);
    });
    copy_values(call, places);
    return DF_ST_OK;
}

// The value at the breakpoint that a site is: exactly, or for a computed breakpoint nearly.
template <Grid grid, Real R, class Cell>
std::int32_t evaluate_look_up(const Evaluation<R>& call, Places<R, Cell>& places) {
    [[maybe_unused]] constexpr R tolerance = std::is_same_v<R, double> ? R(0x1p-40) : R(0x1p-12);
    const Breaks<R, grid> x(call.task);
    const R right = right_end(call.task);
    const std::int64_t nx = call.task.nx;
    const bool found = locate_values(call, places, [=](R site, std::int64_t cell) -> std::int64_t {
        if (cell == 0) return -1;
        if (site == right) return nx - 1;
        if constexpr (grid == Grid::listed) {
            if (site == x.at(cell - 1)) return cell - 1;
            if (cell < nx && site == x.at(cell)) return cell;
        } else {
            if (std::fabs(site - x.at(cell - 1)) <= tolerance) return cell - 1;
            if (cell < nx && std::fabs(site - x.at(cell)) < tolerance) return cell;
        }
        return -1;
    });
    if (!found) return DF_ST_LOOKUP_MISS;
    if (call.orders.count() != 1) return DF_ST_LOOKUP_ORDERS;
    if ((call.orders.low() & 1) == 0) return DF_ST_LOOKUP_NO_VALUE;
    copy_values(call, places);
    return DF_ST_OK;
}

// ---- the exports ---------------------------------------------------------------------------------------------------

template <Model model, class Cell, Grid grid, Real R>
[[gnu::noinline]] std::int32_t evaluate_on(const Evaluation<R>& call) {
    Places<R, Cell> places;
    if constexpr (model == Model::step_right) return evaluate_step_right<grid>(call, places);
    if constexpr (model == Model::step_left) return evaluate_step_left<grid>(call, places);
    if constexpr (model == Model::look_up) return evaluate_look_up<grid>(call, places);
    if constexpr (model == Model::subbotin) {
        locate_subbotin<grid>(call, places);
    } else {
        locate(call, Polynomials<R, grid>(call.task), places);
    }
    if constexpr (model == Model::arbitrary) return evaluate_arbitrary(call, places);
    if constexpr (model == Model::linear) evaluate_polynomials<2>(call, places);
    if constexpr (model == Model::quadratic || model == Model::subbotin) evaluate_polynomials<3>(call, places);
    if constexpr (model == Model::cubic) evaluate_polynomials<4>(call, places);
    return DF_ST_OK;
}

template <Model model, class Cell, Real R> std::int32_t evaluate_model(const Evaluation<R>& call) {
    return call.task.even_grid() ? evaluate_on<model, Cell, Grid::even>(call)
                                 : evaluate_on<model, Cell, Grid::listed>(call);
}

// The results of a group stand function after function, site after site, as a callback leaves them.
template <Model model, class Cell, Real R> std::int32_t evaluate_group(const Evaluation<R>& call) {
    Evaluation<R> group_call = call;
    if (call.place) {
        group_call.r = call.buffer;
        group_call.function_stride = call.n * call.orders.count();
    }
    std::int32_t status = DF_ST_OK;
    if (call.callback) {
        std::int64_t cells[evaluation_block];
        std::copy_n(static_cast<const Cell*>(call.cell), call.n, cells);
        status = call.callback(&call.n, cells, call.site, group_call.r, call.params, nullptr);
    } else {
        status = evaluate_model<model, Cell>(group_call);
    }
    if (status < 0 || !call.place) return status;
    const std::int64_t count = call.orders.count();
    const R* from = call.buffer;
    for (std::int64_t f = 0; f < call.task.functions(); ++f) {
        for (std::int64_t i = 0; i < call.n; ++i, from += count)
            std::copy_n(from, count, call.r + f * call.function_stride + call.place[i] * count);
    }
    return status;
}

} // namespace

} // namespace nvo::fitting

using namespace nvo::fitting;

#define NVO_DF_EVALUATORS(t, real, Kind, model)                                             \
    std::int32_t nvo_df_kernel_##t##_##Kind##SplineEval32(const Evaluation<real>* call) {   \
        return evaluate_model<Model::model, std::int32_t>(*call);                           \
    }                                                                                       \
    std::int32_t nvo_df_kernel_##t##_##Kind##SplineEval64(const Evaluation<real>* call) {   \
        return evaluate_model<Model::model, std::int64_t>(*call);                           \
    }                                                                                       \
    std::int32_t nvo_df_kernel_##t##_##Kind##SplineEval32CB(const Evaluation<real>* call) { \
        return evaluate_group<Model::model, std::int32_t>(*call);                           \
    }                                                                                       \
    std::int32_t nvo_df_kernel_##t##_##Kind##SplineEval64CB(const Evaluation<real>* call) { \
        return evaluate_group<Model::model, std::int64_t>(*call);                           \
    }
#define NVO_DF_MODEL(Kind, model)            \
    NVO_DF_EVALUATORS(s, float, Kind, model) \
    NVO_DF_EVALUATORS(d, double, Kind, model)
NVO_DF_MODELS(NVO_DF_MODEL)
