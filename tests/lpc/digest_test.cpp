// SPDX-License-Identifier: Apache-2.0
// One digest of the members whose arithmetic is fixed, on fixed inputs, that
// the vector, portable and 32-bit builds must all reproduce bit for bit. The
// members built on the processor's reciprocal estimate are left out.
#include "common.hpp"

namespace {

struct Digest {
    uint64_t h = 1469598103934665603ull;
    void add(const float* p, int n) {
        for (int i = 0; i < n; ++i) add(zt::bits(p[i]));
    }
    void add(const Zel16s* p, int n) {
        for (int i = 0; i < n; ++i) add(uint32_t(uint16_t(p[i])));
    }
    void add(uint32_t v) {
        for (int b = 0; b < 4; ++b) h = (h ^ ((v >> (8 * b)) & 0xff)) * 1099511628211ull;
    }
};

TEST(LpcDigest, EveryBuildReproducesTheSameBits) {
    // Samples from a fixed integer recursion, so no library call seeds them.
    zt::Buf<float> x(1200, 0);
    uint32_t s = 7;
    for (int i = 0; i < 1200; ++i) {
        s = s * 1664525u + 1013904223u;
        x[i] = float(int32_t(s >> 8) % 20000) / 4096.0f + (i ? 0.8f * x[i - 1] : 0.0f);
    }
    Digest d;
    float out[80], R[80], err = 0;
    int n = 0;
    for (int order : {4, 10, 12, 13, 40, 70}) {
        d.add(uint32_t(zelsLinearPrediction_Auto_32f(x.data(), 1200, out, order)));
        d.add(out, order);
        d.add(uint32_t(zelsLinearPrediction_Cov_32f(x.data(), 300, out, order)));
        d.add(out, order);
        for (int k = 0; k <= order; ++k) R[k] = float(order + 1 - k) * (1.0f + 0.01f * x[k]);
        d.add(uint32_t(zelsDurbin_32f(R, out, order, &err)));
        d.add(out, order);
        d.add(&err, 1);
        d.add(uint32_t(zelsSchur_32f(R, out, order, &err)));
        d.add(out, order);
        d.add(&err, 1);
    }
    // Conversions and pairs on LP vectors of the frame, at offsets that move
    // the cepstrum's lane runs.
    for (int len : {3, 10, 21, 22, 33}) {
        for (int offset : {0, 1, 3}) {
            zt::Buf<float> a(len, offset);
            zelsLinearPrediction_Auto_32f(x.data() + 100, 400, a.data(), len);
            d.add(uint32_t(zelsLPToCepstrum_32f(a.data(), out, len)));
            d.add(out, len);
            d.add(uint32_t(zelsCepstrumToLP_32f(a.data(), out, len)));
            d.add(out, len);
        }
        float a[40];
        zelsLinearPrediction_Auto_32f(x.data() + 500, 400, a, len);
        d.add(uint32_t(zelsLPToReflection_32f(a, out, len)));
        d.add(out, len);
        d.add(uint32_t(zelsReflectionToLP_32f(out, out, len)));
        d.add(out, len);
        d.add(uint32_t(zelsLPToLSP_32f(a, out, len, &n, 512, 6)));
        d.add(out, n);
        d.add(uint32_t(zelsLSPToLP_32f(out, out, n)));
        d.add(out, n);
        d.add(uint32_t(zelsReflectionToTrueAR_32f(a, out, len)));
        d.add(out, len);
        d.add(uint32_t(zelsLPToSpectrum_32f(a, len, out, 6, 1.0f)));
        // The spectrum's division route only: orders up to 2.
        d.add(uint32_t(zelsLPToSpectrum_32f(a, 3, out, 2, 1.0f)));
        d.add(out, 4);
    }
    EXPECT_EQ(d.h, 0x90d618c844ae1cfcull) << std::hex << d.h;
}

}  // namespace
