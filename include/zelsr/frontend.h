/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/frontend.h
 * Front-end analysis: filter banks, DCT lifter, dynamic features. Included by zelsr.h. */
#ifndef ZELSR_FRONTEND_H
#define ZELSR_FRONTEND_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Filter banks, DCT lifter, dynamic features                                */
/* ======================================================================== */
/** @{ */
/** DCT lifter.
 * lenCepstrum cepstral coefficients from lenDCT log filter-bank values: an
 * unnormalised DCT-II, cos(pi * i * (j + 0.5) / lenDCT), times a multiplier
 * per coefficient. Plain flavour: sinusoidal lifter
 * w[i] = (1 + nLifter / 2 * sin(pi * i / nLifter)) * val; C0: the same, and
 * coefficient 0 with multiplier val0, written last; Mul: pLifter[i - 1]
 * multiplies coefficient i (lenCepstrum entries); MulC0: as Mul, and
 * coefficient 0, written last, takes pLifter[lenCepstrum - 1] too.
 * Size queries: pSize null, then lenDCT or lenCepstrum below 1, lenCepstrum
 * above lenDCT, or a size beyond int (zelStsSizeErr); the MulC0_16s query also
 * refuses lenDCT above 8192. Init builds the state in caller memory of the
 * queried size, aligned at least for a pointer; zelsDCTLifterInit_MulC0_16s
 * alone reads pLifter as Zel32s and pairs with zelsDCTLifterGetSize_MulC0_16s.
 * Evaluation and Free refuse a state of the other type, or one never built,
 * with zelStsContextMatchErr. The 16-bit evaluations write the state, so a
 * 16-bit state serves one thread at a time.
 * Outputs: pSize, pState, ppState.
 */
ZELSR_API ZelStatus zelsDCTLifterGetSize_32f(int lenDCT, int lenCepstrum, int* pSize);
ZELSR_API ZelStatus zelsDCTLifterGetSize_C0_32f(int lenDCT, int lenCepstrum, int* pSize);
ZELSR_API ZelStatus zelsDCTLifterGetSize_Mul_32f(int lenDCT, int lenCepstrum, int* pSize);
ZELSR_API ZelStatus zelsDCTLifterGetSize_MulC0_32f(int lenDCT, int lenCepstrum, int* pSize);
ZELSR_API ZelStatus zelsDCTLifterGetSize_16s(int lenDCT, int lenCepstrum, int* pSize);
ZELSR_API ZelStatus zelsDCTLifterGetSize_C0_16s(int lenDCT, int lenCepstrum, int* pSize);
ZELSR_API ZelStatus zelsDCTLifterGetSize_Mul_16s(int lenDCT, int lenCepstrum, int* pSize);
ZELSR_API ZelStatus zelsDCTLifterGetSize_MulC0_16s(int lenDCT, int lenCepstrum, int* pSize);
ZELSR_API ZelStatus zelsDCTLifterInit_32f(ZelDCTLifterState_32f* pState, int lenDCT, int lenCepstrum, int nLifter,
                                          Zel32f val);
ZELSR_API ZelStatus zelsDCTLifterInit_C0_32f(ZelDCTLifterState_32f* pState, int lenDCT, int lenCepstrum,
                                             int nLifter, Zel32f val, Zel32f val0);
ZELSR_API ZelStatus zelsDCTLifterInit_Mul_32f(ZelDCTLifterState_32f* pState, int lenDCT, const Zel32f* pLifter,
                                              int lenCepstrum);
ZELSR_API ZelStatus zelsDCTLifterInit_MulC0_32f(ZelDCTLifterState_32f* pState, int lenDCT, const Zel32f* pLifter,
                                                int lenCepstrum);
ZELSR_API ZelStatus zelsDCTLifterInit_16s(ZelDCTLifterState_16s* pState, int lenDCT, int lenCepstrum, int nLifter,
                                          Zel32f val);
ZELSR_API ZelStatus zelsDCTLifterInit_C0_16s(ZelDCTLifterState_16s* pState, int lenDCT, int lenCepstrum,
                                             int nLifter, Zel32f val, Zel32f val0);
ZELSR_API ZelStatus zelsDCTLifterInit_Mul_16s(ZelDCTLifterState_16s* pState, int lenDCT, const Zel32f* pLifter,
                                              int lenCepstrum);
ZELSR_API ZelStatus zelsDCTLifterInit_MulC0_16s(ZelDCTLifterState_16s* pState, int lenDCT, const Zel32s* pLifter,
                                                int lenCepstrum);
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_32f(ZelDCTLifterState_32f** ppState, int lenDCT, int lenCepstrum,
                                               int nLifter, Zel32f val);
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_C0_32f(ZelDCTLifterState_32f** ppState, int lenDCT, int lenCepstrum,
                                                  int nLifter, Zel32f val, Zel32f val0);
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_Mul_32f(ZelDCTLifterState_32f** ppState, int lenDCT,
                                                   const Zel32f* pLifter, int lenCepstrum);
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_MulC0_32f(ZelDCTLifterState_32f** ppState, int lenDCT,
                                                     const Zel32f* pLifter, int lenCepstrum);
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_16s(ZelDCTLifterState_16s** ppState, int lenDCT, int lenCepstrum,
                                               int nLifter, Zel32f val);
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_C0_16s(ZelDCTLifterState_16s** ppState, int lenDCT, int lenCepstrum,
                                                  int nLifter, Zel32f val, Zel32f val0);
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_Mul_16s(ZelDCTLifterState_16s** ppState, int lenDCT,
                                                   const Zel32f* pLifter, int lenCepstrum);
ZELSR_API ZelStatus zelsDCTLifterInitAlloc_MulC0_16s(ZelDCTLifterState_16s** ppState, int lenDCT,
                                                     const Zel32f* pLifter, int lenCepstrum);
/** @} */
/** @{ */
/** Releases a state from InitAlloc; a state from Init is only marked unusable. */
ZELSR_API ZelStatus zelsDCTLifterFree_32f(ZelDCTLifterState_32f* pState);
ZELSR_API ZelStatus zelsDCTLifterFree_16s(ZelDCTLifterState_16s* pState);
/** @} */
/** @{ */
/** pDst: lenCepstrum coefficients 1..lenCepstrum, then coefficient 0 in the C0
   flavours. The 16-bit forms round to nearest with scaleFactor and saturate.
 * Outputs: pDst; pState (in place: read and written).
 */
ZELSR_API ZelStatus zelsDCTLifter_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelDCTLifterState_32f* pState);
ZELSR_API ZelStatus zelsDCTLifter_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, ZelDCTLifterState_16s* pState,
                                          int scaleFactor);
ZELSR_API ZelStatus zelsDCTLifter_32s16s_Sfs(const Zel32s* pSrc, Zel16s* pDst, ZelDCTLifterState_16s* pState,
                                             int scaleFactor);
/** @} */

/** @{ */
/** Dynamic features.
 * Streaming family: frames of `width` values (14 in Aurora: twelve cepstra,
 * c0, log energy) are copied into rows of pDst, `dstStep` elements apart,
 * and the delta (and delta-delta) blocks behind them are filled for the rows
 * whose context has arrived. With zelBeginStream the first frames start at
 * row 0; without it rows 0..H-1 must hold the last H rows of the previous
 * call (H: Win1 2, Win2 4, DeltaDelta_Win1 3, DeltaDelta_Win2 6, Aurora 8)
 * and new frames start at row H. zelEndStream finishes the pending rows with
 * the last row replicated. Mul forms take one multiplier per output element
 * (statics, then deltas, then delta-deltas). Checks: null pointers; width
 * below 1, height negative, or height 0 without zelEndStream (zelStsSizeErr);
 * dstStep below the row (zelStsStrideErr); zelBeginStream with height below H
 * (zelStsSizeErr).
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsDelta_Win1_32f_D2(const Zel32f* pSrc, int width, Zel32f* pDst, int dstStep, int height,
                                          Zel32f deltaScale, int mode);
ZELSR_API ZelStatus zelsDelta_Win2_32f_D2(const Zel32f* pSrc, int width, Zel32f* pDst, int dstStep, int height,
                                          Zel32f deltaScale, int mode);
ZELSR_API ZelStatus zelsDelta_Win1_16s_D2Sfs(const Zel16s* pSrc, int width, Zel16s* pDst, int dstStep, int height,
                                             Zel16s deltaScale, int mode, int scaleFactor);
ZELSR_API ZelStatus zelsDelta_Win2_16s_D2Sfs(const Zel16s* pSrc, int width, Zel16s* pDst, int dstStep, int height,
                                             Zel16s deltaScale, int mode, int scaleFactor);
ZELSR_API ZelStatus zelsDeltaDelta_Win1_32f_D2(const Zel32f* pSrc, int width, Zel32f* pDst, int dstStep,
                                               int height, Zel32f deltaScale, Zel32f deltaDeltaScale, int mode);
ZELSR_API ZelStatus zelsDeltaDelta_Win2_32f_D2(const Zel32f* pSrc, int width, Zel32f* pDst, int dstStep,
                                               int height, Zel32f deltaScale, Zel32f deltaDeltaScale, int mode);
ZELSR_API ZelStatus zelsDeltaDelta_Win1_16s_D2Sfs(const Zel16s* pSrc, int width, Zel16s* pDst, int dstStep,
                                                  int height, Zel16s deltaScale, Zel16s deltaDeltaScale, int mode,
                                                  int scaleFactor);
ZELSR_API ZelStatus zelsDeltaDelta_Win2_16s_D2Sfs(const Zel16s* pSrc, int width, Zel16s* pDst, int dstStep,
                                                  int height, Zel16s deltaScale, Zel16s deltaDeltaScale, int mode,
                                                  int scaleFactor);
ZELSR_API ZelStatus zelsDeltaMul_Win1_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, int width, Zel32f* pDst,
                                             int dstStep, int height, int mode);
ZELSR_API ZelStatus zelsDeltaMul_Win2_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, int width, Zel32f* pDst,
                                             int dstStep, int height, int mode);
ZELSR_API ZelStatus zelsDeltaDeltaMul_Win1_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, int width, Zel32f* pDst,
                                                  int dstStep, int height, int mode);
ZELSR_API ZelStatus zelsDeltaDeltaMul_Win2_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, int width, Zel32f* pDst,
                                                  int dstStep, int height, int mode);
ZELSR_API ZelStatus zelsDeltaMul_Win1_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, int width, Zel16s* pDst,
                                                int dstStep, int height, int mode, int scaleFactor);
ZELSR_API ZelStatus zelsDeltaMul_Win2_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, int width, Zel16s* pDst,
                                                int dstStep, int height, int mode, int scaleFactor);
ZELSR_API ZelStatus zelsDeltaDeltaMul_Win1_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, int width,
                                                     Zel16s* pDst, int dstStep, int height, int mode,
                                                     int scaleFactor);
ZELSR_API ZelStatus zelsDeltaDeltaMul_Win2_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, int width,
                                                     Zel16s* pDst, int dstStep, int height, int mode,
                                                     int scaleFactor);
/** @} */
/** @{ */
/** Aurora window of radius four; 39 output values per row (dstStep >= 39).
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsDeltaDelta_Aurora_32f_D2(const Zel32f* pSrc, Zel32f* pDst, int dstStep, int height,
                                                 int mode);
ZELSR_API ZelStatus zelsDeltaDelta_Aurora_16s_D2Sfs(const Zel16s* pSrc, Zel16s* pDst, int dstStep, int height,
                                                    int mode, int scaleFactor);
ZELSR_API ZelStatus zelsDeltaDeltaMul_Aurora_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, Zel32f* pDst,
                                                    int dstStep, int height, int mode);
ZELSR_API ZelStatus zelsDeltaDeltaMul_Aurora_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, Zel16s* pDst,
                                                       int dstStep, int height, int mode, int scaleFactor);
/** @} */
/** @{ */
/** In place: columns offset..offset+width-1 of each row give the regression
 * delta of window winSize in columns offset+width..offset+2*width-1. The
 * first winSize rows difference against row 0 and the last winSize rows
 * against the last row. Checks: null pointers; height, width or winSize
 * below 1, offset negative, height below 2 * winSize (zelStsSizeErr); step
 * below offset + 2 * width (zelStsStrideErr).
 * Outputs: pSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsEvalDelta_32f_D2(Zel32f* pSrcDst, int height, int step, int width, int offset, int winSize,
                                         Zel32f scale);
ZELSR_API ZelStatus zelsEvalDelta_16s_D2Sfs(Zel16s* pSrcDst, int height, int step, int width, int offset,
                                            int winSize, Zel16s scale, int scaleFactor);
ZELSR_API ZelStatus zelsEvalDeltaMul_32f_D2(Zel32f* pSrcDst, int height, int step, const Zel32f* pVal, int width,
                                            int offset, int winSize);
ZELSR_API ZelStatus zelsEvalDeltaMul_16s_D2Sfs(Zel16s* pSrcDst, int height, int step, const Zel16s* pVal,
                                               int width, int offset, int winSize, int scaleFactor);
/** @} */
/** @{ */
/** Filter banks.
 * A bank is nFilter overlapping triangles over FFT bins, described by
 * nFilter + 2 centre bins and a rising and a falling row of weights per
 * filter. mel(f) = melMul * ln(1 + f / melDiv). `mode` is zelFBankMelWeights
 * or zelFBankBinWeights, optionally with zelFBankMagnitudeInput, in which case
 * evaluation takes a time frame of fftLen samples and forms its FFT magnitude.
 * A bank handed to a function of another kind (a 16-bit bank to a float
 * function, say), or memory that holds no bank, gives zelStsContextMatchErr;
 * the centre accessors take float and 16-bit banks alike.
 * Outputs: pSize.
 */
ZELSR_API ZelStatus zelsMelFBankGetSize_32f(int winSize, int nFilter, int mode, int* pSize);
ZELSR_API ZelStatus zelsMelFBankGetSize_16s(int winSize, int nFilter, int mode, int* pSize);
ZELSR_API ZelStatus zelsMelFBankGetSize_32s(int winSize, int nFilter, int mode, int* pSize);
/** @} */
/** @{ */
/** pFBank: caller memory of the size the matching size query reports, aligned
 * at least as a pointer.
 * Outputs: pFBank, pFFTOrder.
 */
ZELSR_API ZelStatus zelsMelFBankInit_32f(ZelFBankState_32f* pFBank, int* pFFTOrder, int winSize, Zel32f sampFreq,
                                         Zel32f lowFreq, Zel32f highFreq, int nFilter, Zel32f melMul, Zel32f melDiv,
                                         int mode);
ZELSR_API ZelStatus zelsMelFBankInit_16s(ZelFBankState_16s* pFBank, int* pFFTOrder, int winSize, Zel32f sampFreq,
                                         Zel32f lowFreq, Zel32f highFreq, int nFilter, Zel32f melMul, Zel32f melDiv,
                                         int mode);
/** @} */
/** @{ */
/** Integer bank with Q30 weights; melMul and melDiv in Q15, mode must be 2.
 * Outputs: pFBank, pFFTOrder, ppFBank.
 */
ZELSR_API ZelStatus zelsMelFBankInit_32s(ZelFBankState_32s* pFBank, int* pFFTOrder, int winSize, int sampFreq,
                                         int lowFreq, int highFreq, int nFilter, Zel32s melMul, Zel32s melDiv,
                                         int mode);
ZELSR_API ZelStatus zelsMelFBankInitAlloc_32f(ZelFBankState_32f** ppFBank, int* pFFTOrder, int winSize,
                                              Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                              Zel32f melMul, Zel32f melDiv, int mode);
ZELSR_API ZelStatus zelsMelFBankInitAlloc_16s(ZelFBankState_16s** ppFBank, int* pFFTOrder, int winSize,
                                              Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                              Zel32f melMul, Zel32f melDiv, int mode);
/** @} */
/** @{ */
/** Linear filters up to linFreq, mel-spaced above it.
 * Outputs: ppFBank, pFFTOrder.
 */
ZELSR_API ZelStatus zelsMelLinFBankInitAlloc_32f(ZelFBankState_32f** ppFBank, int* pFFTOrder, int winSize,
                                                 Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                                 Zel32f linFreq, int nLinear, Zel32f melMul, Zel32f melDiv,
                                                 int mode);
ZELSR_API ZelStatus zelsMelLinFBankInitAlloc_16s(ZelFBankState_16s** ppFBank, int* pFFTOrder, int winSize,
                                                 Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                                 Zel32f linFreq, int nLinear, Zel32f melMul, Zel32f melDiv,
                                                 int mode);
/** @} */
/** @{ */
/** A cleared bank, not ready until its centres are set.
 * Outputs: ppFBank, pFFTOrder.
 */
ZELSR_API ZelStatus zelsEmptyFBankInitAlloc_32f(ZelFBankState_32f** ppFBank, int* pFFTOrder, int winSize,
                                                int nFilter, int mode);
ZELSR_API ZelStatus zelsEmptyFBankInitAlloc_16s(ZelFBankState_16s** ppFBank, int* pFFTOrder, int winSize,
                                                int nFilter, int mode);
/** @} */
/** @{ */
/** With the magnitude flag, evaluation writes the bank's scratch: such a bank
 * serves one thread at a time.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsEvalFBank_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelFBankState_32f* pFBank);
ZELSR_API ZelStatus zelsEvalFBank_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, const ZelFBankState_16s* pFBank,
                                          int scaleFactor);
ZELSR_API ZelStatus zelsEvalFBank_16s32s_Sfs(const Zel16s* pSrc, Zel32s* pDst, const ZelFBankState_16s* pFBank,
                                             int scaleFactor);
ZELSR_API ZelStatus zelsEvalFBank_32s_Sfs(const Zel32s* pSrc, Zel32s* pDst, const ZelFBankState_32s* pFBank,
                                          int scaleFactor);
/** @} */
/** @{ */
/** Only for banks from an InitAlloc builder. */
ZELSR_API ZelStatus zelsFBankFree_32f(ZelFBankState_32f* pFBank);
ZELSR_API ZelStatus zelsFBankFree_16s(ZelFBankState_16s* pFBank);
/** @} */
/** @{ */
/** nFilter + 2 centre bins.
 * Outputs: pCenters; pFBank (in place: read and written).
 */
ZELSR_API ZelStatus zelsFBankGetCenters_32f(const ZelFBankState_32f* pFBank, Zel32s* pCenters);
ZELSR_API ZelStatus zelsFBankGetCenters_16s(const ZelFBankState_16s* pFBank, Zel32s* pCenters);
ZELSR_API ZelStatus zelsFBankSetCenters_32f(ZelFBankState_32f* pFBank, const Zel32s* pCenters);
ZELSR_API ZelStatus zelsFBankSetCenters_16s(ZelFBankState_16s* pFBank, const Zel32s* pCenters);
/** @} */
/** @{ */
/** One filter's weights: the rising run (c[i] - c[i-1] + 1 values), then the
 * falling run (c[i+1] - c[i] values). Reading accepts filterIndex 1 to
 * nFilter + 1, writing 1 to nFilter.
 * Outputs: pCoeffs, pDst; pFBank (in place: read and written).
 */
ZELSR_API ZelStatus zelsFBankGetCoeffs_32f(const ZelFBankState_32f* pFBank, int filterIndex, Zel32f* pCoeffs);
ZELSR_API ZelStatus zelsFBankGetCoeffs_16s(const ZelFBankState_16s* pFBank, int filterIndex, Zel32f* pCoeffs);
ZELSR_API ZelStatus zelsFBankSetCoeffs_32f(ZelFBankState_32f* pFBank, int filterIndex, const Zel32f* pCoeffs);
ZELSR_API ZelStatus zelsFBankSetCoeffs_16s(ZelFBankState_16s* pFBank, int filterIndex, const Zel32f* pCoeffs);
ZELSR_API ZelStatus zelsLinearToMel_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f melMul, Zel32f melDiv);
ZELSR_API ZelStatus zelsMelToLinear_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f melMul, Zel32f melDiv);
/** @} */

/* ======================================================================== */
/* Signal conditioning                                                       */
/* ======================================================================== */
/* Unless a member says otherwise the checks are: null pointers
 * (zelStsNullPtrErr), then a length below 1 (zelStsSizeErr), then the
 * member's own tests; nothing is written on an error. */

/** @{ */
/** Offset compensation, the first-order recursion y[n] = x[n] - x[n-1] + val * y[n-1].
 * The previous input crosses calls in *pSrcDst0 (read, then set to the last
 * input x[len-1]) and the previous output in dst0, which the caller keeps as
 * y[len-1] of the last call. Float: y[0] = (val * dst0 + x[0]) - *pSrcDst0.
 * 16-bit: y[0] is formed in single precision, limited to 16 bits and
 * truncated; later samples run in integers with val in Q12 and saturate.
 * Q15: val is valQ15 / 32768 and a negative result rounds toward zero when the
 * product y[n-1] * valQ15 has a fraction; each output saturates before it feeds
 * the next. Q15 checks add len above 65535 (zelStsSizeErr) and a negative
 * valQ15 (zelStsBadArgErr). The _I members work in place.
 * Outputs: pDst; pSrcDst, pSrcDst0 (in place: read and written). */
ZELSR_API ZelStatus zelsCompensateOffset_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f* pSrcDst0,
                                             Zel32f dst0, Zel32f val);
ZELSR_API ZelStatus zelsCompensateOffset_16s(const Zel16s* pSrc, Zel16s* pDst, int len, Zel16s* pSrcDst0,
                                             Zel16s dst0, Zel32f val);
ZELSR_API ZelStatus zelsCompensateOffset_32f_I(Zel32f* pSrcDst, int len, Zel32f* pSrcDst0, Zel32f dst0, Zel32f val);
ZELSR_API ZelStatus zelsCompensateOffset_16s_I(Zel16s* pSrcDst, int len, Zel16s* pSrcDst0, Zel16s dst0, Zel32f val);
ZELSR_API ZelStatus zelsCompensateOffsetQ15_16s(const Zel16s* pSrc, Zel16s* pDst, int len, Zel16s* pSrcDst0,
                                                Zel16s dst0, Zel16s valQ15);
ZELSR_API ZelStatus zelsCompensateOffsetQ15_16s_I(Zel16s* pSrcDst, int len, Zel16s* pSrcDst0, Zel16s dst0,
                                                  Zel16s valQ15);
/** @} */

/** Mean removal in place: m = trunc(2 * sum / len), twice the mean, and each
 * element becomes (2 x - m) >> 1, limited to 16 bits. Up to 64 elements an odd
 * 2 x - m rounds away from zero first (and a negative even one comes out one
 * lower); from 65 elements on the shift is plain, so the same data can differ
 * by one between a short and a long vector. Checks: len below 1
 * (zelStsSizeErr) before the null pointer.
 * Outputs: pSrcDst (in place: read and written). */
ZELSR_API ZelStatus zelsZeroMean_16s(Zel16s* pSrcDst, int len);

/** @{ */
/** Energy normalisation of a column of log energies (element i at
 * pSrcDst[i * step]) in place: each x becomes
 * 1 - (maxE - max(x, maxE - silenceFloor * 0.230259)) * energyScale, with
 * silenceFloor in decibels and maxE the column's largest element (the _RT
 * members take maxE from the caller, so a frame at a time can be normalised).
 * The 16-bit members read the log energies, maxE and silenceFloor in the
 * caller's units, energyScale in Q15, and write the result in Q15, rounded to
 * nearest and saturated (1 gives 32767). Checks add step below 1
 * (zelStsSizeErr).
 * Outputs: pSrcDst (in place: read and written). */
ZELSR_API ZelStatus zelsNormEnergy_32f(Zel32f* pSrcDst, int step, int len, Zel32f silenceFloor, Zel32f energyScale);
ZELSR_API ZelStatus zelsNormEnergy_16s(Zel16s* pSrcDst, int step, int len, Zel16s silenceFloor, Zel16s energyScale);
ZELSR_API ZelStatus zelsNormEnergy_RT_32f(Zel32f* pSrcDst, int step, int len, Zel32f silenceFloor, Zel32f maxE,
                                          Zel32f energyScale);
ZELSR_API ZelStatus zelsNormEnergy_RT_16s(Zel16s* pSrcDst, int step, int len, Zel16s silenceFloor, Zel16s maxE,
                                          Zel16s energyScale);
/** @} */

/** @{ */
/** Sign changes of a vector, as a count in *pRes (the rate is left to the
 * caller). zelsSignChangeRate: n in 1..len-1 with x[n] * x[n-1] negative, the
 * product in the element's type (zero never counts, nor a product that
 * underflows to zero). _Count0: the sum of |sgn(x[n]) - sgn(x[n-1])|, halved
 * by a right shift at the end, so a step through zero counts half on each
 * side. Xor: sign bits that differ, so -0 and +0 differ.
 * Outputs: pRes. */
ZELSR_API ZelStatus zelsSignChangeRate_16s(const Zel16s* pSrc, int len, Zel32s* pRes);
ZELSR_API ZelStatus zelsSignChangeRate_32f(const Zel32f* pSrc, int len, Zel32f* pRes);
ZELSR_API ZelStatus zelsSignChangeRate_Count0_16s(const Zel16s* pSrc, int len, Zel32s* pRes);
ZELSR_API ZelStatus zelsSignChangeRate_Count0_32f(const Zel32f* pSrc, int len, Zel32f* pRes);
ZELSR_API ZelStatus zelsSignChangeRateXor_32f(const Zel32f* pSrc, int len, Zel32f* pRes);
/** @} */

/** @{ */
/** Copies lenSrc elements and clears the remaining lenDst - lenSrc. Checks
 * add lenDst below lenSrc (zelStsSizeErr).
 * Outputs: pDst. */
ZELSR_API ZelStatus zelsCopyWithPadding_16s(const Zel16s* pSrc, int lenSrc, Zel16s* pDst, int lenDst);
ZELSR_API ZelStatus zelsCopyWithPadding_32f(const Zel32f* pSrc, int lenSrc, Zel32f* pDst, int lenDst);
/** @} */

/** @{ */
/** The unit curve, a smooth step from 0 to 2: 0 below 0, x^2 below 1,
 * 2 - (2 - x)^2 from 1 to 2, and 2 above 2 (and for NaN). The 16-bit members
 * read x with q fractional bits: with one = 1 << q and two = 1 << (q + 1), x at
 * or above two gives two << q, x not above 0 gives 0, x below one gives x^2,
 * otherwise (two << q) - (two - x)^2; the value is shifted right by
 * scaleFactor + 2 q (left if negative) and limited above by 32767. A q below 0
 * or above 14 clears the output.
 * Outputs: pDst; pSrcDst (in place: read and written). */
ZELSR_API ZelStatus zelsUnitCurve_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsUnitCurve_32f_I(Zel32f* pSrcDst, int len);
ZELSR_API ZelStatus zelsUnitCurve_16s_Sfs(const Zel16s* pSrc, int q, Zel16s* pDst, int len, int scaleFactor);
ZELSR_API ZelStatus zelsUnitCurve_16s_ISfs(Zel16s* pSrcDst, int q, int len, int scaleFactor);
/** @} */

/** @{ */
/** Inverse square root: x at or above val gives 1 / sqrt(x), a smaller x gives
 * val. zelsRecSqrt_32f uses the processor's estimate with one Newton step,
 * (3 - x r r) r / 2, so its last bit may differ between processors. The
 * fixed-point members read x and val as integers and store the root r as
 * r * 2^-scaleFactor, rounded to nearest and saturated to 32 or 16 bits.
 * Checks add val not above 0 (zelStsBadArgErr). Returns zelStsSingularity,
 * with every output written, when all elements fell below val.
 * Outputs: pDst; pSrcDst (in place: read and written). */
ZELSR_API ZelStatus zelsRecSqrt_32f(Zel32f* pSrcDst, int len, Zel32f val);
ZELSR_API ZelStatus zelsRecSqrt_32s_Sfs(Zel32s* pSrcDst, int len, Zel32s val, int scaleFactor);
ZELSR_API ZelStatus zelsRecSqrt_32s16s_Sfs(const Zel32s* pSrc, Zel16s* pDst, int len, Zel32s val, int scaleFactor);
/** @} */

/** @{ */
/** sin(x) / x (not normalised by pi), 1 at x = 0 exactly; a NaN gives NaN.
 * Single precision is evaluated in double and rounded once.
 * Outputs: pDst; pSrcDst (in place: read and written). */
ZELSR_API ZelStatus zelsSinC_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsSinC_64f(const Zel64f* pSrc, Zel64f* pDst, int len);
ZELSR_API ZelStatus zelsSinC_32f64f(const Zel32f* pSrc, Zel64f* pDst, int len);
ZELSR_API ZelStatus zelsSinC_32f_I(Zel32f* pSrcDst, int len);
ZELSR_API ZelStatus zelsSinC_64f_I(Zel64f* pSrcDst, int len);
/** @} */

/** @{ */
/** The Gaussian curve exp(-x^2), the square in the element's own precision
 * (in double for _32f64f). Single precision is within one unit in the last
 * place of the exponential of its rounded square, the same bits on every
 * processor.
 * Outputs: pDst; pSrcDst (in place: read and written). */
ZELSR_API ZelStatus zelsExpNegSqr_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsExpNegSqr_64f(const Zel64f* pSrc, Zel64f* pDst, int len);
ZELSR_API ZelStatus zelsExpNegSqr_32f64f(const Zel32f* pSrc, Zel64f* pDst, int len);
ZELSR_API ZelStatus zelsExpNegSqr_32f_I(Zel32f* pSrcDst, int len);
ZELSR_API ZelStatus zelsExpNegSqr_64f_I(Zel64f* pSrcDst, int len);
/** @} */

/** @{ */
/** Range normalisation: with w = max - min, hi = upperRatio * w + min and
 * lo = w * lowerRatio + min, each x becomes
 * max(min(x, hi) - lo, 0) * range / (upperRatio * w - w * lowerRatio). The
 * MinMax members take min and max from the caller; the others find them in the
 * input first. Integer results round to nearest (ties to even) and saturate
 * (0..255 for 8u). min equal to max clears the output and returns
 * zelStsSingularity. Checks add a lowerRatio that is negative or not below
 * upperRatio, upperRatio above 1, a negative range, a NaN among them, or min
 * above max (zelStsBadArgErr).
 * Outputs: pDst; pSrcDst (in place: read and written). */
ZELSR_API ZelStatus zelsNormalizeInRange_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f lowerRatio,
                                             Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRange_32f_I(Zel32f* pSrcDst, int len, Zel32f lowerRatio, Zel32f upperRatio,
                                               Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRange_32f16s(const Zel32f* pSrc, Zel16s* pDst, int len, Zel32f lowerRatio,
                                                Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRange_32f8u(const Zel32f* pSrc, Zel8u* pDst, int len, Zel32f lowerRatio,
                                               Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRange_16s(const Zel16s* pSrc, Zel16s* pDst, int len, Zel32f lowerRatio,
                                             Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRange_16s_I(Zel16s* pSrcDst, int len, Zel32f lowerRatio, Zel32f upperRatio,
                                               Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRange_16s8u(const Zel16s* pSrc, Zel8u* pDst, int len, Zel32f lowerRatio,
                                               Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f min, Zel32f max,
                                                   Zel32f lowerRatio, Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_32f_I(Zel32f* pSrcDst, int len, Zel32f min, Zel32f max,
                                                     Zel32f lowerRatio, Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_32f16s(const Zel32f* pSrc, Zel16s* pDst, int len, Zel32f min,
                                                      Zel32f max, Zel32f lowerRatio, Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_32f8u(const Zel32f* pSrc, Zel8u* pDst, int len, Zel32f min,
                                                     Zel32f max, Zel32f lowerRatio, Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_16s(const Zel16s* pSrc, Zel16s* pDst, int len, Zel16s min, Zel16s max,
                                                   Zel32f lowerRatio, Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_16s_I(Zel16s* pSrcDst, int len, Zel16s min, Zel16s max,
                                                     Zel32f lowerRatio, Zel32f upperRatio, Zel32f range);
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_16s8u(const Zel16s* pSrc, Zel8u* pDst, int len, Zel16s min,
                                                     Zel16s max, Zel32f lowerRatio, Zel32f upperRatio, Zel32f range);
/** @} */

/** @{ */
/** Entropy in bits with the plain sum's sign: the sum of x ln x over positive
 * x, divided by 0.6931472 (a probability vector gives a negative value); zero
 * and NaN elements are skipped. The 16-bit member reads x * 2^-srcShift, scales
 * the total by 2^-scaleFactor and truncates it, saturated to 32 bits. A
 * negative element gives zelStsLnNegArg at once: zelsEntropy_32f then stores
 * the NaN 0xffc00000 in *pRes, zelsEntropy_16s32s_Sfs writes nothing.
 * Outputs: pRes. */
ZELSR_API ZelStatus zelsEntropy_32f(const Zel32f* pSrc, int len, Zel32f* pRes);
ZELSR_API ZelStatus zelsEntropy_16s32s_Sfs(const Zel16s* pSrc, int srcShift, int len, Zel32s* pRes, int scaleFactor);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_FRONTEND_H */
