#include "tools/accuracy/reference.h"

#include "tools/accuracy/exact_functions.h"

#include <utility>

namespace nvo::accuracy {

namespace {

inline double exp10_of(double a) { return ::exp10(a); }
inline long double exp10_of(long double a) { return ::exp10l(a); }

template <class W> W powr_of(W a, W b) {
    const bool is_nan =
        !(a >= 0) || std::isnan(b) || (b == 0 && (a == 0 || std::isinf(a))) || (a == 1 && std::isinf(b));
    return is_nan ? std::numeric_limits<W>::quiet_NaN() : std::pow(std::fabs(a), b);
}

template <class W> W fraction(W a) {
    W whole;
    return std::modf(a, &whole);
}

template <class T, class F> void each_of_1(F f, std::int32_t n, const Arguments<T>& in, Wide<T>* y) {
    for (std::int32_t i = 0; i < n; ++i) y[i] = f(Wide<T>(in[0][i]));
}
template <class T, class F> void each_of_2(F f, std::int32_t n, const Arguments<T>& in, Wide<T>* y) {
    for (std::int32_t i = 0; i < n; ++i) y[i] = f(Wide<T>(in[0][i]), Wide<T>(in[1][i]));
}

struct Line {
    std::string operation;
    Reference reference;
};

mpfr_rnd_t mpfr_direction(Direction direction) {
    switch (direction) {
    case Direction::down: return MPFR_RNDD;
    case Direction::up: return MPFR_RNDU;
    case Direction::to_zero: return MPFR_RNDZ;
    default: return MPFR_RNDN;
    }
}

// The expressions of the list become functions of a, or of a and b.
#define NVO_PARAMETERS_1 [[maybe_unused]] auto a
#define NVO_PARAMETERS_2 [[maybe_unused]] auto a, [[maybe_unused]] auto b
#define NVO_EXACT_1(f) [](mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr, mpfr_rnd_t direction) { f(y, a, direction); }
#define NVO_EXACT_2(f) [](mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t direction) { f(y, a, b, direction); }
#define NVO_FAST(T, count, expression)                                    \
    [](std::int32_t n, const Arguments<T>& in, Wide<T>* y) {              \
        const auto f = [](NVO_PARAMETERS_##count) { return expression; }; \
        each_of_##count<T>(f, n, in, y);                                  \
    }

const std::vector<Line>& lines() {
    static const std::vector<Line> list = {
#define REFERENCE(operation, count, f, fast, tolerance) \
    {#operation, {count, NVO_EXACT_##count(f), NVO_FAST(float, count, fast), NVO_FAST(double, count, fast), tolerance}},
#define JUDGED(operation, count, f) {#operation, {count, NVO_EXACT_##count(f), nullptr, nullptr, 0}},
#include "tools/accuracy/references.def"
    };
    return list;
}

} // namespace

std::vector<Reference> references_of(const std::string& operation) {
    std::vector<Reference> results;
    for (const Line& line : lines())
        if (line.operation == operation) results.push_back(line.reference);
    return results;
}

bool is_directed(const std::string& operation) {
    static const std::vector<std::string> directed = {
#define DIRECTED(operation) #operation,
#include "tools/accuracy/references.def"
    };
    return std::find(directed.begin(), directed.end(), operation) != directed.end();
}

const tools::Mp& Judge::exact(const Reference& reference, double a, double b, Direction direction) {
    mpfr_set_d(a_.get(), a, MPFR_RNDN);
    mpfr_set_d(b_.get(), b, MPFR_RNDN);
    reference.exact(y_.get(), a_.get(), b_.get(), mpfr_direction(direction));
    return y_;
}

} // namespace nvo::accuracy
