// SPDX-License-Identifier: Apache-2.0
// The sum of the natural logarithms of a vector without a logarithm per
// element, shared by the Gaussian constant of the updates and by the merge,
// distance and Bhattacharyya functions.
//
// The vector goes in chunks of at most 512 elements. Each element is taken
// apart by its bits into a mantissa in [0.5, 1) and an integer exponent; the
// mantissas of a chunk are multiplied in Zel64f, left to right, and the
// exponents added, so a chunk costs one logarithm: log(product) + exponent
// sum * log 2. 512 mantissas of at least 0.5 cannot underflow a double.
// The chunk sums are added in Zel64f, in order.
//
// The first element that is 0 (of either sign), has its sign bit set, or is
// a NaN ends the walk: 0 writes +inf with zelStsLnZeroArg, a set sign bit the
// NaN 0xffc00000 (0xfff8000000000000 in double) with zelStsLnNegArg, and any
// other NaN writes the same NaN with zelStsNoErr. An infinite
// element makes the sum +inf. Null pointers give zelStsNullPtrErr, len below
// 1 zelStsSizeErr.
#pragma once

#include "zelsr.h"

ZelStatus ownSumLn_32f(const Zel32f* pSrc, int len, Zel32f* pSum);
ZelStatus ownSumLn_64f(const Zel64f* pSrc, int len, Zel64f* pSum);
