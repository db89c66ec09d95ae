/* SPDX-License-Identifier: Apache-2.0 */
/** @file zelsr/vq.h
 * Vector quantization: codebooks, search, vector forming. Included by zelsr.h. */
#ifndef ZELSR_VQ_H
#define ZELSR_VQ_H

#include "types.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ======================================================================== */
/* Codebooks                                                                */
/* ======================================================================== */
/** @{ */
/** A codebook is a table of codewords with the search structure built for it,
 * in Zel32f or Zel16s elements. The hint chosen at construction fixes its kind:
 *   1  every source vector, unchanged, in source order (for width 1 or 2 and
 *      11 or more vectors, a cell grid may be built to speed up the search);
 *   2  cdbkSize centroids trained by repeated two-way splitting, the leaf of
 *      the largest spread split next, with a binary tree and lists of
 *      nearest neighbouring leaves;
 *   3  the same, the leaf holding the most vectors split next.
 * Distances are weighted squared distances, sum of (a - b)^2 * weight; the
 * 16-bit forms take the differences of the converted integers in single
 * precision. pSrc holds `height` vectors of `width` elements, `step`
 * elements apart; cdbkSize is the number of codewords wanted.
 *
 * Size query and builder in caller memory (hint 1 only): the checks, in
 * order, are hint 2 or 3 (zelStsCdbkFlagErr; any other hint is accepted and
 * only stored), a null pointer (zelStsNullPtrErr), then width, step, height
 * or cdbkSize below 1, width above step, cdbkSize above 16383 or cdbkSize
 * other than height (zelStsSizeErr). The size written to *pSize is
 *   Zel32f: 4 * (width + cdbkSize + rowStride * cdbkSize) + 144,
 *   Zel16s: 4 * cdbkSize + 176 + 2 * (rowStride * cdbkSize + width),
 * with rowStride = width for width 1, 2 or 4, else step rounded up to a
 * multiple of 8; on 64-bit builds 24 bytes more for the wider pointers. The
 * buffer needs the alignment of a pointer. Init copies the rows, sets the
 * weights to 1 and builds no grid; such a state is released by the caller,
 * and zelsCdbkFree_* only marks it as released.
 * Outputs: pSize, pCdbk.
 */
ZELSR_API ZelStatus zelsCdbkGetSize_32f(int width, int step, int height, int cdbkSize, int hint, int* pSize);
ZELSR_API ZelStatus zelsCdbkGetSize_16s(int width, int step, int height, int cdbkSize, int hint, int* pSize);
ZELSR_API ZelStatus zelsCdbkInit_L2_32f(ZelCdbkState_32f* pCdbk, const Zel32f* pSrc, int width, int step, int height,
                                        int cdbkSize, int hint);
ZELSR_API ZelStatus zelsCdbkInit_L2_16s(ZelCdbkState_16s* pCdbk, const Zel16s* pSrc, int width, int step, int height,
                                        int cdbkSize, int hint);
/** @} */

/** @{ */
/** Allocating builders. *ppCdbk (output) receives a state that owns copies of
 * everything; pSrc and pWeights are not kept. The unweighted form is the
 * weighted one with every weight 1. Checks, in order: (unweighted only:
 * width below 1, zelStsSizeErr); pSrc or pWeights null (zelStsNullPtrErr;
 * ppCdbk null is zelStsNullPtrErr too); width, step, height or cdbkSize
 * below 1, width above step, cdbkSize above 16383 or above height
 * (zelStsSizeErr); a weight below 0 or not a number (zelStsBadArgErr); allocation
 * (zelStsMemAllocErr); a hint other than 1, 2, 3 (zelStsCdbkFlagErr).
 * Results: hint 1 keeps all height rows and returns zelStsCdbkSizeWarn when
 * cdbkSize differs from height. Hints 2 and 3 return zelStsCdbkSizeWarn with
 * fewer entries when no leaf can be split any more (all vectors equal, say),
 * and zelStsBadArgErr when a split cannot separate two coinciding centroids;
 * on every negative status nothing is kept and *ppCdbk is not written.
 * Outputs: ppCdbk.
 */
ZELSR_API ZelStatus zelsCdbkInitAlloc_L2_32f(ZelCdbkState_32f** ppCdbk, const Zel32f* pSrc, int width, int step,
                                             int height, int cdbkSize, int hint);
ZELSR_API ZelStatus zelsCdbkInitAlloc_L2_16s(ZelCdbkState_16s** ppCdbk, const Zel16s* pSrc, int width, int step,
                                             int height, int cdbkSize, int hint);
ZELSR_API ZelStatus zelsCdbkInitAlloc_WgtL2_32f(ZelCdbkState_32f** ppCdbk, const Zel32f* pSrc, const Zel32f* pWeights,
                                                int width, int step, int height, int cdbkSize, int hint);
ZELSR_API ZelStatus zelsCdbkInitAlloc_WgtL2_16s(ZelCdbkState_16s** ppCdbk, const Zel16s* pSrc, const Zel16s* pWeights,
                                                int width, int step, int height, int cdbkSize, int hint);
/** @} */

/** @{ */
/** Releases a codebook with its tree or grid. Null pCdbk: zelStsNullPtrErr; a
 * state of the other element type, or one already released:
 * zelStsContextMatchErr; a state of unknown kind: zelStsCdbkKindErr, and
 * nothing is freed. */
ZELSR_API ZelStatus zelsCdbkFree_32f(ZelCdbkState_32f* pCdbk);
ZELSR_API ZelStatus zelsCdbkFree_16s(ZelCdbkState_16s* pCdbk);
/** @} */

/** @{ */
/** *pNum (output) = the number of codewords in the table. Null pointer:
 * zelStsNullPtrErr; wrong kind: zelStsContextMatchErr.
 * Outputs: pNum.
 */
ZELSR_API ZelStatus zelsGetCdbkSize_32f(const ZelCdbkState_32f* pCdbk, int* pNum);
ZELSR_API ZelStatus zelsGetCdbkSize_16s(const ZelCdbkState_16s* pCdbk, int* pNum);
/** @} */

/** @{ */
/** Copies the codewords to pDst (output): row i to pDst + i * step, width
 * elements each. Null pointer: zelStsNullPtrErr; wrong kind:
 * zelStsContextMatchErr; step below 1 or below width: zelStsSizeErr.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsGetCodebook_32f(const ZelCdbkState_32f* pCdbk, Zel32f* pDst, int step);
ZELSR_API ZelStatus zelsGetCodebook_16s(const ZelCdbkState_16s* pCdbk, Zel16s* pDst, int step);
/** @} */

/* ======================================================================== */
/* VQ search                                                                */
/* ======================================================================== */
/** @{ */
/** For each of `height` vectors of pSrc (`step` elements apart), pIndx
 * (output) gets the index of a near codeword, and pDist (output) the root of
 * its weighted squared distance. The search is exact for a hint-1 codebook
 * without a grid: the lowest index wins among equal distances (with
 * weights, among distances within a factor 1.000001). A grid or a tree
 * returns what its structure finds: a grid cell without candidates gives
 * index -1 and distance sqrt(FLT_MAX). The 16s32s_Sfs form stores each
 * distance d as d * 2^-scaleFactor rounded to the nearest integer, saturated.
 * Checks, in order: a null pointer (zelStsNullPtrErr); a state of the other
 * type (zelStsContextMatchErr); step below 1, height below 1 or step below
 * width (zelStsSizeErr); working memory (zelStsMemAllocErr); a failed
 * scoring call of the weighted tree search (zelStsErr, rows already written
 * stay). The state is only read.
 * Outputs: pIndx, pDist.
 */
ZELSR_API ZelStatus zelsVQ_32f(const Zel32f* pSrc, int step, Zel32s* pIndx, int height, const ZelCdbkState_32f* pCdbk);
ZELSR_API ZelStatus zelsVQ_16s(const Zel16s* pSrc, int step, Zel32s* pIndx, int height, const ZelCdbkState_16s* pCdbk);
ZELSR_API ZelStatus zelsVQDist_32f(const Zel32f* pSrc, int step, Zel32s* pIndx, Zel32f* pDist, int height,
                                   const ZelCdbkState_32f* pCdbk);
ZELSR_API ZelStatus zelsVQDist_16s32s_Sfs(const Zel16s* pSrc, int step, Zel32s* pIndx, Zel32s* pDist, int height,
                                          const ZelCdbkState_16s* pCdbk, int scaleFactor);
/** @} */

/** @{ */
/** One vector of width elements against every codeword, whatever the search
 * structure. Sort: pIndx (output) gets the nBest nearest, nearest first,
 * equal distances in ascending index; pDist (output) their distances.
 * Checks: a null pointer (zelStsNullPtrErr), wrong kind
 * (zelStsContextMatchErr), nBest below 1 or above the number of codewords
 * (zelStsSizeErr). These forms write the state's scratch: one thread at a
 * time per codebook.
 * Outputs: pIndx, pDist; pCdbk (in place: read and written).
 */
ZELSR_API ZelStatus zelsVQSingle_Sort_32f(const Zel32f* pSrc, Zel32s* pIndx, ZelCdbkState_32f* pCdbk, int nBest);
ZELSR_API ZelStatus zelsVQSingle_Sort_16s(const Zel16s* pSrc, Zel32s* pIndx, ZelCdbkState_16s* pCdbk, int nBest);
ZELSR_API ZelStatus zelsVQDistSingle_Sort_32f(const Zel32f* pSrc, Zel32s* pIndx, Zel32f* pDist,
                                              ZelCdbkState_32f* pCdbk, int nBest);
ZELSR_API ZelStatus zelsVQDistSingle_Sort_16s32s_Sfs(const Zel16s* pSrc, Zel32s* pIndx, Zel32s* pDist,
                                                     ZelCdbkState_16s* pCdbk, int nBest, int scaleFactor);
/** @} */

/** @{ */
/** Thresh: d is the distance of the codeword that the search above finds for
 * pSrc; pIndx (output) gets, in ascending distance, every codeword whose
 * distance is at most val * d (within a factor 1.000001 on the squares), and
 * *pNum (output) their number; pIndx and pDist need room for every codeword.
 * Checks: a null pointer (zelStsNullPtrErr), wrong kind
 * (zelStsContextMatchErr), val below 1 (zelStsBadArgErr). The state's
 * scratch is written.
 * Outputs: pIndx, pNum, pDist; pCdbk (in place: read and written).
 */
ZELSR_API ZelStatus zelsVQSingle_Thresh_32f(const Zel32f* pSrc, Zel32s* pIndx, ZelCdbkState_32f* pCdbk, Zel32f val,
                                            int* pNum);
ZELSR_API ZelStatus zelsVQSingle_Thresh_16s(const Zel16s* pSrc, Zel32s* pIndx, ZelCdbkState_16s* pCdbk, Zel32f val,
                                            int* pNum);
ZELSR_API ZelStatus zelsVQDistSingle_Thresh_32f(const Zel32f* pSrc, Zel32s* pIndx, Zel32f* pDist,
                                                ZelCdbkState_32f* pCdbk, Zel32f val, int* pNum);
ZELSR_API ZelStatus zelsVQDistSingle_Thresh_16s32s_Sfs(const Zel16s* pSrc, Zel32s* pIndx, Zel32s* pDist,
                                                       ZelCdbkState_16s* pCdbk, Zel32f val, int* pNum,
                                                       int scaleFactor);
/** @} */

/** @{ */
/** Split VQ: each row of pSrc (srcStep elements apart) is cut into nStreams
 * consecutive parts, part s of the width of codebook s, and each part is
 * searched as zelsVQ_* does. The 16s and 8u forms write index s of row r to
 * pDst[r * dstStep + s], cut to the element's width. The 1u forms pack: row
 * r starts at bit r * dstStep (dstStep counts bits), each index takes as
 * many bits as its codebook's index width (the bit length of its number of
 * entries, less one), most significant bit first; ceil(height * dstStep / 8)
 * bytes of pDst are cleared first. Checks, in order: null ppCdbks, pSrc or
 * pDst (zelStsNullPtrErr); srcStep, dstStep, height or nStreams below 1, or
 * (16s, 8u) nStreams above dstStep (zelStsSizeErr); a null codebook
 * (zelStsNullPtrErr); a codebook of the other type (zelStsContextMatchErr);
 * the widths summing above srcStep, or (1u) the index widths above dstStep
 * (zelStsSizeErr); working memory (zelStsMemAllocErr).
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsSplitVQ_32f16s(const Zel32f* pSrc, int srcStep, Zel16s* pDst, int dstStep, int height,
                                       const ZelCdbkState_32f** ppCdbks, int nStreams);
ZELSR_API ZelStatus zelsSplitVQ_32f8u(const Zel32f* pSrc, int srcStep, Zel8u* pDst, int dstStep, int height,
                                      const ZelCdbkState_32f** ppCdbks, int nStreams);
ZELSR_API ZelStatus zelsSplitVQ_32f1u(const Zel32f* pSrc, int srcStep, Zel8u* pDst, int dstStep, int height,
                                      const ZelCdbkState_32f** ppCdbks, int nStreams);
ZELSR_API ZelStatus zelsSplitVQ_16s16s(const Zel16s* pSrc, int srcStep, Zel16s* pDst, int dstStep, int height,
                                       const ZelCdbkState_16s** ppCdbks, int nStreams);
ZELSR_API ZelStatus zelsSplitVQ_16s8u(const Zel16s* pSrc, int srcStep, Zel8u* pDst, int dstStep, int height,
                                      const ZelCdbkState_16s** ppCdbks, int nStreams);
ZELSR_API ZelStatus zelsSplitVQ_16s1u(const Zel16s* pSrc, int srcStep, Zel8u* pDst, int dstStep, int height,
                                      const ZelCdbkState_16s** ppCdbks, int nStreams);
/** @} */

/* ======================================================================== */
/* Vector forming and selection                                             */
/* ======================================================================== */
/** @{ */
/** Rebuilds a vector from codeword indices: for each stream s in order,
 * pWidths[s] elements of row pInd[s] of table s (element k is
 * ppTables[s][pInd[s] * pSteps[s] + k]) follow each other in pDst (output).
 * Checks, in order: a null pointer, including a null table
 * (zelStsNullPtrErr); nStreams below 1 (zelStsSizeErr); for any stream a
 * width or step below 1, or an index outside 0 to pHeights[s] - 1
 * (zelStsSizeErr). Nothing is written on error.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsFormVector_8u16s(const Zel8u* pInd, const Zel16s** ppTables, const int* pHeights,
                                         const int* pWidths, const int* pSteps, int nStreams, Zel16s* pDst);
ZELSR_API ZelStatus zelsFormVector_8u32f(const Zel8u* pInd, const Zel32f** ppTables, const int* pHeights,
                                         const int* pWidths, const int* pSteps, int nStreams, Zel32f* pDst);
ZELSR_API ZelStatus zelsFormVector_16s16s(const Zel16s* pInd, const Zel16s** ppTables, const int* pHeights,
                                          const int* pWidths, const int* pSteps, int nStreams, Zel16s* pDst);
ZELSR_API ZelStatus zelsFormVector_16s32f(const Zel16s* pInd, const Zel32f** ppTables, const int* pHeights,
                                          const int* pWidths, const int* pSteps, int nStreams, Zel32f* pDst);
/** @} */

/** @{ */
/** The same for streams of width 2 (_2i) or 4 (_4i) with tables packed by that
 * width: len / 2 or len / 4 streams fill the first len elements of pDst
 * (output); a len that is not a multiple of the width leaves the last
 * elements unwritten. Checks: a null pointer (zelStsNullPtrErr), len below 1
 * (zelStsSizeErr), an index outside 0 to pHeights[s] - 1 (zelStsSizeErr).
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsFormVector_2i_8u16s(const Zel8u* pInd, const Zel16s** ppTables, const int* pHeights,
                                            Zel16s* pDst, int len);
ZELSR_API ZelStatus zelsFormVector_2i_8u32f(const Zel8u* pInd, const Zel32f** ppTables, const int* pHeights,
                                            Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsFormVector_2i_16s16s(const Zel16s* pInd, const Zel16s** ppTables, const int* pHeights,
                                             Zel16s* pDst, int len);
ZELSR_API ZelStatus zelsFormVector_2i_16s32f(const Zel16s* pInd, const Zel32f** ppTables, const int* pHeights,
                                             Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsFormVector_4i_8u16s(const Zel8u* pInd, const Zel16s** ppTables, const int* pHeights,
                                            Zel16s* pDst, int len);
ZELSR_API ZelStatus zelsFormVector_4i_8u32f(const Zel8u* pInd, const Zel32f** ppTables, const int* pHeights,
                                            Zel32f* pDst, int len);
ZELSR_API ZelStatus zelsFormVector_4i_16s16s(const Zel16s* pInd, const Zel16s** ppTables, const int* pHeights,
                                             Zel16s* pDst, int len);
ZELSR_API ZelStatus zelsFormVector_4i_16s32f(const Zel16s* pInd, const Zel32f** ppTables, const int* pHeights,
                                             Zel32f* pDst, int len);
/** @} */

/** @{ */
/** Rebuilds `height` rows from a table of indices made by zelsSplitVQ_*: index
 * s of source row r selects a codeword of codebook s, and the codewords of a
 * row follow each other in destination row r (pDst + r * dstStep, output).
 * The 8u and 16s forms read index s of row r at pSrc[r * srcStep + s]; the
 * 1u forms read them packed as zelsSplitVQ_*1u writes them (srcStep counts
 * bits). Checks, in order: null ppCdbks, pSrc or pDst (zelStsNullPtrErr);
 * nStreams, srcStep, dstStep or height below 1, or (8u, 16s) nStreams above
 * srcStep (zelStsSizeErr); a null codebook (zelStsNullPtrErr); a codebook of
 * the other type (zelStsContextMatchErr); (8u) a codebook of more than 256
 * entries (zelStsSizeErr); the widths summing above dstStep, or (1u) the
 * index widths above srcStep (zelStsSizeErr); working memory
 * (zelStsMemAllocErr); an index outside the codebook (zelStsBadArgErr).
 * Nothing is written on error.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsFormVectorVQ_8u16s(const Zel8u* pSrc, int srcStep, Zel16s* pDst, int dstStep, int height,
                                           const ZelCdbkState_16s** ppCdbks, int nStreams);
ZELSR_API ZelStatus zelsFormVectorVQ_8u32f(const Zel8u* pSrc, int srcStep, Zel32f* pDst, int dstStep, int height,
                                           const ZelCdbkState_32f** ppCdbks, int nStreams);
ZELSR_API ZelStatus zelsFormVectorVQ_16s16s(const Zel16s* pSrc, int srcStep, Zel16s* pDst, int dstStep, int height,
                                            const ZelCdbkState_16s** ppCdbks, int nStreams);
ZELSR_API ZelStatus zelsFormVectorVQ_16s32f(const Zel16s* pSrc, int srcStep, Zel32f* pDst, int dstStep, int height,
                                            const ZelCdbkState_32f** ppCdbks, int nStreams);
ZELSR_API ZelStatus zelsFormVectorVQ_1u16s(const Zel8u* pSrc, int srcStep, Zel16s* pDst, int dstStep, int height,
                                           const ZelCdbkState_16s** ppCdbks, int nStreams);
ZELSR_API ZelStatus zelsFormVectorVQ_1u32f(const Zel8u* pSrc, int srcStep, Zel32f* pDst, int dstStep, int height,
                                           const ZelCdbkState_32f** ppCdbks, int nStreams);
/** @} */

/** @{ */
/** Shortlists in the bit-table form that mixture evaluation selects with: a
 * row of bits reached through a row pointer, bit n of a row in byte n / 8
 * under the mask 0x80 >> (n % 8), counted from bit `offset`. Each listed
 * index TOGGLES its bit (exclusive or): an index listed twice cancels, a bit
 * already set is cleared, and the table is not cleared first.
 *   Row:    for row r below rows, each of the count indices x at
 *           pIndx + r * count toggles bit offset + x of ppDst[r]; x must lie
 *           below nCols.
 *   RowVar: pCounts[r] indices for row r, one behind the other.
 *   Column: for column c below len, each of the count indices x at
 *           pIndx + c * count toggles bit offset + c of ppDst[x]; x must lie
 *           below nRows.
 *   ColumnVar: pCounts[c] indices for column c.
 * Checks, in order: a null pointer (zelStsNullPtrErr); a count or dimension
 * below 1, offset below 0, or a pCounts entry below 1 (zelStsSizeErr);
 * rowBytes below ceil((offset + nCols or len) / 8) (zelStsStrideErr); an
 * index out of range (zelStsBadArgErr), before anything is written.
 * Outputs: ppDst.
 */
ZELSR_API ZelStatus zelsFillShortlist_Row_1u(const Zel32s* pIndx, int nCols, int count, Zel8u** ppDst, int rows,
                                             int rowBytes, int offset);
ZELSR_API ZelStatus zelsFillShortlist_RowVar_1u(const Zel32s* pIndx, const int* pCounts, int nCols, Zel8u** ppDst,
                                                int rows, int rowBytes, int offset);
ZELSR_API ZelStatus zelsFillShortlist_Column_1u(const Zel32s* pIndx, int count, Zel8u** ppDst, int nRows,
                                                int rowBytes, int offset, int len);
ZELSR_API ZelStatus zelsFillShortlist_ColumnVar_1u(const Zel32s* pIndx, const int* pCounts, Zel8u** ppDst, int nRows,
                                                   int rowBytes, int offset, int len);
/** @} */

/** @{ */
/** ORs source bit rows together: pDst (output) holds `rows` rows of
 * ceil(len / 8) bytes, cleared first; bit b of output row r is set when bit
 * offset + b of ppSrc[x] is set for any index x of row r (count indices at
 * pIndx + r * count, or pCounts[r] of them one behind the other in the Var
 * form). Checks, in order: a null pointer (zelStsNullPtrErr); count, nSrc,
 * srcBytes, len or rows below 1, offset below 0, or a pCounts entry below 1
 * (zelStsSizeErr); srcBytes below ceil((offset + len) / 8)
 * (zelStsStrideErr); an index outside 0 to nSrc - 1 (zelStsBadArgErr),
 * before anything is written.
 * Outputs: pDst.
 */
ZELSR_API ZelStatus zelsBuildSignTable_8u1u(const Zel32s* pIndx, int count, const Zel8u** ppSrc, int nSrc,
                                            int srcBytes, int offset, Zel8u* pDst, int rows, int len);
ZELSR_API ZelStatus zelsBuildSignTable_Var_8u1u(const Zel32s* pIndx, const int* pCounts, const Zel8u** ppSrc,
                                                int nSrc, int srcBytes, int offset, Zel8u* pDst, int rows, int len);
/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ZELSR_VQ_H */
