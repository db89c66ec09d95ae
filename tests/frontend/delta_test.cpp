// SPDX-License-Identifier: Apache-2.0
// Dynamic features: every streaming form against a plain clamped-window
// reference, the same stream fed in blocks of varying sizes, the in-place
// regression with its head and tail rows, fixed-point wrap and saturation,
// and the order of the argument checks.
#include <functional>
#include <string>
#include <vector>

#include "common.hpp"

namespace {

// ---- The arithmetic of the description, one element at a time ----------------

int32_t sat16(int64_t v) { return int32_t(v > 32767 ? 32767 : (v < -32768 ? -32768 : v)); }
float diffOf(float a, float b) { return a - b; }
int32_t diffOf(Zel16s a, Zel16s b) { return Zel16s(uint16_t(a - b)); }  // wraps to 16 bits
float win2Of(float d1, float d2) { return (d1 + d2) + d2; }
int32_t win2Of(int32_t d1, int32_t d2) { return sat16(d1 + sat16(d2 + d2)); }
// Sh on a 32-bit value: right by a positive scale factor, left (wrapping) by a negative one.
int32_t sh(int32_t v, int sf) {
    if (sf >= 0) return v >> (sf > 31 ? 31 : sf);
    return sf < -31 ? 0 : int32_t(uint32_t(v) << -sf);
}
float resultOf(float v, float m, int) { return v * m; }
Zel16s resultOf(int32_t v, Zel16s m, int sf) { return Zel16s(sat16(sh(v * m, sf))); }
int32_t truncHw(float f) { return f >= -2147483648.0f && f < 2147483648.0f ? int32_t(f) : INT32_MIN; }

template <class E>
struct Case {
    std::string name;
    int history, srcWidth, rowLen;
    std::function<ZelStatus(const E*, E*, int, int, int)> call;  // src, dst, dstStep, height, mode
    std::function<std::vector<E>(const std::vector<E>&, int)> expect;  // T rows of rowLen
};

// Static, delta and delta-delta blocks of a whole stream: each window with its
// row indices clamped to the stream.
template <class E>
std::vector<E> windowReference(const std::vector<E>& src, int T, int w, int radius, bool dd, bool mul,
                               const std::vector<E>& m, int sf) {
    const int len = (dd ? 3 : 2) * w;
    std::vector<E> out(size_t(T) * len);
    for (int t = 0; t < T; ++t)
        for (int j = 0; j < w; ++j) out[t * len + j] = mul ? resultOf(src[t * w + j], m[j], sf) : src[t * w + j];
    for (int block = 1; block < (dd ? 3 : 2); ++block)
        for (int t = 0; t < T; ++t)
            for (int j = 0; j < w; ++j) {
                auto at = [&](int k) { int r = std::min(std::max(t + k, 0), T - 1); return out[r * len + (block - 1) * w + j]; };
                auto d = diffOf(at(1), at(-1));
                if (radius == 2) d = win2Of(d, diffOf(at(2), at(-2)));
                out[t * len + block * w + j] = resultOf(d, m[block * w + j], sf);
            }
    return out;
}

template <class E>
std::vector<E> randomValues(size_t n) {
    std::vector<E> v(n);
    if constexpr (std::is_same_v<E, float>)
        zt::fillUniform(v.data(), n, -4.0, 4.0);
    else
        zt::fillUniform(v.data(), n, -400, 400);
    return v;
}

// The eight window forms of one element type at one width.
template <class E>
std::vector<Case<E>> windowCases(int w) {
    using Plain = ZelStatus (*)(const E*, int, E*, int, int, E, int);
    using Plain2 = ZelStatus (*)(const E*, int, E*, int, int, E, E, int);
    using MulF = ZelStatus (*)(const E*, const E*, int, E*, int, int, int);
    std::vector<Case<E>> cases;
    const bool f = std::is_same_v<E, float>;
    const int sfs[] = {-33, -3, 0, 2, 33};
    for (int radius : {1, 2})
        for (bool dd : {false, true})
            for (bool mul : {false, true}) {
                const int sf = f ? 0 : sfs[zt::uniformi(0, 4)];
                std::vector<E> m = randomValues<E>(3 * w);
                const E s = m[w], t2 = m[2 * w];
                if (!mul) {
                    for (int j = 0; j < w; ++j) m[w + j] = s, m[2 * w + j] = t2;
                }
                Case<E> c;
                c.name = std::string(dd ? "DeltaDelta" : "Delta") + (mul ? "Mul" : "") + "_Win" + char('0' + radius) +
                         (f ? "_32f" : "_16s") + " width " + std::to_string(w) + " sf " + std::to_string(sf);
                c.history = dd ? 3 * radius : 2 * radius;
                c.srcWidth = w;
                c.rowLen = (dd ? 3 : 2) * w;
                c.expect = [=](const std::vector<E>& src, int T) { return windowReference(src, T, w, radius, dd, mul, m, sf); };
                if constexpr (std::is_same_v<E, float>) {
                    Plain p = radius == 1 ? zelsDelta_Win1_32f_D2 : zelsDelta_Win2_32f_D2;
                    Plain2 p2 = radius == 1 ? zelsDeltaDelta_Win1_32f_D2 : zelsDeltaDelta_Win2_32f_D2;
                    MulF pm = dd ? (radius == 1 ? zelsDeltaDeltaMul_Win1_32f_D2 : zelsDeltaDeltaMul_Win2_32f_D2)
                                 : (radius == 1 ? zelsDeltaMul_Win1_32f_D2 : zelsDeltaMul_Win2_32f_D2);
                    c.call = [=](const E* src, E* dst, int step, int h, int mode) {
                        return mul ? pm(src, m.data(), w, dst, step, h, mode)
                                   : (dd ? p2(src, w, dst, step, h, s, t2, mode) : p(src, w, dst, step, h, s, mode));
                    };
                } else {
                    auto p = radius == 1 ? zelsDelta_Win1_16s_D2Sfs : zelsDelta_Win2_16s_D2Sfs;
                    auto p2 = radius == 1 ? zelsDeltaDelta_Win1_16s_D2Sfs : zelsDeltaDelta_Win2_16s_D2Sfs;
                    auto pm = dd ? (radius == 1 ? zelsDeltaDeltaMul_Win1_16s_D2Sfs : zelsDeltaDeltaMul_Win2_16s_D2Sfs)
                                 : (radius == 1 ? zelsDeltaMul_Win1_16s_D2Sfs : zelsDeltaMul_Win2_16s_D2Sfs);
                    c.call = [=](const E* src, E* dst, int step, int h, int mode) {
                        return mul ? pm(src, m.data(), w, dst, step, h, mode, sf)
                                   : (dd ? p2(src, w, dst, step, h, s, t2, mode, sf) : p(src, w, dst, step, h, s, mode, sf));
                    };
                }
                cases.push_back(c);
            }
    return cases;
}

// The Aurora window: statics, composite, and both windows of radius four.
template <class E>
std::vector<E> auroraReference(const std::vector<E>& src, int T, const std::vector<E>& val, int sf) {
    const bool mul = !val.empty();
    const int s = sf & 31;
    std::vector<E> out(size_t(T) * 39);
    for (int t = 0; t < T; ++t) {
        const E* in = &src[t * 14];
        for (int j = 0; j < 12; ++j) {
            if constexpr (std::is_same_v<E, float>)
                out[t * 39 + j] = mul ? in[j] * val[j] : in[j];
            else
                out[t * 39 + j] = Zel16s(sat16((int32_t(in[j]) * (mul ? val[j] : 1)) >> s));
        }
        float comp = (float(in[12]) * 0.6f) / 23.0f + float(in[13]) * 0.4f;
        if (mul) comp = comp * float(val[12]);
        if constexpr (std::is_same_v<E, float>)
            out[t * 39 + 12] = comp;
        else
            out[t * 39 + 12] = Zel16s(sat16(truncHw(comp) >> s));
    }
    for (int t = 0; t < T; ++t)
        for (int j = 0; j < 13; ++j) {
            auto x = [&](int k) { return out[std::min(std::max(t + k, 0), T - 1) * 39 + j]; };
            auto fx = [&](int k) { return float(x(k)); };
            float e = 0.25f * fx(-3) + fx(-4);
            e = e - 0.285714f * fx(-2) - 0.607143f * fx(-1) - 0.714286f * fx(0) - 0.607143f * fx(1) - 0.285714f * fx(2);
            e = e + 0.25f * fx(3) + fx(4);
            if (mul) e = e * float(val[26 + j]);
            if constexpr (std::is_same_v<E, float>) {
                float d = 0.0f - x(-4) - 0.75f * x(-3) - 0.5f * x(-2) - 0.25f * x(-1) + 0.25f * x(1) + 0.5f * x(2) +
                          0.75f * x(3) + x(4);
                out[t * 39 + 13 + j] = mul ? d * val[13 + j] : d;
                out[t * 39 + 26 + j] = e;
            } else {
                int32_t d = -4 * x(-4) - 3 * x(-3) - 2 * x(-2) - x(-1) + x(1) + 2 * x(2) + 3 * x(3) + 4 * x(4);
                if (mul) d = int32_t(uint32_t(d) * uint32_t(int32_t(val[13 + j])));
                out[t * 39 + 13 + j] = Zel16s(sat16(d >> ((sf + 2) & 31)));
                out[t * 39 + 26 + j] = Zel16s(sat16(truncHw(e) >> s));
            }
        }
    return out;
}

template <class E>
std::vector<Case<E>> auroraCases() {
    std::vector<Case<E>> cases;
    // Scale factors are read modulo 32: 33 shifts as 1, -30 as 2 (and by two more in the delta).
    for (auto [mul, sf16] : {std::pair{false, 1}, std::pair{true, 3}, std::pair{false, 33}, std::pair{true, -30}}) {
        const int sf = std::is_same_v<E, float> ? 0 : sf16;
        std::vector<E> val = mul ? randomValues<E>(39) : std::vector<E>();
        Case<E> c{std::string("Aurora") + (mul ? "Mul" : "") + " sf " + std::to_string(sf), 8, 14, 39, {}, {}};
        c.expect = [=](const std::vector<E>& src, int T) { return auroraReference(src, T, val, sf); };
        if constexpr (std::is_same_v<E, float>)
            c.call = [=](const E* src, E* dst, int step, int h, int mode) {
                return mul ? zelsDeltaDeltaMul_Aurora_32f_D2(src, val.data(), dst, step, h, mode)
                           : zelsDeltaDelta_Aurora_32f_D2(src, dst, step, h, mode);
            };
        else
            c.call = [=](const E* src, E* dst, int step, int h, int mode) {
                return mul ? zelsDeltaDeltaMul_Aurora_16s_D2Sfs(src, val.data(), dst, step, h, mode, sf)
                           : zelsDeltaDelta_Aurora_16s_D2Sfs(src, dst, step, h, mode, sf);
            };
        cases.push_back(c);
    }
    return cases;
}

template <class E>
std::vector<Case<E>> allCases() {
    std::vector<Case<E>> cases = auroraCases<E>();
    for (int w : {1, 3, 4, 5, 8, 13}) {
        auto more = windowCases<E>(w);
        cases.insert(cases.end(), more.begin(), more.end());
    }
    return cases;
}

template <class E>
std::vector<E> frames(int T, int width) {
    std::vector<E> v(size_t(T) * width);
    if constexpr (std::is_same_v<E, float>)
        zt::fillUniform(v.data(), v.size(), -100.0, 100.0);
    else
        zt::fillUniform(v.data(), v.size(), -32768, 32767);  // differences wrap
    return v;
}

// Feeds the stream in blocks, keeping the last H rows at the top of the
// matrix between calls as a caller does, and collects the finished rows.
template <class E>
std::vector<E> inBlocks(const Case<E>& c, const std::vector<E>& src, const std::vector<int>& blocks) {
    const int h = c.history, step = c.rowLen + 2;
    int most = 0;
    for (int b : blocks) most = std::max(most, b);
    std::vector<E> work(size_t(h + most) * step), out;
    size_t consumed = 0;
    for (size_t i = 0; i < blocks.size(); ++i) {
        const bool first = i == 0, last = i + 1 == blocks.size();
        const int mode = (first ? zelBeginStream : 0) | (last ? zelEndStream : 0);
        EXPECT_EQ(c.call(src.data() + consumed * c.srcWidth, work.data(), step, blocks[i], mode), zelStsNoErr);
        consumed += blocks[i];
        const int rows = (first ? 0 : h) + blocks[i], done = last ? rows : rows - h;
        for (int r = 0; r < done; ++r) out.insert(out.end(), &work[r * step], &work[r * step] + c.rowLen);
        std::copy(work.begin() + done * step, work.begin() + rows * step, work.begin());
    }
    return out;
}

template <class E>
void expectSameRows(const std::vector<E>& got, const std::vector<E>& want, const std::string& what) {
    ASSERT_EQ(got.size(), want.size()) << what;
    for (size_t k = 0; k < got.size(); ++k)
        if constexpr (std::is_same_v<E, float>)
            ASSERT_EQ(zt::bits(got[k]), zt::bits(want[k])) << what << " at " << k << ": " << got[k] << " vs " << want[k];
        else
            ASSERT_EQ(got[k], want[k]) << what << " at " << k;
}

// Each form on whole streams, gaps between rows untouched, then on the same
// stream fed in blocks of varying sizes.
template <class E>
void streams() {
    for (const Case<E>& c : allCases<E>()) {
        for (int T : {c.history, c.history + 1, c.history + 5, 61}) {
            std::vector<E> src = frames<E>(T, c.srcWidth);
            const int step = c.rowLen + 3;
            std::vector<E> dst(size_t(T) * step, E(77));
            ASSERT_EQ(c.call(src.data(), dst.data(), step, T, zelBeginStream | zelEndStream), zelStsNoErr) << c.name;
            std::vector<E> rows;
            for (int t = 0; t < T; ++t) {
                rows.insert(rows.end(), &dst[t * step], &dst[t * step] + c.rowLen);
                for (int k = c.rowLen; k < step; ++k) ASSERT_EQ(dst[t * step + k], E(77)) << c.name;  // gaps untouched
            }
            expectSameRows(rows, c.expect(src, T), c.name + " T " + std::to_string(T));
        }
        for (int trial = 0; trial < 6; ++trial) {
            std::vector<int> blocks{c.history + zt::uniformi(0, 3)};
            for (int k = zt::uniformi(1, 8); k > 0; --k) blocks.push_back(zt::uniformi(1, 9));
            if (trial % 2) blocks.push_back(0);  // end on its own, with no new frame
            int T = 0;
            for (int b : blocks) T += b;
            std::vector<E> src = frames<E>(T, c.srcWidth);
            expectSameRows(inBlocks(c, src, blocks), inBlocks(c, src, {T}), c.name + " in blocks");
            expectSameRows(inBlocks(c, src, {T}), c.expect(src, T), c.name);
        }
    }
}

}  // namespace

TEST(Delta, WholeStreamsAndBlocksOfAnySizeMatchTheClampedWindows) {
    streams<float>();
    streams<Zel16s>();
}

TEST(Delta, RowStartAndEndValuesOfTheRadiusTwoWindow) {
    // x = t^2 over exactly H = 4 frames: begin and end together.
    const float x[4] = {0, 1, 4, 9};
    float d[4 * 2];
    ASSERT_EQ(zelsDelta_Win2_32f_D2(x, 1, d, 2, 4, 1.0f, zelBeginStream | zelEndStream), zelStsNoErr);
    // (1 - 0) + 2 (4 - 0), (4 - 0) + 2 (9 - 0), (9 - 1) + 2 (9 - 0), (9 - 4) + 2 (9 - 1)
    EXPECT_EQ(std::vector<float>({d[1], d[3], d[5], d[7]}), std::vector<float>({9, 22, 26, 21}));
}

TEST(Delta, SixteenBitDifferencesWrapAndTheDoublingSaturates) {
    // Centre row: x[4] - x[0] = 40000 wraps to -25536, doubled it saturates at
    // -32768, and the sum with x[3] - x[1] = -200 stays there.
    const Zel16s x[5] = {-20000, 100, 0, -100, 20000};
    Zel16s d[5 * 2];
    ASSERT_EQ(zelsDelta_Win2_16s_D2Sfs(x, 1, d, 2, 5, 1, zelBeginStream | zelEndStream, 0), zelStsNoErr);
    EXPECT_EQ(d[2 * 2 + 1], -32768);
    // A negative scale factor shifts left; the product is exact in 32 bits.
    const Zel16s y[2] = {0, 3};
    Zel16s e[2 * 2];
    ASSERT_EQ(zelsDelta_Win1_16s_D2Sfs(y, 1, e, 2, 2, 1000, zelBeginStream | zelEndStream, -3), zelStsNoErr);
    EXPECT_EQ(e[1], 24000);
    ASSERT_EQ(zelsDelta_Win1_16s_D2Sfs(y, 1, e, 2, 2, 2000, zelBeginStream | zelEndStream, -3), zelStsNoErr);
    EXPECT_EQ(e[1], 32767);
}

// ---- The in-place regression ---------------------------------------------------

namespace {

template <class E>
void evalReference(std::vector<E>& m, int h, int step, int width, int off, int W, const std::vector<E>& mult, int sf) {
    for (int t = 0; t < h; ++t)
        for (int j = 0; j < width; ++j) {
            auto x = [&](int r) { return m[r * step + off + j]; };
            auto diff = [&](int k) { return diffOf(t >= h - W ? x(h - 1) : x(t + k), t < W ? x(0) : x(t - k)); };
            E& out = m[t * step + off + width + j];
            if constexpr (std::is_same_v<E, float>) {
                float sum = 0.0f, lanes[8] = {};
                int k = 1;
                if (W >= 8) {
                    for (; k + 7 <= W; k += 8)
                        for (int l = 0; l < 8; ++l) lanes[l] += float(k + l) * diff(k + l);
                    sum = (((lanes[0] + lanes[4]) + (lanes[1] + lanes[5])) + (lanes[2] + lanes[6])) + (lanes[3] + lanes[7]);
                }
                for (; k <= W; ++k) sum += float(k) * diff(k);
                out = sum * mult[j];
            } else {
                uint32_t sum = 0;
                for (int k = 1; k <= W; ++k) sum += uint32_t(k) * uint32_t(diff(k));
                out = Zel16s(sat16(int32_t(sum * uint32_t(int32_t(mult[j]))) >> (sf & 31)));
            }
        }
}

template <class E>
void evalSweep() {
    for (int W : {1, 2, 3, 7, 8, 9, 17})
        for (int width : {1, 4, 6})
            for (int h : {2 * W, 2 * W + 1, 3 * W + 5})
                for (bool mul : {false, true}) {
                    const int off = W % 3, step = off + 2 * width + 2;
                    const int sf = std::is_same_v<E, float> ? 0 : zt::uniformi(-2, 6);
                    std::vector<E> m = frames<E>(h, step), mult = randomValues<E>(width);
                    if (!mul) std::fill(mult.begin(), mult.end(), mult[0]);
                    std::vector<E> want = m;
                    evalReference(want, h, step, width, off, W, mult, sf);
                    ZelStatus s;
                    if constexpr (std::is_same_v<E, float>)
                        s = mul ? zelsEvalDeltaMul_32f_D2(m.data(), h, step, mult.data(), width, off, W)
                                : zelsEvalDelta_32f_D2(m.data(), h, step, width, off, W, mult[0]);
                    else
                        s = mul ? zelsEvalDeltaMul_16s_D2Sfs(m.data(), h, step, mult.data(), width, off, W, sf)
                                : zelsEvalDelta_16s_D2Sfs(m.data(), h, step, width, off, W, mult[0], sf);
                    ASSERT_EQ(s, zelStsNoErr);
                    expectSameRows(m, want, "W " + std::to_string(W) + " width " + std::to_string(width) + " h " + std::to_string(h));
                }
}

}  // namespace

TEST(EvalDelta, HeadMiddleAndTailRowsMatchTheRegression) {
    evalSweep<float>();
    evalSweep<Zel16s>();
}

TEST(EvalDelta, HeadRowsDifferenceAgainstRowZero) {
    // x = t^2, six rows, W = 3: row 2 takes x[0] for every lower term,
    // 1 (9 - 0) + 2 (16 - 0) + 3 (25 - 0) = 116; a clamped window would give 115.
    float m[6 * 2];
    for (int t = 0; t < 6; ++t) m[t * 2] = float(t * t);
    ASSERT_EQ(zelsEvalDelta_32f_D2(m, 6, 2, 1, 0, 3, 1.0f), zelStsNoErr);
    EXPECT_EQ(m[2 * 2 + 1], 116.0f);
    EXPECT_EQ(m[3 * 2 + 1], 25.0f * 6 - 4 - 2 * 1 - 3 * 0);  // tail: x[5] for every upper term
}

TEST(DeltaChecks, StatusesComeInTheirOrderAndNothingIsWritten) {
    float src[16] = {}, dst[64], val[39] = {};
    Zel16s s16[16] = {}, d16[8 * 39] = {};
    std::fill(dst, dst + 64, 5.0f);
    const int B = zelBeginStream, E = zelEndStream;
    zt::expectStatuses({
        {zelsDelta_Win2_32f_D2(nullptr, 0, dst, 0, -1, 1, B), zelStsNullPtrErr},
        {zelsDeltaMul_Win1_32f_D2(src, nullptr, 1, dst, 2, 4, B), zelStsNullPtrErr},
        {zelsDelta_Win2_32f_D2(src, 0, dst, 0, 4, 1, B), zelStsSizeErr},  // size before step
        {zelsDelta_Win1_32f_D2(src, 1, dst, 2, -1, 1, E), zelStsSizeErr},
        {zelsDeltaDelta_Win1_32f_D2(src, 1, dst, 3, 0, 1, 1, B), zelStsSizeErr},  // height 0 needs end
        {zelsDelta_Win2_32f_D2(src, 2, dst, 3, 1, 1, B | E), zelStsStrideErr},  // step before begin height
        {zelsDeltaDelta_Win2_32f_D2(src, 2, dst, 5, 6, 1, 1, B), zelStsStrideErr},
        {zelsDeltaDelta_Aurora_32f_D2(src, dst, 38, 8, B), zelStsStrideErr},
        {zelsDeltaDeltaMul_Aurora_32f_D2(src, nullptr, dst, 39, 8, B), zelStsNullPtrErr},
        {zelsDelta_Win2_32f_D2(src, 1, dst, 2, 3, 1, B | E), zelStsSizeErr},  // begin below H, even with end
        {zelsDeltaDelta_Win2_16s_D2Sfs(s16, 1, d16, 3, 5, 1, 1, B, 0), zelStsSizeErr},
        {zelsDeltaDeltaMul_Aurora_16s_D2Sfs(s16, s16, d16, 39, 7, B | E, 0), zelStsSizeErr},
        {zelsDeltaDelta_Aurora_16s_D2Sfs(s16, d16, 39, 0, E, 0), zelStsNoErr},  // pending rows only
        {zelsEvalDelta_32f_D2(nullptr, 0, 0, 0, -1, 0, 1), zelStsNullPtrErr},
        {zelsEvalDeltaMul_16s_D2Sfs(d16, 4, 2, nullptr, 1, 0, 2, 0), zelStsNullPtrErr},
        {zelsEvalDelta_32f_D2(dst, 4, 0, 0, 0, 2, 1), zelStsSizeErr},  // size before step
        {zelsEvalDelta_32f_D2(dst, 3, 2, 1, 0, 2, 1), zelStsSizeErr},  // height below 2 winSize
        {zelsEvalDelta_16s_D2Sfs(d16, 4, 4, 1, -1, 2, 1, 0), zelStsSizeErr},
        {zelsEvalDeltaMul_32f_D2(dst, 4, 3, val, 1, 2, 0), zelStsSizeErr},
        {zelsEvalDeltaMul_32f_D2(dst, 4, 3, val, 1, 2, 2), zelStsStrideErr}});
    zt::expectUntouched(dst, 64, 5.0f);
}
