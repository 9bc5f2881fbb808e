#include "bench/goals.h"

#include "bench/inputs.h"
#include "bench/peers.h"
#include "bench/race.h"
#include "bench/table.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace bench {

namespace {

constexpr int in_cache = 1024; // elements
constexpr Effort careful{40, 2e-4};

// Rows that do next to nothing, where the walk itself shows.
bool is_light(const Row& row) {
    const char* const light[] = {"Abs", "Add", "Sub", "Mul", "Sqr"};
    return std::find(std::begin(light), std::end(light), row.operation) != std::end(light);
}

class Verdicts {
public:
    explicit Verdicts(bool markdown)
        : table_(markdown, {{"goal", 28, true},
                            {"row", 10, true},
                            {"ours, ns", 9},
                            {"other, ns", 9},
                            {"figure", 9},
                            {"limit", 7},
                            {"noise", 7},
                            {"", 17, true}}) {}

    // noise: how far apart two measurements of the same function came out.
    void judge(const char* goal, const Row& row, double ours, double other, double figure, double limit, double noise,
               const char* unit) {
        ++judged_;
        passed_ += figure - noise <= limit;
        const char* verdict = figure <= limit ? "PASS" : figure - noise <= limit ? "PASS within noise" : "MISS";
        table_.line({goal, row.name + row.accuracy, decimal(ours, 1), other == 0 ? "" : decimal(other, 1),
                     decimal(figure, 3) + unit, decimal(limit, 2) + unit, decimal(noise, 3), verdict});
    }
    // Ours as a ratio of the other one.
    void judge_ratio(const char* goal, const Row& row, const Body& ours, const Body& other, double limit) {
        const auto t = race({{"ours", ours}, {"other", other}, {"other again", other}}, careful);
        const double best = std::min(t[1].best, t[2].best);
        judge(goal, row, t[0].best, best, t[0].best / best, limit, std::abs(t[1].best - t[2].best) / best, "");
    }
    std::string summary() const { return std::to_string(passed_) + " of " + std::to_string(judged_) + " pass."; }

private:
    Table table_;
    int judged_ = 0, passed_ = 0;
};

const Peer* plain_loop(const Row& row) {
    for (const Peer& peer : all_peers()) {
        if (peer.row == row.name && peer.kind == Kind::plain) return &peer;
    }
    return nullptr;
}

std::string judge_all(bool markdown) {
    Verdicts verdicts(markdown);
    for (const Row& row : written_rows()) {
        const Peer* plain = plain_loop(row);
        if (row.form != Row::Form::unit || !is_light(row) || plain == nullptr) continue;
        const Vectors vectors = vectors_for(row, in_cache);
        verdicts.judge_ratio("plain -O3 loop, n = 1024", row, row.stub(vectors), plain->make(vectors), 1.00);
    }
    for (const Row& row : written_rows()) {
        if (!row.bare) continue;
        const Vectors vectors = vectors_for(row, in_cache);
        verdicts.judge_ratio("bare formula, n = 1024", row, row.stub(vectors), row.bare(vectors), 1.10);
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
        verdicts.judge("stub above kernel, n = 1", row, t[0].best, best, t[0].best - best, 2,
                       std::abs(t[1].best - t[2].best), " ns");
    }
    for (const Row& row : written_rows()) {
        if (!is_one_of(row, {"sAdd", "dAdd", "sMul", "sFrac", "dFrac", "sSqrt", "dSqrt", "sAbs", "dModf"})) continue;
        const Vectors vectors = vectors_for(row, 1);
        const Body stub = row.stub(vectors);
        const auto t = race({{"ours", stub}, {"ours again", stub}}, careful);
        const double best = std::min(t[0].best, t[1].best);
        verdicts.judge("whole call, n = 1", row, best, 0, best, 40, std::abs(t[0].best - t[1].best), " ns");
    }
    return verdicts.summary();
}

} // namespace

void print_goals(bool markdown) {
    std::puts(markdown ? "## Goals\n" : "Goals:");
    std::puts(judge_all(markdown).c_str());
}

} // namespace bench
