// SPDX-License-Identifier: Apache-2.0
// Voice activity decision: the record's size, its initialisation, one
// decision per frame and the flush at the end of a stream. Pointers are
// tested first; a record that no Init prepared, or one whose measures are
// the other form's, is refused before anything is written.
#include "aurora/vad_kernels.hpp"
#include "frame/checks.hpp"

using namespace zel;
using namespace zel::vad;

namespace {

// Decisions read the measures in their own form, so a record that holds
// the other form's is refused; the flush reads only the ring and the
// counters, which both forms share, and takes any record.
ZelStatus requireState(const ZelVADState_Aurora* s, Zel8u kind) {
    const bool any = s->kind == kKindFresh || s->kind == kKind32f || s->kind == kKind16s;
    const bool kindOk = kind == 0 ? any : (s->kind == kKindFresh || s->kind == kind);
    return require(kindOk && wellFormed(*s), zelStsContextMatchErr);
}

ZelStatus getSize(int* pSize) {
    if (ZelStatus s = requireNonNull(pSize)) return s;
    *pSize = kStateBytes;
    return zelStsNoErr;
}

ZelStatus init(ZelVADState_Aurora* pState) {
    if (ZelStatus s = requireNonNull(pState)) return s;
    reset(*pState);
    return zelStsNoErr;
}

template <class T, class Measures>
ZelStatus decide(const T* pMel, const T* pFrame, int speechHint, Zel32s* pRes, ZelVADState_Aurora* pState,
                 Zel8u kind, Measures measures) {
    if (ZelStatus s = requireNonNull(pState, pMel, pFrame, pRes)) return s;
    if (ZelStatus s = requireState(pState, kind)) return s;
    ZelVADState_Aurora& st = *pState;
    st.kind = kind;
    *pRes = kUndecided;
    const int n = nextFrame(st);
    const bool flagged = measures(st, pMel, pFrame, n);
    // The first ten frames only train the floors.
    if (n < 11) return zelStsNoErr;
    *pRes = verdict(st, n, flagged || speechHint >= 5);
    return zelStsNoErr;
}

ZelStatus flush(Zel32s* pRes, ZelVADState_Aurora* pState) {
    if (ZelStatus s = requireNonNull(pRes, pState)) return s;
    if (ZelStatus s = requireState(pState, 0)) return s;
    *pRes = flushStep(*pState);
    return zelStsNoErr;
}

}  // namespace

extern "C" {

ZELSR_API ZelStatus zelsVADGetBufSize_Aurora_32f(int* pSize) { return getSize(pSize); }
ZELSR_API ZelStatus zelsVADGetBufSize_Aurora_16s(int* pSize) { return getSize(pSize); }

ZELSR_API ZelStatus zelsVADInit_Aurora_32f(ZelVADState_Aurora* pState) { return init(pState); }
ZELSR_API ZelStatus zelsVADInit_Aurora_16s(ZelVADState_Aurora* pState) { return init(pState); }

ZELSR_API ZelStatus zelsVADDecision_Aurora_32f(const Zel32f* pMel, const Zel32f* pFrame, int speechHint,
                                              Zel32s* pRes, ZelVADState_Aurora* pState) {
    return decide(pMel, pFrame, speechHint, pRes, pState, kKind32f, measures32f);
}

ZELSR_API ZelStatus zelsVADDecision_Aurora_16s(const Zel16s* pMel, const Zel16s* pFrame, int speechHint,
                                              Zel32s* pRes, ZelVADState_Aurora* pState) {
    return decide(pMel, pFrame, speechHint, pRes, pState, kKind16s, measures16s);
}

ZELSR_API ZelStatus zelsVADFlush_Aurora_32f(Zel32s* pRes, ZelVADState_Aurora* pState) { return flush(pRes, pState); }
ZELSR_API ZelStatus zelsVADFlush_Aurora_16s(Zel32s* pRes, ZelVADState_Aurora* pState) { return flush(pRes, pState); }

}  // extern "C"
