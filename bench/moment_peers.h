// What moments and covariance are raced against.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

// Mean and variance; mean, variance, skewness and kurtosis; smallest and largest value; the covariance matrix.
enum class MomentWork { variance, four_moments, minmax, covariance };

// Of p variables with n observations, in rows or columns as tasks have them.
struct MomentData {
    std::int64_t p, n;
    bool rows;
    std::vector<double> x;
};

// Loops as one writes them: sums of powers, compiled at -O3 for data without NaN, so that minima run in lanes. Results
// go to `results`: an array a moment, or a matrix.
void plain_moments(MomentWork work, const MomentData& data, double* results);
void gsl_moments(MomentWork work, const MomentData& data, double* results);

// In a process of its own: nanoseconds a call, the best of either half of the repetitions. Empty without NumPy.
std::vector<double> numpy_moments(MomentWork work, const MomentData& data);

std::string moment_library_versions(); // "GSL 2.7.1, NumPy 1.24.2"

} // namespace bench
