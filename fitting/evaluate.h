// The evaluators: values and derivatives of a model at the sites of one block, whose cells are known.
#pragma once

#include "fitting/model.h"
#include "support/integers.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <type_traits>

namespace nvo::fitting {

inline constexpr std::int64_t evaluation_block = 256; // sites at most

template <Real R>
using InterpolateCallback =
    std::conditional_t<std::same_as<R, float>, nvo_df_sInterpolateCallback, nvo_df_dInterpolateCallback>;

// The derivatives that a call asks for: entry d of the flags is that of order d, and order 0 is the value. Anything but
// 0 counts as 1.
class Orders {
public:
    Orders(const void* flags, std::int64_t length, bool wide) : flags_(flags, wide) {
        for (std::int64_t d = 0; flags && d < length; ++d) {
            if (flags_[d] == 0) continue;
            ++count_;
            end_ = d + 1;
            if (d < 4) low_ |= 1U << d;
        }
    }

    std::int64_t count() const { return count_; } // results of a site
    std::int64_t end() const { return end_; }     // behind the highest order
    unsigned low() const { return low_; }         // bit d: order d, below 4
    std::int64_t below(int order) const {         // results of orders below this one, 4 at most
        std::int64_t count = 0;
        for (int d = 0; d < order; ++d) count += low_ >> d & 1;
        return count;
    }
    bool operator[](std::int64_t d) const { return flags_[d] != 0; }

private:
    Integers flags_;
    std::int64_t count_ = 0, end_ = 0;
    unsigned low_ = 0;
};

// One block, all functions. Result k of site i of function f goes to r[f * function_stride + i * orders.count() + k].
// Cells have the width that the evaluator's name tells; those outside 0 to nx count as the nearest of these.
template <Real R> struct Evaluation {
    const TaskRecord<R>& task;
    const Orders& orders;
    std::int64_t n; // 1 to evaluation_block
    const R* site;
    const void* cell;
    R* r;
    std::int64_t function_stride;

    // What follows is read by the evaluators with callbacks. Their sites are a group of a block's: they may be
    // scattered, and `place` tells where in the block each one stands. Null: they are the block.
    const std::uint8_t* place;
    R* buffer; // room for the group's results, if they are scattered
    InterpolateCallback<R>* callback;
    void* params;
};

// Returns 0 or a negative status: a look-up's, DF_ST_NO_MEMORY of arbitrary models of order 11 and above. With a
// callback: what it returned. Without one, the evaluators with callbacks evaluate the model.
template <Real R> using Evaluator = std::int32_t(const Evaluation<R>* call);

// In the order of `Model`, with its enumerators.
#define NVO_DF_MODELS(MODEL)     \
    MODEL(Linear, linear)        \
    MODEL(Quadratic, quadratic)  \
    MODEL(Cubic, cubic)          \
    MODEL(QuadSubb, subbotin)    \
    MODEL(Arbitr, arbitrary)     \
    MODEL(StepLeft, step_left)   \
    MODEL(StepRight, step_right) \
    MODEL(LookUp, look_up)

} // namespace nvo::fitting

// nvo_df_kernel_[sd]_<Kind>SplineEval{32,64}[CB]
#pragma GCC visibility push(default)
extern "C" {
#define NVO_DF_MODEL(Kind, model)                                           \
    nvo::fitting::Evaluator<float> nvo_df_kernel_s_##Kind##SplineEval32;    \
    nvo::fitting::Evaluator<float> nvo_df_kernel_s_##Kind##SplineEval64;    \
    nvo::fitting::Evaluator<float> nvo_df_kernel_s_##Kind##SplineEval32CB;  \
    nvo::fitting::Evaluator<float> nvo_df_kernel_s_##Kind##SplineEval64CB;  \
    nvo::fitting::Evaluator<double> nvo_df_kernel_d_##Kind##SplineEval32;   \
    nvo::fitting::Evaluator<double> nvo_df_kernel_d_##Kind##SplineEval64;   \
    nvo::fitting::Evaluator<double> nvo_df_kernel_d_##Kind##SplineEval32CB; \
    nvo::fitting::Evaluator<double> nvo_df_kernel_d_##Kind##SplineEval64CB;
NVO_DF_MODELS(NVO_DF_MODEL)
#undef NVO_DF_MODEL
}
#pragma GCC visibility pop

namespace nvo::fitting {

// The dispatch tables, by the width of cells and by callbacks.
template <Real R> using EvaluatorTable = std::array<Evaluator<R>*, models>;
template <Real R> struct Evaluators { EvaluatorTable<R> narrow, wide, narrow_callback, wide_callback; };
template <Real R> inline constexpr Evaluators<R> evaluators{};

#define NVO_DF_SINGLE_32(Kind, model) nvo_df_kernel_s_##Kind##SplineEval32,
#define NVO_DF_SINGLE_64(Kind, model) nvo_df_kernel_s_##Kind##SplineEval64,
#define NVO_DF_SINGLE_32CB(Kind, model) nvo_df_kernel_s_##Kind##SplineEval32CB,
#define NVO_DF_SINGLE_64CB(Kind, model) nvo_df_kernel_s_##Kind##SplineEval64CB,
#define NVO_DF_DOUBLE_32(Kind, model) nvo_df_kernel_d_##Kind##SplineEval32,
#define NVO_DF_DOUBLE_64(Kind, model) nvo_df_kernel_d_##Kind##SplineEval64,
#define NVO_DF_DOUBLE_32CB(Kind, model) nvo_df_kernel_d_##Kind##SplineEval32CB,
#define NVO_DF_DOUBLE_64CB(Kind, model) nvo_df_kernel_d_##Kind##SplineEval64CB,
template <>
inline constexpr Evaluators<float> evaluators<float>{{NVO_DF_MODELS(NVO_DF_SINGLE_32)},
                                                     {NVO_DF_MODELS(NVO_DF_SINGLE_64)},
                                                     {NVO_DF_MODELS(NVO_DF_SINGLE_32CB)},
                                                     {NVO_DF_MODELS(NVO_DF_SINGLE_64CB)}};
template <>
inline constexpr Evaluators<double> evaluators<double>{{NVO_DF_MODELS(NVO_DF_DOUBLE_32)},
                                                       {NVO_DF_MODELS(NVO_DF_DOUBLE_64)},
                                                       {NVO_DF_MODELS(NVO_DF_DOUBLE_32CB)},
                                                       {NVO_DF_MODELS(NVO_DF_DOUBLE_64CB)}};
#undef NVO_DF_SINGLE_32
#undef NVO_DF_SINGLE_64
#undef NVO_DF_SINGLE_32CB
#undef NVO_DF_SINGLE_64CB
#undef NVO_DF_DOUBLE_32
#undef NVO_DF_DOUBLE_64
#undef NVO_DF_DOUBLE_32CB
#undef NVO_DF_DOUBLE_64CB

} // namespace nvo::fitting
