// SPDX-License-Identifier: Apache-2.0
// Digests of the front-end families on fixed inputs, held to a table: the
// SSE4.1 build, the portable build, the 32-bit build and the aarch64 build
// must all give these bits. The inverse root and the transform's magnitudes
// start from the processor's estimate: the root is bounded against the exact
// one instead, and the filter banks take magnitudes as their input.
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <cmath>
#include <random>
#include <vector>

#include "digest.hpp"

namespace {

using std::vector;

using zt::Digest;

struct Source : zt::DigestSource {
    Source() : DigestSource(1523) {}
};

uint64_t filterBanks() {
    Source s;
    Digest d;
    int order = 0;
    ZelFBankState_32f* b = nullptr;
    // Magnitudes given: the path through the transform takes its roots from
    // the processor's estimate.
    d.add(zelsMelFBankInitAlloc_32f(&b, &order, 400, 16000.0f, 64.0f, 7800.0f, 23, 2595.0f, 700.0f, 1));
    const auto frame = s.fill<float>(257, 0, 1000);
    vector<float> out(23);
    if (b) d.add(zelsEvalFBank_32f(frame.data(), out.data(), b)), d.add(out.data(), out.size());
    zelsFBankFree_32f(b);
    ZelFBankState_16s* b16 = nullptr;
    d.add(zelsMelFBankInitAlloc_16s(&b16, &order, 256, 8000.0f, 100.0f, 3800.0f, 20, 1127.0f, 700.0f, 1));
    const auto mag = s.fill<Zel16s>(257, 0, 20000);
    vector<Zel16s> out16(20);
    for (int sf : {-2, 4, 9})
        if (b16) d.add(zelsEvalFBank_16s_Sfs(mag.data(), out16.data(), b16, sf)), d.add(out16.data(), out16.size());
    zelsFBankFree_16s(b16);
    return d.h;
}

uint64_t dctLifter() {
    Source s;
    Digest d;
    const auto lifter = s.fill<float>(13, 0.5, 12);
    const auto x = s.fill<float>(23, -30, 30);
    const auto x16 = s.fill<Zel16s>(23, -20000, 20000);
    vector<float> y(14);
    vector<Zel16s> y16(14);
    ZelDCTLifterState_32f* st = nullptr;
    d.add(zelsDCTLifterInitAlloc_MulC0_32f(&st, 23, lifter.data(), 13));
    if (st) d.add(zelsDCTLifter_32f(x.data(), y.data(), st)), d.add(y.data(), y.size());
    zelsDCTLifterFree_32f(st);
    ZelDCTLifterState_16s* st16 = nullptr;
    d.add(zelsDCTLifterInitAlloc_Mul_16s(&st16, 23, lifter.data(), 13));
    for (int sf : {-1, 3, 8})
        if (st16) d.add(zelsDCTLifter_16s_Sfs(x16.data(), y16.data(), st16, sf)), d.add(y16.data(), 13);
    zelsDCTLifterFree_16s(st16);
    return d.h;
}

uint64_t deltas() {
    Source s;
    Digest d;
    constexpr int w = 13, h = 11, step = 3 * w;
    const int whole = zelBeginStream | zelEndStream;
    const auto x = s.fill<float>(w * h, -20, 20);
    const auto x16 = s.fill<Zel16s>(w * h, -9000, 9000);
    vector<float> y(step * (h + 4), -1.0f);
    vector<Zel16s> y16(step * (h + 4), -1);
    d.add(zelsDelta_Win2_32f_D2(x.data(), w, y.data(), step, h, 0.1f, whole)), d.add(y.data(), y.size());
    d.add(zelsDeltaDelta_Win2_16s_D2Sfs(x16.data(), w, y16.data(), step, h, 3, 5, whole, 2));
    d.add(y16.data(), y16.size());
    // Aurora frames: twelve cepstra, c0 and the log energy.
    const auto val = s.fill<float>(42, 0.2, 2.0);
    const auto a = s.fill<float>(14 * h, -20, 20);
    vector<float> ya(42 * (h + 8), -1.0f);
    d.add(zelsDeltaDeltaMul_Aurora_32f_D2(a.data(), val.data(), ya.data(), 42, h, whole)), d.add(ya.data(), ya.size());
    auto m = s.fill<Zel16s>(step * h, -9000, 9000);
    d.add(zelsEvalDelta_16s_D2Sfs(m.data(), h, step, w, w, 2, 7, 1)), d.add(m.data(), m.size());
    return d.h;
}

uint64_t signalConditioning() {
    Source s;
    Digest d;
    constexpr int n = 203;
    const auto x = s.fill<float>(n, -2, 2);
    const auto x16 = s.fill<Zel16s>(n, -30000, 30000);
    vector<float> y(n);
    vector<Zel16s> y16(n);
    Zel16s last = 17;
    d.add(zelsCompensateOffset_16s(x16.data(), y16.data(), n, &last, 5, 0.97f)), d.add(y16.data(), n), d.add(&last, 1);
    for (int sf : {-3, 0, 4})
        d.add(zelsUnitCurve_16s_Sfs(x16.data(), 13, y16.data(), n, sf)), d.add(y16.data(), n);
    d.add(zelsSinC_32f(x.data(), y.data(), n)), d.add(y.data(), n);
    d.add(zelsExpNegSqr_32f(x.data(), y.data(), n)), d.add(y.data(), n);
    d.add(zelsNormalizeInRange_32f16s(x.data(), y16.data(), n, 0.1f, 0.9f, 1000.0f)), d.add(y16.data(), n);
    float r = 0;
    auto p = x;
    for (auto& e : p) e = std::fabs(e) + 0.01f;
    d.add(zelsEntropy_32f(p.data(), n, &r)), d.add(&r, 1);
    d.add(zelsSignChangeRate_32f(x.data(), n, &r)), d.add(&r, 1);
    auto z = x16;
    d.add(zelsZeroMean_16s(z.data(), n)), d.add(z.data(), n);
    auto e = s.fill<float>(4 * 30, -5, 40);
    d.add(zelsNormEnergy_32f(e.data(), 4, 30, 8.0f, 0.5f)), d.add(e.data(), e.size());
    return d.h;
}

struct Row {
    const char* family;
    uint64_t (*digest)();
    uint64_t want;
};

// The table every build and processor reproduces.
const Row kTable[] = {
    {"filter banks", filterBanks, 0x8ae5fb8f62559b20ull},
    {"DCT lifter", dctLifter, 0x1ac5bb13b58832efull},
    {"deltas", deltas, 0x95cb3ef5630afbe6ull},
    {"signal conditioning", signalConditioning, 0x40c6e2f42730774full},
};

}  // namespace

TEST(FrontendDigest, EveryBuildAndProcessorGivesTheTable) {
    for (const Row& r : kTable) {
        const uint64_t got = r.digest();
        EXPECT_EQ(got, r.want) << r.family;
        if (got != r.want) printf("    {\"%s\", ..., 0x%016llxull},\n", r.family, (unsigned long long)got);
    }
}

// The one member left to the processor: its roots agree with the exact ones
// to well within the single Newton step's reach, and the floor holds.
TEST(FrontendDigest, InverseRootIsBoundedWhereTheProcessorEstimates) {
    Source s;
    auto x = s.fill<float>(203, 0.0, 1e6);
    const auto in = x;
    zelsRecSqrt_32f(x.data(), 203, 1e-3f);
    for (size_t k = 0; k < x.size(); ++k) {
        if (in[k] < 1e-3f) {
            EXPECT_EQ(x[k], 1e-3f);
        } else {
            const double want = 1.0 / std::sqrt(double(in[k]));
            EXPECT_NEAR(x[k], want, want * 1e-5) << in[k];
        }
    }
}
