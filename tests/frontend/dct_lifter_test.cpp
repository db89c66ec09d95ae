// SPDX-License-Identifier: Apache-2.0
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

// Each size follows its formula, pointers at their width, and Init stays
// inside it at any alignment; a block of exactly the size runs under the
// address sanitizer.
TEST(DCTLifter, SizesFollowTheFormulasAndInitStaysInside) {
    const int extraPerPointer = int(sizeof(void*)) - 4;
    for (auto [n, c] : kShapes)
        for (bool fixed : {false, true})
            for (Flavour f : {kSine, kSineC0, kMul, kMulC0}) {
                const int u = (n + 7) / 8 * 8, extra = (c + 4) * extraPerPointer;
                const int size = querySize(f, fixed, n, c);
                if (fixed && f == kMulC0)
                    EXPECT_EQ(size, (n * 4 + 36) * (c + 1) + c * 8 + 132 + extra);
                else
                    EXPECT_EQ(size, (c * u + u) * 4 + c * (fixed ? 12 : 8) + (fixed ? 164 : 124) + extra);
                Params p = params(n, c);
                for (int offset : {0, 8, 16, 24}) {
                    std::vector<unsigned char> raw(size + offset + 64, 0xa5);
                    ASSERT_EQ(make(f, fixed, p, raw.data() + offset, nullptr), zelStsNoErr);
                    for (size_t k = size + offset; k < raw.size(); ++k) ASSERT_EQ(raw[k], 0xa5) << n << " " << c;
                }
                void* exact = malloc(size);
                ASSERT_EQ(make(f, fixed, p, exact, nullptr), zelStsNoErr);
                std::vector<float> x(n, 1.0f), y(c + 1);
                std::vector<Zel16s> xs(n, 1), ys(c + 1);
                EXPECT_EQ(fixed ? zelsDCTLifter_16s_Sfs(xs.data(), ys.data(), (ZelDCTLifterState_16s*)exact, 0)
                                : zelsDCTLifter_32f(x.data(), y.data(), (ZelDCTLifterState_32f*)exact),
                          zelStsNoErr);
                free(exact);
            }
    int size = 0;
    zt::expectStatuses({{zelsDCTLifterGetSize_32f(0, 0, nullptr), zelStsNullPtrErr},
                        {zelsDCTLifterGetSize_32f(4, 5, &size), zelStsSizeErr},
                        {zelsDCTLifterGetSize_C0_16s(0, 1, &size), zelStsSizeErr},
                        {zelsDCTLifterGetSize_Mul_32f(4, 0, &size), zelStsSizeErr},
                        {zelsDCTLifterGetSize_MulC0_16s(8193, 2, &size), zelStsSizeErr},
                        {zelsDCTLifterGetSize_MulC0_16s(8192, 2, &size), zelStsNoErr},
                        {zelsDCTLifterGetSize_MulC0_32f(8193, 2, &size), zelStsNoErr},
                        {zelsDCTLifterGetSize_16s(40000, 40000, &size), zelStsSizeErr}});  // beyond an int
}

TEST(DCTLifter, FloatMatchesLongDoubleDctAndTheLaneOrder) {
    for (auto [n, c] : kShapes)
        for (Flavour f : {kSine, kSineC0, kMul, kMulC0}) {
            Params p = params(n, c);
            // nLifter 1, where the sine terms vanish up to rounding, and a
            // coefficient 0 that is 0 whatever the input.
            if (c % 2) p.lift = 1, p.val0 = 0.0f;
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

TEST(DCTLifter, SixteenBitFormsConvertTheFloatSums) {
    for (auto [n, c] : kShapes)
        for (Flavour f : {kSine, kSineC0, kMul, kMulC0}) {
            Params p = params(n, c);
            // Integers, so that the Zel32s table of the in-place MulC0 builder says the same
            // as the singles its allocating twin reads; read the other way they would not.
            for (float& v : p.table) v = float(int(v * 4));
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

TEST(DCTLifter, BadArgumentsAndStatesAreRefused) {
    const float table[4] = {1, 2, 3, 4};
    const Zel32s itable[4] = {1, 2, 3, 4};
    ZelDCTLifterState_32f* fs = nullptr;
    ZelDCTLifterState_16s* is = nullptr;
    std::vector<unsigned char> never(4096, 0);  // memory never built
    zt::expectStatuses({
        {zelsDCTLifterInit_32f(nullptr, 0, 0, 0, 1.0f), zelStsNullPtrErr},
        {zelsDCTLifterInitAlloc_Mul_32f(&fs, 0, nullptr, 0), zelStsNullPtrErr},
        {zelsDCTLifterInitAlloc_MulC0_16s(nullptr, 4, table, 4), zelStsNullPtrErr},
        {zelsDCTLifterInit_MulC0_16s((ZelDCTLifterState_16s*)table, 4, nullptr, 4), zelStsNullPtrErr},
        {zelsDCTLifterInitAlloc_C0_16s(&is, 4, 4, 0, 1.0f, 1.0f), zelStsSizeErr},  // nLifter below 1
        {zelsDCTLifterInitAlloc_32f(&fs, 4, 5, 2, 1.0f), zelStsSizeErr},
        {zelsDCTLifterInitAlloc_Mul_16s(&is, -1, table, 1), zelStsSizeErr},
        {zelsDCTLifterInit_MulC0_16s((ZelDCTLifterState_16s*)never.data(), 4, itable, 0), zelStsSizeErr}});
    EXPECT_EQ(std::pair((void*)fs, (void*)is), std::pair((void*)nullptr, (void*)nullptr));

    ASSERT_EQ(zelsDCTLifterInitAlloc_32f(&fs, 4, 4, 22, 1.0f), zelStsNoErr);
    ASSERT_EQ(zelsDCTLifterInitAlloc_Mul_16s(&is, 4, table, 4), zelStsNoErr);
    float x[4] = {1, 2, 3, 4}, y[5];
    Zel16s xs[4] = {1, 2, 3, 4}, ys[5];
    Zel32s xi[4] = {1, 2, 3, 4};
    // The other type's state, or memory never built: a status, nothing written.
    std::fill(y, y + 5, 99.0f);
    std::fill(ys, ys + 5, 99);
    zt::expectStatuses({{zelsDCTLifter_32f(x, y, nullptr), zelStsNullPtrErr},
                        {zelsDCTLifter_32f(nullptr, y, fs), zelStsNullPtrErr},
                        {zelsDCTLifter_16s_Sfs(xs, nullptr, is, 0), zelStsNullPtrErr},
                        {zelsDCTLifter_32f(x, y, (ZelDCTLifterState_32f*)is), zelStsContextMatchErr},
                        {zelsDCTLifter_16s_Sfs(xs, ys, (ZelDCTLifterState_16s*)fs, 0), zelStsContextMatchErr},
                        {zelsDCTLifter_32s16s_Sfs(xi, ys, (ZelDCTLifterState_16s*)never.data(), 0), zelStsContextMatchErr},
                        {zelsDCTLifter_32f(x, y, (ZelDCTLifterState_32f*)never.data()), zelStsContextMatchErr},
                        {zelsDCTLifterFree_32f((ZelDCTLifterState_32f*)is), zelStsContextMatchErr},
                        {zelsDCTLifterFree_16s(nullptr), zelStsNullPtrErr},
                        {zelsDCTLifterFree_32f(fs), zelStsNoErr},
                        {zelsDCTLifterFree_16s(is), zelStsNoErr}});
    zt::expectUntouched(y, 5, 99.0f);
    zt::expectUntouched(ys, 5, 99);

    // A state in caller memory: Free only retires it.
    int size = 0;
    zelsDCTLifterGetSize_C0_32f(4, 2, &size);
    std::vector<unsigned char> mem(size);
    auto* st = (ZelDCTLifterState_32f*)mem.data();
    ASSERT_EQ(zelsDCTLifterInit_C0_32f(st, 4, 2, 22, 1.0f, 1.0f), zelStsNoErr);
    zt::expectStatuses({{zelsDCTLifter_32f(x, y, st), zelStsNoErr},
                        {zelsDCTLifterFree_32f(st), zelStsNoErr},
                        {zelsDCTLifter_32f(x, y, st), zelStsContextMatchErr},
                        {zelsDCTLifterFree_32f(st), zelStsContextMatchErr}});
}
