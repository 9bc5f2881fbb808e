// ./run bench: every row that has a kernel, and the other parts of the library, side by side
// with its peers in the same run.

#include "bench/goals.h"
#include "bench/inputs.h"
#include "bench/parts.h"
#include "bench/peers.h"
#include "bench/race.h"
#include "bench/table.h"

#include "nvo_ark/vector_math.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <regex>

namespace {

using namespace bench;

constexpr const char* usage = R"(usage: bench [FILTER] [OPTION...]
       bench PART [FILTER] [OPTION...]

Times the rows whose names match the regular expression FILTER; or what matches it of another part: streams, scalar,
primitives, moments, quantiles, fitting; or, without one, all of these and the goals.

  --large     vectors of 1,000,000 elements as well
  --goals     the goals alone
  --peers     the list of peers, with their largest errors
  --markdown  the page docs/benchmarks.md: vectors of 1024 elements only
)";

// Beside the rows of vector math.
const std::map<std::string, void (*)(const PartRequest&)> parts = {
    {"streams", print_streams}, {"scalar", print_scalars},      {"primitives", print_primitives},
    {"moments", print_moments}, {"quantiles", print_quantiles}, {"fitting", print_fitting}};

struct Options {
    std::string filter;
    std::regex pattern;
    std::string part; // none: the rows, and without a filter all parts
    bool large = false, goals = false, peers = false, markdown = false;
};

constexpr int in_cache = 1024;
constexpr Effort effort{16, 1.5e-4};

// Columns behind our own: copy, the kinds of peers, bare.
enum Rival { copy, first_kind, bare = first_kind + 5, rivals };
constexpr const char* titles[rivals] = {"copy", "plain", "libm", "mvec", "sleef", "fast", "bare"};
constexpr const char* legend[rivals] = {
    "the bytes of one vector copied",
    "a loop in C++, compiled at -O3 for SSE2",
    "the C library's function in a loop",
    "the C library's 128-bit vector function, at most 4 ulp",
    "SLEEF's 128-bit SSE2 function, 0.5 to 1.5 ulp",
    "the same at 3.5 ulp",
    "our own formula without frame, walk, special lanes and tail",
};

// Our time as a ratio of the rivals', by rival.
using Ratios = std::map<int, double>;

std::map<int, Body> rivals_of(const Row& row, const Vectors& vectors) {
    std::map<int, Body> bodies;
    if (row.form == Row::Form::unit) {
        bodies[copy] = [&vectors](benchmark::State& state) {
            for (auto _ : state) {
                std::memcpy(vectors.results[0], vectors.inputs[0], vectors.bytes());
                benchmark::ClobberMemory();
            }
        };
    }
    for (const Peer& peer : all_peers()) {
        if (peer.row == row.name) bodies[first_kind + static_cast<int>(peer.kind)] = peer.make(vectors);
    }
    if (row.bare) bodies[bare] = row.bare(vectors);
    return bodies;
}

// One line of the table.
Ratios time_row(Table& table, const Row& row, int n, const Variant& variant) {
    const Vectors vectors = vectors_for(row, n, variant);
    const std::map<int, Body> bodies = rivals_of(row, vectors);
    std::vector<Contestant> contestants = {{"ours", row.stub(vectors)}};
    for (const auto& [rival, body] : bodies) contestants.push_back({titles[rival], body});
    const std::vector<Timing> timings = race(contestants, effort);

    const Timing& ours = timings.front();
    std::vector<std::string> cells = {row.name + row.accuracy,
                                      std::to_string(n),
                                      variant.name,
                                      decimal(ours.best / n, 3),
                                      decimal(ours.median / n, 3),
                                      decimal(100 * (ours.upper_quartile / ours.best - 1), 0) + "%"};
    Ratios ratios;
    std::size_t next = 1;
    for (int rival = 0; rival < rivals; ++rival) {
        if (bodies.contains(rival)) ratios[rival] = ours.best / timings[next++].best;
        cells.push_back(ratios.contains(rival) ? decimal(ratios[rival], 2) : "");
    }
    table.line(cells);
    return ratios;
}

// Kind of processor, by what the kernel calls it.
std::string processor() {
    std::ifstream in("/proc/cpuinfo");
    std::map<std::string, std::string> fields;
    for (std::string line; std::getline(in, line) && !line.empty();) {
        const std::size_t colon = line.find(':');
        if (colon == std::string::npos || colon + 2 > line.size()) continue;
        fields.emplace(line.substr(0, line.find_last_not_of("\t ", colon - 1) + 1), line.substr(colon + 2));
    }
    return fields["model name"] + " (family " + fields["cpu family"] + ", model " + fields["model"] + ")";
}

void print_head(bool markdown) {
    if (markdown) std::puts("# Benchmarks\n");
    std::printf("%s %s, g++ %s, %s.\n\n", markdown ? "Made by `./run bench --markdown > docs/benchmarks.md` on" : "On",
                processor().c_str(), __VERSION__, library_versions().c_str());
}

void print_vector_legend(bool markdown) {
    const char* item = markdown ? "- " : "  ";
    std::printf("best, median: nanoseconds an element, of %d repetitions that run in random order with those of the "
                "peers;\nspread: upper quartile above best. Strided rows (with an I) have strides of %d. Then our best "
                "time as a\nratio of the peer's best: below 1 we are faster.\n\n",
                effort.repetitions, stride);
    for (int rival = 0; rival < rivals; ++rival) std::printf("%s%s: %s\n", item, titles[rival], legend[rival]);
    std::printf("\n%s lists the peers row by row.\n\n", markdown ? "`./run bench --peers`" : "./run bench --peers");
}

// How the rows of 1024 elements without special ones compare, by rival.
void print_means(bool markdown, const std::vector<Ratios>& all) {
    std::puts(markdown ? "## All rows, n = 1024\n" : "All rows, n = 1024:");
    Table table(markdown, {{"against", 8, true}, {"rows", 5}, {"mean ratio", 10}, {"worst", 7}});
    for (int rival = 0; rival < rivals; ++rival) {
        double logs = 0, worst = 0;
        int rows = 0;
        for (const Ratios& ratios : all) {
            const auto found = ratios.find(rival);
            if (found == ratios.end()) continue;
            logs += std::log(found->second);
            worst = std::max(worst, found->second);
            ++rows;
        }
        if (rows != 0) {
            table.line({titles[rival], std::to_string(rows), decimal(std::exp(logs / rows), 2), decimal(worst, 2)});
        }
    }
}

void print_rows(const Options& options) {
    std::vector<int> counts = {in_cache};
    if (!options.markdown) counts = {8, 100, in_cache, 100000};
    if (options.large) counts.push_back(1000000);

    std::vector<Ratios> all;
    bool any = false;
    {
        std::vector<Column> columns = {{"row", 14, true}, {"n", 7},      {"special", 14, true},
                                       {"best", 8},       {"median", 8}, {"spread", 6}};
        for (const char* title : titles) columns.push_back({title, 5});
        if (options.markdown) std::puts("## Rows\n");
        Table table(options.markdown, columns);
        for (const Row& row : written_rows()) {
            if (!std::regex_search(row.name + row.accuracy, options.pattern)) continue;
            any = true;
            for (const Variant& variant : variants_of(row)) {
                for (const int n : counts) {
                    if (!variant.name.empty() && n != in_cache) continue;
                    const Ratios ratios = time_row(table, row, n, variant);
                    if (variant.name.empty() && n == in_cache) all.push_back(ratios);
                }
            }
        }
    }
    if (any) print_means(options.markdown, all);
    if (!any) std::printf("No row that has a kernel matches %s.\n", options.filter.c_str());
}

void print_peers(bool markdown) {
    std::puts(markdown ? "## Peers\n" : "Peers:");
    Table table(markdown, {{"row", 12, true}, {"peer", 26, true}, {"largest error, ulp", 18}});
    for (const Peer& peer : all_peers()) {
        table.line({peer.row, peer.function, peer.error < 0 ? "" : decimal(peer.error, 4)});
    }
}

void print_vector_math(const Options& options) {
    if (options.peers) return print_peers(options.markdown);
    print_vector_legend(options.markdown);
    if (!options.goals) print_rows(options);
    if (options.goals || options.filter.empty()) print_goals(options.markdown);
}

bool parse(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--large") {
            options.large = true;
        } else if (argument == "--goals") {
            options.goals = true;
        } else if (argument == "--peers") {
            options.peers = true;
        } else if (argument == "--markdown") {
            options.markdown = true;
        } else if (parts.contains(argument) && options.part.empty() && options.filter.empty()) {
            options.part = argument;
        } else if (argument.starts_with("-") || !options.filter.empty()) {
            return false;
        } else {
            options.filter = argument;
        }
    }
    try {
        options.pattern = options.filter;
    } catch (const std::regex_error&) {
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fputs(usage, stderr);
        return 2;
    }
    prepare_races();
    _arkSetMode(ARK_ERRMODE_IGNORE);
    const bool all = options.filter.empty();
    if (!options.peers) print_head(options.markdown);
    if (options.part.empty()) print_vector_math(options);
    for (const auto& [name, print] : parts) {
        if (options.part == name || (options.part.empty() && all))
            print({options.pattern, all, options.goals, options.peers, options.markdown});
    }
}
