// SPDX-License-Identifier: Apache-2.0
// The codebook record shared by building, search and vector forming: the
// table of codewords, the weights, and the search structure of its kind (a
// cell grid, or a tree of centroids with neighbour lists). One layout serves
// both element types; the kind word at its head tells them apart, so that a
// codebook of one type handed to a function of the other, or one already
// released, is refused by its tag.
#pragma once

#include <float.h>
#include <math.h>
#include <stddef.h>
#include <stdint.h>

#include "zelcore.h"
#include "zelsr.h"

namespace zel::vq {

constexpr Zel32u kTag32f = 0x4B424433u;  // "3DBK"
constexpr Zel32u kTag16s = 0x4B424436u;  // "6DBK"
constexpr Zel32u kTagNone = 0;

template <class T>
inline constexpr Zel32u kTag = sizeof(T) == 4 ? kTag32f : kTag16s;

// Kinds chosen by the hint at construction.
enum Hint : int32_t { kFull = 1, kSplitWidest = 2, kSplitLargest = 3 };

// Bits of `flags`.
constexpr Zel32u kHasGrid = 1u;
constexpr Zel32u kWeighted = 2u;

struct Node;

// What the fixed-width descent and walk read in place of chasing nodes: at an
// inner node the four grandchild centroids side by side, at a leaf the
// centroids of its neighbours side by side.
struct FastBlock {
    void* pQuad;
    void* pNeighbourCentroids;
    Node** ppNeighbourNodes;
};

struct Node {
    float spread;  // leaf: twice the largest member distance, 0 below 2 members
    void* pCentroid;
    int32_t index;  // leaf: its row in the table
    int32_t count;  // members; frozen at the split for an inner node
    int32_t isLeaf;
    int32_t nodeDepth;
    Node* pLeft;
    Node* pRight;
    int32_t nNeighbours;
    Node** ppNeighbours;  // nearest other leaves, nearest first
    FastBlock* pFast;     // width 1, 2, 4 or 8 only
};

// Width 1: slot c + 1 lists the candidate rows of cell c; slots 0 and
// nCells + 1 take the queries below and above the cells.
struct Grid1 {
    int32_t nCells;
    float cellWidth, lo, hi;
    int32_t** ppLists;
    int32_t* pCounts;
};

// Width 2: (ny + 2) x (nx + 2) slots in row order, a border of strips around
// the inner cells. Cell rows run down from yOrigin.
struct Grid2 {
    int32_t nx, ny;
    float cellWidth, cellHeight, xOrigin, yOrigin, xHigh, yLow;
    int32_t** ppLists;
    int32_t* pCounts;
};

struct Record {
    Zel32u tag;  // kind word; cleared on release
    int32_t depth;
    int32_t nEntries;
    int32_t width;
    int32_t rowStride;
    int32_t hint;
    void* pTable;
    Node* pRoot;
    Zel32u flags;
    void* pWeights;
    void* pGrid;
    int32_t levels;  // bits of a packed index
    float* pScratch;  // one float per codeword, for the single-vector searches
    int32_t owned;    // 1: from an allocating builder, released by zelsCdbkFree
};

template <class T>
const T* tableRow(const Record& r, int i) {
    return static_cast<const T*>(r.pTable) + static_cast<ptrdiff_t>(i) * r.rowStride;
}

// The record behind a public pointer, or null when its tag is not `want`.
inline const Record* recordOf(const void* p, Zel32u want) {
    const Record* r = static_cast<const Record*>(p);
    return r->tag == want ? r : nullptr;
}

// Bits of an index: the bit length of n, less one.
inline int32_t indexBits(int32_t n) {
    int32_t b = 0;
    while (n > 0) {
        ++b;
        n >>= 1;
    }
    return b - 1 < 0 ? 0 : b - 1;
}

// ---- Comparisons with their tolerances ----------------------------------------------
// Near ties between distances of different arithmetic orders (scan, tree,
// scoring calls) are decided the same way everywhere: a is only preferred
// to b when it is larger by more than one part in a million.
inline bool clearlyGreater(float a, float b) { return double(a) > double(b) * 1.000001; }
inline bool nearlyEqual(float a, float b) {
    const double hi = a > b ? a : b;
    return fabs(hi) * 9.999999747378752e-5 >= fabs(double(a) - double(b));
}

// ---- Distances through the scoring functions ------------------------------------------
// S = sum of (row - x)^2 * w of n rows, `step` elements apart. Frame scoring
// with a zero constant gives -S / 2, which doubles back to S exactly for
// every S above the subnormal range, in the one arithmetic order that every
// search and the training share. A zero distance comes back as +0.
inline void sqDistances(const float* rows, int step, const float* x, const float* w, int width, int n, float* out) {
    if (n < 1) return;
    if (w) zelsLogGauss_32f_D2(rows, step, x, w, width, out, n, 0.0f);
    else zelsLogGauss_IdVar_32f_D2(rows, step, x, width, out, n, 0.0f);
    for (int i = 0; i < n; ++i) out[i] = 0.0f - 2.0f * out[i];
}

// The same for rows reached through a table of pointers.
inline void sqDistancesL(const float** rows, const float* x, const float* w, int width, int n, float* out) {
    if (n < 1) return;
    if (w) zelsLogGauss_32f_D2L(rows, x, w, width, out, n, 0.0f);
    else zelsLogGauss_IdVar_32f_D2L(rows, x, width, out, n, 0.0f);
    for (int i = 0; i < n; ++i) out[i] = 0.0f - 2.0f * out[i];
}

inline float sqDistance(const float* a, const float* x, const float* w, int width) {
    float d;
    sqDistances(a, width, x, w, width, 1, &d);
    return d;
}

// ---- Elements as singles ------------------------------------------------------------

inline void toFloat(const float* p, float* dst, int n) {
    for (int i = 0; i < n; ++i) dst[i] = p[i];
}
inline void toFloat(const Zel16s* p, float* dst, int n) {
    for (int i = 0; i < n; ++i) dst[i] = static_cast<float>(p[i]);
}

// A block of zelMalloc memory released on every exit.
// Counts are taken in 64 bits, so that a product of two ints cannot wrap
// on a 32-bit build; a count beyond the address space gives null.
template <class T>
struct Scratch {
    T* p = nullptr;
    Scratch() = default;
    explicit Scratch(uint64_t n) { alloc(n); }
    bool alloc(uint64_t n) {
        zelFree(p);
        p = nullptr;
        if (n > (uint64_t(SIZE_MAX) - 64) / sizeof(T)) return false;
        p = static_cast<T*>(zelMalloc(size_t(n) * sizeof(T) + 64));
        return p != nullptr;
    }
    ~Scratch() { zelFree(p); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
};

}  // namespace zel::vq
