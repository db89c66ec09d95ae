// SPDX-License-Identifier: Apache-2.0
// LP and reflection conversions: cepstrum, reflection coefficients, the LP
// spectrum, and the area-ratio and tilt measures, in float and 16-bit forms.
#include <math.h>

#include "frame/checks.hpp"
#include "frame/fft.hpp"
#include "frame/fixed.hpp"
#include "frame/toolkit.h"
#include "lpc/lp_conversions_kernels.hpp"
#include "lpc/lpc_common.hpp"

using namespace zel;
using namespace zel::lpc;

namespace {

// Short vectors keep their working copies on the stack.
constexpr int kInline = 64;

ZelStatus checkVector(const void* pSrc, const void* pDst, int len) {
    return firstError(requireNonNull(pSrc, pDst), requirePositive(len));
}

// The 16-bit forms with one scale factor for both sides: the value of an
// input is pSrc * 2^scaleFactor, so a Q12 vector goes with scaleFactor -12.
void loadScaled(const Zel16s* pSrc, float* x, int len, int scaleFactor) {
    const float up = pow2f(scaleFactor);
    for (int i = 0; i < len; ++i) x[i] = float(pSrc[i]) * up;
}

template <bool ToCepstrum>
ZelStatus cepstrumFixed(const Zel16s* pSrc, Zel16s* pDst, int len, int scaleFactor) {
    Scratch<float, 2 * kInline> work(2 * int64_t(len));
    if (!work.ok()) return zelStsMemAllocErr;
    float* x = work.data();
    float* y = x + len;
    loadScaled(pSrc, x, len, scaleFactor);
    cepstrumRecursion<ToCepstrum>(x, y, len);
    return ownConvert_32f16s_Sfs(y, pDst, len, 1, scaleFactor);
}

// ---- LP spectrum --------------------------------------------------------------

// The LP spectrum stores 2139095040.0 for a zero magnitude on its
// division route: the value of the infinity's bit pattern read as an integer.
constexpr float kZeroMagnitudeDivision = 2139095040.0f;

// 1 / |bin| of bins 0 .. count-1 of an unfolded spectrum, in place in the
// first `count` floats of `spectrum`. Returns zelStsDivByZero for a magnitude
// without a reciprocal.
ZelStatus inverseMagnitudes(float* spectrum, int count, bool newton) {
    for (int b = 0; b < count; ++b) {
        const float re = spectrum[2 * b], im = spectrum[2 * b + 1];
        spectrum[b] = sqrtf(re * re + im * im);
    }
    ZelStatus status = zelStsNoErr;
    if (!newton) {
        for (int b = 0; b < count; ++b) {
            if (spectrum[b] == 0.0f) {
                spectrum[b] = kZeroMagnitudeDivision;
                status = zelStsDivByZero;
            } else {
                spectrum[b] = 1.0f / spectrum[b];
            }
        }
        return status;
    }
    int bad = 0;
    forBlocks(count, [&](int i, int n) {
        const sv::F32x4 m = loadPart(spectrum + i, n);
        const sv::F32x4 r = sv::rcpEstimate(m);
        const sv::F32x4 mr = sv::mul(m, r);
        bad |= invalidLanes(m, mr) & ((1 << n) - 1);
        const sv::F32x4 q = sv::mul(sv::sub(sv::set1(2.0f), mr), r);
        // A NaN result takes an infinity with the sign of the magnitude.
        const sv::F32x4 inf = sv::select(sv::cmplt(m, sv::zero4f()), sv::set1(-INFINITY), sv::set1(INFINITY));
        storePart(spectrum + i, sv::select(sv::cmpeq(q, q), q, inf), n);
    });
    return bad ? zelStsDivByZero : zelStsNoErr;
}

// Checks of the LP spectrum; N = 2^(order + 1) bounds the length. An order
// beyond the transform's range passes here and fails at the plan.
ZelStatus checkSpectrum(const void* pSrc, int len, const void* pDst, int order) {
    const int64_t n = int64_t(order) + 1;
    const bool tooLong = n <= 0 || (n < 62 && int64_t(len) >= (int64_t(1) << n));
    return firstError(requireNonNull(pSrc, pDst), require(len >= 1 && !tooLong, zelStsSizeErr));
}

// Forward transform of [0, a1 .. a_len, 0 ...] (the leading 1 of A(z) is not
// there), bin 0 reduced by `val`, then 1 / |bin| for bins 0 .. 2^order - 1
// into `out` (which may be the spectrum buffer). A plan is made per call.
template <class Src, class Finish>
ZelStatus spectrum(const Src* pSrc, int len, int order, float val, bool newton, Finish finish) {
    // An order beyond any transform is passed on as one that the plan refuses.
    const int fftOrder = order < 31 ? order + 1 : 31;
    ZelFFTSpec_R_32f* plan = nullptr;
    if (ZelStatus s = ownFFTInitAlloc_R_32f(&plan, fftOrder, 8, 2)) return s;
    const int64_t N = int64_t(1) << (order + 1);
    // Frame and unfolded spectrum; on the stack up to order 6.
    Scratch<float, 2 * 128 + 2> work(2 * N + 2);
    ZelStatus status = zelStsMemAllocErr;
    if (work.ok()) {
        float* frame = work.data();
        float* spectrum = frame + N;
        for (int64_t i = 0; i < N; ++i) frame[i] = 0.0f;
        for (int i = 0; i < len; ++i) frame[i + 1] = float(pSrc[i]);
        status = ownFFTFwd_RUnfolded_32f(frame, spectrum, plan, nullptr);
        if (status == zelStsNoErr) {
            // Only the real part of bin 0: val does not stand in for the
            // leading coefficient in the other bins.
            spectrum[0] = spectrum[0] - val;
            const int bins = int(N / 2);
            const ZelStatus warn = inverseMagnitudes(spectrum, bins, newton);
            status = finish(spectrum, bins);
            if (status == zelStsNoErr) status = warn;
        }
    }
    ownFFTFree_R_32f(plan);
    return status;
}

// ---- Area ratios and tilts ------------------------------------------------------

template <class Src, class Op, class Store>
ZelStatus ratioOf(const Src* pSrc, int len, Op op, Store store) {
    int bad = 0;
    forBlocks(len, [&](int i, int n) {
        int b = 0;
        const sv::F32x4 q = op(loadPart(pSrc + i, n), b);
        bad |= b & ((1 << n) - 1);
        store(i, q, n);
    });
    return bad ? zelStsDivByZero : zelStsNoErr;
}

template <class Src, class Op, class Store>
ZelStatus tiltOf(const Src* pSrc1, const Src* pSrc2, int len, Op op, Store store) {
    int bad = 0;
    forBlocks(len, [&](int i, int n) {
        int b = 0;
        const sv::F32x4 q = op(loadPart(pSrc1 + i, n), loadPart(pSrc2 + i, n), b);
        bad |= b & ((1 << n) - 1);
        store(i, q, n);
    });
    return bad ? zelStsDivByZero : zelStsNoErr;
}

// Stores of the 16-bit measures: times 2^-scaleFactor, rounded to nearest and
// saturated (a NaN gives -32768).
auto store16(Zel16s* pDst, int scaleFactor) {
    return [=](int i, sv::F32x4 q, int n) {
        float t[4];
        sv::storeu(t, q);
        for (int j = 0; j < n; ++j) pDst[i + j] = nearSat16(t[j], scaleFactor);
    };
}
auto store32f(Zel32f* pDst) {
    return [=](int i, sv::F32x4 q, int n) { storePart(pDst + i, q, n); };
}

ZelStatus checkLar(const void* pSrc, const void* pDst, int len, Zel32f thresh) {
    return firstError(checkVector(pSrc, pDst, len), require(thresh > 0.0f && thresh < 1.0f, zelStsRangeErr));
}

}  // namespace

extern "C" {

// ---- LP <-> cepstrum

ZELSR_API ZelStatus zelsLPToCepstrum_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    cepstrumRecursion<true>(pSrc, pDst, len);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsCepstrumToLP_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    cepstrumRecursion<false>(pSrc, pDst, len);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsLPToCepstrum_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int len, int scaleFactor) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    return cepstrumFixed<true>(pSrc, pDst, len, scaleFactor);
}

ZELSR_API ZelStatus zelsCepstrumToLP_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int len, int scaleFactor) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    return cepstrumFixed<false>(pSrc, pDst, len, scaleFactor);
}

// ---- LP <-> reflection

ZELSR_API ZelStatus zelsLPToReflection_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    Scratch<float, kInline> a(len);
    if (!a.ok()) return zelStsMemAllocErr;
    for (int i = 0; i < len; ++i) a.data()[i] = pSrc[i];
    return lpToReflection(a.data(), pDst, len);
}

ZELSR_API ZelStatus zelsLPToReflection_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int len, int scaleFactor) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    Scratch<float, 2 * kInline> work(2 * int64_t(len));
    if (!work.ok()) return zelStsMemAllocErr;
    float* a = work.data();
    float* k = a + len;
    loadScaled(pSrc, a, len, scaleFactor);
    if (ZelStatus s = lpToReflection(a, k, len)) return s;
    // Halves away from zero, cut to 16 bits without saturation.
    const float down = ownScaleValue_32f(scaleFactor);
    for (int i = 0; i < len; ++i) pDst[i] = roundCut16(k[i] * down);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsReflectionToLP_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    reflectionToLp(pSrc, pDst, len);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsReflectionToLP_16s_Sfs(const Zel16s* pSrc, Zel16s* pDst, int len, int scaleFactor) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    Scratch<float, kInline> a(len);
    if (!a.ok()) return zelStsMemAllocErr;
    loadScaled(pSrc, a.data(), len, scaleFactor);
    reflectionToLp(a.data(), a.data(), len);
    return ownConvert_32f16s_Sfs(a.data(), pDst, len, 1, scaleFactor);
}

// ---- LP spectrum

ZELSR_API ZelStatus zelsLPToSpectrum_32f(const Zel32f* pSrc, int len, Zel32f* pDst, int order, Zel32f val) {
    if (ZelStatus s = checkSpectrum(pSrc, len, pDst, order)) return s;
    return spectrum(pSrc, len, order, val, order >= 3, [&](const float* inv, int bins) {
        for (int b = 0; b < bins; ++b) pDst[b] = inv[b];
        return zelStsNoErr;
    });
}

ZELSR_API ZelStatus zelsLPToSpectrum_16s_Sfs(const Zel16s* pSrc, int len, Zel16s* pDst, int order, int val,
                                             int scaleFactor) {
    if (ZelStatus s = checkSpectrum(pSrc, len, pDst, order)) return s;
    return spectrum(pSrc, len, order, float(val), true, [&](const float* inv, int bins) {
        return ownConvert_32f16s_Sfs(inv, pDst, bins, 1, scaleFactor);
    });
}

// ---- Area ratios and tilts

ZELSR_API ZelStatus zelsReflectionToAR_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    const sv::F32x4 one = sv::set1(1.0f);
    return ratioOf(pSrc, len, [&](sv::F32x4 k, int& bad) { return areaRatio(k, one, bad); }, store32f(pDst));
}

ZELSR_API ZelStatus zelsReflectionToAR_16s_Sfs(const Zel16s* pSrc, int srcShift, Zel16s* pDst, int len,
                                               int scaleFactor) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    // 2^srcShift stands for 1, so the ratio needs no scaling of the input.
    const sv::F32x4 one = sv::set1(pow2f(srcShift));
    return ratioOf(pSrc, len, [&](sv::F32x4 k, int& bad) { return areaRatio(k, one, bad); },
                   store16(pDst, scaleFactor));
}

ZELSR_API ZelStatus zelsReflectionToAbsTilt_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDst), requirePositive(len))) return s;
    return tiltOf(pSrc1, pSrc2, len, absTilt, store32f(pDst));
}

ZELSR_API ZelStatus zelsReflectionToTilt_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDst), requirePositive(len))) return s;
    return tiltOf(pSrc1, pSrc2, len, tilt, store32f(pDst));
}

ZELSR_API ZelStatus zelsReflectionToAbsTilt_16s_Sfs(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len,
                                                    int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDst), requirePositive(len))) return s;
    return tiltOf(pSrc1, pSrc2, len, absTilt, store16(pDst, scaleFactor));
}

ZELSR_API ZelStatus zelsReflectionToTilt_16s_Sfs(const Zel16s* pSrc1, const Zel16s* pSrc2, Zel16s* pDst, int len,
                                                 int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDst), requirePositive(len))) return s;
    return tiltOf(pSrc1, pSrc2, len, tilt, store16(pDst, scaleFactor));
}

ZELSR_API ZelStatus zelsReflectionToLAR_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f thresh) {
    if (ZelStatus s = checkLar(pSrc, pDst, len, thresh)) return s;
    forBlocks(len, [&](int i, int n) { storePart(pDst + i, limitedAreaRatio(loadPart(pSrc + i, n), thresh), n); });
    // The ratio is positive by the limits, so the logarithm's status carries nothing.
    ownLn_32f(pDst, pDst, len);
    return zelStsNoErr;
}

ZELSR_API ZelStatus zelsReflectionToLAR_16s_Sfs(const Zel16s* pSrc, int srcShift, Zel16s* pDst, int len,
                                                Zel32f thresh, int scaleFactor) {
    if (ZelStatus s = checkLar(pSrc, pDst, len, thresh)) return s;
    Scratch<float, 100> lar(len);
    if (!lar.ok()) return zelStsMemAllocErr;
    float* v = lar.data();
    const sv::F32x4 down = sv::set1(pow2fDown(srcShift));
    forBlocks(len, [&](int i, int n) {
        storePart(v + i, limitedAreaRatio(sv::mul(loadPart(pSrc + i, n), down), thresh), n);
    });
    ownLn_32f(v, v, len);
    // The one truncating member of the family.
    return ownConvert_32f16s_Sfs(v, pDst, len, 0, scaleFactor);
}

ZELSR_API ZelStatus zelsReflectionToTrueAR_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    return trueAreaRatio([&](int i) { return pSrc[i]; }, len, 1.0f, [&](int i, float p) { pDst[i] = p; });
}

ZELSR_API ZelStatus zelsReflectionToTrueAR_16s_Sfs(const Zel16s* pSrc, int srcShift, Zel16s* pDst, int len,
                                                   int scaleFactor) {
    if (ZelStatus s = checkVector(pSrc, pDst, len)) return s;
    const float down = ownScaleValue_32f(scaleFactor);
    return trueAreaRatio([&](int i) { return float(pSrc[i]); }, len, pow2f(srcShift),
                         [&](int i, float p) { pDst[i] = satRounded16(truncf(p * down)); });
}

}  // extern "C"
