// SPDX-License-Identifier: Apache-2.0
// zelsOutProbPreCalc: the constant term val of the scoring functions, one per
// Gaussian, as a - b / 2 with a the log weight and b the sum of the log
// variances and the dimensional term. The in-place members overwrite b.
#include "frame/checks.hpp"
#include "scoring/single_vector_kernels.hpp"
#include "zelsr.h"

namespace {

using namespace zel;

template <class T>
ZelStatus preCalc(const T* pSrcA, const T* pSrcB, T* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrcA, pSrcB, pDst), requirePositive(len))) return s;
    single::halveAndSubtract(pSrcA, pSrcB, pDst, len);
    return zelStsNoErr;
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsOutProbPreCalc_32f(const Zel32f* pSrcA, const Zel32f* pSrcB, Zel32f* pDst, int len) {
    return preCalc(pSrcA, pSrcB, pDst, len);
}
ZELSR_API ZelStatus zelsOutProbPreCalc_64f(const Zel64f* pSrcA, const Zel64f* pSrcB, Zel64f* pDst, int len) {
    return preCalc(pSrcA, pSrcB, pDst, len);
}
ZELSR_API ZelStatus zelsOutProbPreCalc_32s(const Zel32s* pSrcA, const Zel32s* pSrcB, Zel32s* pDst, int len) {
    return preCalc(pSrcA, pSrcB, pDst, len);
}
ZELSR_API ZelStatus zelsOutProbPreCalc_32f_I(const Zel32f* pSrc, Zel32f* pSrcDst, int len) {
    return preCalc<Zel32f>(pSrc, pSrcDst, pSrcDst, len);
}
ZELSR_API ZelStatus zelsOutProbPreCalc_64f_I(const Zel64f* pSrc, Zel64f* pSrcDst, int len) {
    return preCalc<Zel64f>(pSrc, pSrcDst, pSrcDst, len);
}
ZELSR_API ZelStatus zelsOutProbPreCalc_32s_I(const Zel32s* pSrc, Zel32s* pSrcDst, int len) {
    return preCalc<Zel32s>(pSrc, pSrcDst, pSrcDst, len);
}

}  // extern "C"
