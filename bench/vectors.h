// The vectors that a row and its peers are timed on, and calls made with them.
#pragma once

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <tuple>
#include <type_traits>

namespace bench {

// Random elements in an interval; one in `rarity` of them, at random places, is a special one instead.
struct Fill {
    double low = 0.1;
    double high = 100;
    double special = 0;
    int rarity = 0; // 0: none
};

// Two input and two result vectors of one element type, with a stride, and 32-bit vectors for the rows that gather and
// scatter. The same every time. Each vector starts on a cache line, and at a place in its page that none of the others
// has: else a processor may take a load from one vector for a load behind a store to another.
class Vectors {
public:
    Vectors(char type, int n, int stride, const Fill& a, const Fill& b);

    int n, stride;
    const void* inputs[2];
    void* results[2];
    const std::int32_t* mask;  // random zeros and ones
    const std::int32_t* index; // 0 to n - 1 in random order

    std::size_t bytes() const { return element_bytes_ * static_cast<std::size_t>(n); } // of one vector without gaps

private:
    struct Free {
        void operator()(std::byte* p) const { std::free(p); }
    };
    std::size_t element_bytes_;
    std::unique_ptr<std::byte, Free> memory_;
};

// The loop that times one function; and what makes it for given vectors, which must live longer.
using Body = std::function<void(benchmark::State&)>;
using Maker = std::function<Body(const Vectors&)>;

enum class Third { mask, index }; // meaning of the 32-bit vector among the arguments

// Arguments in the order of a signature. Integers: the count, then strides. Pointers: input vectors, result vectors.
class Arguments {
public:
    Arguments(const Vectors& vectors, Third third) : vectors_(vectors), third_(third) {}

    template <class P> P next() {
        if constexpr (std::is_same_v<P, const std::int32_t*>) {
            return third_ == Third::mask ? vectors_.mask : vectors_.index;
        } else if constexpr (std::is_pointer_v<P> && std::is_const_v<std::remove_pointer_t<P>>) {
            return static_cast<P>(vectors_.inputs[inputs_++]);
        } else if constexpr (std::is_pointer_v<P>) {
            return static_cast<P>(vectors_.results[results_++]);
        } else if constexpr (std::is_same_v<P, std::int32_t>) {
            return integers_++ == 0 ? vectors_.n : vectors_.stride;
        } else if constexpr (std::is_class_v<P>) {
            return {1.5, 0.25};
        } else {
            return static_cast<P>(1.5);
        }
    }

private:
    const Vectors& vectors_;
    Third third_;
    int inputs_ = 0, results_ = 0, integers_ = 0;
};

template <class... P> Maker maker(void (*function)(P...), Third third = Third::mask) {
    return [=](const Vectors& vectors) -> Body {
        Arguments arguments(vectors, third);
        return [function, call = std::tuple<P...>{arguments.next<P>()...}](benchmark::State& state) {
            const std::tuple<P...> in_registers = call;
            for (auto _ : state) {
                std::apply(function, in_registers);
                benchmark::ClobberMemory();
            }
        };
    };
}

} // namespace bench
