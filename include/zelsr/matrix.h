/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/matrix.h
 * Matrix kernels and block-diagonal matrices. Included by zelsr.h. */
#ifndef ZELSR_MATRIX_H
#define ZELSR_MATRIX_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Block-diagonal matrices                                                   */
/* ======================================================================== */
/** @{ */
/** A block-diagonal matrix copied into one allocation: mSrc holds one row
 * pointer per row over all blocks, block by block, and a block of size n
 * gives n rows of n elements. The total dimension (the sum of the sizes) is
 * the length that a BlockDVar scoring call must pass; it may not exceed 32767.
 * Checks: null pointers, then nBlocks or a size below 1 or a total above
 * 32767 (zelStsSizeErr), then a null row (zelStsNullPtrErr), then the
 * allocation (zelStsMemAllocErr). Free takes a matrix of any of the three
 * types; memory that holds none gives zelStsContextMatchErr, and a freed
 * matrix may not be used again. */
ZELSR_API ZelStatus zelsBlockDMatrixInitAlloc_16s(ZelBlockDMatrix_16s** ppMatrix, const Zel16s** mSrc,
                                                  const int* pBlockSizes, int nBlocks);
ZELSR_API ZelStatus zelsBlockDMatrixInitAlloc_32f(ZelBlockDMatrix_32f** ppMatrix, const Zel32f** mSrc,
                                                  const int* pBlockSizes, int nBlocks);
ZELSR_API ZelStatus zelsBlockDMatrixInitAlloc_64f(ZelBlockDMatrix_64f** ppMatrix, const Zel64f** mSrc,
                                                  const int* pBlockSizes, int nBlocks);
ZELSR_API ZelStatus zelsBlockDMatrixFree_16s(ZelBlockDMatrix_16s* pMatrix);
ZELSR_API ZelStatus zelsBlockDMatrixFree_32f(ZelBlockDMatrix_32f* pMatrix);
ZELSR_API ZelStatus zelsBlockDMatrixFree_64f(ZelBlockDMatrix_64f* pMatrix);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_MATRIX_H */
