#!/usr/bin/env bash
# A program that includes the C library's headers beside the library's own still reaches the C library's dprintf and
# erf, and the library's under their own names.
source "$(dirname "$0")/common.sh"
cat >"$work/names.c" <<'END'
#include <math.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>
#ifdef __cplusplus
#include <algorithm>
#endif
#include "vexalib/vexalib.h"

int main(void)
{
    char text[16] = {0};
    int ends[2];
    /* The C library's erf knows the sign; the library's does not. */
    if (!(erf(-1.0) < -0.8) || !(vexa_erf(-1.0) > 0.8))
        return 1;
    /* The C library's dprintf writes to a descriptor. */
    if (pipe(ends) != 0 || dprintf(ends[1], "%d", 42) != 2 || read(ends[0], text, 15) != 2 || strcmp(text, "42") != 0)
        return 2;
    if (vexa_min(3, 4) != 3 || vexa_max(3, 4) != 4 || vexa_clip(9, 1, 5) != 5)
        return 3;
#ifdef __cplusplus
    if (std::min(3, 4) != 3 || std::max(3, 4) != 4)
        return 4;
#endif
    return 0;
}
END
cp "$work/names.c" "$work/names.cpp"
"$cc" "${flags[@]}" -std=gnu11 -I"$prefix/include" "$work/names.c" -L"$libdir" -lvexalib -lm -o "$work/names_c"
"$cc" "${flags[@]}" -std=gnu11 -I"$prefix/include" "$work/names.c" -lm -L"$libdir" -lvexalib -o "$work/names_c2"
"$cxx" "${flags[@]}" -std=gnu++17 -I"$prefix/include" "$work/names.cpp" -L"$libdir" -lvexalib -o "$work/names_cpp"
export LD_LIBRARY_PATH=$libdir
for program in names_c names_c2 names_cpp; do
    "$work/$program" || { echo "$program: check $? failed"; exit 1; }
done
# Strict modes compile too.
"$cc" "${flags[@]}" -std=c11 -D_POSIX_C_SOURCE=200809L -I"$prefix/include" -fsyntax-only "$work/names.c"
"$cxx" "${flags[@]}" -std=c++17 -I"$prefix/include" -fsyntax-only "$work/names.cpp"
