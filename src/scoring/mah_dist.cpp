// SPDX-License-Identifier: Apache-2.0
// zelsMahDist, zelsMahDistMultiMix and zelsMahDistSingle: the quadratic form
// S = sum of (x - mean)^2 * invVar itself, with no constant, no factor 1/2
// and no square root. zelsMahDist scores frames as rows against one
// Gaussian, zelsMahDistMultiMix one frame against rows of means and inverse
// variances (the difference taken mean minus frame, which squares the same);
// both run the frame kernels, row by row on four lanes in single precision.
#include "frame/checks.hpp"
#include "scoring/scoring_checks.hpp"
#include "frame/fixed.hpp"
#include "scoring/single_vector_kernels.hpp"
#include "zelsr.h"

namespace {

using namespace zel;
using namespace zel::gauss;
using namespace zel::single;

// The frame kernels return -S; 0 - (-S) is S with a positive zero.
template <class T, class X, class M, class W>
void distances(bool aligned, X x, M m, W w, int width, T* pDst, int height) {
    withAlignment(aligned, [&](auto a) {
        floatSums<decltype(a)::value>(x, m, w, width, height, [=](int y, auto negS) { put(pDst + y, T(0) - negS); });
    });
}

// Aligned D2 rows: a 16-byte base and a step that keeps the pitch (a
// multiple of 4 elements, single or double).
template <class T>
bool blockAligned(const T* p, int step) {
    return isAligned16(p) && step % 4 == 0;
}

template <class... P>
ZelStatus checkVector(int len, const P*... p) {
    return firstError(requireNonNull(p...), requirePositive(len));
}

template <class T>
ZelStatus mahDistD2L(const T** mSrc, const T* pMean, const T* pVar, int width, T* pDst, int height) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pDst)) return s;
    distances(ownRowsAligned(mSrc, height) == 0 && allAligned16(pMean, pVar), table(mSrc), same(pMean), same(pVar),
              width, pDst, height);
    return zelStsNoErr;
}

template <class T>
ZelStatus multiMixD2(const T* pMean, const T* pVar, int step, const T* pSrc, int width, T* pDst, int height) {
    if (ZelStatus s = checkD2(step, width, height, pMean, pVar, pSrc, pDst)) return s;
    distances(blockAligned(pMean, step) && allAligned16(pVar, pSrc), block(pMean, step), same(pSrc), block(pVar, step),
              width, pDst, height);
    return zelStsNoErr;
}

template <class T>
ZelStatus multiMixD2L(const T** mMean, const T** mVar, const T* pSrc, int width, T* pDst, int height) {
    if (ZelStatus s = checkD2L(width, height, mMean, mVar, pSrc, pDst)) return s;
    distances(ownRowsAligned(mMean, height) == 0 && ownRowsAligned(mVar, height) == 0 && isAligned16(pSrc),
              table(mMean), same(pSrc), table(mVar), width, pDst, height);
    return zelStsNoErr;
}

template <class T>
ZelStatus distanceSingle(const T* pSrc, const T* pMean, const T* pVar, int len, T* pResult) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    withAlignment(allAligned16(pSrc, pMean, pVar),
                  [&](auto a) { *pResult = distanceOneRow<decltype(a)::value>(pSrc, pMean, pVar, len); });
    return zelStsNoErr;
}

// S of 16-bit data as the frame kernels form it in single precision:
// differences saturated in groups of eight, the tail exact.
float wideDistance(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar, int len, bool aligned) {
    float negS = 0.0f;
    withAlignment(aligned, [&](auto a) {
        wideSums<decltype(a)::value>(same(pSrc), same(pMean), same(pVar), len, 1, [&](int, float t) { negS = t; });
    });
    return 0.0f - negS;
}

// Rounded to nearest, ties to even; out of the 32-bit range (2^31 and above
// included) the most negative integer, as the processor's conversion gives.
int32_t roundOrMin32(float s) {
    const float q = roundHalfEven(s);
    return q >= -2147483648.0f && q < 2147483648.0f ? static_cast<int32_t>(q) : kMin32;
}

}  // namespace

extern "C" {

// ---- Frames against one Gaussian -------------------------------------------------------

ZELSR_API ZelStatus zelsMahDist_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, const Zel32f* pVar,
                                       int width, Zel32f* pDst, int height) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pDst)) return s;
    distances(blockAligned(pSrc, step) && allAligned16(pMean, pVar), block(pSrc, step), same(pMean), same(pVar), width,
              pDst, height);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsMahDist_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, const Zel32f* pVar, int width,
                                        Zel32f* pDst, int height) {
    return mahDistD2L(mSrc, pMean, pVar, width, pDst, height);
}
// The aligned kernel of this member wants the step to be the width rounded
// up to a multiple of 4.
ZELSR_API ZelStatus zelsMahDist_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, const Zel64f* pVar,
                                       int width, Zel64f* pDst, int height) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pDst)) return s;
    const bool paddedStep = int64_t{step} == (int64_t{width} + 3) / 4 * 4;
    distances(isAligned16(pSrc) && paddedStep && allAligned16(pMean, pVar), block(pSrc, step), same(pMean), same(pVar),
              width, pDst, height);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsMahDist_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, const Zel64f* pVar, int width,
                                        Zel64f* pDst, int height) {
    return mahDistD2L(mSrc, pMean, pVar, width, pDst, height);
}

// ---- One frame against rows of Gaussians -------------------------------------------------

ZELSR_API ZelStatus zelsMahDistMultiMix_32f_D2(const Zel32f* pMean, const Zel32f* pVar, int step, const Zel32f* pSrc,
                                               int width, Zel32f* pDst, int height) {
    return multiMixD2(pMean, pVar, step, pSrc, width, pDst, height);
}
ZELSR_API ZelStatus zelsMahDistMultiMix_64f_D2(const Zel64f* pMean, const Zel64f* pVar, int step, const Zel64f* pSrc,
                                               int width, Zel64f* pDst, int height) {
    return multiMixD2(pMean, pVar, step, pSrc, width, pDst, height);
}
ZELSR_API ZelStatus zelsMahDistMultiMix_32f_D2L(const Zel32f** mMean, const Zel32f** mVar, const Zel32f* pSrc,
                                                int width, Zel32f* pDst, int height) {
    return multiMixD2L(mMean, mVar, pSrc, width, pDst, height);
}
ZELSR_API ZelStatus zelsMahDistMultiMix_64f_D2L(const Zel64f** mMean, const Zel64f** mVar, const Zel64f* pSrc,
                                                int width, Zel64f* pDst, int height) {
    return multiMixD2L(mMean, mVar, pSrc, width, pDst, height);
}

// ---- One vector --------------------------------------------------------------------------

ZELSR_API ZelStatus zelsMahDistSingle_32f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar, int len,
                                          Zel32f* pResult) {
    return distanceSingle(pSrc, pMean, pVar, len, pResult);
}
ZELSR_API ZelStatus zelsMahDistSingle_64f(const Zel64f* pSrc, const Zel64f* pMean, const Zel64f* pVar, int len,
                                          Zel64f* pResult) {
    return distanceSingle(pSrc, pMean, pVar, len, pResult);
}
// Each difference and product in double.
ZELSR_API ZelStatus zelsMahDistSingle_32f64f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar, int len,
                                             Zel64f* pResult) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    withAlignment(allAligned16(pSrc, pMean, pVar), [&](auto a) {
        *pResult = 0.0 - widenedNegSum<decltype(a)::value, true>(pSrc, pMean, pVar, len);
    });
    return zelStsNoErr;
}
// Both kernels form the frame sum, saturating the differences in groups of
// eight, so that alignment selects no result here.
ZELSR_API ZelStatus zelsMahDistSingle_16s32f(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar, int len,
                                             Zel32f* pResult) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    *pResult = wideDistance(pSrc, pMean, pVar, len, allAligned16(pSrc, pMean, pVar));
    return zelStsNoErr;
}
// The one function whose result depends on alignment: the unaligned kernel
// sums exactly in 64 bits and applies the scale factor by the shift rule;
// the aligned one sums in single precision with saturated differences,
// rounds, and ignores the scale factor.
ZELSR_API ZelStatus zelsMahDistSingle_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar, int len,
                                                 Zel32s* pResult, int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    if (allAligned16(pSrc, pMean, pVar))
        *pResult = roundOrMin32(wideDistance(pSrc, pMean, pVar, len, true));
    else
        *pResult = shiftSat32(exactDistance(pSrc, pMean, pVar, len), scaleFactor);
    return zelStsNoErr;
}

}  // extern "C"
