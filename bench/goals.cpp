#include "bench/goals.h"

#include "bench/inputs.h"
#include "bench/peers.h"
#include "bench/race.h"
#include "bench/verdicts.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace bench {

namespace {

constexpr int in_cache = 1024; // elements
constexpr int out_of_cache = 1000000;

// Rows that do next to nothing, where the walk itself shows.
bool is_light(const Row& row) {
    const char* const light[] = {"Abs", "Add", "Sub", "Mul", "Sqr"};
    return std::find(std::begin(light), std::end(light), row.operation) != std::end(light);
}

// Limits for our time over that of the fastest peer of the accurate ones.
constexpr double accurate = 1.05; // ulp
struct Goal {
    const char* row;
    double limit;
};
constexpr Goal goals[] = {
    {"sExp", 0.85},   {"sExp2", 0.60},  {"sExp10", 0.45}, {"sExpm1", 1.05}, {"sLn", 0.55},   {"sLog2", 0.75},
    {"sLog10", 0.40}, {"sLog1p", 1.50}, {"sCbrt", 0.30},  {"sPow", 1.05},   {"sPowx", 1.05}, {"dExp", 0.70},
    {"dExp2", 0.85},  {"dExp10", 0.45}, {"dExpm1", 0.80}, {"dLn", 1.05},    {"dLog2", 1.00}, {"dLog10", 0.40},
    {"dLog1p", 0.95}, {"dCbrt", 0.35},  {"dPow", 1.25},   {"dPowx", 1.25},
};
constexpr Goal goals_against_plain_loop[] = {{"sInvSqrt", 1.70}, {"dInvSqrt", 1.70}};

std::string full_name(const Row& row) { return row.name + row.accuracy; }

const Peer* plain_loop(const Row& row) {
    for (const Peer& peer : all_peers()) {
        if (peer.row == row.name && peer.kind == Kind::plain) return &peer;
    }
    return nullptr;
}

// Against the fastest of the peers that are accurate and not plain loops, which a first race finds.
void judge_against_fastest(Verdicts& verdicts, const std::string& goal, const Row& row, const Vectors& vectors,
                           double limit) {
    std::vector<Contestant> peers;
    for (const Peer& peer : all_peers()) {
        const bool takes_part = peer.row == row.name && peer.kind != Kind::plain && peer.kind != Kind::sleef_fast &&
                                peer.error > 0 && peer.error <= accurate;
        if (takes_part) peers.push_back({peer.function, peer.make(vectors)});
    }
    const std::vector<Timing> times = race(peers, careful);
    const auto fastest =
        std::min_element(times.begin(), times.end(), [](const Timing& a, const Timing& b) { return a.best < b.best; });
    const Contestant& peer = peers.at(static_cast<std::size_t>(fastest - times.begin()));
    verdicts.judge_ratio(goal + ": " + peer.name, full_name(row), row.stub(vectors), peer.body, limit);
}

std::string judge_all(bool markdown) {
    Verdicts verdicts(markdown);
    for (const Row& row : written_rows()) {
        const Peer* plain = plain_loop(row);
        if (row.form != Row::Form::unit || !is_light(row) || plain == nullptr) continue;
        const Vectors vectors = vectors_for(row, in_cache);
        verdicts.judge_ratio("plain -O3 loop, n = 1024", full_name(row), row.stub(vectors), plain->make(vectors), 1.00);
    }
    for (const Row& row : written_rows()) {
        if (!row.bare) continue;
        const Vectors vectors = vectors_for(row, in_cache);
        verdicts.judge_ratio("bare formula, n = 1024", full_name(row), row.stub(vectors), row.bare(vectors), 1.10);
    }
    for (const Row& row : written_rows()) {
        for (const int n : {in_cache, out_of_cache}) {
            const Vectors vectors = vectors_for(row, n);
            const std::string size = ", n = " + std::to_string(n);
            for (const Goal& goal : goals) {
                if (row.name == goal.row)
                    judge_against_fastest(verdicts, "accurate peers" + size, row, vectors, goal.limit);
            }
            for (const Goal& goal : goals_against_plain_loop) {
                if (row.name == goal.row)
                    verdicts.judge_ratio("plain -O3 loop" + size, full_name(row), row.stub(vectors),
                                         plain_loop(row)->make(vectors), goal.limit);
            }
        }
    }
    for (const Row& row : written_rows()) {
        const Vectors ordinary = vectors_for(row, in_cache);
        for (const Variant& variant : variants_of(row)) {
            if (row.form != Row::Form::unit || (variant.a.rarity != 8 && variant.b.rarity != 8)) continue;
            const Vectors vectors = vectors_for(row, in_cache, variant);
            verdicts.judge_ratio("as without " + variant.name, full_name(row), row.stub(vectors), row.stub(ordinary),
                                 4.00);
        }
    }
    // One row each of the frames that read the mode word, that don't, and that set the x87 unit's precision.
    const auto is_one_of = [](const Row& row, std::initializer_list<const char*> names) {
        return std::find(names.begin(), names.end(), row.name) != names.end();
    };
    for (const Row& row : written_rows()) {
        if (!is_one_of(row, {"sAdd", "sAddI", "sAbs", "sSqrt", "dSqrt", "dModf"})) continue;
        const Vectors vectors = vectors_for(row, 1);
        const Body stub = row.stub(vectors), kernel = row.kernel(vectors);
        const auto t = race({{"stub", stub}, {"kernel", kernel}, {"kernel again", kernel}}, careful);
        const double best = std::min(t[1].best, t[2].best);
        verdicts.judge("stub above kernel, n = 1", full_name(row), t[0].best, best, t[0].best - best, 2,
                       std::abs(t[1].best - t[2].best), " ns");
    }
    for (const Row& row : written_rows()) {
        if (!is_one_of(row, {"sAdd", "dAdd", "sMul", "sFrac", "dFrac", "sSqrt", "dSqrt", "sAbs", "dModf"})) continue;
        const Vectors vectors = vectors_for(row, 1);
        const Body stub = row.stub(vectors);
        const auto t = race({{"ours", stub}, {"ours again", stub}}, careful);
        const double best = std::min(t[0].best, t[1].best);
        verdicts.judge("whole call, n = 1", full_name(row), best, 0, best, 40, std::abs(t[0].best - t[1].best), " ns");
    }
    return verdicts.summary();
}

} // namespace

void print_goals(bool markdown) {
    std::puts(markdown ? "## Goals\n" : "Goals:");
    std::puts(judge_all(markdown).c_str());
}

} // namespace bench
