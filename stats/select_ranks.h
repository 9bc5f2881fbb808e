// Several ranks at once, as quantiles need them.
//
// A range is cut into three: below a bracket of two keys, in it, above. The bracket comes from a sorted sample, close
// on both sides of the middle one of the ranks, so that the part with this rank is short, and the other parts have half
// of the ranks each at most: R. Floyd, R. Rivest, Expected time bounds for selection, CACM 18 (1975), 165-172. For one
// rank some 1.6 n elements are walked over, and none of the walks has a branch that depends on the data.
//
// Where a bracket fails, and leaves its rank in more than half of the range, the next one is the mean of the least and
// the largest key that the range can have. No data can make that fail more often than a key has bits: an element is
// walked over in log2(n) + log2(ranks) + 2 bits rounds at most.
#pragma once

#include "stats/quicksort.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace nvo::stats {

template <class Key> class RankSelector {
public:
    // Rearranges the n keys so that each rank of an ascending list, of those from 0 to n - 1, has its key in its place.
    static void run(Key* x, std::int64_t n, const std::int64_t* rank, const std::int64_t* end) {
        RankSelector(x).select({0, n, std::numeric_limits<Key>::min(), std::numeric_limits<Key>::max()}, rank, end);
    }

private:
    // x[first], ..., x[last - 1], which are from low to high.
    struct Range {
        std::int64_t first, last;
        Key low, high;

        std::int64_t length() const { return last - first; }
    };
    struct Bracket {
        Key low, high;
    };

    static constexpr std::int64_t by_sorting = 32; // short ranges
    static constexpr int largest_sample = 1024;

    explicit RankSelector(Key* x) : x_(x) {}

    // NOLINTNEXTLINE(misc-no-recursion): log2(ranks) calls deep, as the loop keeps the middle rank
    void select(Range range, const std::int64_t* rank, const std::int64_t* end) {
        bool sampled = true;
        while (rank != end && range.low != range.high) {
            if (range.length() <= by_sorting) return quicksort(Dense<Key>{x_ + range.first}, range.length());
            const std::int64_t middle = rank[(end - rank) / 2];
            const Bracket bracket = sampled ? sample(range, middle - range.first) : mean(range);
            const auto [low, high] = bracket;
            const auto [second, third] = cut(range, bracket, middle);
            const std::int64_t* const from_second = std::lower_bound(rank, end, second);
            const std::int64_t* const from_third = std::lower_bound(from_second, end, third);

            // The loop goes on with the part that has the middle rank. Parts without ranks may be empty, and their
            // keys mean nothing.
            const Range below{range.first, second, range.low, low > range.low ? low - 1 : low};
            const Range in{second, third, low, high};
            const Range above{third, range.last, high < range.high ? high + 1 : high, range.high};
            const std::int64_t length = range.length();
            if (middle < second) {
                select(in, from_second, from_third);
                select(above, from_third, end);
                range = below;
                end = from_second;
            } else if (middle < third) {
                select(below, rank, from_second);
                select(above, from_third, end);
                range = in;
                rank = from_second;
                end = from_third;
            } else {
                select(below, rank, from_second);
                select(in, from_second, from_third);
                range = above;
                rank = from_third;
            }
            sampled = range.length() <= length / 2;
        }
    }

    // Keys from x[first, last) on both sides of the one of this rank, two standard deviations of its place in the
    // sample away from it.
    Bracket sample(const Range& range, std::int64_t rank) {
        const std::int64_t n = range.length();
        const std::int64_t root = std::int64_t{1}
                                  << std::min<int>(std::bit_width(static_cast<std::uint64_t>(n)) / 3, 5);
        const std::int64_t size = root * root;
        for (std::int64_t i = 0; i < size; ++i) sample_[i] = x_[range.first + random_below(n)];
        quicksort(Dense<Key>{sample_}, size);
        const auto place =
            static_cast<std::int64_t>(static_cast<double>(rank) / static_cast<double>(n) * static_cast<double>(size));
        return {place < root ? range.low : sample_[place - root],
                place + root < size ? sample_[place + root] : range.high};
    }

    static Bracket mean(const Range& range) {
        using Word = std::make_unsigned_t<Key>;
        const Word width = static_cast<Word>(range.high) - static_cast<Word>(range.low);
        const Key key = static_cast<Key>(static_cast<Word>(range.low) + width / 2);
        return {key, key};
    }

    // Where the second and the third part begin. The longer outer part is cut off first.
    struct Cuts {
        std::int64_t second, third;
    };
    Cuts cut(const Range& range, Bracket bracket, std::int64_t rank) const {
        const auto below = [=](Key key) { return key < bracket.low; };
        const auto not_above = [=](Key key) { return key <= bracket.high; };
        if (rank - range.first < range.length() / 2) {
            const std::int64_t third = partition(range.first, range.last, not_above);
            return {partition(range.first, third, below), third};
        }
        const std::int64_t second = partition(range.first, range.last, below);
        return {second, partition(second, range.last, not_above)};
    }

    // Brings what belongs to the front to the front, and gives its end.
    template <class Belongs> std::int64_t partition(std::int64_t first, std::int64_t last, Belongs belongs) const {
        std::int64_t end = first;
        for (std::int64_t i = first; i < last; ++i) {
            const Key key = x_[i];
            x_[i] = x_[end];
            x_[end] = key;
            end += belongs(key);
        }
        return end;
    }

    // Places only: results don't depend on them. D. Knuth's MMIX congruential generator, its upper bits.
    std::int64_t random_below(std::int64_t n) {
        random_ = random_ * 6364136223846793005 + 1442695040888963407;
        return static_cast<std::int64_t>((random_ >> 16) % static_cast<std::uint64_t>(n));
    }

    Key* x_;
    std::uint64_t random_ = 1;
    Key sample_[largest_sample];
};

} // namespace nvo::stats
