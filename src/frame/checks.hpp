// SPDX-License-Identifier: Apache-2.0
// Argument checks of the exported functions, so that a family's ordered list
// of checks reads like a table:
//
//   if (ZelStatus s = firstError(requireStride(step, width),
//                                requireNonNull(pSrc, pMean, pVar, pDst),
//                                requirePositive(width, height)))
//       return s;
//
// Every test in such a list is evaluated, so each must be a pure test of
// argument values. A test that reads through a pointer (a state's tag, say)
// stands on its own line after the null test of that pointer.
#pragma once

#include <stdint.h>

#include <type_traits>

#include "zelsr.h"

namespace zel {

// The first non-zero status, in argument order.
template <class... S>
constexpr ZelStatus firstError(S... s) {
    ZelStatus r = zelStsNoErr;
    ((r = (r != zelStsNoErr) ? r : static_cast<ZelStatus>(s)), ...);
    return r;
}

template <class... P>
constexpr ZelStatus requireNonNull(const P*... p) {
    return ((p == nullptr) || ...) ? zelStsNullPtrErr : zelStsNoErr;
}

// Lengths, widths, heights and counts: below 1 is a size error.
template <class... N>
constexpr ZelStatus requirePositive(N... n) {
    return ((n < 1) || ...) ? zelStsSizeErr : zelStsNoErr;
}

// A D2 step counts elements and must cover the width that is read.
constexpr ZelStatus requireStride(int step, int width) {
    return step < width ? zelStsStrideErr : zelStsNoErr;
}

constexpr ZelStatus require(bool ok, ZelStatus status) { return ok ? zelStsNoErr : status; }

// D2L tables whose family tests its rows (most trust them, as they trust a
// buffer's length): a null row among the first `rows` is a null pointer as
// much as a null table is. An argument that is no table passes.
template <class P>
inline ZelStatus requireTableRows(const P* p, int rows) {
    if constexpr (std::is_pointer_v<P>) {
        for (int y = 0; y < rows; ++y)
            if (p[y] == nullptr) return zelStsNullPtrErr;
    }
    (void)p, (void)rows;
    return zelStsNoErr;
}

// ---- Alignment -------------------------------------------------------------

inline bool isAligned16(const void* p) { return (reinterpret_cast<uintptr_t>(p) & 15u) == 0; }

template <class... P>
inline bool allAligned16(const P*... p) {
    return (isAligned16(p) && ...);
}

}  // namespace zel

// Non-zero at the first row of a D2L table whose pointer is not a multiple of 16.
template <class T>
inline int ownRowsAligned(const T* const* rows, int height) {
    for (int y = 0; y < height; ++y)
        if (!zel::isAligned16(rows[y])) return 1;
    return 0;
}
