// SPDX-License-Identifier: Apache-2.0
// zelsSVD, zelsSVDSort and zelsQRTransColumn: the singular value
// decomposition of a double-precision matrix, optionally sorted by
// descending value, and the column rotation it is built on. The forms
// without _I copy the source into U and decompose there. All D2 matrices
// (source, U and V) share the one step.
#include <stdint.h>
#include <string.h>

#include "frame/checks.hpp"
#include "matrix/svd_kernels.hpp"
#include "zelcore.h"
#include "zelsr.h"

using namespace zel;
using namespace zel::mat;

namespace {

// What a call decomposes: the source (null for the _I forms) and its
// destinations, as row accessors of one layout.
template <class SrcRows, class Rows>
ZelStatus decompose(SrcRows src, Rows u, int height, Zel64f* pDstW, Rows v, int width, int nIter, bool sort) {
    // rv1, then for the sort a row buffer and the index vector.
    const uint64_t bytes = uint64_t(width) * (sizeof(double) + (sort ? sizeof(double) + sizeof(int) : 0));
    if (bytes > SIZE_MAX) return zelStsMemAllocErr;
    // NaN or infinity could never pass the convergence test; say so before
    // anything is written.
    if (!allFinite(src, height, width)) return zelStsSvdCnvgErr;
    double* work = static_cast<double*>(zelMalloc(size_t(bytes)));
    if (!work) return zelStsMemAllocErr;
    for (int r = 0; r < height; ++r)
        if (src(r) != u(r)) memmove(u(r), src(r), size_t(width) * sizeof(double));
    ZelStatus status = svdInPlace(u, height, pDstW, v, width, nIter, work);
    if (status == zelStsNoErr && sort) svdSort(u, height, pDstW, v, width, reinterpret_cast<int*>(work + 2 * width), work + width);
    zelFree(work);
    return status;
}

ZelStatus sizes(int height, int width, int nIter) { return requirePositive(height, width, nIter); }

ZelStatus svdD2(const Zel64f* pSrc, Zel64f* pDstU, int height, Zel64f* pDstW, Zel64f* pDstV, int width, int step,
                int nIter, bool sort) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDstU, pDstW, pDstV), sizes(height, width, nIter),
                                 require(step >= width, zelStsSizeErr)))
        return s;
    return decompose(block(pSrc, step), block(pDstU, step), height, pDstW, block(pDstV, step), width, nIter, sort);
}
ZelStatus svdD2L(const Zel64f** mSrc, Zel64f** mDstU, int height, Zel64f* pDstW, Zel64f** mDstV, int width, int nIter,
                 bool sort) {
    if (ZelStatus s = firstError(requireNonNull(mSrc, mDstU, pDstW, mDstV), sizes(height, width, nIter))) return s;
    return decompose(table(mSrc), table(mDstU), height, pDstW, table(mDstV), width, nIter, sort);
}
// The in-place D2 form also refuses a step below the width, which would
// make rows overlap.
ZelStatus svdD2I(Zel64f* pSrcDstU, int height, Zel64f* pDstW, Zel64f* pDstV, int width, int step, int nIter,
                 bool sort) {
    if (ZelStatus s = firstError(requireNonNull(pSrcDstU, pDstW, pDstV), sizes(height, width, nIter),
                                 require(step >= width, zelStsSizeErr)))
        return s;
    const Block<Zel64f> u = block(pSrcDstU, step);
    return decompose(u, u, height, pDstW, block(pDstV, step), width, nIter, sort);
}
ZelStatus svdD2LI(Zel64f** mSrcDstU, int height, Zel64f* pDstW, Zel64f** mDstV, int width, int nIter, bool sort) {
    if (ZelStatus s = firstError(requireNonNull(mSrcDstU, pDstW, mDstV), sizes(height, width, nIter))) return s;
    const Table<Zel64f> u = table(mSrcDstU);
    return decompose(u, u, height, pDstW, table(mDstV), width, nIter, sort);
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsSVD_64f_D2(const Zel64f* pSrc, Zel64f* pDstU, int height, Zel64f* pDstW, Zel64f* pDstV,
                                   int width, int step, int nIter) {
    return svdD2(pSrc, pDstU, height, pDstW, pDstV, width, step, nIter, false);
}
ZELSR_API ZelStatus zelsSVD_64f_D2L(const Zel64f** mSrc, Zel64f** mDstU, int height, Zel64f* pDstW, Zel64f** mDstV,
                                    int width, int nIter) {
    return svdD2L(mSrc, mDstU, height, pDstW, mDstV, width, nIter, false);
}
ZELSR_API ZelStatus zelsSVD_64f_D2_I(Zel64f* pSrcDstU, int height, Zel64f* pDstW, Zel64f* pDstV, int width, int step,
                                     int nIter) {
    return svdD2I(pSrcDstU, height, pDstW, pDstV, width, step, nIter, false);
}
ZELSR_API ZelStatus zelsSVD_64f_D2L_I(Zel64f** mSrcDstU, int height, Zel64f* pDstW, Zel64f** mDstV, int width,
                                      int nIter) {
    return svdD2LI(mSrcDstU, height, pDstW, mDstV, width, nIter, false);
}

ZELSR_API ZelStatus zelsSVDSort_64f_D2(const Zel64f* pSrc, Zel64f* pDstU, int height, Zel64f* pDstW, Zel64f* pDstV,
                                       int width, int step, int nIter) {
    return svdD2(pSrc, pDstU, height, pDstW, pDstV, width, step, nIter, true);
}
ZELSR_API ZelStatus zelsSVDSort_64f_D2L(const Zel64f** mSrc, Zel64f** mDstU, int height, Zel64f* pDstW,
                                        Zel64f** mDstV, int width, int nIter) {
    return svdD2L(mSrc, mDstU, height, pDstW, mDstV, width, nIter, true);
}
ZELSR_API ZelStatus zelsSVDSort_64f_D2_I(Zel64f* pSrcDstU, int height, Zel64f* pDstW, Zel64f* pDstV, int width,
                                         int step, int nIter) {
    return svdD2I(pSrcDstU, height, pDstW, pDstV, width, step, nIter, true);
}
ZELSR_API ZelStatus zelsSVDSort_64f_D2L_I(Zel64f** mSrcDstU, int height, Zel64f* pDstW, Zel64f** mDstV, int width,
                                          int nIter) {
    return svdD2LI(mSrcDstU, height, pDstW, mDstV, width, nIter, true);
}

ZELSR_API ZelStatus zelsQRTransColumn_64f_D2L(Zel64f** mSrcDst, int width, int height, int col1, int col2, Zel64f c,
                                              Zel64f s) {
    if (ZelStatus st = firstError(requireNonNull(mSrcDst), requirePositive(width, height),
                                  require(col1 >= 0 && col1 < width && col2 >= 0 && col2 < width, zelStsSizeErr)))
        return st;
    qrTransColumn(table(mSrcDst), height, col1, col2, c, s);
    return zelStsNoErr;
}

}  // extern "C"
