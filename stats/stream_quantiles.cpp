// Streaming quantiles: each variable has a summary in the task, which takes in portions of data and gives quantiles of
// all that it has seen. stream_summary.h has the method and its bound.
//
// A call takes a portion in as a whole or not at all: whatever it needs is allocated in front, for all variables, and
// the bodies on the team can't fail. Stages that were made for a call that found no memory stay for the next one.
#include "stats/stream_summary.h"
#include "stats/variables.h"
#include "support/team.h"

#include <utility>

namespace nvo::stats {

namespace {

// ---- State ----------------------------------------------------------------------------------------------------------

template <Real R> struct Stream {
    std::int64_t stage_count; // stages allocated
    std::int64_t stage;       // that is in use, -1 before the first
    std::int64_t active;      // 0 if `indices` left the variable out at the first call
    Stage<R>* stages;
    std::int64_t row; // of its quantiles: active variables in front of it
};

// In front of the variables. The caller's own count may have changed by the next call, and be gone by the last.
struct StreamState {
    std::int64_t variables;

    template <Real R> Stream<R>* at(std::int64_t j) { return reinterpret_cast<Stream<R>*>(this + 1) + j; }
};
static_assert(sizeof(StreamState) % alignof(Stream<double>) == 0);

template <Real R> StreamState* state_of(const TaskRecord<R>& task) {
    return static_cast<StreamState*>(task.stream_state);
}

template <Real R> void free_state(TaskRecord<R>& task) {
    StreamState* const state = state_of(task);
    if (!state) return;
    for (std::int64_t j = 0; j < state->variables; ++j) {
        const Stream<R>& stream = *state->at<R>(j);
        for (std::int64_t s = 0; s < stream.stage_count; ++s) nvo_serv_deallocate(stream.stages[s].occupied);
        nvo_serv_deallocate(stream.stages);
    }
    nvo_serv_deallocate(state);
    task.stream_state = nullptr;
}

template <Real R> bool make_state(TaskRecord<R>& task, std::int64_t p) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max() / sizeof(Stream<R>) - 1;
    if (p > most) return false;
    auto* const state = static_cast<StreamState*>(
        nvo_serv_allocate(sizeof(StreamState) + static_cast<std::size_t>(p) * sizeof(Stream<R>), block_alignment));
    if (!state) return false;
    state->variables = p;
    for (std::int64_t j = 0, row = 0; j < p; ++j) {
        const bool active = task.selects(j);
        *state->at<R>(j) = {.stage_count = 0, .stage = -1, .active = active, .stages = nullptr, .row = row};
        row += active;
    }
    task.stream_state = state;
    task.cleanup = __ostSQuantilesFreeBuffers;
    task.cleanup_count = 1;
    return true;
}

// ---- Memory of a call -----------------------------------------------------------------------------------------------

template <Real R> bool add_stage(Stream<R>& stream, double epsilon) {
    const std::int64_t count = stream.stage_count;
    Scratch<Stage<R>> stages(static_cast<std::size_t>(count) + 1);
    if (!stages || !make_stage(count, epsilon, stages[static_cast<std::size_t>(count)])) return false;
    std::copy_n(stream.stages, count, stages.get());
    nvo_serv_deallocate(std::exchange(stream.stages, stages.release()));
    ++stream.stage_count;
    return true;
}

// What the work on one variable needs.
struct Demand {
    std::int64_t row = 0;                // elements to close a block with
    std::int64_t elements = 0, runs = 0; // of the summary as it will be

    void raise(const Demand& other) {
        row = std::max(row, other.row);
        elements = std::max(elements, other.elements);
        runs = std::max(runs, other.runs);
    }
};

// Makes the stages that n more observations fill.
template <Real R> bool reserve(Stream<R>& stream, std::int64_t n, double epsilon, bool reports, Demand& largest) {
    Demand demand;
    const std::int64_t current = std::max(stream.stage, std::int64_t{0});
    for (std::int64_t s = reports ? 0 : current; s <= stream.stage || n > 0; ++s) {
        if (s == stream.stage_count && !add_stage(stream, epsilon)) return false;
        const Stage<R>& stage = stream.stages[s];
        const std::int64_t taken = std::min(n, stage.room());
        n -= taken;
        if (stage.fill + taken >= stage.block) demand.row = std::max(demand.row, stage.row());
        if (!reports) continue;
        const std::int64_t seen = stage.seen + taken, open = seen % stage.block;
        demand.elements += open;
        demand.runs += open != 0;
        // A level for each bit of the number of blocks.
        for (std::int64_t level = 1, blocks = seen / stage.block; blocks > 0; ++level, blocks /= 2) {
            if (blocks % 2 == 0) continue;
            demand.elements += stage.size_of_level(level);
            ++demand.runs;
        }
    }
    largest.raise(demand);
    return true;
}

// A workspace for each thread.
template <Real R> class Workspaces {
public:
    Workspaces(std::int64_t size, std::int64_t runs, std::int64_t threads) : size_(size), runs_(runs) {
        if (size == 0) return;
        integers_ = Scratch<std::int64_t>(static_cast<std::size_t>((4 * size + runs) * threads));
        values_ = Scratch<R>(static_cast<std::size_t>(2 * size * threads));
    }

    explicit operator bool() const { return size_ == 0 || (integers_ && values_); }
    Workspace<R> operator[](std::int64_t thread) const {
        R* const values = values_.get() + thread * 2 * size_;
        std::int64_t* const ranks = integers_.get() + thread * (4 * size_ + runs_);
        const Elements<R> first{values, ranks, ranks + size_};
        return {first, {values + size_, ranks + 2 * size_, ranks + 3 * size_}, ranks + 4 * size_};
    }

private:
    std::int64_t size_, runs_;
    Scratch<std::int64_t> integers_;
    Scratch<R> values_;
};

// ---- Adding and reporting -------------------------------------------------------------------------------------------

template <Real R>
void _vSSSQuantilesAddDataThreader(Stream<R>& stream, Variable<R> x, std::int64_t n, const Workspace<R>& work) {
    while (n > 0) {
        if (stream.stage < 0 || stream.stages[stream.stage].room() == 0) ++stream.stage;
        Stage<R>& stage = stream.stages[stream.stage];
        const std::int64_t taken = std::min(n, stage.room());
        _vSSSQuantilesProcessBlock(x.first, taken, stage, x.stride, work);
        x.first += taken * x.stride;
        n -= taken;
    }
}

// All elements of the variable in order, in one of the two halves of the workspace. The summary stays as it is.
template <Real R> std::pair<Elements<R>, std::int64_t> merge_all(const Stream<R>& stream, Workspace<R> work) {
    std::int64_t size = 0, runs = 0;
    for (std::int64_t s = 0; s <= stream.stage; ++s) {
        const Stage<R>& stage = stream.stages[s];
        if (stage.fill > 0) {
            std::copy_n(stage.values, stage.fill, (work.first + size).values);
            sort_block(work.first + size, stage.fill, work.second.values);
            work.ends[runs++] = size += stage.fill;
        }
        for (std::int64_t l = 1; l <= stage.levels; ++l) {
            if (!stage.occupied[l]) continue;
            const Elements<R> level = stage.level(l);
            for (std::int64_t i = 0; i < stage.size_of_level(l); ++i) work.first.put(size + i, level, i);
            work.ends[runs++] = size += stage.size_of_level(l);
        }
    }
    // By pairs of neighbours, the shorter ones first: they come from earlier stages.
    for (; runs > 1; runs = (runs + 1) / 2) {
        std::int64_t begin = 0;
        for (std::int64_t r = 0; r < runs; r += 2) {
            const std::int64_t middle = work.ends[r], end = work.ends[std::min(r + 1, runs - 1)];
            merge(work.first + begin, middle - begin, work.first + middle, end - middle, work.second + begin);
            work.ends[r / 2] = begin = end;
        }
        std::swap(work.first, work.second);
    }
    return {work.first, size};
}

// The first of the elements whose rank is off the target by the fewest whole ranks, wherever between rmin and rmax it
// lies. Up to `nearest` that is target - rmin, which falls, and from there on rmax - target, which rises.
template <Real R> R element_at(const Elements<R>& all, std::int64_t size, double target) {
    const auto first_of = [](std::int64_t count, auto holds) {
        std::int64_t first = 0;
        while (count > 0) {
            const std::int64_t half = count / 2;
            if (holds(first + half)) {
                count = half;
            } else {
                first += half + 1;
                count -= half + 1;
            }
        }
        return first;
    };
    const auto below = [&](std::int64_t i) { return target - static_cast<double>(all.rmin[i]); };
    const auto above = [&](std::int64_t i) { return static_cast<double>(all.rmax[i]) - target; };
    const std::int64_t nearest = first_of(size, [&](std::int64_t i) { return above(i) >= below(i); });
    double least = std::numeric_limits<double>::infinity();
    if (nearest < size) least = __ostdFloor(above(nearest));
    if (nearest > 0) least = std::min(least, __ostdFloor(below(nearest - 1)));
    const std::int64_t first = first_of(nearest, [&](std::int64_t i) { return __ostdFloor(below(i)) <= least; });
    return all.values[first];
}

template <Real R>
void report(const Stream<R>& stream, const R* orders, std::int64_t count, R* quantiles, const Workspace<R>& work) {
    const auto [all, size] = merge_all(stream, work);
    if (size == 0) return;
    std::int64_t seen = 0;
    for (std::int64_t s = 0; s <= stream.stage; ++s) seen += stream.stages[s].seen;
    for (std::int64_t k = 0; k < count; ++k)
        quantiles[k] = element_at(all, size, static_cast<double>(orders[k]) * static_cast<double>(seen));
}

// ---- The entry ------------------------------------------------------------------------------------------------------

template <Real R> std::int32_t check_data(const TaskRecord<R>& task) {
    const Integers p = task.integers(task.dimension), n = task.integers(task.observations);
    if (!p || *p < 1 || (task.stream_state && *p != state_of(task)->variables)) return OST_STAT_ERR_DIMENSION;
    if (!n || *n < 0) return OST_STAT_ERR_OBSERVATIONS;
    if (*n == 0) return OST_STAT_OK;
    if (!task.data) return OST_STAT_ERR_DATA;
    if (!task.data_storage) return OST_STAT_ERR_MATRIX_STORAGE;
    return is_storage(*task.integers(task.data_storage)) ? OST_STAT_OK : OST_STAT_ERR_STORAGE;
}

template <Real R> std::int32_t check_request(const TaskRecord<R>& task, std::uint32_t method) {
    if (!task.stream_quantiles) return OST_STAT_ERR_STREAM_QUANTILES;
    if (!task.stream_orders) return OST_STAT_ERR_STREAM_ORDERS;
    const Integers count = task.integers(task.stream_order_count);
    if (!count || *count < 0) return OST_STAT_ERR_STREAM_ORDER_COUNT;
    const Integers param_count = task.integers(task.stream_param_count);
    if (!param_count) return OST_STAT_ERR_STREAM_PARAMS;
    if (*param_count != 1) return OST_STAT_ERR_STREAM_PARAM_COUNT;
    const auto is_order = [](R order) { return order >= 0 && order <= 1; };
    if (!std::all_of(task.stream_orders, task.stream_orders + *count, is_order)) return OST_STAT_ERR_STREAM_ORDER_COUNT;
    if (!task.stream_params) return OST_STAT_ERR_STREAM_EPSILON;
    if (!(method & (OST_STAT_METHOD_STREAM | OST_STAT_METHOD_STREAM_ADD_ONLY))) return OST_STAT_ERR_METHOD;
    const R epsilon = *task.stream_params;
    return epsilon > 0 && epsilon <= 1 ? OST_STAT_OK : OST_STAT_ERR_STREAM_EPSILON_RANGE;
}

// Counts the variables that take part, and compares them with those of the first call.
template <Real R> std::int32_t check_selection(const TaskRecord<R>& task, std::int64_t p, std::int64_t& active) {
    StreamState* const state = state_of(task);
    if (!state && !task.indices) {
        active = p;
        return OST_STAT_OK;
    }
    active = 0;
    for (std::int64_t j = 0; j < p; ++j) {
        const bool was_active = state ? state->at<R>(j)->active : task.selects(j);
        if (task.indices && was_active != task.selects(j)) return OST_STAT_ERR_INDICES;
        active += was_active;
    }
    return active > 0 ? OST_STAT_OK : OST_STAT_ERR_INDICES;
}

template <Real R>
std::int32_t stream_quantiles(OstSSTask* handle, std::uint32_t method, const OstThreading* threading) {
    if (!handle) return OST_STAT_ERR_TASK;
    auto& task = record_of<R>(handle);
    if (const auto status = check_data(task); status != OST_STAT_OK) return status;
    if (const auto status = check_request(task, method); status != OST_STAT_OK) return status;
    const std::int64_t p = *task.integers(task.dimension), n = *task.integers(task.observations);
    std::int64_t active = 0;
    if (const auto status = check_selection(task, p, active); status != OST_STAT_OK) return status;

    if (!task.stream_state && !make_state(task, p)) return OST_STAT_ERR_MEMORY;
    StreamState& state = *state_of(task);
    const bool reports = (method & OST_STAT_METHOD_STREAM) != 0;
    Demand demand;
    for (std::int64_t j = 0; j < p; ++j) {
        Stream<R>& stream = *state.at<R>(j);
        if (stream.active && !reserve(stream, n, static_cast<double>(*task.stream_params), reports, demand))
            return OST_STAT_ERR_MEMORY;
    }

    constexpr std::int64_t worth_a_team = 4096; // elements: some 0.1 ms
    const Team team(threading);
    const bool alone = std::max(n, demand.elements) < worth_a_team / active;
    const std::int64_t threads = alone ? 1 : std::min(team.max_threads(), active);
    const Workspaces<R> workspaces(std::max(demand.row, demand.elements), demand.runs, threads);
    if (!workspaces) return OST_STAT_ERR_MEMORY;

    const Matrix<R> data(task.data, p, n, n > 0 ? *task.integers(task.data_storage) : 0);
    const std::int64_t orders = *task.integers(task.stream_order_count);
    auto body = [&](std::int64_t j, std::int64_t thread) {
        Stream<R>& stream = *state.at<R>(j);
        if (!stream.active) return;
        const Workspace<R> work = workspaces[thread];
        if (n > 0) _vSSSQuantilesAddDataThreader(stream, data[j], n, work);
        if (reports) report(stream, task.stream_orders, orders, task.stream_quantiles + stream.row * orders, work);
    };
    team.run_for(p, threads, body);
    return OST_STAT_OK;
}

} // namespace

} // namespace nvo::stats

using namespace nvo::stats;

std::int32_t _ostsSSStreamQuantiles(OstSSTask* task, std::uint64_t, std::uint32_t method,
                                    const OstThreading* threading) {
    return stream_quantiles<float>(task, method, threading);
}
std::int32_t _ostdSSStreamQuantiles(OstSSTask* task, std::uint64_t, std::uint32_t method,
                                    const OstThreading* threading) {
    return stream_quantiles<double>(task, method, threading);
}

std::int32_t __ostSQuantilesFreeBuffers(OstSSTask* task) {
    if (!task) return OST_STAT_ERR_TASK;
    if (record_of<double>(task).precision != 0)
        free_state(record_of<double>(task));
    else
        free_state(record_of<float>(task));
    return OST_STAT_OK;
}
