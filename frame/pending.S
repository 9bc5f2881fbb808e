// Rows without a kernel yet. Every kernel gets a weak definition here, which a written kernel overrides by being there;
// it stops the program with a message that names the row. Weak names in the library's symbol table are therefore the
// list of what is left to write.

.macro pending kernel
        .weak   \kernel
        .type   \kernel, @function
\kernel:
        lea     1f(%rip), %rdi
        jmp     nvo_pending_row
        .size   \kernel, . - \kernel
        .pushsection .rodata.str1.1, "aMS", @progbits, 1
1:      .asciz  "\kernel"
        .popsection
.endm

#define KERNELS_one(row) pending nvo_ark_kernel_##row##_E2HAynn ;
#define KERNELS_three(row)                                                                                             \
    pending nvo_ark_kernel_##row##_E2LAynn ; pending nvo_ark_kernel_##row##_E2HAynn ;                                  \
    pending nvo_ark_kernel_##row##_E2EPnnn ;

        .hidden nvo_pending_row
        .text
#define ROW(t, row, op, cls, form, kernels, tags) KERNELS_##kernels(t##row)
#include "frame/operations.def"

        .section .note.GNU-stack, "", @progbits
