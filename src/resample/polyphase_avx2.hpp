// SPDX-License-Identifier: Apache-2.0
// What the fixed-ratio run hands to the AVX2 kernel of polyphase_avx2.cpp.
// Declarations only: this header is read by files of both instruction sets.
#pragma once

namespace zel::resample::avx2 {

// The single-precision dot product of L taps (a multiple of 4) with the
// same bits as the baseline dotSingle: 256-bit registers hold its first and
// second, and its third and fourth four-lane sums side by side.
float dotSingle(const float* x, const float* h, int L);

}  // namespace zel::resample::avx2
