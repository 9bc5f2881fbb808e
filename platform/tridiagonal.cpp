// Gaussian elimination from both ends of a tridiagonal matrix towards its middle row. A row above the middle takes the
// element below the diagonal from the next row down, a row below it the element above from the next row up. The error
// analysis of elimination from one end holds (Higham, Accuracy and Stability of Numerical Algorithms, 2002, section
// 9.6), and two chains of dependent operations run side by side, each half as long.
#include "platform/tridiagonal.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace {

// Rows 0, ..., above - 1 are eliminated from above, rows n - 1, ..., n - below from below; row `above` is the middle.
struct Halves {
    std::int64_t above, below;
    explicit Halves(std::int64_t n) : above(n / 2), below(n - 1 - above) {} // above is below or one more
};

// Puts the pivots into d. A row that is eliminated from above has the multiple of itself that the next row loses in
// dl, and its element of du over its pivot in du; for the rows of the other half the roles are exchanged. Returns the
// number, from 1, of a row whose pivot vanished, or 0.
template <class R> std::int64_t factorise(std::int64_t n, R* dl, R* d, R* du) {
    if (n == 0) return 0;
    bool vanished = false;
    // Row with the given diagonal, of which `loss` is taken; returns the loss of the next row.
    const auto eliminate = [&vanished](R& diagonal, R& towards, R& back, R loss) {
        const R pivot = diagonal - loss, multiple = towards / pivot, other = back;
        vanished |= pivot == 0;
        diagonal = pivot;
        towards = multiple;
        back = other / pivot;
        return multiple * other;
    };
    const Halves rows(n);
    R from_above = 0, from_below = 0;
    for (std::int64_t i = 0, j = n - 1; i < rows.below; ++i, --j) {
        from_above = eliminate(d[i], dl[i], du[i], from_above);
        from_below = eliminate(d[j], du[j - 1], dl[j - 1], from_below);
    }
    if (const std::int64_t i = rows.below; i < rows.above) from_above = eliminate(d[i], dl[i], du[i], from_above);
    d[rows.above] = (d[rows.above] - from_above) - from_below;
    vanished |= d[rows.above] == 0;
    return vanished ? std::find(d, d + n, R(0)) - d + 1 : 0;
}

// Solves for `columns` right sides, which differ in nothing but where they are: together they keep the processor busy
// that would wait for the chains of one.
template <std::size_t columns, class R>
void solve(std::int64_t n, const R* dl, const R* d, const R* du, R* b, std::int64_t ldb) {
    const Halves rows(n);
    std::array<R, columns> above{}, below{}; // what the next row loses, later the solution of the last one
    const auto reduce = [b, ldb](std::int64_t row, R multiple, std::array<R, columns>& loss) {
        for (std::size_t c = 0; c < columns; ++c) {
            R& element = b[row + static_cast<std::int64_t>(c) * ldb];
            const R rest = element - loss[c];
            element = rest;
            loss[c] = multiple * rest;
        }
    };
    const auto substitute = [b, ldb](std::int64_t row, R pivot, R ratio, std::array<R, columns>& last) {
        for (std::size_t c = 0; c < columns; ++c) {
            R& element = b[row + static_cast<std::int64_t>(c) * ldb];
            last[c] = element / pivot - ratio * last[c];
            element = last[c];
        }
    };
    for (std::int64_t i = 0, j = n - 1; i < rows.below; ++i, --j) {
        reduce(i, dl[i], above);
        reduce(j, du[j - 1], below);
    }
    const bool uneven = rows.below < rows.above;
    if (uneven) reduce(rows.below, dl[rows.below], above);
    for (std::size_t c = 0; c < columns; ++c) {
        R& element = b[rows.above + static_cast<std::int64_t>(c) * ldb];
        element = ((element - above[c]) - below[c]) / d[rows.above];
        above[c] = below[c] = element;
    }
    if (uneven) substitute(rows.below, d[rows.below], du[rows.below], above);
    for (std::int64_t i = rows.below - 1, j = n - rows.below; i >= 0; --i, ++j) {
        substitute(i, d[i], du[i], above);
        substitute(j, d[j], dl[j - 1], below);
    }
}

template <class R>
void solve_all(std::int64_t n, std::int64_t nrhs, const R* dl, const R* d, const R* du, R* b, std::int64_t ldb) {
    if (n == 0) return;
    std::int64_t column = 0;
    for (; column + 4 <= nrhs; column += 4) solve<4>(n, dl, d, du, b + column * ldb, ldb);
    for (; column < nrhs; ++column) solve<1>(n, dl, d, du, b + column * ldb, ldb);
}

enum class Form { plain, transposed, unknown };

Form form_of(char trans) {
    switch (trans) {
    case 'N':
    case 'n': return Form::plain;
    case 'T':
    case 't':
    case 'C':
    case 'c': return Form::transposed;
    default: return Form::unknown;
    }
}

// Arguments n, nrhs and ldb that have no meaning: -k for the one that is number k of the call, or 0.
std::int64_t misfit(std::int64_t n, int n_place, std::int64_t nrhs, std::int64_t ldb, int ldb_place) {
    if (n < 0) return -n_place;
    if (nrhs < 0) return -(n_place + 1);
    return ldb < std::max<std::int64_t>(n, 1) ? -ldb_place : 0;
}

} // namespace

// The factors of the transposed matrix are the same but for the exchange of dl and du.
#define NVO_TRIDIAGONAL_SOLVERS(t, real)                                                                             \
    void nvo_lapack_ps_##t##dttrfb(const std::int64_t* n, real* dl, real* d, real* du, std::int64_t* info) {         \
        *info = *n < 0 ? -1 : factorise(*n, dl, d, du);                                                              \
    }                                                                                                                \
    void nvo_lapack_##t##dttrsb(const char* trans, const std::int64_t* n, const std::int64_t* nrhs, const real* dl,  \
                                const real* d, const real* du, real* b, const std::int64_t* ldb, std::int64_t* info, \
                                std::size_t) {                                                                       \
        const Form form = form_of(*trans);                                                                           \
        *info = form == Form::unknown ? -1 : misfit(*n, 2, *nrhs, *ldb, 8);                                          \
        if (*info != 0) return;                                                                                      \
        if (form == Form::transposed) std::swap(dl, du);                                                             \
        solve_all(*n, *nrhs, dl, d, du, b, *ldb);                                                                    \
    }                                                                                                                \
    void nvo_lapack_ps_##t##dtsvb(const std::int64_t* n, const std::int64_t* nrhs, real* dl, real* d, real* du,      \
                                  real* b, const std::int64_t* ldb, std::int64_t* info) {                            \
        *info = misfit(*n, 1, *nrhs, *ldb, 7);                                                                       \
        if (*info == 0) *info = factorise(*n, dl, d, du);                                                            \
        if (*info == 0) solve_all(*n, *nrhs, dl, d, du, b, *ldb);                                                    \
    }
NVO_TRIDIAGONAL_SOLVERS(s, float)
NVO_TRIDIAGONAL_SOLVERS(d, double)
