#include "tools/streams/source.h"

#include "nvo_ark/generators.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <map>
#include <stdexcept>
#include <string_view>

namespace nvo::battery {

namespace {

// How a generator's output becomes 32-bit words.
enum class Reading {
    words,        // as they are
    upper_31,     // words of 31 bits, moved up
    upper_32,     // words of 59 bits, moved down
    scaled_to_32, // words below m1 = 2^32 - 209, times 2^32 / m1
    doubles       // the first 32 bits behind the point of its doubles
};

struct Generator {
    std::uint32_t id;
    Reading reading;
};
const std::map<std::string, Generator>& generators() {
    static const std::map<std::string, Generator> all = {
        {"MCG31M1", {OST_BRNG_MCG31M1, Reading::upper_31}},
        {"R250", {OST_BRNG_R250, Reading::words}},
        {"MRG32K3A", {OST_BRNG_MRG32K3A, Reading::scaled_to_32}},
        {"MCG59", {OST_BRNG_MCG59, Reading::upper_32}},
        {"WH", {OST_BRNG_WH, Reading::doubles}},
        {"MT19937", {OST_BRNG_MT19937, Reading::words}},
        {"MT2203", {OST_BRNG_MT2203, Reading::words}},
        {"SFMT19937", {OST_BRNG_SFMT19937, Reading::words}},
        {"NONDETERM", {OST_BRNG_NONDETERM, Reading::words}},
        {"ARS5", {OST_BRNG_ARS5, Reading::words}},
        {"PHILOX4X32X10", {OST_BRNG_PHILOX4X32X10, Reading::words}},
    };
    return all;
}

// Steele, Lea, Flood: Fast splittable pseudorandom number generators (2014), as a source of seed words.
std::uint32_t next_seed_word(std::uint64_t& state) {
    std::uint64_t z = state += 0x9E3779B97F4A7C15;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return static_cast<std::uint32_t>(z >> 32);
}

// A stream, and what one call gives before it becomes words.
class Stream {
public:
    Stream(const Generator& generator, std::uint32_t set, std::uint32_t seed_words, std::uint64_t seed)
        : reading_(generator.reading) {
        // Those of NONDETERM aren't seeds.
        std::vector<std::uint32_t> words(generator.id == OST_BRNG_NONDETERM ? 0 : seed_words);
        for (std::uint32_t& word : words) word = next_seed_word(seed);
        const std::int32_t status =
            __ostNewStreamEx(&stream_, generator.id + set, static_cast<std::int32_t>(words.size()), words.data());
        if (status == OST_ERR_BAD_BRNG) throw std::invalid_argument("there is no such parameter set");
        check(status);
        __ostGetBrngProperties(generator.id, &row_);
    }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
    ~Stream() {
        if (stream_ != nullptr) __ostDeleteStream(&stream_);
    }

    // Draws a word to find out.
    bool lacks_processor() {
        std::array<std::uint32_t, 4> word;
        return row_.i_entry(stream_, 1, word.data()) != OST_OK;
    }

    void fill(std::span<std::uint32_t> words) {
        const auto n = static_cast<std::int32_t>(words.size());
        switch (reading_) {
        case Reading::words: check(row_.i_entry(stream_, n, words.data())); break;
        case Reading::upper_31:
            check(row_.i_entry(stream_, n, words.data()));
            for (std::uint32_t& word : words) word <<= 1;
            break;
        case Reading::scaled_to_32:
            check(row_.i_entry(stream_, n, words.data()));
            for (std::uint32_t& word : words) word = static_cast<std::uint32_t>(word * (0x1p32 / 4294967087.0));
            break;
        case Reading::upper_32:
            long_words_.resize(words.size());
            check(row_.i_entry(stream_, n, long_words_.data()));
            for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint32_t>(long_words_[i] >> 27);
            break;
        case Reading::doubles:
            doubles_.resize(words.size());
            check(row_.d_entry(stream_, n, doubles_.data(), 0, 1));
            for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<std::uint32_t>(doubles_[i] * 0x1p32);
            break;
        }
    }
    int bits() const { return reading_ == Reading::upper_31 ? 31 : 32; }

private:
    static void check(std::int32_t status) {
        if (status != OST_OK) throw std::runtime_error("a stream failed with status " + std::to_string(status));
    }

    OstStream* stream_ = nullptr;
    OstBrng row_{};
    Reading reading_;
    std::vector<std::uint64_t> long_words_;
    std::vector<double> doubles_;
};

} // namespace

const std::vector<std::string>& generator_names() {
    static const std::vector<std::string> names = {
        "MCG31M1", "R250",   "R250:250",  "MRG32K3A",  "MCG59", "WH",
        "MT19937", "MT2203", "SFMT19937", "NONDETERM", "ARS5",  "PHILOX4X32X10",
    };
    return names;
}

std::unique_ptr<Source> stream_source(const std::string& name, std::uint64_t seed) {
    const std::size_t end_of_name = std::min(name.find_first_of("/:"), name.size());
    const auto found = generators().find(name.substr(0, end_of_name));
    if (found == generators().end()) throw std::invalid_argument("no generator that takes part is called " + name);

    // "/SET" and ":WORDS", in this order, each of which may be missing.
    std::string_view rest(name);
    rest.remove_prefix(end_of_name);
    const auto number_behind = [&](char sign, std::uint32_t missing) {
        if (!rest.starts_with(sign)) return missing;
        std::uint32_t value = 0;
        const auto [end, error] = std::from_chars(rest.data() + 1, rest.data() + rest.size(), value);
        if (error != std::errc() || value > 0xFFFFF) throw std::invalid_argument("not a number: " + name);
        rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
        return value;
    };
    const std::uint32_t set = number_behind('/', 0);
    const std::uint32_t seed_words = number_behind(':', 8);
    if (!rest.empty()) throw std::invalid_argument("no generator that takes part is called " + name);

    const auto stream = std::make_shared<Stream>(found->second, set, seed_words, seed);
    if (stream->lacks_processor()) return nullptr;
    return std::make_unique<Source>(
        Source{stream->bits(), [stream](std::span<std::uint32_t> words) { stream->fill(words); }});
}

} // namespace nvo::battery
