// A generator of tests' own, for what the stream layer does with any of them: it counts.
#pragma once

#include "nvo_ark/streams.h"

#include <cstdint>
#include <gtest/gtest.h>

namespace nvo::tests {

struct ToyStream {
    OstStream head;
    std::uint32_t next, step;
};

inline std::int32_t toy_init(std::int32_t method, OstStream* stream, std::int32_t n, const void* params) {
    auto* toy = reinterpret_cast<ToyStream*>(stream);
    switch (method) {
    case OST_METHOD_SEED:
        toy->next = n > 0 ? *static_cast<const std::uint32_t*>(params) : 0;
        toy->step = 1;
        return n > 1 ? OST_ERR_ARGUMENT : OST_OK;
    case OST_METHOD_LEAPFROG:
        toy->next += *static_cast<const std::uint32_t*>(params) * toy->step;
        toy->step *= static_cast<std::uint32_t>(n);
        return OST_OK;
    case OST_METHOD_SKIP: EXPECT_EQ(2, n); [[fallthrough]];
    case OST_METHOD_SKIP_LONG:
        toy->next += static_cast<std::uint32_t>(*static_cast<const std::uint64_t*>(params)) * toy->step;
        return OST_OK;
    default: return OST_ERR_METHOD;
    }
}
template <class T> std::int32_t toy_entry(OstStream* stream, std::int32_t n, T* r) {
    auto* toy = reinterpret_cast<ToyStream*>(stream);
    for (std::int32_t i = 0; i < n; ++i, toy->next += toy->step) r[i] = static_cast<T>(toy->next);
    return OST_OK;
}
inline std::int32_t toy_floats(OstStream* stream, std::int32_t n, float* r, float, float) {
    return toy_entry(stream, n, r);
}
inline std::int32_t toy_doubles(OstStream* stream, std::int32_t n, double* r, double, double) {
    return toy_entry(stream, n, r);
}
inline std::int32_t toy_words(OstStream* stream, std::int32_t n, void* r) {
    return toy_entry(stream, n, static_cast<std::uint32_t*>(r));
}

inline constexpr OstBrng toy_properties = {.state_bytes = sizeof(ToyStream),
                                           .seed_words = 1, // step is not copied as state
                                           .has_zero = 1,
                                           .word_bytes = 4,
                                           .bits = 32,
                                           .init_entry = toy_init,
                                           .s_entry = toy_floats,
                                           .d_entry = toy_doubles,
                                           .i_entry = toy_words};

// Its id; registered once in a program.
inline std::uint32_t toy_id() {
    static const auto id = static_cast<std::uint32_t>(__ostRegisterBrng(&toy_properties));
    return id;
}

} // namespace nvo::tests
