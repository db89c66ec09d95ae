// SPDX-License-Identifier: Apache-2.0
// zelsBlockDMatrixInitAlloc and zelsBlockDMatrixFree: a block-diagonal
// matrix copied into one allocation, and its release.
#include "matrix/block_dmatrix.hpp"

#include <stdint.h>
#include <string.h>

#include "frame/checks.hpp"
#include "zelcore.h"

using namespace zel;
using namespace zel::blockd;

namespace {

constexpr uint64_t round16(uint64_t n) { return (n + 15) & ~uint64_t{15}; }

// Byte offsets inside the allocation. Pointers count at their real width,
// so the block is large enough on any build.
struct Layout {
    uint64_t sizes, rowPointers, rows, bytes;
};

template <class T>
uint64_t rowPitch(int n) {
    return round16(uint64_t(n) * sizeof(T));
}

template <class T>
Layout layout(const int* pBlockSizes, int nBlocks, int totalSize) {
    Layout l;
    l.sizes = round16(sizeof(Record<T>));
    l.rowPointers = round16(l.sizes + uint64_t(nBlocks) * sizeof(Zel32s));
    l.rows = round16(l.rowPointers + uint64_t(totalSize) * sizeof(T*));
    l.bytes = l.rows;
    for (int b = 0; b < nBlocks; ++b) l.bytes += uint64_t(pBlockSizes[b]) * rowPitch<T>(pBlockSizes[b]);
    return l;
}

// The sizes in order: nBlocks, then each block, then the total, which must
// fit the record's 16-bit count.
ZelStatus checkSizes(const int* pBlockSizes, int nBlocks, int* pTotal) {
    if (ZelStatus s = requirePositive(nBlocks)) return s;
    int64_t total = 0;
    for (int b = 0; b < nBlocks; ++b) {
        if (ZelStatus s = requirePositive(pBlockSizes[b])) return s;
        total += pBlockSizes[b];
    }
    if (total > kMaxTotalSize) return zelStsSizeErr;
    *pTotal = static_cast<int>(total);
    return zelStsNoErr;
}

template <class T, class Matrix>
ZelStatus initAlloc(Matrix** ppMatrix, const T* const* mSrc, const int* pBlockSizes, int nBlocks) {
    if (ZelStatus s = requireNonNull(ppMatrix, mSrc, pBlockSizes)) return s;
    int total = 0;
    if (ZelStatus s = checkSizes(pBlockSizes, nBlocks, &total)) return s;
    // The rows are copied once, so a missing one is refused before anything is taken.
    for (int r = 0; r < total; ++r)
        if (ZelStatus s = requireNonNull(mSrc[r])) return s;

    const Layout l = layout<T>(pBlockSizes, nBlocks, total);
    if constexpr (sizeof(size_t) < sizeof(uint64_t))
        if (l.bytes > SIZE_MAX) return zelStsMemAllocErr;
    char* base = static_cast<char*>(zelMalloc(static_cast<size_t>(l.bytes)));
    if (!base) return zelStsMemAllocErr;

    Matrix* m = reinterpret_cast<Matrix*>(base);
    m->pBlockSizes = reinterpret_cast<Zel32s*>(base + l.sizes);
    m->ppRows = reinterpret_cast<T**>(base + l.rowPointers);
    m->pAlloc = base;
    m->nBlocks = static_cast<Zel16s>(nBlocks);
    m->totalSize = static_cast<Zel16s>(total);
    char* row = base + l.rows;
    int r = 0;
    for (int b = 0; b < nBlocks; ++b) {
        const int n = pBlockSizes[b];
        const size_t pitch = static_cast<size_t>(rowPitch<T>(n));
        m->pBlockSizes[b] = n;
        for (int i = 0; i < n; ++i, ++r, row += pitch) {
            // The padding behind each row is cleared so that the state is deterministic.
            memset(row, 0, pitch);
            memcpy(row, mSrc[r], size_t(n) * sizeof(T));
            m->ppRows[r] = reinterpret_cast<T*>(row);
        }
    }
    m->tag = kTag<T>;
    *ppMatrix = m;
    return zelStsNoErr;
}

// One body serves the three names: a matrix of any element type is released.
ZelStatus release(void* pMatrix) {
    if (ZelStatus s = requireNonNull(pMatrix)) return s;
    Record<Zel16s>* r = static_cast<Record<Zel16s>*>(pMatrix);
    if (r->tag != kTag<Zel16s> && r->tag != kTag<Zel32f> && r->tag != kTag<Zel64f>) return zelStsContextMatchErr;
    r->tag = kTagNone;
    zelFree(r->pAlloc);
    return zelStsNoErr;
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsBlockDMatrixInitAlloc_16s(ZelBlockDMatrix_16s** ppMatrix, const Zel16s** mSrc,
                                                  const int* pBlockSizes, int nBlocks) {
    return initAlloc<Zel16s>(ppMatrix, mSrc, pBlockSizes, nBlocks);
}
ZELSR_API ZelStatus zelsBlockDMatrixInitAlloc_32f(ZelBlockDMatrix_32f** ppMatrix, const Zel32f** mSrc,
                                                  const int* pBlockSizes, int nBlocks) {
    return initAlloc<Zel32f>(ppMatrix, mSrc, pBlockSizes, nBlocks);
}
ZELSR_API ZelStatus zelsBlockDMatrixInitAlloc_64f(ZelBlockDMatrix_64f** ppMatrix, const Zel64f** mSrc,
                                                  const int* pBlockSizes, int nBlocks) {
    return initAlloc<Zel64f>(ppMatrix, mSrc, pBlockSizes, nBlocks);
}

ZELSR_API ZelStatus zelsBlockDMatrixFree_16s(ZelBlockDMatrix_16s* pMatrix) { return release(pMatrix); }
ZELSR_API ZelStatus zelsBlockDMatrixFree_32f(ZelBlockDMatrix_32f* pMatrix) { return release(pMatrix); }
ZELSR_API ZelStatus zelsBlockDMatrixFree_64f(ZelBlockDMatrix_64f* pMatrix) { return release(pMatrix); }

}  // extern "C"
