// SPDX-License-Identifier: Apache-2.0
// What the exported functions of log_gauss.cpp hand to the AVX2 kernels of
// log_gauss_avx2.cpp. Only declarations and plain records: this header is
// read by files of both instruction sets.
#pragma once

#include <stdint.h>

#include "scoring/log_gauss_rows.hpp"

namespace zel::gauss {

// The last step of the 16-bit members with single-precision lanes, from a
// row's lane sum (T = -S with weights, S without) to its score: the sum is
// divided by `factor` or multiplied by it, then combined with val in the
// member's own order, and stored as a single or truncated toward zero into a
// Zel32s. Both paths finish from this one description.
struct WideFinish {
    enum Order : int { kScaledPlusVal, kValPlusScaled, kValMinusScaled };
    Order order;
    float factor;
    bool divides;
    float val;
    bool toInt32;
};

namespace avx2 {

// The kernels score rows 0 to rows - 1, where rows is a multiple of 8.

// (2 * val - S) * 0.5, for width 4 and up; a null pVar is the identity
// variance.
void scores32f(BlockRows<float> src, const float* pMean, const float* pVar, int width, int rows, float twoVal,
               float* pDst);
void scores32f(TableRows<float> src, const float* pMean, const float* pVar, int width, int rows, float twoVal,
               float* pDst);

// The scores of the 16-bit members with single-precision lanes, for width 8
// and up; pDst holds Zel32s or Zel32f as `finish` says.
void wideScores(BlockRows<int16_t> src, const int16_t* pMean, const int16_t* pVar, int width, int rows,
                const WideFinish& finish, void* pDst);
void wideScores(TableRows<int16_t> src, const int16_t* pMean, const int16_t* pVar, int width, int rows,
                const WideFinish& finish, void* pDst);

}  // namespace avx2
}  // namespace zel::gauss
