/* SPDX-License-Identifier: Apache-2.0 */
/* zelsr: element types, status codes, flags, the version record and opaque states. Included by zelsr.h. */
#ifndef ZELSR_TYPES_H
#define ZELSR_TYPES_H

#include <stdint.h>

/** Marks an exported function of the shared library. */
#if defined(_WIN32)
#  define ZELSR_API __declspec(dllexport)
#else
#  define ZELSR_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** @file zelsr/types.h
 * Element types, status codes, flags, the version record and the opaque
 * states of zelsr. Included by zelsr.h. */

/** @name Element types
 * The suffix of a function names the types it reads and writes, source first:
 * `_16s32f` reads Zel16s and writes Zel32f. `1u` data are bits packed most
 * significant bit first, with steps counted in bytes.
 * @{ */
typedef uint8_t  Zel8u;  /**< Unsigned 8-bit integer (`8u`; also the byte of `1u` bit vectors). */
typedef int16_t  Zel16s; /**< Signed 16-bit integer (`16s`). */
typedef uint16_t Zel16u; /**< Unsigned 16-bit integer (`16u`). */
typedef int32_t  Zel32s; /**< Signed 32-bit integer (`32s`). */
typedef uint32_t Zel32u; /**< Unsigned 32-bit integer (`32u`). */
typedef float    Zel32f; /**< IEEE single precision (`32f`). */
typedef int64_t  Zel64s; /**< Signed 64-bit integer (`64s`). */
typedef double   Zel64f; /**< IEEE double precision (`64f`). */
/** @} */

/** The result of every function but zelsrGetLibVersion: zelStsNoErr (0), a
 * negative error with the outputs left untouched, or a positive warning with a
 * defined result written. */
typedef int32_t  ZelStatus;

/** Status codes: 0 is success, negative codes are errors (nothing written), positive codes warnings (result written). */
enum ZelStatusCode {
    zelStsNoErr           = 0, /**< Success. */
    zelStsErr             = -2, /**< Unspecified failure: a vector-quantization search stopped because a nested scoring call reported any error. */
    zelStsBadArgErr       = -5, /**< An argument has a value that the function does not accept: a rank outside 0 to len - 1, a non-positive constant, a range with low above high, an index outside its table, a factor other than the one supported. */
    zelStsSizeErr         = -6, /**< A length, width, height, order or count is below 1 or above the function's limit. */
    zelStsRangeErr        = -7, /**< A value lies outside its permitted range, or two operands stand in the wrong order: a log-subtraction whose subtrahend is not below its minuend, a reflection bound outside the open interval 0 to 1, a zero energy, smoothing constants outside their intervals. */
    zelStsNullPtrErr      = -8, /**< A required pointer is null. */
    zelStsMemAllocErr     = -9, /**< Scratch or state could not be allocated. */
    zelStsDivByZeroErr    = -10, /**< An operation was asked to divide by a zero constant. */
    zelStsFftOrderErr     = -15, /**< A transform order lies outside 0 to 30. */
    zelStsFftFlagErr      = -16, /**< A transform normalisation flag is not 1, 2, 4 or 8. */
    zelStsContextMatchErr = -17, /**< A state of the wrong kind, or one that was cleared or released, was handed to the function. */
    zelStsStrideErr       = -37, /**< The step of a matrix is smaller than the width that the call reads in it. */
    zelStsSvdCnvgErr      = -65, /**< The singular value iteration reached its iteration limit without converging. */
    zelStsCdbkFlagErr     = -66, /**< A codebook kind that this function does not accept. */
    zelStsNegOccErr       = -67, /**< An occupation count (a sum of posterior weights) is negative. */
    zelStsFBankFlagErr    = -69, /**< A filter bank state does not hold what the call needs: its coefficients or centres were never set. */
    zelStsMelFlagErr      = -70, /**< The Mel scale and normalisation flags of a filter bank are not an accepted combination. */
    zelStsMelFreqErr      = -71, /**< The frequency range of a filter bank is empty or beyond the limit. */
    zelStsLspRootErr      = -114, /**< The search for line spectral pairs found fewer roots than the order. */
    zelStsLspOrderErr     = -115, /**< A line spectral vector is out of range or has a later value above its predecessor: the values descend, and equal neighbours pass. */
    zelStsUnstableLpErr   = -116, /**< A reflection coefficient of magnitude 1 was met while stepping down a predictor. */
    zelStsLpcCalcErr      = -117, /**< The prediction error energy of the Durbin recursion is not positive. */
    zelStsLengthRangeErr  = -119, /**< A length lies outside the range that the function supports (a buffer limit such as 1024, 4096 or 65535). */
    zelStsCdbkKindErr     = -9999, /**< A codebook of unknown kind was handed to its release function. */
    /* Warnings: the result is written. */
    zelStsSqrtNegArg      = 3, /**< A square root met a negative value. */
    zelStsSingularity     = 4, /**< Degenerate input, defined output written: a range of zero width normalised, a value at a pole. */
    zelStsDivByZero       = 6, /**< A sum of weights is zero; the output holds a not-a-number for 0 / 0 and plus or minus infinity otherwise. */
    zelStsLnZeroArg       = 7, /**< A logarithm of zero was met; the result is set to plus infinity. */
    zelStsLnNegArg        = 8, /**< A logarithm of a negative value was met; the result is set to the quiet not-a-number with the bit pattern 0xffc00000. */
    zelStsResFloor        = 11, /**< Results fell below the caller's floor and were replaced by it; `zelsUpdateVar_*` and `zelsUpdateWeight_*` report it only when every element was floored, and partial flooring is silent. */
    zelStsZeroOcc         = 16, /**< An occupation count is so small that it counts as zero (its magnitude is at or below the smallest normal number of its type); the update was skipped. */
    zelStsCdbkSizeWarn    = 31 /**< The codebook holds another number of entries than was asked for. */
};

/** Accuracy hint, read by the log-domain families only; a value outside 0..2 is no error. */
typedef int ZelHintAlgorithm;
/** Values of ZelHintAlgorithm. */
enum ZelHintAlgorithmValue {
    zelAlgHintNone     = 0, /**< No preference: the accurate path. */
    zelAlgHintFast     = 1, /**< Faster, single-precision correction where a family offers one. */
    zelAlgHintAccurate = 2  /**< Double-precision correction. */
};

/** Filter-bank mode bits, combined with | in the builders' `mode`. */
enum ZelFBankMode {
    zelFBankMelWeights     = 1, /**< Weights follow the mel scale between centres; centre bins are truncated. */
    zelFBankBinWeights     = 2, /**< Weights are straight lines in bin number; centre bins are rounded to nearest. */
    zelFBankMagnitudeInput = 4  /**< The bank takes time-domain frames (zero-padded to the FFT length) and forms their FFT magnitudes itself; without it the input is a magnitude spectrum. */
};
/** Stream flags of the dynamic-feature family, combined with |. */
enum ZelStreamFlag {
    zelBeginStream = 1, /**< The block starts the stream: no earlier output rows are read as history. */
    zelEndStream   = 2  /**< The block ends the stream: the rows still waiting for future context are completed. */
};

/** The version record that zelsrGetLibVersion returns; a constant, never freed. */
typedef struct ZelLibraryVersion {
    Zel32s      major;        /**< Major version: changes with the interface. */
    Zel32s      minor;        /**< Minor version. */
    Zel32s      majorBuild;   /**< Build series. */
    Zel32s      build;        /**< Build number. */
    char        targetCpu[4]; /**< Short name of the processor target. */
    const char* Name;         /**< Library name. */
    const char* Version;      /**< Version as text. */
    const char* BuildDate;    /**< Build date as text. */
} ZelLibraryVersion;

/* ---- Opaque states: built and released only by their families' functions. */
typedef struct ZelFBankState_32f            ZelFBankState_32f; /**< Filter bank with single-precision weights (built by the zelsMelFBank, zelsMelLinFBank and zelsEmptyFBank builders). */
typedef struct ZelFBankState_16s            ZelFBankState_16s; /**< Filter bank for 16-bit input, evaluated in single precision. */
typedef struct ZelFBankState_32s            ZelFBankState_32s; /**< Integer filter bank with Q30 weights; built in caller memory only. */
typedef struct ZelDCTLifterState_32f        ZelDCTLifterState_32f; /**< DCT and lifter of single-precision log energies. */
typedef struct ZelDCTLifterState_16s        ZelDCTLifterState_16s; /**< DCT and lifter of 16-bit log energies; serves one thread at a time. */
typedef struct ZelVADState_Aurora           ZelVADState_Aurora; /**< Voice activity detector of the Aurora front end, in caller memory. */
typedef struct ZelMCRAState                 ZelMCRAState; /**< Minimum-controlled recursive averaging noise estimator, in caller memory. */
typedef struct ZelCdbkState_32f             ZelCdbkState_32f; /**< Single-precision codebook with its search structures. */
typedef struct ZelCdbkState_16s             ZelCdbkState_16s; /**< 16-bit codebook with its search structures. */
typedef struct ZelBlockDMatrix_16s          ZelBlockDMatrix_16s; /**< Block-diagonal 16-bit matrix in one allocation. */
typedef struct ZelBlockDMatrix_32f          ZelBlockDMatrix_32f; /**< Block-diagonal single-precision matrix in one allocation. */
typedef struct ZelBlockDMatrix_64f          ZelBlockDMatrix_64f; /**< Block-diagonal double-precision matrix in one allocation. */
typedef struct ZelResamplingPolyphaseFixed  ZelResamplingPolyphaseFixed; /**< Polyphase resampler for a fixed rational ratio. */
typedef struct ZelResamplingPolyphase       ZelResamplingPolyphase; /**< Polyphase resampler for a general ratio. */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_TYPES_H */
