#include "bench/fitting_peers.h"

#include <algorithm>
#include <boost/math/interpolators/cardinal_cubic_b_spline.hpp>
#include <boost/math/interpolators/makima.hpp>
#include <boost/version.hpp>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <gsl/gsl_spline.h>
#include <gsl/gsl_version.h>
#include <map>
#include <memory>
#include <sstream>
#include <utility>

namespace bench {

namespace {

using Index = std::ptrdiff_t;

// ---- A user's loops ------------------------------------------------------------------------------------------------

// Coefficients of the cells from the first derivatives s.
void fill_cells(Index n, const double* __restrict x, const double* __restrict y, const double* __restrict s,
                double* __restrict c) {
    for (Index i = 0; i < n - 1; ++i) {
        const double h = x[i + 1] - x[i], d = (y[i + 1] - y[i]) / h;
        c[4 * i] = y[i];
        c[4 * i + 1] = s[i];
        c[4 * i + 2] = (3 * d - s[i + 1] - 2 * s[i]) / h;
        c[4 * i + 3] = (s[i] + s[i + 1] - 2 * d) / (h * h);
    }
}

void plain_linear(Index n, const double* __restrict x, const double* __restrict y, double* __restrict c) {
    for (Index i = 0; i < n - 1; ++i) {
        c[2 * i] = y[i];
        c[2 * i + 1] = (y[i + 1] - y[i]) / (x[i + 1] - x[i]);
    }
}

// Elimination without interchanges; the way back and the cells in loops of their own, as the second one can go in
// lanes. The arrays of n elements are the caller's, and stay his from call to call.
void plain_natural(Index n, const double* __restrict x, const double* __restrict y, double* __restrict ratio,
                   double* __restrict s, double* __restrict c) {
    double h0 = x[1] - x[0], d0 = (y[1] - y[0]) / h0;
    ratio[0] = 0.5;
    s[0] = 1.5 * d0;
    for (Index i = 1; i < n - 1; ++i) {
        const double h1 = x[i + 1] - x[i], d1 = (y[i + 1] - y[i]) / h1;
        const double inverse = 1 / (2 * (h0 + h1) - h1 * ratio[i - 1]);
        ratio[i] = h0 * inverse;
        s[i] = (3 * (h1 * d0 + h0 * d1) - h1 * s[i - 1]) * inverse;
        h0 = h1;
        d0 = d1;
    }
    s[n - 1] = (3 * d0 - s[n - 2]) / (2 - ratio[n - 2]);
    for (Index i = n - 2; i >= 0; --i) s[i] -= ratio[i] * s[i + 1];
    fill_cells(n, x, y, s, c);
}

// Slopes of two more cells stand on either side of d; three loops that go in lanes.
void plain_akima(Index n, const double* __restrict x, const double* __restrict y, double* __restrict d,
                 double* __restrict s, double* __restrict c) {
    for (Index i = 0; i < n - 1; ++i) d[i] = (y[i + 1] - y[i]) / (x[i + 1] - x[i]);
    d[-1] = 2 * d[0] - d[1];
    d[-2] = 2 * d[-1] - d[0];
    d[n - 1] = 2 * d[n - 2] - d[n - 3];
    d[n] = 2 * d[n - 1] - d[n - 2];
    for (Index i = 0; i < n; ++i) {
        const double before = std::fabs(d[i - 1] - d[i - 2]), behind = std::fabs(d[i + 1] - d[i]);
        const double sum = before + behind, mean = (d[i - 1] + d[i]) / 2;
        const double weighted = (behind * d[i - 1] + before * d[i]) / sum;
        s[i] = sum < 1e-10 ? mean : weighted;
    }
    fill_cells(n, x, y, s, c);
}

// Places of sites, as the number of breakpoints at or below them: a walk, a bisection, a multiplication.
class Walk {
public:
    explicit Walk(const Curves& curves) : x_(curves.x.data()), last_(curves.nx - 1) {}
    Index operator()(double t) {
        while (cell_ < last_ && x_[cell_] <= t) ++cell_;
        return cell_;
    }

private:
    const double* x_;
    Index last_, cell_ = 0;
};
class Bisection {
public:
    explicit Bisection(const Curves& curves) : first_(curves.x.data()), last_(curves.x.data() + curves.nx - 1) {}
    Index operator()(double t) const { return std::upper_bound(first_, last_, t) - first_; }

private:
    const double *first_, *last_;
};
// The same with a step that is added or not, where the processor has nothing to guess.
class SteadyBisection {
public:
    explicit SteadyBisection(const Curves& curves) : first_(curves.x.data()), count_(curves.nx - 1) {}
    Index operator()(double t) const {
        const double* base = first_; // the last breakpoint at or below t is among the next `left`
        for (Index left = count_; left > 1; left -= left / 2) base += base[left / 2] <= t ? left / 2 : 0;
        return base - first_ + 1;
    }

private:
    const double* first_;
    Index count_;
};
class Multiplication {
public:
    explicit Multiplication(const Curves& curves)
        : first_(curves.x.front()), cells_a_unit_(double(curves.nx - 1) / (curves.x.back() - first_)) {}
    Index operator()(double t) const { return static_cast<Index>((t - first_) * cells_a_unit_) + 1; }

private:
    double first_, cells_a_unit_;
};

double value_in(const double* c, double u) { return c[0] + u * (c[1] + u * (c[2] + u * c[3])); }
double integral_in(const double* c, double u) {
    return u * (c[0] + u * (c[1] * 0.5 + u * (c[2] * (1.0 / 3) + u * (c[3] * 0.25))));
}

// What a site gets.
template <class Place> class PlainCells {
public:
    explicit PlainCells(const Curves& curves) : place_(curves), sites_(curves.sites.data()) {}
    std::int32_t operator()(std::size_t k) { return static_cast<std::int32_t>(place_(sites_[k])); }

private:
    Place place_;
    const double* sites_;
};
template <class Place> class PlainValues {
public:
    explicit PlainValues(const Curves& curves)
        : place_(curves), sites_(curves.sites.data()), x_(curves.x.data()), c_(curves.cells.data()) {}
    double operator()(std::size_t k) {
        const Index j = place_(sites_[k]) - 1;
        return value_in(c_ + 4 * j, sites_[k] - x_[j]);
    }

private:
    Place place_;
    const double *sites_, *x_, *c_;
};
template <class Place> class PlainIntegrals {
public:
    explicit PlainIntegrals(const Curves& curves)
        : lower_place_(curves), upper_place_(curves), lower_(curves.sites.data()), upper_(curves.upper.data()),
          x_(curves.x.data()), c_(curves.cells.data()) {}
    double operator()(std::size_t k) {
        const Index first = lower_place_(lower_[k]) - 1, last = upper_place_(upper_[k]) - 1;
        double sum =
            integral_in(c_ + 4 * last, upper_[k] - x_[last]) - integral_in(c_ + 4 * first, lower_[k] - x_[first]);
        for (Index j = first; j < last; ++j) sum += integral_in(c_ + 4 * j, x_[j + 1] - x_[j]);
        return sum;
    }

private:
    Place lower_place_, upper_place_;
    const double *lower_, *upper_, *x_, *c_;
};

// ---- Bodies --------------------------------------------------------------------------------------------------------

template <class Job> Body repeated(Job job) {
    return [job](benchmark::State& state) mutable {
        for (auto _ : state) {
            job();
            benchmark::ClobberMemory();
        }
    };
}

using Reals = std::shared_ptr<std::vector<double>>;
Reals reals(std::int64_t n) { return std::make_shared<std::vector<double>>(static_cast<std::size_t>(n)); }

// construct(y, cells) for each function.
template <class Construct> Body for_functions(const Curves& curves, std::int64_t functions, Construct construct) {
    const Reals cells = reals(4 * curves.nx * functions);
    return repeated([&curves, functions, cells, construct]() mutable {
        for (std::int64_t i = 0; i < functions; ++i)
            construct(curves.y.data() + i * curves.nx, cells->data() + i * 4 * curves.nx);
    });
}

// f(k) for each site, where make() makes an f for each repetition.
template <class T, class Make> Body at_sites(Make make) {
    const auto results = std::make_shared<std::vector<T>>(fitting_sites);
    return repeated([results, make] {
        auto f = make();
        T* const r = results->data();
        for (std::size_t k = 0; k < fitting_sites; ++k) r[k] = f(k);
    });
}

class Peers {
public:
    Peers(const FittingCase& task, const Curves& curves) : task_(task), curves_(curves) {
        add_plain();
        if (task.job != FittingJob::linear) add_gsl(); // whose linear splines hold no slopes
        add_boost();
        add_scipy();
    }
    std::vector<FittingPeer> take() { return std::move(peers_); }

private:
    void add(FittingLibrary library, const std::string& what, Body body, std::array<double, 2> measured = {}) {
        peers_.push_back({library, what, std::move(body), measured});
    }
    template <class Construct> void add_construction(FittingLibrary library, const std::string& what, Construct f) {
        add(library, what, for_functions(curves_, task_.functions, f));
    }
    template <class T, class F> void add_plain_sites(const char* what) {
        add(FittingLibrary::plain, what, at_sites<T>([&curves = curves_] { return F(curves); }));
    }
    template <class Place> void add_plain_at_sites(const char* what) {
        if (task_.job == FittingJob::search) {
            add_plain_sites<std::int32_t, PlainCells<Place>>(what);
        } else if (task_.job == FittingJob::value) {
            add_plain_sites<double, PlainValues<Place>>(what);
        } else {
            add_plain_sites<double, PlainIntegrals<Place>>(what);
        }
    }
    void add_plain();
    void add_gsl();
    void add_boost();
    void add_scipy();

    FittingCase task_;
    const Curves& curves_;
    std::vector<FittingPeer> peers_;
};

void Peers::add_plain() {
    const std::int64_t n = curves_.nx;
    const Reals a = reals(n + 4), b = reals(n);
    const double* x = curves_.x.data();
    using enum FittingLibrary;
    if (task_.job == FittingJob::linear) {
        add_construction(plain, "a loop", [=](const double* y, double* c) { plain_linear(n, x, y, c); });
    } else if (task_.job == FittingJob::natural) {
        add_construction(plain, "elimination, then cells",
                         [=](const double* y, double* c) { plain_natural(n, x, y, a->data(), b->data(), c); });
    } else if (task_.job == FittingJob::akima) {
        add_construction(plain, "slopes, weighted, then cells",
                         [=](const double* y, double* c) { plain_akima(n, x, y, a->data() + 2, b->data(), c); });
    } else if (curves_.even) {
        add_plain_at_sites<Multiplication>("multiplication");
    } else if (curves_.sorted) {
        add_plain_at_sites<Walk>("walk");
    } else {
        add_plain_at_sites<Bisection>("std::upper_bound");
        add_plain_at_sites<SteadyBisection>("bisection without branches");
    }
}

// Its accelerator remembers the last cell.
void Peers::add_gsl() {
    const auto* type = task_.job == FittingJob::akima ? gsl_interp_akima : gsl_interp_cspline;
    const auto n = static_cast<std::size_t>(curves_.nx);
    const std::shared_ptr<gsl_spline> spline(gsl_spline_alloc(type, n), gsl_spline_free);
    const std::shared_ptr<gsl_interp_accel> place(gsl_interp_accel_alloc(), gsl_interp_accel_free);
    const double* x = curves_.x.data();
    gsl_spline_init(spline.get(), x, curves_.y.data(), n);
    const auto evaluated = [=, lower = curves_.sites.data(), upper = curves_.upper.data()]<class F>(F f) {
        return [=] { return [=](std::size_t k) { return f(spline.get(), place.get(), lower[k], upper[k]); }; };
    };
    using enum FittingLibrary;
    switch (task_.job) {
    case FittingJob::search:
        return add(gsl, "gsl_interp_accel_find",
                   at_sites<std::int32_t>(evaluated([x, n](auto*, auto* at, double t, double) {
                       return static_cast<std::int32_t>(gsl_interp_accel_find(at, x, n, t));
                   })));
    case FittingJob::value:
        return add(gsl, "gsl_spline_eval", at_sites<double>(evaluated([](auto* f, auto* at, double t, double) {
                       return gsl_spline_eval(f, t, at);
                   })));
    case FittingJob::integral:
        return add(gsl, "gsl_spline_eval_integ", at_sites<double>(evaluated([](auto* f, auto* at, double t, double u) {
                       return gsl_spline_eval_integ(f, t, u, at);
                   })));
    default:
        return add_construction(gsl, std::string("gsl_spline_init, ") + type->name,
                                [=](const double* y, const double*) { gsl_spline_init(spline.get(), x, y, n); });
    }
}

// ---- Boost ---------------------------------------------------------------------------------------------------------

using Makima = boost::math::interpolators::makima<std::vector<double>>;
using CubicBSpline = boost::math::interpolators::cardinal_cubic_b_spline<double>;

Makima makima(const Curves& curves, const double* y) {
    return Makima(std::vector<double>(curves.x), std::vector<double>(y, y + curves.nx));
}
CubicBSpline cubic_b_spline(const Curves& curves, const double* y) {
    const auto n = static_cast<std::size_t>(curves.nx);
    return CubicBSpline(y, n, curves.x.front(), curves.x[1] - curves.x[0], 0, 0);
}

void Peers::add_boost() {
    const auto constructing = [&curves = curves_](auto make) {
        return [&curves, make](const double* y, const double*) { benchmark::DoNotOptimize(make(curves, y)); };
    };
    const auto values = [sites = curves_.sites.data()](auto made) {
        const auto spline = std::make_shared<decltype(made)>(std::move(made));
        return at_sites<double>(
            [spline, sites] { return [&f = *spline, sites](std::size_t k) { return f(sites[k]); }; });
    };
    constexpr const char *for_listed = "boost makima", *for_even = "boost cardinal_cubic_b_spline";
    using enum FittingLibrary;
    if (task_.job == FittingJob::akima) {
        add_construction(boost, for_listed, constructing(makima));
    } else if (task_.job == FittingJob::natural && curves_.even) {
        add_construction(boost, for_even, constructing(cubic_b_spline));
    } else if (task_.job == FittingJob::value) {
        const double* y = curves_.y.data();
        if (curves_.even) {
            add(boost, for_even, values(cubic_b_spline(curves_, y)));
        } else {
            add(boost, for_listed, values(makima(curves_, y)));
        }
    }
}

// ---- SciPy ---------------------------------------------------------------------------------------------------------

// Prints the version, then the times for a number of breakpoints by name.
constexpr const char* scipy_program = R"(
import sys, time
import numpy as np, scipy
from scipy.interpolate import CubicSpline, Akima1DInterpolator
n, sites, functions = int(sys.argv[1]), int(sys.argv[2]), int(sys.argv[3])
random = np.random.default_rng(1)
def best(work):
    times = []
    for _ in range(3):
        start = time.process_time_ns()
        work()
        times.append(time.process_time_ns() - start)
    return min(times)
print(scipy.__version__)
for even in 0, 1:
    x = np.arange(n) * 0.5 if even else np.cumsum(random.uniform(0.1, 1, n))
    y = random.uniform(-1, 1, (n, functions))
    spline = CubicSpline(x, y[:, 0], bc_type="natural")
    jobs = {"natural1": lambda: CubicSpline(x, y[:, 0], bc_type="natural"),
            f"natural{functions}": lambda: CubicSpline(x, y, bc_type="natural"),
            "akima1": lambda: Akima1DInterpolator(x, y[:, 0])}
    integral = spline.antiderivative()
    for ordered in 0, 1:
        t = random.uniform(x[0], x[-5], sites)
        if ordered: t.sort()
        u = np.minimum(t + 4 * random.uniform(0, x[-1] / n, sites), x[-1])
        jobs[f"search{ordered}"] = lambda t=t: np.searchsorted(x, t, side="right")
        jobs[f"value{ordered}"] = lambda t=t: spline(t)
        jobs[f"integral{ordered}"] = lambda t=t, u=u: integral(u) - integral(t)
    for name, job in jobs.items():
        print(f"{name}/{even}", best(job), best(job))
)";

struct ScipyTimes {
    std::string version; // empty: not there
    std::map<std::string, std::array<double, 2>> times;
};

std::string output_of(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string text;
    if (!pipe) return text;
    for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get())) text += static_cast<char>(c);
    return text;
}

const ScipyTimes& scipy_times(std::int64_t nx) {
    static std::map<std::int64_t, ScipyTimes> known;
    const auto [entry, is_new] = known.try_emplace(nx);
    if (!is_new) return entry->second;
    ScipyTimes& result = entry->second;
    // The interpreter on the path may be another one than the system's, to which the package belongs.
    for (const char* python : {"/usr/bin/python3", "python3"}) {
        std::istringstream lines(output_of(std::string(python) + " -c '" + scipy_program + "' " + std::to_string(nx) +
                                           " " + std::to_string(fitting_sites) + " " +
                                           std::to_string(fitting_functions) + " 2>/dev/null"));
        if (!std::getline(lines, result.version)) continue;
        std::string name;
        std::array<double, 2> times;
        while (lines >> name >> times[0] >> times[1]) result.times[name] = times;
        break;
    }
    return result;
}

void Peers::add_scipy() {
    struct Row {
        const char *name, *what;
    };
    static const std::map<FittingJob, Row> rows = {{FittingJob::natural, {"natural", "scipy CubicSpline"}},
                                                   {FittingJob::akima, {"akima", "scipy Akima1DInterpolator"}},
                                                   {FittingJob::search, {"search", "numpy searchsorted"}},
                                                   {FittingJob::value, {"value", "scipy CubicSpline.__call__"}},
                                                   {FittingJob::integral, {"integral", "scipy antiderivative"}}};
    const auto row = rows.find(task_.job);
    if (row == rows.end()) return;
    const bool constructs = task_.job == FittingJob::natural || task_.job == FittingJob::akima;
    const std::string key = row->second.name + std::to_string(constructs ? task_.functions : int{curves_.sorted}) +
                            "/" + std::to_string(int{curves_.even});
    const auto& times = scipy_times(curves_.nx).times;
    if (const auto found = times.find(key); found != times.end())
        add(FittingLibrary::scipy, row->second.what, {}, found->second);
}

} // namespace

std::vector<FittingPeer> make_fitting_peers(const FittingCase& task, const Curves& curves) {
    return Peers(task, curves).take();
}

std::string fitting_library_versions() {
    const std::string scipy = scipy_times(1000).version;
    return "Boost " + std::to_string(BOOST_VERSION / 100000) + "." + std::to_string(BOOST_VERSION / 100 % 1000) +
           ", GSL " + GSL_VERSION + ", " + (scipy.empty() ? "no SciPy" : "SciPy " + scipy);
}

} // namespace bench
