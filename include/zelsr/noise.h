/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/noise.h
 * Noise tracking: the MCRA estimator and filter updates. Included by zelsr.h. */
#ifndef ZELSR_NOISE_H
#define ZELSR_NOISE_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- MCRA noise estimator ------------------------------------------------
 * Tracks the noise power spectrum of a stream of power spectra by
 * minima-controlled recursive averaging. Each frame's spectrum is smoothed
 * over time (alphaS), its minimum is tracked over a window of windowLen
 * frames (about one second), a bin counts as carrying speech while its
 * smoothed power is more than 5 times that minimum (smoothed by alphaP into a
 * presence probability p), and the noise estimate of a bin moves toward the
 * input with weight 1 - a, a = alphaD + (1 - alphaD) p: quickly in noise,
 * hardly at all in speech.
 * The state lies in one caller-supplied block of the size that
 * zelsGetSizeMCRA_* reports (the same for both element types), aligned at
 * least for a pointer. It holds pointers into itself, so it must not be moved
 * or copied once built; there is nothing to free. An update writes the state:
 * one thread at a time per state.
 * Smoothing constants are those of an 8 ms frame shift, rescaled to
 * hop / sampFreq: alphaD = 0.7^e, alphaS = 0.8^e, alphaP = 0.2^e with
 * e = 125 hop / sampFreq. The 32s state keeps them in Q31 (by a third-order
 * series of the exponential) and its probabilities in Q31; its spectra are
 * 32-bit integers in the caller's scale. */

/* Bytes of an MCRA state for fftLen: 16 * (fftLen / 2) + 84, plus
   4 * (pointer width - 4). pSize (output). Checks: pSize null
   (zelStsNullPtrErr); fftLen outside 8..8192 (zelStsSizeErr). */
ZELSR_API ZelStatus zelsGetSizeMCRA_32f(int fftLen, int* pSize);
ZELSR_API ZelStatus zelsGetSizeMCRA_32s(int fftLen, int* pSize);

/* Builds a state in pState for spectra of fftLen / 2 + 1 bins, sampFreq in
   Hz, frames shifted by fftLen / 2 samples. The window is
   trunc(sampFreq * 0.008 / 2^(bits - 1) * 125) frames, bits being the number
   of significant bits of fftLen / 2, so for an fftLen that is not a power of
   two it doesn't follow the hop. fftLen needn't be a power of two.
   Checks: pState null (zelStsNullPtrErr); sampFreq outside 8000..48000
   (zelStsRangeErr); fftLen outside 8..8192 (zelStsSizeErr). On error the
   block is not written. */
ZELSR_API ZelStatus zelsInitMCRA_32f(int sampFreq, int fftLen, ZelMCRAState* pState);
ZELSR_API ZelStatus zelsInitMCRA_32s(int sampFreq, int fftLen, ZelMCRAState* pState);

/* As zelsInitMCRA_*, with a frame shift of hop samples; the window is
   trunc(sampFreq * 0.008 / hop * 125) frames. Checks: pState null
   (zelStsNullPtrErr); sampFreq outside 8000..48000 or hop outside
   1..fftLen / 2 (zelStsRangeErr, before a bad fftLen); fftLen outside
   8..8192 (zelStsSizeErr). */
ZELSR_API ZelStatus zelsAltInitMCRA_32f(int sampFreq, int fftLen, int hop, ZelMCRAState* pState);
ZELSR_API ZelStatus zelsAltInitMCRA_32s(int sampFreq, int fftLen, int hop, ZelMCRAState* pState);

/* One frame: pSrc is its power spectrum, fftLen / 2 + 1 bins; pNoise (in and
   out) the noise estimate, updated in place. The first frame after a builder
   seeds the state and copies pSrc to pNoise. The 32s form keeps the noise
   rounded to nearest. Checks: pSrc, pState or pNoise null
   (zelStsNullPtrErr); a state not built by the builder of the same element
   type, or moved since (zelStsContextMatchErr). Nothing is written on error. */
ZELSR_API ZelStatus zelsUpdateNoisePSDMCRA_32f_I(const Zel32f* pSrc, ZelMCRAState* pState, Zel32f* pNoise);
ZELSR_API ZelStatus zelsUpdateNoisePSDMCRA_32s_I(const Zel32s* pSrc, ZelMCRAState* pState, Zel32s* pNoise);

/* ---- Filter updates ----------------------------------------------------
 * Suppression gains per bin from signal-to-noise ratios. All four check:
 * a null pointer (zelStsNullPtrErr), then len under 1 or above 65535
 * (zelStsLengthRangeErr). pDst may be one of the sources. */

/* Wiener gain pDst[i] = x / (1 + x) of the a priori ratio x = pSrc[i]
   (power ratio, linear). A negative ratio counts as 0 (gain 0) and the call
   returns zelStsBadArgErr, with every gain written. */
ZELSR_API ZelStatus zelsFilterUpdateWiener_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
/* The same by table: pSrc in Q15, pDst in Q31. The ratio is cut down to a
   grid of 1/16 below 4, steps of 4 below 64 and of 64 below 512, the gain
   truncated toward zero; 512/513 from 512 to 1024, 2147483647 above.
   A negative ratio gives 0 and zelStsBadArgErr after all elements. */
ZELSR_API ZelStatus zelsFilterUpdateWiener_32s(const Zel32s* pSrc, Zel32s* pDst, int len);

/* Ephraim-Malah gain: pDst[i] = w * f(g * w), w = pWiener[i] (a Wiener gain,
   0..1), g = pRatio[i] (a ratio, linear, clamped to 3.1e-05..100; NaN counts
   as 100). f is tabulated, about 0.5 * sqrt(pi / v) for small v, and falls to
   about 1 for large v; at v = 0 it is 2147483647. After the length check an
   element of pWiener under 0 or over 1, or NaN, gives zelStsRangeErr before
   anything is written. */
ZELSR_API ZelStatus zelsFilterUpdateEMNS_32f(const Zel32f* pWiener, const Zel32f* pRatio, Zel32f* pDst, int len);
/* The same in fixed point: pWiener in Q31, pRatio in Q15 (clamped to
   1..3276800), pDst in Q31, saturated to 2147483647. After the length check a negative element of
   pWiener gives zelStsRangeErr before anything is written. */
ZELSR_API ZelStatus zelsFilterUpdateEMNS_32s(const Zel32s* pWiener, const Zel32s* pRatio, Zel32s* pDst, int len);

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_NOISE_H */
