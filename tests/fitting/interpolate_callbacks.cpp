// Callbacks of interpolation: which sites they get, where their results go, what their statuses do.
#include "tests/fitting/interpolate.h"

#include <gtest/gtest.h>
#include <map>

namespace {

using namespace nvo::tests;

template <class R> class InterpolateCallbacks : public testing::Test {};
using Reals = testing::Types<float, double>;
TYPED_TEST_SUITE(InterpolateCallbacks, Reals);

// Notes its sites with their cells, and gives result k of function f at a site s the value 1000 f + 100 k + s.
template <class R> struct Recorder {
    std::int64_t functions = 1, results = 1;
    std::vector<std::int32_t> statuses = {}; // of call after call; 0 behind the last
    std::vector<R> sites = {};
    std::vector<std::int64_t> cells = {}, counts = {};

    static R value(std::int64_t f, std::int64_t k, R site) { return static_cast<R>(1000 * f + 100 * k) + site; }

    static std::int32_t record(const std::int64_t* n, const std::int64_t* cell, const R* site, R* r, void* params,
                               void* reserved) {
        auto& self = *static_cast<Recorder*>(params);
        EXPECT_EQ(reserved, nullptr);
        EXPECT_GT(*n, 0);
        self.sites.insert(self.sites.end(), site, site + *n);
        self.cells.insert(self.cells.end(), cell, cell + *n);
        self.counts.push_back(*n);
        for (std::int64_t f = 0; f < self.functions; ++f)
            for (std::int64_t i = 0; i < *n; ++i)
                for (std::int64_t k = 0; k < self.results; ++k) *r++ = value(f, k, site[i]);
        const std::size_t call = self.counts.size() - 1;
        return call < self.statuses.size() ? self.statuses[call] : 0;
    }
};

template <class R> bool is_left(const ValueSubject<R>& s, R site) { return site < s.left_end(); }
template <class R> bool is_right(const ValueSubject<R>& s, R site) { return site > s.right_end(); }

TYPED_TEST(InterpolateCallbacks, GetTheirSitesAndNoOthers) {
    using R = TypeParam;
    std::mt19937 random(3);
    for (std::uint32_t round = 0; round < 600; ++round) {
        ValueShape shape = value_models()[round % value_models().size()];
        shape.x_hint = random() % 2 ? DF_GRID_EVEN : DF_GRID_IRREGULAR;
        shape.ny = 1 + random() % 3;
        shape.wide = random() % 2;
        ValueSubject<R> subject(shape, round);
        const std::vector<std::vector<int>> orders = {{1}, {1, 1}, {0, 1, 0, 1}, {}, {1, 1, 1, 1, 1, 1}};
        ValueCall<R> call{.type = std::int64_t{1} << random() % 3, .orders = orders[random() % orders.size()]};
        const std::int64_t layouts[] = {16, 32, 256, 512};
        call.rhint = layouts[random() % 4];
        Recorder<R> left{shape.ny, call.results()}, right = left, inner = left;
        const std::uint32_t subset = 1 + random() % 7;
        if (subset & 1) call.left = {Recorder<R>::record, &left};
        if (subset & 2) call.right = {Recorder<R>::record, &right};
        if (subset & 4) call.inner = {Recorder<R>::record, &inner};
        // Mixed blocks, and blocks of one side.
        std::vector<R> sites(1 + random() % 600);
        for (std::size_t i = 0; i < sites.size(); ++i) {
            do {
                sites[i] = subject.site();
            } while (i >= 256 && i < 512 && is_left(subject, sites[i]) != (round % 2 == 0) && round % 4 < 2);
        }
        for (const R site : sites) call.cells.push_back(call.type == 4 ? subject.cell(site) : untouched);
        const auto results = interpolate(subject, sites, call);
        ASSERT_EQ(results.status, DF_ST_OK) << shape.text();

        Recorder<R> wanted_left, wanted_right, wanted_inner;
        for (std::size_t i = 0; i < sites.size(); ++i) {
            const R site = sites[i];
            const std::int64_t cell = subject.cell(site);
            ASSERT_EQ(results.cells[i], call.type == 1 ? untouched : cell);
            auto& group = is_left(subject, site) ? wanted_left : is_right(subject, site) ? wanted_right : wanted_inner;
            group.sites.push_back(site);
            group.cells.push_back(cell);
            const bool called = subset & (&group == &wanted_left ? 1 : &group == &wanted_right ? 2 : 4);
            for (std::int64_t f = 0; f < shape.ny; ++f) {
                std::int64_t k = 0;
                for (std::size_t d = 0; d < call.orders.size(); ++d) {
                    if (!call.orders[d]) continue;
                    const R got = results.r[place(call.rhint, shape.ny, static_cast<std::int64_t>(sites.size()),
                                                  call.results(), f, static_cast<std::int64_t>(i), k)];
                    ASSERT_EQ(got, called ? Recorder<R>::value(f, k, site)
                                          : subject.value(f, site, cell, static_cast<std::int64_t>(d)))
                        << shape.text() << " site " << site;
                    ++k;
                }
            }
        }
        for (const auto& [got, wanted, bit] :
             {std::tuple{&left, &wanted_left, 1U}, {&right, &wanted_right, 2U}, {&inner, &wanted_inner, 4U}}) {
            if (!(subset & bit)) continue;
            ASSERT_EQ(got->sites, wanted->sites);
            ASSERT_EQ(got->cells, wanted->cells);
        }
    }
}

// Any order and type that names no model is one of callbacks. A task of no functions has one.
TYPED_TEST(InterpolateCallbacks, MayBeTheWholeModel) {
    using R = TypeParam;
    const std::vector<R> x = {0, 1, 2};
    FitTask<R> task(3, x.data(), DF_GRID_IRREGULAR, 0, nullptr);
    task.spline(0, 99, nullptr);
    Recorder<R> left{1, 2}, right{1, 2}, inner{1, 2};
    const ValueCall<R> call{.orders = {1, 0, 1},
                            .left = {Recorder<R>::record, &left},
                            .right = {Recorder<R>::record, &right},
                            .inner = {Recorder<R>::record, &inner}};
    const R nan = std::numeric_limits<R>::quiet_NaN();
    const auto results = interpolate<R>(task.get(), false, 1, {R(-0.5), 0, R(0.5), 2, 5, nan}, call);
    EXPECT_EQ(results.status, DF_ST_OK);
    for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(results.r[2 * i] + 100, results.r[2 * i + 1]);
    EXPECT_EQ(left.cells, std::vector<std::int64_t>{0});
    EXPECT_EQ(inner.cells, (std::vector<std::int64_t>{1, 1, 2, 3})); // a NaN lies nowhere, and isn't outside
    EXPECT_EQ(right.cells, std::vector<std::int64_t>{3});
}

// In the right end of the partition a step takes its last value, with and without callbacks.
TYPED_TEST(InterpolateCallbacks, LeaveTheRightEndInside) {
    using R = TypeParam;
    for (const ValueShape& model : value_models()) {
        ValueSubject<R> subject(model);
        Recorder<R> outside;
        const ValueCall<R> call{.left = {Recorder<R>::record, &outside}, .right = {Recorder<R>::record, &outside}};
        const R end = subject.right_end();
        EXPECT_EQ(interpolate<R>(subject, {end}, call).r, interpolate<R>(subject, {end}, {}).r) << model.text();
        EXPECT_TRUE(outside.sites.empty());
    }
}

TYPED_TEST(InterpolateCallbacks, PassTheirStatusesOn) {
    using R = TypeParam;
    ValueSubject<R> subject({4, DF_TYPE_AKIMA});
    const R low = subject.left_end() - 1, mid = subject.right_end() / 2, high = subject.right_end() + 1;
    const auto run = [&](std::vector<std::int32_t> left_statuses, std::vector<std::int32_t> right_statuses,
                         const std::vector<R>& sites) {
        Recorder<R> left{.statuses = std::move(left_statuses)}, right{.statuses = std::move(right_statuses)};
        return interpolate<R>(subject, sites,
                              {.left = {Recorder<R>::record, &left}, .right = {Recorder<R>::record, &right}});
    };
    std::vector<R> sites(600, mid);
    sites[10] = sites[300] = sites[310] = low; // blocks 0 and 1
    sites[20] = sites[550] = high;             // blocks 0 and 2
    EXPECT_EQ(run({3, 4}, {5, 6}, sites).status, 6);
    EXPECT_EQ(run({3, 4}, {5, 0}, sites).status, 0);
    EXPECT_EQ(run({3, 4}, {5}, std::vector<R>(sites.begin(), sites.begin() + 512)).status, 4);
    EXPECT_EQ(run({3, 4}, {5, 6}, std::vector<R>(600, mid)).status, 0);
    // A negative one stops the work: its block and those behind it aren't written.
    const auto failed = run({3, -9}, {5, 6}, sites);
    EXPECT_EQ(failed.status, -9);
    for (std::size_t i = 0; i < 600; ++i) EXPECT_EQ(failed.r[i] == untouched_result<R>, i >= 256) << i;
}

// ---- the search callback
// -----------------------------------------------------------------------------------------------

template <class R> struct Searcher {
    std::vector<R> x;
    std::vector<std::int32_t> statuses = {};
    std::int64_t offset = 0; // from the right cell
    std::int32_t flag = 0;
    std::vector<std::int64_t> counts = {};

    static std::int32_t search(const std::int64_t* n, const R* site, std::int64_t* cell, std::int32_t* flag,
                               void* params, void* side) {
        auto& self = *static_cast<Searcher*>(params);
        EXPECT_EQ(side, nullptr);
        for (std::int64_t i = 0; i < *n; ++i) {
            cell[i] = counted_cell(self.x, site[i]) + self.offset;
            flag[i] = self.flag;
        }
        self.counts.push_back(*n);
        const std::size_t call = self.counts.size() - 1;
        return call < self.statuses.size() ? self.statuses[call] : 0;
    }
};

TYPED_TEST(InterpolateCallbacks, SearchBlockByBlock) {
    using R = TypeParam;
    ValueSubject<R> subject({4, DF_TYPE_AKIMA});
    std::vector<R> sites(600);
    for (R& site : sites) site = subject.uniform(subject.left_end(), subject.right_end());
    sites[300] = subject.right_end() + 1;
    const auto plain = interpolate<R>(subject, sites, {.type = 2});
    const auto run = [&](Searcher<R> searcher, ValueCall<R> call) {
        call.search_cb = Searcher<R>::search;
        call.search_params = &searcher;
        return std::pair{interpolate<R>(subject, sites, call), searcher.counts};
    };
    const Searcher<R> good{.x = subject.breaks()};
    Searcher<R> s = good;
    s.offset = 3;
    s.statuses = {1, 2, 3};
    const auto [results, counts] = run(s, {.type = 2});
    EXPECT_EQ(results.status, 3);
    EXPECT_EQ(results.r, plain.r);
    EXPECT_EQ(results.cells[5], plain.cells[5]);
    EXPECT_EQ(counts, (std::vector<std::int64_t>{256, 256, 88}));
    // With callbacks for sites outside, it searches the others only.
    Recorder<R> outside{.statuses = {7}};
    const auto [split, split_counts] = run(good, {.right = {Recorder<R>::record, &outside}});
    EXPECT_EQ(split_counts, (std::vector<std::int64_t>{256, 255, 88}));
    EXPECT_EQ(split.status, 0); // of the last search
    // Cells that are said to be final, and are anywhere, are evaluated as the nearest that exist.
    s = good;
    s.flag = 1;
    s.offset = 1'000'000;
    const auto far = run(s, {.type = 2}).first;
    EXPECT_EQ(far.status, DF_ST_OK);
    EXPECT_EQ(far.cells[7], plain.cells[7] + 1'000'000);
    EXPECT_EQ(far.r[7], subject.value(0, sites[7], subject.shape().nx, 0));
    // Statuses.
    s = good;
    s.statuses = {0, 0, 4};
    EXPECT_EQ(run(s, {}).first.status, 4);
    s.statuses = {0, 4, 1000};
    EXPECT_EQ(run(s, {}).first.status, 0);
    s.statuses = {0, -4};
    const auto failed = run(s, {}).first;
    EXPECT_EQ(failed.status, -4);
    EXPECT_EQ(failed.r[255], plain.r[255]);
    EXPECT_EQ(failed.r[256], untouched_result<R>);
    // Not asked where the cells are given.
    EXPECT_TRUE(run(good, {.type = 4, .cells = plain.cells}).second.empty());
}

} // namespace
