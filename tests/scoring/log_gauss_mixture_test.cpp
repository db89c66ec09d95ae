// SPDX-License-Identifier: Apache-2.0
// Mixture evaluation. Plain members against the block rule (the scores of
// the multi-mixture or single-vector members, folded by zelsLogSum in blocks
// of 100, a later block led by the running value), bit for bit around the
// block boundaries, aligned and not, in both layouts (IdVar_32f_D2 against
// its one-by-one fold). Select members against the fold of the path that
// their sizes choose, on data that tell the paths apart, with empty rows
// and stray padding bits. A mixture against long double. The checks.
#include <algorithm>

#include "common.hpp"
#include "scoring/log_domain.hpp"

namespace {

using zel::logd::Set32;
constexpr int kSf = 12;
constexpr float kNone = -777.0f;

// `rows` rows of `width` at a step whose gaps hold NaN (16 bits: a sentinel),
// a frame and a constant per row; off 16 bytes, rows contiguous, when not
// aligned. Scores lie near each other and near 0, so that folds of another
// order or other coefficients round to other bits. With `extreme`, frame and
// row 0 differ beyond 16 bits in column 0, saturating by which comes first.
template <class T>
struct Mixture {
    int width, rows, step;
    std::vector<T> buf;
    T *src, *mean, *var;
    std::vector<float> val32;
    std::vector<double> val64;
    std::vector<const T*> meanRows, varRows;

    Mixture(int w, int h, bool aligned, uint32_t seed, bool extreme = true)
        : width(w), rows(h), step(aligned ? (w + 8) / 8 * 8 : w) {
        std::mt19937 g(seed);
        constexpr bool kFloat = std::is_floating_point_v<T>;
        auto u = [&](double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(g); };
        buf.assign(size_t(3 * h + 2) * step + 16, kFloat ? T(NAN) : T(-12345));
        src = buf.data() + (16 - reinterpret_cast<uintptr_t>(buf.data()) % 16) % 16 / sizeof(T) + !aligned;
        mean = src + step + 8, var = mean + size_t(h) * step + 8;
        for (int j = 0; j < w; ++j) src[j] = T(kFloat ? u(-0.5, 0.5) : u(-20, 20));
        for (int y = 0; y < h; ++y) {
            T *m = mean + size_t(y) * step, *v = var + size_t(y) * step;
            meanRows.push_back(m), varRows.push_back(v);
            for (int j = 0; j < w; ++j) m[j] = T(kFloat ? u(-0.5, 0.5) : u(-20, 20)), v[j] = T(kFloat ? u(0.2, 2) : u(1, 8));
            val64.push_back(u(-3, 0)), val32.push_back(float(val64.back()));
        }
        if (!kFloat && w >= 8 && extreme) src[0] = T(32767), mean[0] = T(-32768);
    }
    const T** table(std::vector<const T*>& v) { return v.data(); }
};

// ---- Plain members --------------------------------------------------------------------

template <class F>
F logSum(const F* p, int n) {
    F r;
    if constexpr (sizeof(F) == 4) zelsLogSum_32f(p, &r, n, zelAlgHintNone);
    else zelsLogSum_64f(p, &r, n, zelAlgHintNone);
    return r;
}
template <class F>
F blockFold(const std::vector<F>& s) {
    F run = logSum(s.data(), std::min<int>(100, int(s.size())));
    for (size_t b = 100; b < s.size(); b += 100) {
        std::vector<F> blk{run};
        blk.insert(blk.end(), s.begin() + b, s.begin() + std::min(s.size(), b + 100));
        run = logSum(blk.data(), int(blk.size()));
    }
    return run;
}

// A member's D2 (t false) or D2L call, and its reference scores: a
// multi-mixture member on the constants, or a single-vector member per row.
template <class T, class F>
struct Plain {
    const char* name;
    ZelStatus (*run)(Mixture<T>&, bool t, F* r);
    void (*scores)(Mixture<T>&, F* s);
    F (*d2)(Mixture<T>&) = nullptr;  // a D2 result of another rule
};
#define WEIGHTED(fn, ...) [](Mixture<T>& m, bool t, auto* r) { return t ? \
    fn##_D2L(m.src, m.table(m.meanRows), m.table(m.varRows), m.rows, m.width, __VA_ARGS__) : \
    fn##_D2(m.src, m.mean, m.var, m.rows, m.step, m.width, __VA_ARGS__); }
#define IDVAR(fn, ...) [](Mixture<T>& m, bool t, auto* r) { return t ? \
    fn##_D2L(m.src, m.table(m.meanRows), m.rows, m.width, __VA_ARGS__) : \
    fn##_D2(m.src, m.mean, m.rows, m.step, m.width, __VA_ARGS__); }
#define MULTI(fn, ...) [](Mixture<T>& m, auto* s) { fn##_D2(m.mean, m.var, m.step, m.src, m.width, s, m.rows, ##__VA_ARGS__); }
#define SINGLE(fn, ...) [](Mixture<T>& m, auto* s) { \
    for (int y = 0; y < m.rows; ++y) fn(m.src, m.meanRows[y], m.width, &s[y], s[y], ##__VA_ARGS__); }

template <class T, class F>
void sweepPlain(std::initializer_list<Plain<T, F>> members, std::initializer_list<int> widths) {
    for (const auto& mb : members)
        for (int w : widths)
            for (int h : {1, 5, 100, 101, 205})
                for (bool al : {true, false}) {
                    Mixture<T> m(w, h, al, uint32_t(w * 1000 + h));
                    std::vector<F> s(m.val64.begin(), m.val64.end());
                    mb.scores(m, s.data());
                    for (bool table : {false, true}) {
                        F got = F(-1);
                        ASSERT_EQ(mb.run(m, table, &got), zelStsNoErr);
                        EXPECT_SAME_BITS(got, table || !mb.d2 ? blockFold(s) : mb.d2(m))
                            << mb.name << (table ? "_D2L" : "_D2") << " w" << w << " h" << h << (al ? "" : " unaligned");
                    }
                }
}

// IdVar_32f_D2 alone folds its scores, S summed column by column, one by
// one by the scalar fold in double of the single set.
float oneByOne(Mixture<float>& m) {
    float r = 0;
    for (int y = 0; y < m.rows; ++y) {
        float q = 0;
        for (int j = 0; j < m.width; ++j) q += (m.src[j] - m.meanRows[y][j]) * (m.src[j] - m.meanRows[y][j]);
        const double a = (2 * m.val32[y] - q) * 0.5f, b = r, top = std::max(a, b), d = -std::fabs(a - b);
        const int g = d > -2.55 ? 0 : d > -6.8 ? 1 : 2;
        const double x = d - Set32::kShift[g], *c = Set32::kPoly[g];
        double p = c[10];
        for (int k = 9; k >= 1; --k) p = p * x + c[k];
        r = float(y == 0 ? a : d < Set32::kCut ? std::max(top, -4500000.0) : (top + c[0]) + x * p);
    }
    return r;
}

TEST(LogGaussMixture, PlainMembersFoldTheirScoresInBlocksOf100) {
    {
        using T = float;
        sweepPlain<T, float>({{"32f", WEIGHTED(zelsLogGaussMixture_32f, m.val32.data(), r), MULTI(zelsLogGaussMultiMix_32f)},
                              {"IdVar_32f", IDVAR(zelsLogGaussMixture_IdVar_32f, m.val32.data(), r),
                               SINGLE(zelsLogGaussSingle_IdVar_32f), oneByOne}},
                             {1, 3, 4, 5, 39});
    }
    {
        using T = double;
        sweepPlain<T, double>({{"64f", WEIGHTED(zelsLogGaussMixture_64f, m.val64.data(), r), MULTI(zelsLogGaussMultiMix_64f)},
                               {"IdVar_64f", IDVAR(zelsLogGaussMixture_IdVar_64f, m.val64.data(), r),
                                SINGLE(zelsLogGaussSingle_IdVar_64f)}},
                              {1, 2, 9});
    }
    using T = int16_t;
    sweepPlain<T, float>({{"Scaled", WEIGHTED(zelsLogGaussMixture_Scaled_16s32f, m.val32.data(), r, kSf),
                           MULTI(zelsLogGaussMultiMix_Scaled_16s32f, kSf)},
                          {"LowScaled", WEIGHTED(zelsLogGaussMixture_LowScaled_16s32f, m.val32.data(), r, kSf),
                           MULTI(zelsLogGaussMultiMix_LowScaled_16s32f, kSf)},
                          {"IdVarScaled", IDVAR(zelsLogGaussMixture_IdVarScaled_16s32f, m.val32.data(), r, kSf),
                           SINGLE(zelsLogGaussSingle_IdVarScaled_16s32f, kSf)},
                          {"IdVarLowScaled", IDVAR(zelsLogGaussMixture_IdVarLowScaled_16s32f, m.val32.data(), r, kSf),
                           SINGLE(zelsLogGaussSingle_IdVarLowScaled_16s32f, kSf)}},
                         {7, 8, 17});
}

// ---- Select members -------------------------------------------------------------

enum Path { kGeneral, kSmall, kLarge };

// A frame's scores, in order of the Gaussian, folded as a path folds them:
// the accurate log-add in order; the fast lane-order log-sum; on the small
// table from 4 to 7 scores, two lanes (pairs lane by lane, lane 1 into
// lane 0, an odd last score after).
float foldBy(Path p, std::vector<float> s) {
    const int n = int(s.size());
    float a[4] = {s[0], n > 1 ? s[1] : 0, s[0], n > 1 ? s[1] : 0};
    auto fold = [&](std::vector<float> b, int hint) { zelsLogAdd_32f(b.data(), a, int(b.size()), hint); };
    if (p == kGeneral)
        for (int i = 1; i < n; ++i) fold({s[i]}, zelAlgHintNone);
    if (p == kGeneral) return a[0];
    if (p == kLarge || n < 4 || n >= 8) return logSum(s.data(), n);
    int i = 2;
    for (; i + 2 <= n; i += 2) fold({s[i], s[i + 1], s[i], s[i + 1]}, zelAlgHintFast);
    fold({a[1], a[1], a[1], a[1]}, zelAlgHintFast);
    if (i < n) fold({s[i]}, zelAlgHintFast);
    return a[0];
}

struct Select {
    const char* name;
    bool idVar, table;
};

// Frames x (its rows) against the Gaussians of m, at one step; the
// reference scores by the single-vector member of the same suffixes.
template <class T>
ZelStatus callSelect(const Select& s, Mixture<T>& x, Mixture<T>& m, const uint8_t* sel, int nG, float* dst) {
    const T **xr = x.table(x.meanRows), **mr = m.table(m.meanRows), **vr = m.table(m.varRows);
    const float* v = m.val32.data();
    const int w = m.width, st = m.step, h = x.rows;
    if constexpr (sizeof(T) == 4) {
        if (s.idVar) return s.table ? zelsLogGaussMixture_SelectIdVar_32f_D2L(xr, mr, w, v, sel, nG, dst, h, kNone)
                                    : zelsLogGaussMixture_SelectIdVar_32f_D2(x.mean, m.mean, st, w, v, sel, nG, dst, h, kNone);
        return s.table ? zelsLogGaussMixture_Select_32f_D2L(xr, mr, vr, w, v, sel, nG, dst, h, kNone)
                       : zelsLogGaussMixture_Select_32f_D2(x.mean, m.mean, m.var, st, w, v, sel, nG, dst, h, kNone);
    } else {
        if (s.idVar) return s.table ? zelsLogGaussMixture_SelectIdVarScaled_16s32f_D2L(xr, mr, w, v, sel, nG, dst, h, kNone, kSf)
                                    : zelsLogGaussMixture_SelectIdVarScaled_16s32f_D2(x.mean, m.mean, st, w, v, sel, nG, dst, h, kNone, kSf);
        return s.table ? zelsLogGaussMixture_SelectScaled_16s32f_D2L(xr, mr, vr, w, v, sel, nG, dst, h, kNone, kSf)
                       : zelsLogGaussMixture_SelectScaled_16s32f_D2(x.mean, m.mean, m.var, st, w, v, sel, nG, dst, h, kNone, kSf);
    }
}
template <class T>
float singleScore(bool idVar, const T* x, const T* mu, const T* iv, int w, float v) {
    float r;
    if constexpr (sizeof(T) == 4) idVar ? zelsLogGaussSingle_IdVar_32f(x, mu, w, &r, v) : zelsLogGaussSingle_32f(x, mu, iv, w, &r, v);
    else idVar ? zelsLogGaussSingle_IdVarScaled_16s32f(x, mu, w, &r, v, kSf) : zelsLogGaussSingle_Scaled_16s32f(x, mu, iv, w, &r, v, kSf);
    return r;
}

// Frame f selects {all, 5, 0, 6, 1, 3, 9}[f % 7] Gaussians at random places;
// a frame of one selects the last Gaussian. The bits past nGauss in a row's
// last byte are set, and must be ignored.
std::vector<uint8_t> selection(int nGauss, int h, uint32_t seed) {
    std::mt19937 g(seed);
    const int bytes = (nGauss + 7) / 8, counts[] = {nGauss, 5, 0, 6, 1, 3, 9};
    std::vector<uint8_t> sel(size_t(h) * bytes, 0);
    std::vector<int> idx(nGauss);
    for (int f = 0; f < h; ++f) {
        for (int i = 0; i < nGauss; ++i) idx[i] = (i + nGauss - 1) % nGauss;
        if (counts[f % 7] != 1) std::shuffle(idx.begin(), idx.end(), g);
        for (int i = 0; i < std::min(nGauss, counts[f % 7]); ++i) sel[f * bytes + idx[i] / 8] |= 0x80 >> idx[i] % 8;
        sel[f * bytes + bytes - 1] |= 0xFF >> (nGauss - (bytes - 1) * 8);
    }
    return sel;
}

// Every frame against the fold of the path `want`, bit for bit, where the
// data tell that path from the others (small from large only with frames
// enough). Frame 4, of the last Gaussian alone, differs from it beyond 16
// bits in column 0, so its score shows the order of the difference.
template <class T>
void checkSelect(const Select& s, int nGauss, int h, Path want, int width) {
    for (bool al : {true, false}) {
        Mixture<T> m(width, nGauss, al, uint32_t(nGauss * 31 + h), false), x(width, h, al, uint32_t(h * 17), false);
        if (sizeof(T) == 2 && width >= 8 && h > 4) m.mean[(nGauss - 1) * m.step] = T(-32768), x.mean[4 * x.step] = T(32767);
        const auto sel = selection(nGauss, h, uint32_t(nGauss + h));
        std::vector<float> dst(h + 1, 123.0f);
        ASSERT_EQ(callSelect(s, x, m, sel.data(), nGauss, dst.data()), zelStsNoErr);
        int differs[3] = {};
        for (int f = 0; f < h; ++f) {
            std::vector<float> sc;
            for (int g = 0; g < nGauss; ++g)
                if (sel[f * ((nGauss + 7) / 8) + g / 8] & (0x80 >> g % 8))
                    sc.push_back(singleScore(s.idVar, x.meanRows[f], m.meanRows[g], m.varRows[g], width, m.val32[g]));
            const float ref = sc.empty() ? kNone : foldBy(want, sc);
            EXPECT_SAME_BITS(dst[f], ref) << s.name << " nGauss " << nGauss << " h " << h << " frame " << f;
            for (Path p : {kGeneral, kSmall, kLarge}) differs[p] += !sc.empty() && zt::bits(foldBy(p, sc)) != zt::bits(ref);
        }
        EXPECT_EQ(dst[h], 123.0f);
        for (Path p : {kGeneral, kSmall, kLarge})
            if (p != want && (p == kGeneral || want == kGeneral || h >= 19)) {
                EXPECT_GT(differs[p], 0) << s.name << " nGauss " << nGauss << " h " << h;
            }
    }
}

TEST(LogGaussMixture, SelectPathsAtTheirSizeBoundaries) {
    struct Case {
        int nGauss, h;
        Path p32, p16;
    };
    for (const Case& c : {Case{8, 14, kGeneral, kGeneral}, Case{9, 14, kSmall, kSmall}, Case{9, 1, kGeneral, kGeneral},
                          Case{9, 2, kSmall, kSmall}, Case{20, 19, kSmall, kSmall}, Case{20, 20, kSmall, kLarge},
                          Case{20, 21, kLarge, kLarge}, Case{21, 2, kLarge, kLarge}, Case{32, 40, kLarge, kLarge},
                          // Frames of the large table go four, then two, then one at a time.
                          Case{32, 23, kLarge, kLarge}}) {
        for (int w : {3, 39}) checkSelect<float>({"Select_32f_D2", false, false}, c.nGauss, c.h, c.p32, w);
        checkSelect<int16_t>({"SelectScaled_16s32f_D2", false, false}, c.nGauss, c.h, c.p16, 15);
    }
    for (int n : {9, 32})
        for (const Select& s : {Select{"SelectIdVar_D2", true, false}, Select{"Select_D2L", false, true},
                                Select{"SelectIdVar_D2L", true, true}}) {
            checkSelect<float>(s, n, 20, kGeneral, 9);
            checkSelect<int16_t>(s, n, 20, kGeneral, 9);
        }
}

// ---- A mixture of meaning -----------------------------------------------------------

// Random 32-component, 39-dimensional diagonal mixtures (weights exp of the
// random constants, normalised) of overlapping components, so that a result
// depends on many of them. The fast fold of the single-precision scores
// stays within 31 times the polynomial error and the roundings of one fold
// (its single-precision evaluation, a few units in the last place of a
// correction below 0.7, and its sum) of their log-sum in long double; that
// log-sum lies within the largest score's rounding error of the exact one.
TEST(LogGaussMixture, AgreesWithLongDoubleLogLikelihood) {
    constexpr int kG = 32, kD = 39;
    const long double u = ldexpl(1, -24);
    for (uint32_t seed = 1; seed <= 50; ++seed) {
        Mixture<float> m(kD, kG, true, seed);
        long double exact[kG], ofScores[kG], scoreErr = 0, wsum = 0;
        for (int y = 0; y < kG; ++y) wsum += expl(m.val64[y]);
        for (int y = 0; y < kG; ++y) {
            long double logDet = 0, s = 0;
            for (int j = 0; j < kD; ++j) {
                const long double d = (long double)m.src[j] - m.meanRows[y][j];
                s += d * d * m.varRows[y][j], logDet += logl(m.varRows[y][j]);
            }
            m.val32[y] = float(m.val64[y] - logl(wsum) - (kD * logl(2 * 3.14159265358979323846L) - logDet) / 2);
            exact[y] = m.val32[y] - s / 2, ofScores[y] = m.val32[y];
            scoreErr = std::max(scoreErr, (kD + 5) * u * (s / 2 + fabsl(m.val32[y])));  // 3 roundings a term, kD + 2 more
        }
        std::vector<float> score(m.val32);
        ASSERT_EQ(zelsLogGaussMultiMix_32f_D2(m.mean, m.var, m.step, m.src, kD, score.data(), kG), 0);
        std::copy(score.begin(), score.end(), ofScores);
        auto lse = [](const long double* v) {
            const long double top = *std::max_element(v, v + kG);
            long double sum = 0;
            for (int y = 0; y < kG; ++y) sum += expl(v[y] - top);
            return top + logl(sum);
        };
        float got = 0;
        ASSERT_EQ(zelsLogGaussMixture_32f_D2(m.src, m.mean, m.var, kG, m.step, kD, m.val32.data(), &got), 0);
        EXPECT_LE(fabsl(got - lse(ofScores)), (kG - 1) * (5e-9 + 4 * u + u * (fabsl(lse(ofScores)) + 1))) << seed;
        EXPECT_LE(fabsl(lse(ofScores) - lse(exact)), scoreErr) << seed;
    }
}

// ---- Checks -----------------------------------------------------------------------------

// Each family's order (of two faults the first is reported), and nothing written.
TEST(LogGaussMixture, ChecksInOrderWriteNothing) {
    Mixture<float> m(8, 4, true, 1, false);
    const auto sel = selection(4, 4, 1);
    const float* v = m.val32.data();
    float r = 5.0f, dst[4] = {5, 5, 5, 5};
    std::vector<const float*> ok = m.meanRows, hole = ok;
    hole[3] = nullptr;
    auto plain = [&](const float* x, int h, int step, int w) { return zelsLogGaussMixture_32f_D2(x, m.mean, m.var, h, step, w, v, &r); };
    auto select = [&](const uint8_t* s, int nG, int step) {
        return zelsLogGaussMixture_Select_32f_D2(m.mean, m.mean, m.var, step, 8, v, s, nG, dst, 4, kNone);
    };
    auto selectL = [&](auto& x, auto& mu, auto& iv, int h) {
        return zelsLogGaussMixture_Select_32f_D2L(x.data(), mu.data(), iv.data(), 8, v, sel.data(), 4, dst, h, kNone);
    };
    const ZelStatus got[] = {
        plain(nullptr, 4, 7, 8), plain(m.src, 0, 7, 8), plain(m.src, 0, 8, 8), plain(m.src, 4, 0, 0),
        zelsLogGaussMixture_IdVar_32f_D2L(m.src, nullptr, 0, 8, v, &r), zelsLogGaussMixture_IdVar_32f_D2L(m.src, ok.data(), 0, 8, v, &r),
        select(nullptr, 0, 7), select(sel.data(), 0, 7), select(sel.data(), 4, 7),
        selectL(hole, ok, ok, 4), selectL(ok, hole, ok, 4), selectL(ok, ok, hole, 4), selectL(hole, hole, hole, 0),
        zelsLogGaussMixture_SelectIdVar_32f_D2L(hole.data(), ok.data(), 8, v, sel.data(), 4, dst, 4, kNone)};
    const ZelStatus want[] = {  // plain: pointers, step, sizes; Select: pointers, sizes, step or every row pointer
        zelStsNullPtrErr, zelStsStrideErr, zelStsSizeErr, zelStsSizeErr, zelStsNullPtrErr, zelStsSizeErr,
        zelStsNullPtrErr, zelStsSizeErr, zelStsStrideErr, zelStsNullPtrErr, zelStsNullPtrErr, zelStsNullPtrErr,
        zelStsSizeErr, zelStsNullPtrErr};
    for (size_t i = 0; i < std::size(want); ++i) EXPECT_EQ(got[i], want[i]) << "case " << i;
    EXPECT_EQ(r, 5.0f);
    for (float d : dst) EXPECT_EQ(d, 5.0f);
}

}  // namespace
