// SPDX-License-Identifier: Apache-2.0
// Fuzz target for the resampler states: a fixed-ratio state (designed, or laid
// out in caller memory and loaded with taps from the input) and a
// general-ratio state, built from the first bytes, then run in blocks over
// samples from the rest with the history and time a correct caller keeps.
// Statuses must be documented ones, and runs must stay inside the buffers.
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <vector>

#include "zelsr.h"

namespace {

struct Reader {
    const uint8_t* p;
    size_t n;
    uint32_t u32() {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v = (v << 8) | (n ? (--n, *p++) : 0u);
        return v;
    }
    uint8_t u8() { return n ? (--n, *p++) : 0; }
    float unit() { return float(u32() & 0xffffff) / float(0xffffff); }
};

void require(bool ok) {
    if (!ok) abort();
}

bool documented(ZelStatus s) {
    return s == zelStsNoErr || s == zelStsNullPtrErr || s == zelStsSizeErr || s == zelStsBadArgErr ||
           s == zelStsMemAllocErr || s == zelStsContextMatchErr;
}

template <class S>
std::vector<S> samples(Reader& r, size_t count) {
    std::vector<S> x(count);
    for (S& v : x) {
        const int16_t raw = int16_t(r.u8() | (r.u8() << 8));
        if constexpr (sizeof(S) == 2)
            v = raw;
        else
            v = float(raw) / 256.0f;
    }
    return x;
}

// Runs `run` over x in blocks, keeping `reach` samples of history and
// lookahead around every call; returns the outputs.
template <class S, class Run>
std::vector<S> stream(const std::vector<S>& x, int reach, double outPerIn, Reader& r, Run run) {
    const int n = int(x.size());
    std::vector<S> src(size_t(n) + 2 * reach, S(0));
    memcpy(src.data() + reach, x.data(), x.size() * sizeof(S));
    std::vector<S> out(size_t(double(n) * outPerIn) + 8 + 8 * n);
    int produced = 0, end = reach;
    double T = reach + (r.u8() & 0x7f) / 128.0;
    while (end < reach + n) {
        end += 1 + (r.u8() % 97);
        if (end > reach + n) end = reach + n;
        const int at = int(T) - reach, len = end - int(T);
        if (len < 1) continue;
        double t = T - at;
        int got = -1;
        const ZelStatus s = run(src.data() + at, len, out.data() + produced, &t, &got);
        require(s == zelStsNoErr && got >= 0 && size_t(produced + got) <= out.size());
        produced += got;
        T = t + at;
        // The next output lies at most one output step past the end.
        require(T >= at && T < double(reach) + n + 1.0 / outPerIn + 1);
    }
    out.resize(produced);
    return out;
}

void fixedKind(Reader& r) {
    const int in = 1 + int(r.u32() % 400), out = 1 + int(r.u32() % 400), len = 1 + int(r.u32() % 80);
    const float rollf = r.unit() * 1.2f, alpha = r.unit() * 12.0f;
    const int hint = r.u8() % 4;
    const bool sixteen = r.u8() & 1, fromInit = r.u8() & 1;
    const int halfLen = ((len + 3) & ~3) / 2;
    ZelResamplingPolyphaseFixed* resampler = nullptr;
    std::vector<uint8_t> mem;
    ZelStatus s;
    if (fromInit) {
        int size = 0, rowLen = 0, height = 0;
        s = sixteen ? zelsResamplePolyphaseFixedGetSize_16s(in, out, len, &size, &rowLen, &height, hint)
                    : zelsResamplePolyphaseFixedGetSize_32f(in, out, len, &size, &rowLen, &height, hint);
        require(documented(s));
        if (s != zelStsNoErr) return;
        mem.assign(size_t(size), 0xCD);
        resampler = reinterpret_cast<ZelResamplingPolyphaseFixed*>(mem.data());
        s = sixteen ? zelsResamplePolyphaseFixedInit_16s(resampler, in, out, len, hint)
                    : zelsResamplePolyphaseFixedInit_32f(resampler, in, out, len, hint);
        require(s == zelStsNoErr);
        const int step = 1 + int(r.u8() % (rowLen + 4));
        if (sixteen) {
            const auto taps = samples<Zel16s>(r, size_t(step) * height);
            require(zelsResamplePolyphaseSetFixedFilter_16s(resampler, taps.data(), step, height) == zelStsNoErr);
        } else {
            const auto taps = samples<Zel32f>(r, size_t(step) * height);
            require(zelsResamplePolyphaseSetFixedFilter_32f(resampler, taps.data(), step, height) == zelStsNoErr);
        }
    } else {
        s = sixteen ? zelsResamplePolyphaseFixedInitAlloc_16s(&resampler, in, out, len, rollf, alpha, hint)
                    : zelsResamplePolyphaseFixedInitAlloc_32f(&resampler, in, out, len, rollf, alpha, hint);
        require(documented(s));
        if (s != zelStsNoErr) return;
    }
    const size_t count = 1 + r.u8() * 8;
    const double ratio = double(out) / in;
    if (sixteen) {
        const auto x = samples<Zel16s>(r, count);
        stream(x, halfLen + 2, ratio, r, [&](const Zel16s* p, int l, Zel16s* d, double* t, int* got) {
            return zelsResamplePolyphaseFixed_16s(resampler, p, l, d, 1.0f, t, got);
        });
        // The wrong element form is refused.
        int got = 0;
        double t = 0;
        Zel32f f[4] = {0};
        require(zelsResamplePolyphaseFixed_32f(resampler, f, 1, f, 1.0f, &t, &got) == zelStsContextMatchErr);
    } else {
        const auto x = samples<Zel32f>(r, count);
        stream(x, halfLen + 2, ratio, r, [&](const Zel32f* p, int l, Zel32f* d, double* t, int* got) {
            return zelsResamplePolyphaseFixed_32f(resampler, p, l, d, 1.0f, t, got);
        });
    }
    if (!fromInit) require(zelsResamplePolyphaseFixedFree_32f(resampler) == zelStsNoErr);
    else require(zelsResamplePolyphaseFixedFree_32f(resampler) == zelStsContextMatchErr);
}

void generalKind(Reader& r) {
    const int nStep = 1 + int(r.u32() % 300);
    const float window = r.unit() * 64.0f, rollf = r.unit() * 1.2f, alpha = r.unit() * 12.0f;
    const int hint = r.u8() % 4;
    const bool sixteen = r.u8() & 1;
    const double factor = 0.1 + r.unit() * 9.9;
    ZelResamplingPolyphase* resampler = nullptr;
    const ZelStatus s = sixteen ? zelsResamplePolyphaseInitAlloc_16s(&resampler, window, nStep, rollf, alpha, hint)
                                : zelsResamplePolyphaseInitAlloc_32f(&resampler, window, nStep, rollf, alpha, hint);
    require(documented(s));
    if (s != zelStsNoErr) return;
    // The filter spans trunc(window / 2) + 1 points a side (in input samples
    // once stretched by a factor below 1): the history and look-ahead kept.
    const int reach = int((window / 2 + 1) / (factor < 1 ? factor : 1.0)) + 3;
    const size_t count = 1 + r.u8() * 8;
    if (sixteen) {
        const auto x = samples<Zel16s>(r, count);
        stream(x, reach, factor, r, [&](const Zel16s* p, int l, Zel16s* d, double* t, int* got) {
            return zelsResamplePolyphase_16s(resampler, p, l, d, factor, 1.0f, t, got);
        });
    } else {
        const auto x = samples<Zel32f>(r, count);
        stream(x, reach, factor, r, [&](const Zel32f* p, int l, Zel32f* d, double* t, int* got) {
            return zelsResamplePolyphase_32f(resampler, p, l, d, factor, 1.0f, t, got);
        });
    }
    require(zelsResamplePolyphaseFree_16s(resampler) == zelStsNoErr);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Reader r{data, size};
    if (r.u8() & 1)
        fixedKind(r);
    else
        generalKind(r);
    return 0;
}
