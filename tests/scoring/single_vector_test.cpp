// SPDX-License-Identifier: Apache-2.0
// Single-vector scoring, distances and constant terms. Each member against a
// reference, bit for bit, over the lengths where the kernels change path,
// aligned and not: the frame member of one row where the score is the frame
// score, a plain loop in the fixed order where it is not. Then the division
// warnings, the halving of the constant terms and the order of the checks.
#include <math.h>
#include <stdint.h>

#include <algorithm>
#include <iterator>

#include "common.hpp"
#include "scoring/reference.hpp"

namespace {

using zt::negSum;
using zt::rule;
using zt::satDiff;
using zt::wideSum;
using zt::wrap;

// ---- Plain references ----------------------------------------------------------------

// Rounded to nearest: out of range gives the most negative integer (the
// processor's conversion), or saturates (the near rule).
int32_t cvtRound(float r) {
    r = nearbyintf(r);
    return r >= -2147483648.0f && r < 2147483648.0f ? int32_t(r) : INT32_MIN;
}
int32_t roundClamped(float r) { return cvtRound(std::clamp(r, -2147483648.0f, 2147483648.0f)); }
int32_t nearSat(float r) {
    r = nearbyintf(r);
    return r > 2147483520.0f ? INT32_MAX : !(r >= -2147483648.0f) ? INT32_MIN : int32_t(r);
}

// One-row Low sum for s >= 0: H and L of each column pair (of the 32-bit
// square of the saturated difference: high 16 bits, low 16 bits halved);
// the groups of eight accumulate and are shifted once, the groups of 4, 2
// and 1 after them are shifted each. L shifts by s, at most 15.
int32_t lowSingle(const int16_t* x, const int16_t* m, const int16_t* w, int len, int s) {
    const int hl = s <= 15 ? 15 - s : 0, hr = s <= 15 ? 0 : std::min(s - 15, 31), lr = std::min(s, 15);
    auto shift = [&](int32_t H, int32_t L) { return uint32_t(wrap(int64_t(H >> hr) << hl)) + uint32_t(L >> lr); };
    auto pair = [&](int c, int n, int32_t& H, int32_t& L) {
        int64_t h = 0, l = 0;
        for (int k = c; k < c + n; ++k) {
            int32_t d = satDiff(x[k], m[k]), sq = d * d;
            h += int64_t{sq >> 16} * w[k], l += int64_t{(sq & 0xffff) >> 1} * w[k];
        }
        H = wrap(h), L = wrap(l);
    };
    uint32_t accH[4] = {}, accL[4] = {}, t[4];
    int j = 0, H, L;
    for (; len - j >= 8; j += 8)
        for (int p = 0; p < 4; ++p) pair(j + 2 * p, 2, H, L), accH[p] -= uint32_t(H), accL[p] -= uint32_t(L);
    for (int p = 0; p < 4; ++p) t[p] = shift(int32_t(accH[p]), int32_t(accL[p]));
    for (int size : {4, 2, 1})
        if (len - j >= size) {
            for (int p = 0; 2 * p < size; ++p) pair(j + 2 * p, std::min(2, size - 2 * p), H, L), t[p] -= shift(H, L);
            j += size;
        }
    return int32_t(t[0] + t[1] + t[2] + t[3]);
}

// ---- The sweep ---------------------------------------------------------------------------

// One vector with its mean and inverse variance in each type, from a 16-byte
// boundary or one element past it; finv holds 1 / fw, sinv 1 / sw.
struct Vecs {
    int n, sf = 0;
    bool aligned;
    zt::Buf<float> bufs32f[5];
    zt::Buf<double> bufs64f[3];
    zt::Buf<int16_t> bufs16s[3];
    float *fx, *fm, *fw, *finv, *sinv;
    double *dx, *dm, *dw;
    int16_t *sx, *sm, *sw;
    float fval = 1.5f;
    double dval = -3.25;
    int32_t ival = 0;
    template <class T>
    static zt::Buf<T> buf(int n, bool al) { return zt::Buf<T>(n, !al); }
    Vecs(int len, bool al, bool full)
        : n(len), aligned(al), bufs32f{buf<float>(n, al), buf<float>(n, al), buf<float>(n, al), buf<float>(n, al),
                                       buf<float>(n, al)},
          bufs64f{buf<double>(n, al), buf<double>(n, al), buf<double>(n, al)},
          bufs16s{buf<int16_t>(n, al), buf<int16_t>(n, al), buf<int16_t>(n, al)} {
        fx = bufs32f[0].data(), fm = bufs32f[1].data(), fw = bufs32f[2].data(), finv = bufs32f[3].data();
        sinv = bufs32f[4].data(), dx = bufs64f[0].data(), dm = bufs64f[1].data(), dw = bufs64f[2].data();
        sx = bufs16s[0].data(), sm = bufs16s[1].data(), sw = bufs16s[2].data();
        zt::fillUniform(fx, n, -4, 4), zt::fillUniform(fm, n, -4, 4), zt::fillUniform(fw, n, 0.05, 3);
        zt::fillUniform(dx, n, -4, 4), zt::fillUniform(dm, n, -4, 4), zt::fillUniform(dw, n, 0.05, 3);
        const int lim = full ? 32767 : 150;
        zt::fillUniform(sx, n, -lim - full, lim), zt::fillUniform(sm, n, -lim - full, lim);
        zt::fillUniform(sw, n, full ? -32768 : 1, full ? 32767 : 200);
        for (int j = 0; j < n; ++j) finv[j] = 1.0f / fw[j], sinv[j] = 1.0f / float(sw[j]);
    }
};

// DirectVar: the variances divide; 16s32s_Sfs goes through the singles and
// the near rule with s + 1, then val minus it, saturated.
double direct64f(const Vecs& v) {
    double s = 0;
    for (int j = 0; j < v.n; ++j) s += (v.dx[j] - v.dm[j]) * (v.dx[j] - v.dm[j]) / v.dw[j];
    return v.dval - s * 0.5;
}
double direct32f64f(const Vecs& v) {
    double s = 0;
    for (int j = 0; j < v.n; ++j) s += (double(v.fx[j]) - v.fm[j]) * (double(v.fx[j]) - v.fm[j]) / double(v.fw[j]);
    return v.dval - s * 0.5;
}
int32_t direct16s32s(const Vecs& v) {
    std::vector<float> x(v.sx, v.sx + v.n), m(v.sm, v.sm + v.n);
    float s = 0;
    zelsMahDistSingle_32f(x.data(), m.data(), v.sinv, v.n, &s);
    return int32_t(std::clamp<int64_t>(int64_t{v.ival} - nearSat(s * ldexpf(1, -(v.sf + 1))), INT32_MIN, INT32_MAX));
}
// Aligned: the single-precision sum, rounded, unscaled; otherwise exact and shifted.
int32_t mahDist16s32s(const Vecs& v) {
    if (v.aligned) return cvtRound(0.0f - wideSum(v.sx, v.sm, v.sw, v.n));
    int64_t s = 0;
    for (int j = 0; j < v.n; ++j) s += int64_t(v.sx[j] - v.sm[j]) * (v.sx[j] - v.sm[j]) * v.sw[j];
    return int32_t(std::clamp<int64_t>(v.sf >= 0 ? s >> v.sf : s << -v.sf, INT32_MIN, INT32_MAX));
}

using Fn = uint64_t (*)(const Vecs&);
struct Case {
    const char* name;
    bool fixedPoint;
    Fn got, want;
};
uint64_t out(float f) { return zt::bits(f); }
uint64_t out(double d) { return zt::bits(d); }
uint64_t out(int32_t i) { return uint32_t(i); }

// A member's call and its reference, each storing into r; FRAME calls the
// frame member of one row, whose step is the length.
#define CALL(T, ...) [](const Vecs& v) { T r{}; __VA_ARGS__; return out(r); }
#define SINGLE(T, name, ...) CALL(T, zelsLogGaussSingle_##name(__VA_ARGS__))
#define FRAME(T, name, x, ...) CALL(T, zelsLogGauss_##name(x, v.n, __VA_ARGS__))

const Case kCases[] = {
    {"32f", false, SINGLE(float, 32f, v.fx, v.fm, v.fw, v.n, &r, v.fval),
     FRAME(float, 32f_D2, v.fx, v.fm, v.fw, v.n, &r, 1, v.fval)},
    {"IdVar_32f", false, SINGLE(float, IdVar_32f, v.fx, v.fm, v.n, &r, v.fval),
     FRAME(float, IdVar_32f_D2, v.fx, v.fm, v.n, &r, 1, v.fval)},
    {"64f", false, SINGLE(double, 64f, v.dx, v.dm, v.dw, v.n, &r, v.dval),
     FRAME(double, 64f_D2, v.dx, v.dm, v.dw, v.n, &r, 1, v.dval)},
    {"IdVar_64f", false, SINGLE(double, IdVar_64f, v.dx, v.dm, v.n, &r, v.dval),
     FRAME(double, IdVar_64f_D2, v.dx, v.dm, v.n, &r, 1, v.dval)},
    {"32f64f", false, SINGLE(double, 32f64f, v.fx, v.fm, v.fw, v.n, &r, v.dval),
     CALL(double, r = v.dval + negSum<double, 2, 4>(v.fx, v.fm, v.fw, v.n) * 0.5)},
    {"IdVar_32f64f", false, SINGLE(double, IdVar_32f64f, v.fx, v.fm, v.n, &r, v.dval),
     CALL(double, r = v.dval + negSum<double, 2, 4, float>(v.fx, v.fm, nullptr, v.n) * 0.5)},
    {"DirectVar_32f", false, SINGLE(float, DirectVar_32f, v.fx, v.fm, v.fw, v.n, &r, v.fval),
     SINGLE(float, 32f, v.fx, v.fm, v.finv, v.n, &r, v.fval)},
    {"DirectVar_64f", false, SINGLE(double, DirectVar_64f, v.dx, v.dm, v.dw, v.n, &r, v.dval),
     CALL(double, r = direct64f(v))},
    {"DirectVar_32f64f", false, SINGLE(double, DirectVar_32f64f, v.fx, v.fm, v.fw, v.n, &r, v.dval),
     CALL(double, r = direct32f64f(v))},
    {"MahDistSingle_32f", false, CALL(float, zelsMahDistSingle_32f(v.fx, v.fm, v.fw, v.n, &r)),
     CALL(float, r = 0.0f - negSum<float, 4, 4>(v.fx, v.fm, v.fw, v.n))},
    {"MahDistSingle_64f", false, CALL(double, zelsMahDistSingle_64f(v.dx, v.dm, v.dw, v.n, &r)),
     CALL(double, r = 0.0 - negSum<double, 2, 2>(v.dx, v.dm, v.dw, v.n))},
    {"MahDistSingle_32f64f", false, CALL(double, zelsMahDistSingle_32f64f(v.fx, v.fm, v.fw, v.n, &r)),
     CALL(double, r = 0.0 - negSum<double, 2, 4>(v.fx, v.fm, v.fw, v.n))},
    // 16-bit members.
    {"16s32s_Sfs", true, SINGLE(int32_t, 16s32s_Sfs, v.sx, v.sm, v.sw, v.n, &r, v.ival, v.sf),
     CALL(int32_t, r = roundClamped(float(v.ival) + rule(v.sf, wideSum(v.sx, v.sm, v.sw, v.n))))},
    {"IdVar_16s32s_Sfs", true, SINGLE(int32_t, IdVar_16s32s_Sfs, v.sx, v.sm, v.n, &r, v.ival, v.sf),
     CALL(int32_t, r = roundClamped(float(v.ival) - rule(v.sf, wideSum<int16_t>(v.sx, v.sm, nullptr, v.n))))},
    {"Low_16s32s_Sfs", true, SINGLE(int32_t, Low_16s32s_Sfs, v.sx, v.sm, v.sw, v.n, &r, v.ival, v.sf),
     CALL(int32_t, if (v.sf < 0) zelsLogGauss_Low_16s32s_D2Sfs(v.sx, v.n, v.sm, v.sw, v.n, &r, 1, v.ival, v.sf);
          else r = wrap(int64_t{lowSingle(v.sx, v.sm, v.sw, v.n, v.sf)} + v.ival))},
    {"LowScaled_16s32f", true, SINGLE(float, LowScaled_16s32f, v.sx, v.sm, v.sw, v.n, &r, v.fval, v.sf),
     CALL(float, if (v.sf < 0) zelsLogGauss_LowScaled_16s32f_D2(v.sx, v.n, v.sm, v.sw, v.n, &r, 1, v.fval, v.sf);
          else r = float(lowSingle(v.sx, v.sm, v.sw, v.n, v.sf)) + v.fval)},
    {"IdVarLow_16s32s_Sfs", true, SINGLE(int32_t, IdVarLow_16s32s_Sfs, v.sx, v.sm, v.n, &r, v.ival, v.sf),
     FRAME(int32_t, IdVarLow_16s32s_D2Sfs, v.sx, v.sm, v.n, &r, 1, v.ival, v.sf)},
    {"Scaled_16s32f", true, SINGLE(float, Scaled_16s32f, v.sx, v.sm, v.sw, v.n, &r, v.fval, v.sf),
     FRAME(float, Scaled_16s32f_D2, v.sx, v.sm, v.sw, v.n, &r, 1, v.fval, v.sf)},
    {"IdVarScaled_16s32f", true, SINGLE(float, IdVarScaled_16s32f, v.sx, v.sm, v.n, &r, v.fval, v.sf),
     FRAME(float, IdVarScaled_16s32f_D2, v.sx, v.sm, v.n, &r, 1, v.fval, v.sf)},
    {"IdVarLowScaled_16s32f", true, SINGLE(float, IdVarLowScaled_16s32f, v.sx, v.sm, v.n, &r, v.fval, v.sf),
     FRAME(float, IdVarLowScaled_16s32f_D2, v.sx, v.sm, v.n, &r, 1, v.fval, v.sf)},
    {"DirectVar_16s32s_Sfs", true, SINGLE(int32_t, DirectVar_16s32s_Sfs, v.sx, v.sm, v.sw, v.n, &r, v.ival, v.sf),
     CALL(int32_t, r = direct16s32s(v))},
    {"DirectVarScaled_16s32f", true, SINGLE(float, DirectVarScaled_16s32f, v.sx, v.sm, v.sw, v.n, &r, v.fval, v.sf),
     CALL(float, r = v.fval - ((0.0f - wideSum(v.sx, v.sm, v.sinv, v.n)) * 0.5f) * ldexpf(1, -v.sf))},
    {"MahDistSingle_16s32f", true, CALL(float, zelsMahDistSingle_16s32f(v.sx, v.sm, v.sw, v.n, &r)),
     CALL(float, r = 0.0f - wideSum(v.sx, v.sm, v.sw, v.n))},
    {"MahDistSingle_16s32s_Sfs", true, CALL(int32_t, zelsMahDistSingle_16s32s_Sfs(v.sx, v.sm, v.sw, v.n, &r, v.sf)),
     CALL(int32_t, r = mahDist16s32s(v))},
};
#undef CALL
#undef SINGLE
#undef FRAME

TEST(SingleVector, EveryMemberMatchesItsReferenceBitForBit) {
    int failures = 0;
    for (bool aligned : {true, false})
        for (int len = 1; len <= 42; ++len)
            for (bool full : {false, true}) {
                Vecs v(len, aligned, full);
                for (const Case& c : kCases)
                    for (int sf : {-2, -1, 0, 1, 3, 15, 16, 17, 30}) {
                        if (!c.fixedPoint && (full || sf != -2)) break;
                        v.sf = sf, v.ival = full ? zt::uniformi(INT32_MIN, INT32_MAX) : zt::uniformi(-100000, 100000);
                        const uint64_t got = c.got(v), want = c.want(v);
                        if (got != want && ++failures <= 8)
                            ADD_FAILURE() << c.name << " len " << len << (aligned ? " aligned" : " unaligned")
                                          << (full ? " full-range" : "") << " sf " << sf << ": got 0x" << std::hex
                                          << got << ", want 0x" << want;
                    }
            }
    EXPECT_EQ(failures, 0);
}

// Frames (rows of a) against one Gaussian (mean x, inverse variance b[0]),
// and one frame x against rows of means a and inverse variances b, in both
// layouts; NaN fills the gaps behind the width, 7 the element behind the results.
template <class T, class D2, class D2L, class M2, class M2L>
void distances(D2 d2, D2L d2l, M2 m2, M2L m2l) {
    for (int w = 1; w <= 13; ++w)
        for (int h = 1; h <= 6; ++h)
            for (int step : {w, (w + 3) / 4 * 4, (w + 3) / 4 * 4 + 4}) {
                std::vector<T> a(size_t(h) * step, NAN), b(a), x(w), got(h + 1);
                std::vector<const T*> ra, rb;
                for (int y = 0; y < h; ++y) {
                    zt::fillUniform(&a[y * step], w, -4, 4), zt::fillUniform(&b[y * step], w, 0.1, 3);
                    ra.push_back(&a[y * step]), rb.push_back(&b[y * step]);
                }
                zt::fillUniform(x.data(), w, -4, 4);
                constexpr int N = sizeof(T) == 4 ? 4 : 2;
                for (int call = 0; call < 4; ++call) {
                    std::fill(got.begin(), got.end(), T(7));
                    const bool multi = call >= 2;
                    EXPECT_EQ(call == 0 ? d2(a.data(), step, x.data(), rb[0], w, got.data(), h)
                              : call == 1 ? d2l(ra.data(), x.data(), rb[0], w, got.data(), h)
                              : call == 2 ? m2(a.data(), b.data(), step, x.data(), w, got.data(), h)
                                          : m2l(ra.data(), rb.data(), x.data(), w, got.data(), h),
                              zelStsNoErr);
                    for (int y = 0; y <= h; ++y) {
                        const T* wy = multi && y < h ? rb[y] : rb[0];
                        const T want = y == h ? T(7) : T(0) - negSum<T, N, N>(ra[y], x.data(), wy, w);
                        EXPECT_SAME_BITS(got[y], want)
                            << "call " << call << " width " << w << " height " << h << " step " << step << " row " << y;
                    }
                }
            }
}
TEST(SingleVector, DistancesOfEveryRowMatchTheReference) {
    distances<float>(zelsMahDist_32f_D2, zelsMahDist_32f_D2L, zelsMahDistMultiMix_32f_D2, zelsMahDistMultiMix_32f_D2L);
    distances<double>(zelsMahDist_64f_D2, zelsMahDist_64f_D2L, zelsMahDistMultiMix_64f_D2, zelsMahDistMultiMix_64f_D2L);
}

// ---- What sets the single forms apart ---------------------------------------------------

// A zero variance: the toolkit's warning with the result written, except in
// DirectVar_32f64f, which writes nothing; DirectVar_64f divides silently.
TEST(SingleVector, ZeroVarianceWarnsAndWritesWhereTheDivisionIsTheToolkits) {
    const float xf[] = {1, 2, 3, 4, 5}, mf[5] = {}, vf[] = {1, 1, 0, 1, 1};
    const double xd[] = {1, 2, 3, 4, 5}, md[5] = {}, vd[] = {1, 1, 0, 1, 1};
    const int16_t xs[] = {1, 2, 3, 4, 5}, ms[5] = {}, vs[] = {1, 1, 0, 1, 1};
    float rf = 7;
    double rd = 7;
    int32_t ri = 7;
    EXPECT_EQ(zelsLogGaussSingle_DirectVar_32f(xf, mf, vf, 5, &rf, 0), zelStsDivByZero);
    EXPECT_EQ(rf, -INFINITY);
    EXPECT_EQ(zelsLogGaussSingle_DirectVar_32f64f(xf, mf, vf, 5, &rd, 0), zelStsDivByZero);
    EXPECT_EQ(rd, 7);
    EXPECT_EQ(zelsLogGaussSingle_DirectVar_64f(xd, md, vd, 5, &rd, 0), zelStsNoErr);
    EXPECT_EQ(rd, -INFINITY);
    EXPECT_EQ(zelsLogGaussSingle_DirectVar_16s32s_Sfs(xs, ms, vs, 5, &ri, 100, 0), zelStsDivByZero);
    EXPECT_EQ(ri, 100 - INT32_MAX);
    rf = 7;
    EXPECT_EQ(zelsLogGaussSingle_DirectVarScaled_16s32f(xs, ms, vs, 5, &rf, 0, 0), zelStsDivByZero);
    EXPECT_EQ(rf, -INFINITY);
}

// a - b / 2; in 32 bits the groups of four from the start round the half
// down (b = 3 takes 1), the last len % 4 elements round it up (b = 3 takes
// 2), and b + 1 wraps.
TEST(SingleVector, OutProbPreCalcRoundsTheTailUp) {
    for (int len = 1; len <= 9; ++len) {
        std::vector<int32_t> a(len), b(len, 3), d(len);
        std::vector<double> ad(len), bd(len), dd(len);
        b[len - 1] = INT32_MAX;
        const std::vector<int32_t> b0 = b;
        zt::fillUniform(a.data(), len, -1000, 1000);
        zt::fillUniform(ad.data(), len, -9, 9), zt::fillUniform(bd.data(), len, -9, 9);
        EXPECT_EQ(zelsOutProbPreCalc_32s(a.data(), b.data(), d.data(), len), zelStsNoErr);
        EXPECT_EQ(zelsOutProbPreCalc_32s_I(a.data(), b.data(), len), zelStsNoErr);
        EXPECT_EQ(zelsOutProbPreCalc_64f(ad.data(), bd.data(), dd.data(), len), zelStsNoErr);
        for (int k = 0; k < len; ++k) {
            const int32_t half = k < len - len % 4 ? b0[k] >> 1 : wrap(int64_t{b0[k]} + 1) >> 1;
            const int32_t want = wrap(int64_t{a[k]} - half);
            EXPECT_EQ(d[k], want) << "len " << len << " element " << k;
            EXPECT_EQ(b[k], want) << "len " << len << " element " << k;
            EXPECT_SAME_BITS(dd[k], ad[k] - bd[k] * 0.5);
        }
    }
}

// ---- Argument checks ------------------------------------------------------------------------

// Null pointers first (each in turn, with len 0 too), then len below 1;
// D2 members test the step before everything. Nothing is written.
TEST(SingleVector, ChecksRunInOrderAndWriteNothing) {
    static double buf[16];
    static const Zel32f* rows[] = {reinterpret_cast<Zel32f*>(buf)};
    using Run = ZelStatus (*)(int nullAt, int len, int step);
    // The argument at `nullAt` is null; D2 members take `step`.
#define N(i, T) (nullAt == i ? nullptr : reinterpret_cast<T*>(buf))
#define IN3(T) N(0, const T), N(1, const T), N(2, const T)
#define RUN(pointers, ...) {pointers, [](int nullAt, int len, [[maybe_unused]] int step) { return __VA_ARGS__; }}
    const std::pair<int, Run> runs[] = {
        RUN(4, zelsLogGaussSingle_32f(IN3(Zel32f), len, N(3, Zel32f), 0)),
        RUN(4, zelsLogGaussSingle_DirectVar_16s32s_Sfs(IN3(Zel16s), len, N(3, Zel32s), 0, 0)),
        RUN(3, zelsLogGaussSingle_IdVarLowScaled_16s32f(N(0, const Zel16s), N(1, const Zel16s), len, N(2, Zel32f), 0,
                                                        0)),
        RUN(3, zelsOutProbPreCalc_32s(N(0, const Zel32s), N(1, const Zel32s), N(2, Zel32s), len)),
        RUN(2, zelsOutProbPreCalc_64f_I(N(0, const Zel64f), N(1, Zel64f), len)),
        RUN(4, zelsMahDist_32f_D2(N(0, const Zel32f), step, N(1, const Zel32f), N(2, const Zel32f), len, N(3, Zel32f),
                                  1)),
        RUN(4, zelsMahDistMultiMix_64f_D2(N(0, const Zel64f), N(1, const Zel64f), step, N(2, const Zel64f), len,
                                          N(3, Zel64f), 1)),
        RUN(4, zelsMahDistMultiMix_32f_D2L(nullAt == 0 ? nullptr : rows, nullAt == 1 ? nullptr : rows,
                                           N(2, const Zel32f), len, N(3, Zel32f), 1)),
    };
#undef N
#undef IN3
#undef RUN
    for (size_t r = 0; r < std::size(runs); ++r) {
        auto [pointers, run] = runs[r];
        std::fill(std::begin(buf), std::end(buf), 7.0);
        for (int which = 0; which < pointers; ++which) {
            EXPECT_EQ(run(which, 4, 8), zelStsNullPtrErr) << "case " << r << " pointer " << which;
            EXPECT_EQ(run(which, 0, 8), zelStsNullPtrErr) << "case " << r << " pointer " << which;
        }
        for (int len : {0, -1}) EXPECT_EQ(run(-1, len, 8), zelStsSizeErr) << "case " << r;
        if (r >= 5 && r < 7) {
            EXPECT_EQ(run(0, 4, 3), zelStsStrideErr) << "case " << r;
        }
        EXPECT_TRUE(std::all_of(std::begin(buf), std::end(buf), [](double d) { return d == 7.0; })) << "case " << r;
    }
}

}  // namespace
