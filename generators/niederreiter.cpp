// NIEDERREITER: H. Niederreiter's sequence in base 2, with direction numbers of the caller's or built-in ones for 1 to
// 318 dimensions, from one irreducible polynomial over GF(2) a dimension (P. Bratley, B. L. Fox, H. Niederreiter,
// Implementation and tests of low-discrepancy sequences, ACM Trans. Model. Comput. Simul. 2, 1992). A sequence has 2^32
// - 1 points.
//
// Seed words: the dimension d; or d, 1, a form and what it asks for:
//
//   1    polynomials of the d dimensions
//   4    32 direction numbers for each dimension
//
// What can't be had so, for an unknown form or too few words, gives the built-in numbers for d, or for one dimension
// where there are none for d. A polynomial without a degree gives zeros.

#include "generators/quasi.h"
#include "support/scratch.h"

// Behind the declarations.
#include "tables/niederreiter.h"

#include <limits>

using namespace nvo;

namespace {

constexpr std::uint32_t limit = 318;

// In a chunk of the stream's own: V in rows of 32 words, and x behind it. There is no T.
constexpr std::uint32_t numbers_chunk = 10;

constexpr std::uint64_t chunk_bytes(std::uint64_t d) { return sizeof(std::uint32_t) * (direction_bits + 1) * d; }
QuasiNumbers numbers_in_chunk(std::uint32_t* numbers, std::uint32_t d) {
    return {numbers + std::size_t{direction_bits} * d, numbers, direction_bits, nullptr, 0};
}

struct Niederreiter {
    using State = QuasiState<limit, 320, 8>;
    static QuasiNumbers numbers(OstStream* stream);
    static std::int32_t seed(OstStream* stream, std::int32_t n, const std::uint32_t* params);
};
static_assert(offsetof(StreamOf<Niederreiter::State>, state.x) == 64 &&
              offsetof(StreamOf<Niederreiter::State>, state.V) == 1344 &&
              offsetof(StreamOf<Niederreiter::State>, state.T) == 43328 &&
              sizeof(StreamOf<Niederreiter::State>) == 84288);

QuasiNumbers Niederreiter::numbers(OstStream* stream) {
    auto& s = state_of<State>(stream);
    auto* numbers = static_cast<std::uint32_t*>(__ostSearchChunk(stream, numbers_chunk));
    return numbers != nullptr ? numbers_in_chunk(numbers, s.place.dim) : numbers_in(s);
}

// ---- Direction numbers ----------------------------------------------------------------------------------------------

std::uint64_t product(std::uint64_t a, std::uint32_t b) {
    std::uint64_t sum = 0;
    for (int i = 0; i < 32; ++i) sum ^= (b >> i & 1) != 0 ? a << i : 0;
    return sum;
}

// Bit j of the word, from the top, is v[j mod e + k] of the sequence v that belongs to the power j / e + 1 of p: zeros
// up to the degree m0 of the power before, ones up to the degree m of this one, b, and from there on the linear
// recurrence with the coefficients of b. v is a bit string: v[t] is bit t. There are at most m0 + e < 32 + e <= 63 bits
// in b, and e + 31 <= 62 in v.
void set_row(std::uint32_t* row, std::uint32_t polynomial) {
    std::fill_n(row, direction_bits, 0);
    const int e = std::bit_width(polynomial) - 1;
    if (e < 1) return;
    std::uint64_t b = 1, v = 0;
    int m = 0;
    for (int j = 0; j < direction_bits; ++j) {
        const int u = j % e;
        if (u == 0) {
            const std::uint64_t ones_from = ~std::uint64_t{0} << m;
            b = product(b, polynomial);
            m += e;
            const std::uint64_t below_m = (std::uint64_t{1} << m) - 1;
            v = ones_from & below_m;
            for (int t = m; t < e + direction_bits - 1; ++t) {
                const auto bit = static_cast<std::uint64_t>(__builtin_parityll(b & below_m & (v >> (t - m))));
                v |= bit << t;
            }
        }
        for (int k = 0; k < direction_bits; ++k)
            row[k] |= static_cast<std::uint32_t>(v >> (u + k) & 1) << (direction_bits - 1 - j);
    }
}

void set_rows(const QuasiNumbers& v, std::uint32_t d, const std::uint32_t* polynomials) {
    for (std::uint32_t i = 0; i < d; ++i) set_row(v.row(i), polynomials[i]);
}

void seed_built_in(OstStream* stream, std::uint32_t d) {
    auto& s = state_of<Niederreiter::State>(stream);
    set_rows(numbers_in(s), d, uNiederrIrredPoly);
    complete(numbers_in(s), d);
    s.place = first_point(d);
}

// ---- Caller's numbers -----------------------------------------------------------------------------------------------

constexpr std::uint32_t form_polynomials = 1;

bool has_user_params(std::int32_t n, const std::uint32_t* params) {
    if (n <= 2 || static_cast<std::int32_t>(params[0]) <= 0 || params[1] != 1) return false;
    const auto words = static_cast<std::uint64_t>(n);
    const std::uint64_t d = params[0];
    switch (params[2]) {
    case form_polynomials: return d + 3 <= words;
    case form_finished: return words_of_finished(d) <= words;
    default: return false;
    }
}

void set_all(const QuasiNumbers& v, std::uint32_t d, const std::uint32_t* params) {
    if (params[2] == form_polynomials) {
        set_rows(v, d, params + 3);
    } else {
        copy_finished(v, d, params + 3);
    }
    complete(v, d);
}

// A failure leaves a stream of one dimension.
std::int32_t __ostNiederrInitUserParams(OstStream* stream, const std::uint32_t* params) {
    const std::uint32_t d = params[0];
    auto& s = state_of<Niederreiter::State>(stream);
    if (d <= limit) {
        set_all(numbers_in(s), d, params);
    } else {
        seed_built_in(stream, 1);
        const std::uint64_t bytes = chunk_bytes(d);
        if (bytes > std::numeric_limits<std::int32_t>::max()) return OST_ERR_NO_MEMORY; // no chunk is so long
        Scratch<std::uint32_t> numbers(bytes / sizeof(std::uint32_t));
        if (!numbers) return OST_ERR_NO_MEMORY;
        set_all(numbers_in_chunk(numbers.get(), d), d, params);
        const std::int32_t status =
            __ostAddChunk(stream, numbers_chunk, nullptr, numbers.get(), static_cast<std::int32_t>(bytes));
        if (status != OST_OK) return status;
        numbers.release(); // the stream's now
    }
    s.place = first_point(d);
    return OST_OK;
}

std::int32_t Niederreiter::seed(OstStream* stream, std::int32_t n, const std::uint32_t* params) {
    if (has_user_params(n, params)) return __ostNiederrInitUserParams(stream, params);
    const std::uint32_t d = asked_dimension(n, params);
    seed_built_in(stream, d <= limit ? d : 1);
    return OST_OK;
}

} // namespace

bool nvo::is_sound_NIEDERREITER(const OstStream* stream) {
    const QuasiPlace& place = state_of<Niederreiter::State>(stream).place;
    const bool in_chunk = has_chunk(stream, numbers_chunk, 0);
    return is_sound(place) &&
           (in_chunk ? has_chunk(stream, numbers_chunk, chunk_bytes(place.dim)) : place.dim <= limit);
}

std::int32_t __ostBRngNiederrInitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    return init_quasi<Niederreiter>(method, stream, n, params);
}
std::int32_t __ostiBRngNiederr(OstStream* stream, std::int32_t n, void* r) {
    return block_quasi<Niederreiter>(stream, n, WordOutput{static_cast<std::uint32_t*>(r)});
}
std::int32_t __ostsBRngNiederr(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return block_quasi<Niederreiter>(stream, n, unsigned_output(r, a, b));
}
std::int32_t __ostdBRngNiederr(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return block_quasi<Niederreiter>(stream, n, unsigned_output(r, a, b));
}
