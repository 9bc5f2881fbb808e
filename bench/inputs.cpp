#include "bench/inputs.h"

#include <cmath>
#include <limits>

namespace bench {

namespace {

struct Interval {
    const char* row;
    double low, high;
};

// The lines beside the kernels; a row's first one counts.
constexpr Interval intervals[] = {
#define BOUND(...)
#define INTERVAL(row, low, high) {#row, low, high},
#include "bench/intervals.h"
    {"", 0, 0},
};

Fill fill_of(const Row& row) {
    const std::string unit_row = row.type + row.operation;
    for (const Interval& interval : intervals) {
        if (unit_row == interval.row) return {interval.low, interval.high};
    }
    return {};
}

template <class Real> void add_specials(const Row& row, std::vector<Variant>& variants) {
    const Variant none = variants.front();
    const auto add = [&](Fill Variant::*vector, double value, const char* name) {
        for (const int rarity : {100, 8}) {
            Variant variant = none;
            variant.name = std::string(name) + " 1/" + std::to_string(rarity);
            (variant.*vector).special = value;
            (variant.*vector).rarity = rarity;
            variants.push_back(variant);
        }
    };
#define SPECIAL(Op, vector, value, name) \
    if (row.operation == #Op) add(&Variant::vector, value, name);
#include "bench/inputs.def"
#undef SPECIAL
}

} // namespace

std::vector<Variant> variants_of(const Row& row) {
    std::vector<Variant> variants = {{"", fill_of(row), fill_of(row)}};
    if (row.type == 's') add_specials<float>(row, variants);
    if (row.type == 'd') add_specials<double>(row, variants);
    return variants;
}

Vectors vectors_for(const Row& row, int n, const Variant& variant) {
    const bool strided = row.form == Row::Form::strided || row.operation == "PackI" || row.operation == "UnpackI";
    return {row.type, n, strided ? stride : 1, variant.a, variant.b};
}
Vectors vectors_for(const Row& row, int n) { return vectors_for(row, n, {"", fill_of(row), fill_of(row)}); }

} // namespace bench
