#!/bin/sh
# Installs the build into a scratch prefix, then builds and runs a C consumer
# through find_package (shared and static) and through pkg-config.
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
"$tmp/pc"
