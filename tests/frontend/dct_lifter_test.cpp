// DCT lifter: sizes, builders that stay inside the reported size, results
// against a long double DCT-II and bit for bit against the fixed lane order,
// the 16-bit forms as conversions of the float sums, and refused states.
#include <float.h>
#include <math.h>

#include <functional>
#include <vector>

#include "common.hpp"
#include "frame/toolkit.h"

namespace {

constexpr double kPi = 3.14159265358979323846;

enum Flavour { kSine, kSineC0, kMul, kMulC0 };
const bool kHasC0[] = {false, true, false, true};

struct Params {
    int n, c, lift;
    float val, val0;
    std::vector<float> table;  // lenCepstrum multipliers
};

Params params(int n, int c) {
    Params p{n, c, zt::uniformi(1, 30), zt::uniform(0.5f, 2.0f), zt::uniform(-2.0f, 2.0f), {}};
    p.table.resize(c);
    zt::fillUniform(p.table.data(), c, -3.0, 3.0);
    return p;
}

// The multipliers as the description builds them, entry i for coefficient i.
std::vector<float> multipliers(Flavour f, const Params& p) {
    std::vector<float> w(p.c + 1, 0.0f);
    for (int i = 0; i <= p.c; ++i) {
        if (f == kSine || f == kSineC0) {
            double half = float(p.lift * 0.5);
            w[i] = float(1.0 + half * sin(double(float(i)) * kPi / p.lift)) * p.val;
        } else if (i > 0) {
            w[i] = p.table[i - 1];
        }
    }
    if (f == kSineC0) w[0] = p.val0;
    if (f == kMulC0) w[0] = p.table[p.c - 1];
    return w;
}

float cosine(int i, int j, int n) {
    float q = float(j + 1) - 0.5f;
    return float(cos(double(q) * (double(i) * kPi) / n));
}

// The sums in the fixed lane order: rows in groups of four with four lanes,
// left-over rows with eight, coefficient 0 as a running sum.
std::vector<float> laneOrder(const std::vector<float>& x, int n, int c, const std::vector<float>& w, bool c0) {
    std::vector<float> y;
    int i = 1;
    for (; i <= c; ++i) {
        bool grouped = i <= c - (c % 4);
        int lanes = grouped ? 4 : 8, full = n - n % lanes;
        float l[8] = {};
        for (int j = 0; j < full; ++j) l[j % lanes] += x[j] * cosine(i, j, n);
        if (!grouped) l[0] += l[4];
        for (int j = full; j < n; ++j) l[0] += x[j] * cosine(i, j, n);
        float s = grouped ? ((l[0] + l[1]) + l[2]) + l[3] : (((((l[0] + l[2]) + l[6]) + l[1]) + l[5]) + l[3]) + l[7];
        y.push_back(w[i] * s);
    }
    if (c0) {
        float s = 0.0f;
        for (int j = 0; j < n; ++j) s += x[j] * cosine(0, j, n);
        y.push_back(w[0] * s);
    }
    return y;
}

// Builds a state of either type in `mem` (Init) or by allocation (mem null).
ZelStatus make(Flavour f, bool fixed, const Params& p, void* mem, void** out) {
    const float* t = p.table.data();
    if (!fixed) {
        auto* s = static_cast<ZelDCTLifterState_32f*>(mem);
        auto** o = reinterpret_cast<ZelDCTLifterState_32f**>(out);
        switch (f) {
            case kSine: return mem ? zelsDCTLifterInit_32f(s, p.n, p.c, p.lift, p.val) : zelsDCTLifterInitAlloc_32f(o, p.n, p.c, p.lift, p.val);
            case kSineC0: return mem ? zelsDCTLifterInit_C0_32f(s, p.n, p.c, p.lift, p.val, p.val0) : zelsDCTLifterInitAlloc_C0_32f(o, p.n, p.c, p.lift, p.val, p.val0);
            case kMul: return mem ? zelsDCTLifterInit_Mul_32f(s, p.n, t, p.c) : zelsDCTLifterInitAlloc_Mul_32f(o, p.n, t, p.c);
            default: return mem ? zelsDCTLifterInit_MulC0_32f(s, p.n, t, p.c) : zelsDCTLifterInitAlloc_MulC0_32f(o, p.n, t, p.c);
        }
    }
    auto* s = static_cast<ZelDCTLifterState_16s*>(mem);
    auto** o = reinterpret_cast<ZelDCTLifterState_16s**>(out);
    std::vector<Zel32s> ints(t, t + p.c);  // MulC0_16s tables hold integers
    switch (f) {
        case kSine: return mem ? zelsDCTLifterInit_16s(s, p.n, p.c, p.lift, p.val) : zelsDCTLifterInitAlloc_16s(o, p.n, p.c, p.lift, p.val);
        case kSineC0: return mem ? zelsDCTLifterInit_C0_16s(s, p.n, p.c, p.lift, p.val, p.val0) : zelsDCTLifterInitAlloc_C0_16s(o, p.n, p.c, p.lift, p.val, p.val0);
        case kMul: return mem ? zelsDCTLifterInit_Mul_16s(s, p.n, t, p.c) : zelsDCTLifterInitAlloc_Mul_16s(o, p.n, t, p.c);
        default: return mem ? zelsDCTLifterInit_MulC0_16s(s, p.n, ints.data(), p.c) : zelsDCTLifterInitAlloc_MulC0_16s(o, p.n, t, p.c);
    }
}

int querySize(Flavour f, bool fixed, int n, int c) {
    using Q = ZelStatus (*)(int, int, int*);
    const Q queries[2][4] = {{zelsDCTLifterGetSize_32f, zelsDCTLifterGetSize_C0_32f, zelsDCTLifterGetSize_Mul_32f, zelsDCTLifterGetSize_MulC0_32f},
                             {zelsDCTLifterGetSize_16s, zelsDCTLifterGetSize_C0_16s, zelsDCTLifterGetSize_Mul_16s, zelsDCTLifterGetSize_MulC0_16s}};
    int size = -1;
    EXPECT_EQ(queries[fixed][f](n, c, &size), zelStsNoErr);
    return size;
}

const int kShapes[][2] = {{1, 1}, {3, 2}, {4, 4}, {7, 5}, {8, 8}, {9, 3}, {16, 7}, {23, 13}, {24, 12}, {31, 31}, {40, 9}};

}  // namespace

TEST(DCTLifter, SizesFollowTheFormulasWithPointersAtTheirWidth) {
    const int extraPerPointer = int(sizeof(void*)) - 4;
    for (auto [n, c] : kShapes) {
        int u = (n + 7) / 8 * 8, extra = (c + 4) * extraPerPointer;
        for (Flavour f : {kSine, kSineC0, kMul, kMulC0}) {
            EXPECT_EQ(querySize(f, false, n, c), (c * u + u) * 4 + c * 8 + 124 + extra);
            if (f != kMulC0) {
                EXPECT_EQ(querySize(f, true, n, c), (c * u + u) * 4 + c * 12 + 164 + extra);
            }
        }
        EXPECT_EQ(querySize(kMulC0, true, n, c), (n * 4 + 36) * (c + 1) + c * 8 + 132 + extra);
    }
    int size = 0;
    EXPECT_EQ(zelsDCTLifterGetSize_32f(0, 0, nullptr), zelStsNullPtrErr);
    EXPECT_EQ(zelsDCTLifterGetSize_32f(4, 5, &size), zelStsSizeErr);
    EXPECT_EQ(zelsDCTLifterGetSize_C0_16s(0, 1, &size), zelStsSizeErr);
    EXPECT_EQ(zelsDCTLifterGetSize_Mul_32f(4, 0, &size), zelStsSizeErr);
    EXPECT_EQ(zelsDCTLifterGetSize_MulC0_16s(8193, 2, &size), zelStsSizeErr);
    EXPECT_EQ(zelsDCTLifterGetSize_MulC0_16s(8192, 2, &size), zelStsNoErr);
    EXPECT_EQ(zelsDCTLifterGetSize_MulC0_32f(8193, 2, &size), zelStsNoErr);
    EXPECT_EQ(zelsDCTLifterGetSize_16s(40000, 40000, &size), zelStsSizeErr);  // beyond an int
}

TEST(DCTLifter, InitWritesNothingPastTheReportedSize) {
    for (auto [n, c] : kShapes)
        for (bool fixed : {false, true})
            for (Flavour f : {kSine, kSineC0, kMul, kMulC0}) {
                Params p = params(n, c);
                const int size = querySize(f, fixed, n, c);
                for (int offset : {0, 8, 16, 24}) {
                    std::vector<unsigned char> raw(size + offset + 64, 0xa5);
                    ASSERT_EQ(make(f, fixed, p, raw.data() + offset, nullptr), zelStsNoErr);
                    for (size_t k = size + offset; k < raw.size(); ++k) ASSERT_EQ(raw[k], 0xa5) << n << " " << c;
                }
                // A block of exactly the size, for the address sanitizer.
                void* exact = malloc(size);
                ASSERT_EQ(make(f, fixed, p, exact, nullptr), zelStsNoErr);
                std::vector<float> x(n, 1.0f), y(c + 1);
                std::vector<Zel16s> xs(n, 1), ys(c + 1);
                if (fixed)
                    EXPECT_EQ(zelsDCTLifter_16s_Sfs(xs.data(), ys.data(), (ZelDCTLifterState_16s*)exact, 0), zelStsNoErr);
                else
                    EXPECT_EQ(zelsDCTLifter_32f(x.data(), y.data(), (ZelDCTLifterState_32f*)exact), zelStsNoErr);
                free(exact);
            }
}

TEST(DCTLifter, FloatMatchesLongDoubleDctAndTheLaneOrder) {
    for (auto [n, c] : kShapes)
        for (Flavour f : {kSine, kSineC0, kMul, kMulC0}) {
            Params p = params(n, c);
            void* st = nullptr;
            ASSERT_EQ(make(f, false, p, nullptr, &st), zelStsNoErr);
            auto* state = static_cast<ZelDCTLifterState_32f*>(st);
            std::vector<float> w = multipliers(f, p);
            const int outLen = c + kHasC0[f];
            for (int misalign : {0, 1, 3}) {
                zt::Buf<float> x(n, misalign), y(outLen + 1, misalign);
                zt::fillUniform(x.data(), n, -20.0, 20.0);
                y[outLen] = 7.0f;
                ASSERT_EQ(zelsDCTLifter_32f(x.data(), y.data(), state), zelStsNoErr);
                EXPECT_EQ(y[outLen], 7.0f);  // nothing past the coefficients
                std::vector<float> xv(x.data(), x.data() + n);
                std::vector<float> exact = laneOrder(xv, n, c, w, kHasC0[f]);
                double absSum = 0;
                for (float v : xv) absSum += fabs(v);
                for (int k = 0; k < outLen; ++k) {
                    EXPECT_SAME_BITS(y[k], exact[k]) << "n " << n << " c " << c << " k " << k;
                    int i = (k == c) ? 0 : k + 1;
                    long double ref = 0;
                    for (int j = 0; j < n; ++j) ref += (long double)xv[j] * cosl(kPi * i * (j + 0.5L) / n);
                    ref *= w[i];
                    EXPECT_NEAR(double(y[k]), double(ref), 4.0 * (n + 2) * FLT_EPSILON * absSum * fabs(w[i]) + 1e-30);
                }
            }
            EXPECT_EQ(zelsDCTLifterFree_32f(state), zelStsNoErr);
        }
}

TEST(DCTLifter, LifterEdgeValues) {
    // nLifter 1: sin(pi * i) terms vanish up to rounding, so w[i] is val;
    // val0 0: coefficient 0, written last, is 0 whatever the input.
    Params p = params(12, 6);
    p.lift = 1;
    p.val = 1.5f;
    p.val0 = 0.0f;
    void* st = nullptr;
    ASSERT_EQ(make(kSineC0, false, p, nullptr, &st), zelStsNoErr);
    std::vector<float> x(12, 3.0f), y(7);
    x[0] = 1.0f;  // not a constant vector, so the cosine sums of rows above 0 are not all zero
    ASSERT_EQ(zelsDCTLifter_32f(x.data(), y.data(), (ZelDCTLifterState_32f*)st), zelStsNoErr);
    EXPECT_EQ(y[6], 0.0f);
    for (int i = 1; i <= 6; ++i) {
        double plain = 0;
        for (int j = 0; j < 12; ++j) plain += x[j] * cos(kPi * i * (j + 0.5) / 12);
        EXPECT_NEAR(y[i - 1], 1.5 * plain, 1e-4);
    }
    zelsDCTLifterFree_32f((ZelDCTLifterState_32f*)st);
}

TEST(DCTLifter, SixteenBitFormsConvertTheFloatSums) {
    for (auto [n, c] : kShapes)
        for (Flavour f : {kSine, kSineC0, kMul, kMulC0}) {
            Params p = params(n, c);
            for (float& v : p.table) v = float(int(v * 4));  // integers, so the Zel32s table says the same
            void *fs = nullptr, *is = nullptr, *ia = nullptr;
            std::vector<unsigned char> mem(querySize(f, true, n, c));
            ASSERT_EQ(make(f, false, p, nullptr, &fs), zelStsNoErr);
            ASSERT_EQ(make(f, true, p, mem.data(), &is), zelStsNoErr);
            ASSERT_EQ(make(f, true, p, nullptr, &ia), zelStsNoErr);
            const int outLen = c + kHasC0[f];
            for (int sf : {-4, 0, 3, 12}) {
                std::vector<Zel16s> x16(n), a(outLen), b(outLen);
                std::vector<Zel32s> x32(n);
                zt::fillUniform(x16.data(), n, -32768, 32767);
                zt::fillUniform(x32.data(), n, -(1 << 24), 1 << 24);
                for (int pass = 0; pass < 2; ++pass) {
                    std::vector<float> xf(n), yf(outLen);
                    for (int j = 0; j < n; ++j) xf[j] = pass ? float(x32[j]) : float(x16[j]);
                    zelsDCTLifter_32f(xf.data(), yf.data(), (ZelDCTLifterState_32f*)fs);
                    std::vector<Zel16s> expect(outLen);
                    ownConvert_32f16s_Sfs(yf.data(), expect.data(), outLen, 1, sf);
                    auto* s1 = reinterpret_cast<ZelDCTLifterState_16s*>(mem.data());
                    auto* s2 = static_cast<ZelDCTLifterState_16s*>(ia);
                    if (pass) {
                        ASSERT_EQ(zelsDCTLifter_32s16s_Sfs(x32.data(), a.data(), s1, sf), zelStsNoErr);
                        ASSERT_EQ(zelsDCTLifter_32s16s_Sfs(x32.data(), b.data(), s2, sf), zelStsNoErr);
                    } else {
                        ASSERT_EQ(zelsDCTLifter_16s_Sfs(x16.data(), a.data(), s1, sf), zelStsNoErr);
                        ASSERT_EQ(zelsDCTLifter_16s_Sfs(x16.data(), b.data(), s2, sf), zelStsNoErr);
                    }
                    EXPECT_EQ(a, expect) << "n " << n << " c " << c << " sf " << sf;
                    EXPECT_EQ(b, expect);
                }
            }
            zelsDCTLifterFree_32f((ZelDCTLifterState_32f*)fs);
            zelsDCTLifterFree_16s((ZelDCTLifterState_16s*)ia);
        }
}

TEST(DCTLifter, MulC0InitReadsIntegersAndItsAllocatingTwinReadsSingles) {
    const int n = 8, c = 3;
    const Zel32s ints[c] = {2, 3, 4};
    Zel32s bitsOfSingles[c];
    const float singles[c] = {2.0f, 3.0f, 4.0f};
    memcpy(bitsOfSingles, singles, sizeof singles);
    int size = 0;
    ASSERT_EQ(zelsDCTLifterGetSize_MulC0_16s(n, c, &size), zelStsNoErr);
    std::vector<unsigned char> m1(size), m2(size);
    auto* s1 = (ZelDCTLifterState_16s*)m1.data();
    auto* s2 = (ZelDCTLifterState_16s*)m2.data();
    ZelDCTLifterState_16s* s3 = nullptr;
    ASSERT_EQ(zelsDCTLifterInit_MulC0_16s(s1, n, ints, c), zelStsNoErr);
    ASSERT_EQ(zelsDCTLifterInit_MulC0_16s(s2, n, bitsOfSingles, c), zelStsNoErr);
    ASSERT_EQ(zelsDCTLifterInitAlloc_MulC0_16s(&s3, n, singles, c), zelStsNoErr);
    const Zel16s x[n] = {100, 200, -50, 7, 0, 1, 2, 3};
    Zel16s y1[c + 1], y2[c + 1], y3[c + 1];
    zelsDCTLifter_16s_Sfs(x, y1, s1, 0);
    zelsDCTLifter_16s_Sfs(x, y2, s2, 0);
    zelsDCTLifter_16s_Sfs(x, y3, s3, 0);
    EXPECT_EQ(memcmp(y1, y3, sizeof y1), 0);
    EXPECT_EQ(y1[c], 4 * (100 + 200 - 50 + 7 + 0 + 1 + 2 + 3));  // coefficient 0 takes the last multiplier
    EXPECT_NE(memcmp(y1, y2, sizeof y1), 0);
    zelsDCTLifterFree_16s(s3);
}

TEST(DCTLifter, BadArgumentsAndStatesAreRefused) {
    const float table[4] = {1, 2, 3, 4};
    const Zel32s itable[4] = {1, 2, 3, 4};
    ZelDCTLifterState_32f* fs = nullptr;
    ZelDCTLifterState_16s* is = nullptr;
    EXPECT_EQ(zelsDCTLifterInit_32f(nullptr, 0, 0, 0, 1.0f), zelStsNullPtrErr);
    EXPECT_EQ(zelsDCTLifterInitAlloc_Mul_32f(&fs, 0, nullptr, 0), zelStsNullPtrErr);
    EXPECT_EQ(zelsDCTLifterInitAlloc_MulC0_16s(nullptr, 4, table, 4), zelStsNullPtrErr);
    EXPECT_EQ(zelsDCTLifterInit_MulC0_16s((ZelDCTLifterState_16s*)table, 4, nullptr, 4), zelStsNullPtrErr);
    EXPECT_EQ(zelsDCTLifterInitAlloc_C0_16s(&is, 4, 4, 0, 1.0f, 1.0f), zelStsSizeErr);  // nLifter below 1
    EXPECT_EQ(zelsDCTLifterInitAlloc_32f(&fs, 4, 5, 2, 1.0f), zelStsSizeErr);
    EXPECT_EQ(zelsDCTLifterInitAlloc_Mul_16s(&is, -1, table, 1), zelStsSizeErr);
    EXPECT_EQ(fs, nullptr);
    EXPECT_EQ(is, nullptr);
    std::vector<unsigned char> never(4096, 0);  // memory never built
    EXPECT_EQ(zelsDCTLifterInit_MulC0_16s((ZelDCTLifterState_16s*)never.data(), 4, itable, 0), zelStsSizeErr);

    ASSERT_EQ(zelsDCTLifterInitAlloc_32f(&fs, 4, 4, 22, 1.0f), zelStsNoErr);
    ASSERT_EQ(zelsDCTLifterInitAlloc_Mul_16s(&is, 4, table, 4), zelStsNoErr);
    float x[4] = {1, 2, 3, 4}, y[5];
    Zel16s xs[4] = {1, 2, 3, 4}, ys[5];
    Zel32s xi[4] = {1, 2, 3, 4};
    EXPECT_EQ(zelsDCTLifter_32f(x, y, nullptr), zelStsNullPtrErr);
    EXPECT_EQ(zelsDCTLifter_32f(nullptr, y, fs), zelStsNullPtrErr);
    EXPECT_EQ(zelsDCTLifter_16s_Sfs(xs, nullptr, is, 0), zelStsNullPtrErr);
    // The other type's state, or memory never built: a status, nothing written.
    ys[0] = 99;
    EXPECT_EQ(zelsDCTLifter_32f(x, y, (ZelDCTLifterState_32f*)is), zelStsContextMatchErr);
    EXPECT_EQ(zelsDCTLifter_16s_Sfs(xs, ys, (ZelDCTLifterState_16s*)fs, 0), zelStsContextMatchErr);
    EXPECT_EQ(zelsDCTLifter_32s16s_Sfs(xi, ys, (ZelDCTLifterState_16s*)never.data(), 0), zelStsContextMatchErr);
    EXPECT_EQ(zelsDCTLifter_32f(x, y, (ZelDCTLifterState_32f*)never.data()), zelStsContextMatchErr);
    EXPECT_EQ(ys[0], 99);
    EXPECT_EQ(zelsDCTLifterFree_32f((ZelDCTLifterState_32f*)is), zelStsContextMatchErr);
    EXPECT_EQ(zelsDCTLifterFree_16s(nullptr), zelStsNullPtrErr);
    EXPECT_EQ(zelsDCTLifterFree_32f(fs), zelStsNoErr);
    EXPECT_EQ(zelsDCTLifterFree_16s(is), zelStsNoErr);

    // A state in caller memory: Free only retires it.
    int size = 0;
    zelsDCTLifterGetSize_C0_32f(4, 2, &size);
    std::vector<unsigned char> mem(size);
    auto* st = (ZelDCTLifterState_32f*)mem.data();
    ASSERT_EQ(zelsDCTLifterInit_C0_32f(st, 4, 2, 22, 1.0f, 1.0f), zelStsNoErr);
    EXPECT_EQ(zelsDCTLifter_32f(x, y, st), zelStsNoErr);
    EXPECT_EQ(zelsDCTLifterFree_32f(st), zelStsNoErr);
    EXPECT_EQ(zelsDCTLifter_32f(x, y, st), zelStsContextMatchErr);
    EXPECT_EQ(zelsDCTLifterFree_32f(st), zelStsContextMatchErr);
}
