#!/usr/bin/env bash
# The library needs nothing beyond libc, libm, libstdc++ and libgcc, is named libvexalib.so.1, and exports its listed
# names and what begins with vexa, nothing else.
source "$(dirname "$0")/common.sh"
library=$libdir/libvexalib.so
strange=$(readelf -d "$library" | sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' |
    grep -v -E '^(libc\.so|libm\.so|libstdc\+\+\.so|libgcc_s\.so|ld-linux.*)' || true)
[[ -z $strange ]] || { echo "needs $strange"; exit 1; }
readelf -d "$library" >"$work/dynamic"
grep -q 'SONAME.*\[libvexalib.so.1\]' "$work/dynamic" || { echo "wrong soname"; exit 1; }
nm -D --defined-only "$library" >"$work/symbols"
awk '{print $3}' "$work/symbols" | sed 's/@.*//' | sort -u >"$work/have"
tail -n +2 "$source/cmake/exports.tsv" | cut -f3 | sort -u >"$work/listed"
strange=$(comm -23 "$work/have" "$work/listed" | grep -v -E '^(vexa|VEXALIB_1$)' || true)
[[ -z $strange ]] || { echo "exports $strange"; exit 1; }
# The names that the C library has too stand under a version that nobody gets without asking.
for name in dprintf erf erfc; do
    grep -q " $name@VEXALIB_1\$" "$work/symbols" || { echo "$name is not versioned"; exit 1; }
done
