// SPDX-License-Identifier: Apache-2.0
// Codebooks: the size query and the builder in caller memory (full codebooks
// only), the allocating builders (full codebooks with an optional cell grid,
// or trained trees), release, and the two read-back functions.
#include <limits.h>
#include <stdint.h>
#include <math.h>
#include <string.h>

#include "frame/checks.hpp"
#include "vq/cdbk.hpp"
#include "vq/cdbk_kernels.hpp"

using namespace zel;
using namespace zel::vq;
using namespace zel::vq::build;

namespace {

// ---- Caller memory -------------------------------------------------------------------

// The size formulas count pointers as 4 bytes; on 64-bit builds the record's
// wider pointers and padding take at most this much more.
constexpr int64_t kPointerExcess = sizeof(void*) == 8 ? 24 : 0;

int64_t roundUp(int64_t v, int64_t m) { return (v + m - 1) / m * m; }

template <class T>
int64_t callerStride(int width, int step) {
    return (width == 1 || width == 2 || width == 4) ? width : roundUp(step, 8);
}

template <class T>
int64_t callerSize(int width, int step, int cdbkSize) {
    const int64_t rs = callerStride<T>(width, step);
    if constexpr (sizeof(T) == 4) return 4 * (width + int64_t(cdbkSize) + rs * cdbkSize) + 144 + kPointerExcess;
    else return 4 * int64_t(cdbkSize) + 176 + 2 * (rs * cdbkSize + width) + kPointerExcess;
}

// Checks shared by the size query and the builder in caller memory; the
// pointers are tested by the caller between the hint and the sizes.
template <class T>
ZelStatus callerSizes(int width, int step, int height, int cdbkSize) {
    if (ZelStatus s = firstError(requirePositive(width, step, height, cdbkSize),
                                 require(width <= step && cdbkSize <= 16383 && cdbkSize == height, zelStsSizeErr)))
        return s;
    return require(callerSize<T>(width, step, cdbkSize) <= INT_MAX, zelStsSizeErr);
}

ZelStatus callerHint(int hint) {
    return hint == kSplitWidest || hint == kSplitLargest ? zelStsCdbkFlagErr : zelStsNoErr;
}

template <class T>
ZelStatus getSize(int width, int step, int height, int cdbkSize, int hint, int* pSize) {
    if (ZelStatus s = firstError(callerHint(hint), requireNonNull(pSize), callerSizes<T>(width, step, height, cdbkSize)))
        return s;
    *pSize = int(callerSize<T>(width, step, cdbkSize));
    return zelStsNoErr;
}

Zel8u* align32(Zel8u* p) { return reinterpret_cast<Zel8u*>((reinterpret_cast<uintptr_t>(p) + 31) & ~uintptr_t(31)); }

template <class T>
void copyRows(const T* pSrc, int step, int height, int width, T* table, int64_t rs) {
    for (int i = 0; i < height; ++i) {
        memcpy(table + i * rs, pSrc + int64_t(i) * step, sizeof(T) * size_t(width));
        memset(table + i * rs + width, 0, sizeof(T) * size_t(rs - width));
    }
}

// Record, then table, weights and scratch, each on a 32-byte boundary.
template <class T, class State>
ZelStatus initCaller(State* pCdbk, const T* pSrc, int width, int step, int height, int cdbkSize, int hint) {
    if (ZelStatus s = firstError(callerHint(hint), requireNonNull(pCdbk, pSrc),
                                 callerSizes<T>(width, step, height, cdbkSize)))
        return s;
    const int64_t rs = callerStride<T>(width, step);
    Record* r = reinterpret_cast<Record*>(pCdbk);
    Zel8u* base = reinterpret_cast<Zel8u*>(pCdbk);
    T* table = reinterpret_cast<T*>(align32(base + sizeof(Record)));
    T* weights = reinterpret_cast<T*>(align32(reinterpret_cast<Zel8u*>(table + rs * cdbkSize)));
    float* scratch = reinterpret_cast<float*>(align32(reinterpret_cast<Zel8u*>(weights + width)));
    memset(r, 0, sizeof(Record));
    copyRows(pSrc, step, height, width, table, rs);
    for (int j = 0; j < width; ++j) weights[j] = T(1);
    memset(scratch, 0, sizeof(float) * size_t(cdbkSize));
    r->depth = cdbkSize - 1;
    r->nEntries = height;
    r->width = width;
    r->rowStride = int32_t(rs);
    r->hint = hint;
    r->pTable = table;
    r->pWeights = weights;
    // Written although no packing form may rely on it for such a codebook.
    r->levels = indexBits(height);
    r->pScratch = scratch;
    r->owned = 0;
    r->tag = kTag<T>;
    return zelStsNoErr;
}

// ---- Allocating builder --------------------------------------------------------------------

template <class T>
int64_t ownedStride(int width, int step, int hint) {
    if constexpr (sizeof(T) == 4) {
        if (hint == kFull && (width == 1 || width == 2 || width == 4 || width == 8)) return width;
        return roundUp(step, 4);
    } else {
        if (hint == kFull && (width == 1 || width == 2 || width == 4)) return width;
        return roundUp(step, 8);
    }
}

template <class T>
T* allocElems(int64_t n) {
    if (n > int64_t((SIZE_MAX - 64) / sizeof(T))) return nullptr;
    T* p = static_cast<T*>(zelMalloc(size_t(n < 1 ? 1 : n) * sizeof(T)));
    if (p) memset(p, 0, size_t(n < 1 ? 1 : n) * sizeof(T));
    return p;
}

// Steps after training: table rows, depth, inner centroids, neighbour lists
// and the packed blocks.
template <class T>
ZelStatus finishTree(OwnedRecord* o, Trainer<T>& t, int n) {
    Record& r = o->r;
    const int width = r.width;
    T* table = static_cast<T*>(r.pTable);
    int depth = 1;
    for (int i = 0; i < t.nodes; ++i) depth = t.pool[i].nodeDepth > depth ? t.pool[i].nodeDepth : depth;
    for (int p = 0; p < n; ++p) {
        t.leaf[p]->index = p;
        memcpy(table + int64_t(p) * r.rowStride, t.leaf[p]->pCentroid, sizeof(T) * size_t(width));
    }
    r.depth = depth;
    r.nEntries = n;
    r.levels = indexBits(n);
    r.pRoot = t.pool;

    // Inner centroids from their children, weighted by the members each
    // child holds: children are made after their parent, so the pool read
    // backwards meets every child before its parent.
    for (int i = t.nodes - 1; i >= 0; --i) {
        Node* nd = t.pool + i;
        if (nd->isLeaf) continue;
        const Node* a = nd->pLeft;
        const Node* b = nd->pRight;
        T* c = static_cast<T*>(nd->pCentroid);
        const int total = a->count + b->count;
        for (int j = 0; j < width; ++j) {
            if constexpr (sizeof(T) == 4) {
                float s = 0;
                for (int k = 0; k < a->count; ++k) s = s + static_cast<const float*>(a->pCentroid)[j];
                for (int k = 0; k < b->count; ++k) s = s + static_cast<const float*>(b->pCentroid)[j];
                c[j] = total > 0 ? s / float(total) : 0.0f;
            } else {
                double s = double(static_cast<const Zel16s*>(a->pCentroid)[j]) * a->count +
                           double(static_cast<const Zel16s*>(b->pCentroid)[j]) * b->count;
                const double m = total > 0 ? s / double(total) : 0.0;
                c[j] = sat16(int64_t(m));
            }
        }
    }

    // Neighbour lists: the K nearest other leaves, first minimum by position
    // each time; when fewer leaves exist the list repeats the last.
    int K = 0;
    if (n >= 3) {
        K = int(log(double(n)) / log(2.0));
        K = K > 4 ? K : 4;
        if (double(n) > pow(2.0, K)) ++K;
    }
    const bool fast = width == 1 || width == 2 || width == 4 || width == 8;
    int inner = 0;
    for (int i = 0; i < t.nodes; ++i) inner += t.pool[i].isLeaf ? 0 : 1;
    if (K > 0) {
        o->neighbourPool = static_cast<Node**>(zelMalloc(size_t(n) * size_t(K) * sizeof(Node*)));
        if (!o->neighbourPool) return zelStsMemAllocErr;
    }
    if (fast) {
        o->fastPool = allocElems<FastBlock>(t.nodes);
        o->quadPool = allocElems<T>((int64_t(inner) * 4 + int64_t(n) * K) * width);
        if (!o->fastPool || !o->quadPool) return zelStsMemAllocErr;
    }
    if (K > 0) {
        Scratch<float> tf{uint64_t(n) * uint64_t(width)};
        Scratch<float> dd{uint64_t(n)};
        if (!tf.p || !dd.p) return zelStsMemAllocErr;
        for (int p = 0; p < n; ++p) toFloat(table + int64_t(p) * r.rowStride, tf.p + int64_t(p) * width, width);
        for (int p = 0; p < n; ++p) {
            Node* lf = t.leaf[p];
            sqDistances(tf.p, width, tf.p + int64_t(p) * width, t.w, width, n, dd.p);
            dd.p[p] = FLT_MAX;
            lf->ppNeighbours = o->neighbourPool + int64_t(p) * K;
            lf->nNeighbours = K;
            int last = p;
            for (int k = 0; k < K; ++k) {
                if (k < n - 1) {
                    int at = 0;
                    for (int q = 1; q < n; ++q)
                        if (dd.p[q] < dd.p[at]) at = q;
                    dd.p[at] = FLT_MAX;
                    last = at;
                }
                lf->ppNeighbours[k] = t.leaf[last];
            }
        }
    }
    if (fast) {
        T* q = static_cast<T*>(o->quadPool);
        for (int i = 0; i < t.nodes; ++i) {
            Node* nd = t.pool + i;
            nd->pFast = o->fastPool + i;
            if (!nd->isLeaf) {
                const Node* four[4] = {nd->pLeft->isLeaf ? nd->pLeft : nd->pLeft->pLeft,
                                       nd->pLeft->isLeaf ? nd->pLeft : nd->pLeft->pRight,
                                       nd->pRight->isLeaf ? nd->pRight : nd->pRight->pLeft,
                                       nd->pRight->isLeaf ? nd->pRight : nd->pRight->pRight};
                nd->pFast->pQuad = q;
                for (int k = 0; k < 4; ++k, q += width) memcpy(q, four[k]->pCentroid, sizeof(T) * size_t(width));
            } else if (nd->nNeighbours > 0) {
                nd->pFast->pNeighbourCentroids = q;
                nd->pFast->ppNeighbourNodes = nd->ppNeighbours;
                for (int k = 0; k < nd->nNeighbours; ++k, q += width)
                    memcpy(q, nd->ppNeighbours[k]->pCentroid, sizeof(T) * size_t(width));
            }
        }
    }
    return zelStsNoErr;
}

template <class T>
ZelStatus trainTree(OwnedRecord* o, const T* pSrc, int step, int height, int cdbkSize, int hint) {
    const int width = o->r.width;
    const int64_t cap = int64_t(cdbkSize) + 1;
    const int64_t nodes = 2 * int64_t(cdbkSize) + 1;
    Scratch<float> x{uint64_t(height) * uint64_t(width)};
    Scratch<float> wf{uint64_t(width)};
    Scratch<Node*> leaf{uint64_t(cap)};
    Scratch<int32_t> assign{uint64_t(height)};
    Scratch<float> dist{uint64_t(height)};
    Scratch<float> cf{uint64_t(cap) * uint64_t(width)};
    Scratch<double> mean{sizeof(T) == 2 ? uint64_t(cap) * uint64_t(width) : 1};
    Scratch<double> sum64{sizeof(T) == 2 ? uint64_t(cap) * uint64_t(width) : 1};
    Scratch<float> sum32{sizeof(T) == 4 ? uint64_t(cap) * uint64_t(width) : 1};
    Scratch<float> dtmp{uint64_t(cap)};
    o->nodePool = allocElems<Node>(nodes);
    o->centroidPool = allocElems<T>(nodes * width);
    if (!x.p || !wf.p || !leaf.p || !assign.p || !dist.p || !cf.p || !mean.p || !sum64.p || !sum32.p || !dtmp.p ||
        !o->nodePool || !o->centroidPool)
        return zelStsMemAllocErr;
    for (int i = 0; i < height; ++i) toFloat(pSrc + int64_t(i) * step, x.p + int64_t(i) * width, width);
    toFloat(static_cast<const T*>(o->r.pWeights), wf.p, width);
    Trainer<T> t{x.p, (o->r.flags & kWeighted) ? wf.p : nullptr, width, height, cdbkSize, hint,
                 leaf.p, assign.p, dist.p, cf.p, mean.p, sum64.p, sum32.p, dtmp.p, o->nodePool, 0,
                 static_cast<T*>(o->centroidPool)};
    int n = 1;
    const ZelStatus st = train(t, pSrc, step, &n);
    if (st < 0) return st;
    if (ZelStatus s = finishTree(o, t, n)) return s;
    return st;
}

// The argument tests of the training builders, taken before any memory is
// allocated for them.
template <class T, class State>
ZelStatus trainingChecks(State** ppCdbk, const T* pSrc, const T* pWeights, int width, int step, int height,
                         int cdbkSize) {
    return firstError(requireNonNull(ppCdbk, pSrc, pWeights), requirePositive(width, step, height, cdbkSize),
                      require(width <= step && cdbkSize <= 16383 && cdbkSize <= height, zelStsSizeErr));
}

template <class T, class State>
ZelStatus initAlloc(State** ppCdbk, const T* pSrc, const T* pWeights, int width, int step, int height, int cdbkSize,
                    int hint) {
    if (ZelStatus s = trainingChecks(ppCdbk, pSrc, pWeights, width, step, height, cdbkSize)) return s;
    for (int j = 0; j < width; ++j)
        if (pWeights[j] < T(0)) return zelStsBadArgErr;
    // NaN weights are no weights below 0, but no distance could use them.
    for (int j = 0; j < width; ++j)
        if (!(pWeights[j] == pWeights[j])) return zelStsBadArgErr;

    const int64_t rs = ownedStride<T>(width, step, hint);
    if (rs > INT_MAX) return zelStsMemAllocErr;
    const int64_t rows = hint == kFull ? height : cdbkSize;
    OwnedRecord* o = allocElems<OwnedRecord>(1);
    if (!o) return zelStsMemAllocErr;
    Record& r = o->r;
    r.width = width;
    r.rowStride = int32_t(rs);
    r.hint = hint;
    r.owned = 1;
    r.pTable = allocElems<T>(rs * rows);
    r.pWeights = allocElems<T>(width);
    r.pScratch = allocElems<float>(rows);
    if (!r.pTable || !r.pWeights || !r.pScratch) {
        releasePools(o);
        return zelStsMemAllocErr;
    }
    bool ones = true;
    for (int j = 0; j < width; ++j) {
        static_cast<T*>(r.pWeights)[j] = pWeights[j];
        ones = ones && pWeights[j] == T(1);
    }
    r.flags = ones ? 0 : kWeighted;

    ZelStatus status = zelStsNoErr;
    if (hint == kFull) {
        r.nEntries = height;
        r.depth = height - 1;
        r.levels = indexBits(height);
        copyRows(pSrc, step, height, width, static_cast<T*>(r.pTable), rs);
        status = cdbkSize == height ? zelStsNoErr : zelStsCdbkSizeWarn;
        if ((width == 1 || width == 2) && height >= 11) {
            Scratch<float> v{uint64_t(height) * uint64_t(width)};
            Scratch<float> wf{uint64_t(width)};
            ZelStatus g = v.p && wf.p ? zelStsNoErr : zelStsMemAllocErr;
            if (!g) {
                for (int i = 0; i < height; ++i) toFloat(pSrc + int64_t(i) * step, v.p + int64_t(i) * width, width);
                toFloat(pWeights, wf.p, width);
                g = width == 1 ? grid1(o, v.p, height) : grid2(o, v.p, height, wf.p);
            }
            if (g) {
                releasePools(o);
                return g;
            }
        }
    } else if (hint == kSplitWidest || hint == kSplitLargest) {
        status = trainTree(o, pSrc, step, height, cdbkSize, hint);
        if (status < 0) {
            releasePools(o);
            return status;
        }
    } else {
        releasePools(o);
        return zelStsCdbkFlagErr;
    }
    r.tag = kTag<T>;
    *ppCdbk = reinterpret_cast<State*>(o);
    return status;
}

template <class T, class State>
ZelStatus initAllocUnweighted(State** ppCdbk, const T* pSrc, int width, int step, int height, int cdbkSize, int hint) {
    if (width < 1) return zelStsSizeErr;
    // The unit weights are ours: pSrc stands in for them in the null test.
    if (ZelStatus s = trainingChecks(ppCdbk, pSrc, pSrc, width, step, height, cdbkSize)) return s;
    T* ones = allocElems<T>(width);
    if (!ones) return zelStsMemAllocErr;
    for (int j = 0; j < width; ++j) ones[j] = T(1);
    const ZelStatus s = initAlloc(ppCdbk, pSrc, ones, width, step, height, cdbkSize, hint);
    zelFree(ones);
    return s;
}

// ---- Release and read-back ----------------------------------------------------------------

ZelStatus release(void* pCdbk, Zel32u tag) {
    if (ZelStatus s = requireNonNull(pCdbk)) return s;
    Record* r = static_cast<Record*>(pCdbk);
    if (r->tag != tag) return zelStsContextMatchErr;
    if (!r->pTable) return zelStsNullPtrErr;
    if (r->hint != kFull && r->hint != kSplitWidest && r->hint != kSplitLargest) return zelStsCdbkKindErr;
    if (r->owned) releasePools(reinterpret_cast<OwnedRecord*>(r));
    else r->tag = kTagNone;  // caller memory: the caller releases it
    return zelStsNoErr;
}

ZelStatus entries(const void* pCdbk, int* pNum, Zel32u tag) {
    if (ZelStatus s = requireNonNull(pCdbk, pNum)) return s;
    const Record* r = recordOf(pCdbk, tag);
    if (!r) return zelStsContextMatchErr;
    *pNum = r->nEntries;
    return zelStsNoErr;
}

template <class T>
ZelStatus codebook(const void* pCdbk, T* pDst, int step) {
    if (ZelStatus s = requireNonNull(pCdbk, pDst)) return s;
    const Record* r = recordOf(pCdbk, kTag<T>);
    if (!r) return zelStsContextMatchErr;
    if (step < 1 || step < r->width) return zelStsSizeErr;
    for (int i = 0; i < r->nEntries; ++i)
        memcpy(pDst + int64_t(i) * step, tableRow<T>(*r, i), sizeof(T) * size_t(r->width));
    return zelStsNoErr;
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsCdbkGetSize_32f(int width, int step, int height, int cdbkSize, int hint, int* pSize) {
    return getSize<Zel32f>(width, step, height, cdbkSize, hint, pSize);
}
ZELSR_API ZelStatus zelsCdbkGetSize_16s(int width, int step, int height, int cdbkSize, int hint, int* pSize) {
    return getSize<Zel16s>(width, step, height, cdbkSize, hint, pSize);
}
ZELSR_API ZelStatus zelsCdbkInit_L2_32f(ZelCdbkState_32f* pCdbk, const Zel32f* pSrc, int width, int step, int height,
                                        int cdbkSize, int hint) {
    return initCaller(pCdbk, pSrc, width, step, height, cdbkSize, hint);
}
ZELSR_API ZelStatus zelsCdbkInit_L2_16s(ZelCdbkState_16s* pCdbk, const Zel16s* pSrc, int width, int step, int height,
                                        int cdbkSize, int hint) {
    return initCaller(pCdbk, pSrc, width, step, height, cdbkSize, hint);
}
ZELSR_API ZelStatus zelsCdbkInitAlloc_L2_32f(ZelCdbkState_32f** ppCdbk, const Zel32f* pSrc, int width, int step,
                                             int height, int cdbkSize, int hint) {
    return initAllocUnweighted(ppCdbk, pSrc, width, step, height, cdbkSize, hint);
}
ZELSR_API ZelStatus zelsCdbkInitAlloc_L2_16s(ZelCdbkState_16s** ppCdbk, const Zel16s* pSrc, int width, int step,
                                             int height, int cdbkSize, int hint) {
    return initAllocUnweighted(ppCdbk, pSrc, width, step, height, cdbkSize, hint);
}
ZELSR_API ZelStatus zelsCdbkInitAlloc_WgtL2_32f(ZelCdbkState_32f** ppCdbk, const Zel32f* pSrc, const Zel32f* pWeights,
                                                int width, int step, int height, int cdbkSize, int hint) {
    return initAlloc(ppCdbk, pSrc, pWeights, width, step, height, cdbkSize, hint);
}
ZELSR_API ZelStatus zelsCdbkInitAlloc_WgtL2_16s(ZelCdbkState_16s** ppCdbk, const Zel16s* pSrc, const Zel16s* pWeights,
                                                int width, int step, int height, int cdbkSize, int hint) {
    return initAlloc(ppCdbk, pSrc, pWeights, width, step, height, cdbkSize, hint);
}
ZELSR_API ZelStatus zelsCdbkFree_32f(ZelCdbkState_32f* pCdbk) { return release(pCdbk, kTag32f); }
ZELSR_API ZelStatus zelsCdbkFree_16s(ZelCdbkState_16s* pCdbk) { return release(pCdbk, kTag16s); }
ZELSR_API ZelStatus zelsGetCdbkSize_32f(const ZelCdbkState_32f* pCdbk, int* pNum) { return entries(pCdbk, pNum, kTag32f); }
ZELSR_API ZelStatus zelsGetCdbkSize_16s(const ZelCdbkState_16s* pCdbk, int* pNum) { return entries(pCdbk, pNum, kTag16s); }
ZELSR_API ZelStatus zelsGetCodebook_32f(const ZelCdbkState_32f* pCdbk, Zel32f* pDst, int step) {
    return codebook(pCdbk, pDst, step);
}
ZELSR_API ZelStatus zelsGetCodebook_16s(const ZelCdbkState_16s* pCdbk, Zel16s* pDst, int step) {
    return codebook(pCdbk, pDst, step);
}

}  // extern "C"
