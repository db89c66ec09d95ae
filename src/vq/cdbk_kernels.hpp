// SPDX-License-Identifier: Apache-2.0
// Building codebooks: the cell grids of a full codebook of width 1 or 2, and
// the splitting trainer (a generalised Lloyd quantizer that splits one leaf
// at a time and then refines every leaf together), with the tree, the
// neighbour lists and the packed blocks that the searches read.
//
// The trainer is written once for both element types. `Elem<T>` says how a
// centroid is formed from its members: single-precision sums for Zel32f,
// 64-bit sums and means rounded to 16 bits for Zel16s, whose separation
// steps also work on the 64-bit means. All distances are single precision,
// taken through the scoring functions (cdbk.hpp).
#pragma once

#include <float.h>
#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "frame/fixed.hpp"
#include "vq/cdbk.hpp"

namespace zel::vq::build {

// The record of a state from an allocating builder: the public record and
// the pools that its tree or grid lives in, each released in one piece.
struct OwnedRecord {
    Record r;
    Node* nodePool;
    void* centroidPool;
    Node** neighbourPool;
    FastBlock* fastPool;
    void* quadPool;
    int32_t* gridPool;
};

inline void releasePools(OwnedRecord* o) {
    zelFree(o->nodePool);
    zelFree(o->centroidPool);
    zelFree(o->neighbourPool);
    zelFree(o->fastPool);
    zelFree(o->quadPool);
    zelFree(o->gridPool);
    if (o->r.pGrid) {
        if (o->r.width == 1) zelFree(static_cast<Grid1*>(o->r.pGrid)->ppLists), zelFree(static_cast<Grid1*>(o->r.pGrid)->pCounts);
        else zelFree(static_cast<Grid2*>(o->r.pGrid)->ppLists), zelFree(static_cast<Grid2*>(o->r.pGrid)->pCounts);
    }
    zelFree(o->r.pGrid);
    zelFree(o->r.pWeights);
    zelFree(o->r.pTable);
    zelFree(o->r.pScratch);
    o->r.tag = kTagNone;
    zelFree(o);
}

// ---- Grid bounds ---------------------------------------------------------------------

struct Bounds {
    float min, max, low, high;
};
inline Bounds bounds(float mn, float mx) {
    Bounds b{mn, mx, 0, 0};
    if (mn > 0) {
        b.low = mn * 0.9f;
        b.high = mx * 1.1f;
    } else {
        b.low = mn * 1.1f;
        b.high = mx > 0 ? mx * 1.1f : mx * 0.9f;
    }
    return b;
}
inline float extent(const Bounds& b) { return fabsf(b.max - b.min); }

// Lists of rows as one pool: starts[i] is where list i begins, n its length.
struct ListBuilder {
    int32_t* pool = nullptr;
    int64_t used = 0, cap = 0;
    bool push(int32_t v) {
        if (used == cap) {
            const int64_t nc = cap ? cap * 2 : 256;
            int32_t* np = static_cast<int32_t*>(zelMalloc(size_t(nc) * sizeof(int32_t)));
            if (!np) return false;
            if (pool) memcpy(np, pool, size_t(used) * sizeof(int32_t));
            zelFree(pool);
            pool = np;
            cap = nc;
        }
        pool[used++] = v;
        return true;
    }
};

// The cell of a value on an axis running up from `low`, or -1 for a cell
// that no list could hold (below the first, past `limit`, or not a number).
inline int64_t cellOf(float v, float low, float size, int64_t limit) {
    const float t = (v - low) / size;
    if (!(t >= 0.0f) || !(t < float(limit))) return -1;
    return int64_t(t);
}

// ---- Width 1 -----------------------------------------------------------------------------

inline float cost1(const float* v, int height, const Bounds& b, int c, Zel8u* marks) {
    if (extent(b) < 1e-5f) return FLT_MAX;
    const float s = extent(b) * 1.1f / float(c);
    memset(marks, 0, size_t(c));
    for (int i = 0; i < height; ++i) {
        const int64_t k = cellOf(v[i], b.low, s, c);
        if (k >= 0) marks[k] = 1;
    }
    for (int k = 0; k < c; ++k)
        if (!marks[k]) return FLT_MAX;
    return 2.0f * float(height) / float(c);
}

// Builds the grid when it pays: 0, or zelStsMemAllocErr. v holds the
// values as singles.
inline ZelStatus grid1(OwnedRecord* o, const float* v, int height) {
    float mn = v[0], mx = v[0];
    for (int i = 1; i < height; ++i) {
        mn = v[i] < mn ? v[i] : mn;
        mx = v[i] > mx ? v[i] : mx;
    }
    const Bounds b = bounds(mn, mx);
    // The cost falls as 2 * height / c while every cell is hit, by less than
    // 5% from c = 20 on, so the count stays small.
    Scratch<Zel8u> marks{uint64_t(height) + 64};
    if (!marks.p) return zelStsMemAllocErr;
    int c = 4;
    float cur = cost1(v, height, b, c, marks.p);
    for (;;) {
        const float next = cost1(v, height, b, c + 1, marks.p);
        if (!(cur - next > 0.05f * cur)) break;
        ++c;
        cur = next;
    }
    const float budget = float(height) / 5.0f;
    if (!(clearlyGreater(budget, cur) || nearlyEqual(budget, cur))) return zelStsNoErr;

    const float s = extent(b) * 1.1f / float(c);
    ListBuilder lb;
    Scratch<int64_t> starts{uint64_t(c) + 2};
    Scratch<int32_t> counts{uint64_t(c) + 2};
    if (!starts.p || !counts.p) return zelStsMemAllocErr;
    bool ok = true;
    for (int k = 0; k < c; ++k) {
        starts.p[k + 1] = lb.used;
        for (int i = 0; i < height; ++i)
            if (cellOf(v[i], b.low, s, c) == k) ok = ok && lb.push(i);
        // The nearest row on each side of the cell, so that a query near an
        // edge still meets its neighbour across it.
        auto nearest = [&](bool below, float edge) {
            int best = -1;
            float bd = 0;
            for (int i = 0; i < height; ++i) {
                const float t = (v[i] - b.low) / s;
                if (below ? !(t < float(k)) : !(t >= float(k + 1))) continue;
                const float d = fabsf(v[i] - edge);
                if (best < 0 || d < bd) best = i, bd = d;
            }
            if (best >= 0) ok = ok && lb.push(best);
        };
        if (k > 0) nearest(true, b.low + s * float(k));
        if (k < c - 1) nearest(false, b.low + s * float(k + 1));
        counts.p[k + 1] = int32_t(lb.used - starts.p[k + 1]);
    }
    if (!ok) {
        zelFree(lb.pool);
        return zelStsMemAllocErr;
    }
    Grid1* g = static_cast<Grid1*>(zelMalloc(sizeof(Grid1)));
    int32_t** lists = static_cast<int32_t**>(zelMalloc((size_t(c) + 2) * sizeof(int32_t*)));
    int32_t* cnt = static_cast<int32_t*>(zelMalloc((size_t(c) + 2) * sizeof(int32_t)));
    if (!g || !lists || !cnt) {
        zelFree(g), zelFree(lists), zelFree(cnt), zelFree(lb.pool);
        return zelStsMemAllocErr;
    }
    for (int k = 1; k <= c; ++k) {
        lists[k] = lb.pool ? lb.pool + starts.p[k] : nullptr;
        cnt[k] = counts.p[k];
    }
    // The outer slots share the lists of the first and the last cell.
    lists[0] = lists[1], cnt[0] = cnt[1];
    lists[c + 1] = lists[c], cnt[c + 1] = cnt[c];
    *g = {c, s, b.low, b.high, lists, cnt};
    o->gridPool = lb.pool;
    o->r.pGrid = g;
    o->r.flags |= kHasGrid;
    return zelStsNoErr;
}

// ---- Width 2 -----------------------------------------------------------------------------

struct Axes {
    Bounds x, y;
    float wx, wy;
};
struct Cells {
    int nx, ny;
    float cw, ch, x0, y0;
    float left(int c) const { return x0 + cw * float(c); }
    float right(int c) const { return x0 + cw * float(c + 1); }
    float upper(int r) const { return y0 - ch * float(r); }
    float lower(int r) const { return y0 - ch * float(r + 1); }
};
inline Cells cells(const Axes& a, int nx, int ny) {
    return {nx, ny, extent(a.x) * 1.1f / float(nx), extent(a.y) * 1.1f / float(ny), a.x.low, a.y.high};
}

// Calls take(row) for every row listed in inner cell (r, c), in row order.
template <class Take>
void cellList(const float* xy, int height, const Axes& a, const Cells& g, int r, int c, Take take) {
    const float xl = g.left(c), xr = g.right(c), yu = g.upper(r), yl = g.lower(r);
    auto span = [&](int i, float& dMin, float& dMax) {
        const float x = xy[2 * i], y = xy[2 * i + 1];
        const float A = (y - yu) * (y - yu) * a.wy, B = (y - yl) * (y - yl) * a.wy;
        const float C = (x - xl) * (x - xl) * a.wx, D = (x - xr) * (x - xr) * a.wx;
        float cand[8] = {C + A, C + B, D + A, D + B};
        int n = 4;
        if (x >= xl && x <= xr) cand[n++] = A, cand[n++] = B;
        if (y >= yl && y <= yu) cand[n++] = C, cand[n++] = D;
        dMin = dMax = cand[0];
        for (int k = 1; k < n; ++k) {
            if (clearlyGreater(dMin, cand[k])) dMin = cand[k];
            if (clearlyGreater(cand[k], dMax)) dMax = cand[k];
        }
    };
    float T = FLT_MAX;
    for (int i = 0; i < height; ++i) {
        float lo, hi;
        span(i, lo, hi);
        if (hi < T) T = hi;
    }
    for (int i = 0; i < height; ++i) {
        float lo, hi;
        span(i, lo, hi);
        if (clearlyGreater(T, lo) || nearlyEqual(T, lo)) take(i);
    }
}

inline float cost2(const float* xy, int height, const Axes& a, int nx, int ny) {
    if (nearlyEqual(a.x.max, a.x.min) || nearlyEqual(a.y.max, a.y.min)) return FLT_MAX;
    const Cells g = cells(a, nx, ny);
    int64_t total = 0;
    for (int r = 0; r < ny; ++r)
        for (int c = 0; c < nx; ++c) cellList(xy, height, a, g, r, c, [&](int) { ++total; });
    return float(total) / float(int64_t(nx) * ny);
}

inline ZelStatus grid2(OwnedRecord* o, const float* xy, int height, const float* w) {
    float mnx = xy[0], mxx = xy[0], mny = xy[1], mxy = xy[1];
    for (int i = 1; i < height; ++i) {
        const float x = xy[2 * i], y = xy[2 * i + 1];
        mnx = x < mnx ? x : mnx, mxx = x > mxx ? x : mxx;
        mny = y < mny ? y : mny, mxy = y > mxy ? y : mxy;
    }
    const Axes a{bounds(mnx, mxx), bounds(mny, mxy), w[0], w[1]};
    int nx = 4, ny = 4;
    float cur = cost2(xy, height, a, nx, ny);
    // Each step must cut the cost by 5%; the lists cannot shrink below one
    // row a cell, so the growth ends.
    for (int guard = 0; guard < 4096; ++guard) {
        const float ca = cost2(xy, height, a, nx, ny + 1);
        const float cb = cost2(xy, height, a, nx + 1, ny);
        if (clearlyGreater(cb, ca)) {
            if (!(cur - ca > 0.05f * cur)) break;
            ++ny, cur = ca;
        } else {
            if (!(cur - cb > 0.05f * cur)) break;
            ++nx, cur = cb;
        }
    }
    const float budget = float(height) / 10.0f;
    if (!(clearlyGreater(budget, cur) || nearlyEqual(budget, cur))) return zelStsNoErr;

    const Cells g = cells(a, nx, ny);
    const int64_t slots = int64_t(nx + 2) * (ny + 2);
    Grid2* grid = static_cast<Grid2*>(zelMalloc(sizeof(Grid2)));
    int32_t** lists = static_cast<int32_t**>(zelMalloc(size_t(slots) * sizeof(int32_t*)));
    int32_t* cnt = static_cast<int32_t*>(zelMalloc(size_t(slots) * sizeof(int32_t)));
    Scratch<int64_t> starts{uint64_t(slots)};
    Scratch<Zel8u> mark{uint64_t(height)};
    ListBuilder lb;
    bool ok = grid && lists && cnt && starts.p && mark.p;
    auto slot = [&](int r, int c) { return int64_t(r) * (nx + 2) + c; };
    for (int r = 0; ok && r < ny; ++r)
        for (int c = 0; c < nx; ++c) {
            const int64_t s = slot(r + 1, c + 1);
            starts.p[s] = lb.used;
            cellList(xy, height, a, g, r, c, [&](int i) { ok = ok && lb.push(i); });
            cnt[s] = int32_t(lb.used - starts.p[s]);
        }
    // A border list is the union, in row order, of the inner lists along
    // one side (or two, at a corner).
    auto unionOf = [&](int64_t s, int rowA, int colA) {
        memset(mark.p, 0, size_t(unsigned(height)));
        auto markCell = [&](int r, int c) {
            const int64_t t = slot(r + 1, c + 1);
            for (int32_t k = 0; k < cnt[t]; ++k) mark.p[lb.pool[starts.p[t] + k]] = 1;
        };
        if (rowA >= 0)
            for (int c = 0; c < nx; ++c) markCell(rowA, c);
        if (colA >= 0)
            for (int r = 0; r < ny; ++r) markCell(r, colA);
        starts.p[s] = lb.used;
        for (int i = 0; i < height; ++i)
            if (mark.p[i]) ok = ok && lb.push(i);
        cnt[s] = int32_t(lb.used - starts.p[s]);
    };
    if (ok) {
        unionOf(slot(0, 1), 0, -1);
        unionOf(slot(ny + 1, 1), ny - 1, -1);
        unionOf(slot(1, 0), -1, 0);
        unionOf(slot(1, nx + 1), -1, nx - 1);
        unionOf(slot(0, 0), 0, 0);
        unionOf(slot(0, nx + 1), 0, nx - 1);
        unionOf(slot(ny + 1, 0), ny - 1, 0);
        unionOf(slot(ny + 1, nx + 1), ny - 1, nx - 1);
    }
    if (!ok) {
        zelFree(grid), zelFree(lists), zelFree(cnt), zelFree(lb.pool);
        return zelStsMemAllocErr;
    }
    // Strips share one list for all their slots.
    for (int c = 2; c <= nx; ++c) starts.p[slot(0, c)] = starts.p[slot(0, 1)], cnt[slot(0, c)] = cnt[slot(0, 1)];
    for (int c = 2; c <= nx; ++c)
        starts.p[slot(ny + 1, c)] = starts.p[slot(ny + 1, 1)], cnt[slot(ny + 1, c)] = cnt[slot(ny + 1, 1)];
    for (int r = 2; r <= ny; ++r) starts.p[slot(r, 0)] = starts.p[slot(1, 0)], cnt[slot(r, 0)] = cnt[slot(1, 0)];
    for (int r = 2; r <= ny; ++r)
        starts.p[slot(r, nx + 1)] = starts.p[slot(1, nx + 1)], cnt[slot(r, nx + 1)] = cnt[slot(1, nx + 1)];
    for (int64_t s = 0; s < slots; ++s) lists[s] = lb.pool ? lb.pool + starts.p[s] : nullptr;
    *grid = {nx, ny, g.cw, g.ch, g.x0, g.y0, a.x.high, a.y.low, lists, cnt};
    o->gridPool = lb.pool;
    o->r.pGrid = grid;
    o->r.flags |= kHasGrid;
    return zelStsNoErr;
}

// ---- The splitting trainer ------------------------------------------------------------------

// How centroids of one element type are formed.
template <class T>
struct Elem;

template <>
struct Elem<Zel16s> {
    static Zel16s fromMean(double m) {
        // Round to nearest (ties to even) into 32 bits, then saturate.
        const double r = nearbyint(m);
        const int64_t v = !(r == r) ? 0 : (r > 2147483647.0 ? 2147483647 : (r < -2147483648.0 ? INT32_MIN : int64_t(r)));
        return sat16(v);
    }
};

// The trainer's working state: leaves by position, each vector's leaf and
// its distance to that leaf's centroid, and the centroids as singles (the
// distances are taken on these) and, for 16-bit data, as 64-bit means.
template <class T>
struct Trainer {
    const float* x;  // vectors as singles, `width` apart
    const float* w;  // weights, null when all are 1
    int width, height, cdbkSize, hint;
    Node** leaf;      // cdbkSize + 1 positions
    int32_t* assign;  // per vector
    float* dist;      // per vector
    float* cf;        // (cdbkSize + 1) x width centroids as singles
    double* mean;     // (cdbkSize + 1) x width, 16-bit data only
    double* sum64;    // (cdbkSize + 1) x width member sums, 16-bit data
    float* sum32;     // (cdbkSize + 1) x width member sums, single precision
    float* dtmp;      // cdbkSize + 1 distances
    Node* pool;       // 2 * cdbkSize - 1 nodes
    int nodes = 0;
    T* centroids;     // one centroid of `width` elements per node

    float* cfRow(int p) { return cf + ptrdiff_t(p) * width; }
    T* cen(const Node* n) { return static_cast<T*>(n->pCentroid); }
    float d(const float* a, const float* b) const { return sqDistance(a, b, w, width); }
    const float* vec(int i) const { return x + ptrdiff_t(i) * width; }

    Node* newNode(int depth) {
        Node* n = pool + nodes;
        memset(n, 0, sizeof(Node));
        n->pCentroid = centroids + ptrdiff_t(nodes) * width;
        memset(n->pCentroid, 0, sizeof(T) * size_t(width));
        n->isLeaf = 1;
        n->nodeDepth = depth;
        ++nodes;
        return n;
    }

    // Step 1 of a pass: every centroid from its members, each position
    // summing its members in vector order.
    void recomputeCentroids(int nLeaves, const T* src, int step) {
        for (int p = 0; p < nLeaves; ++p) leaf[p]->count = 0;
        if constexpr (sizeof(T) == 4) memset(sum32, 0, sizeof(float) * size_t(nLeaves) * size_t(width));
        else memset(sum64, 0, sizeof(double) * size_t(nLeaves) * size_t(width));
        for (int i = 0; i < height; ++i) {
            const int p = assign[i];
            leaf[p]->count++;
            const T* v = src + ptrdiff_t(i) * step;
            if constexpr (sizeof(T) == 4) {
                float* s = sum32 + ptrdiff_t(p) * width;
                for (int j = 0; j < width; ++j) s[j] = s[j] + v[j];
            } else {
                double* s = sum64 + ptrdiff_t(p) * width;
                for (int j = 0; j < width; ++j) s[j] += double(v[j]);
            }
        }
        for (int p = 0; p < nLeaves; ++p) {
            const int cnt = leaf[p]->count;
            if (cnt < 1) continue;  // a leaf is never emptied; kept for safety
            Node* n = leaf[p];
            if constexpr (sizeof(T) == 4) {
                const float* s = sum32 + ptrdiff_t(p) * width;
                for (int j = 0; j < width; ++j) cfRow(p)[j] = cen(n)[j] = s[j] / float(cnt);
            } else {
                const double* s = sum64 + ptrdiff_t(p) * width;
                for (int j = 0; j < width; ++j) {
                    const double m = s[j] / double(cnt);
                    mean[ptrdiff_t(p) * width + j] = m;
                    cen(n)[j] = Elem<Zel16s>::fromMean(m);
                    cfRow(p)[j] = float(cen(n)[j]);
                }
            }
        }
    }

    // Forces the centroids of A and B apart when they coincide: A moves
    // toward a member in steps of one hundredth of half the distance, until
    // the members tell the two centroids apart. False when it cannot.
    bool separate(int pa, int pb, int countL) {
        const int first = [&] {
            for (int i = 0; i < height; ++i)
                if (assign[i] == pa || assign[i] == pb) return i;
            return -1;
        }();
        int v = first;
        Scratch<float> c0{uint64_t(width)};
        Scratch<double> m0{uint64_t(width)};
        if (!c0.p || !m0.p) return false;
        memcpy(c0.p, cfRow(pa), sizeof(float) * size_t(width));
        if constexpr (sizeof(T) == 2) memcpy(m0.p, mean + ptrdiff_t(pa) * width, sizeof(double) * size_t(width));
        for (int k = 1;; ++k) {
            if (v < 0 || k > 1000) return false;
            while (v >= 0 && d(vec(v), cfRow(pa)) < 1e-5f) {
                int nx = -1;
                for (int i = v + 1; i < height; ++i)
                    if (assign[i] == pa || assign[i] == pb) {
                        nx = i;
                        break;
                    }
                v = nx;
            }
            if (v < 0) return false;
            const float* xv = vec(v);
            T* ca = cen(leaf[pa]);
            if constexpr (sizeof(T) == 4) {
                const float f = float(k) / 100.0f;
                for (int j = 0; j < width; ++j) {
                    const float c = c0.p[j];
                    ca[j] = c + f * ((xv[j] + c) / 2.0f - c);
                    cfRow(pa)[j] = ca[j];
                }
            } else {
                const double f = double(k) / 100.0;
                for (int j = 0; j < width; ++j) {
                    const double c = m0.p[j];
                    const double m = c + f * ((double(xv[j]) + c) / 2.0 - c);
                    mean[ptrdiff_t(pa) * width + j] = m;
                    ca[j] = Elem<Zel16s>::fromMean(m);
                    cfRow(pa)[j] = float(ca[j]);
                }
            }
            float S = 0;
            for (int i = 0; i < height; ++i) {
                if (assign[i] != pa && assign[i] != pb) continue;
                const float dA = d(vec(i), cfRow(pa)), dB = d(vec(i), cfRow(pb));
                S = S + (nearlyEqual(dA, 0.0f) ? fabsf(dA - dB) : fabsf((dA - dB) / dA));
            }
            if (!(float(countL) * 1e-6f >= S)) return true;
        }
    }

    // Step 3 of a pass: each vector to its nearest centroid, ties to the
    // lower position; a leaf keeps its last member. Returns the moves.
    int assignAll(int nLeaves, double& total) {
        int moves = 0;
        total = 0;
        for (int i = 0; i < height; ++i) {
            sqDistances(cf, width, vec(i), w, width, nLeaves, dtmp);
            float best = FLT_MAX;
            int bi = -1;
            for (int q = 0; q < nLeaves; ++q)
                if (double(best) > double(dtmp[q]) * 1.000001) best = dtmp[q], bi = q;
            const int cur = assign[i];
            if (bi == cur || bi < 0) {
                dist[i] = dtmp[cur];
                if (bi == cur) total += dtmp[cur];
            } else if (leaf[cur]->count < 2) {
                dist[i] = dtmp[cur];
            } else {
                leaf[cur]->count--;
                leaf[bi]->count++;
                assign[i] = bi;
                dist[i] = dtmp[bi];
                ++moves;
            }
        }
        return moves;
    }

    void setSpread(int p) {
        Node* n = leaf[p];
        float m = 0;
        bool any = false;
        for (int i = 0; i < height; ++i)
            if (assign[i] == p && (!any || clearlyGreater(dist[i], m))) m = dist[i], any = true;
        n->spread = n->count < 2 ? 0.0f : 2.0f * m;
    }

    // The leaf to split next, or -1.
    int choose(int nLeaves) const {
        int pick = -1;
        float best = 0;
        for (int p = 0; p < nLeaves; ++p) {
            const Node* n = leaf[p];
            if (hint == kSplitWidest) {
                if (clearlyGreater(n->spread, best)) pick = p, best = n->spread;
            } else if (clearlyGreater(n->spread, 0.0f) && clearlyGreater(float(n->count), best)) {
                pick = p, best = float(n->count);
            }
        }
        return pick;
    }
};

// Root, then splits until cdbkSize leaves or no leaf qualifies. Returns the
// status of training and the number of leaves in *pLeaves.
template <class T>
ZelStatus train(Trainer<T>& t, const T* src, int step, int* pLeaves) {
    Node* root = t.newNode(1);
    root->count = t.height;
    t.leaf[0] = root;
    for (int i = 0; i < t.height; ++i) t.assign[i] = 0, t.dist[i] = 0;
    t.recomputeCentroids(1, src, step);
    if (t.height > 1) {
        // Distances below a millionth of the centroid's scale count as none,
        // so that a cloud of equal vectors has no spread.
        float mn = t.cfRow(0)[0], mx = t.cfRow(0)[0];
        for (int j = 1; j < t.width; ++j) {
            mn = t.cfRow(0)[j] < mn ? t.cfRow(0)[j] : mn;
            mx = t.cfRow(0)[j] > mx ? t.cfRow(0)[j] : mx;
        }
        const float a = -1e-6f * mn, b = 1e-6f * mx;
        const float th = a > b ? a : b;
        float m = 0;
        for (int i = 0; i < t.height; ++i) {
            const float dd = t.d(t.vec(i), t.cfRow(0));
            t.dist[i] = double(dd) > double(th) * 1.000001 ? dd : 0.0f;
            if (clearlyGreater(t.dist[i], m)) m = t.dist[i];
        }
        root->spread = 2.0f * m;
    }
    int n = 1;
    ZelStatus status = zelStsNoErr;
    while (t.cdbkSize >= 2 && n < t.cdbkSize) {
        const int p = t.choose(n);
        if (p < 0) {
            status = zelStsCdbkSizeWarn;
            break;
        }
        Node* L = t.leaf[p];
        if (L->count < 2) return zelStsSizeErr;
        Node* A = t.newNode(L->nodeDepth + 1);
        Node* B = t.newNode(L->nodeDepth + 1);
        L->isLeaf = 0;
        L->pLeft = A;
        L->pRight = B;
        t.leaf[n] = A;
        t.leaf[p] = B;
        // The inner half of L seeds A, the outer half stays with B.
        for (int k = L->count / 2; k > 0; --k) {
            int bi = -1;
            for (int i = 0; i < t.height; ++i)
                if (t.assign[i] == p && (bi < 0 || double(t.dist[bi]) > double(t.dist[i]) * 1.000001)) bi = i;
            if (bi < 0) break;
            t.assign[bi] = n;
            t.dist[bi] = FLT_MAX;
        }
        double prev = 0;
        for (int pass = 0; pass < 20; ++pass) {
            t.recomputeCentroids(n + 1, src, step);
            if (t.d(t.cfRow(n), t.cfRow(p)) <= 1e-6f && !t.separate(n, p, L->count)) {
                // Undo the split and report it.
                L->isLeaf = 1, L->pLeft = L->pRight = nullptr;
                t.leaf[p] = L;
                return zelStsBadArgErr;
            }
            double total;
            const int moves = t.assignAll(n + 1, total);
            const double D = total - prev;
            prev = total;
            if (!(D > 1e-4 * total) && !(D < -1e-4 * total) && moves == 0) break;
        }
        for (int q = 0; q <= n; ++q) t.setSpread(q);
        ++n;
    }
    *pLeaves = n;
    return status;
}

}  // namespace zel::vq::build
