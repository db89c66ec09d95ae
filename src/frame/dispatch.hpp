// SPDX-License-Identifier: Apache-2.0
// The choice of instruction set. Every family has baseline kernels (SSE4.1
// on x86-64, plain lanes in the portable build), which run everywhere the
// library runs. A family may add kernels for AVX2 in a file of its own,
// compiled for AVX2 only (`<family>_avx2.cpp`); its exported functions then
// ask `runsAvx2()` once per call, before any row is touched, and hand those
// kernels the part of the call they are made for (in frame scoring, the
// whole blocks of eight rows). Inner loops never ask. AVX-512 kernels live
// likewise in `<family>_avx512.cpp` and are chosen with `runsAvx512()`.
//
// The answer is the processor's, read through ownGetFeature on first use and
// kept in an atomic, so threads that ask at once at worst compute it twice,
// and every one of them the same. Tests and benchmarks may lower it with
// setMaxIsaForTesting to run the baseline path on a processor that has AVX2.
// The library itself reads no environment and no configuration.
//
// This header is for the baseline files: an AVX2 file does not choose.
#pragma once

#include <atomic>

#include "core/zelcore_own.h"

namespace zel {

// Instruction sets in increasing order; each includes the ones before it.
enum class Isa : int {
    kBaseline = 0,
    kAvx2 = 1,
    kAvx512 = 2,
};

// Whether this build has the AVX2 kernels: x86-64 builds that are not
// portable (the build system defines ZELSR_HAVE_AVX2 for every file of the
// project alike, so that all agree).
#if defined(ZELSR_HAVE_AVX2)
inline constexpr bool kBuiltWithAvx2 = true;
#else
inline constexpr bool kBuiltWithAvx2 = false;
#endif
#if defined(ZELSR_HAVE_AVX512)
inline constexpr bool kBuiltWithAvx512 = true;
#else
inline constexpr bool kBuiltWithAvx512 = false;
#endif

namespace detail {
// The best instruction set of this build on this processor; -1 until asked.
inline std::atomic<int> gBestIsa{-1};
// The highest that dispatch may choose; only tests and benchmarks lower it.
inline std::atomic<int> gIsaCap{static_cast<int>(Isa::kAvx512)};
}  // namespace detail

// The best instruction set that this build and this processor both offer,
// whatever the cap.
inline Isa bestIsa() {
    int best = detail::gBestIsa.load(std::memory_order_relaxed);
    if (best < 0) {
        best = static_cast<int>(kBuiltWithAvx512 && ownGetFeature(zelFeatureAVX512) ? Isa::kAvx512
                                : kBuiltWithAvx2 && ownGetFeature(zelFeatureAVX2)   ? Isa::kAvx2
                                                                                    : Isa::kBaseline);
        detail::gBestIsa.store(best, std::memory_order_relaxed);
    }
    return static_cast<Isa>(best);
}

// The instruction set that the exported functions run on now.
inline Isa activeIsa() {
    const int best = static_cast<int>(bestIsa());
    const int cap = detail::gIsaCap.load(std::memory_order_relaxed);
    return static_cast<Isa>(best < cap ? best : cap);
}

// True when this call should take the AVX2 kernels; a constant false in
// builds without them, so that their calls drop out.
inline bool runsAvx2() { return kBuiltWithAvx2 && activeIsa() >= Isa::kAvx2; }
inline bool runsAvx512() { return kBuiltWithAvx512 && activeIsa() >= Isa::kAvx512; }

// For tests and benchmarks only: the exported functions choose no
// instruction set above `cap` from now on. Returns the previous cap.
inline Isa setMaxIsaForTesting(Isa cap) {
    return static_cast<Isa>(detail::gIsaCap.exchange(static_cast<int>(cap), std::memory_order_relaxed));
}

}  // namespace zel
