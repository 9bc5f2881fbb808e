// What happens to a bad element: status, callback, standard handler, and the calls that set them.

#include "frame/report.h"

#include "frame/mode.h"
#include "platform/core.h"

#include <bit>
#include <cerrno>
#include <cstddef>
#include <type_traits>

static_assert(offsetof(ArkErrorRecord, arg1) == 8 && offsetof(ArkErrorRecord, funcName) == 40);
static_assert(offsetof(ArkErrorRecord, funcNameLen) == 104 && offsetof(ArkErrorRecord, arg1Im) == 112);
static_assert(sizeof(ArkErrorRecord) == 144);

namespace nvo {

namespace {

// A status's answers: errno, first line of the message, x87 exception flag.
struct Reaction {
    int error_number;
    int message;
    std::uint16_t flag;
};

constexpr Reaction reaction(std::int32_t status) {
    switch (status) {
    case ARK_STATUS_BAD_ACCESS: return {EACCES, 749, 0};
    case ARK_STATUS_BAD_ARGUMENT: return {EINVAL, 748, 0};
    case ARK_STATUS_OK: return {0, 0, 0};
    case ARK_STATUS_DOMAIN: return {EDOM, 750, 0x01};
    case ARK_STATUS_SINGULARITY: return {ERANGE, 751, 0x04};
    case ARK_STATUS_OVERFLOW: return {ERANGE, 752, 0x08};
    case ARK_STATUS_UNDERFLOW: return {ERANGE, 753, 0x10};
    default: return {EFAULT, 754, 0};
    }
}

static_assert(EACCES == 13 && EINVAL == 22 && EDOM == 33 && ERANGE == 34 && EFAULT == 14);

constexpr int to_standard_error = 1;
constexpr int max_name = 47; // characters of a name that a record keeps

// A second argument or result with the same bits as the first, or one equal to 0, counts as absent.
bool stands_alone(double first, double second) {
    return std::bit_cast<std::uint64_t>(first) == std::bit_cast<std::uint64_t>(second) || second == 0.0;
}

void print_values(const ArkErrorRecord& r) {
    const bool one_argument = stands_alone(r.arg1, r.arg2);
    const bool one_result = stands_alone(r.res1, r.res2);
    // Message numbers run on: arguments, then results, in the order of the four cases.
    int id = one_argument ? (one_result ? 755 : 757) : (one_result ? 760 : 763);
    const auto line = [&](double value) { nvo_serv_print(to_standard_error, id++, 2, r.index, value); };
    line(r.arg1);
    if (!one_argument) line(r.arg2);
    line(r.res1);
    if (!one_result) line(r.res2);
}

void print(const ArkErrorRecord& r) {
    const int id = reaction(r.status).message;
    switch (r.status) {
    case ARK_STATUS_OK: return;
    case ARK_STATUS_BAD_ACCESS: nvo_serv_print(to_standard_error, id, 1, r.funcName); return;
    case ARK_STATUS_BAD_ARGUMENT: nvo_serv_print(to_standard_error, id, 2, r.funcName, r.index); return;
    default: nvo_serv_print(to_standard_error, id, 1, r.funcName); print_values(r);
    }
}

// What fnstenv stores and fldenv loads.
struct X87Environment {
    std::uint16_t control, pad0, status, pad1, tag, pad2;
    std::uint32_t rest[4];
};
static_assert(sizeof(X87Environment) == 28);

constexpr std::uint16_t x87_exceptions = 0x3F; // mask bits of the control word, flags of the status word

void load_environment(const X87Environment& environment) {
    // fwait: an exception that the load leaves pending and unmasked is trapped here.
    asm volatile("fldenv %0\n\tfwait" : : "m"(environment) : "memory");
}

// Raises the flag on the x87 unit, as a trap where the mode word asks for one. Afterwards the flag is set and all x87
// exceptions are masked.
void raise_exception(std::uint16_t flag) {
    const std::uint32_t mode = mode_word();
    X87Environment after;
    asm volatile("fnstenv %0" : "=m"(after) : : "memory");
    X87Environment trapping = after;
    if ((mode & ARK_TRAP_INVALID) != 0) trapping.control &= ~0x01U;
    if ((mode & ARK_TRAP_DIVBYZERO) != 0) trapping.control &= ~0x04U;
    if ((mode & ARK_TRAP_OVERFLOW) != 0) trapping.control &= ~0x08U;
    if ((mode & ARK_TRAP_UNDERFLOW) != 0) trapping.control &= ~0x10U;
    trapping.status = (trapping.status & ~x87_exceptions) | flag;
    load_environment(trapping);
    after.control |= x87_exceptions;
    after.status |= flag;
    load_environment(after);
}

void _arkStdErrorHandler(const ArkErrorRecord* record) {
    const Reaction answer = reaction(record->status);
    if ((mode_word() & ARK_ERRMODE_ERRNO) != 0) errno = answer.error_number;
    if ((mode_word() & ARK_ERRMODE_STDERR) != 0) print(*record);
    if ((mode_word() & ARK_ERRMODE_EXCEPT) != 0) raise_exception(answer.flag);
}

template <class E> constexpr bool is_complex = std::is_same_v<E, ArkComplex8> || std::is_same_v<E, ArkComplex16>;

// Reads an element as doubles. A real element leaves the imaginary part as it is.
template <class E> void widen(const E& element, double& re, double& im) {
    if constexpr (is_complex<E>) {
        re = element.re;
        im = element.im;
    } else if constexpr (std::is_same_v<E, std::uint16_t>) {
        re = __vlang_math_fp16to64(element);
    } else {
        re = element;
    }
}

template <class E> void narrow(double re, double im, E& element) {
    if constexpr (is_complex<E>) {
        element = {static_cast<decltype(E::re)>(re), static_cast<decltype(E::im)>(im)};
    } else if constexpr (std::is_same_v<E, std::uint16_t>) {
        element = __vlang_math_fp64to16(re);
    } else {
        element = static_cast<E>(re);
    }
}

std::int32_t copy_name(const char* name, char* to) {
    std::int32_t length = 0;
    while (length < max_name && name[length] != '\0') {
        to[length] = name[length];
        ++length;
    }
    to[length] = '\0';
    return length;
}

} // namespace

template <class E>
void report(std::int32_t status, std::int32_t index, const E* a1, std::int32_t inc1, const E* a2, std::int32_t inc2,
            E* r1, std::int32_t incr1, E* r2, std::int32_t incr2, const char* name) {
    const std::uint32_t mode = mode_word();
    const std::uint32_t errors = mode & ARK_MODE_ERRORS;
    if (errors == ARK_ERRMODE_NOERR) return;
    thread_state.arkErrStatus = status;
    if (errors == ARK_ERRMODE_IGNORE) return;

    ArkErrorRecord record; // not cleared: a report fills what its kind of failure has
    record.status = status;
    record.index = index;
    if (const void* start = thread_state.arkInterfInputVecorPointer; start != nullptr) {
        // Through integers: the two pointers need not belong to one array.
        const auto bytes = reinterpret_cast<std::intptr_t>(a1) - reinterpret_cast<std::intptr_t>(start);
        record.index = static_cast<std::int32_t>(index + bytes / static_cast<std::intptr_t>(sizeof(E)));
    }
    record.funcNameLen = copy_name(name, record.funcName);

    const bool has_values = status != ARK_STATUS_BAD_ARGUMENT && status != ARK_STATUS_BAD_ACCESS;
    const auto at = [index](auto* vector, std::int32_t inc) -> auto& {
        return vector[static_cast<std::ptrdiff_t>(index) * inc];
    };
    if (has_values) {
        widen(at(a1, inc1), record.arg1, record.arg1Im);
        widen(at(a2, inc2), record.arg2, record.arg2Im);
        widen(at(r1, incr1), record.res1, record.res1Im);
        widen(at(r2, incr2), record.res2, record.res2Im);
    }

    if ((mode & ARK_ERRMODE_CALLBACK) != 0 && thread_state.arkErrorCallBack != nullptr) {
        if (thread_state.arkErrorCallBack(&record) != 0) return;
    }
    constexpr std::uint32_t standard =
        ARK_ERRMODE_IGNORE | ARK_ERRMODE_ERRNO | ARK_ERRMODE_STDERR | ARK_ERRMODE_EXCEPT | ARK_ERRMODE_NOERR;
    if ((mode & standard) != 0) _arkStdErrorHandler(&record);
    if (has_values) {
        // The first result last: where there is only one, the two vectors are the same.
        narrow(record.res2, record.res2Im, at(r2, incr2));
        narrow(record.res1, record.res1Im, at(r1, incr1));
    }
}

} // namespace nvo

using nvo::report;
using nvo::thread_state;

extern "C" {

#define NVO_REPORTER(t, E)                                                                                          \
    void nvo_ark_kernel_##t##Error(std::int32_t status, std::int32_t index, const E* a1, const E* a2, E* r1, E* r2, \
                                   const char* name) {                                                              \
        report<E>(status, index, a1, 1, a2, 1, r1, 1, r2, 1, name);                                                 \
    }                                                                                                               \
    void nvo_ark_kernel_##t##ErrorI(std::int32_t status, std::int32_t index, const E* a1, std::int32_t inc1,        \
                                    const E* a2, std::int32_t inc2, E* r1, std::int32_t incr1, E* r2,               \
                                    std::int32_t incr2, const char* name) {                                         \
        report<E>(status, index, a1, inc1, a2, inc2, r1, incr1, r2, incr2, name);                                   \
    }                                                                                                               \
    template void nvo::report<E>(std::int32_t, std::int32_t, const E*, std::int32_t, const E*, std::int32_t, E*,    \
                                 std::int32_t, E*, std::int32_t, const char*);

NVO_REPORTER(h, std::uint16_t)
NVO_REPORTER(s, float)
NVO_REPORTER(d, double)
NVO_REPORTER(c, ArkComplex8)
NVO_REPORTER(z, ArkComplex16)

std::int32_t nvo_ark_kernel_SetErrStatus(std::int32_t status) {
    const std::int32_t old = thread_state.arkErrStatus;
    thread_state.arkErrStatus = status;
    return old;
}
std::int32_t nvo_ark_kernel_GetErrStatus() { return thread_state.arkErrStatus; }
std::int32_t nvo_ark_kernel_ClearErrStatus() { return nvo_ark_kernel_SetErrStatus(ARK_STATUS_OK); }

ArkErrorCallBack* nvo_ark_kernel_SetErrorCallBack(ArkErrorCallBack* callback) {
    ArkErrorCallBack* old = thread_state.arkErrorCallBack;
    std::uint32_t mode = nvo::mode_word() & ~std::uint32_t{ARK_ERRMODE_CALLBACK};
    if (callback != nullptr) mode |= ARK_ERRMODE_CALLBACK;
    thread_state.arkErrorCallBack = callback;
    nvo_ark_kernel_SetMode(mode);
    return old;
}
ArkErrorCallBack* nvo_ark_kernel_GetErrorCallBack() { return thread_state.arkErrorCallBack; }
ArkErrorCallBack* nvo_ark_kernel_ClearErrorCallBack() { return nvo_ark_kernel_SetErrorCallBack(nullptr); }

const void* nvo_ark_kernel_SetInterfInputVectorPointer(const void* start) {
    thread_state.arkInterfInputVecorPointer = start;
    return start;
}

// The second names.
std::int32_t _arkSetErrStatus(std::int32_t status) { return nvo_ark_kernel_SetErrStatus(status); }
std::int32_t _arkGetErrStatus() { return nvo_ark_kernel_GetErrStatus(); }
std::int32_t _arkClearErrStatus() { return nvo_ark_kernel_ClearErrStatus(); }
ArkErrorCallBack* _arkSetErrorCallBack(ArkErrorCallBack* callback) { return nvo_ark_kernel_SetErrorCallBack(callback); }
ArkErrorCallBack* _arkGetErrorCallBack() { return nvo_ark_kernel_GetErrorCallBack(); }
ArkErrorCallBack* _arkClearErrorCallBack() { return nvo_ark_kernel_ClearErrorCallBack(); }
const void* _arkSetInterfInputVectorPointer(const void* start) {
    return nvo_ark_kernel_SetInterfInputVectorPointer(start);
}
}
