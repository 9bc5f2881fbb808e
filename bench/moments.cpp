#include "bench/parts.h"

#include "bench/moment_peers.h"
#include "bench/race.h"
#include "bench/table.h"
#include "bench/two_threads.h"

#include "nvo_ark/statistics.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <random>
#include <stdexcept>

namespace bench {

namespace {

constexpr Effort effort{16, 1e-3};
constexpr std::int64_t values = 1000000;

constexpr const char* titles[] = {"plain", "gsl", "numpy"};
constexpr const char* legend[] = {
    "loops as one writes them, sums of powers, at -O3",
    "GSL: gsl_stats_mean, gsl_stats_variance_m and their like",
    "NumPy: mean and var, cov, min and max, in a process of its own before the others",
};

// Ours is the Fast form, which serves for all of them: raw sums in one pass, cross-products by BLAS.
struct Measured {
    const char* name;
    MomentWork work;
    std::int64_t p;
    double limit; // of our time over that of the fastest peer; 0: none
};
constexpr Measured all_measured[] = {
    {"mean, variance", MomentWork::variance, 1, 0.8},    {"mean, variance", MomentWork::variance, 10, 0.8},
    {"mean, variance", MomentWork::variance, 100, 0.8},  {"four moments", MomentWork::four_moments, 1, 1},
    {"four moments", MomentWork::four_moments, 10, 1},   {"four moments", MomentWork::four_moments, 100, 1},
    {"minimum, maximum", MomentWork::minmax, 1, 1.15},   {"minimum, maximum", MomentWork::minmax, 10, 1.15},
    {"minimum, maximum", MomentWork::minmax, 100, 1.15}, {"covariance", MomentWork::covariance, 10, 0.9},
    {"covariance", MomentWork::covariance, 100, 0.8},
};

MomentData make_data(std::int64_t p, std::int64_t n, bool rows) {
    MomentData data{p, n, rows, std::vector<double>(static_cast<std::size_t>(p * n))};
    std::mt19937_64 random(1);
    std::normal_distribution<double> normal(3, 2);
    for (double& x : data.x) x = normal(random);
    return data;
}

// A task with what a work needs.
class Task {
public:
    explicit Task(const MomentData& data)
        : p_(data.p), n_(data.n), storage_(data.rows ? OST_STAT_STORAGE_ROWS : OST_STAT_STORAGE_COLS),
          arrays_(11, std::vector<double>(static_cast<std::size_t>(data.p))),
          cov_(static_cast<std::size_t>(data.p * data.p)) {
        if (__ostdSSNewTask(&task_, &p_, &n_, &storage_, data.x.data(), nullptr, nullptr, 1) != OST_STAT_OK)
            throw std::runtime_error("a task can't be created");
        std::size_t next = 0;
        for (const std::int32_t code :
             {OST_STAT_PARAM_MEAN, OST_STAT_PARAM_RAW_MOMENT_2, OST_STAT_PARAM_RAW_MOMENT_3,
              OST_STAT_PARAM_RAW_MOMENT_4, OST_STAT_PARAM_CENTRAL_MOMENT_2, OST_STAT_PARAM_CENTRAL_MOMENT_3,
              OST_STAT_PARAM_CENTRAL_MOMENT_4, OST_STAT_PARAM_KURTOSIS, OST_STAT_PARAM_SKEWNESS, OST_STAT_PARAM_MINIMUM,
              OST_STAT_PARAM_MAXIMUM})
            __ostdSSEditTask(task_, code, arrays_[next++].data());
        __ostdSSEditTask(task_, OST_STAT_PARAM_COV, cov_.data());
        __ostiSSEditTask(task_, OST_STAT_PARAM_COV_STORAGE, &full_);
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() { __ostSSDeleteTask(&task_); }

    void run(MomentWork work, const OstThreading* threading = nullptr) {
        constexpr std::uint64_t variance = OST_STAT_EST_RAW1 | OST_STAT_EST_CENTRAL2;
        constexpr std::uint64_t estimates[] = {variance, variance | OST_STAT_EST_SKEWNESS | OST_STAT_EST_KURTOSIS,
                                               OST_STAT_EST_MIN | OST_STAT_EST_MAX, OST_STAT_EST_COV};
        const std::uint64_t estimate = estimates[static_cast<int>(work)];
        const std::int32_t status = work == MomentWork::minmax
                                        ? _ostdSSMinmax(task_, estimate, OST_STAT_METHOD_FAST)
                                        : _ostdSSBasic(task_, estimate, OST_STAT_METHOD_FAST, threading);
        if (status != OST_STAT_OK) throw std::runtime_error("a task doesn't compute");
    }

private:
    std::int64_t p_, n_, storage_, full_ = OST_STAT_MATRIX_FULL;
    std::vector<std::vector<double>> arrays_;
    std::vector<double> cov_;
    OstSSTask* task_ = nullptr;
};

Body repeat(std::function<void()> action) {
    return [action = std::move(action)](benchmark::State& state) {
        for (auto _ : state) {
            action();
            benchmark::ClobberMemory();
        }
    };
}

// One thing to measure, with the peers that run in this process.
class Contest {
public:
    Contest(const Measured& measured, bool rows)
        : measured_(measured), data_(make_data(measured.p, values / measured.p, rows)), task_(data_),
          results_(static_cast<std::size_t>(std::max<std::int64_t>(4 * measured.p, measured.p * measured.p))) {}

    Body ours() {
        return repeat([this] { task_.run(measured_.work); });
    }
    Body plain() {
        return repeat([this] { plain_moments(measured_.work, data_, results_.data()); });
    }
    Body gsl() {
        return repeat([this] { gsl_moments(measured_.work, data_, results_.data()); });
    }
    std::vector<double> numpy() const { return numpy_moments(measured_.work, data_); }

    std::string layout() const { return data_.p == 1 ? "" : data_.rows ? "rows" : "columns"; }
    const Measured& measured() const { return measured_; }

private:
    const Measured& measured_;
    MomentData data_;
    Task task_;
    std::vector<double> results_;
};

template <class F> void for_each_contest(const PartRequest& request, F f) {
    for (const Measured& measured : all_measured) {
        if (!std::regex_search(measured.name, request.pattern)) continue;
        for (const bool rows : {true, false}) {
            if (measured.p == 1 && !rows) continue; // both are the same
            Contest contest(measured, rows);
            f(contest);
        }
    }
}

void print_times(const PartRequest& request) {
    std::puts(request.markdown ? "### Times\n" : "Times:");
    Table table(request.markdown, {{"estimates", 16, true},
                                   {"p", 4},
                                   {"layout", 8, true},
                                   {"best", 7},
                                   {"median", 7},
                                   {"spread", 6},
                                   {titles[0], 6},
                                   {titles[1], 6},
                                   {titles[2], 6}});
    for_each_contest(request, [&](Contest& contest) {
        const std::vector<Timing> t =
            race({{"ours", contest.ours()}, {"plain", contest.plain()}, {"gsl", contest.gsl()}}, effort);
        const std::vector<double> numpy = contest.numpy();
        table.line({contest.measured().name, std::to_string(contest.measured().p), contest.layout(),
                    decimal(t[0].best / values, 3), decimal(t[0].median / values, 3),
                    decimal(100 * (t[0].upper_quartile / t[0].best - 1), 0) + "%", decimal(t[0].best / t[1].best, 2),
                    decimal(t[0].best / t[2].best, 2),
                    numpy.empty() ? "" : decimal(t[0].best / *std::min_element(numpy.begin(), numpy.end()), 2)});
    });
}

// ---- Threads --------------------------------------------------------------------------------------------------------

// What the memory allows: doing nothing with the values but reading them.
TwoThreads time_reading(const std::vector<double>& x) {
    const auto half = static_cast<std::ptrdiff_t>(x.size() / 2);
    const auto read = [&](std::int64_t first_half, std::int64_t halves) {
        const auto *p = reinterpret_cast<const std::int64_t*>(x.data()) + first_half * half, *end = p + halves * half;
        std::int64_t seen[8] = {};
        for (; end - p >= 8; p += 8)
            for (int k = 0; k < 8; ++k) seen[k] ^= p[k];
        benchmark::DoNotOptimize(seen);
    };
    return time_two_threads([&](const OstThreading* threading) {
        if (!threading) return read(0, 2);
        threading->run_team(2, const_cast<void*>(static_cast<const void*>(&read)),
                            [](std::int64_t thread, std::int64_t, std::int64_t, void* context) -> std::int64_t {
                                (*static_cast<decltype(&read)>(context))(thread, 1);
                                return 0;
                            });
    });
}

struct ThreadGoal {
    const char* name;
    MomentWork work;
    std::int64_t p;
    bool rows;
};
constexpr ThreadGoal thread_goals[] = {{"mean, variance", MomentWork::variance, 1, true},
                                       {"mean, variance", MomentWork::variance, 10, true},
                                       {"mean, variance", MomentWork::variance, 10, false},
                                       {"four moments", MomentWork::four_moments, 100, false},
                                       {"covariance", MomentWork::covariance, 100, true}};

// ---- Goals ----------------------------------------------------------------------------------------------------------

// Against the fastest of the peers, which a first race finds.
void judge(Verdicts& verdicts, Contest& contest) {
    const Measured& measured = contest.measured();
    const std::string row = std::string(measured.name) + " " + std::to_string(measured.p) + " " + contest.layout();
    const Body ours = contest.ours(), plain = contest.plain(), gsl = contest.gsl();
    const std::vector<Timing> t = race({{"plain", plain}, {"gsl", gsl}}, effort);
    const std::vector<double> numpy = contest.numpy();
    const double best = std::min(t[0].best, t[1].best);
    if (!numpy.empty() && std::min(numpy[0], numpy[1]) < best) {
        const double time = race({{"ours", ours}}, careful)[0].best, other = std::min(numpy[0], numpy[1]);
        verdicts.judge("NumPy", row, time, other, time / other, measured.limit, std::abs(numpy[0] - numpy[1]) / other,
                       "");
    } else {
        const bool is_plain = t[0].best <= t[1].best;
        verdicts.judge_ratio(is_plain ? "plain loop" : "GSL", row, ours, is_plain ? plain : gsl, measured.limit);
    }
}

void print_goals(const PartRequest& request) {
    std::puts(request.markdown ? "### Goals of moments\n" : "Goals of moments:");
    std::string summary;
    double reading = 0;
    {
        Verdicts verdicts(request.markdown);
        for_each_contest(request, [&](Contest& contest) { judge(verdicts, contest); });
        for (const ThreadGoal& goal : thread_goals) {
            if (!std::regex_search(goal.name, request.pattern)) continue;
            constexpr std::int64_t many_values = 10 * values;
            const MomentData data = make_data(goal.p, many_values / goal.p, goal.rows);
            Task task(data);
            const std::string row = std::string(goal.name) + " " + std::to_string(goal.p) +
                                    (goal.rows ? " rows" : " columns") + ", 10^7 values";
            time_two_threads([&](const OstThreading* threading) {
                task.run(goal.work, threading);
            }).judge(verdicts, row);
            if (reading == 0) reading = time_reading(data.x).ratio();
        }
        summary = verdicts.summary();
    }
    std::puts(summary.c_str());
    if (reading > 0)
        std::printf("\nTwo threads take %.2f of the time of one to do nothing with 10^7 values but read them.\n",
                    reading);
}

} // namespace

void print_moments(const PartRequest& request) {
    if (request.peers) return;
    std::puts(request.markdown ? "## Moments\n" : "Moments:\n");
    std::printf(
        "Nanoseconds a value, of 10^6 doubles, one thread, the Fast method, and our best time as a ratio of the "
        "peer's\nbest, for %s. p variables in rows or in columns.\n\n",
        moment_library_versions().c_str());
    for (std::size_t i = 0; i < std::size(titles); ++i)
        std::printf("%s%s: %s\n", request.markdown ? "- " : "  ", titles[i], legend[i]);
    std::puts("");
    if (!request.goals) print_times(request);
    if (request.goals || request.all) print_goals(request);
}

} // namespace bench
