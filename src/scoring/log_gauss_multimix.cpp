// SPDX-License-Identifier: Apache-2.0
// One frame against many diagonal Gaussians, the mean and inverse-variance
// rows in a D2 block (one step for both) or in two D2L tables:
//   zelsLogGaussMultiMix     the score of row y replaces the constant term
//                            that pSrcDst[y] holds;
//   zelsLogGaussMaxMultiMix  the score, from the constant pVal[y], replaces
//                            pSrcDst[y] where it is greater;
//   zelsLogGaussAddMultiMix  the score is added to pSrcDst[y] in the log
//                            domain, in blocks of 100 rows.
// The frame-scoring kernels run with the mean rows as frames and the frame
// as the mean, so the difference is mean minus frame, which decides the sign
// of a saturated 16-bit difference.
#include "scoring/log_gauss_multimix_kernels.hpp"

#include "scoring/log_domain_kernels.hpp"
#include "zelsr.h"

namespace {

using namespace zel;
using namespace zel::gauss;
using namespace zel::gauss::acc;

// The AddMultiMix block: 100 rows, not the 128 of zelsLogGaussAdd.
constexpr int kBlock = 100;

// The mean and variance rows against the frame. The aligned kernel needs
// the frame and every row of both matrices on 16 bytes, and the D2 step a
// multiple of 4 (Zel32f, Zel64f) or 8 (Zel16s); `more` adds pVal for the
// Max members.
template <class X>
auto gaussians(X mean, X var, const typename X::Elem* pSrc, int width, int height, bool more = true) {
    const SameRow<typename X::Elem> src{pSrc};
    return rows(mean, src, var, width, more && aligned(src, height) && aligned(mean, height) && aligned(var, height));
}

// ---- zelsLogGaussMultiMix: v = pSrcDst[y] ------------------------------------------------

// 32f: -S * 0.5 + v in single precision.
template <class X>
ZelStatus multiMix32f(X mean, X var, const Zel32f* pSrc, int width, Zel32f* pSrcDst, int height) {
    halfPlusConst(gaussians(mean, var, pSrc, width, height), height, RowConst<Zel32f>{pSrcDst}, Store32f{pSrcDst});
    return zelStsNoErr;
}

// 64f: (2 * v - S) * 0.5, with its own loop from 1000 rows on.
template <class X>
ZelStatus multiMix64f(X mean, X var, const Zel64f* pSrc, int width, Zel64f* pSrcDst, int height) {
    multiMixScore64f(gaussians(mean, var, pSrc, width, height), height, RowConst<Zel64f>{pSrcDst}, Store64f{pSrcDst});
    return zelStsNoErr;
}

// 16s32s: v as a single plus T by the frame scoring's scale rule, truncated.
// Low_16s32s takes that path below scale factor 0 and the integer Low sums,
// plus v, from 0 on.
template <class X>
ZelStatus multiMix16s32s(X mean, X var, const Zel16s* pSrc, int width, Zel32s* pSrcDst, int height, int sf, bool low) {
    const auto r = gaussians(mean, var, pSrc, width, height);
    if (low && sf >= 0) lowFixed(r, height, sf, RowConst<Zel32s>{pSrcDst}, Store32s{pSrcDst});
    else ruleFixed(r, height, sf, RowConst<Zel32f, Zel32s>{pSrcDst}, Store32s{pSrcDst});
    return zelStsNoErr;
}

// Scaled: T * c + v; LowScaled: the Low paths with v.
template <class X>
ZelStatus multiMixScaled(X mean, X var, const Zel16s* pSrc, int width, Zel32f* pSrcDst, int height, int sf, bool low) {
    const auto r = gaussians(mean, var, pSrc, width, height);
    if (low) lowScaled(r, height, sf, RowConst<Zel32f>{pSrcDst}, Store32f{pSrcDst});
    else scaled(r, height, scaledFactor(sf), RowConst<Zel32f>{pSrcDst}, Store32f{pSrcDst});
    return zelStsNoErr;
}

// ---- zelsLogGaussMaxMultiMix: the score from pVal[y], kept where greater --------------------

template <class X>
ZelStatus maxMix32f(X mean, X var, const Zel32f* pSrc, int width, const Zel32f* pVal, Zel32f* pSrcDst, int height) {
    halfPlusConst(gaussians(mean, var, pSrc, width, height, isAligned16(pVal)), height, RowConst<Zel32f>{pVal},
                  KeepLarger32f{pSrcDst});
    return zelStsNoErr;
}

template <class X>
ZelStatus maxMix64f(X mean, X var, const Zel64f* pSrc, int width, const Zel64f* pVal, Zel64f* pSrcDst, int height) {
    multiMixScore64f(gaussians(mean, var, pSrc, width, height, isAligned16(pVal)), height, RowConst<Zel64f>{pVal},
                KeepLarger64f{pSrcDst});
    return zelStsNoErr;
}

// 16s32s: T * c + pVal[y] as a single, clamped, compared in single
// precision, as zelsLogGaussMax_16s32s does.
template <class X>
ZelStatus maxMix16s32s(X mean, X var, const Zel16s* pSrc, int width, const Zel32s* pVal, Zel32s* pSrcDst, int height,
                       int sf) {
    scaled(gaussians(mean, var, pSrc, width, height, isAligned16(pVal)), height, scaledFactor(sf),
           RowConst<Zel32f, Zel32s>{pVal}, clamped(KeepLargerAsSingle{pSrcDst}));
    return zelStsNoErr;
}

// Low_16s32s: from scale factor 0 on, the integer score and the running
// value compare as 32-bit integers, so the running value keeps its exact
// value; below 0, pVal[y] as a single plus T by the scale rule, compared in
// single precision.
template <class X>
ZelStatus maxMixLow16s32s(X mean, X var, const Zel16s* pSrc, int width, const Zel32s* pVal, Zel32s* pSrcDst,
                          int height, int sf) {
    const auto r = gaussians(mean, var, pSrc, width, height, isAligned16(pVal));
    if (sf >= 0) lowFixed(r, height, sf, RowConst<Zel32s>{pVal}, KeepLarger32s{pSrcDst});
    else lowScaled(r, height, sf, RowConst<Zel32f, Zel32s>{pVal}, KeepLargerAsSingle{pSrcDst});
    return zelStsNoErr;
}

template <class X>
ZelStatus maxMixScaled(X mean, X var, const Zel16s* pSrc, int width, const Zel32f* pVal, Zel32f* pSrcDst, int height,
                       int sf, bool low) {
    const auto r = gaussians(mean, var, pSrc, width, height, isAligned16(pVal));
    if (low) lowScaled(r, height, sf, RowConst<Zel32f>{pVal}, KeepLarger32f{pSrcDst});
    else scaled(r, height, scaledFactor(sf), RowConst<Zel32f>{pVal}, KeepLarger32f{pSrcDst});
    return zelStsNoErr;
}

// ---- zelsLogGaussAddMultiMix: blocks of 100 rows ---------------------------------------------

// Each block's scores are formed from pVal as zelsLogGaussMultiMix forms them
// from pSrcDst, into the scratch, and folded into pSrcDst.
template <class R, class T, class Score>
void addMixBlocks(const R& r, const T* pVal, T* pSrcDst, int height, Score score) {
    foldBlocks<kBlock>(pSrcDst, height, [&](int first, int n, T* scratch) {
        score(r.from(first), n, RowConst<T>{pVal + first}, scratch);
    });
}

template <class X>
ZelStatus addMix32f(X mean, X var, const Zel32f* pSrc, int width, const Zel32f* pVal, Zel32f* pSrcDst, int height) {
    addMixBlocks(gaussians(mean, var, pSrc, width, height), pVal, pSrcDst, height,
                 [](const auto& b, int n, auto k, Zel32f* scratch) { halfPlusConst(b, n, k, Store32f{scratch}); });
    return zelStsNoErr;
}

// The D2L member alone keeps the split at 1000 rows: from there on it
// scores every row with the double members' own loop and folds it at once
// by the scalar double fold.
template <class X>
ZelStatus addMix64f(X mean, X var, const Zel64f* pSrc, int width, const Zel64f* pVal, Zel64f* pSrcDst, int height) {
    const auto r = gaussians(mean, var, pSrc, width, height);
    if (std::is_same_v<X, TableRows<Zel64f>> && height >= kManyRows) {
        twiceConstSums(r.x, r.m, r.w, width, height, RowConst<Zel64f>{pVal},
                       [=](int y, Zel64f g) { pSrcDst[y] = logd::foldHorner<logd::Set64>(g, pSrcDst[y]); });
        return zelStsNoErr;
    }
    addMixBlocks(r, pVal, pSrcDst, height, [](const auto& b, int n, auto k, Zel64f* scratch) {
        halfOfSumPlusTwice(b, n, k, Store64f{scratch});
    });
    return zelStsNoErr;
}

template <class X>
ZelStatus addMixScaled(X mean, X var, const Zel16s* pSrc, int width, const Zel32f* pVal, Zel32f* pSrcDst, int height,
                       int sf, bool low) {
    const Zel32f c = scaledFactor(sf);
    addMixBlocks(gaussians(mean, var, pSrc, width, height), pVal, pSrcDst, height,
                 [=](const auto& b, int n, auto k, Zel32f* scratch) {
                     if (low) lowScaled(b, n, sf, k, Store32f{scratch});
                     else scaled(b, n, c, k, Store32f{scratch});
                 });
    return zelStsNoErr;
}

}  // namespace

extern "C" {

// ---- zelsLogGaussMultiMix ------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussMultiMix_32f_D2(const Zel32f* pMean, const Zel32f* pVar, int step, const Zel32f* pSrc,
                                                int width, Zel32f* pSrcDst, int height) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return multiMix32f(block(pMean, step), block(pVar, step), pSrc, width, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_32f_D2L(const Zel32f** mMean, const Zel32f** mVar, const Zel32f* pSrc,
                                                 int width, Zel32f* pSrcDst, int height) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst)) return s;
    return multiMix32f(table(mMean), table(mVar), pSrc, width, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_64f_D2(const Zel64f* pMean, const Zel64f* pVar, int step, const Zel64f* pSrc,
                                                int width, Zel64f* pSrcDst, int height) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return multiMix64f(block(pMean, step), block(pVar, step), pSrc, width, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_64f_D2L(const Zel64f** mMean, const Zel64f** mVar, const Zel64f* pSrc,
                                                 int width, Zel64f* pSrcDst, int height) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst)) return s;
    return multiMix64f(table(mMean), table(mVar), pSrc, width, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_16s32s_D2Sfs(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                      const Zel16s* pSrc, int width, Zel32s* pSrcDst, int height,
                                                      int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return multiMix16s32s(block(pMean, step), block(pVar, step), pSrc, width, pSrcDst, height, scaleFactor, false);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_16s32s_D2LSfs(const Zel16s** mMean, const Zel16s** mVar, const Zel16s* pSrc,
                                                       int width, Zel32s* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst)) return s;
    return multiMix16s32s(table(mMean), table(mVar), pSrc, width, pSrcDst, height, scaleFactor, false);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_Low_16s32s_D2Sfs(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                          const Zel16s* pSrc, int width, Zel32s* pSrcDst, int height,
                                                          int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return multiMix16s32s(block(pMean, step), block(pVar, step), pSrc, width, pSrcDst, height, scaleFactor, true);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_Low_16s32s_D2LSfs(const Zel16s** mMean, const Zel16s** mVar,
                                                           const Zel16s* pSrc, int width, Zel32s* pSrcDst, int height,
                                                           int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst)) return s;
    return multiMix16s32s(table(mMean), table(mVar), pSrc, width, pSrcDst, height, scaleFactor, true);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_Scaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                          const Zel16s* pSrc, int width, Zel32f* pSrcDst, int height,
                                                          int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return multiMixScaled(block(pMean, step), block(pVar, step), pSrc, width, pSrcDst, height, scaleFactor, false);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_Scaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                           const Zel16s* pSrc, int width, Zel32f* pSrcDst, int height,
                                                           int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst)) return s;
    return multiMixScaled(table(mMean), table(mVar), pSrc, width, pSrcDst, height, scaleFactor, false);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_LowScaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                             const Zel16s* pSrc, int width, Zel32f* pSrcDst,
                                                             int height, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return multiMixScaled(block(pMean, step), block(pVar, step), pSrc, width, pSrcDst, height, scaleFactor, true);
}
ZELSR_API ZelStatus zelsLogGaussMultiMix_LowScaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                              const Zel16s* pSrc, int width, Zel32f* pSrcDst,
                                                              int height, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst)) return s;
    return multiMixScaled(table(mMean), table(mVar), pSrc, width, pSrcDst, height, scaleFactor, true);
}

// ---- zelsLogGaussMaxMultiMix ---------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_32f_D2(const Zel32f* pMean, const Zel32f* pVar, int step,
                                                   const Zel32f* pSrc, int width, const Zel32f* pVal,
                                                   Zel32f* pSrcDst, int height) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst, pVal)) return s;
    return maxMix32f(block(pMean, step), block(pVar, step), pSrc, width, pVal, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_32f_D2L(const Zel32f** mMean, const Zel32f** mVar, const Zel32f* pSrc,
                                                    int width, const Zel32f* pVal, Zel32f* pSrcDst, int height) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst, pVal)) return s;
    return maxMix32f(table(mMean), table(mVar), pSrc, width, pVal, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_64f_D2(const Zel64f* pMean, const Zel64f* pVar, int step,
                                                   const Zel64f* pSrc, int width, const Zel64f* pVal,
                                                   Zel64f* pSrcDst, int height) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst, pVal)) return s;
    return maxMix64f(block(pMean, step), block(pVar, step), pSrc, width, pVal, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_64f_D2L(const Zel64f** mMean, const Zel64f** mVar, const Zel64f* pSrc,
                                                    int width, const Zel64f* pVal, Zel64f* pSrcDst, int height) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst, pVal)) return s;
    return maxMix64f(table(mMean), table(mVar), pSrc, width, pVal, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_16s32s_D2Sfs(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                         const Zel16s* pSrc, int width, const Zel32s* pVal,
                                                         Zel32s* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst, pVal)) return s;
    return maxMix16s32s(block(pMean, step), block(pVar, step), pSrc, width, pVal, pSrcDst, height, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_16s32s_D2LSfs(const Zel16s** mMean, const Zel16s** mVar,
                                                          const Zel16s* pSrc, int width, const Zel32s* pVal,
                                                          Zel32s* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst, pVal)) return s;
    return maxMix16s32s(table(mMean), table(mVar), pSrc, width, pVal, pSrcDst, height, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                             const Zel16s* pSrc, int width, const Zel32s* pVal,
                                                             Zel32s* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst, pVal)) return s;
    return maxMixLow16s32s(block(pMean, step), block(pVar, step), pSrc, width, pVal, pSrcDst, height, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_Low_16s32s_D2LSfs(const Zel16s** mMean, const Zel16s** mVar,
                                                              const Zel16s* pSrc, int width, const Zel32s* pVal,
                                                              Zel32s* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst, pVal)) return s;
    return maxMixLow16s32s(table(mMean), table(mVar), pSrc, width, pVal, pSrcDst, height, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_Scaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                             const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                             Zel32f* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst, pVal)) return s;
    return maxMixScaled(block(pMean, step), block(pVar, step), pSrc, width, pVal, pSrcDst, height, scaleFactor, false);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_Scaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                              const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                              Zel32f* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst, pVal)) return s;
    return maxMixScaled(table(mMean), table(mVar), pSrc, width, pVal, pSrcDst, height, scaleFactor, false);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_LowScaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                                const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                                Zel32f* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst, pVal)) return s;
    return maxMixScaled(block(pMean, step), block(pVar, step), pSrc, width, pVal, pSrcDst, height, scaleFactor, true);
}
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_LowScaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                                 const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                                 Zel32f* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst, pVal)) return s;
    return maxMixScaled(table(mMean), table(mVar), pSrc, width, pVal, pSrcDst, height, scaleFactor, true);
}

// ---- zelsLogGaussAddMultiMix ---------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussAddMultiMix_32f_D2(const Zel32f* pMean, const Zel32f* pVar, int step,
                                                   const Zel32f* pSrc, int width, const Zel32f* pVal,
                                                   Zel32f* pSrcDst, int height) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst, pVal)) return s;
    return addMix32f(block(pMean, step), block(pVar, step), pSrc, width, pVal, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_32f_D2L(const Zel32f** mMean, const Zel32f** mVar, const Zel32f* pSrc,
                                                    int width, const Zel32f* pVal, Zel32f* pSrcDst, int height) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst, pVal)) return s;
    return addMix32f(table(mMean), table(mVar), pSrc, width, pVal, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_64f_D2(const Zel64f* pMean, const Zel64f* pVar, int step,
                                                   const Zel64f* pSrc, int width, const Zel64f* pVal,
                                                   Zel64f* pSrcDst, int height) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst, pVal)) return s;
    return addMix64f(block(pMean, step), block(pVar, step), pSrc, width, pVal, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_64f_D2L(const Zel64f** mMean, const Zel64f** mVar, const Zel64f* pSrc,
                                                    int width, const Zel64f* pVal, Zel64f* pSrcDst, int height) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst, pVal)) return s;
    return addMix64f(table(mMean), table(mVar), pSrc, width, pVal, pSrcDst, height);
}
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_Scaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                             const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                             Zel32f* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst, pVal)) return s;
    return addMixScaled(block(pMean, step), block(pVar, step), pSrc, width, pVal, pSrcDst, height, scaleFactor, false);
}
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_Scaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                              const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                              Zel32f* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst, pVal)) return s;
    return addMixScaled(table(mMean), table(mVar), pSrc, width, pVal, pSrcDst, height, scaleFactor, false);
}
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_LowScaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                                const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                                Zel32f* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst, pVal)) return s;
    return addMixScaled(block(pMean, step), block(pVar, step), pSrc, width, pVal, pSrcDst, height, scaleFactor, true);
}
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_LowScaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                                 const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                                 Zel32f* pSrcDst, int height, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, pSrc, mMean, mVar, pSrcDst, pVal)) return s;
    return addMixScaled(table(mMean), table(mVar), pSrc, width, pVal, pSrcDst, height, scaleFactor, true);
}

}  // extern "C"
