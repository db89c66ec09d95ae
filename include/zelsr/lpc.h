/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/lpc.h
 * Linear prediction: LP analysis, conversions, line spectral pairs. Included by zelsr.h. */
#ifndef ZELSR_LPC_H
#define ZELSR_LPC_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* LP analysis                                                               */
/* ======================================================================== */
/* Sign conventions differ by function and are part of each one's contract:
 * zelsDurbin_*, zelsLinearPrediction_Auto_*: A(z) = 1 + sum a_k z^-k, so for
 *   order 1 a1 = -R1/R0;
 * zelsLinearPredictionNeg_Auto_*: every coefficient of the above negated
 *   (a1 = +R1/R0);
 * zelsLinearPrediction_Cov_*: the predictor x[n] ~ sum a_k x[n-k], positive
 *   a1 for a correlated signal;
 * zelsSchur_*: reflection coefficients with the sign of a_k (k1 = -R1/R0).
 * All arithmetic is single precision. The 16-bit forms convert their input
 * exactly to float, run the float form and store each coefficient c as
 * round-to-nearest (ties to even) of c * 2^-scaleFactor, saturated to 16 bits;
 * when the float step fails they return its status and leave pDst alone. */

/** @{ */
/** Levinson-Durbin recursion. pSrc: order + 1 autocorrelation values R[0..order];
 * pDst (out): a_1 .. a_order; pErr (out): the final prediction error energy,
 * written only on success (always unscaled float).
 * Checks in order: pSrc or pDst null (zelStsNullPtrErr), order below 1
 * (zelStsSizeErr), pErr null (zelStsNullPtrErr), scratch allocation for order
 * 64 and above (zelStsMemAllocErr). R[0] or an error energy at or below 0
 * gives zelStsLpcCalcErr; the float form then leaves in pDst the coefficients
 * reached so far. A NaN passes the tests and gives a NaN result.
 * Outputs: pDst, pErr.
 */
ZELSR_API ZelStatus zelsDurbin_32f(const Zel32f* pSrc, Zel32f* pDst, int order, Zel32f* pErr);
ZELSR_API ZelStatus zelsDurbin_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int order, Zel32f* pErr, int scaleFactor);
/** @} */

/** @{ */
/** Schur recursion: the order reflection coefficients of R[0..order] (pSrc)
 * into pDst (out), and the final error V[order] * k[order] + U[order] in pErr
 * (out). Checks as zelsDurbin_*; there is no energy test, so R[0] = 0 gives
 * infinities and NaNs with zelStsNoErr.
 * Outputs: pDst, pErr.
 */
ZELSR_API ZelStatus zelsSchur_32f(const Zel32f* pSrc, Zel32f* pDst, int order, Zel32f* pErr);
ZELSR_API ZelStatus zelsSchur_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int order, Zel32f* pErr, int scaleFactor);
/** @} */

/** @{ */
/** LP coefficients of a frame pSrc of len samples by the autocorrelation method:
 * R[k] = sum over n of x[n] x[n+k], k = 0 .. order, unnormalised (lags past
 * len - 1 are zero), then zelsDurbin_32f; pDst (out) receives order
 * coefficients and the error energy is dropped. The Neg forms negate every
 * coefficient; zelsLinearPredictionNeg_Auto_32f does so even after
 * zelStsLpcCalcErr. Checks in order: pSrc or pDst null (zelStsNullPtrErr);
 * len below 1, order below 1 or order above len (zelStsSizeErr); allocation
 * (zelStsMemAllocErr); then the status of the recursion (zelStsLpcCalcErr for
 * a frame of zeros).
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsLinearPrediction_Auto_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order);
ZELSR_API ZelStatus zelsLinearPredictionNeg_Auto_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order);
ZELSR_API ZelStatus zelsLinearPrediction_Auto_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order,
                                                      int scaleFactor);
ZELSR_API ZelStatus zelsLinearPredictionNeg_Auto_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order,
                                                         int scaleFactor);
/** @} */

/** @{ */
/** LP coefficients of a frame by the covariance method: the normal equations
 * C a = r with r[i] = sum over n = 0 .. len-i-2 of x[n] x[n+i+1] and
 * C[i][j] = sum over the same n of x[n] x[n+i-j] (the range depends on the
 * row alone), solved by an LDL^T factorisation without pivoting. pDst (out):
 * order predictor coefficients. Checks as zelsLinearPrediction_Auto_*; a
 * singular system gives infinities or NaNs with zelStsNoErr.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsLinearPrediction_Cov_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order);
ZELSR_API ZelStatus zelsLinearPrediction_Cov_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order,
                                                     int scaleFactor);
/** @} */


/* ======================================================================== */
/* LP and reflection conversions                                             */
/* ======================================================================== */
/* LP vectors here have the sign of zelsDurbin_32f (A(z) = 1 + sum a_k z^-k);
 * reflection vectors have a[m] = -k[m] at each stage, so k1 = +R1/R0 (the
 * opposite of zelsSchur_*). Unless a function says otherwise: pSrc or pDst
 * null gives zelStsNullPtrErr, then len below 1 zelStsSizeErr; scratch that
 * cannot be allocated gives zelStsMemAllocErr; nothing is written on an error.
 * 16-bit scaling: in the forms without srcShift one scaleFactor serves both
 * sides (value = pSrc * 2^scaleFactor, pDst = value * 2^-scaleFactor, so a
 * Q12 vector goes with scaleFactor -12); in the forms with srcShift the input
 * value is pSrc * 2^-srcShift and scaleFactor acts on the output alone. */

/** @{ */
/** LP coefficients a_1..a_len (pSrc) to cepstral coefficients c_1..c_len (pDst,
 * out) and back: y[n] = -(x[n] + 1/n sum_{m<n} (n - m) x[m] y[n-m]) towards the
 * cepstrum, with x[n-m] y[m] back to LP. There is no c0. The 16-bit forms
 * round to nearest and saturate.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsLPToCepstrum_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsCepstrumToLP_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsLPToCepstrum_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int len, int scaleFactor);
ZELSR_API ZelStatus zelsCepstrumToLP_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int len, int scaleFactor);
/** @} */

/** @{ */
/** LP coefficients (pSrc) to reflection coefficients (pDst, out) by the
 * step-down recursion. A reflection coefficient of exactly +1 or -1 gives
 * zelStsUnstableLpErr; the float form then holds in pDst the coefficients from
 * the top down to that one, the 16-bit form writes nothing. A magnitude above
 * 1 is no error: the values show the instability. The 16-bit form rounds
 * halves away from zero and keeps the low 16 bits, without saturation.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsLPToReflection_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsLPToReflection_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int len, int scaleFactor);
/** @} */

/** @{ */
/** Reflection coefficients (pSrc) to LP coefficients (pDst, out) by the step-up
 * recursion; the arithmetic cannot fail. The 16-bit form rounds to nearest
 * and saturates.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsReflectionToLP_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsReflectionToLP_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int len, int scaleFactor);
/** @} */

/** @{ */
/** Inverse LP magnitude spectrum: with N = 2^(order + 1), the real FFT of
 * [0, a_1 .. a_len, 0 ..] (N points; the leading 1 of A(z) is not there), the
 * real part of bin 0 alone reduced by val, and 1 / |bin| of bins 0 .. N/2 - 1
 * into pDst (out, 2^order values). Checks in order: pSrc or pDst null
 * (zelStsNullPtrErr); len below 1 or at or above N (zelStsSizeErr); an order
 * beyond the transform's range (zelStsFftOrderErr); allocation
 * (zelStsMemAllocErr). A zero magnitude gives the warning zelStsDivByZero: for
 * order up to 2 the float form stores 2139095040.0 there, from order 3 on (and
 * always in the 16-bit form) an infinity. The 16-bit form takes val as an
 * integer, reads pSrc unscaled, and rounds to nearest with 2^-scaleFactor,
 * saturating.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsLPToSpectrum_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order, Zel32f val);
ZELSR_API ZelStatus zelsLPToSpectrum_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order, int val,
                                             int scaleFactor);
/** @} */

/** @{ */
/** Area ratios (1 - k) / (1 + k) of each reflection coefficient (pDst, out), by
 * the reciprocal estimate and one Newton step. A zero (or infinite)
 * denominator gives the warning zelStsDivByZero, and a result without a value
 * is stored as +infinity. In the 16-bit form 2^srcShift stands for 1 and the
 * ratio is rounded to nearest with 2^-scaleFactor, saturating.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsReflectionToAR_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsReflectionToAR_16s_Sfs(const Zel16s* pSrc, int srcShift, Zel16s* pDst, int len,
                                               int scaleFactor);
/** @} */

/** @{ */
/** Running product of area ratios: pDst[i] = prod_{j<=i} (1 - k_j) / (1 + k_j).
 * From a k of exactly -1 on, the product is an infinity whose sign follows the
 * rules of the running sign (zelStsDivByZero); a later k of exactly +1 turns
 * that output and all after it into the NaN 0xffc00000. The 16-bit form uses
 * 2^srcShift for 1 and truncates p * 2^-scaleFactor, saturating (a NaN gives
 * -32768).
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsReflectionToTrueAR_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsReflectionToTrueAR_16s_Sfs(const Zel16s* pSrc, int srcShift, Zel16s* pDst, int len,
                                                   int scaleFactor);
/** @} */

/** @{ */
/** Log area ratios ln((1 - k) / (1 + k)) with k first limited to [-thresh,
 * thresh] (a NaN becomes -thresh). Checks: null, len below 1, then thresh not
 * strictly between 0 and 1 (zelStsRangeErr). The 16-bit form truncates
 * toward zero with 2^-scaleFactor, saturating.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsReflectionToLAR_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f thresh);
ZELSR_API ZelStatus zelsReflectionToLAR_16s_Sfs(const Zel16s* pSrc, int srcShift, Zel16s* pDst, int len,
                                                Zel32f thresh, int scaleFactor);
/** @} */

/** @{ */
/** Spectral tilts of two vectors (pDst, out): (|s1| - |s2|) / (|s1| + |s2|)
 * (AbsTilt), and (|s1| - |s2|) / (s1 + s2), magnitudes over signed values
 * (Tilt). A zero denominator gives zelStsDivByZero and leaves the NaN or
 * infinity of the quotient in place (the 16-bit forms store -32768 for a NaN).
 * Checks: pSrc1, pSrc2 or pDst null, then len below 1. The 16-bit forms round
 * to nearest with 2^-scaleFactor, saturating.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsReflectionToAbsTilt_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsReflectionToTilt_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsReflectionToAbsTilt_16s_Sfs(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len,
                                                    int scaleFactor);
ZELSR_API ZelStatus zelsReflectionToTilt_16s_Sfs(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len,
                                                 int scaleFactor);
/** @} */

/* ======================================================================== */
/* Line spectral pairs                                                       */
/* ======================================================================== */
/* Pairs are cosines x = cos(w) of the pair frequencies, in descending order
 * from +1 towards -1, never angles. An LP vector of even length has the sign
 * of A(z) = 1 + sum a_k z^-k; one of odd length is read and written as
 * A(z) = 1 - sum a_k z^-k. Both directions keep this, so they invert one
 * another. */

/** @{ */
/** LP coefficients (pSrcLP, len) to len pairs (pDstLSP, out) by a search over
 * nInt equal cells of [-1, 1], nDiv bisections per root and one secant step;
 * roots of the sum and difference polynomials alternate, the sum's first.
 * *pNRoots (out) receives the number found, whenever the checks pass.
 * Checks in order: pSrcLP, pDstLSP or pNRoots null (zelStsNullPtrErr); nInt,
 * nDiv or len below 1, or len above nInt (zelStsSizeErr); allocation
 * (zelStsMemAllocErr). Fewer than len roots (two closer than a cell, say) give
 * zelStsLspRootErr with the roots found written. The 16-bit form reads
 * pSrcLP * 2^-srcShift and stores root * 2^-scaleFactor rounded half away from
 * zero, cut to 16 bits without saturation.
 * Outputs: pDstLSP, pNRoots.
 */
ZELSR_API ZelStatus zelsLPToLSP_32f(const Zel32f* pSrcLP, Zel32f* pDstLSP, int len, int* pNRoots, int nInt,
                                    int nDiv);
ZELSR_API ZelStatus zelsLPToLSP_16s_Sfs(const Zel16s* pSrcLP, int srcShift, Zel16s* pDstLSP, int len, int* pNRoots,
                                        int nInt, int nDiv, int scaleFactor);
/** @} */

/** @{ */
/** Pairs (pSrcLSP, len) to LP coefficients (pDstLP, out). Checks in order:
 * null (zelStsNullPtrErr); len below 1 (zelStsSizeErr); the first pair at or
 * above 1, a pair above its predecessor (equal neighbours pass) or the last
 * at or below -1 (zelStsLspOrderErr); allocation (zelStsMemAllocErr). The
 * 16-bit form reads pSrcLSP * 2^-srcShift, refuses srcShift below 1 with
 * zelStsSizeErr, takes its limits inclusively (+-2^srcShift pass), and rounds
 * the result to nearest with 2^-scaleFactor, saturating.
 * Outputs: pDstLP.
 */
ZELSR_API ZelStatus zelsLSPToLP_32f(const Zel32f* pSrcLSP, Zel32f* pDstLP, int len);
ZELSR_API ZelStatus zelsLSPToLP_16s_Sfs(const Zel16s* pSrcLSP, int srcShift, Zel16s* pDstLP, int len,
                                        int scaleFactor);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_LPC_H */
