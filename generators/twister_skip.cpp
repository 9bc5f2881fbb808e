// Skip-ahead of twisters by polynomials. The states are a vector space over GF(2) on which a step, x, acts linearly,
// and P(x) = 0 for the characteristic polynomial P: a skip by count is g(x), g = x^count mod P. Hiroshi Haramoto,
// Makoto Matsumoto, Takuji Nishimura, Francois Panneton, Pierre L'Ecuyer: Efficient jump ahead for F2-linear random
// number generators, INFORMS Journal on Computing 20 (2008), 385-390.

#include "generators/twister_skip.h"

#include "frame/lanes.h"
#include "support/scratch.h"

#include <bit>

using namespace nvo;

namespace {

// The polynomial g, and working records.
class Jump {
public:
    Jump(int words, int state_bytes, int records)
        : g_(static_cast<std::size_t>(words)), words_(words),
          stride_((static_cast<std::size_t>(state_bytes) + block_alignment - 1) / block_alignment * block_alignment),
          records_(static_cast<std::size_t>(records) * stride_) {}

    std::int32_t find_power(std::uint64_t count, int k, int terms, const std::uint32_t* poly) {
        if (!g_ || !records_) return OST_ERR_NO_MEMORY;
        return __ostPolyRem(count, k, terms, poly, words_, g_.get());
    }

    OstStream* record(int i) const {
        return reinterpret_cast<OstStream*>(records_.get() + static_cast<std::size_t>(i) * stride_);
    }
    bool bit(int i) const { return (g_[static_cast<std::size_t>(i) / 32] >> (i % 32) & 1) != 0; }
    // Seven bits, the lowest of them bit i.
    unsigned seven_bits(int i) const {
        unsigned bits = 0;
        for (int b = 6; b >= 0; --b) bits = bits << 1 | static_cast<unsigned>(bit(i + b));
        return bits;
    }
    // -1 for the polynomial 0.
    int degree() const {
        int top = words_ - 1;
        while (top >= 0 && g_[static_cast<std::size_t>(top)] == 0) --top;
        return top < 0 ? -1 : 32 * top + std::bit_width(g_[static_cast<std::size_t>(top)]) - 1;
    }

private:
    Scratch<std::uint32_t> g_;
    int words_;
    std::size_t stride_;
    Scratch<unsigned char> records_;
};

} // namespace

void nvo::add_rings(std::uint32_t* to, int to_start, const std::uint32_t* from, int from_start, int n) {
    using Four = Lanes<std::uint32_t, 4>;
    int d = to_start % n, s = from_start % n;
    for (int left = n; left > 0;) { // three stretches at most
        const int end = std::min({left, n - d, n - s});
        int i = 0;
        for (; i + 4 <= end; i += 4) store(to + d + i, load<Four>(to + d + i) ^ load<Four>(from + s + i));
        for (; i < end; ++i) to[d + i] ^= from[s + i];
        left -= end;
        d = (d + end) % n;
        s = (s + end) % n;
    }
}

// Horner's rule.
std::int32_t __ost_SkipAheadHorner(OstStream* stream, OstZeroState*, OstAddState* _AddState, OstCopyState* _CopyState1,
                                   OstUpdateState* _UpdateS, OstReturnState* _CopyState2, OstProcessIndex* _ProcessIdx,
                                   std::uint64_t count, std::int32_t N, std::int32_t k, std::int32_t state_bytes,
                                   std::int32_t terms, const std::uint32_t* poly) {
    std::int32_t adjust = 0;
    if (count == 0 || _ProcessIdx(stream, &count, &adjust) == 0) return OST_OK;
    Jump g(N, state_bytes, 1);
    const std::int32_t status = g.find_power(count, k, terms, poly);
    if (status != OST_OK) return status;

    OstStream* sum = g.record(0);
    _CopyState1(sum, stream);
    for (int i = g.degree() - 1; i >= 0; --i) {
        _UpdateS(sum);
        if (g.bit(i)) _AddState(sum, stream);
    }
    _CopyState2(stream, sum, adjust);
    return OST_OK;
}

// Horner's rule by windows: eight bits of g that begin with a one are taken by one addition, of a state from the table
// window[v] = (x^7 + v(x)) s. For bits beyond windows it goes bit by bit.
std::int32_t __ost_SkipAheadSWin(OstStream* stream, OstZeroState* _ZeroState, OstAddState* _AddState,
                                 OstCopyState* _CopyState1, OstUpdateState* _UpdateS, OstReturnState* _CopyState2,
                                 OstProcessIndex* _ProcessIdx, std::uint64_t count, std::int32_t N, std::int32_t k,
                                 std::int32_t state_bytes, std::int32_t terms, const std::uint32_t* poly) {
    std::int32_t adjust = 0;
    if (count == 0 || _ProcessIdx(stream, &count, &adjust) == 0) return OST_OK;
    constexpr int lower_bits = 7;
    constexpr int windows = 1 << lower_bits;
    Jump g(N, state_bytes, windows + 2);
    const std::int32_t status = g.find_power(count, k, terms, poly);
    if (status != OST_OK) return status;
    OstStream *sum = g.record(windows), *power = g.record(windows + 1);
    const auto update = [_UpdateS](OstStream* s, int times) {
        for (int t = 0; t < times; ++t) _UpdateS(s);
    };

    // In the order of Gray's code each window differs from the last by one power of x.
    const auto window = [&g](unsigned v) { return g.record(static_cast<int>(v)); };
    _CopyState1(window(0), stream);
    update(window(0), lower_bits);
    unsigned last = 0;
    for (unsigned j = 1; j < windows; ++j) {
        const unsigned v = j ^ j >> 1;
        _CopyState1(power, stream);
        update(power, std::countr_zero(v ^ last));
        _CopyState1(window(v), window(last));
        _AddState(window(v), power);
        last = v;
    }

    _ZeroState(sum);
    int i = g.degree();
    while (i >= lower_bits) {
        _UpdateS(sum);
        if (g.bit(i)) {
            update(sum, lower_bits);
            i -= lower_bits;
            _AddState(sum, window(g.seven_bits(i)));
        }
        --i;
    }
    for (; i >= 0; --i) {
        _UpdateS(sum);
        if (g.bit(i)) _AddState(sum, stream);
    }
    _CopyState2(stream, sum, adjust);
    return OST_OK;
}
