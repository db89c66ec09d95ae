/* SPDX-License-Identifier: Apache-2.0 */
/** @file features.h
 * The streaming feature extractor: audio in, frames of log mel energies or
 * cepstra out, with optional deltas and mean and variance normalisation, in
 * one state built from one configuration record. It is assembled from the
 * filter bank, DCT lifter and dynamic-feature functions of zelsr/frontend.h
 * and gives the same frames whatever the block sizes the audio arrives in.
 */
#ifndef ZELSR_FEATURES_H
#define ZELSR_FEATURES_H

#include "zelsr/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Window shapes of the extractor (field `window`). */
enum {
    zelFeatureWindowHamming = 0, /**< 0.54 - 0.46 cos(2 pi n / (N - 1)). */
    zelFeatureWindowHann = 1,    /**< 0.5 - 0.5 cos(2 pi n / (N - 1)). */
    zelFeatureWindowPovey = 2    /**< The Hann window raised to the power 0.85. */
};

/** What a frame of the extractor holds before deltas (field `output`). */
enum {
    zelFeatureMfcc = 0, /**< numCeps cepstra c1..cN, then c0 or log energy if asked. */
    zelFeatureFbank = 1 /**< numFilters log mel energies, then log energy if asked. */
};

/** The extra energy term (field `energy`). */
enum {
    zelFeatureEnergyNone = 0, /**< No energy term. */
    zelFeatureEnergyC0 = 1,   /**< Cepstrum c0, the plain sum of the log mel energies (MFCC only). */
    zelFeatureEnergyLog = 2   /**< ln of the frame's sum of squares, before pre-emphasis and window. */
};

/** Mean and variance normalisation (field `cmvn`). */
enum {
    zelFeatureCmvnNone = 0,     /**< No normalisation. */
    zelFeatureCmvnSliding = 1,  /**< Over the last cmvnWindow frames up to and including the current one. */
    zelFeatureCmvnUtterance = 2 /**< Over the whole utterance; frames are released only by the flush. */
};

/** Configuration of a feature extractor. Fill it with
 * zelsrFeatureDefaultConfig, change what differs, then build the state.
 * Fields are numbered 0 to 18 in the order they appear here; that number
 * is what zelsrFeatureCheckConfig reports for the first field it refuses.
 */
typedef struct ZelFeatureConfig {
    Zel32f sampleRate;    /**< 0: samples per second, above 0. */
    Zel32f frameLengthMs; /**< 1: frame length in milliseconds; rounded to whole samples. */
    Zel32f frameShiftMs;  /**< 2: frame shift in milliseconds; rounded to whole samples. */
    Zel32f preemphasis;   /**< 3: y[n] = x[n] - a x[n-1] within a frame, x[-1] taken as x[0]; 0 to 1. */
    int window;           /**< 4: zelFeatureWindowHamming, Hann or Povey. */
    int fftSize;          /**< 5: 0 for the smallest power of two at or above the frame, else such a power. */
    int powerSpectrum;    /**< 6: 1 for the power spectrum, 0 for the magnitude spectrum. */
    int numFilters;       /**< 7: number of mel filters, 1 to fftSize / 2. */
    Zel32f lowFreq;       /**< 8: lower edge of the mel bank in Hz, above 0. */
    Zel32f highFreq;      /**< 9: upper edge in Hz; 0 or less counts down from the Nyquist frequency. */
    Zel32f logFloor;      /**< 10: energies below it are raised to it before the logarithm; above 0. */
    int output;           /**< 11: zelFeatureMfcc or zelFeatureFbank. */
    int numCeps;          /**< 12: cepstra besides c0, 1 to numFilters - 1 (MFCC only). */
    int lifter;           /**< 13: sinusoidal lifter length; 0 for none (MFCC only). */
    int energy;           /**< 14: zelFeatureEnergyNone, C0 or Log. */
    int deltaOrder;       /**< 15: 0, 1 for deltas, 2 for deltas and delta-deltas (radius two). */
    int cmvn;             /**< 16: zelFeatureCmvnNone, Sliding or Utterance. */
    int normVariance;     /**< 17: 1 to divide by the standard deviation as well, 0 for the mean only. */
    int cmvnWindow;       /**< 18: frames of the sliding window, 1 to 1048576. */
} ZelFeatureConfig;

/** Streaming feature extractor; built by zelsrFeatureInitAlloc. */
typedef struct ZelFeatureState ZelFeatureState;

/** Fills a configuration with the defaults: 16 kHz, 25 ms frames every
 * 10 ms, pre-emphasis 0.97, Hamming window, power spectrum, 23 filters from
 * 20 Hz to the Nyquist frequency, log floor 1.1920929e-7, 12 cepstra with a
 * lifter of 22 and c0, deltas and delta-deltas, no normalisation (window 300).
 * Checks: pConfig null (zelStsNullPtrErr).
 * Outputs: pConfig.
 */
ZELSR_API ZelStatus zelsrFeatureDefaultConfig(ZelFeatureConfig* pConfig);

/** Tests a configuration as zelsrFeatureInitAlloc does, as a query: *pField
 * receives the number of the first field that the builder would refuse (see
 * ZelFeatureConfig), or -1 when it would accept them all. Checks: a null
 * pointer (zelStsNullPtrErr).
 * Outputs: pField.
 */
ZELSR_API ZelStatus zelsrFeatureCheckConfig(const ZelFeatureConfig* pConfig, int* pField);

/** Builds an extractor from a configuration. Frames are cut every shift
 * samples while a whole frame is present (no partial frame at the end);
 * the spectrum of each goes through a mel bank with mel weights
 * (1127 ln(1 + f / 700)), its energies are floored and logged, and with
 * MFCC output turned into cepstra by the unnormalised DCT-II and lifter.
 * Deltas use the radius-two regression divided by 10, applied twice for
 * delta-deltas, with frames past either end replicated; an utterance of
 * fewer than six frames (four for deltas alone) has its last frame repeated
 * up to that count before its deltas are formed. Normalisation comes before
 * the deltas. Checks: a null pointer (zelStsNullPtrErr); a refused field as
 * zelsrFeatureCheckConfig (zelStsBadArgErr); memory (zelStsMemAllocErr).
 * Outputs: ppState.
 */
ZELSR_API ZelStatus zelsrFeatureInitAlloc(ZelFeatureState** ppState, const ZelFeatureConfig* pConfig);

/** Releases an extractor. Checks: null (zelStsNullPtrErr); memory that
 * holds no extractor (zelStsContextMatchErr). */
ZELSR_API ZelStatus zelsrFeatureFree(ZelFeatureState* pState);

/** @{ */
/** Values per frame (with deltas), and frames ready to be read.
 * Checks: null pointers (zelStsNullPtrErr); memory that holds no extractor
 * (zelStsContextMatchErr).
 * Outputs: pDim, pNumFrames.
 */
ZELSR_API ZelStatus zelsrFeatureGetDim(const ZelFeatureState* pState, int* pDim);
ZELSR_API ZelStatus zelsrFeatureGetReady(const ZelFeatureState* pState, int* pNumFrames);
/** @} */

/** @{ */
/** Accepts len samples, 16-bit or float, at the configured rate. The
 * samples keep their scale (16-bit values are not divided by 32768). Frames
 * whose context is complete become ready to read. Checks: null pointers
 * (zelStsNullPtrErr); memory that holds no extractor, or one flushed and
 * not reset (zelStsContextMatchErr); len below 1 (zelStsSizeErr); memory
 * (zelStsMemAllocErr, nothing accepted).
 * Outputs: pState (in place: read and written).
 */
ZELSR_API ZelStatus zelsrFeatureAccept_16s(ZelFeatureState* pState, const Zel16s* pSrc, int len);
ZELSR_API ZelStatus zelsrFeatureAccept_32f(ZelFeatureState* pState, const Zel32f* pSrc, int len);
/** @} */

/** Moves up to maxFrames ready frames into rows of pDst, dstStep elements
 * apart, oldest first; *pNumRead receives their number. Checks: null
 * pointers (zelStsNullPtrErr); memory that holds no extractor
 * (zelStsContextMatchErr); maxFrames below 1 (zelStsSizeErr); dstStep below
 * the dimension (zelStsStrideErr).
 * Outputs: pDst, pNumRead; pState (in place: read and written).
 */
ZELSR_API ZelStatus zelsrFeatureRead(ZelFeatureState* pState, Zel32f* pDst, int dstStep, int maxFrames,
                                     int* pNumRead);

/** @{ */
/** Flush ends the utterance: the frames still waiting for later context
 * (and, with utterance normalisation, all frames) become ready; the samples
 * short of a frame are dropped. Further samples are refused until Reset,
 * which discards everything and starts a new utterance with the same
 * configuration. Checks: null (zelStsNullPtrErr); memory that holds no
 * extractor (zelStsContextMatchErr); memory (zelStsMemAllocErr).
 * Outputs: pState (in place: read and written).
 */
ZELSR_API ZelStatus zelsrFeatureFlush(ZelFeatureState* pState);
ZELSR_API ZelStatus zelsrFeatureReset(ZelFeatureState* pState);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_FEATURES_H */
