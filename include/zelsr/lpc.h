/* SPDX-License-Identifier: Apache-2.0 */
/* zelsr: linear prediction: LP analysis, conversions, line spectral pairs. Included by zelsr.h. */
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

/* Levinson-Durbin recursion. pSrc: order + 1 autocorrelation values R[0..order];
 * pDst (out): a_1 .. a_order; pErr (out): the final prediction error energy,
 * written only on success (always unscaled float).
 * Checks in order: pSrc or pDst null (zelStsNullPtrErr), order below 1
 * (zelStsSizeErr), pErr null (zelStsNullPtrErr), scratch allocation for order
 * 64 and above (zelStsMemAllocErr). R[0] or an error energy at or below 0
 * gives zelStsLpcCalcErr; the float form then leaves in pDst the coefficients
 * reached so far. A NaN passes the tests and gives a NaN result. */
ZELSR_API ZelStatus zelsDurbin_32f(const Zel32f* pSrc, Zel32f* pDst, int order, Zel32f* pErr);
ZELSR_API ZelStatus zelsDurbin_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int order, Zel32f* pErr, int scaleFactor);

/* Schur recursion: the order reflection coefficients of R[0..order] (pSrc)
 * into pDst (out), and the final error V[order] * k[order] + U[order] in pErr
 * (out). Checks as zelsDurbin_*; there is no energy test, so R[0] = 0 gives
 * infinities and NaNs with zelStsNoErr. */
ZELSR_API ZelStatus zelsSchur_32f(const Zel32f* pSrc, Zel32f* pDst, int order, Zel32f* pErr);
ZELSR_API ZelStatus zelsSchur_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int order, Zel32f* pErr, int scaleFactor);

/* LP coefficients of a frame pSrc of len samples by the autocorrelation method:
 * R[k] = sum over n of x[n] x[n+k], k = 0 .. order, unnormalised (lags past
 * len - 1 are zero), then zelsDurbin_32f; pDst (out) receives order
 * coefficients and the error energy is dropped. The Neg forms negate every
 * coefficient; zelsLinearPredictionNeg_Auto_32f does so even after
 * zelStsLpcCalcErr. Checks in order: pSrc or pDst null (zelStsNullPtrErr);
 * len below 1, order below 1 or order above len (zelStsSizeErr); allocation
 * (zelStsMemAllocErr); then the status of the recursion (zelStsLpcCalcErr for
 * a frame of zeros). */
ZELSR_API ZelStatus zelsLinearPrediction_Auto_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order);
ZELSR_API ZelStatus zelsLinearPredictionNeg_Auto_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order);
ZELSR_API ZelStatus zelsLinearPrediction_Auto_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order,
                                                      int scaleFactor);
ZELSR_API ZelStatus zelsLinearPredictionNeg_Auto_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order,
                                                         int scaleFactor);

/* LP coefficients of a frame by the covariance method: the normal equations
 * C a = r with r[i] = sum over n = 0 .. len-i-2 of x[n] x[n+i+1] and
 * C[i][j] = sum over the same n of x[n] x[n+i-j] (the range depends on the
 * row alone), solved by an LDL^T factorisation without pivoting. pDst (out):
 * order predictor coefficients. Checks as zelsLinearPrediction_Auto_*; a
 * singular system gives infinities or NaNs with zelStsNoErr. */
ZELSR_API ZelStatus zelsLinearPrediction_Cov_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order);
ZELSR_API ZelStatus zelsLinearPrediction_Cov_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order,
                                                     int scaleFactor);


#ifdef __cplusplus
}
#endif

#endif /* ZELSR_LPC_H */
