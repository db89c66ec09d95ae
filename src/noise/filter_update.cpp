// SPDX-License-Identifier: Apache-2.0
// Suppression gains per bin: Wiener and Ephraim-Malah, in float and fixed point.
#include "frame/checks.hpp"
#include "noise/filter_update_kernels.hpp"

using namespace zel;
using namespace zel::gain;

namespace {

ZelStatus requireLen(int len) { return require(len >= 1 && len <= kMaxLen, zelStsLengthRangeErr); }

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsFilterUpdateWiener_32f(const Zel32f* pSrc, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requireLen(len))) return s;
    return wienerFloat(pSrc, pDst, len) ? zelStsBadArgErr : zelStsNoErr;
}
ZELSR_API ZelStatus zelsFilterUpdateWiener_32s(const Zel32s* pSrc, Zel32s* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pSrc, pDst), requireLen(len))) return s;
    return wienerFixed(pSrc, pDst, len) ? zelStsBadArgErr : zelStsNoErr;
}

ZELSR_API ZelStatus zelsFilterUpdateEMNS_32f(const Zel32f* pWiener, const Zel32f* pRatio, Zel32f* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pWiener, pRatio, pDst), requireLen(len))) return s;
    if (!wienerGainsValid(pWiener, len)) return zelStsRangeErr;
    emnsFloat(pWiener, pRatio, pDst, len);
    return zelStsNoErr;
}
ZELSR_API ZelStatus zelsFilterUpdateEMNS_32s(const Zel32s* pWiener, const Zel32s* pRatio, Zel32s* pDst, int len) {
    if (ZelStatus s = firstError(requireNonNull(pWiener, pRatio, pDst), requireLen(len))) return s;
    if (!wienerGainsValid(pWiener, len)) return zelStsRangeErr;
    emnsFixed(pWiener, pRatio, pDst, len);
    return zelStsNoErr;
}

}  // extern "C"
