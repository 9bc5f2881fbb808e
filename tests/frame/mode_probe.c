/* Prints the thread's mode word as its first use finds it, in hexadecimal, then the variable's own value. */
#include "nvo_ark/vector_math.h"

#include <inttypes.h>
#include <stdio.h>

int main(void) {
    printf("%" PRIx32 " %" PRIx64 "\n", nvo_ark_kernel_GetMode(), nvo_ark_kernel_ReadEnvVarMode());
    return 0;
}
