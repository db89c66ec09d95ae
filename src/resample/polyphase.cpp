// SPDX-License-Identifier: Apache-2.0
// Polyphase resampler: the fixed-ratio state (size query, layout in caller
// memory, allocating builder with its filter design, filter get and set, the
// run) and the general-ratio state (allocating builder and run), in float and
// 16-bit forms, and their release.
#include <limits.h>
#include <math.h>
#include <stdint.h>
#include <string.h>

#include "frame/checks.hpp"
#include "frame/toolkit.h"
#include "resample/polyphase_kernels.hpp"
#include "zelcore.h"

using namespace zel;
using namespace zel::resample;

namespace {

constexpr int64_t kSizeLimit = 0x7ffffffe;
// The general filter's points must stay under this count.
constexpr double kPointLimit = 268435454.0;

enum class Form { F32, S16 };

ZelStatus checkRolloff(Zel32f rollf, Zel32f alpha) {
    // NaN and an infinite alpha are refused with the values out of range.
    return firstError(require(rollf > 0.0f && rollf <= 1.0f, zelStsBadArgErr),
                      require(alpha >= 1.0f && alpha < INFINITY, zelStsBadArgErr));
}

// Reduced rates and the size of the state that Init lays out.
struct FixedPlan {
    int inRate, outRate;
    int64_t size;
};
FixedPlan planFixed(Form form, int inRate, int outRate, int len, bool shortRows) {
    FixedPlan p{inRate, outRate, 0};
    reduceRates(p.inRate, p.outRate);
    p.size = fixedSize(p.outRate, len, shortRows, form == Form::S16);
    return p;
}

ZelStatus checkFixedSizes(Form form, int inRate, int outRate, int len, int hint, FixedPlan& plan) {
    if (ZelStatus s = firstError(requirePositive(inRate, outRate, len),
                                 require(form == Form::F32 || hint == zelAlgHintFast, zelStsBadArgErr)))
        return s;
    plan = planFixed(form, inRate, outRate, len, form == Form::S16);
    const bool tooLarge = form == Form::F32 ? plan.size >= kSizeLimit : plan.size > kSizeLimit;
    return require(!tooLarge, zelStsSizeErr);
}

ZelStatus fixedGetSize(Form form, int inRate, int outRate, int len, int* pSize, int* pLen, int* pHeight,
                       int hint) {
    FixedPlan plan;
    if (ZelStatus s = firstError(requireNonNull(pSize, pLen, pHeight),
                                 checkFixedSizes(form, inRate, outRate, len, hint, plan)))
        return s;
    *pSize = int(plan.size);
    *pLen = int(rowElements(len));
    *pHeight = plan.outRate;
    return zelStsNoErr;
}

uint32_t accuracyFlag(int hint) { return hint == zelAlgHintAccurate ? kAccurate : kFast; }

ZelStatus fixedInit(Form form, void* pSpec, int inRate, int outRate, int len, int hint) {
    FixedPlan plan;
    if (ZelStatus s = firstError(requireNonNull(pSpec), checkFixedSizes(form, inRate, outRate, len, hint, plan)))
        return s;
    const uint32_t kind = form == Form::F32 ? kKindFixed32f : kKindFixed16s;
    layFixed(pSpec, plan.inRate, plan.outRate, len, form == Form::S16,
             form == Form::S16, kind | (form == Form::F32 ? accuracyFlag(hint) : kFast));
    return zelStsNoErr;
}

// Rounds to the nearest integer, ties to even, whatever the caller's mode.
double nearestEven(double v) {
    double r = floor(v + 0.5);
    if (r - v == 0.5 && fmod(r, 2.0) != 0.0) r -= 1.0;
    return r;
}
Zel16s saturate16(double v) { return Zel16s(v > 32767.0 ? 32767 : (v < -32768.0 ? -32768 : int32_t(v))); }

template <class State>
ZelStatus fixedInitAlloc(Form form, State** ppSpec, int inRate, int outRate, int len, Zel32f rollf, Zel32f alpha,
                         int hint) {
    if (ZelStatus s = firstError(requireNonNull(ppSpec), requirePositive(inRate, outRate, len),
                                 checkRolloff(rollf, alpha)))
        return s;
    // Only the 16-bit form with the fast hint keeps 16-bit taps.
    const bool shortRows = form == Form::S16 && hint != zelAlgHintAccurate;
    const FixedPlan plan = planFixed(form, inRate, outRate, len, shortRows);
    if (plan.size >= kSizeLimit) return zelStsBadArgErr;

    const FixedDesign d = fixedDesign(plan.inRate, plan.outRate, len);
    const int64_t lags = fixedLagCount(plan.outRate, len, d.n);
    if (uint64_t(lags) > SIZE_MAX / 16) return zelStsMemAllocErr;
    double* h = static_cast<double*>(zelMalloc(size_t(lags + 1) * sizeof(double)));
    if (!h) return zelStsMemAllocErr;
    void* mem = zelMalloc(size_t(plan.size));
    if (!mem) {
        zelFree(h);
        return zelStsMemAllocErr;
    }
    const uint32_t kind = form == Form::F32 ? kKindFixed32f : kKindFixed16s;
    const uint32_t acc = form == Form::F32 ? accuracyFlag(hint) : kFast;
    FixedRecord* r = layFixed(mem, plan.inRate, plan.outRate, len, shortRows, form == Form::S16, kind | acc | kOwned);
    designTaps(h, lags, d.n, d.P, rollf, alpha);
    if (shortRows)
        fillRows<Zel16s>(*r, h, d.n, [](double v) { return saturate16(nearestEven(v * 16384.0)); });
    else
        fillRows<Zel32f>(*r, h, d.n, [](double v) { return float(v); });
    zelFree(h);
    *ppSpec = static_cast<State*>(mem);
    return zelStsNoErr;
}

// Any state of this family goes back to the allocator it came from; a state
// laid out in caller memory, a released one or another family's is refused.
ZelStatus release(void* pSpec) {
    if (ZelStatus s = requireNonNull(pSpec)) return s;
    uint32_t* flags = static_cast<uint32_t*>(pSpec);
    const uint32_t kind = *flags & kKindMask;
    const bool ours = kind == kKindFixed32f || kind == kKindFixed16s || kind == kKindGeneral32f ||
                      kind == kKindGeneral16s;
    if (!ours || !(*flags & kOwned)) return zelStsContextMatchErr;
    *flags = 0;
    zelFree(pSpec);
    return zelStsNoErr;
}

const FixedRecord* fixedOf(const void* pSpec, Form form) {
    const uint32_t want = form == Form::F32 ? kKindFixed32f : kKindFixed16s;
    return kindOf(pSpec) == want ? static_cast<const FixedRecord*>(pSpec) : nullptr;
}

// Rows in or out: `height` rows of the caller's array, `step` elements
// apart, each copied with as many taps as a row holds and the step allows;
// rows beyond the state's are left alone.
template <class T>
ZelStatus filterCopy(Form form, const void* pSpec, T* pOut, const T* pIn, int step, int height) {
    if (ZelStatus s = firstError(requireNonNull(pSpec, pOut ? static_cast<const void*>(pOut) : pIn),
                                 requirePositive(step, height)))
        return s;
    const FixedRecord* r = fixedOf(pSpec, form);
    if (!r) return zelStsContextMatchErr;
    if (bool(r->flags & kShortRows) != (sizeof(T) == 2)) return zelStsBadArgErr;
    const int rowLen = 2 * r->halfLen + ((r->flags & kWideRows) ? 4 : 0);
    const int n = step < rowLen ? step : rowLen;
    const int rows = height < r->outRate ? height : r->outRate;
    for (int k = 0; k < rows; ++k) {
        T* row = static_cast<T*>(r->pRows[k]);
        if (pOut)
            memcpy(pOut + int64_t(step) * k, row, size_t(n) * sizeof(T));
        else
            memcpy(row, pIn + int64_t(step) * k, size_t(n) * sizeof(T));
    }
    return zelStsNoErr;
}

template <class S>
ZelStatus fixedRunChecked(Form form, const void* pSpec, const S* pSrc, int len, S* pDst, Zel32f norm,
                          Zel64f* pTime, int* pOutLen) {
    if (ZelStatus s = firstError(requireNonNull(pSpec, pSrc, pDst, pOutLen, pTime), requirePositive(len)))
        return s;
    const FixedRecord* r = fixedOf(pSpec, form);
    if (!r) return zelStsContextMatchErr;
    *pOutLen = fixedRun(*r, pSrc, len, pDst, norm, pTime);
    return zelStsNoErr;
}

// ---- General kind

template <class State>
ZelStatus generalInitAlloc(Form form, State** ppSpec, Zel32f window, int nStep, Zel32f rollf, Zel32f alpha,
                           int hint) {
    if (ZelStatus s = firstError(requireNonNull(ppSpec), requirePositive(nStep))) return s;
    if (ZelStatus s = firstError(require(window >= 2.0f / float(nStep), zelStsBadArgErr),
                                 checkRolloff(rollf, alpha)))
        return s;
    // The 16-bit form first cuts the window to an even number of samples.
    const double e = form == Form::F32 ? double(float(nStep) * window * 0.5f)
                                       : double(nStep) * double(truncf(window * 0.5f));
    if (!(e + 1.0 < kPointLimit)) return zelStsBadArgErr;
    const int64_t n = int64_t(e) + 1;

    double* h = static_cast<double*>(zelMalloc(size_t(n + 1) * sizeof(double)));
    if (!h) return form == Form::F32 ? zelStsMemAllocErr : zelStsNullPtrErr;
    const size_t pointBytes = form == Form::F32 ? 4 : 2;
    const size_t head = (sizeof(GeneralRecord) + 15) & ~size_t(15);
    void* mem = zelMalloc(head + size_t(n + 1) * pointBytes);
    if (!mem) {
        zelFree(h);
        return zelStsMemAllocErr;
    }
    designTaps(h, n, n, nStep, rollf, alpha);

    GeneralRecord* r = static_cast<GeneralRecord*>(mem);
    r->flags = (form == Form::F32 ? kKindGeneral32f : kKindGeneral16s) | accuracyFlag(hint) | kOwned;
    r->reserved = 0;
    r->invStep = 1.0f / float(nStep);
    r->nStep = nStep;
    r->filterLen = int32_t(n);
    r->pFilter = static_cast<unsigned char*>(mem) + head;
    if (form == Form::F32) {
        float* p = static_cast<float*>(r->pFilter);
        for (int64_t i = 0; i < n; ++i) p[i] = float(h[i]);
        p[n] = p[n - 1];
        r->gain = 1.0f;
    } else {
        // Scaled so that the largest magnitude is 16383.
        double m = 0.0;
        for (int64_t i = 0; i < n; ++i) m = fabs(h[i]) > m ? fabs(h[i]) : m;
        const double scale = m > 0 ? 16383.0 / m : 0.0;
        Zel16s* p = static_cast<Zel16s*>(r->pFilter);
        for (int64_t i = 0; i < n; ++i) p[i] = saturate16(nearestEven(h[i] * scale));
        p[n] = p[n - 1];
        r->gain = float(m / 16383.0);
    }
    zelFree(h);
    *ppSpec = static_cast<State*>(mem);
    return zelStsNoErr;
}

template <class S, class H>
ZelStatus generalRunChecked(Form form, const void* pSpec, const S* pSrc, int len, S* pDst, Zel64f factor,
                            Zel32f norm, Zel64f* pTime, int* pOutLen) {
    if (ZelStatus s = firstError(requireNonNull(pSpec, pTime, pSrc, pDst, pOutLen),
                                 require(factor > 0.0, zelStsSizeErr), requirePositive(len)))
        return s;
    const uint32_t want = form == Form::F32 ? kKindGeneral32f : kKindGeneral16s;
    if (kindOf(pSpec) != want) return zelStsContextMatchErr;
    *pOutLen = generalRun<S, H>(*static_cast<const GeneralRecord*>(pSpec), pSrc, len, pDst, factor, norm, pTime);
    return zelStsNoErr;
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsResamplePolyphaseFixedGetSize_32f(int inRate, int outRate, int len, int* pSize, int* pLen,
                                                          int* pHeight, ZelHintAlgorithm hint) {
    return fixedGetSize(Form::F32, inRate, outRate, len, pSize, pLen, pHeight, hint);
}
ZELSR_API ZelStatus zelsResamplePolyphaseFixedGetSize_16s(int inRate, int outRate, int len, int* pSize, int* pLen,
                                                          int* pHeight, ZelHintAlgorithm hint) {
    return fixedGetSize(Form::S16, inRate, outRate, len, pSize, pLen, pHeight, hint);
}

ZELSR_API ZelStatus zelsResamplePolyphaseFixedInit_32f(ZelResamplingPolyphaseFixed* pSpec, int inRate,
                                                       int outRate, int len, ZelHintAlgorithm hint) {
    return fixedInit(Form::F32, pSpec, inRate, outRate, len, hint);
}
ZELSR_API ZelStatus zelsResamplePolyphaseFixedInit_16s(ZelResamplingPolyphaseFixed* pSpec, int inRate,
                                                       int outRate, int len, ZelHintAlgorithm hint) {
    return fixedInit(Form::S16, pSpec, inRate, outRate, len, hint);
}

ZELSR_API ZelStatus zelsResamplePolyphaseFixedInitAlloc_32f(ZelResamplingPolyphaseFixed** ppSpec, int inRate,
                                                            int outRate, int len, Zel32f rollf, Zel32f alpha,
                                                            ZelHintAlgorithm hint) {
    return fixedInitAlloc(Form::F32, ppSpec, inRate, outRate, len, rollf, alpha, hint);
}
ZELSR_API ZelStatus zelsResamplePolyphaseFixedInitAlloc_16s(ZelResamplingPolyphaseFixed** ppSpec, int inRate,
                                                            int outRate, int len, Zel32f rollf, Zel32f alpha,
                                                            ZelHintAlgorithm hint) {
    return fixedInitAlloc(Form::S16, ppSpec, inRate, outRate, len, rollf, alpha, hint);
}

ZELSR_API ZelStatus zelsResamplePolyphaseFixedFree_32f(ZelResamplingPolyphaseFixed* pSpec) { return release(pSpec); }
ZELSR_API ZelStatus zelsResamplePolyphaseFixedFree_16s(ZelResamplingPolyphaseFixed* pSpec) { return release(pSpec); }

ZELSR_API ZelStatus zelsResamplePolyphaseGetFixedFilter_32f(const ZelResamplingPolyphaseFixed* pSpec, Zel32f* pDst,
                                                            int step, int height) {
    return filterCopy<Zel32f>(Form::F32, pSpec, pDst, nullptr, step, height);
}
ZELSR_API ZelStatus zelsResamplePolyphaseGetFixedFilter_16s(const ZelResamplingPolyphaseFixed* pSpec, Zel16s* pDst,
                                                            int step, int height) {
    return filterCopy<Zel16s>(Form::S16, pSpec, pDst, nullptr, step, height);
}
ZELSR_API ZelStatus zelsResamplePolyphaseSetFixedFilter_32f(ZelResamplingPolyphaseFixed* pSpec, const Zel32f* pSrc,
                                                            int step, int height) {
    return filterCopy<Zel32f>(Form::F32, pSpec, nullptr, pSrc, step, height);
}
ZELSR_API ZelStatus zelsResamplePolyphaseSetFixedFilter_16s(ZelResamplingPolyphaseFixed* pSpec, const Zel16s* pSrc,
                                                            int step, int height) {
    return filterCopy<Zel16s>(Form::S16, pSpec, nullptr, pSrc, step, height);
}

ZELSR_API ZelStatus zelsResamplePolyphaseFixed_32f(const ZelResamplingPolyphaseFixed* pSpec, const Zel32f* pSrc,
                                                   int len, Zel32f* pDst, Zel32f norm, Zel64f* pTime,
                                                   int* pOutLen) {
    return fixedRunChecked(Form::F32, pSpec, pSrc, len, pDst, norm, pTime, pOutLen);
}
ZELSR_API ZelStatus zelsResamplePolyphaseFixed_16s(const ZelResamplingPolyphaseFixed* pSpec, const Zel16s* pSrc,
                                                   int len, Zel16s* pDst, Zel32f norm, Zel64f* pTime,
                                                   int* pOutLen) {
    return fixedRunChecked(Form::S16, pSpec, pSrc, len, pDst, norm, pTime, pOutLen);
}

ZELSR_API ZelStatus zelsResamplePolyphaseInitAlloc_32f(ZelResamplingPolyphase** ppSpec, Zel32f window, int nStep,
                                                       Zel32f rollf, Zel32f alpha, ZelHintAlgorithm hint) {
    return generalInitAlloc(Form::F32, ppSpec, window, nStep, rollf, alpha, hint);
}
ZELSR_API ZelStatus zelsResamplePolyphaseInitAlloc_16s(ZelResamplingPolyphase** ppSpec, Zel32f window, int nStep,
                                                       Zel32f rollf, Zel32f alpha, ZelHintAlgorithm hint) {
    return generalInitAlloc(Form::S16, ppSpec, window, nStep, rollf, alpha, hint);
}

ZELSR_API ZelStatus zelsResamplePolyphaseFree_32f(ZelResamplingPolyphase* pSpec) { return release(pSpec); }
ZELSR_API ZelStatus zelsResamplePolyphaseFree_16s(ZelResamplingPolyphase* pSpec) { return release(pSpec); }

ZELSR_API ZelStatus zelsResamplePolyphase_32f(const ZelResamplingPolyphase* pSpec, const Zel32f* pSrc, int len,
                                              Zel32f* pDst, Zel64f factor, Zel32f norm, Zel64f* pTime,
                                              int* pOutLen) {
    return generalRunChecked<Zel32f, Zel32f>(Form::F32, pSpec, pSrc, len, pDst, factor, norm, pTime, pOutLen);
}
ZELSR_API ZelStatus zelsResamplePolyphase_16s(const ZelResamplingPolyphase* pSpec, const Zel16s* pSrc, int len,
                                              Zel16s* pDst, Zel64f factor, Zel32f norm, Zel64f* pTime,
                                              int* pOutLen) {
    return generalRunChecked<Zel16s, Zel16s>(Form::S16, pSpec, pSrc, len, pDst, factor, norm, pTime, pOutLen);
}

}  // extern "C"
