// The plain loops of peers.def: what a user's own loop costs. plain.cpp is compiled at -O3.
#pragma once

#include "nvo_ark/vector_math.h"

extern "C" {
#define PLAIN(Op, cls, expression)                      \
    extern ark_fn_##cls##_unit_s nvo_plain_s##Op;       \
    extern ark_fn_##cls##_unit_d nvo_plain_d##Op;       \
    extern ark_fn_##cls##_strided_s nvo_plain_s##Op##I; \
    extern ark_fn_##cls##_strided_d nvo_plain_d##Op##I;
#define PLAIN_STATEMENT(Op, statement) PLAIN(Op, S, )
#include "bench/peers.def"
}
