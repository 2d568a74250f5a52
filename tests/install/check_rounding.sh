#!/usr/bin/env bash
# No fused multiplication and addition: it rounds once where the other instruction sets round twice.
source "$(dirname "$0")/common.sh"
if objdump -d "$libdir/libvexalib.so" | grep -E 'vfn?m(add|sub)' | head -5 | grep .; then
    echo "fused instructions in the library"
    exit 1
fi
