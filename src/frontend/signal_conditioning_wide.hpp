// SPDX-License-Identifier: Apache-2.0
// The lane-independent bodies of the signal-conditioning family as one table
// per instruction set: the baseline's (signal_conditioning.cpp), the AVX2
// one (signal_conditioning_avx2.cpp) and the AVX-512 one
// (signal_conditioning_avx512.cpp). An exported function picks a table once
// per call; each entry runs over whole vectors and returns how far it got,
// and the baseline kernel finishes the rest. Only declarations and a plain
// record: this header is read by files of every instruction set.
#pragma once

namespace zel::cond {

struct LaneKernels {
    // The sixteen running maxima of a contiguous column (element 16k + j in
    // acc[j]); returns the elements done, a multiple of 16.
    int (*columnMax16)(const float* p, int len, float* acc);
    // 1 - (eMax - max(x, eMin)) * scale in place.
    int (*normEnergy)(float* p, int len, float eMin, float eMax, float scale);
    // Count of x[n] * x[n-1] below zero from n = 1; *next is the first n not counted.
    int (*signChanges)(const float* x, int len, int* next);
    // Inverse roots in place; adds the elements below val to *below.
    int (*recSqrt)(float* p, int len, float val, int* below);
    // exp(-x^2).
    int (*expNegSqr)(const float* src, float* dst, int len);
    // The unit curve.
    int (*unitCurve)(const float* src, float* dst, int len);
};

// exp(-x^2) of four elements in double, each rounded once: the groups that
// leave the vector formula's range, on every path. Compiled for the baseline.
void expNegSqrGroup(const float* src, float* dst);

namespace avx2 {
extern const LaneKernels kLaneKernels;
}
namespace avx512 {
extern const LaneKernels kLaneKernels;
}

}  // namespace zel::cond
