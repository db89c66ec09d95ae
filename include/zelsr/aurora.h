/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/aurora.h
 * The distributed front end: Aurora noise reduction, voice activity, wave processing and equalization. Included by zelsr.h. */
#ifndef ZELSR_AURORA_H
#define ZELSR_AURORA_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Aurora noise reduction                                                    */
/* ======================================================================== */
/* The stateless steps of the noise reduction, for one frame at a time. The
 * caller owns and carries every spectrum from frame to frame, and seeds the
 * noise estimate and the denoised spectrum on the first frame. A frame's
 * chain: a 256-point real FFT in the packed layout (bin 0, the top bin, then
 * re/im of bins 1 .. 127); the smoothed power spectrum of 65 bins; the noise
 * update; the Wiener gains; the gains through the Low Mel bank (evaluated
 * with zelsEvalFBank_*); the caller's inverse transform to 10 impulse-response
 * values; the 17 taps; the residual filter over 80 new samples.
 *
 * Statuses: pointers are tested first, all in one test (zelStsNullPtrErr),
 * then the length (zelStsSizeErr). Nothing is written on an error. */

/** @{ */
/** Smoothed power spectrum: from len packed FFT values, len / 4 + 1 powers.
 * pDst[0] = (x0^2 + x2^2 + x3^2) / 2; pDst[i] = (x[4i]^2 + x[4i+1]^2 +
 * x[4i+2]^2 + x[4i+3]^2) / 2 for 1 <= i < len / 4; pDst[len / 4] = x1^2, the
 * top bin without the half. len must be a positive multiple of 4.
 * _16s: halved squares summed in 32 bits, clamped to 16 bits (four values of
 * -32768 wrap to -32768); the top bin clamped above at 32767.
 * _32s64s_Sfs: exact halved squares summed in 64 bits, shifted right by
 * scaleFactor (left by its negative), stored without saturation.
 * _32s_Sfs: first and top bins as _32s64s_Sfs, saturated to 32 bits; the
 * others in double, times 2^-(scaleFactor + 1), nearest with ties to even,
 * and -2147483648 where the result leaves the 32-bit range. In both 32-bit
 * forms the top bin is the square of x1 cut to 32 bits, taken as signed.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsSmoothedPowerSpectrumAurora_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsSmoothedPowerSpectrumAurora_16s(const Zel16s* pSrc, Zel16s* pDst, int len);
ZELSR_API ZelStatus zelsSmoothedPowerSpectrumAurora_32s_Sfs(const Zel32s* pSrc, Zel32s* pDst, int len,
                                                           int scaleFactor);
ZELSR_API ZelStatus zelsSmoothedPowerSpectrumAurora_32s64s_Sfs(const Zel32s* pSrc, Zel64s* pDst, int len,
                                                              int scaleFactor);
/** @} */

/** @{ */
/** Noise spectrum update, bin by bin, with a = pSrc[i] (power of this frame)
 * and b = pSrcNoise[i] (noise estimate of the last frame):
 * pDst[i] = b (0.9 + 0.1 a / (a + b) (1 + b / (b + 0.1 a))).
 * _32f: both divisions by the processor's reciprocal estimate (relative error
 * up to 1.5 * 2^-12), computed with rounding toward zero (the caller's mode is
 * restored); a = b = 0 gives 0.
 * _16s_Sfs, _32s_Sfs: single precision with true division, times
 * 2^-scaleFactor, truncated toward zero; a zero a + b, or a zero
 * trunc(0.1 a + b) (_16s) or trunc(0.1 a) + b (_32s), gives 0. _16s saturates;
 * _32s stores -2147483648 for a value of 2^31 or more. len < 1: zelStsSizeErr.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsNoiseSpectrumUpdate_Aurora_32f(const Zel32f* pSrc, const Zel32f* pSrcNoise, Zel32f* pDst,
                                                      int len);
ZELSR_API ZelStatus zelsNoiseSpectrumUpdate_Aurora_16s_Sfs(const Zel16s* pSrc, const Zel16s* pSrcNoise,
                                                          Zel16s* pDst, int len, int scaleFactor);
ZELSR_API ZelStatus zelsNoiseSpectrumUpdate_Aurora_32s_Sfs(const Zel32s* pSrc, const Zel32s* pSrcNoise,
                                                          Zel32s* pDst, int len, int scaleFactor);
/** @} */

/** @{ */
/** Wiener filter design: one gain per bin from the power pSrc, the noise
 * estimate pNoise and the denoised power of the last frame pDen.
 * _32f, with r the reciprocal estimate of the noise: d = max(a - b, 0);
 * s = (0.02 d + 0.98 c) r; w = s / (s + 1); t = max(w a r, 0.07943282) (-22 dB;
 * a NaN, as from zero noise, takes the floor); pDst = t / (t + 1), so a gain
 * never falls under 0.07943282 / 1.07943282.
 * _16s: Q14 gains (16384 is 1.0) in 64-bit integer arithmetic; zero noise
 * gives 1206, the floor's gain. len < 1: zelStsSizeErr.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsWienerFilterDesign_Aurora_32f(const Zel32f* pSrc, const Zel32f* pNoise, const Zel32f* pDen,
                                                     Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsWienerFilterDesign_Aurora_16s(const Zel16s* pSrc, const Zel16s* pNoise, const Zel16s* pDen,
                                                     Zel16s* pDst, int len);
/** @} */

/** @{ */
/** Taps: unfolds 10 impulse-response values pSrc into the 17 taps pDst:
 * pDst[8] = pSrc[0], pDst[7] = pSrc[1], pDst[8 - k] = pDst[7 + k] = pSrc[k]
 * for k = 2 .. 8, pDst[16] = pSrc[9]. The right wing runs one place behind
 * the left.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsTabsCalculation_Aurora_32f(const Zel32f* pSrc, Zel32f* pDst);
ZELSR_API ZelStatus zelsTabsCalculation_Aurora_16s(const Zel16s* pSrc, Zel16s* pDst);
/** @} */

/** @{ */
/** Residual filter: pDst[i] = sum over j = 0 .. 16 of pSrc[i + j] pTaps[j] for
 * i = 0 .. 79. pSrc holds 96 samples: 16 of history, then the 80 new ones.
 * _16s_Sfs: exact products, summed in pairs in 32 bits and then in double,
 * times 2^-scaleFactor, clamped to 16 bits, nearest with ties to even.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsResidualFilter_Aurora_32f(const Zel32f* pSrc, Zel32f* pDst, const Zel32f* pTaps);
ZELSR_API ZelStatus zelsResidualFilter_Aurora_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, const Zel16s* pTaps,
                                                     int scaleFactor);
/** @} */

/** @{ */
/** The Low and High Mel banks, for a 65-bin spectrum (0 .. 4000 Hz at 8 kHz):
 * filter-bank states with bin weights and an FFT length of 128, evaluated by
 * zelsEvalFBank_32f / zelsEvalFBank_16s_Sfs and released, when allocated, by
 * zelsFBankFree_32f / zelsFBankFree_16s. Low: 25 bands, the first on bin 0
 * alone, each band's weights summing to 1; High: 3 triangular bands with a
 * peak of 1, from 80 Hz. The _16s weights are Q14.
 * GetSize writes the bytes that Init needs (on 32-bit builds: Low 15532 and
 * 15536, High 3124 and 3128; wider pointers add to these). Init builds the
 * bank in that memory, aligned at least for a pointer; the rows inside are
 * aligned by the builder. InitAlloc writes
 * the new bank to *ppFBank. Statuses: a null pointer (zelStsNullPtrErr); no
 * memory (zelStsMemAllocErr, *ppFBank untouched).
 * Outputs: pSize, pFBank, ppFBank.
 */
ZELSR_API ZelStatus zelsMelFBankGetSizeLow_Aurora_32f(int* pSize);
ZELSR_API ZelStatus zelsMelFBankGetSizeLow_Aurora_16s(int* pSize);
ZELSR_API ZelStatus zelsMelFBankGetSizeHigh_Aurora_32f(int* pSize);
ZELSR_API ZelStatus zelsMelFBankGetSizeHigh_Aurora_16s(int* pSize);
ZELSR_API ZelStatus zelsMelFBankInitLow_Aurora_32f(ZelFBankState_32f* pFBank);
ZELSR_API ZelStatus zelsMelFBankInitLow_Aurora_16s(ZelFBankState_16s* pFBank);
ZELSR_API ZelStatus zelsMelFBankInitHigh_Aurora_32f(ZelFBankState_32f* pFBank);
ZELSR_API ZelStatus zelsMelFBankInitHigh_Aurora_16s(ZelFBankState_16s* pFBank);
ZELSR_API ZelStatus zelsMelFBankInitAllocLow_Aurora_32f(ZelFBankState_32f** ppFBank);
ZELSR_API ZelStatus zelsMelFBankInitAllocLow_Aurora_16s(ZelFBankState_16s** ppFBank);
ZELSR_API ZelStatus zelsMelFBankInitAllocHigh_Aurora_32f(ZelFBankState_32f** ppFBank);
ZELSR_API ZelStatus zelsMelFBankInitAllocHigh_Aurora_16s(ZelFBankState_16s** ppFBank);
/** @} */

/* ======================================================================== */
/* Voice activity detection                                                  */
/* ======================================================================== */
/* A speech / non-speech decision per frame from three measures (the variance
 * of a block of 64 samples, the squared sum of the 25 Mel energies, the mean
 * of Mel energies 1 to 3), each against a noise floor that adapts, with
 * marks of the last seven frames in a ring and two hangover counters.
 * The state is a record of 64 bytes in caller memory aligned for a 32-bit
 * word (GetBufSize writes 64).
 * Call Init once, Decision once per frame, and at the end of the stream Flush
 * until it answers zelVADUndecided (six decisions, then 4). Frames 1 to 10
 * only train the floors and answer zelVADUndecided. A record serves one
 * thread at a time and is not reusable after a flush without a new Init.
 * The outcome is written to *pRes.
 * Statuses: a null pointer (zelStsNullPtrErr); a record that no Init
 * prepared, or a Decision of the other element type than its Init
 * (zelStsContextMatchErr; Flush takes a record of either type). Nothing is
 * written on an error. speechHint of 5 or more marks the frame as speech. */
/** Outcomes of the voice activity decision, written to *pRes. */
enum ZelVADOutcome {
    zelVADSpeech = 1,    /**< The frame is speech. */
    zelVADNonSpeech = 2, /**< The frame is not speech. */
    zelVADUndecided = 4  /**< Training frames, and the end of a flush. */
};

/** @{ */
/** GetBufSize writes the size of the record in bytes (64) to *pSize; Init
 * prepares a record of that size in caller memory, aligned for a 32-bit word,
 * for decisions of its element type. Statuses: a null pointer
 * (zelStsNullPtrErr).
 * Outputs: pSize, pState. */
ZELSR_API ZelStatus zelsVADGetBufSize_Aurora_32f(int* pSize);
ZELSR_API ZelStatus zelsVADGetBufSize_Aurora_16s(int* pSize);
ZELSR_API ZelStatus zelsVADInit_Aurora_32f(ZelVADState_Aurora* pState);
ZELSR_API ZelStatus zelsVADInit_Aurora_16s(ZelVADState_Aurora* pState);
/** @} */
/** @{ */
/** pMel: 25 Mel energies; pFrame: 64 samples. The _16s measures are integer
 * images of the float ones with constants of their own.
 * Outputs: pRes; pState (in place: read and written).
 */
ZELSR_API ZelStatus zelsVADDecision_Aurora_32f(const Zel32f* pMel, const Zel32f* pFrame, int speechHint,
                                              Zel32s* pRes, ZelVADState_Aurora* pState);
ZELSR_API ZelStatus zelsVADDecision_Aurora_16s(const Zel16s* pMel, const Zel16s* pFrame, int speechHint,
                                              Zel32s* pRes, ZelVADState_Aurora* pState);
ZELSR_API ZelStatus zelsVADFlush_Aurora_32f(Zel32s* pRes, ZelVADState_Aurora* pState);
ZELSR_API ZelStatus zelsVADFlush_Aurora_16s(Zel32s* pRes, ZelVADState_Aurora* pState);
/** @} */

/* ======================================================================== */
/* Wave processing and blind equalization                                   */
/* ======================================================================== */
/** @{ */
/** Wave processing of a frame of 200 samples (pSrc) into pDst: the peaks of
 * the smoothed Teager energy, at least 25 samples apart, mark stretches that
 * start 4 samples before each peak and cover 80% of the way to the next one;
 * those are weighted 1.2, the rest 0.8, with a sample of 1.0 at each edge.
 * _16s: Q5 weights 38, 27 and 32 (1.1875, 0.84375, 1.0) and 27/32 for 80%,
 * the product rounded to nearest and saturated. Null: zelStsNullPtrErr.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsWaveProcessing_Aurora_32f(const Zel32f* pSrc, Zel32f* pDst);
ZELSR_API ZelStatus zelsWaveProcessing_Aurora_16s(const Zel16s* pSrc, Zel16s* pDst);
/** @} */

/** @{ */
/** Blind equalization of the cepstral vector pCep (len values, in and out)
 * against the reference pRefCep, with the bias pBias that the caller keeps
 * (in and out; seeded by the caller): y = pCep - pBias becomes pCep, and
 * pBias moves by g (y - pRefCep). _32f: energy is the frame's log energy,
 * g = min(max(energy - 3.296875, 0), 1) * 0.0087890625. _16s: energy has 6
 * fractional bits, g = 9 * clamp(energy - 211, 0, 64) with 16 fractional
 * bits, pCep and pBias saturated to 16 bits.
 * Statuses: a null pointer (zelStsNullPtrErr), then len < 1 (zelStsSizeErr).
 * Outputs: pCep, pBias.
 */
ZELSR_API ZelStatus zelsBlindEqualization_Aurora_32f(const Zel32f* pRefCep, Zel32f* pCep, Zel32f* pBias, int len,
                                                    Zel32f energy);
ZELSR_API ZelStatus zelsBlindEqualization_Aurora_16s(const Zel16s* pRefCep, Zel16s* pCep, Zel16s* pBias, int len,
                                                    int energy);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_AURORA_H */
