// SPDX-License-Identifier: Apache-2.0
// Signal conditioning: small stateless operations around the front end. The
// checks run in the family's order (null pointers, then the length, then each
// member's own tests) before anything is written; the arithmetic is in
// signal_conditioning_kernels.hpp.
#include "frame/checks.hpp"
#include "frame/dispatch.hpp"
#include "frontend/signal_conditioning_kernels.hpp"
#include "zelsr.h"

namespace zel::cond {

void expNegSqrGroup(const float* src, float* dst) {
    for (int k = 0; k < 4; ++k) dst[k] = float(exp(double(0.0f - src[k] * src[k])));
}

}  // namespace zel::cond

namespace {

using namespace zel;

// ---- The lane bodies of the baseline, and the choice of a wider set
int baseColumnMax16(const float* p, int len, float* acc) { return cond::lanes::columnMax16<cond::Lanes4>(p, len, acc); }
int baseNormEnergy(float* p, int len, float eMin, float eMax, float scale) {
    return cond::lanes::normEnergy<cond::Lanes4>(p, len, eMin, eMax, scale);
}
int baseSignChanges(const float* x, int len, int* next) { return cond::lanes::signChanges<cond::Lanes4>(x, len, next); }
int baseRecSqrt(float* p, int len, float val, int* below) {
    return cond::lanes::recSqrt<cond::Lanes4>(p, len, val, below);
}
int baseExpNegSqr(const float* src, float* dst, int len) {
    return cond::lanes::expNegSqr<cond::Lanes4>(src, dst, len, cond::expNegSqrGroup);
}
int baseUnitCurve(const float* src, float* dst, int len) { return cond::lanes::unitCurve<cond::Lanes4>(src, dst, len); }
constexpr cond::LaneKernels kBaseline = {baseColumnMax16, baseNormEnergy, baseSignChanges,
                                         baseRecSqrt,     baseExpNegSqr,  baseUnitCurve};

// Once per call: the widest table this processor runs.
const cond::LaneKernels& laneKernels() {
    if constexpr (kBuiltWithAvx512)
        if (runsAvx512()) return cond::avx512::kLaneKernels;
    if constexpr (kBuiltWithAvx2)
        if (runsAvx2()) return cond::avx2::kLaneKernels;
    return kBaseline;
}

// ---- Offset compensation
template <class T, class V>
ZelStatus offset(const T* pSrc, T* pDst, int len, T* pSrcDst0, T dst0, V val) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst, pSrcDst0), requirePositive(len))) return s;
    cond::compensateOffset(pSrc, pDst, len, pSrcDst0, dst0, val);
    return zelStsNoErr;
}
ZelStatus offsetQ15(const Zel16s* pSrc, Zel16s* pDst, int len, Zel16s* pSrcDst0, Zel16s dst0, Zel16s valQ15) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst, pSrcDst0), requirePositive(len),
                                 require(len <= 65535, zelStsSizeErr), require(valQ15 >= 0, zelStsBadArgErr)))
        return s;
    cond::compensateOffsetQ15(pSrc, pDst, len, pSrcDst0, dst0, valQ15);
    return zelStsNoErr;
}

// ---- Energy: maxE is found first unless the caller gives it.
template <class T>
ZelStatus normEnergy(T* pSrcDst, int step, int len, T silenceFloor, const T* maxE, T energyScale) {
    if (ZelStatus s = firstError(requireNonNull(pSrcDst), requirePositive(len), requirePositive(step))) return s;
    if constexpr (std::is_same_v<T, float>) {
        const cond::LaneKernels& k = laneKernels();
        const T eMax = maxE ? *maxE : cond::columnMax(pSrcDst, step, len, k);
        cond::normEnergy(pSrcDst, step, len, silenceFloor, eMax, energyScale, k);
    } else {
        const T eMax = maxE ? *maxE : cond::columnMax(pSrcDst, step, len);
        cond::normEnergy(pSrcDst, step, len, silenceFloor, eMax, energyScale);
    }
    return zelStsNoErr;
}

// ---- Sign changes
template <class T, class R, class F>
ZelStatus signRate(const T* pSrc, int len, R* pRes, F count) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pRes), requirePositive(len))) return s;
    *pRes = R(count(pSrc, len));
    return zelStsNoErr;
}

// ---- Padding
template <class T>
ZelStatus copyWithPadding(const T* pSrc, int lenSrc, T* pDst, int lenDst) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(lenSrc, lenDst),
                                 require(lenDst >= lenSrc, zelStsSizeErr)))
        return s;
    memmove(pDst, pSrc, sizeof(T) * size_t(lenSrc));
    memset(pDst + lenSrc, 0, sizeof(T) * size_t(lenDst - lenSrc));
    return zelStsNoErr;
}

// ---- Element-wise maps of one source into one destination
template <class S, class D, class F>
ZelStatus map(const S* pSrc, D* pDst, int len, F f) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    f(pSrc, pDst, len);
    return zelStsNoErr;
}

ZelStatus unitCurve16(const Zel16s* pSrc, int q, Zel16s* pDst, int len, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len))) return s;
    for (int i = 0; i < len; ++i) pDst[i] = (q < 0 || q >= 15) ? Zel16s(0) : cond::unitCurve16(pSrc[i], q, scaleFactor);
    return zelStsNoErr;
}

// ---- Inverse root: zelStsSingularity when every element fell below val.
ZelStatus recSqrtStatus(int taken) { return taken == 0 ? zelStsSingularity : zelStsNoErr; }

template <class D>
ZelStatus recSqrtFixed(const Zel32s* pSrc, D* pDst, int len, Zel32s val, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len), require(val > 0, zelStsBadArgErr)))
        return s;
    return recSqrtStatus(cond::recSqrtFixed(pSrc, pDst, len, val, scaleFactor));
}

// ---- Range normalisation. NaN ratios or range are refused with the bad ones.
ZelStatus rangeChecks(float lowerRatio, float upperRatio, float range) {
    const bool ok = lowerRatio >= 0.0f && lowerRatio < upperRatio && upperRatio <= 1.0f && range >= 0.0f;
    return ok ? zelStsNoErr : zelStsBadArgErr;
}
template <class S, class D>
ZelStatus normalizeInRange(const S* pSrc, D* pDst, int len, float lowerRatio, float upperRatio, float range) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len),
                                 rangeChecks(lowerRatio, upperRatio, range)))
        return s;
    S mn, mx;
    cond::minMax(pSrc, len, &mn, &mx);
    return cond::normalizeInRange(pSrc, pDst, len, float(mn), float(mx), lowerRatio, upperRatio, range);
}
template <class S, class D>
ZelStatus normalizeInRangeMinMax(const S* pSrc, D* pDst, int len, S mn, S mx, float lowerRatio, float upperRatio,
                                 float range) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requirePositive(len),
                                 rangeChecks(lowerRatio, upperRatio, range), require(!(mn > mx), zelStsBadArgErr)))
        return s;
    return cond::normalizeInRange(pSrc, pDst, len, float(mn), float(mx), lowerRatio, upperRatio, range);
}

}  // namespace

extern "C" {

// ---- Offset compensation --------------------------------------------------------------
ZELSR_API ZelStatus zelsCompensateOffset_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f* pSrcDst0,
                                             Zel32f dst0, Zel32f val) {
    return offset(pSrc, pDst, len, pSrcDst0, dst0, val);
}
ZELSR_API ZelStatus zelsCompensateOffset_16s(const Zel16s* pSrc, Zel16s* pDst, int len, Zel16s* pSrcDst0,
                                             Zel16s dst0, Zel32f val) {
    return offset(pSrc, pDst, len, pSrcDst0, dst0, val);
}
ZELSR_API ZelStatus zelsCompensateOffset_32f_I(Zel32f* pSrcDst, int len, Zel32f* pSrcDst0, Zel32f dst0, Zel32f val) {
    return offset<Zel32f>(pSrcDst, pSrcDst, len, pSrcDst0, dst0, val);
}
ZELSR_API ZelStatus zelsCompensateOffset_16s_I(Zel16s* pSrcDst, int len, Zel16s* pSrcDst0, Zel16s dst0, Zel32f val) {
    return offset<Zel16s>(pSrcDst, pSrcDst, len, pSrcDst0, dst0, val);
}
ZELSR_API ZelStatus zelsCompensateOffsetQ15_16s(const Zel16s* pSrc, Zel16s* pDst, int len, Zel16s* pSrcDst0,
                                                Zel16s dst0, Zel16s valQ15) {
    return offsetQ15(pSrc, pDst, len, pSrcDst0, dst0, valQ15);
}
ZELSR_API ZelStatus zelsCompensateOffsetQ15_16s_I(Zel16s* pSrcDst, int len, Zel16s* pSrcDst0, Zel16s dst0,
                                                  Zel16s valQ15) {
    return offsetQ15(pSrcDst, pSrcDst, len, pSrcDst0, dst0, valQ15);
}

// ---- Mean removal: the length is tested before the pointer ---------------------------
ZELSR_API ZelStatus zelsZeroMean_16s(Zel16s* pSrcDst, int len) {
    if (ZelStatus s = firstError(requirePositive(len), requireNonNull(pSrcDst))) return s;
    cond::zeroMean(pSrcDst, len);
    return zelStsNoErr;
}

// ---- Energy normalisation ---------------------------------------------------------------
ZELSR_API ZelStatus zelsNormEnergy_32f(Zel32f* pSrcDst, int step, int len, Zel32f silenceFloor, Zel32f energyScale) {
    return normEnergy<Zel32f>(pSrcDst, step, len, silenceFloor, nullptr, energyScale);
}
ZELSR_API ZelStatus zelsNormEnergy_16s(Zel16s* pSrcDst, int step, int len, Zel16s silenceFloor, Zel16s energyScale) {
    return normEnergy<Zel16s>(pSrcDst, step, len, silenceFloor, nullptr, energyScale);
}
ZELSR_API ZelStatus zelsNormEnergy_RT_32f(Zel32f* pSrcDst, int step, int len, Zel32f silenceFloor, Zel32f maxE,
                                          Zel32f energyScale) {
    return normEnergy<Zel32f>(pSrcDst, step, len, silenceFloor, &maxE, energyScale);
}
ZELSR_API ZelStatus zelsNormEnergy_RT_16s(Zel16s* pSrcDst, int step, int len, Zel16s silenceFloor, Zel16s maxE,
                                          Zel16s energyScale) {
    return normEnergy<Zel16s>(pSrcDst, step, len, silenceFloor, &maxE, energyScale);
}

// ---- Sign changes -------------------------------------------------------------------------
ZELSR_API ZelStatus zelsSignChangeRate_16s(const Zel16s* pSrc, int len, Zel32s* pRes) {
    return signRate(pSrc, len, pRes, [](const Zel16s* x, int n) { return cond::signChanges(x, n); });
}
ZELSR_API ZelStatus zelsSignChangeRate_32f(const Zel32f* pSrc, int len, Zel32f* pRes) {
    return signRate(pSrc, len, pRes, [](const Zel32f* x, int n) { return cond::signChanges(x, n, laneKernels()); });
}
ZELSR_API ZelStatus zelsSignChangeRate_Count0_16s(const Zel16s* pSrc, int len, Zel32s* pRes) {
    return signRate(pSrc, len, pRes, [](const Zel16s* x, int n) { return cond::signChangesCount0(x, n); });
}
ZELSR_API ZelStatus zelsSignChangeRate_Count0_32f(const Zel32f* pSrc, int len, Zel32f* pRes) {
    return signRate(pSrc, len, pRes, [](const Zel32f* x, int n) { return cond::signChangesCount0(x, n); });
}
ZELSR_API ZelStatus zelsSignChangeRateXor_32f(const Zel32f* pSrc, int len, Zel32f* pRes) {
    return signRate(pSrc, len, pRes, [](const Zel32f* x, int n) { return cond::signChangesXor(x, n); });
}

// ---- Padding ---------------------------------------------------------------------------
ZELSR_API ZelStatus zelsCopyWithPadding_16s(const Zel16s* pSrc, int lenSrc, Zel16s* pDst, int lenDst) {
    return copyWithPadding(pSrc, lenSrc, pDst, lenDst);
}
ZELSR_API ZelStatus zelsCopyWithPadding_32f(const Zel32f* pSrc, int lenSrc, Zel32f* pDst, int lenDst) {
    return copyWithPadding(pSrc, lenSrc, pDst, lenDst);
}

// ---- Unit curve -------------------------------------------------------------------------
ZELSR_API ZelStatus zelsUnitCurve_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    return map(pSrc, pDst, len, [](const float* s, float* d, int n) { cond::unitCurve(s, d, n, laneKernels()); });
}
ZELSR_API ZelStatus zelsUnitCurve_32f_I(Zel32f* pSrcDst, int len) { return zelsUnitCurve_32f(pSrcDst, pSrcDst, len); }
ZELSR_API ZelStatus zelsUnitCurve_16s_Sfs(const Zel16s* pSrc, int q, Zel16s* pDst, int len, int scaleFactor) {
    return unitCurve16(pSrc, q, pDst, len, scaleFactor);
}
ZELSR_API ZelStatus zelsUnitCurve_16s_ISfs(Zel16s* pSrcDst, int q, int len, int scaleFactor) {
    return unitCurve16(pSrcDst, q, pSrcDst, len, scaleFactor);
}

// ---- Inverse root ------------------------------------------------------------------------
ZELSR_API ZelStatus zelsRecSqrt_32f(Zel32f* pSrcDst, int len, Zel32f val) {
    if (ZelStatus s = firstError(requireNonNull(pSrcDst), requirePositive(len), require(val > 0.0f, zelStsBadArgErr)))
        return s;
    return recSqrtStatus(cond::recSqrt(pSrcDst, len, val, laneKernels()));
}
ZELSR_API ZelStatus zelsRecSqrt_32s_Sfs(Zel32s* pSrcDst, int len, Zel32s val, int scaleFactor) {
    return recSqrtFixed(pSrcDst, pSrcDst, len, val, scaleFactor);
}
ZELSR_API ZelStatus zelsRecSqrt_32s16s_Sfs(const Zel32s* pSrc, Zel16s* pDst, int len, Zel32s val, int scaleFactor) {
    return recSqrtFixed(pSrc, pDst, len, val, scaleFactor);
}

// ---- SinC ----------------------------------------------------------------------------------
ZELSR_API ZelStatus zelsSinC_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    return map(pSrc, pDst, len, cond::sinc<Zel32f, Zel32f>);
}
ZELSR_API ZelStatus zelsSinC_64f(const Zel64f* pSrc, Zel64f* pDst, int len) {
    return map(pSrc, pDst, len, cond::sinc<Zel64f, Zel64f>);
}
ZELSR_API ZelStatus zelsSinC_32f64f(const Zel32f* pSrc, Zel64f* pDst, int len) {
    return map(pSrc, pDst, len, cond::sinc<Zel32f, Zel64f>);
}
ZELSR_API ZelStatus zelsSinC_32f_I(Zel32f* pSrcDst, int len) { return zelsSinC_32f(pSrcDst, pSrcDst, len); }
ZELSR_API ZelStatus zelsSinC_64f_I(Zel64f* pSrcDst, int len) { return zelsSinC_64f(pSrcDst, pSrcDst, len); }

// ---- Gaussian curve --------------------------------------------------------------------------
ZELSR_API ZelStatus zelsExpNegSqr_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    return map(pSrc, pDst, len, [](const float* s, float* d, int n) { cond::expNegSqr(s, d, n, laneKernels()); });
}
ZELSR_API ZelStatus zelsExpNegSqr_64f(const Zel64f* pSrc, Zel64f* pDst, int len) {
    return map(pSrc, pDst, len, cond::expNegSqr<Zel64f>);
}
ZELSR_API ZelStatus zelsExpNegSqr_32f64f(const Zel32f* pSrc, Zel64f* pDst, int len) {
    return map(pSrc, pDst, len, cond::expNegSqr<Zel32f>);
}
ZELSR_API ZelStatus zelsExpNegSqr_32f_I(Zel32f* pSrcDst, int len) { return zelsExpNegSqr_32f(pSrcDst, pSrcDst, len); }
ZELSR_API ZelStatus zelsExpNegSqr_64f_I(Zel64f* pSrcDst, int len) { return zelsExpNegSqr_64f(pSrcDst, pSrcDst, len); }

// ---- Range normalisation ------------------------------------------------------------------
ZELSR_API ZelStatus zelsNormalizeInRange_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f lowerRatio,
                                             Zel32f upperRatio, Zel32f range) {
    return normalizeInRange(pSrc, pDst, len, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRange_32f_I(Zel32f* pSrcDst, int len, Zel32f lowerRatio, Zel32f upperRatio,
                                               Zel32f range) {
    return normalizeInRange<Zel32f, Zel32f>(pSrcDst, pSrcDst, len, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRange_32f16s(const Zel32f* pSrc, Zel16s* pDst, int len, Zel32f lowerRatio,
                                                Zel32f upperRatio, Zel32f range) {
    return normalizeInRange(pSrc, pDst, len, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRange_32f8u(const Zel32f* pSrc, Zel8u* pDst, int len, Zel32f lowerRatio,
                                               Zel32f upperRatio, Zel32f range) {
    return normalizeInRange(pSrc, pDst, len, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRange_16s(const Zel16s* pSrc, Zel16s* pDst, int len, Zel32f lowerRatio,
                                             Zel32f upperRatio, Zel32f range) {
    return normalizeInRange(pSrc, pDst, len, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRange_16s_I(Zel16s* pSrcDst, int len, Zel32f lowerRatio, Zel32f upperRatio,
                                               Zel32f range) {
    return normalizeInRange<Zel16s, Zel16s>(pSrcDst, pSrcDst, len, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRange_16s8u(const Zel16s* pSrc, Zel8u* pDst, int len, Zel32f lowerRatio,
                                               Zel32f upperRatio, Zel32f range) {
    return normalizeInRange(pSrc, pDst, len, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_32f(const Zel32f* pSrc, Zel32f* pDst, int len, Zel32f min, Zel32f max,
                                                   Zel32f lowerRatio, Zel32f upperRatio, Zel32f range) {
    return normalizeInRangeMinMax(pSrc, pDst, len, min, max, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_32f_I(Zel32f* pSrcDst, int len, Zel32f min, Zel32f max,
                                                     Zel32f lowerRatio, Zel32f upperRatio, Zel32f range) {
    return normalizeInRangeMinMax<Zel32f, Zel32f>(pSrcDst, pSrcDst, len, min, max, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_32f16s(const Zel32f* pSrc, Zel16s* pDst, int len, Zel32f min,
                                                      Zel32f max, Zel32f lowerRatio, Zel32f upperRatio, Zel32f range) {
    return normalizeInRangeMinMax(pSrc, pDst, len, min, max, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_32f8u(const Zel32f* pSrc, Zel8u* pDst, int len, Zel32f min,
                                                     Zel32f max, Zel32f lowerRatio, Zel32f upperRatio, Zel32f range) {
    return normalizeInRangeMinMax(pSrc, pDst, len, min, max, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_16s(const Zel16s* pSrc, Zel16s* pDst, int len, Zel16s min, Zel16s max,
                                                   Zel32f lowerRatio, Zel32f upperRatio, Zel32f range) {
    return normalizeInRangeMinMax(pSrc, pDst, len, min, max, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_16s_I(Zel16s* pSrcDst, int len, Zel16s min, Zel16s max,
                                                     Zel32f lowerRatio, Zel32f upperRatio, Zel32f range) {
    return normalizeInRangeMinMax<Zel16s, Zel16s>(pSrcDst, pSrcDst, len, min, max, lowerRatio, upperRatio, range);
}
ZELSR_API ZelStatus zelsNormalizeInRangeMinMax_16s8u(const Zel16s* pSrc, Zel8u* pDst, int len, Zel16s min,
                                                     Zel16s max, Zel32f lowerRatio, Zel32f upperRatio, Zel32f range) {
    return normalizeInRangeMinMax(pSrc, pDst, len, min, max, lowerRatio, upperRatio, range);
}

// ---- Entropy: a negative element stops the call before anything else -------------------
ZELSR_API ZelStatus zelsEntropy_32f(const Zel32f* pSrc, int len, Zel32f* pRes) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pRes), requirePositive(len))) return s;
    if (cond::anyNegative(pSrc, len)) {
        *pRes = negativeQuietNaN32f();
        return zelStsLnNegArg;
    }
    *pRes = cond::entropy(pSrc, len);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsEntropy_16s32s_Sfs(const Zel16s* pSrc, int srcShift, int len, Zel32s* pRes, int scaleFactor) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pRes), requirePositive(len))) return s;
    if (cond::anyNegative(pSrc, len)) return zelStsLnNegArg;
    *pRes = cond::entropy(pSrc, srcShift, len, scaleFactor);
    return zelStsNoErr;
}

}  // extern "C"
