#include "tools/accuracy/samples.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <type_traits>

namespace nvo::accuracy {

namespace {

template <class T> class Sampler {
public:
    explicit Sampler(const SamplePlan& plan) : plan_(plan) {}

    Samples<T> make() {
        if (plan_.arguments == 1) {
            one_argument([this](T a) { samples_.values[0].push_back(a); });
        } else if (plan_.second_is_constant) {
            runs();
        } else {
            pairs();
        }
        // MPFR has one NaN. What a signalling one gives is for the tests of special values to say.
        for (auto& values : samples_.values)
            for (T& x : values)
                if (std::isnan(x)) x = std::copysign(Limits::quiet_NaN(), x);
        return std::move(samples_);
    }

private:
    using Limits = std::numeric_limits<T>;
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    static constexpr int digits = Limits::digits;
    static constexpr int lowest = Limits::min_exponent - 1, highest = Limits::max_exponent - 1; // 2^k is normal
    static constexpr int smallest = lowest - digits + 1;                                        // 2^k is a denormal

    const SamplePlan plan_;
    Samples<T> samples_;
    std::mt19937_64 random_{20261122}; // any fixed number

    int count(double full) const { return std::max(1, static_cast<int>(full * plan_.density)); }

    // ---- Numbers ----

    int between(int lo, int hi) { return lo + static_cast<int>(random_() % (static_cast<unsigned>(hi - lo) + 1)); }
    bool coin() { return (random_() & 1) != 0; }
    double unit() { return static_cast<double>(random_() >> 11) * 0x1p-53; }
    T any() { return std::bit_cast<T>(static_cast<Bits>(random_())); }

    // Numbers in ascending order, each with its place: places of neighbours differ by 1.
    static Bits place(T x) { return swap_negative(std::bit_cast<Bits>(x)); }
    static T at_place(Bits place) { return std::bit_cast<T>(swap_negative(place)); }
    static Bits swap_negative(Bits b) {
        constexpr Bits sign = Bits(1) << (8 * sizeof(T) - 1);
        return (b & sign) != 0 ? static_cast<Bits>(b ^ (sign - 1)) : b;
    }

    // The k-th neighbour, through zero, and through infinity into NaNs.
    static T neighbour(T x, int k) { return at_place(static_cast<Bits>(place(x) + static_cast<Bits>(k))); }
    // Every number equally likely.
    T between_patterns(T lo, T hi) {
        const Bits span = static_cast<Bits>(place(hi) - place(lo));
        return at_place(static_cast<Bits>(place(lo) + random_() % (std::uint64_t{span} + 1)));
    }
    T uniform(T lo, T hi) {
        const double u = unit();
        return std::clamp(static_cast<T>(lo * (1 - u) + hi * u), lo, hi);
    }
    // Of magnitude 2^exponent to 2^(exponent + 1): 0 and infinity outside the range.
    T in_binade(int exponent) {
        const double significand = 1 + unit();
        const T x = static_cast<T>(std::ldexp(significand, exponent));
        return coin() ? -x : x;
    }
    static int exponent_of(T x) { return x == 0 || !std::isfinite(x) ? 0 : std::ilogb(x); }

    // ---- Lists ----

    static std::vector<T> specials() {
        const T ulp = Limits::epsilon();
        std::vector<T> list;
        for (const T x : {T(0),
                          Limits::denorm_min(),
                          3 * Limits::denorm_min(),
                          Limits::min() - Limits::denorm_min(),
                          Limits::min(),
                          Limits::min() * (1 + ulp),
                          T(1) - ulp / 2,
                          T(1),
                          T(1) + ulp,
                          T(0.5),
                          T(1.5),
                          T(2),
                          T(2.5),
                          T(3),
                          T(10),
                          T(1) / ulp,
                          1 / ulp + 1,
                          2 / ulp,
                          4 / ulp,
                          std::sqrt(Limits::min()),
                          std::sqrt(Limits::max()),
                          Limits::max() / 2,
                          Limits::max() * (1 - ulp),
                          Limits::max(),
                          Limits::infinity(),
                          Limits::quiet_NaN()}) {
            list.push_back(x);
            list.push_back(-x);
        }
        return list;
    }

    // Patterns in equal steps, random within each step: every exponent and both signs get their share.
    template <class Put> void walk(int n, Put put) {
        const Bits step = std::numeric_limits<Bits>::max() / static_cast<Bits>(n);
        for (int i = 0; i < n; ++i)
            put(std::bit_cast<T>(static_cast<Bits>(static_cast<Bits>(i) * step + random_() % step)));
    }

    template <class Put> void one_argument(Put put) {
        const auto around = [&](T x, int reach) {
            for (int k = -reach; k <= reach; ++k) put(neighbour(x, k));
        };
        for (const T x : specials()) put(x);
        walk(count(1 << 20), put);
        for (int k = smallest; k <= highest; ++k) {
            const T power = std::ldexp(T(1), k);
            around(power, 3);
            around(-power, 3);
            if (k >= lowest) continue;
            for (int i = 0; i < count(256); ++i) put(in_binade(k));
        }
        for (int k = -count(4096); k <= count(4096); ++k) around(static_cast<T>(0.5 * k), 2);
        for (const HardCase& hard : plan_.hard) {
            around(static_cast<T>(hard.a), 2);
            around(-static_cast<T>(hard.a), 2);
        }
        for (const Interval& interval : plan_.intervals) {
            const auto [lo, hi] = ends(interval);
            around(lo, 64);
            around(hi, 64);
            for (int i = 0; i < count(1 << 17); ++i) {
                put(uniform(lo, hi));
                put(between_patterns(lo, hi));
            }
        }
    }

    static std::pair<T, T> ends(const Interval& interval) {
        constexpr double largest = Limits::max();
        return {static_cast<T>(std::clamp(interval.lo, -largest, largest)),
                static_cast<T>(std::clamp(interval.hi, -largest, largest))};
    }

    // An exponent of a result that is nearly too large, nearly too small, or near 1.
    int limit() {
        switch (between(0, 2)) {
        case 0: return between(highest - 1, highest + 1);
        case 1: return between(smallest - 2, lowest + 1);
        default: return between(-1, 1);
        }
    }

    // Of moderate size, or so near 1 that exponents up to 2^digits and beyond have powers that are no infinity.
    T base_of_powers() { return coin() ? std::fabs(in_binade(between(-8, 8))) : 1 + in_binade(between(-digits, -2)); }

    struct Pair {
        T a, b;
    };
    void put(Pair p) { // called with braces, so that random numbers are drawn from left to right
        samples_.values[0].push_back(p.a);
        samples_.values[1].push_back(p.b);
    }
    void put_around(T a, T b, int reach) {
        for (int i = -reach; i <= reach; ++i)
            for (int k = -reach; k <= reach; ++k) put({neighbour(a, i), neighbour(b, k)});
    }

    void pairs() {
        for (const T a : specials())
            for (const T b : specials()) put({a, b});
        walk(count(1 << 19), [&](T a) { put({a, any()}); });
        // Exponents that meet: sums of all shapes.
        walk(count(1 << 18), [&](T a) { put({a, in_binade(exponent_of(a) + between(-digits - 3, digits + 3))}); });
        walk(count(1 << 17), [&](T a) { // nearly equal, nearly opposite
            const T b = neighbour(a, between(-8, 8));
            put({a, coin() ? b : -b});
        });
        // Products, quotients and powers at the ends of the range.
        for (int i = 0; i < count(1 << 17); ++i) {
            const int e = limit();
            const int ea = between(smallest, highest);
            put({in_binade(ea), in_binade(e - ea)});
            put({in_binade(ea), in_binade(ea - e)});
            const T base = base_of_powers();
            put({base, static_cast<T>((e + unit()) / std::log2(static_cast<double>(base)))});
            put({in_binade(between(-8, 8)), static_cast<T>(between(-64, 64))}); // negative bases have powers here
        }
        for (const HardCase& hard : plan_.hard) put_around(static_cast<T>(hard.a), static_cast<T>(hard.b), 2);
        for (const Interval& interval : plan_.intervals) pairs_in(interval);
    }

    void pairs_in(const Interval& interval) {
        const auto [lo, hi] = ends(interval);
        for (const T a : {lo, hi})
            for (const T b : {lo, hi}) put_around(a, b, 8);
        for (int i = 0; i < count(1 << 17); ++i) {
            put({uniform(lo, hi), uniform(lo, hi)});
            put({between_patterns(lo, hi), between_patterns(lo, hi)});
        }
    }

    // Second arguments: small integers, halves, thirds, specials, any; with each a run of first ones.
    void runs() {
        std::vector<T> second = specials();
        for (int k = 0; k <= 40; ++k)
            for (const T part : {T(1), T(0.5), T(1) / 3}) {
                second.push_back(k * part);
                second.push_back(-k * part);
            }
        for (const HardCase& hard : plan_.hard) second.push_back(static_cast<T>(hard.b));
        const int random_ones = count(64);
        for (int i = 0; i < random_ones; ++i) second.push_back(in_binade(between(-4, i % 2 == 0 ? 12 : digits + 10)));
        if (plan_.density < 1) { // an even part of them, specials first
            const int keep = std::max<int>(16, static_cast<int>(plan_.density * static_cast<double>(second.size())));
            const std::size_t step = std::max<std::size_t>(1, second.size() / static_cast<std::size_t>(keep));
            std::vector<T> part;
            for (std::size_t i = 0; i < second.size(); i += step) part.push_back(second[i]);
            second = std::move(part);
        }
        const std::vector<T> first = specials();
        for (const T b : second) {
            std::vector<T> run(first);
            for (const HardCase& hard : plan_.hard) run.push_back(static_cast<T>(hard.a));
            for (const Interval& interval : plan_.intervals) {
                const auto [lo, hi] = ends(interval);
                for (int i = 0; i < 256; ++i) run.push_back(i % 2 == 0 ? uniform(lo, hi) : between_patterns(lo, hi));
            }
            run.resize(std::min<std::size_t>(run.size(), Samples<T>::run_length / 2));
            // Powers with this exponent at the ends of the range, and anything else.
            while (run.size() < Samples<T>::run_length) {
                run.push_back(static_cast<T>(std::exp2((limit() + unit()) / static_cast<double>(b))));
                run.push_back(in_binade(between(-8, 8)));
                run.push_back(any());
            }
            run.resize(Samples<T>::run_length);
            samples_.values[0].insert(samples_.values[0].end(), run.begin(), run.end());
            samples_.values[1].insert(samples_.values[1].end(), run.size(), b);
        }
    }
};

} // namespace

template <class T> Samples<T> make_samples(const SamplePlan& plan) { return Sampler<T>(plan).make(); }

template Samples<float> make_samples(const SamplePlan& plan);
template Samples<double> make_samples(const SamplePlan& plan);

} // namespace nvo::accuracy
