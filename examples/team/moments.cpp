// Statistics on a team of threads: the covariance of a million observations, by 1, 2, 3 and 4 threads.
#include "team.h"

#include <nvo_ark/statistics.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <vector>

int main() {
    const std::int32_t p = 20, n = 1'000'000, storage = OST_STAT_STORAGE_COLS, full = OST_STAT_MATRIX_FULL;
    std::vector<float> x(std::size_t{p} * n);
    for (std::size_t i = 0; i < x.size(); ++i)
        x[i] = static_cast<float>(std::sin(0.1 * static_cast<double>(i % 104729)));

    std::vector<float> mean(p), cov(std::size_t{p} * p);
    OstSSTask* task = nullptr;
    if (__ostsSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 0) != OST_STAT_OK) return 1;
    __ostsSSEditCovCor(task, mean.data(), cov.data(), &full, nullptr, nullptr);

    for (int threads = 1; threads <= 4; ++threads) {
        const Team team(threads);
        const auto start = std::chrono::steady_clock::now();
        const auto status = _ostsSSBasic(task, OST_STAT_EST_COV, OST_STAT_METHOD_FAST, team.descriptor());
        const std::chrono::duration<double, std::milli> time = std::chrono::steady_clock::now() - start;
        if (status != OST_STAT_OK) return std::fprintf(stderr, "status %d\n", static_cast<int>(status)), 1;
        std::printf("%d thread%s  %6.1f ms  cov(0,0) %.7f  cov(0,1) %.7f\n", threads, threads > 1 ? "s:" : ": ",
                    time.count(), static_cast<double>(cov[0]), static_cast<double>(cov[1]));
    }
    __ostSSDeleteTask(&task);
}
