/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/estimation.h
 * Model estimation: accumulators, updates, Gaussian split, merge and distance. Included by zelsr.h. */
#ifndef ZELSR_ESTIMATION_H
#define ZELSR_ESTIMATION_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Accumulators and updates                                                  */
/* ======================================================================== */
/* Re-estimation of diagonal Gaussians from occupation-weighted statistics.
 * The caller keeps the accumulators and the occupation counts (sums of
 * posterior weights) that weigh them. Every function tests its pointers
 * (zelStsNullPtrErr), then its length (len below 1: zelStsSizeErr), unless
 * its comment says otherwise, and writes nothing on a negative status.
 *
 * An occupation count is tested twice, in the function's own precision:
 * below 0 gives zelStsNegOccErr; a magnitude at or below the smallest normal
 * number (1.1754944e-38 for Zel32f, 2.2250738585072014e-308 for Zel64f)
 * gives the warning zelStsZeroOcc, and the update is skipped: nothing is
 * written. A NaN count passes both tests and gives NaN results. */

/** @{ */
/** Adds one frame pSrc, of posterior weight val, to the accumulators of a
 * Gaussian with mean pSrcMean: with d = pSrc[i] - pSrcMean[i] and t = d * val,
 * pDstMeanAcc[i] += t and pDstVarAcc[i] += d * t. The sums are relative to the
 * given mean, so that zelsUpdateMean_* and zelsUpdateVar_* can use them
 * directly. In the element type throughout.
 * Outputs: pDstMeanAcc, pDstVarAcc.
 */
ZELSR_API ZelStatus zelsMeanVarAcc_32f(const Zel32f* pSrc, const Zel32f* pSrcMean, Zel32f* pDstMeanAcc,
                                       Zel32f* pDstVarAcc, int len, Zel32f val);
ZELSR_API ZelStatus zelsMeanVarAcc_64f(const Zel64f* pSrc, const Zel64f* pSrcMean, Zel64f* pDstMeanAcc,
                                       Zel64f* pDstVarAcc, int len, Zel64f val);
/** @} */

/** @{ */
/** Moves the mean by the accumulated offsets: pMean[i] += pMeanAcc[i] / meanOcc.
 * _32f multiplies by 1 / meanOcc, formed once; _64f divides each element.
 * Checks: null pMeanAcc or pMean; len; meanOcc below 0 (zelStsNegOccErr);
 * meanOcc at zero (zelStsZeroOcc, pMean untouched).
 * Outputs: pMean.
 */
ZELSR_API ZelStatus zelsUpdateMean_32f(const Zel32f* pMeanAcc, Zel32f* pMean, int len, Zel32f meanOcc);
ZELSR_API ZelStatus zelsUpdateMean_64f(const Zel64f* pMeanAcc, Zel64f* pMean, int len, Zel64f meanOcc);
/** @} */

/** @{ */
/** The variance around the updated mean, floored element by element:
 * x = pVarAcc[i] / varOcc - (pMeanAcc[i] / meanOcc)^2 (_32f multiplies by the
 * two reciprocals, formed once), and pVar[i] = x, or pVarFloor[i] where x is
 * at or below it. A NaN x is stored as NaN by _32f and replaced by the floor
 * in _64f (which stores x only when it lies above the floor).
 * Returns zelStsResFloor only when all len elements were floored; partial
 * flooring returns zelStsNoErr. Checks: null pMeanAcc, pVarAcc, pVarFloor or
 * pVar; len; either count below 0 (zelStsNegOccErr); then either count at
 * zero (zelStsZeroOcc, pVar untouched).
 * Outputs: pVar.
 */
ZELSR_API ZelStatus zelsUpdateVar_32f(const Zel32f* pMeanAcc, const Zel32f* pVarAcc, const Zel32f* pVarFloor,
                                      Zel32f* pVar, int len, Zel32f meanOcc, Zel32f varOcc);
ZELSR_API ZelStatus zelsUpdateVar_64f(const Zel64f* pMeanAcc, const Zel64f* pVarAcc, const Zel64f* pVarFloor,
                                      Zel64f* pVar, int len, Zel64f meanOcc, Zel64f varOcc);
/** @} */

/** @{ */
/** Mixture weights: w = pWeightAcc[i] * (1 / weightOcc), replaced by
 * weightFloor where it is at or below it, stored in pWeight[i]; *pWeightSum
 * receives the sum of the stored weights, floors included, added in order.
 * Returns zelStsResFloor only when all len weights were floored. Checks: null
 * pWeightAcc, pWeight or pWeightSum; len; weightOcc below 0
 * (zelStsNegOccErr); weightOcc at zero (zelStsZeroOcc, nothing written).
 * Outputs: pWeight, pWeightSum.
 */
ZELSR_API ZelStatus zelsUpdateWeight_32f(const Zel32f* pWeightAcc, Zel32f* pWeight, int len, Zel32f* pWeightSum,
                                         Zel32f weightOcc, Zel32f weightFloor);
ZELSR_API ZelStatus zelsUpdateWeight_64f(const Zel64f* pWeightAcc, Zel64f* pWeight, int len, Zel64f* pWeightSum,
                                         Zel64f weightOcc, Zel64f weightFloor);
/** @} */

/** @{ */
/** The normalising term G of a diagonal Gaussian, len * log(2 pi) + the sum of
 * the logarithms of its variances, so that the constant term val of
 * zelsLogGauss_* is log(weight) - G / 2. The plain form takes inverse
 * variances and gives len * c - L, the DirectVar form takes variances and
 * gives len * c + L, with c = 1.8378770664093 and L the sum of the natural
 * logarithms of pVar (formed by chunks of 512 from mantissas and exponents).
 * _32f rounds len * c to Zel32f before it adds. A zero element gives
 * *pDet = +inf and zelStsLnZeroArg; an element with its sign bit set gives the
 * NaN 0xffc00000 (widened in _64f) and zelStsLnNegArg; the first such element
 * decides, and a zero counts before a sign. A NaN element gives a NaN
 * result with zelStsNoErr. Checks: null pVar or pDet; len.
 * Outputs: pDet.
 */
ZELSR_API ZelStatus zelsUpdateGConst_32f(const Zel32f* pVar, int len, Zel32f* pDet);
ZELSR_API ZelStatus zelsUpdateGConst_64f(const Zel64f* pVar, int len, Zel64f* pDet);
ZELSR_API ZelStatus zelsUpdateGConst_DirectVar_32f(const Zel32f* pVar, int len, Zel32f* pDet);
ZELSR_API ZelStatus zelsUpdateGConst_DirectVar_64f(const Zel64f* pVar, int len, Zel64f* pDet);
/** @} */

/** @{ */
/** A variance from a mean and a sum of squares, with both factors given:
 * pDstVar[i] = (pSrcVar[i] - pSrcMean[i]^2 * val1) * val2.
 * _32f squares the mean in Zel32f and does the rest in Zel64f, rounding on
 * the store; _32f_I is all Zel32f. The _32s forms read their integers as
 * Zel32f; with pSrcMean and the variance pointers on 16-byte boundaries they
 * compute as _32f_I and convert with scaleFactor by rounding to nearest (ties
 * to even), otherwise they scale by 2^-scaleFactor and truncate toward zero;
 * both saturate to the 32-bit range, and NaN gives -2147483648.
 * Outputs: pDstVar; pSrcDstVar (in place: read and written).
 */
ZELSR_API ZelStatus zelsNewVar_32f(const Zel32f* pSrcMean, const Zel32f* pSrcVar, Zel32f* pDstVar, int len,
                                   Zel32f val1, Zel32f val2);
ZELSR_API ZelStatus zelsNewVar_32f_I(const Zel32f* pSrcMean, Zel32f* pSrcDstVar, int len, Zel32f val1, Zel32f val2);
ZELSR_API ZelStatus zelsNewVar_32s_Sfs(const Zel32s* pSrcMean, const Zel32s* pSrcVar, Zel32s* pDstVar, int len,
                                       Zel32f val1, Zel32f val2, int scaleFactor);
ZELSR_API ZelStatus zelsNewVar_32s_ISfs(const Zel32s* pSrcMean, Zel32s* pSrcDstVar, int len, Zel32f val1, Zel32f val2,
                                        int scaleFactor);
/** @} */

/** @{ */
/** Column sums of a D2 matrix of height rows of width elements (step counts
 * elements): pDstMean[j] = sum of x and pDstVar[j] = sum of x^2 over the rows
 * of column j, added in Zel32f in row order. Despite the names these are
 * sums, not means. The _I forms add to what the outputs hold. The _16s32s
 * forms end by converting both sums to Zel32s with scaleFactor, rounding to
 * nearest (ties to even) with saturation; _16s32s_ISfs reads its Zel32s
 * outputs as numbers first. Checks: width above step (zelStsStrideErr, first
 * of all); null pSrc, pDstMean or pDstVar; height or width below 1.
 * Outputs: pDstMean, pDstVar.
 */
ZELSR_API ZelStatus zelsSumMeanVar_32f(const Zel32f* pSrc, int step, int height, Zel32f* pDstMean, Zel32f* pDstVar,
                                       int width);
ZELSR_API ZelStatus zelsSumMeanVar_32f_I(const Zel32f* pSrc, int step, int height, Zel32f* pDstMean, Zel32f* pDstVar,
                                         int width);
ZELSR_API ZelStatus zelsSumMeanVar_16s32f(const Zel16s* pSrc, int step, int height, Zel32f* pDstMean, Zel32f* pDstVar,
                                          int width);
ZELSR_API ZelStatus zelsSumMeanVar_16s32f_I(const Zel16s* pSrc, int step, int height, Zel32f* pDstMean,
                                            Zel32f* pDstVar, int width);
ZELSR_API ZelStatus zelsSumMeanVar_16s32s_Sfs(const Zel16s* pSrc, int step, int height, Zel32s* pDstMean,
                                              Zel32s* pDstVar, int width, int scaleFactor);
ZELSR_API ZelStatus zelsSumMeanVar_16s32s_ISfs(const Zel16s* pSrc, int step, int height, Zel32s* pDstMean,
                                               Zel32s* pDstVar, int width, int scaleFactor);
/** @} */

/** @{ */
/** Accumulates the scatter of height rows around pMean into a width x width
 * Zel64f matrix: with d = row - pMean (the difference in Zel32f and then
 * widened in 32f64f, exact in 16s64f), pDst[i][j] += d[i] * d[j] for j <= i,
 * row after row. Then every element of the lower triangle, earlier contents
 * included, is multiplied by val and also stored at its mirror above the
 * diagonal, which is overwritten. So a second call with val other than 1
 * scales the first call's sums again. D2: rows of pSrc step elements apart,
 * rows of pDst dstStep elements apart. D2L: tables of row pointers (the
 * row pointers themselves are not tested). Width above 512 needs scratch.
 * Checks: null pSrc (mSrc), pMean, pDst (mDst); height or width below 1;
 * D2: width above step or above dstStep (zelStsStrideErr); scratch
 * (zelStsMemAllocErr).
 * Outputs: pDst, mDst.
 */
ZELSR_API ZelStatus zelsAccCovarianceMatrix_32f64f_D2(const Zel32f* pSrc, int step, int height, const Zel32f* pMean,
                                                      Zel64f* pDst, int width, int dstStep, Zel64f val);
ZELSR_API ZelStatus zelsAccCovarianceMatrix_16s64f_D2(const Zel16s* pSrc, int step, int height, const Zel16s* pMean,
                                                      Zel64f* pDst, int width, int dstStep, Zel64f val);
ZELSR_API ZelStatus zelsAccCovarianceMatrix_32f64f_D2L(const Zel32f** mSrc, int height, const Zel32f* pMean,
                                                       Zel64f** mDst, int width, Zel64f val);
ZELSR_API ZelStatus zelsAccCovarianceMatrix_16s64f_D2L(const Zel16s** mSrc, int height, const Zel16s* pMean,
                                                       Zel64f** mDst, int width, Zel64f val);
/** @} */

/** @{ */
/** The weighted average of two vectors. With s = weight1 + weight2 in the
 * function's precision (Zel32f for _16s and _32f) and q = 1 / s:
 * WeightedSum: pDst[i] = pSrc1[i] * (weight1 * q) + pSrc2[i] * (q * weight2);
 * WeightedSumHalf: pDst[i] = pSrc1[i] * q + pSrc2[i] * (weight2 * q), for a
 * first source that carries its weight already. A NaN s counts as non-zero.
 * If s is zero, the status is zelStsDivByZero and with
 * v = pSrc1[i] * weight1 + pSrc2[i] * weight2 each element is the NaN
 * 0xffc00000 (0xfff8000000000000 in _64f) for v = 0, +inf for v > 0 and -inf
 * for v < 0; in _16s 0, 32767 and -32768.
 * _16s computes in Zel32f: with len of 8 or more and all three pointers on
 * 16-byte boundaries it rounds to nearest (ties to even), otherwise it
 * truncates toward zero; both saturate, and NaN gives -32768. So 0.5 * 1 +
 * 0.5 * 2 gives 2 on the first path and 1 on the second.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsWeightedSum_16s(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len,
                                        Zel32f weight1, Zel32f weight2);
ZELSR_API ZelStatus zelsWeightedSum_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len,
                                        Zel32f weight1, Zel32f weight2);
ZELSR_API ZelStatus zelsWeightedSum_64f(const Zel64f* pSrc1, const Zel64f* pSrc2, Zel64f* pDst, int len,
                                        Zel64f weight1, Zel64f weight2);
ZELSR_API ZelStatus zelsWeightedSumHalf_16s(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len,
                                            Zel32f weight1, Zel32f weight2);
ZELSR_API ZelStatus zelsWeightedSumHalf_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len,
                                            Zel32f weight1, Zel32f weight2);
ZELSR_API ZelStatus zelsWeightedSumHalf_64f(const Zel64f* pSrc1, const Zel64f* pSrc2, Zel64f* pDst, int len,
                                            Zel64f weight1, Zel64f weight2);
/** @} */

/** @{ */
/** A floored affine map of log-domain values:
 * pDst[i] = max(pSrc[i], floor) * scale + base. A NaN source element takes
 * the floor. _16s32s forms the 32-bit product of the 16-bit operands and adds
 * base with wrap-around; nothing saturates.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsScaleLM_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f floor, Zel32f scale,
                                    Zel32f base);
ZELSR_API ZelStatus zelsScaleLM_16s32s(const Zel16s* pSrc, Zel32s* pDst, int len, Zel16s floor, Zel16s scale,
                                       Zel32s base);
/** @} */

/* ======================================================================== */
/* Gaussian split, merge and distance                                        */
/* ======================================================================== */
/* Pairs of diagonal Gaussians of len elements. Here pVar holds plain
 * variances (not inverse ones) unless said otherwise. */

/** @{ */
/** Splits the Gaussian (pMean1, pVar1) into two that lie val standard
 * deviations above and below it on every axis: with e = val * sqrt(pVar1[i]),
 * pMean2[i] = pMean1[i] - e, then pMean1[i] += e, and pVar2[i] = pVar1[i].
 * In _32f the root is taken in Zel32f when all four pointers lie on 16-byte
 * boundaries, else in Zel64f with e narrowed to Zel32f. A negative variance
 * gives NaN means. Checks: _32f tests len below 1 before the pointers, _64f
 * the pointers before len.
 * Outputs: pMean1, pMean2, pVar2.
 */
ZELSR_API ZelStatus zelsGaussianSplit_32f(Zel32f* pMean1, const Zel32f* pVar1, Zel32f* pMean2, Zel32f* pVar2, int len,
                                          Zel32f val);
ZELSR_API ZelStatus zelsGaussianSplit_64f(Zel64f* pMean1, const Zel64f* pVar1, Zel64f* pMean2, Zel64f* pVar2, int len,
                                          Zel64f val);
/** @} */

/** @{ */
/** Merges two weighted Gaussians by moment matching, in Zel64f, with
 * s = weight1 + weight2: m = (weight1 * m1 + weight2 * m2) / s and
 * v = ((m1^2 + v1) * weight1 + (m2^2 + v2) * weight2) / s - m^2, stored in
 * pDstMean and pDstVar. *pDstDet = len * c - the sum of log v, with
 * c = 1.8378770664093 (note the minus sign).
 * A merged variance of 0 gives *pDstDet = +inf and zelStsLnZeroArg, a
 * negative one the NaN 0xffc00000 (0xfff8000000000000 in _64f) and
 * zelStsLnNegArg. _32f stops at the first such element, which is written and
 * the elements behind it are not; _64f writes all elements first. A zero s
 * gives non-finite results, and NaN input a NaN *pDstDet with zelStsNoErr. Checks: len below 1, then null pointers.
 * Outputs: pDstMean, pDstVar, pDstDet.
 */
ZELSR_API ZelStatus zelsGaussianMerge_32f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                          const Zel32f* pVar2, Zel32f* pDstMean, Zel32f* pDstVar, int len,
                                          Zel32f* pDstDet, Zel32f weight1, Zel32f weight2);
ZELSR_API ZelStatus zelsGaussianMerge_64f(const Zel64f* pMean1, const Zel64f* pVar1, const Zel64f* pMean2,
                                          const Zel64f* pVar2, Zel64f* pDstMean, Zel64f* pDstVar, int len,
                                          Zel64f* pDstDet, Zel64f weight1, Zel64f weight2);
/** @} */

/** @{ */
/** The likelihood cost of merging, without writing the merged Gaussian: with
 * v as in zelsGaussianMerge_*, s = weight1 + weight2 and L the sum of log v,
 * *pResult = weight1 * det1 + weight2 * det2 - s * (len * c - L). In _32f the
 * two products and their sum are Zel32f, the rest Zel64f. A merged variance
 * of 0 gives +inf and zelStsLnZeroArg, a negative one the NaN 0xffc00000
 * (0xfff8000000000000 in _64f) and zelStsLnNegArg. From len 13 (_32f) or 11
 * (_64f) on, scratch is allocated (zelStsMemAllocErr). NaN input gives a
 * NaN result with zelStsNoErr. Checks: len below 1,
 * then null pointers.
 * Outputs: pResult.
 */
ZELSR_API ZelStatus zelsGaussianDist_32f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                         const Zel32f* pVar2, int len, Zel32f* pResult, Zel32f weight1, Zel32f det1,
                                         Zel32f weight2, Zel32f det2);
ZELSR_API ZelStatus zelsGaussianDist_64f(const Zel64f* pMean1, const Zel64f* pVar1, const Zel64f* pMean2,
                                         const Zel64f* pVar2, int len, Zel64f* pResult, Zel64f weight1, Zel64f det1,
                                         Zel64f weight2, Zel64f det2);
/** @} */

/** @{ */
/** The Bhattacharyya distance between two diagonal Gaussians,
 * A / 4 + (1 / 2) * sum of log((v1 + v2) / 2) - (1 / 4) * sum of log(v1 * v2),
 * with A = sum of (m1 - m2)^2 / (v1 + v2), and log 4 and log 2 taken as
 * 1.386294 and 0.693147. All four vectors must be positive, means included:
 * in the first group of four elements holding a value at or below 0, a
 * negative one gives the NaN 0xffc00000 (widened in 32f64f) and
 * zelStsLnNegArg, otherwise *pResult = +inf and zelStsLnZeroArg. A NaN
 * passes that test and gives a NaN result with zelStsNoErr.
 * _32f forms (v1 + v2)^2 / (v1 * v2) with the processor's reciprocal
 * estimates, so two equal Gaussians give a value near, not at, 0, and the
 * result may differ in its last bits between processors; 32f64f works in
 * Zel64f. The SLog forms take the sums of the logarithms of the variances,
 * sumLog1 and sumLog2, from the caller. Scratch beyond 1024 elements is
 * allocated (zelStsMemAllocErr). Checks: null pointers, then len.
 * Outputs: pResult.
 */
ZELSR_API ZelStatus zelsBhatDist_32f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                     const Zel32f* pVar2, int len, Zel32f* pResult);
ZELSR_API ZelStatus zelsBhatDist_32f64f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                        const Zel32f* pVar2, int len, Zel64f* pResult);
ZELSR_API ZelStatus zelsBhatDistSLog_32f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                         const Zel32f* pVar2, int len, Zel32f* pResult, Zel32f sumLog1,
                                         Zel32f sumLog2);
ZELSR_API ZelStatus zelsBhatDistSLog_32f64f(const Zel32f* pMean1, const Zel32f* pVar1, const Zel32f* pMean2,
                                            const Zel32f* pVar2, int len, Zel64f* pResult, Zel32f sumLog1,
                                            Zel32f sumLog2);
/** @} */

/** @{ */
/** Sufficient statistics of a Gaussian of occupation occ, for the caller to
 * sum over the members of a cluster: pDstSum[i] = pMean[i] * occ and
 * pDstSqr[i] = (1 / pVar[i] + pMean[i]^2) * occ, where the plain form reads
 * inverse variances; the DirectVar form reads variances and gives
 * (pMean[i]^2 + pVar[i]) * occ. The outputs are overwritten. Checks: null
 * pointers, then len.
 * Outputs: pDstSum, pDstSqr.
 */
ZELSR_API ZelStatus zelsDcsClustLAccumulate_32f(const Zel32f* pMean, const Zel32f* pVar, Zel32f* pDstSum,
                                                Zel32f* pDstSqr, int len, Zel32f occ);
ZELSR_API ZelStatus zelsDcsClustLAccumulate_64f(const Zel64f* pMean, const Zel64f* pVar, Zel64f* pDstSum,
                                                Zel64f* pDstSqr, int len, Zel64f occ);
ZELSR_API ZelStatus zelsDcsClustLAccumulate_DirectVar_32f(const Zel32f* pMean, const Zel32f* pVar, Zel32f* pDstSum,
                                                          Zel32f* pDstSqr, int len, Zel32f occ);
ZELSR_API ZelStatus zelsDcsClustLAccumulate_DirectVar_64f(const Zel64f* pMean, const Zel64f* pVar, Zel64f* pDstSum,
                                                          Zel64f* pDstSqr, int len, Zel64f occ);
/** @} */

/** @{ */
/** The log-likelihood of a cluster from its summed statistics pSum and pSqr
 * and total occupation occ, in Zel64f:
 * *pDst = 0.5 * occ * (len * (2 log occ - 1 - log 2 pi) - sum of log t),
 * t = pSqr[i] * occ - pSum[i]^2, which is -occ / 2 times (the sum of the log
 * variances + len * (1 + log 2 pi)). An occ of exactly 0 gives -1e10 and
 * zelStsZeroOcc. A negative t gives at once the NaN 0xfff8000000000000 and
 * zelStsLnNegArg; otherwise a zero t gives -inf and zelStsLnZeroArg. NaN
 * statistics or a NaN occ give a NaN result with zelStsNoErr.
 * Checks: null pSum, pSqr or pDst; len; occ below 0 (zelStsNegOccErr).
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsDcsClustLCompute_64f(const Zel64f* pSum, const Zel64f* pSqr, int len, Zel64f* pDst,
                                             Zel64f occ);
ZELSR_API ZelStatus zelsDcsClustLCompute_32f64f(const Zel32f* pSum, const Zel32f* pSqr, int len, Zel64f* pDst,
                                                Zel32f occ);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_ESTIMATION_H */
