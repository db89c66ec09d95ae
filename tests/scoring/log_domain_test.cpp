// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "common.hpp"
#include "scoring/log_domain.hpp"
#include "scoring/log_domain_kernels.hpp"

using zel::logd::Set32;
using zel::logd::Set64;
using zt::Buf;

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr int kHints32[] = {zelAlgHintAccurate, zelAlgHintFast};

// ---- References written from the family's rules, one element at a time ----

// M + log(1 + exp(d)) by the polynomial of regime g of the single set.
float poly32(float m, float d, int g, bool fast) {
    const double* c = Set32::kPoly[g];
    const float x = d - static_cast<float>(Set32::kShift[g]);
    if (fast) {
        float p = static_cast<float>(c[10]);
        for (int r = 9; r >= 0; --r) p = p * x + static_cast<float>(c[r]);
        return m + p;
    }
    const double xd = x, y = xd * xd;
    double even = c[10], odd = c[9];
    for (int r = 8; r >= 0; r -= 2) even = even * y + c[r];
    for (int r = 7; r >= 1; r -= 2) odd = odd * y + c[r];
    return static_cast<float>((m + even) + xd * odd);
}

// `lane`: the vector code's rule at the exact thresholds, else the single-element rule.
float fold32(float a, float b, bool fast, bool lane) {
    const float m = std::max(a, b), d = std::min(a, b) - m;
    if (lane ? d < Set32::kCutf : d <= Set32::kCutf) return m < -4500000.0f ? -4500000.0f : m;
    const int g = lane ? (d > Set32::kBoundary1f ? 0 : d > Set32::kBoundary2f ? 1 : 2)
                       : (d >= Set32::kBoundary1f ? 0 : d >= Set32::kBoundary2f ? 1 : 2);
    return poly32(m, d, g, fast);
}

// The double set with even and odd powers split.
double fold64(double a, double b) {
    const double m = std::max(a, b), d = std::min(a, b) - m;
    if (d < Set64::kCut) return m < -9e9 ? -1e10 : m;
    const int g = d > -3.5 ? 0 : d > -9.0 ? 1 : 2;
    const double* c = Set64::kPoly[g];
    const double x = d - Set64::kShift[g], y = x * x;
    double even = c[20], odd = c[21];
    for (int r = 18; r >= 0; r -= 2) even = even * y + c[r];
    for (int r = 19; r >= 1; r -= 2) odd = odd * y + c[r];
    return (m + even) + x * odd;
}

// Pairs whose differences cover every regime, the cut and beyond.
void fillPairs(float* a, float* b, int n) {
    for (int i = 0; i < n; ++i) a[i] = zt::uniform(-4.0f, 4.0f), b[i] = a[i] + zt::uniform(-20.0f, 20.0f);
}

template <class T>
std::vector<T> vec(const T* p, int n) { return std::vector<T>(p, p + n); }

// a (+) b in five elements, four lanes and a tail, under each single-set hint.
std::vector<float> add32Everywhere(float a, float b) {
    std::vector<float> all;
    for (int hint : kHints32) {
        std::vector<float> va(5, a), vb(5, b);
        EXPECT_EQ(zelsLogAdd_32f(va.data(), vb.data(), 5, hint), zelStsNoErr);
        all.insert(all.end(), vb.begin(), vb.end());
    }
    return all;
}

// a (+) b in three elements through the exported and the split double kernel.
std::vector<double> add64Everywhere(double a, double b) {
    std::vector<double> va(3, a), vb(3, b), vc(3, b);
    EXPECT_EQ(zelsLogAdd_64f(va.data(), vb.data(), 3, zelAlgHintNone), zelStsNoErr);
    ownLogAdd_64f(va.data(), vc.data(), 3);
    vb.insert(vb.end(), vc.begin(), vc.end());
    return vb;
}

}  // namespace

TEST(LogDomain, PolynomialsStayWithinTheirBoundsInEveryRegime) {
    auto check = [](auto set, double bound, double evalSlack, auto evaluate) {
        using Set = decltype(set);
        const double lo[3] = {Set::kBoundary1, Set::kBoundary2, Set::kCut};
        const double hi[3] = {0.0, Set::kBoundary1, Set::kBoundary2};
        for (int g = 0; g < 3; ++g) {
            long double worstPoly = 0, worstEval = 0;
            for (int i = 0; i <= 20000; ++i) {
                const double d = lo[g] + (hi[g] - lo[g]) * i / 20000.0;
                const long double x = d - Set::kShift[g], t = log1pl(expl(d));
                long double p = 0;
                for (int r = Set::kDegree; r >= 0; --r) p = p * x + Set::kPoly[g][r];
                worstPoly = std::max(worstPoly, fabsl(p - t));
                worstEval = std::max(worstEval, fabsl(evaluate(d) - t));
            }
            EXPECT_LE(worstPoly, bound) << "regime " << g;
            EXPECT_LE(worstEval, bound + evalSlack) << "regime " << g;
        }
    };
    // Horner's rule in double adds its rounding to the polynomial's own error.
    check(Set32{}, 5e-9, 1e-15, [](double d) { return zel::logd::foldHorner<Set32>(0.0, d); });
    check(Set64{}, 3.5e-15, 2e-15, [](double d) {
        const double zero = 0.0;
        zelsLogAdd_64f(&zero, &d, 1, zelAlgHintNone);
        return d;
    });
    // The split into even and odd powers cancels large partial sums far from
    // the expansion point: about 4e-14 is lost at the low end of regime 2.
    check(Set64{}, 3.5e-15, 5e-14, [](double d) {
        const double zero = 0.0;
        ownLogAdd_64f(&zero, &d, 1);
        return d;
    });
}

TEST(LogAdd32f, VectorAndTailMatchTheFoldBitForBit) {
    for (int hint : kHints32) {
        const bool fast = hint == zelAlgHintFast;
        for (int len = 1; len <= 21; ++len) {
            for (int offset : {0, 1}) {
                Buf<float> a(len, offset), b(len, 3 - offset);
                fillPairs(a.data(), b.data(), len);
                std::vector<float> expect(len);
                for (int i = 0; i < len; ++i) expect[i] = fold32(a[i], b[i], fast, i < len / 4 * 4);
                ASSERT_EQ(zelsLogAdd_32f(a.data(), b.data(), len, hint), zelStsNoErr);
                for (int i = 0; i < len; ++i) EXPECT_SAME_BITS(b[i], expect[i]) << "len " << len << " i " << i;
            }
        }
        // One vector as both operands: each element folds with itself, d = 0.
        float v[9] = {-3, -2, -1, 0, 1, 2, 3, 4, 5};
        ASSERT_EQ(zelsLogAdd_32f(v, v, 9, hint), zelStsNoErr);
        for (int i = 0; i < 9; ++i) EXPECT_SAME_BITS(v[i], fold32(i - 3.0f, i - 3.0f, fast, i < 8));
    }
}

TEST(LogAdd, ExactThresholdsFollowTheRuleOfEachPath) {
    // d exactly at a threshold, with an M for which the two rules give different bits.
    struct Case { float d, m; int vectorRegime, tailRegime; };  // regime 3: correction dropped
    const Case cases[] = {{Set32::kBoundary1f, -0.0625f, 1, 0},
                          {Set32::kBoundary2f, -0.0009765625f, 2, 1},
                          {Set32::kCutf, 0.0f, 2, 3}};
    for (int hint : kHints32) {
        for (const Case& c : cases) {
            float a[7], b[7];
            for (int i = 0; i < 7; ++i) a[i] = c.m, b[i] = c.m + c.d;
            ASSERT_EQ(b[0] - a[0], c.d);
            auto at = [&](int g) { return g == 3 ? c.m : poly32(c.m, c.d, g, hint == zelAlgHintFast); };
            ASSERT_NE(at(c.vectorRegime), at(c.tailRegime));
            ASSERT_EQ(zelsLogAdd_32f(a, b, 7, hint), zelStsNoErr);
            for (int i = 0; i < 7; ++i) EXPECT_SAME_BITS(b[i], at(i < 4 ? c.vectorRegime : c.tailRegime)) << i;
        }
    }
    // The double set has one rule: d at a boundary is in the regime below it,
    // whose x is then 0, and d at the cut keeps its correction.
    const double zero[3] = {0, 0, 0};
    double horner[3] = {Set64::kBoundary1, Set64::kBoundary2, Set64::kCut}, split[3];
    std::copy(horner, horner + 3, split);
    ASSERT_EQ(zelsLogAdd_64f(zero, horner, 3, zelAlgHintNone), zelStsNoErr);
    ownLogAdd_64f(zero, split, 3);
    for (const double* r : {horner, split}) {
        EXPECT_SAME_BITS(r[0], Set64::kPoly[1][0]);
        EXPECT_SAME_BITS(r[1], Set64::kPoly[2][0]);
        EXPECT_GT(r[2], 0.0);
    }
}

TEST(LogAdd, FloorsOfBothSets) {
    // Four lanes and a tail element each. The polynomial branch is never
    // floored: two operands of -1e7 give about -1e7.
    const float a32[] = {-4500000, -1e7f, -1e7f}, b32[] = {-1e9f, -1e7f, -2e7f}, e32[] = {-4500000, -9999999, -4500000};
    for (int k = 0; k < 3; ++k) EXPECT_EQ(add32Everywhere(a32[k], b32[k]), std::vector<float>(10, e32[k])) << k;
    // The double set snaps anything under -9e9 below the cut to -1e10.
    const double a64[] = {-1e11, -1e11, -8.9e9, -9.5e9}, b64[] = {-1e11, -2e11, -9.5e9, -9.6e9};
    const double e64[] = {-1e11 + 0.6931471805599475, -1e10, -8.9e9, -1e10};
    for (int k = 0; k < 4; ++k) EXPECT_EQ(add64Everywhere(a64[k], b64[k]), std::vector<double>(6, e64[k])) << k;
}

TEST(LogDomain, HintsSelectTheKernelOrNothing) {
    // zelsLogSum reads no hint at all; its tests pass unknown ones.
    const int n = 37;
    std::vector<float> a(n), b(n);
    zt::fillUniform(a.data(), n, -2, 2);
    zt::fillUniform(b.data(), n, -6, 2);
    auto add32 = [&](int hint) {
        std::vector<float> r = b;
        EXPECT_EQ(zelsLogAdd_32f(a.data(), r.data(), n, hint), zelStsNoErr);
        return r;
    };
    const auto accurate = add32(zelAlgHintAccurate), fast = add32(zelAlgHintFast);
    EXPECT_EQ(add32(zelAlgHintNone), accurate);
    EXPECT_NE(fast, accurate);
    for (int hint : {3, 7, -1}) EXPECT_EQ(add32(hint), b);
    const std::vector<double> a64(a.begin(), a.end()), b64(b.begin(), b.end());
    std::vector<double> r64[4] = {b64, b64, b64, b64};
    for (int hint = 0; hint < 4; ++hint) EXPECT_EQ(zelsLogAdd_64f(a64.data(), r64[hint].data(), n, hint), zelStsNoErr);
    EXPECT_EQ(r64[1], r64[0]);
    EXPECT_EQ(r64[2], r64[0]);
    EXPECT_NE(r64[0], b64);
    EXPECT_EQ(r64[3], b64);
}

TEST(LogAddFixed, BlocksThroughSinglePrecisionAndBackByTruncation) {
    // 300 elements: two full blocks of 128 and a short one.
    auto check = [](auto type, int range, int sf, int hint) {
        using T = decltype(type);
        const int n = 300;
        Buf<T> a(n), b(n);
        zt::fillUniform(a.data(), n, -range, range);
        zt::fillUniform(b.data(), n, -range, range);
        const float s = static_cast<float>(ldexp(1.0, -sf));
        std::vector<float> fa(n), fb(n);
        for (int i = 0; i < n; ++i) fa[i] = static_cast<float>(a[i]) * s, fb[i] = static_cast<float>(b[i]) * s;
        zelsLogAdd_32f(fa.data(), fb.data(), n, hint);
        if constexpr (sizeof(T) == 2)
            ASSERT_EQ(zelsLogAdd_16s_Sfs(a.data(), b.data(), n, sf, hint), zelStsNoErr);
        else
            ASSERT_EQ(zelsLogAdd_32s_Sfs(a.data(), b.data(), n, sf, hint), zelStsNoErr);
        for (int i = 0; i < n; ++i) EXPECT_EQ(b[i], static_cast<T>(truncl(ldexpl(fb[i], sf)))) << i;
    };
    for (int hint : {zelAlgHintNone, zelAlgHintFast, zelAlgHintAccurate}) {
        for (int sf : {0, 5, -2}) check(Zel16s(), 3000, sf, hint);
        check(Zel32s(), 400000000, 24, hint);
    }
    // Truncation goes toward zero: -5 (+) -5 = -4.31 becomes -4, 5 (+) 5 = 5.69 becomes 5.
    Zel16s a[] = {-5, 5}, b[] = {-5, 5};
    ASSERT_EQ(zelsLogAdd_16s_Sfs(a, b, 2, 0, zelAlgHintAccurate), zelStsNoErr);
    EXPECT_EQ(vec(b, 2), (std::vector<Zel16s>{-4, 5}));
    // An unknown hint runs no kernel, but the elements still go through single precision.
    Zel32s c[] = {16777217, -16777217, 5}, d[] = {16777217, -16777217, 5};
    ASSERT_EQ(zelsLogAdd_32s_Sfs(c, d, 3, 0, 3), zelStsNoErr);
    EXPECT_EQ(vec(d, 3), (std::vector<Zel32s>{16777216, -16777216, 5}));
    Zel16s e[] = {7, -7}, f[] = {7, -7};
    ASSERT_EQ(zelsLogAdd_16s_Sfs(e, f, 2, 0, 7), zelStsNoErr);
    EXPECT_EQ(vec(f, 2), (std::vector<Zel16s>{7, -7}));
    ASSERT_EQ(zelsLogAdd_16s_Sfs(e, f, 2, 200, 7), zelStsNoErr);  // 2^-200 is 0 in single precision
    EXPECT_EQ(vec(f, 2), (std::vector<Zel16s>{0, 0}));
}

TEST(LogSub, AnyElementOutOfOrderRefusesTheWholeVector) {
    float s32[] = {1, 2, 3, 4, 5}, d32[] = {0, 1, 2, 3, 5};
    double s64[] = {1, 2, 3, 4, 5}, d64[] = {0, 1, 2, 3, 6};
    Zel16s s16[] = {10, 20, 30}, d16[] = {9, 19, 30};
    EXPECT_EQ(zelsLogSub_32f(s32, d32, 5), zelStsRangeErr);
    EXPECT_EQ(zelsLogSub_64f(s64, d64, 5), zelStsRangeErr);
    EXPECT_EQ(zelsLogSub_16s_Sfs(s16, d16, 3, 0), zelStsRangeErr);
    EXPECT_EQ(vec(d32, 5), (std::vector<float>{0, 1, 2, 3, 5}));
    EXPECT_EQ(vec(d64, 5), (std::vector<double>{0, 1, 2, 3, 6}));
    EXPECT_EQ(vec(d16, 3), (std::vector<Zel16s>{9, 19, 30}));
    // The integer difference is formed in 32 bits and wraps: INT32_MIN - 1 is
    // refused; INT32_MAX - (-1) passes, and since its single-precision
    // difference is positive, 1 - exp(x) is below the test: the floor.
    Zel32s src[] = {1, -1}, dst[] = {INT32_MIN, INT32_MAX};
    EXPECT_EQ(zelsLogSub_32s_Sfs(src, dst, 2, 0), zelStsRangeErr);
    EXPECT_EQ(dst[0], INT32_MIN);
    EXPECT_EQ(zelsLogSub_32s_Sfs(src + 1, dst + 1, 1, 0), zelStsNoErr);
    EXPECT_EQ(dst[1], -4500000);
}

TEST(LogSub, ValuesCutsAndFloors) {
    const int n = 203;
    std::vector<float> a(n), b(n), r(n);
    for (int i = 0; i < n; ++i) a[i] = zt::uniform(-30, 30), b[i] = r[i] = a[i] - zt::uniform(0.001f, 14.0f);
    ASSERT_EQ(zelsLogSub_32f(a.data(), r.data(), n), zelStsNoErr);
    for (int i = 0; i < n; ++i) {
        const long double t = a[i] + log1pl(-expl(static_cast<long double>(b[i]) - a[i]));
        EXPECT_NEAR(r[i], t, 4e-6 * std::max(1.0L, fabsl(t))) << a[i] << " " << b[i];
    }
    // Below the cut: the minuend, floored. 1 - exp(d) that rounds to 0: the floor.
    float fa[] = {3, -5e6f, 0}, fb[] = {-20, -6e6f, -1e-30f};
    ASSERT_EQ(zelsLogSub_32f(fa, fb, 3), zelStsNoErr);
    EXPECT_EQ(vec(fb, 3), (std::vector<float>{3, -4500000, -4500000}));
    double da[] = {3, -9.5e9, -8.5e9, 0, 1}, db[] = {-30, -9.6e9, -9.6e9, -1e-300, 0};
    ASSERT_EQ(zelsLogSub_64f(da, db, 5), zelStsNoErr);
    EXPECT_EQ(vec(db, 4), (std::vector<double>{3, -1e10, -8.5e9, -1e10}));
    EXPECT_NEAR(db[4], 1 + log1p(-exp(-1.0)), 1e-15);
}

TEST(LogSubFixed, ScaleEntersOnlyThroughTheDifferenceAnd16BitsWrap) {
    // 1000 + ln(1 - e^(-1/16)) = 997.196: the logarithm is not brought to the scale.
    // -32767 + ln(1 - e^(-1/256)) = -32772.5, beyond 16 bits. With scale factor 140
    // the difference vanishes, 1 - exp(x) is 0 and the floor -4500000 is stored.
    // Just above the cut (x = -15.25) the tiny logarithm still truncates 100 to 99;
    // below it (x = -15.5) the minuend stands.
    const Zel16s s16[] = {1000, -32767, 5, 100, 100}, d16in[] = {999, -32768, 4, 39, 38};
    const int sf[] = {4, 8, 140, 2, 2};
    const Zel32s e32[] = {997, -32772, -4500000, 99, 100};
    const Zel16s e16[] = {997, 32764, 21984, 99, 100};  // the low 16 bits
    for (int k = 0; k < 5; ++k) {
        Zel16s d16 = d16in[k];
        Zel32s s32 = s16[k], d32 = d16in[k];
        ASSERT_EQ(zelsLogSub_16s_Sfs(&s16[k], &d16, 1, sf[k]), zelStsNoErr);
        ASSERT_EQ(zelsLogSub_32s_Sfs(&s32, &d32, 1, sf[k]), zelStsNoErr);
        EXPECT_EQ(d16, e16[k]) << k;
        EXPECT_EQ(d32, e32[k]) << k;
    }
}

TEST(LogSum, FollowsTheStatedLaneOrderBitForBit) {
    for (int len = 1; len <= 40; ++len) {
        for (int trial = 0; trial < 16; ++trial) {
            Buf<float> p(len, trial % 2);
            zt::fillUniform(p.data(), len, -12.0, 3.0);
            float r = p[0];
            int i = 1;
            if (len >= 8) {
                float acc[4] = {p[0], p[1], p[2], p[3]};
                for (i = 4; i + 4 <= len; i += 4)
                    for (int l = 0; l < 4; ++l) acc[l] = fold32(p[i + l], acc[l], true, true);
                acc[0] = fold32(acc[2], acc[0], true, true);
                acc[1] = fold32(acc[3], acc[1], true, true);
                r = fold32(acc[1], acc[0], true, true);
            }
            for (; i < len; ++i) r = fold32(p[i], r, true, false);
            float got = 0;
            ASSERT_EQ(zelsLogSum_32f(p.data(), &got, len, 7), zelStsNoErr);
            EXPECT_SAME_BITS(got, r) << "len " << len;

            const std::vector<double> q(p.data(), p.data() + len);
            double r64 = q[0];
            i = 1;
            if (len >= 5) {
                double acc[2] = {q[0], q[1]};
                for (i = 2; i + 2 <= len; i += 2) acc[0] = fold64(q[i], acc[0]), acc[1] = fold64(q[i + 1], acc[1]);
                r64 = fold64(acc[1], acc[0]);
            }
            for (; i < len; ++i) r64 = fold64(q[i], r64);
            double got64 = 0;
            ASSERT_EQ(zelsLogSum_64f(q.data(), &got64, len, -3), zelStsNoErr);
            EXPECT_SAME_BITS(got64, r64) << "len " << len;
        }
    }
    // Lanes of one group in different regimes, at the thresholds (against a
    // first group of zeros) and on either side of them, below the cut and
    // under the floor: each lane keeps the polynomial of its own regime.
    const float edge[] = {-2.55f, -6.8f, -15.3195879547406f, -1.0f, -4.0f, -9.0f, -30.0f, 0.0f, -5e6f};
    const int kEdges = static_cast<int>(sizeof edge / sizeof edge[0]);
    for (int trial = 0; trial < 64; ++trial) {
        float p[16];
        for (int i = 0; i < 16; ++i) {
            const float e = i < 4 && trial % 4 == 0 ? 0.0f : edge[(trial * 7 + i * 5 + i * i) % kEdges];
            p[i] = i % 3 == 2 && trial % 4 != 0 ? std::nextafter(e, trial % 2 ? 1.0f : -1.0f) : e;
        }
        float acc[4] = {p[0], p[1], p[2], p[3]};
        for (int i = 4; i < 16; i += 4)
            for (int l = 0; l < 4; ++l) acc[l] = fold32(p[i + l], acc[l], true, true);
        acc[0] = fold32(acc[2], acc[0], true, true);
        acc[1] = fold32(acc[3], acc[1], true, true);
        const float want = fold32(acc[1], acc[0], true, true);
        float got = 0;
        ASSERT_EQ(zelsLogSum_32f(p, &got, 16, zelAlgHintNone), zelStsNoErr);
        EXPECT_SAME_BITS(got, want) << "trial " << trial;
    }
    // One element is written as it is, without a fold, whatever its bits.
    const float signalling = zt::fromBits(0x7fa00001u);
    float out = 0;
    ASSERT_EQ(zelsLogSum_32f(&signalling, &out, 1, zelAlgHintNone), zelStsNoErr);
    EXPECT_SAME_BITS(out, signalling);
}

TEST(LogSumFixed, ShortPathInDoubleBlockPathInSingle) {
    // 32-bit values with 20 fractional bits keep every bit of a single-precision result.
    auto check = [](auto type, int range, int sf) {
        using T = decltype(type);
        for (int trial = 0; trial < 40; ++trial) {
            for (int len : {1, 2, 3, 6, 7, 8, 129, 300}) {
                Buf<T> p(len);
                zt::fillUniform(p.data(), len, -range, range);
                const double c = ldexp(1.0, -sf);
                T expect = p[0];
                if (len >= 2 && len <= 6) {  // the single set's double coefficients, each fold rounded to single
                    double r = p[0] * c;
                    for (int i = 1; i < len; ++i) r = static_cast<float>(zel::logd::foldHorner<Set32>(p[i] * c, r));
                    expect = static_cast<T>(trunc(r / c));
                } else if (len > 6) {  // blocks of 128, the running value in front of each later block
                    std::vector<float> buf;
                    float r = 0;
                    for (int start = 0; start < len; start += 128) {
                        buf.assign(start ? 1 : 0, r);
                        for (int i = start; i < std::min(len, start + 128); ++i)
                            buf.push_back(static_cast<float>(p[i]) * static_cast<float>(c));
                        ownLogSum_32f(buf.data(), &r, static_cast<int>(buf.size()));
                    }
                    expect = static_cast<T>(truncf(static_cast<float>(r / c)));
                }
                T got = 0;
                const int s = len == 1 ? 1000 : sf;  // one element: the scale factor is not read
                if constexpr (sizeof(T) == 2)
                    ASSERT_EQ(zelsLogSum_16s_Sfs(p.data(), &got, len, s, 9), zelStsNoErr);
                else
                    ASSERT_EQ(zelsLogSum_32s_Sfs(p.data(), &got, len, s, 9), zelStsNoErr);
                EXPECT_EQ(got, expect) << "len " << len;
            }
        }
    };
    check(Zel16s(), 2000, 7);
    check(Zel32s(), 16000000, 20);
    // Saturation on both paths.
    const std::vector<Zel16s> top16(8, INT16_MAX);
    const std::vector<Zel32s> top32(8, INT32_MAX);
    for (int len : {3, 8}) {
        Zel16s r16 = 0;
        Zel32s r32 = 0;
        ASSERT_EQ(zelsLogSum_16s_Sfs(top16.data(), &r16, len, 0, 0), zelStsNoErr);
        ASSERT_EQ(zelsLogSum_32s_Sfs(top32.data(), &r32, len, 0, 0), zelStsNoErr);
        EXPECT_EQ(r16, INT16_MAX);
        EXPECT_EQ(r32, INT32_MAX);
    }
}

TEST(LogDomain, NonFiniteOperandsGiveDefinedResultsOnEveryPath) {
    struct Pair { float a, b, sum; };
    const Pair pairs[] = {{kNaN, 1, kNaN},    {1, kNaN, kNaN},     {kInf, 1, kInf},          {-kInf, 1, 1},
                          {kInf, kInf, kInf}, {kInf, -kInf, kInf}, {-kInf, -kInf, -4500000}, {kNaN, -kInf, kNaN}};
    auto same = [](double got, double want) { return std::isnan(want) ? std::isnan(got) : got == want; };
    for (const Pair& p : pairs) {
        for (float v : add32Everywhere(p.a, p.b)) EXPECT_TRUE(same(v, p.sum)) << p.a << " " << p.b;
        const double sum64 = p.sum == -4500000 ? -1e10 : p.sum;
        for (double v : add64Everywhere(p.a, p.b)) EXPECT_TRUE(same(v, sum64)) << p.a << " " << p.b;
    }
    // A NaN or +inf anywhere in a sum, in a lane or in the tail.
    for (int at : {2, 8}) {
        for (float special : {kNaN, kInf}) {
            float v[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9}, r = 0;
            v[at] = special;
            ASSERT_EQ(zelsLogSum_32f(v, &r, 9, zelAlgHintNone), zelStsNoErr);
            EXPECT_TRUE(same(r, special)) << at;
        }
    }
    float src[] = {1, kInf}, dst[] = {kNaN, 1};
    ASSERT_EQ(zelsLogSub_32f(src, dst, 2), zelStsNoErr);
    EXPECT_TRUE(std::isnan(dst[0]));
    EXPECT_EQ(dst[1], kInf);
}

// len 0 with null pointers, a negative len, then each pointer null in turn.
#define EXPECT_LENGTH_THEN_POINTERS(fn, a, b, ...)                          \
    EXPECT_EQ(fn(nullptr, nullptr, 0 __VA_OPT__(, ) __VA_ARGS__), zelStsSizeErr); \
    EXPECT_EQ(fn(a, b, -1 __VA_OPT__(, ) __VA_ARGS__), zelStsSizeErr);            \
    EXPECT_EQ(fn(nullptr, b, 1 __VA_OPT__(, ) __VA_ARGS__), zelStsNullPtrErr);    \
    EXPECT_EQ(fn(a, nullptr, 1 __VA_OPT__(, ) __VA_ARGS__), zelStsNullPtrErr)

TEST(LogDomain, LengthIsTestedBeforePointers) {
    float f[1] = {0};
    double d[1] = {0};
    Zel16s s[1] = {0};
    Zel32s w[1] = {0};
    EXPECT_LENGTH_THEN_POINTERS(zelsLogAdd_32f, f, f, 0);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogAdd_64f, d, d, 0);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogAdd_16s_Sfs, s, s, 0, 0);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogAdd_32s_Sfs, w, w, 0, 0);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogSub_32f, f, f);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogSub_64f, d, d);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogSub_16s_Sfs, s, s, 0);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogSub_32s_Sfs, w, w, 0);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogSum_32f, f, f, 0);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogSum_64f, d, d, 0);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogSum_16s_Sfs, s, s, 0, 0);
    EXPECT_LENGTH_THEN_POINTERS(zelsLogSum_32s_Sfs, w, w, 0, 0);
}
