// Definite integrals of all functions of a task over pairs of limits, in blocks of pairs: both searches, then the
// model's integrator, then the results to their places.
#include "fitting/exports.h"
#include "fitting/integrators.h"
#include "fitting/model.h"
#include "fitting/outcome.h"
#include "fitting/search.h"
#include "frame/lanes.h"
#include "support/scratch.h"
#include "support/team.h"

#include <algorithm>
#include <array>
#include <optional>

namespace nvo::fitting {

namespace {

using std::int64_t;

constexpr int64_t block_pairs = 128;
constexpr int64_t group_blocks = 5;                 // an item of the first phase of a team
constexpr int64_t team_from = 4096;                 // pairs
constexpr int64_t stack_staging = 16 * block_pairs; // elements; more are allocated

// ---- dispatch ------------------------------------------------------------------------------------------------------

#define NVO_DF_PLAIN(t, real, Kind) nvo_df_kernel_##t##_Integrate##Kind##Spline,
#define NVO_DF_CALLBACK(t, real, Kind) nvo_df_kernel_##t##_Integrate##Kind##SplineCB,
template <Real R> constexpr std::array<Integrator<R>*, integral_models> integrators = {};
template <>
constexpr std::array<Integrator<float>*, integral_models> integrators<float> = {
    NVO_DF_INTEGRATORS(NVO_DF_PLAIN, s, float)};
template <>
constexpr std::array<Integrator<double>*, integral_models> integrators<double> = {
    NVO_DF_INTEGRATORS(NVO_DF_PLAIN, d, double)};
template <Real R> constexpr std::array<CallbackIntegrator<R>*, integral_models> callback_integrators = {};
template <>
constexpr std::array<CallbackIntegrator<float>*, integral_models> callback_integrators<float> = {
    NVO_DF_INTEGRATORS(NVO_DF_CALLBACK, s, float)};
template <>
constexpr std::array<CallbackIntegrator<double>*, integral_models> callback_integrators<double> = {
    NVO_DF_INTEGRATORS(NVO_DF_CALLBACK, d, double)};

// Values to look up have no integral.
template <Real R> std::optional<IntegralModel> integral_model_of(const TaskRecord<R>& task, bool all_callbacks) {
    const auto model = model_of(task, all_callbacks);
    if (!model) return std::nullopt;
    switch (*model) {
    case Model::linear: return IntegralModel::Linear;
    case Model::quadratic: return IntegralModel::Quad;
    case Model::cubic: return IntegralModel::Cub;
    case Model::subbotin: return IntegralModel::Subb;
    case Model::arbitrary: return IntegralModel::Arb;
    case Model::step_left: return IntegralModel::PwL;
    case Model::step_right: return IntegralModel::PwR;
    case Model::look_up: break;
    }
    return std::nullopt;
}

bool is_step(IntegralModel model) { return model == IntegralModel::PwL || model == IntegralModel::PwR; }

// ---- a call --------------------------------------------------------------------------------------------------------

template <Real R> struct Limits {
    const R* at;
    int64_t hint;
    const R* datahint;

    // Limits first, ..., first + n - 1 of nlim: where they are, or in the buffer.
    const R* block(int64_t nlim, int64_t first, int64_t n, R* buffer) const {
        if (hint != DF_SITE_EVEN) return at + first;
        spread_sites(at, nlim, first, n, buffer);
        return buffer;
    }
};

constexpr int64_t near_breaks = 8;

// Right limits mostly lie a few cells behind their left ones. Those with less than 8 breakpoints between them are
// placed by a comparison with all 8, in less than half the time of a bisection; the indexes of the others go to
// `missed`. Returns how many these are.
template <Real R>
int64_t place_near(const TaskRecord<R>& task, const LimitPairs<R>& pairs, int64_t* right_cell, std::int32_t* missed) {
    using V = Lanes<R, lane_width<R>>;
    const int64_t last_start = task.nx - 1 - near_breaks; // the last breakpoint has a rule of its own
    int64_t misses = 0;
    for (int64_t i = 0; i < pairs.n; ++i) {
        const R left = pairs.left[i], right = pairs.right[i];
        const int64_t start = pairs.left_cell[i];
        int64_t passed = near_breaks;
        if (start <= last_start) {
            LaneMask<R, lane_width<R>> minus_passed{};
#pragma GCC unroll 4
            for (int64_t k = 0; k < near_breaks; k += lane_width<R>)
                minus_passed += load<V>(task.x + start + k) <= splat<V>(right);
            passed = 0;
#pragma GCC unroll 4
            for (int lane = 0; lane < lane_width<R>; ++lane) passed -= minus_passed[lane];
        }
        right_cell[i] = start + passed;
        missed[misses] = static_cast<std::int32_t>(i);
        misses += static_cast<int>(passed == near_breaks) | static_cast<int>(!(left <= right));
    }
    return misses;
}

template <Real R> struct Call {
    int64_t nlim;
    Limits<R> left, right;
    int64_t rhint;
    PartCallbacks<R> callbacks;
    SearchCallback<R>* search_cb;
    void* search_params;
    R* r = nullptr;

    bool by_pair() const { return rhint == DF_Y_DEFAULT || rhint == DF_Y_BY_COLS; }
};

template <Real R> class Integration {
public:
    Integration(DFTask1D* handle, const Call<R>& call, IntegralModel model, Search left_kind, Search right_kind)
        : handle_(handle), task_(record_of<R>(handle)), call_(call),
          left_search_(task_, left_kind, call.left.datahint, call.search_cb, call.search_params),
          right_search_(task_, right_kind, call.right.datahint, call.search_cb, call.search_params),
          looks_near_((right_kind == Search::hybrid || right_kind == Search::peak) && task_.nx > 2 * near_breaks),
          integrator_(integrators<R>[static_cast<std::size_t>(model)]),
          callback_integrator_(callback_integrators<R>[static_cast<std::size_t>(model)]) {}

    std::int32_t run(const OstThreading* threading) {
        const Team team(threading);
        const int64_t threads = call_.nlim < team_from ? 1 : team.max_threads();
        // The results of a block wait here for their places in r: function by function, or row by row with callbacks,
        // whose last row the callbacks write to.
        int64_t elements = 0;
        if (call_.callbacks.any()) {
            staged_rows_ = block_pairs + 1;
        } else if (call_.by_pair() && task_.ny > 1) {
            staged_rows_ = block_pairs;
        }
        if (__builtin_mul_overflow(staged_rows_ * threads, task_.ny, &elements)) return DF_ST_NO_MEMORY;
        std::array<R, stack_staging> stack;
        Scratch<R> heap;
        staging_ = stack.data();
        if (elements > stack_staging) {
            heap = Scratch<R>(static_cast<std::size_t>(elements));
            if (!heap) return DF_ST_NO_MEMORY;
            staging_ = heap.get();
        }
        if (threads > 1) {
            run_blocks_on(team, threads);
        } else {
            run_blocks(0, call_.nlim / block_pairs + (call_.nlim % block_pairs != 0 ? 1 : 0), 0);
        }
        return outcome_.get();
    }

private:
    void run_blocks_on(const Team& team, int64_t threads) {
        const int64_t blocks = call_.nlim / block_pairs, groups = blocks / group_blocks;
        int64_t first = 0;
        if (groups >= threads) {
            auto body = [this](int64_t item, int64_t thread) { run_blocks(item * group_blocks, group_blocks, thread); };
            team.run_for(groups, threads, body);
            first = groups * group_blocks;
        }
        if (first < blocks) {
            auto body = [this, first](int64_t item, int64_t thread) { run_blocks(first + item, 1, thread); };
            team.run_for(blocks - first, std::min(threads, blocks - first), body);
        }
        if (call_.nlim % block_pairs != 0) run_blocks(blocks, 1, 0);
    }

    // In a row: positions in sorted limits go on from block to block.
    void run_blocks(int64_t first, int64_t count, int64_t thread) {
        int64_t left_position = 0, right_position = 0;
        for (int64_t block = first; block < first + count; ++block) {
            if (!outcome_.wanted(block)) return;
            const LastStatus last = run_block(block, thread, left_position, right_position);
            if (last.called) outcome_.report(block, last.status);
        }
    }

    LastStatus run_block(int64_t block, int64_t thread, int64_t& left_position, int64_t& right_position) {
        const int64_t first = block * block_pairs, n = std::min(block_pairs, call_.nlim - first);
        std::array<R, block_pairs> even_left, even_right;
        std::array<int64_t, block_pairs> left_cell, right_cell;
        const LimitPairs<R> pairs{n, call_.left.block(call_.nlim, first, n, even_left.data()), left_cell.data(),
                                  call_.right.block(call_.nlim, first, n, even_right.data()), right_cell.data()};
        LastStatus last;
        search(left_search_, n, pairs.left, left_cell.data(), left_position, 0, last);
        if (last.status < 0) return last;
        if (looks_near_) {
            place_right_limits(pairs, right_cell.data(), right_position, last);
        } else {
            search(right_search_, n, pairs.right, right_cell.data(), right_position, 1, last);
        }
        if (last.status < 0) return last;
        R* const stage = staging_ + thread * staged_rows_ * task_.ny;
        if (call_.callbacks.any()) {
            callback_integrator_(handle_, &call_.callbacks, &pairs, stage, &last);
            if (last.status >= 0) place_rows(first, n, stage);
        } else if (staged_rows_ > 0) {
            for (int64_t f = 0; f < task_.ny; ++f) integrator_(handle_, f, &pairs, stage + f * block_pairs);
            place_functions(first, n, stage);
        } else {
            for (int64_t f = 0; f < task_.ny; ++f) integrator_(handle_, f, &pairs, call_.r + f * call_.nlim + first);
        }
        return last;
    }

    void place_right_limits(const LimitPairs<R>& pairs, int64_t* right_cell, int64_t& position,
                            LastStatus& last) const {
        std::array<std::int32_t, block_pairs> missed;
        std::array<R, block_pairs> limit;
        std::array<int64_t, block_pairs> cell;
        const int64_t misses = place_near(task_, pairs, right_cell, missed.data());
        for (int64_t k = 0; k < misses; ++k) limit[k] = pairs.right[missed[k]];
        search(right_search_, misses, limit.data(), cell.data(), position, 1, last);
        for (int64_t k = 0; k < misses; ++k) right_cell[missed[k]] = cell[k];
    }

    // `side` tells a callback which limits they are.
    void search(const SiteSearch<R>& search, int64_t n, const R* limit, int64_t* cell, int64_t& position,
                std::int32_t side, LastStatus& last) const {
        std::array<std::int32_t, block_pairs> flags;
        const std::int32_t status = search.run(n, limit, cell, CellForm::wide, position, flags.data(), &side);
        if (!call_.search_cb) return;
        last = {status, true};
        // What a callback calls final may be anything.
        for (int64_t i = 0; i < n; ++i) cell[i] = std::clamp<int64_t>(cell[i], 0, task_.nx);
    }

    void place_functions(int64_t first, int64_t n, const R* stage) const {
        const int64_t functions = task_.ny;
        R* const r = call_.r + first * functions;
        for (int64_t i = 0; i < n; ++i)
            for (int64_t f = 0; f < functions; ++f) r[i * functions + f] = stage[f * block_pairs + i];
    }
    void place_rows(int64_t first, int64_t n, const R* stage) const {
        const int64_t functions = task_.ny;
        if (call_.by_pair()) {
            std::copy_n(stage, n * functions, call_.r + first * functions);
            return;
        }
        for (int64_t f = 0; f < functions; ++f)
            for (int64_t i = 0; i < n; ++i) call_.r[f * call_.nlim + first + i] = stage[i * functions + f];
    }

    DFTask1D* handle_;
    const TaskRecord<R>& task_;
    const Call<R>& call_;
    SiteSearch<R> left_search_, right_search_;
    bool looks_near_;
    Integrator<R>* integrator_;
    CallbackIntegrator<R>* callback_integrator_;
    R* staging_ = nullptr;
    int64_t staged_rows_ = 0; // of ny elements, a thread
    Outcome outcome_;
};

template <Real R> std::int32_t integrate(DFTask1D* handle, Call<R> call, R* r, const OstThreading* threading) {
    call.r = r;
    if (!handle) return DF_ST_NO_TASK;
    const auto& task = record_of<R>(handle);
    const auto model = integral_model_of(task, call.callbacks.all());
    if (!model) return DF_ST_BAD_TYPE;
    const auto left = select_search(task, call.left.hint, call.left.datahint, call.search_cb);
    const auto right = select_search(task, call.right.hint, call.right.datahint, call.search_cb);
    if (!left || !right) return DF_ST_BAD_DATA_HINT;
    if (!is_storage_hint(static_cast<std::uint64_t>(call.rhint))) return DF_ST_BAD_INT_RESULT_HINT;
    if (is_step(*model) && !all_there(task.y, 1)) return DF_ST_BAD_Y;
    if (task.ny <= 0) return DF_ST_OK;
    // Without an order all is left to the callbacks.
    const std::int32_t status = is_step(*model)    ? status_of_values(task)
                                : task.s_order > 0 ? status_of_coefficients(task)
                                                   : DF_ST_OK;
    if (status != DF_ST_OK) return status;
    if (call.nlim <= 0) return DF_ST_OK;
    if (!call.r) return DF_ST_NO_OUTPUT;
    return Integration<R>(handle, call, *model, *left, *right).run(threading);
}

} // namespace

} // namespace nvo::fitting

using namespace nvo::fitting;

#define NVO_DF_INTEGRATE(t, real)                                                                                     \
    std::int32_t nvo_df_kernel_##t##DFIntegrate1D(                                                                    \
        DFTask1D* task, std::int64_t, std::int64_t nlim, const real* llim, std::int64_t llimhint, const real* rlim,   \
        std::int64_t rlimhint, const real* ldatahint, const real* rdatahint, real* r, std::int64_t rhint,             \
        nvo_df_##t##IntegrateCallback* le_cb, void* le_params, nvo_df_##t##IntegrateCallback* re_cb, void* re_params, \
        nvo_df_##t##IntegrateCallback* i_cb, void* i_params, nvo_df_##t##SearchCallback* search_cb,                   \
        void* search_params, const OstThreading* threading) {                                                         \
        return integrate<real>(task,                                                                                  \
                               {nlim,                                                                                 \
                                {llim, llimhint, ldatahint},                                                          \
                                {rlim, rlimhint, rdatahint},                                                          \
                                rhint,                                                                                \
                                {{le_cb, le_params}, {re_cb, re_params}, {i_cb, i_params}},                           \
                                search_cb,                                                                            \
                                search_params},                                                                       \
                               r, threading);                                                                         \
    }
NVO_DF_INTEGRATE(s, float)
NVO_DF_INTEGRATE(d, double)
