// T. F. Chan, G. H. Golub, R. J. LeVeque, Stanford Report STAN-CS-79-773 (1979); orders 3 and 4: P. Pebay, Sandia
// Report SAND2008-6212 (2008), section 3.
#include "stats/basic_merge.h"

namespace nvo::stats {

namespace {

// One variable of the one-pass form. Each order needs the lower ones of both pieces as they were.
template <Real R> void merge_one_pass(Orders orders, std::int64_t j, R delta, Sums<R>& a, const Sums<R>& b) {
    const R wa = a.weights.sum, wb = b.weights.sum, wn = wa + wb;
    if (has_order(orders.central, 4)) {
        const R c2a = a.central[2][j], c2b = b.central[2][j], c3a = a.central[3][j], c3b = b.central[3][j];
        const R d2 = delta * delta;
        a.central[4][j] = a.central[4][j] + b.central[4][j] +
                          d2 * d2 * wa * wb * (wa * wa + wb * wb - wa * wb) / (wn * wn * wn) +
                          6 * d2 * (wa * wa * c2b + wb * wb * c2a) / (wn * wn) + 4 * delta * (wa * c3b - wb * c3a) / wn;
        a.central[3][j] =
            c3a + c3b + d2 * delta * wa * wb * (wa - wb) / (wn * wn) + 3 * delta * (wa * c2b - wb * c2a) / wn;
    }
    if (has_order(orders.central, 2))
        a.central[2][j] = a.central[2][j] + b.central[2][j] + delta * delta * wa * wb / wn;
    for (int k = 1; k <= highest_order; ++k)
        if (has_order(orders.raw, k)) a.raw[k][j] = (wa * a.raw[k][j] + wb * b.raw[k][j]) / wn;
}

template <Real R> void add(Orders orders, std::int64_t j, Sums<R>& a, const Sums<R>& b) {
    for (int k = 1; k <= highest_order; ++k) {
        if (has_order(orders.raw, k)) a.raw[k][j] += b.raw[k][j];
        if (has_order(orders.central, k)) a.central[k][j] += b.central[k][j];
    }
}

} // namespace

template <Real R>
void merge(Pass pass, Orders orders, Range variables, std::int64_t p, Sums<R>& a, const Sums<R>& b, R* delta) {
    const R wa = a.weights.sum, wb = b.weights.sum, wn = wa + wb;
    if (wb == 0) return;

    // How far apart the means are; in the two-pass form they are the same.
    for (std::int64_t j = variables.first; j < variables.end; ++j) {
        if (pass == Pass::one) delta[j] = b.raw[1][j] - a.raw[1][j];
        if (pass == Pass::fast) delta[j] = b.raw[1][j] / wb - a.raw[1][j] / wa;
    }
    if (b.cross) {
        const bool apart = pass != Pass::two && wa != 0;
        for (std::int64_t j = variables.first; j < variables.end; ++j)
            for (std::int64_t i = variables.first; i <= j; ++i) {
                R& c = a.cross[j * p + i];
                c += b.cross[j * p + i];
                if (apart) c += wa * wb / wn * delta[i] * delta[j];
            }
    }
    for (std::int64_t j = variables.first; j < variables.end; ++j) {
        if (pass == Pass::one) {
            merge_one_pass(orders, j, delta[j], a, b);
        } else {
            add(orders, j, a, b);
        }
    }
    a.weights = {wn, a.weights.squares + b.weights.squares};
}

template void merge<float>(Pass, Orders, Range, std::int64_t, Sums<float>&, const Sums<float>&, float*);
template void merge<double>(Pass, Orders, Range, std::int64_t, Sums<double>&, const Sums<double>&, double*);

} // namespace nvo::stats
