#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Only functions of the AVX2 and AVX-512 kernel files (namespaces avx2 and
# avx512) may hold VEX- or EVEX-encoded instructions.
# An inline function compiled in an AVX2 file can otherwise be merged at link
# time with its baseline copy, and a processor without AVX would then fault
# in a baseline path.
set -eu
lib=$1
bad=$(objdump -d --no-show-raw-insn -C "$lib" | awk '
  /^[0-9a-f]+ <.*>:$/ { fn = $0; next }
  /\tv[a-z0-9]+ .*%[xyz]mm/ { if (fn !~ /::avx2::/ && fn !~ /::avx512::/ && !(fn in seen)) { seen[fn] = 1; print fn } }')
if [ -n "$bad" ]; then
  echo "VEX instructions outside the AVX2 and AVX-512 kernels:"; echo "$bad"; exit 1
fi
echo "VEX instructions only in AVX2 and AVX-512 kernels"
