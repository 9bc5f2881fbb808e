// The statistical battery: random words pass it, with p-values that are uniform, and each kind of defect is found.

#include "tools/streams/battery.h"
#include "tools/streams/source.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <set>
#include <stdexcept>

namespace nvo::battery {
namespace {

using NextWord = std::function<std::uint32_t()>;

// p-values of 2^log2_words words, by test.
std::map<std::string, double> p_values(int log2_words, int bits, const NextWord& next) {
    const auto tests = make_tests(bits);
    std::vector<std::uint32_t> block(block_words);
    for (std::uint64_t left = std::uint64_t{1} << log2_words; left != 0; left -= block_words) {
        for (std::uint32_t& word : block) word = next();
        for (const auto& test : tests) test->take(std::span<const std::uint32_t, block_words>(block));
    }
    std::map<std::string, double> p;
    for (const auto& test : tests) p[test->name()] = test->p_value();
    return p;
}

std::set<std::string> failures(int log2_words, const NextWord& next) {
    std::set<std::string> names;
    for (const auto& [name, p] : p_values(log2_words, 32, next))
        if (!passes(p)) names.insert(name);
    return names;
}

// SplitMix64's mixing of a counter: a bijection, so that the counters are random words that never repeat.
std::uint64_t mixed(std::uint64_t z) {
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return z ^ z >> 31;
}

NextWord random_words(std::uint64_t seed) {
    return [random = std::mt19937_64(seed)]() mutable { return static_cast<std::uint32_t>(random() >> 32); };
}

// Kolmogorov and Smirnov's distance from the uniform law stays below this with probability 1 - 1e-6 at least
// (Dvoretzky, Kiefer, Wolfowitz; Massart). The counts behind the p-values are whole numbers, so that a p-value comes
// out too large by half of the probability of its count.
TEST(Battery, GivesUniformPValuesForRandomWords) {
    constexpr int samples = 64;
    for (const int bits : {32, 31}) {
        std::map<std::string, std::vector<double>> all;
        for (std::uint64_t seed = 1; seed <= samples; ++seed) {
            const auto next = random_words(seed);
            for (const auto& [name, p] : p_values(16, bits, [&] { return next() >> (32 - bits) << (32 - bits); }))
                all[name].push_back(p);
        }
        for (auto& [name, sample] : all) {
            if (name == "rank 512") continue; // eight matrices are too few
            std::sort(sample.begin(), sample.end());
            double distance = 0;
            for (std::size_t i = 0; i < sample.size(); ++i) {
                const double below = static_cast<double>(i) / samples, above = static_cast<double>(i + 1) / samples;
                distance = std::max({distance, sample[i] - below, above - sample[i]});
            }
            EXPECT_LT(distance, std::sqrt(std::log(2 / 1e-6) / (2 * samples))) << name << ", " << bits << " bits";
        }
    }
}

TEST(Battery, FindsEachKindOfDefect) {
    const NextWord good = random_words(1);
    EXPECT_EQ(failures(21, good), std::set<std::string>{});

    // A congruential generator modulo 2^32, by its words and by its lower halves: the low bits have short periods.
    const NextWord lcg = [x = 1u]() mutable { return x = 69069 * x + 1; };
    const NextWord low_half = [lcg] { return (lcg() << 16) | (lcg() & 0xFFFF); };
    EXPECT_EQ(failures(20, lcg), (std::set<std::string>{"birthdays", "rank 512", "serial low"}));
    EXPECT_TRUE(failures(20, low_half).contains("rank 32"));

    const auto counter = failures(20, [x = 0u]() mutable { return x++; });
    EXPECT_EQ(counter.size(), 9u) << "all tests";

    // A shift register of 250 words is linear over GF(2), and its three terms are related.
    const NextWord shift_register = [x = std::array<std::uint32_t, 250>{}, p = 0u, good]() mutable {
        if (x[0] == 0)
            for (std::uint32_t& word : x) word = good();
        const std::uint32_t word = x[p] ^= x[(p + 103) % 250];
        p = (p + 1) % 250;
        return word;
    };
    EXPECT_EQ(failures(21, shift_register), (std::set<std::string>{"birthdays", "rank 512"}));
    const NextWord stuck_bit = [shift_register] { return shift_register() | 1u << 7; };
    EXPECT_TRUE(failures(20, stuck_bit).contains("monobit"));

    // One bit in 2^8 is set that shouldn't be.
    const NextWord more_ones = [good] {
        return good() | (good() & good() & good() & good() & good() & good() & good());
    };
    EXPECT_TRUE(failures(20, more_ones).contains("monobit"));

    // Upper digits that repeat too seldom, and words that never do.
    const NextWord no_short_gap = [good, hit = false]() mutable {
        const std::uint32_t word = good() | (hit ? 0x10000000u : 0u);
        hit = word >> 28 == 0;
        return word;
    };
    EXPECT_TRUE(failures(20, no_short_gap).contains("gap"));
    const NextWord no_repeated_hand = [good] {
        const std::uint32_t word = good();
        return (word >> 28) == (word >> 24 & 15) ? word ^ 0x10000000u : word;
    };
    EXPECT_TRUE(failures(20, no_repeated_hand).contains("poker"));
    // Each of the 2^24 urns once, in random order.
    const NextWord without_replacement = [i = 0u, second = 0u]() mutable {
        if (i++ % 2 == 1) return second;
        std::uint32_t urn = i / 2;
        for (std::uint32_t round = 0; round < 4; ++round) { // Feistel's network on two halves of twelve bits
            const std::uint32_t half = urn & 0xFFF;
            urn = half << 12 | ((urn >> 12) ^ (mixed(half << 2 | round) & 0xFFF));
        }
        second = urn << 20;
        return urn >> 12 << 20;
    };
    const auto p = p_values(20, 32, without_replacement);
    EXPECT_GT(p.at("collision"), 1 - p_limit);
}

TEST(Battery, ReadsAllBitsOfAGenerator) {
    for (const std::string& name : generator_names()) {
        const auto source = stream_source(name, 1);
        if (!source) continue; // the processor lacks its instruction
        std::vector<std::uint32_t> words(4096);
        source->fill(words);
        std::uint32_t ones = 0, zeros = 0;
        for (const std::uint32_t word : words) ones |= word, zeros |= ~word;
        const std::uint32_t all = ~0u << (32 - source->bits);
        EXPECT_EQ(ones, all) << name;
        EXPECT_EQ(zeros & all, all) << name;
    }
}

TEST(Battery, KnowsSetsAndSeedsOfGenerators) {
    const auto first_word = [](const std::string& name, std::uint64_t seed) {
        std::uint32_t word = 0;
        stream_source(name, seed)->fill({&word, 1});
        return word;
    };
    EXPECT_EQ(first_word("MT2203", 1), first_word("MT2203/0:8", 1));
    EXPECT_NE(first_word("MT2203", 1), first_word("MT2203/6023", 1));
    EXPECT_NE(first_word("MT2203", 1), first_word("MT2203:9", 1));
    EXPECT_NE(first_word("MT2203", 1), first_word("MT2203", 2));
    for (const char* name : {"", "SOBOL", "MT2203/6024", "MT2203/", "MT2203:x", "MT2203:1/2", "MT2203/1 "})
        EXPECT_THROW(stream_source(name, 1), std::invalid_argument) << name;
}

} // namespace
} // namespace nvo::battery
