// SOBOL: I. M. Sobol's sequence, with direction numbers of the caller's or built-in ones for 1 to 40 dimensions. In
// dimension index i, a polynomial p over GF(2) of degree s and s initial values m give m[k] = V[i][k] / 2^(31 - k):
//
//   m[k] = m[k - s] ^ (XOR of 2^(s - j) m[k - s + j] over the bits j < s that are set in p)
//
// (P. Bratley, B. L. Fox, Algorithm 659, ACM Trans. Math. Softw. 14, 1988, with the coefficients of p in the opposite
// order). The first dimension has m[k] = 1. A sequence has 2^32 - 1 points.
//
// Seed words: the dimension d; or d, 1, a form and what it asks for:
//
//   1    polynomials of dimensions 2 to d; d <= 40
//   2    s, and s initial values for each of dimensions 2 to d; d <= 40
//   3    polynomials of dimensions 2 to d, s, and s initial values for each of them
//   4    32 direction numbers for each dimension
//   11   polynomials of all dimensions, s, and s initial values for each of them
//
// What can't be had so, for an unknown form, too few words or a dimension above 40, gives the built-in numbers for d,
// or for one dimension where there are none for d. Initial values beyond a polynomial's degree aren't used, missing
// ones are 0; a polynomial without a degree gives zeros.

#include "generators/quasi.h"
#include "support/scratch.h"

// Behind the declarations.
#include "tables/sobol.h"

#include <limits>

using namespace nvo;

namespace {

constexpr std::uint32_t limit = 40;

// In chunks: V in rows of 32 words with T behind it, shared by the copies of a stream, and x, its own.
constexpr std::uint32_t numbers_chunk = 9, point_chunk = 13;

constexpr std::uint64_t step_width(std::uint64_t d) { return 16 * (d / 16) + 16; }
constexpr std::uint64_t numbers_bytes(std::uint64_t d) {
    return sizeof(std::uint32_t) * direction_bits * (d + step_width(d));
}
constexpr std::uint64_t point_bytes(std::uint64_t d) { return sizeof(std::uint32_t) * d; }

QuasiNumbers numbers_in_chunks(std::uint32_t* numbers, std::uint32_t* x, std::uint32_t d) {
    return {x, numbers, direction_bits, numbers + std::size_t{direction_bits} * d,
            static_cast<std::ptrdiff_t>(step_width(d))};
}

struct Sobol {
    using State = QuasiState<limit, 48, 32>;
    static QuasiNumbers numbers(OstStream* stream);
    static std::int32_t seed(OstStream* stream, std::int32_t n, const std::uint32_t* params);
};
static_assert(offsetof(StreamOf<Sobol::State>, state.x) == 64 && offsetof(StreamOf<Sobol::State>, state.V) == 256 &&
              offsetof(StreamOf<Sobol::State>, state.T) == 5568 && sizeof(StreamOf<Sobol::State>) == 11712);

QuasiNumbers Sobol::numbers(OstStream* stream) {
    auto& s = state_of<State>(stream);
    auto* numbers = static_cast<std::uint32_t*>(__ostSearchChunk(stream, numbers_chunk));
    auto* x = static_cast<std::uint32_t*>(__ostSearchChunk(stream, point_chunk));
    return numbers != nullptr && x != nullptr ? numbers_in_chunks(numbers, x, s.place.dim) : numbers_in(s);
}

// ---- Direction numbers ----------------------------------------------------------------------------------------------

// A dimension with a polynomial and s initial values.
void set_row(std::uint32_t* row, std::uint32_t polynomial, const std::uint32_t* values, std::uint32_t s) {
    const int degree = std::bit_width(polynomial) - 1;
    std::uint32_t m[direction_bits]{};
    if (degree > 0) {
        std::copy_n(values, std::min(s, static_cast<std::uint32_t>(degree)), m);
        for (int k = degree; k < direction_bits; ++k) {
            m[k] = m[k - degree];
            for (int j = 0; j < degree; ++j) m[k] ^= (polynomial >> j & 1) != 0 ? m[k - degree + j] << (degree - j) : 0;
        }
    }
    for (int k = 0; k < direction_bits; ++k) row[k] = m[k] << (direction_bits - 1 - k);
}
void set_first_row(std::uint32_t* row) {
    for (int k = 0; k < direction_bits; ++k) row[k] = 1U << (direction_bits - 1 - k);
}

// Dimension indices 1 to d - 1, from polynomials and values in order.
void set_rows(const QuasiNumbers& v, std::uint32_t d, const std::uint32_t* polynomials, const std::uint32_t* values,
              std::uint64_t s) {
    set_first_row(v.row(0));
    for (std::uint32_t i = 1; i < d; ++i)
        set_row(v.row(i), polynomials[i - 1], values + (i - 1) * s, static_cast<std::uint32_t>(s));
}

constexpr std::uint64_t built_in_s = std::size(uSobolMInit[0]);

void seed_built_in(OstStream* stream, std::uint32_t d) {
    auto& s = state_of<Sobol::State>(stream);
    set_rows(numbers_in(s), d, uSobolIrredPoly, uSobolMInit[0], built_in_s);
    complete(numbers_in(s), d);
    s.place = first_point(d);
}

// ---- Caller's numbers -----------------------------------------------------------------------------------------------

constexpr std::uint32_t form_polynomials = 1, form_values = 2, form_both = 3, form_both_for_all = 11;

// The seed words are of a known form, and all there. No word is looked at before it is known to be one.
bool has_user_params(std::int32_t n, const std::uint32_t* params) {
    if (n <= 3 || static_cast<std::int32_t>(params[0]) <= 0 || params[1] != 1) return false;
    const auto words = static_cast<std::uint64_t>(n);
    const std::uint64_t d = params[0];
    switch (params[2]) {
    case form_polynomials: return d <= limit && d + 2 <= words;
    case form_values: return d <= limit && (d - 1) * params[3] + 4 <= words;
    case form_both: return d + 3 <= words && (std::uint64_t{params[d + 2]} + 1) * (d - 1) + 4 <= words;
    case form_finished: return words_of_finished(d) <= words;
    case form_both_for_all: return d + 4 <= words && (std::uint64_t{params[d + 3]} + 1) * d + 4 <= words;
    default: return false;
    }
}

// All of V for the forms that live in chunks.
void set_rows_of_form(const QuasiNumbers& v, std::uint32_t d, const std::uint32_t* params) {
    const std::uint32_t* polynomials = params + 3;
    switch (params[2]) {
    case form_both: return set_rows(v, d, polynomials, polynomials + d, polynomials[d - 1]);
    case form_finished: return copy_finished(v, d, polynomials);
    default: break;
    }
    const std::uint32_t* values = polynomials + d + 1;
    const std::uint64_t s = polynomials[d];
    for (std::uint32_t i = 0; i < d; ++i)
        set_row(v.row(i), polynomials[i], values + i * s, static_cast<std::uint32_t>(s));
}

std::int32_t add_chunk(OstStream* stream, std::uint32_t id, const std::uint64_t* table_id, Scratch<std::uint32_t>& data,
                       std::uint64_t bytes) {
    const std::int32_t status = __ostAddChunk(stream, id, table_id, data.get(), static_cast<std::int32_t>(bytes));
    if (status == OST_OK) data.release();
    return status;
}

std::int32_t seed_in_chunks(OstStream* stream, const std::uint32_t* params) {
    const std::uint32_t d = params[0];
    if (numbers_bytes(d) > std::numeric_limits<std::int32_t>::max()) return OST_ERR_NO_MEMORY; // no chunk is so long
    Scratch<std::uint32_t> numbers(numbers_bytes(d) / sizeof(std::uint32_t)), x(d);
    if (!numbers || !x) return OST_ERR_NO_MEMORY;
    const QuasiNumbers v = numbers_in_chunks(numbers.get(), x.get(), d);
    set_rows_of_form(v, d, params);
    complete(v, d);

    std::uint64_t table_id[2];
    __ostGenerateNewGlobalRODataTableEntryId(table_id, reinterpret_cast<std::uintptr_t>(numbers.get()));
    std::int32_t status = add_chunk(stream, numbers_chunk, table_id, numbers, numbers_bytes(d));
    if (status == OST_OK) status = add_chunk(stream, point_chunk, nullptr, x, point_bytes(d));
    if (status == OST_OK) state_of<Sobol::State>(stream).place = first_point(d);
    return status;
}

std::int32_t seed_in_state(OstStream* stream, const std::uint32_t* params) {
    const std::uint32_t d = params[0];
    auto& s = state_of<Sobol::State>(stream);
    if (params[2] == form_polynomials) {
        const std::uint32_t* polynomials = params + 3;
        const bool too_high =
            std::any_of(polynomials, polynomials + d - 1, [](std::uint32_t p) { return p >> (built_in_s + 1) != 0; });
        if (too_high) return OST_ERR_ARGUMENT;
        set_rows(numbers_in(s), d, polynomials, uSobolMInit[0], built_in_s);
    } else {
        set_rows(numbers_in(s), d, uSobolIrredPoly, params + 4, params[3]);
    }
    complete(numbers_in(s), d);
    s.place = first_point(d);
    return OST_OK;
}

// A failure leaves a stream of one dimension.
std::int32_t __ostSobolInitUserParams(OstStream* stream, const std::uint32_t* params) {
    seed_built_in(stream, 1);
    const bool fits_state = params[2] == form_polynomials || params[2] == form_values;
    return fits_state ? seed_in_state(stream, params) : seed_in_chunks(stream, params);
}

std::int32_t Sobol::seed(OstStream* stream, std::int32_t n, const std::uint32_t* params) {
    if (has_user_params(n, params)) return __ostSobolInitUserParams(stream, params);
    const std::uint32_t d = asked_dimension(n, params);
    seed_built_in(stream, d <= limit ? d : 1);
    return OST_OK;
}

} // namespace

bool nvo::is_sound_SOBOL(const OstStream* stream) {
    const QuasiPlace& place = state_of<Sobol::State>(stream).place;
    const bool in_chunks = has_chunk(stream, numbers_chunk, 0) && has_chunk(stream, point_chunk, 0);
    return is_sound(place) && (in_chunks ? has_chunk(stream, numbers_chunk, numbers_bytes(place.dim)) &&
                                               has_chunk(stream, point_chunk, point_bytes(place.dim))
                                         : place.dim <= limit);
}

std::int32_t __ostBRngSobolInitStream(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    return init_quasi<Sobol>(method, stream, n, params);
}
std::int32_t __ostiBRngSobol(OstStream* stream, std::int32_t n, void* r) {
    return block_quasi<Sobol>(stream, n, WordOutput{static_cast<std::uint32_t*>(r)});
}
std::int32_t __ostsBRngSobol(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return block_quasi<Sobol>(stream, n, unsigned_output(r, a, b));
}
std::int32_t __ostdBRngSobol(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return block_quasi<Sobol>(stream, n, unsigned_output(r, a, b));
}
