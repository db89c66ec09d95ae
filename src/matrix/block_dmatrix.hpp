// SPDX-License-Identifier: Apache-2.0
// The block-diagonal matrix record behind ZelBlockDMatrix_16s, _32f and _64f.
// One allocation holds the record, the block sizes, one row pointer per row
// and the rows; a block of size n gives n rows of n elements, each row on a
// 16-byte boundary. The record is the same for the three element types but
// for the kind word, so a matrix of one type handed to a function of another
// is refused by its tag.
#pragma once

#include "zelsr.h"

namespace zel::blockd {

template <class T>
struct Record {
    T** ppRows;            // one pointer per row over all blocks
    Zel32s* pBlockSizes;   // nBlocks sizes
    void* pAlloc;          // start of the one allocation, for release
    Zel16s nBlocks;
    Zel16s totalSize;      // sum of the sizes: the length a scoring call passes
    Zel32u tag;            // kind word; cleared on release
};

constexpr Zel32u kTagNone = 0;
template <class T>
inline constexpr Zel32u kTag = sizeof(T) == 2 ? 0x36314442u : (sizeof(T) == 4 ? 0x32334442u : 0x34364442u);  // "BD16" "BD32" "BD64"

// Counts are kept in 16 bits, so a larger total dimension has no record.
constexpr int kMaxTotalSize = 32767;

// The record if the state is a matrix of element type T, else null.
template <class T>
inline const Record<T>* ready(const void* pState) {
    const Record<T>* r = static_cast<const Record<T>*>(pState);
    return r->tag == kTag<T> ? r : nullptr;
}

}  // namespace zel::blockd

struct ZelBlockDMatrix_16s : zel::blockd::Record<Zel16s> {};
struct ZelBlockDMatrix_32f : zel::blockd::Record<Zel32f> {};
struct ZelBlockDMatrix_64f : zel::blockd::Record<Zel64f> {};
