// The rows of operations.def that have a kernel, as the benches see them.
#pragma once

#include "bench/vectors.h"

#include <string>
#include <vector>

namespace bench {

struct Row {
    enum class Form { unit, strided };

    std::string name;      // "sExpI"
    std::string accuracy;  // "", or " LA", " HA", " EP" where there are three kernels
    char type;             // s, d, c, z
    std::string operation; // "Exp"
    Form form;
    Maker stub;   // what a user calls
    Maker kernel; // the same without the stub; none for class P
    Maker bare;   // the lane formula alone; none for rows without lanes
};

const std::vector<Row>& written_rows();

} // namespace bench
