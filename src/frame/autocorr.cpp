// SPDX-License-Identifier: Apache-2.0
// Unnormalised autocorrelation: pDst[k] = sum over n of x[n] x[n + k].
// Short results are summed directly; from 856 lags on the FFT path is
// cheaper: the power spectrum of the zero-padded signal, transformed back.
#include <stdint.h>

#include "frame/checks.hpp"
#include "frame/fft.hpp"
#include "frame/toolkit.h"
#include "simd/simd.hpp"

namespace {

using namespace zel;
using simd::F32x4;

constexpr int kFftFromLags = 856;

// Lag k of x[0..len): two vector accumulators over eight products a step,
// then four, folded in a fixed order, then the remaining products in order.
float lagProduct(const float* x, int len, int k) {
    const float* y = x + k;
    const int count = len - k;
    int i = 0;
    F32x4 acc0 = simd::zero4f(), acc1 = simd::zero4f();
    for (; i + 8 <= count; i += 8) {
        acc0 = simd::add(acc0, simd::mul(simd::loadu4f(x + i), simd::loadu4f(y + i)));
        acc1 = simd::add(acc1, simd::mul(simd::loadu4f(x + i + 4), simd::loadu4f(y + i + 4)));
    }
    if (i + 4 <= count) {
        acc0 = simd::add(acc0, simd::mul(simd::loadu4f(x + i), simd::loadu4f(y + i)));
        i += 4;
    }
    const F32x4 acc = simd::add(acc0, acc1);
    float sum = (simd::lane<0>(acc) + simd::lane<1>(acc)) + (simd::lane<2>(acc) + simd::lane<3>(acc));
    for (; i < count; ++i) sum += x[i] * y[i];
    return sum;
}

void clearFrom(Zel32f* pDst, int from, int dstLen) {
    for (int k = from; k < dstLen; ++k) pDst[k] = 0.0f;
}

ZelStatus autoCorrByFft(const Zel32f* pSrc, int srcLen, Zel32f* pDst, int dstLen, int lags) {
    // Zero padding to at least twice the length keeps the circular
    // correlation free of wrapped-around products.
    int order = 1;
    if (2 * int64_t(srcLen) >= 3) {
        order = 2;
        while ((int64_t(1) << order) < 2 * int64_t(srcLen)) ++order;
    }
    ZelFFTSpec_R_32f* plan = nullptr;
    if (ZelStatus s = ownFFTInitAlloc_R_32f(&plan, order, 2, 0)) return s;
    const int n = 1 << order;
    Zel32f* buf = ownMalloc_32f(n);
    Zel8u* work = plan->workSize > 0 ? ownMalloc_8u(plan->workSize) : nullptr;
    if (buf == nullptr || (plan->workSize > 0 && work == nullptr)) {
        ownFree(buf);
        ownFree(work);
        ownFFTFree_R_32f(plan);
        return zelStsMemAllocErr;
    }
    for (int i = 0; i < srcLen; ++i) buf[i] = pSrc[i];
    for (int i = srcLen; i < n; ++i) buf[i] = 0.0f;
    ZelStatus status = ownFFTFwd_R_32f(buf, buf, plan, work);
    if (status == zelStsNoErr) {
        // Power spectrum in the packed layout: bins 0 and N/2 are real.
        buf[0] = buf[0] * buf[0];
        buf[1] = buf[1] * buf[1];
        for (int k = 2; k < n; k += 2) {
            buf[k] = buf[k] * buf[k] + buf[k + 1] * buf[k + 1];
            buf[k + 1] = 0.0f;
        }
        status = ownFFTInv_R_32f(buf, buf, plan, work);
    }
    if (status == zelStsNoErr) {
        for (int k = 0; k < lags; ++k) pDst[k] = buf[k];
        clearFrom(pDst, lags, dstLen);
    }
    ownFree(work);
    ownFree(buf);
    ownFFTFree_R_32f(plan);
    return status;
}

}  // namespace

ZelStatus ownAutoCorr_32f(const Zel32f* pSrc, int srcLen, Zel32f* pDst, int dstLen) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(srcLen, dstLen))) return s;
    const int lags = srcLen < dstLen ? srcLen : dstLen;
    if (lags >= kFftFromLags) return autoCorrByFft(pSrc, srcLen, pDst, dstLen, lags);
    clearFrom(pDst, lags, dstLen);
    for (int k = 0; k < lags; ++k) pDst[k] = lagProduct(pSrc, srcLen, k);
    return zelStsNoErr;
}
