// SPDX-License-Identifier: Apache-2.0
// The AVX2 path of zelsLogGauss: the single-precision members and the 16-bit
// members with single-precision lanes, in blocks of eight rows. The exported
// functions in log_gauss.cpp test the arguments and choose this path once
// per call, for the whole blocks of a call; the scores are the same bits as
// on the baseline path.
//
// This file is compiled for AVX2 (see CMakeLists.txt) and is empty in builds
// without the AVX2 kernels.
#if defined(ZELSR_HAVE_AVX2)

#include "scoring/log_gauss_avx2.hpp"

#include "scoring/log_gauss_kernels_avx2.hpp"

namespace zel::gauss::avx2 {
namespace {

// (-S + 2 * val) * 0.5, as the baseline sink of the single-precision members.
template <class X, class W>
void run32f(X src, const float* pMean, W w, int width, int rows, float twoVal, float* pDst) {
    floatSums(src, SameRow<float>{pMean}, w, width, rows,
              [=](int y0, F32x8 negS) { simd::avx2::storeu(pDst + y0, (negS + twoVal) * 0.5f); });
}

// A row's lane sum to its score, as WideFinish describes it.
F32x8 finishSum(const WideFinish& f, F32x8 sum) {
    const F32x8 scaled = f.divides ? sum / f.factor : sum * f.factor;
    switch (f.order) {
    case WideFinish::kScaledPlusVal: return scaled + f.val;
    case WideFinish::kValPlusScaled: return f.val + scaled;
    default: return f.val - scaled;
    }
}

template <class X, class W>
void runWide(X src, const int16_t* pMean, W w, int width, int rows, const WideFinish& f, void* pDst) {
    wideSums(src, SameRow<int16_t>{pMean}, w, width, rows, [&f, pDst](int y0, F32x8 sum) {
        const F32x8 r = finishSum(f, sum);
        if (f.toInt32) simd::avx2::storeu(static_cast<int32_t*>(pDst) + y0, simd::avx2::cvtTrunc(r));
        else simd::avx2::storeu(static_cast<float*>(pDst) + y0, r);
    });
}

}  // namespace

void scores32f(BlockRows<float> src, const float* pMean, const float* pVar, int width, int rows, float twoVal,
               float* pDst) {
    if (pVar) run32f(src, pMean, SameRow<float>{pVar}, width, rows, twoVal, pDst);
    else run32f(src, pMean, NoWeights{}, width, rows, twoVal, pDst);
}
void scores32f(TableRows<float> src, const float* pMean, const float* pVar, int width, int rows, float twoVal,
               float* pDst) {
    if (pVar) run32f(src, pMean, SameRow<float>{pVar}, width, rows, twoVal, pDst);
    else run32f(src, pMean, NoWeights{}, width, rows, twoVal, pDst);
}

void wideScores(BlockRows<int16_t> src, const int16_t* pMean, const int16_t* pVar, int width, int rows,
                const WideFinish& finish, void* pDst) {
    if (pVar) runWide(src, pMean, SameRow<int16_t>{pVar}, width, rows, finish, pDst);
    else runWide(src, pMean, NoWeights{}, width, rows, finish, pDst);
}
void wideScores(TableRows<int16_t> src, const int16_t* pMean, const int16_t* pVar, int width, int rows,
                const WideFinish& finish, void* pDst) {
    if (pVar) runWide(src, pMean, SameRow<int16_t>{pVar}, width, rows, finish, pDst);
    else runWide(src, pMean, NoWeights{}, width, rows, finish, pDst);
}

}  // namespace zel::gauss::avx2

#endif  // ZELSR_HAVE_AVX2
