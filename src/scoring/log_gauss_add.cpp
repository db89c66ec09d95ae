// SPDX-License-Identifier: Apache-2.0
// zelsLogGaussAdd: each row's score under one diagonal Gaussian, formed as
// the frame scoring forms it, is added to the running value pSrcDst[y] in
// the log domain (the exact sum of a mixture's components). Rows go in
// blocks of 128: the block is scored into a stack scratch, which the
// accurate log-add then folds into pSrcDst.
#include "scoring/log_gauss_accum_kernels.hpp"

#include "scoring/log_domain_kernels.hpp"
#include "zelsr.h"

namespace {

using namespace zel;
using namespace zel::gauss;
using namespace zel::gauss::acc;

constexpr int kBlock = 128;

// Frames of a D2 block or a D2L table against one Gaussian; the aligned
// kernel needs the frame rows, the mean and the weights on 16 bytes.
template <class X, class T, class W>
auto frames(X src, const T* pMean, W w, int width, int height) {
    return rows(src, same(pMean), w, width, aligned(src, height) && aligned(same(pMean), height) && aligned(w, height));
}

// Scores every block with `score(rows from the block's first row, n,
// scratch)` and folds it in.
template <class R, class T, class Score>
void addBlocks(const R& r, T* pSrcDst, int height, Score score) {
    foldBlocks<kBlock>(pSrcDst, height, [&](int first, int n, T* scratch) { score(r.from(first), n, scratch); });
}

// 32f: (-S + 2 * val) * 0.5, as the frame scoring's kernel forms it.
template <class R>
void add32f(const R& r, Zel32f* pSrcDst, int height, Zel32f val) {
    addBlocks(r, pSrcDst, height, [&](const R& b, int n, Zel32f* scratch) {
        halfOfSumPlusTwice(b, n, OneConst<Zel32f>{val}, Store32f{scratch});
    });
}

// The D2 32f members below width 4 go row by row: the frame scoring's short
// loop subtracts the terms from 2 * val, and the score folds into the
// running value by the scalar fold in double with the single set's
// coefficients, rounded to single.
template <class X, class W>
ZelStatus add32fD2(X src, const Zel32f* pMean, W w, int width, Zel32f* pSrcDst, int height, Zel32f val) {
    if (width < 4) {
        columnSums(src, same(pMean), w, width, height, 2.0f * val, [=](int y, Zel32f r) {
            pSrcDst[y] = static_cast<Zel32f>(logd::foldHorner<logd::Set32>(r * 0.5f, pSrcDst[y]));
        });
    } else {
        add32f(frames(src, pMean, w, width, height), pSrcDst, height, val);
    }
    return zelStsNoErr;
}

// The D2L members have no short loop.
template <class X, class W>
ZelStatus add32fD2L(X src, const Zel32f* pMean, W w, int width, Zel32f* pSrcDst, int height, Zel32f val) {
    add32f(frames(src, pMean, w, width, height), pSrcDst, height, val);
    return zelStsNoErr;
}

// 64f as the frame scoring: -S * 0.5 + val in D2 form, (-S + 2 * val) * 0.5
// in D2L form. The aligned D2 kernel asks for an even step only.
template <class W>
ZelStatus add64fD2(const Zel64f* pSrc, int step, const Zel64f* pMean, W w, int width, Zel64f* pSrcDst, int height,
                   Zel64f val) {
    const BlockRows<Zel64f> src{pSrc, step};
    auto r = frames(src, pMean, w, width, height);
    r.fast = aligned(src, height, 2) && aligned(same(pMean), height) && aligned(w, height);
    addBlocks(r, pSrcDst, height, [&](const auto& b, int n, Zel64f* scratch) {
        halfPlusConst(b, n, OneConst<Zel64f>{val}, Store64f{scratch});
    });
    return zelStsNoErr;
}
template <class W>
ZelStatus add64fD2L(const Zel64f** mSrc, const Zel64f* pMean, W w, int width, Zel64f* pSrcDst, int height,
                    Zel64f val) {
    addBlocks(frames(TableRows<Zel64f>{mSrc}, pMean, w, width, height), pSrcDst, height,
              [&](const auto& b, int n, Zel64f* scratch) {
                  halfOfSumPlusTwice(b, n, OneConst<Zel64f>{val}, Store64f{scratch});
              });
    return zelStsNoErr;
}

// Scaled and IdVarScaled. The aligned kernel of Scaled_16s32f_D2 also asks
// for width 4 or more, which changes no result.
template <class X, class W>
ZelStatus addScaled(X src, const Zel16s* pMean, W w, int width, Zel32f* pSrcDst, int height, Zel32f val, int sf) {
    auto r = frames(src, pMean, w, width, height);
    if constexpr (std::is_same_v<X, BlockRows<Zel16s>> && kWeighted<W>) r.fast = r.fast && width >= 4;
    const Zel32f c = scaledFactor(sf);
    addBlocks(r, pSrcDst, height, [&](const auto& b, int n, Zel32f* scratch) {
        scaled(b, n, c, OneConst<Zel32f>{val}, Store32f{scratch});
    });
    return zelStsNoErr;
}

template <class X>
ZelStatus addLowScaled(X src, const Zel16s* pMean, const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                       Zel32f val, int sf) {
    addBlocks(frames(src, pMean, same(pVar), width, height), pSrcDst, height,
              [&](const auto& b, int n, Zel32f* scratch) {
                  lowScaled(b, n, sf, OneConst<Zel32f>{val}, Store32f{scratch});
              });
    return zelStsNoErr;
}

template <class X>
ZelStatus addIdVarLowScaled(X src, const Zel16s* pMean, int width, Zel32f* pSrcDst, int height, Zel32f val, int sf) {
    addBlocks(frames(src, pMean, NoWeights{}, width, height), pSrcDst, height,
              [&](const auto& b, int n, Zel32f* scratch) {
                  idVarLowScaled(b, n, sf, OneConst<Zel32f>{val}, Store32f{scratch});
              });
    return zelStsNoErr;
}

}  // namespace

extern "C" {

// ---- Zel32f ----------------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussAdd_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, const Zel32f* pVar,
                                           int width, Zel32f* pSrcDst, int height, Zel32f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return add32fD2(block(pSrc, step), pMean, same(pVar), width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussAdd_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, const Zel32f* pVar, int width,
                                            Zel32f* pSrcDst, int height, Zel32f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pSrcDst)) return s;
    return add32fD2L(table(mSrc), pMean, same(pVar), width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussAdd_IdVar_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, int width,
                                                 Zel32f* pSrcDst, int height, Zel32f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pSrcDst)) return s;
    return add32fD2(block(pSrc, step), pMean, NoWeights{}, width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussAdd_IdVar_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, int width,
                                                  Zel32f* pSrcDst, int height, Zel32f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pSrcDst)) return s;
    return add32fD2L(table(mSrc), pMean, NoWeights{}, width, pSrcDst, height, val);
}

// ---- Zel64f ----------------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussAdd_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, const Zel64f* pVar,
                                           int width, Zel64f* pSrcDst, int height, Zel64f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return add64fD2(pSrc, step, pMean, same(pVar), width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussAdd_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, const Zel64f* pVar, int width,
                                            Zel64f* pSrcDst, int height, Zel64f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pSrcDst)) return s;
    return add64fD2L(mSrc, pMean, same(pVar), width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussAdd_IdVar_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, int width,
                                                 Zel64f* pSrcDst, int height, Zel64f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pSrcDst)) return s;
    return add64fD2(pSrc, step, pMean, NoWeights{}, width, pSrcDst, height, val);
}
ZELSR_API ZelStatus zelsLogGaussAdd_IdVar_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, int width,
                                                  Zel64f* pSrcDst, int height, Zel64f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pSrcDst)) return s;
    return add64fD2L(mSrc, pMean, NoWeights{}, width, pSrcDst, height, val);
}

// ---- Zel16s to Zel32f ------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussAdd_Scaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                     const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                     Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return addScaled(block(pSrc, step), pMean, same(pVar), width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussAdd_Scaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                      int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                      int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pSrcDst)) return s;
    return addScaled(table(mSrc), pMean, same(pVar), width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussAdd_LowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                        const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                        Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pSrcDst)) return s;
    return addLowScaled(block(pSrc, step), pMean, pVar, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussAdd_LowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean,
                                                         const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                         Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pSrcDst)) return s;
    return addLowScaled(table(mSrc), pMean, pVar, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussAdd_IdVarScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                          int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                          int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pSrcDst)) return s;
    return addScaled(block(pSrc, step), pMean, NoWeights{}, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussAdd_IdVarScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                           Zel32f* pSrcDst, int height, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pSrcDst)) return s;
    return addScaled(table(mSrc), pMean, NoWeights{}, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussAdd_IdVarLowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                             int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                             int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pSrcDst)) return s;
    return addIdVarLowScaled(block(pSrc, step), pMean, width, pSrcDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussAdd_IdVarLowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                              Zel32f* pSrcDst, int height, Zel32f val,
                                                              int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pSrcDst)) return s;
    return addIdVarLowScaled(table(mSrc), pMean, width, pSrcDst, height, val, scaleFactor);
}

}  // extern "C"
