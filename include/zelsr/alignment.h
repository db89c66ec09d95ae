/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/alignment.h
 * Alignment: dynamic time warping. Included by zelsr.h. */
#ifndef ZELSR_ALIGNMENT_H
#define ZELSR_ALIGNMENT_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @{ */
/** Dynamic time warping.
 * The cost of the best alignment of two sequences of feature vectors of
 * `width` elements: sequence 1 has `height1` vectors, sequence 2 `height2`.
 * The longer sequence gives the rows of the dynamic program (sequence 1 when
 * the heights are equal), the shorter its columns. Each cell adds its
 * Euclidean local distance once; a row is reached from the row before with
 * the column advanced by 0, 1 or 2. The path keeps within the parallelogram
 * of slopes 2 and 1/2 widened by `delta` columns on both sides (a `delta` of
 * the column count or more acts as the column count - 1, a negative one as 0);
 * it may begin at any of columns 0 to that width of the first row and end at
 * any live column of the last row. After each row, columns whose cost exceeds
 * the row's best by more than max(`beam`, 0) + 1.1920929e-7 are dropped from
 * both ends.
 *
 * Output: *pDist, the accumulated cost, not normalised by path length. It is
 * 3.4028235e38 when no path exists: with a single row vector, or when the band
 * runs empty (the longer sequence more than twice the shorter).
 *
 * Checks, in this order: a null source or pDist, zelStsNullPtrErr; height1,
 * height2 or width under 1, or (block forms) step under width,
 * zelStsSizeErr; scratch that cannot be allocated, zelStsMemAllocErr. Nothing
 * is written on error.
 *
 * D2L forms take tables of row pointers; D2 forms take blocks whose rows lie
 * `step` elements apart, both sequences with the same step. The integer forms
 * compute in single precision on their converted input (`beam` converted to a
 * single) and store the cost * 2^-scaleFactor rounded to nearest (ties to
 * even), saturated to 32 bits, so "no path" becomes 2147483647. `Low` names
 * the 16-bit input only.
 * Outputs: pDist.
 */
ZELSR_API ZelStatus zelsDTW_L2_32f_D2L(const Zel32f** mSrc1, int height1, const Zel32f** mSrc2, int height2,
                                       int width, Zel32f* pDist, int delta, Zel32f beam);
ZELSR_API ZelStatus zelsDTW_L2_32f_D2(const Zel32f* pSrc1, int height1, const Zel32f* pSrc2, int height2,
                                      int width, int step, Zel32f* pDist, int delta, Zel32f beam);
ZELSR_API ZelStatus zelsDTW_L2_8u32s_D2LSfs(const Zel8u** mSrc1, int height1, const Zel8u** mSrc2, int height2,
                                            int width, Zel32s* pDist, int delta, int beam, int scaleFactor);
ZELSR_API ZelStatus zelsDTW_L2_8u32s_D2Sfs(const Zel8u* pSrc1, int height1, const Zel8u* pSrc2, int height2,
                                           int width, int step, Zel32s* pDist, int delta, int beam,
                                           int scaleFactor);
ZELSR_API ZelStatus zelsDTW_L2Low_16s32s_D2LSfs(const Zel16s** mSrc1, int height1, const Zel16s** mSrc2,
                                                int height2, int width, Zel32s* pDist, int delta, int beam,
                                                int scaleFactor);
ZELSR_API ZelStatus zelsDTW_L2Low_16s32s_D2Sfs(const Zel16s* pSrc1, int height1, const Zel16s* pSrc2,
                                               int height2, int width, int step, Zel32s* pDist, int delta,
                                               int beam, int scaleFactor);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_ALIGNMENT_H */
