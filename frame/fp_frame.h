// The floating-point frame of a kernel: what it does to the x87 control word and to the SSE control register on entry,
// and how it puts them back.
//
// A frame and arithmetic never share a function: g++ moves arithmetic across a change of the control register. The walk
// that runs inside a frame is [[gnu::noipa]].
#pragma once

#include "frame/mode.h"

#include <cstdint>
#include <xmmintrin.h>

namespace nvo {

//       x87 control word                         SSE control register
enum class Frame {
    F0, // left alone                             left alone
    F1, // exceptions masked                      exceptions masked; the caller's rounding and denormals stay
    F2, // exceptions masked                      masked, to nearest; denormals as the mode word says
    F3, // masked, to nearest, 53-bit significand as F1
    F4, // masked, to nearest, 64-bit significand as F1
    F5, // as F4                                  as F2
    F6, // as F3                                  as F2
};

// What a kernel's frame sets, or 0 where it only masks the exceptions.
constexpr std::uint16_t x87_setting(Frame frame) {
    switch (frame) {
    case Frame::F3:
    case Frame::F6: return 0x23F;
    case Frame::F4:
    case Frame::F5: return 0x33F;
    default: return 0;
    }
}
constexpr bool follows_mode_word(Frame frame) { return frame == Frame::F2 || frame == Frame::F5 || frame == Frame::F6; }

template <Frame frame> class FpFrame {
public:
    FpFrame() {
        enter_x87();
        enter_sse();
    }
    ~FpFrame() {
        if (x87_changed_) asm volatile("fldcw %0" : : "m"(x87_saved_));
        // Flags raised inside reach the caller.
        if (sse_changed_) _mm_setcsr(sse_saved_ | (_mm_getcsr() & sse_flags));
    }
    FpFrame(const FpFrame&) = delete;
    FpFrame& operator=(const FpFrame&) = delete;

private:
    static constexpr std::uint32_t sse_flags = 0x3F;
    static constexpr std::uint32_t sse_masks = 0x1F80;
    static constexpr std::uint32_t sse_flush = 0x8040;   // flush to zero, denormals are zero
    static constexpr std::uint32_t sse_control = 0xFFC0; // all but the flags
    static constexpr std::uint16_t x87_masks = 0x3F;
    static constexpr std::uint16_t x87_control = 0xF3F; // rounding, significand, masks

    void enter_x87() {
        asm volatile("fnstcw %0" : "=m"(x87_saved_));
        constexpr std::uint16_t setting = x87_setting(frame);
        constexpr std::uint16_t looked_at = setting != 0 ? x87_control : x87_masks;
        constexpr std::uint16_t wanted = setting != 0 ? setting : x87_masks;
        if ((x87_saved_ & looked_at) == wanted) return;
        const auto control = static_cast<std::uint16_t>((x87_saved_ & ~looked_at) | wanted);
        asm volatile("fnclex\n\tfldcw %0" : : "m"(control));
        x87_changed_ = true;
    }

    void enter_sse() {
        sse_saved_ = _mm_getcsr();
        std::uint32_t inside;
        if constexpr (follows_mode_word(frame)) {
            const bool flush = (mode_word() & ARK_MODE_DENORMALS) == ARK_DENORMALS_FLUSH;
            const std::uint32_t wanted = flush ? sse_masks | sse_flush : sse_masks;
            inside = (sse_saved_ & ~sse_control) | wanted;
        } else {
            inside = sse_saved_ | sse_masks;
        }
        if (inside == sse_saved_) return;
        _mm_setcsr(inside);
        sse_changed_ = true;
    }

    std::uint16_t x87_saved_;
    std::uint32_t sse_saved_;
    bool x87_changed_ = false;
    bool sse_changed_ = false;
};

template <> class FpFrame<Frame::F0> {
public:
    FpFrame() {} // not defaulted: a guard object that does nothing is not an unused variable
};

} // namespace nvo
