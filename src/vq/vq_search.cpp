// SPDX-License-Identifier: Apache-2.0
// VQ search: many vectors by the codebook's own structure (zelsVQ*,
// zelsSplitVQ_*), and one vector ranked against the whole table
// (zelsVQ*Single_Sort_*, zelsVQ*Single_Thresh_*).
#include <float.h>
#include <math.h>
#include <string.h>

#include "frame/checks.hpp"
#include "frame/fixed.hpp"
#include "frame/toolkit.h"
#include "vq/cdbk.hpp"
#include "vq/form_vector_kernels.hpp"
#include "vq/vq_search_kernels.hpp"

using namespace zel;
using namespace zel::vq;
using namespace zel::vq::search;

namespace {

bool knownHint(const Record& r) { return r.hint == kFull || r.hint == kSplitWidest || r.hint == kSplitLargest; }

// Distances as scaled integers, rounded to nearest.
ZelStatus toScaled(const float* d, Zel32s* pDist, int n, int scaleFactor) {
    return ownConvert_32f32s_Sfs(d, pDist, n, 1, scaleFactor);
}

// ---- Many vectors ------------------------------------------------------------------------

// pDist (singles) may be null. A codebook of unknown kind writes nothing.
template <class T>
ZelStatus searchRows(const T* pSrc, int step, Zel32s* pIndx, float* pDist, int height, const Record& r) {
    if (!knownHint(r)) return zelStsNoErr;
    Searcher<T> s(r);
    if (!s.ok()) return zelStsMemAllocErr;
    return s.rows(pSrc, step, height, [&](int y, int32_t idx, float sq) {
        pIndx[y] = idx;
        if (pDist) pDist[y] = sqrtf(sq);
    });
}

template <class T>
ZelStatus vqChecks(const T* pSrc, int step, const Zel32s* pIndx, const void* pDist, int height, const void* pCdbk,
                   const Record*& r) {
    if (ZelStatus s = requireNonNull(pCdbk, pSrc, pIndx, pDist)) return s;
    r = recordOf(pCdbk, kTag<T>);
    if (!r) return zelStsContextMatchErr;
    return firstError(requirePositive(step, height), require(step >= r->width, zelStsSizeErr));
}

// ---- One vector against the table ------------------------------------------------------------

template <class T>
ZelStatus singleChecks(const T* pSrc, const void* p1, const void* p2, const void* pCdbk, Record*& r) {
    if (ZelStatus s = requireNonNull(pSrc, p1, p2, pCdbk)) return s;
    r = const_cast<Record*>(recordOf(pCdbk, kTag<T>));
    return r ? zelStsNoErr : zelStsContextMatchErr;
}

// The nBest nearest: the first minimum each time, then set aside. dist (squared
// distances as found) may be null.
template <class T>
ZelStatus sortNearest(const T* pSrc, Zel32s* pIndx, float* sq, Record& r, int nBest) {
    Searcher<T> s(r);
    if (!s.ok()) return zelStsMemAllocErr;
    s.allDistances(pSrc, r.pScratch);
    for (int k = 0; k < nBest; ++k) {
        float m;
        int at;
        ownMinIndx_32f(r.pScratch, r.nEntries, &m, &at);
        pIndx[k] = at;
        if (sq) sq[k] = m;
        r.pScratch[at] = FLT_MAX;
    }
    return zelStsNoErr;
}

template <class T>
ZelStatus sortForm(const T* pSrc, Zel32s* pIndx, void* pDist, bool scaled, void* pCdbk, int nBest, int scaleFactor) {
    Record* r;
    if (ZelStatus s = singleChecks(pSrc, pIndx, pDist ? pDist : pIndx, pCdbk, r)) return s;
    if (nBest < 1 || nBest > r->nEntries) return zelStsSizeErr;
    Scratch<float> sq{uint64_t(nBest)};
    if (!sq.p) return zelStsMemAllocErr;
    if (ZelStatus s = sortNearest(pSrc, pIndx, sq.p, *r, nBest)) return s;
    if (!pDist) return zelStsNoErr;
    for (int k = 0; k < nBest; ++k) sq.p[k] = sqrtf(sq.p[k]);
    if (scaled) return toScaled(sq.p, static_cast<Zel32s*>(pDist), nBest, scaleFactor);
    memcpy(pDist, sq.p, sizeof(float) * size_t(nBest));
    return zelStsNoErr;
}

// Every codeword within val times the distance of the codeword that the
// search finds, in ascending distance.
enum class ThreshOut { Index, Dist, Scaled };

template <class T>
ZelStatus threshForm(const T* pSrc, Zel32s* pIndx, void* pDist, ThreshOut out, void* pCdbk, Zel32f val, int* pNum,
                     int scaleFactor) {
    Record* r;
    if (ZelStatus s = requireNonNull(pSrc, pIndx, pCdbk, pNum)) return s;
    if (out != ThreshOut::Index)
        if (ZelStatus s = requireNonNull(pDist)) return s;
    if (ZelStatus s = singleChecks(pSrc, pIndx, pNum, pCdbk, r)) return s;
    if (!(val >= 1.0f)) return zelStsBadArgErr;

    // The distance of the searched codeword; its status is not examined, and
    // a search that finds nothing leaves the largest distance.
    int32_t idx = -1;
    float sq = FLT_MAX;
    if (knownHint(*r)) {
        Searcher<T> s(*r);
        if (!s.ok()) return zelStsMemAllocErr;
        s.one(pSrc, idx, sq);
    }
    float d = sqrtf(sq);
    int32_t limitInt = 0;
    if (out == ThreshOut::Scaled) {
        // The found distance as the scaled integer the Dist form would give,
        // and back; the limit stays in the scaled units.
        Zel32s di;
        toScaled(&d, &di, 1, scaleFactor);
        // 2^scaleFactor; the clamp of the scale makes INT_MAX stand in for -INT_MIN.
        const float scale = ownScaleValue_32f(scaleFactor == INT32_MIN ? INT32_MAX : -scaleFactor);
        d = float(di) * scale;
        const float lim = float(di) * val;
        limitInt = lim >= 2147483647.0f ? INT32_MAX : (lim <= -2147483648.0f ? INT32_MIN : int32_t(lim));
    }
    const float L = d * d * (val * val);

    Searcher<T> s(*r);
    if (!s.ok()) return zelStsMemAllocErr;
    s.allDistances(pSrc, r->pScratch);
    int count = 0;
    if (!(double(L) * 1.000001 < 0.0)) {
        // One entry taken per step, so the walk ends even when the limit is
        // infinite and scaled distances above it are skipped.
        for (int taken = 0; taken < r->nEntries; ++taken) {
            float m;
            int at;
            ownMinIndx_32f(r->pScratch, r->nEntries, &m, &at);
            r->pScratch[at] = FLT_MAX;
            if (double(m) > double(L) * 1.000001) break;
            const float root = sqrtf(m);
            if (out == ThreshOut::Scaled) {
                Zel32s ri;
                toScaled(&root, &ri, 1, scaleFactor);
                if (ri > limitInt) continue;
                static_cast<Zel32s*>(pDist)[count] = ri;
            } else if (out == ThreshOut::Dist) {
                static_cast<float*>(pDist)[count] = root;
            }
            pIndx[count++] = at;
        }
    }
    *pNum = count;
    return zelStsNoErr;
}

// ---- Split VQ --------------------------------------------------------------------------------

enum class Dst { Shorts, Bytes, Bits };

template <class T, Dst D, class Out, class State>
ZelStatus splitVQ(const T* pSrc, int srcStep, Out* pDst, int dstStep, int height, const State** ppCdbks, int nStreams) {
    if (ZelStatus s = firstError(requireNonNull(ppCdbks, pSrc, pDst), requirePositive(srcStep, dstStep, height, nStreams),
                                 require(D == Dst::Bits || nStreams <= dstStep, zelStsSizeErr)))
        return s;
    for (int s = 0; s < nStreams; ++s)
        if (!ppCdbks[s]) return zelStsNullPtrErr;
    int64_t widths = 0, bits = 0;
    for (int s = 0; s < nStreams; ++s) {
        const Record* c = recordOf(ppCdbks[s], kTag<T>);
        if (!c) return zelStsContextMatchErr;
        widths += c->width;
        bits += c->levels;
    }
    if (widths > srcStep) return zelStsSizeErr;
    if (D == Dst::Bits && bits > dstStep) return zelStsSizeErr;

    Scratch<int32_t> ind;
    if (D == Dst::Bits) {
        if (!ind.alloc(size_t(height) * size_t(nStreams))) return zelStsMemAllocErr;
        memset(pDst, 0, size_t((int64_t(height) * dstStep + 7) / 8));
        memset(ind.p, 0, sizeof(int32_t) * size_t(height) * size_t(nStreams));
    }
    int64_t at = 0;
    for (int s = 0; s < nStreams; ++s) {
        const Record& c = *reinterpret_cast<const Record*>(ppCdbks[s]);
        if (knownHint(c)) {
            Searcher<T> sr(c);
            if (!sr.ok()) return zelStsMemAllocErr;
            if (ZelStatus st = sr.rows(pSrc + at, srcStep, height, [&](int y, int32_t idx, float) {
                    if constexpr (D == Dst::Bits) ind.p[int64_t(y) * nStreams + s] = idx;
                    else pDst[int64_t(y) * dstStep + s] = static_cast<Out>(idx);
                }))
                return st;
        }
        at += c.width;
    }
    if constexpr (D == Dst::Bits) {
        for (int y = 0; y < height; ++y) {
            int64_t bit = int64_t(y) * dstStep;
            for (int s = 0; s < nStreams; ++s) {
                const int lv = reinterpret_cast<const Record*>(ppCdbks[s])->levels;
                const uint32_t mask = lv >= 32 ? 0xFFFFFFFFu : ((1u << lv) - 1u);
                form::writeBits(pDst, bit, lv, static_cast<uint32_t>(ind.p[int64_t(y) * nStreams + s]) & mask);
                bit += lv;
            }
        }
    }
    return zelStsNoErr;
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsVQ_32f(const Zel32f* pSrc, int step, Zel32s* pIndx, int height, const ZelCdbkState_32f* pCdbk) {
    const Record* r;
    if (ZelStatus s = vqChecks(pSrc, step, pIndx, pIndx, height, pCdbk, r)) return s;
    return searchRows(pSrc, step, pIndx, nullptr, height, *r);
}
ZELSR_API ZelStatus zelsVQ_16s(const Zel16s* pSrc, int step, Zel32s* pIndx, int height, const ZelCdbkState_16s* pCdbk) {
    const Record* r;
    if (ZelStatus s = vqChecks(pSrc, step, pIndx, pIndx, height, pCdbk, r)) return s;
    return searchRows(pSrc, step, pIndx, nullptr, height, *r);
}
ZELSR_API ZelStatus zelsVQDist_32f(const Zel32f* pSrc, int step, Zel32s* pIndx, Zel32f* pDist, int height,
                                   const ZelCdbkState_32f* pCdbk) {
    const Record* r;
    if (ZelStatus s = vqChecks(pSrc, step, pIndx, pDist, height, pCdbk, r)) return s;
    return searchRows(pSrc, step, pIndx, pDist, height, *r);
}
ZELSR_API ZelStatus zelsVQDist_16s32s_Sfs(const Zel16s* pSrc, int step, Zel32s* pIndx, Zel32s* pDist, int height,
                                          const ZelCdbkState_16s* pCdbk, int scaleFactor) {
    const Record* r;
    if (ZelStatus s = vqChecks(pSrc, step, pIndx, pDist, height, pCdbk, r)) return s;
    if (!knownHint(*r)) return zelStsNoErr;
    Scratch<float> d{uint64_t(height)};
    if (!d.p) return zelStsMemAllocErr;
    const ZelStatus st = searchRows(pSrc, step, pIndx, d.p, height, *r);
    if (st) return st;
    return toScaled(d.p, pDist, height, scaleFactor);
}

ZELSR_API ZelStatus zelsVQSingle_Sort_32f(const Zel32f* pSrc, Zel32s* pIndx, ZelCdbkState_32f* pCdbk, int nBest) {
    return sortForm(pSrc, pIndx, nullptr, false, pCdbk, nBest, 0);
}
ZELSR_API ZelStatus zelsVQSingle_Sort_16s(const Zel16s* pSrc, Zel32s* pIndx, ZelCdbkState_16s* pCdbk, int nBest) {
    return sortForm(pSrc, pIndx, nullptr, false, pCdbk, nBest, 0);
}
ZELSR_API ZelStatus zelsVQDistSingle_Sort_32f(const Zel32f* pSrc, Zel32s* pIndx, Zel32f* pDist,
                                              ZelCdbkState_32f* pCdbk, int nBest) {
    if (ZelStatus s = requireNonNull(pDist)) return s;
    return sortForm(pSrc, pIndx, pDist, false, pCdbk, nBest, 0);
}
ZELSR_API ZelStatus zelsVQDistSingle_Sort_16s32s_Sfs(const Zel16s* pSrc, Zel32s* pIndx, Zel32s* pDist,
                                                     ZelCdbkState_16s* pCdbk, int nBest, int scaleFactor) {
    if (ZelStatus s = requireNonNull(pDist)) return s;
    return sortForm(pSrc, pIndx, pDist, true, pCdbk, nBest, scaleFactor);
}

ZELSR_API ZelStatus zelsVQSingle_Thresh_32f(const Zel32f* pSrc, Zel32s* pIndx, ZelCdbkState_32f* pCdbk, Zel32f val,
                                            int* pNum) {
    return threshForm(pSrc, pIndx, nullptr, ThreshOut::Index, pCdbk, val, pNum, 0);
}
ZELSR_API ZelStatus zelsVQSingle_Thresh_16s(const Zel16s* pSrc, Zel32s* pIndx, ZelCdbkState_16s* pCdbk, Zel32f val,
                                            int* pNum) {
    return threshForm(pSrc, pIndx, nullptr, ThreshOut::Index, pCdbk, val, pNum, 0);
}
ZELSR_API ZelStatus zelsVQDistSingle_Thresh_32f(const Zel32f* pSrc, Zel32s* pIndx, Zel32f* pDist,
                                                ZelCdbkState_32f* pCdbk, Zel32f val, int* pNum) {
    return threshForm(pSrc, pIndx, pDist, ThreshOut::Dist, pCdbk, val, pNum, 0);
}
ZELSR_API ZelStatus zelsVQDistSingle_Thresh_16s32s_Sfs(const Zel16s* pSrc, Zel32s* pIndx, Zel32s* pDist,
                                                       ZelCdbkState_16s* pCdbk, Zel32f val, int* pNum,
                                                       int scaleFactor) {
    return threshForm(pSrc, pIndx, pDist, ThreshOut::Scaled, pCdbk, val, pNum, scaleFactor);
}

ZELSR_API ZelStatus zelsSplitVQ_32f16s(const Zel32f* pSrc, int srcStep, Zel16s* pDst, int dstStep, int height,
                                       const ZelCdbkState_32f** ppCdbks, int nStreams) {
    return splitVQ<Zel32f, Dst::Shorts>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
ZELSR_API ZelStatus zelsSplitVQ_32f8u(const Zel32f* pSrc, int srcStep, Zel8u* pDst, int dstStep, int height,
                                      const ZelCdbkState_32f** ppCdbks, int nStreams) {
    return splitVQ<Zel32f, Dst::Bytes>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
ZELSR_API ZelStatus zelsSplitVQ_32f1u(const Zel32f* pSrc, int srcStep, Zel8u* pDst, int dstStep, int height,
                                      const ZelCdbkState_32f** ppCdbks, int nStreams) {
    return splitVQ<Zel32f, Dst::Bits>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
ZELSR_API ZelStatus zelsSplitVQ_16s16s(const Zel16s* pSrc, int srcStep, Zel16s* pDst, int dstStep, int height,
                                       const ZelCdbkState_16s** ppCdbks, int nStreams) {
    return splitVQ<Zel16s, Dst::Shorts>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
ZELSR_API ZelStatus zelsSplitVQ_16s8u(const Zel16s* pSrc, int srcStep, Zel8u* pDst, int dstStep, int height,
                                      const ZelCdbkState_16s** ppCdbks, int nStreams) {
    return splitVQ<Zel16s, Dst::Bytes>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
ZELSR_API ZelStatus zelsSplitVQ_16s1u(const Zel16s* pSrc, int srcStep, Zel8u* pDst, int dstStep, int height,
                                      const ZelCdbkState_16s** ppCdbks, int nStreams) {
    return splitVQ<Zel16s, Dst::Bits>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}

}  // extern "C"
