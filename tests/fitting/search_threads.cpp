// Searches on a team.
#include "tests/fitting/search.h"

#include <gtest/gtest.h>

namespace {

using namespace nvo::tests;

// Chunks end inside the groups that are searched side by side, and sites may be fewer than threads. The kind that knows
// nothing works in blocks of 2048, from 101 breakpoints on.
TEST(SearchOfThreads, GivesTheCellsOfOneThread) {
    std::mt19937 random(1);
    const std::vector<std::int64_t> counts = {1, 2, 3, 7, 100, 2047, 2048, 2049, 4095, 4096, 4097, 6145, 20001};
    for (const std::int64_t nx : {3, 100, 101, 3000}) {
        const auto x = nearly_even_breaks<double>(nx);
        const double ends[] = {x.front(), x.back()};
        std::uniform_real_distribution<double> any(x.front() - 1, x.back() + 1);
        std::vector<double> sites(20001);
        for (double& t : sites) t = random() % 10 == 0 ? x[random() % x.size()] : any(random);
        std::vector<double> sorted = sites;
        std::sort(sorted.begin(), sorted.end());
        const double peak[] = {0, 1, 0, 0, 1};
        const std::vector<double> between = {x.front() - 1, x.back()};
        const FitTask<double> free(nx, x.data(), DF_GRID_FREE, 0, nullptr), even(nx, ends, DF_GRID_EVEN, 0, nullptr);
        const FitTask<double> near(nx, x.data(), DF_GRID_NEAR_EVEN, 0, nullptr);
        struct Case {
            DFTask1D* task;
            const std::vector<double>& sites;
            SearchCall<double> call;
        } const cases[] = {{free.get(), sites, {}},
                           {free.get(), sites, {.datahint = peak}},
                           {free.get(), sorted, {.sitehint = DF_SITE_SORTED}},
                           {free.get(), sites, {.sitehint = DF_SITE_SORTED}}, // not as promised
                           {free.get(), between, {.sitehint = DF_SITE_EVEN}},
                           {near.get(), sites, {}},
                           {even.get(), sites, {}}};
        for (const Case& c : cases) {
            for (const std::int64_t count : counts) {
                SearchCall<double> call = c.call;
                call.nsite = count;
                const Cells serial = search(c.task, true, c.sites, call);
                for (const int threads : {2, 3, 5}) {
                    const Team team(threads);
                    call.threading = team.descriptor();
                    ASSERT_EQ(search(c.task, true, c.sites, call).cell, serial.cell)
                        << "case " << &c - cases << " nx " << nx << " sites " << count << " threads " << threads;
                }
            }
        }
    }
}

} // namespace
