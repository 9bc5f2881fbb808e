// Ln, Log2, Log10, by the formula of log_lanes.h; sLn by a polynomial alone. Only denormals need the routine: the other
// special arguments have no finite logarithm.
//
// Largest errors in ulp, and where; s over all floats, d over samples (./run accuracy, --exhaustive for s):
//
//   sLn     0.974   0x1.556f9p+0: got 0x1.26e4dp-2, want 0x1.26e4cep-2
//   dLn     0.745   0x1.ff8028236b93cp-1: got -0x1.ff9f54d7335cap-11, want -0x1.ff9f54d7335c9p-11
//   sLog2   0.678   0x1.00b052p+0: got 0x1.fc11d8p-9, want 0x1.fc11dap-9
//   dLog2   0.504   0x1.ff554cbba261bp-1: got -0x1.ecdb9bd577938p-10, want -0x1.ecdb9bd577937p-10
//   sLog10  0.631   0x1.009408p+0: got 0x1.00dddap-10, want 0x1.00dddcp-10
//   dLog10  0.510   0x1.ff6e15f291644p-1: got -0x1.fb3d9031c060ep-12, want -0x1.fb3d9031c060fp-12
//
// Log2 of a power of two is exact, and the logarithm of 1 is +0 in all rows.

#include "frame/kernel.h"
#include "kernels/real/log_lanes.h"
#include "kernels/real/log_routine.h"

#include <cmath>

using namespace nvo;

namespace {

// ---- Rows of the table formula --------------------------------------------------------------------------------------

template <class R> struct Log2;

template <> struct Log2<float> {
    static constexpr float c = 1.4375F;
    static constexpr float least = 0x1p-7F;
    static constexpr float hi = 1;
    static constexpr float lo = 0;
    static constexpr auto& table = tables::log2_lanes_s;
    template <class V> static V p(V u) {
        return u * ((0.16189733147621155F * u - 0.349087119102478F) * u + 0.0036139413714408875F);
    }
};

template <> struct Log2<double> {
    static constexpr double c = 1.44140625;
    static constexpr double least = 0x1p-9;
    static constexpr double hi = 1;
    static constexpr double lo = 0;
    static constexpr auto& table = tables::log2_lanes_d;
    template <class V> static V p(V u) {
        const V square = u * u;
        return u * (((0.04637390417325059 + -0.0268105958065367 * u) * square +
                     (0.16058097174555816 + -0.08355432676174268 * u)) *
                        square +
                    (0.0008941205083323369 + -0.3471936244581749 * u));
    }
};

template <class R> struct Log10;

template <> struct Log10<float> {
    static constexpr float c = 0.43359375F;
    static constexpr float least = 0x1p-9F;
    static constexpr float hi = 0.30103302001953125F;
    static constexpr float lo = -3.0243536457419395e-06F;
    static constexpr auto& table = tables::log10_lanes_s;
    template <class V> static V p(V u) {
        return u * ((1.7759097814559937F * u - 1.1550259590148926F) * u + 0.00161610241048038F);
    }
};

template <> struct Log10<double> {
    static constexpr double c = 0.43359375;
    static constexpr double least = 0x1p-10;
    static constexpr double hi = 0.30102999566224753;
    static constexpr double lo = 1.7336659603714182e-12;
    static constexpr auto& table = tables::log10_lanes_d;
    template <class V> static V p(V u) {
        const V square = u * u;
        return u *
               (((5.667634541250403 + -10.892777143968315 * u) * square + (1.77588163533491 + -3.07179526108605 * u)) *
                    square +
                (0.0016161024074997114 + -1.1550167667401798 * u));
    }
};

static_assert(log_table_meets_at_one<LnDouble>());
static_assert(log_table_meets_at_one<Log2<float>>() && log_table_meets_at_one<Log2<double>>());
static_assert(log_table_meets_at_one<Log10<float>>() && log_table_meets_at_one<Log10<double>>());

// The routines of bases 2 and 10 share all but the table with the lanes of doubles.
struct Log2Base : Log2<double> {
    static constexpr auto& table = tables::log2_routine;
};
struct Log10Base : Log10<double> {
    static constexpr auto& table = tables::log10_routine;
};

// ---- Kernels --------------------------------------------------------------------------------------------------------

template <class R, class Base> struct Logarithm {
    using Real = R;
    static constexpr Frame frame = Frame::F2;
    static constexpr int block = 4 * lane_width<R>; // each register waits for its division or its polynomial

    static std::int32_t rare(R x, R* y) {
        constexpr R infinity = std::numeric_limits<R>::infinity();
        if (std::isnan(x) || x == infinity) return *y = x * x, ARK_STATUS_OK;
        if (x == 0)
            return *y = -infinity, ARK_STATUS_SINGULARITY; // ±0; also a denormal that the control register makes one
        if (x < 0) return *y = std::numeric_limits<R>::quiet_NaN(), ARK_STATUS_DOMAIN;
        return *y = static_cast<R>(log_of_positive<Base>(x)), ARK_STATUS_OK;
    }
};

template <class R, class Row, class Base> struct TableLogarithm : Logarithm<R, Base> {
    template <int N> static Lanes<R, N> lanes(Lanes<R, N> x, LaneMask<R, N>& special) {
        special = not_positive_normal(x);
        return log_by_table<Row>(x);
    }
};

// x = 2^k m, m from 2/3 to 4/3, f = m - 1: exact. ln x = k ln 2 + f + f^2 Q(f); k hi is exact.
struct LnFloat : Logarithm<float, LnBase> {
    static constexpr std::int32_t two_thirds = 0x3F2AAAAB;

    template <class V> static V p(V f) {
        return f +
               (f * f) *
                   (-0.5F + f * (0.3333321511745453F +
                                 f * (-0.24999797344207764F +
                                      f * (0.20010405778884888F +
                                           f * (-0.16680487990379333F +
                                                f * (0.140058696269989F +
                                                     f * (-0.12184260785579681F +
                                                          f * (0.1398443728685379F + f * -0.12891685962677002F))))))));
    }

    template <int N> static Lanes<float, N> lanes(Lanes<float, N> x, LaneMask<float, N>& special) {
        special = not_positive_normal(x);
        const auto sum = reinterpret_cast<LaneMask<float, N>>(words(x) - two_thirds);
        const auto k = __builtin_convertvector(sum >> 23, Lanes<float, N>);
        const auto m = from_bits<float>((sum & 0x007FFFFF) + two_thirds);
        return k * 0.693145751953125F + (k * 1.428606765330187e-06F + p(m - 1.0F));
    }
};

} // namespace

NVO_KERNEL_U(s, Ln, (LnFloat), (LnFloat))
NVO_KERNEL_U(d, Ln, (TableLogarithm<double, LnDouble, LnBase>), (TableLogarithm<double, LnDouble, LnBase>))
NVO_KERNEL_U(s, Log2, (TableLogarithm<float, Log2<float>, Log2Base>), (TableLogarithm<float, Log2<float>, Log2Base>))
NVO_KERNEL_U(d, Log2, (TableLogarithm<double, Log2<double>, Log2Base>),
             (TableLogarithm<double, Log2<double>, Log2Base>))
NVO_KERNEL_U(s, Log10, (TableLogarithm<float, Log10<float>, Log10Base>),
             (TableLogarithm<float, Log10<float>, Log10Base>))
NVO_KERNEL_U(d, Log10, (TableLogarithm<double, Log10<double>, Log10Base>),
             (TableLogarithm<double, Log10<double>, Log10Base>))
