// The integrators. An interval from lo to hi, lo < hi, is cut where the pieces of the model meet: at the breakpoints,
// or at the knots of the Subbotin spline. Its integral is the sum of the part from lo to the end of the first piece,
// the whole pieces, and the part from the begin of the last piece to hi. Left and right of the partition the first and
// the last piece go on.
//
// A model knows the piece of a limit with its cell, and makes a `span` of two pieces: all of an integral that doesn't
// depend on the limits. Pairs of limits in the same two pieces share it.
//
// Whatever the cells are, from 0 to nx, nothing outside the task's arrays is read: pieces in the wrong order have no
// whole ones between them.
#include "fitting/integrators.h"

#include "fitting/exports.h"
#include "fitting/knots.h"
#include "fitting/views.h"
#include "frame/lanes.h"

#include <algorithm>
#include <array>
#include <utility>

namespace nvo::fitting {

namespace {

using std::int64_t;

// What is done to two polynomials, or to one in two places, is done side by side.
template <Real R> using Two = Lanes<R, 2>;

constexpr int64_t group = 16; // pairs that are done side by side where they share their cells

// ---- sums ----------------------------------------------------------------------------------------------------------

// The sum of the terms of pieces begin, ..., end - 1, two at a time: terms(k) are those of pieces k and k + 1. Numbers
// of pieces are hard to predict, so that what doesn't count is masked, and not branched upon. Pieces begin - 1 and end
// exist, and no other one is touched.
template <Real R, class Terms>
[[gnu::always_inline]] inline R plain_sum(int64_t begin, int64_t end, const Terms& terms) {
    static constexpr LaneMask<R, 2> counted[] = {{0, 0}, {-1, 0}, {-1, -1}};
    Two<R> sum{};
    int64_t left = end - begin, k = std::min(begin, end - 1);
    do {
        sum += from_bits<R>(bits(terms(k)) & counted[std::min<int64_t>(left, 2)]);
        left -= 2;
        k += 2;
    } while (left > 0);
    return sum[0] + sum[1];
}

constexpr int64_t stretch = 16;

// Of many pieces: sums of stretches, added with the rounding errors of the additions carried along (Knuth, The Art of
// Computer Programming 2, 4.2.2, theorem B). The error of an integral doesn't grow with the number of pieces, where
// that of a plain sum over 10^6 cells of a constant reaches the third digit in single precision.
template <Real R, class Terms> [[gnu::noinline]] R long_sum(int64_t begin, int64_t end, const Terms& terms) {
    R sum = 0, lost = 0;
    for (int64_t k = begin; k < end; k += stretch) {
        const R summand = plain_sum<R>(k, std::min(k + stretch, end), terms);
        const R next = sum + summand, part = next - sum;
        lost += (sum - (next - part)) + (summand - part);
        sum = next;
    }
    return lost == lost ? sum + lost : sum; // behind an overflow what was lost is no number
}

// Of the pieces between two others.
template <Real R, class Terms>
[[gnu::always_inline]] inline R sum_between(int64_t first, int64_t last, const Terms& terms) {
    if (last <= first) return 0;
    if (last - first - 1 > stretch) [[unlikely]]
        return long_sum<R>(first + 1, last, terms);
    return plain_sum<R>(first + 1, last, terms);
}

// ---- polynomials ---------------------------------------------------------------------------------------------------

// F(t) = (((a[n-1] t + ...) t + a[1]) t + a[0]) t, where a[k] is coefficient k of a polynomial over k + 1.
template <class V, std::size_t n> V antiderivative(const std::array<V, n>& a, V t) {
    V sum = a[n - 1];
    for (std::size_t k = n - 1; k-- > 0;) sum = sum * t + a[k];
    return sum * t;
}

// Of any order: with a[k] formed where it is needed.
template <Real R> struct Quotients {
    const R *c, *d;
    int64_t order;

    static R reciprocal(int64_t k) { return 1 / static_cast<R>(k); }
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): the first pair makes a span
    Two<R> operator[](int64_t k) const { return Two<R>{c[k], d[k]} * reciprocal(k + 1); }
};
template <Real R> Two<R> antiderivative(const Quotients<R>& a, Two<R> t) {
    Two<R> sum = a[a.order - 1];
    for (int64_t k = a.order - 1; k-- > 0;) sum = sum * t + a[k];
    return sum * t;
}

// length times the mean value between t[0] and t[1]: v^(k+1) - u^(k+1) is v - u times h[k] = v^k + v^(k-1) u + ... +
// u^k, and h[k] is h[k-1] v + u^k.
template <Real R, class A> R product(const A& a, int64_t order, Two<R> t, R length) {
    R mean = a[0][0], h = 1, power = 1;
    for (int64_t k = 1; k < order; ++k) {
        power *= t[0];
        h = h * t[1] + power;
        mean += a[k][0] * h;
    }
    return length * mean;
}

// What differs from model to model:
//
//   of(c, d)                    a of the polynomials with coefficients c and d
//   bound(a, end), to(a, bound(a, end), t)
//                               integral from t to end; the first does what doesn't depend on t
//   inside(a, t, length)        integral of the first polynomial from t[0] to t[1], for pairs without callbacks
//   inside(a, u, v, length)     the same from u to v, in as many lanes as a has
//   product(a, t, lo, hi, x)    the same, for pairs with callbacks: as length times mean value its error is relative to
//                               the length, where that of a difference of antiderivatives isn't
template <Real R, IntegralModel model> struct Polynomial;

template <Real R> struct Polynomial<R, IntegralModel::Linear> {
    using V = Two<R>;
    using A = std::array<V, 2>;
    static constexpr int64_t order = 2;

    explicit Polynomial(const TaskRecord<R>&) {}
    static A of(const R* c, const R* d) { return {V{c[0], d[0]}, V{c[1], d[1]} * R(0.5)}; }
    static V bound(const A&, V end) { return end; }
    template <class W> static W to(const std::array<W, 2>& a, W end, W t) {
        return ((t + end) * a[1] + a[0]) * (end - t);
    }
    template <class W> static W inside(const std::array<W, 2>& a, W u, W v, W) { return to(a, v, u); }
    static R inside(const A& a, V t, R) { return to(std::array{a[0][0], a[1][0]}, t[1], t[0]); }
    static R product(const A& a, V, R lo, R hi, R x) { return (hi - lo) * (a[0][0] + a[1][0] * (hi + lo - 2 * x)); }
};

// Parts as differences of antiderivatives.
template <Real R, class A_> struct ByAntiderivative {
    using V = Two<R>;
    using A = A_;

    static V bound(const A& a, V end) { return antiderivative(a, end); }
    template <class Any, class W> static W to(const Any& a, W bound, W t) { return bound - antiderivative(a, t); }
    static R inside(const A& a, V t, R) {
        const V f = antiderivative(a, t);
        return f[1] - f[0];
    }
    template <class W, std::size_t n> static W inside(const std::array<W, n>& a, W u, W v, W) {
        return antiderivative(a, v) - antiderivative(a, u);
    }
};

template <Real R> struct Polynomial<R, IntegralModel::Quad> : ByAntiderivative<R, std::array<Two<R>, 3>> {
    using V = Two<R>;
    using A = std::array<V, 3>;
    static constexpr int64_t order = 3;

    explicit Polynomial(const TaskRecord<R>&) {}
    static A of(const R* c, const R* d) { return {V{c[0], d[0]}, V{c[1], d[1]} * R(0.5), V{c[2], d[2]} / 3}; }
    template <class W> static W inside(const std::array<W, 3>& a, W u, W v, W length) {
        const W sum = u + v;
        return length * (a[0] + a[1] * sum + a[2] * (sum * sum - u * v));
    }
    static R inside(const A& a, V t, R length) {
        return inside(std::array{a[0][0], a[1][0], a[2][0]}, t[0], t[1], length);
    }
    static R product(const A& a, V t, R lo, R hi, R) { return inside(a, t, hi - lo); }
};

template <Real R> struct Polynomial<R, IntegralModel::Cub> : ByAntiderivative<R, std::array<Two<R>, 4>> {
    using V = Two<R>;
    using A = std::array<V, 4>;
    static constexpr int64_t order = 4;

    explicit Polynomial(const TaskRecord<R>&) {}
    static A of(const R* c, const R* d) {
        return {V{c[0], d[0]}, V{c[1], d[1]} * R(0.5), V{c[2], d[2]} * R(0.3333333333333333), V{c[3], d[3]} * R(0.25)};
    }
    static R product(const A& a, V t, R lo, R hi, R) { return fitting::product(a, order, t, hi - lo); }
};

template <Real R> struct Polynomial<R, IntegralModel::Arb> : ByAntiderivative<R, Quotients<R>> {
    const int64_t order;

    explicit Polynomial(const TaskRecord<R>& task) : order(task.s_order) {}
    Quotients<R> of(const R* c, const R* d) const { return {c, d, order}; }
    static R product(const Quotients<R>& a, Two<R> t, R lo, R hi, R) {
        return fitting::product(a, a.order, t, hi - lo);
    }
};

// ---- models of polynomials -----------------------------------------------------------------------------------------

// Where pieces lie. Piece k has the polynomial of block k of the coefficients, centred at a breakpoint; begin and end
// are measured from there.
template <Real R, Grid grid> class BetweenBreaks {
public:
    static constexpr bool begins_at_centre = true;

    explicit BetweenBreaks(const TaskRecord<R>& task) : x_(task), nx_(task.nx) {}

    int64_t piece(R, int64_t cell) const {
        if (static_cast<std::uint64_t>(cell - 1) >= static_cast<std::uint64_t>(nx_ - 1)) [[unlikely]]
            return cell == 0 ? 0 : nx_ - 2;
        return cell - 1;
    }
    R centre(int64_t k) const { return x_.at(k); }
    static R begin(int64_t) { return 0; }
    R end(int64_t k) const { return x_.width(k); }

private:
    Breaks<R, grid> x_;
    int64_t nx_;
};

template <Real R, Grid grid, Subgrid subgrid> class BetweenKnots {
public:
    static constexpr bool begins_at_centre = false;

    explicit BetweenKnots(const TaskRecord<R>& task) : x_(task), knots_(task), nx_(task.nx) {}

    int64_t piece(R limit, int64_t cell) const {
        if (cell == 0) return 0;
        if (cell >= nx_) return nx_ - 1;
        return cell - (knots_.inner(cell) > limit ? 1 : 0);
    }
    R centre(int64_t k) const { return x_.at(k); }
    R begin(int64_t k) const { return knots_.at(k) - x_.at(k); }
    R end(int64_t k) const { return knots_.at(k + 1) - x_.at(k); }

private:
    Breaks<R, grid> x_;
    Knots<R, grid, subgrid> knots_;
    int64_t nx_;
};

template <Real R, IntegralModel model, class Pieces> class PiecewisePolynomial {
    using P = Polynomial<R, model>;
    using V = Two<R>;

public:
    PiecewisePolynomial(const TaskRecord<R>& task, int64_t function)
        : pieces_(task), polynomial_(task), c_(task.coeff[function]) {}

    struct Span {
        typename P::A a; // of the first and the last piece
        V centre, bound;
        R whole;
        bool one_piece;

        R integral(R lo, R hi) const {
            const V t = V{lo, hi} - centre;
            if (one_piece) return P::inside(a, t, hi - lo);
            const V parts = P::to(a, bound, t); // from lo to the end, and from hi to the begin
            return (parts[0] + whole) - parts[1];
        }
        // Of whole groups of pairs, in lanes: the same operations.
        void integrals(int64_t n, const R* lo, const R* hi, R* r) const {
            using W = Lanes<R, lane_width<R>>;
            std::array<W, P::order> from, to;
#pragma GCC unroll 4
            for (std::size_t k = 0; k < P::order; ++k) {
                from[k] = splat<W>(a[k][0]);
                to[k] = splat<W>(a[k][1]);
            }
            const auto begin = splat<W>(centre[0]), end = splat<W>(bound[0]), middle = splat<W>(whole);
            const auto last_begin = splat<W>(centre[1]), last_bound = splat<W>(bound[1]);
            if (one_piece) {
                for (int64_t i = 0; i < n; i += lane_width<R>) {
                    const W left = load<W>(lo + i), right = load<W>(hi + i);
                    store(r + i, P::inside(from, left - begin, right - begin, right - left));
                }
                return;
            }
#pragma GCC unroll 2
            for (int64_t i = 0; i < n; i += lane_width<R>) {
                const W first = P::to(from, end, load<W>(lo + i) - begin);
                const W last = P::to(to, last_bound, load<W>(hi + i) - last_begin);
                store(r + i, (first + middle) - last);
            }
        }
    };
    // The pieces of a pair are told by its cells alone, and integrals() is there.
    static constexpr bool in_groups = Pieces::begins_at_centre && model != IntegralModel::Arb;
    // Of pairs that share their cells. Not inlined, so that the loop over single pairs keeps its registers.
    [[gnu::noinline]] void integrate_sharing(const LimitPairs<R>& pairs, R* r) const {
        const auto first = pieces_.piece(0, *pairs.left_cell), last = pieces_.piece(0, *pairs.right_cell);
        span(first, last).integrals(pairs.n, pairs.left, pairs.right, r);
    }

    int64_t piece(R limit, int64_t cell) const { return pieces_.piece(limit, cell); }
    R product(int64_t k, R lo, R hi) const {
        const R centre = pieces_.centre(k);
        return P::product(both(k, k), V{lo, hi} - centre, lo, hi, centre);
    }
    // Inlined, since g++ drops calls of functions that do nothing but this.
    [[gnu::always_inline]] void prefetch(int64_t cell) const {
        __builtin_prefetch(c_ + std::max<int64_t>(cell - 1, 0) * polynomial_.order);
    }
    [[gnu::always_inline]] Span span(int64_t first, int64_t last) const {
        const auto a = both(first, last);
        const V bound = P::bound(a, V{pieces_.end(first), pieces_.begin(last)});
        const R whole = sum_between<R>(first, last, [&](int64_t k) { return whole_pieces(k, k + 1); });
        return {a, V{pieces_.centre(first), pieces_.centre(last)}, bound, whole, first == last};
    }

private:
    typename P::A both(int64_t k, int64_t l) const {
        return polynomial_.of(c_ + k * polynomial_.order, c_ + l * polynomial_.order);
    }
    V whole_pieces(int64_t k, int64_t l) const {
        const auto a = both(k, l);
        const V to_end = antiderivative(a, V{pieces_.end(k), pieces_.end(l)});
        if constexpr (Pieces::begins_at_centre) return to_end;
        return to_end - antiderivative(a, V{pieces_.begin(k), pieces_.begin(l)});
    }

    Pieces pieces_;
    P polynomial_;
    const R* c_;
};

// ---- steps ---------------------------------------------------------------------------------------------------------

// y[k] on [x[k], x[k+1]).
template <Real R, Grid grid> class RightOfBreaks {
public:
    explicit RightOfBreaks(const TaskRecord<R>& task) : x_(task), nx_(task.nx) {}

    // 0 to nx - 1.
    int64_t piece(R, int64_t cell) const { return std::max<int64_t>(cell - 1, 0); }
    R begin(int64_t k) const { return x_.at(k); }
    R end(int64_t k) const { return x_.at(std::min(k + 1, nx_ - 1)); }
    R width(int64_t k) const { return x_.width(std::min(k, nx_ - 2)); } // the last one is never counted

private:
    Breaks<R, grid> x_;
    int64_t nx_;
};

// y[k] on (x[k-1], x[k]].
template <Real R, Grid grid> class LeftOfBreaks {
public:
    explicit LeftOfBreaks(const TaskRecord<R>& task) : x_(task), nx_(task.nx) {}

    // 0 to nx - 1. A limit on a breakpoint ends the piece on its left; behind the right end the last piece goes on.
    int64_t piece(R limit, int64_t cell) const {
        if (cell >= nx_) return nx_ - 1;
        return cell - (cell >= 1 && x_.at(cell - 1) == limit ? 1 : 0);
    }
    R begin(int64_t k) const { return x_.at(std::max<int64_t>(k - 1, 0)); }
    R end(int64_t k) const { return x_.at(k); }
    R width(int64_t k) const { return x_.width(std::max<int64_t>(k - 1, 0)); } // nor is the first one

private:
    Breaks<R, grid> x_;
    int64_t nx_;
};

template <Real R, class Pieces, Store store> class Steps {
public:
    Steps(const TaskRecord<R>& task, int64_t function) : pieces_(task), y_(task), function_(function) {}

    struct Span {
        R first, last; // values
        R end, begin;  // of the first and the last piece
        R whole;
        bool one_piece;

        R integral(R lo, R hi) const {
            return one_piece ? (hi - lo) * first : ((end - lo) * first + whole) + (hi - begin) * last;
        }
    };

    int64_t piece(R limit, int64_t cell) const { return pieces_.piece(limit, cell); }
    static constexpr bool in_groups = false;
    R product(int64_t k, R lo, R hi) const { return (hi - lo) * y(k); }
    static void prefetch(int64_t) {}
    Span span(int64_t first, int64_t last) const {
        const R whole = sum_between<R>(first, last, [&](int64_t k) {
            return Two<R>{pieces_.width(k), pieces_.width(k + 1)} * Two<R>{y(k), y(k + 1)};
        });
        return {y(first), y(last), pieces_.end(first), pieces_.begin(last), whole, first == last};
    }

private:
    R y(int64_t k) const { return y_.at(function_, k); }

    Pieces pieces_;
    Values<R, store> y_;
    int64_t function_;
};

// ---- pairs ---------------------------------------------------------------------------------------------------------

constexpr int64_t ahead = 12;                  // pairs: about as long as memory takes
constexpr int64_t cached_coefficients = 32768; // of more, those that are wanted next are fetched

// How many pairs from i on, in whole groups, ascend and lie in the same two cells.
template <Real R> int64_t pairs_sharing_cells(const LimitPairs<R>& pairs, int64_t i) {
    using W = Lanes<R, lane_width<R>>;
    using Cells = Lanes<int64_t, 2>;
    const int64_t first = i;
    const int64_t *left = pairs.left_cell, *right = pairs.right_cell;
    const auto from = splat<Cells>(left[first]), to = splat<Cells>(right[first]);
    for (; i + group <= pairs.n; i += group) {
        // Cells seldom go from one to another and back, so that mostly the last ones tell.
        if (left[i + group - 1] != left[first] || right[i + group - 1] != right[first]) break;
        Cells differ{};
        auto ascend = ~LaneMask<R, lane_width<R>>{};
#pragma GCC unroll 8
        for (int64_t k = i; k < i + group; k += 2)
            differ |= (load<Cells>(left + k) ^ from) | (load<Cells>(right + k) ^ to);
#pragma GCC unroll 8
        for (int64_t k = i; k < i + group; k += lane_width<R>)
            ascend &= load<W>(pairs.left + k) < load<W>(pairs.right + k);
        if ((differ[0] | differ[1]) != 0 || lane_bits(ascend) != (1U << lane_width<R>)-1) break;
    }
    return i - first;
}

// Pair by pair. Not inlined, since it is called in two places.
template <class Model, Real R>
[[gnu::noinline]] void integrate_each(const Model model, const TaskRecord<R>& task, const LimitPairs<R>& pairs, R* r) {
    const int64_t prefetched = task.s_order > cached_coefficients / task.nx ? pairs.n - ahead : 0;
    typename Model::Span span{};
    int64_t first = -1, last = -1; // the pieces of that span
    for (int64_t i = 0; i < pairs.n; ++i) {
        R lo = pairs.left[i], hi = pairs.right[i];
        int64_t lo_cell = pairs.left_cell[i], hi_cell = pairs.right_cell[i];
        bool swapped = false;
        if (!(lo < hi)) [[unlikely]] {
            if (lo == hi) { // infinite ones too
                r[i] = 0;
                continue;
            }
            if (hi < lo) {
                std::swap(lo, hi);
                std::swap(lo_cell, hi_cell);
                swapped = true;
            }
        }
        const int64_t lo_piece = model.piece(lo, lo_cell), hi_piece = model.piece(hi, hi_cell);
        if (lo_piece != first || hi_piece != last) {
            first = lo_piece;
            last = hi_piece;
            span = model.span(first, last);
            if (i < prefetched) {
                model.prefetch(pairs.left_cell[i + ahead]);
                model.prefetch(pairs.right_cell[i + ahead]);
            }
        }
        const R integral = span.integral(lo, hi);
        r[i] = swapped ? -integral : integral;
    }
}

template <class Model, Real R>
void integrate(const TaskRecord<R>& task, int64_t function, const LimitPairs<R>& pairs, R* r) {
    const Model model(task, function);
    int64_t done = 0;
    if constexpr (Model::in_groups) {
        for (int64_t i = 0; i + group <= pairs.n;) {
            const int64_t sharing = pairs_sharing_cells(pairs, i);
            if (sharing > 0) {
                if (done < i) integrate_each(model, task, pairs.part(done, i), r + done);
                model.integrate_sharing(pairs.part(i, i + sharing), r + i);
                done = i + sharing;
            }
            i += std::max(sharing, group);
        }
    }
    if (done < pairs.n) integrate_each(model, task, pairs.part(done, pairs.n), r + done);
}

// ---- pairs with callbacks ------------------------------------------------------------------------------------------

template <Real R> struct Interval {
    R lo, hi;
    int64_t lo_cell, hi_cell;
};

// Adds the integral of each function, followed on beyond its ends, to a row.
template <Real R> using AddIntegrals = void(const TaskRecord<R>& task, const Interval<R>& interval, R* row);

template <class Model, Real R> void add_integrals(const TaskRecord<R>& task, const Interval<R>& interval, R* row) {
    const auto& [lo, hi, lo_cell, hi_cell] = interval;
    for (int64_t f = 0; f < task.ny; ++f) {
        const Model model(task, f);
        const int64_t piece = model.piece(lo, lo_cell);
        R integral = 0;
        if (piece == model.piece(hi, hi_cell)) {
            integral = model.product(piece, lo, hi);
        } else {
            integrate<Model>(task, f, {1, &lo, &lo_cell, &hi, &hi_cell}, &integral);
        }
        row[f] += integral;
    }
}

template <Real R> R right_end(const TaskRecord<R>& task) { return task.x[task.even_grid() ? 1 : task.nx - 1]; }

// An interval as the sum of its parts left of the partition, right of it and inside it.
template <Real R> class PartSum {
public:
    PartSum(const TaskRecord<R>& task, const PartCallbacks<R>& callbacks, AddIntegrals<R>* add_integrals, R* extra_row,
            LastStatus& last)
        : task_(task), callbacks_(callbacks), add_integrals_(add_integrals), extra_row_(extra_row), last_(last) {}

    // False if a callback failed.
    bool put(R a, int64_t a_cell, R b, int64_t b_cell, R* row) const {
        static constexpr R ones[] = {1, -1};
        const bool swapped = b < a;
        const Interval<R> all = swapped ? Interval<R>{b, a, b_cell, a_cell} : Interval<R>{a, b, a_cell, b_cell};
        std::fill_n(row, task_.ny, R{0});
        if (a != b && !add_parts(all, row)) return false;
        for (int64_t f = 0; f < task_.ny; ++f) row[f] *= ones[swapped];
        return true;
    }

private:
    // The cells alone decide what lies where, so that the parts meet at the ends.
    bool add_parts(const Interval<R>& all, R* row) const {
        const int64_t nx = task_.nx;
        const R first = task_.x[0], last = right_end(task_);
        const auto& [lo, hi, lo_cell, hi_cell] = all;
        const bool from_left = lo_cell == 0, to_right = hi_cell == nx;
        const bool all_left = from_left && hi_cell == 0, all_right = to_right && lo_cell == nx;
        if (from_left && !add(callbacks_.left, {lo, all_left ? hi : first, 0, 0}, row)) return false;
        if (to_right && !add(callbacks_.right, {all_right ? lo : last, hi, nx, nx}, row)) return false;
        return all_left || all_right ||
               add(callbacks_.inner, {from_left ? first : lo, to_right ? last : hi, lo_cell, hi_cell}, row);
    }
    bool add(const typename PartCallbacks<R>::Part& callback, const Interval<R>& part, R* row) const {
        if (!callback.function) {
            add_integrals_(task_, part, row);
            return true;
        }
        const int64_t one = 1;
        last_.called = true;
        last_.status = callback.function(&one, &part.lo_cell, &part.lo, &part.hi_cell, &part.hi, extra_row_,
                                         callback.params, nullptr);
        if (last_.status < 0) return false;
        for (int64_t f = 0; f < task_.ny; ++f) row[f] += extra_row_[f];
        return true;
    }

    const TaskRecord<R>& task_;
    const PartCallbacks<R>& callbacks_;
    AddIntegrals<R>* add_integrals_;
    R* extra_row_;
    LastStatus& last_;
};

template <Real R>
void integrate_rows(const TaskRecord<R>& task, AddIntegrals<R>* add_integrals, const PartCallbacks<R>& callbacks,
                    const LimitPairs<R>& pairs, R* rows, LastStatus& last) {
    const PartSum<R> parts(task, callbacks, add_integrals, rows + pairs.n * task.ny, last);
    for (int64_t i = 0; i < pairs.n; ++i)
        if (!parts.put(pairs.left[i], pairs.left_cell[i], pairs.right[i], pairs.right_cell[i], rows + i * task.ny))
            return;
}

// ---- the model of a task's grid, subgrid or storage ----------------------------------------------------------------

template <Real R, IntegralModel model, Grid grid, class Use> void with_grid(const TaskRecord<R>& task, const Use& use) {
    using enum IntegralModel;
    if constexpr (model == Subb) {
        const auto with_subgrid = [&]<Subgrid subgrid> {
            use.template operator()<PiecewisePolynomial<R, Quad, BetweenKnots<R, grid, subgrid>>>();
        };
        switch (subgrid_of(task)) {
        case Subgrid::listed: return with_subgrid.template operator()<Subgrid::listed>();
        case Subgrid::even: return with_subgrid.template operator()<Subgrid::even>();
        case Subgrid::middles: return with_subgrid.template operator()<Subgrid::middles>();
        }
    } else if constexpr (model == PwL || model == PwR) {
        using Pieces = std::conditional_t<model == PwL, LeftOfBreaks<R, grid>, RightOfBreaks<R, grid>>;
        return task.by_columns() ? use.template operator()<Steps<R, Pieces, Store::cols>>()
                                 : use.template operator()<Steps<R, Pieces, Store::rows>>();
    } else {
        use.template operator()<PiecewisePolynomial<R, model, BetweenBreaks<R, grid>>>();
    }
}

template <Real R, IntegralModel model, class Use> void with_model(const TaskRecord<R>& task, const Use& use) {
    return task.even_grid() ? with_grid<R, model, Grid::even>(task, use) : with_grid<R, model, Grid::listed>(task, use);
}

} // namespace

} // namespace nvo::fitting

using namespace nvo::fitting;

#define NVO_DF_DEFINE(t, real, Kind)                                                                                  \
    void nvo_df_kernel_##t##_Integrate##Kind##Spline(DFTask1D* handle, std::int64_t function,                         \
                                                     const LimitPairs<real>* pairs, real* r) {                        \
        const auto& task = record_of<real>(handle);                                                                   \
        with_model<real, IntegralModel::Kind>(task,                                                                   \
                                              [&]<class Model> { integrate<Model>(task, function, *pairs, r); });     \
    }                                                                                                                 \
    void nvo_df_kernel_##t##_Integrate##Kind##SplineCB(DFTask1D* handle, const PartCallbacks<real>* callbacks,        \
                                                       const LimitPairs<real>* pairs, real* rows, LastStatus* last) { \
        const auto& task = record_of<real>(handle);                                                                   \
        with_model<real, IntegralModel::Kind>(task, [&]<class Model> {                                                \
            integrate_rows(task, add_integrals<Model, real>, *callbacks, *pairs, rows, *last);                        \
        });                                                                                                           \
    }
NVO_DF_INTEGRATORS(NVO_DF_DEFINE, s, float)
NVO_DF_INTEGRATORS(NVO_DF_DEFINE, d, double)
