#!/usr/bin/env bash
# Every public header compiles alone, as C11 and as C++17, without a warning.
source "$(dirname "$0")/common.sh"
count=0
for header in "$prefix"/include/vexalib/*.h; do
    echo "#include \"vexalib/$(basename "$header")\"" >"$work/alone.c"
    cp "$work/alone.c" "$work/alone.cpp"
    "$cc" "${flags[@]}" -std=c11 -Wall -Wextra -Wpedantic -Werror -I"$prefix/include" -fsyntax-only "$work/alone.c"
    "$cxx" "${flags[@]}" -std=c++17 -Wall -Wextra -Wpedantic -Werror -I"$prefix/include" -fsyntax-only \
        "$work/alone.cpp"
    count=$((count + 1))
done
((count > 15)) || { echo "only $count headers installed"; exit 1; }
