// SPDX-License-Identifier: Apache-2.0
// zelsLogAdd, zelsLogSub and zelsLogSum: the length first, then the
// pointers, then one kernel. The arithmetic is in log_domain_kernels.hpp.
#include <string.h>

#include "scoring/log_domain.hpp"

#include "frame/checks.hpp"
#include "scoring/log_domain_kernels.hpp"

using zel::firstError;
using zel::requireNonNull;
using zel::requirePositive;
using zel::logd::Set32;
using zel::logd::Set64;

namespace {

template <class... P>
ZelStatus checkArgs(int len, const P*... p) {
    return firstError(requirePositive(len), requireNonNull(p...));
}

bool knownHint(int hint) { return hint >= zelAlgHintNone && hint <= zelAlgHintAccurate; }

}  // namespace

// ---- The private kernels ------------------------------------------------------

void ownLogAdd_32f_Accurate(const Zel32f* pSrc, Zel32f* pSrcDst, int len) {
    zel::logd::logAdd32<true>(pSrc, pSrcDst, len);
}
void ownLogAdd_32f_Fast(const Zel32f* pSrc, Zel32f* pSrcDst, int len) {
    zel::logd::logAdd32<false>(pSrc, pSrcDst, len);
}
void ownLogAdd_64f(const Zel64f* pSrc, Zel64f* pSrcDst, int len) { zel::logd::logAdd64(pSrc, pSrcDst, len); }
// One element is written as it stands, bits and all: on 32-bit x86 a float
// returned from a call travels through the x87 stack, which quiets a
// signalling NaN.
void ownLogSum_32f(const Zel32f* pSrc, Zel32f* pResult, int len) {
    if (len == 1) return static_cast<void>(memcpy(pResult, pSrc, sizeof *pSrc));
    *pResult = zel::logd::logSum32(pSrc, len);
}
void ownLogSum_64f(const Zel64f* pSrc, Zel64f* pResult, int len) {
    if (len == 1) return static_cast<void>(memcpy(pResult, pSrc, sizeof *pSrc));
    *pResult = zel::logd::logSum64(pSrc, len);
}

// ---- zelsLogAdd -----------------------------------------------------------------

extern "C" ZELSR_API ZelStatus zelsLogAdd_32f(const Zel32f* pSrc, Zel32f* pSrcDst, int len, ZelHintAlgorithm hint) {
    if (ZelStatus s = checkArgs(len, pSrc, pSrcDst)) return s;
    if (hint == zelAlgHintFast)
        ownLogAdd_32f_Fast(pSrc, pSrcDst, len);
    else if (knownHint(hint))
        ownLogAdd_32f_Accurate(pSrc, pSrcDst, len);
    return zelStsNoErr;
}

extern "C" ZELSR_API ZelStatus zelsLogAdd_64f(const Zel64f* pSrc, Zel64f* pSrcDst, int len, ZelHintAlgorithm hint) {
    if (ZelStatus s = checkArgs(len, pSrc, pSrcDst)) return s;
    if (knownHint(hint)) zel::logd::logAdd64Horner(pSrc, pSrcDst, len);
    return zelStsNoErr;
}

extern "C" ZELSR_API ZelStatus zelsLogAdd_16s_Sfs(const Zel16s* pSrc, Zel16s* pSrcDst, int len, int scaleFactor,
                                                  ZelHintAlgorithm hint) {
    if (ZelStatus s = checkArgs(len, pSrc, pSrcDst)) return s;
    zel::logd::logAddFixed(pSrc, pSrcDst, len, scaleFactor, hint);
    return zelStsNoErr;
}

extern "C" ZELSR_API ZelStatus zelsLogAdd_32s_Sfs(const Zel32s* pSrc, Zel32s* pSrcDst, int len, int scaleFactor,
                                                  ZelHintAlgorithm hint) {
    if (ZelStatus s = checkArgs(len, pSrc, pSrcDst)) return s;
    zel::logd::logAddFixed(pSrc, pSrcDst, len, scaleFactor, hint);
    return zelStsNoErr;
}

// ---- zelsLogSub: the whole vector is tested before anything is written ---------

extern "C" ZELSR_API ZelStatus zelsLogSub_32f(const Zel32f* pSrc, Zel32f* pSrcDst, int len) {
    if (ZelStatus s = checkArgs(len, pSrc, pSrcDst)) return s;
    if (!zel::logd::logSubOrdered(pSrc, pSrcDst, len)) return zelStsRangeErr;
    zel::logd::logSub<Set32>(pSrc, pSrcDst, len);
    return zelStsNoErr;
}

extern "C" ZELSR_API ZelStatus zelsLogSub_64f(const Zel64f* pSrc, Zel64f* pSrcDst, int len) {
    if (ZelStatus s = checkArgs(len, pSrc, pSrcDst)) return s;
    if (!zel::logd::logSubOrdered(pSrc, pSrcDst, len)) return zelStsRangeErr;
    zel::logd::logSub<Set64>(pSrc, pSrcDst, len);
    return zelStsNoErr;
}

extern "C" ZELSR_API ZelStatus zelsLogSub_16s_Sfs(const Zel16s* pSrc, Zel16s* pSrcDst, int len, int scaleFactor) {
    if (ZelStatus s = checkArgs(len, pSrc, pSrcDst)) return s;
    if (!zel::logd::logSubOrderedFixed(pSrc, pSrcDst, len)) return zelStsRangeErr;
    zel::logd::logSubFixed(pSrc, pSrcDst, len, scaleFactor);
    return zelStsNoErr;
}

extern "C" ZELSR_API ZelStatus zelsLogSub_32s_Sfs(const Zel32s* pSrc, Zel32s* pSrcDst, int len, int scaleFactor) {
    if (ZelStatus s = checkArgs(len, pSrc, pSrcDst)) return s;
    if (!zel::logd::logSubOrderedFixed(pSrc, pSrcDst, len)) return zelStsRangeErr;
    zel::logd::logSubFixed(pSrc, pSrcDst, len, scaleFactor);
    return zelStsNoErr;
}

// ---- zelsLogSum: every hint, known or not, computes ------------------------------

extern "C" ZELSR_API ZelStatus zelsLogSum_32f(const Zel32f* pSrc, Zel32f* pResult, int len, ZelHintAlgorithm) {
    if (ZelStatus s = checkArgs(len, pSrc, pResult)) return s;
    ownLogSum_32f(pSrc, pResult, len);
    return zelStsNoErr;
}

extern "C" ZELSR_API ZelStatus zelsLogSum_64f(const Zel64f* pSrc, Zel64f* pResult, int len, ZelHintAlgorithm) {
    if (ZelStatus s = checkArgs(len, pSrc, pResult)) return s;
    ownLogSum_64f(pSrc, pResult, len);
    return zelStsNoErr;
}

// With one element the input is returned as it stands; the scale factor is not read.
extern "C" ZELSR_API ZelStatus zelsLogSum_16s_Sfs(const Zel16s* pSrc, Zel16s* pResult, int len, int scaleFactor,
                                                  ZelHintAlgorithm) {
    if (ZelStatus s = checkArgs(len, pSrc, pResult)) return s;
    *pResult = zel::logd::logSumFixed(pSrc, len, scaleFactor);
    return zelStsNoErr;
}

extern "C" ZELSR_API ZelStatus zelsLogSum_32s_Sfs(const Zel32s* pSrc, Zel32s* pResult, int len, int scaleFactor,
                                                  ZelHintAlgorithm) {
    if (ZelStatus s = checkArgs(len, pSrc, pResult)) return s;
    *pResult = zel::logd::logSumFixed(pSrc, len, scaleFactor);
    return zelStsNoErr;
}
