#include "bench/rows.h"

#include "frame/exports.h"

#include <dlfcn.h>
#include <link.h>

// The bare formulas: pointers that the kernel files define where they are compiled for the benches (bench/bare.h).
extern "C" {
#define NVO_BARE_unit(type, row) [[gnu::weak]] extern type* const nvo_bare_##row;
#define NVO_BARE_strided(type, row)
#define ROW(t, row, op, cls, form, kernels, tags) NVO_BARE_##form(NVO_ARK_STUB_TYPE(t, op, cls, form), t##row)
#include "frame/operations.def"
#undef NVO_BARE_unit
#undef NVO_BARE_strided
}

namespace bench {

namespace {

// A kernel that is still to be written is a weak symbol of the library.
bool is_written(const void* kernel) {
    Dl_info info;
    void* symbol = nullptr;
    if (dladdr1(kernel, &info, &symbol, RTLD_DL_SYMENT) == 0 || symbol == nullptr) return false;
    return ELF64_ST_BIND(static_cast<const ElfW(Sym)*>(symbol)->st_info) != STB_WEAK;
}

template <class F> Maker bare_maker(F* const* function) {
    if (function == nullptr || *function == nullptr) return {};
    return maker(*function);
}

std::vector<Row> find_rows() {
    std::vector<Row> rows;
    const auto add = [&](const Row& row, auto* kernel) {
        if (is_written(reinterpret_cast<const void*>(kernel))) rows.push_back(row);
    };
#define NVO_STUB_MAKER_U(op, stub) maker(stub)
#define NVO_STUB_MAKER_B NVO_STUB_MAKER_U
#define NVO_STUB_MAKER_X NVO_STUB_MAKER_U
#define NVO_STUB_MAKER_S NVO_STUB_MAKER_U
#define NVO_STUB_MAKER_L NVO_STUB_MAKER_U
#define NVO_STUB_MAKER_A NVO_STUB_MAKER_U
#define NVO_STUB_MAKER_C NVO_STUB_MAKER_U
#define NVO_STUB_MAKER_P(op, stub) maker(stub, std::string_view(#op).ends_with('V') ? Third::index : Third::mask)
#define NVO_KERNEL_MAKER_U(kernel) maker(kernel)
#define NVO_KERNEL_MAKER_B NVO_KERNEL_MAKER_U
#define NVO_KERNEL_MAKER_X NVO_KERNEL_MAKER_U
#define NVO_KERNEL_MAKER_S NVO_KERNEL_MAKER_U
#define NVO_KERNEL_MAKER_L NVO_KERNEL_MAKER_U
#define NVO_KERNEL_MAKER_A NVO_KERNEL_MAKER_U
#define NVO_KERNEL_MAKER_C NVO_KERNEL_MAKER_U
#define NVO_KERNEL_MAKER_P(kernel) Maker()
#define NVO_BARE_unit(row) bare_maker(&nvo_bare_##row)
#define NVO_BARE_strided(row) Maker()
#define NVO_SLOT(t, row, op, cls, form, accuracy, stub, slot)                                    \
    add({#t #row, accuracy, *#t, #op, Row::Form::form, NVO_STUB_MAKER_##cls(op, stub),           \
         NVO_KERNEL_MAKER_##cls(nvo_ark_kernel_##t##row##_ttab[slot]), NVO_BARE_##form(t##row)}, \
        nvo_ark_kernel_##t##row##_ttab[slot]);
#define NVO_LOW_s(row) _ark##row##_21
#define NVO_LOW_d(row) _ark##row##_50
#define NVO_ENHANCED_s(row) _ark##row##_11
#define NVO_ENHANCED_d(row) _ark##row##_26
#define NVO_SLOTS_one(t, row, op, cls, form) NVO_SLOT(t, row, op, cls, form, "", _ark##t##row, 1)
#define NVO_SLOTS_three(t, row, op, cls, form)                     \
    NVO_SLOT(t, row, op, cls, form, " LA", NVO_LOW_##t(t##row), 0) \
    NVO_SLOT(t, row, op, cls, form, " HA", _ark##t##row##_HA, 1)   \
    NVO_SLOT(t, row, op, cls, form, " EP", NVO_ENHANCED_##t(t##row), 2)
#define ROW(t, row, op, cls, form, kernels, tags) NVO_SLOTS_##kernels(t, row, op, cls, form)
#include "frame/operations.def"
    return rows;
}

} // namespace

const std::vector<Row>& written_rows() {
    static const std::vector<Row> rows = find_rows();
    return rows;
}

} // namespace bench
