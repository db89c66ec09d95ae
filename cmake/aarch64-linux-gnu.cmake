# SPDX-License-Identifier: Apache-2.0
# Cross build for 64-bit ARM Linux with Debian's cross compilers
# (g++-aarch64-linux-gnu); test programs run under qemu-user with the target's
# libraries from /usr/aarch64-linux-gnu. The project's flags (-ffp-contract=off
# above all, which GCC would otherwise drop in favour of fused multiply-adds
# on this processor) apply unchanged.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(ZELSR_AARCH64_SYSROOT /usr/aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH ${ZELSR_AARCH64_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
find_program(ZELSR_QEMU_AARCH64 NAMES qemu-aarch64 qemu-aarch64-static REQUIRED)
set(CMAKE_CROSSCOMPILING_EMULATOR ${ZELSR_QEMU_AARCH64} -L ${ZELSR_AARCH64_SYSROOT})
