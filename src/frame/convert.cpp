// SPDX-License-Identifier: Apache-2.0
// Conversions between element types, with the three rounding rules of the
// toolkit: truncation (rnd 0), nearest with ties to even (rnd 1) and halves
// away from zero (any other rnd). Saturation follows the processor: an
// overflow above the range gives the largest integer, one below it and NaN
// the smallest.
#include "checks.hpp"
#include "fixed.hpp"
#include "rounding_mode.hpp"
#include "simd/simd.hpp"
#include "toolkit.h"

using namespace zel;
namespace sv = zel::simd;

namespace {

enum class Rounding { Truncate, Nearest, HalfAway };

Rounding roundingOf(int rnd) {
    return rnd == 0 ? Rounding::Truncate : (rnd == 1 ? Rounding::Nearest : Rounding::HalfAway);
}

// ---- widening

template <class S>
void widen(const S* pSrc, Zel32f* pDst, int len, float scale) {
    for (int i = 0; i < len; ++i) pDst[i] = static_cast<float>(pSrc[i]) * scale;
}

// ---- single to 32-bit integer, four lanes at a time

sv::I32x4 round4(sv::F32x4 v, Rounding r) {
    switch (r) {
        case Rounding::Truncate:
            return sv::cvtTrunc(v);
        case Rounding::Nearest:
            return sv::cvtRound(v);  // the caller holds the mode at nearest
        default:
            return sv::cvtTrunc(sv::add(v, sv::select(sv::cmplt(v, sv::zero4f()), sv::set1(-0.5f), sv::set1(0.5f))));
    }
}

float round1(float v, Rounding r) {
    switch (r) {
        case Rounding::Truncate:
            return truncf(v);
        case Rounding::Nearest:
            return roundHalfEven(v);
        default:
            return truncf(v + (v < 0.0f ? -0.5f : 0.5f));
    }
}

__attribute__((noinline)) void narrow32f32s(const Zel32f* pSrc, Zel32s* pDst, int len, Rounding r, float scale) {
    const sv::F32x4 vscale = sv::set1(scale);
    const sv::F32x4 top = sv::set1(kMaxBelow2p31f);
    const sv::I32x4 maxInt = sv::set1(kMax32);
    int i = 0;
    for (; i + 4 <= len; i += 4) {
        sv::F32x4 v = sv::mul(sv::loadu4f(pSrc + i), vscale);
        // The conversion gives the smallest integer on overflow; above the range we want the largest.
        sv::I32x4 q = round4(v, r);
        sv::F32x4 over = sv::cmpgt(v, top);
        sv::storeu(pDst + i, sv::asInt(sv::select(over, sv::asFloat(maxInt), sv::asFloat(q))));
    }
    for (; i < len; ++i) pDst[i] = satRounded32(round1(pSrc[i] * scale, r));
}

__attribute__((noinline)) void narrow32f16s(const Zel32f* pSrc, Zel16s* pDst, int len, Rounding r, float scale) {
    for (int i = 0; i < len; ++i) pDst[i] = satRounded16(round1(pSrc[i] * scale, r));
}

double round1(double v, Rounding r) {
    switch (r) {
        case Rounding::Truncate:
            return trunc(v);
        case Rounding::Nearest:
            return roundHalfEven(v);
        default:
            return roundHalfAway(v);
    }
}

__attribute__((noinline)) void narrow64f32s(const Zel64f* pSrc, Zel32s* pDst, int len, Rounding r, double scale) {
    for (int i = 0; i < len; ++i) pDst[i] = satRounded32(round1(pSrc[i] * scale, r));
}

}  // namespace

ZelStatus ownConvert_16s32f(const Zel16s* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    widen(pSrc, pDst, len, 1.0f);
    return zelStsNoErr;
}

ZelStatus ownConvert_8u32f(const Zel8u* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    widen(pSrc, pDst, len, 1.0f);
    return zelStsNoErr;
}

ZelStatus ownConvert_16s32f_Sfs(const Zel16s* pSrc, Zel32f* pDst, int len, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    widen(pSrc, pDst, len, ownScaleValue_32f(scaleFactor));
    return zelStsNoErr;
}

ZelStatus ownConvert_32f32s_Sfs(const Zel32f* pSrc, Zel32s* pDst, int len, int rnd, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    NearestRounding nearest;
    narrow32f32s(pSrc, pDst, len, roundingOf(rnd), ownScaleValue_32f(scaleFactor));
    return zelStsNoErr;
}

ZelStatus ownConvert_32f16s_Sfs(const Zel32f* pSrc, Zel16s* pDst, int len, int rnd, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    NearestRounding nearest;
    narrow32f16s(pSrc, pDst, len, roundingOf(rnd), ownScaleValue_32f(scaleFactor));
    return zelStsNoErr;
}

ZelStatus ownConvert_64f32s_Sfs(const Zel64f* pSrc, Zel32s* pDst, int len, int rnd, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    NearestRounding nearest;
    narrow64f32s(pSrc, pDst, len, roundingOf(rnd), ownScaleValue_64f(scaleFactor));
    return zelStsNoErr;
}
