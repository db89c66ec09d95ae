/* zelsr: signal-processing and statistical primitives for speech recognition.
 *
 * Every function is a computation on buffers the caller owns, or on an opaque
 * state. All but zelsrGetLibVersion return a ZelStatus: 0 for success, a
 * negative code for an error (the output is left untouched), a positive code
 * for a warning (the result is written and the warning describes it).
 *
 * D2 matrices are one block with a step counted in elements; D2L matrices are
 * tables of row pointers. Buffers aligned to 16 bytes select faster kernels
 * but never a different result, unless a function says so.
 */
#ifndef ZELSR_H
#define ZELSR_H

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

/* ======================================================================== */
/* Version query                                                             */
/* ======================================================================== */

/* A constant record of the library; the caller never frees it. */
ZELSR_API const ZelLibraryVersion* zelsrGetLibVersion(void);

/* ======================================================================== */
/* Log-domain arithmetic                                                     */
/* ======================================================================== */
/* log(exp(a) + exp(b)) and its kin on log-domain values. The length is tested
   first (below 1: zelStsSizeErr), then the pointers (zelStsNullPtrErr). A value
   at or below the floor (-4500000 in single precision, -1e10 in double) stands
   for a probability of zero. In zelsLogAdd on 32-bit and 16-bit data,
   zelAlgHintFast evaluates the correction in single precision, and
   zelAlgHintNone and zelAlgHintAccurate in double; zelsLogAdd_64f computes the
   same for all three. A hint outside 0..2 makes zelsLogAdd return zelStsNoErr
   without computing; zelsLogSum ignores the hint. Fixed-point members read an
   integer v as v * 2^-scaleFactor. */
ZELSR_API ZelStatus zelsLogAdd_32f(const Zel32f* pSrc, Zel32f* pSrcDst, int len, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogAdd_64f(const Zel64f* pSrc, Zel64f* pSrcDst, int len, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogAdd_16s_Sfs(const Zel16s* pSrc, Zel16s* pSrcDst, int len, int scaleFactor,
                                       ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogAdd_32s_Sfs(const Zel32s* pSrc, Zel32s* pSrcDst, int len, int scaleFactor,
                                       ZelHintAlgorithm hint);
/* pSrcDst[i] = log(exp(pSrc[i]) - exp(pSrcDst[i])). Every pSrcDst[i] must lie
   strictly below pSrc[i]; otherwise zelStsRangeErr and nothing is written. */
ZELSR_API ZelStatus zelsLogSub_32f(const Zel32f* pSrc, Zel32f* pSrcDst, int len);
ZELSR_API ZelStatus zelsLogSub_64f(const Zel64f* pSrc, Zel64f* pSrcDst, int len);
ZELSR_API ZelStatus zelsLogSub_16s_Sfs(const Zel16s* pSrc, Zel16s* pSrcDst, int len, int scaleFactor);
ZELSR_API ZelStatus zelsLogSub_32s_Sfs(const Zel32s* pSrc, Zel32s* pSrcDst, int len, int scaleFactor);
/* *pResult = log(sum of exp(pSrc[i])), folded in a fixed order. */
ZELSR_API ZelStatus zelsLogSum_32f(const Zel32f* pSrc, Zel32f* pResult, int len, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogSum_64f(const Zel64f* pSrc, Zel64f* pResult, int len, ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogSum_16s_Sfs(const Zel16s* pSrc, Zel16s* pResult, int len, int scaleFactor,
                                       ZelHintAlgorithm hint);
ZELSR_API ZelStatus zelsLogSum_32s_Sfs(const Zel32s* pSrc, Zel32s* pResult, int len, int scaleFactor,
                                       ZelHintAlgorithm hint);
/* @@log-domain@@ */

/* ======================================================================== */
/* Gaussian frame scoring                                                    */
/* ======================================================================== */
/* Log-likelihood of each of `height` rows (frames) under one diagonal
 * Gaussian: pDst[y] = val - S / 2, S = sum over j of (x[j] - pMean[j])^2 * pVar[j],
 * with pVar the inverse variances (IdVar: all 1). Sfs members hold S with
 * scaleFactor + 1 fractional bits; Scaled members return single precision.
 * Checks: step below width (D2), then null pointers, then width or height
 * below 1. Nothing is written on an error. */
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
/* @@frame-scoring@@ */

/* ======================================================================== */
/* Accumulating and multi-mixture scoring                                    */
/* ======================================================================== */
/* zelsLogGaussMax and zelsLogGaussAdd take the arguments of the frame-scoring
 * member of the same suffixes, with pSrcDst, one running score per row, in
 * place of pDst. Max: each row's score replaces pSrcDst[y] where it is
 * greater; the 32-bit integer members compare in single precision, so a
 * running score may be rounded. Add: pSrcDst[y] = log(exp(score) +
 * exp(pSrcDst[y])), by the accurate log-add of the single or the double set.
 * Checks: step below width (D2), then null pointers, then width or height
 * below 1. Nothing is written on an error. */
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

/* One frame pSrc against `height` Gaussians, whose mean and inverse-variance
 * rows share one step (D2) or lie in two tables of row pointers (D2L), with
 * S[y] = sum over j of (pMean[y][j] - pSrc[j])^2 * pVar[y][j].
 * MultiMix: pSrcDst[y] holds the constant term of Gaussian y and receives
 * its score. MaxMultiMix: the score from the constant pVal[y] replaces
 * pSrcDst[y] where it is greater. AddMultiMix: the score from pVal[y] is
 * added to pSrcDst[y] in the log domain. pVal is not written.
 * Checks: step below width (D2), then null pointers (pVal included), then
 * width or height below 1. Nothing is written on an error. */
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
/* @@accumulating@@ */

/* ======================================================================== */
/* Mixture evaluation                                                        */
/* ======================================================================== */
/* *pResult = log of the sum over y of exp(pVal[y] - S[y] / 2): one frame pSrc
 * of width elements against a mixture of height diagonal Gaussians, one row
 * of pMean and of pVar (inverse variances) per Gaussian, and pVal[y] the
 * constant term of Gaussian y with its weight. Note that height stands
 * before step and width. The Gaussians go in blocks of 100, each folded by
 * the fast single-precision log-sum (the double one in 64f members) with the
 * running value in front of a later block, so the block size is part of the
 * result. IdVar_32f_D2 alone folds its scores one by one from the first,
 * with the double coefficients of the single set; its D2L twin does not.
 * Checks: null pointers, then width above step (D2: zelStsStrideErr), then
 * width or height below 1. Nothing is written on an error. */
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
/* Select members: pDst[f] = the log-sum above for frame f (row f of pSrc, of
 * the same step as pMean) over the Gaussians g whose bit g is set in row f
 * of pSelect: (nGauss + 7) / 8 bytes a row, bit g in byte g / 8 under the
 * mask 0x80 >> g % 8; frames that select nothing get noneValue. The scores
 * are those of zelsLogGaussSingle of the same suffixes. Select_32f_D2 and
 * SelectScaled_16s32f_D2 with nGauss above 8 and height of 2 or more fold
 * with the fast log-add; all other calls fold with the accurate one, so the
 * sizes decide the last bits of a result. Checks: null pointers, then
 * width, nGauss or height below 1, then step below width (D2) or a null row
 * pointer in any table (D2L); a scratch that cannot be allocated gives
 * zelStsMemAllocErr. Nothing is written on an error. */
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
/* @@mixture@@ */

/* ======================================================================== */
/* Single-vector scoring and block-diagonal matrices                         */
/* ======================================================================== */
/* ---- Block-diagonal matrices --------------------------------------------
 * A block-diagonal matrix copied into one allocation: mSrc holds one row
 * pointer per row over all blocks, block by block, and a block of size n
 * gives n rows of n elements. The total dimension (the sum of the sizes) is
 * the length that a BlockDVar scoring call must pass; it may not exceed 32767.
 * Checks: null pointers, then nBlocks or a size below 1 or a total above
 * 32767 (zelStsSizeErr), then a null row (zelStsNullPtrErr), then the
 * allocation (zelStsMemAllocErr). Free takes a matrix of any of the three
 * types; memory that holds none gives zelStsContextMatchErr, and a freed
 * matrix may not be used again. */
ZELSR_API ZelStatus zelsBlockDMatrixInitAlloc_16s(ZelBlockDMatrix_16s** ppMatrix, const Zel16s** mSrc,
                                                  const int* pBlockSizes, int nBlocks);
ZELSR_API ZelStatus zelsBlockDMatrixInitAlloc_32f(ZelBlockDMatrix_32f** ppMatrix, const Zel32f** mSrc,
                                                  const int* pBlockSizes, int nBlocks);
ZELSR_API ZelStatus zelsBlockDMatrixInitAlloc_64f(ZelBlockDMatrix_64f** ppMatrix, const Zel64f** mSrc,
                                                  const int* pBlockSizes, int nBlocks);
ZELSR_API ZelStatus zelsBlockDMatrixFree_16s(ZelBlockDMatrix_16s* pMatrix);
ZELSR_API ZelStatus zelsBlockDMatrixFree_32f(ZelBlockDMatrix_32f* pMatrix);
ZELSR_API ZelStatus zelsBlockDMatrixFree_64f(ZelBlockDMatrix_64f* pMatrix);

/* ---- Single-vector scoring ------------------------------------------------
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
 * unequal to its total dimension zelStsSizeErr. */
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

/* ---- Mahalanobis distances --------------------------------------------------
 * S itself, with no constant, no factor 1/2 and no square root. MahDist:
 * pDst[y] = S of frame row y against one Gaussian; MahDistMultiMix: S of one
 * frame pSrc against row y of the means and inverse variances. Checks: step
 * below width (D2), then null pointers, then width or height below 1.
 * MahDistSingle_16s32s_Sfs alone depends on alignment: with pSrc, pMean and
 * pVar on 16-byte boundaries it sums in single precision with differences
 * saturated to 16 bits, rounds, and ignores scaleFactor; otherwise it sums
 * exactly and shifts right by scaleFactor, saturating. */
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

/* ---- Constant terms ----------------------------------------------------------
 * pDst[i] = pSrcA[i] - pSrcB[i] / 2: the log weight of each Gaussian less half
 * the sum of the log variances and the dimensional term, the val of the
 * scoring functions. The _I members do pSrcDst[i] = pSrc[i] - pSrcDst[i] / 2.
 * 32s members wrap; the first len - len % 4 elements halve rounding down, the
 * last len % 4 rounding up. Checks: null pointers, then len below 1. */
ZELSR_API ZelStatus zelsOutProbPreCalc_32f(const Zel32f* pSrcA, const Zel32f* pSrcB, Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsOutProbPreCalc_64f(const Zel64f* pSrcA, const Zel64f* pSrcB, Zel64f* pDst, int len);
ZELSR_API ZelStatus zelsOutProbPreCalc_32s(const Zel32s* pSrcA, const Zel32s* pSrcB, Zel32s* pDst, int len);
ZELSR_API ZelStatus zelsOutProbPreCalc_32f_I(const Zel32f* pSrc, Zel32f* pSrcDst, int len);
ZELSR_API ZelStatus zelsOutProbPreCalc_64f_I(const Zel64f* pSrc, Zel64f* pSrcDst, int len);
ZELSR_API ZelStatus zelsOutProbPreCalc_32s_I(const Zel32s* pSrc, Zel32s* pSrcDst, int len);

/* ======================================================================== */
/* Filter banks, DCT lifter, dynamic features                                */
/* ======================================================================== */
/* ---- DCT lifter ---------------------------------------------------------
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
 * 16-bit state serves one thread at a time. */
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
/* Releases a state from InitAlloc; a state from Init is only marked unusable. */
ZELSR_API ZelStatus zelsDCTLifterFree_32f(ZelDCTLifterState_32f* pState);
ZELSR_API ZelStatus zelsDCTLifterFree_16s(ZelDCTLifterState_16s* pState);
/* pDst: lenCepstrum coefficients 1..lenCepstrum, then coefficient 0 in the C0
   flavours. The 16-bit forms round to nearest with scaleFactor and saturate. */
ZELSR_API ZelStatus zelsDCTLifter_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelDCTLifterState_32f* pState);
ZELSR_API ZelStatus zelsDCTLifter_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, ZelDCTLifterState_16s* pState,
                                          int scaleFactor);
ZELSR_API ZelStatus zelsDCTLifter_32s16s_Sfs(const Zel32s* pSrc, Zel16s* pDst, ZelDCTLifterState_16s* pState,
                                             int scaleFactor);

/* ---- Dynamic features ----------------------------------------------------
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
 * (zelStsSizeErr). */
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
/* Aurora window of radius four; 39 output values per row (dstStep >= 39). */
ZELSR_API ZelStatus zelsDeltaDelta_Aurora_32f_D2(const Zel32f* pSrc, Zel32f* pDst, int dstStep, int height,
                                                 int mode);
ZELSR_API ZelStatus zelsDeltaDelta_Aurora_16s_D2Sfs(const Zel16s* pSrc, Zel16s* pDst, int dstStep, int height,
                                                    int mode, int scaleFactor);
ZELSR_API ZelStatus zelsDeltaDeltaMul_Aurora_32f_D2(const Zel32f* pSrc, const Zel32f* pVal, Zel32f* pDst,
                                                    int dstStep, int height, int mode);
ZELSR_API ZelStatus zelsDeltaDeltaMul_Aurora_16s_D2Sfs(const Zel16s* pSrc, const Zel16s* pVal, Zel16s* pDst,
                                                       int dstStep, int height, int mode, int scaleFactor);
/* In place: columns offset..offset+width-1 of each row give the regression
 * delta of window winSize in columns offset+width..offset+2*width-1. The
 * first winSize rows difference against row 0 and the last winSize rows
 * against the last row. Checks: null pointers; height, width or winSize
 * below 1, offset negative, height below 2 * winSize (zelStsSizeErr); step
 * below offset + 2 * width (zelStsStrideErr). */
ZELSR_API ZelStatus zelsEvalDelta_32f_D2(Zel32f* pSrcDst, int height, int step, int width, int offset, int winSize,
                                         Zel32f scale);
ZELSR_API ZelStatus zelsEvalDelta_16s_D2Sfs(Zel16s* pSrcDst, int height, int step, int width, int offset,
                                            int winSize, Zel16s scale, int scaleFactor);
ZELSR_API ZelStatus zelsEvalDeltaMul_32f_D2(Zel32f* pSrcDst, int height, int step, const Zel32f* pVal, int width,
                                            int offset, int winSize);
ZELSR_API ZelStatus zelsEvalDeltaMul_16s_D2Sfs(Zel16s* pSrcDst, int height, int step, const Zel16s* pVal,
                                               int width, int offset, int winSize, int scaleFactor);
/* ---- Filter banks ------------------------------------------------------
 * A bank is nFilter overlapping triangles over FFT bins, described by
 * nFilter + 2 centre bins and a rising and a falling row of weights per
 * filter. mel(f) = melMul * ln(1 + f / melDiv). `mode` is zelFBankMelWeights
 * or zelFBankBinWeights, optionally with zelFBankMagnitudeInput, in which case
 * evaluation takes a time frame of fftLen samples and forms its FFT magnitude.
 * A bank handed to a function of another kind (a 16-bit bank to a float
 * function, say), or memory that holds no bank, gives zelStsContextMatchErr;
 * the centre accessors take float and 16-bit banks alike. */
ZELSR_API ZelStatus zelsMelFBankGetSize_32f(int winSize, int nFilter, int mode, int* pSize);
ZELSR_API ZelStatus zelsMelFBankGetSize_16s(int winSize, int nFilter, int mode, int* pSize);
ZELSR_API ZelStatus zelsMelFBankGetSize_32s(int winSize, int nFilter, int mode, int* pSize);
/* pFBank: caller memory of the size the matching size query reports, aligned
 * at least as a pointer. */
ZELSR_API ZelStatus zelsMelFBankInit_32f(ZelFBankState_32f* pFBank, int* pFFTOrder, int winSize, Zel32f sampFreq,
                                         Zel32f lowFreq, Zel32f highFreq, int nFilter, Zel32f melMul, Zel32f melDiv,
                                         int mode);
ZELSR_API ZelStatus zelsMelFBankInit_16s(ZelFBankState_16s* pFBank, int* pFFTOrder, int winSize, Zel32f sampFreq,
                                         Zel32f lowFreq, Zel32f highFreq, int nFilter, Zel32f melMul, Zel32f melDiv,
                                         int mode);
/* Integer bank with Q30 weights; melMul and melDiv in Q15, mode must be 2. */
ZELSR_API ZelStatus zelsMelFBankInit_32s(ZelFBankState_32s* pFBank, int* pFFTOrder, int winSize, int sampFreq,
                                         int lowFreq, int highFreq, int nFilter, Zel32s melMul, Zel32s melDiv,
                                         int mode);
ZELSR_API ZelStatus zelsMelFBankInitAlloc_32f(ZelFBankState_32f** ppFBank, int* pFFTOrder, int winSize,
                                              Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                              Zel32f melMul, Zel32f melDiv, int mode);
ZELSR_API ZelStatus zelsMelFBankInitAlloc_16s(ZelFBankState_16s** ppFBank, int* pFFTOrder, int winSize,
                                              Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                              Zel32f melMul, Zel32f melDiv, int mode);
/* Linear filters up to linFreq, mel-spaced above it. */
ZELSR_API ZelStatus zelsMelLinFBankInitAlloc_32f(ZelFBankState_32f** ppFBank, int* pFFTOrder, int winSize,
                                                 Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                                 Zel32f linFreq, int nLinear, Zel32f melMul, Zel32f melDiv,
                                                 int mode);
ZELSR_API ZelStatus zelsMelLinFBankInitAlloc_16s(ZelFBankState_16s** ppFBank, int* pFFTOrder, int winSize,
                                                 Zel32f sampFreq, Zel32f lowFreq, Zel32f highFreq, int nFilter,
                                                 Zel32f linFreq, int nLinear, Zel32f melMul, Zel32f melDiv,
                                                 int mode);
/* A cleared bank, not ready until its centres are set. */
ZELSR_API ZelStatus zelsEmptyFBankInitAlloc_32f(ZelFBankState_32f** ppFBank, int* pFFTOrder, int winSize,
                                                int nFilter, int mode);
ZELSR_API ZelStatus zelsEmptyFBankInitAlloc_16s(ZelFBankState_16s** ppFBank, int* pFFTOrder, int winSize,
                                                int nFilter, int mode);
/* With the magnitude flag, evaluation writes the bank's scratch: such a bank
 * serves one thread at a time. */
ZELSR_API ZelStatus zelsEvalFBank_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelFBankState_32f* pFBank);
ZELSR_API ZelStatus zelsEvalFBank_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, const ZelFBankState_16s* pFBank,
                                          int scaleFactor);
ZELSR_API ZelStatus zelsEvalFBank_16s32s_Sfs(const Zel16s* pSrc, Zel32s* pDst, const ZelFBankState_16s* pFBank,
                                             int scaleFactor);
ZELSR_API ZelStatus zelsEvalFBank_32s_Sfs(const Zel32s* pSrc, Zel32s* pDst, const ZelFBankState_32s* pFBank,
                                          int scaleFactor);
/* Only for banks from an InitAlloc builder. */
ZELSR_API ZelStatus zelsFBankFree_32f(ZelFBankState_32f* pFBank);
ZELSR_API ZelStatus zelsFBankFree_16s(ZelFBankState_16s* pFBank);
/* nFilter + 2 centre bins. */
ZELSR_API ZelStatus zelsFBankGetCenters_32f(const ZelFBankState_32f* pFBank, Zel32s* pCenters);
ZELSR_API ZelStatus zelsFBankGetCenters_16s(const ZelFBankState_16s* pFBank, Zel32s* pCenters);
ZELSR_API ZelStatus zelsFBankSetCenters_32f(ZelFBankState_32f* pFBank, const Zel32s* pCenters);
ZELSR_API ZelStatus zelsFBankSetCenters_16s(ZelFBankState_16s* pFBank, const Zel32s* pCenters);
/* One filter's weights: the rising run (c[i] - c[i-1] + 1 values), then the
 * falling run (c[i+1] - c[i] values). Reading accepts filterIndex 1 to
 * nFilter + 1, writing 1 to nFilter. */
ZELSR_API ZelStatus zelsFBankGetCoeffs_32f(const ZelFBankState_32f* pFBank, int filterIndex, Zel32f* pCoeffs);
ZELSR_API ZelStatus zelsFBankGetCoeffs_16s(const ZelFBankState_16s* pFBank, int filterIndex, Zel32f* pCoeffs);
ZELSR_API ZelStatus zelsFBankSetCoeffs_32f(ZelFBankState_32f* pFBank, int filterIndex, const Zel32f* pCoeffs);
ZELSR_API ZelStatus zelsFBankSetCoeffs_16s(ZelFBankState_16s* pFBank, int filterIndex, const Zel32f* pCoeffs);
ZELSR_API ZelStatus zelsLinearToMel_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f melMul, Zel32f melDiv);
ZELSR_API ZelStatus zelsMelToLinear_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f melMul, Zel32f melDiv);

/* @@frontend@@ */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_H */
