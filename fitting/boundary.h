// Boundary conditions as construction sees them: one at each end, or one for both.
#pragma once

#include "fitting/task.h"

#include <cstdint>
#include <optional>

namespace nvo::fitting {

// In the order of the dispatch tables. Of the four in the middle the first name is the left end's.
enum class Boundary { not_a_knot, free_end, first_first, first_second, second_first, second_second, periodic, not_set };
inline constexpr int boundaries = 8;

constexpr std::optional<Boundary> boundary_of(std::uint64_t bc_type) {
    switch (bc_type) {
    case DF_BC_NOT_SET: return Boundary::not_set;
    case DF_BC_NOT_A_KNOT: return Boundary::not_a_knot;
    case DF_BC_FREE_END: return Boundary::free_end;
    case DF_BC_LEFT_1ST | DF_BC_RIGHT_1ST: return Boundary::first_first;
    case DF_BC_LEFT_1ST | DF_BC_RIGHT_2ND: return Boundary::first_second;
    case DF_BC_LEFT_2ND | DF_BC_RIGHT_1ST: return Boundary::second_first;
    case DF_BC_LEFT_2ND | DF_BC_RIGHT_2ND: return Boundary::second_second;
    case DF_BC_PERIODIC: return Boundary::periodic;
    default: return std::nullopt;
    }
}

// The condition of one end.
enum class End { not_a_knot, free_end, first, second, periodic, not_set };

constexpr End left_end(Boundary b) {
    switch (b) {
    case Boundary::first_first:
    case Boundary::first_second: return End::first;
    case Boundary::second_first:
    case Boundary::second_second: return End::second;
    case Boundary::not_a_knot: return End::not_a_knot;
    case Boundary::free_end: return End::free_end;
    case Boundary::periodic: return End::periodic;
    case Boundary::not_set: break;
    }
    return End::not_set;
}
constexpr End right_end(Boundary b) {
    switch (b) {
    case Boundary::first_second: return End::second;
    case Boundary::second_first: return End::first;
    default: return left_end(b);
    }
}
constexpr bool wants_values(Boundary b) { return b >= Boundary::first_first && b <= Boundary::second_second; }

} // namespace nvo::fitting
