// Filter banks: banks against a bank computed independently in double
// precision, evaluation against the documented grouping of its sums, the
// magnitude path against the toolkit's FFT and a direct DFT, fixed-point
// shifts, saturation and wrap, the Q30 bank, check orders, wrong kinds and
// the memory that an in-place builder may use.
#include <math.h>

#include <algorithm>
#include <complex>
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
};
const MelCase kMelCases[] = {
    {400, 16000, 64, 8000, 23, 2595, 700},  {256, 8000, 100, 3800, 20, 1127, 700},
    {1024, 44100, 30, 22050, 40, 2595, 700}, {3, 16000, 1, 8000, 1, 1000, 1000},
    {200, 11025, 300, 300, 5, 2595, 700},  // an empty frequency range: all centres equal
};

int fftLenOf(int winSize) { return int(zel::fbank::fftSizeOf(winSize).len); }

double melD(double f, const MelCase& k) { return k.melMul * log(1.0 + f / k.melDiv); }
double hzD(double m, const MelCase& k) { return k.melDiv * (exp(m / k.melMul) - 1.0); }

// A bin from an exact position; `ambiguous` when rounding error of the
// single-precision builder could land on either side of the decision.
int binOf(double pos, bool nearest, bool* ambiguous) {
    const double edge = nearest ? floor(pos) + 0.5 : nearbyint(pos);
    *ambiguous = fabs(pos - edge) < 1e-4 * std::max(1.0, fabs(pos));
    return nearest ? int(nearbyint(pos)) : int(trunc(pos));
}

void expectCentres(const vector<Zel32s>& got, const vector<double>& pos, bool nearest) {
    for (size_t i = 0; i < pos.size(); ++i) {
        bool amb = false;
        const int want = binOf(pos[i], nearest, &amb);
        if (!amb) {
            EXPECT_EQ(got[i], want) << "centre " << i << " at " << pos[i];
        }
    }
}

// Reads a filter's two runs through the accessor.
template <class S, class Get>
void readFilter(const S* b, Get get, int i, const vector<Zel32s>& c, vector<float>& left, vector<float>& right) {
    const int nl = c[i] - c[i - 1] + 1, nr = c[i + 1] - c[i];
    vector<float> all(nl + nr + 1);
    ASSERT_EQ(get(b, i, all.data()), zelStsNoErr);
    left.assign(all.begin(), all.begin() + nl);
    right.assign(all.begin() + nl, all.begin() + nl + nr);
}

// Single-precision mel values carry about 2^-24 of the largest mel value each;
// a weight is their difference over a centre spacing, and a Q14 weight loses
// up to one unit more by truncation.
void expectWeight(float got, double want, double melTop, double spacing, bool q14, const char* what, int i, int j) {
    double tol = 16 * ldexp(melTop, -24) / fabs(spacing) + ldexp(1.0, -22);
    if (q14) tol += 1.0 / 16384;
    EXPECT_NEAR(got, want, tol) << what << " of filter " << i << ", element " << j;
}

void expectLine(float got, int num, int w, bool q14, int i, int j) {
    const double want = q14 ? double((int64_t(num) << 14) / w) / 16384 : double(float(num) / float(w));
    EXPECT_EQ(got, want) << "line weight of filter " << i << ", element " << j;
}

template <class S, class Get, class GetC>
void checkMelBank(const S* b, Get get, GetC getCentres, const MelCase& k, int mode, bool q14) {
    const int n = k.nFilter, fftLen = fftLenOf(k.winSize);
    const bool bin = mode & zelFBankBinWeights;
    const double lo = melD(k.low, k), hi = melD(k.high, k);
    vector<double> m(n + 2), pos(n + 2);
    for (int i = 0; i < n + 2; ++i) {
        m[i] = lo + i * (hi - lo) / (n + 1);
        pos[i] = fftLen * hzD(m[i], k) / k.fs;
    }
    vector<Zel32s> c(n + 2);
    ASSERT_EQ(getCentres(b, c.data()), zelStsNoErr);
    expectCentres(c, pos, bin);
    vector<float> l, r;
    for (int i = 1; i <= n; ++i) {
        readFilter(b, get, i, c, l, r);
        for (int j = 0; j < int(l.size()); ++j) {
            if (bin) {
                expectLine(l[j], j + 1, int(l.size()), q14, i, j);
            } else {
                const double want = j == 0 ? 0.0 : (melD((c[i - 1] + j) * k.fs / fftLen, k) - m[i - 1]) / (m[i] - m[i - 1]);
                expectWeight(l[j], want, hi, m[i] - m[i - 1], q14, "rising weight", i, j);
            }
        }
        for (int j = 0; j < int(r.size()); ++j) {
            if (bin) {
                expectLine(r[j], int(r.size()) - j, int(r.size()) + 1, q14, i, j);
            } else {
                const double want = (m[i + 1] - melD((c[i] + 1 + j) * k.fs / fftLen, k)) / (m[i + 1] - m[i]);
                expectWeight(r[j], want, hi, m[i + 1] - m[i], q14, "falling weight", i, j);
            }
        }
    }
}

// The documented grouping of one filter's sum: left element 0 first, then
// runs in blocks of eight into accumulator t, the rest into accumulator 0.
float modelFilter(const float* x, const Zel32s* c, int i, const vector<float>& l, const vector<float>& r) {
    float a[8] = {};
    a[0] += l[0] * x[c[i - 1]];
    auto run = [&](const float* xs, const float* w, int len) {
        int j = 0;
        for (; j + 8 <= len; j += 8)
            for (int t = 0; t < 8; ++t) a[t] += xs[j + t] * w[j + t];
        for (; j < len; ++j) a[0] += xs[j] * w[j];
    };
    run(x + c[i - 1] + 1, l.data() + 1, c[i] - c[i - 1]);
    run(x + c[i] + 1, r.data(), c[i + 1] - c[i]);
    return ((a[0] + a[4]) + (a[2] + a[6])) + ((a[1] + a[5]) + (a[3] + a[7]));
}

// Random centres with runs of 0 to 19 bins (coinciding centres included) and
// random weights, through the accessors of an empty bank.
template <class S, class Empty, class SetC, class SetW>
S* randomBank(Empty empty, SetC setCentres, SetW setCoeffs, int nFilter, int fftLen, vector<Zel32s>& c) {
    S* b = nullptr;
    int order = 0;
    if (empty(&b, &order, fftLen, nFilter, 1) != zelStsNoErr) return nullptr;
    c.assign(nFilter + 2, 0);
    c[0] = zt::uniformi(0, 3);
    for (int i = 1; i < nFilter + 2; ++i) c[i] = std::min(fftLen / 2, c[i - 1] + zt::uniformi(0, 19));
    // Every other bank ends in empty runs on the top bin.
    if (nFilter % 2 == 0)
        for (int i = nFilter / 2; i < nFilter + 2; ++i) c[i] = std::max(c[i], fftLen / 2 - (nFilter + 1 - i) / 2);
    if (setCentres(b, c.data()) != zelStsNoErr) return nullptr;
    vector<float> w(fftLen + 2);
    for (int i = 1; i <= nFilter; ++i) {
        zt::fillUniform(w.data(), w.size(), -1.0, 2.0);
        setCoeffs(b, i, w.data());
    }
    return b;
}

// ---- Scale conversions ---------------------------------------------------------------

TEST(FBankScale, ConversionsWithinAnUlpOfExactAndChecked) {
    vector<float> f(300), m(300), back(300);
    for (size_t i = 0; i < f.size(); ++i) f[i] = float(i * i) * 0.37f;
    ASSERT_EQ(zelsLinearToMel_32f(f.data(), m.data(), 300, 2595.0f, 700.0f), zelStsNoErr);
    ASSERT_EQ(zelsMelToLinear_32f(m.data(), back.data(), 300, 2595.0f, 700.0f), zelStsNoErr);
    for (size_t i = 0; i < f.size(); ++i) {
        const long double wantMel = 2595.0L * logl(1.0L + (long double)f[i] / 700.0L);
        const long double wantHz = 700.0L * (expl((long double)m[i] / 2595.0L) - 1.0L);
        auto ulp = [](long double v) { return v == 0 ? 1e-45L : ldexpl(1.0L, ilogbl(v) - 23); };
        EXPECT_LE(fabsl(m[i] - wantMel), 0.51L * ulp(wantMel)) << f[i];
        EXPECT_LE(fabsl(back[i] - wantHz), 0.51L * ulp(wantHz)) << m[i];
    }
    float x = 1.0f, y = -7.0f;
    EXPECT_EQ(zelsLinearToMel_32f(nullptr, &y, 0, 0.0f, 0.0f), zelStsNullPtrErr);
    EXPECT_EQ(zelsLinearToMel_32f(&x, &y, 0, 1.0f, 1.0f), zelStsSizeErr);
    EXPECT_EQ(zelsMelToLinear_32f(&x, &y, 1, 0.0f, 1.0f), zelStsSizeErr);
    EXPECT_EQ(zelsMelToLinear_32f(&x, &y, 1, 1.0f, -1.0f), zelStsSizeErr);
    EXPECT_EQ(y, -7.0f);
    EXPECT_EQ(zelsLinearToMel_32f(&x, &y, 1, NAN, 1.0f), zelStsNoErr);  // NaN is not "not above 0"
}

// ---- Builders ----------------------------------------------------------------------------

TEST(FBankBuild, MelBanksMatchDoublePrecisionInEveryFormAndMode) {
    for (const MelCase& k : kMelCases) {
        for (int mode : {1, 2, 5, 6}) {
            SCOPED_TRACE(testing::Message() << "winSize " << k.winSize << " nFilter " << k.nFilter << " mode " << mode);
            int order = 0, size = 0;
            ZelFBankState_32f* f = nullptr;
            ZelFBankState_16s* s = nullptr;
            ASSERT_EQ(zelsMelFBankInitAlloc_32f(&f, &order, k.winSize, k.fs, k.low, k.high, k.nFilter, k.melMul,
                                                k.melDiv, mode), zelStsNoErr);
            EXPECT_EQ(1 << order, fftLenOf(k.winSize));
            ASSERT_EQ(zelsMelFBankInitAlloc_16s(&s, &order, k.winSize, k.fs, k.low, k.high, k.nFilter, k.melMul,
                                                k.melDiv, mode), zelStsNoErr);
            checkMelBank(f, zelsFBankGetCoeffs_32f, zelsFBankGetCenters_32f, k, mode, false);
            checkMelBank(s, zelsFBankGetCoeffs_16s, zelsFBankGetCenters_16s, k, mode, true);
            // The in-place form builds the same bank.
            ASSERT_EQ(zelsMelFBankGetSize_32f(k.winSize, k.nFilter, mode, &size), zelStsNoErr);
            zt::Buf<Zel8u> mem(size);
            auto* g = reinterpret_cast<ZelFBankState_32f*>(mem.data());
            ASSERT_EQ(zelsMelFBankInit_32f(g, &order, k.winSize, k.fs, k.low, k.high, k.nFilter, k.melMul, k.melDiv,
                                           mode), zelStsNoErr);
            vector<float> a(fftLenOf(k.winSize) + 2), b(a.size());
            for (int i = 1; i <= k.nFilter + 1; ++i) {
                std::fill(a.begin(), a.end(), -1.0f), std::fill(b.begin(), b.end(), -1.0f);
                ASSERT_EQ(zelsFBankGetCoeffs_32f(f, i, a.data()), zelStsNoErr);
                ASSERT_EQ(zelsFBankGetCoeffs_32f(g, i, b.data()), zelStsNoErr);
                for (size_t j = 0; j < a.size(); ++j) EXPECT_SAME_BITS(a[j], b[j]);
            }
            EXPECT_EQ(zelsFBankFree_32f(f), zelStsNoErr);
            EXPECT_EQ(zelsFBankFree_16s(s), zelStsNoErr);
        }
    }
}

TEST(FBankBuild, MixedBanksMatchDoublePrecision) {
    const float linFreq = 1000;
    // A small melMul keeps mel values below bin numbers, so that the seam's
    // mixed falling side does not clamp to zero throughout.
    for (float melMul : {2595.0f, 10.0f}) {
    const MelCase k{512, 16000, 100, 7000, 20, melMul, 700};
    for (int nLinear : {20, 7, 1}) {
        for (int mode : {1, 2}) {
            SCOPED_TRACE(testing::Message() << "nLinear " << nLinear << " mode " << mode << " melMul " << melMul);
            ZelFBankState_32f* b = nullptr;
            int order = 0;
            ASSERT_EQ(zelsMelLinFBankInitAlloc_32f(&b, &order, k.winSize, k.fs, k.low, k.high, k.nFilter, linFreq,
                                                   nLinear, k.melMul, k.melDiv, mode), zelStsNoErr);
            const int n = k.nFilter, fftLen = 512;
            const bool allLinear = nLinear == n, bin = mode == 2;
            vector<double> f(n + 2), pos(n + 2);
            const int parts = allLinear ? n + 1 : nLinear;
            for (int i = 0; i <= (allLinear ? n + 1 : nLinear); ++i) {
                f[i] = k.low + i * double(linFreq - k.low) / parts;
                pos[i] = f[i] * fftLen / k.fs;
            }
            if (!allLinear) {
                const double ml = melD(linFreq, k), span = melD(k.high, k) - ml;
                for (int i = nLinear; i <= n + 1; ++i)
                    pos[i] = fftLen * hzD(ml + (i - nLinear) * span / (n - nLinear + 1), k) / k.fs;
            }
            vector<Zel32s> c(n + 2);
            ASSERT_EQ(zelsFBankGetCenters_32f(b, c.data()), zelStsNoErr);
            expectCentres(c, pos, bin);
            const double top = melD(k.high, k);
            vector<float> l, r;
            for (int i = 1; i <= n; ++i) {
                readFilter(b, zelsFBankGetCoeffs_32f, i, c, l, r);
                const bool lines = bin || (!allLinear && i > nLinear);
                for (int j = 0; j < int(l.size()); ++j) {
                    if (lines) {
                        expectLine(l[j], j + 1, int(l.size()), false, i, j);
                        continue;
                    }
                    const double a = melD(f[i - 1], k), bb = melD(f[i], k);
                    const double want = std::max(0.0, (melD((c[i - 1] + j) * k.fs / fftLen, k) - a) / (bb - a));
                    expectWeight(l[j], want, top, bb - a, false, "rising weight", i, j);
                }
                for (int j = 0; j < int(r.size()); ++j) {
                    const double mk = melD((c[i] + 1 + j) * k.fs / fftLen, k);
                    if (lines) {
                        expectLine(r[j], int(r.size()) - j, int(r.size()) + 1, false, i, j);
                    } else if (i == nLinear && !allLinear) {  // the seam: a bin number less a mel value
                        expectWeight(r[j], std::max(0.0, (c[i + 1] - mk) / (c[i + 1] - c[i])), top, c[i + 1] - c[i],
                                     false, "seam weight", i, j);
                    } else {
                        const double bb = melD(f[i], k), e = melD(f[i + 1], k);
                        expectWeight(r[j], std::max(0.0, (e - mk) / (e - bb)), top, e - bb, false, "falling weight", i, j);
                    }
                }
            }
            zelsFBankFree_32f(b);
        }
    }
    }
}

// ---- Evaluation ----------------------------------------------------------------------------

TEST(FBankEval, FloatSumsFollowTheGroupingAndNeverReadPastTheSpectrum) {
    const int fftLen = 512, half = 256;
    for (int nFilter = 1; nFilter <= 12; ++nFilter) {
        vector<Zel32s> c;
        ZelFBankState_32f* b = randomBank<ZelFBankState_32f>(zelsEmptyFBankInitAlloc_32f, zelsFBankSetCenters_32f,
                                                             zelsFBankSetCoeffs_32f, nFilter, fftLen, c);
        ASSERT_NE(b, nullptr);
        vector<vector<float>> l(nFilter + 1), r(nFilter + 1);
        for (int i = 1; i <= nFilter; ++i) readFilter(b, zelsFBankGetCoeffs_32f, i, c, l[i], r[i]);
        for (int offset = 0; offset < 4; ++offset) {
            // Spectrum of half + 1 bins with NaN on either side of it.
            zt::Buf<float> buf(half + 8, offset);
            buf.fill(NAN);
            float* x = buf.data() + 1;
            zt::fillUniform(x, half + 1, -10.0, 10.0);
            vector<float> out(nFilter + 1, -99.0f);
            ASSERT_EQ(zelsEvalFBank_32f(x, out.data(), b), zelStsNoErr);
            for (int i = 1; i <= nFilter; ++i) {
                EXPECT_SAME_BITS(out[i - 1], modelFilter(x, c.data(), i, l[i], r[i])) << "filter " << i;
                double exact = 0;
                for (int j = 0; j < int(l[i].size()); ++j) exact += double(l[i][j]) * x[c[i - 1] + j];
                for (int j = 0; j < int(r[i].size()); ++j) exact += double(r[i][j]) * x[c[i] + 1 + j];
                EXPECT_NEAR(out[i - 1], exact, 1e-5 * 20 * 40);
            }
            EXPECT_EQ(out[nFilter], -99.0f);
        }
        zelsFBankFree_32f(b);
    }
}

// The magnitude path is the toolkit's unscaled FFT, its magnitudes and the
// same sums; and it agrees with a direct DFT in double.
TEST(FBankEval, MagnitudeInputMatchesTheToolkitFFTAndADirectDFT) {
    const MelCase k{400, 16000, 64, 8000, 23, 2595, 700};
    const int fftLen = 512, half = 256, n = k.nFilter;
    ZelFBankState_32f *withFft = nullptr, *plain = nullptr;
    int order = 0;
    ASSERT_EQ(zelsMelFBankInitAlloc_32f(&withFft, &order, k.winSize, k.fs, k.low, k.high, n, k.melMul, k.melDiv, 5),
              zelStsNoErr);
    ASSERT_EQ(zelsMelFBankInitAlloc_32f(&plain, &order, k.winSize, k.fs, k.low, k.high, n, k.melMul, k.melDiv, 1),
              zelStsNoErr);
    vector<float> frame(fftLen, 0.0f), spectrum(fftLen + 2), mag(half + 1), got(n), want(n);
    zt::fillUniform(frame.data(), k.winSize, -1000.0, 1000.0);
    ASSERT_EQ(zelsEvalFBank_32f(frame.data(), got.data(), withFft), zelStsNoErr);
    ZelFFTSpec_R_32f* spec = nullptr;
    ASSERT_EQ(ownFFTInitAlloc_R_32f(&spec, order, 8, zelAlgHintAccurate), zelStsNoErr);
    ASSERT_EQ(ownFFTFwd_RUnfolded_32f(frame.data(), spectrum.data(), spec, nullptr), zelStsNoErr);
    ASSERT_EQ(ownMagnitude_32fc(spectrum.data(), mag.data(), half + 1), zelStsNoErr);
    ASSERT_EQ(zelsEvalFBank_32f(mag.data(), want.data(), plain), zelStsNoErr);
    vector<Zel32s> c(n + 2);
    zelsFBankGetCenters_32f(plain, c.data());
    vector<float> l, r;
    for (int i = 1; i <= n; ++i) {
        EXPECT_SAME_BITS(got[i - 1], want[i - 1]);
        readFilter(plain, zelsFBankGetCoeffs_32f, i, c, l, r);
        auto dft = [&](int bin) {
            std::complex<double> s = 0;
            for (int t = 0; t < fftLen; ++t) s += double(frame[t]) * std::polar(1.0, -2 * M_PI * double(bin) * t / fftLen);
            return std::abs(s);
        };
        double exact = 0;
        for (int j = 0; j < int(l.size()); ++j) exact += l[j] * dft(c[i - 1] + j);
        for (int j = 0; j < int(r.size()); ++j) exact += r[j] * dft(c[i] + 1 + j);
        EXPECT_NEAR(got[i - 1], exact, 1e-4 * exact);
    }
    ownFFTFree_R_32f(spec);
    zelsFBankFree_32f(withFft);
    zelsFBankFree_32f(plain);
}

// The 16-bit magnitude path: the toolkit's 16-bit FFT and magnitudes with a
// gain of 8 each, sums shifted by scaleFactor + 20; products of 16s_Sfs wrap
// at 32 bits, those of 16s32s do not. The result is the float bank's, scaled.
TEST(FBankEval, SixteenBitMagnitudeInputWrapsOnlyWhereDocumented) {
    const MelCase k{400, 16000, 64, 8000, 23, 2595, 700};
    const int fftLen = 512, half = 256, n = k.nFilter;
    ZelFBankState_16s* b = nullptr;
    ZelFBankState_32f* f = nullptr;
    int order = 0;
    ASSERT_EQ(zelsMelFBankInitAlloc_16s(&b, &order, k.winSize, k.fs, k.low, k.high, n, k.melMul, k.melDiv, 6), zelStsNoErr);
    ASSERT_EQ(zelsMelFBankInitAlloc_32f(&f, &order, k.winSize, k.fs, k.low, k.high, n, k.melMul, k.melDiv, 6), zelStsNoErr);
    ZelFFTSpec_R_16s32s* spec = nullptr;
    ASSERT_EQ(ownFFTInitAlloc_R_16s32s(&spec, order, 8, zelAlgHintAccurate), zelStsNoErr);
    vector<Zel32s> c(n + 2);
    zelsFBankGetCenters_16s(b, c.data());
    for (int amplitude : {6, 30000}) {
        const int noise = amplitude < 100 ? 2 : 20;
        vector<Zel16s> frame(fftLen, 0);
        vector<float> frameF(fftLen, 0.0f), outF(n);
        for (int t = 0; t < k.winSize; ++t) {
            frame[t] = Zel16s(amplitude * sin(0.3 * t) + zt::uniformi(-noise, noise));
            frameF[t] = frame[t];
        }
        vector<Zel32s> spectrum(fftLen + 2), mag(half + 1);
        ASSERT_EQ(ownFFTFwd_R_16s32s_Sfs(frame.data(), spectrum.data(), spec, -3, nullptr), zelStsNoErr);
        ASSERT_EQ(ownMagnitude_32sc_Sfs(spectrum.data(), mag.data(), half + 1, -3), zelStsNoErr);
        ASSERT_EQ(zelsEvalFBank_32f(frameF.data(), outF.data(), f), zelStsNoErr);
        for (int sf : {-4, 0, 5}) {
            vector<Zel16s> o16(n);
            vector<Zel32s> o32(n);
            ASSERT_EQ(zelsEvalFBank_16s_Sfs(frame.data(), o16.data(), b, sf), zelStsNoErr);
            ASSERT_EQ(zelsEvalFBank_16s32s_Sfs(frame.data(), o32.data(), b, sf), zelStsNoErr);
            bool wrapped = false;
            vector<float> l, r;
            for (int i = 1; i <= n; ++i) {
                readFilter(b, zelsFBankGetCoeffs_16s, i, c, l, r);
                int64_t wide = 0, narrow = 0;
                double slack = 0;  // Q14 truncation and the rounding of the 16-bit spectrum
                auto add = [&](Zel32s m, float w) {
                    slack += m / 64.0 / 16384 + 0.2;
                    const int64_t q = int64_t(lrintf(w * 16384.0f)) * m;
                    wide += q;
                    narrow += Zel32s(uint32_t(uint64_t(q)));
                    wrapped |= q != Zel32s(uint32_t(uint64_t(q)));
                };
                for (int j = 0; j < int(l.size()); ++j) add(mag[c[i - 1] + j], l[j]);
                for (int j = 0; j < int(r.size()); ++j) add(mag[c[i] + 1 + j], r[j]);
                EXPECT_EQ(o32[i - 1], std::clamp<int64_t>(wide >> (sf + 20), INT32_MIN, INT32_MAX)) << i;
                EXPECT_EQ(o16[i - 1], std::clamp<int64_t>(narrow >> (sf + 20), -32768, 32767)) << i;
                const double scaled = ldexp(outF[i - 1], -sf);
                EXPECT_NEAR(o32[i - 1], scaled, ldexp(slack, -sf) + 1e-4 * scaled + 2) << i;
            }
            EXPECT_EQ(wrapped, amplitude == 30000);
        }
    }
    ownFFTFree_R_16s32s(spec);
    zelsFBankFree_16s(b);
    zelsFBankFree_32f(f);
}

TEST(FBankEval, SixteenBitSumsShiftTowardMinusInfinityAndSaturate) {
    ZelFBankState_16s* b = nullptr;
    int order = 0;
    ASSERT_EQ(zelsEmptyFBankInitAlloc_16s(&b, &order, 16, 1, 0), zelStsNoErr);
    const Zel32s c[3] = {0, 3, 8};
    ASSERT_EQ(zelsFBankSetCenters_16s(b, c), zelStsNoErr);
    const float w[9] = {0.5f, 1, 1, 1, 1, 1, 1, 1, 1};
    ASSERT_EQ(zelsFBankSetCoeffs_16s(b, 1, w), zelStsNoErr);
    Zel16s x[9] = {-1, 0, 0, 0, 0, 0, 0, 0, 0};
    Zel16s o16 = 7;
    Zel32s o32 = 7;
    // -0.5 truncates toward minus infinity.
    EXPECT_EQ(zelsEvalFBank_16s_Sfs(x, &o16, b, 0), zelStsNoErr);
    EXPECT_EQ(o16, -1);
    for (auto& v : x) v = 32767;
    EXPECT_EQ(zelsEvalFBank_16s_Sfs(x, &o16, b, 0), zelStsNoErr);
    EXPECT_EQ(o16, 32767);
    EXPECT_EQ(zelsEvalFBank_16s32s_Sfs(x, &o32, b, 0), zelStsNoErr);
    EXPECT_EQ(o32, 32767 * 8 + 16383);
    EXPECT_EQ(zelsEvalFBank_16s32s_Sfs(x, &o32, b, -20), zelStsNoErr);
    EXPECT_EQ(o32, INT32_MAX);
    EXPECT_EQ(zelsEvalFBank_16s32s_Sfs(x, &o32, b, 60), zelStsNoErr);  // a shift of 74 leaves the sign
    EXPECT_EQ(o32, 0);
    EXPECT_EQ(zelsEvalFBank_16s32s_Sfs(x, &o32, b, -80), zelStsNoErr);  // and a left shift of 66 nothing
    EXPECT_EQ(o32, 0);
    for (auto& v : x) v = -32768;
    EXPECT_EQ(zelsEvalFBank_16s_Sfs(x, &o16, b, 0), zelStsNoErr);
    EXPECT_EQ(o16, -32768);
    EXPECT_EQ(zelsEvalFBank_16s32s_Sfs(x, &o32, b, 60), zelStsNoErr);
    EXPECT_EQ(o32, -1);
    zelsFBankFree_16s(b);
}

// ---- The Q30 integer bank ---------------------------------------------------------------------

TEST(FBank32s, CentresWeightsAndTheOutputRule) {
    const int winSize = 400, fs = 16000, low = 0, high = 8000, n = 23;
    int size = 0, order = 0;
    ASSERT_EQ(zelsMelFBankGetSize_32s(winSize, n, 2, &size), zelStsNoErr);
    EXPECT_EQ(size, 53252 + int(sizeof(void*) - 4) * (3 + 2 * 25));
    zt::Buf<Zel8u> mem(size);
    auto* b = reinterpret_cast<ZelFBankState_32s*>(mem.data());
    ASSERT_EQ(zelsMelFBankInit_32s(b, &order, winSize, fs, low, high, n, 2595 << 15, 700 << 15, 2), zelStsNoErr);
    EXPECT_EQ(order, 9);
    // Centres: the nearest bins of an exact mel scale, half rounded up.
    const MelCase k{winSize, float(fs), float(low), float(high), n, 2595, 700};
    const Zel32s* c = b->pCenters;
    for (int i = 0; i < n + 2; ++i) {
        const double pos = 512.0 * hzD(i * melD(high, k) / (n + 1), k) / fs;
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
    const int at = c[5];
    struct { Zel32s v; int sf; Zel32s want; } cases[] = {
        {1, 1, 1}, {-1, 1, 0}, {3, 1, 2}, {-3, 1, -1}, {INT32_MAX, -31, INT32_MAX},
        {-(1 << 20), -10, -(1 << 30)}, {-(1 << 20), -12, 0}, {-(1 << 20), -11, INT32_MIN}, {1000, 31, 0}};
    for (auto t : cases) {
        x[at] = t.v;
        ASSERT_EQ(zelsEvalFBank_32s_Sfs(x.data(), out.data(), b, t.sf), zelStsNoErr);
        EXPECT_EQ(out[4], t.want) << t.v << " at scale " << t.sf;
    }
    EXPECT_EQ(zelsEvalFBank_32s_Sfs(x.data(), out.data(), b, 32), zelStsBadArgErr);
    EXPECT_EQ(zelsEvalFBank_32s_Sfs(x.data(), out.data(), b, -32), zelStsBadArgErr);
    // The builder takes one filter more than the size query.
    EXPECT_EQ(zelsMelFBankGetSize_32s(32, 17, 2, &size), zelStsSizeErr);
    zt::Buf<Zel8u> big(1 << 16);
    EXPECT_EQ(zelsMelFBankInit_32s(reinterpret_cast<ZelFBankState_32s*>(big.data()), &order, 32, 48000, 0, 24000, 17,
                                   2595 << 15, 700 << 15, 2), zelStsNoErr);
    EXPECT_EQ(zelsMelFBankInit_32s(reinterpret_cast<ZelFBankState_32s*>(big.data()), &order, 32, 48000, 0, 24000, 18,
                                   2595 << 15, 700 << 15, 2), zelStsSizeErr);
    // highFreq is not bounded by half of sampFreq: such centres are refused, not followed.
    EXPECT_EQ(zelsMelFBankInit_32s(reinterpret_cast<ZelFBankState_32s*>(big.data()), &order, 64, 8000, 0, 24000, 4,
                                   2595 << 15, 700 << 15, 2), zelStsMelFreqErr);
}

// ---- States ------------------------------------------------------------------------------------

TEST(FBankState, EmptyBankAccessorsAndTheirIndexLimits) {
    ZelFBankState_16s* b = nullptr;
    int order = 0;
    ASSERT_EQ(zelsEmptyFBankInitAlloc_16s(&b, &order, 33, 3, 77), zelStsNoErr);  // the mode is not checked
    EXPECT_EQ(order, 6);
    Zel32s c[5] = {-1, -1, -1, -1, -1};
    vector<float> w(40, 0.25f), x(33, 1.0f);
    vector<Zel16s> x16(33, 100), o16(3, 9);
    EXPECT_EQ(zelsEvalFBank_16s_Sfs(x16.data(), o16.data(), b, 0), zelStsFBankFlagErr);
    EXPECT_EQ(zelsFBankGetCenters_16s(b, c), zelStsFBankFlagErr);
    EXPECT_EQ(zelsFBankGetCoeffs_16s(b, 1, w.data()), zelStsFBankFlagErr);
    EXPECT_EQ(zelsFBankSetCoeffs_16s(b, 1, w.data()), zelStsFBankFlagErr);
    // Centres outside 0 .. fftLen/2 or out of order are refused and change nothing.
    const Zel32s bad[][5] = {{-1, 2, 4, 6, 8}, {0, 2, 4, 6, 33}, {0, 5, 4, 6, 8}, {0, 2, 4, 9, 8}};
    for (const auto& cb : bad) EXPECT_EQ(zelsFBankSetCenters_16s(b, cb), zelStsFBankFlagErr);
    EXPECT_EQ(zelsFBankGetCenters_16s(b, c), zelStsFBankFlagErr);
    const Zel32s good[5] = {0, 4, 4, 10, 32};
    ASSERT_EQ(zelsFBankSetCenters_16s(b, good), zelStsNoErr);
    EXPECT_EQ(zelsEvalFBank_16s_Sfs(x16.data(), o16.data(), b, 0), zelStsNoErr);
    EXPECT_EQ(o16, vector<Zel16s>(3, 0));  // ready, with every weight still zero
    ASSERT_EQ(zelsFBankGetCenters_32f(reinterpret_cast<ZelFBankState_32f*>(b), c), zelStsNoErr);  // one body
    EXPECT_EQ(vector<Zel32s>(c, c + 5), vector<Zel32s>(good, good + 5));
    // Writing takes filters 1..nFilter, reading 1..nFilter + 1.
    EXPECT_EQ(zelsFBankSetCoeffs_16s(b, 0, w.data()), zelStsSizeErr);
    EXPECT_EQ(zelsFBankSetCoeffs_16s(b, 4, w.data()), zelStsSizeErr);
    EXPECT_EQ(zelsFBankGetCoeffs_16s(b, 0, w.data()), zelStsSizeErr);
    EXPECT_EQ(zelsFBankGetCoeffs_16s(b, 5, w.data()), zelStsSizeErr);
    // Q14 storage: truncation, and 2^31 and beyond turn into the most negative value.
    vector<float> in(29, 0.0f);  // 10 - 4 + 1 rising, 32 - 10 falling
    const float special[6] = {1.0f, 0.99999f, -0.99999f, 131072.0f, 1e10f, -1e10f};
    std::copy(special, special + 6, in.begin());
    in[28] = 0.25f;
    ASSERT_EQ(zelsFBankSetCoeffs_16s(b, 3, in.data()), zelStsNoErr);
    vector<float> back(40, 5.0f);
    ASSERT_EQ(zelsFBankGetCoeffs_16s(b, 3, back.data()), zelStsNoErr);
    const float want[6] = {1.0f, 16383 / 16384.0f, -16383 / 16384.0f, -131072.0f, -131072.0f, -131072.0f};
    for (int j = 0; j < 6; ++j) EXPECT_EQ(back[j], want[j]) << j;
    EXPECT_EQ(back[28], 0.25f);
    EXPECT_EQ(back[29], 5.0f);
    // Past the last filter the falling run is empty: only the rising run of c[3] .. c[4] comes back.
    std::fill(back.begin(), back.end(), 5.0f);
    ASSERT_EQ(zelsFBankGetCoeffs_16s(b, 4, back.data()), zelStsNoErr);
    EXPECT_EQ(back[22], 0.0f);
    EXPECT_EQ(back[23], 5.0f);
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
    vector<Zel32s> o32(10), c(12);
    auto* sAsF = reinterpret_cast<ZelFBankState_32f*>(s);
    auto* fAsS = reinterpret_cast<ZelFBankState_16s*>(f);
    EXPECT_EQ(zelsEvalFBank_32f(x.data(), o.data(), sAsF), zelStsContextMatchErr);
    EXPECT_EQ(zelsEvalFBank_16s_Sfs(x16.data(), o16.data(), fAsS, 0), zelStsContextMatchErr);
    EXPECT_EQ(zelsEvalFBank_16s32s_Sfs(x16.data(), o32.data(), fAsS, 0), zelStsContextMatchErr);
    EXPECT_EQ(zelsEvalFBank_32s_Sfs(o32.data(), o32.data(), reinterpret_cast<ZelFBankState_32s*>(f), 0),
              zelStsContextMatchErr);
    EXPECT_EQ(zelsFBankGetCoeffs_32f(sAsF, 1, x.data()), zelStsContextMatchErr);
    EXPECT_EQ(zelsFBankSetCoeffs_16s(fAsS, 1, x.data()), zelStsContextMatchErr);
    EXPECT_EQ(zelsFBankFree_32f(sAsF), zelStsContextMatchErr);
    EXPECT_EQ(zelsFBankGetCenters_32f(sAsF, c.data()), zelStsNoErr);  // the centre accessors take both
    // Cleared and random memory hold no bank.
    zt::Buf<Zel8u> junk(4096);
    for (int round = 0; round < 2; ++round) {
        if (round == 0) junk.fill(0); else zt::fillUniform(junk.data(), junk.size(), 0, 255);
        auto* jf = reinterpret_cast<ZelFBankState_32f*>(junk.data());
        EXPECT_EQ(zelsEvalFBank_32f(x.data(), o.data(), jf), zelStsContextMatchErr);
        EXPECT_EQ(zelsFBankGetCenters_32f(jf, c.data()), zelStsContextMatchErr);
        EXPECT_EQ(zelsFBankSetCenters_32f(jf, c.data()), zelStsContextMatchErr);
        EXPECT_EQ(zelsEvalFBank_32s_Sfs(o32.data(), o32.data(), reinterpret_cast<ZelFBankState_32s*>(junk.data()), 0),
                  zelStsContextMatchErr);
    }
    // A bank in caller memory is the caller's to release.
    int size = 0;
    ASSERT_EQ(zelsMelFBankGetSize_32f(256, 10, 1, &size), zelStsNoErr);
    zt::Buf<Zel8u> mem(size);
    auto* g = reinterpret_cast<ZelFBankState_32f*>(mem.data());
    ASSERT_EQ(zelsMelFBankInit_32f(g, &order, 256, 8000, 100, 4000, 10, 2595, 700, 1), zelStsNoErr);
    EXPECT_EQ(zelsFBankFree_32f(g), zelStsContextMatchErr);
    EXPECT_EQ(zelsEvalFBank_32f(x.data(), o.data(), g), zelStsNoErr);
    zelsFBankFree_32f(f);
    zelsFBankFree_16s(s);
}

// ---- Check orders -------------------------------------------------------------------------------

TEST(FBankChecks, EveryBuilderTestsInItsOrder) {
    ZelFBankState_32f* f = nullptr;
    int order = -1, size = 0;
    zt::Buf<Zel8u> mem(1 << 16);
    auto* g = reinterpret_cast<ZelFBankState_32f*>(mem.data());
    auto init = [&](int win, float fs, float lo, float hi, int n, int mode) {
        return zelsMelFBankInit_32f(g, &order, win, fs, lo, hi, n, 2595, 700, mode);
    };
    EXPECT_EQ(zelsMelFBankInit_32f(nullptr, &order, 0, 0, 0, 0, 0, 0, 0, 0), zelStsNullPtrErr);
    EXPECT_EQ(zelsMelFBankInitAlloc_32f(&f, nullptr, 0, 0, 0, 0, 0, 0, 0, 0), zelStsNullPtrErr);
    EXPECT_EQ(init(0, -1, 0, 0, 1, 3), zelStsSizeErr);
    EXPECT_EQ(init(1, 8000, 100, 100, 0, 3), zelStsSizeErr);
    EXPECT_EQ(init(1, 0, 100, 5000, 1, 3), zelStsSizeErr);
    EXPECT_EQ(init(1, 8000, 0, 50, 1, 3), zelStsSizeErr);  // lowFreq 0 is refused
    EXPECT_EQ(init(1, 8000, 100, 99, 1, 3), zelStsMelFreqErr);
    EXPECT_EQ(init(1, 8000, 100, 4001, 1, 3), zelStsMelFreqErr);
    for (int mode : {0, 3, 4, 7, 8, 9}) EXPECT_EQ(init(1, 8000, 100, 4000, 1, mode), zelStsMelFlagErr) << mode;
    EXPECT_EQ(order, -1);
    // Window sizes 1 and 2 give order 1, 3 gives 2; highFreq = lowFreq passes.
    EXPECT_EQ(init(1, 8000, 100, 4000, 1, 1), zelStsNoErr);
    EXPECT_EQ(order, 1);
    EXPECT_EQ(init(2, 8000, 100, 4000, 1, 2), zelStsNoErr);
    EXPECT_EQ(order, 1);
    EXPECT_EQ(init(3, 8000, 100, 100, 1, 1), zelStsNoErr);
    EXPECT_EQ(order, 2);
    // A NaN passes the checks; the centres it would give lie outside the spectrum.
    EXPECT_EQ(init(64, 8000, 100, NAN, 4, 1), zelStsMelFreqErr);
    EXPECT_EQ(init(64, NAN, 100, 200, 4, 1), zelStsMelFreqErr);
    float v = 0;
    EXPECT_EQ(zelsEvalFBank_32f(&v, &v, g), zelStsContextMatchErr);  // a failed build leaves no bank
    // The mixed builder: all sizes, then frequencies, then mode, and no null test before them.
    auto mixed = [&](ZelFBankState_32f** pp, int n, float lin, int nLin, float hi, int mode) {
        return zelsMelLinFBankInitAlloc_32f(pp, &order, 256, 8000, 100, hi, n, lin, nLin, 2595, 700, mode);
    };
    EXPECT_EQ(mixed(nullptr, 10, 1000, 0, 4000, 1), zelStsSizeErr);
    EXPECT_EQ(mixed(nullptr, 10, 1000, 11, 4000, 1), zelStsSizeErr);
    EXPECT_EQ(mixed(nullptr, 10, 99, 5, 4000, 3), zelStsMelFreqErr);
    EXPECT_EQ(mixed(nullptr, 10, 1000, 5, 999, 3), zelStsMelFreqErr);
    EXPECT_EQ(mixed(nullptr, 10, 1000, 5, 4000, 3), zelStsMelFlagErr);
    EXPECT_EQ(mixed(nullptr, 10, 1000, 5, 4000, 1), zelStsNullPtrErr);
    EXPECT_EQ(zelsEmptyFBankInitAlloc_32f(nullptr, nullptr, 0, 1, 0), zelStsSizeErr);
    EXPECT_EQ(zelsEmptyFBankInitAlloc_32f(nullptr, nullptr, 1, 0, 0), zelStsSizeErr);
    EXPECT_EQ(zelsEmptyFBankInitAlloc_32f(nullptr, nullptr, 1, 1, 0), zelStsNullPtrErr);
    // Size queries: pointer, sizes, mode.
    EXPECT_EQ(zelsMelFBankGetSize_16s(0, 0, 0, nullptr), zelStsNullPtrErr);
    EXPECT_EQ(zelsMelFBankGetSize_16s(0, 1, 0, &size), zelStsSizeErr);
    EXPECT_EQ(zelsMelFBankGetSize_16s(1, 1, 4, &size), zelStsMelFlagErr);
    ASSERT_EQ(zelsMelFBankGetSize_32f(400, 23, 1, &size), zelStsNoErr);
    EXPECT_EQ(size, 52804 + int(sizeof(void*) - 4) * (5 + 2 * 25));  // the 32-bit formula, pointers at their width
    EXPECT_EQ(zelsMelFBankGetSize_32s(400, 23, 1, nullptr), zelStsNullPtrErr);
    EXPECT_EQ(zelsMelFBankGetSize_32s(31, 23, 1, &size), zelStsSizeErr);
    EXPECT_EQ(zelsMelFBankGetSize_32s(400, 23, 1, &size), zelStsMelFlagErr);
    // The Q30 builder: null, sizes, mode, rates, frequencies, mel parameters.
    auto* q = reinterpret_cast<ZelFBankState_32s*>(mem.data());
    auto init32s = [&](int win, int fs, int lo, int hi, int n, int mul, int div, int mode) {
        return zelsMelFBankInit_32s(q, &order, win, fs, lo, hi, n, mul, div, mode);
    };
    EXPECT_EQ(zelsMelFBankInit_32s(q, nullptr, 0, 0, 0, 0, 0, 0, 0, 0), zelStsNullPtrErr);
    EXPECT_EQ(init32s(8193, 0, -1, 0, 1, 0, 0, 1), zelStsSizeErr);
    EXPECT_EQ(init32s(400, 0, -1, 0, 1, 0, 0, 1), zelStsSizeErr);  // highFreq below 1
    EXPECT_EQ(init32s(400, 0, -1, 5, 1, 0, 0, 1), zelStsMelFlagErr);
    EXPECT_EQ(init32s(400, 48001, 0, 5, 1, 0, 0, 2), zelStsSizeErr);
    EXPECT_EQ(init32s(400, 16000, -1, 5, 1, 0, 0, 2), zelStsSizeErr);
    EXPECT_EQ(init32s(400, 16000, 5, 5, 1, 0, 0, 2), zelStsMelFreqErr);
    EXPECT_EQ(init32s(400, 16000, 0, 24001, 1, 0, 0, 2), zelStsMelFreqErr);
    EXPECT_EQ(init32s(400, 16000, 0, 8000, 1, 524289, 524288, 2), zelStsBadArgErr);
    EXPECT_EQ(init32s(400, 16000, 0, 8000, 1, 1073741824, 524289, 2), zelStsBadArgErr);
    EXPECT_EQ(init32s(400, 16000, 0, 8000, 1, 524289, 524289, 2), zelStsNoErr);
    // Evaluation and accessors: pointers, then the kind, then readiness.
    EXPECT_EQ(zelsEvalFBank_32f(nullptr, &v, reinterpret_cast<ZelFBankState_32f*>(mem.data())), zelStsNullPtrErr);
    EXPECT_EQ(zelsFBankGetCoeffs_32f(nullptr, 0, &v), zelStsNullPtrErr);
    EXPECT_EQ(zelsFBankSetCenters_16s(nullptr, nullptr), zelStsNullPtrErr);
    EXPECT_EQ(zelsFBankFree_16s(nullptr), zelStsNullPtrErr);
    Zel32s o = 5;
    EXPECT_EQ(zelsEvalFBank_32s_Sfs(&o, nullptr, q, 99), zelStsNullPtrErr);
    EXPECT_EQ(zelsEvalFBank_32s_Sfs(&o, &o, q, 99), zelStsBadArgErr);
    q->nFilter = 0;  // a bank without filters returns at once
    EXPECT_EQ(zelsEvalFBank_32s_Sfs(&o, &o, q, 0), zelStsNoErr);
    EXPECT_EQ(o, 5);
}

// ---- Caller memory ---------------------------------------------------------------------------------

// An in-place builder stays inside the size its query reported, however the
// block is aligned, and builds the bank of the allocating form.
TEST(FBankMemory, InPlaceBuildersStayInsideTheReportedSize) {
    constexpr int kGuard = 64;
    const struct { int win, n; } shapes[] = {{1, 1}, {3, 2}, {32, 7}, {400, 23}, {1000, 60}};
    for (auto shape : shapes) {
        for (int mode : {1, 2, 5, 6}) {
            for (int kind = 0; kind < 3; ++kind) {
                if (kind == 2 && (mode != 2 || shape.win < 32)) continue;
                int size = 0;
                ZelStatus st = kind == 0   ? zelsMelFBankGetSize_32f(shape.win, shape.n, mode, &size)
                               : kind == 1 ? zelsMelFBankGetSize_16s(shape.win, shape.n, mode, &size)
                                           : zelsMelFBankGetSize_32s(shape.win, shape.n, mode, &size);
                ASSERT_EQ(st, zelStsNoErr);
                for (int offset = 0; offset < 64; offset += int(sizeof(void*))) {
                    SCOPED_TRACE(testing::Message() << "win " << shape.win << " mode " << mode << " kind " << kind
                                                    << " offset " << offset);
                    std::unique_ptr<Zel8u[]> raw(new Zel8u[offset + size + kGuard]);
                    memset(raw.get(), 0xa5, offset + size + kGuard);
                    void* p = raw.get() + offset;
                    int order = 0;
                    const float fs = 16000;
                    st = kind == 0 ? zelsMelFBankInit_32f(static_cast<ZelFBankState_32f*>(p), &order, shape.win, fs,
                                                          100, 7900, shape.n, 2595, 700, mode)
                         : kind == 1 ? zelsMelFBankInit_16s(static_cast<ZelFBankState_16s*>(p), &order, shape.win, fs,
                                                            100, 7900, shape.n, 2595, 700, mode)
                                     : zelsMelFBankInit_32s(static_cast<ZelFBankState_32s*>(p), &order, shape.win,
                                                            16000, 100, 7900, shape.n, 2595 << 15, 700 << 15, mode);
                    ASSERT_EQ(st, zelStsNoErr);
                    for (int j = 0; j < kGuard; ++j) ASSERT_EQ(raw[offset + size + j], 0xa5) << "byte " << size + j;
                    if (kind != 0) continue;
                    ZelFBankState_32f* a = nullptr;
                    ASSERT_EQ(zelsMelFBankInitAlloc_32f(&a, &order, shape.win, fs, 100, 7900, shape.n, 2595, 700, mode),
                              zelStsNoErr);
                    const int fftLen = 1 << order;
                    vector<float> x(fftLen + 2), o1(shape.n), o2(shape.n);
                    zt::fillUniform(x.data(), x.size(), -1.0, 1.0);
                    ASSERT_EQ(zelsEvalFBank_32f(x.data(), o1.data(), static_cast<ZelFBankState_32f*>(p)), zelStsNoErr);
                    ASSERT_EQ(zelsEvalFBank_32f(x.data(), o2.data(), a), zelStsNoErr);
                    for (int i = 0; i < shape.n; ++i) EXPECT_SAME_BITS(o1[i], o2[i]);
                    zelsFBankFree_32f(a);
                }
            }
        }
    }
}

}  // namespace
