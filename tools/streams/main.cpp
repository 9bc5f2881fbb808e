// The statistical battery: how random the words of the generators are.

#include "tools/streams/battery.h"
#include "tools/streams/source.h"

#include <atomic>
#include <charconv>
#include <cstdio>
#include <exception>
#include <optional>
#include <stdexcept>
#include <thread>

using namespace nvo::battery;

namespace {

constexpr const char* usage = R"(usage: stream_battery [OPTION...] [GENERATOR...]

Puts words of the given generators, or of all, through statistical tests. Fails if a p-value lies outside
[1e-6, 1 - 1e-6] and the reason isn't known. A generator is NAME[/SET][:WORDS], with its parameter set and the number of
its seed words, as in MT2203/17 or R250:250.

  --words K   2^K words of each, from 2^16 to 2^36; 28 if not given
  --seed S    another seed than 1
)";

// What generators are known to fail with 2^28 words, and why.
struct KnownFailure {
    const char* generator; // with the number of seed words, if it counts
    const char* test;
    const char* reason;
};
constexpr const char* even = "2^28 words are an eighth of its period, in which no word comes twice: the cells fill too "
                             "evenly";
constexpr const char* linear = "each word is the exclusive or of two before, so that any 250 rows determine the others";
constexpr const char* three_terms = "the exclusive or of two words before ties the spacings of words to each other";
constexpr KnownFailure known_failures[] = {
    {"MCG31M1", "serial", even},
    {"MCG31M1", "serial low", even},
    {"MCG31M1", "birthdays",
     "4096 words are more than the cube root of its period: its lattice shows in their spacings"},
    {"R250", "monobit", "its ring is filled by a multiplicative generator modulo 2^32, whose low bits hardly change"},
    {"R250", "serial low", "as above: the register takes some 2^24 steps to mix the low bits"},
    {"R250", "birthdays", three_terms},
    {"R250", "rank 512", linear},
    {"R250:250", "birthdays", three_terms},
    {"R250:250", "rank 512", linear},
    {"MCG59", "serial low", "the lowest of the upper 32 bits has the period 2^26, so that the cells fill too evenly"},
};

const KnownFailure* known_failure(const std::string& generator, const std::string& test) {
    for (const KnownFailure& known : known_failures)
        if (generator == known.generator && test == known.test) return &known;
    return nullptr;
}

struct Request {
    bool help = false;
    int log2_words = 28;
    std::uint64_t seed = 1;
    std::vector<std::string> generators;
};

template <class T> T number(const std::string& text, T low, T high) {
    T value{};
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end || value < low || value > high)
        throw std::invalid_argument("not a number from " + std::to_string(low) + " to " + std::to_string(high) + ": " +
                                    text);
    return value;
}

Request parse(int count, char** words) {
    Request request;
    for (int i = 1; i < count; ++i) {
        const std::string word = words[i];
        if (word == "--help") {
            request.help = true;
        } else if (word == "--words" || word == "--seed") {
            if (++i == count) throw std::invalid_argument(word + " takes a number");
            if (word == "--words") {
                request.log2_words = number(words[i], 16, 36);
            } else {
                request.seed = number<std::uint64_t>(words[i], 0, ~std::uint64_t{0});
            }
        } else if (word.starts_with("-")) {
            throw std::invalid_argument("there is no option " + word);
        } else {
            stream_source(word, request.seed); // complains of names that aren't there
            request.generators.push_back(word);
        }
    }
    if (request.generators.empty()) request.generators = generator_names();
    return request;
}

// p-values in the order of the tests; none if the processor can't run the generator.
using Line = std::optional<std::vector<double>>;

Line run(const std::string& generator, const Request& request) {
    const auto source = stream_source(generator, request.seed);
    if (!source) return {};
    const auto tests = make_tests(source->bits);
    std::vector<std::uint32_t> block(block_words);
    for (std::uint64_t left = std::uint64_t{1} << request.log2_words; left != 0; left -= block_words) {
        source->fill(block);
        for (const auto& test : tests) test->take(std::span<const std::uint32_t, block_words>(block));
    }
    std::vector<double> p_values;
    for (const auto& test : tests) p_values.push_back(test->p_value());
    return p_values;
}

// All generators, as many at a time as the processor has cores.
std::vector<Line> run_all(const Request& request) {
    std::vector<Line> lines(request.generators.size());
    std::atomic<std::size_t> next = 0;
    std::vector<std::exception_ptr> errors(std::max(1u, std::thread::hardware_concurrency()));
    std::vector<std::thread> team;
    for (std::exception_ptr& error : errors) {
        team.emplace_back([&] {
            try {
                for (std::size_t i = next++; i < lines.size(); i = next++)
                    lines[i] = run(request.generators[i], request);
            } catch (...) {
                error = std::current_exception();
            }
        });
    }
    for (std::thread& thread : team) thread.join();
    for (const std::exception_ptr& error : errors)
        if (error) std::rethrow_exception(error);
    return lines;
}

std::string cell(double p) {
    char text[32];
    // A p-value near 1 tells by its distance from there.
    if (p > 0.999) {
        std::snprintf(text, sizeof text, p == 1 ? "1" : "1-%.0e", 1 - p);
    } else {
        std::snprintf(text, sizeof text, p < 0.001 ? "%.0e" : "%.3f", p);
    }
    return text;
}

// Returns the number of failures without a known reason.
int print(const Request& request, const std::vector<Line>& lines) {
    std::printf(
        "p-values of 2^%d words a generator, seed %llu. Those outside [1e-6, 1 - 1e-6] are failures (!), or known\n"
        "weaknesses (*), told below. SOBOL and NIEDERREITER don't take part, since their points are even by design,\n"
        "nor do IABSTRACT, DABSTRACT and SABSTRACT, whose numbers are the caller's.\n\n",
        request.log2_words, static_cast<unsigned long long>(request.seed));
    std::printf("%-14s", "generator");
    const auto tests = make_tests(32);
    for (const auto& test : tests) std::printf(" %11s", test->name().c_str());
    std::puts("");

    int failures = 0;
    std::string reasons;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string& generator = request.generators[i];
        std::printf("%-14s", generator.c_str());
        for (std::size_t k = 0; lines[i] && k < tests.size(); ++k) {
            const double p = lines[i]->at(k);
            const KnownFailure* known = known_failure(generator, tests[k]->name());
            const char mark = passes(p) ? ' ' : known != nullptr ? '*' : '!';
            failures += mark == '!';
            if (mark == '*') reasons += "* " + generator + ", " + known->test + ": " + known->reason + ".\n";
            std::printf(" %10s%c", cell(p).c_str(), mark);
        }
        std::puts(lines[i] ? "" : "  not run: the processor lacks its instruction");
    }
    std::printf("\n%s%d failures.\n", reasons.c_str(), failures);
    return failures;
}

} // namespace

int main(int count, char** words) {
    try {
        const Request request = parse(count, words);
        if (request.help) {
            std::fputs(usage, stdout);
            return 0;
        }
        return print(request, run_all(request)) == 0 ? 0 : 1;
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "stream_battery: %s\n\n%s", error.what(), usage);
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "stream_battery: %s\n", error.what());
        return 1;
    }
}
