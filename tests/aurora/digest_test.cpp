// SPDX-License-Identifier: Apache-2.0
// One digest of every Aurora member whose arithmetic is fixed, on data drawn
// from a seeded integer generator, that the SSE4.1, the portable and the
// 32-bit build must all reproduce. The float noise update and Wiener gains
// are left out: their reciprocal estimates belong to the processor.
#include <stdint.h>
#include <string.h>

#include <random>
#include <vector>

#include "digest.hpp"

namespace {

using std::vector;

// Values from the generator's integers only, so that every build sees the same data.
struct Source {
    std::mt19937 g{2026};
    int32_t i(int32_t lo, int32_t hi) { return int32_t(lo + int64_t(g() % uint64_t(int64_t(hi) - lo + 1))); }
    float f(float scale) { return float(i(-1 << 20, 1 << 20)) * scale / float(1 << 20); }
};

uint64_t digestOfAll() {
    Source s;
    zt::Digest d;
    vector<float> x(256), y(256);
    vector<Zel16s> x16(256), y16(256), z16(256), w16(256);
    vector<Zel32s> x32(256), y32(256), z32(256);
    vector<Zel64s> y64(256);
    for (int r = 0; r < 8; ++r) {
        for (int k = 0; k < 256; ++k) {
            x[k] = s.f(3000.0f);
            x16[k] = Zel16s(s.i(-32768, 32767));
            z16[k] = Zel16s(s.i(0, 20000));
            w16[k] = Zel16s(s.i(-100, 30000));
            x32[k] = s.i(-(1 << 30), 1 << 30);
            z32[k] = s.i(0, 1 << 24);
        }
        const float* xf = x.data();
        const Zel16s *a = x16.data(), *p = z16.data(), *q = w16.data();
        float* yf = y.data();
        Zel16s* b = y16.data();
        zelsSmoothedPowerSpectrumAurora_32f(xf, yf, 256), d.add(yf, 65);
        zelsSmoothedPowerSpectrumAurora_16s(a, b, 256), d.add(b, 65);
        zelsSmoothedPowerSpectrumAurora_32s_Sfs(x32.data(), y32.data(), 256, r * 5 - 3), d.add(y32.data(), 65);
        zelsSmoothedPowerSpectrumAurora_32s64s_Sfs(x32.data(), y64.data(), 256, r - 2), d.add(y64.data(), 65);
        zelsNoiseSpectrumUpdate_Aurora_16s_Sfs(p, q, b, 200, r - 4), d.add(b, 200);
        zelsNoiseSpectrumUpdate_Aurora_32s_Sfs(z32.data(), x32.data(), y32.data(), 200, r - 4), d.add(y32.data(), 200);
        zelsWienerFilterDesign_Aurora_16s(p, q, a, b, 200), d.add(b, 200);
        zelsTabsCalculation_Aurora_32f(xf, yf), d.add(yf, 17);
        zelsResidualFilter_Aurora_32f(xf, yf, xf + 100), d.add(yf, 80);
        zelsResidualFilter_Aurora_16s_Sfs(a, b, a + 100, r + 8), d.add(b, 80);
        zelsWaveProcessing_Aurora_32f(xf, yf), d.add(yf, 200);
        zelsWaveProcessing_Aurora_16s(a, b), d.add(b, 200);
        zelsBlindEqualization_Aurora_32f(xf, yf, x.data() + 40, 13, float(r) * 0.4f + 3.0f);
        d.add(yf, 13), d.add(xf + 40, 13);
        zelsBlindEqualization_Aurora_16s(a, b, x16.data() + 40, 13, 200 + 10 * r);
        d.add(b, 13), d.add(a + 40, 13);
    }
    // The banks on a spectrum, and the decisions with their records over a stream.
    ZelFBankState_32f* low = nullptr;
    ZelFBankState_16s* high = nullptr;
    zelsMelFBankInitAllocLow_Aurora_32f(&low);
    zelsMelFBankInitAllocHigh_Aurora_16s(&high);
    for (int k = 0; k < 65; ++k) x[k] = s.f(1e4f) + 1e4f;
    zelsEvalFBank_32f(x.data(), y.data(), low), d.add(y.data(), 25);
    zelsEvalFBank_16s_Sfs(x16.data(), y16.data(), high, 0), d.add(y16.data(), 3);
    zelsFBankFree_32f(low);
    zelsFBankFree_16s(high);
    alignas(8) Zel8u a[64] = {}, b[64] = {};
    zelsVADInit_Aurora_32f(reinterpret_cast<ZelVADState_Aurora*>(a));
    zelsVADInit_Aurora_16s(reinterpret_cast<ZelVADState_Aurora*>(b));
    for (int f = 0; f < 120; ++f) {
        const float level = (f / 20) % 2 ? 2000.0f : 50.0f;
        float mel[25], block[64];
        Zel16s mel16[25], block16[64];
        for (int k = 0; k < 25; ++k) mel[k] = s.f(1.0f) + (level > 100 ? 12.0f : 6.0f), mel16[k] = Zel16s(mel[k] * 4);
        for (int k = 0; k < 64; ++k) block[k] = s.f(level), block16[k] = Zel16s(block[k] / 4);
        Zel32s r32 = 0, r16 = 0;
        zelsVADDecision_Aurora_32f(mel, block, f % 17 == 0 ? 5 : 0, &r32, reinterpret_cast<ZelVADState_Aurora*>(a));
        zelsVADDecision_Aurora_16s(mel16, block16, 0, &r16, reinterpret_cast<ZelVADState_Aurora*>(b));
        d.add(&r32, 1), d.add(&r16, 1), d.add(a, 64), d.add(b, 64);
    }
    return d.h;
}

TEST(AuroraDigest, EveryBuildGivesTheSameBits) {
    const uint64_t h = digestOfAll();
    EXPECT_EQ(h, digestOfAll());
    EXPECT_EQ(h, 0x8f10b5a463fec0c3ull) << std::hex << h;
}

}  // namespace
