// Interpolation: values and derivatives of a task's model at a vector of sites, block by block.
#include "fitting/evaluate.h"
#include "fitting/outcome.h"
#include "fitting/search.h"
#include "support/scratch.h"
#include "support/team.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>

namespace nvo::fitting {

namespace {

constexpr std::int64_t least_sites_of_team = 4097;
constexpr std::int64_t staged_on_stack = 8; // results of a site, of all functions and threads

enum class Layout : std::int64_t {
    function_site_result = 16,
    function_result_site = 32,
    site_function_result = 256,
    site_result_function = 512
};

std::optional<Layout> layout_of(std::int64_t rhint) {
    switch (rhint) {
    case 0:
    case 16:
    case 128: return Layout::function_site_result;
    case 32:
    case 256:
    case 512: return static_cast<Layout>(rhint);
    default: return std::nullopt;
    }
}

template <Real R> struct Callback {
    InterpolateCallback<R>* function;
    void* params;
};
enum Side { left, inner, right, sides };

// The call, as its arguments tell it.
template <Real R> struct Request {
    const TaskRecord<R>& task;
    Model model;
    Search search_kind;
    SiteSearch<R> search;
    bool has_search_callback;
    std::int64_t nsite;
    const R* site;
    bool even_sites;
    Orders orders;
    R* r;
    Layout layout;
    void* cell; // the caller's; null where cells are neither given nor asked for
    bool deliver_cells;
    Callback<R> callbacks[sides];

    bool has_callbacks() const {
        return callbacks[left].function || callbacks[inner].function || callbacks[right].function;
    }
    bool needs_model() const {
        return !(callbacks[left].function && callbacks[inner].function && callbacks[right].function);
    }
    std::int64_t results() const { return orders.count() * task.functions(); } // of a site
};

// ---- staging -------------------------------------------------------------------------------------------------------

struct Dimension {
    std::int64_t count, from, to; // strides
};

// The slowest dimension first; the fastest one is contiguous where it goes.
template <Real R> void copy(Dimension a, Dimension b, Dimension c, const R* from, R* to) {
    for (std::int64_t i = 0; i < a.count; ++i) {
        for (std::int64_t j = 0; j < b.count; ++j) {
            const R* source = from + i * a.from + j * b.from;
            R* place = to + i * a.to + j * b.to;
            for (std::int64_t k = 0; k < c.count; ++k) place[k] = source[k * c.from];
        }
    }
}

// Staged results of a block, function after function, site after site, go to where the layout has them.
template <Real R> void deliver(const Request<R>& request, std::int64_t first, std::int64_t n, const R* stage) {
    const std::int64_t d = request.orders.count(), f = request.task.functions(), s = request.nsite;
    R* r = request.r;
    switch (request.layout) {
    case Layout::function_site_result: return copy({1, 0, 0}, {f, n * d, s * d}, {n * d, 1, 1}, stage, r + first * d);
    case Layout::function_result_site: return copy({f, n * d, d * s}, {d, 1, s}, {n, d, 1}, stage, r + first);
    case Layout::site_function_result: return copy({n, d, f * d}, {f, n * d, d}, {d, 1, 1}, stage, r + first * f * d);
    case Layout::site_result_function: return copy({n, d, f * d}, {d, 1, f}, {f, n * d, 1}, stage, r + first * f * d);
    }
}

// ---- one block -----------------------------------------------------------------------------------------------------

// What a thread works with.
template <Real R> struct Workplace {
    R *stage, *buffer;     // room for the results of a block, each
    std::int64_t last = 0; // position of the sorted search
};

template <Real R, class Cell> class Block {
public:
    Block(const Request<R>& request, std::int64_t index, Workplace<R>& workplace)
        : request_(request), workplace_(workplace), index_(index), first_(index * evaluation_block),
          n_(std::min(request.nsite - first_, evaluation_block)), site_(request.site + first_) {
        if (!request.even_sites) return;
        spread_sites(request.site, request.nsite, first_, n_, sites_);
        site_ = sites_;
    }

    void run(Outcome& outcome) {
        const std::int32_t status = request_.has_callbacks() ? run_in_groups() : run_as_one();
        if (status < 0 || called_) outcome.report(index_, status);
    }

private:
    Cell* callers_cells() const { return static_cast<Cell*>(request_.cell) + first_; }

    Evaluation<R> evaluation(R* r, std::int64_t function_stride) const {
        return {request_.task,   request_.orders, n_,      site_,   nullptr, r,
                function_stride, nullptr,         nullptr, nullptr, nullptr};
    }

    std::int32_t search(std::int64_t n, const R* site, Cell* cell) {
        constexpr CellForm form = sizeof(Cell) == sizeof(std::int64_t) ? CellForm::wide : CellForm::narrow;
        std::int32_t flags[evaluation_block];
        called_ |= request_.has_search_callback;
        return request_.search.run(n, site, cell, form, workplace_.last, flags);
    }

    std::int32_t run_as_one() {
        Cell found[evaluation_block];
        Cell* cell = request_.cell ? callers_cells() : found;
        std::int32_t search_status = DF_ST_OK;
        if (request_.search_kind != Search::none) search_status = search(n_, site_, cell);
        if (search_status < 0) return search_status;

        const std::int64_t count = request_.orders.count();
        const bool straight = request_.layout == Layout::function_site_result;
        Evaluation<R> call = straight ? evaluation(request_.r + first_ * count, request_.nsite * count)
                                      : evaluation(workplace_.stage, n_ * count);
        call.cell = cell;
        const auto& table = sizeof(Cell) == sizeof(std::int64_t) ? evaluators<R>.wide : evaluators<R>.narrow;
        const std::int32_t status = table[static_cast<std::size_t>(request_.model)](&call);
        if (status < 0) return status;
        if (!straight) deliver(request_, first_, n_, workplace_.stage);
        return search_status;
    }

    // Sites left of, in and right of the partition.
    std::int32_t run_in_groups() {
        std::uint8_t place[sides][evaluation_block];
        std::int64_t count[sides] = {};
        const R left_end = request_.task.x[0], right = right_end(request_.task);
        for (std::int64_t i = 0; i < n_; ++i) {
            const Side side = site_[i] < left_end ? Side::left : site_[i] > right ? Side::right : Side::inner;
            place[side][count[side]++] = static_cast<std::uint8_t>(i);
        }
        std::int32_t last_status = DF_ST_OK;
        for (const Side side : {Side::left, Side::inner, Side::right}) {
            if (count[side] == 0) continue;
            const std::int32_t status = run_group(side, count[side], place[side], last_status);
            if (status < 0) return status;
        }
        deliver(request_, first_, n_, workplace_.stage);
        return last_status;
    }

    std::int32_t run_group(Side side, std::int64_t n, const std::uint8_t* place, std::int32_t& last_status) {
        R site[evaluation_block];
        Cell cell[evaluation_block];
        for (std::int64_t i = 0; i < n; ++i) site[i] = site_[place[i]];
        if (side != Side::inner) {
            std::fill_n(cell, n, static_cast<Cell>(side == Side::left ? 0 : request_.task.nx));
        } else if (request_.search_kind == Search::none) {
            for (std::int64_t i = 0; i < n; ++i) cell[i] = callers_cells()[place[i]];
        } else {
            const std::int32_t status = search(n, site, cell);
            if (status < 0) return status;
            if (request_.has_search_callback) last_status = status;
        }
        if (request_.deliver_cells)
            for (std::int64_t i = 0; i < n; ++i) callers_cells()[place[i]] = cell[i];

        Evaluation<R> call = evaluation(workplace_.stage, n_ * request_.orders.count());
        call.n = n;
        call.site = site;
        call.cell = cell;
        call.place = n < n_ ? place : nullptr;
        call.buffer = workplace_.buffer;
        call.callback = request_.callbacks[side].function;
        call.params = request_.callbacks[side].params;
        const auto& table =
            sizeof(Cell) == sizeof(std::int64_t) ? evaluators<R>.wide_callback : evaluators<R>.narrow_callback;
        const std::int32_t status = table[static_cast<std::size_t>(request_.model)](&call);
        if (call.callback) {
            called_ = true;
            last_status = status;
        }
        return status;
    }

    const Request<R>& request_;
    Workplace<R>& workplace_;
    std::int64_t index_, first_, n_;
    const R* site_;
    R sites_[evaluation_block]; // evenly spaced ones
    bool called_ = false;       // a callback
};

// ---- the call ------------------------------------------------------------------------------------------------------

template <Real R, class Cell>
std::int32_t run_blocks(const Request<R>& request, const Team& team, std::int64_t threads, R* stage) {
    const std::int64_t staged = evaluation_block * request.results(), per_thread = request.has_callbacks() ? 2 : 1;
    const auto workplace = [=](std::int64_t thread) {
        R* own = stage + thread * per_thread * staged;
        return Workplace<R>{own, own + (per_thread - 1) * staged};
    };
    Outcome outcome;
    std::int64_t block = 0;
    if (threads > 1) {
        // Positions in sorted sites are kept from item to item: a thread mostly gets the next one. They make a search
        // faster, and no cell another one.
        constexpr std::int64_t threads_with_position = 64;
        struct alignas(64) Position {
            std::int64_t last = 0;
        };
        std::array<Position, threads_with_position> positions;
        block = request.nsite / evaluation_block;
        auto body = [&](std::int64_t item, std::int64_t thread) {
            if (!outcome.wanted(item)) return;
            Workplace<R> own = workplace(thread);
            Position unkept, &position = thread < threads_with_position ? positions[thread] : unkept;
            own.last = position.last;
            Block<R, Cell>(request, item, own).run(outcome);
            position.last = own.last;
        };
        team.run_for(block, threads, body);
    }
    Workplace<R> own = workplace(0);
    for (; block * evaluation_block < request.nsite && outcome.wanted(block); ++block)
        Block<R, Cell>(request, block, own).run(outcome);
    return outcome.get();
}

// A team from 4097 sites on. Results of other layouts than by function and site, and those that callbacks have a hand
// in, are staged.
template <Real R> std::int32_t run(const Request<R>& request, const Team& team) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / static_cast<std::int64_t>(sizeof(R));
    std::int64_t threads = 1, all_results = 0, staged = 0;
    if (request.nsite >= least_sites_of_team) threads = std::min(team.max_threads(), request.nsite / evaluation_block);
    // No memory could hold results that have no number.
    if (__builtin_mul_overflow(request.orders.count(), request.task.functions(), &all_results) ||
        __builtin_mul_overflow(all_results, request.nsite, &all_results) || all_results > most)
        return DF_ST_NO_MEMORY;

    R on_stack[2 * staged_on_stack * evaluation_block];
    Scratch<R> allocated;
    R* stage = on_stack;
    if (request.layout != Layout::function_site_result || request.has_callbacks()) {
        if (__builtin_mul_overflow(request.results(), threads, &staged)) return DF_ST_NO_MEMORY;
        if (staged > staged_on_stack) {
            if (__builtin_mul_overflow(staged, 2 * evaluation_block, &staged)) return DF_ST_NO_MEMORY;
            allocated = Scratch<R>(static_cast<std::size_t>(request.has_callbacks() ? staged : staged / 2));
            if (!allocated) return DF_ST_NO_MEMORY;
            stage = allocated.get();
        }
    }
    // Cells that stay in the block are narrow if they can be: they are faster.
    const bool wide =
        request.cell ? request.task.cell_wide != 0 : request.task.nx > std::numeric_limits<std::int32_t>::max();
    return wide ? run_blocks<R, std::int64_t>(request, team, threads, stage)
                : run_blocks<R, std::int32_t>(request, team, threads, stage);
}

template <Real R> std::int32_t status_of_data(const Request<R>& request) {
    switch (request.model) {
    case Model::step_left:
    case Model::step_right:
    case Model::look_up: return status_of_values(request.task);
    default: return status_of_coefficients(request.task);
    }
}

template <Real R>
std::int32_t interpolate(DFTask1D* handle, std::int64_t type, std::int64_t nsite, const R* site, std::int64_t sitehint,
                         std::int64_t ndorder, const void* dorder, const R* datahint, R* r, std::int64_t rhint,
                         void* cell, Callback<R> le, Callback<R> re, Callback<R> in, SearchCallback<R>* search_cb,
                         void* search_params, const OstThreading* threading) {
    constexpr std::int64_t cells_are_given = 4, deliver_bit = 2;
    if (!handle) return DF_ST_NO_TASK;
    const auto& task = record_of<R>(handle);
    const auto model = model_of(task, le.function && re.function && in.function);
    if (!model) return DF_ST_BAD_TYPE;
    const bool given = type == cells_are_given;
    const auto kind = given ? std::optional(Search::none) : select_search(task, sitehint, datahint, search_cb);
    if (!kind) return DF_ST_BAD_DATA_HINT;
    const auto layout = layout_of(rhint);
    if (!layout) return DF_ST_BAD_RESULT_HINT;

    const bool delivered = !given && (type & deliver_bit) != 0;
    const Request<R> request{task,
                             *model,
                             *kind,
                             {task, *kind, datahint, search_cb, search_params},
                             !given && search_cb != nullptr,
                             nsite,
                             site,
                             sitehint == DF_SITE_EVEN,
                             {dorder, ndorder, task.cell_wide != 0},
                             r,
                             *layout,
                             given || delivered ? cell : nullptr,
                             delivered,
                             {le, in, re}};
    if (request.needs_model()) {
        if (const auto status = status_of_data(request); status != DF_ST_OK) return status;
    }
    if (nsite <= 0) return DF_ST_OK;
    if ((!r && request.orders.count() > 0) || (!cell && (given || delivered))) return DF_ST_NO_OUTPUT;
    return run(request, Team(threading));
}

} // namespace

} // namespace nvo::fitting

using namespace nvo::fitting;

#define NVO_DF_INTERPOLATE(t, real)                                                                                    \
    std::int32_t nvo_df_kernel_##t##DFInterpolate1D(                                                                   \
        DFTask1D* task, std::int64_t type, std::int64_t, std::int64_t nsite, const real* site, std::int64_t sitehint,  \
        std::int64_t ndorder, const void* dorder, const real* datahint, real* r, std::int64_t rhint, void* cell,       \
        nvo_df_##t##InterpolateCallback* le_cb, void* le_params, nvo_df_##t##InterpolateCallback* re_cb,               \
        void* re_params, nvo_df_##t##InterpolateCallback* i_cb, void* i_params, nvo_df_##t##SearchCallback* search_cb, \
        void* search_params, const OstThreading* threading) {                                                          \
        return interpolate<real>(task, type, nsite, site, sitehint, ndorder, dorder, datahint, r, rhint, cell,         \
                                 {le_cb, le_params}, {re_cb, re_params}, {i_cb, i_params}, search_cb, search_params,   \
                                 threading);                                                                           \
    }
NVO_DF_INTERPOLATE(s, float)
NVO_DF_INTERPOLATE(d, double)
