#include "tools/accuracy/report.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace nvo::accuracy {

namespace {

template <class... X> std::string format(const char* text, X... x) {
    const int n = std::snprintf(nullptr, 0, text, x...);
    std::string s(static_cast<std::size_t>(n), '\0');
    std::snprintf(s.data(), s.size() + 1, text, x...);
    return s;
}

// Errors to four digits, rounded up, so that a bound just missed shows.
std::string error_text(double error) {
    if (error == 0) return "0";
    if (std::isinf(error)) return "wrong";
    if (error >= 1e5) return format("%.1e", error);
    const double scale = error < 1 ? 1e4 : 1e3;
    return format(error < 1 ? "%.4f" : "%.3f", std::ceil(error * scale) / scale);
}
std::string mean_text(double mean) { return mean == 0 ? "0" : format("%.4f", mean); }
std::string peer_text(const std::optional<Tally>& peer) { return peer ? error_text(peer->largest()) : "-"; }
std::string bound_text(double bound) { return format("%g", bound); }

std::string sample_text(const Finding& finding) {
    return finding.all_floats && finding.part.empty() && finding.tally.samples >> 32 == 1
               ? "all"
               : format("%llu", static_cast<unsigned long long>(finding.tally.samples));
}

std::string case_text(const Finding& finding) {
    const Case& worst = finding.tally.worst;
    if (worst.error <= 0) return "";
    const char* result = finding.kernel->results() == 1 ? "" : worst.result == 0 ? "y: " : "z: ";
    return arguments_of(finding) + ": " + result + "got " + hex(worst.got) + ", want " + hex(worst.want);
}

std::string scalar_error_text(const ScalarFinding& finding, double error) {
    return finding.absolute ? format("%.3g", error) : error_text(error);
}
std::string arguments_of(const ScalarFinding& finding) {
    const ScalarFinding::Case& worst = finding.worst;
    return hex_extended(worst.a) + (finding.arguments == 2 ? " " + hex_extended(worst.b) : "");
}
std::string case_text(const ScalarFinding& finding) {
    const ScalarFinding::Case& worst = finding.worst;
    if (worst.error <= 0) return "";
    return arguments_of(finding) + ": got " + hex_extended(worst.got) + ", want " + hex_extended(worst.want);
}
std::string scalar_mean_text(const ScalarFinding& finding) {
    return finding.absolute ? format("%.3g", finding.mean()) : mean_text(finding.mean());
}

} // namespace

void print_head(const std::vector<std::string>& peer_columns) {
    std::printf("%-14s %-14s %7s %9s %8s %10s", "row", "", "bound", "largest", "mean", "samples");
    for (const std::string& column : peer_columns) std::printf(" %16s", column.c_str());
    std::printf("  worst\n");
}

void print_line(const Finding& finding) {
    if (finding.direction != Direction::nearest) return;
    std::printf("%-14s %-14s %7s %9s %8s %10s", finding.kernel->name.c_str(), finding.part.c_str(),
                bound_text(finding.bound).c_str(), error_text(finding.tally.largest()).c_str(),
                mean_text(finding.tally.mean()).c_str(), sample_text(finding).c_str());
    for (const auto& peer : finding.peers) std::printf(" %16s", peer_text(peer).c_str());
    std::printf("  %s\n", case_text(finding).c_str());
    std::fflush(stdout);
}

void print_failure(const Finding& finding) {
    std::printf("FAIL %s %s, rounding to %s: %s ulp, bound %s, at %s\n     ./run accuracy %s %s\n",
                finding.kernel->name.c_str(), finding.part.c_str(), name_of(finding.direction),
                error_text(finding.tally.largest()).c_str(), bound_text(finding.bound).c_str(),
                case_text(finding).c_str(), finding.kernel->name.c_str(), arguments_of(finding).c_str());
}

void print_scalar_head(const std::string& peer_column) {
    std::printf("%-18s %-12s %8s %9s %8s %8s %12s  worst\n", "function", "", "bound", "largest", "mean", "samples",
                peer_column.c_str());
}

void print_line(const ScalarFinding& finding) {
    std::printf("%-18s %-12s %8s %9s %8s %8zu %12s  %s\n", finding.name.c_str(), finding.part.c_str(),
                bound_text(finding.bound).c_str(), scalar_error_text(finding, finding.largest()).c_str(),
                scalar_mean_text(finding).c_str(), finding.samples, scalar_error_text(finding, finding.peer).c_str(),
                case_text(finding).c_str());
    std::fflush(stdout);
}

void print_failure(const ScalarFinding& finding) {
    std::printf("FAIL %s %s: %s, bound %s, at %s\n     ./run accuracy %s %s\n", finding.name.c_str(),
                finding.part.c_str(), scalar_error_text(finding, finding.largest()).c_str(),
                bound_text(finding.bound).c_str(), case_text(finding).c_str(), finding.name.c_str(),
                arguments_of(finding).c_str());
}

// ---- The page -------------------------------------------------------------------------------------------------

namespace {

constexpr const char* all_floats_title = "## All floats";
constexpr const char* samples_title = "## Samples";
constexpr const char* scalars_title = "## Functions of one value";

constexpr const char* head_text =
    R"(<!-- Made by ./run accuracy --exhaustive --markdown docs/accuracy.md; do not edit. -->

# Accuracy

Errors of the vector functions in ulp, against MPFR. `./run accuracy` measures again; with the name of a row and
arguments it shows the results there.

The error of a result y is |y - exact| / ulp(exact), where ulp(x) is the distance of neighbouring numbers at x:
2^(k - p + 1) for 2^k <= |x| < 2^(k + 1), with p = 24 (`s`) or 53 (`d`). Below the smallest normal number it stays at
2^-149 or 2^-1074, above the largest number at that of the last binade. NaN has to answer NaN, an infinity the same
infinity, and a zero needs the sign of the exact result; an infinity is right from the value on that rounds to it. A
result that isn't the nearest number has an error above 0.5 by definition, ties included. "wrong" is a result of another
kind or sign than it should be.

Largest errors are rounded up. The bound is what the library promises and its tests check: 0 is exact, 0.5 the nearest
number. Rows with a bound of 0 are held to it in all four rounding directions; all else is measured to nearest. Lines
with a name behind the row are the arguments of that name, which have a bound of their own and don't count in the row's
first line. The last columns are other libraries' largest errors on the same arguments, in their scalar (glibc) and
128-bit SSE2 (glibc vector, SLEEF) forms; u35 is the form that promises 3.5 ulp.
)";

std::string row_of(const std::string& line) {
    std::istringstream words(line);
    std::string bar, row;
    words >> bar >> row;
    return row;
}

} // namespace

Page::Page(std::string file, std::vector<std::string> peer_columns)
    : file_(std::move(file)), peer_columns_(std::move(peer_columns)) {
    read();
}

void Page::read() {
    std::ifstream in(file_);
    Lines* section = nullptr;
    for (std::string line; std::getline(in, line);) {
        if (line == all_floats_title) section = &all_floats_;
        if (line == samples_title) section = &samples_;
        if (line == scalars_title) section = &scalars_;
        const bool is_row = line.starts_with("| ") && !line.starts_with("| row") && !line.starts_with("| function");
        if (section != nullptr && is_row) (*section)[row_of(line)].push_back(line);
    }
}

void Page::add(const std::vector<Finding>& findings) {
    Lines fresh_all, fresh_samples;
    for (const Finding& finding : findings) {
        if (finding.direction != Direction::nearest) continue;
        std::string line = "| " + finding.kernel->name + (finding.part.empty() ? "" : " " + finding.part) + " | " +
                           bound_text(finding.bound) + " | " + error_text(finding.tally.largest()) + " | " +
                           mean_text(finding.tally.mean()) + " | " + sample_text(finding) + " |";
        for (const auto& peer : finding.peers) line += " " + peer_text(peer) + " |";
        const std::string worst = case_text(finding);
        line += (worst.empty() ? "" : " `" + worst + "`") + " |";
        (finding.all_floats ? fresh_all : fresh_samples)[finding.kernel->name].push_back(line);
    }
    for (auto& [row, lines] : fresh_all) all_floats_[row] = lines;
    for (auto& [row, lines] : fresh_samples) samples_[row] = lines;
}

void Page::add(const std::vector<ScalarFinding>& findings) {
    Lines fresh;
    for (const ScalarFinding& finding : findings) {
        const std::string worst = case_text(finding);
        fresh[finding.name].push_back(
            "| " + finding.name + (finding.part.empty() ? "" : " " + finding.part) + " | " + bound_text(finding.bound) +
            " | " + scalar_error_text(finding, finding.largest()) + " | " + scalar_mean_text(finding) + " | " +
            std::to_string(finding.samples) + " | " + scalar_error_text(finding, finding.peer) + " |" +
            (worst.empty() ? "" : " `" + worst + "`") + " |");
    }
    for (auto& [name, lines] : fresh) scalars_[name] = lines;
}

std::string Page::scalar_table() const {
    std::string text = "| function | bound | largest | mean | samples | " + peer_columns_.front() +
                       " | worst |\n|---|---|---|---|---|---|---|\n";
    for (const std::string& name : scalars_called("")) {
        const auto found = scalars_.find(name);
        if (found == scalars_.end()) continue;
        for (const std::string& line : found->second) text += line + "\n";
    }
    return text;
}

std::string Page::table(const Lines& lines) const {
    std::string text = "| row | bound | largest | mean | samples |";
    std::string rule = "|---|---|---|---|---|";
    for (const std::string& column : peer_columns_) {
        text += " " + column + " |";
        rule += "---|";
    }
    text += " worst |\n" + rule + "---|\n";
    for (const Kernel& kernel : written_kernels()) {
        const auto found = lines.find(kernel.name);
        if (found == lines.end()) continue;
        for (const std::string& line : found->second) text += line + "\n";
    }
    return text;
}

void Page::write() const {
    std::ofstream out(file_);
    out << head_text << "\n";
    if (!all_floats_.empty())
        out << all_floats_title << "\n\nEvery one of the 2^32 arguments.\n\n" << table(all_floats_) << "\n";
    out << samples_title
        << "\n\nA walk over all exponents, denormals, neighbours of powers of two and of the ends of intervals, hard "
           "cases,\n"
           "special values; pairs of these, nearly equal ones, and pairs whose result is near the ends of the "
           "range.\n\n"
        << table(samples_);
    if (!scalars_.empty()) {
        out << "\n"
            << scalars_title
            << "\n\n"
               "The cores in the x87 format, in ulp of its 64 bits, by the names between `nvo_ark_kernel_` and "
               "`_scalar`, "
               "and the real\n"
               "functions of streams. Samples of all exponents, and of the intervals in `tools/accuracy/scalars.def`. "
               "A line with a\n"
               "name behind the function's has absolute errors and an absolute bound.\n\n"
            << scalar_table();
    }
    if (!out) throw std::runtime_error("can't write " + file_);
}

} // namespace nvo::accuracy
