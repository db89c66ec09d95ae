// SPDX-License-Identifier: Apache-2.0
// The AVX2 entry points of the covariance accumulation (acc_update_avx2.cpp).
// Declarations only: this header is read by files of both instruction sets.
// Frames come as a D2 block (srcTable null) or a D2L table, the matrix
// likewise; d is scratch of 4 * width doubles. The sums are the same bits as
// on the baseline path.
#pragma once

#include <stdint.h>

namespace zel::est::avx2 {

void accumulateCovariance(const float* srcBase, int srcStep, const float* const* srcTable, int height,
                          const float* mean, double* dstBase, int dstStep, double* const* dstTable, int width,
                          double* d);
void accumulateCovariance(const int16_t* srcBase, int srcStep, const int16_t* const* srcTable, int height,
                          const int16_t* mean, double* dstBase, int dstStep, double* const* dstTable, int width,
                          double* d);

}  // namespace zel::est::avx2
