#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Installs the build into a scratch prefix, then builds and runs a C consumer
# through find_package (shared and static) and through pkg-config, and runs them
# without LD_LIBRARY_PATH from that non-system prefix.
set -eu
build=$1 src=$2
tmp=$(mktemp -d); trap 'rm -rf "$tmp"' EXIT
cmake --install "$build" --prefix "$tmp/prefix" >/dev/null
cmake -S "$src/consumer" -B "$tmp/consumer" -DCMAKE_PREFIX_PATH="$tmp/prefix" >/dev/null
cmake --build "$tmp/consumer" >/dev/null
"$tmp/consumer/consumer"
"$tmp/consumer/consumer_static"
libdir=$(dirname "$(find "$tmp/prefix" -name zelsr.pc)")
PKG_CONFIG_PATH="$libdir" cc -std=c99 -Wall -Wextra -pedantic -Werror "$src/consumer/main.c" -o "$tmp/pc" \
  $(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs zelsr) -Wl,-rpath,"$(dirname "$libdir")"
env -u LD_LIBRARY_PATH "$tmp/pc"
# An application that names only libzelsr, with a run path to it and nothing
# else, loads libzelcore through libzelsr's own $ORIGIN run path.
readelf -d "$libdir/../libzelsr.so" | grep -q 'R.*PATH.*\$ORIGIN' || { echo "libzelsr.so lacks an \$ORIGIN run path"; exit 1; }
printf '#include <zelsr.h>\nint main(void) { return zelsrGetLibVersion()->major == 6 ? 0 : 1; }\n' >"$tmp/only.c"
cc -std=c99 "$tmp/only.c" -o "$tmp/only" -I"$tmp/prefix/include" -L"$(dirname "$libdir")" -lzelsr \
  -Wl,-rpath,"$(dirname "$libdir")"
env -u LD_LIBRARY_PATH "$tmp/only"
echo "installed into $tmp/prefix: consumers load it from there"
