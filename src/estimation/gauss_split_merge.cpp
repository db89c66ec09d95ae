// SPDX-License-Identifier: Apache-2.0
// Split, merge and distance of diagonal Gaussians: zelsGaussianSplit,
// zelsGaussianMerge, zelsGaussianDist, zelsBhatDist(SLog) and the cluster
// statistics zelsDcsClustLAccumulate and zelsDcsClustLCompute. The checks
// come in each member's own order; the arithmetic is in
// gauss_split_merge_kernels.hpp.
#include "estimation/gauss_split_merge_kernels.hpp"

#include "estimation/scratch.hpp"
#include "estimation/sum_ln.hpp"
#include "frame/checks.hpp"
#include "frame/fixed.hpp"
#include "zelcore.h"
#include "zelsr.h"

namespace {

using namespace zel;
using namespace zel::est;

// The negative quiet NaN of each result type.
inline float nanOf(float) { return negativeQuietNaN32f(); }
inline double nanOf(double) { return negativeQuietNaN64f(); }

// Scratch of n elements: on the stack up to kLocal, else from zelMalloc.
template <class T, int kLocal>
class Scratch {
public:
    explicit Scratch(int n) : p_(n <= kLocal ? local_ : allocScratch<T>(n)) {}
    ~Scratch() {
        if (p_ != local_) zelFree(p_);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    T* get() const { return p_; }

private:
    alignas(16) T local_[kLocal];
    T* p_;
};

// ---- Merge ----

// Single precision walks once and stops at the first merged variance that
// has no logarithm: that element is written, the ones behind it are not.
ZelStatus merge32f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2, const Zel32f* pVar2,
                   Zel32f* pDstMean, Zel32f* pDstVar, int len, Zel32f* pDstDet, Zel32f weight1, Zel32f weight2) {
    const double w1 = weight1, w2 = weight2, s = w1 + w2;
    double logSum = 0.0;
    for (int i = 0; i < len; ++i) {
        const Moments g = merged(pMean1[i], pVar1[i], pMean2[i], pVar2[i], w1, w2, s);
        pDstMean[i] = Zel32f(g.mean);
        pDstVar[i] = Zel32f(g.var);
        if (g.var == 0.0) {
            *pDstDet = INFINITY;
            return zelStsLnZeroArg;
        }
        if (g.var < 0.0) {
            *pDstDet = negativeQuietNaN32f();
            return zelStsLnNegArg;
        }
        logSum += log(g.var);
    }
    *pDstDet = Zel32f(double(len) * kLog2PiCut - logSum);
    return zelStsNoErr;
}

// Double precision writes every element, then sums the logarithms in chunks.
ZelStatus merge64f(const Zel64f* pMean1, const Zel64f* pVar1, const Zel64f* pMean2, const Zel64f* pVar2,
                   Zel64f* pDstMean, Zel64f* pDstVar, int len, Zel64f* pDstDet, Zel64f weight1, Zel64f weight2) {
    const double s = weight1 + weight2;
    for (int i = 0; i < len; ++i) {
        const Moments g = merged(pMean1[i], pVar1[i], pMean2[i], pVar2[i], weight1, weight2, s);
        pDstMean[i] = g.mean;
        pDstVar[i] = g.var;
    }
    double logSum;
    if (ZelStatus st = ownSumLn_64f(pDstVar, len, &logSum)) {
        *pDstDet = logSum;
        return st;
    }
    *pDstDet = double(len) * kLog2PiCut - logSum;
    return zelStsNoErr;
}

// ---- Distance ----

// Below these lengths the logarithms are taken one by one; from them on,
// the merged variances go to scratch and are summed in chunks.
template <class T>
constexpr int kDistDirect = sizeof(T) == 4 ? 13 : 11;

// The first-weighted part of the cost: in single precision for _32f.
inline double weightedDets(float w1, float d1, float w2, float d2) { return double(w1 * d1 + w2 * d2); }
inline double weightedDets(double w1, double d1, double w2, double d2) { return w1 * d1 + w2 * d2; }

template <class T>
ZelStatus distance(const T* pMean1, const T* pVar1, const T* pMean2, const T* pVar2, int len, T* pResult, T weight1,
                   T det1, T weight2, T det2) {
    if (ZelStatus s = firstError(requirePositive(len), requireNonNull(pMean1, pVar1, pMean2, pVar2, pResult))) return s;
    const double w1 = weight1, w2 = weight2, s = w1 + w2;
    double logSum = 0.0;
    if (len < kDistDirect<T>) {
        for (int i = 0; i < len; ++i) {
            const double v = merged(pMean1[i], pVar1[i], pMean2[i], pVar2[i], w1, w2, s).var;
            if (v == 0.0) {
                *pResult = T(INFINITY);
                return zelStsLnZeroArg;
            }
            if (v < 0.0) {
                *pResult = nanOf(T());
                return zelStsLnNegArg;
            }
            logSum += log(v);
        }
    } else {
        double* v = allocScratch<double>(len);
        if (!v) return zelStsMemAllocErr;
        for (int i = 0; i < len; ++i) v[i] = merged(pMean1[i], pVar1[i], pMean2[i], pVar2[i], w1, w2, s).var;
        const ZelStatus st = ownSumLn_64f(v, len, &logSum);
        zelFree(v);
        if (st != zelStsNoErr) {
            *pResult = T(logSum);
            return st;
        }
    }
    *pResult = T(weightedDets(weight1, det1, weight2, det2) - s * (double(len) * kLog2PiCut - logSum));
    return zelStsNoErr;
}

// ---- Bhattacharyya ----

constexpr int kBhatLocal = 1024;

template <class R>
ZelStatus rangeStatus(const Zel32f* m1, const Zel32f* v1, const Zel32f* m2, const Zel32f* v2, int len, R* pResult) {
    const int verdict = rangeVerdict(m1, v1, m2, v2, len);
    if (verdict < 0) {
        *pResult = nanOf(R());
        return zelStsLnNegArg;
    }
    if (verdict > 0) {
        *pResult = R(INFINITY);
        return zelStsLnZeroArg;
    }
    return zelStsNoErr;
}

template <class R>
ZelStatus checkBhat(const Zel32f* m1, const Zel32f* v1, const Zel32f* m2, const Zel32f* v2, int len, R* pResult) {
    return firstError(requireNonNull(m1, v1, m2, v2, pResult), requirePositive(len));
}

// The two SLog forms share the caller's log sums, added and quartered in
// single precision.
inline double quarterLogSums(Zel32f sumLog1, Zel32f sumLog2) { return double((sumLog1 + sumLog2) * 0.25f); }

// ---- Cluster likelihood ----

template <class S, class O>
ZelStatus clusterLikelihood(const S* pSum, const S* pSqr, int len, Zel64f* pDst, O occ) {
    if (ZelStatus s = firstError(requireNonNull(pSum, pSqr, pDst), requirePositive(len),
                                 require(!(occ < O(0)), zelStsNegOccErr)))
        return s;
    const double n = occ;
    if (n == 0.0) {
        *pDst = -1e10;
        return zelStsZeroOcc;
    }
    double logSum = 0.0;
    bool zero = false;
    for (int i = 0; i < len; ++i) {
        const double sum = pSum[i];
        const double t = double(pSqr[i]) * n - sum * sum;
        if (t < 0.0) {
            *pDst = negativeQuietNaN64f();
            return zelStsLnNegArg;
        }
        if (t == 0.0) {
            zero = true;
            continue;
        }
        logSum += log(t);
    }
    if (zero) {
        *pDst = -INFINITY;
        return zelStsLnZeroArg;
    }
    *pDst = 0.5 * n * (double(len) * (2.0 * log(n) - 1.0 - kLog2Pi) - logSum);
    return zelStsNoErr;
}

template <class T, bool DirectVar>
ZelStatus clusterStatsBy(const T* pMean, const T* pVar, T* pDstSum, T* pDstSqr, int len, T occ) {
    if (ZelStatus s = firstError(requireNonNull(pMean, pVar, pDstSum, pDstSqr), requirePositive(len))) return s;
    clusterStats<T, DirectVar>(pMean, pVar, pDstSum, pDstSqr, len, occ);
    return zelStsNoErr;
}

}  // namespace

extern "C" {

// ---- Split ----

ZELSR_API ZelStatus zelsGaussianSplit_32f(Zel32f* pMean1, const Zel32f* pVar1, Zel32f* pMean2, Zel32f* pVar2, int len,
                                          Zel32f val) {
    if (ZelStatus s = firstError(requirePositive(len), requireNonNull(pMean1, pVar1, pMean2, pVar2))) return s;
    // The aligned kernel roots in single precision, the unaligned one in
    // double; the two may differ in the last bit of a mean.
    if (allAligned16(pMean1, pVar1, pMean2, pVar2))
        split<Zel32f, float>(pMean1, pVar1, pMean2, pVar2, len, val);
    else
        split<Zel32f, double>(pMean1, pVar1, pMean2, pVar2, len, val);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsGaussianSplit_64f(Zel64f* pMean1, const Zel64f* pVar1, Zel64f* pMean2, Zel64f* pVar2, int len,
                                          Zel64f val) {
    if (ZelStatus s = firstError(requireNonNull(pMean1, pVar1, pMean2, pVar2), requirePositive(len))) return s;
    split<Zel64f, double>(pMean1, pVar1, pMean2, pVar2, len, val);
    return zelStsNoErr;
}

// ---- Merge ----

ZELSR_API ZelStatus zelsGaussianMerge_32f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                          const Zel32f* pVar2, Zel32f* pDstMean, Zel32f* pDstVar, int len,
                                          Zel32f* pDstDet, Zel32f weight1, Zel32f weight2) {
    if (ZelStatus s = firstError(requirePositive(len),
                                 requireNonNull(pMean1, pVar1, pMean2, pVar2, pDstMean, pDstVar, pDstDet)))
        return s;
    return merge32f(pMean1, pVar1, pMean2, pVar2, pDstMean, pDstVar, len, pDstDet, weight1, weight2);
}
ZELSR_API ZelStatus zelsGaussianMerge_64f(const Zel64f* pMean1, const Zel64f* pVar1, const Zel64f* pMean2,
                                          const Zel64f* pVar2, Zel64f* pDstMean, Zel64f* pDstVar, int len,
                                          Zel64f* pDstDet, Zel64f weight1, Zel64f weight2) {
    if (ZelStatus s = firstError(requirePositive(len),
                                 requireNonNull(pMean1, pVar1, pMean2, pVar2, pDstMean, pDstVar, pDstDet)))
        return s;
    return merge64f(pMean1, pVar1, pMean2, pVar2, pDstMean, pDstVar, len, pDstDet, weight1, weight2);
}

// ---- Distance ----

ZELSR_API ZelStatus zelsGaussianDist_32f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                         const Zel32f* pVar2, int len, Zel32f* pResult, Zel32f weight1, Zel32f det1,
                                         Zel32f weight2, Zel32f det2) {
    return distance(pMean1, pVar1, pMean2, pVar2, len, pResult, weight1, det1, weight2, det2);
}
ZELSR_API ZelStatus zelsGaussianDist_64f(const Zel64f* pMean1, const Zel64f* pVar1, const Zel64f* pMean2,
                                         const Zel64f* pVar2, int len, Zel64f* pResult, Zel64f weight1, Zel64f det1,
                                         Zel64f weight2, Zel64f det2) {
    return distance(pMean1, pVar1, pMean2, pVar2, len, pResult, weight1, det1, weight2, det2);
}

// ---- Bhattacharyya ----

ZELSR_API ZelStatus zelsBhatDist_32f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                     const Zel32f* pVar2, int len, Zel32f* pResult) {
    if (ZelStatus s = checkBhat(pMean1, pVar1, pMean2, pVar2, len, pResult)) return s;
    if (ZelStatus s = rangeStatus(pMean1, pVar1, pMean2, pVar2, len, pResult)) return s;
    Scratch<Zel32f, kBhatLocal> t(len);
    if (!t.get()) return zelStsMemAllocErr;
    bhatRatios(pVar1, pVar2, t.get(), len);
    Zel32f logSum;
    ownSumLn_32f(t.get(), len, &logSum);
    const double a = meanTerm<float>(pMean1, pVar1, pMean2, pVar2, len);
    *pResult = Zel32f((double(logSum) * 0.5 - double(len) * kLog4Cut * 0.5) * 0.5 + a * 0.25);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsBhatDist_32f64f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                        const Zel32f* pVar2, int len, Zel64f* pResult) {
    if (ZelStatus s = checkBhat(pMean1, pVar1, pMean2, pVar2, len, pResult)) return s;
    if (ZelStatus s = rangeStatus(pMean1, pVar1, pMean2, pVar2, len, pResult)) return s;
    Scratch<Zel64f, kBhatLocal / 4 + 1> slot(len / 4 + 1);
    if (!slot.get()) return zelStsMemAllocErr;
    auto sq = [=](int i) {
        const double s = double(pVar1[i]) + double(pVar2[i]);
        return s * s;
    };
    auto pr = [=](int i) { return double(pVar1[i]) * double(pVar2[i]); };
    const int slots = slotProducts(
        len, slot.get(), [&](int i) { return sq(i) / pr(i); },
        [&](int i) { return (sq(i) * sq(i + 1) * sq(i + 2) * sq(i + 3)) / (pr(i) * pr(i + 1) * pr(i + 2) * pr(i + 3)); });
    double logSum;
    ownSumLn_64f(slot.get(), slots, &logSum);
    const double a = meanTerm<double>(pMean1, pVar1, pMean2, pVar2, len);
    *pResult = (logSum - double(len) * kLog4Cut) * 0.5 * 0.5 + a * 0.25;
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsBhatDistSLog_32f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                         const Zel32f* pVar2, int len, Zel32f* pResult, Zel32f sumLog1,
                                         Zel32f sumLog2) {
    if (ZelStatus s = checkBhat(pMean1, pVar1, pMean2, pVar2, len, pResult)) return s;
    if (ZelStatus s = rangeStatus(pMean1, pVar1, pMean2, pVar2, len, pResult)) return s;
    Scratch<Zel32f, kBhatLocal> t(len);
    if (!t.get()) return zelStsMemAllocErr;
    for (int i = 0; i < len; ++i) t.get()[i] = pVar1[i] + pVar2[i];
    Zel32f logSum;
    ownSumLn_32f(t.get(), len, &logSum);
    const double a = meanTerm<float>(pMean1, pVar1, pMean2, pVar2, len);
    *pResult = Zel32f((double(logSum) - double(len) * kLog2Cut) * 0.5 - quarterLogSums(sumLog1, sumLog2) + a * 0.25);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsBhatDistSLog_32f64f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                            const Zel32f* pVar2, int len, Zel64f* pResult, Zel32f sumLog1,
                                            Zel32f sumLog2) {
    if (ZelStatus s = checkBhat(pMean1, pVar1, pMean2, pVar2, len, pResult)) return s;
    if (ZelStatus s = rangeStatus(pMean1, pVar1, pMean2, pVar2, len, pResult)) return s;
    Scratch<Zel64f, kBhatLocal / 4 + 1> slot(len / 4 + 1);
    if (!slot.get()) return zelStsMemAllocErr;
    auto sum = [=](int i) { return double(pVar1[i]) + double(pVar2[i]); };
    const int slots = slotProducts(len, slot.get(), sum,
                                   [&](int i) { return sum(i) * sum(i + 1) * sum(i + 2) * sum(i + 3); });
    double logSum;
    ownSumLn_64f(slot.get(), slots, &logSum);
    const double a = meanTerm<double>(pMean1, pVar1, pMean2, pVar2, len);
    *pResult = (logSum - double(len) * kLog2Cut) * 0.5 - quarterLogSums(sumLog1, sumLog2) + a * 0.25;
    return zelStsNoErr;
}

// ---- Cluster statistics ----

ZELSR_API ZelStatus zelsDcsClustLAccumulate_32f(const Zel32f* pMean, const Zel32f* pVar, Zel32f* pDstSum,
                                                Zel32f* pDstSqr, int len, Zel32f occ) {
    return clusterStatsBy<Zel32f, false>(pMean, pVar, pDstSum, pDstSqr, len, occ);
}
ZELSR_API ZelStatus zelsDcsClustLAccumulate_64f(const Zel64f* pMean, const Zel64f* pVar, Zel64f* pDstSum,
                                                Zel64f* pDstSqr, int len, Zel64f occ) {
    return clusterStatsBy<Zel64f, false>(pMean, pVar, pDstSum, pDstSqr, len, occ);
}
ZELSR_API ZelStatus zelsDcsClustLAccumulate_DirectVar_32f(const Zel32f* pMean, const Zel32f* pVar, Zel32f* pDstSum,
                                                          Zel32f* pDstSqr, int len, Zel32f occ) {
    return clusterStatsBy<Zel32f, true>(pMean, pVar, pDstSum, pDstSqr, len, occ);
}
ZELSR_API ZelStatus zelsDcsClustLAccumulate_DirectVar_64f(const Zel64f* pMean, const Zel64f* pVar, Zel64f* pDstSum,
                                                          Zel64f* pDstSqr, int len, Zel64f occ) {
    return clusterStatsBy<Zel64f, true>(pMean, pVar, pDstSum, pDstSqr, len, occ);
}

ZELSR_API ZelStatus zelsDcsClustLCompute_64f(const Zel64f* pSum, const Zel64f* pSqr, int len, Zel64f* pDst,
                                             Zel64f occ) {
    return clusterLikelihood(pSum, pSqr, len, pDst, occ);
}
ZELSR_API ZelStatus zelsDcsClustLCompute_32f64f(const Zel32f* pSum, const Zel32f* pSqr, int len, Zel64f* pDst,
                                                Zel32f occ) {
    return clusterLikelihood(pSum, pSqr, len, pDst, occ);
}

}  // extern "C"
