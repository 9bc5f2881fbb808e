// Moments, sums, covariance and correlation: checks, plan, scratch, bodies on the team, merge, finish.
//
// All working sums lie in one block of the library's own, each array on a boundary of 64 bytes: a variable that is left
// out keeps what the caller's arrays have, nothing of the caller's is written before all memory is there, bodies can't
// fail, and the kernels need no second copy of their loops for arrays elsewhere. Only a matrix that is full and of all
// variables is worked on where the caller has it.
#include "stats/basic_carry.h"
#include "stats/basic_formulas.h"
#include "stats/basic_merge.h"
#include "stats/basic_results.h"

#include <utility>

namespace nvo::stats {

namespace {

template <Real R>
std::int32_t from_sums(const TaskRecord<R>& t, const BasicRequest& request, const SelectedVariables& variables) {
    const std::int64_t p = *t.integers(t.dimension);
    const Scratch<R> work(static_cast<std::size_t>(p));
    if (!work) return OST_STAT_ERR_MEMORY;
    Weights<R> w{};
    if (t.accumulated_weights) {
        w = {t.accumulated_weights[0], t.accumulated_weights[1]};
    } else {
        w.sum = w.squares = static_cast<R>(*t.integers(t.observations));
    }
    const ArraysByOrder<R> arrays(t);
    for (std::int64_t i = 0; i < variables.count(); ++i) {
        const std::int64_t j = variables[i];
        for (int k = 1; k <= highest_order; ++k)
            if (request.asks(raw_bit(k))) arrays.raw[k][j] = arrays.raw_sum[k][j] / w.sum;
        for (int k = 2; k <= highest_order; ++k)
            if (request.asks(central_bit(k))) arrays.central[k][j] = central_moment_of(k, arrays.central_sum[k][j], w);
    }
    write_ratios(t, variables, request);
    if (request.asks(matrix_bits)) {
        const SymmetricMatrix<R> cross(t.cross_product, *t.integers(t.cross_product_storage), variables, p);
        write_matrices(t, variables, request.asked & matrix_bits, cross, w, work.get());
    }
    return OST_STAT_OK;
}

// All memory of a call, with the sums of each thread in it, at 0.
template <Real R> class Workspace {
public:
    bool allocate(const Plan<R>& plan); // and lay out

    Sums<R>& sums(std::int64_t thread) const { return sums_[static_cast<std::size_t>(thread)]; }
    R* work(std::int64_t thread) const { return array(thread, arrays_a_thread - 1); }

private:
    // Seven of sums, and one to work in.
    static constexpr int arrays_a_thread = 8;

    void lay_out(const Plan<R>& plan, std::int64_t matrices, std::int64_t space);
    R* array(std::int64_t thread, int i) const { return arrays_.get() + (thread * arrays_a_thread + i) * stride_; }

    std::int64_t stride_ = 0; // from array to array
    Scratch<Sums<R>> sums_;
    Scratch<R> arrays_, crosses_, spaces_;
};

template <Real R> bool Workspace<R>::allocate(const Plan<R>& plan) {
    constexpr std::int64_t boundary = 64 / sizeof(R);
    const std::int64_t p = plan.data.p, threads = plan.threads;
    stride_ = (p + boundary - 1) / boundary * boundary;
    const std::int64_t square = bounded_product(p, p);

    // Each thread has a matrix, unless that is made at the end; the first one's may be the caller's.
    const std::int64_t matrices = !plan.cross ? 0 : (plan.at_the_end ? 1 : threads) - (plan.in_home ? 1 : 0);
    const std::int64_t space = !plan.cross ? 0 : plan.by_blas ? plan.products().scratch_elements() : tile_elements(p);
    const std::int64_t array_elements = bounded_product(threads * arrays_a_thread, stride_);
    const std::int64_t matrix_elements = bounded_product(matrices, square);

    const auto get = [](auto& scratch, std::int64_t count) {
        if (count > 0) scratch = std::remove_reference_t<decltype(scratch)>(static_cast<std::size_t>(count));
        return count == 0 || scratch;
    };
    if (!get(sums_, threads) || !get(arrays_, array_elements) || !get(crosses_, matrix_elements) ||
        !get(spaces_, bounded_product(threads, space)))
        return false;
    std::fill_n(arrays_.get(), array_elements, R{0});
    std::fill_n(crosses_.get(), matrix_elements, R{0});
    lay_out(plan, matrices, space);
    return true;
}

// Each thread's sums in the memory: there are so many matrices, and so many elements of work space a thread.
template <Real R> void Workspace<R>::lay_out(const Plan<R>& plan, std::int64_t matrices, std::int64_t space) {
    R* next_cross = crosses_.get();
    for (std::int64_t thread = 0; thread < plan.threads; ++thread) {
        Sums<R>& s = sums(thread);
        s = {};
        for (int k = 1; k <= highest_order; ++k) s.raw[k] = array(thread, k - 1);
        for (int k = 2; k <= highest_order; ++k) s.central[k] = array(thread, highest_order + k - 2);
        if (plan.pass == Pass::two) s.raw[1] = array(0, 0); // the means that are given
        if (space > 0) s.space = spaces_.get() + thread * space;
        if (thread == 0 && plan.in_home) {
            s.cross = plan.home.elements;
        } else if (matrices > 0) {
            s.cross = next_cross;
            next_cross += plan.data.p * plan.data.p;
            --matrices;
        }
    }
}

template <Real R> void walk(const Plan<R>& plan, Range observations, Sums<R>& sums) {
    const auto kernel =
        basic_kernel<R>(plan.pass, !plan.data.rows, plan.data.w != nullptr, plan.level, plan.cross && !plan.by_blas);
    const Weights<R> start = sums.weights; // each run of variables adds the same ones
    plan.for_each_run([&](Range variables) {
        sums.weights = start;
        kernel(plan.data, observations, variables, sums);
    });
}

// The means that take part in cross-products: those given, or those of the sums of the Fast form.
template <Real R> const R* means_of(const Plan<R>& plan, const Sums<R>& sums, R* work) {
    if (plan.pass == Pass::two) return sums.raw[1];
    for (std::int64_t j = plan.hull.first; j < plan.hull.end; ++j) work[j] = sums.raw[1][j] / sums.weights.sum;
    return work;
}

// What a thread does. Without a weight there are no means, and no products either.
template <Real R> void accumulate(const Plan<R>& plan, Range piece, Sums<R>& sums, R* work) {
    if (!plan.by_blas || plan.at_the_end) return walk(plan, piece, sums);
    const Products<R> products = plan.products();
    while (piece.size() > 0) {
        const Range some = {piece.first, std::min(piece.first + plan.block, piece.end)};
        walk(plan, some, sums);
        products.add(some, sums.cross, sums.space);
        piece.first = some.end;
    }
    if (sums.weights.sum != 0) products.add_means(-sums.weights.sum, means_of(plan, sums, work), sums.cross);
}

// The two-pass form keeps its means: from them a later call takes the products back. The results are there already if
// there is no memory for it; a call that follows takes the means of its own then.
template <Real R> std::int32_t save_mean(const Plan<R>& plan) {
    Scratch<R> mean(static_cast<std::size_t>(plan.data.p)); // anew, as p may be another one than at the last call
    if (mean) std::copy_n(plan.task.mean, plan.data.p, mean.get());
    nvo_serv_deallocate(std::exchange(plan.task.saved_mean, mean.release()));
    return plan.task.saved_mean ? OST_STAT_OK : OST_STAT_ERR_MEMORY;
}

template <Real R>
std::int32_t from_data(TaskRecord<R>& t, const BasicRequest& request, const SelectedVariables& variables,
                       const Team& team) {
    const Plan<R> plan(t, request, variables, team.max_threads());
    Workspace<R> space;
    if (!space.allocate(plan)) return OST_STAT_ERR_MEMORY;

    Sums<R>& sums = space.sums(0);
    R* const work = space.work(0);
    carry(plan, sums, work);
    auto body = [&](std::int64_t thread) {
        accumulate(plan, plan.piece(thread), space.sums(thread), space.work(thread));
    };
    team.run_team(plan.threads, body);
    for (std::int64_t thread = 1; thread < plan.threads; ++thread)
        merge(plan.pass, plan.orders, plan.hull, plan.data.p, sums, space.sums(thread), work);
    if (plan.at_the_end) {
        plan.products().add_all(sums.cross);
        plan.products().add_means(-sums.weights.sum, means_of(plan, sums, work), sums.cross);
    }

    write_moments(plan, sums);
    write_ratios(t, variables, request);
    if (plan.cross) {
        const std::uint64_t matrices = (request.needed & matrix_bits) | plan.home.estimate;
        write_matrices(t, variables, matrices, plan.full_matrix(sums.cross), sums.weights, work);
    }
    if (t.accumulated_weights) {
        t.accumulated_weights[0] = sums.weights.sum;
        t.accumulated_weights[1] = sums.weights.squares;
    }
    return plan.pass == Pass::two ? save_mean(plan) : OST_STAT_OK;
}

template <Real R>
std::int32_t basic(OstSSTask* handle, std::uint64_t estimates, std::uint32_t method, const OstThreading* threading) {
    BasicRequest request;
    if (const auto status = read_request<R>(handle, estimates, method, request); status != OST_STAT_OK) return status;
    TaskRecord<R>& t = record_of<R>(handle);
    const SelectedVariables variables(t, *t.integers(t.dimension));
    if (!variables) return OST_STAT_ERR_MEMORY;
    if (request.from_sums) return from_sums(t, request, variables);
    return from_data(t, request, variables, Team(threading));
}

} // namespace

} // namespace nvo::stats

std::int32_t _ostsSSBasic(OstSSTask* task, std::uint64_t estimates, std::uint32_t method,
                          const OstThreading* threading) {
    return nvo::stats::basic<float>(task, estimates, method, threading);
}
std::int32_t _ostdSSBasic(OstSSTask* task, std::uint64_t estimates, std::uint32_t method,
                          const OstThreading* threading) {
    return nvo::stats::basic<double>(task, estimates, method, threading);
}
