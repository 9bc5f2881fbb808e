// Integers that a task holds by pointer, 32 or 64 bits wide as the task says.
#pragma once

#include <cstdint>

namespace nvo {

class Integers {
public:
    Integers(const void* first, bool wide) : first_(first), wide_(wide) {}

    explicit operator bool() const { return first_ != nullptr; }
    std::int64_t operator[](std::int64_t i) const {
        return wide_ ? static_cast<const std::int64_t*>(first_)[i] : static_cast<const std::int32_t*>(first_)[i];
    }
    std::int64_t operator*() const { return (*this)[0]; }

private:
    const void* first_;
    bool wide_;
};

} // namespace nvo
