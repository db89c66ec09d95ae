// Mixture evaluation. Plain members against the block rule (the scores of
// the multi-mixture or single-vector members, folded by zelsLogSum in blocks
// of 100, a later block led by the running value), bit for bit around the
// block boundaries, aligned and not, in both layouts; IdVar_32f_D2 against
// its one-by-one fold written out here. Select members against the fold of
// the path that their sizes choose, with data that tell the paths apart,
// empty rows and stray padding bits. A mixture against long double. Checks.
#include <algorithm>

#include "common.hpp"
#include "scoring/log_domain.hpp"

namespace {

using zel::logd::Set32;
constexpr int kSf = 12;
constexpr float kNone = -777.0f;

// `rows` rows of `width` at a step whose gaps hold NaN (16 bits: a sentinel),
// a frame and one constant per row; off 16 bytes, with contiguous rows,
// when not aligned. Scores lie near each other and near 0, so that folds
// of other orders or coefficients round to other bits. With `extreme`, the
// frame and row 0 differ beyond 16 bits in column 0, where the saturation
// depends on which of the two comes first.
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
        auto u = [&](double lo, double hi) { return T(std::uniform_real_distribution<double>(lo, hi)(g)); };
        const size_t n = size_t(h) * step;
        buf.assign(3 * n + 2 * step + 16, kFloat ? T(NAN) : T(-12345));
        src = buf.data() + (16 - reinterpret_cast<uintptr_t>(buf.data()) % 16) % 16 / sizeof(T) + !aligned;
        mean = src + step + 8, var = mean + n + 8;
        for (int j = 0; j < w; ++j) src[j] = kFloat ? u(-0.5, 0.5) : u(-20, 20);
        for (int y = 0; y < h; ++y) {
            T *m = mean + size_t(y) * step, *v = var + size_t(y) * step;
            meanRows.push_back(m), varRows.push_back(v);
            for (int j = 0; j < w; ++j) m[j] = kFloat ? u(-0.5, 0.5) : u(-20, 20), v[j] = kFloat ? u(0.2, 2) : u(1, 8);
            val64.push_back(std::uniform_real_distribution<double>(-3, 0)(g)), val32.push_back(float(val64.back()));
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
// multi-mixture member on a copy of the constants, or a single-vector
// member row by row.
template <class T, class F>
struct Plain {
    const char* name;
    ZelStatus (*run)(Mixture<T>&, bool t, F* r);
    void (*scores)(Mixture<T>&, F* s);
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
                    std::vector<F> s(h);
                    for (int y = 0; y < h; ++y) s[y] = F(m.val64[y]);
                    mb.scores(m, s.data());
                    for (bool table : {false, true}) {
                        F got = F(-1);
                        ASSERT_EQ(mb.run(m, table, &got), zelStsNoErr);
                        EXPECT_SAME_BITS(got, blockFold(s))
                            << mb.name << (table ? "_D2L" : "_D2") << " w" << w << " h" << h << (al ? "" : " unaligned");
                    }
                }
}

TEST(LogGaussMixture, PlainMembersFoldTheirScoresInBlocksOf100) {
    {
        using T = float;
        sweepPlain<T, float>({{"32f", WEIGHTED(zelsLogGaussMixture_32f, m.val32.data(), r),
                               MULTI(zelsLogGaussMultiMix_32f)}},
                             {1, 3, 4, 9, 39});
    }
    {
        using T = double;
        sweepPlain<T, double>({{"64f", WEIGHTED(zelsLogGaussMixture_64f, m.val64.data(), r),
                                MULTI(zelsLogGaussMultiMix_64f)},
                               {"IdVar_64f", IDVAR(zelsLogGaussMixture_IdVar_64f, m.val64.data(), r),
                                SINGLE(zelsLogGaussSingle_IdVar_64f)}},
                              {1, 2, 9});
    }
    {
        using T = int16_t;
        sweepPlain<T, float>(
            {{"Scaled", WEIGHTED(zelsLogGaussMixture_Scaled_16s32f, m.val32.data(), r, kSf),
              MULTI(zelsLogGaussMultiMix_Scaled_16s32f, kSf)},
             {"LowScaled", WEIGHTED(zelsLogGaussMixture_LowScaled_16s32f, m.val32.data(), r, kSf),
              MULTI(zelsLogGaussMultiMix_LowScaled_16s32f, kSf)},
             {"IdVarScaled", IDVAR(zelsLogGaussMixture_IdVarScaled_16s32f, m.val32.data(), r, kSf),
              SINGLE(zelsLogGaussSingle_IdVarScaled_16s32f, kSf)},
             {"IdVarLowScaled", IDVAR(zelsLogGaussMixture_IdVarLowScaled_16s32f, m.val32.data(), r, kSf),
              SINGLE(zelsLogGaussSingle_IdVarLowScaled_16s32f, kSf)}},
            {7, 8, 17});
    }
}

// The scalar fold in double of the single set, rounded to single.
float hornerFold(float a, float b) {
    const double m = std::max<double>(a, b), d = -std::fabs(double(a) - double(b));
    if (!(d >= Set32::kCut)) return float(std::max(m, -4500000.0));
    const int g = d > -2.55 ? 0 : d > -6.8 ? 1 : 2;
    const double x = d - Set32::kShift[g], *c = Set32::kPoly[g];
    double q = c[10];
    for (int r = 9; r >= 1; --r) q = q * x + c[r];
    return float((m + c[0]) + x * q);
}

// IdVar_32f_D2 folds its scores one by one in double; its D2L twin in blocks.
TEST(LogGaussMixture, IdVar32fFoldsOneByOneInD2AndInBlocksInD2L) {
    for (int w : {1, 3, 5, 39})
        for (int h : {1, 2, 7, 101})
            for (bool al : {true, false}) {
                Mixture<float> m(w, h, al, uint32_t(w + h));
                std::vector<float> s(m.val32);
                float want = 0, got = 0, gotL = 0;
                for (int y = 0; y < h; ++y) {
                    float q = 0;
                    for (int j = 0; j < w; ++j) q += (m.src[j] - m.meanRows[y][j]) * (m.src[j] - m.meanRows[y][j]);
                    const float g = (2 * m.val32[y] - q) * 0.5f;
                    want = y == 0 ? g : hornerFold(g, want);
                    zelsLogGaussSingle_IdVar_32f(m.src, m.meanRows[y], w, &s[y], s[y]);
                }
                ASSERT_EQ(zelsLogGaussMixture_IdVar_32f_D2(m.src, m.mean, h, m.step, w, m.val32.data(), &got), 0);
                ASSERT_EQ(zelsLogGaussMixture_IdVar_32f_D2L(m.src, m.table(m.meanRows), h, w, m.val32.data(), &gotL), 0);
                EXPECT_SAME_BITS(got, want) << "w" << w << " h" << h;
                EXPECT_SAME_BITS(gotL, blockFold(s)) << "w" << w << " h" << h;
            }
}

// ---- Select members -------------------------------------------------------------

enum Path { kGeneral, kSmall, kLarge };

// The fold of each path over a frame's scores in order of the Gaussian: the
// accurate log-add in order; the fast lane-order log-sum; or on the small
// table, from 4 to 7 scores, two lanes (pairs lane by lane, lane 1 into
// lane 0, an odd last score in order).
float foldBy(Path p, std::vector<float> s) {
    const int n = int(s.size());
    float r = s[0];
    if (p == kGeneral) {
        for (int i = 1; i < n; ++i) zelsLogAdd_32f(&s[i], &r, 1, zelAlgHintNone);
        return r;
    }
    if (p == kLarge || n < 4 || n >= 8) return logSum(s.data(), n);
    auto fast = [](float* a, std::vector<float> b) { zelsLogAdd_32f(b.data(), a, int(b.size()), zelAlgHintFast); };
    float a[4] = {s[0], s[1], s[0], s[1]};
    int i = 2;
    for (; i + 2 <= n; i += 2) fast(a, {s[i], s[i + 1], s[i], s[i + 1]});
    fast(a, {a[1], a[1], a[1], a[1]});
    if (i < n) fast(a, {s[i]});
    return a[0];
}

struct Select {
    const char* name;
    bool idVar, table;
};

// Frames x against Gaussians m, at one step.
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

// Every frame against the fold of the path `want`, bit for bit; and the
// data must tell that path from the others (small from large only where
// there are frames enough). Frame 4, of one Gaussian, differs from it
// beyond 16 bits in column 0, so its score shows the order of the difference.
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
                          Case{20, 21, kLarge, kLarge}, Case{21, 2, kLarge, kLarge}, Case{32, 40, kLarge, kLarge}}) {
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

// A random 32-component, 39-dimensional diagonal mixture of overlapping
// components, and frames drawn from it. The scores are those of the multi-mixture kernel in single precision;
// the fast fold of 31 of them stays within the polynomial error and the
// single-precision rounding of each fold (its evaluation and its sum) of
// their log-sum in long double. The log-sum of the scores moves from the
// exact one by no more than the largest score's rounding error.
TEST(LogGaussMixture, AgreesWithLongDoubleLogLikelihood) {
    constexpr int kG = 32, kD = 39;
    std::mt19937 g(2024);
    // Components that overlap, so that the log-sum depends on many of them.
    std::normal_distribution<float> normal, spread(0.0f, 0.2f);
    std::uniform_real_distribution<float> u(0.3f, 3.0f), iv(0.8f, 1.25f);
    std::vector<float> mean(kG * kD), ivar(kG * kD), val(kG), x(kD), score(kG);
    long double wsum = 0, w[kG];
    for (int y = 0; y < kG; ++y) wsum += w[y] = u(g);
    for (int y = 0; y < kG; ++y) {
        long double logDet = 0;
        for (int j = 0; j < kD; ++j) mean[y * kD + j] = spread(g), ivar[y * kD + j] = iv(g), logDet += logl(ivar[y * kD + j]);
        val[y] = float(logl(w[y] / wsum) - 0.5L * (kD * logl(2 * 3.14159265358979323846L) - logDet));
    }
    const double u24 = std::ldexp(1.0, -24);
    for (int frame = 0; frame < 50; ++frame) {
        const int c = frame % kG;
        for (int j = 0; j < kD; ++j) x[j] = mean[c * kD + j] + normal(g) / std::sqrt(ivar[c * kD + j]);
        long double exact[kG], ofScores[kG], top = -INFINITY, scoreErr = 0;
        score = val;
        ASSERT_EQ(zelsLogGaussMultiMix_32f_D2(mean.data(), ivar.data(), kD, x.data(), kD, score.data(), kG), 0);
        for (int y = 0; y < kG; ++y) {
            long double s = 0, mag = 0;
            for (int j = 0; j < kD; ++j) {
                const long double d = (long double)x[j] - mean[y * kD + j], t = d * d * ivar[y * kD + j];
                s += t, mag += t;
            }
            exact[y] = val[y] - s / 2, ofScores[y] = score[y];
            // Each term is three roundings, the sum of kD terms kD more, the half and the constant two.
            scoreErr = std::max<long double>(scoreErr, (kD + 5) * u24 * (mag / 2 + fabsl(val[y])));
            top = std::max(top, exact[y]);
        }
        auto lse = [&](const long double* v) {
            const long double m = *std::max_element(v, v + kG);
            long double sum = 0;
            for (int y = 0; y < kG; ++y) sum += expl(v[y] - m);
            return m + logl(sum);
        };
        float got = 0;
        ASSERT_EQ(zelsLogGaussMixture_32f_D2(x.data(), mean.data(), ivar.data(), kG, kD, kD, val.data(), &got), 0);
        // Per fold: the polynomial's 5e-9, its single-precision evaluation (a
        // few units in the last place of a correction below 0.7), and the
        // rounding of the sum to single at the result's magnitude.
        const double perFold = 5e-9 + 4 * u24 + u24 * (fabsl(lse(ofScores)) + 1);
        EXPECT_LE(fabsl(got - lse(ofScores)), (kG - 1) * perFold) << frame;
        EXPECT_LE(fabsl(lse(ofScores) - lse(exact)), scoreErr) << frame;
        EXPECT_LE(fabsl(got - lse(exact)), (kG - 1) * perFold + scoreErr) << frame;
    }
}

// ---- Checks -----------------------------------------------------------------------------

// Each family's order: a case with two faults reports the first; and an
// error writes nothing.
TEST(LogGaussMixture, ChecksInOrderWriteNothing) {
    Mixture<float> m(8, 4, true, 1, false);
    const auto sel = selection(4, 4, 1);
    const float* v = m.val32.data();
    float r = 5.0f, dst[4] = {5, 5, 5, 5};
    auto plain = [&](const float* src, int h, int step, int w) {
        return zelsLogGaussMixture_32f_D2(src, m.mean, m.var, h, step, w, v, &r);
    };
    auto plainL = [&](const float** mean, int h) {
        return zelsLogGaussMixture_IdVar_32f_D2L(m.src, mean, h, 8, v, &r);
    };
    auto select = [&](const uint8_t* s, int nGauss, int step) {
        return zelsLogGaussMixture_Select_32f_D2(m.mean, m.mean, m.var, step, 8, v, s, nGauss, dst, 4, kNone);
    };
    std::vector<const float*> ok = m.meanRows, hole = ok;
    hole[3] = nullptr;
    auto selectL = [&](std::vector<const float*>& f, std::vector<const float*>& mu, std::vector<const float*>& iv, int h) {
        return zelsLogGaussMixture_Select_32f_D2L(f.data(), mu.data(), iv.data(), 8, v, sel.data(), 4, dst, h, kNone);
    };
    const struct {
        ZelStatus got, want;
    } cases[] = {
        {plain(nullptr, 4, 7, 8), zelStsNullPtrErr},  // pointers before the step
        {plain(m.src, 0, 7, 8), zelStsStrideErr},     // the step before the sizes
        {plain(m.src, 0, 8, 8), zelStsSizeErr},
        {plain(m.src, 4, 0, 0), zelStsSizeErr},
        {plainL(nullptr, 0), zelStsNullPtrErr},
        {plainL(m.table(m.meanRows), 0), zelStsSizeErr},
        {select(nullptr, 0, 7), zelStsNullPtrErr},  // pointers, sizes, then the step
        {select(sel.data(), 0, 7), zelStsSizeErr},
        {select(sel.data(), 4, 7), zelStsStrideErr},
        {selectL(hole, ok, ok, 4), zelStsNullPtrErr},  // every row pointer, after the sizes
        {selectL(ok, hole, ok, 4), zelStsNullPtrErr},
        {selectL(ok, ok, hole, 4), zelStsNullPtrErr},
        {selectL(hole, hole, hole, 0), zelStsSizeErr},
        {zelsLogGaussMixture_SelectIdVar_32f_D2L(hole.data(), ok.data(), 8, v, sel.data(), 4, dst, 4, kNone),
         zelStsNullPtrErr},
    };
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].got, cases[i].want) << "case " << i;
    EXPECT_EQ(r, 5.0f);
    for (float d : dst) EXPECT_EQ(d, 5.0f);
}

}  // namespace
