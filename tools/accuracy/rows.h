// The kernels that are measured, and how each is called.
#pragma once

#include "tests/support/rows.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace nvo::accuracy {

using tests::ArgClass;

// One kernel of a row. The kernels of a row that has three are called sSinpi, sSinpi_LA and sSinpi_EP.
struct Kernel {
    tests::Row row;
    int slot;
    std::string name;
    std::string unit_name; // of the same kernel without strides

    int arguments() const { return row.cls == ArgClass::B || row.cls == ArgClass::X ? 2 : 1; }
    int results() const { return row.cls == ArgClass::S ? 2 : 1; }
    // Those of the class P only move data.
    bool computes() const { return row.cls != ArgClass::P; }
    bool can_be_called() const {
        return (row.type == 's' || row.type == 'd') &&
               (row.cls == ArgClass::U || row.cls == ArgClass::B || row.cls == ArgClass::X || row.cls == ArgClass::S);
    }
};

// All kernels that are written and compute something, in the order of the list of operations.
const std::vector<Kernel>& written_kernels();

// Any function on vectors: n elements, up to two arguments and two results.
template <class T> using Arguments = std::array<const T*, 2>;
template <class T> using Results = std::array<T*, 2>;
template <class T> using VectorFunction = std::function<void(std::int32_t n, const Arguments<T>&, const Results<T>&)>;

// The kernel as one. A kernel of class X takes the first element of the second argument.
template <class T> VectorFunction<T> vector_function(const Kernel& kernel);

} // namespace nvo::accuracy
