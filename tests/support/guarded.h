// Memory whose last element ends at a page that can't be touched.
#pragma once

#include <cstddef>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

namespace nvo::tests {

template <class T> class GuardedArray {
public:
    explicit GuardedArray(std::size_t n) : size_(n) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        const std::size_t body = (n * sizeof(T) + page - 1) / page * page;
        bytes_ = body + 2 * page;
        memory_ = static_cast<char*>(mmap(nullptr, bytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (memory_ == MAP_FAILED || mprotect(memory_ + page, body, PROT_READ | PROT_WRITE) != 0)
            throw std::bad_alloc();
        data_ = reinterpret_cast<T*>(memory_ + page + body) - n;
    }
    ~GuardedArray() { munmap(memory_, bytes_); }
    GuardedArray(const GuardedArray&) = delete;
    GuardedArray& operator=(const GuardedArray&) = delete;

    T* data() const { return data_; }
    T& operator[](std::size_t i) const { return data_[i]; }
    std::size_t size() const { return size_; }

private:
    std::size_t size_, bytes_;
    char* memory_;
    T* data_;
};

} // namespace nvo::tests
