// Statistical tests of random words. Each reads the words of a stream once, block by block, and gives a p-value: the
// probability that truly random words give its statistic or a larger one. A p-value near 0 or near 1 speaks against
// the generator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace nvo::battery {

// All tests take whole groups of words: a block has a multiple of the longest group, which is that of `rank 512`.
inline constexpr std::size_t block_words = std::size_t{1} << 16;

class Test {
public:
    explicit Test(std::string name) : name_(std::move(name)) {}
    virtual ~Test() = default;
    const std::string& name() const { return name_; }

    virtual void take(std::span<const std::uint32_t, block_words> words) = 0;
    virtual double p_value() const = 0; // after one block at least

private:
    std::string name_;
};

// One test of each kind, for words whose `bits` uppermost bits count, 24 to 32 of them.
std::vector<std::unique_ptr<Test>> make_tests(int bits);

// A p-value that a sound generator goes beyond once in 500,000 tests.
inline constexpr double p_limit = 1e-6;
inline bool passes(double p) { return p >= p_limit && p <= 1 - p_limit; }

} // namespace nvo::battery
