#!/usr/bin/env bash
# The example programs are built against the installed tree; what they print is right.
source "$(dirname "$0")/common.sh"
here=$(dirname "$0")
export PKG_CONFIG_PATH=$libdir/pkgconfig LD_LIBRARY_PATH=$libdir
read -ra package < <(pkg-config --cflags --libs vexalib)
for program in "$source"/examples/*.c "$here/consumer/write_pair.c"; do
    "$cc" "${flags[@]}" -std=c11 -Wall -Wextra -Werror "$program" "${package[@]}" -lm -o "$work/$(basename "$program" .c)"
done
cd "$work"
./write_pair reference.bmp defect.bmp
printed=$(./subtract reference.bmp defect.bmp)
if [[ $printed != "(20, 10) contrast 100" ]]; then
    echo "subtract printed: $printed"
    exit 1
fi
printed=$(./row_filter defect.bmp contrast.bmp 7 5)
if [[ $printed != "highest contrast in 7 x 5 pixels: 100" || ! -s contrast.bmp ]]; then
    echo "row_filter printed: $printed"
    exit 1
fi
