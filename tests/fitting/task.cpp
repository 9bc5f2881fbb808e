// The task: record, creation with its locator table, edits, queries, deletion.
#include "fitting/task.h"

#include "tests/support/fitting.h"

#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

namespace {

using namespace nvo::fitting;
using nvo::tests::expect_allocations;
using nvo::tests::Fit;
using nvo::tests::FitTask;
using nvo::tests::Precisions;

template <class R> class Task : public testing::Test {
protected:
    static constexpr std::int64_t nx = 5, ny = 3;
    std::array<R, nx> x = {0, 1, 3, 4, 10};
    std::array<R, nx * ny> y{};
    std::array<R, 64> coeff{};
    FitTask<R> task{nx, x.data(), DF_GRID_FREE, ny, y.data()};
    DFTask1D* const handle = task.get();
    TaskRecord<R>& record = record_of<R>(handle);
};
TYPED_TEST_SUITE(Task, Precisions);

// ---- creation ------------------------------------------------------------------------------------------------------

TYPED_TEST(Task, HoldsWhatItWasGiven) {
    using R = TypeParam;
    for (const std::uint64_t hint : {DF_Y_DEFAULT, DF_Y_BY_ROWS, DF_Y_BY_COLS, DF_Y_SEPARATE}) {
        const FitTask<R> task(this->nx, this->x.data(), DF_GRID_IRREGULAR, this->ny, this->y.data(), hint, 7);
        const auto& r = record_of<R>(task.get());
        for (const void* block : {static_cast<const void*>(&r), static_cast<const void*>(r.y)})
            EXPECT_EQ(0U, reinterpret_cast<std::uintptr_t>(block) % 128);
        EXPECT_EQ(std::tuple(7U, 4, sizeof(R) == 8, 1, this->nx, this->x.data(), this->ny, hint, this->y.data()),
                  std::tuple(r.cell_wide, r.format_byte, r.precision, r.editable, r.nx, r.x, r.ny, r.y_hint, r.y[0]));
        for (std::int64_t i = 1; hint != DF_Y_BY_COLS && i < this->ny; ++i) // by columns there are no more entries
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
    EXPECT_EQ(nullptr, record_of<R>(FitTask<R>(2, x, DF_GRID_FREE, 0, nullptr).get()).y);
}

// ---- the locator table ---------------------------------------------------------------------------------------------

// The bucket of each breakpoint first, then each entry by its definition.
template <class R> void expect_direct_table(const std::vector<R>& x, std::uint64_t count, const TaskRecord<R>& record) {
    const std::uint64_t nx = x.size();
    const R scale = static_cast<R>(count) / (x.back() - x.front());
    std::vector<std::uint64_t> first_above(count + 1, nx - 1), last_below(count + 1, 0);
    for (std::uint64_t k = nx - 1; k >= 1; --k) {
        const auto b = static_cast<std::uint64_t>((x[k] - x[0]) * scale);
        for (std::uint64_t i = 0; i + 1 < count && i < b; ++i) first_above[i] = k;
        for (std::uint64_t i = b + 1; b > 0 && i < count; ++i) last_below[i] = std::max(last_below[i], k);
    }
    last_below[count] = last_below[count - 1];
    ASSERT_EQ(count, record.bucket_count);
    EXPECT_EQ(scale, record.bucket_scale);
    for (std::uint64_t b = 0; b <= count; ++b) {
        ASSERT_EQ(last_below[b], record.bucket_table[b].low) << nx << ", bucket " << b;
        ASSERT_EQ(first_above[b], record.bucket_table[b].high) << nx << ", bucket " << b;
    }
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
            const FitTask<R> task(nx, x.data(), DF_GRID_FREE, 0, nullptr);
            expect_direct_table(x, buckets, record_of<R>(task.get()));
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
        const FitTask<R> task(static_cast<std::int64_t>(x.size()), x.data(), DF_GRID_FREE, 0, nullptr);
        const auto& r = record_of<R>(task.get());
        for (std::uint64_t b = 0; b <= r.bucket_count; ++b)
            EXPECT_LT(std::max(r.bucket_table[b].low, r.bucket_table[b].high), x.size());
    }
}

TYPED_TEST(Task, LocatorTableIsMadeAnewForAnIrregularGridAlone) {
    using R = TypeParam;
    std::vector<R> x(1000);
    std::iota(x.begin(), x.end(), R(0));
    const FitTask<R> task(2, x.data(), DF_GRID_EVEN, 0, nullptr);
    const auto& r = record_of<R>(task.get());
    const auto edit = [&](std::int64_t attribute, std::int64_t value) {
        EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(task.get(), attribute, value));
        return r.bucket_table;
    };
    EXPECT_EQ(nullptr, edit(DF_ATTR_NX, 1000));
    for (const std::int64_t hint : {DF_GRID_FREE, DF_GRID_NEAR_EVEN, DF_GRID_EVEN})
        EXPECT_EQ(nullptr, edit(DF_ATTR_X_HINT, hint));
    const auto* table = edit(DF_ATTR_X_HINT, DF_GRID_IRREGULAR);
    expect_direct_table(x, 62, r);
    EXPECT_EQ(table, edit(DF_ATTR_NX, 10));
    EXPECT_EQ(table, edit(DF_ATTR_X_HINT, DF_GRID_EVEN));
    EXPECT_EQ(62U, r.bucket_count);
}

// ---- pointers ------------------------------------------------------------------------------------------------------

TYPED_TEST(Task, PointersAreEditedAndQueried) {
    using R = TypeParam;
    const struct {
        std::int64_t attribute;
        std::int32_t of_null;
    } cases[] = {{DF_ATTR_X, DF_ST_BAD_X},
                 {DF_ATTR_Y, DF_ST_BAD_Y},
                 {DF_ATTR_IC, DF_ST_BAD_IC},
                 {DF_ATTR_BC, DF_ST_BAD_BC},
                 {DF_ATTR_COEFF, DF_ST_BAD_COEFF}};
    const R* out = nullptr;
    EXPECT_EQ(DF_ST_BAD_COEFF, Fit<R>::query(this->handle, DF_ATTR_COEFF, &out)) << "none yet";
    for (const auto& c : cases) {
        const R* pointer = &this->coeff[static_cast<std::size_t>(c.attribute)];
        EXPECT_EQ(DF_ST_OK, Fit<R>::edit(this->handle, c.attribute, pointer));
        EXPECT_EQ(c.of_null, Fit<R>::edit(this->handle, c.attribute, nullptr));
        EXPECT_EQ(DF_ST_OK, Fit<R>::query(this->handle, c.attribute, &out));
        EXPECT_EQ(pointer, out);
        EXPECT_EQ(DF_ST_NO_OUTPUT, Fit<R>::query(this->handle, c.attribute, nullptr));
    }
    for (const std::int64_t attribute : {-1, 0, 6, 13, 14}) {
        EXPECT_EQ(DF_ST_BAD_ATTRIBUTE, Fit<R>::edit(this->handle, attribute, nullptr));
        EXPECT_EQ(DF_ST_BAD_ATTRIBUTE, Fit<R>::query(this->handle, attribute, &out));
        EXPECT_EQ(DF_ST_BAD_ATTRIBUTE, Fit<R>::edit_index(this->handle, attribute, 0, out));
        EXPECT_EQ(DF_ST_BAD_ATTRIBUTE, Fit<R>::query_index(this->handle, attribute, 0, &out));
    }
}

TYPED_TEST(Task, EntriesAreEditedAndQueriedByIndex) {
    using R = TypeParam;
    const R *entry = &this->coeff[9], *out = nullptr;
    const auto edit = [&](std::int64_t attribute, std::int64_t index, const R* pointer) {
        return Fit<R>::edit_index(this->handle, attribute, index, pointer);
    };
    const auto query = [&](std::int64_t attribute, std::int64_t index) {
        return Fit<R>::query_index(this->handle, attribute, index, &out);
    };
    EXPECT_EQ(DF_ST_BAD_COEFF, edit(DF_ATTR_COEFF, 0, entry)) << "no array yet";
    EXPECT_EQ(DF_ST_BAD_COEFF, query(DF_ATTR_COEFF, 0));
    this->task.spline(2, 0, this->coeff.data(), 0, nullptr, 0, nullptr, DF_Y_SEPARATE);
    for (const auto& [attribute, first, missing] :
         {std::tuple{DF_ATTR_Y, this->y.data(), DF_ST_BAD_Y}, {DF_ATTR_COEFF, this->coeff.data(), DF_ST_BAD_COEFF}}) {
        for (const std::int64_t index : {std::int64_t{-1}, this->ny, INT64_MAX}) {
            EXPECT_EQ(DF_ST_BAD_INDEX, edit(attribute, index, nullptr));
            EXPECT_EQ(DF_ST_BAD_INDEX, query(attribute, index));
        }
        EXPECT_EQ(missing, edit(attribute, 2, nullptr));
        EXPECT_EQ(DF_ST_OK, edit(attribute, 2, entry));
        EXPECT_EQ(DF_ST_OK, query(attribute, 2));
        EXPECT_EQ(entry, out);
        EXPECT_EQ(DF_ST_NO_OUTPUT, Fit<R>::query_index(this->handle, attribute, 99, nullptr));
        EXPECT_EQ(DF_ST_OK, query(attribute, 0));
        EXPECT_EQ(first, out);
    }
    EXPECT_EQ(DF_ST_OK, query(DF_ATTR_COEFF, 1));
    EXPECT_EQ(nullptr, out) << "of separate blocks the first alone is set";

    // An array doesn't grow with ny, and by columns there is no entry but the first.
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(this->handle, DF_ATTR_NY, 100));
    for (const std::int64_t attribute : {DF_ATTR_Y, DF_ATTR_COEFF}) {
        EXPECT_EQ(DF_ST_BAD_INDEX, edit(attribute, 50, entry));
        EXPECT_EQ(DF_ST_BAD_INDEX, query(attribute, 50));
    }
    EXPECT_EQ(DF_ST_BAD_Y, Fit<R>::linear(this->handle, 0, 0, nullptr));
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(this->handle, DF_ATTR_Y_HINT, DF_Y_BY_COLS));
    EXPECT_EQ(DF_ST_BAD_Y_HINT, edit(DF_ATTR_Y, 999, nullptr));
    EXPECT_EQ(DF_ST_BAD_Y_HINT, query(DF_ATTR_Y, 0));
    EXPECT_EQ(DF_ST_BAD_INDEX, query(DF_ATTR_Y, 100));
}

TYPED_TEST(Task, CoefficientBlocksLieAsFarApartAsTheirTypeSays) {
    using R = TypeParam;
    const struct {
        std::int64_t order, type, stride;
    } cases[] = {{2, 0, 8}, {3, 0, 12}, {3, 1, 15}, {4, 0, 16}, {4, 1, 20}, {7, 9, 28}, {0, 6, 0}};
    for (const auto& c : cases) {
        this->task.spline(c.order, c.type, this->coeff.data());
        for (std::int64_t i = 0; i < this->ny; ++i)
            EXPECT_EQ(this->coeff.data() + i * c.stride, this->record.coeff[i]) << c.order << " " << c.type;
    }
    EXPECT_EQ(DF_ST_NO_MEMORY, Fit<R>::edit_spline(this->handle, INT64_MAX / 2, 0, 0, nullptr, 0, nullptr,
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
    const auto& r = this->record;
    for (const auto& c : cases) {
        this->task.spline(2, 2, p + 2, 1, nullptr, 2, p + 3);
        EXPECT_EQ(c.status, Fit<R>::edit_spline(this->handle, c.order, c.type, c.bc_type, c.bc, c.ic_type, c.ic, p,
                                                c.status == DF_ST_OK ? 0x99 : 0)); // the hint isn't tested here
        EXPECT_EQ(c.stored >= 1 ? std::pair(c.order, c.type) : std::pair(std::int64_t{2}, std::int64_t{2}),
                  std::pair(r.s_order, r.s_type));
        EXPECT_EQ(c.stored >= 2 ? std::pair(c.bc_type, c.bc)
                                : std::pair(std::uint64_t{1}, static_cast<const R*>(nullptr)),
                  std::pair(r.bc_type, r.bc));
        EXPECT_EQ(c.stored >= 3 ? std::tuple(c.ic_type, c.ic, p, 0x99U)
                                : std::tuple(std::uint64_t{2}, static_cast<const R*>(p + 3), p + 2, 0U),
                  std::tuple(r.ic_type, r.ic, r.coeff[0], r.coeff_hint));
    }
    FitTask<R> bare(this->nx, this->x.data(), DF_GRID_FREE, 0, nullptr);
    EXPECT_EQ(DF_ST_BAD_NY, Fit<R>::edit_spline(bare.get(), 2, 0, 0, nullptr, 0, nullptr, p, DF_Y_BY_ROWS));
    EXPECT_EQ(0U, record_of<R>(bare.get()).coeff_hint);
    bare.spline(2, 0, nullptr, 0, nullptr, 0, nullptr, DF_Y_BY_ROWS);
    EXPECT_EQ(std::uint64_t{DF_Y_BY_ROWS}, record_of<R>(bare.get()).coeff_hint);
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
    EXPECT_EQ(DF_ST_NO_TASK, nvo_df_kernel_DeleteTask(nullptr));
    DFTask1D* task = nullptr;
    EXPECT_EQ(DF_ST_OK, Fit<R>::new_task(&task, this->nx, this->x.data(), 0, 0, nullptr, 0, 0));
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_DeleteTask(&task));
    EXPECT_EQ(nullptr, task);
    EXPECT_EQ(DF_ST_NO_TASK, nvo_df_kernel_DeleteTask(&task));
}

TYPED_TEST(Task, NothingHappensToWhatIsNotEditable) {
    using R = TypeParam;
    this->record.editable = 2;
    const R *untouched = &this->coeff[1], *out = untouched;
    std::int64_t value = 77;
    EXPECT_EQ(DF_ST_OK, Fit<R>::edit(this->handle, 99, nullptr));
    EXPECT_EQ(DF_ST_OK, Fit<R>::edit_index(this->handle, 99, -1, nullptr));
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iEditVal(this->handle, DF_ATTR_NX, 3));
    EXPECT_EQ(DF_ST_OK, Fit<R>::query(this->handle, DF_ATTR_X, &out));
    EXPECT_EQ(DF_ST_OK, Fit<R>::query_index(this->handle, DF_ATTR_Y, 0, &out));
    EXPECT_EQ(DF_ST_BAD_INDEX, Fit<R>::query_index(this->handle, DF_ATTR_Y, this->ny, &out));
    EXPECT_EQ(DF_ST_OK, nvo_df_kernel_iQueryVal(this->handle, DF_ATTR_NX, &value));
    EXPECT_EQ(std::tuple(untouched, 77, this->nx), std::tuple(out, value, this->record.nx));
    this->task.spline(2, 0, this->coeff.data()); // doesn't look
    EXPECT_EQ(this->coeff.data(), this->record.coeff[0]);
}

// ---- memory --------------------------------------------------------------------------------------------------------

TYPED_TEST(Task, EveryAllocationMayFail) {
    using R = TypeParam;
    const long blocks = nvo_core_testing_live_blocks();
    expect_allocations(3, [&] {
        DFTask1D* task = nullptr;
        const auto status = Fit<R>::new_task(&task, this->nx, this->x.data(), 0, this->ny, this->y.data(), 0, 0);
        // Edits and queries of what creation left are harmless.
        const R* out = nullptr;
        if (task) {
            Fit<R>::query(task, DF_ATTR_Y, &out);
            Fit<R>::linear(task, 0, 0, nullptr);
        }
        nvo_df_kernel_DeleteTask(&task);
        return status;
    });
    EXPECT_EQ(blocks, nvo_core_testing_live_blocks());
    const auto& r = this->record;
    R* const coeff = this->coeff.data();
    Fit<R>::edit(this->handle, DF_ATTR_COEFF, coeff);
    expect_allocations(1, [&] {
        const auto status = Fit<R>::edit(this->handle, DF_ATTR_Y, this->y.data());
        EXPECT_EQ(status != DF_ST_OK, r.y == nullptr);
        return status;
    });
    expect_allocations(1, [&] { return Fit<R>::edit(this->handle, DF_ATTR_COEFF, coeff); });
    expect_allocations(
        1, [&] { return Fit<R>::edit_spline(this->handle, 2, 0, 0, nullptr, 0, nullptr, coeff, DF_Y_DEFAULT); });
    expect_allocations(1, [&] {
        const auto status = nvo_df_kernel_iEditVal(this->handle, DF_ATTR_X_HINT, DF_GRID_IRREGULAR);
        EXPECT_EQ(status != DF_ST_OK, r.bucket_table == nullptr);
        return status;
    });
    EXPECT_EQ(blocks + 1, nvo_core_testing_live_blocks());
}

} // namespace
