// Compiles VEXA_ROWS_FILE once per instruction set: vexa::base, vexa::avx2, vexa::avx512, each between its target
// pragmas. A rows file opens `namespace vexa::VEXA_TARGET` and has no include guard; VEXA_LEVEL tells it where it is
// (0 base, 2 avx2, 3 avx512). Every standard header must have been included before the first rows file.

// g++ 12 takes the undefined operand in its own header for a mistake.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#include <immintrin.h>
#pragma GCC diagnostic pop
#else
#include <immintrin.h>
#endif

#include "support/instruction_set.h"

#define VEXA_TARGET base
#define VEXA_LEVEL 0
#include VEXA_ROWS_FILE
#undef VEXA_TARGET
#undef VEXA_LEVEL

#if VEXA_HAS_X86_SETS

#define VEXA_TARGET avx2
#define VEXA_LEVEL 2
#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2,bmi,bmi2,popcnt"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,bmi,bmi2,popcnt")
#endif
#include VEXA_ROWS_FILE
#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
#undef VEXA_TARGET
#undef VEXA_LEVEL

#define VEXA_TARGET avx512
#define VEXA_LEVEL 3
#if defined(__clang__)
#pragma clang attribute push(                                                                                \
    __attribute__((target("avx2,bmi,bmi2,popcnt,avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2,"  \
                          "avx512vnni,avx512bitalg,avx512vpopcntdq"))),                                      \
    apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,bmi,bmi2,popcnt,avx512f,avx512bw,avx512dq,avx512vl,avx512vbmi,avx512vbmi2")
#pragma GCC target("avx512vnni,avx512bitalg,avx512vpopcntdq,prefer-vector-width=512")
#endif
#include VEXA_ROWS_FILE
#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif
#undef VEXA_TARGET
#undef VEXA_LEVEL

#endif

#undef VEXA_ROWS_FILE
