// SPDX-License-Identifier: Apache-2.0
// Vector forming and selection: feature vectors rebuilt from codeword
// indices (zelsFormVector*, zelsFormVectorVQ_*), and the shortlist and sign
// bit tables (zelsFillShortlist_*, zelsBuildSignTable_*). Every index is
// tested before the first element is written.
#include <string.h>

#include "frame/checks.hpp"
#include "vq/cdbk.hpp"
#include "vq/form_vector_kernels.hpp"

using namespace zel;
using namespace zel::vq;
using namespace zel::vq::form;

namespace {

// ---- Streams of tables -------------------------------------------------------------------

template <class I, class T>
ZelStatus formVector(const I* pInd, const T** ppTables, const int* pHeights, const int* pWidths, const int* pSteps,
                     int nStreams, T* pDst) {
    if (ZelStatus s = firstError(requireNonNull(pInd, ppTables, pHeights, pWidths, pSteps, pDst),
                                 requirePositive(nStreams)))
        return s;
    for (int s = 0; s < nStreams; ++s) {
        if (!ppTables[s]) return zelStsNullPtrErr;
        const int idx = pInd[s];
        if (pWidths[s] < 1 || pSteps[s] < 1 || idx < 0 || idx >= pHeights[s]) return zelStsSizeErr;
    }
    formStreams(pInd, ppTables, pWidths, pSteps, nStreams, pDst);
    return zelStsNoErr;
}

template <int W, class I, class T>
ZelStatus formVectorFixed(const I* pInd, const T** ppTables, const int* pHeights, T* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pInd, ppTables, pHeights, pDst), requirePositive(len))) return s;
    const int streams = len / W;
    for (int s = 0; s < streams; ++s) {
        if (!ppTables[s]) return zelStsNullPtrErr;
        if (pInd[s] < 0 || pInd[s] >= pHeights[s]) return zelStsSizeErr;
    }
    formFixed<W>(pInd, ppTables, streams, pDst);
    return zelStsNoErr;
}

// ---- Index tables read back ------------------------------------------------------------

enum class Packing { Bytes, Shorts, Bits };

template <class T, Packing P, class Src, class State>
ZelStatus formVectorVQ(const Src* pSrc, int srcStep, T* pDst, int dstStep, int height, const State** ppCdbks,
                       int nStreams) {
    if (ZelStatus s = firstError(requireNonNull(ppCdbks, pSrc, pDst),
                                 requirePositive(nStreams, srcStep, dstStep, height),
                                 require(P == Packing::Bits || nStreams <= srcStep, zelStsSizeErr)))
        return s;
    for (int s = 0; s < nStreams; ++s)
        if (!ppCdbks[s]) return zelStsNullPtrErr;
    int64_t widths = 0, bits = 0;
    for (int s = 0; s < nStreams; ++s) {
        const Record* c = recordOf(ppCdbks[s], kTag<T>);
        if (!c) return zelStsContextMatchErr;
        if (P == Packing::Bytes && c->nEntries > 256) return zelStsSizeErr;
        widths += c->width;
        bits += c->levels;
    }
    if (widths > dstStep) return zelStsSizeErr;
    if (P == Packing::Bits && bits > srcStep) return zelStsSizeErr;

    const int64_t n = int64_t(height) * nStreams;
    Scratch<int32_t> ind{uint64_t(n)};
    if (!ind.p) return zelStsMemAllocErr;
    for (int r = 0; r < height; ++r) {
        int64_t bit = int64_t(r) * srcStep;
        for (int s = 0; s < nStreams; ++s) {
            const Record* c = reinterpret_cast<const Record*>(ppCdbks[s]);
            int32_t i;
            if constexpr (P == Packing::Bits) {
                i = static_cast<int32_t>(readBits(reinterpret_cast<const Zel8u*>(pSrc), bit, c->levels));
                bit += c->levels;
            } else {
                i = pSrc[int64_t(r) * srcStep + s];
            }
            if (i < 0 || i >= c->nEntries) return zelStsBadArgErr;
            ind.p[int64_t(r) * nStreams + s] = i;
        }
    }
    formRows(ind.p, height, nStreams, reinterpret_cast<const Record* const*>(ppCdbks), pDst, dstStep);
    return zelStsNoErr;
}

// ---- Bit tables -------------------------------------------------------------------------

// Where the indices of group g (a row or a column) stand, and how many.
struct Groups {
    const Zel32s* pIndx;
    const int* pCounts;  // null: `count` each
    int count;
    int64_t start(int g) const { return pCounts ? starts[g] : int64_t(g) * count; }
    int size(int g) const { return pCounts ? pCounts[g] : count; }
    const int64_t* starts = nullptr;
};

// Offsets of the groups of a Var form, with every count tested; each must
// be at least 1.
ZelStatus groupStarts(const int* pCounts, int groups, Scratch<int64_t>& starts) {
    for (int g = 0; g < groups; ++g)
        if (pCounts[g] < 1) return zelStsSizeErr;
    if (!starts.alloc(size_t(groups))) return zelStsMemAllocErr;
    int64_t at = 0;
    for (int g = 0; g < groups; ++g) {
        starts.p[g] = at;
        at += pCounts[g];
    }
    return zelStsNoErr;
}

// Every index of every group inside [0, limit), and every row pointer it
// reaches there.
template <class RowOf>
ZelStatus checkIndices(const Groups& gr, int groups, int limit, RowOf rowOf) {
    for (int g = 0; g < groups; ++g) {
        const Zel32s* p = gr.pIndx + gr.start(g);
        for (int k = 0; k < gr.size(g); ++k) {
            if (p[k] < 0 || p[k] >= limit) return zelStsBadArgErr;
            if (!rowOf(g, p[k])) return zelStsNullPtrErr;
        }
    }
    return zelStsNoErr;
}

inline int64_t bytesFor(int64_t bits) { return (bits + 7) / 8; }

// Row forms: group r lists columns of row r. Column forms: group c lists the
// rows whose bit c toggles.
ZelStatus shortlist(bool byRow, const Zel32s* pIndx, const int* pCounts, int count, Zel8u** ppDst, int groups,
                    int limit, int rowBytes, int offset) {
    // groups: rows (row forms) or len (column forms); limit: nCols or nRows.
    if (ZelStatus s = firstError(requirePositive(limit, groups, rowBytes, pCounts ? 1 : count),
                                 require(offset >= 0, zelStsSizeErr)))
        return s;
    Scratch<int64_t> starts;
    if (pCounts)
        if (ZelStatus s = groupStarts(pCounts, groups, starts)) return s;
    const int64_t span = byRow ? limit : groups;
    if (rowBytes < bytesFor(int64_t(offset) + span)) return zelStsStrideErr;
    Groups gr{pIndx, pCounts, count};
    gr.starts = starts.p;
    auto rowOf = [&](int g, int x) -> Zel8u* { return byRow ? ppDst[g] : ppDst[x]; };
    if (ZelStatus s = checkIndices(gr, groups, limit, rowOf)) return s;
    for (int g = 0; g < groups; ++g) {
        const Zel32s* p = pIndx + gr.start(g);
        for (int k = 0; k < gr.size(g); ++k) {
            if (byRow) toggleBit(ppDst[g], int64_t(offset) + p[k]);
            else toggleBit(ppDst[p[k]], int64_t(offset) + g);
        }
    }
    return zelStsNoErr;
}

ZelStatus signTable(const Zel32s* pIndx, const int* pCounts, int count, const Zel8u** ppSrc, int nSrc, int srcBytes,
                    int offset, Zel8u* pDst, int rows, int len) {
    if (ZelStatus s = firstError(requirePositive(pCounts ? 1 : count, nSrc, srcBytes, len, rows),
                                 require(offset >= 0, zelStsSizeErr)))
        return s;
    Scratch<int64_t> starts;
    if (pCounts)
        if (ZelStatus s = groupStarts(pCounts, rows, starts)) return s;
    const int64_t used = bytesFor(int64_t(offset) + len);
    if (srcBytes < used) return zelStsStrideErr;
    Groups gr{pIndx, pCounts, count};
    gr.starts = starts.p;
    if (ZelStatus s = checkIndices(gr, rows, nSrc, [&](int, int x) { return ppSrc[x]; })) return s;
    const int64_t outBytes = bytesFor(len);
    const unsigned lastMask = (0xFF00u >> (len % 8 == 0 ? 8 : len % 8)) & 0xFFu;
    memset(pDst, 0, size_t(outBytes * rows));
    for (int r = 0; r < rows; ++r) {
        Zel8u* out = pDst + outBytes * r;
        const Zel32s* p = pIndx + gr.start(r);
        for (int k = 0; k < gr.size(r); ++k) {
            const Zel8u* src = ppSrc[p[k]];
            for (int64_t b = 0; b < outBytes; ++b) out[b] |= static_cast<Zel8u>(byteAt(src, offset + 8 * b, used));
        }
        out[outBytes - 1] &= static_cast<Zel8u>(lastMask);
    }
    return zelStsNoErr;
}

}  // namespace

extern "C" {

// ---- zelsFormVector ----------------------------------------------------------------------

ZELSR_API ZelStatus zelsFormVector_8u16s(const Zel8u* pInd, const Zel16s** ppTables, const int* pHeights,
                                         const int* pWidths, const int* pSteps, int nStreams, Zel16s* pDst) {
    return formVector(pInd, ppTables, pHeights, pWidths, pSteps, nStreams, pDst);
}
ZELSR_API ZelStatus zelsFormVector_8u32f(const Zel8u* pInd, const Zel32f** ppTables, const int* pHeights,
                                         const int* pWidths, const int* pSteps, int nStreams, Zel32f* pDst) {
    return formVector(pInd, ppTables, pHeights, pWidths, pSteps, nStreams, pDst);
}
ZELSR_API ZelStatus zelsFormVector_16s16s(const Zel16s* pInd, const Zel16s** ppTables, const int* pHeights,
                                          const int* pWidths, const int* pSteps, int nStreams, Zel16s* pDst) {
    return formVector(pInd, ppTables, pHeights, pWidths, pSteps, nStreams, pDst);
}
ZELSR_API ZelStatus zelsFormVector_16s32f(const Zel16s* pInd, const Zel32f** ppTables, const int* pHeights,
                                          const int* pWidths, const int* pSteps, int nStreams, Zel32f* pDst) {
    return formVector(pInd, ppTables, pHeights, pWidths, pSteps, nStreams, pDst);
}

ZELSR_API ZelStatus zelsFormVector_2i_8u16s(const Zel8u* pInd, const Zel16s** ppTables, const int* pHeights,
                                            Zel16s* pDst, int len) {
    return formVectorFixed<2>(pInd, ppTables, pHeights, pDst, len);
}
ZELSR_API ZelStatus zelsFormVector_2i_8u32f(const Zel8u* pInd, const Zel32f** ppTables, const int* pHeights,
                                            Zel32f* pDst, int len) {
    return formVectorFixed<2>(pInd, ppTables, pHeights, pDst, len);
}
ZELSR_API ZelStatus zelsFormVector_2i_16s16s(const Zel16s* pInd, const Zel16s** ppTables, const int* pHeights,
                                             Zel16s* pDst, int len) {
    return formVectorFixed<2>(pInd, ppTables, pHeights, pDst, len);
}
ZELSR_API ZelStatus zelsFormVector_2i_16s32f(const Zel16s* pInd, const Zel32f** ppTables, const int* pHeights,
                                             Zel32f* pDst, int len) {
    return formVectorFixed<2>(pInd, ppTables, pHeights, pDst, len);
}
ZELSR_API ZelStatus zelsFormVector_4i_8u16s(const Zel8u* pInd, const Zel16s** ppTables, const int* pHeights,
                                            Zel16s* pDst, int len) {
    return formVectorFixed<4>(pInd, ppTables, pHeights, pDst, len);
}
ZELSR_API ZelStatus zelsFormVector_4i_8u32f(const Zel8u* pInd, const Zel32f** ppTables, const int* pHeights,
                                            Zel32f* pDst, int len) {
    return formVectorFixed<4>(pInd, ppTables, pHeights, pDst, len);
}
ZELSR_API ZelStatus zelsFormVector_4i_16s16s(const Zel16s* pInd, const Zel16s** ppTables, const int* pHeights,
                                             Zel16s* pDst, int len) {
    return formVectorFixed<4>(pInd, ppTables, pHeights, pDst, len);
}
ZELSR_API ZelStatus zelsFormVector_4i_16s32f(const Zel16s* pInd, const Zel32f** ppTables, const int* pHeights,
                                             Zel32f* pDst, int len) {
    return formVectorFixed<4>(pInd, ppTables, pHeights, pDst, len);
}

// ---- zelsFormVectorVQ --------------------------------------------------------------------

ZELSR_API ZelStatus zelsFormVectorVQ_8u16s(const Zel8u* pSrc, int srcStep, Zel16s* pDst, int dstStep, int height,
                                           const ZelCdbkState_16s** ppCdbks, int nStreams) {
    return formVectorVQ<Zel16s, Packing::Bytes>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
ZELSR_API ZelStatus zelsFormVectorVQ_8u32f(const Zel8u* pSrc, int srcStep, Zel32f* pDst, int dstStep, int height,
                                           const ZelCdbkState_32f** ppCdbks, int nStreams) {
    return formVectorVQ<Zel32f, Packing::Bytes>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
ZELSR_API ZelStatus zelsFormVectorVQ_16s16s(const Zel16s* pSrc, int srcStep, Zel16s* pDst, int dstStep, int height,
                                            const ZelCdbkState_16s** ppCdbks, int nStreams) {
    return formVectorVQ<Zel16s, Packing::Shorts>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
ZELSR_API ZelStatus zelsFormVectorVQ_16s32f(const Zel16s* pSrc, int srcStep, Zel32f* pDst, int dstStep, int height,
                                            const ZelCdbkState_32f** ppCdbks, int nStreams) {
    return formVectorVQ<Zel32f, Packing::Shorts>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
ZELSR_API ZelStatus zelsFormVectorVQ_1u16s(const Zel8u* pSrc, int srcStep, Zel16s* pDst, int dstStep, int height,
                                           const ZelCdbkState_16s** ppCdbks, int nStreams) {
    return formVectorVQ<Zel16s, Packing::Bits>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}
ZELSR_API ZelStatus zelsFormVectorVQ_1u32f(const Zel8u* pSrc, int srcStep, Zel32f* pDst, int dstStep, int height,
                                           const ZelCdbkState_32f** ppCdbks, int nStreams) {
    return formVectorVQ<Zel32f, Packing::Bits>(pSrc, srcStep, pDst, dstStep, height, ppCdbks, nStreams);
}

// ---- Shortlists --------------------------------------------------------------------------

ZELSR_API ZelStatus zelsFillShortlist_Row_1u(const Zel32s* pIndx, int nCols, int count, Zel8u** ppDst, int rows,
                                             int rowBytes, int offset) {
    if (ZelStatus s = requireNonNull(pIndx, ppDst)) return s;
    return shortlist(true, pIndx, nullptr, count, ppDst, rows, nCols, rowBytes, offset);
}
ZELSR_API ZelStatus zelsFillShortlist_RowVar_1u(const Zel32s* pIndx, const int* pCounts, int nCols, Zel8u** ppDst,
                                                int rows, int rowBytes, int offset) {
    if (ZelStatus s = requireNonNull(pIndx, pCounts, ppDst)) return s;
    return shortlist(true, pIndx, pCounts, 1, ppDst, rows, nCols, rowBytes, offset);
}
ZELSR_API ZelStatus zelsFillShortlist_Column_1u(const Zel32s* pIndx, int count, Zel8u** ppDst, int nRows,
                                                int rowBytes, int offset, int len) {
    if (ZelStatus s = requireNonNull(pIndx, ppDst)) return s;
    return shortlist(false, pIndx, nullptr, count, ppDst, len, nRows, rowBytes, offset);
}
ZELSR_API ZelStatus zelsFillShortlist_ColumnVar_1u(const Zel32s* pIndx, const int* pCounts, Zel8u** ppDst, int nRows,
                                                   int rowBytes, int offset, int len) {
    if (ZelStatus s = requireNonNull(pIndx, pCounts, ppDst)) return s;
    return shortlist(false, pIndx, pCounts, 1, ppDst, len, nRows, rowBytes, offset);
}

// ---- Sign tables -------------------------------------------------------------------------

ZELSR_API ZelStatus zelsBuildSignTable_8u1u(const Zel32s* pIndx, int count, const Zel8u** ppSrc, int nSrc,
                                            int srcBytes, int offset, Zel8u* pDst, int rows, int len) {
    if (ZelStatus s = requireNonNull(pIndx, ppSrc, pDst)) return s;
    return signTable(pIndx, nullptr, count, ppSrc, nSrc, srcBytes, offset, pDst, rows, len);
}
ZELSR_API ZelStatus zelsBuildSignTable_Var_8u1u(const Zel32s* pIndx, const int* pCounts, const Zel8u** ppSrc,
                                                int nSrc, int srcBytes, int offset, Zel8u* pDst, int rows, int len) {
    if (ZelStatus s = requireNonNull(pIndx, pCounts, ppSrc, pDst)) return s;
    return signTable(pIndx, pCounts, 1, ppSrc, nSrc, srcBytes, offset, pDst, rows, len);
}

}  // extern "C"
