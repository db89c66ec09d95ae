/* SPDX-License-Identifier: Apache-2.0 */
/* zelsr: element types, status codes, flags, the version record and opaque states. Included by zelsr.h. */
#ifndef ZELSR_TYPES_H
#define ZELSR_TYPES_H

#include <stdint.h>

#if defined(_WIN32)
#  define ZELSR_API __declspec(dllexport)
#else
#  define ZELSR_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Element types ---------------------------------------------------- */
typedef uint8_t  Zel8u;
typedef int16_t  Zel16s;
typedef uint16_t Zel16u;
typedef int32_t  Zel32s;
typedef uint32_t Zel32u;
typedef float    Zel32f;
typedef int64_t  Zel64s;
typedef double   Zel64f;
typedef int32_t  ZelStatus;

/* ---- Status codes ----------------------------------------------------- */
enum {
    zelStsNoErr           = 0,
    zelStsErr             = -2,
    zelStsBadArgErr       = -5,
    zelStsSizeErr         = -6,
    zelStsRangeErr        = -7,
    zelStsNullPtrErr      = -8,
    zelStsMemAllocErr     = -9,
    zelStsDivByZeroErr    = -10,
    zelStsFftOrderErr     = -15,
    zelStsFftFlagErr      = -16,
    zelStsContextMatchErr = -17,
    zelStsStrideErr       = -37,
    zelStsSvdCnvgErr      = -65,
    zelStsCdbkFlagErr     = -66,
    zelStsNegOccErr       = -67,
    zelStsFBankFlagErr    = -69,
    zelStsMelFlagErr      = -70,
    zelStsMelFreqErr      = -71,
    zelStsLspRootErr      = -114,
    zelStsLspOrderErr     = -115,
    zelStsUnstableLpErr   = -116,
    zelStsLpcCalcErr      = -117,
    zelStsLengthRangeErr  = -119,
    zelStsCdbkKindErr     = -9999,
    /* warnings */
    zelStsSqrtNegArg      = 3,
    zelStsSingularity     = 4,
    zelStsDivByZero       = 6,
    zelStsLnZeroArg       = 7,
    zelStsLnNegArg        = 8,
    zelStsResFloor        = 11,
    zelStsZeroOcc         = 16,
    zelStsCdbkSizeWarn    = 31
};

/* ---- Accuracy hint (read by the log-domain families only) ------------- */
typedef int ZelHintAlgorithm;
enum {
    zelAlgHintNone     = 0,
    zelAlgHintFast     = 1,
    zelAlgHintAccurate = 2
};

/* ---- Filter-bank modes and stream flags ------------------------------- */
enum {
    zelFBankMelWeights     = 1,
    zelFBankBinWeights     = 2,
    zelFBankMagnitudeInput = 4
};
enum {
    zelBeginStream = 1,
    zelEndStream   = 2
};

/* ---- Version record ---------------------------------------------------- */
typedef struct ZelLibraryVersion {
    Zel32s      major;
    Zel32s      minor;
    Zel32s      majorBuild;
    Zel32s      build;
    char        targetCpu[4];
    const char* Name;
    const char* Version;
    const char* BuildDate;
} ZelLibraryVersion;

/* ---- Opaque states ------------------------------------------------------ */
typedef struct ZelFBankState_32f            ZelFBankState_32f;
typedef struct ZelFBankState_16s            ZelFBankState_16s;
typedef struct ZelFBankState_32s            ZelFBankState_32s;
typedef struct ZelDCTLifterState_32f        ZelDCTLifterState_32f;
typedef struct ZelDCTLifterState_16s        ZelDCTLifterState_16s;
typedef struct ZelVADState_Aurora           ZelVADState_Aurora;
typedef struct ZelMCRAState                 ZelMCRAState;
typedef struct ZelCdbkState_32f             ZelCdbkState_32f;
typedef struct ZelCdbkState_16s             ZelCdbkState_16s;
typedef struct ZelBlockDMatrix_16s          ZelBlockDMatrix_16s;
typedef struct ZelBlockDMatrix_32f          ZelBlockDMatrix_32f;
typedef struct ZelBlockDMatrix_64f          ZelBlockDMatrix_64f;
typedef struct ZelResamplingPolyphaseFixed  ZelResamplingPolyphaseFixed;
typedef struct ZelResamplingPolyphase       ZelResamplingPolyphase;

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_TYPES_H */
