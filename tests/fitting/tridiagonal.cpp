// The tridiagonal solvers and their adapters.

#include "platform/tridiagonal.h"

#include "fitting/adapters.h"
#include "tests/fitting/construction.h"
#include "tests/fitting/fetches.h"

#include <thread>

namespace {

using namespace nvo::tests;

template <class R> struct Solvers;
#define NVO_SOLVERS(t, real)                                                                                          \
    template <> struct Solvers<real> {                                                                                \
        template <class F> static F* find(const char* name) { return reinterpret_cast<F*>(fetches::find(name)); }     \
        static inline const auto factorise = find<decltype(nvo_lapack_ps_##t##dttrfb)>("nvo_lapack_ps_" #t "dttrfb"); \
        static inline const auto solve = find<decltype(nvo_lapack_##t##dttrsb)>("nvo_lapack_" #t "dttrsb");           \
        static inline const auto both = find<decltype(nvo_lapack_ps_##t##dtsvb)>("nvo_lapack_ps_" #t "dtsvb");        \
        static constexpr auto adapted_factorise = t##dttrfb_4dfl;                                                     \
        static constexpr auto adapted_solve = t##dttrsb_4dfl;                                                         \
        static constexpr auto adapted_both = t##dtsvb_4dfl;                                                           \
        static constexpr auto factorise_name = "nvo_lapack_ps_" #t "dttrfb", solve_name = "nvo_lapack_" #t "dttrsb",  \
                              both_name = "nvo_lapack_ps_" #t "dtsvb";                                                \
    };
NVO_SOLVERS(s, float)
NVO_SOLVERS(d, double)

// A matrix, arrays of exactly its size, and right sides with room between them that must stay as it is.
template <class R> struct System {
    static constexpr R gap = -777;
    static constexpr std::int64_t gap_size = 3;

    std::int64_t n, nrhs;
    std::vector<R> dl, d, du, b;

    System(std::int64_t order, std::int64_t sides, double spread, std::mt19937& random) : n(order), nrhs(sides) {
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
        for (std::int64_t c = 0; c < nrhs; ++c) {
            for (std::int64_t i = 0; i < n; ++i) b.push_back(any());
            b.insert(b.end(), gap_size, gap);
        }
    }
    std::int64_t ldb() const { return n + gap_size; }
    const R* side(std::int64_t c) const { return b.data() + c * ldb(); }
    System transposed() const {
        System other = *this;
        std::swap(other.dl, other.du);
        return other;
    }

    std::int64_t solve_at_once() {
        std::int64_t info = 77;
        const std::int64_t stride = ldb();
        Solvers<R>::both(&n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &stride, &info);
        return info;
    }
    std::int64_t factorise() {
        std::int64_t info = 77;
        Solvers<R>::factorise(&n, dl.data(), d.data(), du.data(), &info);
        return info;
    }
    std::int64_t solve(char trans) {
        std::int64_t info = 77;
        const std::int64_t stride = ldb();
        Solvers<R>::solve(&trans, &n, &nrhs, dl.data(), d.data(), du.data(), b.data(), &stride, &info, 1);
        return info;
    }
};

// Elimination with row interchanges, in higher precision.
template <class R> std::vector<Wide> reference(const System<R>& system, std::int64_t side) {
    const std::int64_t n = system.n;
    std::vector<std::array<Wide, 4>> rows; // elements of columns i, i + 1 and i + 2, and the right side
    const auto above = [&](std::int64_t i) { return i < n - 1 ? Wide(system.du[i]) : 0; };
    std::array<Wide, 4> row = {system.d[0], above(0), 0, system.side(side)[0]};
    for (std::int64_t i = 0; i < n - 1; ++i) {
        std::array<Wide, 4> next = {system.dl[i], system.d[i + 1], above(i + 1), system.side(side)[i + 1]};
        if (size_of(next[0]) > size_of(row[0])) std::swap(row, next);
        const Wide factor = next[0] / row[0];
        rows.push_back(row);
        row = {next[1] - factor * row[1], next[2] - factor * row[2], 0, next[3] - factor * row[3]};
    }
    rows.push_back(row);
    std::vector<Wide> x(static_cast<std::size_t>(n) + 2, 0);
    for (std::int64_t i = n - 1; i >= 0; --i)
        x[i] = (rows[i][3] - rows[i][1] * x[i + 1] - rows[i][2] * x[i + 2]) / rows[i][0];
    return x;
}

// Row i of A x - b in units of an epsilon of |A| |x| + |b|; and the distance to the reference by the largest element.
template <class R>
void judge(const System<R>& system, const R* x, std::int64_t side, Worst& residual, Worst* distance) {
    const std::int64_t n = system.n;
    for (std::int64_t i = 0; i < n; ++i) {
        Wide sum = -Wide(system.side(side)[i]), size = size_of(sum);
        const auto add = [&](Wide a, Wide b) {
            sum += a * b;
            size += size_of(a * b);
        };
        if (i > 0) add(system.dl[i - 1], x[i - 1]);
        add(system.d[i], x[i]);
        if (i < n - 1) add(system.du[i], x[i + 1]);
        residual.see(sum, epsilon<R> * size, n, i);
    }
    if (!distance) return;
    const auto exact = reference(system, side);
    Wide largest = 0;
    for (const Wide e : exact) largest = std::max(largest, size_of(e));
    for (std::int64_t i = 0; i < n; ++i) distance->see(exact[i] - x[i], epsilon<R> * largest, n, i);
}

template <class R> class Tridiagonal : public testing::Test {};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(Tridiagonal, Precisions);

TYPED_TEST(Tridiagonal, SolutionsAreThoseOfHigherPrecision) {
    using R = TypeParam;
    std::mt19937 random(1);
    Worst residual, distance, transposed;
    for (const double spread : {1.0, 10.0, 1e6}) {
        for (const std::int64_t n : {1, 2, 3, 4, 5, 6, 7, 40, 41, 1000, 10007}) {
            const System<R> given(n, 5, spread, random);
            System<R> factors = given;
            ASSERT_EQ(0, factors.factorise());
            System<R> plain = factors, other = factors;
            ASSERT_EQ(0, plain.solve('N'));
            ASSERT_EQ(0, other.solve('T'));
            for (std::int64_t c = 0; c < given.nrhs; ++c) {
                judge(given, plain.side(c), c, residual, spread > 10 ? nullptr : &distance);
                judge(given.transposed(), other.side(c), c, transposed, nullptr);
                for (std::int64_t i = 0; i < given.gap_size; ++i) ASSERT_EQ(given.gap, plain.side(c)[n + i]);
            }
        }
    }
    residual.expect_below(4);
    transposed.expect_below(4);
    distance.expect_below(4);
}

TYPED_TEST(Tridiagonal, SideIsSolvedTheSameAloneAndAtOnce) {
    using R = TypeParam;
    std::mt19937 random(2);
    for (const std::int64_t n : {1, 2, 3, 8, 9, 100}) {
        for (std::int64_t nrhs = 0; nrhs <= 9; ++nrhs) {
            const System<R> given(n, nrhs, 10, random);
            System<R> factors = given, at_once = given;
            ASSERT_EQ(0, factors.factorise());
            System<R> separate = factors;
            ASSERT_EQ(0, separate.solve('n'));
            ASSERT_EQ(0, at_once.solve_at_once());
            EXPECT_EQ(separate.b, at_once.b);
            for (std::int64_t c = 0; c < nrhs; ++c) {
                System<R> alone = factors;
                alone.nrhs = 1;
                alone.b.assign(given.side(c), given.side(c) + n);
                ASSERT_EQ(0, alone.solve('N'));
                EXPECT_TRUE(std::equal(alone.b.begin(), alone.b.end(), separate.side(c)));
            }
        }
    }
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
    System<R> empty(0, 2, 1, random);
    EXPECT_EQ(0, empty.factorise());
    EXPECT_EQ(0, empty.solve('N'));
    EXPECT_EQ(0, empty.solve_at_once());
    System<R> system(4, 2, 1, random);
    const auto before = system.b;
    EXPECT_EQ(-1, system.solve('X'));
    system.n = -1;
    EXPECT_EQ(-1, system.factorise());
    EXPECT_EQ(-2, system.solve('N'));
    EXPECT_EQ(-1, system.solve_at_once());
    system.n = 4;
    system.nrhs = -1;
    EXPECT_EQ(-3, system.solve('N'));
    EXPECT_EQ(-2, system.solve_at_once());
    system.nrhs = 2;
    const std::int64_t narrow = 3;
    std::int64_t info = 77;
    Solvers<R>::both(&system.n, &system.nrhs, system.dl.data(), system.d.data(), system.du.data(), system.b.data(),
                     &narrow, &info);
    EXPECT_EQ(-7, info);
    Solvers<R>::solve("C", &system.n, &system.nrhs, system.dl.data(), system.d.data(), system.du.data(),
                      system.b.data(), &narrow, &info, 1);
    EXPECT_EQ(-8, info);
    EXPECT_EQ(before, system.b);
}

// ---- adapters ------------------------------------------------------------------------------------------------------

// The three adapters on copies of one system: they end as the solvers do.
template <class R> void expect_adapters_solve(std::uint32_t seed) {
    std::mt19937 random(seed);
    const System<R> given(50, 3, 10, random);
    System<R> expected = given, factors = given, at_once = given;
    ASSERT_EQ(0, expected.solve_at_once());
    const std::int32_t n = 50, nrhs = 3, ldb = static_cast<std::int32_t>(given.ldb());
    std::int32_t info[3] = {7, 7, 7};
    Solvers<R>::adapted_factorise(&n, factors.dl.data(), factors.d.data(), factors.du.data(), &info[0]);
    Solvers<R>::adapted_solve("N", &n, &nrhs, factors.dl.data(), factors.d.data(), factors.du.data(), factors.b.data(),
                              &ldb, &info[1]);
    Solvers<R>::adapted_both(&n, &nrhs, at_once.dl.data(), at_once.d.data(), at_once.du.data(), at_once.b.data(), &ldb,
                             &info[2]);
    for (const std::int32_t i : info) EXPECT_EQ(0, i);
    EXPECT_EQ(expected.b, factors.b);
    EXPECT_EQ(expected.b, at_once.b);
    std::fill(at_once.d.begin(), at_once.d.end(), R(0));
    Solvers<R>::adapted_factorise(&n, at_once.dl.data(), at_once.d.data(), at_once.du.data(), &info[0]);
    EXPECT_GT(info[0], 0);
}

TYPED_TEST(Tridiagonal, AdaptersCallTheSolversAndFetchThemOnce) {
    expect_adapters_solve<TypeParam>(4);
    const int fetched = fetches::count();
    expect_adapters_solve<TypeParam>(5);
    EXPECT_EQ(fetched, fetches::count());
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

template <class R> std::array<std::int32_t, 3> infos_of_adapters() {
    const std::int32_t n = 1, nrhs = 1;
    std::array<std::int32_t, 3> info = {11, 22, 33};
    R dl = 5, d = 6, du = 7, b = 8;
    Solvers<R>::adapted_factorise(&n, &dl, &d, &du, &info[0]);
    EXPECT_EQ(Solvers<R>::factorise_name, fetches::last_name());
    Solvers<R>::adapted_both(&n, &nrhs, &dl, &d, &du, &b, &n, &info[1]);
    EXPECT_EQ(Solvers<R>::both_name, fetches::last_name());
    Solvers<R>::adapted_solve("T", &n, &nrhs, &dl, &d, &du, &b, &n, &info[2]);
    EXPECT_EQ(Solvers<R>::solve_name, fetches::last_name());
    EXPECT_EQ(5, dl);
    EXPECT_EQ(6, d);
    EXPECT_EQ(7, du);
    EXPECT_EQ(8, b);
    return info;
}

TYPED_TEST(Tridiagonal, AdaptersTouchNothingWithoutASolver) {
    fetches::in_new_process([] {
        fetches::refuse();
        const std::array<std::int32_t, 3> untouched = {11, 22, 33};
        EXPECT_EQ(untouched, infos_of_adapters<TypeParam>());
        EXPECT_EQ(untouched, infos_of_adapters<TypeParam>());
        EXPECT_EQ(6, fetches::count()); // asked again
    });
}

template <class R> void factorise_to_wide_info(const std::int64_t* n, R*, R*, R*, std::int64_t* info) {
    *info = (std::int64_t{9} << 32) + 100 + *n;
}

TYPED_TEST(Tridiagonal, AdaptersPassTheLow32BitsOfInfo) {
    using R = TypeParam;
    fetches::in_new_process([] {
        fetches::answer_with(reinterpret_cast<NvoServFunction>(factorise_to_wide_info<R>));
        const std::int32_t n = -3;
        std::int32_t info = 0;
        Solvers<R>::adapted_factorise(&n, nullptr, nullptr, nullptr, &info);
        EXPECT_EQ(97, info); // and n widened with its sign
    });
}

} // namespace
