/* SPDX-License-Identifier: Apache-2.0 */
// The private toolkit under the exported families: allocation, fill and copy,
// conversions, reductions, element-wise arithmetic, the real FFT and the
// autocorrelation. Nothing here is exported. Each operation checks its own
// pointers (zelStsNullPtrErr) and then its length (zelStsSizeErr), so that a
// family may call it without checks of its own.
#pragma once

#include "zelsr.h"

// ---- Allocation: a count under 1 gives null without calling the allocator.
Zel8u* ownMalloc_8u(int n);
Zel16s* ownMalloc_16s(int n);
Zel32s* ownMalloc_32s(int n);
Zel32f* ownMalloc_32f(int n);
Zel64f* ownMalloc_64f(int n);
void ownFree(void* p);

// ---- Fill and move: the value first, then the destination.
ZelStatus ownSet_8u(Zel8u val, Zel8u* pDst, int len);
ZelStatus ownSet_16s(Zel16s val, Zel16s* pDst, int len);
ZelStatus ownSet_32s(Zel32s val, Zel32s* pDst, int len);
ZelStatus ownSet_32f(Zel32f val, Zel32f* pDst, int len);
ZelStatus ownZero_8u(Zel8u* pDst, int len);
ZelStatus ownZero_16s(Zel16s* pDst, int len);
ZelStatus ownZero_32f(Zel32f* pDst, int len);
ZelStatus ownCopy_8u(const Zel8u* pSrc, Zel8u* pDst, int len);
ZelStatus ownCopy_16s(const Zel16s* pSrc, Zel16s* pDst, int len);
ZelStatus ownCopy_32f(const Zel32f* pSrc, Zel32f* pDst, int len);
ZelStatus ownCopy_64f(const Zel64f* pSrc, Zel64f* pDst, int len);
ZelStatus ownMove_32s(const Zel32s* pSrc, Zel32s* pDst, int len);

// ---- Conversions. `rnd`: 0 truncates, 1 rounds to nearest (ties to even),
// any other value rounds halves away from zero. The caller's rounding mode
// is restored before return.
ZelStatus ownConvert_16s32f(const Zel16s* pSrc, Zel32f* pDst, int len);
ZelStatus ownConvert_8u32f(const Zel8u* pSrc, Zel32f* pDst, int len);
ZelStatus ownConvert_16s32f_Sfs(const Zel16s* pSrc, Zel32f* pDst, int len, int scaleFactor);
ZelStatus ownConvert_32f32s_Sfs(const Zel32f* pSrc, Zel32s* pDst, int len, int rnd, int scaleFactor);
ZelStatus ownConvert_64f32s_Sfs(const Zel64f* pSrc, Zel32s* pDst, int len, int rnd, int scaleFactor);
ZelStatus ownConvert_32f16s_Sfs(const Zel32f* pSrc, Zel16s* pDst, int len, int rnd, int scaleFactor);

// ---- Reductions.
ZelStatus ownSum_32f(const Zel32f* pSrc, int len, Zel32f* pSum, int hint);
ZelStatus ownSum_16s32s_Sfs(const Zel16s* pSrc, int len, Zel32s* pSum, int scaleFactor);
ZelStatus ownDotProd_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, int len, Zel32f* pDp);
ZelStatus ownDotProd_32f64f(const Zel32f* pSrc1, const Zel32f* pSrc2, int len, Zel64f* pDp);
ZelStatus ownDotProd_16s64s(const Zel16s* pSrc1, const Zel16s* pSrc2, int len, Zel64s* pDp);
ZelStatus ownMaxIndx_32f(const Zel32f* pSrc, int len, Zel32f* pMax, int* pIndex);
ZelStatus ownMinIndx_32f(const Zel32f* pSrc, int len, Zel32f* pMin, int* pIndex);
ZelStatus ownMax_32f(const Zel32f* pSrc, int len, Zel32f* pMax);
ZelStatus ownMin_32f(const Zel32f* pSrc, int len, Zel32f* pMin);
ZelStatus ownMax_64f(const Zel64f* pSrc, int len, Zel64f* pMax);
ZelStatus ownMin_64f(const Zel64f* pSrc, int len, Zel64f* pMin);

// ---- Element-wise arithmetic.
ZelStatus ownMinEvery_32f_I(const Zel32f* pSrc, Zel32f* pSrcDst, int len);
ZelStatus ownMinEvery_32s_I(const Zel32s* pSrc, Zel32s* pSrcDst, int len);
ZelStatus ownMul_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len);
ZelStatus ownMul_16s_Sfs(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len, int scaleFactor);
ZelStatus ownMulC_32f_I(Zel32f val, Zel32f* pSrcDst, int len);
ZelStatus ownMulC_64f_I(Zel64f val, Zel64f* pSrcDst, int len);
ZelStatus ownDivC_64f_I(Zel64f val, Zel64f* pSrcDst, int len);
// pDst[i] = pSrc1[i] / pSrc2[i]; a zero divisor gives zelStsDivByZero.
ZelStatus ownDiv_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len);
ZelStatus ownDiv_64f(const Zel64f* pSrc1, const Zel64f* pSrc2, Zel64f* pDst, int len);
ZelStatus ownSqrt_64f_I(Zel64f* pSrcDst, int len);
// `len` interleaved (re, im) pairs.
ZelStatus ownMagnitude_32fc(const Zel32f* pSrc, Zel32f* pDst, int len);
ZelStatus ownMagnitude_32sc_Sfs(const Zel32s* pSrc, Zel32s* pDst, int len, int scaleFactor);
// Zero gives -inf and zelStsLnZeroArg, a negative value the NaN 0xffc00000
// and zelStsLnNegArg (which wins if both occur).
ZelStatus ownLn_32f(const Zel32f* pSrc, Zel32f* pDst, int len);

// ---- Real FFT. N = 2^order. Flags: 1 forward scaled by 1/N, 2 inverse
// scaled by 1/N, 4 both by 1/sqrt(N), 8 neither.
struct ZelFFTSpec_R_32f;
struct ZelFFTSpec_R_16s32s;

ZelStatus ownFFTGetSize_R_32f(int order, int flag, int hint, int* pSpecSize, int* pInitSize, int* pWorkSize);
ZelStatus ownFFTInit_R_32f(ZelFFTSpec_R_32f** ppSpec, int order, int flag, int hint, Zel8u* pSpecMem, Zel8u* pInitMem);
ZelStatus ownFFTInitAlloc_R_32f(ZelFFTSpec_R_32f** ppSpec, int order, int flag, int hint);
ZelStatus ownFFTFree_R_32f(ZelFFTSpec_R_32f* pSpec);
// Packed layout: re0, re(N/2), re1, im1, ..., re(N/2-1), im(N/2-1).
ZelStatus ownFFTFwd_R_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelFFTSpec_R_32f* pSpec, Zel8u* pWork);
// Unfolded layout of N + 2 elements: re0, 0, re1, im1, ..., re(N/2), 0.
ZelStatus ownFFTFwd_RUnfolded_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelFFTSpec_R_32f* pSpec, Zel8u* pWork);
// Inverse from the packed layout.
ZelStatus ownFFTInv_R_32f(const Zel32f* pSrc, Zel32f* pDst, const ZelFFTSpec_R_32f* pSpec, Zel8u* pWork);

// The 16-bit wrapper: its own tag and a single-precision plan inside.
ZelStatus ownFFTGetSize_R_16s32s(int order, int flag, int hint, int* pSpecSize, int* pInitSize, int* pWorkSize);
ZelStatus ownFFTInit_R_16s32s(ZelFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint, Zel8u* pSpecMem, Zel8u* pInitMem);
ZelStatus ownFFTInitAlloc_R_16s32s(ZelFFTSpec_R_16s32s** ppSpec, int order, int flag, int hint);
ZelStatus ownFFTFree_R_16s32s(ZelFFTSpec_R_16s32s* pSpec);
ZelStatus ownFFTFwd_R_16s32s_Sfs(const Zel16s* pSrc, Zel32s* pDst, const ZelFFTSpec_R_16s32s* pSpec, int scaleFactor, Zel8u* pWork);

// ---- Autocorrelation: pDst[k] = sum over n of x[n] x[n + k], unnormalised.
ZelStatus ownAutoCorr_32f(const Zel32f* pSrc, int srcLen, Zel32f* pDst, int dstLen);
