// SPDX-License-Identifier: Apache-2.0
// zelsLogGauss: the log-likelihood of every row of a matrix of frames under
// one diagonal Gaussian, val - S / 2 with S = sum of (x - mean)^2 * invVar.
// Each exported function tests its arguments in the family's order (the step
// first, then the pointers, then the sizes), picks the aligned or unaligned
// kernel, and finishes each row's sum in the member's own way. On a processor
// with AVX2 or AVX-512 the kernels hand the whole blocks of rows of a call to
// the wide kernels (log_gauss_wide.hpp), chosen once per call; the results
// are the same bits.
#include "scoring/log_gauss_kernels.hpp"

#include "frame/checks.hpp"
#include "scoring/scoring_checks.hpp"
#include "frame/dispatch.hpp"
#include "zelsr.h"

namespace {

using namespace zel;
using namespace zel::gauss;

// ---- Kernel choice ---------------------------------------------------------------

// A D2 step keeps 16-byte rows when it is a multiple of 8 (16-bit data) or
// of 4 (single and double precision; for double that is stricter than the
// pitch needs).
template <class T>
constexpr int kAlignedStepMultiple = sizeof(T) == 2 ? 8 : 4;

template <class T>
bool rowsAligned(BlockRows<T> rows, int) {
    return isAligned16(rows.base) && rows.step % kAlignedStepMultiple<T> == 0;
}
template <class T>
bool rowsAligned(TableRows<T> rows, int height) {
    return ownRowsAligned(rows.rows, height) == 0;
}
template <class T>
bool vectorAligned(SameRow<T> v) {
    return isAligned16(v.p);
}
bool vectorAligned(NoWeights) { return true; }

// The aligned kernel needs the source rows, the mean and the weights on
// 16-byte boundaries; pDst plays no part. Either kernel gives the same bits.
template <class X, class M, class W, class Run>
void byAlignment(X x, M m, W w, int height, Run run) {
    if (rowsAligned(x, height) && vectorAligned(m) && vectorAligned(w))
        run(std::true_type{});
    else
        run(std::false_type{});
}

// The last step of the 16-bit members with single-precision lanes, from a
// row's lane sum (T = -S with weights, S without) to its score: the sum is
// divided by `factor` or multiplied by it, then combined with val in the
// member's own order, and stored as a single or truncated toward zero into a
// Zel32s.
struct WideFinish {
    enum Order : int { kScaledPlusVal, kValPlusScaled, kValMinusScaled };
    Order order;
    float factor;
    bool divides;
    float val;
    bool toInt32;
};

// ---- Single and double precision ---------------------------------------------------

// (2 * val - S) * 0.5 in single precision, 2 * val formed once. Below width 4
// the short loop subtracts the terms from 2 * val itself.
template <class X, class W>
ZelStatus score32f(X src, const Zel32f* pMean, W w, int width, Zel32f* pDst, int height, Zel32f val) {
    const Zel32f twoVal = 2.0f * val;
    if (width < 4) {
        columnSums(src, same(pMean), w, width, height, twoVal, [=](int y, Zel32f r) { pDst[y] = r * 0.5f; });
        return zelStsNoErr;
    }
    byAlignment(src, same(pMean), w, height, [&](auto aligned) {
        floatSums<decltype(aligned)::value>(src, same(pMean), w, width, height,
                                             [=](int y, auto negS) { put(pDst + y, (negS + twoVal) * 0.5f); });
    });
    return zelStsNoErr;
}

// The D2 members form val + (-S) * 0.5 and the D2L members (2 * val - S) * 0.5,
// which may differ in the last bit; the difference is kept.
enum class Half64 { ValPlusHalfSum, HalfOfTwiceValPlusSum };

template <class X, class W>
ZelStatus score64f(X src, const Zel64f* pMean, W w, int width, Zel64f* pDst, int height, Zel64f val, Half64 form) {
    const Zel64f twoVal = 2.0 * val;
    byAlignment(src, same(pMean), w, height, [&](auto aligned) {
        if (form == Half64::ValPlusHalfSum)
            floatSums<decltype(aligned)::value>(src, same(pMean), w, width, height,
                                 [=](int y, Zel64f negS) { pDst[y] = val + negS * 0.5; });
        else
            floatSums<decltype(aligned)::value>(src, same(pMean), w, width, height,
                                 [=](int y, Zel64f negS) { pDst[y] = (negS + twoVal) * 0.5; });
    });
    return zelStsNoErr;
}

// ---- 16-bit data -------------------------------------------------------------------

// A row's lane sum to its score, as WideFinish describes it; one row or,
// from the four-row kernels, four.
template <class V>
V finishSum(const WideFinish& f, V sum) {
    const V scaled = f.divides ? sum / f.factor : sum * f.factor;
    switch (f.order) {
    case WideFinish::kScaledPlusVal: return scaled + f.val;
    case WideFinish::kValPlusScaled: return f.val + scaled;
    default: return f.val - scaled;
    }
}

// The members with single-precision lane sums: T = -S with weights, S
// without. Rows narrower than a group of eight stay on the baseline kernels.
template <class X, class W>
ZelStatus scoreWide(X src, const Zel16s* pMean, W w, int width, int height, const WideFinish& f, void* pDst) {
    byAlignment(src, same(pMean), w, height, [&](auto aligned) {
        wideSums<decltype(aligned)::value>(src, same(pMean), w, width, height, [&](int y, auto sum) {
            const auto r = finishSum(f, sum);
            if (f.toInt32) put(static_cast<Zel32s*>(pDst) + y, truncOrMin32(r));
            else put(static_cast<Zel32f*>(pDst) + y, r);
        });
    });
    return zelStsNoErr;
}

// The integer sums of the Low members for scale factors of 0 and above.
template <class X, class Sink>
ZelStatus scoreLow(X src, const Zel16s* pMean, const Zel16s* pVar, int width, int height, int scaleFactor, Sink sink) {
    byAlignment(src, same(pMean), same(pVar), height, [&](auto aligned) {
        lowSums<decltype(aligned)::value>(src, same(pMean), same(pVar), width, height, scaleFactor, sink);
    });
    return zelStsNoErr;
}

// 16s32s, IdVar_16s32s and Low_16s32s below 0: the scale rule on the lane
// sum, val as a single added, truncated toward zero without saturation.
// Without weights the sum is S and is subtracted.
template <class X, class W>
ZelStatus score16s32s(X src, const Zel16s* pMean, W w, int width, Zel32s* pDst, int height, Zel32s val, int scaleFactor) {
    const GaussScale rule(scaleFactor);
    const WideFinish::Order order = kWeighted<W> ? WideFinish::kScaledPlusVal : WideFinish::kValMinusScaled;
    return scoreWide(src, pMean, w, width, height, {order, rule.p, rule.divides, static_cast<Zel32f>(val), true}, pDst);
}

template <class X>
ZelStatus scoreLow16s32s(X src, const Zel16s* pMean, const Zel16s* pVar, int width, Zel32s* pDst, int height, Zel32s val,
                         int scaleFactor) {
    if (scaleFactor < 0) return score16s32s(src, pMean, same(pVar), width, pDst, height, val, scaleFactor);
    return scoreLow(src, pMean, pVar, width, height, scaleFactor,
                    [=](int y, Zel32s sum) { pDst[y] = wrap32(int64_t{sum} + val); });
}

template <class X>
ZelStatus scoreIdVarLow16s32s(X src, const Zel16s* pMean, int width, Zel32s* pDst, int height, Zel32s val,
                              int scaleFactor) {
    byAlignment(src, same(pMean), NoWeights{}, height, [&](auto aligned) {
        idLowSums<decltype(aligned)::value>(src, same(pMean), width, height, scaleFactor,
                             [=](int y, Zel32s sum) { pDst[y] = wrap32(int64_t{sum} + val); });
    });
    return zelStsNoErr;
}

// Scaled and IdVarScaled: c = 2^-(s + 1) from the clamped helper; T * c + val,
// or val - S * c.
template <class X, class W>
ZelStatus scoreScaled(X src, const Zel16s* pMean, W w, int width, Zel32f* pDst, int height, Zel32f val, int scaleFactor) {
    const WideFinish::Order order = kWeighted<W> ? WideFinish::kScaledPlusVal : WideFinish::kValMinusScaled;
    return scoreWide(src, pMean, w, width, height, {order, scaledFactor(scaleFactor), false, val, false}, pDst);
}

// LowScaled: below 0 val + T by the scale rule; from 0 on the integer sum as
// a single, plus val.
template <class X>
ZelStatus scoreLowScaled(X src, const Zel16s* pMean, const Zel16s* pVar, int width, Zel32f* pDst, int height, Zel32f val,
                         int scaleFactor) {
    if (scaleFactor < 0) {
        const GaussScale rule(scaleFactor);
        return scoreWide(src, pMean, same(pVar), width, height,
                         {WideFinish::kValPlusScaled, rule.p, rule.divides, val, false}, pDst);
    }
    return scoreLow(src, pMean, pVar, width, height, scaleFactor,
                    [=](int y, Zel32s sum) { pDst[y] = static_cast<Zel32f>(sum) + val; });
}

// IdVarLowScaled: val + (-S) by the scale rule, which is val - S by the rule
// to the bit, since negation is exact and the rounding symmetric.
template <class X>
ZelStatus scoreIdVarLowScaled(X src, const Zel16s* pMean, int width, Zel32f* pDst, int height, Zel32f val,
                              int scaleFactor) {
    const GaussScale rule(scaleFactor);
    return scoreWide(src, pMean, NoWeights{}, width, height,
                     {WideFinish::kValMinusScaled, rule.p, rule.divides, val, false}, pDst);
}

// ---- Argument tests, in the family's order ---------------------------------------------

}  // namespace

extern "C" {

// ---- Zel32f ----------------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGauss_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, const Zel32f* pVar, int width,
                                        Zel32f* pDst, int height, Zel32f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pDst)) return s;
    return score32f(block(pSrc, step), pMean, same(pVar), width, pDst, height, val);
}
ZELSR_API ZelStatus zelsLogGauss_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, const Zel32f* pVar, int width,
                                         Zel32f* pDst, int height, Zel32f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pDst)) return s;
    return score32f(table(mSrc), pMean, same(pVar), width, pDst, height, val);
}
ZELSR_API ZelStatus zelsLogGauss_IdVar_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, int width, Zel32f* pDst,
                                              int height, Zel32f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pDst)) return s;
    return score32f(block(pSrc, step), pMean, NoWeights{}, width, pDst, height, val);
}
ZELSR_API ZelStatus zelsLogGauss_IdVar_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, int width, Zel32f* pDst,
                                               int height, Zel32f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pDst)) return s;
    return score32f(table(mSrc), pMean, NoWeights{}, width, pDst, height, val);
}

// ---- Zel64f ----------------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGauss_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, const Zel64f* pVar, int width,
                                        Zel64f* pDst, int height, Zel64f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pDst)) return s;
    return score64f(block(pSrc, step), pMean, same(pVar), width, pDst, height, val, Half64::ValPlusHalfSum);
}
ZELSR_API ZelStatus zelsLogGauss_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, const Zel64f* pVar, int width,
                                         Zel64f* pDst, int height, Zel64f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pDst)) return s;
    return score64f(table(mSrc), pMean, same(pVar), width, pDst, height, val, Half64::HalfOfTwiceValPlusSum);
}
ZELSR_API ZelStatus zelsLogGauss_IdVar_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, int width, Zel64f* pDst,
                                              int height, Zel64f val) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pDst)) return s;
    return score64f(block(pSrc, step), pMean, NoWeights{}, width, pDst, height, val, Half64::ValPlusHalfSum);
}
ZELSR_API ZelStatus zelsLogGauss_IdVar_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, int width, Zel64f* pDst,
                                               int height, Zel64f val) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pDst)) return s;
    return score64f(table(mSrc), pMean, NoWeights{}, width, pDst, height, val, Half64::HalfOfTwiceValPlusSum);
}

// ---- Zel16s to Zel32s ------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGauss_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean, const Zel16s* pVar,
                                              int width, Zel32s* pDst, int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pDst)) return s;
    return score16s32s(block(pSrc, step), pMean, same(pVar), width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar, int width,
                                               Zel32s* pDst, int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pDst)) return s;
    return score16s32s(table(mSrc), pMean, same(pVar), width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_Low_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean, const Zel16s* pVar,
                                                  int width, Zel32s* pDst, int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pDst)) return s;
    return scoreLow16s32s(block(pSrc, step), pMean, pVar, width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_Low_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                   int width, Zel32s* pDst, int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pDst)) return s;
    return scoreLow16s32s(table(mSrc), pMean, pVar, width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_IdVar_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean, int width,
                                                    Zel32s* pDst, int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pDst)) return s;
    return score16s32s(block(pSrc, step), pMean, NoWeights{}, width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_IdVar_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, int width, Zel32s* pDst,
                                                     int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pDst)) return s;
    return score16s32s(table(mSrc), pMean, NoWeights{}, width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_IdVarLow_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean, int width,
                                                       Zel32s* pDst, int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pDst)) return s;
    return scoreIdVarLow16s32s(block(pSrc, step), pMean, width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_IdVarLow_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                        Zel32s* pDst, int height, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pDst)) return s;
    return scoreIdVarLow16s32s(table(mSrc), pMean, width, pDst, height, val, scaleFactor);
}

// ---- Zel16s to Zel32f ------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGauss_Scaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean, const Zel16s* pVar,
                                                  int width, Zel32f* pDst, int height, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pDst)) return s;
    return scoreScaled(block(pSrc, step), pMean, same(pVar), width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_Scaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                   int width, Zel32f* pDst, int height, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pDst)) return s;
    return scoreScaled(table(mSrc), pMean, same(pVar), width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_LowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                     const Zel16s* pVar, int width, Zel32f* pDst, int height,
                                                     Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pVar, pDst)) return s;
    return scoreLowScaled(block(pSrc, step), pMean, pVar, width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_LowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                      int width, Zel32f* pDst, int height, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pVar, pDst)) return s;
    return scoreLowScaled(table(mSrc), pMean, pVar, width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_IdVarScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean, int width,
                                                       Zel32f* pDst, int height, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pDst)) return s;
    return scoreScaled(block(pSrc, step), pMean, NoWeights{}, width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_IdVarScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                        Zel32f* pDst, int height, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pDst)) return s;
    return scoreScaled(table(mSrc), pMean, NoWeights{}, width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_IdVarLowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean, int width,
                                                          Zel32f* pDst, int height, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2(step, width, height, pSrc, pMean, pDst)) return s;
    return scoreIdVarLowScaled(block(pSrc, step), pMean, width, pDst, height, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGauss_IdVarLowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                           Zel32f* pDst, int height, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkD2L(width, height, mSrc, pMean, pDst)) return s;
    return scoreIdVarLowScaled(table(mSrc), pMean, width, pDst, height, val, scaleFactor);
}

}  // extern "C"
