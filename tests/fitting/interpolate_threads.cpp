// Interpolation on a team, and without memory.
#include "tests/fitting/interpolate.h"

#include "platform/core_testing.h"

#include <gtest/gtest.h>

namespace {

using namespace nvo::tests;

// 4096 sites are for one thread, 4097 for a team, in blocks of 256.
const std::vector<std::int64_t> counts = {4095, 4096, 4097, 4352, 4353, 10000};

template <class R> std::int32_t square(const std::int64_t* n, const std::int64_t*, const R* site, R* r, void*, void*) {
    for (std::int64_t i = 0; i < *n; ++i) r[i] = site[i] * site[i];
    return 0;
}

TEST(InterpolateOfThreads, GivesTheResultsOfOneThread) {
    std::mt19937 random(1);
    for (const ValueShape& model : value_models()) {
        for (const std::uint64_t x_hint : {DF_GRID_IRREGULAR, DF_GRID_EVEN}) {
            ValueShape shape = model;
            shape.x_hint = x_hint;
            ValueSubject<double> subject(shape);
            std::vector<double> sites(10000);
            for (double& site : sites) site = subject.site();
            for (const std::int64_t count : counts) {
                const std::int64_t hints[] = {DF_SITE_FREE, DF_SITE_SORTED, DF_SITE_EVEN};
                ValueCall<double> call{.type = 2,
                                       .sitehint = hints[random() % 3],
                                       .rhint = random() % 2 ? 16 : 256,
                                       .orders = {1, 1},
                                       .nsite = count};
                if (random() % 2) call.orders = {1}, call.left = {square<double>, nullptr};
                const auto serial = interpolate(subject, sites, call);
                const Team team(static_cast<int>(2 + random() % 4));
                call.threading = team.descriptor();
                const auto parallel = interpolate(subject, sites, call);
                ASSERT_EQ(parallel.status, DF_ST_OK);
                ASSERT_EQ(parallel.cells, serial.cells) << shape.text();
                ASSERT_EQ(parallel.r, serial.r) << shape.text();
            }
        }
    }
}

// A descriptor that counts what is asked of it, and runs everything in turn.
struct Asked {
    static inline std::int64_t items, threads;
    static std::int32_t three() { return 3; }
    static void run_for(std::int64_t count, std::int64_t team, void* context, OstTeamBody* body) {
        items = count;
        threads = team;
        for (std::int64_t i = count - 1; i >= 0; --i) body(i, i % team, team, context);
    }
    static constexpr OstThreading descriptor = {run_for, nullptr, nullptr, nullptr, three};
};

TEST(InterpolateOfThreads, StartsAt4097Sites) {
    ValueSubject<double> subject({2, 0});
    const std::vector<double> sites(4400, 1.0);
    for (const auto& [count, items] : {std::pair{4096, 0}, {4097, 16}, {4352, 17}, {4400, 17}}) {
        Asked::items = 0;
        const auto results = interpolate<double>(subject, sites, {.threading = &Asked::descriptor, .nsite = count});
        EXPECT_EQ(Asked::items, items);
        for (const double r : results.r) ASSERT_EQ(r, subject.value(0, 1.0, subject.cell(1.0), 0));
    }
    EXPECT_EQ(Asked::threads, 3);
}

// Whatever the order of the blocks, the first that fails decides, or else the last that called back.
TEST(InterpolateOfThreads, GivesTheStatusOfASerialRun) {
    const std::vector<double> x = {0, 1, 2, 3}, y = {1, 2, 3, 4};
    FitTask<double> task(4, x.data(), DF_GRID_IRREGULAR, 1, y.data());
    task.spline(0, DF_TYPE_LOOK_UP, nullptr);
    std::vector<double> sites(6000, 1.0);
    const auto report = [](const std::int64_t*, const std::int64_t*, const double* site, double* r, void*, void*) {
        r[0] = 0;
        return static_cast<std::int32_t>(-*site);
    };
    const auto run = [&](const OstThreading* threading) {
        return interpolate<double>(task.get(), false, 1, sites, {.left = {report, nullptr}, .threading = threading});
    };
    const Team team(4);
    const auto expect = [&](std::int32_t status) {
        EXPECT_EQ(run(nullptr).status, status);
        EXPECT_EQ(run(&Asked::descriptor).status, status);
        EXPECT_EQ(run(team.descriptor()).status, status);
    };
    expect(0);
    sites[300] = -7; // a callback returns 7
    expect(7);
    sites[2000] = -8;
    expect(8);
    sites[5999] = -9; // behind the team's blocks
    expect(9);
    sites[4000] = 0.5; // a miss
    expect(DF_ST_LOOKUP_MISS);
    sites[5000] = 0.5;
    expect(DF_ST_LOOKUP_MISS);
}

// ---- memory --------------------------------------------------------------------------------------------------------

// With every allocation in turn refused: a call fails and gives everything back, or needed none.
TEST(InterpolateMemory, AnyBlockMayBeMissing) {
    const auto try_all = [](const ValueShape& shape, ValueCall<double> call, long allocations) {
        ValueSubject<double> subject(shape);
        std::vector<double> sites(5000);
        for (double& site : sites) site = subject.site();
        const long blocks = nvo_core_testing_live_blocks();
        for (long n = 1;; ++n) {
            nvo_core_testing_fail_allocation(n);
            const auto results = interpolate(subject, sites, call);
            if (nvo_core_testing_fail_allocation(0) > 0) {
                EXPECT_EQ(results.status, DF_ST_OK);
                EXPECT_EQ(n - 1, allocations) << shape.text();
                return;
            }
            EXPECT_EQ(results.status, DF_ST_NO_MEMORY);
            EXPECT_EQ(nvo_core_testing_live_blocks(), blocks);
            // Staging is the first block, taken before anything is written.
            if (n == 1) {
                EXPECT_EQ(std::count(results.r.begin(), results.r.end(), untouched_result<double>),
                          static_cast<std::ptrdiff_t>(results.r.size()));
            }
        }
    };
    const ValueCallback<double> cb = {square<double>, nullptr};
    // Straight into r; staged on the stack up to 8 results of a site for all threads; allocated above that.
    try_all({4, 0}, {.rhint = 16, .orders = std::vector<int>(40, 1)}, 0);
    try_all({4, 0}, {.rhint = 32, .orders = std::vector<int>(8, 1)}, 0);
    try_all({4, 0}, {.rhint = 32, .orders = std::vector<int>(9, 1)}, 1);
    try_all({4, 0}, {.rhint = 256, .orders = std::vector<int>(2, 1), .threading = &Asked::descriptor}, 0);
    try_all({4, 0}, {.rhint = 512, .orders = std::vector<int>(3, 1), .threading = &Asked::descriptor}, 1);
    ValueShape functions{4, 0};
    functions.ny = 9;
    try_all(functions, {.rhint = 256}, 1);
    try_all({4, 0}, {.rhint = 16, .orders = std::vector<int>(12, 1), .right = {}}, 0);
    try_all({4, 0}, {.rhint = 16, .left = cb, .nsite = 200}, 0);
    // Coefficients of arbitrary models are worked on in a block of their own from order 11 on, if there are
    // derivatives.
    try_all({10, 0}, {.orders = {1, 1}}, 0);
    try_all({11, 0}, {.orders = {1}}, 0);
    try_all({11, 0}, {.orders = {1, 1}, .nsite = 512}, 2);
}

} // namespace
