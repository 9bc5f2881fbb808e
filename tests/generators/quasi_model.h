// The quasi-random sequences by their definition: dimension i of point n is the XOR of the direction numbers V[i][j]
// over the bits j of the Gray code of n. Nothing is stepped, and words are 64 bits wide until they are output.
#pragma once

#include "tests/support/guarded.h"
#include "tests/support/streams.h"

#include <array>

namespace nvo::tests {

using DirectionRow = std::array<std::uint64_t, 32>;
using DirectionRows = std::vector<DirectionRow>;

struct QuasiModel {
    DirectionRows rows;
    std::uint64_t place = 0; // of the next number, from 0; the first point is number 1

    std::uint32_t at(std::uint64_t point, std::size_t dimension) const {
        std::uint64_t x = 0;
        for (int j = 0; j < 32; ++j) {
            if ((point >> j & 1) != (point >> (j + 1) & 1)) x ^= rows[dimension][j];
        }
        return static_cast<std::uint32_t>(x);
    }
    std::uint32_t next() {
        const std::uint64_t now = place++;
        return at(1 + now / rows.size(), now % rows.size());
    }
    std::vector<std::uint32_t> next(int n) {
        std::vector<std::uint32_t> words(n);
        for (auto& word : words) word = next();
        return words;
    }
    static float as_float(std::uint32_t word, float a, float b) {
        return static_cast<float>(word) * ((b - a) * 0x1p-32F) + a;
    }
    static double as_double(std::uint32_t word, double a, double b) { return word * ((b - a) * 0x1p-32) + a; }
};

inline int degree(std::uint64_t polynomial) {
    int result = -1;
    for (; polynomial != 0; polynomial >>= 1) ++result;
    return result;
}

// Bratley and Fox's form, in units of 2^-32, with bits above the point that count when they are shifted down: the
// coefficients of the polynomial choose among the numbers before, and the one s places before comes in once more,
// shifted.
inline DirectionRow sobol_row(std::uint32_t polynomial, const std::vector<std::uint32_t>& values) {
    const int s = degree(polynomial);
    DirectionRow v{};
    for (int k = 0; k < 32; ++k) {
        if (k < s) {
            v[k] = k < std::ssize(values) ? std::uint64_t{values[k]} << (31 - k) : 0;
        } else {
            v[k] = v[k - s] >> s;
            for (int t = 1; t <= s; ++t) v[k] ^= (polynomial >> (s - t) & 1) != 0 ? v[k - t] : 0;
        }
    }
    return v;
}
inline DirectionRow sobol_first_row() {
    DirectionRow v{};
    for (int k = 0; k < 32; ++k) v[k] = std::uint64_t{0x80000000} >> k;
    return v;
}

// By powers of the polynomial as lists of coefficients.
inline DirectionRow niederreiter_row(std::uint32_t polynomial) {
    const int e = degree(polynomial);
    DirectionRow row{};
    std::vector<int> power = {1}, v;
    for (int j = 0; j < 32; ++j) {
        if (j % e == 0) {
            const std::size_t before = power.size() - 1;
            std::vector<int> next(power.size() + e);
            for (std::size_t r = 0; r < power.size(); ++r) {
                for (int c = 0; c <= e; ++c) next[r + c] ^= power[r] & static_cast<int>(polynomial >> c & 1);
            }
            power = next;
            const std::size_t m = power.size() - 1;
            v.assign(before, 0);
            v.resize(m, 1);
            while (v.size() < 100) {
                int sum = 0;
                for (std::size_t r = 0; r < m; ++r) sum ^= power[r] & v[v.size() - m + r];
                v.push_back(sum);
            }
        }
        for (int k = 0; k < 32; ++k) row[k] |= static_cast<std::uint64_t>(v[j % e + k]) << (31 - j);
    }
    return row;
}

struct SobolKind {
    static constexpr std::uint32_t id = OST_BRNG_SOBOL, limit = 40;
    using State = Record<11712>;
    static DirectionRows rows(std::uint32_t d) {
        DirectionRows rows = {sobol_first_row()};
        for (std::uint32_t i = 1; i < d; ++i)
            rows.push_back(sobol_row(uSobolIrredPoly[i - 1], {uSobolMInit[i - 1], uSobolMInit[i - 1] + 8}));
        return rows;
    }
};
struct NiederreiterKind {
    static constexpr std::uint32_t id = OST_BRNG_NIEDERREITER, limit = 318;
    using State = Record<84288>;
    static DirectionRows rows(std::uint32_t d) {
        DirectionRows rows;
        for (std::uint32_t i = 0; i < d; ++i) rows.push_back(niederreiter_row(uNiederrIrredPoly[i]));
        return rows;
    }
};

template <class Kind> typename Kind::State quasi(std::uint32_t d) {
    return seeded<Kind::State::length + sizeof(OstStream)>(Kind::id, {d});
}

// What stands at the start of the state.
struct QuasiPlaceFields {
    std::uint32_t index, dim, leap_dim;
    std::int32_t pending;
};
inline QuasiPlaceFields place_of(const OstStream* stream) {
    QuasiPlaceFields place;
    std::memcpy(&place, stream + 1, sizeof place);
    return place;
}

// A stream of these seed words, which end at a page that can't be read.
class OwnNumbers {
public:
    OwnNumbers(std::uint32_t id, const std::vector<std::uint32_t>& words) {
        const GuardedArray<std::uint32_t> last_words(words.size());
        std::copy(words.begin(), words.end(), last_words.data());
        status = __ostNewStreamEx(&stream, id, static_cast<std::int32_t>(words.size()), last_words.data());
    }
    ~OwnNumbers() {
        if (stream != nullptr) __ostDeleteStream(&stream);
    }
    OwnNumbers(const OwnNumbers&) = delete;
    OwnNumbers& operator=(const OwnNumbers&) = delete;

    OstStream* stream = nullptr;
    std::int32_t status;
};

// The stream gives the model's numbers, over random calls, skips and copies.
inline void expect_quasi_numbers(OstStream* stream, QuasiModel model) {
    std::mt19937 random(7);
    const auto d = static_cast<int>(model.rows.size());
    for (int call = 0; call < 60; ++call) {
        const int n = std::uniform_int_distribution<int>(0, random() % 2 == 0 ? 20 : 7 * d)(random);
        if (random() % 4 == 0) {
            const std::uint64_t count = static_cast<std::uint64_t>(n) << (random() % 18);
            ASSERT_EQ(OST_OK, skip(stream, count));
            model.place += count;
        }
        ASSERT_TRUE(same_bits(model.next(n), draw_words(stream, n))) << "call " << call << " of " << n;
    }
    OstStream* copy = nullptr;
    ASSERT_EQ(OST_OK, __ostCopyStream(&copy, stream));
    const auto words = model.next(3 * d);
    EXPECT_TRUE(same_bits(words, draw_words(stream, 3 * d)));
    EXPECT_TRUE(same_bits(words, draw_words(copy, 3 * d))) << "the copy";
    __ostDeleteStream(&copy);
}

} // namespace nvo::tests
