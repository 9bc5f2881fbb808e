// The task: record, creation with its locator table, edits, queries, deletion.

#include "fitting/task.h"

#include "platform/core_testing.h"
#include "tests/support/fitting.h"

#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using namespace nvo::fitting;
using nvo::tests::Fit;
using nvo::tests::FitTask;

template <class R> class Task : public testing::Test {
protected:
    static constexpr std::int64_t nx = 5, ny = 3;
    std::array<R, nx> x = {0, 1, 3, 4, 10};
    std::array<R, nx * ny> y{};
    std::array<R, 64> coeff{};
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Task, Precisions);

template <class R> const TaskRecord<R>& record(const FitTask<R>& task) { return record_of<R>(task.get()); }

// ---- creation ------------------------------------------------------------------------------------------------------

TYPED_TEST(Task, HoldsWhatItWasGiven) {
    using R = TypeParam;
    for (const std::uint64_t hint : {DF_Y_DEFAULT, DF_Y_BY_ROWS, DF_Y_BY_COLS, DF_Y_SEPARATE}) {
        FitTask<R> task(this->nx, this->x.data(), DF_GRID_IRREGULAR, this->ny, this->y.data(), hint, 7);
        const auto& r = record(task);
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(&r) % 128);
        EXPECT_EQ(7U, r.cell_wide);
        EXPECT_EQ(4, r.format_byte);
        EXPECT_EQ(sizeof(R) == 8, r.precision);
        EXPECT_EQ(1, r.editable);
        EXPECT_EQ(this->nx, r.nx);
        EXPECT_EQ(this->x.data(), r.x);
        EXPECT_EQ(this->ny, r.ny);
        EXPECT_EQ(hint, r.y_hint);
        EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(r.y) % 128);
        EXPECT_EQ(this->y.data(), r.y[0]);
        if (hint == DF_Y_BY_COLS) continue; // has no more entries
        for (std::int64_t i = 1; i < this->ny; ++i)
            EXPECT_EQ(hint == DF_Y_SEPARATE ? nullptr : this->y.data() + i * this->nx, r.y[i]);
    }
}

TYPED_TEST(Task, CreationReportsTheFirstFault) {
    using R = TypeParam;
    const R *x = this->x.data(), *y = this->y.data();
    const struct {
        std::int32_t status;
        std::int64_t nx;
        const R* x;
        std::uint64_t x_hint;
        std::int64_t ny;
        const R* y;
        std::uint64_t y_hint;
    } cases[] = {
        {DF_ST_BAD_NX, 1, nullptr, 3, 0, y, 0x30},   {DF_ST_BAD_NX, -5, x, 0, 1, y, 0},
        {DF_ST_BAD_X, 2, nullptr, 3, 0, y, 0x30},    {DF_ST_BAD_X_HINT, 2, x, 3, 0, y, 0x30},
        {DF_ST_BAD_X_HINT, 2, x, 5, 0, y, 0x30},     {DF_ST_BAD_X_HINT, 2, x, ~0ULL, 1, y, 0},
        {DF_ST_BAD_NY, 2, x, 4, 0, y, 0x30},         {DF_ST_BAD_NY, 2, x, 4, -1, y, 0},
        {DF_ST_BAD_Y, 2, x, 2, 1, nullptr, 0x30},    {DF_ST_BAD_Y, 2, x, 2, -1, nullptr, 0},
        {DF_ST_BAD_Y_HINT, 2, x, 1, 1, y, 0x30},     {DF_ST_BAD_Y_HINT, 2, x, 0, 0, nullptr, 0x11},
        {DF_ST_BAD_Y_HINT, 2, x, 0, 1, y, 0x40},     {DF_ST_NO_MEMORY, 5, x, 0, INT64_MAX / 2, y, 0},
        {DF_ST_NO_MEMORY, 5, x, 0, 1LL << 59, y, 0},
    };
    for (const auto& c : cases) {
        const long blocks = nvo_core_testing_live_blocks();
        auto* const untouched = reinterpret_cast<DFTask1D*>(this);
        DFTask1D* task = untouched;
        EXPECT_EQ(c.status, Fit<R>::new_task(&task, c.nx, c.x, c.x_hint, c.ny, c.y, c.y_hint, 0));
        if (c.status == DF_ST_NO_MEMORY) {
            EXPECT_EQ(DF_ST_OK, nvo_df_kernel_DeleteTask(&task));
        } else {
            EXPECT_EQ(untouched, task);
        }
        EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
    }
    EXPECT_EQ(nullptr, record(FitTask<R>(2, x, DF_GRID_FREE, 0, nullptr)).y);
}

// ---- the locator table ---------------------------------------------------------------------------------------------

// The bucket of each breakpoint first, then each entry by its definition.
template <class R>
std::vector<std::array<std::uint64_t, 2>> direct_table(const std::vector<R>& x, std::uint64_t count) {
    const std::uint64_t nx = x.size();
    const R scale = static_cast<R>(count) / (x.back() - x.front());
    std::vector<std::uint64_t> first_above(count + 2, nx - 1), last_below(count + 2, 0);
    for (std::uint64_t k = nx - 1; k >= 1; --k) {
        const auto b = static_cast<std::uint64_t>((x[k] - x[0]) * scale);
        for (std::uint64_t i = 0; i + 1 < count && i < b; ++i) first_above[i] = k;
        for (std::uint64_t i = b + 1; b > 0 && i < count; ++i) last_below[i] = std::max(last_below[i], k);
    }
    std::vector<std::array<std::uint64_t, 2>> table(count);
    for (std::uint64_t i = 0; i < count; ++i) table[i] = {last_below[i], first_above[i]};
    table.push_back(table.back());
    return table;
}

TYPED_TEST(Task, LocatorTableIsThatOfADirectModel) {
    using R = TypeParam;
    std::mt19937 random(1);
    const std::pair<std::int64_t, std::uint64_t> sizes[] = {{2, 16},     {16, 16},      {271, 16},     {272, 17},
                                                            {5000, 312}, {16383, 1023}, {16384, 1024}, {40000, 1024}};
    for (const auto& [nx, buckets] : sizes) {
        for (const double least : {1.0, 0.5, 1e-3}) { // even, random, random and graded
            std::vector<R> x(static_cast<std::size_t>(nx));
            R at = -3;
            for (R& breakpoint : x)
                breakpoint = at += static_cast<R>(std::pow(least, std::uniform_real_distribution(-1.0, 1.0)(random)));
            FitTask<R> task(nx, x.data(), DF_GRID_FREE, 0, nullptr);
            const auto& r = record(task);
            ASSERT_EQ(buckets, r.bucket_count);
            EXPECT_EQ(static_cast<R>(buckets) / (x.back() - x.front()), r.bucket_scale);
            const auto expected = direct_table(x, buckets);
            for (std::size_t b = 0; b < expected.size(); ++b) {
                ASSERT_EQ(expected[b][0], r.bucket_table[b].low) << nx << ", bucket " << b;
                ASSERT_EQ(expected[b][1], r.bucket_table[b].high) << nx << ", bucket " << b;
            }
        }
    }
}

TYPED_TEST(Task, LocatorTableStaysInsideOnAnyPartition) {
    using R = TypeParam;
    constexpr R inf = std::numeric_limits<R>::infinity(), nan = std::numeric_limits<R>::quiet_NaN(),
                largest = std::numeric_limits<R>::max();
    const std::vector<R> partitions[] = {
        {1, 1},         {1, 1, 1, 1},    {4, 3, 2, 1},        {0, 5, -5, 1},          {0, nan, 1},    {nan, nan, nan},
        {-inf, 0, inf}, {0, inf, 0, 1},  {-largest, largest}, {0, largest, 1},        {0, 1, 2, nan}, {nan, 1, 2, 3},
        {0, -1, -2, 3}, {0, 100, 50, 1}, {5, 5, 6, 5},        {-largest, 0, largest},
    };
    for (const auto& x : partitions) {
        FitTask<R> task(static_cast<std::int64_t>(x.size()), x.data(), DF_GRID_FREE, 0, nullptr);
        const auto& r = record(task);
        for (std::uint64_t b = 0; b <= r.bucket_count; ++b) {
            EXPECT_LT(r.bucket_table[b].low, x.size());
            EXPECT_LT(r.bucket_table[b].high, x.size());
        }
    }
}

TYPED_TEST(Task, LocatorTableIsMadeAnewForAnIrregularGridAlone) {
    using R = TypeParam;
    std::vector<R> x(1000);
    std::iota(x.begin(), x.end(), R(0));
    FitTask<R> task(2, x.data(), DF_GRID_EVEN, 0, nullptr);
    const auto& r = record(task);
    EXPECT_EQ(nullptr, r.bucket_table);
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(task.get(), DF_ATTR_NX, 1000));
    for (const std::int64_t hint : {DF_GRID_FREE, DF_GRID_NEAR_EVEN, DF_GRID_EVEN}) {
        EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(task.get(), DF_ATTR_X_HINT, hint));
        EXPECT_EQ(nullptr, r.bucket_table);
    }
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(task.get(), DF_ATTR_X_HINT, DF_GRID_IRREGULAR));
    ASSERT_NE(nullptr, r.bucket_table);
    EXPECT_EQ(1000U / 16, r.bucket_count);
    EXPECT_EQ(direct_table(x, 62)[40][1], r.bucket_table[40].high);
    const auto* table = r.bucket_table;
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(task.get(), DF_ATTR_NX, 10));
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(task.get(), DF_ATTR_X_HINT, DF_GRID_EVEN));
    EXPECT_EQ(table, r.bucket_table);
    EXPECT_EQ(62U, r.bucket_count);
}

// ---- pointers ------------------------------------------------------------------------------------------------------

TYPED_TEST(Task, PointersAreEditedAndQueried) {
    using R = TypeParam;
    FitTask<R> task(this->nx, this->x.data(), DF_GRID_FREE, this->ny, this->y.data());
    const struct {
        std::int64_t attribute;
        std::int32_t of_null;
    } cases[] = {{DF_ATTR_X, DF_ST_BAD_X},
                 {DF_ATTR_Y, DF_ST_BAD_Y},
                 {DF_ATTR_IC, DF_ST_BAD_IC},
                 {DF_ATTR_BC, DF_ST_BAD_BC},
                 {DF_ATTR_COEFF, DF_ST_BAD_COEFF}};
    const R* out = nullptr;
    EXPECT_EQ(DF_ST_BAD_COEFF, Fit<R>::query(task.get(), DF_ATTR_COEFF, &out)) << "none yet";
    for (const auto& c : cases) {
        const R* pointer = &this->coeff[static_cast<std::size_t>(c.attribute)];
        EXPECT_EQ(c.of_null, Fit<R>::edit(task.get(), c.attribute, nullptr));
        EXPECT_EQ(DF_ST_OK, Fit<R>::edit(task.get(), c.attribute, pointer));
        EXPECT_EQ(c.of_null, Fit<R>::edit(task.get(), c.attribute, nullptr));
        EXPECT_EQ(DF_ST_OK, Fit<R>::query(task.get(), c.attribute, &out));
        EXPECT_EQ(pointer, out);
        EXPECT_EQ(DF_ST_NO_OUTPUT, Fit<R>::query(task.get(), c.attribute, nullptr));
    }
    for (const std::int64_t attribute : {-1, 0, 6, 13, 14}) {
        EXPECT_EQ(DF_ST_BAD_ATTRIBUTE, Fit<R>::edit(task.get(), attribute, nullptr));
        EXPECT_EQ(DF_ST_BAD_ATTRIBUTE, Fit<R>::query(task.get(), attribute, &out));
        EXPECT_EQ(DF_ST_BAD_ATTRIBUTE, Fit<R>::edit_index(task.get(), attribute, 0, out));
        EXPECT_EQ(DF_ST_BAD_ATTRIBUTE, Fit<R>::query_index(task.get(), attribute, 0, &out));
    }
}

TYPED_TEST(Task, EntriesAreEditedAndQueriedByIndex) {
    using R = TypeParam;
    const R *entry = &this->coeff[9], *out = nullptr;
    FitTask<R> task(this->nx, this->x.data(), DF_GRID_FREE, this->ny, this->y.data());
    EXPECT_EQ(DF_ST_BAD_COEFF, Fit<R>::edit_index(task.get(), DF_ATTR_COEFF, 0, entry)) << "no array yet";
    EXPECT_EQ(DF_ST_BAD_COEFF, Fit<R>::query_index(task.get(), DF_ATTR_COEFF, 0, &out));
    task.spline(2, 0, this->coeff.data(), 0, nullptr, 0, nullptr, DF_Y_SEPARATE);
    for (const std::int64_t attribute : {DF_ATTR_Y, DF_ATTR_COEFF}) {
        const std::int32_t missing = attribute == DF_ATTR_Y ? DF_ST_BAD_Y : DF_ST_BAD_COEFF;
        for (const std::int64_t index : {std::int64_t{-1}, this->ny, INT64_MAX}) {
            EXPECT_EQ(DF_ST_BAD_INDEX, Fit<R>::edit_index(task.get(), attribute, index, nullptr));
            EXPECT_EQ(DF_ST_BAD_INDEX, Fit<R>::query_index(task.get(), attribute, index, &out));
        }
        EXPECT_EQ(missing, Fit<R>::edit_index(task.get(), attribute, 2, nullptr));
        EXPECT_EQ(DF_ST_OK, Fit<R>::edit_index(task.get(), attribute, 2, entry));
        EXPECT_EQ(DF_ST_OK, Fit<R>::query_index(task.get(), attribute, 2, &out));
        EXPECT_EQ(entry, out);
        EXPECT_EQ(DF_ST_NO_OUTPUT, Fit<R>::query_index(task.get(), attribute, 99, nullptr));
        EXPECT_EQ(DF_ST_OK, Fit<R>::query_index(task.get(), attribute, 0, &out));
        EXPECT_EQ(attribute == DF_ATTR_Y ? this->y.data() : this->coeff.data(), out);
    }
    EXPECT_EQ(DF_ST_OK, Fit<R>::query_index(task.get(), DF_ATTR_COEFF, 1, &out));
    EXPECT_EQ(nullptr, out) << "of separate blocks the first alone is set";

    // An array doesn't grow with ny, and by columns there is no entry but the first.
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(task.get(), DF_ATTR_NY, 100));
    for (const std::int64_t attribute : {DF_ATTR_Y, DF_ATTR_COEFF}) {
        EXPECT_EQ(DF_ST_BAD_INDEX, Fit<R>::edit_index(task.get(), attribute, 50, entry));
        EXPECT_EQ(DF_ST_BAD_INDEX, Fit<R>::query_index(task.get(), attribute, 50, &out));
    }
    EXPECT_EQ(DF_ST_BAD_Y, Fit<R>::linear(task.get(), 0, 0, nullptr));
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(task.get(), DF_ATTR_Y_HINT, DF_Y_BY_COLS));
    EXPECT_EQ(DF_ST_BAD_Y_HINT, Fit<R>::edit_index(task.get(), DF_ATTR_Y, 999, nullptr));
    EXPECT_EQ(DF_ST_BAD_Y_HINT, Fit<R>::query_index(task.get(), DF_ATTR_Y, 0, &out));
    EXPECT_EQ(DF_ST_BAD_INDEX, Fit<R>::query_index(task.get(), DF_ATTR_Y, 100, &out));
}

TYPED_TEST(Task, CoefficientBlocksLieAsFarApartAsTheirTypeSays) {
    using R = TypeParam;
    FitTask<R> task(this->nx, this->x.data(), DF_GRID_FREE, this->ny, this->y.data());
    const struct {
        std::int64_t order, type, stride;
    } cases[] = {{2, 0, 8}, {3, 0, 12}, {3, 1, 15}, {4, 0, 16}, {4, 1, 20}, {7, 9, 28}, {0, 6, 0}};
    for (const auto& c : cases) {
        task.spline(c.order, c.type, this->coeff.data());
        for (std::int64_t i = 0; i < this->ny; ++i) {
            const R* out = nullptr;
            EXPECT_EQ(DF_ST_OK, Fit<R>::query_index(task.get(), DF_ATTR_COEFF, i, &out));
            EXPECT_EQ(this->coeff.data() + i * c.stride, out) << c.order << " " << c.type;
        }
    }
    EXPECT_EQ(DF_ST_NO_MEMORY, Fit<R>::edit_spline(task.get(), INT64_MAX / 2, 0, 0, nullptr, 0, nullptr,
                                                   this->coeff.data(), DF_Y_DEFAULT));
}

// ---- the spline's description --------------------------------------------------------------------------------------

TYPED_TEST(Task, SplineDescriptionStoresUpToTheFirstFault) {
    using R = TypeParam;
    R* const p = this->coeff.data();
    const struct {
        std::int32_t status;
        std::int64_t order, type;
        std::uint64_t bc_type;
        const R* bc;
        std::uint64_t ic_type;
        const R* ic;
        int stored; // 1 order and type, 2 bc, 3 ic
    } cases[] = {
        {DF_ST_BAD_ORDER, -1, -1, 12, nullptr, 1, nullptr, 0},
        {DF_ST_BAD_TYPE, 3, -1, 12, nullptr, 1, nullptr, 0},
        {DF_ST_BAD_BC, 3, 6, 12, nullptr, 1, nullptr, 1},
        {DF_ST_BAD_BC, 3, 7, 3, nullptr, 0, nullptr, 1},
        {DF_ST_BAD_BC, 3, 8, 128, nullptr, 0, nullptr, 1},
        {DF_ST_BAD_IC, 3, 1, 12, p, 1, nullptr, 2},
        {DF_ST_BAD_IC_TYPE, 3, 1, 64, nullptr, 0, p, 2},
        {DF_ST_OK, 3, 1, 2, nullptr, 0, nullptr, 3},
        {DF_ST_OK, 4, 9, 64, nullptr, 3, p, 3},
        {DF_ST_OK, 0, 6, 77, p, 8, p + 1, 3},
    };
    for (const auto& c : cases) {
        FitTask<R> task(this->nx, this->x.data(), DF_GRID_FREE, this->ny, this->y.data());
        task.spline(2, 2, p + 2, 1, nullptr, 2, p + 3);
        const auto& r = record(task);
        EXPECT_EQ(c.status, Fit<R>::edit_spline(task.get(), c.order, c.type, c.bc_type, c.bc, c.ic_type, c.ic, p,
                                                c.status == DF_ST_OK ? 0x99 : 0));
        EXPECT_EQ(c.stored >= 1 ? c.order : 2, r.s_order);
        EXPECT_EQ(c.stored >= 1 ? c.type : 2, r.s_type);
        EXPECT_EQ(c.stored >= 2 ? c.bc_type : 1, r.bc_type);
        EXPECT_EQ(c.stored >= 2 ? c.bc : nullptr, r.bc);
        EXPECT_EQ(c.stored >= 3 ? c.ic_type : 2, r.ic_type);
        EXPECT_EQ(c.stored >= 3 ? c.ic : p + 3, r.ic);
        EXPECT_EQ(c.stored >= 3 ? p : p + 2, r.coeff[0]);
        EXPECT_EQ(c.stored >= 3 ? 0x99U : 0U, r.coeff_hint); // not tested here
    }
    FitTask<R> bare(this->nx, this->x.data(), DF_GRID_FREE, 0, nullptr);
    EXPECT_EQ(DF_ST_BAD_NY, Fit<R>::edit_spline(bare.get(), 2, 0, 0, nullptr, 0, nullptr, p, DF_Y_BY_ROWS));
    EXPECT_EQ(0U, record(bare).coeff_hint);
    EXPECT_EQ(DF_ST_OK, Fit<R>::edit_spline(bare.get(), 2, 0, 0, nullptr, 0, nullptr, nullptr, DF_Y_BY_ROWS));
    EXPECT_EQ(std::uint64_t{DF_Y_BY_ROWS}, record(bare).coeff_hint);
    EXPECT_EQ(DF_ST_BAD_NY, Fit<R>::edit(bare.get(), DF_ATTR_COEFF, p));
    EXPECT_EQ(DF_ST_BAD_NY, Fit<R>::edit(bare.get(), DF_ATTR_Y, p));
}

// ---- integer attributes --------------------------------------------------------------------------------------------

TYPED_TEST(Task, IntegersAreCheckedStoredAndQueried) {
    using R = TypeParam;
    constexpr std::int64_t big = 0x500000000;
    const struct {
        std::int64_t attribute;
        std::vector<std::int64_t> taken, refused;
        std::int32_t status;
    } cases[] = {
        {DF_ATTR_NX, {2, 3, big}, {1, 0, -1, INT64_MIN}, DF_ST_BAD_NX},
        {DF_ATTR_X_HINT, {0, 2, 4}, {3, 5, -1, big}, DF_ST_BAD_X_HINT},
        {DF_ATTR_NY, {1, 9, big}, {0, -1}, DF_ST_BAD_NY},
        {DF_ATTR_Y_HINT, {0, 0x10, 0x20, 0x80}, {1, 0x30, 0x11, 0x40, 0x100, -1}, DF_ST_BAD_Y_HINT},
        {DF_ATTR_ORDER, {0, 1, 4, big}, {-1, INT64_MIN}, DF_ST_BAD_ORDER},
        {DF_ATTR_TYPE, {0, 1, 5, 9}, {6, 7, 8, 10, -1}, DF_ST_BAD_TYPE},
        {DF_ATTR_IC_TYPE, {0, 1, 2, 8, 11, 12, -1}, {3, 4, 7, 16}, DF_ST_BAD_IC_TYPE},
        {DF_ATTR_BC_TYPE, {0, 3, 128, big}, {-1, INT64_MIN}, DF_ST_BAD_BC_TYPE},
        {DF_ATTR_COEFF_HINT, {0, 0x10, 0x20, 0x80}, {1, 0x30, -1}, DF_ST_BAD_COEFF_HINT},
        {DF_ATTR_CHECK_FLAG, {0, 1}, {2, -1}, DF_ST_BAD_FLAG},
    };
    for (const std::uint32_t wide : {0, 1}) {
        FitTask<R> task(this->nx, this->x.data(), DF_GRID_FREE, this->ny, this->y.data(), DF_Y_DEFAULT, wide);
        for (const auto& c : cases) {
            for (const std::int64_t value : c.taken) {
                EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(task.get(), c.attribute, value)) << c.attribute;
                for (const std::int64_t refused : c.refused)
                    EXPECT_EQ(c.status, nvo_df_kernel_iEditVal(task.get(), c.attribute, refused))
                        << c.attribute << " " << refused;
                std::int64_t out = 0x7777777777777777;
                EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iQueryVal(task.get(), c.attribute, &out));
                EXPECT_EQ(wide ? value : (value & 0xFFFFFFFF) | 0x7777777700000000, out);
            }
            EXPECT_EQ(DF_ST_NO_OUTPUT, nvo_df_kernel_iQueryVal(task.get(), c.attribute, nullptr));
        }
        std::int64_t out = 0;
        for (const std::int64_t attribute : {1, 13, 24, -1}) {
            EXPECT_EQ(DF_ST_BAD_ATTRIBUTE, nvo_df_kernel_iEditVal(task.get(), attribute, 1));
            EXPECT_EQ(DF_ST_BAD_ATTRIBUTE, nvo_df_kernel_iQueryVal(task.get(), attribute, &out));
        }
    }
}

// ---- tasks that nothing is done with -------------------------------------------------------------------------------

TYPED_TEST(Task, NoTaskIsReportedFirst) {
    using R = TypeParam;
    EXPECT_EQ(DF_ST_NO_TASK, Fit<R>::edit(nullptr, 99, nullptr));
    EXPECT_EQ(DF_ST_NO_TASK, Fit<R>::edit_index(nullptr, 99, -1, nullptr));
    EXPECT_EQ(DF_ST_NO_TASK, Fit<R>::edit_spline(nullptr, -1, -1, 3, nullptr, 3, nullptr, nullptr, 3));
    EXPECT_EQ(DF_ST_NO_TASK, Fit<R>::query(nullptr, 99, nullptr));
    EXPECT_EQ(DF_ST_NO_TASK, Fit<R>::query_index(nullptr, 99, -1, nullptr));
    EXPECT_EQ(DF_ST_NO_TASK, nvo_df_kernel_iEditVal(nullptr, 99, 0));
    EXPECT_EQ(DF_ST_NO_TASK, nvo_df_kernel_iQueryVal(nullptr, 99, nullptr));
    EXPECT_EQ(DF_ST_NO_TASK, Fit<R>::linear(nullptr, 0, 0, nullptr));
    EXPECT_EQ(DF_ST_NO_TASK, Fit<R>::quadratic(nullptr, 0, 0, nullptr));
    EXPECT_EQ(DF_ST_NO_TASK, nvo_df_kernel_DeleteTask(nullptr));
    DFTask1D* task = nullptr;
    EXPECT_EQ(DF_ST_NO_TASK, nvo_df_kernel_DeleteTask(&task));
    EXPECT_EQ(DF_ST_OK, Fit<R>::new_task(&task, this->nx, this->x.data(), 0, 0, nullptr, 0, 0));
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_DeleteTask(&task));
    EXPECT_EQ(nullptr, task);
    EXPECT_EQ(DF_ST_NO_TASK, nvo_df_kernel_DeleteTask(&task));
}

TYPED_TEST(Task, NothingHappensToWhatIsNotEditable) {
    using R = TypeParam;
    FitTask<R> task(this->nx, this->x.data(), DF_GRID_FREE, this->ny, this->y.data());
    record_of<R>(task.get()).editable = 2;
    const R *untouched = &this->coeff[1], *out = untouched;
    std::int64_t value = 77;
    EXPECT_EQ(DF_ST_OK, Fit<R>::edit(task.get(), 99, nullptr));
    EXPECT_EQ(DF_ST_OK, Fit<R>::edit_index(task.get(), 99, -1, nullptr));
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(task.get(), DF_ATTR_NX, 3));
    EXPECT_EQ(DF_ST_OK, Fit<R>::query(task.get(), DF_ATTR_X, &out));
    EXPECT_EQ(DF_ST_OK, Fit<R>::query_index(task.get(), DF_ATTR_Y, 0, &out));
    EXPECT_EQ(DF_ST_BAD_INDEX, Fit<R>::query_index(task.get(), DF_ATTR_Y, this->ny, &out));
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iQueryVal(task.get(), DF_ATTR_NX, &value));
    EXPECT_EQ(untouched, out);
    EXPECT_EQ(77, value);
    EXPECT_EQ(this->nx, record(task).nx);
    task.spline(2, 0, this->coeff.data()); // doesn't look
    EXPECT_EQ(this->coeff.data(), record(task).coeff[0]);
}

// ---- memory --------------------------------------------------------------------------------------------------------

// Calls with a failure of the first allocation, the second, ..., until none fails; returns how many there were.
template <class Call> int fail_each_allocation(Call call) {
    for (int n = 1;; ++n) {
        nvo_core_testing_fail_allocation(n);
        const std::int32_t status = call();
        if (nvo_core_testing_fail_allocation(0) > 0) {
            EXPECT_EQ(DF_ST_OK, status);
            return n - 1;
        }
        EXPECT_EQ(DF_ST_NO_MEMORY, status);
    }
}

TYPED_TEST(Task, EveryAllocationMayFail) {
    using R = TypeParam;
    const long blocks = nvo_core_testing_live_blocks();
    DFTask1D* task = nullptr;
    EXPECT_EQ(3, fail_each_allocation([&] {
                  nvo_df_kernel_DeleteTask(&task);
                  EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
                  const auto status =
                      Fit<R>::new_task(&task, this->nx, this->x.data(), 0, this->ny, this->y.data(), 0, 0);
                  // Edits and queries of what creation left are harmless.
                  const R* out = nullptr;
                  if (task && status != DF_ST_OK) {
                      Fit<R>::query(task, DF_ATTR_Y, &out);
                      Fit<R>::linear(task, 0, 0, nullptr);
                  }
                  return status;
              }));
    const auto& r = record_of<R>(task);
    EXPECT_EQ(blocks + 3, nvo_core_testing_live_blocks());
    R* const coeff = this->coeff.data();
    EXPECT_EQ(1, fail_each_allocation([&] {
                  const auto status = Fit<R>::edit(task, DF_ATTR_Y, this->y.data());
                  EXPECT_EQ(status != DF_ST_OK, r.y == nullptr);
                  return status;
              }));
    EXPECT_EQ(1, fail_each_allocation([&] { return Fit<R>::edit(task, DF_ATTR_COEFF, coeff); }));
    EXPECT_EQ(1, fail_each_allocation(
                     [&] { return Fit<R>::edit_spline(task, 2, 0, 0, nullptr, 0, nullptr, coeff, DF_Y_DEFAULT); }));
    EXPECT_EQ(1, fail_each_allocation([&] {
                  const auto status = nvo_df_kernel_iEditVal(task, DF_ATTR_X_HINT, DF_GRID_IRREGULAR);
                  EXPECT_EQ(status != DF_ST_OK, r.bucket_table == nullptr);
                  return status;
              }));
    EXPECT_EQ(blocks + 4, nvo_core_testing_live_blocks());
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_DeleteTask(&task));
    EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
}

} // namespace
