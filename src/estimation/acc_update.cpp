// SPDX-License-Identifier: Apache-2.0
// Accumulators and updates of Gaussian re-estimation: zelsMeanVarAcc,
// zelsUpdateMean, zelsUpdateVar, zelsUpdateWeight, zelsUpdateGConst,
// zelsNewVar, zelsSumMeanVar, zelsAccCovarianceMatrix, zelsWeightedSum(Half)
// and zelsScaleLM. Each exported function tests its arguments in the
// family's order and runs one kernel of acc_update_kernels.hpp.
#include "estimation/acc_update_kernels.hpp"

#define ZELSR_EST_TARGET base
#include "estimation/covariance_kernels.hpp"

#include "estimation/covariance_avx2.hpp"

#include "estimation/scratch.hpp"
#include "estimation/sum_ln.hpp"
#include "frame/checks.hpp"
#include "frame/dispatch.hpp"
#include "zelcore.h"
#include "zelsr.h"

namespace {

using namespace zel;
using namespace zel::est;

// log(2 pi) as the Gaussian constant of the library holds it, cut to 13
// decimals.
constexpr double kLog2Pi = 1.8378770664093;

// Negative counts first, then counts that count as zero: one test each over
// all the counts of a call.
template <class... T>
ZelStatus checkOcc(T... occ) {
    return firstError(require(!((occ < T(0)) || ...), zelStsNegOccErr),
                      require(!(isZeroOcc(occ) || ...), zelStsZeroOcc));
}

ZelStatus flooredStatus(int floored, int len) { return floored == len ? zelStsResFloor : zelStsNoErr; }

template <class T>
ZelStatus meanVarAccBy(const T* pSrc, const T* pSrcMean, T* pDstMeanAcc, T* pDstVarAcc, int len, T val) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSrcMean, pDstMeanAcc, pDstVarAcc), requirePositive(len)))
        return s;
    if (allAligned16(pSrc, pSrcMean, pDstMeanAcc, pDstVarAcc))
        meanVarAcc<true>(pSrc, pSrcMean, pDstMeanAcc, pDstVarAcc, len, val);
    else
        meanVarAcc<false>(pSrc, pSrcMean, pDstMeanAcc, pDstVarAcc, len, val);
    return zelStsNoErr;
}

template <class T>
ZelStatus updateMeanBy(const T* pMeanAcc, T* pMean, int len, T meanOcc) {
    if (ZelStatus s = firstError(requireNonNull(pMeanAcc, pMean), requirePositive(len), checkOcc(meanOcc))) return s;
    updateMean(pMeanAcc, pMean, len, meanOcc);
    return zelStsNoErr;
}

template <class T>
ZelStatus updateVarBy(const T* pMeanAcc, const T* pVarAcc, const T* pVarFloor, T* pVar, int len, T meanOcc,
                      T varOcc) {
    if (ZelStatus s = firstError(requireNonNull(pMeanAcc, pVarAcc, pVarFloor, pVar), requirePositive(len),
                                 checkOcc(meanOcc, varOcc)))
        return s;
    return flooredStatus(updateVar(pMeanAcc, pVarAcc, pVarFloor, pVar, len, meanOcc, varOcc), len);
}

template <class T>
ZelStatus updateWeightBy(const T* pWeightAcc, T* pWeight, int len, T* pWeightSum, T weightOcc, T weightFloor) {
    if (ZelStatus s = firstError(requireNonNull(pWeightAcc, pWeight, pWeightSum), requirePositive(len),
                                 checkOcc(weightOcc)))
        return s;
    return flooredStatus(updateWeight(pWeightAcc, pWeight, len, pWeightSum, weightOcc, weightFloor), len);
}

// len * c -/+ L, with the sum's own status deciding; _32f rounds len * c to
// single precision first.
ZelStatus sumLnOf(const Zel32f* p, int len, Zel32f* sum) { return ownSumLn_32f(p, len, sum); }
ZelStatus sumLnOf(const Zel64f* p, int len, Zel64f* sum) { return ownSumLn_64f(p, len, sum); }

template <class T>
ZelStatus gconstBy(const T* pVar, int len, T* pDet, bool directVar) {
    if (ZelStatus s = firstError(requireNonNull(pVar, pDet), requirePositive(len))) return s;
    T sum;
    const ZelStatus s = sumLnOf(pVar, len, &sum);
    if (s != zelStsNoErr) {
        *pDet = sum;  // +inf or the negative quiet NaN, as the sum left it
        return s;
    }
    const T lenC = T(double(len) * kLog2Pi);
    *pDet = directVar ? lenC + sum : lenC - sum;
    return zelStsNoErr;
}

// ---- New variance ----

ZelStatus newVar32sBy(const Zel32s* pSrcMean, const Zel32s* pSrcVar, Zel32s* pDstVar, int len, Zel32f val1,
                      Zel32f val2, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrcMean, pSrcVar, pDstVar), requirePositive(len))) return s;
    // The aligned kernel rounds to nearest, the unaligned one truncates: the
    // difference between the two paths is part of the interface.
    if (allAligned16(pSrcMean, pSrcVar, pDstVar)) {
        for (int i = 0; i < len; ++i)
            pDstVar[i] = nearSat32(newVar<float>(float(pSrcMean[i]), float(pSrcVar[i]), val1, val2), scaleFactor);
    } else {
        const float scale = ownScaleValue_32f(scaleFactor);
        for (int i = 0; i < len; ++i)
            pDstVar[i] =
                satRounded32(truncf(newVar<float>(float(pSrcMean[i]), float(pSrcVar[i]), val1, val2) * scale));
    }
    return zelStsNoErr;
}

// ---- Column sums ----

template <class S>
ZelStatus sumMeanVarFloat(const S* pSrc, int step, int height, Zel32f* pDstMean, Zel32f* pDstVar, int width,
                          bool accumulate) {
    if (ZelStatus s = firstError(requireStride(step, width), requireNonNull(pSrc, pDstMean, pDstVar),
                                 requirePositive(height, width)))
        return s;
    columnSums(
        pSrc, step, height, width,
        [=](int j, float& sum, float& sq) {
            sum = accumulate ? pDstMean[j] : 0.0f;
            sq = accumulate ? pDstVar[j] : 0.0f;
        },
        [=](int j, float sum, float sq) {
            pDstMean[j] = sum;
            pDstVar[j] = sq;
        });
    return zelStsNoErr;
}

ZelStatus sumMeanVarFixed(const Zel16s* pSrc, int step, int height, Zel32s* pDstMean, Zel32s* pDstVar, int width,
                          int scaleFactor, bool accumulate) {
    if (ZelStatus s = firstError(requireStride(step, width), requireNonNull(pSrc, pDstMean, pDstVar),
                                 requirePositive(height, width)))
        return s;
    columnSums(
        pSrc, step, height, width,
        [=](int j, float& sum, float& sq) {
            sum = accumulate ? float(pDstMean[j]) : 0.0f;
            sq = accumulate ? float(pDstVar[j]) : 0.0f;
        },
        [=](int j, float sum, float sq) {
            pDstMean[j] = nearSat32(sum, scaleFactor);
            pDstVar[j] = nearSat32(sq, scaleFactor);
        });
    return zelStsNoErr;
}

// ---- Covariance ----

// Differences of up to 512 columns stay on the stack; wider rows take
// scratch, allocated before anything is written. On a processor with AVX2
// the accumulation runs in acc_update_avx2.cpp, with the same bits.
constexpr int kCovLocalWidth = 512;

template <class S>
ZelStatus covariance(base::SrcRows<S> src, int height, const S* pMean, base::DstRows dst, int width, double val) {
    alignas(16) double local[base::kCovRows * kCovLocalWidth];
    double* d = local;
    if (width > kCovLocalWidth) {
        d = allocScratch<double>(int64_t(base::kCovRows) * width);
        if (!d) return zelStsMemAllocErr;
    }
    bool done = false;
    if constexpr (kBuiltWithAvx2)
        if (runsAvx2()) {
            avx2::accumulateCovariance(src.base, src.step, src.table, height, pMean, dst.base, dst.step, dst.table,
                                       width, d);
            done = true;
        }
    if (!done) base::accumulateCovariance(src, height, pMean, dst, width, d);
    scaleAndMirror(dst, width, val);
    if (d != local) zelFree(d);
    return zelStsNoErr;
}

template <class S>
ZelStatus covarianceD2(const S* pSrc, int step, int height, const S* pMean, Zel64f* pDst, int width, int dstStep,
                       Zel64f val) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pMean, pDst), requirePositive(height, width),
                                 requireStride(step, width), requireStride(dstStep, width)))
        return s;
    return covariance(base::SrcRows<S>{pSrc, step, nullptr}, height, pMean, base::DstRows{pDst, dstStep, nullptr}, width,
                      val);
}

template <class S>
ZelStatus covarianceD2L(const S** mSrc, int height, const S* pMean, Zel64f** mDst, int width, Zel64f val) {
    if (ZelStatus s = firstError(requireNonNull(mSrc, pMean, mDst), requirePositive(height, width))) return s;
    return covariance(base::SrcRows<S>{nullptr, 0, mSrc}, height, pMean, base::DstRows{nullptr, 0, mDst}, width, val);
}

// ---- Weighted sums ----

template <class T>
struct ZeroSumValues;
template <>
struct ZeroSumValues<Zel32f> {
    static Zel32f nan() { return negativeQuietNaN32f(); }
    static Zel32f pos() { return INFINITY; }
    static Zel32f neg() { return -INFINITY; }
};
template <>
struct ZeroSumValues<Zel64f> {
    static Zel64f nan() { return negativeQuietNaN64f(); }
    static Zel64f pos() { return INFINITY; }
    static Zel64f neg() { return -INFINITY; }
};
template <>
struct ZeroSumValues<Zel16s> {
    static Zel16s nan() { return 0; }
    static Zel16s pos() { return 32767; }
    static Zel16s neg() { return -32768; }
};

// A zero weight sum: each element takes the value that the sign of
// pSrc1 * weight1 + pSrc2 * weight2 selects.
template <class T, class C>
ZelStatus zeroWeightSum(const T* a, const T* b, T* dst, int len, C w1, C w2) {
    using Z = ZeroSumValues<T>;
    for (int i = 0; i < len; ++i) {
        switch (signOf(C(a[i]) * w1 + C(b[i]) * w2)) {
            case SignOf::Positive: dst[i] = Z::pos(); break;
            case SignOf::Negative: dst[i] = Z::neg(); break;
            default: dst[i] = Z::nan();
        }
    }
    return zelStsDivByZero;
}

template <class T>
ZelStatus weightedSumFloat(const T* pSrc1, const T* pSrc2, T* pDst, int len, T weight1, T weight2, bool half) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDst), requirePositive(len))) return s;
    const T sum = weight1 + weight2;
    if (sum == T(0)) return zeroWeightSum(pSrc1, pSrc2, pDst, len, weight1, weight2);
    weightedSum(pSrc1, pSrc2, len, coefficients(weight1, weight2, sum, half), [=](int i, T v) { pDst[i] = v; });
    return zelStsNoErr;
}

ZelStatus weightedSum16s(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len, Zel32f weight1,
                         Zel32f weight2, bool half) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDst), requirePositive(len))) return s;
    const Zel32f sum = weight1 + weight2;
    if (sum == 0.0f) return zeroWeightSum(pSrc1, pSrc2, pDst, len, weight1, weight2);
    const Coefficients<float> c = coefficients(weight1, weight2, sum, half);
    // The vector kernel rounds to nearest, the scalar one truncates: which
    // one runs depends on len and alignment, and so does the result.
    if (len >= 8 && allAligned16(pSrc1, pSrc2, pDst))
        weightedSum(pSrc1, pSrc2, len, c, [=](int i, float v) { pDst[i] = satRounded16(roundHalfEven(v)); });
    else
        weightedSum(pSrc1, pSrc2, len, c, [=](int i, float v) { pDst[i] = satRounded16(truncf(v)); });
    return zelStsNoErr;
}

}  // namespace

extern "C" {

// ---- Accumulators and updates ----

ZELSR_API ZelStatus zelsMeanVarAcc_32f(const Zel32f* pSrc, const Zel32f* pSrcMean, Zel32f* pDstMeanAcc,
                                       Zel32f* pDstVarAcc, int len, Zel32f val) {
    return meanVarAccBy(pSrc, pSrcMean, pDstMeanAcc, pDstVarAcc, len, val);
}
ZELSR_API ZelStatus zelsMeanVarAcc_64f(const Zel64f* pSrc, const Zel64f* pSrcMean, Zel64f* pDstMeanAcc,
                                       Zel64f* pDstVarAcc, int len, Zel64f val) {
    return meanVarAccBy(pSrc, pSrcMean, pDstMeanAcc, pDstVarAcc, len, val);
}

ZELSR_API ZelStatus zelsUpdateMean_32f(const Zel32f* pMeanAcc, Zel32f* pMean, int len, Zel32f meanOcc) {
    return updateMeanBy(pMeanAcc, pMean, len, meanOcc);
}
ZELSR_API ZelStatus zelsUpdateMean_64f(const Zel64f* pMeanAcc, Zel64f* pMean, int len, Zel64f meanOcc) {
    return updateMeanBy(pMeanAcc, pMean, len, meanOcc);
}

ZELSR_API ZelStatus zelsUpdateVar_32f(const Zel32f* pMeanAcc, const Zel32f* pVarAcc, const Zel32f* pVarFloor,
                                      Zel32f* pVar, int len, Zel32f meanOcc, Zel32f varOcc) {
    return updateVarBy(pMeanAcc, pVarAcc, pVarFloor, pVar, len, meanOcc, varOcc);
}
ZELSR_API ZelStatus zelsUpdateVar_64f(const Zel64f* pMeanAcc, const Zel64f* pVarAcc, const Zel64f* pVarFloor,
                                      Zel64f* pVar, int len, Zel64f meanOcc, Zel64f varOcc) {
    return updateVarBy(pMeanAcc, pVarAcc, pVarFloor, pVar, len, meanOcc, varOcc);
}

ZELSR_API ZelStatus zelsUpdateWeight_32f(const Zel32f* pWeightAcc, Zel32f* pWeight, int len, Zel32f* pWeightSum,
                                         Zel32f weightOcc, Zel32f weightFloor) {
    return updateWeightBy(pWeightAcc, pWeight, len, pWeightSum, weightOcc, weightFloor);
}
ZELSR_API ZelStatus zelsUpdateWeight_64f(const Zel64f* pWeightAcc, Zel64f* pWeight, int len, Zel64f* pWeightSum,
                                         Zel64f weightOcc, Zel64f weightFloor) {
    return updateWeightBy(pWeightAcc, pWeight, len, pWeightSum, weightOcc, weightFloor);
}

ZELSR_API ZelStatus zelsUpdateGConst_32f(const Zel32f* pVar, int len, Zel32f* pDet) {
    return gconstBy(pVar, len, pDet, false);
}
ZELSR_API ZelStatus zelsUpdateGConst_64f(const Zel64f* pVar, int len, Zel64f* pDet) {
    return gconstBy(pVar, len, pDet, false);
}
ZELSR_API ZelStatus zelsUpdateGConst_DirectVar_32f(const Zel32f* pVar, int len, Zel32f* pDet) {
    return gconstBy(pVar, len, pDet, true);
}
ZELSR_API ZelStatus zelsUpdateGConst_DirectVar_64f(const Zel64f* pVar, int len, Zel64f* pDet) {
    return gconstBy(pVar, len, pDet, true);
}

// ---- New variance ----

ZELSR_API ZelStatus zelsNewVar_32f(const Zel32f* pSrcMean, const Zel32f* pSrcVar, Zel32f* pDstVar, int len,
                                   Zel32f val1, Zel32f val2) {
    if (ZelStatus s = firstError(requireNonNull(pSrcMean, pSrcVar, pDstVar), requirePositive(len))) return s;
    for (int i = 0; i < len; ++i) pDstVar[i] = Zel32f(newVar<double>(pSrcMean[i], pSrcVar[i], val1, val2));
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsNewVar_32f_I(const Zel32f* pSrcMean, Zel32f* pSrcDstVar, int len, Zel32f val1, Zel32f val2) {
    if (ZelStatus s = firstError(requireNonNull(pSrcMean, pSrcDstVar), requirePositive(len))) return s;
    for (int i = 0; i < len; ++i) pSrcDstVar[i] = newVar<float>(pSrcMean[i], pSrcDstVar[i], val1, val2);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsNewVar_32s_Sfs(const Zel32s* pSrcMean, const Zel32s* pSrcVar, Zel32s* pDstVar, int len,
                                       Zel32f val1, Zel32f val2, int scaleFactor) {
    return newVar32sBy(pSrcMean, pSrcVar, pDstVar, len, val1, val2, scaleFactor);
}
ZELSR_API ZelStatus zelsNewVar_32s_ISfs(const Zel32s* pSrcMean, Zel32s* pSrcDstVar, int len, Zel32f val1, Zel32f val2,
                                        int scaleFactor) {
    return newVar32sBy(pSrcMean, pSrcDstVar, pSrcDstVar, len, val1, val2, scaleFactor);
}

// ---- Column sums ----

ZELSR_API ZelStatus zelsSumMeanVar_32f(const Zel32f* pSrc, int step, int height, Zel32f* pDstMean, Zel32f* pDstVar,
                                       int width) {
    return sumMeanVarFloat(pSrc, step, height, pDstMean, pDstVar, width, false);
}
ZELSR_API ZelStatus zelsSumMeanVar_32f_I(const Zel32f* pSrc, int step, int height, Zel32f* pDstMean, Zel32f* pDstVar,
                                         int width) {
    return sumMeanVarFloat(pSrc, step, height, pDstMean, pDstVar, width, true);
}
ZELSR_API ZelStatus zelsSumMeanVar_16s32f(const Zel16s* pSrc, int step, int height, Zel32f* pDstMean, Zel32f* pDstVar,
                                          int width) {
    return sumMeanVarFloat(pSrc, step, height, pDstMean, pDstVar, width, false);
}
ZELSR_API ZelStatus zelsSumMeanVar_16s32f_I(const Zel16s* pSrc, int step, int height, Zel32f* pDstMean,
                                            Zel32f* pDstVar, int width) {
    return sumMeanVarFloat(pSrc, step, height, pDstMean, pDstVar, width, true);
}
ZELSR_API ZelStatus zelsSumMeanVar_16s32s_Sfs(const Zel16s* pSrc, int step, int height, Zel32s* pDstMean,
                                              Zel32s* pDstVar, int width, int scaleFactor) {
    return sumMeanVarFixed(pSrc, step, height, pDstMean, pDstVar, width, scaleFactor, false);
}
ZELSR_API ZelStatus zelsSumMeanVar_16s32s_ISfs(const Zel16s* pSrc, int step, int height, Zel32s* pDstMean,
                                               Zel32s* pDstVar, int width, int scaleFactor) {
    return sumMeanVarFixed(pSrc, step, height, pDstMean, pDstVar, width, scaleFactor, true);
}

// ---- Covariance ----

ZELSR_API ZelStatus zelsAccCovarianceMatrix_32f64f_D2(const Zel32f* pSrc, int step, int height, const Zel32f* pMean,
                                                      Zel64f* pDst, int width, int dstStep, Zel64f val) {
    return covarianceD2(pSrc, step, height, pMean, pDst, width, dstStep, val);
}
ZELSR_API ZelStatus zelsAccCovarianceMatrix_16s64f_D2(const Zel16s* pSrc, int step, int height, const Zel16s* pMean,
                                                      Zel64f* pDst, int width, int dstStep, Zel64f val) {
    return covarianceD2(pSrc, step, height, pMean, pDst, width, dstStep, val);
}
ZELSR_API ZelStatus zelsAccCovarianceMatrix_32f64f_D2L(const Zel32f** mSrc, int height, const Zel32f* pMean,
                                                       Zel64f** mDst, int width, Zel64f val) {
    return covarianceD2L(mSrc, height, pMean, mDst, width, val);
}
ZELSR_API ZelStatus zelsAccCovarianceMatrix_16s64f_D2L(const Zel16s** mSrc, int height, const Zel16s* pMean,
                                                       Zel64f** mDst, int width, Zel64f val) {
    return covarianceD2L(mSrc, height, pMean, mDst, width, val);
}

// ---- Weighted sums ----

ZELSR_API ZelStatus zelsWeightedSum_16s(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len,
                                        Zel32f weight1, Zel32f weight2) {
    return weightedSum16s(pSrc1, pSrc2, pDst, len, weight1, weight2, false);
}
ZELSR_API ZelStatus zelsWeightedSum_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len,
                                        Zel32f weight1, Zel32f weight2) {
    return weightedSumFloat(pSrc1, pSrc2, pDst, len, weight1, weight2, false);
}
ZELSR_API ZelStatus zelsWeightedSum_64f(const Zel64f* pSrc1, const Zel64f* pSrc2, Zel64f* pDst, int len,
                                        Zel64f weight1, Zel64f weight2) {
    return weightedSumFloat(pSrc1, pSrc2, pDst, len, weight1, weight2, false);
}
ZELSR_API ZelStatus zelsWeightedSumHalf_16s(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len,
                                            Zel32f weight1, Zel32f weight2) {
    return weightedSum16s(pSrc1, pSrc2, pDst, len, weight1, weight2, true);
}
ZELSR_API ZelStatus zelsWeightedSumHalf_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len,
                                            Zel32f weight1, Zel32f weight2) {
    return weightedSumFloat(pSrc1, pSrc2, pDst, len, weight1, weight2, true);
}
ZELSR_API ZelStatus zelsWeightedSumHalf_64f(const Zel64f* pSrc1, const Zel64f* pSrc2, Zel64f* pDst, int len,
                                            Zel64f weight1, Zel64f weight2) {
    return weightedSumFloat(pSrc1, pSrc2, pDst, len, weight1, weight2, true);
}

// ---- Floored affine map ----

ZELSR_API ZelStatus zelsScaleLM_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f floor, Zel32f scale,
                                    Zel32f base) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    for (int i = 0; i < len; ++i) pDst[i] = (pSrc[i] > floor ? pSrc[i] : floor) * scale + base;
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsScaleLM_16s32s(const Zel16s* pSrc, Zel32s* pDst, int len, Zel16s floor, Zel16s scale,
                                       Zel32s base) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    for (int i = 0; i < len; ++i) {
        const int32_t x = pSrc[i] > floor ? pSrc[i] : floor;
        pDst[i] = wrap32(int64_t(x * int32_t(scale)) + base);
    }
    return zelStsNoErr;
}

}  // extern "C"
