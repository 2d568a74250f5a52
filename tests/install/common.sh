# Sourced by the checks: source build cc cxx [flags...]. Installs the build into a folder of its own.
set -euo pipefail
source=$1 build=$2 cc=$3 cxx=$4
shift 4
flags=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; exit 1; }
libdir=$(dirname "$(find "$prefix" -name 'libvexalib.so')")
