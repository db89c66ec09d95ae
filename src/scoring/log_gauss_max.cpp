// SPDX-License-Identifier: Apache-2.0
// zelsLogGaussMax: each row's score under one diagonal Gaussian, formed as
// the frame scoring forms it, replaces the running value pSrcDst[y] where it
// is greater (the Viterbi approximation of a mixture). The members with
// 32-bit integer results compare in single precision; their scores are
// formed with c = 2^-(s + 1) and clamped, unlike the frame scoring's.
#include "scoring/log_gauss_accum_kernels.hpp"

#include "zelsr.h"

namespace {

using namespace zel;
using namespace zel::gauss;
using namespace zel::gauss::acc;

// Frames of a D2 block or a D2L table against one Gaussian; the aligned
// kernel needs the frame rows, the mean and the weights on 16 bytes.
template <class X, class T, class W>
auto frames(X src, const T* pMean, W w, int width, int height) {
    return rows(src, same(pMean), w, width, aligned(src, height) && aligned(same(pMean), height) && aligned(w, height));
}

// ---- Floating-point results ---------------------------------------------------------

// 32f: (-S + 2 * val) * 0.5 at every width; the Max members have no short
// loop below width 4. The aligned kernel of the D2 form also asks for
// width 4 or more, which changes no result.
template <class X, class W>
ZelStatus max32f(X src, const Zel32f* pMean, W w, int width, Zel32f* pSrcDst, int height, Zel32f val) {
    auto r = frames(src, pMean, w, width, height);
    if constexpr (std::is_same_v<X, BlockRows<Zel32f>> && kWeighted<W>) r.fast = r.fast && width >= 4;
    halfOfSumPlusTwice(r, height, OneConst<Zel32f>{val}, KeepLarger32f{pSrcDst});
    return zelStsNoErr;
}

// 64f: -S * 0.5 + val, in both layouts.
template <class X, class W>
ZelStatus max64f(X src, const Zel64f* pMean, W w, int width, Zel64f* pSrcDst, int height, Zel64f val) {
    halfPlusConst(frames(src, pMean, w, width, height), height, OneConst<Zel64f>{val}, KeepLarger64f{pSrcDst});
    return zelStsNoErr;
}

template <class X, class W>
ZelStatus maxScaled(X src, const Zel16s* pMean, W w, int width, Zel32f* pSrcDst, int height, Zel32f val, int sf) {
    scaled(frames(src, pMean, w, width, height), height, scaledFactor(sf), OneConst<Zel32f>{val}, KeepLarger32f{pSrcDst});
    return zelStsNoErr;
}

template <class X>
ZelStatus maxLowScaled(X src, const Zel16s* pMean, const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                       Zel32f val, int sf) {
    lowScaled(frames(src, pMean, same(pVar), width, height), height, sf, OneConst<Zel32f>{val}, KeepLarger32f{pSrcDst});
    return zelStsNoErr;
}

template <class X>
ZelStatus maxIdVarLowScaled(X src, const Zel16s* pMean, int width, Zel32f* pSrcDst, int height, Zel32f val, int sf) {
    idVarLowScaled(frames(src, pMean, NoWeights{}, width, height), height, sf, OneConst<Zel32f>{val},
                   KeepLarger32f{pSrcDst});
    return zelStsNoErr;
}

// ---- 32-bit integer results, compared in single precision ----------------------------

// 16s32s: T * c + val as a single, clamped, then compared.
template <class X>
ZelStatus max16s32s(X src, const Zel16s* pMean, const Zel16s* pVar, int width, Zel32s* pSrcDst, int height, Zel32s val,
                    int sf) {
    scaled(frames(src, pMean, same(pVar), width, height), height, scaledFactor(sf),
           OneConst<Zel32f>{static_cast<Zel32f>(val)}, clamped(KeepLargerAsSingle{pSrcDst}));
    return zelStsNoErr;
}

// IdVar_16s32s: the clamp bites on T * c alone, and val is added after it.
template <class X>
ZelStatus maxIdVar16s32s(X src, const Zel16s* pMean, int width, Zel32s* pSrcDst, int height, Zel32s val, int sf) {
    const Zel32f c = scaledFactor(sf);
    const Zel32f fval = static_cast<Zel32f>(val);
    wideRun(frames(src, pMean, NoWeights{}, width, height), height,
            sink([=](int, Zel32f s) { return clampScore(-(s * c)) + fval; }, KeepLargerAsSingle{pSrcDst}));
    return zelStsNoErr;
}

// Low_16s32s: the frame scoring's integer score from scale factor 0 on, and
// val as a single plus T by the scale rule below it; no clamp.
template <class X>
ZelStatus maxLow16s32s(X src, const Zel16s* pMean, const Zel16s* pVar, int width, Zel32s* pSrcDst, int height,
                       Zel32s val, int sf) {
    const auto r = frames(src, pMean, same(pVar), width, height);
    if (sf < 0) lowScaled(r, height, sf, OneConst<Zel32f>{static_cast<Zel32f>(val)}, KeepLargerAsSingle{pSrcDst});
    else lowFixed(r, height, sf, OneConst<Zel32s>{val}, KeepLargerAsSingle{pSrcDst});
    return zelStsNoErr;
}

template <class X>
ZelStatus maxIdVarLow16s32s(X src, const Zel16s* pMean, int width, Zel32s* pSrcDst, int height, Zel32s val, int sf) {
    idLowFixed(frames(src, pMean, NoWeights{}, width, height), height, sf, OneConst<Zel32s>{val},
               KeepLargerAsSingle{pSrcDst});
    return zelStsNoErr;
}

}  // namespace

extern "C" {

// ---- Zel32f ----------------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussMax_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, const Zel32f* pVar,
                                           int width, Zel32f* pSrcDst, int height, Zel32f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return max32f(block(pSrc, step), pMean, same(pVar), width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussMax_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, const Zel32f* pVar, int width,
                                            Zel32f* pSrcDst, int height, Zel32f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pSrcDst)) return s;
    return max32f(table(mSrc), pMean, same(pVar), width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, int width,
                                                 Zel32f* pSrcDst, int height, Zel32f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pSrcDst)) return s;
    return max32f(block(pSrc, step), pMean, NoWeights{}, width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, int width,
                                                  Zel32f* pSrcDst, int height, Zel32f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pSrcDst)) return s;
    return max32f(table(mSrc), pMean, NoWeights{}, width, pSrcDst, height, val);
}

// ---- Zel64f ----------------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussMax_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, const Zel64f* pVar,
                                           int width, Zel64f* pSrcDst, int height, Zel64f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return max64f(block(pSrc, step), pMean, same(pVar), width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussMax_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, const Zel64f* pVar, int width,
                                            Zel64f* pSrcDst, int height, Zel64f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pSrcDst)) return s;
    return max64f(table(mSrc), pMean, same(pVar), width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, int width,
                                                 Zel64f* pSrcDst, int height, Zel64f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pSrcDst)) return s;
    return max64f(block(pSrc, step), pMean, NoWeights{}, width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, int width,
                                                  Zel64f* pSrcDst, int height, Zel64f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pSrcDst)) return s;
    return max64f(table(mSrc), pMean, NoWeights{}, width, pSrcDst, height, val);
}

// ---- Zel16s to Zel32s ------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussMax_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                 const Zel16s* pVar, int width, Zel32s* pSrcDst, int height,
                                                 Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return max16s32s(block(pSrc, step), pMean, pVar, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                  int width, Zel32s* pSrcDst, int height, Zel32s val,
                                                  int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pSrcDst)) return s;
    return max16s32s(table(mSrc), pMean, pVar, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_Low_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                     const Zel16s* pVar, int width, Zel32s* pSrcDst, int height,
                                                     Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return maxLow16s32s(block(pSrc, step), pMean, pVar, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_Low_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                      int width, Zel32s* pSrcDst, int height, Zel32s val,
                                                      int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pSrcDst)) return s;
    return maxLow16s32s(table(mSrc), pMean, pVar, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean, int width,
                                                       Zel32s* pSrcDst, int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pSrcDst)) return s;
    return maxIdVar16s32s(block(pSrc, step), pMean, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                        Zel32s* pSrcDst, int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pSrcDst)) return s;
    return maxIdVar16s32s(table(mSrc), pMean, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVarLow_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                          int width, Zel32s* pSrcDst, int height, Zel32s val,
                                                          int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pSrcDst)) return s;
    return maxIdVarLow16s32s(block(pSrc, step), pMean, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVarLow_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                           Zel32s* pSrcDst, int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pSrcDst)) return s;
    return maxIdVarLow16s32s(table(mSrc), pMean, width, pSrcDst, height, val, scaleFactor);
}

// ---- Zel16s to Zel32f ------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussMax_Scaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                     const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                     Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return maxScaled(block(pSrc, step), pMean, same(pVar), width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_Scaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                      int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                      int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pSrcDst)) return s;
    return maxScaled(table(mSrc), pMean, same(pVar), width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_LowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                        const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                        Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return maxLowScaled(block(pSrc, step), pMean, pVar, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_LowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean,
                                                         const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                         Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pSrcDst)) return s;
    return maxLowScaled(table(mSrc), pMean, pVar, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVarScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                          int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                          int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pSrcDst)) return s;
    return maxScaled(block(pSrc, step), pMean, NoWeights{}, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVarScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                           Zel32f* pSrcDst, int height, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pSrcDst)) return s;
    return maxScaled(table(mSrc), pMean, NoWeights{}, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVarLowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                             int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                             int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pSrcDst)) return s;
    return maxIdVarLowScaled(block(pSrc, step), pMean, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussMax_IdVarLowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                              Zel32f* pSrcDst, int height, Zel32f val,
                                                              int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pSrcDst)) return s;
    return maxIdVarLowScaled(table(mSrc), pMean, width, pSrcDst, height, val, scaleFactor);
}

}  // extern "C"
