// SPDX-License-Identifier: Apache-2.0
// Log-domain addition shared by the scoring families: the two constant sets
// of log(1 + exp(d)) and the private kernels. The arithmetic itself, with the
// two scalar folds that the accumulating families repeat element by element,
// is in log_domain_kernels.hpp.
//
// log(exp(a) + exp(b)) = M + log(1 + exp(d)), with M the larger operand and
// d = smaller - M <= 0. The correction is a polynomial in x = d - shift, one
// per regime of d, each expanded at the upper end of its regime; below the
// cut the correction is dropped, and a result M under the floor test becomes
// the floor value, the one canonical log of zero.
//
// Operands outside the arithmetic have a defined result on every path: a NaN
// operand gives NaN; two infinities of the same sign give that infinity (so
// -inf and -inf give the floor value); +inf and anything else gives +inf.
#pragma once

#include "zelsr.h"

namespace zel::logd {

// The single-precision set. The accurate kernels and the scalar fold read the
// coefficients as doubles; the fast kernels read them rounded to single.
struct Set32 {
    static constexpr int kDegree = 10;
    static constexpr double kBoundary1 = -2.55;
    static constexpr double kBoundary2 = -6.8;
    static constexpr double kCut = -15.3195879547406;  // -ln 4500000
    static constexpr double kFloorTest = -4500000.0;
    static constexpr double kFloorValue = -4500000.0;
    // Subtracted from d to form x: each regime is expanded at its upper end.
    static constexpr double kShift[3] = {0.0, -2.55, -6.8};
    // kPoly[regime][power].
    static constexpr double kPoly[3][kDegree + 1] = {
        {0.6931471827215062, 0.5000001923981635, 0.125002818406354, 1.5878560708463796e-05,
         -0.005163737400850404, 6.910012478334781e-05, 0.0004062108907165097, 2.1955075181092877e-05,
         -3.1261214564328406e-05, -8.27710395983359e-06, -6.780103715801104e-07},
        {0.07518323027822499, 0.07242669818681209, 0.033592464138937767, 0.009582361774741538,
         0.0016847989052690858, 0.00010764583059022215, -3.4842057389070787e-05, -1.2793327302109763e-05,
         -2.094649399521823e-06, -1.8491608098957698e-07, -7.083237702375219e-09},
        {0.0011131507706311817, 0.0011123966452324845, 0.0005549481290265323, 0.00018342101716467817,
         4.458031414389642e-05, 8.25762745567427e-06, 1.157908356720776e-06, 1.183290602139997e-07,
         8.230386128280675e-09, 3.4510675551141127e-10, 6.536044962123068e-12},
    };
    // The same thresholds as singles, for the single-precision kernels.
    static constexpr float kBoundary1f = static_cast<float>(kBoundary1);
    static constexpr float kBoundary2f = static_cast<float>(kBoundary2);
    static constexpr float kCutf = static_cast<float>(kCut);
    static constexpr float kFloorf = static_cast<float>(kFloorValue);
    // Log-subtraction: 1 - exp(d) at or below this is a difference of zero.
    static constexpr double kSubTiny = 1.0057e-37;
};

// The double-precision set.
struct Set64 {
    static constexpr int kDegree = 21;
    static constexpr double kBoundary1 = -3.5;
    static constexpr double kBoundary2 = -9.0;
    static constexpr double kCut = -23.0258509299405;  // ln 1e-10
    // Any operand below the test is snapped to the one value written, which
    // lies lower still.
    static constexpr double kFloorTest = -9000000000.0;
    static constexpr double kFloorValue = -10000000000.0;
    static constexpr double kShift[3] = {0.0, -3.5, -9.0};
    static constexpr double kPoly[3][kDegree + 1] = {
        {0.6931471805599475, 0.5000000000006226, 0.12500000002958675, 5.587714108476228e-10,
         -0.005208327741081266, 3.4289110129737e-08, 0.0003473626701744988, 4.065812849423804e-07,
         -2.5487163524155248e-05, 1.3867656181255913e-06, 3.844457955118119e-06, 1.6353412792505214e-06,
         1.0406444519836742e-06, 7.091358966640867e-07, 3.320992500314504e-07, 1.055613856863438e-07,
         2.3532270503994952e-08, 3.717428002038248e-09, 4.091290155130968e-10, 2.979508062290527e-11,
         1.2811707930131747e-12, 2.4223551556971103e-14},
        {0.02975041827262059, 0.0293122307513593, 0.014226511939950807, 0.004464163447126563,
         0.0009831490265710303, 0.00014699683220535022, 9.625041106025868e-06, -2.209235331735495e-06,
         -9.461042535100208e-07, -1.8820558187982419e-07, -1.909513758655842e-08, 1.6292813548790022e-09,
         1.277933984587361e-09, 3.487750749690926e-10, 6.632489267913665e-11, 9.711578249998531e-12,
         1.1165229253200852e-12, 9.973092519816427e-14, 6.702281854356589e-15, 3.191870701452749e-16,
         9.601624129865304e-18, 1.3708407243051937e-19},
        {0.00012340218972425103, 0.00012339457601536868, 6.168967511733263e-05, 2.0558151089723745e-05,
         5.137002703123242e-06, 1.0263887628748916e-06, 1.7072955802867207e-07, 2.4295529030919333e-08,
         3.0140517373824124e-09, 3.300948845025808e-10, 3.2140356172044866e-11, 2.7867099954008822e-12,
         2.1432698000428128e-13, 1.4486369363407485e-14, 8.4810302862868775e-16, 4.217783891653166e-17,
         1.73794899924144e-18, 5.745038767733748e-20, 1.4576061250276504e-21, 2.6542272637469554e-23,
         3.0781354635598557e-25, 1.7034225392923792e-27},
    };
    static constexpr double kSubTiny = 2.45e-308;
};

}  // namespace zel::logd

// The kernels of the families that fold scores. Each reads pSrc[0..len) and
// has no status; len >= 1 and valid pointers are the caller's business.
//
// pSrcDst[i] = the fold of pSrc[i] and pSrcDst[i]. Groups of four from the
// start run the vector code; the last len % 4 elements run the single-element
// code, which differs only at the exact thresholds: the vector code counts d
// equal to boundary 1 in regime 1, equal to boundary 2 in regime 2 and equal
// to the cut above it; the single-element code counts them in regimes 0 and 1
// and below the cut.
void ownLogAdd_32f_Accurate(const Zel32f* pSrc, Zel32f* pSrcDst, int len);
void ownLogAdd_32f_Fast(const Zel32f* pSrc, Zel32f* pSrcDst, int len);
// Double set, even and odd powers split; pairs from the start, an odd last
// element through the same pair code.
void ownLogAdd_64f(const Zel64f* pSrc, Zel64f* pSrcDst, int len);
// *pResult = the fast fold of the whole vector. Below 8 elements from left to
// right. From 8 on: four running values start as pSrc[0..3], each further
// group of four folds in lane by lane, lanes 2 and 3 fold into lanes 0 and 1,
// lane 1 into lane 0, and the last len % 4 elements follow from left to
// right. The lane folds are vector code, the left-to-right folds
// single-element code.
void ownLogSum_32f(const Zel32f* pSrc, Zel32f* pResult, int len);
// *pResult = the double fold (even and odd powers) of the whole vector. Up to
// 4 elements from left to right; from 5 on two running values start as
// pSrc[0..1], each further pair folds in, lane 1 folds into lane 0, and an
// odd last element follows.
void ownLogSum_64f(const Zel64f* pSrc, Zel64f* pResult, int len);
