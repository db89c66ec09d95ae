// SPDX-License-Identifier: Apache-2.0
// The front end on every instruction set this processor has: DCT lifter,
// dynamic features and filter banks must give the bits of the baseline path
// over sweeps of their sizes, on both sides of each register width, and must
// read nothing past their sources. Sources end where a page ends, with an
// inaccessible page behind them; outputs start from a fixed pattern, so that
// an element written where it should not be shows as a difference too.
#include <math.h>
#include <stdint.h>
#include <string.h>

#include <functional>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "common.hpp"
#include "guarded.hpp"
#include "frame/dispatch.hpp"

namespace {

using zt::Guarded;

// A generator of this file's own, so that the data of the other tests stays
// what it was.
std::mt19937& gen() {
    static std::mt19937 g(2101);
    return g;
}
float uniform(float lo, float hi) { return std::uniform_real_distribution<float>(lo, hi)(gen()); }
int uniformi(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(gen()); }

// Mostly ordinary values, with one in sixteen special (zeros of both signs,
// infinities, NaN, a denormal, a huge value).
float value32() {
    static const float special[] = {0.0f, -0.0f, INFINITY, -INFINITY, NAN, 1e-40f, 3e38f, -3e38f};
    return uniformi(0, 15) == 0 ? special[uniformi(0, 7)] : uniform(-1000.0f, 1000.0f);
}
// 16-bit values mostly small, one in eight anywhere, so that sums saturate and wrap.
int16_t value16() {
    return int16_t(uniformi(0, 7) == 0 ? uniformi(-32768, 32767) : uniformi(-3000, 3000));
}

// The bytes of n elements. A float NaN counts as one value: where two NaNs
// meet in a sum, which of them comes out follows the order in which the
// compiler placed the operands, on any path.
template <class T>
std::vector<uint8_t> bytesOf(const T* p, size_t n) {
    std::vector<T> v(p, p + n);
    if constexpr (std::is_same_v<T, float>)
        for (T& x : v)
            if (x != x) x = NAN;
    const uint8_t* b = reinterpret_cast<const uint8_t*>(v.data());
    return std::vector<uint8_t>(b, b + n * sizeof(T));
}

// What `run` returns on each instruction set, against the baseline's.
void expectSameOnEveryPath(const std::string& what, const std::function<std::vector<uint8_t>()>& run) {
    const zel::Isa saved = zel::setMaxIsaForTesting(zel::Isa::kBaseline);
    const std::vector<uint8_t> want = run();
    for (zel::Isa isa : {zel::Isa::kAvx2, zel::Isa::kAvx512}) {
        if (zel::bestIsa() < isa) continue;
        zel::setMaxIsaForTesting(isa);
        EXPECT_EQ(run(), want) << what << " on instruction set " << int(isa);
    }
    zel::setMaxIsaForTesting(saved);
}

TEST(FrontEndPaths, DctLifterSweep) {
    for (int n = 1; n <= 37; ++n)
        for (int c = 1; c <= n && c <= 21; c += (c < 9 ? 1 : 3)) {
            Guarded<float> x{size_t(n)};
            Guarded<int16_t> x16{size_t(n)};
            Guarded<int32_t> x32{size_t(n)};
            std::vector<float> lifter(static_cast<size_t>(c));
            for (int j = 0; j < n; ++j) x.data()[j] = value32(), x16.data()[j] = value16(), x32.data()[j] = value16();
            for (float& v : lifter) v = uniform(0.5f, 4.0f);
            const std::string at = "lenDCT " + std::to_string(n) + " lenCepstrum " + std::to_string(c);
            for (int kind = 0; kind < 4; ++kind) {
                ZelDCTLifterState_32f* st = nullptr;
                const ZelStatus made = kind == 0   ? zelsDCTLifterInitAlloc_32f(&st, n, c, 22, 1.5f)
                                       : kind == 1 ? zelsDCTLifterInitAlloc_C0_32f(&st, n, c, 22, 1.5f, 0.5f)
                                       : kind == 2 ? zelsDCTLifterInitAlloc_Mul_32f(&st, n, lifter.data(), c)
                                                   : zelsDCTLifterInitAlloc_MulC0_32f(&st, n, lifter.data(), c);
                ASSERT_EQ(made, zelStsNoErr);
                expectSameOnEveryPath(at + " float kind " + std::to_string(kind), [&] {
                    std::vector<float> y(size_t(c) + 2, -7.0f);
                    EXPECT_EQ(zelsDCTLifter_32f(x.data(), y.data(), st), zelStsNoErr);
                    return bytesOf(y.data(), y.size());
                });
                zelsDCTLifterFree_32f(st);
            }
            ZelDCTLifterState_16s* s16 = nullptr;
            ASSERT_EQ(zelsDCTLifterInitAlloc_C0_16s(&s16, n, c, 22, 1.0f, 1.0f), zelStsNoErr);
            expectSameOnEveryPath(at + " 16-bit", [&] {
                std::vector<int16_t> y(size_t(c) + 2, -7);
                EXPECT_EQ(zelsDCTLifter_16s_Sfs(x16.data(), y.data(), s16, 2), zelStsNoErr);
                EXPECT_EQ(zelsDCTLifter_32s16s_Sfs(x32.data(), y.data() + 1, s16, -1), zelStsNoErr);
                return bytesOf(y.data(), y.size());
            });
            zelsDCTLifterFree_16s(s16);
        }
}

// One streaming family member, as a caller drives it: a begin call of
// `first` frames, then blocks of 1, 5 and 9 frames, the last with the end
// flag, each seeing the rows before it as its history.
template <class E>
using StreamCall = std::function<ZelStatus(const E* src, E* dst, int step, int height, int mode)>;

template <class E>
std::vector<uint8_t> streamed(const StreamCall<E>& call, const E* src, int width, int frames, int first, int history) {
    const int step = 3 * width + 2;
    std::vector<E> dst(size_t(frames) * size_t(step), E(-7));
    int done = 0, block = first, next = 0;
    const int sizes[] = {1, 5, 9};
    while (done < frames) {
        if (done + block > frames) block = frames - done;
        const int mode = (done == 0 ? zelBeginStream : 0) | (done + block == frames ? zelEndStream : 0);
        E* rows = dst.data() + size_t(done == 0 ? 0 : done - history) * size_t(step);
        EXPECT_EQ(call(src + size_t(done) * size_t(width), rows, step, block, mode), zelStsNoErr);
        done += block;
        block = sizes[next++ % 3];
    }
    return bytesOf(dst.data(), dst.size());
}

TEST(FrontEndPaths, StreamingDeltaSweep) {
    const float ds = 0.25f, es = 0.125f;
    for (int width : {1, 3, 4, 7, 8, 9, 13, 15, 16, 17, 24, 31, 33}) {
        const int frames = 40;
        Guarded<float> x(size_t(frames) * size_t(width));
        Guarded<int16_t> x16(size_t(frames) * size_t(width));
        Guarded<float> val(3 * size_t(width));
        Guarded<int16_t> val16(3 * size_t(width));
        for (int j = 0; j < frames * width; ++j) x.data()[j] = value32(), x16.data()[j] = value16();
        for (int j = 0; j < 3 * width; ++j) val.data()[j] = uniform(-2.0f, 2.0f), val16.data()[j] = int16_t(uniformi(-9, 9));
        const float* pv = val.data();
        const int16_t* pv16 = val16.data();
        const std::vector<std::pair<int, StreamCall<float>>> floats = {
            {2, [&](const float* s, float* d, int st, int h, int m) { return zelsDelta_Win1_32f_D2(s, width, d, st, h, ds, m); }},
            {4, [&](const float* s, float* d, int st, int h, int m) { return zelsDelta_Win2_32f_D2(s, width, d, st, h, ds, m); }},
            {3, [&](const float* s, float* d, int st, int h, int m) { return zelsDeltaDelta_Win1_32f_D2(s, width, d, st, h, ds, es, m); }},
            {6, [&](const float* s, float* d, int st, int h, int m) { return zelsDeltaDelta_Win2_32f_D2(s, width, d, st, h, ds, es, m); }},
            {2, [&](const float* s, float* d, int st, int h, int m) { return zelsDeltaMul_Win1_32f_D2(s, pv, width, d, st, h, m); }},
            {4, [&](const float* s, float* d, int st, int h, int m) { return zelsDeltaMul_Win2_32f_D2(s, pv, width, d, st, h, m); }},
            {3, [&](const float* s, float* d, int st, int h, int m) { return zelsDeltaDeltaMul_Win1_32f_D2(s, pv, width, d, st, h, m); }},
            {6, [&](const float* s, float* d, int st, int h, int m) { return zelsDeltaDeltaMul_Win2_32f_D2(s, pv, width, d, st, h, m); }},
        };
        const std::vector<std::pair<int, StreamCall<int16_t>>> shorts = {
            {2, [&](const int16_t* s, int16_t* d, int st, int h, int m) { return zelsDelta_Win1_16s_D2Sfs(s, width, d, st, h, 3, m, 1); }},
            {4, [&](const int16_t* s, int16_t* d, int st, int h, int m) { return zelsDelta_Win2_16s_D2Sfs(s, width, d, st, h, -5, m, -2); }},
            {3, [&](const int16_t* s, int16_t* d, int st, int h, int m) { return zelsDeltaDelta_Win1_16s_D2Sfs(s, width, d, st, h, 7, 3, m, 0); }},
            {6, [&](const int16_t* s, int16_t* d, int st, int h, int m) { return zelsDeltaDelta_Win2_16s_D2Sfs(s, width, d, st, h, 2, 9, m, 40); }},
            {2, [&](const int16_t* s, int16_t* d, int st, int h, int m) { return zelsDeltaMul_Win1_16s_D2Sfs(s, pv16, width, d, st, h, m, 1); }},
            {4, [&](const int16_t* s, int16_t* d, int st, int h, int m) { return zelsDeltaMul_Win2_16s_D2Sfs(s, pv16, width, d, st, h, m, -40); }},
            {3, [&](const int16_t* s, int16_t* d, int st, int h, int m) { return zelsDeltaDeltaMul_Win1_16s_D2Sfs(s, pv16, width, d, st, h, m, 2); }},
            {6, [&](const int16_t* s, int16_t* d, int st, int h, int m) { return zelsDeltaDeltaMul_Win2_16s_D2Sfs(s, pv16, width, d, st, h, m, 0); }},
        };
        for (size_t f = 0; f < floats.size(); ++f)
            for (int first : {floats[f].first, floats[f].first + 3, frames})
                expectSameOnEveryPath("float member " + std::to_string(f) + " width " + std::to_string(width), [&] {
                    return streamed(floats[f].second, x.data(), width, frames, first, floats[f].first);
                });
        for (size_t f = 0; f < shorts.size(); ++f)
            for (int first : {shorts[f].first, shorts[f].first + 3, frames})
                expectSameOnEveryPath("16-bit member " + std::to_string(f) + " width " + std::to_string(width), [&] {
                    return streamed(shorts[f].second, x16.data(), width, frames, first, shorts[f].first);
                });
    }
}

TEST(FrontEndPaths, InPlaceRegressionSweep) {
    for (int width : {1, 5, 8, 13, 16, 17, 33})
        for (int win = 1; win <= 10; win += (win < 3 ? 1 : 4))
            for (int height : {2 * win, 2 * win + 7}) {
                const int offset = 1, step = offset + 2 * width + 3;
                std::vector<float> rows(static_cast<size_t>(height * step)), val(static_cast<size_t>(width));
                std::vector<int16_t> rows16(rows.size()), val16(static_cast<size_t>(width));
                for (size_t j = 0; j < rows.size(); ++j) rows[j] = value32(), rows16[j] = value16();
                for (int j = 0; j < width; ++j) val[size_t(j)] = uniform(-2.0f, 2.0f), val16[size_t(j)] = int16_t(uniformi(-9, 9));
                const std::string at = "width " + std::to_string(width) + " radius " + std::to_string(win);
                expectSameOnEveryPath(at, [&] {
                    std::vector<float> a = rows, b = rows;
                    std::vector<int16_t> c = rows16, d = rows16;
                    EXPECT_EQ(zelsEvalDelta_32f_D2(a.data(), height, step, width, offset, win, 0.5f), zelStsNoErr);
                    EXPECT_EQ(zelsEvalDeltaMul_32f_D2(b.data(), height, step, val.data(), width, offset, win), zelStsNoErr);
                    EXPECT_EQ(zelsEvalDelta_16s_D2Sfs(c.data(), height, step, width, offset, win, 3, 1), zelStsNoErr);
                    EXPECT_EQ(zelsEvalDeltaMul_16s_D2Sfs(d.data(), height, step, val16.data(), width, offset, win, 33),
                              zelStsNoErr);
                    std::vector<uint8_t> all = bytesOf(a.data(), a.size());
                    for (auto& part : {bytesOf(b.data(), b.size()), bytesOf(c.data(), c.size()), bytesOf(d.data(), d.size())})
                        all.insert(all.end(), part.begin(), part.end());
                    return all;
                });
            }
}

// The magnitude path runs the FFT of each instruction set before the bank.
TEST(FrontEndPaths, FilterBankSweep) {
    for (int win : {20, 64, 200, 400, 512, 1024})
        for (int mode : {int(zelFBankMelWeights), int(zelFBankBinWeights), zelFBankMelWeights | zelFBankMagnitudeInput}) {
            ZelFBankState_32f* b = nullptr;
            int order = 0;
            const int nFilter = win < 64 ? 4 : 23;
            ASSERT_EQ(zelsMelFBankInitAlloc_32f(&b, &order, win, 16000.0f, 64.0f, 8000.0f, nFilter, 2595.0f, 700.0f, mode),
                      zelStsNoErr);
            const int n = (mode & zelFBankMagnitudeInput) ? (1 << order) : (1 << order) / 2 + 1;
            Guarded<float> x{size_t(n)};
            for (int j = 0; j < n; ++j) x.data()[j] = uniform(-100.0f, 100.0f);
            expectSameOnEveryPath("window " + std::to_string(win) + " mode " + std::to_string(mode), [&] {
                std::vector<float> y(size_t(nFilter) + 1, -7.0f);
                EXPECT_EQ(zelsEvalFBank_32f(x.data(), y.data(), b), zelStsNoErr);
                return bytesOf(y.data(), y.size());
            });
            zelsFBankFree_32f(b);
        }
}

}  // namespace
