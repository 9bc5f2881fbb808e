// Owner of a block of nvo_serv_allocate: scratch of a call, or a block until another owner takes it over.
#pragma once

#include "platform/core.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <type_traits>
#include <utility>

namespace nvo {

inline constexpr std::size_t block_alignment = 128;

template <class T> class Scratch {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    Scratch() = default;
    // Room for `count` elements, not set. Null if there is no memory, or no number for the bytes.
    explicit Scratch(std::size_t count)
        : data_(count > std::numeric_limits<std::size_t>::max() / sizeof(T)
                    ? nullptr
                    : static_cast<T*>(nvo_serv_allocate(count * sizeof(T), block_alignment))) {}
    Scratch(Scratch&& other) noexcept : data_(other.release()) {}
    Scratch& operator=(Scratch&& other) noexcept {
        std::swap(data_, other.data_);
        return *this;
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    ~Scratch() { nvo_serv_deallocate(data_); }

    explicit operator bool() const { return data_ != nullptr; }
    T* get() const { return data_; }
    T& operator[](std::size_t i) const { return data_[i]; }
    T* release() { return std::exchange(data_, nullptr); }

private:
    T* data_ = nullptr;
};

} // namespace nvo
