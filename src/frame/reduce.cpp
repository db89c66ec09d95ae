// SPDX-License-Identifier: Apache-2.0
// Sums, dot products and extremes of the toolkit. Where lanes are used, the
// lane sums are folded as (lane0 + lane1) + (lane2 + lane3) and the tail is
// added after them, element by element, on every build.
#include "checks.hpp"
#include "fixed.hpp"
#include "simd/simd.hpp"
#include "toolkit.h"

using namespace zel;
namespace sv = zel::simd;

namespace {

inline float fold4(sv::F32x4 a) {
    return (sv::lane<0>(a) + sv::lane<1>(a)) + (sv::lane<2>(a) + sv::lane<3>(a));
}

// Four single-precision lanes: lane k sums the elements k, k + 4, ...
float sumFast(const float* p, int len) {
    sv::F32x4 acc = sv::zero4f();
    int i = 0;
    for (; i + 4 <= len; i += 4) acc = sv::add(acc, sv::loadu4f(p + i));
    float s = fold4(acc);
    for (; i < len; ++i) s += p[i];
    return s;
}

// Four double lanes, in two pairs; the singles widen exactly.
double sumWide(const float* p, int len) {
    sv::F64x2 lo = sv::zero2d(), hi = sv::zero2d();
    int i = 0;
    for (; i + 4 <= len; i += 4) {
        sv::F32x4 x = sv::loadu4f(p + i);
        lo = sv::add(lo, sv::cvtLo2d(x));
        hi = sv::add(hi, sv::cvtHi2d(x));
    }
    double s = (sv::lane<0>(lo) + sv::lane<1>(lo)) + (sv::lane<0>(hi) + sv::lane<1>(hi));
    for (; i < len; ++i) s += p[i];
    return s;
}

float dot4(const float* a, const float* b, int len) {
    sv::F32x4 acc = sv::zero4f();
    int i = 0;
    for (; i + 4 <= len; i += 4) acc = sv::add(acc, sv::mul(sv::loadu4f(a + i), sv::loadu4f(b + i)));
    float s = fold4(acc);
    for (; i < len; ++i) s += a[i] * b[i];
    return s;
}

double dotWide(const float* a, const float* b, int len) {
    sv::F64x2 lo = sv::zero2d(), hi = sv::zero2d();
    int i = 0;
    for (; i + 4 <= len; i += 4) {
        sv::F32x4 x = sv::loadu4f(a + i), y = sv::loadu4f(b + i);
        lo = sv::add(lo, sv::mul(sv::cvtLo2d(x), sv::cvtLo2d(y)));
        hi = sv::add(hi, sv::mul(sv::cvtHi2d(x), sv::cvtHi2d(y)));
    }
    double s = (sv::lane<0>(lo) + sv::lane<1>(lo)) + (sv::lane<0>(hi) + sv::lane<1>(hi));
    for (; i < len; ++i) s += double(a[i]) * double(b[i]);
    return s;
}

// The first extreme: a later equal value does not replace it. A NaN is passed over
// unless it stands first.
template <bool isMax, class T>
int extremeIndex(const T* p, int len) {
    int best = 0;
    for (int i = 1; i < len; ++i)
        if (isMax ? (p[i] > p[best]) : (p[i] < p[best])) best = i;
    return best;
}

template <bool isMax, class T>
ZelStatus extreme(const T* pSrc, int len, T* pVal) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pVal), requirePositive(len))) return s;
    *pVal = pSrc[extremeIndex<isMax>(pSrc, len)];
    return zelStsNoErr;
}

template <bool isMax>
ZelStatus extremeIndx(const Zel32f* pSrc, int len, Zel32f* pVal, int* pIndex) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pVal), requirePositive(len))) return s;
    int k = extremeIndex<isMax>(pSrc, len);
    *pVal = pSrc[k];
    if (pIndex) *pIndex = k;
    return zelStsNoErr;
}

}  // namespace

ZelStatus ownSum_32f(const Zel32f* pSrc, int len, Zel32f* pSum, int hint) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSum), requirePositive(len))) return s;
    *pSum = hint == zelAlgHintFast ? sumFast(pSrc, len) : static_cast<float>(sumWide(pSrc, len));
    return zelStsNoErr;
}

ZelStatus ownSum_16s32s_Sfs(const Zel16s* pSrc, int len, Zel32s* pSum, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pSum), requirePositive(len))) return s;
    // Sixteen-bit sums stay exact in double for any int length.
    double sum = 0.0;
    for (int i = 0; i < len; ++i) sum += pSrc[i];
    double v = sum * ownScaleValue_64f(scaleFactor);
    *pSum = v > 2147483647.0 ? kMax32 : satRounded32(roundHalfEven(v));
    return zelStsNoErr;
}

ZelStatus ownDotProd_32f(const Zel32f* pSrc1, const Zel32f* pSrc2, int len, Zel32f* pDp) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDp), requirePositive(len))) return s;
    *pDp = dot4(pSrc1, pSrc2, len);
    return zelStsNoErr;
}

ZelStatus ownDotProd_32f64f(const Zel32f* pSrc1, const Zel32f* pSrc2, int len, Zel64f* pDp) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDp), requirePositive(len))) return s;
    *pDp = dotWide(pSrc1, pSrc2, len);
    return zelStsNoErr;
}

ZelStatus ownDotProd_16s64s(const Zel16s* pSrc1, const Zel16s* pSrc2, int len, Zel64s* pDp) {
    if (ZelStatus s = firstError(requireNonNull(pSrc1, pSrc2, pDp), requirePositive(len))) return s;
    Zel64s sum = 0;
    for (int i = 0; i < len; ++i) sum += Zel32s(pSrc1[i]) * pSrc2[i];
    *pDp = sum;
    return zelStsNoErr;
}

ZelStatus ownMaxIndx_32f(const Zel32f* pSrc, int len, Zel32f* pMax, int* pIndex) { return extremeIndx<true>(pSrc, len, pMax, pIndex); }
ZelStatus ownMinIndx_32f(const Zel32f* pSrc, int len, Zel32f* pMin, int* pIndex) { return extremeIndx<false>(pSrc, len, pMin, pIndex); }
ZelStatus ownMax_32f(const Zel32f* pSrc, int len, Zel32f* pMax) { return extreme<true>(pSrc, len, pMax); }
ZelStatus ownMin_32f(const Zel32f* pSrc, int len, Zel32f* pMin) { return extreme<false>(pSrc, len, pMin); }
ZelStatus ownMax_64f(const Zel64f* pSrc, int len, Zel64f* pMax) { return extreme<true>(pSrc, len, pMax); }
ZelStatus ownMin_64f(const Zel64f* pSrc, int len, Zel64f* pMin) { return extreme<false>(pSrc, len, pMin); }
