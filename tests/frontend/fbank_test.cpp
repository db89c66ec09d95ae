// SPDX-License-Identifier: Apache-2.0
// Filter banks: banks against a bank computed independently in double
// precision, evaluation against the fixed grouping of its sums, the
// magnitude path against the toolkit's FFT bit for bit, fixed-point
// shifts, saturation and wrap, the Q30 bank, check orders, wrong kinds and
// the memory that an in-place builder may use.
#include <math.h>

#include <algorithm>
#include <functional>
#include <memory>

#include "common.hpp"
#include "frame/toolkit.h"
#include "frontend/fbank.hpp"

namespace {

using std::vector;

struct MelCase {
    int winSize;
    float fs, low, high;
    int nFilter;
    float melMul, melDiv;
    double mel(double f) const { return melMul * log(1.0 + f / melDiv); }
    double hz(double m) const { return melDiv * (exp(m / melMul) - 1.0); }
    int fftLen() const { return zel::fbank::fftSizeOf(winSize).len; }
};
const MelCase kMelCases[] = {
    {400, 16000, 64, 8000, 23, 2595, 700},  {256, 8000, 100, 3800, 20, 1127, 700},
    {1024, 44100, 30, 22050, 40, 2595, 700}, {3, 16000, 1, 8000, 1, 1000, 1000},
    {200, 11025, 300, 300, 5, 2595, 700},  // an empty frequency range: all centres equal
};
const MelCase kSpeech{400, 16000, 64, 8000, 23, 2595, 700};

// What one weight should be: exactly `value`, or within rounding of it, where
// rounding grows as the mel spacing of its filter shrinks.
struct Want {
    double value;
    double spacing = 0;  // 0: exact
};

// Line weights, exactly as single-precision or truncated Q14 quotients.
Want line(int num, int w, bool q14) {
    return {q14 ? double((int64_t(num) << 14) / w) / 16384 : double(float(num) / float(w))};
}

// Element j of the rising or falling run of filter i in a bank of straight lines.
Want lineAt(int i, bool rising, int j, const vector<Zel32s>& c, bool q14) {
    if (rising) return line(j + 1, c[i] - c[i - 1] + 1, q14);
    return line(c[i + 1] - c[i] - j, c[i + 1] - c[i] + 1, q14);
}

// The allocating mel builders on a case.
template <class S, class Builder>
ZelStatus build(Builder builder, S** pp, const MelCase& k, int mode, int* order) {
    return builder(pp, order, k.winSize, k.fs, k.low, k.high, k.nFilter, k.melMul, k.melDiv, mode);
}

using WantFn = std::function<Want(int i, bool rising, int j, const vector<Zel32s>& c)>;

// Reads every filter of a bank through its accessors and compares centres
// (exactly, unless the exact position lies within rounding of a decision)
// and weights with a reference.
template <class S, class Get, class GetC>
void checkBank(const S* b, Get get, GetC getCentres, const vector<double>& pos, bool nearest, double melTop,
               bool q14, const WantFn& want) {
    const int n = int(pos.size()) - 2;
    vector<Zel32s> c(n + 2);
    ASSERT_EQ(getCentres(b, c.data()), zelStsNoErr);
    for (int i = 0; i < n + 2; ++i) {
        const double edge = nearest ? floor(pos[i]) + 0.5 : nearbyint(pos[i]);
        if (fabs(pos[i] - edge) > 1e-4 * std::max(1.0, pos[i])) {
            EXPECT_EQ(c[i], nearest ? nearbyint(pos[i]) : trunc(pos[i])) << "centre " << i << " at " << pos[i];
        }
    }
    vector<float> w(2 * (c[n + 1] - c[0]) + 4);
    for (int i = 1; i <= n; ++i) {
        ASSERT_EQ(get(b, i, w.data()), zelStsNoErr);
        const int nl = c[i] - c[i - 1] + 1, nr = c[i + 1] - c[i];
        for (int j = 0; j < nl + nr; ++j) {
            const Want t = want(i, j < nl, j < nl ? j : j - nl, c);
            if (t.spacing == 0) {
                EXPECT_EQ(w[j], t.value) << "filter " << i << ", element " << j;
            } else {
                // Single-precision mel values carry about 2^-24 of the largest one each.
                const double tol =
                    16 * ldexp(melTop, -24) / fabs(t.spacing) + ldexp(1.0, -22) + (q14 ? 1.0 / 16384 : 0);
                EXPECT_NEAR(w[j], t.value, tol) << "filter " << i << ", element " << j;
            }
        }
    }
}

// The fixed grouping of one filter's sum: left element 0 first, then
// runs in blocks of eight into accumulator t, the rest into accumulator 0.
float modelFilter(const float* x, const Zel32s* c, int i, const float* w) {
    float a[8] = {};
    a[0] += w[0] * x[c[i - 1]];
    auto run = [&](const float* xs, const float* ws, int len) {
        int j = 0;
        for (; j + 8 <= len; j += 8)
            for (int t = 0; t < 8; ++t) a[t] += xs[j + t] * ws[j + t];
        for (; j < len; ++j) a[0] += xs[j] * ws[j];
    };
    run(x + c[i - 1] + 1, w + 1, c[i] - c[i - 1]);
    run(x + c[i] + 1, w + c[i] - c[i - 1] + 1, c[i + 1] - c[i]);
    return ((a[0] + a[4]) + (a[2] + a[6])) + ((a[1] + a[5]) + (a[3] + a[7]));
}

TEST(FBankScale, ConversionsWithinHalfAnUlpOfExactAndChecked) {
    vector<float> f(300), m(300), back(300);
    for (size_t i = 0; i < f.size(); ++i) f[i] = float(i * i) * 0.37f;
    ASSERT_EQ(zelsLinearToMel_32f(f.data(), m.data(), 300, 2595.0f, 700.0f), zelStsNoErr);
    ASSERT_EQ(zelsMelToLinear_32f(m.data(), back.data(), 300, 2595.0f, 700.0f), zelStsNoErr);
    auto ulp = [](long double v) { return v == 0 ? 1e-45L : ldexpl(1.0L, ilogbl(v) - 23); };
    for (size_t i = 0; i < f.size(); ++i) {
        const long double wantMel = 2595.0L * logl(1.0L + (long double)f[i] / 700.0L);
        const long double wantHz = 700.0L * (expl((long double)m[i] / 2595.0L) - 1.0L);
        EXPECT_LE(fabsl(m[i] - wantMel), 0.51L * ulp(wantMel)) << f[i];
        EXPECT_LE(fabsl(back[i] - wantHz), 0.51L * ulp(wantHz)) << m[i];
    }
    float x = 1.0f, y = -7.0f;
    EXPECT_EQ(zelsLinearToMel_32f(nullptr, &y, 0, 0.0f, 0.0f), zelStsNullPtrErr);
    EXPECT_EQ(zelsMelToLinear_32f(&x, &y, 1, 1.0f, -1.0f), zelStsSizeErr);
    EXPECT_EQ(y, -7.0f);
    EXPECT_EQ(zelsLinearToMel_32f(&x, &y, 1, NAN, 1.0f), zelStsNoErr);  // NaN is not "not above 0"
}

TEST(FBankBuild, MelBanksMatchDoublePrecisionInEveryFormAndMode) {
    for (const MelCase& k : kMelCases) {
        for (int mode : {1, 2, 5, 6}) {
            SCOPED_TRACE(testing::Message() << "winSize " << k.winSize << " nFilter " << k.nFilter << " mode " << mode);
            const int n = k.nFilter, fftLen = k.fftLen();
            const bool bin = mode & zelFBankBinWeights;
            const double lo = k.mel(k.low), hi = k.mel(k.high);
            vector<double> m(n + 2), pos(n + 2);
            for (int i = 0; i < n + 2; ++i) {
                m[i] = lo + i * (hi - lo) / (n + 1);
                pos[i] = fftLen * k.hz(m[i]) / k.fs;
            }
            auto want = [&](bool q14) -> WantFn {
                return [&, q14](int i, bool rising, int j, const vector<Zel32s>& c) -> Want {
                    if (bin) return lineAt(i, rising, j, c, q14);
                    if (rising && j == 0) return {0.0};
                    const double d = rising ? m[i] - m[i - 1] : m[i + 1] - m[i];
                    if (rising) return {(k.mel((c[i - 1] + j) * k.fs / fftLen) - m[i - 1]) / d, d};
                    return {(m[i + 1] - k.mel((c[i] + 1 + j) * k.fs / fftLen)) / d, d};
                };
            };
            int order = 0;
            ZelFBankState_32f* f = nullptr;
            ZelFBankState_16s* s = nullptr;
            ASSERT_EQ(build(zelsMelFBankInitAlloc_32f, &f, k, mode, &order), zelStsNoErr);
            EXPECT_EQ(1 << order, fftLen);
            ASSERT_EQ(build(zelsMelFBankInitAlloc_16s, &s, k, mode, &order), zelStsNoErr);
            checkBank(f, zelsFBankGetCoeffs_32f, zelsFBankGetCenters_32f, pos, bin, hi, false, want(false));
            checkBank(s, zelsFBankGetCoeffs_16s, zelsFBankGetCenters_16s, pos, bin, hi, true, want(true));
            EXPECT_EQ(zelsFBankFree_32f(f), zelStsNoErr);
            EXPECT_EQ(zelsFBankFree_16s(s), zelStsNoErr);
        }
    }
}

TEST(FBankBuild, MixedBanksMatchDoublePrecision) {
    const float linFreq = 1000;
    // A small melMul keeps mel values below bin numbers, so that the seam's
    // mixed falling side (a bin number less a mel value) does not clamp to zero throughout.
    for (float melMul : {2595.0f, 10.0f}) {
        const MelCase k{512, 16000, 100, 7000, 20, melMul, 700};
        const int n = k.nFilter, fftLen = 512;
        for (int nLinear : {20, 7, 1}) {
            for (int mode : {1, 2}) {
                SCOPED_TRACE(testing::Message() << "nLinear " << nLinear << " mode " << mode << " melMul " << melMul);
                const bool allLinear = nLinear == n, bin = mode == 2;
                vector<double> f(n + 2), pos(n + 2);
                const int parts = allLinear ? n + 1 : nLinear;
                for (int i = 0; i <= (allLinear ? n + 1 : nLinear); ++i) {
                    f[i] = k.low + i * double(linFreq - k.low) / parts;
                    pos[i] = f[i] * fftLen / k.fs;
                }
                const double ml = k.mel(linFreq), top = k.mel(k.high);
                for (int i = nLinear; !allLinear && i <= n + 1; ++i)
                    pos[i] = fftLen * k.hz(ml + (i - nLinear) * (top - ml) / (n - nLinear + 1)) / k.fs;
                auto want = [&](int i, bool rising, int j, const vector<Zel32s>& c) -> Want {
                    if (bin || (!allLinear && i > nLinear))
                        return lineAt(i, rising, j, c, false);
                    const double a = k.mel(f[i - 1]), b = k.mel(f[i]);
                    if (rising) return {std::max(0.0, (k.mel((c[i - 1] + j) * k.fs / fftLen) - a) / (b - a)), b - a};
                    const double mk = k.mel((c[i] + 1 + j) * k.fs / fftLen);
                    const double width = c[i + 1] - c[i];
                    if (i == nLinear && !allLinear) return {std::max(0.0, (c[i + 1] - mk) / width), width};
                    const double e = k.mel(f[i + 1]);
                    return {std::max(0.0, (e - mk) / (e - b)), e - b};
                };
                ZelFBankState_32f* b = nullptr;
                int order = 0;
                ASSERT_EQ(zelsMelLinFBankInitAlloc_32f(&b, &order, k.winSize, k.fs, k.low, k.high, n, linFreq, nLinear,
                                                       k.melMul, k.melDiv, mode), zelStsNoErr);
                checkBank(b, zelsFBankGetCoeffs_32f, zelsFBankGetCenters_32f, pos, bin, top, false, want);
                zelsFBankFree_32f(b);
            }
        }
    }
}

// Random centres with runs of 0 to 19 bins and runs past 100, coinciding
// centres and empty runs on the top bin, random weights; spectra at every
// alignment with NaN on either side, so that any read past them shows.
TEST(FBankEval, FloatSumsFollowTheGroupingAndNeverReadPastTheSpectrum) {
    const int fftLen = 512, half = 256;
    for (int n = 1; n <= 12; ++n) {
        ZelFBankState_32f* b = nullptr;
        int order = 0;
        ASSERT_EQ(zelsEmptyFBankInitAlloc_32f(&b, &order, fftLen, n, 0), zelStsNoErr);
        vector<Zel32s> c(n + 2, zt::uniformi(0, 3));
        for (int i = 1; i < n + 2; ++i) c[i] = std::min(half, c[i - 1] + zt::uniformi(0, 19));
        if (n % 2 == 0)
            for (int i = n / 2; i < n + 2; ++i) c[i] = std::max(c[i], half - (n + 1 - i) / 2);
        ASSERT_EQ(zelsFBankSetCenters_32f(b, c.data()), zelStsNoErr);
        vector<vector<float>> w(n + 1, vector<float>(fftLen + 2));
        for (int i = 1; i <= n; ++i) {
            zt::fillUniform(w[i].data(), w[i].size(), -1.0, 2.0);
            ASSERT_EQ(zelsFBankSetCoeffs_32f(b, i, w[i].data()), zelStsNoErr);
        }
        for (int offset = 0; offset < 4; ++offset) {
            zt::Buf<float> buf(half + 8, offset);
            buf.fill(NAN);
            float* x = buf.data() + 1;
            zt::fillUniform(x, half + 1, -10.0, 10.0);
            vector<float> out(n + 1, -99.0f);
            ASSERT_EQ(zelsEvalFBank_32f(x, out.data(), b), zelStsNoErr);
            for (int i = 1; i <= n; ++i) {
                EXPECT_SAME_BITS(out[i - 1], modelFilter(x, c.data(), i, w[i].data())) << "filter " << i;
                double exact = 0;
                for (int j = 0; j <= c[i + 1] - c[i - 1]; ++j) exact += double(w[i][j]) * x[c[i - 1] + j];
                EXPECT_NEAR(out[i - 1], exact, 1e-5 * (c[i + 1] - c[i - 1] + 1) * 20);
            }
            EXPECT_EQ(out[n], -99.0f);
        }
        zelsFBankFree_32f(b);
    }
}

// The magnitude path is the toolkit's unscaled FFT of the zero-padded frame,
// its magnitudes and the same sums, bit for bit.
TEST(FBankEval, MagnitudeInputIsTheToolkitFFTThenTheSums) {
    const MelCase& k = kSpeech;
    const int fftLen = 512, half = 256, n = k.nFilter;
    ZelFBankState_32f *withFft = nullptr, *plain = nullptr;
    int order = 0;
    ASSERT_EQ(build(zelsMelFBankInitAlloc_32f, &withFft, k, 5, &order), zelStsNoErr);
    ASSERT_EQ(build(zelsMelFBankInitAlloc_32f, &plain, k, 1, &order), zelStsNoErr);
    vector<float> frame(fftLen, 0.0f), spectrum(fftLen + 2), mag(half + 1), got(n), want(n);
    zt::fillUniform(frame.data(), k.winSize, -1000.0, 1000.0);
    ASSERT_EQ(zelsEvalFBank_32f(frame.data(), got.data(), withFft), zelStsNoErr);
    ZelFFTSpec_R_32f* plan = nullptr;
    ASSERT_EQ(ownFFTInitAlloc_R_32f(&plan, order, 8, zelAlgHintAccurate), zelStsNoErr);
    ASSERT_EQ(ownFFTFwd_RUnfolded_32f(frame.data(), spectrum.data(), plan, nullptr), zelStsNoErr);
    ASSERT_EQ(ownMagnitude_32fc(spectrum.data(), mag.data(), half + 1), zelStsNoErr);
    ASSERT_EQ(zelsEvalFBank_32f(mag.data(), want.data(), plain), zelStsNoErr);
    for (int i = 0; i < n; ++i) EXPECT_SAME_BITS(got[i], want[i]) << "filter " << i + 1;
    ownFFTFree_R_32f(plan);
    zelsFBankFree_32f(withFft);
    zelsFBankFree_32f(plain);
}

// The 16-bit magnitude path: the toolkit's 16-bit FFT and magnitudes with a
// gain of 8 each, sums shifted by scaleFactor + 20; products of 16s_Sfs wrap
// at 32 bits, those of 16s32s do not. The result is the float bank's, scaled.
TEST(FBankEval, SixteenBitMagnitudeInputWrapsOnlyIn16sOutput) {
    const MelCase& k = kSpeech;
    const int fftLen = 512, half = 256, n = k.nFilter;
    ZelFBankState_16s* b = nullptr;
    ZelFBankState_32f* f = nullptr;
    int order = 0;
    ASSERT_EQ(build(zelsMelFBankInitAlloc_16s, &b, k, 6, &order), zelStsNoErr);
    ASSERT_EQ(build(zelsMelFBankInitAlloc_32f, &f, k, 6, &order), zelStsNoErr);
    ZelFFTSpec_R_16s32s* plan = nullptr;
    ASSERT_EQ(ownFFTInitAlloc_R_16s32s(&plan, order, 8, zelAlgHintAccurate), zelStsNoErr);
    vector<Zel32s> c(n + 2);
    zelsFBankGetCenters_16s(b, c.data());
    for (int amplitude : {6, 30000}) {
        vector<Zel16s> frame(fftLen, 0);
        vector<float> frameF(fftLen, 0.0f), outF(n), w(fftLen);
        for (int t = 0; t < k.winSize; ++t) {
            const int noise = amplitude < 100 ? 2 : 20;
            frameF[t] = frame[t] = Zel16s(amplitude * sin(0.3 * t) + zt::uniformi(-noise, noise));
        }
        vector<Zel32s> spectrum(fftLen + 2), mag(half + 1), o32(n);
        vector<Zel16s> o16(n);
        ASSERT_EQ(ownFFTFwd_R_16s32s_Sfs(frame.data(), spectrum.data(), plan, -3, nullptr), zelStsNoErr);
        ASSERT_EQ(ownMagnitude_32sc_Sfs(spectrum.data(), mag.data(), half + 1, -3), zelStsNoErr);
        ASSERT_EQ(zelsEvalFBank_32f(frameF.data(), outF.data(), f), zelStsNoErr);
        for (int sf : {-4, 0, 5}) {
            ASSERT_EQ(zelsEvalFBank_16s_Sfs(frame.data(), o16.data(), b, sf), zelStsNoErr);
            ASSERT_EQ(zelsEvalFBank_16s32s_Sfs(frame.data(), o32.data(), b, sf), zelStsNoErr);
            bool wrapped = false;
            for (int i = 1; i <= n; ++i) {
                zelsFBankGetCoeffs_16s(b, i, w.data());
                int64_t wide = 0, narrow = 0;
                double slack = 0;  // Q14 truncation and the rounding of the 16-bit spectrum
                for (int j = 0; j <= c[i + 1] - c[i - 1]; ++j) {
                    const Zel32s m = mag[c[i - 1] + j];
                    const int64_t q = int64_t(lrintf(w[j] * 16384.0f)) * m;
                    wide += q;
                    narrow += Zel32s(uint32_t(uint64_t(q)));
                    wrapped |= q != Zel32s(uint32_t(uint64_t(q)));
                    slack += m / 64.0 / 16384 + 0.2;
                }
                EXPECT_EQ(o32[i - 1], std::clamp<int64_t>(wide >> (sf + 20), INT32_MIN, INT32_MAX)) << i;
                EXPECT_EQ(o16[i - 1], std::clamp<int64_t>(narrow >> (sf + 20), -32768, 32767)) << i;
                const double scaled = ldexp(outF[i - 1], -sf);
                EXPECT_NEAR(o32[i - 1], scaled, ldexp(slack, -sf) + 1e-4 * scaled + 2) << i;
            }
            EXPECT_EQ(wrapped, amplitude == 30000);
        }
    }
    ownFFTFree_R_16s32s(plan);
    zelsFBankFree_16s(b);
    zelsFBankFree_32f(f);
}

TEST(FBankEval, SixteenBitSumsShiftTowardMinusInfinityAndSaturate) {
    ZelFBankState_16s* b = nullptr;
    int order = 0;
    ASSERT_EQ(zelsEmptyFBankInitAlloc_16s(&b, &order, 16, 1, 0), zelStsNoErr);
    const Zel32s c[3] = {0, 3, 8};
    const float w[9] = {0.5f, 1, 1, 1, 1, 1, 1, 1, 1};
    ASSERT_EQ(zelsFBankSetCenters_16s(b, c), zelStsNoErr);
    ASSERT_EQ(zelsFBankSetCoeffs_16s(b, 1, w), zelStsNoErr);
    // The sum of -1 at weight 0.5 is -0.5: the shift goes toward minus infinity.
    const struct { Zel16s x0, rest; int sf; Zel16s want16; Zel32s want32; } cases[] = {
        {-1, 0, 0, -1, -1},
        {32767, 32767, 0, 32767, 32767 * 8 + 16383},
        {32767, 32767, -20, 32767, INT32_MAX},
        {32767, 32767, 60, 0, 0},      // a shift of 74 leaves the sign
        {32767, 32767, -80, 0, 0},     // and a left shift of 66 nothing
        {-32768, -32768, 60, -1, -1},
        {-32768, -32768, 0, -32768, -32768 * 8 - 16384}};
    for (auto t : cases) {
        Zel16s x[9], o16 = 7;
        Zel32s o32 = 7;
        std::fill(x, x + 9, t.rest);
        x[0] = t.x0;
        EXPECT_EQ(zelsEvalFBank_16s_Sfs(x, &o16, b, t.sf), zelStsNoErr);
        EXPECT_EQ(zelsEvalFBank_16s32s_Sfs(x, &o32, b, t.sf), zelStsNoErr);
        EXPECT_EQ(o16, t.want16) << t.x0 << " at scale " << t.sf;
        EXPECT_EQ(o32, t.want32) << t.x0 << " at scale " << t.sf;
    }
    zelsFBankFree_16s(b);
}

TEST(FBank32s, CentresWeightsAndTheOutputRule) {
    const MelCase& k = kSpeech;
    const int n = k.nFilter;
    int size = 0, order = 0;
    ASSERT_EQ(zelsMelFBankGetSize_32s(k.winSize, n, 2, &size), zelStsNoErr);
    EXPECT_EQ(size, 53252 + int(sizeof(void*) - 4) * (3 + 2 * 25));  // the 32-bit formula, pointers at their width
    zt::Buf<Zel8u> mem(size);
    auto* b = reinterpret_cast<ZelFBankState_32s*>(mem.data());
    ASSERT_EQ(zelsMelFBankInit_32s(b, &order, k.winSize, 16000, 0, 8000, n, 2595 << 15, 700 << 15, 2), zelStsNoErr);
    EXPECT_EQ(order, 9);
    // Centres: the nearest bins of an exact mel scale, half rounded up.
    const Zel32s* c = b->pCenters;
    for (int i = 0; i < n + 2; ++i) {
        const double pos = 512.0 * k.hz(i * k.mel(8000) / (n + 1)) / 16000;
        if (fabs(pos - floor(pos) - 0.5) > 0.01) {
            EXPECT_EQ(c[i], int(floor(pos + 0.5))) << i;
        }
    }
    // Weights, read by impulses: x = 2^22 at one bin with scale -8 returns the Q30 weight.
    vector<Zel32s> x(257, 0), out(n);
    for (int bin = 0; bin <= 256; ++bin) {
        x[bin] = 1 << 22;
        ASSERT_EQ(zelsEvalFBank_32s_Sfs(x.data(), out.data(), b, -8), zelStsNoErr);
        x[bin] = 0;
        for (int i = 1; i <= n; ++i) {
            int64_t want = 0;
            if (bin >= c[i - 1] && bin <= c[i]) want += (int64_t(bin - c[i - 1] + 1) << 30) / (c[i] - c[i - 1] + 1);
            if (bin > c[i] && bin <= c[i + 1]) want += (int64_t(c[i + 1] - bin + 1) << 30) / (c[i + 1] - c[i] + 1);
            EXPECT_EQ(out[i - 1], want) << "filter " << i << ", bin " << bin;
        }
    }
    // One sample at a centre meets weight 1.0: halves round up, a positive
    // overflow saturates and a negative total is cut to 32 bits.
    const struct { Zel32s v; int sf; Zel32s want; } cases[] = {
        {1, 1, 1}, {-1, 1, 0}, {3, 1, 2}, {-3, 1, -1}, {INT32_MAX, -31, INT32_MAX},
        {-(1 << 20), -10, -(1 << 30)}, {-(1 << 20), -12, 0}, {1000, 31, 0}};
    for (auto t : cases) {
        x[c[5]] = t.v;
        ASSERT_EQ(zelsEvalFBank_32s_Sfs(x.data(), out.data(), b, t.sf), zelStsNoErr);
        EXPECT_EQ(out[4], t.want) << t.v << " at scale " << t.sf;
    }
}

TEST(FBankState, EmptyBankAccessorsAndTheirIndexLimits) {
    ZelFBankState_16s* b = nullptr;
    int order = 0;
    ASSERT_EQ(zelsEmptyFBankInitAlloc_16s(&b, &order, 33, 3, 77), zelStsNoErr);  // the mode is not checked
    EXPECT_EQ(order, 6);
    Zel32s c[5];
    vector<float> w(40, 5.0f);
    vector<Zel16s> x16(33, 100), o16(3, 9);
    // Without centres nothing is ready; centres outside 0 .. fftLen/2 or out
    // of order are refused and change nothing.
    const Zel32s bad[][5] = {{-1, 2, 4, 6, 8}, {0, 2, 4, 6, 33}, {0, 5, 4, 6, 8}, {0, 2, 4, 9, 8}};
    zt::expectStatuses({{zelsEvalFBank_16s_Sfs(x16.data(), o16.data(), b, 0), zelStsFBankFlagErr},
                        {zelsFBankGetCenters_16s(b, c), zelStsFBankFlagErr},
                        {zelsFBankGetCoeffs_16s(b, 1, w.data()), zelStsFBankFlagErr},
                        {zelsFBankSetCoeffs_16s(b, 1, w.data()), zelStsFBankFlagErr},
                        {zelsFBankSetCenters_16s(b, bad[0]), zelStsFBankFlagErr},
                        {zelsFBankSetCenters_16s(b, bad[1]), zelStsFBankFlagErr},
                        {zelsFBankSetCenters_16s(b, bad[2]), zelStsFBankFlagErr},
                        {zelsFBankSetCenters_16s(b, bad[3]), zelStsFBankFlagErr},
                        {zelsFBankGetCenters_16s(b, c), zelStsFBankFlagErr}});
    zt::expectUntouched(o16.data(), 3, 9);
    const Zel32s good[5] = {0, 4, 4, 10, 32};
    ASSERT_EQ(zelsFBankSetCenters_16s(b, good), zelStsNoErr);
    EXPECT_EQ(zelsEvalFBank_16s_Sfs(x16.data(), o16.data(), b, 0), zelStsNoErr);
    EXPECT_EQ(o16, vector<Zel16s>(3, 0));  // ready, with every weight still zero
    ASSERT_EQ(zelsFBankGetCenters_32f(reinterpret_cast<ZelFBankState_32f*>(b), c), zelStsNoErr);  // one body
    EXPECT_EQ(vector<Zel32s>(c, c + 5), vector<Zel32s>(good, good + 5));
    // Writing takes filters 1..nFilter, reading 1..nFilter + 1.
    zt::expectStatuses({{zelsFBankSetCoeffs_16s(b, 0, w.data()), zelStsSizeErr},
                        {zelsFBankSetCoeffs_16s(b, 4, w.data()), zelStsSizeErr},
                        {zelsFBankGetCoeffs_16s(b, 0, w.data()), zelStsSizeErr},
                        {zelsFBankGetCoeffs_16s(b, 5, w.data()), zelStsSizeErr}});
    // Q14 storage truncates, and 2^31 and beyond turn into the most negative value.
    vector<float> in(29, 0.0f), back(40, 5.0f);  // 10 - 4 + 1 rising, 32 - 10 falling
    const float special[7] = {1.0f, 0.99999f, -0.99999f, 131072.0f, 1e10f, -1e10f, 0.25f};
    std::copy(special, special + 7, in.end() - 7);
    ASSERT_EQ(zelsFBankSetCoeffs_16s(b, 3, in.data()), zelStsNoErr);
    ASSERT_EQ(zelsFBankGetCoeffs_16s(b, 3, back.data()), zelStsNoErr);
    const float want[7] = {1.0f, 16383 / 16384.0f, -16383 / 16384.0f, -131072.0f, -131072.0f, -131072.0f, 0.25f};
    for (int j = 0; j < 7; ++j) EXPECT_EQ(back[22 + j], want[j]) << j;
    EXPECT_EQ(back[29], 5.0f);
    // Past the last filter the falling run is empty: only the rising run of c[3] .. c[4] comes back.
    std::fill(back.begin(), back.end(), 5.0f);
    ASSERT_EQ(zelsFBankGetCoeffs_16s(b, 4, back.data()), zelStsNoErr);
    EXPECT_EQ(std::pair(back[22], back[23]), std::pair(0.0f, 5.0f));
    EXPECT_EQ(zelsFBankFree_16s(b), zelStsNoErr);
}

TEST(FBankState, WrongKindsGarbageAndCallerMemoryAreRefused) {
    ZelFBankState_32f* f = nullptr;
    ZelFBankState_16s* s = nullptr;
    int order = 0;
    ASSERT_EQ(zelsMelFBankInitAlloc_32f(&f, &order, 256, 8000, 100, 4000, 10, 2595, 700, 1), zelStsNoErr);
    ASSERT_EQ(zelsMelFBankInitAlloc_16s(&s, &order, 256, 8000, 100, 4000, 10, 2595, 700, 1), zelStsNoErr);
    vector<float> x(300, 1.0f), o(10);
    vector<Zel16s> x16(300, 1), o16(10);
    vector<Zel32s> o32(300), c(12);
    auto* sAsF = reinterpret_cast<ZelFBankState_32f*>(s);
    auto* fAsS = reinterpret_cast<ZelFBankState_16s*>(f);
    zt::expectStatuses({{zelsEvalFBank_32f(x.data(), o.data(), sAsF), zelStsContextMatchErr},
                        {zelsEvalFBank_16s_Sfs(x16.data(), o16.data(), fAsS, 0), zelStsContextMatchErr},
                        {zelsEvalFBank_16s32s_Sfs(x16.data(), o32.data(), fAsS, 0), zelStsContextMatchErr},
                        {zelsFBankSetCoeffs_16s(fAsS, 1, x.data()), zelStsContextMatchErr},
                        {zelsFBankFree_32f(sAsF), zelStsContextMatchErr},
                        {zelsFBankGetCenters_32f(sAsF, c.data()), zelStsNoErr}});  // the centre accessors take both
    // Cleared and random memory hold no bank.
    zt::Buf<Zel8u> junk(4096);
    for (int round = 0; round < 2; ++round) {
        round == 0 ? junk.fill(0) : zt::fillUniform(junk.data(), junk.size(), 0, 255);
        auto* jf = reinterpret_cast<ZelFBankState_32f*>(junk.data());
        auto* js = reinterpret_cast<ZelFBankState_32s*>(jf);
        zt::expectStatuses({{zelsEvalFBank_32f(x.data(), o.data(), jf), zelStsContextMatchErr},
                            {zelsFBankGetCenters_32f(jf, c.data()), zelStsContextMatchErr},
                            {zelsFBankSetCenters_32f(jf, c.data()), zelStsContextMatchErr},
                            {zelsEvalFBank_32s_Sfs(o32.data(), o32.data(), js, 0), zelStsContextMatchErr}});
    }
    zelsFBankFree_32f(f);
    zelsFBankFree_16s(s);
}

// Each line holds arguments that fail more than one test; the status is the first in the family's order.
TEST(FBankChecks, EveryFunctionTestsInItsOrder) {
    int order = -1, size = 0;
    float v = 0;
    Zel32s o = 5;
    zt::Buf<Zel8u> mem(1 << 16);
    auto* g = reinterpret_cast<ZelFBankState_32f*>(mem.data());
    auto* q = reinterpret_cast<ZelFBankState_32s*>(mem.data());
    auto init = [&](int win, float fs, float lo, float hi, int n, int mode) {
        return zelsMelFBankInit_32f(g, &order, win, fs, lo, hi, n, 2595, 700, mode);
    };
    auto mixed = [&](int n, float lin, int nLin, float hi, int mode) {
        return zelsMelLinFBankInitAlloc_32f(nullptr, &order, 256, 8000, 100, hi, n, lin, nLin, 2595, 700, mode);
    };
    auto init32s = [&](int win, int fs, int lo, int hi, int mul, int div, int mode) {
        return zelsMelFBankInit_32s(q, &order, win, fs, lo, hi, 1, mul, div, mode);
    };
    const struct { ZelStatus got, want; } cases[] = {
        {zelsMelFBankInit_32f(nullptr, &order, 0, 0, 0, 0, 0, 0, 0, 0), zelStsNullPtrErr},
        {init(0, -1, 0, 0, 1, 3), zelStsSizeErr},
        {init(1, 8000, 100, 100, 0, 3), zelStsSizeErr},
        {init(1, 0, 100, 5000, 1, 3), zelStsSizeErr},
        {init(1, 8000, 0, 50, 1, 3), zelStsSizeErr},  // lowFreq 0 is refused
        {init(1, 8000, 100, 99, 1, 3), zelStsMelFreqErr},
        {init(1, 8000, 100, 4000, 1, 0), zelStsMelFlagErr},
        {init(1, 8000, 100, 4000, 1, 7), zelStsMelFlagErr},
        // A NaN passes the checks; the centres it gives lie outside the spectrum.
        {init(64, 8000, 100, NAN, 4, 1), zelStsMelFreqErr},
        {init(64, NAN, 100, 200, 4, 1), zelStsMelFreqErr},
        {zelsEvalFBank_32f(&v, &v, g), zelStsContextMatchErr},  // a failed build leaves no bank
        // The mixed builder: all sizes, then frequencies, then mode, and its pointers last.
        {mixed(10, 1000, 0, 4000, 1), zelStsSizeErr},
        {mixed(10, 1000, 11, 4000, 1), zelStsSizeErr},
        {mixed(10, 99, 5, 4000, 3), zelStsMelFreqErr},
        {mixed(10, 1000, 5, 999, 3), zelStsMelFreqErr},
        {mixed(10, 1000, 5, 4000, 3), zelStsMelFlagErr},
        {mixed(10, 1000, 5, 4000, 1), zelStsNullPtrErr},
        {zelsEmptyFBankInitAlloc_32f(nullptr, nullptr, 0, 1, 0), zelStsSizeErr},
        {zelsEmptyFBankInitAlloc_32f(nullptr, nullptr, 1, 0, 0), zelStsSizeErr},
        {zelsEmptyFBankInitAlloc_32f(nullptr, nullptr, 1, 1, 0), zelStsNullPtrErr},
        {zelsMelFBankGetSize_16s(0, 0, 0, nullptr), zelStsNullPtrErr},
        {zelsMelFBankGetSize_16s(0, 1, 0, &size), zelStsSizeErr},
        {zelsMelFBankGetSize_16s(1, 1, 4, &size), zelStsMelFlagErr},
        {zelsMelFBankGetSize_32s(400, 23, 1, nullptr), zelStsNullPtrErr},
        {zelsMelFBankGetSize_32s(31, 23, 1, &size), zelStsSizeErr},
        {zelsMelFBankGetSize_32s(400, 23, 1, &size), zelStsMelFlagErr},
        // The Q30 builder: null, sizes, mode, rates, frequencies, mel parameters.
        {zelsMelFBankInit_32s(q, nullptr, 0, 0, 0, 0, 0, 0, 0, 0), zelStsNullPtrErr},
        {init32s(8193, 0, -1, 0, 0, 0, 1), zelStsSizeErr},
        {init32s(400, 0, -1, 0, 0, 0, 1), zelStsSizeErr},  // highFreq below 1
        {init32s(400, 0, -1, 5, 0, 0, 1), zelStsMelFlagErr},
        {init32s(400, 48001, 0, 5, 0, 0, 2), zelStsSizeErr},
        {init32s(400, 16000, -1, 5, 0, 0, 2), zelStsSizeErr},
        {init32s(400, 16000, 5, 5, 0, 0, 2), zelStsMelFreqErr},
        {init32s(400, 16000, 0, 24001, 0, 0, 2), zelStsMelFreqErr},
        {init32s(400, 16000, 0, 8000, 524289, 524288, 2), zelStsBadArgErr},
        {init32s(400, 16000, 0, 8000, 524289, 524289, 2), zelStsNoErr},
        // One filter more than the size query allows, and no more; centres
        // past the spectrum, which nothing bounds highFreq against.
        {zelsMelFBankGetSize_32s(32, 17, 2, &size), zelStsSizeErr},
        {zelsMelFBankInit_32s(q, &order, 32, 48000, 0, 24000, 17, 2595 << 15, 700 << 15, 2), zelStsNoErr},
        {zelsMelFBankInit_32s(q, &order, 32, 48000, 0, 24000, 18, 2595 << 15, 700 << 15, 2), zelStsSizeErr},
        {zelsMelFBankInit_32s(q, &order, 64, 8000, 0, 24000, 4, 2595 << 15, 700 << 15, 2), zelStsMelFreqErr},
        {init32s(400, 16000, 0, 8000, 524289, 524289, 2), zelStsNoErr},
        {zelsEvalFBank_32s_Sfs(&o, nullptr, q, 99), zelStsNullPtrErr},
        {zelsEvalFBank_32s_Sfs(&o, &o, q, 99), zelStsBadArgErr},
        {zelsEvalFBank_32f(nullptr, &v, g), zelStsNullPtrErr},
        {zelsFBankGetCoeffs_32f(nullptr, 0, &v), zelStsNullPtrErr},
    };
    for (size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].got, cases[i].want) << "case " << i;
    EXPECT_EQ(order, 9);  // only the Q30 builds that passed wrote it
    q->nFilter = 0;       // a bank without filters returns at once
    EXPECT_EQ(zelsEvalFBank_32s_Sfs(&o, &o, q, 0), zelStsNoErr);
    EXPECT_EQ(o, 5);
    // Window sizes 1 and 2 give order 1, 3 gives 2; highFreq = lowFreq passes.
    for (auto [win, hi, want] : {std::tuple{1, 4000.0f, 1}, {2, 4000.0f, 1}, {3, 100.0f, 2}}) {
        EXPECT_EQ(init(win, 8000, 100, hi, 1, 2), zelStsNoErr);
        EXPECT_EQ(order, want);
    }
    ASSERT_EQ(zelsMelFBankGetSize_32f(400, 23, 1, &size), zelStsNoErr);
    EXPECT_EQ(size, 52804 + int(sizeof(void*) - 4) * (5 + 2 * 25));  // the 32-bit formula, pointers at their width
}

// The three in-place builders and their size queries, on 16000 Hz, 100 to 7900 Hz.
ZelStatus sizeOf(int kind, int win, int n, int mode, int* size) {
    if (kind == 0) return zelsMelFBankGetSize_32f(win, n, mode, size);
    if (kind == 1) return zelsMelFBankGetSize_16s(win, n, mode, size);
    return zelsMelFBankGetSize_32s(win, n, mode, size);
}
ZelStatus initIn(int kind, void* p, int* order, int win, int n, int mode) {
    if (kind == 0) return zelsMelFBankInit_32f(static_cast<ZelFBankState_32f*>(p), order, win, 16e3f, 100, 7900, n,
                                               2595, 700, mode);
    if (kind == 1) return zelsMelFBankInit_16s(static_cast<ZelFBankState_16s*>(p), order, win, 16e3f, 100, 7900, n,
                                               2595, 700, mode);
    return zelsMelFBankInit_32s(static_cast<ZelFBankState_32s*>(p), order, win, 16000, 100, 7900, n, 2595 << 15,
                                700 << 15, mode);
}

// An in-place builder stays inside the size its query reported, however the
// block is aligned, lays its rows out 32-byte aligned with three writable
// elements ahead of each left row, and builds the bank of the allocating form.
TEST(FBankMemory, InPlaceBuildersStayInsideTheReportedSize) {
    constexpr int kGuard = 64;
    const struct { int win, n; } shapes[] = {{1, 1}, {3, 2}, {32, 7}, {400, 23}, {1000, 60}};
    for (auto [win, n] : shapes) {
        for (int mode : {1, 2, 5, 6}) {
            for (int kind = 0; kind < 3; ++kind) {
                if (kind == 2 && (mode != 2 || win < 32)) continue;
                int size = 0, order = 0;
                ASSERT_EQ(sizeOf(kind, win, n, mode, &size), zelStsNoErr);
                for (int offset = 0; offset < 64; offset += int(sizeof(void*))) {
                    SCOPED_TRACE(testing::Message() << "win " << win << " mode " << mode << " kind " << kind
                                                    << " offset " << offset);
                    std::unique_ptr<Zel8u[]> raw(new Zel8u[offset + size + kGuard]);
                    memset(raw.get(), 0xa5, offset + size + kGuard);
                    ASSERT_EQ(initIn(kind, raw.get() + offset, &order, win, n, mode), zelStsNoErr);
                    for (int j = 0; j < kGuard; ++j) ASSERT_EQ(raw[offset + size + j], 0xa5) << "byte " << size + j;
                    if (kind != 0) continue;
                    auto* g = reinterpret_cast<ZelFBankState_32f*>(raw.get() + offset);
                    for (int r = 0; r < n + 2; ++r) {
                        EXPECT_EQ(reinterpret_cast<uintptr_t>(g->ppRightCoeffs[r]) % 32, 0u);
                        EXPECT_EQ(reinterpret_cast<uintptr_t>(g->ppLeftCoeffs[r] - 3) % 32, 0u);
                    }
                    // A bank in caller memory is the caller's to release, and stays usable.
                    EXPECT_EQ(zelsFBankFree_32f(g), zelStsContextMatchErr);
                    ZelFBankState_32f* a = nullptr;
                    ASSERT_EQ(zelsMelFBankInitAlloc_32f(&a, &order, win, 16000, 100, 7900, n, 2595, 700, mode),
                              zelStsNoErr);
                    vector<float> x(size_t(2) << order), o1(n), o2(n);
                    zt::fillUniform(x.data(), x.size(), -1.0, 1.0);
                    ASSERT_EQ(zelsEvalFBank_32f(x.data(), o1.data(), g), zelStsNoErr);
                    ASSERT_EQ(zelsEvalFBank_32f(x.data(), o2.data(), a), zelStsNoErr);
                    for (int i = 0; i < n; ++i) EXPECT_SAME_BITS(o1[i], o2[i]);
                    zelsFBankFree_32f(a);
                }
            }
        }
    }
}

}  // namespace
