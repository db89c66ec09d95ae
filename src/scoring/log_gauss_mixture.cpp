// SPDX-License-Identifier: Apache-2.0
// zelsLogGaussMixture: the log-likelihood of a frame under a diagonal
// Gaussian mixture (16 plain members), and of many frames under the
// Gaussians that a bit table selects for each (8 Select members).
//
// Plain members test the pointers, then the step, then the sizes; Select
// members the pointers, then the sizes, then the step (D2) or every row
// pointer of their tables (D2L). The arithmetic is in
// log_gauss_mixture_kernels.hpp; here each member picks its score, its
// layout and its path.
#include "scoring/log_gauss_mixture_kernels.hpp"

#include "frame/checks.hpp"
#include "frame/toolkit.h"
#include "zelsr.h"

namespace {

using namespace zel;
using namespace zel::gauss;
using namespace zel::gauss::mix;

// ---- Plain members ----------------------------------------------------------------

template <class... P>
ZelStatus checkPlainD2(int step, int width, int height, const P*... p) {
    return firstError(requireNonNull(p...), requireStride(step, width), requirePositive(width, height));
}
template <class... P>
ZelStatus checkPlainD2L(int width, int height, const P*... p) {
    return firstError(requireNonNull(p...), requirePositive(width, height));
}

// The multi-mixture kernels: the mean rows against the frame (mean minus
// frame), weighted by the variance rows. The aligned kernel needs the frame
// and every row on 16 bytes; either gives the same bits.
template <class X>
auto mixtureRows(const typename X::Elem* pSrc, X mean, X var, int width, int height) {
    const SameRow<typename X::Elem> src{pSrc};
    return rows(mean, src, var, width, aligned(src, height) && aligned(mean, height) && aligned(var, height));
}

// The single-vector IdVar kernels: the frame against each mean row (frame
// minus mean).
template <class X>
auto idVarRows(const typename X::Elem* pSrc, X mean, int width, int height) {
    const SameRow<typename X::Elem> src{pSrc};
    return rows(src, mean, NoWeights{}, width, aligned(src, height) && aligned(mean, height));
}

template <class R, class T, class Score>
ZelStatus mixture(const R& r, const T* pVal, int height, T* pResult, Score score) {
    *pResult = blockLogSum(r, pVal, height, score);
    return zelStsNoErr;
}

// ---- Select members ------------------------------------------------------------

template <class... P>
ZelStatus checkSelectD2(int step, int width, int nGauss, int height, const P*... p) {
    return firstError(requireNonNull(p...), requirePositive(width, nGauss, height), requireStride(step, width));
}

// The frame table has height rows and the Gaussian tables nGauss rows; the
// Select members, unlike the other D2L functions, test every row pointer,
// after the pointers and the sizes.
template <class T, class... P>
ZelStatus checkSelectD2L(int width, int nGauss, int height, const T** mSrc, const T** mMean, const T** mVar,
                         const P*... p) {
    if (ZelStatus s = firstError(requireNonNull(mSrc, mMean, mVar, p...), requirePositive(width, nGauss, height)))
        return s;
    return firstError(requireTableRows(mSrc, height), requireTableRows(mMean, nGauss), requireTableRows(mVar, nGauss));
}
template <class T, class... P>
ZelStatus checkSelectIdVarD2L(int width, int nGauss, int height, const T** mSrc, const T** mMean, const P*... p) {
    if (ZelStatus s = firstError(requireNonNull(mSrc, mMean, p...), requirePositive(width, nGauss, height))) return s;
    return firstError(requireTableRows(mSrc, height), requireTableRows(mMean, nGauss));
}

// The general path, with a 16-bit counter per frame from the heap; `score`
// calls the zelsLogGaussSingle member of the same suffixes, whose status
// is not looked at.
template <class Score>
ZelStatus general(const Zel8u* pSelect, int nGauss, Zel32f* pDst, int height, Zel32f noneValue, Score score) {
    Zel16s* const count = ownMalloc_16s(height);
    if (!count) return zelStsMemAllocErr;
    generalSelect(pSelect, nGauss, pDst, height, noneValue, reinterpret_cast<uint16_t*>(count), score);
    ownFree(count);
    return zelStsNoErr;
}

// Select_32f_D2 and SelectScaled_16s32f_D2: the general path up to 8
// Gaussians or for one frame; above, the small table up to 20 by 20 (for the
// 16-bit member below 20 frames), the large one beyond.
template <class T, class Score, class General>
ZelStatus selectTuned(const Tuned<T, Score>& t, Zel32f* pDst, int height, Zel32f noneValue, int smallHeightLimit,
                      General generalScore) {
    if (t.nGauss <= 8 || height < 2) return general(t.pSelect, t.nGauss, pDst, height, noneValue, generalScore);
    if (t.nGauss <= kSmallMax && height <= smallHeightLimit) return smallTable(t, pDst, height, noneValue);
    largeTable(t, pDst, height, noneValue);
    return zelStsNoErr;
}

template <class T>
bool tunedAligned(const T* pSrc, const T* pMean, const T* pVar, int step, const Zel32f* pVal) {
    return allAligned16(pSrc, pMean, pVar, pVal) && step % kStepMultiple<T> == 0;
}

template <class T>
const T* at(const T* p, int step, int y) {
    return p + static_cast<ptrdiff_t>(y) * step;
}

}  // namespace

extern "C" {

// ---- Plain members ----------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussMixture_32f_D2(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar,
                                               int height, int step, int width, const Zel32f* pVal,
                                               Zel32f* pResult) {
    if (ZelStatus s = checkPlainD2(step, width, height, pSrc, pMean, pVar, pVal, pResult)) return s;
    return mixture(mixtureRows(pSrc, block(pMean, step), block(pVar, step), width, height), pVal, height, pResult,
                   HalfPlusConst{});
}
ZELSR_API ZelStatus zelsLogGaussMixture_32f_D2L(const Zel32f* pSrc, const Zel32f** mMean, const Zel32f** mVar,
                                                int height, int width, const Zel32f* pVal, Zel32f* pResult) {
    if (ZelStatus s = checkPlainD2L(width, height, pSrc, mMean, mVar, pVal, pResult)) return s;
    return mixture(mixtureRows(pSrc, table(mMean), table(mVar), width, height), pVal, height, pResult,
                   HalfPlusConst{});
}
ZELSR_API ZelStatus zelsLogGaussMixture_64f_D2(const Zel64f* pSrc, const Zel64f* pMean, const Zel64f* pVar,
                                               int height, int step, int width, const Zel64f* pVal,
                                               Zel64f* pResult) {
    if (ZelStatus s = checkPlainD2(step, width, height, pSrc, pMean, pVar, pVal, pResult)) return s;
    return mixture(mixtureRows(pSrc, block(pMean, step), block(pVar, step), width, height), pVal, height, pResult,
                   MultiMix64f{});
}
ZELSR_API ZelStatus zelsLogGaussMixture_64f_D2L(const Zel64f* pSrc, const Zel64f** mMean, const Zel64f** mVar,
                                                int height, int width, const Zel64f* pVal, Zel64f* pResult) {
    if (ZelStatus s = checkPlainD2L(width, height, pSrc, mMean, mVar, pVal, pResult)) return s;
    return mixture(mixtureRows(pSrc, table(mMean), table(mVar), width, height), pVal, height, pResult,
                   MultiMix64f{});
}
ZELSR_API ZelStatus zelsLogGaussMixture_Scaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean,
                                                         const Zel16s* pVar, int height, int step, int width,
                                                         const Zel32f* pVal, Zel32f* pResult, int scaleFactor) {
    if (ZelStatus s = checkPlainD2(step, width, height, pSrc, pMean, pVar, pVal, pResult)) return s;
    return mixture(mixtureRows(pSrc, block(pMean, step), block(pVar, step), width, height), pVal, height, pResult,
                   ScaledSum{scaledFactor(scaleFactor)});
}
ZELSR_API ZelStatus zelsLogGaussMixture_Scaled_16s32f_D2L(const Zel16s* pSrc, const Zel16s** mMean,
                                                          const Zel16s** mVar, int height, int width,
                                                          const Zel32f* pVal, Zel32f* pResult, int scaleFactor) {
    if (ZelStatus s = checkPlainD2L(width, height, pSrc, mMean, mVar, pVal, pResult)) return s;
    return mixture(mixtureRows(pSrc, table(mMean), table(mVar), width, height), pVal, height, pResult,
                   ScaledSum{scaledFactor(scaleFactor)});
}
ZELSR_API ZelStatus zelsLogGaussMixture_LowScaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean,
                                                            const Zel16s* pVar, int height, int step, int width,
                                                            const Zel32f* pVal, Zel32f* pResult, int scaleFactor) {
    if (ZelStatus s = checkPlainD2(step, width, height, pSrc, pMean, pVar, pVal, pResult)) return s;
    return mixture(mixtureRows(pSrc, block(pMean, step), block(pVar, step), width, height), pVal, height, pResult,
                   LowScaledSum{scaleFactor});
}
ZELSR_API ZelStatus zelsLogGaussMixture_LowScaled_16s32f_D2L(const Zel16s* pSrc, const Zel16s** mMean,
                                                             const Zel16s** mVar, int height, int width,
                                                             const Zel32f* pVal, Zel32f* pResult, int scaleFactor) {
    if (ZelStatus s = checkPlainD2L(width, height, pSrc, mMean, mVar, pVal, pResult)) return s;
    return mixture(mixtureRows(pSrc, table(mMean), table(mVar), width, height), pVal, height, pResult,
                   LowScaledSum{scaleFactor});
}

// The blocks of the other members would come first, but their result has no
// effect: only the scores folded one by one stand, so they alone are formed.
ZELSR_API ZelStatus zelsLogGaussMixture_IdVar_32f_D2(const Zel32f* pSrc, const Zel32f* pMean, int height, int step,
                                                     int width, const Zel32f* pVal, Zel32f* pResult) {
    if (ZelStatus s = checkPlainD2(step, width, height, pSrc, pMean, pVal, pResult)) return s;
    *pResult = idVarOneByOne(pSrc, block(pMean, step), width, pVal, height);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussMixture_IdVar_32f_D2L(const Zel32f* pSrc, const Zel32f** mMean, int height,
                                                      int width, const Zel32f* pVal, Zel32f* pResult) {
    if (ZelStatus s = checkPlainD2L(width, height, pSrc, mMean, pVal, pResult)) return s;
    return mixture(idVarRows(pSrc, table(mMean), width, height), pVal, height, pResult, TwiceConstThenHalf{});
}
ZELSR_API ZelStatus zelsLogGaussMixture_IdVar_64f_D2(const Zel64f* pSrc, const Zel64f* pMean, int height, int step,
                                                     int width, const Zel64f* pVal, Zel64f* pResult) {
    if (ZelStatus s = checkPlainD2(step, width, height, pSrc, pMean, pVal, pResult)) return s;
    return mixture(idVarRows(pSrc, block(pMean, step), width, height), pVal, height, pResult, HalfPlusConst{});
}
ZELSR_API ZelStatus zelsLogGaussMixture_IdVar_64f_D2L(const Zel64f* pSrc, const Zel64f** mMean, int height,
                                                      int width, const Zel64f* pVal, Zel64f* pResult) {
    if (ZelStatus s = checkPlainD2L(width, height, pSrc, mMean, pVal, pResult)) return s;
    return mixture(idVarRows(pSrc, table(mMean), width, height), pVal, height, pResult, HalfPlusConst{});
}
ZELSR_API ZelStatus zelsLogGaussMixture_IdVarScaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean, int height,
                                                              int step, int width, const Zel32f* pVal,
                                                              Zel32f* pResult, int scaleFactor) {
    if (ZelStatus s = checkPlainD2(step, width, height, pSrc, pMean, pVal, pResult)) return s;
    return mixture(idVarRows(pSrc, block(pMean, step), width, height), pVal, height, pResult,
                   ScaledSum{scaledFactor(scaleFactor)});
}
ZELSR_API ZelStatus zelsLogGaussMixture_IdVarScaled_16s32f_D2L(const Zel16s* pSrc, const Zel16s** mMean, int height,
                                                               int width, const Zel32f* pVal, Zel32f* pResult,
                                                               int scaleFactor) {
    if (ZelStatus s = checkPlainD2L(width, height, pSrc, mMean, pVal, pResult)) return s;
    return mixture(idVarRows(pSrc, table(mMean), width, height), pVal, height, pResult,
                   ScaledSum{scaledFactor(scaleFactor)});
}
ZELSR_API ZelStatus zelsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean,
                                                                 int height, int step, int width,
                                                                 const Zel32f* pVal, Zel32f* pResult,
                                                                 int scaleFactor) {
    if (ZelStatus s = checkPlainD2(step, width, height, pSrc, pMean, pVal, pResult)) return s;
    return mixture(idVarRows(pSrc, block(pMean, step), width, height), pVal, height, pResult,
                   IdVarLowScaledSum{scaleFactor});
}
ZELSR_API ZelStatus zelsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Zel16s* pSrc, const Zel16s** mMean,
                                                                  int height, int width, const Zel32f* pVal,
                                                                  Zel32f* pResult, int scaleFactor) {
    if (ZelStatus s = checkPlainD2L(width, height, pSrc, mMean, pVal, pResult)) return s;
    return mixture(idVarRows(pSrc, table(mMean), width, height), pVal, height, pResult,
                   IdVarLowScaledSum{scaleFactor});
}

// ---- Select members ------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussMixture_Select_32f_D2(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar,
                                                      int step, int width, const Zel32f* pVal, const Zel8u* pSelect,
                                                      int nGauss, Zel32f* pDst, int height, Zel32f noneValue) {
    if (ZelStatus s = checkSelectD2(step, width, nGauss, height, pSrc, pMean, pVar, pVal, pSelect, pDst)) return s;
    const Tuned<Zel32f, TwiceConstThenHalf> t{pSrc,   pMean,  pVar, step, width, pVal, pSelect,
                                     nGauss, tunedAligned(pSrc, pMean, pVar, step, pVal), {}};
    return selectTuned(t, pDst, height, noneValue, kSmallMax, [&](int f, int g) {
        Zel32f r = 0.0f;
        zelsLogGaussSingle_32f(at(pSrc, step, f), at(pMean, step, g), at(pVar, step, g), width, &r, pVal[g]);
        return r;
    });
}
ZELSR_API ZelStatus zelsLogGaussMixture_SelectScaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean,
                                                               const Zel16s* pVar, int step, int width,
                                                               const Zel32f* pVal, const Zel8u* pSelect, int nGauss,
                                                               Zel32f* pDst, int height, Zel32f noneValue,
                                                               int scaleFactor) {
    if (ZelStatus s = checkSelectD2(step, width, nGauss, height, pSrc, pMean, pVar, pVal, pSelect, pDst)) return s;
    const Tuned<Zel16s, ScaledSum> t{pSrc,   pMean,  pVar, step, width, pVal, pSelect,
                                        nGauss, tunedAligned(pSrc, pMean, pVar, step, pVal),
                                        {scaledFactor(scaleFactor)}};
    // The one size comparison in which this member differs: below 20 frames.
    return selectTuned(t, pDst, height, noneValue, kSmallMax - 1, [&](int f, int g) {
        Zel32f r = 0.0f;
        zelsLogGaussSingle_Scaled_16s32f(at(pSrc, step, f), at(pMean, step, g), at(pVar, step, g), width, &r, pVal[g],
                                         scaleFactor);
        return r;
    });
}
ZELSR_API ZelStatus zelsLogGaussMixture_SelectIdVar_32f_D2(const Zel32f* pSrc, const Zel32f* pMean, int step,
                                                           int width, const Zel32f* pVal, const Zel8u* pSelect,
                                                           int nGauss, Zel32f* pDst, int height, Zel32f noneValue) {
    if (ZelStatus s = checkSelectD2(step, width, nGauss, height, pSrc, pMean, pVal, pSelect, pDst)) return s;
    return general(pSelect, nGauss, pDst, height, noneValue, [&](int f, int g) {
        Zel32f r = 0.0f;
        zelsLogGaussSingle_IdVar_32f(at(pSrc, step, f), at(pMean, step, g), width, &r, pVal[g]);
        return r;
    });
}
ZELSR_API ZelStatus zelsLogGaussMixture_SelectIdVarScaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean,
                                                                    int step, int width, const Zel32f* pVal,
                                                                    const Zel8u* pSelect, int nGauss, Zel32f* pDst,
                                                                    int height, Zel32f noneValue, int scaleFactor) {
    if (ZelStatus s = checkSelectD2(step, width, nGauss, height, pSrc, pMean, pVal, pSelect, pDst)) return s;
    return general(pSelect, nGauss, pDst, height, noneValue, [&](int f, int g) {
        Zel32f r = 0.0f;
        zelsLogGaussSingle_IdVarScaled_16s32f(at(pSrc, step, f), at(pMean, step, g), width, &r, pVal[g],
                                              scaleFactor);
        return r;
    });
}

ZELSR_API ZelStatus zelsLogGaussMixture_Select_32f_D2L(const Zel32f** mSrc, const Zel32f** mMean,
                                                       const Zel32f** mVar, int width, const Zel32f* pVal,
                                                       const Zel8u* pSelect, int nGauss, Zel32f* pDst, int height,
                                                       Zel32f noneValue) {
    if (ZelStatus s = checkSelectD2L(width, nGauss, height, mSrc, mMean, mVar, pVal, pSelect, pDst)) return s;
    return general(pSelect, nGauss, pDst, height, noneValue, [&](int f, int g) {
        Zel32f r = 0.0f;
        zelsLogGaussSingle_32f(mSrc[f], mMean[g], mVar[g], width, &r, pVal[g]);
        return r;
    });
}
ZELSR_API ZelStatus zelsLogGaussMixture_SelectScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s** mMean,
                                                                const Zel16s** mVar, int width, const Zel32f* pVal,
                                                                const Zel8u* pSelect, int nGauss, Zel32f* pDst,
                                                                int height, Zel32f noneValue, int scaleFactor) {
    if (ZelStatus s = checkSelectD2L(width, nGauss, height, mSrc, mMean, mVar, pVal, pSelect, pDst)) return s;
    return general(pSelect, nGauss, pDst, height, noneValue, [&](int f, int g) {
        Zel32f r = 0.0f;
        zelsLogGaussSingle_Scaled_16s32f(mSrc[f], mMean[g], mVar[g], width, &r, pVal[g], scaleFactor);
        return r;
    });
}
ZELSR_API ZelStatus zelsLogGaussMixture_SelectIdVar_32f_D2L(const Zel32f** mSrc, const Zel32f** mMean, int width,
                                                            const Zel32f* pVal, const Zel8u* pSelect, int nGauss,
                                                            Zel32f* pDst, int height, Zel32f noneValue) {
    if (ZelStatus s = checkSelectIdVarD2L(width, nGauss, height, mSrc, mMean, pVal, pSelect, pDst))
        return s;
    return general(pSelect, nGauss, pDst, height, noneValue, [&](int f, int g) {
        Zel32f r = 0.0f;
        zelsLogGaussSingle_IdVar_32f(mSrc[f], mMean[g], width, &r, pVal[g]);
        return r;
    });
}
ZELSR_API ZelStatus zelsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s** mMean,
                                                                     int width, const Zel32f* pVal,
                                                                     const Zel8u* pSelect, int nGauss, Zel32f* pDst,
                                                                     int height, Zel32f noneValue, int scaleFactor) {
    if (ZelStatus s = checkSelectIdVarD2L(width, nGauss, height, mSrc, mMean, pVal, pSelect, pDst))
        return s;
    return general(pSelect, nGauss, pDst, height, noneValue, [&](int f, int g) {
        Zel32f r = 0.0f;
        zelsLogGaussSingle_IdVarScaled_16s32f(mSrc[f], mMean[g], width, &r, pVal[g], scaleFactor);
        return r;
    });
}

}  // extern "C"
