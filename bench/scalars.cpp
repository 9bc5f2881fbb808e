// Compiled with -fno-builtin: the C library's functions are called, as ours are.

#include "bench/parts.h"

#include "bench/race.h"
#include "bench/table.h"
#include "bench/verdicts.h"
#include "tools/accuracy/scalars.h"

#include "nvo_ark/scalar.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <emmintrin.h>
#include <random>
#include <string>
#include <vector>

namespace bench {

namespace {

using namespace nvo::accuracy;

constexpr Effort effort{16, 2e-4};
constexpr int values = 1024;

struct Range {
    std::string name;
    Extended lo, hi;
};
Range range_of(const std::string& name) {
    static const std::vector<Range> all = {
#define INTERVAL(name, lo, hi) {#name, lo, hi},
#include "tools/accuracy/scalars.def"
    };
    for (const Range& range : all)
        if (range.name == name) return range;
    return {name, -2, 2};
}

// f, of type T, for each of the values of the range in random order.
template <class T, class F> Body one_by_one(const std::string& name, F f) {
    const Range range = range_of(name);
    std::mt19937_64 random(1);
    std::uniform_real_distribution<T> inside(static_cast<T>(range.lo), static_cast<T>(range.hi));
    std::vector<T> a(values), b(values);
    for (int k = 0; k < values; ++k) {
        a[k] = inside(random);
        b[k] = inside(random);
    }
    return [f, a, b](benchmark::State& state) {
        for (auto _ : state) {
            for (int k = 0; k < values; ++k) {
                T y = f(a[k], b[k]);
                if constexpr (std::is_same_v<T, Extended>) {
                    asm volatile("" : : "t"(y));
                } else {
                    asm volatile("" : : "x"(y));
                }
            }
        }
    };
}

struct Scalar {
    std::string name;
    bool extended, exact;
    Body ours, peer;
};

#define NVO_CALL(T, name, expression) \
    one_by_one<T>(#name, []([[maybe_unused]] T a, [[maybe_unused]] T b) -> T { return expression; })

std::vector<Scalar> scalars() {
    std::vector<Scalar> all = {
#define SCALAR(T, name, count, ours, mpfr, peer, bound) \
    {#name, sizeof(T) == sizeof(Extended), (bound) == 0, NVO_CALL(T, name, ours), NVO_CALL(T, name, peer)},
#include "tools/accuracy/scalars.def"
    };
    // Of two results, the one call that gives both.
    for (Scalar& scalar : all) scalar.name = scalar.name.substr(0, scalar.name.find('.'));
    const auto same = [](const Scalar& a, const Scalar& b) { return a.name == b.name; };
    all.erase(std::unique(all.begin(), all.end(), same), all.end());
    return all;
}

double hardware_root(double x) {
    const __m128d v = _mm_set_sd(x);
    return _mm_cvtsd_f64(_mm_sqrt_sd(v, v));
}

void print_lines(const std::vector<Scalar>& all, const PartRequest& request) {
    Table table(request.markdown, {{"function", 16, true}, {"best", 8}, {"median", 8}, {"spread", 6}, {"libm", 6}});
    for (const Scalar& scalar : all) {
        if (!std::regex_search(scalar.name, request.pattern)) continue;
        const std::vector<Timing> t = race({{"ours", scalar.ours}, {"libm", scalar.peer}}, effort);
        table.line({scalar.name, decimal(t[0].best / values, 2), decimal(t[0].median / values, 2),
                    decimal(100 * (t[0].upper_quartile / t[0].best - 1), 0) + "%", decimal(t[0].best / t[1].best, 2)});
    }
}

// The times are those of all values.
std::string judge_all(const std::vector<Scalar>& all, bool markdown) {
    Verdicts verdicts(markdown);
    const std::string calls = ", " + std::to_string(values) + " calls";
    for (const Scalar& scalar : all) {
        if (scalar.extended && !scalar.exact)
            verdicts.judge_ratio("the C library's" + calls, scalar.name, scalar.ours, scalar.peer, 1.00);
        if (scalar.name == "__ostdLn")
            verdicts.judge_ratio("the C library's" + calls, scalar.name, scalar.ours, scalar.peer, 1.20);
        if (scalar.name == "__ostdSqrt") {
            const Body root = one_by_one<double>(scalar.name, [](double a, double) { return hardware_root(a); });
            verdicts.judge_ratio("the processor's sqrtsd" + calls, scalar.name, scalar.ours, root, 2.00);
        }
    }
    return verdicts.summary();
}

} // namespace

void print_scalars(const PartRequest& request) {
    if (request.peers) return;
    const std::vector<Scalar> all = scalars();
    std::puts(request.markdown ? "## Functions of one value\n" : "Functions of one value:\n");
    std::puts(
        "Nanoseconds a call, and our best time as a ratio of that of the C library's function; for sinhcoshl, of\n"
        "its two.\n");
    if (!request.goals) print_lines(all, request);
    if (request.goals || request.all) {
        std::puts(request.markdown ? "### Goals of functions of one value\n" : "Goals of functions of one value:");
        std::puts(judge_all(all, request.markdown).c_str());
    }
}

} // namespace bench
