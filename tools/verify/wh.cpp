// Verifies the parameter sets of WH: moduli are prime and all different, multipliers are primitive roots, and the
// (m - 1)/2 of a set are pairwise coprime, so that its period is the product of all m - 1 divided by 8. Fails with a
// line for each thing that doesn't hold.

#include "tools/support/wh_sets.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <numeric>
#include <set>
#include <vector>

using nvo::tools::WhSet;

namespace {

int failures = 0;

void require(bool holds, std::size_t set, const char* what, std::uint32_t number) {
    if (holds) return;
    std::printf("set %zu: %s: %u\n", set, what, number);
    ++failures;
}

// Prime factors, each once.
std::vector<std::uint32_t> factors(std::uint32_t n) {
    std::vector<std::uint32_t> found;
    for (std::uint32_t p = 2; p * p <= n; ++p) {
        if (n % p != 0) continue;
        found.push_back(p);
        while (n % p == 0) n /= p;
    }
    if (n > 1) found.push_back(n);
    return found;
}

bool is_prime(std::uint32_t n) { return factors(n) == std::vector{n}; }

std::uint64_t power(std::uint64_t a, std::uint32_t e, std::uint32_t m) {
    std::uint64_t result = 1;
    for (; e != 0; e >>= 1, a = a * a % m) {
        if (e & 1) result = result * a % m;
    }
    return result;
}

// The order of a divides m - 1, and no (m - 1)/p, so it is m - 1.
bool is_primitive_root(std::uint32_t a, std::uint32_t m) {
    const auto primes = factors(m - 1);
    return std::all_of(primes.begin(), primes.end(), [=](std::uint32_t p) { return power(a, (m - 1) / p, m) != 1; });
}

void verify_set(std::size_t s, const WhSet& set) {
    for (int i = 0; i < 4; ++i) {
        const std::uint32_t a = set.a[i], m = set.m[i];
        require(m >= 16718909 && m <= 16776971, s, "modulus outside its range", m);
        require(is_prime(m), s, "modulus not prime", m);
        require(a >= 112 && a <= 127, s, "multiplier outside its range", a);
        require(is_primitive_root(a, m), s, "multiplier not a primitive root", a);
        for (int j = 0; j < i; ++j) {
            require(set.a[j] != a, s, "multiplier used twice", a);
            require(set.m[j] > m, s, "moduli don't fall", m);
            require(std::gcd((m - 1) / 2, (set.m[j] - 1) / 2) == 1, s, "(m - 1)/2 not coprime to another", m);
        }
    }
}

// The sets that are prescribed.
struct Prescribed {
    std::size_t place;
    WhSet set;
};
constexpr Prescribed prescribed[] = {
    {0, {{125, 117, 127, 126}, {16770647, 16770643, 16770623, 16770617}}},
    {1, {{127, 126, 125, 123}, {16770311, 16770283, 16770263, 16770209}}},
    {2, {{125, 119, 123, 126}, {16769807, 16769771, 16769749, 16769663}}},
    {100, {{127, 126, 120, 125}, {16726343, 16726337, 16726279, 16726247}}},
    {272, {{126, 127, 125, 124}, {16766363, 16766359, 16766327, 16766231}}},
};

double log2_of_period(const WhSet& set) {
    double sum = -3;
    for (const std::uint32_t m : set.m) sum += std::log2(m - 1.0);
    return sum;
}

} // namespace

int main() {
    const auto sets = nvo::tools::wh_sets();
    std::set<std::uint32_t> moduli;
    double shortest = 1e9, longest = 0;
    for (std::size_t s = 0; s < sets.size(); ++s) {
        verify_set(s, sets[s]);
        for (const std::uint32_t m : sets[s].m) require(moduli.insert(m).second, s, "modulus used twice", m);
        shortest = std::min(shortest, log2_of_period(sets[s]));
        longest = std::max(longest, log2_of_period(sets[s]));
    }
    for (const auto& [place, set] : prescribed)
        require(sets[place].a == set.a && sets[place].m == set.m, place, "not as prescribed, first modulus", set.m[0]);
    std::printf("%zu sets, %zu different moduli from %u to %u, periods 2^%.2f to 2^%.2f, %d failures\n", sets.size(),
                moduli.size(), *moduli.begin(), *moduli.rbegin(), shortest, longest, failures);
    return failures == 0 ? 0 : 1;
}
