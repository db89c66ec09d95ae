// SPDX-License-Identifier: Apache-2.0
// Noise tracking at a denoiser's shape: 512-point frames at 16 kHz (257
// bins), 200 frames a run. One step is the MCRA update of the noise
// estimate, the ratio of each bin's power to it, and the suppression gain;
// the straightforward loop does the same per bin in plain code on the same
// data. Counters: frames/s, and for the library its speed over the loop
// measured just before it ("x_plain").
#include <benchmark/benchmark.h>
#include <math.h>

#include <random>
#include <vector>

#include "baseline.hpp"
#include "zelsr.h"

namespace {

constexpr int kFftLen = 512, kBins = kFftLen / 2 + 1, kFrames = 200, kRate = 16000;

struct Data {
    std::vector<float> power = std::vector<float>(kFrames * kBins);
    std::vector<int32_t> power32s = std::vector<int32_t>(kFrames * kBins);
    std::vector<float> noise = std::vector<float>(kBins), ratio = std::vector<float>(kBins);
    std::vector<float> wiener = std::vector<float>(kBins), gain = std::vector<float>(kBins);
    std::vector<int32_t> noise32s = std::vector<int32_t>(kBins);
    std::vector<unsigned char> state = std::vector<unsigned char>(1 << 16);

    Data() {
        std::mt19937 g(3);
        std::exponential_distribution<float> e(1.0f);
        for (int f = 0; f < kFrames; ++f)
            for (int k = 0; k < kBins; ++k) {
                // Noise with a burst of "speech" in the low bins every 50 frames.
                float level = 1e4f * (1.0f + k / 64.0f) * ((f % 50 < 15 && k < 60) ? 30.0f : 1.0f);
                power[f * kBins + k] = level * e(g);
                power32s[f * kBins + k] = int32_t(power[f * kBins + k]);
            }
    }
    ZelMCRAState* mcra() { return reinterpret_cast<ZelMCRAState*>(state.data()); }
};
Data& data() {
    static Data d;
    return d;
}

// The recursion written out per bin, with the constants of the same frame rate.
struct PlainMcra {
    float aD, aS, aP;
    int windowLen, frameIndex = 0;
    bool first = true;
    std::vector<float> s = std::vector<float>(kBins), m = s, t = s, p = s;
    PlainMcra() {
        const double e = 125.0 * (kFftLen / 2) / kRate;
        aD = float(pow(0.7, e)), aS = float(pow(0.8, e)), aP = float(pow(0.2, e));
        windowLen = int(kRate * 0.008 / (kFftLen / 2) * 125);
    }
    void update(const float* x, float* noise) {
        if (first) {
            for (int k = 0; k < kBins; ++k) s[k] = m[k] = t[k] = noise[k] = x[k], p[k] = 0;
            first = false;
            frameIndex = 1;
            return;
        }
        const bool turn = frameIndex == windowLen;
        for (int k = 0; k < kBins; ++k) {
            s[k] = aS * s[k] + (1 - aS) * x[k];
            if (turn) {
                m[k] = fminf(s[k], t[k]);
                t[k] = s[k];
            } else {
                m[k] = fminf(m[k], s[k]);
                t[k] = fminf(t[k], s[k]);
            }
            p[k] = aP * p[k] + (s[k] > 5.0f * m[k] ? 1 - aP : 0.0f);
            const float a = aD + (1 - aD) * p[k];
            noise[k] = a * noise[k] + (1 - a) * x[k];
        }
        frameIndex = turn ? 1 : frameIndex + 1;
    }
};

// The a priori ratio in its simplest form: the excess of the power over the noise.
void excessRatio(const float* x, const float* noise, float* ratio) {
    for (int k = 0; k < kBins; ++k) {
        const float r = x[k] / (noise[k] + 1e-6f) - 1.0f;
        ratio[k] = r > 0.0f ? r : 0.0f;
    }
}

void BM_Plain_McraWiener_257(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "noise_mcra_wiener", true, "frames/s", kFrames, [&] {
        PlainMcra plain;
        for (int f = 0; f < kFrames; ++f) {
            const float* x = &d.power[f * kBins];
            plain.update(x, d.noise.data());
            excessRatio(x, d.noise.data(), d.ratio.data());
            for (int k = 0; k < kBins; ++k) d.gain[k] = d.ratio[k] / (1.0f + d.ratio[k]);
        }
    });
}
void BM_zelsMcraWiener_32f_257(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "noise_mcra_wiener", false, "frames/s", kFrames, [&] {
        zelsInitMCRA_32f(kRate, kFftLen, d.mcra());
        for (int f = 0; f < kFrames; ++f) {
            const float* x = &d.power[f * kBins];
            zelsUpdateNoisePSDMCRA_32f_I(x, d.mcra(), d.noise.data());
            excessRatio(x, d.noise.data(), d.ratio.data());
            zelsFilterUpdateWiener_32f(d.ratio.data(), d.gain.data(), kBins);
        }
    });
}
// The Ephraim-Malah gain on top has no plain counterpart (its Bessel
// functions are not in the C library); measured against the Wiener loop.
void BM_zelsMcraEmns_32f_257(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "noise_mcra_wiener", false, "frames/s", kFrames, [&] {
        zelsInitMCRA_32f(kRate, kFftLen, d.mcra());
        for (int f = 0; f < kFrames; ++f) {
            const float* x = &d.power[f * kBins];
            zelsUpdateNoisePSDMCRA_32f_I(x, d.mcra(), d.noise.data());
            excessRatio(x, d.noise.data(), d.ratio.data());
            zelsFilterUpdateWiener_32f(d.ratio.data(), d.wiener.data(), kBins);
            for (int k = 0; k < kBins; ++k) d.ratio[k] += 1.0f;  // a posteriori ratio
            zelsFilterUpdateEMNS_32f(d.wiener.data(), d.ratio.data(), d.gain.data(), kBins);
        }
    });
}
void BM_zelsMcra_32s_257(benchmark::State& st) {
    Data& d = data();
    zb::measure(st, "noise_mcra_wiener", false, "frames/s", kFrames, [&] {
        zelsInitMCRA_32s(kRate, kFftLen, d.mcra());
        for (int f = 0; f < kFrames; ++f)
            zelsUpdateNoisePSDMCRA_32s_I(&d.power32s[f * kBins], d.mcra(), d.noise32s.data());
    });
}

// The plain loop runs just before the members compared with it.
BENCHMARK(BM_Plain_McraWiener_257);
BENCHMARK(BM_zelsMcraWiener_32f_257);
BENCHMARK(BM_zelsMcraEmns_32f_257);
BENCHMARK(BM_zelsMcra_32s_257);

}  // namespace
