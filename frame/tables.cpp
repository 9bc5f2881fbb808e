// The kernel tables and the tag tables, made from the list of operations. Slots: low accuracy, high accuracy, enhanced
// performance.

#include "frame/exports.h"

#define NVO_SLOTS_one(row) \
    { nvo_ark_kernel_##row##_E2HAynn, nvo_ark_kernel_##row##_E2HAynn, nvo_ark_kernel_##row##_E2HAynn }
#define NVO_SLOTS_three(row) \
    { nvo_ark_kernel_##row##_E2LAynn, nvo_ark_kernel_##row##_E2HAynn, nvo_ark_kernel_##row##_E2EPnnn }
#define NVO_TAGS_t1 \
    { 1.0F, 1.0F, 1.0F }
#define NVO_TAGS_t3 \
    { 3.0F, 3.0F, 3.0F }
#define NVO_TAGS_t111 \
    { 111.3F, 111.3F, 111.3F }
#define NVO_TAGS_by_kernel \
    { 111.2F, 111.3F, 111.1F }

extern "C" {
#define ROW(t, row, op, cls, form, kernels, tags)                                                            \
    NVO_ARK_KERNEL_TYPE(t, op, cls, form) * nvo_ark_kernel_##t##row##_ttab[3] = NVO_SLOTS_##kernels(t##row); \
    const float nvo_ark_kernel_##t##row##_ctab[3] = NVO_TAGS_##tags;
#include "frame/operations.def"
}

namespace {

enum class Form { unit, strided };

constexpr Form forms[] = {
#define ROW(t, row, op, cls, form, kernels, tags) Form::form,
#include "frame/operations.def"
};

constexpr int count(Form form) {
    int n = 0;
    for (Form f : forms) n += f == form;
    return n;
}

static_assert(count(Form::unit) == 252 && count(Form::strided) == 228);

} // namespace
