/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/resample.h
 * Resampling: the polyphase resampler. Included by zelsr.h. */
#ifndef ZELSR_RESAMPLE_H
#define ZELSR_RESAMPLE_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Polyphase resampler ------------------------------------------------------
 * Sample-rate conversion with a Kaiser-windowed sinc filter (roll-off `rollf`
 * in (0, 1] of the lower Nyquist frequency, window parameter `alpha` >= 1).
 *
 * Time. The caller owns the samples and the position in them: *pTime is a
 * real position in input samples relative to pSrc (sample k at time k). A run
 * produces outputs at *pTime, then at steps of 1/factor (general kind) or
 * inRate/outRate (fixed kind), while the position lies under trunc(*pTime) +
 * len, and leaves *pTime at the next output's position; *pOutLen receives the
 * count of outputs written to pDst. So a call consumes len samples from
 * trunc(*pTime) on. To stream, pass len = (samples available, less the
 * lookahead the filter needs) - trunc(*pTime), and when the buffer moves on
 * by k samples, subtract k from *pTime. The fixed kind takes the fraction
 * of *pTime to the nearest multiple of 1/outRate and carries it unchanged,
 * so its streamed outputs equal those of one call bit for bit.
 * History: the fixed kind reads halfLen = ((len of the filter) + 3) / 4 * 2
 * samples before each output position and as many after it; the general kind
 * window/2 samples on both sides (window/(2 factor) when factor < 1). These
 * samples are not tested. pDst needs room for len * outRate / inRate + 1 (fixed)
 * or len * factor + 1 (general) outputs. A state is read-only during a run, so
 * a run never changes it. `norm` scales every output (1 for unity gain).
 *
 * 16-bit outputs are saturated to -32768..32767 and rounded halves away from
 * zero. A state of another kind or element form, or a released one, gives
 * zelStsContextMatchErr. Nothing is written on error.
 */

/** @{ */
/** Fixed ratio inRate -> outRate (reduced to lowest terms), one row of taps per
 * output phase. Size query: *pSize bytes for Init, *pLen the taps stored per
 * row (the `step` of the filter functions) and *pHeight the reduced outRate
 * (their `height`). Checks: pSize, pLen or pHeight null, zelStsNullPtrErr;
 * inRate, outRate or len under 1, zelStsSizeErr; (16s) hint other than
 * zelAlgHintFast, zelStsBadArgErr; a state of 0x7ffffffe bytes or more (16s:
 * more), zelStsSizeErr.
 * Outputs: pSize, pLen, pHeight.
 */
ZELSR_API ZelStatus zelsResamplePolyphaseFixedGetSize_32f(int inRate, int outRate, int len, int* pSize, int* pLen,
                                                          int* pHeight, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsResamplePolyphaseFixedGetSize_16s(int inRate, int outRate, int len, int* pSize, int* pLen,
                                                          int* pHeight, ZelHintAlgorithm hint);
/** @} */

/** @{ */
/** Lays a fixed state out in the caller's block of the queried size, with all
 * taps zero: load a filter with zelsResamplePolyphaseSetFixedFilter_* before
 * the first run. The 16-bit form holds 16-bit taps in Q14 (outputs scaled by
 * 2^-14); the float form runs in double precision with zelAlgHintAccurate.
 * Checks: pSpec null, zelStsNullPtrErr; then those of the size query. The
 * caller releases the block; the Free functions refuse it.
 * Outputs: pSpec.
 */
ZELSR_API ZelStatus zelsResamplePolyphaseFixedInit_32f(ZelResamplingPolyphaseFixed* pSpec, int inRate,
                                                       int outRate, int len, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsResamplePolyphaseFixedInit_16s(ZelResamplingPolyphaseFixed* pSpec, int inRate,
                                                       int outRate, int len, ZelHintAlgorithm hint);
/** @} */

/** @{ */
/** Allocates a fixed state and designs its filter: `len` taps (rounded up to
 * a multiple of 4), cutoff rollf times the Nyquist frequency of the lower
 * rate, unity gain in the passband. The 16-bit form keeps float taps with
 * zelAlgHintAccurate and Q14 taps otherwise. Output: *ppSpec. Checks: ppSpec
 * null, zelStsNullPtrErr; inRate, outRate or len under 1, zelStsSizeErr;
 * rollf outside (0, 1] or alpha under 1 (or not finite), zelStsBadArgErr; a
 * state of 0x7ffffffe bytes or more, zelStsBadArgErr; no memory,
 * zelStsMemAllocErr.
 * Outputs: ppSpec.
 */
ZELSR_API ZelStatus zelsResamplePolyphaseFixedInitAlloc_32f(ZelResamplingPolyphaseFixed** ppSpec, int inRate,
                                                            int outRate, int len, Zel32f rollf, Zel32f alpha,
                                                            ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsResamplePolyphaseFixedInitAlloc_16s(ZelResamplingPolyphaseFixed** ppSpec, int inRate,
                                                            int outRate, int len, Zel32f rollf, Zel32f alpha,
                                                            ZelHintAlgorithm hint);
/** @} */

/** @{ */
/** Releases a state from an InitAlloc function; every Free function accepts
 * any resampler state that the library allocated. Checks: pSpec null,
 * zelStsNullPtrErr; a state laid out by Init, released, or not a resampler
 * state, zelStsContextMatchErr. */
ZELSR_API ZelStatus zelsResamplePolyphaseFixedFree_32f(ZelResamplingPolyphaseFixed* pSpec);
ZELSR_API ZelStatus zelsResamplePolyphaseFixedFree_16s(ZelResamplingPolyphaseFixed* pSpec);
/** @} */

/** @{ */
/** Copies the taps out of (Get, output pDst) or into (Set) a fixed state:
 * row k (phase k, k under `height` and under the state's row count) stands at
 * element step * k of the caller's array, with min(step, taps per row)
 * elements. Row 0 is centred on tap halfLen and has one tap more than the
 * others, at index 2 halfLen: when the rows hold no room for it (a filter
 * length that is not a multiple of 4) it is taken equal to tap 0. The 16-bit
 * functions read and write Q14 taps. Checks: pSpec or the filter pointer
 * null, zelStsNullPtrErr; step or height under 1, zelStsSizeErr; a state of
 * another kind, zelStsContextMatchErr; a 16-bit state with float taps,
 * zelStsBadArgErr.
 * Outputs: pDst; pSpec (in place: read and written).
 */
ZELSR_API ZelStatus zelsResamplePolyphaseGetFixedFilter_32f(const ZelResamplingPolyphaseFixed* pSpec, Zel32f* pDst,
                                                            int step, int height);
ZELSR_API ZelStatus zelsResamplePolyphaseGetFixedFilter_16s(const ZelResamplingPolyphaseFixed* pSpec, Zel16s* pDst,
                                                            int step, int height);
ZELSR_API ZelStatus zelsResamplePolyphaseSetFixedFilter_32f(ZelResamplingPolyphaseFixed* pSpec, const Zel32f* pSrc,
                                                            int step, int height);
ZELSR_API ZelStatus zelsResamplePolyphaseSetFixedFilter_16s(ZelResamplingPolyphaseFixed* pSpec, const Zel16s* pSrc,
                                                            int step, int height);
/** @} */

/** @{ */
/** Runs a fixed state over len input samples (see Time above). Each output is
 * min(outRate/inRate, 1) * norm times the dot product of its phase's row with
 * the samples around it; float taps sum in single precision (double with
 * zelAlgHintAccurate in the float form), Q14 taps in an exact 64-bit sum.
 * Outputs: pDst, *pOutLen, *pTime. Checks: pSpec, pSrc, pDst, pOutLen or
 * pTime null, zelStsNullPtrErr; len under 1, zelStsSizeErr; a state of
 * another kind, zelStsContextMatchErr. A non-finite *pTime, or one beyond the
 * int range, produces no output. */
ZELSR_API ZelStatus zelsResamplePolyphaseFixed_32f(const ZelResamplingPolyphaseFixed* pSpec, const Zel32f* pSrc,
                                                   int len, Zel32f* pDst, Zel32f norm, Zel64f* pTime,
                                                   int* pOutLen);
ZELSR_API ZelStatus zelsResamplePolyphaseFixed_16s(const ZelResamplingPolyphaseFixed* pSpec, const Zel16s* pSrc,
                                                   int len, Zel16s* pDst, Zel32f norm, Zel64f* pTime,
                                                   int* pOutLen);
/** @} */

/** @{ */
/** General ratio: allocates a half filter sampled at nStep points per input
 * sample over window/2 samples (the 16-bit form first cuts window/2 to a
 * whole number), interpolated linearly at each output, for any factor given
 * at each run. Output: *ppSpec. Checks: ppSpec null, zelStsNullPtrErr; nStep
 * under 1, zelStsSizeErr; window under 2/nStep, rollf outside (0, 1], alpha
 * under 1 (or not finite), or nStep * window / 2 at or above 268435453,
 * zelStsBadArgErr; no memory, zelStsMemAllocErr (16s: zelStsNullPtrErr when
 * the design's scratch cannot be allocated).
 * Outputs: ppSpec.
 */
ZELSR_API ZelStatus zelsResamplePolyphaseInitAlloc_32f(ZelResamplingPolyphase** ppSpec, Zel32f window, int nStep,
                                                       Zel32f rollf, Zel32f alpha, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsResamplePolyphaseInitAlloc_16s(ZelResamplingPolyphase** ppSpec, Zel32f window, int nStep,
                                                       Zel32f rollf, Zel32f alpha, ZelHintAlgorithm hint);
/** @} */

/** @{ */
/** Releases a general state; as the fixed Free functions. */
ZELSR_API ZelStatus zelsResamplePolyphaseFree_32f(ZelResamplingPolyphase* pSpec);
ZELSR_API ZelStatus zelsResamplePolyphaseFree_16s(ZelResamplingPolyphase* pSpec);
/** @} */

/** @{ */
/** Runs a general state over len input samples at `factor` = output rate /
 * input rate (see Time above). Below 1 the filter is stretched by `factor`, so
 * its cutoff follows the output rate. Outputs: pDst, *pOutLen, *pTime.
 * Checks: pSpec, pTime, pSrc, pDst or pOutLen null, zelStsNullPtrErr; factor
 * not above 0 (or not a number), zelStsSizeErr; len under 1, zelStsSizeErr;
 * a state of another kind, zelStsContextMatchErr. */
ZELSR_API ZelStatus zelsResamplePolyphase_32f(const ZelResamplingPolyphase* pSpec, const Zel32f* pSrc, int len,
                                              Zel32f* pDst, Zel64f factor, Zel32f norm, Zel64f* pTime,
                                              int* pOutLen);
ZELSR_API ZelStatus zelsResamplePolyphase_16s(const ZelResamplingPolyphase* pSpec, const Zel16s* pSrc, int len,
                                              Zel16s* pDst, Zel64f factor, Zel32f norm, Zel64f* pTime,
                                              int* pOutLen);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_RESAMPLE_H */
