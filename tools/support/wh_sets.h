// The parameter sets of WH as they stand in tools/tables/wh.csv. NVO_TABLES_DIRECTORY names that folder.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace nvo::tools {

struct WhSet {
    std::array<std::uint32_t, 4> a, m; // multipliers, moduli
};

// Ends the program if the file isn't what it must be: 273 lines of eight numbers.
inline std::vector<WhSet> wh_sets() {
    constexpr const char* path = NVO_TABLES_DIRECTORY "/wh.csv";
    std::vector<WhSet> sets;
    if (std::FILE* file = std::fopen(path, "r")) {
        for (WhSet set; std::fscanf(file, "%u,%u,%u,%u,%u,%u,%u,%u", &set.a[0], &set.a[1], &set.a[2], &set.a[3],
                                    &set.m[0], &set.m[1], &set.m[2], &set.m[3]) == 8;)
            sets.push_back(set);
        const bool whole = std::feof(file) != 0;
        std::fclose(file);
        if (whole && sets.size() == 273) return sets;
    }
    std::fprintf(stderr, "%s: not 273 lines of eight numbers\n", path);
    std::exit(1);
}

} // namespace nvo::tools
