// Prints tables/log.h: the tables of Ln, Log2 and Log10, of their lanes and of their routines.

#include "tools/support/mp.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

using nvo::tools::Mp;

namespace {

struct Base {
    int (*log)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
    double hi, lo; // the two parts of log_b 2 that the formula multiplies by the exponent
};

Mp power_of_two(int n) { return Mp(std::ldexp(1.0, n)); }

Mp rounded_to_multiple(const Mp& x, const Mp& step) {
    Mp n(0.0);
    mpfr_rint((n).get(), (x / step).get(), MPFR_RNDN);
    return n * step;
}

template <class R> R nearest(const Mp& x) {
    return sizeof(R) == 4 ? static_cast<R>(mpfr_get_flt(x.get(), MPFR_RNDN)) : static_cast<R>(x.to_double());
}

template <class R> R exactly(const Mp& x) {
    const R value = nearest<R>(x);
    if (mpfr_cmp_d(x.get(), static_cast<double>(value)) != 0) std::abort();
    return value;
}

// log_b(v) - bias log_b 2 as {hi, lo}. The power of two next to v counts with the same two parts of log_b 2 that the
// formula uses, so that k (hi, lo) plus the entry is (0, 0) if v 2^k / 2^bias is 1. The rest is rounded to a multiple
// of 2^-grid for hi.
template <class R> void print_log(const Base& base, const Mp& v, int bias, int grid) {
    const int power = -static_cast<int>(std::lround(Mp::apply(mpfr_log2, v).to_double()));
    const Mp exponent(bias + power);
    const Mp log = Mp::apply(base.log, v * power_of_two(power));
    const Mp head = rounded_to_multiple(log, power_of_two(-grid));
    const R hi = exactly<R>(head - exponent * Mp(base.hi));
    const R lo = nearest<R>(log - head - exponent * Mp(base.lo)) + R(0); // no -0
    std::printf("%a, %a", static_cast<double>(hi), static_cast<double>(lo));
}

template <class R> void print_lanes(const char* name, const Base& base, double c, int p, int grid) {
    const int first = static_cast<int>(std::ldexp(c, p - 1));
    const int last = 2 * first;
    const int bias = (sizeof(R) == 4 ? 127 : 1023) - p;
    std::printf("inline constexpr %s %s[%d][2] = {\n", sizeof(R) == 4 ? "float" : "double", name, last - first + 1);
    for (int r = first; r <= last; ++r) {
        std::printf("    {");
        print_log<R>(base, Mp(c) / Mp(r), bias, grid);
        std::printf("},\n");
    }
    std::printf("};\n\n");
}

void print_routine(const char* name, const Base& base, double c) {
    std::printf("inline constexpr double %s[65][3] = {\n", name);
    for (int j = 0; j <= 64; ++j) {
        const Mp reciprocal = rounded_to_multiple(Mp(c) * Mp(64) / Mp(64 + j), power_of_two(-11));
        std::printf("    {%a, ", exactly<double>(reciprocal));
        print_log<double>(base, Mp(c) / reciprocal, 0, 42);
        std::printf("},\n");
    }
    std::printf("};\n\n");
}

} // namespace

int main() {
    std::printf(
        "// Made by ./run tables log; do not edit.\n"
        "//\n"
        "// Lanes: entry r - first of a table for c and P = 2^-p, r from first = 2^(p-1) c to 2^p c, is\n"
        "//     log_b(c / r) - (bias - p) log_b 2,  bias 127 or 1023,  as {hi, lo}.\n"
        "// Routines: entry j, from 0 to 64, is {rcp, hi, lo}, with\n"
        "//     rcp = c / (1 + j/64) to 11 fraction bits,  hi + lo = log_b(c / rcp).\n"
        "//\n"
        "// With L = Lh + Ll the two parts of log_b 2 in the formula and s the nearest integer to log2(r / c), or to\n"
        "// log2(rcp / c), and v = c 2^s / r, or c 2^s / rcp: hi is log_b v rounded to a multiple of 2^-grid, minus\n"
        "// (s + bias - p) Lh, or s Lh; lo is the rest of log_b v minus the same multiple of Ll, rounded. So hi can "
        "be\n"
        "// added to a multiple of Lh without rounding, and where the logarithm nears 0 both sums vanish.\n"
        "#pragma once\n\nnamespace nvo::tables {\n\n");

    std::printf("// c = 1, p = 10, L = 0x1.62e42fefap-1 + 0x1.cf79abc9ep-40, grid 43\n");
    print_lanes<double>("ln_lanes_d", {mpfr_log, 0.6931471805582987, 1.6465949582866463e-12}, 1, 10, 43);
    std::printf("// c = 1, p = 8, L = 0x1.62e4p-1 + 0x1.7f7d1cp-20, grid 16\n");
    print_lanes<float>("ln_lanes_s", {mpfr_log, 0.693145751953125, 1.428606765330187e-06}, 1, 8, 16);
    std::printf("// c = 1.4375, p = 7, L = 1 + 0, grid 17\n");
    print_lanes<float>("log2_lanes_s", {mpfr_log2, 1, 0}, 1.4375, 7, 17);
    std::printf("// c = 1.44140625, p = 9, L = 1 + 0, grid 43\n");
    print_lanes<double>("log2_lanes_d", {mpfr_log2, 1, 0}, 1.44140625, 9, 43);
    std::printf("// c = 0.43359375, p = 9, L = 0x1.3442p-2 - 0x1.95ecp-19, grid 18\n");
    const Base log10_s = {mpfr_log10, 0.30103302001953125, -3.0243536457419395e-06};
    print_lanes<float>("log10_lanes_s", log10_s, 0.43359375, 9, 18);
    std::printf("// c = 0.43359375, p = 10, L = 0x1.34413509fp-2 + 0x1.e7fbcc47cp-40, grid 44\n");
    const Base log10_d = {mpfr_log10, 0.30102999566224753, 1.7336659603714182e-12};
    print_lanes<double>("log10_lanes_d", log10_d, 0.43359375, 10, 44);

    std::printf("// c = 1, L = 0x1.62e42fefa38p-1 + 0x1.ef35793c7673p-45, grid 42\n");
    print_routine("ln_routine", {mpfr_log, 0.6931471805598903, 5.497923018708371e-14}, 1);
    std::printf("// c and L as in the lanes, grid 42\n");
    print_routine("log2_routine", {mpfr_log2, 1, 0}, 1.44140625);
    print_routine("log10_routine", log10_d, 0.43359375);
    std::printf("} // namespace nvo::tables\n");
}
