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

/* ======================================================================== */
/* Row and column kernels                                                    */
/* ======================================================================== */
/* A matrix is a table of height rows of width elements. D2 members take one
 * block with a step counted in elements (row y starts at pSrc + y * step);
 * D2L members take a table of row pointers and no step. The two forms of a
 * function compute the same values, bit for bit, whatever the alignment.
 * Nothing is written when a negative status is returned, except where said.
 *
 * Orders of addition: a column sum adds the rows of a column one after the
 * other from row 0. A row sum or a matrix-vector product keeps eight single
 * (four double) partial sums, lane l taking elements l, l + 8, ... up to the
 * last whole group of four (two) elements; they are folded as
 * ((s0 + s4) + (s1 + s5)) + ((s2 + s6) + (s3 + s7)) and the last width
 * modulo 4 (2) elements are then added one by one. */

/** @{ */
/** pDst[i] = sum of row i, for the height rows (output: pDst, height values).
 * 16s32f sums the converted integers in single precision; 16s32s forms the
 * same single-precision sum and stores it rounded to nearest (ties to even)
 * after multiplying by 2^-scaleFactor, saturated to 32 bits.
 * Checks: null pointers (zelStsNullPtrErr), width or height below 1
 * (zelStsSizeErr), step below width (zelStsStrideErr).
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsSumRow_32f_D2(const Zel32f* pSrc, int width, int step, Zel32f* pDst, int height);
ZELSR_API ZelStatus zelsSumRow_64f_D2(const Zel64f* pSrc, int width, int step, Zel64f* pDst, int height);
ZELSR_API ZelStatus zelsSumRow_16s32f_D2(const Zel16s* pSrc, int width, int step, Zel32f* pDst, int height);
ZELSR_API ZelStatus zelsSumRow_16s32s_D2Sfs(const Zel16s* pSrc, int width, int step, Zel32s* pDst, int height,
                                            int scaleFactor);
ZELSR_API ZelStatus zelsSumRow_32f_D2L(const Zel32f** mSrc, int width, Zel32f* pDst, int height);
ZELSR_API ZelStatus zelsSumRow_64f_D2L(const Zel64f** mSrc, int width, Zel64f* pDst, int height);
ZELSR_API ZelStatus zelsSumRow_16s32f_D2L(const Zel16s** mSrc, int width, Zel32f* pDst, int height);
ZELSR_API ZelStatus zelsSumRow_16s32s_D2LSfs(const Zel16s** mSrc, int width, Zel32s* pDst, int height, int scaleFactor);
/** @} */

/** @{ */
/** pDst[j] = sum of column j over the height rows (output: pDst, width
 * values); element types and the 16s32s rule as zelsSumRow.
 * Checks: null pointers, width or height below 1, step below width.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsSumColumn_32f_D2(const Zel32f* pSrc, int height, int step, Zel32f* pDst, int width);
ZELSR_API ZelStatus zelsSumColumn_64f_D2(const Zel64f* pSrc, int height, int step, Zel64f* pDst, int width);
ZELSR_API ZelStatus zelsSumColumn_16s32f_D2(const Zel16s* pSrc, int height, int step, Zel32f* pDst, int width);
ZELSR_API ZelStatus zelsSumColumn_16s32s_D2Sfs(const Zel16s* pSrc, int height, int step, Zel32s* pDst, int width,
                                               int scaleFactor);
ZELSR_API ZelStatus zelsSumColumn_32f_D2L(const Zel32f** mSrc, int height, Zel32f* pDst, int width);
ZELSR_API ZelStatus zelsSumColumn_64f_D2L(const Zel64f** mSrc, int height, Zel64f* pDst, int width);
ZELSR_API ZelStatus zelsSumColumn_16s32f_D2L(const Zel16s** mSrc, int height, Zel32f* pDst, int width);
ZELSR_API ZelStatus zelsSumColumn_16s32s_D2LSfs(const Zel16s** mSrc, int height, Zel32s* pDst, int width,
                                                int scaleFactor);
/** @} */

/** @{ */
/** pDst[j] = column sum times (1 / height), the reciprocal rounded to single
 * precision. The 16-bit form rounds the single-precision mean to nearest
 * (ties to even) and saturates it to 16 bits.
 * Checks, D2: step below width (zelStsStrideErr), null pointers, width or
 * height below 1 (zelStsSizeErr). D2L: null pointers, sizes.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsMeanColumn_32f_D2(const Zel32f* pSrc, int height, int step, Zel32f* pDst, int width);
ZELSR_API ZelStatus zelsMeanColumn_16s_D2(const Zel16s* pSrc, int height, int step, Zel16s* pDst, int width);
ZELSR_API ZelStatus zelsMeanColumn_32f_D2L(const Zel32f** mSrc, int height, Zel32f* pDst, int width);
ZELSR_API ZelStatus zelsMeanColumn_16s_D2L(const Zel16s** mSrc, int height, Zel16s* pDst, int width);
/** @} */

/** @{ */
/** Sample variance of each column about the given mean, in one pass:
 * pDstVar[j] = (sum of x^2 + (-height) * m^2) * (1 / (height - 1)) with
 * m = pSrcMean[j], in single precision (the reciprocal formed in double and
 * rounded). pSrcMean must be the column mean for this to be a variance; the
 * form is sensitive to cancellation. The 16-bit form computes the same on
 * the converted integers and stores var * 2^-scaleFactor rounded to
 * nearest and saturated to 16 bits.
 * Checks, D2: step below width (zelStsStrideErr), null pointers, width below
 * 1 or height below 2 (zelStsSizeErr). D2L: null pointers, sizes.
 * Outputs: pDstVar.
 */
ZELSR_API ZelStatus zelsVarColumn_32f_D2(const Zel32f* pSrc, int height, int step, const Zel32f* pSrcMean,
                                         Zel32f* pDstVar, int width);
ZELSR_API ZelStatus zelsVarColumn_16s_D2Sfs(const Zel16s* pSrc, int height, int step, const Zel16s* pSrcMean,
                                            Zel16s* pDstVar, int width, int scaleFactor);
ZELSR_API ZelStatus zelsVarColumn_32f_D2L(const Zel32f** mSrc, int height, const Zel32f* pSrcMean, Zel32f* pDstVar,
                                          int width);
ZELSR_API ZelStatus zelsVarColumn_16s_D2LSfs(const Zel16s** mSrc, int height, const Zel16s* pSrcMean, Zel16s* pDstVar,
                                             int width, int scaleFactor);
/** @} */

/** @{ */
/** Mean and sample variance of each column (outputs: pDstMean, pDstVar,
 * width values each), as zelsMeanColumn and zelsVarColumn in one pass with
 * the unrounded single-precision mean.
 * 16s: mean rounded to 16 bits (scale 0), variance * 2^-scaleFactor rounded
 * and saturated to 16 bits.
 * 16s32s: in double precision from exact integer sums; mean rounded to
 * nearest in 32 bits (scale 0), variance times 2^-scaleFactor / (height - 1)
 * rounded to nearest and saturated to 32 bits.
 * 16s16s32s: the same in double precision without scaling; mean in 16 bits,
 * variance in 32 bits.
 * Checks: null pointers, width below 1 or height below 2 (zelStsSizeErr),
 * D2: step below width (zelStsStrideErr).
 * Outputs: pDstMean, pDstVar.
 */
ZELSR_API ZelStatus zelsMeanVarColumn_32f_D2(const Zel32f* pSrc, int height, int step, Zel32f* pDstMean,
                                             Zel32f* pDstVar, int width);
ZELSR_API ZelStatus zelsMeanVarColumn_16s_D2Sfs(const Zel16s* pSrc, int height, int step, Zel16s* pDstMean,
                                                Zel16s* pDstVar, int width, int scaleFactor);
ZELSR_API ZelStatus zelsMeanVarColumn_16s32s_D2Sfs(const Zel16s* pSrc, int height, int step, Zel32s* pDstMean,
                                                   Zel32s* pDstVar, int width, int scaleFactor);
ZELSR_API ZelStatus zelsMeanVarColumn_16s16s32s_D2(const Zel16s* pSrc, int height, int step, Zel16s* pDstMean,
                                                   Zel32s* pDstVar, int width);
ZELSR_API ZelStatus zelsMeanVarColumn_32f_D2L(const Zel32f** mSrc, int height, Zel32f* pDstMean, Zel32f* pDstVar,
                                              int width);
ZELSR_API ZelStatus zelsMeanVarColumn_16s_D2LSfs(const Zel16s** mSrc, int height, Zel16s* pDstMean, Zel16s* pDstVar,
                                                 int width, int scaleFactor);
ZELSR_API ZelStatus zelsMeanVarColumn_16s32s_D2LSfs(const Zel16s** mSrc, int height, Zel32s* pDstMean,
                                                    Zel32s* pDstVar, int width, int scaleFactor);
ZELSR_API ZelStatus zelsMeanVarColumn_16s16s32s_D2L(const Zel16s** mSrc, int height, Zel16s* pDstMean,
                                                    Zel32s* pDstVar, int width);
/** @} */

/** @{ */
/** Weighted column statistics, not normalised (the weights are taken to sum
 * to 1; weights summing to 2 give twice the mean):
 * WeightedMean: pDstMean[j] = sum over i of pWgt[i] * x[i][j].
 * WeightedVar: pDstVar[j] = sum of pWgt[i] * x[i][j]^2 - pSrcMean[j]^2.
 * WeightedMeanVar: both, the mean computed here and used for the variance.
 * Checks: null pointers, D2: step below width (zelStsStrideErr), width or
 * height below 1 (zelStsSizeErr).
 * Outputs: pDstMean, pDstVar.
 */
ZELSR_API ZelStatus zelsWeightedMeanColumn_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pWgt, int height,
                                                  Zel32f* pDstMean, int width);
ZELSR_API ZelStatus zelsWeightedMeanColumn_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pWgt, int height,
                                                  Zel64f* pDstMean, int width);
ZELSR_API ZelStatus zelsWeightedMeanColumn_32f_D2L(const Zel32f** mSrc, const Zel32f* pWgt, int height,
                                                   Zel32f* pDstMean, int width);
ZELSR_API ZelStatus zelsWeightedMeanColumn_64f_D2L(const Zel64f** mSrc, const Zel64f* pWgt, int height,
                                                   Zel64f* pDstMean, int width);
ZELSR_API ZelStatus zelsWeightedVarColumn_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pWgt, int height,
                                                 const Zel32f* pSrcMean, Zel32f* pDstVar, int width);
ZELSR_API ZelStatus zelsWeightedVarColumn_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pWgt, int height,
                                                 const Zel64f* pSrcMean, Zel64f* pDstVar, int width);
ZELSR_API ZelStatus zelsWeightedVarColumn_32f_D2L(const Zel32f** mSrc, const Zel32f* pWgt, int height,
                                                  const Zel32f* pSrcMean, Zel32f* pDstVar, int width);
ZELSR_API ZelStatus zelsWeightedVarColumn_64f_D2L(const Zel64f** mSrc, const Zel64f* pWgt, int height,
                                                  const Zel64f* pSrcMean, Zel64f* pDstVar, int width);
ZELSR_API ZelStatus zelsWeightedMeanVarColumn_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pWgt, int height,
                                                     Zel32f* pDstMean, Zel32f* pDstVar, int width);
ZELSR_API ZelStatus zelsWeightedMeanVarColumn_64f_D2(const Zel64f* pSrc, int step, const Zel64f* pWgt, int height,
                                                     Zel64f* pDstMean, Zel64f* pDstVar, int width);
ZELSR_API ZelStatus zelsWeightedMeanVarColumn_32f_D2L(const Zel32f** mSrc, const Zel32f* pWgt, int height,
                                                      Zel32f* pDstMean, Zel32f* pDstVar, int width);
ZELSR_API ZelStatus zelsWeightedMeanVarColumn_64f_D2L(const Zel64f** mSrc, const Zel64f* pWgt, int height,
                                                      Zel64f* pDstMean, Zel64f* pDstVar, int width);
/** @} */

/** @{ */
/** In place: x[i][j] = (x[i][j] - pMean[j]) * pVar[j] (pVar holds the
 * factors, usually inverse standard deviations). 16-bit: the 32-bit product
 * (x - m) * v shifted right arithmetically by scaleFactor without rounding
 * (left by -scaleFactor if negative), saturated to 16 bits.
 * Checks: null pointers, width or height below 1, step below width.
 * Outputs: pSrcDst, mSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsNormalizeColumn_32f_D2(Zel32f* pSrcDst, int step, int height, const Zel32f* pMean,
                                               const Zel32f* pVar, int width);
ZELSR_API ZelStatus zelsNormalizeColumn_16s_D2Sfs(Zel16s* pSrcDst, int step, int height, const Zel16s* pMean,
                                                  const Zel16s* pVar, int width, int scaleFactor);
ZELSR_API ZelStatus zelsNormalizeColumn_32f_D2L(Zel32f** mSrcDst, int height, const Zel32f* pMean, const Zel32f* pVar,
                                                int width);
ZELSR_API ZelStatus zelsNormalizeColumn_16s_D2LSfs(Zel16s** mSrcDst, int height, const Zel16s* pMean,
                                                   const Zel16s* pVar, int width, int scaleFactor);
/** @} */

/** @{ */
/** pSrcDst[j] += the sum of column j over all rows (the column sum is formed
 * first and then added).
 * Checks: null pointers, width or height below 1, step below width.
 * Outputs: pSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsAddAllRowSum_32f_D2(const Zel32f* pSrc, int step, int height, Zel32f* pSrcDst, int width);
ZELSR_API ZelStatus zelsAddAllRowSum_32f_D2L(const Zel32f** mSrc, int height, Zel32f* pSrcDst, int width);
/** @} */

/** pDst[j] = val + the sum over r below rows of
 * pSrc[(pInd[r] + pAddInd[r]) * step + offset + j], the picked rows added
 * in order r = 0, 1, ... (output: pDst, width values).
 * Checks: null pointers; rows, height or width below 1 or offset below 0
 * (zelStsSizeErr); step below offset + width (zelStsStrideErr); any
 * pInd[r] + pAddInd[r] outside 0 to height - 1 (zelStsSizeErr, nothing
 * written).
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsAddNRows_32f_D2(const Zel32f* pSrc, int height, int offset, int step, const Zel32s* pInd,
                                        const Zel16u* pAddInd, int rows, Zel32f* pDst, int width, Zel32f val);

/** @{ */
/** In place: the vector pSrc (width elements) is taken from every row of the
 * table; 16-bit differences saturate.
 * Checks: null pointers, width or height below 1, step below width.
 * Outputs: pSrcDst, mSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsSubRow_32f_D2(const Zel32f* pSrc, int width, Zel32f* pSrcDst, int step, int height);
ZELSR_API ZelStatus zelsSubRow_16s_D2(const Zel16s* pSrc, int width, Zel16s* pSrcDst, int step, int height);
ZELSR_API ZelStatus zelsSubRow_32f_D2L(const Zel32f* pSrc, int width, Zel32f** mSrcDst, int height);
ZELSR_API ZelStatus zelsSubRow_16s_D2L(const Zel16s* pSrc, int width, Zel16s** mSrcDst, int height);
/** @} */

/** @{ */
/** The first width elements of each of the height rows are copied from pSrc
 * to pDst; both tables have the same step.
 * Checks: null pointers, width or height below 1, step below width.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsCopyColumn_32f_D2(const Zel32f* pSrc, int width, Zel32f* pDst, int step, int height);
ZELSR_API ZelStatus zelsCopyColumn_16s_D2(const Zel16s* pSrc, int width, Zel16s* pDst, int step, int height);
/** @} */

/** @{ */
/** For each of the height rows and k below dstLen: dst[k] = src[pIndex[k]].
 * Checks: null pointers; srcLen below 1 (zelStsSizeErr); D2: srcLen above
 * srcStep (zelStsStrideErr); dstLen below 1 (zelStsSizeErr); D2: dstLen
 * above dstStep (zelStsStrideErr); height below 1 (zelStsSizeErr). An index
 * outside 0 to srcLen - 1 gives zelStsSizeErr when the first row meets it;
 * the elements of that row before it have then been written.
 * Outputs: pDst, mDst.
 */
ZELSR_API ZelStatus zelsCopyColumn_Indirect_16s_D2(const Zel16s* pSrc, int srcLen, int srcStep, Zel16s* pDst,
                                                   const Zel32s* pIndex, int dstLen, int dstStep, int height);
ZELSR_API ZelStatus zelsCopyColumn_Indirect_32f_D2(const Zel32f* pSrc, int srcLen, int srcStep, Zel32f* pDst,
                                                   const Zel32s* pIndex, int dstLen, int dstStep, int height);
ZELSR_API ZelStatus zelsCopyColumn_Indirect_64f_D2(const Zel64f* pSrc, int srcLen, int srcStep, Zel64f* pDst,
                                                   const Zel32s* pIndex, int dstLen, int dstStep, int height);
ZELSR_API ZelStatus zelsCopyColumn_Indirect_16s_D2L(const Zel16s** mSrc, int srcLen, Zel16s** mDst,
                                                    const Zel32s* pIndex, int dstLen, int height);
ZELSR_API ZelStatus zelsCopyColumn_Indirect_32f_D2L(const Zel32f** mSrc, int srcLen, Zel32f** mDst,
                                                    const Zel32s* pIndex, int dstLen, int height);
ZELSR_API ZelStatus zelsCopyColumn_Indirect_64f_D2L(const Zel64f** mSrc, int srcLen, Zel64f** mDst,
                                                    const Zel32s* pIndex, int dstLen, int height);
/** @} */

/** @{ */
/** pDst[i] = sum over j of M[i][j] * pSrcVec[j] for the height rows
 * (output: pDst, height values). The integer forms sum the products
 * exactly (16-bit data in 64 bits, 32-bit data in 128), then shift right
 * arithmetically by scaleFactor without rounding (left by -scaleFactor if
 * negative) and saturate to the destination type.
 * Checks: null pointers, width or height below 1, step below width.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsMatVecMul_32f_D2(const Zel32f* pSrc, int step, const Zel32f* pSrcVec, int width, Zel32f* pDst,
                                         int height);
ZELSR_API ZelStatus zelsMatVecMul_16s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pSrcVec, int width,
                                            Zel16s* pDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsMatVecMul_16s32s_D2Sfs(const Zel16s* pSrc, int step, const Zel16s* pSrcVec, int width,
                                               Zel32s* pDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsMatVecMul_32s_D2Sfs(const Zel32s* pSrc, int step, const Zel32s* pSrcVec, int width,
                                            Zel32s* pDst, int height, int scaleFactor);
ZELSR_API ZelStatus zelsMatVecMul_32f_D2L(const Zel32f** mSrc, const Zel32f* pSrcVec, int width, Zel32f* pDst,
                                          int height);
ZELSR_API ZelStatus zelsMatVecMul_16s_D2LSfs(const Zel16s** mSrc, const Zel16s* pSrcVec, int width, Zel16s* pDst,
                                             int height, int scaleFactor);
ZELSR_API ZelStatus zelsMatVecMul_16s32s_D2LSfs(const Zel16s** mSrc, const Zel16s* pSrcVec, int width, Zel32s* pDst,
                                                int height, int scaleFactor);
ZELSR_API ZelStatus zelsMatVecMul_32s_D2LSfs(const Zel32s** mSrc, const Zel32s* pSrcVec, int width, Zel32s* pDst,
                                             int height, int scaleFactor);
/** @} */

/** @{ */
/** pDst[j] = sum over i of pSrcVec[i] * M[i][j] for the width columns
 * (output: pDst, width values); the single-precision sum runs down the
 * column from row 0, the integer forms as zelsMatVecMul.
 * Checks: null pointers, width or height below 1, step below width.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsVecMatMul_32f_D2(const Zel32f* pSrcVec, const Zel32f* pSrc, int step, int height, Zel32f* pDst,
                                         int width);
ZELSR_API ZelStatus zelsVecMatMul_16s_D2Sfs(const Zel16s* pSrcVec, const Zel16s* pSrc, int step, int height,
                                            Zel16s* pDst, int width, int scaleFactor);
ZELSR_API ZelStatus zelsVecMatMul_16s32s_D2Sfs(const Zel16s* pSrcVec, const Zel16s* pSrc, int step, int height,
                                               Zel32s* pDst, int width, int scaleFactor);
ZELSR_API ZelStatus zelsVecMatMul_32s_D2Sfs(const Zel32s* pSrcVec, const Zel32s* pSrc, int step, int height,
                                            Zel32s* pDst, int width, int scaleFactor);
ZELSR_API ZelStatus zelsVecMatMul_32f_D2L(const Zel32f* pSrcVec, const Zel32f** mSrc, int height, Zel32f* pDst,
                                          int width);
ZELSR_API ZelStatus zelsVecMatMul_16s_D2LSfs(const Zel16s* pSrcVec, const Zel16s** mSrc, int height, Zel16s* pDst,
                                             int width, int scaleFactor);
ZELSR_API ZelStatus zelsVecMatMul_16s32s_D2LSfs(const Zel16s* pSrcVec, const Zel16s** mSrc, int height, Zel32s* pDst,
                                                int width, int scaleFactor);
ZELSR_API ZelStatus zelsVecMatMul_32s_D2LSfs(const Zel32s* pSrcVec, const Zel32s** mSrc, int height, Zel32s* pDst,
                                             int width, int scaleFactor);
/** @} */

/** @{ */
/** *pRes = the element of rank N in descending order of the len elements
 * (N = 0 is the maximum), by a quickselect on an allocated copy; pSrc is
 * not changed. NaN compares neither above nor below a number, so with NaN
 * in the vector the result is some element of it, of no defined rank; the
 * call always ends.
 * Checks: null pointers, len below 1 (zelStsSizeErr), N below 0 or at or
 * above len (zelStsBadArgErr), allocation (zelStsMemAllocErr).
 * Outputs: pRes.
 */
ZELSR_API ZelStatus zelsNthMaxElement_32f(const Zel32f* pSrc, int len, int N, Zel32f* pRes);
ZELSR_API ZelStatus zelsNthMaxElement_32s(const Zel32s* pSrc, int len, int N, Zel32s* pRes);
ZELSR_API ZelStatus zelsNthMaxElement_64f(const Zel64f* pSrc, int len, int N, Zel64f* pRes);
/** @} */

/** @{ */
/** Vector operations of the decomposition, summing in element order:
 * SumRowAbs: *pDst = sum of |pSrc[k]|.
 * SumRowSqr: pSrcDst[k] *= val in place, then *pDst = sum of the squares of
 * the scaled values.
 * AddMulRow: pSrcDst[k] += pSrc[k] * val.
 * Checks: null pointers, len below 1 (zelStsSizeErr).
 * Outputs: pDst; pSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsSumRowAbs_64f(const Zel64f* pSrc, int len, Zel64f* pDst);
ZELSR_API ZelStatus zelsSumRowSqr_64f(Zel64f* pSrcDst, int len, Zel64f* pDst, Zel64f val);
ZELSR_API ZelStatus zelsAddMulRow_64f(const Zel64f* pSrc, Zel64f* pSrcDst, int len, Zel64f val);
/** @} */

/** @{ */
/** Column operations of the decomposition on a table of height rows of width
 * elements, over rows `row` to height - 1, summing from row `row` down:
 * SumColumnAbs: *pDst = sum of |m[r][col]|.
 * SumColumnSqr: m[r][col] *= val in place, *pDst = sum of their squares.
 * DotProdColumn: *pDst = sum of m[r][col1] * m[r][col2].
 * MulColumn: m[r][col] *= val.
 * AddMulColumn: m[r][col2] += m[r][col1] * val.
 * Checks: null pointers (zelStsNullPtrErr); width or height below 1, a
 * column outside 0 to width - 1, or row outside 0 to height - 1
 * (zelStsSizeErr).
 * Outputs: pDst; mSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsSumColumnAbs_64f_D2L(const Zel64f** mSrc, int width, int height, Zel64f* pDst, int col,
                                             int row);
ZELSR_API ZelStatus zelsSumColumnSqr_64f_D2L(Zel64f** mSrcDst, int width, int height, Zel64f* pDst, int col, int row,
                                             Zel64f val);
ZELSR_API ZelStatus zelsDotProdColumn_64f_D2L(const Zel64f** mSrc, int width, int height, Zel64f* pDst, int col1,
                                              int col2, int row);
ZELSR_API ZelStatus zelsMulColumn_64f_D2L(Zel64f** mSrcDst, int width, int height, int col, int row, Zel64f val);
ZELSR_API ZelStatus zelsAddMulColumn_64f_D2L(Zel64f** mSrcDst, int width, int height, int col1, int col2, int row,
                                             Zel64f val);
/** @} */

/* ======================================================================== */
/* Decompositions                                                            */
/* ======================================================================== */
/** @{ */
/** Singular value decomposition A = U * diag(W) * V' of the height by width
 * matrix A (Householder bidiagonalisation and implicit-shift QR sweeps).
 * Outputs: U (height by width, the shape of A; it overwrites A in the _I
 * forms), pDstW (width values, not negative), V (width by width). When
 * height is below width, the columns past height give zero values. In the
 * D2 forms the source, U and V all use `step`. The iteration limit nIter is
 * counted per singular value: a value still not split off after nIter
 * rounds (nIter - 1 shifted sweeps) gives zelStsSvdCnvgErr, with U, W and V
 * as the sweep left them. The values of zelsSVD are in the order the
 * iteration gives; zelsSVDSort sorts them in descending order and moves the
 * columns of U and V with them (equal values keep the order of a selection
 * by first maximum).
 * A matrix that holds NaN or infinity gives zelStsSvdCnvgErr before
 * anything is written.
 * Checks: null pointers (zelStsNullPtrErr); height, width or nIter below 1
 * (zelStsSizeErr); D2 forms: step below width (zelStsSizeErr); allocation of
 * the working vector (zelStsMemAllocErr). */
ZELSR_API ZelStatus zelsSVD_64f_D2(const Zel64f* pSrc, Zel64f* pDstU, int height, Zel64f* pDstW, Zel64f* pDstV,
                                   int width, int step, int nIter);
ZELSR_API ZelStatus zelsSVD_64f_D2L(const Zel64f** mSrc, Zel64f** mDstU, int height, Zel64f* pDstW, Zel64f** mDstV,
                                    int width, int nIter);
ZELSR_API ZelStatus zelsSVD_64f_D2_I(Zel64f* pSrcDstU, int height, Zel64f* pDstW, Zel64f* pDstV, int width, int step,
                                     int nIter);
ZELSR_API ZelStatus zelsSVD_64f_D2L_I(Zel64f** mSrcDstU, int height, Zel64f* pDstW, Zel64f** mDstV, int width,
                                      int nIter);
ZELSR_API ZelStatus zelsSVDSort_64f_D2(const Zel64f* pSrc, Zel64f* pDstU, int height, Zel64f* pDstW, Zel64f* pDstV,
                                       int width, int step, int nIter);
ZELSR_API ZelStatus zelsSVDSort_64f_D2L(const Zel64f** mSrc, Zel64f** mDstU, int height, Zel64f* pDstW,
                                        Zel64f** mDstV, int width, int nIter);
ZELSR_API ZelStatus zelsSVDSort_64f_D2_I(Zel64f* pSrcDstU, int height, Zel64f* pDstW, Zel64f* pDstV, int width,
                                         int step, int nIter);
ZELSR_API ZelStatus zelsSVDSort_64f_D2L_I(Zel64f** mSrcDstU, int height, Zel64f* pDstW, Zel64f** mDstV, int width,
                                          int nIter);
/** @} */

/** Plane rotation of two columns over all height rows, in place:
 * t = m[r][col2] * s; m[r][col2] = c * m[r][col2] + s * m[r][col1];
 * m[r][col1] = m[r][col1] * c - t.
 * Checks: null pointer (zelStsNullPtrErr); width or height below 1, or col1
 * or col2 outside 0 to width - 1 (zelStsSizeErr).
 * Outputs: mSrcDst (in place: read and written).
 */
ZELSR_API ZelStatus zelsQRTransColumn_64f_D2L(Zel64f** mSrcDst, int width, int height, int col1, int col2, Zel64f c,
                                              Zel64f s);

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_MATRIX_H */
