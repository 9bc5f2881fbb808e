// A random stream of the loaded library: what a front end wraps round the calls.
#pragma once

#include "library.h"
#include "nvo_ark/distributions.h"
#include "nvo_ark/generators.h"
#include "nvo_ark/streams.h"

#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

class Stream {
public:
    Stream(const Library& library, std::uint32_t id, const std::vector<std::uint32_t>& seed) : library(library) {
        OstStream* made = nullptr;
        const std::int32_t status =
            NVO_FIND(library, __ostNewStreamEx)(&made, id, static_cast<std::int32_t>(seed.size()), seed.data());
        stream = made;
        check("__ostNewStreamEx", status);
    }
    static Stream loaded(const Library& library, const std::filesystem::path& file) {
        OstStream* made = nullptr;
        const std::int32_t status = NVO_FIND(library, __ostLoadStreamF)(&made, file.c_str(), -1);
        Stream stream(library, made);
        stream.check("__ostLoadStreamF", status);
        return stream;
    }
    Stream(Stream&& other) noexcept : library(other.library), stream(std::exchange(other.stream, nullptr)) {}
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() { end(); }

    void save(const std::filesystem::path& file) const {
        const std::int32_t status = NVO_FIND(library, __ostSaveStreamF)(stream, file.c_str(), -1);
        if (status != OST_OK) throw std::runtime_error(file.string() + ": " + message("__ostSaveStreamF", status));
    }

    void skip(std::uint64_t count) {
        const std::int32_t status = NVO_FIND(library, __ostSkipAheadStream)(stream, count);
        if (status != OST_OK) throw std::runtime_error(message("__ostSkipAheadStream", status));
    }

    // Uniform on [0, 1).
    std::vector<double> draw(std::size_t count) {
        std::vector<double> numbers(count);
        const std::int32_t status =
            NVO_FIND(library, _ostdRngUniform)(0, stream, static_cast<std::int32_t>(count), numbers.data(), 0, 1);
        if (status != OST_OK) throw std::runtime_error(message("_ostdRngUniform", status));
        return numbers;
    }

private:
    Stream(const Library& library, OstStream* stream) : library(library), stream(stream) {}

    static std::string message(const char* call, std::int32_t status) {
        return std::string(call) + " gave the status " + std::to_string(status);
    }
    void check(const char* call, std::int32_t status) {
        if (status == OST_OK) return;
        end();
        throw std::runtime_error(message(call, status));
    }
    void end() {
        if (stream) NVO_FIND(library, __ostDeleteStream)(&stream);
    }

    const Library& library;
    OstStream* stream;
};
