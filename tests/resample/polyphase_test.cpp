// SPDX-License-Identifier: Apache-2.0
// Polyphase resampling: direct current at extreme ratios, a tone through a
// round trip in both element forms, a stream in blocks equal to one call,
// 16-bit stores, filters moved between states, state sizes, and the checks.
// Passband and stopband against the window's design are measured with numpy
// in polyphase_response_test.py.
#include <algorithm>
#include <cmath>
#include <tuple>
#include <vector>

#include "common.hpp"

namespace {

using Fixed = ZelResamplingPolyphaseFixed;
using General = ZelResamplingPolyphase;

constexpr double kPi = 3.14159265358979323846;

Fixed* fixed32f(int in, int out, int len, float rollf = 0.95f, float alpha = 8.0f, int hint = zelAlgHintFast) {
    Fixed* p = nullptr;
    EXPECT_EQ(zelsResamplePolyphaseFixedInitAlloc_32f(&p, in, out, len, rollf, alpha, hint), zelStsNoErr);
    return p;
}
General* general32f(float window, int nStep, int hint = zelAlgHintFast) {
    General* p = nullptr;
    EXPECT_EQ(zelsResamplePolyphaseInitAlloc_32f(&p, window, nStep, 0.95f, 8.0f, hint), zelStsNoErr);
    return p;
}

std::vector<float> tone(int n, double freq, double rate, double amp = 0.5) {
    std::vector<float> x(n);
    for (int k = 0; k < n; ++k) x[k] = float(amp * std::sin(2 * kPi * freq / rate * k));
    return x;
}

// The whole signal in one call, `pad` zeros of history on each side.
template <class S, class F>
std::vector<S> oneCall(F run, const std::vector<S>& x, int pad, double ratio) {
    std::vector<S> src(pad, S(0));
    src.insert(src.end(), x.begin(), x.end());
    src.insert(src.end(), pad, S(0));
    std::vector<S> dst(size_t(x.size() * ratio) + 8);
    double t = pad;
    int n = -1;
    EXPECT_EQ(run(src.data(), int(x.size()), dst.data(), &t, &n), zelStsNoErr);
    dst.resize(n);
    return dst;
}

// Largest deviation from the tone at the output rate, a filter length from the ends.
double toneError(const std::vector<float>& y, double freq, double rate, double amp, int skip) {
    double worst = 0;
    for (size_t k = skip; k + skip < y.size(); ++k)
        worst = std::max(worst, std::fabs(y[k] - amp * std::sin(2 * kPi * freq / rate * double(k))));
    return worst;
}

TEST(Resample, ExtremeRatiosKeepDirectCurrent) {
    // An input advance of 40000 samples per output (beyond 16 bits), and
    // 40000 outputs per input. A filter that reduces the rate spans a few
    // output periods, or its cutoff could not be reached.
    for (auto [in, out, len] : {std::tuple{40000, 1, 160000}, std::tuple{1, 40000, 16}, std::tuple{40000, 3, 60000}}) {
        Fixed* f = fixed32f(in, out, len, 0.9f, 5.0f, zelAlgHintAccurate);
        ASSERT_NE(f, nullptr);
        const double ratio = double(out) / in;
        const int n = std::max(8 * in / out, 16);
        std::vector<float> x(n, 1.0f);
        // History of ones as well, so every output sees direct current only.
        std::vector<float> src(n + 2 * (len + 8), 1.0f);
        std::vector<float> dst(size_t(n * ratio) + 8, NAN);
        double t = (src.size() - n) / 2;
        int cnt = 0;
        ASSERT_EQ(zelsResamplePolyphaseFixed_32f(f, src.data(), n, dst.data(), 1.0f, &t, &cnt), zelStsNoErr);
        EXPECT_NEAR(cnt, n * ratio, 1.0);
        for (int i = 0; i < cnt; ++i) ASSERT_NEAR(dst[i], 1.0, 2e-3) << in << "->" << out << " at " << i;
        zelsResamplePolyphaseFixedFree_32f(f);
    }
}

// 16 kHz -> 8 kHz -> 16 kHz, a 3 kHz tone in the 16-bit form (the float form
// is measured against the window's design by the numpy check).
TEST(Resample, SixteenBitRoundTripKeepsATone) {
    const auto x = tone(8000, 3000, 16000, 0.5);
    Fixed *down = nullptr, *up = nullptr;
    ASSERT_EQ(zelsResamplePolyphaseFixedInitAlloc_16s(&down, 16000, 8000, 128, 0.95f, 9.0f, 1), zelStsNoErr);
    ASSERT_EQ(zelsResamplePolyphaseFixedInitAlloc_16s(&up, 8000, 16000, 128, 0.95f, 9.0f, 1), zelStsNoErr);
    std::vector<Zel16s> x16(x.size());
    for (size_t k = 0; k < x.size(); ++k) x16[k] = Zel16s(std::lrint(x[k] * 32768.0f));
    auto pass = [&](Fixed* st, const std::vector<Zel16s>& in, double ratio) {
        return oneCall<Zel16s>([&](const Zel16s* s, int len, Zel16s* d, double* t, int* n) {
            return zelsResamplePolyphaseFixed_16s(st, s, len, d, 1.0f, t, n);
        }, in, 128, ratio);
    };
    const auto back = pass(up, pass(down, x16, 0.5), 2.0);
    ASSERT_EQ(back.size(), x.size());
    std::vector<float> backf(back.begin(), back.end());
    for (float& v : backf) v /= 32768.0f;
    EXPECT_LT(toneError(backf, 3000, 16000, 0.5, 400), 1e-3);  // Q14 taps: about 1e-4 of full scale per pass
    zelsResamplePolyphaseFixedFree_16s(down);
    zelsResamplePolyphaseFixedFree_16s(up);
}

TEST(Resample, StreamingInBlocksEqualsOneCall) {
    // The caller keeps history around each block and rebases the time as its
    // buffer moves on.
    const int n = 5000, pad = 200;
    std::vector<float> src(pad + n + pad, 0.0f);
    zt::fillUniform(src.data() + pad, n, -1.0, 1.0);
    struct Kind { int in, out; bool general; };
    for (const Kind& k : {Kind{48000, 16000, false}, Kind{441, 160, false}, Kind{3, 7, false},
                          Kind{48000, 16000, true}, Kind{8000, 11025, true}}) {
        const double ratio = double(k.out) / k.in;
        Fixed* f = k.general ? nullptr : fixed32f(k.in, k.out, 64, 0.9f, 7.0f, zelAlgHintAccurate);
        General* g = k.general ? general32f(48, 128) : nullptr;
        auto run = [&](const float* s, int len, float* d, double* t, int* cnt) {
            return k.general ? zelsResamplePolyphase_32f(g, s, len, d, ratio, 1.0f, t, cnt)
                             : zelsResamplePolyphaseFixed_32f(f, s, len, d, 1.0f, t, cnt);
        };
        std::vector<float> whole(size_t(n * ratio) + 8), parts(whole.size() + 64, NAN);
        double t = pad;
        int cnt = 0;
        ASSERT_EQ(run(src.data(), n, whole.data(), &t, &cnt), zelStsNoErr);
        whole.resize(cnt);

        // A call covers `len` samples from the integer part of its time, so
        // the caller passes what lies between that and the end of its input,
        // from a buffer position that keeps `pad` samples of history.
        int end = pad, produced = 0;
        double T = pad;  // time from the start of src
        while (end < pad + n) {
            end = std::min(pad + n, end + zt::uniformi(1, 700));
            const int at = int(T) - pad, len = end - int(T);
            if (len < 1) continue;
            double tb = T - at;
            int got = 0;
            ASSERT_EQ(run(src.data() + at, len, parts.data() + produced, &tb, &got), zelStsNoErr);
            produced += got;
            T = tb + at;
        }
        ASSERT_EQ(produced, cnt);
        for (int i = 0; i < cnt; ++i) {
            if (k.general)
                ASSERT_NEAR(parts[i], whole[i], 1e-5) << i;
            else
                ASSERT_EQ(zt::bits(parts[i]), zt::bits(whole[i])) << i;
        }
        zelsResamplePolyphaseFixedFree_32f(f);
        zelsResamplePolyphaseFree_32f(g);
    }
}

TEST(Resample, EqualRatesAndSixteenBitStores) {
    // One phase, row 0 alone: with the full band, a delayless pass-through.
    Fixed* same = fixed32f(16000, 16000, 32, 1.0f, 1.0f);
    int len = 0, height = 0, size = 0;
    ASSERT_EQ(zelsResamplePolyphaseFixedGetSize_32f(16000, 16000, 32, &size, &len, &height, 1), zelStsNoErr);
    EXPECT_EQ(height, 1);
    std::vector<float> x(300);
    zt::fillUniform(x.data(), x.size(), -1.0, 1.0);
    auto y = oneCall<float>([&](const float* s, int l, float* d, double* t, int* n) {
        return zelsResamplePolyphaseFixed_32f(same, s, l, d, 1.0f, t, n);
    }, x, 32, 1.0);
    ASSERT_EQ(y.size(), x.size());
    for (size_t i = 0; i < x.size(); ++i) EXPECT_NEAR(y[i], x[i], 1e-6);
    zelsResamplePolyphaseFixedFree_32f(same);

    // A lone centre tap of 1.0 in Q14 and norm 0.5: halves round away from zero,
    // and norm 4 saturates.
    std::vector<Zel8u> mem;
    ASSERT_EQ(zelsResamplePolyphaseFixedGetSize_16s(1, 1, 4, &size, &len, &height, 1), zelStsNoErr);
    mem.assign(size, 0xA5);
    Fixed* s16 = reinterpret_cast<Fixed*>(mem.data());
    ASSERT_EQ(zelsResamplePolyphaseFixedInit_16s(s16, 1, 1, 4, 1), zelStsNoErr);
    std::vector<Zel16s> taps(len, 0);
    taps[2] = 16384;  // halfLen 2
    ASSERT_EQ(zelsResamplePolyphaseSetFixedFilter_16s(s16, taps.data(), len, 1), zelStsNoErr);
    const std::vector<Zel16s> in16 = {3, -3, 5, -5, 1, -1, 30000, -30000};
    struct Want { float norm; std::vector<Zel16s> out; };
    for (const Want& w : {Want{0.5f, {2, -2, 3, -3, 1, -1, 15000, -15000}},
                          Want{4.0f, {12, -12, 20, -20, 4, -4, 32767, -32768}}}) {
        auto out = oneCall<Zel16s>([&](const Zel16s* s, int l, Zel16s* d, double* t, int* n) {
            return zelsResamplePolyphaseFixed_16s(s16, s, l, d, w.norm, t, n);
        }, in16, 4, 1.0);
        EXPECT_EQ(out, w.out);
    }
}

TEST(Resample, FixedFilterGetSetRoundTrip) {
    // A state from Init loaded with an allocated state's taps runs the same.
    for (int L : {32, 33, 35}) {
        for (int hint : {zelAlgHintFast, zelAlgHintAccurate}) {
            Fixed* a = fixed32f(441, 160, L, 0.9f, 6.0f, hint);
            int size = 0, len = 0, height = 0;
            ASSERT_EQ(zelsResamplePolyphaseFixedGetSize_32f(44100, 16000, L, &size, &len, &height, hint), zelStsNoErr);
            ASSERT_EQ(height, 160);
            std::vector<Zel8u> mem(size + 64, 0xEE);
            Fixed* b = reinterpret_cast<Fixed*>(mem.data());
            ASSERT_EQ(zelsResamplePolyphaseFixedInit_32f(b, 44100, 16000, L, hint), zelStsNoErr);
            for (int i = 0; i < 64; ++i) ASSERT_EQ(mem[size + i], 0xEE) << "Init wrote past its size";

            std::vector<float> rows(size_t(len) * height + 5, NAN), back(rows.size(), NAN);
            ASSERT_EQ(zelsResamplePolyphaseGetFixedFilter_32f(a, rows.data(), len, height), zelStsNoErr);
            ASSERT_EQ(zelsResamplePolyphaseSetFixedFilter_32f(b, rows.data(), len, height), zelStsNoErr);
            ASSERT_EQ(zelsResamplePolyphaseGetFixedFilter_32f(b, back.data(), len, height + 3), zelStsNoErr);
            for (size_t i = 0; i < rows.size(); ++i) ASSERT_EQ(zt::bits(rows[i]), zt::bits(back[i])) << i;

            std::vector<float> x(2000);
            zt::fillUniform(x.data(), x.size(), -1.0, 1.0);
            auto runWith = [&](Fixed* s) {
                return oneCall<float>([&](const float* p, int l, float* d, double* t, int* n) {
                    return zelsResamplePolyphaseFixed_32f(s, p, l, d, 1.0f, t, n);
                }, x, 40, 160.0 / 441.0);
            };
            auto ya = runWith(a), yb = runWith(b);
            ASSERT_EQ(ya.size(), yb.size());
            for (size_t i = 0; i < ya.size(); ++i) ASSERT_EQ(zt::bits(ya[i]), zt::bits(yb[i]));
            // A state laid out by Init is the caller's to release.
            EXPECT_EQ(zelsResamplePolyphaseFixedFree_32f(b), zelStsContextMatchErr);
            zelsResamplePolyphaseFixedFree_32f(a);
        }
    }
}

TEST(Resample, StateSizesFollowTheirFormulas) {
    for (int out : {1, 3, 7, 8, 9, 160}) {
        for (int len : {1, 4, 5, 31, 64}) {
            int s32 = 0, s16 = 0, l = 0, h = 0;
            ASSERT_EQ(zelsResamplePolyphaseFixedGetSize_32f(1, out, len, &s32, &l, &h, 0), zelStsNoErr);
            ASSERT_EQ(zelsResamplePolyphaseFixedGetSize_16s(1, out, len, &s16, &l, &h, 1), zelStsNoErr);
            const int rowLen = (len + 4) & ~3;
            EXPECT_EQ(l, rowLen);
            EXPECT_EQ(h, out);
            const int ptrExcess = (2 + ((out + 4) >> 2 << 2)) * int(sizeof(void*) - 4);
            EXPECT_EQ(s32, ((out + 7) >> 3 << 4) + 28 + ((out + 4) >> 2 << 4) + rowLen * out * 4 + ptrExcess);
            EXPECT_EQ(s16, ((out + 7) & ~7) * 2 + 32 + ((out + 4) >> 2 << 4) + rowLen * out * 2 + ptrExcess);
            // Init stays inside the block it was given.
            for (int form = 0; form < 2; ++form) {
                const int size = form ? s16 : s32;
                std::vector<Zel8u> mem(size + 32, 0x5C);
                Fixed* st = reinterpret_cast<Fixed*>(mem.data());
                ASSERT_EQ(form ? zelsResamplePolyphaseFixedInit_16s(st, 1, out, len, 1)
                               : zelsResamplePolyphaseFixedInit_32f(st, 1, out, len, 0),
                          zelStsNoErr);
                for (int i = 0; i < 32; ++i) ASSERT_EQ(mem[size + i], 0x5C);
            }
        }
    }
}

TEST(Resample, LengthsNearIntMaxAreRefusedByQueryAndInit) {
    // The row stride of such lengths leaves the int range; neither the query
    // nor Init may take a wrapped size for a small one.
    std::vector<Zel8u> mem(4096, 0x5C);
    Fixed* st = reinterpret_cast<Fixed*>(mem.data());
    for (int len : {2147483647, 2147483646, 2147483644}) {
        int s = 7, l = 7, h = 7;
        EXPECT_EQ(zelsResamplePolyphaseFixedGetSize_32f(1, 1, len, &s, &l, &h, 0), zelStsSizeErr);
        EXPECT_EQ(zelsResamplePolyphaseFixedGetSize_16s(1, 1, len, &s, &l, &h, 1), zelStsSizeErr);
        EXPECT_EQ(s, 7);
        EXPECT_EQ(zelsResamplePolyphaseFixedInit_32f(st, 1, 1, len, 0), zelStsSizeErr);
        EXPECT_EQ(zelsResamplePolyphaseFixedInit_16s(st, 1, 1, len, 1), zelStsSizeErr);
    }
    for (Zel8u b : mem) ASSERT_EQ(b, 0x5C);
}

TEST(Resample, ChecksInOrderAndWrongKinds) {
    int sz = -1, l = -1, h = -1, cnt = -1;
    double t = 10.0;
    float src[64] = {0}, dst[64];
    std::fill(dst, dst + 64, 7.0f);
    Fixed* fx = nullptr;
    General* gn = nullptr;
    zt::expectStatuses({
        {zelsResamplePolyphaseFixedGetSize_32f(0, 1, 1, nullptr, &l, &h, 1), zelStsNullPtrErr},
        {zelsResamplePolyphaseFixedGetSize_16s(1, 1, 0, &sz, &l, &h, 2), zelStsSizeErr},
        {zelsResamplePolyphaseFixedGetSize_16s(1, 1, 1, &sz, &l, &h, 2), zelStsBadArgErr},
        {zelsResamplePolyphaseFixedGetSize_32f(1, 1 << 20, 1 << 10, &sz, &l, &h, 1), zelStsSizeErr},
        {zelsResamplePolyphaseFixedInitAlloc_32f(&fx, 1, 1, 0, 0.0f, 0.0f, 1), zelStsSizeErr},
        {zelsResamplePolyphaseFixedInitAlloc_32f(&fx, 1, 1, 8, 1.01f, 2.0f, 1), zelStsBadArgErr},
        {zelsResamplePolyphaseFixedInitAlloc_32f(&fx, 1, 1, 8, NAN, 2.0f, 1), zelStsBadArgErr},
        {zelsResamplePolyphaseFixedInitAlloc_16s(&fx, 1, 1, 8, 1.0f, INFINITY, 1), zelStsBadArgErr},
        {zelsResamplePolyphaseFixedInitAlloc_32f(&fx, 1, 1 << 20, 1 << 10, 1.0f, 1.0f, 1), zelStsBadArgErr},
        {zelsResamplePolyphaseInitAlloc_32f(&gn, 0.24f, 8, 1.0f, 1.0f, 1), zelStsBadArgErr},
        {zelsResamplePolyphaseInitAlloc_16s(&gn, NAN, 8, 1.0f, 1.0f, 1), zelStsBadArgErr},
        {zelsResamplePolyphaseInitAlloc_32f(&gn, 1e9f, 8, 1.0f, 1.0f, 1), zelStsBadArgErr},
    });
    EXPECT_EQ(fx, nullptr);
    EXPECT_EQ(gn, nullptr);
    EXPECT_EQ(sz, -1);

    // A window of exactly 2 / nStep is valid, in both forms.
    General *g = general32f(0.25f, 8), *g16 = nullptr;
    ASSERT_EQ(zelsResamplePolyphaseInitAlloc_16s(&g16, 0.25f, 8, 1.0f, 1.0f, 1), zelStsNoErr);
    Fixed* f = fixed32f(2, 3, 8);
    Fixed* f16 = nullptr;
    ASSERT_EQ(zelsResamplePolyphaseFixedInitAlloc_16s(&f16, 2, 3, 8, 0.9f, 4.0f, 2), zelStsNoErr);
    Zel16s s16[64] = {0}, d16[64];
    zt::expectStatuses({
        {zelsResamplePolyphase_32f(g, src, 4, dst, 0.0, 1.0f, &t, nullptr), zelStsNullPtrErr},
        {zelsResamplePolyphase_32f(g, src, 4, dst, -1.0, 1.0f, &t, &cnt), zelStsSizeErr},
        {zelsResamplePolyphase_32f(g, src, 4, dst, NAN, 1.0f, &t, &cnt), zelStsSizeErr},
        {zelsResamplePolyphase_32f(reinterpret_cast<General*>(f), src, 4, dst, 1.0, 1.0f, &t, &cnt),
         zelStsContextMatchErr},
        {zelsResamplePolyphase_16s(g, s16, 4, d16, 1.0, 1.0f, &t, &cnt), zelStsContextMatchErr},
        {zelsResamplePolyphaseFixed_32f(f, src, 0, dst, 1.0f, nullptr, &cnt), zelStsNullPtrErr},
        {zelsResamplePolyphaseFixed_32f(reinterpret_cast<Fixed*>(g), src, 4, dst, 1.0f, &t, &cnt),
         zelStsContextMatchErr},
        {zelsResamplePolyphaseFixed_16s(f, s16, 4, d16, 1.0f, &t, &cnt), zelStsContextMatchErr},
        {zelsResamplePolyphaseGetFixedFilter_32f(f, dst, 0, 1), zelStsSizeErr},
        {zelsResamplePolyphaseGetFixedFilter_32f(f16, dst, 8, 1), zelStsContextMatchErr},
        {zelsResamplePolyphaseGetFixedFilter_16s(f16, d16, 8, 1), zelStsBadArgErr},
    });
    EXPECT_EQ(cnt, -1);
    EXPECT_EQ(t, 10.0);
    EXPECT_EQ(dst[0], 7.0f);

    // The 16-bit form with the accurate hint keeps float taps and runs.
    t = 10.0;
    EXPECT_EQ(zelsResamplePolyphaseFixed_16s(f16, s16, 8, d16, 1.0f, &t, &cnt), zelStsNoErr);
    EXPECT_EQ(cnt, 12);
    // A huge factor neither hangs nor writes beyond one output per step of t.
    t = 10.0;
    EXPECT_EQ(zelsResamplePolyphase_32f(g, src, 1, dst, 1e300, 1.0f, &t, &cnt), zelStsNoErr);
    EXPECT_EQ(cnt, 1);
    t = NAN;
    EXPECT_EQ(zelsResamplePolyphaseFixed_32f(f, src, 4, dst, 1.0f, &t, &cnt), zelStsNoErr);
    EXPECT_EQ(cnt, 0);

    EXPECT_EQ(zelsResamplePolyphaseFixedFree_32f(f), zelStsNoErr);
    EXPECT_EQ(zelsResamplePolyphaseFixedFree_16s(f16), zelStsNoErr);
    EXPECT_EQ(zelsResamplePolyphaseFree_32f(g), zelStsNoErr);
    EXPECT_EQ(zelsResamplePolyphaseFree_16s(g16), zelStsNoErr);
}

}  // namespace
