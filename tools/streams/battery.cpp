#include "tools/streams/battery.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <gsl/gsl_cdf.h>
#include <utility>

namespace nvo::battery {

namespace {

using Words = std::span<const std::uint32_t, block_words>;
using Counts = std::vector<std::uint64_t>;

// The upper `count` bits.
std::uint32_t upper(std::uint32_t word, int count) { return word >> (32 - count); }

// ---- Tails
// ------------------------------------------------------------------------------------------------------------

double normal_tail(double z) { return gsl_cdf_ugaussian_Q(z); }

// Pearson's statistic over classes of given probabilities, of which neighbours are merged until each is expected ten
// times at least.
double chi_square_tail(const Counts& counts, const std::vector<double>& probabilities) {
    double total = 0;
    for (const std::uint64_t count : counts) total += static_cast<double>(count);
    std::vector<double> observed, expected;
    double open_observed = 0, open_expected = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        open_observed += static_cast<double>(counts[i]);
        open_expected += total * probabilities[i];
        if (open_expected < 10) continue;
        observed.push_back(open_observed);
        expected.push_back(open_expected);
        open_observed = open_expected = 0;
    }
    if (expected.empty()) return 0.5; // too few for a verdict
    observed.back() += open_observed;
    expected.back() += open_expected;
    double statistic = 0;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        const double difference = observed[i] - expected[i];
        statistic += difference * difference / expected[i];
    }
    if (expected.size() < 2) return 0.5;
    return gsl_cdf_chisq_Q(statistic, static_cast<double>(expected.size() - 1));
}

// ---- Tests
// ------------------------------------------------------------------------------------------------------------

// Number of ones: normal.
class Monobit : public Test {
public:
    explicit Monobit(int bits) : Test("monobit"), bits_(bits) {}

    void take(Words words) override {
        std::uint64_t ones = 0;
        for (const std::uint32_t word : words) ones += static_cast<std::uint64_t>(std::popcount(word));
        ones_ += ones;
        all_ += words.size() * static_cast<std::uint64_t>(bits_);
    }
    double p_value() const override {
        const auto n = static_cast<double>(all_);
        return normal_tail((2 * static_cast<double>(ones_) - n) / std::sqrt(n));
    }

private:
    int bits_;
    std::uint64_t ones_ = 0, all_ = 0;
};

// Pairs of words that don't overlap, by ten bits of each: 2^20 cells that are equally likely. Pearson's statistic.
class Serial : public Test {
public:
    Serial(const char* name, int shift) : Test(name), shift_(shift), cells_(std::size_t{1} << (2 * width)) {}

    void take(Words words) override {
        for (std::size_t i = 0; i < words.size(); i += 2) ++cells_[digit(words[i]) << width | digit(words[i + 1])];
        pairs_ += words.size() / 2;
    }
    double p_value() const override {
        double squares = 0;
        for (const std::uint32_t count : cells_) squares += static_cast<double>(count) * static_cast<double>(count);
        const auto cells = static_cast<double>(cells_.size()), pairs = static_cast<double>(pairs_);
        return gsl_cdf_chisq_Q(squares * cells / pairs - pairs, cells - 1);
    }

private:
    static constexpr int width = 10;
    std::uint32_t digit(std::uint32_t word) const { return word >> shift_ & ((1 << width) - 1); }

    int shift_;
    std::vector<std::uint32_t> cells_; // 4 MiB, which stay in the cache
    std::uint64_t pairs_ = 0;
};

// A word as a hand of six digits of four bits: how many of them differ.
class Poker : public Test {
public:
    Poker() : Test("poker"), hands_(digits + 1) {}

    void take(Words words) override {
        for (const std::uint32_t word : words) {
            unsigned seen = 0;
            for (int k = 0; k < digits; ++k) seen |= 1u << (word >> (28 - 4 * k) & 15);
            ++hands_[static_cast<std::size_t>(std::popcount(seen))];
        }
    }
    double p_value() const override {
        // p[r] after k digits: the next one is one of the r, or it isn't.
        std::vector<double> p(digits + 1);
        p[0] = 1;
        for (int k = 0; k < digits; ++k) {
            for (int r = digits; r >= 0; --r) {
                const auto i = static_cast<std::size_t>(r);
                p[i] = p[i] * r / 16 + (r > 0 ? p[i - 1] * (16 - (r - 1)) / 16 : 0);
            }
        }
        return chi_square_tail(hands_, p);
    }

private:
    static constexpr int digits = 6;
    Counts hands_;
};

// m birthdays in a year of n days, in a circle: how many of the m spacings between them are equal to one before. A pair
// of spacings is equal with probability (m - 1) / 2n, three of them with (m - 1)(m - 2) / 3n^2; a pair counts one,
// three equal ones make three pairs but count two. Marsaglia, Computer Science and Statistics: 16th Symposium (1985);
// the number is nearly Poisson's, as long as it is small against m (L'Ecuyer and Simard, Mathematics and Computers in
// Simulation 55, 2001). Here it is about 4 (or 8, for words of 31 bits), and its sum over the groups is tested.
class BirthdaySpacings : public Test {
public:
    explicit BirthdaySpacings(int bits)
        : Test("birthdays"), bits_(bits), birthdays_(m), spacings_(m), scratch_(m), year_(std::ldexp(1.0, bits)) {}

    void take(Words words) override {
        for (std::size_t i = 0; i < words.size(); i += m) {
            for (std::size_t k = 0; k < m; ++k) birthdays_[k] = upper(words[i + k], bits_);
            sort(birthdays_);
            for (std::size_t k = 0; k + 1 < m; ++k) spacings_[k] = birthdays_[k + 1] - birthdays_[k];
            spacings_[m - 1] = birthdays_[0] - birthdays_[m - 1];
            if (bits_ < 32) spacings_[m - 1] &= (1u << bits_) - 1;
            sort(spacings_);
            for (std::size_t k = 0; k + 1 < m; ++k) equal_ += spacings_[k] == spacings_[k + 1];
            ++groups_;
        }
    }
    double p_value() const override {
        if (equal_ == 0) return 1;
        constexpr double size = m;
        const double pairs = size * (size - 1) * (size - 1) / (4 * year_);
        const double threes = size * (size - 1) * (size - 2) / 6 * (size - 1) * (size - 2) / (3 * year_ * year_);
        return gsl_cdf_gamma_P(static_cast<double>(groups_) * (pairs - threes), static_cast<double>(equal_), 1);
    }

private:
    static constexpr std::size_t m = 4096;

    // By digits of eleven bits, lowest first.
    void sort(std::vector<std::uint32_t>& values) {
        for (int shift = 0; shift < 32; shift += 11) {
            std::array<std::uint32_t, 2048> next{};
            for (const std::uint32_t value : values) ++next[value >> shift & 2047];
            std::uint32_t place = 0;
            for (std::uint32_t& start : next) place += std::exchange(start, place);
            for (const std::uint32_t value : values) scratch_[next[value >> shift & 2047]++] = value;
            values.swap(scratch_);
        }
    }

    int bits_;
    std::vector<std::uint32_t> birthdays_, spacings_, scratch_;
    double year_;
    std::uint64_t equal_ = 0, groups_ = 0;
};

// Rank over GF(2) of square matrices whose rows are `row_words` words one after the other. At most `most` matrices: the
// large ones take their time.
template <int row_words> class Rank : public Test {
public:
    Rank(const char* name, int bits, std::uint64_t most)
        : Test(name), bits_(bits), rows_(bits * row_words), most_(most), ranks_(classes) {}

    void take(Words words) override {
        constexpr std::size_t group = 32 * row_words * row_words;
        static_assert(block_words % group == 0);
        for (std::size_t i = 0; i < words.size() && matrices_ < most_; i += group, ++matrices_) {
            const int missing = rows_ - rank(words.data() + i);
            ++ranks_[static_cast<std::size_t>(std::min(missing, classes - 1))];
        }
    }
    double p_value() const override {
        // The rank is `missing` short of n with probability
        //   2^(-missing^2) prod_{i < r} (1 - 2^(i-n))^2 / (1 - 2^(i-r)),  r = n - missing.
        std::vector<double> p(classes);
        double rest = 1;
        for (int missing = 0; missing + 1 < classes; ++missing) {
            const int r = rows_ - missing;
            double product = std::ldexp(1.0, -missing * missing);
            for (int i = 0; i < r; ++i) {
                const double factor = 1 - std::ldexp(1.0, i - rows_);
                product *= factor * factor / (1 - std::ldexp(1.0, i - r));
            }
            p[static_cast<std::size_t>(missing)] = product;
            rest -= product;
        }
        p.back() = rest;
        return chi_square_tail(ranks_, p);
    }

private:
    using Row = std::array<std::uint32_t, row_words>;
    static constexpr int classes = 4;

    int rank(const std::uint32_t* words) const {
        std::array<Row, 32 * row_words> matrix;
        const auto rows = static_cast<std::size_t>(rows_);
        for (std::size_t i = 0; i < rows; ++i) std::copy_n(words + i * row_words, row_words, matrix[i].begin());
        std::size_t rank = 0;
        for (std::size_t w = 0; w < row_words; ++w) {
            for (int bit = 31; bit >= 32 - bits_; --bit) {
                std::size_t pivot = rank;
                while (pivot < rows && (matrix[pivot][w] >> bit & 1) == 0) ++pivot;
                if (pivot == rows) continue;
                std::swap(matrix[rank], matrix[pivot]);
                for (std::size_t i = pivot + 1; i < rows; ++i) {
                    // No branch: the bits that decide can't be foreseen.
                    const std::uint32_t mask = -(matrix[i][w] >> bit & 1);
                    for (std::size_t k = 0; k < row_words; ++k) matrix[i][k] ^= matrix[rank][k] & mask;
                }
                ++rank;
            }
        }
        return static_cast<int>(rank);
    }

    int bits_, rows_;
    std::uint64_t most_, matrices_ = 0;
    Counts ranks_;
};

// Lengths of the gaps between words whose upper four bits are 0: geometric.
class Gap : public Test {
public:
    Gap() : Test("gap"), gaps_(classes) {}

    void take(Words words) override {
        for (const std::uint32_t word : words) {
            if (upper(word, 4) == 0) {
                ++gaps_[std::min(length_, classes - 1)];
                length_ = 0;
            } else {
                ++length_;
            }
        }
    }
    double p_value() const override {
        std::vector<double> p(classes);
        double longer = 1;
        for (std::size_t i = 0; i + 1 < classes; ++i, longer *= 15.0 / 16) p[i] = longer / 16;
        p.back() = longer;
        return chi_square_tail(gaps_, p);
    }

private:
    static constexpr std::size_t classes = 256;
    Counts gaps_;
    std::size_t length_ = 0;
};

// 2^14 balls into 2^24 urns, twelve bits from each of two words: how many fall into an urn that isn't empty. Mean and
// variance are exact, and the sum over the groups is nearly normal.
class Collision : public Test {
public:
    Collision() : Test("collision"), full_(urns / 64), balls_(n) {}

    void take(Words words) override {
        for (std::size_t i = 0; i < words.size(); i += 2 * n, ++groups_) {
            for (std::size_t k = 0; k < n; ++k) {
                const std::uint32_t urn = upper(words[i + 2 * k], 12) << 12 | upper(words[i + 2 * k + 1], 12);
                const std::uint64_t bit = std::uint64_t{1} << (urn & 63);
                collisions_ += (full_[urn >> 6] & bit) != 0;
                full_[urn >> 6] |= bit;
                balls_[k] = urn;
            }
            for (const std::uint32_t urn : balls_) full_[urn >> 6] = 0;
        }
    }
    double p_value() const override {
        // An urn stays empty with probability (1 - 1/k)^n, two of them with (1 - 2/k)^n: the number of full ones has
        // the mean -k (q1 - 1) and the variance k (q1 - q2) + k^2 (q2 - q1^2).
        const long double k = urns, log1 = n * std::log1p(-1 / k), log2 = n * std::log1p(-2 / k);
        const long double q1 = std::exp(log1), q2 = std::exp(log2);
        const long double mean = n + k * std::expm1(log1);
        const long double variance = k * (q1 - q2) + k * k * q1 * q1 * std::expm1(log2 - 2 * log1);
        const auto groups = static_cast<long double>(groups_);
        const long double z = (static_cast<long double>(collisions_) - groups * mean) / std::sqrt(groups * variance);
        return normal_tail(static_cast<double>(z));
    }

private:
    static constexpr std::size_t n = std::size_t{1} << 14, urns = std::size_t{1} << 24;
    std::vector<std::uint64_t> full_;
    std::vector<std::uint32_t> balls_;
    std::uint64_t collisions_ = 0, groups_ = 0;
};

} // namespace

std::vector<std::unique_ptr<Test>> make_tests(int bits) {
    std::vector<std::unique_ptr<Test>> tests;
    tests.push_back(std::make_unique<Monobit>(bits));
    tests.push_back(std::make_unique<Serial>("serial", 22));
    tests.push_back(std::make_unique<Serial>("serial low", 32 - bits));
    tests.push_back(std::make_unique<Poker>());
    tests.push_back(std::make_unique<BirthdaySpacings>(bits));
    tests.push_back(std::make_unique<Rank<1>>("rank 32", bits, ~std::uint64_t{0}));
    tests.push_back(std::make_unique<Rank<16>>("rank 512", bits, 4096));
    tests.push_back(std::make_unique<Gap>());
    tests.push_back(std::make_unique<Collision>());
    return tests;
}

} // namespace nvo::battery
