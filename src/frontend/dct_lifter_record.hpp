// SPDX-License-Identifier: Apache-2.0
// The DCT lifter's state record and the layout of its cosine rows, free of
// any vector vocabulary, so that the baseline kernels (dct_lifter_kernels.hpp)
// and the wide ones (dct_lifter_wide_kernels.hpp) read one record.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace zel::lifter {

// Tags that tell a ready float state from a ready 16-bit one; anything else
// (a released state, memory never built) is refused.
enum : uint32_t { kTagFloat = 0x4c494633u, kTagFixed = 0x4c493631u, kTagNone = 0 };

struct Record {
    uint32_t tag;
    int32_t nLifter;      // -1 in the Mul flavours
    int32_t lenDCT;       // N
    int32_t lenCepstrum;  // C, coefficients besides coefficient 0
    int32_t hasC0;
    int32_t ownsMemory;   // 1 for a state from InitAlloc
    float* pLifter;       // C + 1 multipliers, entry i for coefficient i
    float* pOut;          // 16-bit states: C + 1 float results before conversion
    float** ppCos;        // C + 1 rows of N cosines (see rowElement)
};

// Rows 1 .. C & ~3 go in groups of four that share one stretch of memory,
// element by element in fours: for each four columns, the four of the
// group's first row, then of its second, third and fourth. So one load of
// sixteen floats holds a column four of the whole group, and one of four
// floats a column four of one row. ppCos[i] points at row i's first four;
// row 0 and the rows after the last group are plain rows. Every stretch
// starts on a 32-byte boundary, and columns past N - 1 hold zeros.
inline bool isGrouped(int row, int lenCepstrum) { return row >= 1 && row <= (lenCepstrum & ~3); }
inline ptrdiff_t rowElement(int row, int lenCepstrum, int j) {
    return isGrouped(row, lenCepstrum) ? ptrdiff_t(16 * (j / 4) + j % 4) : ptrdiff_t(j);
}

}  // namespace zel::lifter
