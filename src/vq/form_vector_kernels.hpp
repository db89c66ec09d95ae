// SPDX-License-Identifier: Apache-2.0
// Arithmetic of vector forming and selection: codeword rows copied back
// into feature vectors, packed index rows read back, and the bit tables that
// select Gaussians for mixture evaluation (one bit per candidate, the first
// bit of a row the most significant bit of its first byte).
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "vq/cdbk.hpp"

namespace zel::vq::form {

// ---- Bits of a row ---------------------------------------------------------------------

inline void toggleBit(Zel8u* row, int64_t n) { row[n >> 3] ^= static_cast<Zel8u>(0x80u >> (n & 7)); }
inline bool bitAt(const Zel8u* row, int64_t n) { return (row[n >> 3] & (0x80u >> (n & 7))) != 0; }

// Bits (bit, bit + 8) of a row as one byte, the first of them the most
// significant; a byte past the row's last used one is never read.
inline unsigned byteAt(const Zel8u* row, int64_t bit, int64_t usedBytes) {
    const int64_t b = bit >> 3;
    const int sh = static_cast<int>(bit & 7);
    unsigned v = static_cast<unsigned>(row[b]) << sh;
    if (sh && b + 1 < usedBytes) v |= static_cast<unsigned>(row[b + 1]) >> (8 - sh);
    return v & 0xFFu;
}

// `nBits` bits from bit `bit` as an unsigned integer, most significant first.
inline uint32_t readBits(const Zel8u* p, int64_t bit, int nBits) {
    uint32_t v = 0;
    for (int i = 0; i < nBits; ++i) v = (v << 1) | (bitAt(p, bit + i) ? 1u : 0u);
    return v;
}
inline void writeBits(Zel8u* p, int64_t bit, int nBits, uint32_t v) {
    for (int i = 0; i < nBits; ++i)
        if ((v >> (nBits - 1 - i)) & 1u) p[(bit + i) >> 3] |= static_cast<Zel8u>(0x80u >> ((bit + i) & 7));
}

// ---- Rows of tables --------------------------------------------------------------------

// Stream by stream, pWidths[s] elements of row pInd[s] of table s.
template <class I, class T>
void formStreams(const I* pInd, const T* const* ppTables, const int* pWidths, const int* pSteps, int nStreams, T* pDst) {
    for (int s = 0; s < nStreams; ++s) {
        const T* row = ppTables[s] + static_cast<ptrdiff_t>(pInd[s]) * pSteps[s];
        memcpy(pDst, row, sizeof(T) * static_cast<size_t>(pWidths[s]));
        pDst += pWidths[s];
    }
}

// Streams of a fixed width W with tables packed by it: a copy of W elements
// per stream, which the compiler turns into one move.
template <int W, class I, class T>
void formFixed(const I* pInd, const T* const* ppTables, int streams, T* pDst) {
    for (int s = 0; s < streams; ++s) memcpy(pDst + W * s, ppTables[s] + static_cast<ptrdiff_t>(pInd[s]) * W, sizeof(T) * W);
}

// Destination rows from unpacked indices, `nStreams` per row.
template <class T>
void formRows(const int32_t* ind, int height, int nStreams, const Record* const* cdbks, T* pDst, int dstStep) {
    for (int r = 0; r < height; ++r) {
        T* d = pDst + static_cast<ptrdiff_t>(r) * dstStep;
        for (int s = 0; s < nStreams; ++s) {
            const Record& c = *cdbks[s];
            memcpy(d, tableRow<T>(c, ind[static_cast<ptrdiff_t>(r) * nStreams + s]), sizeof(T) * size_t(c.width));
            d += c.width;
        }
    }
}

}  // namespace zel::vq::form
