#include "bench/verdicts.h"

#include "bench/race.h"

#include <algorithm>
#include <cmath>

namespace bench {

Verdicts::Verdicts(bool markdown)
    : table_(markdown, {{"goal", 48, true},
                        {"row", 21, true},
                        {"ours, ns", 9},
                        {"other, ns", 9},
                        {"figure", 9},
                        {"limit", 7},
                        {"noise", 7},
                        {"", 17, true}}) {}

void Verdicts::judge(const std::string& goal, const std::string& row, double ours, double other, double figure,
                     double limit, double noise, const char* unit) {
    ++judged_;
    passed_ += figure - noise <= limit;
    const char* verdict = figure <= limit ? "PASS" : figure - noise <= limit ? "PASS within noise" : "MISS";
    table_.line({goal, row, decimal(ours, 1), other == 0 ? "" : decimal(other, 1), decimal(figure, 3) + unit,
                 decimal(limit, 2) + unit, decimal(noise, 3), verdict});
}

void Verdicts::judge_ratio(const std::string& goal, const std::string& row, const Body& ours, const Body& other,
                           double limit) {
    const auto t = race({{"ours", ours}, {"other", other}, {"other again", other}}, careful);
    const double best = std::min(t[1].best, t[2].best);
    judge(goal, row, t[0].best, best, t[0].best / best, limit, std::abs(t[1].best - t[2].best) / best, "");
}

std::string Verdicts::summary() const { return std::to_string(passed_) + " of " + std::to_string(judged_) + " pass."; }

} // namespace bench
