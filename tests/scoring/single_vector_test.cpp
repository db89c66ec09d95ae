// Single-vector scoring, distances and constant terms. Each member against a
// reference, bit for bit, over the lengths where the kernels change path,
// aligned and not: the frame member of one row where the score is the frame
// score, a plain loop in the fixed order where it is not. Then the rules
// that set the single forms apart, the division warnings, and the order of
// the argument checks.
#include <math.h>
#include <stdint.h>

#include <algorithm>
#include <iterator>
#include <tuple>

#include "common.hpp"

namespace {

int32_t wrap(int64_t v) { return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(v))); }
float sat(int a, int b) { return float(std::clamp(a - b, -32768, 32767)); }

// ---- Plain references ----------------------------------------------------------------

// -S on N lanes over the first len - len % G columns (lane j % N, each term
// subtracted from 0), the lanes summed, then the rest subtracted in order.
template <class Acc, int N, int G, class T>
Acc negSum(const T* x, const T* m, const T* w, int len) {
    auto term = [&](int j) { Acc d = Acc(x[j]) - Acc(m[j]); return w ? d * d * Acc(w[j]) : d * d; };
    Acc lane[4] = {};
    const int n = len - len % G;
    for (int j = 0; j < n; ++j) lane[j % N] -= term(j);
    Acc s = N == 4 ? (lane[0] + lane[2]) + (lane[1] + lane[3]) : lane[0] + lane[1];
    for (int j = n; j < len; ++j) s -= term(j);
    return s;
}

// 16-bit data: differences saturated in groups of eight; weighted, lane j % 4
// subtracts d * d * w; unweighted, pair sums in 32 bits on lane (j / 2) % 4.
// The exact tail goes into lane 0. Returns -S weighted, S unweighted.
template <class W>
float wideSum(const int16_t* x, const int16_t* m, const W* w, int len) {
    float lane[4] = {};
    const int n = len - len % 8;
    for (int j = 0; j < n; j += 2) {
        float d0 = sat(x[j], m[j]), d1 = sat(x[j + 1], m[j + 1]);
        if (w) lane[j % 4] -= d0 * d0 * float(w[j]), lane[j % 4 + 1] -= d1 * d1 * float(w[j + 1]);
        else lane[(j / 2) % 4] += float(wrap(int64_t(d0) * int64_t(d0) + int64_t(d1) * int64_t(d1)));
    }
    for (int j = n; j < len; ++j) {
        float d = float(x[j] - m[j]);
        lane[0] += w ? -(d * d * float(w[j])) : d * d;
    }
    return (lane[0] + lane[2]) + (lane[1] + lane[3]);
}

// The family's scale rule: p = 1 << (|s + 1| mod 32) in 32 bits; divide for s + 1 >= 0.
float rule(int s, float t) {
    int32_t k1 = wrap(int64_t{s} + 1);
    uint32_t k = k1 < 0 ? 0u - uint32_t(k1) : uint32_t(k1);
    float p = float(int32_t(1u << (k % 32)));
    return k1 >= 0 ? t / p : t * p;
}
int32_t cvtRound(float r) { r = nearbyintf(r); return r >= -2147483648.0f && r < 2147483648.0f ? int32_t(r) : INT32_MIN; }
int32_t roundClamped(float r) { return cvtRound(std::clamp(r, -2147483648.0f, 2147483648.0f)); }
int32_t nearSat(float r) { r = nearbyintf(r); return r > 2147483520.0f ? INT32_MAX : !(r >= -2147483648.0f) ? INT32_MIN : int32_t(r); }

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
            int32_t d = int32_t(sat(x[k], m[k])), sq = d * d;
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
// boundary or one element past it. inv32f holds 1 / var, invs 1 / var16.
struct Vecs {
    int len, sf = 0;
    bool aligned;
    zt::Buf<float> xf, mf, vf, invf, invs;
    zt::Buf<double> xd, md, vd;
    zt::Buf<int16_t> xs, ms, vs;
    float fval = 1.5f;
    double dval = -3.25;
    int32_t ival = 0;
    Vecs(int n, bool al, bool full)
        : len(n), aligned(al), xf(n, !al), mf(n, !al), vf(n, !al), invf(n, !al), invs(n, !al), xd(n, !al), md(n, !al),
          vd(n, !al), xs(n, !al), ms(n, !al), vs(n, !al) {
        zt::fillUniform(xf.data(), n, -4, 4), zt::fillUniform(mf.data(), n, -4, 4), zt::fillUniform(vf.data(), n, 0.05, 3);
        zt::fillUniform(xd.data(), n, -4, 4), zt::fillUniform(md.data(), n, -4, 4), zt::fillUniform(vd.data(), n, 0.05, 3);
        const int lim = full ? 32767 : 150;
        zt::fillUniform(xs.data(), n, -lim - full, lim), zt::fillUniform(ms.data(), n, -lim - full, lim);
        zt::fillUniform(vs.data(), n, full ? -32768 : 1, full ? 32767 : 200);
        for (int j = 0; j < n; ++j) invf[j] = 1.0f / vf[j], invs[j] = 1.0f / float(vs[j]);
    }
};
using Fn = uint64_t (*)(const Vecs&);
struct Case {
    const char* name;
    bool fixedPoint;
    Fn got, want;
};
uint64_t out(float f) { return zt::bits(f); }
uint64_t out(double d) { return zt::bits(d); }
uint64_t out(int32_t i) { return uint32_t(i); }

#define XF v.xf.data(), v.mf.data()
#define XD v.xd.data(), v.md.data()
#define XS v.xs.data(), v.ms.data()
#define CALL(T, ...) [](const Vecs& v) { T r{}; __VA_ARGS__; return out(r); }
#define FRAME(T, name, X, ...) CALL(T, zelsLogGauss_##name(X.data(), v.len, __VA_ARGS__))
#define CASE(name, fixed, T, args, ...) {#name, fixed, CALL(T, zelsLogGaussSingle_##name args), __VA_ARGS__}

const Case kCases[] = {
    CASE(32f, false, float, (XF, v.vf.data(), v.len, &r, v.fval), FRAME(float, 32f_D2, v.xf, v.mf.data(), v.vf.data(), v.len, &r, 1, v.fval)),
    CASE(IdVar_32f, false, float, (XF, v.len, &r, v.fval), FRAME(float, IdVar_32f_D2, v.xf, v.mf.data(), v.len, &r, 1, v.fval)),
    CASE(64f, false, double, (XD, v.vd.data(), v.len, &r, v.dval), FRAME(double, 64f_D2, v.xd, v.md.data(), v.vd.data(), v.len, &r, 1, v.dval)),
    CASE(IdVar_64f, false, double, (XD, v.len, &r, v.dval), FRAME(double, IdVar_64f_D2, v.xd, v.md.data(), v.len, &r, 1, v.dval)),
    CASE(32f64f, false, double, (XF, v.vf.data(), v.len, &r, v.dval), CALL(double, r = v.dval + negSum<double, 2, 4>(XF, v.vf.data(), v.len) * 0.5)),
    CASE(IdVar_32f64f, false, double, (XF, v.len, &r, v.dval), CALL(double, r = v.dval + negSum<double, 2, 4, float>(XF, nullptr, v.len) * 0.5)),
    CASE(DirectVar_32f, false, float, (XF, v.vf.data(), v.len, &r, v.fval), CALL(float, zelsLogGaussSingle_32f(XF, v.invf.data(), v.len, &r, v.fval))),
    CASE(DirectVar_64f, false, double, (XD, v.vd.data(), v.len, &r, v.dval), CALL(double, double s = 0; for (int j = 0; j < v.len; ++j) s += (v.xd[j] - v.md[j]) * (v.xd[j] - v.md[j]) / v.vd[j]; r = v.dval - s * 0.5)),
    CASE(DirectVar_32f64f, false, double, (XF, v.vf.data(), v.len, &r, v.dval), CALL(double, double s = 0; for (int j = 0; j < v.len; ++j) { double d = double(v.xf[j]) - v.mf[j]; s += d * d / double(v.vf[j]); } r = v.dval - s * 0.5)),
    {"MahDistSingle_32f", false, CALL(float, zelsMahDistSingle_32f(XF, v.vf.data(), v.len, &r)), CALL(float, r = 0.0f - negSum<float, 4, 4>(XF, v.vf.data(), v.len))},
    {"MahDistSingle_64f", false, CALL(double, zelsMahDistSingle_64f(XD, v.vd.data(), v.len, &r)), CALL(double, r = 0.0 - negSum<double, 2, 2>(XD, v.vd.data(), v.len))},
    {"MahDistSingle_32f64f", false, CALL(double, zelsMahDistSingle_32f64f(XF, v.vf.data(), v.len, &r)), CALL(double, r = 0.0 - negSum<double, 2, 4>(XF, v.vf.data(), v.len))},
    // 16-bit members; the frame member where the single form is its one row.
    CASE(16s32s_Sfs, true, int32_t, (XS, v.vs.data(), v.len, &r, v.ival, v.sf), CALL(int32_t, r = roundClamped(float(v.ival) + rule(v.sf, wideSum(XS, v.vs.data(), v.len))))),
    CASE(IdVar_16s32s_Sfs, true, int32_t, (XS, v.len, &r, v.ival, v.sf), CALL(int32_t, r = roundClamped(float(v.ival) - rule(v.sf, wideSum<int16_t>(XS, nullptr, v.len))))),
    CASE(Low_16s32s_Sfs, true, int32_t, (XS, v.vs.data(), v.len, &r, v.ival, v.sf), CALL(int32_t, if (v.sf < 0) zelsLogGauss_Low_16s32s_D2Sfs(v.xs.data(), v.len, v.ms.data(), v.vs.data(), v.len, &r, 1, v.ival, v.sf); else r = wrap(int64_t{lowSingle(XS, v.vs.data(), v.len, v.sf)} + v.ival))),
    CASE(LowScaled_16s32f, true, float, (XS, v.vs.data(), v.len, &r, v.fval, v.sf), CALL(float, if (v.sf < 0) zelsLogGauss_LowScaled_16s32f_D2(v.xs.data(), v.len, v.ms.data(), v.vs.data(), v.len, &r, 1, v.fval, v.sf); else r = float(lowSingle(XS, v.vs.data(), v.len, v.sf)) + v.fval)),
    CASE(IdVarLow_16s32s_Sfs, true, int32_t, (XS, v.len, &r, v.ival, v.sf), FRAME(int32_t, IdVarLow_16s32s_D2Sfs, v.xs, v.ms.data(), v.len, &r, 1, v.ival, v.sf)),
    CASE(Scaled_16s32f, true, float, (XS, v.vs.data(), v.len, &r, v.fval, v.sf), FRAME(float, Scaled_16s32f_D2, v.xs, v.ms.data(), v.vs.data(), v.len, &r, 1, v.fval, v.sf)),
    CASE(IdVarScaled_16s32f, true, float, (XS, v.len, &r, v.fval, v.sf), FRAME(float, IdVarScaled_16s32f_D2, v.xs, v.ms.data(), v.len, &r, 1, v.fval, v.sf)),
    CASE(IdVarLowScaled_16s32f, true, float, (XS, v.len, &r, v.fval, v.sf), FRAME(float, IdVarLowScaled_16s32f_D2, v.xs, v.ms.data(), v.len, &r, 1, v.fval, v.sf)),
    CASE(DirectVar_16s32s_Sfs, true, int32_t, (XS, v.vs.data(), v.len, &r, v.ival, v.sf), CALL(int32_t, std::vector<float> x(v.xs.data(), v.xs.data() + v.len), m(v.ms.data(), v.ms.data() + v.len); float s = 0; zelsMahDistSingle_32f(x.data(), m.data(), v.invs.data(), v.len, &s); r = wrap(std::clamp<int64_t>(int64_t{v.ival} - nearSat(s * ldexpf(1, -(v.sf + 1))), INT32_MIN, INT32_MAX)))),
    CASE(DirectVarScaled_16s32f, true, float, (XS, v.vs.data(), v.len, &r, v.fval, v.sf), CALL(float, r = v.fval - ((0.0f - wideSum(XS, v.invs.data(), v.len)) * 0.5f) * ldexpf(1, -v.sf))),
    {"MahDistSingle_16s32f", true, CALL(float, zelsMahDistSingle_16s32f(XS, v.vs.data(), v.len, &r)), CALL(float, r = 0.0f - wideSum(XS, v.vs.data(), v.len))},
    {"MahDistSingle_16s32s_Sfs", true, CALL(int32_t, zelsMahDistSingle_16s32s_Sfs(XS, v.vs.data(), v.len, &r, v.sf)), CALL(int32_t, if (v.aligned) r = cvtRound(0.0f - wideSum(XS, v.vs.data(), v.len)); else { int64_t s = 0; for (int j = 0; j < v.len; ++j) s += int64_t(v.xs[j] - v.ms[j]) * (v.xs[j] - v.ms[j]) * v.vs[j]; r = int32_t(std::clamp<int64_t>(v.sf >= 0 ? s >> v.sf : s << -v.sf, INT32_MIN, INT32_MAX)); })},
};
#undef XF
#undef XD
#undef XS
#undef CALL
#undef FRAME
#undef CASE

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
                                          << (full ? " full-range" : "") << " sf " << sf << ": got 0x" << std::hex << got
                                          << ", want 0x" << want;
                    }
            }
    EXPECT_EQ(failures, 0);
}

// Frames against one Gaussian, and one frame against rows of Gaussians, in
// both layouts; rows hold a NaN in the gap behind the width.
TEST(SingleVector, DistancesOfEveryRowMatchTheReference) {
    for (int w = 1; w <= 13; ++w)
        for (int h = 1; h <= 6; ++h)
            for (int step : {w, (w + 3) / 4 * 4, (w + 3) / 4 * 4 + 4}) {
                std::vector<float> a(size_t(h) * step, NAN), b(size_t(h) * step, NAN), x(w), got(h + 1, 7), ref(h);
                std::vector<double> ad(a.size(), NAN), bd(a.size(), NAN), xd(w), gotd(h + 1, 7), refd(h);
                std::vector<const float*> ra, rb;
                std::vector<const double*> rad, rbd;
                for (int y = 0; y < h; ++y) {
                    zt::fillUniform(&a[y * step], w, -4, 4), zt::fillUniform(&b[y * step], w, 0.1, 3);
                    zt::fillUniform(&ad[y * step], w, -4, 4), zt::fillUniform(&bd[y * step], w, 0.1, 3);
                    ra.push_back(&a[y * step]), rb.push_back(&b[y * step]), rad.push_back(&ad[y * step]), rbd.push_back(&bd[y * step]);
                }
                zt::fillUniform(x.data(), w, -4, 4), zt::fillUniform(xd.data(), w, -4, 4);
                // Rows of a as frames with x as the mean and b[0..w) as the
                // inverse variance; or rows of a as means and b as variances.
                auto expectRows = [&](ZelStatus st, const char* what, bool multi) {
                    for (int y = 0; y < h; ++y) {
                        ref[y] = 0.0f - negSum<float, 4, 4>(ra[y], x.data(), multi ? rb[y] : rb[0], w);
                        refd[y] = 0.0 - negSum<double, 2, 2>(rad[y], xd.data(), multi ? rbd[y] : rbd[0], w);
                    }
                    EXPECT_EQ(st, zelStsNoErr) << what;
                    bool dbl = what[0] == 'd';
                    for (int y = 0; y <= h; ++y) {
                        uint64_t g = dbl ? zt::bits(gotd[y]) : zt::bits(got[y]);
                        uint64_t e = y == h ? (dbl ? zt::bits(7.0) : zt::bits(7.0f)) : dbl ? zt::bits(refd[y]) : zt::bits(ref[y]);
                        EXPECT_EQ(g, e) << what << " width " << w << " height " << h << " step " << step << " row " << y;
                    }
                };
                expectRows(zelsMahDist_32f_D2(a.data(), step, x.data(), rb[0], w, got.data(), h), "f MahDist D2", false);
                expectRows(zelsMahDist_32f_D2L(ra.data(), x.data(), rb[0], w, got.data(), h), "f MahDist D2L", false);
                expectRows(zelsMahDist_64f_D2(ad.data(), step, xd.data(), rbd[0], w, gotd.data(), h), "d MahDist D2", false);
                expectRows(zelsMahDist_64f_D2L(rad.data(), xd.data(), rbd[0], w, gotd.data(), h), "d MahDist D2L", false);
                expectRows(zelsMahDistMultiMix_32f_D2(a.data(), b.data(), step, x.data(), w, got.data(), h), "f MultiMix D2", true);
                expectRows(zelsMahDistMultiMix_32f_D2L(ra.data(), rb.data(), x.data(), w, got.data(), h), "f MultiMix D2L", true);
                expectRows(zelsMahDistMultiMix_64f_D2(ad.data(), bd.data(), step, xd.data(), w, gotd.data(), h), "d MultiMix D2", true);
                expectRows(zelsMahDistMultiMix_64f_D2L(rad.data(), rbd.data(), xd.data(), w, gotd.data(), h), "d MultiMix D2L", true);
            }
}

// ---- What sets the single forms apart ---------------------------------------------------

// 16s32s rounds where the frame member truncates (S / 4 = 2.75), and 2^31
// has no 32-bit form. Above 15 the one-row Low form shifts L by 15, the
// frame form by s (L = 130048). The one-row Low form shifts its groups of
// eight once and its later groups each: one vector, three results.
TEST(SingleVector, RoundingAndLowShiftsDifferFromTheFrameForms) {
    const int16_t x3[] = {1, 1, 3}, zero[20] = {}, ones[20] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    int32_t single = 0, frame[3] = {};
    EXPECT_EQ(zelsLogGaussSingle_16s32s_Sfs(x3, zero, ones, 3, &single, 0, 1), zelStsNoErr);
    EXPECT_EQ(zelsLogGauss_16s32s_D2Sfs(x3, 3, zero, ones, 3, frame, 1, 0, 1), zelStsNoErr);
    EXPECT_EQ(single, -3);
    EXPECT_EQ(frame[0], -2);
    EXPECT_EQ(zelsLogGaussSingle_IdVar_16s32s_Sfs(zero, zero, 4, &single, INT32_MAX, 0), zelStsNoErr);
    EXPECT_EQ(single, INT32_MIN);

    const int16_t x255[] = {255}, four[] = {4};
    zelsLogGaussSingle_Low_16s32s_Sfs(x255, zero, four, 1, &single, 0, 16);
    zelsLogGauss_Low_16s32s_D2Sfs(x255, 1, zero, four, 1, frame, 1, 0, 16);
    EXPECT_EQ(single, -3);
    EXPECT_EQ(frame[0], -1);

    int16_t x20[20] = {};
    x20[0] = x20[8] = x20[16] = 3;  // a pair L of 4 in lane 0 of each group, shifted by 3
    const int16_t* rows[] = {x20, x20, x20};
    zelsLogGaussSingle_Low_16s32s_Sfs(x20, zero, ones, 20, &single, 0, 3);
    zelsLogGauss_Low_16s32s_D2LSfs(rows, zero, ones, 20, frame, 3, 0, 3);
    EXPECT_EQ(single, -1);
    EXPECT_EQ(std::vector<int32_t>(frame, frame + 3), (std::vector<int32_t>{-2, -2, 0}));
}

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

// With all three vectors aligned the sum is a single with saturated
// differences, rounded, unscaled; otherwise exact and shifted right by s.
TEST(SingleVector, MahDistSingle16s32sDependsOnAlignment) {
    for (auto [sf, x0, m0, aligned, unaligned] : {std::tuple{3, 10, 0, 100, 12}, {0, 32767, -32768, 1073676288, INT32_MAX}})
        for (size_t offset : {0, 1}) {
            zt::Buf<int16_t> x(8, offset), m(8, offset), w(8, offset);
            x.fill(0), m.fill(0), w.fill(1), x[0] = int16_t(x0), m[0] = int16_t(m0);
            int32_t r = 0;
            EXPECT_EQ(zelsMahDistSingle_16s32s_Sfs(x.data(), m.data(), w.data(), 8, &r, sf), zelStsNoErr);
            EXPECT_EQ(r, offset ? unaligned : aligned) << "sf " << sf << " offset " << offset;
        }
}

// a - b / 2; in 32 bits the groups of four from the start round the half
// down, the last len % 4 elements round it up, and sums wrap.
TEST(SingleVector, OutProbPreCalcRoundsTheTailUp) {
    for (int len = 1; len <= 9; ++len) {
        std::vector<int32_t> a(len), b(len), d(len), i(len);
        std::vector<float> af(len), bf(len), df(len);
        for (int k = 0; k < len; ++k) a[k] = zt::uniformi(-1000, 1000), b[k] = k == len - 1 ? INT32_MAX : 2 * k + 1, af[k] = zt::uniform(-9, 9), bf[k] = zt::uniform(-9, 9);
        i = b;
        EXPECT_EQ(zelsOutProbPreCalc_32s(a.data(), b.data(), d.data(), len), zelStsNoErr);
        EXPECT_EQ(zelsOutProbPreCalc_32s_I(a.data(), i.data(), len), zelStsNoErr);
        EXPECT_EQ(zelsOutProbPreCalc_32f(af.data(), bf.data(), df.data(), len), zelStsNoErr);
        for (int k = 0; k < len; ++k) {
            const int32_t want = wrap(int64_t{a[k]} - (k < len - len % 4 ? b[k] >> 1 : wrap(int64_t{b[k]} + 1) >> 1));
            EXPECT_EQ(d[k], want) << "len " << len << " element " << k;
            EXPECT_EQ(i[k], want) << "len " << len << " element " << k;
            EXPECT_SAME_BITS(df[k], af[k] - bf[k] * 0.5f);
        }
    }
    const int32_t a[4] = {}, three[4] = {3, 3, 3, 3};
    int32_t d[4];
    zelsOutProbPreCalc_32s(a, three, d, 3);
    EXPECT_EQ(d[0], -2);
    zelsOutProbPreCalc_32s(a, three, d, 4);
    EXPECT_EQ(d[0], -1);
}

// ---- Argument checks ------------------------------------------------------------------------

// Null pointers first (each in turn, with len 0 too), then len below 1;
// D2 members test the step before everything. Nothing is written.
TEST(SingleVector, ChecksRunInOrderAndWriteNothing) {
    static double buf[16];
    using Run = ZelStatus (*)(int nullAt, int len, int step);
#define N(i, T) (nullAt == i ? nullptr : reinterpret_cast<T*>(buf))
#define ARGS3(T) N(0, const T), N(1, const T), N(2, const T), len
    const std::pair<int, Run> runs[] = {
        {4, [](int nullAt, int len, int) { return zelsLogGaussSingle_32f(ARGS3(Zel32f), N(3, Zel32f), 0); }},
        {4, [](int nullAt, int len, int) { return zelsLogGaussSingle_DirectVar_32f64f(ARGS3(Zel32f), N(3, Zel64f), 0); }},
        {4, [](int nullAt, int len, int) { return zelsLogGaussSingle_DirectVar_16s32s_Sfs(ARGS3(Zel16s), N(3, Zel32s), 0, 0); }},
        {3, [](int nullAt, int len, int) { return zelsLogGaussSingle_IdVarLowScaled_16s32f(N(0, const Zel16s), N(1, const Zel16s), len, N(2, Zel32f), 0, 0); }},
        {4, [](int nullAt, int len, int) { return zelsMahDistSingle_16s32s_Sfs(ARGS3(Zel16s), N(3, Zel32s), 0); }},
        {3, [](int nullAt, int len, int) { return zelsOutProbPreCalc_32s(N(0, const Zel32s), N(1, const Zel32s), N(2, Zel32s), len); }},
        {2, [](int nullAt, int len, int) { return zelsOutProbPreCalc_64f_I(N(0, const Zel64f), N(1, Zel64f), len); }},
        {4, [](int nullAt, int len, int step) { return zelsMahDist_32f_D2(N(0, const Zel32f), step, N(1, const Zel32f), N(2, const Zel32f), len, N(3, Zel32f), 1); }},
        {4, [](int nullAt, int len, int step) { return zelsMahDistMultiMix_64f_D2(N(0, const Zel64f), N(1, const Zel64f), step, N(2, const Zel64f), len, N(3, Zel64f), 1); }},
        {4, [](int nullAt, int len, int) { const Zel32f* rows[] = {reinterpret_cast<Zel32f*>(buf)}; return zelsMahDistMultiMix_32f_D2L(nullAt == 0 ? nullptr : rows, nullAt == 1 ? nullptr : rows, N(2, const Zel32f), len, N(3, Zel32f), 1); }},
    };
#undef N
#undef ARGS3
    for (size_t r = 0; r < std::size(runs); ++r) {
        auto [pointers, run] = runs[r];
        std::fill(std::begin(buf), std::end(buf), 7.0);
        for (int which = 0; which < pointers; ++which) {
            EXPECT_EQ(run(which, 4, 8), zelStsNullPtrErr) << "case " << r << " pointer " << which;
            EXPECT_EQ(run(which, 0, 8), zelStsNullPtrErr) << "case " << r << " pointer " << which;
        }
        for (int len : {0, -1}) EXPECT_EQ(run(-1, len, 8), zelStsSizeErr) << "case " << r;
        if (r >= 7 && r < 9) {
            EXPECT_EQ(run(0, 4, 3), zelStsStrideErr) << "case " << r;
        }
        EXPECT_TRUE(std::all_of(std::begin(buf), std::end(buf), [](double d) { return d == 7.0; })) << "case " << r;
    }
}

}  // namespace
