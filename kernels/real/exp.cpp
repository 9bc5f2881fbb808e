// Exp, Exp2, Exp10: b^x = 2^k 2^(j/N) b^r with x = (k + j/N) log_b 2 + r, 2^(j/N) from a table and b^r - 1 = p(r) by a
// short polynomial.
//
// Largest errors in ulp, and where; s over all floats, d over samples (./run accuracy, --exhaustive for s):
//
//   sExp    0.5683   0x1.3bef32p+6: got 0x1.ee4bdep+113, want 0x1.ee4bdcp+113
//   dExp    0.5239   -0x1.703c50529bd68p-1
//   sExp2   0.6187   -0x1.003d76p-7: got 0x1.fd3b78p-1, want 0x1.fd3b7ap-1
//   dExp2   0.5186   -0x1.b3e21ee363dp-5
//   sExp10  0.5565   0x1.20fbe4p+5: got 0x1.ff493ap+119, want 0x1.ff493cp+119
//   dExp10  0.5078   0x1.2a706cf8fe8dp+3

#include "frame/kernel.h"
#include "frame/mode.h"
#include "kernels/real/exp_routine.h"
#include "tables/exp2_fraction.h"

#include <cmath>
#include <limits>

using namespace nvo;

namespace {

// ---- Lane formulas ------------------------------------------------------------------------------------------------

// The constants of a row. n is the integer k N + j.
//   t          x multiplier + shifter, with n in its low bits; n = t - shifter
//   r          x - n log_b(2) / N in two parts; for base 2, x is already the multiple: r = x - (t - shifter)
//   table      2^(j/N), N a power of two
//   too_large  flagged: |x| above, by its upper word
template <class R> struct ExpLanes;
template <class R> struct Exp2Lanes;
template <class R> struct Exp10Lanes;

template <> struct ExpLanes<float> {
    static constexpr float multiplier = 0x1.715476p7F; // 184.66496: 128 / ln 2
    static constexpr float shifter = 12582912.0F;      // 1.5 * 2^23
    static constexpr auto& table = tables::exp2_fraction_128s;
    template <class V> static V remainder(V x, V n) {
        return (x + n * -0.0054168701171875F) + n * 1.6577690757912933e-06F;
    }
    template <class V> static V p(V r) { return r + 0.5F * (r * r); }
    template <class V> static auto special(V x) {
        return upper_word_above(from_bits<float>(bits(x) & 0x7FFFFFF0), 0, 0x42AEAC4F);
    }
};

template <> struct ExpLanes<double> {
    static constexpr double multiplier = 92.33248261689366;
    static constexpr double shifter = 6755399441055744.0;
    static constexpr auto& table = tables::exp2_fraction_64d;
    template <class V> static V remainder(V x, V n) {
        return (x - n * 0.010830424696223417) - n * 2.572804622327669e-14;
    }
    template <class V> static V p(V r) {
        return r + (r * r) * (0.4999999999994775 +
                              r * (0.1666666666667797 + r * (0.04166672368662385 + r * 0.00833333416441411)));
    }
    template <class V> static auto special(V x) { return upper_word_above(magnitude(x), 0, 0x4086232A); }
};

template <> struct Exp2Lanes<float> {
    static constexpr float shifter = 196608.0F; // 1.5 * 2^(23 - 6): the low 6 bits of t are the fraction
    static constexpr auto& table = tables::exp2_fraction_64s;
    template <class V> static V p(V r) { return (0.24022668600082397F * r + 0.693149745464325F) * r; }
    template <class V> static auto special(V x) { return upper_word_above(magnitude(x), 0, 0x42FC0000); }
};

template <> struct Exp2Lanes<double> {
    static constexpr double shifter = 105553116266496.0; // 1.5 * 2^(52 - 6)
    static constexpr auto& table = tables::exp2_fraction_64d;
    template <class V> static V p(V r) {
        return r * (0.6931471805599453 +
                    r * (0.24022650695884967 +
                         r * (0.05550410866607508 + r * (0.009618142269653759 + r * 0.0013333417185814622))));
    }
    template <class V> static auto special(V x) { return upper_word_above(magnitude(x), 0, 0x408FEFFF); }
};

template <> struct Exp10Lanes<float> {
    static constexpr float multiplier = 425.206787109375F;
    static constexpr float shifter = 12582912.0F;
    static constexpr auto& table = tables::exp2_fraction_128s;
    template <class V> static V remainder(V x, V n) {
        return (x + n * -0.002353668212890625F) + n * 1.8713717508944683e-06F;
    }
    template <class V> static V p(V r) { return (2.650949716567993F * r + 2.3025872707366943F) * r; }
    template <class V> static auto special(V x) { return upper_word_above(magnitude(x), 0, 0x4217B818); }
};

template <> struct Exp10Lanes<double> {
    static constexpr double multiplier = 425.20679614558236;
    static constexpr double shifter = 6896136929411072.0; // 1.5 * 2^52 + 2^47
    static constexpr auto& table = tables::exp2_fraction_128d;
    template <class V> static V remainder(V x, V n) {
        return (x - n * 0.0023517968411397305) + n * 1.487744411497209e-14;
    }
    template <class V> static V p(V r) {
        return r *
               (2.302585092994046 +
                r * (2.650949055239026 + r * (2.0346785917911965 + r * (1.1712555494866221 + r * 0.5396424512945068))));
    }
    template <class V> static auto special(V x) { return upper_word_above(magnitude(x), 0, 0x40733A70); }
};

// (T.hi + (T.hi p + T.lo)) 2^k. The flags keep 2^k and the result in the normal range, so that k can be added to the
// exponent field.
template <class R, class Row, int N> Lanes<R, N> exponential(Lanes<R, N> x) {
    using V = Lanes<R, N>;
    constexpr int entries = std::extent_v<std::remove_reference_t<decltype(Row::table)>>;
    constexpr int log2_entries = std::countr_zero(static_cast<unsigned>(entries));
    constexpr int significand = sizeof(R) == 4 ? 23 : 52;
    V t, r;
    if constexpr (requires { Row::multiplier; }) {
        t = x * Row::multiplier + Row::shifter;
        r = Row::remainder(x, t - Row::shifter);
    } else {
        t = x + Row::shifter;
        r = x - (t - Row::shifter);
    }
    const V p = Row::p(r);
    const auto entry = gather(Row::table, bits(t) & (entries - 1));
    const V y = entry.hi + (entry.hi * p + entry.lo);
    // In unsigned words: special lanes may wrap.
    constexpr auto exponent_field = ~((std::make_unsigned_t<Word<R>>(1) << significand) - 1);
    const auto k = (words(t) << (significand - log2_entries)) & exponent_field;
    return from_bits<R>(words(y) + k);
}

// ---- Bases of the routines ------------------------------------------------------------------------------------------

struct Base2 {
    static double p(double r) { return Exp2Lanes<double>::p(r); }
};
struct Base10 {
    static constexpr double multiplier = 212.60339807279118;
    static double remainder(double x, double n) {
        return (x + n * -0.004703593682222618) + n * -2.7088530630863833e-14;
    }
    static double p(double r) {
        return ((((0.5393660213379269 * r + 1.1712567517670747) * r + 2.0346785924261965) * r + 2.6509490552364285) *
                    r +
                2.3025850929940455) *
               r;
    }
};

// ---- Rows -----------------------------------------------------------------------------------------------------------

// Thresholds of a routine, by the row's own type: overflow (infinity), zero (total underflow) and denormal.
template <class R> struct ExpRow : ExpRoutine<R> {
    using Real = R;
    using Row = ExpLanes<R>;
};

template <class R> struct Exp2Row {
    using Real = R;
    using Row = Exp2Lanes<R>;
    using Base = Base2;
    static constexpr bool is_float = sizeof(R) == 4;
    static constexpr bool rounds_denormals_once = !is_float;
    static bool overflows(R x) { return x >= (is_float ? R(128) : R(1024)); }
    static bool vanishes(R x) { return x <= (is_float ? R(-150) : R(-1075)); }
    static bool may_be_denormal(R x) { return x < (is_float ? R(-126) : R(-1022)); }
    static bool is_tiny(R) { return false; }
};

template <class R> struct Exp10Row {
    using Real = R;
    using Row = Exp10Lanes<R>;
    using Base = Base10;
    static constexpr bool is_float = sizeof(R) == 4;
    static constexpr bool rounds_denormals_once = !is_float;
    // 38.53184 as a double: the float next to it overflows.
    static bool overflows(R x) { return x > (is_float ? 38.53184 : 308.2547155599167); }
    static bool vanishes(R x) { return x < (is_float ? -45.1545 : -323.60724533877976); }
    static bool may_be_denormal(R x) { return is_float ? x <= R(-37.929783F) : x < -307.6526555685887; }
    static bool is_tiny(R x) { return !is_float && std::abs(x) < 0x1p-52; }
};

template <class Row> struct Exponential {
    using Real = typename Row::Real;
    using R = Real;
    static constexpr Frame frame = Frame::F2;

    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        special = Row::Row::special(x);
        return exponential<R, typename Row::Row, N>(x);
    }

    static std::int32_t rare(R x, R* y) { return exp_of_any<Row>(x, y); }
};

// Exp alone has a shortcut for a thread that wants no errors at all: its overflows and underflows need no routine.
template <class R> struct Exp : Exponential<ExpRow<R>> {
    bool no_errors = (mode_word() & ARK_MODE_ERRORS) == ARK_ERRMODE_NOERR;

    template <int N> void shortcut(Lanes<R, N> x, Lanes<R, N>& y, LaneMask<R, N>& special) const {
        if (!no_errors) return;
        const auto finite = magnitude(x) <= std::numeric_limits<R>::max();
        const auto overflows = finite & (x > ExpRow<R>::overflow_above);
        const auto vanishes = finite & (x < ExpRow<R>::zero_below);
        y = overflows ? splat<Lanes<R, N>>(std::numeric_limits<R>::infinity()) : y;
        y = vanishes ? Lanes<R, N>{} : y;
        special &= ~(overflows | vanishes);
    }
};

} // namespace

NVO_KERNEL_U(s, Exp, (Exp<float>), (Exp<float>))
NVO_KERNEL_U(d, Exp, (Exp<double>), (Exp<double>))
NVO_KERNEL_U(s, Exp2, (Exponential<Exp2Row<float>>), (Exponential<Exp2Row<float>>))
NVO_KERNEL_U(d, Exp2, (Exponential<Exp2Row<double>>), (Exponential<Exp2Row<double>>))
NVO_KERNEL_U(s, Exp10, (Exponential<Exp10Row<float>>), (Exponential<Exp10Row<float>>))
NVO_KERNEL_U(d, Exp10, (Exponential<Exp10Row<double>>), (Exponential<Exp10Row<double>>))
