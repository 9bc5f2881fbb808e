// Calls of interpolation in one line.
#pragma once

#include "tests/fitting/models.h"

namespace nvo::tests {

template <class R> struct ValueCallback {
    typename Fit<R>::InterpolateCallback* function = nullptr;
    void* params = nullptr;
};

template <class R> struct ValueCall {
    std::int64_t type = 1, sitehint = DF_SITE_FREE, rhint = 16;
    std::vector<int> orders = {1};
    const R* datahint = nullptr;
    ValueCallback<R> left = {}, right = {}, inner = {};
    typename Fit<R>::SearchCallback* search_cb = nullptr;
    void* search_params = nullptr;
    const OstThreading* threading = nullptr;
    std::vector<std::int64_t> cells = {}; // given ones
    std::int64_t nsite = -1;              // as many as there are

    std::int64_t results() const { return std::count(orders.begin(), orders.end(), 1); }
};

// Notes its sites with their cells, and gives result k of function f at a site s the value 1000 f + 100 k + s.
template <class R> struct ValueRecorder {
    std::int64_t functions = 1, results = 1;
    std::vector<std::int32_t> statuses = {}; // of call after call; 0 behind the last
    std::vector<R> sites = {};
    std::vector<std::int64_t> cells = {};
    std::size_t calls = 0;

    static R value(std::int64_t f, std::int64_t k, R site) { return static_cast<R>(1000 * f + 100 * k) + site; }
    ValueCallback<R> callback() { return {record, this}; }

    static std::int32_t record(const std::int64_t* n, const std::int64_t* cell, const R* site, R* r, void* params,
                               void* reserved) {
        auto& self = *static_cast<ValueRecorder*>(params);
        EXPECT_EQ(reserved, nullptr);
        EXPECT_GT(*n, 0);
        self.sites.insert(self.sites.end(), site, site + *n);
        self.cells.insert(self.cells.end(), cell, cell + *n);
        for (std::int64_t f = 0; f < self.functions; ++f)
            for (std::int64_t i = 0; i < *n; ++i)
                for (std::int64_t k = 0; k < self.results; ++k) *r++ = value(f, k, site[i]);
        return self.calls < self.statuses.size() ? self.statuses[self.calls++] : 0;
    }
};

template <class R> struct ValueResults {
    std::int32_t status;
    std::vector<R> r; // as the call laid them out
    std::vector<std::int64_t> cells;
};

template <class R> constexpr R untouched_result = R(-12345.5);

// Site and result arrays end at pages that can't be touched.
template <class R>
ValueResults<R> interpolate(DFTask1D* task, bool wide, std::int64_t ny, const std::vector<R>& sites,
                            const ValueCall<R>& call) {
    const std::int64_t nsite = call.nsite < 0 ? static_cast<std::int64_t>(sites.size()) : call.nsite;
    const GuardedArray<R> site(sites.size()), r(static_cast<std::size_t>(nsite * call.results() * ny));
    std::copy(sites.begin(), sites.end(), site.data());
    std::fill_n(r.data(), r.size(), untouched_result<R>);
    const auto run = [&](auto integer) {
        using Integer = decltype(integer);
        const std::vector<Integer> orders(call.orders.begin(), call.orders.end());
        const GuardedArray<Integer> cell(static_cast<std::size_t>(nsite));
        std::fill_n(cell.data(), cell.size(), static_cast<Integer>(untouched));
        std::copy(call.cells.begin(), call.cells.end(), cell.data());
        const auto status = Fit<R>::interpolate(task, call.type, 0, nsite, site.data(), call.sitehint,
                                                static_cast<std::int64_t>(orders.size()), orders.data(), call.datahint,
                                                r.data(), call.rhint, cell.data(), call.left.function, call.left.params,
                                                call.right.function, call.right.params, call.inner.function,
                                                call.inner.params, call.search_cb, call.search_params, call.threading);
        return ValueResults<R>{status, {r.data(), r.data() + r.size()}, {cell.data(), cell.data() + cell.size()}};
    };
    return wide ? run(std::int64_t{}) : run(std::int32_t{});
}
template <class R>
ValueResults<R> interpolate(const ModelTask<R>& task, const std::vector<R>& sites, const ValueCall<R>& call) {
    return interpolate(task.task(), task.shape().wide, task.shape().ny, sites, call);
}

// wanted(f, s, d) is what derivative d of function f is at site s: to the bit, and in the place that the layout has.
template <class R, class Wanted>
void expect_results(const ModelShape& shape, const ValueCall<R>& call, const ValueResults<R>& results,
                    const Wanted& wanted) {
    const std::int64_t count = call.results(), nf = shape.ny;
    const std::int64_t ns = count == 0 ? 0 : static_cast<std::int64_t>(results.r.size()) / (count * nf);
    for (std::int64_t f = 0; f < nf; ++f) {
        for (std::int64_t s = 0; s < ns; ++s) {
            for (std::int64_t d = 0, k = 0; k < count; ++d) {
                if (!call.orders[static_cast<std::size_t>(d)]) continue;
                const std::int64_t place = call.rhint == 32    ? (f * count + k) * ns + s
                                           : call.rhint == 256 ? (s * nf + f) * count + k
                                           : call.rhint == 512 ? (s * count + k) * nf + f
                                                               : (f * ns + s) * count + k;
                const R got = results.r[static_cast<std::size_t>(place)], value = wanted(f, s, d, k++);
                ASSERT_TRUE(got == value && std::signbit(got) == std::signbit(value))
                    << got << ", not " << value << ": " << shape.text() << " function " << f << " site " << s
                    << " order " << d << " layout " << call.rhint;
            }
        }
    }
}

} // namespace nvo::tests
