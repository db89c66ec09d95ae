// SPDX-License-Identifier: Apache-2.0
// DCT lifter states of every flavour from fuzzed lengths, lifters and
// multipliers, in caller memory of the queried size or allocated, then
// evaluated in float and 16-bit forms and released.
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <vector>

#include "fuzz_reader.hpp"
#include "zelsr.h"

namespace {

struct Reader : zfuzz::Reader {
    float f32() { return mostlyScaled(64.0f); }
};

using Query = ZelStatus (*)(int, int, int*);

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader r{data, size};
    const int flavour = int(r.u(1) % 4);  // plain, C0, Mul, MulC0
    const bool fixed = r.u(1) & 1, inCallerMemory = r.u(1) & 1;
    const int lenDCT = int(r.u(2) % 1100) - 10;
    const int lenCepstrum = int(r.u(2) % 1100) - 10;
    const int nLifter = int(r.u(1)) - 10;
    const float val = r.f32(), val0 = r.f32();
    const size_t nTable = lenCepstrum > 0 ? size_t(lenCepstrum) : 1;
    std::vector<Zel32f> lifter(nTable);
    std::vector<Zel32s> lifter32s(nTable);
    for (size_t i = 0; i < nTable; ++i) lifter[i] = r.f32(), lifter32s[i] = int32_t(r.u(4)) >> (r.u(1) & 31);
    const bool narrow = fixed && flavour == 3 && inCallerMemory;  // the one builder that reads Zel32s

    const Query queries[2][4] = {
        {zelsDCTLifterGetSize_32f, zelsDCTLifterGetSize_C0_32f, zelsDCTLifterGetSize_Mul_32f,
         zelsDCTLifterGetSize_MulC0_32f},
        {zelsDCTLifterGetSize_16s, zelsDCTLifterGetSize_C0_16s, zelsDCTLifterGetSize_Mul_16s,
         zelsDCTLifterGetSize_MulC0_16s}};
    void* mem = nullptr;
    ZelStatus s;
    if (!fixed) {
        ZelDCTLifterState_32f* st = nullptr;
        if (inCallerMemory) {
            int bytes = 0;
            if (queries[0][flavour](lenDCT, lenCepstrum, &bytes) != zelStsNoErr) return 0;
            mem = malloc(size_t(bytes));
            st = static_cast<ZelDCTLifterState_32f*>(mem);
            s = flavour == 0   ? zelsDCTLifterInit_32f(st, lenDCT, lenCepstrum, nLifter, val)
                : flavour == 1 ? zelsDCTLifterInit_C0_32f(st, lenDCT, lenCepstrum, nLifter, val, val0)
                : flavour == 2 ? zelsDCTLifterInit_Mul_32f(st, lenDCT, lifter.data(), lenCepstrum)
                               : zelsDCTLifterInit_MulC0_32f(st, lenDCT, lifter.data(), lenCepstrum);
        } else {
            s = flavour == 0   ? zelsDCTLifterInitAlloc_32f(&st, lenDCT, lenCepstrum, nLifter, val)
                : flavour == 1 ? zelsDCTLifterInitAlloc_C0_32f(&st, lenDCT, lenCepstrum, nLifter, val, val0)
                : flavour == 2 ? zelsDCTLifterInitAlloc_Mul_32f(&st, lenDCT, lifter.data(), lenCepstrum)
                               : zelsDCTLifterInitAlloc_MulC0_32f(&st, lenDCT, lifter.data(), lenCepstrum);
        }
        if (s == zelStsNoErr) {
            std::vector<Zel32f> src(static_cast<size_t>(lenDCT)), dst(size_t(lenCepstrum) + 1);
            for (Zel32f& x : src) x = r.f32();
            zelsDCTLifter_32f(src.data(), dst.data(), st);
            zelsDCTLifterFree_32f(st);
            // A released state is refused, not followed.
            zelsDCTLifter_32f(src.data(), dst.data(), mem ? st : nullptr);
        }
        free(mem);
        return 0;
    }
    ZelDCTLifterState_16s* st = nullptr;
    if (inCallerMemory) {
        int bytes = 0;
        if (queries[1][flavour](lenDCT, lenCepstrum, &bytes) != zelStsNoErr) return 0;
        mem = malloc(size_t(bytes));
        st = static_cast<ZelDCTLifterState_16s*>(mem);
        s = flavour == 0 ? zelsDCTLifterInit_16s(st, lenDCT, lenCepstrum, nLifter, val)
            : flavour == 1 ? zelsDCTLifterInit_C0_16s(st, lenDCT, lenCepstrum, nLifter, val, val0)
            : flavour == 2 ? zelsDCTLifterInit_Mul_16s(st, lenDCT, lifter.data(), lenCepstrum)
            : narrow       ? zelsDCTLifterInit_MulC0_16s(st, lenDCT, lifter32s.data(), lenCepstrum)
                           : zelStsErr;
    } else {
        s = flavour == 0   ? zelsDCTLifterInitAlloc_16s(&st, lenDCT, lenCepstrum, nLifter, val)
            : flavour == 1 ? zelsDCTLifterInitAlloc_C0_16s(&st, lenDCT, lenCepstrum, nLifter, val, val0)
            : flavour == 2 ? zelsDCTLifterInitAlloc_Mul_16s(&st, lenDCT, lifter.data(), lenCepstrum)
                           : zelsDCTLifterInitAlloc_MulC0_16s(&st, lenDCT, lifter.data(), lenCepstrum);
    }
    if (s == zelStsNoErr) {
        std::vector<Zel16s> src(static_cast<size_t>(lenDCT)), dst(size_t(lenCepstrum) + 1);
        std::vector<Zel32s> src32(static_cast<size_t>(lenDCT));
        for (size_t i = 0; i < src.size(); ++i) src[i] = Zel16s(r.u(2)), src32[i] = int32_t(r.u(4));
        const int sf = int(int32_t(r.u(4)));
        zelsDCTLifter_16s_Sfs(src.data(), dst.data(), st, sf);
        zelsDCTLifter_32s16s_Sfs(src32.data(), dst.data(), st, int(r.u(1)) - 128);
        // A 16-bit state handed to the float evaluation is refused.
        std::vector<Zel32f> f(static_cast<size_t>(lenDCT)), g(size_t(lenCepstrum) + 1);
        zelsDCTLifter_32f(f.data(), g.data(), reinterpret_cast<const ZelDCTLifterState_32f*>(st));
        zelsDCTLifterFree_16s(st);
    }
    free(mem);
    return 0;
}
