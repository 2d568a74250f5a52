#!/usr/bin/env bash
# A C and a C++ program are built against the installed tree through the CMake package and through pkg-config, and run.
source "$(dirname "$0")/common.sh"
here=$(dirname "$0")
cmake -S "$here/consumer" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_C_COMPILER="$cc" \
    -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_C_FLAGS="${flags[*]}" -DCMAKE_CXX_FLAGS="${flags[*]}" >"$work/log"
cmake --build "$work/build" >>"$work/log" || { cat "$work/log"; exit 1; }
"$work/build/consumer_c"
"$work/build/consumer_cpp"

export PKG_CONFIG_PATH=$libdir/pkgconfig
read -ra package < <(pkg-config --cflags --libs vexalib)
"$cc" "${flags[@]}" -std=c11 "$here/consumer/consumer.c" "${package[@]}" -o "$work/from_pc_c"
"$cxx" "${flags[@]}" -std=c++17 "$here/consumer/consumer.cpp" "${package[@]}" -o "$work/from_pc_cpp"
LD_LIBRARY_PATH=$libdir "$work/from_pc_c"
LD_LIBRARY_PATH=$libdir "$work/from_pc_cpp"
