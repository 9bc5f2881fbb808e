// The accuracy meter: how far results are off, row by row.

#include "tools/accuracy/peers.h"
#include "tools/accuracy/report.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <optional>
#include <stdexcept>

using namespace nvo::accuracy;

namespace {

constexpr const char* usage =
    R"(usage: accuracy [--exhaustive] [--markdown FILE] [ROW...]
       accuracy ROW ARGUMENT...
       accuracy --plot ROW

Measures the errors of the given rows (sExp, dAddI), operations (Exp) or functions of one value (expl, dLGamma), or of
all, against MPFR, and holds them to their bounds.

  --exhaustive     all 2^32 arguments for rows of one float, samples for the others
  --markdown FILE  writes the results into FILE, and keeps its lines for rows that weren't measured
  ROW ARGUMENT...  the results at these arguments, decimal or hexadecimal; for rows of two arguments, of each pair
  --plot ROW       lines of argument and largest error near it, in ascending order
)";

struct Request {
    bool help = false;
    bool exhaustive = false;
    bool plot = false;
    std::string page;
    std::vector<Kernel> kernels;
    std::vector<std::string> scalars;
    std::vector<std::string> arguments; // numbers

    template <class T> T argument(std::size_t i) const {
        const char* text = arguments[i].c_str();
        return std::is_same_v<T, Extended> ? static_cast<T>(std::strtold(text, nullptr))
                                           : static_cast<T>(std::strtod(text, nullptr));
    }
};

bool is_number(const std::string& text) {
    char* end;
    std::strtold(text.c_str(), &end);
    return !text.empty() && *end == '\0';
}

// Asks for the kernels of a row or of an operation, and for functions of one value.
void add_called(const std::string& name, Request& request) {
    const std::size_t before = request.kernels.size() + request.scalars.size();
    for (const Kernel& kernel : written_kernels())
        if (kernel.name == name || kernel.row.op == name) request.kernels.push_back(kernel);
    for (const std::string& scalar : scalars_called(name)) request.scalars.push_back(scalar);
    if (request.kernels.size() + request.scalars.size() == before)
        throw std::invalid_argument("no row that is written is called " + name);
}

Request parse(int count, char** words) {
    Request request;
    for (int i = 1; i < count; ++i) {
        const std::string word = words[i];
        if (word == "--help") {
            request.help = true;
        } else if (word == "--exhaustive") {
            request.exhaustive = true;
        } else if (word == "--plot") {
            request.plot = true;
        } else if (word == "--markdown" && i + 1 < count) {
            request.page = words[++i];
        } else if (is_number(word)) {
            request.arguments.push_back(word);
        } else {
            add_called(word, request);
        }
    }
    const bool named = !request.kernels.empty() || !request.scalars.empty();
    if (request.plot && (request.kernels.empty() || !request.arguments.empty()))
        throw std::invalid_argument("--plot takes a row");
    if (!request.arguments.empty() && !named) throw std::invalid_argument("arguments of which row?");
    if (!named) {
        request.kernels = written_kernels();
        request.scalars = scalars_called("");
    }
    return request;
}

// ---- Results at given arguments -------------------------------------------------------------------------------

template <class T> void show(const Kernel& kernel, double a, double b) {
    const auto print = [&](const char* who, const Task<T>& task, const VectorFunction<T>& function) {
        for (const Case& c : try_out(task, function, static_cast<T>(a), static_cast<T>(b)))
            std::printf("  %-18s got %-26s want %-26s error %.6g ulp%s\n", who, hex(c.got).c_str(), hex(c.want).c_str(),
                        c.error,
                        kernel.results() == 1 ? ""
                        : c.result == 0       ? " (y)"
                                              : " (z)");
    };
    std::printf("%s %s%s\n", kernel.name.c_str(), hex(static_cast<T>(a)).c_str(),
                kernel.arguments() == 2 ? (" " + hex(static_cast<T>(b))).c_str() : "");
    const bool exact = bounds_of(kernel.name, kernel.unit_name).ulp == 0;
    for (const Direction direction : directions) {
        if (direction != Direction::nearest && !exact) continue;
        const std::string who =
            direction == Direction::nearest ? "ours" : std::string("rounding ") + name_of(direction);
        print(who.c_str(), task_of<T>(kernel, direction), vector_function<T>(kernel));
    }
    const PeerSource source = peer_source();
    const auto peers = [&] {
        if constexpr (std::is_same_v<T, float>) {
            return source.floats(kernel.row.op);
        } else {
            return source.doubles(kernel.row.op);
        }
    }();
    for (const Peer<T>& peer : peers)
        print(peer_columns()[peer.column].c_str(), task_of<T>(kernel, Direction::nearest), peer.function);
}

void show_scalar(const std::string& name, Extended a, Extended b) {
    std::printf("%s %s%s\n", name.c_str(), hex_extended(a).c_str(),
                arguments_of_scalar(name) == 2 ? (" " + hex_extended(b)).c_str() : "");
    const char* who = "ours";
    for (const ScalarFinding::Case& c : try_scalar(name, a, b)) {
        std::printf("  %-18s got %-26s want %-26s error %.6g ulp\n", who, hex_extended(c.got).c_str(),
                    hex_extended(c.want).c_str(), c.error);
        who = "C library";
    }
}

void show_all(const Request& request) {
    for (const Kernel& kernel : request.kernels) {
        const auto step = static_cast<std::size_t>(kernel.arguments());
        for (std::size_t i = 0; i + step <= request.arguments.size(); i += step) {
            const auto a = request.argument<double>(i), b = step == 2 ? request.argument<double>(i + 1) : 0;
            kernel.row.type == 's' ? show<float>(kernel, a, b) : show<double>(kernel, a, b);
        }
    }
    for (const std::string& name : request.scalars) {
        const auto step = static_cast<std::size_t>(arguments_of_scalar(name));
        for (std::size_t i = 0; i + step <= request.arguments.size(); i += step)
            show_scalar(name, request.argument<Extended>(i), step == 2 ? request.argument<Extended>(i + 1) : 0);
    }
}

// ---- Errors over the first argument ----------------------------------------------------------------------------

// The largest error in each of 16 (float) or 4 (double) parts of every binade, at the argument that has it.
template <class T> void plot(const Kernel& kernel) {
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    constexpr int shift = sizeof(T) == 4 ? 19 : 50;
    struct Peak {
        T a;
        double error = -1;
    };
    std::map<Bits, Peak> positive, negative;
    Task<T> task = task_of<T>(kernel, Direction::nearest);
    task.watch = [&](T a, double error) {
        const auto part = static_cast<Bits>(std::bit_cast<Bits>(std::fabs(a)) >> shift);
        Peak& peak = (std::signbit(a) ? negative : positive)[part];
        if (error > peak.error) peak = {a, error};
    };
    std::vector<Subject<T>> subjects = {{vector_function<T>(kernel), {}, {}}};
    measure(task, make_samples<T>(plan_of(kernel, 1)), subjects);
    const auto print = [](const Peak& peak) {
        if (std::isfinite(peak.a)) std::printf("%.17g %.6g\n", static_cast<double>(peak.a), peak.error);
    };
    for (auto peak = negative.rbegin(); peak != negative.rend(); ++peak) print(peak->second);
    for (const auto& [part, peak] : positive) print(peak);
}

// ---- The survey -------------------------------------------------------------------------------------------------

// Hands the findings to terminal and page, and keeps those that fail.
template <class Some>
void take(const std::vector<Some>& findings, std::optional<Page>& page, std::vector<Some>& failures) {
    for (const Some& finding : findings) {
        print_line(finding);
        if (!finding.passed()) failures.push_back(finding);
    }
    if (!page) return;
    page->add(findings);
    page->write();
}

int run_survey(const Request& request) {
    std::optional<Page> page;
    if (!request.page.empty()) page.emplace(request.page, peer_columns());
    std::vector<Finding> failures;
    std::vector<ScalarFinding> scalar_failures;
    if (!request.kernels.empty()) {
        print_head(peer_columns());
        survey(request.kernels, {request.exhaustive, 1, peer_source()},
               [&](const std::vector<Finding>& findings) { take(findings, page, failures); });
    }
    if (!request.scalars.empty()) {
        print_scalar_head(peer_columns().front());
        for (const std::string& name : request.scalars) take(survey_scalar(name), page, scalar_failures);
    }
    const std::vector<std::string> missing = gaps(request.kernels);
    for (const std::string& gap : missing) std::printf("FAIL %s\n", gap.c_str());
    for (const Finding& finding : failures) print_failure(finding);
    for (const ScalarFinding& finding : scalar_failures) print_failure(finding);
    const std::size_t count = missing.size() + failures.size() + scalar_failures.size();
    std::printf(count == 0 ? "All within their bounds.\n" : "%zu failures.\n", count);
    return count == 0 ? 0 : 1;
}

} // namespace

int main(int count, char** words) {
    try {
        const Request request = parse(count, words);
        if (request.help) return std::fputs(usage, stdout), 0;
        const std::vector<std::string> missing = gaps(request.kernels);
        if (request.plot || !request.arguments.empty()) {
            for (const std::string& gap : missing) throw std::runtime_error(gap);
            if (!request.plot) {
                show_all(request);
            } else {
                for (const Kernel& kernel : request.kernels)
                    kernel.row.type == 's' ? plot<float>(kernel) : plot<double>(kernel);
            }
            return 0;
        }
        return run_survey(request);
    } catch (const std::invalid_argument& error) {
        std::fprintf(stderr, "accuracy: %s\n\n%s", error.what(), usage);
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "accuracy: %s\n", error.what());
        return 1;
    }
}
