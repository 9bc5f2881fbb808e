#include "tools/accuracy/rows.h"

#include <dlfcn.h>
#include <stdexcept>

namespace nvo::accuracy {

namespace {

std::string library_file() {
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&nvo_ark_kernel_GetMode), &info) == 0)
        throw std::runtime_error("can't find the library's file");
    return info.dli_fname;
}

std::vector<Kernel> find_kernels() {
    constexpr int low = 0, high = 1, enhanced = 2;
    std::vector<Kernel> kernels;
    for (const tests::Row& row : tests::written_rows(library_file())) {
        const auto add = [&](int slot, const char* suffix) {
            const Kernel kernel{row, slot, row.name + std::string(suffix), row.type + std::string(row.op) + suffix};
            if (kernel.computes()) kernels.push_back(kernel);
        };
        add(high, "");
        if (row.table[low] != row.table[high]) add(low, "_LA");
        if (row.table[enhanced] != row.table[high]) add(enhanced, "_EP");
    }
    return kernels;
}

} // namespace

const std::vector<Kernel>& written_kernels() {
    static const std::vector<Kernel> kernels = find_kernels();
    return kernels;
}

template <class T> VectorFunction<T> vector_function(const Kernel& kernel) {
    return [row = kernel.row, slot = kernel.slot](std::int32_t n, const Arguments<T>& in, const Results<T>& out) {
        tests::Arguments<T> v{in[0], in[1], out[0], out[1]};
        if (row.strided) {
            // Backwards: strides of -1 aren't handed over to the unit-stride row, and nothing has to be copied.
            v.inca = v.incb = v.incy = v.incz = -1;
            v.a += n - 1;
            if (row.cls == ArgClass::B) v.b += n - 1;
            v.y += n - 1;
            if (row.cls == ArgClass::S) v.z += n - 1;
        }
        tests::call(row, n, v, slot);
    };
}

template VectorFunction<float> vector_function(const Kernel& kernel);
template VectorFunction<double> vector_function(const Kernel& kernel);

} // namespace nvo::accuracy
