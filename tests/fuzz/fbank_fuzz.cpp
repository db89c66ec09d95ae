// SPDX-License-Identifier: Apache-2.0
// Filter banks from fuzzed shapes and frequencies: built in caller memory of
// the queried size or by the allocating builders, then evaluated, read,
// rewritten and released. Only the public interface is used.
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <vector>

#include "fuzz_reader.hpp"
#include "zelsr.h"

namespace {

struct Reader : zfuzz::Reader {
    float f32() { return anyFloat(); }
    // Mostly a sensible value, sometimes any bit pattern at all.
    float freq(float base, uint32_t span) { return u(1) < 224 ? base + float(u(2) % span) : anyFloat(); }
};

template <class T>
std::vector<T> data(Reader& r, size_t n) {
    std::vector<T> v(n);
    for (T& x : v) {
        if constexpr (sizeof(T) == 2) x = T(r.u(2));
        else if constexpr (sizeof(T) == 4 && T(0.5) != 0) x = r.u(1) < 250 ? float(int16_t(r.u(2))) : r.f32();
        else x = T(int32_t(r.u(4)) >> (r.u(1) & 15));
    }
    return v;
}

// Evaluation, accessors and release of a float or 16-bit bank.
template <class S, class Src>
void exercise(Reader& r, S* bank, int fftLen, int nFilter, ZelStatus (*eval)(const Src*, Zel32f*, const S*, int),
              ZelStatus (*getC)(const S*, Zel32s*), ZelStatus (*setC)(S*, const Zel32s*),
              ZelStatus (*getW)(const S*, int, Zel32f*), ZelStatus (*setW)(S*, int, const Zel32f*)) {
    const size_t n = size_t(fftLen) + 8;
    std::vector<Src> src = data<Src>(r, n);
    std::vector<Zel32f> out(size_t(nFilter) + 2), coeffs(n);
    std::vector<Zel32s> centres(size_t(nFilter) + 2);
    eval(src.data(), out.data(), bank, int(r.u(1)) - 128);
    getC(bank, centres.data());
    const int index = int(r.u(1)) % (nFilter + 3) - 1;
    getW(bank, index, coeffs.data());
    std::vector<Zel32f> w = data<Zel32f>(r, n);
    setW(bank, index, w.data());
    if (r.u(1) & 1) {
        for (Zel32s& c : centres) c = int32_t(r.u(1)) - 8 + (&c - centres.data()) * int32_t(r.u(1) & 7);
        setC(bank, centres.data());
    }
    eval(src.data(), out.data(), bank, int(r.u(1)) - 128);
}

ZelStatus eval32f(const Zel32f* s, Zel32f* d, const ZelFBankState_32f* b, int) { return zelsEvalFBank_32f(s, d, b); }
ZelStatus eval16(const Zel16s* s, Zel32f* d, const ZelFBankState_16s* b, int sf) {
    return zelsEvalFBank_16s32s_Sfs(s, reinterpret_cast<Zel32s*>(d), b, sf);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t count) {
    Reader r{bytes, count};
    const int kind = int(r.u(1) % 3);
    const int how = int(r.u(1) % 4);
    const int winSize = int(r.u(2) % 2100) - 20;
    const int nFilter = int(r.u(1)) - 4;
    const int mode = int(r.u(1) % 9);
    const float samp = r.freq(8000, 40000), low = r.freq(0, 4000), high = r.freq(1000, 20000);
    const float mul = r.u(1) < 200 ? 2595.0f : r.f32(), div = r.u(1) < 200 ? 700.0f : r.f32();
    int order = 0, size = 0;
    if (kind == 2) {
        // The integer bank: caller memory of the queried size only.
        const int m = r.u(1) < 240 ? 2 : int(r.u(1));
        if (zelsMelFBankGetSize_32s(winSize, nFilter, m, &size) != zelStsNoErr) return 0;
        void* mem = malloc(size_t(size));
        auto* b = static_cast<ZelFBankState_32s*>(mem);
        const int iSamp = int(r.u(2)) * 2 - 8000, iLow = int(r.u(2)) - 1000, iHigh = int(r.u(2)) % 30000 - 100;
        if (zelsMelFBankInit_32s(b, &order, winSize, iSamp, iLow, iHigh, nFilter,
                                 int32_t(r.u(4) % 1073741824u), int32_t(r.u(4) % 268435456u), m) == zelStsNoErr) {
            std::vector<Zel32s> src = data<Zel32s>(r, size_t(1) << order), out(static_cast<size_t>(nFilter));
            zelsEvalFBank_32s_Sfs(src.data(), out.data(), b, int(r.u(1)) - 128);
        }
        free(mem);
        return 0;
    }
    if (kind == 0) {
        ZelFBankState_32f* b = nullptr;
        void* mem = nullptr;
        ZelStatus s;
        if (how == 0) {
            if (zelsMelFBankGetSize_32f(winSize, nFilter, mode, &size) != zelStsNoErr) return 0;
            mem = malloc(size_t(size));
            b = static_cast<ZelFBankState_32f*>(mem);
            s = zelsMelFBankInit_32f(b, &order, winSize, samp, low, high, nFilter, mul, div, mode);
        } else if (how == 1) {
            s = zelsMelFBankInitAlloc_32f(&b, &order, winSize, samp, low, high, nFilter, mul, div, mode);
        } else if (how == 2) {
            s = zelsMelLinFBankInitAlloc_32f(&b, &order, winSize, samp, low, high, nFilter, r.freq(500, 4000),
                                             int(r.u(1)) - 2, mul, div, mode);
        } else {
            s = zelsEmptyFBankInitAlloc_32f(&b, &order, winSize, nFilter, mode);
        }
        if (s == zelStsNoErr)
            exercise<ZelFBankState_32f, Zel32f>(r, b, 1 << order, nFilter, eval32f, zelsFBankGetCenters_32f,
                                                zelsFBankSetCenters_32f, zelsFBankGetCoeffs_32f,
                                                zelsFBankSetCoeffs_32f);
        if (mem) free(mem);
        else if (s == zelStsNoErr) zelsFBankFree_32f(b);
        return 0;
    }
    ZelFBankState_16s* b = nullptr;
    void* mem = nullptr;
    ZelStatus s;
    if (how == 0) {
        if (zelsMelFBankGetSize_16s(winSize, nFilter, mode, &size) != zelStsNoErr) return 0;
        mem = malloc(size_t(size));
        b = static_cast<ZelFBankState_16s*>(mem);
        s = zelsMelFBankInit_16s(b, &order, winSize, samp, low, high, nFilter, mul, div, mode);
    } else if (how == 1) {
        s = zelsMelFBankInitAlloc_16s(&b, &order, winSize, samp, low, high, nFilter, mul, div, mode);
    } else if (how == 2) {
        s = zelsMelLinFBankInitAlloc_16s(&b, &order, winSize, samp, low, high, nFilter, r.freq(500, 4000),
                                         int(r.u(1)) - 2, mul, div, mode);
    } else {
        s = zelsEmptyFBankInitAlloc_16s(&b, &order, winSize, nFilter, mode);
    }
    if (s == zelStsNoErr)
        exercise<ZelFBankState_16s, Zel16s>(r, b, 1 << order, nFilter, eval16, zelsFBankGetCenters_16s,
                                            zelsFBankSetCenters_16s, zelsFBankGetCoeffs_16s, zelsFBankSetCoeffs_16s);
    if (mem) free(mem);
    else if (s == zelStsNoErr) zelsFBankFree_16s(b);
    return 0;
}
