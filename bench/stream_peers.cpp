#include "bench/stream_peers.h"

#include "bench/numpy.h"

#include "nvo_ark/generators.h"

#define DSFMT_MEXP 19937
#include <Random123/ars.h>
#include <Random123/philox.h>
#include <Random123/uniform.hpp>
#include <boost/random/linear_congruential.hpp>
#include <boost/random/mersenne_twister.hpp>
#include <boost/random/niederreiter_base2.hpp>
#include <boost/random/sobol.hpp>
#include <boost/random/uniform_01.hpp>
#include <boost/version.hpp>
#include <dSFMT.h>
#include <gsl/gsl_qrng.h>
#include <gsl/gsl_rng.h>
#include <gsl/gsl_version.h>
#include <memory>
#include <random>

namespace bench {

namespace {

// ---- Engines of our own: the plain loops
// ------------------------------------------------------------------------------
//
// As textbooks write the generators, with their constants in the code where they are constants. fill() keeps the state
// in local variables.

struct PlainMcg31m1 {
    std::uint32_t x = 1;
    std::uint32_t operator()() {
        const std::uint32_t out = x;
        x = static_cast<std::uint32_t>(std::uint64_t{1132489760} * x % 0x7FFFFFFF);
        return out;
    }
};

struct PlainMcg59 {
    std::uint64_t x = 1;
    std::uint64_t operator()() {
        const std::uint64_t out = x;
        x = 302875106592253 * x & ((std::uint64_t{1} << 59) - 1);
        return out;
    }
};

struct PlainR250 {
    std::uint32_t x[250];
    int p = 0, q = 103;
    PlainR250() {
        std::mt19937 words;
        for (std::uint32_t& word : x) word = static_cast<std::uint32_t>(words());
    }
    std::uint32_t operator()() {
        const std::uint32_t word = x[p] ^= x[q];
        if (++p == 250) p = 0;
        if (++q == 250) q = 0;
        return word;
    }
};

// L'Ecuyer, Operations Research 47 (1999), in 64-bit integers. A sign can't be foreseen, so that no branch depends on
// it.
struct PlainMrg32k3a {
    static constexpr std::int64_t m1 = 4294967087, m2 = 4294944443;
    std::int64_t x1[3] = {1, 1, 1}, x2[3] = {1, 1, 1};
    std::uint32_t operator()() {
        const std::int64_t new1 = not_negative((1403580 * x1[1] - 810728 * x1[0]) % m1, m1);
        x1[0] = x1[1], x1[1] = x1[2], x1[2] = new1;
        const std::int64_t new2 = not_negative((527612 * x2[2] - 1370589 * x2[0]) % m2, m2);
        x2[0] = x2[1], x2[1] = x2[2], x2[2] = new2;
        return static_cast<std::uint32_t>(not_negative(new1 - new2, m1));
    }
    static std::int64_t not_negative(std::int64_t x, std::int64_t m) { return x + (x >> 63 & m); }
};

struct FourWords {
    std::uint32_t word[4];
};

// One of 273 sets, so that multipliers and moduli are data, as they are for us.
struct PlainWh {
    std::uint32_t x[4] = {1, 2, 3, 4}, a[4], m[4];
    double reciprocal[4];
    explicit PlainWh(int set) {
        for (int i = 0; i < 4; ++i) {
            a[i] = _ost_WH_A[set][i];
            m[i] = _ost_WH_M[set][i];
            reciprocal[i] = 1.0 / m[i];
        }
    }
    FourWords operator()() {
        const FourWords out = {{x[0], x[1], x[2], x[3]}};
        for (int i = 0; i < 4; ++i) x[i] = a[i] * x[i] % m[i];
        return out;
    }
    double fraction() {
        const FourWords out = (*this)();
        double sum = 0;
        for (int i = 0; i < 4; ++i) sum += out.word[i] * reciprocal[i];
        return sum - static_cast<int>(sum);
    }
};

// ---- Engines of libraries
// -----------------------------------------------------------------------------------------------

// Set 0 of MT2203 in templates that take any twister's parameters.
using StandardMt2203 = std::mersenne_twister_engine<std::uint32_t, 32, 69, 34, 5, 0xAF81055F, 12, 0xFFFFFFFF, 7,
                                                    0xDD7EEF80, 15, 0xEFD78000, 18, 1812433253>;
using BoostMt2203 = boost::random::mersenne_twister_engine<std::uint32_t, 32, 69, 34, 5, 0xAF81055F, 12, 0xFFFFFFFF, 7,
                                                           0xDD7EEF80, 15, 0xEFD78000, 18, 1812433253>;
using StandardMcg31m1 = std::linear_congruential_engine<std::uint32_t, 1132489760, 0, 0x7FFFFFFF>;
using BoostMcg31m1 = boost::random::linear_congruential_engine<std::uint32_t, 1132489760, 0, 0x7FFFFFFF>;
using StandardMcg59 = std::linear_congruential_engine<std::uint64_t, 302875106592253, 0, std::uint64_t{1} << 59>;

constexpr unsigned dimensions = 10;

class Gsl {
public:
    explicit Gsl(const gsl_rng_type* type) : state_(gsl_rng_alloc(type), gsl_rng_free) {}
    std::uint32_t operator()() { return static_cast<std::uint32_t>(gsl_rng_get(state_.get())); }
    double uniform() { return gsl_rng_uniform(state_.get()); }

private:
    std::shared_ptr<gsl_rng> state_;
};

// ---- Laws: what is made of an engine's words
// ----------------------------------------------------------------------------

constexpr auto words = [](auto& engine) { return engine(); };
template <class R> constexpr auto scaled(R scale) {
    return [scale](auto& engine) { return static_cast<R>(engine()) * scale; };
}
template <class R>
constexpr auto standard_uniform = [](auto& engine) { return std::uniform_real_distribution<R>(0, 1)(engine); };
template <class R> constexpr auto boost_uniform = [](auto& engine) { return boost::random::uniform_01<R>()(engine); };
constexpr auto wh_fraction = [](PlainWh& engine) { return engine.fraction(); };
constexpr auto gsl_uniform = [](Gsl& engine) { return engine.uniform(); };

// ---- Bodies
// ---------------------------------------------------------------------------------------------------------------

// Calls fill(r) for each array of numbers.
template <class R, class Fill> Body repeated(void* target, Fill fill) {
    return [r = static_cast<R*>(target), fill](benchmark::State& state) mutable {
        for (auto _ : state) {
            fill(r);
            benchmark::ClobberMemory();
        }
    };
}

// The law's numbers one by one. The engine is a local variable, so that its state may stay in registers.
template <class R, class Engine, class Law> Body one_by_one(void* target, Engine engine, Law law) {
    return repeated<R>(target, [engine, law](R* r) mutable {
        Engine local = engine;
        for (int i = 0; i < numbers_a_call; ++i) r[i] = static_cast<R>(law(local));
        engine = local;
    });
}

// Blocks of four words, of a counter through a cipher.
template <class R, class Cipher, class Convert> Body by_counter(void* target, Convert convert) {
    return repeated<R>(target, [convert, counter = typename Cipher::ctr_type{{}}](R* r) mutable {
        const typename Cipher::key_type key(typename Cipher::ukey_type{{}});
        for (int i = 0; i < numbers_a_call; i += 4) {
            counter.incr();
            const auto block = Cipher()(counter, key);
            for (unsigned k = 0; k < 4; ++k) r[static_cast<unsigned>(i) + k] = convert(block[k]);
        }
    });
}
static_assert(numbers_a_call % 4 == 0);

Body gsl_points(void* target, const gsl_qrng_type* type) {
    const std::shared_ptr<gsl_qrng> points(gsl_qrng_alloc(type, dimensions), gsl_qrng_free);
    return repeated<double>(target, [points](double* r) {
        for (unsigned i = 0; i < numbers_a_call; i += dimensions) gsl_qrng_get(points.get(), r + i);
    });
}
static_assert(numbers_a_call % dimensions == 0);

Body dsfmt_doubles(void* target) {
    const auto state = std::make_shared<dsfmt_t>();
    dsfmt_init_gen_rand(state.get(), 1);
    return repeated<double>(target,
                            [state](double* r) { dsfmt_fill_array_close_open(state.get(), r, numbers_a_call); });
}

Body standard_device(void* target) {
    const auto device = std::make_shared<std::random_device>("rdrand");
    return repeated<std::uint32_t>(target, [device](std::uint32_t* r) {
        for (int i = 0; i < numbers_a_call; ++i) r[i] = (*device)();
    });
}

// ---- The list
// -------------------------------------------------------------------------------------------------------------

class List {
public:
    explicit List(void* target) : target_(target) {}

    void add(const char* generator, Numbers numbers, Library library, const std::string& what, Body body,
             bool alike = false) {
        peers_.push_back({generator, numbers, library, what, alike, std::move(body), {}});
    }
    template <class Word = std::uint32_t, class Engine>
    void add_words(const char* generator, Library library, const std::string& what, Engine engine, bool alike = false) {
        add(generator, Numbers::words, library, what, one_by_one<Word>(target_, engine, words), alike);
    }
    template <class Engine, class SingleLaw, class DoubleLaw>
    void add_reals(const char* generator, Library library, const std::string& what, Engine engine, SingleLaw single_law,
                   DoubleLaw double_law, bool alike = false) {
        add(generator, Numbers::floats, library, what, one_by_one<float>(target_, engine, single_law), alike);
        add(generator, Numbers::doubles, library, what, one_by_one<double>(target_, engine, double_law), alike);
    }

    template <class Word = std::uint32_t, class Engine>
    void standard(const char* generator, const std::string& what, Engine engine, bool alike = false) {
        add_words<Word>(generator, Library::standard, what, engine, alike);
        add_reals(generator, Library::standard, "std::uniform_real_distribution, " + what, engine,
                  standard_uniform<float>, standard_uniform<double>, alike);
    }
    template <class Engine>
    void boost(const char* generator, const std::string& what, Engine engine, bool alike = false) {
        add_words(generator, Library::boost, what, engine, alike);
        add_reals(generator, Library::boost, "boost::random::uniform_01, " + what, engine, boost_uniform<float>,
                  boost_uniform<double>, alike);
    }
    void gsl(const char* generator, const std::string& what, const gsl_rng_type* type, bool alike = false) {
        add_words(generator, Library::gsl, what, Gsl(type), alike);
        add_reals(generator, Library::gsl, "gsl_rng_uniform, " + what, Gsl(type), gsl_uniform, gsl_uniform, alike);
    }
    template <class Cipher> void random123(const char* generator, const std::string& what) {
        const auto same = [](std::uint32_t word) { return word; };
        add(generator, Numbers::words, Library::random123, what, by_counter<std::uint32_t, Cipher>(target_, same));
        add(generator, Numbers::floats, Library::random123, "r123::u01, " + what,
            by_counter<float, Cipher>(target_, r123::u01<float, std::uint32_t>));
        add(generator, Numbers::doubles, Library::random123, "r123::u01, " + what,
            by_counter<double, Cipher>(target_, r123::u01<double, std::uint32_t>));
    }
    void numpy(const NumpyTimes& times, const char* generator, const std::string& bit_generator, bool alike = false) {
        for (const Numbers numbers : {Numbers::words, Numbers::floats, Numbers::doubles}) {
            const auto found = times.times.find(bit_generator + " " + numbers_names[static_cast<int>(numbers)]);
            if (found == times.times.end()) continue;
            add(generator, numbers, Library::numpy, "numpy.random." + bit_generator, {}, alike);
            for (std::size_t half = 0; half < 2; ++half)
                peers_.back().measured[half] = found->second[half] * numbers_a_call;
        }
    }

    std::vector<StreamPeer> take() { return std::move(peers_); }

private:
    void* target_;
    std::vector<StreamPeer> peers_;
};

const NumpyTimes& numpy_times() {
    static const NumpyTimes times = time_numpy(numbers_a_call);
    return times;
}

} // namespace

std::vector<StreamPeer> make_stream_peers(void* target) {
    constexpr bool alike = true;
    List list(target);

    list.add_words("MCG31M1", Library::plain, "64-bit product, % (2^31 - 1)", PlainMcg31m1());
    list.add_reals("MCG31M1", Library::plain, "64-bit product, % (2^31 - 1)", PlainMcg31m1(), scaled<float>(0x1p-31),
                   scaled<double>(1 / 2147483647.0));
    list.standard("MCG31M1", "std::linear_congruential_engine", StandardMcg31m1());
    list.boost("MCG31M1", "boost::random::linear_congruential_engine", BoostMcg31m1());
    list.gsl("MCG31M1", "gsl_rng_minstd", gsl_rng_minstd, alike);

    list.add_words("R250", Library::plain, "two indices into a ring", PlainR250());
    list.add_reals("R250", Library::plain, "two indices into a ring", PlainR250(), scaled<float>(0x1p-32),
                   scaled<double>(0x1p-32));
    list.gsl("R250", "gsl_rng_r250", gsl_rng_r250);

    list.add_words("MRG32K3A", Library::plain, "64-bit products, % m1, % m2", PlainMrg32k3a());
    list.add_reals("MRG32K3A", Library::plain, "64-bit products, % m1, % m2", PlainMrg32k3a(), scaled<float>(0x1p-32),
                   scaled<double>(1 / 4294967087.0));
    list.gsl("MRG32K3A", "gsl_rng_cmrg", gsl_rng_cmrg, alike);

    list.add_words<std::uint64_t>("MCG59", Library::plain, "64-bit product, & (2^59 - 1)", PlainMcg59());
    list.add_reals("MCG59", Library::plain, "64-bit product, & (2^59 - 1)", PlainMcg59(), scaled<float>(0x1p-59),
                   scaled<double>(0x1p-59));
    list.standard<std::uint64_t>("MCG59", "std::linear_congruential_engine", StandardMcg59());

    list.add_words<FourWords>("WH", Library::plain, "32-bit products, %", PlainWh(0));
    list.add_reals("WH", Library::plain, "32-bit products, %, fraction of the sum", PlainWh(0), wh_fraction,
                   wh_fraction);

    list.boost("SOBOL", "boost::random::sobol_engine", boost::random::sobol_engine<std::uint32_t, 32>(dimensions));
    list.add("SOBOL", Numbers::doubles, Library::gsl, "gsl_qrng_sobol", gsl_points(target, gsl_qrng_sobol));
    list.boost("NIEDERREITER", "boost::random::niederreiter_base2_engine",
               boost::random::niederreiter_base2_engine<std::uint32_t, 32>(dimensions));
    list.add("NIEDERREITER", Numbers::doubles, Library::gsl, "gsl_qrng_niederreiter_2",
             gsl_points(target, gsl_qrng_niederreiter_2));

    for (const char* generator : {"MT19937", "SFMT19937"}) {
        const bool another = generator == std::string("SFMT19937");
        list.standard(generator, "std::mt19937", std::mt19937(), another);
        list.boost(generator, "boost::random::mt19937", boost::random::mt19937(), another);
        list.gsl(generator, "gsl_rng_mt19937", gsl_rng_mt19937, another);
        list.numpy(numpy_times(), generator, "MT19937", another);
        list.add(generator, Numbers::doubles, Library::dsfmt, "dsfmt_fill_array_close_open", dsfmt_doubles(target),
                 alike);
    }
    list.standard("MT2203", "std::mersenne_twister_engine", StandardMt2203());
    list.boost("MT2203", "boost::random::mersenne_twister_engine", BoostMt2203());

    if (__ostCPUisRDRAND() == 1)
        list.add("NONDETERM", Numbers::words, Library::standard, "std::random_device, rdrand", standard_device(target));

    if (__ostCPUisAES() == 1) list.random123<r123::ARS4x32_R<5>>("ARS5", "r123::ARS4x32_R<5>");
    list.random123<r123::Philox4x32_R<10>>("PHILOX4X32X10", "r123::Philox4x32_R<10>");
    list.numpy(numpy_times(), "PHILOX4X32X10", "Philox", alike);
    return list.take();
}

Body boost_discard(std::uint64_t count) {
    return [count, engine = boost::random::mt19937()](benchmark::State& state) mutable {
        for (auto _ : state) {
            engine.discard(count);
            benchmark::ClobberMemory();
        }
    };
}

std::string stream_library_versions() {
    const std::string numpy = numpy_times().version;
    return "Boost " + std::to_string(BOOST_VERSION / 100000) + "." + std::to_string(BOOST_VERSION / 100 % 1000) +
           ", GSL " + GSL_VERSION + ", " + (numpy.empty() ? "no NumPy" : "NumPy " + numpy) + ", dSFMT, Random123";
}

} // namespace bench
