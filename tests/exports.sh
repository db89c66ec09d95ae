#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# The dynamic symbols of libzelsr.so are exactly the functions that the public
# headers (zelsr.h and the subsystem headers it includes) declare with
# ZELSR_API, and libzelcore.so offers zelMalloc and zelFree.
set -eu
lib=$1 core=$2 incdir=$3
tmp=$(mktemp -d); trap 'rm -rf "$tmp"' EXIT
nm -D --defined-only "$lib" | awk '$2 ~ /^[TtWi]$/ {print $3}' | sed 's/@.*//' | sort -u >"$tmp/exported"
cat "$incdir/zelsr.h" "$incdir"/zelsr/*.h | grep -v "^#" | tr '\n' ' ' | grep -o 'ZELSR_API[^(;]*(' \
  | sed 's/($//; s/.*[ *]//' | grep -v '^ZELSR_API$' | sort -u >"$tmp/declared"
if ! cmp -s "$tmp/exported" "$tmp/declared"; then
  echo "exported (<) and declared (>) differ:"; diff "$tmp/exported" "$tmp/declared" || true; exit 1
fi
for name in zelMalloc zelFree; do
  nm -D --defined-only "$core" | grep -q " $name\$" || { echo "libzelcore lacks $name"; exit 1; }
done
echo "$(wc -l <"$tmp/exported") exports match the headers"
