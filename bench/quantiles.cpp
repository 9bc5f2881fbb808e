#include "bench/parts.h"

#include "bench/quantile_peers.h"
#include "bench/race.h"
#include "bench/table.h"
#include "bench/two_threads.h"

#include "nvo_ark/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <random>
#include <stdexcept>

namespace bench {

namespace {

constexpr Effort effort{5, 1e-3};

constexpr const char* titles[] = {"std", "gsl"};
constexpr const char* legend[] = {
    "std::nth_element, for quantiles without the neighbour that ours interpolate to; std::sort. Compiled at -O3",
    "gsl_stats_median, gsl_sort, quantiles from sorted data"};
constexpr int libraries = 2;

template <class R> struct Entries;
#define NVO_ENTRIES(t, real)                                    \
    template <> struct Entries<real> {                          \
        static constexpr auto new_task = __ost##t##SSNewTask;   \
        static constexpr auto edit = __ost##t##SSEditTask;      \
        static constexpr auto quantiles = _ost##t##SSQuantiles; \
        static constexpr auto sort = _ost##t##SSSort;           \
    };
NVO_ENTRIES(s, float)
NVO_ENTRIES(d, double)
#undef NVO_ENTRIES

// A task on normally distributed numbers with all its outputs.
template <class R> class Task {
public:
    Task(std::int32_t p, std::int32_t n, std::int32_t storage, std::vector<R> orders)
        : p_(p), n_(n), storage_(storage), count_(static_cast<std::int32_t>(orders.size())), orders_(std::move(orders)),
          x_(static_cast<std::size_t>(p) * static_cast<std::size_t>(n)), sorted_(x_.size()),
          quantiles_(static_cast<std::size_t>(p) * orders_.size() + 1) {
        std::mt19937_64 random;
        std::normal_distribution<R> normal;
        for (R& x : x_) x = normal(random);
        if (Entries<R>::new_task(&task_, &p_, &n_, &storage_, x_.data(), nullptr, nullptr, 0) != OST_STAT_OK)
            throw std::runtime_error("a task can't be created");
        Entries<R>::edit(task_, OST_STAT_PARAM_QUANTILE_ORDERS, orders_.data());
        __ostiSSEditTask(task_, OST_STAT_PARAM_QUANTILE_ORDER_COUNT, &count_);
        Entries<R>::edit(task_, OST_STAT_PARAM_QUANTILES, quantiles_.data());
        Entries<R>::edit(task_, OST_STAT_PARAM_SORT_OUTPUT, sorted_.data());
        __ostiSSEditTask(task_, OST_STAT_PARAM_SORT_OUTPUT_STORAGE, &storage_);
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() { __ostSSDeleteTask(&task_); }

    void find_quantiles(const OstThreading* threading = nullptr) {
        check(Entries<R>::quantiles(task_, OST_STAT_EST_QUANTILES, OST_STAT_METHOD_FAST, threading));
    }
    void sort(const OstThreading* threading = nullptr) {
        check(Entries<R>::sort(task_, 0, OST_STAT_METHOD_RADIX_SORT, threading));
    }

    // action(a copy of the variable, its number) for each variable.
    template <class Action> void for_each_copy(std::vector<R>& copy, Action action) const {
        const auto n = static_cast<std::size_t>(n_), p = static_cast<std::size_t>(p_);
        const bool rows = storage_ == OST_STAT_STORAGE_ROWS;
        copy.resize(n);
        for (std::size_t j = 0; j < p; ++j) {
            if (rows) {
                std::copy_n(x_.begin() + static_cast<std::ptrdiff_t>(j * n), n, copy.begin());
            } else {
                for (std::size_t i = 0; i < n; ++i) copy[i] = x_[i * p + j];
            }
            action(copy, j);
        }
    }
    const std::vector<R>& orders() const { return orders_; }
    R* quantiles(std::size_t j) { return quantiles_.data() + j * orders_.size(); }

private:
    static void check(std::int32_t status) {
        if (status != OST_STAT_OK) throw std::runtime_error("a task doesn't compute");
    }

    std::int32_t p_, n_, storage_, count_;
    std::vector<R> orders_, x_, sorted_, quantiles_;
    OstSSTask* task_ = nullptr;
};

template <class R> const std::vector<R> five_orders = {R(0.05), R(0.25), R(0.5), R(0.75), R(0.95)};

enum class Work { median, five_quantiles, sort };

struct Measured {
    std::string name, numbers;
    Work work;
    std::int32_t p, n, storage;
    double limit = 0; // of our time over the standard library's; 0: none
};
const std::vector<Measured>& all_measured() {
    using enum Work;
    constexpr std::int32_t rows = OST_STAT_STORAGE_ROWS, columns = OST_STAT_STORAGE_COLS, million = 1000000;
    static const std::vector<Measured> all = {
        {"median", "doubles", median, 1, million, rows, 1.2},
        {"median", "doubles", median, 10, million, rows, 1.2},
        {"median", "doubles", median, 10, 100000, columns},
        {"median", "doubles", median, 1000, 1000, rows},
        {"median", "floats", median, 10, million, rows},
        {"five quantiles", "doubles", five_quantiles, 1, million, rows, 1.4},
        {"five quantiles", "doubles", five_quantiles, 10, million, rows, 1.4},
        {"five quantiles", "doubles", five_quantiles, 10, 100000, columns},
        {"five quantiles", "doubles", five_quantiles, 1000, 1000, rows},
        {"five quantiles", "floats", five_quantiles, 10, million, rows},
        {"sort of a task", "doubles", sort, 1, million, rows},
        {"sort of a task", "doubles", sort, 10, million, rows},
        {"sort of a task", "doubles", sort, 10, 100000, columns},
        {"sort of a task", "doubles", sort, 1000, 1000, rows},
        {"sort of a task", "floats", sort, 10, million, rows},
    };
    return all;
}

Body repeat(std::function<void()> action) {
    return [action = std::move(action)](benchmark::State& state) {
        for (auto _ : state) {
            action();
            benchmark::ClobberMemory();
        }
    };
}

// Ours, and those of the libraries.
template <class R> std::vector<Body> bodies_of(const Measured& measured) {
    using Peers = QuantilePeers<R>;
    using Reals = std::vector<R>;
    const auto task = std::make_shared<Task<R>>(measured.p, measured.n, measured.storage,
                                                measured.work == Work::median ? Reals{R(0.5)} : five_orders<R>);
    const auto copy = std::make_shared<Reals>();
    const auto peer = [=](auto action) {
        return repeat([=] { task->for_each_copy(*copy, [&](Reals& x, std::size_t j) { action(x, j); }); });
    };
    const auto value = [=](R (*f)(Reals&)) {
        return peer([=](Reals& x, std::size_t j) { *task->quantiles(j) = f(x); });
    };
    const auto values = [=](void (*f)(Reals&, const Reals&, R*)) {
        return peer([=](Reals& x, std::size_t j) { f(x, task->orders(), task->quantiles(j)); });
    };
    const auto order = [=](void (*f)(Reals&)) { return peer([=](Reals& x, std::size_t) { f(x); }); };
    switch (measured.work) {
    case Work::median:
        return {repeat([=] { task->find_quantiles(); }), value(Peers::standard_median), value(Peers::gsl_median)};
    case Work::five_quantiles:
        return {repeat([=] { task->find_quantiles(); }), values(Peers::standard_quantiles),
                values(Peers::gsl_quantiles)};
    default: return {repeat([=] { task->sort(); }), order(Peers::standard_sort), order(Peers::gsl_sort)};
    }
}
std::vector<Body> bodies_of(const Measured& measured) {
    return measured.numbers == "floats" ? bodies_of<float>(measured) : bodies_of<double>(measured);
}

std::string variables_of(const Measured& measured) {
    if (measured.p == 1) return "1";
    return std::to_string(measured.p) + (measured.storage == OST_STAT_STORAGE_ROWS ? " rows" : " columns");
}

void print_times(const PartRequest& request) {
    std::puts(request.markdown ? "### Times\n" : "Times, nanoseconds a number:");
    std::vector<Column> columns = {{"", 14, true}, {"numbers", 7, true}, {"variables", 10, true}, {"n", 7}, {"best", 8},
                                   {"median", 8},  {"spread", 6}};
    for (const char* title : titles) columns.push_back({title, 5});
    Table table(request.markdown, columns);
    for (const Measured& measured : all_measured()) {
        if (!std::regex_search(measured.name, request.pattern)) continue;
        std::vector<Contestant> contestants;
        for (const Body& body : bodies_of(measured)) contestants.push_back({std::to_string(contestants.size()), body});
        const std::vector<Timing> times = race(contestants, effort);
        const double count = static_cast<double>(measured.p) * measured.n;
        std::vector<std::string> cells = {measured.name,
                                          measured.numbers,
                                          variables_of(measured),
                                          std::to_string(measured.n),
                                          decimal(times[0].best / count, 3),
                                          decimal(times[0].median / count, 3),
                                          decimal(100 * (times[0].upper_quartile / times[0].best - 1), 0) + "%"};
        for (int i = 1; i <= libraries; ++i) cells.push_back(decimal(times[0].best / times[i].best, 2));
        table.line(cells);
    }
}

void print_goals(const PartRequest& request) {
    std::puts(request.markdown ? "### Goals of quantiles\n" : "Goals of quantiles:");
    std::string summary;
    {
        Verdicts verdicts(request.markdown);
        for (const Measured& measured : all_measured()) {
            if (measured.limit == 0) continue;
            const std::vector<Body> bodies = bodies_of(measured);
            const std::vector<Timing> times =
                race({{"ours", bodies[0]}, {"std", bodies[1]}, {"std again", bodies[1]}}, effort);
            const double best = std::min(times[1].best, times[2].best);
            verdicts.judge("std::nth_element, 10^6 " + measured.numbers + ", p = " + variables_of(measured),
                           measured.name, times[0].best, best, times[0].best / best, measured.limit,
                           std::abs(times[1].best - times[2].best) / best, "");
        }
        Task<double> task(10, 1000000, OST_STAT_STORAGE_ROWS, five_orders<double>);
        time_two_threads([&](const OstThreading* threading) {
            task.find_quantiles(threading);
        }).judge(verdicts, "five quantiles 10 rows, 10^7 values");
        time_two_threads([&](const OstThreading* threading) {
            task.sort(threading);
        }).judge(verdicts, "sort of a task 10 rows, 10^7 values");
        summary = verdicts.summary();
    }
    std::puts(summary.c_str());
}

} // namespace

void print_quantiles(const PartRequest& request) {
    if (request.peers) {
        std::puts(request.markdown ? "### Peers of quantiles\n" : "Peers of quantiles:");
    } else {
        std::puts(request.markdown ? "## Quantiles and sorting\n" : "Quantiles and sorting:\n");
        std::printf(
            "Tasks with variables of n normally distributed numbers, on one thread, and our best time as a ratio "
            "of the peer's,\nwhich works on a copy of each variable; %s.\n\n",
            quantile_library_versions().c_str());
    }
    for (int i = 0; i < libraries; ++i) std::printf("%s%s: %s\n", request.markdown ? "- " : "  ", titles[i], legend[i]);
    std::puts("");
    if (request.peers) return;
    if (!request.goals) print_times(request);
    if (request.goals || request.all) print_goals(request);
}

} // namespace bench
