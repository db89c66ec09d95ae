// SPDX-License-Identifier: Apache-2.0
// The small vector vocabulary that kernels are written in. One header per
// instruction set implements the same operations on 128-bit values; the
// portable ones keep the lane order of the vector one exactly, so that every
// build gives the same bits. Kernels use nothing else. The portable build
// writes the vocabulary on the compiler's generic vectors (NEON on AArch64,
// SSE2 on x86); plain lanes serve a compiler without them, or a build that
// defines ZELSR_SCALAR_VOCABULARY to compare against.
#pragma once

#if defined(__SSE4_1__) && !defined(ZELSR_PORTABLE)
#include "sse41.hpp"
#elif (defined(__GNUC__) || defined(__clang__)) && !defined(ZELSR_SCALAR_VOCABULARY)
#include "generic.hpp"
#else
#include "scalar.hpp"
#endif

namespace zel::simd {

// Lane-wise helpers that are the same whatever the instruction set.
inline F32x4 abs(F32x4 a) { return max(a, sub(zero4f(), a)); }

}  // namespace zel::simd
