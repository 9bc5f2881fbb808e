#include "bench/parts.h"

#include "bench/fitting_peers.h"
#include "bench/race.h"
#include "bench/table.h"
#include "bench/two_threads.h"

#include "nvo_ark/fitting.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>
#include <random>
#include <stdexcept>

namespace bench {

namespace {

constexpr Effort effort{7, 1e-3};

constexpr const char* titles[fitting_libraries] = {"plain", "gsl", "boost", "scipy"};
constexpr const char* legend[fitting_libraries] = {
    "loops that a user would write, on arrays that are there already, compiled at -O3 for SSE2: elimination, a walk\n"
    "         (sorted sites), the better of two bisections (random ones), an index by multiplication (even grids)",
    "GSL, with an accelerator; its natural splines hold second derivatives, not cells",
    "Boost: makima, whose weights differ a little from Akima's; cardinal_cubic_b_spline on even grids",
    "SciPy and numpy.searchsorted, in a process of their own before the others",
};

// A limit for our time over that of the fastest peer.
struct Row {
    std::string name;
    FittingCase task;
    bool even = false, sorted = false;
    std::optional<double> limit = std::nullopt;
};
const std::vector<Row>& rows() {
    using enum FittingJob;
    static const std::vector<Row> all = {
        {"linear", {linear}, false, false, 1.1}, // both divide, and hardly do more
        {"natural", {natural}, false, false, 1.5},
        {"natural, 8 functions", {natural, fitting_functions}, false, false, 0.7},
        {"natural, even grid", {natural}, true},
        {"akima", {akima}, false, false, 1.0},
        {"akima, 8 functions", {akima, fitting_functions}},
        {"akima, even grid", {akima}, true},
        {"search, sorted", {search}, false, true, 1.3},
        {"search, random", {search}, false, false, 1.15},
        {"search, even grid", {search}, true},
        {"value, sorted", {value}, false, true, 1.5},
        {"value, random", {value}, false, false, 1.2},
        {"value, even grid, sorted", {value}, true, true, 1.25},
        {"value, even grid, random", {value}, true, false, 1.25},
        {"integral, sorted", {integral}, false, true},
        {"integral, random", {integral}},
    };
    return all;
}
constexpr std::int64_t partitions[] = {1000, 1000000};
constexpr double integral_limit = 2.5; // times the evaluation

bool constructs(FittingJob job) { return job < FittingJob::search; }

// ---- Our side ------------------------------------------------------------------------------------------------------

void check(std::int32_t status) {
    if (status != DF_ST_OK) throw std::runtime_error("data fitting ended with status " + std::to_string(status));
}

// A task on curves, with all that a job of it needs.
class Spline {
public:
    Spline(const FittingCase& task, const Curves& curves)
        : task_(task), curves_(curves), ends_{curves.x.front(), curves.x.back()},
          coeff_(static_cast<std::size_t>(4 * curves.nx * task.functions)),
          results_(constructs(task.job) ? 0 : fitting_sites), cells_(results_.size()) {
        check(nvo_df_kernel_dNewTask1D(&handle_, curves.nx, curves.even ? ends_ : curves.x.data(),
                                       curves.even ? DF_GRID_EVEN : DF_GRID_IRREGULAR, task.functions, curves.y.data(),
                                       DF_Y_BY_ROWS, 0));
        const bool akima = task.job == FittingJob::akima, linear = task.job == FittingJob::linear;
        check(nvo_df_kernel_dEditPPSpline1D(handle_, linear ? 2 : 4, akima ? DF_TYPE_AKIMA : DF_TYPE_NATURAL,
                                            akima ? DF_BC_NOT_SET : DF_BC_FREE_END, nullptr, 0, nullptr, coeff_.data(),
                                            DF_Y_DEFAULT));
        if (!constructs(task.job)) check(nvo_df_kernel_dDFNaturalCubicSpline1D(handle_, 0, 0, nullptr));
    }
    Spline(const Spline&) = delete;
    Spline& operator=(const Spline&) = delete;
    ~Spline() { nvo_df_kernel_DeleteTask(&handle_); }

    void work(const OstThreading* threading = nullptr) {
        const double *sites = curves_.sites.data(), *upper = curves_.upper.data();
        const std::int64_t hint = curves_.sorted ? DF_SITE_SORTED : DF_SITE_FREE;
        switch (task_.job) {
        case FittingJob::linear: return check(nvo_df_kernel_dDFLinearSpline1D(handle_, 0, 0, threading));
        case FittingJob::natural: return check(nvo_df_kernel_dDFNaturalCubicSpline1D(handle_, 0, 0, threading));
        case FittingJob::akima: return check(nvo_df_kernel_dDFAkimaCubicSpline1D(handle_, 0, 0, threading));
        case FittingJob::search:
            return check(nvo_df_kernel_dDFSearch1D(handle_, 0, fitting_sites, sites, hint, nullptr, cells_.data(),
                                                   nullptr, nullptr, threading));
        case FittingJob::value: {
            const std::int32_t value_alone = 1;
            return check(nvo_df_kernel_dDFInterpolate1D(
                handle_, 1, 0, fitting_sites, sites, hint, 1, &value_alone, nullptr, results_.data(), 16, nullptr,
                nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, threading));
        }
        case FittingJob::integral:
            return check(nvo_df_kernel_dDFIntegrate1D(handle_, 0, fitting_sites, sites, hint, upper, hint, nullptr,
                                                      nullptr, results_.data(), 0, nullptr, nullptr, nullptr, nullptr,
                                                      nullptr, nullptr, nullptr, nullptr, threading));
        }
    }
    Body body() {
        return [this](benchmark::State& state) {
            for (auto _ : state) {
                work();
                benchmark::ClobberMemory();
            }
        };
    }
    const std::vector<double>& coefficients() const { return coeff_; }
    // Breakpoints times functions, or sites: what the times are told for.
    double units() const {
        return static_cast<double>(constructs(task_.job) ? curves_.nx * task_.functions : fitting_sites);
    }

private:
    FittingCase task_;
    const Curves& curves_;
    double ends_[2];
    std::vector<double> coeff_, results_;
    std::vector<std::int32_t> cells_;
    DFTask1D* handle_ = nullptr;
};

// Random functions on cells of random width, up to ten times as wide as their neighbours.
Curves make_curves(std::int64_t nx, bool even, bool sorted) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> width(0.1, 1), value(-1, 1), unit(0, 1);
    Curves curves{nx, even, {}, {}, {}, sorted, {}, {}};
    double end = 0;
    for (std::int64_t j = 0; j < nx; ++j)
        curves.x.push_back(even ? 0.5 * static_cast<double>(j) : end += width(random));
    for (std::int64_t j = 0; j < nx * fitting_functions; ++j) curves.y.push_back(value(random));
    const double first = curves.x.front(), length = curves.x[static_cast<std::size_t>(nx - 5)] - first;
    for (std::int64_t k = 0; k < fitting_sites; ++k) curves.sites.push_back(first + length * unit(random));
    if (sorted) std::sort(curves.sites.begin(), curves.sites.end());
    for (const double site : curves.sites)
        curves.upper.push_back(std::min(site + 4 * unit(random) * length / static_cast<double>(nx), curves.x.back()));
    if (sorted) std::sort(curves.upper.begin(), curves.upper.end());
    Spline spline({FittingJob::natural}, curves);
    spline.work();
    curves.cells = spline.coefficients();
    return curves;
}

// ---- Races ---------------------------------------------------------------------------------------------------------

struct Result {
    Timing ours;
    std::vector<double> peers;
};
Result race_with(Spline& spline, const std::vector<FittingPeer>& peers) {
    std::vector<Contestant> contestants = {{"ours", spline.body()}};
    for (const FittingPeer& peer : peers)
        if (peer.body) contestants.push_back({peer.what, peer.body});
    const std::vector<Timing> timings = race(contestants, effort);
    Result result{timings.front(), {}};
    std::size_t next = 1;
    for (const FittingPeer& peer : peers)
        result.peers.push_back(peer.body ? timings[next++].best : std::min(peer.measured[0], peer.measured[1]));
    return result;
}

std::string name_of(const Row& row, std::int64_t nx) { return row.name + (nx == 1000 ? ", 10^3" : ", 10^6"); }

void print_line(Table& table, const Row& row, std::int64_t nx) {
    const Curves curves = make_curves(nx, row.even, row.sorted);
    Spline spline(row.task, curves);
    const std::vector<FittingPeer> peers = make_fitting_peers(row.task, curves);
    const auto [ours, times] = race_with(spline, peers);
    std::vector<std::string> cells = {row.name, nx == 1000 ? "10^3" : "10^6", decimal(ours.best / spline.units(), 2),
                                      decimal(ours.median / spline.units(), 2),
                                      decimal(100 * (ours.upper_quartile / ours.best - 1), 0) + "%"};
    for (int library = 0; library < fitting_libraries; ++library) {
        double best = std::numeric_limits<double>::infinity();
        for (std::size_t i = 0; i < peers.size(); ++i)
            if (static_cast<int>(peers[i].library) == library) best = std::min(best, times[i]);
        cells.push_back(std::isinf(best) ? "" : decimal(ours.best / best, 2));
    }
    table.line(cells);
}

void print_times(const PartRequest& request) {
    std::vector<Column> columns = {{"job", 26, true}, {"nx", 5}, {"best", 8}, {"median", 8}, {"spread", 6}};
    for (const char* title : titles) columns.push_back({title, 6});
    Table table(request.markdown, columns);
    for (const Row& row : rows()) {
        if (!std::regex_search(row.name, request.pattern)) continue;
        for (const std::int64_t nx : partitions) print_line(table, row, nx);
    }
}

// ---- Goals ---------------------------------------------------------------------------------------------------------

// Against the fastest peer, which a first race finds.
void judge(Verdicts& verdicts, const Row& row, std::int64_t nx) {
    const Curves curves = make_curves(nx, row.even, row.sorted);
    Spline spline(row.task, curves);
    const std::vector<FittingPeer> peers = make_fitting_peers(row.task, curves);
    const std::vector<double> times = race_with(spline, peers).peers;
    const auto fastest = static_cast<std::size_t>(std::min_element(times.begin(), times.end()) - times.begin());
    const FittingPeer& peer = peers[fastest];
    const Body other = peer.body ? peer.body : spline.body();
    const auto t = race({{"ours", spline.body()}, {"other", other}, {"other again", other}}, effort);
    const auto again = peer.body ? std::array{t[1].best, t[2].best} : peer.measured;
    const double theirs = std::min(again[0], again[1]), units = spline.units();
    verdicts.judge(peer.what, name_of(row, nx), t[0].best / units, theirs / units, t[0].best / theirs, *row.limit,
                   std::abs(again[0] - again[1]) / theirs, "");
}

// Our integrals against our values at the same sites.
void judge_integrals(Verdicts& verdicts, std::int64_t nx, bool sorted) {
    const Curves curves = make_curves(nx, false, sorted);
    Spline integral({FittingJob::integral}, curves), value({FittingJob::value}, curves);
    const auto t =
        race({{"integrals", integral.body()}, {"values", value.body()}, {"values again", value.body()}}, effort);
    const double values = std::min(t[1].best, t[2].best);
    verdicts.judge("our own values", name_of({sorted ? "integral, sorted" : "integral, random", {}}, nx),
                   t[0].best / fitting_sites, values / fitting_sites, t[0].best / values, integral_limit,
                   std::abs(t[1].best - t[2].best) / values, "");
}

void judge_threads(Verdicts& verdicts, const Row& row) {
    const Curves curves = make_curves(1000000, row.even, row.sorted);
    Spline spline(row.task, curves);
    time_two_threads([&](const OstThreading* threading) {
        spline.work(threading);
    }).judge(verdicts, name_of(row, curves.nx), spline.units());
}

void print_goals(const PartRequest& request) {
    std::puts(request.markdown ? "### Goals of data fitting\n" : "Goals of data fitting:");
    std::string summary;
    {
        const auto asked_for = [&](const std::string& name) { return std::regex_search(name, request.pattern); };
        Verdicts verdicts(request.markdown);
        for (const Row& row : rows()) {
            if (!row.limit || !asked_for(row.name)) continue;
            for (const std::int64_t nx : partitions) judge(verdicts, row, nx);
        }
        for (const bool sorted : {true, false}) {
            if (!asked_for("integral")) continue;
            for (const std::int64_t nx : partitions) judge_integrals(verdicts, nx, sorted);
        }
        for (const Row& row : rows()) {
            const bool uses_a_team = row.task.job != FittingJob::linear && row.task.job != FittingJob::natural;
            if (uses_a_team && asked_for(row.name)) judge_threads(verdicts, row);
        }
        summary = verdicts.summary();
    }
    std::puts(summary.c_str());
}

void print_peers(const PartRequest& request) {
    std::puts(request.markdown ? "### Peers\n" : "Peers of data fitting:");
    Table table(request.markdown, {{"job", 26, true}, {"peer", 40, true}});
    for (const Row& row : rows()) {
        for (const FittingPeer& peer : make_fitting_peers(row.task, make_curves(1000, row.even, row.sorted)))
            table.line({row.name, peer.what});
    }
}

} // namespace

void print_fitting(const PartRequest& request) {
    if (request.peers) return print_peers(request);
    std::puts(request.markdown ? "## Data fitting\n" : "Data fitting:\n");
    std::printf(
        "Doubles, on partitions of 10^3 and 10^6 breakpoints. Nanoseconds a breakpoint and function, or a site\n"
        "of %lld, and our best time as a ratio of the peer's best, for %s.\n"
        "Values are those of a cubic spline; limits of integrals lie up to four cells apart.\n\n",
        static_cast<long long>(fitting_sites), fitting_library_versions().c_str());
    for (int library = 0; library < fitting_libraries; ++library)
        std::printf("%s%s: %s\n", request.markdown ? "- " : "  ", titles[library], legend[library]);
    std::puts("");
    if (!request.goals) print_times(request);
    if (request.goals || request.all) print_goals(request);
}

} // namespace bench
