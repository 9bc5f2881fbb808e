// Prints tables/lgamma.h: the approximations that make up ln |gamma(x)|, each the polynomial through its Chebyshev
// points. With --errors, how far each is off.

#include "tools/support/mp.h"

#include <cmath>
#include <complex>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

using nvo::tools::Mp;

namespace {

using Function = std::function<Mp(const Mp&)>;
using Coefficients = std::vector<Mp>; // lowest first

bool show_errors = false;

Mp lgamma_of(const Mp& x) {
    Mp y;
    int sign;
    mpfr_lgamma(y.get(), &sign, x.get(), MPFR_RNDN);
    return y;
}
Mp digamma_of(const Mp& x) { return Mp::apply(mpfr_digamma, x); }
Mp log_of(const Mp& x) { return Mp::apply(mpfr_log, x); }
Mp pi() {
    Mp y;
    mpfr_const_pi(y.get(), MPFR_RNDN);
    return y;
}
bool is_below(const Mp& a, const Mp& b) { return mpfr_less_p(a.get(), b.get()) != 0; }
Mp magnitude(const Mp& x) { return Mp::apply(mpfr_abs, x); }
long double rounded(const Mp& x) { return mpfr_get_ld(x.get(), MPFR_RNDN); }
Mp exactly(long double x) {
    Mp y;
    mpfr_set_ld(y.get(), x, MPFR_RNDN);
    return y;
}

// ---- Interpolation --------------------------------------------------------------------------------------------------

struct Interval {
    Mp middle, half;

    Interval(const Mp& from, const Mp& to) : middle((from + to) / Mp(2)), half((to - from) / Mp(2)) {}
    Mp at(const Mp& u) const { return middle + half * u; } // u from -1 to 1
};

Mp value(const Coefficients& c, const Mp& x) {
    Mp y = c.back();
    for (std::size_t k = c.size() - 1; k-- > 0;) y = y * x + c[k];
    return y;
}

// Of (x + shift) scale, from that of x.
Coefficients substituted(const Coefficients& c, const Mp& shift, const Mp& scale) {
    Coefficients y = {Mp(0)};
    for (std::size_t k = c.size(); k-- > 0;) {
        Coefficients next(y.size() + 1);
        for (std::size_t i = 0; i < y.size(); ++i) {
            next[i] = next[i] + y[i] * shift * scale;
            next[i + 1] = next[i + 1] + y[i] * scale;
        }
        next[0] = next[0] + c[k];
        y = next;
    }
    y.resize(c.size());
    return y;
}

// The polynomial in u through the n Chebyshev points: Newton's form, multiplied out.
Coefficients interpolated(const Function& f, const Interval& interval, int n) {
    Coefficients points, differences;
    for (int k = 0; k < n; ++k) {
        points.push_back(Mp::apply(mpfr_cos, pi() * Mp(2 * k + 1) / Mp(2 * n)));
        differences.push_back(f(interval.at(points.back())));
    }
    for (int order = 1; order < n; ++order) {
        for (int k = n - 1; k >= order; --k)
            differences[k] = (differences[k] - differences[k - 1]) / (points[k] - points[k - order]);
    }
    Coefficients c = {differences[n - 1]};
    for (int k = n - 2; k >= 0; --k) {
        c.insert(c.begin(), Mp(0));
        for (std::size_t i = 0; i + 1 < c.size(); ++i) c[i] = c[i] - points[k] * c[i + 1];
        c[0] = c[0] + differences[k];
    }
    return c;
}

void report(const std::string& name, const Function& f, const Function& approximation, const Interval& interval) {
    if (!show_errors) return;
    Mp worst(0);
    for (int k = -300; k <= 300; ++k) {
        const Mp x = interval.at(Mp(k / 300.0));
        const Mp error = magnitude((approximation(x) - f(x)) / f(x));
        if (is_below(worst, error)) worst = error;
    }
    std::fprintf(stderr, "%-16s relative error 2^%.1f\n", name.c_str(), std::log2(worst.to_double()));
}

// Coefficients in x of the polynomial of n terms that is near f, rounded.
Coefficients fitted(const std::string& name, const Function& f, const Interval& interval, int n) {
    Coefficients c = substituted(interpolated(f, interval, n), Mp(0) - interval.middle, Mp(1) / interval.half);
    for (Mp& x : c) x = exactly(rounded(x));
    report(
        name, f, [&](const Mp& x) { return value(c, x); }, interval);
    return c;
}

// ---- Factors --------------------------------------------------------------------------------------------------------

struct Complex {
    Mp re, im;
};
Complex operator-(const Complex& a, const Complex& b) { return {a.re - b.re, a.im - b.im}; }
Complex operator*(const Complex& a, const Complex& b) { return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re}; }
Complex operator/(const Complex& a, const Complex& b) {
    const Mp norm = b.re * b.re + b.im * b.im;
    const Complex product = a * Complex{b.re, Mp(0) - b.im};
    return {product.re / norm, product.im / norm};
}

// All roots at once, by the iteration of Weierstrass.
std::vector<Complex> roots_of(const Coefficients& c) {
    const auto degree = c.size() - 1;
    std::vector<Complex> roots;
    for (std::size_t k = 0; k < degree; ++k) {
        const std::complex<double> start =
            std::polar(3.0, 0.4 + 2 * M_PI * static_cast<double>(k) / static_cast<double>(degree));
        roots.push_back({Mp(start.real()), Mp(start.imag())});
    }
    for (int round = 0; round < 120; ++round) {
        for (std::size_t k = 0; k < degree; ++k) {
            Complex p = {c[degree], Mp(0)}, q = p;
            for (std::size_t i = degree; i-- > 0;) {
                p = p * roots[k];
                p.re = p.re + c[i];
            }
            for (std::size_t i = 0; i < degree; ++i)
                if (i != k) q = q * (roots[k] - roots[i]);
            roots[k] = roots[k] - p / q;
        }
    }
    return roots;
}

struct Factors {
    long double scale;
    std::vector<std::array<long double, 2>> quadratics; // x^2 + a x + b
};

// The same as fitted(), as a product; n is odd. The roots come in conjugate pairs, real ones are paired in order.
Factors factored(const std::string& name, const Function& f, const Interval& interval, int n) {
    const Coefficients c = interpolated(f, interval, n);
    const auto add = [&](Factors& to, const Mp& sum, const Mp& product) {
        to.quadratics.push_back({rounded(Mp(0) - sum), rounded(product)});
    };
    Factors factors;
    std::vector<Mp> reals;
    for (const Complex& root : roots_of(c)) {
        const Mp re = interval.at(root.re), im = interval.half * root.im;
        if (is_below(magnitude(im), Mp(0x1p-100))) {
            reals.push_back(re);
        } else if (mpfr_sgn(im.get()) > 0) {
            add(factors, re + re, re * re + im * im);
        }
    }
    for (std::size_t k = 0; k + 1 < reals.size(); k += 2)
        add(factors, reals[k] + reals[k + 1], reals[k] * reals[k + 1]);
    Mp scale = c.back();
    for (int k = 1; k < n; ++k) scale = scale / interval.half;
    factors.scale = rounded(scale);

    const auto product = [&](const Mp& x) {
        Mp y = exactly(factors.scale);
        for (const auto& [a, b] : factors.quadratics) y = y * ((x + exactly(a)) * x + exactly(b));
        return y;
    };
    report(name, f, product, interval);
    return factors;
}

// ---- Output ---------------------------------------------------------------------------------------------------------

void print_list(const Coefficients& c) {
    std::printf("{");
    for (std::size_t k = 0; k < c.size(); ++k) std::printf("%s%LaL", k == 0 ? "" : ", ", rounded(c[k]));
    std::printf("}");
}
void print_factors(const Factors& factors) {
    std::printf("{%LaL, {", factors.scale);
    const char* between = "";
    for (const auto& [a, b] : factors.quadratics) {
        std::printf("%s{%LaL, %LaL}", between, a, b);
        between = ", ";
    }
    std::printf("}}");
}

// ---- The pieces -----------------------------------------------------------------------------------------------------

// Seven terms in each of the two interleaved parts would leave errors of 2^-50.7 near 1 and 2^-53 in the middle.
constexpr int terms = 16, quadratics = 12;

void print_near_roots() {
    const auto print = [](const char* name, const Coefficients& c) {
        std::printf("inline constexpr long double %s[%zu] = ", name, c.size());
        print_list(c);
        std::printf(";\n");
    };
    const auto quotient_at = [](double root) {
        return
            [root](const Mp& t) { return mpfr_zero_p(t.get()) ? digamma_of(Mp(root)) : lgamma_of(Mp(root) + t) / t; };
    };
    print("lgamma_1", fitted("lgamma_1", quotient_at(1), {Mp(-0.125), Mp(0.25)}, terms));
    print("lgamma_2", fitted("lgamma_2", quotient_at(2), {Mp(-0.25), Mp(0.25)}, terms));

    Mp low(1.25), high(1.75);
    for (int k = 0; k < 250; ++k) {
        const Mp middle = (low + high) / Mp(2);
        (mpfr_sgn(digamma_of(middle).get()) < 0 ? low : high) = middle;
    }
    const Mp minimum = lgamma_of(low);
    const auto rest = [&](const Mp& t) {
        return mpfr_zero_p(t.get()) ? Mp(0) : (lgamma_of(low + t) - minimum) / (t * t);
    };
    std::printf("inline constexpr long double lgamma_minimum_at = %LaL, lgamma_minimum = %LaL;\n", rounded(low),
                rounded(minimum));
    print("lgamma_middle", fitted("lgamma_middle", rest, {Mp(1.25) - low, Mp(1.75) - low}, terms));
}

void print_products() {
    std::printf("struct LGammaProduct {\n    long double scale;\n    long double quadratics[%d][2];\n};\n", quadratics);
    const Function f = [](const Mp& x) { return lgamma_of(x) / (x - Mp(2)); };
    std::printf("inline constexpr LGammaProduct lgamma_2_to_4 =\n    ");
    print_factors(factored("lgamma_2_to_4", f, {Mp(2.25), Mp(4)}, 2 * quadratics + 1));
    std::printf(";\ninline constexpr LGammaProduct lgamma_4_to_256[6] = {\n");
    for (int e = 2; e < 8; ++e) {
        const Mp start(std::ldexp(1, e));
        const Function in_t = [&](const Mp& t) { return lgamma_of(start + t * start); };
        std::printf("    ");
        print_factors(factored("lgamma from 2^" + std::to_string(e), in_t, {Mp(0), Mp(1)}, 2 * quadratics + 1));
        std::printf(",\n");
    }
    std::printf("};\n");
}

// A root between two arguments, where f goes from above 0 to below or the other way.
Mp root_between(Mp positive, Mp negative) {
    for (int k = 0; k < 250; ++k) {
        const Mp middle = (positive + negative) / Mp(2);
        (mpfr_sgn(lgamma_of(middle).get()) > 0 ? positive : negative) = middle;
    }
    return positive;
}

constexpr int intervals = 13, terms_at_roots = 13;

struct AtRoot {
    double lower, root, upper;
    Coefficients c;
};
// The reach is 1/16 of the distance to the pole beside the root.
AtRoot at_root(const Mp& pole, const Mp& middle) {
    const Mp exact_root = root_between(pole + (middle - pole) * Mp(0x1p-60), middle);
    const Mp root(exact_root.to_double());
    const Mp reach = magnitude(root - pole) / Mp(16);
    AtRoot row{(root - reach).to_double(), root.to_double(), (root + reach).to_double(), {}};
    const Mp rest = exactly(rounded(lgamma_of(root)));
    const Function quotient = [&](const Mp& d) { return (lgamma_of(root + d) - rest) / d; };
    char name[32];
    std::snprintf(name, sizeof name, "root %.9f", row.root);
    row.c = fitted(name, quotient, {Mp(0) - reach, reach}, terms_at_roots - 1);
    row.c.insert(row.c.begin(), rest);
    return row;
}

void print_roots() {
    for (const bool left : {true, false}) {
        std::vector<AtRoot> rows;
        for (int n = -3; n > -3 - intervals; --n) rows.push_back(at_root(Mp(left ? n : n + 1), Mp(n + 0.5)));
        std::printf("inline constexpr double %cRIB[%d][3] = {\n", left ? 'L' : 'R', intervals);
        for (const AtRoot& row : rows) std::printf("    {%a, %a, %a},\n", row.lower, row.root, row.upper);
        std::printf("};\ninline constexpr long double %cRP[%d][%d] = {\n", left ? 'L' : 'R', intervals, terms_at_roots);
        for (const AtRoot& row : rows) {
            std::printf("    ");
            print_list(row.c);
            std::printf(",\n");
        }
        std::printf("};\n");
    }
}

void print_sine() {
    const Function f = [](const Mp& s) {
        const Mp a = sqrt(s);
        return log_of(Mp::apply(mpfr_sin, pi() * a) / (pi() * a * (Mp(1) - s))) / s;
    };
    const Coefficients c = fitted("log_of_sine", f, {Mp(0), Mp(0.25)}, 10);
    std::printf("inline constexpr long double log_of_sine[%zu] = ", c.size());
    print_list(c);
    std::printf(";\n");
}

} // namespace

int main(int count, char** words) {
    show_errors = count > 1 && std::strcmp(words[1], "--errors") == 0;
    std::printf("// Made by ./run tables lgamma; do not edit.\n"
                "// Polynomials, lowest coefficient first, for f(x) = ln |gamma(x)|:\n"
                "//     lgamma_1         f(1 + t) / t, -0.125 <= t <= 0.25\n"
                "//     lgamma_2         f(2 + t) / t, -0.25 <= t <= 0.25\n"
                "//     lgamma_middle    (f(c + t) - f(c)) / t^2, c = lgamma_minimum_at, 1.25 <= c + t <= 1.75\n"
                "//     LRP, RRP         f(root + d): row k for the left and the right root in (-3 - k, -2 - k)\n"
                "//     log_of_sine      ln(sin(pi g) / (pi g (1 - g^2))) / s, s = g^2 <= 0.25\n"
                "// Products of x^2 + a x + b and a scale, each pair {a, b}:\n"
                "//     lgamma_2_to_4    f(x) / (x - 2), 2.25 <= x <= 4\n"
                "//     lgamma_4_to_256  row k: f(2^(k + 2) (1 + t)), 0 <= t <= 1\n"
                "// LRIB, RRIB: {lower bound, root, upper bound}, the reach of LRP and RRP.\n"
                "#pragma once\n\nnamespace nvo::tables {\n\n");
    print_near_roots();
    print_products();
    print_roots();
    print_sine();
    std::printf("\n} // namespace nvo::tables\n");
}
