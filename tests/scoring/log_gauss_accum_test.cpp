// SPDX-License-Identifier: Apache-2.0
// Accumulating (zelsLogGaussMax, zelsLogGaussAdd) and multi-mixture scoring.
// Every member against a reference, bit for bit, over the widths and heights
// where a path changes (short rows, blocks of 128 and 100, the 1000-row rule
// of the double members), aligned and not, in both layouts. A reference is
// the row's score, then the family's rule: keep the larger (in single
// precision for 32-bit results), store, or fold by the log-add. Float sums
// are written out here; the 16-bit sums come from the frame-scoring members,
// which have their own bit-exact tests, called on the row itself, so that a
// multi-mixture row is scored with its mean as the frame. Then hand-made
// cases for the rules that a sweep cannot show by itself, and the checks.
#include <float.h>
#include <stdint.h>

#include <algorithm>

#include "common.hpp"
#include "scoring/log_domain.hpp"
#include "scoring/reference.hpp"

namespace {

using zel::logd::Set32;
constexpr float kInf = INFINITY;

// ---- Plain references ----------------------------------------------------------

template <class T> T twice(T negS, double k) { return (negS + T(k) * 2) * T(0.5); }
template <class T> T plusHalf(T negS, double k) { return negS * T(0.5) + T(k); }

// The short loop below width 4: the terms come off 2 * k in column order.
float shortScore(const float* x, const float* m, const float* v, int w, float k) {
    float r = 2 * k;
    for (int j = 0; j < w; ++j) r -= v ? (x[j] - m[j]) * (x[j] - m[j]) * v[j] : (x[j] - m[j]) * (x[j] - m[j]);
    return r * 0.5f;
}

// The double members from 1000 rows: 2k with the even columns on one sum,
// the odd columns on another, then the last column of an odd width.
double pairs64(const double* x, const double* m, const double* v, int w, double k) {
    auto term = [&](int j) { return (x[j] - m[j]) * (x[j] - m[j]) * v[j]; };
    double a = 2 * k, b = 0;
    for (int j = 0; j + 2 <= w; j += 2) a -= term(j), b -= term(j + 1);
    return (w % 2 ? (a + b) - term(w - 1) : a + b) * 0.5;
}

// The scalar fold of the short path: double, the single set's thresholds
// and coefficients by plain Horner's rule, (M + c0) + x * Q(x), to single.
float shortFold(float score, float old) {
    const double a = score, b = old, d = -std::fabs(a - b), m = std::max(a, b);
    if (std::isnan(d)) return float(a + b);
    if (d < Set32::kCut) return float(std::max(m, -4500000.0));
    const int g = d > -2.55 ? 0 : d > -6.8 ? 1 : 2;
    const double x = d - Set32::kShift[g], *c = Set32::kPoly[g];
    double q = c[10];
    for (int r = 9; r >= 1; --r) q = q * x + c[r];
    return float((m + c[0]) + x * q);
}

template <class O>
uint64_t bitsOf(O v) {
    if constexpr (std::is_integral_v<O>) return uint32_t(v); else return zt::bits(v);
}
// The 32-bit Max members' clamp; a NaN score never wins.
float clampScore(float g) { return std::isnan(g) ? -2147483648.0f : std::clamp(g, -2147483648.0f, 2147483648.0f); }

// ---- Problems --------------------------------------------------------------------

// n elements from a 16-byte boundary, or one element past it, with nothing
// behind them, so that the sanitizer build sees a read beyond.
template <class T>
struct Vec {
    std::vector<T> buf;
    T* p;
    Vec(size_t n, bool aligned) : buf(n + !aligned), p(buf.data() + !aligned) {}
};

// height rows of width in a D2 block, with `gap` between the rows, and as a
// D2L table into it. A step that breaks the 16-byte pitch goes with a base
// that is off it too.
template <class T>
struct Mat {
    int step;
    Vec<T> block;
    std::vector<const T*> rows;
    template <class Gen>
    Mat(int w, int h, bool aligned, T gap, Gen gen)
        : step(aligned ? (w + 7) / 8 * 8 + (h % 3 == 0 ? 8 : 0) : w + h % 2), block(size_t(h - 1) * step + w, aligned) {
        for (int y = 0; y < h; ++y) {
            rows.push_back(block.p + size_t(y) * step);
            for (int j = 0; j < (y + 1 < h ? step : w); ++j) block.p[size_t(y) * step + j] = j < w ? gen() : gap;
        }
    }
    const T** table() const { return rows.empty() ? nullptr : const_cast<const T**>(rows.data()); }
};

// Frames and one Gaussian (x, m, v), or mean rows, the frame and variance
// rows (x, m, var).
template <class T>
struct Problem {
    int w, h;
    bool multi, al;
    Mat<T> x, var;
    Vec<T> m, v;
    template <class Gen, class GenVar>
    Problem(int w_, int h_, bool multi_, bool al_, T gap, Gen gen, GenVar genVar)
        : w(w_), h(h_), multi(multi_), al(al_), x(w, h, al_, gap, gen), var(w, h, al_, gap, genVar), m(w, al_), v(w, al_) {
        std::generate_n(m.p, w, gen), std::generate_n(v.p, w, genVar);
    }
    const T* W(int y, bool idVar) const { return idVar ? nullptr : multi ? var.rows[y] : v.p; }
};

// ---- Members ---------------------------------------------------------------------

enum Fam { kMax, kAdd, kMix, kMixMax, kMixAdd };
enum Kind { F32, F64, S32 };
// What becomes of the score: stored; kept where greater (in single precision
// for 32-bit results; KeepLow as integers from scale factor 0 on); folded by
// the accurate log-add (FoldShort: by the scalar fold in D2 below width 4;
// FoldHorner: by the double Horner fold in D2L from 1000 rows).
enum Rule { kStore, kKeep, kKeepLow, kFold, kFoldShort, kFoldHorner };

template <class T>
struct Row {
    const Problem<T>& p;
    int y;
    double k;  // the constant term: val, the old pSrcDst[y] or pVal[y]
    int sf;
    bool d2, idVar;
    const T* X() const { return p.x.rows[y]; }
    const T* W() const { return p.W(y, idVar); }
    // -S on the lanes of the data's kernel (4 singles or 2 doubles).
    T neg() const { return zt::negSum<T, sizeof(T) == 4 ? 4 : 2, sizeof(T) == 4 ? 4 : 2>(X(), p.m.p, W(), p.w); }
};
struct Out {
    void* dst;
    const void* pVal;
    double val;
    int sf;
};
template <class T>
struct Member {
    const char* name;
    Fam fam;
    Kind dst;
    bool d2, idVar;
    Rule rule;
    double (*score)(const Row<T>&);
    ZelStatus (*run)(const Problem<T>&, const Out&);
};

// A 16-bit row's score by a frame-scoring member, on the row alone if it is
// the last of an odd height and else on two copies of it, as the Low kernels
// pair rows.
enum Frame16 { kScaled, kIdVarScaled, kLowScaled, kIdVarLowScaled, k16s32s, kLow, kIdVarLow };
double frame16(Frame16 f, const Row<int16_t>& r, double k) {
    const int16_t* rows[2] = {r.X(), r.X()};
    const int16_t *x = r.p.m.p, *v = r.p.W(r.y, false);
    const int n = r.p.h % 2 && r.y == r.p.h - 1 ? 1 : 2, w = r.p.w;
    float f32[2];
    int32_t i32[2];
    switch (f) {
    case kScaled: zelsLogGauss_Scaled_16s32f_D2L(rows, x, v, w, f32, n, float(k), r.sf); return f32[0];
    case kIdVarScaled: zelsLogGauss_IdVarScaled_16s32f_D2L(rows, x, w, f32, n, float(k), r.sf); return f32[0];
    case kLowScaled: zelsLogGauss_LowScaled_16s32f_D2L(rows, x, v, w, f32, n, float(k), r.sf); return f32[0];
    case kIdVarLowScaled: zelsLogGauss_IdVarLowScaled_16s32f_D2L(rows, x, w, f32, n, float(k), r.sf); return f32[0];
    case k16s32s: zelsLogGauss_16s32s_D2LSfs(rows, x, v, w, i32, n, int32_t(k), r.sf); return i32[0];
    case kLow: zelsLogGauss_Low_16s32s_D2LSfs(rows, x, v, w, i32, n, int32_t(k), r.sf); return i32[0];
    case kIdVarLow: zelsLogGauss_IdVarLow_16s32s_D2LSfs(rows, x, w, i32, n, int32_t(k), r.sf); return i32[0];
    }
    return 0;
}

#define S(expr) [](const auto& r) -> double { return expr; }
#define TO(O) static_cast<O*>(o.dst)
#define VAL(O) static_cast<const O*>(o.pVal)
#define K(O) static_cast<O>(o.val)
// The D2 and D2L frame member of one name, with the arguments behind the mean.
#define FRAME(fam, name, sfx, dst, idVar, rule, score, ...)                                                            \
    {"zelsLogGauss" #fam "_" #name "_D2" #sfx, k##fam, dst, true, idVar, rule, score, [](const auto& p, const Out& o) { \
         return zelsLogGauss##fam##_##name##_D2##sfx(p.x.block.p, p.x.step, p.m.p, __VA_ARGS__); }},                  \
    {"zelsLogGauss" #fam "_" #name "_D2L" #sfx, k##fam, dst, false, idVar, rule, score, [](const auto& p, const Out& o) { \
         return zelsLogGauss##fam##_##name##_D2L##sfx(p.x.table(), p.m.p, __VA_ARGS__); }}
// The D2 and D2L multi-mixture member, with the arguments behind the width.
#define MULTI(fam, name, sfx, dst, rule, score, ...)                                                                  \
    {"zelsLogGauss" #fam "MultiMix_" #name "_D2" #sfx, kMix##fam, dst, true, false, rule, score,                     \
     [](const auto& p, const Out& o) {                                                                                \
         return zelsLogGauss##fam##MultiMix_##name##_D2##sfx(p.x.block.p, p.var.block.p, p.x.step, p.m.p, p.w, __VA_ARGS__); }}, \
    {"zelsLogGauss" #fam "MultiMix_" #name "_D2L" #sfx, kMix##fam, dst, false, false, rule, score,                   \
     [](const auto& p, const Out& o) {                                                                                \
         return zelsLogGauss##fam##MultiMix_##name##_D2L##sfx(p.x.table(), p.var.table(), p.m.p, p.w, __VA_ARGS__); }}

#define F(O) p.w, TO(O), p.h, K(O)
#define G(O) TO(O), p.h
#define GV(O) VAL(O), TO(O), p.h

const Member<float> kF32[] = {
    FRAME(Max, 32f, , F32, false, kKeep, S(twice(r.neg(), r.k)), p.v.p, F(float)),
    FRAME(Max, IdVar_32f, , F32, true, kKeep, S(twice(r.neg(), r.k)), F(float)),
    FRAME(Add, 32f, , F32, false, kFoldShort,
          S(r.d2 && r.p.w < 4 ? shortScore(r.X(), r.p.m.p, r.W(), r.p.w, float(r.k)) : twice(r.neg(), r.k)), p.v.p, F(float)),
    FRAME(Add, IdVar_32f, , F32, true, kFoldShort,
          S(r.d2 && r.p.w < 4 ? shortScore(r.X(), r.p.m.p, r.W(), r.p.w, float(r.k)) : twice(r.neg(), r.k)), F(float)),
    MULTI(, 32f, , F32, kStore, S(plusHalf(r.neg(), r.k)), G(float)),
    MULTI(Max, 32f, , F32, kKeep, S(plusHalf(r.neg(), r.k)), GV(float)),
    MULTI(Add, 32f, , F32, kFold, S(plusHalf(r.neg(), r.k)), GV(float)),
};

#define PAIRS pairs64(r.X(), r.p.m.p, r.W(), r.p.w, r.k)
#define MIX64 S(r.p.h >= 1000 ? PAIRS : twice(r.neg(), r.k))
const Member<double> kF64[] = {
    FRAME(Max, 64f, , F64, false, kKeep, S(plusHalf(r.neg(), r.k)), p.v.p, F(double)),
    FRAME(Max, IdVar_64f, , F64, true, kKeep, S(plusHalf(r.neg(), r.k)), F(double)),
    FRAME(Add, 64f, , F64, false, kFold, S(r.d2 ? plusHalf(r.neg(), r.k) : twice(r.neg(), r.k)), p.v.p, F(double)),
    FRAME(Add, IdVar_64f, , F64, true, kFold, S(r.d2 ? plusHalf(r.neg(), r.k) : twice(r.neg(), r.k)), F(double)),
    MULTI(, 64f, , F64, kStore, MIX64, G(double)),
    MULTI(Max, 64f, , F64, kKeep, MIX64, GV(double)),
    MULTI(Add, 64f, , F64, kFoldHorner, S(!r.d2 && r.p.h >= 1000 ? PAIRS : twice(r.neg(), r.k)), GV(double)),
};

#define SCALED_PLUS(expr) S(clampScore(float(frame16(kScaled, r, 0)) + float(int32_t(expr))))
const Member<int16_t> kS16[] = {
    FRAME(Max, 16s32s, Sfs, S32, false, kKeep, SCALED_PLUS(r.k), p.v.p, F(int32_t), o.sf),
    FRAME(Max, IdVar_16s32s, Sfs, S32, true, kKeep, S(clampScore(float(frame16(kIdVarScaled, r, 0))) + float(int32_t(r.k))),
          F(int32_t), o.sf),
    FRAME(Max, Low_16s32s, Sfs, S32, false, kKeep,
          S(r.sf < 0 ? frame16(kLowScaled, r, float(int32_t(r.k))) : float(frame16(kLow, r, r.k))), p.v.p, F(int32_t), o.sf),
    FRAME(Max, IdVarLow_16s32s, Sfs, S32, true, kKeep, S(float(frame16(kIdVarLow, r, r.k))), F(int32_t), o.sf),
    FRAME(Max, Scaled_16s32f, , F32, false, kKeep, S(frame16(kScaled, r, r.k)), p.v.p, F(float), o.sf),
    FRAME(Max, LowScaled_16s32f, , F32, false, kKeep, S(frame16(kLowScaled, r, r.k)), p.v.p, F(float), o.sf),
    FRAME(Max, IdVarScaled_16s32f, , F32, true, kKeep, S(frame16(kIdVarScaled, r, r.k)), F(float), o.sf),
    FRAME(Max, IdVarLowScaled_16s32f, , F32, true, kKeep, S(frame16(kIdVarLowScaled, r, r.k)), F(float), o.sf),
    FRAME(Add, Scaled_16s32f, , F32, false, kFold, S(frame16(kScaled, r, r.k)), p.v.p, F(float), o.sf),
    FRAME(Add, LowScaled_16s32f, , F32, false, kFold, S(frame16(kLowScaled, r, r.k)), p.v.p, F(float), o.sf),
    FRAME(Add, IdVarScaled_16s32f, , F32, true, kFold, S(frame16(kIdVarScaled, r, r.k)), F(float), o.sf),
    FRAME(Add, IdVarLowScaled_16s32f, , F32, true, kFold, S(frame16(kIdVarLowScaled, r, r.k)), F(float), o.sf),
    MULTI(, 16s32s, Sfs, S32, kStore, S(frame16(k16s32s, r, r.k)), G(int32_t), o.sf),
    MULTI(, Low_16s32s, Sfs, S32, kStore, S(frame16(kLow, r, r.k)), G(int32_t), o.sf),
    MULTI(, Scaled_16s32f, , F32, kStore, S(frame16(kScaled, r, r.k)), G(float), o.sf),
    MULTI(, LowScaled_16s32f, , F32, kStore, S(frame16(kLowScaled, r, r.k)), G(float), o.sf),
    MULTI(Max, 16s32s, Sfs, S32, kKeep, SCALED_PLUS(r.k), GV(int32_t), o.sf),
    MULTI(Max, Low_16s32s, Sfs, S32, kKeepLow,
          S(r.sf < 0 ? frame16(kLowScaled, r, float(int32_t(r.k))) : frame16(kLow, r, r.k)), GV(int32_t), o.sf),
    MULTI(Max, Scaled_16s32f, , F32, kKeep, S(frame16(kScaled, r, r.k)), GV(float), o.sf),
    MULTI(Max, LowScaled_16s32f, , F32, kKeep, S(frame16(kLowScaled, r, r.k)), GV(float), o.sf),
    MULTI(Add, Scaled_16s32f, , F32, kFold, S(frame16(kScaled, r, r.k)), GV(float), o.sf),
    MULTI(Add, LowScaled_16s32f, , F32, kFold, S(frame16(kLowScaled, r, r.k)), GV(float), o.sf),
};

// ---- The sweep ----------------------------------------------------------------------

// Running values near the scores, so that both sides of a comparison and
// every regime of the log-add occur, with the floor, infinities and NaN
// among them; 32-bit running values have more than 24 significant bits.
template <class O>
O runningValue(double score, int y) {
    if constexpr (std::is_same_v<O, int32_t>) {
        if (y % 5 == 4 || !std::isfinite(score)) return zt::uniformi(INT32_MIN, INT32_MAX);
        return int32_t(std::clamp(score, -2e9, 2e9)) + zt::uniformi(-3, 3);
    } else {
        const O special[] = {O(std::is_same_v<O, float> ? -4500000.0 : -1e10), -O(kInf), O(kInf), O(NAN)};
        return y % 7 == 3 ? special[y / 7 % 4] : std::isfinite(score) ? O(score + zt::uniformd(-20, 20)) : O(-30);
    }
}

template <class T, class O>
void check(const Member<T>& mb, const Problem<T>& p, int sf, int& failures) {
    const int h = p.h;
    std::vector<O> old(h), want(h), scores(h);
    Vec<O> pVal(h, p.al);
    const double val = zt::uniformd(-50, 50);
    for (int y = 0; y < h; ++y) {
        if (mb.fam == kMix) old[y] = runningValue<O>(zt::uniformd(-60, 20), y);
        pVal.p[y] = runningValue<O>(zt::uniformd(-60, 20), y + 1);
        const double k = mb.fam == kMix ? double(old[y]) : mb.fam == kMax || mb.fam == kAdd ? val : double(pVal.p[y]);
        const double g = mb.score({p, y, k, sf, mb.d2, mb.idVar});
        if (mb.fam != kMix) old[y] = runningValue<O>(g, y);
        scores[y] = mb.dst != S32 || mb.rule == kStore || (mb.rule == kKeepLow && sf >= 0) ? O(g) : O(0);
        if constexpr (std::is_same_v<O, int32_t>)
            want[y] = mb.rule == kKeepLow && sf >= 0 ? std::max(scores[y], old[y])
                                                      : zt::cvtt(float(g) > float(old[y]) ? float(g) : float(old[y]));
        else
            want[y] = scores[y] > old[y] ? scores[y] : old[y];
    }
    if (mb.rule == kStore) want = scores;
    if (mb.rule >= kFold) {
        want = old;
        if constexpr (std::is_same_v<O, float>) {
            if (mb.rule == kFoldShort && mb.d2 && p.w < 4) std::transform(scores.begin(), scores.end(), old.begin(), want.begin(), shortFold);
            else ownLogAdd_32f_Accurate(scores.data(), want.data(), h);
        } else if constexpr (std::is_same_v<O, double>) {
            if (mb.rule == kFoldHorner && !mb.d2 && h >= 1000) zelsLogAdd_64f(scores.data(), want.data(), h, zelAlgHintNone);
            else ownLogAdd_64f(scores.data(), want.data(), h);
        }
    }
    std::vector<O> dst(old);
    dst.push_back(O(77));
    const std::vector<O> pValBefore(pVal.p, pVal.p + h);
    ASSERT_EQ(mb.run(p, {dst.data(), pVal.p, val, sf}), zelStsNoErr) << mb.name;
    EXPECT_TRUE(std::equal(pValBefore.begin(), pValBefore.end(), pVal.p, [](O a, O b) { return bitsOf(a) == bitsOf(b); }));
    EXPECT_EQ(dst[h], O(77)) << mb.name;
    for (int y = 0; y < h; ++y)
        if (bitsOf(dst[y]) != bitsOf(want[y]) && ++failures <= 8)
            ADD_FAILURE() << mb.name << " width " << p.w << " height " << h << " sf " << sf << " row " << y << ": got "
                          << dst[y] << ", want " << want[y] << " (score " << scores[y] << ", old " << old[y] << ")";
}

template <class T, size_t N, class Gen, class GenVar>
void sweep(const Member<T> (&members)[N], const std::vector<int>& sfs, T gap, Gen gen, GenVar genVar) {
    int failures = 0;
    for (bool al : {true, false})
        for (int h : {1, 2, 3, 5, 8, 99, 100, 101, 127, 128, 129, 999, 1000, 1001})
            for (int w : h < 10 ? std::vector<int>{1, 2, 3, 4, 5, 7, 8, 9, 16, 17, 39} : std::vector<int>{3, 8, 39}) {
                const Problem<T> frames(w, h, false, al, gap, gen, genVar), gaussians(w, h, true, al, gap, gen, genVar);
                for (const Member<T>& mb : members)
                    for (int sf : sfs) {
                        const Problem<T>& p = mb.fam >= kMix ? gaussians : frames;
                        if (mb.dst == F32) check<T, float>(mb, p, sf, failures);
                        if (mb.dst == F64) check<T, double>(mb, p, sf, failures);
                        if (mb.dst == S32) check<T, int32_t>(mb, p, sf, failures);
                    }
            }
    EXPECT_EQ(failures, 0);
}

TEST(LogGaussAccum, FloatMembersMatchTheReferenceBitForBit) {
    sweep(kF32, {0}, NAN, [] { return zt::uniform(-4, 4); }, [] { return zt::uniform(0.05f, 3); });
    sweep(kF64, {0}, double(NAN), [] { return zt::uniformd(-4, 4); }, [] { return zt::uniformd(0.05, 3); });
}

// Small values keep scores in range; full-range values saturate, wrap and
// overflow. Scale factors: the clamped c (-200 gives c = +inf), the scale
// rule's float path, both Low shift regimes, and k = 31.
TEST(LogGaussAccum, SixteenBitMembersMatchTheReferenceBitForBit) {
    const std::vector<int> sfs{-200, -1, 0, 1, 16, 30};
    sweep(kS16, sfs, int16_t(INT16_MIN), [] { return int16_t(zt::uniformi(-150, 150)); }, [] { return int16_t(zt::uniformi(-20, 200)); });
    sweep(kS16, sfs, int16_t(INT16_MIN), [] { return int16_t(zt::uniformi(-32768, 32767)); }, [] { return int16_t(zt::uniformi(-32768, 32767)); });
}

// ---- Hand-made cases -----------------------------------------------------------------

// A running 32-bit score goes through single precision in the Max members
// and in MaxMultiMix_Low below scale factor 0, so 16777217 becomes 16777216
// though it wins; MaxMultiMix_Low from 0 on compares integers and keeps it.
TEST(LogGaussAccum, RunningIntegersRoundThroughSinglePrecision) {
    const int16_t x[8] = {4}, zero[8] = {}, one[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    const int32_t low = -100;
    for (int sf : {-1, 0}) {
        int32_t a = 16777217, b = 16777217, c = 16777217;
        EXPECT_EQ(zelsLogGaussMax_16s32s_D2Sfs(x, 8, zero, one, 8, &a, 1, low, sf), zelStsNoErr);
        EXPECT_EQ(zelsLogGaussMaxMultiMix_Low_16s32s_D2Sfs(x, one, 8, zero, 8, &low, &b, 1, sf), zelStsNoErr);
        EXPECT_EQ(zelsLogGaussMaxMultiMix_16s32s_D2Sfs(x, one, 8, zero, 8, &low, &c, 1, sf), zelStsNoErr);
        EXPECT_EQ(a, 16777216);
        EXPECT_EQ(b, sf < 0 ? 16777216 : 16777217);
        EXPECT_EQ(c, 16777216);
    }
}

// T * c = -inf (s = -129 makes c = 2^128): IdVar_16s32s clamps it to -2^31
// before val = 2^31 - 1 (2^31 as a single) is added and wins with 0;
// 16s32s clamps after val and keeps the running score.
TEST(LogGaussAccum, IdVarClampsBeforeTheConstant) {
    const int16_t x[1] = {1}, zero[1] = {}, one[1] = {1};
    int32_t a = -5, b = -5;
    EXPECT_EQ(zelsLogGaussMax_IdVar_16s32s_D2Sfs(x, 1, zero, 1, &a, 1, INT32_MAX, -130), zelStsNoErr);
    EXPECT_EQ(zelsLogGaussMax_16s32s_D2Sfs(x, 1, zero, one, 1, &b, 1, INT32_MAX, -130), zelStsNoErr);
    EXPECT_EQ(a, 0);
    EXPECT_EQ(b, -5);
}

// In a group of eight, mean minus frame saturates with the sign of the mean:
// 32767 - (-32768) clips to 32767, -32768 - 32767 to -32768. In the tail
// the difference is exact.
TEST(LogGaussAccum, MultiMixSaturatesMeanMinusFrame) {
    for (int w : {8, 7})
        for (int16_t s : {-32768, 32767}) {
            int16_t mean[8] = {}, src[8] = {}, one[8] = {1, 1, 1, 1, 1, 1, 1, 1};
            mean[0] = int16_t(-1 - s), src[0] = s;
            float dst = 0;
            EXPECT_EQ(zelsLogGaussMultiMix_Scaled_16s32f_D2(mean, one, 8, src, w, &dst, 1, -1), zelStsNoErr);
            EXPECT_EQ(dst, w == 7 ? -4294836224.0f : s < 0 ? -1073676288.0f : -1073741824.0f) << w << " " << s;
        }
}

// The log-add at the floor and at infinity, on the blocked and the short
// path; equal values gain 0.6931471827215062, rounded once.
TEST(LogGaussAccum, AddFromTheFloorAndInfinity) {
    const float x[4] = {1, 2, 3, 4}, mean[4] = {1, 2, 3, 4}, one[4] = {1, 1, 1, 1};
    const float* rows[1] = {x};
    for (int w : {3, 4})
        for (auto [old, want] : {std::pair{-4500000.0f, -10.0f}, {-kInf, -10.0f}, {kInf, kInf}, {-10.0f, float(-10.0 + 0.6931471827215062)}}) {
            float a = old, b = old;
            EXPECT_EQ(zelsLogGaussAdd_32f_D2(x, 4, mean, one, w, &a, 1, -10), zelStsNoErr);
            EXPECT_EQ(zelsLogGaussAdd_32f_D2L(rows, mean, one, w, &b, 1, -10), zelStsNoErr);
            EXPECT_EQ(a, want) << w << " " << old;
            EXPECT_EQ(b, want) << w << " " << old;
        }
}

// Forms with 2 * k overflow at the largest constant, forms with -S * 0.5 + k
// don't: the 32f frame members and the 64f D2L Add twin, and the 64f
// multi-mixture members; not the 32f multi-mixture or the other 64f members.
TEST(LogGaussAccum, TwiceTheConstantOverflowsOnlyWhereItIsFormed) {
    const float x[4] = {1, 1, 1, 1}, *rows[1] = {x};
    const double xd[4] = {1, 1, 1, 1}, *rowsd[1] = {xd};
    float f[3] = {-kInf, -kInf, FLT_MAX};
    double d[5] = {-kInf, -kInf, -kInf, -kInf, DBL_MAX};
    EXPECT_EQ(zelsLogGaussMax_32f_D2(x, 4, x, x, 4, &f[0], 1, FLT_MAX), zelStsNoErr);
    EXPECT_EQ(zelsLogGaussAdd_32f_D2L(rows, x, x, 4, &f[1], 1, FLT_MAX), zelStsNoErr);
    EXPECT_EQ(zelsLogGaussMultiMix_32f_D2(x, x, 4, x, 4, &f[2], 1), zelStsNoErr);
    EXPECT_EQ(zelsLogGaussMax_64f_D2L(rowsd, xd, xd, 4, &d[0], 1, DBL_MAX), zelStsNoErr);
    EXPECT_EQ(zelsLogGaussAdd_64f_D2(xd, 4, xd, xd, 4, &d[1], 1, DBL_MAX), zelStsNoErr);
    EXPECT_EQ(zelsLogGaussAdd_64f_D2L(rowsd, xd, xd, 4, &d[2], 1, DBL_MAX), zelStsNoErr);
    EXPECT_EQ(zelsLogGaussMaxMultiMix_64f_D2L(rowsd, rowsd, xd, 4, &d[4], &d[3], 1), zelStsNoErr);
    EXPECT_EQ(zelsLogGaussMultiMix_64f_D2(xd, xd, 4, xd, 4, &d[4], 1), zelStsNoErr);
    for (float v : {f[0], f[1]}) EXPECT_EQ(v, kInf);
    EXPECT_EQ(f[2], FLT_MAX);
    for (double v : {d[0], d[1]}) EXPECT_EQ(v, DBL_MAX);
    for (double v : {d[2], d[3], d[4]}) EXPECT_EQ(v, double(kInf));
}

// Two Gaussians in turn from the floor give the log-sum of their densities.
TEST(LogGaussAccum, AddingTwoGaussiansGivesTheirLogSum) {
    float x[39 * 3] = {}, m1[39] = {}, m2[39], v[39], dst[3] = {-4500000, -4500000, -4500000};
    const float* rows[3] = {x, x + 39, x + 78};
    std::fill(m2, m2 + 39, 0.1f), std::fill(v, v + 39, 1.0f);
    EXPECT_EQ(zelsLogGaussAdd_32f_D2L(rows, m1, v, 39, dst, 3, -3), zelStsNoErr);
    EXPECT_EQ(zelsLogGaussAdd_32f_D2(x, 39, m2, v, 39, dst, 3, -2), zelStsNoErr);
    for (float d : dst) EXPECT_NEAR(d, std::log(std::exp(-3.0) + std::exp(-2.0 - 0.5 * 39 * 0.01)), 1e-6);
}

// ---- Argument checks ---------------------------------------------------------------------

// D2: the step first (even with null pointers), then each pointer (pVal
// included), then the sizes; D2L starts with the pointers. Nothing is
// written on an error.
template <class T, size_t N>
void checkOrder(const Member<T> (&members)[N]) {
    for (const Member<T>& mb : members) {
        uint64_t dst[4] = {7, 7, 7, 7}, pVal[4] = {};
        auto run = [&](int which, int step, int w, int h) {
            Problem<T> q(4, 2, mb.fam >= kMix, true, T(0), [] { return T(1); }, [] { return T(1); });
            if (which == 0) q.x.block.p = nullptr, q.x.rows.clear();
            if (which == 1) q.m.p = nullptr;
            if (which == 2) q.v.p = nullptr, q.var.block.p = nullptr, q.var.rows.clear();
            q.x.step = step, q.w = w, q.h = h;
            return mb.run(q, {which == 3 ? nullptr : dst, which == 4 ? nullptr : pVal, 0, 0});
        };
        if (mb.d2) {
            EXPECT_EQ(run(0, 3, 4, 0), zelStsStrideErr) << mb.name;
        }
        for (int which = 0; which < 5; ++which) {
            if ((which == 2 && mb.idVar) || (which == 4 && mb.fam != kMixMax && mb.fam != kMixAdd)) continue;
            EXPECT_EQ(run(which, 8, 0, 0), zelStsNullPtrErr) << mb.name << " pointer " << which;
        }
        for (auto [w, h] : {std::pair{0, 1}, {1, 0}, {4, -1}, {-3, 2}})
            EXPECT_EQ(run(-1, 8, w, h), zelStsSizeErr) << mb.name << " " << w << "x" << h;
        EXPECT_EQ(dst[0], 7u) << mb.name;
        EXPECT_EQ(run(-1, 4, 4, 2), zelStsNoErr) << mb.name << ": step equal to width";
        EXPECT_EQ(dst[3], 7u) << mb.name;
    }
}

TEST(LogGaussAccum, ChecksRunInOrderAndWriteNothing) {
    checkOrder(kF32);
    checkOrder(kF64);
    checkOrder(kS16);
}

}  // namespace
