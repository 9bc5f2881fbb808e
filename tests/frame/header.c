/* The public header serves a C program, alone and twice. */
#include "nvo_ark/vector_math.h"

float nvo_header_in_c(float x);

float nvo_header_in_c(float x) {
    ark_fn_U_unit_s* negate_twice = _arksAbs;
    float y = 0;
    negate_twice(1, &x, &y);
    return y;
}
