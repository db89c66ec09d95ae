// SPDX-License-Identifier: Apache-2.0
// What the scoring kernels hand to the wide kernels of
// log_gauss_wide_avx2.cpp and log_gauss_wide_avx512.cpp. Only declarations
// and plain records: this header is read by files of every instruction set.
//
// A wide kernel computes the raw sums of a whole number of row blocks (8
// rows with AVX2, 16 with AVX-512) into an array; the caller finishes each
// score with the sink of the baseline kernel, so that the formula after the
// sum stays in one place. Each row keeps its four lanes, its order of
// additions and its fold, so the sums are the bits of the baseline kernels.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace zel::gauss {

// Where row y of a matrix lies, for kernels compiled apart from the
// accessor templates: table[y] when there is a table, else base plus y
// times the pitch in bytes. A pitch of 0 without a table is one vector that
// serves every row; a null base and table are absent weights.
struct RowRef {
    const void* base;
    const void* const* table;
    ptrdiff_t pitch;

    bool shared() const { return table == nullptr && pitch == 0; }
    template <class T>
    const T* row(int y) const {
        if (table) return static_cast<const T*>(table[y]);
        return reinterpret_cast<const T*>(static_cast<const char*>(base) + y * pitch);
    }
};

// The shift counts of the Low sums, as LowShifts and PairShift hold them.
struct WideShifts {
    int hLeft;
    int hRight;
    int lRight;
};

#define ZELSR_WIDE_GAUSS_KERNELS                                                                                     \
    /* -S of rows 0 to rows - 1 (whole blocks). */                                                  \
    void floatSums(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, float* out);           \
    /* T (with weights) or S (without) of the 16-bit members with single-precision lanes, width 8 and up. */       \
    void wideSums(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, float* out);            \
    /* The Low integer sums, each row shifted once; any number of rows. */                                         \
    void lowSums(const RowRef& x, const RowRef& m, const RowRef& w, int width, int rows, WideShifts sh,             \
                 int32_t* out);                                                                                    \
    /* The IdVarLow integer sums, each pair shifted right by `right` and left by `left`; any number of rows. */   \
    void idLowSums(const RowRef& x, const RowRef& m, int width, int rows, int right, int left, int32_t* out);

namespace avx2 {
inline constexpr int kBlockRows = 8;
ZELSR_WIDE_GAUSS_KERNELS
}  // namespace avx2

namespace avx512 {
inline constexpr int kBlockRows = 16;
ZELSR_WIDE_GAUSS_KERNELS
}  // namespace avx512

#undef ZELSR_WIDE_GAUSS_KERNELS

}  // namespace zel::gauss
