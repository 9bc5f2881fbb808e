#include "bench/moment_peers.h"

#include "bench/numpy.h"

#include <algorithm>
#include <cmath>
#include <gsl/gsl_statistics.h>
#include <gsl/gsl_version.h>

namespace bench {

namespace {

// ---- Plain loops ----------------------------------------------------------------------------------------------------

// Of the sums of powers of one variable.
void from_sums(const double* sum, int powers, std::int64_t n, double* moments, std::int64_t stride) {
    const auto count = static_cast<double>(n);
    const double m = sum[0] / count, r2 = sum[1] / count, c2 = r2 - m * m;
    moments[0] = m;
    moments[stride] = c2 * count / (count - 1);
    if (powers == 2) return;
    const double r3 = sum[2] / count, r4 = sum[3] / count;
    moments[2 * stride] = (r3 - 3 * m * r2 + 2 * m * m * m) / (c2 * std::sqrt(c2));
    moments[3 * stride] = (r4 - 4 * m * r3 + 6 * m * m * r2 - 3 * m * m * m * m) / (c2 * c2) - 3;
}

void row_sums(const double* x, std::int64_t n, double (&sums)[2]) {
    double s1 = 0, s2 = 0;
    for (std::int64_t i = 0; i < n; ++i) {
        s1 += x[i];
        s2 += x[i] * x[i];
    }
    sums[0] = s1;
    sums[1] = s2;
}
void row_sums(const double* x, std::int64_t n, double (&sums)[4]) {
    double s1 = 0, s2 = 0, s3 = 0, s4 = 0;
    for (std::int64_t i = 0; i < n; ++i) {
        const double x2 = x[i] * x[i];
        s1 += x[i];
        s2 += x2;
        s3 += x2 * x[i];
        s4 += x2 * x2;
    }
    sums[0] = s1;
    sums[1] = s2;
    sums[2] = s3;
    sums[3] = s4;
}
void column_sums(const double* x, std::int64_t p, std::int64_t n, double* __restrict s1, double* __restrict s2) {
    for (std::int64_t i = 0; i < n; ++i)
        for (std::int64_t j = 0; j < p; ++j) {
            const double v = x[i * p + j];
            s1[j] += v;
            s2[j] += v * v;
        }
}
void column_sums(const double* x, std::int64_t p, std::int64_t n, double* __restrict s1, double* __restrict s2,
                 double* __restrict s3, double* __restrict s4) {
    for (std::int64_t i = 0; i < n; ++i)
        for (std::int64_t j = 0; j < p; ++j) {
            const double v = x[i * p + j], v2 = v * v;
            s1[j] += v;
            s2[j] += v2;
            s3[j] += v2 * v;
            s4[j] += v2 * v2;
        }
}

template <int powers> void plain_powers(const MomentData& d, double* results) {
    const std::int64_t p = d.p, n = d.n;
    double sums[powers];
    if (d.rows) {
        for (std::int64_t j = 0; j < p; ++j) {
            row_sums(d.x.data() + j * n, n, sums);
            from_sums(sums, powers, n, results + j, p);
        }
        return;
    }
    std::fill_n(results, powers * p, 0.0);
    if constexpr (powers == 2) column_sums(d.x.data(), p, n, results, results + p);
    if constexpr (powers == 4) column_sums(d.x.data(), p, n, results, results + p, results + 2 * p, results + 3 * p);
    for (std::int64_t j = 0; j < p; ++j) {
        for (int k = 0; k < powers; ++k) sums[k] = results[k * p + j];
        from_sums(sums, powers, n, results + j, p);
    }
}

void plain_minmax(const MomentData& d, double* results) {
    const std::int64_t p = d.p, n = d.n;
    double* __restrict low = results;
    double* __restrict high = results + p;
    if (d.rows) {
        for (std::int64_t j = 0; j < p; ++j) {
            const double* x = d.x.data() + j * n;
            double least = x[0], largest = x[0];
            for (std::int64_t i = 1; i < n; ++i) {
                least = x[i] < least ? x[i] : least;
                largest = x[i] > largest ? x[i] : largest;
            }
            low[j] = least;
            high[j] = largest;
        }
        return;
    }
    std::copy_n(d.x.data(), p, low);
    std::copy_n(d.x.data(), p, high);
    for (std::int64_t i = 1; i < n; ++i) {
        const double* __restrict x = d.x.data() + i * p;
        for (std::int64_t j = 0; j < p; ++j) {
            low[j] = x[j] < low[j] ? x[j] : low[j];
            high[j] = x[j] > high[j] ? x[j] : high[j];
        }
    }
}

// Means first, then products of deviations: in rows a pair of variables at a time, in columns an observation.
void plain_covariance(const MomentData& d, double* results) {
    const std::int64_t p = d.p, n = d.n;
    std::vector<double> means(static_cast<std::size_t>(p)), deviations = d.x;
    for (std::int64_t i = 0; i < n * p; ++i)
        means[static_cast<std::size_t>(d.rows ? i / n : i % p)] += deviations[static_cast<std::size_t>(i)];
    for (double& mean : means) mean /= static_cast<double>(n);
    for (std::int64_t i = 0; i < n * p; ++i)
        deviations[static_cast<std::size_t>(i)] -= means[static_cast<std::size_t>(d.rows ? i / n : i % p)];
    std::fill_n(results, p * p, 0.0);
    if (d.rows) {
        for (std::int64_t a = 0; a < p; ++a)
            for (std::int64_t b = a; b < p; ++b) {
                const double* x = deviations.data() + a * n;
                const double* y = deviations.data() + b * n;
                double sum = 0;
                for (std::int64_t i = 0; i < n; ++i) sum += x[i] * y[i];
                results[a * p + b] = sum;
            }
    } else {
        for (std::int64_t i = 0; i < n; ++i) {
            const double* __restrict x = deviations.data() + i * p;
            for (std::int64_t a = 0; a < p; ++a) {
                double* __restrict row = results + a * p;
                for (std::int64_t b = a; b < p; ++b) row[b] += x[a] * x[b];
            }
        }
    }
    for (std::int64_t a = 0; a < p; ++a)
        for (std::int64_t b = a; b < p; ++b) results[b * p + a] = results[a * p + b] /= static_cast<double>(n - 1);
}

// ---- NumPy ----------------------------------------------------------------------------------------------------------

constexpr const char* program = R"(
import sys, time
import numpy as np
works = {"variance": lambda x, a: (x.mean(a), x.var(a, ddof=1)),
         "minmax": lambda x, a: (x.min(a), x.max(a)),
         "covariance": lambda x, a: np.cov(x, rowvar=a == 1)}
def four_moments(x, a):
    m = x.mean(a, keepdims=True)
    d = x - m
    d2 = d * d
    c2 = d2.mean(a)
    return m, c2, (d2 * d).mean(a) / c2**1.5, (d2 * d2).mean(a) / c2**2 - 3
works["four_moments"] = four_moments
def best(f, count):
    times = []
    for _ in range(count):
        start = time.perf_counter_ns()
        f()
        times.append(time.perf_counter_ns() - start)
    return min(times)
print(np.__version__)
for p in map(int, sys.argv[2:]):
    n = int(sys.argv[1]) // p
    for rows in True, False:
        x = np.random.default_rng(1).normal(3, 2, (p, n) if rows else (n, p))
        for name, work in works.items():
            f = lambda: work(x, 1 if rows else 0)
            f()
            print(name, "rows" if rows else "columns", p, best(f, 15), best(f, 15))
)";
constexpr const char* work_names[] = {"variance", "four_moments", "minmax", "covariance"};

const NumpyTimes& numpy_times() {
    static const NumpyTimes times = run_numpy(program, "1000000 1 10 100");
    return times;
}

} // namespace

void plain_moments(MomentWork work, const MomentData& data, double* results) {
    switch (work) {
    case MomentWork::variance: return plain_powers<2>(data, results);
    case MomentWork::four_moments: return plain_powers<4>(data, results);
    case MomentWork::minmax: return plain_minmax(data, results);
    case MomentWork::covariance: return plain_covariance(data, results);
    }
}

void gsl_moments(MomentWork work, const MomentData& d, double* results) {
    const auto n = static_cast<std::size_t>(d.n), stride = static_cast<std::size_t>(d.rows ? 1 : d.p);
    const auto variable = [&](std::int64_t j) { return d.x.data() + (d.rows ? j * d.n : j); };
    std::vector<double> means;
    for (std::int64_t j = 0; j < d.p; ++j) {
        const double* x = variable(j);
        if (work == MomentWork::minmax) {
            gsl_stats_minmax(results + j, results + d.p + j, x, stride, n);
            continue;
        }
        means.push_back(gsl_stats_mean(x, stride, n));
        if (work == MomentWork::covariance) continue;
        const double variance = gsl_stats_variance_m(x, stride, n, means.back()), deviation = std::sqrt(variance);
        results[j] = means.back();
        results[d.p + j] = variance;
        if (work == MomentWork::variance) continue;
        results[2 * d.p + j] = gsl_stats_skew_m_sd(x, stride, n, means.back(), deviation);
        results[3 * d.p + j] = gsl_stats_kurtosis_m_sd(x, stride, n, means.back(), deviation);
    }
    if (work != MomentWork::covariance) return;
    for (std::int64_t a = 0; a < d.p; ++a)
        for (std::int64_t b = a; b < d.p; ++b)
            results[a * d.p + b] = results[b * d.p + a] =
                gsl_stats_covariance_m(variable(a), stride, variable(b), stride, n, means[static_cast<std::size_t>(a)],
                                       means[static_cast<std::size_t>(b)]);
}

std::vector<double> numpy_moments(MomentWork work, const MomentData& data) {
    const auto found = numpy_times().times.find(std::string(work_names[static_cast<int>(work)]) +
                                                (data.rows ? " rows " : " columns ") + std::to_string(data.p));
    if (found == numpy_times().times.end()) return {};
    return {found->second.begin(), found->second.end()};
}

std::string moment_library_versions() {
    const std::string& numpy = numpy_times().version;
    return std::string("GSL ") + GSL_VERSION + ", " + (numpy.empty() ? "no NumPy" : "NumPy " + numpy);
}

} // namespace bench
