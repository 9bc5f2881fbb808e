// Interpolation on a team, and without memory.
#include "tests/fitting/interpolate.h"

namespace {

using namespace nvo::tests;

template <class R> std::int32_t square(const std::int64_t* n, const std::int64_t*, const R* site, R* r, void*, void*) {
    for (std::int64_t i = 0; i < *n; ++i) r[i] = site[i] * site[i];
    return 0;
}

// 4096 sites are for one thread, 4097 for a team, in blocks of 256.
TEST(InterpolateOfThreads, GivesTheResultsOfOneThread) {
    std::mt19937 random(1);
    for (ModelShape shape : models) {
        for (const std::uint64_t x_hint : {DF_GRID_IRREGULAR, DF_GRID_EVEN}) {
            shape.x_hint = x_hint;
            ModelTask<double> task(shape);
            const auto sites = task.sites(10000);
            for (const std::int64_t count : {4095, 4096, 4097, 4352, 4353, 10000}) {
                const std::int64_t hints[] = {DF_SITE_FREE, DF_SITE_SORTED, DF_SITE_EVEN};
                ValueCall<double> call{.type = 2,
                                       .sitehint = hints[random() % 3],
                                       .rhint = random() % 2 ? 16 : 256,
                                       .orders = {1, 1},
                                       .nsite = count};
                if (random() % 2) call.orders = {1}, call.left = {square<double>, nullptr};
                const auto serial = interpolate(task, sites, call);
                const Team team(static_cast<int>(2 + random() % 4));
                call.threading = team.descriptor();
                const auto parallel = interpolate(task, sites, call);
                ASSERT_EQ(parallel.status, DF_ST_OK);
                ASSERT_EQ(parallel.cells, serial.cells) << shape.text();
                ASSERT_EQ(parallel.r, serial.r) << shape.text();
            }
        }
    }
}

TEST(InterpolateOfThreads, StartsAt4097Sites) {
    ModelTask<double> task({2, 0});
    const std::vector<double> sites = task.sites(4400);
    for (const auto& [count, items] : {std::pair{4096, 0}, {4097, 16}, {4352, 17}, {4400, 17}}) {
        RecordedTeam::runs.clear();
        ValueCall<double> call{.threading = &RecordedTeam::descriptor, .nsite = count};
        const auto recorded = interpolate(task, sites, call);
        std::vector<RecordedTeam::Run> runs;
        if (items > 0) runs = {{items, 3}};
        EXPECT_EQ(RecordedTeam::runs, runs);
        call.threading = nullptr;
        EXPECT_EQ(recorded.r, interpolate(task, sites, call).r);
    }
}

// Whatever the order of the blocks, the first that fails decides, or else the last that called back. A serial run
// writes the blocks before a failure.
TEST(InterpolateOfThreads, GivesTheStatusOfASerialRun) {
    const std::vector<double> x = {0, 1, 2, 3}, y = {1, 2, 3, 4};
    FitTask<double> task(4, x.data(), DF_GRID_IRREGULAR, 1, y.data());
    task.spline(0, DF_TYPE_LOOK_UP, nullptr);
    std::vector<double> sites(6000, 1.0);
    const auto report = [](const std::int64_t*, const std::int64_t*, const double* site, double* r, void*, void*) {
        r[0] = 0;
        return *site < -1000 ? -1 : static_cast<std::int32_t>(std::abs(*site));
    };
    const Team team(4);
    const auto expect = [&](std::int32_t status, std::size_t written = 6000) {
        ValueCall<double> call{.left = {report, nullptr}, .right = {report, nullptr}};
        const OstThreading* const threadings[] = {&RecordedTeam::descriptor, team.descriptor(), nullptr};
        for (const OstThreading* threading : threadings) {
            call.threading = threading;
            const auto results = interpolate<double>(task.get(), false, 1, sites, call);
            EXPECT_EQ(results.status, status);
            for (std::size_t i = 0; !threading && i < 6000; ++i)
                ASSERT_EQ(results.r[i] == untouched_result<double>, i >= written) << i;
        }
    };
    expect(0);
    sites[300] = -7; // a callback returns 7
    expect(7);
    sites[2000] = -8;
    expect(8);
    sites[5998] = 10; // behind the team's blocks; the right side comes last
    sites[5999] = -9;
    expect(10);
    sites[4000] = 0.5; // a miss
    expect(DF_ST_LOOKUP_MISS, 3840);
    sites[1500] = -9999; // a callback fails, in a block before the miss
    expect(-1, 1280);
}

// With every allocation in turn refused: a call fails and gives everything back, or needs none.
TEST(InterpolateMemory, AnyBlockMayBeMissing) {
    const auto try_all = [](long allocations, const ModelShape& shape, ValueCall<double> call) {
        SCOPED_TRACE(shape.text());
        ModelTask<double> task(shape);
        const auto sites = task.sites(5000);
        bool is_first = true;
        expect_allocations(allocations, [&] {
            const auto results = interpolate(task, sites, call);
            // Staging is the first block, taken before anything is written.
            if (is_first && results.status != DF_ST_OK) {
                EXPECT_EQ(results.r, std::vector<double>(results.r.size(), untouched_result<double>));
            }
            is_first = false;
            return results.status;
        });
    };
    const ValueCallback<double> cb = {square<double>, nullptr};
    const auto orders = [](std::size_t n) { return std::vector<int>(n, 1); };
    const OstThreading* const team = &RecordedTeam::descriptor;
    // Straight into r; staged on the stack up to 8 results of a site for all threads; allocated above that.
    try_all(0, {4, 0}, {.rhint = 16, .orders = orders(40)});
    try_all(0, {4, 0}, {.rhint = 32, .orders = orders(8)});
    try_all(1, {4, 0}, {.rhint = 32, .orders = orders(9)});
    try_all(0, {4, 0}, {.rhint = 256, .orders = orders(2), .threading = team});
    try_all(1, {4, 0}, {.rhint = 512, .orders = orders(3), .threading = team});
    try_all(1, {.order = 4, .type = 0, .ny = 9}, {.rhint = 256});
    try_all(0, {4, 0}, {.rhint = 16, .left = cb, .nsite = 200});
    // Coefficients of arbitrary models are worked on in a block of their own from order 11 on, if there are
    // derivatives.
    try_all(0, {10, 0}, {.orders = orders(2)});
    try_all(0, {11, 0}, {.orders = orders(1)});
    try_all(2, {11, 0}, {.orders = orders(2), .nsite = 512});
}

} // namespace
