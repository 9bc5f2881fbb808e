// Results held against a fast reference, a few at a time: most are done with here.
#pragma once

#include "frame/lanes.h"
#include "tools/accuracy/ulp.h"

namespace nvo::accuracy {

inline constexpr int screen_size = 64;

struct Screened {
    double sum;    // of the errors
    bool all_fine; // no error is above limit, within slack of 1/2, or NaN
};

// The errors of screen_size results, in ulp; NaN where the result or the reference is NaN, both are infinite, or their
// signs differ.
template <class T> Screened screen(const T* y, const Wide<T>* reference, Wide<T>* errors, double limit, double slack) {
    using W = Wide<T>;
    bool all_fine = true;
    W sum = 0;
    for (int i = 0; i < screen_size; ++i) {
        const bool same_sign = std::signbit(y[i]) == std::signbit(reference[i]);
        errors[i] = same_sign ? std::fabs(y[i] - reference[i]) * inverse_ulp<T>(reference[i])
                              : std::numeric_limits<W>::quiet_NaN();
        all_fine = all_fine && errors[i] <= limit && !(std::fabs(errors[i] - W(0.5)) <= slack);
        sum += errors[i];
    }
    return {static_cast<double>(sum), all_fine};
}

// The same in lanes, for what runs 2^32 times: the compiler makes none of the above.
template <>
inline Screened screen<float>(const float* y, const double* reference, double* errors, double limit, double slack) {
    using V = Lanes<double, 2>;
    using Bits = Lanes<std::uint64_t, 2>;
    using Limits = std::numeric_limits<float>;
    const auto bits = [](V v) { return reinterpret_cast<Bits>(v); };
    constexpr std::uint64_t sign = std::uint64_t{1} << 63;
    constexpr std::uint64_t exponent_field = 0x7FF0000000000000;
    const V least = splat<V>(Limits::min()), most = splat<V>(Limits::max());
    V sum = {};
    Bits fine = ~Bits{};
    for (int i = 0; i < screen_size; i += 2) {
        const V r = load<V>(reference + i);
        const V v = {y[i], y[i + 1]};
        V inside = reinterpret_cast<V>(bits(r) & ~sign);
        inside = inside > least ? inside : least;
        inside = inside < most ? inside : most;
        const Bits scale = (std::uint64_t{2 * 1023 + Limits::digits - 1} << 52) - (bits(inside) & exponent_field);
        const Bits distance = bits(v - r) & ~sign;
        const V error = reinterpret_cast<V>(distance) * reinterpret_cast<V>(scale);
        const Bits all_ones_if_signs_differ = Bits{} - ((bits(v) ^ bits(r)) >> 63); // a NaN
        const V checked = reinterpret_cast<V>(bits(error) | all_ones_if_signs_differ);
        const V from_half = reinterpret_cast<V>(bits(checked - 0.5) & ~sign);
        fine &= reinterpret_cast<Bits>(checked <= limit) & ~reinterpret_cast<Bits>(from_half <= slack);
        store<V>(errors + i, checked);
        sum += checked;
    }
    return {sum[0] + sum[1], (fine[0] & fine[1]) != 0};
}

} // namespace nvo::accuracy
