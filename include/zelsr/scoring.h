/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/scoring.h
 * Acoustic scoring: log-domain arithmetic, Gaussian frame, accumulating, multi-mixture, mixture and single-vector scoring. Included by zelsr.h. */
#ifndef ZELSR_SCORING_H
#define ZELSR_SCORING_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Log-domain arithmetic                                                     */
/* ======================================================================== */
/** @{ */
/** log(exp(a) + exp(b)) and its kin on log-domain values. The length is tested
   first (below 1: zelStsSizeErr), then the pointers (zelStsNullPtrErr). A value
   at or below the floor (-4500000 in single precision, -1e10 in double) stands
   for a probability of zero. In zelsLogAdd on 32-bit and 16-bit data,
   zelAlgHintFast evaluates the correction in single precision, and
   zelAlgHintNone and zelAlgHintAccurate in double; zelsLogAdd_64f computes the
   same for all three. A hint outside 0..2 makes zelsLogAdd return zelStsNoErr
   without computing; zelsLogSum ignores the hint. Fixed-point members read an
   integer v as v * 2^-scaleFactor.
 * Outputs: pSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsLogAdd_32f(const Zel32f* pSrc, Zel32f* pSrcDst, int len, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogAdd_64f(const Zel64f* pSrc, Zel64f* pSrcDst, int len, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogAdd_16s_Sfs(const Zel16s* pSrc, Zel16s* pSrcDst, int len, int scaleFactor,
                                       ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogAdd_32s_Sfs(const Zel32s* pSrc, Zel32s* pSrcDst, int len, int scaleFactor,
                                       ZelHintAlgorithm hint);
/** @} */
/** @{ */
/** pSrcDst[i] = log(exp(pSrc[i]) - exp(pSrcDst[i])). Every pSrcDst[i] must lie
   strictly below pSrc[i]; otherwise zelStsRangeErr and nothing is written.
 * Outputs: pSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsLogSub_32f(const Zel32f* pSrc, Zel32f* pSrcDst, int len);
ZELSR_API ZelStatus zelsLogSub_64f(const Zel64f* pSrc, Zel64f* pSrcDst, int len);
ZELSR_API ZelStatus zelsLogSub_16s_Sfs(const Zel16s* pSrc, Zel16s* pSrcDst, int len, int scaleFactor);
ZELSR_API ZelStatus zelsLogSub_32s_Sfs(const Zel32s* pSrc, Zel32s* pSrcDst, int len, int scaleFactor);
/** @} */
/** @{ */
/** *pResult = log(sum of exp(pSrc[i])), folded in a fixed order.
 * Outputs: pResult.
 */
ZELSR_API ZelStatus zelsLogSum_32f(const Zel32f* pSrc, Zel32f* pResult, int len, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogSum_64f(const Zel64f* pSrc, Zel64f* pResult, int len, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogSum_16s_Sfs(const Zel16s* pSrc, Zel16s* pResult, int len, int scaleFactor,
                                       ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogSum_32s_Sfs(const Zel32s* pSrc, Zel32s* pResult, int len, int scaleFactor,
                                       ZelHintAlgorithm hint);
/** @} */

/* ======================================================================== */
/* Gaussian frame scoring                                                    */
/* ======================================================================== */
/** @{ */
/** Log-likelihood of each of `height` rows (frames) under one diagonal
 * Gaussian: pDst[y] = val - S / 2, S = sum over j of (x[j] - pMean[j])^2 * pVar[j],
 * with pVar the inverse variances (IdVar: all 1). Sfs members hold S with
 * scaleFactor + 1 fractional bits; Scaled members return single precision.
 * Checks: step below width (D2), then null pointers, then width or height
 * below 1. The row pointers of a D2L table are not tested, only the
 * table's own pointer. Nothing is written on an error.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsLogGauss_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, const Zel32f* pVar,
                                        int width, Zel32f* pDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGauss_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, const Zel32f* pVar, int width,
                                         Zel32f* pDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGauss_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, const Zel64f* pVar,
                                        int width, Zel64f* pDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGauss_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, const Zel64f* pVar, int width,
                                         Zel64f* pDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGauss_IdVar_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, int width,
                                              Zel32f* pDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGauss_IdVar_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, int width, Zel32f* pDst,
                                               int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGauss_IdVar_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, int width,
                                              Zel64f* pDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGauss_IdVar_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, int width, Zel64f* pDst,
                                               int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGauss_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean, const Zel16s* pVar,
                                              int width, Zel32s* pDst, int height, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar, int width,
                                               Zel32s* pDst, int height, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_Low_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                  const Zel16s* pVar, int width, Zel32s* pDst, int height, Zel32s val,
                                                  int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_Low_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                   int width, Zel32s* pDst, int height, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_IdVar_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean, int width,
                                                    Zel32s* pDst, int height, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_IdVar_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, int width, Zel32s* pDst,
                                                     int height, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_IdVarLow_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean, int width,
                                                       Zel32s* pDst, int height, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_IdVarLow_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                        Zel32s* pDst, int height, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_Scaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                  const Zel16s* pVar, int width, Zel32f* pDst, int height, Zel32f val,
                                                  int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_Scaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                   int width, Zel32f* pDst, int height, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_LowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                     const Zel16s* pVar, int width, Zel32f* pDst, int height,
                                                     Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_LowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                      int width, Zel32f* pDst, int height, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_IdVarScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean, int width,
                                                       Zel32f* pDst, int height, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_IdVarScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                        Zel32f* pDst, int height, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_IdVarLowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean, int width,
                                                          Zel32f* pDst, int height, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGauss_IdVarLowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                           Zel32f* pDst, int height, Zel32f val, int scaleFactor);
/** @} */

/* ======================================================================== */
/* Accumulating and multi-mixture scoring                                    */
/* ======================================================================== */
/** @{ */
/** zelsLogGaussMax and zelsLogGaussAdd take the arguments of the frame-scoring
 * member of the same suffixes, with pSrcDst, one running score per row, in
 * place of pDst. Max: each row's score replaces pSrcDst[y] where it is
 * greater; the 32-bit integer members compare in single precision, so a
 * running score may be rounded. Add: pSrcDst[y] = log(exp(score) +
 * exp(pSrcDst[y])), by the accurate log-add of the single or the double set.
 * Checks: step below width (D2), then null pointers, then width or height
 * below 1. The row pointers of a D2L table are not tested, only the
 * table's own pointer. Nothing is written on an error.
 * Outputs: pSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsLogGaussMax_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, const Zel32f* pVar,
                                           int width, Zel32f* pSrcDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGaussMax_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, const Zel32f* pVar, int width,
                                            Zel32f* pSrcDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGaussMax_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, const Zel64f* pVar,
                                           int width, Zel64f* pSrcDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussMax_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, const Zel64f* pVar, int width,
                                            Zel64f* pSrcDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, int width,
                                                 Zel32f* pSrcDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, int width,
                                                  Zel32f* pSrcDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, int width,
                                                 Zel64f* pSrcDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, int width,
                                                  Zel64f* pSrcDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussMax_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                 const Zel16s* pVar, int width, Zel32s* pSrcDst, int height,
                                                 Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                  int width, Zel32s* pSrcDst, int height, Zel32s val,
                                                  int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_Low_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                     const Zel16s* pVar, int width, Zel32s* pSrcDst, int height,
                                                     Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_Low_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                      int width, Zel32s* pSrcDst, int height, Zel32s val,
                                                      int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean, int width,
                                                       Zel32s* pSrcDst, int height, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_IdVar_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                        Zel32s* pSrcDst, int height, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_IdVarLow_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                          int width, Zel32s* pSrcDst, int height, Zel32s val,
                                                          int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_IdVarLow_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                           Zel32s* pSrcDst, int height, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_Scaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                     const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                     Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_Scaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                      int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                      int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_LowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                        const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                        Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_LowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean,
                                                         const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                         Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_IdVarScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                          int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                          int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_IdVarScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                           Zel32f* pSrcDst, int height, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_IdVarLowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                             int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                             int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMax_IdVarLowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                              Zel32f* pSrcDst, int height, Zel32f val,
                                                              int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAdd_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, const Zel32f* pVar,
                                           int width, Zel32f* pSrcDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGaussAdd_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, const Zel32f* pVar, int width,
                                            Zel32f* pSrcDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGaussAdd_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, const Zel64f* pVar,
                                           int width, Zel64f* pSrcDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussAdd_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, const Zel64f* pVar, int width,
                                            Zel64f* pSrcDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussAdd_IdVar_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, int width,
                                                 Zel32f* pSrcDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGaussAdd_IdVar_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, int width,
                                                  Zel32f* pSrcDst, int height, Zel32f val);
ZELSR_API ZelStatus zelsLogGaussAdd_IdVar_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, int width,
                                                 Zel64f* pSrcDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussAdd_IdVar_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, int width,
                                                  Zel64f* pSrcDst, int height, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussAdd_Scaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                     const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                     Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAdd_Scaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                      int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                      int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAdd_LowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                        const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                        Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAdd_LowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean,
                                                         const Zel16s* pVar, int width, Zel32f* pSrcDst, int height,
                                                         Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAdd_IdVarScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                          int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                          int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAdd_IdVarScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                           Zel32f* pSrcDst, int height, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAdd_IdVarLowScaled_16s32f_D2(const Zel16s* pSrc, int step, const Zel16s* pMean,
                                                             int width, Zel32f* pSrcDst, int height, Zel32f val,
                                                             int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAdd_IdVarLowScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s* pMean, int width,
                                                              Zel32f* pSrcDst, int height, Zel32f val,
                                                              int scaleFactor);
/** @} */

/** @{ */
/** One frame pSrc against `height` Gaussians, whose mean and inverse-variance
 * rows share one step (D2) or lie in two tables of row pointers (D2L), with
 * S[y] = sum over j of (pMean[y][j] - pSrc[j])^2 * pVar[y][j].
 * MultiMix: pSrcDst[y] holds the constant term of Gaussian y and receives
 * its score. MaxMultiMix: the score from the constant pVal[y] replaces
 * pSrcDst[y] where it is greater. AddMultiMix: the score from pVal[y] is
 * added to pSrcDst[y] in the log domain. pVal is not written.
 * Checks: step below width (D2), then null pointers (pVal included), then
 * width or height below 1. Nothing is written on an error.
 * Outputs: pSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsLogGaussMultiMix_32f_D2(const Zel32f* pMean, const Zel32f* pVar, int step, const Zel32f* pSrc,
                                                int width, Zel32f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussMultiMix_32f_D2L(const Zel32f** mMean, const Zel32f** mVar, const Zel32f* pSrc,
                                                 int width, Zel32f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussMultiMix_64f_D2(const Zel64f* pMean, const Zel64f* pVar, int step, const Zel64f* pSrc,
                                                int width, Zel64f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussMultiMix_64f_D2L(const Zel64f** mMean, const Zel64f** mVar, const Zel64f* pSrc,
                                                 int width, Zel64f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussMultiMix_16s32s_D2Sfs(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                      const Zel16s* pSrc, int width, Zel32s* pSrcDst, int height,
                                                      int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMultiMix_16s32s_D2LSfs(const Zel16s** mMean, const Zel16s** mVar, const Zel16s* pSrc,
                                                       int width, Zel32s* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMultiMix_Low_16s32s_D2Sfs(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                          const Zel16s* pSrc, int width, Zel32s* pSrcDst, int height,
                                                          int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMultiMix_Low_16s32s_D2LSfs(const Zel16s** mMean, const Zel16s** mVar,
                                                           const Zel16s* pSrc, int width, Zel32s* pSrcDst, int height,
                                                           int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMultiMix_Scaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                          const Zel16s* pSrc, int width, Zel32f* pSrcDst, int height,
                                                          int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMultiMix_Scaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                           const Zel16s* pSrc, int width, Zel32f* pSrcDst, int height,
                                                           int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMultiMix_LowScaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                             const Zel16s* pSrc, int width, Zel32f* pSrcDst,
                                                             int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMultiMix_LowScaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                              const Zel16s* pSrc, int width, Zel32f* pSrcDst,
                                                              int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_32f_D2(const Zel32f* pMean, const Zel32f* pVar, int step,
                                                   const Zel32f* pSrc, int width, const Zel32f* pVal,
                                                   Zel32f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_32f_D2L(const Zel32f** mMean, const Zel32f** mVar, const Zel32f* pSrc,
                                                    int width, const Zel32f* pVal, Zel32f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_64f_D2(const Zel64f* pMean, const Zel64f* pVar, int step,
                                                   const Zel64f* pSrc, int width, const Zel64f* pVal,
                                                   Zel64f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_64f_D2L(const Zel64f** mMean, const Zel64f** mVar, const Zel64f* pSrc,
                                                    int width, const Zel64f* pVal, Zel64f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_16s32s_D2Sfs(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                         const Zel16s* pSrc, int width, const Zel32s* pVal,
                                                         Zel32s* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_16s32s_D2LSfs(const Zel16s** mMean, const Zel16s** mVar,
                                                          const Zel16s* pSrc, int width, const Zel32s* pVal,
                                                          Zel32s* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                             const Zel16s* pSrc, int width, const Zel32s* pVal,
                                                             Zel32s* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_Low_16s32s_D2LSfs(const Zel16s** mMean, const Zel16s** mVar,
                                                              const Zel16s* pSrc, int width, const Zel32s* pVal,
                                                              Zel32s* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_Scaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                             const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                             Zel32f* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_Scaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                              const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                              Zel32f* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_LowScaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                                const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                                Zel32f* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMaxMultiMix_LowScaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                                 const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                                 Zel32f* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_32f_D2(const Zel32f* pMean, const Zel32f* pVar, int step,
                                                   const Zel32f* pSrc, int width, const Zel32f* pVal,
                                                   Zel32f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_32f_D2L(const Zel32f** mMean, const Zel32f** mVar, const Zel32f* pSrc,
                                                    int width, const Zel32f* pVal, Zel32f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_64f_D2(const Zel64f* pMean, const Zel64f* pVar, int step,
                                                   const Zel64f* pSrc, int width, const Zel64f* pVal,
                                                   Zel64f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_64f_D2L(const Zel64f** mMean, const Zel64f** mVar, const Zel64f* pSrc,
                                                    int width, const Zel64f* pVal, Zel64f* pSrcDst, int height);
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_Scaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                             const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                             Zel32f* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_Scaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                              const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                              Zel32f* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_LowScaled_16s32f_D2(const Zel16s* pMean, const Zel16s* pVar, int step,
                                                                const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                                Zel32f* pSrcDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussAddMultiMix_LowScaled_16s32f_D2L(const Zel16s** mMean, const Zel16s** mVar,
                                                                 const Zel16s* pSrc, int width, const Zel32f* pVal,
                                                                 Zel32f* pSrcDst, int height, int scaleFactor);
/** @} */

/* ======================================================================== */
/* Mixture evaluation                                                        */
/* ======================================================================== */
/** @{ */
/** *pResult = log of the sum over y of exp(pVal[y] - S[y] / 2): one frame pSrc
 * of width elements against a mixture of height diagonal Gaussians, one row
 * of pMean and of pVar (inverse variances) per Gaussian, and pVal[y] the
 * constant term of Gaussian y with its weight. Note that height stands
 * before step and width. The Gaussians go in blocks of 100, each folded by
 * the fast single-precision log-sum (the double one in 64f members) with the
 * running value in front of a later block, so the block size is part of the
 * result. IdVar_32f_D2 alone folds its scores one by one from the first,
 * with the double coefficients of the single set; its D2L twin does not.
 * Checks: null pointers, then width above step (D2: zelStsStrideErr), then
 * width or height below 1. Nothing is written on an error.
 * Outputs: pResult.
 */
ZELSR_API ZelStatus zelsLogGaussMixture_32f_D2(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar,
                                               int height, int step, int width, const Zel32f* pVal,
                                               Zel32f* pResult);
ZELSR_API ZelStatus zelsLogGaussMixture_32f_D2L(const Zel32f* pSrc, const Zel32f** mMean, const Zel32f** mVar,
                                                int height, int width, const Zel32f* pVal, Zel32f* pResult);
ZELSR_API ZelStatus zelsLogGaussMixture_64f_D2(const Zel64f* pSrc, const Zel64f* pMean, const Zel64f* pVar,
                                               int height, int step, int width, const Zel64f* pVal,
                                               Zel64f* pResult);
ZELSR_API ZelStatus zelsLogGaussMixture_64f_D2L(const Zel64f* pSrc, const Zel64f** mMean, const Zel64f** mVar,
                                                int height, int width, const Zel64f* pVal, Zel64f* pResult);
ZELSR_API ZelStatus zelsLogGaussMixture_Scaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean,
                                                         const Zel16s* pVar, int height, int step, int width,
                                                         const Zel32f* pVal, Zel32f* pResult, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMixture_Scaled_16s32f_D2L(const Zel16s* pSrc, const Zel16s** mMean,
                                                          const Zel16s** mVar, int height, int width,
                                                          const Zel32f* pVal, Zel32f* pResult, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMixture_LowScaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean,
                                                            const Zel16s* pVar, int height, int step, int width,
                                                            const Zel32f* pVal, Zel32f* pResult, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMixture_LowScaled_16s32f_D2L(const Zel16s* pSrc, const Zel16s** mMean,
                                                             const Zel16s** mVar, int height, int width,
                                                             const Zel32f* pVal, Zel32f* pResult, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMixture_IdVar_32f_D2(const Zel32f* pSrc, const Zel32f* pMean, int height, int step,
                                                     int width, const Zel32f* pVal, Zel32f* pResult);
ZELSR_API ZelStatus zelsLogGaussMixture_IdVar_32f_D2L(const Zel32f* pSrc, const Zel32f** mMean, int height,
                                                      int width, const Zel32f* pVal, Zel32f* pResult);
ZELSR_API ZelStatus zelsLogGaussMixture_IdVar_64f_D2(const Zel64f* pSrc, const Zel64f* pMean, int height, int step,
                                                     int width, const Zel64f* pVal, Zel64f* pResult);
ZELSR_API ZelStatus zelsLogGaussMixture_IdVar_64f_D2L(const Zel64f* pSrc, const Zel64f** mMean, int height,
                                                      int width, const Zel64f* pVal, Zel64f* pResult);
ZELSR_API ZelStatus zelsLogGaussMixture_IdVarScaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean, int height,
                                                              int step, int width, const Zel32f* pVal,
                                                              Zel32f* pResult, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMixture_IdVarScaled_16s32f_D2L(const Zel16s* pSrc, const Zel16s** mMean, int height,
                                                               int width, const Zel32f* pVal, Zel32f* pResult,
                                                               int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMixture_IdVarLowScaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean,
                                                                 int height, int step, int width,
                                                                 const Zel32f* pVal, Zel32f* pResult,
                                                                 int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMixture_IdVarLowScaled_16s32f_D2L(const Zel16s* pSrc, const Zel16s** mMean,
                                                                  int height, int width, const Zel32f* pVal,
                                                                  Zel32f* pResult, int scaleFactor);
/** @} */
/** @{ */
/** Select members: pDst[f] = the log-sum above for frame f (row f of pSrc, of
 * the same step as pMean) over the Gaussians g whose bit g is set in row f
 * of pSelect: (nGauss + 7) / 8 bytes a row, bit g in byte g / 8 under the
 * mask 0x80 >> g % 8; frames that select nothing get noneValue. The scores
 * are those of zelsLogGaussSingle of the same suffixes. Select_32f_D2 and
 * SelectScaled_16s32f_D2 with nGauss above 8 and height of 2 or more fold
 * with the fast log-add; all other calls fold with the accurate one, so the
 * sizes decide the last bits of a result. Checks: null pointers, then
 * width, nGauss or height below 1, then step below width (D2) or a null row
 * pointer in any table (D2L); a scratch that cannot be allocated gives
 * zelStsMemAllocErr. Nothing is written on an error.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsLogGaussMixture_Select_32f_D2(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar,
                                                      int step, int width, const Zel32f* pVal, const Zel8u* pSelect,
                                                      int nGauss, Zel32f* pDst, int height, Zel32f noneValue);
ZELSR_API ZelStatus zelsLogGaussMixture_Select_32f_D2L(const Zel32f** mSrc, const Zel32f** mMean,
                                                       const Zel32f** mVar, int width, const Zel32f* pVal,
                                                       const Zel8u* pSelect, int nGauss, Zel32f* pDst, int height,
                                                       Zel32f noneValue);
ZELSR_API ZelStatus zelsLogGaussMixture_SelectScaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean,
                                                               const Zel16s* pVar, int step, int width,
                                                               const Zel32f* pVal, const Zel8u* pSelect, int nGauss,
                                                               Zel32f* pDst, int height, Zel32f noneValue,
                                                               int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMixture_SelectScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s** mMean,
                                                                const Zel16s** mVar, int width, const Zel32f* pVal,
                                                                const Zel8u* pSelect, int nGauss, Zel32f* pDst,
                                                                int height, Zel32f noneValue, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMixture_SelectIdVar_32f_D2(const Zel32f* pSrc, const Zel32f* pMean, int step,
                                                           int width, const Zel32f* pVal, const Zel8u* pSelect,
                                                           int nGauss, Zel32f* pDst, int height, Zel32f noneValue);
ZELSR_API ZelStatus zelsLogGaussMixture_SelectIdVar_32f_D2L(const Zel32f** mSrc, const Zel32f** mMean, int width,
                                                            const Zel32f* pVal, const Zel8u* pSelect, int nGauss,
                                                            Zel32f* pDst, int height, Zel32f noneValue);
ZELSR_API ZelStatus zelsLogGaussMixture_SelectIdVarScaled_16s32f_D2(const Zel16s* pSrc, const Zel16s* pMean,
                                                                    int step, int width, const Zel32f* pVal,
                                                                    const Zel8u* pSelect, int nGauss, Zel32f* pDst,
                                                                    int height, Zel32f noneValue, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(const Zel16s** mSrc, const Zel16s** mMean,
                                                                     int width, const Zel32f* pVal,
                                                                     const Zel8u* pSelect, int nGauss, Zel32f* pDst,
                                                                     int height, Zel32f noneValue, int scaleFactor);
/** @} */


/* ======================================================================== */
/* Single-vector scoring                                                     */
/* ======================================================================== */
/** @{ */
/** Single-vector scoring.
 * *pResult = val - S / 2 for one vector of len elements, S = sum over j of
 * (pSrc[j] - pMean[j])^2 * pVar[j] with inverse variances (IdVar: all 1).
 * DirectVar members take variances and invert them on each call: a zero
 * variance gives the warning zelStsDivByZero with the result written, except
 * in DirectVar_32f64f, which returns it at once and writes nothing.
 * BlockDVar members take the inverse covariance as a block-diagonal matrix,
 * S = d' M d with d = pSrc - pMean; lengths below 112 take no allocation.
 * 16s32s members round their result to nearest (the frame members truncate);
 * Low members keep their sums in 32-bit integers for scale factors of 0 and
 * above. In 32f64f members the vectors are single and the sum, val and the
 * result double. Checks: null pointers, then len below 1 (zelStsSizeErr);
 * a BlockDVar matrix of another type gives zelStsContextMatchErr, and len
 * unequal to its total dimension zelStsSizeErr.
 * Outputs: pResult.
 */
ZELSR_API ZelStatus zelsLogGaussSingle_32f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar, int len,
                                           Zel32f* pResult, Zel32f val);
ZELSR_API ZelStatus zelsLogGaussSingle_64f(const Zel64f* pSrc, const Zel64f* pMean, const Zel64f* pVar, int len,
                                           Zel64f* pResult, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussSingle_32f64f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar, int len,
                                              Zel64f* pResult, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussSingle_IdVar_32f(const Zel32f* pSrc, const Zel32f* pMean, int len, Zel32f* pResult,
                                                 Zel32f val);
ZELSR_API ZelStatus zelsLogGaussSingle_IdVar_64f(const Zel64f* pSrc, const Zel64f* pMean, int len, Zel64f* pResult,
                                                 Zel64f val);
ZELSR_API ZelStatus zelsLogGaussSingle_IdVar_32f64f(const Zel32f* pSrc, const Zel32f* pMean, int len,
                                                    Zel64f* pResult, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussSingle_DirectVar_32f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar,
                                                     int len, Zel32f* pResult, Zel32f val);
ZELSR_API ZelStatus zelsLogGaussSingle_DirectVar_64f(const Zel64f* pSrc, const Zel64f* pMean, const Zel64f* pVar,
                                                     int len, Zel64f* pResult, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussSingle_DirectVar_32f64f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar,
                                                        int len, Zel64f* pResult, Zel64f val);
ZELSR_API ZelStatus zelsLogGaussSingle_BlockDVar_32f(const Zel32f* pSrc, const Zel32f* pMean,
                                                     const ZelBlockDMatrix_32f* pMatrix, int len, Zel32f* pResult,
                                                     Zel32f val);
ZELSR_API ZelStatus zelsLogGaussSingle_BlockDVar_64f(const Zel64f* pSrc, const Zel64f* pMean,
                                                     const ZelBlockDMatrix_64f* pMatrix, int len, Zel64f* pResult,
                                                     Zel64f val);
ZELSR_API ZelStatus zelsLogGaussSingle_BlockDVar_32f64f(const Zel32f* pSrc, const Zel32f* pMean,
                                                        const ZelBlockDMatrix_32f* pMatrix, int len, Zel64f* pResult,
                                                        Zel64f val);
ZELSR_API ZelStatus zelsLogGaussSingle_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar, int len,
                                                  Zel32s* pResult, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_Low_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                      int len, Zel32s* pResult, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_DirectVar_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean,
                                                            const Zel16s* pVar, int len, Zel32s* pResult, Zel32s val,
                                                            int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_BlockDVar_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean,
                                                            const ZelBlockDMatrix_16s* pMatrix, int len,
                                                            Zel32s* pResult, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_IdVar_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean, int len,
                                                        Zel32s* pResult, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_IdVarLow_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean, int len,
                                                           Zel32s* pResult, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_Scaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                     int len, Zel32f* pResult, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_LowScaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar,
                                                        int len, Zel32f* pResult, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_DirectVarScaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean,
                                                              const Zel16s* pVar, int len, Zel32f* pResult,
                                                              Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_BlockDVarScaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean,
                                                              const ZelBlockDMatrix_16s* pMatrix, int len,
                                                              Zel32f* pResult, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_IdVarScaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean, int len,
                                                          Zel32f* pResult, Zel32f val, int scaleFactor);
ZELSR_API ZelStatus zelsLogGaussSingle_IdVarLowScaled_16s32f(const Zel16s* pSrc, const Zel16s* pMean, int len,
                                                             Zel32f* pResult, Zel32f val, int scaleFactor);
/** @} */

/** @{ */
/** Mahalanobis distances.
 * S itself, with no constant, no factor 1/2 and no square root. MahDist:
 * pDst[y] = S of frame row y against one Gaussian; MahDistMultiMix: S of one
 * frame pSrc against row y of the means and inverse variances. Checks: step
 * below width (D2), then null pointers, then width or height below 1.
 * MahDistSingle_16s32s_Sfs alone depends on alignment: with pSrc, pMean and
 * pVar on 16-byte boundaries it sums in single precision with differences
 * saturated to 16 bits, rounds, and ignores scaleFactor; otherwise it sums
 * exactly and shifts right by scaleFactor, saturating.
 * Outputs: pDst, pResult.
 */
ZELSR_API ZelStatus zelsMahDist_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pMean, const Zel32f* pVar,
                                       int width, Zel32f* pDst, int height);
ZELSR_API ZelStatus zelsMahDist_32f_D2L(const Zel32f** mSrc, const Zel32f* pMean, const Zel32f* pVar, int width,
                                        Zel32f* pDst, int height);
ZELSR_API ZelStatus zelsMahDist_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pMean, const Zel64f* pVar,
                                       int width, Zel64f* pDst, int height);
ZELSR_API ZelStatus zelsMahDist_64f_D2L(const Zel64f** mSrc, const Zel64f* pMean, const Zel64f* pVar, int width,
                                        Zel64f* pDst, int height);
ZELSR_API ZelStatus zelsMahDistMultiMix_32f_D2(const Zel32f* pMean, const Zel32f* pVar, int step, const Zel32f* pSrc,
                                               int width, Zel32f* pDst, int height);
ZELSR_API ZelStatus zelsMahDistMultiMix_32f_D2L(const Zel32f** mMean, const Zel32f** mVar, const Zel32f* pSrc,
                                                int width, Zel32f* pDst, int height);
ZELSR_API ZelStatus zelsMahDistMultiMix_64f_D2(const Zel64f* pMean, const Zel64f* pVar, int step, const Zel64f* pSrc,
                                               int width, Zel64f* pDst, int height);
ZELSR_API ZelStatus zelsMahDistMultiMix_64f_D2L(const Zel64f** mMean, const Zel64f** mVar, const Zel64f* pSrc,
                                                int width, Zel64f* pDst, int height);
ZELSR_API ZelStatus zelsMahDistSingle_32f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar, int len,
                                          Zel32f* pResult);
ZELSR_API ZelStatus zelsMahDistSingle_64f(const Zel64f* pSrc, const Zel64f* pMean, const Zel64f* pVar, int len,
                                          Zel64f* pResult);
ZELSR_API ZelStatus zelsMahDistSingle_32f64f(const Zel32f* pSrc, const Zel32f* pMean, const Zel32f* pVar, int len,
                                             Zel64f* pResult);
ZELSR_API ZelStatus zelsMahDistSingle_16s32f(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar, int len,
                                             Zel32f* pResult);
ZELSR_API ZelStatus zelsMahDistSingle_16s32s_Sfs(const Zel16s* pSrc, const Zel16s* pMean, const Zel16s* pVar, int len,
                                                 Zel32s* pResult, int scaleFactor);
/** @} */

/** @{ */
/** Constant terms.
 * pDst[i] = pSrcA[i] - pSrcB[i] / 2: the log weight of each Gaussian less half
 * the sum of the log variances and the dimensional term, the val of the
 * scoring functions. The _I members do pSrcDst[i] = pSrc[i] - pSrcDst[i] / 2.
 * 32s members wrap; the first len - len % 4 elements halve rounding down, the
 * last len % 4 rounding up. Checks: null pointers, then len below 1.
 * Outputs: pDst; pSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsOutProbPreCalc_32f(const Zel32f* pSrcA, const Zel32f* pSrcB, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsOutProbPreCalc_64f(const Zel64f* pSrcA, const Zel64f* pSrcB, Zel64f* pDst, int len);
ZELSR_API ZelStatus zelsOutProbPreCalc_32s(const Zel32s* pSrcA, const Zel32s* pSrcB, Zel32s* pDst, int len);
ZELSR_API ZelStatus zelsOutProbPreCalc_32f_I(const Zel32f* pSrc, Zel32f* pSrcDst, int len);
ZELSR_API ZelStatus zelsOutProbPreCalc_64f_I(const Zel64f* pSrc, Zel64f* pSrcDst, int len);
ZELSR_API ZelStatus zelsOutProbPreCalc_32s_I(const Zel32s* pSrc, Zel32s* pSrcDst, int len);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_SCORING_H */
