// IABSTRACT, DABSTRACT, SABSTRACT: numbers from a ring buffer of the caller's, whose callback refills it when it runs
// low: 32-bit words, doubles and floats. The real kinds scale from the interval [A, B) of the ring to what is asked
// for. A number that was read is gone; there is no sequence to split.

#include "frame/lanes.h"
#include "generators/generator.h"
#include "streams/registry.h"

#include <algorithm>
#include <cstring>
#include <type_traits>

using namespace nvo;

namespace {

// The unread numbers are size - free, from pos on, with wrap.
struct Ring {
    std::int32_t size, pos, free;

    std::int32_t unread() const { return size - free; }
    // The place `count` numbers behind pos.
    std::int32_t place(std::int32_t count) const {
        return static_cast<std::int32_t>((std::int64_t{pos} + count) % size);
    }
};
template <class T> struct State {
    Ring ring;
    T lower, upper;
    T* buffer;
    OstRefill* refill;
};
template <> struct State<std::uint32_t> {
    Ring ring;
    std::uint32_t* buffer;
    OstRefill* refill;
};
static_assert(offsetof(StreamOf<State<std::uint32_t>>, state.buffer) == 32 &&
              sizeof(StreamOf<State<std::uint32_t>>) == 48);
static_assert(offsetof(StreamOf<State<double>>, state.lower) == 32 && sizeof(StreamOf<State<double>>) == 64);
static_assert(offsetof(StreamOf<State<float>>, state.lower) == 28 && sizeof(StreamOf<State<float>>) == 56);

// How numbers leave the ring: words as they are, others by (x - A) scale + a.
struct Copy {
    void operator()(std::uint32_t* r, const std::uint32_t* from, std::ptrdiff_t n) const { std::copy_n(from, n, r); }
};
template <class T> struct Scale {
    T lower, scale, a;

    Scale(const State<T>& s, T a, T b) : lower(s.lower), scale((b - a) / (s.upper - s.lower)), a(a) {}
    void operator()(T* r, const T* from, std::ptrdiff_t n) const {
        using V = Lanes<T, lane_width<T>>;
        const auto scaled = [this](auto x) { return (x - lower) * scale + a; };
        std::ptrdiff_t i = 0;
        for (; n - i >= lane_width<T>; i += lane_width<T>) store(r + i, scaled(load<V>(from + i)));
        for (; i < n; ++i) r[i] = scaled(from[i]);
    }
};

// Moves `count` unread numbers to r: one stretch, or two round the end of the ring.
template <class T, class Output> T* read(Ring& ring, const T* buffer, std::int32_t count, T* r, const Output& output) {
    const std::int32_t first = std::min(count, ring.size - ring.pos);
    output(r, buffer + ring.pos, first);
    output(r + first, buffer, count - first);
    ring.pos = ring.place(count);
    ring.free += count;
    return r + count;
}

template <class T, class Output> std::int32_t block(OstStream* stream, std::int32_t n, T* r, const Output& output) {
    auto& s = state_of<State<T>>(stream);
    if (s.buffer == nullptr) return OST_ERR_NULL_POINTER;
    if (n < 1) return OST_OK;
    Ring ring = s.ring; // a call that fails leaves the stream's own as it was
    for (;;) {
        const std::int32_t count = std::min(n, ring.unread());
        r = read(ring, s.buffer, count, r, output);
        n -= count;
        if (n == 0) break;
        // The ring is empty. The callback gets words of its own to look at.
        std::int32_t size = ring.size, least = std::min(n, ring.free), most = ring.free, index = ring.pos;
        const std::int32_t written = s.refill(stream, &size, s.buffer, &least, &most, &index);
        if (written < 0 || written > ring.free) return OST_ERR_ABSTRACT_COUNT;
        if (written == 0) return OST_ERR_ABSTRACT_EMPTY;
        ring.free -= written;
    }
    s.ring = ring;
    return OST_OK;
}

// A stream over the fields that its init entry takes.
std::int32_t new_stream(OstStream** stream_out, std::uint32_t id, std::int32_t n, void* const* fields) {
    const DecodedId decoded(id);
    const std::int32_t status = __ostAllocateStream(stream_out, decoded.table, id, decoded.index, decoded.offset);
    if (status != OST_OK) return status;
    return decoded.row().init_entry(OST_METHOD_SEED, *stream_out, n, fields);
}

template <class T>
std::int32_t new_real_stream(OstStream** stream_out, std::uint32_t id, std::int32_t size, T* buffer, OstRefill* refill,
                             T lower, T upper) {
    if (size < 1 || buffer == nullptr || refill == nullptr || lower >= upper) return OST_ERR_ARGUMENT;
    void* fields[] = {&size, buffer, &lower, &upper, reinterpret_cast<void*>(refill)};
    return new_stream(stream_out, id, 10, fields);
}

// Fields: &size, buffer, for the real kinds &A and &B, refill. The ring is empty, whatever the buffer holds.
template <class T> std::int32_t init(std::int32_t method, OstStream* stream, const void* params) {
    switch (method) {
    case OST_METHOD_SEED: break;
    case OST_METHOD_LEAPFROG: return OST_ERR_NO_LEAPFROG;
    case OST_METHOD_SKIP: return OST_ERR_NO_SKIP;
    case OST_METHOD_SKIP_LONG: return OST_ERR_NO_SKIP_EX;
    default: return OST_ERR_METHOD;
    }
    auto& s = state_of<State<T>>(stream);
    const auto* field = static_cast<void* const*>(params);
    const std::int32_t size = *static_cast<const std::int32_t*>(*field++);
    s.ring = {.size = size, .pos = 0, .free = size};
    s.buffer = static_cast<T*>(*field++);
    if constexpr (!std::is_same_v<T, std::uint32_t>) {
        s.lower = *static_cast<const T*>(*field++);
        s.upper = *static_cast<const T*>(*field++);
    }
    s.refill = reinterpret_cast<OstRefill*>(*field);
    return OST_OK;
}

// An image holds the pointers as they are; its user vouches for them.
template <class T> bool is_sound(const OstStream* stream) {
    const auto& s = state_of<State<T>>(stream);
    const Ring& ring = s.ring;
    return ring.size > 0 && ring.pos >= 0 && ring.pos < ring.size && ring.free >= 0 && ring.free <= ring.size &&
           s.refill != nullptr;
}

} // namespace

bool nvo::is_sound_IABSTRACT(const OstStream* stream) { return is_sound<std::uint32_t>(stream); }
bool nvo::is_sound_DABSTRACT(const OstStream* stream) { return is_sound<double>(stream); }
bool nvo::is_sound_SABSTRACT(const OstStream* stream) { return is_sound<float>(stream); }

std::int32_t __ostiNewAbstractStream(OstStream** stream_out, std::int32_t size, std::uint32_t* buffer,
                                     OstRefill* refill) {
    if (size < 1 || buffer == nullptr || refill == nullptr) return OST_ERR_ARGUMENT;
    void* fields[] = {&size, buffer, reinterpret_cast<void*>(refill)};
    return new_stream(stream_out, OST_BRNG_IABSTRACT, 6, fields);
}
std::int32_t __ostdNewAbstractStream(OstStream** stream_out, std::int32_t size, double* buffer, OstRefill* refill,
                                     double A, double B) {
    return new_real_stream(stream_out, OST_BRNG_DABSTRACT, size, buffer, refill, A, B);
}
std::int32_t __ostsNewAbstractStream(OstStream** stream_out, std::int32_t size, float* buffer, OstRefill* refill,
                                     float A, float B) {
    return new_real_stream(stream_out, OST_BRNG_SABSTRACT, size, buffer, refill, A, B);
}

std::int32_t __ostBRngiAbstractInitStream(std::int32_t method, OstStream* stream, std::int32_t, const void* params) {
    return init<std::uint32_t>(method, stream, params);
}
std::int32_t __ostBRngdAbstractInitStream(std::int32_t method, OstStream* stream, std::int32_t, const void* params) {
    return init<double>(method, stream, params);
}
std::int32_t __ostBRngsAbstractInitStream(std::int32_t method, OstStream* stream, std::int32_t, const void* params) {
    return init<float>(method, stream, params);
}

std::int32_t __ostiBRngiAbstract(OstStream* stream, std::int32_t n, void* r) {
    return block(stream, n, static_cast<std::uint32_t*>(r), Copy());
}
std::int32_t __ostdBRngdAbstract(OstStream* stream, std::int32_t n, double* r, double a, double b) {
    return block(stream, n, r, Scale<double>(state_of<State<double>>(stream), a, b));
}
std::int32_t __ostsBRngsAbstract(OstStream* stream, std::int32_t n, float* r, float a, float b) {
    return block(stream, n, r, Scale<float>(state_of<State<float>>(stream), a, b));
}

// The other types.
std::int32_t __ostsBRngiAbstract(OstStream*, std::int32_t, float*, float, float) { return OST_ERR_ABSTRACT_TYPE; }
std::int32_t __ostdBRngiAbstract(OstStream*, std::int32_t, double*, double, double) { return OST_ERR_ABSTRACT_TYPE; }
std::int32_t __ostiBRngdAbstract(OstStream*, std::int32_t, void*) { return OST_ERR_ABSTRACT_TYPE; }
std::int32_t __ostsBRngdAbstract(OstStream*, std::int32_t, float*, float, float) { return OST_ERR_ABSTRACT_TYPE; }
std::int32_t __ostiBRngsAbstract(OstStream*, std::int32_t, void*) { return OST_ERR_ABSTRACT_TYPE; }
std::int32_t __ostdBRngsAbstract(OstStream*, std::int32_t, double*, double, double) { return OST_ERR_ABSTRACT_TYPE; }
