// Integration on teams: the same bits and statuses as on one thread.
#include "tests/fitting/integrate.h"

namespace nvo::tests {
namespace {

using Real = double;

TEST(IntegrateOfThreads, SameBitsAsOneThread) {
    constexpr std::int64_t most = 5120;
    for (ModelShape shape : models)
        for (const std::int64_t ny : {1, 3}) {
            shape.ny = ny;
            ModelTask<Real> task(shape);
            std::vector<Real> a = task.sites(most), b = task.sites(most), serial(most * ny), r(most * ny);
            for (const bool sorted : {false, true}) {
                if (sorted) std::sort(a.begin(), a.end()), std::sort(b.begin(), b.end());
                IntegrateCall<Real> integrate;
                integrate.rhint = sorted ? DF_Y_BY_ROWS : DF_Y_BY_COLS;
                integrate.left_hint = integrate.right_hint = sorted ? DF_SITE_SORTED : DF_SITE_FREE;
                for (const std::int64_t n : {639, 640, 4095, 4096, 4097, 5120}) {
                    integrate.threading = nullptr;
                    ASSERT_EQ(integrate(task.task(), n, a.data(), b.data(), serial.data()), DF_ST_OK);
                    for (const int threads : {2, 3, 8}) {
                        const Team team(threads);
                        integrate.threading = Team::descriptor();
                        std::fill(r.begin(), r.end(), NAN);
                        ASSERT_EQ(integrate(task.task(), n, a.data(), b.data(), r.data()), DF_ST_OK);
                        ASSERT_TRUE(std::equal(serial.data(), serial.data() + n * ny, r.data()))
                            << shape.text() << ": " << n << " pairs, " << threads << " threads, sorted " << sorted;
                    }
                }
            }
        }
}

TEST(IntegrateOfThreads, ItemsOfFiveBlocksThenOfOne) {
    ModelTask<Real> task({2, 0});
    const std::vector<Real> a = task.sites(6000), b = task.sites(6000);
    std::vector<Real> r(6000);
    IntegrateCall<Real> integrate;
    integrate.threading = &RecordedTeam::descriptor;
    const struct {
        std::int64_t n;
        std::int32_t threads;
        std::vector<RecordedTeam::Run> expected;
    } cases[] = {{4095, 8, {}},        {4096, 1, {}},       {4096, 2, {{6, 2}, {2, 2}}}, {4096, 6, {{6, 6}, {2, 2}}},
                 {4096, 8, {{32, 8}}}, {4480, 7, {{7, 7}}}, {5999, 40, {{46, 40}}},      {4096, 50, {{32, 32}}}};
    for (const auto& c : cases) {
        RecordedTeam::runs.clear();
        RecordedTeam::threads = c.threads;
        ASSERT_EQ(integrate(task.task(), c.n, a.data(), b.data(), r.data()), DF_ST_OK);
        EXPECT_EQ(RecordedTeam::runs, c.expected) << c.n << " pairs, " << c.threads << " threads";
    }
    RecordedTeam::threads = 3;
}

// Status i for pair i, and failures from some pair on: the last one that isn't negative comes back, or the first
// failure, and then the blocks before it have been written.
struct StatusOfPair {
    std::int64_t fails_from;

    static std::int32_t give(const std::int64_t*, const std::int64_t*, const Real* lo, const std::int64_t*, const Real*,
                             Real* r, void* params, void*) {
        const auto pair = static_cast<std::int64_t>(*lo);
        *r = *lo;
        return static_cast<std::int32_t>(pair < static_cast<StatusOfPair*>(params)->fails_from ? pair : -pair);
    }
};

TEST(IntegrateOfThreads, StatusesAsOnOneThread) {
    constexpr std::int64_t n = 6000;
    const Real x[] = {0, n};
    const std::vector<Real> y(2);
    FitTask<Real> task(2, x, DF_GRID_EVEN, 1, y.data());
    task.spline(0, 0, nullptr);
    std::vector<Real> a(n), b(n);
    for (std::int64_t i = 0; i < n; ++i) a[i] = static_cast<Real>(i) + 0.25, b[i] = a[i] + 0.5;
    for (const int threads : {1, 2, 3}) {
        const Team team(threads);
        IntegrateCall<Real> integrate;
        integrate.threading = Team::descriptor();
        integrate.le_cb = integrate.re_cb = integrate.i_cb = StatusOfPair::give;
        for (const std::int64_t failure : {10, 700, 3000, 5990, 6000}) {
            SCOPED_TRACE(std::to_string(failure) + " on " + std::to_string(threads));
            StatusOfPair statuses{failure};
            integrate.params = &statuses;
            std::vector<Real> r(n, NAN);
            EXPECT_EQ(integrate(task.get(), n, a.data(), b.data(), r.data()), failure == n ? n - 1 : -failure);
            const std::int64_t written = failure == n ? n : failure / 128 * 128;
            EXPECT_TRUE(std::equal(a.data(), a.data() + written, r.data()));
            if (threads > 1) continue;
            EXPECT_EQ(std::count_if(r.begin(), r.end(), [](Real v) { return v == v; }), written);
        }
    }
}

} // namespace
} // namespace nvo::tests
