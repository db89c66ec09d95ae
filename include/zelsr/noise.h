/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/noise.h
 * Noise tracking: the MCRA estimator and filter updates. Included by zelsr.h. */
#ifndef ZELSR_NOISE_H
#define ZELSR_NOISE_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @{ */
/** MCRA noise estimator: size of a state.
 * Tracks the noise power spectrum of a stream of power spectra by
 * minima-controlled recursive averaging. Each frame's spectrum is smoothed
 * over time (alphaS), its minimum is tracked over a window of windowLen
 * frames (about one second), a bin counts as carrying speech while its
 * smoothed power is more than 5 times that minimum (smoothed by alphaP into a
 * presence probability p), and the noise estimate of a bin moves toward the
 * input with weight 1 - a, a = alphaD + (1 - alphaD) p: quickly in noise,
 * hardly at all in speech. A level that rises by more than the factor 5 is
 * followed once a whole window has begun after the rise, within one to two
 * windows.
 * The state lies in one caller-supplied block of the size reported here (the
 * same for both element types), aligned at least for a pointer. It holds
 * pointers into itself, so it must not be moved or copied once built; there
 * is nothing to free. An update writes the state: one thread at a time per
 * state.
 * Size in bytes: 16 * (fftLen / 2) + 84 with 4-byte pointers; 104 in place
 * of 84 with 8-byte pointers.
 * Checks: pSize null (zelStsNullPtrErr); fftLen outside 8..8192
 * (zelStsSizeErr).
 * Outputs: pSize.
 */
ZELSR_API ZelStatus zelsGetSizeMCRA_32f(int fftLen, int* pSize);
ZELSR_API ZelStatus zelsGetSizeMCRA_32s(int fftLen, int* pSize);
/** @} */
/** @{ */
/** MCRA noise estimator: builders.
 * Build a state in pState for spectra of fftLen / 2 + 1 bins at sampFreq Hz.
 * The smoothing constants are those of an 8 ms frame shift, rescaled to the
 * frame shift: alphaD = 0.7^e, alphaS = 0.8^e, alphaP = 0.2^e with
 * e = 125 hop / sampFreq. The 32s state keeps them in Q31 (by a third-order
 * series of the exponential), its probabilities in Q31 and its spectra as
 * 32-bit integers in the caller's scale. fftLen needn't be a power of two.
 * zelsInitMCRA_* shifts frames by hop = fftLen / 2 and takes a window of
 * trunc(sampFreq * 0.008 / 2^(bits - 1) * 125) frames, bits being the number
 * of significant bits of fftLen / 2, so for an fftLen that is not a power of
 * two the window doesn't follow the hop. zelsAltInitMCRA_* takes the hop
 * given and a window of trunc(sampFreq * 0.008 / hop * 125) frames.
 * Checks: pState null (zelStsNullPtrErr); sampFreq outside 8000..48000, or
 * (AltInit) hop outside 1..fftLen / 2 (zelStsRangeErr, before a bad fftLen);
 * fftLen outside 8..8192 (zelStsSizeErr). On error the block is not written.
 * Outputs: pState.
 */
ZELSR_API ZelStatus zelsInitMCRA_32f(int sampFreq, int fftLen, ZelMCRAState* pState);
ZELSR_API ZelStatus zelsInitMCRA_32s(int sampFreq, int fftLen, ZelMCRAState* pState);
ZELSR_API ZelStatus zelsAltInitMCRA_32f(int sampFreq, int fftLen, int hop, ZelMCRAState* pState);
ZELSR_API ZelStatus zelsAltInitMCRA_32s(int sampFreq, int fftLen, int hop, ZelMCRAState* pState);
/** @} */
/** @{ */
/** MCRA noise estimator: one frame.
 * pSrc is the frame's power spectrum, fftLen / 2 + 1 bins; pNoise (in and
 * out) the noise estimate of as many bins, updated in place. The first frame
 * after a builder seeds the state and copies pSrc to pNoise. The 32s form
 * keeps the noise rounded to nearest. Checks: pSrc, pState or pNoise null
 * (zelStsNullPtrErr); a state not built by the builder of the same element
 * type, or moved since (zelStsContextMatchErr). Nothing is written on error.
 * Outputs: pState, pNoise (in place: read and written).
 */
ZELSR_API ZelStatus zelsUpdateNoisePSDMCRA_32f_I(const Zel32f* pSrc, ZelMCRAState* pState, Zel32f* pNoise);
ZELSR_API ZelStatus zelsUpdateNoisePSDMCRA_32s_I(const Zel32s* pSrc, ZelMCRAState* pState, Zel32s* pNoise);
/** @} */
/** @{ */
/** Filter updates: Wiener gain.
 * pDst[i] = x / (1 + x) of the a priori signal-to-noise ratio x = pSrc[i]
 * (a power ratio, linear). A negative ratio counts as 0 (gain 0) and the
 * call returns zelStsBadArgErr, with every gain written.
 * The 32s form works by table: pSrc in Q15, pDst in Q31. The ratio is cut
 * down to a grid of 1/16 below 4, steps of 4 below 64 and of 64 below 512,
 * the gain truncated toward zero; 512/513 from 512 to 1024, 2147483647 above.
 * Checks: a null pointer (zelStsNullPtrErr); len under 1 or above 65535
 * (zelStsLengthRangeErr). pDst may be pSrc.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsFilterUpdateWiener_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsFilterUpdateWiener_32s(const Zel32s* pSrc, Zel32s* pDst, int len);
/** @} */
/** @{ */
/** Filter updates: Ephraim-Malah gain.
 * pDst[i] = w * f(g * w), w = pWiener[i] (a Wiener gain, 0..1), g = pRatio[i]
 * (the a posteriori ratio, linear, clamped to 3.1e-05..100; NaN counts as
 * 100). f(v) = sqrt(pi) / 2 / sqrt(v) * exp(-v/2) ((1 + v) I0(v/2)
 * + v I1(v/2)), tabulated to within 0.6%: about 0.5 * sqrt(pi / v) for small
 * v, falling to about 1 for large v, and 2147483647 where v is under 2^-22.
 * The 32s form takes pWiener in Q31 and pRatio in Q15 (clamped to
 * 1..3276800) and gives pDst in Q31, saturated to 2147483647.
 * Checks: a null pointer (zelStsNullPtrErr); len under 1 or above 65535
 * (zelStsLengthRangeErr); an element of pWiener under 0 (32f: also over 1,
 * or NaN) (zelStsRangeErr), before anything is written. pDst may be a source.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsFilterUpdateEMNS_32f(const Zel32f* pWiener, const Zel32f* pRatio, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsFilterUpdateEMNS_32s(const Zel32s* pWiener, const Zel32s* pRatio, Zel32s* pDst, int len);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_NOISE_H */
