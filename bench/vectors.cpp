#include "bench/vectors.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <numeric>
#include <random>
#include <span>

namespace bench {

namespace {

constexpr std::size_t page = 4096;
constexpr std::size_t line = 64;

std::size_t real_bytes(char type) { return type == 's' || type == 'c' ? sizeof(float) : sizeof(double); }
bool is_complex(char type) { return type == 'c' || type == 'z'; }

template <class R> void fill(void* memory, std::size_t count, const Fill& fill, std::uint32_t seed) {
    std::mt19937_64 random(seed);
    std::uniform_real_distribution<double> value(fill.low, fill.high);
    R* element = static_cast<R*>(memory);
    for (std::size_t i = 0; i < count; ++i) {
        const bool special = fill.rarity != 0 && random() % static_cast<unsigned>(fill.rarity) == 0;
        element[i] = static_cast<R>(special ? fill.special : value(random));
    }
}

} // namespace

Vectors::Vectors(char type, int n, int stride, const Fill& a, const Fill& b)
    : n(n), stride(stride), element_bytes_(real_bytes(type) * (is_complex(type) ? 2 : 1)) {
    const std::size_t vector_bytes = element_bytes_ * static_cast<std::size_t>(n) * static_cast<std::size_t>(stride);
    const std::size_t room = (vector_bytes / page + 1) * page + 5 * line;
    const std::size_t index_bytes = static_cast<std::size_t>(n) * sizeof(std::int32_t);
    const std::size_t all = (4 * room + 2 * index_bytes) / page * page + 2 * page;
    memory_.reset(static_cast<std::byte*>(std::aligned_alloc(page, all)));
    if (!memory_) throw std::bad_alloc();
    std::memset(memory_.get(), 0, all);

    std::byte* next = memory_.get();
    const auto take = [&] {
        std::byte* vector = next;
        next += room;
        return vector;
    };
    for (int k = 0; k < 2; ++k) {
        void* vector = take();
        inputs[k] = vector;
        const std::size_t reals = vector_bytes / real_bytes(type);
        const auto seed = static_cast<std::uint32_t>(k + 1);
        (real_bytes(type) == sizeof(float) ? fill<float> : fill<double>)(vector, reals, k == 0 ? a : b, seed);
    }
    for (void*& result : results) result = take();

    std::mt19937_64 random(3);
    const std::span masks(reinterpret_cast<std::int32_t*>(next), static_cast<std::size_t>(n));
    const std::span indices(masks.data() + n, static_cast<std::size_t>(n));
    for (std::int32_t& m : masks) m = static_cast<std::int32_t>(random() & 1);
    std::iota(indices.begin(), indices.end(), 0);
    std::shuffle(indices.begin(), indices.end(), random);
    mask = masks.data();
    index = indices.data();
}

} // namespace bench
