// SPDX-License-Identifier: Apache-2.0
// LP analysis: Levinson-Durbin and Schur on a given autocorrelation, and LP
// coefficients of a frame by the autocorrelation and covariance methods. The
// 16-bit forms convert exactly to float, run the float form and round the
// coefficients back to nearest with 2^-scaleFactor, saturating; a failure of
// the float step leaves their output alone.
#include "frame/checks.hpp"
#include "frame/toolkit.h"
#include "lpc/lp_analysis_kernels.hpp"
#include "lpc/lpc_common.hpp"

using namespace zel;
using namespace zel::lpc;

namespace {

// Checks shared by Durbin and Schur; the size test stands between the two
// null tests.
ZelStatus checkRecursion(const void* pSrc, const void* pDst, int order, const Zel32f* pErr) {
    return firstError(requireNonNull(pSrc, pDst), requirePositive(order), requireNonNull(pErr));
}

ZelStatus checkFrame(const void* pSrc, int len, const void* pDst, int order) {
    return firstError(requireNonNull(pSrc, pDst), requirePositive(len, order), require(order <= len, zelStsSizeErr));
}

// Stack scratch covers order 63 and below; longer predictors allocate.
constexpr int kDurbinInline = 63;
// Schur's two rows stay on the stack below order 1024.
constexpr int kSchurInline = 2 * 1024;

ZelStatus durbinFloat(const Zel32f* pSrc, Zel32f* pDst, int order, Zel32f* pErr) {
    Scratch<float, kDurbinInline> scratch(order);
    if (!scratch.ok()) return zelStsMemAllocErr;
    return durbin(pSrc, pDst, order, pErr, scratch.data());
}

// R[0..order] of the frame into `R`, then Durbin with `scratch`.
ZelStatus autoMethod(const Zel32f* x, int len, Zel32f* a, int order, float* R, float* scratch) {
    if (ZelStatus s = ownAutoCorr_32f(x, len, R, order + 1)) return s;
    Zel32f err;
    return durbin(R, a, order, &err, scratch);
}

// R and the Durbin scratch in one piece: on the stack while order + 1 is
// below 64.
constexpr int kAutoInline = 2 * 63 + 1;

ZelStatus autoFloat(const Zel32f* pSrc, int len, Zel32f* pDst, int order, bool negate) {
    Scratch<float, kAutoInline> work(2 * int64_t(order) + 1);
    if (!work.ok()) return zelStsMemAllocErr;
    float* R = work.data();
    const ZelStatus s = autoMethod(pSrc, len, pDst, order, R, R + order + 1);
    // The negated form negates whatever the recursion left, even after an
    // energy failure, so that its output always has its own sign.
    if (negate && (s == zelStsNoErr || s == zelStsLpcCalcErr))
        for (int j = 0; j < order; ++j) pDst[j] = 0.0f - pDst[j];
    return s;
}

ZelStatus autoFixed(const Zel16s* pSrc, int len, Zel16s* pDst, int order, int scaleFactor, bool negate) {
    // Frame, coefficients, R and the Durbin scratch; short frames and orders
    // stay on the stack.
    Scratch<float, 64 + 3 * 64> work(int64_t(len) + 3 * int64_t(order) + 1);
    if (!work.ok()) return zelStsMemAllocErr;
    float* x = work.data();
    float* a = x + len;
    float* R = a + order;
    ownConvert_16s32f(pSrc, x, len);
    if (ZelStatus s = autoMethod(x, len, a, order, R, R + order + 1)) return s;
    if (negate)
        for (int j = 0; j < order; ++j) a[j] = 0.0f - a[j];
    return ownConvert_32f16s_Sfs(a, pDst, order, 1, scaleFactor);
}

ZelStatus covFloat(const Zel32f* pSrc, int len, Zel32f* pDst, int order) {
    Scratch<float, 1> block(covarianceBlock(order));
    if (!block.ok()) return zelStsMemAllocErr;
    covariance(pSrc, len, pDst, order, block.data());
    return zelStsNoErr;
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsDurbin_32f(const Zel32f* pSrc, Zel32f* pDst, int order, Zel32f* pErr) {
    if (ZelStatus s = checkRecursion(pSrc, pDst, order, pErr)) return s;
    return durbinFloat(pSrc, pDst, order, pErr);
}

ZELSR_API ZelStatus zelsDurbin_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int order, Zel32f* pErr, int scaleFactor) {
    if (ZelStatus s = checkRecursion(pSrc, pDst, order, pErr)) return s;
    Scratch<float, 3 * 64> work(3 * int64_t(order) + 1);
    if (!work.ok()) return zelStsMemAllocErr;
    float* R = work.data();
    float* a = R + order + 1;
    ownConvert_16s32f(pSrc, R, order + 1);
    if (ZelStatus s = durbin(R, a, order, pErr, a + order)) return s;
    return ownConvert_32f16s_Sfs(a, pDst, order, 1, scaleFactor);
}

ZELSR_API ZelStatus zelsSchur_32f(const Zel32f* pSrc, Zel32f* pDst, int order, Zel32f* pErr) {
    if (ZelStatus s = checkRecursion(pSrc, pDst, order, pErr)) return s;
    Scratch<float, kSchurInline> rows(2 * (int64_t(order) + 1));
    if (!rows.ok()) return zelStsMemAllocErr;
    schur(pSrc, pDst, order, pErr, rows.data(), rows.data() + order + 1);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsSchur_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int order, Zel32f* pErr, int scaleFactor) {
    if (ZelStatus s = checkRecursion(pSrc, pDst, order, pErr)) return s;
    // R, the reflection coefficients and the two rows.
    Scratch<float, kSchurInline> work(4 * (int64_t(order) + 1));
    if (!work.ok()) return zelStsMemAllocErr;
    float* R = work.data();
    float* k = R + order + 1;
    float* U = k + order + 1;
    ownConvert_16s32f(pSrc, R, order + 1);
    schur(R, k, order, pErr, U, U + order + 1);
    return ownConvert_32f16s_Sfs(k, pDst, order, 1, scaleFactor);
}

ZELSR_API ZelStatus zelsLinearPrediction_Auto_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order) {
    if (ZelStatus s = checkFrame(pSrc, len, pDst, order)) return s;
    return autoFloat(pSrc, len, pDst, order, false);
}

ZELSR_API ZelStatus zelsLinearPredictionNeg_Auto_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order) {
    if (ZelStatus s = checkFrame(pSrc, len, pDst, order)) return s;
    return autoFloat(pSrc, len, pDst, order, true);
}

ZELSR_API ZelStatus zelsLinearPrediction_Cov_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order) {
    if (ZelStatus s = checkFrame(pSrc, len, pDst, order)) return s;
    return covFloat(pSrc, len, pDst, order);
}

ZELSR_API ZelStatus zelsLinearPrediction_Auto_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order,
                                                      int scaleFactor) {
    if (ZelStatus s = checkFrame(pSrc, len, pDst, order)) return s;
    return autoFixed(pSrc, len, pDst, order, scaleFactor, false);
}

ZELSR_API ZelStatus zelsLinearPredictionNeg_Auto_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order,
                                                         int scaleFactor) {
    if (ZelStatus s = checkFrame(pSrc, len, pDst, order)) return s;
    return autoFixed(pSrc, len, pDst, order, scaleFactor, true);
}

ZELSR_API ZelStatus zelsLinearPrediction_Cov_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order,
                                                     int scaleFactor) {
    if (ZelStatus s = checkFrame(pSrc, len, pDst, order)) return s;
    Scratch<float, 1> work(int64_t(len) + order + covarianceBlock(order));
    if (!work.ok()) return zelStsMemAllocErr;
    float* x = work.data();
    float* a = x + len;
    ownConvert_16s32f(pSrc, x, len);
    covariance(x, len, a, order, a + order);
    return ownConvert_32f16s_Sfs(a, pDst, order, 1, scaleFactor);
}

}  // extern "C"
