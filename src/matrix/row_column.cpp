// SPDX-License-Identifier: Apache-2.0
// Row and column kernels: sums, means and variances by row or by column,
// weighted column statistics, in-place normalisation and row subtraction,
// gathers of columns and rows, products of a matrix with a vector, rank
// selection, and the double-precision column operations of the
// decomposition. Each exported function tests its arguments in its
// family's order and makes one kernel call; a D2 and a D2L member differ
// only in the row accessor they hand the kernel. A D2L table's own pointer
// is tested for null, its row pointers are not.
#include <stdint.h>
#include <string.h>

#include "frame/checks.hpp"
#include "frame/fixed.hpp"
#include "matrix/row_column_kernels.hpp"
#include "zelcore.h"
#include "zelsr.h"

using namespace zel;
using namespace zel::mat;

namespace {

// The step test of a D2 member; a D2L member has no step and passes.
constexpr ZelStatus noStride = zelStsNoErr;

// A sample variance needs two rows; tested without forming height - 1,
// which INT_MIN would overflow.
constexpr ZelStatus requireTwoRows(int height) { return require(height >= 2, zelStsSizeErr); }

// ---- Sums by row and by column ------------------------------------------------------

// How a float or double sum is stored: as it is, or by the near rule.
template <class A>
struct Keep {
    A operator()(A v) const { return v; }
};
struct Near32 {
    int s;
    int32_t operator()(float v) const { return nearSat32(v, s); }
};

template <class A, class S, class D, class Rows, class Store>
ZelStatus sumRow(Rows rows, const void* m, int width, ZelStatus stride, D* pDst, int height, Store store) {
    if (ZelStatus s = firstError(requireNonNull(m, pDst), requirePositive(width, height), stride)) return s;
    rowReduce<false, A>(rows, static_cast<const S*>(nullptr), width, height, [&](int i, A v) { pDst[i] = store(v); });
    return zelStsNoErr;
}

template <class A, class S, class D, class Rows, class Store>
ZelStatus sumColumn(Rows rows, const void* m, int height, ZelStatus stride, D* pDst, int width, Store store) {
    if (ZelStatus s = firstError(requireNonNull(m, pDst), requirePositive(width, height), stride)) return s;
    columnReduce<A, S, false, false>(rows, height, width, static_cast<const A*>(nullptr),
                                     [&](int j, A v, A) { pDst[j] = store(v); });
    return zelStsNoErr;
}

// ---- Means and variances -------------------------------------------------------------

// 1 / n formed in double precision and rounded to the accumulating type.
template <class A>
A recip(int n) {
    return static_cast<A>(1.0 / double(n));
}

// (sum of squares + (-height) * m^2) * (1 / (height - 1)): the one-pass
// sample variance about m.
template <class A>
A sampleVar(A q, A m, int height, A rinv) {
    return (q + static_cast<A>(-height) * (m * m)) * rinv;
}

template <class S, class D, class Rows, class Store>
ZelStatus meanColumn(Rows rows, ZelStatus stride, const void* m, int height, D* pDst, int width, Store store) {
    if (ZelStatus s = firstError(stride, requireNonNull(m, pDst), requirePositive(width, height))) return s;
    const float inv = recip<float>(height);
    columnReduce<float, S, false, false>(rows, height, width, static_cast<const float*>(nullptr),
                                         [&](int j, float v, float) { pDst[j] = store(v * inv); });
    return zelStsNoErr;
}

template <class S, class D, class Rows, class Store>
ZelStatus varColumn(Rows rows, ZelStatus stride, const void* m, int height, const S* pSrcMean, D* pDstVar,
                    int width, Store store) {
    if (ZelStatus s = firstError(stride, requireNonNull(m, pSrcMean, pDstVar),
                                 requirePositive(width), requireTwoRows(height)))
        return s;
    const float rinv = recip<float>(height - 1);
    columnReduce<float, S, false, true>(rows, height, width, static_cast<const float*>(nullptr), [&](int j, float, float q) {
        pDstVar[j] = store(sampleVar(q, static_cast<float>(pSrcMean[j]), height, rinv));
    });
    return zelStsNoErr;
}

// The mean and the variance of the single-precision and 16-bit forms.
template <class S, class DM, class DV, class Rows, class StoreM, class StoreV>
ZelStatus meanVarColumn(Rows rows, ZelStatus stride, const void* m, int height, DM* pDstMean, DV* pDstVar,
                        int width, StoreM storeMean, StoreV storeVar) {
    if (ZelStatus s = firstError(requireNonNull(m, pDstMean, pDstVar), requirePositive(width), requireTwoRows(height),
                                 stride))
        return s;
    const float inv = recip<float>(height), rinv = recip<float>(height - 1);
    columnReduce<float, S, false, true>(rows, height, width, static_cast<const float*>(nullptr),
                                        [&](int j, float s, float q) {
                                            const float mean = s * inv;
                                            pDstMean[j] = storeMean(mean);
                                            pDstVar[j] = storeVar(sampleVar(q, mean, height, rinv));
                                        });
    return zelStsNoErr;
}

// The 16-bit forms computed in double precision: the sums of the integers
// and of their squares are exact, then mean = sum / height and the variance
// times varFactor (which folds in 1 / (height - 1)).
template <class DM, class Rows>
ZelStatus meanVarColumnWide(Rows rows, ZelStatus stride, const void* m, int height, DM* pDstMean, Zel32s* pDstVar,
                            int width, double varScale) {
    if (ZelStatus s = firstError(requireNonNull(m, pDstMean, pDstVar), requirePositive(width), requireTwoRows(height),
                                 stride))
        return s;
    const double inv = 1.0 / double(height), rinv = 1.0 / double(height - 1);
    columnReduce<int64_t, int16_t, false, true>(rows, height, width, static_cast<const int64_t*>(nullptr),
                                                [&](int j, int64_t s, int64_t q) {
                                                    const double mean = double(s) * inv;
                                                    const double var =
                                                        (double(q) + double(-height) * (mean * mean)) * (rinv * varScale);
                                                    const double mr = roundHalfEven(mean);
                                                    if constexpr (sizeof(DM) == 2)
                                                        pDstMean[j] = satRounded16(mr);
                                                    else
                                                        pDstMean[j] = satRounded32(mr);
                                                    pDstVar[j] = satRounded32(roundHalfEven(var));
                                                });
    return zelStsNoErr;
}

// ---- Weighted column statistics ----------------------------------------------------------
// Not normalised: the weights are taken to sum to 1.

template <class T, class Rows>
ZelStatus weightedMean(Rows rows, const void* m, ZelStatus stride, const T* pWgt, int height, T* pDstMean, int width) {
    if (ZelStatus s = firstError(requireNonNull(m, pWgt, pDstMean), stride, requirePositive(width, height))) return s;
    columnReduce<T, T, true, false>(rows, height, width, pWgt, [&](int j, T s, T) { pDstMean[j] = s; });
    return zelStsNoErr;
}

template <class T, class Rows>
ZelStatus weightedVar(Rows rows, const void* m, ZelStatus stride, const T* pWgt, int height, const T* pSrcMean,
                      T* pDstVar, int width) {
    if (ZelStatus s = firstError(requireNonNull(m, pWgt, pSrcMean, pDstVar), stride, requirePositive(width, height)))
        return s;
    columnReduce<T, T, true, true>(rows, height, width, pWgt,
                                   [&](int j, T, T q) { pDstVar[j] = q - pSrcMean[j] * pSrcMean[j]; });
    return zelStsNoErr;
}

template <class T, class Rows>
ZelStatus weightedMeanVar(Rows rows, const void* m, ZelStatus stride, const T* pWgt, int height, T* pDstMean,
                          T* pDstVar, int width) {
    if (ZelStatus s = firstError(requireNonNull(m, pWgt, pDstMean, pDstVar), stride, requirePositive(width, height)))
        return s;
    columnReduce<T, T, true, true>(rows, height, width, pWgt, [&](int j, T s, T q) {
        pDstMean[j] = s;
        pDstVar[j] = q - s * s;
    });
    return zelStsNoErr;
}

// ---- Updates in place -------------------------------------------------------------------------

template <class T, class Rows, class... Sf>
ZelStatus normalizeColumn(Rows rows, const void* m, ZelStatus stride, int height, const T* pMean, const T* pVar,
                          int width, Sf... scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(m, pMean, pVar), requirePositive(width, height), stride)) return s;
    normalizeColumns(rows, height, pMean, pVar, width, scaleFactor...);
    return zelStsNoErr;
}

template <class Rows>
ZelStatus addAllRowSum(Rows rows, const void* m, ZelStatus stride, int height, Zel32f* pSrcDst, int width) {
    if (ZelStatus s = firstError(requireNonNull(m, pSrcDst), requirePositive(width, height), stride)) return s;
    columnReduce<float, float, false, false>(rows, height, width, static_cast<const float*>(nullptr),
                                             [&](int j, float v, float) { pSrcDst[j] = pSrcDst[j] + v; });
    return zelStsNoErr;
}

template <class T, class Rows>
ZelStatus subRow(const T* pSrc, int width, Rows rows, const void* m, ZelStatus stride, int height) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, m), requirePositive(width, height), stride)) return s;
    subRows(pSrc, width, rows, height);
    return zelStsNoErr;
}

// ---- Gathers -------------------------------------------------------------------------------------

template <class T>
ZelStatus copyColumn(const T* pSrc, int width, T* pDst, int step, int height) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(width, height), requireStride(step, width)))
        return s;
    copyColumns<T>(block(pSrc, step), width, block(pDst, step), height);
    return zelStsNoErr;
}

template <class T, class SrcRows, class DstRows>
ZelStatus copyIndirect(SrcRows src, const void* s0, int srcLen, ZelStatus srcStride, DstRows dst, const void* d0,
                       const Zel32s* pIndex, int dstLen, ZelStatus dstStride, int height) {
    if (ZelStatus s = firstError(requireNonNull(s0, d0, pIndex), requirePositive(srcLen), srcStride,
                                 requirePositive(dstLen), dstStride, requirePositive(height)))
        return s;
    return copyColumnsIndirect<T>(src, srcLen, dst, pIndex, dstLen, height) ? zelStsNoErr : zelStsSizeErr;
}

// ---- Products -------------------------------------------------------------------------------------

template <class Rows>
ZelStatus matVecMul32f(Rows rows, const void* m, ZelStatus stride, const Zel32f* pSrcVec, int width, Zel32f* pDst,
                       int height) {
    if (ZelStatus s = firstError(requireNonNull(m, pSrcVec, pDst), requirePositive(width, height), stride)) return s;
    rowReduce<true, float>(rows, pSrcVec, width, height, [&](int i, float v) { pDst[i] = v; });
    return zelStsNoErr;
}

template <class S, class D, class Rows>
ZelStatus matVecMulSfs(Rows rows, const void* m, ZelStatus stride, const S* pSrcVec, int width, D* pDst, int height,
                       int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(m, pSrcVec, pDst), requirePositive(width, height), stride)) return s;
    matVecExact(rows, pSrcVec, width, pDst, height, scaleFactor);
    return zelStsNoErr;
}

template <class Rows>
ZelStatus vecMatMul32f(const Zel32f* pSrcVec, Rows rows, const void* m, ZelStatus stride, int height, Zel32f* pDst,
                       int width) {
    if (ZelStatus s = firstError(requireNonNull(pSrcVec, m, pDst), requirePositive(width, height), stride)) return s;
    columnReduce<float, float, true, false>(rows, height, width, pSrcVec, [&](int j, float v, float) { pDst[j] = v; });
    return zelStsNoErr;
}

template <class S, class D, class Rows>
ZelStatus vecMatMulSfs(const S* pSrcVec, Rows rows, const void* m, ZelStatus stride, int height, D* pDst, int width,
                       int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrcVec, m, pDst), requirePositive(width, height), stride)) return s;
    vecMatExact(pSrcVec, rows, height, pDst, width, scaleFactor);
    return zelStsNoErr;
}

// ---- Rank selection -----------------------------------------------------------------------------

template <class T>
ZelStatus nthMaxElement(const T* pSrc, int len, int N, T* pRes) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pRes), requirePositive(len), require(N >= 0 && N < len, zelStsBadArgErr)))
        return s;
    // The copy's size in 64 bits: on a 32-bit build it may exceed the address space.
    const uint64_t bytes = uint64_t(len) * sizeof(T);
    T* a = bytes <= SIZE_MAX ? static_cast<T*>(zelMalloc(size_t(bytes))) : nullptr;
    if (!a) return zelStsMemAllocErr;
    memcpy(a, pSrc, size_t(len) * sizeof(T));
    *pRes = nthMax(a, len, N);
    zelFree(a);
    return zelStsNoErr;
}

// ---- Column operations of the decomposition ---------------------------------------------------

ZelStatus checkColumns(const void* m, int width, int height, int col1, int col2, int row) {
    return firstError(requireNonNull(m), requirePositive(width, height),
                      require(col1 >= 0 && col1 < width && col2 >= 0 && col2 < width, zelStsSizeErr),
                      require(row >= 0 && row < height, zelStsSizeErr));
}

}  // namespace

extern "C" {

// ---- zelsSumRow, zelsSumColumn ----------------------------------------------------------------------

#define ZEL_SUMS(suffix, S, D, A)                                                                                  \
    ZELSR_API ZelStatus zelsSumRow_##suffix##_D2(const S* pSrc, int width, int step, D* pDst, int height) {       \
        return sumRow<A, S>(block(pSrc, step), pSrc, width, requireStride(step, width), pDst, height, Keep<A>{}); \
    }                                                                                                              \
    ZELSR_API ZelStatus zelsSumRow_##suffix##_D2L(const S** mSrc, int width, D* pDst, int height) {               \
        return sumRow<A, S>(table(mSrc), mSrc, width, noStride, pDst, height, Keep<A>{});                         \
    }                                                                                                              \
    ZELSR_API ZelStatus zelsSumColumn_##suffix##_D2(const S* pSrc, int height, int step, D* pDst, int width) {    \
        return sumColumn<A, S>(block(pSrc, step), pSrc, height, requireStride(step, width), pDst, width,          \
                               Keep<A>{});                                                                         \
    }                                                                                                              \
    ZELSR_API ZelStatus zelsSumColumn_##suffix##_D2L(const S** mSrc, int height, D* pDst, int width) {            \
        return sumColumn<A, S>(table(mSrc), mSrc, height, noStride, pDst, width, Keep<A>{});                      \
    }

ZEL_SUMS(32f, Zel32f, Zel32f, float)
ZEL_SUMS(64f, Zel64f, Zel64f, double)
ZEL_SUMS(16s32f, Zel16s, Zel32f, float)
#undef ZEL_SUMS

// The float sums, then the near rule with scaleFactor.
ZELSR_API ZelStatus zelsSumRow_16s32s_D2Sfs(const Zel16s* pSrc, int width, int step, Zel32s* pDst, int height,
                                            int scaleFactor) {
    return sumRow<float, Zel16s>(block(pSrc, step), pSrc, width, requireStride(step, width), pDst, height,
                                 Near32{scaleFactor});
}
ZELSR_API ZelStatus zelsSumRow_16s32s_D2LSfs(const Zel16s** mSrc, int width, Zel32s* pDst, int height, int scaleFactor) {
    return sumRow<float, Zel16s>(table(mSrc), mSrc, width, noStride, pDst, height, Near32{scaleFactor});
}
ZELSR_API ZelStatus zelsSumColumn_16s32s_D2Sfs(const Zel16s* pSrc, int height, int step, Zel32s* pDst, int width,
                                               int scaleFactor) {
    return sumColumn<float, Zel16s>(block(pSrc, step), pSrc, height, requireStride(step, width), pDst, width,
                                    Near32{scaleFactor});
}
ZELSR_API ZelStatus zelsSumColumn_16s32s_D2LSfs(const Zel16s** mSrc, int height, Zel32s* pDst, int width,
                                                int scaleFactor) {
    return sumColumn<float, Zel16s>(table(mSrc), mSrc, height, noStride, pDst, width, Near32{scaleFactor});
}

// ---- zelsMeanColumn, zelsVarColumn, zelsMeanVarColumn -------------------------------------------------

ZELSR_API ZelStatus zelsMeanColumn_32f_D2(const Zel32f* pSrc, int height, int step, Zel32f* pDst, int width) {
    return meanColumn<Zel32f>(block(pSrc, step), requireStride(step, width), pSrc, height, pDst, width, Keep<float>{});
}
ZELSR_API ZelStatus zelsMeanColumn_32f_D2L(const Zel32f** mSrc, int height, Zel32f* pDst, int width) {
    return meanColumn<Zel32f>(table(mSrc), noStride, mSrc, height, pDst, width, Keep<float>{});
}
// The mean rounded to nearest and saturated to 16 bits (scale 0).
ZELSR_API ZelStatus zelsMeanColumn_16s_D2(const Zel16s* pSrc, int height, int step, Zel16s* pDst, int width) {
    return meanColumn<Zel16s>(block(pSrc, step), requireStride(step, width), pSrc, height, pDst, width,
                              [](float v) { return nearSat16(v, 0); });
}
ZELSR_API ZelStatus zelsMeanColumn_16s_D2L(const Zel16s** mSrc, int height, Zel16s* pDst, int width) {
    return meanColumn<Zel16s>(table(mSrc), noStride, mSrc, height, pDst, width, [](float v) { return nearSat16(v, 0); });
}

ZELSR_API ZelStatus zelsVarColumn_32f_D2(const Zel32f* pSrc, int height, int step, const Zel32f* pSrcMean,
                                         Zel32f* pDstVar, int width) {
    return varColumn(block(pSrc, step), requireStride(step, width), pSrc, height, pSrcMean, pDstVar, width,
                     Keep<float>{});
}
ZELSR_API ZelStatus zelsVarColumn_32f_D2L(const Zel32f** mSrc, int height, const Zel32f* pSrcMean, Zel32f* pDstVar,
                                          int width) {
    return varColumn(table(mSrc), noStride, mSrc, height, pSrcMean, pDstVar, width, Keep<float>{});
}
ZELSR_API ZelStatus zelsVarColumn_16s_D2Sfs(const Zel16s* pSrc, int height, int step, const Zel16s* pSrcMean,
                                            Zel16s* pDstVar, int width, int scaleFactor) {
    return varColumn(block(pSrc, step), requireStride(step, width), pSrc, height, pSrcMean, pDstVar, width,
                     [scaleFactor](float v) { return nearSat16(v, scaleFactor); });
}
ZELSR_API ZelStatus zelsVarColumn_16s_D2LSfs(const Zel16s** mSrc, int height, const Zel16s* pSrcMean, Zel16s* pDstVar,
                                             int width, int scaleFactor) {
    return varColumn(table(mSrc), noStride, mSrc, height, pSrcMean, pDstVar, width,
                     [scaleFactor](float v) { return nearSat16(v, scaleFactor); });
}

ZELSR_API ZelStatus zelsMeanVarColumn_32f_D2(const Zel32f* pSrc, int height, int step, Zel32f* pDstMean,
                                             Zel32f* pDstVar, int width) {
    return meanVarColumn<Zel32f>(block(pSrc, step), requireStride(step, width), pSrc, height, pDstMean, pDstVar,
                                 width, Keep<float>{}, Keep<float>{});
}
ZELSR_API ZelStatus zelsMeanVarColumn_32f_D2L(const Zel32f** mSrc, int height, Zel32f* pDstMean, Zel32f* pDstVar,
                                              int width) {
    return meanVarColumn<Zel32f>(table(mSrc), noStride, mSrc, height, pDstMean, pDstVar, width, Keep<float>{},
                                 Keep<float>{});
}
// Mean as zelsMeanColumn_16s (scale 0), variance by the near rule with scaleFactor.
ZELSR_API ZelStatus zelsMeanVarColumn_16s_D2Sfs(const Zel16s* pSrc, int height, int step, Zel16s* pDstMean,
                                                Zel16s* pDstVar, int width, int scaleFactor) {
    return meanVarColumn<Zel16s>(
        block(pSrc, step), requireStride(step, width), pSrc, height, pDstMean, pDstVar, width,
        [](float v) { return nearSat16(v, 0); }, [scaleFactor](float v) { return nearSat16(v, scaleFactor); });
}
ZELSR_API ZelStatus zelsMeanVarColumn_16s_D2LSfs(const Zel16s** mSrc, int height, Zel16s* pDstMean, Zel16s* pDstVar,
                                                 int width, int scaleFactor) {
    return meanVarColumn<Zel16s>(
        table(mSrc), noStride, mSrc, height, pDstMean, pDstVar, width, [](float v) { return nearSat16(v, 0); },
        [scaleFactor](float v) { return nearSat16(v, scaleFactor); });
}
ZELSR_API ZelStatus zelsMeanVarColumn_16s32s_D2Sfs(const Zel16s* pSrc, int height, int step, Zel32s* pDstMean,
                                                   Zel32s* pDstVar, int width, int scaleFactor) {
    return meanVarColumnWide(block(pSrc, step), requireStride(step, width), pSrc, height, pDstMean, pDstVar, width,
                             ownScaleValue_64f(scaleFactor));
}
ZELSR_API ZelStatus zelsMeanVarColumn_16s32s_D2LSfs(const Zel16s** mSrc, int height, Zel32s* pDstMean,
                                                    Zel32s* pDstVar, int width, int scaleFactor) {
    return meanVarColumnWide(table(mSrc), noStride, mSrc, height, pDstMean, pDstVar, width,
                             ownScaleValue_64f(scaleFactor));
}
ZELSR_API ZelStatus zelsMeanVarColumn_16s16s32s_D2(const Zel16s* pSrc, int height, int step, Zel16s* pDstMean,
                                                   Zel32s* pDstVar, int width) {
    return meanVarColumnWide(block(pSrc, step), requireStride(step, width), pSrc, height, pDstMean, pDstVar, width,
                             1.0);
}
ZELSR_API ZelStatus zelsMeanVarColumn_16s16s32s_D2L(const Zel16s** mSrc, int height, Zel16s* pDstMean,
                                                    Zel32s* pDstVar, int width) {
    return meanVarColumnWide(table(mSrc), noStride, mSrc, height, pDstMean, pDstVar, width, 1.0);
}

// ---- zelsWeightedMeanColumn, zelsWeightedVarColumn, zelsWeightedMeanVarColumn ---------------------------

#define ZEL_WEIGHTED(suffix, T)                                                                                      \
    ZELSR_API ZelStatus zelsWeightedMeanColumn_##suffix##_D2(const T* pSrc, int step, const T* pWgt, int height,     \
                                                            T* pDstMean, int width) {                                \
        return weightedMean(block(pSrc, step), pSrc, requireStride(step, width), pWgt, height, pDstMean, width);     \
    }                                                                                                                \
    ZELSR_API ZelStatus zelsWeightedMeanColumn_##suffix##_D2L(const T** mSrc, const T* pWgt, int height,            \
                                                             T* pDstMean, int width) {                               \
        return weightedMean(table(mSrc), mSrc, noStride, pWgt, height, pDstMean, width);                             \
    }                                                                                                                \
    ZELSR_API ZelStatus zelsWeightedVarColumn_##suffix##_D2(const T* pSrc, int step, const T* pWgt, int height,      \
                                                           const T* pSrcMean, T* pDstVar, int width) {               \
        return weightedVar(block(pSrc, step), pSrc, requireStride(step, width), pWgt, height, pSrcMean, pDstVar,     \
                           width);                                                                                   \
    }                                                                                                                \
    ZELSR_API ZelStatus zelsWeightedVarColumn_##suffix##_D2L(const T** mSrc, const T* pWgt, int height,             \
                                                            const T* pSrcMean, T* pDstVar, int width) {              \
        return weightedVar(table(mSrc), mSrc, noStride, pWgt, height, pSrcMean, pDstVar, width);                     \
    }                                                                                                                \
    ZELSR_API ZelStatus zelsWeightedMeanVarColumn_##suffix##_D2(const T* pSrc, int step, const T* pWgt, int height,  \
                                                               T* pDstMean, T* pDstVar, int width) {                 \
        return weightedMeanVar(block(pSrc, step), pSrc, requireStride(step, width), pWgt, height, pDstMean, pDstVar, \
                               width);                                                                               \
    }                                                                                                                \
    ZELSR_API ZelStatus zelsWeightedMeanVarColumn_##suffix##_D2L(const T** mSrc, const T* pWgt, int height,         \
                                                                T* pDstMean, T* pDstVar, int width) {                \
        return weightedMeanVar(table(mSrc), mSrc, noStride, pWgt, height, pDstMean, pDstVar, width);                 \
    }

ZEL_WEIGHTED(32f, Zel32f)
ZEL_WEIGHTED(64f, Zel64f)
#undef ZEL_WEIGHTED

// ---- zelsNormalizeColumn, zelsAddAllRowSum, zelsAddNRows, zelsSubRow --------------------------------

ZELSR_API ZelStatus zelsNormalizeColumn_32f_D2(Zel32f* pSrcDst, int step, int height, const Zel32f* pMean,
                                               const Zel32f* pVar, int width) {
    return normalizeColumn(block(pSrcDst, step), pSrcDst, requireStride(step, width), height, pMean, pVar, width);
}
ZELSR_API ZelStatus zelsNormalizeColumn_32f_D2L(Zel32f** mSrcDst, int height, const Zel32f* pMean, const Zel32f* pVar,
                                                int width) {
    return normalizeColumn(table(mSrcDst), mSrcDst, noStride, height, pMean, pVar, width);
}
ZELSR_API ZelStatus zelsNormalizeColumn_16s_D2Sfs(Zel16s* pSrcDst, int step, int height, const Zel16s* pMean,
                                                  const Zel16s* pVar, int width, int scaleFactor) {
    return normalizeColumn(block(pSrcDst, step), pSrcDst, requireStride(step, width), height, pMean, pVar, width,
                           scaleFactor);
}
ZELSR_API ZelStatus zelsNormalizeColumn_16s_D2LSfs(Zel16s** mSrcDst, int height, const Zel16s* pMean,
                                                   const Zel16s* pVar, int width, int scaleFactor) {
    return normalizeColumn(table(mSrcDst), mSrcDst, noStride, height, pMean, pVar, width, scaleFactor);
}

ZELSR_API ZelStatus zelsAddAllRowSum_32f_D2(const Zel32f* pSrc, int step, int height, Zel32f* pSrcDst, int width) {
    return addAllRowSum(block(pSrc, step), pSrc, requireStride(step, width), height, pSrcDst, width);
}
ZELSR_API ZelStatus zelsAddAllRowSum_32f_D2L(const Zel32f** mSrc, int height, Zel32f* pSrcDst, int width) {
    return addAllRowSum(table(mSrc), mSrc, noStride, height, pSrcDst, width);
}

// Every index is tested before anything is written.
ZELSR_API ZelStatus zelsAddNRows_32f_D2(const Zel32f* pSrc, int height, int offset, int step, const Zel32s* pInd,
                                        const Zel16u* pAddInd, int rows, Zel32f* pDst, int width, Zel32f val) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pInd, pAddInd, pDst), requirePositive(rows, height, width),
                                 require(offset >= 0, zelStsSizeErr),
                                 require(int64_t(step) >= int64_t(offset) + width, zelStsStrideErr)))
        return s;
    for (int r = 0; r < rows; ++r) {
        const int64_t y = int64_t(pInd[r]) + pAddInd[r];
        if (y < 0 || y >= height) return zelStsSizeErr;
    }
    struct Picked {
        const Zel32f* base;
        int step, offset;
        const Zel32s* ind;
        const Zel16u* add;
        const Zel32f* operator()(int r) const {
            return base + (ptrdiff_t(ind[r]) + add[r]) * ptrdiff_t(step) + offset;
        }
    } picked{pSrc, step, offset, pInd, pAddInd};
    columnReduce<float, float, false, false>(picked, rows, width, static_cast<const float*>(nullptr),
                                             [&](int j, float v, float) { pDst[j] = val + v; });
    return zelStsNoErr;
}

// 16-bit differences saturate.
ZELSR_API ZelStatus zelsSubRow_32f_D2(const Zel32f* pSrc, int width, Zel32f* pSrcDst, int step, int height) {
    return subRow(pSrc, width, block(pSrcDst, step), pSrcDst, requireStride(step, width), height);
}
ZELSR_API ZelStatus zelsSubRow_32f_D2L(const Zel32f* pSrc, int width, Zel32f** mSrcDst, int height) {
    return subRow(pSrc, width, table(mSrcDst), mSrcDst, noStride, height);
}
ZELSR_API ZelStatus zelsSubRow_16s_D2(const Zel16s* pSrc, int width, Zel16s* pSrcDst, int step, int height) {
    return subRow(pSrc, width, block(pSrcDst, step), pSrcDst, requireStride(step, width), height);
}
ZELSR_API ZelStatus zelsSubRow_16s_D2L(const Zel16s* pSrc, int width, Zel16s** mSrcDst, int height) {
    return subRow(pSrc, width, table(mSrcDst), mSrcDst, noStride, height);
}

// ---- zelsCopyColumn, zelsCopyColumn_Indirect -----------------------------------------------------------

ZELSR_API ZelStatus zelsCopyColumn_32f_D2(const Zel32f* pSrc, int width, Zel32f* pDst, int step, int height) {
    return copyColumn(pSrc, width, pDst, step, height);
}
ZELSR_API ZelStatus zelsCopyColumn_16s_D2(const Zel16s* pSrc, int width, Zel16s* pDst, int step, int height) {
    return copyColumn(pSrc, width, pDst, step, height);
}

#define ZEL_INDIRECT(suffix, T)                                                                                      \
    ZELSR_API ZelStatus zelsCopyColumn_Indirect_##suffix##_D2(const T* pSrc, int srcLen, int srcStep, T* pDst,       \
                                                             const Zel32s* pIndex, int dstLen, int dstStep,         \
                                                             int height) {                                          \
        return copyIndirect<T>(block(pSrc, srcStep), pSrc, srcLen, requireStride(srcStep, srcLen),                   \
                               block(pDst, dstStep), pDst, pIndex, dstLen, requireStride(dstStep, dstLen), height); \
    }                                                                                                                \
    ZELSR_API ZelStatus zelsCopyColumn_Indirect_##suffix##_D2L(const T** mSrc, int srcLen, T** mDst,                \
                                                              const Zel32s* pIndex, int dstLen, int height) {       \
        return copyIndirect<T>(table(mSrc), mSrc, srcLen, noStride, table(mDst), mDst, pIndex, dstLen, noStride,     \
                               height);                                                                             \
    }

ZEL_INDIRECT(16s, Zel16s)
ZEL_INDIRECT(32f, Zel32f)
ZEL_INDIRECT(64f, Zel64f)
#undef ZEL_INDIRECT

// ---- zelsMatVecMul, zelsVecMatMul ---------------------------------------------------------------------

ZELSR_API ZelStatus zelsMatVecMul_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pSrcVec, int width, Zel32f* pDst,
                                         int height) {
    return matVecMul32f(block(pSrc, step), pSrc, requireStride(step, width), pSrcVec, width, pDst, height);
}
ZELSR_API ZelStatus zelsMatVecMul_32f_D2L(const Zel32f** mSrc, const Zel32f* pSrcVec, int width, Zel32f* pDst,
                                          int height) {
    return matVecMul32f(table(mSrc), mSrc, noStride, pSrcVec, width, pDst, height);
}
ZELSR_API ZelStatus zelsVecMatMul_32f_D2(const Zel32f* pSrcVec, const Zel32f* pSrc, int step, int height, Zel32f* pDst,
                                         int width) {
    return vecMatMul32f(pSrcVec, block(pSrc, step), pSrc, requireStride(step, width), height, pDst, width);
}
ZELSR_API ZelStatus zelsVecMatMul_32f_D2L(const Zel32f* pSrcVec, const Zel32f** mSrc, int height, Zel32f* pDst,
                                          int width) {
    return vecMatMul32f(pSrcVec, table(mSrc), mSrc, noStride, height, pDst, width);
}

// Exact sums of products, shifted by scaleFactor and saturated.
#define ZEL_PRODUCTS_SFS(suffix, S, D)                                                                               \
    ZELSR_API ZelStatus zelsMatVecMul_##suffix##_D2Sfs(const S* pSrc, int step, const S* pSrcVec, int width, D* pDst, \
                                                      int height, int scaleFactor) {                                 \
        return matVecMulSfs(block(pSrc, step), pSrc, requireStride(step, width), pSrcVec, width, pDst, height,       \
                            scaleFactor);                                                                            \
    }                                                                                                                \
    ZELSR_API ZelStatus zelsMatVecMul_##suffix##_D2LSfs(const S** mSrc, const S* pSrcVec, int width, D* pDst,        \
                                                       int height, int scaleFactor) {                                \
        return matVecMulSfs(table(mSrc), mSrc, noStride, pSrcVec, width, pDst, height, scaleFactor);                 \
    }                                                                                                                \
    ZELSR_API ZelStatus zelsVecMatMul_##suffix##_D2Sfs(const S* pSrcVec, const S* pSrc, int step, int height,        \
                                                      D* pDst, int width, int scaleFactor) {                         \
        return vecMatMulSfs(pSrcVec, block(pSrc, step), pSrc, requireStride(step, width), height, pDst, width,       \
                            scaleFactor);                                                                            \
    }                                                                                                                \
    ZELSR_API ZelStatus zelsVecMatMul_##suffix##_D2LSfs(const S* pSrcVec, const S** mSrc, int height, D* pDst,       \
                                                       int width, int scaleFactor) {                                 \
        return vecMatMulSfs(pSrcVec, table(mSrc), mSrc, noStride, height, pDst, width, scaleFactor);                 \
    }

ZEL_PRODUCTS_SFS(16s, Zel16s, Zel16s)
ZEL_PRODUCTS_SFS(16s32s, Zel16s, Zel32s)
ZEL_PRODUCTS_SFS(32s, Zel32s, Zel32s)
#undef ZEL_PRODUCTS_SFS

// ---- zelsNthMaxElement -----------------------------------------------------------------------------------

ZELSR_API ZelStatus zelsNthMaxElement_32f(const Zel32f* pSrc, int len, int N, Zel32f* pRes) {
    return nthMaxElement(pSrc, len, N, pRes);
}
ZELSR_API ZelStatus zelsNthMaxElement_32s(const Zel32s* pSrc, int len, int N, Zel32s* pRes) {
    return nthMaxElement(pSrc, len, N, pRes);
}
ZELSR_API ZelStatus zelsNthMaxElement_64f(const Zel64f* pSrc, int len, int N, Zel64f* pRes) {
    return nthMaxElement(pSrc, len, N, pRes);
}

// ---- Row and column operations of the decomposition ---------------------------------------------------

ZELSR_API ZelStatus zelsSumRowAbs_64f(const Zel64f* pSrc, int len, Zel64f* pDst) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    *pDst = sumRowAbs(pSrc, len);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsSumRowSqr_64f(Zel64f* pSrcDst, int len, Zel64f* pDst, Zel64f val) {
    if (ZelStatus s = firstError(requireNonNull(pSrcDst, pDst), requirePositive(len))) return s;
    *pDst = sumRowSqr(pSrcDst, len, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsAddMulRow_64f(const Zel64f* pSrc, Zel64f* pSrcDst, int len, Zel64f val) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSrcDst), requirePositive(len))) return s;
    addMulRow(pSrc, pSrcDst, len, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsSumColumnAbs_64f_D2L(const Zel64f** mSrc, int width, int height, Zel64f* pDst, int col,
                                             int row) {
    if (ZelStatus s = firstError(requireNonNull(pDst), checkColumns(mSrc, width, height, col, col, row))) return s;
    *pDst = sumColumnAbs(table(mSrc), height, col, row);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsSumColumnSqr_64f_D2L(Zel64f** mSrcDst, int width, int height, Zel64f* pDst, int col, int row,
                                             Zel64f val) {
    if (ZelStatus s = firstError(requireNonNull(pDst), checkColumns(mSrcDst, width, height, col, col, row))) return s;
    *pDst = sumColumnSqr(table(mSrcDst), height, col, row, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsDotProdColumn_64f_D2L(const Zel64f** mSrc, int width, int height, Zel64f* pDst, int col1,
                                              int col2, int row) {
    if (ZelStatus s = firstError(requireNonNull(pDst), checkColumns(mSrc, width, height, col1, col2, row))) return s;
    *pDst = dotProdColumn(table(mSrc), height, col1, col2, row);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsMulColumn_64f_D2L(Zel64f** mSrcDst, int width, int height, int col, int row, Zel64f val) {
    if (ZelStatus s = checkColumns(mSrcDst, width, height, col, col, row)) return s;
    mulColumn(table(mSrcDst), height, col, row, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsAddMulColumn_64f_D2L(Zel64f** mSrcDst, int width, int height, int col1, int col2, int row,
                                             Zel64f val) {
    if (ZelStatus s = checkColumns(mSrcDst, width, height, col1, col2, row)) return s;
    addMulColumn(table(mSrcDst), height, col1, col2, row, val);
    return zelStsNoErr;
}

}  // extern "C"
