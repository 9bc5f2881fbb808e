// The 1,920 stubs. Each loads its row's kernel table from the global offset table, then one slot of it, and jumps: the
// arguments pass through untouched, and the kernel returns to the stub's caller. Stubs of class P first set the last
// argument, the flag for 32-bit counts and strides, which travels in the fifth integer register.

.macro flag_none
.endm
.macro flag_set
        mov     $1, %r8d
.endm

.macro stub name, table, slot, flag
        .globl  \name
        .type   \name, @function
        .p2align 4
\name:
        flag_\flag
        mov     \table@GOTPCREL(%rip), %rax
        mov     (8 * \slot)(%rax), %rax
        jmp     *%rax
        .size   \name, . - \name
.endm

.macro stubs row, low, enhanced, flag
        stub    _ark\row, nvo_ark_kernel_\row\()_ttab, 1, \flag
        stub    _ark\row\()_HA, nvo_ark_kernel_\row\()_ttab, 1, \flag
        stub    _ark\row\()_\low, nvo_ark_kernel_\row\()_ttab, 0, \flag
        stub    _ark\row\()_\enhanced, nvo_ark_kernel_\row\()_ttab, 2, \flag
.endm

#define SUFFIXES_s 21, 11
#define SUFFIXES_d 50, 26
#define SUFFIXES_c 21, 11
#define SUFFIXES_z 50, 26
#define FLAG_U none
#define FLAG_B none
#define FLAG_X none
#define FLAG_S none
#define FLAG_L none
#define FLAG_A none
#define FLAG_C none
#define FLAG_P set

        .text
#define ROW(t, row, op, cls, form, kernels, tags) stubs t##row, SUFFIXES_##t, FLAG_##cls ;
#include "frame/operations.def"

        .section .note.GNU-stack, "", @progbits
