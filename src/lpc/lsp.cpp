// SPDX-License-Identifier: Apache-2.0
// Line spectral pairs: LP coefficients to cosines of the pair frequencies by
// a grid search on the sum and difference polynomials, and back.
#include "frame/checks.hpp"
#include "frame/fixed.hpp"
#include "frame/toolkit.h"
#include "lpc/lpc_common.hpp"
#include "lpc/lsp_kernels.hpp"

using namespace zel;
using namespace zel::lpc;

namespace {

// The search scratch stays on the stack up to 256 floats, the
// reconstruction's up to order 58.
constexpr int kSearchInline = 256;
constexpr int kRebuildInline = 2 * (58 / 2 + 3);

ZelStatus checkSearch(const void* pSrc, const void* pDst, int len, const int* pNRoots, int nInt, int nDiv) {
    return firstError(requireNonNull(pSrc, pDst, pNRoots), requirePositive(nInt, nDiv, len),
                      require(len <= nInt, zelStsSizeErr));
}

// Roots of the LP vector x (float) into `roots`; *pNRoots receives their
// number. `work` holds lspSearchScratch(len) floats.
ZelStatus searchRoots(const float* x, int len, float* roots, int* pNRoots, int nInt, int nDiv, float* work) {
    float* P = work;
    float* Q = P + sumDegree(len) + 1;
    lspPolynomials(x, len, P, Q);
    const int count = lspSearch(P, sumDegree(len), Q, differenceDegree(len), nInt, nDiv, len, roots);
    *pNRoots = count;
    return count < len ? zelStsLspRootErr : zelStsNoErr;
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsLPToLSP_32f(const Zel32f* pSrcLP, Zel32f* pDstLSP, int len, int* pNRoots, int nInt, int nDiv) {
    if (ZelStatus s = checkSearch(pSrcLP, pDstLSP, len, pNRoots, nInt, nDiv)) return s;
    Scratch<float, kSearchInline> work(lspSearchScratch(len));
    if (!work.ok()) return zelStsMemAllocErr;
    return searchRoots(pSrcLP, len, pDstLSP, pNRoots, nInt, nDiv, work.data());
}

ZELSR_API ZelStatus zelsLPToLSP_16s_Sfs(const Zel16s* pSrcLP, int srcShift, Zel16s* pDstLSP, int len, int* pNRoots,
                                        int nInt, int nDiv, int scaleFactor) {
    if (ZelStatus s = checkSearch(pSrcLP, pDstLSP, len, pNRoots, nInt, nDiv)) return s;
    Scratch<float, kSearchInline> work(lspSearchScratch(len) + 2 * int64_t(len));
    if (!work.ok()) return zelStsMemAllocErr;
    float* x = work.data();
    float* roots = x + len;
    const float down = pow2fDown(srcShift);
    for (int i = 0; i < len; ++i) x[i] = float(pSrcLP[i]) * down;
    const ZelStatus status = searchRoots(x, len, roots, pNRoots, nInt, nDiv, roots + len);
    // The roots found are written even when some are missing; halves away
    // from zero, cut to 16 bits without saturation.
    const float out = ownScaleValue_32f(scaleFactor);
    for (int i = 0; i < *pNRoots; ++i) pDstLSP[i] = roundCut16(roots[i] * out);
    return status;
}

ZELSR_API ZelStatus zelsLSPToLP_32f(const Zel32f* pSrcLSP, Zel32f* pDstLP, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrcLSP, pDstLP), requirePositive(len))) return s;
    // Descending inside the open interval (-1, 1); equal neighbours pass.
    bool ordered = !(pSrcLSP[0] >= 1.0f) && !(pSrcLSP[len - 1] <= -1.0f);
    for (int i = 0; ordered && i + 1 < len; ++i) ordered = !(pSrcLSP[i + 1] > pSrcLSP[i]);
    if (!ordered) return zelStsLspOrderErr;
    Scratch<float, kRebuildInline> work(lspToLpScratch(len));
    if (!work.ok()) return zelStsMemAllocErr;
    float* P = work.data();
    lspToLp([&](int i) { return pSrcLSP[i]; }, len, pDstLP, P, P + len / 2 + 3);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsLSPToLP_16s_Sfs(const Zel16s* pSrcLSP, int srcShift, Zel16s* pDstLP, int len,
                                        int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrcLSP, pDstLP), requirePositive(len, srcShift))) return s;
    // Inclusive limits here: exactly +1 and -1 pass.
    const int64_t one = srcShift >= 32 ? (int64_t(1) << 32) : (int64_t(1) << srcShift);
    bool ordered = pSrcLSP[0] <= one && pSrcLSP[len - 1] >= -one;
    for (int i = 0; ordered && i + 1 < len; ++i) ordered = pSrcLSP[i] >= pSrcLSP[i + 1];
    if (!ordered) return zelStsLspOrderErr;
    Scratch<float, kRebuildInline + 64> work(lspToLpScratch(len) + len);
    if (!work.ok()) return zelStsMemAllocErr;
    float* a = work.data();
    float* P = a + len;
    const float down = pow2fDown(srcShift);
    lspToLp([&](int i) { return float(pSrcLSP[i]) * down; }, len, a, P, P + len / 2 + 3);
    return ownConvert_32f16s_Sfs(a, pDstLP, len, 1, scaleFactor);
}

}  // extern "C"
