// SPDX-License-Identifier: Apache-2.0
// The records of the private real FFT. A state is read-only during a
// transform, so one state serves several threads at once when each brings
// its own scratch.
#pragma once

#include "zelsr.h"

namespace zel::fft {

constexpr Zel32s kTag32f = 6;
constexpr Zel32s kTag16s32s = 1129136463;
// Orders 0..27: the order field may hold up to 30, but N must stay under 2^28.
constexpr int kMaxOrder = 27;
// Orders under this run the scalar path with stack scratch and no tables.
constexpr int kFirstTableOrder = 5;
// Orders up to this take their twiddles from the library's constant table.
constexpr int kStaticTableOrder = 10;

}  // namespace zel::fft

struct ZelFFTSpec_R_32f {
    Zel32s tag;          // zel::fft::kTag32f while valid, 0 once released
    Zel32s order;        // N = 2^order
    Zel32s doScaleFwd;   // the forward transform multiplies by scale
    Zel32s doScaleInv;   // the inverse transform multiplies by scale
    Zel32f scale;        // 1/N, or 1/sqrt(N) for flag 4
    Zel32s hint;         // as given at init; the transform does not depend on it
    Zel32s workSize;     // scratch bytes of one transform, 0 for orders under 5
    Zel32s ownsMemory;   // 1 when InitAlloc made the block
    // From ownGetNumThreads at init. Transforms run on the calling thread:
    // a join between passes costs more than the passes of a split transform
    // save, all the more when other work holds the second core.
    Zel32s numThreads;
    // The instruction set of the transforms (a zel::Isa), chosen at init so
    // that a plan's passes never ask again; all give the same bits.
    Zel32s isa;
    // Twiddles of the radix-4 passes, from the pass of length N/2 down,
    // and of the final real split. Null for orders under 5. Stockham
    // passes keep the natural order, so there is no bit-reversal table.
    const Zel32f* pPassTwiddles;
    const Zel32f* pSplitTwiddles;
    void* pBlock;        // the block that holds this record, for ownFree
};

struct ZelFFTSpec_R_16s32s {
    Zel32s tag;          // zel::fft::kTag16s32s while valid
    Zel32s order;
    Zel32s ownsMemory;
    Zel32s workSize;     // scratch bytes of one transform, with 32 for rounding pWork up
    Zel32s reserved;
    ZelFFTSpec_R_32f* pSpec32f;  // the single-precision state, in the same block
    void* pBlock;
};
