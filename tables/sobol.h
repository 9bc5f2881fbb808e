// Tables of SOBOL. Given data, not generated: no rule makes them. Element i - 1 belongs to dimension index i, from 1 to
// 39: an irreducible polynomial over GF(2) in bit form, constant term in bit 0; its degree s; and s initial values, the
// k-th odd and below 2^k, with zeros behind them.
// Definitions of exported tables: included once, behind their declarations.
#pragma once

#include <cstdint>

// NOLINTNEXTLINE(misc-definitions-in-headers)
const std::uint32_t uSobolIrredPoly[39] = {
    3, 7, 11, 13, 19, 25, 37, 59, 47, 61, 55, 41, 67,
    97, 91, 109, 103, 115, 131, 193, 137, 145, 143, 241, 157, 185,
    167, 229, 171, 213, 191, 253, 203, 211, 239, 247, 285, 369, 299,
};

// NOLINTNEXTLINE(misc-definitions-in-headers)
const std::int32_t iSobolIrredPolyDeg[39] = {
    1, 2, 3, 3, 4, 4, 5, 5, 5, 5, 5, 5, 6,
    6, 6, 6, 6, 6, 7, 7, 7, 7, 7, 7, 7, 7,
    7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 8, 8, 8,
};

// NOLINTNEXTLINE(misc-definitions-in-headers)
const std::uint32_t uSobolMInit[39][8] = {
    {1, 0, 0, 0, 0, 0, 0, 0},
    {1, 1, 0, 0, 0, 0, 0, 0},
    {1, 3, 7, 0, 0, 0, 0, 0},
    {1, 1, 5, 0, 0, 0, 0, 0},
    {1, 3, 1, 1, 0, 0, 0, 0},
    {1, 1, 3, 7, 0, 0, 0, 0},
    {1, 3, 3, 9, 9, 0, 0, 0},
    {1, 3, 7, 13, 3, 0, 0, 0},
    {1, 1, 5, 11, 27, 0, 0, 0},
    {1, 3, 5, 1, 15, 0, 0, 0},
    {1, 1, 7, 3, 29, 0, 0, 0},
    {1, 3, 7, 7, 21, 0, 0, 0},
    {1, 1, 1, 9, 23, 37, 0, 0},
    {1, 3, 3, 5, 19, 33, 0, 0},
    {1, 1, 3, 13, 11, 7, 0, 0},
    {1, 1, 7, 13, 25, 5, 0, 0},
    {1, 3, 5, 11, 7, 11, 0, 0},
    {1, 1, 1, 3, 13, 39, 0, 0},
    {1, 3, 1, 15, 17, 63, 13, 0},
    {1, 1, 5, 5, 1, 27, 33, 0},
    {1, 3, 3, 3, 25, 17, 115, 0},
    {1, 1, 3, 15, 29, 15, 41, 0},
    {1, 3, 1, 7, 3, 23, 79, 0},
    {1, 3, 7, 9, 31, 29, 17, 0},
    {1, 1, 5, 13, 11, 3, 29, 0},
    {1, 3, 1, 9, 5, 21, 119, 0},
    {1, 1, 3, 1, 23, 13, 75, 0},
    {1, 3, 3, 11, 27, 31, 73, 0},
    {1, 1, 7, 7, 19, 25, 105, 0},
    {1, 3, 5, 5, 21, 9, 7, 0},
    {1, 1, 1, 15, 5, 49, 59, 0},
    {1, 1, 1, 1, 1, 33, 65, 0},
    {1, 3, 5, 15, 17, 19, 21, 0},
    {1, 1, 7, 11, 13, 29, 3, 0},
    {1, 3, 7, 5, 7, 11, 113, 0},
    {1, 1, 5, 3, 15, 19, 61, 0},
    {1, 3, 1, 1, 9, 27, 89, 7},
    {1, 1, 3, 7, 31, 15, 45, 23},
    {1, 3, 3, 9, 9, 25, 107, 39},
};
