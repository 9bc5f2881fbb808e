// The chapters of the tour, in reading order. Each prints its tables to standard output, and throws what goes wrong.
#pragma once

#include "library.h"

#include <filesystem>

struct Tour {
    const Library& library;
    std::filesystem::path data;     // folder of the data sets
    std::filesystem::path pictures; // folder to write pictures to
};

constexpr int air_quality_days = 153; // rows of airquality.csv

void air_quality(const Tour& tour);
void bad_elements(const Tour& tour);
void co2_growth(const Tour& tour);
void monte_carlo(const Tour& tour);
void summaries(const Tour& tour);
void splines(const Tour& tour);

// What the second process of monte_carlo does: prints the next numbers of a saved stream.
void go_on(const Library& library, const std::filesystem::path& image);
