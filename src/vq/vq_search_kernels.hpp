// SPDX-License-Identifier: Apache-2.0
// The search of one vector in a codebook: a linear scan of the table, a scan
// of one grid cell's list, or a descent of the tree followed by a walk over
// neighbouring leaves. Codewords are scored by frame scoring (cdbk.hpp):
// squared distances for the scans and the unweighted tree, the weighted
// log-likelihood scores of the weighted tree, with the codeword as the
// observation and the query as the mean.
//
// A Searcher holds the working memory of one call and serves every vector
// of it; it only reads the codebook. The vectors of a call against a full
// table without grid are scanned a block at a time (vq_scan_kernels.hpp, on
// the widest instruction set the processor has), with the indices and
// distances of the one-vector scan. The codebook's own layout is fixed by
// its record and its caller-sized form, so it is the block of queries that
// is laid out column by column, once per block.
#pragma once

#include <float.h>
#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "frame/dispatch.hpp"
#include "simd/simd.hpp"
#include "vq/cdbk.hpp"
#include "vq/vq_scan_kernels.hpp"

namespace zel::vq::search {

// The first of the smallest of d[0..n) that is strictly below `best`, as
// row `base` + k, or best and bi unchanged: the result of a scan that
// replaces only on a strictly smaller value. Four candidates at a time:
// lane k keeps the first strictly smallest of rows k, k + 4, ..., and the
// lanes are then joined, an equal value going to the lower row.
inline void firstMin(const float* d, int n, int base, float& best, int32_t& bi) {
    alignas(16) static constexpr int32_t kLanes[4] = {0, 1, 2, 3};
    using namespace simd;
    F32x4 bv = set1(best);
    I32x4 bix = set1(bi);
    I32x4 row = add(load4i(kLanes), set1(base));
    int k = 0;
    for (; k + 4 <= n; k += 4) {
        const F32x4 v = loadu4f(d + k);
        const F32x4 m = cmplt(v, bv);
        bv = select(m, v, bv);
        bix = asInt(select(m, asFloat(row), asFloat(bix)));
        row = add(row, set1(4));
    }
    alignas(16) float lv[4];
    alignas(16) int32_t li[4];
    store(lv, bv);
    store(li, bix);
    for (int l = 0; l < 4; ++l)
        if (lv[l] < best || (lv[l] == best && li[l] < bi)) best = lv[l], bi = li[l];
    for (; k < n; ++k)
        if (d[k] < best) best = d[k], bi = base + k;
}

// Rows scored by one call of the scan.
constexpr int kChunk = 512;

// The lane vocabulary of the blocked scan (vq_scan_kernels.hpp) on the
// baseline vectors. A broadcast costs a shuffle here, so a block holds three
// registers of queries (12) and takes one row at a time.
struct Lanes4 {
    using F = simd::F32x4;
    using I = simd::I32x4;
    using M = simd::F32x4;
    static constexpr int kLanes = 4;
    static F load(const float* p) { return simd::loadu4f(p); }
    static F set1(float x) { return simd::set1(x); }
    static F zero() { return simd::zero4f(); }
    static F add(F a, F b) { return simd::add(a, b); }
    static F sub(F a, F b) { return simd::sub(a, b); }
    static F mul(F a, F b) { return simd::mul(a, b); }
    static M less(F a, F b) { return simd::cmplt(a, b); }
    static F pick(M m, F a, F b) { return simd::select(m, a, b); }
    static I index(int32_t i) { return simd::set1(i); }
    static I pickIndex(M m, I a, I b) { return simd::asInt(simd::select(m, simd::asFloat(a), simd::asFloat(b))); }
    static void store(float* p, F a) { simd::storeu(p, a); }
    static void storeIndex(int32_t* p, I a) { simd::storeu(p, a); }
};

// Queries per block of the baseline scan and of the widest.
constexpr int kBaseQueries = 3 * Lanes4::kLanes;
constexpr int kMaxLanes = 16;
static_assert(kBaseQueries <= kMaxLanes);

template <class T>
class Searcher {
public:
    explicit Searcher(const Record& r) : r_(r), width_(r.width) {
        weighted_ = (r.flags & kWeighted) != 0;
        const Node* n = r.pRoot;
        while (n && !n->isLeaf) n = n->pLeft;
        const int k = n ? n->nNeighbours : 0;
        m_ = k + 1 > 4 ? k + 1 : 4;
        const bool image = sizeof(T) == 2 && (r.hint == kFull);
        const uint64_t floats = uint64_t(width_) * (2 + kMaxLanes) + uint64_t(m_) * uint64_t(width_) +
                                uint64_t(kChunk > m_ ? kChunk : m_) + (image ? uint64_t(r.nEntries) * uint64_t(width_) : 0) + 64;
        ok_ = mem_.alloc(floats) && ptrs_.alloc(uint64_t(m_)) && iscores_.alloc(uint64_t(m_)) && nodes_.alloc(uint64_t(m_));
        if (!ok_) return;
        float* p = mem_.p;
        xf_ = p, p += width_;
        wf_ = p, p += width_;
        rowsF_ = p, p += size_t(m_) * width_;
        scores_ = p, p += (kChunk > m_ ? kChunk : m_);
        xt_ = p, p += size_t(kMaxLanes) * width_;
        toFloat(static_cast<const T*>(r.pWeights), wf_, width_);
        if constexpr (sizeof(T) == 4) {
            table_ = static_cast<const float*>(r.pTable);
            tableStride_ = r.rowStride;
        } else if (image) {
            float* t = p;
            for (int i = 0; i < r.nEntries; ++i) toFloat(tableRow<T>(r, i), t + ptrdiff_t(i) * width_, width_);
            table_ = t;
            tableStride_ = width_;
        }
    }
    bool ok() const { return ok_; }

    // The index found for x and its weighted squared distance. Returns 0, or
    // zelStsErr when a scoring call failed.
    ZelStatus one(const T* x, int32_t& idx, float& sq) {
        toFloat(x, xf_, width_);
        if (r_.hint == kFull) {
            if (r_.flags & kHasGrid) gridScan(idx, sq);
            else scan(idx, sq);
            return zelStsNoErr;
        }
        const Node* leaf = nullptr;
        if (!r_.pRoot) {
            idx = -1;
            sq = FLT_MAX;
            return zelStsNoErr;
        }
        if (weighted_) {
            if (ZelStatus s = weightedTree(x, leaf)) return s;
        } else {
            plainTree(leaf);
        }
        idx = leaf->index;
        sq = sqDistance(rowAsFloat(tableRow<T>(r_, idx), 0), xf_, w(), width_);
        return zelStsNoErr;
    }

    // The index and squared distance found for each of `count` vectors,
    // `step` elements apart, handed to out(y, index, squared distance). A
    // full table without grid is scanned a block of vectors at a time, with
    // the results of the one-vector scan.
    template <class Out>
    ZelStatus rows(const T* src, int64_t step, int count, Out out) {
        if (r_.hint != kFull || (r_.flags & kHasGrid) || !table_ || r_.nEntries < 1) {
            for (int y = 0; y < count; ++y) {
                int32_t idx;
                float sq;
                if (ZelStatus s = one(src + step * y, idx, sq)) return s;
                out(y, idx, sq);
            }
            return zelStsNoErr;
        }
        const scan::ScanTable t{table_, tableStride_, r_.nEntries, width_, w()};
        int lanes = kBaseQueries;
        void (*block)(const scan::ScanTable&, const float*, int32_t*, float*) = scan::nearestBlock<Lanes4, 3, 1>;
        if constexpr (kBuiltWithAvx2) {
            if (runsAvx512()) lanes = scan::avx512::kLanes, block = scan::avx512::nearestBlock;
            else if (runsAvx2()) lanes = scan::avx2::kLanes, block = scan::avx2::nearestBlock;
        }
        alignas(64) int32_t bi[kMaxLanes];
        alignas(64) float bs[kMaxLanes];
        for (int y0 = 0; y0 < count; y0 += lanes) {
            const int m = count - y0 < lanes ? count - y0 : lanes;
            // Column by column; the lanes past the last vector repeat it.
            for (int q = 0; q < lanes; ++q) {
                const T* x = src + step * (y0 + (q < m ? q : m - 1));
                for (int j = 0; j < width_; ++j) xt_[ptrdiff_t(j) * lanes + q] = static_cast<float>(x[j]);
            }
            block(t, xt_, bi, bs);
            for (int q = 0; q < m; ++q) out(y0 + q, bi[q], bs[q]);
        }
        return zelStsNoErr;
    }

    // Squared distances from x to every row of the table into out.
    void allDistances(const T* x, float* out) {
        toFloat(x, xf_, width_);
        if constexpr (sizeof(T) == 2) {
            if (!table_) {
                for (int i = 0; i < r_.nEntries; ++i) out[i] = sqDistance(rowAsFloat(tableRow<T>(r_, i), 0), xf_, w(), width_);
                return;
            }
        }
        for (int i0 = 0; i0 < r_.nEntries; i0 += kChunk) {
            const int n = r_.nEntries - i0 < kChunk ? r_.nEntries - i0 : kChunk;
            sqDistances(table_ + ptrdiff_t(i0) * tableStride_, tableStride_, xf_, w(), width_, n, out + i0);
        }
    }

private:
    const float* w() const { return weighted_ ? wf_ : nullptr; }

    // A codeword of the codebook's type as singles: itself for Zel32f, else
    // converted into place `slot` of the row buffer.
    const float* rowAsFloat(const T* p, int slot) {
        if constexpr (sizeof(T) == 4) {
            return p;
        } else {
            float* d = rowsF_ + ptrdiff_t(slot) * width_;
            toFloat(p, d, width_);
            return d;
        }
    }
    // n rows of the codebook's type, `width` apart, as singles `width` apart.
    const float* blockAsFloat(const T* p, int n) {
        if constexpr (sizeof(T) == 4) {
            return p;
        } else {
            toFloat(p, rowsF_, n * width_);
            return rowsF_;
        }
    }

    // ---- Full codebooks ----

    // Exact scan: without weights the strictly smaller distance wins, so the
    // lowest row among equals; with weights a row must be nearer by more
    // than one part in a million.
    void scan(int32_t& idx, float& sq) {
        float best = FLT_MAX;
        int32_t bi = -1;
        for (int i0 = 0; i0 < r_.nEntries; i0 += kChunk) {
            const int n = r_.nEntries - i0 < kChunk ? r_.nEntries - i0 : kChunk;
            sqDistances(table_ + ptrdiff_t(i0) * tableStride_, tableStride_, xf_, w(), width_, n, scores_);
            if (!weighted_) {
                if (i0 == 0) best = scores_[0], bi = 0;
                firstMin(scores_, n, i0, best, bi);
                continue;
            }
            for (int k = 0; k < n; ++k) {
                const float d = scores_[k];
                if (double(best) > double(d) * 1.000001) best = d, bi = i0 + k;
            }
        }
        idx = bi;
        sq = best;
    }

    void listScan(const int32_t* list, int32_t count, int32_t& idx, float& sq) {
        float best = FLT_MAX;
        int32_t bi = -1;
        for (int32_t k = 0; k < count; ++k) {
            const float d = sqDistance(table_ + ptrdiff_t(list[k]) * tableStride_, xf_, w(), width_);
            if (double(best) > double(d) * 1.000001) best = d, bi = list[k];
        }
        idx = bi;
        sq = best;
    }

    // The cell of a coordinate: -1 below the first, at most `limit`.
    static int64_t cell(float t, int64_t limit) {
        if (t < 0.0f) return -1;
        if (!(t < float(limit))) return limit;
        return int64_t(t);
    }

    void gridScan(int32_t& idx, float& sq) {
        idx = -1;
        sq = FLT_MAX;
        if (width_ == 1) {
            const Grid1* g = static_cast<const Grid1*>(r_.pGrid);
            const int64_t c = cell((xf_[0] - g->lo) / g->cellWidth, g->nCells);
            listScan(g->ppLists[c + 1], g->pCounts[c + 1], idx, sq);
        } else if (width_ == 2) {
            const Grid2* g = static_cast<const Grid2*>(r_.pGrid);
            const int64_t col = cell((xf_[0] - g->xOrigin) / g->cellWidth, g->nx);
            const int64_t row = cell((g->yOrigin - xf_[1]) / g->cellHeight, g->ny);
            const int64_t s = (row + 1) * (g->nx + 2) + col + 1;
            listScan(g->ppLists[s], g->pCounts[s], idx, sq);
        }
    }

    // ---- Trees ----

    static bool fast(int width) { return width == 1 || width == 2 || width == 4 || width == 8; }

    // The four places under an inner node: the left child's children, then
    // the right child's; a leaf child fills both of its places.
    static void places(const Node* n, const Node* (&q)[4]) {
        q[0] = n->pLeft->isLeaf ? n->pLeft : n->pLeft->pLeft;
        q[1] = n->pLeft->isLeaf ? n->pLeft : n->pLeft->pRight;
        q[2] = n->pRight->isLeaf ? n->pRight : n->pRight->pLeft;
        q[3] = n->pRight->isLeaf ? n->pRight : n->pRight->pRight;
    }

    // Squared distances to n nodes' centroids (contiguous in `packed` when
    // the width has packed blocks).
    void nodeDistances(const Node* const* nodes, const void* packed, int n, float* out) {
        if (packed) {
            sqDistances(blockAsFloat(static_cast<const T*>(packed), n), width_, xf_, nullptr, width_, n, out);
            return;
        }
        const float** rows = reinterpret_cast<const float**>(ptrs_.p);
        for (int k = 0; k < n; ++k) rows[k] = rowAsFloat(static_cast<const T*>(nodes[k]->pCentroid), k);
        sqDistancesL(rows, xf_, nullptr, width_, n, out);
    }

    // Down the tree by the nearest grandchild, ties to the left; then over
    // neighbouring leaves while one is strictly nearer.
    void plainTree(const Node*& leaf) {
        const Node* n = r_.pRoot;
        const bool packed = fast(width_);
        float d[4];
        while (!n->isLeaf) {
            const Node* q[4];
            places(n, q);
            nodeDistances(q, packed ? n->pFast->pQuad : nullptr, 4, d);
            const bool right = (d[2] < d[0] || d[3] < d[0]) && (d[2] < d[1] || d[3] < d[1]);
            n = right ? n->pRight : n->pLeft;
        }
        // Each move lowers the distance, so the walk ends; the bound only
        // guards against a codebook that was not built here.
        for (int moves = 0; n->nNeighbours > 0 && moves <= r_.nEntries; ++moves) {
            float own;
            const Node* self = n;
            nodeDistances(&self, packed ? n->pCentroid : nullptr, 1, &own);
            nodeDistances(n->ppNeighbours, packed ? n->pFast->pNeighbourCentroids : nullptr, n->nNeighbours, scores_);
            int to = -1;
            for (int k = 0; k < n->nNeighbours; ++k)
                if (scores_[k] < own) {
                    to = k;
                    break;
                }
            if (to < 0) break;
            n = n->ppNeighbours[to];
        }
        leaf = n;
    }

    // Weighted scores of n nodes' centroids in one call of frame scoring.
    ZelStatus nodeScores(const T* x, const Node* const* nodes, int n, float* out) {
        if constexpr (sizeof(T) == 4) {
            const float** rows = reinterpret_cast<const float**>(ptrs_.p);
            for (int k = 0; k < n; ++k) rows[k] = static_cast<const float*>(nodes[k]->pCentroid);
            if (zelsLogGauss_32f_D2L(rows, x, wf_, width_, out, n, 0.0f) != zelStsNoErr) return zelStsErr;
        } else {
            const Zel16s** rows = reinterpret_cast<const Zel16s**>(ptrs_.p);
            for (int k = 0; k < n; ++k) rows[k] = static_cast<const Zel16s*>(nodes[k]->pCentroid);
            const int sf = int(log(double(width_)) / log(2.0)) + 1;
            if (zelsLogGauss_16s32s_D2LSfs(rows, x, static_cast<const Zel16s*>(r_.pWeights), width_, iscores_.p, n, 0,
                                           sf) != zelStsNoErr)
                return zelStsErr;
            for (int k = 0; k < n; ++k) out[k] = float(iscores_.p[k]);
        }
        return zelStsNoErr;
    }

    // The same shape on scores (larger is nearer): a near tie goes left, and
    // a neighbour must be clearly better, not merely within rounding.
    ZelStatus weightedTree(const T* x, const Node*& leaf) {
        const Node* n = r_.pRoot;
        float s[4];
        while (!n->isLeaf) {
            const Node* list[4];
            int k = 0;
            if (n->pLeft->isLeaf) list[k++] = n->pLeft;
            else list[k++] = n->pLeft->pLeft, list[k++] = n->pLeft->pRight;
            const int nl = k;
            if (n->pRight->isLeaf) list[k++] = n->pRight;
            else list[k++] = n->pRight->pLeft, list[k++] = n->pRight->pRight;
            if (ZelStatus st = nodeScores(x, list, k, s)) return st;
            const float a1 = s[0], a2 = nl == 2 ? s[1] : s[0];
            const float b1 = s[nl], b2 = k - nl == 2 ? s[nl + 1] : s[nl];
            const bool left = (clearlyGreater(a1, b1) && clearlyGreater(a1, b2)) ||
                              (clearlyGreater(a2, b1) && clearlyGreater(a2, b2));
            n = left ? n->pLeft : n->pRight;
        }
        for (int moves = 0; n->nNeighbours > 0 && moves <= r_.nEntries; ++moves) {
            // The leaf and its neighbours in one call, so that all scores
            // share one scale.
            const Node** nodes = nodes_.p;
            nodes[0] = n;
            for (int k = 0; k < n->nNeighbours; ++k) nodes[k + 1] = n->ppNeighbours[k];
            if (ZelStatus st = nodeScores(x, nodes, n->nNeighbours + 1, scores_)) return st;
            const float cur = scores_[0];
            int to = -1;
            for (int k = 0; k < n->nNeighbours; ++k)
                if (clearlyGreater(scores_[k + 1], cur) && !nearlyEqual(scores_[k + 1], cur)) {
                    to = k;
                    break;
                }
            if (to < 0) break;
            n = n->ppNeighbours[to];
        }
        leaf = n;
        return zelStsNoErr;
    }

    const Record& r_;
    int width_;
    bool weighted_ = false;
    bool ok_ = false;
    int m_ = 4;
    Scratch<float> mem_;
    Scratch<const void*> ptrs_;
    Scratch<int32_t> iscores_;
    Scratch<const Node*> nodes_;
    float* xf_ = nullptr;
    float* wf_ = nullptr;
    float* rowsF_ = nullptr;
    float* scores_ = nullptr;
    float* xt_ = nullptr;
    const float* table_ = nullptr;
    int tableStride_ = 0;
};

}  // namespace zel::vq::search
