// The rows of the list of operations, as tests, meter and benches walk them: which are written, and how to call any of
// them, in either form, through one function. Real rows only.
#pragma once

#include "nvo_ark/vector_math.h"
#include "tests/support/elf_symbols.h"

#include <cstdint>
#include <ostream>
#include <string>
#include <type_traits>
#include <unordered_set>
#include <vector>

namespace nvo::tests {

enum class ArgClass { U, B, X, S, L, A, C, P };

struct Row {
    const char* name; // "sExpI"
    const char* op;   // "Exp"
    char type;
    ArgClass cls;
    bool strided;
    void* const* table; // kernel table

    bool two_inputs() const { return cls == ArgClass::B || cls == ArgClass::L; }
    bool two_outputs() const { return cls == ArgClass::S; }
    std::string high_accuracy_kernel() const { return std::string("nvo_ark_kernel_") + name + "_E2HAynn"; }
};

// How a failed test shows a row.
inline void PrintTo(const Row& row, std::ostream* out) { *out << row.name; }

inline const std::vector<Row>& all_rows() {
#define NVO_TEXT(x) #x
#define ROW(t, row, op, cls, form, kernels, tags) \
    {NVO_TEXT(t##row), #op,           *#t,        \
     ArgClass::cls,    *#form == 's', reinterpret_cast<void* const*>(nvo_ark_kernel_##t##row##_ttab)},
    static const std::vector<Row> rows = {
#include "frame/operations.def"
    };
#undef NVO_TEXT
    return rows;
}

// The rows whose high accuracy kernel is written: those whose symbol isn't the weak one of a pending row.
inline std::vector<Row> written_rows(const std::string& library_file) {
    const ElfFile library(library_file);
    std::unordered_set<std::string> pending;
    for (const ElfSymbol& symbol : library.dynamic) {
        if (symbol.defined() && symbol.weak()) pending.insert(symbol.name);
    }
    std::vector<Row> rows;
    for (const Row& row : all_rows()) {
        if (!pending.contains(row.high_accuracy_kernel())) rows.push_back(row);
    }
    return rows;
}

// What a call may need; what its class has no use for is ignored, and so are the strides in the unit-stride form.
template <class T> struct Arguments {
    const T* a = nullptr;
    const T* b = nullptr; // class X takes its first element
    T* y = nullptr;
    T* z = nullptr;
    std::int32_t inca = 1, incb = 1, incy = 1, incz = 1;
    T scalea = 1, shifta = 0, scaleb = 1, shiftb = 0;
};

namespace detail {

template <class T> struct Types;
#define NVO_TYPES(t, T)                     \
    template <> struct Types<T> {           \
        static constexpr char letter = *#t; \
        using UU = ark_fn_U_unit_##t;       \
        using US = ark_fn_U_strided_##t;    \
        using BU = ark_fn_B_unit_##t;       \
        using BS = ark_fn_B_strided_##t;    \
        using XU = ark_fn_X_unit_##t;       \
        using XS = ark_fn_X_strided_##t;    \
        using SU = ark_fn_S_unit_##t;       \
        using SS = ark_fn_S_strided_##t;    \
        using LU = ark_fn_L_unit_##t;       \
        using LS = ark_fn_L_strided_##t;    \
    };
NVO_TYPES(s, float)
NVO_TYPES(d, double)
#undef NVO_TYPES

} // namespace detail

// Calls the kernel in a slot of the row's table: 0 low accuracy, 1 high accuracy, 2 enhanced performance.
template <class T> void call(const Row& row, std::int32_t n, const Arguments<T>& v, int slot = 1) {
    using Fn = detail::Types<T>;
    void* kernel = row.table[slot];
    const auto as = [kernel]<class F>(std::type_identity<F>) { return reinterpret_cast<F*>(kernel); };
    switch (row.cls) {
    case ArgClass::U:
        if (row.strided) return as(std::type_identity<typename Fn::US>{})(n, v.a, v.inca, v.y, v.incy);
        return as(std::type_identity<typename Fn::UU>{})(n, v.a, v.y);
    case ArgClass::B:
        if (row.strided) return as(std::type_identity<typename Fn::BS>{})(n, v.a, v.inca, v.b, v.incb, v.y, v.incy);
        return as(std::type_identity<typename Fn::BU>{})(n, v.a, v.b, v.y);
    case ArgClass::X:
        if (row.strided) return as(std::type_identity<typename Fn::XS>{})(n, v.a, v.inca, *v.b, v.y, v.incy);
        return as(std::type_identity<typename Fn::XU>{})(n, v.a, *v.b, v.y);
    case ArgClass::S:
        if (row.strided) return as(std::type_identity<typename Fn::SS>{})(n, v.a, v.inca, v.y, v.incy, v.z, v.incz);
        return as(std::type_identity<typename Fn::SU>{})(n, v.a, v.y, v.z);
    case ArgClass::L:
        if (row.strided) {
            return as(std::type_identity<typename Fn::LS>{})(n, v.a, v.inca, v.b, v.incb, v.scalea, v.shifta, v.scaleb,
                                                             v.shiftb, v.y, v.incy);
        }
        return as(std::type_identity<typename Fn::LU>{})(n, v.a, v.b, v.scalea, v.shifta, v.scaleb, v.shiftb, v.y);
    default: throw std::logic_error(std::string("no way to call ") + row.name);
    }
}

} // namespace nvo::tests
