// SPDX-License-Identifier: Apache-2.0
// Element-wise arithmetic of the toolkit: minimum, products, quotients,
// square roots, magnitudes and logarithms.
#include <math.h>

#include "checks.hpp"
#include "dispatch.hpp"
#include "fixed.hpp"
#include "simd/simd.hpp"
#include "threading.hpp"
#include "toolkit.h"

using namespace zel;
namespace sv = zel::simd;

// Whole blocks of eight magnitudes on AVX2 (arith_avx2.cpp); returns how many it formed.
namespace zel::arith::avx2 {
int magnitude32fc(const float* src, float* dst, int n);
}

namespace {

// Length thresholds below which the threaded kernels stay on the calling thread.
constexpr int kSqrt64fThreshold = 512;
constexpr int kMagnitude32scThreshold = 256;
constexpr int kMagnitude32fcThreshold = 2048;
constexpr int kDiv32fThreshold = 4096;
constexpr int kDiv64fThreshold = 1024;

// The smallest normal single: below it the magnitude is the exact square root,
// since the reciprocal estimate of a denormal is infinite.
constexpr float kMinNormal32f = 1.17549435e-38f;

template <class T>
bool divide(const T* a, const T* b, T* d, int n) {
    bool zero = false;
    for (int i = 0; i < n; ++i) {
        zero |= (b[i] == T(0));
        d[i] = a[i] / b[i];
    }
    return zero;
}

bool sqrtInPlace(double* p, int n) {
    bool negative = false;
    for (int i = 0; i < n; ++i) {
        negative |= (p[i] < 0.0);
        p[i] = sqrt(p[i]);
    }
    return negative;
}

// One Newton step from the hardware estimate y of 1/sqrt(x):
// (x*y) * -0.5 * ((x*y)*y - 3).
sv::F32x4 magnitude4(sv::F32x4 x) {
    sv::F32x4 y = sv::rsqrtEstimate(x);
    sv::F32x4 xy = sv::mul(x, y);
    sv::F32x4 newton = sv::mul(sv::mul(xy, sv::set1(-0.5f)), sv::sub(sv::mul(xy, y), sv::set1(3.0f)));
    return sv::select(sv::cmplt(x, sv::set1(kMinNormal32f)), sv::sqrt(x), newton);
}

void magnitude32fc(const float* src, float* dst, int n) {
    int i = 0;
#if defined(ZELSR_HAVE_AVX2)
    if (runsAvx2()) i = zel::arith::avx2::magnitude32fc(src, dst, n);
#endif
    for (; i + 4 <= n; i += 4) {
        float x[4];
        for (int k = 0; k < 4; ++k) {
            float re = src[2 * (i + k)], im = src[2 * (i + k) + 1];
            x[k] = re * re + im * im;
        }
        sv::storeu(dst + i, magnitude4(sv::loadu4f(x)));
    }
    for (; i < n; ++i) {
        float re = src[2 * i], im = src[2 * i + 1];
        float x = re * re + im * im;
        dst[i] = sv::lane<0>(magnitude4(sv::set1(x)));
    }
}

void magnitude32sc(const Zel32s* src, Zel32s* dst, int n, int scaleFactor) {
    if (scaleFactor > 32) {
        for (int i = 0; i < n; ++i) dst[i] = 0;
        return;
    }
    if (scaleFactor < -30) {
        for (int i = 0; i < n; ++i) dst[i] = (src[2 * i] | src[2 * i + 1]) ? kMax32 : 0;
        return;
    }
    double scale = ownScaleValue_64f(scaleFactor);
    for (int i = 0; i < n; ++i) {
        double re = src[2 * i], im = src[2 * i + 1];
        double m = sqrt(re * re + im * im) * scale;
        dst[i] = satRounded32(roundHalfEven(m));
    }
}

// The 32-bit product scaled by 2^-scaleFactor, ties to even, saturated to 16 bits.
Zel16s mulScaled(Zel16s a, Zel16s b, int scaleFactor) {
    int64_t p = int32_t(a) * int32_t(b);
    if (scaleFactor == 0) return sat16(p);
    if (scaleFactor > 30) return 0;
    if (scaleFactor < 0) {
        // Any non-zero product shifted left by 16 or more saturates.
        if (scaleFactor < -15) return p == 0 ? 0 : (p > 0 ? 32767 : -32768);
        return sat16(p << -scaleFactor);
    }
    return sat16(shiftRoundHalfEven(p, scaleFactor));
}

template <class T>
ZelStatus mulConstInPlace(T val, T* pSrcDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrcDst), requirePositive(len))) return s;
    if (val == T(1)) return zelStsNoErr;
    for (int i = 0; i < len; ++i) pSrcDst[i] = val == T(0) ? T(0) : pSrcDst[i] * val;
    return zelStsNoErr;
}

}  // namespace

ZelStatus ownMinEvery_32f_I(const Zel32f* pSrc, Zel32f* pSrcDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSrcDst), requirePositive(len))) return s;
    int i = 0;
    for (; i + 4 <= len; i += 4) sv::storeu(pSrcDst + i, sv::min(sv::loadu4f(pSrc + i), sv::loadu4f(pSrcDst + i)));
    for (; i < len; ++i) pSrcDst[i] = pSrc[i] < pSrcDst[i] ? pSrc[i] : pSrcDst[i];
    return zelStsNoErr;
}

ZelStatus ownMinEvery_32s_I(const Zel32s* pSrc, Zel32s* pSrcDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSrcDst), requirePositive(len))) return s;
    for (int i = 0; i < len; ++i) pSrcDst[i] = pSrc[i] < pSrcDst[i] ? pSrc[i] : pSrcDst[i];
    return zelStsNoErr;
}

ZelStatus ownMul_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDst), requirePositive(len))) return s;
    for (int i = 0; i < len; ++i) pDst[i] = pSrc1[i] * pSrc2[i];
    return zelStsNoErr;
}

ZelStatus ownMul_16s_Sfs(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDst), requirePositive(len))) return s;
    for (int i = 0; i < len; ++i) pDst[i] = mulScaled(pSrc1[i], pSrc2[i], scaleFactor);
    return zelStsNoErr;
}

ZelStatus ownMulC_32f_I(Zel32f val, Zel32f* pSrcDst, int len) { return mulConstInPlace(val, pSrcDst, len); }
ZelStatus ownMulC_64f_I(Zel64f val, Zel64f* pSrcDst, int len) { return mulConstInPlace(val, pSrcDst, len); }

ZelStatus ownDivC_64f_I(Zel64f val, Zel64f* pSrcDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrcDst), requirePositive(len), require(val != 0.0, zelStsDivByZeroErr)))
        return s;
    const double r = 1.0 / val;
    for (int i = 0; i < len; ++i) pSrcDst[i] *= r;
    return zelStsNoErr;
}

ZelStatus ownDiv_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDst), requirePositive(len))) return s;
    return runSplit(len, kDiv32fThreshold, zelStsDivByZero,
                    [=](int start, int n) { return divide(pSrc1 + start, pSrc2 + start, pDst + start, n); });
}

ZelStatus ownDiv_64f(const Zel64f* pSrc1, const Zel64f* pSrc2, Zel64f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDst), requirePositive(len))) return s;
    return runSplit(len, kDiv64fThreshold, zelStsDivByZero,
                    [=](int start, int n) { return divide(pSrc1 + start, pSrc2 + start, pDst + start, n); });
}

ZelStatus ownSqrt_64f_I(Zel64f* pSrcDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrcDst), requirePositive(len))) return s;
    return runSplit(len, kSqrt64fThreshold, zelStsSqrtNegArg,
                    [=](int start, int n) { return sqrtInPlace(pSrcDst + start, n); });
}

ZelStatus ownMagnitude_32fc(const Zel32f* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    return runSplit(len, kMagnitude32fcThreshold, zelStsNoErr, [=](int start, int n) {
        magnitude32fc(pSrc + 2 * start, pDst + start, n);
        return false;
    });
}

ZelStatus ownMagnitude_32sc_Sfs(const Zel32s* pSrc, Zel32s* pDst, int len, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    return runSplit(len, kMagnitude32scThreshold, zelStsNoErr, [=](int start, int n) {
        magnitude32sc(pSrc + 2 * start, pDst + start, n, scaleFactor);
        return false;
    });
}

ZelStatus ownLn_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    bool zero = false, negative = false;
    for (int i = 0; i < len; ++i) {
        float x = pSrc[i];
        if (x < 0.0f) {
            negative = true;
            pDst[i] = zel::fromBits32(0xffc00000u);
        } else {
            zero |= (x == 0.0f);
            pDst[i] = logf(x);
        }
    }
    return negative ? zelStsLnNegArg : (zero ? zelStsLnZeroArg : zelStsNoErr);
}
