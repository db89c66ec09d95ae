// SPDX-License-Identifier: Apache-2.0
// zelsLogGaussSingle: the log-likelihood of one vector under one diagonal
// Gaussian, val - S / 2 with S = sum of (x - mean)^2 * invVar, and the forms
// that take variances (DirectVar, inverted on each call) or a block-diagonal
// inverse covariance (BlockDVar). Each exported function tests the pointers,
// then the length (and a BlockDVar matrix: its kind, then its dimension),
// and then scores. The plain and IdVar forms are the frame score of one row
// and run the frame kernels with a height of 1.
#include <limits.h>

#include "frame/checks.hpp"
#include "frame/fixed.hpp"
#include "frame/toolkit.h"
#include "matrix/block_dmatrix.hpp"
#include "scoring/single_vector_kernels.hpp"
#include "zelsr.h"

namespace {

using namespace zel;
using namespace zel::gauss;
using namespace zel::single;

template <class T>
SameRow<T> row(const T* p) {
    return {p};
}

// The aligned kernels need the vector, the mean and the weights on 16-byte
// boundaries; either kernel gives the same bits.
template <class T, class W>
bool aligned(const T* x, const T* m, W w) {
    if constexpr (kWeighted<W>) return allAligned16(x, m, w.p);
    else return allAligned16(x, m);
}

template <class... P>
ZelStatus checkVector(int len, const P*... p) {
    return firstError(requireNonNull(p...), requirePositive(len));
}

// ---- Single and double precision -------------------------------------------------

// (2 * val - S) * 0.5 in single precision, as the frame members form it;
// below 4 elements the terms come off 2 * val one by one.
template <class W>
void score32f(const Zel32f* x, const Zel32f* m, W w, int len, Zel32f* pResult, Zel32f val) {
    const Zel32f twoVal = 2.0f * val;
    if (len < 4) {
        columnSums(row(x), row(m), w, len, 1, twoVal, [=](int, Zel32f r) { *pResult = r * 0.5f; });
        return;
    }
    withAlignment(aligned(x, m, w), [&](auto a) {
        floatSums<decltype(a)::value>(row(x), row(m), w, len, 1,
                                      [=](int, Zel32f negS) { *pResult = (negS + twoVal) * 0.5f; });
    });
}

// val - S * 0.5 in double precision, formed as val + (-S) * 0.5.
template <class W>
void score64f(const Zel64f* x, const Zel64f* m, W w, int len, Zel64f* pResult, Zel64f val) {
    withAlignment(aligned(x, m, w), [&](auto a) {
        floatSums<decltype(a)::value>(row(x), row(m), w, len, 1,
                                      [=](int, Zel64f negS) { *pResult = val + negS * 0.5; });
    });
}

// The same with single elements widened to double.
const Zel32f* weights(SameRow<Zel32f> w) { return w.p; }
const Zel32f* weights(NoWeights) { return nullptr; }

template <class W>
void score32f64f(const Zel32f* x, const Zel32f* m, W w, int len, Zel64f* pResult, Zel64f val) {
    withAlignment(aligned(x, m, w), [&](auto a) {
        const Zel64f negS = widenedNegSum<decltype(a)::value, kWeighted<W>>(x, m, weights(w), len);
        *pResult = val + negS * 0.5;
    });
}

// ---- 16-bit data -----------------------------------------------------------------------

// The single-precision sum of the 16-bit frame kernels for one row: T = -S
// with weights, S without.
template <class W>
float wideSum(const Zel16s* x, const Zel16s* m, W w, int len) {
    float sum = 0.0f;
    withAlignment(aligned(x, m, w), [&](auto a) {
        wideSums<decltype(a)::value>(row(x), row(m), w, len, 1, [&](int, float s) { sum = s; });
    });
    return sum;
}

// Clamped to -2^31 and 2^31 and rounded to nearest, ties to even; 2^31 has
// no 32-bit form and gives -2147483648, as the processor's conversion does.
int32_t roundClamped32(float r) {
    r = r < -2147483648.0f ? -2147483648.0f : (r > 2147483648.0f ? 2147483648.0f : r);
    const float q = roundHalfEven(r);
    return q < 2147483648.0f ? static_cast<int32_t>(q) : kMin32;
}

// 16s32s and IdVar_16s32s: val - S by the family's scale rule, in single
// precision, clamped and rounded (the frame members truncate instead).
template <class W>
void score16s32s(const Zel16s* x, const Zel16s* m, W w, int len, Zel32s* pResult, Zel32s val, int scaleFactor) {
    const GaussScale rule(scaleFactor);
    const float sum = wideSum(x, m, w, len);
    const float fval = static_cast<float>(val);
    *pResult = roundClamped32(kWeighted<W> ? fval + rule.apply(sum) : fval - rule.apply(sum));
}

// Low_16s32s: below 0 the frame member's float path, truncated; from 0 the
// one-row integer sums, wrapped.
void scoreLow16s32s(const Zel16s* x, const Zel16s* m, const Zel16s* w, int len, Zel32s* pResult, Zel32s val,
                    int scaleFactor) {
    if (scaleFactor < 0) {
        const GaussScale rule(scaleFactor);
        *pResult = truncOrMin32(rule.apply(wideSum(x, m, row(w), len)) + static_cast<float>(val));
        return;
    }
    withAlignment(aligned(x, m, row(w)), [&](auto a) {
        const int32_t sum = lowSingleSum<decltype(a)::value>(x, m, w, len, singleLowShifts(scaleFactor));
        *pResult = wrap32(int64_t{sum} + val);
    });
}

// IdVarLow_16s32s: the frame member's integer pair sums for one row.
void scoreIdVarLow16s32s(const Zel16s* x, const Zel16s* m, int len, Zel32s* pResult, Zel32s val, int scaleFactor) {
    withAlignment(aligned(x, m, NoWeights{}), [&](auto a) {
        idLowSums<decltype(a)::value>(row(x), row(m), len, 1, scaleFactor,
                                      [=](int, Zel32s sum) { *pResult = wrap32(int64_t{sum} + val); });
    });
}

// Scaled and IdVarScaled: val - S * c with c = 2^-(s + 1) from the clamped helper.
template <class W>
void scoreScaled(const Zel16s* x, const Zel16s* m, W w, int len, Zel32f* pResult, Zel32f val, int scaleFactor) {
    const Zel32f c = scaledFactor(scaleFactor);
    const float sum = wideSum(x, m, w, len);
    *pResult = kWeighted<W> ? sum * c + val : val - sum * c;
}

// LowScaled: below 0 val + T by the scale rule; from 0 the one-row integer
// sum as a single, plus val.
void scoreLowScaled(const Zel16s* x, const Zel16s* m, const Zel16s* w, int len, Zel32f* pResult, Zel32f val,
                    int scaleFactor) {
    if (scaleFactor < 0) {
        *pResult = val + GaussScale(scaleFactor).apply(wideSum(x, m, row(w), len));
        return;
    }
    withAlignment(aligned(x, m, row(w)), [&](auto a) {
        *pResult = static_cast<Zel32f>(lowSingleSum<decltype(a)::value>(x, m, w, len, singleLowShifts(scaleFactor))) + val;
    });
}

// IdVarLowScaled: val - S by the scale rule.
void scoreIdVarLowScaled(const Zel16s* x, const Zel16s* m, int len, Zel32f* pResult, Zel32f val, int scaleFactor) {
    *pResult = val - GaussScale(scaleFactor).apply(wideSum(x, m, NoWeights{}, len));
}

// ---- DirectVar: the inverse variances formed on each call ---------------------------------

// A scratch of `count` singles, or null if the count has no int form or the
// memory is not there.
Zel32f* scratch32f(int64_t count) { return count > INT_MAX ? nullptr : ownMalloc_32f(static_cast<int>(count)); }

// p moved up to the next 32-byte boundary.
Zel32f* align32(Zel32f* p) {
    const uintptr_t a = (reinterpret_cast<uintptr_t>(p) + 31) & ~uintptr_t{31};
    return p + (a - reinterpret_cast<uintptr_t>(p)) / sizeof(Zel32f);
}

// 1 / var into `inv` with the toolkit's division, whose status (a zero
// variance gives zelStsDivByZero and an infinity) is the call's.
ZelStatus invert(const Zel32f* var, Zel32f* inv, int len) {
    ownSet_32f(1.0f, inv, len);
    return ownDiv_32f(inv, var, inv, len);
}

ZelStatus directVar32f(const Zel32f* x, const Zel32f* m, const Zel32f* var, int len, Zel32f* pResult, Zel32f val) {
    Zel32f* mem = scratch32f(int64_t{len} + 32);
    if (!mem) return zelStsMemAllocErr;
    Zel32f* inv = align32(mem);
    const ZelStatus status = invert(var, inv, len);
    score32f(x, m, row<Zel32f>(inv), len, pResult, val);
    ownFree(mem);
    return status;
}

// One loop, no scratch and no status: a zero variance gives an infinity silently.
void directVar64f(const Zel64f* x, const Zel64f* m, const Zel64f* var, int len, Zel64f* pResult, Zel64f val) {
    Zel64f s = 0.0;
    for (int j = 0; j < len; ++j) {
        const Zel64f d = x[j] - m[j];
        s = s + d * d / var[j];
    }
    *pResult = val - s * 0.5;
}

// Each term divided by its widened variance with the toolkit's division, one
// at a time; its first status ends the call with nothing written.
ZelStatus directVar32f64f(const Zel32f* x, const Zel32f* m, const Zel32f* var, int len, Zel64f* pResult, Zel64f val) {
    Zel64f s = 0.0;
    for (int j = 0; j < len; ++j) {
        const Zel64f d = Zel64f(x[j]) - Zel64f(m[j]);
        const Zel64f sq = d * d, v = var[j];
        Zel64f q;
        if (ZelStatus st = ownDiv_64f(&sq, &v, &q, 1)) return st;
        s = s + q;
    }
    *pResult = val - s * 0.5;
    return zelStsNoErr;
}

// Source, mean and variance converted to singles, the variance inverted,
// and S of the singles rounded to an integer by the near rule with the
// scale factor s + 1; val minus it, saturated.
ZelStatus directVar16s32s(const Zel16s* x, const Zel16s* m, const Zel16s* var, int len, Zel32s* pResult, Zel32s val,
                          int scaleFactor) {
    Zel32f* mem = scratch32f(5 * int64_t{len} + 80);
    if (!mem) return zelStsMemAllocErr;
    // Four vectors, each from a 32-byte boundary.
    const int pitch = (len + 7) / 8 * 8;
    Zel32f* xf = align32(mem);
    Zel32f* mf = xf + pitch;
    Zel32f* vf = mf + pitch;
    Zel32f* inv = vf + pitch;
    ownConvert_16s32f(var, vf, len);
    ownConvert_16s32f(m, mf, len);
    ownConvert_16s32f(x, xf, len);
    const ZelStatus status = invert(vf, inv, len);
    const Zel32f s = distanceOneRow<true>(xf, mf, inv, len);
    const int32_t n = nearSat32(s, wrap32(int64_t{scaleFactor} + 1));
    *pResult = sat32(int64_t{val} - n);
    ownFree(mem);
    return status;
}

// The variance inverted in a scratch, the 16-bit source and mean read
// directly; val - (S * 0.5) * c with c = 2^-s, not 2^-(s + 1).
ZelStatus directVarScaled(const Zel16s* x, const Zel16s* m, const Zel16s* var, int len, Zel32f* pResult, Zel32f val,
                          int scaleFactor) {
    const int pitch = (len + 7) / 8 * 8;
    Zel32f* mem = scratch32f(2 * int64_t{pitch} + 8);
    if (!mem) return zelStsMemAllocErr;
    Zel32f* vf = align32(mem);
    Zel32f* inv = vf + pitch;
    ownConvert_16s32f(var, vf, len);
    const ZelStatus status = invert(vf, inv, len);
    withAlignment(allAligned16(x, m), [&](auto a) {
        const Zel32f s = 0.0f - wideNegSumFloatWeights<decltype(a)::value>(x, m, inv, len);
        *pResult = val - (s * 0.5f) * ownScaleValue_32f(scaleFactor);
    });
    ownFree(mem);
    return status;
}

// ---- BlockDVar: a block-diagonal inverse covariance ------------------------------------------

// Below this length the difference vector lies on the stack, so typical
// feature vectors cause no allocation.
constexpr int kStackScratch = 112;

Zel16s* allocScratch(Zel16s*, int n) { return ownMalloc_16s(n); }
Zel32f* allocScratch(Zel32f*, int n) { return ownMalloc_32f(n); }
Zel64f* allocScratch(Zel64f*, int n) { return ownMalloc_64f(n); }

// Forms d with `fill` in a scratch of len elements and hands it to `use`.
template <class D, class Fill, class Use>
ZelStatus withDifference(int len, Fill fill, Use use) {
    if (len < kStackScratch) {
        alignas(16) D d[kStackScratch - 1];
        fill(d);
        use(d);
        return zelStsNoErr;
    }
    D* d = allocScratch(static_cast<D*>(nullptr), len);
    if (!d) return zelStsMemAllocErr;
    fill(d);
    use(d);
    ownFree(d);
    return zelStsNoErr;
}

// Pointers, then the length, then the state's kind, then its dimension.
template <class T, class Matrix, class... P>
ZelStatus checkBlock(const Matrix* pMatrix, int len, const blockd::Record<T>*& rec, const P*... p) {
    if (ZelStatus s = checkVector(len, p..., pMatrix)) return s;
    rec = blockd::ready<T>(pMatrix);
    if (!rec) return zelStsContextMatchErr;
    return require(len == rec->totalSize, zelStsSizeErr);
}

template <class Acc, class T, class D>
ZelStatus blockForm(const blockd::Record<T>& mat, const T* x, const T* m, int len, Acc& s) {
    return withDifference<D>(
        len, [&](D* d) { for (int j = 0; j < len; ++j) d[j] = D(x[j]) - D(m[j]); },
        [&](const D* d) { s = blockQuadForm<Acc>(mat, d); });
}

// 16-bit: d is the saturated difference, S a single.
ZelStatus blockForm16s(const blockd::Record<Zel16s>& mat, const Zel16s* x, const Zel16s* m, int len, Zel32f& s) {
    return withDifference<Zel16s>(
        len, [&](Zel16s* d) { for (int j = 0; j < len; ++j) d[j] = subSat16(x[j], m[j]); },
        [&](const Zel16s* d) { s = blockQuadForm<Zel32f>(mat, d); });
}

}  // namespace

extern "C" {

// ---- Plain and IdVar ---------------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussSingle_32f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar, int len,
                                           Zel32f* pResult, Zel32f val) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    score32f(pSrc, pMean, row(pVar), len, pResult, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_64f(const Zel64f* pSrc, const Zel64f* pMean, const Zel64f* pVar, int len,
                                           Zel64f* pResult, Zel64f val) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    score64f(pSrc, pMean, row(pVar), len, pResult, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_32f64f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar, int len,
                                              Zel64f* pResult, Zel64f val) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    score32f64f(pSrc, pMean, row(pVar), len, pResult, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_IdVar_32f(const Zel32f* pSrc, const Zel32f* pMean, int len, Zel32f* pResult,
                                                 Zel32f val) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pResult)) return s;
    score32f(pSrc, pMean, NoWeights{}, len, pResult, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_IdVar_64f(const Zel64f* pSrc, const Zel64f* pMean, int len, Zel64f* pResult,
                                                 Zel64f val) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pResult)) return s;
    score64f(pSrc, pMean, NoWeights{}, len, pResult, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_IdVar_32f64f(const Zel32f* pSrc, const Zel32f* pMean, int len, Zel64f* pResult,
                                                    Zel64f val) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pResult)) return s;
    score32f64f(pSrc, pMean, NoWeights{}, len, pResult, val);
    return zelStsNoErr;
}

// ---- DirectVar ---------------------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussSingle_DirectVar_32f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar,
                                                     int len, Zel32f* pResult, Zel32f val) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    return directVar32f(pSrc, pMean, pVar, len, pResult, val);
}
ZELSR_API ZelStatus zelsLogGaussSingle_DirectVar_64f(const Zel64f* pSrc, const Zel64f* pMean, const Zel64f* pVar,
                                                     int len, Zel64f* pResult, Zel64f val) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    directVar64f(pSrc, pMean, pVar, len, pResult, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_DirectVar_32f64f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar,
                                                        int len, Zel64f* pResult, Zel64f val) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    return directVar32f64f(pSrc, pMean, pVar, len, pResult, val);
}
ZELSR_API ZelStatus zelsLogGaussSingle_DirectVar_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean,
                                                            const Zel16s* pVar, int len, Zel32s* pResult, Zel32s val,
                                                            int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    return directVar16s32s(pSrc, pMean, pVar, len, pResult, val, scaleFactor);
}
ZELSR_API ZelStatus zelsLogGaussSingle_DirectVarScaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean,
                                                              const Zel16s* pVar, int len, Zel32f* pResult,
                                                              Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    return directVarScaled(pSrc, pMean, pVar, len, pResult, val, scaleFactor);
}

// ---- BlockDVar ---------------------------------------------------------------------------------

// val - S * 0.5 with the subtraction widened to double, rounded to single.
ZELSR_API ZelStatus zelsLogGaussSingle_BlockDVar_32f(const Zel32f* pSrc, const Zel32f* pMean,
                                                     const ZelBlockDMatrix_32f* pMatrix, int len, Zel32f* pResult,
                                                     Zel32f val) {
    const blockd::Record<Zel32f>* mat = nullptr;
    if (ZelStatus s = checkBlock(pMatrix, len, mat, pSrc, pMean, pResult)) return s;
    Zel32f sum = 0.0f;
    if (ZelStatus s = blockForm<Zel32f, Zel32f, Zel32f>(*mat, pSrc, pMean, len, sum)) return s;
    *pResult = static_cast<Zel32f>(Zel64f(val) - Zel64f(sum) * 0.5);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_BlockDVar_64f(const Zel64f* pSrc, const Zel64f* pMean,
                                                     const ZelBlockDMatrix_64f* pMatrix, int len, Zel64f* pResult,
                                                     Zel64f val) {
    const blockd::Record<Zel64f>* mat = nullptr;
    if (ZelStatus s = checkBlock(pMatrix, len, mat, pSrc, pMean, pResult)) return s;
    Zel64f sum = 0.0;
    if (ZelStatus s = blockForm<Zel64f, Zel64f, Zel64f>(*mat, pSrc, pMean, len, sum)) return s;
    *pResult = val - sum * 0.5;
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_BlockDVar_32f64f(const Zel32f* pSrc, const Zel32f* pMean,
                                                        const ZelBlockDMatrix_32f* pMatrix, int len, Zel64f* pResult,
                                                        Zel64f val) {
    const blockd::Record<Zel32f>* mat = nullptr;
    if (ZelStatus s = checkBlock(pMatrix, len, mat, pSrc, pMean, pResult)) return s;
    Zel64f sum = 0.0;
    if (ZelStatus s = blockForm<Zel64f, Zel32f, Zel64f>(*mat, pSrc, pMean, len, sum)) return s;
    *pResult = val - sum * 0.5;
    return zelStsNoErr;
}
// (S * 2^-s) * 0.5 off val as a single: below -2^31 the most negative
// integer, above 2^31 the most positive, otherwise truncated.
ZELSR_API ZelStatus zelsLogGaussSingle_BlockDVar_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean,
                                                            const ZelBlockDMatrix_16s* pMatrix, int len,
                                                            Zel32s* pResult, Zel32s val, int scaleFactor) {
    const blockd::Record<Zel16s>* mat = nullptr;
    if (ZelStatus s = checkBlock(pMatrix, len, mat, pSrc, pMean, pResult)) return s;
    Zel32f sum = 0.0f;
    if (ZelStatus s = blockForm16s(*mat, pSrc, pMean, len, sum)) return s;
    const Zel32f r = static_cast<Zel32f>(val) - (sum * ownScaleValue_32f(scaleFactor)) * 0.5f;
    *pResult = r < -2147483648.0f ? kMin32 : (r > 2147483648.0f ? kMax32 : truncOrMin32(r));
    return zelStsNoErr;
}
// val - (S * 0.5) * 2^-s, without clamp.
ZELSR_API ZelStatus zelsLogGaussSingle_BlockDVarScaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean,
                                                              const ZelBlockDMatrix_16s* pMatrix, int len,
                                                              Zel32f* pResult, Zel32f val, int scaleFactor) {
    const blockd::Record<Zel16s>* mat = nullptr;
    if (ZelStatus s = checkBlock(pMatrix, len, mat, pSrc, pMean, pResult)) return s;
    Zel32f sum = 0.0f;
    if (ZelStatus s = blockForm16s(*mat, pSrc, pMean, len, sum)) return s;
    *pResult = val - (sum * 0.5f) * ownScaleValue_32f(scaleFactor);
    return zelStsNoErr;
}

// ---- 16-bit data ----------------------------------------------------------------------------

ZELSR_API ZelStatus zelsLogGaussSingle_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar, int len,
                                                  Zel32s* pResult, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    score16s32s(pSrc, pMean, row(pVar), len, pResult, val, scaleFactor);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_Low_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                      int len, Zel32s* pResult, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    scoreLow16s32s(pSrc, pMean, pVar, len, pResult, val, scaleFactor);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_IdVar_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean, int len,
                                                        Zel32s* pResult, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pResult)) return s;
    score16s32s(pSrc, pMean, NoWeights{}, len, pResult, val, scaleFactor);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_IdVarLow_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean, int len,
                                                           Zel32s* pResult, Zel32s val, int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pResult)) return s;
    scoreIdVarLow16s32s(pSrc, pMean, len, pResult, val, scaleFactor);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_Scaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                     int len, Zel32f* pResult, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    scoreScaled(pSrc, pMean, row(pVar), len, pResult, val, scaleFactor);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_LowScaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                        int len, Zel32f* pResult, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pVar, pResult)) return s;
    scoreLowScaled(pSrc, pMean, pVar, len, pResult, val, scaleFactor);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_IdVarScaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean, int len,
                                                          Zel32f* pResult, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pResult)) return s;
    scoreScaled(pSrc, pMean, NoWeights{}, len, pResult, val, scaleFactor);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsLogGaussSingle_IdVarLowScaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean, int len,
                                                             Zel32f* pResult, Zel32f val, int scaleFactor) {
    if (ZelStatus s = checkVector(len, pSrc, pMean, pResult)) return s;
    scoreIdVarLowScaled(pSrc, pMean, len, pResult, val, scaleFactor);
    return zelStsNoErr;
}

}  // extern "C"
