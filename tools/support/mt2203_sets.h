// The parameter sets of MT2203 as they stand in tools/tables/mt2203.csv. NVO_TABLES_DIRECTORY names that folder.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

namespace nvo::tools {

struct Mt2203Set {
    std::uint32_t a, b, c;
};

// Ends the program if the file isn't what it must be: 6024 lines of three hexadecimal numbers.
inline std::vector<Mt2203Set> mt2203_sets() {
    constexpr const char* path = NVO_TABLES_DIRECTORY "/mt2203.csv";
    std::vector<Mt2203Set> sets;
    if (std::FILE* file = std::fopen(path, "r")) {
        for (Mt2203Set set; std::fscanf(file, "%X,%X,%X", &set.a, &set.b, &set.c) == 3;) sets.push_back(set);
        const bool whole = std::feof(file) != 0;
        std::fclose(file);
        if (whole && sets.size() == 6024) return sets;
    }
    std::fprintf(stderr, "%s: not 6024 lines of three numbers\n", path);
    std::exit(1);
}

} // namespace nvo::tools
