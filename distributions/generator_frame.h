// What a law that calls vector math on its uniform numbers needs around it, and the callbacks that give such a call a
// finite answer where a uniform number came out at the end of a domain.
#pragma once

#include "support/vector_call.h"

#include "nvo_ark/vector_math.h"

#include <cstdint>
#include <xmmintrin.h>

namespace nvo {

// The frame of a generator: all exceptions masked, errors of vector functions to the callback and nowhere else. The end
// puts everything back, but for a denormal field of the mode word that was 0: SetMode can't make a field 0, and 0 acts
// as ARK_DENORMALS_KEEP, which a VectorCall leaves there.
class GeneratorFrame {
public:
    explicit GeneratorFrame(ArkErrorCallBack* callback) {
        constexpr std::uint16_t x87_masks = 0x3F;
        constexpr std::uint32_t sse_masks = 0x1F80;
        asm volatile("fnclex\n\tfnstcw %0" : "=m"(x87_saved_));
        const auto masked = static_cast<std::uint16_t>(x87_saved_ | x87_masks);
        if (masked != x87_saved_) asm volatile("fldcw %0" : : "m"(masked));
        sse_saved_ = _mm_getcsr();
        if ((sse_saved_ | sse_masks) != sse_saved_) _mm_setcsr(sse_saved_ | sse_masks);
        mode_saved_ = nvo_ark_kernel_SetMode(ARK_ERRMODE_CALLBACK);
        callback_saved_ = nvo_ark_kernel_SetErrorCallBack(callback);
    }
    ~GeneratorFrame() {
        nvo_ark_kernel_SetErrorCallBack(callback_saved_);
        nvo_ark_kernel_SetMode(mode_saved_);
        asm volatile("fnclex\n\tfldcw %0" : : "m"(x87_saved_));
        _mm_setcsr(sse_saved_);
    }
    GeneratorFrame(const GeneratorFrame&) = delete;
    GeneratorFrame& operator=(const GeneratorFrame&) = delete;

private:
    std::uint16_t x87_saved_;
    std::uint32_t sse_saved_;
    std::uint32_t mode_saved_;
    ArkErrorCallBack* callback_saved_;
};

// ---- Callbacks ------------------------------------------------------------------------------------------------------

// The logarithm of the smallest positive denormal number stands for that of 0.
template <class R> inline constexpr double ln_of_zero = 0;
template <> inline constexpr double ln_of_zero<double> = -744.4400719213812;
template <> inline constexpr double ln_of_zero<float> = -103.2789306640625;

// The largest Gaussian number that the inverse error function answers.
template <class R> inline constexpr double largest_gaussian = 0;
template <> inline constexpr double largest_gaussian<double> = 5.8635847487551676;
template <> inline constexpr double largest_gaussian<float> = 3.8325068950653076;

inline std::int32_t answer(ArkErrorRecord* record, double value) {
    record->res1 = record->res2 = value;
    return 0;
}

// Of laws that take a logarithm of uniform numbers: whatever is reported is a 0.
template <class R> std::int32_t ln_callback(ArkErrorRecord* record) { return answer(record, ln_of_zero<R>); }

// Of laws in which the logarithm of something else may be reported too.
template <class R> std::int32_t guarded_ln_callback(ArkErrorRecord* record) {
    return record->status == ARK_STATUS_SINGULARITY ? answer(record, ln_of_zero<R>) : 0;
}

// Of the Gaussian laws, whose inverse error function may meet the ends of its domain.
template <class R> std::int32_t gaussian_callback(ArkErrorRecord* record) {
    const bool pole = record->status == ARK_STATUS_SINGULARITY;
    if (pole && record->arg1 == 0) return answer(record, ln_of_zero<R>);
    if (!pole && record->status != ARK_STATUS_DOMAIN) return 0;
    return answer(record, record->arg1 < 0 ? -largest_gaussian<R> : largest_gaussian<R>);
}

} // namespace nvo
