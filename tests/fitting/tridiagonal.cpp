// The tridiagonal solvers and their adapters.
#include "platform/tridiagonal.h"

#include "fitting/adapters.h"
#include "tests/fitting/construction.h"
#include "tests/fitting/fetches.h"

#include <array>
#include <thread>

namespace {

using namespace nvo::tests;

template <class R> struct Solvers;
#define NVO_SOLVERS(t, real)                                                                               \
    template <> struct Solvers<real> {                                                                     \
        static constexpr const char* names[] = {"nvo_lapack_ps_" #t "dttrfb", "nvo_lapack_" #t "dttrsb",   \
                                                "nvo_lapack_ps_" #t "dtsvb"};                              \
        template <class F> static F* find(int i) { return reinterpret_cast<F*>(fetches::find(names[i])); } \
        static inline const auto factorise = find<decltype(nvo_lapack_ps_##t##dttrfb)>(0);                 \
        static inline const auto solve = find<decltype(nvo_lapack_##t##dttrsb)>(1);                        \
        static inline const auto both = find<decltype(nvo_lapack_ps_##t##dtsvb)>(2);                       \
        static constexpr auto adapted_factorise = t##dttrfb_4dfl;                                          \
        static constexpr auto adapted_solve = t##dttrsb_4dfl;                                              \
        static constexpr auto adapted_both = t##dtsvb_4dfl;                                                \
    };
NVO_SOLVERS(s, float)
NVO_SOLVERS(d, double)

// A matrix, arrays of exactly its size, and right sides with room between them that must stay as it is.
template <class R> struct System {
    static constexpr R gap = -777;

    std::int64_t n, nrhs, ldb;
    std::vector<R> dl, d, du, b;

    System(std::int64_t order, std::int64_t sides, double spread, std::mt19937& random)
        : n(order), nrhs(sides), ldb(n + 3) {
        const auto any = [&] {
            return R(std::pow(spread, std::uniform_real_distribution(-1.0, 1.0)(random)) * (random() % 2 ? 1 : -1));
        };
        for (std::int64_t i = 0; i < n; ++i) {
            dl.push_back(any());
            du.push_back(any());
            d.push_back((2 + std::abs(i > 0 ? dl[i - 1] : 0) + std::abs(du[i])) * (random() % 2 ? 1 : -1));
        }
        for (auto* outer : {&dl, &du}) {
            if (n > 0) outer->pop_back();
            outer->shrink_to_fit();
        }
        for (std::int64_t k = 0; k < nrhs * ldb; ++k) b.push_back(k % ldb < n ? any() : gap);
    }
    const R* side(std::int64_t c) const { return b.data() + c * ldb; }

    std::int64_t solve_at_once() {
        std::int64_t info = 77;
        Solvers<R>::both(&n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &ldb, &info);
        return info;
    }
    std::int64_t factorise() {
        std::int64_t info = 77;
        Solvers<R>::factorise(&n, dl.data(), d.data(), du.data(), &info);
        return info;
    }
    std::int64_t solve(char trans) {
        std::int64_t info = 77;
        Solvers<R>::solve(&trans, &n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &ldb, &info, 1);
        return info;
    }
};

template <class R> class Tridiagonal : public testing::Test {};
TYPED_TEST_SUITE(Tridiagonal, Precisions);

// Row i of A x - b in higher precision, in units of an epsilon of |A| |x| + |b|. The diagonal dominates: what solves
// the rows this well is the solution.
template <class R> void judge(System<R> system, const System<R>& solution, bool transposed, Worst& residual) {
    const std::int64_t n = system.n;
    if (transposed) std::swap(system.dl, system.du);
    for (std::int64_t c = 0; c < system.nrhs; ++c) {
        const R *x = solution.side(c), *b = system.side(c);
        for (std::int64_t i = 0; i < n; ++i) {
            const Wide terms[] = {-Wide(b[i]), i > 0 ? Wide(system.dl[i - 1]) * x[i - 1] : 0, Wide(system.d[i]) * x[i],
                                  i < n - 1 ? Wide(system.du[i]) * x[i + 1] : 0};
            Wide sum = 0, size = 0;
            for (const Wide term : terms) sum += term, size += size_of(term);
            residual.see(sum, epsilon<R> * size, n, i);
        }
        for (std::int64_t i = n; i < system.ldb; ++i) ASSERT_EQ(system.gap, x[i]);
    }
}

// And they are the same, to the bit, of a side alone and of several at once.
TYPED_TEST(Tridiagonal, SolutionsMeetTheirRows) {
    using R = TypeParam;
    std::mt19937 random(1);
    Worst residual;
    for (const double spread : {1.0, 10.0, 1e6}) {
        for (const std::int64_t n : {1, 2, 3, 4, 5, 6, 7, 40, 41, 1000, 10007}) {
            const System<R> given(n, 1 + n % 9, spread, random);
            System<R> factors = given, at_once = given;
            ASSERT_EQ(0, factors.factorise());
            for (const char form : {'T', 't', 'C', 'c', 'N', 'n'}) {
                System<R> solution = factors;
                ASSERT_EQ(0, solution.solve(form));
                judge(given, solution, form != 'N' && form != 'n', residual);
                for (std::int64_t c = 0; c < given.nrhs; ++c) {
                    System<R> alone = factors;
                    alone.nrhs = 1;
                    alone.b.assign(given.side(c), given.side(c) + n);
                    ASSERT_EQ(0, alone.solve(form));
                    ASSERT_TRUE(std::equal(alone.b.begin(), alone.b.end(), solution.side(c)));
                }
                if (form == 'N') {
                    ASSERT_EQ(0, at_once.solve_at_once());
                    ASSERT_EQ(solution.b, at_once.b);
                }
            }
        }
    }
    residual.expect_below(4);
}

TYPED_TEST(Tridiagonal, VanishedPivotsAndBadArgumentsAreReported) {
    using R = TypeParam;
    std::mt19937 random(3);
    const struct {
        std::vector<R> dl, d, du;
    } singular[] = {{{}, {0}, {}},
                    {{1}, {0, 1}, {1}},
                    {{1}, {1, 1}, {1}},
                    {{0, 0}, {1, 0, 1}, {0, 0}},
                    {{1, 1}, {0, 1, 5}, {1, 1}},
                    {{1, 0, 0, 0}, {2, 2, 2, 2, 0}, {1, 0, 0, 0}},
                    {{2, 0, 0, 1}, {2, 1, 2, 2, 2}, {1, 0, 0, 0}}};
    for (const auto& s : singular) {
        System<R> system(static_cast<std::int64_t>(s.d.size()), 1, 1, random);
        system.dl = s.dl;
        system.d = s.d;
        system.du = s.du;
        System<R> same = system;
        const std::int64_t info = system.factorise();
        EXPECT_GE(info, 1);
        EXPECT_LE(info, system.n);
        EXPECT_EQ(info, same.solve_at_once());
    }
    const System<R> sound(4, 2, 1, random);
    const struct {
        char trans;
        std::int64_t n, nrhs, ldb, of_factorise, of_solve, of_both;
    } cases[] = {{'N', 0, 2, 3, 0, 0, 0},     {'N', 4, 0, 7, 0, 0, 0},    {'X', 4, 2, 7, 0, -1, 0},
                 {'N', -1, 2, 7, -1, -2, -1}, {'N', 4, -1, 7, 0, -3, -2}, {'C', 4, 2, 3, 0, -8, -7}};
    for (const auto& c : cases) {
        const auto call = [&](auto method) {
            System<R> system = sound;
            system.n = c.n;
            system.nrhs = c.nrhs;
            system.ldb = c.ldb;
            const std::int64_t info = method(system);
            if (info != 0) {
                EXPECT_EQ(sound.b, system.b);
            }
            return info;
        };
        EXPECT_EQ(c.of_factorise, call([](auto& s) { return s.factorise(); }));
        EXPECT_EQ(c.of_solve, call([&](auto& s) { return s.solve(c.trans); }));
        EXPECT_EQ(c.of_both, call([](auto& s) { return s.solve_at_once(); }));
    }
}

// ---- adapters ------------------------------------------------------------------------------------------------------

template <class R> std::array<std::int32_t, 3> run_adapters(System<R>& separate, System<R>& at_once) {
    const auto n = static_cast<std::int32_t>(separate.n), nrhs = static_cast<std::int32_t>(separate.nrhs);
    const auto ldb = static_cast<std::int32_t>(separate.ldb);
    std::array<std::int32_t, 3> info = {11, 22, 33};
    Solvers<R>::adapted_factorise(&n, separate.dl.data(), separate.d.data(), separate.du.data(), &info[0]);
    Solvers<R>::adapted_solve("N", &n, &nrhs, separate.dl.data(), separate.d.data(), separate.du.data(),
                              separate.b.data(), &ldb, &info[1]);
    Solvers<R>::adapted_both(&n, &nrhs, at_once.dl.data(), at_once.d.data(), at_once.du.data(), at_once.b.data(), &ldb,
                             &info[2]);
    return info;
}

// They end as the solvers do.
template <class R> void expect_adapters_solve(std::uint32_t seed) {
    std::mt19937 random(seed);
    const System<R> given(50, 3, 10, random);
    System<R> expected = given, separate = given, at_once = given;
    ASSERT_EQ(0, expected.solve_at_once());
    EXPECT_EQ((std::array<std::int32_t, 3>{0, 0, 0}), run_adapters(separate, at_once));
    EXPECT_EQ(expected.b, separate.b);
    EXPECT_EQ(expected.b, at_once.b);
}

TYPED_TEST(Tridiagonal, AdaptersCallTheSolversAndFetchThemOnce) {
    expect_adapters_solve<TypeParam>(4);
    const auto fetched = fetches::names.size();
    expect_adapters_solve<TypeParam>(5);
    EXPECT_EQ(fetched, fetches::names.size());
}

TEST(TridiagonalOfThreads, AdaptersMayBeCalledFirstByAllAtOnce) {
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            expect_adapters_solve<float>(i);
            expect_adapters_solve<double>(i);
        });
    for (auto& thread : threads) thread.join();
}

TYPED_TEST(Tridiagonal, AdaptersTouchNothingWithoutASolver) {
    using R = TypeParam;
    fetches::in_new_process([] {
        fetches::answer = [](const char*) -> NvoServFunction { return nullptr; };
        std::mt19937 random(6);
        const System<R> given(5, 2, 1, random);
        System<R> separate = given, at_once = given;
        for (int call = 0; call < 2; ++call)
            EXPECT_EQ((std::array<std::int32_t, 3>{11, 22, 33}), run_adapters(separate, at_once));
        for (const System<R>* system : {&separate, &at_once})
            EXPECT_TRUE(system->dl == given.dl && system->d == given.d && system->du == given.du &&
                        system->b == given.b);
        std::vector<std::string> asked(Solvers<R>::names, Solvers<R>::names + 3);
        asked.insert(asked.end(), Solvers<R>::names, Solvers<R>::names + 3); // again
        EXPECT_EQ(asked, fetches::names);
    });
}

template <class R> void factorise_to_wide_info(const std::int64_t* n, R*, R*, R*, std::int64_t* info) {
    *info = (std::int64_t{9} << 32) + (*n == -3 ? 97 : 98); // n is widened with its sign
}

TYPED_TEST(Tridiagonal, AdaptersPassTheLow32BitsOfInfo) {
    using R = TypeParam;
    fetches::in_new_process([] {
        fetches::answer = [](const char*) { return reinterpret_cast<NvoServFunction>(factorise_to_wide_info<R>); };
        const std::int32_t n = -3;
        std::int32_t info = 0;
        Solvers<R>::adapted_factorise(&n, nullptr, nullptr, nullptr, &info);
        EXPECT_EQ(97, info);
    });
}

} // namespace
