// Calls of integration in one line.
#pragma once

#include "tests/fitting/models.h"

namespace nvo::tests {

// Every model on every grid, in every storage, for 1 and 3 functions.
inline std::vector<ModelShape> integral_shapes() {
    std::vector<ModelShape> shapes;
    for (ModelShape shape : models)
        for (const std::uint64_t x_hint : {DF_GRID_FREE, DF_GRID_IRREGULAR, DF_GRID_NEAR_EVEN, DF_GRID_EVEN})
            for (const std::int64_t nx : {2, 3, 4, 150})
                for (const std::int64_t ny : {1, 3}) {
                    if (shape.ic_type == DF_IC_EVEN_SUBGRID && nx < 3) continue;
                    shape.x_hint = x_hint;
                    shape.nx = nx;
                    shape.ny = ny;
                    shape.y_hint = ny == 3 ? DF_Y_BY_COLS : DF_Y_SEPARATE;
                    shapes.push_back(shape);
                }
    return shapes;
}

template <class R> struct Pairs {
    std::vector<R> left, right;

    Pairs(ModelTask<R>& task, std::int64_t count) : left(task.sites(count)), right(task.sites(count)) {
        for (std::size_t i = 0; i < left.size(); i += 16) right[i] = left[i];
        // Runs of one pair, of which another right limit may take one out.
        for (std::size_t i = 0; i < left.size(); ++i) {
            if (i % 64 < 24) continue;
            const std::size_t first = i / 64 * 64 + 1;
            if (left[first] > right[first]) std::swap(left[first], right[first]);
            left[i] = left[first];
            if (i % 16 != 5) right[i] = right[first];
        }
    }
};

// The arguments of an integration that tests leave out.
template <class R> struct IntegrateCall {
    using Callback = typename Fit<R>::IntegrateCallback;
    std::int64_t left_hint = DF_SITE_FREE, right_hint = DF_SITE_FREE;
    const R *left_data = nullptr, *right_data = nullptr;
    std::int64_t rhint = DF_Y_DEFAULT;
    Callback *le_cb = nullptr, *re_cb = nullptr, *i_cb = nullptr;
    void* params = nullptr; // of the three
    typename Fit<R>::SearchCallback* search_cb = nullptr;
    void* search_params = nullptr;
    const OstThreading* threading = nullptr;

    std::int32_t operator()(DFTask1D* task, std::int64_t nlim, const R* left, const R* right, R* r) const {
        return Fit<R>::integrate(task, 0, nlim, left, left_hint, right, right_hint, left_data, right_data, r, rhint,
                                 le_cb, params, re_cb, params, i_cb, params, search_cb, search_params, threading);
    }
    std::int32_t operator()(const ModelTask<R>& task, const Pairs<R>& pairs, std::vector<R>& r) const {
        return (*this)(task.task(), static_cast<std::int64_t>(pairs.left.size()), pairs.left.data(), pairs.right.data(),
                       r.data());
    }
};

enum Part { left, right, inner };

template <class R> struct PartCall {
    Part part;
    std::int64_t lo_cell;
    R lo;
    std::int64_t hi_cell;
    R hi;
    bool operator==(const PartCall&) const = default;
};

// What the three callbacks see and give: (f + 2 + part) * (hi - lo) for function f.
template <class R> struct PartRecorder {
    std::int64_t functions;
    std::vector<PartCall<R>> calls{};

    template <Part part>
    static std::int32_t record(const std::int64_t* n, const std::int64_t* lcell, const R* llim,
                               const std::int64_t* rcell, const R* rlim, R* r, void* params, void* reserved) {
        EXPECT_EQ(*n, 1);
        EXPECT_EQ(reserved, nullptr);
        EXPECT_LE(*llim, *rlim);
        auto& self = *static_cast<PartRecorder*>(params);
        self.calls.push_back({part, *lcell, *llim, *rcell, *rlim});
        for (std::int64_t f = 0; f < self.functions; ++f) r[f] = static_cast<R>(f + 2 + part) * (*rlim - *llim);
        return 0;
    }
};

template <class R> IntegrateCall<R> recorded(PartRecorder<R>& recorder, unsigned subset = 7) {
    IntegrateCall<R> integrate;
    integrate.le_cb = subset & 1 ? PartRecorder<R>::template record<left> : nullptr;
    integrate.re_cb = subset & 2 ? PartRecorder<R>::template record<right> : nullptr;
    integrate.i_cb = subset & 4 ? PartRecorder<R>::template record<inner> : nullptr;
    integrate.params = &recorder;
    return integrate;
}

// Every integral, in the place that the layout has, is wanted(f, i) of function f and pair i within 4 roundings of
// its size; those of empty intervals are 0.
template <class R, class Wanted>
void expect_integrals(const ModelShape& shape, const Pairs<R>& pairs, std::int64_t rhint, const std::vector<R>& r,
                      const Wanted& wanted) {
    const auto n = static_cast<std::int64_t>(pairs.left.size());
    const bool by_pair = rhint == DF_Y_DEFAULT || rhint == DF_Y_BY_COLS;
    for (std::int64_t i = 0; i < n; ++i) {
        for (std::int64_t f = 0; f < shape.ny; ++f) {
            const R got = r[by_pair ? i * shape.ny + f : f * n + i];
            const auto expected = wanted(f, i);
            ASSERT_NEAR(got, expected.value, 4 * std::numeric_limits<R>::epsilon() * expected.size)
                << shape.text() << ": " << pairs.left[i] << " to " << pairs.right[i];
            if (pairs.left[i] == pairs.right[i]) {
                ASSERT_EQ(got, 0);
            }
        }
    }
}

} // namespace nvo::tests
