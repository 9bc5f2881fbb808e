// What the two quasi-random generators share. Both are digital sequences in base 2: dimension i has 32 direction
// numbers V[i][0], V[i][1], ... of 32 bits, and in point number n, from 1 on,
//
//   x[i] = XOR of V[i][j] over the bits j that are set in the Gray code n ^ (n >> 1),
//
// so that a point follows from the one before by one XOR a dimension (I. A. Antonov, V. M. Saleev, An economic method
// of computing LP-tau sequences, USSR Comput. Math. Math. Phys. 19, 1980). Numbers come out point by point and, in a
// point, dimension by dimension.
#pragma once

#include "generators/generator.h"
#include "generators/outputs.h"
#include "streams/exports.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <iterator>
#include <utility>

namespace nvo {

inline constexpr int direction_bits = 32; // direction numbers of a dimension, and bits of each
inline constexpr std::uint32_t all_dimensions = 0xFFFFFFFF;

// Start of the state of both.
struct QuasiPlace {
    std::uint32_t index;    // number of the point that comes next, or of the one that is being output
    std::uint32_t dim;      // d
    std::uint32_t leap_dim; // the one dimension to output, or all_dimensions
    std::int32_t pending;   // numbers of the current point still to be output; 0 between points
};

// The state: room for points of d <= limit dimensions in rows of `width` words; `gap` bytes are for alignment.
template <int limit, int width, int gap> struct QuasiState {
    QuasiPlace place;
    unsigned char spare[32];
    std::uint32_t x[width]; // the current point
    std::uint32_t V[limit][direction_bits + 1];
    unsigned char spare_behind_V[gap];
    std::uint32_t T[direction_bits][width]; // T[k][i] = V[i][k]: the words of one step, side by side
};

// Where the numbers of a stream of d dimensions are: in its state or in its chunks.
struct QuasiNumbers {
    std::uint32_t* x;
    std::uint32_t* V;
    std::ptrdiff_t V_width;
    std::uint32_t* T; // may be null; rows have at least 16 words
    std::ptrdiff_t T_width;

    std::uint32_t* row(std::ptrdiff_t i) const { return V + i * V_width; }
    std::uint32_t* step_words(std::ptrdiff_t k) const { return T + k * T_width; }
};

template <int limit, int width, int gap> QuasiNumbers numbers_in(QuasiState<limit, width, gap>& s) {
    return {s.x, s.V[0], direction_bits + 1, s.T[0], width};
}

// The stream has a chunk of this id, of at least so many bytes.
inline bool has_chunk(const OstStream* stream, std::uint32_t id, std::uint64_t bytes) {
    const OstChunk* chunk = stream->chunks;
    while (chunk != nullptr && chunk->id != id) chunk = chunk->next;
    return chunk != nullptr && chunk->data != nullptr && chunk->size >= 0 &&
           static_cast<std::uint64_t>(chunk->size) >= bytes;
}

inline bool is_sound(const QuasiPlace& place) {
    return place.dim > 0 && place.pending >= 0 && static_cast<std::uint32_t>(place.pending) < place.dim &&
           (place.leap_dim == all_dimensions || place.leap_dim < place.dim);
}

// ---- Points ---------------------------------------------------------------------------------------------------------

// Index of the lowest bit of v that is 0: of the direction number that leads from point v to the next.
inline int RightmostZeroBit(std::uint32_t v) { return std::countr_one(std::uint64_t{v}); }

constexpr std::uint32_t gray_code(std::uint32_t n) { return n ^ (n >> 1); }

// XOR of the direction numbers of a dimension at the bits that are set in `bits`.
inline std::uint32_t combined(const std::uint32_t* row, std::uint32_t bits) {
    std::uint32_t x = 0;
    for (; bits != 0; bits &= bits - 1) x ^= row[std::countr_zero(bits)];
    return x;
}

// To the next point.
inline void step(QuasiPlace& place, const QuasiNumbers& v) {
    const int c = RightmostZeroBit(place.index++);
    const auto d = static_cast<std::ptrdiff_t>(place.dim);
    if (v.T == nullptr) {
        for (std::ptrdiff_t i = 0; i < d; ++i) v.x[i] ^= v.row(i)[c];
    } else {
        const std::uint32_t* words = v.step_words(c);
        for (std::ptrdiff_t i = 0; i < d; ++i) v.x[i] ^= words[i];
    }
}

// What follows from the direction numbers in V: point 1 of d dimensions, and T, with zeros where its rows are longer
// than a point.
inline void complete(const QuasiNumbers& v, std::uint32_t d) {
    for (std::ptrdiff_t i = 0; i < std::ptrdiff_t{d}; ++i) v.x[i] = v.row(i)[0];
    if (v.T == nullptr) return;
    for (int k = 0; k < direction_bits; ++k) {
        std::uint32_t* words = v.step_words(k);
        for (std::ptrdiff_t i = 0; i < v.T_width; ++i) words[i] = i < std::ptrdiff_t{d} ? v.row(i)[k] : 0;
    }
}
constexpr QuasiPlace first_point(std::uint32_t d) {
    return {.index = 1, .dim = d, .leap_dim = all_dimensions, .pending = 0};
}

// ---- Output ---------------------------------------------------------------------------------------------------------

// In the four points from number n = 4 m on, the two lowest bits of the Gray code take turns as in any such four, and
// the bits above differ from those of the next four by the step from m to m + 1 and its shadow in bit 1: V[i][1], and
// the direction number of this index, turn the four points into the next.
inline int step_of_four(std::uint32_t n) { return RightmostZeroBit(n / 4) + 2; }

// One dimension, n numbers. x and place.index move on.
template <class Out>
void put_dimension(QuasiPlace& place, const std::uint32_t* row, std::uint32_t& x, std::ptrdiff_t n, Out out) {
    std::uint32_t index = place.index, word = x;
    const auto next = [&] { return std::exchange(word, word ^ row[RightmostZeroBit(index++)]); };
    std::ptrdiff_t i = 0;
    while (i < n && index % 4 != 0) out.put(i++, next());
    if (n - i >= 4) {
        const std::uint32_t w0 = row[0], w1 = row[1];
        auto four = FourWords{0, w0, w0 ^ w1, w1} ^ word;
        for (; n - i >= 4; i += 4, index += 4) {
            out.put(i, four);
            four ^= row[step_of_four(index)] ^ w1;
        }
        word = four[0];
    }
    while (i < n) out.put(i++, next());
    place.index = index;
    x = word;
}

// Whole points one number at a time. Returns how many numbers that were.
template <class Out>
std::ptrdiff_t put_points_singly(QuasiPlace& place, const QuasiNumbers& v, std::ptrdiff_t i, std::ptrdiff_t points,
                                 Out out) {
    for (; points > 0; --points) {
        for (std::ptrdiff_t k = 0; k < std::ptrdiff_t{place.dim}; ++k) out.put(i++, v.x[k]);
        step(place, v);
    }
    return i;
}

// Two or three dimensions: four points side by side in d registers.
template <int d, class Out>
void put_points_by_fours(QuasiPlace& place, const QuasiNumbers& v, std::ptrdiff_t points, Out out) {
    const auto to_multiple = std::min(points, static_cast<std::ptrdiff_t>(-place.index % 4));
    std::ptrdiff_t i = put_points_singly(place, v, 0, to_multiple, out);
    points -= to_multiple;
    if (points >= 4) {
        std::uint32_t words[4 * d];
        for (std::uint32_t p = 0; p < 4; ++p) {
            for (int k = 0; k < d; ++k) words[p * d + k] = v.x[k] ^ combined(v.row(k), gray_code(p));
        }
        FourWords lanes[d];
        unroll<d>([&](auto j) { lanes[j] = load<FourWords>(words + 4 * j); });
        const auto second = load<FourWords>(v.step_words(1));
        for (; points >= 4; points -= 4, place.index += 4) {
            const auto change = load<FourWords>(v.step_words(step_of_four(place.index))) ^ second;
            unroll<d>([&](auto j) {
                out.put(i + 4 * j, lanes[j]);
                constexpr int first = 4 * j;
                lanes[j] ^= __builtin_shufflevector(change, change, first % d, (first + 1) % d, (first + 2) % d,
                                                    (first + 3) % d);
            });
            i += std::ptrdiff_t{4} * d;
        }
        unroll<d>([&](auto j) { store(words + 4 * j, lanes[j]); });
        std::copy_n(words, d, v.x);
    }
    put_points_singly(place, v, i, points, out);
}

// 4 to 15 dimensions: the point stays in registers. The last one holds the last four dimensions, some of which may be
// in the one before too: they are output twice, as the same.
template <int d, class Out>
void put_points_in_registers(QuasiPlace& place, const QuasiNumbers& v, std::ptrdiff_t points, Out out) {
    constexpr int registers = (d + 3) / 4;
    const auto at = [](int j) { return std::min(4 * j, d - 4); };
    FourWords x[registers];
    unroll<registers>([&](auto j) { x[j] = load<FourWords>(v.x + at(j)); });
    std::uint32_t index = place.index;
    for (std::ptrdiff_t i = 0; i < points * d; i += d) {
        const std::uint32_t* words = v.step_words(RightmostZeroBit(index++));
        unroll<registers>([&](auto j) {
            out.put(i + at(j), x[j]);
            x[j] ^= load<FourWords>(words + at(j));
        });
    }
    place.index = index;
    unroll<registers>([&](auto j) { store(v.x + at(j), x[j]); });
}

// Any number of dimensions from 4 on.
template <class Out> void put_points(QuasiPlace& place, const QuasiNumbers& v, std::ptrdiff_t points, Out out) {
    const auto d = static_cast<std::ptrdiff_t>(place.dim);
    std::uint32_t* const x = v.x;
    for (std::ptrdiff_t i = 0; points > 0; --points, i += d) {
        const std::uint32_t* words = v.step_words(RightmostZeroBit(place.index++));
        const auto put_four = [&](std::ptrdiff_t k, FourWords four) {
            out.put(i + k, four);
            store(x + k, FourWords(four ^ load<FourWords>(words + k)));
        };
        const auto last = load<FourWords>(x + d - 4); // before the loop steps some of it
        for (std::ptrdiff_t k = 0; k < d - 4; k += 4) put_four(k, load<FourWords>(x + k));
        put_four(d - 4, last);
    }
}

// Whole points, by the way that is best for their dimension.
template <class Out> void put_whole_points(QuasiPlace& place, const QuasiNumbers& v, std::ptrdiff_t points, Out out) {
    if (v.T == nullptr) {
        put_points_singly(place, v, 0, points, out);
        return;
    }
    switch (place.dim) {
    case 1: return put_dimension(place, v.row(0), v.x[0], points, out);
    case 2: return put_points_by_fours<2>(place, v, points, out);
    case 3: return put_points_by_fours<3>(place, v, points, out);
    case 4: return put_points_in_registers<4>(place, v, points, out);
    case 5: return put_points_in_registers<5>(place, v, points, out);
    case 6: return put_points_in_registers<6>(place, v, points, out);
    case 7: return put_points_in_registers<7>(place, v, points, out);
    case 8: return put_points_in_registers<8>(place, v, points, out);
    case 9: return put_points_in_registers<9>(place, v, points, out);
    case 10: return put_points_in_registers<10>(place, v, points, out);
    case 11: return put_points_in_registers<11>(place, v, points, out);
    case 12: return put_points_in_registers<12>(place, v, points, out);
    case 13: return put_points_in_registers<13>(place, v, points, out);
    case 14: return put_points_in_registers<14>(place, v, points, out);
    case 15: return put_points_in_registers<15>(place, v, points, out);
    default: return put_points(place, v, points, out);
    }
}

// n outputs. The end of the sequence is where their count, as if each were a point, would lead past 2^32.
template <class Out> std::int32_t put_numbers(QuasiPlace& place, const QuasiNumbers& v, std::int32_t n, Out out) {
    if (std::int64_t{place.index} + n >= std::int64_t{1} << 32) return OST_ERR_QUASI_PERIOD;
    if (n < 1) return OST_OK;
    std::ptrdiff_t rest = n;
    if (place.leap_dim != all_dimensions) {
        put_dimension(place, v.row(place.leap_dim), v.x[place.leap_dim], rest, out);
        return OST_OK;
    }
    const auto d = static_cast<std::ptrdiff_t>(place.dim);
    const auto put_some = [&](std::ptrdiff_t first, std::ptrdiff_t count) {
        for (std::ptrdiff_t i = 0; i < count; ++i) out.put(i, v.x[first + i]);
        out.r += count;
        rest -= count;
    };
    if (place.pending > 0) {
        const auto count = std::min<std::ptrdiff_t>(rest, place.pending);
        put_some(d - place.pending, count);
        place.pending -= static_cast<std::int32_t>(count);
        if (place.pending == 0) step(place, v);
    }
    const std::ptrdiff_t points = rest / d;
    put_whole_points(place, v, points, out);
    out.r += points * d;
    rest -= points * d;
    if (rest > 0) {
        place.pending = static_cast<std::int32_t>(d - rest);
        put_some(0, rest);
    }
    return OST_OK;
}

// ---- Splitting ------------------------------------------------------------------------------------------------------

// On by u numbers of all dimensions, also when only one is output.
inline std::int32_t skip(QuasiPlace& place, const QuasiNumbers& v, std::uint64_t u) {
    constexpr std::uint64_t last_index = 0xFFFFFFFE;
    const std::uint64_t d = place.dim;
    const auto pending = static_cast<std::uint64_t>(place.pending);
    std::uint64_t points = u / d, words = u % d;
    if (points > last_index || points + place.index > last_index) return OST_ERR_NO_SKIP;
    if (u < pending) {
        place.pending -= static_cast<std::int32_t>(u);
        return OST_OK;
    }
    if (pending > 0) {
        points = (u - pending) / d + 1;
        words = (u - pending) % d;
    }
    const auto index = static_cast<std::uint32_t>(place.index + points);
    const std::uint32_t change = gray_code(place.index) ^ gray_code(index);
    for (std::ptrdiff_t i = 0; i < static_cast<std::ptrdiff_t>(d); ++i) v.x[i] ^= combined(v.row(i), change);
    place.index = index;
    place.pending = words == 0 ? 0 : static_cast<std::int32_t>(d - words);
    return OST_OK;
}

// From now on dimension k alone, from its next number that was not output yet; behind another dimension, from one point
// further on. OST_ERR_QUASI_PERIOD, with nothing done, if that is beyond the last point.
inline std::int32_t select_dimension(QuasiPlace& place, const QuasiNumbers& v, std::uint32_t k) {
    if (place.leap_dim == k) return OST_OK;
    const auto first_pending = place.dim - static_cast<std::uint32_t>(place.pending);
    if (place.leap_dim != all_dimensions || (place.pending != 0 && k < first_pending)) {
        if (place.index == 0xFFFFFFFF) return OST_ERR_QUASI_PERIOD;
        ++place.index;
    }
    v.x[k] = combined(v.row(k), gray_code(place.index));
    place.pending = 0;
    place.leap_dim = k;
    return OST_OK;
}

// ---- Entries --------------------------------------------------------------------------------------------------------

// Seed words: the dimension d, from 1 to 2^31 - 1, and behind it caller's numbers: 1, a form, and what the form asks
// for.
inline std::uint32_t asked_dimension(std::int32_t n, const std::uint32_t* params) {
    return n > 0 && static_cast<std::int32_t>(params[0]) > 0 ? params[0] : 1;
}
// Form 4: 32 finished direction numbers of each dimension.
constexpr std::uint32_t form_finished = 4;
constexpr std::uint64_t words_of_finished(std::uint64_t d) { return direction_bits * d + 3; }
inline void copy_finished(const QuasiNumbers& v, std::uint32_t d, const std::uint32_t* words) {
    for (std::ptrdiff_t i = 0; i < std::ptrdiff_t{d}; ++i)
        std::copy_n(words + direction_bits * i, direction_bits, v.row(i));
}

// A generator G gives its State, numbers(stream), and seed(stream, n, params).
template <class G> QuasiPlace& place_of(OstStream* stream) { return state_of<typename G::State>(stream).place; }

template <class G> std::int32_t init_quasi(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    constexpr std::int32_t select = 0x7FFFFFFF; // stream count that asks for a dimension
    switch (method) {
    case OST_METHOD_SEED: return G::seed(stream, n, static_cast<const std::uint32_t*>(params));
    case OST_METHOD_LEAPFROG: {
        const std::uint32_t k = *static_cast<const std::uint32_t*>(params);
        if (n != select || k >= place_of<G>(stream).dim) return OST_ERR_NO_LEAPFROG;
        return select_dimension(place_of<G>(stream), G::numbers(stream), k);
    }
    case OST_METHOD_SKIP:
        if (n < 1) return OST_ERR_NO_SKIP;
        return skip(place_of<G>(stream), G::numbers(stream), *static_cast<const std::uint64_t*>(params));
    case OST_METHOD_SKIP_LONG: return OST_ERR_NO_SKIP_EX;
    default: return OST_ERR_METHOD;
    }
}

template <class G, class Out> std::int32_t block_quasi(OstStream* stream, std::int32_t n, Out out) {
    return put_numbers(place_of<G>(stream), G::numbers(stream), n, out);
}

} // namespace nvo
