#include "tools/accuracy/scalars.h"

#include "tools/accuracy/ulp.h"

#include "nvo_ark/scalar.h"

#include <algorithm>
#include <cstdio>
#include <random>
#include <stdexcept>

namespace nvo::accuracy {

namespace {

using Samples = std::vector<Extended>;

// ---- Samples --------------------------------------------------------------------------------------------------------

constexpr int per_interval = 40000, per_walk = 60000;

// Every exponent of the format, with both signs; powers of two and their neighbours; what is special.
template <class T> Samples walk() {
    using Limits = std::numeric_limits<T>;
    constexpr int first = Limits::min_exponent - Limits::digits, last = Limits::max_exponent;
    std::mt19937_64 random(1);
    std::uniform_real_distribution<Extended> significand(0.5L, 1);
    Samples samples = {Limits::infinity(), Limits::quiet_NaN(), Limits::max(), Limits::min(), Limits::denorm_min(), 0};
    for (int k = 0; k <= 40; ++k) samples.push_back(k / Extended(2));
    for (int k = 0; k < per_walk; ++k) {
        const int e = first + 1 + k % (last - first);
        const bool edge = k / (last - first) % 8 == 0 && k % 4 == 0;
        const T power = static_cast<T>(std::ldexp(Extended(1), e - 1));
        samples.push_back(edge ? std::nextafter(power, T(k % 8 == 0 ? 0 : 2 * power))
                               : static_cast<T>(std::ldexp(significand(random), e)));
    }
    for (std::size_t n = samples.size(), k = 0; k < n; ++k) samples.push_back(-samples[k]);
    return samples;
}

// Evenly from lo to hi, and the neighbours of both ends.
template <class T> void add_interval(Samples& samples, Extended lo, Extended hi) {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<Extended> inside(lo, hi);
    for (int k = 0; k < per_interval; ++k) samples.push_back(static_cast<T>(inside(random)));
    for (const Extended end : {lo, hi}) {
        for (const T towards : {-std::numeric_limits<T>::infinity(), std::numeric_limits<T>::infinity()}) {
            T x = static_cast<T>(end);
            for (int k = 0; k < 20; ++k, x = std::nextafter(x, towards)) samples.push_back(x);
        }
    }
}

// ---- The list -------------------------------------------------------------------------------------------------------

using Function = Extended (*)(Extended a, Extended b);
using Exact = void (*)(mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b);

struct Format {
    Samples (*walk)();
    void (*add_interval)(Samples& samples, Extended lo, Extended hi);
    double (*error)(Extended y, const tools::Mp& exact);
    Extended (*nearest)(const tools::Mp& exact);
};
template <class T>
constexpr Format format_of = {walk<T>, add_interval<T>,
                              [](Extended y, const tools::Mp& exact) { return ulp_error(static_cast<T>(y), exact); },
                              [](const tools::Mp& exact) { return Extended(nearest<T>(exact)); }};

struct Scalar {
    std::string name;
    int arguments;
    const Format* format;
    Function ours, peer;
    Exact exact;
    double bound;
};

int log_of_gamma(mpfr_ptr y, mpfr_srcptr a, mpfr_rnd_t direction) {
    int sign;
    return mpfr_lgamma(y, &sign, a, direction);
}

#define NVO_EXACT_1(f) [](mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr) { f(y, a, MPFR_RNDN); }
#define NVO_EXACT_2(f) [](mpfr_ptr y, mpfr_srcptr a, mpfr_srcptr b) { f(y, a, b, MPFR_RNDN); }
#define NVO_VALUE(T, expression)                                               \
    [](Extended x, [[maybe_unused]] Extended y) -> Extended {                  \
        [[maybe_unused]] const T a = static_cast<T>(x), b = static_cast<T>(y); \
        return expression;                                                     \
    }

const std::vector<Scalar>& scalars() {
    static const std::vector<Scalar> list = {
#define SCALAR(T, name, count, ours, f, peer, bound) \
    {#name, count, &format_of<T>, NVO_VALUE(T, ours), NVO_VALUE(T, peer), NVO_EXACT_##count(f), bound},
#include "tools/accuracy/scalars.def"
    };
    return list;
}

struct Range {
    std::string name, part;
    Extended lo, hi;
    double bound;

    bool contains(Extended x) const { return lo <= x && x <= hi; }
};
std::vector<Range> of_name(const std::vector<Range>& all, const std::string& name) {
    std::vector<Range> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found), [&](const Range& r) { return r.name == name; });
    return found;
}
std::vector<Range> intervals_of_scalar(const std::string& name) {
    static const std::vector<Range> all = {
#define INTERVAL(name, lo, hi) {#name, "", lo, hi, 0},
#include "tools/accuracy/scalars.def"
    };
    return of_name(all, name);
}
std::vector<Range> domains_of(const std::string& name) {
    static const std::vector<Range> all = {
#define DOMAIN(name, lo, hi) {#name, "", lo, hi, 0},
#include "tools/accuracy/scalars.def"
    };
    return of_name(all, name);
}
std::vector<Range> absolute_parts_of(const std::string& name) {
    static const std::vector<Range> all = {
#define ABSOLUTE(name, part, lo, hi, bound) {#name, #part, lo, hi, bound},
#include "tools/accuracy/scalars.def"
    };
    return of_name(all, name);
}

const Scalar& scalar_called(const std::string& name) {
    for (const Scalar& scalar : scalars())
        if (scalar.name == name) return scalar;
    throw std::invalid_argument("no scalar function is called " + name);
}

// ---- The measurement ------------------------------------------------------------------------------------------------

constexpr mpfr_prec_t exact_precision = 192;

class ScalarJudge {
public:
    explicit ScalarJudge(const Scalar& scalar) : scalar_(scalar) {}

    const tools::Mp& exact(Extended a, Extended b) {
        mpfr_set_ld(a_.get(), a, MPFR_RNDN);
        mpfr_set_ld(b_.get(), b, MPFR_RNDN);
        scalar_.exact(y_.get(), a_.get(), b_.get());
        return y_;
    }

private:
    const Scalar& scalar_;
    tools::Mp a_{0.0, 64}, b_{0.0, 64}, y_{0.0, exact_precision};
};

double absolute_error(Extended y, const tools::Mp& exact) {
    tools::Mp d(0.0, exact_precision);
    mpfr_set_ld(d.get(), y, MPFR_RNDN);
    mpfr_sub(d.get(), d.get(), exact.get(), MPFR_RNDA);
    mpfr_abs(d.get(), d.get(), MPFR_RNDU);
    return mpfr_get_d(d.get(), MPFR_RNDU);
}

struct Arguments {
    Samples a, b;
};
Arguments arguments_for(const Scalar& scalar) {
    Arguments arguments{scalar.format->walk(), {}};
    for (const Range& interval : intervals_of_scalar(scalar.name))
        scalar.format->add_interval(arguments.a, interval.lo, interval.hi);
    for (const Range& domain : domains_of(scalar.name))
        std::erase_if(arguments.a, [&](Extended x) { return !domain.contains(x); });
    if (scalar.arguments == 1) return arguments;
    // Any with any, neighbours in the walk, and all pairs of special ones.
    const Samples once = arguments.a;
    arguments.b = once;
    std::shuffle(arguments.b.begin(), arguments.b.end(), std::mt19937_64(3));
    for (std::size_t k = 1; k < once.size(); ++k) {
        arguments.a.push_back(once[k]);
        arguments.b.push_back(once[k - 1]);
    }
    const Extended infinity = std::numeric_limits<Extended>::infinity();
    const Extended special[] = {0, 1, infinity, -infinity, -1, -0.0L, std::numeric_limits<Extended>::quiet_NaN()};
    for (const Extended a : special) {
        for (const Extended b : special) {
            arguments.a.push_back(a);
            arguments.b.push_back(b);
        }
    }
    return arguments;
}

} // namespace

std::vector<std::string> scalars_called(const std::string& word) {
    std::vector<std::string> names;
    for (const Scalar& scalar : scalars()) {
        const std::string& name = scalar.name;
        if (word.empty() || name == word || name == "__ost" + word || name.starts_with(word + "."))
            names.push_back(name);
    }
    return names;
}

int arguments_of_scalar(const std::string& name) { return scalar_called(name).arguments; }

std::vector<ScalarFinding> survey_scalar(const std::string& name) {
    const Scalar& scalar = scalar_called(name);
    const std::vector<Range> parts = absolute_parts_of(name);
    std::vector<ScalarFinding> findings(1 + parts.size());
    for (std::size_t k = 0; k < findings.size(); ++k) {
        findings[k].name = name;
        findings[k].arguments = scalar.arguments;
        findings[k].bound = k == 0 ? scalar.bound : parts[k - 1].bound;
        findings[k].absolute = k != 0;
        if (k != 0) findings[k].part = parts[k - 1].part;
    }

    ScalarJudge judge(scalar);
    const Arguments arguments = arguments_for(scalar);
    for (std::size_t k = 0; k < arguments.a.size(); ++k) {
        const Extended a = arguments.a[k], b = arguments.b.empty() ? 0 : arguments.b[k];
        const auto part = std::find_if(parts.begin(), parts.end(), [a](const Range& r) { return r.contains(a); });
        ScalarFinding& finding = findings[part == parts.end() ? 0 : static_cast<std::size_t>(part - parts.begin()) + 1];
        const tools::Mp& exact = judge.exact(a, b);
        const auto error_of = [&](Extended y) {
            return finding.absolute ? absolute_error(y, exact) : scalar.format->error(y, exact);
        };
        const Extended got = scalar.ours(a, b);
        const double error = error_of(got);
        ++finding.samples;
        if (mpfr_number_p(exact.get()) != 0) {
            ++finding.numbers;
            finding.sum += error;
        }
        if (error > finding.worst.error) finding.worst = {error, a, b, got, scalar.format->nearest(exact)};
        finding.peer = std::max(finding.peer, error_of(scalar.peer(a, b)));
    }
    return findings;
}

std::vector<ScalarFinding::Case> try_scalar(const std::string& name, Extended a, Extended b) {
    const Scalar& scalar = scalar_called(name);
    ScalarJudge judge(scalar);
    const tools::Mp& exact = judge.exact(a, b);
    std::vector<ScalarFinding::Case> cases;
    for (const Function function : {scalar.ours, scalar.peer}) {
        const Extended y = function(a, b);
        cases.push_back({scalar.format->error(y, exact), a, b, y, scalar.format->nearest(exact)});
    }
    return cases;
}

// With a leading 1, as doubles are printed: the C library shows extended ones by groups of four bits.
std::string hex_extended(Extended x) {
    char text[64];
    if (!std::isfinite(x) || x == 0) {
        std::snprintf(text, sizeof text, "%La", x);
        return text;
    }
    int exponent;
    const Extended significand = 2 * std::frexp(std::fabs(x), &exponent); // from 1 to 2
    auto fraction = static_cast<std::uint64_t>(std::ldexp(significand - 1, 63)) << 1;
    std::string digits;
    for (; fraction != 0; fraction <<= 4) digits += "0123456789abcdef"[fraction >> 60];
    std::snprintf(text, sizeof text, "%s0x1%s%sp%+d", x < 0 ? "-" : "", digits.empty() ? "" : ".", digits.c_str(),
                  exponent - 1);
    return text;
}

} // namespace nvo::accuracy
